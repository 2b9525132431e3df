// Array objects below the language: element storage against a plain vector
// model, key invariants, copies, limits and the method handlers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "objects/array.h"
#include "objects/environment.h"
#include "objects/object.h"
#include "objects/print.h"
#include "persistence/rbst.h"
#include "objects/workspace.h"

namespace qvx {
namespace {

class Arrays : public test::Workspace {
 protected:
  Object *Number(double v) { return NewNumericValueObject(v, 0, env); }
  // The elements as display texts, in order.
  std::vector<std::string> Texts(const Object *a) {
    std::vector<std::string> out;
    for (int32_t i = 0; i < ArrayCount(a); ++i) out.push_back(ObjectToText(ArrayElementAt(a, i), 0));
    return out;
  }
  // Every item is a live node of the array's own table whose key is a blank
  // and four alphanumerics, no key twice, and nothing else in the table.
  void ExpectConsistent(const Object *a) {
    const ElementVector *v = a->environment->elements;
    std::set<std::string> keys;
    for (int32_t i = 0; i < v->count; ++i) {
      auto *n = static_cast<RBSTNode *>(v->items[i]);
      ASSERT_NE(n, nullptr);
      ASSERT_EQ(std::strlen(n->key), 5u);
      EXPECT_EQ(n->key[0], ' ');
      for (int k = 1; k < 5; ++k) EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(n->key[k])));
      EXPECT_EQ(RBSTFind(a->environment->objectTable.root, n->key), n);
      auto *e = static_cast<Object *>(n->value);
      ASSERT_NE(e, nullptr);
      EXPECT_EQ(e->memberKind, 1);
      EXPECT_EQ(e->creationDepth, 0);
      EXPECT_EQ(e->parentEnvironment, a->environment);
      keys.insert(n->key);
    }
    EXPECT_EQ(static_cast<int32_t>(keys.size()), v->count);
    EXPECT_EQ(a->environment->objectTable.size, v->count);
  }
};

TEST_F(Arrays, ConstructionRespectsTheLimits) {
  struct Case {
    int32_t count;
    bool made;
  } cases[] = {{0, true}, {1, true}, {1000, true}, {-1, false}, {kMaxArrayElements + 1, false}, {INT32_MIN, false}};
  for (const Case &c : cases) {
    Object *a = NewArrayObject(c.count, env);
    EXPECT_EQ(a != nullptr, c.made) << c.count;
    if (!a) continue;
    EXPECT_EQ(ArrayCount(a), c.count);
    for (const std::string &t : Texts(a)) EXPECT_EQ(t, "0");
    ExpectConsistent(a);
    FreeObject(a);
  }
  EXPECT_EQ(ArrayCount(nullptr), 0);
  EXPECT_EQ(ArrayElementAt(nullptr, 0), nullptr);
}

// Random appends, inserts, sets, swaps-by-delete and deletions checked
// against a vector after every step: deletions move table nodes, and the
// items must follow them.
TEST_F(Arrays, RandomEditsMatchAVectorModel) {
  Object *a = NewArrayObject(0, env);
  std::vector<std::string> model;
  std::mt19937 rng(7);
  int next = 0;
  for (int step = 0; step < 600; ++step) {
    const int op = static_cast<int>(rng() % 4);
    const int size = static_cast<int>(model.size());
    const std::string value = std::to_string(next);
    if (op == 0 || size == 0) {
      ASSERT_TRUE(AppendArrayElement(a, Number(next++)));
      model.push_back(value);
    } else if (op == 1) {
      const int at = static_cast<int>(rng() % (size + 1));
      ASSERT_TRUE(InsertArrayElement(a, at, Number(next++)));
      model.insert(model.begin() + at, value);
    } else if (op == 2) {
      const int at = static_cast<int>(rng() % size);
      ASSERT_TRUE(SetArrayElement(a, at, Number(next++)));
      model[static_cast<std::size_t>(at)] = value;
    } else {
      std::vector<int32_t> positions = {static_cast<int32_t>(rng() % size), static_cast<int32_t>(rng() % size), -1,
                                        size};
      std::set<int32_t> unique(positions.begin(), positions.begin() + 2);
      EXPECT_EQ(DeleteArrayElements(a, positions.data(), 4), static_cast<int32_t>(unique.size()));
      for (auto it = unique.rbegin(); it != unique.rend(); ++it) model.erase(model.begin() + *it);
    }
    ASSERT_EQ(Texts(a), model) << "step " << step;
  }
  ExpectConsistent(a);
  FreeObject(a);
}

