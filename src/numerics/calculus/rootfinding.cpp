// Roots, peaks and resampling of sampled data, and the n-th roots of a
// complex number.
//
// Everything here works on data sets whose abscissas ascend (a 1D set is a
// Matrix(2, n), a 1DC set a MatrixC(2, n) with the abscissas in the real
// parts). The searches only see the samples: a root is found where the
// ordinate changes sign between neighbours (or a sample is itself within
// the tolerance of zero), and it is then refined on the cubic through the
// four nearest samples, so that its accuracy follows the sampling (fourth
// order in the spacing) rather than straight-line interpolation.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/calculus/calculus.h"

namespace qvx::calculus {

void NaturalSplineSecondDerivatives(const double *x, const double *y, int32_t n, double *d2,
                                    double *u) {
  if (n <= 0) return;
  d2[0] = u[0] = 0.0;
  // Tridiagonal system of the natural cubic spline, solved by forward
  // elimination and back substitution (Thomas algorithm). An interval of
  // zero width decouples its row instead of dividing by zero.
  for (int32_t i = 1; i + 1 < n; ++i) {
    const double hl = x[i] - x[i - 1], hr = x[i + 1] - x[i], span = x[i + 1] - x[i - 1];
    if (!(hl > 0.0) || !(hr > 0.0)) {
      d2[i] = u[i] = 0.0;
      continue;
    }
    const double sig = hl / span;
    const double p = sig * d2[i - 1] + 2.0;
    d2[i] = (sig - 1.0) / p;
    const double slope = (y[i + 1] - y[i]) / hr - (y[i] - y[i - 1]) / hl;
    u[i] = (6.0 * slope / span - sig * u[i - 1]) / p;
  }
  d2[n - 1] = 0.0;
  for (int32_t k = n - 2; k >= 0; --k) d2[k] = d2[k] * d2[k + 1] + u[k];
}

double SplineValue(const double *x, const double *y, const double *d2, int32_t k, double t) {
  const double h = x[k + 1] - x[k];
  if (!(h > 0.0)) return y[k];
  const double a = (x[k + 1] - t) / h, b = (t - x[k]) / h;
  return a * y[k] + b * y[k + 1] + ((a * a * a - a) * d2[k] + (b * b * b - b) * d2[k + 1]) * (h * h) / 6.0;
}

}  // namespace qvx::calculus

