// The commands that answer with arrays, through the script entry: roots and
// peaks of expressions, complex roots, divisors and primes, combinations and
// permutations, and the polynomial fit. Results are read back from the
// scope as objects, so the checks don't depend on how an array prints.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "../engine/session.h"
#include "libquorvex.h"
#include "math/commands.h"
#include "objects/array.h"
#include "objects/object.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

using test::Session;

constexpr double kPi = 3.141592653589793;

const Object *Lookup(Environment *scope, const char *name) {
  RBSTNode *n = scope && scope->objectTable.root ? RBSTFind(scope->objectTable.root, name) : nullptr;
  return n ? static_cast<const Object *>(n->value) : nullptr;
}

// The value of `script` stored under "r".
const Object *Result(Session &s, const std::string &script) {
  s.Run("r=" + script);
  return Lookup(s.env(), "r");
}

// The numbers of an array of numeric elements; a NaN pair marks anything else.
std::vector<Complex> Numbers(const Object *array) {
  std::vector<Complex> out;
  for (int32_t i = 0; i < ArrayCount(array); ++i) {
    const Object *e = ArrayElementAt(array, i);
    out.push_back(e && e->tag == kTagNumeric ? Complex{Numeric(e)->re, Numeric(e)->im} : Complex{NAN, NAN});
  }
  return out;
}

std::vector<double> Reals(const Object *array) {
  std::vector<double> out;
  for (const Complex &z : Numbers(array)) out.push_back(z.im == 0.0 ? z.re : NAN);
  return out;
}

// The number an answer prints, NaN when it is not one.
double Number(const std::string &text) {
  char *end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  return end && *end == '\0' && !text.empty() ? v : NAN;
}

bool IsArray(const Object *o) { return o && o->tag == kTagArray; }

void ExpectReals(const Object *array, const std::vector<double> &expected, double tolerance, const std::string &what) {
  ASSERT_TRUE(IsArray(array)) << what;
  const std::vector<double> got = Reals(array);
  ASSERT_EQ(got.size(), expected.size()) << what;
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], expected[i], tolerance) << what << " #" << i;
}

// Binds `name` in the session's top level to an array of the given numbers.
void BindArray(Session &s, const char *name, const std::vector<double> &values) {
  Environment *top = s.env();
  Object *a = NewArrayObject(0, top);
  ASSERT_NE(a, nullptr);
  for (double v : values) ASSERT_TRUE(AppendArrayElement(a, NewNumericValueObject(v, 0.0, a->environment)));
  RBSTInsert(&top->objectTable, top->objectTable.root, name, a);
}

TEST(CommandsScript, RootsOfExpressions) {
  Session s;
  struct Case {
    const char *script;
    std::vector<double> roots;
  };
  const Case cases[] = {
      {"findroots(sin(x),3,6)", {kPi}},
      {"findroots(sin(x),7,3)", {kPi, 2 * kPi}},  // limits are put in order
      {"findroots((x-1)*(x-2)*(x-3),0,4)", {1, 2, 3}},
      {"findroots(x^3-x,-2,2)", {-1, 0, 1}},
      {"findroots(cos(t),0,10)", {kPi / 2, 3 * kPi / 2, 5 * kPi / 2}},
      {"findroots(x^2+1,-2,2)", {}},
      {"findroots(exp(x)-2,0,1)", {std::log(2.0)}},
  };
  for (const Case &c : cases) ExpectReals(Result(s, c.script), c.roots, 1e-10, c.script);
}

TEST(CommandsScript, PeaksOfExpressions) {
  Session s;
  ExpectReals(Result(s, "findpeaks(sin(x),0,10)"), {kPi / 2, 5 * kPi / 2}, 1e-6, "sin");
  ExpectReals(Result(s, "findpeaks(-(x-1)^2,0,3)"), {1}, 1e-6, "parabola");
  ExpectReals(Result(s, "findpeaks(x,0,3)"), {}, 0, "monotone");
}

TEST(CommandsScript, ComplexLimitsFindNothing) {
  Session s;
  ExpectReals(Result(s, "findroots(sin(x),3+i,7)"), {}, 0, "roots");
  ExpectReals(Result(s, "findpeaks(sin(x),0,7*i)"), {}, 0, "peaks");
}

