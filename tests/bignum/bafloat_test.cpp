// Fixed-point big numbers: exact sums and products against GMP rationals,
// literal parsing and rounded printing, constants and factorials.
#include <gmp.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "libquorvex.h"

namespace {

struct BafDel {
  void operator()(BitArrayFloat *a) const { FreeBitArrayFloat(a); }
};
struct BaDel {
  void operator()(BitArray *a) const { FreeBitArray(a); }
};
using Baf = std::unique_ptr<BitArrayFloat, BafDel>;
using Ba = std::unique_ptr<BitArray, BaDel>;

std::string Take(char *s) {
  std::string r = s ? s : "<null>";
  std::free(s);
  return r;
}

// Value of a record as a GMP rational.
void ToMpq(mpq_t q, const BitArrayFloat *a) {
  mpz_t i, f;
  mpz_inits(i, f, nullptr);
  mpz_import(i, a->integer->words, -1, 8, 0, 0, a->integer->data);
  mpz_import(f, a->fraction->words, -1, 8, 0, 0, a->fraction->data);
  mpq_set_num(q, f);
  mpz_set_ui(f, 1);
  mpz_mul_2exp(f, f, a->fraction->bits);
  mpq_set_den(q, f);
  mpq_canonicalize(q);
  mpz_set(f, i);
  mpq_t t;
  mpq_init(t);
  mpq_set_z(t, f);
  mpq_add(q, q, t);
  if (a->sign < 0) mpq_neg(q, q);
  mpq_clear(t);
  mpz_clears(i, f, nullptr);
}

Baf Hex(const char *s) { return Baf(InitializeBitArrayFloatFromHexadecimal(s)); }

TEST(BitArrayFloat, ExactArithmeticMatchesRationals) {
  std::mt19937_64 gen(99);
  auto randomHex = [&](int maxDigits) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string s = (gen() & 1) ? "-" : "";
    int n = 1 + static_cast<int>(gen() % maxDigits), m = static_cast<int>(gen() % maxDigits);
    for (int i = 0; i < n; ++i) s += kHex[gen() % 16];
    if (m) s += ".";
    for (int i = 0; i < m; ++i) s += kHex[gen() % 16];
    return s;
  };
  mpq_t x, y, want, got;
  mpq_inits(x, y, want, got, nullptr);
  for (int i = 0; i < 200; ++i) {
    int size = i % 20 == 0 ? 3000 : 40;
    Baf a = Hex(randomHex(size).c_str()), b = Hex(randomHex(size).c_str());
    ASSERT_TRUE(a && b);
    ToMpq(x, a.get());
    ToMpq(y, b.get());
    Baf s(AddBitArrayFloats(a.get(), b.get()));
    mpq_add(want, x, y);
    ToMpq(got, s.get());
    EXPECT_TRUE(mpq_equal(want, got)) << i;
    Baf d(SubtractBitArrayFloats(a.get(), b.get()));
    mpq_sub(want, x, y);
    ToMpq(got, d.get());
    EXPECT_TRUE(mpq_equal(want, got)) << i;
    Baf p(MultiplyBitArrayFloats(a.get(), b.get(), nullptr));
    mpq_mul(want, x, y);
    ToMpq(got, p.get());
    EXPECT_TRUE(mpq_equal(want, got)) << i;
    EXPECT_EQ(CompareBitArrayFloats(a.get(), b.get()), mpq_cmp(x, y) < 0 ? -1 : (mpq_cmp(x, y) > 0 ? 1 : 0));
    // fractions are trimmed: an odd last bit or a zero of one bit
    EXPECT_TRUE(s->fraction->bits == 1 || (s->fraction->data[0] & 1)) << i;
    if (mpq_sgn(y) != 0 && size < 100) {
      Baf q(DivideBitArrayFloats(a.get(), b.get(), 30, nullptr));
      ASSERT_TRUE(q);
      mpq_div(want, x, y);
      ToMpq(got, q.get());
      EXPECT_NEAR(mpq_get_d(got), mpq_get_d(want), 1e-25 + 1e-30 * std::abs(mpq_get_d(want))) << i;
    }
  }
  mpq_clears(x, y, want, got, nullptr);
}

