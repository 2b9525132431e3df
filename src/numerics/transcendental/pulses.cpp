// Pulse, window and step functions of one real variable, for sampling,
// filtering and plotting, plus the constant functions that integrators and
// samplers take as defaults.
//
// Pulses are centred on 0 and vanish outside their width; windows (Hann)
// span [0, width]. A width that is not positive leaves only what its limit
// defines: the step of a zero-width smooth step is Heaviside's, the rest 0.
#include <cmath>
#include <limits>

#include "libquorvex.h"
#include "numerics/transcendental/transcendental.h"

namespace {

using qvx::kPi;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

bool BadPair(double x, double w) { return std::isnan(x) || std::isnan(w); }

// cos(pi x / width)^power inside |x| <= width/2.
double CosPowerPulse(double x, double width, int power) {
  if (BadPair(x, width)) return kNaN;
  if (!(width > 0.0) || std::fabs(x) > 0.5 * width) return 0.0;
  double c = std::cos(kPi * x / width);
  double r = 1.0;
  for (int i = 0; i < power; ++i) r *= c;
  return r;
}

}  // namespace

extern "C" {

QVX_API double ZeroFunc(double x) noexcept {
  (void)x;
  return 0.0;
}
QVX_API double UnityFunc(double x) noexcept {
  (void)x;
  return 1.0;
}
QVX_API Complex ZeroFunc1DC(double x) noexcept { return Complex{ZeroFunc(x), 0.0}; }
QVX_API Complex UnityFunc1DC(double x) noexcept { return Complex{UnityFunc(x), 0.0}; }

// Kronecker delta of a real argument: 1 at exactly 0.
QVX_API double DeltaFunc(double x) noexcept {
  if (std::isnan(x)) return kNaN;
  return x == 0.0 ? 1.0 : 0.0;
}

// Unit step, 1 from 0 on.
QVX_API double HeavisideFunc(double x) noexcept {
  if (std::isnan(x)) return kNaN;
  return x >= 0.0 ? 1.0 : 0.0;
}

// sin(x)/x, 1 at 0 (the series keeps full precision near 0).
QVX_API double SincFunc(double x) noexcept {
  if (std::isnan(x)) return kNaN;
  if (std::isinf(x)) return 0.0;
  if (std::fabs(x) < 1e-4) return 1.0 - x * x / 6.0;
  return std::sin(x) / x;
}

// 1 inside |x| <= width/2.
QVX_API double SquareFunc(double x, double width) noexcept {
  if (BadPair(x, width)) return kNaN;
  return width > 0.0 && std::fabs(x) <= 0.5 * width ? 1.0 : 0.0;
}

// Triangle of height 1 at 0 falling to 0 at |x| = width/2.
QVX_API double TriangleFunc(double x, double width) noexcept {
  if (BadPair(x, width)) return kNaN;
  if (!(width > 0.0)) return 0.0;
  double v = 1.0 - 2.0 * std::fabs(x) / width;
  return v > 0.0 ? v : 0.0;
}

// Saw tooth: rises from 0 to 1 over each period, starting at x = 0.
QVX_API double ToothFunc(double x, double period) noexcept {
  if (BadPair(x, period) || std::isinf(x)) return kNaN;
  if (!(period > 0.0) || std::isinf(period)) return 0.0;
  double t = x / period;
  return t - std::floor(t);
}

// Upper half of a circle of the given radius around 0.
QVX_API double HalfCircleFunc(double x, double radius) noexcept {
  if (BadPair(x, radius)) return kNaN;
  if (!(radius > 0.0) || std::fabs(x) > radius) return 0.0;
  return std::sqrt((radius - x) * (radius + x));
}

// The first quadrant of that circle: x in [0, radius].
QVX_API double QuarterCircleFunc(double x, double radius) noexcept {
  if (BadPair(x, radius)) return kNaN;
  if (x < 0.0) return 0.0;
  return HalfCircleFunc(x, radius);
}

QVX_API double Cos2PulseFunc(double x, double width) noexcept { return CosPowerPulse(x, width, 2); }
QVX_API double Cos4PulseFunc(double x, double width) noexcept { return CosPowerPulse(x, width, 4); }
QVX_API double Cos8PulseFunc(double x, double width) noexcept { return CosPowerPulse(x, width, 8); }

// Hann window over [0, width]: 0.5 (1 - cos(2 pi x / width)).
QVX_API double HannFunc(double x, double width) noexcept {
  if (BadPair(x, width)) return kNaN;
  if (!(width > 0.0) || x < 0.0 || x > width) return 0.0;
  return 0.5 * (1.0 - std::cos(2.0 * kPi * x / width));
}

// 1 at the integer multiples of the period (within a relative 1e-9 of the
// period, so that sampled grids hit their spikes), 0 elsewhere.
QVX_API double CombSpikeFunc(double x, double period) noexcept {
  if (BadPair(x, period) || std::isinf(x)) return kNaN;
  if (!(period > 0.0) || std::isinf(period)) return x == 0.0 ? 1.0 : 0.0;
  double t = x / period;
  return std::fabs(t - std::round(t)) <= 1e-9 ? 1.0 : 0.0;
}

// Hermite smooth step 3t^2 - 2t^3 rising from 0 at -width/2 to 1 at width/2.
QVX_API double SmoothStepFunc(double x, double width) noexcept {
  if (BadPair(x, width)) return kNaN;
  if (!(width > 0.0)) return HeavisideFunc(x);
  double t = x / width + 0.5;
  if (t <= 0.0) return 0.0;
  if (t >= 1.0) return 1.0;
  return t * t * (3.0 - 2.0 * t);
}

// A square pulse of the given width whose two edges are smooth steps of
// width edge (so the plateau is flat for |x| <= (width - edge)/2).
QVX_API double SmoothSquareFunc(double x, double width, double edge) noexcept {
  if (BadPair(x, width) || std::isnan(edge)) return kNaN;
  if (!(width > 0.0)) return 0.0;
  double half = 0.5 * width;
  return SmoothStepFunc(x + half, edge) * SmoothStepFunc(half - x, edge);
}

QVX_API double SmoothSquareFunc2D(double x, double y, double widthX, double widthY,
                                  double edge) noexcept {
  return SmoothSquareFunc(x, widthX, edge) * SmoothSquareFunc(y, widthY, edge);
}

QVX_API Complex SmoothSquareFuncC(double x, double width, double edge) noexcept {
  return Complex{SmoothSquareFunc(x, width, edge), 0.0};
}

}  // extern "C"
