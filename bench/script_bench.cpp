// Throughput of the script entry: short lines a second, and one long line.
//
// Each iteration is one whole QuorvexScript call as a host makes it:
// normalisation (literals become placeholders), screen, evaluation, printing,
// restoring the literals and clearing them again.
#include <benchmark/benchmark.h>

#include <string>

#include "libquorvex.h"

namespace {

struct Session {
  Session() {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment(nullptr);
  }
  ~Session() {
    TerminateEnvironment(env);
    TerminateGlobals();
  }
  Environment *env;
};

void RunLine(benchmark::State &state, const char *line, bool history) {
  Session s;
  SetUpdateHistoryFlag(s.env, history ? 1 : 0);
  for (auto _ : state) {
    char *out = QuorvexScript(line, s.env, 1);
    benchmark::DoNotOptimize(out);
    FreeString(out);
    if (history && state.iterations() % 4096 == 0) ClearEnvironmentHistory(s.env);
  }
  state.SetItemsProcessed(state.iterations());
  state.SetLabel("lines");
}

void BM_ShortArithmetic(benchmark::State &state) { RunLine(state, "1+2*3-4/5^2", false); }
void BM_ShortComplex(benchmark::State &state) { RunLine(state, "(1+2i)^2", false); }
void BM_ShortSymbolic(benchmark::State &state) { RunLine(state, "x*2+y/3", false); }
void BM_ShortArithmeticWithHistory(benchmark::State &state) { RunLine(state, "1+2*3-4/5^2", true); }

std::string LongLine(const char *unit) {
  std::string s;
  while (s.size() < 10000) s += unit;
  s += "1";
  return s;
}

void BM_LongNumeric(benchmark::State &state) {
  const std::string line = LongLine("1.5*2+3/7-");
  RunLine(state, line.c_str(), false);
}
void BM_LongSymbolic(benchmark::State &state) {
  const std::string line = LongLine("x*2+y/3+");
  RunLine(state, line.c_str(), false);
}

BENCHMARK(BM_ShortArithmetic);
BENCHMARK(BM_ShortComplex);
BENCHMARK(BM_ShortSymbolic);
BENCHMARK(BM_ShortArithmeticWithHistory);
BENCHMARK(BM_LongNumeric)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LongSymbolic)->Unit(benchmark::kMillisecond);

}  // namespace
