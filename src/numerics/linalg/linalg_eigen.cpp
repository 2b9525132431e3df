// Singular values and eigenvalues.
//
// SVD: Golub and Reinsch's Householder bidiagonalisation followed by
// implicitly shifted QR on the bidiagonal form. Symmetric eigenproblems:
// Householder reduction to tridiagonal form and the implicit QL method with
// Wilkinson shifts. General real matrices: balancing by powers of 2,
// elimination to Hessenberg form and Francis' double-shift QR. General
// complex matrices (and eigenvectors): Householder reduction to Hessenberg
// form, single-shift complex QR to a Schur form, back substitution.
//
// Read first: every routine copies its input into one contiguous 0-based
// block (the classic 1-based formulations are kept through small accessor
// lambdas), works there, and writes back. No routine reports failure: an
// eigenvalue that does not converge within 30 iterations is accepted as it
// stands, and NaN or infinite input only gives NaN results.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <vector>

#include "common/boundary.h"
#include "common/owned.h"
#include "common/complex.h"
#include "libquorvex.h"
#include "numerics/linalg/linalg_internal.h"

namespace qvx::la {
namespace {

constexpr int kMaxIterations = 30;

inline double SignOf(double a, double b) { return b >= 0.0 ? std::fabs(a) : -std::fabs(a); }

// sqrt(a^2 + b^2) without destructive overflow or underflow.
double Pythag(double a, double b) {
  double absa = std::fabs(a), absb = std::fabs(b);
  if (absa > absb) return absa * std::sqrt(1.0 + (absb / absa) * (absb / absa));
  return absb == 0.0 ? 0.0 : absb * std::sqrt(1.0 + (absa / absb) * (absa / absb));
}

// ---- singular value decomposition ------------------------------------------

// a: m by n column-major (a[(j-1)*m + i-1] is row i, column j), m >= n.
// On return a holds U, w the singular values, v (n by n column-major) V.
void SVDColumnMajor(std::vector<double> &abuf, int m, int n, std::vector<double> &w,
                    std::vector<double> &vbuf) {
  auto A = [&](int i, int j) -> double & { return abuf[static_cast<size_t>(j - 1) * m + (i - 1)]; };
  auto V = [&](int i, int j) -> double & { return vbuf[static_cast<size_t>(j - 1) * n + (i - 1)]; };
  w.assign(static_cast<size_t>(n) + 1, 0.0);
  vbuf.assign(static_cast<size_t>(n) * n, 0.0);
  std::vector<double> rv1(static_cast<size_t>(n) + 1, 0.0), sj(static_cast<size_t>(m) + 1, 0.0);
  double g = 0.0, scale = 0.0, anorm = 0.0, s, f, h;
  int l = 1;
  for (int i = 1; i <= n; ++i) {
    l = i + 1;
    rv1[i] = scale * g;
    g = s = scale = 0.0;
    if (i <= m) {
      for (int k = i; k <= m; ++k) scale += std::fabs(A(k, i));
      if (scale != 0.0) {
        for (int k = i; k <= m; ++k) {
          A(k, i) /= scale;
          s += A(k, i) * A(k, i);
        }
        f = A(i, i);
        g = -SignOf(std::sqrt(s), f);
        h = f * g - s;
        A(i, i) = f - g;
        for (int j = l; j <= n; ++j) {
          s = 0.0;
          for (int k = i; k <= m; ++k) s += A(k, i) * A(k, j);
          f = s / h;
          for (int k = i; k <= m; ++k) A(k, j) += f * A(k, i);
        }
        for (int k = i; k <= m; ++k) A(k, i) *= scale;
      }
    }
    w[i] = scale * g;
    g = s = scale = 0.0;
    if (i <= m && i != n) {
      for (int k = l; k <= n; ++k) scale += std::fabs(A(i, k));
      if (scale != 0.0) {
        for (int k = l; k <= n; ++k) {
          A(i, k) /= scale;
          s += A(i, k) * A(i, k);
        }
        f = A(i, l);
        g = -SignOf(std::sqrt(s), f);
        h = f * g - s;
        A(i, l) = f - g;
        for (int k = l; k <= n; ++k) rv1[k] = A(i, k) / h;
        // Row updates of rows l..m, run column by column; each row's sum is
        // still formed in ascending k.
        for (int j = l; j <= m; ++j) sj[j] = 0.0;
        for (int k = l; k <= n; ++k) {
          double aik = A(i, k);
          double *col = &A(1, k);
          for (int j = l; j <= m; ++j) sj[j] += col[j - 1] * aik;
        }
        for (int k = l; k <= n; ++k) {
          double r = rv1[k];
          double *col = &A(1, k);
          for (int j = l; j <= m; ++j) col[j - 1] += sj[j] * r;
        }
        for (int k = l; k <= n; ++k) A(i, k) *= scale;
      }
    }
    anorm = std::max(anorm, std::fabs(w[i]) + std::fabs(rv1[i]));
  }
  // Right-hand transformations.
  std::vector<double> rowi(static_cast<size_t>(n) + 1);
  for (int i = n; i >= 1; --i) {
    if (i < n) {
      if (g != 0.0) {
        for (int j = l; j <= n; ++j) V(j, i) = (A(i, j) / A(i, l)) / g;
        for (int k = l; k <= n; ++k) rowi[k] = A(i, k);
        for (int j = l; j <= n; ++j) {
          s = 0.0;
          for (int k = l; k <= n; ++k) s += rowi[k] * V(k, j);
          for (int k = l; k <= n; ++k) V(k, j) += s * V(k, i);
        }
      }
      for (int j = l; j <= n; ++j) V(i, j) = V(j, i) = 0.0;
    }
    V(i, i) = 1.0;
    g = rv1[i];
    l = i;
  }
  // Left-hand transformations.
  for (int i = std::min(m, n); i >= 1; --i) {
    l = i + 1;
    g = w[i];
    for (int j = l; j <= n; ++j) A(i, j) = 0.0;
    if (g != 0.0) {
      g = 1.0 / g;
      for (int j = l; j <= n; ++j) {
        s = 0.0;
        for (int k = l; k <= m; ++k) s += A(k, i) * A(k, j);
        f = (s / A(i, i)) * g;
        for (int k = i; k <= m; ++k) A(k, j) += f * A(k, i);
      }
      for (int j = i; j <= m; ++j) A(j, i) *= g;
    } else {
      for (int j = i; j <= m; ++j) A(j, i) = 0.0;
    }
    A(i, i) += 1.0;
  }
  // Diagonalisation of the bidiagonal form.
  for (int k = n; k >= 1; --k) {
    for (int its = 1; its <= kMaxIterations; ++its) {
      bool flag = true;
      int nm = 0;
      for (l = k; l >= 1; --l) {
        nm = l - 1;
        if (l == 1 || std::fabs(rv1[l]) <= 1e-15 * anorm) {  // rv1[1] is always 0
          flag = false;
          break;
        }
        if (std::fabs(w[nm]) <= 1e-12 * anorm) break;
      }
      if (flag) {
        // w[nm] is negligible: cancel rv1[l] by rotations.
        double c = 0.0;
        s = 1.0;
        for (int i = l; i <= k; ++i) {
          f = s * rv1[i];
          rv1[i] = c * rv1[i];
          if (std::fabs(f) <= 1e-15 * anorm) break;
          g = w[i];
          h = Pythag(f, g);
          w[i] = h;
          h = 1.0 / h;
          c = g * h;
          s = -f * h;
          double *cn = &A(1, nm), *ci = &A(1, i);
          for (int j = 0; j < m; ++j) {
            double y = cn[j], z = ci[j];
            cn[j] = y * c + z * s;
            ci[j] = z * c - y * s;
          }
        }
      }
      double z = w[k];
      if (l == k) {
        if (z < 0.0) {  // a negative singular value: flip it and column k of V
          w[k] = -z;
          for (int j = 1; j <= n; ++j) V(j, k) = -V(j, k);
        }
        break;
      }
      if (its == kMaxIterations) break;  // accept the value as it stands
      double x = w[l];
      nm = k - 1;
      double y = w[nm];
      g = rv1[nm];
      h = rv1[k];
      f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
      g = Pythag(f, 1.0);
      f = ((x - z) * (x + z) + h * ((y / (f + SignOf(g, f))) - h)) / x;
      double c = 1.0;
      s = 1.0;
      for (int j = l; j <= nm; ++j) {
        int i = j + 1;
        g = rv1[i];
        y = w[i];
        h = s * g;
        g = c * g;
        z = Pythag(f, h);
        rv1[j] = z;
        c = f / z;
        s = h / z;
        f = x * c + g * s;
        g = g * c - x * s;
        h = y * s;
        y *= c;
        double *vj = &V(1, j), *vi = &V(1, i);
        for (int jj = 0; jj < n; ++jj) {
          x = vj[jj];
          z = vi[jj];
          vj[jj] = x * c + z * s;
          vi[jj] = z * c - x * s;
        }
        z = Pythag(f, h);
        w[j] = z;
        if (z != 0.0) {
          z = 1.0 / z;
          c = f * z;
          s = h * z;
        }
        f = c * g + s * y;
        x = c * y - s * g;
        double *aj = &A(1, j), *ai = &A(1, i);
        for (int jj = 0; jj < m; ++jj) {
          y = aj[jj];
          z = ai[jj];
          aj[jj] = y * c + z * s;
          ai[jj] = z * c - y * s;
        }
      }
      rv1[l] = 0.0;
      rv1[k] = f;
      w[k] = x;
    }
  }
}

// ---- symmetric eigenproblems -----------------------------------------------

// Householder reduction of a symmetric row-major n by n block to tridiagonal
// form; a receives the orthogonal transformation, d the diagonal and e the
// sub-diagonal in e[2..n] (1-based vectors of n + 1 slots).
void Tridiagonalize(std::vector<double> &abuf, int n, double *d, double *e) {
  auto a = [&](int i, int j) -> double & { return abuf[static_cast<size_t>(i - 1) * n + (j - 1)]; };
  for (int i = n; i >= 2; --i) {
    int l = i - 1;
    double h = 0.0, scale = 0.0;
    if (l > 1) {
      for (int k = 1; k <= l; ++k) scale += std::fabs(a(i, k));
      if (scale == 0.0) {
        e[i] = a(i, l);
      } else {
        for (int k = 1; k <= l; ++k) {
          a(i, k) /= scale;
          h += a(i, k) * a(i, k);
        }
        double f = a(i, l);
        double g = f >= 0.0 ? -std::sqrt(h) : std::sqrt(h);
        e[i] = scale * g;
        h -= f * g;
        a(i, l) = f - g;
        f = 0.0;
        for (int j = 1; j <= l; ++j) {
          a(j, i) = a(i, j) / h;
          g = 0.0;
          for (int k = 1; k <= j; ++k) g += a(j, k) * a(i, k);
          for (int k = j + 1; k <= l; ++k) g += a(k, j) * a(i, k);
          e[j] = g / h;
          f += e[j] * a(i, j);
        }
        double hh = f / (h + h);
        for (int j = 1; j <= l; ++j) {
          f = a(i, j);
          e[j] = g = e[j] - hh * f;
          for (int k = 1; k <= j; ++k) a(j, k) -= (f * e[k] + g * a(i, k));
        }
      }
    } else {
      e[i] = a(i, l);
    }
    d[i] = h;
  }
  if (n >= 1) {
    d[1] = 0.0;
    e[1] = 0.0;
  }
  std::vector<double> gj(static_cast<size_t>(n) + 1);
  for (int i = 1; i <= n; ++i) {
    int l = i - 1;
    if (d[i] != 0.0) {
      // g[j] = sum over k of a(i, k) a(k, j), formed row by row of a.
      for (int j = 1; j <= l; ++j) gj[j] = 0.0;
      for (int k = 1; k <= l; ++k) {
        double aik = a(i, k);
        for (int j = 1; j <= l; ++j) gj[j] += aik * a(k, j);
      }
      for (int k = 1; k <= l; ++k) {
        double aki = a(k, i);
        for (int j = 1; j <= l; ++j) a(k, j) -= gj[j] * aki;
      }
    }
    d[i] = a(i, i);
    a(i, i) = 1.0;
    for (int j = 1; j <= l; ++j) a(j, i) = a(i, j) = 0.0;
  }
}

// Implicit QL with Wilkinson shifts on the tridiagonal matrix (d, e[2..n]).
// z, when given, is an n by n matrix whose columns are rotated along
// (z[i][k] is row k, column i): start from the identity for the vectors of
// the tridiagonal matrix, or from the output of the reduction.
void TridiagonalQL(double *d, double *e, int n, double **z) {
  for (int i = 2; i <= n; ++i) e[i - 1] = e[i];
  if (n >= 1) e[n] = 0.0;
  for (int l = 1; l <= n; ++l) {
    int iter = 0;
    for (;;) {
      int m;
      for (m = l; m <= n - 1; ++m) {
        double dd = std::fabs(d[m]) + std::fabs(d[m + 1]);
        if (std::fabs(e[m]) <= 1e-15 * dd) break;
      }
      if (m == l) break;
      if (iter++ == kMaxIterations) break;  // accept d[l] as it stands
      double g = (d[l + 1] - d[l]) / (2.0 * e[l]);
      double r = Pythag(g, 1.0);
      g = d[m] - d[l] + e[l] / (g + SignOf(r, g));
      double s = 1.0, c = 1.0, p = 0.0;
      int i;
      for (i = m - 1; i >= l; --i) {
        double f = s * e[i];
        double b = c * e[i];
        e[i + 1] = (r = Pythag(f, g));
        if (r == 0.0) {
          d[i + 1] -= p;
          e[m] = 0.0;
          break;
        }
        s = f / r;
        c = g / r;
        g = d[i + 1] - p;
        r = (d[i] - g) * s + 2.0 * c * b;
        d[i + 1] = g + (p = s * r);
        g = c * r - b;
        if (z) {
          double *zi = z[i], *zi1 = z[i + 1];
          for (int k = 1; k <= n; ++k) {
            f = zi1[k];
            zi1[k] = s * zi[k] + c * f;
            zi[k] = c * zi[k] - s * f;
          }
        }
      }
      if (r == 0.0 && i >= l) continue;
      d[l] -= p;
      e[l] = g;
      e[m] = 0.0;
    }
  }
}

// Sorts d[1..n] ascending and the columns of z along (when given).
void SortAscending(double *d, int n, double **z) {
  for (int i = 1; i < n; ++i) {
    int k = i;
    for (int j = i + 1; j <= n; ++j)
      if (d[j] < d[k]) k = j;
    if (k != i) {
      std::swap(d[i], d[k]);
      if (z) std::swap(z[i], z[k]);  // columns are separate blocks
    }
  }
}

// ---- general real matrices -------------------------------------------------

// Balancing by powers of 2 (Parlett and Reinsch): rows and columns are
// scaled until their norms are within a factor 0.95 of each other.
void BalanceRows(std::vector<double> &abuf, int n) {
  auto a = [&](int i, int j) -> double & { return abuf[static_cast<size_t>(i - 1) * n + (j - 1)]; };
  const double radix = 2.0, sqrdx = radix * radix;
  bool done = false;
  for (int sweep = 0; !done && sweep < 100; ++sweep) {
    done = true;
    for (int i = 1; i <= n; ++i) {
      double r = 0.0, c = 0.0;
      for (int j = 1; j <= n; ++j)
        if (j != i) {
          c += std::fabs(a(j, i));
          r += std::fabs(a(i, j));
        }
      if (c == 0.0 || r == 0.0 || !std::isfinite(c) || !std::isfinite(r)) continue;
      double g = r / radix, f = 1.0, s = c + r;
      while (c < g) {
        f *= radix;
        c *= sqrdx;
      }
      g = r * radix;
      while (c > g) {
        f /= radix;
        c /= sqrdx;
      }
      if ((c + r) / f < 0.95 * s) {
        done = false;
        g = 1.0 / f;
        for (int j = 1; j <= n; ++j) a(i, j) *= g;
        for (int j = 1; j <= n; ++j) a(j, i) *= f;
      }
    }
  }
}

// Reduction to upper Hessenberg form by stabilised elementary similarity
// transformations (Gaussian elimination with pivoting). The multipliers are
// not kept: the part below the sub-diagonal is set to 0.
void HessenbergRows(std::vector<double> &abuf, int n) {
  auto a = [&](int i, int j) -> double & { return abuf[static_cast<size_t>(i - 1) * n + (j - 1)]; };
  for (int m = 2; m < n; ++m) {
    double x = 0.0;
    int i = m;
    for (int j = m; j <= n; ++j) {
      if (std::fabs(a(j, m - 1)) > std::fabs(x)) {
        x = a(j, m - 1);
        i = j;
      }
    }
    if (i != m) {
      for (int j = m - 1; j <= n; ++j) std::swap(a(i, j), a(m, j));
      for (int j = 1; j <= n; ++j) std::swap(a(j, i), a(j, m));
    }
    if (x != 0.0) {
      for (i = m + 1; i <= n; ++i) {
        double y = a(i, m - 1);
        if (y != 0.0) {
          y /= x;
          a(i, m - 1) = y;
          double *ri = &a(i, 1), *rm = &a(m, 1);
          for (int j = m; j <= n; ++j) ri[j - 1] -= y * rm[j - 1];
          for (int j = 1; j <= n; ++j) a(j, m) += y * a(j, i);
        }
      }
    }
  }
  for (int i = 3; i <= n; ++i)
    for (int j = 1; j <= i - 2; ++j) a(i, j) = 0.0;
}

// Francis double-shift QR on an upper Hessenberg block; eigenvalues to
// (wr, wi)[1..n]. Exceptional shifts at iterations 10 and 20.
void HessenbergQR(std::vector<double> &abuf, int n, std::vector<double> &wr, std::vector<double> &wi) {
  auto a = [&](int i, int j) -> double & { return abuf[static_cast<size_t>(i - 1) * n + (j - 1)]; };
  wr.assign(static_cast<size_t>(n) + 1, 0.0);
  wi.assign(static_cast<size_t>(n) + 1, 0.0);
  double anorm = 0.0;
  for (int i = 1; i <= n; ++i)
    for (int j = std::max(i - 1, 1); j <= n; ++j) anorm += std::fabs(a(i, j));
  int nn = n;
  double t = 0.0;
  double p = 0, q = 0, r = 0, s = 0, w = 0, x = 0, y = 0, z = 0;
  while (nn >= 1) {
    int its = 0, l;
    do {
      for (l = nn; l >= 2; --l) {
        s = std::fabs(a(l - 1, l - 1)) + std::fabs(a(l, l));
        if (s == 0.0) s = anorm;
        if (std::fabs(a(l, l - 1)) <= 1e-15 * s) {
          a(l, l - 1) = 0.0;
          break;
        }
      }
      x = a(nn, nn);
      if (l == nn || (l < nn - 1 && its == kMaxIterations)) {
        // One root found (or the iteration limit reached: accept it).
        l = nn;
        wr[nn] = x + t;
        wi[nn--] = 0.0;
      } else {
        y = a(nn - 1, nn - 1);
        w = a(nn, nn - 1) * a(nn - 1, nn);
        if (l == nn - 1) {
          p = 0.5 * (y - x);
          q = p * p + w;
          z = std::sqrt(std::fabs(q));
          x += t;
          if (q >= 0.0) {
            z = p + SignOf(z, p);
            wr[nn - 1] = wr[nn] = x + z;
            if (z != 0.0) wr[nn] = x - w / z;
            wi[nn - 1] = wi[nn] = 0.0;
          } else {
            wr[nn - 1] = wr[nn] = x + p;
            wi[nn - 1] = -(wi[nn] = z);
          }
          nn -= 2;
        } else {
          if (its == 10 || its == 20) {
            t += x;
            for (int i = 1; i <= nn; ++i) a(i, i) -= x;
            s = std::fabs(a(nn, nn - 1)) + std::fabs(a(nn - 1, nn - 2));
            y = x = 0.75 * s;
            w = -0.4375 * s * s;
          }
          ++its;
          int m;
          for (m = nn - 2; m >= l; --m) {
            z = a(m, m);
            r = x - z;
            s = y - z;
            p = (r * s - w) / a(m + 1, m) + a(m, m + 1);
            q = a(m + 1, m + 1) - z - r - s;
            r = a(m + 2, m + 1);
            s = std::fabs(p) + std::fabs(q) + std::fabs(r);
            p /= s;
            q /= s;
            r /= s;
            if (m == l) break;
            double u = std::fabs(a(m, m - 1)) * (std::fabs(q) + std::fabs(r));
            double v = std::fabs(p) * (std::fabs(a(m - 1, m - 1)) + std::fabs(z) + std::fabs(a(m + 1, m + 1)));
            if (u <= 1e-15 * v) break;
          }
          if (m < l) m = l;  // NaN guard: the search above always stops at l
          for (int i = m + 2; i <= nn; ++i) {
            a(i, i - 2) = 0.0;
            if (i != m + 2) a(i, i - 3) = 0.0;
          }
          for (int k = m; k <= nn - 1; ++k) {
            if (k != m) {
              p = a(k, k - 1);
              q = a(k + 1, k - 1);
              r = 0.0;
              if (k != nn - 1) r = a(k + 2, k - 1);
              if ((x = std::fabs(p) + std::fabs(q) + std::fabs(r)) != 0.0) {
                p /= x;
                q /= x;
                r /= x;
              }
            }
            if ((s = SignOf(std::sqrt(p * p + q * q + r * r), p)) != 0.0) {
              if (k == m) {
                if (l != m) a(k, k - 1) = -a(k, k - 1);
              } else {
                a(k, k - 1) = -s * x;
              }
              p += s;
              x = p / s;
              y = q / s;
              z = r / s;
              q /= p;
              r /= p;
              double *rk = &a(k, 1), *rk1 = &a(k + 1, 1);
              double *rk2 = k != nn - 1 ? &a(k + 2, 1) : nullptr;
              for (int j = k; j <= nn; ++j) {
                p = rk[j - 1] + q * rk1[j - 1];
                if (rk2) {
                  p += r * rk2[j - 1];
                  rk2[j - 1] -= p * z;
                }
                rk1[j - 1] -= p * y;
                rk[j - 1] -= p * x;
              }
              int mmin = nn < k + 3 ? nn : k + 3;
              for (int i = l; i <= mmin; ++i) {
                p = x * a(i, k) + y * a(i, k + 1);
                if (k != nn - 1) {
                  p += z * a(i, k + 2);
                  a(i, k + 2) -= p * r;
                }
                a(i, k + 1) -= p * q;
                a(i, k) -= p;
              }
            }
          }
        }
      }
    } while (l < nn - 1);
  }
}

// ---- general complex matrices ----------------------------------------------

inline double Abs1(const cplx &z) { return std::fabs(z.real()) + std::fabs(z.imag()); }
// The four-multiplication product, written out rather than left to
// std::complex, whose operator* may take other paths for infinities.
inline cplx Mul(const cplx &a, const cplx &b) { return FromC(MulFour(ToC(a), ToC(b))); }
inline cplx Div(const cplx &a, const cplx &b) { return FromC(DivC(ToC(a), ToC(b))); }

// Complex balancing by powers of 2; scale[i] receives the factor of row i
// (the similarity is A := D^-1 A D with D = diag(scale)).
void BalanceComplex(std::vector<cplx> &h, int n, std::vector<double> &scale) {
  scale.assign(static_cast<size_t>(n), 1.0);
  const double radix = 2.0, sqrdx = radix * radix;
  bool done = false;
  for (int sweep = 0; !done && sweep < 100; ++sweep) {
    done = true;
    for (int i = 0; i < n; ++i) {
      double r = 0.0, c = 0.0;
      for (int j = 0; j < n; ++j)
        if (j != i) {
          c += Abs1(h[static_cast<size_t>(j) * n + i]);
          r += Abs1(h[static_cast<size_t>(i) * n + j]);
        }
      if (c == 0.0 || r == 0.0 || !std::isfinite(c) || !std::isfinite(r)) continue;
      double g = r / radix, f = 1.0, s = c + r;
      while (c < g) {
        f *= radix;
        c *= sqrdx;
      }
      g = r * radix;
      while (c > g) {
        f /= radix;
        c /= sqrdx;
      }
      if ((c + r) / f < 0.95 * s) {
        done = false;
        g = 1.0 / f;
        scale[static_cast<size_t>(i)] *= f;
        for (int j = 0; j < n; ++j) h[static_cast<size_t>(i) * n + j] *= g;
        for (int j = 0; j < n; ++j) h[static_cast<size_t>(j) * n + i] *= f;
      }
    }
  }
}

// Householder reduction of a complex row-major block to Hessenberg form;
// q (when given) receives the unitary transformation, A = Q H Q^*.
void HessenbergComplex(std::vector<cplx> &h, int n, std::vector<cplx> *q) {
  auto H = [&](int i, int j) -> cplx & { return h[static_cast<size_t>(i) * n + j]; };
  if (q) {
    q->assign(static_cast<size_t>(n) * n, cplx(0.0, 0.0));
    for (int i = 0; i < n; ++i) (*q)[static_cast<size_t>(i) * n + i] = 1.0;
  }
  std::vector<cplx> v(static_cast<size_t>(n)), t(static_cast<size_t>(n));
  for (int k = 0; k + 2 < n; ++k) {
    double norm = 0.0;
    for (int i = k + 1; i < n; ++i) norm = std::hypot(norm, std::abs(H(i, k)));
    if (norm == 0.0 || !std::isfinite(norm)) continue;
    cplx x0 = H(k + 1, k);
    double ax0 = std::abs(x0);
    cplx phase = ax0 > 0.0 ? x0 / ax0 : cplx(1.0, 0.0);
    cplx alpha = -phase * norm;
    for (int i = k + 1; i < n; ++i) v[i] = H(i, k);
    v[k + 1] -= alpha;
    double vn = 0.0;
    for (int i = k + 1; i < n; ++i) vn = std::hypot(vn, std::abs(v[i]));
    if (vn == 0.0) continue;
    for (int i = k + 1; i < n; ++i) v[i] /= vn;
    // Left: H := (I - 2 v v^*) H on rows k+1.., columns k..
    for (int j = k; j < n; ++j) t[j] = 0.0;
    for (int i = k + 1; i < n; ++i) {
      cplx cv = std::conj(v[i]);
      for (int j = k; j < n; ++j) t[j] += Mul(cv, H(i, j));
    }
    for (int i = k + 1; i < n; ++i) {
      cplx f = 2.0 * v[i];
      for (int j = k; j < n; ++j) H(i, j) -= Mul(f, t[j]);
    }
    // Right: H := H (I - 2 v v^*) on all rows, columns k+1..
    auto right = [&](std::vector<cplx> &m) {
      for (int i = 0; i < n; ++i) {
        cplx sum = 0.0;
        cplx *row = &m[static_cast<size_t>(i) * n];
        for (int j = k + 1; j < n; ++j) sum += Mul(row[j], v[j]);
        sum *= 2.0;
        for (int j = k + 1; j < n; ++j) row[j] -= Mul(sum, std::conj(v[j]));
      }
    };
    right(h);
    if (q) right(*q);
    H(k + 1, k) = alpha;
    for (int i = k + 2; i < n; ++i) H(i, k) = 0.0;
  }
}

// Single-shift complex QR (Wilkinson shifts, exceptional shifts at
// iterations 10 and 20) on a Hessenberg block, reducing it to upper
// triangular Schur form T = Z^* H Z; z (when given) accumulates Z.
void SchurComplex(std::vector<cplx> &h, int n, std::vector<cplx> *z) {
  auto H = [&](int i, int j) -> cplx & { return h[static_cast<size_t>(i) * n + j]; };
  double norm = 0.0;
  for (auto &e : h) norm = std::max(norm, Abs1(e));
  std::vector<double> cs(static_cast<size_t>(n));
  std::vector<cplx> sn(static_cast<size_t>(n));
  int hi = n - 1, its = 0;
  while (hi > 0) {
    int l;
    for (l = hi; l > 0; --l) {
      double s = Abs1(H(l - 1, l - 1)) + Abs1(H(l, l));
      if (s == 0.0) s = norm;
      if (Abs1(H(l, l - 1)) <= 1e-15 * s) {
        H(l, l - 1) = 0.0;
        break;
      }
    }
    if (l == hi || its == kMaxIterations) {
      H(hi, hi - 1) = l == hi ? H(hi, hi - 1) : cplx(0.0, 0.0);
      --hi;
      its = 0;
      continue;
    }
    ++its;
    cplx mu;
    if (its == 10 || its == 20) {
      double s = std::fabs(H(hi, hi - 1).real()) + (hi - 2 >= l ? std::fabs(H(hi - 1, hi - 2).real()) : 0.0);
      mu = H(hi, hi) + 0.75 * s;
    } else {
      // Eigenvalue of the trailing 2 by 2 block nearer its last element.
      cplx a = H(hi - 1, hi - 1), b = H(hi - 1, hi), c = H(hi, hi - 1), d = H(hi, hi);
      cplx half = 0.5 * (a - d);
      cplx disc = std::sqrt(Mul(half, half) + Mul(b, c));
      cplx m1 = d + half + disc, m2 = d + half - disc;
      mu = Abs1(m1 - d) <= Abs1(m2 - d) ? m1 : m2;
      if (!std::isfinite(mu.real()) || !std::isfinite(mu.imag())) mu = d;
    }
    for (int k = l; k <= hi; ++k) H(k, k) -= mu;
    for (int k = l; k < hi; ++k) {
      cplx a = H(k, k), b = H(k + 1, k);
      double aa = std::abs(a), r = std::hypot(aa, std::abs(b));
      double c;
      cplx s;
      if (r == 0.0) {
        c = 1.0;
        s = 0.0;
      } else if (aa == 0.0) {
        c = 0.0;
        s = 1.0;
      } else {
        c = aa / r;
        s = Mul(a / aa, std::conj(b)) / r;
      }
      cs[k] = c;
      sn[k] = s;
      for (int j = k; j < n; ++j) {
        cplx x = H(k, j), y = H(k + 1, j);
        H(k, j) = c * x + Mul(s, y);
        H(k + 1, j) = -Mul(std::conj(s), x) + c * y;
      }
      H(k + 1, k) = 0.0;
    }
    for (int k = l; k < hi; ++k) {
      double c = cs[k];
      cplx s = sn[k], sc = std::conj(s);
      int top = std::min(k + 2, hi);
      for (int i = 0; i <= top; ++i) {
        cplx x = H(i, k), y = H(i, k + 1);
        H(i, k) = c * x + Mul(y, sc);
        H(i, k + 1) = c * y - Mul(x, s);
      }
      if (z) {
        for (int i = 0; i < n; ++i) {
          cplx &x = (*z)[static_cast<size_t>(i) * n + k];
          cplx &y = (*z)[static_cast<size_t>(i) * n + k + 1];
          cplx xo = x;
          x = c * xo + Mul(y, sc);
          y = c * y - Mul(xo, s);
        }
      }
    }
    for (int k = l; k <= hi; ++k) H(k, k) += mu;
  }
}

// Sort order of eigenvalues: descending modulus, then descending real and
// imaginary parts, so that conjugate pairs come out with the positive
// imaginary part first.
bool Before(const Complex &a, const Complex &b) {
  double ma = std::hypot(a.re, a.im), mb = std::hypot(b.re, b.im);
  if (ma != mb) return ma > mb;
  if (a.re != b.re) return a.re > b.re;
  return a.im > b.im;
}

void SortEigen(Complex *values, Complex **vectors) {
  int32_t n = LengthOf(values);
  if (n < 2) return;
  if (vectors && (ColsOf(vectors) != n)) vectors = nullptr;
  std::vector<int> order(static_cast<size_t>(n));
  std::iota(order.begin(), order.end(), 1);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
    // NaN values go last, in their original order.
    bool na = std::isnan(values[a].re) || std::isnan(values[a].im);
    bool nb = std::isnan(values[b].re) || std::isnan(values[b].im);
    if (na || nb) return !na && nb;
    return Before(values[a], values[b]);
  });
  std::vector<Complex> v(static_cast<size_t>(n));
  std::vector<Complex *> cols(static_cast<size_t>(n));
  for (int32_t i = 0; i < n; ++i) {
    v[i] = values[order[i]];
    if (vectors) cols[i] = vectors[order[i]];
  }
  for (int32_t i = 0; i < n; ++i) {
    values[i + 1] = v[i];
    if (vectors) vectors[i + 1] = cols[i];
  }
}

