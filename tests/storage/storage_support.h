// Shared by the storage tests: a fixture that installs an error list, gives
// each test its own empty temporary directory in "VX_TMPDIR", and checks
// at the end that nothing was left behind in it.
#ifndef VX_TESTS_STORAGE_STORAGE_SUPPORT_H_
#define VX_TESTS_STORAGE_STORAGE_SUPPORT_H_

#include <gtest/gtest.h>

#include <dirent.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace vxtest {

class StorageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors_));
    char pattern[] = "/tmp/vxstorage.XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    directory_ = pattern;
    setenv("VX_TMPDIR", pattern, 1);
  }
  void TearDown() override {
    ramFailAllocationAfter(0);
    VxErrorKeeper::giveUpErrorList();
    EXPECT_EQ(0, filesInDirectory()) << "temporary files left in " << directory_;
    unsetenv("VX_TMPDIR");
    rmdir(directory_.c_str());
  }
  // Files in the test's temporary directory now.
  int filesInDirectory() const {
    int n = 0;
    if (DIR* d = opendir(directory_.c_str())) {
      while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
      closedir(d);
    }
    return n;
  }
  VxErrorList errors_{nullptr, VxErrorList::kSupportMultipleErrors};
  std::string directory_;
};

}  // namespace vxtest

#endif  // VX_TESTS_STORAGE_STORAGE_SUPPORT_H_
