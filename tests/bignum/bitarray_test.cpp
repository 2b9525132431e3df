// BitArray storage, arithmetic and text conversion, checked against GMP on
// random operands and on the boundary values where bit bookkeeping breaks.
#include <gmp.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "libquorvex.h"

namespace {

struct BaDel {
  void operator()(BitArray *a) const { FreeBitArray(a); }
};
struct BafDel {
  void operator()(BitArrayFloat *a) const { FreeBitArrayFloat(a); }
};
using Ba = std::unique_ptr<BitArray, BaDel>;
using Baf = std::unique_ptr<BitArrayFloat, BafDel>;

std::string Take(char *s) {
  std::string r = s ? s : "<null>";
  std::free(s);
  return r;
}

struct Mpz {
  mpz_t z;
  Mpz() { mpz_init(z); }
  ~Mpz() { mpz_clear(z); }
  std::string Dec() const {
    char *s = mpz_get_str(nullptr, 10, z);
    std::string r = s;
    void (*freefn)(void *, size_t);
    mp_get_memory_functions(nullptr, nullptr, &freefn);
    freefn(s, std::strlen(s) + 1);
    return r;
  }
};

Ba FromMpz(const mpz_t z) {
  size_t n = (mpz_sizeinbase(z, 2) + 63) / 64;
  std::vector<uint64_t> w(n + 1, 0);
  size_t c = 0;
  mpz_export(w.data(), &c, -1, 8, 0, 0, z);
  Ba a(InitializeBitArray(64 * (n ? n : 1)));
  std::memcpy(a->data, w.data(), 8 * (n ? n : 1));
  BitArray *p = a.release();
  return Ba(ReduceBitArray(&p));
}

void ToMpz(mpz_t z, const BitArray *a) {
  mpz_import(z, a->words, -1, 8, 0, 0, a->data);
  if (a->bits < 64 * a->words) mpz_fdiv_r_2exp(z, z, a->bits);
}

bool Same(const BitArray *a, const mpz_t z) {
  if (!a) return false;
  Mpz t;
  ToMpz(t.z, a);
  // reduced form: bits is the bit length (1 for zero)
  uint64_t len = mpz_sgn(z) ? mpz_sizeinbase(z, 2) : 1;
  return mpz_cmp(t.z, z) == 0 && a->bits == len;
}

class Random : public ::testing::Test {
 protected:
  gmp_randstate_t rs;
  std::mt19937_64 gen{12345};
  void SetUp() override {
    gmp_randinit_mt(rs);
    gmp_randseed_ui(rs, 777);
  }
  void TearDown() override { gmp_randclear(rs); }
  // Sparse-run operands (long strings of ones and zeros) find carry bugs.
  void Operand(mpz_t z, unsigned maxBits) {
    unsigned bits = 1 + static_cast<unsigned>(gen() % maxBits);
    if (gen() & 1) mpz_rrandomb(z, rs, bits);
    else mpz_urandomb(z, rs, bits);
  }
  unsigned Size(int i) { return i % 10 == 9 ? 100000 : (i % 3 == 0 ? 64 : 5000); }
};

TEST_F(Random, ArithmeticMatchesGmp) {
  Mpz a, b, r, s;
  for (int i = 0; i < 60; ++i) {
    Operand(a.z, Size(i));
    Operand(b.z, Size(i + 1));
    Ba x = FromMpz(a.z), y = FromMpz(b.z);
    mpz_add(r.z, a.z, b.z);
    Ba sum(AddBitArrays(x.get(), y.get()));
    EXPECT_TRUE(Same(sum.get(), r.z)) << i;
    int8_t sign = 0;
    Ba diff(SubtractBitArrays(x.get(), y.get(), &sign));
    mpz_sub(r.z, a.z, b.z);
    EXPECT_EQ(sign, mpz_sgn(r.z) < 0 ? -1 : 1);
    mpz_abs(r.z, r.z);
    EXPECT_TRUE(Same(diff.get(), r.z)) << i;
    mpz_mul(r.z, a.z, b.z);
    Ba prod(MultiplyBitArrays(x.get(), y.get(), nullptr));
    EXPECT_TRUE(Same(prod.get(), r.z)) << i;
    if (mpz_sgn(b.z)) {
      // dividend longer than the divisor exercises the Newton division path
      Ba big(MultiplyBitArrays(prod.get(), x.get(), nullptr));
      mpz_mul(s.z, r.z, a.z);
      mpz_add_ui(s.z, s.z, 12345);
      Ba big1(FromMpz(s.z));
      mpz_fdiv_q(r.z, s.z, b.z);
      Ba q(FloorDivideBitArrays(big1.get(), y.get(), nullptr));
      EXPECT_TRUE(Same(q.get(), r.z)) << i;
      mpz_fdiv_r(r.z, s.z, b.z);
      Ba m(ModBitArrays(big1.get(), y.get(), nullptr));
      EXPECT_TRUE(Same(m.get(), r.z)) << i;
    }
  }
}

TEST_F(Random, DecimalAndHexRoundTripMatchGmp) {
  Mpz a, r;
  for (int i = 0; i < 40; ++i) {
    Operand(a.z, Size(i));
    Ba x = FromMpz(a.z);
    std::string dec = a.Dec();
    EXPECT_EQ(Take(BitArrayToDecimalIntegerString(x.get(), nullptr)), dec) << i;
    Ba back(DecimalIntegerStringToBitArray(dec.c_str(), nullptr));
    EXPECT_TRUE(Same(back.get(), a.z)) << i;
    char *hex = mpz_get_str(nullptr, 16, a.z);
    std::string h = hex;
    for (char &c : h) c = static_cast<char>(std::toupper(c));
    void (*freefn)(void *, size_t);
    mp_get_memory_functions(nullptr, nullptr, &freefn);
    freefn(hex, std::strlen(hex) + 1);
    EXPECT_EQ(Take(BitArrayToHexadecimalIntegerString(x.get())), h);
    Ba hb(HexadecimalIntegerStringToBitArray(h.c_str()));
    EXPECT_TRUE(Same(hb.get(), a.z));
  }
}

TEST_F(Random, DecimalFractionIsFloorOfScaledValue) {
  // digits D of d places, p bits: floor(D 2^p / 10^d), and back: the first
  // k digits of F / 2^f are floor(F 10^k / 2^f).
  Mpz d, t, ten, q;
  for (int i = 0; i < 30; ++i) {
    unsigned places = 1 + static_cast<unsigned>(gen() % 400);
    uint64_t p = 1 + gen() % 1500;
    mpz_ui_pow_ui(ten.z, 10, places);
    mpz_urandomm(d.z, rs, ten.z);
    std::string digits = d.Dec();
    digits.insert(0, places - digits.size(), '0');
    Ba f(DecimalFractionalStringToBitArray(digits.c_str(), p, nullptr));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->bits, p);
    mpz_mul_2exp(t.z, d.z, p);
    mpz_fdiv_q(q.z, t.z, ten.z);
    Mpz got;
    ToMpz(got.z, f.get());
    EXPECT_EQ(mpz_cmp(got.z, q.z), 0) << digits;

    uint64_t k = 1 + gen() % 300;
    mpz_ui_pow_ui(ten.z, 10, k);
    mpz_mul(t.z, got.z, ten.z);
    mpz_fdiv_q_2exp(t.z, t.z, p);
    std::string want = t.Dec();
    want.insert(0, k - want.size(), '0');
    if (mpz_sgn(got.z)) {
      EXPECT_EQ(Take(BitArrayToDecimalFractionalString(f.get(), k, nullptr)), want);
    }
  }
}

