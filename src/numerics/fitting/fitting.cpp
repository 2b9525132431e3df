// Fitting and optimisation: polynomial least squares (Householder QR),
// Savitzky-Golay smoothing, chi-square fits of Gaussian, Lorentzian and
// user models, the downhill simplex of Nelder and Mead, bracketing and
// Brent's parabolic minimisation, bisection and Newton-Raphson roots, and
// simulated annealing.
//
// Conventions: data come as 1D sets (Matrix(2, n): abscissas, ordinates; a
// third column, when present, holds the standard deviations of the
// ordinates). Polynomial coefficients ascend: c[1] is the constant term.
// Failures give NaN or NaN-filled containers of the size the caller
// expects; a function value that is NaN counts as +infinity in the
// minimisers, so a model that blows up is walked away from.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace {

using qvx::ColsOf;
using qvx::LengthOf;
using qvx::RowsOf;

constexpr double kTiny = 1e-10;           // guard in the simplex's relative spread
constexpr double kGold = 1.618034;        // magnification of BracketMinimum
constexpr double kGrowLimit = 100.0;      // largest parabolic step of BracketMinimum
constexpr double kBracketTiny = 1e-20;
constexpr double kGoldenSection = 0.381966;
constexpr double kBrentZeps = 1e-15;
constexpr double kBrentTolerance = 3e-08;

double Finite(double v) { return std::isnan(v) ? HUGE_VAL : v; }

double *NaNVector(int32_t n) {
  double *v = Vector(std::max(n, 0));
  for (int32_t i = 1; i <= LengthOf(v); ++i) v[i] = NAN;
  return v;
}

// Number of usable points of a 1D set.
int32_t Points(double **set) { return ColsOf(set) >= 2 ? RowsOf(set) : 0; }

// Least squares by Householder QR. a is column-major, rows x cols, with
// rows >= cols; b the right-hand side. On return a holds R in its upper
// triangle; x the solution; the residual sum of squares is returned. A zero
// pivot (rank deficiency) gives NaN.
double LeastSquares(std::vector<double> &a, std::vector<double> b, int rows, int cols, std::vector<double> &x) {
  auto at = [&](int i, int j) -> double & { return a[static_cast<size_t>(j) * rows + i]; };
  for (int k = 0; k < cols; ++k) {
    // Column norm scaled by its largest element, safe from overflow.
    double scale = 0, sum = 0;
    for (int i = k; i < rows; ++i) scale = std::max(scale, std::fabs(at(i, k)));
    if (scale > 0 && std::isfinite(scale))
      for (int i = k; i < rows; ++i) sum += (at(i, k) / scale) * (at(i, k) / scale);
    const double norm = scale * std::sqrt(sum);
    if (norm == 0 || !std::isfinite(norm)) {
      x.assign(cols, NAN);
      return NAN;
    }
    const double alpha = at(k, k) > 0 ? -norm : norm;
    // v = column - alpha e_k, stored in place of the column below the diagonal
    at(k, k) -= alpha;
    double vv = 0;
    for (int i = k; i < rows; ++i) vv += at(i, k) * at(i, k);
    for (int j = k + 1; j < cols; ++j) {
      double s = 0;
      for (int i = k; i < rows; ++i) s += at(i, k) * at(i, j);
      s = 2 * s / vv;
      for (int i = k; i < rows; ++i) at(i, j) -= s * at(i, k);
    }
    double s = 0;
    for (int i = k; i < rows; ++i) s += at(i, k) * b[i];
    s = 2 * s / vv;
    for (int i = k; i < rows; ++i) b[i] -= s * at(i, k);
    at(k, k) = alpha;
    for (int i = k + 1; i < rows; ++i) at(i, k) = 0;
  }
  x.assign(cols, 0);
  for (int k = cols - 1; k >= 0; --k) {
    double s = b[k];
    for (int j = k + 1; j < cols; ++j) s -= at(k, j) * x[j];
    x[k] = s / at(k, k);
  }
  double rss = 0;
  for (int i = cols; i < rows; ++i) rss += b[i] * b[i];
  return rss;
}

struct PolyResult {
  std::vector<double> coefficients, errors;
};

