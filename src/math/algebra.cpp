// The fraction layer and the simplifier of expression texts.
//
// Read algebra.h first. The simplifier works on one sum at a time:
//  1. the sum is cut into signed terms (bracketed sums inside are opened),
//  2. each term is cut into factors at its depth-0 "*", every factor is
//     simplified on its own (brackets, quotients, powers and call arguments
//     recursively), numbers fold into one coefficient, and equal bases merge
//     their exponents (x*x^2 is x^3, i*i is -1),
//  3. terms with the same factors add their coefficients (x+x is 2*x),
//  4. factors shared by several terms are pulled out through a factor trie:
//     the factor found in most terms becomes a node whose children are the
//     rest of those terms, until no two remaining terms share a factor
//     (a*b+a*c is a*(b+c)),
//  5. the terms are printed in a fixed order (factors sorted, bracketed sums
//     last; terms sorted, the number last, a positive term first), so that
//     a simplified text is its own simplification.
// A whole pass is repeated until the text no longer changes (at most a few
// times), which is what makes the result stable under a second pass.
#include "math/algebra.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <map>

#include "common/boundary.h"
#include "common/guards.h"
#include "objects/evaluator.h"
#include "objects/held.h"
#include "objects/print.h"
#include "text/classify.h"
#include "text/operators.h"
#include "text/sentinels.h"
#include "text/scan.h"
#include "text/textarith.h"

