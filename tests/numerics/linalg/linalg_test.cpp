// Linear algebra checked against LAPACK (reference routines called through
// their Fortran symbols) on random and structured matrices, plus the
// conventions of the toolkit: the LU index vector and parity, shapes of the
// SVD result, and safe behaviour on empty, non-square and non-finite input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include "libquorvex.h"

extern "C" {
void dgesv_(int *n, int *nrhs, double *a, int *lda, int *ipiv, double *b, int *ldb, int *info);
void dgetrf_(int *m, int *n, double *a, int *lda, int *ipiv, int *info);
void dgeev_(const char *jobvl, const char *jobvr, int *n, double *a, int *lda, double *wr, double *wi,
            double *vl, int *ldvl, double *vr, int *ldvr, double *work, int *lwork, int *info, size_t,
            size_t);
void dsyev_(const char *jobz, const char *uplo, int *n, double *a, int *lda, double *w, double *work,
            int *lwork, int *info, size_t, size_t);
void dgesvd_(const char *jobu, const char *jobvt, int *m, int *n, double *a, int *lda, double *s, double *u,
             int *ldu, double *vt, int *ldvt, double *work, int *lwork, int *info, size_t, size_t);
void zheev_(const char *jobz, const char *uplo, int *n, std::complex<double> *a, int *lda, double *w,
            std::complex<double> *work, int *lwork, double *rwork, int *info, size_t, size_t);
}

namespace {

using cd = std::complex<double>;

struct M {  // owner of a Matrix
  double **m;
  explicit M(double **p) : m(p) {}
  ~M() { FreeMatrix(m); }
  double &operator()(int i, int j) { return m[j][i]; }
};
struct MC {
  Complex **m;
  explicit MC(Complex **p) : m(p) {}
  ~MC() { FreeMatrixC(m); }
};

int Cols(double **m) { return static_cast<int>(m[0][0]); }
int Rows(double **m) { return Cols(m) ? static_cast<int>(m[1][0]) : 0; }

double **Random(int rows, int cols, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  double **m = Matrix(cols, rows);
  for (int j = 1; j <= cols; ++j)
    for (int i = 1; i <= rows; ++i) m[j][i] = u(gen);
  return m;
}
Complex **RandomC(int n, unsigned seed, bool hermitian) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  Complex **m = MatrixC(n, n);
  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i) m[j][i] = Complex{u(gen), u(gen)};
  if (hermitian)
    for (int j = 1; j <= n; ++j) {
      m[j][j].im = 0.0;
      for (int i = j + 1; i <= n; ++i) m[i][j] = Complex{m[j][i].re, -m[j][i].im};
    }
  return m;
}
double **Hilbert(int n) {
  double **m = Matrix(n, n);
  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i) m[j][i] = 1.0 / (i + j - 1);
  return m;
}
std::vector<double> ColumnMajor(double **m) {
  int r = Rows(m), c = Cols(m);
  std::vector<double> d(static_cast<size_t>(r) * c);
  for (int j = 0; j < c; ++j)
    for (int i = 0; i < r; ++i) d[static_cast<size_t>(j) * r + i] = m[j + 1][i + 1];
  return d;
}
double MaxAbs(double **m) {
  double s = 0;
  for (int j = 1; j <= Cols(m); ++j)
    for (int i = 1; i <= Rows(m); ++i) s = std::max(s, std::fabs(m[j][i]));
  return s;
}
// max |a b - c| over the elements.
double ProductError(double **a, double **b, double **c) {
  M p(MulM(a, b));
  M d(SubM(p.m, c));
  return MaxAbs(d.m);
}
std::vector<cd> Sorted(std::vector<cd> v) {
  std::sort(v.begin(), v.end(), [](cd a, cd b) {
    if (std::fabs(a.real() - b.real()) > 1e-9) return a.real() < b.real();
    return a.imag() < b.imag();
  });
  return v;
}

// ---- LU, determinants, solving ---------------------------------------------

