// Error records, error lists and the calling thread's current list.
#include "foundation/vxerror.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "bos/mds.h"
#include "containers/vxstring.h"
#include "foundation/msgtext_internal.h"
#include "foundation/ram_internal.h"

namespace {

// Records that count their destructions, so that tests can tell which
// records a list deleted.
int destroyed = 0;
struct CountedError : VxError {
  using VxError::VxError;
  ~CountedError() override { ++destroyed; }
};
struct CountingList : VxErrorList {
  using VxErrorList::VxErrorList;
  VxError* allocError(uint16_t n, const char* text, vxCPType cp, ErrorType type, uint16_t, int64_t native) override {
    return new CountedError(n, text, cp, type, 0, native);
  }
};

std::vector<int> numbers(const VxErrorList& list) {
  std::vector<int> out;
  for (VXSIZE_T i = 0; i < list.getCount(); ++i) out.push_back(list.at(i)->getErrorNumber());
  return out;
}
std::string catalogText(uint16_t number) { char text[1024]; loadMessageText(number, text, sizeof text); return text; }

// Installs a fresh list (multiple-error unless a test asks otherwise) for
// the test's thread and gives it up afterwards.
class ErrorList : public ::testing::Test {
 protected:
  void SetUp() override { install(VxErrorList::kSupportMultipleErrors); }
  void install(unsigned flags) {
    TearDown();
    destroyed = 0;
    list = new CountingList(&owner, flags);
    ASSERT_EQ(0u, VxErrorKeeper::setErrorList(list));
  }
  void TearDown() override {
    ramFailAllocationAfter(0);
    if (list != nullptr) { EXPECT_EQ(list, VxErrorKeeper::giveUpErrorList()); }
    delete list;
    list = nullptr;
  }
  std::string text(VXSIZE_T i) { return list->at(i)->getErrorText(); }
  int owner = 0;
  CountingList* list = nullptr;
};

TEST(VxErrorRecord, StaticRecordsAreFixedOthersFillParametersByPosition) {
  EXPECT_TRUE(MemoryError.getErrorNumber() == 30190 && MemoryError.isStatic() && MemoryError.isMemoryError() &&
              !MemoryError.isWarning() && !MemoryError.isDummyError() && MemoryError.getNativeError() == 0);
  EXPECT_TRUE(DummyError.getErrorNumber() == 0 && DummyError.isStatic() && DummyError.isDummyError() &&
              !DummyError.isMemoryError() && DummyError.getInterfaceError() == 0 && DummyError.appendText("x") == 0);
  EXPECT_EQ(&DummyError, &(DummyError << "lost" << uint64_t(7) << -3 << VxSubString("x", 1)));
  EXPECT_EQ(&MemoryError, &(MemoryError << "lost" << int64_t(1)));
  EXPECT_TRUE(DummyError.getErrorText() == std::string() && MemoryError.getErrorText() == std::string("Out Of Memory"));
  // A record keeps its fields and fills parameters in by position. (Its
  // warning flag is switched through the keeper below.)
  VxError e(1509, "File %s1 (%d2), %d3, %s4 %d5 %d6.", VX_CP_UTF8, VX_ERROR_TYPE_WARNING, 12, -5);
  EXPECT_TRUE(e.getErrorNumber() == 1509 && e.getNativeError() == -5 && e.getInterfaceError() == 12 &&
              e.getCodePage() == VX_CP_UTF8 && e.isWarning() && !e.isStatic() && !e.isDummyError() && e.getInterfaceCode() == std::string());
  for (const char* code : {"HY000EXTRA", "08S", static_cast<const char*>(nullptr)})  // five characters kept
    EXPECT_EQ(code == nullptr ? "" : std::string(code).substr(0, 5), (e.setInterfaceCode(code), std::string(e.getInterfaceCode())));
  EXPECT_EQ(&e, &(e << "x.ini" << uint64_t(42) << int64_t(-7) << VxSubString("xyz", 2) << -12 << 34u));
  EXPECT_STREQ("File x.ini (42), -7, xy -12 34.", e.getErrorText());
  ASSERT_EQ(0u, e.appendText(" B %s1."));
  e.resetParamCount();
  EXPECT_STREQ("File x.ini (42), -7, xy -12 34. B y.", (e << "y").getErrorText());
  EXPECT_STREQ("", VxError(1, nullptr, VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0).getErrorText());
}

// A new list is empty, and allocError stores the interface error as 0
// (deliberate).
TEST(VxErrorRecord, NewListIsEmptyAndAllocErrorStoresInterfaceErrorAsZeroDeliberately) {
  int owner = 0;
  VxErrorList single(&owner), multiple(nullptr, VxErrorList::kSupportMultipleErrors | 2);
  // The other getters of a new list are met through the keeper below.
  EXPECT_TRUE(single.getSizeOfArray() == 16 && !single.isSupportMultipleErrors() && multiple.isSupportMultipleErrors() &&
              single.getMemoryError() == &MemoryError && single.removeFirstError() == nullptr && single.removeLastError() == nullptr);
  VxError* e = single.allocError(1509, "t", VX_CP_UTF8, VX_ERROR_TYPE_WARNING, 99, 8);
  EXPECT_TRUE(e->getInterfaceError() == 0 && e->getNativeError() == 8 && e->getCodePage() == VX_CP_UTF8 &&
              e->isWarning() && e->getErrorNumber() == 1509);
  delete e;
  for (int failing : {1, 2, 0})  // the record, then its message
    EXPECT_EQ(failing == 0, (ramFailAllocationAfter(failing), e = single.allocError(1, "t", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0)) != nullptr);
  delete e;
}

// Mix: 0 empty, 3 warnings only, 1 both, 2 errors only.
TEST_F(ErrorList, KeepsEveryReportInOrderAndTellsTheMix) {
  EXPECT_TRUE(!VxErrorKeeper::isExistingError() && VxErrorKeeper::getLastErrorNumber() == 0 &&
              VxErrorKeeper::getLastNativeError() == 0 && VxErrorKeeper::getLastError() == nullptr &&
              list->getFirstNode() == nullptr && VxErrorKeeper::getOwnerOfList() == &owner);
  struct { const char* reports; int mix; } rows[] = {{"", 0}, {"w", 3}, {"ww", 3}, {"wwe", 1}, {"e", 2}, {"ee", 2}, {"ew", 1}};
  for (const auto& r : rows) {
    list->clearErrors();
    for (const char* c = r.reports; *c != '\0'; ++c) *c == 'w' ? addWarning(2735) : addError(2737);
    const bool errors = r.mix == 1 || r.mix == 2;
    EXPECT_TRUE(r.mix == list->getErrorsMix() && errors == list->isExistingError() && errors == VxErrorKeeper::isExistingError()) << r.reports;
  }
  list->clearErrors();
  addError(1509) << "x.ini";
  addWarning(5);
  VxError& e = addError(1503, "The file %s1 was not found.") << "y.ini";
  addDatabaseError(7, -1017, "ORA-01017", VX_ERROR_TYPE_WARNING, VX_CP_UTF8);
  EXPECT_EQ((std::vector<int>{1509, 5, 1503, 7}), numbers(*list));
  std::string expected = catalogText(1509);  // (replace throws, failing the test, if it has no %s1)
  EXPECT_EQ(expected.replace(expected.find("%s1"), 3, "x.ini"), text(0));
  EXPECT_TRUE(&e == list->at(2) && text(2) == "The file y.ini was not found." && !e.isWarning() && list->at(1)->isWarning() &&
              !list->at(0)->isWarning() && list->at(0)->getCodePage() == VX_CP_LOCALE && list->at(0)->getNativeError() == 0);
  VxError* last = VxErrorKeeper::getLastError();
  EXPECT_TRUE(last == list->at(3) && VxErrorKeeper::getLastNativeError() == -1017 && last->isWarning() &&
              last->getCodePage() == VX_CP_UTF8 && text(3) == "ORA-01017" && VxErrorKeeper::getLastErrorNumber() == 7);
}

TEST_F(ErrorList, SingleErrorListKeepsWarningsUntilItsFirstErrorThenDropsEverything) {
  install(0);
  addWarning(2735);
  VxError& first = addError(1509, "%s1") << "kept";
  VxError& warning = addWarning(5);
  VxError& dropped = addError(1503, "%s1") << "lost" << uint64_t(1);
  EXPECT_TRUE(!first.isDummyError() && &warning == &DummyError && &dropped == &DummyError && destroyed == 2);
  EXPECT_TRUE(numbers(*list) == (std::vector<int>{2735, 1509}) && text(1) == "kept" && DummyError.getErrorText()[0] == 0);
  VxErrorKeeper::addMemoryError();  // replaces the error of a single-error list
  EXPECT_TRUE(list->getCount() == 1 && destroyed == 3 && VxErrorKeeper::getLastError() == &MemoryError &&
              VxErrorKeeper::getLastErrorNumber() == 30190);
  EXPECT_TRUE(list->removeLastError() == &MemoryError && !list->isOutOfMemory() && list->getLastError() == list->at(0));
  TearDown();  // the destructor deletes the records left
  EXPECT_EQ(4, destroyed);
}

TEST_F(ErrorList, MemoryFailuresGiveTheDummyOrMemoryRecord) {
  addError(1509);
  VxErrorKeeper::addMemoryError();  // a multiple-error list keeps its records
  EXPECT_TRUE(list->getCount() == 1 && list->isOutOfMemory() && VxErrorKeeper::getLastError() == &MemoryError);
  EXPECT_TRUE(list->removeFirstError() == &MemoryError && VxErrorKeeper::getLastErrorNumber() == 1509);
  VxErrorKeeper::addMemoryError(), VxErrorKeeper::clearLastError();  // leaves the out-of-memory state, touching no record
  EXPECT_TRUE(!list->isOutOfMemory() && list->getCount() == 1 && destroyed == 0);
  VxErrorKeeper::clearLastError();
  EXPECT_TRUE(list->getCount() == 0 && destroyed == 1);
  ramFailAllocationAfter(1);
  EXPECT_TRUE((addError(1509) << "x.ini").isDummyError() && list->getCount() == 0);
  VxError& e = addError(1509, "%s1 %s2 %s3");
  ramFailAllocationAfter(1);  // the first parameter's growth
  EXPECT_TRUE((e << "a-rather-long-parameter-text" << "lost").isDummyError() && text(0).find("lost") == std::string::npos);
  for (int i = 1; i < 16; ++i) addError(1);
  ramFailAllocationAfter(3);  // record, message, then the array's growth
  EXPECT_TRUE(addError(2).isDummyError() && list->getCount() == 16 && list->isOutOfMemory() && destroyed == 2);
  list->setOutOfMemory(), VxErrorKeeper::clearAllErrors();
  EXPECT_TRUE(list->getCount() == 0 && !list->isOutOfMemory() && destroyed == 18);
}

TEST_F(ErrorList, CursorPositionsAndRangeOperations) {
  for (uint16_t n : {1, 2, 3}) addError(n, "");
  EXPECT_TRUE(list->getFirstNode() == list->at(0) && list->getCurrentIndex() == 1 && list->getNextNode() == list->at(1) &&
              list->getNextNode() == list->at(2) && list->getNextNode() == nullptr && list->getCurrentIndex() == 3 &&
              list->getNodeAtPos(1) == list->at(1) && list->getCurrentIndex() == 2 && list->getNodeAtPos(3) == nullptr && list->getCurrentIndex() == 2);
  for (VXSIZE_T to : {0, 3, 100}) list->moveLastErrorToPos(to);
  EXPECT_EQ((std::vector<int>{3, 1, 2}), numbers(*list));
  list->setWarningAfterPos(0);
  EXPECT_TRUE(!list->at(0)->isWarning() && list->at(1)->isWarning() && list->at(2)->isWarning());
  list->appendTextStartingAtPos("!", 1), list->appendTextStartingAtPos("x", 0);
  VxString joined, plain, small;
  char buffer[6];
  small.initializeWithBuffer(buffer, sizeof buffer, 0);
  EXPECT_TRUE(list->concatErrors(joined, '\n') == 0 && joined.asCStr() == std::string("x\n!x\n!x") && list->concatErrors(plain, '\0') == 0 &&
              std::string(plain.asPascalStr(), plain.getLength()) == std::string("x\0!x\0!x", 7) && list->concatErrors(small, ',') == 1 && small.asCStr() == std::string("x,!x"));
  delete list->removeLastError();  // the string's own report of its failure
  list->getNodeAtPos(2);
  VxError *first = list->removeFirstError(), *last = list->removeLastError();
  EXPECT_TRUE(first->getErrorNumber() == 3 && last->getErrorNumber() == 2 && list->getCurrentIndex() == 0 &&
              numbers(*list) == std::vector<int>{1});
  delete first, delete last;
  list->getFirstNode();
  delete list->removeLastError();
  EXPECT_EQ(0, list->getCurrentIndex());
}

TEST_F(ErrorList, KeeperEditsTheLastRecord) {
  EXPECT_TRUE(appendTextToLastError(2706).isDummyError() && appendTextToErrorAtPos(2706, 0).isDummyError());
  VxErrorKeeper::setLastErrorType(VX_ERROR_TYPE_WARNING);  // nothing to change
  addError(1, "one:");
  addError(2, "A %s1.") << "x";
  VxErrorKeeper::setLastErrorType(VX_ERROR_TYPE_WARNING);
  EXPECT_TRUE(list->at(1)->isWarning() && !list->at(0)->isWarning());
  VxErrorKeeper::setLastErrorType(ErrorType(7));  // anything but a warning is an error
  EXPECT_FALSE(list->at(1)->isWarning());
  VxErrorKeeper::appendTextToLastError(" B %s1.");
  EXPECT_EQ("A x. B y.", std::string((*VxErrorKeeper::getLastError() << "y").getErrorText()));
  EXPECT_TRUE(&appendTextToLastError(2706) == list->at(1) && text(1) == "A x. B y." + catalogText(2706));
  EXPECT_TRUE(&appendTextToErrorAtPos(2707, 0) == list->at(0) && text(0) == "one:" + catalogText(2707));
  EXPECT_TRUE(appendTextToErrorAtPos(2707, 2).isDummyError() && list->getCount() == 2);
  VxErrorKeeper::addMemoryError();  // the static memory record is left alone
  VxErrorKeeper::setLastErrorType(VX_ERROR_TYPE_WARNING), VxErrorKeeper::appendTextToLastError("lost");
  EXPECT_TRUE(appendTextToLastError(2706).isDummyError() && !MemoryError.isWarning() && destroyed == 0);
}

TEST(ErrorKeeper, WithoutAListReportsAreDroppedAndNestedListsRestoreTheOuterOne) {
  ASSERT_EQ(nullptr, VxErrorKeeper::getErrorList());
  EXPECT_TRUE(&(addError(1509) << "x") == &DummyError && VxErrorKeeper::addError(nullptr) == &DummyError &&
              &addWarning(1) == &DummyError && &addDatabaseError(1, 2, "t", VX_ERROR_TYPE_ERROR, VX_CP_LOCALE) == &DummyError);
  VxErrorKeeper::addMemoryError(), VxErrorKeeper::clearAllErrors(), VxErrorKeeper::clearLastError();
  VxErrorKeeper::setLastErrorType(VX_ERROR_TYPE_WARNING), VxErrorKeeper::appendTextToLastError("x");
  EXPECT_TRUE(VxErrorKeeper::getLastErrorNumber() == 0 && !VxErrorKeeper::isExistingError() &&
              VxErrorKeeper::getOwnerOfList() == nullptr && VxErrorKeeper::getLastError() == nullptr &&
              VxErrorKeeper::getLastNativeError() == 0 && appendTextToErrorAtPos(1, 0).isDummyError());
  // Nested lists restore the outer one; the thread's data goes with the last.
  int outerOwner = 1, innerOwner = 2;
  VxErrorList outer(&outerOwner, VxErrorList::kSupportMultipleErrors), inner(&innerOwner, VxErrorList::kSupportMultipleErrors);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&outer));
  VxThreadInfo* info = getThreadInfo();
  ASSERT_TRUE(info != nullptr && info->data[0] == &outer);
  addError(1);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&inner));
  EXPECT_TRUE(inner.getPreviousList() == &outer && outer.getPreviousList() == nullptr && VxErrorKeeper::getOwnerOfList() == &innerOwner);
  addError(2);
  EXPECT_TRUE(VxErrorKeeper::giveUpErrorList() == &inner && VxErrorKeeper::getErrorList() == &outer && getThreadInfo() == info);
  addError(4);
  EXPECT_TRUE(VxErrorKeeper::giveUpErrorList() == &outer && VxErrorKeeper::getErrorList() == nullptr && getThreadInfo() == nullptr);
  EXPECT_TRUE(numbers(outer) == (std::vector<int>{1, 4}) && numbers(inner) == std::vector<int>{2});
  // The forms for a given thread's data use its slot and release nothing.
  ASSERT_EQ(1, mdsPerThreadInit());
  info = getThreadInfo();
  EXPECT_EQ(1u, VxErrorKeeper::setErrorList(&inner, nullptr));
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&inner, info));
  EXPECT_TRUE(VxErrorKeeper::getErrorList() == &inner && VxErrorKeeper::giveUpErrorList(nullptr) == nullptr);
  EXPECT_TRUE(VxErrorKeeper::giveUpErrorList(info) == &inner && VxErrorKeeper::getErrorList() == nullptr && getThreadInfo() == info);
  EXPECT_EQ(nullptr, VxErrorKeeper::giveUpErrorList(info));
  mdsPerThreadTerm();
}

TEST(Threads, EachThreadHasItsOwnCurrentList) {
  VxErrorList mine(nullptr, VxErrorList::kSupportMultipleErrors), theirs(nullptr, VxErrorList::kSupportMultipleErrors);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&mine));
  bool otherSawNoListAndDroppedItsReport = false;
  std::thread other([&] {
    otherSawNoListAndDroppedItsReport = VxErrorKeeper::getErrorList() == nullptr && addError(1).isDummyError();
    VxErrorKeeper::setErrorList(&theirs);
    addError(2);
    VxErrorKeeper::giveUpErrorList();
  });
  other.join();
  addError(3);
  EXPECT_TRUE(otherSawNoListAndDroppedItsReport && numbers(theirs) == std::vector<int>{2} && numbers(mine) == std::vector<int>{3});
  VxErrorKeeper::giveUpErrorList();
}

}  // namespace
