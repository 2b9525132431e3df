// Plot generation: the cost of a function plot is the cost of its samples,
// each an evaluation of the expression text, plus the drawing.
#include <benchmark/benchmark.h>

#include "libquorvex.h"

namespace {

struct Session {
  Environment *env;
  Session() {
    InitializeGlobals(nullptr, 0);
    env = InitializeTopLevelEnvironment(nullptr);
  }
  ~Session() {
    TerminateEnvironment(env);
    TerminateGlobals();
  }
};

void FreePair(PlotBitmapPair *p) {
  if (!p) return;
  Free(p->first);
  Free(p->second);
  Free(p);
}

// 1000 samples of a damped sine into an 800 x 448 picture pair.
void BM_PlotDampedSine(benchmark::State &state) {
  Session s;
  for (auto _ : state) {
    PlotBitmapPair *p = GeneratePlotBitmaps("sin(x)*exp(-x/5)", 0.0, 20.0, static_cast<int32_t>(state.range(0)),
                                            nullptr, nullptr, 800, 448, nullptr, s.env);
    benchmark::DoNotOptimize(p);
    FreePair(p);
  }
}
BENCHMARK(BM_PlotDampedSine)->Arg(1000)->Arg(200)->Unit(benchmark::kMillisecond);

// Building an image block of the same size, without any sampling or drawing.
void BM_EncodeDummy(benchmark::State &state) {
  for (auto _ : state) {
    unsigned char *b = DummyBitmap(800, 448);
    benchmark::DoNotOptimize(b);
    Free(b);
  }
}
BENCHMARK(BM_EncodeDummy)->Unit(benchmark::kMicrosecond);

}  // namespace
