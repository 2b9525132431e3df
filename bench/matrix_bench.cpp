// Matrices through the script entry beside the Tensor call each line ends
// in: what the object layer (normalisation, evaluation, the method call, the
// result object, the answer) adds to the numerical work.
//
// Lines: "m=[[...]]" (a 100 by 100 literal) against parsing the numbers and
// TensorBuild; "m.det()" against TensorDeterminant; "m.invert().size()"
// (in place, and an answer of one number, so that no printing is timed)
// against TensorInvert; "c=m*m" against TensorMultiply. The matrix is
// diagonally dominant, so inverting it again and again stays finite.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "objects/environment.h"
#include "objects/matrix.h"
#include "objects/tensor.h"
#include "persistence/rbst.h"

namespace {

std::vector<Complex> Values(int n) {
  std::mt19937 gen(12345);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::vector<Complex> v(static_cast<size_t>(n) * n);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) v[static_cast<size_t>(i) * n + j] = Complex{(i == j ? n : 0) + u(gen), 0.0};
  return v;
}

Tensor *Block(int n) {
  const std::vector<Complex> v = Values(n);
  return qvx::TensorBuild({n, n}, v.data());
}

std::string Literal(int n) {
  const std::vector<Complex> v = Values(n);
  std::string s = "m=[";
  char buf[32];
  for (int i = 0; i < n; ++i) {
    s += i ? ",[" : "[";
    for (int j = 0; j < n; ++j) {
      std::snprintf(buf, sizeof buf, j ? ",%.6f" : "%.6f", v[static_cast<size_t>(i) * n + j].re);
      s += buf;
    }
    s += ']';
  }
  return s + "]";
}

struct Session {
  explicit Session(int n) {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment(nullptr);
    SetUpdateHistoryFlag(env, 0);
    if (n > 0) {
      Object *m = qvx::NewMatrixObject(Block(n), true, env);
      RBSTInsert(&env->objectTable, env->objectTable.root, "m", m);
    }
  }
  ~Session() {
    TerminateEnvironment(env);
    TerminateGlobals();
  }
  void Run(const char *line) {
    char *out = QuorvexScript(line, env, 1);
    benchmark::DoNotOptimize(out);
    FreeString(out);
  }
  Environment *env;
};

void BM_LiteralScript(benchmark::State &state) {
  const std::string line = Literal(static_cast<int>(state.range(0)));
  Session s(0);
  for (auto _ : state) s.Run(line.c_str());
}
void BM_LiteralToolkit(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  const std::string line = Literal(n);
  for (auto _ : state) {
    // The numbers of the text, then the block.
    std::vector<Complex> v;
    v.reserve(static_cast<size_t>(n) * n);
    for (const char *p = line.c_str(); *p;) {
      if ((*p >= '0' && *p <= '9') || *p == '.') {
        char *end = nullptr;
        v.push_back(Complex{std::strtod(p, &end), 0.0});
        p = end;
      } else {
        ++p;
      }
    }
    Tensor *t = qvx::TensorBuild({n, n}, v.data());
    benchmark::DoNotOptimize(t);
    TensorFree(t);
  }
}

void BM_DetScript(benchmark::State &state) {
  Session s(static_cast<int>(state.range(0)));
  for (auto _ : state) s.Run("m.det()");
}
void BM_DetToolkit(benchmark::State &state) {
  Tensor *t = Block(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    Tensor *d = TensorDeterminant(t);
    benchmark::DoNotOptimize(d);
    TensorFree(d);
  }
  TensorFree(t);
}

void BM_InvertScript(benchmark::State &state) {
  Session s(static_cast<int>(state.range(0)));
  for (auto _ : state) s.Run("m.invert().size()");
}
void BM_InvertToolkit(benchmark::State &state) {
  Tensor *t = Block(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(TensorInvert(t));
  TensorFree(t);
}

void BM_ProductScript(benchmark::State &state) {
  Session s(static_cast<int>(state.range(0)));
  for (auto _ : state) s.Run("c=m*m");
}
void BM_ProductToolkit(benchmark::State &state) {
  Tensor *t = Block(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    Tensor *p = TensorMultiply(t, t);
    benchmark::DoNotOptimize(p);
    TensorFree(p);
  }
  TensorFree(t);
}

}  // namespace

BENCHMARK(BM_LiteralScript)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LiteralToolkit)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DetScript)->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DetToolkit)->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InvertScript)->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InvertToolkit)->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProductScript)->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProductToolkit)->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond);