// Eigenvalues and unit eigenvectors of a complex square matrix.
Complex ***EigenComplex(Complex **a) {
  int32_t n;
  // Owned until the end: the work arrays below may fail to allocate.
  Owned<Complex **, FreeMatrixVectorC> owner(MatrixVectorC(2));
  Complex ***result = owner.get();
  if (!result) return nullptr;
  if (!IsSquare(a, n)) {
    result[1] = MatrixC(1, 0);
    result[2] = MatrixC(0, 0);
    return owner.release();
  }
  std::vector<cplx> h, z;
  std::vector<double> scale;
  ToRowsC(a, n, n, h);
  BalanceComplex(h, n, scale);
  HessenbergComplex(h, n, &z);
  SchurComplex(h, n, &z);
  Complex **values = MatrixC(1, n);
  Complex **vectors = MatrixC(n, n);
  result[1] = values;
  result[2] = vectors;
  if (RowsOf(values) != n || ColsOf(vectors) != n || RowsOf(vectors) != n) return owner.release();
  double norm = 0.0;
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j) norm = std::max(norm, Abs1(h[static_cast<size_t>(i) * n + j]));
  double small = norm > 0.0 ? norm * 2.220446049250313e-16 : 1e-300;
  std::vector<cplx> x(static_cast<size_t>(n)), v(static_cast<size_t>(n));
  for (int k = n - 1; k >= 0; --k) {
    cplx lambda = h[static_cast<size_t>(k) * n + k];
    values[1][k + 1] = ToC(lambda);
    // Back substitution (T - lambda I) x = 0 with x[k] = 1.
    std::fill(x.begin(), x.end(), cplx(0.0, 0.0));
    x[k] = 1.0;
    for (int i = k - 1; i >= 0; --i) {
      cplx s = 0.0;
      const cplx *row = &h[static_cast<size_t>(i) * n];
      for (int j = i + 1; j <= k; ++j) s += Mul(row[j], x[j]);
      cplx d = row[i] - lambda;
      if (Abs1(d) < small) d = small;
      x[i] = -Div(s, d);
      if (Abs1(x[i]) > 1e100) {  // keep the growth of near-defective cases finite
        for (int j = i; j <= k; ++j) x[j] *= 1e-100;
      }
    }
    for (int r = 0; r < n; ++r) {
      cplx s = 0.0;
      const cplx *row = &z[static_cast<size_t>(r) * n];
      for (int j = 0; j <= k; ++j) s += Mul(row[j], x[j]);
      v[r] = s * scale[static_cast<size_t>(r)];
    }
    // Unit 2-norm, with the largest component made real and positive.
    double vn = 0.0, big = -1.0;
    int ib = 0;
    for (int r = 0; r < n; ++r) {
      double m = std::abs(v[r]);
      vn = std::hypot(vn, m);
      if (m > big) {
        big = m;
        ib = r;
      }
    }
    cplx phase = big > 0.0 && std::isfinite(big) ? std::conj(v[ib]) / big : cplx(1.0, 0.0);
    for (int r = 0; r < n; ++r) {
      cplx e = vn > 0.0 ? Mul(v[r], phase) / vn : v[r];
      vectors[k + 1][r + 1] = ToC(e);
    }
  }
  SortEigen(values[1], vectors);
  return owner.release();
}

}  // namespace
}  // namespace qvx::la

