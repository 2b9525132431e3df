// The syntax screen: decides from the normalised text alone whether it can
// run, and whether it is an expression, an assignment or a list.
//
// What a reader must know first: the screen sees placeholders, not literals,
// so a quote that is still in the text belongs to a string that never closed;
// and normalisation has already made ")(" a product and ";:" / "](" lists,
// which is why the operator table below may refuse those pairs outright.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

#include "engine/normalise.h"
#include "text/scan.h"

namespace qvx {
namespace {

// Categories of what may stand before or after an operator.
enum : unsigned {
  kOpen = 1u << 0,
  kClose = 1u << 1,
  kAdd = 1u << 2,
  kMul = 1u << 3,
  kCmp = 1u << 4,
  kNeg = 1u << 5,
  kRef = 1u << 6,
  kPost = 1u << 7,
  kEq = 1u << 8,  // a plain "=" character
};

class Placement {
 public:
  explicit Placement(std::string_view t) : t_(t), n_(t.size()), L_(DefaultSyntaxLists()) {}

  // True if text[0..p) ends with something of the categories.
  bool Before(std::size_t p, unsigned cats) const {
    if (p == 0) return false;
    const auto q = static_cast<int64_t>(p);
    return ((cats & kOpen) && MatchEndingAt(t_, q, L_.opening)) || ((cats & kClose) && MatchEndingAt(t_, q, L_.closing)) ||
           ((cats & kAdd) && MatchEndingAt(t_, q, L_.additive)) || ((cats & kMul) && MatchEndingAt(t_, q, L_.multiplicative)) ||
           ((cats & kCmp) && MatchEndingAt(t_, q, L_.comparison)) || ((cats & kNeg) && MatchEndingAt(t_, q, L_.negation)) ||
           ((cats & kRef) && MatchEndingAt(t_, q, L_.reference)) || ((cats & kPost) && MatchEndingAt(t_, q, L_.postfix)) ||
           ((cats & kEq) && t_[p - 1] == '=');
  }
  // True if text[q..) begins with something of the categories.
  bool After(std::size_t q, unsigned cats) const {
    if (q >= n_) return false;
    const auto p = static_cast<int64_t>(q);
    return ((cats & kOpen) && MatchBeginningAt(t_, p, L_.opening)) || ((cats & kClose) && MatchBeginningAt(t_, p, L_.closing)) ||
           ((cats & kAdd) && MatchBeginningAt(t_, p, L_.additive)) ||
           ((cats & kMul) && MatchBeginningAt(t_, p, L_.multiplicative)) ||
           ((cats & kCmp) && MatchBeginningAt(t_, p, L_.comparison)) || ((cats & kNeg) && MatchBeginningAt(t_, p, L_.negation)) ||
           ((cats & kRef) && MatchBeginningAt(t_, p, L_.reference)) || ((cats & kPost) && MatchBeginningAt(t_, p, L_.postfix)) ||
           ((cats & kEq) && t_[q] == '=');
  }

