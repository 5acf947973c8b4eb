// Environment, identity, host and user names, and the command name.
#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "bos/bos.h"

namespace {

TEST(Environment, GetEnvReadsTheVariableAndIsNullWhenUnset) {
  setenv("VX_BOSGTENV_TEST", "value 1", 1);
  ASSERT_NE(nullptr, bosGetEnv("VX_BOSGTENV_TEST"));
  EXPECT_STREQ("value 1", bosGetEnv("VX_BOSGTENV_TEST"));
  unsetenv("VX_BOSGTENV_TEST");
  EXPECT_EQ(nullptr, bosGetEnv("VX_BOSGTENV_TEST"));
}

TEST(Identity, ProcessIdIsGetpid) { EXPECT_EQ(int32_t(getpid()), bosGetProcessID()); }

TEST(Identity, ThreadIdIsPthreadSelfAndDiffersBetweenThreads) {
  EXPECT_EQ(uint64_t(pthread_self()), bosGetThreadID());
  uint64_t other = 0;
  std::thread t([&] { other = bosGetThreadID(); });
  t.join();
  EXPECT_NE(0u, other);
  EXPECT_NE(bosGetThreadID(), other);
}

std::string hostName() {
  char name[256];
  if (gethostname(name, sizeof name) != 0) return "";
  name[255] = '\0';
  return name;
}

TEST(MachineName, FittingNameIsCopiedWhole) {
  std::string expected = hostName();
  ASSERT_FALSE(expected.empty());
  char buffer[300];
  ASSERT_EQ(0, bosGetMachineName(buffer, sizeof buffer));
  EXPECT_EQ(expected, buffer);
}

TEST(MachineName, DeliberatelyStoresTheNulAfterSizeBytesWhenCut) {
  std::string expected = hostName();
  ASSERT_GE(expected.size(), 2u);
  char buffer[8];
  memset(buffer, 'z', sizeof buffer);
  ASSERT_EQ(0, bosGetMachineName(buffer, 1));
  // One byte of the name, then the NUL in the byte after the size given.
  EXPECT_EQ(expected[0], buffer[0]);
  EXPECT_EQ('\0', buffer[1]);
  EXPECT_EQ('z', buffer[2]);
}

TEST(MachineName, NullBufferOrZeroSizeDoesNothing) {
  char buffer[4] = {'a', 'b', 'c', '\0'};
  EXPECT_EQ(0, bosGetMachineName(nullptr, 10));
  EXPECT_EQ(0, bosGetMachineName(buffer, 0));
  EXPECT_STREQ("abc", buffer);
}

TEST(HostUser, IsTheLoginNameOfTheRealUser) {
  struct passwd* entry = getpwuid(getuid());
  ASSERT_NE(nullptr, entry);
  char buffer[256];
  ASSERT_EQ(0, bosGetHostUser(buffer, sizeof buffer));
  EXPECT_STREQ(entry->pw_name, buffer);
}

TEST(HostUser, IsCutLikeTheMachineName) {
  struct passwd* entry = getpwuid(getuid());
  ASSERT_NE(nullptr, entry);
  ASSERT_GE(strlen(entry->pw_name), 2u);
  char buffer[4];
  memset(buffer, 'z', sizeof buffer);
  ASSERT_EQ(0, bosGetHostUser(buffer, 1));
  EXPECT_EQ(entry->pw_name[0], buffer[0]);
  EXPECT_EQ('\0', buffer[1]);
  EXPECT_EQ(0, bosGetHostUser(nullptr, 5));
}

// ps shows at most 15 characters of the command name.
std::string ownCommand() {
  char path[1024];
  ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
  if (n <= 0) return "";
  path[n] = '\0';
  const char* base = strrchr(path, '/');
  return std::string(base ? base + 1 : path).substr(0, 15);
}

TEST(Command, IsTheRunningProgramsNameWithoutLineFeed) {
  char buffer[256];
  ASSERT_EQ(0, bosGetCommand(nullptr, buffer, sizeof buffer));
  EXPECT_EQ(ownCommand(), buffer);
}

TEST(Command, ReadsAtMostSizeMinusOneBytesAndDropsTheLastOne) {
  // fgets reads 4 bytes of the name; the last of them goes as if it were
  // the line feed.
  char buffer[5];
  ASSERT_EQ(0, bosGetCommand(nullptr, buffer, sizeof buffer));
  EXPECT_EQ(ownCommand().substr(0, 3), buffer);
}

}  // namespace
