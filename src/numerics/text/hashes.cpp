// Hashes and encodings: SHA-256 and SHA-512 (FIPS 180-4), Base64 (RFC 4648)
// with a choosable alphabet tail and padding, salted password hashes, seeds
// drawn from text, bit rotations and the random string generators.
//
// Digests leave as lower-case hexadecimal text. A salted hash is stored as
//   hex(salt) + hex(SHA-512(text || salt)) + "%02x"(salt length)
// so the salt length is the stored length less 130, and a salt holds at most
// 255 bytes. Every random string is drawn from Ran2 through the caller's seed
// cell; nothing here keeps state between calls.
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "common/boundary.h"
#include "libquorvex.h"
#include "numerics/text/hashes.h"

namespace qvx {
namespace {

constexpr uint64_t kK512[80] = {
    0x428a2f98d728ae22ULL, 0x7137449123ef65cdULL, 0xb5c0fbcfec4d3b2fULL, 0xe9b5dba58189dbbcULL,
    0x3956c25bf348b538ULL, 0x59f111f1b605d019ULL, 0x923f82a4af194f9bULL, 0xab1c5ed5da6d8118ULL,
    0xd807aa98a3030242ULL, 0x12835b0145706fbeULL, 0x243185be4ee4b28cULL, 0x550c7dc3d5ffb4e2ULL,
    0x72be5d74f27b896fULL, 0x80deb1fe3b1696b1ULL, 0x9bdc06a725c71235ULL, 0xc19bf174cf692694ULL,
    0xe49b69c19ef14ad2ULL, 0xefbe4786384f25e3ULL, 0x0fc19dc68b8cd5b5ULL, 0x240ca1cc77ac9c65ULL,
    0x2de92c6f592b0275ULL, 0x4a7484aa6ea6e483ULL, 0x5cb0a9dcbd41fbd4ULL, 0x76f988da831153b5ULL,
    0x983e5152ee66dfabULL, 0xa831c66d2db43210ULL, 0xb00327c898fb213fULL, 0xbf597fc7beef0ee4ULL,
    0xc6e00bf33da88fc2ULL, 0xd5a79147930aa725ULL, 0x06ca6351e003826fULL, 0x142929670a0e6e70ULL,
    0x27b70a8546d22ffcULL, 0x2e1b21385c26c926ULL, 0x4d2c6dfc5ac42aedULL, 0x53380d139d95b3dfULL,
    0x650a73548baf63deULL, 0x766a0abb3c77b2a8ULL, 0x81c2c92e47edaee6ULL, 0x92722c851482353bULL,
    0xa2bfe8a14cf10364ULL, 0xa81a664bbc423001ULL, 0xc24b8b70d0f89791ULL, 0xc76c51a30654be30ULL,
    0xd192e819d6ef5218ULL, 0xd69906245565a910ULL, 0xf40e35855771202aULL, 0x106aa07032bbd1b8ULL,
    0x19a4c116b8d2d0c8ULL, 0x1e376c085141ab53ULL, 0x2748774cdf8eeb99ULL, 0x34b0bcb5e19b48a8ULL,
    0x391c0cb3c5c95a63ULL, 0x4ed8aa4ae3418acbULL, 0x5b9cca4f7763e373ULL, 0x682e6ff3d6b2b8a3ULL,
    0x748f82ee5defb2fcULL, 0x78a5636f43172f60ULL, 0x84c87814a1f0ab72ULL, 0x8cc702081a6439ecULL,
    0x90befffa23631e28ULL, 0xa4506cebde82bde9ULL, 0xbef9a3f7b2c67915ULL, 0xc67178f2e372532bULL,
    0xca273eceea26619cULL, 0xd186b8c721c0c207ULL, 0xeada7dd6cde0eb1eULL, 0xf57d4f7fee6ed178ULL,
    0x06f067aa72176fbaULL, 0x0a637dc5a2c898a6ULL, 0x113f9804bef90daeULL, 0x1b710b35131c471bULL,
    0x28db77f523047d84ULL, 0x32caab7b40c72493ULL, 0x3c9ebe0a15c9bebcULL, 0x431d67c49c100d4cULL,
    0x4cc5d4becb3e42b6ULL, 0x597f299cfc657e2aULL, 0x5fcb6fab3ad6faecULL, 0x6c44198c4a475817ULL,
};
constexpr uint64_t kH512[8] = {
    0x6a09e667f3bcc908ULL, 0xbb67ae8584caa73bULL, 0x3c6ef372fe94f82bULL, 0xa54ff53a5f1d36f1ULL,
    0x510e527fade682d1ULL, 0x9b05688c2b3e6c1fULL, 0x1f83d9abfb41bd6bULL, 0x5be0cd19137e2179ULL,
};
constexpr uint32_t kK256[64] = {
    0x428a2f98u, 0x71374491u, 0xb5c0fbcfu, 0xe9b5dba5u, 0x3956c25bu, 0x59f111f1u, 0x923f82a4u, 0xab1c5ed5u,
    0xd807aa98u, 0x12835b01u, 0x243185beu, 0x550c7dc3u, 0x72be5d74u, 0x80deb1feu, 0x9bdc06a7u, 0xc19bf174u,
    0xe49b69c1u, 0xefbe4786u, 0x0fc19dc6u, 0x240ca1ccu, 0x2de92c6fu, 0x4a7484aau, 0x5cb0a9dcu, 0x76f988dau,
    0x983e5152u, 0xa831c66du, 0xb00327c8u, 0xbf597fc7u, 0xc6e00bf3u, 0xd5a79147u, 0x06ca6351u, 0x14292967u,
    0x27b70a85u, 0x2e1b2138u, 0x4d2c6dfcu, 0x53380d13u, 0x650a7354u, 0x766a0abbu, 0x81c2c92eu, 0x92722c85u,
    0xa2bfe8a1u, 0xa81a664bu, 0xc24b8b70u, 0xc76c51a3u, 0xd192e819u, 0xd6990624u, 0xf40e3585u, 0x106aa070u,
    0x19a4c116u, 0x1e376c08u, 0x2748774cu, 0x34b0bcb5u, 0x391c0cb3u, 0x4ed8aa4au, 0x5b9cca4fu, 0x682e6ff3u,
    0x748f82eeu, 0x78a5636fu, 0x84c87814u, 0x8cc70208u, 0x90befffau, 0xa4506cebu, 0xbef9a3f7u, 0xc67178f2u,
};
constexpr uint32_t kH256[8] = {
    0x6a09e667u, 0xbb67ae85u, 0x3c6ef372u, 0xa54ff53au, 0x510e527fu, 0x9b05688cu, 0x1f83d9abu, 0x5be0cd19u,
};

inline uint64_t Rotr64(uint64_t x, int k) { return (x >> k) | (x << (64 - k)); }
inline uint32_t Rotr32(uint32_t x, int k) { return (x >> k) | (x << (32 - k)); }

inline uint64_t LoadBE64(const unsigned char *p) {
  return (uint64_t{p[0]} << 56) | (uint64_t{p[1]} << 48) | (uint64_t{p[2]} << 40) | (uint64_t{p[3]} << 32) |
         (uint64_t{p[4]} << 24) | (uint64_t{p[5]} << 16) | (uint64_t{p[6]} << 8) | uint64_t{p[7]};
}
inline uint32_t LoadBE32(const unsigned char *p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
}
inline void StoreBE64(unsigned char *p, uint64_t x) {
  for (int i = 7; i >= 0; --i, x >>= 8) p[i] = static_cast<unsigned char>(x);
}
inline void StoreBE32(unsigned char *p, uint32_t x) {
  for (int i = 3; i >= 0; --i, x >>= 8) p[i] = static_cast<unsigned char>(x);
}

// The rounds are written out with the eight working variables renamed in
// turn instead of shifted, and the message schedule lives in a ring of 16
// words expanded on the fly: this is what keeps the compression function in
// registers and near the speed of the system's own tools.
#define QVX_CH(e, f, g) ((g) ^ ((e) & ((f) ^ (g))))
#define QVX_MAJ(a, b, c) (((a) & (b)) | ((c) & ((a) | (b))))

#define QVX_S512_0(x) (Rotr64(x, 28) ^ Rotr64(x, 34) ^ Rotr64(x, 39))
#define QVX_S512_1(x) (Rotr64(x, 14) ^ Rotr64(x, 18) ^ Rotr64(x, 41))
#define QVX_s512_0(x) (Rotr64(x, 1) ^ Rotr64(x, 8) ^ ((x) >> 7))
#define QVX_s512_1(x) (Rotr64(x, 19) ^ Rotr64(x, 61) ^ ((x) >> 6))
#define QVX_R512(a, b, c, d, e, f, g, h, j, x)                                   \
  do {                                                                          \
    uint64_t t1 = h + QVX_S512_1(e) + QVX_CH(e, f, g) + kK512[t + (j)] + (x);   \
    d += t1;                                                                    \
    h = t1 + QVX_S512_0(a) + QVX_MAJ(a, b, c);                                  \
  } while (0)
#define QVX_X512(j) \
  (w[j] += QVX_s512_1(w[((j) + 14) & 15]) + w[((j) + 9) & 15] + QVX_s512_0(w[((j) + 1) & 15]))
#define QVX_EIGHT512(base, X)                      \
  QVX_R512(a, b, c, d, e, f, g, h, base + 0, X(base + 0)); \
  QVX_R512(h, a, b, c, d, e, f, g, base + 1, X(base + 1)); \
  QVX_R512(g, h, a, b, c, d, e, f, base + 2, X(base + 2)); \
  QVX_R512(f, g, h, a, b, c, d, e, base + 3, X(base + 3)); \
  QVX_R512(e, f, g, h, a, b, c, d, base + 4, X(base + 4)); \
  QVX_R512(d, e, f, g, h, a, b, c, base + 5, X(base + 5)); \
  QVX_R512(c, d, e, f, g, h, a, b, base + 6, X(base + 6)); \
  QVX_R512(b, c, d, e, f, g, h, a, base + 7, X(base + 7))
#define QVX_PLAIN(j) w[j]

void Compress512(uint64_t st[8], const unsigned char *p, std::size_t blocks) {
  while (blocks--) {
    uint64_t w[16];
    for (int i = 0; i < 16; ++i) w[i] = LoadBE64(p + 8 * i);
    uint64_t a = st[0], b = st[1], c = st[2], d = st[3], e = st[4], f = st[5], g = st[6], h = st[7];
    {
      constexpr int t = 0;
      QVX_EIGHT512(0, QVX_PLAIN);
      QVX_EIGHT512(8, QVX_PLAIN);
    }
    for (int t = 16; t < 80; t += 16) {
      QVX_EIGHT512(0, QVX_X512);
      QVX_EIGHT512(8, QVX_X512);
    }
    st[0] += a; st[1] += b; st[2] += c; st[3] += d;
    st[4] += e; st[5] += f; st[6] += g; st[7] += h;
    p += 128;
  }
}

#define QVX_S256_0(x) (Rotr32(x, 2) ^ Rotr32(x, 13) ^ Rotr32(x, 22))
#define QVX_S256_1(x) (Rotr32(x, 6) ^ Rotr32(x, 11) ^ Rotr32(x, 25))
#define QVX_s256_0(x) (Rotr32(x, 7) ^ Rotr32(x, 18) ^ ((x) >> 3))
#define QVX_s256_1(x) (Rotr32(x, 17) ^ Rotr32(x, 19) ^ ((x) >> 10))
#define QVX_R256(a, b, c, d, e, f, g, h, j, x)                                   \
  do {                                                                          \
    uint32_t t1 = h + QVX_S256_1(e) + QVX_CH(e, f, g) + kK256[t + (j)] + (x);   \
    d += t1;                                                                    \
    h = t1 + QVX_S256_0(a) + QVX_MAJ(a, b, c);                                  \
  } while (0)
#define QVX_X256(j) \
  (w[j] += QVX_s256_1(w[((j) + 14) & 15]) + w[((j) + 9) & 15] + QVX_s256_0(w[((j) + 1) & 15]))
#define QVX_EIGHT256(base, X)                      \
  QVX_R256(a, b, c, d, e, f, g, h, base + 0, X(base + 0)); \
  QVX_R256(h, a, b, c, d, e, f, g, base + 1, X(base + 1)); \
  QVX_R256(g, h, a, b, c, d, e, f, base + 2, X(base + 2)); \
  QVX_R256(f, g, h, a, b, c, d, e, base + 3, X(base + 3)); \
  QVX_R256(e, f, g, h, a, b, c, d, base + 4, X(base + 4)); \
  QVX_R256(d, e, f, g, h, a, b, c, base + 5, X(base + 5)); \
  QVX_R256(c, d, e, f, g, h, a, b, base + 6, X(base + 6)); \
  QVX_R256(b, c, d, e, f, g, h, a, base + 7, X(base + 7))

void Compress256(uint32_t st[8], const unsigned char *p, std::size_t blocks) {
  while (blocks--) {
    uint32_t w[16];
    for (int i = 0; i < 16; ++i) w[i] = LoadBE32(p + 4 * i);
    uint32_t a = st[0], b = st[1], c = st[2], d = st[3], e = st[4], f = st[5], g = st[6], h = st[7];
    {
      constexpr int t = 0;
      QVX_EIGHT256(0, QVX_PLAIN);
      QVX_EIGHT256(8, QVX_PLAIN);
    }
    for (int t = 16; t < 64; t += 16) {
      QVX_EIGHT256(0, QVX_X256);
      QVX_EIGHT256(8, QVX_X256);
    }
    st[0] += a; st[1] += b; st[2] += c; st[3] += d;
    st[4] += e; st[5] += f; st[6] += g; st[7] += h;
    p += 64;
  }
}

constexpr char kHexDigits[] = "0123456789abcdef";

// Lower-case hexadecimal of a byte string: the same text as "%02x" a byte,
// hence as "%08x" a 32-bit word or "%016llx" a 64-bit one of a big-endian
// digest.
std::string Hex(const unsigned char *bytes, std::size_t n) {
  std::string out(2 * n, '0');
  for (std::size_t i = 0; i < n; ++i) {
    out[2 * i] = kHexDigits[bytes[i] >> 4];
    out[2 * i + 1] = kHexDigits[bytes[i] & 15];
  }
  return out;
}

char *TextOf(const std::string &s) { return DupText(s.data(), s.size()); }

std::string Sha512Hex(const void *data, std::size_t n) {
  unsigned char digest[64];
  Sha512Digest(data, n, digest);
  return Hex(digest, 64);
}

constexpr char kAlphaNum[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Three bytes (fewer at the end: count 1 or 2) to four characters; the
// missing ones become the pad character, or are left out when pad is 0.
// Returns the number of characters written.
int EncodeGroup(const unsigned char *in, int count, const char *alphabet, char pad, char *out) {
  uint32_t v = uint32_t{in[0]} << 16;
  if (count > 1) v |= uint32_t{in[1]} << 8;
  if (count > 2) v |= in[2];
  int emitted = count + 1;  // 2, 3 or 4 significant characters
  int k = 0;
  for (int i = 0; i < 4; ++i) {
    if (i < emitted) out[k++] = alphabet[(v >> (18 - 6 * i)) & 63];
    else if (pad) out[k++] = pad;
  }
  return k;
}

std::string EncodeBase64(const unsigned char *data, std::size_t n, const char *alphabet, char pad) {
  std::string out;
  out.reserve((n + 2) / 3 * 4);
  char quad[4];
  for (std::size_t i = 0; i < n; i += 3) {
    int count = n - i >= 3 ? 3 : static_cast<int>(n - i);
    int k = EncodeGroup(data + i, count, alphabet, pad, quad);
    out.append(quad, static_cast<std::size_t>(k));
  }
  return out;
}

// The 64 characters of the alphabet made of the 62 letters and digits and
// the first two characters of extra ("+/" stand in for what extra lacks).
void OptionalAlphabet(const char *extra, char alphabet[65]) {
  std::memcpy(alphabet, kAlphaNum, 62);
  alphabet[62] = extra && extra[0] ? extra[0] : '+';
  alphabet[63] = extra && extra[0] && extra[1] ? extra[1] : '/';
  alphabet[64] = '\0';
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

constexpr std::size_t kDigestHex = 128;             // SHA-512 in hexadecimal
constexpr std::size_t kHashPart = kDigestHex + 2;   // and the salt length

// The stored form of text salted with salt (see the file comment).
std::string BuildSalted(const char *text, const std::string &salt) {
  std::string message(text ? text : "");
  message += salt;
  std::string out = Hex(reinterpret_cast<const unsigned char *>(salt.data()), salt.size());
  out += Sha512Hex(message.data(), message.size());
  unsigned char length = static_cast<unsigned char>(salt.size());
  out += Hex(&length, 1);
  return out;
}

// The salt of a stored form, or false when the form is malformed.
bool ExtractSalt(const char *stored, std::string &salt) {
  if (!stored) return false;
  std::size_t n = std::strlen(stored);
  if (n < kHashPart || (n - kHashPart) % 2 != 0 || (n - kHashPart) / 2 > 255) return false;
  std::size_t bytes = (n - kHashPart) / 2;
  salt.assign(bytes, '\0');
  for (std::size_t i = 0; i < bytes; ++i) {
    int hi = HexValue(stored[2 * i]), lo = HexValue(stored[2 * i + 1]);
    if (hi < 0 || lo < 0) return false;
    salt[i] = static_cast<char>(hi * 16 + lo);
  }
  return true;
}

// A fresh negative seed for Ran2, so that each salt is drawn from a newly
// initialised sequence.
int32_t FreshSeed() {
  uint32_t bits = 0;
  try {
    std::random_device device;
    bits = device();
  } catch (...) {
  }
  bits ^= static_cast<uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  int32_t seed = static_cast<int32_t>(bits & 0x7fffffffu);
  return -(seed == 0 ? 1 : seed);
}

// A uniform index below count from the caller's Ran2 cell.
int32_t Draw(int32_t count, int32_t *seed) {
  int32_t k = static_cast<int32_t>(count * Ran2(seed));
  return k >= count ? count - 1 : (k < 0 ? 0 : k);
}

// n characters, each made by pick from the cell, into a new text.
template <class Pick>
char *RandomText(int32_t n, Pick pick) {
  if (n < 0) n = 0;
  char *out = static_cast<char *>(std::malloc(static_cast<std::size_t>(n) + 1));
  if (!out) return nullptr;
  for (int32_t i = 0; i < n; ++i) out[i] = pick();
  out[n] = '\0';
  return out;
}

}  // namespace

void Sha512Init(Sha512State &s) noexcept {
  std::memcpy(s.h, kH512, sizeof s.h);
  s.bytesLow = s.bytesHigh = 0;
  s.filled = 0;
}

void Sha512Update(Sha512State &s, const void *data, std::size_t length) noexcept {
  const unsigned char *p = static_cast<const unsigned char *>(data);
  uint64_t before = s.bytesLow;
  s.bytesLow += length;
  if (s.bytesLow < before) ++s.bytesHigh;
  if (s.filled) {
    std::size_t take = 128 - s.filled < length ? 128 - s.filled : length;
    std::memcpy(s.block + s.filled, p, take);
    s.filled += take;
    p += take;
    length -= take;
    if (s.filled < 128) return;
    Compress512(s.h, s.block, 1);
    s.filled = 0;
  }
  if (length >= 128) {
    Compress512(s.h, p, length / 128);
    p += length / 128 * 128;
    length %= 128;
  }
  if (length) std::memcpy(s.block, p, length);
  s.filled = length;
}

void Sha512Final(Sha512State &s, unsigned char digest[64]) noexcept {
  uint64_t bitsHigh = (s.bytesHigh << 3) | (s.bytesLow >> 61), bitsLow = s.bytesLow << 3;
  s.block[s.filled++] = 0x80;
  if (s.filled > 112) {
    std::memset(s.block + s.filled, 0, 128 - s.filled);
    Compress512(s.h, s.block, 1);
    s.filled = 0;
  }
  std::memset(s.block + s.filled, 0, 112 - s.filled);
  StoreBE64(s.block + 112, bitsHigh);
  StoreBE64(s.block + 120, bitsLow);
  Compress512(s.h, s.block, 1);
  for (int i = 0; i < 8; ++i) StoreBE64(digest + 8 * i, s.h[i]);
  volatile unsigned char *wipe = s.block;  // the tail of the message
  for (std::size_t i = 0; i < sizeof s.block; ++i) wipe[i] = 0;
}

void Sha512Digest(const void *data, std::size_t length, unsigned char digest[64]) noexcept {
  Sha512State s;
  Sha512Init(s);
  Sha512Update(s, data, length);
  Sha512Final(s, digest);
}

void Sha256Digest(const void *data, std::size_t length, unsigned char digest[32]) noexcept {
  uint32_t st[8];
  std::memcpy(st, kH256, sizeof st);
  const unsigned char *p = static_cast<const unsigned char *>(data);
  std::size_t whole = length / 64;
  Compress256(st, p, whole);
  unsigned char tail[128] = {};
  std::size_t rest = length - whole * 64;
  if (rest) std::memcpy(tail, p + whole * 64, rest);
  tail[rest] = 0x80;
  std::size_t total = rest + 1 + 8 <= 64 ? 64 : 128;
  uint64_t bits = static_cast<uint64_t>(length) << 3;
  StoreBE64(tail + total - 8, bits);
  Compress256(st, tail, total / 64);
  for (int i = 0; i < 8; ++i) StoreBE32(digest + 4 * i, st[i]);
}

}  // namespace qvx

extern "C" {

QVX_API char *SHA256(const char *text) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    const char *t = text ? text : "";
    unsigned char digest[32];
    qvx::Sha256Digest(t, std::strlen(t), digest);
    return qvx::TextOf(qvx::Hex(digest, 32));
  });
}

