// Matrices as a script sees them: bracket literals and the matrix/array
// decision, arithmetic and shapes, element read and write, the methods,
// printing and read-back of the source form, copies on assignment, and bad
// input that must answer a sentinel. Values are checked against products,
// inverses and determinants worked out by hand, so a transposed or
// sign-flipped result fails.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "engine/session.h"

namespace qvx {
namespace {

using test::Session;

struct Case {
  const char *script;
  const char *answer;
};

void RunTable(Session &s, const std::vector<Case> &cases) {
  for (const Case &c : cases) EXPECT_EQ(s.Run(c.script), c.answer) << c.script;
}

// The display form of a value as one line, rows separated by "|" and runs of
// blanks folded, so the tables below stay readable.
std::string Rows(Session &s, const std::string &script) {
  std::string a = s.Run(script), out;
  for (char c : a) {
    if (c == '\n') out += '|';
    else if (c == ' ' && (out.empty() || out.back() == ' ' || out.back() == '|')) continue;
    else out += c;
  }
  // Blanks before a row break come from right alignment only.
  std::string folded;
  for (std::size_t i = 0; i < out.size(); ++i)
    if (!(out[i] == ' ' && i + 1 < out.size() && out[i + 1] == '|')) folded += out[i];
  return folded;
}

TEST(MatrixScript, LiteralsDecideBetweenMatrixAndArray) {
  Session s;
  const std::vector<Case> cases = {
      {"[[1,2],[3,4]]", "(matrix)|1 2|3 4"},
      {"[1,2i]", "(matrix)|1 2*i"},
      {"[[1]]", "(matrix)|1"},
      {"[-1,2.5,3e2]", "(matrix)|-1 2.5 300"},
      {"[[1,2],[3]]", "(array)|(matrix)|1 2|(matrix)|3"},
      {"[\"a\",1]", "(array)|\"a\"|1"},
      {"[x,1]", "(array)|x|1"},
      {"[1,[2]]", "(array)|1|(matrix)|2"},
      {"[]", "(array)"},
      {"[[[1,2],[3,4]],[[5,6],[7,8]]].dims()", "(matrix)|2 2 2"},
  };
  for (const Case &c : cases) EXPECT_EQ(Rows(s, c.script), c.answer) << c.script;
  // Leaves are evaluated (once each): names, calls and expressions.
  EXPECT_EQ(s.Run("y=3"), "y <- 3");
  EXPECT_EQ(Rows(s, "[y,y*2,y-1]"), "(matrix)|3 6 2");
  EXPECT_EQ(s.Run("f(k)=10*k"), "f(k) <- 10*k");
  EXPECT_EQ(Rows(s, "[f(1),\"b\"]"), "(array)|10|\"b\"");
  EXPECT_EQ(Rows(s, "[[f(1)],[sin(0)]]"), "(matrix)|10|0");
}

TEST(MatrixScript, ArithmeticMatchesHandComputedValues) {
  Session s;
  s.Run("a=[[1,2],[3,4]]");
  s.Run("b=[[0,1],[1,0]]");
  const std::vector<Case> cases = {
      {"a*b", "(matrix)|2 1|4 3"},     // columns exchanged: a product from the right
      {"b*a", "(matrix)|3 4|1 2"},     // rows exchanged: from the left
      {"a+b", "(matrix)|1 3|4 4"},
      {"a-b", "(matrix)|1 1|2 4"},
      {"b-a", "(matrix)|-1 -1|-2 -4"},
      {"2*a", "(matrix)|2 4|6 8"},
      {"a*2", "(matrix)|2 4|6 8"},
      {"a/2", "(matrix)|0.5 1|1.5 2"},
      {"a+1", "(matrix)|2 3|4 5"},     // a number acts on every element
      {"10-a", "(matrix)|9 8|7 6"},
      {"a-1", "(matrix)|0 1|2 3"},
      {"-a", "(matrix)|-1 -2|-3 -4"},
      {"a^2", "(matrix)|7 10|15 22"},
      {"a^0", "(matrix)|1 0|0 1"},
      {"a^-1", "(matrix)|-2 1|1.5 -0.5"},
      {"a*[1,1]", "(matrix)|3 7"},     // a vector on the right acts as a column
      {"[1,0]*a", "(matrix)|1 2"},     // and as a row on the left
      {"i*[1,2]", "(matrix)|i 2*i"},
  };
  for (const Case &c : cases) EXPECT_EQ(Rows(s, c.script), c.answer) << c.script;
  RunTable(s, {
                  {"a+[[1,2,3]]", ">invalid_object<"},
                  {"a*[[1,2,3]]", ">invalid_object<"},
                  {"a/b", ">invalid_object<"},
                  {"2/a", ">invalid_object<"},
                  {"a/0", ">invalid_object<"},
                  {"a^0.5", ">invalid_object<"},
                  {"[[1,2,3]]^2", ">invalid_object<"},
                  {"[[1,2],[2,4]]^-1", ">invalid_object<"},
                  {"a*x", ">invalid_object<"},
                  {"sin([1,2])", ">invalid_object<"},
                  {"max([1,2],3)", ">invalid_object<"},
                  {"sum([1,2])", ">invalid_object<"},
                  {"cos([1,2].array())", ">invalid_object<"},
              });
}

TEST(MatrixScript, ElementReadAndWrite) {
  Session s;
  s.Run("m=[[1,2],[3,4]]");
  EXPECT_EQ(s.Run("m.elem(0,1)"), "2");  // first index is the row
  EXPECT_EQ(s.Run("m.elem(1,0)"), "3");
  EXPECT_EQ(s.Run("m.(1)(0)"), "3");
  EXPECT_EQ(Rows(s, "m.(1)"), "(matrix)|3 4");
  EXPECT_EQ(s.Run("m.(0)(1)=9"), "m.(0)(1) <- 9");
  EXPECT_EQ(Rows(s, "m"), "(matrix)|1 9|3 4");
  EXPECT_EQ(s.Run("m.(1)=[7,8]"), "m.(1) <- [7,8]");
  EXPECT_EQ(Rows(s, "m"), "(matrix)|1 9|7 8");
  EXPECT_EQ(s.Run("k=1"), "k <- 1");
  EXPECT_EQ(s.Run("m.(k)(k-1)=2+3i"), "m.(k)(k-1) <- 2+3*i");
  EXPECT_EQ(Rows(s, "m"), "(matrix)|1 9|2+3*i 8");
  // Out of range changes nothing, quietly; a wrong rank, a wrong shape or a
  // non-numeric index is refused, and the matrix is left as it was.
  EXPECT_EQ(s.Run("m.(5)(0)=1"), "m.(5)(0) <- 1");
  EXPECT_EQ(s.Run("m.(-1)(0)=1"), "m.(-1)(0) <- 1");
  for (const char *bad : {"m.(0)=[1,2,3]", "m.(0)(0)(0)=1", "m.(q)(0)=1", "m.(0)=5", "m.(0)(0)=\"s\""})
    EXPECT_NE(s.Run(bad).find(">"), std::string::npos) << bad;
  EXPECT_EQ(Rows(s, "m"), "(matrix)|1 9|2+3*i 8");
  RunTable(s, {
                  {"m.elem(2,0)", ">invalid_object<"},
                  {"m.elem(0,0,0)", ">invalid_object<"},
                  {"m.elem(q,0)", ">invalid_object<"},
                  {"m.(9)", ">invalid_object<"},
              });
  // Normalisation keeps an index chain apart; a plain ")(" is still a product.
  EXPECT_EQ(s.Run("(2)(3)"), "6");
}

TEST(MatrixScript, CopiesOnAssignmentAreIndependent) {
  Session s;
  s.Run("a=[[1,2],[3,4]]");
  s.Run("b=a");
  s.Run("b.(0)(0)=100");
  s.Run("b.transpose()");
  EXPECT_EQ(Rows(s, "a"), "(matrix)|1 2|3 4");
  EXPECT_EQ(Rows(s, "b"), "(matrix)|100 3|2 4");
  s.Run("c=a.invert()");  // in place on a, c takes a copy
  s.Run("a.(0)(0)=0");
  EXPECT_EQ(Rows(s, "c"), "(matrix)|-2 1|1.5 -0.5");
}

TEST(MatrixScript, MethodsTable) {
  Session s;
  // Each line starts from a fresh a and b.
  const std::vector<Case> cases = {
      {"a.size()", "2"},
      {"a.rank()", "2"},
      {"a.dims()", "(matrix)|2 2"},
      {"[1,2,3].dims()", "(matrix)|3"},
      {"a.det()", "-2"},
      {"a.trace()", "5"},
      {"a.transpose()", "(matrix)|1 3|2 4"},
      {"[[1,2,3]].transpose()", "(matrix)|1|2|3"},
      {"a.invert()", "(matrix)|-2 1|1.5 -0.5"},
      {"[[1,2],[2,4]].invert()", ">invalid_object<"},
      {"[1i,2].conj()", "(matrix)|-i 2"},
      {"abs(a.eigvals().elem(1)+0.372281323269014)<1e-13", "1"},
      {"a*[1,1]", "(matrix)|3 7"},
      {"[1,1]*a", "(matrix)|4 6"},
      {"a.vectorize()", "(matrix)|1 2 3 4"},
      {"a.vectorize().matricize()", "(matrix)|1 2|3 4"},
      {"[1,2,3].matricize()", ">invalid_object<"},
      {"a.add(b)", "(matrix)|1 3|4 4"},
      {"a.sub(b)", "(matrix)|1 1|2 4"},
      {"a.mul(b)", "(matrix)|2 1|4 3"},
      {"a.mul(3)", "(matrix)|3 6|9 12"},
      {"a.add(1)", "(matrix)|2 3|4 5"},
      {"a.diradd([[5]])", "(matrix)|1 2 0|3 4 0|0 0 5"},
      {"b.dirmul(a)", "(matrix)|0 0 1 2|0 0 3 4|1 2 0 0|3 4 0 0"},
      {"a.append([5,6])", "(matrix)|1 2|3 4|5 6"},
      {"a.append(5,6,7,8)", "(matrix)|1 2|3 4|5 6|7 8"},
      {"a.append(5)", ">invalid_object<"},
      {"a.appendcol(5,6)", "(matrix)|1 2 5|3 4 6"},
      {"a.insert([0,0],0)", "(matrix)|0 0|1 2|3 4"},
      {"a.insert([0,0],2)", "(matrix)|1 2|3 4|0 0"},
      {"a.insert([0,0],3)", ">invalid_object<"},
      {"a.insertcol([0,0],1)", "(matrix)|1 0 2|3 0 4"},
      {"a.swap(0,1)", "(matrix)|3 4|1 2"},
      {"a.swap(0,2)", "(matrix)|1 2|3 4"},
      {"a.swapcol(0,1)", "(matrix)|2 1|4 3"},
      {"a.delete(0)", "(matrix)|3 4"},
      {"a.delete(0,7)", "(matrix)|3 4"},
      {"a.deletecol(1)", "(matrix)|1|3"},
      {"a.enlarge(3)", "(matrix)|1 2|3 4|0 0"},
      {"a.enlarge(1)", "(matrix)|1 2"},
      {"a.enlarge(0)", ">invalid_object<"},
      {"a.elem(1)", "(matrix)|3 4"},
      {"a.array()", "(array)|1|2|3|4"},
      {"a.array().matrix()", "(matrix)|1 2 3 4"},
      {"[[1,2],[3,4]].array().size()", "4"},
      {"[1,2].append(3).transpose().size()", "3"},  // in-place methods chain
      {"[1,2,3].det()", ">invalid_object<"},
      {"[1,2,3].appendcol(1)", ">invalid_object<"},
      {"a.mul(x)", ">invalid_object<"},
  };
  for (const Case &c : cases) {
    s.Run("a=[[1,2],[3,4]]");
    s.Run("b=[[0,1],[1,0]]");
    EXPECT_EQ(Rows(s, c.script), c.answer) << c.script;
  }
  // Eigenvectors: each item v of eigvecs satisfies a*v = lambda*v.
  s.Run("a=[[2,1],[1,2]]");
  s.Run("v=a.eigvecs()");
  s.Run("l=a.eigvals()");
  for (int k = 0; k < 2; ++k) {
    const std::string item = "v.(" + std::to_string(k) + ")";
    const std::string lambda = "l.(" + std::to_string(k) + ")";
    EXPECT_EQ(s.Run("r=a*" + item + "-" + lambda + "*" + item), "r <- a*" + item + "-" + lambda + "*" + item);
    EXPECT_EQ(s.Run("abs(r.elem(0))+abs(r.elem(1))<1e-12"), "1") << k;
  }
}

TEST(MatrixScript, ConstructFormsOfBlocksWithoutALiteral) {
  Session s;
  s.Run("m=[[1,2],[3,4i]]");
  EXPECT_EQ(s.Run("matrix:;"), "(matrix)");
  EXPECT_EQ(s.Run("matrix:7;"), "(matrix)\n7");
  EXPECT_EQ(Rows(s, "matrix:m;"), "(matrix)|1 2|3 4*i");
  EXPECT_EQ(s.Run("matrix:\"s\";"), ">invalid_object<");
}

TEST(MatrixScript, FilesRoundTripUnderTheLocalPath) {
  Session s;
  const std::string name = "qvx_matrix_script_test.txt";
  s.Run("m=[[1,2],[3,4.5]]");
  EXPECT_EQ(Rows(s, "m.writematrix(\"" + name + "\")"), "(matrix)|1 2|3 4.5");
  EXPECT_EQ(Rows(s, "readmatrix(\"" + name + "\")"), "(matrix)|1 2|3 4.5");
  EXPECT_EQ(Rows(s, "readvector(\"" + name + "\")"), "(matrix)|1 2 3 4.5");
  std::remove(name.c_str());
  RunTable(s, {
                  {"readmatrix(\"qvx_no_such_file.txt\")", ">invalid_file<"},
                  {"readmatrix(\"../x\")", ">invalid_file<"},
                  {"readmatrix(\"/etc/hostname\")", ">invalid_file<"},
                  {"readvector(3)", ">invalid_file<"},
                  {"m.writematrix(3)", ">invalid_file<"},
              });
}

TEST(MatrixScript, HugeRequestsAreRefusedNotBuilt) {
  Session s;
  s.Run("x=[[1,0],[0,1]]");
  // 2^14 by 2^14 through repeated Kronecker products: refused on the way.
  std::string chain = "x";
  for (int k = 0; k < 14; ++k) chain += ".dirmul(x)";
  EXPECT_EQ(s.Run(chain), ">invalid_object<");
  EXPECT_EQ(s.Run("x.enlarge(100000000)"), ">invalid_object<");
  EXPECT_EQ(s.Run("x^2147483647"), "(matrix)\n1  0\n0  1");
  EXPECT_EQ(Rows(s, "x"), "(matrix)|1 0|0 1");
}

// Edits that empty a block and then grow it again keep the shape and the
// values in step: a block emptied of its columns takes its width from the
// first row appended, and holds that row alone.
TEST(MatrixScript, AppendAfterEmptyingTakesTheNewWidth) {
  Session s;
  s.Run("m=[[1,2],[3,4]]");
  EXPECT_EQ(Rows(s, "m.deletecol(0).deletecol(0)"), "(matrix)");
  EXPECT_EQ(Rows(s, "m.append([5,6])"), "(matrix)|5 6");
  EXPECT_EQ(Rows(s, "m.enlarge(2)"), "(matrix)|5 6|0 0");
}

}  // namespace
}  // namespace qvx
