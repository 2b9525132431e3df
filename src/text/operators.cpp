// The operator finders of the evaluator, shared with the symbolic functions.
//
// Precedence is the order in which operators are looked for at bracket depth
// 0: the loosest kind found splits the text. ScanFacts reads a text once and
// records which operator bytes stand at depth 0, so that the finders (and
// the finders of the halves of a split) skip every kind that is absent.
#include "text/operators.h"

#include <cstdint>
#include <string_view>
#include <vector>

#include "common/guards.h"
#include "text/scan.h"

namespace qvx {

namespace {
// One load classifies a byte for ScanFacts: its fact bit, or its bracket
// kind (1 to 3 opening, -1 to -3 closing), or kEqualsClass for "=", whose
// meaning depends on its neighbours.
constexpr int8_t kEqualsClass = 4;
struct FactTable {
  uint32_t bit[256] = {};
  int8_t bracket[256] = {};
  constexpr FactTable() {
    const char *ops = "+-*/^,=<>&|~.!'";
    const uint32_t bits[] = {kFactPlus,  kFactMinus, kFactStar, kFactSlash, kFactCaret,
                             kFactComma, kFactEquals, kFactLess, kFactGreater, kFactAnd,
                             kFactOr,    kFactTilde, kFactDot,  kFactPostfix, kFactPostfix};
    for (int k = 0; ops[k]; ++k) bit[static_cast<unsigned char>(ops[k])] = bits[k];
    bit[static_cast<unsigned char>('=')] = 0;
    bracket[static_cast<unsigned char>('=')] = kEqualsClass;  // needs its neighbours
    bracket[static_cast<unsigned char>('(')] = 1;
    bracket[static_cast<unsigned char>(':')] = 2;
    bracket[static_cast<unsigned char>('[')] = 3;
    bracket[static_cast<unsigned char>(')')] = -1;
    bracket[static_cast<unsigned char>(';')] = -2;
    bracket[static_cast<unsigned char>(']')] = -3;
  }
};
constexpr FactTable kFactTable{};
}  // namespace

Facts ScanFacts(std::string_view text) {
  SpendBudget(text.size());
  Facts f;
  f.known = kFactAll;
  // Bracket kinds on a stack, so that a mismatch is noticed as the searches
  // notice it. The stack lives on the C stack up to a depth of 256, and in a
  // per-thread buffer (reused by every call) beyond.
  const std::size_t n = text.size();
  unsigned char local[256];
  unsigned char *stack = local;
  if (n > sizeof local) {
    thread_local std::vector<unsigned char> deep;
    if (deep.size() < n) deep.resize(n);
    stack = deep.data();
  }
  std::size_t depth = 0;
  uint32_t present = 0;
  uint32_t mask = ~0u;  // every bit at depth 0, none inside brackets
  const unsigned char *s = reinterpret_cast<const unsigned char *>(text.data());
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned char c = s[i];
    const int8_t kind = kFactTable.bracket[c];
    if (kind == 0) {
      present |= kFactTable.bit[c] & mask;
    } else if (kind == kEqualsClass) {
      if (mask) {
        present |= kFactEquals;
        if (i > 0 && (i + 1 >= n || s[i + 1] != '=')) {
          const unsigned char before = s[i - 1];
          if (before != '~' && before != '=' && before != '<' && before != '>') present |= kFactAssign;
        }
      }
    } else if (kind > 0) {
      stack[depth++] = static_cast<unsigned char>(kind);
      mask = 0;
    } else {
      if (depth == 0 || stack[--depth] != -kind) {
        f.present = kFactAll;
        return f;
      }
      mask = depth == 0 ? ~0u : 0u;
    }
  }
  if (depth != 0) present = kFactAll;  // unclosed: let the exact searches judge
  f.present = present;
  return f;
}

int32_t FindLogicalOperator(std::string_view text, int32_t *length, Facts facts) {
  facts = Known(facts, text);
  struct Level {
    std::string_view needle;
    bool last;
    uint32_t needs;
  };
  static constexpr Level kLevels[] = {
      {"|", false, kFactOr},
      {"&", false, kFactAnd},
      {"<=", true, kFactLess | kFactEquals},
      {">=", false, kFactGreater | kFactEquals},
      {"==", false, kFactEquals},
      {"~=", false, kFactTilde | kFactEquals},
      {"<", true, kFactLess},
      {">", false, kFactGreater},
  };
  for (const Level &level : kLevels) {
    if ((facts.present & level.needs) != level.needs) continue;
    int32_t pos = -1;
    if (level.last) FindLastTopLevel(text, kOpenBlockParenSquare, kCloseBlockParenSquare, level.needle, &pos);
    else FindFirstTopLevel(text, kOpenBlockParenSquare, kCloseBlockParenSquare, level.needle, &pos);
    if (pos >= 1) {
      if (length) *length = static_cast<int32_t>(level.needle.size());
      return pos;
    }
  }
  if (length) *length = 0;
  return -1;
}

// As FindArithmeticOperator, recording in *noBinary the operators found to
// have no binary occurrence (valid for every depth-0 prefix of the text).
int32_t FindArithmeticOperatorTracked(std::string_view text, char *op, const Facts &facts, uint32_t *noBinary) {
  std::size_t lead = 0;
  while (lead < text.size() && (text[lead] == '+' || text[lead] == '-')) ++lead;
  auto skip = [&](uint32_t bit) { return AllAbsent(facts, bit) || (*noBinary & bit); };
  struct Level {
    char c;
    uint32_t bit;
    int kind;  // 0 additive, 1 last, 2 first
  };
  static constexpr Level kLevels[] = {
      {'+', kFactPlus, 0}, {'-', kFactMinus, 0}, {'*', kFactStar, 1}, {'/', kFactSlash, 1}, {'^', kFactCaret, 2},
  };
  for (const Level &level : kLevels) {
    if (skip(level.bit)) continue;
    const std::string_view needle(&level.c, 1);
    int32_t pos = -1;
    if (level.kind == 0) pos = FindAdditive(text, needle);
    else if (level.kind == 1) FindLastTopLevel(text, kOpenBlockParenSquare, kCloseBlockParenSquare, needle, &pos);
    else FindFirstTopLevel(text, kOpenBlockParenSquare, kCloseBlockParenSquare, needle, &pos);
    if (pos >= 1 && static_cast<std::size_t>(pos) >= lead) {
      if (op) *op = level.c;
      return pos;
    }
    *noBinary |= level.bit;
  }
  return -1;
}

int32_t FindOperator(std::string_view text, std::string_view op, bool first) {
  int32_t pos = -1;
  const int32_t r = first ? FindFirstTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, op, &pos)
                          : FindLastTopLevel(text, kOpenParenBlockSquare, kCloseParenBlockSquare, op, &pos);
  return r == 0 ? pos : -1;
}

int32_t FindArithmeticOperator(std::string_view text, char *op, Facts facts) {
  uint32_t noBinary = 0;
  return FindArithmeticOperatorTracked(text, op, facts, &noBinary);
}

}  // namespace qvx