QVX_API char *SHA512(const char *text) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    const char *t = text ? text : "";
    return qvx::TextOf(qvx::Sha512Hex(t, std::strlen(t)));
  });
}

QVX_API char *SHA512FromByteArray(const unsigned char *bytes, uint32_t length) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    if (!bytes) length = 0;
    return qvx::TextOf(qvx::Sha512Hex(bytes ? bytes : reinterpret_cast<const unsigned char *>(""), length));
  });
}

// The 64-byte digest in Base64 with the alphabet tail extra and padding pad:
// a key that is safe in names when extra and pad are.
QVX_API char *SHA512Base64(const char *text, const char *extra, char pad) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    const char *t = text ? text : "";
    unsigned char digest[64];
    qvx::Sha512Digest(t, std::strlen(t), digest);
    char alphabet[65];
    qvx::OptionalAlphabet(extra, alphabet);
    return qvx::TextOf(qvx::EncodeBase64(digest, 64, alphabet, pad));
  });
}

// Fast non-cryptographic hashes for tables: 64-bit FNV-1a.
QVX_API uint64_t HashFromByteArray(const unsigned char *bytes, uint32_t length) noexcept {
  uint64_t h = 0xcbf29ce484222325ULL;
  if (!bytes) return h;
  for (uint32_t i = 0; i < length; ++i) {
    h ^= bytes[i];
    h *= 0x100000001b3ULL;
  }
  return h;
}

