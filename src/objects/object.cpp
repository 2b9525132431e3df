// The Object record: constructors, conversions, copy and free.
//
// Read object.h first. Scalars (tags 1, 11, 12) get a ScalarEnvironment, all
// other tags a full Environment that the object owns. Copying is deep and
// runs on every store; freeing wipes every text it releases.
//
// The big-number slots (tag 13) call into the big-number module through weak
// references, so this file links whether or not that module is present; a
// bignum built without it has a null payload and prints no digits.
#include "objects/object.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "common/boundary.h"
#include "objects/print.h"
#include "common/globals.h"
#include "text/scan.h"
#include "text/textarith.h"
#include "objects/environment.h"

#pragma weak CopyBitArrayFloat
#pragma weak FreeBitArrayFloat
#pragma weak PrintBitArrayFloatToDecimal
#pragma weak WriteBitArrayFloat
#pragma weak ReadBitArrayFloat

namespace qvx {

static_assert(kTagCount == kObjectTagCount, "the dispatch table is square in the object tags");
namespace {

// Wipes a text with zeros and frees it. explicit_bzero is not optimised
// away and runs at memory speed, which matters for long algebraic texts.
void WipeText(char *t) {
  if (!t) return;
  explicit_bzero(t, std::strlen(t));
  std::free(t);
}

void FreeTextPayload(void *p) { WipeText(static_cast<char *>(p)); }

void WriteBytes(const void *data, std::size_t n, void *stream, StreamMode mode) {
  if (!stream) return;
  if (mode == 1) std::fwrite(data, 1, n, static_cast<std::FILE *>(stream));
  else MemWrite(data, 1, n, static_cast<MemFile *>(stream));
}

bool ReadBytes(void *data, std::size_t n, void *stream, StreamMode mode) {
  if (!stream) return false;
  std::memset(data, 0, n);
  if (mode == 1) return std::fread(data, 1, n, static_cast<std::FILE *>(stream)) == n;
  return MemRead(data, 1, n, static_cast<MemFile *>(stream)) == n;
}

void FreeNumericPayload(void *p) { std::free(p); }
void WriteNumericPayload(void *p, void *stream, StreamMode mode) {
  if (p) WriteBytes(p, sizeof(NumericValue), stream, mode);
}
void *ReadNumericPayload(void *stream, StreamMode mode) {
  auto *v = static_cast<NumericValue *>(std::malloc(sizeof(NumericValue)));
  if (v) ReadBytes(v, sizeof(NumericValue), stream, mode);
  return v;
}
void *CopyNumericPayload(void *p) {
  if (!p) return nullptr;
  auto *v = static_cast<NumericValue *>(std::malloc(sizeof(NumericValue)));
  if (v) *v = *static_cast<NumericValue *>(p);
  return v;
}

void FreeSplitPayload(void *p) {
  if (!p) return;
  auto *s = static_cast<SplitValue *>(p);
  WipeText(s->re);
  WipeText(s->im);
  std::free(s);
}
void *CopySplitPayload(void *p) {
  if (!p) return nullptr;
  auto *s = static_cast<SplitValue *>(p);
  auto *c = static_cast<SplitValue *>(std::malloc(sizeof(SplitValue)));
  if (!c) return nullptr;
  c->re = DupText(s->re ? s->re : "");
  c->im = DupText(s->im ? s->im : "");
  return c;
}

void FreeBignumPayload(void *p) {
  if (p && FreeBitArrayFloat) FreeBitArrayFloat(static_cast<BitArrayFloat *>(p));
}
void WriteBignumPayload(void *p, void *stream, StreamMode mode) {
  if (p && WriteBitArrayFloat) WriteBitArrayFloat(static_cast<BitArrayFloat *>(p), stream, mode);
}
void *ReadBignumPayload(void *stream, StreamMode mode) {
  return ReadBitArrayFloat ? ReadBitArrayFloat(stream, mode) : nullptr;
}
void *CopyBignumPayload(void *p) {
  if (!p || !CopyBitArrayFloat) return nullptr;
  return CopyBitArrayFloat(static_cast<BitArrayFloat *>(p));
}

Object *NewBase(int32_t tag, Environment *parent) {
  // malloc and a zeroed record rather than calloc: calloc bypasses the
  // allocator's per-thread cache, and an evaluator makes and drops one
  // record per intermediate number.
  auto *o = static_cast<Object *>(std::malloc(sizeof(Object)));
  if (!o) return nullptr;
  *o = Object{};
  o->tag = tag;
  o->isPublic = 1;
  o->creationDepth = parent ? parent->scopeDepth : 0;
  o->parentEnvironment = parent;
  return o;
}

// An object with a full scope of its own.
Object *NewScoped(int32_t tag, Environment *parent) {
  Object *o = NewBase(tag, parent);
  if (!o) return nullptr;
  o->environment = CreateEnvironment(o, 0);
  return o;
}

// A per-thread stock of freed numeric records, each still holding its
// payload and its ScalarEnvironment. The evaluator makes and drops one
// number per operator it applies; taking the three blocks back from here
// saves three allocations and three frees a number. A record is fully
// re-initialised when it leaves the stock (its scope is copied afresh from
// the prototype, which may have been rebuilt meanwhile). Under
// AddressSanitizer the stock stays empty, so that a use after free is still
// reported.
#if defined(__SANITIZE_ADDRESS__)
#define QVX_NUMBER_STOCK 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QVX_NUMBER_STOCK 0
#endif
#endif
#ifndef QVX_NUMBER_STOCK
#define QVX_NUMBER_STOCK 32
#endif
constexpr int kStockSize = QVX_NUMBER_STOCK;

struct NumericStock {
  Object *items[kStockSize > 0 ? kStockSize : 1];
  int32_t count;
  bool closed;  // the thread is ending: free as usual from now on
};
thread_local NumericStock tStock{};  // trivial: usable at any time

// Frees the stock when the thread ends; touched once before the first push.
struct StockDrain {
  StockDrain() = default;
  ~StockDrain() {
    tStock.closed = true;
    while (tStock.count > 0) {
      Object *o = tStock.items[--tStock.count];
      std::free(o->environment);
      std::free(o->payload);
      std::free(o);
    }
  }
  bool registered = true;
};
thread_local StockDrain tDrain;

bool StockPush(Object *o) {
  NumericStock &s = tStock;
  if (s.count >= kStockSize || s.closed) return false;
  if (s.count == 0 && !tDrain.registered) return false;  // forces the drain's construction
  s.items[s.count++] = o;
  return true;
}

Object *StockPop() { return tStock.count > 0 ? tStock.items[--tStock.count] : nullptr; }

void SetTextSlots(Object *o) {
  o->freePayload = FreeTextPayload;
  o->writePayload = nullptr;  // the string stream callbacks of the value trees
  o->readPayload = nullptr;
  o->copyPayload = StrDup;
}

}  // namespace

void freePayload(Object *o) {
  if (o && o->payload && o->freePayload) o->freePayload(o->payload);
  if (o) o->payload = nullptr;
}
void writePayload(Object *o, void *stream, StreamMode mode) {
  if (o && o->payload && o->writePayload) o->writePayload(o->payload, stream, mode);
}
void *readPayload(Object *o, void *stream, StreamMode mode) {
  return o && o->readPayload ? o->readPayload(stream, mode) : nullptr;
}
void *copyPayload(const Object *o) {
  return o && o->payload && o->copyPayload ? o->copyPayload(o->payload) : nullptr;
}

void *StrDup(void *text) { return DupText(static_cast<const char *>(text)); }

void AttachScalarEnvironment(Object *o) {
  if (!o) return;
  if (o->environment) FreeScalarEnvironment(o->environment);
  o->environment = CreateScalarEnvironment(o, o->parentEnvironment);
}

Object *NewAlgebraicObjectN(const char *text, std::size_t length, Environment *parent) {
  Object *o = NewBase(kTagAlgebraic, parent);
  if (!o) return nullptr;
  o->payload = DupText(text ? text : "", text ? length : 0);
  SetTextSlots(o);
  AttachScalarEnvironment(o);
  return o;
}

Object *NewSentinelObject(std::string_view sentinel, Environment *parent) {
  return NewAlgebraicObjectN(sentinel.data(), sentinel.size(), parent);
}

Object *NewAlgebraicObject(const char *text, Environment *parent) {
  return NewAlgebraicObjectN(text, text ? std::strlen(text) : 0, parent);
}

Object *NewMethodAlgebraicObject(const char *text, Environment *parent) {
  Object *o = NewScoped(kTagAlgebraic, parent);
  if (!o) return nullptr;
  o->payload = DupText(text ? text : "");
  SetTextSlots(o);
  // The one method of a scalar, shared with the prototype's record.
  const Globals &g = G();
  if (g.scalarPrototype && o->environment) {
    if (RBSTNode *n = RBSTFind(g.scalarPrototype->functionTable.root, "eval(0)"))
      RBSTInsert(&o->environment->functionTable, o->environment->functionTable.root, "eval(0)",
                 CopyFunctionRecord(n->value));
  }
  return o;
}

Object *NewNumericValueObject(double re, double im, Environment *parent) {
  if (Object *o = StockPop()) {
    Environment *env = o->environment;
    auto *v = static_cast<NumericValue *>(o->payload);
    *o = Object{};
    o->tag = kTagNumeric;
    o->isPublic = 1;
    o->creationDepth = parent ? parent->scopeDepth : 0;
    o->parentEnvironment = parent;
    v->re = re;
    v->im = im;
    o->payload = v;
    o->freePayload = FreeNumericPayload;
    o->writePayload = WriteNumericPayload;
    o->readPayload = ReadNumericPayload;
    o->copyPayload = CopyNumericPayload;
    InitScalarEnvironment(env, o, parent);
    o->environment = env;
    return o;
  }
  Object *o = NewBase(kTagNumeric, parent);
  if (!o) return nullptr;
  auto *v = static_cast<NumericValue *>(std::malloc(sizeof(NumericValue)));
  v->re = re;
  v->im = im;
  o->payload = v;
  o->freePayload = FreeNumericPayload;
  o->writePayload = WriteNumericPayload;
  o->readPayload = ReadNumericPayload;
  o->copyPayload = CopyNumericPayload;
  AttachScalarEnvironment(o);
  return o;
}

Object *NewNumericObject(const char *re, const char *im, Environment *parent) {
  double a = 0.0, b = 0.0;
  if (!re || !im || !TestNumericString(re, &a) || !TestNumericString(im, &b)) return nullptr;
  return NewNumericValueObject(a, b, parent);
}

Object *NewSplitObjectFromTexts(char *re, char *im, Environment *parent) {
  Object *o = NewBase(kTagSplit, parent);
  if (!o) {
    WipeAndFree(re);
    WipeAndFree(im);
    return nullptr;
  }
  auto *s = static_cast<SplitValue *>(std::malloc(sizeof(SplitValue)));
  s->re = re ? re : DupText("");
  s->im = im ? im : DupText("");
  o->payload = s;
  o->freePayload = FreeSplitPayload;
  o->copyPayload = CopySplitPayload;
  AttachScalarEnvironment(o);
  return o;
}

Object *NewSplitObject(SplitValue *pair, Environment *parent) {
  char *re = pair ? pair->re : nullptr;
  char *im = pair ? pair->im : nullptr;
  if (pair) pair->re = pair->im = nullptr;
  return NewSplitObjectFromTexts(re, im, parent);
}

Object *NewBignumObject(BitArrayFloat *value, Environment *parent) {
  Object *o = NewScoped(kTagBignum, parent);
  if (!o) return nullptr;
  o->payload = value && CopyBitArrayFloat ? CopyBitArrayFloat(value) : nullptr;
  o->freePayload = FreeBignumPayload;
  o->writePayload = WriteBignumPayload;
  o->readPayload = ReadBignumPayload;
  o->copyPayload = CopyBignumPayload;
  // The six methods come with the big-number module.
  return o;
}

Object *NewMutantObject(Environment *parent) {
  Object *o = NewBase(kTagMutant, parent);
  if (!o) return nullptr;
  o->environment = parent ? CopyEnvironment(parent, parent, 0, 1) : CreateEnvironment(o, 0);
  if (o->environment) {
    o->environment->ownerObject = o;
    o->environment->scopeKind = 0;
    RebindLinks(o->environment);
  }
  return o;
}

Object *NewScopedObject(int32_t tag, Environment *parent) { return NewScoped(tag, parent); }
Object *NewArrayShell(Environment *parent) { return NewScoped(kTagArray, parent); }
Object *NewNodeObject(Environment *parent) { return NewScoped(kTagNode, parent); }
Object *NewMapObject(Environment *parent) { return NewScoped(kTagMap, parent); }
Object *NewClassDefinitionObject(Environment *parent) { return NewScoped(kTagClassDefinition, parent); }

Object *NewTopLevelObject(Environment *scope) {
  Object *o = NewBase(kTagTopLevel, scope);
  if (!o) return nullptr;
  o->environment = scope ? CopyEnvironment(scope, scope, 0, 1) : CreateEnvironment(o, 0);
  if (o->environment) o->environment->ownerObject = o;
  return o;
}

// Provisional string form: the value is the payload text. The element form
// (one object a character) is built by the string module.
Object *NewStringObject(const char *value, Environment *parent) {
  Object *o = NewScoped(kTagString, parent);
  if (!o) return nullptr;
  o->payload = DupText(value ? value : "");
  SetTextSlots(o);
  return o;
}

const char *StringText(const Object *o) {
  return o && o->payload ? static_cast<const char *>(o->payload) : "";
}

void NumericToSplit(Object **slot, Environment *parent, int32_t freeOld) {
  if (!slot || !*slot || (*slot)->tag != kTagNumeric) return;
  const NumericValue v = *Numeric(*slot);
  const std::string re = NumberText(v.re), im = NumberText(v.im);
  Object *s = NewSplitObjectFromTexts(DupText(re.c_str()), DupText(im.c_str()), parent);
  if (freeOld) FreeObject(*slot);
  *slot = s;
}

void NumericToAlgebraic(Object **slot, Environment *parent) {
  if (!slot || !*slot || (*slot)->tag != kTagNumeric) return;
  const NumericValue v = *Numeric(*slot);
  const std::string text = JoinComplexText(NumberText(v.re), NumberText(v.im));
  Object *a = NewAlgebraicObjectN(text.data(), text.size(), parent);
  FreeObject(*slot);
  *slot = a;
}

void BignumToSplit(Object **slot, Environment *parent, int32_t freeOld) {
  if (!slot || !*slot || (*slot)->tag != kTagBignum) return;
  std::string re = "0";
  auto *value = static_cast<BitArrayFloat *>((*slot)->payload);
  if (value && PrintBitArrayFloatToDecimal) {
    const int32_t digits = parent ? parent->significantDigits : 15;
    if (char *t = PrintBitArrayFloatToDecimal(value, digits, parent ? parent->cancelFlag : nullptr)) {
      double d = 0.0;
      re = TestNumericString(t, &d) ? NumberText(d) : std::string("\"") + t + "\"";
      FreeString(t);
    }
  }
  Object *s = NewSplitObjectFromTexts(DupText(re.c_str()), DupText("0"), parent);
  if (freeOld) FreeObject(*slot);
  *slot = s;
}

char *TypeName(const Object *o) {
  if (!o) return DupText("");
  static const char *const kNames[kTagCount] = {"node", "algebraic", "matrix",  "mutant", "string",
                                                "array", "class_definition", "top_level", nullptr, nullptr,
                                                "map", nullptr, "numeric", "bignum"};
  const char *name = o->tag >= 0 && o->tag < kTagCount ? kNames[o->tag] : nullptr;
  if (!name) name = o->className ? o->className : "";
  return DupText(name);
}

int32_t TestSameType(const Object *a, const Object *b) {
  if (!a || !b) return 0;
  if (a->tag == b->tag) {
    if (a->tag != kTagInstance) return 1;
    return a->className && b->className && std::strcmp(a->className, b->className) == 0;
  }
  auto scalarLike = [](int32_t t) { return t == kTagAlgebraic || t == kTagNumeric || t == kTagBignum; };
  return scalarLike(a->tag) && scalarLike(b->tag) ? 1 : 0;
}

Object *CopyObject(const Object *source, Environment *target, int32_t detached) {
  if (!source) return nullptr;
  Object *c = nullptr;
  switch (source->tag) {
    case kTagAlgebraic:
      c = NewAlgebraicObject(AlgebraicText(source), target);
      break;
    case kTagNumeric:
      c = NewNumericValueObject(Numeric(source)->re, Numeric(source)->im, target);
      break;
    case kTagBignum:
      c = NewBignumObject(static_cast<BitArrayFloat *>(source->payload), target);
      break;
    default: {
      // A structural copy; an instance whose class still lives is rebuilt
      // through its class by the class machinery, which falls back to this.
      c = NewBase(source->tag, target);
      if (!c) return nullptr;
      if (IsScalarTag(source->tag)) {
        AttachScalarEnvironment(c);
      } else {
        c->environment = source->environment ? CopyEnvironment(source->environment, target, 1, 1)
                                             : CreateEnvironment(c, 0);
        if (c->environment) {
          c->environment->ownerObject = c;
          c->environment->scopeKind = 0;
          RebindLinks(c->environment);
        }
      }
      c->freePayload = source->freePayload;
      c->writePayload = source->writePayload;
      c->readPayload = source->readPayload;
      c->copyPayload = source->copyPayload;
      c->payload = copyPayload(source);
      c->className = source->className ? DupText(source->className) : nullptr;
      break;
    }
  }
  if (!c) return nullptr;
  if (target && !target->ownerObject) {
    c->memberKind = 0;
    c->isPublic = source->isPublic;
    c->creationDepth = target->scopeDepth;
  } else {
    c->memberKind = source->memberKind;
    c->isPublic = source->isPublic;
    c->creationDepth = source->memberKind == 0 && target ? target->scopeDepth : 0;
  }
  c->parentEnvironment = target;
  c->destructorPending = detached ? 0 : source->destructorPending;
  c->frameMark = 0;
  if (c->environment && target && c->environment->isScalar) c->environment->cancelFlag = target->cancelFlag;
  return c;
}

void FreeObject(Object *o) {
  if (!o) return;
  // A plain number goes back to the stock whole (nothing in it is text).
  if (o->tag == kTagNumeric && o->payload && o->freePayload == FreeNumericPayload && o->environment &&
      o->environment->isScalar && !o->environment->scopeText && !o->className && StockPush(o))
    return;
  // Edges of nodes and destructors of instances are run by their modules
  // before the record goes; here the scope, payload and name are released.
  if (o->environment) {
    if (o->environment->isScalar) FreeScalarEnvironment(o->environment);
    else TerminateEnvironment(o->environment);
    o->environment = nullptr;
  }
  freePayload(o);
  WipeAndFree(o->className);
  std::free(o);
}

void FreeObjectValue(void *object) { FreeObject(static_cast<Object *>(object)); }

}  // namespace qvx
