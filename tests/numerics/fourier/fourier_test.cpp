// The Fourier family: FFTV bit for bit against the textbook radix-2 loop it
// is defined by, and numerically against a direct centred DFT in long
// double; the usual identities (inverse, Parseval, shifted delta, two peaks
// of a sine); the N-D, convolution and analysis functions against direct
// sums and closed forms; the filter file read defensively; and every entry
// point fed null, empty, length-1 and NaN data.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "numerics/fourier/fourier_internal.h"

namespace {

using cld = std::complex<long double>;
constexpr long double kPiL = 3.141592653589793238462643383279502884L;

Complex *RandomVC(int n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  Complex *v = VectorC(n);
  for (int i = 1; i <= n; ++i) v[i] = Complex{u(gen), u(gen)};
  return v;
}

double *RandomV(int n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  double *v = Vector(n);
  for (int i = 1; i <= n; ++i) v[i] = u(gen);
  return v;
}

// The transform written as the textbook loop: swap halves, bit reversal,
// butterflies with the twiddle recurrence advanced inside the loop, swap
// halves, divide by sqrt(n). 1-based interleaved data as in the classic form.
void ReferenceFFTV(Complex *v, int direction) {
  const int n = static_cast<int>(v[0].re);
  std::vector<double> d(2 * n + 1);
  for (int i = 1; i <= n / 2; ++i) std::swap(v[i], v[i + n / 2]);
  for (int i = 1; i <= n; ++i) d[2 * i - 1] = v[i].re, d[2 * i] = v[i].im;
  const int nn = 2 * n;
  for (int i = 1, j = 1; i < nn; i += 2) {
    if (j > i) std::swap(d[j], d[i]), std::swap(d[j + 1], d[i + 1]);
    int m = n;
    while (m >= 2 && j > m) j -= m, m >>= 1;
    j += m;
  }
  for (int mmax = 2; nn > mmax;) {
    const int step = mmax << 1;
    const double theta = 2 * direction * 3.14159265358979323846 / mmax;  // mmax doubles = the span in points
    const double s = std::sin(0.5 * theta);
    const double wpr = -2.0 * s * s, wpi = std::sin(theta);
    double wr = 1.0, wi = 0.0;
    for (int m = 1; m < mmax; m += 2) {
      for (int i = m; i <= nn; i += step) {
        const int j = i + mmax;
        const double tr = wr * d[j] - wi * d[j + 1];
        const double ti = wr * d[j + 1] + wi * d[j];
        d[j] = d[i] - tr;
        d[j + 1] = d[i + 1] - ti;
        d[i] += tr;
        d[i + 1] += ti;
      }
      const double t = wr;
      wr = t * wpr - wi * wpi + wr;
      wi = wi * wpr + t * wpi + wi;
    }
    mmax = step;
  }
  for (int i = 1; i <= n; ++i) v[i] = Complex{d[2 * i - 1], d[2 * i]};
  for (int i = 1; i <= n / 2; ++i) std::swap(v[i], v[i + n / 2]);
  const double root = std::sqrt(static_cast<double>(n));
  for (int i = 1; i <= n; ++i) v[i] = Complex{v[i].re / root, v[i].im / root};
}

// Centred unitary DFT in long double: origin at element n/2 + 1.
std::vector<cld> DirectCentred(const Complex *v, int direction) {
  const int n = static_cast<int>(v[0].re), c = n / 2;
  std::vector<cld> out(n);
  for (int k = 0; k < n; ++k) {
    cld s = 0;
    for (int j = 0; j < n; ++j) {
      const long double angle = direction * 2 * kPiL * ((long long)(j - c) * (k - c) % n) / n;
      s += cld(v[j + 1].re, v[j + 1].im) * cld(std::cos(angle), std::sin(angle));
    }
    out[k] = s / std::sqrt((long double)n);
  }
  return out;
}

double MaxDiff(const Complex *a, const std::vector<cld> &b) {
  double m = 0;
  for (size_t k = 0; k < b.size(); ++k)
    m = std::max(m, (double)std::abs(cld(a[k + 1].re, a[k + 1].im) - b[k]));
  return m;
}

double MaxDiffVC(const Complex *a, const Complex *b) {
  double m = 0;
  for (int k = 1; k <= (int)a[0].re; ++k) m = std::max(m, std::hypot(a[k].re - b[k].re, a[k].im - b[k].im));
  return m;
}

TEST(Fourier, FFTVIsBitForBitTheTextbookLoop) {
  for (int n = 1; n <= 1 << 16; n *= 2)  // both permutation paths, odd and even powers
    for (int direction : {-1, 1}) {
      Complex *a = RandomVC(n, n + direction + 3);
      a[1] = Complex{-0.0, 0.0};  // signed zeros must come out as the loop makes them
      Complex *b = CopyVectorC(a);
      FFTV(a, direction);
      ReferenceFFTV(b, direction);
      EXPECT_EQ(0, std::memcmp(a + 1, b + 1, sizeof(Complex) * n)) << "n " << n << " dir " << direction;
      FreeVectorC(a);
      FreeVectorC(b);
    }
}

TEST(Fourier, FFTVMatchesDirectCentredDFT) {
  for (int n : {1, 2, 4, 8, 16, 64, 256})
    for (int direction : {-1, 1}) {
      Complex *v = RandomVC(n, 11 * n);
      const std::vector<cld> want = DirectCentred(v, direction);
      Complex *d = DFT(v, direction);
      FFTV(v, direction);
      EXPECT_LT(MaxDiff(v, want), 1e-14 * std::sqrt((double)n) * std::log2(2.0 * n)) << n;
      EXPECT_LT(MaxDiff(d, want), 1e-13) << n;
      FreeVectorC(v);
      FreeVectorC(d);
    }
  // Lengths that are not powers of two: DFT directly, and the any-length
  // centred kernel (Bluestein) that the matrix forms use.
  for (int n : {3, 5, 6, 7, 12, 15, 100}) {
    Complex *v = RandomVC(n, n);
    const std::vector<cld> want = DirectCentred(v, -1);
    Complex *d = DFT(v, -1);
    EXPECT_LT(MaxDiff(d, want), 1e-13) << n;
    std::vector<Complex> a(v + 1, v + 1 + n);
    qvx::fourier::CentredTransform(a, -1);
    double m = 0;
    for (int k = 0; k < n; ++k) m = std::max(m, (double)std::abs(cld(a[k].re, a[k].im) - want[k]));
    EXPECT_LT(m, 1e-13) << n;
    FreeVectorC(v);
    FreeVectorC(d);
  }
}

TEST(Fourier, InverseAndParseval) {
  for (int n : {2, 32, 1024, 1 << 15}) {
    Complex *v = RandomVC(n, 5);
    Complex *orig = CopyVectorC(v);
    double e0 = 0, e1 = 0;
    for (int i = 1; i <= n; ++i) e0 += v[i].re * v[i].re + v[i].im * v[i].im;
    FFTV(v, -1);
    for (int i = 1; i <= n; ++i) e1 += v[i].re * v[i].re + v[i].im * v[i].im;
    EXPECT_NEAR(e1, e0, 1e-12 * e0);
    FFTV(v, 1);
    EXPECT_LT(MaxDiffVC(v, orig), 1e-14 * std::log2(n) + 1e-15);
    FreeVectorC(v);
    FreeVectorC(orig);
  }
}

TEST(Fourier, ShiftedDeltaGivesLinearPhase) {
  const int n = 64, c = n / 2 + 1;
  for (int d : {0, 1, -3, 7}) {
    Complex *v = Vector0C(n);
    v[c + d] = Complex{1, 0};
    FFTV(v, -1);
    for (int k = 1; k <= n; ++k) {
      const double angle = -2 * M_PI * d * (k - c) / n;
      EXPECT_NEAR(v[k].re, std::cos(angle) / 8.0, 1e-15) << d << " " << k;
      EXPECT_NEAR(v[k].im, std::sin(angle) / 8.0, 1e-15) << d << " " << k;
    }
    FreeVectorC(v);
  }
}

TEST(Fourier, RealSineHasTwoPeaks) {
  const int n = 128, c = n / 2 + 1, m = 5;
  Complex *v = VectorC(n);
  for (int j = 1; j <= n; ++j) v[j] = Complex{std::sin(2 * M_PI * m * (j - c) / n), 0};
  FFTV(v, -1);
  const double peak = std::sqrt((double)n) / 2;
  for (int k = 1; k <= n; ++k) {
    // sin = (e^{i..} - e^{-i..}) / 2i: -i/2 at +m, +i/2 at -m (scaled by sqrt n).
    const double want = k == c + m ? -peak : k == c - m ? peak : 0.0;
    EXPECT_NEAR(v[k].im, want, 1e-12) << k;
    EXPECT_NEAR(v[k].re, 0.0, 1e-12) << k;
  }
  FreeVectorC(v);
}

TEST(Fourier, OtherLengthsLeaveFFTVAloneAndFFTVErrResamples) {
  Complex *v = RandomVC(6, 1);
  Complex *orig = CopyVectorC(v);
  FFTV(v, -1);
  EXPECT_EQ(0, std::memcmp(v, orig, sizeof(Complex) * 7));
  // FFTVErr: resampled to 8 by FormatFFT's interpolation, transformed,
  // central 6 kept.
  Complex *big = FormatFFT(orig);
  ASSERT_EQ(8, (int)big[0].re);
  EXPECT_EQ(orig[1].re, big[1].re);
  EXPECT_EQ(orig[6].im, big[8].im);
  FFTV(big, -1);
  EXPECT_EQ(1, FFTVErr(v, -1));
  EXPECT_EQ(0, std::memcmp(v + 1, big + 2, sizeof(Complex) * 6));
  Complex *p = RandomVC(8, 2);
  Complex *q = CopyVectorC(p);
  EXPECT_EQ(0, FFTVErr(p, 1));
  FFTV(q, 1);
  EXPECT_EQ(0, std::memcmp(p, q, sizeof(Complex) * 9));
  EXPECT_EQ(-1, FFTVErr(nullptr, 1));
  for (Complex *x : {v, orig, big, p, q}) FreeVectorC(x);
}

TEST(Fourier, MatrixAndNDFormsAgree) {
  for (auto [cols, rows] : {std::pair{4, 8}, std::pair{3, 5}, std::pair{6, 4}}) {
    Complex **m = MatrixC(cols, rows);
    int32_t *dims = VectorL(2);
    dims[1] = cols, dims[2] = rows;
    Complex *flat = VectorC(cols * rows);
    std::mt19937 gen(cols * rows);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int j = 1; j <= cols; ++j)
      for (int i = 1; i <= rows; ++i) flat[(j - 1) * rows + i] = m[j][i] = Complex{u(gen), u(gen)};
    // Reference: DFT along each column, then along each row.
    std::vector<std::vector<Complex>> ref(cols + 1, std::vector<Complex>(rows + 1));
    for (int j = 1; j <= cols; ++j) {
      Complex *d = DFT(m[j], -1);
      for (int i = 1; i <= rows; ++i) ref[j][i] = d[i];
      FreeVectorC(d);
    }
    for (int i = 1; i <= rows; ++i) {
      Complex *line = VectorC(cols);
      for (int j = 1; j <= cols; ++j) line[j] = ref[j][i];
      Complex *d = DFT(line, -1);
      for (int j = 1; j <= cols; ++j) ref[j][i] = d[j];
      FreeVectorC(d);
      FreeVectorC(line);
    }
    FFTM(m, -1);
    FFTND(flat, dims, -1);
    EXPECT_EQ(cols * rows, FFTNGetNPts(dims));
    for (int j = 1; j <= cols; ++j)
      for (int i = 1; i <= rows; ++i) {
        EXPECT_NEAR(m[j][i].re, ref[j][i].re, 1e-13);
        EXPECT_NEAR(m[j][i].im, ref[j][i].im, 1e-13);
        EXPECT_EQ(m[j][i].re, flat[(j - 1) * rows + i].re);
        EXPECT_EQ(m[j][i].im, flat[(j - 1) * rows + i].im);
      }
    FreeMatrixC(m);
    FreeVectorL(dims);
    FreeVectorC(flat);
  }
}