TEST(LinearAlgebra, LUIndexHoldsPivotsAndParity) {
  M id(IdentityMatrix(3));
  int32_t *index = LUDecomposition(id.m);
  ASSERT_EQ(index[0], 4);
  EXPECT_EQ(index[4], -1);  // no interchange
  for (int i = 1; i <= 3; ++i) EXPECT_EQ(index[i], i);
  FreeVectorL(index);
  EXPECT_DOUBLE_EQ(Det(id.m), 1.0);

  // One row swap of a 4 by 4 identity (beyond the direct formulas).
  M p(IdentityMatrix(4));
  std::swap(p.m[1][1], p.m[1][2]);
  std::swap(p.m[2][1], p.m[2][2]);
  EXPECT_DOUBLE_EQ(Det(p.m), -1.0);
  index = LUDecomposition(p.m);
  EXPECT_EQ(index[5], 1);
  EXPECT_EQ(index[1], 2);
  FreeVectorL(index);

  M empty(Matrix(0, 0));
  index = LUDecomposition(empty.m);
  ASSERT_EQ(index[0], 1);
  EXPECT_EQ(index[1], -1);
  FreeVectorL(index);
}

TEST(LinearAlgebra, ZeroMatrixCompletesWithReplacementPivot) {
  M z(Matrix0(4, 4));
  int32_t *index = LUDecomposition(z.m);
  for (int i = 1; i <= 4; ++i) EXPECT_EQ(z(i, i), 1e-20);
  FreeVectorL(index);
  M z2(Matrix0(5, 5));
  EXPECT_LE(std::fabs(Det(z2.m)), 1e-100);  // the product of replacement pivots
}

TEST(LinearAlgebra, DeterminantMatchesLapack) {
  for (int n : {1, 2, 3, 4, 7, 40}) {
    M a(Random(n, n, 100 + n));
    std::vector<double> d = ColumnMajor(a.m);
    std::vector<int> ipiv(n);
    int info, nn = n;
    dgetrf_(&nn, &nn, d.data(), &nn, ipiv.data(), &info);
    double ref = 1.0;
    for (int i = 0; i < n; ++i) ref *= (ipiv[i] != i + 1 ? -d[i * n + i] : d[i * n + i]);
    EXPECT_NEAR(Det(a.m), ref, 1e-12 * std::max(1.0, std::fabs(ref))) << n;
    if (n == 3) {  // direct formula against the product of the LU diagonal
      M lu(CopyMatrix(a.m));
      int32_t *index = LUDecomposition(lu.m);
      double viaLU = -index[4] * lu(1, 1) * lu(2, 2) * lu(3, 3);
      EXPECT_NEAR(Det(a.m), viaLU, 1e-14);
      FreeVectorL(index);
    }
  }
  // Complex: the determinant of a unitary-free product is the product.
  MC a(RandomC(5, 7, false));
  MC b(RandomC(5, 8, false));
  MC ab(MulMC(a.m, b.m));
  std::complex<double> da(DetC(a.m).re, DetC(a.m).im), db(DetC(b.m).re, DetC(b.m).im);
  Complex dab = DetC(ab.m);
  EXPECT_NEAR(std::abs(cd(dab.re, dab.im) - da * db), 0.0, 1e-12 * std::abs(da * db));
}

TEST(LinearAlgebra, LUSolveHandlesSeveralRightHandSides) {
  for (int n : {5, 60}) {
    M a(Random(n, n, n));
    M b(Random(n, 3, n + 1));
    M b0(CopyMatrix(b.m));
    M a0(CopyMatrix(a.m));
    b.m[2][1] = b.m[2][2] = 0.0;  // leading zeros in the second right-hand side
    b0.m[2][1] = b0.m[2][2] = 0.0;
    LinSolve(a.m, b.m);
    EXPECT_TRUE(EqualMatrices(a.m, a0.m));  // LinSolve keeps a
    std::vector<double> d = ColumnMajor(a0.m), x = ColumnMajor(b0.m);
    std::vector<int> ipiv(n);
    int info, nn = n, nrhs = 3;
    dgesv_(&nn, &nrhs, d.data(), &nn, ipiv.data(), x.data(), &nn, &info);
    for (int j = 1; j <= 3; ++j)
      for (int i = 1; i <= n; ++i) EXPECT_NEAR(b(i, j), x[(j - 1) * n + i - 1], 1e-10);
    EXPECT_LT(ProductError(a0.m, b.m, b0.m), 1e-12);
    LUSolve(a.m, b0.m);  // a is overwritten by its factors here
    EXPECT_FALSE(EqualMatrices(a.m, a0.m));
  }
}

