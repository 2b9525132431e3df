// Complex transforms beside FFTW (Debian libfftw3): FFTV (centred, unitary,
// radix-2 with recurrence twiddles) against an FFTW_MEASURE plan of the same
// size, both in place on 2^10, 2^16 and 2^20 points. FFTW pays neither the
// centring swaps nor the 1/sqrt(n) scaling, so the ratio is a bound on what
// the kernel loses. Also a length that is not a power of two (1000,
// 100000): FFTRows of a one-row matrix goes through Bluestein's algorithm,
// against FFTW's mixed-radix plan.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cmath>
#include <cstring>
#include <random>

#include "libquorvex.h"

namespace {

Complex *RandomVectorC(int n) {
  std::mt19937 gen(7);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  Complex *v = VectorC(n);
  for (int i = 1; i <= n; ++i) v[i] = Complex{u(gen), u(gen)};
  return v;
}

void BM_FFTV(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  Complex *v = RandomVectorC(n);
  int direction = -1;
  for (auto _ : state) {
    FFTV(v, direction);
    direction = -direction;  // keeps the data bounded
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  FreeVectorC(v);
}

void BM_FFTW(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  fftw_complex *a = fftw_alloc_complex(n);
  fftw_plan forward = fftw_plan_dft_1d(n, a, a, FFTW_FORWARD, FFTW_MEASURE);
  fftw_plan backward = fftw_plan_dft_1d(n, a, a, FFTW_BACKWARD, FFTW_MEASURE);
  Complex *v = RandomVectorC(n);
  std::memcpy(a, v + 1, sizeof(fftw_complex) * n);
  bool fw = true;
  for (auto _ : state) {
    fftw_execute(fw ? forward : backward);
    fw = !fw;
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  fftw_destroy_plan(forward);
  fftw_destroy_plan(backward);
  fftw_free(a);
  FreeVectorC(v);
}

// A length that is not a power of two, through the Bluestein path.
void BM_FFTRowsBluestein(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  Complex **m = MatrixC(n, 1);
  for (int j = 1; j <= n; ++j) m[j][1] = Complex{std::sin(0.01 * j), 0.0};
  for (auto _ : state) {
    FFTRows(m, -1);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  FreeMatrixC(m);
}

void BM_FFTWAnyLength(benchmark::State &state) {
  const int n = static_cast<int>(state.range(0));
  fftw_complex *a = fftw_alloc_complex(n);
  fftw_plan p = fftw_plan_dft_1d(n, a, a, FFTW_FORWARD, FFTW_MEASURE);
  for (int j = 0; j < n; ++j) a[j][0] = std::sin(0.01 * j), a[j][1] = 0.0;
  for (auto _ : state) {
    fftw_execute(p);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
  fftw_destroy_plan(p);
  fftw_free(a);
}

}  // namespace

BENCHMARK(BM_FFTV)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK(BM_FFTW)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK(BM_FFTRowsBluestein)->Arg(1000)->Arg(100000);
BENCHMARK(BM_FFTWAnyLength)->Arg(1000)->Arg(100000);
