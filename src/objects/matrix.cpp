// Matrix objects: constructors, element access, arithmetic of the operator
// table, printing, and the 29 methods of the type.
//
// Read matrix.h first. The numerical work is the Tensor toolkit's
// (objects/tensor.h and the Tensor exports); this file decides shapes,
// refuses what no script could justify, and turns results into objects.
// Edits of rows and columns work on a flat copy of the block (its shape and
// its values in index order, last index fastest) and build the block anew:
// one pass over the cells, whatever the edit.
#include "objects/matrix.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/boundary.h"
#include "common/complex.h"
#include "common/globals.h"
#include "common/owned.h"
#include "objects/array.h"
#include "objects/evaluator.h"
#include "objects/tensor.h"
#include "text/classify.h"
#include "text/scan.h"
#include "text/sentinels.h"
#include "text/textarith.h"

namespace qvx {
namespace {

constexpr std::string_view kSentinelInvalidFile = ">invalid_file<";

using Shape = std::vector<int32_t>;

// A block as its shape and its values in index order.
struct Block {
  Shape shape;
  std::vector<Complex> values;
};

int64_t CountOf(const Shape &shape) {
  int64_t n = 1;
  for (int32_t d : shape) {
    n *= d;
    if (n > kMaxMatrixElements) return kMaxMatrixElements + 1;
  }
  return n;
}

bool Load(const Tensor *t, Block *b) {
  if (!t || !TensorShape(t, b->shape)) return false;
  TensorFlatten(t, b->values);
  return true;
}

Tensor *Build(const Block &b) {
  // The shape must describe exactly the values held: a block whose edits
  // went wrong is refused here rather than read past its end.
  const int64_t count = CountOf(b.shape);
  if (count > kMaxMatrixElements || count != static_cast<int64_t>(b.values.size())) return nullptr;
  return TensorBuild(b.shape, b.values.data());
}

// Cells under one item of the outer index.
int64_t InnerCount(const Shape &shape) {
  return shape.empty() ? 1 : CountOf(Shape(shape.begin() + 1, shape.end()));
}

Tensor *EmptyTensor() { return TensorBuild(Shape{0}, nullptr); }

Object *Sentinel(std::string_view s, Environment *env, int32_t *owned) {
  *owned = 1;
  return NewSentinelObject(s, env);
}

// The matrix a method runs on: the owner of its scope.
Object *Receiver(Environment *env) {
  if (!env || env->isScalar || env->scopeKind != 0 || !env->ownerObject) return nullptr;
  auto *o = static_cast<Object *>(env->ownerObject);
  return o->tag == kTagMatrix && o->payload ? o : nullptr;
}

// Where a method's new result is made: beside the receiver, so that an
// assignment of it takes it over without a copy.
Environment *ResultScope(const Object *self, Environment *env) {
  return self && self->parentEnvironment ? self->parentEnvironment : env;
}

int32_t ArgumentCount(const ArgumentList *a) { return a && a->items ? a->count - 1 : 0; }
const Object *Argument(const ArgumentList *a, int32_t k) { return a->items[k + 1]; }

// An index argument: a number with no imaginary part, rounded.
bool IndexArgument(const Object *o, int64_t *index) {
  Complex z{0.0, 0.0};
  if (!ObjectAsNumber(o, &z) || z.im != 0.0 || !std::isfinite(z.re) || std::fabs(z.re) > 2147483647.0)
    return false;
  *index = static_cast<int64_t>(std::llround(z.re));
  return true;
}

// The values of method arguments for the row and column edits: numbers, or
// the cells of matrices, in order.
bool CollectValues(const ArgumentList *a, int32_t first, int32_t last, std::vector<Complex> *out) {
  for (int32_t k = first; k < last; ++k) {
    const Object *o = Argument(a, k);
    Complex z{0.0, 0.0};
    if (ObjectAsNumber(o, &z)) {
      out->push_back(z);
      continue;
    }
    Block b;
    if (!o || o->tag != kTagMatrix || !Load(MatrixTensor(o), &b)) return false;
    out->insert(out->end(), b.values.begin(), b.values.end());
    if (static_cast<int64_t>(out->size()) > kMaxMatrixElements) return false;
  }
  return true;
}

// Answers the receiver itself, changed in place.
Object *Self(Object *self, int32_t *owned) {
  *owned = 0;
  return self;
}

// Replaces the receiver's block by `b` and answers the receiver, or refuses.
Object *Rebuilt(Object *self, const Block &b, Environment *env, int32_t *owned) {
  Tensor *t = Build(b);
  if (!t) return Sentinel(kSentinelInvalidObject, env, owned);
  ReplaceMatrixTensor(self, t);
  return Self(self, owned);
}

// ---------------------------------------------------------------------------
// Printing.

std::string CellText(const Complex &z, int32_t digits) {
  return JoinComplexText(NumberText(z.re, digits), NumberText(z.im, digits));
}

void AppendLiteral(const Block &b, std::size_t depth, std::size_t *next, int32_t digits, std::string *out) {
  if (depth == b.shape.size()) {
    *out += CellText(b.values[(*next)++], digits);
    return;
  }
  *out += '[';
  for (int32_t i = 0; i < b.shape[depth]; ++i) {
    if (i) *out += ',';
    AppendLiteral(b, depth + 1, next, digits, out);
  }
  *out += ']';
}

// Rows of a rank 2 block (or one row of a rank 1 block), each column right
// aligned to its widest entry and columns two blanks apart.
void AppendRows(const std::vector<std::string> &cells, int32_t rows, int32_t cols, std::string *out) {
  std::vector<std::size_t> width(static_cast<std::size_t>(cols), 0);
  for (int32_t i = 0; i < rows; ++i)
    for (int32_t j = 0; j < cols; ++j)
      width[j] = std::max(width[j], cells[static_cast<std::size_t>(i) * cols + j].size());
  for (int32_t i = 0; i < rows; ++i) {
    *out += '\n';
    for (int32_t j = 0; j < cols; ++j) {
      const std::string &c = cells[static_cast<std::size_t>(i) * cols + j];
      if (j) *out += "  ";
      out->append(width[j] - c.size(), ' ');
      *out += c;
    }
  }
}

// ---------------------------------------------------------------------------
// Files.

// The file a script names, below the library's local path. Names that would
// climb out of it (an absolute path, a "..") or hold bytes no file name has
// are refused.
bool FilePath(const Object *o, std::string *path) {
  if (!o || o->tag != kTagString) return false;
  const std::string_view name = StringText(o);
  if (name.empty() || name.front() == '/' || name.find("..") != std::string_view::npos) return false;
  for (unsigned char c : name)
    if (c < 32 || c == 127 || c >= 128) return false;
  const char *base = G().localPath ? G().localPath : "";
  *path = base;
  *path += name;
  return true;
}

bool AllReal(const std::vector<Complex> &values) {
  for (const Complex &z : values)
    if (z.im != 0.0) return false;
  return true;
}

// A MatrixC loaded from a file as a rank 2 block; false when it is empty.
bool BlockFromMatrixC(Complex **m, Block *b) {
  if (!m) return false;
  const int32_t cols = m[0][0].re > 0 ? static_cast<int32_t>(m[0][0].re) : 0;
  const int32_t rows = cols > 0 && m[1][0].re > 0 ? static_cast<int32_t>(m[1][0].re) : 0;
  if (rows == 0 || cols == 0 || static_cast<int64_t>(rows) * cols > kMaxMatrixElements) return false;
  b->shape = {rows, cols};
  b->values.resize(static_cast<std::size_t>(rows) * cols);
  for (int32_t j = 1; j <= cols; ++j) {
    if (m[j][0].re < rows) return false;
    for (int32_t i = 0; i < rows; ++i) b->values[static_cast<std::size_t>(i) * cols + (j - 1)] = m[j][i + 1];
  }
  return true;
}

bool BlockFromMatrix(double **m, Block *b) {
  if (!m) return false;
  const int32_t cols = m[0][0] > 0 ? static_cast<int32_t>(m[0][0]) : 0;
  const int32_t rows = cols > 0 && m[1][0] > 0 ? static_cast<int32_t>(m[1][0]) : 0;
  if (rows == 0 || cols == 0 || static_cast<int64_t>(rows) * cols > kMaxMatrixElements) return false;
  b->shape = {rows, cols};
  b->values.resize(static_cast<std::size_t>(rows) * cols);
  for (int32_t j = 1; j <= cols; ++j) {
    if (m[j][0] < rows) return false;
    for (int32_t i = 0; i < rows; ++i)
      b->values[static_cast<std::size_t>(i) * cols + (j - 1)] = Complex{m[j][i + 1], 0.0};
  }
  return true;
}

// ---------------------------------------------------------------------------
// Shared bodies of the methods.

using TensorBinary = Tensor *(*)(const Tensor *, const Tensor *);

// The matrix product. A vector (rank 1) against a block of higher rank acts
// as a column on the right and as a row on the left, and the product is a
// vector again: the level of length 1 the contraction raised it by goes.
Tensor *Product(const Tensor *a, const Tensor *b) {
  Tensor *t = TensorMultiply(a, b);
  if (!t || !a || !b || (a->rank == 1) == (b->rank == 1) || a->rank == 0 || b->rank == 0) return t;
  Block r;
  if (!Load(t, &r)) return t;
  const std::size_t drop = b->rank == 1 ? r.shape.size() - 1 : 0;
  if (r.shape.size() < 2 || r.shape[drop] != 1) return t;
  r.shape.erase(r.shape.begin() + static_cast<std::ptrdiff_t>(drop));
  Tensor *squeezed = Build(r);
  if (!squeezed) return t;
  TensorFree(t);
  return squeezed;
}

// The cell count of a direct sum or product, known before any work: the
// lower rank is raised by outer levels of length 1, then the lengths add
// (sum) or multiply (product) level by level.
int64_t DirectCount(const Tensor *x, const Tensor *y, bool product) {
  Shape a, b;
  if (!TensorShape(x, a) || !TensorShape(y, b)) return kMaxMatrixElements + 1;
  while (a.size() < b.size()) a.insert(a.begin(), 1);
  while (b.size() < a.size()) b.insert(b.begin(), 1);
  int64_t n = 1;
  for (std::size_t k = 0; k < a.size(); ++k) {
    n *= product ? static_cast<int64_t>(a[k]) * b[k] : static_cast<int64_t>(a[k]) + b[k];
    if (n > kMaxMatrixElements) return kMaxMatrixElements + 1;
  }
  return n;
}

// add, sub, mul, diradd, dirmul: a matrix argument goes to `withMatrix`; a
// number acts on every cell.
Object *Combine(ArgumentList *a, Environment *env, int32_t *owned, TensorBinary withMatrix, char op) {
  Object *self = Receiver(env);
  Environment *scope = ResultScope(self, env);
  if (!self || ArgumentCount(a) != 1) return Sentinel(kSentinelInvalidObject, scope, owned);
  const Object *arg = Argument(a, 0);
  *owned = 1;
  if (arg && arg->tag == kTagMatrix && withMatrix) {
    const Tensor *x = MatrixTensor(self), *y = MatrixTensor(arg);
    // The direct forms grow fast: their size is known before any work.
    if (withMatrix == TensorDirectAdd || withMatrix == TensorDirectMultiply) {
      if (DirectCount(x, y, withMatrix == TensorDirectMultiply) > kMaxMatrixElements)
        return Sentinel(kSentinelInvalidObject, scope, owned);
    }
    return TensorResultObject(withMatrix(x, y), scope);
  }
  if (op == 0 || op == 'd') return Sentinel(kSentinelInvalidObject, scope, owned);
  return MatrixOperation(self, arg, op, scope);
}

// Row edits count the outer index; column edits the second index of a
// rank 2 block.
bool IsRankTwo(const Block &b) { return b.shape.size() == 2; }

// Moves a column: the values of column `from` of each row, in a fresh copy.
Block WithColumns(const Block &b, const std::vector<int32_t> &columns) {
  Block out;
  const int32_t rows = b.shape[0], cols = b.shape[1];
  out.shape = {rows, static_cast<int32_t>(columns.size())};
  out.values.reserve(static_cast<std::size_t>(rows) * columns.size());
  for (int32_t i = 0; i < rows; ++i)
    for (int32_t c : columns) out.values.push_back(b.values[static_cast<std::size_t>(i) * cols + c]);
  return out;
}

Object *InvalidIfNoSelf(Object *self, Environment *env, int32_t *owned) {
  return self ? nullptr : Sentinel(kSentinelInvalidObject, env, owned);
}

}  // namespace

// ---------------------------------------------------------------------------
// Constructors and access.

namespace {
// Free, write, read and copy slots: the Tensor's own routines.
void FreeTensorPayload(void *p) { TensorFree(static_cast<Tensor *>(p)); }
void WriteTensorPayload(void *p, void *stream, StreamMode mode) { TensorWrite(static_cast<Tensor *>(p), stream, mode); }
void *ReadTensorPayload(void *stream, StreamMode mode) { return TensorRead(stream, mode); }
void *CopyTensorPayload(void *p) { return TensorCopy(static_cast<const Tensor *>(p)); }

Object *NewMatrixShell(Tensor *tensor, Environment *parent) {
  Object *o = NewScopedObject(kTagMatrix, parent);
  if (!o) {
    TensorFree(tensor);
    return nullptr;
  }
  o->payload = tensor;
  o->freePayload = FreeTensorPayload;
  o->writePayload = WriteTensorPayload;
  o->readPayload = ReadTensorPayload;
  o->copyPayload = CopyTensorPayload;
  const Globals &g = G();
  if (g.evaluator && g.evaluator->fillMethods && o->environment) g.evaluator->fillMethods(o->environment, kTagMatrix);
  return o;
}
}  // namespace

Object *NewMatrixObject(Environment *parent) {
  Tensor *t = EmptyTensor();
  return t ? NewMatrixShell(t, parent) : nullptr;
}

Object *NewMatrixObject(Tensor *tensor, bool adopt, Environment *parent) {
  Shape shape;
  if (!tensor || !TensorShape(tensor, shape)) {
    if (adopt) TensorFree(tensor);
    return nullptr;
  }
  Tensor *t = adopt ? tensor : TensorCopy(tensor);
  return t ? NewMatrixShell(t, parent) : nullptr;
}

Tensor *MatrixTensor(const Object *m) {
  return m && m->tag == kTagMatrix ? static_cast<Tensor *>(m->payload) : nullptr;
}

void ReplaceMatrixTensor(Object *m, Tensor *t) {
  if (!m || m->tag != kTagMatrix || !t) {
    TensorFree(t);
    return;
  }
  TensorFree(static_cast<Tensor *>(m->payload));
  m->payload = t;
}

bool ObjectAsNumber(const Object *o, Complex *value) {
  if (!o) return false;
  double re = 0.0, im = 0.0;
  switch (o->tag) {
    case kTagNumeric:
      *value = Complex{Numeric(o)->re, Numeric(o)->im};
      return true;
    case kTagAlgebraic:
      if (!AlgebraicText(o) || !TestNumericString(AlgebraicText(o), &re)) return false;
      *value = Complex{re, 0.0};
      return true;
    case kTagSplit: {
      const SplitValue *s = Split(o);
      const std::string_view r = s->re && *s->re ? s->re : "0", i = s->im && *s->im ? s->im : "0";
      if (!TestNumericString(r, &re) || !TestNumericString(i, &im)) return false;
      *value = Complex{re, im};
      return true;
    }
    default:
      return false;
  }
}

Object *TensorResultObject(Tensor *t, Environment *parent) {
  if (!t) return NewSentinelObject(kSentinelInvalidObject, parent);
  if (t->rank == 0) {
    const Complex z = *static_cast<Complex *>(t->items[0]);
    TensorFree(t);
    if (!std::isfinite(z.re) || !std::isfinite(z.im)) return NewSentinelObject(kSentinelInvalidObject, parent);
    return NewNumericValueObject(z.re, z.im, parent);
  }
  Object *o = NewMatrixObject(t, true, parent);
  return o ? o : NewSentinelObject(kSentinelInvalidObject, parent);
}

void NegateMatrix(Object *m) {
  Block b;
  if (!Load(MatrixTensor(m), &b)) return;
  for (Complex &z : b.values) z = Complex{0.0 - z.re, 0.0 - z.im};
  if (Tensor *t = Build(b)) ReplaceMatrixTensor(m, t);
}

namespace {

// A square block raised to an integer power by repeated squaring; a
// negative power inverts first. Null when the block isn't square, the
// exponent isn't an integer, or the inverse doesn't exist.
Tensor *Power(const Tensor *t, Complex exponent, Environment *env) {
  Shape shape;
  if (!TensorShape(t, shape) || shape.size() != 2 || shape[0] != shape[1] || shape[0] == 0) return nullptr;
  if (exponent.im != 0.0 || exponent.re != std::floor(exponent.re) || std::fabs(exponent.re) > 2147483647.0)
    return nullptr;
  auto n = static_cast<int64_t>(exponent.re);
  Tensor *base = TensorCopy(t);
  if (!base) return nullptr;
  if (n < 0) {
    if (!TensorInvert(base)) {
      TensorFree(base);
      return nullptr;
    }
    n = -n;
  }
  Block one;
  one.shape = shape;
  one.values.assign(static_cast<std::size_t>(shape[0]) * shape[0], Complex{0.0, 0.0});
  for (int32_t i = 0; i < shape[0]; ++i) one.values[static_cast<std::size_t>(i) * shape[0] + i] = Complex{1.0, 0.0};
  Tensor *result = Build(one);
  while (n > 0 && result && base) {
    if (CancelRequested(env)) {
      TensorFree(result);
      result = nullptr;
      break;
    }
    if (n & 1) {
      Tensor *next = Product(result, base);
      TensorFree(result);
      result = next;
    }
    n >>= 1;
    if (n > 0) {
      Tensor *next = Product(base, base);
      TensorFree(base);
      base = next;
    }
  }
  TensorFree(base);
  return result;
}

// Every cell combined with one number: z op s, or s op z when `numberLeft`.
Tensor *WithNumber(const Tensor *t, Complex s, char op, bool numberLeft) {
  Block b;
  if (!Load(t, &b)) return nullptr;
  for (Complex &z : b.values) {
    switch (op) {
      case '+': z = Complex{z.re + s.re, z.im + s.im}; break;
      case '-': z = numberLeft ? Complex{s.re - z.re, s.im - z.im} : Complex{z.re - s.re, z.im - s.im}; break;
      case '*': z = MulThree(z, s); break;
      case '/': z = DivC(z, s); break;
      default: return nullptr;
    }
    if (!std::isfinite(z.re) || !std::isfinite(z.im)) return nullptr;
  }
  return Build(b);
}

}  // namespace

Object *MatrixOperation(const Object *l, const Object *r, char op, Environment *env) {
  const auto invalid = [env] { return NewSentinelObject(kSentinelInvalidObject, env); };
  if (!l || !r) return invalid();
  // A sentinel operand flows up unchanged.
  for (const Object *o : {l, r})
    if (o->tag == kTagAlgebraic && AlgebraicText(o) && ContainsErrorSentinel(AlgebraicText(o)))
      return NewAlgebraicObject(AlgebraicText(o), env);
  const Tensor *a = MatrixTensor(l), *b = MatrixTensor(r);
  if (a && b) {
    switch (op) {
      case '+': return TensorResultObject(TensorAdd(a, b), env);
      case '-': return TensorResultObject(TensorSubtract(a, b), env);
      case '*': return TensorResultObject(Product(a, b), env);
      default: return invalid();
    }
  }
  Complex s{0.0, 0.0};
  const bool numberLeft = b != nullptr;
  if (!ObjectAsNumber(numberLeft ? l : r, &s)) return invalid();
  const Tensor *t = numberLeft ? b : a;
  if (op == '^') return numberLeft ? invalid() : TensorResultObject(Power(t, s, env), env);
  if (op == '/' && numberLeft) return invalid();
  return TensorResultObject(WithNumber(t, s, op, numberLeft), env);
}

Object *ReadMatrixElement(const Object *m, const std::vector<int32_t> &indices, Environment *env) {
  const Tensor *t = MatrixTensor(m);
  Shape shape;
  if (!t || !TensorShape(t, shape) || indices.size() > shape.size()) return nullptr;
  for (int32_t index : indices) {
    if (index < 0 || index >= t->length) return nullptr;
    t = static_cast<const Tensor *>(t->items[index]);
  }
  if (t->rank == 0) {
    const Complex z = *static_cast<const Complex *>(t->items[0]);
    return NewNumericValueObject(z.re, z.im, env);
  }
  return NewMatrixObject(const_cast<Tensor *>(t), false, env);
}

int32_t WriteMatrixElement(Object *m, const std::vector<int32_t> &indices, const Object *value) {
  Tensor *t = MatrixTensor(m);
  Shape shape;
  if (!t || !value || indices.empty() || !TensorShape(t, shape) || indices.size() > shape.size()) return 0;
  Complex z{0.0, 0.0};
  const bool number = ObjectAsNumber(value, &z);
  if (number) {
    if (indices.size() != shape.size()) return 0;
    if (!std::isfinite(z.re) || !std::isfinite(z.im)) return 0;
    for (int32_t index : indices) {
      if (index < 0 || index >= t->length) return 1;
      t = static_cast<Tensor *>(t->items[index]);
    }
    *static_cast<Complex *>(t->items[0]) = z;
    return 1;
  }
  const Tensor *block = MatrixTensor(value);
  if (!block) return 0;
  for (std::size_t k = 0; k + 1 < indices.size(); ++k) {
    if (indices[k] < 0 || indices[k] >= t->length) return 1;
    t = static_cast<Tensor *>(t->items[indices[k]]);
  }
  const int32_t last = indices.back();
  if (last < 0 || last >= t->length) return 1;
  return TensorSetItem(t, last, block) ? 1 : 0;
}

std::string MatrixLiteral(const Tensor *t, int32_t digits) {
  Block b;
  if (!Load(t, &b)) return "matrix:;";
  if (b.shape.empty()) return "matrix:" + CellText(b.values[0], digits) + ";";
  if (b.values.empty()) return "matrix:;";
  std::string out;
  out.reserve(b.values.size() * 8);
  std::size_t next = 0;
  AppendLiteral(b, 0, &next, digits, &out);
  return out;
}

std::string MatrixDisplay(const Tensor *t, int32_t digits) {
  std::string out = "(matrix)";
  Block b;
  if (!Load(t, &b) || b.values.empty()) return out;
  std::vector<std::string> cells;
  cells.reserve(b.values.size());
  for (const Complex &z : b.values) cells.push_back(CellText(z, digits));
  if (b.shape.size() <= 1) {
    AppendRows(cells, 1, static_cast<int32_t>(cells.size()), &out);
    return out;
  }
  // Rank 2 as rows; a higher rank as its rank 2 blocks, each under a line
  // that names its leading indices: "(0,1,:,:)".
  const int32_t rank = static_cast<int32_t>(b.shape.size());
  const int32_t rows = b.shape[rank - 2], cols = b.shape[rank - 1];
  const std::size_t per = static_cast<std::size_t>(rows) * cols;
  const std::size_t blocks = per ? cells.size() / per : 0;
  Shape lead(b.shape.begin(), b.shape.end() - 2), index(lead.size(), 0);
  for (std::size_t k = 0; k < blocks; ++k) {
    if (rank > 2) {
      out += k ? "\n\n(" : "\n(";
      for (int32_t i : index) out += std::to_string(i) + ",";
      out += ":,:)";
    }
    std::vector<std::string> part(cells.begin() + static_cast<std::ptrdiff_t>(k * per),
                                  cells.begin() + static_cast<std::ptrdiff_t>((k + 1) * per));
    AppendRows(part, rows, cols, &out);
    for (std::size_t d = index.size(); d-- > 0;) {
      if (++index[d] < lead[d]) break;
      index[d] = 0;
    }
  }
  return out;
}

// ---------------------------------------------------------------------------
// Methods.

Object *MatrixSizeMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  *owned = 1;
  return NewNumericValueObject(MatrixTensor(self)->length, 0.0, ResultScope(self, env));
}

