// Number theory and enumeration: parity and divisibility of integer-valued
// doubles, modular powers, primes (sieve of Eratosthenes, a segmented sieve,
// and the Legendre-style prime-counting recursion over the values floor(x/k)),
// factorisations in the Matrix(2, k) form of PrimeFactors2 (column 1 the
// primes ascending, column 2 the exponents), and the enumeration of
// combinations, permutations and tuples.
//
// Two things to know first. Numbers arrive as doubles: a value is an integer
// when it is finite and equal to its truncation, and every integer up to 2^53
// is exact, so modular products go through 128-bit integers. Enumerations are
// matrices with one column per position and one row per item (m[j][i] is
// position j of item i), so an item prints as one line; a request for more
// than kMaxCells elements gives an empty result instead of a huge allocation.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include "common/boundary.h"
#include "common/modular.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace {

using qvx::ColsOf;
using qvx::MulMod;
using qvx::PowModExact;
using qvx::UInt128;
using qvx::LengthOf;
using qvx::RowsOf;

constexpr int64_t kMaxCells = int64_t{1} << 24;  // largest enumeration returned
constexpr double kExact = 9007199254740992.0;    // 2^53
constexpr double kMaxPrimeCountArgument = 1e12;
constexpr double kMaxSieveLimit = 2147483647.0;
constexpr double kMaxPrimeIndex = 1e8;

using Wide = UInt128;

bool IsInteger(double x) { return std::isfinite(x) && x == std::trunc(x); }

// Factorisation as (prime, exponent) pairs through the exported PrimeFactors2.
std::vector<std::pair<uint64_t, int32_t>> Factor(double n) {
  std::vector<std::pair<uint64_t, int32_t>> out;
  double **m = PrimeFactors2(n);
  const int32_t k = ColsOf(m) >= 2 ? RowsOf(m) : 0;
  for (int32_t i = 1; i <= k; ++i) out.push_back({static_cast<uint64_t>(m[1][i]), static_cast<int32_t>(m[2][i])});
  FreeMatrix(m);
  return out;
}

bool IsPrime(double n) {
  if (!IsInteger(n) || n < 2 || n > kExact) return false;
  auto f = Factor(n);
  return f.size() == 1 && f[0].second == 1;
}

// Odd-only sieve of Eratosthenes: bit i stands for 2i + 1.
std::vector<bool> OddSieve(uint64_t limit) {
  std::vector<bool> composite(limit / 2 + 1, false);
  if (!composite.empty()) composite[0] = true;  // 1 is not prime
  for (uint64_t p = 3; p * p <= limit; p += 2) {
    if (composite[p / 2]) continue;
    for (uint64_t q = p * p; q <= limit; q += 2 * p) composite[q / 2] = true;
  }
  return composite;
}

std::vector<uint64_t> PrimesUpTo(uint64_t limit, uint64_t maxCount = UINT64_MAX) {
  std::vector<uint64_t> primes;
  if (limit < 2 || maxCount == 0) return primes;
  primes.push_back(2);
  auto composite = OddSieve(limit);
  for (uint64_t i = 1; i < composite.size() && primes.size() < maxCount; ++i)
    if (!composite[i] && 2 * i + 1 <= limit) primes.push_back(2 * i + 1);
  return primes;
}

// Rosser's bound: the n-th prime lies below n (ln n + ln ln n) for n >= 6.
uint64_t NthPrimeBound(uint64_t n) {
  if (n < 6) return 13;
  double x = static_cast<double>(n);
  return static_cast<uint64_t>(x * (std::log(x) + std::log(std::log(x)))) + 1;
}

double *ToVector(const std::vector<uint64_t> &values) {
  double *v = Vector(static_cast<int32_t>(values.size()));
  const int32_t n = LengthOf(v);
  for (int32_t i = 1; i <= n; ++i) v[i] = static_cast<double>(values[i - 1]);
  return v;
}

double **PairsToMatrix(const std::vector<std::pair<uint64_t, int32_t>> &pairs) {
  const int32_t k = static_cast<int32_t>(pairs.size());
  double **m = Matrix(2, k);
  if (ColsOf(m) != 2 || RowsOf(m) != k) return m;
  for (int32_t i = 1; i <= k; ++i) {
    m[1][i] = static_cast<double>(pairs[i - 1].first);
    m[2][i] = pairs[i - 1].second;
  }
  return m;
}