QVX_API uint64_t HashFromString(const char *text) noexcept {
  const char *t = text ? text : "";
  return HashFromByteArray(reinterpret_cast<const unsigned char *>(t), static_cast<uint32_t>(std::strlen(t)));
}

// The same folded to a non-negative 32-bit integer.
QVX_API int32_t HashFromStringL(const char *text) noexcept {
  uint64_t h = HashFromString(text);
  return static_cast<int32_t>(static_cast<uint32_t>(h ^ (h >> 32)) & 0x7fffffffu);
}

// A new salt of length alphanumerics (0 to 255) and the stored form.
QVX_API char *SaltedHash(const char *text, int32_t length) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    int32_t n = length < 0 ? 0 : (length > 255 ? 255 : length);
    int32_t seed = qvx::FreshSeed();
    char *salt = RandomStringAlphaNum(n, &seed);
    if (!salt) return static_cast<char *>(nullptr);
    std::string s(salt);
    qvx::WipeAndFree(salt);
    return qvx::TextOf(qvx::BuildSalted(text, s));
  });
}

QVX_API char *HashWithSalt(const char *text, const char *stored) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string salt;
    if (!qvx::ExtractSalt(stored, salt)) return static_cast<char *>(nullptr);
    return qvx::TextOf(qvx::BuildSalted(text, salt));
  });
}

