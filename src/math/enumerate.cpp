// divisors, primes, combine and permute: the commands that enumerate.
//
// The counting is the toolkit's (factorisation, the segmented sieve, the
// lexicographic successor of a k-subset, the table of permutations); this
// file bounds the requests before anything is built, since every number of
// the answer becomes an object of its own in a table of its array. A
// combination or permutation is a list of positions in the source, so the
// elements of any type are copied as they are, in lexicographic order of
// their positions.
#include <algorithm>
#include <cmath>
#include <vector>

#include "common/boundary.h"
#include "common/owned.h"
#include "math/command_arguments.h"
#include "math/commands.h"
#include "numerics/containers/container_access.h"
#include "objects/array.h"
#include "objects/matrix.h"
#include "objects/tensor.h"
#include "text/sentinels.h"

namespace qvx {
namespace {

using OwnedVector = Owned<double, FreeVector>;
using OwnedVectorL = Owned<int32_t, FreeVectorL>;
using OwnedMatrixL = Owned<int32_t *, FreeMatrixL>;

// The primes the toolkit's sieve reaches: the window must end below this.
constexpr double kMaxPrime = 1e15;

// The elements that combine and permute choose from: the objects of an
// array, or the values of a matrix of rank 1.
struct Source {
  const Object *array = nullptr;
  std::vector<Complex> values;
  int32_t Count() const { return array ? ArrayCount(array) : static_cast<int32_t>(values.size()); }
  // A new copy of element i for the scope of `holder`.
  Object *Element(int32_t i, Object *holder) const {
    if (array) return CopyObject(ArrayElementAt(array, i), holder->environment, 1);
    const Complex z = values[static_cast<std::size_t>(i)];
    return NewNumericValueObject(z.re, z.im, holder->environment);
  }
};

bool ReadSource(const Object *o, Source &source) {
  if (o->tag == kTagArray) {
    source.array = o;
    return true;
  }
  if (o->tag != kTagMatrix) return false;
  const Tensor *t = MatrixTensor(o);
  std::vector<int32_t> shape;
  if (!t || !TensorShape(t, shape) || shape.size() != 1) return false;
  TensorFlatten(t, source.values);
  return true;
}

// One result: the elements of the source at the given 1-based positions.
Object *Selection(const Source &source, const int32_t *positions, int32_t k, Object *outer) {
  Object *inner = NewArrayObject(0, outer->environment);
  if (!inner) return nullptr;
  for (int32_t j = 0; j < k; ++j) {
    Object *e = source.Element(positions[j] - 1, inner);
    if (!e || !AppendArrayElement(inner, e)) {
      FreeObject(inner);
      return nullptr;
    }
  }
  return inner;
}

// Binomial coefficient, or -1 when it exceeds `limit`.
int64_t ChooseUpTo(int64_t n, int64_t k, int64_t limit) {
  if (k > n - k) k = n - k;
  int64_t c = 1;
  for (int64_t i = 1; i <= k; ++i) {
    // c * (n - k + i) / i is exact at every step; stop before it outgrows
    // the limit (and the integer).
    c = c * (n - k + i) / i;
    if (c > limit) return -1;
  }
  return c;
}

// Reads the source and the count of a combine or permute call; null when
// they are fine, else the answer.
Object *ReadEnumeration(const char *name, ArgumentList *arguments, Environment *env,
                        std::vector<CommandArgument> &args, Source &source) {
  if (Object *bad = ReadArguments(arguments, env, 0x1u, args)) return bad;
  // A name without a value may still become an array; a number can't.
  if (args[0].scalar && !args[0].numeric) return CallTextObject(name, args, env);
  if (!ReadSource(args[0].object, source)) return NewSentinelObject(kSentinelInvalidObject, env);
  for (std::size_t i = 1; i < args.size(); ++i)
    if (!args[i].Real()) return CallTextObject(name, args, env);
  return nullptr;
}

bool Within(int64_t results, int64_t size) {
  return results <= kMaxEnumeratedResults && results * (size + 1) <= kMaxEnumeratedElements;
}

}  // namespace

Object *DivisorsObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    if (ArgumentCount(arguments) != 1) return NewSentinelObject(kSentinelInvalidObject, env);
    std::vector<CommandArgument> args;
    if (Object *bad = ReadArguments(arguments, env, 0, args)) return bad;
    if (!args[0].Real() || !(std::trunc(args[0].value.re) >= 1.0)) return CallTextObject("divisors", args, env);
    const double n = std::trunc(args[0].value.re);
    if (n > kMaxExactInteger) return RefusedObject(env);
    const OwnedVector d(Divisors(n));
    const int32_t count = LengthOf(d.get());
    if (count < 1) return RefusedObject(env);
    return RealArrayObject(d.get() + 1, count, env);
  });
}

