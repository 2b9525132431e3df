// Natural-number kernels on 64-bit limbs: addition, shifts, multiplication,
// division and decimal conversion.
//
// Products are exact, so the method is free: schoolbook two rows at a time
// on 128-bit partial products below kKaratsubaLimbs, Karatsuba above, then
// Toom-Cook 3-way; squares take their own, cheaper, versions of all three;
// unbalanced operands are cut into balanced blocks. One scratch buffer per
// top-level product serves the whole recursion. Division is Knuth's algorithm D for short
// quotients or divisors and, above that, a Newton reciprocal with precision
// doubling whose approximate quotient is corrected to the exact one.
// Decimal conversion divides and conquers over powers 10^(19 * 2^k), which
// makes it subquadratic.
#include "bignum/natural.h"

#include <algorithm>
#include <cstring>

#include "common/boundary.h"

namespace qvx::bn {
namespace {

using u128 = unsigned __int128;

// Switch-over points measured on x86-64; results do not depend on them.
constexpr std::size_t kKaratsubaLimbs = 40;
constexpr std::size_t kNewtonDivLimbs = 120;
constexpr Limb kTen19 = 10000000000000000000ULL;

Limb AddN(Limb *r, const Limb *a, const Limb *b, std::size_t n) {
  Limb c = 0;
  for (std::size_t i = 0; i < n; ++i) {
    Limb s = a[i] + c;
    c = s < c;
    Limb t = s + b[i];
    c += t < s;
    r[i] = t;
  }
  return c;
}

Limb SubN(Limb *r, const Limb *a, const Limb *b, std::size_t n) {
  Limb br = 0;
  for (std::size_t i = 0; i < n; ++i) {
    Limb ai = a[i], bi = b[i];
    Limb d = ai - bi;
    Limb b1 = ai < bi;
    Limb d2 = d - br;
    b1 += d < br;
    r[i] = d2;
    br = b1;
  }
  return br;
}

// r[0..n) += carry, propagating; returns the carry out.
Limb AddCarry(Limb *r, std::size_t n, Limb c) {
  for (std::size_t i = 0; i < n && c; ++i) {
    r[i] += c;
    c = r[i] < c;
  }
  return c;
}
Limb SubBorrow(Limb *r, std::size_t n, Limb b) {
  for (std::size_t i = 0; i < n && b; ++i) {
    Limb old = r[i];
    r[i] = old - b;
    b = old < b;
  }
  return b;
}

// r[0..n) += a[0..n) * m; returns the high limb.
Limb AddMul1(Limb *r, const Limb *a, std::size_t n, Limb m) {
  Limb c = 0;
  for (std::size_t i = 0; i < n; ++i) {
    u128 p = static_cast<u128>(a[i]) * m + r[i] + c;
    r[i] = static_cast<Limb>(p);
    c = static_cast<Limb>(p >> 64);
  }
  return c;
}

// r[0..n+1] += a[0..n) * (m0 + m1 2^64) where r[n] and r[n + 1] are zero
// on entry: two rows of the schoolbook product in one pass over r, which
// halves the loads and stores of r and shares the carry chain.
void AddMul2(Limb *r, const Limb *a, std::size_t n, Limb m0, Limb m1) {
  Limb c0 = 0, c1 = 0;  // pending limbs for positions i and i + 1
  for (std::size_t i = 0; i < n; ++i) {
    u128 t = static_cast<u128>(a[i]) * m0 + r[i] + c0;
    r[i] = static_cast<Limb>(t);
    u128 u = static_cast<u128>(a[i]) * m1 + static_cast<Limb>(t >> 64) + c1;
    c0 = static_cast<Limb>(u);
    c1 = static_cast<Limb>(u >> 64);
  }
  r[n] = c0;
  r[n + 1] = c1;
}

void MulBase(Limb *r, const Limb *a, std::size_t an, const Limb *b, std::size_t bn) {
  std::memset(r, 0, (an + bn) * sizeof(Limb));
  std::size_t j = 0;
  for (; j + 1 < bn; j += 2) AddMul2(r + j, a, an, b[j], b[j + 1]);
  if (j < bn) r[an + j] = AddMul1(r + j, a, an, b[j]);
}

std::size_t Trimmed(const Limb *a, std::size_t n) {
  while (n && a[n - 1] == 0) --n;
  return n;
}

// r[0..2n) = a[0..n)^2 by rows: the products a_i a_j with i < j once,
// doubled by a one-bit shift, plus the diagonal squares.
void SqrBase(Limb *r, const Limb *a, std::size_t n) {
  std::memset(r, 0, 2 * n * sizeof(Limb));
  for (std::size_t i = 0; i + 1 < n; ++i) r[n + i] = AddMul1(r + 2 * i + 1, a + i + 1, n - i - 1, a[i]);
  Limb top = 0;
  for (std::size_t i = 0; i < 2 * n; ++i) {
    Limb w = r[i];
    r[i] = (w << 1) | top;
    top = w >> 63;
  }
  Limb c = 0;
  for (std::size_t i = 0; i < n; ++i) {
    u128 sq = static_cast<u128>(a[i]) * a[i];
    u128 lo = static_cast<u128>(r[2 * i]) + static_cast<Limb>(sq) + c;
    r[2 * i] = static_cast<Limb>(lo);
    u128 hi = static_cast<u128>(r[2 * i + 1]) + static_cast<Limb>(sq >> 64) + static_cast<Limb>(lo >> 64);
    r[2 * i + 1] = static_cast<Limb>(hi);
    c = static_cast<Limb>(hi >> 64);
  }
}

int CmpN(const Limb *a, const Limb *b, std::size_t n) {
  for (std::size_t i = n; i-- > 0;)
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  return 0;
}

// r[0..n) = |a[0..n) - b[0..n)|; returns true when a < b.
bool AbsDiff(Limb *r, const Limb *a, const Limb *b, std::size_t n) {
  if (CmpN(a, b, n) < 0) {
    SubN(r, b, a, n);
    return true;
  }
  SubN(r, a, b, n);
  return false;
}

// r[0..rn) += a[0..an), an <= rn, carry propagated; the sum must fit.
void AddInto(Limb *r, std::size_t rn, const Limb *a, std::size_t an) {
  an = std::min(Trimmed(a, an), rn);
  Limb c = AddN(r, r, a, an);
  AddCarry(r + an, rn - an, c);
}

// Exact division by 3 (Hensel): q 3 = a with no remainder, lowest limb first.
void DivExact3(Limb *r, const Limb *a, std::size_t n) {
  constexpr Limb kInv3 = 0xAAAAAAAAAAAAAAABULL;  // 3 kInv3 = 1 mod 2^64
  Limb c = 0;
  for (std::size_t i = 0; i < n; ++i) {
    Limb x = a[i];
    Limb s = x - c;
    Limb b = x < c;
    Limb q = s * kInv3;
    r[i] = q;
    c = static_cast<Limb>((static_cast<u128>(q) * 3) >> 64) + b;
  }
}

void Shr1(Limb *r, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) r[i] = (r[i] >> 1) | (i + 1 < n ? r[i + 1] << 63 : 0);
}

// Balanced products into r[0..2n). ws is scratch of at least Scratch(n)
// limbs, r must not overlap a, b or ws. Squares (b == nullptr) take the
// same recursions with squarings in place of products.
constexpr std::size_t kSqrKaratsubaLimbs = 56;
constexpr std::size_t kToom3Limbs = 150;
constexpr std::size_t kSqrToom3Limbs = 180;

std::size_t Scratch(std::size_t n) {
  if (n < kKaratsubaLimbs) return 0;
  std::size_t k = (n + 2) / 3;  // Toom-3 piece; needs the most
  std::size_t lo = (n + 1) / 2;
  return std::max(6 * lo + 4 + Scratch(lo), 12 * (k + 1) + Scratch(k + 1));
}

void MulN(Limb *r, const Limb *a, const Limb *b, std::size_t n, Limb *ws, const unsigned char *abort);

// Karatsuba in the subtractive form: a b = z2 X^2 + (z0 + z2 - (a0 - a1)(b0 - b1)) X + z0
// with X = 2^(64 lo) and lo = ceil(n / 2) >= hi, the high part's length.
void Karatsuba(Limb *r, const Limb *a, const Limb *b, std::size_t n, Limb *ws, const unsigned char *abort) {
  const bool sqr = b == nullptr;
  const std::size_t lo = (n + 1) / 2, hi = n - lo;
  Limb *da = ws, *db = ws + lo, *zm = ws + 2 * lo, *t = ws + 4 * lo, *next = ws + 4 * lo;
  // |a0 - a1| with a1 padded to lo limbs
  auto diff = [&](Limb *d, const Limb *x) {
    d[lo - 1] = 0;
    std::copy(x + lo, x + n, d);  // a1 into d, then compare against a0
    if (hi < lo) d[hi] = 0;
    return AbsDiff(d, x, d, lo);
  };
  bool neg = diff(da, a);
  if (!sqr) neg ^= diff(db, b);
  MulN(zm, da, sqr ? nullptr : db, lo, next, abort);
  MulN(r, a, sqr ? nullptr : b, lo, next, abort);
  MulN(r + 2 * lo, a + lo, sqr ? nullptr : b + lo, hi, next, abort);
  // t = z0 + z2 -/+ zm, 2 lo + 1 limbs, then r += t X
  std::copy(r, r + 2 * lo, t);
  t[2 * lo] = 0;
  Limb c = AddN(t, t, r + 2 * lo, 2 * hi);
  t[2 * lo] = AddCarry(t + 2 * hi, 2 * lo - 2 * hi, c) + t[2 * lo];
  if (sqr || !neg) {
    t[2 * lo] -= SubN(t, t, zm, 2 * lo);
  } else {
    t[2 * lo] += AddN(t, t, zm, 2 * lo);
  }
  AddInto(r + lo, 2 * n - lo, t, 2 * lo + 1);
}

// Toom-Cook 3-way with evaluation at 0, 1, -1, 2 and infinity and Bodrato's
// interpolation sequence; pieces of k = ceil(n / 3) limbs, the top one s <= k.
void Toom3(Limb *r, const Limb *a, const Limb *b, std::size_t n, Limb *ws, const unsigned char *abort) {
  const bool sqr = b == nullptr;
  const std::size_t k = (n + 2) / 3, s = n - 2 * k, m = k + 1, pn = 2 * m;
  Limb *ea1 = ws, *eb1 = ws + m, *eam = ws + 2 * m, *ebm = ws + 3 * m, *ea2 = ws + 4 * m, *eb2 = ws + 5 * m;
  Limb *v1 = ws + 6 * m, *vm = v1 + pn, *v2 = vm + pn;  // 6 m more limbs
  Limb *next = v2 + pn;
  // Evaluations of x = x0 + x1 X + x2 X^2, each in m limbs: at 1, |at -1| and at 2.
  auto eval = [&](const Limb *x, Limb *e1, Limb *em, Limb *e2) {
    const Limb *x0 = x, *x1 = x + k, *x2 = x + 2 * k;
    // e2 temporarily holds x0 + x2
    std::copy(x0, x0 + k, e2);
    e2[k] = AddCarry(e2 + s, k - s, AddN(e2, e2, x2, s));
    std::copy(e2, e2 + m, e1);
    e1[k] += AddN(e1, e1, x1, k);
    bool negative;
    if (e2[k] == 0 && CmpN(e2, x1, k) < 0) {
      SubN(em, x1, e2, k);
      em[k] = 0;
      negative = true;
    } else {
      em[k] = e2[k] - SubN(em, e2, x1, k);
      negative = false;
    }
    // e2 = x0 + 2 x1 + 4 x2 = x0 + 2 (x1 + 2 x2)
    Limb t = 0;
    for (std::size_t i = 0; i < k; ++i) {
      u128 v = static_cast<u128>(x1[i]) + (i < s ? static_cast<u128>(x2[i]) << 1 : 0) + t;
      e2[i] = static_cast<Limb>(v);
      t = static_cast<Limb>(v >> 64);
    }
    e2[k] = t;
    Limb hiBit = 0;
    for (std::size_t i = 0; i < m; ++i) {
      Limb w = e2[i];
      e2[i] = (w << 1) | hiBit;
      hiBit = w >> 63;
    }
    e2[k] += AddN(e2, e2, x0, k);
    return negative;
  };
  bool neg = eval(a, ea1, eam, ea2);
  if (sqr) neg = false;  // a square is never negative
  else neg ^= eval(b, eb1, ebm, eb2);
  MulN(v1, ea1, sqr ? nullptr : eb1, m, next, abort);
  MulN(vm, eam, sqr ? nullptr : ebm, m, next, abort);
  MulN(v2, ea2, sqr ? nullptr : eb2, m, next, abort);
  MulN(r, a, sqr ? nullptr : b, k, next, abort);                           // v0 in r[0, 2k)
  MulN(r + 4 * k, a + 2 * k, sqr ? nullptr : b + 2 * k, s, next, abort);  // vinf in r[4k, 4k + 2s)
  const Limb *v0 = r, *vinf = r + 4 * k;
  const std::size_t infn = 2 * s;
  // r3 = (v2 - vm1) / 3, r1 = (v1 - vm1) / 2 (vm1 carries the sign `neg`)
  if (neg) {
    AddN(v2, v2, vm, pn);
    AddN(vm, v1, vm, pn);
  } else {
    SubN(v2, v2, vm, pn);
    SubN(vm, v1, vm, pn);
  }
  DivExact3(v2, v2, pn);
  Shr1(vm, pn);  // vm = r1
  // r2 = v1 - v0
  SubBorrow(v1 + 2 * k, pn - 2 * k, SubN(v1, v1, v0, 2 * k));
  // r3 = (r3 - r2) / 2 - 2 vinf
  SubN(v2, v2, v1, pn);
  Shr1(v2, pn);
  for (int twice = 0; twice < 2; ++twice) SubBorrow(v2 + infn, pn - infn, SubN(v2, v2, vinf, infn));
  // r2 = r2 - r1 - vinf;  r1 = r1 - r3
  SubN(v1, v1, vm, pn);
  SubBorrow(v1 + infn, pn - infn, SubN(v1, v1, vinf, infn));
  SubN(vm, vm, v2, pn);
  // r = v0 + r1 X + r2 X^2 + r3 X^3 + vinf X^4; v0 and vinf are in place.
  std::fill(r + 2 * k, r + 4 * k, 0);
  AddInto(r + k, 2 * n - k, vm, pn);
  AddInto(r + 2 * k, 2 * n - 2 * k, v1, pn);
  AddInto(r + 3 * k, 2 * n - 3 * k, v2, pn);
}

void MulN(Limb *r, const Limb *a, const Limb *b, std::size_t n, Limb *ws, const unsigned char *abort) {
  const bool sqr = b == nullptr;
  if (n < (sqr ? kSqrKaratsubaLimbs : kKaratsubaLimbs)) {
    if (sqr) SqrBase(r, a, n);
    else MulBase(r, a, n, b, n);
    return;
  }
  if (Aborted(abort)) {
    std::memset(r, 0, 2 * n * sizeof(Limb));
    return;
  }
  if (n >= (sqr ? kSqrToom3Limbs : kToom3Limbs)) {
    Toom3(r, a, b, n, ws, abort);
  } else {
    Karatsuba(r, a, b, n, ws, abort);
  }
}

}  // namespace

