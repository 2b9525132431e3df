// Cost of the fitting members that run over whole data sets, and of the
// sieve and low-discrepancy generators that callers ask for in bulk.
//
//   PolyFit/n           least-squares quintic through n points (Householder QR)
//   SavitzkyGolay/n     quadratic smoothing, half width 5, over n samples
//   GaussianFit/n       peak fit by the downhill simplex, n points
//   NaiveNormalFit/n    reference: the same quintic by normal equations
//                       (faster, but loses half the digits on wide abscissas)
//   PrimeCount/x        pi(x) by the floor(x/k) recursion
//   Niederreiter/n      n points in 8 dimensions
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

double **Peak(int n) {
  double **s = Matrix(2, n);
  int32_t seed = -3;
  for (int i = 1; i <= n; ++i) {
    s[1][i] = -5 + 10.0 * (i - 1) / (n - 1);
    s[2][i] = 0.5 + 2 * std::exp(-0.5 * std::pow((s[1][i] - 0.3) / 1.1, 2)) + 0.01 * BoxMuller1(&seed);
  }
  return s;
}

void BM_PolyFit(benchmark::State &state) {
  double **s = Peak(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    double *c = PolyFit(s[1], s[2], 5);
    benchmark::DoNotOptimize(c[1]);
    FreeVector(c);
  }
  FreeMatrix(s);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PolyFit)->Arg(100)->Arg(10000);

// Normal equations X'X c = X'y solved by Gaussian elimination: the
// textbook shortcut that QR is weighed against.
void BM_NaiveNormalFit(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0)), p = 6;
  double **s = Peak(n);
  for (auto _ : state) {
    std::vector<double> a(p * p, 0.0), b(p, 0.0);
    for (int i = 1; i <= n; ++i) {
      double powers[2 * p];
      powers[0] = 1;
      for (int k = 1; k < 2 * p; ++k) powers[k] = powers[k - 1] * s[1][i];
      for (int r = 0; r < p; ++r) {
        b[r] += powers[r] * s[2][i];
        for (int c = 0; c < p; ++c) a[r * p + c] += powers[r + c];
      }
    }
    for (int c = 0; c < p; ++c)
      for (int r = c + 1; r < p; ++r) {
        const double f = a[r * p + c] / a[c * p + c];
        for (int k = c; k < p; ++k) a[r * p + k] -= f * a[c * p + k];
        b[r] -= f * b[c];
      }
    benchmark::DoNotOptimize(b.data());
  }
  FreeMatrix(s);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_NaiveNormalFit)->Arg(100)->Arg(10000);

void BM_SavitzkyGolay(benchmark::State &state) {
  double **s = Peak(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    double *v = SavitzkyGolay(s[2], 5, 2);
    benchmark::DoNotOptimize(v[1]);
    FreeVector(v);
  }
  FreeMatrix(s);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SavitzkyGolay)->Arg(1000)->Arg(100000);

void BM_GaussianFit(benchmark::State &state) {
  double **s = Peak(static_cast<int>(state.range(0)));
  for (auto _ : state) FreeString(GaussianFit(s));
  FreeMatrix(s);
}
BENCHMARK(BM_GaussianFit)->Arg(50)->Arg(1000)->Unit(benchmark::kMillisecond);

void BM_PrimeCount(benchmark::State &state) {
  const double x = std::pow(10.0, static_cast<double>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(PrimeCount(x));
}
BENCHMARK(BM_PrimeCount)->Arg(9)->Arg(11)->Unit(benchmark::kMillisecond);

void BM_Niederreiter(benchmark::State &state) {
  for (auto _ : state) {
    double **m = Niederreiter(8, static_cast<int32_t>(state.range(0)));
    benchmark::DoNotOptimize(m[1][1]);
    FreeMatrix(m);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Niederreiter)->Arg(100000);

}  // namespace
