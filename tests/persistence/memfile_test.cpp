// MemFile: the growth formulas (their sizes are visible to hosts), bounds of
// reading, and the byte-array stream form in memory and file mode.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "libquorvex.h"
#include "persistence/memfile.h"

static_assert(sizeof(MemFile) == sizeof(void *) + 8);

namespace {

TEST(MemFile, OpenRejectsNonPositiveSizes) {
  EXPECT_EQ(MemOpen(0), nullptr);
  EXPECT_EQ(MemOpen(-5), nullptr);
  MemFile *m = MemOpen(1);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(MemGetBufSize(m), 1u);
  EXPECT_EQ(MemGetBufPos(m), 0u);
  MemClose(m);
  unsigned char buf[4] = {1, 2, 3, 4};
  EXPECT_EQ(MemWrapperOpen(buf, 0), nullptr);
}

// Each writer grows by its own formula, and the new tail is zero.
TEST(MemFile, GrowthFormulas) {
  struct Case {
    const char *what;
    int32_t capacity;
    uint32_t preFill;  // bytes written first, without growth
    int width;         // 0: a run of `run` bytes; 4 or 8: a fixed field
    uint32_t run;
    uint32_t newSize;
  } cases[] = {
      {"run one past capacity", 6, 6, 0, 1, (1 + 6) * 2},
      {"run of 10 into 4", 4, 0, 0, 10, (10 + 4) * 2},
      {"run that fits", 8, 2, 0, 6, 8},
      {"int32 with 3 free", 7, 4, 4, 0, 7 * 2 + 8},
      {"int32 with 4 free", 8, 4, 4, 0, 8},
      {"double with 7 free", 9, 2, 8, 0, 9 * 2 + 16},
      {"double with 8 free", 10, 2, 8, 0, 10},
  };
  for (const Case &c : cases) {
    MemFile *m = MemOpen(c.capacity);
    std::vector<unsigned char> fill(c.preFill, 0xAB);
    if (c.preFill) {
      ASSERT_EQ(MemWrite(fill.data(), 1, c.preFill, m), c.preFill);
    }
    ASSERT_EQ(MemGetBufSize(m), static_cast<uint32_t>(c.capacity)) << c.what;
    uint32_t wrote = c.width ? static_cast<uint32_t>(c.width) : c.run;
    if (c.width == 4) {
      qvx::StreamWriteInt32(m, 0, -2);
    } else if (c.width == 8) {
      qvx::StreamWriteDouble(m, 0, 280.462);
    } else {
      std::vector<unsigned char> data(c.run, 0x5A);
      EXPECT_EQ(MemWrite(data.data(), 1, c.run, m), c.run) << c.what;
    }
    EXPECT_EQ(MemGetBufSize(m), c.newSize) << c.what;
    EXPECT_EQ(MemGetBufPos(m), c.preFill + wrote) << c.what;
    for (uint32_t i = c.preFill + wrote; i < m->size; ++i) ASSERT_EQ(m->buffer[i], 0) << c.what << " at " << i;
    MemClose(m);
  }
}

TEST(MemFile, FieldsAreLittleEndian) {
  MemFile *m = MemOpen(2);
  qvx::StreamWriteInt32(m, 0, 0x01020304);
  qvx::StreamWriteDouble(m, 0, 280.462);
  const unsigned char want[] = {4, 3, 2, 1, 0x08, 0xAC, 0x1C, 0x5A, 0x64, 0x87, 0x71, 0x40};
  ASSERT_EQ(m->position, sizeof want);
  EXPECT_EQ(std::memcmp(m->buffer, want, sizeof want), 0);
  MemSetBufPos(m, 0);
  int32_t i = 0;
  double d = 0;
  EXPECT_TRUE(qvx::StreamReadInt32(m, 0, &i));
  EXPECT_TRUE(qvx::StreamReadDouble(m, 0, &d));
  EXPECT_EQ(i, 0x01020304);
  EXPECT_EQ(d, 280.462);
  EXPECT_FALSE(qvx::StreamReadInt32(m, 0, &i)) << "the buffer is used up";
  EXPECT_EQ(i, 0x01020304);
  MemClose(m);
}

// Reads go by size, not by position: bytes past the written content but
// inside the buffer are readable, anything beyond the buffer is refused whole.
TEST(MemFile, ReadIsBoundedBySizeOnly) {
  unsigned char *buf = static_cast<unsigned char *>(std::malloc(6));
  std::memcpy(buf, "abcdef", 6);
  MemFile *m = MemWrapperOpen(buf, 6);
  char out[8] = "zzzzzzz";
  EXPECT_EQ(MemRead(out, 2, 2, m), 2u);
  EXPECT_EQ(std::memcmp(out, "abcd", 4), 0);
  EXPECT_EQ(MemRead(out, 1, 3, m), 0u);
  EXPECT_EQ(MemGetBufPos(m), 4u);
  EXPECT_EQ(std::memcmp(out, "abcd", 4), 0) << "a refused read leaves the destination";
  EXPECT_EQ(MemRead(out, 1, 2, m), 2u);
  EXPECT_EQ(MemSetRelativeBufPos(m, -3), -3);
  EXPECT_EQ(MemGetBufPos(m), 3u);
  MemSetBufPos(m, 1000);  // no bounds test on positioning, but reads stay inside
  EXPECT_EQ(MemRead(out, 1, 1, m), 0u);
  int32_t v = 5;
  EXPECT_FALSE(qvx::StreamReadInt32(m, 0, &v));
  EXPECT_EQ(v, 5);
  MemWrapperClose(m);  // the buffer stays with its owner
  EXPECT_EQ(buf[0], 'a');
  std::free(buf);
}

TEST(MemFile, WritingPastAFarPositionStaysInBounds) {
  MemFile *m = MemOpen(4);
  MemSetBufPos(m, 100);
  unsigned char b = 7;
  EXPECT_EQ(MemWrite(&b, 1, 1, m), 1u);
  EXPECT_GE(m->size, 101u);
  EXPECT_EQ(m->buffer[100], 7);
  EXPECT_EQ(m->buffer[50], 0);
  MemClose(m);
}

TEST(MemFile, DumpAndCopyTakeWrittenBytes) {
  MemFile *m = MemOpen(3);
  MemWrite("hello world", 1, 11, m);
  unsigned char *d = MemDump(m, 6, 11);
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(std::memcmp(d, "world", 5), 0);
  std::free(d);
  EXPECT_EQ(MemDump(m, 5, 5), nullptr);
  EXPECT_EQ(MemDump(m, 0, m->size + 1), nullptr);
  MemFile *c = CopyMemFile(m);
  EXPECT_EQ(c->size, 11u);
  EXPECT_EQ(c->position, 11u);
  EXPECT_EQ(std::memcmp(c->buffer, "hello world", 11), 0);
  MemClose(c);
  MemSetBufPos(m, 0);
  c = CopyMemFile(m);  // nothing written: an empty record, not a fault
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->size, 0u);
  MemClose(c);
  MemClose(m);
}

