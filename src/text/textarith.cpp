// Arithmetic on expression texts: the first, structure-free layer of the
// algebra. Each builder reads the sign and bare text of its operands
// (ReadSigned), folds numbers, drops neutral elements, and otherwise writes
// the operation with the brackets it needs. Numbers are printed through
// DoubleString at 15 digits, so "0.1+0.2" folds to the same text the number
// printer gives.
//
// The builders know nothing of structure beyond signs and brackets: a*b+a*c
// stays as written here; collecting and factoring is the simplifier's work
// (algebra.cpp).
#include "text/textarith.h"

#include <cctype>
#include <cmath>
#include <cstring>

#include "common/boundary.h"
#include "common/guards.h"
#include "text/classify.h"
#include "text/sentinels.h"
#include "text/scan.h"
#include "libquorvex.h"

namespace qvx {
namespace {

struct Term {
  std::string_view bare;
  int32_t sign = 1;
  bool sum = false;
  bool numeric = false;
  double value = 0.0;  // of the bare text
};

Term Read(std::string_view text) {
  SpendBudget(text.size());
  Term t;
  if (text.empty()) text = "0";
  const SignedText s = ReadSigned(text);
  t.bare = s.bare;
  t.sign = s.sign;
  t.sum = s.sum;
  double v = 0.0;
  if (!t.sum && TestNumericString(t.bare, &v)) {
    t.numeric = true;
    t.value = v;
  }
  return t;
}

std::string Bracketed(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out += '(';
  out += text;
  out += ')';
  return out;
}

std::string Signed(std::string text, int32_t sign) {
  if (sign < 0) NegateText(text);
  return text;
}

bool IsOpen(char c) { return c == '(' || c == '[' || c == ':'; }
bool IsClose(char c) { return c == ')' || c == ']' || c == ';'; }

// Depth-0 operator characters other than a leading sign.
bool HoldsOperator(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  int depth = 0;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (IsOpen(c)) ++depth;
    else if (IsClose(c)) --depth;
    else if (depth == 0 && c != '\0' && std::strchr("+-*/^,<>=&|~!'.", c)) {
      // The "." of a decimal number and the sign of an exponent are no operators.
      if (c == '.' && i > 0 && std::isdigit(static_cast<unsigned char>(text[i - 1]))) continue;
      if (c == '.' && i + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[i + 1]))) continue;
      return true;
    }
  }
  return false;
}

// A character after which a "+" or "-" is a unary sign.
bool IsOperatorChar(char c) { return std::strchr("+-*/^,=<>&|~(:[", c) != nullptr; }

bool IsIdentifierChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || static_cast<unsigned char>(c) >= 0x80 ||
         c == 1 || c == 2 || c == 3;
}

// True if the sign at `i` follows the exponent letter of a decimal number.
bool IsExponentSign(std::string_view text, std::size_t i) {
  if (i < 2) return false;
  const char e = text[i - 1];
  if (e != 'e' && e != 'E') return false;
  const int32_t start = ScanMantissa(text, static_cast<int32_t>(i - 1));
  if (start < 0) return false;
  // The mantissa must begin a token: "x1e-3" is x1e minus 3.
  return start == 0 || !IsIdentifierChar(text[static_cast<std::size_t>(start) - 1]);
}

}  // namespace

bool HasErrorSentinel(std::string_view a) {
  return a.find('>') != std::string_view::npos && ContainsErrorSentinel(a);
}

SignedText ReadSigned(std::string_view text) {
  SignedText out;
  int32_t sign = 1, single = 0;
  std::string_view bare = StripSignAndBrackets(text, &sign, &single);
  if (single) {
    out.bare = bare;
    out.sign = sign;
    return out;
  }
  // A sum: only signs in front of a bracket that encloses the whole sum
  // belong to it. Replay the reading and keep the state at the last bracket.
  std::string_view v = text, atStrip = text;
  int32_t s = 1, signAtStrip = 1;
  for (;;) {
    while (!v.empty() && (v.front() == '+' || v.front() == '-')) {
      if (v.front() == '-') s = -s;
      v.remove_prefix(1);
    }
    if (CountOuterPairs(v, '(', ')') > 0) {
      v = v.substr(1, v.size() - 2);
      atStrip = v;
      signAtStrip = s;
      continue;
    }
    break;
  }
  out.bare = atStrip;
  out.sign = signAtStrip;
  out.sum = true;
  return out;
}