TEST(Fourier, NShiftRotatesEachAxisByHalf) {
  int32_t *dims = VectorL(2);
  dims[1] = 2, dims[2] = 3;
  Complex *v = VectorC(6);
  for (int i = 1; i <= 6; ++i) v[i] = Complex{(double)i, 0};
  FFTNShift(v, dims);
  // rows of 3: (1 2 3)(4 5 6) -> axis 2 by 1: (3 1 2)(6 4 5); axis 1 by 1: swap rows
  const double want[] = {6, 4, 5, 3, 1, 2};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(want[i], v[i + 1].re);
  dims[2] = 0;
  EXPECT_EQ(0, FFTNGetNPts(dims));
  FFTNShift(v, dims);  // refused: unchanged
  EXPECT_EQ(6, v[1].re);
  FreeVectorL(dims);
  FreeVectorC(v);
}

TEST(Fourier, ConvolutionsAgreeWithDirectSums) {
  double *a = RandomV(7, 1), *b = RandomV(4, 2);
  double *d = ConvolutionD(a, b);
  ASSERT_EQ(10, (int)d[0]);
  Complex *ac = VectorC(7), *bc = VectorC(4);
  for (int i = 1; i <= 7; ++i) ac[i] = Complex{a[i], 0.5 * i};
  for (int i = 1; i <= 4; ++i) bc[i] = Complex{b[i], -1.0};
  Complex *cd = ConvolutionC(ac, bc), *cf = ConvolutionFFTV(ac, bc);
  for (int k = 1; k <= 10; ++k) {
    double s = 0;
    std::complex<double> sc = 0;
    for (int i = 1; i <= 7; ++i)
      if (k - i + 1 >= 1 && k - i + 1 <= 4) {
        s += a[i] * b[k - i + 1];
        sc += std::complex<double>(ac[i].re, ac[i].im) * std::complex<double>(bc[k - i + 1].re, bc[k - i + 1].im);
      }
    EXPECT_NEAR(d[k], s, 1e-14);
    EXPECT_NEAR(cd[k].re, sc.real(), 1e-13);
    EXPECT_NEAR(cd[k].im, sc.imag(), 1e-13);
    EXPECT_NEAR(cf[k].re, sc.real(), 1e-13);
    EXPECT_NEAR(cf[k].im, sc.imag(), 1e-13);
  }
  // Data-set forms: b on a centred grid of odd length; a Gaussian kernel of
  // unit area leaves a slowly varying function almost unchanged.
  const int na = 40, nb = 9;
  const double dx = 0.1;
  double **fa = Matrix(2, na), **fb = Matrix(2, nb);
  for (int i = 1; i <= na; ++i) fa[1][i] = -2 + (i - 1) * dx, fa[2][i] = std::sin(fa[1][i]);
  for (int i = 1; i <= nb; ++i) fb[1][i] = (i - 5) * dx, fb[2][i] = std::exp(-fb[1][i] * fb[1][i] / 0.02);
  double **c1 = Convolution1D(fa, fb), **c2 = ConvolutionFFT(fa, fb);
  for (int i = 1; i <= na; ++i) {
    double s = 0;
    for (int j = 1; j <= na; ++j) {
      const int k = i - j + 5;
      if (k >= 1 && k <= nb) s += fa[2][j] * fb[2][k] * dx;
    }
    EXPECT_NEAR(c1[2][i], s, 1e-14);
    EXPECT_NEAR(c2[2][i], s, 1e-13);
    EXPECT_EQ(c1[1][i], fa[1][i]);
  }
  double *r = Autocorrelation(a);
  for (int k = 1; k <= 7; ++k) {
    const int lag = k - 4;
    double s = 0;
    for (int i = 1; i <= 7; ++i)
      if (i + lag >= 1 && i + lag <= 7) s += a[i] * a[i + lag];
    EXPECT_NEAR(r[k], s, 1e-14) << lag;
  }
  for (double *x : {a, b, d, r}) FreeVector(x);
  for (Complex *x : {ac, bc, cd, cf}) FreeVectorC(x);
  for (double **x : {fa, fb, c1, c2}) FreeMatrix(x);
}

