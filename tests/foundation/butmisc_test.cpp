#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/but.h"
#include "foundation/ram_internal.h"

namespace {

TEST(Swap, ExchangesAreasLongerThanOneChunk) {
  for (size_t n : {0u, 1u, 511u, 512u, 513u, 1500u}) {
    std::vector<uint8_t> a(n), b(n);
    for (size_t k = 0; k < n; ++k) a[k] = uint8_t(k), b[k] = uint8_t(255 - k * 3);
    std::vector<uint8_t> a0 = a, b0 = b;
    memSwap(a.data(), b.data(), n);
    EXPECT_EQ(b0, a);
    EXPECT_EQ(a0, b);
    BUTMMSWP(a.data(), b.data(), n);
    EXPECT_EQ(a0, a);
    EXPECT_EQ(b0, b);
  }
}

TEST(Swap, ButswapExchangesTwoElements) {
  struct Row {
    int32_t id;
    char name[6];
  };
  Row rows[3] = {{1, "one"}, {2, "two"}, {3, "three"}};
  butswap(rows, 0, 2, sizeof(Row));
  EXPECT_EQ(3, rows[0].id);
  EXPECT_STREQ("three", rows[0].name);
  EXPECT_EQ(1, rows[2].id);
  EXPECT_STREQ("one", rows[2].name);
  EXPECT_EQ(2, rows[1].id);
}

TEST(Swap, ButswapOfAnElementWithItselfKeepsIt) {
  uint16_t values[2] = {0x1234, 0x5678};
  butswap(values, 1, 1, 2);
  EXPECT_EQ(0x5678, values[1]);
}

TEST(Swap, ButswapComputesOffsetsBeyondSixteenBits) {
  // Element 300 of 300-byte elements starts at 90000, past 16 bits.
  std::vector<uint8_t> big(301 * 300, 0);
  big[300 * 300] = 0xEE;
  butswap(big.data(), 0, 300, 300);
  EXPECT_EQ(0xEE, big[0]);
  EXPECT_EQ(0, big[300 * 300]);
}

TEST(Swap, ButswapLeavesArrayAloneWhenHeapExhausted) {
  int32_t values[2] = {10, 20};
  ramFailAllocationAfter(1);
  butswap(values, 0, 1, sizeof(int32_t));
  ramFailAllocationAfter(0);
  EXPECT_EQ(10, values[0]);
  EXPECT_EQ(20, values[1]);
}

TEST(ShortString, CopyReturnsPointerToWrittenNul) {
  char buf[16];
  char* end = BUTSTCPY(buf, "abc");
  EXPECT_EQ(buf + 3, end);
  EXPECT_EQ('\0', *end);
  EXPECT_STREQ("abc", buf);
}

TEST(ShortString, CatChainsAppends) {
  char buf[32];
  char* end = BUTSTCPY(buf, "SELECT");
  end = BUTSTCAT(end, " * ");
  end = BUTSTCAT(end, "FROM t");
  EXPECT_STREQ("SELECT * FROM t", buf);
  EXPECT_EQ(buf + strlen(buf), end);
}

TEST(ShortString, CatAppendsToExistingText) {
  char buf[16] = "ab";
  char* end = BUTSTCAT(buf, "cd");
  EXPECT_STREQ("abcd", buf);
  EXPECT_EQ(buf + 4, end);
}

TEST(ShortString, CompareHasStrcmpSign) {
  EXPECT_EQ(0, BUTSTCMP("abc", "abc"));
  EXPECT_LT(BUTSTCMP("abc", "abd"), 0);
  EXPECT_GT(BUTSTCMP("b", "abc"), 0);
  EXPECT_GT(BUTSTCMP("\xff", "a"), 0);
}

TEST(Bits, SetCountsBitsFromLeastSignificant) {
  uint8_t set[4] = {0, 0, 0, 0};
  bitset(set, 0);
  bitset(set, 9);
  bitset(set, 31);
  EXPECT_EQ(0x01, set[0]);
  EXPECT_EQ(0x02, set[1]);
  EXPECT_EQ(0x00, set[2]);
  EXPECT_EQ(0x80, set[3]);
}

TEST(Bits, CheckReturnsBitValueInPlaceNotNormalised) {
  uint8_t set[2] = {0, 0};
  bitset(set, 13);
  EXPECT_EQ(0x20, bitcheck(set, 13));
  EXPECT_EQ(0, bitcheck(set, 12));
  EXPECT_EQ(0, bitcheck(set, 5));
}

}  // namespace
