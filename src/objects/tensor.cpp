// The Tensor record: the payload of a matrix object, a nested block of
// complex values of any rank, with its element operations and the bridge to
// the linear algebra of MatrixC.
//
// Read first: a rank 0 Tensor has length 1 and one item, a pointer to its own
// complex cell; a rank r Tensor has `length` items, each a Tensor of rank
// r - 1, and all levels of one depth have the same length. The first index
// of a rank 2 Tensor is the row. Operations that combine operands of
// different rank first raise the lower one by levels of length 1 (outer
// levels; for the right operand of a product, inner ones, so that a vector
// on the right acts as a column). Results are new Tensors, or null when the
// shapes do not allow the operation; TensorSetItem, TensorInvert,
// TensorTranspose and TensorConjugate work in place.
#include "objects/tensor.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/boundary.h"
#include "common/complex.h"
#include "common/owned.h"
#include "libquorvex.h"
#include "numerics/linalg/linalg.h"
#include "persistence/memfile.h"

namespace qvx {
namespace {

// Deeper records than this are treated as damaged (and keep the recursion of
// the readers and walkers shallow).
constexpr int32_t kMaxRank = 64;

using Shape = std::vector<int32_t>;

size_t Count(const Shape &shape) {
  size_t n = 1;
  for (int32_t d : shape) n *= static_cast<size_t>(d);
  return n;
}

Tensor *NewLevel(int32_t rank, int32_t length) {
  auto *t = static_cast<Tensor *>(std::malloc(sizeof(Tensor)));
  if (!t) return nullptr;
  t->rank = rank;
  t->length = rank == 0 ? 1 : length;
  size_t slots = rank == 0 ? 1 : static_cast<size_t>(length);
  t->items = slots ? static_cast<void **>(std::calloc(slots, sizeof(void *))) : nullptr;
  if (slots && !t->items) {
    std::free(t);
    return nullptr;
  }
  return t;
}

void FreeLevels(Tensor *t) {
  if (!t) return;
  if (t->items) {
    if (t->rank == 0) {
      std::free(t->items[0]);
    } else {
      for (int32_t i = 0; i < t->length; ++i) FreeLevels(static_cast<Tensor *>(t->items[i]));
    }
    std::free(t->items);
  }
  std::free(t);
}

Tensor *Scalar(Complex z) {
  Tensor *t = NewLevel(0, 1);
  if (!t) return nullptr;
  auto *cell = static_cast<Complex *>(std::malloc(sizeof(Complex)));
  if (!cell) {
    FreeLevels(t);
    return nullptr;
  }
  *cell = z;
  t->items[0] = cell;
  return t;
}

// Builds levels from shape[depth..], filling values from *next on.
Tensor *BuildFrom(const Shape &shape, size_t depth, const Complex *&next) {
  if (depth == shape.size()) return Scalar(next ? *next++ : Complex{0.0, 0.0});
  Tensor *t = NewLevel(static_cast<int32_t>(shape.size() - depth), shape[depth]);
  if (!t) return nullptr;
  for (int32_t i = 0; i < shape[depth]; ++i) {
    Tensor *item = BuildFrom(shape, depth + 1, next);
    if (!item) {
      FreeLevels(t);
      return nullptr;
    }
    t->items[i] = item;
  }
  return t;
}

bool SameShape(const Tensor *a, const Tensor *b, int32_t rank) {
  if (!a || !b || a->rank != rank || b->rank != rank) return false;
  if (rank == 0) return a->items && b->items && a->items[0] && b->items[0];
  if (a->length != b->length || a->length < 0) return false;
  if (a->length > 0 && (!a->items || !b->items)) return false;
  for (int32_t i = 0; i < a->length; ++i)
    if (!SameShape(static_cast<Tensor *>(a->items[i]), static_cast<Tensor *>(b->items[i]), rank - 1))
      return false;
  return true;
}

// A level is well formed when its items are well formed and all shaped like
// the first.
bool WellFormed(const Tensor *t, int32_t rank) {
  if (!t || t->rank != rank || rank > kMaxRank) return false;
  if (rank == 0) return t->items && t->items[0];
  if (t->length < 0 || (t->length > 0 && !t->items)) return false;
  if (t->length == 0) return true;
  auto *first = static_cast<const Tensor *>(t->items[0]);
  if (!WellFormed(first, rank - 1)) return false;
  for (int32_t i = 1; i < t->length; ++i)
    if (!SameShape(first, static_cast<Tensor *>(t->items[i]), rank - 1)) return false;
  return true;
}

template <class Visit>
void Walk(const Tensor *t, const Visit &visit) {
  if (t->rank == 0) {
    visit(static_cast<Complex *>(t->items[0]));
    return;
  }
  for (int32_t i = 0; i < t->length; ++i) Walk(static_cast<Tensor *>(t->items[i]), visit);
}

// The shape of b raised to rank r by levels of length 1, outside or inside.
Shape Raised(const Shape &s, size_t rank, bool inner) {
  Shape out = s;
  while (out.size() < rank) {
    if (inner) out.push_back(1);
    else out.insert(out.begin(), 1);
  }
  return out;
}

struct Flat {
  Shape shape;
  std::vector<Complex> values;
};

bool Load(const Tensor *t, Flat &f) {
  if (!TensorShape(t, f.shape)) return false;
  TensorFlatten(t, f.values);
  return true;
}

// Converts a well-formed rank 2 Tensor; null otherwise.
Complex **ToMatrix(const Tensor *t) {
  Flat f;
  if (!Load(t, f) || f.shape.size() != 2) return nullptr;
  int32_t rows = f.shape[0], cols = f.shape[1];
  Owned<Complex *, FreeMatrixC> m(MatrixC(cols, rows));
  if (!m || m.get()[0][0].re != cols || (cols > 0 && m.get()[1][0].re != rows)) return nullptr;
  for (int32_t i = 0; i < rows; ++i)
    for (int32_t j = 0; j < cols; ++j) m.get()[j + 1][i + 1] = f.values[static_cast<size_t>(i) * cols + j];
  return m.release();
}

bool SquareMatrixShape(const Shape &s) { return s.size() == 2 && s[0] == s[1] && s[0] > 0; }

// The eigenvalues and eigenvectors of a square rank 2 Tensor, as the QR
// algorithm answers them (a MatrixVector of 2); null when it cannot be read.
Complex ***Eigensystem(const Tensor *t) {
  Owned<Complex *, FreeMatrixC> m(ToMatrix(t));
  return m ? QRAlgorithm2(m.get()) : nullptr;
}

Tensor *Read(void *stream, StreamMode mode, int32_t depth) {
  int32_t rank = 0, length = 0;
  if (!StreamReadInt32(stream, mode, &rank) || !StreamReadInt32(stream, mode, &length)) return nullptr;
  if (rank < 0 || rank > kMaxRank || depth > kMaxRank || length < 0) return nullptr;
  if (rank == 0) {
    double re = 0.0, im = 0.0;
    if (!StreamReadDouble(stream, mode, &re) || !StreamReadDouble(stream, mode, &im)) return nullptr;
    return Scalar(Complex{re, im});
  }
  // Each item takes at least 8 bytes: a damaged length in a MemFile cannot
  // make us allocate more slots than the stream could fill.
  if (mode != kFileMode) {
    auto *m = static_cast<MemFile *>(stream);
    uint64_t left = m->position < m->size ? m->size - m->position : 0;
    if (static_cast<uint64_t>(length) * 8 > left) return nullptr;
  }
  std::vector<Owned<Tensor, FreeLevels>> items;
  for (int32_t i = 0; i < length; ++i) {
    Owned<Tensor, FreeLevels> item(Read(stream, mode, depth + 1));
    if (!item || item->rank != rank - 1 || (!items.empty() && !SameShape(items[0].get(), item.get(), rank - 1)))
      return nullptr;
    items.push_back(std::move(item));
  }
  Tensor *t = NewLevel(rank, length);
  if (!t) return nullptr;
  for (int32_t i = 0; i < length; ++i) t->items[i] = items[static_cast<size_t>(i)].release();
  return t;
}

void Write(const Tensor *t, void *stream, StreamMode mode) {
  StreamWriteInt32(stream, mode, t->rank);
  StreamWriteInt32(stream, mode, t->length);
  if (t->rank == 0) {
    auto *z = static_cast<Complex *>(t->items[0]);
    StreamWriteDouble(stream, mode, z->re);
    StreamWriteDouble(stream, mode, z->im);
    return;
  }
  for (int32_t i = 0; i < t->length; ++i) Write(static_cast<Tensor *>(t->items[i]), stream, mode);
}

// The direct sum (block diagonal) or direct product (Kronecker) of two
// Tensors of one rank after raising.
Tensor *Direct(const Tensor *a, const Tensor *b, bool product) {
  Flat fa, fb;
  if (!Load(a, fa) || !Load(b, fb)) return nullptr;
  size_t rank = std::max(fa.shape.size(), fb.shape.size());
  Shape sa = Raised(fa.shape, rank, false), sb = Raised(fb.shape, rank, false);
  Shape out(rank);
  for (size_t k = 0; k < rank; ++k) {
    int64_t d = product ? static_cast<int64_t>(sa[k]) * sb[k] : static_cast<int64_t>(sa[k]) + sb[k];
    if (d > 0x3fffffff) return nullptr;
    out[k] = static_cast<int32_t>(d);
  }
  if (Count(out) > (size_t{1} << 31)) return nullptr;
  std::vector<Complex> values(Count(out), Complex{0.0, 0.0});
  // Strides of the result, then scatter: a at offset 0 (sum) or index
  // ia * db + ib (product); b at offset da (sum).
  std::vector<size_t> stride(rank + 1, 1);
  for (size_t k = rank; k-- > 0;) stride[k] = stride[k + 1] * static_cast<size_t>(out[k]);
  std::vector<int32_t> ia(rank), ib(rank);
  auto position = [&](const std::vector<int32_t> &idx) {
    size_t p = 0;
    for (size_t k = 0; k < rank; ++k) p += static_cast<size_t>(idx[k]) * stride[k + 1];
    return p;
  };
  auto next = [&](std::vector<int32_t> &idx, const Shape &s) {
    for (size_t k = rank; k-- > 0;) {
      if (++idx[k] < s[k]) return true;
      idx[k] = 0;
    }
    return false;
  };
  size_t na = Count(sa), nb = Count(sb);
  if (product) {
    std::fill(ia.begin(), ia.end(), 0);
    for (size_t x = 0; x < na; ++x, next(ia, sa)) {
      std::fill(ib.begin(), ib.end(), 0);
      for (size_t y = 0; y < nb; ++y, next(ib, sb)) {
        std::vector<int32_t> idx(rank);
        for (size_t k = 0; k < rank; ++k) idx[k] = ia[k] * sb[k] + ib[k];
        values[position(idx)] = MulThree(fa.values[x], fb.values[y]);
      }
    }
  } else {
    std::fill(ia.begin(), ia.end(), 0);
    for (size_t x = 0; x < na; ++x, next(ia, sa)) values[position(ia)] = fa.values[x];
    std::fill(ib.begin(), ib.end(), 0);
    for (size_t y = 0; y < nb; ++y, next(ib, sb)) {
      std::vector<int32_t> idx(rank);
      for (size_t k = 0; k < rank; ++k) idx[k] = ib[k] + sa[k];
      values[position(idx)] = fb.values[y];
    }
  }
  return TensorBuild(out, values.data());
}

Tensor *ElementWise(const Tensor *a, const Tensor *b, bool subtract) {
  Flat fa, fb;
  if (!Load(a, fa) || !Load(b, fb) || fa.shape != fb.shape) return nullptr;
  for (size_t i = 0; i < fa.values.size(); ++i) {
    Complex &x = fa.values[i];
    const Complex &y = fb.values[i];
    x = subtract ? SubC(x, y) : AddC(x, y);
  }
  return TensorBuild(fa.shape, fa.values.data());
}

Tensor *Scaled(const Tensor *t, Complex s) {
  Flat f;
  if (!Load(t, f)) return nullptr;
  for (Complex &z : f.values) z = MulThree(z, s);
  return TensorBuild(f.shape, f.values.data());
}

// Contraction of the last index of a with the first of b.
Tensor *Contract(const Tensor *a, const Tensor *b) {
  Flat fa, fb;
  if (!Load(a, fa) || !Load(b, fb)) return nullptr;
  if (fa.shape.empty()) return Scaled(b, fa.values[0]);
  if (fb.shape.empty()) return Scaled(a, fb.values[0]);
  size_t rank = std::max(fa.shape.size(), fb.shape.size());
  Shape sa = Raised(fa.shape, rank, false), sb = Raised(fb.shape, rank, true);
  int32_t k = sa.back();
  if (k != sb.front()) return nullptr;
  Shape out(sa.begin(), sa.end() - 1);
  out.insert(out.end(), sb.begin() + 1, sb.end());
  size_t left = Count(Shape(sa.begin(), sa.end() - 1)), right = Count(Shape(sb.begin() + 1, sb.end()));
  if (left * right > (size_t{1} << 31)) return nullptr;
  std::vector<Complex> values(left * right, Complex{0.0, 0.0});
  for (size_t i = 0; i < left; ++i)
    for (int32_t t = 0; t < k; ++t) {
      Complex x = fa.values[i * static_cast<size_t>(k) + static_cast<size_t>(t)];
      const Complex *row = &fb.values[static_cast<size_t>(t) * right];
      Complex *dst = &values[i * right];
      for (size_t j = 0; j < right; ++j) dst[j] = AddC(dst[j], MulThree(x, row[j]));
    }
  return TensorBuild(out, values.data());
}

// In-place transpose of the two outer levels: a square level exchanges the
// cells across its diagonal; any other is rebuilt and its new levels take
// the place of the old ones under the same record.
void Transpose(Tensor *t, bool conjugate) {
  if (!t || t->rank == 0 || !WellFormed(t, t->rank)) return;
  if (t->rank % 2 == 1 && conjugate) {
    for (int32_t i = 0; i < t->length; ++i) Transpose(static_cast<Tensor *>(t->items[i]), conjugate);
    return;
  }
  if (conjugate) Walk(t, [](Complex *z) { z->im = -z->im; });
  if (t->rank < 2) return;
  int32_t n = t->length;
  int32_t m = n > 0 ? static_cast<Tensor *>(t->items[0])->length : 0;
  if (n == m) {
    for (int32_t i = 0; i < n; ++i)
      for (int32_t j = i + 1; j < n; ++j) {
        auto *ri = static_cast<Tensor *>(t->items[i]);
        auto *rj = static_cast<Tensor *>(t->items[j]);
        std::swap(ri->items[j], rj->items[i]);
      }
    return;
  }
  // Rebuild: new outer level of m rows, each of n cells taken from the old.
  Tensor *fresh = NewLevel(t->rank, m);
  if (!fresh) return;
  for (int32_t j = 0; j < m; ++j) {
    Tensor *row = NewLevel(t->rank - 1, n);
    if (!row) {
      for (int32_t k = 0; k < j; ++k) {  // give back the empty rows made so far
        std::free(static_cast<Tensor *>(fresh->items[k])->items);
        std::free(fresh->items[k]);
      }
      std::free(fresh->items);
      std::free(fresh);
      return;
    }
    fresh->items[j] = row;
  }
  for (int32_t i = 0; i < n; ++i) {
    auto *old = static_cast<Tensor *>(t->items[i]);
    for (int32_t j = 0; j < m; ++j) static_cast<Tensor *>(fresh->items[j])->items[i] = old->items[j];
    std::free(old->items);
    std::free(old);
  }
  std::free(t->items);
  t->length = fresh->length;
  t->items = fresh->items;
  std::free(fresh);
}

}  // namespace

bool TensorShape(const Tensor *t, std::vector<int32_t> &shape) {
  shape.clear();
  if (!t || !WellFormed(t, t->rank)) return false;
  const Tensor *level = t;
  while (level->rank > 0) {
    shape.push_back(level->length);
    if (level->length == 0) {
      // An empty level: the deeper lengths are unknown and taken as 0.
      while (static_cast<int32_t>(shape.size()) < t->rank) shape.push_back(0);
      break;
    }
    level = static_cast<const Tensor *>(level->items[0]);
  }
  return true;
}

void TensorFlatten(const Tensor *t, std::vector<Complex> &values) {
  values.clear();
  Walk(t, [&](Complex *z) { values.push_back(*z); });
}

Tensor *TensorBuild(const std::vector<int32_t> &shape, const Complex *values) {
  const Complex *next = values;
  return BuildFrom(shape, 0, next);
}

}  // namespace qvx

