// Matrix objects below the language: constructors and their slots, copies,
// the printed forms and their read-back through the engine, element access,
// and the operator-table arithmetic against products worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "engine/evaluate.h"
#include "libquorvex.h"
#include "objects/environment.h"
#include "objects/matrix.h"
#include "objects/object.h"
#include "objects/print.h"
#include "objects/tensor.h"
#include "persistence/rbst.h"
#include "objects/workspace.h"

namespace qvx {
namespace {

class Matrices : public test::Workspace {
 protected:
  Object *Make(const std::vector<int32_t> &shape, const std::vector<Complex> &values) {
    return NewMatrixObject(TensorBuild(shape, values.data()), true, env);
  }
  static std::vector<Complex> Values(const Object *m) {
    std::vector<Complex> v;
    TensorFlatten(MatrixTensor(m), v);
    return v;
  }
  static std::vector<int32_t> ShapeOf(const Object *m) {
    std::vector<int32_t> s;
    TensorShape(MatrixTensor(m), s);
    return s;
  }
};

TEST_F(Matrices, ConstructorsFillSlotsAndTheMethodTable) {
  Object *empty = NewMatrixObject(env);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(empty->tag, kTagMatrix);
  EXPECT_EQ(ShapeOf(empty), std::vector<int32_t>{0});
  EXPECT_NE(empty->freePayload, nullptr);
  EXPECT_NE(empty->copyPayload, nullptr);
  int32_t methods = 0;
  ForEachNode(empty->environment->functionTable.root, [&](RBSTNode *) { ++methods; });
  EXPECT_EQ(methods, 29);
  FreeObject(empty);

  // Copy form: the caller keeps its tensor; adopt form: the object owns it.
  const std::vector<Complex> v = {{1, 0}, {2, 0}};
  Tensor *t = TensorBuild({2}, v.data());
  Object *copied = NewMatrixObject(t, false, env);
  ASSERT_NE(copied, nullptr);
  EXPECT_NE(MatrixTensor(copied), t);
  Object *adopted = NewMatrixObject(t, true, env);
  EXPECT_EQ(MatrixTensor(adopted), t);
  FreeObject(copied);
  FreeObject(adopted);
  EXPECT_EQ(NewMatrixObject(nullptr, true, env), nullptr);
}

TEST_F(Matrices, CopyIsDeep) {
  Object *a = Make({2, 2}, {{1, 0}, {2, 0}, {3, 0}, {4, 0}});
  Object *b = CopyObject(a, env, 1);
  ASSERT_NE(b, nullptr);
  Object *nine = NewNumericValueObject(9, 0, env);
  ASSERT_EQ(WriteMatrixElement(b, {0, 0}, nine), 1);
  FreeObject(nine);
  EXPECT_EQ(Values(a)[0].re, 1.0);
  EXPECT_EQ(Values(b)[0].re, 9.0);
  FreeObject(a);
  FreeObject(b);
}

TEST_F(Matrices, ElementWriteRules) {
  Object *m = Make({2, 2}, {{1, 0}, {2, 0}, {3, 0}, {4, 0}});
  Object *five = NewNumericValueObject(5, 0, env);
  Object *row = Make({2}, {{7, 0}, {8, 0}});
  Object *longRow = Make({3}, {{7, 0}, {8, 0}, {9, 0}});
  struct {
    std::vector<int32_t> at;
    const Object *value;
    int32_t status;
  } cases[] = {
      {{0, 1}, five, 1},     {{2, 0}, five, 1},  // out of range: quietly nothing
      {{0}, five, 0},        {{0, 0, 0}, five, 0},
      {{1}, row, 1},         {{1}, longRow, 0},
      {{0, 0}, row, 0},      {{-1}, row, 1},
  };
  for (const auto &c : cases) EXPECT_EQ(WriteMatrixElement(m, c.at, c.value), c.status);
  const std::vector<Complex> v = Values(m);
  const double expect[] = {1, 5, 7, 8};
  for (int k = 0; k < 4; ++k) EXPECT_EQ(v[k].re, expect[k]) << k;
  Object *read = ReadMatrixElement(m, {1, 0}, env);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(Numeric(read)->re, 7.0);
  EXPECT_EQ(ReadMatrixElement(m, {2, 0}, env), nullptr);
  for (Object *o : {m, five, row, longRow, read}) FreeObject(o);
}

TEST_F(Matrices, OperationsAgainstHandValues) {
  Object *a = Make({2, 2}, {{1, 0}, {2, 0}, {3, 0}, {4, 0}});
  Object *p = Make({2, 2}, {{0, 0}, {1, 0}, {1, 0}, {0, 0}});
  Object *two = NewNumericValueObject(2, 0, env);
  Object *text = NewAlgebraicObject("3", env);
  struct {
    const Object *l, *r;
    char op;
    std::vector<double> expect;  // real parts in index order
  } cases[] = {
      {a, p, '*', {2, 1, 4, 3}}, {p, a, '*', {3, 4, 1, 2}},   {a, p, '-', {1, 1, 2, 4}},
      {two, a, '-', {1, 0, -1, -2}}, {a, two, '-', {-1, 0, 1, 2}}, {a, text, '*', {3, 6, 9, 12}},
      {a, two, '^', {7, 10, 15, 22}}, {a, two, '/', {0.5, 1, 1.5, 2}},
  };
  for (const auto &c : cases) {
    Object *r = MatrixOperation(c.l, c.r, c.op, env);
    ASSERT_EQ(r->tag, kTagMatrix) << c.op;
    const std::vector<Complex> v = Values(r);
    for (std::size_t k = 0; k < c.expect.size(); ++k) EXPECT_EQ(v[k].re, c.expect[k]) << c.op << " " << k;
    FreeObject(r);
  }
  Object *bad = MatrixOperation(two, a, '/', env);
  EXPECT_EQ(ObjectToText(bad, 0), ">invalid_object<");
  for (Object *o : {a, p, two, text, bad}) FreeObject(o);
}

// The source form runs back through the engine into an equal block: same
// shape, and values equal within the 15 printed digits.
TEST_F(Matrices, SourceFormReadsBack) {
  const std::vector<std::pair<std::vector<int32_t>, std::vector<Complex>>> blocks = {
      {{2, 2}, {{1, 0}, {-2, 0}, {3.25, 0}, {4, 0}}},
      {{3}, {{1.5, 0}, {0, -2}, {3, 4}}},
      {{2, 1, 2}, {{1e-7, 0}, {2e100, 0}, {-0.1, 0.3}, {1.0 / 3.0, 0}}},
      {{1, 1}, {{0, 0}}},
      {{}, {{5, -1}}},
      {{0}, {}},
  };
  for (const auto &[shape, values] : blocks) {
    Object *m = Make(shape, values);
    ASSERT_NE(m, nullptr);
    const std::string source = ObjectToText(m, 1);
    EXPECT_EQ(source.find_first_of("\x80\xff"), std::string::npos);
    const std::string script = "copy=" + source;
    char *answer = QuorvexScript(script.c_str(), env, 1);
    FreeString(answer);
    Object *copy = FindObjectInScopes("copy", env);
    ASSERT_NE(copy, nullptr) << source;
    ASSERT_EQ(copy->tag, kTagMatrix) << source;
    EXPECT_EQ(ShapeOf(copy), ShapeOf(m)) << source;
    const std::vector<Complex> a = Values(m), b = Values(copy);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t k = 0; k < a.size(); ++k) {
      EXPECT_NEAR(b[k].re, a[k].re, 1e-14 * std::fabs(a[k].re)) << source;
      EXPECT_NEAR(b[k].im, a[k].im, 1e-14 * std::fabs(a[k].im)) << source;
    }
    FreeObject(m);
  }
}

TEST_F(Matrices, DisplayLayout) {
  Object *m = Make({2, 2}, {{1, 0}, {-20, 0}, {300, 0}, {4, 0}});
  EXPECT_EQ(ObjectToText(m, 0), "(matrix)\n  1  -20\n300    4");
  Object *v = Make({3}, {{1, 0}, {0, 2}, {3, 0}});
  EXPECT_EQ(ObjectToText(v, 0), "(matrix)\n1  2*i  3");
  Object *c = Make({2, 1, 1}, {{1, 0}, {2, 0}});
  EXPECT_EQ(ObjectToText(c, 0), "(matrix)\n(0,:,:)\n1\n\n(1,:,:)\n2");
  for (Object *o : {m, v, c}) FreeObject(o);
}

}  // namespace
}  // namespace qvx
