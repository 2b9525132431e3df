// Natural cubic splines and spherical harmonics against GSL.
#include <gtest/gtest.h>
#include <gsl/gsl_interp.h>
#include <gsl/gsl_sf_legendre.h>

#include <cmath>
#include <vector>

#include "libquorvex.h"

namespace {

TEST(AgainstGsl, NaturalSplineMatchesCspline) {
  const std::vector<double> x = {0.0, 0.4, 0.5, 1.3, 2.0, 2.2, 3.7, 4.0};
  std::vector<double> y;
  for (double t : x) y.push_back(std::sin(2 * t) + 0.3 * t * t);
  double **set = Matrix(2, static_cast<int32_t>(x.size()));
  for (size_t i = 0; i < x.size(); ++i) set[1][i + 1] = x[i], set[2][i + 1] = y[i];
  gsl_interp *spline = gsl_interp_alloc(gsl_interp_cspline, x.size());
  gsl_interp_init(spline, x.data(), y.data(), x.size());
  gsl_interp_accel *acc = gsl_interp_accel_alloc();
  double *at = Vector(41);
  for (int i = 1; i <= 41; ++i) at[i] = 0.1 * (i - 1);
  double **out = SplineInterpolationPts(set, at);
  for (int i = 1; i <= 41; ++i)
    EXPECT_NEAR(out[2][i], gsl_interp_eval(spline, x.data(), y.data(), at[i], acc), 1e-13) << at[i];
  // The resampling form lands on the same curve.
  double **even = SplineInterpolation(set, 9);
  for (int i = 1; i <= 9; ++i)
    EXPECT_NEAR(even[2][i], gsl_interp_eval(spline, x.data(), y.data(), even[1][i], acc), 1e-13);
  FreeMatrix(even);
  FreeMatrix(out);
  FreeVector(at);
  FreeMatrix(set);
  gsl_interp_accel_free(acc);
  gsl_interp_free(spline);
}

TEST(AgainstGsl, SphericalHarmonicsMatchNormalisedLegendre) {
  // gsl_sf_legendre_sphPlm(l, m, cos theta) is Y_l^m(theta, 0) for m >= 0,
  // Condon-Shortley phase included.
  for (int l : {0, 1, 2, 5, 12, 40})
    for (int m = 0; m <= l; m += (l > 5 ? 7 : 1))
      for (double theta : {0.0, 0.3, 1.2, 2.9}) {
        const double want = gsl_sf_legendre_sphPlm(l, m, std::cos(theta));
        const double phi = 0.7;
        const Complex y = SphericalHarmonic(l, m, theta, phi);
        EXPECT_NEAR(y.re, want * std::cos(m * phi), 1e-12 * (1 + std::fabs(want))) << l << " " << m;
        EXPECT_NEAR(y.im, want * std::sin(m * phi), 1e-12 * (1 + std::fabs(want))) << l << " " << m;
      }
}

}  // namespace