using qvx::Flat;

extern "C" {

QVX_API Tensor *TensorZero(const int32_t *dimensions, int32_t rank) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&]() -> Tensor * {
    int32_t listed = dimensions && dimensions[0] > 0 ? dimensions[0] : 0;
    if (rank > listed) rank = listed;
    if (rank < 1) return qvx::Scalar(Complex{0.0, 0.0});
    // The last `rank` dimensions of the list, outermost first.
    std::vector<int32_t> shape;
    size_t total = 1;
    for (int32_t k = listed - rank + 1; k <= listed; ++k) {
      int32_t d = dimensions[k] > 0 ? dimensions[k] : 0;
      shape.push_back(d);
      total *= static_cast<size_t>(d ? d : 1);
      if (total > (size_t{1} << 31)) return nullptr;
    }
    return qvx::TensorBuild(shape, nullptr);
  });
}

QVX_API Tensor *TensorCopy(const Tensor *t) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&]() -> Tensor * {
    Flat f;
    if (!qvx::Load(t, f)) return nullptr;
    return qvx::TensorBuild(f.shape, f.values.data());
  });
}

QVX_API void TensorFree(Tensor *t) noexcept { qvx::FreeLevels(t); }

QVX_API int32_t TensorSetItem(Tensor *t, int32_t index, const Tensor *value) noexcept {
  if (!t || !value || t->rank < 1 || index < 0 || index >= t->length || !t->items) return 0;
  if (value->rank != t->rank - 1) return 0;
  auto *old = static_cast<Tensor *>(t->items[index]);
  // The item keeps its shape, so the block stays rectangular.
  if (!qvx::WellFormed(value, value->rank) || !qvx::SameShape(old, value, value->rank)) return 0;
  if (t->rank == 1) {
    *static_cast<Complex *>(old->items[0]) = *static_cast<Complex *>(value->items[0]);
    return 1;
  }
  Tensor *copy = TensorCopy(value);
  if (!copy) return 0;
  qvx::FreeLevels(old);
  t->items[index] = copy;
  return 1;
}