void MulLimbs(Limb *r, const Limb *a, std::size_t an, const Limb *b, std::size_t bn,
              const unsigned char *abort) {
  if (an < bn) {
    std::swap(a, b);
    std::swap(an, bn);
  }
  if (bn == 0) {
    std::memset(r, 0, an * sizeof(Limb));
    return;
  }
  if (a == b && an == bn) {
    if (an < kSqrKaratsubaLimbs) {
      SqrBase(r, a, an);
      return;
    }
    std::vector<Limb> ws(Scratch(an));
    MulN(r, a, nullptr, an, ws.data(), abort);
    return;
  }
  if (bn < kKaratsubaLimbs) {
    MulBase(r, a, an, b, bn);
    return;
  }
  std::vector<Limb> ws(Scratch(bn));
  if (an == bn) {
    MulN(r, a, b, an, ws.data(), abort);
    return;
  }
  // Unbalanced: blocks of bn limbs of a, each a balanced product; a short
  // last block recurses with its operands swapped.
  std::memset(r, 0, (an + bn) * sizeof(Limb));
  std::vector<Limb> t(2 * bn);
  for (std::size_t off = 0; off < an; off += bn) {
    if (Aborted(abort)) return;
    std::size_t len = std::min(bn, an - off);
    if (len == bn) {
      MulN(t.data(), a + off, b, bn, ws.data(), abort);
    } else {
      MulLimbs(t.data(), b, bn, a + off, len, abort);
    }
    std::size_t tn = len + bn;
    Limb c = AddN(r + off, r + off, t.data(), tn);
    AddCarry(r + off + tn, an + bn - off - tn, c);
  }
}

