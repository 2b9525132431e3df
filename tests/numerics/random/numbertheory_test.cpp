// Primes, factorisations, modular powers and the enumerations of
// combinations, permutations and tuples.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

std::vector<double> Values(double *v) {
  std::vector<double> out(v + 1, v + 1 + static_cast<int>(v[0]));
  FreeVector(v);
  return out;
}

std::vector<std::vector<double>> Rows(double **m) {
  const int cols = static_cast<int>(m[0][0]);
  const int rows = cols ? static_cast<int>(m[1][0]) : 0;
  std::vector<std::vector<double>> out(rows, std::vector<double>(cols));
  for (int i = 1; i <= rows; ++i)
    for (int j = 1; j <= cols; ++j) out[i - 1][j - 1] = m[j][i];
  FreeMatrix(m);
  return out;
}

// Primality by the independent factoriser of the scalar layer.
bool IsPrime(double n) {
  double **f = PrimeFactors2(n);
  const bool prime = f[0][0] == 2 && f[1][0] == 1 && f[2][1] == 1;
  FreeMatrix(f);
  return prime;
}

TEST(NumberTheory, PrimeCountMatchesKnownValuesAndTheSieve) {
  const struct {
    double x, pi;
  } table[] = {{-5, 0}, {1.9, 0}, {2, 1}, {10, 4}, {100, 25}, {1000, 168}, {7919, 1000}, {7918, 999},
               {1e6, 78498}, {1e9, 50847534}};
  for (const auto &t : table) EXPECT_EQ(PrimeCount(t.x), t.pi) << t.x;
  EXPECT_EQ(PrimeCount(NAN), -1);
  EXPECT_EQ(PrimeCount(1e13), -1);
  // Perfect squares and squares of primes are where the sqrt bound bites.
  for (double x : {48.0, 49.0, 50.0, 120.0, 121.0, 122.0, 961.0, 9409.0, 123457.0}) {
    EXPECT_EQ(PrimeCount(x), static_cast<double>(Values(PrimeNumbersSieve(x)).size())) << x;
  }
}

TEST(NumberTheory, NthPrimeAndPrimeListsAgree) {
  const struct {
    double n, p;
  } table[] = {{1, 2}, {2, 3}, {3, 5}, {6, 13}, {10, 29}, {100, 541}, {1000, 7919}, {100000, 1299709}};
  for (const auto &t : table) EXPECT_EQ(PrimeNumber(t.n), t.p) << t.n;
  for (double bad : {0.0, -1.0, 2.5, 1e9, static_cast<double>(NAN)}) EXPECT_EQ(PrimeNumber(bad), -1) << bad;

  auto first = Values(PrimeNumbers(1000));
  ASSERT_EQ(first.size(), 1000u);
  EXPECT_EQ(first.back(), 7919);
  auto sieve = Values(PrimeNumbersSieve(7919));
  EXPECT_EQ(sieve, first);
  int32_t *small = PrimeNumbersSmall(7919);
  ASSERT_EQ(small[0], 1000);
  for (int i = 1; i <= 1000; ++i) ASSERT_EQ(small[i], first[i - 1]);
  Free(small);
  EXPECT_EQ(Values(PrimeNumbers(0)).size(), 0u);
  EXPECT_EQ(Values(PrimeNumbersSieve(1.5)).size(), 0u);
}

TEST(NumberTheory, SegmentedSieveFarOut) {
  // Every integer of a window near 1e12 checked against Miller-Rabin.
  const double low = 1e12 - 50, high = 1e12 + 100;
  std::vector<double> expected;
  for (double x = low; x <= high; ++x)
    if (IsPrime(x)) expected.push_back(x);
  auto got = Values(PrimeNumbersSub(low, high));
  EXPECT_EQ(got, expected);
  EXPECT_EQ(got.back(), 1000000000091.0);
  EXPECT_EQ(Values(PrimeNumbersSub(0, 10)), (std::vector<double>{2, 3, 5, 7}));
  EXPECT_EQ(Values(PrimeNumbersSub(14, 16)).size(), 0u);
  EXPECT_EQ(Values(PrimeNumbersSub(10, 2)).size(), 0u);
  EXPECT_EQ(Values(PrimeNumbersSub(NAN, 100)).size(), 0u);
}

TEST(NumberTheory, ParityDivisibilityAndPowersOfTwo) {
  const struct {
    double x;
    int even, odd;
  } parity[] = {{0, 1, 0}, {4, 1, 0}, {-3, 0, 1}, {7, 0, 1}, {2.5, 0, 0}, {NAN, 0, 0}, {INFINITY, 0, 0},
                {9007199254740993.0, 1, 0}};
  for (const auto &t : parity) {
    EXPECT_EQ(Even(t.x), t.even) << t.x;
    EXPECT_EQ(Odd(t.x), t.odd) << t.x;
  }
  EXPECT_EQ(Divisible(12, 4), 1);
  EXPECT_EQ(Divisible(-12, 4), 1);
  EXPECT_EQ(Divisible(12, 5), 0);
  EXPECT_EQ(Divisible(12, 0), 0);
  EXPECT_EQ(Divisible(12.5, 2.5), 0);
  const int32_t pow2[][2] = {{-4, 1}, {0, 1}, {1, 1}, {2, 2}, {3, 4}, {1024, 1024}, {1025, 2048}, {1 << 30, 1 << 30},
                             {(1 << 30) + 1, 0}};
  for (auto &t : pow2) EXPECT_EQ(NextPow(t[0]), t[1]) << t[0];
}

