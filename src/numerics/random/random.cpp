// Random deviates and the base-2 Niederreiter low-discrepancy sequence.
//
// Every random member draws from Ran2 with the caller's seed cell, the same
// int32 cell an Environment keeps; a null cell means a private cell seeded
// with -1 for the length of the call, so such a call is reproducible. Ran22
// is the exception: it is the combined L'Ecuyer generator with the
// Bays-Durham shuffle carried in full in a caller-owned block of 35 words,
// for callers that want the published generator rather than Ran2's
// fixed-table variant.
//
// The Niederreiter sequence follows Bratley, Fox and Niederreiter (1992) in
// base 2: polynomials over GF(2) are coded as bit patterns (bit k the
// coefficient of x^k), the direction numbers of each dimension come from
// one irreducible polynomial, and point i is the XOR of the direction
// numbers picked by the bits of the Gray code of i.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace {

using qvx::ColsOf;
using qvx::LengthOf;
using qvx::RowsOf;

constexpr double kTwoPi = 6.283185307179586;

// The caller's cell, or the private one of this call.
int32_t *Cell(int32_t *seed, int32_t &own) { return seed ? seed : &own; }

// ---- the published generator with its full state ----

constexpr int kTable = 32;
constexpr int64_t kM1 = 2147483563, kA1 = 40014;
constexpr int64_t kM2 = 2147483399, kA2 = 40692;
constexpr double kDivisor = 1.0 + (kM1 - 1) / static_cast<double>(kTable);
constexpr double kScale = 4.656613057391769e-10;
constexpr double kLargest = 0.99999988;

// a * s mod m computed exactly in 64 bits; equal to Schrage's factorisation.
int32_t Step(int32_t s, int64_t a, int64_t m) { return static_cast<int32_t>(static_cast<int64_t>(s) * a % m); }

// ---- GF(2) polynomials ----

constexpr int kBits = 31;  // bits of every coordinate
constexpr int32_t kMaxDimension = 1024;

int Degree(uint64_t p) { return p ? 63 - __builtin_clzll(p) : -1; }

uint64_t PolyMod(uint64_t a, uint64_t b) {
  const int db = Degree(b);
  for (int da = Degree(a); da >= db; da = Degree(a)) a ^= b << (da - db);
  return a;
}

bool Irreducible(uint64_t p) {
  const int d = Degree(p);
  if (d < 1) return false;
  for (uint64_t q = 2; Degree(q) <= d / 2; ++q)
    if (PolyMod(p, q) == 0) return false;
  return true;
}

// Direction numbers: cj[d][r] for dimension d, bit r.
std::vector<std::vector<uint32_t>> DirectionNumbers(int32_t dim) {
  std::vector<std::vector<uint32_t>> cj(dim, std::vector<uint32_t>(kBits, 0));
  int32_t *polys = NiederreiterSetfld2(dim);
  for (int32_t d = 0; d < dim && d < LengthOf(polys); ++d) {
    const uint64_t px = static_cast<uint32_t>(polys[d + 1]);
    const int degree = Degree(px);
    const int32_t maxv = kBits + 2 * degree;
    uint64_t pb = 1;
    int32_t *v = nullptr;
    int ci[kBits][kBits];  // ci[r][j]: bit j (from the top) of direction number r
    int u = 0;
    for (int j = 0; j < kBits; ++j) {
      if (u == 0) {
        Free(v);
        v = NiederreiterCalcV2(px, pb, maxv);
        pb = NiederreiterPlyMul2(px, pb);
      }
      for (int r = 0; r < kBits; ++r) ci[r][j] = (r + u + 1 <= LengthOf(v)) ? v[r + u + 1] : 0;
      if (++u == degree) u = 0;
    }
    Free(v);
    for (int r = 0; r < kBits; ++r) {
      uint32_t term = 0;
      for (int j = 0; j < kBits; ++j) term = 2 * term + static_cast<uint32_t>(ci[r][j]);
      cj[d][r] = term;
    }
  }
  Free(polys);
  return cj;
}

// One uniform deviate in [low, high) per part; the real part is drawn first.
void Uniform(double &x, double low, double high, int32_t *cell) { x = RandomReal(low, high, cell); }
void Uniform(Complex &z, double low, double high, int32_t *cell) {
  z.re = RandomReal(low, high, cell);
  z.im = RandomReal(low, high, cell);
}

