// Scalar maths: the kept complex forms, the rounding family, the reductions,
// factorisation and the random generator's sequence. Complex results are
// checked against std::complex away from branch cuts; the generator against
// an independent 64-bit evaluation of its two Lehmer streams.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <thread>
#include <vector>

#include "libquorvex.h"

namespace {

using CD = std::complex<double>;
constexpr double kInf = std::numeric_limits<double>::infinity();

void ExpectClose(Complex got, CD want, double tol = 1e-13) {
  double scale = std::max(1.0, std::abs(want));
  EXPECT_NEAR(got.re, want.real(), tol * scale) << "re, want " << want;
  EXPECT_NEAR(got.im, want.imag(), tol * scale) << "im, want " << want;
}

// ---- complex arithmetic --------------------------------------------------

TEST(ScalarComplex, MulCUsesThreeMultiplications) {
  Complex p = MulC(ComplexR(1, 2), ComplexR(3, 4));
  EXPECT_EQ(p.re, -5.0);
  EXPECT_EQ(p.im, 10.0);
  // Operands where (d + c)(b + a) - ca - db and ad + bc round apart: the
  // stored result is the three-multiplication one.
  Complex q = MulC(ComplexR(-0x1.d4a34d2156f5dp+2, -0x1.d166246f50832p+2),
                   ComplexR(-0x1.f38f33d4cc05p-1, -0x1.328b63f250f9ap+3));
  EXPECT_EQ(q.im, 0x1.34f6a26428847p+6);
}

TEST(ScalarComplex, DivCMatchesQuotientWithoutOverflow) {
  struct Case { CD a, b; } cases[] = {
      {{1, 2}, {3, 4}}, {{1, 1}, {0, 2}}, {{-7, 3}, {2, -9}}, {{5, 0}, {-1e-3, 4}},
      {{1e300, 1e300}, {1e300, 1e300}},     // naive c*c + d*d overflows
      {{1e-300, 2e-300}, {3e-300, 4e-300}}, // and underflows here
  };
  for (const Case &k : cases) {
    Complex q = DivC(ComplexR(k.a.real(), k.a.imag()), ComplexR(k.b.real(), k.b.imag()));
    ExpectClose(q, k.a / k.b);
  }
}

TEST(ScalarComplex, DivisionByZeroTakesSignsOfNumerator) {
  Complex a = DivC(ComplexR(1, -2), CZ());
  EXPECT_EQ(a.re, kInf);
  EXPECT_EQ(a.im, -kInf);
  Complex b = DivC(ComplexR(0, 3), CZ());
  EXPECT_TRUE(std::isnan(b.re));
  EXPECT_EQ(b.im, kInf);
  Complex c = InvC(CZ());
  EXPECT_EQ(c.re, kInf);
  EXPECT_TRUE(std::isnan(c.im));
}

TEST(ScalarComplex, ModulusScalesByLargerPart) {
  // Squaring the smaller part would overflow or underflow here.
  EXPECT_DOUBLE_EQ(AbsC(3e200, -4e200), 5e200);
  EXPECT_DOUBLE_EQ(AbsC(3e-200, 4e-200), 5e-200);
  EXPECT_DOUBLE_EQ(AbsC(1e300, 1e-300), 1e300);
  EXPECT_EQ(AbsC(0, -3), 3);
  EXPECT_EQ(AbsC(-2, 0), 2);
  EXPECT_DOUBLE_EQ(PhaC(-1, 0), M_PI);
}

TEST(ScalarComplex, SqrtCIsPrincipalRootInEveryQuadrant) {
  const CD points[] = {{4, 0}, {-4, 1e-300}, {-4, -1e-300}, {3, 4}, {-3, 4},
                       {-3, -4}, {3, -4}, {1e-5, 7}, {0, -2}, {1e300, 1e300}};
  for (CD z : points) ExpectClose(SqrtC(ComplexR(z.real(), z.imag())), std::sqrt(z));
  Complex zero = SqrtC(CZ());
  EXPECT_EQ(zero.re, 0.0);
  EXPECT_EQ(zero.im, 0.0);
}

TEST(ScalarComplex, PowersFollowPrincipalBranch) {
  Complex cube = PowRR(-8, 1.0 / 3.0);
  EXPECT_NEAR(AbsC(cube.re, cube.im), 2.0, 1e-14);
  EXPECT_NEAR(PhaC(cube.re, cube.im), M_PI / 3, 1e-14);
  Complex odd = PowRR(-2, 3);
  EXPECT_EQ(odd.re, -8.0);
  EXPECT_EQ(odd.im, 0.0);
  EXPECT_EQ(PowRR(0, 0).re, 1.0);
  EXPECT_EQ(PowIR(-4, 0.5).re, PowRR(-4, 0.5).re);

  ExpectClose(PowC(ComplexR(1, 2), ComplexR(0.5, -1.5)), std::pow(CD(1, 2), CD(0.5, -1.5)));
  ExpectClose(PowCR(ComplexR(-3, 1), 2.5), std::pow(CD(-3, 1), 2.5));
  ExpectClose(PowRC(2.0, ComplexR(1, 1)), std::pow(2.0, CD(1, 1)));
  ExpectClose(PowRC(-1.0, ComplexR(0.5, 0)), CD(0, 1));
  // A zero exponent gives 1 even for a zero base; a zero base otherwise 0.
  EXPECT_EQ(PowC(CZ(), CZ()).re, 1.0);
  Complex zero = PowC(CZ(), ComplexR(2, 1));
  EXPECT_EQ(zero.re, 0.0);
  EXPECT_EQ(zero.im, 0.0);
  Complex square = PowRC(0.0, ComplexR(2, 0));
  EXPECT_EQ(square.re, 0.0);
  EXPECT_EQ(square.im, 0.0);
}

TEST(ScalarComplex, ElementaryFunctionsAgreeAwayFromCuts) {
  using Fn = Complex (*)(double, double);
  struct Pair { Fn ours; CD (*ref)(const CD &); } fns[] = {
      {SinC, [](const CD &z) { return std::sin(z); }},     {CosC, [](const CD &z) { return std::cos(z); }},
      {TanC, [](const CD &z) { return std::tan(z); }},     {SinhC, [](const CD &z) { return std::sinh(z); }},
      {CoshC, [](const CD &z) { return std::cosh(z); }},   {TanhC, [](const CD &z) { return std::tanh(z); }},
      {ArcsinC, [](const CD &z) { return std::asin(z); }}, {ArccosC, [](const CD &z) { return std::acos(z); }},
      {ArctanC, [](const CD &z) { return std::atan(z); }}, {ArcsinhC, [](const CD &z) { return std::asinh(z); }},
      {ArccoshC, [](const CD &z) { return std::acosh(z); }}, {ArctanhC, [](const CD &z) { return std::atanh(z); }},
      {LogC, [](const CD &z) { return std::log(z); }},     {Log10C, [](const CD &z) { return std::log10(z); }},
      {ExpCC, [](const CD &z) { return std::exp(z); }},
  };
  const CD points[] = {{0.3, 0.4}, {-0.7, 0.2}, {1.5, -2.5}, {-2, -0.5}, {0.25, 3}, {-4, 1}};
  for (size_t f = 0; f < sizeof fns / sizeof fns[0]; ++f)
    for (CD z : points) {
      SCOPED_TRACE(testing::Message() << "function " << f << " at " << z);
      ExpectClose(fns[f].ours(z.real(), z.imag()), fns[f].ref(z), 1e-12);
    }
}

TEST(ScalarComplex, FunctionsStayFiniteFarOut) {
  Complex t = TanC(0.3, 400);
  EXPECT_EQ(t.re, 0.0);
  EXPECT_EQ(t.im, 1.0);
  EXPECT_EQ(TanC(0.3, -400).im, -1.0);
  Complex h = TanhC(-400, 0.3);
  EXPECT_EQ(h.re, -1.0);
  ExpectClose(ArcsinhC(-1e10, 0), CD(std::asinh(-1e10), 0));  // no cancellation
}

TEST(ScalarComplex, ArctanTreatsSignedZeroAlike) {
  Complex plus = ArctanC(0.0, 2.0), minus = ArctanC(-0.0, 2.0);
  EXPECT_EQ(plus.re, minus.re);
  EXPECT_EQ(plus.im, minus.im);
  Complex p = ArctanhC(2.0, 0.0), m = ArctanhC(2.0, -0.0);
  EXPECT_EQ(p.im, m.im);
  EXPECT_NEAR(p.im, M_PI / 2, 1e-15);
}

TEST(ScalarComplex, SmallHelpers) {
  Complex s = AddNC(3, ComplexR(1, 2), ComplexR(3, 4), ComplexR(-5, 0.5));
  EXPECT_EQ(s.re, -1.0);
  EXPECT_EQ(s.im, 6.5);
  Complex m = Mul3C(CI(), II(), ComplexR(2, 0));
  EXPECT_EQ(m.re, -2.0);
  ExpectClose(ComplexP(2, M_PI / 2), CD(0, 2), 1e-15);
  ExpectClose(ExpC(M_PI), CD(-1, 0), 1e-15);
  EXPECT_EQ(ConjC(ComplexR(1, 2)).im, -2.0);
  EXPECT_EQ(SqrC(ComplexR(0, 3)).re, -9.0);
  EXPECT_EQ(DivCR(ComplexR(3, -6), 3).im, -2.0);
}

// ---- rounding ------------------------------------------------------------

TEST(ScalarRounding, Family) {
  struct Row { double x, round, floor, ceiling, fraction; } rows[] = {
      {2.5, 3, 2, 3, 0.5},
      {-2.5, -3, -2, -1, -0.5},
      {-1.5, -2, -1, 0, -0.5},      // Floor truncates; Ceiling is trunc + 1
      {0.49999999999999994, 0, 0, 1, 0.49999999999999994},  // x + 0.5 would round to 1
      {-0.5, -1, -0.0, 1, -0.5},
      {3.0, 3, 3, 3, 0},
      {3.0000000000000004, 3, 3, 3, 4.440892098500626e-16},  // integer by the relative test
      {0.0, 0, 0, 0, 0},
      {1e300, 1e300, 1e300, 1e300, 0},
  };
  for (const Row &r : rows) {
    SCOPED_TRACE(r.x);
    EXPECT_EQ(Round(r.x), r.round);
    EXPECT_EQ(Floor(r.x), r.floor);
    EXPECT_EQ(Ceiling(r.x), r.ceiling);
    EXPECT_EQ(FractionalPart(r.x), r.fraction);
  }
  EXPECT_TRUE(std::isnan(Round(std::nan(""))));
  EXPECT_EQ(Sign(-3.5), -1.0);
  EXPECT_EQ(Sign(0.0), 0.0);
  EXPECT_EQ(Sign(kInf), 1.0);
}

TEST(ScalarRounding, ComparatorsAndPredicates) {
  double v[] = {3, -1, 2, -7};
  std::qsort(v, 4, sizeof(double), CompareFloats);
  EXPECT_EQ(v[0], -7);
  EXPECT_EQ(v[3], 3);
  EXPECT_EQ(Min3(4, -2, 9), -2);
  EXPECT_EQ(Max3L(4, -2, 9), 9);
  EXPECT_EQ(IsINF(-kInf), 1);
  EXPECT_EQ(IsNAN(1.0), 0);
}

// ---- reductions ----------------------------------------------------------

TEST(ScalarReductions, OfAVector) {
  double *v = Vector(5);
  const double data[] = {4, -1, 9, 2, 2};
  for (int i = 0; i < 5; ++i) v[i + 1] = data[i];
  EXPECT_EQ(Min(v), -1);
  EXPECT_EQ(Max(v), 9);
  EXPECT_EQ(Mean(v), 3.2);
  EXPECT_EQ(Median(v), 2);
  v[0] = 4;  // shrink in place: even count averages the middle pair
  EXPECT_EQ(Median(v), 3);
  EXPECT_EQ(v[1], 4);  // the argument is not reordered
  FreeVector(v);
  double *empty = Vector(0);
  EXPECT_EQ(Median(empty), 0);
  EXPECT_EQ(Mean(empty), 0);
  FreeVector(empty);
}

// ---- number theory -------------------------------------------------------

TEST(ScalarNumberTheory, GreatestCommonDivisor) {
  EXPECT_EQ(GreatestCommonDivisor(12, 18), 6);
  EXPECT_EQ(GreatestCommonDivisor(-12, 18), 6);
  EXPECT_EQ(GreatestCommonDivisor(0, 7), 7);
  EXPECT_EQ(GreatestCommonDivisor(0, 0), 0);
  EXPECT_EQ(GreatestCommonDivisor(12.7, 18.2), 6);
  EXPECT_EQ(GreatestCommonDivisor(9007199254740992.0, 6), 2);
  EXPECT_TRUE(std::isnan(GreatestCommonDivisor(kInf, 3)));
}

bool IsPrimeByTrial(double p) {
  uint64_t n = static_cast<uint64_t>(p);
  if (n < 2) return false;
  for (uint64_t d = 2; d * d <= n; ++d)
    if (n % d == 0) return false;
  return true;
}

TEST(ScalarNumberTheory, PrimeFactorsRebuildTheNumber) {
  // Small, prime, powers, a product of two primes near 2^26, and doubles
  // beyond 2^64 (an odd part times a power of two).
  const double numbers[] = {2, 360, 97, 1152921504606846976.0 /* 2^60 */, 4503599627370449.0,
                            67108859.0 * 67108837.0, 1e300, 600851475143.0};
  for (double n : numbers) {
    SCOPED_TRACE(n);
    double **f = PrimeFactors2(n);
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(f[0][0], 2);
    int rows = static_cast<int>(f[1][0]);
    double rebuilt = 1;
    for (int i = 1; i <= rows; ++i) {
      if (i > 1) {
        EXPECT_LT(f[1][i - 1], f[1][i]);
      }
      if (f[1][i] < 1e8) {
        EXPECT_TRUE(IsPrimeByTrial(f[1][i])) << f[1][i];
      }
      rebuilt *= std::pow(f[1][i], f[2][i]);
    }
    EXPECT_EQ(rebuilt, n);
    FreeMatrix(f);
  }
  double **f = PrimeFactors2(360);
  EXPECT_EQ(f[1][0], 3);
  EXPECT_EQ(f[1][1], 2);
  EXPECT_EQ(f[2][1], 3);
  EXPECT_EQ(f[2][2], 2);
  FreeMatrix(f);
  for (double none : {1.0, 0.0, -12.0, std::nan("")}) {
    double **g = PrimeFactors2(none);
    EXPECT_EQ(g[1][0], 0);
    FreeMatrix(g);
  }
}

// ---- random numbers ------------------------------------------------------

constexpr int64_t kM1 = 2147483563, kM2 = 2147483399;

// The constant every unseeded call subtracts: one step of the second stream
// from 123456789.
int64_t SecondStreamStep() { return 123456789LL * 40692 % kM2; }

std::vector<double> Draws(int32_t seed, int count) {
  std::vector<double> out;
  for (int i = 0; i < count; ++i) out.push_back(Ran2(&seed));
  return out;
}

// The table is shared by every cell of a thread, so sequences are drawn one
// after the other, never interleaved.
TEST(ScalarRandom, SeedingFromZeroEqualsSeedingFromMinusOne) {
  std::vector<double> fromMinusOne = Draws(-1, 50);
  EXPECT_EQ(Draws(0, 50), fromMinusOne);
  EXPECT_EQ(Draws(INT32_MIN, 50), fromMinusOne);  // its negation wraps below 1
  EXPECT_NE(Draws(-2, 50), fromMinusOne);
}

TEST(ScalarRandom, StoredSeedReproducesSequence) {
  std::vector<double> first = Draws(-20240611, 100);
  Draws(-7, 10);  // disturb the table in between
  EXPECT_EQ(Draws(-20240611, 100), first);
  // A positive state continues the stream from the current table.
  int32_t cell = -20240611;
  for (int i = 0; i < 10; ++i) Ran2(&cell);
  EXPECT_EQ(Draws(cell, 90), std::vector<double>(first.begin() + 10, first.end()));
}

TEST(ScalarRandom, OutputIsFirstStreamDelayedByOneStep) {
  int32_t cell = -12345;
  // The seeding call and the one after it read the seeded table; from then
  // on every call reads entry 0, which holds the previous first-stream value.
  EXPECT_EQ(Ran2(&cell), 0.027199323900017204);
  EXPECT_EQ(Ran2(&cell), 0.45187623585084458);
  for (int i = 0; i < 2000; ++i) {
    int64_t before = cell;
    double r = Ran2(&cell);
    EXPECT_EQ(cell, before * 40014 % kM1);
    int64_t word = before - SecondStreamStep();
    if (word < 1) word += kM1 - 1;
    ASSERT_EQ(r, std::min(word * 4.656613057391769e-10, 0.99999988)) << i;
    ASSERT_GT(r, 0.0);
    ASSERT_LE(r, 0.99999988);
  }
}

TEST(ScalarRandom, ThreadsKeepTheirOwnTable) {
  auto draw = [](std::vector<double> *out) {
    int32_t cell = -99;
    for (int i = 0; i < 200; ++i) out->push_back(Ran2(&cell));
  };
  std::vector<double> a, b, c;
  draw(&a);
  std::thread t1(draw, &b), t2(draw, &c);
  t1.join();
  t2.join();
  EXPECT_EQ(a, b);
  EXPECT_EQ(a, c);
}

TEST(ScalarRandom, IntegersCoverTheClosedRange) {
  int32_t cell = -5;
  bool seen[7] = {};
  for (int i = 0; i < 2000; ++i) {
    int32_t k = RandomInteger(3, -3, &cell);
    ASSERT_GE(k, -3);
    ASSERT_LE(k, 3);
    seen[k + 3] = true;
  }
  for (bool s : seen) EXPECT_TRUE(s);
  EXPECT_EQ(RandomInteger(5, 5, &cell), 5);
  int32_t wide = RandomInteger(INT32_MIN, INT32_MAX, &cell);  // span 2^32, no overflow
  (void)wide;
  for (int i = 0; i < 100; ++i) {
    double x = RandomReal(-2, 6, &cell);
    ASSERT_GT(x, -2);
    ASSERT_LT(x, 6);
  }
}

}  // namespace