Object *MatrixRankMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  *owned = 1;
  return NewNumericValueObject(MatrixTensor(self)->rank, 0.0, ResultScope(self, env));
}

Object *MatrixDimsMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Environment *scope = ResultScope(self, env);
  Shape shape;
  if (!TensorShape(MatrixTensor(self), shape)) return Sentinel(kSentinelInvalidObject, scope, owned);
  Block dims;
  dims.shape = {static_cast<int32_t>(shape.size())};
  for (int32_t d : shape) dims.values.push_back(Complex{static_cast<double>(d), 0.0});
  *owned = 1;
  return TensorResultObject(Build(dims), scope);
}

Object *MatrixMulMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  return Combine(a, env, owned, Product, '*');
}
Object *MatrixAddMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  return Combine(a, env, owned, TensorAdd, '+');
}
Object *MatrixSubMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  return Combine(a, env, owned, TensorSubtract, '-');
}
Object *MatrixDirAddMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  return Combine(a, env, owned, TensorDirectAdd, 'd');
}
Object *MatrixDirMulMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  return Combine(a, env, owned, TensorDirectMultiply, 'd');
}

// append(values...): new rows at the end. A rank 1 block takes each value
// as an element; a rank 2 (or higher) block takes the values as whole rows.
Object *MatrixAppendMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Block b;
  std::vector<Complex> add;
  if (ArgumentCount(a) < 1 || !Load(MatrixTensor(self), &b) || b.shape.empty() ||
      !CollectValues(a, 0, ArgumentCount(a), &add) || add.empty())
    return Sentinel(kSentinelInvalidObject, env, owned);
  // An empty rank 2 block takes its width from the first row appended.
  if (b.values.empty() && b.shape.size() == 2) {
    b.shape[0] = 0;
    b.shape[1] = static_cast<int32_t>(add.size());
  }
  const int64_t inner = InnerCount(b.shape);
  if (inner == 0 || static_cast<int64_t>(add.size()) % inner != 0) return Sentinel(kSentinelInvalidObject, env, owned);
  b.shape[0] += static_cast<int32_t>(static_cast<int64_t>(add.size()) / inner);
  b.values.insert(b.values.end(), add.begin(), add.end());
  return Rebuilt(self, b, env, owned);
}