  // One occurrence of an entry of the given list at [p, q).
  bool Postfix(std::size_t p, std::size_t q) const {
    if (p == 0) return false;
    if (Before(p, kOpen | kAdd | kMul | kCmp | kNeg | kRef | kEq)) return false;
    if (After(q, kOpen | kNeg | kRef)) return false;
    return q == n_ || After(q, kClose | kAdd | kMul | kPost | kCmp | kEq);
  }
  bool Negation(std::size_t p, std::size_t q) const {
    if (q == n_) return false;
    if (Before(p, kClose | kPost)) return false;
    if (After(q, kClose | kMul | kCmp | kPost)) return false;
    return p == 0 || Before(p, kOpen | kNeg | kRef | kMul | kCmp | kAdd | kEq) || After(q, kEq);
  }
  bool Reference(std::size_t p, std::size_t q) const {
    if (q == n_) return false;
    if (Before(p, kClose | kPost)) return false;
    if (After(q, kClose | kMul | kCmp | kAdd | kPost | kEq)) return false;
    return p == 0 || Before(p, kOpen | kNeg | kRef | kMul | kCmp | kAdd | kEq);
  }
  bool Closing(std::size_t p, std::size_t q) const {
    if (p == 0) return false;
    if (Before(p, kAdd | kMul | kCmp | kNeg | kRef | kEq)) return false;
    if (closedMember_ && q < n_ && t_[q] == '(' && t_[p] == ')') return true;  // "m.(1)(2)"
    if (After(q, kOpen | kNeg | kRef)) return false;
    return q == n_ || After(q, kClose | kAdd | kMul | kPost | kCmp | kEq);
  }
  bool Opening(std::size_t p, std::size_t q) const {
    if (q == n_) return false;
    // "m.(1)(2)": the index groups of a member chain follow each other.
    if (p == memberOpen_) return true;
    if (Before(p, kClose | kPost)) return false;
    return !After(q, kMul | kCmp | kPost | kEq);
  }
  bool Multiplicative(std::size_t p, std::size_t q) const {
    if (p == 0 || q == n_) return false;
    if (Before(p, kOpen | kAdd | kMul | kCmp | kNeg | kRef | kEq)) return false;
    return !After(q, kClose | kMul | kCmp | kPost | kEq);
  }
  bool Comparison(std::size_t p, std::size_t q, std::string_view entry) const {
    if (p == 0 || q == n_) return false;
    if (Before(p, kOpen | kAdd | kMul | kCmp | kNeg | kRef | kEq)) return false;
    if (After(q, kClose | kMul | kCmp | kPost)) return false;
    const bool noEqualsAfter = entry.size() == 2 || entry == "&" || entry == "|" || entry == ",";
    return !(noEqualsAfter && t_[q] == '=');
  }
  bool Additive(std::size_t q) const {
    if (q == n_) return false;
    return !After(q, kClose | kMul | kPost | kCmp | kEq);
  }

  // Index groups of a member chain: a "(" right behind a "." opens one, and
  // so does a "(" right behind the close of one. The "(" at memberOpen_ is
  // such a group's successor, which may stand right after a ")".
  void TrackMemberGroups(std::size_t p) const {
    const char c = t_[p];
    if (c == '(') {
      const bool afterMember = p > 0 && t_[p - 1] == ')' && closedMember_;
      groups_.push_back(p > 0 && (t_[p - 1] == '.' || afterMember) ? 1 : 0);
      memberOpen_ = afterMember ? p : std::string_view::npos;
    } else if (c == ')') {
      closedMember_ = !groups_.empty() && groups_.back();
      if (!groups_.empty()) groups_.pop_back();
    }
  }

  // Every occurrence of every entry, in one pass. The answer is a yes or
  // no, so the order in which lists are looked at doesn't change it.
  //
  // An operator between two inert bytes (in no entry, not "=": names,
  // digits, placeholders) is judged by its own byte alone: no entry of two
  // bytes can match there, "before" and "after" find nothing, it is neither
  // first nor last, and the member-chain cases need a ")" or "." beside it.
  // So the verdict for the first such comma of a list is the verdict for the
  // ten thousand that follow.
  bool Run() const {
    const InertBytes &inert = Inert();
    int8_t verdict[256];  // for a byte between inert bytes: -1 not known yet, else the answer
    std::fill(std::begin(verdict), std::end(verdict), static_cast<int8_t>(-1));
    std::size_t dotSkip = std::string_view::npos;  // the second point of ".."
    for (std::size_t p = 0; p < n_; ++p) {
      const unsigned char c = static_cast<unsigned char>(t_[p]);
      if (c >= 128 || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) continue;
      TrackMemberGroups(p);
      const bool between = p > 0 && p + 1 < n_ && inert.byte[static_cast<unsigned char>(t_[p - 1])] &&
                           inert.byte[static_cast<unsigned char>(t_[p + 1])];
      if (between && verdict[c] >= 0) {
        if (!verdict[c]) return false;
        continue;
      }
      if (!CheckAt(p, c, dotSkip)) return false;
      if (between) verdict[c] = 1;
    }
    return true;
  }

