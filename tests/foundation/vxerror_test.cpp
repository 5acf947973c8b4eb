#include "foundation/vxerror.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "bos/mds.h"
#include "containers/vxstring.h"
#include "foundation/msgtext_internal.h"
#include "foundation/ram_internal.h"

namespace {

// A record that counts its destructions, so that tests can tell which
// records a list deleted.
int destroyedRecords = 0;

class CountedError : public VxError {
 public:
  using VxError::VxError;
  ~CountedError() override { ++destroyedRecords; }
};

class CountingList : public VxErrorList {
 public:
  using VxErrorList::VxErrorList;
  VxError* allocError(uint16_t number, const char* text, vxCPType cp, ErrorType type, uint16_t,
                      int64_t nativeError) override {
    return new CountedError(number, text, cp, type, 0, nativeError);
  }
};

// Installs a fresh list for the test's thread and gives it up afterwards.
class ErrorListTest : public ::testing::Test {
 protected:
  void install(unsigned flags) {
    list = new CountingList(&owner, flags);
    ASSERT_EQ(0u, VxErrorKeeper::setErrorList(list));
  }
  void SetUp() override { destroyedRecords = 0; }
  void TearDown() override {
    ramFailAllocationAfter(0);
    if (list != nullptr) {
      EXPECT_EQ(list, VxErrorKeeper::giveUpErrorList());
      delete list;
    }
  }
  std::string text(VXSIZE_T i) { return list->at(i)->getErrorText(); }
  static void addOneTwoThree() {
    for (uint16_t n : {1, 2, 3}) addError(n);
  }