// Fit of a polynomial of the given degree to n points; NaN coefficients
// when there are fewer points than coefficients or the abscissas repeat.
PolyResult FitPolynomial(const double *x, const double *y, int32_t n, int32_t degree) {
  const int cols = degree + 1;
  PolyResult result;
  result.coefficients.assign(cols, NAN);
  result.errors.assign(cols, NAN);
  if (n < cols) return result;
  std::vector<double> a(static_cast<size_t>(n) * cols), b(n);
  for (int i = 0; i < n; ++i) {
    double p = 1;
    for (int j = 0; j < cols; ++j, p *= x[i + 1]) a[static_cast<size_t>(j) * n + i] = p;
    b[i] = y[i + 1];
  }
  const double rss = LeastSquares(a, b, n, cols, result.coefficients);
  if (std::isnan(rss)) return result;
  // Standard errors: the diagonal of s^2 (R'R)^-1 = s^2 R^-1 R^-T, with s^2
  // the residual variance (0 for an exact fit with no spare points).
  const double s2 = n > cols ? rss / (n - cols) : 0.0;
  std::vector<double> rinv(static_cast<size_t>(cols) * cols, 0.0);  // row-major upper triangle
  for (int j = 0; j < cols; ++j) {
    rinv[j * cols + j] = 1.0 / a[static_cast<size_t>(j) * n + j];
    for (int i = j - 1; i >= 0; --i) {
      double s = 0;
      for (int k = i + 1; k <= j; ++k) s += a[static_cast<size_t>(k) * n + i] * rinv[k * cols + j];
      rinv[i * cols + j] = -s / a[static_cast<size_t>(i) * n + i];
    }
  }
  for (int i = 0; i < cols; ++i) {
    double s = 0;
    for (int j = i; j < cols; ++j) s += rinv[i * cols + j] * rinv[i * cols + j];
    result.errors[i] = std::sqrt(s2 * s);
  }
  return result;
}

double Horner(const std::vector<double> &c, double x) {
  double s = 0;
  for (size_t k = c.size(); k-- > 0;) s = s * x + c[k];
  return s;
}

double *CopyToVector(const std::vector<double> &c) {
  double *v = Vector(static_cast<int32_t>(c.size()));
  for (int32_t i = 1; i <= LengthOf(v); ++i) v[i] = c[i - 1];
  return v;
}

// The downhill simplex of Nelder and Mead on a function of std::vector.
// steps[j] is the offset of vertex j + 1 from the start along axis j.
template <class F>
std::vector<double> NelderMead(F f, const std::vector<double> &start, const std::vector<double> &steps, double tol,
                               int32_t maxEval) {
  const int32_t n = static_cast<int32_t>(start.size());
  if (n == 0) return start;
  double **simplex = Matrix(n + 1, n);
  double *values = Vector(n + 1), *sum = Vector(n);
  std::vector<double> best = start;
  if (ColsOf(simplex) != n + 1 || RowsOf(simplex) != n || LengthOf(values) != n + 1 || LengthOf(sum) != n) {
    FreeMatrix(simplex), FreeVector(values), FreeVector(sum);
    return best;
  }
  struct Wrap {
    F *f;
    static double Call(const double *p, void *self) {
      const int32_t m = LengthOf(p);
      std::vector<double> x(p + 1, p + 1 + m);
      return Finite((*static_cast<Wrap *>(self)->f)(x));
    }
  } wrap{&f};
  for (int32_t j = 1; j <= n + 1; ++j) {
    for (int32_t i = 1; i <= n; ++i) simplex[j][i] = start[i - 1] + (j - 1 == i ? steps[i - 1] : 0.0);
    values[j] = Wrap::Call(simplex[j], &wrap);
  }
  for (int32_t i = 1; i <= n; ++i) {
    sum[i] = 0;
    for (int32_t j = 1; j <= n + 1; ++j) sum[i] += simplex[j][i];
  }
  int32_t evaluations = n + 1;
  for (;;) {
    int32_t lo = 1, hi = values[1] > values[2] ? 1 : 2, nhi = values[1] > values[2] ? 2 : 1;
    for (int32_t j = 1; j <= n + 1; ++j) {
      if (values[j] <= values[lo]) lo = j;
      if (values[j] > values[hi]) {
        nhi = hi;
        hi = j;
      } else if (values[j] > values[nhi] && j != hi) {
        nhi = j;
      }
    }
    const double spread =
        2.0 * std::fabs(values[hi] - values[lo]) / (std::fabs(values[hi]) + std::fabs(values[lo]) + kTiny);
    if (!(spread >= tol) || evaluations >= maxEval || n == 0) {
      for (int32_t i = 1; i <= n; ++i) best[i - 1] = simplex[lo][i];
      break;
    }
    double trial = AmoebaTry(simplex, values, sum, Wrap::Call, &wrap, hi, -1.0);
    ++evaluations;
    if (trial <= values[lo]) {
      AmoebaTry(simplex, values, sum, Wrap::Call, &wrap, hi, 2.0);
      ++evaluations;
    } else if (trial >= values[nhi]) {
      const double saved = values[hi];
      trial = AmoebaTry(simplex, values, sum, Wrap::Call, &wrap, hi, 0.5);
      ++evaluations;
      if (trial >= saved) {
        // No better point along the line: shrink every vertex towards the best.
        for (int32_t j = 1; j <= n + 1; ++j) {
          if (j == lo) continue;
          for (int32_t i = 1; i <= n; ++i) simplex[j][i] = 0.5 * (simplex[j][i] + simplex[lo][i]);
          values[j] = Wrap::Call(simplex[j], &wrap);
        }
        evaluations += n;
        for (int32_t i = 1; i <= n; ++i) {
          sum[i] = 0;
          for (int32_t j = 1; j <= n + 1; ++j) sum[i] += simplex[j][i];
        }
      }
    }
  }
  FreeMatrix(simplex), FreeVector(values), FreeVector(sum);
  return best;
}

