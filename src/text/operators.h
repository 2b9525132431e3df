// The operator finders of the evaluator, shared with the symbolic functions.
//
// Texts are std::string_view into the caller's buffer. What one search learnt
// about a text (which operators are absent at depth 0) is passed on to the
// searches of its halves as Facts.
#pragma once

#include <cstdint>
#include <string_view>

namespace qvx {

// Depth-0 knowledge about a text: bit set in `known` = bit in `present` is
// meaningful. Bits are raw characters at depth 0 (a "+" present may still be
// a unary sign); an absent bit is exact.
struct Facts {
  uint32_t known = 0;
  uint32_t present = 0;
  bool Absent(uint32_t bit) const { return (known & bit) && !(present & bit); }
};
enum FactBit : uint32_t {
  kFactPlus = 1u << 0,
  kFactMinus = 1u << 1,
  kFactStar = 1u << 2,
  kFactSlash = 1u << 3,
  kFactCaret = 1u << 4,
  kFactComma = 1u << 5,
  kFactEquals = 1u << 6,
  kFactLess = 1u << 7,
  kFactGreater = 1u << 8,
  kFactAnd = 1u << 9,
  kFactOr = 1u << 10,
  kFactTilde = 1u << 11,
  kFactDot = 1u << 12,
  kFactPostfix = 1u << 13,
  // An "=" that FindTopLevelEquals would take: not the first character and
  // not part of "==", "~=", "<=" or ">=".
  kFactAssign = 1u << 14,
  kFactAll = (1u << 15) - 1,
};
// One pass over the text; a bracket mismatch marks everything present.
Facts ScanFacts(std::string_view text);

// Facts as given when complete, or read afresh from the text.
inline Facts Known(Facts f, std::string_view text) {
  if (f.known == kFactAll) return f;
  return ScanFacts(text);
}
// True when every operator of `bits` is known to be absent.
inline bool AllAbsent(const Facts &f, uint32_t bits) { return (f.known & bits) == bits && !(f.present & bits); }

// Position of the loosest logical or comparison operator, its length in
// *length; below 1 when there is none.
int32_t FindLogicalOperator(std::string_view text, int32_t *length, Facts facts = {});
// Position of the binary arithmetic operator that splits the text (the
// operator character in *op), or -1.
int32_t FindArithmeticOperator(std::string_view text, char *op, Facts facts = {});

// Position of a depth-0 operator spelling: the rightmost, or the leftmost
// with `first`; -1 when there is none or the brackets do not match. The
// symbolic rewriters split at it.
int32_t FindOperator(std::string_view text, std::string_view op, bool first);

// As FindArithmeticOperator, recording in *noBinary the operators found to
// have no binary occurrence (valid for every depth-0 prefix of the text), so
// that the search of the left half of a split skips them.
int32_t FindArithmeticOperatorTracked(std::string_view text, char *op, const Facts &facts, uint32_t *noBinary);

}  // namespace qvx