  int owner = 0;
  CountingList* list = nullptr;
};

class SingleErrorList : public ErrorListTest {
 protected:
  void SetUp() override {
    ErrorListTest::SetUp();
    install(0);
  }
};

class MultipleErrorList : public ErrorListTest {
 protected:
  void SetUp() override {
    ErrorListTest::SetUp();
    install(VxErrorList::kSupportMultipleErrors);
  }
};

// --- Static records -------------------------------------------------------

TEST(StaticRecords, MemoryRecordIs30190OutOfMemoryAndDummyRecordIsZero) {
  EXPECT_EQ(30190, MemoryError.getErrorNumber());
  EXPECT_STREQ("Out Of Memory", MemoryError.getErrorText());
  EXPECT_TRUE(MemoryError.isStatic());
  EXPECT_TRUE(MemoryError.isMemoryError());
  EXPECT_FALSE(MemoryError.isWarning());
  EXPECT_FALSE(MemoryError.isDummyError());
  EXPECT_EQ(0, MemoryError.getNativeError());
  EXPECT_EQ(0, DummyError.getErrorNumber());
  EXPECT_TRUE(DummyError.isStatic());
  EXPECT_TRUE(DummyError.isDummyError());
  EXPECT_FALSE(DummyError.isMemoryError());
  EXPECT_STREQ("", DummyError.getErrorText());
}

TEST(StaticRecords, StreamingIntoStaticRecordsChangesNothing) {
  VxError& chained = DummyError << "lost" << uint64_t(7) << -3;
  EXPECT_EQ(&DummyError, &chained);
  EXPECT_STREQ("", DummyError.getErrorText());
  EXPECT_EQ(&MemoryError, &(MemoryError << "lost"));
  EXPECT_STREQ("Out Of Memory", MemoryError.getErrorText());
}

// --- Records --------------------------------------------------------------

TEST(VxErrorRecord, ConstructorSetsFieldsAndLeavesInterfaceCodeEmpty) {
  VxError e(1509, "File %s1 not found.", VX_CP_UTF8, VX_ERROR_TYPE_WARNING, 12, -5);
  EXPECT_EQ(1509, e.getErrorNumber());
  EXPECT_EQ(-5, e.getNativeError());
  EXPECT_EQ(12, e.getInterfaceError());
  EXPECT_EQ(VX_CP_UTF8, e.getCodePage());
  EXPECT_TRUE(e.isWarning());
  EXPECT_FALSE(e.isStatic());
  EXPECT_FALSE(e.isDummyError());
  EXPECT_STREQ("", e.getInterfaceCode());
  EXPECT_STREQ("File %s1 not found.", e.getErrorText());
  e.resetWarning();
  EXPECT_FALSE(e.isWarning());
  e.setWarning();
  EXPECT_TRUE(e.isWarning());
}

TEST(VxErrorRecord, InterfaceCodeKeepsFiveCharactersAndNullEmptiesIt) {
  VxError e(1, "", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0);
  e.setInterfaceCode("08S01");
  EXPECT_STREQ("08S01", e.getInterfaceCode());
  e.setInterfaceCode("HY000EXTRA");
  EXPECT_STREQ("HY000", e.getInterfaceCode());
  e.setInterfaceError(77);
  EXPECT_EQ(77, e.getInterfaceError());
  e.setInterfaceCode(nullptr);
  EXPECT_STREQ("", e.getInterfaceCode());
}

TEST(VxErrorRecord, ParametersFillMarkersByPosition) {
  VxError e(1, "File %s1 not found (%d2), %d3.", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0);
  VxError& chained = e << "x.ini" << uint64_t(42) << int64_t(-7);
  EXPECT_EQ(&e, &chained);
  EXPECT_STREQ("File x.ini not found (42), -7.", e.getErrorText());
  VxError ints(1, "%d1 %d2", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0);
  ints << -12 << 34u;  // plain ints stream as numbers
  EXPECT_STREQ("-12 34", ints.getErrorText());
}

TEST(VxErrorRecord, ViewParameterAndAppendedTextWithRestartedNumbering) {
  VxError e(1, "A %s1.", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0);
  const char bytes[] = "xyz";
  e << VxSubString(bytes, 2);
  ASSERT_EQ(0u, e.appendText(" B %s1."));
  e.resetParamCount();
  e << "y";
  EXPECT_STREQ("A xy. B y.", e.getErrorText());
}

// --- Lists: contents and mix ----------------------------------------------

TEST(VxErrorListBasics, StartsWithRoomForSixteenRecordsAndItsOwner) {
  int owner = 0;
  VxErrorList single(&owner);
  VxErrorList multiple(&owner, VxErrorList::kSupportMultipleErrors);
  EXPECT_EQ(16u, single.getSizeOfArray());
  EXPECT_EQ(0u, single.getCount());
  EXPECT_EQ(&owner, single.getOwnerOfList());
  EXPECT_FALSE(single.isSupportMultipleErrors());
  EXPECT_TRUE(multiple.isSupportMultipleErrors());
  EXPECT_FALSE(single.isOutOfMemory());
  EXPECT_EQ(0, single.getCurrentIndex());
  EXPECT_EQ(&MemoryError, single.getMemoryError());
  EXPECT_EQ(&DummyError, single.getDummyError());
}

TEST(VxErrorListBasics, AllocErrorStoresInterfaceErrorAsZeroDeliberately) {
  VxErrorList l(nullptr);
  VxError* e = l.allocError(1509, "t", VX_CP_UTF8, VX_ERROR_TYPE_WARNING, 99, 8);
  ASSERT_NE(nullptr, e);
  EXPECT_EQ(0, e->getInterfaceError());
  EXPECT_EQ(8, e->getNativeError());
  EXPECT_EQ(VX_CP_UTF8, e->getCodePage());
  EXPECT_TRUE(e->isWarning());
  delete e;
}

TEST(VxErrorListBasics, AllocErrorGivesNullWhenMemoryRunsOut) {
  VxErrorList l(nullptr);
  ramFailAllocationAfter(1);  // the record itself
  EXPECT_EQ(nullptr, l.allocError(1, "t", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0));
  ramFailAllocationAfter(2);  // its message
  EXPECT_EQ(nullptr, l.allocError(1, "t", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0));
  ramFailAllocationAfter(0);
}

TEST_F(MultipleErrorList, MixIsZeroEmptyThreeForWarningsOnlyOneForBothAndTwoForErrorsOnly) {
  EXPECT_EQ(0, list->getErrorsMix());
  EXPECT_FALSE(list->isExistingError());
  EXPECT_FALSE(VxErrorKeeper::isExistingError());
  EXPECT_EQ(0, VxErrorKeeper::getLastErrorNumber());
  EXPECT_EQ(0, VxErrorKeeper::getLastNativeError());
  EXPECT_EQ(nullptr, VxErrorKeeper::getLastError());
  EXPECT_EQ(nullptr, list->getFirstNode());
  addWarning(2735);
  addWarning(2736);
  EXPECT_EQ(3, list->getErrorsMix());
  EXPECT_FALSE(list->isExistingError());
  addError(2737);
  EXPECT_EQ(1, list->getErrorsMix());
  EXPECT_TRUE(list->isExistingError());
  list->clearErrors();
  addError(1509);
  addError(1503);
  EXPECT_EQ(2, list->getErrorsMix());  // errors only
  EXPECT_TRUE(VxErrorKeeper::isExistingError());
}

TEST_F(MultipleErrorList, KeepsEveryReportInArrivalOrder) {
  addError(2702);
  addWarning(5);
  addError(1503);
  addError(1018);
  ASSERT_EQ(4u, list->getCount());
  EXPECT_EQ(2702, list->at(0)->getErrorNumber());
  EXPECT_EQ(5, list->at(1)->getErrorNumber());
  EXPECT_EQ(1503, list->at(2)->getErrorNumber());
  EXPECT_EQ(1018, list->at(3)->getErrorNumber());
  EXPECT_EQ(1018, VxErrorKeeper::getLastErrorNumber());
}

TEST_F(MultipleErrorList, TextIsTheCatalogTemplateWithParametersFilled) {
  char templ[1024];
  loadMessageText(1509, templ, sizeof templ);
  std::string expected = templ;
  ASSERT_NE(std::string::npos, expected.find("%s1"));
  expected.replace(expected.find("%s1"), 3, "x.ini");
  addError(1509) << "x.ini";
  EXPECT_EQ(expected, text(0));
  EXPECT_FALSE(list->at(0)->isWarning());
  EXPECT_EQ(VX_CP_LOCALE, list->at(0)->getCodePage());
}

TEST_F(MultipleErrorList, AddErrorWithTextStreamsParameters) {
  VxError& e = addError(1509, "The file %s1 was not found.") << "x.ini";
  EXPECT_EQ(list->at(0), &e);
  EXPECT_EQ("The file x.ini was not found.", text(0));
}

TEST_F(MultipleErrorList, DatabaseErrorCarriesNativeTypeAndKind) {
  addDatabaseError(7, -1017, "ORA-01017", VX_ERROR_TYPE_WARNING, VX_CP_UTF8);
  VxError* e = VxErrorKeeper::getLastError();
  ASSERT_NE(nullptr, e);
  EXPECT_EQ(7, e->getErrorNumber());
  EXPECT_EQ(-1017, VxErrorKeeper::getLastNativeError());
  EXPECT_TRUE(e->isWarning());
  EXPECT_EQ(VX_CP_UTF8, e->getCodePage());
  EXPECT_STREQ("ORA-01017", e->getErrorText());
}

// --- Single-error lists -----------------------------------------------------

TEST_F(SingleErrorList, SingleErrorListDropsLaterReports) {
  VxError& first = addError(1509);
  EXPECT_FALSE(first.isDummyError());
  VxError& warning = addWarning(5);
  VxError& second = addError(1503);
  EXPECT_TRUE(warning.isDummyError());
  EXPECT_TRUE(second.isDummyError());
  EXPECT_EQ(&DummyError, &second);
  ASSERT_EQ(1u, list->getCount());
  EXPECT_EQ(1509, list->at(0)->getErrorNumber());
  EXPECT_EQ(2, destroyedRecords);  // both late records were deleted
}

TEST_F(SingleErrorList, WarningsBeforeTheFirstErrorAreKept) {
  addWarning(2735);
  addWarning(2736);
  addError(1509);
  addError(1503);
  EXPECT_EQ(3u, list->getCount());
  EXPECT_EQ(1509, VxErrorKeeper::getLastErrorNumber());
}

TEST_F(SingleErrorList, DroppedReportSwallowsItsParameters) {
  addError(1509, "%s1") << "kept";
  VxError& dropped = addError(1503, "%s1") << "lost" << uint64_t(1);
  EXPECT_TRUE(dropped.isDummyError());
  EXPECT_EQ("kept", text(0));
  EXPECT_STREQ("", DummyError.getErrorText());
}

// --- Memory failures and the memory record ----------------------------------

TEST_F(SingleErrorList, MemoryErrorReplacesTheErrorOfASingleErrorList) {
  addError(1509);
  VxErrorKeeper::addMemoryError();
  EXPECT_EQ(0u, list->getCount());
  EXPECT_EQ(1, destroyedRecords);
  VxError* last = VxErrorKeeper::getLastError();
  EXPECT_EQ(&MemoryError, last);
  EXPECT_EQ(30190, VxErrorKeeper::getLastErrorNumber());
  EXPECT_STREQ("Out Of Memory", last->getErrorText());
  EXPECT_EQ(&MemoryError, list->removeLastError());
  EXPECT_FALSE(list->isOutOfMemory());
  EXPECT_EQ(nullptr, list->getLastError());
}

TEST_F(MultipleErrorList, MemoryErrorKeepsRecordsOfAMultipleErrorList) {
  addError(1509);
  VxErrorKeeper::addMemoryError();
  EXPECT_EQ(1u, list->getCount());
  EXPECT_EQ(&MemoryError, VxErrorKeeper::getLastError());
  EXPECT_EQ(&MemoryError, list->removeFirstError());
  EXPECT_EQ(1509, VxErrorKeeper::getLastErrorNumber());
}

TEST_F(MultipleErrorList, ClearLastErrorLeavesOutOfMemoryBeforeTouchingRecords) {
  addError(1509);
  VxErrorKeeper::addMemoryError();
  VxErrorKeeper::clearLastError();
  EXPECT_FALSE(list->isOutOfMemory());
  EXPECT_EQ(1u, list->getCount());
  VxErrorKeeper::clearLastError();
  EXPECT_EQ(0u, list->getCount());
  EXPECT_EQ(1, destroyedRecords);
}

TEST_F(MultipleErrorList, FailedRecordAllocationYieldsTheDummyRecord) {
  ramFailAllocationAfter(1);
  VxError& e = addError(1509) << "x.ini";
  EXPECT_TRUE(e.isDummyError());
  EXPECT_EQ(0u, list->getCount());
}

TEST_F(MultipleErrorList, ParameterThatCannotGrowSwitchesChainToDummy) {
  VxError& e = addError(1509, "%s1 %s2 %s3");
  ramFailAllocationAfter(1);  // the first parameter's growth
  VxError& after = e << "a-rather-long-parameter-text" << "lost";
  EXPECT_TRUE(after.isDummyError());
  EXPECT_EQ(1u, list->getCount());
  EXPECT_EQ(std::string::npos, text(0).find("lost"));
}

TEST_F(MultipleErrorList, ListThatCannotGrowEntersOutOfMemory) {
  for (int i = 0; i < 16; ++i) addError(1);
  ASSERT_EQ(16u, list->getCount());
  ramFailAllocationAfter(3);  // record, message, then the array's growth
  VxError& e = addError(2);
  EXPECT_TRUE(e.isDummyError());
  EXPECT_EQ(16u, list->getCount());
  EXPECT_TRUE(list->isOutOfMemory());
  EXPECT_EQ(1, destroyedRecords);
}

// --- Cursor and positions -------------------------------------------------

TEST_F(MultipleErrorList, CursorWalksRecordsInOrder) {
  addOneTwoThree();
  EXPECT_EQ(1, list->getFirstNode()->getErrorNumber());
  EXPECT_EQ(1, list->getCurrentIndex());
  EXPECT_EQ(2, list->getNextNode()->getErrorNumber());
  EXPECT_EQ(3, list->getNextNode()->getErrorNumber());
  EXPECT_EQ(nullptr, list->getNextNode());
  EXPECT_EQ(2, list->getNodeAtPos(1)->getErrorNumber());
  EXPECT_EQ(2, list->getCurrentIndex());
  EXPECT_EQ(nullptr, list->getNodeAtPos(3));
  EXPECT_EQ(2, list->getCurrentIndex());
}

TEST_F(MultipleErrorList, RemovedRecordsBelongToTheCallerAndResetTheCursor) {
  addOneTwoThree();
  list->getNodeAtPos(2);
  VxError* first = list->removeFirstError();
  EXPECT_EQ(0, list->getCurrentIndex());
  VxError* last = list->removeLastError();
  EXPECT_EQ(1, first->getErrorNumber());
  EXPECT_EQ(3, last->getErrorNumber());
  EXPECT_EQ(1u, list->getCount());
  EXPECT_EQ(0, destroyedRecords);
  delete first;
  delete last;
  EXPECT_EQ(nullptr, VxErrorList(nullptr).removeFirstError());
}

TEST_F(MultipleErrorList, MoveLastErrorToPosZeroPutsTheThirdFirst) {
  addOneTwoThree();
  list->moveLastErrorToPos(0);
  EXPECT_EQ(3, list->at(0)->getErrorNumber());
  EXPECT_EQ(1, list->at(1)->getErrorNumber());
  EXPECT_EQ(2, list->at(2)->getErrorNumber());
  list->moveLastErrorToPos(3);
  list->moveLastErrorToPos(100);
  EXPECT_EQ(3, list->at(0)->getErrorNumber());
  EXPECT_EQ(2, list->at(2)->getErrorNumber());
  EXPECT_EQ(3u, list->getCount());
}

TEST_F(MultipleErrorList, SetWarningAndAppendTextFromAPositionReachOnlyLaterRecords) {
  addOneTwoThree();
  list->setWarningAfterPos(0);
  EXPECT_FALSE(list->at(0)->isWarning());
  EXPECT_TRUE(list->at(1)->isWarning());
  EXPECT_TRUE(list->at(2)->isWarning());
  EXPECT_EQ(1, list->getErrorsMix());
  list->appendTextStartingAtPos("!", 1);
  EXPECT_EQ("1", text(0));
  EXPECT_EQ("2!", text(1));
  EXPECT_EQ("3!", text(2));
}

TEST_F(MultipleErrorList, ConcatErrorsJoinsTextsAndStopsWhenTheStringCannotGrow) {
  addError(1, "first");
  addError(2, "second");
  VxString out;
  ASSERT_EQ(0u, list->concatErrors(out, '\n'));
  EXPECT_STREQ("first\nsecond", out.asCStr());
  VxString plain;
  ASSERT_EQ(0u, list->concatErrors(plain, '\0'));
  EXPECT_STREQ("firstsecond", plain.asCStr());
  char buffer[8];
  VxString small;
  small.initializeWithBuffer(buffer, sizeof buffer, 0);
  EXPECT_EQ(1u, list->concatErrors(small, '\n'));
  EXPECT_STREQ("first", small.asCStr());
}

TEST_F(MultipleErrorList, ClearErrorsDeletesEveryRecord) {
  addError(1);
  addError(2);
  list->setOutOfMemory();
  VxErrorKeeper::clearAllErrors();
  EXPECT_EQ(0u, list->getCount());
  EXPECT_FALSE(list->isOutOfMemory());
  EXPECT_EQ(2, destroyedRecords);
}

TEST(VxErrorListBasics, DestructorDeletesEveryRecord) {
  destroyedRecords = 0;
  {
    CountingList l(nullptr, VxErrorList::kSupportMultipleErrors);
    l.VxArray::add(l.allocError(1, "a", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0));
    l.VxArray::add(l.allocError(2, "b", VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0, 0));
  }
  EXPECT_EQ(2, destroyedRecords);
}

// --- Keeper operations on the last record -----------------------------------

TEST_F(MultipleErrorList, SetLastErrorTypeTurnsTheLastRecordIntoAWarningAndBack) {
  addError(1);
  VxErrorKeeper::setLastErrorType(VX_ERROR_TYPE_WARNING);
  EXPECT_TRUE(VxErrorKeeper::getLastError()->isWarning());
  VxErrorKeeper::setLastErrorType(ErrorType(7));
  EXPECT_FALSE(VxErrorKeeper::getLastError()->isWarning());
}

TEST_F(MultipleErrorList, AppendedTextRestartsParameterNumbering) {
  addError(1, "A %s1.") << "x";
  VxErrorKeeper::appendTextToLastError(" B %s1.");
  *VxErrorKeeper::getLastError() << "y";
  EXPECT_EQ("A x. B y.", text(0));
}

TEST_F(MultipleErrorList, AppendCatalogTextToLastAndToPositionOrToTheDummyRecord) {
  EXPECT_TRUE(appendTextToLastError(2706).isDummyError());  // empty list
  EXPECT_TRUE(appendTextToErrorAtPos(2706, 0).isDummyError());
  addError(1, "one:");
  addError(2, "two:");
  char repeated[256], both[256];
  loadMessageText(2706, repeated, sizeof repeated);
  loadMessageText(2707, both, sizeof both);
  VxError& last = appendTextToLastError(2706);
  EXPECT_EQ(list->at(1), &last);
  EXPECT_EQ(std::string("two:") + repeated, text(1));
  VxError& first = appendTextToErrorAtPos(2707, 0);
  EXPECT_EQ(list->at(0), &first);
  EXPECT_EQ(std::string("one:") + both, text(0));
  EXPECT_TRUE(appendTextToErrorAtPos(2707, 2).isDummyError());
}

// --- Installing lists -------------------------------------------------------

TEST(ErrorKeeper, WithoutAListReportsAreDropped) {
  ASSERT_EQ(nullptr, VxErrorKeeper::getErrorList());
  VxError& e = addError(1509) << "x";
  EXPECT_EQ(&DummyError, &e);
  EXPECT_EQ(&DummyError, VxErrorKeeper::addError(nullptr));
  EXPECT_EQ(0, VxErrorKeeper::getLastErrorNumber());
  EXPECT_FALSE(VxErrorKeeper::isExistingError());
  EXPECT_EQ(nullptr, VxErrorKeeper::getOwnerOfList());
  VxErrorKeeper::addMemoryError();
  VxErrorKeeper::clearAllErrors();
  VxErrorKeeper::clearLastError();
  EXPECT_EQ(nullptr, VxErrorKeeper::getLastError());
}

TEST(ErrorKeeper, NestedListsRestoreTheOuterOneInTurn) {
  int outerOwner = 1, innerOwner = 2;
  VxErrorList outer(&outerOwner, VxErrorList::kSupportMultipleErrors);
  VxErrorList inner(&innerOwner, VxErrorList::kSupportMultipleErrors);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&outer));
  addError(1);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&inner));
  EXPECT_EQ(&outer, inner.getPreviousList());
  EXPECT_EQ(nullptr, outer.getPreviousList());
  EXPECT_EQ(&innerOwner, VxErrorKeeper::getOwnerOfList());
  addError(2);
  addError(3);
  EXPECT_EQ(&inner, VxErrorKeeper::giveUpErrorList());
  EXPECT_EQ(&outer, VxErrorKeeper::getErrorList());
  addError(4);
  EXPECT_EQ(&outer, VxErrorKeeper::giveUpErrorList());
  EXPECT_EQ(nullptr, VxErrorKeeper::getErrorList());
  EXPECT_EQ(nullptr, VxErrorKeeper::giveUpErrorList());
  ASSERT_EQ(2u, outer.getCount());
  EXPECT_EQ(1, outer.at(0)->getErrorNumber());
  EXPECT_EQ(4, outer.at(1)->getErrorNumber());
  ASSERT_EQ(2u, inner.getCount());
  EXPECT_EQ(2, inner.at(0)->getErrorNumber());
}