// Chi-square of a model over a set, sigma from column 3 when present.
template <class Model>
double ChiSquareOf(double **set, Model model) {
  const int32_t n = Points(set);
  const bool weighted = ColsOf(set) >= 3 && LengthOf(set[3]) >= n;
  double chi2 = 0;
  for (int32_t i = 1; i <= n; ++i) {
    double r = set[2][i] - model(set[1][i]);
    if (weighted && set[3][i] > 0) r /= set[3][i];
    chi2 += r * r;
  }
  return chi2;
}

// Minimises chi-square from start with relative steps of 0.01, then again
// from the result with steps of 0.001, which rebuilds a simplex that may
// have collapsed in one direction.
template <class Model>
std::vector<double> FitModel(double **set, Model model, std::vector<double> start) {
  auto objective = [&](const std::vector<double> &p) { return ChiSquareOf(set, [&](double x) { return model(x, p); }); };
  for (double fraction : {0.01, 0.001}) {
    std::vector<double> steps(start.size());
    for (size_t j = 0; j < start.size(); ++j) steps[j] = start[j] != 0 ? fraction * std::fabs(start[j]) : fraction;
    start = NelderMead(objective, start, steps, 1e-14, 20000);
  }
  return start;
}

double Gaussian(double x, const std::vector<double> &p) {
  const double z = (x - p[1]) / p[2];
  return p[3] + p[0] * std::exp(-0.5 * z * z);
}

double Lorentzian(double x, const std::vector<double> &p) {
  const double d = x - p[1];
  return p[3] + p[0] * p[2] * p[2] / (d * d + p[2] * p[2]);
}

// Start values of a peak fit: baseline the smallest ordinate, height the
// rise above it, centre the abscissa of the largest ordinate, and the full
// width at half maximum from the extent of the points above half height.
std::vector<double> PeakStart(double **set, double fwhmToWidth) {
  const int32_t n = Points(set);
  int32_t top = 1;
  double low = set[2][1];
  for (int32_t i = 1; i <= n; ++i) {
    if (set[2][i] > set[2][top]) top = i;
    low = std::min(low, set[2][i]);
  }
  const double height = set[2][top] - low, half = low + 0.5 * height;
  double left = set[1][top], right = set[1][top];
  for (int32_t i = 1; i <= n; ++i)
    if (set[2][i] >= half) {
      left = std::min(left, set[1][i]);
      right = std::max(right, set[1][i]);
    }
  double width = (right - left) * fwhmToWidth;
  if (!(width > 0)) width = std::fabs(set[1][n] - set[1][1]) / 4 + 1e-3;
  return {height, set[1][top], width, low};
}

bool PeakInputOk(double **set) {
  const int32_t n = Points(set);
  if (n < 4) return false;
  for (int32_t i = 1; i <= n; ++i)
    if (!std::isfinite(set[1][i]) || !std::isfinite(set[2][i])) return false;
  return true;
}

char *ParameterText(const std::vector<double> &p) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, "A = %.12E\nc = %.12E\nw = %.12E\ny0 = %.12E\n", p[0], p[1], std::fabs(p[2]),
                p[3]);
  return qvx::DupText(buffer);
}

template <class Model>
char *CurveText(double **set, Model model, const std::vector<double> &p) {
  std::string text;
  char buffer[64];
  for (int32_t i = 1; i <= Points(set); ++i) {
    std::snprintf(buffer, sizeof buffer, "%.12E %.12E\n", set[1][i], model(set[1][i], p));
    text += buffer;
  }
  return qvx::DupText(text.c_str(), text.size());
}