// WriteMemFile/ReadMemFile in both modes; the record read back has size and
// position equal to the source's position.
TEST(MemFile, ByteArrayStreamRoundTrip) {
  MemFile *src = MemOpen(64);
  MemWrite("0123456789", 1, 10, src);
  for (StreamMode mode : {0, 1}) {
    FILE *f = nullptr;
    MemFile *mem = nullptr;
    void *stream;
    if (mode == 1) {
      f = std::tmpfile();
      ASSERT_NE(f, nullptr);
      stream = f;
    } else {
      mem = MemOpen(1);
      stream = mem;
    }
    WriteMemFile(src, stream, mode);
    WriteMemFile(nullptr, stream, mode);  // written as length 0
    if (f)
      std::rewind(f);
    else
      MemSetBufPos(mem, 0);
    MemFile *back = ReadMemFile(stream, mode);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->size, 10u);
    EXPECT_EQ(back->position, 10u);
    EXPECT_EQ(std::memcmp(back->buffer, "0123456789", 10), 0);
    MemFile *empty = ReadMemFile(stream, mode);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->size, 0u);
    MemFile *past = ReadMemFile(stream, mode);  // stream exhausted
    ASSERT_NE(past, nullptr);
    EXPECT_EQ(past->size, 0u);
    for (MemFile *x : {back, empty, past}) MemClose(x);
    if (f) std::fclose(f);
    MemClose(mem);
  }
  MemClose(src);
}

TEST(MemFile, ReadMemFileRefusesLengthsTheStreamCannotHold) {
  const unsigned char lengths[][4] = {{0xFF, 0xFF, 0xFF, 0x7F}, {0xFF, 0xFF, 0xFF, 0xFF}, {9, 0, 0, 0}};
  for (auto &l : lengths) {
    unsigned char *buf = static_cast<unsigned char *>(std::malloc(8));
    std::memcpy(buf, l, 4);
    std::memcpy(buf + 4, "abcd", 4);
    MemFile *in = MemWrapperOpen(buf, 8);
    MemFile *r = ReadMemFile(in, 0);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->size, 0u);
    EXPECT_EQ(in->position, 4u) << "the bytes are left unread";
    MemClose(r);
    MemClose(in);
    FILE *f = std::tmpfile();  // from a file the bytes are read in pieces until it ends
    ASSERT_NE(f, nullptr);
    std::fwrite(l, 1, 4, f);
    std::fwrite("abcd", 1, 4, f);
    std::rewind(f);
    r = ReadMemFile(f, 1);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->size, 0u);
    MemClose(r);
    std::fclose(f);
  }
}

TEST(MemFile, FileTransfersStartAtTheCurrentPosition) {
  FILE *f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  std::fputs("headerPAYLOAD", f);
  std::fseek(f, 6, SEEK_SET);
  MemFile *m = MemFRead(f);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->size, 7u);
  EXPECT_EQ(m->position, 0u);
  EXPECT_EQ(std::memcmp(m->buffer, "PAYLOAD", 7), 0);
  EXPECT_EQ(MemFRead(f), nullptr) << "nothing left";
  MemSetBufPos(m, 3);
  std::rewind(f);
  EXPECT_EQ(MemFWrite(m, f), 3u);
  std::rewind(f);
  char head[4] = {};
  ASSERT_EQ(std::fread(head, 1, 3, f), 3u);
  EXPECT_STREQ(head, "PAY");
  std::fclose(f);
  MemClose(m);
}

}  // namespace