TEST(ErrorKeeper, GivingUpTheLastListReleasesTheThreadsRegistration) {
  VxErrorList l(nullptr);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&l));
  VxThreadInfo* info = getThreadInfo();
  ASSERT_NE(nullptr, info);
  EXPECT_EQ(&l, info->data[0]);
  VxErrorKeeper::giveUpErrorList();
  EXPECT_EQ(nullptr, getThreadInfo());
}

TEST(ErrorKeeper, ThreadInfoFormsUseThatThreadsSlot) {
  ASSERT_EQ(1, mdsPerThreadInit());
  VxThreadInfo* info = getThreadInfo();
  ASSERT_NE(nullptr, info);
  VxErrorList l(nullptr);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&l, info));
  EXPECT_EQ(&l, VxErrorKeeper::getErrorList());
  EXPECT_EQ(&l, VxErrorKeeper::giveUpErrorList(info));
  EXPECT_EQ(nullptr, VxErrorKeeper::getErrorList());
  EXPECT_EQ(info, getThreadInfo());  // nothing released
  mdsPerThreadTerm();
}

TEST(ErrorKeeper, EachThreadHasItsOwnCurrentList) {
  VxErrorList mine(nullptr, VxErrorList::kSupportMultipleErrors);
  ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&mine));
  VxErrorList theirs(nullptr, VxErrorList::kSupportMultipleErrors);
  bool otherSawNoList = false;
  bool otherDroppedReport = false;
  std::thread other([&] {
    otherSawNoList = VxErrorKeeper::getErrorList() == nullptr;
    otherDroppedReport = addError(1).isDummyError();
    VxErrorKeeper::setErrorList(&theirs);
    addError(2);
    VxErrorKeeper::giveUpErrorList();
  });
  other.join();
  addError(3);
  EXPECT_TRUE(otherSawNoList);
  EXPECT_TRUE(otherDroppedReport);
  ASSERT_EQ(1u, theirs.getCount());
  EXPECT_EQ(2, theirs.at(0)->getErrorNumber());
  ASSERT_EQ(1u, mine.getCount());
  EXPECT_EQ(3, mine.at(0)->getErrorNumber());
  VxErrorKeeper::giveUpErrorList();
}

}  // namespace