// Binomial coefficient, or -1 when it exceeds kMaxCells.
int64_t Choose(int64_t n, int64_t k) {
  if (k < 0 || k > n) return 0;
  k = std::min(k, n - k);
  int64_t c = 1;
  for (int64_t i = 1; i <= k; ++i) {
    c = c * (n - k + i) / i;  // exact: c * (n-k+i) is divisible by i at this step
    if (c > kMaxCells) return -1;
  }
  return c;
}

// n^k, or -1 when it exceeds kMaxCells.
int64_t Power(int64_t n, int64_t k) {
  int64_t c = 1;
  for (int64_t i = 0; i < k; ++i) {
    c *= n;
    if (c > kMaxCells) return -1;
  }
  return c;
}

int64_t Factorial(int64_t n) {
  int64_t c = 1;
  for (int64_t i = 2; i <= n; ++i) {
    c *= i;
    if (c > kMaxCells) return -1;
  }
  return c;
}

// A rows-by-width result, empty (width columns, 0 rows) when it would be too big.
bool FitsCells(int64_t rows, int64_t width) { return rows >= 0 && rows * std::max<int64_t>(width, 1) <= kMaxCells; }

// All k-subsets of 1..n in lexicographic order, handed to emit one by one.
template <class Emit>
void ForEachCombination(int32_t n, int32_t k, Emit emit) {
  std::vector<int32_t> c(k);
  std::iota(c.begin(), c.end(), 1);
  for (;;) {
    emit(c);
    int32_t i = k - 1;
    while (i >= 0 && c[i] == n - k + i + 1) --i;
    if (i < 0) return;
    ++c[i];
    for (int32_t j = i + 1; j < k; ++j) c[j] = c[j - 1] + 1;
  }
}

template <class T>
T **CombinationsMatrix(int32_t n, int32_t k, T **(*make)(int32_t, int32_t)) {
  const int64_t count = (n < 0 || k < 1) ? 0 : Choose(n, k);
  if (count <= 0 || !FitsCells(count, k)) return make(k < 0 ? 0 : k, 0);
  T **m = make(k, static_cast<int32_t>(count));
  if (ColsOf(m) != k || RowsOf(m) != count) return m;
  int32_t row = 0;
  ForEachCombination(n, k, [&](const std::vector<int32_t> &c) {
    ++row;
    for (int32_t j = 0; j < k; ++j) m[j + 1][row] = static_cast<T>(c[j]);
  });
  return m;
}

template <class T>
T **PermutationsMatrix(int32_t n, T **(*make)(int32_t, int32_t)) {
  const int64_t count = n < 1 ? 0 : Factorial(n);
  if (count <= 0 || !FitsCells(count, n)) return make(n < 0 ? 0 : n, 0);
  T **m = make(n, static_cast<int32_t>(count));
  if (ColsOf(m) != n || RowsOf(m) != count) return m;
  std::vector<int32_t> p(n);
  std::iota(p.begin(), p.end(), 1);
  int32_t row = 0;
  do {
    ++row;
    for (int32_t j = 0; j < n; ++j) m[j + 1][row] = static_cast<T>(p[j]);
  } while (std::next_permutation(p.begin(), p.end()));
  return m;
}

}  // namespace

extern "C" {

// ---- parity, divisibility, powers ----------------------------------------

QVX_API int32_t Even(double x) noexcept { return IsInteger(x) && std::fmod(x, 2.0) == 0.0; }

QVX_API int32_t Odd(double x) noexcept { return IsInteger(x) && std::fabs(std::fmod(x, 2.0)) == 1.0; }

QVX_API int32_t Divisible(double a, double b) noexcept {
  return IsInteger(a) && IsInteger(b) && b != 0.0 && std::fmod(a, b) == 0.0;
}

QVX_API int32_t NextPow(int32_t n) noexcept {
  if (n <= 1) return 1;
  if (n > (1 << 30)) return 0;
  int32_t p = 1;
  while (p < n) p <<= 1;
  return p;
}

// Binary exponentiation with exact 128-bit products; a negative base is taken modulo m
// into [0, m).
QVX_API double ModularExponentiation(double base, double exponent, double modulus) noexcept {
  if (!IsInteger(base) || !IsInteger(exponent) || !IsInteger(modulus)) return NAN;
  if (modulus < 1 || modulus > kExact || exponent < 0 || std::fabs(base) > kExact || exponent > 1.8e19) return NAN;
  const uint64_t m = static_cast<uint64_t>(modulus);
  double b = std::fmod(base, modulus);
  if (b < 0) b += modulus;
  return static_cast<double>(PowModExact(static_cast<uint64_t>(b), static_cast<uint64_t>(exponent), m));
}

// ---- primes --------------------------------------------------------------

QVX_API double *PrimeNumbersSieve(double limit) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    if (!(limit >= 2)) return Vector(0);
    limit = std::min(std::floor(limit), kMaxSieveLimit);
    return ToVector(PrimesUpTo(static_cast<uint64_t>(limit)));
  });
}