using namespace qvx::la;

extern "C" {

QVX_API double SVDPythag(double x, double y) noexcept { return Pythag(x, y); }

QVX_API double ***SVD(double **a) noexcept {
  return qvx::Guard(static_cast<double ***>(nullptr), [&]() -> double *** {
    int32_t n = ColsOf(a), m = RowsOf(a);
    double ***result = MatrixVector(3);
    if (!result) return result;
    // Work on at least n rows: zero rows added below a wide matrix leave
    // its singular values alone.
    int32_t mw = std::max(m, n);
    std::vector<double> abuf(static_cast<size_t>(mw) * n, 0.0), w, vbuf;
    for (int32_t j = 0; j < n; ++j)
      for (int32_t i = 0; i < m; ++i) abuf[static_cast<size_t>(j) * mw + i] = a[j + 1][i + 1];
    if (n > 0) SVDColumnMajor(abuf, mw, n, w, vbuf);
    // Descending order, columns of U and V along.
    std::vector<int32_t> order(static_cast<size_t>(n));
    std::iota(order.begin(), order.end(), 1);
    std::stable_sort(order.begin(), order.end(), [&](int32_t x, int32_t y) { return w[x] > w[y]; });
    double **u = Matrix(n, m), **s = Matrix(1, n), **v = Matrix(n, n);
    result[1] = u;
    result[2] = s;
    result[3] = v;
    if (ColsOf(u) != n || (n > 0 && (RowsOf(u) != m || RowsOf(s) != n || RowsOf(v) != n))) return result;
    for (int32_t t = 0; t < n; ++t) {
      int32_t src = order[t] - 1;
      for (int32_t i = 0; i < m; ++i) u[t + 1][i + 1] = abuf[static_cast<size_t>(src) * mw + i];
      for (int32_t i = 0; i < n; ++i) v[t + 1][i + 1] = vbuf[static_cast<size_t>(src) * n + i];
      s[1][t + 1] = w[src + 1];
    }
    return result;
  });
}

QVX_API void HouseholderReduction(double **a, double *d, double *e) noexcept {
  qvx::GuardVoid([&] {
    int32_t n;
    if (!IsSquare(a, n) || LengthOf(d) < n || LengthOf(e) < n) return;
    std::vector<double> rows;
    ToRows(a, n, n, rows);
    Tridiagonalize(rows, n, d, e);
    FromRows(rows, n, n, a);
  });
}

QVX_API void TriagonalEigenValues(double *d, double *e) noexcept {
  int32_t n = LengthOf(d);
  if (!e || LengthOf(e) < n) return;
  TridiagonalQL(d, e, n, nullptr);
}

QVX_API void TriagonalEigenDecomposition(double *d, double *e, double **z) noexcept {
  int32_t n = LengthOf(d);
  if (!e || LengthOf(e) < n || ColsOf(z) < n || RowsOf(z) < n) return;
  TridiagonalQL(d, e, n, z);
}

QVX_API void EigenDecomposition(double **a, double *values, double **vectors) noexcept {
  int32_t n;
  if (!IsSquare(a, n) || LengthOf(values) < n || ColsOf(vectors) != n || RowsOf(vectors) != n) return;
  CopyMatrixIP(a, vectors);
  double *e = Vector(n);
  if (LengthOf(e) == n) {
    HouseholderReduction(vectors, values, e);
    TriagonalEigenDecomposition(values, e, vectors);
    SortAscending(values, n, vectors);
  }
  FreeVector(e);
}

QVX_API int32_t SymmetrizeTridiagonalMatrix(double *sub, const double *diag, double *super) noexcept {
  int32_t n = LengthOf(diag);
  if (!sub || !super || LengthOf(sub) < n || LengthOf(super) < n) return 0;
  int32_t ok = 1;
  for (int32_t i = 2; i <= n; ++i) {
    double p = sub[i] * super[i - 1];
    if (!(p >= 0.0)) {
      ok = 0;
      continue;
    }
    double s = std::sqrt(p);
    sub[i] = super[i - 1] = s;
  }
  return ok;
}

QVX_API void QRBalance(double **a) noexcept {
  qvx::GuardVoid([&] {
    int32_t n;
    if (!IsSquare(a, n)) return;
    std::vector<double> rows;
    ToRows(a, n, n, rows);
    BalanceRows(rows, n);
    FromRows(rows, n, n, a);
  });
}

QVX_API void QRHessenberg(double **a) noexcept {
  qvx::GuardVoid([&] {
    int32_t n;
    if (!IsSquare(a, n)) return;
    std::vector<double> rows;
    ToRows(a, n, n, rows);
    HessenbergRows(rows, n);
    FromRows(rows, n, n, a);
  });
}

QVX_API void QRBalance2(Complex **a, double *scale) noexcept {
  qvx::GuardVoid([&] {
    int32_t n;
    if (!IsSquare(a, n)) return;
    std::vector<cplx> rows;
    std::vector<double> d;
    ToRowsC(a, n, n, rows);
    BalanceComplex(rows, n, d);
    FromRowsC(rows, n, n, a);
    if (scale && LengthOf(scale) >= n)
      for (int32_t i = 0; i < n; ++i) scale[i + 1] = d[static_cast<size_t>(i)];
  });
}

QVX_API void QRHessenberg2(Complex **a, Complex **z) noexcept {
  qvx::GuardVoid([&] {
    int32_t n;
    if (!IsSquare(a, n)) return;
    std::vector<cplx> rows, q;
    ToRowsC(a, n, n, rows);
    HessenbergComplex(rows, n, &q);
    FromRowsC(rows, n, n, a);
    if (ColsOf(z) == n && RowsOf(z) == n) FromRowsC(q, n, n, z);
  });
}

QVX_API void QRSortVecs(Complex *values, Complex **vectors) noexcept {
  qvx::GuardVoid([&] { SortEigen(values, vectors); });
}

QVX_API Complex *QRAlgorithm(double **a) noexcept {
  return qvx::Guard(static_cast<Complex *>(nullptr), [&]() -> Complex * {
    int32_t n;
    if (!IsSquare(a, n)) return VectorC(0);
    std::vector<double> rows, wr, wi;
    ToRows(a, n, n, rows);
    BalanceRows(rows, n);
    HessenbergRows(rows, n);
    HessenbergQR(rows, n, wr, wi);
    Complex *values = VectorC(n);
    if (LengthOf(values) != n) return values;
    for (int32_t i = 1; i <= n; ++i) values[i] = Complex{wr[i], wi[i]};
    SortEigen(values, nullptr);
    return values;
  });
}

QVX_API Complex ***QRAlgorithm2(Complex **a) noexcept {
  return qvx::Guard(static_cast<Complex ***>(nullptr), [&] { return EigenComplex(a); });
}

// f(a) = V f(L) V' for a symmetric a = V L V'.
QVX_API double **MatrixFunction(double **a, double (*f)(double)) noexcept {
  int32_t n;
  if (!f || !IsSquare(a, n)) return BadMatrix();
  double *values = Vector(n);
  double **vectors = Matrix(n, n);
  double **out = Matrix0(n, n);
  if (LengthOf(values) == n && ColsOf(vectors) == n && RowsOf(vectors) == n && ColsOf(out) == n &&
      RowsOf(out) == n) {
    EigenDecomposition(a, values, vectors);
    for (int32_t k = 1; k <= n; ++k) {
      double fk = f(values[k]);
      const double *vk = vectors[k];
      for (int32_t j = 1; j <= n; ++j) {
        double s = fk * vk[j];
        double *col = out[j];
        for (int32_t i = 1; i <= n; ++i) col[i] += vk[i] * s;
      }
    }
  }
  FreeVector(values);
  FreeMatrix(vectors);
  return out;
}

// The same for the symmetric tridiagonal matrix with diagonal d[1..n] and
// sub-diagonal e[2..n].
QVX_API double **MatrixFunctionTridag(const double *d, const double *e, double (*f)(double)) noexcept {
  int32_t n = LengthOf(d);
  if (!f || !d || !e || LengthOf(e) < n || n == 0) return BadMatrix();
  double *dd = CopyVector(d);
  double *ee = CopyVector(e);
  double **z = IdentityMatrix(n);
  double **out = Matrix0(n, n);
  if (LengthOf(dd) == n && LengthOf(ee) >= n && ColsOf(z) == n && RowsOf(z) == n && ColsOf(out) == n &&
      RowsOf(out) == n) {
    TridiagonalQL(dd, ee, n, z);
    for (int32_t k = 1; k <= n; ++k) {
      double fk = f(dd[k]);
      const double *vk = z[k];
      for (int32_t j = 1; j <= n; ++j) {
        double s = fk * vk[j];
        for (int32_t i = 1; i <= n; ++i) out[j][i] += vk[i] * s;
      }
    }
  }
  FreeVector(dd);
  FreeVector(ee);
  FreeMatrix(z);
  return out;
}

}  // extern "C"