// appendcol(values...): new columns at the right of a rank 2 block; the
// values fill whole columns, one column after the other.
Object *MatrixAppendColMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Block b;
  std::vector<Complex> add;
  if (ArgumentCount(a) < 1 || !Load(MatrixTensor(self), &b) || !IsRankTwo(b) || b.shape[0] == 0 ||
      !CollectValues(a, 0, ArgumentCount(a), &add) || add.empty() || add.size() % b.shape[0] != 0)
    return Sentinel(kSentinelInvalidObject, env, owned);
  const int32_t rows = b.shape[0], cols = b.shape[1];
  const auto extra = static_cast<int32_t>(add.size() / rows);
  Block out;
  out.shape = {rows, cols + extra};
  for (int32_t i = 0; i < rows; ++i) {
    out.values.insert(out.values.end(), b.values.begin() + static_cast<std::ptrdiff_t>(i) * cols,
                      b.values.begin() + static_cast<std::ptrdiff_t>(i + 1) * cols);
    for (int32_t c = 0; c < extra; ++c) out.values.push_back(add[static_cast<std::size_t>(c) * rows + i]);
  }
  return Rebuilt(self, out, env, owned);
}

// insert(row, index): a row before index (0 to the row count; the count
// appends). The row is a number for a rank 1 block, else a block of the
// shape of one row.
Object *MatrixInsertMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Block b;
  std::vector<Complex> row;
  int64_t index = 0;
  if (ArgumentCount(a) != 2 || !Load(MatrixTensor(self), &b) || b.shape.empty() || !CollectValues(a, 0, 1, &row) ||
      !IndexArgument(Argument(a, 1), &index) || index < 0 || index > b.shape[0])
    return Sentinel(kSentinelInvalidObject, env, owned);
  if (b.values.empty() && b.shape.size() == 2) b.shape[1] = static_cast<int32_t>(row.size());
  const int64_t inner = InnerCount(b.shape);
  if (static_cast<int64_t>(row.size()) != inner) return Sentinel(kSentinelInvalidObject, env, owned);
  b.values.insert(b.values.begin() + static_cast<std::ptrdiff_t>(index * inner), row.begin(), row.end());
  ++b.shape[0];
  return Rebuilt(self, b, env, owned);
}

