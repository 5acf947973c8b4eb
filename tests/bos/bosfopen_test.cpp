// Opening files: every mode bit, the byte-1 lock tokens between processes
// and between threads. Tests whose names start with "Threads" run several
// threads at once.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bos/bos.h"
#include "bosfile_test_support.h"

namespace {

class FileOpen : public FileLayerTest {
 protected:
  // Opens path with mode; the handle, or -(error number) on failure.
  int openWith(const std::string& path, uint32_t mode) {
    PathBuffer buffer(path);
    int handle = -1;
    if (bosFileOpen(buffer, mode, &handle) != 0) {
      EXPECT_EQ(-1, handle) << "handle changed on failure";
      return -int(lastError());
    }
    return handle;
  }

  // Runs body in a child process with its own error list and returns its
  // exit status (body's result), or -1 when it did not exit normally.
  static int inChild(const std::function<int()>& body) {
    fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) {
      InstalledErrorList childErrors;
      _exit(body());
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // In a child: opens path with mode; 0 when it opened, else the error
  // number modulo 256 (1512 gives 232).
  static int childOpens(const std::string& path, uint32_t mode) {
    return inChild([&] {
      PathBuffer buffer(path);
      int handle = -1;
      if (bosFileOpen(buffer, mode, &handle) == 0) return 0;
      VxError* last = VxErrorKeeper::getLastError();
      return last ? last->getErrorNumber() % 256 : 255;
    });
  }
  static constexpr int kLocked = 1512 % 256;

  // Opens a temporary file, closes it and returns its name.
  std::string temporaryName() {
    PathBuffer buffer;
    int handle = -1;
    EXPECT_EQ(0, bosFileOpen(buffer, BOS_OPEN_TEMPORARY, &handle));
    bosFileClose(handle);
    return buffer.str();
  }
};

TEST_F(FileOpen, CreateModeMakesAMissingFileReadWrite) {
  std::string path = at("new.dat");
  int fd = openWith(path, BOS_OPEN_CREATE);
  ASSERT_GT(fd, 0);
  EXPECT_EQ(0, bosFileWrite(fd, 0, "abc", 3));
  EXPECT_EQ(0, bosFileClose(fd));
  EXPECT_EQ(1, bosexist(path.c_str()));
}

TEST_F(FileOpen, CreateModeKeepsTheContentsOfAnExistingFile) {
  std::string path = makeFile("old.dat", "kept");
  int fd = openWith(path, BOS_OPEN_CREATE);
  ASSERT_GT(fd, 0);
  EXPECT_EQ("kept", readAll(fd));
  bosFileClose(fd);
}

TEST_F(FileOpen, ExclusiveCreationFailsWhenTheFileExists) {
  std::string path = makeFile("there.dat");
  EXPECT_EQ(-1520, openWith(path, BOS_OPEN_CREATE | BOS_OPEN_EXCLUSIVE));
  int fd = openWith(at("fresh.dat"), BOS_OPEN_CREATE | BOS_OPEN_EXCLUSIVE);
  EXPECT_GT(fd, 0);
  bosFileClose(fd);
}

TEST_F(FileOpen, DefaultOpenIsReadOnly) {
  std::string path = makeFile("ro.dat", "data");
  int fd = openWith(path, 0);
  ASSERT_GT(fd, 0);
  EXPECT_EQ(1, bosFileWrite(fd, 0, "x", 1));
  EXPECT_EQ(1506, lastError());
  bosFileClose(fd);
}

TEST_F(FileOpen, ReadWriteOpenOfMissingFileFailsUnlessAskedToCreate) {
  EXPECT_EQ(-1509, openWith(at("missing.dat"), BOS_OPEN_READ_WRITE));
  EXPECT_EQ(0, bosexist(at("missing.dat").c_str()));
  int fd = openWith(at("missing.dat"), BOS_OPEN_READ_WRITE | BOS_OPEN_CREATE_IF_MISSING);
  ASSERT_GT(fd, 0);
  EXPECT_EQ(0, bosFileWrite(fd, 0, "y", 1));
  bosFileClose(fd);
  EXPECT_EQ(1, bosexist(at("missing.dat").c_str()));
}

TEST_F(FileOpen, NoOpenModeReturnsHandleZeroAndTouchesNothing) {
  EXPECT_EQ(0, openWith(at("never.dat"), BOS_OPEN_NO_OPEN | BOS_OPEN_READ_WRITE |
                                             BOS_OPEN_CREATE_IF_MISSING));
  EXPECT_EQ(8, bosfattr(at("never.dat").c_str()));
}

TEST_F(FileOpen, HomeRelativeNameIsOpenedInHome) {
  setEnv("HOME", dir);
  makeFile("in-home.dat", "home");
  int fd = openWith("in-home.dat", BOS_OPEN_HOME_RELATIVE);
  ASSERT_GT(fd, 0);
  bosFileClose(fd);
  unsetEnv("HOME");
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ(-1509, openWith("in-home.dat", BOS_OPEN_HOME_RELATIVE));
}

TEST_F(FileOpen, TemporaryNameGoesIntoVxTmpdirAndTheCallersBuffer) {
  std::string tmp = makeDir("tmp");
  setEnv("VX_TMPDIR", tmp);
  PathBuffer buffer("ignored");
  int handle = -1;
  ASSERT_EQ(0, bosFileOpen(buffer, BOS_OPEN_TEMPORARY, &handle));
  std::string name = buffer.str();
  EXPECT_EQ(tmp + "/vx", name.substr(0, tmp.size() + 3));
  EXPECT_EQ(1, bosexist(buffer));
  EXPECT_EQ(0, bosFileWrite(handle, 0, "t", 1));
  bosFileClose(handle);
  EXPECT_EQ(0, bosFileDelete(buffer));
}

TEST_F(FileOpen, TemporaryDirectoryIsVxTmpdirThenTmpdirAndNamesDiffer) {
  std::string mine = makeDir("mine");
  std::string system = makeDir("system");
  setEnv("TMPDIR", system);
  EXPECT_EQ(system + "/vx", temporaryName().substr(0, system.size() + 3));
  setEnv("VX_TMPDIR", at("not-a-directory"));
  EXPECT_EQ(system + "/vx", temporaryName().substr(0, system.size() + 3));
  setEnv("VX_TMPDIR", mine + "/");
  std::string first = temporaryName();
  EXPECT_EQ(mine + "/vx", first.substr(0, mine.size() + 3));
  EXPECT_EQ(mine.size() + 9, first.size());
  EXPECT_NE(first, temporaryName());
}

TEST_F(FileOpen, SearchModeRetriesAlongPath) {
  makeDir("bin");
  makeFile("bin/tool.cfg", "found");
  setEnv("PATH", at("nothing") + ":" + at("bin"));
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ(-1509, openWith("tool.cfg", 0));
  int fd = openWith("tool.cfg", BOS_OPEN_SEARCH_PATH);
  ASSERT_GT(fd, 0);
  EXPECT_EQ("found", readAll(fd));
  bosFileClose(fd);
  errors.list.clearErrors();
  EXPECT_EQ(-1509, openWith("absent.cfg", BOS_OPEN_SEARCH_PATH));
  EXPECT_EQ(1u, errors.list.getCount());
}

TEST_F(FileOpen, DeliberateDescriptorZeroCountsAsFailure) {
  std::string path = makeFile("zero.dat");
  int status = inChild([&] {
    close(0);
    PathBuffer buffer(path);
    int handle = -1;
    if (bosFileOpen(buffer, 0, &handle) != 1 || handle != -1) return 1;
    if (VxErrorKeeper::getLastErrorNumber() != 1507) return 2;
    // Descriptor 0 stays taken, so the next open succeeds above it.
    if (bosFileOpen(buffer, 0, &handle) != 0 || handle <= 0) return 3;
    return 0;
  });
  EXPECT_EQ(0, status);
}

TEST_F(FileOpen, OpenFailureWithoutErrorListFilesNothing) {
  VxErrorKeeper::giveUpErrorList();
  PathBuffer buffer(at("missing.dat"));
  int handle = -1;
  EXPECT_EQ(1, bosFileOpen(buffer, BOS_OPEN_READ_WRITE, &handle));
  VxErrorKeeper::setErrorList(&errors.list);
  EXPECT_EQ(0u, errors.list.getCount());
}

// ---- lock tokens between processes ----

// What another process gets for each mode while this one holds a token;
// once the holder closes, every token is free again.
struct TokenCase {
  const char* held;
  bool exists;
  uint32_t mode;
  std::vector<std::pair<uint32_t, bool>> childModesLocked;
};

TEST_F(FileOpen, TokensHeldKeepOtherProcessesOutAsTheirKindsDemand) {
  const uint32_t rwExclusive = BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK;
  const TokenCase cases[] = {
      {"exclusive", true, rwExclusive,
       {{rwExclusive, true}, {BOS_OPEN_SHARED_LOCK, true}, {BOS_OPEN_READ_WRITE, false},
        {BOS_OPEN_SHARED_LOCK | BOS_OPEN_NO_SHARED_LOCK, false}}},
      {"shared", true, BOS_OPEN_SHARED_LOCK, {{BOS_OPEN_SHARED_LOCK, false}, {rwExclusive, true}}},
      {"create takes a shared token", false, BOS_OPEN_CREATE,
       {{BOS_OPEN_SHARED_LOCK, false}, {rwExclusive, true}}},
      {"exclusive needs read-write", true, BOS_OPEN_EXCLUSIVE_LOCK, {{rwExclusive, false}}},
  };
  for (const TokenCase& c : cases) {
    SCOPED_TRACE(c.held);
    std::string path = c.exists ? makeFile("token.dat") : at("token.dat");
    int fd = openWith(path, c.mode);
    ASSERT_GT(fd, 0);
    for (const auto& child : c.childModesLocked) {
      EXPECT_EQ(child.second ? kLocked : 0, childOpens(path, child.first)) << child.first;
    }
    bosFileClose(fd);
    EXPECT_EQ(0, childOpens(path, rwExclusive));
    unlink(path.c_str());
  }
}

TEST_F(FileOpen, DeliberateCreateModeIgnoresAFailedSharedToken) {
  std::string path = makeFile("held.dat");
  int fd = openWith(path, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK);
  ASSERT_GT(fd, 0);
  EXPECT_EQ(0, childOpens(path, BOS_OPEN_CREATE));
  bosFileClose(fd);
}

TEST_F(FileOpen, TokenIsOnByteOneOnly) {
  std::string path = makeFile("bytes.dat", "0123456789");
  int fd = openWith(path, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK);
  ASSERT_GT(fd, 0);
  int status = inChild([&] {
    int other = open(path.c_str(), O_RDWR);
    struct flock probe = {};
    probe.l_type = F_WRLCK;
    probe.l_whence = SEEK_SET;
    for (off_t start : {0, 2, 5}) {
      probe.l_start = start;
      probe.l_len = 1;
      if (fcntl(other, F_SETLK, &probe) != 0) return 1;
    }
    probe.l_start = 1;
    if (fcntl(other, F_SETLK, &probe) == 0) return 2;
    return 0;
  });
  EXPECT_EQ(0, status);
  bosFileClose(fd);
}

TEST_F(FileOpen, RegionLockOfAnotherProcessOverByteOneRefusesTheExclusiveToken) {
  std::string path = makeFile("region.dat", std::string(32, 'r'));
  int fd = openWith(path, BOS_OPEN_READ_WRITE);
  ASSERT_GT(fd, 0);
  ASSERT_EQ(0, bosRegionLock(fd, 0, 0, 16));
  EXPECT_EQ(kLocked, childOpens(path, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK));
  ASSERT_EQ(0, bosRegionLock(fd, 1, 0, 16));
  EXPECT_EQ(0, childOpens(path, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK));
  bosFileClose(fd);
}

// ---- lock tokens between threads ----

TEST_F(FileOpen, ThreadsOfOneProcessShareTheTokens) {
  std::string path = makeFile("threads.dat");
  int first = openWith(path, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK);
  ASSERT_GT(first, 0);
  int second = -1;
  uint16_t status = 9;
  std::thread([&] {
    InstalledErrorList threadErrors;
    PathBuffer buffer(path);
    status = bosFileOpen(buffer, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK, &second);
  }).join();
  EXPECT_EQ(0, status) << "record locks belong to the process, not the thread";
  EXPECT_EQ(kLocked, childOpens(path, BOS_OPEN_SHARED_LOCK));
  bosFileClose(second);
  // Closing any descriptor of the file drops the process's locks on it.
  EXPECT_EQ(0, childOpens(path, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK));
  bosFileClose(first);
}

TEST_F(FileOpen, ThreadsRegionLocksOfAnOpenedFileExcludeEachOther) {
  std::string path = makeFile("thread-region.dat", std::string(32, 't'));
  int fd = openWith(path, BOS_OPEN_READ_WRITE | BOS_OPEN_SHARED_LOCK);
  ASSERT_GT(fd, 0);
  ASSERT_EQ(0, bosRegionLock(fd, 0, 4, 8));
  uint16_t other = 9, otherError = 0, disjoint = 9;
  std::thread([&] {
    InstalledErrorList threadErrors;
    other = bosRegionLock(fd, 0, 8, 8);
    otherError = VxErrorKeeper::getLastErrorNumber();
    disjoint = bosRegionLock(fd, 0, 20, 4);
    bosRegionLock(fd, 1, 20, 4);
  }).join();
  EXPECT_EQ(1, other);
  EXPECT_EQ(1512, otherError);
  EXPECT_EQ(0, disjoint);
  EXPECT_EQ(0, bosRegionLock(fd, 1, 4, 8));
  bosFileClose(fd);
}

}  // namespace