namespace qvx {
namespace {

constexpr std::string_view kInvalid = ">invalid_expression<";

bool IsNumber(std::string_view t, double *v = nullptr) {
  double x = 0.0;
  const bool ok = !t.empty() && TestNumericString(t, &x) != 0;
  if (ok && v) *v = x;
  return ok;
}

std::string Bracket(std::string_view t) {
  std::string out;
  out.reserve(t.size() + 2);
  out += '(';
  out += t;
  out += ')';
  return out;
}


bool HasDepth0Comma(std::string_view text) { return FindOperator(text, ",", true) >= 0; }

// ---------------------------------------------------------------------------
// Fractions.

ComplexText Fraction(std::string_view text, Environment *env, int32_t depth);

ComplexText FractionOfSum(std::string_view bare, Environment *env, int32_t depth) {
  std::vector<SignedTerm> terms;
  SplitSum(bare, &terms);
  std::string num, den = "1";
  bool firstTerm = true;
  for (const SignedTerm &t : terms) {
    ComplexText f = Fraction(t.text, env, depth + 1);
    if (t.sign < 0) NegateText(f.re);
    if (firstTerm) {
      num = std::move(f.re);
      den = std::move(f.im);
      firstTerm = false;
    } else if (f.im == den) {
      num = AddTexts(num, f.re);
    } else {
      num = AddTexts(MultiplyTexts(num, f.im), MultiplyTexts(f.re, den));
      den = MultiplyTexts(den, f.im);
    }
  }
  return {num, den};
}

ComplexText Fraction(std::string_view text, Environment *env, int32_t depth) {
  if (depth > kMaxSimplifyDepth || HasErrorSentinel(text) || text.empty()) return {std::string(text), "1"};
  const SignedText s = ReadSigned(text);
  const std::string_view bare = s.bare;
  ComplexText r;
  int32_t pos = -1;
  if (HasDepth0Comma(bare)) {
    std::vector<std::string_view> items;
    SplitArgumentList(bare, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &items);
    std::vector<ComplexText> parts;
    std::string den = "1";
    for (std::string_view item : items) {
      parts.push_back(Fraction(item, env, depth + 1));
      den = MultiplyTexts(den, parts.back().im);
    }
    std::vector<std::string> nums;
    for (std::size_t k = 0; k < parts.size(); ++k) {
      std::string n = parts[k].re;
      for (std::size_t j = 0; j < parts.size(); ++j)
        if (j != k) n = MultiplyTexts(n, parts[j].im);
      nums.push_back(std::move(n));
    }
    r = {JoinTexts(nums), den};
  } else if (s.sum) {
    r = FractionOfSum(bare, env, depth);
  } else if (FindOperator(bare, "*", false) >= 0) {
    std::vector<std::string_view> pieces;
    SplitArgumentList(bare, kOpenBlockParenSquare, kCloseBlockParenSquare, '*', 0, &pieces);
    r = {"1", "1"};
    for (std::string_view p : pieces) {
      ComplexText f = Fraction(p, env, depth + 1);
      r.re = MultiplyTexts(r.re, f.re);
      r.im = MultiplyTexts(r.im, f.im);
    }
  } else if (FindOperator(bare, "/", false) >= 0) {
    std::vector<std::string_view> pieces;
    SplitArgumentList(bare, kOpenBlockParenSquare, kCloseBlockParenSquare, '/', 0, &pieces);
    for (std::size_t k = 0; k < pieces.size(); ++k) {
      ComplexText f = Fraction(pieces[k], env, depth + 1);
      if (k == 0) {
        r = std::move(f);
      } else {
        r.re = MultiplyTexts(r.re, f.im);
        r.im = MultiplyTexts(r.im, f.re);
      }
    }
  } else if ((pos = FindOperator(bare, "^", true)) > 0) {
    const std::string_view base = bare.substr(0, static_cast<std::size_t>(pos));
    std::string_view exponent = bare.substr(static_cast<std::size_t>(pos) + 1);
    int32_t es = 1;
    const std::string_view eb = StripSignAndBrackets(exponent, &es, nullptr);
    double e = 0.0;
    const bool negative = IsNumber(eb, &e) && es * e < 0.0;
    ComplexText b = Fraction(base, env, depth + 1);
    if (negative) {
      const std::string pe = NumberText(-es * e);
      r = {PowerTexts(b.im, pe), PowerTexts(b.re, pe)};
    } else if (b.im == "1") {
      r = {std::string(bare), "1"};
    } else {
      r = {PowerTexts(b.re, exponent), PowerTexts(b.im, exponent)};
    }
  } else {
    r = {std::string(bare), "1"};
  }
  if (s.sign < 0) NegateText(r.re);
  return r;
}

// ---------------------------------------------------------------------------
// The simplifier.

std::string Simplify(std::string_view text, int32_t keepFraction, int32_t keepDenominator, Environment *env,
                     int32_t depth);

// One term under construction: a coefficient and its factors by base.
struct TermBuilder {
  double coefficient = 1.0;
  std::vector<std::pair<std::string, std::string>> powers;  // base, exponent
  bool invalid = false;
};

// A finished term: coefficient and sorted factor texts of the numerator and
// of the denominator.
struct TermRecord {
  double coefficient = 1.0;
  std::vector<std::string> factors;
  std::vector<std::string> denominators;
};

// Factors sort by text, bracketed sums last, so that "a*(b+c)" reads with
// the plain factor first.
bool FactorLess(const std::string &a, const std::string &b) {
  const bool sa = !a.empty() && a.front() == '(', sb = !b.empty() && b.front() == '(';
  if (sa != sb) return sb;
  return a < b;
}

std::string SimplifyFactor(std::string_view f, Environment *env, int32_t depth);

void AddPower(TermBuilder *t, std::string base, std::string exponent) {
  for (auto &p : t->powers) {
    if (p.first == base) {
      p.second = AddTexts(p.second, exponent);
      return;
    }
  }
  t->powers.emplace_back(std::move(base), std::move(exponent));
}

// Takes a simplified factor text into the term; with `invert` the factor
// divides (its exponent is negated). Quotients split into both parts, so
// that x^2/x merges to x.
void Absorb(TermBuilder *t, std::string_view text, bool invert, int32_t depth) {
  const std::string one = invert ? "-1" : "1";
  if (depth > kMaxSimplifyDepth) {
    AddPower(t, std::string(text), one);
    return;
  }
  if (HasErrorSentinel(text)) {
    t->invalid = true;
    return;
  }
  const SignedText s = ReadSigned(text);
  if (s.sign < 0) t->coefficient = -t->coefficient;
  double v = 0.0;
  if (!s.sum && IsNumber(s.bare, &v)) {
    if (!invert) {
      t->coefficient *= v;
    } else if (v == 0.0) {
      t->invalid = true;
    } else {
      t->coefficient /= v;
    }
    return;
  }
  if (s.sum) {
    AddPower(t, Bracket(s.bare), one);
    return;
  }
  if (FindOperator(s.bare, "*", false) >= 0) {
    std::vector<std::string_view> pieces;
    SplitArgumentList(s.bare, kOpenBlockParenSquare, kCloseBlockParenSquare, '*', 0, &pieces);
    for (std::string_view p : pieces) Absorb(t, p, invert, depth + 1);
    return;
  }
  const int32_t slash = FindOperator(s.bare, "/", false);
  if (slash > 0) {
    Absorb(t, s.bare.substr(0, static_cast<std::size_t>(slash)), invert, depth + 1);
    Absorb(t, s.bare.substr(static_cast<std::size_t>(slash) + 1), !invert, depth + 1);
    return;
  }
  std::string base(s.bare), exponent = "1";
  const int32_t pos = FindOperator(s.bare, "^", true);
  if (pos > 0) {
    base.assign(s.bare.substr(0, static_cast<std::size_t>(pos)));
    exponent.assign(StripOuterPairsView(s.bare.substr(static_cast<std::size_t>(pos) + 1), '(', ')'));
  }
  if (invert) NegateText(exponent);
  AddPower(t, std::move(base), std::move(exponent));
}

TermRecord Finish(TermBuilder &t) {
  TermRecord r;
  r.coefficient = t.coefficient;
  for (auto &p : t.powers) {
    double e = 0.0;
    const bool numericExponent = IsNumber(p.second, &e);
    if (p.first == "i" && numericExponent && e == std::floor(e) && std::fabs(e) < 1e9) {
      // i^k: the sign goes to the coefficient, at most one i stays.
      int64_t k = static_cast<int64_t>(e) % 4;
      if (k < 0) k += 4;
      if (k >= 2) r.coefficient = -r.coefficient, k -= 2;
      if (k == 1) r.factors.emplace_back("i");
      continue;
    }
    if (numericExponent && e == 0.0) continue;
    bool below = numericExponent && e < 0.0;
    std::string f = PowerTexts(p.first, below ? NumberText(-e) : p.second);
    double v = 0.0;
    if (IsNumber(f, &v)) {
      if (!below) {
        r.coefficient *= v;
        continue;
      }
      if (v != 0.0) {
        r.coefficient /= v;
        continue;
      }
      // A power of zero with a negative exponent stays as written.
      f = PowerTexts(p.first, p.second);
      below = false;
    }
    if (!f.empty() && f.front() == '-') {
      r.coefficient = -r.coefficient;
      f.erase(0, 1);
    }
    (below ? r.denominators : r.factors).push_back(std::move(f));
  }
  std::sort(r.factors.begin(), r.factors.end(), FactorLess);
  std::sort(r.denominators.begin(), r.denominators.end(), FactorLess);
  return r;
}

std::string Key(const TermRecord &t) {
  std::string k;
  for (const std::string &f : t.factors) {
    if (!k.empty()) k += '*';
    k += f;
  }
  for (const std::string &f : t.denominators) {
    k += '/';
    k += f;
  }
  return k;
}

// The text of a term without its sign; the sign in *negative.
std::string TermText(const TermRecord &t, bool *negative) {
  *negative = t.coefficient < 0.0;
  const double c = std::fabs(t.coefficient);
  std::string out;
  if (t.factors.empty() || c != 1.0) out = NumberText(c);
  for (const std::string &f : t.factors) {
    if (!out.empty()) out += '*';
    out += f;
  }
  if (!t.denominators.empty()) {
    std::string den;
    for (const std::string &f : t.denominators) {
      if (!den.empty()) den += '*';
      den += f;
    }
    out += '/';
    out += t.denominators.size() > 1 ? Bracket(den) : den;
  }
  return out;
}

std::string PrintSum(const std::vector<TermRecord> &terms) {
  struct Printed {
    std::string text;
    bool negative;
    bool constant;
  };
  std::vector<Printed> p;
  p.reserve(terms.size());
  for (const TermRecord &t : terms) {
    bool neg = false;
    std::string s = TermText(t, &neg);
    p.push_back({std::move(s), neg, t.factors.empty() && t.denominators.empty()});
  }
  std::sort(p.begin(), p.end(), [](const Printed &a, const Printed &b) {
    if (a.constant != b.constant) return b.constant;
    if (a.text != b.text) return a.text < b.text;
    return a.negative < b.negative;
  });
  if (!p.empty() && p.front().negative) {
    auto it = std::find_if(p.begin(), p.end(), [](const Printed &x) { return !x.negative; });
    if (it != p.end()) std::rotate(p.begin(), it, it + 1);
  }
  std::string out;
  for (std::size_t k = 0; k < p.size(); ++k) {
    if (p[k].negative) out += '-';
    else if (k > 0) out += '+';
    out += p[k].text;
  }
  return out.empty() ? std::string("0") : out;
}

// Pulls shared factors out of a list of distinct terms (the factor trie: a
// shared factor is a node, the rests of its terms its children).
std::vector<TermRecord> Factorise(std::vector<TermRecord> terms, int32_t depth) {
  if (terms.size() < 2 || depth > kMaxSimplifyDepth) return terms;
  std::map<std::string, int32_t, bool (*)(const std::string &, const std::string &)> counts(FactorLess);
  for (const TermRecord &t : terms)
    for (std::size_t k = 0; k < t.factors.size(); ++k)
      if (k == 0 || t.factors[k] != t.factors[k - 1]) ++counts[t.factors[k]];
  const std::string *best = nullptr;
  int32_t bestCount = 1;
  for (const auto &[f, n] : counts)
    if (n > bestCount) best = &f, bestCount = n;
  if (!best) return terms;
  const std::string shared = *best;
  std::vector<TermRecord> with, without;
  for (TermRecord &t : terms) {
    auto it = std::find(t.factors.begin(), t.factors.end(), shared);
    if (it == t.factors.end()) {
      without.push_back(std::move(t));
    } else {
      t.factors.erase(it);
      with.push_back(std::move(t));
    }
  }
  std::vector<TermRecord> inner = Factorise(std::move(with), depth + 1);
  TermRecord node;
  if (inner.size() == 1) {
    node = std::move(inner.front());
    node.factors.push_back(shared);
  } else {
    // A sum whose terms are all negative comes out with its sign in front.
    const bool allNegative =
        std::all_of(inner.begin(), inner.end(), [](const TermRecord &t) { return t.coefficient < 0.0; });
    if (allNegative)
      for (TermRecord &t : inner) t.coefficient = -t.coefficient;
    node.coefficient = allNegative ? -1.0 : 1.0;
    node.factors.push_back(shared);
    node.factors.push_back(Bracket(PrintSum(inner)));
  }
  std::sort(node.factors.begin(), node.factors.end(), FactorLess);
  std::vector<TermRecord> out = Factorise(std::move(without), depth + 1);
  out.push_back(std::move(node));
  return out;
}

// Opens bracketed sums among the terms: "a-(b-c)" is the terms a, -b, c.
bool CollectTerms(std::string_view text, int32_t sign, std::vector<SignedTerm> *out, int32_t depth) {
  std::vector<SignedTerm> terms;
  SplitSum(text, &terms);
  for (const SignedTerm &t : terms) {
    const SignedText s = ReadSigned(t.text);
    if (s.sum && depth < kMaxSimplifyDepth && !HoldsLooseOperator(s.bare)) {
      if (!CollectTerms(s.bare, sign * t.sign * s.sign, out, depth + 1)) return false;
    } else {
      if (t.text.empty()) continue;
      if (HasDepth0Comma(t.text)) return false;
      out->push_back({sign * t.sign, t.text});
    }
  }
  return true;
}

// Terms over the same denominator, written over it once ("x/(x+1)-1/(x+1)"
// is "(x-1)/(x+1)"), when that makes the text strictly shorter.
std::string JoinOverCommonDenominators(const std::vector<TermRecord> &terms, std::string printed) {
  std::map<std::string, std::vector<std::size_t>> groups;
  for (std::size_t k = 0; k < terms.size(); ++k) {
    if (terms[k].denominators.empty()) continue;
    std::string key;
    for (const std::string &d : terms[k].denominators) key += d + "/";
    groups[key].push_back(k);
  }
  std::vector<TermRecord> joined;
  std::vector<bool> used(terms.size(), false);
  bool any = false;
  for (const auto &[key, members] : groups) {
    if (members.size() < 2) continue;
    any = true;
    std::vector<TermRecord> numerators;
    for (std::size_t k : members) {
      TermRecord t = terms[k];
      t.denominators.clear();
      numerators.push_back(std::move(t));
      used[k] = true;
    }
    TermRecord q;
    q.factors.push_back(Bracket(PrintSum(numerators)));
    q.denominators = terms[members.front()].denominators;
    joined.push_back(std::move(q));
  }
  if (!any) return printed;
  for (std::size_t k = 0; k < terms.size(); ++k)
    if (!used[k]) joined.push_back(terms[k]);
  std::string candidate = PrintSum(joined);
  return candidate.size() < printed.size() ? candidate : printed;
}

std::string SimplifySum(std::string_view bare, bool joinFractions, Environment *env, int32_t depth) {
  std::vector<SignedTerm> raw;
  if (!CollectTerms(bare, 1, &raw, depth)) return std::string(kInvalid);
  if (raw.size() == 1) {
    double v = 0.0;
    if (IsNumber(raw[0].text, &v)) return NumberText(raw[0].sign * v);
  }
  // Terms with equal factors add their coefficients; order of first sight
  // is kept for the factoriser.
  std::vector<TermRecord> terms;
  std::map<std::string, std::size_t> index;
  for (const SignedTerm &t : raw) {
    if (CancelRequested(env)) return std::string(kSentinelAborted);
    TermBuilder b;
    b.coefficient = t.sign;
    std::vector<std::string_view> pieces;
    SplitArgumentList(t.text, kOpenBlockParenSquare, kCloseBlockParenSquare, '*', 0, &pieces);
    for (std::string_view p : pieces) {
      Absorb(&b, SimplifyFactor(p, env, depth + 1), false, depth + 1);
    }
    if (b.invalid) return std::string(kInvalid);
    TermRecord r = Finish(b);
    const std::string key = Key(r);
    auto it = index.find(key);
    if (it == index.end()) {
      index.emplace(key, terms.size());
      terms.push_back(std::move(r));
    } else {
      terms[it->second].coefficient += r.coefficient;
    }
  }
  std::vector<TermRecord> kept;
  for (TermRecord &t : terms)
    if (t.coefficient != 0.0) kept.push_back(std::move(t));
  // Factor until no two terms share a factor.
  for (int round = 0; round < 8; ++round) {
    const std::size_t before = kept.size();
    kept = Factorise(std::move(kept), depth + 1);
    if (kept.size() == before) break;
  }
  std::string printed = PrintSum(kept);
  return joinFractions && kept.size() > 1 ? JoinOverCommonDenominators(kept, std::move(printed)) : printed;
}

bool IsCallName(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string SimplifyCall(std::string_view bare, Environment *env, int32_t depth) {
  const std::size_t open = bare.find('(');
  const std::string_view name = bare.substr(0, open);
  const std::string_view inner = bare.substr(open + 1, bare.size() - open - 2);
  std::vector<std::string_view> args;
  SplitArgumentList(inner, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &args);
  std::vector<std::string> simplified;
  simplified.reserve(args.size());
  for (std::string_view a : args) simplified.push_back(args.size() == 1 && a.empty() ? std::string() : Simplify(a, 1, 1, env, depth + 1));
  int32_t sign = 1;
  if (simplified.size() == 1 && !simplified[0].empty()) {
    const bool odd = IsCallName(name, {"sin", "sinh", "arcsin", "arcsinh", "tan", "tanh", "arctan", "arctanh"});
    const bool even = IsCallName(name, {"cos", "cosh"});
    if (odd || even) {
      const SignedText s = ReadSigned(simplified[0]);
      if (s.sign < 0 && !s.sum) {
        if (odd) sign = -1;
        simplified[0] = std::string(s.bare);
      }
    }
  }
  std::string out(name);
  out += '(';
  out += JoinTexts(simplified);
  out += ')';
  if (sign < 0) out.insert(0, 1, '-');
  return out;
}

std::string SimplifyFactor(std::string_view f, Environment *env, int32_t depth) {
  if (depth > kMaxSimplifyDepth || f.empty()) return std::string(f);
  double v = 0.0;
  if (IsNumber(f, &v)) return std::isfinite(v) ? NumberText(v) : std::string(f);
  if (f == "i" || IsPlainSymbol(f)) return std::string(f);
  const SignedText s = ReadSigned(f);
  if (s.sign < 0 || s.sum) {
    // A signed factor or a bare sum: simplified as a whole, a sum bracketed.
    std::string inner = s.sum ? Simplify(s.bare, 1, 1, env, depth + 1) : SimplifyFactor(s.bare, env, depth + 1);
    if (IsSumText(inner) || HoldsLooseOperator(inner)) inner = Bracket(inner);
    if (s.sign < 0) NegateText(inner);
    return inner;
  }
  if (FindOperator(f, "*", false) >= 0) {
    // A product (a bracket around it was taken off above): simplified whole.
    std::string inner = Simplify(f, 1, 1, env, depth + 1);
    return IsSumText(inner) || HoldsLooseOperator(inner) ? Bracket(inner) : inner;
  }
  if (CountOuterPairs(f, '(', ')') > 0) {
    std::string inner = Simplify(StripOuterPairsView(f, '(', ')'), 1, 1, env, depth + 1);
    return IsSumText(inner) || HoldsLooseOperator(inner) ? Bracket(inner) : inner;
  }
  if (f.find('"') != std::string_view::npos) return std::string(f);
  int32_t pos = FindOperator(f, "/", false);
  if (pos > 0) {
    const std::string l = SimplifyFactor(f.substr(0, static_cast<std::size_t>(pos)), env, depth + 1);
    const std::string r = SimplifyFactor(f.substr(static_cast<std::size_t>(pos) + 1), env, depth + 1);
    return DivideTexts(l, r);
  }
  pos = FindOperator(f, "^", true);
  if (pos > 0) {
    const std::string b = SimplifyFactor(f.substr(0, static_cast<std::size_t>(pos)), env, depth + 1);
    const std::string e = Simplify(f.substr(static_cast<std::size_t>(pos) + 1), 1, 1, env, depth + 1);
    return PowerTexts(b, e);
  }
  if (TestCallForm(f, 0)) return SimplifyCall(f, env, depth + 1);
  return std::string(f);
}

// True if the text has a member dot at depth 0 ("a.b", "f(x).g").
bool HoldsMemberDot(std::string_view text) {
  int depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '(' || c == '[' || c == ':') ++depth;
    else if (c == ')' || c == ']' || c == ';') --depth;
    else if (depth == 0 && c == '.' && i + 1 < text.size() &&
             !std::isdigit(static_cast<unsigned char>(text[i + 1])) &&
             !(i > 0 && std::isdigit(static_cast<unsigned char>(text[i - 1])) &&
               (i < 2 || !std::isalpha(static_cast<unsigned char>(text[i - 2])))))
      return true;
  }
  return false;
}

std::string Simplify(std::string_view text, int32_t keepFraction, int32_t keepDenominator, Environment *env,
                     int32_t depth) {
  if (depth > kMaxSimplifyDepth) return std::string(text);
  if (text.size() < 3 || HasErrorSentinel(text) || text.find(" <- ") != std::string_view::npos ||
      text.find(" -> ") != std::string_view::npos)
    return std::string(text);
  double v = 0.0;
  if (IsNumber(text, &v)) return std::isfinite(v) ? NumberText(v) : std::string(text);
  if (IsPlainSymbol(text)) return std::string(text);
  const SignedText s = ReadSigned(text);
  const std::string_view bare = s.bare;
  auto withSign = [&s](std::string t) {
    if (s.sign < 0 && !HasErrorSentinel(t)) NegateText(t);
    return t;
  };
  if (bare.empty() || bare == "i" || bare == "this" || IsPlainSymbol(bare)) return withSign(std::string(bare));
  if (IsNumber(bare, &v)) return withSign(std::isfinite(v) ? NumberText(v) : std::string(bare));
  if (bare.find('"') != std::string_view::npos) return std::string(text);
  int32_t pos = -1;
  if (FindTopLevelEquals(bare, -1, &pos) == 1) {
    const std::string l = Simplify(bare.substr(0, static_cast<std::size_t>(pos)), 1, 1, env, depth + 1);
    const std::string r = Simplify(bare.substr(static_cast<std::size_t>(pos) + 1), 1, 1, env, depth + 1);
    if (HasErrorSentinel(l) || HasErrorSentinel(r)) return std::string(kSentinelInvalidAssignment);
    return withSign(l + "=" + r);
  }
  if (HasDepth0Comma(bare)) {
    std::vector<std::string_view> items;
    SplitArgumentList(bare, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 1, &items);
    std::vector<std::string> out;
    for (std::string_view item : items) {
      out.push_back(Simplify(item, keepFraction, keepDenominator, env, depth + 1));
      if (HasErrorSentinel(out.back())) return std::string(kInvalid);
    }
    return withSign(JoinTexts(out));
  }
  if (bare.front() == ':' && CountOuterPairs(bare, ':', ';') > 0) {
    return withSign(":" + Simplify(StripOuterPairsView(bare, ':', ';'), 1, 1, env, depth + 1) + ";");
  }
  if (bare.front() == '~') {
    const std::string rest = Simplify(bare.substr(1), 1, 1, env, depth + 1);
    const bool plain = !IsSumText(rest) && !HoldsLooseOperator(rest) && rest.find_first_of("*/^") == std::string::npos;
    return withSign("~" + (plain ? rest : Bracket(rest)));
  }
  if (TestCallForm(bare, 0)) return withSign(SimplifyCall(bare, env, depth + 1));
  // Member chains, lists, references and control blocks keep their text.
  if (bare.front() == '[' || bare.front() == '#' || bare.front() == '@' || HoldsMemberDot(bare) ||
      FindOperator(bare, ":", true) >= 0)
    return std::string(text);
  int32_t length = 0;
  pos = FindLogicalOperator(bare, &length);
  if (pos >= 1) {
    const std::string l = Simplify(bare.substr(0, static_cast<std::size_t>(pos)), 1, 1, env, depth + 1);
    const std::string r =
        Simplify(bare.substr(static_cast<std::size_t>(pos + length)), 1, 1, env, depth + 1);
    auto side = [](const std::string &t) { return HoldsLooseOperator(t) ? Bracket(t) : t; };
    return withSign(side(l) + std::string(bare.substr(static_cast<std::size_t>(pos), static_cast<std::size_t>(length))) +
                    side(r));
  }
  return withSign(SimplifySum(bare, !keepFraction && !keepDenominator, env, depth));
}

}  // namespace