uint64_t BitLength(const Nat &a) {
  if (a.empty()) return 0;
  return 64 * (a.size() - 1) + (64 - __builtin_clzll(a.back()));
}

int Compare(const Nat &a, const Nat &b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  for (std::size_t i = a.size(); i-- > 0;) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return 0;
}

Nat FromU64(uint64_t x) { return x ? Nat{x} : Nat{}; }

Nat PowerOfTwo(uint64_t n) {
  Nat r(n / 64 + 1, 0);
  r.back() = Limb{1} << (n % 64);
  return r;
}

Nat Add(const Nat &a, const Nat &b) {
  const Nat &x = a.size() >= b.size() ? a : b;
  const Nat &y = a.size() >= b.size() ? b : a;
  Nat r(x.size() + 1);
  Limb c = AddN(r.data(), x.data(), y.data(), y.size());
  std::copy(x.begin() + y.size(), x.end(), r.begin() + y.size());
  r[x.size()] = AddCarry(r.data() + y.size(), x.size() - y.size(), c);
  Trim(r);
  return r;
}

void AddInPlace(Nat &a, const Nat &b) {
  if (a.size() < b.size()) a.resize(b.size(), 0);
  a.push_back(0);
  Limb c = AddN(a.data(), a.data(), b.data(), b.size());
  AddCarry(a.data() + b.size(), a.size() - b.size(), c);
  Trim(a);
}