TEST(BitArrayFloat, WorkedValues) {
  Baf half = Hex("0.8"), quarter = Hex("0.4");
  // 0.5 with one fraction bit, 0.25 with two
  Baf h2(InitializeBitArrayFloatFromBitArrays(InitializeBitArray(1), BitStringToBitArray("1"), 1));
  Baf q2(InitializeBitArrayFloatFromBitArrays(InitializeBitArray(1), BitStringToBitArray("01"), 1));
  Baf sum(AddBitArrayFloats(h2.get(), q2.get()));
  EXPECT_EQ(Take(PrintBitArrayFloat(sum.get())), "0.11");
  Baf oneHalf = Hex("1.8");
  Baf sq(MultiplyBitArrayFloats(oneHalf.get(), oneHalf.get(), nullptr));
  // f + 1 exact digits, so a two-bit fraction prints three digits
  EXPECT_EQ(Take(PrintBitArrayFloatToDecimal(sq.get(), 10, nullptr)), "2.250");
  // negative plus larger positive: positive, operands untouched
  Baf neg = Hex("-1.8"), pos = Hex("3");
  Baf mix(AddBitArrayFloats(neg.get(), pos.get()));
  EXPECT_EQ(Take(PrintBitArrayFloatToDecimal(mix.get(), 5, nullptr)), "1.50");
  EXPECT_EQ(neg->sign, -1);
  EXPECT_EQ(Take(PrintBitArrayFloatToHexadecimal(neg.get())), "-1.8");

  Baf d(InitializeBitArrayFloatFromDouble(-6.375));
  EXPECT_EQ(Take(PrintBitArrayFloat(d.get())), "-110.011");
  EXPECT_EQ(InitializeBitArrayFloatFromDouble(0.0 / 0.0), nullptr);
  Baf tiny(InitializeBitArrayFloatFromDouble(5e-324));
  EXPECT_EQ(tiny->fraction->bits, 1074u);

  Baf two = Hex("2");
  Baf r2(SquareRootBitArrayFloat(two.get(), 10, nullptr));
  EXPECT_EQ(r2->fraction->bits, 41u);  // one integer bit plus 40 bits of precision
  EXPECT_EQ(Take(PrintBitArrayFloatToDecimal(r2.get(), 10, nullptr)), "1.4142135624");
  Baf quarterSq(SquareRootBitArrayFloat(Hex("0.04").get(), 10, nullptr));  // sqrt(1/64)
  EXPECT_EQ(Take(PrintBitArrayFloatToDecimal(quarterSq.get(), 6, nullptr)), "0.125000");
  EXPECT_EQ(SquareRootBitArrayFloat(neg.get(), 10, nullptr), nullptr);
  Baf zero(InitializeBitArrayFloatFromDouble(0));
  EXPECT_EQ(DivideBitArrayFloats(two.get(), zero.get(), 10, nullptr), nullptr);

  Baf cube(ExponentiateBitArrayFloats(neg.get(), Hex("3").get(), 10, nullptr));
  EXPECT_EQ(Take(PrintBitArrayFloatToDecimal(cube.get(), 10, nullptr)), "-3.3750");
  Baf inv(ExponentiateBitArrayFloats(Hex("2").get(), Hex("-3").get(), 10, nullptr));
  EXPECT_EQ(Take(PrintBitArrayFloatToDecimal(inv.get(), 10, nullptr)), "0.1250");
  Baf shifted(ShiftRightBitArrayFloat(Hex("3").get(), 3));
  EXPECT_EQ(Take(PrintBitArrayFloat(shifted.get())), "0.011");
  Baf back(ShiftLeftBitArrayFloat(shifted.get(), 5));
  EXPECT_EQ(Take(PrintBitArrayFloat(back.get())), "1100.0");
}

