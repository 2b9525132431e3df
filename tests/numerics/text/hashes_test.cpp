// Hashes and encodings: SHA-256 and SHA-512 against the FIPS 180 example
// messages and against coreutils digests at the padding boundaries, Base64
// against the RFC 4648 examples, the salted-hash round trip, seeds, rotations
// and the character classes of the random strings.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "numerics/text/hashes.h"

namespace {

// Owns a text returned by the library.
std::string Take(char *text) {
  std::string s = text ? text : "<null>";
  FreeString(text);
  return s;
}

const std::string k448 = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
const std::string k896 =
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";

struct DigestCase {
  std::string text;
  const char *sha256;
  const char *sha512;
};

TEST(Sha, PublishedVectors) {
  const DigestCase cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
       "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
       "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
       "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
       "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
      {k448, "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1",
       "204a8fc6dda82f0a0ced7beb8e08a41657c16ef468b228a8279be331a703c335"
       "96fd15c13b1b07f9aa1d3bea57789ca031ad85c7a71dd70354ec631238ca3445"},
      {k896, "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1",
       "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
       "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0",
       "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
       "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.text.size());
    EXPECT_EQ(Take(SHA256(c.text.c_str())), c.sha256);
    EXPECT_EQ(Take(SHA512(c.text.c_str())), c.sha512);
    EXPECT_EQ(Take(SHA512FromByteArray(reinterpret_cast<const unsigned char *>(c.text.data()),
                                       static_cast<uint32_t>(c.text.size()))),
              c.sha512);
  }
}

// Messages of 'a' whose padding just fits, just fails to fit, or fills a
// block exactly (references from sha256sum / sha512sum).
TEST(Sha, PaddingBoundaries) {
  const std::pair<size_t, const char *> sha512[] = {
      {111, "fa9121c7b32b9e01733d034cfc78cbf67f926c7ed83e82200ef86818196921760b4beff48404df811b953828274461673c68d04e297b0eb7b2b4d60fc6b566a2"},
      {112, "c01d080efd492776a1c43bd23dd99d0a2e626d481e16782e75d54c2503b5dc32bd05f0f1ba33e568b88fd2d970929b719ecbb152f58f130a407c8830604b70ca"},
      {127, "828613968b501dc00a97e08c73b118aa8876c26b8aac93df128502ab360f91bab50a51e088769a5c1eff4782ace147dce3642554199876374291f5d921629502"},
      {128, "b73d1929aa615934e61a871596b3f3b33359f42b8175602e89f7e06e5f658a243667807ed300314b95cacdd579f3e33abdfbe351909519a846d465c59582f321"},
      {239, "52c853cb8d907f3d4d6b889beb027985d7c273486d75f8baf26f80d24e90c74c6c3de3e22131582380a7d14d43f2941a31385439cd6ddc469f628015e50bf286"},
  };
  for (const auto &[n, want] : sha512) EXPECT_EQ(Take(SHA512(std::string(n, 'a').c_str())), want) << n;
  const std::pair<size_t, const char *> sha256[] = {
      {55, "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {56, "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
      {64, "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
  };
  for (const auto &[n, want] : sha256) EXPECT_EQ(Take(SHA256(std::string(n, 'a').c_str())), want) << n;
}

// Feeding a message in two pieces, split anywhere, gives the one-shot digest.
TEST(Sha, IncrementalEqualsOneShot) {
  std::vector<unsigned char> data(300);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i * 131 + 7);
  for (size_t n : {0, 1, 127, 128, 129, 255, 300}) {
    unsigned char want[64];
    qvx::Sha512Digest(data.data(), n, want);
    for (size_t cut = 0; cut <= n; cut += 17) {
      qvx::Sha512State s;
      qvx::Sha512Init(s);
      qvx::Sha512Update(s, data.data(), cut);
      qvx::Sha512Update(s, data.data() + cut, n - cut);
      unsigned char got[64];
      qvx::Sha512Final(s, got);
      ASSERT_EQ(0, std::memcmp(got, want, 64)) << n << " split at " << cut;
    }
  }
}

// ---- Base64 ----------------------------------------------------------------

TEST(Base64, Rfc4648VectorsBothWays) {
  const std::pair<const char *, const char *> cases[] = {{"", ""},         {"f", "Zg=="},         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},  {"foob", "Zm9vYg=="},  {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
  for (const auto &[plain, coded] : cases) {
    auto bytes = reinterpret_cast<const unsigned char *>(plain);
    EXPECT_EQ(Take(Base64Encoding(bytes, static_cast<uint32_t>(std::strlen(plain)))), coded);
    uint32_t n = 99;
    unsigned char *back = Base64Decoding(coded, &n);
    ASSERT_NE(back, nullptr) << coded;
    EXPECT_EQ(n, std::strlen(plain));
    EXPECT_STREQ(reinterpret_cast<char *>(back), plain);
    Free(back);
  }
}

TEST(Base64, EveryByteValueRoundTrips) {
  std::vector<unsigned char> all(256);
  for (int i = 0; i < 256; ++i) all[i] = static_cast<unsigned char>(i);
  for (uint32_t n : {254u, 255u, 256u}) {
    char *coded = Base64Encoding(all.data(), n);
    uint32_t back_n = 0;
    unsigned char *back = Base64Decoding(coded, &back_n);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back_n, n);
    EXPECT_EQ(0, std::memcmp(back, all.data(), n));
    Free(back);
    FreeString(coded);
  }
}

TEST(Base64, DecodingRejectsMalformedText) {
  // A character outside the alphabet, data after padding, a lone final
  // character; white space and missing padding are accepted.
  for (const char *bad : {"Zm9v!", "Zg=a", "Zm9vY", "Z"}) {
    uint32_t n = 7;
    EXPECT_EQ(Base64Decoding(bad, &n), nullptr) << bad;
    EXPECT_EQ(n, 0u);
  }
  uint32_t n = 0;
  unsigned char *ok = Base64Decoding("Zm9v\r\nYmE", &n);
  ASSERT_NE(ok, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<char *>(ok), n), "fooba");
  Free(ok);
  EXPECT_EQ(Base64Decoding(nullptr, &n), nullptr);
}

TEST(Base64, OptionalAlphabetAndPadding) {
  const unsigned char top[] = {0xfb, 0xff};  // "+/8=" in the standard alphabet
  EXPECT_EQ(Take(Base64Encoding(top, 2)), "+/8=");
  EXPECT_EQ(Take(Base64EncodingOptionalChars(top, 2, "$%", '_')), "$%8_");
  EXPECT_EQ(Take(Base64EncodingOptionalChars(top, 2, "-_", 0)), "-_8");
  char quad[5] = "....";
  Base64EncodingTriplet(reinterpret_cast<const unsigned char *>("f"), 1, quad);
  EXPECT_STREQ(quad, "Zg==");
}

// The map-key form is the Base64 of the binary digest whose hexadecimal
// form SHA512 gives.
TEST(Base64, Sha512Base64IsTheDigestEncoded) {
  std::string key = Take(SHA512Base64("abc", "$%", '_'));
  ASSERT_EQ(key.size(), 88u);
  EXPECT_EQ(key.substr(86), "__");
  for (char &c : key) c = c == '$' ? '+' : c == '%' ? '/' : c == '_' ? '=' : c;
  uint32_t n = 0;
  unsigned char *digest = Base64Decoding(key.c_str(), &n);
  ASSERT_EQ(n, 64u);
  std::string hex;
  char pair[3];
  for (uint32_t i = 0; i < n; ++i) {
    std::snprintf(pair, sizeof pair, "%02x", digest[i]);
    hex += pair;
  }
  Free(digest);
  EXPECT_EQ(hex, Take(SHA512("abc")));
}

// ---- salted hashes -----------------------------------------------------------

TEST(SaltedHash, RoundTripAndTampering) {
  std::string stored = Take(SaltedHash("correct horse", 16));
  ASSERT_EQ(stored.size(), 2u * 16 + 130);
  EXPECT_EQ(stored.substr(stored.size() - 2), "10");  // the salt length
  EXPECT_EQ(TestAgainstSaltedHash("correct horse", stored.c_str()), 1);
  EXPECT_EQ(TestAgainstSaltedHash("correct hors", stored.c_str()), 0);
  EXPECT_EQ(TestAgainstSaltedHash("Correct horse", stored.c_str()), 0);
  std::string tampered = stored;
  tampered[40] = tampered[40] == '0' ? '1' : '0';
  EXPECT_EQ(TestAgainstSaltedHash("correct horse", tampered.c_str()), 0);

  std::string salt = Take(SaltFromHash(stored.c_str()));
  ASSERT_EQ(salt.size(), 16u);
  for (char c : salt) EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << salt;
  EXPECT_EQ(Take(SHA512(("correct horse" + salt).c_str())), stored.substr(32, 128));
}

TEST(SaltedHash, TwoCallsDrawDifferentSalts) {
  EXPECT_NE(Take(SaltedHash("text", 12)), Take(SaltedHash("text", 12)));
}

TEST(SaltedHash, MalformedStoredFormsAreRefused) {
  std::string good = Take(SaltedHash("x", 4));
  std::string odd = good.substr(1);
  std::string nonHex = good;
  nonHex[0] = 'z';
  for (const std::string &bad : {std::string(""), std::string(129, 'a'), odd, nonHex}) {
    EXPECT_EQ(TestAgainstSaltedHash("x", bad.c_str()), 0);
    EXPECT_EQ(SaltFromHash(bad.c_str()), nullptr);
  }
  EXPECT_EQ(TestAgainstSaltedHash("x", nullptr), 0);
}

// ---- seeds, rotations, random strings -------------------------------------

TEST(Seeds, ShortTextsPackBigEndianPlusLength) {
  EXPECT_EQ(SeedFromString(""), 1);
  EXPECT_EQ(SeedFromString("a"), 0x61 + 2);
  EXPECT_EQ(SeedFromString("abc"), 0x616263 + 4);
  EXPECT_EQ(SeedFrom4String("abcdef"), 0x61626364);
  EXPECT_NE(SeedFromString("abcdefgh"), SeedFromString("abcdefgi"));
  EXPECT_NE(SeedFromString("abcdabcd"), SeedFromString("abcd"));  // equal groups do not cancel
  for (const char *t : {"", "a", "zzzzzzzzzzzzzz", "\xff\xff\xff\xff"}) EXPECT_GT(SeedFromStringP(t), 0) << t;
}

TEST(Rotations, WrapAndReduceTheCount) {
  EXPECT_EQ(LeftRotate32(0x80000001u, 1), 3u);
  EXPECT_EQ(RightRotate32(3u, 1), 0x80000001u);
  EXPECT_EQ(LeftRotate32(0x12345678u, 0), 0x12345678u);
  EXPECT_EQ(LeftRotate32(0x12345678u, 32), 0x12345678u);
  EXPECT_EQ(LeftRotate64(0x8000000000000001ULL, 4), 0x18ULL);
  EXPECT_EQ(RightRotate64(0x18ULL, 4), 0x8000000000000001ULL);
  EXPECT_EQ(RightRotate64(1ULL, -1), 2ULL);
}

TEST(RandomStrings, CharacterClassesAndReproducibility) {
  struct Case {
    const char *name;
    char *(*make)(int32_t, int32_t *);
    bool (*allowed)(unsigned char);
  };
  const Case cases[] = {
      {"AlphaNum", RandomStringAlphaNum, [](unsigned char c) { return std::isalnum(c) != 0; }},
      {"String", RandomString, [](unsigned char c) { return c >= 1 && c <= 127; }},
      {"Printable", RandomPrintableString, [](unsigned char c) { return c >= 32 && c <= 126; }},
      {"ExtASCII", RandomStringExtASCII, [](unsigned char c) { return c >= 128; }},
  };
  for (const auto &c : cases) {
    int32_t seed = -17, again = -17;
    std::string a = Take(c.make(500, &seed)), b = Take(c.make(500, &again));
    EXPECT_EQ(a, b) << c.name;
    ASSERT_EQ(a.size(), 500u) << c.name;
    for (char ch : a) ASSERT_TRUE(c.allowed(static_cast<unsigned char>(ch))) << c.name;
    EXPECT_NE(a, Take(c.make(500, &seed))) << c.name;  // the cell moved on
    EXPECT_EQ(Take(c.make(-3, &seed)), "") << c.name;
  }
  int32_t seed = -5;
  for (int k = 0; k < 50; ++k) EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(Take(RandomStringAlphaNumP(3, &seed))[0])));
  std::string set = Take(RandomStringCharSet(200, "xy", &seed));
  EXPECT_EQ(set.find_first_not_of("xy"), std::string::npos);
  EXPECT_NE(set.find('x'), std::string::npos);
  EXPECT_NE(set.find('y'), std::string::npos);
  EXPECT_EQ(Take(RandomStringCharSet(5, "", &seed)), "");
  std::string br = Take(RandomStringBracketed(4, &seed, '[', ']'));
  ASSERT_EQ(br.size(), 6u);
  EXPECT_EQ(br.front(), '[');
  EXPECT_EQ(br.back(), ']');
  char buffer[8] = "zzzzzzz";
  RandomStringAlphaNumIP(buffer, 3, &seed);
  EXPECT_EQ(std::strlen(buffer), 3u);
  char text[] = "hello";
  RandomStringAlphaNumIP2(text, &seed);
  EXPECT_EQ(std::strlen(text), 5u);
}

}  // namespace
