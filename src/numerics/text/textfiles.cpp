// Containers to and from files, and to the console.
//
// Text form of a matrix: one row a line, the elements of a line running along
// the outer (column) index, each printed by "%.12E" ("%d", "%u" for integer
// containers) and separated by one blank; every line ends with "\n" except the
// very last one of the file. A file may hold several matrices (a
// MatrixVector, a VectorMatrix) as blocks separated by one empty line; the
// readers end a matrix at an empty (or blank) line, skip leading empty lines,
// pad short lines with 0, and read a malformed number as the part that parses
// (0 when none does). A matrix with no element leaves an empty block, which
// the block form cannot tell from a separator: the "MV" and binary forms keep
// such matrices.
//
// Complex containers go to four files named by inserting "_REAL",
// "_IMAGINARY", "_MODULUS" and "_PHASE" before the extension of the path; the
// loaders read back the first two.
//
// "MV" form of a MatrixVector: a first line "n c1 r1 ... cn rn" of integers,
// then the rows of the matrices in order, without separators. "VM" form of a
// VectorMatrix(m, n, k): a first line "m n k", then for each of the m elements
// its k rows of n numbers.
//
// Binary forms, little-endian, no header beyond the counts:
//   vector:        int32 n, then n elements (double; complex: re, im; int32)
//   matrix:        int32 cols, int32 rows, then the columns one after another
//   MatrixVector:  int32 n, then n matrices in the matrix form
//   VectorMatrix:  the MatrixVector form of its m element matrices
// A count that is negative or asks for more bytes than the file holds makes
// the loader return an empty container.
//
// Every loader gives an empty container (a length-0 vector, a 0 by 0 matrix,
// a MatrixVector of length 0, a StringVector of no string) when the file is
// missing or unreadable, and never reads outside what it has read. Writers
// return 1 when every byte reached the file and 0 otherwise.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/containers/container_access.h"

namespace qvx {
namespace {

// ---- container shapes ----------------------------------------------------

// Rows as the length of the first column, not the shortest one (Rows):
// files write a ragged matrix in full, with zeros where a shorter column
// has no element (At).
template <class T>
int32_t FileRows(T *const *m) {
  return Cols(m) && m[1] ? Len(m[1]) : 0;
}
// Element (j, i), or zero where a ragged or missing column lacks it.
template <class T>
T At(T *const *m, int32_t j, int32_t i) {
  const T *column = m[j];
  return column && i <= Len(column) ? column[i] : T{};
}

template <class T>
int32_t MVLength(T *const *const *mv) {
  return MVLengthOf(mv);
}

void FreeMatrixAny(double **m) { FreeMatrix(m); }
void FreeMatrixAny(Complex **m) { FreeMatrixC(m); }
void FreeMatrixAny(int32_t **m) { FreeMatrixL(m); }

// A new matrix of the given element type; null unless it really has the
// requested shape (the guarded constructors fall back to 1 by 1).
template <class T>
T **NewMatrix(int32_t c, int32_t r) {
  T **m;
  if constexpr (std::is_same_v<T, double>) m = Matrix0(c, r);
  else if constexpr (std::is_same_v<T, Complex>) m = Matrix0C(c, r);
  else m = Matrix0L(c, r);
  if (m && Cols(m) == c && (c == 0 || FileRows(m) == r)) return m;
  FreeMatrixAny(m);
  return nullptr;
}

template <class T>
T **EmptyMatrix() {
  if constexpr (std::is_same_v<T, double>) return Matrix(0, 0);
  else if constexpr (std::is_same_v<T, Complex>) return MatrixC(0, 0);
  else return MatrixL(0, 0);
}

template <class T>
T ***NewMV(int32_t n) {
  if constexpr (std::is_same_v<T, double>) return MatrixVector(n);
  else if constexpr (std::is_same_v<T, Complex>) return MatrixVectorC(n);
  else return MatrixVectorL(n);
}
void FreeMV(double ***mv) { FreeMatrixVector(mv); }
void FreeMV(Complex ***mv) { FreeMatrixVectorC(mv); }

// ---- files -----------------------------------------------------------------

struct FileCloser {
  void operator()(std::FILE *f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// The whole file, read in chunks so that pipes and special files work too.
bool ReadWhole(const char *path, std::string &out) {
  out.clear();
  if (!path) return false;
  FilePtr f(std::fopen(path, "rb"));
  if (!f) return false;
  char chunk[1 << 16];
  std::size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) out.append(chunk, got);
  return !std::ferror(f.get());
}

// Opens path for writing, runs body on the stream and reports whether every
// byte reached the file.
template <class Body>
int32_t WriteFile(const char *path, const char *mode, Body body) {
  if (!path) return 0;
  std::FILE *f = std::fopen(path, mode);
  if (!f) return 0;
  body(f);
  bool ok = !std::ferror(f);
  return std::fclose(f) == 0 && ok ? 1 : 0;
}

// The path with suffix inserted before the extension of its file name
// ("data/m.txt" + "_REAL" is "data/m_REAL.txt").
std::string SuffixedName(const char *path, const std::string &suffix) {
  char *name = ConcatFilenameR(path, suffix.c_str());
  std::string out = name ? name : "";
  FreeString(name);
  return out;
}

constexpr const char *kPartSuffix[4] = {"_REAL", "_IMAGINARY", "_MODULUS", "_PHASE"};

double Part(const Complex &z, int k) {
  switch (k) {
    case 0: return z.re;
    case 1: return z.im;
    case 2: return std::hypot(z.re, z.im);
    default: return std::atan2(z.im, z.re);
  }
}

// ---- text parsing ----------------------------------------------------------

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

// The lines of a text: a final line end does not start another line, and a
// carriage return before a line end belongs to the line end.
std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

bool IsBlank(std::string_view line) {
  return std::all_of(line.begin(), line.end(), IsSpace);
}

std::vector<std::string_view> Tokens(std::string_view line) {
  std::vector<std::string_view> out;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && IsSpace(line[i])) ++i;
    std::size_t start = i;
    while (i < line.size() && !IsSpace(line[i])) ++i;
    if (i > start) out.push_back(line.substr(start, i - start));
  }
  return out;
}

// The number at the start of a token, locale-independent and bounded by the
// token; 0 when nothing parses, +-HUGE_VAL or 0 beyond the range of a double.
double ParseNumber(std::string_view token) {
  const char *first = token.data(), *last = token.data() + token.size();
  bool negate = false;
  if (first < last && *first == '+') ++first;
  else if (first < last && *first == '-') {
    negate = true;
    ++first;
  }
  if (first < last && (*first == '+' || *first == '-')) return 0.0;
  double x = 0.0;
  auto [end, ec] = std::from_chars(first, last, x);
  if (ec == std::errc::result_out_of_range) {
    std::string copy(first, static_cast<std::size_t>(last - first));
    x = std::strtod(copy.c_str(), nullptr);
  } else if (ec != std::errc()) {
    x = 0.0;
  }
  (void)end;
  return negate ? -x : x;
}

// The integer nearest to the number of a token, clamped to 32 bits.
int32_t ParseInteger(std::string_view token) {
  double x = std::nearbyint(ParseNumber(token));
  if (!(x == x)) return 0;
  if (x >= 2147483647.0) return INT32_MAX;
  if (x <= -2147483648.0) return INT32_MIN;
  return static_cast<int32_t>(x);
}

using Row = std::vector<std::string_view>;
using Block = std::vector<Row>;

// The blocks of a text: runs of non-blank lines, each line cut into tokens.
// At most maxBlocks are collected.
std::vector<Block> ParseBlocks(std::string_view text, std::size_t maxBlocks = SIZE_MAX) {
  std::vector<Block> blocks;
  bool open = false;
  for (std::string_view line : SplitLines(text)) {
    if (IsBlank(line)) {
      if (open && blocks.size() == maxBlocks) break;
      open = false;
      continue;
    }
    if (!open) {
      if (blocks.size() == maxBlocks) break;
      blocks.emplace_back();
      open = true;
    }
    blocks.back().push_back(Tokens(line));
  }
  return blocks;
}

int32_t BlockCols(const Block &b) {
  std::size_t c = 0;
  for (const Row &r : b) c = std::max(c, r.size());
  return static_cast<int32_t>(std::min<std::size_t>(c, INT32_MAX));
}

template <class T>
T ParseAs(std::string_view token) {
  if constexpr (std::is_same_v<T, int32_t>) return ParseInteger(token);
  else return ParseNumber(token);
}

// A block as a matrix of doubles or integers: its lines are the rows, the
// longest line gives the column count.
template <class T>
T **BlockToMatrix(const Block &b) {
  int32_t c = BlockCols(b);
  int32_t r = static_cast<int32_t>(std::min<std::size_t>(b.size(), INT32_MAX));
  if (c == 0) r = 0;
  T **m = NewMatrix<T>(c, r);
  if (!m) return EmptyMatrix<T>();
  for (int32_t i = 1; i <= r; ++i) {
    const Row &row = b[static_cast<std::size_t>(i - 1)];
    for (int32_t j = 1; j <= c && static_cast<std::size_t>(j) <= row.size(); ++j)
      m[j][i] = ParseAs<T>(row[static_cast<std::size_t>(j - 1)]);
  }
  return m;
}

// Two blocks (real and imaginary parts) as one complex matrix shaped like
// the first.
Complex **BlocksToMatrixC(const Block &re, const Block *im) {
  double **a = BlockToMatrix<double>(re);
  int32_t c = Cols(a), r = FileRows(a);
  Complex **m = NewMatrix<Complex>(c, r);
  if (!m) {
    FreeMatrix(a);
    return MatrixC(0, 0);
  }
  double **b = im ? BlockToMatrix<double>(*im) : nullptr;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i)
      m[j][i] = Complex{a[j][i], b && j <= Cols(b) ? At(b, j, i) : 0.0};
  FreeMatrix(a);
  FreeMatrix(b);
  return m;
}

