// Locks and per-thread state: byte-range locks, per-thread and per-task
// data, critical sections and semaphores. Tests named "Threads..." run
// several threads at once (ThreadSanitizer: ctest -R Threads).
#include <fcntl.h>
#include <sys/sem.h>

#include <atomic>
#include <chrono>
#include <future>

#include "bos/bos_test_support.h"
#include "bos/mdsint.h"
#include "foundation/ram_internal.h"

namespace {

// Locks on a 64-byte scratch file: "0" granted, "1/1512" refused because
// another thread of the process or another process holds an overlap.
using RegionLock = Scratch;
TEST_F(RegionLock, ThreadsAndProcessesAreKeptOffRangesHeldElsewhere) {
  int fd = ::open(makeFile("r", std::string(64, 'x')).c_str(), O_RDWR);
  auto lock = [&](uint16_t unlock, VXSIZE_T offset, VXSIZE_T length) { return res(bosRegionLock(fd, unlock, offset, length)); };
  EXPECT_EQ("0 0 0", seq({lock(0, 0, 10), lock(0, 20, 5), lock(0, 20, 5)}));  // the second hold of 20..25 nests
  // The same start with another length is a range of its own, not a nested hold.
  EXPECT_EQ("0 0 1/1512 0 0", seq({lock(0, 40, 5), lock(0, 40, 10), onThread([&] { return lock(0, 46, 2); }), lock(1, 40, 10), lock(1, 40, 5)}));
  // Another thread may not take an overlap (length 0 reaches the end of the
  // file) nor release a range it does not hold; adjacent ranges are free.
  EXPECT_EQ("1/1512 1/1512 1/1512 0 0 1/1512",
            onThread([&] { return seq({lock(0, 5, 10), lock(0, 0, 0), lock(1, 0, 10), lock(0, 10, 10), lock(1, 10, 10), lock(0, 20, 5)}); }));
  // A child starts with an empty list, so even the forking thread's own
  // ranges go to the system, which refuses them.
  EXPECT_EQ(1, inChild([&] { return seq({lock(0, 8, 4), lock(0, 0, 10), lock(0, 10, 4), lock(0, 20, 5)}) == "1/1512 1/1512 0 1/1512"; }));
  EXPECT_EQ("0", lock(1, 20, 5));
  EXPECT_EQ("1/1512", onThread([&] { return lock(0, 20, 5); })) << "one hold remains";
  EXPECT_EQ(1, inChild([&] { return lock(0, 20, 5) == "1/1512"; })) << "for the system too";
  EXPECT_EQ("0 0", seq({lock(1, 20, 5), lock(1, 0, 10)}));
  EXPECT_EQ("0 0 0 0", onThread([&] { return seq({lock(0, 5, 10), lock(1, 5, 10), lock(0, 20, 5), lock(1, 20, 5)}); }));
  // (A range another process holds is refused by the system: the children
  // above meet this process's ranges that way.)
  int readOnly = ::open(at("r").c_str(), O_RDONLY);
  EXPECT_EQ("1/1507 1/1507", seq({res(bosRegionLock(-1, 0, 0, 10)), res(bosRegionLock(readOnly, 0, 0, 10))})) << "EBADF";
  close(readOnly), close(fd);
}

void* tag(uintptr_t value) { return reinterpret_cast<void*>(value); }
VxThreadInfo* head() { return static_cast<VxThreadInfo*>(mdsGetPerTaskData(MDS_TASK_THREAD_LIST)); }
long listLength() { long length = 0; for (VxThreadInfo* e = head(); e; e = e->next) ++length; return length; }
// The calling thread's six slots.
std::string slots() {
  std::string s;
  for (uint16_t i = 0; i < MDS_PER_THREAD_SLOTS; ++i) s += (i ? " " : "") + n(uintptr_t(mdsGetPerThreadData(i)));
  return s;
}
void onNewThread(const std::function<void()>& body) { std::thread(body).join(); }
struct Signal {
  std::promise<void> raised;
  std::shared_future<void> future = raised.get_future();
  void raise() { raised.set_value(); }
  void await() { future.wait(); }
};

// Every test starts and ends with an empty thread list. (No error list is
// installed here: slot 0 holds test values.)
struct PerThreadData : ::testing::Test { void SetUp() override { mdsReleaseThreadList(); } void TearDown() override { mdsReleaseThreadList(); } };

TEST_F(PerThreadData, RegistrationNestsAndReleasedEntriesAreReused) {
  VxThreadInfo* first = nullptr;
  onNewThread([&] {
    EXPECT_EQ("0 0 1 0", seq({n(mdsGetPerThreadData(0) != nullptr), n(mdsGetPerThreadDataAddress(0) != nullptr),
                              n(mdsSetPerThreadData(0, tag(7))), n(getThreadInfo() != nullptr)}));
    ASSERT_EQ("1 1", seq({n(mdsPerThreadInit()), n(mdsPerThreadInit())}));
    for (uint16_t i = 0; i < MDS_PER_THREAD_SLOTS; ++i) EXPECT_EQ(0, mdsSetPerThreadData(i, tag(10 + i)));
    first = getThreadInfo();
    *mdsGetPerThreadDataAddress(MDS_THREAD_SLOT_4) = tag(9);
    EXPECT_EQ("10 11 12 13 9 15", slots());
    mdsPerThreadTerm();
    EXPECT_EQ("1 1 10", seq({n(first->useCount), n(getThreadInfo() == first), n(uintptr_t(mdsGetPerThreadData(0)))}));
    mdsPerThreadTerm(), mdsPerThreadTerm();
    EXPECT_EQ("0 0 0", seq({n(first->useCount), n(getThreadInfo() != nullptr), n(mdsGetPerThreadData(0) != nullptr)})) << "never below 0";
  });
  // Deliberate: the reused head keeps slots 3 to 5 of its last owner.
  onNewThread([&] {
    EXPECT_EQ("1 1 1", seq({n(mdsPerThreadInit()), n(getThreadInfo() == first), n(first->threadId == bosGetThreadID())}));
    EXPECT_EQ("0 0 0 13 9 15", slots());
    mdsPerThreadTerm();
  });
  EXPECT_EQ(1, listLength()) << "a released entry stays in the list";
  // Deliberate: a free last entry is not reused; a new one is appended behind it.
  ASSERT_EQ(1, mdsPerThreadInit());  // this thread holds the head
  VxThreadInfo* second = nullptr;
  onNewThread([&] { mdsPerThreadInit(), second = getThreadInfo(), mdsPerThreadTerm(); });
  Signal registered, mayLeave, left, checked;
  VxThreadInfo* third = nullptr;
  uint64_t thirdId = 0;
  std::thread holder([&] {
    mdsPerThreadInit(), third = getThreadInfo(), thirdId = bosGetThreadID();
    registered.raise(), mayLeave.await(), mdsPerThreadTerm();
    left.raise(), checked.await();  // alive and unregistered while the list is checked
  });
  registered.await();
  EXPECT_EQ("3 1 1 0", seq({n(listLength()), n(second->next == third), n(getThreadInfo(thirdId) == third), n(second == third)}));
  EXPECT_EQ("1 1", onThread([&] { return seq({n(mdsPerThreadInit()), n(getThreadInfo() == second)}) + (mdsPerThreadTerm(), ""); }));
  mayLeave.raise(), left.await();
  EXPECT_EQ("3 0", seq({n(listLength()), n(getThreadInfo(thirdId) != nullptr)})) << "a free entry is not found";
  checked.raise(), holder.join();
  mdsPerThreadTerm();
}

// A thread's cached entry taken over by another thread must not be used:
// the first thread reads null and registers anew into another entry.
TEST_F(PerThreadData, ThreadsCachedEntryTakenOverByAnotherIsNotUsed) {
  Signal released, takenOver, checked;
  VxThreadInfo* original = nullptr;
  std::thread first([&] {
    mdsPerThreadInit(), mdsSetPerThreadData(0, tag(1)), original = getThreadInfo(), mdsPerThreadTerm();
    released.raise(), takenOver.await();
    EXPECT_EQ("0 1", seq({n(mdsGetPerThreadData(0) != nullptr), n(mdsSetPerThreadData(0, tag(3)))}));
    mdsPerThreadInit();
    EXPECT_EQ("1 0", seq({n(getThreadInfo() != original), n(mdsGetPerThreadData(0) != nullptr)}));
    mdsSetPerThreadData(0, tag(4)), checked.raise(), mdsPerThreadTerm();
  });
  std::thread second([&] {
    released.await(), mdsPerThreadInit();
    EXPECT_EQ(original, getThreadInfo());
    mdsSetPerThreadData(0, tag(2)), takenOver.raise(), checked.await();
    EXPECT_EQ(tag(2), mdsGetPerThreadData(0));
    mdsPerThreadTerm();
  });
  first.join(), second.join();
}

// Eight threads at once, 300 rounds each: register, nest, use and release
// per-thread data (each sees only its own values), and count in plain
// variables inside nested enters of a section and through a lazy semaphore
// slot prepared before they start, as callers must. The list never grows beyond one entry more than the
// threads that can be live together.
TEST_F(PerThreadData, ThreadsShareTheLocksAndKeepTheirOwnState) {
  std::atomic<int> wrong{0};
  VxCriticalSection section;
  VxSemaphore* slot = nullptr;
  vxSemaphoreEnter(&slot), vxSemaphoreExit(&slot);
  long counted[2] = {0, 0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([t, &wrong, &section, &slot, &counted] {
      for (int round = 0; round < 300; ++round) {
        uintptr_t mine = (uintptr_t(t) << 20) | uintptr_t(round);
        wrong += mdsPerThreadInit() != 1;
        for (uint16_t i = 0; i < 3; ++i) mdsSetPerThreadData(i, tag(mine + i));
        if (round % 3 == 0) mdsPerThreadInit(), mdsPerThreadTerm();
        std::this_thread::yield();
        for (uint16_t i = 0; i < 3; ++i) wrong += mdsGetPerThreadData(i) != tag(mine + i);
        wrong += !getThreadInfo() || getThreadInfo()->threadId != bosGetThreadID();
        mdsPerThreadTerm();
        wrong += mdsGetPerThreadData(0) != nullptr;
        section.enter(), section.enter(), ++counted[0], section.leave(), ++counted[0], section.leave();
        vxSemaphoreEnter(&slot), ++counted[1], vxSemaphoreExit(&slot);
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ("0 4800 2400", seq({n(wrong.load()), n(counted[0]), n(counted[1])}));
  EXPECT_LE(listLength(), 9);
  for (VxThreadInfo* e = head(); e; e = e->next) EXPECT_EQ(0u, e->useCount);
  delete slot;
}

// With no memory for a new thread's entry, registration fails, and so does
// installing an error list, which needs the entry.
TEST_F(PerThreadData, RegistrationWithoutMemoryFails) {
  onNewThread([] {
    VxErrorList list(nullptr, 0);
    EXPECT_EQ("0 1 0", seq({n((ramFailAllocationAfter(1), mdsPerThreadInit())), n((ramFailAllocationAfter(1), VxErrorKeeper::setErrorList(&list))),
                            n(getThreadInfo() != nullptr)}));
  });
}

// Per-task slots are one process-wide array, shared by all threads; the
// library never starts threads of its own.
TEST(PerTaskData, SlotsAreTheProcessWideArray) {
  int value = 0;
  static std::atomic<int> started{0};
  uint64_t id = 77;
  mdsPerTaskTerm();
  EXPECT_EQ("1 1", seq({n(mdsPerTaskInit()), n(mdsIsTaskInit())}));
  mdsSetPerTaskData(8, &value);
  EXPECT_EQ("1 1 1 1 0 77", seq({onThread([] { return n(mdsGetPerTaskData(8) == MDS_PER_TASK_GLOBALS[8]); }), n(mdsGetPerTaskData(8) == &value),
                                 n(&MDS_PER_TASK_GLOBALS[7] == mdsGetPerTaskDataAddress(7)),
                                 n(bosCreateThread([](void*) -> void* { return ++started, nullptr; }, nullptr, &id)), n(started), n(id)}));
  mdsSetPerTaskData(8, nullptr);
}

// A section is recursive: another thread gets in only after the last
// leave. A disabled one locks nothing; the static ones are built enabled.
TEST(CriticalSection, ThreadsAreExcludedUntilTheLastLeave) {
  VxCriticalSection section, disabled(1);
  EXPECT_EQ("0 1", seq({n(section.isDisabled()), n(disabled.isDisabled())}));
  section.enter(), section.enter(), section.leave(), disabled.enter();
  std::atomic<bool> entered{false};
  std::thread other([&] { section.enter(), entered = true, section.leave(); });
  onNewThread([&] { disabled.enter(), disabled.leave(); });  // would block forever if the held disabled section locked
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(entered.load());
  section.leave(), disabled.leave(), other.join();
  EXPECT_TRUE(entered.load());
  for (VxCriticalSection* s : {&MDS_PERTHREAD_LOCK, &DBLIB_LOCK, &LIST_LOCK, &VM_LOCK, &VX_THREAD_EXCHANGE_LOCK})
    EXPECT_EQ(0, (s->enter(), s->enter(), s->leave(), s->leave(), s->isDisabled()));
  vxDisableStaticCriticalSections();
  EXPECT_EQ(0, DBLIB_LOCK.isDisabled()) << "kept for callers, does nothing";
}

// A semaphore is a binary lock any thread may release. A lazy slot holds 0
// (never created), 1 (being created: enter returns at once), 2 (destroyed)
// or the semaphore, which remembers the slot only when it held 2.
TEST(Semaphore, LazySlotsCreateLockAndForget) {
  VxSemaphore s;
  EXPECT_EQ("0 0 0 0 0", seq({n(s.getOwnerSlot() != nullptr), n(s.SemaphoreEnter()), onThread([&] { return n(s.SemaphoreExit()); }),
                              n(s.SemaphoreGet()), n(s.SemaphoreFree())}));
  EXPECT_EQ("0 0", seq({n(VX_TASK_EXCHANGE_LOCK.SemaphoreEnter()), n(VX_TASK_EXCHANGE_LOCK.SemaphoreExit())}));
  for (uintptr_t v : {0, 1, 2}) {
    VxSemaphore* slot = reinterpret_cast<VxSemaphore*>(v);
    vxSemaphoreExit(&slot);
    if (v == 1) vxSemaphoreEnter(&slot), vxSemaphoreEnter(&slot);
    EXPECT_EQ(v, reinterpret_cast<uintptr_t>(slot));
  }
  for (uintptr_t v : {0, 2}) {
    VxSemaphore* slot = reinterpret_cast<VxSemaphore*>(v);
    VxSemaphore* created = (vxSemaphoreEnter(&slot), slot);
    vxSemaphoreExit(&slot), vxSemaphoreEnter(&slot);
    EXPECT_EQ("1 1", seq({n(slot == created), n(created->getOwnerSlot() == (v ? &slot : nullptr))})) << v;
    vxSemaphoreExit(&slot), delete created;
    EXPECT_EQ(v ? 2 : reinterpret_cast<uintptr_t>(created), reinterpret_cast<uintptr_t>(slot)) << v;
  }
}

// SemArray addresses its elements by 16-bit index and owns them only through
// the delete calls; the registry removes its System V sets and deletes its
// semaphores when destroyed.
TEST(Semaphore, ArrayAndRegistry) {
  struct Counted : VxObject { int* deaths; explicit Counted(int* d) : deaths(d) {} ~Counted() override { ++*deaths; } };
  int deaths = 0;
  SemArray array;
  Counted *a = new Counted(&deaths), *b = new Counted(&deaths), *c = new Counted(&deaths);
  VxObject items[100];
  EXPECT_EQ("0 0 0 3 1 1 1", seq({n(array.add(a)), n(array.add(c)), n(array.addAtIndex(b, 1)), n(array.getCount()), n(array.at(0) == a),
                                  n(array.at(1) == b), n(array.at(2) == c)}));
  EXPECT_EQ("1 2 1 0", seq({n(array.removeAtIndex(1) == b), n(array.getCount()), n(array.at(1) == c), n(deaths)}));
  array.deleteAtIndex(0), array.GetSemaphore(), array.FreeSemaphore();
  EXPECT_EQ("1 1", seq({n(deaths), n(array.at(0) == c)}));
  EXPECT_EQ("2 0", (array.deleteContents(), seq({n(deaths), n(array.getCount())})));
  for (VxObject& item : items) ASSERT_EQ(0, array.add(&item));
  for (uint16_t i = 0; i < 100; ++i) ASSERT_EQ(&items[i], array.at(i));
  delete b;
  VxSemaphoreInfo* info = new VxSemaphoreInfo;
  int full = semget(IPC_PRIVATE, 2, IPC_CREAT | 0600), roomy = semget(IPC_PRIVATE, 4, IPC_CREAT | 0600);
  EXPECT_EQ("0 -1 0 0 0 0 1 2 1 0", seq({n(info->getNumberOfSets()), n(info->allocateSemaphore()), n(info->availableSemaphore()),
                                         n(info->addSet(full, 2, 2)), n(info->availableSemaphore()), n(info->addSet(roomy, 4, 1)),
                                         n(info->availableSemaphore()), n(info->getNumberOfSets()), n(info->allocateSemaphore()),
                                         n(BOS_VXSEMAPHORE_INFO.getNumberOfSets())}));
  VxSemaphore *kept = reinterpret_cast<VxSemaphore*>(2), *dropped = kept;
  vxSemaphoreEnter(&kept), vxSemaphoreExit(&kept), vxSemaphoreEnter(&dropped), vxSemaphoreExit(&dropped);
  VxSemaphore* droppedSemaphore = dropped;
  info->semaphores().add(kept), info->semaphores().add(dropped), info->remove(droppedSemaphore);
  EXPECT_EQ(1, info->semaphores().getCount());
  delete info;
  EXPECT_EQ("-1 -1 2 1", seq({n(semctl(full, 0, IPC_STAT, nullptr)), n(semctl(roomy, 0, IPC_STAT, nullptr)), n(uintptr_t(kept)),
                              n(dropped == droppedSemaphore)})) << "sets removed, owned semaphore deleted, removed one kept";
  delete droppedSemaphore;
  VxSemaphoreInfo table;
  for (uint16_t i = 0; i < VxSemaphoreInfo::kMaxSets; ++i) ASSERT_EQ(0, table.addSet(-1, 1, 1));
  EXPECT_EQ("1 32", seq({n(table.addSet(-1, 1, 1)), n(table.getNumberOfSets())}));
}

}  // namespace