Object *PrimesObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 1;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    if (ArgumentCount(arguments) != 2) return NewSentinelObject(kSentinelInvalidObject, env);
    std::vector<CommandArgument> args;
    if (Object *bad = ReadArguments(arguments, env, 0, args)) return bad;
    if (!args[0].Real() || !args[1].Real()) return CallTextObject("primes", args, env);
    const double low = std::max(std::ceil(args[0].value.re), 2.0), high = std::floor(args[1].value.re);
    if (std::isnan(low) || std::isnan(high)) return CallTextObject("primes", args, env);
    if (high < low) return RealArrayObject(nullptr, 0, env);
    if (high >= kMaxPrime || high - low >= kMaxPrimeSpan) return RefusedObject(env);
    const OwnedVector p(PrimeNumbersSub(low, high));
    const int32_t count = LengthOf(p.get());
    return RealArrayObject(count ? p.get() + 1 : nullptr, count, env);
  });
}

Object *CombineObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  if (ArgumentCount(arguments) != 2) return nullptr;
  *owned = 1;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    std::vector<CommandArgument> args;
    Source source;
    if (Object *answer = ReadEnumeration("combine", arguments, env, args, source)) return answer;
    const int32_t n = source.Count();
    const double k = Round(args[1].value.re);
    if (!(k >= 1.0) || k > n) return RealArrayObject(nullptr, 0, env);
    const auto size = static_cast<int32_t>(k);
    const int64_t results = ChooseUpTo(n, size, kMaxEnumeratedResults);
    if (results < 0 || !Within(results, size)) return RefusedObject(env);
    const OwnedVectorL c(VectorL(size));
    if (LengthOf(c.get()) != size) return RefusedObject(env);
    for (int32_t j = 1; j <= size; ++j) c.get()[j] = j;
    Object *outer = NewArrayObject(0, env);
    if (!outer) return RefusedObject(env);
    do {
      if (CancelRequested(env)) {
        FreeObject(outer);
        return NewSentinelObject(kSentinelAborted, env);
      }
      Object *one = Selection(source, c.get() + 1, size, outer);
      if (!one || !AppendArrayElement(outer, one)) {
        FreeObject(outer);
        return RefusedObject(env);
      }
    } while (GenerateComb(c.get(), n));
    return outer;
  });
}

Object *PermuteObject(ArgumentList *arguments, Environment *env, int32_t *owned) {
  *owned = 0;
  if (ArgumentCount(arguments) != 1) return nullptr;
  *owned = 1;
  return Guard(static_cast<Object *>(nullptr), [&]() -> Object * {
    std::vector<CommandArgument> args;
    Source source;
    if (Object *answer = ReadEnumeration("permute", arguments, env, args, source)) return answer;
    const int32_t n = source.Count();
    if (n < 1) return RealArrayObject(nullptr, 0, env);
    int64_t results = 1;
    for (int32_t i = 2; i <= n && results <= kMaxEnumeratedResults; ++i) results *= i;
    if (!Within(results, n)) return RefusedObject(env);
    const OwnedMatrixL table(GeneratePermutationsL(n));
    if (RowsOf(table.get()) != results || ColsOf(table.get()) != n) return RefusedObject(env);
    Object *outer = NewArrayObject(0, env);
    if (!outer) return RefusedObject(env);
    std::vector<int32_t> positions(static_cast<std::size_t>(n));
    for (int32_t row = 1; row <= results; ++row) {
      if (CancelRequested(env)) {
        FreeObject(outer);
        return NewSentinelObject(kSentinelAborted, env);
      }
      for (int32_t j = 1; j <= n; ++j) positions[static_cast<std::size_t>(j - 1)] = table.get()[j][row];
      Object *one = Selection(source, positions.data(), n, outer);
      if (!one || !AppendArrayElement(outer, one)) {
        FreeObject(outer);
        return RefusedObject(env);
      }
    }
    return outer;
  });
}

}  // namespace qvx