Nat Sub(const Nat &a, const Nat &b) {
  Nat r(a);
  SubInPlace(r, b);
  return r;
}

void SubInPlace(Nat &a, const Nat &b) {
  if (b.size() > a.size()) {  // caller broke the contract; clamp to zero
    a.clear();
    return;
  }
  Limb br = SubN(a.data(), a.data(), b.data(), b.size());
  br = SubBorrow(a.data() + b.size(), a.size() - b.size(), br);
  if (br) a.clear();
  Trim(a);
}

Nat ShiftLeft(const Nat &a, uint64_t n) {
  if (a.empty()) return {};
  std::size_t w = n / 64;
  unsigned s = n % 64;
  Nat r(a.size() + w + 1, 0);
  if (s == 0) {
    std::copy(a.begin(), a.end(), r.begin() + w);
  } else {
    Limb carry = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
      r[i + w] = (a[i] << s) | carry;
      carry = a[i] >> (64 - s);
    }
    r[a.size() + w] = carry;
  }
  Trim(r);
  return r;
}

Nat ShiftRight(const Nat &a, uint64_t n) {
  std::size_t w = n / 64;
  if (w >= a.size()) return {};
  unsigned s = n % 64;
  Nat r(a.size() - w);
  if (s == 0) {
    std::copy(a.begin() + w, a.end(), r.begin());
  } else {
    for (std::size_t i = 0; i < r.size(); ++i) {
      Limb lo = a[i + w] >> s;
      Limb hi = (i + w + 1 < a.size()) ? a[i + w + 1] << (64 - s) : 0;
      r[i] = lo | hi;
    }
  }
  Trim(r);
  return r;
}

