// A fixture for the character-set tests: each test gets its own error list,
// and records() renders what was filed as "kind number sqlstate native
// [text]" lines, so that a row of a table can state the whole record.
#ifndef VX_TESTS_CHARSET_CHARSET_SUPPORT_H_
#define VX_TESTS_CHARSET_CHARSET_SUPPORT_H_

#include <gtest/gtest.h>

#include <string>

#include "foundation/vxerror.h"

namespace vxtest {

class CharsetTest : public ::testing::Test {
 protected:
  CharsetTest() : list_(nullptr, VxErrorList::kSupportMultipleErrors) {
    VxErrorKeeper::setErrorList(&list_);
  }
  ~CharsetTest() override { VxErrorKeeper::giveUpErrorList(); }

  // The records filed since the last call, one line each; clears the list.
  std::string records(bool withText = false) {
    std::string out;
    for (VXSIZE_T i = 0; i < list_.getCount(); ++i) {
      VxError* e = list_.at(i);
      out += std::string(e->isWarning() ? "warning " : "error ") +
             std::to_string(e->getErrorNumber()) + " " + e->getInterfaceCode() + " " +
             std::to_string(e->getInterfaceError());
      if (withText) out += std::string(" [") + e->getErrorText() + "]";
      out += "\n";
    }
    list_.clearErrors();
    return out;
  }

 private:
  VxErrorList list_;
};

}  // namespace vxtest

#endif  // VX_TESTS_CHARSET_CHARSET_SUPPORT_H_
