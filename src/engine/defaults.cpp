// The default function table of a top-level scope and the method tables of
// the object types.
//
// Predefined functions are not keywords: each is a FunctionRecord with a
// native handler under the key "name(arity)", or "name()" for a variadic
// one, so that a call looks them up exactly as it looks up a user function
// ("name(n)" first, then "name()"), and a user function with the same key
// replaces one until `restore()` fills the table again. Filling inserts only
// missing keys; the table below is inserted in its order, "abs(1)" three
// times as it always has been (the second and third insertions find the key
// taken).
//
// A handler gets the argument list (element 0 is a sentinel, so the count is
// the number of arguments plus one), the scope it runs in and an out-flag
// for ownership; a null result means "no value", which the caller turns into
// the call's own text. Functions whose module is not present answer that
// way, so `sin(1)` stays the text "sin(1)" until its handler is registered.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "common/globals.h"
#include "engine/program.h"
#include "math/commands.h"
#include "math/functions.h"
#include "objects/array.h"
#include "objects/environment.h"
#include "objects/matrix.h"
#include "objects/object.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

// The answer of a function whose module is not present: no value.
Object *NotAvailable(ArgumentList *, Environment *, int32_t *owned) {
  if (owned) *owned = 0;
  return nullptr;
}

// Insertion order matters only for the duplicate keys; it is kept as is.
constexpr NativeEntry kDefaultTable[] = {
    // Environment commands.
    {"export()", nullptr}, {"import()", nullptr}, {"listf(0)", nullptr}, {"read(1)", nullptr},
    {"delete()", DeleteCommand}, {"introspect(0)", IntrospectCommand}, {"restore(0)", RestoreCommand},
    {"mutate()", MutateCommand}, {"write(1)", nullptr},
    // Number output and root finding.
    {"bin()", nullptr}, {"hex()", nullptr}, {"dec(1)", nullptr}, {"complexroots(2)", ComplexRootsObject},
    {"divisors(1)", DivisorsObject}, {"findpeaks(3)", FindPeaksObject}, {"findroots(3)", FindRootsObject},
    {"primefactors(1)", nullptr}, {"primes(2)", PrimesObject}, {"hmstime(3)", nullptr}, {"sigdigits()", nullptr},
    {"combine()", CombineObject}, {"permute()", PermuteObject}, {"polyfit()", PolyFitObject},
    // Introspection.
    {"print(0)", PrintCommand}, {"type(0)", TypeCommand},
    // Mathematical functions.
    {"abs(1)", nullptr}, {"airya(1)", nullptr}, {"airyb(1)", nullptr}, {"arccos(1)", nullptr},
    {"arccosh(1)", nullptr}, {"arcsin(1)", nullptr}, {"arcsinh(1)", nullptr}, {"arctan(1)", nullptr},
    {"arctan2(2)", nullptr}, {"arctanh(1)", nullptr}, {"abs(1)", nullptr}, {"abs(1)", nullptr},
    {"arg(1)", nullptr}, {"besseli(2)", nullptr}, {"besselj(2)", nullptr}, {"besselk(2)", nullptr},
    {"bessely(2)", nullptr}, {"ceil(1)", nullptr}, {"comb(2)", nullptr}, {"cos(1)", nullptr},
    {"cosh(1)", nullptr}, {"deriv()", nullptr}, {"exp(1)", nullptr}, {"floor(1)", nullptr},
    {"gcd(2)", nullptr}, {"hypot(2)", nullptr}, {"im(1)", nullptr}, {"int()", nullptr},
    {"legendre(3)", nullptr}, {"ln(1)", nullptr}, {"log(1)", nullptr}, {"max()", nullptr},
    {"min()", nullptr}, {"mean()", nullptr}, {"median()", nullptr}, {"variance()", nullptr},
    {"mod(2)", nullptr}, {"perm(2)", nullptr}, {"prod()", nullptr}, {"rand(2)", nullptr},
    {"randint(2)", nullptr}, {"re(1)", nullptr}, {"root()", nullptr}, {"round(1)", nullptr},
    {"sign(1)", nullptr}, {"sin(1)", nullptr}, {"sinh(1)", nullptr}, {"sqrt(1)", nullptr},
    {"sum()", nullptr}, {"tan(1)", nullptr}, {"tanh(1)", nullptr},
    // Readers: system functions.
    {"readmatrix()", ReadMatrixFunction}, {"readstring(1)", nullptr}, {"readvector()", ReadVectorFunction},
};
static_assert(sizeof kDefaultTable / sizeof kDefaultTable[0] == 79, "the default table has 79 insertions");

