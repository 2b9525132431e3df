// The resampling paths other families lean on: straight lines through a
// set at many abscissas (with a bare std::upper_bound loop as the floor to
// compare with), the natural spline at many abscissas, the vector
// resampling the Fourier family uses to reach a power of two, and the
// smoothing spline, whose banded solve must stay linear in n.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

double **MakeSet(int n) {
  double **s = Matrix(2, n);
  for (int i = 1; i <= n; ++i) {
    const double x = i + 0.3 * std::sin(i);
    s[1][i] = x;
    s[2][i] = std::cos(0.01 * x);
  }
  return s;
}

double *Abscissas(double **s, int m) {
  const int n = static_cast<int>(s[1][0]);
  double *x = Vector(m);
  for (int k = 1; k <= m; ++k) x[k] = s[1][1] + (s[1][n] - s[1][1]) * (k - 1.0) / (m - 1);
  return x;
}

void BM_LinearPts(benchmark::State &state) {
  double **s = MakeSet(static_cast<int>(state.range(0)));
  double *x = Abscissas(s, 100000);
  for (auto _ : state) {
    double **out = LinearInterpolationPts1D(s, x);
    benchmark::DoNotOptimize(out[2][7]);
    FreeMatrix(out);
  }
  state.SetItemsProcessed(state.iterations() * 100000);
  FreeVector(x);
  FreeMatrix(s);
}
BENCHMARK(BM_LinearPts)->Arg(1000)->Arg(100000);

void BM_LinearPtsReference(benchmark::State &state) {
  double **s = MakeSet(static_cast<int>(state.range(0)));
  double *x = Abscissas(s, 100000);
  const int n = static_cast<int>(s[1][0]);
  std::vector<double> out(100000);
  for (auto _ : state) {
    for (int k = 1; k <= 100000; ++k) {
      const double t = x[k];
      int i = static_cast<int>(std::upper_bound(s[1] + 1, s[1] + n + 1, t) - (s[1] + 1));
      i = std::clamp(i, 1, n - 1);
      out[k - 1] = s[2][i] + (t - s[1][i]) * (s[2][i + 1] - s[2][i]) / (s[1][i + 1] - s[1][i]);
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * 100000);
  FreeVector(x);
  FreeMatrix(s);
}
BENCHMARK(BM_LinearPtsReference)->Arg(1000)->Arg(100000);

void BM_SplinePts(benchmark::State &state) {
  double **s = MakeSet(static_cast<int>(state.range(0)));
  double *x = Abscissas(s, 100000);
  for (auto _ : state) {
    double **out = SplineInterpolationPts(s, x);
    benchmark::DoNotOptimize(out[2][7]);
    FreeMatrix(out);
  }
  state.SetItemsProcessed(state.iterations() * 100000);
  FreeVector(x);
  FreeMatrix(s);
}
BENCHMARK(BM_SplinePts)->Arg(1000)->Arg(100000);

void BM_LinearInterpolationVC(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  Complex *v = VectorC(n);
  for (int i = 1; i <= n; ++i) v[i] = {std::cos(0.1 * i), std::sin(0.1 * i)};
  int target = 1;
  while (target < n) target *= 2;
  for (auto _ : state) {
    Complex *out = LinearInterpolationVC(v, target);
    benchmark::DoNotOptimize(out[1]);
    FreeVectorC(out);
  }
  state.SetItemsProcessed(state.iterations() * target);
  FreeVectorC(v);
}
BENCHMARK(BM_LinearInterpolationVC)->Arg(1000)->Arg(100000);

void BM_SmoothSpline(benchmark::State &state) {
  double **s = MakeSet(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    double **out = SmoothSpline(s, 10.0);
    benchmark::DoNotOptimize(out[2][1]);
    FreeMatrix(out);
  }
  state.SetComplexityN(state.range(0));
  FreeMatrix(s);
}
BENCHMARK(BM_SmoothSpline)->Arg(1000)->Arg(10000)->Arg(100000)->Complexity(benchmark::oN);

}  // namespace