Nat LowBits(const Nat &a, uint64_t n) {
  std::size_t w = n / 64;
  if (w >= a.size()) return a;
  Nat r(a.begin(), a.begin() + w + 1);
  r[w] &= (n % 64) ? ((Limb{1} << (n % 64)) - 1) : 0;
  Trim(r);
  return r;
}

bool TestBit(const Nat &a, uint64_t i) {
  return i / 64 < a.size() && ((a[i / 64] >> (i % 64)) & 1);
}

Nat MulSmall(const Nat &a, Limb m) {
  Nat r(a);
  MulSmallAddInPlace(r, m, 0);
  return r;
}

void MulSmallAddInPlace(Nat &a, Limb m, Limb add) {
  Limb c = add;
  for (Limb &x : a) {
    u128 p = static_cast<u128>(x) * m + c;
    x = static_cast<Limb>(p);
    c = static_cast<Limb>(p >> 64);
  }
  if (c) a.push_back(c);
  Trim(a);
}

Limb DivSmallInPlace(Nat &a, Limb d) {
  u128 rem = 0;
  for (std::size_t i = a.size(); i-- > 0;) {
    u128 cur = (rem << 64) | a[i];
    a[i] = static_cast<Limb>(cur / d);
    rem = cur % d;
  }
  Trim(a);
  return static_cast<Limb>(rem);
}

