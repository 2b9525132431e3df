// Numbers as text. DoubleString on a table covering both branches, carries,
// the double rounding of its text pipeline, signs and the digit argument;
// the exact fixed-point printer against the C library; the text steps and
// the integer printers on their boundaries.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "libquorvex.h"

namespace {

// Takes ownership of a returned text.
std::string Take(char *s) {
  if (!s) return "<null>";
  std::string out(s);
  FreeString(s);
  return out;
}

struct DoubleCase {
  double x;
  int32_t digits;
  const char *text;
};

TEST(DoubleString, Table) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const DoubleCase cases[] = {
      // Zero, and what is not a number.
      {0.0, 6, "0"}, {-0.0, 15, "0"}, {nan, 6, ">invalid_expression<"},
      {inf, 15, ">invalid_expression<"}, {-inf, 15, ">invalid_expression<"},
      // Decimal branch, -3 <= log10|x| < 4.
      {1.0, 15, "1"}, {0.1, 15, "0.1"}, {0.1, 17, "0.10000000000000001"},
      {0.3, 17, "0.29999999999999999"}, {3.14159265358979, 6, "3.14159"},
      {0.001, 15, "0.001"}, {1234.5678, 15, "1234.5678"}, {1234.5678, 2, "1200"},
      {-2.5, 15, "-2.5"}, {-2.5, 1, "-3"}, {9999.4, 15, "9999.4"},
      // Carries through the leading digit.
      {999.5, 3, "1000"}, {9.9999999999999995, 15, "10"}, {0.0999999, 2, "0.1"},
      // Two roundings: first to digits + 2 decimals (ties to even on the
      // exact value), then half up on the text. 2.675 is 2.67499999...,
      // 1.0005 is 1.000499999...; a single rounding would give 2.67 and 1.
      {2.675, 3, "2.68"}, {1.0005, 4, "1.001"}, {0.0012345, 4, "0.001234"},
      // The digit argument: below 1 counts as 1.
      {3.14159265358979, 0, "3"}, {3.14159265358979, -4, "3"},
      // Exponent branch: "+" before a positive exponent.
      {1e4, 15, "1e+4"}, {12345.678, 3, "1.23e+4"}, {123456789.0, 15, "1.23456789e+8"},
      {1.5e300, 15, "1.5e+300"}, {-1.5e300, 15, "-1.5e+300"}, {0.00099, 15, "9.9e-4"},
      {-0.000123456, 3, "-1.23e-4"}, {2e-4, 15, "2e-4"}, {5e-324, 3, "4.94e-324"},
      {1.7976931348623157e308, 3, "1.8e+308"},
      // A mantissa that rounds to 10 becomes "1.0" with the exponent raised;
      // an exact negative power of ten forms its mantissa as 10.
      {99999.9, 3, "1.0e+5"}, {1e-4, 15, "1.0e-4"}, {1e-5, 6, "1.0e-5"},
  };
  for (const DoubleCase &c : cases)
    EXPECT_EQ(Take(DoubleString(c.x, c.digits)), c.text) << c.x << " at " << c.digits;
}

TEST(DoubleString, LongDigitCountsAreExactAndBounded) {
  // 0.1 printed with every digit of its binary value.
  EXPECT_EQ(Take(DoubleString(0.1, 60)), "0.1000000000000000055511151231257827021181583404541015625");
  EXPECT_EQ(Take(DoubleString(0.1, 1 << 30)), "0.1000000000000000055511151231257827021181583404541015625");
  EXPECT_EQ(Take(DoubleString(1e20, 40)), "1e+20");
}

// The fast fixed-point printer must give the C library's bytes (glibc
// prints the exact binary value, ties to even).
TEST(DoubleStringDecimal, AgreesWithPrintf) {
  std::mt19937_64 random(20240611);
  char expected[512];
  for (int i = 0; i < 200000; ++i) {
    double x;
    if (i % 3 == 0) {
      uint64_t bits = random();
      std::memcpy(&x, &bits, sizeof x);
      if (!std::isfinite(x) || std::fabs(x) > 1e30) continue;
    } else if (i % 3 == 1) {
      // Values with few fraction bits, where exact ties occur.
      x = std::ldexp(static_cast<double>(random() >> 40), -static_cast<int>(random() % 24));
    } else {
      x = std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 70) - 70);
    }
    if (random() & 1) x = -x;
    const int places = static_cast<int>(random() % 24);
    std::snprintf(expected, sizeof expected, "%.*f", places, x);
    ASSERT_EQ(Take(DoubleStringDecimal(x, places)), expected) << x << " " << places;
  }
  EXPECT_EQ(Take(DoubleStringDecimal(2.5, 0)), "2");
  EXPECT_EQ(Take(DoubleStringDecimal(3.5, 0)), "4");
  EXPECT_EQ(Take(DoubleStringDecimal(0.125, 2)), "0.12");
  EXPECT_EQ(Take(DoubleStringDecimal(1e22, 1)), "10000000000000000000000.0");
  EXPECT_EQ(Take(DoubleStringDecimal(1.5, -3)), "2");
}

TEST(DoubleStringExponential, Forms) {
  EXPECT_EQ(Take(DoubleStringExponential(0.0, 5)), "0");
  EXPECT_EQ(Take(DoubleStringExponential(1234.5, 3)), "1.23e+03");
  EXPECT_EQ(Take(DoubleStringExponential(-1234.5, 3)), "-1.23e+03");
  EXPECT_EQ(Take(DoubleStringExponential(2.0, 0)), "2e+00");
  // Three exponent digits are never cut short.
  EXPECT_EQ(Take(DoubleStringExponential(1.25e200, 3)), "1.25e+200");
  EXPECT_EQ(Take(DoubleStringExponential(-1.25e-200, 1)), "-1e-200");
}

