#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <thread>
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

namespace {

TEST(WordExchange, TaskExchangeStoresAndReturnsPrevious) {
  uint64_t word = 5;
  EXPECT_EQ(5u, atomicTaskExchange(&word, 9));
  EXPECT_EQ(9u, word);
  EXPECT_EQ(9u, atomicTaskExchange(&word, UINT64_MAX));
  EXPECT_EQ(UINT64_MAX, word);
}

TEST(WordExchange, ThreadExchangeStoresAndReturnsPrevious) {
  uint64_t word = 0;
  EXPECT_EQ(0u, atomicThreadExchange(&word, 42));
  EXPECT_EQ(42u, word);
  EXPECT_EQ(42u, atomicThreadExchange(&word, 0));
  EXPECT_EQ(0u, word);
}

// Every value handed in must come out exactly once across all threads'
// returns plus the final word: a lost update would drop one.
void checkNoLostExchange(uint64_t (*exchange)(uint64_t*, uint64_t)) {
  constexpr int kThreads = 4;
  constexpr uint64_t kPerThread = 5000;
  uint64_t word = 0;
  std::vector<std::vector<uint64_t>> seen(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (uint64_t k = 1; k <= kPerThread; ++k)
        seen[t].push_back(exchange(&word, uint64_t(t) * kPerThread + k));
    });
  }
  for (std::thread& th : threads) th.join();
  std::vector<uint64_t> all;
  for (auto& v : seen) all.insert(all.end(), v.begin(), v.end());
  all.push_back(word);
  std::sort(all.begin(), all.end());
  ASSERT_EQ(kThreads * kPerThread + 1, all.size());
  for (uint64_t k = 0; k < all.size(); ++k) ASSERT_EQ(k, all[k]);
}

TEST(WordExchange, TaskExchangeLosesNoValueUnderContention) {
  checkNoLostExchange(atomicTaskExchange);
}

TEST(WordExchange, ThreadExchangeLosesNoValueUnderContention) {
  checkNoLostExchange(atomicThreadExchange);
}

}  // namespace
