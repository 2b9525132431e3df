// Limb kernels under the BitArray exports: every multiplication path
// (schoolbook, Karatsuba, Toom-3, squaring, unbalanced blocks) against GMP at
// sizes straddling the switch-over points, and the fast Newton reciprocal
// against the plain iteration it must reproduce bit for bit.
#include <gmp.h>
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "bignum/natural.h"
#include "libquorvex.h"

namespace {

using qvx::bn::Nat;

// Random limbs, or long runs of ones and zeros (these find carry and
// borrow faults that uniform limbs almost never reach).
Nat Operand(std::mt19937_64 &gen, std::size_t limbs, bool runs) {
  Nat a(limbs);
  if (!runs) {
    for (auto &w : a) w = gen();
  } else {
    bool one = gen() & 1;
    std::size_t bit = 0, total = 64 * limbs;
    while (bit < total) {
      std::size_t len = 1 + gen() % 200;
      for (std::size_t i = bit; i < std::min(total, bit + len); ++i)
        if (one) a[i / 64] |= uint64_t{1} << (i % 64);
      bit += len;
      one = !one;
    }
  }
  if (limbs) a.back() |= uint64_t{1} << 63;
  qvx::bn::Trim(a);
  return a;
}

Nat GmpProduct(const Nat &a, const Nat &b) {
  mpz_t x, y;
  mpz_inits(x, y, nullptr);
  mpz_import(x, a.size(), -1, 8, 0, 0, a.data());
  mpz_import(y, b.size(), -1, 8, 0, 0, b.data());
  mpz_mul(x, x, y);
  Nat r((mpz_sizeinbase(x, 2) + 63) / 64 + 1, 0);
  std::size_t n = 0;
  mpz_export(r.data(), &n, -1, 8, 0, 0, x);
  r.resize(n);
  mpz_clears(x, y, nullptr);
  return r;
}

// Equality with the first differing limb instead of two long dumps.
::testing::AssertionResult SameLimbs(const Nat &got, const Nat &want) {
  if (got == want) return ::testing::AssertionSuccess();
  std::size_t i = 0;
  while (i < got.size() && i < want.size() && got[i] == want[i]) ++i;
  return ::testing::AssertionFailure() << "sizes " << got.size() << "/" << want.size() << ", first difference at limb " << i;
}

TEST(Kernels, ProductsMatchGmpAcrossThresholds) {
  std::mt19937_64 gen(2024);
  // Sizes around each switch-over (schoolbook / Karatsuba / Toom-3 and the
  // squaring counterparts), odd and even halves, and far-unbalanced pairs.
  const std::size_t sizes[] = {1, 2, 17, 39, 40, 41, 55, 56, 57, 79, 80, 81, 121, 149, 150, 151, 179, 180, 181, 299, 300, 301, 460, 907};
  for (std::size_t an : sizes) {
    for (int kind = 0; kind < 4; ++kind) {
      std::size_t bn = kind == 0 ? an : (kind == 1 ? an - an / 3 : (kind == 2 ? 1 + an / 5 : 1 + gen() % an));
      Nat a = Operand(gen, an, kind & 1), b = Operand(gen, bn, kind & 2);
      EXPECT_TRUE(SameLimbs(qvx::bn::Mul(a, b, nullptr), GmpProduct(a, b))) << an << "x" << bn;
      EXPECT_TRUE(SameLimbs(qvx::bn::Mul(b, a, nullptr), GmpProduct(a, b))) << bn << "x" << an;
    }
    Nat s = Operand(gen, an, an & 1);
    EXPECT_TRUE(SameLimbs(qvx::bn::Square(s, nullptr), GmpProduct(s, s))) << an << " squared";
    // all ones: every partial sum carries
    Nat ones(an, ~uint64_t{0});
    EXPECT_TRUE(SameLimbs(qvx::bn::Square(ones, nullptr), GmpProduct(ones, ones))) << an << " ones";
    EXPECT_TRUE(SameLimbs(qvx::bn::Mul(ones, s, nullptr), GmpProduct(ones, s))) << an << " ones";
  }
  // operands with zero low or high limbs inside a split
  Nat z = Operand(gen, 400, false);
  for (std::size_t i = 0; i < 200; ++i) z[i] = 0;
  Nat w = Operand(gen, 333, true);
  EXPECT_TRUE(SameLimbs(qvx::bn::Mul(z, w, nullptr), GmpProduct(z, w)));
  EXPECT_TRUE(SameLimbs(qvx::bn::Square(z, nullptr), GmpProduct(z, z)));
}

TEST(Kernels, FastReciprocalReproducesTheIteration) {
  std::mt19937_64 gen(7);
  struct Case {
    std::size_t limbs;
    uint64_t p;
  };
  // Short and long divisors against short and long precisions: the cut of the
  // divisor applies only when it is longer than the precision.
  const Case cases[] = {{1, 1}, {1, 200}, {2, 64}, {3, 5000}, {20, 63}, {20, 1300}, {90, 300}, {90, 9000}, {300, 4000}};
  for (const Case &c : cases) {
    for (int v = 0; v < 3; ++v) {
      Nat a = Operand(gen, c.limbs, v == 1);
      if (v == 2) a.assign(c.limbs, ~uint64_t{0});  // 2^L - 1: structured residuals
      if (a.size() == 1 && (a[0] & (a[0] - 1)) == 0) a[0] |= 1;
      uint64_t e1 = 0, e2 = 0;
      Nat want = qvx::bn::NewtonReciprocalReference(a, c.p, &e1, nullptr);
      // fast steps, all exact steps, and a mix that hands over both ways
      for (uint64_t mask : {uint64_t{0}, ~uint64_t{0}, uint64_t{0x5555555555555555}}) {
        Nat got = qvx::bn::NewtonReciprocal(a, c.p, &e2, nullptr, mask);
        EXPECT_EQ(got, want) << c.limbs << " limbs, p " << c.p << ", variant " << v << ", mask " << mask;
        EXPECT_EQ(e1, e2);
      }
    }
  }
}

Nat FromArray(BitArray *x) {
  Nat r = qvx::bn::FromBitArray(x);
  FreeBitArray(x);
  return r;
}

Nat FromMpz(const mpz_t z) {
  Nat r((mpz_sizeinbase(z, 2) + 63) / 64 + 1, 0);
  std::size_t n = 0;
  mpz_export(r.data(), &n, -1, 8, 0, 0, z);
  r.resize(n);
  return r;
}

// Range products (odd parts packed into words, twos restored by a shift)
// and the unreduced series P / Q, whose values do not depend on the cuts.
TEST(Kernels, RangeProductsAndSeriesSumsMatchGmp) {
  mpz_t want, term;
  mpz_inits(want, term, nullptr);
  const uint64_t ranges[][2] = {{0, 0}, {7, 7}, {9, 8}, {0, 1}, {1, 2}, {63, 64}, {5, 100}, {1000, 1999}, {(uint64_t{1} << 40) - 3, (uint64_t{1} << 40) + 70}};
  for (const auto &r : ranges) {
    mpz_set_ui(want, 1);
    for (uint64_t k = r[0] + 1; k <= r[1]; ++k) {
      mpz_set_ui(term, k);
      mpz_mul(want, want, term);
    }
    BitArray *lo = InitializeBitArrayFromUInt64(r[0]), *hi = InitializeBitArrayFromUInt64(r[1]), *out = nullptr;
    FactorialPartialProductSub(lo, hi, &out, nullptr);
    ASSERT_NE(out, nullptr);
    EXPECT_TRUE(SameLimbs(FromArray(out), FromMpz(want))) << r[0] << ".." << r[1];
    FreeBitArray(lo);
    FreeBitArray(hi);
  }
  // P = sum over k of n! / k!, Q = n!, for n on both sides of the short-range leaf
  for (uint64_t n : {1u, 2u, 31u, 32u, 33u, 65u, 300u}) {
    mpz_set_ui(want, 0);
    mpz_set_ui(term, 1);
    for (uint64_t k = n; k >= 1; --k) {  // term = n! / (k - 1)! after the step
      mpz_add(want, want, term);
      mpz_mul_ui(term, term, k);
    }
    BitArray *nn = InitializeBitArrayFromUInt64(n), *p = nullptr, *q = nullptr;
    EulersNumberPartialSum(nn, &p, &q, nullptr);
    ASSERT_TRUE(p && q);
    EXPECT_TRUE(SameLimbs(FromArray(p), FromMpz(want))) << n;
    EXPECT_TRUE(SameLimbs(FromArray(q), FromMpz(term))) << n;
    FreeBitArray(nn);
  }
  mpz_clears(want, term, nullptr);
}

}  // namespace
