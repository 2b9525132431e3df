// Stream primitives shared by every persistent format of the library.
//
// A stream is a FILE * when the mode is 1 and a MemFile * for any other mode;
// both produce the same bytes. Multi-byte fields are little-endian whatever
// the host's byte order. The memory side grows by three fixed formulas that
// decide the sizes MemGetBufSize later reports, so every writer of a format
// goes through these helpers rather than growing a MemFile on its own:
//   - a run of n bytes (MemWrite):  size becomes (n + size) * 2;
//   - a 4-byte field:               size becomes size * 2 + 8;
//   - an 8-byte field:              size becomes size * 2 + 16.
// Readers never touch a byte outside the buffer: a field that does not fit in
// what is left is skipped, the position stays and the destination keeps what
// it held. The boolean results let a reader of a damaged stream stop early.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libquorvex.h"

namespace qvx {

constexpr StreamMode kFileMode = 1;

// Writers. A null stream is ignored. They return false only when nothing
// could be written (a failed allocation, a full disk).
bool StreamWriteBytes(void *stream, StreamMode mode, const void *data, std::size_t n) noexcept;
bool StreamWriteInt32(void *stream, StreamMode mode, int32_t value) noexcept;
bool StreamWriteDouble(void *stream, StreamMode mode, double value) noexcept;
// The 8-byte rule applied to eight raw bytes (already in stream order).
bool StreamWrite8(void *stream, StreamMode mode, const unsigned char bytes[8]) noexcept;
// A text field: its int32 length, then the bytes without a terminator.
bool StreamWriteText(void *stream, StreamMode mode, const char *text, std::size_t length) noexcept;

// Readers. On a short read they return false and leave *out as it was.
bool StreamReadBytes(void *stream, StreamMode mode, void *out, std::size_t n) noexcept;
bool StreamReadInt32(void *stream, StreamMode mode, int32_t *out) noexcept;
bool StreamReadDouble(void *stream, StreamMode mode, double *out) noexcept;

// Reads `length` bytes into a new NUL-terminated malloc block. In memory mode
// the block is only allocated when the bytes are there; from a file it grows
// as bytes arrive, so a damaged length never commits memory the stream cannot
// fill. Null (nothing allocated) when the length is negative or the stream
// ends first.
char *StreamReadTextBytes(void *stream, StreamMode mode, int32_t length) noexcept;

// A text field (int32 length, then the bytes), as a new NUL-terminated block,
// or null when the stream is short or the length negative.
char *StreamReadText(void *stream, StreamMode mode) noexcept;

// Grow a MemFile so that n more bytes fit at its position: by the run rule,
// or by the fixed-field rule of a 4- or 8-byte field. The bytes from the old
// position to the new end are zero. False when the buffer cannot grow.
bool MemReserveRun(MemFile *m, std::size_t n) noexcept;
bool MemReserveField(MemFile *m, std::size_t width) noexcept;

}  // namespace qvx