// Every token of a text, in reading order.
std::vector<std::string_view> AllTokens(std::string_view text) {
  std::vector<std::string_view> out;
  for (std::string_view line : SplitLines(text))
    for (std::string_view t : Tokens(line)) out.push_back(t);
  return out;
}

template <class T>
T *NewVectorOf(int32_t n) {
  if constexpr (std::is_same_v<T, double>) return Vector(n);
  else if constexpr (std::is_same_v<T, Complex>) return VectorC(n);
  else return VectorL(n);
}

template <class T>
T *TokensToVector(const std::vector<std::string_view> &tokens) {
  int32_t n = static_cast<int32_t>(std::min<std::size_t>(tokens.size(), INT32_MAX));
  T *v = NewVectorOf<T>(n);
  if (Len(v) != n) return v;  // the length-0 fall-back
  for (int32_t i = 1; i <= n; ++i) v[i] = ParseAs<T>(tokens[static_cast<std::size_t>(i - 1)]);
  return v;
}

// ---- text writing ------------------------------------------------------------

void PutReal(std::FILE *f, double x) { std::fprintf(f, "%.12E", x); }
void PutInt(std::FILE *f, int32_t x) { std::fprintf(f, "%d", x); }
void PutUInt(std::FILE *f, uint32_t x) { std::fprintf(f, "%u", x); }

// rows lines of cols elements written by put(f, j, i); the last line of the
// file (last set) has no line end.
template <class Put>
void PutGrid(std::FILE *f, int32_t cols, int32_t rows, bool last, Put put) {
  if (cols <= 0) return;
  for (int32_t i = 1; i <= rows; ++i)
    for (int32_t j = 1; j <= cols; ++j) {
      put(f, j, i);
      if (j < cols) std::fputc(' ', f);
      else if (i < rows || !last) std::fputc('\n', f);
    }
}

void PutElement(std::FILE *f, double x) { PutReal(f, x); }
void PutElement(std::FILE *f, float x) { PutReal(f, static_cast<double>(x)); }
void PutElement(std::FILE *f, int32_t x) { PutInt(f, x); }
void PutElement(std::FILE *f, uint32_t x) { PutUInt(f, x); }

template <class T>
void PutMatrix(std::FILE *f, T *const *m, bool last) {
  PutGrid(f, Cols(m), FileRows(m), last, [m](std::FILE *s, int32_t j, int32_t i) { PutElement(s, At(m, j, i)); });
}

template <class T>
int32_t WriteMatrixT(const char *path, T *const *m) {
  return WriteFile(path, "wb", [m](std::FILE *f) { PutMatrix(f, m, true); });
}

// One element a line.
template <class T>
int32_t WriteVectorT(const char *path, const T *v) {
  int32_t n = Len(v);
  return WriteFile(path, "wb", [&](std::FILE *f) {
    PutGrid(f, 1, n, true, [v](std::FILE *s, int32_t, int32_t i) { PutElement(s, v[i]); });
  });
}

// Blocks separated by one empty line.
template <class T>
void PutBlocks(std::FILE *f, T *const *const *mv) {
  int32_t n = MVLength(mv);
  for (int32_t t = 1; t <= n; ++t) {
    PutMatrix(f, mv[t], t == n);
    if (t < n) std::fputc('\n', f);
  }
}

// The four part files of a complex grid.
template <class Put>
int32_t WriteComplexParts(const char *path, Put put) {
  int32_t ok = 1;
  for (int k = 0; k < 4; ++k) {
    std::string name = SuffixedName(path, kPartSuffix[k]);
    ok &= WriteFile(name.c_str(), "wb", [&](std::FILE *f) { put(f, k); });
  }
  return ok;
}

// ---- binary ------------------------------------------------------------------

void AppendInt(std::string &out, int32_t x) {
  uint32_t u = static_cast<uint32_t>(x);
  for (int b = 0; b < 4; ++b) out.push_back(static_cast<char>((u >> (8 * b)) & 0xff));
}
void AppendDouble(std::string &out, double x) {
  uint64_t u = std::bit_cast<uint64_t>(x);
  for (int b = 0; b < 8; ++b) out.push_back(static_cast<char>((u >> (8 * b)) & 0xff));
}
void AppendElement(std::string &out, double x) { AppendDouble(out, x); }
void AppendElement(std::string &out, int32_t x) { AppendInt(out, x); }
void AppendElement(std::string &out, const Complex &z) {
  AppendDouble(out, z.re);
  AppendDouble(out, z.im);
}

template <class T>
constexpr std::size_t kElementBytes = std::is_same_v<T, Complex> ? 16 : sizeof(T);