TEST(LinearAlgebra, IllConditionedAndSingularSystemsStayBounded) {
  M h(Hilbert(8));
  M h0(CopyMatrix(h.m));
  M b(Matrix(1, 8));
  for (int i = 1; i <= 8; ++i) b(i, 1) = 1.0;
  M b0(CopyMatrix(b.m));
  LinSolve(h.m, b.m);
  EXPECT_LT(ProductError(h0.m, b.m, b0.m), 1e-6);

  // A singular matrix: elimination goes on, the answer is huge but no crash.
  M s(Matrix(3, 3));
  double v[3][3] = {{1, 2, 3}, {2, 4, 6}, {1, 0, 1}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) s(i + 1, j + 1) = v[i][j];
  EXPECT_EQ(Det(s.m), 0.0);
  M inv(CopyMatrix(s.m));
  InvertM(inv.m);
  EXPECT_GT(MaxAbs(inv.m), 1e10);
}

TEST(LinearAlgebra, InversesReproduceTheIdentity) {
  M a(Random(30, 30, 3));
  M inv(CopyMatrix(a.m));
  InvertM(inv.m);
  M id(IdentityMatrix(30));
  EXPECT_LT(ProductError(a.m, inv.m, id.m), 1e-12);

  MC c(RandomC(12, 4, false));
  MC ci(CopyMatrixC(c.m));
  InvertMC(ci.m);
  MC p(MulMC(c.m, ci.m));
  for (int j = 1; j <= 12; ++j)
    for (int i = 1; i <= 12; ++i) {
      EXPECT_NEAR(p.m[j][i].re, i == j ? 1.0 : 0.0, 1e-12);
      EXPECT_NEAR(p.m[j][i].im, 0.0, 1e-12);
    }

  M two(Matrix(2, 2));
  two(1, 1) = 4, two(1, 2) = 7, two(2, 1) = 2, two(2, 2) = 6;
  M i2(Invert2M(two.m));
  M i2b(CopyMatrix(two.m));
  InvertM(i2b.m);
  EXPECT_LT(std::fabs(i2(1, 2) - (-0.7)), 1e-15);
  EXPECT_LT(std::fabs(i2(2, 1) - (-0.2)), 1e-15);
  M d(SubM(i2.m, i2b.m));
  EXPECT_LT(MaxAbs(d.m), 1e-15);
}

// ---- singular values ---------------------------------------------------------

void CheckSVD(int rows, int cols, unsigned seed) {
  M a(Random(rows, cols, seed));
  double ***r = SVD(a.m);
  double **u = r[1], **s = r[2], **v = r[3];
  ASSERT_EQ(Cols(u), cols);
  ASSERT_EQ(Rows(u), rows);
  ASSERT_EQ(Rows(s), cols);
  ASSERT_EQ(Cols(v), cols);
  ASSERT_EQ(Rows(v), cols);
  // U S V' = A
  M us(CopyMatrix(u));
  for (int j = 1; j <= cols; ++j)
    for (int i = 1; i <= rows; ++i) us(i, j) *= s[1][j];
  M vt(Transpose(v));
  EXPECT_LT(ProductError(us.m, vt.m, a.m), 1e-12);
  M vtv(MulM(vt.m, v));
  M id(IdentityMatrix(cols));
  M d(SubM(vtv.m, id.m));
  EXPECT_LT(MaxAbs(d.m), 1e-12);
  // Singular values against LAPACK (both descending).
  std::vector<double> x = ColumnMajor(a.m), sv(std::min(rows, cols)), work(1);
  int m = rows, n = cols, info, lwork = -1, one = 1;
  double dummy;
  dgesvd_("N", "N", &m, &n, x.data(), &m, sv.data(), &dummy, &one, &dummy, &one, work.data(), &lwork, &info,
          1, 1);
  lwork = static_cast<int>(work[0]);
  work.resize(lwork);
  dgesvd_("N", "N", &m, &n, x.data(), &m, sv.data(), &dummy, &one, &dummy, &one, work.data(), &lwork, &info,
          1, 1);
  for (size_t k = 0; k < sv.size(); ++k) EXPECT_NEAR(s[1][k + 1], sv[k], 1e-12) << k;
  for (int k = static_cast<int>(sv.size()) + 1; k <= cols; ++k) EXPECT_NEAR(s[1][k], 0.0, 1e-12);
  FreeMatrixVector(r);
}