TEST(NumberTheory, ModularExponentiation) {
  const double p = 9007199254740881.0;  // the largest prime below 2^53
  const struct {
    double b, e, m, r;
  } table[] = {{2, 10, 1000, 24}, {-2, 3, 5, 2}, {3, 0, 1, 0}, {3, 0, 7, 1}, {0, 0, 7, 1},
               {3, p - 1, p, 1}, {2, (p - 1) / 2, p, 0}};
  for (const auto &t : table) {
    const double got = ModularExponentiation(t.b, t.e, t.m);
    if (t.e == (p - 1) / 2) {
      EXPECT_TRUE(got == 1 || got == p - 1) << got;  // Euler's criterion
    } else {
      EXPECT_EQ(got, t.r) << t.b << "^" << t.e << " mod " << t.m;
    }
  }
  for (auto args : {std::vector<double>{2, 3, 0}, {2, -1, 7}, {2.5, 2, 7}, {2, 3, NAN}, {2, 3, 1e17}})
    EXPECT_TRUE(std::isnan(ModularExponentiation(args[0], args[1], args[2])));
}

TEST(NumberTheory, FactorisationsDivisorsAndPrimitiveRoots) {
  EXPECT_EQ(Values(Divisors(12)), (std::vector<double>{1, 2, 3, 4, 6, 12}));
  EXPECT_EQ(Values(Divisors(-12)), (std::vector<double>{1, 2, 3, 4, 6, 12}));
  EXPECT_EQ(Values(Divisors(1)), (std::vector<double>{1}));
  EXPECT_EQ(Values(Divisors(0)).size(), 0u);
  EXPECT_EQ(Values(Divisors(NAN)).size(), 0u);
  EXPECT_EQ(Values(Divisors(720720)).size(), 240u);

  int32_t *f = PrimeFactorsSmall(360);
  EXPECT_EQ(std::vector<int32_t>(f + 1, f + 1 + f[0]), (std::vector<int32_t>{2, 2, 2, 3, 3, 5}));
  Free(f);
  for (int32_t n : {1, 0, -5}) {
    f = PrimeFactorsSmall(n);
    EXPECT_EQ(f[0], 0);
    Free(f);
  }
  f = PrimeFactorsSmall(2147483647);
  EXPECT_EQ(f[0], 1);
  EXPECT_EQ(f[1], 2147483647);
  Free(f);

  // 12 * 18 = 216 = 2^3 3^3.
  double **a = PrimeFactors2(12), **b = PrimeFactors2(18);
  double **sum = AddPrimeFactors(a, b);
  double **direct = PrimeFactors2(216);
  EXPECT_EQ(EqualMatrices(sum, direct), 1);
  EXPECT_EQ(TestPrimeFactors(216, sum), 1);
  EXPECT_EQ(TestPrimeFactors(217, sum), 0);
  sum[2][1] = 2;  // wrong exponent
  EXPECT_EQ(TestPrimeFactors(216, sum), 0);
  double **notPrime = Matrix(2, 1);
  notPrime[1][1] = 4, notPrime[2][1] = 1;
  EXPECT_EQ(TestPrimeFactors(4, notPrime), 0);
  double **unsorted = Matrix(2, 2);
  unsorted[1][1] = 3, unsorted[2][1] = 1, unsorted[1][2] = 2, unsorted[2][2] = 1;
  EXPECT_EQ(TestPrimeFactors(6, unsorted), 0);
  double **empty = Matrix(2, 0);
  EXPECT_EQ(TestPrimeFactors(1, empty), 1);
  EXPECT_EQ(TestPrimeFactors(1, nullptr), 1);
  double **none = AddPrimeFactors(nullptr, empty);
  EXPECT_EQ(none[1][0], 0);
  for (double **m : {a, b, sum, direct, notPrime, unsorted, empty, none}) FreeMatrix(m);

  const double roots[][2] = {{2, 1}, {3, 2}, {7, 3}, {23, 5}, {41, 6}, {1000000007, 5}, {4, -1}, {1, -1}, {2.5, -1}};
  for (auto &t : roots) EXPECT_EQ(PrimitiveRootPrime(t[0]), t[1]) << t[0];
}