// A bounds-checked little-endian reader over a loaded file.
struct ByteReader {
  const std::string &data;
  std::size_t at = 0;
  std::size_t Left() const { return data.size() - at; }
  bool Int(int32_t &x) {
    if (Left() < 4) return false;
    uint32_t u = 0;
    for (int b = 0; b < 4; ++b) u |= uint32_t{static_cast<unsigned char>(data[at + b])} << (8 * b);
    at += 4;
    x = static_cast<int32_t>(u);
    return true;
  }
  double Double() {  // callers check Left() for whole runs first
    uint64_t u = 0;
    for (int b = 0; b < 8; ++b) u |= uint64_t{static_cast<unsigned char>(data[at + b])} << (8 * b);
    at += 8;
    return std::bit_cast<double>(u);
  }
  void Element(double &x) { x = Double(); }
  void Element(Complex &z) {
    z.re = Double();
    z.im = Double();
  }
  void Element(int32_t &x) { Int(x); }
  // Whether count elements of T remain.
  template <class T>
  bool Holds(int64_t count) const {
    return count >= 0 && static_cast<uint64_t>(count) <= Left() / kElementBytes<T>;
  }
};

template <class T>
void AppendMatrixText(std::string &out, T *const *m) {
  int32_t c = Cols(m), r = c ? FileRows(m) : 0;
  AppendInt(out, c);
  AppendInt(out, r);
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) AppendElement(out, At(m, j, i));
}

template <class T>
T **ReadMatrixBin(ByteReader &in) {
  int32_t c = 0, r = 0;
  if (!in.Int(c) || !in.Int(r) || c < 0 || r < 0) return nullptr;
  if (c == 0) r = 0;
  if (!in.Holds<T>(int64_t{c} * r)) return nullptr;
  T **m = NewMatrix<T>(c, r);
  if (!m) return nullptr;
  for (int32_t j = 1; j <= c; ++j)
    for (int32_t i = 1; i <= r; ++i) in.Element(m[j][i]);
  return m;
}

int32_t WriteBytes(const char *path, const std::string &bytes) {
  return WriteFile(path, "wb", [&](std::FILE *f) {
    if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), f);
  });
}

template <class T>
int32_t WriteVectorBinT(const char *path, const T *v) {
  return Guard(int32_t{0}, [&] {
    std::string out;
    int32_t n = Len(v);
    AppendInt(out, n);
    for (int32_t i = 1; i <= n; ++i) AppendElement(out, v[i]);
    return WriteBytes(path, out);
  });
}

template <class T>
T *LoadVectorBinT(const char *path) {
  return Guard(static_cast<T *>(nullptr), [&] {
    std::string data;
    if (!ReadWhole(path, data)) return NewVectorOf<T>(0);
    ByteReader in{data};
    int32_t n = 0;
    if (!in.Int(n) || !in.Holds<T>(n)) return NewVectorOf<T>(0);
    T *v = NewVectorOf<T>(n);
    if (Len(v) != n) return v;
    for (int32_t i = 1; i <= n; ++i) in.Element(v[i]);
    return v;
  });
}

template <class T>
int32_t WriteMatrixBinT(const char *path, T *const *m) {
  return Guard(int32_t{0}, [&] {
    std::string out;
    AppendMatrixText(out, m);
    return WriteBytes(path, out);
  });
}

template <class T>
T **LoadMatrixBinT(const char *path) {
  return Guard(static_cast<T **>(nullptr), [&] {
    std::string data;
    if (!ReadWhole(path, data)) return EmptyMatrix<T>();
    ByteReader in{data};
    T **m = ReadMatrixBin<T>(in);
    return m ? m : EmptyMatrix<T>();
  });
}

template <class T>
int32_t WriteMVBinT(const char *path, T *const *const *mv) {
  return Guard(int32_t{0}, [&] {
    std::string out;
    int32_t n = MVLength(mv);
    AppendInt(out, n);
    for (int32_t t = 1; t <= n; ++t) AppendMatrixText(out, mv[t]);
    return WriteBytes(path, out);
  });
}

template <class T>
T ***LoadMVBinT(const char *path) {
  return Guard(static_cast<T ***>(nullptr), [&] {
    std::string data;
    ByteReader in{data};
    int32_t n = 0;
    // Each matrix takes at least its 8 bytes of counts.
    if (!ReadWhole(path, data) || !in.Int(n) || n < 0 || static_cast<uint64_t>(n) > in.Left() / 8) return NewMV<T>(0);
    T ***mv = NewMV<T>(n);
    if (!mv) return mv;
    for (int32_t t = 1; t <= n; ++t) {
      mv[t] = ReadMatrixBin<T>(in);
      if (!mv[t]) {  // short or malformed: nothing half-read is returned
        FreeMV(mv);
        return NewMV<T>(0);
      }
    }
    return mv;
  });
}

// ---- block files -------------------------------------------------------------

template <class T>
T ***BlocksToMV(const std::vector<Block> &blocks) {
  int32_t n = static_cast<int32_t>(std::min<std::size_t>(blocks.size(), INT32_MAX));
  T ***mv = NewMV<T>(n);
  if (!mv) return mv;
  for (int32_t t = 1; t <= n; ++t) mv[t] = BlockToMatrix<T>(blocks[static_cast<std::size_t>(t - 1)]);
  return mv;
}

template <class T>
T ***LoadBlocksMV(const char *path) {
  return Guard(static_cast<T ***>(nullptr), [&] {
    std::string text;
    if (!ReadWhole(path, text)) return NewMV<T>(0);
    return BlocksToMV<T>(ParseBlocks(text));
  });
}

// A MatrixVector whose elements all take the largest column count and row
// count among them (the shape of a VectorMatrix), padded with zeros.
template <class T>
T ***Uniform(T ***mv) {
  int32_t n = MVLength(mv), c = 0, r = 0;
  for (int32_t t = 1; t <= n; ++t) {
    c = std::max(c, Cols(mv[t]));
    r = std::max(r, FileRows(mv[t]));
  }
  bool same = true;
  for (int32_t t = 1; t <= n; ++t) {
    if (Cols(mv[t]) != c) same = false;
    for (int32_t j = 1; j <= Cols(mv[t]); ++j)
      if (Len(mv[t][j]) != r) same = false;
  }
  if (same) return mv;
  T ***out = NewMV<T>(n);
  if (!out) {
    FreeMV(mv);
    return NewMV<T>(0);
  }
  for (int32_t t = 1; t <= n; ++t) {
    out[t] = NewMatrix<T>(c, r);
    if (!out[t]) {
      FreeMV(out);
      FreeMV(mv);
      return NewMV<T>(0);
    }
    for (int32_t j = 1; j <= Cols(mv[t]); ++j)
      for (int32_t i = 1; i <= r; ++i) out[t][j][i] = At(mv[t], j, i);
  }
  FreeMV(mv);
  return out;
}

// The complex blocks of the two part files.
Complex ***LoadBlocksMVC(const char *path) {
  return Guard(static_cast<Complex ***>(nullptr), [&] {
    std::string re, im;
    if (!ReadWhole(SuffixedName(path, kPartSuffix[0]).c_str(), re)) return MatrixVectorC(0);
    bool haveIm = ReadWhole(SuffixedName(path, kPartSuffix[1]).c_str(), im);
    std::vector<Block> a = ParseBlocks(re), b;
    if (haveIm) b = ParseBlocks(im);
    int32_t n = static_cast<int32_t>(std::min<std::size_t>(a.size(), INT32_MAX));
    Complex ***mv = MatrixVectorC(n);
    if (!mv) return mv;
    for (int32_t t = 1; t <= n; ++t) {
      std::size_t k = static_cast<std::size_t>(t - 1);
      mv[t] = BlocksToMatrixC(a[k], k < b.size() ? &b[k] : nullptr);
    }
    return mv;
  });
}

