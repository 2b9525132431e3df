// The operator and bracket lists that every scan of the language reads.
//
// Only the record types live here, on the ground floor, so that the global
// record can hold the lists by value; text/scan.h builds and searches them.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace qvx {

// A short, fixed list of operator or bracket spellings, in the order in which
// tests look at them. The two 256-bit maps let a test reject a position with
// one bit test before comparing any entry.
struct TextList {
  static constexpr int kCapacity = 12;
  std::array<std::string_view, kCapacity> entry{};
  int32_t count = 0;
  uint64_t firstChar[4] = {0, 0, 0, 0};  // bit c set: some entry begins with c
  uint64_t lastChar[4] = {0, 0, 0, 0};   // bit c set: some entry ends with c

  bool MayBeginWith(unsigned char c) const { return (firstChar[c >> 6] >> (c & 63)) & 1u; }
  bool MayEndWith(unsigned char c) const { return (lastChar[c >> 6] >> (c & 63)) & 1u; }
};

// The eight lists of operators and brackets that all scanning reads. They
// never change once built, so any number of threads may read them.
struct SyntaxLists {
  TextList multiplicative;  // * / ^ , .. .
  TextList postfix;         // ' !
  TextList reference;       // # @
  TextList opening;         // ( : [
  TextList closing;         // ) ; ]
  TextList additive;        // + -
  TextList comparison;      // == ~= <= >= < > & | ,
  TextList negation;        // ~
};

}  // namespace qvx
