// Per-thread data: registration, nesting, the reuse walk of the thread list
// and each thread's cached access to its own entry. Tests whose names start
// with "Threads" run several threads at once and are the ones to run under
// ThreadSanitizer (ctest -L bos -R Threads).
#include <pthread.h>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "bos/mds.h"
#include "bos/mdsint.h"

namespace {

uint64_t selfId() { return uint64_t(pthread_self()); }

VxThreadInfo* head() { return static_cast<VxThreadInfo*>(mdsGetPerTaskData(MDS_TASK_THREAD_LIST)); }

size_t listLength() {
  size_t n = 0;
  for (VxThreadInfo* e = head(); e; e = e->next) ++n;
  return n;
}

void* tag(uintptr_t n) { return reinterpret_cast<void*>(n); }

// Runs `body` on a new thread and waits for it.
void onNewThread(const std::function<void()>& body) { std::thread(body).join(); }

// A one-shot signal between two threads.
class Signal {
 public:
  void raise() {
    std::lock_guard<std::mutex> hold(lock);
    raised = true;
    changed.notify_all();
  }
  void await() {
    std::unique_lock<std::mutex> hold(lock);
    changed.wait(hold, [this] { return raised; });
  }

 private:
  std::mutex lock;
  std::condition_variable changed;
  bool raised = false;
};

// Every test starts and ends with an empty thread list.
class PerThreadData : public ::testing::Test {
 protected:
  void SetUp() override { mdsReleaseThreadList(); }
  void TearDown() override { mdsReleaseThreadList(); }
};

TEST_F(PerThreadData, UnregisteredThreadReadsNullAndCannotStore) {
  onNewThread([] {
    EXPECT_EQ(nullptr, mdsGetPerThreadData(MDS_THREAD_ERROR_LIST));
    EXPECT_EQ(nullptr, mdsGetPerThreadDataAddress(MDS_THREAD_ERROR_LIST));
    EXPECT_EQ(1, mdsSetPerThreadData(MDS_THREAD_ERROR_LIST, tag(7)));
    EXPECT_EQ(nullptr, getThreadInfo());
  });
  EXPECT_EQ(nullptr, head());
}

TEST_F(PerThreadData, SlotsRoundTripAndAddressPointsAtTheSlot) {
  onNewThread([] {
    ASSERT_EQ(1, mdsPerThreadInit());
    for (uint16_t i = 0; i < MDS_PER_THREAD_SLOTS; ++i) EXPECT_EQ(0, mdsSetPerThreadData(i, tag(100 + i)));
    for (uint16_t i = 0; i < MDS_PER_THREAD_SLOTS; ++i) EXPECT_EQ(tag(100 + i), mdsGetPerThreadData(i));
    void** address = mdsGetPerThreadDataAddress(MDS_THREAD_SLOT_4);
    ASSERT_NE(nullptr, address);
    *address = tag(9);
    EXPECT_EQ(tag(9), mdsGetPerThreadData(MDS_THREAD_SLOT_4));
    EXPECT_EQ(address, &getThreadInfo()->data[MDS_THREAD_SLOT_4]);
    mdsPerThreadTerm();
  });
}

TEST_F(PerThreadData, TwoInitsAndOneTermLeaveTheEntryLive) {
  onNewThread([] {
    ASSERT_EQ(1, mdsPerThreadInit());
    ASSERT_EQ(1, mdsPerThreadInit());
    mdsSetPerThreadData(MDS_THREAD_ERROR_LIST, tag(5));
    mdsPerThreadTerm();
    VxThreadInfo* entry = getThreadInfo();
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(1u, entry->useCount.load());
    EXPECT_EQ(tag(5), mdsGetPerThreadData(MDS_THREAD_ERROR_LIST));
    mdsPerThreadTerm();
    EXPECT_EQ(nullptr, getThreadInfo());
    EXPECT_EQ(nullptr, mdsGetPerThreadData(MDS_THREAD_ERROR_LIST));
    EXPECT_EQ(0u, entry->useCount.load());
    mdsPerThreadTerm();
    EXPECT_EQ(0u, entry->useCount.load()) << "the use count never goes below 0";
  });
  EXPECT_EQ(1u, listLength()) << "a released entry stays in the list";
}

TEST_F(PerThreadData, ReusedEntryKeepsSlotsThreeToFiveDeliberately) {
  VxThreadInfo* first = nullptr;
  onNewThread([&] {
    mdsPerThreadInit();
    for (uint16_t i = 0; i < MDS_PER_THREAD_SLOTS; ++i) mdsSetPerThreadData(i, tag(10 + i));
    first = getThreadInfo();
    mdsPerThreadTerm();
  });
  onNewThread([&] {
    mdsPerThreadInit();
    EXPECT_EQ(first, getThreadInfo()) << "the free head is reused";
    for (uint16_t i = 0; i < 3; ++i) EXPECT_EQ(nullptr, mdsGetPerThreadData(i));
    for (uint16_t i = 3; i < MDS_PER_THREAD_SLOTS; ++i) EXPECT_EQ(tag(10 + i), mdsGetPerThreadData(i));
    EXPECT_EQ(selfId(), first->threadId.load());
    mdsPerThreadTerm();
  });
  EXPECT_EQ(1u, listLength());
}

TEST_F(PerThreadData, LastEntryIsNeverReusedDeliberately) {
  ASSERT_EQ(1, mdsPerThreadInit());  // this thread holds the head
  VxThreadInfo* second = nullptr;
  onNewThread([&] {
    mdsPerThreadInit();
    second = getThreadInfo();
    mdsPerThreadTerm();
  });
  ASSERT_EQ(2u, listLength());
  ASSERT_EQ(second, head()->next);

  // The free second entry is the last one: a new thread appends a third.
  Signal thirdRegistered, mayLeave;
  VxThreadInfo* third = nullptr;
  std::thread holder([&] {
    mdsPerThreadInit();
    third = getThreadInfo();
    thirdRegistered.raise();
    mayLeave.await();
    mdsPerThreadTerm();
  });
  thirdRegistered.await();
  EXPECT_EQ(3u, listLength());
  EXPECT_NE(second, third);
  EXPECT_EQ(third, second->next);

  // Now the free second entry has a successor, so it is the one reused.
  onNewThread([&] {
    mdsPerThreadInit();
    EXPECT_EQ(second, getThreadInfo());
    mdsPerThreadTerm();
  });
  EXPECT_EQ(3u, listLength());
  mayLeave.raise();
  holder.join();
  mdsPerThreadTerm();
}

TEST_F(PerThreadData, GetThreadInfoFindsOnlyLiveEntriesOfThatThread) {
  uint64_t otherId = 0;
  VxThreadInfo* otherEntry = nullptr;
  Signal registered, mayLeave, left, checked;
  std::thread other([&] {
    mdsPerThreadInit();
    otherId = selfId();
    otherEntry = getThreadInfo();
    registered.raise();
    mayLeave.await();
    mdsPerThreadTerm();
    left.raise();
    checked.await();  // stay alive, unregistered, while the list is checked
  });
  registered.await();
  EXPECT_EQ(otherEntry, getThreadInfo(otherId));
  EXPECT_EQ(nullptr, getThreadInfo()) << "this thread is not registered";
  mayLeave.raise();
  left.await();
  EXPECT_EQ(nullptr, getThreadInfo(otherId)) << "a free entry is not found";
  checked.raise();
  other.join();
}

// A thread's cached entry taken over by another thread must not be used:
// the first thread reads null and registers anew into another entry.
TEST_F(PerThreadData, ThreadsCachedEntryTakenOverByAnotherIsNotUsed) {
  Signal released, takenOver, checked;
  VxThreadInfo* original = nullptr;
  std::thread first([&] {
    mdsPerThreadInit();
    mdsSetPerThreadData(MDS_THREAD_ERROR_LIST, tag(1));
    original = getThreadInfo();
    mdsPerThreadTerm();
    released.raise();
    takenOver.await();
    EXPECT_EQ(nullptr, mdsGetPerThreadData(MDS_THREAD_ERROR_LIST));
    EXPECT_EQ(1, mdsSetPerThreadData(MDS_THREAD_ERROR_LIST, tag(3)));
    mdsPerThreadInit();
    EXPECT_NE(original, getThreadInfo());
    EXPECT_EQ(nullptr, mdsGetPerThreadData(MDS_THREAD_ERROR_LIST));
    mdsSetPerThreadData(MDS_THREAD_ERROR_LIST, tag(4));
    checked.raise();
    mdsPerThreadTerm();
  });
  std::thread second([&] {
    released.await();
    mdsPerThreadInit();
    EXPECT_EQ(original, getThreadInfo());
    mdsSetPerThreadData(MDS_THREAD_ERROR_LIST, tag(2));
    takenOver.raise();
    checked.await();
    EXPECT_EQ(tag(2), mdsGetPerThreadData(MDS_THREAD_ERROR_LIST));
    mdsPerThreadTerm();
  });
  first.join();
  second.join();
}

// Many threads register, nest, use, release and register again at once;
// each sees only its own values, and the walk never grows the list beyond
// one entry more than the threads that can be live together.
TEST_F(PerThreadData, ThreadsRegisterUseReleaseAndReregister) {
  const int kThreads = 16;
  const int kRounds = 300;
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &mismatches] {
      for (int round = 0; round < kRounds; ++round) {
        if (mdsPerThreadInit() != 1) ++mismatches;
        uintptr_t mine = (uintptr_t(t) << 20) | uintptr_t(round);
        for (uint16_t i = 0; i < 3; ++i) mdsSetPerThreadData(i, tag(mine + i));
        if (round % 3 == 0) {
          mdsPerThreadInit();
          mdsPerThreadTerm();
        }
        std::this_thread::yield();
        for (uint16_t i = 0; i < 3; ++i) {
          if (mdsGetPerThreadData(i) != tag(mine + i)) ++mismatches;
        }
        if (getThreadInfo() == nullptr || getThreadInfo()->threadId.load() != selfId()) ++mismatches;
        mdsPerThreadTerm();
        if (mdsGetPerThreadData(0) != nullptr) ++mismatches;
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(0, mismatches.load());
  EXPECT_LE(listLength(), size_t(kThreads + 1));
  for (VxThreadInfo* e = head(); e; e = e->next) EXPECT_EQ(0u, e->useCount.load());
}

TEST(ThreadCreation, BosCreateThreadAlwaysFailsAndStartsNothing) {
  static std::atomic<int> started{0};
  uint64_t id = 77;
  EXPECT_EQ(1, bosCreateThread([](void*) -> void* { ++started; return nullptr; }, nullptr, &id));
  EXPECT_EQ(0, started.load());
  EXPECT_EQ(77u, id);
}

}  // namespace
