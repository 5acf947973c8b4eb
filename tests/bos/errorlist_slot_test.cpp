// The current error list lives in per-thread slot 0: installations nest per
// thread and threads never see each other's lists. The test runs several
// threads at once (ThreadSanitizer: ctest -R Threads).
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "bos/mds.h"
#include "bos/mdsint.h"
#include "foundation/vxerror.h"

namespace {

TEST(ErrorListSlot, ThreadsNestTheirOwnListsIndependently) {
  const int kThreads = 8, kRounds = 200;
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&wrong] {
      for (int round = 0; round < kRounds; ++round) {
        VxErrorList outer(nullptr, VxErrorList::kSupportMultipleErrors);
        VxErrorList inner(nullptr, VxErrorList::kSupportMultipleErrors);
        VxErrorKeeper::setErrorList(&outer);
        addError(1509);
        VxErrorKeeper::setErrorList(&inner);
        if (mdsGetPerThreadData(MDS_THREAD_ERROR_LIST) != &inner) ++wrong;
        addError(1503);
        addError(1507);
        if (VxErrorKeeper::giveUpErrorList() != &inner) ++wrong;
        if (mdsGetPerThreadData(MDS_THREAD_ERROR_LIST) != &outer) ++wrong;
        if (VxErrorKeeper::getLastErrorNumber() != 1509) ++wrong;
        if (VxErrorKeeper::giveUpErrorList() != &outer) ++wrong;
        if (outer.getCount() != 1 || inner.getCount() != 2) ++wrong;
        if (getThreadInfo() != nullptr) ++wrong;  // every registration released
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(0, wrong.load());
}

}  // namespace