// Savitzky-Golay weights for the window -left..right: the least-squares
// polynomial of the order through the window, differentiated `derivative`
// times at 0, is sum c_k y_k. With A[k][j] = k^j the weights are
// d! * row d of (A'A)^-1 A'; A'A is solved by Gaussian elimination with
// partial pivoting.
std::vector<double> SavitzkyGolayWeights(int32_t left, int32_t right, int32_t order, int32_t derivative) {
  const int32_t np = left + right + 1, m = order + 1;
  std::vector<double> normal(static_cast<size_t>(m) * m, 0.0), rhs(m, 0.0);
  for (int32_t i = 0; i < m; ++i)
    for (int32_t j = 0; j < m; ++j)
      for (int32_t k = -left; k <= right; ++k) normal[i * m + j] += std::pow(static_cast<double>(k), i + j);
  rhs[derivative] = 1.0;
  for (int32_t c = 0; c < m; ++c) {
    int32_t pivot = c;
    for (int32_t r = c + 1; r < m; ++r)
      if (std::fabs(normal[r * m + c]) > std::fabs(normal[pivot * m + c])) pivot = r;
    for (int32_t j = 0; j < m; ++j) std::swap(normal[c * m + j], normal[pivot * m + j]);
    std::swap(rhs[c], rhs[pivot]);
    for (int32_t r = c + 1; r < m; ++r) {
      const double f = normal[r * m + c] / normal[c * m + c];
      for (int32_t j = c; j < m; ++j) normal[r * m + j] -= f * normal[c * m + j];
      rhs[r] -= f * rhs[c];
    }
  }
  std::vector<double> z(m);
  for (int32_t r = m - 1; r >= 0; --r) {
    double s = rhs[r];
    for (int32_t j = r + 1; j < m; ++j) s -= normal[r * m + j] * z[j];
    z[r] = s / normal[r * m + r];
  }
  double factorial = 1;
  for (int32_t i = 2; i <= derivative; ++i) factorial *= i;
  std::vector<double> c(np);
  for (int32_t k = -left; k <= right; ++k) {
    double s = 0, p = 1;
    for (int32_t j = 0; j < m; ++j, p *= k) s += p * z[j];
    c[k + left] = factorial * s;
  }
  return c;
}

}  // namespace

extern "C" {

// ---- polynomials -------------------------------------------------------------

QVX_API double PolyEval(const double *c, double x) noexcept {
  const int32_t n = LengthOf(c);
  double s = 0;
  for (int32_t k = n; k >= 1; --k) s = s * x + c[k];
  return s;
}

// Least-squares polynomial through the points (x_i, y_i): degree + 1
// coefficients, ascending. NaN coefficients with fewer points than
// coefficients or repeated abscissas; empty for a negative degree.
QVX_API double *PolyFit(const double *x, const double *y, int32_t degree) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    if (degree < 0 || degree > 64) return Vector(0);
    const int32_t n = std::min(LengthOf(x), LengthOf(y));
    return CopyToVector(FitPolynomial(x, y, n, degree).coefficients);
  });
}

// The fitted polynomial at the abscissas x.
QVX_API double *PolyFitFunction(const double *x, const double *y, int32_t degree) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    const int32_t n = std::min(LengthOf(x), LengthOf(y));
    if (degree < 0 || degree > 64) return NaNVector(n);
    auto c = FitPolynomial(x, y, n, degree).coefficients;
    double *v = Vector(n);
    for (int32_t i = 1; i <= LengthOf(v); ++i) v[i] = Horner(c, x[i]);
    return v;
  });
}

QVX_API double *PolynomialFit(double **set, int32_t degree) noexcept {
  if (Points(set) == 0) return degree < 0 || degree > 64 ? Vector(0) : NaNVector(degree + 1);
  return PolyFit(set[1], set[2], degree);
}

// Coefficients with their standard errors: a Matrix(2, degree + 1), column
// 1 the coefficients, column 2 the errors (from the residual variance).
QVX_API double **PolynomialFit2(double **set, int32_t degree) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] {
    if (degree < 0 || degree > 64) return Matrix(2, 0);
    const int32_t n = Points(set);
    PolyResult r = n ? FitPolynomial(set[1], set[2], n, degree)
                     : PolyResult{std::vector<double>(degree + 1, NAN), std::vector<double>(degree + 1, NAN)};
    double **m = Matrix(2, degree + 1);
    if (RowsOf(m) != degree + 1) return m;
    for (int32_t i = 1; i <= degree + 1; ++i) {
      m[1][i] = r.coefficients[i - 1];
      m[2][i] = r.errors[i - 1];
    }
    return m;
  });
}

// A new 1D set: the abscissas of set with the fitted polynomial's values.
QVX_API double **PolynomialFitFunc(double **set, int32_t degree) noexcept {
  const int32_t n = Points(set);
  double **out = Matrix(2, n);
  if (RowsOf(out) != n || ColsOf(out) != 2) return out;
  double *values = n ? PolyFitFunction(set[1], set[2], degree) : Vector(0);
  for (int32_t i = 1; i <= n; ++i) {
    out[1][i] = set[1][i];
    out[2][i] = i <= LengthOf(values) ? values[i] : NAN;
  }
  FreeVector(values);
  return out;
}

// ---- Savitzky-Golay ----------------------------------------------------------

// Weights of the window -left..right (a Vector of left + right + 1) for the
// given polynomial order and derivative at the centre, unit spacing. Empty
// when the window cannot carry the order or the derivative exceeds it.
QVX_API double *SavitzkyGolayCoefficients(int32_t left, int32_t right, int32_t order, int32_t derivative) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    if (left < 0 || right < 0 || order < 0 || derivative < 0 || derivative > order || order > 20 ||
        static_cast<int64_t>(left) + right + 1 <= order || static_cast<int64_t>(left) + right > 100000)
      return Vector(0);
    return CopyToVector(SavitzkyGolayWeights(left, right, order, derivative));
  });
}