TEST(Fourier, TapersFollowTheirFormulas) {
  const int n = 10, k = 4;
  double *ones = Vector(n);
  for (int i = 1; i <= n; ++i) ones[i] = 1.0;
  struct Case {
    double *(*f)(const double *, int32_t);
    bool right;
    std::function<double(double)> factor;  // of s: 1 at the edge, 1/k inside
  } cases[] = {
      {DampenLeft, false, [](double s) { return 0.5 * (1 + std::cos(M_PI * s)); }},
      {DampenRight, true, [](double s) { return 0.5 * (1 + std::cos(M_PI * s)); }},
      {DampenLeftLinear, false, [](double s) { return 1 - s; }},
      {DampenRightLinear, true, [](double s) { return 1 - s; }},
      {DampenLeftGauss, false, [](double s) { return std::exp(-4.5 * s * s); }},
      {DampenRightGauss, true, [](double s) { return std::exp(-4.5 * s * s); }},
      {DampenRightExp, true, [](double s) { return std::exp(-5 * s); }},
      {DampenLeftZero, false, [](double) { return 0.0; }},
  };
  for (const Case &c : cases) {
    double *out = c.f(ones, k);
    ASSERT_EQ(n, (int)out[0]);
    for (int r = 1; r <= n; ++r) {
      const int i = c.right ? n + 1 - r : r;
      const double want = r <= k ? c.factor((double)(k + 1 - r) / k) : 1.0;
      EXPECT_NEAR(out[i], want, 1e-15) << i;
    }
    FreeVector(out);
  }
  // Fit: zero at the edge, joins the interior; a ramp's slope is kept.
  double *ramp = Vector(n);
  for (int i = 1; i <= n; ++i) ramp[i] = i;
  double *l = DampenLeftFit(ramp, k), *rr = DampenRightFit(ramp, k);
  EXPECT_EQ(0.0, l[1]);
  EXPECT_EQ(0.0, rr[n]);
  EXPECT_EQ(5.0, l[5]);
  EXPECT_GT(l[4], l[3]);
  EXPECT_LT(l[4], 5.0);
  EXPECT_EQ(6.0, rr[6]);
  double *all = DampenLeft(ones, 99);  // k beyond n tapers everything
  EXPECT_EQ(0.0, all[1]);
  EXPECT_NEAR(all[n], 0.5 * (1 + std::cos(M_PI / n)), 1e-15);
  for (double *x : {ones, ramp, l, rr, all}) FreeVector(x);
}

