// Symbolic mathematics: a whole script line with a derivative, the
// derivative machinery alone, and the simplifier on a sum with shared
// factors. Figures are per call.
#include <benchmark/benchmark.h>

#include <string>

#include "libquorvex.h"
#include "math/algebra.h"
#include "math/deriv.h"
#include "objects/environment.h"

namespace {

struct TopLevel {
  Environment *env;
  TopLevel() {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment(nullptr);
    SetUpdateHistoryFlag(env, 0);
  }
  ~TopLevel() { TerminateEnvironment(env); }
};

void Script(benchmark::State &state, const char *line) {
  TopLevel top;
  for (auto _ : state) {
    char *out = QuorvexScript(line, top.env, 1);
    benchmark::DoNotOptimize(out);
    FreeString(out);
  }
}

void Derivative(benchmark::State &state, const char *arguments) {
  TopLevel top;
  for (auto _ : state) {
    qvx::ComplexText z = qvx::EvaluateDerivative(arguments, top.env);
    benchmark::DoNotOptimize(z.re.data());
  }
}

void Simplify(benchmark::State &state) {
  TopLevel top;
  std::string sum;
  for (int k = 0; k < 50; ++k) sum += "+a" + std::to_string(k % 10) + "*b*c" + std::to_string(k % 3);
  for (auto _ : state) {
    std::string t = sum;
    qvx::SimplifyExpressionText(t, 0, 0, top.env);
    benchmark::DoNotOptimize(t.data());
  }
}

BENCHMARK_CAPTURE(Script, deriv_sin2, "deriv(sin(x)^2,x)")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Script, deriv_product_quotient, "deriv(sin(x)^2*exp(x)/x,x)")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Derivative, sin2, "sin(x)^2,x")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Derivative, product_quotient, "sin(x)^2*exp(x)/x,x")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Derivative, at_point, "sin(x)^2*exp(x)/x,x,0.5")->Unit(benchmark::kMicrosecond);
BENCHMARK(Simplify)->Unit(benchmark::kMicrosecond);

}  // namespace