int32_t WriteBlocksMVC(const char *path, Complex *const *const *mv) {
  int32_t n = MVLength(mv);
  return WriteComplexParts(path, [&](std::FILE *f, int k) {
    for (int32_t t = 1; t <= n; ++t) {
      Complex *const *m = mv[t];
      PutGrid(f, Cols(m), FileRows(m), t == n, [&](std::FILE *s, int32_t j, int32_t i) { PutReal(s, Part(At(m, j, i), k)); });
      if (t < n) std::fputc('\n', f);
    }
  });
}

// ---- header lines of the MV and VM forms -------------------------------------

// The integers of the first non-blank line and the rows after it.
bool ReadHeaded(const char *path, std::string &text, std::vector<int64_t> &head, std::vector<Row> &rows) {
  if (!ReadWhole(path, text)) return false;
  bool first = true;
  for (std::string_view line : SplitLines(text)) {
    if (IsBlank(line)) continue;
    if (first) {
      for (std::string_view t : Tokens(line)) head.push_back(ParseInteger(t));
      first = false;
    } else {
      rows.push_back(Tokens(line));
    }
  }
  return !first;
}

// Fills the c by r matrix m from the next r rows, as far as they go.
template <class T>
void FillFromRows(T **m, int32_t c, int32_t r, const std::vector<Row> &rows, std::size_t &next) {
  for (int32_t i = 1; i <= r; ++i, ++next) {
    if (next >= rows.size()) return;
    const Row &row = rows[next];
    for (int32_t j = 1; j <= c && static_cast<std::size_t>(j) <= row.size(); ++j)
      m[j][i] = ParseNumber(row[static_cast<std::size_t>(j - 1)]);
  }
}

// The specs of an MV file: n, then cols and rows of each matrix, refused
// (false) when negative or when they would need more numbers than the file
// has, so that a damaged header cannot make a huge request.
bool MVSpecs(const std::vector<int64_t> &head, const std::vector<Row> &rows, std::vector<int32_t> &specs) {
  if (head.empty() || head[0] < 0 || static_cast<uint64_t>(head[0]) > (head.size() - 1) / 2) return false;
  std::size_t tokens = 0;
  for (const Row &r : rows) tokens += r.size();
  int32_t n = static_cast<int32_t>(head[0]);
  uint64_t need = 0;
  specs.assign(1, n);
  for (int32_t t = 0; t < n; ++t) {
    int64_t c = head[1 + 2 * t], r = head[2 + 2 * t];
    if (c < 0 || r < 0) return false;
    if (c == 0) r = 0;
    need += static_cast<uint64_t>(c) * static_cast<uint64_t>(r);
    if (need > tokens) return false;
    specs.push_back(static_cast<int32_t>(c));
    specs.push_back(static_cast<int32_t>(r));
  }
  return need <= tokens;
}

// The first limit non-empty lines of a file as a StringVector (an empty
// string would end the vector, so empty lines are left out).
char **LoadLines(const char *path, int64_t limit) {
  return Guard(static_cast<char **>(nullptr), [&] {
    std::string text;
    std::vector<std::string_view> lines;
    if (ReadWhole(path, text))
      for (std::string_view line : SplitLines(text)) {
        if (static_cast<int64_t>(lines.size()) >= limit) break;
        if (!line.empty()) lines.push_back(line);
      }
    int32_t n = static_cast<int32_t>(std::min<std::size_t>(lines.size(), INT32_MAX - 1));
    char **v = StringVectorNULL(n);
    if (!v) return v;
    for (int32_t i = 0; i < n; ++i) {
      v[i] = DupText(lines[static_cast<std::size_t>(i)].data(), lines[static_cast<std::size_t>(i)].size());
      if (!v[i]) v[i] = DupText("0", 1);
    }
    return v;
  });
}


}  // namespace
}  // namespace qvx

using qvx::Cols;
using qvx::FileRows;
using qvx::Len;

extern "C" {

// ---- whole files ---------------------------------------------------------------

// The file as text (ending at a zero byte if it holds one); null when it
// cannot be read.
QVX_API char *LoadFileToString(const char *path) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return static_cast<char *>(nullptr);
    return qvx::DupText(text.data(), text.size());
  });
}

// The bytes of the file and their count (a zero byte follows them); null
// and length 0 when it cannot be read or holds 2 GiB or more.
QVX_API unsigned char *LoadFileToByteArray(const char *path, int32_t *length) noexcept {
  if (length) *length = 0;
  return qvx::Guard(static_cast<unsigned char *>(nullptr), [&] {
    std::string data;
    if (!qvx::ReadWhole(path, data) || data.size() > INT32_MAX) return static_cast<unsigned char *>(nullptr);
    auto *out = reinterpret_cast<unsigned char *>(qvx::DupText(data.data(), data.size()));
    if (out && length) *length = static_cast<int32_t>(data.size());
    return out;
  });
}

QVX_API int32_t WriteByteArray(const char *path, const unsigned char *bytes, int32_t length) noexcept {
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    if (bytes && length > 0) std::fwrite(bytes, 1, static_cast<std::size_t>(length), f);
  });
}

// The text as the whole content of the file.
QVX_API int32_t WriteS(const char *path, const char *text) noexcept {
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    if (text) std::fputs(text, f);
  });
}

// The text and a line end, appended to the file.
QVX_API int32_t WriteString(const char *path, const char *text) noexcept {
  return qvx::WriteFile(path, "ab", [&](std::FILE *f) {
    if (text) std::fputs(text, f);
    std::fputc('\n', f);
  });
}

// One number, "%.12E", as the whole file.
QVX_API int32_t Write(const char *path, double x) noexcept {
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) { qvx::PutReal(f, x); });
}

// ---- counting ----------------------------------------------------------------------

// The rows of the first matrix of a file: its lines up to the first empty
// one; a last line counts whether or not it ends with a line end.
QVX_API int32_t NRows(const char *path) noexcept {
  return qvx::Guard(int32_t{0}, [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return int32_t{0};
    auto blocks = qvx::ParseBlocks(text, 1);
    return blocks.empty() ? int32_t{0} : static_cast<int32_t>(blocks[0].size());
  });
}

// The tokens of the first line of the first matrix.
QVX_API int32_t NCols(const char *path) noexcept {
  return qvx::Guard(int32_t{0}, [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return int32_t{0};
    auto blocks = qvx::ParseBlocks(text, 1);
    return blocks.empty() ? int32_t{0} : static_cast<int32_t>(blocks[0][0].size());
  });
}

// All lines of a text file, empty ones included.
QVX_API int32_t StringRows(const char *path) noexcept {
  return qvx::Guard(int32_t{0}, [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return int32_t{0};
    return static_cast<int32_t>(std::min<std::size_t>(qvx::SplitLines(text).size(), INT32_MAX));
  });
}

// The largest number of blank-separated tokens in a line.
QVX_API int32_t StringCols(const char *path) noexcept {
  return qvx::Guard(int32_t{0}, [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return int32_t{0};
    std::size_t c = 0;
    for (std::string_view line : qvx::SplitLines(text)) c = std::max(c, qvx::Tokens(line).size());
    return static_cast<int32_t>(std::min<std::size_t>(c, INT32_MAX));
  });
}

// ---- vectors -----------------------------------------------------------------------

// Every number of the file in reading order (one a line as WriteVector
// writes them, or any other layout).
QVX_API double *LoadVector(const char *path) noexcept {
  return qvx::Guard(static_cast<double *>(nullptr), [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return Vector(0);
    return qvx::TokensToVector<double>(qvx::AllTokens(text));
  });
}