TEST(CommandsScript, ComplexRootsSolveThePower) {
  Session s;
  struct Case {
    const char *script;
    Complex z;
    int n;
  };
  const Case cases[] = {{"complexroots(-8,3)", {-8, 0}, 3}, {"complexroots(1,4)", {1, 0}, 4},
                        {"complexroots(2*i,2)", {0, 2}, 2}, {"complexroots(5,1)", {5, 0}, 1},
                        {"complexroots(-8,2.6)", {-8, 0}, 3}};  // n rounds to the nearest integer
  for (const Case &c : cases) {
    const std::vector<Complex> roots = Numbers(Result(s, c.script));
    ASSERT_EQ(roots.size(), static_cast<std::size_t>(c.n)) << c.script;
    for (std::size_t k = 0; k < roots.size(); ++k) {
      Complex p{1, 0};
      for (int j = 0; j < c.n; ++j) p = {p.re * roots[k].re - p.im * roots[k].im, p.re * roots[k].im + p.im * roots[k].re};
      EXPECT_NEAR(p.re, c.z.re, 1e-12) << c.script << " #" << k;
      EXPECT_NEAR(p.im, c.z.im, 1e-12) << c.script << " #" << k;
      for (std::size_t j = 0; j < k; ++j)
        EXPECT_GT(std::hypot(roots[j].re - roots[k].re, roots[j].im - roots[k].im), 1e-6) << c.script;
    }
  }
  ExpectReals(Result(s, "complexroots(4,0)"), {}, 0, "no roots");
}

TEST(CommandsScript, DivisorsAndPrimes) {
  Session s;
  struct Case {
    const char *script;
    std::vector<double> numbers;
  };
  const Case cases[] = {
      {"divisors(30)", {1, 2, 3, 5, 6, 10, 15, 30}},
      {"divisors(1)", {1}},
      {"divisors(97)", {1, 97}},
      {"divisors(36.7)", {1, 2, 3, 4, 6, 9, 12, 18, 36}},
      {"primes(10,30)", {11, 13, 17, 19, 23, 29}},
      {"primes(1,2)", {2}},
      {"primes(2.5,7)", {3, 5, 7}},
      {"primes(30,10)", {}},
      {"primes(24,28)", {}},
      {"primes(1e14,1e14+100)", {100000000000031.0, 100000000000067.0, 100000000000097.0, 100000000000099.0}},
  };
  for (const Case &c : cases) ExpectReals(Result(s, c.script), c.numbers, 0, c.script);
  // Far beyond the exact integers of a double, or too many numbers to test.
  for (const char *refused : {"divisors(1e17)", "primes(1,1e15)", "primes(1,2e7)", "primes(1e15,1e15+10)",
                              "complexroots(1,1e7)"})
    EXPECT_EQ(s.Run(refused), ">invalid_expression<") << refused;
}

TEST(CommandsScript, CombinationsInLexicographicOrder) {
  Session s;
  s.Run("a=primes(2,7)");  // 2, 3, 5, 7
  const Object *c = Result(s, "combine(a,2)");
  ASSERT_TRUE(IsArray(c));
  const std::vector<std::vector<double>> pairs = {{2, 3}, {2, 5}, {2, 7}, {3, 5}, {3, 7}, {5, 7}};
  ASSERT_EQ(ArrayCount(c), 6);
  for (int32_t i = 0; i < 6; ++i) ExpectReals(ArrayElementAt(c, i), pairs[static_cast<std::size_t>(i)], 0, "pair");
  // Counts are binomial coefficients; k outside 1..n selects nothing.
  struct Count {
    const char *script;
    int32_t count;
  };
  for (const Count &k : {Count{"combine(a,1)", 4}, Count{"combine(a,3)", 4}, Count{"combine(a,4)", 1},
                         Count{"combine(a,0)", 0}, Count{"combine(a,5)", 0}, Count{"combine(primes(1,30),5)", 252}})
    EXPECT_EQ(ArrayCount(Result(s, k.script)), k.count) << k.script;
  // The source is left alone.
  ExpectReals(Lookup(s.env(), "a"), {2, 3, 5, 7}, 0, "source");
}

