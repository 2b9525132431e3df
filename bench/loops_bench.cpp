// Loops and recursion of the script language, through the script entry as
// a host runs them. The language re-splits every statement on every pass,
// so these measure the cost of one statement end to end: screen, search,
// look-up, arithmetic and store.
//
// The loop variable is `k`: `i` is the imaginary unit and can't be bound.
#include <benchmark/benchmark.h>

#include <string>

#include "libquorvex.h"

namespace {

struct Scope {
  Scope() {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment(nullptr);
  }
  ~Scope() { TerminateEnvironment(env); }
  std::string Run(const char *script) {
    char *a = QuorvexScript(script, env, 1);
    std::string out = a ? a : "";
    FreeString(a);
    return out;
  }
  Environment *env;
};

// s=0, then 10^5 passes of condition, body and step: 3 statements a pass.
void BM_ForLoopSum(benchmark::State &state) {
  Scope scope;
  for (auto _ : state) {
    scope.Run("s=0,for:k=1,k<=100000,k=k+1,s=s+k;");
    if (scope.Run("s").rfind("5.0000", 0) != 0) state.SkipWithError("wrong sum");
  }
  state.counters["statements/s"] =
      benchmark::Counter(3.0 * 100000 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ForLoopSum)->Unit(benchmark::kMillisecond);

// The same sum over 10^6 passes: the figure to hold against a calculator
// that compiles its loops (a few runs only, each takes a fraction of a
// second).
void BM_ForLoopSum1e6(benchmark::State &state) {
  Scope scope;
  for (auto _ : state) {
    scope.Run("s=0,for:k=1,k<=1000000,k=k+1,s=s+k;");
    if (scope.Run("s") != "5.000005e+11") state.SkipWithError("wrong sum");
  }
  state.counters["statements/s"] =
      benchmark::Counter(3.0 * 1000000 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ForLoopSum1e6)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same loop as a while.
void BM_WhileLoopSum(benchmark::State &state) {
  Scope scope;
  for (auto _ : state) scope.Run("s=0,k=1,while:k<=100000,s=s+k,k=k+1;");
  state.counters["statements/s"] =
      benchmark::Counter(3.0 * 100000 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_WhileLoopSum)->Unit(benchmark::kMillisecond);

// fib(20): 21891 calls, each one condition and one return statement.
void BM_RecursiveFib20(benchmark::State &state) {
  Scope scope;
  scope.Run("fib(n)=if:n<2,return=n,else,return=fib(n-1)+fib(n-2);");
  for (auto _ : state)
    if (scope.Run("fib(20)") != "6765") state.SkipWithError("wrong fib");
  state.counters["calls/s"] =
      benchmark::Counter(21891.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["statements/s"] =
      benchmark::Counter(2.0 * 21891.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_RecursiveFib20)->Unit(benchmark::kMillisecond);

}  // namespace