Nat Mul(const Nat &a, const Nat &b, const unsigned char *abort) {
  if (a.empty() || b.empty()) return {};
  Nat r(a.size() + b.size());
  MulLimbs(r.data(), a.data(), a.size(), b.data(), b.size(), abort);
  Trim(r);
  return r;
}

Nat Square(const Nat &a, const unsigned char *abort) {
  if (a.empty()) return {};
  Nat r(2 * a.size());
  MulLimbs(r.data(), a.data(), a.size(), a.data(), a.size(), abort);
  Trim(r);
  return r;
}

namespace {

// Knuth, The Art of Computer Programming vol. 2, 4.3.1, algorithm D.
void DivKnuth(const Nat &a, const Nat &b, Nat *q, Nat *r, const unsigned char *abort) {
  const std::size_t n = b.size(), m = a.size() - n;
  unsigned s = __builtin_clzll(b.back());
  Nat v = ShiftLeft(b, s);
  Nat u = ShiftLeft(a, s);
  u.resize(a.size() + 1, 0);
  Nat qq(m + 1, 0);
  const Limb vt = v[n - 1], vs = n > 1 ? v[n - 2] : 0;
  for (std::size_t j = m + 1; j-- > 0;) {
    if ((j & 63) == 0 && Aborted(abort)) break;
    u128 num = (static_cast<u128>(u[j + n]) << 64) | u[j + n - 1];
    u128 qhat = num / vt, rhat = num % vt;
    const u128 base = static_cast<u128>(1) << 64;
    while (qhat >= base ||
           (n > 1 && qhat * vs > ((rhat << 64) | u[j + n - 2]))) {
      --qhat;
      rhat += vt;
      if (rhat >= base) break;
    }
    // u[j..j+n] -= qhat * v
    Limb qh = static_cast<Limb>(qhat);
    Limb borrow = 0, carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
      u128 p = static_cast<u128>(qh) * v[i] + carry;
      carry = static_cast<Limb>(p >> 64);
      Limb pl = static_cast<Limb>(p);
      Limb t = u[i + j] - pl;
      Limb b1 = u[i + j] < pl;
      Limb t2 = t - borrow;
      b1 += t < borrow;
      u[i + j] = t2;
      borrow = b1;
    }
    Limb top = u[j + n];
    Limb t = top - carry;
    Limb b1 = top < carry;
    Limb t2 = t - borrow;
    b1 += t < borrow;
    u[j + n] = t2;
    if (b1) {  // qhat was one too large
      --qh;
      Limb c = AddN(u.data() + j, u.data() + j, v.data(), n);
      u[j + n] += c;
    }
    qq[j] = qh;
  }
  if (q) {
    Trim(qq);
    *q = std::move(qq);
  }
  if (r) {
    u.resize(n);
    Trim(u);
    *r = ShiftRight(u, s);
  }
}

// v with v ~ 2^(k + m) / b, m the bit length of b, to within a few units;
// Newton's iteration for 1/b with the precision doubled at each level and
// only the top k + 64 bits of b used at precision k.
Nat Reciprocal(const Nat &b, uint64_t m, uint64_t k, const unsigned char *abort) {
  uint64_t s = m > k + 64 ? m - k - 64 : 0;
  Nat bt = ShiftRight(b, s);
  uint64_t mt = m - s;
  if (k <= 320) {
    Nat q;
    DivKnuth(PowerOfTwo(k + mt), bt, &q, nullptr, abort);
    return q;
  }
  if (Aborted(abort)) return {};
  uint64_t h = k / 2 + 32;
  Nat vh = Reciprocal(b, m, h, abort);  // ~ 2^(h + m) / b
  // V = vh * 2^(k-h); E = 2^(k + mt) - bt * V; V' = V + V * E / 2^(k + mt).
  Nat bv = ShiftLeft(Mul(bt, vh, abort), k - h);
  Nat one = PowerOfTwo(k + mt);
  Nat v = ShiftLeft(vh, k - h);
  if (Compare(bv, one) <= 0) {
    Nat e = Sub(one, bv);
    AddInPlace(v, ShiftRight(Mul(vh, e, abort), h + mt));
  } else {
    Nat e = Sub(bv, one);
    Nat corr = ShiftRight(Mul(vh, e, abort), h + mt);
    if (Compare(corr, v) < 0) SubInPlace(v, corr);
  }
  return v;
}

}  // namespace

