// Vector utilities: editing of vectors (extend, append, join, insert,
// remove, reverse, shift, reorder), searches and counts, set operations,
// text-vector editing, and the small scalar helpers of the same family
// (complex parts, swaps, intervals, colours, clock texts).
//
// Read first: every function that returns a container returns a new one and
// leaves its arguments alone. Numeric positions are 1-based, as the data of
// a numeric vector; positions in text vectors and texts are 0-based, as
// those containers are. Set operations treat a vector as a set of values:
// their results ascend, hold each value once and leave NaN out.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "numerics/utilities/vectorutils.h"

namespace {

using namespace qvx::vu;

// ---- generic vector edits --------------------------------------------------

// First n elements of v, then zeros.
template <class T>
T *ExtendT(const T *v, int32_t n) {
  int32_t len = Len(v);
  T *out = NewVec<T>(n);
  if (!out) return out;
  int32_t m = Len(out);
  for (int32_t i = 1; i <= m; ++i) out[i] = i <= len ? v[i] : T{};
  return out;
}

// `insert` placed before position pos of v (clamped to 1..n+1).
template <class T>
T *InsertT(const T *v, const std::vector<T> &insert, int32_t pos) {
  return GuardVec<T>([&] {
    std::vector<T> x = ToStd(v);
    int32_t n = static_cast<int32_t>(x.size());
    pos = std::clamp(pos, 1, n + 1);
    x.insert(x.begin() + (pos - 1), insert.begin(), insert.end());
    return FromStd(x);
  });
}

template <class T>
T *JoinT(const T *a, const T *b) {
  return InsertT(a, ToStd(b), Len(a) + 1);
}

// Keeps the elements for which keep(value, position) holds.
template <class T, class Keep>
T *FilterT(const T *v, Keep keep) {
  return GuardVec<T>([&] {
    std::vector<T> x;
    int32_t n = Len(v);
    x.reserve(static_cast<std::size_t>(n));
    for (int32_t i = 1; i <= n; ++i)
      if (keep(v[i], i)) x.push_back(v[i]);
    return FromStd(x);
  });
}

template <class T>
T *RemoveValueT(const T *v, T value) {
  return FilterT(v, [&](const T &x, int32_t) { return !Matches(x, value); });
}

template <class T>
T *RemoveValuesT(const T *v, const T *values) {
  std::vector<T> w = ToStd(values);
  return FilterT(v, [&](const T &x, int32_t) {
    return std::none_of(w.begin(), w.end(), [&](const T &y) { return Matches(x, y); });
  });
}

// Positions outside 1..n are ignored; a position listed twice goes once.
template <class T>
T *RemovePositionsT(const T *v, const int32_t *positions) {
  return GuardVec<T>([&] {
    int32_t n = Len(v);
    std::vector<char> drop(static_cast<std::size_t>(n) + 1, 0);
    for (int32_t k = 1, m = Len(positions); k <= m; ++k)
      if (positions[k] >= 1 && positions[k] <= n) drop[static_cast<std::size_t>(positions[k])] = 1;
    return FilterT(v, [&](const T &, int32_t i) { return !drop[static_cast<std::size_t>(i)]; });
  });
}

template <class T>
T *RemovePositionT(const T *v, int32_t pos) {
  return FilterT(v, [&](const T &, int32_t i) { return i != pos; });
}

// First occurrence of each value, in the order of v.
template <class T>
T *RemoveDuplicatesT(const T *v) {
  return GuardVec<T>([&] {
    int32_t n = Len(v);
    std::vector<std::pair<T, int32_t>> keyed;
    keyed.reserve(static_cast<std::size_t>(n));
    for (int32_t i = 1; i <= n; ++i) keyed.emplace_back(v[i], i);
    // Sort by value, then position, and mark every element that equals the
    // one before it: O(n log n) instead of comparing all pairs.
    std::sort(keyed.begin(), keyed.end(), [](const auto &a, const auto &b) {
      if (Less(a.first, b.first)) return true;
      if (Less(b.first, a.first)) return false;
      return a.second < b.second;
    });
    std::vector<char> drop(static_cast<std::size_t>(n) + 1, 0);
    for (std::size_t k = 1; k < keyed.size(); ++k)
      if (Matches(keyed[k].first, keyed[k - 1].first)) drop[static_cast<std::size_t>(keyed[k].second)] = 1;
    return FilterT(v, [&](const T &, int32_t i) { return !drop[static_cast<std::size_t>(i)]; });
  });
}

template <class T>
T *ReverseT(const T *v) {
  T *out = CopyVec(v);
  int32_t n = Len(out);
  if (n > 1) std::reverse(out + 1, out + 1 + n);
  return out;
}

// Circular shift: element i moves to position i + k (modulo n).
template <class T>
T *ShiftT(const T *v, int32_t k) {
  T *out = CopyVec(v);
  int32_t n = Len(out);
  if (n < 2) return out;
  int64_t s = ((static_cast<int64_t>(k) % n) + n) % n;
  for (int32_t i = 1; i <= n; ++i) out[(i - 1 + s) % n + 1] = v[i];
  return out;
}

template <class T>
int32_t PosT(const T *v, const T &x) {
  for (int32_t i = 1, n = Len(v); i <= n; ++i)
    if (Matches(v[i], x)) return i;
  return 0;
}

template <class T>
int32_t CountT(const T *v, const T &x) {
  int32_t count = 0;
  for (int32_t i = 1, n = Len(v); i <= n; ++i) count += Matches(v[i], x);
  return count;
}

// ---- sets of values ---------------------------------------------------------

std::vector<double> SortedSet(const double *v) {
  std::vector<double> x;
  for (int32_t i = 1, n = Len(v); i <= n; ++i)
    if (!std::isnan(v[i])) x.push_back(v[i]);
  std::sort(x.begin(), x.end());
  x.erase(std::unique(x.begin(), x.end()), x.end());
  return x;
}

enum class SetOp { kUnion, kIntersection, kDifference, kSymmetric };

double *SetOperation(const double *a, const double *b, SetOp op) {
  return GuardVec<double>([&] {
    std::vector<double> x = SortedSet(a), y = SortedSet(b), out;
    auto sink = std::back_inserter(out);
    switch (op) {
      case SetOp::kUnion: std::set_union(x.begin(), x.end(), y.begin(), y.end(), sink); break;
      case SetOp::kIntersection: std::set_intersection(x.begin(), x.end(), y.begin(), y.end(), sink); break;
      case SetOp::kDifference: std::set_difference(x.begin(), x.end(), y.begin(), y.end(), sink); break;
      case SetOp::kSymmetric: std::set_symmetric_difference(x.begin(), x.end(), y.begin(), y.end(), sink); break;
    }
    return FromStd(out);
  });
}

// ---- text vectors ---------------------------------------------------------

std::vector<const char *> Items(char **v) {
  std::vector<const char *> x;
  for (int32_t i = 0, n = StringVectorLength(v); i < n; ++i) x.push_back(v[i]);
  return x;
}

// A new StringVector of copies of the texts (StringVector(0) on failure).
// An empty text would end the vector where it stands, so none is stored.
char **MakeStrings(const std::vector<const char *> &items) {
  std::vector<const char *> x;
  for (const char *s : items)
    if (s && *s) x.push_back(s);
  int32_t n = static_cast<int32_t>(x.size());
  char **out = StringVectorNULL(n);
  if (!out) return StringVector(0);
  for (int32_t i = 0; i < n; ++i) {
    out[i] = qvx::DupText(x[static_cast<std::size_t>(i)]);
    if (!out[i]) {
      for (int32_t k = 0; k < i; ++k) qvx::WipeAndFree(out[k]);
      for (int32_t k = i + 1; k <= n; ++k) qvx::WipeAndFree(out[k]);
      std::free(out);
      return StringVector(0);
    }
  }
  return out;
}

char **GuardStrings(auto &&body) noexcept {
  try {
    return body();
  } catch (...) {
    return StringVector(0);
  }
}

// One part (re or im) of every element of a complex vector.
template <double Complex::*Part>
double *PartOf(const Complex *v) {
  double *out = NewVec<double>(Len(v));
  for (int32_t i = 1, n = Len(out); i <= n; ++i) out[i] = v[i].*Part;
  return out;
}

// ---- colours ------------------------------------------------------------------

int32_t Channel(double x) { return static_cast<int32_t>(std::lround(std::clamp(std::fmax(x, 0.0), 0.0, 255.0))); }

// Hexcone model (A. R. Smith, 1978): hue in degrees [0, 360), saturation
// and value in [0, 1]; red, green, blue in [0, 255].
void HsvFromRgb(double r, double g, double b, double *h, double *s, double *v) {
  r = std::clamp(std::fmax(r, 0.0), 0.0, 255.0) / 255.0;
  g = std::clamp(std::fmax(g, 0.0), 0.0, 255.0) / 255.0;
  b = std::clamp(std::fmax(b, 0.0), 0.0, 255.0) / 255.0;
  double mx = std::max({r, g, b}), mn = std::min({r, g, b}), d = mx - mn;
  *v = mx;
  *s = mx > 0.0 ? d / mx : 0.0;
  double hue = 0.0;
  if (d > 0.0) {
    if (mx == r) hue = std::fmod((g - b) / d, 6.0);
    else if (mx == g) hue = (b - r) / d + 2.0;
    else hue = (r - g) / d + 4.0;
    hue *= 60.0;
    if (hue < 0.0) hue += 360.0;
  }
  *h = hue;
}

void RgbFromHsv(double h, double s, double v, double *r, double *g, double *b) {
  if (!std::isfinite(h)) h = 0.0;
  h = std::fmod(h, 360.0);
  if (h < 0.0) h += 360.0;
  s = std::clamp(std::fmax(s, 0.0), 0.0, 1.0);
  v = std::clamp(std::fmax(v, 0.0), 0.0, 1.0);
  double c = v * s, hp = h / 60.0, x = c * (1.0 - std::fabs(std::fmod(hp, 2.0) - 1.0)), m = v - c;
  double rgb[3];
  switch (static_cast<int>(hp) % 6) {
    case 0: rgb[0] = c, rgb[1] = x, rgb[2] = 0; break;
    case 1: rgb[0] = x, rgb[1] = c, rgb[2] = 0; break;
    case 2: rgb[0] = 0, rgb[1] = c, rgb[2] = x; break;
    case 3: rgb[0] = 0, rgb[1] = x, rgb[2] = c; break;
    case 4: rgb[0] = x, rgb[1] = 0, rgb[2] = c; break;
    default: rgb[0] = c, rgb[1] = 0, rgb[2] = x; break;
  }
  *r = (rgb[0] + m) * 255.0;
  *g = (rgb[1] + m) * 255.0;
  *b = (rgb[2] + m) * 255.0;
}

}  // namespace