// ---------------------------------------------------------------------------
// Evaluation to texts.

bool IsNumericPair(const ComplexText &z, double *re, double *im) {
  double a = 0.0, b = 0.0;
  if (!z.re.empty() && !TestNumericString(z.re, &a)) return false;
  if (!z.im.empty() && !TestNumericString(z.im, &b)) return false;
  if (re) *re = a;
  if (im) *im = b;
  return true;
}

ComplexText ObjectToComplexText(std::string_view text, const Object *object, Environment *env) {
  if (!object) return {std::string(text), "0"};
  switch (object->tag) {
    case kTagAlgebraic:
      return {AlgebraicText(object) ? AlgebraicText(object) : "", "0"};
    case kTagSplit: {
      const SplitValue *s = Split(object);
      return {s->re ? s->re : "", s->im ? s->im : ""};
    }
    case kTagNumeric:
      return {NumberText(Numeric(object)->re), NumberText(Numeric(object)->im)};
    case kTagBignum: {
      Object *copy = CopyObject(object, env, 1);
      BignumToSplit(&copy, env, 1);
      ComplexText z = copy && copy->tag == kTagSplit ? ObjectToComplexText(text, copy, env)
                                                    : ComplexText{std::string(kSentinelInvalidObject), "0"};
      FreeObject(copy);
      return z;
    }
    case kTagString: {
      const char *s = StringText(object);
      return {"\"" + std::string(s ? s : "") + "\"", "0"};
    }
    case kTagMap: {
      const auto *tree = static_cast<const IntRBST *>(object->payload);
      return {"map:" + std::to_string(tree ? tree->size : 0) + ";", "0"};
    }
    case kTagNode:
      return {"node:;", "0"};
    default:
      return {ObjectText(object, 0), "0"};
  }
}

