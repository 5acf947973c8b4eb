// Semaphores: the POSIX wrapper, VxSemaphore, the lazy slots, SemArray and
// the registry. Tests whose names start with "Threads" run several threads
// at once (ThreadSanitizer: ctest -R Threads).
#include <sys/ipc.h>
#include <sys/sem.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <thread>
#include <vector>

#include "bos/mdsint.h"
#include "bos/vxsemaph.h"

namespace {

VxSemaphore* slotValue(uintptr_t v) { return reinterpret_cast<VxSemaphore*>(v); }

TEST(Semaphore, IsABinaryLockAnyThreadMayRelease) {
  VxSemaphore s;
  EXPECT_EQ(nullptr, s.getOwnerSlot());
  EXPECT_EQ(0, s.SemaphoreEnter());
  // Another thread releases it; this thread can then take it again.
  std::thread([&] { EXPECT_EQ(0, s.SemaphoreExit()); }).join();
  EXPECT_EQ(0, s.SemaphoreGet());
  EXPECT_EQ(0, s.SemaphoreFree());
}

// Exit on a slot holding 0, 1 or 2 does nothing; enter on a slot being
// created returns without locking (a second enter would block otherwise).
TEST(LazySemaphore, SlotsWithoutASemaphoreAreLeftAlone) {
  for (uintptr_t v : {0, 1, 2}) {
    VxSemaphore* slot = slotValue(v);
    vxSemaphoreExit(&slot);
    EXPECT_EQ(slotValue(v), slot);
  }
  VxSemaphore* slot = slotValue(VX_SEMAPHORE_SLOT_CREATING);
  vxSemaphoreEnter(&slot);
  vxSemaphoreEnter(&slot);
  EXPECT_EQ(slotValue(VX_SEMAPHORE_SLOT_CREATING), slot);
}

TEST(LazySemaphore, FirstEnterCreatesAndLocksTheSemaphore) {
  VxSemaphore* slot = nullptr;
  vxSemaphoreEnter(&slot);
  ASSERT_GT(reinterpret_cast<uintptr_t>(slot), uintptr_t(VX_SEMAPHORE_SLOT_DESTROYED));
  VxSemaphore* created = slot;
  vxSemaphoreExit(&slot);
  vxSemaphoreEnter(&slot);
  EXPECT_EQ(created, slot) << "later enters use the same semaphore";
  vxSemaphoreExit(&slot);
  delete created;
}

TEST(LazySemaphore, SemaphoreFromADestroyedSlotMarksItDestroyedAgain) {
  VxSemaphore* slot = slotValue(VX_SEMAPHORE_SLOT_DESTROYED);
  vxSemaphoreEnter(&slot);
  VxSemaphore* created = slot;
  EXPECT_EQ(&slot, created->getOwnerSlot());
  vxSemaphoreExit(&slot);
  delete created;
  EXPECT_EQ(slotValue(VX_SEMAPHORE_SLOT_DESTROYED), slot);
  vxSemaphoreEnter(&slot);  // and can be created once more
  EXPECT_NE(slotValue(VX_SEMAPHORE_SLOT_DESTROYED), slot);
  vxSemaphoreExit(&slot);
  delete slot;
}

TEST(LazySemaphore, SemaphoreFromANeverUsedSlotForgetsTheSlotDeliberately) {
  VxSemaphore* slot = nullptr;
  vxSemaphoreEnter(&slot);
  VxSemaphore* created = slot;
  EXPECT_EQ(nullptr, created->getOwnerSlot());
  vxSemaphoreExit(&slot);
  delete created;
  EXPECT_EQ(created, slot) << "the slot still holds the old address";
}

// The slot's semaphore is created before the threads start, as callers
// must; then it excludes eight threads from a plain counter.
TEST(LazySemaphore, ThreadsExcludeEachOtherThroughAPreparedSlot) {
  VxSemaphore* slot = nullptr;
  vxSemaphoreEnter(&slot);
  vxSemaphoreExit(&slot);
  const int kThreads = 8, kRounds = 2000;
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) {
        vxSemaphoreEnter(&slot);
        ++counter;
        vxSemaphoreExit(&slot);
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(long(kThreads) * kRounds, counter);
  delete slot;
}

TEST(TaskExchangeLock, IsBuiltAtLoadAndLocks) {
  EXPECT_EQ(nullptr, VX_TASK_EXCHANGE_LOCK.getOwnerSlot());
  EXPECT_EQ(0, VX_TASK_EXCHANGE_LOCK.SemaphoreEnter());
  EXPECT_EQ(0, VX_TASK_EXCHANGE_LOCK.SemaphoreExit());
}

// An element that counts its destruction.
struct Counted : VxObject {
  explicit Counted(int* deaths) : deaths(deaths) {}
  ~Counted() override { ++*deaths; }
  int* deaths;
};

TEST(SemArrayTest, InsertsRemovesAndDeletesBy16BitIndex) {
  int deaths = 0;
  SemArray array;
  Counted* a = new Counted(&deaths);
  Counted* b = new Counted(&deaths);
  Counted* c = new Counted(&deaths);
  EXPECT_EQ(0, array.add(a));
  EXPECT_EQ(0, array.add(c));
  EXPECT_EQ(0, array.addAtIndex(b, 1));
  ASSERT_EQ(3, array.getCount());
  EXPECT_EQ(a, array.at(0));
  EXPECT_EQ(b, array.at(1));
  EXPECT_EQ(c, array.at(2));
  EXPECT_EQ(b, array.removeAtIndex(1));
  EXPECT_EQ(2, array.getCount());
  EXPECT_EQ(c, array.at(1));
  EXPECT_EQ(0, deaths);
  array.deleteAtIndex(0);
  EXPECT_EQ(1, deaths);
  EXPECT_EQ(c, array.at(0));
  array.GetSemaphore();
  array.FreeSemaphore();
  array.deleteContents();
  EXPECT_EQ(2, deaths);
  EXPECT_EQ(0, array.getCount());
  delete b;
}

TEST(SemArrayTest, GrowsPastItsFirstBuffer) {
  SemArray array;
  VxObject items[100];
  for (VxObject& item : items) ASSERT_EQ(0, array.add(&item));
  ASSERT_EQ(100, array.getCount());
  for (uint16_t i = 0; i < 100; ++i) EXPECT_EQ(&items[i], array.at(i));
}

TEST(SemaphoreInfo, EmptyRegistryHasNoSetsAndNothingAvailable) {
  VxSemaphoreInfo info;
  EXPECT_EQ(0, info.getNumberOfSets());
  EXPECT_EQ(0, info.availableSemaphore());
  EXPECT_EQ(-1, info.allocateSemaphore());
  EXPECT_EQ(0, BOS_VXSEMAPHORE_INFO.getNumberOfSets());
}

TEST(SemaphoreInfo, AvailableWhenSomeSetUsesFewerThanItHolds) {
  VxSemaphoreInfo* info = new VxSemaphoreInfo;
  int full = semget(IPC_PRIVATE, 2, IPC_CREAT | 0600);
  int roomy = semget(IPC_PRIVATE, 4, IPC_CREAT | 0600);
  ASSERT_GE(full, 0);
  ASSERT_GE(roomy, 0);
  EXPECT_EQ(0, info->addSet(full, 2, 2));
  EXPECT_EQ(0, info->availableSemaphore());
  EXPECT_EQ(0, info->addSet(roomy, 4, 1));
  EXPECT_EQ(1, info->availableSemaphore());
  EXPECT_EQ(2, info->getNumberOfSets());
  EXPECT_EQ(1, info->allocateSemaphore()) << "the index of the last set";
  delete info;
  // The destructor removed both System V sets.
  EXPECT_EQ(-1, semctl(full, 0, IPC_STAT, nullptr));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_EQ(-1, semctl(roomy, 0, IPC_STAT, nullptr));
}

TEST(SemaphoreInfo, TableRefusesSetsPastItsCapacity) {
  VxSemaphoreInfo info;
  for (uint16_t i = 0; i < VxSemaphoreInfo::kMaxSets; ++i) ASSERT_EQ(0, info.addSet(-1, 1, 1));
  EXPECT_EQ(1, info.addSet(-1, 1, 1));
  EXPECT_EQ(VxSemaphoreInfo::kMaxSets, info.getNumberOfSets());
}

TEST(SemaphoreInfo, DestructorDeletesOwnedSemaphoresAndRemoveDropsOne) {
  VxSemaphore* kept = slotValue(VX_SEMAPHORE_SLOT_DESTROYED);
  VxSemaphore* dropped = slotValue(VX_SEMAPHORE_SLOT_DESTROYED);
  vxSemaphoreEnter(&kept);
  vxSemaphoreExit(&kept);
  vxSemaphoreEnter(&dropped);
  vxSemaphoreExit(&dropped);
  VxSemaphore* droppedSemaphore = dropped;
  {
    VxSemaphoreInfo info;
    info.semaphores().add(kept);
    info.semaphores().add(dropped);
    info.remove(droppedSemaphore);
    EXPECT_EQ(1, info.semaphores().getCount());
  }
  EXPECT_EQ(slotValue(VX_SEMAPHORE_SLOT_DESTROYED), kept) << "deleted by the registry";
  EXPECT_EQ(droppedSemaphore, dropped) << "removed, so not deleted";
  delete droppedSemaphore;
}

}  // namespace
