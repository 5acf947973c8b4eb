// Shared set-up of the INI cache and profile tests: a scratch directory
// that serves as $HOME, the configuration-file variables cleared, an error
// list installed, and helpers to write and read whole files.
#ifndef VX_TESTS_CONFIG_INI_TEST_SUPPORT_H_
#define VX_TESTS_CONFIG_INI_TEST_SUPPORT_H_

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "foundation/vxerror.h"

class IniTest : public ::testing::Test {
 protected:
  IniTest() : errors(nullptr, VxErrorList::kSupportMultipleErrors) {}

  void SetUp() override {
    char pattern[] = "/tmp/vx_ini_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    for (const char* name : {"ODBCINI", "ODBC_INI", "ODBCINST", "ODBCINSTINI", "VXLIB_INI",
                             "VX_SYSTEM_INI"}) {
      remember(name);
      unsetenv(name);
    }
    remember("HOME");
    setenv("HOME", dir.c_str(), 1);
    VxErrorKeeper::setErrorList(&errors);
  }

  void TearDown() override {
    VxErrorKeeper::giveUpErrorList();
    for (const auto& entry : savedEnv) {
      if (entry.second.first) {
        setenv(entry.first.c_str(), entry.second.second.c_str(), 1);
      } else {
        unsetenv(entry.first.c_str());
      }
    }
    chmod(dir.c_str(), 0700);
    std::string command = "rm -rf '" + dir + "'";
    EXPECT_EQ(0, system(command.c_str()));
  }

  // Path of `name` in the scratch directory.
  std::string path(const std::string& name) const { return dir + "/" + name; }

  // Writes `contents` as the file `name` of the scratch directory and
  // returns its path.
  std::string writeFile(const std::string& name, const std::string& contents) {
    std::string full = path(name);
    std::ofstream out(full, std::ios::binary | std::ios::trunc);
    out << contents;
    return full;
  }

  static std::string readFile(const std::string& full) {
    std::ifstream in(full, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  void setEnv(const char* name, const std::string& value) {
    remember(name);
    setenv(name, value.c_str(), 1);
  }

  std::string dir;
  VxErrorList errors;

 private:
  void remember(const char* name) {
    if (savedEnv.count(name)) return;
    const char* value = getenv(name);
    savedEnv[name] = {value != nullptr, value ? value : ""};
  }
  std::map<std::string, std::pair<bool, std::string>> savedEnv;
};

#endif  // VX_TESTS_CONFIG_INI_TEST_SUPPORT_H_
