// Ordinary differential equations: explicit Runge-Kutta steps (Euler,
// midpoint, classical fourth order, the embedded fifth-order Cash-Karp
// step), adaptive integration with the usual embedded-error step control,
// samplers, the Runge-Kutta-Nystrom step for y'' = g(t, y), Numerov's
// method and linear first-order equations.
//
// A right-hand side is f(t, y, dydt, params) over Vectors: y and dydt have
// their length in element 0 and data in 1..n, as every Vector of the
// toolkit. Every routine is written once for real and complex states (the
// template parameter T); the exported names pick the type.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/calculus/calculus.h"

namespace {

using namespace qvx::calculus;

inline double Magnitude(double x) { return std::fabs(x); }
inline double Magnitude(Complex z) { return std::hypot(z.re, z.im); }
inline bool Finite(double x) { return std::isfinite(x); }
inline bool Finite(Complex z) { return std::isfinite(z.re) && std::isfinite(z.im); }
inline double Plus(double a, double b) { return a + b; }
inline Complex Plus(Complex a, Complex b) { return Add(a, b); }
inline double Times(double a, double s) { return a * s; }
inline Complex Times(Complex a, double s) { return Scale(a, s); }
template <class T>
T LengthCell(int32_t n) {
  if constexpr (std::is_same_v<T, Complex>)
    return Complex{static_cast<double>(n), 0.0};
  else
    return static_cast<double>(n);
}

// A state vector in the container layout: element 0 holds the length.
template <class T>
struct State {
  std::vector<T> v;
  explicit State(int32_t n) : v(n + 1) { v[0] = LengthCell<T>(n); }
  int32_t size() const { return static_cast<int32_t>(v.size()) - 1; }
  T *data() { return v.data(); }
  const T *data() const { return v.data(); }
  T &operator[](int32_t i) { return v[i]; }
  const T &operator[](int32_t i) const { return v[i]; }
};

template <class T>
using Rhs = std::function<void(double, const T *, T *)>;

// out = y + h * sum_k c[k] * k_k, over the first `count` stages.
template <class T>
void Combine(const State<T> &y, double h, const std::vector<State<T>> &k, const double *c, int count,
             State<T> &out) {
  for (int32_t i = 1; i <= y.size(); ++i) {
    T s = y[i];
    for (int j = 0; j < count; ++j)
      if (c[j] != 0.0) s = Plus(s, Times(k[j][i], h * c[j]));
    out[i] = s;
  }
}

// Stage derivatives and scratch of an explicit Runge-Kutta step, kept
// between the steps of an integration so that no step allocates.
template <class T>
struct Stages {
  std::vector<State<T>> k;
  State<T> tmp;
  Stages(int stages, int32_t n) : k(stages, State<T>(n)), tmp(n) {}
};

// Explicit Runge-Kutta step of a Butcher tableau with `stages` stages:
// nodes c, matrix a (row-major, stages x stages), weights b. When e is
// given, err receives h * sum e_j k_j (the embedded error estimate). With
// firstKnown, work.k[0] already holds f(t, y).
template <class T>
void TableauStep(const Rhs<T> &f, double t, const State<T> &y, double h, int stages, const double *c,
                 const double *a, const double *b, const double *e, State<T> &out, State<T> *err,
                 Stages<T> &work, bool firstKnown = false) {
  const int32_t n = y.size();
  auto &k = work.k;
  for (int s = firstKnown ? 1 : 0; s < stages; ++s) {
    Combine(y, h, k, a + s * stages, s, work.tmp);
    f(t + c[s] * h, work.tmp.data(), k[s].data());
  }
  Combine(y, h, k, b, stages, out);
  if (err) {
    for (int32_t i = 1; i <= n; ++i) {
      T s{};
      for (int j = 0; j < stages; ++j)
        if (e[j] != 0.0) s = Plus(s, Times(k[j][i], h * e[j]));
      (*err)[i] = s;
    }
  }
}

template <class T>
void TableauStep(const Rhs<T> &f, double t, const State<T> &y, double h, int stages, const double *c,
                 const double *a, const double *b, const double *e, State<T> &out, State<T> *err) {
  Stages<T> work(stages, y.size());
  TableauStep(f, t, y, h, stages, c, a, b, e, out, err, work);
}

constexpr double kEulerC[1] = {0.0}, kEulerA[1] = {0.0}, kEulerB[1] = {1.0};
constexpr double kMidC[2] = {0.0, 0.5}, kMidA[4] = {0, 0, 0.5, 0}, kMidB[2] = {0.0, 1.0};
constexpr double kRk4C[4] = {0.0, 0.5, 0.5, 1.0};
constexpr double kRk4A[16] = {0, 0, 0, 0, 0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1.0, 0};
constexpr double kRk4B[4] = {1.0 / 6.0, 1.0 / 3.0, 1.0 / 3.0, 1.0 / 6.0};

// The Cash-Karp tableau (J. R. Cash, A. H. Karp, 1990): fifth-order weights
// kCkB and the difference to the embedded fourth-order ones in kCkE.
constexpr double kCkC[6] = {0.0, 0.2, 0.3, 0.6, 1.0, 0.875};
constexpr double kCkA[36] = {
    0, 0, 0, 0, 0, 0,
    0.2, 0, 0, 0, 0, 0,
    3.0 / 40.0, 9.0 / 40.0, 0, 0, 0, 0,
    0.3, -0.9, 1.2, 0, 0, 0,
    -11.0 / 54.0, 2.5, -70.0 / 27.0, 35.0 / 27.0, 0, 0,
    1631.0 / 55296.0, 175.0 / 512.0, 575.0 / 13824.0, 44275.0 / 110592.0, 253.0 / 4096.0, 0};
constexpr double kCkB[6] = {37.0 / 378.0, 0.0, 250.0 / 621.0, 125.0 / 594.0, 0.0, 512.0 / 1771.0};
constexpr double kCkE[6] = {37.0 / 378.0 - 2825.0 / 27648.0, 0.0, 250.0 / 621.0 - 18575.0 / 48384.0,
                            125.0 / 594.0 - 13525.0 / 55296.0, -277.0 / 14336.0, 512.0 / 1771.0 - 0.25};

template <class T>
State<T> FromVector(const T *y) {
  State<T> s(Len(y));
  for (int32_t i = 1; i <= s.size(); ++i) s[i] = y[i];
  return s;
}

template <class T>
T *NewVector(int32_t n);
template <>
double *NewVector<double>(int32_t n) { return Vector(n); }
template <>
Complex *NewVector<Complex>(int32_t n) { return VectorC(n); }

// The fall-back of a Vector-returning export: a valid vector of length 0.
template <class T>
T *OrEmpty(T *v) {
  return v ? v : NewVector<T>(0);
}

template <class T>
T *ToVector(const State<T> &s) {
  T *out = NewVector<T>(s.size());
  if (Len(out) == s.size())
    for (int32_t i = 1; i <= s.size(); ++i) out[i] = s[i];
  return out;
}

// One step of a fixed tableau as an exported function: a new Vector.
template <class T, class F>
T *SingleStep(F f, void *params, double t, const T *y, double h, int stages, const double *c, const double *a,
              const double *b) {
  const int32_t n = Len(y);
  if (!f || n == 0) return NewVector<T>(0);
  return OrEmpty(qvx::Guard(static_cast<T *>(nullptr), [&] {
           Rhs<T> rhs = [f, params](double tt, const T *yy, T *d) { f(tt, yy, d, params); };
           State<T> y0 = FromVector(y), out(n);
           TableauStep(rhs, t, y0, h, stages, c, a, b, static_cast<const double *>(nullptr), out,
                       static_cast<State<T> *>(nullptr));
           return ToVector(out);
         }));
}

// One Cash-Karp step with its embedded error estimate, written into as
// much of error as there is room for.
template <class T, class F>
T *CashKarpStep(F f, void *params, double t, const T *y, double h, T *error) {
  const int32_t n = Len(y);
  if (!f || n == 0) return NewVector<T>(0);
  return OrEmpty(qvx::Guard(static_cast<T *>(nullptr), [&] {
           Rhs<T> rhs = [f, params](double tt, const T *yy, T *d) { f(tt, yy, d, params); };
           State<T> y0 = FromVector(y), out(n), err(n);
           TableauStep(rhs, t, y0, h, 6, kCkC, kCkA, kCkB, kCkE, out, &err);
           const int32_t m = std::min(Len(error), n);
           for (int32_t i = 1; i <= m; ++i) error[i] = err[i];
           return ToVector(out);
         }));
}

// Adaptive integration of y from t to t1 with Cash-Karp steps. Step
// control: safety 0.9, shrink by error^-1/4 to at most a
// tenth, grow by error^-1/5 to at most five times. The error of each
// component is measured against |y| + |h y'| + 1e-30. visit(t, y) is called
// after every accepted step; h carries the step size between calls. Returns
// false when the integration cannot go on (step underflow, a non-finite
// value, or a step budget exhausted); t and y hold the last good point.
template <class T, class Visit>
bool Adaptive(const Rhs<T> &f, double &t, State<T> &y, double t1, double tol, double &h, Visit visit) {
  const int32_t n = y.size();
  if (!std::isfinite(t) || !std::isfinite(t1)) return false;
  if (!(tol > 0.0)) tol = 1e-8;
  const double direction = t1 >= t ? 1.0 : -1.0;
  if (!(std::fabs(h) > 0.0) || !std::isfinite(h)) h = 0.01 * (t1 - t);
  h = direction * std::fabs(h);
  State<T> trial(n), err(n);
  Stages<T> work(6, n);
  const State<T> &dydt = work.k[0];  // f(t, y), shared by every trial of a step
  for (long steps = 0; steps < 10000000L; ++steps) {
    if ((t1 - t) * direction <= 0.0) return true;
    if ((t + h - t1) * direction > 0.0) h = t1 - t;
    f(t, y.data(), work.k[0].data());
    for (;;) {
      TableauStep(f, t, y, h, 6, kCkC, kCkA, kCkB, kCkE, trial, &err, work, true);
      double worst = 0.0;
      bool finite = true;
      for (int32_t i = 1; i <= n; ++i) {
        const double scale = Magnitude(y[i]) + Magnitude(Times(dydt[i], h)) + 1e-30;
        const double e = Magnitude(err[i]) / scale;
        if (!Finite(trial[i]) || std::isnan(e)) finite = false;
        worst = std::max(worst, e);
      }
      worst /= tol;
      if (finite && worst <= 1.0) {
        const double next = worst > 1.89e-4 ? 0.9 * h * std::pow(worst, -0.2) : 5.0 * h;
        t = (t + h - t1) * direction >= 0.0 ? t1 : t + h;
        std::swap(y.v, trial.v);
        visit(t, y);
        h = next;
        break;
      }
      const double shrunk = finite ? 0.9 * h * std::pow(worst, -0.25) : 0.1 * h;
      h = direction * std::max(std::fabs(shrunk), 0.1 * std::fabs(h));
      if (t + h == t) return false;
    }
  }
  return false;
}

template <class T, class F>
T *Integrate(F f, void *params, double t0, double t1, const T *y0, double tol) {
  if (!f || Len(y0) == 0 || std::isnan(t0) || std::isnan(t1)) return NewVector<T>(0);
  return OrEmpty(qvx::Guard(static_cast<T *>(nullptr), [&] {
           Rhs<T> rhs = [f, params](double tt, const T *yy, T *d) { f(tt, yy, d, params); };
           State<T> y = FromVector(y0);
           double t = t0, h = 0.0;
           Adaptive(rhs, t, y, t1, tol, h, [](double, const State<T> &) {});
           return ToVector(y);
         }));
}

template <class T>
T **NewMatrix(int32_t cols, int32_t rows);
template <>
double **NewMatrix<double>(int32_t cols, int32_t rows) { return Matrix(cols, rows); }
template <>
Complex **NewMatrix<Complex>(int32_t cols, int32_t rows) { return MatrixC(cols, rows); }

template <class T>
int32_t MatrixRows(T **m) {
  return Cols(m) >= 1 && m[1] ? Len(m[1]) : 0;
}

// Samples at evenly spaced times: column 1 the times, column 1 + k component
// k. After a failure the remaining rows repeat the last good state.
template <class T, class F>
T **Sample(F f, void *params, double t0, double t1, const T *y0, int32_t samples, double tol) {
  const int32_t n = Len(y0);
  if (!f || n == 0 || samples < 1) return NewMatrix<T>(n + 1, 0);
  T **out = NewMatrix<T>(n + 1, samples);
  if (MatrixRows(out) != samples || Cols(out) != n + 1) return out;
  const bool ok = qvx::Guard(false, [&] {
    Rhs<T> rhs = [f, params](double tt, const T *yy, T *d) { f(tt, yy, d, params); };
    State<T> y = FromVector(y0);
    double t = t0, h = 0.0;
    bool going = true;
    for (int32_t s = 1; s <= samples; ++s) {
      const double target = samples == 1 ? t0 : s == samples ? t1 : t0 + (t1 - t0) * (s - 1) / (samples - 1);
      if (going && s > 1) going = Adaptive(rhs, t, y, target, tol, h, [](double, const State<T> &) {});
      out[1][s] = Times(LengthCell<T>(1), target);
      for (int32_t k = 1; k <= n; ++k) out[k + 1][s] = y[k];
    }
    return true;
  });
  if (!ok) {
    if constexpr (std::is_same_v<T, Complex>)
      FreeMatrixC(out);
    else
      FreeMatrix(out);
    return NewMatrix<T>(n + 1, 0);
  }
  return out;
}

// Running integral of f from a to b at the adaptive steps (a 1D set).
template <class T, class F>
T **RunningIntegral(F f, void *params, double a, double b, double tol) {
  if (!f || std::isnan(a) || std::isnan(b)) return NewMatrix<T>(2, 0);
  std::vector<double> xs;
  std::vector<T> ys;
  const bool ok = qvx::Guard(false, [&] {
    Rhs<T> rhs = [f, params](double x, const T *, T *d) { d[1] = f(x, params); };
    State<T> y(1);
    y[1] = T{};
    double t = a, h = 0.0;
    xs.push_back(a);
    ys.push_back(y[1]);
    if (a != b)
      Adaptive(rhs, t, y, b, tol, h, [&](double x, const State<T> &s) {
        xs.push_back(x);
        ys.push_back(s[1]);
      });
    return true;
  });
  const int32_t m = ok ? static_cast<int32_t>(xs.size()) : 0;
  T **out = NewMatrix<T>(2, m);
  if (MatrixRows(out) != m || Len(out[2]) != m) return out;
  for (int32_t i = 1; i <= m; ++i) {
    if constexpr (std::is_same_v<T, Complex>)
      out[1][i] = Complex{xs[i - 1], 0.0};
    else
      out[1][i] = xs[i - 1];
    out[2][i] = ys[i - 1];
  }
  return out;
}

// y' = p(x) y + q(x) sampled at n points: adaptive Cash-Karp steps from
// sample to sample, to a tolerance of 1e-12 per step.
template <class T, class P>
T **LinearFirstOrder(P p, P q, double x0, double x1, T y0, int32_t n) {
  T **out = NewMatrix<T>(2, !p || !q || n < 1 ? 0 : n);
  const int32_t m = MatrixRows(out);
  if (m == 0 || Len(out[2]) != m) return out;
  qvx::GuardVoid([&] {
    Rhs<T> rhs = [p, q](double x, const T *y, T *d) {
      if constexpr (std::is_same_v<T, Complex>)
        d[1] = Add(MulFour(p(x), y[1]), q(x));
      else
        d[1] = p(x) * y[1] + q(x);
    };
    State<T> y(1);
    y[1] = y0;
    double t = x0, h = 0.0;
    bool going = true;
    for (int32_t i = 1; i <= m; ++i) {
      const double x = i == m && m > 1 ? x1 : x0 + (x1 - x0) * (i - 1) / (m > 1 ? m - 1 : 1);
      if (going && i > 1) going = Adaptive(rhs, t, y, x, 1e-12, h, [](double, const State<T> &) {});
      out[1][i] = Times(LengthCell<T>(1), x);
      out[2][i] = y[1];
    }
  });
  return out;
}

}  // namespace