QVX_API int32_t *LoadVectorL(const char *path) noexcept {
  return qvx::Guard(static_cast<int32_t *>(nullptr), [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return VectorL(0);
    return qvx::TokensToVector<int32_t>(qvx::AllTokens(text));
  });
}

// The real and imaginary part files; a missing imaginary file reads as 0.
QVX_API Complex *LoadVectorC(const char *path) noexcept {
  return qvx::Guard(static_cast<Complex *>(nullptr), [&] {
    std::string re, im;
    if (!qvx::ReadWhole(qvx::SuffixedName(path, qvx::kPartSuffix[0]).c_str(), re)) return VectorC(0);
    qvx::ReadWhole(qvx::SuffixedName(path, qvx::kPartSuffix[1]).c_str(), im);
    auto a = qvx::AllTokens(re), b = qvx::AllTokens(im);
    int32_t n = static_cast<int32_t>(std::min<std::size_t>(a.size(), INT32_MAX));
    Complex *v = VectorC(n);
    if (Len(v) != n) return v;
    for (int32_t i = 1; i <= n; ++i) {
      std::size_t k = static_cast<std::size_t>(i - 1);
      v[i] = Complex{qvx::ParseNumber(a[k]), k < b.size() ? qvx::ParseNumber(b[k]) : 0.0};
    }
    return v;
  });
}

QVX_API int32_t WriteVector(const char *path, const double *v) noexcept { return qvx::WriteVectorT(path, v); }
QVX_API int32_t WriteVectorF(const char *path, const float *v) noexcept { return qvx::WriteVectorT(path, v); }
QVX_API int32_t WriteVectorI(const char *path, const int32_t *v) noexcept { return qvx::WriteVectorT(path, v); }
QVX_API int32_t WriteVectorL(const char *path, const int32_t *v) noexcept { return qvx::WriteVectorT(path, v); }

// The four part files, one element a line.
QVX_API int32_t WriteVectorC(const char *path, const Complex *v) noexcept {
  int32_t n = Len(v);
  return qvx::WriteComplexParts(path, [&](std::FILE *f, int k) {
    qvx::PutGrid(f, 1, n, true, [&](std::FILE *s, int32_t, int32_t i) { qvx::PutReal(s, qvx::Part(v[i], k)); });
  });
}

// The moduli, one a line.
QVX_API int32_t WriteVectorAbsC(const char *path, const Complex *v) noexcept {
  int32_t n = Len(v);
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    qvx::PutGrid(f, 1, n, true, [&](std::FILE *s, int32_t, int32_t i) { qvx::PutReal(s, qvx::Part(v[i], 2)); });
  });
}

QVX_API int32_t WriteVectorBin(const char *path, const double *v) noexcept { return qvx::WriteVectorBinT(path, v); }
QVX_API int32_t WriteVectorCBin(const char *path, const Complex *v) noexcept { return qvx::WriteVectorBinT(path, v); }
QVX_API int32_t WriteVectorLBin(const char *path, const int32_t *v) noexcept { return qvx::WriteVectorBinT(path, v); }
QVX_API double *LoadVectorBin(const char *path) noexcept { return qvx::LoadVectorBinT<double>(path); }
QVX_API Complex *LoadVectorCBin(const char *path) noexcept { return qvx::LoadVectorBinT<Complex>(path); }
QVX_API int32_t *LoadVectorLBin(const char *path) noexcept { return qvx::LoadVectorBinT<int32_t>(path); }

// ---- matrices ------------------------------------------------------------------------

// The first matrix of the file.
QVX_API double **LoadMatrix(const char *path) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return Matrix(0, 0);
    auto blocks = qvx::ParseBlocks(text, 1);
    return blocks.empty() ? Matrix(0, 0) : qvx::BlockToMatrix<double>(blocks[0]);
  });
}

// Integers: numbers are rounded to the nearest and clamped to 32 bits.
QVX_API int32_t **LoadMatrixL(const char *path) noexcept {
  return qvx::Guard(static_cast<int32_t **>(nullptr), [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return MatrixL(0, 0);
    auto blocks = qvx::ParseBlocks(text, 1);
    return blocks.empty() ? MatrixL(0, 0) : qvx::BlockToMatrix<int32_t>(blocks[0]);
  });
}

// The real and imaginary part files, shaped as the real one.
QVX_API Complex **LoadMatrixC(const char *path) noexcept {
  return qvx::Guard(static_cast<Complex **>(nullptr), [&] {
    std::string re, im;
    if (!qvx::ReadWhole(qvx::SuffixedName(path, qvx::kPartSuffix[0]).c_str(), re)) return MatrixC(0, 0);
    bool haveIm = qvx::ReadWhole(qvx::SuffixedName(path, qvx::kPartSuffix[1]).c_str(), im);
    auto a = qvx::ParseBlocks(re, 1);
    if (a.empty()) return MatrixC(0, 0);
    std::vector<qvx::Block> b;
    if (haveIm) b = qvx::ParseBlocks(im, 1);
    return qvx::BlocksToMatrixC(a[0], b.empty() ? nullptr : &b[0]);
  });
}

QVX_API int32_t WriteMatrix(const char *path, double **m) noexcept { return qvx::WriteMatrixT(path, m); }
QVX_API int32_t WriteMatrixF(const char *path, float **m) noexcept { return qvx::WriteMatrixT(path, m); }
QVX_API int32_t WriteMatrixI(const char *path, int32_t **m) noexcept { return qvx::WriteMatrixT(path, m); }
QVX_API int32_t WriteMatrixL(const char *path, int32_t **m) noexcept { return qvx::WriteMatrixT(path, m); }
QVX_API int32_t WriteMatrixUInt32(const char *path, uint32_t **m) noexcept { return qvx::WriteMatrixT(path, m); }

// Real part, imaginary part, modulus and phase, each to its own file.
QVX_API int32_t WriteMatrixC(const char *path, Complex **m) noexcept {
  return qvx::WriteComplexParts(path, [&](std::FILE *f, int k) {
    qvx::PutGrid(f, Cols(m), FileRows(m), true,
                 [&](std::FILE *s, int32_t j, int32_t i) { qvx::PutReal(s, qvx::Part(qvx::At(m, j, i), k)); });
  });
}

QVX_API int32_t WriteMatrixAbsC(const char *path, Complex **m) noexcept {
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    qvx::PutGrid(f, Cols(m), FileRows(m), true,
                 [&](std::FILE *s, int32_t j, int32_t i) { qvx::PutReal(s, qvx::Part(qvx::At(m, j, i), 2)); });
  });
}

QVX_API int32_t WriteMatrixBin(const char *path, double **m) noexcept { return qvx::WriteMatrixBinT(path, m); }
QVX_API int32_t WriteMatrixCBin(const char *path, Complex **m) noexcept { return qvx::WriteMatrixBinT(path, m); }
QVX_API int32_t WriteMatrixLBin(const char *path, int32_t **m) noexcept { return qvx::WriteMatrixBinT(path, m); }
QVX_API double **LoadMatrixBin(const char *path) noexcept { return qvx::LoadMatrixBinT<double>(path); }
QVX_API Complex **LoadMatrixCBin(const char *path) noexcept { return qvx::LoadMatrixBinT<Complex>(path); }
QVX_API int32_t **LoadMatrixLBin(const char *path) noexcept { return qvx::LoadMatrixBinT<int32_t>(path); }