TEST(BitArrayFloatText, LiteralsAndRoundedPrinting) {
  Baf m(InitializeBitArrayFloatFromDecimal("-0.5", 0, nullptr));
  EXPECT_EQ(m->sign, -1);
  EXPECT_TRUE(TestZeroBitArray(m->integer));
  EXPECT_FALSE(TestZeroBitArray(m->fraction));
  Baf five(InitializeBitArrayFloatFromDecimal("5.", 0, nullptr));
  EXPECT_TRUE(TestZeroBitArray(five->fraction));
  Baf point5(InitializeBitArrayFloatFromDecimal(".5", 0, nullptr));
  EXPECT_TRUE(TestZeroBitArray(point5->integer));
  Baf tenth(InitializeBitArrayFloatFromDecimal("0.1", 0, nullptr));
  EXPECT_EQ(tenth->fraction->bits, 68u);
  Baf twenty(InitializeBitArrayFloatFromDecimal("0.12345678901234567890", 80, nullptr));
  EXPECT_EQ(twenty->fraction->bits, 100u);

  struct Case { const char *in; int digits; const char *out; };
  const Case cases[] = {
      {"0.999", 2, "1.00"},     // carry into the integer part
      {"0.0999", 2, "0.100"},   // carry into the last leading zero
      {"123.456", 2, "123.46"},
      {"-2.5", 0, "-3"},
      {"7", 5, "7"},
      {"99.96", 1, "100.0"},
      {"0.000123456", 3, "0.000123"},
  };
  for (const Case &c : cases) {
    Baf v(InitializeBitArrayFloatFromDecimal(c.in, 0, nullptr));
    ASSERT_TRUE(v) << c.in;
    EXPECT_EQ(Take(PrintBitArrayFloatToDecimal(v.get(), c.digits, nullptr)), c.out) << c.in;
  }
  EXPECT_EQ(Take(MultiplyBy2("5", nullptr)), "10");
  EXPECT_EQ(Take(MultiplyBy2("49", nullptr)), "098");
  EXPECT_EQ(Take(DivideBy2("9", nullptr)), "4");
  EXPECT_EQ(Take(DivideBy2("10", nullptr)), "05");
  Ba zero(InitializeBitArray(7));
  EXPECT_EQ(Take(BitArrayToDecimalFractionalString(zero.get(), 12, nullptr)), "0");
  Ba frac(HexadecimalFractionalStringToBitArray("08"));
  EXPECT_EQ(frac->bits, 8u);
  EXPECT_EQ(Take(BitArrayToDecimalFractionalString(frac.get(), 6, nullptr)), "031250");
  EXPECT_EQ(Take(BitArrayToHexadecimalFractionalString(frac.get())), "08");
}

TEST(BigConstants, EulerAndFactorials) {
  Ba n(InitializeBitArrayFromUInt64(400));
  Baf e(EulersNumber(n.get(), nullptr));
  ASSERT_TRUE(e);
  std::string text = Take(PrintBitArrayFloatToDecimal(e.get(), 400, nullptr));
  EXPECT_EQ(text.substr(0, 52), "2.71828182845904523536028747135266249775724709369995");
  EXPECT_EQ(e->integer->data[0], 2u);

  mpz_t f;
  mpz_init(f);
  for (uint64_t k : {0u, 1u, 5u, 20u, 21u, 777u, 3000u}) {
    Ba kk(InitializeBitArrayFromUInt64(k));
    mpz_fac_ui(f, k);
    Ba a(BitArrayFactorial(kk.get(), nullptr)), b(BitArrayFactorialBinarySplitting(kk.get(), nullptr));
    char *want = mpz_get_str(nullptr, 10, f);
    EXPECT_EQ(Take(BitArrayToDecimalIntegerString(a.get(), nullptr)), want) << k;
    EXPECT_EQ(Take(BitArrayToDecimalIntegerString(b.get(), nullptr)), want) << k;
    void (*freefn)(void *, size_t);
    mp_get_memory_functions(nullptr, nullptr, &freefn);
    freefn(want, std::strlen(want) + 1);
  }
  mpz_clear(f);
  BitArray *p = nullptr, *q = nullptr;
  Ba three(InitializeBitArrayFromUInt64(3));
  EulersNumberPartialSum(three.get(), &p, &q, nullptr);  // 1 + 1/2 + 1/6 = 10/6
  EXPECT_EQ(p->data[0], 10u);
  EXPECT_EQ(q->data[0], 6u);
  FreeBitArray(p);
  FreeBitArray(q);
}

}  // namespace