ComplexText EvaluateToComplexText(std::string_view text, Environment *env) {
  int32_t owned = 0;
  Object *result = Evaluator().operand(text, env, &owned);
  const Held held(result, owned);
  ComplexText z = ObjectToComplexText(text, held.object, env);
  return z;
}

// ---------------------------------------------------------------------------
// Fractions.

ComplexText SplitFraction(std::string_view text, Environment *env) { return Fraction(text, env, 0); }

std::string MultiplyTerms(std::string_view a, std::string_view b, Environment *env) {
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  double v = 0.0;
  if (IsZeroNumberText(a) || IsZeroNumberText(b)) return "0";
  if (IsNumber(a, &v) && v == 1.0) return std::string(b);
  if (IsNumber(b, &v) && v == 1.0) return std::string(a);
  const ComplexText fa = SplitFraction(a, env), fb = SplitFraction(b, env);
  return DivideTexts(MultiplyTexts(fa.re, fb.re), MultiplyTexts(fa.im, fb.im));
}

std::string DivideTerms(std::string_view a, std::string_view b, Environment *env) {
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  const ComplexText fa = SplitFraction(a, env), fb = SplitFraction(b, env);
  return DivideTexts(MultiplyTexts(fa.re, fb.im), MultiplyTexts(fa.im, fb.re));
}