Complex **GaussianPulse(int n, double dx, double width, double phase0, double slope) {
  Complex **d = MatrixC(2, n);
  for (int i = 1; i <= n; ++i) {
    const double x = (i - n / 2 - 1) * dx;
    const double a = std::exp(-x * x / (2 * width * width)), p = phase0 + slope * x + 0.0;
    d[1][i] = Complex{x, 0};
    d[2][i] = Complex{a * std::cos(p), a * std::sin(p)};
  }
  return d;
}

TEST(Fourier, AnalysisClosedForms) {
  // A Gaussian reaches the time-bandwidth minimum 1/(4 pi) from either side.
  Complex **g = GaussianPulse(256, 0.05, 0.7, 0.0, 0.0);
  EXPECT_NEAR(TimeBandwidthProduct(g), 1 / (4 * M_PI), 1e-9);
  EXPECT_NEAR(TimeBandwidthProductSpectrum(g), 1 / (4 * M_PI), 1e-9);
  double **s = Spectrum(g);
  double e0 = 0, e1 = 0;
  for (int i = 1; i <= 256; ++i) e0 += g[2][i].re * g[2][i].re, e1 += s[2][i];
  EXPECT_NEAR(e1, e0, 1e-12 * e0);
  EXPECT_NEAR(s[1][130] - s[1][129], 1 / (256 * 0.05), 1e-12);
  EXPECT_EQ(0.0, s[1][129]);
  // Phase fits recover a + b x + c x^2 where the pulse has weight.
  Complex **p = GaussianPulse(128, 0.05, 0.8, 0.3, 2.0);
  for (int i = 1; i <= 128; ++i) {
    const double x = p[1][i].re, q = 0.25 * x * x, c = std::cos(q), sn = std::sin(q);
    p[2][i] = Complex{p[2][i].re * c - p[2][i].im * sn, p[2][i].re * sn + p[2][i].im * c};
  }
  double *c2 = PolynomialFitPhase(p, 2);
  ASSERT_EQ(3, (int)c2[0]);
  EXPECT_NEAR(c2[1], 0.3, 1e-9);
  EXPECT_NEAR(c2[2], 2.0, 1e-9);
  EXPECT_NEAR(c2[3], 0.25, 1e-9);
  Complex **lin = GaussianPulse(128, 0.05, 0.8, 0.3, 2.0);
  double *c1 = LinearPhase(lin);
  EXPECT_NEAR(c1[1], 0.3, 1e-9);
  EXPECT_NEAR(c1[2], 2.0, 1e-9);
  Complex **flat = RemoveLinearPhase(lin);
  for (int i = 1; i <= 128; ++i) EXPECT_NEAR(flat[2][i].im, 0.0, 1e-9);
  for (Complex **x : {g, p, lin, flat}) FreeMatrixC(x);
  FreeMatrix(s);
  FreeVector(c1);
  FreeVector(c2);
}