TEST(CommandsScript, PermutationsInLexicographicOrder) {
  Session s;
  const Object *p = Result(s, "permute(primes(2,5))");
  ASSERT_TRUE(IsArray(p));
  const std::vector<std::vector<double>> orders = {{2, 3, 5}, {2, 5, 3}, {3, 2, 5}, {3, 5, 2}, {5, 2, 3}, {5, 3, 2}};
  ASSERT_EQ(ArrayCount(p), 6);
  for (int32_t i = 0; i < 6; ++i) ExpectReals(ArrayElementAt(p, i), orders[static_cast<std::size_t>(i)], 0, "order");
  EXPECT_EQ(ArrayCount(Result(s, "permute(primes(2,2))")), 1);
  EXPECT_EQ(ArrayCount(Result(s, "permute(primes(1,13))")), 720);  // 6 elements
}

TEST(CommandsScript, VectorsAndMixedArraysAreSources) {
  Session s;
  // A vector's numbers become numeric elements; complex ones stay complex.
  const Object *c = Result(s, "combine([1,2+i,3],2)");
  ASSERT_EQ(ArrayCount(c), 3);
  const std::vector<Complex> first = Numbers(ArrayElementAt(c, 0));
  ASSERT_EQ(first.size(), 2u);
  EXPECT_EQ(first[1].im, 1.0);
  // An array of any objects: the elements are copied with their types.
  s.Run("a=[x,\"s\",2]");
  const Object *p = Result(s, "permute(a)");
  ASSERT_EQ(ArrayCount(p), 6);
  const Object *second = ArrayElementAt(ArrayElementAt(p, 0), 1);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->tag, kTagString);
  // Only vectors: a block of rank 2 is not a list of elements.
  EXPECT_EQ(s.Run("combine([[1,2],[3,4]],1)"), ">invalid_object<");
  ExpectReals(Lookup(Result(s, "polyfit([0,1,2,3],[1,3,5,7],1)")->environment, "parameters"), {1, 2}, 1e-12,
              "vectors");
}

TEST(CommandsScript, EnumerationsTooLargeAreRefused) {
  Session s;
  // 12 elements: 479001600 orderings; 9 elements: 362880; 25 choose 12 is
  // 5200300 selections.
  EXPECT_EQ(s.Run("permute(primes(2,37))"), ">invalid_expression<");
  EXPECT_EQ(s.Run("permute(primes(2,23))"), ">invalid_expression<");
  EXPECT_EQ(s.Run("combine(primes(1,100),12)"), ">invalid_expression<");
  EXPECT_EQ(s.Run("combine(primes(1,100),2)").substr(0, 1) == ">", false);
}

TEST(CommandsScript, PolynomialFitRecoversExactCoefficients) {
  Session s;
  std::vector<double> x, y;
  for (int i = -3; i <= 4; ++i) {
    x.push_back(i);
    y.push_back(1 - 2 * i + 0.5 * i * i * i);
  }
  BindArray(s, "xs", x);
  BindArray(s, "ys", y);
  const Object *p = Result(s, "polyfit(xs,ys,3)");
  ASSERT_TRUE(p && p->tag == kTagMutant);
  ExpectReals(Lookup(p->environment, "parameters"), {1, -2, 0, 0.5}, 1e-10, "coefficients");
  const std::vector<double> errors = Reals(Lookup(p->environment, "errors"));
  ASSERT_EQ(errors.size(), 4u);
  for (double e : errors) EXPECT_LT(e, 1e-9);
  const Object *quality = Lookup(p->environment, "quality");
  ASSERT_TRUE(quality && quality->tag == kTagNumeric);
  EXPECT_NEAR(Numeric(quality)->re, 1.0, 1e-12);
  const Object *message = Lookup(p->environment, "message");
  ASSERT_TRUE(message && message->tag == kTagString);
  // The method evaluates the polynomial: p(2) = 1 - 4 + 4.
  EXPECT_NEAR(Number(s.Run("r.eval(2)")), 1.0, 1e-9);
  s.Run("x=3");
  EXPECT_NEAR(Number(s.Run("r.eval()")), 8.5, 1e-9);
}