// insertcol(column, index): a column of a rank 2 block before index.
Object *MatrixInsertColMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Block b;
  std::vector<Complex> column;
  int64_t index = 0;
  if (ArgumentCount(a) != 2 || !Load(MatrixTensor(self), &b) || !IsRankTwo(b) || !CollectValues(a, 0, 1, &column) ||
      !IndexArgument(Argument(a, 1), &index) || index < 0 || index > b.shape[1] ||
      static_cast<int64_t>(column.size()) != b.shape[0] || b.shape[0] == 0)
    return Sentinel(kSentinelInvalidObject, env, owned);
  const int32_t rows = b.shape[0], cols = b.shape[1];
  Block out;
  out.shape = {rows, cols + 1};
  for (int32_t i = 0; i < rows; ++i)
    for (int32_t j = 0; j <= cols; ++j) {
      if (j == index) out.values.push_back(column[i]);
      if (j < cols) out.values.push_back(b.values[static_cast<std::size_t>(i) * cols + j]);
    }
  return Rebuilt(self, out, env, owned);
}

// enlarge(n): n rows (from 1 on): zero rows added at the end, or the last
// rows dropped.
Object *MatrixEnlargeMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Block b;
  int64_t n = 0;
  if (ArgumentCount(a) != 1 || !IndexArgument(Argument(a, 0), &n) || n < 1 || !Load(MatrixTensor(self), &b) ||
      b.shape.empty())
    return Sentinel(kSentinelInvalidObject, env, owned);
  const int64_t inner = InnerCount(b.shape);
  if (n * std::max<int64_t>(inner, 1) > kMaxMatrixElements) return Sentinel(kSentinelInvalidObject, env, owned);
  b.shape[0] = static_cast<int32_t>(n);
  b.values.resize(static_cast<std::size_t>(n * inner), Complex{0.0, 0.0});
  return Rebuilt(self, b, env, owned);
}

