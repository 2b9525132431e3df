// sum, prod, int and root through the script entry, as a host runs them, and
// the sampling kernels (unknowns, grid, adaptive Simpson) on their own.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "../engine/session.h"
#include "libquorvex.h"
#include "math/series.h"

namespace qvx {
namespace {

using test::Session;

// The number an answer prints, NaN when it is not one.
double Number(const std::string &text) {
  char *end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  return end && *end == '\0' && !text.empty() ? v : NAN;
}

struct Case {
  const char *script;
  const char *answer;
};

void ExpectAnswers(Session &s, std::initializer_list<Case> cases) {
  for (const Case &c : cases) EXPECT_EQ(s.Run(c.script), c.answer) << c.script;
}

TEST(SeriesScript, SumsAndProducts) {
  Session s;
  ExpectAnswers(s, {
                       {"sum(n,n,1,3)", "6"},
                       {"sum(n,n,3,1)", "6"},  // reversed limits: no change of sign
                       {"sum(2,n,1,3)", "6"},  // constant term
                       {"sum(n,1,4)", "10"},   // the single unknown is the variable
                       // Limits round half away from zero, mirrored below 0.
                       {"sum(n,n,1.5,3.4)", "5"},
                       {"sum(n,n,-1.5,-3.4)", "-5"},
                       {"sum(n,n,0.5,0.49)", "1"},
                       {"sum(n*i,n,1,3)", "6*i"},
                       {"prod(n,n,1,5)", "120"},
                       {"prod(2,n,1,10)", "1024"},
                       {"prod(k,1,4)", "24"},
                       {"prod(1+i,n,1,4)", "-4"},  // complex products in order
                       {"sum(sum(n*m,n,1,3),m,1,2)", "18"},  // the inner variable is no free unknown
                   });
}

TEST(SeriesScript, IntegralForms) {
  Session s;
  ExpectAnswers(s, {
                       {"int(x,x,1,0)", "-0.5"},  // reversed limits negate
                       {"int(t^2,t,1,0,3)", "-0.333333333333333"},
                       {"int(x,0,1,5)", "0.5"},
                       {"int(1,0,2)", "2"},
                       // Grid forms: an even count takes one more point, so 4 is
                       // 5 points and 2 is 3 (Simpson's rule on x^4 tells them apart).
                       {"int(x^4,0,1,4)", "0.200520833333333"},
                       {"int(x^4,0,1,5)", "0.200520833333333"},
                       {"int(x^4,0,1,2)", "0.208333333333333"},
                   });
  const double a = Number(s.Run("int(sin(x),x,0,3.14159)"));
  EXPECT_NEAR(a, 1.0 - std::cos(3.14159), 1e-12);
  EXPECT_NEAR(Number(s.Run("int(exp(-x^2),-6,6)")), std::sqrt(3.141592653589793), 1e-6);
  EXPECT_NEAR(Number(s.Run("int(sqrt(x),x,0,1)")), 2.0 / 3.0, 1e-8);
}

TEST(SeriesScript, UnreducibleCallsAnswerWithTheirText) {
  Session s;
  ExpectAnswers(s, {
                       {"sum(n^2,n,1,k)", "sum(n^2,n,1,k)"},
                       {"int(f(y),y,0,a)", "int(f(y),y,0,a)"},
                       {"sum(x*y,x,1,3)", "sum(x*y,x,1,3)"},
                       {"int(x*y,x,0,1)", "int(x*y,x,0,1)"},
                       {"int(x*y,x,0,1,5)", "int(x*y,x,0,1,5)"},
                       {"int(1/x,0,1)", "int(1/x,0,1)"},  // the probe at the lower limit isn't finite
                       {"root(x^2-y,1)", "root(x^2-y,1)"},
                       {"root(x^2+1,1)", "root(x^2+1,1)"},  // Newton runs into 1/0 and NaN
                       {"int(z,z,0,1,0)", "int(z,z,0,1,0)"},
                       {"int(z,2,0,1,5)", "int(z,2,0,1,5)"},  // no name to bind
                       {"int(w)", "int(w)"},  // outside the counts: no handler answers
                       {"int(w,w,0,\"a\")", ">invalid_object<"},
                       {"primefactors(0)", "primefactors(0)"},
                   });
  EXPECT_EQ(s.Run("sum(n,n,1,1e300)").rfind("sum(n,n,1,", 0), 0u);  // no count that large
}

TEST(SeriesScript, BoundVariableIsSetAsideAndRestored) {
  Session s;
  ExpectAnswers(s, {
                       {"x=5", "x <- 5"},
                       {"sum(x,x,1,3)", "6"},
                       {"x", "5"},
                       {"sum(x^2+x,x,1,2)", "8"},
                       {"int(x^2,x,0,1)", "0.333333333333333"},
                       {"x", "5"},
                       {"sum(n,n,1,3)", "6"},
                       {"n", "n"},  // an unbound variable stays unbound
                       {"f(q)=sum(q*n,n,1,3)", "f(q) <- sum(q*n,n,1,3)"},
                       {"f(2)", "12"},
                       {"g(q)=int(q*z,z,0,1)", "g(q) <- int(q*z,z,0,1)"},
                       {"g(4)", "2"},
                       // A name in the third slot of a four-argument int sends it
                       // to the explicit form, which answers with a "sum(" text.
                       {"a=3", "a <- 3"},
                       {"int(t^2,0,a,11)", "sum(t^2,0,3,11)"},
                   });
}

TEST(SeriesScript, Roots) {
  Session s;
  const double r2 = std::sqrt(2.0);
  EXPECT_LE(std::fabs(Number(s.Run("root(x^2-2,1,2)")) - r2), 1e-12);
  EXPECT_NEAR(Number(s.Run("root(x^2-2,1)")), r2, 1e-14);
  EXPECT_NEAR(Number(s.Run("root(x^2-2,2,1)")), r2, 1e-12);  // limits put in order
  EXPECT_NEAR(Number(s.Run("root(sum(n*y,n,1,3)-12,0,10)")), 2.0, 1e-12);
  // Far from 0 the interval stops at two neighbouring doubles, wider than 2e-12.
  EXPECT_NEAR(Number(s.Run("root(x-54321.123,0,100000)")), 54321.123, 1e-10);
  // No real root: all 2000 rounds, and the last x, whatever it is.
  EXPECT_TRUE(std::isfinite(Number(s.Run("root(x^2+1,1.1)"))));
}

TEST(SeriesScript, CancelStopsALongSum) {
  Session s;
  std::thread stopper([&s] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    SetCancelFlag(s.env(), 1);
  });
  const auto t0 = std::chrono::steady_clock::now();
  const std::string answer = s.Run("sum(n,n,1,1e12)");
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  stopper.join();
  SetCancelFlag(s.env(), 0);
  EXPECT_LT(seconds, 5.0) << answer;
  EXPECT_EQ(s.Run("sum(n,n,1,3)"), "6");
}

TEST(SeriesScript, NumberCommands) {
  Session s;
  ExpectAnswers(s, {
                       {"primefactors(360)", "\"360=2^3*3^2*5^1\""},
                       {"primefactors(1)", "\"1=1\""},
                       {"hmstime(1,75,30)", "\"2:15:30\""},
                       {"hmstime(0,0,-90)", "\"-0:1:30\""},
                   });
}

TEST(SeriesKernels, UnknownsAndSamples) {
  Session s;
  s.Run("a=1");
  int32_t bound = -1;
  const std::vector<std::string> u = CollectUnknowns("a*x+sin(y)+x+2e-3+q.r", s.env(), &bound);
  EXPECT_EQ(u, (std::vector<std::string>{"x", "y", "q"}));
  EXPECT_EQ(bound, 1);
  // The variable of a nested sum, prod or int is not free outside it.
  EXPECT_EQ(CollectUnknowns("sum(n*m,n,1,k)+int(t*n,t,0,1)", s.env()),
            (std::vector<std::string>{"m", "k", "n"}));

  const Complex z = SampleAtReal(s.env(), "x*x+1", 3.0);
  EXPECT_EQ(z.re, 10.0);
  EXPECT_EQ(z.im, 0.0);
  EXPECT_TRUE(std::isnan(SampleAtReal(s.env(), "x+y", 1.0).re));  // y is still free
  EXPECT_EQ(CollectUnknowns("x", s.env()).size(), 1u);             // the binding went away

  Complex **grid = SampleOnGrid(4, s.env(), "x^2", 0.0, 1.0);
  ASSERT_NE(grid, nullptr);
  ASSERT_EQ(grid[1][0].re, 4.0);
  // Abscissas pass through their 15-digit text, as typed numbers would.
  EXPECT_EQ(grid[1][2].re, 0.333333333333333);
  EXPECT_EQ(grid[1][4].re, 1.0);
  EXPECT_EQ(grid[2][4].re, 1.0);
  FreeMatrixC(grid);
  EXPECT_EQ(SampleOnGrid(0, s.env(), "x", 0.0, 1.0), nullptr);
}

TEST(SeriesKernels, AdaptiveSimpson) {
  Session s;
  // Simpson's rule is exact on cubics; sine converges to the tolerance; a
  // jump is resolved down to the dropped panels of width h*2^-16.
  EXPECT_NEAR(AdaptiveSimpson(s.env(), "x^3", 0.0, 2.0, 1e-9).re, 4.0, 1e-13);
  EXPECT_NEAR(AdaptiveSimpson(s.env(), "sin(x)", 0.0, 3.141592653589793, 1e-9).re, 2.0, 1e-12);
  const Complex c = AdaptiveSimpson(s.env(), "x*i", 0.0, 1.0, 1e-9);
  EXPECT_NEAR(c.im, 0.5, 1e-14);
  EXPECT_NEAR(c.re, 0.0, 1e-14);
  EXPECT_NEAR(AdaptiveSimpson(s.env(), "(x>0.5)", 0.0, 1.0, 1e-9).re, 0.5, 1e-6);
  EXPECT_TRUE(std::isinf(AdaptiveSimpson(s.env(), "1/x", 0.0, 1.0, 1e-9).re) ||
              std::isnan(AdaptiveSimpson(s.env(), "1/x", 0.0, 1.0, 1e-9).re));
}

TEST(SeriesKernels, AdaptiveGrid) {
  Session s;
  Complex **g = BuildAdaptiveGrid(s.env(), "sin(x)", 1.0, 10.0);
  ASSERT_NE(g, nullptr);
  const int32_t n = static_cast<int32_t>(g[1][0].re);
  ASSERT_GE(n, 100);
  ASSERT_LT(n, 100000);  // the short last step doesn't set the spacing
  EXPECT_EQ(g[1][1].re, 1.0);
  EXPECT_EQ(g[1][n].re, 10.0);
  for (int32_t i = 1; i <= n; i += 7) EXPECT_NEAR(g[2][i].re, std::sin(g[1][i].re), 2e-4) << g[1][i].re;
  FreeMatrixC(g);
  // A singular end moves inward by (b-a)*1e-6 steps; an empty range has no grid.
  g = BuildAdaptiveGrid(s.env(), "1/x", 0.0, 1.0);
  ASSERT_NE(g, nullptr);
  EXPECT_NEAR(g[1][1].re, 1e-6, 1e-12);
  FreeMatrixC(g);
  EXPECT_EQ(BuildAdaptiveGrid(s.env(), "x", 1.0, 1.0), nullptr);
}

TEST(SeriesKernels, SplitHandlers) {
  Session s;
  EXPECT_EQ(SumSplit("n,n,1,3", s.env()).re, "6");
  EXPECT_EQ(ProdSplit("n,1,4", s.env()).re, "24");
  EXPECT_EQ(IntSplit("x,x,0,a", s.env()).re, "int(x,x,0,a)");
  EXPECT_EQ(RootSplit("x", s.env()).re, "root(x)");
  EXPECT_EQ(SumSplit(">invalid_expression<", s.env()).re, ">invalid_expression<");
}

}  // namespace
}  // namespace qvx