extern "C" {

// ---- scalars ------------------------------------------------------------------

QVX_API double Re(Complex z) noexcept { return z.re; }
QVX_API double Im(Complex z) noexcept { return z.im; }

QVX_API double *RealVC(const Complex *v) noexcept { return PartOf<&Complex::re>(v); }
QVX_API double *ImV(const Complex *v) noexcept { return PartOf<&Complex::im>(v); }

QVX_API void Swap(double *a, double *b) noexcept {
  if (a && b) std::swap(*a, *b);
}
QVX_API void SwapC(Complex *a, Complex *b) noexcept {
  if (a && b) std::swap(*a, *b);
}
QVX_API void SwapL(int32_t *a, int32_t *b) noexcept {
  if (a && b) std::swap(*a, *b);
}

QVX_API Complex NormalizeC(Complex z) noexcept {
  double r = AbsC(z.re, z.im);
  if (!(r > 0.0) || std::isinf(r)) return r > 0.0 ? Complex{NAN, NAN} : z;
  return Complex{z.re / r, z.im / r};
}

QVX_API double Wrap(double x, double low, double high) noexcept {
  double w = high - low;
  if (!(w > 0.0) || !std::isfinite(w) || !std::isfinite(x)) return NAN;
  double r = std::fmod(x - low, w);
  if (r < 0.0) r += w;
  if (r >= w) r = 0.0;  // r + w rounded up to w
  return low + r;
}

QVX_API double Distance(double x1, double y1, double x2, double y2) noexcept { return std::hypot(x2 - x1, y2 - y1); }

QVX_API int32_t InsideInterval(double x, double a, double b) noexcept {
  return std::fmin(a, b) <= x && x <= std::fmax(a, b) ? 1 : 0;
}

QVX_API double OverlapInterval(double a1, double b1, double a2, double b2) noexcept {
  if (std::isnan(a1) || std::isnan(b1) || std::isnan(a2) || std::isnan(b2)) return NAN;
  double lo = std::max(std::min(a1, b1), std::min(a2, b2));
  double hi = std::min(std::max(a1, b1), std::max(a2, b2));
  return hi > lo ? hi - lo : 0.0;
}

// floor(log10 |x|), corrected by one where log10 rounds across an integer.
QVX_API double OrderOfMagnitude10(double x) noexcept {
  double a = std::fabs(x);
  if (!std::isfinite(a)) return NAN;
  if (a == 0.0) return 0.0;
  double e = std::floor(std::log10(a));
  if (std::pow(10.0, e) > a) e -= 1.0;
  else if (std::pow(10.0, e + 1.0) <= a) e += 1.0;
  return e;
}

// The engineering exponent: a multiple of 3 at or below the order of magnitude.
QVX_API double OrderOfMagnitude1000(double x) noexcept {
  double e = OrderOfMagnitude10(x);
  return std::isnan(e) ? e : 3.0 * std::floor(e / 3.0);
}

// "hh:mm:ss" of a number of seconds rounded to the nearest second; a minus
// sign before a negative time; null for non-finite or absurd values.
QVX_API char *HMSTime(double seconds) noexcept {
  if (!std::isfinite(seconds) || std::fabs(seconds) > 1e15) return nullptr;
  long long t = std::llround(std::fabs(seconds));
  char text[48];
  std::snprintf(text, sizeof text, "%s%02lld:%02lld:%02lld", seconds < 0.0 && t > 0 ? "-" : "", t / 3600,
                t / 60 % 60, t % 60);
  return qvx::DupText(text);
}

// ---- colours ------------------------------------------------------------------

QVX_API int32_t RGBToint(int32_t r, int32_t g, int32_t b) noexcept {
  return Channel(r) << 16 | Channel(g) << 8 | Channel(b);
}
QVX_API double *IntToRGB(int32_t colour) noexcept {
  return Vector3(colour >> 16 & 255, colour >> 8 & 255, colour & 255);
}
QVX_API double *RGBToHSV(double r, double g, double b) noexcept {
  double h, s, v;
  HsvFromRgb(r, g, b, &h, &s, &v);
  return Vector3(h, s, v);
}
QVX_API double *HSVToRGB(double h, double s, double v) noexcept {
  double r, g, b;
  RgbFromHsv(h, s, v, &r, &g, &b);
  return Vector3(r, g, b);
}
QVX_API int32_t HSVToint(double h, double s, double v) noexcept {
  double r, g, b;
  RgbFromHsv(h, s, v, &r, &g, &b);
  return Channel(r) << 16 | Channel(g) << 8 | Channel(b);
}
QVX_API double *IntToHSV(int32_t colour) noexcept {
  double h, s, v;
  HsvFromRgb(colour >> 16 & 255, colour >> 8 & 255, colour & 255, &h, &s, &v);
  return Vector3(h, s, v);
}

// ---- extend, append, join -----------------------------------------------------

QVX_API double *ExtendVector(const double *v, int32_t n) noexcept { return ExtendT(v, n); }
QVX_API Complex *ExtendVectorC(const Complex *v, int32_t n) noexcept { return ExtendT(v, n); }
QVX_API float *ExtendVectorF(const float *v, int32_t n) noexcept { return ExtendT(v, n); }
QVX_API int32_t *ExtendVectorI(const int32_t *v, int32_t n) noexcept { return ExtendT(v, n); }
QVX_API int32_t *ExtendVectorL(const int32_t *v, int32_t n) noexcept { return ExtendT(v, n); }

QVX_API double *AugmentVector(const double *v, double x) noexcept { return InsertT(v, {x}, Len(v) + 1); }
QVX_API Complex *AugmentVectorC(const Complex *v, Complex z) noexcept { return InsertT(v, {z}, Len(v) + 1); }
QVX_API int32_t *AugmentVectorL(const int32_t *v, int32_t x) noexcept { return InsertT(v, {x}, Len(v) + 1); }

QVX_API double *JoinVector(const double *a, const double *b) noexcept { return JoinT(a, b); }
QVX_API int32_t *JoinVectorL(const int32_t *a, const int32_t *b) noexcept { return JoinT(a, b); }

QVX_API double *JoinVectorM(double **m) noexcept {
  return GuardVec<double>([&] {
    std::vector<double> x;
    for (int32_t j = 1, c = Cols(m), r = Rows(m); j <= c; ++j) x.insert(x.end(), m[j] + 1, m[j] + 1 + r);
    return FromStd(x);
  });
}

// ---- insert and remove ------------------------------------------------------

QVX_API double *InsertElement(const double *v, double x, int32_t pos) noexcept { return InsertT(v, {x}, pos); }
QVX_API Complex *InsertElementC(const Complex *v, Complex z, int32_t pos) noexcept { return InsertT(v, {z}, pos); }
QVX_API int32_t *InsertElementL(const int32_t *v, int32_t x, int32_t pos) noexcept { return InsertT(v, {x}, pos); }
QVX_API uint32_t *InsertElementUInt32(const uint32_t *v, uint32_t x, int32_t pos) noexcept {
  return InsertT(v, {x}, pos);
}

QVX_API char **InsertElementS(char **v, const char *text, int32_t pos) noexcept {
  return GuardStrings([&] {
    std::vector<const char *> x = Items(v);
    pos = std::clamp(pos, 0, static_cast<int32_t>(x.size()));
    x.insert(x.begin() + pos, text);
    return MakeStrings(x);
  });
}
QVX_API char **InsertElementSV(char **v, char **w, int32_t pos) noexcept {
  return GuardStrings([&] {
    std::vector<const char *> x = Items(v), y = Items(w);
    pos = std::clamp(pos, 0, static_cast<int32_t>(x.size()));
    x.insert(x.begin() + pos, y.begin(), y.end());
    return MakeStrings(x);
  });
}

QVX_API double *RemoveElement(const double *v, double x) noexcept { return RemoveValueT(v, x); }
QVX_API int32_t *RemoveElementL(const int32_t *v, int32_t x) noexcept { return RemoveValueT(v, x); }
QVX_API double *RemoveElements(const double *v, const double *values) noexcept { return RemoveValuesT(v, values); }
QVX_API int32_t *RemoveElementsL(const int32_t *v, const int32_t *values) noexcept {
  return RemoveValuesT(v, values);
}

QVX_API double *RemovePosition(const double *v, int32_t pos) noexcept { return RemovePositionT(v, pos); }
QVX_API int32_t *RemovePositionL(const int32_t *v, int32_t pos) noexcept { return RemovePositionT(v, pos); }
QVX_API uint32_t *RemovePositionUInt32(const uint32_t *v, int32_t pos) noexcept { return RemovePositionT(v, pos); }
QVX_API double *RemovePositions(const double *v, const int32_t *positions) noexcept {
  return RemovePositionsT(v, positions);
}
QVX_API Complex *RemovePositionsC(const Complex *v, const int32_t *positions) noexcept {
  return RemovePositionsT(v, positions);
}

QVX_API char **RemovePositionS(char **v, int32_t pos) noexcept {
  return GuardStrings([&] {
    std::vector<const char *> x = Items(v);
    if (pos >= 0 && pos < static_cast<int32_t>(x.size())) x.erase(x.begin() + pos);
    return MakeStrings(x);
  });
}
QVX_API char **RemovePositionsS(char **v, const int32_t *positions) noexcept {
  return GuardStrings([&] {
    std::vector<const char *> x = Items(v), out;
    std::vector<char> drop(x.size(), 0);
    for (int32_t k = 1, m = Len(positions); k <= m; ++k)
      if (positions[k] >= 0 && static_cast<std::size_t>(positions[k]) < x.size())
        drop[static_cast<std::size_t>(positions[k])] = 1;
    for (std::size_t i = 0; i < x.size(); ++i)
      if (!drop[i]) out.push_back(x[i]);
    return MakeStrings(out);
  });
}

// Text without its character at 0-based pos (a copy when pos is outside).
QVX_API char *RemovePositionCh(const char *text, int32_t pos) noexcept {
  if (!text) return nullptr;
  std::size_t n = std::strlen(text);
  char *out = qvx::DupText(text, n);
  if (out && pos >= 0 && static_cast<std::size_t>(pos) < n)
    std::memmove(out + pos, out + pos + 1, n - static_cast<std::size_t>(pos));
  return out;
}

QVX_API double *RemoveDuplicates(const double *v) noexcept { return RemoveDuplicatesT(v); }

// Linear pass for an ascending vector: drops each element equal to the one
// before it.
QVX_API double *RemoveDuplicatesSorted(const double *v) noexcept {
  return FilterT(v, [&](const double &x, int32_t i) { return i == 1 || !Matches(x, v[i - 1]); });
}

// ---- order ----------------------------------------------------------------

QVX_API double *ReverseV(const double *v) noexcept { return ReverseT(v); }
QVX_API Complex *ReverseVC(const Complex *v) noexcept { return ReverseT(v); }
QVX_API double *Shift(const double *v, int32_t k) noexcept { return ShiftT(v, k); }
QVX_API Complex *ShiftC(const Complex *v, int32_t k) noexcept { return ShiftT(v, k); }

// out[t] = v[order[t]]; NaN where order names no element of v.
QVX_API double *ReorderV(const double *v, const int32_t *order) noexcept {
  int32_t n = Len(v), m = Len(order);
  double *out = NewVec<double>(m);
  for (int32_t t = 1, k = Len(out); t <= k; ++t) out[t] = order[t] >= 1 && order[t] <= n ? v[order[t]] : NAN;
  return out;
}

// Subtracts the straight line through the first and the last value, so
// that both ends become 0 (removes an offset and a linear drift).
QVX_API double *ZeroEndPoints(const double *v) noexcept {
  double *out = CopyVec(v);
  int32_t n = Len(out);
  if (n == 0) return out;
  double first = v[1], slope = n > 1 ? (v[n] - v[1]) / (n - 1) : 0.0;
  for (int32_t i = 1; i <= n; ++i) out[i] = v[i] - (first + slope * (i - 1));
  if (n > 1) out[n] = 0.0;  // exact, whatever the rounding of the line
  return out;
}

// ---- searches and counts ------------------------------------------------------

QVX_API int32_t Pos(const double *v, double x) noexcept { return PosT(v, x); }
QVX_API int32_t PosC(const Complex *v, Complex z) noexcept { return PosT(v, z); }
QVX_API int32_t PosL(const int32_t *v, int32_t x) noexcept { return PosT(v, x); }
QVX_API int32_t NOcc(const double *v, double x) noexcept { return CountT(v, x); }
QVX_API int32_t NOccL(const int32_t *v, int32_t x) noexcept { return CountT(v, x); }

// Last index whose real part is at or below x in a VectorC of ascending
// real parts; 0 when x is below the first or NaN.
QVX_API int32_t BinarySearchPosC(const Complex *v, double x) noexcept {
  int32_t n = Len(v);
  if (n == 0 || std::isnan(x)) return 0;
  const Complex *end = v + 1 + n;
  const Complex *it = std::upper_bound(v + 1, end, x, [](double value, const Complex &z) { return value < z.re; });
  return static_cast<int32_t>(it - (v + 1));
}

// ---- sets ---------------------------------------------------------------------

QVX_API double *UnionV(const double *a, const double *b) noexcept { return SetOperation(a, b, SetOp::kUnion); }
QVX_API double *IntersectionV(const double *a, const double *b) noexcept {
  return SetOperation(a, b, SetOp::kIntersection);
}
QVX_API double *ComplementV(const double *a, const double *b) noexcept {
  return SetOperation(a, b, SetOp::kDifference);
}
QVX_API double *SymmetricDifferenceV(const double *a, const double *b) noexcept {
  return SetOperation(a, b, SetOp::kSymmetric);
}

QVX_API int32_t MutuallyExclusive(const double *a, const double *b) noexcept {
  return qvx::Guard(int32_t{0}, [&] {
    std::vector<double> x = SortedSet(a), y = SortedSet(b), common;
    std::set_intersection(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(common));
    return common.empty() ? int32_t{1} : int32_t{0};
  });
}

// The texts of a that also occur in b, each once, in the order of a.
QVX_API char **IntersectionSV(char **a, char **b) noexcept {
  return GuardStrings([&] {
    std::vector<const char *> x = Items(a), y = Items(b), out;
    std::unordered_set<std::string_view> inB(y.begin(), y.end()), taken;
    for (const char *s : x)
      if (inB.count(s) && taken.insert(s).second) out.push_back(s);
    return MakeStrings(out);
  });
}

}  // extern "C"