 private:
  struct InertBytes {
    bool byte[256];
  };
  // Bytes that occur in no entry of the lists, and are not "=".
  static const InertBytes &Inert() {
    static const InertBytes table = [] {
      InertBytes t{};
      std::fill(std::begin(t.byte), std::end(t.byte), true);
      const SyntaxLists &L = DefaultSyntaxLists();
      for (const TextList *list : {&L.multiplicative, &L.postfix, &L.reference, &L.opening, &L.closing, &L.additive,
                                   &L.comparison, &L.negation})
        for (int32_t k = 0; k < list->count; ++k)
          for (char ch : list->entry[k]) t.byte[static_cast<unsigned char>(ch)] = false;
      t.byte[static_cast<unsigned char>('=')] = false;
      return t;
    }();
    return table;
  }

  // The rules of every entry that begins at p.
  bool CheckAt(std::size_t p, unsigned char c, std::size_t &dotSkip) const {
    if (!Check(L_.postfix, p, [this](std::size_t a, std::size_t b, std::string_view) { return Postfix(a, b); }))
      return false;
    if (!Check(L_.negation, p, [this](std::size_t a, std::size_t b, std::string_view) { return Negation(a, b); }))
      return false;
    if (!Check(L_.reference, p, [this](std::size_t a, std::size_t b, std::string_view) { return Reference(a, b); }))
      return false;
    if (!Check(L_.closing, p, [this](std::size_t a, std::size_t b, std::string_view) { return Closing(a, b); }))
      return false;
    if (!Check(L_.opening, p, [this](std::size_t a, std::size_t b, std::string_view) { return Opening(a, b); }))
      return false;
    bool skipDot = false;
    if (c == '.') {
      if (p == dotSkip) {
        skipDot = true;
      } else if (p + 1 < n_ && t_[p + 1] == '.') {
        skipDot = true;
        dotSkip = p + 1;
      }
    }
    if (!Check(L_.multiplicative, p, [this, skipDot](std::size_t a, std::size_t b, std::string_view e) {
          if (skipDot && e == ".") return true;
          return Multiplicative(a, b);
        }))
      return false;
    if (!Check(L_.comparison, p, [this](std::size_t a, std::size_t b, std::string_view e) { return Comparison(a, b, e); }))
      return false;
    if (!Check(L_.additive, p, [this](std::size_t, std::size_t b, std::string_view) { return Additive(b); }))
      return false;
    return true;
  }

  template <class Rule>
  bool Check(const TextList &list, std::size_t p, Rule &&rule) const {
    if (!list.MayBeginWith(static_cast<unsigned char>(t_[p]))) return true;
    for (int32_t k = 0; k < list.count; ++k) {
      const std::string_view e = list.entry[k];
      if (n_ - p >= e.size() && t_.compare(p, e.size(), e) == 0 && !rule(p, p + e.size(), e)) return false;
    }
    return true;
  }

