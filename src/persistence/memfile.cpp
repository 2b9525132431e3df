// MemFile, the growable memory buffer with a position, and the stream
// primitives that make a FILE * and a MemFile write the same bytes.
//
// A MemFile has no separate length: while it is written, position is the
// length of the content; while it is read, size is. The buffer grows by fixed
// formulas (see memfile.h) because the sizes it reaches are visible to hosts
// through MemGetBufSize. Where the record could be driven out of its bounds
// (a position set past the end, a damaged length in a stream), the functions
// here clamp or refuse instead of touching memory they do not own.
#include "persistence/memfile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "libquorvex.h"

namespace {

constexpr uint64_t kMaxSize = std::numeric_limits<uint32_t>::max();

// Bytes that can still be read or written at the position without growing.
std::size_t Room(const MemFile *m) {
  return m->position < m->size ? m->size - m->position : 0;
}

// Reallocates to newSize and zeroes from the old position (or the old end,
// when the position already lay beyond it) to the new end.
bool GrowTo(MemFile *m, uint64_t newSize) {
  if (newSize > kMaxSize) return false;
  auto *grown = static_cast<unsigned char *>(std::realloc(m->buffer, static_cast<std::size_t>(newSize)));
  if (!grown) return false;
  uint32_t from = std::min(m->position, m->size);
  std::memset(grown + from, 0, static_cast<std::size_t>(newSize - from));
  m->buffer = grown;
  m->size = static_cast<uint32_t>(newSize);
  return true;
}

MemFile *NewRecord(unsigned char *buffer, uint32_t size, uint32_t position) {
  auto *m = static_cast<MemFile *>(std::malloc(sizeof(MemFile)));
  if (!m) return nullptr;
  m->buffer = buffer;
  m->size = size;
  m->position = position;
  return m;
}

// A record that holds nothing: what a byte array of length 0 reads back as.
MemFile *EmptyRecord() { return NewRecord(nullptr, 0, 0); }

void StoreLE32(unsigned char *p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}
uint32_t LoadLE32(const unsigned char *p) {
  uint32_t v = 0;
  for (int i = 0; i < 4; ++i) v |= static_cast<uint32_t>(p[i]) << (8 * i);
  return v;
}

// Writes a fixed field of 4 or 8 bytes with the matching growth rule.
bool WriteField(void *stream, StreamMode mode, const unsigned char *bytes, std::size_t width) {
  if (!stream) return false;
  if (mode == qvx::kFileMode) return std::fwrite(bytes, 1, width, static_cast<FILE *>(stream)) == width;
  auto *m = static_cast<MemFile *>(stream);
  if (!qvx::MemReserveField(m, width)) return false;
  std::memcpy(m->buffer + m->position, bytes, width);
  m->position += static_cast<uint32_t>(width);
  return true;
}

}  // namespace

