// Byte-range locks between threads of one process and between processes.
// Tests whose names start with "Threads" run several threads at once
// (ThreadSanitizer: ctest -R Threads).
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

#include "bos/bos.h"
#include "bos_test_support.h"

namespace {

// A scratch file opened for reading and writing, removed at the end.
class RegionLock : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/vx_region_XXXXXX";
    fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    path = name;
    ASSERT_EQ(64, write(fd, std::string(64, 'x').data(), 64));
  }
  void TearDown() override {
    close(fd);
    unlink(path.c_str());
  }

  // Runs body on another thread with its own error list; returns what it
  // returned.
  static int onOtherThread(const std::function<int()>& body) {
    int result = -1;
    std::thread([&] {
      InstalledErrorList installed;
      result = body();
    }).join();
    return result;
  }

  // Runs body in a child process with its own error list; returns the
  // child's exit status.
  static int inChildProcess(const std::function<int()>& body) {
    pid_t child = fork();
    if (child == 0) {
      int status;
      {
        InstalledErrorList installed;
        status = body();
      }
      _exit(status);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 100;
  }

  // The request's result, or 2 when it failed with another error than 1512.
  static int lockResult(int fd, uint16_t unlock, VXSIZE_T offset, VXSIZE_T length) {
    uint16_t status = bosRegionLock(fd, unlock, offset, length);
    if (status == 0) return 0;
    return VxErrorKeeper::getLastErrorNumber() == 1512 ? 1 : 2;
  }

  int fd = -1;
  std::string path;
  InstalledErrorList installed;
};

TEST_F(RegionLock, ThreadsOverlappingRangeOfAnotherThreadIsRefusedWith1512) {
  ASSERT_EQ(0, bosRegionLock(fd, 0, 0, 10));
  EXPECT_EQ(1, onOtherThread([&] { return lockResult(fd, 0, 5, 10); }));
  EXPECT_EQ(1, onOtherThread([&] { return lockResult(fd, 0, 0, 0); })) << "to end of file overlaps";
  EXPECT_EQ(0, onOtherThread([&] {
    int status = lockResult(fd, 0, 10, 10);  // adjacent, not overlapping
    return status == 0 ? lockResult(fd, 1, 10, 10) : status;
  }));
  EXPECT_EQ(0, bosRegionLock(fd, 1, 0, 10));
  EXPECT_EQ(0, onOtherThread([&] {
    int status = lockResult(fd, 0, 5, 10);
    return status == 0 ? lockResult(fd, 1, 5, 10) : status;
  })) << "free again after the unlock";
}

TEST_F(RegionLock, ThreadsCannotReleaseARangeAnotherThreadHolds) {
  ASSERT_EQ(0, bosRegionLock(fd, 0, 0, 10));
  EXPECT_EQ(1, onOtherThread([&] { return lockResult(fd, 1, 0, 10); }));
  // Still held: another process is still refused.
  EXPECT_EQ(1, inChildProcess([&] { return lockResult(fd, 0, 0, 10); }));
  EXPECT_EQ(0, bosRegionLock(fd, 1, 0, 10));
}

TEST_F(RegionLock, ThreadsNestedLocksNeedAsManyUnlocks) {
  ASSERT_EQ(0, bosRegionLock(fd, 0, 20, 5));
  ASSERT_EQ(0, bosRegionLock(fd, 0, 20, 5));
  ASSERT_EQ(0, bosRegionLock(fd, 1, 20, 5));
  EXPECT_EQ(1, onOtherThread([&] { return lockResult(fd, 0, 20, 5); })) << "one hold remains";
  EXPECT_EQ(1, inChildProcess([&] { return lockResult(fd, 0, 20, 5); })) << "for the system too";
  ASSERT_EQ(0, bosRegionLock(fd, 1, 20, 5));
  EXPECT_EQ(0, onOtherThread([&] {
    int status = lockResult(fd, 0, 20, 5);
    return status == 0 ? lockResult(fd, 1, 20, 5) : status;
  }));
}

TEST_F(RegionLock, AnotherProcessHoldingTheRangeGives1512) {
  ASSERT_EQ(0, bosRegionLock(fd, 0, 0, 10));
  EXPECT_EQ(1, inChildProcess([&] { return lockResult(fd, 0, 8, 4); }));
  EXPECT_EQ(0, inChildProcess([&] { return lockResult(fd, 0, 10, 4); }));
  ASSERT_EQ(0, bosRegionLock(fd, 1, 0, 10));
  EXPECT_EQ(0, inChildProcess([&] { return lockResult(fd, 0, 8, 4); }));
}

TEST_F(RegionLock, ChildStartsWithoutTheParentsHeldRanges) {
  ASSERT_EQ(0, bosRegionLock(fd, 0, 0, 10));
  // In the child the parent's thread holds nothing: the forking thread's
  // own request reaches the system, which refuses it (the parent holds it).
  EXPECT_EQ(1, inChildProcess([&] { return lockResult(fd, 0, 0, 10); }));
  ASSERT_EQ(0, bosRegionLock(fd, 1, 0, 10));
}

TEST_F(RegionLock, ThreadsLockAndReleaseProcessToProcess) {
  // A child holds a range while the parent's threads try it.
  int ready[2], done[2];
  ASSERT_EQ(0, pipe(ready));
  ASSERT_EQ(0, pipe(done));
  pid_t child = fork();
  if (child == 0) {
    int status;
    {
      InstalledErrorList childList;
      status = bosRegionLock(fd, 0, 30, 10);
    }
    char c = 'r';
    if (write(ready[1], &c, 1) != 1) _exit(3);
    if (read(done[0], &c, 1) != 1) _exit(4);
    _exit(status);
  }
  char c;
  ASSERT_EQ(1, read(ready[0], &c, 1));
  EXPECT_EQ(1, onOtherThread([&] { return lockResult(fd, 0, 35, 1); }));
  EXPECT_EQ(1, lockResult(fd, 0, 30, 10));
  ASSERT_EQ(1, write(done[1], "d", 1));
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, WEXITSTATUS(status));
  EXPECT_EQ(0, lockResult(fd, 0, 30, 10)) << "released when the child ended";
  EXPECT_EQ(0, lockResult(fd, 1, 30, 10));
  for (int p : {ready[0], ready[1], done[0], done[1]}) close(p);
}

TEST_F(RegionLock, BadOrReadOnlyDescriptorFiles1507) {
  EXPECT_EQ(1, bosRegionLock(-1, 0, 0, 10));
  EXPECT_EQ(1507, VxErrorKeeper::getLastErrorNumber());
  int readOnly = open(path.c_str(), O_RDONLY);
  ASSERT_GE(readOnly, 0);
  EXPECT_EQ(1, bosRegionLock(readOnly, 0, 0, 10)) << "a read-only descriptor cannot take a write lock";
  EXPECT_EQ(1507, VxErrorKeeper::getLastErrorNumber()) << "fcntl answers EBADF";
  close(readOnly);
}

}  // namespace