std::string PowerTerms(std::string_view a, std::string_view b, Environment *env) {
  if (HasErrorSentinel(a)) return std::string(a);
  if (HasErrorSentinel(b)) return std::string(b);
  int32_t es = 1;
  const std::string_view eb = StripSignAndBrackets(b, &es, nullptr);
  double e = 0.0;
  if (IsNumber(eb, &e) && es * e < 0.0 && !IsNumber(a)) {
    std::string r = PowerTerms(a, NumberText(-es * e), env);
    return ReciprocalText(r, env);
  }
  const ComplexText f = SplitFraction(a, env);
  if (f.im == "1") return PowerTexts(a, b);
  return DivideTexts(PowerTexts(f.re, b), PowerTexts(f.im, b));
}

std::string &ReciprocalText(std::string &text, Environment *env) {
  if (HasErrorSentinel(text)) return text;
  const ComplexText f = SplitFraction(text, env);
  text = DivideTexts(f.im, f.re);
  return text;
}

ComplexText DivideComplexTexts(const ComplexText &a, const ComplexText &b) {
  for (const std::string *t : {&a.re, &a.im, &b.re, &b.im})
    if (HasErrorSentinel(*t)) return {std::string(kInvalid), "0"};
  double ar = 0.0, ai = 0.0, br = 0.0, bi = 0.0;
  if (IsNumericPair(a, &ar, &ai) && IsNumericPair(b, &br, &bi)) {
    if (br == 0.0 && bi == 0.0) return {std::string(kInvalid), "0"};
    const Complex q = DivC(Complex{ar, ai}, Complex{br, bi});
    return {NumberText(q.re), NumberText(q.im)};
  }
  const bool aiZero = IsZeroNumberText(a.im), brZero = IsZeroNumberText(b.re), biZero = IsZeroNumberText(b.im);
  if (biZero) {
    // A real denominator divides both parts.
    return {DivideTexts(a.re, b.re), aiZero ? std::string("0") : DivideTexts(a.im, b.re)};
  }
  if (brZero) {
    // (x+iy)/(i d) = y/d - i x/d
    std::string im = DivideTexts(a.re, b.im);
    NegateText(im);
    return {aiZero ? std::string("0") : DivideTexts(a.im, b.im), IsZeroNumberText(a.re) ? std::string("0") : im};
  }
  // Both parts of the denominator: (ar+i ai)(br-i bi)/(br^2+bi^2).
  const std::string norm = AddTexts(PowerTexts(b.re, "2"), PowerTexts(b.im, "2"));
  const std::string re = AddTexts(MultiplyTexts(a.re, b.re), MultiplyTexts(a.im, b.im));
  const std::string im = SubtractTexts(MultiplyTexts(a.im, b.re), MultiplyTexts(a.re, b.im));
  return {DivideTexts(re, norm), DivideTexts(im, norm)};
}

