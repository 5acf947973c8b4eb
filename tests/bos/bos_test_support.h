// Shared set-up of the bos tests: an error list installed for the calling
// thread for the lifetime of the object.
#ifndef VX_TESTS_BOS_BOS_TEST_SUPPORT_H_
#define VX_TESTS_BOS_BOS_TEST_SUPPORT_H_

#include "foundation/vxerror.h"

class InstalledErrorList {
 public:
  InstalledErrorList() : list(nullptr, VxErrorList::kSupportMultipleErrors) { VxErrorKeeper::setErrorList(&list); }
  ~InstalledErrorList() { VxErrorKeeper::giveUpErrorList(); }
  InstalledErrorList(const InstalledErrorList&) = delete;
  InstalledErrorList& operator=(const InstalledErrorList&) = delete;

  VxErrorList list;
};

#endif  // VX_TESTS_BOS_BOS_TEST_SUPPORT_H_