// Smoothing by the Savitzky-Golay filter of half width m and the polynomial
// order: interior points use the centred window of 2m + 1, points near the
// ends a window of the same width pushed inside the data, so that the ends
// are fitted rather than cut. Windows shrink to the data length and the
// order to what a window carries; m < 1 copies the data.
QVX_API double *SavitzkyGolay(const double *v, int32_t m, int32_t order) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    const int32_t n = LengthOf(v);
    double *out = Vector(n);
    if (LengthOf(out) != n) return out;
    for (int32_t i = 1; i <= n; ++i) out[i] = v[i];
    m = std::min(m, (n - 1) / 2);
    if (m < 1 || order < 0) return out;
    order = std::min({order, 2 * m, 20});
    const std::vector<double> centre = SavitzkyGolayWeights(m, m, order, 0);
    for (int32_t i = 1; i <= n; ++i) {
      int32_t left = std::min(i - 1, m);
      int32_t right = 2 * m - left;
      if (i + right > n) {
        right = n - i;
        left = 2 * m - right;
      }
      std::vector<double> edge;
      if (left != m) edge = SavitzkyGolayWeights(left, right, order, 0);
      const std::vector<double> &w = left == m ? centre : edge;
      double s = 0;
      for (int32_t k = -left; k <= right; ++k) s += w[k + left] * v[i + k];
      out[i] = s;
    }
    return out;
  });
}

// ---- chi-square fits -----------------------------------------------------------

// Sum of squared residuals of model(x, p, data) over the set, each divided
// by its standard deviation when the set has a third column (entries not
// above 0 count as 1). NaN for a null model or parameter vector.
QVX_API double ChiSquare(double **set, FitModelFn model, const double *p, void *data) noexcept {
  if (!model || !p) return NAN;
  return ChiSquareOf(set, [&](double x) { return model(x, p, data); });
}

// The parameters that minimise ChiSquare, from start, by the downhill simplex.
QVX_API double *MinimizeChiSquare(double **set, FitModelFn model, const double *start, void *data) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    const int32_t k = LengthOf(start);
    if (!model || k == 0 || Points(set) == 0) return NaNVector(k);
    std::vector<double> p0(start + 1, start + 1 + k);
    std::vector<double> scratch(k + 1);
    scratch[0] = k;
    auto best = FitModel(set, [&](double x, const std::vector<double> &p) {
      std::copy(p.begin(), p.end(), scratch.begin() + 1);
      return model(x, scratch.data(), data);
    }, p0);
    return CopyToVector(best);
  });
}

// y0 + A exp(-(x - c)^2 / (2 w^2)); the text gives A, c, w, y0. Null for
// fewer than four points or non-finite data.
QVX_API char *GaussianFit(double **set) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (!PeakInputOk(set)) return nullptr;
    return ParameterText(FitModel(set, Gaussian, PeakStart(set, 1.0 / 2.3548200450309493)));
  });
}

// The fitted Gaussian at the abscissas of the set, one line "x y" each.
QVX_API char *GaussianFitFunction(double **set) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (!PeakInputOk(set)) return nullptr;
    return CurveText(set, Gaussian, FitModel(set, Gaussian, PeakStart(set, 1.0 / 2.3548200450309493)));
  });
}

// y0 + A w^2 / ((x - c)^2 + w^2): height A, half width at half maximum w.
QVX_API char *LorentzianFit(double **set) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (!PeakInputOk(set)) return nullptr;
    return ParameterText(FitModel(set, Lorentzian, PeakStart(set, 0.5)));
  });
}

QVX_API char *LorentzianFitFunction(double **set) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&]() -> char * {
    if (!PeakInputOk(set)) return nullptr;
    return CurveText(set, Lorentzian, FitModel(set, Lorentzian, PeakStart(set, 0.5)));
  });
}

// ---- downhill simplex -------------------------------------------------------------

// One move of the simplex: the worst vertex `high` is pushed through the
// centroid of the others by `factor` (-1 reflects, 2 expands, 0.5
// contracts); the trial point replaces it when it is better. Returns the
// value at the trial point. simplex is a Matrix(n + 1, n), one vertex a
// column; values holds f at the vertices; sum the sum of the vertices.
QVX_API double AmoebaTry(double **simplex, double *values, double *sum, ScalarFieldFn f, void *params, int32_t high,
                         double factor) noexcept {
  const int32_t n = LengthOf(sum);
  if (!f || n == 0 || ColsOf(simplex) != n + 1 || RowsOf(simplex) < n || LengthOf(values) < n + 1 || high < 1 ||
      high > n + 1)
    return NAN;
  double *trial = Vector(n);
  if (LengthOf(trial) != n) {
    FreeVector(trial);
    return NAN;
  }
  const double f1 = (1.0 - factor) / n, f2 = f1 - factor;
  for (int32_t i = 1; i <= n; ++i) trial[i] = sum[i] * f1 - simplex[high][i] * f2;
  const double value = Finite(f(trial, params));
  if (value < values[high]) {
    values[high] = value;
    for (int32_t i = 1; i <= n; ++i) {
      sum[i] += trial[i] - simplex[high][i];
      simplex[high][i] = trial[i];
    }
  }
  FreeVector(trial);
  return value;
}

