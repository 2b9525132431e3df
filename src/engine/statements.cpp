// Statement execution: assignments, lists, blocks and the colon forms
// `if:`, `while:` and `for:`.
//
// A statement is run for its effect and answers a status byte: 0 failed or
// cancelled (everything around stops), 1 done, 2 `break` (the nearest loop
// ends, the enclosing list stops). Control forms are not keywords but heads
// of a colon form, `for:init,condition,step,body...;`; their pieces are
// views into the statement's text, split once per entry of the form, and
// each piece is split anew every time it runs.
//
// Cancellation is polled: after lists and control forms, and by the loops
// after every body statement, so a cancel from another thread ends any loop
// within one statement's time.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "engine/normalise.h"
#include "engine/program.h"
#include "text/scan.h"
#include "text/textarith.h"
#include "objects/environment.h"
#include "objects/object.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

constexpr std::string_view kOpen = "(:[";
constexpr std::string_view kClose = ");]";

// The reserved name that a `while` loop assigns in its init: its first byte
// can't come from a source text.
constexpr std::string_view kWhileInit = "\x01while=1";
constexpr const char *kWhileName = "\x01while";

std::string_view Strip(std::string_view t) { return StripOuterPairsView(t, '(', ')'); }

bool HasTopLevel(std::string_view text, std::string_view needle) {
  int32_t pos = -1;
  FindLastTopLevel(text, kOpen, kClose, needle, &pos);
  return pos >= 0;
}

bool EndsInPostfix(std::string_view t) { return !t.empty() && (t.back() == '!' || t.back() == '\''); }

// A top-level loop runs in a scope of its own, owned by a temporary mutant:
// names its init makes live there while it runs and move out when it ends.
struct LoopScope {
  Object *owner = nullptr;
  Environment *env = nullptr;

  explicit LoopScope(Environment *outer) {
    if (!outer) return;
    owner = static_cast<Object *>(std::calloc(1, sizeof(Object)));
    if (!owner) return;
    owner->tag = kTagMutant;
    owner->memberKind = 3;
    owner->isPublic = 1;
    owner->creationDepth = outer->scopeDepth;
    owner->parentEnvironment = outer;
    owner->environment = CreateEnvironment(owner, 0);
    env = owner->environment;
    if (!env) {
      std::free(owner);
      owner = nullptr;
      return;
    }
    env->numericMode = outer->numericMode;
    env->splitMode = outer->splitMode;
    env->updateHistory = 0;
    if (outer->scopeText) env->scopeText = DupText(outer->scopeText);
  }
  void Close(Environment *outer) {
    if (!owner) return;
    RBSTDelete(&env->objectTable, env->objectTable.root, kWhileName);
    AddEnvironment(outer, env, 0);
    FreeObject(owner);
    owner = nullptr;
  }
};

}  // namespace

uint8_t StatusOfValue(const Object *value) {
  if (!value) return 1;
  if (value->tag == kTagAlgebraic) {
    const char *t = AlgebraicText(value);
    if (!t) return 1;
    if (ContainsErrorSentinel(t)) return 0;
    if (std::strcmp(t, "break") == 0) return 2;
    return 1;
  }
  if (value->tag == kTagSplit) {
    const SplitValue *s = Split(value);
    if ((s->re && ContainsErrorSentinel(s->re)) || (s->im && ContainsErrorSentinel(s->im))) return 0;
  }
  return 1;
}

bool TestBlockForm(std::string_view text) {
  return text.size() >= 2 && text.front() == ':' && text.back() == ';' && CountOuterPairs(text, ':', ';') > 0;
}

void SplitStatementList(std::string_view text, std::vector<std::string_view> *out) {
  // One level of ":...;" goes first; nested parenthesised lists flatten.
  if (TestBlockForm(text)) text = text.substr(1, text.size() - 2);
  std::vector<std::string_view> pieces;
  SplitArgumentList(text, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 0, &pieces);
  for (std::string_view piece : pieces) {
    const std::string_view inner = Strip(piece);
    if (inner.size() < piece.size() && HasTopLevel(inner, ",")) SplitStatementList(inner, out);
    else out->push_back(inner);
  }
}