QVX_API int32_t *PrimeNumbersSmall(int32_t limit) noexcept {
  return qvx::Guard(static_cast<int32_t *>(nullptr), [&] {
    auto primes = PrimesUpTo(limit < 2 ? 0 : static_cast<uint64_t>(limit));
    int32_t *v = VectorL(static_cast<int32_t>(primes.size()));
    const int32_t n = LengthOf(v);
    for (int32_t i = 1; i <= n; ++i) v[i] = static_cast<int32_t>(primes[i - 1]);
    return v;
  });
}

// Segmented sieve of Eratosthenes over [low, high]: the base primes up to
// sqrt(high) strike their multiples in the window only, so memory follows
// the width of the window, not its position. PrimeNumbers runs on it.
QVX_API double *PrimeNumbersSub(double low, double high) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    low = std::max(std::ceil(low), 2.0);
    high = std::floor(high);
    if (!(low <= high) || high > 1e15 || high - low > 1e8) return Vector(0);
    const uint64_t lo = static_cast<uint64_t>(low), hi = static_cast<uint64_t>(high);
    uint64_t root = static_cast<uint64_t>(std::sqrt(high));
    while (root * root > hi) --root;
    while ((root + 1) * (root + 1) <= hi) ++root;
    std::vector<bool> composite(hi - lo + 1, false);
    for (uint64_t p : PrimesUpTo(root)) {
      uint64_t first = std::max(p * p, (lo + p - 1) / p * p);
      for (uint64_t q = first; q <= hi; q += p) composite[q - lo] = true;
    }
    std::vector<uint64_t> primes;
    for (uint64_t i = 0; i < composite.size(); ++i)
      if (!composite[i]) primes.push_back(lo + i);
    return ToVector(primes);
  });
}

// The first n primes, sieved window by window until there are enough.
QVX_API double *PrimeNumbers(int32_t n) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    if (n < 1 || n > kMaxPrimeIndex) return Vector(0);
    double *out = Vector(n);
    if (LengthOf(out) != n) return out;
    const double window = 1 << 22;
    int32_t got = 0;
    for (double low = 2; got < n; low += window) {
      double *chunk = PrimeNumbersSub(low, low + window - 1);
      const int32_t k = LengthOf(chunk);
      for (int32_t i = 1; i <= k && got < n; ++i) out[++got] = chunk[i];
      FreeVector(chunk);
    }
    return out;
  });
}

// The n-th prime (the first is 2); -1 outside 1..1e8.
QVX_API double PrimeNumber(double n) noexcept {
  return qvx::Guard(-1.0, [&] {
    if (!IsInteger(n) || n < 1 || n > kMaxPrimeIndex) return -1.0;
    const uint64_t k = static_cast<uint64_t>(n);
    auto primes = PrimesUpTo(NthPrimeBound(k), k);
    return primes.size() >= k ? static_cast<double>(primes[k - 1]) : -1.0;
  });
}

// pi(x), the number of primes up to x, by the Legendre-style recursion over
// the O(sqrt x) distinct values floor(x/k): S(v) starts as the count of
// 2..v and each prime p <= sqrt(x) removes the numbers whose least prime
// factor is p. O(x^(3/4)) steps; -1 above 1e12.
QVX_API double PrimeCount(double x) noexcept {
  return qvx::Guard(-1.0, [&] {
    if (std::isnan(x) || x > kMaxPrimeCountArgument) return -1.0;
    if (x < 2) return 0.0;
    const int64_t n = static_cast<int64_t>(std::floor(x));
    int64_t r = static_cast<int64_t>(std::sqrt(static_cast<double>(n)));
    while (r * r > n) --r;
    while ((r + 1) * (r + 1) <= n) ++r;
    std::vector<int64_t> small(r + 1), large(r + 1);  // S(v) for v <= r, and S(n / k)
    for (int64_t v = 1; v <= r; ++v) small[v] = v - 1;
    for (int64_t k = 1; k <= r; ++k) large[k] = n / k - 1;
    for (int64_t p = 2; p <= r; ++p) {
      if (small[p] == small[p - 1]) continue;  // p is not prime
      const int64_t below = small[p - 1];
      const int64_t p2 = p * p;
      for (int64_t k = 1; k <= r && n / k >= p2; ++k) {
        const int64_t kp = k * p;
        const int64_t sub = kp <= r ? large[kp] : small[n / kp];
        large[k] -= sub - below;
      }
      for (int64_t v = r; v >= p2; --v) small[v] -= small[v / p] - below;
    }
    return static_cast<double>(large[1]);
  });
}

