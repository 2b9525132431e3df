// Quadrature, ODE integration and complex roots against a reference library
// on the same machine, same problems and tolerances side by side:
//   Gauss-Legendre, 64 nodes: building the rule and integrating e^{-x^2} cos 3x;
//   adaptive quadrature of the same integrand on [-3, 3] to 1e-10;
//   adaptive Simpson against the reference's non-adaptive Gauss-Kronrod ladder;
//   the harmonic oscillator over t in [0, 100] with Cash-Karp steps, relative
//   tolerance 1e-10 measured against |y| + |h y'|;
//   the 20 twentieth roots of a complex number (the reference solves z^20 = c
//   as a polynomial, a much harder problem: the ratio shows what the closed
//   form saves).
#include <benchmark/benchmark.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_integration.h>
#include <gsl/gsl_odeiv2.h>
#include <gsl/gsl_poly.h>

#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

double Smooth(double x) { return std::exp(-x * x) * std::cos(3 * x); }
double SmoothP(double x, void *) { return Smooth(x); }

void BM_GaussLegendre64(benchmark::State &state) {
  for (auto _ : state) {
    double **g = GaussLegendre(64);
    double s = 0;
    for (int i = 1; i <= 64; ++i) s += g[2][i] * Smooth(3 * g[1][i]);
    benchmark::DoNotOptimize(s * 3);
    FreeMatrix(g);
  }
}
BENCHMARK(BM_GaussLegendre64);

void BM_GaussLegendre64_Ref(benchmark::State &state) {
  gsl_function f{SmoothP, nullptr};
  for (auto _ : state) {
    gsl_integration_glfixed_table *t = gsl_integration_glfixed_table_alloc(64);
    benchmark::DoNotOptimize(gsl_integration_glfixed(&f, -3, 3, t));
    gsl_integration_glfixed_table_free(t);
  }
}
BENCHMARK(BM_GaussLegendre64_Ref);

void BM_AdaptiveKronrod(benchmark::State &state) {
  for (auto _ : state) benchmark::DoNotOptimize(Integral(Smooth, -3, 3, 1e-10));
}
BENCHMARK(BM_AdaptiveKronrod);

void BM_AdaptiveKronrod_Ref(benchmark::State &state) {
  gsl_set_error_handler_off();
  gsl_function f{SmoothP, nullptr};
  gsl_integration_workspace *w = gsl_integration_workspace_alloc(2000);
  double r, e;
  for (auto _ : state) {
    gsl_integration_qag(&f, -3, 3, 1e-10, 1e-10, 2000, GSL_INTEG_GAUSS15, w, &r, &e);
    benchmark::DoNotOptimize(r);
  }
  gsl_integration_workspace_free(w);
}
BENCHMARK(BM_AdaptiveKronrod_Ref);

void BM_SimpsonAdaptive(benchmark::State &state) {
  for (auto _ : state) benchmark::DoNotOptimize(SimpsonIntegralAdaptive(Smooth, -3, 3, 1e-10));
}
BENCHMARK(BM_SimpsonAdaptive);

void BM_SimpsonAdaptive_Ref(benchmark::State &state) {
  gsl_set_error_handler_off();
  gsl_function f{SmoothP, nullptr};
  double r, e;
  size_t n;
  for (auto _ : state) {
    gsl_integration_qng(&f, -3, 3, 1e-10, 1e-10, &r, &e, &n);
    benchmark::DoNotOptimize(r);
  }
}
BENCHMARK(BM_SimpsonAdaptive_Ref);

void Oscillator(double, const double *y, double *d, void *) {
  d[1] = y[2];
  d[2] = -y[1];
}

void BM_CashKarpOscillator(benchmark::State &state) {
  double *y0 = Vector(2);
  y0[1] = 1;
  y0[2] = 0;
  for (auto _ : state) {
    double *y = RungeKuttaIntegrator(Oscillator, nullptr, 0, 100, y0, 1e-10);
    benchmark::DoNotOptimize(y[1]);
    FreeVector(y);
  }
  FreeVector(y0);
}
BENCHMARK(BM_CashKarpOscillator);

int OscillatorRef(double, const double y[], double d[], void *) {
  d[0] = y[1];
  d[1] = -y[0];
  return GSL_SUCCESS;
}

void BM_CashKarpOscillator_Ref(benchmark::State &state) {
  gsl_odeiv2_system sys{OscillatorRef, nullptr, 2, nullptr};
  for (auto _ : state) {
    gsl_odeiv2_driver *d = gsl_odeiv2_driver_alloc_standard_new(&sys, gsl_odeiv2_step_rkck, 1e-2, 0, 1e-10, 1, 1);
    double t = 0, y[2] = {1, 0};
    gsl_odeiv2_driver_apply(d, &t, 100, y);
    benchmark::DoNotOptimize(y[0]);
    gsl_odeiv2_driver_free(d);
  }
}
BENCHMARK(BM_CashKarpOscillator_Ref);

void BM_ComplexRoots20(benchmark::State &state) {
  for (auto _ : state) {
    Complex *r = ComplexRoots(Complex{-3, 4}, 20);
    benchmark::DoNotOptimize(r[20].re);
    FreeVectorC(r);
  }
}
BENCHMARK(BM_ComplexRoots20);

void BM_ComplexRoots20_Ref(benchmark::State &state) {
  std::vector<double> a(21, 0.0), z(40);
  a[0] = 5;  // z^20 = -5
  a[20] = 1;
  for (auto _ : state) {
    gsl_poly_complex_workspace *w = gsl_poly_complex_workspace_alloc(21);
    gsl_poly_complex_solve(a.data(), 21, w, z.data());
    benchmark::DoNotOptimize(z[0]);
    gsl_poly_complex_workspace_free(w);
  }
}
BENCHMARK(BM_ComplexRoots20_Ref);

}  // namespace