void DivRem(const Nat &a, const Nat &b, Nat *q, Nat *r, const unsigned char *abort) {
  if (b.empty()) {  // callers test for zero; keep the contract safe
    if (q) q->clear();
    if (r) r->clear();
    return;
  }
  if (Compare(a, b) < 0) {
    if (q) q->clear();
    if (r) *r = a;
    return;
  }
  if (b.size() == 1) {
    Nat qq(a);
    Limb rem = DivSmallInPlace(qq, b[0]);
    if (r) *r = FromU64(rem);
    if (q) *q = std::move(qq);
    return;
  }
  const std::size_t qn = a.size() - b.size() + 1;
  if (b.size() < kNewtonDivLimbs || qn < kNewtonDivLimbs) {
    DivKnuth(a, b, q, r, abort);
    return;
  }
  const uint64_t n = BitLength(a), m = BitLength(b);
  const uint64_t k = n - m + 1 + 32;
  Nat v = Reciprocal(b, m, k, abort);
  Nat qq = ShiftRight(Mul(a, v, abort), k + m);
  if (Aborted(abort)) {
    if (q) q->clear();
    if (r) r->clear();
    return;
  }
  Nat qb = Mul(qq, b, abort);
  int fixes = 0;
  while (Compare(qb, a) > 0 && fixes < 8) {
    SubInPlace(qq, Nat{1});
    SubInPlace(qb, b);
    ++fixes;
  }
  Nat rr = Sub(a, qb);
  while (Compare(rr, b) >= 0 && fixes < 8) {
    SubInPlace(rr, b);
    AddInPlace(qq, Nat{1});
    ++fixes;
  }
  if (fixes >= 8 || Compare(qb, a) > 0) {  // approximation too coarse: exact fallback
    DivKnuth(a, b, q, r, abort);
    return;
  }
  if (q) *q = std::move(qq);
  if (r) *r = std::move(rr);
}

Nat Pow10(uint64_t n, const unsigned char *abort) {
  Nat r{1};
  Nat base{10};
  // left-to-right binary powering
  int top = 63;
  while (top >= 0 && !((n >> top) & 1)) --top;
  if (top < 0) return r;
  for (int i = top; i >= 0; --i) {
    if (Aborted(abort)) return {};
    r = Square(r, abort);
    if ((n >> i) & 1) r = MulSmall(r, 10);
  }
  return r;
}