namespace {
// The indices of the arguments, out of range ones left out; false when an
// argument is no index.
bool IndexSet(const ArgumentList *a, int32_t limit, std::vector<bool> *marked) {
  marked->assign(static_cast<std::size_t>(limit), false);
  for (int32_t k = 0; k < ArgumentCount(a); ++k) {
    int64_t i = 0;
    if (!IndexArgument(Argument(a, k), &i)) return false;
    if (i >= 0 && i < limit) (*marked)[static_cast<std::size_t>(i)] = true;
  }
  return true;
}
}  // namespace

// delete(i, j, ...): removes the rows at those indices.
Object *MatrixDeleteMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Block b;
  std::vector<bool> gone;
  if (!Load(MatrixTensor(self), &b) || b.shape.empty() || !IndexSet(a, b.shape[0], &gone))
    return Sentinel(kSentinelInvalidObject, env, owned);
  const int64_t inner = InnerCount(b.shape);
  Block out;
  out.shape = b.shape;
  out.shape[0] = 0;
  for (int32_t i = 0; i < b.shape[0]; ++i) {
    if (gone[static_cast<std::size_t>(i)]) continue;
    ++out.shape[0];
    out.values.insert(out.values.end(), b.values.begin() + static_cast<std::ptrdiff_t>(i * inner),
                      b.values.begin() + static_cast<std::ptrdiff_t>((i + 1) * inner));
  }
  return Rebuilt(self, out, env, owned);
}