// The salt of a stored form, decoded from its leading hexadecimal pairs;
// null when the form is malformed.
QVX_API char *SaltFromHash(const char *stored) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string salt;
    if (!qvx::ExtractSalt(stored, salt)) return static_cast<char *>(nullptr);
    return qvx::TextOf(salt);
  });
}

// 1 when text salted as in stored gives stored again. All bytes are
// compared whatever the first difference, so the time taken does not tell
// where it lies.
QVX_API int32_t TestAgainstSaltedHash(const char *text, const char *stored) noexcept {
  char *rebuilt = HashWithSalt(text, stored);
  if (!rebuilt) return 0;
  std::size_t n = std::strlen(rebuilt);
  unsigned diff = n != std::strlen(stored) ? 1u : 0u;
  for (std::size_t i = 0; i < n && !diff; ++i) diff |= static_cast<unsigned char>(rebuilt[i] ^ stored[i]);
  qvx::WipeAndFree(rebuilt);
  return diff == 0 ? 1 : 0;
}

QVX_API char *Base64Encoding(const unsigned char *bytes, uint32_t length) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    return qvx::TextOf(qvx::EncodeBase64(bytes, bytes ? length : 0, qvx::kBase64, '='));
  });
}

QVX_API char *Base64EncodingOptionalChars(const unsigned char *bytes, uint32_t length, const char *extra,
                                          char pad) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    char alphabet[65];
    qvx::OptionalAlphabet(extra, alphabet);
    return qvx::TextOf(qvx::EncodeBase64(bytes, bytes ? length : 0, alphabet, pad));
  });
}