// Minimum of f by the downhill simplex of Nelder and Mead from start, the
// first simplex spanned by steps of `step` along the axes (0.01 when step is
// 0 or not finite). Stops when the relative spread of the vertex values
// falls below tol or after maxEvaluations calls of f. Returns the best vertex.
QVX_API double *Amoeba(ScalarFieldFn f, void *params, const double *start, double step, double tol,
                       int32_t maxEvaluations) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    const int32_t n = LengthOf(start);
    if (!f) return NaNVector(n);
    if (!(std::isfinite(step) && step != 0)) step = 0.01;
    if (!(tol > 0)) tol = 1e-12;
    std::vector<double> x0(start + 1, start + 1 + n), steps(n, step), scratch(n + 1);
    scratch[0] = n;
    auto g = [&](const std::vector<double> &x) {
      std::copy(x.begin(), x.end(), scratch.begin() + 1);
      return f(scratch.data(), params);
    };
    return CopyToVector(NelderMead(g, x0, steps, tol, std::max(maxEvaluations, n + 1)));
  });
}

// ---- one-dimensional minimisation ------------------------------------------------

// Golden-section search outward from a and b, with parabolic extrapolation
// limited to 100 times the last step, until f(b) lies below f(a) and f(c).
// Returns Vector(3) (a, b, c); NaNs when no bracket appears in 1000 steps.
QVX_API double *BracketMinimum(RealFnP f, void *params, double a, double b) noexcept {
  double *out = NaNVector(3);
  if (!f || LengthOf(out) != 3 || !std::isfinite(a) || !std::isfinite(b) || a == b) return out;
  double fa = Finite(f(a, params)), fb = Finite(f(b, params));
  if (fb > fa) {
    std::swap(a, b);
    std::swap(fa, fb);
  }
  double c = b + kGold * (b - a), fc = Finite(f(c, params));
  for (int iteration = 0; fb > fc; ++iteration) {
    if (iteration >= 1000 || !std::isfinite(c)) return out;
    const double r = (b - a) * (fb - fc), q = (b - c) * (fb - fa);
    double denominator = q - r;
    if (std::fabs(denominator) < kBracketTiny) denominator = denominator < 0 ? -kBracketTiny : kBracketTiny;
    double u = b - ((b - c) * q - (b - a) * r) / (2.0 * denominator);
    const double ulim = b + kGrowLimit * (c - b);
    double fu;
    if ((b - u) * (u - c) > 0.0) {
      fu = Finite(f(u, params));
      if (fu < fc) {
        a = b, b = u, fa = fb, fb = fu;
        break;
      } else if (fu > fb) {
        c = u, fc = fu;
        break;
      }
      u = c + kGold * (c - b);
      fu = Finite(f(u, params));
    } else if ((c - u) * (u - ulim) > 0.0) {
      fu = Finite(f(u, params));
      if (fu < fc) {
        b = c, c = u, u = c + kGold * (c - b);
        fb = fc, fc = fu, fu = Finite(f(u, params));
      }
    } else if ((u - ulim) * (ulim - c) >= 0.0) {
      u = ulim;
      fu = Finite(f(u, params));
    } else {
      u = c + kGold * (c - b);
      fu = Finite(f(u, params));
    }
    a = b, b = c, c = u;
    fa = fb, fb = fc, fc = fu;
  }
  if (!(fb <= fa && fb <= fc) || !std::isfinite(fb)) return out;
  out[1] = a, out[2] = b, out[3] = c;
  return out;
}

