#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/but.h"
#include "foundation/vxerror.h"

namespace {

// Installs a fresh multiple-error list for each test so that the error a
// decoder posts can be inspected.
class HexTest : public ::testing::Test {
 protected:
  HexTest() : errors(nullptr, VxErrorList::kSupportMultipleErrors) {}
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors)); }
  void TearDown() override { VxErrorKeeper::giveUpErrorList(); }

  uint16_t lastErrorNumber() { return VxErrorKeeper::getLastErrorNumber(); }

  VxErrorList errors;
};

TEST_F(HexTest, ValueIsPaddedToMinimumDigitsInUpperCase) {
  struct Case {
    uint64_t value;
    uint16_t minimum;
    const char* expected;
  } cases[] = {
      {0, 0, "0"}, {0x1F, 4, "001F"}, {UINT64_MAX, 2, "FFFFFFFFFFFFFFFF"}, {0xabc, 0, "ABC"}};
  for (const Case& c : cases) {
    char out[20];
    EXPECT_EQ(int(strlen(c.expected)), hexify(out, c.value, c.minimum)) << c.expected;
    EXPECT_STREQ(c.expected, out);
  }
}

TEST_F(HexTest, BytesBecomeTwoCharactersHighNibbleFirstWithoutNul) {
  const uint8_t in[2] = {0xAB, 0x01};
  char out[5] = "####";
  EXPECT_EQ(4u, hexify(out, in, 2));
  EXPECT_EQ(0, memcmp("AB01", out, 4));
  char huge[5] = "####";
  EXPECT_EQ(4u, hexifyHuge(huge, in, 2));
  EXPECT_EQ(0, memcmp("AB01", huge, 4));
}

TEST_F(HexTest, BytesConvertInPlace) {
  char buf[4] = {char(0xAB), char(0x01), 'x', 'x'};
  EXPECT_EQ(4u, hexify(buf, buf, 2));
  EXPECT_EQ(0, memcmp("AB01", buf, 4));

  std::vector<char> big(512);
  for (int k = 0; k < 256; ++k) big[k] = char(k);
  hexify(big.data(), big.data(), 256);
  char expected[3];
  for (int k = 0; k < 256; ++k) {
    snprintf(expected, sizeof expected, "%02X", k);
    ASSERT_EQ(0, memcmp(expected, &big[2 * k], 2)) << k;
  }
}

TEST_F(HexTest, WideHexifyWritesLittleEndianUtf16DigitsAlsoInPlace) {
  const uint8_t in[2] = {0xAB, 0x01};
  uint8_t out[8];
  EXPECT_EQ(8u, wideHexify(out, in, 2));
  EXPECT_EQ(0, memcmp("A\0B\0" "0\0" "1\0", out, 8));
  uint8_t buf[12] = {0x12, 0xEF, 0x80};
  EXPECT_EQ(12u, wideHexify(buf, buf, 3));
  EXPECT_EQ(0, memcmp("1\0" "2\0" "E\0" "F\0" "8\0" "0\0", buf, 12));
}

TEST_F(HexTest, DehexifyAcceptsEitherCase) {
  uint8_t out[2] = {0, 0};
  EXPECT_EQ(0u, dehexify(out, "aB", 2));
  EXPECT_EQ(0xAB, out[0]);
  EXPECT_EQ(0u, dehexifyHuge(out, "c0fF", 4));
  EXPECT_EQ(0xC0, out[0]);
  EXPECT_EQ(0xFF, out[1]);
  EXPECT_EQ(0u, lastErrorNumber());
}

TEST_F(HexTest, DehexifyBadDigitReturnsOneAndPostsError2708KeepingEarlierBytes) {
  uint8_t out[3] = {0, 0, 0};
  EXPECT_EQ(1u, dehexify(out, "12 4", 4));
  EXPECT_EQ(0x12, out[0]);
  EXPECT_EQ(1u, errors.getCount());
  EXPECT_EQ(2708, lastErrorNumber());
  EXPECT_FALSE(errors.getLastError()->isWarning());
  EXPECT_EQ(1u, dehexify(out, "G0", 2));
  EXPECT_EQ(1u, wideDehexify(out, "A\0Z\0", 4));
  EXPECT_EQ(3u, errors.getCount());
  EXPECT_EQ(2708, lastErrorNumber());
}

TEST_F(HexTest, DehexifyOddCountLeavesLastDigitInHighNibble) {
  uint8_t out[2] = {0x11, 0x11};
  EXPECT_EQ(0u, dehexify(out, "ABC", 3));
  EXPECT_EQ(0xAB, out[0]);
  EXPECT_EQ(0xC0, out[1]);
}

TEST_F(HexTest, WideDehexifySkipsNulBytes) {
  uint8_t out[2] = {0, 0};
  EXPECT_EQ(0u, wideDehexify(out, "a\0B\0" "0\0" "9\0", 8));
  EXPECT_EQ(0xAB, out[0]);
  EXPECT_EQ(0x09, out[1]);
}

TEST_F(HexTest, EscapeFormDoublesEscapeAndDeliberatelyStoresCountDividedByEight) {
  uint8_t out[8];
  VXSIZE_T count = 99;
  EXPECT_EQ(0u, dehexify(out, "2741", 4, 0x27, &count));
  EXPECT_EQ(0x27, out[0]);
  EXPECT_EQ(0x27, out[1]);
  EXPECT_EQ(0x41, out[2]);
  EXPECT_EQ(0u, count);  // three bytes written, divided by eight
}

TEST_F(HexTest, EscapeFormCountIsBytesWrittenDividedByEight) {
  // Eight bytes with one escape make nine written: count 1.
  uint8_t out[16];
  VXSIZE_T count = 0;
  EXPECT_EQ(0u, dehexify(out, "00112233445566FF", 16, 0xFF, &count));
  EXPECT_EQ(1u, count);
  EXPECT_EQ(0xFF, out[7]);
  EXPECT_EQ(0xFF, out[8]);
  // Sixteen escape bytes make thirty-two written: count 4.
  uint8_t many[40];
  std::string text(32, 'A');
  EXPECT_EQ(0u, dehexify(many, text.data(), text.size(), 0xAA, &count));
  EXPECT_EQ(4u, count);
}

TEST_F(HexTest, EscapeFormBadDigitPostsError2708AndLeavesCount) {
  uint8_t out[8];
  VXSIZE_T count = 77;
  EXPECT_EQ(1u, dehexify(out, "27x1", 4, 0x27, &count));
  EXPECT_EQ(77u, count);
  EXPECT_EQ(2708, lastErrorNumber());
}

TEST_F(HexTest, IsHexStringChecksEveryByte) {
  EXPECT_TRUE(isHexString("", 0));
  EXPECT_TRUE(isHexString("09afAF", 6));
  EXPECT_FALSE(isHexString("09afAG", 6));
  EXPECT_TRUE(isHexString("09afAG", 5));
  EXPECT_FALSE(isHexString("\0", 1));
}

TEST_F(HexTest, HexifyAndWideHexifyRoundTripEveryByteValue) {
  uint8_t in[256], back[256], wide[1024];
  char text[512];
  for (int k = 0; k < 256; ++k) in[k] = uint8_t(k * 37);
  EXPECT_EQ(0u, dehexify(back, text, hexify(text, in, 256)));
  EXPECT_EQ(0, memcmp(in, back, 256));
  memset(back, 0, sizeof back);
  EXPECT_EQ(0u, wideDehexify(back, wide, wideHexify(wide, in, 256)));
  EXPECT_EQ(0, memcmp(in, back, 256));
}

}  // namespace
