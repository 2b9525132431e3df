// The evaluator's hot searches: depth-0 search from either end and the list
// split, on a short expression and on one of 10,000 characters. Beside them,
// the straightforward form of the same search (a scratch stack as long as the
// text, allocated, wiped and freed per call) as the baseline the inline stack
// has to beat.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "text/scan.h"

namespace {

constexpr std::string_view kOpen = "(:[";
constexpr std::string_view kClose = ");]";

const std::string &ShortText() {
  static const std::string t = "a*sin(x+1)-b/(c-d)^2+f(1,[2,3])";
  return t;
}

// About 10,000 characters: sums of bracketed products, with a list comma at
// depth 0 every so often so that the split has pieces to cut.
const std::string &LongText() {
  static const std::string t = [] {
    std::string s;
    int k = 0;
    while (s.size() < 10000) {
      s += "(a" + std::to_string(k) + "*f(x,[1,2]))+";
      if (++k % 8 == 0) s += "y,";
    }
    s += "z";
    return s;
  }();
  return t;
}

// Baseline: a scratch buffer the size of the text per search.
int32_t FindLastTopLevelScratch(std::string_view text, std::string_view opening, std::string_view closing,
                                std::string_view needle, int32_t *position) {
  *position = -1;
  const std::size_t n = text.size(), m = needle.size();
  if (n == 0) return 1;
  char *stack = static_cast<char *>(std::malloc(n));
  std::size_t depth = 0;
  int32_t result = 1;
  for (std::size_t i = n; i-- > 0;) {
    const char c = text[i];
    if (closing.find(c) != std::string_view::npos) {
      stack[depth++] = c;
      continue;
    }
    const std::size_t kind = opening.find(c);
    if (kind != std::string_view::npos) {
      if (depth == 0 || stack[--depth] != closing[kind]) {
        result = 0;
        break;
      }
      continue;
    }
    if (depth) continue;
    if (i + 1 < m) break;
    if (text.compare(i + 1 - m, m, needle) == 0) {
      *position = static_cast<int32_t>(i + 1 - m);
      result = 0;
      break;
    }
  }
  std::memset(stack, 0, n);
  std::free(stack);
  return result;
}

const std::string &Text(int which) { return which == 0 ? ShortText() : LongText(); }

void BM_FindLastTopLevel(benchmark::State &state) {
  const std::string &t = Text(static_cast<int>(state.range(0)));
  int32_t pos = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(qvx::FindLastTopLevel(t, kOpen, kClose, ",", &pos));
    benchmark::DoNotOptimize(qvx::FindLastTopLevel(t, kOpen, kClose, "*", &pos));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 2 * static_cast<int64_t>(t.size()));
}
BENCHMARK(BM_FindLastTopLevel)->Arg(0)->Arg(1);

void BM_FindLastTopLevelScratch(benchmark::State &state) {
  const std::string &t = Text(static_cast<int>(state.range(0)));
  int32_t pos = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(FindLastTopLevelScratch(t, kOpen, kClose, ",", &pos));
    benchmark::DoNotOptimize(FindLastTopLevelScratch(t, kOpen, kClose, "*", &pos));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 2 * static_cast<int64_t>(t.size()));
}
BENCHMARK(BM_FindLastTopLevelScratch)->Arg(0)->Arg(1);

void BM_FindFirstTopLevel(benchmark::State &state) {
  const std::string &t = Text(static_cast<int>(state.range(0)));
  int32_t pos = 0;
  for (auto _ : state) {
    // "^" isn't in either text at depth 0: the whole text is walked.
    benchmark::DoNotOptimize(qvx::FindFirstTopLevel(t, kOpen, kClose, "^", &pos));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(t.size()));
}
BENCHMARK(BM_FindFirstTopLevel)->Arg(0)->Arg(1);

void BM_SplitArgumentList(benchmark::State &state) {
  const std::string &t = Text(static_cast<int>(state.range(0)));
  std::vector<std::string_view> pieces;
  for (auto _ : state) {
    benchmark::DoNotOptimize(qvx::SplitArgumentList(t, kOpen, kClose, ',', 0, &pieces));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(t.size()));
}
BENCHMARK(BM_SplitArgumentList)->Arg(0)->Arg(1);

void BM_FindAdditive(benchmark::State &state) {
  const std::string &t = Text(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(qvx::FindAdditive(t, "-"));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(t.size()));
}
BENCHMARK(BM_FindAdditive)->Arg(0)->Arg(1);

void BM_StripSignAndBrackets(benchmark::State &state) {
  const std::string t = "-(" + Text(static_cast<int>(state.range(0))) + ")";
  int32_t sign = 0, single = 0;
  for (auto _ : state) benchmark::DoNotOptimize(qvx::StripSignAndBrackets(t, &sign, &single));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(t.size()));
}
BENCHMARK(BM_StripSignAndBrackets)->Arg(0)->Arg(1);

}  // namespace