TEST(Fourier, AnalyticSignalEnvelopeAndSmoothing) {
  const int n = 200;
  double *v = Vector(n);
  for (int j = 1; j <= n; ++j) v[j] = 3 * std::cos(2 * M_PI * 7 * j / n);
  Complex *a = AnalyticSignal(v);
  double *e = Envelope(v);
  for (int j = 1; j <= n; ++j) {
    EXPECT_NEAR(a[j].re, v[j], 1e-12);
    EXPECT_NEAR(a[j].im, 3 * std::sin(2 * M_PI * 7 * j / n), 1e-12);
    EXPECT_NEAR(e[j], 3.0, 1e-12);
  }
  // A constant survives smoothing up to the ends (mirror extension); a
  // delta in the middle becomes a Gaussian of unit sum.
  double *c = Vector(n), *d = Vector0(n);
  for (int j = 1; j <= n; ++j) c[j] = 2.5;
  d[100] = 1.0;
  double *sc = SmoothFFTV(c, 4.0), *sd = SmoothFFTV(d, 4.0);
  double sum = 0;
  for (int j = 1; j <= n; ++j) {
    EXPECT_NEAR(sc[j], 2.5, 1e-12);
    sum += sd[j];
  }
  EXPECT_NEAR(sum, 1.0, 1e-12);
  EXPECT_NEAR(sd[100], 1 / (4.0 * std::sqrt(2 * M_PI)), 1e-6);
  EXPECT_NEAR(sd[104] / sd[100], std::exp(-0.5), 1e-6);
  // Whole-sample ShiftCont is a rotation; two half shifts make one.
  double *r = ShiftCont(v, 3.0), *h = ShiftCont(v, 0.5), *hh = ShiftCont(h, 0.5), *one = ShiftCont(v, 1.0);
  for (int j = 1; j <= n; ++j) {
    EXPECT_NEAR(r[j], v[(j - 4 + n) % n + 1], 1e-12);
    EXPECT_NEAR(hh[j], one[j], 1e-12);
  }
  for (double *x : {v, e, c, d, sc, sd, r, h, hh, one}) FreeVector(x);
  FreeVectorC(a);
}