TEST(LinearAlgebra, SVDMatchesLapackForTallAndWideMatrices) {
  CheckSVD(3, 2, 1);
  CheckSVD(25, 12, 2);
  CheckSVD(8, 14, 3);
  CheckSVD(1, 1, 4);
}

TEST(LinearAlgebra, SVDOfRankDeficientMatrix) {
  M a(Matrix(3, 4));
  for (int i = 1; i <= 4; ++i) a(i, 1) = i, a(i, 2) = 2 * i, a(i, 3) = 1;
  double ***r = SVD(a.m);
  EXPECT_NEAR(r[2][1][3], 0.0, 1e-12);
  EXPECT_GT(r[2][1][2], 0.1);
  FreeMatrixVector(r);
}

// ---- eigenvalues -------------------------------------------------------------

TEST(LinearAlgebra, SymmetricEigenDecompositionMatchesLapack) {
  int n = 20;
  M r(Random(n, n, 11));
  M rt(Transpose(r.m));
  M a(AddM(r.m, rt.m));
  M vecs(Matrix(n, n));
  double *values = Vector(n);
  EigenDecomposition(a.m, values, vecs.m);
  std::vector<double> x = ColumnMajor(a.m), w(n), work(3 * n);
  int nn = n, info, lwork = 3 * n;
  dsyev_("N", "U", &nn, x.data(), &nn, w.data(), work.data(), &lwork, &info, 1, 1);
  for (int i = 0; i < n; ++i) EXPECT_NEAR(values[i + 1], w[i], 1e-12);
  M vl(CopyMatrix(vecs.m));
  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i) vl(i, j) *= values[j];
  EXPECT_LT(ProductError(a.m, vecs.m, vl.m), 1e-12);
  FreeVector(values);

  // exp of a symmetric matrix through its eigen decomposition: exp(A) exp(-A) = I.
  M neg(IncM(a.m, 0.0));
  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i) neg(i, j) = -a(i, j) / 8;
  M pos(IncM(a.m, 0.0));
  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i) pos(i, j) = a(i, j) / 8;
  M e1(MatrixFunction(pos.m, [](double t) { return std::exp(t); }));
  M e2(MatrixFunction(neg.m, [](double t) { return std::exp(t); }));
  M id(IdentityMatrix(n));
  EXPECT_LT(ProductError(e1.m, e2.m, id.m), 1e-11);
}

TEST(LinearAlgebra, TridiagonalEigenvaluesAndMatrixFunction) {
  // The second-difference matrix: eigenvalues 2 - 2 cos(k pi / (n + 1)).
  int n = 9;
  double *d = Vector(n), *e = Vector(n);
  for (int i = 1; i <= n; ++i) d[i] = 2.0, e[i] = -1.0;
  M sq(MatrixFunctionTridag(d, e, [](double t) { return t * t; }));
  M id(IdentityMatrix(n));
  M t(TriDiagonalMatrix(e, d, e));
  M t2(Square(t.m));
  M diff(SubM(sq.m, t2.m));
  EXPECT_LT(MaxAbs(diff.m), 1e-12);
  TriagonalEigenValues(d, e);
  std::vector<double> got(d + 1, d + n + 1);
  std::sort(got.begin(), got.end());
  for (int k = 1; k <= n; ++k) EXPECT_NEAR(got[k - 1], 2 - 2 * std::cos(k * M_PI / (n + 1)), 1e-13);
  FreeVector(d);
  FreeVector(e);
}