// ---- factorisations -------------------------------------------------------

QVX_API int32_t *PrimeFactorsSmall(int32_t n) noexcept {
  return qvx::Guard(static_cast<int32_t *>(nullptr), [&] {
    std::vector<int32_t> f;
    int64_t m = n;
    for (int64_t p = 2; m >= 2 && p * p <= m; p += (p == 2 ? 1 : 2))
      while (m % p == 0) {
        f.push_back(static_cast<int32_t>(p));
        m /= p;
      }
    if (m >= 2) f.push_back(static_cast<int32_t>(m));
    int32_t *v = VectorL(static_cast<int32_t>(f.size()));
    for (int32_t i = 1; i <= LengthOf(v); ++i) v[i] = f[i - 1];
    return v;
  });
}

// The factorisation of a product: merges two Matrix(2, k) factorisations,
// adding the exponents of common primes. Rows with a non-positive exponent
// or a prime below 2 are dropped.
QVX_API double **AddPrimeFactors(double **a, double **b) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] {
    std::vector<std::pair<uint64_t, int32_t>> all;
    for (double **m : {a, b}) {
      const int32_t k = ColsOf(m) >= 2 ? RowsOf(m) : 0;
      for (int32_t i = 1; i <= k; ++i)
        if (IsInteger(m[1][i]) && m[1][i] >= 2 && m[1][i] <= kExact && m[2][i] >= 1 && m[2][i] < 2e9)
          all.push_back({static_cast<uint64_t>(m[1][i]), static_cast<int32_t>(m[2][i])});
    }
    std::sort(all.begin(), all.end());
    std::vector<std::pair<uint64_t, int32_t>> merged;
    for (auto &pe : all) {
      if (!merged.empty() && merged.back().first == pe.first) merged.back().second += pe.second;
      else merged.push_back(pe);
    }
    return PairsToMatrix(merged);
  });
}

// 1 when factors (a Matrix(2, k) of ascending distinct primes and positive
// integer exponents) multiplies back to the integer n exactly, else 0. The
// empty factorisation belongs to 1.
QVX_API int32_t TestPrimeFactors(double n, double **factors) noexcept {
  return qvx::Guard(int32_t{0}, [&]() -> int32_t {
    if (!IsInteger(n) || n < 1 || n > kExact) return 0;
    const int32_t k = ColsOf(factors) >= 2 ? RowsOf(factors) : 0;
    Wide product = 1;
    double previous = 1;
    for (int32_t i = 1; i <= k; ++i) {
      const double p = factors[1][i], e = factors[2][i];
      if (!(p > previous) || !IsInteger(e) || e < 1 || !IsPrime(p)) return 0;
      previous = p;
      for (double j = 0; j < e; ++j) {
        product *= static_cast<uint64_t>(p);
        if (product > static_cast<Wide>(kExact)) return 0;
      }
    }
    return product == static_cast<Wide>(static_cast<uint64_t>(n));
  });
}

// All positive divisors of the integer part of |n|, ascending; empty for 0
// and non-finite n.
QVX_API double *Divisors(double n) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    n = std::fabs(std::trunc(n));
    if (!(n >= 1) || n > kExact) return Vector(0);
    std::vector<uint64_t> d{1};
    for (auto [p, e] : Factor(n)) {
      const size_t base = d.size();
      uint64_t power = 1;
      for (int32_t j = 1; j <= e; ++j) {
        power *= p;
        for (size_t i = 0; i < base; ++i) d.push_back(d[i] * power);
      }
    }
    std::sort(d.begin(), d.end());
    return ToVector(d);
  });
}

