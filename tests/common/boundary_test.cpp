// No exception leaves an export, and nothing leaks, when memory runs out.
//
// This program replaces the global allocation functions with ones that can
// be told to fail at the n-th request. Each case is run once to count its
// requests, then once for every n, failing there: an exception escaping a
// noexcept export would end the program, a block dropped on the failure path
// shows as a leak at exit, and every answer must be either the full result
// or the export's failure value.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>

#include "libquorvex.h"

namespace {

// Requests left before the one that fails; negative when none is armed.
// While `gPaused` is set (the test's own bookkeeping), requests are neither
// counted nor failed.
long gFailIn = -1;
long gRequests = 0;
bool gPaused = false;

void *Allocate(std::size_t size, std::size_t alignment) {
  if (!gPaused) {
    ++gRequests;
    if (gFailIn == 0) {
      gFailIn = -1;
      return nullptr;
    }
    if (gFailIn > 0) --gFailIn;
  }
  if (size == 0) size = 1;
  if (alignment <= alignof(std::max_align_t)) return std::malloc(size);
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void *AllocateOrThrow(std::size_t size, std::size_t alignment) {
  void *p = Allocate(size, alignment);
  if (!p) throw std::bad_alloc();
  return p;
}

}  // namespace

// These functions replace the global ones, so their blocks come from malloc
// and go back to free; the compiler cannot see that pairing.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void *operator new(std::size_t n) { return AllocateOrThrow(n, 0); }
void *operator new[](std::size_t n) { return AllocateOrThrow(n, 0); }
void *operator new(std::size_t n, std::align_val_t a) { return AllocateOrThrow(n, static_cast<std::size_t>(a)); }
void *operator new[](std::size_t n, std::align_val_t a) { return AllocateOrThrow(n, static_cast<std::size_t>(a)); }
void *operator new(std::size_t n, const std::nothrow_t &) noexcept { return Allocate(n, 0); }
void *operator new[](std::size_t n, const std::nothrow_t &) noexcept { return Allocate(n, 0); }
void *operator new(std::size_t n, std::align_val_t a, const std::nothrow_t &) noexcept {
  return Allocate(n, static_cast<std::size_t>(a));
}
void *operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t &) noexcept {
  return Allocate(n, static_cast<std::size_t>(a));
}
void operator delete(void *p) noexcept { std::free(p); }
void operator delete[](void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t) noexcept { std::free(p); }
void operator delete(void *p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void *p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void *p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete(void *p, const std::nothrow_t &) noexcept { std::free(p); }
void operator delete[](void *p, const std::nothrow_t &) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

// Keeps the test's own allocations out of the count while alive.
struct Paused {
  bool was = gPaused;
  Paused() { gPaused = true; }
  ~Paused() { gPaused = was; }
};

std::string Take(char *s) {
  Paused paused;
  std::string r = s ? s : "<null>";
  FreeString(s);
  return r;
}

// Runs `body` failing at every request it makes in turn. `body` answers its
// result as text; it must be `full` (the unfailed answer) or `failure`.
void FailEachRequest(const std::function<std::string()> &body, const std::string &failure) {
  Paused paused;
  gPaused = false;
  gRequests = 0;
  const std::string full = body();
  const long requests = gRequests;
  ASSERT_NE(full, failure) << "the unfailed run must succeed";
  ASSERT_GT(requests, 0) << "nothing to fail";
  for (long n = 0; n < requests; ++n) {
    gFailIn = n;
    const std::string got = body();
    gFailIn = -1;
    Paused checking;
    EXPECT_TRUE(got == full || got == failure) << "failing request " << n << " gave " << got << " instead of " << full;
  }
}

std::string Number(int32_t v) {
  Paused paused;
  return std::to_string(v);
}

BitArray *Bits(const char *decimal) { return DecimalIntegerStringToBitArray(decimal, nullptr); }

BitArrayFloat *Float(const char *decimal) { return InitializeBitArrayFloatFromDecimal(decimal, 64, nullptr); }

std::string PrintFloat(BitArrayFloat *f) {
  Paused paused;
  std::string s = f ? Take(PrintBitArrayFloatToDecimal(f, 20, nullptr)) : "<null>";
  FreeBitArrayFloat(f);
  return s;
}

std::string SameValue(BitArrayFloat *f, BitArrayFloat *expected) {
  Paused paused;
  std::string s = !f ? "<null>" : CompareBitArrayFloats(f, expected) == 0 ? "equal" : "differs";
  FreeBitArrayFloat(f);
  return s;
}

std::string PrintTensor(Tensor *t) {
  Paused paused;
  if (!t) return "<null>";
  std::string s;
  Complex **m = TensorToMatrixC(t);
  if (m) {
    for (int32_t j = 1; j <= static_cast<int32_t>(m[0][0].re); ++j)
      for (int32_t i = 1; i <= static_cast<int32_t>(m[j][0].re); ++i)
        s += std::to_string(m[j][i].re) + "," + std::to_string(m[j][i].im) + ";";
    FreeMatrixC(m);
  } else {
    s = "rank " + std::to_string(t->rank);
  }
  TensorFree(t);
  return s;
}

TEST(ExceptionFunnel, BigNumbersFailCleanly) {
  BitArray *one = Bits("1"), *big = Bits("123456789012345678901234567890"), *ten = Bits("10");
  BitArrayFloat *x = Float("-2.75"), *y = Float("3"), *h = Float("-171.5"), *cube = Float("-20.796875");
  ASSERT_TRUE(one && big && ten && x && y && h && cube);
  struct Case {
    const char *name;
    std::function<std::string()> body;
    std::string failure;
  };
  const Case cases[] = {
      {"TestUnitBitArray", [&] { return Number(TestUnitBitArray(one)); }, "0"},
      // A failed trim inside may leave trailing zero bits: compare values.
      {"ExponentiateBitArrayFloats", [&] { return SameValue(ExponentiateBitArrayFloats(x, y, 20, nullptr), cube); },
       "<null>"},
      {"PrintBitArrayFloatToHexadecimal", [&] { return Take(PrintBitArrayFloatToHexadecimal(h)); }, "<null>"},
      {"PrintBitArrayFloat", [&] { return Take(PrintBitArrayFloat(x)); }, "<null>"},
      {"InitializeBitArrayFloatFromDecimal", [&] { return PrintFloat(Float("-12345678901234567890.0625")); },
       "<null>"},
      {"InitializeBitArrayFloatFromHexadecimal",
       [&] { return PrintFloat(InitializeBitArrayFloatFromHexadecimal("-1234567890abcdef1234.8")); }, "<null>"},
      {"EulersNumber", [&] { return PrintFloat(EulersNumber(ten, nullptr)); }, "<null>"},
      {"BitArrayFactorial",
       [&] {
         BitArray *f = BitArrayFactorial(ten, nullptr);
         Paused paused;
         std::string s = f ? Take(BitArrayToDecimalIntegerString(f, nullptr)) : "<null>";
         FreeBitArray(f);
         return s;
       },
       "<null>"},
      {"CompareBitArrays", [&] { return Number(CompareBitArrays(big, one)); }, "0"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.name);
    FailEachRequest(c.body, c.failure);
  }
  FreeBitArray(one);
  FreeBitArray(big);
  FreeBitArray(ten);
  FreeBitArrayFloat(x);
  FreeBitArrayFloat(y);
  FreeBitArrayFloat(h);
  FreeBitArrayFloat(cube);
}

TEST(ExceptionFunnel, TensorsFailCleanly) {
  Complex **m = MatrixC(3, 3);
  ASSERT_TRUE(m);
  const double values[3][3] = {{2, 1, 0}, {1, 3, 1}, {0, 1, 4}};
  for (int32_t j = 1; j <= 3; ++j)
    for (int32_t i = 1; i <= 3; ++i) m[j][i] = Complex{values[j - 1][i - 1], 0.5 * (i - j)};
  Tensor *t = TensorFromMatrixC(m);
  FreeMatrixC(m);
  ASSERT_TRUE(t);
  // A rank 4 block of two by two copies of t's upper-left corner.
  const int32_t dims[4] = {2, 2, 2, 2};
  Tensor *deep = TensorZero(dims, 4);
  ASSERT_TRUE(deep);
  MemFile *stream = MemOpen(64);
  ASSERT_TRUE(stream);
  TensorWrite(t, stream, 0);
  const auto reread = [&] {
    MemSetBufPos(stream, 0);
    return PrintTensor(TensorRead(stream, 0));
  };
  struct Case {
    const char *name;
    std::function<std::string()> body;
  };
  const Case cases[] = {
      {"TensorConjugate", [&] { return PrintTensor(TensorConjugate(TensorCopy(t))); }},
      {"TensorInvert",
       [&] {
         Tensor *c = TensorCopy(t);
         if (c && !TensorInvert(c)) {
           TensorFree(c);
           c = nullptr;
         }
         return PrintTensor(c);
       }},
      {"TensorDeterminant", [&] { return PrintTensor(TensorDeterminant(t)); }},
      {"TensorDeterminantOfItems", [&] { return PrintTensor(TensorDeterminant(deep)); }},
      {"TensorRead", reread},
      {"TensorEigenvalues", [&] { return PrintTensor(TensorEigenvalues(t)); }},
      {"TensorEigenvectors", [&] { return PrintTensor(TensorEigenvectors(t)); }},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.name);
    FailEachRequest(c.body, "<null>");
  }
  MemClose(stream);
  TensorFree(t);
  TensorFree(deep);
}

}  // namespace