QVX_API Tensor *TensorFromMatrixC(Complex **m) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&]() -> Tensor * {
    if (!m) return nullptr;
    int32_t cols = m[0][0].re > 0 ? static_cast<int32_t>(m[0][0].re) : 0;
    int32_t rows = cols > 0 && m[1][0].re > 0 ? static_cast<int32_t>(m[1][0].re) : 0;
    for (int32_t j = 2; j <= cols; ++j)
      if (m[j][0].re < rows) return nullptr;  // ragged columns
    std::vector<Complex> values(static_cast<size_t>(rows) * cols);
    for (int32_t i = 0; i < rows; ++i)
      for (int32_t j = 0; j < cols; ++j) values[static_cast<size_t>(i) * cols + j] = m[j + 1][i + 1];
    return qvx::TensorBuild({rows, cols}, values.data());
  });
}

QVX_API Complex **TensorToMatrixC(const Tensor *t) noexcept {
  return qvx::Guard(static_cast<Complex **>(nullptr), [&] { return qvx::ToMatrix(t); });
}

QVX_API void TensorWrite(const Tensor *t, void *stream, StreamMode mode) noexcept {
  if (!t || !stream || !qvx::WellFormed(t, t->rank)) return;
  qvx::Write(t, stream, mode);
}

QVX_API Tensor *TensorRead(void *stream, StreamMode mode) noexcept {
  if (!stream) return nullptr;
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&] { return qvx::Read(stream, mode, 0); });
}

