#include "foundation/cntdblib.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "bos/mdsint.h"

namespace {

intptr_t slotValue() {
  return reinterpret_cast<intptr_t>(mdsGetPerTaskData(MDS_TASK_DBLIB_INITS));
}

TEST(CountDBLibInits, NonZeroAddsOneAndZeroSubtractsOne) {
  intptr_t base = slotValue();
  EXPECT_EQ(static_cast<int16_t>(base + 1), countDBLibInits(1));
  EXPECT_EQ(static_cast<int16_t>(base + 2), countDBLibInits(7));
  EXPECT_EQ(base + 2, slotValue());
  EXPECT_EQ(static_cast<int16_t>(base + 1), countDBLibInits(0));
  EXPECT_EQ(static_cast<int16_t>(base), countDBLibInits(0));
  EXPECT_EQ(base, slotValue());
}

TEST(CountDBLibInits, ReturnsCountNarrowedToSixteenBitsDeliberately) {
  void* saved = mdsGetPerTaskData(MDS_TASK_DBLIB_INITS);
  mdsSetPerTaskData(MDS_TASK_DBLIB_INITS, reinterpret_cast<void*>(intptr_t{32767}));
  EXPECT_EQ(-32768, countDBLibInits(1));
  EXPECT_EQ(32768, slotValue());  // the slot itself keeps the full count
  mdsSetPerTaskData(MDS_TASK_DBLIB_INITS, saved);
}

TEST(CountDBLibInits, ConcurrentCallsLoseNoUpdate) {
  intptr_t base = slotValue();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int k = 0; k < 2000; ++k) countDBLibInits(1);
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(base + 8000, slotValue());
  threads.clear();
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int k = 0; k < 2000; ++k) countDBLibInits(0);
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(base, slotValue());
}

}  // namespace