void SplitSum(std::string_view text, std::vector<SignedTerm> *terms) {
  terms->clear();
  const std::size_t n = text.size();
  int depth = 0;
  std::size_t start = 0;
  int32_t sign = 1;
  // Leading signs of the first term.
  while (start < n && (text[start] == '+' || text[start] == '-')) {
    if (text[start] == '-') sign = -sign;
    ++start;
  }
  for (std::size_t i = start; i < n; ++i) {
    const char c = text[i];
    if (IsOpen(c)) ++depth;
    else if (IsClose(c)) --depth;
    else if (depth == 0 && (c == '+' || c == '-') && i > start && !IsOperatorChar(text[i - 1]) &&
             !IsExponentSign(text, i)) {
      terms->push_back({sign, text.substr(start, i - start)});
      sign = 1;
      std::size_t j = i;
      while (j < n && (text[j] == '+' || text[j] == '-')) {
        if (text[j] == '-') sign = -sign;
        ++j;
      }
      start = j;
      i = j - 1;
    }
  }
  terms->push_back({sign, text.substr(start)});
}

bool IsSumText(std::string_view text) { return !IsSingleTerm(text); }

bool IsZeroNumberText(std::string_view text) {
  double v = 0.0;
  return text.empty() || (TestNumericString(text, &v) && IsNearlyEqual(v, 0.0));
}

std::string NumberText(double value, int digits) {
  std::string out;
  if (char *s = DoubleString(value, digits)) {
    out = s;
    FreeString(s);
  }
  return out;
}

bool HoldsLooseOperator(std::string_view text) {
  // Most texts hold none of these characters at all: memchr answers that at
  // memory speed before any depth is tracked.
  bool any = false;
  for (char c : std::string_view("<>&|,=")) any = any || std::memchr(text.data(), c, text.size()) != nullptr;
  if (!any) return false;
  int depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '(' || c == '[' || c == ':') ++depth;
    else if (c == ')' || c == ']' || c == ';') --depth;
    else if (depth == 0 && (c == '<' || c == '>' || c == '&' || c == '|' || c == ',' ||
                            (c == '=' && i + 1 < text.size() && text[i + 1] == '=') ||
                            (c == '~' && i + 1 < text.size() && text[i + 1] == '=')))
      return true;
  }
  return false;
}

std::string &NegateText(std::string &text) {
  if (HasErrorSentinel(text)) return text;
  if (text.empty()) {
    text = "0";
    return text;
  }
  double v = 0.0;
  if (TestNumericString(text, &v)) {
    text = NumberText(-v);
    return text;
  }
  if (HoldsLooseOperator(text)) {
    text = "-" + Bracketed(text);
    return text;
  }
  if (!IsSumText(text)) {
    // One term: flip its leading sign; a bracket left bare around the
    // whole is dropped ("-(a+b)" negates to "a+b").
    std::size_t k = 0;
    int32_t sign = 1;
    while (k < text.size() && (text[k] == '+' || text[k] == '-')) {
      if (text[k] == '-') sign = -sign;
      ++k;
    }
    std::string_view rest(text);
    rest.remove_prefix(k);
    if (sign > 0) {
      text = "-" + std::string(rest);
      return text;
    }
    if (CountOuterPairs(rest, '(', ')') == 1) rest = rest.substr(1, rest.size() - 2);
    text = std::string(rest);
    return text;
  }
  // A sum: every term changes its sign.
  std::vector<SignedTerm> terms;
  SplitSum(text, &terms);
  std::string out;
  out.reserve(text.size() + terms.size());
  for (std::size_t k = 0; k < terms.size(); ++k) {
    const bool negative = terms[k].sign > 0;  // after the flip
    if (negative) out += '-';
    else if (k > 0) out += '+';
    out += terms[k].text;
  }
  text = std::move(out);
  return text;
}

