// Helpers shared by every exported function.
//
// No exception may cross the C boundary: an export whose body can throw (a
// std::bad_alloc from a standard container, say) runs it through Guard, which
// turns any exception into the design's failure value for that function.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace qvx {

template <class F, class R>
inline auto Guard(R failure, F &&body) noexcept -> R {
  try {
    return std::forward<F>(body)();
  } catch (...) {
    return failure;
  }
}

template <class F>
inline void GuardVoid(F &&body) noexcept {
  try {
    std::forward<F>(body)();
  } catch (...) {
  }
}

// Copies a text into a malloc block the caller owns (freed with FreeString).
inline char *DupText(const char *text, std::size_t length) noexcept {
  char *out = static_cast<char *>(std::malloc(length + 1));
  if (!out) return nullptr;
  if (length) std::memcpy(out, text, length);
  out[length] = '\0';
  return out;
}
inline char *DupText(const char *text) noexcept {
  return text ? DupText(text, std::strlen(text)) : DupText("", 0);
}

// Overwrites a text with zeros over its whole length before freeing it.
inline void WipeAndFree(char *text) noexcept {
  if (!text) return;
  std::size_t n = std::strlen(text);
  volatile char *p = text;
  for (std::size_t i = 0; i < n; ++i) p[i] = 0;
  std::free(text);
}

// The same for a std::string, which is left empty.
inline void WipeString(std::string &s) noexcept {
  volatile char *p = s.data();
  for (std::size_t i = 0; i < s.size(); ++i) p[i] = 0;
  s.clear();
}

}  // namespace qvx