TEST_F(Arrays, RefusedElementsAreFreedAndChangeNothing) {
  Object *a = NewArrayObject(2, env);
  EXPECT_FALSE(SetArrayElement(a, 2, Number(1)));
  EXPECT_FALSE(SetArrayElement(a, -1, Number(1)));
  EXPECT_FALSE(InsertArrayElement(a, 3, Number(1)));
  EXPECT_FALSE(SetArrayElement(nullptr, 0, Number(1)));
  EXPECT_FALSE(AppendArrayElement(nullptr, Number(1)));
  EXPECT_FALSE(SetArrayElement(a, 0, nullptr));
  EXPECT_FALSE(ResizeArray(a, -1));
  EXPECT_FALSE(ResizeArray(a, kMaxArrayElements + 1));
  EXPECT_EQ(Texts(a), (std::vector<std::string>{"0", "0"}));
  FreeObject(a);
}

TEST_F(Arrays, AlgebraicElementsNeverKeepPlaceholderBytes) {
  Object *a = NewArrayObject(1, env);
  ASSERT_TRUE(SetArrayElement(a, 0, NewAlgebraicObject("x+\x80", env)));
  EXPECT_EQ(Texts(a)[0], ">invalid_expression<");
  ASSERT_TRUE(AppendArrayElement(a, NewAlgebraicObject("y*2", env)));
  EXPECT_EQ(Texts(a)[1], "y*2");
  FreeObject(a);
}

TEST_F(Arrays, ResizeGrowsWithZerosAndCutsTheTail) {
  Object *a = NewArrayObject(0, env);
  for (int i = 0; i < 5; ++i) AppendArrayElement(a, Number(i));
  ASSERT_TRUE(ResizeArray(a, 3));
  EXPECT_EQ(Texts(a), (std::vector<std::string>{"0", "1", "2"}));
  ASSERT_TRUE(ResizeArray(a, 5));
  EXPECT_EQ(Texts(a), (std::vector<std::string>{"0", "1", "2", "0", "0"}));
  ASSERT_TRUE(ResizeArray(a, 0));
  EXPECT_EQ(ArrayCount(a), 0);
  ExpectConsistent(a);
  FreeObject(a);
}

TEST_F(Arrays, CopiesAreIndependentAndPointAtTheirOwnNodes) {
  Object *a = NewArrayObject(0, env);
  for (int i = 0; i < 50; ++i) AppendArrayElement(a, Number(i));
  Object *c = CopyObject(a, env, 1);
  ASSERT_NE(c, nullptr);
  ExpectConsistent(c);
  for (int32_t i = 0; i < 50; ++i) EXPECT_NE(c->environment->elements->items[i], a->environment->elements->items[i]);
  SetArrayElement(c, 0, Number(-1));
  const int32_t first[] = {1};
  DeleteArrayElements(c, first, 1);
  EXPECT_EQ(Texts(a)[0], "0");
  EXPECT_EQ(ArrayCount(a), 50);
  EXPECT_EQ(Texts(c)[0], "-1");
  EXPECT_EQ(ArrayCount(c), 49);
  FreeObject(a);
  FreeObject(c);
}