// Brent's method: parabolic interpolation guarded by golden sections, in
// the bracket (a, b, c) with b between the others. tol is relative (3e-8
// when not above 0); *xmin (may be null) receives the abscissa. Returns the
// minimum value, NaN for a null f or a non-finite bracket.
QVX_API double BrentMinimization(RealFnP f, void *params, double a, double b, double c, double tol,
                                 double *xmin) noexcept {
  if (xmin) *xmin = NAN;
  if (!f || !std::isfinite(a) || !std::isfinite(b) || !std::isfinite(c)) return NAN;
  if (!(tol > 0)) tol = kBrentTolerance;
  double lo = std::min(a, c), hi = std::max(a, c);
  double x = b, w = b, v = b, fx = Finite(f(x, params)), fw = fx, fv = fx;
  double d = 0.0, e = 0.0;
  for (int iteration = 0; iteration < 200; ++iteration) {
    const double xm = 0.5 * (lo + hi);
    const double tol1 = tol * std::fabs(x) + kBrentZeps, tol2 = 2.0 * tol1;
    if (std::fabs(x - xm) <= tol2 - 0.5 * (hi - lo)) break;
    if (std::fabs(e) > tol1) {
      double r = (x - w) * (fx - fv), q = (x - v) * (fx - fw), p = (x - v) * q - (x - w) * r;
      q = 2.0 * (q - r);
      if (q > 0.0) p = -p;
      q = std::fabs(q);
      const double etemp = e;
      e = d;
      if (std::fabs(p) >= std::fabs(0.5 * q * etemp) || p <= q * (lo - x) || p >= q * (hi - x)) {
        e = x >= xm ? lo - x : hi - x;
        d = kGoldenSection * e;
      } else {
        d = p / q;
        const double u = x + d;
        if (u - lo < tol2 || hi - u < tol2) d = std::copysign(tol1, xm - x);
      }
    } else {
      e = x >= xm ? lo - x : hi - x;
      d = kGoldenSection * e;
    }
    const double u = std::fabs(d) >= tol1 ? x + d : x + std::copysign(tol1, d);
    const double fu = Finite(f(u, params));
    if (fu <= fx) {
      if (u >= x) lo = x;
      else hi = x;
      v = w, w = x, x = u;
      fv = fw, fw = fx, fx = fu;
    } else {
      if (u < x) lo = u;
      else hi = u;
      if (fu <= fw || w == x) {
        v = w, w = u, fv = fw, fw = fu;
      } else if (fu <= fv || v == x || v == w) {
        v = u, fv = fu;
      }
    }
  }
  if (fx == HUGE_VAL) return NAN;  // f never gave a usable value
  if (xmin) *xmin = x;
  return fx;
}

// ---- roots -------------------------------------------------------------------------

// Bisection of a sign change of f between a and b down to |b - a| <= tol
// (down to neighbouring doubles when tol is not above 0). An end where f is
// 0 is returned as it is; NaN when f has the same sign at both ends.
QVX_API double Bisection(RealFnP f, void *params, double a, double b, double tol) noexcept {
  if (!f || !std::isfinite(a) || !std::isfinite(b)) return NAN;
  double fa = f(a, params), fb = f(b, params);
  if (fa == 0) return a;
  if (fb == 0) return b;
  if (!(fa * fb < 0)) return NAN;
  for (int iteration = 0; iteration < 2100; ++iteration) {
    const double m = 0.5 * (a + b);
    if (std::fabs(b - a) <= tol || m == a || m == b) return m;
    const double fm = f(m, params);
    if (fm == 0) return m;
    if (std::isnan(fm)) return NAN;
    if ((fm < 0) == (fa < 0)) {
      a = m, fa = fm;
    } else {
      b = m;
    }
  }
  return 0.5 * (a + b);
}

// All roots where f changes sign between neighbours of n + 1 equally spaced
// points from a to b, each refined by Bisection: a Vector, ascending.
QVX_API double *BisectionN(RealFnP f, void *params, double a, double b, int32_t n, double tol) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    if (!f || n < 1 || !std::isfinite(a) || !std::isfinite(b) || n > 100000000) return Vector(0);
    if (a > b) std::swap(a, b);
    std::vector<double> roots;
    const double h = (b - a) / n;
    double x0 = a, f0 = f(a, params);
    for (int32_t k = 1; k <= n; ++k) {
      const double x1 = k == n ? b : a + k * h, f1 = f(x1, params);
      if (f0 == 0) roots.push_back(x0);
      else if (f0 * f1 < 0) roots.push_back(Bisection(f, params, x0, x1, tol));
      if (k == n && f1 == 0) roots.push_back(x1);
      x0 = x1, f0 = f1;
    }
    return CopyToVector(roots);
  });
}

// Newton-Raphson from x0 until the step falls to tol (relative to
// max(1, |x|)); df may be null, then the derivative is a central difference.
// NaN when the derivative vanishes, a value is not finite, or 100 steps
// do not converge.
QVX_API double NewtonRaphson(RealFnP f, RealFnP df, void *params, double x0, double tol) noexcept {
  if (!f || !std::isfinite(x0)) return NAN;
  if (!(tol > 0)) tol = 1e-14;
  double x = x0;
  for (int iteration = 0; iteration < 100; ++iteration) {
    const double fx = f(x, params);
    if (fx == 0) return x;
    double slope;
    if (df) {
      slope = df(x, params);
    } else {
      const double h = 6e-6 * std::max(1.0, std::fabs(x));
      slope = (f(x + h, params) - f(x - h, params)) / (2 * h);
    }
    if (!std::isfinite(fx) || !std::isfinite(slope) || slope == 0) return NAN;
    const double step = fx / slope;
    x -= step;
    if (!std::isfinite(x)) return NAN;
    if (std::fabs(step) <= tol * std::max(1.0, std::fabs(x))) return x;
  }
  return NAN;
}

