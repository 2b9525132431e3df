// The short cuts for plain decimal literals must give what the general road
// gives, byte for byte: the key (the value printed by DoubleString at 15
// digits, or the literal when that is longer), the printed form of a stored
// value, and the value itself (TestNumericString). Each short cut may
// decline; whenever it answers, the general road is run beside it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "engine/normalise.h"
#include "libquorvex.h"
#include "text/scan.h"

namespace qvx {
namespace {

std::string Printed(double v) {
  char *s = DoubleString(v, 15);
  std::string out = s ? s : "";
  FreeString(s);
  return out;
}

// The key of the general road for a literal of digits and an optional point.
std::string GeneralKey(const std::string &literal) {
  double v = 0.0;
  EXPECT_TRUE(TestNumericString(literal, &v)) << literal;
  const std::string printed = Printed(v);
  return printed.size() > literal.size() ? literal : printed;
}

std::string Digits(std::mt19937_64 &gen, int count, bool leadingNonZero) {
  std::string s;
  for (int i = 0; i < count; ++i) {
    const int lo = (i == 0 && leadingNonZero) ? 1 : 0;
    s.push_back(static_cast<char>('0' + std::uniform_int_distribution<int>(lo, 9)(gen)));
  }
  return s;
}

// Integers and decimals of every digit count up to 17, with leading and
// trailing zeros, powers of ten and their neighbours, few and many
// significant digits.
std::vector<std::string> Literals() {
  std::vector<std::string> out;
  std::mt19937_64 gen(20240611);
  for (int k = 1; k <= 17; ++k) {
    std::string ten = "1" + std::string(static_cast<std::size_t>(k - 1), '0');
    out.push_back(ten);
    out.push_back(std::string(static_cast<std::size_t>(k), '9'));
    out.push_back(ten.substr(0, ten.size() - 1) + "1");
    for (int d = 1; d <= 9; ++d) out.push_back(std::to_string(d) + ten.substr(1));
    for (int r = 0; r < 300; ++r) {
      std::string s = Digits(gen, k, true);
      out.push_back(s);
      out.push_back("00" + s);
      // Trailing zeros: fewer significant digits than digits.
      const int zeros = std::uniform_int_distribution<int>(0, k - 1)(gen);
      out.push_back(s.substr(0, static_cast<std::size_t>(k - zeros)) + std::string(static_cast<std::size_t>(zeros), '0'));
    }
  }
  for (int whole = 0; whole <= 6; ++whole) {
    for (int places = 1; places <= 16; ++places) {
      for (int r = 0; r < 60; ++r) {
        const std::string w = whole == 0 ? "0" : Digits(gen, whole, true);
        std::string f = Digits(gen, places, false);
        out.push_back(w + "." + f);
        out.push_back(w + "." + f + "000");
        out.push_back("0" + w + "." + f);
        if (whole == 0) {
          out.push_back("0.0" + f);
          out.push_back("0.00" + f);
          out.push_back("0.000" + f);
        }
      }
    }
  }
  const char *const fixed[] = {"0", "00", "0.0", "0.000", "1.0", "1.50", "0.1", "0.01", "0.001", "0.01000",
                               "9999", "9999.5", "9999.99999999", "9999.999999999999", "10000", "10000.0",
                               "0.00999999999999", "0.0099999999999", "0.1000000000001", "999999999999",
                               "999999999999999", "1000000000001", "12345678901", "123456789012",
                               "1234567890123", "5e3", "1.", ".5", "1..2", "0x1F", "12a", ""};
  for (const char *s : fixed) out.emplace_back(s);
  return out;
}

TEST(LiteralFastPath, PlainNumberKeyIsTheGeneralKey) {
  int answered = 0;
  for (const std::string &literal : Literals()) {
    std::string key;
    if (!PlainNumberKey(literal, &key)) continue;
    ++answered;
    EXPECT_EQ(key, GeneralKey(literal)) << literal;
  }
  EXPECT_GT(answered, 5000);  // the short cut is taken, not only declined
}

TEST(LiteralFastPath, PlainNumberKeyForEveryIntegerBelowTwoHundredThousand) {
  for (int i = 0; i < 200000; ++i) {
    const std::string literal = std::to_string(i);
    std::string key;
    if (PlainNumberKey(literal, &key)) ASSERT_EQ(key, GeneralKey(literal)) << literal;
  }
}

TEST(LiteralFastPath, PlainNumberKeyDeclinesWhatIsNotPlain) {
  std::string key;
  for (const char *s : {"", ".5", "1.", "1..2", "1e5", "1E5", "0x1F", "0b101", "12a", "1.2.3", "+1", "-1", " 1"})
    EXPECT_FALSE(PlainNumberKey(s, &key)) << s;
}

TEST(LiteralFastPath, ShortNumberTextIsDoubleString) {
  std::vector<double> values;
  for (const std::string &literal : Literals()) {
    double v = 0.0;
    if (TestNumericString(literal, &v)) values.push_back(v);
  }
  std::mt19937_64 gen(7);
  for (int r = 0; r < 20000; ++r) {
    values.push_back(std::uniform_real_distribution<double>(0.0, 20000.0)(gen));
    values.push_back(std::ldexp(std::uniform_real_distribution<double>(0.5, 1.0)(gen),
                                std::uniform_int_distribution<int>(-12, 16)(gen)));
  }
  for (double base : {0.01, 0.1, 1.0, 10.0, 100.0, 1000.0, 9999.0, 10000.0, 0.5, 2.5, 123.456}) {
    double up = base, down = base;
    for (int s = 0; s < 8; ++s) {
      values.push_back(up = std::nextafter(up, 1e300));
      values.push_back(down = std::nextafter(down, 0.0));
    }
  }
  values.push_back(0.0);
  values.push_back(-0.0);
  int answered = 0;
  for (double v : values) {
    std::string text;
    if (!ShortNumberText(v, &text)) continue;
    ++answered;
    EXPECT_EQ(text, Printed(v)) << std::hexfloat << v;
  }
  EXPECT_GT(answered, 5000);
}

TEST(LiteralFastPath, ParseShortDecimalIsTestNumericString) {
  int answered = 0;
  for (const std::string &literal : Literals()) {
    double fast = 0.0;
    if (!ParseShortDecimal(literal, &fast)) continue;
    ++answered;
    double general = 0.0;
    ASSERT_TRUE(TestNumericString(literal, &general)) << literal;
    uint64_t a = 0, b = 0;
    std::memcpy(&a, &fast, sizeof a);
    std::memcpy(&b, &general, sizeof b);
    EXPECT_EQ(a, b) << literal;
  }
  EXPECT_GT(answered, 5000);
}

TEST(LiteralFastPath, OperatorVerdictsHoldFarIntoALongList) {
  // The verdict for an operator between names is taken once and reused: a
  // bad operator after ten thousand good ones is still refused, and a good
  // one of another kind still admitted.
  std::string row = "m=[[";
  for (int i = 0; i < 10000; ++i) row += i ? ",a" : "a";
  EXPECT_EQ(TestOperatorPlacement(row + "]]"), 1);
  EXPECT_EQ(TestOperatorPlacement(row + ",b!c]]"), 0);
  EXPECT_EQ(TestOperatorPlacement(row + ",b~c]]"), 0);
  EXPECT_EQ(TestOperatorPlacement(row + ",b*c,b<c,b&c]]"), 1);
  EXPECT_EQ(TestOperatorPlacement(row + ",b#c]]"), 0);
  EXPECT_EQ(TestOperatorPlacement(row + ",(b)!,c]]"), 1);
  EXPECT_EQ(TestOperatorPlacement(row + ",b,]]"), 0);
}

}  // namespace
}  // namespace qvx
