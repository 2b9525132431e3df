// Sorting and order statistics of 10^6 random values, side by side with
// the standard library on the same data:
//
//   SortMatrix on one column   vs std::sort of a std::vector copy
//   SortMatrix by a key column (rows of 2, stable)  vs std::stable_sort of pairs
//   Median                     vs std::nth_element on a copy
//   MostFrequent, StandardDeviation, RemoveDuplicates
//
// Each library call includes the copy it makes for its new container, so
// the references copy too.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "libquorvex.h"

namespace {

constexpr int32_t kN = 1000000;

const std::vector<double> &Data() {
  static const std::vector<double> data = [] {
    std::mt19937_64 rng(12345);
    std::uniform_real_distribution<double> u(-1e6, 1e6);
    std::vector<double> x(kN);
    for (double &xi : x) xi = u(rng);
    return x;
  }();
  return data;
}

double *DataVector() {
  const auto &x = Data();
  double *v = Vector(kN);
  std::copy(x.begin(), x.end(), v + 1);
  return v;
}

void BM_SortMatrixOneColumn(benchmark::State &state) {
  double *v = DataVector();
  double **m = MatrixV(v);
  for (auto _ : state) {
    double **s = SortMatrix(m, 1);
    benchmark::DoNotOptimize(s[1][1]);
    FreeMatrix(s);
  }
  FreeMatrix(m);
  FreeVector(v);
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_StdSort(benchmark::State &state) {
  for (auto _ : state) {
    std::vector<double> x = Data();
    std::sort(x.begin(), x.end());
    benchmark::DoNotOptimize(x.front());
  }
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_SortMatrixByKey(benchmark::State &state) {
  const auto &x = Data();
  double **m = Matrix(2, kN);
  for (int32_t i = 1; i <= kN; ++i) m[1][i] = x[static_cast<std::size_t>(i - 1)], m[2][i] = i;
  for (auto _ : state) {
    double **s = SortMatrix(m, 1);
    benchmark::DoNotOptimize(s[2][1]);
    FreeMatrix(s);
  }
  FreeMatrix(m);
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_StdStableSortPairs(benchmark::State &state) {
  const auto &x = Data();
  std::vector<std::pair<double, double>> rows(kN);
  for (int32_t i = 0; i < kN; ++i) rows[static_cast<std::size_t>(i)] = {x[static_cast<std::size_t>(i)], i + 1.0};
  for (auto _ : state) {
    auto copy = rows;
    std::stable_sort(copy.begin(), copy.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    benchmark::DoNotOptimize(copy.front());
  }
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_Median(benchmark::State &state) {
  double *v = DataVector();
  for (auto _ : state) benchmark::DoNotOptimize(Median(v));
  FreeVector(v);
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_StdNthElement(benchmark::State &state) {
  for (auto _ : state) {
    std::vector<double> x = Data();
    auto mid = x.begin() + kN / 2;
    std::nth_element(x.begin(), mid, x.end());
    benchmark::DoNotOptimize(*mid);
  }
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_MostFrequent(benchmark::State &state) {
  double *v = DataVector();
  for (auto _ : state) benchmark::DoNotOptimize(MostFrequent(v));
  FreeVector(v);
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_StandardDeviation(benchmark::State &state) {
  double *v = DataVector();
  for (auto _ : state) benchmark::DoNotOptimize(StandardDeviation(v));
  FreeVector(v);
  state.SetItemsProcessed(state.iterations() * kN);
}

void BM_RemoveDuplicates(benchmark::State &state) {
  double *v = DataVector();
  for (auto _ : state) {
    double *u = RemoveDuplicates(v);
    benchmark::DoNotOptimize(u[1]);
    FreeVector(u);
  }
  FreeVector(v);
  state.SetItemsProcessed(state.iterations() * kN);
}

BENCHMARK(BM_SortMatrixOneColumn)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdSort)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortMatrixByKey)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdStableSortPairs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Median)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StdNthElement)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MostFrequent)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StandardDeviation)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RemoveDuplicates)->Unit(benchmark::kMillisecond);

}  // namespace