// ---------------------------------------------------------------------------
// Factors and the simplifier.

std::vector<std::string> SplitIntoFactors(std::string_view term) {
  if (HasDepth0Comma(term)) return {std::string(kInvalid)};
  const SignedText s = ReadSigned(term);
  std::vector<std::string> out;
  if (s.sum) {
    out.emplace_back(Bracket(s.bare));
  } else {
    std::vector<std::string_view> pieces;
    SplitArgumentList(s.bare, kOpenBlockParenSquare, kCloseBlockParenSquare, '*', 0, &pieces);
    for (std::string_view p : pieces) out.emplace_back(p);
  }
  if (s.sign < 0) out.emplace_back("-1");
  return out;
}

std::string &SimplifyExpressionText(std::string &text, int32_t keepFraction, int32_t keepDenominator,
                                    Environment *env) {
  // Each pass is cheap on short texts; repeating until nothing changes is
  // what makes the result its own simplification.
  for (int pass = 0; pass < 4; ++pass) {
    std::string next = Simplify(text, keepFraction, keepDenominator, env, 0);
    if (next == text) break;
    text = std::move(next);
  }
  return text;
}

std::string JoinTexts(const std::vector<std::string> &list) {
  std::string out;
  for (std::size_t k = 0; k < list.size(); ++k) {
    if (k) out += ',';
    out += list[k];
  }
  return out;
}