// One group: count (1 to 3) bytes to four characters of the standard
// alphabet, padded with "="; out receives 4 characters and no terminator.
QVX_API void Base64EncodingTriplet(const unsigned char *bytes, int32_t count, char *out) noexcept {
  if (!bytes || !out || count < 1) return;
  qvx::EncodeGroup(bytes, count > 3 ? 3 : count, qvx::kBase64, '=', out);
}

// Standard alphabet; white space is skipped, padding is optional but may
// only end the text. Anything else, or a lone final character, gives null.
// The result has a zero byte after its length bytes, so a decoded text can
// be used as a C string.
QVX_API unsigned char *Base64Decoding(const char *text, uint32_t *length) noexcept {
  if (length) *length = 0;
  if (!text) return nullptr;
  signed char value[256];
  std::memset(value, -1, sizeof value);
  for (int i = 0; i < 64; ++i) value[static_cast<unsigned char>(qvx::kBase64[i])] = static_cast<signed char>(i);
  std::size_t n = std::strlen(text);
  unsigned char *out = static_cast<unsigned char *>(std::malloc(n / 4 * 3 + 4));
  if (!out) return nullptr;
  std::size_t k = 0;
  uint32_t acc = 0;
  int have = 0;
  bool padding = false;
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
    if (c == '=') {
      padding = true;
      continue;
    }
    if (padding || value[c] < 0) {
      std::free(out);
      return nullptr;
    }
    acc = (acc << 6) | static_cast<uint32_t>(value[c]);
    if (++have == 4) {
      out[k++] = static_cast<unsigned char>(acc >> 16);
      out[k++] = static_cast<unsigned char>(acc >> 8);
      out[k++] = static_cast<unsigned char>(acc);
      acc = 0;
      have = 0;
    }
  }
  if (have == 1) {
    std::free(out);
    return nullptr;
  }
  if (have == 2) out[k++] = static_cast<unsigned char>(acc >> 4);
  if (have == 3) {
    out[k++] = static_cast<unsigned char>(acc >> 10);
    out[k++] = static_cast<unsigned char>(acc >> 2);
  }
  out[k] = 0;
  if (length) *length = static_cast<uint32_t>(k);
  return out;
}

