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

TEST(Swap, ButswapExchangesTwoElementsAndKeepsOneSwappedWithItself) {
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
  butswap(rows, 1, 1, sizeof(Row));
  EXPECT_EQ(2, rows[1].id);
  EXPECT_STREQ("two", rows[1].name);
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

TEST(ShortString, CopyAndCatReturnPointerToWrittenNulForChaining) {
  char buf[32];
  char* end = BUTSTCPY(buf, "SELECT");
  EXPECT_EQ(buf + 6, end);
  EXPECT_EQ('\0', *end);
  EXPECT_STREQ("SELECT", buf);
  end = BUTSTCAT(end, " * ");
  end = BUTSTCAT(buf, "FROM t");  // appends to existing text too
  EXPECT_STREQ("SELECT * FROM t", buf);
  EXPECT_EQ(buf + strlen(buf), end);
}

TEST(ShortString, CompareHasStrcmpSign) {
  EXPECT_EQ(0, BUTSTCMP("abc", "abc"));
  EXPECT_LT(BUTSTCMP("abc", "abd"), 0);
  EXPECT_GT(BUTSTCMP("b", "abc"), 0);
  EXPECT_GT(BUTSTCMP("\xff", "a"), 0);
}

TEST(Bits, SetCountsFromLeastSignificantAndCheckReturnsBitInPlace) {
  uint8_t set[4] = {0, 0, 0, 0};
  for (int bit : {0, 9, 13, 31}) bitset(set, bit);
  EXPECT_EQ(0x01, set[0]);
  EXPECT_EQ(0x22, set[1]);
  EXPECT_EQ(0x00, set[2]);
  EXPECT_EQ(0x80, set[3]);
  EXPECT_EQ(0x20, bitcheck(set, 13));  // not normalised to one
  EXPECT_EQ(0, bitcheck(set, 12));
  EXPECT_EQ(0, bitcheck(set, 5));
}

using Exchange = uint64_t (*)(uint64_t*, uint64_t);
const Exchange kExchanges[] = {atomicTaskExchange, atomicThreadExchange};

TEST(WordExchange, ExchangeStoresAndReturnsPrevious) {
  for (Exchange exchange : kExchanges) {
    uint64_t word = 5;
    EXPECT_EQ(5u, exchange(&word, 9));
    EXPECT_EQ(9u, word);
    EXPECT_EQ(9u, exchange(&word, UINT64_MAX));
    EXPECT_EQ(UINT64_MAX, word);
    EXPECT_EQ(UINT64_MAX, exchange(&word, 0));
    EXPECT_EQ(0u, word);
  }
}

// Every value handed in must come out exactly once across all threads'
// returns plus the final word: a lost update would drop one.
void checkNoLostExchange(Exchange exchange) {
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

TEST(WordExchange, ExchangeLosesNoValueUnderContention) {
  for (Exchange exchange : kExchanges) checkNoLostExchange(exchange);
}

}  // namespace
