// The commands of the language that answer with arrays: roots and peaks of
// an expression, the n-th roots of a complex number, divisors and primes,
// combinations and permutations of an array, and the polynomial fit.
//
// All are object handlers of the default function table. Like sum and int,
// a call whose arguments can't yet be reduced to numbers answers with its
// own call text, so that `primes(1,n)` stays a value until `n` is known.
// A request for more elements than any input could justify (`primes(1,1e15)`,
// `permute` of a 12-element array) is refused with ">invalid_expression<"
// before anything is allocated.
//
// roots.cpp: findroots, findpeaks, complexroots, polyfit.
// enumerate.cpp: divisors, primes, combine, permute.
#pragma once

#include <cstdint>

#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// The bounds of the refusals.
// More numbers than this between the limits of primes are not tested.
inline constexpr double kMaxPrimeSpan = 1e7;
// Integers are exact in a double up to 2^53; above it divisors and primes
// would answer about numbers nobody wrote.
inline constexpr double kMaxExactInteger = 9007199254740992.0;
// complexroots makes at most this many roots.
inline constexpr int32_t kMaxComplexRoots = 1 << 20;
// combine and permute make at most this many results, and at most
// kMaxEnumeratedElements element objects in all (results times their size):
// every result is an array with a scope and tables of its own, and every
// element an object in such a table, a few kilobytes a result. 8! orderings
// of 8 elements is the most that stays in the low hundreds of megabytes.
inline constexpr int64_t kMaxEnumeratedResults = 40320;  // 8!
inline constexpr int64_t kMaxEnumeratedElements = 1 << 20;

// findroots(f,x1,x2): the simple roots of f between x1 and x2.
Object *FindRootsObject(ArgumentList *arguments, Environment *env, int32_t *owned);
// findpeaks(f,x1,x2): the abscissas of the local maxima of the real part.
Object *FindPeaksObject(ArgumentList *arguments, Environment *env, int32_t *owned);
// complexroots(z,n): the n n-th roots of z.
Object *ComplexRootsObject(ArgumentList *arguments, Environment *env, int32_t *owned);
// polyfit(x,y,k) and polyfit(x,y,w,k): a mutant with the fitted polynomial.
Object *PolyFitObject(ArgumentList *arguments, Environment *env, int32_t *owned);

// divisors(n): the divisors of n, ascending.
Object *DivisorsObject(ArgumentList *arguments, Environment *env, int32_t *owned);
// primes(n1,n2): the primes from n1 to n2 inclusive.
Object *PrimesObject(ArgumentList *arguments, Environment *env, int32_t *owned);
// combine(a,k): every k-element selection of the elements of a, each an array.
Object *CombineObject(ArgumentList *arguments, Environment *env, int32_t *owned);
// permute(a): every ordering of the elements of a, each an array.
Object *PermuteObject(ArgumentList *arguments, Environment *env, int32_t *owned);

}  // namespace qvx