TEST_F(Random, PowersAndPowModMatchGmp) {
  Mpz a, r, m;
  for (int i = 0; i < 20; ++i) {
    Operand(a.z, 300);
    unsigned e = static_cast<unsigned>(gen() % 40);
    Ba x = FromMpz(a.z);
    Ba ex(InitializeBitArrayFromUInt64(e));
    mpz_pow_ui(r.z, a.z, e);
    Ba p(ExponentiateBitArrays(x.get(), ex.get(), nullptr));
    EXPECT_TRUE(Same(p.get(), r.z)) << i;
    uint64_t base = gen(), exp = gen() % 100000, mod = 1 + gen() % 0xFFFFFFFFu;
    mpz_set_ui(a.z, base);
    mpz_set_ui(m.z, mod);
    mpz_powm_ui(r.z, a.z, exp, m.z);
    if (exp > 1) {
      EXPECT_EQ(PowMod(base, exp, mod), mpz_get_ui(r.z));
    }
  }
  EXPECT_EQ(PowMod(2, 10, 1000), 24u);
  EXPECT_EQ(PowMod(7, 0, 5), 1u);
  EXPECT_EQ(PowMod(7, 1, 5), 7u);  // exponent one gives the base unreduced
}

TEST(BitArrayStorage, BoundaryValues) {
  EXPECT_EQ(InitializeBitArray(0), nullptr);
  Ba z(InitializeBitArray(1));
  EXPECT_EQ(z->bits, 1u);
  EXPECT_TRUE(TestZeroBitArray(z.get()));
  Ba s(BitStringToBitArray("1010"));
  EXPECT_EQ(Take(PrintBitArray(s.get())), "1010");
  EXPECT_EQ(Take(PrintBitArray(nullptr)), "0");
  EXPECT_EQ(BitStringToBitArray("10x1"), nullptr);

  Ba one(InitializeBitArray(64));
  one->data[0] = 1;
  EXPECT_EQ(GetInt32(one.get(), 0), 0x80000000u);
  EXPECT_EQ(GetInt64BitPos(one.get(), 0), 0x8000000000000000ull);
  EXPECT_EQ(GetInt64(one.get(), 5), 0x8000000000000000ull);

  // leading zeros count and survive a copy; reduction drops them to 1 bit for 0
  Ba lz(BitStringToBitArray("000101"));
  Ba c(CopyBitArray(lz.get()));
  EXPECT_EQ(c->bits, 6u);
  EXPECT_EQ(GetLeadingZeroBits(c.get()), 3u);
  BitArray *zz = BitStringToBitArray("0000");
  EXPECT_EQ(ReduceBitArray(&zz)->bits, 1u);
  FreeBitArray(zz);

  // right shift by the length or more: zero of one bit, words kept
  Ba w(BitStringToBitArray(std::string(130, '1').c_str()));
  ShiftBitsRight(w.get(), 500);
  EXPECT_EQ(w->bits, 1u);
  EXPECT_EQ(w->words, 3u);
  EXPECT_TRUE(TestZeroBitArray(w.get()));

  Ba g(BitStringToBitArray("1011"));
  ShiftBitsLeftAndResize(g.get(), 70);
  EXPECT_EQ(g->bits, 74u);
  EXPECT_EQ(RemoveTrailingZeroBits(g.get()), 70u);
  EXPECT_EQ(Take(PrintBitArray(g.get())), "1011");
  ShiftBitsLeft(g.get(), 2);  // length kept, high bits lost
  EXPECT_EQ(Take(PrintBitArray(g.get())), "1100");

  Ba h(BitStringToBitArray("1100101"));
  EXPECT_EQ(Take(PrintBitArray(Ba(HigherBits(h.get(), 3)).get())), "110");
  EXPECT_EQ(Take(PrintBitArray(Ba(LowerBits(h.get(), 3)).get())), "101");
  EXPECT_EQ(Take(PrintBitArray(Ba(CropBitArray(h.get(), 2, 4)).get())), "1001");
  Ba lo(BitStringToBitArray("001"));
  EXPECT_EQ(Take(PrintBitArray(Ba(ConcatenateBitArrays(h.get(), lo.get())).get())), "1100101001");
  EXPECT_EQ(Take(PrintBitArray(Ba(ReverseBitArray(h.get())).get())), "1010011");
  EXPECT_EQ(Take(PrintBitArray(Ba(NegateBitArray(h.get())).get())), "0011010");

  Ba sc(InitializeBitArray(16));
  SetBitsFromCharBitPos(sc.get(), 3, 0x01);  // bit 0 of c lands at 3 + 7
  EXPECT_NE(GetBit(sc.get(), 10), 0u);
  SetBit(sc.get(), 1u << 20);  // out of range: ignored
  EXPECT_EQ(ReverseByteBits(0x01), 0x80);
  EXPECT_EQ(ReverseUInt32Bits(0x00000003u), 0xC0000000u);
  EXPECT_EQ(ReverseUInt64Bits(1), 0x8000000000000000ull);
  EXPECT_EQ(CountLeadingZeroBits(0), 64u);
}