QVX_API Tensor *TensorAdd(const Tensor *a, const Tensor *b) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&] { return qvx::ElementWise(a, b, false); });
}
QVX_API Tensor *TensorSubtract(const Tensor *a, const Tensor *b) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&] { return qvx::ElementWise(a, b, true); });
}
QVX_API Tensor *TensorMultiply(const Tensor *a, const Tensor *b) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&] { return qvx::Contract(a, b); });
}
QVX_API Tensor *TensorScale(const Tensor *t, double re, double im) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&] { return qvx::Scaled(t, Complex{re, im}); });
}
QVX_API Tensor *TensorDirectAdd(const Tensor *a, const Tensor *b) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&] { return qvx::Direct(a, b, false); });
}
QVX_API Tensor *TensorDirectMultiply(const Tensor *a, const Tensor *b) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&] { return qvx::Direct(a, b, true); });
}

QVX_API Tensor *TensorTranspose(Tensor *t, int32_t conjugate) noexcept {
  qvx::GuardVoid([&] { qvx::Transpose(t, conjugate != 0); });
  return t;
}

QVX_API Tensor *TensorConjugate(Tensor *t) noexcept {
  if (t && qvx::WellFormed(t, t->rank)) qvx::Walk(t, [](Complex *z) { z->im = -z->im; });
  return t;
}