// A text under 4 bytes packs them big-endian and adds its length plus 1; a
// longer one folds its groups of four bytes (big-endian, the last group may
// be short) with a rotation between groups, and adds the length plus 1 too.
QVX_API int32_t SeedFromString(const char *text) noexcept {
  if (!text) return 1;
  std::size_t n = std::strlen(text);
  const unsigned char *p = reinterpret_cast<const unsigned char *>(text);
  uint32_t fold = 0;
  if (n < 4) {
    for (std::size_t i = 0; i < n; ++i) fold = (fold << 8) | p[i];
  } else {
    for (std::size_t i = 0; i < n; i += 4) {
      uint32_t group = 0;
      for (std::size_t k = i; k < i + 4 && k < n; ++k) group = (group << 8) | p[k];
      fold = ((fold << 7) | (fold >> 25)) ^ group;
    }
  }
  return static_cast<int32_t>(fold + static_cast<uint32_t>(n) + 1u);
}

// The first four bytes, big-endian (fewer for a shorter text).
QVX_API int32_t SeedFrom4String(const char *text) noexcept {
  uint32_t v = 0;
  for (int i = 0; text && i < 4 && text[i]; ++i) v = (v << 8) | static_cast<unsigned char>(text[i]);
  return static_cast<int32_t>(v);
}