TEST(Fourier, TimeFrequencyForms) {
  // STFT of a tone with 8 cycles per 64-sample window: peaks at rows
  // centre +- 8 of every frame.
  const int n = 256, w = 64, hop = 32;
  double *v = Vector(n);
  for (int j = 1; j <= n; ++j) v[j] = std::cos(2 * M_PI * 8 * j / w);
  Complex **st = STFT(v, w, hop);
  ASSERT_EQ(7, (int)st[0][0].re);
  for (int f = 1; f <= 7; ++f) {
    int best = 1;
    for (int i = 1; i <= w; ++i)
      if (std::hypot(st[f][i].re, st[f][i].im) > std::hypot(st[f][best].re, st[f][best].im)) best = i;
    EXPECT_TRUE(best == w / 2 + 1 + 8 || best == w / 2 + 1 - 8) << best;
  }
  // Wigner of a complex tone f0 = 5/64 per sample: the row of (i - c)/(2n)
  // = f0, i.e. i = c + 10, holds the maximum of every interior column.
  const int m = 64;
  Complex *z = VectorC(m);
  for (int j = 1; j <= m; ++j) z[j] = Complex{std::cos(2 * M_PI * 5 * j / m), std::sin(2 * M_PI * 5 * j / m)};
  double **wd = WignerDistribution(z);
  for (int t = 10; t <= 50; t += 10) {
    int best = 1;
    for (int i = 1; i <= m; ++i)
      if (wd[t][i] > wd[t][best]) best = i;
    EXPECT_EQ(m / 2 + 1 + 10, best) << t;
  }
  // Fourier series of 1 + 2 cos t + 3 sin 2t.
  double **data = Matrix(2, 16);
  for (int j = 1; j <= 16; ++j) {
    const double t = 2 * M_PI * (j - 1) / 16;
    data[1][j] = t, data[2][j] = 1 + 2 * std::cos(t) + 3 * std::sin(2 * t);
  }
  double **fs = FSeries(data, 3);
  const double a[] = {2, 2, 0, 0}, b[] = {0, 0, 3, 0};
  for (int k = 0; k <= 3; ++k) {
    EXPECT_NEAR(fs[2][k + 1], a[k], 1e-13);
    EXPECT_NEAR(fs[3][k + 1], b[k], 1e-13);
  }
  FreeVector(v);
  FreeVectorC(z);
  FreeMatrixC(st);
  for (double **x : {wd, data, fs}) FreeMatrix(x);
}

TEST(Fourier, DomainsPaddingCentringAndUnwrapping) {
  double *x = DiscretizeDomainFFT(-1, 1, 8);
  double *f = FFTDomainChange(x), *cf = CenterDomainFFT(x), *pos = PositiveDomain(f);
  EXPECT_EQ(0.0, x[5]);
  EXPECT_EQ(0.0, f[5]);
  EXPECT_DOUBLE_EQ(0.5, f[6]);
  EXPECT_EQ(-1.0, cf[1]);
  ASSERT_EQ(4, (int)pos[0]);
  EXPECT_EQ(f[8], pos[4]);
  // Padding keeps the centre element on the centre; cropping is its inverse.
  Complex *v = VectorC(5);
  for (int i = 1; i <= 5; ++i) v[i] = Complex{(double)i, 0};
  Complex *p = ZeroPadFFT(v), *back = ZeroPadVC(p, 5), *s0 = Shift0C(v, 2);
  ASSERT_EQ(8, (int)p[0].re);
  EXPECT_EQ(3.0, p[5].re);
  EXPECT_EQ(0.0, p[1].re);
  for (int i = 1; i <= 5; ++i) EXPECT_EQ(v[i].re, back[i].re);
  EXPECT_EQ(0.0, s0[2].re);
  EXPECT_EQ(1.0, s0[3].re);
  // Centring moves an off-centre peak to element n/2 + 1.
  Complex *peak = Vector0C(16);
  peak[3] = Complex{0, 2};
  Complex *cc = CenterDistrC(peak), *c0 = CenterDistr0C(peak);
  EXPECT_EQ(2.0, cc[9].im);
  EXPECT_EQ(2.0, c0[9].im);
  Complex **g = GaussianPulse(64, 0.1, 0.5, 0, 0);
  for (int i = 1; i <= 64; ++i) g[1][i].re += 1.25;
  Complex **gc = CenterDistributionC(g);
  EXPECT_NEAR(gc[1][33].re, 0.0, 1e-12);
  // Unwrapping a wrapped ramp.
  double **m = Matrix(1, 50);
  for (int i = 1; i <= 50; ++i) m[1][i] = std::remainder(0.4 * i, 2 * M_PI);
  double **u = UnwrapM(m);
  for (int i = 1; i <= 50; ++i) EXPECT_NEAR(u[1][i], 0.4 * i, 1e-12);
  double *uw = UnwrapVWindow(m[1], 20, 30);
  EXPECT_EQ(m[1][19], uw[19]);
  EXPECT_NEAR(uw[30] - uw[20], 4.0, 1e-12);
  for (double *q : {x, f, cf, pos, uw}) FreeVector(q);
  for (Complex *q : {v, p, back, s0, peak, cc, c0}) FreeVectorC(q);
  FreeMatrixC(g);
  FreeMatrixC(gc);
  FreeMatrix(m);
  FreeMatrix(u);
}