QVX_API int32_t TensorInvert(Tensor *t) noexcept {
  return qvx::Guard(int32_t{0}, [&]() -> int32_t {
    if (!t || !qvx::WellFormed(t, t->rank)) return 0;
    if (t->rank == 0) {
      auto *z = static_cast<Complex *>(t->items[0]);
      Complex r = DivC(Complex{1.0, 0.0}, *z);
      if (!std::isfinite(r.re) || !std::isfinite(r.im)) return 0;
      *z = r;
      return 1;
    }
    std::vector<int32_t> shape;
    if (t->rank != 2 || !qvx::TensorShape(t, shape) || !qvx::SquareMatrixShape(shape)) return 0;
    qvx::Owned<Complex *, FreeMatrixC> owner(qvx::ToMatrix(t));
    Complex **m = owner.get();
    if (!m) return 0;
    // An exactly singular matrix (a zero pivot) is refused like a
    // non-finite result.
    bool finite = qvx::la::InvertComplexStrict(m);
    int32_t n = shape[0];
    for (int32_t j = 1; j <= n && finite; ++j)
      for (int32_t i = 1; i <= n; ++i)
        if (!std::isfinite(m[j][i].re) || !std::isfinite(m[j][i].im)) {
          finite = false;
          break;
        }
    if (finite) {
      for (int32_t i = 0; i < n; ++i) {
        auto *row = static_cast<Tensor *>(t->items[i]);
        for (int32_t j = 0; j < n; ++j)
          *static_cast<Complex *>(static_cast<Tensor *>(row->items[j])->items[0]) = m[j + 1][i + 1];
      }
    }
    return finite ? 1 : 0;
  });
}