// The least primitive root modulo the prime p: the g whose powers
// g^((p-1)/q) differ from 1 for every prime q dividing p - 1. -1 when p is
// not a prime.
QVX_API double PrimitiveRootPrime(double p) noexcept {
  return qvx::Guard(-1.0, [&] {
    if (!IsPrime(p)) return -1.0;
    if (p == 2) return 1.0;
    const uint64_t m = static_cast<uint64_t>(p);
    auto factors = Factor(p - 1);
    for (uint64_t g = 2; g < m; ++g) {
      bool root = true;
      for (auto &f : factors)
        if (PowModExact(g, (m - 1) / f.first, m) == 1) {
          root = false;
          break;
        }
      if (root) return static_cast<double>(g);
    }
    return -1.0;
  });
}

// ---- combinations, permutations, tuples ------------------------------------

QVX_API double **GenerateCombinations(int32_t n, int32_t k) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] { return CombinationsMatrix<double>(n, k, Matrix); });
}

QVX_API int32_t **GenerateCombinationsL(int32_t n, int32_t k) noexcept {
  return qvx::Guard(static_cast<int32_t **>(nullptr), [&] { return CombinationsMatrix<int32_t>(n, k, MatrixL); });
}

// Steps the k-subset c (a VectorL, ascending, of 1..n) to its lexicographic
// successor in place: 1 when it moved, 0 when c was the last subset or is
// not a valid subset (then it is left as it was).
QVX_API int32_t GenerateComb(int32_t *c, int32_t n) noexcept {
  const int32_t k = LengthOf(c);
  if (k == 0 || k > n) return 0;
  for (int32_t i = 1; i <= k; ++i)
    if (c[i] < 1 || c[i] > n || (i > 1 && c[i] <= c[i - 1])) return 0;
  int32_t i = k;
  while (i >= 1 && c[i] == n - k + i) --i;
  if (i < 1) return 0;
  ++c[i];
  for (int32_t j = i + 1; j <= k; ++j) c[j] = c[j - 1] + 1;
  return 1;
}

// Row `index` (1-based) of GenerateCombinations(n, k), found directly by
// counting the subsets that begin with each candidate.
QVX_API double *GenerateRowCombination(int32_t n, int32_t k, double index) noexcept {
  if (n < 1 || k < 1 || k > n || !IsInteger(index) || index < 1) return Vector(0);
  const double total = std::round(std::exp(std::lgamma(n + 1.0) - std::lgamma(k + 1.0) - std::lgamma(n - k + 1.0)));
  if (index > total) return Vector(0);
  double *v = Vector(k);
  if (LengthOf(v) != k) return v;
  double rest = index;
  int32_t candidate = 1;
  for (int32_t i = 1; i <= k; ++i) {
    for (;; ++candidate) {
      // subsets whose i-th element is candidate: choose the other k - i from above it
      double count = 1;
      const int32_t top = n - candidate, pick = k - i;
      for (int32_t j = 1; j <= pick; ++j) count = count * (top - pick + j) / j;
      count = std::round(count);
      if (rest <= count || candidate >= n) break;
      rest -= count;
    }
    v[i] = candidate++;
  }
  return v;
}

QVX_API double **GeneratePermutations(int32_t n) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] { return PermutationsMatrix<double>(n, Matrix); });
}

QVX_API int32_t **GeneratePermutationsL(int32_t n) noexcept {
  return qvx::Guard(static_cast<int32_t **>(nullptr), [&] { return PermutationsMatrix<int32_t>(n, MatrixL); });
}

// Row `index` (1-based) of GeneratePermutations(n) through its factorial
// number system digits (the Lehmer code); n up to 20 so that n! stays exact.
QVX_API double *GenerateRowPermutation(int32_t n, double index) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    if (n < 1 || n > 20 || !IsInteger(index) || index < 1) return Vector(0);
    uint64_t factorial = 1;
    for (int32_t i = 2; i <= n; ++i) factorial *= static_cast<uint64_t>(i);
    if (index > static_cast<double>(factorial)) return Vector(0);
    uint64_t rank = static_cast<uint64_t>(index) - 1;
    std::vector<int32_t> pool(n);
    std::iota(pool.begin(), pool.end(), 1);
    double *v = Vector(n);
    if (LengthOf(v) != n) return v;
    for (int32_t i = 1; i <= n; ++i) {
      factorial /= static_cast<uint64_t>(n - i + 1);
      const uint64_t digit = rank / factorial;
      rank %= factorial;
      v[i] = pool[digit];
      pool.erase(pool.begin() + static_cast<std::ptrdiff_t>(digit));
    }
    return v;
  });
}