std::vector<std::string_view> SplitHead(std::string_view text) {
  std::vector<std::string_view> out;
  const std::size_t colon = text.find(':');
  bool single = text.empty() || text == "i" || colon == std::string_view::npos || EndsInPostfix(text);
  if (!single) {
    const Facts f = ScanFacts(text);
    const bool exact = f.present == kFactAll;
    single = (exact ? HasTopLevel(text, "^") || HasTopLevel(text, ",") : (f.present & (kFactCaret | kFactComma))) ||
             ((exact || (f.present & (kFactPlus | kFactMinus))) && !IsSingleTerm(text)) ||
             TestNumericString(text, nullptr) || TestMemberForm(text, f) != 0;
  }
  if (single) {
    out.push_back(text);
    return out;
  }
  if (colon == 0) {
    out.push_back(StripOuterPairsView(text, ':', ';'));
    return out;
  }
  const std::string_view head = text.substr(0, colon);
  if (!IsPlainSymbol(head)) {
    out.push_back(text);
    return out;
  }
  out.push_back(head);
  const std::string_view remainder = text.substr(colon);
  const std::size_t before = out.size();
  SplitStatementList(remainder, &out);
  if (out.size() == before) out.push_back(std::string_view());
  return out;
}

bool IsControlStatement(std::string_view text) {
  text = Strip(text);
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon < 2 || colon > 7) return false;
  const std::string_view head = text.substr(0, colon);
  if (head != "if" && head != "while" && head != "for" && head != "private") return false;
  return SplitHead(text).size() >= 2;
}

bool ConditionHolds(std::string_view condition, Environment *env) {
  int32_t owned = 0;
  Object *o = EvaluateExpression(condition, env, &owned);
  const Held held(o, owned);
  bool holds = false;
  if (o) {
    switch (o->tag) {
      case kTagNumeric: {
        const NumericValue v = *Numeric(o);
        if (v.re == 1.0 && v.im == 0.0) holds = true;
        else if (v.re != 0.0 || v.im != 0.0)
          holds = JoinComplexText(NumberText(v.re), NumberText(v.im)) == "1";
        break;
      }
      case kTagAlgebraic:
        holds = AlgebraicText(o) && std::strcmp(AlgebraicText(o), "1") == 0;
        break;
      case kTagSplit: {
        const SplitValue *s = Split(o);
        holds = JoinComplexText(s->re ? s->re : "", s->im ? s->im : "") == "1";
        break;
      }
      default:
        break;
    }
  }
  return holds;
}

uint8_t ExecuteStatementList(std::span<const std::string_view> items, Environment *env) {
  uint8_t status = 1;
  for (std::string_view item : items) {
    status = ExecuteStatement(Strip(item), env);
    if (status == 0 || status == 2) return status;
  }
  return status;
}

uint8_t ExecuteIf(std::span<const std::string_view> items, Environment *env) {
  if (items.empty()) return 0;
  const bool holds = ConditionHolds(Strip(items[0]), env);
  std::size_t k = 1;
  uint8_t status = 1;
  if (holds) {
    for (; k < items.size(); ++k) {
      const std::string_view item = Strip(items[k]);
      if (item == "else" || item == "elseif") break;
      status = ExecuteStatement(item, env);
      if (status == 0 || status == 2) break;
    }
  } else {
    while (k < items.size() && Strip(items[k]) != "else" && Strip(items[k]) != "elseif") ++k;
    if (k < items.size()) {
      if (Strip(items[k]) == "else") status = ExecuteStatementList(items.subspan(k + 1), env);
      else status = ExecuteIf(items.subspan(k + 1), env);
    }
  }
  if (env->deletedCount) PurgeDeletedObjects(env);
  return status;
}

uint8_t ExecuteWhile(std::span<const std::string_view> items, Environment *env) {
  if (items.empty()) return 0;
  std::vector<std::string_view> form;
  form.reserve(items.size() + 2);
  form.push_back(kWhileInit);
  form.push_back(items[0]);
  form.push_back(std::string_view());
  form.insert(form.end(), items.begin() + 1, items.end());
  return ExecuteFor(form, env);
}