// A complex data set, one sample a line: abscissa, real and imaginary part.
QVX_API int32_t WriteMatrix1DC(const char *path, Complex **m) noexcept {
  int32_t r = Cols(m) >= 2 ? std::min(Len(m[1]), Len(m[2])) : 0;
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    qvx::PutGrid(f, 3, r, true, [&](std::FILE *s, int32_t j, int32_t i) {
      qvx::PutReal(s, j == 1 ? m[1][i].re : (j == 2 ? m[2][i].re : m[2][i].im));
    });
  });
}

// The same with a fourth column from errors (0 where it has no element).
QVX_API int32_t WriteMatrix1DCErr(const char *path, Complex **m, const double *errors) noexcept {
  int32_t r = Cols(m) >= 2 ? std::min(Len(m[1]), Len(m[2])) : 0;
  int32_t ne = Len(errors);
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    qvx::PutGrid(f, 4, r, true, [&](std::FILE *s, int32_t j, int32_t i) {
      double x = j == 1 ? m[1][i].re : j == 2 ? m[2][i].re : j == 3 ? m[2][i].im : (i <= ne ? errors[i] : 0.0);
      qvx::PutReal(s, x);
    });
  });
}

// A MatrixC(2, n) data set from the first three columns of the first matrix
// of a file (a missing column reads as 0).
QVX_API Complex **LoadMatrix1DC(const char *path) noexcept {
  return qvx::Guard(static_cast<Complex **>(nullptr), [&] {
    double **a = LoadMatrix(path);
    int32_t r = FileRows(a), c = Cols(a);
    Complex **m = qvx::NewMatrix<Complex>(2, r);
    if (!m) {
      FreeMatrix(a);
      return MatrixC(2, 0);
    }
    for (int32_t i = 1; i <= r; ++i) {
      m[1][i] = Complex{a[1][i], 0.0};
      m[2][i] = Complex{c >= 2 ? a[2][i] : 0.0, c >= 3 ? a[3][i] : 0.0};
    }
    FreeMatrix(a);
    return m;
  });
}

// One matrix on an open stream, ending with a line end so that another can
// follow; LoadOneMatrix reads the next block of a stream (up to an empty line
// or the end) and leaves the stream after it.
QVX_API int32_t WriteOneMatrix(FILE *file, double **m) noexcept {
  if (!file) return 0;
  qvx::PutMatrix(file, m, false);
  return std::ferror(file) ? 0 : 1;
}

QVX_API double **LoadOneMatrix(FILE *file) noexcept {
  return qvx::Guard(static_cast<double **>(nullptr), [&] {
    if (!file) return Matrix(0, 0);
    std::string text, line;
    bool started = false;
    int ch;
    while ((ch = std::fgetc(file)) != EOF) {
      if (ch != '\n') {
        line.push_back(static_cast<char>(ch));
        continue;
      }
      bool blank = qvx::IsBlank(line);
      if (blank && started) break;
      if (!blank) {
        started = true;
        text += line;
        text.push_back('\n');
      }
      line.clear();
    }
    text += line;
    auto blocks = qvx::ParseBlocks(text, 1);
    return blocks.empty() ? Matrix(0, 0) : qvx::BlockToMatrix<double>(blocks[0]);
  });
}

// ---- MatrixVector and VectorMatrix ----------------------------------------------------

QVX_API int32_t WriteMatrixVector(const char *path, double ***mv) noexcept {
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) { qvx::PutBlocks(f, mv); });
}
QVX_API int32_t WriteMatrixVectorL(const char *path, int32_t ***mv) noexcept {
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) { qvx::PutBlocks(f, mv); });
}
QVX_API int32_t WriteMatrixVectorC(const char *path, Complex ***mv) noexcept { return qvx::WriteBlocksMVC(path, mv); }
QVX_API double ***LoadMatrixVector(const char *path) noexcept { return qvx::LoadBlocksMV<double>(path); }
QVX_API int32_t ***LoadMatrixVectorL(const char *path) noexcept { return qvx::LoadBlocksMV<int32_t>(path); }
QVX_API Complex ***LoadMatrixVectorC(const char *path) noexcept { return qvx::LoadBlocksMVC(path); }

// The number of matrices (blocks) in a file.
QVX_API int32_t LoadMatrixVectorSize(const char *path) noexcept {
  return qvx::Guard(int32_t{0}, [&] {
    std::string text;
    if (!qvx::ReadWhole(path, text)) return int32_t{0};
    return static_cast<int32_t>(std::min<std::size_t>(qvx::ParseBlocks(text).size(), INT32_MAX));
  });
}

QVX_API int32_t WriteMatrixVectorBin(const char *path, double ***mv) noexcept { return qvx::WriteMVBinT(path, mv); }
QVX_API double ***LoadMatrixVectorBin(const char *path) noexcept { return qvx::LoadMVBinT<double>(path); }

// Each matrix to a file of its own: the path with "_1", "_2", ... before its
// extension.
QVX_API int32_t WriteMatrixVectorFiles(const char *path, double ***mv) noexcept {
  return qvx::Guard(int32_t{0}, [&] {
    int32_t n = qvx::MVLength(mv), ok = 1;
    for (int32_t t = 1; t <= n; ++t) {
      std::string name = qvx::SuffixedName(path, "_" + std::to_string(t));
      ok &= WriteMatrix(name.c_str(), mv[t]);
    }
    return path ? ok : int32_t{0};
  });
}

// The MV form keeps the shape of every matrix, empty ones included.
QVX_API int32_t WriteMV(const char *path, double ***mv) noexcept {
  int32_t n = qvx::MVLength(mv);
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    std::fprintf(f, "%d", n);
    for (int32_t t = 1; t <= n; ++t) std::fprintf(f, " %d %d", Cols(mv[t]), Cols(mv[t]) ? FileRows(mv[t]) : 0);
    int32_t last = n;  // the last matrix holding elements ends the file
    while (last > 0 && (Cols(mv[last]) == 0 || FileRows(mv[last]) == 0)) --last;
    if (last > 0) std::fputc('\n', f);
    for (int32_t t = 1; t <= last; ++t) qvx::PutMatrix(f, mv[t], t == last);
  });
}

QVX_API double ***LoadMV(const char *path) noexcept {
  return qvx::Guard(static_cast<double ***>(nullptr), [&] {
    std::string text;
    std::vector<int64_t> head;
    std::vector<qvx::Row> rows;
    std::vector<int32_t> specs;
    if (!qvx::ReadHeaded(path, text, head, rows) || !qvx::MVSpecs(head, rows, specs)) return MatrixVector(0);
    int32_t n = specs[0];
    double ***mv = MatrixVector(n);
    if (!mv) return mv;
    std::size_t next = 0;
    for (int32_t t = 1; t <= n; ++t) {
      int32_t c = specs[2 * t - 1], r = specs[2 * t];
      mv[t] = qvx::NewMatrix<double>(c, r);
      if (!mv[t]) {
        FreeMatrixVector(mv);
        return MatrixVector(0);
      }
      qvx::FillFromRows(mv[t], c, r, rows, next);
    }
    return mv;
  });
}

QVX_API int32_t LoadMVSize(const char *path) noexcept {
  int32_t *specs = LoadMVSpecs(path);
  int32_t n = Len(specs) ? specs[1] : 0;
  FreeVectorL(specs);
  return n;
}

