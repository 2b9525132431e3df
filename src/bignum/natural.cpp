// Natural-number kernels on 64-bit limbs: addition, shifts, multiplication,
// division and decimal conversion.
//
// Products are exact, so the method is free: schoolbook on 128-bit partial
// products below kKaratsubaLimbs, Karatsuba above, and unbalanced operands
// cut into balanced blocks. Division is Knuth's algorithm D for short
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

void MulBase(Limb *r, const Limb *a, std::size_t an, const Limb *b, std::size_t bn) {
  std::memset(r, 0, (an + bn) * sizeof(Limb));
  for (std::size_t j = 0; j < bn; ++j) r[an + j] = AddMul1(r + j, a, an, b[j]);
}

std::size_t Trimmed(const Limb *a, std::size_t n) {
  while (n && a[n - 1] == 0) --n;
  return n;
}

// Balanced Karatsuba product of two n-limb operands into r[0..2n).
void MulKaratsuba(Limb *r, const Limb *a, const Limb *b, std::size_t n,
                  const unsigned char *abort) {
  if (n < kKaratsubaLimbs) {
    MulBase(r, a, n, b, n);
    return;
  }
  if (Aborted(abort)) {
    std::memset(r, 0, 2 * n * sizeof(Limb));
    return;
  }
  const std::size_t h = n / 2, hh = n - h;  // low h limbs, high hh >= h
  std::vector<Limb> sa(hh + 1), sb(hh + 1), z1(2 * hh + 2);
  // z0 = a0 b0 in r[0..2h), z2 = a1 b1 in r[2h..2n)
  MulKaratsuba(r, a, b, h, abort);
  MulKaratsuba(r + 2 * h, a + h, b + h, hh, abort);
  // sa = a1 + a0, sb = b1 + b0, each hh + 1 limbs
  {
    std::copy(a + h, a + n, sa.begin());
    Limb c = AddN(sa.data(), sa.data(), a, h);
    c = AddCarry(sa.data() + h, hh - h, c);
    sa[hh] = c;
    std::copy(b + h, b + n, sb.begin());
    c = AddN(sb.data(), sb.data(), b, h);
    c = AddCarry(sb.data() + h, hh - h, c);
    sb[hh] = c;
  }
  std::size_t sn = hh + ((sa[hh] | sb[hh]) ? 1 : 0);
  if (sn == hh) {
    MulKaratsuba(z1.data(), sa.data(), sb.data(), hh, abort);
  } else {
    MulLimbs(z1.data(), sa.data(), sn, sb.data(), sn, abort);
  }
  // z1 -= z0 + z2
  SubBorrow(z1.data() + 2 * h, 2 * hh + 2 - 2 * h, SubN(z1.data(), z1.data(), r, 2 * h));
  SubBorrow(z1.data() + 2 * hh, 2, SubN(z1.data(), z1.data(), r + 2 * h, 2 * hh));
  // r += z1 << (64 h); z1 fits in 2hh + 1 limbs.
  std::size_t zn = Trimmed(z1.data(), 2 * hh + 2);
  std::size_t room = 2 * n - h;
  zn = std::min(zn, room);
  Limb c = AddN(r + h, r + h, z1.data(), zn);
  AddCarry(r + h + zn, room - zn, c);
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
  if (bn < kKaratsubaLimbs) {
    MulBase(r, a, an, b, bn);
    return;
  }
  if (an == bn) {
    MulKaratsuba(r, a, b, an, abort);
    return;
  }
  // Unbalanced: blocks of bn limbs of a, each a balanced product.
  std::memset(r, 0, (an + bn) * sizeof(Limb));
  std::vector<Limb> t(2 * bn);
  for (std::size_t off = 0; off < an; off += bn) {
    if (Aborted(abort)) return;
    std::size_t len = std::min(bn, an - off);
    if (len == bn) {
      MulKaratsuba(t.data(), a + off, b, bn, abort);
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

Nat Square(const Nat &a, const unsigned char *abort) { return Mul(a, a, abort); }

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
