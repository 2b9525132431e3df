// DoubleString, which sits under every number the engine prints: calls per
// second at 15 digits on values of both branches, beside the C library's
// "%.15g" into a malloc'd text as the baseline of a plain printf chain.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "libquorvex.h"

namespace {

// 4096 values: a quarter each of small integers, decimals in the decimal
// branch, large and tiny values in the exponent branch.
const std::vector<double> &Values() {
  static const std::vector<double> v = [] {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<double> out;
    for (int i = 0; i < 4096; ++i) {
      switch (i % 4) {
        case 0: out.push_back(static_cast<double>(random() % 1000)); break;
        case 1: out.push_back((unit(random) - 0.5) * 2000.0); break;
        case 2: out.push_back(unit(random) * std::pow(10.0, 4 + static_cast<int>(random() % 300))); break;
        default: out.push_back(unit(random) * std::pow(10.0, -4 - static_cast<int>(random() % 300))); break;
      }
    }
    return out;
  }();
  return v;
}

void BM_DoubleString(benchmark::State &state) {
  const std::vector<double> &v = Values();
  const int32_t digits = static_cast<int32_t>(state.range(0));
  std::size_t i = 0;
  for (auto _ : state) {
    char *s = DoubleString(v[i++ & 4095], digits);
    benchmark::DoNotOptimize(s);
    FreeString(s);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DoubleString)->Arg(6)->Arg(15)->Arg(17);

void BM_PrintfBaseline(benchmark::State &state) {
  const std::vector<double> &v = Values();
  std::size_t i = 0;
  char buffer[64];
  for (auto _ : state) {
    int n = std::snprintf(buffer, sizeof buffer, "%.15g", v[i++ & 4095]);
    char *s = static_cast<char *>(std::malloc(static_cast<std::size_t>(n) + 1));
    std::memcpy(s, buffer, static_cast<std::size_t>(n) + 1);
    benchmark::DoNotOptimize(s);
    std::free(s);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PrintfBaseline);

}  // namespace
