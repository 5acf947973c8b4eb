// Shared set-up of the INI cache and profile tests: a scratch directory
// that serves as $HOME, the configuration-file variables cleared (every
// test starts from that, so none is put back), an error list installed,
// and whole-file helpers.
#ifndef VX_TESTS_CONFIG_INI_TEST_SUPPORT_H_
#define VX_TESTS_CONFIG_INI_TEST_SUPPORT_H_

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "foundation/vxerror.h"

class IniTest : public ::testing::Test {
 public:
  void SetUp() override {
    char pattern[] = "/tmp/vx_ini_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    for (const char* name : {"ODBCINI", "ODBC_INI", "ODBCINST", "ODBCINSTINI", "VXLIB_INI", "VX_SYSTEM_INI"})
      unsetenv(name);
    setEnv("HOME", dir);
    VxErrorKeeper::setErrorList(&errors);
  }
  void TearDown() override {
    VxErrorKeeper::giveUpErrorList();
    EXPECT_EQ(0, system(("rm -rf '" + dir + "'").c_str()));
  }

  static void setEnv(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }
  std::string path(const std::string& name) const { return dir + "/" + name; }
  // Writes the file `name` of the scratch directory; returns its path.
  std::string writeFile(const std::string& name, const std::string& contents) {
    std::ofstream(path(name), std::ios::binary | std::ios::trunc) << contents;
    return path(name);
  }
  static std::string readFile(const std::string& full) {
    std::stringstream text;
    text << std::ifstream(full, std::ios::binary).rdbuf();
    return text.str();
  }

  std::string dir;
  VxErrorList errors{nullptr, VxErrorList::kSupportMultipleErrors};
};

#endif  // VX_TESTS_CONFIG_INI_TEST_SUPPORT_H_