// deletecol(j, k, ...): removes those columns of a rank 2 block.
Object *MatrixDeleteColMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Block b;
  std::vector<bool> gone;
  if (!Load(MatrixTensor(self), &b) || !IsRankTwo(b) || !IndexSet(a, b.shape[1], &gone))
    return Sentinel(kSentinelInvalidObject, env, owned);
  std::vector<int32_t> keep;
  for (int32_t j = 0; j < b.shape[1]; ++j)
    if (!gone[static_cast<std::size_t>(j)]) keep.push_back(j);
  return Rebuilt(self, WithColumns(b, keep), env, owned);
}

// swap(i, j): exchanges two rows; an index out of range changes nothing.
Object *MatrixSwapMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Tensor *t = MatrixTensor(self);
  int64_t i = 0, j = 0;
  if (ArgumentCount(a) != 2 || !IndexArgument(Argument(a, 0), &i) || !IndexArgument(Argument(a, 1), &j) ||
      t->rank < 1)
    return Sentinel(kSentinelInvalidObject, env, owned);
  if (i >= 0 && j >= 0 && i < t->length && j < t->length) std::swap(t->items[i], t->items[j]);
  return Self(self, owned);
}

// swapcol(i, j): exchanges two columns of a rank 2 block.
Object *MatrixSwapColMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Tensor *t = MatrixTensor(self);
  int64_t i = 0, j = 0;
  if (ArgumentCount(a) != 2 || !IndexArgument(Argument(a, 0), &i) || !IndexArgument(Argument(a, 1), &j) ||
      t->rank != 2)
    return Sentinel(kSentinelInvalidObject, env, owned);
  for (int32_t r = 0; r < t->length; ++r) {
    auto *row = static_cast<Tensor *>(t->items[r]);
    if (i >= 0 && j >= 0 && i < row->length && j < row->length) std::swap(row->items[i], row->items[j]);
  }
  return Self(self, owned);
}

