// Raw digests for other modules (file checksums, map keys): the exported
// functions of hashes.cpp return text, these return or feed bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvx {

// Incremental SHA-512 (FIPS 180-4): Init, any number of Update calls, Final.
struct Sha512State {
  uint64_t h[8];
  uint64_t bytesLow, bytesHigh;  // message length in bytes, 128 bits
  unsigned char block[128];
  std::size_t filled;
};

void Sha512Init(Sha512State &s) noexcept;
void Sha512Update(Sha512State &s, const void *data, std::size_t length) noexcept;
void Sha512Final(Sha512State &s, unsigned char digest[64]) noexcept;

void Sha512Digest(const void *data, std::size_t length, unsigned char digest[64]) noexcept;
void Sha256Digest(const void *data, std::size_t length, unsigned char digest[32]) noexcept;

}  // namespace qvx
