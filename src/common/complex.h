// Complex products and quotients on the library's Complex pair.
//
// Two products exist and they round differently: MulFour is the textbook
// four-multiplication product, MulThree computes the imaginary part with
// one multiplication less ((c + d)(a + b) - ca - db). Each caller keeps the
// one its results were defined with; swapping them changes last bits.
// Products and quotients are written out exactly as the compiler must
// evaluate them (the build forbids fused multiply-add contraction).
#pragma once

#include <cmath>

#include "libquorvex.h"

namespace qvx {

// (a.re + i a.im)(b.re + i b.im) with four multiplications.
inline Complex MulFour(Complex a, Complex b) {
  return Complex{a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

// The same product with three multiplications; the product of MulC.
inline Complex MulThree(Complex x, Complex y) {
  const double a = x.re, b = x.im, c = y.re, d = y.im;
  const double ca = c * a, db = d * b;
  return Complex{ca - db, (d + c) * (b + a) - ca - db};
}

// a / b by Smith's algorithm, which divides through by the larger part of
// b so that |b|^2 never overflows. A zero b gives the IEEE quotients of
// the parts by b.re (infinities or NaN).
inline Complex DivSmith(Complex a, Complex b) {
  if (std::fabs(b.re) >= std::fabs(b.im)) {
    if (b.re == 0.0) return Complex{a.re / b.re, a.im / b.re};
    const double r = b.im / b.re, d = b.re + b.im * r;
    return Complex{(a.re + a.im * r) / d, (a.im - a.re * r) / d};
  }
  const double r = b.re / b.im, d = b.im + b.re * r;
  return Complex{(a.re * r + a.im) / d, (a.im * r - a.re) / d};
}

}  // namespace qvx