uint8_t ExecuteFor(std::span<const std::string_view> items, Environment *env) {
  if (items.size() < 3) return 0;
  std::vector<std::string_view> parts;
  parts.reserve(items.size());
  for (std::string_view item : items) parts.push_back(Strip(item));

  LoopScope temp(nullptr == env->ownerObject ? env : nullptr);
  if (!env->ownerObject && !temp.env) return 0;
  Environment *scope = temp.env ? temp.env : env;

  uint8_t status = ExecuteStatement(parts[0], scope);
  if (status != 0) {
    status = 1;
    const std::span<const std::string_view> body(parts.data() + 3, parts.size() - 3);
    while (true) {
      if (CancelRequested(scope)) {
        status = 0;
        break;
      }
      // A loop may run as long as its user wants: the evaluation budget that
      // bounds one text is renewed for each pass.
      BeginEvaluationBudget(parts[1].size());
      if (!ConditionHolds(parts[1], scope)) break;
      bool stop = false;
      for (std::string_view statement : body) {
        const uint8_t s = ExecuteStatement(statement, scope);
        if (s == 0 || CancelRequested(scope)) {
          status = 0;
          stop = true;
          break;
        }
        if (s == 2) {
          stop = true;
          break;
        }
      }
      if (stop) break;
      if (ExecuteStatement(parts[2], scope) == 0 || CancelRequested(scope)) {
        status = 0;
        break;
      }
    }
  }
  if (temp.env) temp.Close(env);
  else if (env->objectTable.root) RBSTDelete(&env->objectTable, env->objectTable.root, kWhileName);
  return status;
}

uint8_t ExecuteStatement(std::string_view text, Environment *env) {
  if (!env || env->isScalar) return 0;
  if (env->deletedCount) PurgeDeletedObjects(env);
  text = Strip(text);
  if (TestBlockForm(text)) {
    int32_t owned = 0;
    Object *v = RunBlock(text, env, &owned);
    const Held held(v, owned);
    return StatusOfValue(v);
  }
  if (text.empty()) return 1;
  // One pass tells which separators stand at depth 0; an unbalanced text
  // (all facts present) takes the exact searches.
  const Facts facts = ScanFacts(text);
  const bool exact = facts.present == kFactAll;
  const bool comma = exact ? HasTopLevel(text, ",") : (facts.present & kFactComma) != 0;
  int32_t pos = -1;
  bool assignment = false;
  if (exact) {
    assignment = TestAssignmentForm(text) && FindTopLevelEquals(text, -1, &pos) == 1 && pos > 0;
  } else if (!comma && (facts.present & kFactAssign) && text.back() != '=') {
    // The screen's assignment test, on a text known to be balanced and
    // without a list comma: one depth-0 "=", and none on either side.
    auto noEquals = [](std::string_view part) {
      int32_t other = -1;
      return part.find('=') == std::string_view::npos || FindTopLevelEquals(part, 0, &other) == 0;
    };
    assignment = FindTopLevelEquals(text, 0, &pos) == 1 && pos > 0 &&
                 noEquals(text.substr(0, static_cast<std::size_t>(pos))) &&
                 noEquals(text.substr(static_cast<std::size_t>(pos) + 1));
  }
  if (assignment) {
    env->updateHistory = 0;
    const std::size_t p = static_cast<std::size_t>(pos);
    return AssignStatement(text.substr(0, p), text.substr(p + 1), env);
  }
  uint8_t status = 1;
  std::vector<std::string_view> list;
  if (comma) SplitStatementList(text, &list);
  if (list.size() >= 2) {
    env->updateHistory = 0;
    status = ExecuteStatementList(list, env);
  } else {
    const std::vector<std::string_view> pieces = SplitHead(text);
    if (pieces.size() < 2) {
      int32_t owned = 0;
      int32_t eq = -1;
      const bool equals = (facts.present & kFactAssign) && FindTopLevelEquals(text, comma ? 1 : 0, &eq) == 1;
      Object *v = (comma || equals) ? RunBlock(text, env, &owned) : EvaluateOperand(text, env, &owned);
      const Held held(v, owned);
      status = StatusOfValue(v);
    } else {
      const std::string_view head = pieces[0];
      const std::span<const std::string_view> rest(pieces.data() + 1, pieces.size() - 1);
      if (head == "private") {
        env->updateHistory = 0;
        status = ExecuteStatementList(rest, env);
      } else if (head == "if") {
        env->updateHistory = 0;
        status = ExecuteIf(rest, env);
      } else if (head == "while") {
        env->updateHistory = 0;
        status = ExecuteWhile(rest, env);
      } else if (head == "for") {
        env->updateHistory = 0;
        status = ExecuteFor(rest, env);
      } else {
        status = 1;
      }
    }
  }
  if (CancelRequested(env)) return 0;
  return status;
}

}  // namespace qvx