constexpr NativeEntry kBignumMethods[] = {
    {"eval(0)", nullptr}, {"shift(1)", nullptr}, {"and(1)", nullptr},
    {"or(1)", nullptr},   {"xor(1)", nullptr},   {"not(0)", nullptr},
};
constexpr NativeEntry kMatrixMethods[] = {
    {"size(0)", MatrixSizeMethod},          {"rank(0)", MatrixRankMethod},
    {"mul(1)", MatrixMulMethod},            {"add(1)", MatrixAddMethod},
    {"append()", MatrixAppendMethod},       {"appendcol()", MatrixAppendColMethod},
    {"insert(2)", MatrixInsertMethod},      {"insertcol(2)", MatrixInsertColMethod},
    {"enlarge(1)", MatrixEnlargeMethod},    {"delete()", MatrixDeleteMethod},
    {"elem()", MatrixElemMethod},           {"swap(2)", MatrixSwapMethod},
    {"swapcol(2)", MatrixSwapColMethod},    {"deletecol()", MatrixDeleteColMethod},
    {"sub(1)", MatrixSubMethod},            {"dirmul(1)", MatrixDirMulMethod},
    {"diradd(1)", MatrixDirAddMethod},      {"transpose(0)", MatrixTransposeMethod},
    {"invert(0)", MatrixInvertMethod},      {"conj(0)", MatrixConjMethod},
    {"dims(0)", MatrixDimsMethod},          {"trace(0)", MatrixTraceMethod},
    {"vectorize(0)", MatrixVectorizeMethod}, {"matricize(0)", MatrixMatricizeMethod},
    {"det(0)", MatrixDetMethod},            {"eigvals(0)", MatrixEigvalsMethod},
    {"eigvecs(0)", MatrixEigvecsMethod},    {"array(0)", MatrixArrayMethod},
    {"writematrix()", MatrixWriteMethod},
};
static_assert(sizeof kMatrixMethods / sizeof kMatrixMethods[0] == 29, "a matrix has 29 methods");
constexpr NativeEntry kArrayMethods[] = {
    {"size(0)", ArraySizeMethod}, {"enlarge(1)", ArrayEnlargeMethod}, {"append()", ArrayAppendMethod},
    {"insert(2)", ArrayInsertMethod}, {"swap(2)", ArraySwapMethod}, {"crop(2)", ArrayCropMethod},
    {"delete()", ArrayDeleteMethod}, {"matrix(0)", ArrayMatrixMethod},
};
constexpr NativeEntry kStringMethods[] = {
    {"size(0)", nullptr},   {"append()", nullptr},       {"swap(2)", nullptr},        {"charcount(0)", nullptr},
    {"split()", nullptr},   {"crop(2)", nullptr},        {"delete()", nullptr},       {"replace(2)", nullptr},
    {"remove(1)", nullptr}, {"compare(1)", nullptr},     {"characterize(0)", nullptr}, {"sort(0)", nullptr},
    {"eval(0)", nullptr},   {"insert(2)", nullptr},      {"writestring(1)", nullptr}, {"enlarge(1)", nullptr},
};
constexpr NativeEntry kNodeMethods[] = {
    {"value(0)", nullptr},   {"label(0)", nullptr},  {"outedges(0)", nullptr}, {"inedges(0)", nullptr},
    {"disconnect()", nullptr}, {"isleaf(0)", nullptr}, {"isempty(0)", nullptr},  {"islocked(0)", nullptr},
    {"lock()", nullptr},     {"unlock()", nullptr},
};
constexpr NativeEntry kMapMethods[] = {
    {"add()", nullptr},     {"get(1)", nullptr},    {"keys(0)", nullptr},   {"size(0)", nullptr},
    {"flush(0)", nullptr},  {"exists(1)", nullptr}, {"delete(1)", nullptr},
};
constexpr NativeEntry kClassDefinitionMethods[] = {{"toclass(1)", nullptr}};

// The name part of a key: "sin(1)" -> "sin".
char *NameOfKey(const char *key) {
  const char *open = std::strchr(key, '(');
  return DupText(key, open ? static_cast<std::size_t>(open - key) : std::strlen(key));
}

FunctionRecord *NewNativeRecord(const NativeEntry &e, int32_t system) {
  auto *r = static_cast<FunctionRecord *>(std::calloc(1, sizeof(FunctionRecord)));
  if (!r) return nullptr;
  r->name = NameOfKey(e.key);
  r->system = system;
  NativeHandler predefined = e.handler ? nullptr : FindPredefinedHandler(e.key);
  r->handler = e.handler ? e.handler : (predefined ? predefined : NotAvailable);
  return r;
}