TEST(BitArrayArithmetic, SmallCases) {
  Ba one(InitializeBitArrayFromUInt64(1));
  EXPECT_EQ(Take(PrintBitArray(Ba(AddBitArrays(one.get(), one.get())).get())), "10");
  Ba five(InitializeBitArrayFromUInt64(5)), seven(InitializeBitArrayFromUInt64(7));
  int8_t sign = 0;
  Ba d(SubtractBitArrays(five.get(), seven.get(), &sign));
  EXPECT_EQ(sign, -1);
  EXPECT_EQ(d->data[0], 2u);
  EXPECT_EQ(KaratsubaMultiply(0xFFFFFFFFFFFFFFFFull, 3), 0xFFFFFFFFFFFFFFFDull);
  EXPECT_EQ(KaratsubaGetLength(5), 3u);

  Ba eight(InitializeBitArrayFromUInt64(8));
  uint64_t e = 0;
  Ba r(InvertBitArray(eight.get(), 20, &e, nullptr));
  EXPECT_EQ(r->data[0], 1u);
  EXPECT_EQ(e, 3u);
  Ba zero(InitializeBitArray(1));
  EXPECT_EQ(InvertBitArray(zero.get(), 20, &e, nullptr), nullptr);

  Baf same(DivideBitArrays(seven.get(), seven.get(), 30, nullptr));
  EXPECT_EQ(same->integer->data[0], 1u);
  EXPECT_TRUE(TestZeroBitArray(same->fraction));
  Baf byZero(DivideBitArrays(seven.get(), zero.get(), 30, nullptr));
  ASSERT_TRUE(byZero);
  EXPECT_EQ(byZero->integer, nullptr);
  EXPECT_EQ(FloorDivideBitArrays(seven.get(), zero.get(), nullptr), nullptr);
  EXPECT_EQ(ModBitArrays(seven.get(), zero.get(), nullptr), nullptr);
  EXPECT_TRUE(TestZeroBitArray(Ba(ModBitArrays(seven.get(), one.get(), nullptr)).get()));
  Ba p00(ExponentiateBitArrays(zero.get(), zero.get(), nullptr));
  EXPECT_TRUE(TestUnitBitArray(p00.get()));

  // 7 / 3 at 20 bits: integer 2, e = 2 + 20 fraction bits, value within 2^-19
  Ba three(InitializeBitArrayFromUInt64(3));
  Baf q(DivideBitArrays(seven.get(), three.get(), 20, nullptr));
  EXPECT_EQ(q->integer->data[0], 2u);
  EXPECT_EQ(q->fraction->bits, 22u);
  double frac = static_cast<double>(q->fraction->data[0]) / (1 << 22);
  EXPECT_NEAR(frac, 1.0 / 3, 1e-6);
  // 1 / 8 is a split at the point
  Baf split(DivideBitArrays(three.get(), eight.get(), 20, nullptr));
  EXPECT_EQ(Take(PrintBitArrayFloat(split.get())), "0.011");

  Baf sq(SquareRootBitArray(Ba(InitializeBitArrayFromUInt64(2)).get(), 40, nullptr));
  ASSERT_EQ(sq->fraction->bits, 41u);  // ceil(2 / 2) + 40
  double root = static_cast<double>(sq->integer->data[0]) + std::ldexp(static_cast<double>(sq->fraction->data[0]), -41);
  EXPECT_NEAR(root, 1.4142135623730951, 1e-11);
  Baf sq16(SquareRootBitArray(Ba(InitializeBitArrayFromUInt64(16)).get(), 40, nullptr));
  EXPECT_EQ(sq16->integer->data[0], 4u);

  unsigned char carry = 0;
  Ba nine(InitializeBitArrayFromUInt64(9));  // 4 bits: 90 = 5 * 16 + 10
  Ba m10(MultiplyBitArrayBy10(nine.get(), &carry, nullptr));
  EXPECT_EQ(carry, 5);
  EXPECT_EQ(m10->data[0], 10u);
  BitArray **table = GetPowerOf10BitArrays(25, nullptr);
  ASSERT_TRUE(table);
  EXPECT_EQ(Take(BitArrayToDecimalIntegerString(table[25], nullptr)), "1" + std::string(25, '0'));
  for (int k = 0; k <= 25; ++k) FreeBitArray(table[k]);
  std::free(table);
}

