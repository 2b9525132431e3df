// The transform kernels of the Fourier family: the radix-2 kernel behind
// FFTV, the plain DFT of any length (Bluestein's chirp-z algorithm for
// lengths that are not powers of two) and the linear resampling that brings
// a vector to a power of two.
//
// Read first: FFTV's results are fixed to the last bit by its definition
// (swap halves, bit reversal, Danielson-Lanczos butterflies with twiddles
// from the recurrence w <- w + w * (wpr, wpi), wpr = -2 sin^2(theta/2),
// wpi = sin(theta), theta = 2 direction pi / span, swap halves, divide by
// sqrt(n)). Everything here that makes it fast (twiddle tables, tiled bit
// reversal, fused stages, SSE2/AVX lanes) only reorders independent
// butterflies or moves data; each butterfly keeps its exact arithmetic.
// The build must not contract multiplies and adds into FMAs
// (-ffp-contract=off, the project default).
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#include <immintrin.h>
#endif

#include "libquorvex.h"
#include "numerics/fourier/fourier_internal.h"

namespace qvx::fourier {

namespace {

// ---- the radix-2 kernel ----------------------------------------------------

// Twiddles of every stage for a transform of n points: the stage of half
// span h keeps its h factors at [h - 1, 2h - 1). Each stage starts from
// (1, 0) and advances by the recurrence, exactly as the loop of the textbook
// form does; keeping them in a table lets the butterflies run block by
// block (cache-friendly) without changing a single value. The table also
// carries the bit-reversal permutation of n.
struct KernelTables {
  int32_t n = 0;
  int32_t direction = 0;
  std::vector<Complex> w;
  std::vector<int32_t> rev;
};

inline int32_t ReverseBits(int32_t x, int32_t bits) {
  int32_t r = 0;
  for (int32_t b = 0; b < bits; ++b) r |= ((x >> b) & 1) << (bits - 1 - b);
  return r;
}

// Above this size the permutation goes tile by tile: with L index bits
// split as (high 5 | middle | low 5), the point (hi, mid, lo) goes to
// (rev lo, rev mid, rev hi), so the 32 x 32 tile of one middle value maps
// onto the tile of the reversed middle, transposed and reversed inside. The
// tiles are gathered into small buffers first: rows of 32 consecutive points
// are read and written whole, instead of one scattered point per swap.
constexpr int32_t kTiledBits = 14;
constexpr int32_t kTileBits = 5;

void BuildTables(KernelTables &t, int32_t n, int32_t direction) {
  t.n = 0;
  t.w.resize(static_cast<size_t>(n > 1 ? n - 1 : 1));
  for (int32_t h = 1; h < n; h <<= 1) {
    const int32_t span = 2 * h;
    const double theta = 2.0 * direction * kPi / span;
    const double s = std::sin(0.5 * theta);
    const double wpr = -2.0 * s * s;
    const double wpi = std::sin(theta);
    double wr = 1.0, wi = 0.0;
    Complex *out = t.w.data() + (h - 1);
    for (int32_t j = 0; j < h; ++j) {
      out[j] = Complex{wr, wi};
      const double old = wr;
      wr = old * wpr - wi * wpi + wr;
      wi = wi * wpr + old * wpi + wi;
    }
  }
  int32_t bits = 0;
  while ((int32_t(1) << bits) < n) ++bits;
  // Large sizes permute tile by tile and need no table.
  std::vector<int32_t>().swap(t.rev);
  if (bits < kTiledBits) {
    t.rev.resize(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i) t.rev[i] = ReverseBits(i, bits);
  }
  t.n = n;
  t.direction = direction;
}

// Per-thread tables, one slot for each usual direction and one for any
// other: two threads never share them, and repeated transforms of one size
// (the usual case in plots) skip the set-up.
const KernelTables &TablesFor(int32_t n, int32_t direction) {
  thread_local KernelTables slots[3];
  KernelTables &t = slots[direction == -1 ? 0 : direction == 1 ? 1 : 2];
  if (t.n != n || t.direction != direction) BuildTables(t, n, direction);
  return t;
}

// The butterfly t = w * x; x <- u - t; u <- u + t, with the complex product
// in its four-multiplication form (real wr*xr - wi*xi, imaginary
// wr*xi + wi*xr). The SSE2 form computes the same roundings: adding a
// negated product is exactly a subtraction.
#if defined(__SSE2__)
using Reg = __m128d;
inline Reg Load(const Complex *p) { return _mm_loadu_pd(&p->re); }
inline void Store(Complex *p, Reg r) { _mm_storeu_pd(&p->re, r); }
inline Reg AddR(Reg a, Reg b) { return _mm_add_pd(a, b); }
inline Reg SubR(Reg a, Reg b) { return _mm_sub_pd(a, b); }
inline Reg DivR(Reg a, Reg d) { return _mm_div_pd(a, d); }
inline Reg MulR(Reg a, Reg d) { return _mm_mul_pd(a, d); }
inline Reg Splat(double x) { return _mm_set1_pd(x); }
inline Reg TimesW(Reg w, Reg x) {
  const Reg flipLow = _mm_set_pd(0.0, -0.0);
  const Reg wr = _mm_unpacklo_pd(w, w);
  const Reg wi = _mm_unpackhi_pd(w, w);
  const Reg xs = _mm_shuffle_pd(x, x, 1);
  return _mm_add_pd(_mm_mul_pd(wr, x), _mm_xor_pd(_mm_mul_pd(wi, xs), flipLow));
}
#else
struct Reg {
  double re, im;
};
inline Reg Load(const Complex *p) { return Reg{p->re, p->im}; }
inline void Store(Complex *p, Reg r) { *p = Complex{r.re, r.im}; }
inline Reg AddR(Reg a, Reg b) { return Reg{a.re + b.re, a.im + b.im}; }
inline Reg SubR(Reg a, Reg b) { return Reg{a.re - b.re, a.im - b.im}; }
inline Reg DivR(Reg a, Reg d) { return Reg{a.re / d.re, a.im / d.im}; }
inline Reg MulR(Reg a, Reg d) { return Reg{a.re * d.re, a.im * d.im}; }
inline Reg Splat(double x) { return Reg{x, x}; }
inline Reg TimesW(Reg w, Reg x) { return Reg{w.re * x.re - w.im * x.im, w.re * x.im + w.im * x.re}; }
#endif

inline void Butterfly(Reg &u, Reg &x, Reg w) {
  const Reg t = TimesW(w, x);
  x = SubR(u, t);
  u = AddR(u, t);
}

// One stage of half span h over a block of 2h points.
inline void Butterflies(Complex *a, const Complex *w, int32_t h) {
  for (int32_t j = 0; j < h; ++j) {
    Reg u = Load(a + j), x = Load(a + j + h);
    Butterfly(u, x, Load(w + j));
    Store(a + j, u);
    Store(a + j + h, x);
  }
}

// With AVX the same butterflies run two at a time (points j and j + 1 in
// one register): the lanes compute exactly what the SSE2 form computes, and
// no fused multiply-add is enabled, so the bits stay the same. The choice is
// made once, from the processor.
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define QVX_FOURIER_AVX 1
using Reg2 = __m256d;
__attribute__((target("avx"))) inline Reg2 TimesW2(Reg2 w, Reg2 x) {
  const Reg2 flipLow = _mm256_set_pd(0.0, -0.0, 0.0, -0.0);
  const Reg2 wr = _mm256_unpacklo_pd(w, w);
  const Reg2 wi = _mm256_unpackhi_pd(w, w);
  const Reg2 xs = _mm256_shuffle_pd(x, x, 5);
  return _mm256_add_pd(_mm256_mul_pd(wr, x), _mm256_xor_pd(_mm256_mul_pd(wi, xs), flipLow));
}
__attribute__((target("avx"))) inline void Butterfly2(Reg2 &u, Reg2 &x, Reg2 w) {
  const Reg2 t = TimesW2(w, x);
  x = _mm256_sub_pd(u, t);
  u = _mm256_add_pd(u, t);
}
__attribute__((target("avx"))) inline Reg2 Load2(const Complex *p) { return _mm256_loadu_pd(&p->re); }
__attribute__((target("avx"))) inline void Store2(Complex *p, Reg2 r) { _mm256_storeu_pd(&p->re, r); }

// h even.
__attribute__((target("avx"))) void ButterfliesAvx(Complex *a, const Complex *w, int32_t h) {
  for (int32_t j = 0; j < h; j += 2) {
    Reg2 u = Load2(a + j), x = Load2(a + j + h);
    Butterfly2(u, x, Load2(w + j));
    Store2(a + j, u);
    Store2(a + j + h, x);
  }
}

__attribute__((target("avx"))) void TwoStagesAvx(Complex *a, const Complex *tw, int32_t h) {
  const Complex *w1 = tw + (h - 1);
  const Complex *w2 = tw + (2 * h - 1);
  for (int32_t j = 0; j < h; j += 2) {
    Reg2 e0 = Load2(a + j), e1 = Load2(a + j + h), e2 = Load2(a + j + 2 * h), e3 = Load2(a + j + 3 * h);
    const Reg2 w = Load2(w1 + j);
    Butterfly2(e0, e1, w);
    Butterfly2(e2, e3, w);
    Butterfly2(e0, e2, Load2(w2 + j));
    Butterfly2(e1, e3, Load2(w2 + j + h));
    Store2(a + j, e0);
    Store2(a + j + h, e1);
    Store2(a + j + 2 * h, e2);
    Store2(a + j + 3 * h, e3);
  }
}

// The last stage with the swap of halves and the scaling (multiply by an
// exact reciprocal, or divide).
__attribute__((target("avx"))) void LastStageAvx(Complex *a, const Complex *w, int32_t h, double factor,
                                                 bool divide) {
  const Reg2 f = _mm256_set1_pd(factor);
  for (int32_t j = 0; j < h; j += 2) {
    Reg2 u = Load2(a + j), x = Load2(a + j + h);
    Butterfly2(u, x, Load2(w + j));
    Store2(a + j, divide ? _mm256_div_pd(x, f) : _mm256_mul_pd(x, f));
    Store2(a + j + h, divide ? _mm256_div_pd(u, f) : _mm256_mul_pd(u, f));
  }
}

bool UseAvx() {
  static const bool yes = __builtin_cpu_supports("avx");
  return yes;
}
#else
bool UseAvx() { return false; }
#endif

// The stages of half span 1 and 2 in registers, four points at a time.
// With pairSwap the two points of each pair enter the first stage the other
// way round: that is how the swap of halves before the bit reversal shows
// after it (bit reversal turns "index xor n/2" into "index xor 1").
inline void FirstTwoStages(Complex *a, int32_t n, const Complex *tw, bool pairSwap) {
  const Reg w1 = Load(tw), w20 = Load(tw + 1), w21 = Load(tw + 2);
  const int32_t s = pairSwap ? 1 : 0;
  for (int32_t b = 0; b < n; b += 4) {
    Reg e0 = Load(a + b + s), e1 = Load(a + b + (1 - s));
    Reg e2 = Load(a + b + 2 + s), e3 = Load(a + b + 2 + (1 - s));
    Butterfly(e0, e1, w1);
    Butterfly(e2, e3, w1);
    Butterfly(e0, e2, w20);
    Butterfly(e1, e3, w21);
    Store(a + b, e0);
    Store(a + b + 1, e1);
    Store(a + b + 2, e2);
    Store(a + b + 3, e3);
  }
}

// The stages of half span h and 2h over a block of 4h points in one pass:
// each group of four points j, j + h, j + 2h, j + 3h meets the same
// butterflies with the same twiddles as in two separate passes.
inline void TwoStages(Complex *a, const Complex *tw, int32_t h) {
  const Complex *w1 = tw + (h - 1);
  const Complex *w2 = tw + (2 * h - 1);
  for (int32_t j = 0; j < h; ++j) {
    Reg e0 = Load(a + j), e1 = Load(a + j + h), e2 = Load(a + j + 2 * h), e3 = Load(a + j + 3 * h);
    const Reg w = Load(w1 + j);
    Butterfly(e0, e1, w);
    Butterfly(e2, e3, w);
    Butterfly(e0, e2, Load(w2 + j));
    Butterfly(e1, e3, Load(w2 + j + h));
    Store(a + j, e0);
    Store(a + j + h, e1);
    Store(a + j + 2 * h, e2);
    Store(a + j + 3 * h, e3);
  }
}

// Blocks of up to kLeaf points run all their stages while in cache; larger
// blocks recurse into quarters first (decimation in time: the stage of span
// m only combines the two transformed halves of each block of m points, so
// the last two stages of a block need only its four transformed quarters).
// n is at least 4.
constexpr int32_t kLeaf = 1024;

void Radix2Blocks(Complex *a, int32_t n, const Complex *tw, bool pairSwap) {
  if (n <= kLeaf) {
    FirstTwoStages(a, n, tw, pairSwap);
    int32_t h = 4;
    const bool avx = UseAvx();
    for (; 4 * h <= n; h *= 4)
      for (int32_t b = 0; b < n; b += 4 * h) {
#ifdef QVX_FOURIER_AVX
        if (avx) {
          TwoStagesAvx(a + b, tw, h);
          continue;
        }
#endif
        TwoStages(a + b, tw, h);
      }
    if (h < n)
      for (int32_t b = 0; b < n; b += 2 * h) {
#ifdef QVX_FOURIER_AVX
        if (avx) {
          ButterfliesAvx(a + b, tw + (h - 1), h);
          continue;
        }
#endif
        Butterflies(a + b, tw + (h - 1), h);
      }
    (void)avx;
    return;
  }
  const int32_t q = n / 4;
  for (int32_t b = 0; b < n; b += q) Radix2Blocks(a + b, q, tw, pairSwap);
#ifdef QVX_FOURIER_AVX
  if (UseAvx()) {
    TwoStagesAvx(a, tw, q);
    return;
  }
#endif
  TwoStages(a, tw, q);
}

void BitReverseTiled(Complex *a, int32_t bits) {
  constexpr int32_t t = 1 << kTileBits;
  int32_t revT[t];
  for (int32_t i = 0; i < t; ++i) revT[i] = ReverseBits(i, kTileBits);
  const int32_t midBits = bits - 2 * kTileBits;
  const int32_t highShift = bits - kTileBits;
  std::vector<Complex> bufA(t * t), bufB(t * t);
  auto row = [&](int32_t hi, int32_t mid) { return a + ((static_cast<int64_t>(hi) << highShift) | (mid << kTileBits)); };
  for (int32_t mid = 0; mid < (1 << midBits); ++mid) {
    const int32_t rmid = ReverseBits(mid, midBits);
    if (rmid < mid) continue;
    for (int32_t hi = 0; hi < t; ++hi) std::copy_n(row(hi, mid), t, bufA.begin() + hi * t);
    if (rmid != mid)
      for (int32_t hi = 0; hi < t; ++hi) std::copy_n(row(hi, rmid), t, bufB.begin() + hi * t);
    const std::vector<Complex> &from = rmid != mid ? bufB : bufA;
    for (int32_t x = 0; x < t; ++x) {
      Complex *dst = row(x, mid);
      for (int32_t y = 0; y < t; ++y) dst[y] = from[revT[y] * t + revT[x]];
    }
    if (rmid != mid)
      for (int32_t x = 0; x < t; ++x) {
        Complex *dst = row(x, rmid);
        for (int32_t y = 0; y < t; ++y) dst[y] = bufA[revT[y] * t + revT[x]];
      }
  }
}

void BitReverse(Complex *a, int32_t n, const int32_t *rev) {
  if (!rev) {
    int32_t bits = 0;
    while ((int32_t(1) << bits) < n) ++bits;
    BitReverseTiled(a, bits);
    return;
  }
  for (int32_t i = 0; i < n; ++i) {
    const int32_t j = rev[i];
    if (j > i) std::swap(a[i], a[j]);
  }
}

// Bit reversal and butterflies: the uncentred, unscaled radix-2 DFT.
void PlainRadix2(Complex *a, int32_t n, int32_t direction) {
  if (n < 2) return;
  const KernelTables &t = TablesFor(n, direction);
  BitReverse(a, n, t.rev.empty() ? nullptr : t.rev.data());
  if (n == 2) {
    Reg u = Load(a), x = Load(a + 1);
    Butterfly(u, x, Load(t.w.data()));
    Store(a, u);
    Store(a + 1, x);
    return;
  }
  Radix2Blocks(a, n, t.w.data(), false);
}

// Bluestein's chirp-z algorithm: a DFT of any length n as a convolution of
// length m >= 2n - 1 done by radix-2 transforms, from
// jk = (j^2 + k^2 - (k - j)^2) / 2. The chirp and the transform of its
// conjugate depend only on (n, sign) and are kept per thread.
struct ChirpTables {
  int32_t n = 0;
  int32_t sign = 0;
  int32_t m = 0;
  std::vector<Complex> chirp;   // e^(s pi i k^2 / n), k < n
  std::vector<Complex> kernel;  // transform of the conjugate chirp, wrapped
};

const ChirpTables &ChirpFor(int32_t n, int32_t sign) {
  thread_local ChirpTables c;
  if (c.n == n && c.sign == sign) return c;
  c.n = 0;
  c.m = NextPowerOfTwo(2 * static_cast<int64_t>(n) - 1);
  c.chirp.assign(n, Complex{0, 0});
  for (int32_t k = 0; k < n; ++k) {
    // e^(s pi i k^2 / n) = e^(s 2 pi i (k^2 mod 2n) / 2n)
    const int64_t k2 = (static_cast<int64_t>(k) * k) % (2 * static_cast<int64_t>(n));
    c.chirp[k] = RootOfUnity(k2, 2 * static_cast<int64_t>(n), sign);
  }
  c.kernel.assign(c.m, Complex{0, 0});
  c.kernel[0] = Complex{c.chirp[0].re, -c.chirp[0].im};
  for (int32_t k = 1; k < n; ++k) c.kernel[k] = c.kernel[c.m - k] = Complex{c.chirp[k].re, -c.chirp[k].im};
  PlainRadix2(c.kernel.data(), c.m, -1);
  c.n = n;
  c.sign = sign;
  return c;
}

void Bluestein(std::vector<Complex> &a, int32_t sign) {
  const int32_t n = static_cast<int32_t>(a.size());
  if (NextPowerOfTwo(2 * static_cast<int64_t>(n) - 1) == 0) return;
  const ChirpTables &c = ChirpFor(n, sign);
  const int32_t m = c.m;
  std::vector<Complex> x(m, Complex{0, 0});
  for (int32_t k = 0; k < n; ++k) x[k] = MulFour(a[k], c.chirp[k]);
  PlainRadix2(x.data(), m, -1);
  for (int32_t k = 0; k < m; ++k) x[k] = MulFour(x[k], c.kernel[k]);
  PlainRadix2(x.data(), m, 1);
  const double scale = 1.0 / m;
  for (int32_t k = 0; k < n; ++k) {
    const Complex z = MulFour(x[k], c.chirp[k]);
    a[k] = Complex{z.re * scale, z.im * scale};
  }
}

}  // namespace

void CentredRadix2(Complex *a, int32_t n, int32_t direction) {
  if (n < 1) return;
  const KernelTables &t = TablesFor(n, direction);
  const Reg root = Splat(std::sqrt(static_cast<double>(n)));
  if (n == 1) {
    Store(a, DivR(Load(a), root));
    return;
  }
  // Swap halves, bit reversal, all stages but the last: the swap is folded
  // into the first stage (pairSwap), the second swap and the division by
  // sqrt(n) into the last one, which writes u + t to the upper and u - t to
  // the lower half.
  const int32_t h = n / 2;
  const Complex *tw = t.w.data();
  BitReverse(a, n, t.rev.empty() ? nullptr : t.rev.data());
  if (h >= 4) {
    Radix2Blocks(a, h, tw, true);
    Radix2Blocks(a + h, h, tw, true);
  } else if (h == 2) {
    for (int32_t b = 0; b < n; b += 2) {
      Reg u = Load(a + b + 1), x = Load(a + b);
      Butterfly(u, x, Load(tw));
      Store(a + b, u);
      Store(a + b + 1, x);
    }
  } else {
    std::swap(a[0], a[1]);
  }
  const Complex *w = tw + (h - 1);
  // When n is an even power of two, sqrt(n) is a power of two and the
  // product with its reciprocal is exact: the same bits as the quotient,
  // without the cost of a division.
  const double r = std::sqrt(static_cast<double>(n));
  const bool exact = IsPowerOfTwo(static_cast<int64_t>(r)) && static_cast<double>(static_cast<int64_t>(r)) == r;
#ifdef QVX_FOURIER_AVX
  if (h >= 2 && UseAvx()) {
    LastStageAvx(a, w, h, exact ? 1.0 / r : r, !exact);
    return;
  }
#endif
  if (exact) {
    const Reg inverse = Splat(1.0 / r);
    for (int32_t j = 0; j < h; ++j) {
      Reg u = Load(a + j), x = Load(a + j + h);
      Butterfly(u, x, Load(w + j));
      Store(a + j, MulR(x, inverse));
      Store(a + j + h, MulR(u, inverse));
    }
    return;
  }
  for (int32_t j = 0; j < h; ++j) {
    Reg u = Load(a + j), x = Load(a + j + h);
    Butterfly(u, x, Load(w + j));
    Store(a + j, DivR(x, root));
    Store(a + j + h, DivR(u, root));
  }
}

void Transform(std::vector<Complex> &a, int32_t direction) {
  const int32_t sign = direction < 0 ? -1 : 1;
  const int32_t n = static_cast<int32_t>(a.size());
  if (n < 2) return;
  if (IsPowerOfTwo(n)) PlainRadix2(a.data(), n, sign);
  else Bluestein(a, sign);
}

void CentredTransform(std::vector<Complex> &a, int32_t direction) {
  const int32_t sign = direction < 0 ? -1 : 1;
  const int32_t n = static_cast<int32_t>(a.size());
  if (n < 1) return;
  if (IsPowerOfTwo(n)) {
    CentredRadix2(a.data(), n, sign);
    return;
  }
  // (j - c)(k - c) = jk - cj - ck + c^2: twist, plain DFT, twist again.
  // The twists (scaling folded into the second) are kept per thread.
  struct Twists {
    int32_t n = 0, sign = 0;
    std::vector<Complex> pre, post;
  };
  thread_local Twists t;
  if (t.n != n || t.sign != sign) {
    t.n = 0;
    const int64_t c = n / 2;
    const double root = std::sqrt(static_cast<double>(n));
    t.pre.resize(n);
    t.post.resize(n);
    for (int32_t j = 0; j < n; ++j) {
      t.pre[j] = RootOfUnity(-c * j, n, sign);
      const Complex z = RootOfUnity(c * c - c * j, n, sign);
      t.post[j] = Complex{z.re / root, z.im / root};
    }
    t.n = n;
    t.sign = sign;
  }
  for (int32_t j = 0; j < n; ++j) a[j] = MulFour(a[j], t.pre[j]);
  Transform(a, sign);
  for (int32_t k = 0; k < n; ++k) a[k] = MulFour(a[k], t.post[k]);
}

std::vector<Complex> Resample(const Complex *a, int32_t n, int32_t m) {
  std::vector<Complex> out(m > 0 ? m : 0, Complex{0, 0});
  if (n < 1 || m < 1) return out;
  if (n == 1 || m == 1) {
    std::fill(out.begin(), out.end(), a[0]);
    return out;
  }
  const double step = static_cast<double>(n - 1) / (m - 1);
  for (int32_t k = 0; k < m; ++k) {
    const double t = k * step;
    int32_t i = static_cast<int32_t>(t);
    if (i >= n - 1) i = n - 2;
    const double f = t - i;
    out[k] = Complex{a[i].re + f * (a[i + 1].re - a[i].re), a[i].im + f * (a[i + 1].im - a[i].im)};
  }
  return out;
}

}  // namespace qvx::fourier
