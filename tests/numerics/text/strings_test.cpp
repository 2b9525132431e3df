// String handling and file names: ranges and positions at their ends, the
// rewriting helpers on owned texts (pointer stored back, nothing leaked),
// UTF-8 edge forms, byte-array round trips, sorting and searching of string
// vectors, and texts of ten million characters.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "libquorvex.h"

namespace {

std::string Take(char *s) {
  if (!s) return "<null>";
  std::string out(s);
  FreeString(s);
  return out;
}

// A StringVector from texts, and back to a blank-joined text (freed).
char **Make(std::vector<const char *> items) {
  char **v = StringVectorNULL(static_cast<int32_t>(items.size()));
  for (std::size_t i = 0; i < items.size(); ++i) v[i] = CopyS(items[i]);
  return v;
}
std::string Join(char **v, bool free = true) {
  std::string out;
  for (int32_t i = 0; v && v[i] && v[i][0]; ++i) out += (i ? " " : "") + std::string(v[i]);
  if (free) FreeStringVector(v);
  return out;
}

TEST(Strings, ConcatTreatsNullAsEmpty) {
  EXPECT_EQ(Take(Concat("ab", nullptr)), "ab");
  EXPECT_EQ(Take(Concat3(nullptr, "b", "c")), "bc");
  EXPECT_EQ(Take(Concat4("a", "b", "", "d")), "abd");
  EXPECT_EQ(Take(Concat5("1", "2", "3", "4", "5")), "12345");
  EXPECT_EQ(Take(ConcatN(3, "x", "y", "z")), "xyz");
  EXPECT_EQ(Take(ConcatN(0)), "");
  char **v = Make({"ab", "cd"});
  EXPECT_EQ(Take(ConcatStringVector(v)), "abcd");
  FreeStringVector(v);
}

TEST(Strings, RewritingHelpersStoreTheNewText) {
  char *t = CopyS("abc");
  EXPECT_EQ(InsertChar(&t, 'X', 0), t);
  EXPECT_STREQ(t, "Xabc");
  InsertChar(&t, 'Y', 4);  // at the end
  EXPECT_STREQ(t, "XabcY");
  InsertStr(&t, "--", 99);  // clamped to the end
  EXPECT_STREQ(t, "XabcY--");
  InsertStr(&t, "<", -3);  // clamped to the start
  EXPECT_STREQ(t, "<XabcY--");
  AppendChar(&t, '!');
  AppendS(&t, "ok");
  AppendString(&t, "12345", 2);
  EXPECT_STREQ(t, "<XabcY--!ok12");
  AugmentString(&t, 16, '.');
  EXPECT_STREQ(t, "<XabcY--!ok12...");
  AugmentString(&t, 3, '.');  // already longer
  EXPECT_EQ(std::strlen(t), 16u);
  RemoveCharacter(&t, '.');
  RemoveCharacters(&t, "-<!");
  EXPECT_STREQ(t, "XabcYok12");
  FreeString(t);

  char *null = nullptr;  // a null owned text reads as empty
  AppendS(&null, "x");
  EXPECT_STREQ(null, "x");
  FreeString(null);
  EXPECT_EQ(AppendS(nullptr, "x"), nullptr);
}

TEST(Strings, SubstituteNonOverlappingLeftToRight) {
  struct Case {
    const char *text, *pattern, *replacement, *result;
  } cases[] = {
      {"[][]x[]", "[]", "array:0;", "array:0;array:0;xarray:0;"},
      {"aaa", "aa", "b", "ba"},
      {"aaaa", "a", "aa", "aaaaaaaa"},  // a replacement holding the pattern isn't rewritten
      {"abc", "", "z", "abc"},
      {"abc", "x", "y", "abc"},
      {"abcabc", "abc", "", ""},
  };
  for (const Case &c : cases) {
    char *t = CopyS(c.text);
    SubstituteString(&t, c.pattern, c.replacement);
    EXPECT_STREQ(t, c.result) << c.text;
    FreeString(t);
  }
  char *t = CopyS("aaa");
  char *before = t;
  EXPECT_EQ(SubstituteStringEqualSizes(&t, "aa", "ab"), before);  // in place
  EXPECT_STREQ(t, "aba");
  SubstituteStringEqualSizes(&t, "b", "xyz");  // sizes differ: falls back
  EXPECT_STREQ(t, "axyza");
  FreeString(t);
}

TEST(Strings, RangesIncludeBothEnds) {
  EXPECT_EQ(Take(CropString("abcdef", 1, 3)), "bcd");
  EXPECT_EQ(Take(CropString("abcdef", 0, 0)), "a");
  EXPECT_EQ(Take(CropString("abcdef", 5, 5)), "f");
  EXPECT_EQ(Take(CropString("abcdef", -2, 100)), "abcdef");
  EXPECT_EQ(Take(CropString("abcdef", 4, 2)), "");
  EXPECT_EQ(Take(CropString("abcdef", 6, 9)), "");
  EXPECT_EQ(Take(CropString(nullptr, 0, 3)), "");
  char **v = Make({"a", "b", "c", "d"});
  EXPECT_EQ(Join(CropStringVector(v, 1, 2)), "b c");
  EXPECT_EQ(Join(CropStringVector(v, 3, 10)), "d");
  EXPECT_EQ(Join(CropStringVector(v, 2, 1)), "");
  FreeStringVector(v);

  EXPECT_EQ(NOccS("abababa", "aba"), 2);
  EXPECT_EQ(NOccWindowS("abababa", "aba", 1, 5), 1);  // "bab|aba": only 2..4 fits
  EXPECT_EQ(NOccWindowS("abababa", "aba", 0, 1), 0);
  EXPECT_EQ(NOccS("abc", ""), 0);
}

TEST(Strings, Searches) {
  EXPECT_EQ(FindS("hello", "l"), 2);
  EXPECT_EQ(FindS("hello", "lo"), 3);
  EXPECT_EQ(FindS("hello", "hello!"), -1);
  EXPECT_EQ(FindS("hello", ""), -1);
  EXPECT_EQ(FindS(nullptr, "a"), -1);
  EXPECT_EQ(StrStr("abcabc", "abc", 1), 3);
  EXPECT_EQ(StrStr("abcabc", "abc", 3), 3);
  EXPECT_EQ(StrStr("abcabc", "abc", 4), -1);
  EXPECT_EQ(StrStr("abc", "c", 99), -1);
  EXPECT_EQ(LeadingCharacters("  \tx ", " \t"), 3);
  EXPECT_EQ(TrailingCharacters("x  ", " "), 2);
  EXPECT_EQ(TrailingCharacters("   ", " "), 3);
}

TEST(Strings, TokensTrimAndCase) {
  EXPECT_EQ(Join(StringTokens(",a,,bc ,", ", ")), "a bc");
  EXPECT_EQ(Join(StringTokens("", ",")), "");
  EXPECT_EQ(Join(StringTokens("abc", nullptr)), "abc");
  char text[] = "  one two  three";
  char *state = nullptr;
  std::string got;
  for (char *tok = StrTokR(text, " ", &state); tok; tok = StrTokR(nullptr, " ", &state)) got += tok + std::string("|");
  EXPECT_EQ(got, "one|two|three|");
  EXPECT_EQ(Take(Trim(" \t\r\nab c\n ")), "ab c");
  EXPECT_EQ(Take(Trim("   ")), "");
  EXPECT_EQ(Take(TrimSub("xxabxx", "x")), "ab");
  EXPECT_EQ(Take(LowerCase("AbC\xC3\x89")), "abc\xC3\x89");
  EXPECT_EQ(Take(UpperCase("aBc1")), "ABC1");
  EXPECT_EQ(Take(InvertCase("aBc1")), "AbC1");
  EXPECT_EQ(Take(ReverseS("abc")), "cba");
  EXPECT_EQ(Take(StringInit(3, 'z')), "zzz");
  EXPECT_EQ(Take(StringInit(-1, 'z')), "");
}

TEST(Strings, HexAndBinaryDigits) {
  EXPECT_EQ(Take(CharToHex(0)), "00");
  EXPECT_EQ(Take(CharToHex(0xAF)), "AF");
  EXPECT_EQ(HexByteToDecimal("ff"), 255);
  EXPECT_EQ(HexByteToDecimal("0A"), 10);
  EXPECT_EQ(HexByteToDecimal("g1"), -1);
  EXPECT_EQ(HexByteToDecimal("f"), -1);
  EXPECT_EQ(HexDigitToDecimal('F'), 15);
  EXPECT_EQ(HexDigitToDecimal('x'), -1);
  EXPECT_EQ(Take(BinToAsciiB(5)), "00000101");
  EXPECT_EQ(Take(BinToAsciiI(0x80000001u)), "10000000000000000000000000000001");
  const unsigned char bytes[] = {0x81, 0x02};
  EXPECT_EQ(Take(BinToAscii(bytes, 2)), "1000000100000010");
  int32_t *v = Vector1L(-1);
  EXPECT_EQ(Take(BinToAsciiL(v)), std::string(32, '1'));
  FreeVectorL(v);
}

TEST(Strings, Utf8) {
  struct Case {
    const char *text;
    int32_t valid;
  } cases[] = {
      {"", 1},
      {"plain", 1},
      {"\xC3\xA9", 1},            // é
      {"\xE2\x82\xAC", 1},        // €
      {"\xF0\x9F\x98\x80", 1},    // U+1F600
      {"\xC0\xAF", 0},            // overlong "/"
      {"\xE0\x80\xAF", 0},        // overlong, three bytes
      {"\xED\xA0\x80", 0},        // surrogate
      {"\xF4\x90\x80\x80", 0},    // past U+10FFFF
      {"\xE2\x82", 0},            // cut short at the end
      {"\x80", 0},                // lone continuation byte
  };
  for (const Case &c : cases) EXPECT_EQ(TestValidUTF8String(c.text), c.valid) << c.text;
  EXPECT_EQ(TestValidUTF8String(nullptr), 0);
  int32_t used = 0;
  EXPECT_EQ(UnicodeBytesToInteger("\xE2\x82\xAC!", &used), 0x20AC);
  EXPECT_EQ(used, 3);
  EXPECT_EQ(UnicodeBytesToInteger("\xE2\x82", &used), -1);  // stops at the terminator
  EXPECT_EQ(used, 1);
  EXPECT_EQ(UnicodeBytesToInteger("", &used), -1);
  EXPECT_EQ(used, 0);
  EXPECT_EQ(StringEncoding("abc"), 0);
  EXPECT_EQ(StringEncoding("caf\xC3\xA9"), 1);
  EXPECT_EQ(StringEncoding("caf\xE9"), 2);
}

TEST(Strings, ByteArraysRoundTrip) {
  int32_t n = -1;
  unsigned char *b = StringToByteArray("AB\xFF", &n);
  ASSERT_EQ(n, 3);
  EXPECT_EQ(b[2], 0xFF);
  EXPECT_EQ(Take(ByteArrayToString(b, n)), "AB\xFF");
  int32_t *l = ByteArrayToVectorL(b, n);
  ASSERT_EQ(l[0], 3);
  EXPECT_EQ(l[3], 255);
  int32_t m = 0;
  unsigned char *back = VectorToByteArrayL(l, &m);
  EXPECT_EQ(m, 3);
  EXPECT_EQ(std::memcmp(back, b, 3), 0);
  EXPECT_EQ(Take(VectorToStringL(l)), "AB\xFF");
  Free(back);
  FreeVectorL(l);

  const unsigned char five[] = {1, 2, 3, 4, 5};
  uint32_t *w = ByteArrayToVectorUInt32(five, 5);
  ASSERT_EQ(w[0], 2u);  // the short last group is padded
  EXPECT_EQ(w[1], 0x04030201u);
  EXPECT_EQ(w[2], 5u);
  unsigned char *packed = VectorToByteArrayUInt32(w, &m);
  EXPECT_EQ(m, 8);
  EXPECT_EQ(MergeBytesToInt(packed), 0x04030201u);
  Free(packed);
  Free(w);
  Free(b);

  unsigned char four[4];
  SplitIntToBytes(0xA1B2C3D4u, four);
  EXPECT_EQ(four[0], 0xD4);
  EXPECT_EQ(MergeBytesToInt(four), 0xA1B2C3D4u);
  SplitShortToBytes(0x1234, four);
  EXPECT_EQ(four[0], 0x34);
  EXPECT_EQ(four[1], 0x12);
  int32_t *s = StringToVectorL("");
  EXPECT_EQ(s[0], 0);
  FreeVectorL(s);
}

TEST(Strings, CombinationsAndPermutations) {
  EXPECT_EQ(Join(StringCombinations("abc", 2)), "ab ac bc");
  EXPECT_EQ(Join(StringCombinations("aab", 2)), "aa ab");
  EXPECT_EQ(Join(StringCombinations("abc", 3)), "abc");
  EXPECT_EQ(Join(StringCombinations("abc", 4)), "");
  EXPECT_EQ(Join(StringCombinations("abc", 0)), "");
  EXPECT_EQ(Join(StringPermutations("bca")), "abc acb bac bca cab cba");
  EXPECT_EQ(Join(StringPermutations("aab")), "aab aba baa");
  EXPECT_EQ(Join(StringPermutations("abcdefghij")), "");  // over the size limit
  EXPECT_EQ(Join(StringCombinations(std::string(60, 'x').c_str(), 30)), "");
}

TEST(Strings, SortingAndSearchingVectors) {
  char **v = Make({"pear", "Apple", "fig", "apple", "fig"});
  SortStringVector(v);
  EXPECT_EQ(Join(v, false), "Apple apple fig fig pear");
  EXPECT_EQ(BinarySearchPosS(v, "fig") / 2, 1);  // 2 or 3
  EXPECT_EQ(BinarySearchPosS(v, "Apple"), 0);
  EXPECT_EQ(BinarySearchPosS(v, "pear"), 4);
  EXPECT_EQ(BinarySearchPosS(v, "kiwi"), -1);
  EXPECT_EQ(PosS(v, "fig"), 2);
  EXPECT_EQ(TestElementS(v, "kiwi"), 0);
  EXPECT_EQ(Join(RemoveDuplicateStrings(v)), "Apple apple fig pear");
  FreeStringVector(v);

  v = Make({"c", "a", "b"});
  int32_t *ref = SortStringVectorRef(v);
  ASSERT_EQ(ref[0], 3);
  EXPECT_EQ(ref[1], 1);
  EXPECT_EQ(ref[2], 2);
  EXPECT_EQ(ref[3], 0);
  EXPECT_EQ(Join(v), "a b c");
  FreeVectorL(ref);

  v = Make({"ccc", "a", "bb", "b"});
  SortStringVectorSizes(v);
  EXPECT_EQ(Join(v), "a b bb ccc");

  char *items[] = {CopyS("b"), CopyS("a")};
  std::qsort(items, 2, sizeof(char *), AlphabeticStringComparator);
  EXPECT_STREQ(items[0], "a");
  FreeString(items[0]);
  FreeString(items[1]);

  // Rows follow the key column; the other column moves with them.
  char ***m = StringMatrix(2, 3);
  const char *keys[] = {"z", "x", "y"}, *values[] = {"1", "2", "3"};
  for (int i = 0; i < 3; ++i) {
    FreeString(m[0][i]);
    m[0][i] = CopyS(values[i]);
    FreeString(m[1][i]);
    m[1][i] = CopyS(keys[i]);
  }
  SortStringMatrix(m, 1);
  EXPECT_EQ(Join(m[1], false), "x y z");
  EXPECT_EQ(Join(m[0], false), "2 3 1");
  SortStringMatrix(m, 2);  // no such column: untouched
  EXPECT_EQ(Join(m[0], false), "2 3 1");
  FreeStringMatrix(m);
  SortStringVector(nullptr);
}

TEST(Strings, FGetSReadsLinesOfAnyLength) {
  std::FILE *f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  const std::string longLine(100000, 'q');
  std::fputs(("a\r\n\n" + longLine + "\nlast").c_str(), f);
  std::rewind(f);
  EXPECT_EQ(Take(FGetS(f)), "a");
  EXPECT_EQ(Take(FGetS(f)), "");
  EXPECT_EQ(Take(FGetS(f)), longLine);
  EXPECT_EQ(Take(FGetS(f)), "last");
  EXPECT_EQ(FGetS(f), nullptr);
  std::fclose(f);
  EXPECT_EQ(FGetS(nullptr), nullptr);
}

TEST(Strings, TenMillionCharacters) {
  std::string big;
  big.reserve(10'000'000);
  for (int i = 0; i < 2'000'000; ++i) big += "ab c ";
  char *t = CopyS(big.c_str());
  SubstituteString(&t, "ab", "xyz");
  EXPECT_EQ(std::strlen(t), 12'000'000u);
  RemoveCharacter(&t, ' ');
  EXPECT_EQ(std::strlen(t), 8'000'000u);
  EXPECT_EQ(NOccS(t, "xyzc"), 2'000'000);
  InsertStr(&t, "<", 4'000'000);
  EXPECT_EQ(t[4'000'000], '<');
  FreeString(t);
}

TEST(FileNames, Parts) {
  struct Case {
    const char *path, *name, *folder, *parent;
  } cases[] = {
      {"a/b/c.txt", "c.txt", "a/b/", "a/b/"},
      {"a/b/c/", "", "a/b/c/", "a/b/"},
      {"c.txt", "c.txt", "", ""},
      {"C:\\data\\m.dat", "m.dat", "C:\\data\\", "C:\\data\\"},
      {"/", "", "/", "/"},
      {"", "", "", ""},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(Take(Filename(c.path)), c.name) << c.path;
    EXPECT_EQ(Take(GetDirectory(c.path)), c.folder) << c.path;
    EXPECT_EQ(Take(ParentFolder(c.path)), c.parent) << c.path;
  }
  EXPECT_EQ(Take(ConcatFilenameR("out/m.txt", "_REAL")), "out/m_REAL.txt");
  EXPECT_EQ(Take(ConcatFilenameR("out.d/m", "_REAL")), "out.d/m_REAL");  // a point in a folder isn't an extension
  EXPECT_EQ(Take(ConcatFilenameR("dir/.profile", "_1")), "dir/.profile_1");
  EXPECT_EQ(Take(ConcatFilenameL("out/m.txt", "old_")), "out/old_m.txt");
  EXPECT_EQ(Take(ChangeExtension("a/b.tar.gz", "zip")), "a/b.tar.zip");
  EXPECT_EQ(Take(ChangeExtension("a/b", ".txt")), "a/b.txt");
  EXPECT_EQ(Take(ChangeExtension("a/b.txt", "")), "a/b");
  char *p = CopyS("m.txt");
  AppendFilenameR(&p, "_PHASE");
  EXPECT_STREQ(p, "m_PHASE.txt");
  FreeString(p);
  EXPECT_EQ(Take(Filename(nullptr)), "");
}

}  // namespace
