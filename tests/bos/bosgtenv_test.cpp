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

std::string loginName() {
  struct passwd* entry = getpwuid(getuid());
  return entry ? entry->pw_name : "";
}

// The machine name and the login name of the real user are copied alike.
struct NameCase {
  const char* name;
  uint16_t (*get)(char*, VXSIZE_T);
  std::string (*expected)();
};

const NameCase kNames[] = {{"machine name", bosGetMachineName, hostName},
                           {"host user", bosGetHostUser, loginName}};

TEST(Names, FittingNameIsCopiedWhole) {
  for (const NameCase& c : kNames) {
    std::string expected = c.expected();
    ASSERT_FALSE(expected.empty()) << c.name;
    char buffer[300];
    ASSERT_EQ(0, c.get(buffer, sizeof buffer)) << c.name;
    EXPECT_EQ(expected, buffer) << c.name;
  }
}

TEST(Names, DeliberatelyStoreTheNulAfterSizeBytesWhenCut) {
  for (const NameCase& c : kNames) {
    std::string expected = c.expected();
    ASSERT_GE(expected.size(), 2u) << c.name;
    char buffer[8];
    memset(buffer, 'z', sizeof buffer);
    ASSERT_EQ(0, c.get(buffer, 1)) << c.name;
    // One byte of the name, then the NUL in the byte after the size given.
    EXPECT_EQ(expected[0], buffer[0]) << c.name;
    EXPECT_EQ('\0', buffer[1]) << c.name;
    EXPECT_EQ('z', buffer[2]) << c.name;
  }
}

TEST(Names, NullBufferOrZeroSizeDoesNothing) {
  char buffer[4] = {'a', 'b', 'c', '\0'};
  EXPECT_EQ(0, bosGetMachineName(nullptr, 10));
  EXPECT_EQ(0, bosGetMachineName(buffer, 0));
  EXPECT_STREQ("abc", buffer);
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