// A VectorL of 2n + 1 integers: n, then the columns and rows of each matrix.
QVX_API int32_t *LoadMVSpecs(const char *path) noexcept {
  return qvx::Guard(static_cast<int32_t *>(nullptr), [&] {
    std::string text;
    std::vector<int64_t> head;
    std::vector<qvx::Row> rows;
    std::vector<int32_t> specs;
    if (!qvx::ReadHeaded(path, text, head, rows) || !qvx::MVSpecs(head, rows, specs)) return VectorL(0);
    int32_t k = static_cast<int32_t>(specs.size());
    int32_t *v = VectorL(k);
    if (Len(v) != k) return v;
    for (int32_t i = 1; i <= k; ++i) v[i] = specs[static_cast<std::size_t>(i - 1)];
    return v;
  });
}

QVX_API int32_t WriteVectorMatrix(const char *path, double ***vm) noexcept { return WriteMatrixVector(path, vm); }
QVX_API int32_t WriteVectorMatrixC(const char *path, Complex ***vm) noexcept { return qvx::WriteBlocksMVC(path, vm); }
QVX_API int32_t WriteVectorMatrixBin(const char *path, double ***vm) noexcept { return qvx::WriteMVBinT(path, vm); }
QVX_API int32_t WriteVectorMatrixBinC(const char *path, Complex ***vm) noexcept { return qvx::WriteMVBinT(path, vm); }

// VectorMatrix loaders: the elements are brought to one shape, the largest
// column and row counts among them, padded with zeros.
QVX_API double ***LoadVectorMatrix(const char *path) noexcept { return qvx::Uniform(LoadMatrixVector(path)); }
QVX_API Complex ***LoadVectorMatrixC(const char *path) noexcept { return qvx::Uniform(LoadMatrixVectorC(path)); }
QVX_API double ***LoadVectorMatrixBin(const char *path) noexcept {
  return qvx::Uniform(qvx::LoadMVBinT<double>(path));
}
QVX_API Complex ***LoadVectorMatrixBinC(const char *path) noexcept {
  return qvx::Uniform(qvx::LoadMVBinT<Complex>(path));
}

// VM form: "m n k", then the k rows of n numbers of each of the m elements.
QVX_API int32_t WriteVM(const char *path, double ***vm) noexcept {
  int32_t m = qvx::MVLength(vm), n = m ? Cols(vm[1]) : 0, k = n ? FileRows(vm[1]) : 0;
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    std::fprintf(f, "%d %d %d", m, n, k);
    if (m > 0 && n > 0 && k > 0) std::fputc('\n', f);
    for (int32_t a = 1; a <= m && n > 0 && k > 0; ++a)
      qvx::PutGrid(f, n, k, a == m, [&](std::FILE *s, int32_t j, int32_t i) {
        qvx::PutReal(s, j <= Cols(vm[a]) ? qvx::At(vm[a], j, i) : 0.0);
      });
  });
}

QVX_API double ***LoadVM(const char *path) noexcept {
  return qvx::Guard(static_cast<double ***>(nullptr), [&] {
    std::string text;
    std::vector<int64_t> head;
    std::vector<qvx::Row> rows;
    if (!qvx::ReadHeaded(path, text, head, rows) || head.size() < 3) return VectorMatrix0(0, 0, 0);
    int64_t m = head[0], n = head[1], k = head[2];
    std::size_t tokens = 0;
    for (const qvx::Row &r : rows) tokens += r.size();
    uint64_t perElement = static_cast<uint64_t>(std::max<int64_t>(n, 0)) * static_cast<uint64_t>(std::max<int64_t>(k, 0));
    if (m < 0 || n < 0 || k < 0 || m > INT32_MAX || n > INT32_MAX || k > INT32_MAX ||
        (perElement > 0 && (perElement > tokens || static_cast<uint64_t>(m) > tokens / perElement)))
      return VectorMatrix0(0, 0, 0);
    if (n == 0 || k == 0) {  // nothing to read, and no row to size a request by
      m = std::min<int64_t>(m, 1 << 16);
    }
    double ***vm = VectorMatrix0(static_cast<int32_t>(m), static_cast<int32_t>(n), static_cast<int32_t>(k));
    if (!vm) return VectorMatrix0(0, 0, 0);
    std::size_t next = 0;
    for (int32_t a = 1; a <= m; ++a) qvx::FillFromRows(vm[a], static_cast<int32_t>(n), static_cast<int32_t>(k), rows, next);
    return vm;
  });
}

// A VectorMatrix of m one-dimensional data sets (each element a matrix of
// two columns, abscissas and ordinates) sharing their abscissas: one line a
// sample, the abscissa of the first set followed by the ordinate of each set.
QVX_API int32_t WriteVectorMatrix1D(const char *path, double ***vm) noexcept {
  int32_t m = qvx::MVLength(vm), k = m && Cols(vm[1]) >= 1 ? Len(vm[1][1]) : 0;
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    qvx::PutGrid(f, m + 1, m ? k : 0, true, [&](std::FILE *s, int32_t j, int32_t i) {
      double x = j == 1 ? qvx::At(vm[1], 1, i) : (Cols(vm[j - 1]) >= 2 ? qvx::At(vm[j - 1], 2, i) : 0.0);
      qvx::PutReal(s, x);
    });
  });
}

// Complex ordinates: the abscissa (real part of the first set's), then the
// real and imaginary part of each set's ordinate.
QVX_API int32_t WriteVectorMatrix1DC(const char *path, Complex ***vm) noexcept {
  int32_t m = qvx::MVLength(vm), k = m && Cols(vm[1]) >= 1 ? Len(vm[1][1]) : 0;
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    qvx::PutGrid(f, 2 * m + 1, m ? k : 0, true, [&](std::FILE *s, int32_t j, int32_t i) {
      if (j == 1) return qvx::PutReal(s, qvx::At(vm[1], 1, i).re);
      int32_t a = j / 2;
      Complex y = Cols(vm[a]) >= 2 ? qvx::At(vm[a], 2, i) : Complex{0.0, 0.0};
      qvx::PutReal(s, j % 2 == 0 ? y.re : y.im);
    });
  });
}

QVX_API double ***LoadVectorMatrix1D(const char *path) noexcept {
  return qvx::Guard(static_cast<double ***>(nullptr), [&] {
    double **a = LoadMatrix(path);
    int32_t c = Cols(a), k = FileRows(a), m = c > 1 ? c - 1 : 0;
    double ***vm = VectorMatrix0(m, 2, k);
    if (vm)
      for (int32_t s = 1; s <= m; ++s)
        for (int32_t i = 1; i <= k; ++i) {
          vm[s][1][i] = a[1][i];
          vm[s][2][i] = a[s + 1][i];
        }
    FreeMatrix(a);
    return vm ? vm : VectorMatrix0(0, 2, 0);
  });
}

QVX_API Complex ***LoadVectorMatrix1DC(const char *path) noexcept {
  return qvx::Guard(static_cast<Complex ***>(nullptr), [&] {
    double **a = LoadMatrix(path);
    int32_t c = Cols(a), k = FileRows(a), m = c > 1 ? (c - 1) / 2 : 0;
    Complex ***vm = VectorMatrixC(m, 2, k);
    if (vm)
      for (int32_t s = 1; s <= m; ++s)
        for (int32_t i = 1; i <= k; ++i) {
          vm[s][1][i] = Complex{a[1][i], 0.0};
          vm[s][2][i] = Complex{a[2 * s][i], a[2 * s + 1][i]};
        }
    FreeMatrix(a);
    return vm ? vm : VectorMatrixC(0, 2, 0);
  });
}