std::string AddTexts(std::string_view a, std::string_view b) {
  if (a.empty()) a = "0";
  if (b.empty()) b = "0";
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  const Term ta = Read(a), tb = Read(b);
  if (ta.numeric && tb.numeric) return NumberText(ta.sign * ta.value + tb.sign * tb.value);
  if (ta.bare == tb.bare) {
    if (ta.sign != tb.sign) return "0";
    return Signed(MultiplyTexts("2", ta.sum ? Bracketed(ta.bare) : std::string(ta.bare)), ta.sign);
  }
  if (ta.numeric && IsNearlyEqual(ta.value, 0.0)) return std::string(b);
  if (tb.numeric && IsNearlyEqual(tb.value, 0.0)) return std::string(a);
  std::string left = HoldsLooseOperator(a) ? Bracketed(a) : std::string(a);
  std::string right = HoldsLooseOperator(b) ? Bracketed(b) : std::string(b);
  if (right[0] == '-') return left + right;
  if (left[0] == '-') return right + left;
  std::string out;
  out.reserve(left.size() + right.size() + 1);
  out += left;
  if (right[0] != '+') out += '+';
  out += right;
  return out;
}

std::string SubtractTexts(std::string_view a, std::string_view b) {
  if (a == b && !a.empty()) return HasErrorSentinel(a) ? std::string(a) : std::string("0");
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  std::string nb(b.empty() ? std::string_view("0") : b);
  NegateText(nb);
  return AddTexts(a, nb);
}

std::string MultiplyTexts(std::string_view a, std::string_view b) {
  if (a.empty()) a = "0";
  if (b.empty()) b = "0";
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  Term ta = Read(a), tb = Read(b);
  const int32_t sign = ta.sign * tb.sign;
  if (ta.bare == tb.bare) {
    std::string out;
    if (ta.bare == "i") out = "-1";
    else if (ta.bare == "1") out = "1";
    else if (ta.bare == "0") out = "0";
    else out = PowerTexts(ta.sum ? Bracketed(ta.bare) : std::string(ta.bare), "2");
    return Signed(out, sign);
  }
  // A fixed order, numbers first, so that a*b and b*a give one text.
  if (tb.numeric && !ta.numeric) std::swap(ta, tb);
  else if (ta.numeric == tb.numeric && tb.bare < ta.bare) std::swap(ta, tb);
  if (ta.numeric && tb.numeric) return NumberText(sign * ta.value * tb.value);
  if (ta.numeric && IsNearlyEqual(ta.value, 0.0)) return "0";
  if (ta.numeric && IsNearlyEqual(ta.value, 1.0)) {
    return Signed(tb.sum ? Bracketed(tb.bare) : std::string(tb.bare), sign);
  }
  if (ta.numeric && !tb.sum) {
    // A number times a product that begins with a number: one coefficient.
    int32_t star = -1;
    if (FindFirstTopLevel(tb.bare, kOpenParenBlockSquare, kCloseParenBlockSquare, "*", &star) == 0 && star > 0) {
      double c = 0.0;
      if (TestNumericString(tb.bare.substr(0, static_cast<std::size_t>(star)), &c))
        return MultiplyTexts(NumberText(sign * ta.value * c), tb.bare.substr(static_cast<std::size_t>(star) + 1));
    }
  }
  auto part = [](const Term &t) {
    return t.sum || HoldsLooseOperator(t.bare) ? Bracketed(t.bare) : std::string(t.bare);
  };
  std::string out;
  if (sign < 0) out += '-';
  out += part(ta);
  out += '*';
  out += part(tb);
  return out;
}

std::string DivideTexts(std::string_view a, std::string_view b) {
  if (a.empty()) a = "0";
  if (b.empty()) b = "0";
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  const Term ta = Read(a), tb = Read(b);
  const int32_t sign = ta.sign * tb.sign;
  if (ta.bare == tb.bare && !(ta.numeric && IsNearlyEqual(ta.value, 0.0))) return Signed("1", sign);
  if (ta.numeric && IsNearlyEqual(ta.value, 0.0) && !(tb.numeric && IsNearlyEqual(tb.value, 0.0))) return "0";
  auto numerator = [&ta]() {
    return ta.sum || HoldsLooseOperator(ta.bare) ? Bracketed(ta.bare) : std::string(ta.bare);
  };
  if (tb.bare == "1") return Signed(numerator(), sign);
  if (ta.numeric && tb.numeric) {
    if (IsNearlyEqual(tb.value, 0.0)) return std::string(kSentinelInvalidExpression);
    return NumberText(sign * ta.value / tb.value);
  }
  if (tb.numeric) {
    if (IsNearlyEqual(tb.value, 0.0)) return std::string(kSentinelInvalidExpression);
    if (IsNearlyEqual(tb.value, 1.0)) return Signed(numerator(), sign);
    return Signed(NumberText(1.0 / tb.value) + "*" + numerator(), sign);
  }
  const bool plainDenominator = !tb.sum && !HoldsLooseOperator(tb.bare) &&
                                tb.bare.find_first_of("*/") == std::string_view::npos;
  std::string out = numerator();
  out += '/';
  out += plainDenominator ? std::string(tb.bare) : Bracketed(tb.bare);
  return Signed(out, sign);
}