namespace qvx {

bool MemReserveRun(MemFile *m, std::size_t n) noexcept {
  if (!m) return false;
  if (n <= Room(m) || n == 0) return true;
  uint64_t newSize = (static_cast<uint64_t>(n) + m->size) * 2;
  newSize = std::max<uint64_t>(newSize, static_cast<uint64_t>(m->position) + n);
  return GrowTo(m, newSize);
}

bool MemReserveField(MemFile *m, std::size_t width) noexcept {
  if (!m) return false;
  if (width <= Room(m)) return true;
  uint64_t newSize = static_cast<uint64_t>(m->size) * 2 + (width == 8 ? 16 : 8);
  newSize = std::max<uint64_t>(newSize, static_cast<uint64_t>(m->position) + width);
  return GrowTo(m, newSize);
}

bool StreamWriteBytes(void *stream, StreamMode mode, const void *data, std::size_t n) noexcept {
  if (!stream) return false;
  if (n == 0) return true;
  if (mode == kFileMode) return std::fwrite(data, 1, n, static_cast<FILE *>(stream)) == n;
  auto *m = static_cast<MemFile *>(stream);
  if (!MemReserveRun(m, n)) return false;
  std::memcpy(m->buffer + m->position, data, n);
  m->position += static_cast<uint32_t>(n);
  return true;
}

bool StreamWriteInt32(void *stream, StreamMode mode, int32_t value) noexcept {
  unsigned char b[4];
  StoreLE32(b, static_cast<uint32_t>(value));
  return WriteField(stream, mode, b, 4);
}

bool StreamWrite8(void *stream, StreamMode mode, const unsigned char bytes[8]) noexcept {
  return WriteField(stream, mode, bytes, 8);
}

bool StreamWriteDouble(void *stream, StreamMode mode, double value) noexcept {
  uint64_t bits;
  std::memcpy(&bits, &value, 8);
  unsigned char b[8];
  for (int i = 0; i < 8; ++i) b[i] = static_cast<unsigned char>(bits >> (8 * i));
  return WriteField(stream, mode, b, 8);
}

bool StreamWriteText(void *stream, StreamMode mode, const char *text, std::size_t length) noexcept {
  if (length > static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) return false;
  if (!StreamWriteInt32(stream, mode, static_cast<int32_t>(length))) return false;
  return StreamWriteBytes(stream, mode, text, length);
}

bool StreamReadBytes(void *stream, StreamMode mode, void *out, std::size_t n) noexcept {
  if (!stream) return false;
  if (n == 0) return true;
  if (mode == kFileMode) return std::fread(out, 1, n, static_cast<FILE *>(stream)) == n;
  return MemRead(out, 1, n, static_cast<MemFile *>(stream)) == n;
}

bool StreamReadInt32(void *stream, StreamMode mode, int32_t *out) noexcept {
  unsigned char b[4];
  if (!StreamReadBytes(stream, mode, b, 4)) return false;
  *out = static_cast<int32_t>(LoadLE32(b));
  return true;
}

bool StreamReadDouble(void *stream, StreamMode mode, double *out) noexcept {
  unsigned char b[8];
  if (!StreamReadBytes(stream, mode, b, 8)) return false;
  uint64_t bits = static_cast<uint64_t>(LoadLE32(b)) | static_cast<uint64_t>(LoadLE32(b + 4)) << 32;
  std::memcpy(out, &bits, 8);
  return true;
}

char *StreamReadTextBytes(void *stream, StreamMode mode, int32_t length) noexcept {
  if (!stream || length < 0) return nullptr;
  std::size_t n = static_cast<std::size_t>(length);
  if (mode != kFileMode) {
    auto *m = static_cast<MemFile *>(stream);
    if (n > Room(m)) return nullptr;
    char *text = static_cast<char *>(std::malloc(n + 1));
    if (!text) return nullptr;
    if (n) std::memcpy(text, m->buffer + m->position, n);
    text[n] = '\0';
    m->position += static_cast<uint32_t>(n);
    return text;
  }
  // From a file the length cannot be checked in advance: read in growing
  // pieces so that a damaged length costs no more memory than the file holds.
  auto *file = static_cast<FILE *>(stream);
  std::size_t capacity = std::min<std::size_t>(n, 4096);
  char *text = static_cast<char *>(std::malloc(capacity + 1));
  if (!text) return nullptr;
  std::size_t have = 0;
  while (have < n) {
    if (have == capacity) {
      std::size_t next = std::min(n, capacity * 2);
      char *grown = static_cast<char *>(std::realloc(text, next + 1));
      if (!grown) break;
      text = grown;
      capacity = next;
    }
    std::size_t got = std::fread(text + have, 1, capacity - have, file);
    have += got;
    if (got == 0) break;
  }
  if (have < n) {
    volatile char *p = text;
    for (std::size_t i = 0; i < have; ++i) p[i] = 0;
    std::free(text);
    return nullptr;
  }
  text[n] = '\0';
  return text;
}

char *StreamReadText(void *stream, StreamMode mode) noexcept {
  int32_t length = 0;
  if (!StreamReadInt32(stream, mode, &length)) return nullptr;
  return StreamReadTextBytes(stream, mode, length);
}

}  // namespace qvx

extern "C" {

QVX_API MemFile *MemOpen(int32_t size) noexcept {
  if (size < 1) return nullptr;
  auto *buffer = static_cast<unsigned char *>(std::calloc(static_cast<std::size_t>(size), 1));
  if (!buffer) return nullptr;
  MemFile *m = NewRecord(buffer, static_cast<uint32_t>(size), 0);
  if (!m) std::free(buffer);
  return m;
}

QVX_API MemFile *MemWrapperOpen(unsigned char *buffer, uint32_t size) noexcept {
  if (size == 0 || !buffer) return nullptr;
  return NewRecord(buffer, size, 0);
}

QVX_API void MemWrapperClose(MemFile *m) noexcept { std::free(m); }

QVX_API void MemClose(MemFile *m) noexcept {
  if (!m) return;
  std::free(m->buffer);
  std::free(m);
}

QVX_API size_t MemRead(void *destination, size_t size, size_t count, MemFile *m) noexcept {
  if (!m) return 0;
  if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size) return 0;
  std::size_t n = size * count;
  if (n > Room(m)) return 0;
  if (n) {
    if (!destination) return 0;
    std::memcpy(destination, m->buffer + m->position, n);
    m->position += static_cast<uint32_t>(n);
  }
  return count;
}

