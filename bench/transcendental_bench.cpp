// Special functions against a reference library on the same machine: each
// benchmark runs 10^6 evaluations over a fixed grid of orders 0..20 and
// arguments 0.01..50 (Bessel J) or 0.01..1e4 (log gamma).
#include <benchmark/benchmark.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_sf.h>

#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

constexpr int kEvaluations = 1000000;

struct Grid {
  std::vector<double> x, order;
};

// 1000 arguments spread log-uniformly times 21 orders, cycled to 10^6 calls.
const Grid &BesselGrid(bool integerOrders) {
  static Grid grids[2];
  Grid &g = grids[integerOrders ? 1 : 0];
  if (g.x.empty()) {
    for (int i = 0; i < kEvaluations; ++i) {
      g.x.push_back(0.01 * std::pow(5000.0, (i % 1000) / 999.0));
      int n = (i / 1000) % 21;
      g.order.push_back(integerOrders ? n : n + 0.37);
    }
  }
  return g;
}

const std::vector<double> &GammaGrid() {
  static std::vector<double> x;
  if (x.empty())
    for (int i = 0; i < kEvaluations; ++i) x.push_back(0.01 * std::pow(1e6, (i % 1000) / 999.0));
  return x;
}

void BM_BesselJFunc_IntegerOrder(benchmark::State &state) {
  const Grid &g = BesselGrid(true);
  for (auto _ : state)
    for (int i = 0; i < kEvaluations; ++i) benchmark::DoNotOptimize(BesselJFunc(g.x[i], g.order[i]));
}

void BM_Reference_Jn(benchmark::State &state) {
  gsl_set_error_handler_off();
  const Grid &g = BesselGrid(true);
  for (auto _ : state)
    for (int i = 0; i < kEvaluations; ++i)
      benchmark::DoNotOptimize(gsl_sf_bessel_Jn(static_cast<int>(g.order[i]), g.x[i]));
}

void BM_BesselJFunc_FractionalOrder(benchmark::State &state) {
  const Grid &g = BesselGrid(false);
  for (auto _ : state)
    for (int i = 0; i < kEvaluations; ++i) benchmark::DoNotOptimize(BesselJFunc(g.x[i], g.order[i]));
}

void BM_Reference_Jnu(benchmark::State &state) {
  gsl_set_error_handler_off();
  const Grid &g = BesselGrid(false);
  for (auto _ : state)
    for (int i = 0; i < kEvaluations; ++i)
      benchmark::DoNotOptimize(gsl_sf_bessel_Jnu(g.order[i], g.x[i]));
}

void BM_GammaLn(benchmark::State &state) {
  const auto &x = GammaGrid();
  for (auto _ : state)
    for (int i = 0; i < kEvaluations; ++i) benchmark::DoNotOptimize(GammaLn(x[i]));
}

void BM_Reference_lngamma(benchmark::State &state) {
  gsl_set_error_handler_off();
  const auto &x = GammaGrid();
  for (auto _ : state)
    for (int i = 0; i < kEvaluations; ++i) benchmark::DoNotOptimize(gsl_sf_lngamma(x[i]));
}

BENCHMARK(BM_BesselJFunc_IntegerOrder)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Reference_Jn)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BesselJFunc_FractionalOrder)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Reference_Jnu)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GammaLn)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Reference_lngamma)->Unit(benchmark::kMillisecond);

}  // namespace