std::string PowerTexts(std::string_view a, std::string_view b) {
  if (a.empty()) a = "0";
  if (b.empty()) b = "0";
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  double va = 0.0, vb = 0.0;
  const bool na = TestNumericString(a, &va) != 0, nb = TestNumericString(b, &vb) != 0;
  if (na && nb) {
    const double p = std::pow(va, vb);
    if (std::isfinite(p)) return NumberText(p);
  }
  if (nb && vb == 1.0) return std::string(a);
  if (nb && vb == 0.0) return "1";
  if (na && va == 1.0) return "1";
  // A bracket that already encloses the whole needs no second one.
  auto part = [](std::string_view t, bool numeric) {
    if (CountOuterPairs(t, '(', ')') > 0) return std::string(t);
    const bool needs = numeric ? t[0] == '-' : (t[0] == '-' || t[0] == '+' || HoldsOperator(t));
    return needs ? Bracketed(t) : std::string(t);
  };
  return part(a, na) + "^" + part(b, nb);
}

std::string JoinComplexText(std::string_view re, std::string_view im) {
  if (HasErrorSentinel(re) || HasErrorSentinel(im)) return std::string(kSentinelInvalidExpression);
  double vr = 0.0, vi = 0.0;
  const bool nr = re.empty() || TestNumericString(re, &vr);
  const bool ni = im.empty() || TestNumericString(im, &vi);
  if (nr && ni) {
    const std::string_view r = re.empty() ? std::string_view("0") : re;
    const std::string_view m = im.empty() ? std::string_view("0") : im;
    const double phase = std::atan2(vi, vr);
    constexpr double kPi = 3.14159265358979323846;
    const double a = std::fabs(phase);
    if (a <= 1e-12 || std::fabs(a - kPi) <= 1e-12) return std::string(r);
    if (std::fabs(a - kPi / 2) <= 1e-12) return MultiplyTexts(m, "i");
    return AddTexts(r, MultiplyTexts(m, "i"));
  }
  // A symbolic pair: an imaginary text "0" counts as absent.
  const bool noIm = im.empty() || (ni && vi == 0.0);
  const bool noRe = re.empty() || (nr && vr == 0.0);
  if (noRe && noIm) return re.empty() ? std::string() : std::string(re);
  if (noRe) return MultiplyTexts(im, "i");
  if (noIm) return std::string(re);
  return AddTexts(re, MultiplyTexts(im, "i"));
}

char *JoinComplexText(const char *re, const char *im, std::size_t *length) {
  const std::string text = JoinComplexText(std::string_view(re ? re : ""), std::string_view(im ? im : ""));
  if (length) *length = text.size();
  return DupText(text.data(), text.size());
}

namespace {

char *Owned(const std::string &t, std::size_t *length) {
  if (length) *length = t.size();
  return DupText(t.data(), t.size());
}

}  // namespace

char *AddTexts(const char *a, const char *b, std::size_t *length) {
  return Owned(AddTexts(std::string_view(a ? a : "0"), std::string_view(b ? b : "0")), length);
}
char *SubtractTexts(const char *a, const char *b, std::size_t *length) {
  return Owned(SubtractTexts(std::string_view(a ? a : "0"), std::string_view(b ? b : "0")), length);
}
char *MultiplyTexts(const char *a, const char *b, std::size_t *length) {
  return Owned(MultiplyTexts(std::string_view(a ? a : "0"), std::string_view(b ? b : "0")), length);
}
char *DivideTexts(const char *a, const char *b, std::size_t *length) {
  return Owned(DivideTexts(std::string_view(a ? a : "0"), std::string_view(b ? b : "0")), length);
}
char *PowerTexts(const char *a, const char *b, std::size_t *length) {
  return Owned(PowerTexts(std::string_view(a ? a : "0"), std::string_view(b ? b : "0")), length);
}

}  // namespace qvx