bool IsReader(const char *key) { return std::strncmp(key, "read", 4) == 0 && std::strcmp(key, "read(1)") != 0; }

void ResetTable(RBST *t) {
  RBST fresh = RBSTInitialize(t->free_value, t->read_value, t->write_value, t->copy_value);
  if (t->root) {
    RBSTFreeValues(t, t->root);
    RBSTFreeNodes(t, t->root);
  }
  *t = fresh;
}

}  // namespace

void FillDefaultFunctions(Environment *env) {
  if (!env || env->isScalar) return;
  for (const NativeEntry &e : kDefaultTable) {
    if (env->functionTable.root && RBSTFind(env->functionTable.root, e.key)) continue;
    if (FunctionRecord *r = NewNativeRecord(e, IsReader(e.key) ? 1 : 0))
      RBSTInsert(&env->functionTable, env->functionTable.root, e.key, r);
  }
}

void FillMethodTable(Environment *env, std::span<const NativeEntry> entries) {
  if (!env || env->isScalar) return;
  for (const NativeEntry &e : entries)
    if (FunctionRecord *r = NewNativeRecord(e, 1)) RBSTInsert(&env->functionTable, env->functionTable.root, e.key, r);
}

void FillTypeMethods(Environment *env, int32_t tag) {
  switch (tag) {
    case kTagMatrix:
      FillMethodTable(env, kMatrixMethods);
      break;
    case kTagArray:
      FillMethodTable(env, kArrayMethods);
      break;
    default:
      break;
  }
}

std::span<const NativeEntry> BignumMethods() { return kBignumMethods; }
std::span<const NativeEntry> MatrixMethods() { return kMatrixMethods; }
std::span<const NativeEntry> ArrayMethods() { return kArrayMethods; }
std::span<const NativeEntry> StringMethods() { return kStringMethods; }
std::span<const NativeEntry> NodeMethods() { return kNodeMethods; }
std::span<const NativeEntry> MapMethods() { return kMapMethods; }
std::span<const NativeEntry> ClassDefinitionMethods() { return kClassDefinitionMethods; }

void ResetToDefaults(Environment *env, bool keepLiterals) {
  if (!env || env->isScalar) return;
  const uint8_t saved = env->updateHistory;
  env->updateHistory = 0;
  if (env->seed) *env->seed = InitialSeed();
  ResetTable(&env->functionTable);
  if (!env->ownerObject) FillDefaultFunctions(env);
  // Called from a running script (restore()), the old objects may still be
  // held up the stack: an argument being bound, the receiver of a running
  // method. They are parked rather than freed, and the literals of the
  // script keep their names, since its text still holds them.
  std::vector<std::pair<std::string, Object *>> kept;
  if (keepLiterals) {
    // Values are taken out of the nodes as the walk passes; the tree's shape
    // does not change until the table is reset below.
    ForEachNode(env->objectTable.root, [&](RBSTNode *n) {
      if (!n->value) return;
      const bool literal = env->temporaryNames.root && RBSTFind(env->temporaryNames.root, n->key);
      const bool parked = n->key[0] == '\x05';
      std::string key = n->key;
      if (!literal && !parked) {
        char name[2 + 2 * sizeof(void *) + 1];
        std::snprintf(name, sizeof name, "%c%p", '\x05', n->value);
        key = name;
      }
      kept.emplace_back(std::move(key), static_cast<Object *>(n->value));
      n->value = nullptr;
    });
  } else {
    ClearLiterals(env, 1);
  }
  ResetTable(&env->objectTable);
  ResetTable(&env->classTable);
  env->deletedCount = 0;
  for (auto &[key, o] : kept) RBSTInsert(&env->objectTable, env->objectTable.root, key.c_str(), o);
  const Globals &g = G();
  if (g.initScript && *g.initScript) {
    std::string answer = RunScriptText(g.initScript, env, 0);
    WipeString(answer);
  }
  env->updateHistory = saved;
}

}  // namespace qvx

using namespace qvx;

extern "C" {

QVX_API char *RestoreDefaultAssignments(Environment *env, int32_t flags) noexcept {
  GuardVoid([env] {
    if (env && !env->isScalar) ResetToDefaults(env, false);
  });
  return DupText("default assignments restored");
}

}  // extern "C"