template <class T>
T *UniformVector(T *v, double low, double high, int32_t *seed) {
  int32_t own = -1;
  int32_t *cell = Cell(seed, own);
  for (int32_t i = 1; i <= LengthOf(v); ++i) Uniform(v[i], low, high, cell);
  return v;
}

template <class T>
T **UniformMatrix(T **m, double low, double high, int32_t *seed) {
  int32_t own = -1;
  int32_t *cell = Cell(seed, own);
  const int32_t c = ColsOf(m), r = RowsOf(m);
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) Uniform(m[j][i], low, high, cell);
  return m;
}

}  // namespace

extern "C" {

// ---- normal deviates --------------------------------------------------------

// The Box-Muller transform: two uniform draws u1, u2 give the independent
// standard normal pair sqrt(-2 ln u1) (cos 2 pi u2, sin 2 pi u2). Ran2 never
// returns 0, so the logarithm is finite.
QVX_API Complex BoxMuller(int32_t *seed) noexcept {
  int32_t own = -1;
  int32_t *cell = Cell(seed, own);
  const double u1 = Ran2(cell), u2 = Ran2(cell);
  const double r = std::sqrt(-2.0 * std::log(u1));
  return Complex{r * std::cos(kTwoPi * u2), r * std::sin(kTwoPi * u2)};
}

QVX_API double BoxMuller1(int32_t *seed) noexcept { return BoxMuller(seed).re; }

QVX_API double BoxMuller2(int32_t *seed) noexcept { return BoxMuller(seed).im; }

QVX_API double RandomRealNormal(double mean, double sigma, int32_t *seed) noexcept {
  return mean + sigma * BoxMuller1(seed);
}

// ---- Poisson deviates ------------------------------------------------------

// Below a mean of 10, Knuth's multiplication method (count the uniforms
// whose product stays above e^-mean); from 10 on, Hoermann's transformed
// rejection with squeeze (PTRS, 1993), whose cost does not grow with the
// mean. A mean of 0 or below gives 0; NaN and infinity give NaN.
QVX_API double PoissonRandomNumber(double mean, int32_t *seed) noexcept {
  if (std::isnan(mean) || std::isinf(mean)) return NAN;
  if (mean <= 0) return 0.0;
  int32_t own = -1;
  int32_t *cell = Cell(seed, own);
  if (mean < 10) {
    const double limit = std::exp(-mean);
    double product = Ran2(cell), k = 0;
    while (product > limit) {
      product *= Ran2(cell);
      ++k;
    }
    return k;
  }
  const double slam = std::sqrt(mean), loglam = std::log(mean);
  const double b = 0.931 + 2.53 * slam, a = -0.059 + 0.02483 * b;
  const double invalpha = 1.1239 + 1.1328 / (b - 3.4), vr = 0.9277 - 3.6224 / (b - 2);
  for (;;) {
    const double u = Ran2(cell) - 0.5, v = Ran2(cell);
    const double us = 0.5 - std::fabs(u);
    const double k = std::floor((2 * a / us + b) * u + mean + 0.43);
    if (us >= 0.07 && v <= vr) return k;
    if (k < 0 || (us < 0.013 && v > us)) continue;
    if (std::log(v) + std::log(invalpha) - std::log(a / (us * us) + b) <= -mean + k * loglam - std::lgamma(k + 1))
      return k;
  }
}

QVX_API double *PoissonRandomNumbers(int32_t n, double mean, int32_t *seed) noexcept {
  double *v = Vector(n < 0 ? 0 : n);
  int32_t own = -1;
  int32_t *cell = Cell(seed, own);
  for (int32_t i = 1; i <= LengthOf(v); ++i) v[i] = PoissonRandomNumber(mean, cell);
  return v;
}

// ---- uniform containers ----------------------------------------------------

// New containers of uniform deviates low + (high - low) u; both parts of a
// complex element are drawn, real first. Matrices are filled column by
// column.
QVX_API double *RandomizeVector(int32_t n, double low, double high, int32_t *seed) noexcept {
  return UniformVector(Vector(n < 0 ? 0 : n), low, high, seed);
}
QVX_API Complex *RandomizeVectorC(int32_t n, double low, double high, int32_t *seed) noexcept {
  return UniformVector(VectorC(n < 0 ? 0 : n), low, high, seed);
}
QVX_API double **RandomizeMatrix(int32_t cols, int32_t rows, double low, double high, int32_t *seed) noexcept {
  return UniformMatrix(Matrix(cols < 0 ? 0 : cols, rows < 0 ? 0 : rows), low, high, seed);
}
QVX_API Complex **RandomizeMatrixC(int32_t cols, int32_t rows, double low, double high, int32_t *seed) noexcept {
  return UniformMatrix(MatrixC(cols < 0 ? 0 : cols, rows < 0 ? 0 : rows), low, high, seed);
}

// ---- generator variants -----------------------------------------------------

// The combined generator of L'Ecuyer with the Bays-Durham shuffle, state
// carried in full: state[0] the first stream (a value below 1 seeds, as
// with Ran2), state[1] the second stream, state[2] the last output (the
// shuffle word), state[3..34] the table. The first draw after seeding equals
// Ran2's; later ones differ, since Ran2 does not carry the shuffle.
QVX_API double Ran22(int32_t *state) noexcept {
  if (!state) return 0.0;
  int32_t *table = state + 3;
  if (state[0] <= 0) {
    int32_t s = static_cast<int32_t>(0u - static_cast<uint32_t>(state[0]));
    if (s < 1) s = 1;
    state[1] = s;
    for (int j = kTable + 7; j >= 0; --j) {
      s = Step(s, kA1, kM1);
      if (j < kTable) table[j] = s;
    }
    state[0] = s;
    state[2] = table[0];
  }
  // A state damaged by the caller is brought back into range, never indexed wildly.
  if (state[1] <= 0) state[1] = 1;
  state[0] = Step(state[0], kA1, kM1);
  state[1] = Step(state[1], kA2, kM2);
  int j = static_cast<int>(state[2] / kDivisor);
  if (j < 0 || j >= kTable) j = 0;
  int64_t out = static_cast<int64_t>(table[j]) - state[1];
  table[j] = state[0];
  if (out < 1) out += kM1 - 1;
  if (out < 1) out = 1;
  state[2] = static_cast<int32_t>(out);
  const double r = static_cast<double>(out) * kScale;
  return r > kLargest ? kLargest : r;
}

// Ran2 in the shapes of the function callbacks (RealFnP and RealFn2): the
// abscissas are ignored and params is the seed cell, so the generator can be
// handed to any routine that samples a function.
QVX_API double Ran2P(double x, void *params) noexcept {
  int32_t own = -1;
  return Ran2(Cell(static_cast<int32_t *>(params), own));
}

QVX_API double Ran2P2(double x, double y, void *params) noexcept {
  int32_t own = -1;
  return Ran2(Cell(static_cast<int32_t *>(params), own));
}

// A uniform integer of the closed range [low, high] (either order) from two
// draws: one draw carries about 31 bits, too few to reach every value of a
// span near 2^32 evenly, so two draws make a 62-bit word first.
QVX_API int32_t RandomInteger2(int32_t low, int32_t high, int32_t *seed) noexcept {
  if (low > high) std::swap(low, high);
  int32_t own = -1;
  int32_t *cell = Cell(seed, own);
  const uint64_t base = static_cast<uint64_t>(kM1 - 1);
  const uint64_t w1 = static_cast<uint64_t>(std::llround(Ran2(cell) / kScale)) - 1;
  const uint64_t w2 = static_cast<uint64_t>(std::llround(Ran2(cell) / kScale)) - 1;
  const uint64_t word = std::min(w1, base - 1) * base + std::min(w2, base - 1);
  const uint64_t span = static_cast<uint64_t>(static_cast<int64_t>(high) - low) + 1;
  return static_cast<int32_t>(low + static_cast<int64_t>(word % span));
}

// RandomInteger in the RealFnP shape: params leads to three int32 words,
// low, high and the seed cell. Null params gives 0.
QVX_API double RandomIntegerP(double x, void *params) noexcept {
  if (!params) return 0.0;
  int32_t *words = static_cast<int32_t *>(params);
  return RandomInteger(words[0], words[1], &words[2]);
}

// ---- Niederreiter sequence (base 2) -------------------------------------------

// Product of two GF(2) polynomials (carry-less multiplication); 0 when the
// product's degree would pass 63.
QVX_API uint64_t NiederreiterPlyMul2(uint64_t a, uint64_t b) noexcept {
  if (!a || !b || Degree(a) + Degree(b) > 63) return 0;
  uint64_t p = 0;
  for (int k = 0; k <= Degree(b); ++k)
    if (b >> k & 1) p ^= a << k;
  return p;
}

// The field set-up of the base-2 generator: the first dim irreducible
// polynomials over GF(2) in ascending order of their codes (x, x + 1,
// x^2 + x + 1, x^3 + x + 1, ...), one for each dimension, as a VectorL.
// dim is limited to 1024.
QVX_API int32_t *NiederreiterSetfld2(int32_t dim) noexcept {
  dim = std::clamp(dim, 0, kMaxDimension);
  int32_t *v = VectorL(dim);
  int32_t found = 0;
  for (uint64_t p = 2; found < LengthOf(v); ++p)
    if (Irreducible(p)) v[++found] = static_cast<int32_t>(p);
  return v;
}

// The sequence v of the algorithm for the irreducible px and the running
// product pb (pb before its multiplication by px): v[0..maxv] as a VectorL
// (v[r] in element r + 1). Zeros below deg pb, a one at deg pb, ones up to
// deg(pb px) - 1, then the linear recurrence whose characteristic
// polynomial is pb px.
QVX_API int32_t *NiederreiterCalcV2(uint64_t px, uint64_t pb, int32_t maxv) noexcept {
  const uint64_t product = NiederreiterPlyMul2(px, pb);
  if (maxv < 0 || maxv > 4096 || Degree(px) < 1 || !product) return VectorL(0);
  int32_t *out = VectorL(maxv + 1);
  if (LengthOf(out) != maxv + 1) return out;
  int32_t *v = out + 1;
  const int bigm = Degree(pb), m = Degree(product);
  for (int r = 0; r <= maxv; ++r) v[r] = r < bigm ? 0 : (r < m ? 1 : 0);
  for (int r = 0; r + m <= maxv; ++r) {
    int term = 0;
    for (int k = 0; k < m; ++k) term ^= static_cast<int>(product >> k & 1) & v[r + k];
    v[r + m] = term;
  }
  return out;
}

// The direction numbers as a MatrixL(dim, 31): column d, row r + 1 holds
// the number that bit r of the Gray code toggles in dimension d.
QVX_API int32_t **NiederreiterCalcC2(int32_t dim) noexcept {
  return qvx::Guard(static_cast<int32_t **>(nullptr), [&] {
    dim = std::clamp(dim, 0, kMaxDimension);
    auto cj = DirectionNumbers(dim);
    int32_t **m = MatrixL(dim, kBits);
    if (ColsOf(m) != dim || RowsOf(m) != kBits) return m;
    for (int32_t d = 0; d < dim; ++d)
      for (int r = 0; r < kBits; ++r) m[d + 1][r + 1] = static_cast<int32_t>(cj[d][r]);
    return m;
  });
}

// Points 0..n-1 of the dim-dimensional sequence as a Matrix(dim, n): row i
// is point i - 1, starting from the origin. Successive points differ by one
// direction number per dimension (Gray-code order).
QVX_API double **Niederreiter(int32_t dim, int32_t n) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] {
    dim = std::clamp(dim, 0, kMaxDimension);
    n = std::max(n, 0);
    double **m = Matrix(dim, dim ? n : 0);
    if (ColsOf(m) != dim || (dim && RowsOf(m) != n)) return m;
    auto cj = DirectionNumbers(dim);
    std::vector<uint32_t> q(dim, 0);
    const double unit = std::ldexp(1.0, -kBits);
    for (int32_t i = 1; i <= n && dim; ++i) {
      for (int32_t d = 0; d < dim; ++d) m[d + 1][i] = q[d] * unit;
      uint32_t c = static_cast<uint32_t>(i - 1);
      int r = 0;
      while (c & 1) {
        ++r;
        c >>= 1;
      }
      if (r >= kBits) break;
      for (int32_t d = 0; d < dim; ++d) q[d] ^= cj[d][r];
    }
    return m;
  });
}

// Point number index (0-based) of the sequence directly: the XOR of the
// direction numbers selected by the Gray code index ^ (index >> 1).
QVX_API double *Niederreiter1(int32_t dim, int32_t index) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    dim = std::clamp(dim, 0, kMaxDimension);
    if (index < 0) return Vector(0);
    double *v = Vector(dim);
    if (LengthOf(v) != dim) return v;
    auto cj = DirectionNumbers(dim);
    const uint32_t gray = static_cast<uint32_t>(index) ^ (static_cast<uint32_t>(index) >> 1);
    for (int32_t d = 0; d < dim; ++d) {
      uint32_t q = 0;
      for (int r = 0; r < kBits; ++r)
        if (gray >> r & 1) q ^= cj[d][r];
      v[d + 1] = q * std::ldexp(1.0, -kBits);
    }
    return v;
  });
}

}  // extern "C"