namespace {

using namespace qvx::calculus;

// A sampled real function: abscissas and values, 0-based copies.
struct Samples {
  std::vector<double> x, y;
  int32_t size() const { return static_cast<int32_t>(x.size()); }
};

Samples FromSet(double **set) {
  Samples s;
  const int32_t n = Points(set);
  s.x.resize(n);
  s.y.resize(n);
  for (int32_t i = 0; i < n; ++i) {
    s.x[i] = set[1][i + 1];
    s.y[i] = set[2][i + 1];
  }
  return s;
}

// Value at t of the polynomial through points k..k+m-1 (Neville's scheme).
double Polynomial(const Samples &s, int32_t k, int32_t m, double t) {
  double p[4];
  for (int32_t i = 0; i < m; ++i) p[i] = s.y[k + i];
  for (int32_t level = 1; level < m; ++level)
    for (int32_t i = 0; i + level < m; ++i) {
      const double xa = s.x[k + i], xb = s.x[k + i + level];
      p[i] = ((t - xb) * p[i] + (xa - t) * p[i + 1]) / (xa - xb);
    }
  return p[0];
}

// Root of the sampled function between samples i and i + 1, whose values
// have opposite signs. The interpolating cubic through the four nearest
// samples (fewer near a short set) has the same values at both ends, so it
// brackets a root there; the Illinois variant of regula falsi finds it.
double RefineCrossing(const Samples &s, int32_t i) {
  const int32_t n = s.size();
  int32_t m = std::min<int32_t>(4, n);
  int32_t k = std::clamp<int32_t>(i - 1, 0, n - m);
  for (int32_t j = k; j < k + m; ++j)
    if (!std::isfinite(s.y[j]) || (j > k && !(s.x[j] > s.x[j - 1]))) {
      k = i;  // a neighbour is unusable: straight line between the two
      m = 2;
      break;
    }
  double a = s.x[i], b = s.x[i + 1], fa = s.y[i], fb = s.y[i + 1];
  int side = 0;
  for (int iter = 0; iter < 200; ++iter) {
    const double c = (fa * b - fb * a) / (fa - fb);
    if (!(c > a && c < b) || b - a <= 4e-16 * std::max(std::fabs(a), std::fabs(b))) break;
    const double fc = Polynomial(s, k, m, c);
    if (fc == 0.0 || !std::isfinite(fc)) return c;
    if ((fc < 0.0) == (fa < 0.0)) {
      a = c;
      fa = fc;
      if (side == -1) fb *= 0.5;
      side = -1;
    } else {
      b = c;
      fb = fc;
      if (side == 1) fa *= 0.5;
      side = 1;
    }
  }
  return (fa * b - fb * a) / (fa - fb);
}

// Vertex abscissa of the parabola through three samples (x1 when they are
// collinear).
double ParabolaVertex(double x0, double y0, double x1, double y1, double x2, double y2) {
  const double p = (x1 - x0) * (y1 - y2), q = (x1 - x2) * (y1 - y0);
  const double den = p - q;
  if (den == 0.0 || !std::isfinite(den)) return x1;
  return x1 - 0.5 * ((x1 - x0) * p - (x1 - x2) * q) / den;
}

// Roots of a sampled real function. imag, when given, holds the imaginary
// parts: a crossing of the real part counts only where they vanish too.
std::vector<double> Roots(const Samples &s, const std::vector<double> *imag, double tolerance,
                          bool touching) {
  std::vector<double> roots;
  const int32_t n = s.size();
  if (!(tolerance >= 0.0)) tolerance = 0.0;
  auto modulus = [&](int32_t i) { return imag ? std::hypot(s.y[i], (*imag)[i]) : std::fabs(s.y[i]); };
  auto small = [&](int32_t i) { return modulus(i) <= tolerance; };
  for (int32_t i = 0; i < n; ++i) {
    if (small(i)) {
      // A run of samples within tolerance is one root, at its smallest value.
      int32_t best = i;
      while (i + 1 < n && small(i + 1)) {
        ++i;
        if (modulus(i) < modulus(best)) best = i;
      }
      roots.push_back(s.x[best]);
      continue;
    }
    if (i + 1 < n && !small(i + 1) && s.y[i] * s.y[i + 1] < 0.0) {
      const double r = RefineCrossing(s, i);
      if (imag) {
        const double w = (r - s.x[i]) / (s.x[i + 1] - s.x[i]);
        const double im = (*imag)[i] + w * ((*imag)[i + 1] - (*imag)[i]);
        if (!(std::fabs(im) <= tolerance + 1e-9 * std::max(modulus(i), modulus(i + 1)))) continue;
      }
      roots.push_back(r);
    }
    if (touching && i > 0 && i + 1 < n && !small(i - 1) && !small(i + 1) &&
        std::fabs(s.y[i]) < std::fabs(s.y[i - 1]) && std::fabs(s.y[i]) <= std::fabs(s.y[i + 1]) &&
        s.y[i - 1] * s.y[i] > 0.0 && s.y[i] * s.y[i + 1] > 0.0) {
      // No sign change, but |y| dips: the parabola through the three samples
      // either touches zero (an even-order root) or crosses it twice between
      // them (two simple roots closer than the sampling).
      const double x0 = s.x[i - 1], x1 = s.x[i], x2 = s.x[i + 1];
      const double y0 = s.y[i - 1], y1 = s.y[i], y2 = s.y[i + 1];
      const double v = ParabolaVertex(x0, y0, x1, y1, x2, y2);
      // Parabola in Newton form: y0 + d1 (t - x0) + d2 (t - x0)(t - x1).
      const double d1 = (y1 - y0) / (x1 - x0);
      const double d2 = ((y2 - y1) / (x2 - x1) - d1) / (x2 - x0);
      const double pv = y0 + d1 * (v - x0) + d2 * (v - x0) * (v - x1);
      if (!std::isfinite(pv) || imag) {
        if (imag && std::isfinite(pv) && std::fabs(pv) <= tolerance) roots.push_back(v);
        continue;
      }
      if (std::fabs(pv) <= tolerance) {
        roots.push_back(v);
      } else if ((pv < 0.0) != (y1 < 0.0) && d2 != 0.0) {
        // Roots of d2 t^2 + B t + C with t measured from the vertex.
        const double half = std::sqrt(-pv / d2);
        for (double r : {v - half, v + half})
          if (r > x0 && r < x2) roots.push_back(r);
      }
    }
  }
  std::sort(roots.begin(), roots.end());
  return roots;
}

double *ToVector(const std::vector<double> &values) {
  double *out = Vector(static_cast<int32_t>(values.size()));
  const int32_t n = Len(out);
  for (int32_t i = 0; i < n; ++i) out[i + 1] = values[i];
  return out;
}

std::vector<double> Peaks(const Samples &s) {
  std::vector<double> peaks;
  const int32_t n = s.size();
  for (int32_t i = 1; i + 1 < n; ++i) {
    if (!(s.y[i] > s.y[i - 1])) continue;
    int32_t j = i;  // end of a plateau of equal values
    while (j + 1 < n && s.y[j + 1] == s.y[i]) ++j;
    if (j + 1 < n && s.y[j + 1] < s.y[i]) {
      if (j == i)
        peaks.push_back(ParabolaVertex(s.x[i - 1], s.y[i - 1], s.x[i], s.y[i], s.x[i + 1], s.y[i + 1]));
      else
        peaks.push_back(0.5 * (s.x[i] + s.x[j]));
    }
    i = j;
  }
  return peaks;
}

void SplitC(Complex **set, Samples &re, std::vector<double> &im) {
  const int32_t n = Points(set);
  re.x.resize(n);
  re.y.resize(n);
  im.resize(n);
  for (int32_t i = 0; i < n; ++i) {
    re.x[i] = set[1][i + 1].re;
    re.y[i] = set[2][i + 1].re;
    im[i] = set[2][i + 1].im;
  }
}

// Runs a body that builds a Vector; an exception (out of memory in a
// std::vector) gives the fall-back vector of length 0 instead.
template <class F>
double *GuardVector(F &&body) {
  double *out = qvx::Guard(static_cast<double *>(nullptr), std::forward<F>(body));
  return out ? out : Vector(0);
}

}  // namespace

