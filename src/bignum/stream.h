// Fixed-width fields of the big-number stream forms, to a C file (mode 1) or
// to a MemFile (any other mode). MemFile writers grow the buffer inline by
// fixed formulas, because the resulting sizes are visible to callers through
// the buffer size: an 8-byte field grows a buffer with fewer than 8 free bytes
// to size * 2 + 16, a 1-byte field grows an exactly full one to size * 2 + 2.
// A MemFile read of a field that does not fit reads nothing and leaves the
// position where it was.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "libquorvex.h"

namespace qvx::bn {

inline bool GrowMemFile(MemFile *m, uint64_t newSize) {
  if (newSize > UINT32_MAX) return false;
  auto *p = static_cast<unsigned char *>(std::realloc(m->buffer, newSize));
  if (!p) return false;
  if (newSize > m->position) std::memset(p + m->position, 0, newSize - m->position);
  m->buffer = p;
  m->size = static_cast<uint32_t>(newSize);
  return true;
}

// Writes `width` bytes (1 or 8), little-endian.
inline void WriteField(void *stream, StreamMode mode, uint64_t value, unsigned width) {
  unsigned char bytes[8];
  for (unsigned i = 0; i < width; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
  if (!stream) return;
  if (mode == 1) {
    std::fwrite(bytes, 1, width, static_cast<FILE *>(stream));
    return;
  }
  auto *m = static_cast<MemFile *>(stream);
  if (m->position > m->size) return;
  if (width == 1) {
    if (m->position == m->size && !GrowMemFile(m, uint64_t{m->size} * 2 + 2)) return;
  } else if (m->size - m->position < width) {
    if (!GrowMemFile(m, uint64_t{m->size} * 2 + 16)) return;
  }
  if (!m->buffer) return;
  std::memcpy(m->buffer + m->position, bytes, width);
  m->position += width;
}

// Reads `width` bytes into *value; false when the stream has too few.
inline bool ReadField(void *stream, StreamMode mode, uint64_t *value, unsigned width) {
  unsigned char bytes[8];
  if (!stream) return false;
  if (mode == 1) {
    if (std::fread(bytes, 1, width, static_cast<FILE *>(stream)) != width) return false;
  } else {
    auto *m = static_cast<MemFile *>(stream);
    if (!m->buffer || m->position > m->size || m->size - m->position < width) return false;
    std::memcpy(bytes, m->buffer + m->position, width);
    m->position += width;
  }
  uint64_t v = 0;
  for (unsigned i = 0; i < width; ++i) v |= uint64_t{bytes[i]} << (8 * i);
  *value = v;
  return true;
}

// Bytes left to read in a MemFile; UINT64_MAX for a C file (unknown).
inline uint64_t BytesLeft(void *stream, StreamMode mode) {
  if (mode == 1 || !stream) return UINT64_MAX;
  auto *m = static_cast<MemFile *>(stream);
  return m->position > m->size ? 0 : m->size - m->position;
}

}  // namespace qvx::bn