TEST(TextSteps, RoundAndCleanZeros) {
  struct Case {
    const char *in;
    int32_t digits;
    const char *rounded;
  } rounds[] = {
      {"0.0999", 2, "0.100"},    {"99.96", 3, "100.0"},   {"999.50000", 3, "1000"},
      {"123456.7", 3, "123000"}, {"-0.00123456", 2, "-0.0012"}, {"12", 5, "12"},
      {"1.25e+5", 2, "1.3e+5"},  {"0.000", 2, "0.000"},   {"9.5", 1, "10"},
      {"4.49", 1, "4"},          {"", 3, ""},             {"-", 3, "-"},
  };
  for (const auto &c : rounds) EXPECT_EQ(Take(DoubleStringRound(c.in, c.digits)), c.rounded) << c.in;
  struct Clean {
    const char *in, *out;
  } cleans[] = {{"1.500", "1.5"}, {"2.000", "2"}, {"100", "100"}, {"0.0", "0"},
                {"1.50e+3", "1.5e+3"}, {"-7.10", "-7.1"}, {".", ""}, {"", ""}};
  for (const auto &c : cleans) EXPECT_EQ(Take(DoubleStringCleanZeros(c.in)), c.out) << c.in;
  EXPECT_EQ(DoubleStringRound(nullptr, 3), nullptr);
  EXPECT_EQ(DoubleStringCleanZeros(nullptr), nullptr);
}

TEST(RoundIntegerString, ReportsTheCarry) {
  struct Case {
    const char *in;
    int32_t digits;
    const char *out;
    int32_t carry;
  } cases[] = {
      {"999", 2, "00", 1}, {"12345", 3, "123", 0}, {"12355", 3, "124", 0}, {"1995", 3, "200", 0},
      {"5", 0, "", 1},     {"4", 0, "", 0},        {"12", 5, "12", 0},     {"0999", 1, "1", 0},
  };
  for (const Case &c : cases) {
    int32_t carry = -7;
    EXPECT_EQ(Take(RoundIntegerString(c.in, c.digits, &carry)), c.out) << c.in;
    EXPECT_EQ(carry, c.carry) << c.in;
  }
  EXPECT_EQ(Take(RoundIntegerString("999", 2, nullptr)), "00");
  int32_t carry = 5;
  EXPECT_EQ(RoundIntegerString(nullptr, 2, &carry), nullptr);
  EXPECT_EQ(carry, 0);
}

TEST(RoundDoubleString, DecimalsAndPadding) {
  EXPECT_EQ(Take(RoundDoubleString(2.5, 0)), "2");
  EXPECT_EQ(Take(RoundDoubleString(1.25, 1)), "1.2");
  EXPECT_EQ(Take(RoundDoubleString(1.2, 3)), "1.2");
  EXPECT_EQ(Take(RoundDoubleString(-0.001, 2)), "-0");
  EXPECT_EQ(Take(RoundDoubleString(NAN, 2)), ">invalid_expression<");
  EXPECT_EQ(Take(RoundDoubleStringWithSpacePadding(1.2, 3)), "1.2  ");
  EXPECT_EQ(Take(RoundDoubleStringWithSpacePadding(3.0, 2)), "3   ");
  EXPECT_EQ(Take(RoundDoubleStringWithSpacePadding(10.125, 3)), "10.125");
}

TEST(IntegerText, Boundaries) {
  EXPECT_EQ(Take(IntString(0)), "0");
  EXPECT_EQ(Take(IntString(-42)), "-42");
  EXPECT_EQ(Take(IntString(INT64_MIN)), "-9223372036854775808");
  EXPECT_EQ(Take(IntString(INT64_MAX)), "9223372036854775807");
  EXPECT_EQ(Take(IntStringLZ(-5, 3)), "-005");
  EXPECT_EQ(Take(IntStringLZ(123, 2)), "123");
  EXPECT_EQ(Take(IntStringLZ(7, 0)), "7");
  EXPECT_EQ(Take(UInt64String(UINT64_MAX)), "18446744073709551615");
  EXPECT_EQ(UInt64FromString("18446744073709551615"), UINT64_MAX);
  EXPECT_EQ(UInt64FromString("18446744073709551616"), UINT64_MAX);
  EXPECT_EQ(UInt64FromString("  42abc"), 42u);
  EXPECT_EQ(UInt64FromString("abc"), 0u);
  EXPECT_EQ(UInt64FromString(nullptr), 0u);
}

TEST(ComplexString, PartsAndSigns) {
  EXPECT_EQ(Take(ComplexString(Complex{1, 2}, 15)), "1+2i");
  EXPECT_EQ(Take(ComplexString(Complex{1, -2}, 15)), "1-2i");
  EXPECT_EQ(Take(ComplexString(Complex{0, -2}, 15)), "-2i");
  EXPECT_EQ(Take(ComplexString(Complex{3, 0}, 15)), "3");
  EXPECT_EQ(Take(ComplexString(Complex{0, 0}, 15)), "0");
  EXPECT_EQ(Take(ComplexString(Complex{1e5, 2.5e-5}, 3)), "1e+5+2.5e-5i");
  EXPECT_EQ(Take(CharString('q')), "q");
  EXPECT_EQ(Take(CharString('\0')), "");
  EXPECT_EQ(StringChar("xyz"), 'x');
  EXPECT_EQ(StringChar(nullptr), '\0');
}

}  // namespace
