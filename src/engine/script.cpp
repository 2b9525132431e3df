// The script entry: QuorvexScript, and the literal bookkeeping around it.
//
// One call: normalise a copy of the script (literals leave the text and
// become placeholder names in the top-level tables), screen it, run it as an
// expression, an assignment or a list, put the literal values back into the
// answer, record (input, answer) in the history, and clear the literals when
// the caller asks for it. Errors are answers too: sentinels such as
// ">invalid_expression<".
//
// While a script runs with history recording on, the scope's history is
// swapped for a scratch list, so that what inner evaluation records does not
// land between the user's entries; the one entry for the script is appended
// to the real list at the end.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "common/boundary.h"
#include "engine/evaluate.h"
#include "engine/normalise.h"
#include "engine/program.h"
#include "text/scan.h"
#include "text/textarith.h"
#include "objects/environment.h"
#include "persistence/rbst.h"

namespace qvx {
namespace {

// Enters a literal object under its placeholder in the top-level tables.
void EnterLiteral(Environment *top, const char *placeholder, Object *o) {
  if (!o) return;
  o->memberKind = 1;
  o->creationDepth = 0;
  RBSTInsert(&top->objectTable, top->objectTable.root, placeholder, o);
  auto *cell = static_cast<Object **>(std::malloc(sizeof(Object *)));
  if (!cell) return;
  *cell = o;
  RBSTInsert(&top->temporaryNames, top->temporaryNames.root, placeholder, cell);
}

}  // namespace

LiteralSink NewLiteralSink(Environment *top) {
  LiteralSink sink;
  sink.context = top;
  sink.seed = top && top->seed ? *top->seed : 0;
  sink.nameExists = [](void *ctx, const char *name) -> int32_t {
    auto *top = static_cast<Environment *>(ctx);
    return RBSTFind(top->objectTable.root, name) != nullptr;
  };
  sink.addStringLiteral = [](void *ctx, const char *placeholder, const char *quoted) -> int32_t {
    auto *top = static_cast<Environment *>(ctx);
    std::string_view q(quoted);
    if (q.size() >= 2 && q.front() == '"' && q.back() == '"') q = q.substr(1, q.size() - 2);
    const std::string value = UnescapeStringCopy(q);
    EnterLiteral(top, placeholder, NewStringObject(value.c_str(), top));
    return 1;
  };
  sink.addNumberLiteral = [](void *ctx, const char *placeholder, const char *text) -> int32_t {
    auto *top = static_cast<Environment *>(ctx);
    double v = 0.0;
    const bool numeric = ParseShortDecimal(text, &v) || TestNumericString(text, &v);
    Object *o = numeric ? NewNumericValueObject(v, 0.0, top) : NewAlgebraicObject(text, top);
    EnterLiteral(top, placeholder, o);
    return 1;
  };
  return sink;
}

namespace {

// Deeper bracket nesting than this is refused before evaluation: each level
// costs a recursion and a search of what it encloses.
constexpr int32_t kMaxNesting = 5000;

thread_local int32_t tScriptDepth = 0;



Object *CellObject(void *cell) { return cell ? *static_cast<Object **>(cell) : nullptr; }

// The text a literal object stands for, in the form normalisation keys it.
bool LiteralText(const Object *o, int32_t digits, std::string *out) {
  if (!o) return false;
  switch (o->tag) {
    case kTagString:
      *out = "\"" + EscapeCharactersCopy(StringText(o), "\"\\") + "\"";
      return true;
    case kTagAlgebraic:
      *out = AlgebraicText(o) ? AlgebraicText(o) : "";
      return true;
    case kTagNumeric: {
      const int32_t d = std::min(digits, 15);
      // With no imaginary part the join gives the real text alone (a finite
      // value prints as a number, never as a sentinel).
      const double re = Numeric(o)->re;
      if (Numeric(o)->im == 0 && std::isfinite(re)) {
        if (d != 15 || !ShortNumberText(re, out)) *out = NumberText(re, d);
        return true;
      }
      *out = JoinComplexText(NumberText(Numeric(o)->re, d), NumberText(Numeric(o)->im, d));
      return true;
    }
    case kTagBignum:
      *out = ObjectToText(o, 0, digits);
      return true;
    default:
      return false;
  }
}

LiteralSink MakeSink(Environment *top) {
  LiteralSink sink = NewLiteralSink(top);
  sink.forEachLiteral = [](void *ctx, void (*visit)(void *, const char *, const char *), void *cookie) {
    auto *top = static_cast<Environment *>(ctx);
    ForEachNode(top->temporaryNames.root, [&](RBSTNode *n) {
      std::string text;
      if (LiteralText(CellObject(n->value), 15, &text)) visit(cookie, n->key, text.c_str());
    });
  };
  return sink;
}

int32_t MaxNesting(std::string_view t) {
  int32_t depth = 0, deepest = 0;
  for (char c : t) {
    if (c == '(' || c == '[' || c == ':') deepest = std::max(deepest, ++depth);
    else if (c == ')' || c == ']' || c == ';') --depth;
  }
  return deepest;
}

// The statements of a list: one level of ":...;" stripped, split at
// depth-0 commas, each piece stripped of its parentheses and split again
// while it still holds a list comma. Nested lists flatten into one.
void SplitList(std::string_view text, std::vector<std::string_view> *out, int depth) {
  text = StripOuterPairsView(text, ':', ';');
  std::vector<std::string_view> pieces;
  SplitArgumentList(text, kOpenBlockParenSquare, kCloseBlockParenSquare, ',', 0, &pieces);
  for (std::string_view piece : pieces) {
    const std::string_view inner = StripOuterPairsView(piece, '(', ')');
    int32_t pos = -1;
    const bool again = depth < 64 && inner.size() < piece.size() &&
                       FindLastTopLevel(inner, kOpenParenBlockSquare, kCloseParenBlockSquare, ",", &pos) == 0 &&
                       pos >= 0;
    if (again) SplitList(inner, out, depth + 1);
    else out->push_back(inner);
  }
}

std::string RunExpression(const std::string &text, Environment *env) {
  int32_t owned = 0;
  Object *result = EvaluateExpression(text, env, &owned);
  const Held held(result, owned);
  const Object *o = held.object;
  if (!o) return std::string(kSentinelInvalidExpression);
  Environment *top = TopLevelOf(env);
  std::string out = ObjectToText(o, 0, top ? top->significantDigits : 15);
  if (o->tag == kTagAlgebraic || o->tag == kTagSplit) RestoreLiterals(out, 15, env);
  return out;
}

// A control statement ("if:...;", "for:...;") runs for its effect: its
// answer is empty, or a sentinel when it failed.
std::string RunControl(const std::string &text, Environment *env) {
  if (ExecuteStatement(text, env)) return std::string();
  return std::string(CancelRequested(env) ? kSentinelAborted : kSentinelInvalidExpression);
}

std::string RunAssignment(const std::string &text, Environment *env) {
  int32_t pos = -1;
  if (FindTopLevelEquals(text, 0, &pos) != 1 || pos < 0) return std::string(kSentinelInvalidExpression);
  const std::string left = text.substr(0, static_cast<std::size_t>(pos));
  std::string right = text.substr(static_cast<std::size_t>(pos) + 1);
  RestoreLiterals(right, 15, env);
  std::string out;
  if (ExecuteStatement(text, env)) out = left + " <- " + right;
  else out = std::string(kSentinelInvalidExpression);
  RestoreLiterals(out, 15, env);
  if (ContainsErrorSentinel(out) && out != kSentinelAborted && out != kSentinelInvalidAssignment)
    out = std::string(kSentinelInvalidExpression);
  return out;
}

std::string RunScript(std::string_view input, Environment *env, int32_t clearLiterals, bool normalised);

// The statements of a list run one after the other, each as a script of its
// own, and their answers are joined. A statement is a piece of a text that is
// normalised already, so it is screened but not normalised again.
std::string RunList(const std::string &text, Environment *env) {
  std::vector<std::string_view> statements;
  SplitList(text, &statements, 0);
  std::string out;
  bool first = true;
  for (std::string_view s : statements) {
    std::string answer;
    if (!Guard(false, [&] {
          answer = RunScript(s, env, 0, true);
          return true;
        }))
      answer = std::string(kSentinelInvalidExpression);
    if (first) out.append(answer);
    else if (!answer.empty()) out.append("\n\n").append(answer);
    first = false;
    WipeString(answer);
  }
  return out;
}

std::string RunScript(std::string_view input, Environment *env, int32_t clearLiterals, bool normalised) {
  std::string text(input);
  if (!normalised) {
    const LiteralSink sink = MakeSink(TopLevelOf(env));
    NormaliseText(text, &sink);
  }
  int32_t quotes = 0, placed = 0, assignment = 0, list = 0, expression = 0;
  const int32_t runnable = ScreenSyntax(text, &quotes, &placed, &assignment, &list, &expression);
  std::string result;
  if (!runnable) {
    result = CancelRequested(env) ? kSentinelAborted : kSentinelInvalidExpression;
    if (env->updateHistory) AppendToHistoryList(env->history, std::string(input).c_str(), result.c_str());
  } else {
    const uint8_t remembered = env->updateHistory;
    HistoryList *saved = nullptr;
    if (remembered) {
      saved = env->history;
      env->history = NewHistoryList();
    }
    if (MaxNesting(text) > kMaxNesting) result = kSentinelInvalidExpression;
    else if (list) result = RunList(text, env);
    else if (assignment) result = RunAssignment(text, env);
    else if (IsControlStatement(text)) result = RunControl(text, env);
    else result = RunExpression(text, env);
    if (remembered) {
      AppendToHistoryList(saved, std::string(input).c_str(), result.c_str());
      FreeHistoryList(env->history);
      env->history = saved;
    }
    env->updateHistory = remembered;
  }
  WipeString(text);
  RemoveReturnObject(env);
  if (env->deletedCount) PurgeDeletedObjects(env);
  if (clearLiterals) ClearLiterals(env, 1);
  return result;
}

}  // namespace

void ProtectRuntimeStrings(std::string &text, Environment *env) {
  Environment *top = TopLevelOf(env);
  const LiteralSink sink = MakeSink(top);
  char *owned = DupText(text.data(), text.size());
  if (!owned) return;
  ProtectStrings(&owned, &sink);
  WipeString(text);
  text.assign(owned);
  WipeAndFree(owned);
}

void RestoreLiterals(std::string &text, int32_t digits, Environment *env) {
  Environment *top = TopLevelOf(env);
  if (!top || top->isScalar || top->temporaryNames.size == 0) return;
  const bool anyHigh = std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 128; });
  if (!anyHigh) return;
  // One left-to-right pass, longest placeholder first at each position, so
  // that a short placeholder never matches inside a longer one and a
  // restored value is never read again. Only the lengths of the names are
  // gathered beforehand: a value is printed when its placeholder occurs, so
  // an answer that names a few of ten thousand literals prints a few.
  std::vector<std::size_t> lengths;
  ForEachNode(top->temporaryNames.root, [&lengths](RBSTNode *n) {
    const std::size_t len = std::strlen(n->key);
    if (len && std::find(lengths.begin(), lengths.end(), len) == lengths.end()) lengths.push_back(len);
  });
  if (lengths.empty()) return;
  std::sort(lengths.rbegin(), lengths.rend());
  std::unordered_map<const RBSTNode *, std::string> printed;
  std::string key;
  // The printed value of the literal of that name, or null.
  auto valueAt = [&](std::string_view name) -> const std::string * {
    if (name.find('\0') != std::string_view::npos) return nullptr;  // no key holds one
    key.assign(name);
    const RBSTNode *n = RBSTFind(top->temporaryNames.root, key.c_str());
    if (!n) return nullptr;
    auto it = printed.find(n);
    if (it == printed.end()) {
      std::string value;
      if (!LiteralText(CellObject(n->value), digits, &value)) return nullptr;
      it = printed.emplace(n, std::move(value)).first;
    }
    return &it->second;
  };
  std::string out;
  out.reserve(text.size() + 16);
  const std::string_view t(text);
  for (std::size_t i = 0; i < t.size();) {
    if (static_cast<unsigned char>(t[i]) < 128) {
      out.push_back(t[i++]);
      continue;
    }
    bool matched = false;
    for (std::size_t len : lengths) {
      if (len > t.size() - i) continue;
      const std::string *value = valueAt(t.substr(i, len));
      if (!value) continue;
      out += *value;
      i += len;
      matched = true;
      break;
    }
    if (!matched) out.push_back(t[i++]);
  }
  WipeString(key);
  for (auto &entry : printed) WipeString(entry.second);
  WipeString(text);
  text.swap(out);
}

