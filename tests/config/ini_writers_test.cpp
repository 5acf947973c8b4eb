// Concurrent writers of one configuration file: threads of one process and
// separate processes each write their own keys; afterwards every key reads
// back and the file has its one section.
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "config/vxini.h"
#include "ini_test_support.h"

namespace {

class ConcurrentWritersTest : public IniTest {
 protected:
  static std::string key(char writer, int round, int index) {
    return std::string(1, writer) + std::to_string(round) + "_" + std::to_string(index);
  }
  static std::string value(char writer, int index) {
    return std::string(size_t(index % 7 + 1), writer) + std::to_string(index);
  }

  // Writes keys writer<round>_0 .. _count-1, each through its own private
  // call (a fresh open of the task's cache). Returns how many failed.
  static int writeKeys(const std::string& file, char writer, int round, int count) {
    int failures = 0;
    for (int i = 0; i < count; ++i) {
      if (vxWritePrivateProfileString("shared", key(writer, round, i).c_str(),
                                      value(writer, i).c_str(), file.c_str()) != 1) {
        ++failures;
      }
    }
    return failures;
  }

  // Every key of every writer of every round reads back, through a fresh
  // read of the file, and the section header is there exactly once.
  void expectAllKeys(const std::string& file, const std::string& writers, int rounds, int count) {
    for (char writer : writers) {
      for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < count; ++i) {
          char buffer[64];
          GetPrivateProfileString("shared", key(writer, round, i).c_str(), "<lost>", buffer,
                                  sizeof buffer, file.c_str());
          EXPECT_EQ(value(writer, i), buffer) << key(writer, round, i);
        }
      }
    }
    std::string text = readFile(file);
    EXPECT_EQ(0u, text.find("[shared]\n"));
    EXPECT_EQ(std::string::npos, text.find("[shared]", 1));
  }
};

TEST_F(ConcurrentWritersTest, TwoThreadsWritingDifferentKeysBothLand) {
  std::string file = writeFile("threads.ini", "[shared]\nbase=1\n");
  const int rounds = 3, count = 40;
  for (int round = 0; round < rounds; ++round) {
    int failuresA = 0, failuresB = 0;
    std::thread a([&] { failuresA = writeKeys(file, 'a', round, count); });
    std::thread b([&] { failuresB = writeKeys(file, 'b', round, count); });
    a.join();
    b.join();
    EXPECT_EQ(0, failuresA);
    EXPECT_EQ(0, failuresB);
  }
  expectAllKeys(file, "ab", rounds, count);
}

TEST_F(ConcurrentWritersTest, TwoThreadsWithFreshCachesBothLand) {
  std::string file = writeFile("fresh.ini", "[shared]\n");
  const int count = 40;
  auto writer = [&](char name) {
    for (int i = 0; i < count; ++i) {
      WritePrivateProfileString("shared", key(name, 0, i).c_str(), value(name, i).c_str(),
                                file.c_str());
    }
  };
  std::thread a(writer, 'x');
  std::thread b(writer, 'y');
  a.join();
  b.join();
  expectAllKeys(file, "xy", 1, count);
}

TEST_F(ConcurrentWritersTest, TwoProcessesWritingDifferentKeysNeverCorruptTheFile) {
  std::string file = writeFile("procs.ini", "[shared]\nbase=1\n");
  const int rounds = 20, count = 25;
  for (int round = 0; round < rounds; ++round) {
    std::vector<pid_t> children;
    for (char writer : std::string("pq")) {
      pid_t child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        VxErrorList list(nullptr, VxErrorList::kSupportMultipleErrors);
        VxErrorKeeper::setErrorList(&list);
        _exit(writeKeys(file, writer, round, count) == 0 ? 0 : 1);
      }
      children.push_back(child);
    }
    for (pid_t child : children) {
      int status = 0;
      ASSERT_EQ(child, waitpid(child, &status, 0));
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "round " << round;
    }
  }
  expectAllKeys(file, "pq", rounds, count);
}

}  // namespace
