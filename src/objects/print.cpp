// Text forms of objects and scopes.
//
// Two forms: the display form, for people, and the source form, which the
// engine can read back. Numbers print through DoubleString; a complex number
// is joined into one expression text ("4*i-3"). While the cancel flag of the
// object's scope is set, every form is ">evaluation_aborted<".
#include <string>
#include <vector>

#include "objects/print.h"

#include "common/boundary.h"
#include "common/guards.h"
#include "objects/array.h"
#include "objects/environment.h"
#include "objects/matrix.h"
#include "objects/object.h"
#include "persistence/rbst.h"
#include "text/scan.h"
#include "text/sentinels.h"
#include "text/textarith.h"

namespace qvx {
namespace {

std::string Quoted(const char *value) {
  std::string out = "\"";
  out += EscapeCharactersCopy(value ? value : "", "\"\\");
  out += '"';
  return out;
}


// Keys hidden from listings: element keys (a leading blank) and literal
// placeholders (bytes 128..255).
// Keys with a control byte anywhere belong to the engine: frame names,
// shadows, return keys, parked objects.
bool Hidden(const char *key) {
  const auto c = static_cast<unsigned char>(key ? key[0] : 0);
  if (c == 0 || c == ' ' || c >= 128) return true;
  for (const char *p = key; *p; ++p)
    if (static_cast<unsigned char>(*p) < 32) return true;
  return false;
}

std::string ScopeListing(Environment *env, int32_t sourceForm, int32_t showFunctions, int depth);

std::string Members(const Object *o, int32_t sourceForm, int depth) {
  if (!o->environment || o->environment->isScalar || depth > 64) return std::string();
  return ScopeListing(o->environment, sourceForm, 0, depth + 1);
}

std::string ScopeListing(Environment *env, int32_t sourceForm, int32_t showFunctions, int depth) {
  if (!env || env->isScalar) return std::string();
  PurgeDeletedObjects(env);
  const std::string indent(static_cast<std::size_t>(depth) * 2 + 2, ' ');
  std::string out;
  auto section = [&](const char *head, std::string body) {
    if (body.empty()) return;
    if (!out.empty()) out += '\n';
    out.append(static_cast<std::size_t>(depth) * 2, ' ');  // nested listings indent their heads too
    out += head;
    out += '\n';
    out += body;
  };
  std::string classes, objects, functions;
  ForEachNode(env->classTable.root, [&](RBSTNode *n) {
    if (!Hidden(n->key)) classes += indent + n->key + "\n";
  });
  ForEachNode(env->objectTable.root, [&](RBSTNode *n) {
    if (Hidden(n->key) || !n->value) return;
    // A value on several lines (an array, a matrix, a mutant) is laid out
    // relative to its own first line; its later lines move in with the entry.
    std::string text = ObjectToText(static_cast<Object *>(n->value), sourceForm);
    if (!sourceForm && text.find('\n') != std::string::npos) {
      std::string moved;
      moved.reserve(text.size() + 64);
      for (const char c : text) {
        moved += c;
        if (c == '\n') moved += indent;
      }
      text.swap(moved);
    }
    objects += indent + n->key + " = " + text + "\n";
  });
  if (showFunctions)
    ForEachNode(env->functionTable.root, [&](RBSTNode *n) {
      if (!Hidden(n->key)) functions += indent + n->key + "\n";
    });
  section("CLASSES", classes);
  section("OBJECTS", objects);
  section("FUNCTIONS", functions);
  return out;
}

std::string Headed(const char *head, const Object *o, int32_t sourceForm) {
  std::string out = head;
  std::string members = Members(o, sourceForm, 0);
  while (!members.empty() && members.back() == '\n') members.pop_back();
  if (!members.empty()) {
    out += '\n';
    out += members;
  }
  return out;
}

// Arrays. The display form is the head "(array)" and one element a line,
// indented by two blanks as a listing indents members; an element on several
// lines (a nested array, a mutant) has each line indented, so nesting shows.
// The source form is "array:count,e0,e1,...;", which the array construct
// reads back: the leading count keeps a one-element array apart from the
// form "array:n;" that builds n zeros. An empty array is "array:;".
std::string ArrayText(const Object *o, int32_t sourceForm, int32_t digits) {
  const int32_t count = ArrayCount(o);
  if (sourceForm && count == 0) return "array:;";
  if (StackExhausted()) return std::string(kSentinelInvalidExpression);
  std::string out = sourceForm ? "array:" + std::to_string(count) : std::string("(array)");
  for (int32_t i = 0; i < count; ++i) {
    if ((i & 1023) == 0 && CancelRequested(o->environment)) return std::string(kSentinelAborted);
    const std::string element = ObjectToText(ArrayElementAt(o, i), sourceForm, digits);
    if (sourceForm) {
      out += ',';
      out += element;
      continue;
    }
    out += "\n  ";
    for (const char c : element) {
      out += c;
      if (c == '\n') out += "  ";
    }
  }
  if (CancelRequested(o->environment)) return std::string(kSentinelAborted);
  if (sourceForm) out += ';';
  return out;
}

}  // namespace

std::string ListScope(Environment *env, int32_t sourceForm, int32_t showFunctions) {
  return ScopeListing(env, sourceForm, showFunctions, 0);
}

std::string ObjectToText(const Object *o, int32_t sourceForm, int32_t digits) {
  if (!o) return std::string(kSentinelInvalidObject);
  if (o->environment && CancelRequested(o->environment)) return std::string(kSentinelAborted);
  if (o->parentEnvironment && CancelRequested(o->parentEnvironment)) return std::string(kSentinelAborted);
  if (digits < 1) digits = 15;
  std::string out;
  switch (o->tag) {
    case kTagAlgebraic:
      out = AlgebraicText(o) ? AlgebraicText(o) : "";
      break;
    case kTagSplit:
      out = JoinComplexText(Split(o)->re ? Split(o)->re : "", Split(o)->im ? Split(o)->im : "");
      break;
    case kTagNumeric:
      out = JoinComplexText(NumberText(Numeric(o)->re, digits), NumberText(Numeric(o)->im, digits));
      break;
    case kTagBignum:
      // Printed by the big-number module; a bignum without a value has no digits.
      out = o->payload ? "" : "";
      break;
    case kTagString:
      out = Quoted(StringText(o));
      break;
    case kTagArray:
      out = ArrayText(o, sourceForm, digits);
      break;
    case kTagMatrix: {
      const Tensor *t = static_cast<const Tensor *>(o->payload);
      out = sourceForm ? MatrixLiteral(t, digits) : MatrixDisplay(t, digits);
      break;
    }
    case kTagMap:
      out = sourceForm ? "map:;" : "(map)";
      break;
    case kTagNode:
      out = Headed("(node)", o, sourceForm);
      break;
    case kTagMutant:
      out = Headed("(mutant)", o, sourceForm);
      break;
    case kTagClassDefinition:
      out = "class_definition:;";
      break;
    case kTagTopLevel:
      out = ScopeListing(o->environment, sourceForm, 0, 0);
      break;
    default:
      out = Headed(o->className ? o->className : "", o, sourceForm);
      break;
  }
  if (o->memberKind == 2) out += " (private)";
  return out;
}

char *ObjectToText(const Object *object, int32_t sourceForm, int32_t digits, std::size_t *length) {
  const std::string text = ObjectToText(object, sourceForm, digits);
  if (length) *length = text.size();
  return DupText(text.data(), text.size());
}

}  // namespace qvx