TEST_F(Arrays, NestingDeeperThanTheLimitIsRefused) {
  Object *inner = NewArrayObject(1, env);
  for (int depth = 1; depth < kMaxArrayNesting; ++depth) {
    Object *outer = NewArrayObject(1, env);
    ASSERT_TRUE(SetArrayElement(outer, 0, inner)) << depth;
    inner = outer;
  }
  Object *outer = NewArrayObject(1, env);
  EXPECT_FALSE(SetArrayElement(outer, 0, CopyObject(inner, outer->environment, 1)));
  EXPECT_FALSE(AppendArrayElement(outer, inner));  // frees it
  FreeObject(outer);
}

TEST_F(Arrays, PrintsDisplayAndSourceForms) {
  Object *a = NewArrayObject(0, env);
  EXPECT_EQ(ObjectToText(a, 1), "array:;");
  EXPECT_EQ(ObjectToText(a, 0), "(array)");
  AppendArrayElement(a, Number(1.5));
  AppendArrayElement(a, NewStringObject("s", env));
  Object *inner = NewArrayObject(1, env);
  AppendArrayElement(a, inner);
  EXPECT_EQ(ObjectToText(a, 1), "array:3,1.5,\"s\",array:1,0;;");
  EXPECT_EQ(ObjectToText(a, 0), "(array)\n  1.5\n  \"s\"\n  (array)\n    0");
  *a->environment->cancelFlag = 1;
  EXPECT_EQ(ObjectToText(a, 0), ">evaluation_aborted<");
  *a->environment->cancelFlag = 0;
  FreeObject(a);
}

// The handlers as the call machinery runs them: the list's first slot is a
// placeholder, and the scope is the array's own.
class ArrayMethods : public Arrays {
 protected:
  Object *Call(NativeHandler h, Object *array, std::vector<Object *> args, int32_t *owned) {
    std::vector<Object *> items{nullptr};
    items.insert(items.end(), args.begin(), args.end());
    ArgumentList list{static_cast<int32_t>(items.size()), items.data()};
    Object *r = h(&list, array->environment, owned);
    for (Object *o : args) FreeObject(o);
    return r;
  }
};

TEST_F(ArrayMethods, InPlaceMethodsAnswerTheArrayUnowned) {
  struct Case {
    const char *name;
    NativeHandler handler;
    std::vector<double> args;
    std::vector<std::string> after;
  } cases[] = {
      {"enlarge up", ArrayEnlargeMethod, {4.4}, {"0", "1", "2", "0"}},
      {"enlarge down", ArrayEnlargeMethod, {1}, {"0"}},
      {"insert front", ArrayInsertMethod, {9, 0}, {"9", "0", "1", "2"}},
      {"insert at count", ArrayInsertMethod, {9, 3}, {"0", "1", "2", "9"}},
      {"insert past count", ArrayInsertMethod, {9, 4}, {"0", "1", "2"}},
      {"swap", ArraySwapMethod, {0, 2}, {"2", "1", "0"}},
      {"swap rounded", ArraySwapMethod, {0.4, 1.6}, {"2", "1", "0"}},
      {"swap at count", ArraySwapMethod, {0, 3}, {"0", "1", "2"}},
      {"swap negative", ArraySwapMethod, {-1, 0}, {"0", "1", "2"}},
      {"delete two", ArrayDeleteMethod, {2, 0}, {"1"}},
      {"delete repeated", ArrayDeleteMethod, {1, 1}, {"0", "2"}},
      {"delete out of range", ArrayDeleteMethod, {1, 3}, {"0", "1", "2"}},
      {"append", ArrayAppendMethod, {7, 8}, {"0", "1", "2", "7", "8"}},
  };
  for (const Case &c : cases) {
    Object *a = NewArrayObject(0, env);
    for (int i = 0; i < 3; ++i) AppendArrayElement(a, Number(i));
    std::vector<Object *> args;
    for (double d : c.args) args.push_back(Number(d));
    int32_t owned = -1;
    Object *r = Call(c.handler, a, args, &owned);
    EXPECT_EQ(r, a) << c.name;
    EXPECT_EQ(owned, 0) << c.name;
    EXPECT_EQ(Texts(a), c.after) << c.name;
    ExpectConsistent(a);
    FreeObject(a);
  }
}

