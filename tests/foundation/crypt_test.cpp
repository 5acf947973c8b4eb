#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/but.h"

namespace {

std::vector<uint8_t> bytes(const std::string& s) { return std::vector<uint8_t>(s.begin(), s.end()); }

// Independent rendering of the pair rounds for one pair, written from the
// description of the method rather than shared with the library.
void referencePair(uint8_t& y, uint8_t& z, const uint8_t k[4]) {
  unsigned sum = 0;
  for (int r = 0; r < 32; ++r) {
    sum = (sum + 0x9E) & 0xFF;
    y = uint8_t(y + ((((z << 4) & 0xFF) + k[0]) ^ (z + sum) ^ ((z >> 5) + k[1])));
    z = uint8_t(z + ((((y << 4) & 0xFF) + k[2]) ^ (y + sum) ^ ((y >> 5) + k[3])));
  }
}

TEST(Scramble, MethodOneComplementsEveryByte) {
  std::vector<uint8_t> d = {0x00, 0x0A, 0xF5, 0x41};
  encrypt(d.data(), d.size(), 1);
  EXPECT_EQ((std::vector<uint8_t>{0xFF, 0xF5, 0x0A, 0xBE}), d);
  decrypt(d.data(), d.size(), 1);
  EXPECT_EQ((std::vector<uint8_t>{0x00, 0x0A, 0xF5, 0x41}), d);
}

TEST(Scramble, MethodTwoKeepsLineFeedAndItsComplement) {
  std::vector<uint8_t> d = bytes("ab\ncd\n");
  d.push_back(0xF5);
  encrypt(d.data(), d.size(), 2);
  EXPECT_EQ((std::vector<uint8_t>{0x9E, 0x9D, 0x0A, 0x9C, 0x9B, 0x0A, 0xF5}), d);
  decrypt(d.data(), d.size(), 2);
  std::vector<uint8_t> plain = bytes("ab\ncd\n");
  plain.push_back(0xF5);
  EXPECT_EQ(plain, d);
}

TEST(Scramble, UnknownMethodLeavesDataAlone) {
  std::vector<uint8_t> d = bytes("unchanged");
  encrypt(d.data(), d.size(), 0);
  encrypt(d.data(), d.size(), 4);
  decrypt(d.data(), d.size(), 77);
  EXPECT_EQ(bytes("unchanged"), d);
}

TEST(Scramble, MethodThreeSingleByteIsXoredWithFirstKeyByte) {
  uint8_t d = 0x55;
  encrypt(&d, 1, 3, "K");
  EXPECT_EQ(0x55 ^ 'K', d);
  decrypt(&d, 1, 3, "K");
  EXPECT_EQ(0x55, d);
}

TEST(Scramble, MethodThreeMatchesPairRoundsWithKeyText) {
  const uint8_t k[4] = {'a', 'b', 'c', 'd'};
  uint8_t y = 'H', z = 'i';
  referencePair(y, z, k);
  uint8_t d[2] = {'H', 'i'};
  encrypt(d, 2, 3, "abcdefgh");
  EXPECT_EQ(y, d[0]);
  EXPECT_EQ(z, d[1]);
}

TEST(Scramble, MethodThreeOddLengthPairsLastByteWithFirst) {
  const uint8_t k[4] = {'k', 'e', 'y', 0};
  uint8_t ref[3] = {1, 2, 3};
  referencePair(ref[0], ref[1], k);
  referencePair(ref[2], ref[0], k);
  uint8_t d[3] = {1, 2, 3};
  encrypt(d, 3, 3, "key");
  EXPECT_EQ(0, memcmp(ref, d, 3));
  decrypt(d, 3, 3, "key");
  EXPECT_EQ(0, memcmp("\1\2\3", d, 3));
}

TEST(Scramble, MethodThreeKeyTextIsCopiedWithItsNul) {
  // An empty key text puts its NUL in k0, so a single byte is XORed with 0.
  uint8_t d = 0x5A;
  encrypt(&d, 1, 3, "");
  EXPECT_EQ(0x5A, d);
  // "ab" puts a NUL in k2, which "abc" replaces: the results differ.
  uint8_t withAb[2] = {0x10, 0x20}, withAbc[2] = {0x10, 0x20};
  encrypt(withAb, 2, 3, "ab");
  encrypt(withAbc, 2, 3, "abc");
  EXPECT_NE(0, memcmp(withAb, withAbc, 2));
}

TEST(Scramble, MethodThreeUsesOnlyFirstFourKeyBytes) {
  uint8_t a[6] = {9, 8, 7, 6, 5, 4}, b[6] = {9, 8, 7, 6, 5, 4};
  encrypt(a, 6, 3, "abcdXXXX");
  encrypt(b, 6, 3, "abcdYYYYYYYYYYYYYYYYYYYYY");
  EXPECT_EQ(0, memcmp(a, b, 6));
}

TEST(Scramble, MethodThreeRoundTripsWithTheDefaultKeyButNotWithAWrongOne) {
  std::string text = "The quick brown fox jumps over the lazy dog.";
  std::vector<uint8_t> d = bytes(text);
  encrypt(d.data(), d.size(), 3);
  EXPECT_NE(bytes(text), d);
  decrypt(d.data(), d.size(), 3);
  EXPECT_EQ(bytes(text), d);
  encrypt(d.data(), d.size(), 3, "right");
  decrypt(d.data(), d.size(), 3, "wrong");
  EXPECT_NE(bytes(text), d);
}

TEST(Scramble, MethodThreeRoundTripsEveryLengthWithKey) {
  for (size_t n = 0; n < 40; ++n) {
    std::vector<uint8_t> plain(n);
    for (size_t k = 0; k < n; ++k) plain[k] = uint8_t(k * 37 + 1);
    std::vector<uint8_t> d = plain;
    encrypt(d.data(), n, 3, "secret key text that is long");
    decrypt(d.data(), n, 3, "secret key text that is long");
    ASSERT_EQ(plain, d) << n;
  }
}

}  // namespace
