// Per-task data: the process-wide slot array.
#include <gtest/gtest.h>

#include <thread>

#include "bos/mds.h"
#include "bos/mdsint.h"

namespace {

TEST(PerTaskData, InitAnswersOneAndSlotsAreTheProcessWideArray) {
  EXPECT_EQ(1, mdsPerTaskInit());
  EXPECT_EQ(1, mdsIsTaskInit());
  mdsPerTaskTerm();
  EXPECT_EQ(1, mdsIsTaskInit());
  int value = 0;
  mdsSetPerTaskData(7, &value);
  EXPECT_EQ(&value, mdsGetPerTaskData(7));
  EXPECT_EQ(&MDS_PER_TASK_GLOBALS[7], mdsGetPerTaskDataAddress(7));
  *mdsGetPerTaskDataAddress(7) = nullptr;
  EXPECT_EQ(nullptr, mdsGetPerTaskData(7));
}

TEST(PerTaskData, SlotsAreSharedBetweenThreads) {
  int value = 0;
  mdsSetPerTaskData(8, &value);
  void* seen = nullptr;
  std::thread([&] { seen = mdsGetPerTaskData(8); }).join();
  EXPECT_EQ(&value, seen);
  mdsSetPerTaskData(8, nullptr);
}

}  // namespace