// A complex domain keeps its abscissas in the real parts: each complex
// domain function gives, in its real parts, exactly what the real one gives
// for those real parts, keeps the imaginary parts where it shifts and zeroes
// them where it builds a new grid.
TEST(Fourier, ComplexDomainsMatchTheRealOnesBitForBit) {
  for (int n : {1, 2, 8, 9}) {
    double *x = RandomV(n, 11u + n);
    Complex *xc = RandomVC(n, 23u + n);
    for (int i = 1; i <= n; ++i) xc[i].re = x[i];
    struct Row {
      double *re;
      Complex *c;
      bool keepsIm;
    };
    const Row rows[] = {{CenterDomain(x), CenterDomainC(xc), true},
                        {CenterDomainFFT(x), CenterDomainFFTC(xc), false},
                        {FFTDomainChange(x), FFTDomainChangeC(xc), false},
                        {DiscretizeDomainFFT(x[1], x[n], n), DiscretizeDomainFFTC(x[1], x[n], n), false}};
    for (const Row &r : rows) {
      ASSERT_EQ(n, (int)r.re[0]);
      ASSERT_EQ(n, (int)r.c[0].re);
      for (int i = 1; i <= n; ++i) {
        EXPECT_EQ(r.re[i], r.c[i].re) << n << " " << i;
        EXPECT_EQ(r.keepsIm ? xc[i].im : 0.0, r.c[i].im) << n << " " << i;
      }
      FreeVector(r.re);
      FreeVectorC(r.c);
    }
    FreeVector(x);
    FreeVectorC(xc);
  }
}

TEST(Fourier, FilterFileIsReadDefensively) {
  using qvx::fourier::FilterShape;
  using qvx::fourier::ParseFilterShape;
  struct Case {
    const char *text;
    FilterShape::Kind kind;
  } cases[] = {
      {"", FilterShape::kNone},
      {"\x01\xff garbage\n###", FilterShape::kNone},
      {"type lowpass\n", FilterShape::kNone},                        // no cut-off
      {"type lowpass\nhigh 1.5", FilterShape::kLowPass},             // truncated last line
      {"TYPE = BandPass\nlow 2 # comment\nhigh 1", FilterShape::kNone},  // low > high
      {"type bandstop\nlow: 1\nhigh: 2\n", FilterShape::kBandStop},
      {"type supergaussian\nwidth 0.5\norder 1e300\n", FilterShape::kNone},
      {"type supergaussian\nwidth 0.5\norder 3\ncentre 1e999\n", FilterShape::kSuperGaussian},
      {"type highpass\nlow nan\n", FilterShape::kNone},
  };
  for (const Case &c : cases) EXPECT_EQ(c.kind, ParseFilterShape(c.text).kind) << c.text;

  // The file: none, then a low-pass that removes the faster of two tones.
  char dir[] = "/tmp/qvx_fourier_XXXXXX";
  ASSERT_NE(nullptr, mkdtemp(dir));
  char old[4096];
  ASSERT_NE(nullptr, getcwd(old, sizeof old));
  ASSERT_EQ(0, chdir(dir));
  const int n = 128;
  double **d = Matrix(2, n);
  for (int i = 1; i <= n; ++i) {
    d[1][i] = (i - 65) * 0.01;
    d[2][i] = std::cos(2 * M_PI * 3 * i / n) + std::cos(2 * M_PI * 40 * i / n);
  }
  double **same = FourierFilter(d);
  for (int i = 1; i <= n; ++i) EXPECT_NEAR(same[2][i], d[2][i], 1e-12);
  std::FILE *file = std::fopen("fourier_filter_spec.txt", "w");
  std::fputs("type lowpass\nhigh 10\n", file);  // 3 cycles = 2.34 Hz, 40 cycles = 31.25 Hz
  std::fclose(file);
  double **low = FourierFilter(d);
  for (int i = 1; i <= n; ++i) EXPECT_NEAR(low[2][i], std::cos(2 * M_PI * 3 * i / n), 1e-12);
  std::remove("fourier_filter_spec.txt");
  ASSERT_EQ(0, chdir(old));
  rmdir(dir);
  for (double **x : {d, same, low}) FreeMatrix(x);
}

