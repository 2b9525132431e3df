// The dictionary tree against std::map<std::string, void *>: lookup, insertion
// and deletion of 1e5 and 1e6 text keys of the kind scope tables hold
// (identifier-like, 12 bytes). Lookups draw keys in a shuffled order, so the
// figures include the cache misses of a large tree; insertion and deletion
// report the time per key of building or emptying a whole tree.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "libquorvex.h"

namespace {

const std::vector<std::string> &Keys(std::size_t n) {
  static std::map<std::size_t, std::vector<std::string>> cache;
  auto &keys = cache[n];
  if (keys.empty()) {
    std::mt19937_64 rng(n);
    keys.reserve(n);
    char buf[32];
    while (keys.size() < n) {
      std::snprintf(buf, sizeof buf, "var_%08llx", static_cast<unsigned long long>(rng() & 0xffffffffu));
      keys.emplace_back(buf);
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    while (keys.size() < n) keys.push_back("var_x" + std::to_string(keys.size()));
    std::shuffle(keys.begin(), keys.end(), rng);
  }
  return keys;
}

// The same keys in another order, for lookups and deletions.
std::vector<std::string> Shuffled(std::size_t n) {
  std::vector<std::string> k = Keys(n);
  std::shuffle(k.begin(), k.end(), std::mt19937_64(n + 1));
  return k;
}

void Release(RBST *t) {
  if (t->root) RBSTFreeNodes(t, t->root);
  t->root = nullptr;
  t->size = 0;
}

RBST Build(const std::vector<std::string> &keys) {
  RBST t = RBSTInitialize(nullptr, nullptr, nullptr, nullptr);
  for (const auto &k : keys) RBSTInsert(&t, t.root, k.c_str(), nullptr);
  return t;
}

std::map<std::string, void *> BuildMap(const std::vector<std::string> &keys) {
  std::map<std::string, void *> m;
  for (const auto &k : keys) m.emplace(k.c_str(), nullptr);
  return m;
}

void PerKey(benchmark::State &state, std::size_t n) {
  state.counters["time_per_key"] =
      benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate |
                                                             benchmark::Counter::kInvert);
}

void BM_RbstLookup(benchmark::State &state) {
  std::size_t n = static_cast<std::size_t>(state.range(0));
  RBST t = Build(Keys(n));
  auto probe = Shuffled(n);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(RBSTFind(t.root, probe[i].c_str()));
    if (++i == n) i = 0;
  }
  Release(&t);
}

void BM_MapLookup(benchmark::State &state) {
  std::size_t n = static_cast<std::size_t>(state.range(0));
  auto m = BuildMap(Keys(n));
  auto probe = Shuffled(n);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(m.find(probe[i]));
    if (++i == n) i = 0;
  }
}

void BM_RbstInsert(benchmark::State &state) {
  std::size_t n = static_cast<std::size_t>(state.range(0));
  const auto &keys = Keys(n);
  for (auto _ : state) {
    RBST t = Build(keys);
    state.PauseTiming();
    Release(&t);
    state.ResumeTiming();
  }
  PerKey(state, n);
}

void BM_MapInsert(benchmark::State &state) {
  std::size_t n = static_cast<std::size_t>(state.range(0));
  const auto &keys = Keys(n);
  for (auto _ : state) {
    auto m = BuildMap(keys);
    state.PauseTiming();
    m.clear();
    state.ResumeTiming();
  }
  PerKey(state, n);
}

void BM_RbstDelete(benchmark::State &state) {
  std::size_t n = static_cast<std::size_t>(state.range(0));
  auto victims = Shuffled(n);
  for (auto _ : state) {
    state.PauseTiming();
    RBST t = Build(Keys(n));
    state.ResumeTiming();
    for (const auto &k : victims) RBSTDelete(&t, t.root, k.c_str());
    state.PauseTiming();
    Release(&t);
    state.ResumeTiming();
  }
  PerKey(state, n);
}

void BM_MapDelete(benchmark::State &state) {
  std::size_t n = static_cast<std::size_t>(state.range(0));
  auto victims = Shuffled(n);
  for (auto _ : state) {
    state.PauseTiming();
    auto m = BuildMap(Keys(n));
    state.ResumeTiming();
    for (const auto &k : victims) m.erase(k);
  }
  PerKey(state, n);
}

// Other processes share the machine, so each figure is best read as the
// minimum over repetitions: run with
//   --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true
// and compare the "_min" rows.
double Min(const std::vector<double> &v) { return v.empty() ? 0.0 : *std::min_element(v.begin(), v.end()); }

void Lookups(benchmark::internal::Benchmark *b) { b->Arg(100000)->Arg(1000000)->ComputeStatistics("min", Min); }
void WholeTree(benchmark::internal::Benchmark *b) {
  b->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3)->ComputeStatistics("min", Min);
}

}  // namespace

BENCHMARK(BM_RbstLookup)->Apply(Lookups);
BENCHMARK(BM_MapLookup)->Apply(Lookups);
BENCHMARK(BM_RbstInsert)->Apply(WholeTree);
BENCHMARK(BM_MapInsert)->Apply(WholeTree);
BENCHMARK(BM_RbstDelete)->Apply(WholeTree);
BENCHMARK(BM_MapDelete)->Apply(WholeTree);