QVX_API Tensor *TensorDeterminant(const Tensor *t) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&]() -> Tensor * {
    std::vector<int32_t> shape;
    if (!qvx::TensorShape(t, shape)) return nullptr;
    if (t->rank == 0) return TensorCopy(t);
    if (t->rank == 2) {
      if (!qvx::SquareMatrixShape(shape)) return nullptr;
      qvx::Owned<Complex *, FreeMatrixC> m(qvx::ToMatrix(t));
      if (!m) return nullptr;
      return qvx::Scalar(DetC(m.get()));
    }
    if (t->rank < 2) return nullptr;
    // A rank above 2: the determinants of the items, two levels less deep.
    std::vector<qvx::Owned<Tensor, qvx::FreeLevels>> parts;
    for (int32_t i = 0; i < t->length; ++i) {
      qvx::Owned<Tensor, qvx::FreeLevels> d(TensorDeterminant(static_cast<Tensor *>(t->items[i])));
      if (!d) return nullptr;
      parts.push_back(std::move(d));
    }
    Tensor *out = qvx::NewLevel(t->rank - 2, t->length);
    if (!out) return nullptr;
    for (int32_t i = 0; i < t->length; ++i) out->items[i] = parts[static_cast<size_t>(i)].release();
    return out;
  });
}