char *RestoreLiterals(char **text, int32_t digits, Environment *env) {
  if (!text || !*text) return text ? *text : nullptr;
  std::string t(*text);
  RestoreLiterals(t, digits, env);
  if (t != *text) {
    if (char *copy = DupText(t.data(), t.size())) {
      WipeAndFree(*text);
      *text = copy;
    }
  }
  WipeString(t);
  return *text;
}

void ClearLiterals(Environment *env, int32_t flag) {
  if (!env || env->isScalar) return;
  auto reset = [](RBST *t) {
    if (t->size == 0) return;
    RBSTFreeValues(t, t->root);
    RBSTFreeNodes(t, t->root);
    *t = RBSTInitialize(t->free_value, t->read_value, t->write_value, t->copy_value);
  };
  if (flag) {
    Environment *top = TopLevelOf(env);
    if (top && !top->isScalar && top->temporaryNames.size > 0) {
      std::vector<std::string> keys;
      keys.reserve(static_cast<std::size_t>(top->temporaryNames.size));
      ForEachNode(top->temporaryNames.root, [&keys](RBSTNode *n) { keys.emplace_back(n->key); });
      for (std::string &k : keys) {
        RBSTDelete(&top->objectTable, top->objectTable.root, k.c_str());
        WipeString(k);
      }
      reset(&top->temporaryNames);
    }
  }
  reset(&env->temporaryNames);
}

std::string RunScriptText(std::string_view script, Environment *env, int32_t clearLiterals) {
  if (!env || env->isScalar) return std::string(kSentinelInvalidExpression);
  const bool outermost = tScriptDepth == 0;
  if (outermost) BeginEvaluationBudget(script.size());
  ++tScriptDepth;
  std::string result;
  const bool ran = Guard(false, [&] {
    result = RunScript(script, env, clearLiterals, false);
    return true;
  });
  --tScriptDepth;
  // What `delete` parked while the script ran is no longer referenced.
  if (outermost) GuardVoid([env] { FlushDeletedObjects(env); });
  if (!ran) {
    WipeString(result);
    result = std::string(kSentinelInvalidExpression);
  }
  return result;
}

}  // namespace qvx

using namespace qvx;

extern "C" {

QVX_API char *QuorvexScript(const char *script, Environment *env, int32_t clearLiterals) noexcept {
  return Guard(static_cast<char *>(nullptr), [&]() -> char * {
    std::string result = RunScriptText(script ? script : "", env, clearLiterals);
    char *text = DupText(result.data(), result.size());
    WipeString(result);
    return text;
  });
}

}  // extern "C"