// Recursive worker of EnumerateCombinations: fills positions depth..k of
// current with elements of v from index start on, and writes each finished
// subset to the next row of out (*row counts the rows written).
QVX_API void EnumerateCombinationsSub(const double *v, int32_t k, int32_t start, int32_t depth, double *current,
                                      double **out, int32_t *row) noexcept {
  const int32_t n = LengthOf(v);
  if (!current || !out || !row || k < 1 || depth < 1 || LengthOf(current) < k || ColsOf(out) < k) return;
  if (depth > k) {
    if (*row >= RowsOf(out)) return;
    ++*row;
    for (int32_t j = 1; j <= k; ++j) out[j][*row] = current[j];
    return;
  }
  for (int32_t i = std::max(start, 1); i <= n - (k - depth); ++i) {
    current[depth] = v[i];
    EnumerateCombinationsSub(v, k, i + 1, depth + 1, current, out, row);
  }
}

// The k-subsets of the elements of v, by position, lexicographically.
QVX_API double **EnumerateCombinations(const double *v, int32_t k) noexcept {
  const int32_t n = LengthOf(v);
  const int64_t count = (k < 1) ? 0 : Choose(n, k);
  if (count <= 0 || !FitsCells(count, k)) return Matrix(k < 0 ? 0 : k, 0);
  double **out = Matrix(k, static_cast<int32_t>(count));
  double *current = Vector(k);
  int32_t row = 0;
  if (LengthOf(current) == k && RowsOf(out) == count) EnumerateCombinationsSub(v, k, 1, 1, current, out, &row);
  FreeVector(current);
  return out;
}

// The orderings of the elements of v, lexicographic in their positions.
QVX_API double **EnumeratePermutations(const double *v) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] {
    const int32_t n = LengthOf(v);
    double **out = PermutationsMatrix<double>(n, Matrix);
    const int32_t rows = RowsOf(out);
    for (int32_t j = 1; j <= ColsOf(out) && j <= n; ++j)
      for (int32_t i = 1; i <= rows; ++i) out[j][i] = v[static_cast<int32_t>(out[j][i])];
    return out;
  });
}

// Recursive worker of EnumerateTuples: position depth takes every element of
// v in turn; finished tuples go to the next row of out.
QVX_API void EnumerateTuplesSub(const double *v, int32_t k, int32_t depth, double *current, double **out,
                                int32_t *row) noexcept {
  const int32_t n = LengthOf(v);
  if (!current || !out || !row || k < 1 || depth < 1 || LengthOf(current) < k || ColsOf(out) < k) return;
  if (depth > k) {
    if (*row >= RowsOf(out)) return;
    ++*row;
    for (int32_t j = 1; j <= k; ++j) out[j][*row] = current[j];
    return;
  }
  for (int32_t i = 1; i <= n; ++i) {
    current[depth] = v[i];
    EnumerateTuplesSub(v, k, depth + 1, current, out, row);
  }
}

// The n^k sequences of k elements of v, repetition allowed, the last
// position running fastest.
QVX_API double **EnumerateTuples(const double *v, int32_t k) noexcept {
  const int32_t n = LengthOf(v);
  const int64_t count = (k < 1 || n < 1) ? 0 : Power(n, k);
  if (count <= 0 || !FitsCells(count, k)) return Matrix(k < 0 ? 0 : k, 0);
  double **out = Matrix(k, static_cast<int32_t>(count));
  double *current = Vector(k);
  int32_t row = 0;
  if (LengthOf(current) == k && RowsOf(out) == count) EnumerateTuplesSub(v, k, 1, current, out, &row);
  FreeVector(current);
  return out;
}

// All pairs (a_i, b_j) as a Matrix(2, na nb), i outer, j inner.
QVX_API double **CartesianProduct(const double *a, const double *b) noexcept {
  const int64_t na = LengthOf(a), nb = LengthOf(b);
  if (na * nb == 0 || !FitsCells(na * nb, 2)) return Matrix(2, 0);
  double **out = Matrix(2, static_cast<int32_t>(na * nb));
  if (RowsOf(out) != na * nb) return out;
  int32_t row = 0;
  for (int32_t i = 1; i <= na; ++i)
    for (int32_t j = 1; j <= nb; ++j) {
      ++row;
      out[1][row] = a[i];
      out[2][row] = b[j];
    }
  return out;
}

}  // extern "C"
