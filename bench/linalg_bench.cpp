// Dense linear algebra beside LAPACK (called through its Fortran symbols):
// LU solve and determinant of 500 by 500, inverse of 300 by 300, eigenvalues
// of a general 200 by 200 matrix, SVD with vectors of 300 by 200. Both sides
// start from the same toolkit matrix and pay for their own copies, since
// both overwrite their input.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "libquorvex.h"

extern "C" {
void dgesv_(int *n, int *nrhs, double *a, int *lda, int *ipiv, double *b, int *ldb, int *info);
void dgetrf_(int *m, int *n, double *a, int *lda, int *ipiv, int *info);
void dgetri_(int *n, double *a, int *lda, int *ipiv, double *work, int *lwork, int *info);
void dgeev_(const char *jobvl, const char *jobvr, int *n, double *a, int *lda, double *wr, double *wi,
            double *vl, int *ldvl, double *vr, int *ldvr, double *work, int *lwork, int *info, size_t,
            size_t);
void dgesvd_(const char *jobu, const char *jobvt, int *m, int *n, double *a, int *lda, double *s, double *u,
             int *ldu, double *vt, int *ldvt, double *work, int *lwork, int *info, size_t, size_t);
}

namespace {

double **RandomMatrix(int rows, int cols) {
  std::mt19937 gen(12345);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  double **m = Matrix(cols, rows);
  for (int j = 1; j <= cols; ++j)
    for (int i = 1; i <= rows; ++i) m[j][i] = u(gen);
  return m;
}

std::vector<double> ColumnMajor(double **m, int rows, int cols) {
  std::vector<double> d(static_cast<size_t>(rows) * cols);
  for (int j = 0; j < cols; ++j)
    for (int i = 0; i < rows; ++i) d[static_cast<size_t>(j) * rows + i] = m[j + 1][i + 1];
  return d;
}

void QvxSolve500(benchmark::State &state) {
  double **a = RandomMatrix(500, 500), **b = RandomMatrix(500, 1);
  for (auto _ : state) {
    double **x = CopyMatrix(b);
    LinSolve(a, x);
    benchmark::DoNotOptimize(x[1][1]);
    FreeMatrix(x);
  }
  FreeMatrix(a);
  FreeMatrix(b);
}
void LapackSolve500(benchmark::State &state) {
  double **a = RandomMatrix(500, 500), **b = RandomMatrix(500, 1);
  int n = 500, one = 1, info;
  std::vector<int> ipiv(n);
  for (auto _ : state) {
    std::vector<double> d = ColumnMajor(a, n, n), x = ColumnMajor(b, n, 1);
    dgesv_(&n, &one, d.data(), &n, ipiv.data(), x.data(), &n, &info);
    benchmark::DoNotOptimize(x[0]);
  }
  FreeMatrix(a);
  FreeMatrix(b);
}

void QvxDet500(benchmark::State &state) {
  double **a = RandomMatrix(500, 500);
  for (auto _ : state) benchmark::DoNotOptimize(Det(a));
  FreeMatrix(a);
}
void LapackDet500(benchmark::State &state) {
  double **a = RandomMatrix(500, 500);
  int n = 500, info;
  std::vector<int> ipiv(n);
  for (auto _ : state) {
    std::vector<double> d = ColumnMajor(a, n, n);
    dgetrf_(&n, &n, d.data(), &n, ipiv.data(), &info);
    double det = 1.0;
    for (int i = 0; i < n; ++i) det *= ipiv[i] != i + 1 ? -d[i * n + i] : d[i * n + i];
    benchmark::DoNotOptimize(det);
  }
  FreeMatrix(a);
}

void QvxInverse300(benchmark::State &state) {
  double **a = RandomMatrix(300, 300);
  for (auto _ : state) {
    double **x = CopyMatrix(a);
    InvertM(x);
    benchmark::DoNotOptimize(x[1][1]);
    FreeMatrix(x);
  }
  FreeMatrix(a);
}
void LapackInverse300(benchmark::State &state) {
  double **a = RandomMatrix(300, 300);
  int n = 300, info, lwork = 64 * n;
  std::vector<int> ipiv(n);
  std::vector<double> work(lwork);
  for (auto _ : state) {
    std::vector<double> d = ColumnMajor(a, n, n);
    dgetrf_(&n, &n, d.data(), &n, ipiv.data(), &info);
    dgetri_(&n, d.data(), &n, ipiv.data(), work.data(), &lwork, &info);
    benchmark::DoNotOptimize(d[0]);
  }
  FreeMatrix(a);
}

void QvxEigenvalues200(benchmark::State &state) {
  double **a = RandomMatrix(200, 200);
  for (auto _ : state) {
    Complex *w = QRAlgorithm(a);
    benchmark::DoNotOptimize(w[1]);
    FreeVectorC(w);
  }
  FreeMatrix(a);
}
void LapackEigenvalues200(benchmark::State &state) {
  double **a = RandomMatrix(200, 200);
  int n = 200, info, lwork = 64 * n, one = 1;
  std::vector<double> wr(n), wi(n), work(lwork);
  double dummy;
  for (auto _ : state) {
    std::vector<double> d = ColumnMajor(a, n, n);
    dgeev_("N", "N", &n, d.data(), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &lwork,
           &info, 1, 1);
    benchmark::DoNotOptimize(wr[0]);
  }
  FreeMatrix(a);
}

// U (300 by 200), the singular values and V (200 by 200) on both sides.
void QvxSVD300x200(benchmark::State &state) {
  double **a = RandomMatrix(300, 200);
  for (auto _ : state) {
    double ***r = SVD(a);
    benchmark::DoNotOptimize(r[2][1][1]);
    FreeMatrixVector(r);
  }
  FreeMatrix(a);
}
void LapackSVD300x200(benchmark::State &state) {
  double **a = RandomMatrix(300, 200);
  int m = 300, n = 200, info, lwork = 64 * (m + n);
  std::vector<double> s(n), u(static_cast<size_t>(m) * n), vt(static_cast<size_t>(n) * n), work(lwork);
  for (auto _ : state) {
    std::vector<double> d = ColumnMajor(a, m, n);
    dgesvd_("S", "A", &m, &n, d.data(), &m, s.data(), u.data(), &m, vt.data(), &n, work.data(), &lwork, &info,
            1, 1);
    benchmark::DoNotOptimize(s[0]);
  }
  FreeMatrix(a);
}

BENCHMARK(QvxSolve500)->Unit(benchmark::kMillisecond);
BENCHMARK(LapackSolve500)->Unit(benchmark::kMillisecond);
BENCHMARK(QvxDet500)->Unit(benchmark::kMillisecond);
BENCHMARK(LapackDet500)->Unit(benchmark::kMillisecond);
BENCHMARK(QvxInverse300)->Unit(benchmark::kMillisecond);
BENCHMARK(LapackInverse300)->Unit(benchmark::kMillisecond);
BENCHMARK(QvxEigenvalues200)->Unit(benchmark::kMillisecond);
BENCHMARK(LapackEigenvalues200)->Unit(benchmark::kMillisecond);
BENCHMARK(QvxSVD300x200)->Unit(benchmark::kMillisecond);
BENCHMARK(LapackSVD300x200)->Unit(benchmark::kMillisecond);

}  // namespace