std::vector<cd> LapackEigenvalues(double **a) {
  int n = Cols(a), info, lwork = 8 * n, one = 1;
  std::vector<double> x = ColumnMajor(a), wr(n), wi(n), work(lwork);
  double dummy;
  dgeev_("N", "N", &n, x.data(), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &lwork,
         &info, 1, 1);
  std::vector<cd> out;
  for (int i = 0; i < n; ++i) out.emplace_back(wr[i], wi[i]);
  return out;
}

TEST(LinearAlgebra, GeneralEigenvaluesMatchLapack) {
  M rot(Matrix0(4, 4));  // complex pairs +-2i and 1 +- i
  rot(1, 2) = 2, rot(2, 1) = -2, rot(3, 3) = 1, rot(3, 4) = 1, rot(4, 3) = -1, rot(4, 4) = 1;
  M rnd(Random(30, 30, 21));
  M hil(Hilbert(6));
  for (double **a : {rot.m, rnd.m, hil.m}) {
    int n = Cols(a);
    Complex *w = QRAlgorithm(a);
    std::vector<cd> mine;
    for (int i = 1; i <= n; ++i) mine.emplace_back(w[i].re, w[i].im);
    for (int i = 2; i <= n; ++i)  // sorted by descending modulus
      EXPECT_GE(std::abs(mine[i - 2]) + 1e-12, std::abs(mine[i - 1]));
    std::vector<cd> ref = Sorted(LapackEigenvalues(a));
    mine = Sorted(mine);
    for (int i = 0; i < n; ++i) EXPECT_NEAR(std::abs(mine[i] - ref[i]), 0.0, 1e-10) << i;
    FreeVectorC(w);
  }
}

double EigenResidual(Complex **a, Complex ***r) {
  int n = static_cast<int>(a[0][0].re);
  double worst = 0;
  for (int k = 1; k <= n; ++k) {
    cd lambda(r[1][1][k].re, r[1][1][k].im);
    double norm = 0;
    for (int i = 1; i <= n; ++i) {
      cd s = 0;
      for (int j = 1; j <= n; ++j) s += cd(a[j][i].re, a[j][i].im) * cd(r[2][k][j].re, r[2][k][j].im);
      s -= lambda * cd(r[2][k][i].re, r[2][k][i].im);
      worst = std::max(worst, std::abs(s));
      norm += std::norm(cd(r[2][k][i].re, r[2][k][i].im));
    }
    EXPECT_NEAR(norm, 1.0, 1e-12);
  }
  return worst;
}

TEST(LinearAlgebra, ComplexEigenvectorsSatisfyTheirEquation) {
  MC h(RandomC(10, 31, true));
  Complex ***r = QRAlgorithm2(h.m);
  EXPECT_LT(EigenResidual(h.m, r), 1e-12);
  std::vector<cd> x(100);
  for (int j = 0; j < 10; ++j)
    for (int i = 0; i < 10; ++i) x[j * 10 + i] = cd(h.m[j + 1][i + 1].re, h.m[j + 1][i + 1].im);
  int n = 10, lwork = 64, info;
  std::vector<double> w(10), rwork(30);
  std::vector<cd> work(lwork);
  zheev_("N", "U", &n, x.data(), &n, w.data(), work.data(), &lwork, rwork.data(), &info, 1, 1);
  std::vector<double> mine;
  for (int k = 1; k <= 10; ++k) {
    EXPECT_NEAR(r[1][1][k].im, 0.0, 1e-12);
    mine.push_back(r[1][1][k].re);
  }
  std::sort(mine.begin(), mine.end());
  for (int k = 0; k < 10; ++k) EXPECT_NEAR(mine[k], w[k], 1e-12);
  FreeMatrixVectorC(r);

  MC g(RandomC(15, 32, false));
  r = QRAlgorithm2(g.m);
  EXPECT_LT(EigenResidual(g.m, r), 1e-11);
  FreeMatrixVectorC(r);

  // A repeated eigenvalue: the identity gives the unit vectors.
  MC id(Matrix0C(3, 3));
  for (int i = 1; i <= 3; ++i) id.m[i][i].re = 1.0;
  r = QRAlgorithm2(id.m);
  EXPECT_LT(EigenResidual(id.m, r), 1e-15);
  FreeMatrixVectorC(r);
}

