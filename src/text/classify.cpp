// Tests of text and numbers that every floor of the language asks: is this
// a number, a plain name, a call, a sentinel; are two numbers equal.
#include "text/classify.h"

#include <array>
#include <cmath>
#include <string_view>

#include "text/scan.h"

namespace qvx {

double AtoF(std::string_view text) {
  double v = 0.0;
  if (text.empty() || !TestNumericString(text, &v)) return std::nan("");
  return v;
}

bool IsNearlyEqual(double a, double b) {
  const double h = std::hypot(a, b);
  if (!(h > 0.0)) return true;
  return std::fabs(a - b) / h <= 1e-15;
}

bool IsPlainSymbol(std::string_view text) {
  if (text.empty() || text == "i" || text == "this") return false;
  static const auto kRefused = [] {
    std::array<bool, 256> t{};
    for (unsigned char c : std::string_view("*/^,.'!#@(:[);]+-=~<>&|\"")) t[c] = true;
    return t;
  }();
  for (unsigned char c : text)
    if (kRefused[c]) return false;
  // Operators are refused above, so no sentinel can remain; a number is no name.
  return !TestNumericString(text, nullptr);
}

bool TestCallForm(std::string_view text, int32_t isPlainSymbol) {
  if (isPlainSymbol == 1 || text.size() < 3 || text.back() != ')') return false;
  const std::size_t open = text.find('(');
  if (open == std::string_view::npos || open == 0) return false;
  if (!IsPlainSymbol(text.substr(0, open))) return false;
  return CountOuterPairs(text.substr(open), '(', ')') > 0;
}

bool ContainsErrorSentinel(std::string_view text) {
  // Only the last ">" before a "<" can open a sentinel: any earlier one has
  // that ">" between, which no plain symbol holds. So one pass suffices.
  std::size_t open = std::string_view::npos;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '>') {
      open = i;
    } else if (text[i] == '<' && open != std::string_view::npos) {
      if (IsPlainSymbol(text.substr(open + 1, i - open - 1))) return true;
      open = std::string_view::npos;
    }
  }
  return false;
}

}  // namespace qvx