extern "C" {

QVX_API int32_t BinarySearchPos(const double *v, double x) noexcept {
  return LastAtOrBelow(Len(v), x, [v](int32_t i) { return v[i]; });
}

QVX_API double *FindSimpleRoots1D(double **set, double tolerance) noexcept {
  return GuardVector([&] { return ToVector(Roots(FromSet(set), nullptr, tolerance, false)); });
}

QVX_API double *FindRoots1D(double **set, double tolerance) noexcept {
  return GuardVector([&] { return ToVector(Roots(FromSet(set), nullptr, tolerance, true)); });
}

QVX_API double *FindSimpleRoots1DC(Complex **set, double tolerance) noexcept {
  return GuardVector([&] {
    Samples re;
    std::vector<double> im;
    SplitC(set, re, im);
    return ToVector(Roots(re, &im, tolerance, false));
  });
}

QVX_API double *FindRoots1DC(Complex **set, double tolerance) noexcept {
  return GuardVector([&] {
    Samples re;
    std::vector<double> im;
    SplitC(set, re, im);
    return ToVector(Roots(re, &im, tolerance, true));
  });
}

QVX_API double *FindPeaks1D(double **set) noexcept {
  return GuardVector([&] { return ToVector(Peaks(FromSet(set))); });
}

QVX_API double *FindPeaks1DC(Complex **set) noexcept {
  return GuardVector([&] {
    Samples s;
    const int32_t n = Points(set);
    s.x.resize(n);
    s.y.resize(n);
    for (int32_t i = 0; i < n; ++i) {
      s.x[i] = set[1][i + 1].re;
      s.y[i] = Abs(set[2][i + 1]);
    }
    return ToVector(Peaks(s));
  });
}

QVX_API Complex *ComplexRoots(Complex z, int32_t n) noexcept {
  Complex *out = VectorC(n < 1 ? 0 : n);
  const int32_t m = Len(out);
  if (m == 0) return out;
  const double r = std::pow(std::hypot(z.re, z.im), 1.0 / m);
  const double phase = std::atan2(z.im, z.re);
  const double twoPi = 6.283185307179586;
  for (int32_t k = 0; k < m; ++k) {
    const double t = (phase + twoPi * k) / m;
    out[k + 1] = Complex{r * std::cos(t), r * std::sin(t)};
  }
  return out;
}

QVX_API Complex **SplineInterpolation1DC(Complex **set, int32_t n) noexcept {
  const int32_t m = Points(set);
  Complex **out = MatrixC(2, m == 0 || n < 1 ? 0 : n);
  const int32_t count = Points(out);
  if (count == 0) return out;
  const bool ok = qvx::Guard(false, [&] {
    std::vector<double> x(m), re(m), im(m), d2re(m), d2im(m), scratch(m);
    for (int32_t i = 0; i < m; ++i) {
      x[i] = set[1][i + 1].re;
      re[i] = set[2][i + 1].re;
      im[i] = set[2][i + 1].im;
    }
    NaturalSplineSecondDerivatives(x.data(), re.data(), m, d2re.data(), scratch.data());
    NaturalSplineSecondDerivatives(x.data(), im.data(), m, d2im.data(), scratch.data());
    const double x0 = x[0], step = count > 1 ? (x[m - 1] - x0) / (count - 1) : 0.0;
    int32_t k = 0;
    for (int32_t i = 1; i <= count; ++i) {
      const double t = i == count && count > 1 ? x[m - 1] : x0 + (i - 1) * step;
      out[1][i] = Complex{t, 0.0};
      if (m == 1) {
        out[2][i] = Complex{re[0], im[0]};
        continue;
      }
      while (k + 2 < m && x[k + 1] < t) ++k;
      out[2][i] = Complex{SplineValue(x.data(), re.data(), d2re.data(), k, t),
                          SplineValue(x.data(), im.data(), d2im.data(), k, t)};
    }
    return true;
  });
  if (!ok) {
    FreeMatrixC(out);
    return MatrixC(2, 0);
  }
  return out;
}

QVX_API double **LinearInterpolation1D(double **set, int32_t n) noexcept {
  const int32_t m = Points(set);
  double **out = Matrix(2, m == 0 || n < 1 ? 0 : n);
  const int32_t count = Points(out);
  if (count == 0) return out;
  const double *x = set[1], *y = set[2];
  const double x0 = x[1], step = count > 1 ? (x[m] - x0) / (count - 1) : 0.0;
  int32_t k = 1;
  for (int32_t i = 1; i <= count; ++i) {
    const double t = i == count && count > 1 ? x[m] : x0 + (i - 1) * step;
    out[1][i] = t;
    if (m == 1) {
      out[2][i] = y[1];
      continue;
    }
    while (k + 1 < m && x[k + 1] < t) ++k;
    const double h = x[k + 1] - x[k];
    out[2][i] = h > 0.0 ? y[k] + (t - x[k]) * (y[k + 1] - y[k]) / h : y[k];
  }
  return out;
}

QVX_API double *UnwrapV(const double *v, double period) noexcept {
  const int32_t n = Len(v);
  double *out = Vector(n);
  if (Len(out) != n) return out;
  double offset = 0.0, previous = NAN;
  const bool usable = period > 0.0 && std::isfinite(period);
  for (int32_t i = 1; i <= n; ++i) {
    const double x = v[i];
    if (std::isnan(x)) {
      out[i] = x;
      continue;
    }
    if (usable && std::isfinite(previous)) {
      const double jump = x - previous;
      if (std::fabs(jump) > 0.5 * period) offset -= period * std::round(jump / period);
    }
    previous = x;
    out[i] = x + offset;
  }
  return out;
}

}  // extern "C"