TEST_F(ArrayMethods, BadSizesAndIndicesAreRefused) {
  const double nan = std::nan("");
  for (double size : {0.0, -3.0, 0.4, double(kMaxArrayElements) + 1, nan, 1e300}) {
    Object *a = NewArrayObject(2, env);
    int32_t owned = 0;
    Object *r = Call(ArrayEnlargeMethod, a, {Number(size)}, &owned);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(owned, 1);
    EXPECT_EQ(ObjectToText(r, 0), ">invalid_expression<") << size;
    EXPECT_EQ(ArrayCount(a), 2);
    FreeObject(r);
    // Non-numbers end index methods without a change.
    for (Object *index : {Number(nan), NewAlgebraicObject("x", env), NewStringObject("1", env)}) {
      r = Call(ArraySwapMethod, a, {Number(0), index}, &owned);
      EXPECT_EQ(r, a);
    }
    r = Call(ArrayDeleteMethod, a, {NewAlgebraicObject("1", env)}, &owned);  // numeric text counts
    EXPECT_EQ(ArrayCount(a), 1);
    FreeObject(a);
  }
}

TEST_F(ArrayMethods, SizeCropAndMatrixAnswerNewObjects) {
  Object *a = NewArrayObject(0, env);
  for (int i = 0; i < 4; ++i) AppendArrayElement(a, Number(i));
  int32_t owned = 0;
  Object *size = Call(ArraySizeMethod, a, {}, &owned);
  EXPECT_EQ(owned, 1);
  EXPECT_EQ(ObjectToText(size, 0), "4");
  FreeObject(size);

  struct Crop {
    double i, j;
    std::vector<std::string> texts;  // empty: no array
  } crops[] = {{1, 2, {"1", "2"}}, {0, 3, {"0", "1", "2", "3"}}, {2, 2, {"2"}}, {2, 1, {}}, {0, 4, {}}, {-1, 0, {}}};
  for (const Crop &c : crops) {
    Object *r = Call(ArrayCropMethod, a, {Number(c.i), Number(c.j)}, &owned);
    if (c.texts.empty()) {
      EXPECT_EQ(r, nullptr) << c.i << "," << c.j;
      continue;
    }
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(owned, 1);
    EXPECT_EQ(Texts(r), c.texts);
    ExpectConsistent(r);
    FreeObject(r);
  }
  // A numeric array becomes a vector: a new matrix of rank 1.
  Object *m = Call(ArrayMatrixMethod, a, {}, &owned);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(owned, 1);
  EXPECT_EQ(m->tag, kTagMatrix);
  EXPECT_EQ(ObjectToText(m, 0), "(matrix)\n0  1  2  3");
  FreeObject(m);
  // A wrong argument count answers null, as every handler does.
  EXPECT_EQ(Call(ArraySizeMethod, a, {Number(1)}, &owned), nullptr);
  EXPECT_EQ(Call(ArrayAppendMethod, a, {}, &owned), nullptr);
  FreeObject(a);
}

TEST_F(ArrayMethods, AppendingTheArrayToItselfStoresACopy) {
  Object *a = NewArrayObject(1, env);
  int32_t owned = 0;
  std::vector<Object *> items{nullptr, a};
  ArgumentList list{2, items.data()};
  EXPECT_EQ(ArrayAppendMethod(&list, a->environment, &owned), a);
  ASSERT_EQ(ArrayCount(a), 2);
  const Object *inner = ArrayElementAt(a, 1);
  EXPECT_NE(inner, a);
  EXPECT_EQ(ArrayCount(inner), 1);
  FreeObject(a);
}

}  // namespace
}  // namespace qvx