TEST(NumberTheory, CombinationsAgreeAcrossTheirForms) {
  auto rows = Rows(GenerateCombinations(6, 3));
  ASSERT_EQ(rows.size(), 20u);
  EXPECT_EQ(rows.front(), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(rows.back(), (std::vector<double>{4, 5, 6}));
  int32_t *c = VectorL(3);
  c[1] = 1, c[2] = 2, c[3] = 3;
  int32_t **asL = GenerateCombinationsL(6, 3);
  for (size_t i = 0; i < rows.size(); ++i) {
    if (i) {
      EXPECT_LT(rows[i - 1], rows[i]);
    }
    EXPECT_EQ(Values(GenerateRowCombination(6, 3, static_cast<double>(i + 1))), rows[i]);
    for (int j = 1; j <= 3; ++j) {
      EXPECT_EQ(c[j], rows[i][j - 1]);
      EXPECT_EQ(asL[j][i + 1], rows[i][j - 1]);
    }
    EXPECT_EQ(GenerateComb(c, 6), i + 1 < rows.size() ? 1 : 0);
  }
  EXPECT_EQ(c[1], 4);  // the last subset stays put
  FreeMatrixL(asL);
  c[2] = 1;  // not ascending
  EXPECT_EQ(GenerateComb(c, 6), 0);
  Free(c);

  EXPECT_EQ(Values(GenerateRowCombination(6, 3, 21)).size(), 0u);
  EXPECT_EQ(Values(GenerateRowCombination(6, 7, 1)).size(), 0u);
  EXPECT_EQ(Rows(GenerateCombinations(3, 4)).size(), 0u);
  EXPECT_EQ(Rows(GenerateCombinations(3, 0)).size(), 0u);
  EXPECT_EQ(Rows(GenerateCombinations(60, 30)).size(), 0u);  // far beyond the size limit

  auto picked = Rows(EnumerateCombinations(nullptr, 2));
  EXPECT_EQ(picked.size(), 0u);
  double *v = Vector(4);
  v[1] = 10, v[2] = 20, v[3] = 30, v[4] = 40;
  picked = Rows(EnumerateCombinations(v, 2));
  ASSERT_EQ(picked.size(), 6u);
  EXPECT_EQ(picked[0], (std::vector<double>{10, 20}));
  EXPECT_EQ(picked[2], (std::vector<double>{10, 40}));
  EXPECT_EQ(picked[5], (std::vector<double>{30, 40}));
  FreeVector(v);
}

TEST(NumberTheory, PermutationsTuplesAndProducts) {
  auto rows = Rows(GeneratePermutations(4));
  ASSERT_EQ(rows.size(), 24u);
  for (size_t i = 0; i < rows.size(); ++i) {
    if (i) {
      EXPECT_LT(rows[i - 1], rows[i]);
    }
    EXPECT_EQ(Values(GenerateRowPermutation(4, static_cast<double>(i + 1))), rows[i]);
  }
  int32_t **asL = GeneratePermutationsL(3);
  EXPECT_EQ(asL[1][6], 3);
  EXPECT_EQ(asL[3][6], 1);
  FreeMatrixL(asL);
  EXPECT_EQ(Values(GenerateRowPermutation(20, 2432902008176640000.0)),
            (std::vector<double>{20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}));
  EXPECT_EQ(Values(GenerateRowPermutation(4, 25)).size(), 0u);
  EXPECT_EQ(Rows(GeneratePermutations(12)).size(), 0u);
  EXPECT_EQ(Rows(GeneratePermutations(0)).size(), 0u);

  double *v = Vector(3);
  v[1] = 5, v[2] = 6, v[3] = 7;
  auto perms = Rows(EnumeratePermutations(v));
  ASSERT_EQ(perms.size(), 6u);
  EXPECT_EQ(perms[1], (std::vector<double>{5, 7, 6}));
  EXPECT_EQ(perms[5], (std::vector<double>{7, 6, 5}));

  double *w = Vector(2);
  w[1] = 7, w[2] = 8;
  auto tuples = Rows(EnumerateTuples(w, 3));
  ASSERT_EQ(tuples.size(), 8u);
  EXPECT_EQ(tuples[0], (std::vector<double>{7, 7, 7}));
  EXPECT_EQ(tuples[1], (std::vector<double>{7, 7, 8}));
  EXPECT_EQ(tuples[6], (std::vector<double>{8, 8, 7}));
  EXPECT_EQ(Rows(EnumerateTuples(w, 0)).size(), 0u);
  EXPECT_EQ(Rows(EnumerateTuples(nullptr, 2)).size(), 0u);

  auto pairs = Rows(CartesianProduct(w, v));
  ASSERT_EQ(pairs.size(), 6u);
  EXPECT_EQ(pairs[1], (std::vector<double>{7, 6}));
  EXPECT_EQ(pairs[3], (std::vector<double>{8, 5}));
  EXPECT_EQ(Rows(CartesianProduct(w, nullptr)).size(), 0u);

  // The recursive workers never write past the rows they are given.
  double **small = Matrix(3, 2);
  double *current = Vector(3);
  int32_t row = 0;
  EnumerateTuplesSub(w, 3, 1, current, small, &row);
  EXPECT_EQ(row, 2);
  row = 0;
  EnumerateCombinationsSub(v, 3, 1, 1, current, small, &row);
  EXPECT_EQ(row, 1);
  EnumerateCombinationsSub(v, 3, 1, 1, nullptr, small, &row);
  FreeMatrix(small);
  FreeVector(current);
  FreeVector(v);
  FreeVector(w);
}

}  // namespace