TEST(CommandsScript, WeightsDecideWhichPointsCount) {
  Session s;
  // A line through five points and one far-off point of almost no weight.
  BindArray(s, "xs", {0, 1, 2, 3, 4, 5});
  BindArray(s, "ys", {1, 3, 5, 7, 9, 100});
  BindArray(s, "ws", {1, 1, 1, 1, 1, 1e-14});
  BindArray(s, "ones", {2, 2, 2, 2, 2, 2});
  ExpectReals(Lookup(Result(s, "polyfit(xs,ys,ws,1)")->environment, "parameters"), {1, 2}, 1e-9, "weighted");
  const std::vector<double> plain = Reals(Lookup(Result(s, "polyfit(xs,ys,1)")->environment, "parameters"));
  const std::vector<double> same = Reals(Lookup(Result(s, "polyfit(xs,ys,ones,1)")->environment, "parameters"));
  ASSERT_EQ(plain.size(), 2u);
  EXPECT_GT(plain[1], 5.0);  // the far point pulls the unweighted line up
  ASSERT_EQ(same.size(), 2u);
  EXPECT_NEAR(same[1], plain[1], 1e-12);  // equal weights are no weights
  // Weighted and unweighted fits agree on the errors' meaning: scaling every
  // weight alike changes nothing, and a weighted fit of exact data is exact.
  BindArray(s, "ws2", {1, 2, 3, 4, 5, 6});
  BindArray(s, "line", {1, 3, 5, 7, 9, 11});
  const Object *exact = Result(s, "polyfit(xs,line,ws2,1)");
  ExpectReals(Lookup(exact->environment, "parameters"), {1, 2}, 1e-12, "exact weighted");
  for (double e : Reals(Lookup(exact->environment, "errors"))) EXPECT_LT(e, 1e-9);
}

TEST(CommandsScript, PolynomialFitRefusesWhatItCannotFit) {
  Session s;
  BindArray(s, "xs", {0, 1, 2});
  BindArray(s, "ys", {1, 2, 3});
  BindArray(s, "short", {1, 2});
  BindArray(s, "same", {1, 1, 1});
  EXPECT_EQ(s.Run("polyfit(xs,ys,3)"), ">invalid_expression<");   // more coefficients than points
  EXPECT_EQ(s.Run("polyfit(same,ys,2)"), ">invalid_expression<");  // one abscissa can't fix a parabola
  EXPECT_EQ(s.Run("polyfit(xs,short,1)"), ">invalid_object<");
  EXPECT_EQ(s.Run("polyfit(xs,ys,-1)"), ">invalid_expression<");
}

TEST(CommandsScript, UnreducibleCallsAnswerWithTheirText) {
  Session s;
  struct Case {
    const char *script;
    const char *answer;
  };
  const Case cases[] = {
      {"findroots(sin(x),a,7)", "findroots(sin(x),a,7)"},
      {"findroots(x*y,0,1)", "findroots(x*y,0,1)"},  // two unknowns
      {"findroots(2,0,1)", "findroots(2,0,1)"},      // none
      {"findpeaks(sin(x),0,b)", "findpeaks(sin(x),0,b)"},
      {"complexroots(z,3)", "complexroots(z,3)"},
      {"complexroots(8,n)", "complexroots(8,n)"},
      {"divisors(n)", "divisors(n)"},
      {"divisors(0)", "divisors(0)"},
      {"divisors(2+i)", "divisors(2+i)"},
      {"primes(1,m)", "primes(1,m)"},
      {"combine(q,2)", "combine(q,2)"},
      {"permute(q)", "permute(q)"},
      {"polyfit(u,v,2)", "polyfit(u,v,2)"},
  };
  for (const Case &c : cases) EXPECT_EQ(s.Run(c.script), c.answer) << c.script;
  // Values that no later binding can turn into an argument.
  EXPECT_EQ(s.Run("permute(5)"), ">invalid_object<");
  EXPECT_EQ(s.Run("polyfit(1,2,1)"), ">invalid_object<");
  EXPECT_EQ(s.Run("divisors(\"12\")"), ">invalid_object<");
}

}  // namespace
}  // namespace qvx