QVX_API size_t MemWrite(const void *source, size_t size, size_t count, MemFile *m) noexcept {
  if (!m) return 0;
  if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size) return 0;
  std::size_t n = size * count;
  if (n == 0) return count;
  if (!source || !qvx::MemReserveRun(m, n)) return 0;
  std::memcpy(m->buffer + m->position, source, n);
  m->position += static_cast<uint32_t>(n);
  return count;
}

QVX_API MemFile *MemFRead(FILE *file) noexcept {
  if (!file) return nullptr;
  fpos_t start;
  if (std::fgetpos(file, &start) != 0) return nullptr;
  long here = std::ftell(file);
  if (here < 0 || std::fseek(file, 0, SEEK_END) != 0) return nullptr;
  long end = std::ftell(file);
  std::fsetpos(file, &start);
  if (end <= here || static_cast<uint64_t>(end - here) > kMaxSize) return nullptr;
  std::size_t n = static_cast<std::size_t>(end - here);
  auto *buffer = static_cast<unsigned char *>(std::malloc(n));
  if (!buffer) return nullptr;
  std::size_t got = std::fread(buffer, 1, n, file);
  if (got == 0) {
    std::free(buffer);
    return nullptr;
  }
  MemFile *m = NewRecord(buffer, static_cast<uint32_t>(got), 0);
  if (!m) std::free(buffer);
  return m;
}

QVX_API size_t MemFWrite(MemFile *m, FILE *file) noexcept {
  if (!m || !file || !m->buffer) return 0;
  return std::fwrite(m->buffer, 1, std::min(m->position, m->size), file);
}

QVX_API unsigned char *MemGetBufHandle(MemFile *m) noexcept { return m ? m->buffer : nullptr; }
QVX_API uint32_t MemGetBufPos(MemFile *m) noexcept { return m ? m->position : 0; }
QVX_API uint32_t MemGetBufSize(MemFile *m) noexcept { return m ? m->size : 0; }

QVX_API void MemSetBufPos(MemFile *m, uint32_t position) noexcept {
  if (m) m->position = position;
}

QVX_API int32_t MemSetRelativeBufPos(MemFile *m, int32_t offset) noexcept {
  if (m) m->position += static_cast<uint32_t>(offset);
  return offset;
}

QVX_API unsigned char *MemDump(MemFile *m, uint32_t from, uint32_t to) noexcept {
  if (!m || !m->buffer || from >= to || to > m->size) return nullptr;
  auto *out = static_cast<unsigned char *>(std::malloc(to - from));
  if (out) std::memcpy(out, m->buffer + from, to - from);
  return out;
}

QVX_API MemFile *CopyMemFile(MemFile *m) noexcept {
  if (!m) return nullptr;
  uint32_t n = std::min(m->position, m->size);
  if (n == 0 || !m->buffer) return EmptyRecord();
  auto *buffer = static_cast<unsigned char *>(std::malloc(n));
  if (!buffer) return nullptr;
  std::memcpy(buffer, m->buffer, n);
  MemFile *copy = NewRecord(buffer, n, n);
  if (!copy) std::free(buffer);
  return copy;
}

QVX_API void WriteMemFile(MemFile *m, void *stream, StreamMode mode) noexcept {
  uint32_t n = (m && m->buffer) ? std::min(m->position, m->size) : 0;
  if (n > static_cast<uint32_t>(std::numeric_limits<int32_t>::max())) n = 0;
  if (!qvx::StreamWriteInt32(stream, mode, static_cast<int32_t>(n))) return;
  if (n) qvx::StreamWriteBytes(stream, mode, m->buffer, n);
}

// A length below 1, or one the stream cannot satisfy, gives an empty record
// and reads nothing beyond the length field.
QVX_API MemFile *ReadMemFile(void *stream, StreamMode mode) noexcept {
  int32_t length = 0;
  if (!qvx::StreamReadInt32(stream, mode, &length) || length < 1) return EmptyRecord();
  char *bytes = qvx::StreamReadTextBytes(stream, mode, length);
  if (!bytes) return EmptyRecord();
  MemFile *m = NewRecord(reinterpret_cast<unsigned char *>(bytes), static_cast<uint32_t>(length),
                         static_cast<uint32_t>(length));
  if (!m) std::free(bytes);
  return m;
}

}  // extern "C"
