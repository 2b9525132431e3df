// Digest and encoding throughput. The SHA-512 figure on a 64 MiB buffer is
// the one to compare with the system's `sha512sum` on a file of the same
// size (see the numbers recorded with the lead); the exported SHA512 adds the
// hexadecimal text and the strlen over the input, which shows how little
// they cost next to the compression function.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "numerics/text/hashes.h"

namespace {

constexpr std::size_t kBig = 64u << 20;

const std::vector<unsigned char> &Data() {
  static const std::vector<unsigned char> d = [] {
    std::vector<unsigned char> v(kBig);
    uint32_t x = 2463534242u;  // xorshift32: incompressible, reproducible
    for (auto &b : v) {
      x ^= x << 13, x ^= x >> 17, x ^= x << 5;
      b = static_cast<unsigned char>(x);
    }
    return v;
  }();
  return d;
}

void BM_Sha512Digest(benchmark::State &state) {
  const auto &d = Data();
  std::size_t n = static_cast<std::size_t>(state.range(0));
  unsigned char out[64];
  for (auto _ : state) {
    qvx::Sha512Digest(d.data(), n, out);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(n));
}
BENCHMARK(BM_Sha512Digest)->Arg(64)->Arg(4096)->Arg(kBig)->Unit(benchmark::kMillisecond);

void BM_SHA512FromByteArray(benchmark::State &state) {
  const auto &d = Data();
  for (auto _ : state) {
    char *hex = SHA512FromByteArray(d.data(), static_cast<uint32_t>(kBig));
    benchmark::DoNotOptimize(hex);
    FreeString(hex);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kBig));
}
BENCHMARK(BM_SHA512FromByteArray)->Unit(benchmark::kMillisecond);

void BM_Sha256Digest(benchmark::State &state) {
  const auto &d = Data();
  unsigned char out[32];
  for (auto _ : state) {
    qvx::Sha256Digest(d.data(), kBig, out);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kBig));
}
BENCHMARK(BM_Sha256Digest)->Unit(benchmark::kMillisecond);

void BM_Base64Encoding(benchmark::State &state) {
  const auto &d = Data();
  const uint32_t n = 1u << 20;
  for (auto _ : state) {
    char *text = Base64Encoding(d.data(), n);
    benchmark::DoNotOptimize(text);
    FreeString(text);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * n);
}
BENCHMARK(BM_Base64Encoding);

}  // namespace