QVX_API Tensor *TensorTrace(const Tensor *t) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&]() -> Tensor * {
    Flat f;
    if (!qvx::Load(t, f)) return nullptr;
    if (f.shape.empty()) return TensorCopy(t);
    if (f.shape.size() < 2 || f.shape[0] != f.shape[1]) return nullptr;
    // Sum over the diagonal of the two outer indices; what lies below stays.
    int32_t n = f.shape[0];
    std::vector<int32_t> rest(f.shape.begin() + 2, f.shape.end());
    size_t inner = qvx::Count(rest);
    std::vector<Complex> values(inner, Complex{0.0, 0.0});
    for (int32_t i = 0; i < n; ++i) {
      const Complex *block = &f.values[(static_cast<size_t>(i) * n + i) * inner];
      for (size_t k = 0; k < inner; ++k) values[k] = AddC(values[k], block[k]);
    }
    return qvx::TensorBuild(rest, values.data());
  });
}

QVX_API Tensor *TensorEigenvalues(const Tensor *t) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&]() -> Tensor * {
    std::vector<int32_t> shape;
    if (!qvx::TensorShape(t, shape)) return nullptr;
    if (shape.empty()) return TensorCopy(t);
    if (!qvx::SquareMatrixShape(shape)) return nullptr;
    qvx::Owned<Complex **, FreeMatrixVectorC> r(qvx::Eigensystem(t));
    if (!r) return nullptr;
    Complex **values = r.get()[1];
    int32_t n = shape[0];
    if (values && values[0][0].re == 1 && values[1][0].re == n) return qvx::TensorBuild({n}, values[1] + 1);
    return nullptr;
  });
}

QVX_API Tensor *TensorEigenvectors(const Tensor *t) noexcept {
  return qvx::Guard(static_cast<Tensor *>(nullptr), [&]() -> Tensor * {
    std::vector<int32_t> shape;
    if (!qvx::TensorShape(t, shape)) return nullptr;
    if (shape.empty()) return qvx::Scalar(Complex{1.0, 0.0});
    if (!qvx::SquareMatrixShape(shape)) return nullptr;
    qvx::Owned<Complex **, FreeMatrixVectorC> r(qvx::Eigensystem(t));
    if (!r) return nullptr;
    Complex **vectors = r.get()[2];
    int32_t n = shape[0];
    if (!vectors || vectors[0][0].re != n) return nullptr;
    // Item k of the result is eigenvector k: the columns become rows.
    qvx::Owned<Complex *, FreeMatrixC> vt(TransposeC(vectors));
    return vt && vt.get()[0][0].re == n ? TensorFromMatrixC(vt.get()) : nullptr;
  });
}

}  // extern "C"