// SeedFromString mapped to 1 .. 2^31 - 2: a valid positive state for Ran2.
QVX_API int32_t SeedFromStringP(const char *text) noexcept {
  uint32_t s = static_cast<uint32_t>(SeedFromString(text));
  return static_cast<int32_t>(s % 2147483646u) + 1;
}

QVX_API uint32_t LeftRotate32(uint32_t x, int32_t k) noexcept {
  unsigned r = static_cast<unsigned>(k) & 31u;
  return r ? (x << r) | (x >> (32 - r)) : x;
}
QVX_API uint32_t RightRotate32(uint32_t x, int32_t k) noexcept {
  unsigned r = static_cast<unsigned>(k) & 31u;
  return r ? (x >> r) | (x << (32 - r)) : x;
}
QVX_API uint64_t LeftRotate64(uint64_t x, int32_t k) noexcept {
  unsigned r = static_cast<unsigned>(k) & 63u;
  return r ? (x << r) | (x >> (64 - r)) : x;
}
QVX_API uint64_t RightRotate64(uint64_t x, int32_t k) noexcept {
  unsigned r = static_cast<unsigned>(k) & 63u;
  return r ? (x >> r) | (x << (64 - r)) : x;
}

// ---- random strings: n characters (n < 0 counts as 0), drawn from Ran2
// ---- through the caller's seed cell; null only when memory runs out.

