// Shared setup of the string class tests: an error list installed for the
// test's thread, and the allocation-failure hook disarmed afterwards.
#ifndef VX_TESTS_CONTAINERS_STRINGS_SUPPORT_H_
#define VX_TESTS_CONTAINERS_STRINGS_SUPPORT_H_

#include <gtest/gtest.h>

#include <string>

#include "containers/vxstring.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

class StringTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors_)); }
  void TearDown() override {
    ramFailAllocationAfter(0);
    VxErrorKeeper::giveUpErrorList();
  }

  static std::string text(const VxSubString& s) {
    return std::string(s.asPascalStr(), s.getLength());
  }

  VxErrorList errors_{nullptr, VxErrorList::kSupportMultipleErrors};
};

#endif  // VX_TESTS_CONTAINERS_STRINGS_SUPPORT_H_
