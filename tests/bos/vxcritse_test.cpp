// VxCriticalSection and the static sections. Tests whose names start with
// "Threads" run several threads at once (ThreadSanitizer: ctest -R Threads).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "bos/mdsint.h"
#include "bos/vxcritse.h"

namespace {

TEST(CriticalSection, SameThreadReentersAndLeavesAsOftenAsItEntered) {
  VxCriticalSection section;
  EXPECT_EQ(0, section.isDisabled());
  section.enter();
  section.enter();
  section.enter();
  section.leave();
  section.leave();
  // Still held once: another thread cannot take it until the last leave.
  std::atomic<bool> otherEntered{false};
  std::thread other([&] {
    section.enter();
    otherEntered = true;
    section.leave();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(otherEntered.load());
  section.leave();
  other.join();
  EXPECT_TRUE(otherEntered.load());
}

TEST(CriticalSection, DisabledSectionLocksNothing) {
  VxCriticalSection section(1);
  EXPECT_EQ(1, section.isDisabled());
  section.enter();
  bool otherEntered = false;
  // A real lock held by this thread would block the other one forever.
  std::thread([&] {
    section.enter();
    otherEntered = true;
    section.leave();
  }).join();
  EXPECT_TRUE(otherEntered);
  section.leave();
}

TEST(CriticalSection, StaticSectionsAreBuiltEnabledAndRecursive) {
  for (VxCriticalSection* section : {&MDS_PERTHREAD_LOCK, &DBLIB_LOCK, &LIST_LOCK, &VM_LOCK, &VX_THREAD_EXCHANGE_LOCK}) {
    EXPECT_EQ(0, section->isDisabled());
    section->enter();
    section->enter();
    section->leave();
    section->leave();
  }
  vxDisableStaticCriticalSections();
  EXPECT_EQ(0, DBLIB_LOCK.isDisabled()) << "kept for callers, does nothing";
}

// Eight threads increment a plain counter inside nested enters; the total
// is exact only if the section excludes the others at every depth.
TEST(CriticalSection, ThreadsNestedEntersExcludeEachOther) {
  VxCriticalSection section;
  const int kThreads = 8, kRounds = 5000;
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) {
        section.enter();
        section.enter();
        ++counter;
        section.leave();
        ++counter;
        section.leave();
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(long(kThreads) * kRounds * 2, counter);
}

}  // namespace
