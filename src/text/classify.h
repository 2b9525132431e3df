// Tests of text and numbers that every floor of the language asks.
#pragma once

#include <cstdint>
#include <string_view>

namespace qvx {

// Number of the text, or NaN for an empty or non-numeric text.
double AtoF(std::string_view text);
// True for a bare identifier.
bool IsPlainSymbol(std::string_view text);
// Relative equality to 1e-15; true when hypot(a, b) is not above 0.
bool IsNearlyEqual(double a, double b);
// A call "name(...)": a name followed by one bracketed argument text that
// closes at the end.
bool TestCallForm(std::string_view text, int32_t isPlainSymbol = -1);
// True if the text holds a sentinel ">word<".
bool ContainsErrorSentinel(std::string_view text);

}  // namespace qvx
