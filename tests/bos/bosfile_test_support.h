// Shared set-up of the file-layer tests: a scratch directory removed at
// the end, an error list, and environment variables and the working
// directory put back as they were.
#ifndef VX_TESTS_BOS_BOSFILE_TEST_SUPPORT_H_
#define VX_TESTS_BOS_BOSFILE_TEST_SUPPORT_H_

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "bos/bosfile.h"
#include "bos_test_support.h"

class FileLayerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_files_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    char cwd[BOS_MAX_PATH];
    ASSERT_NE(nullptr, getcwd(cwd, sizeof cwd));
    savedCwd = cwd;
    // Nothing from the real environment may leak into a test.
    for (const char* name : {"HOME", "ODBCINI", "ODBC_INI", "ODBCINST", "ODBCINSTINI", "VXLIB_INI",
                             "VX_SYSTEM_INI", "VX_TMPDIR", "TMPDIR", "VX", "VXLIB", "LD_LIBRARY_PATH",
                             "LD_RUN_PATH", "PATH"}) {
      unsetEnv(name);
    }
  }

  void TearDown() override {
    chdir(savedCwd.c_str());
    for (const auto& entry : savedEnv) {
      if (entry.second.first) {
        setenv(entry.first.c_str(), entry.second.second.c_str(), 1);
      } else {
        unsetenv(entry.first.c_str());
      }
    }
    std::string command = "rm -rf '" + dir + "'";
    EXPECT_EQ(0, system(command.c_str()));
  }

  void setEnv(const char* name, const std::string& value) {
    remember(name);
    setenv(name, value.c_str(), 1);
  }
  void unsetEnv(const char* name) {
    remember(name);
    unsetenv(name);
  }

  // Path of `name` in the scratch directory.
  std::string at(const std::string& name) const { return dir + "/" + name; }

  // Creates the file `name` (relative to the scratch directory) holding text.
  std::string makeFile(const std::string& name, const std::string& text = "x") const {
    std::string path = at(name);
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    EXPECT_GE(fd, 0) << path;
    if (fd >= 0) {
      EXPECT_EQ(ssize_t(text.size()), write(fd, text.data(), text.size()));
      close(fd);
    }
    return path;
  }

  std::string makeDir(const std::string& name) const {
    std::string path = at(name);
    EXPECT_EQ(0, mkdir(path.c_str(), 0755)) << path;
    return path;
  }

  // A path buffer holding text.
  struct PathBuffer {
    char text[BOS_MAX_PATH];
    explicit PathBuffer(const std::string& s = "") {
      memset(text, 0, sizeof text);
      strncpy(text, s.c_str(), sizeof text - 1);
    }
    operator char*() { return text; }
    std::string str() const { return text; }
  };

  // The first bytes (at most 63) of the open file fd.
  static std::string readAll(int fd) {
    char text[64] = {};
    int32_t count = 0;
    bosFileRead(fd, 0, text, sizeof text - 1, &count);
    return text;
  }

  uint16_t lastError() { return errors.list.getLastError() ? errors.list.getLastError()->getErrorNumber() : 0; }

  std::string dir;
  InstalledErrorList errors;

 private:
  void remember(const char* name) {
    if (savedEnv.count(name)) return;
    const char* value = getenv(name);
    savedEnv[name] = {value != nullptr, value ? value : ""};
  }

  std::string savedCwd;
  std::map<std::string, std::pair<bool, std::string>> savedEnv;
};

#endif  // VX_TESTS_BOS_BOSFILE_TEST_SUPPORT_H_