Object *MatrixElemMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Environment *scope = ResultScope(self, env);
  std::vector<int32_t> indices;
  for (int32_t k = 0; k < ArgumentCount(a); ++k) {
    int64_t i = 0;
    if (!IndexArgument(Argument(a, k), &i)) return Sentinel(kSentinelInvalidObject, scope, owned);
    indices.push_back(static_cast<int32_t>(i));
  }
  *owned = 1;
  Object *r = ReadMatrixElement(self, indices, scope);
  return r ? r : NewSentinelObject(kSentinelInvalidObject, scope);
}

Object *MatrixTransposeMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  TensorTranspose(MatrixTensor(self), 0);
  return Self(self, owned);
}

Object *MatrixInvertMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  if (!TensorInvert(MatrixTensor(self))) return Sentinel(kSentinelInvalidObject, ResultScope(self, env), owned);
  return Self(self, owned);
}

Object *MatrixConjMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  TensorConjugate(MatrixTensor(self));
  return Self(self, owned);
}

namespace {
Object *Unary(Environment *env, int32_t *owned, Tensor *(*op)(const Tensor *)) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  *owned = 1;
  return TensorResultObject(op(MatrixTensor(self)), ResultScope(self, env));
}
}  // namespace

Object *MatrixTraceMethod(ArgumentList *, Environment *env, int32_t *owned) { return Unary(env, owned, TensorTrace); }
Object *MatrixDetMethod(ArgumentList *, Environment *env, int32_t *owned) {
  return Unary(env, owned, TensorDeterminant);
}
Object *MatrixEigvalsMethod(ArgumentList *, Environment *env, int32_t *owned) {
  return Unary(env, owned, TensorEigenvalues);
}
Object *MatrixEigvecsMethod(ArgumentList *, Environment *env, int32_t *owned) {
  return Unary(env, owned, TensorEigenvectors);
}

// vectorize(): the cells in index order as a rank 1 block.
Object *MatrixVectorizeMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Environment *scope = ResultScope(self, env);
  Block b;
  if (!Load(MatrixTensor(self), &b)) return Sentinel(kSentinelInvalidObject, scope, owned);
  b.shape = {static_cast<int32_t>(b.values.size())};
  *owned = 1;
  return TensorResultObject(Build(b), scope);
}

// matricize(): a rank 1 block of n*n cells as the n by n block whose rows
// are its consecutive runs of n: the reverse of vectorize for a square one.
Object *MatrixMatricizeMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Environment *scope = ResultScope(self, env);
  Block b;
  if (!Load(MatrixTensor(self), &b) || b.shape.size() != 1 || b.values.empty())
    return Sentinel(kSentinelInvalidObject, scope, owned);
  const auto n = static_cast<int32_t>(std::llround(std::sqrt(static_cast<double>(b.values.size()))));
  if (static_cast<std::size_t>(n) * n != b.values.size()) return Sentinel(kSentinelInvalidObject, scope, owned);
  b.shape = {n, n};
  *owned = 1;
  return TensorResultObject(Build(b), scope);
}

// writematrix(file): a rank 2 block as rows of numbers, a rank 1 block as
// one number a line. Complex cells go to the four files of the complex
// writer (the path with "_REAL", "_IMAGINARY", ... before its extension).
Object *MatrixWriteMethod(ArgumentList *a, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Environment *scope = ResultScope(self, env);
  std::string path;
  Block b;
  if (ArgumentCount(a) != 1 || !FilePath(Argument(a, 0), &path)) return Sentinel(kSentinelInvalidFile, scope, owned);
  if (!Load(MatrixTensor(self), &b) || b.values.empty() || b.shape.size() > 2)
    return Sentinel(kSentinelInvalidObject, scope, owned);
  const bool real = AllReal(b.values);
  int32_t done = 0;
  if (b.shape.size() == 1) {
    const auto n = static_cast<int32_t>(b.values.size());
    if (real) {
      Owned<double, Free> v(Vector(n));
      if (v) {
        for (int32_t i = 0; i < n; ++i) v.get()[i + 1] = b.values[i].re;
        done = WriteVector(path.c_str(), v.get());
      }
    } else {
      Owned<Complex, Free> v(VectorC(n));
      if (v) {
        for (int32_t i = 0; i < n; ++i) v.get()[i + 1] = b.values[i];
        done = WriteVectorC(path.c_str(), v.get());
      }
    }
  } else {
    const int32_t rows = b.shape[0], cols = b.shape[1];
    if (real) {
      Owned<double *, FreeMatrix> m(Matrix(cols, rows));
      if (m) {
        for (int32_t i = 0; i < rows; ++i)
          for (int32_t j = 0; j < cols; ++j) m.get()[j + 1][i + 1] = b.values[static_cast<std::size_t>(i) * cols + j].re;
        done = WriteMatrix(path.c_str(), m.get());
      }
    } else {
      Owned<Complex *, FreeMatrixC> m(TensorToMatrixC(MatrixTensor(self)));
      if (m) done = WriteMatrixC(path.c_str(), m.get());
    }
  }
  if (!done) return Sentinel(kSentinelInvalidFile, scope, owned);
  return Self(self, owned);
}