QVX_API char *RandomStringAlphaNum(int32_t n, int32_t *seed) noexcept {
  return qvx::RandomText(n, [&] { return qvx::kAlphaNum[qvx::Draw(62, seed)]; });
}

// Alphanumerics whose first character is a letter, so the text can stand as
// a plain name.
QVX_API char *RandomStringAlphaNumP(int32_t n, int32_t *seed) noexcept {
  int32_t i = 0;
  return qvx::RandomText(n, [&] { return qvx::kAlphaNum[qvx::Draw(i++ == 0 ? 52 : 62, seed)]; });
}

// Into the caller's buffer, which has room for n characters and the
// terminator.
QVX_API void RandomStringAlphaNumIP(char *buffer, int32_t n, int32_t *seed) noexcept {
  if (!buffer) return;
  if (n < 0) n = 0;
  for (int32_t i = 0; i < n; ++i) buffer[i] = qvx::kAlphaNum[qvx::Draw(62, seed)];
  buffer[n] = '\0';
}

// Over the characters of an existing text, keeping its length.
QVX_API void RandomStringAlphaNumIP2(char *text, int32_t *seed) noexcept {
  if (!text) return;
  for (char *p = text; *p; ++p) *p = qvx::kAlphaNum[qvx::Draw(62, seed)];
}

// Bytes 1 to 127: any 7-bit character but the terminator.
QVX_API char *RandomString(int32_t n, int32_t *seed) noexcept {
  return qvx::RandomText(n, [&] { return static_cast<char>(1 + qvx::Draw(127, seed)); });
}

// Bytes 32 to 126.
QVX_API char *RandomPrintableString(int32_t n, int32_t *seed) noexcept {
  return qvx::RandomText(n, [&] { return static_cast<char>(32 + qvx::Draw(95, seed)); });
}

// Bytes 128 to 255 only, which never occur in plain ASCII text.
QVX_API char *RandomStringExtASCII(int32_t n, int32_t *seed) noexcept {
  return qvx::RandomText(n, [&] { return static_cast<char>(static_cast<unsigned char>(128 + qvx::Draw(128, seed))); });
}

// Characters of set, each equally likely; an empty set gives the empty text.
QVX_API char *RandomStringCharSet(int32_t n, const char *set, int32_t *seed) noexcept {
  int32_t k = set ? static_cast<int32_t>(std::strlen(set)) : 0;
  if (k == 0) n = 0;
  return qvx::RandomText(n, [&] { return set[qvx::Draw(k, seed)]; });
}

// open, n alphanumerics, close: n + 2 characters.
QVX_API char *RandomStringBracketed(int32_t n, int32_t *seed, char open, char close) noexcept {
  n = n < 0 ? 0 : (n > INT32_MAX - 2 ? INT32_MAX - 2 : n);
  int32_t i = 0;
  return qvx::RandomText(n + 2, [&] {
    int32_t at = i++;
    return at == 0 ? open : (at == n + 1 ? close : qvx::kAlphaNum[qvx::Draw(62, seed)]);
  });
}

// open, n bytes from 128 to 255, close.
QVX_API char *RandomStringBracketedExtASCII(int32_t n, int32_t *seed, char open, char close) noexcept {
  n = n < 0 ? 0 : (n > INT32_MAX - 2 ? INT32_MAX - 2 : n);
  int32_t i = 0;
  return qvx::RandomText(n + 2, [&] {
    int32_t at = i++;
    return at == 0 ? open
                   : (at == n + 1 ? close : static_cast<char>(static_cast<unsigned char>(128 + qvx::Draw(128, seed))));
  });
}

}  // extern "C"