// Every entry point with null, empty, length-1 and NaN inputs: no crash, no
// leak, and a valid (possibly empty) container back.
TEST(Fourier, DegenerateInputsAreSafe) {
  const double nan = std::nan("");
  Complex *vc[4] = {nullptr, VectorC(0), VectorC(1), VectorC(4)};
  vc[2][1] = Complex{nan, 1};
  for (int i = 1; i <= 4; ++i) vc[3][i] = Complex{i == 2 ? nan : 1.0, 0};
  double *v[4] = {nullptr, Vector(0), Vector(1), Vector(4)};
  v[2][1] = nan;
  for (int i = 1; i <= 4; ++i) v[3][i] = i == 3 ? nan : 1.0;
  Complex **mc[4] = {nullptr, MatrixC(2, 0), MatrixC(2, 1), MatrixC(1, 4)};
  mc[2][1][1] = Complex{0, 0}, mc[2][2][1] = Complex{nan, 0};
  double **m[4] = {nullptr, Matrix(2, 0), Matrix(2, 1), Matrix(1, 3)};
  m[2][1][1] = 0, m[2][2][1] = nan;
  for (int k = 0; k < 4; ++k) {
    Complex *c = vc[k] ? CopyVectorC(vc[k]) : nullptr;
    FFTV(c, -1);
    FFTVErr(c, 1);
    if (c) FreeVectorC(c);
    for (Complex *r : {DFT(vc[k], 1), ZeroPadFFT(vc[k]), FormatFFT(vc[k]), FormatZeroPadFFT(vc[k], 3),
                       Shift0C(vc[k], 1), CenterDistrC(vc[k]), CenterDistr0C(vc[k]),
                       CenterDistrWindowC(vc[k], -5, 99), ConvolutionC(vc[k], vc[k]), ConvolutionFFTV(vc[k], vc[k]),
                       RemoveDCC(vc[k]), CenterDomainC(vc[k]), FFTDomainChangeC(vc[k]), PositiveDomainC(vc[k]),
                       AnalyticSignal(v[k])}) {
      ASSERT_NE(nullptr, r);
      FreeVectorC(r);
    }
    for (double *r : {CenterDistr(v[k]), ConvolutionD(v[k], v[k]), Autocorrelation(v[k]), ShiftCont(v[k], 0.5),
                      DampenLeftFit(v[k], 2), DampenRightFit(v[k], 5), RemoveDC(v[k]),
                      RemoveDCWindow(v[k], 3, 1), Phase(vc[k]), UnwrapVWindow(v[k], 0, 9), Envelope(v[k]),
                      SmoothFFTV(v[k], 2.0), CenterDomain(v[k]), FFTDomainChange(v[k]), PolynomialFitPhase(mc[k], 2),
                      LinearPhase(mc[k])}) {
      ASSERT_NE(nullptr, r);
      FreeVector(r);
    }
    for (Complex **r : {ShiftCont1DC(mc[k], 0.3), CenterDistributionC(mc[k]), ZeroPad1DC(mc[k], 4),
                        RemoveLinearPhase(mc[k]), SuperGaussianFilter(mc[k], 0, 1, 2), FourierFilterC(mc[k]),
                        STFT(v[k], 2, 1)}) {
      ASSERT_NE(nullptr, r);
      FreeMatrixC(r);
    }
    for (double **r : {CenterDistribution(m[k]), ZeroPad1D(m[k], 2), Convolution1D(m[k], m[k]),
                       ConvolutionFFT(m[k], m[k]), Spectrum(mc[k]), SmoothFFT(m[k], 1.0), FourierFilter(m[k]),
                       FSeries(m[k], 2), WignerDistribution(vc[k]), UnwrapM(m[k])}) {
      ASSERT_NE(nullptr, r);
      FreeMatrix(r);
    }
    TimeBandwidthProduct(mc[k]);
    TimeBandwidthProductSpectrum(mc[k]);
    Complex **mm = mc[k] ? CopyMatrixC(mc[k]) : nullptr;
    FFTM(mm, 1);
    if (mm) FreeMatrixC(mm);
  }
  int32_t *bad = VectorL(2);
  bad[1] = 4, bad[2] = 4;
  FFTND(vc[3], bad, 1);  // 16 points asked of a vector of 4: refused
  FFTNShift(vc[3], bad);
  EXPECT_EQ(1.0, vc[3][1].re);
  FreeVectorL(bad);
  for (int k = 1; k < 4; ++k) FreeVectorC(vc[k]), FreeVector(v[k]), FreeMatrixC(mc[k]), FreeMatrix(m[k]);
}

}  // namespace