namespace {
// readmatrix and readvector: the real file first, else the complex pair.
Object *ReadFile(ArgumentList *a, Environment *env, int32_t *owned, bool vector) {
  *owned = 1;
  std::string path;
  if (ArgumentCount(a) != 1 || !FilePath(Argument(a, 0), &path)) return NewSentinelObject(kSentinelInvalidFile, env);
  Block b;
  bool ok = false;
  if (vector) {
    Owned<double, Free> v(LoadVector(path.c_str()));
    const int32_t n = v ? static_cast<int32_t>(v.get()[0]) : 0;
    if (n > 0 && n <= kMaxMatrixElements) {
      b.shape = {n};
      for (int32_t i = 1; i <= n; ++i) b.values.push_back(Complex{v.get()[i], 0.0});
      ok = true;
    } else {
      Owned<Complex, Free> c(LoadVectorC(path.c_str()));
      const int32_t m = c ? static_cast<int32_t>(c.get()[0].re) : 0;
      if (m > 0 && m <= kMaxMatrixElements) {
        b.shape = {m};
        b.values.assign(c.get() + 1, c.get() + 1 + m);
        ok = true;
      }
    }
  } else {
    Owned<double *, FreeMatrix> m(LoadMatrix(path.c_str()));
    ok = BlockFromMatrix(m.get(), &b);
    if (!ok) {
      Owned<Complex *, FreeMatrixC> c(LoadMatrixC(path.c_str()));
      ok = BlockFromMatrixC(c.get(), &b);
    }
  }
  if (!ok) return NewSentinelObject(kSentinelInvalidFile, env);
  for (const Complex &z : b.values)
    if (!std::isfinite(z.re) || !std::isfinite(z.im)) return NewSentinelObject(kSentinelInvalidExpression, env);
  return TensorResultObject(Build(b), env);
}
}  // namespace

// array(): the cells in index order as an array of numbers.
Object *MatrixArrayMethod(ArgumentList *, Environment *env, int32_t *owned) {
  Object *self = Receiver(env);
  if (Object *e = InvalidIfNoSelf(self, env, owned)) return e;
  Environment *scope = ResultScope(self, env);
  Block b;
  if (!Load(MatrixTensor(self), &b) || b.values.size() > static_cast<std::size_t>(kMaxArrayElements))
    return Sentinel(kSentinelInvalidObject, scope, owned);
  Object *array = NewArrayObject(static_cast<int32_t>(b.values.size()), scope);
  if (!array) return Sentinel(kSentinelInvalidObject, scope, owned);
  for (std::size_t i = 0; i < b.values.size(); ++i) {
    if ((i & 1023) == 0 && CancelRequested(env)) {
      FreeObject(array);
      return Sentinel(kSentinelAborted, scope, owned);
    }
    SetArrayElement(array, static_cast<int32_t>(i),
                    NewNumericValueObject(b.values[i].re, b.values[i].im, array->environment));
  }
  *owned = 1;
  return array;
}

Object *MatrixFromArray(const Object *array, Environment *env) {
  const int32_t n = ArrayCount(array);
  if (n == 0) return NewMatrixObject(env);
  // Numbers make a vector; blocks of one shape make a block one rank higher.
  Block out;
  Shape inner;
  for (int32_t i = 0; i < n; ++i) {
    const Object *e = ArrayElementAt(array, i);
    Complex z{0.0, 0.0};
    Block b;
    if (ObjectAsNumber(e, &z)) {
      b.values.push_back(z);
    } else if (!e || e->tag != kTagMatrix || !Load(MatrixTensor(e), &b) || b.values.empty()) {
      return NewSentinelObject(kSentinelInvalidObject, env);
    }
    if (i == 0) inner = b.shape;
    else if (b.shape != inner) return NewSentinelObject(kSentinelInvalidObject, env);
    out.values.insert(out.values.end(), b.values.begin(), b.values.end());
    if (static_cast<int64_t>(out.values.size()) > kMaxMatrixElements) return NewSentinelObject(kSentinelInvalidObject, env);
  }
  out.shape.push_back(n);
  out.shape.insert(out.shape.end(), inner.begin(), inner.end());
  return TensorResultObject(Build(out), env);
}

Object *ReadMatrixFunction(ArgumentList *a, Environment *env, int32_t *owned) {
  return ReadFile(a, env, owned, false);
}
Object *ReadVectorFunction(ArgumentList *a, Environment *env, int32_t *owned) {
  return ReadFile(a, env, owned, true);
}

}  // namespace qvx
