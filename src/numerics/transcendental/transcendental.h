// Internal helpers shared by the special-function sources: exact sine and
// cosine of pi times an argument (so that integer orders reflect without a
// rounding residue), an accurate log-gamma for internal normalisations, and
// the complex Lanczos sum behind GammaLnC.
#pragma once

#include <cmath>
#include <complex>

namespace qvx {

constexpr double kPi = 3.14159265358979323846;

// sin(pi*x) and cos(pi*x), exact at integers and half integers.
double SinPi(double x) noexcept;
double CosPi(double x) noexcept;

// log|Gamma(x)| to about 1e-15 relative (Lanczos, g = 7, nine terms), with the
// reflection for x < 0.5. Used where the six-term series of the exported
// GammaLn would be too coarse (normalisations of Coulomb and Wigner values).
double LogGammaAccurate(double x) noexcept;

// log Gamma(z) for complex z with the same series, reflection below Re z 0.5.
std::complex<double> LogGammaComplexAccurate(std::complex<double> z) noexcept;


}  // namespace qvx