// ---- text containers ----------------------------------------------------------------

QVX_API char **LoadStringVector(const char *path) noexcept { return qvx::LoadLines(path, INT64_MAX); }
QVX_API char **LoadStringVectorN(const char *path, int32_t n) noexcept { return qvx::LoadLines(path, n < 0 ? 0 : n); }

// One string a line, the last without a line end.
QVX_API int32_t WriteStringVector(const char *path, char **v) noexcept {
  int32_t n = v ? StringVectorLength(v) : 0;
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    for (int32_t i = 0; i < n; ++i) {
      std::fputs(v[i], f);
      if (i + 1 < n) std::fputc('\n', f);
    }
  });
}

// Non-blank lines are the rows and their blank-separated tokens the columns;
// cells a short line lacks keep the constructor's "0".
QVX_API char ***LoadStringMatrix(const char *path) noexcept {
  return qvx::Guard(static_cast<char ***>(nullptr), [&] {
    std::string text;
    std::vector<qvx::Row> rows;
    if (qvx::ReadWhole(path, text))
      for (std::string_view line : qvx::SplitLines(text))
        if (!qvx::IsBlank(line)) rows.push_back(qvx::Tokens(line));
    std::size_t c = 0;
    for (const qvx::Row &r : rows) c = std::max(c, r.size());
    int32_t cols = static_cast<int32_t>(std::min<std::size_t>(c, INT32_MAX - 1));
    int32_t nrows = cols ? static_cast<int32_t>(std::min<std::size_t>(rows.size(), INT32_MAX - 1)) : 0;
    char ***m = StringMatrix(cols, nrows);
    if (!m) return m;
    for (int32_t i = 0; i < nrows; ++i) {
      const qvx::Row &row = rows[static_cast<std::size_t>(i)];
      for (int32_t j = 0; j < cols && static_cast<std::size_t>(j) < row.size(); ++j) {
        char *cell = qvx::DupText(row[static_cast<std::size_t>(j)].data(), row[static_cast<std::size_t>(j)].size());
        if (!cell) continue;
        qvx::WipeAndFree(m[j][i]);
        m[j][i] = cell;
      }
    }
    return m;
  });
}

// Rows as lines, cells separated by a blank, the last line without a line end.
QVX_API int32_t WriteStringMatrix(const char *path, char ***m) noexcept {
  int32_t c = m ? StringMatrixCols(m) : 0, r = c ? StringMatrixRows(m) : 0;
  return qvx::WriteFile(path, "wb", [&](std::FILE *f) {
    qvx::PutGrid(f, c, r, true, [&](std::FILE *s, int32_t j, int32_t i) {
      if (StringVectorLength(m[j - 1]) >= i) std::fputs(m[j - 1][i - 1], s);
    });
  });
}

// ---- console ---------------------------------------------------------------------------

QVX_API void Print(double x) noexcept { std::printf("%.3E\n", x); }
QVX_API void PrintC(Complex z) noexcept { std::printf("%.3E + %.3E i\n", z.re, z.im); }
QVX_API void PrintF(float x) noexcept { std::printf("%.3E\n", static_cast<double>(x)); }
QVX_API void PrintI(int32_t i) noexcept { std::printf("%d\n", i); }
QVX_API void PrintL(int32_t i) noexcept { std::printf("%d\n", i); }
QVX_API void PrintNL(void) noexcept { std::printf("\n"); }
QVX_API void PrintS(const char *text) noexcept { std::printf("%s\n", text ? text : ""); }

// Vectors print one element a line.
QVX_API void PrintVector(const double *v) noexcept {
  for (int32_t i = 1; i <= Len(v); ++i) std::printf("%.3E\n", v[i]);
}
QVX_API void PrintVectorC(const Complex *v) noexcept {
  for (int32_t i = 1; i <= Len(v); ++i) std::printf("%.3E + %.3E i\n", v[i].re, v[i].im);
}
QVX_API void PrintVectorF(const float *v) noexcept {
  for (int32_t i = 1; i <= Len(v); ++i) std::printf("%.3E\n", static_cast<double>(v[i]));
}
QVX_API void PrintVectorI(const int32_t *v) noexcept {
  for (int32_t i = 1; i <= Len(v); ++i) std::printf("%d\n", v[i]);
}
QVX_API void PrintVectorL(const int32_t *v) noexcept { PrintVectorI(v); }

// Matrices print one line a row.
QVX_API void PrintMatrixC(Complex **m) noexcept {
  for (int32_t i = 1; i <= FileRows(m); ++i) {
    for (int32_t j = 1; j <= Cols(m); ++j) {
      Complex z = qvx::At(m, j, i);
      std::printf("%.3E+%.3Ei ", z.re, z.im);
    }
    std::printf("\n");
  }
}
QVX_API void PrintMatrixF(float **m) noexcept {
  for (int32_t i = 1; i <= FileRows(m); ++i) {
    for (int32_t j = 1; j <= Cols(m); ++j) std::printf("%.3E ", static_cast<double>(qvx::At(m, j, i)));
    std::printf("\n");
  }
}
QVX_API void PrintMatrixI(int32_t **m) noexcept {
  for (int32_t i = 1; i <= FileRows(m); ++i) {
    for (int32_t j = 1; j <= Cols(m); ++j) std::printf("%d ", qvx::At(m, j, i));
    std::printf("\n");
  }
}
QVX_API void PrintMatrixL(int32_t **m) noexcept { PrintMatrixI(m); }

// The matrices one after another, an empty line between them.
QVX_API void PrintMatrixVector(double ***mv) noexcept {
  for (int32_t t = 1; t <= qvx::MVLength(mv); ++t) {
    if (t > 1) std::printf("\n");
    PrintMatrix(mv[t]);
  }
}
QVX_API void PrintMatrixVectorC(Complex ***mv) noexcept {
  for (int32_t t = 1; t <= qvx::MVLength(mv); ++t) {
    if (t > 1) std::printf("\n");
    PrintMatrixC(mv[t]);
  }
}

QVX_API void PrintStringVector(char **v) noexcept {
  int32_t n = v ? StringVectorLength(v) : 0;
  for (int32_t i = 0; i < n; ++i) std::printf("%s\n", v[i]);
}

// n StringVectors, one line each, their strings separated by a blank.
QVX_API void PrintStringVectorArray(char ***vectors, int32_t n) noexcept {
  for (int32_t k = 0; vectors && k < n; ++k) {
    int32_t len = vectors[k] ? StringVectorLength(vectors[k]) : 0;
    for (int32_t i = 0; i < len; ++i) std::printf(i + 1 < len ? "%s " : "%s", vectors[k][i]);
    std::printf("\n");
  }
}

QVX_API void PrintStringMatrix(char ***m) noexcept {
  int32_t c = m ? StringMatrixCols(m) : 0, r = c ? StringMatrixRows(m) : 0;
  for (int32_t i = 0; i < r; ++i) {
    for (int32_t j = 0; j < c; ++j)
      if (StringVectorLength(m[j]) > i) std::printf(j + 1 < c ? "%s " : "%s", m[j][i]);
    std::printf("\n");
  }
}

QVX_API void PrintStringMatrixVector(char ****v) noexcept {
  int32_t n = v ? StringMatrixVectorLength(v) : 0;
  for (int32_t t = 0; t < n; ++t) {
    if (t > 0) std::printf("\n");
    PrintStringMatrix(v[t]);
  }
}

}  // extern "C"
