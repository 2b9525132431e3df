// Big-number speed side by side with GMP and MPFR: a 100,000-digit product,
// 10,000 digits of e, 10,000!, and decimal printing of a 100,000-digit number.
#include <benchmark/benchmark.h>
#include <gmp.h>
#include <mpfr.h>

#include <cstdlib>
#include <string>

#include "libquorvex.h"

namespace {

std::string Digits(std::size_t n, unsigned seed) {
  std::string s(n, '0');
  for (std::size_t i = 0; i < n; ++i) {
    seed = seed * 1103515245u + 12345u;
    s[i] = static_cast<char>('0' + (seed >> 16) % 10);
  }
  s[0] = '7';
  return s;
}

void BM_Multiply100kDigits(benchmark::State &st) {
  BitArray *a = DecimalIntegerStringToBitArray(Digits(100000, 1).c_str(), nullptr);
  BitArray *b = DecimalIntegerStringToBitArray(Digits(100000, 2).c_str(), nullptr);
  for (auto _ : st) FreeBitArray(MultiplyBitArrays(a, b, nullptr));
  FreeBitArray(a);
  FreeBitArray(b);
}
void BM_Gmp_Multiply100kDigits(benchmark::State &st) {
  mpz_t a, b, c;
  mpz_inits(a, b, c, nullptr);
  mpz_set_str(a, Digits(100000, 1).c_str(), 10);
  mpz_set_str(b, Digits(100000, 2).c_str(), 10);
  for (auto _ : st) mpz_mul(c, a, b);
  mpz_clears(a, b, c, nullptr);
}

// 10,000 digits need 33,220 bits; EulersNumber gives 4 bits a term.
void BM_Euler10kDigits(benchmark::State &st) {
  BitArray *n = InitializeBitArrayFromUInt64(8305);
  for (auto _ : st) FreeBitArrayFloat(EulersNumber(n, nullptr));
  FreeBitArray(n);
}
void BM_Mpfr_Euler10kDigits(benchmark::State &st) {
  mpfr_t e;
  mpfr_init2(e, 33220);
  for (auto _ : st) {
    mpfr_free_cache();
    mpfr_set_ui(e, 1, MPFR_RNDN);
    mpfr_exp(e, e, MPFR_RNDN);
  }
  mpfr_clear(e);
}

void BM_Factorial10k(benchmark::State &st) {
  BitArray *n = InitializeBitArrayFromUInt64(10000);
  for (auto _ : st) FreeBitArray(BitArrayFactorialBinarySplitting(n, nullptr));
  FreeBitArray(n);
}
void BM_Gmp_Factorial10k(benchmark::State &st) {
  mpz_t f;
  mpz_init(f);
  for (auto _ : st) mpz_fac_ui(f, 10000);
  mpz_clear(f);
}

void BM_PrintDecimal100kDigits(benchmark::State &st) {
  BitArray *a = DecimalIntegerStringToBitArray(Digits(100000, 3).c_str(), nullptr);
  for (auto _ : st) std::free(BitArrayToDecimalIntegerString(a, nullptr));
  FreeBitArray(a);
}
void BM_Gmp_PrintDecimal100kDigits(benchmark::State &st) {
  mpz_t a;
  mpz_init(a);
  mpz_set_str(a, Digits(100000, 3).c_str(), 10);
  void (*freefn)(void *, size_t);
  mp_get_memory_functions(nullptr, nullptr, &freefn);
  for (auto _ : st) {
    char *s = mpz_get_str(nullptr, 10, a);
    freefn(s, 100002);
  }
  mpz_clear(a);
}

void BM_ParseDecimal100kDigits(benchmark::State &st) {
  std::string s = Digits(100000, 4);
  for (auto _ : st) FreeBitArray(DecimalIntegerStringToBitArray(s.c_str(), nullptr));
}
void BM_Gmp_ParseDecimal100kDigits(benchmark::State &st) {
  std::string s = Digits(100000, 4);
  mpz_t a;
  mpz_init(a);
  for (auto _ : st) mpz_set_str(a, s.c_str(), 10);
  mpz_clear(a);
}

}  // namespace

BENCHMARK(BM_Multiply100kDigits)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Gmp_Multiply100kDigits)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Euler10kDigits)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Mpfr_Euler10kDigits)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Factorial10k)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Gmp_Factorial10k)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PrintDecimal100kDigits)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Gmp_PrintDecimal100kDigits)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ParseDecimal100kDigits)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Gmp_ParseDecimal100kDigits)->Unit(benchmark::kMicrosecond);
