// Token streams of the scanner: implied products and list commas, exponents,
// "~=", string literals, the other bases, and texts of any bytes and size.
#include "math/scanner.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace qvx {
namespace {

struct ScannerDeleter {
  void operator()(Scanner *s) const { FreeScanner(s); }
};
using ScannerPtr = std::unique_ptr<Scanner, ScannerDeleter>;

ScannerPtr Scan(std::string_view text, ScannerClassifier classifier = ClassifyNumber) {
  return ScannerPtr(CreateScanner(text, classifier));
}

// "kind:text" for each token, joined by blanks.
std::string Tokens(const Scanner &s) {
  std::string out;
  for (const ScannerToken &t : s.tokens) {
    if (!out.empty()) out += ' ';
    out += std::to_string(t.kind) + ":" + std::string(TokenText(s, t));
  }
  return out;
}

// The tokens must tile the output: contiguous, in order, nothing left over.
void ExpectTiling(const Scanner &s) {
  int64_t at = 0;
  for (const ScannerToken &t : s.tokens) {
    ASSERT_EQ(t.offset, at);
    ASSERT_GT(t.length, 0);
    at += t.length;
  }
  EXPECT_EQ(at, s.length);
  EXPECT_EQ(static_cast<int32_t>(s.tokens.size()), s.tokenCount);
  EXPECT_EQ(s.output[s.length], '\0');
}

struct NumericCase {
  const char *text;
  const char *output;
  const char *tokens;
};

TEST(Scanner, NumericTokenStreams) {
  const NumericCase cases[] = {
      {"2x", "2*x", "1:2 4:* 3:x"},
      {"2(x)", "2*(x)", "1:2 4:* 4:( 3:x 4:)"},
      {"2[1]", "2,[1]", "1:2 4:, 4:[ 1:1 4:]"},
      {"3:x;", "3,:x;", "1:3 4:, 4:: 3:x 4:;"},
      {"2@a", "2*@a", "1:2 4:* 4:@ 3:a"},
      {"2~x", "2*~x", "1:2 4:* 4:~ 3:x"},
      {"2~=x", "2~=x", "1:2 4:~= 3:x"},  // "~=" is one delimiter step, not a negation
      {"1e-5", "1e-5", "1:1e-5"},
      {"2.5E+10*y", "2.5E+10*y", "2:2.5E+10 4:* 3:y"},
      {"2e", "2*e", "1:2 4:* 3:e"},       // no digits after the letter: a product
      {"2exp(1)", "2*exp(1)", "1:2 4:* 3:exp 4:( 1:1 4:)"},
      {"x2+y", "x2+y", "3:x2 4:+ 3:y"},
      {"a.b", "a.b", "3:a 4:. 3:b"},
      {"1..5", "1..5", "2:1. 2:.5"},
      {"..", "..", "2:.."},
      {".5+1", ".5+1", "2:.5 4:+ 1:1"},
      {"(x)2", "(x)*2", "4:( 3:x 4:) 4:* 1:2"},
      {"[1]x", "[1],x", "4:[ 1:1 4:] 4:, 3:x"},
      {"(a)+b", "(a)+b", "4:( 3:a 4:)+ 3:b"},
      {"2 x", "2* x", "1:2 4:* 5:  3:x"},
      {"2 +x", "2 +x", "1:2 5:  4:+ 3:x"},
      {"", "", ""},
  };
  for (const NumericCase &c : cases) {
    SCOPED_TRACE(c.text);
    ScannerPtr s = Scan(c.text);
    ASSERT_NE(s, nullptr);
    EXPECT_STREQ(s->output, c.output);
    EXPECT_EQ(Tokens(*s), c.tokens);
    ExpectTiling(*s);
  }
}

TEST(Scanner, NumbersAfterAWordAreNotProducts) {
  // Only a number followed by a word implies a product, never the reverse.
  ScannerPtr s = Scan("sin2(x)");
  EXPECT_STREQ(s->output, "sin2(x)");
}

TEST(Scanner, BaseClassifiersReadTheirDigits) {
  ScannerPtr hex = Scan("0x1Fa+y", ClassifyHexadecimal);
  EXPECT_EQ(Tokens(*hex), "1:0x1Fa 4:+ 3:y");
  ScannerPtr bin = Scan("0b101.1*2", ClassifyBinary);
  EXPECT_EQ(Tokens(*bin), "2:0b101.1 4:* 3:2");  // "2" isn't a binary digit
  ScannerPtr dec = Scan("0x1F");                   // decimal: "0" times the word x1F
  EXPECT_STREQ(dec->output, "0*x1F");
}

TEST(Scanner, StringTokens) {
  struct Case {
    const char *text, *output, *tokens;
  } cases[] = {
      {R"(a+"b c"+d)", R"(a+"b c"+d)", R"(0:a+ 1:"b c" 0:+d)"},
      {R"(x="a\"b")", R"(x="a\"b")", R"(0:x= 1:"a\"b")"},
      {R"("a\\"b")", R"("a\\"b")", R"(1:"a\\" 0:b 1:")"},  // even backslashes close it; the
                                                              // last quote opens one, left as is
      {R"(s="abc)", R"(s="abc")", R"(0:s= 1:"abc")"},          // closing quote added
      {R"("a""b")", R"("a""b")", R"(1:"a" 1:"b")"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.text);
    ScannerPtr s = Scan(c.text, ClassifyString);
    ASSERT_NE(s, nullptr);
    EXPECT_STREQ(s->output, c.output);
    EXPECT_EQ(Tokens(*s), c.tokens);
    ExpectTiling(*s);
  }
}

TEST(Scanner, NullTextGivesNull) { EXPECT_EQ(CreateScanner(static_cast<const char *>(nullptr), ClassifyNumber), nullptr); }

TEST(Scanner, AnyBytesAndLongTexts) {
  std::string bytes;
  for (int i = 1; i < 256; ++i) bytes += static_cast<char>(i);
  bytes += std::string("\0\0", 2) + "2x";
  for (ScannerClassifier c : {ClassifyNumber, ClassifyBinary, ClassifyHexadecimal, ClassifyString}) {
    ScannerPtr s = Scan(bytes, c);
    ASSERT_NE(s, nullptr);
    ExpectTiling(*s);
  }
  // Ten million characters: one word, and a long run of products.
  std::string word(10'000'000, 'a');
  ScannerPtr w = Scan(word);
  ASSERT_NE(w, nullptr);
  EXPECT_EQ(w->tokenCount, 1);
  EXPECT_EQ(w->length, 10'000'000);
  std::string products;
  for (int i = 0; i < 200'000; ++i) products += "2x+";
  ScannerPtr p = Scan(products);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->length, 800'000);
  ExpectTiling(*p);
}

TEST(Scanner, SeparateScannersOnTwoThreads) {
  std::string a, b;
  std::thread t1([&] { a = Scan("2x+3(y)")->output; });
  std::thread t2([&] { b = Scan(R"("q"+1)", ClassifyString)->output; });
  t1.join();
  t2.join();
  EXPECT_EQ(a, "2*x+3*(y)");
  EXPECT_EQ(b, R"("q"+1)");
}

TEST(Scanner, ExponentSign) {
  struct Case {
    const char *text;
    int32_t position;
    bool sign;
  } cases[] = {
      {"1e-5", 2, true},     {"2.5E+3*x", 4, true}, {"x+1e-5", 4, true},   {"(1e-5)", 3, true},
      {"1e-5x", 2, false},   // the number runs into a name
      {"a1e-5", 3, false},   // tail of a name
      {"e-5", 1, false},     // position must be above 1
      {"1e-", 2, false},     // no exponent digits
      {".e-5", 2, false},    // no mantissa digits
      {"1.2.3e-5", 6, false},
      {"x-1", 1, false},     {"1e-5", 3, false},    {"1e-5", 99, false},   {"1e-5", -1, false},
  };
  for (const Case &c : cases) EXPECT_EQ(IsExponentSign(c.text, c.position), c.sign) << c.text << " @" << c.position;
}

}  // namespace
}  // namespace qvx