std::string MakeComplexText(std::string_view text) {
  std::string out;
  out.reserve(text.size() * 2);
  const std::size_t n = text.size();
  bool inString = false;
  for (std::size_t i = 0; i < n;) {
    const char c = text[i];
    if (c == '"') inString = !inString;
    const bool starts = !inString && (std::isalpha(static_cast<unsigned char>(c)) || c == '_') &&
                        (i == 0 || !(std::isalnum(static_cast<unsigned char>(text[i - 1])) || text[i - 1] == '_' ||
                                     text[i - 1] == '.'));
    if (!starts) {
      out += c;
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < n && (std::isalnum(static_cast<unsigned char>(text[j])) || text[j] == '_')) ++j;
    const std::string_view name = text.substr(i, j - i);
    const bool call = j < n && text[j] == '(';
    const bool member = j < n && text[j] == '.';
    if (call || member || name == "i" || name == "this") {
      out += name;
    } else {
      out += '(';
      out += name;
      out += "_re+i*";
      out += name;
      out += "_im)";
    }
    i = j;
  }
  return out;
}

namespace {

char *Owned(const std::string &t, std::size_t *length) {
  if (length) *length = t.size();
  return DupText(t.data(), t.size());
}

}  // namespace

char *MultiplyTerms(const char *a, const char *b, Environment *env, std::size_t *length) {
  return Owned(MultiplyTerms(std::string_view(a ? a : "0"), std::string_view(b ? b : "0"), env), length);
}
char *DivideTerms(const char *a, const char *b, Environment *env, std::size_t *length) {
  return Owned(DivideTerms(std::string_view(a ? a : "0"), std::string_view(b ? b : "0"), env), length);
}
char *PowerTerms(const char *a, const char *b, Environment *env, std::size_t *length) {
  return Owned(PowerTerms(std::string_view(a ? a : "0"), std::string_view(b ? b : "0"), env), length);
}
char **SplitIntoFactors(const char *term, int32_t *count) {
  const std::vector<std::string> factors = SplitIntoFactors(std::string_view(term ? term : ""));
  const auto n = static_cast<int32_t>(factors.size());
  if (count) *count = n;
  char **v = StringVectorNULL(n);
  if (!v) return nullptr;
  for (int32_t k = 0; k < n; ++k) v[k] = DupText(factors[static_cast<std::size_t>(k)].c_str());
  return v;
}

}  // namespace qvx
