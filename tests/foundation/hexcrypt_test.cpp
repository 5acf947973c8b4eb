// Hexadecimal encoding and decoding against snprintf and strtoul, and the
// scrambling methods against a reference written from their description.
// The hex fuzz target already judges bad-digit statuses and round trips.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "foundation/but.h"
#include "foundation/foundation_support.h"
#include "foundation/vxerror.h"

namespace {

using Bytes = std::vector<uint8_t>;

// A fresh multiple-error list, so that the error a decoder posts shows.
class Hex : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors)); }
  void TearDown() override { VxErrorKeeper::giveUpErrorList(); }
  VxErrorList errors{nullptr, VxErrorList::kSupportMultipleErrors};
};

TEST_F(Hex, EncodersAndDecodersAgreeWithSnprintfAndStrtoul) {
  Random random;
  for (int i = 0; i < 3000; ++i) {
    uint64_t value = uint64_t(random.rng()) << 32 | random.rng();
    value = i % 100 == 0 ? 0 : value >> random(0, 63);
    const int minimum = random(0, 20);
    char want[40], out[40];
    snprintf(want, sizeof want, "%0*llX", minimum, static_cast<unsigned long long>(value));
    ASSERT_EQ(strlen(want), hexify(out, value, uint16_t(minimum))) << kSeed << " " << i;
    ASSERT_STREQ(want, out) << kSeed << " " << i;

    Bytes in(size_t(random(0, 30)));
    for (uint8_t& b : in) b = uint8_t(random.rng());
    std::string digits, mixed;
    for (uint8_t b : in) snprintf(want, sizeof want, "%02X", b), digits += want;
    for (char c : digits) mixed += random(0, 1) ? char(tolower(c)) : c;
    std::vector<char> text(2 * in.size() + 1, '#'), wide(4 * in.size() + 1, '#');
    ASSERT_EQ(digits.size(), hexify(text.data(), in.data(), in.size()));
    ASSERT_EQ(digits.size(), hexifyHuge(text.data(), in.data(), in.size()));
    ASSERT_EQ(digits + '#', std::string(text.begin(), text.end())) << kSeed << " " << i;
    std::string units;
    for (char c : digits) units += std::string(1, c) + '\0';
    ASSERT_EQ(units.size(), wideHexify(wide.data(), in.data(), in.size()));
    ASSERT_EQ(units + '#', std::string(wide.begin(), wide.end())) << kSeed << " " << i;
    // In place: out equal to in.
    std::vector<char> same(4 * in.size() + 1);
    memcpy(same.data(), in.data(), in.size());
    hexify(same.data(), same.data(), in.size());
    ASSERT_EQ(digits, std::string(same.data(), digits.size())) << kSeed << " " << i;
    memcpy(same.data(), in.data(), in.size());
    wideHexify(same.data(), same.data(), in.size());
    ASSERT_EQ(units, std::string(same.data(), units.size())) << kSeed << " " << i;

    // Decoding, in either case; an odd count leaves the last digit high.
    if (!mixed.empty() && random(0, 1)) mixed.pop_back();
    Bytes back(in.size() + 1, 0x11), huge(back), fromWide(back);
    ASSERT_EQ(0u, dehexify(back.data(), mixed.data(), mixed.size()));
    ASSERT_EQ(0u, dehexifyHuge(huge.data(), mixed.data(), mixed.size()));
    ASSERT_EQ(0u, wideDehexify(fromWide.data(), (std::string(1, '\0') + units).data(), units.size()));
    for (size_t k = 0; 2 * k < mixed.size(); ++k) {
      unsigned long byte = strtoul((mixed.substr(2 * k, 2) + "0").substr(0, 2).c_str(), nullptr, 16);
      ASSERT_TRUE(back[k] == byte && huge[k] == byte) << kSeed << " " << i << " byte " << k;
    }
    ASSERT_TRUE(std::equal(in.begin(), in.end(), fromWide.begin())) << kSeed << " " << i;
    ASSERT_TRUE(isHexString(mixed.data(), mixed.size()));

    // The escape form writes every decoded escape byte twice and stores the
    // number of bytes written divided by eight (deliberate).
    const uint8_t escape = in.empty() ? 0 : in[size_t(random(0, int(in.size()) - 1))];
    Bytes doubled, escaped(2 * in.size() + 1);
    for (uint8_t b : in) doubled.insert(doubled.end(), b == escape ? 2 : 1, b);
    VXSIZE_T count = 99;
    ASSERT_EQ(0u, dehexify(escaped.data(), digits.data(), digits.size(), escape, &count));
    ASSERT_TRUE(std::equal(doubled.begin(), doubled.end(), escaped.begin())) << kSeed << " " << i;
    ASSERT_EQ(doubled.size() / 8, count) << kSeed << " " << i;
  }
  EXPECT_EQ(0u, errors.getCount());
}