namespace {

// powers[k] = 10^(19 * 2^k)
void EnsurePowers(std::vector<Nat> &powers, std::size_t k, const unsigned char *abort) {
  if (powers.empty()) powers.push_back(Nat{kTen19});
  while (powers.size() <= k) powers.push_back(Square(powers.back(), abort));
}

void AppendChunk(std::string &out, Limb x, int width) {
  char buf[24];
  for (int i = width - 1; i >= 0; --i) {
    buf[i] = static_cast<char>('0' + x % 10);
    x /= 10;
  }
  out.append(buf, width);
}

// Writes exactly `digits` digits of a (a < 10^digits), with leading zeros.
void EmitDecimal(const Nat &a, std::size_t digits, std::vector<Nat> &powers,
                 std::string &out, const unsigned char *abort) {
  if (Aborted(abort)) {
    out.append(digits, '0');
    return;
  }
  if (a.size() <= 24 || digits <= 19 * 24) {
    std::vector<Limb> chunks;
    Nat t(a);
    while (!t.empty()) chunks.push_back(DivSmallInPlace(t, kTen19));
    std::size_t full = chunks.size() * 19;
    if (digits > full) {
      out.append(digits - full, '0');
      for (std::size_t i = chunks.size(); i-- > 0;) AppendChunk(out, chunks[i], 19);
    } else {
      // the top chunk may hold fewer digits than 19
      std::size_t topWidth = 19 - (full - digits);
      for (std::size_t i = chunks.size(); i-- > 0;)
        AppendChunk(out, chunks[i], i + 1 == chunks.size() ? static_cast<int>(topWidth) : 19);
    }
    return;
  }
  // largest k with 19 * 2^k < digits
  std::size_t k = 0;
  while (19 * (std::size_t{2} << k) < digits) ++k;
  EnsurePowers(powers, k, abort);
  std::size_t low = 19 * (std::size_t{1} << k);
  Nat hi, lo;
  DivRem(a, powers[k], &hi, &lo, abort);
  EmitDecimal(hi, digits - low, powers, out, abort);
  EmitDecimal(lo, low, powers, out, abort);
}

Nat ParseDecimal(const char *s, std::size_t n, std::vector<Nat> &powers,
                 const unsigned char *abort) {
  if (n <= 19 * 40) {
    Nat r;
    std::size_t first = n % 19 ? n % 19 : 19;
    std::size_t pos = 0;
    while (pos < n) {
      std::size_t len = pos == 0 ? first : 19;
      Limb chunk = 0, scale = 1;
      for (std::size_t i = 0; i < len; ++i) {
        chunk = chunk * 10 + static_cast<Limb>(s[pos + i] - '0');
        scale *= 10;
      }
      MulSmallAddInPlace(r, scale, chunk);
      if (r.empty() && chunk) r.push_back(chunk);
      pos += len;
    }
    return r;
  }
  if (Aborted(abort)) return {};
  std::size_t k = 0;
  while (19 * (std::size_t{2} << k) < n) ++k;
  EnsurePowers(powers, k, abort);
  std::size_t low = 19 * (std::size_t{1} << k);
  Nat hi = ParseDecimal(s, n - low, powers, abort);
  Nat lo = ParseDecimal(s + (n - low), low, powers, abort);
  Nat r = Mul(hi, powers[k], abort);
  AddInPlace(r, lo);
  return r;
}

}  // namespace

std::string ToDecimal(const Nat &a, const unsigned char *abort) {
  if (a.empty()) return "0";
  // digits <= floor(bits * log10(2)) + 1
  std::size_t digits = static_cast<std::size_t>(static_cast<double>(BitLength(a)) * 0.30102999566398120) + 2;
  std::vector<Nat> powers;
  std::string out;
  out.reserve(digits);
  EmitDecimal(a, digits, powers, out, abort);
  std::size_t nz = out.find_first_not_of('0');
  if (nz == std::string::npos) return "0";
  return out.substr(nz);
}

Nat FromDecimal(const char *digits, std::size_t n, const unsigned char *abort) {
  std::vector<Nat> powers;
  Nat r = ParseDecimal(digits, n, powers, abort);
  Trim(r);
  return r;
}

Nat FromBitArray(const BitArray *a) {
  if (!a || !a->data || a->bits == 0) return {};
  uint64_t words = (a->bits + 63) / 64;
  if (words > a->words) words = a->words;
  Nat r(a->data, a->data + words);
  if (words * 64 > a->bits && !r.empty()) {
    unsigned s = a->bits % 64;
    if (s) r.back() &= (Limb{1} << s) - 1;
  }
  Trim(r);
  return r;
}

BitArray *NewBitArray(uint64_t bits) {
  if (bits == 0) bits = 1;
  auto *a = static_cast<BitArray *>(std::malloc(sizeof(BitArray)));
  if (!a) return nullptr;
  uint64_t words = (bits + 63) / 64;
  a->data = static_cast<uint64_t *>(std::calloc(words, sizeof(uint64_t)));
  if (!a->data) {
    std::free(a);
    return nullptr;
  }
  a->bits = bits;
  a->words = words;
  return a;
}

BitArray *ToBitArray(const Nat &a, uint64_t minBits) {
  uint64_t bits = std::max<uint64_t>({BitLength(a), minBits, 1});
  BitArray *r = NewBitArray(bits);
  if (!r) return nullptr;
  std::copy(a.begin(), a.end(), r->data);
  return r;
}

}  // namespace qvx::bn