TEST(LinearAlgebra, PowerMethodAndInverseIteration) {
  M a(Matrix0(3, 3));
  a(1, 1) = 1, a(2, 2) = -3, a(3, 3) = 2, a(1, 2) = 0.5;
  double *v = Vector(3);
  v[1] = v[2] = v[3] = 1;
  EXPECT_EQ(PowerMethod(a.m, v, 0), 0.0);
  EXPECT_NEAR(PowerMethod(a.m, v, 200), -3.0, 1e-9);
  FreeVector(v);
  double *x = EigenVector(a.m, 2.0);
  EXPECT_NEAR(std::fabs(x[3]), 1.0, 1e-9);
  FreeVector(x);
}

// ---- band and tridiagonal ------------------------------------------------------

TEST(LinearAlgebra, BandAndTridiagonalSolversAgreeWithDense) {
  const int n = 12, m1 = 2, m2 = 1;
  M dense(Random(n, n, 41));
  for (int j = 1; j <= n; ++j)
    for (int i = 1; i <= n; ++i)
      if (j < i - m1 || j > i + m2) dense(i, j) = 0.0;
  M band(Matrix0(m1 + m2 + 1, n)), al(Matrix(m1, n));
  for (int i = 1; i <= n; ++i)
    for (int k = 1; k <= m1 + m2 + 1; ++k) {
      int j = i + k - m1 - 1;
      if (j >= 1 && j <= n) band(i, k) = dense(i, j);
    }
  int32_t *index = VectorL(n);
  double parity = BanDec(band.m, m1, m2, al.m, index);
  EXPECT_TRUE(parity == 1.0 || parity == -1.0);
  M rhs(Random(n, 1, 42));
  double *b = CopyVector(rhs.m[1]);
  BanSolve(band.m, m1, m2, al.m, index, b);
  LinSolve(dense.m, rhs.m);
  for (int i = 1; i <= n; ++i) EXPECT_NEAR(b[i], rhs(i, 1), 1e-10);
  FreeVector(b);
  FreeVectorL(index);

  double *sub = Vector(n), *dia = Vector(n), *sup = Vector(n), *r = Vector(n), *u = Vector(n);
  for (int i = 1; i <= n; ++i) sub[i] = -1, dia[i] = 4, sup[i] = 0.5 * i, r[i] = i;
  TriDiagSolve(sub, dia, sup, r, u);
  M t(TriDiagonalMatrix(sub, dia, sup));
  double *tu = MulMV(t.m, u);
  for (int i = 1; i <= n; ++i) EXPECT_NEAR(tu[i], r[i], 1e-12);
  EXPECT_EQ(SymmetrizeTridiagonalMatrix(sub, dia, sup), 0);  // products are negative
  for (double *p : {sub, dia, sup, r, u, tu}) FreeVector(p);
}

// ---- arithmetic -----------------------------------------------------------------