TEST(BitArrayArithmetic, AbortFlagStopsWithUsableMemory) {
  unsigned char abort = 1;
  Ba a(DecimalIntegerStringToBitArray(std::string(3000, '7').c_str(), nullptr));
  Ba p(MultiplyBitArrays(a.get(), a.get(), &abort));
  ASSERT_TRUE(p);
  EXPECT_TRUE(TestZeroBitArray(p.get()));
  Baf e(EulersNumber(Ba(InitializeBitArrayFromUInt64(2000)).get(), &abort));
  ASSERT_TRUE(e);
  EXPECT_TRUE(TestZeroBitArray(e->integer));
  FreeBitArray(FloorDivideBitArrays(a.get(), a.get(), &abort));
  FreeBitArrayFloat(DivideBitArrays(a.get(), Ba(InitializeBitArrayFromUInt64(3)).get(), 5000, &abort));
}

TEST(BitArrayArithmetic, NullAndMalformedInputsAreRefused) {
  EXPECT_EQ(AddBitArrays(nullptr, nullptr), nullptr);
  EXPECT_EQ(MultiplyBitArrays(nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(DecimalIntegerStringToBitArray("12a", nullptr), nullptr);
  EXPECT_EQ(InitializeBitArrayFloatFromDecimal("1.2.3", 0, nullptr), nullptr);
  EXPECT_EQ(InitializeBitArrayFloatFromHexadecimal("1G"), nullptr);
  EXPECT_EQ(MultiplyBy2("5x", nullptr), nullptr);
  BitArray empty{0, 0, nullptr};
  EXPECT_EQ(CopyBitArray(&empty), nullptr);
  EXPECT_EQ(AddBitArrays(&empty, &empty), nullptr);
  FreeBitArray(nullptr);
  FreeBitArrayFloat(nullptr);
}

TEST(BitArrayStream, BytesAndRoundTripInBothModes) {
  Ba a(BitStringToBitArray(("0011" + std::string(100, '1')).c_str()));
  MemFile *m = MemOpen(4);
  ASSERT_TRUE(m);
  WriteBitArray(a.get(), m, 0);
  ASSERT_EQ(m->position, 8u + 8u + 16u);
  const unsigned char expect[16] = {104, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(m->buffer, expect, 16), 0);
  EXPECT_EQ(m->size, (4u * 2 + 16) * 2 + 16);  // 8-byte field growth: size * 2 + 16
  FILE *f = std::tmpfile();
  ASSERT_TRUE(f);
  WriteBitArray(a.get(), f, 1);
  std::rewind(f);
  unsigned char filebytes[32];
  ASSERT_EQ(std::fread(filebytes, 1, 32, f), 32u);
  EXPECT_EQ(std::memcmp(filebytes, m->buffer, 32), 0);
  std::rewind(f);
  Ba back(ReadBitArray(f, 1));
  std::fclose(f);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->bits, 104u);
  EXPECT_EQ(back->words, 2u);
  EXPECT_TRUE(TestEqualBitArrays(back.get(), a.get()));

  // a stream that ends early gives null, in either mode
  for (uint32_t cut : {0u, 7u, 15u, 20u}) {
    MemFile *w = MemWrapperOpen(m->buffer, cut ? cut : 1);
    EXPECT_EQ(ReadBitArray(w, 0), nullptr) << cut;
    MemWrapperClose(w);
  }
  MemClose(m);

  // the float form: sign byte, then both arrays; a full buffer grows by size * 2 + 2
  Baf zero(InitializeBitArrayFloatFromDouble(0.0));
  MemFile *z = MemOpen(1);
  z->position = 1;
  WriteBitArrayFloat(zero.get(), z, 0);
  EXPECT_EQ(z->buffer[1], 1);
  z->position = 1;
  Baf r(ReadBitArrayFloat(z, 0));
  ASSERT_TRUE(r);
  EXPECT_EQ(r->integer->bits, 1u);
  EXPECT_EQ(r->fraction->words, 1u);
  MemClose(z);
  MemFile *g = MemOpen(3);
  g->position = 3;
  WriteBitArrayFloat(zero.get(), g, 0);
  EXPECT_GE(g->size, 3u * 2 + 2);
  MemClose(g);
}

}  // namespace