  std::string_view t_;
  std::size_t n_;
  const SyntaxLists &L_;
  mutable std::vector<uint8_t> groups_;  // one flag an open "(": opens an index group
  mutable bool closedMember_ = false;
  mutable std::size_t memberOpen_ = std::string_view::npos;
};

// A "=" that is an assignment, not part of "==", "~=", "<=", ">=".
bool IsAssignmentEqualsAt(std::string_view t, std::size_t i) {
  if (t[i] != '=') return false;
  if (i + 1 < t.size() && t[i + 1] == '=') return false;
  if (i > 0) {
    const char b = t[i - 1];
    if (b == '=' || b == '~' || b == '<' || b == '>') return false;
  }
  return true;
}

}  // namespace

int32_t TestOperatorPlacement(std::string_view text) {
  if (!text.empty() && text[0] == '=') return 0;
  if (!TestBracketNesting(text, kOpenParenBlockSquare, kCloseParenBlockSquare)) return 0;
  if (text.find("[]") != std::string_view::npos || text.find("...") != std::string_view::npos) return 0;
  return Placement(text).Run() ? 1 : 0;
}

int32_t TestAssignmentForm(std::string_view text) {
  const int64_t last = static_cast<int64_t>(text.size()) - 1;
  if (CountBrackets(text, ':', ';', 0, last) < 1 || CountBrackets(text, '(', ')', 0, last) < 1 ||
      CountBrackets(text, '[', ']', 0, last) < 1)
    return 0;
  int32_t comma = -1;
  if (FindLastTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &comma) != 1) return 0;
  if (text.empty() || text.front() == '=' || text.back() == '=') return 0;
  // The rightmost depth-0 assignment "=".
  int64_t paren = 0, square = 0, block = 0;
  std::size_t cut = std::string_view::npos;
  for (std::size_t i = text.size() - 1; i >= 1; --i) {
    switch (text[i]) {
      case ')': ++paren; break;
      case '(': --paren; break;
      case ']': ++square; break;
      case '[': --square; break;
      case ';': ++block; break;
      case ':': --block; break;
      default: break;
    }
    if (paren == 0 && square == 0 && block == 0 && IsAssignmentEqualsAt(text, i)) {
      cut = i;
      break;
    }
  }
  if (cut == std::string_view::npos) return 0;
  const std::string_view left = text.substr(0, cut);
  const std::string_view right = text.substr(cut + 1);
  int32_t pos = -1;
  if (FindTopLevelEquals(left, -1, &pos) || FindTopLevelEquals(right, -1, &pos)) return 0;
  // Nor may either side hold one at depth 0 when its commas are ignored
  // (`a=b=c` is refused). An "=" inside brackets is a statement of a body:
  // `f(n)=if:n<2,return=1,else,return=n*f(n-1);` defines a function.
  if (FindTopLevelEquals(left, 0, &pos) || FindTopLevelEquals(right, 0, &pos)) return 0;
  return 1;
}

int32_t ScreenSyntax(std::string_view text, int32_t *quotesBalanced, int32_t *operatorsPlaced,
                     int32_t *isAssignment, int32_t *hasListComma, int32_t *expressionShaped) {
  // Quotes from the first one on; a quote after an odd run of backslashes
  // is escaped and doesn't count (the first one counts regardless).
  std::size_t quotes = 0;
  const std::size_t first = text.find('"');
  if (first != std::string_view::npos) {
    quotes = 1;
    std::size_t backslashes = 0;
    for (std::size_t i = first + 1; i < text.size(); ++i) {
      const char c = text[i];
      if (c == '"' && backslashes % 2 == 0) ++quotes;
      backslashes = c == '\\' ? backslashes + 1 : 0;
    }
  }
  const int32_t balanced = quotes % 2 == 0 ? 1 : 0;
  const int32_t placed = TestOperatorPlacement(text);
  if (quotesBalanced) *quotesBalanced = balanced;
  if (operatorsPlaced) *operatorsPlaced = placed;
  if (!balanced || !placed) return 0;

  int32_t comma = -1;
  // A mismatch that stops the search counts as a comma: result 0 either way.
  const int32_t listComma = FindLastTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &comma) == 0;
  const int32_t assignment = TestAssignmentForm(text);
  int32_t equals = -1;
  const int32_t shaped = listComma || !FindTopLevelEquals(text, 0, &equals);
  if (hasListComma) *hasListComma = listComma;
  if (isAssignment) *isAssignment = assignment;
  if (expressionShaped) *expressionShaped = shaped;
  return (listComma || assignment || shaped) ? 1 : 0;
}

}  // namespace qvx