TEST_F(Hex, BadDigitReturnsOneAndPostsError2708KeepingEarlierBytes) {
  uint8_t out[3] = {0, 0, 0};
  VXSIZE_T count = 77;
  EXPECT_EQ(1u, dehexify(out, "12 4", 4));
  EXPECT_EQ(0x12, out[0]);
  EXPECT_EQ(1u, dehexify(out, "AbG0", 4));
  EXPECT_EQ(0xAB, out[0]);
  EXPECT_EQ(1u, dehexifyHuge(out, "/", 1));
  EXPECT_EQ(1u, wideDehexify(out, "A\0Z\0", 4));
  EXPECT_EQ(1u, dehexify(out, "27x1", 4, 0x27, &count));
  EXPECT_EQ(77u, count);
  ASSERT_EQ(5u, errors.getCount());
  for (VXSIZE_T k = 0; k < 5; ++k)
    EXPECT_TRUE(errors.at(k)->getErrorNumber() == 2708 && !errors.at(k)->isWarning()) << k;
  for (const char* bad : {"09afAG", "\0", "@", "`", "g", ":", "G"})
    EXPECT_FALSE(isHexString(bad, strlen(bad) + (*bad == '\0'))) << bad;
}

// Method 3 from its description: pairs (byte i, byte i + 1, the last
// byte of an odd length pairing with byte 0) run 32 rounds each; the key
// text (at most 15 bytes and its NUL) overwrites the start of the default
// key, of which the first four bytes are used.
void referenceScramble(Bytes& d, const char* key) {
  uint8_t k[17] = "VxLibScrambleKey";
  if (key != nullptr) {
    size_t len = std::min(strlen(key), size_t(15));
    memcpy(k, key, len);
    k[len] = 0;
  }
  if (d.size() == 1) d[0] ^= k[0];
  for (size_t i = 0; d.size() > 1 && i < d.size(); i += 2) {
    uint8_t &y = d[i], &z = d[i + 1 == d.size() ? 0 : i + 1];
    unsigned sum = 0;
    for (int r = 0; r < 32; ++r) {
      sum = (sum + 0x9E) & 0xFF;
      y = uint8_t(y + ((((z << 4) & 0xFF) + k[0]) ^ (z + sum) ^ ((z >> 5) + k[1])));
      z = uint8_t(z + ((((y << 4) & 0xFF) + k[2]) ^ (y + sum) ^ ((y >> 5) + k[3])));
    }
  }
}

TEST(Scramble, MethodsMatchTheirDescriptionAndDecryptUndoesEncrypt) {
  const char* keys[] = {nullptr, "", "K", "ab", "abc", "key", "abcdXXXX", "abcdYYYYYYYYYYYYYYYYYYY"};
  Random random;
  for (int i = 0; i < 2000; ++i) {
    Bytes plain(size_t(random(0, 40)));
    for (uint8_t& b : plain) b = random(0, 4) == 0 ? (random(0, 1) ? 0x0A : 0xF5) : uint8_t(random.rng());
    const uint16_t method = uint16_t(random(0, 5));
    const char* key = keys[random(0, 7)];
    Bytes want = plain, got = plain;
    for (uint8_t& b : want) {
      if (method == 1 || (method == 2 && b != 0x0A && b != 0xF5)) b = uint8_t(~b);
    }
    if (method == 3) referenceScramble(want, key);
    encrypt(got.data(), got.size(), method, key);
    ASSERT_EQ(want, got) << "seed " << kSeed << " case " << i << " method " << method;
    decrypt(got.data(), got.size(), method, key);
    ASSERT_EQ(plain, got) << "seed " << kSeed << " case " << i << " method " << method;
  }
}

}  // namespace