// Newton's method for the system f(x) = 0 (f maps a Vector to one of the
// same length) from x0, the Jacobian by forward differences, each step
// solved by Gaussian elimination with partial pivoting. Converges when the
// largest step is at most tol relative to max(1, |x|); NaNs otherwise.
QVX_API double *NewtonRaphsonN(VectorFieldFn f, void *params, const double *x0, double tol) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    const int32_t n = LengthOf(x0);
    if (!f || n == 0 || n > 4096) return NaNVector(n);
    if (!(tol > 0)) tol = 1e-12;
    std::vector<double> x(x0, x0 + n + 1), shifted(n + 1), fx(n + 1), fs(n + 1), jac(static_cast<size_t>(n) * n);
    for (int iteration = 0; iteration < 100; ++iteration) {
      fx[0] = n;
      f(x.data(), fx.data(), params);
      bool zero = true;
      for (int32_t i = 1; i <= n; ++i) {
        if (!std::isfinite(fx[i])) return NaNVector(n);
        zero = zero && fx[i] == 0;
      }
      if (zero) return CopyToVector(std::vector<double>(x.begin() + 1, x.end()));
      for (int32_t j = 1; j <= n; ++j) {
        shifted = x;
        const double h = 1.5e-8 * std::max(1.0, std::fabs(x[j]));
        shifted[j] += h;
        fs[0] = n;
        f(shifted.data(), fs.data(), params);
        for (int32_t i = 1; i <= n; ++i) jac[(i - 1) * n + (j - 1)] = (fs[i] - fx[i]) / h;
      }
      std::vector<double> rhs(n);
      for (int32_t i = 0; i < n; ++i) rhs[i] = -fx[i + 1];
      for (int32_t c = 0; c < n; ++c) {
        int32_t pivot = c;
        for (int32_t r = c + 1; r < n; ++r)
          if (std::fabs(jac[r * n + c]) > std::fabs(jac[pivot * n + c])) pivot = r;
        if (!(jac[pivot * n + c] != 0) || !std::isfinite(jac[pivot * n + c])) return NaNVector(n);
        for (int32_t k = 0; k < n; ++k) std::swap(jac[c * n + k], jac[pivot * n + k]);
        std::swap(rhs[c], rhs[pivot]);
        for (int32_t r = c + 1; r < n; ++r) {
          const double factor = jac[r * n + c] / jac[c * n + c];
          for (int32_t k = c; k < n; ++k) jac[r * n + k] -= factor * jac[c * n + k];
          rhs[r] -= factor * rhs[c];
        }
      }
      double largest = 0;
      for (int32_t r = n - 1; r >= 0; --r) {
        double s = rhs[r];
        for (int32_t k = r + 1; k < n; ++k) s -= jac[r * n + k] * rhs[k];
        rhs[r] = s / jac[r * n + r];
        x[r + 1] += rhs[r];
        largest = std::max(largest, std::fabs(rhs[r]) / std::max(1.0, std::fabs(x[r + 1])));
      }
      if (largest <= tol) return CopyToVector(std::vector<double>(x.begin() + 1, x.end()));
    }
    return NaNVector(n);
  });
}

// ---- simulated annealing ------------------------------------------------------------

// Minimisation by simulated annealing (Kirkpatrick, Gelatt and Vecchi): each
// step moves one coordinate, chosen at random, by up to +-step; a move uphill
// by dE is taken with the Metropolis probability exp(-dE / T). T falls
// geometrically from temperature to a thousandth of it over the iterations.
// Draws from the seed cell (a private one when null); returns the best point seen.
QVX_API double *SimulatedAnnealing(ScalarFieldFn f, void *params, const double *start, double step,
                                   double temperature, int32_t iterations, int32_t *seed) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    const int32_t n = LengthOf(start);
    if (!f) return NaNVector(n);
    if (n == 0 || iterations < 1 || !(step > 0) || !std::isfinite(step)) {
      std::vector<double> s(start ? start + 1 : nullptr, start ? start + 1 + n : nullptr);
      return CopyToVector(s);
    }
    if (!(temperature > 0) || !std::isfinite(temperature)) temperature = 1.0;
    int32_t own = -1;
    int32_t *cell = seed ? seed : &own;
    std::vector<double> x(start, start + n + 1), best = x;
    double fx = Finite(f(x.data(), params)), fbest = fx;
    const double cooling = std::pow(1e-3, 1.0 / iterations);
    double t = temperature;
    for (int32_t k = 0; k < iterations; ++k, t *= cooling) {
      const int32_t j = RandomInteger(1, n, cell);
      const double saved = x[j];
      x[j] += step * (2.0 * Ran2(cell) - 1.0);
      const double fnew = Finite(f(x.data(), params));
      if (fnew <= fx || Ran2(cell) < std::exp(-(fnew - fx) / t)) {
        fx = fnew;
        if (fx < fbest) {
          fbest = fx;
          best = x;
        }
      } else {
        x[j] = saved;
      }
    }
    return CopyToVector(std::vector<double>(best.begin() + 1, best.end()));
  });
}

}  // extern "C"