TEST(LinearAlgebra, ProductsAndShapes) {
  M a(Random(3, 4, 51)), b(Random(4, 2, 52));
  M ab(MulM(a.m, b.m));
  ASSERT_EQ(Cols(ab.m), 2);
  ASSERT_EQ(Rows(ab.m), 3);
  double s = 0;
  for (int k = 1; k <= 4; ++k) s += a(2, k) * b(k, 2);
  EXPECT_NEAR(ab(2, 2), s, 1e-15);
  M bad(MulM(b.m, b.m));  // 2 columns against 4 rows
  EXPECT_EQ(Cols(bad.m), 1);
  EXPECT_EQ(bad(1, 1), 0.0);

  M k(Kronecker(a.m, b.m));
  EXPECT_EQ(Cols(k.m), 8);
  EXPECT_EQ(Rows(k.m), 12);
  EXPECT_EQ(k((3 - 1) * 4 + 2, (4 - 1) * 2 + 1), a(3, 4) * b(2, 1));

  M sq(Random(4, 4, 53));
  M p3(PowM(sq.m, 3));
  M s2(MulM(sq.m, sq.m));
  EXPECT_LT(ProductError(s2.m, sq.m, p3.m), 1e-14);
  M pm1(PowM(sq.m, -1));
  M id(IdentityMatrix(4));
  EXPECT_LT(ProductError(sq.m, pm1.m, id.m), 1e-12);
  M copy(CopyMatrix(sq.m));
  MulIPM(copy.m, pm1.m);
  M diff(SubM(copy.m, id.m));
  EXPECT_LT(MaxAbs(diff.m), 1e-12);

  double *x = Vector3(1, 0, 0), *y = Vector3(0, 1, 0);
  double *z = CrossP(x, y);
  EXPECT_EQ(z[3], 1.0);
  EXPECT_EQ(InnerP(x, y), 0.0);
  double *w = VectorS(1);
  double *bad2 = CrossP(x, w);
  EXPECT_EQ(bad2[0], 0.0);
  for (double *p : {x, y, z, w, bad2}) FreeVector(p);

  M t(Transpose(a.m));
  M tt(Matrix(4, 3));
  TransposeIP(t.m, tt.m);
  EXPECT_TRUE(EqualMatrices(tt.m, a.m));
  M sqt(Transpose(sq.m));
  TransposeSquareIP(sq.m);
  EXPECT_TRUE(EqualMatrices(sq.m, sqt.m));
  M q(GramSchmidt(a.m));
  M qt(Transpose(q.m));
  M qtq(MulM(qt.m, q.m));
  // Four columns in three dimensions: the last one vanishes.
  for (int i = 1; i <= 3; ++i) EXPECT_NEAR(qtq(i, i), 1.0, 1e-14);
  EXPECT_NEAR(qtq(4, 4), 0.0, 1e-12);
  EXPECT_NEAR(qtq(1, 2), 0.0, 1e-14);
}

// ---- bad input -------------------------------------------------------------------

TEST(LinearAlgebra, DegenerateInputIsHarmless) {
  M empty(Matrix(0, 0));
  M wide(Random(2, 3, 61));
  M one(MatrixS(5.0));
  M nan(Random(4, 4, 62));
  nan(2, 3) = NAN;
  nan(1, 1) = INFINITY;
  for (double **a : {empty.m, wide.m, one.m, nan.m}) {
    M c(CopyMatrix(a));
    (void)Det(c.m);
    InvertM(c.m);
    int32_t *index = LUDecomposition(c.m);
    FreeVectorL(index);
    M b(Matrix0(2, std::max(Rows(a), 1)));
    LUSolve(c.m, b.m);
    FreeMatrixVector(SVD(a));
    FreeVectorC(QRAlgorithm(a));
    M tr(Transpose(a));
    M pw(PowM(a, 2));
    double *vals = Vector(Cols(a));
    M vecs(Matrix(Cols(a), Cols(a)));
    EigenDecomposition(a, vals, vecs.m);
    FreeVector(vals);
    QRBalance(c.m);
    QRHessenberg(c.m);
  }
  EXPECT_EQ(Det(one.m), 5.0);
  EXPECT_EQ(Det(wide.m), 0.0);
  M inv1(MatrixS(4.0));
  InvertM(inv1.m);
  EXPECT_EQ(inv1(1, 1), 0.25);
  MC cnan(RandomC(3, 63, false));
  cnan.m[1][2].re = NAN;
  FreeMatrixVectorC(QRAlgorithm2(cnan.m));
}

}  // namespace