extern "C" {

QVX_API double *RK1(OdeFn f, void *params, double t, const double *y, double h) noexcept {
  return SingleStep<double>(f, params, t, y, h, 1, kEulerC, kEulerA, kEulerB);
}

QVX_API double *RK2(OdeFn f, void *params, double t, const double *y, double h) noexcept {
  return SingleStep<double>(f, params, t, y, h, 2, kMidC, kMidA, kMidB);
}

QVX_API double *RungeKuttaStep(OdeFn f, void *params, double t, const double *y, double h) noexcept {
  return SingleStep<double>(f, params, t, y, h, 4, kRk4C, kRk4A, kRk4B);
}

QVX_API Complex *RungeKuttaStepC(OdeFnC f, void *params, double t, const Complex *y, double h) noexcept {
  return SingleStep<Complex>(f, params, t, y, h, 4, kRk4C, kRk4A, kRk4B);
}

QVX_API double *RungeKuttaCashKarp(OdeFn f, void *params, double t, const double *y, double h,
                                   double *error) noexcept {
  return CashKarpStep(f, params, t, y, h, error);
}

QVX_API Complex *RungeKuttaCashKarpC(OdeFnC f, void *params, double t, const Complex *y, double h,
                                     Complex *error) noexcept {
  return CashKarpStep(f, params, t, y, h, error);
}

QVX_API double **RKN(OdeFn g, void *params, double t, const double *y, const double *v, double h) noexcept {
  const int32_t n = std::min(Len(y), Len(v));
  double **out = Matrix(2, g ? n : 0);
  if (Rows(out) != n || !g || n == 0) return out;
  const bool ok = qvx::Guard(false, [&] {
    // Classical fourth-order Runge-Kutta-Nystrom step (Nystrom 1925):
    // three evaluations of the acceleration.
    State<double> y0 = FromVector(y), k1(n), k2(n), k3(n), tmp(n);
    g(t, y0.data(), k1.data(), params);
    for (int32_t i = 1; i <= n; ++i) tmp[i] = y0[i] + 0.5 * h * v[i] + 0.125 * h * h * k1[i];
    g(t + 0.5 * h, tmp.data(), k2.data(), params);
    for (int32_t i = 1; i <= n; ++i) tmp[i] = y0[i] + h * v[i] + 0.5 * h * h * k2[i];
    g(t + h, tmp.data(), k3.data(), params);
    for (int32_t i = 1; i <= n; ++i) {
      out[1][i] = y0[i] + h * v[i] + h * h / 6.0 * (k1[i] + 2.0 * k2[i]);
      out[2][i] = v[i] + h / 6.0 * (k1[i] + 4.0 * k2[i] + k3[i]);
    }
    return true;
  });
  if (!ok) {
    FreeMatrix(out);
    return Matrix(2, 0);
  }
  return out;
}

QVX_API double **RungeKuttaN(OdeFn f, void *params, double t0, double t1, const double *y0,
                             int32_t steps) noexcept {
  const int32_t n = Len(y0);
  if (!f || n == 0 || steps < 0) return Matrix(n + 1, 0);
  double **out = Matrix(n + 1, steps + 1);
  if (Rows(out) != steps + 1 || Cols(out) != n + 1) return out;
  const bool ok = qvx::Guard(false, [&] {
    Rhs<double> rhs = [f, params](double tt, const double *yy, double *d) { f(tt, yy, d, params); };
    State<double> y = FromVector(y0), next(n);
    Stages<double> work(4, n);
    const double h = steps > 0 ? (t1 - t0) / steps : 0.0;
    for (int32_t s = 0; s <= steps; ++s) {
      const double t = s == steps ? t1 : t0 + s * h;
      out[1][s + 1] = t;
      for (int32_t k = 1; k <= n; ++k) out[k + 1][s + 1] = y[k];
      if (s == steps) break;
      TableauStep(rhs, t, y, h, 4, kRk4C, kRk4A, kRk4B, nullptr, next, static_cast<State<double> *>(nullptr), work);
      y = next;
    }
    return true;
  });
  if (!ok) {
    FreeMatrix(out);
    return Matrix(n + 1, 0);
  }
  return out;
}

QVX_API double *RungeKutta(OdeFn f, void *params, double t0, double t1, const double *y0,
                           int32_t steps) noexcept {
  const int32_t n = Len(y0);
  if (!f || n == 0) return Vector(0);
  if (steps < 1) steps = 1;
  return OrEmpty(qvx::Guard(static_cast<double *>(nullptr), [&] {
           Rhs<double> rhs = [f, params](double tt, const double *yy, double *d) { f(tt, yy, d, params); };
           State<double> y = FromVector(y0), next(n);
           Stages<double> work(4, n);
           const double h = (t1 - t0) / steps;
           for (int32_t s = 0; s < steps; ++s) {
             TableauStep(rhs, t0 + s * h, y, h, 4, kRk4C, kRk4A, kRk4B, nullptr, next,
                         static_cast<State<double> *>(nullptr), work);
             y = next;
           }
           return ToVector(y);
         }));
}

QVX_API double *RungeKuttaIntegrator(OdeFn f, void *params, double t0, double t1, const double *y0,
                                     double tol) noexcept {
  return Integrate<double>(f, params, t0, t1, y0, tol);
}

QVX_API Complex *RungeKuttaIntegratorC(OdeFnC f, void *params, double t0, double t1, const Complex *y0,
                                       double tol) noexcept {
  return Integrate<Complex>(f, params, t0, t1, y0, tol);
}

QVX_API double **RungeKuttaSampler(OdeFn f, void *params, double t0, double t1, const double *y0,
                                   int32_t samples, double tol) noexcept {
  return Sample<double>(f, params, t0, t1, y0, samples, tol);
}

QVX_API Complex **RungeKuttaSamplerC(OdeFnC f, void *params, double t0, double t1, const Complex *y0,
                                     int32_t samples, double tol) noexcept {
  return Sample<Complex>(f, params, t0, t1, y0, samples, tol);
}

QVX_API double **RungeKuttaIntegral1D(RealFnP f, void *params, double a, double b, double tol) noexcept {
  return RunningIntegral<double>(f, params, a, b, tol);
}

QVX_API Complex **RungeKuttaIntegral1DC(ComplexFnP f, void *params, double a, double b, double tol) noexcept {
  return RunningIntegral<Complex>(f, params, a, b, tol);
}

QVX_API double *NumerovIntegrator(RealFnP g, RealFnP s, void *params, double x0, double h, int32_t n, double y0,
                                  double y1) noexcept {
  double *y = Vector(!g || n < 0 ? 0 : n);
  const int32_t m = Len(y);
  if (m >= 1) y[1] = y0;
  if (m >= 2) y[2] = y1;
  if (m < 3) return y;
  // Numerov's method: with c = h^2 / 12,
  //   (1 + c g[i+1]) y[i+1] = 2 (1 - 5 c g[i]) y[i] - (1 + c g[i-1]) y[i-1]
  //                           + c (s[i+1] + 10 s[i] + s[i-1]),
  // that is y[i](2 - 5 h^2 g[i] / 6) on the right: sixth-order local error.
  const double c = h * h / 12.0;
  double gPrev = g(x0, params), gCur = g(x0 + h, params);
  double sPrev = s ? s(x0, params) : 0.0, sCur = s ? s(x0 + h, params) : 0.0;
  for (int32_t i = 2; i < m; ++i) {
    const double x = x0 + i * h;
    const double gNext = g(x, params), sNext = s ? s(x, params) : 0.0;
    y[i + 1] = (y[i] * (2.0 - 10.0 * c * gCur) - y[i - 1] * (1.0 + c * gPrev) + c * (sNext + 10.0 * sCur + sPrev)) /
               (1.0 + c * gNext);
    gPrev = gCur;
    gCur = gNext;
    sPrev = sCur;
    sCur = sNext;
  }
  return y;
}

QVX_API double **LODE1(RealFn p, RealFn q, double x0, double x1, double y0, int32_t n) noexcept {
  return LinearFirstOrder<double>(p, q, x0, x1, y0, n);
}

QVX_API Complex **LODE1C(ComplexFn p, ComplexFn q, double x0, double x1, Complex y0, int32_t n) noexcept {
  return LinearFirstOrder<Complex>(p, q, x0, x1, y0, n);
}

}  // extern "C"
