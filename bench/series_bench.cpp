// Cost of the functions that run an expression many times, each measured as
// a whole QuorvexScript call: normalisation, the handler's sampling loop (one
// evaluation of the expression text per sample) and the answer text.
//
//   int(sin(x),x,0,3.14159)   adaptive Simpson: 256 panels, about 1000 samples
//   sum(n^2,n,1,1000)         1000 samples
//   root(x^2-2,1,2)           bisection to 1e-12, about 40 samples
//   root(x^2-2,1)             Newton-Raphson with the exact derivative
//   int(x^4,0,1,1001)         Simpson's rule on a fixed grid of 1001 points
#include <benchmark/benchmark.h>

#include "libquorvex.h"

namespace {

struct Session {
  Session() {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment(nullptr);
    SetUpdateHistoryFlag(env, 0);
  }
  ~Session() {
    TerminateEnvironment(env);
    TerminateGlobals();
  }
  Environment *env;
};

void RunLine(benchmark::State &state, const char *line) {
  Session s;
  for (auto _ : state) {
    char *out = QuorvexScript(line, s.env, 1);
    benchmark::DoNotOptimize(out);
    FreeString(out);
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_IntegralAdaptive(benchmark::State &state) { RunLine(state, "int(sin(x),x,0,3.14159)"); }
void BM_SumOfSquares(benchmark::State &state) { RunLine(state, "sum(n^2,n,1,1000)"); }
void BM_RootBisection(benchmark::State &state) { RunLine(state, "root(x^2-2,1,2)"); }
void BM_RootNewton(benchmark::State &state) { RunLine(state, "root(x^2-2,1)"); }
void BM_IntegralGrid(benchmark::State &state) { RunLine(state, "int(x^4,0,1,1001)"); }

BENCHMARK(BM_IntegralAdaptive)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SumOfSquares)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RootBisection)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RootNewton)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_IntegralGrid)->Unit(benchmark::kMicrosecond);

}  // namespace
