// Roots of the Bessel function J of a real order.
//
// J is sampled at n points from 0 to the limit; every sign change between
// neighbouring samples (and every sample that is exactly zero, the origin
// excepted) marks a root, which bisection refines until the bracket is
// within 1e-15 (relative) or stops shrinking. Sampling decides what is
// found: two roots closer than the sample step are missed, as the contract
// says. The cost is n + 60 evaluations a root at most.
#include <cmath>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"

namespace {

double J(double order, double x) { return BesselJFunc(x, order).re; }

double Refine(double order, double a, double fa, double b) {
  for (int k = 0; k < 200; ++k) {
    const double m = 0.5 * (a + b);
    if (m <= a || m >= b || std::fabs(b - a) <= 1e-15 * std::fabs(m)) break;
    const double fm = J(order, m);
    if (fm == 0.0) return m;
    if ((fm < 0.0) == (fa < 0.0)) {
      a = m;
      fa = fm;
    } else {
      b = m;
    }
  }
  return 0.5 * (a + b);
}

}  // namespace

extern "C" {

QVX_API double *BesselFuncRoots(double order, double limit, int32_t n) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&]() -> double * {
    std::vector<double> roots;
    if (n >= 2 && std::isfinite(order) && std::isfinite(limit) && limit > 0.0 && n <= (1 << 26)) {
      const double step = limit / (n - 1);
      double xPrev = 0.0, fPrev = J(order, 0.0);
      for (int32_t k = 1; k < n; ++k) {
        const double x = k * step;
        const double f = J(order, x);
        if (std::isnan(f)) {
          xPrev = x;
          fPrev = f;
          continue;
        }
        if (f == 0.0) {
          roots.push_back(x);
        } else if (!std::isnan(fPrev) && fPrev != 0.0 && (f < 0.0) != (fPrev < 0.0)) {
          roots.push_back(Refine(order, xPrev, fPrev, x));
        }
        xPrev = x;
        fPrev = f;
      }
    }
    double *v = Vector(static_cast<int32_t>(roots.size()));
    if (v && v[0] == static_cast<double>(roots.size()))
      for (std::size_t k = 0; k < roots.size(); ++k) v[k + 1] = roots[k];
    return v;
  });
}

}  // extern "C"
