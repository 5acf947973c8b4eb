#include "tools/vxtool/tool_errors.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "foundation/msgtext_internal.h"

namespace {

// The catalog text of a message number, as records carry it.
std::string catalogText(uint16_t number) {
  char buffer[1024];
  loadMessageText(number, buffer, sizeof buffer);
  return buffer;
}

// What print() writes, read back from a temporary file.
std::string printed(ToolErrorList& errors, int* lines) {
  FILE* f = tmpfile();
  if (f == nullptr) return "tmpfile failed";
  *lines = errors.print(f);
  rewind(f);
  std::string out;
  char buffer[256];
  while (fgets(buffer, sizeof buffer, f)) out += buffer;
  fclose(f);
  return out;
}

TEST(ToolErrorList, InstallsAListThatKeepsEveryReportForItsLifetime) {
  ASSERT_EQ(nullptr, VxErrorKeeper::getErrorList());
  {
    ToolErrorList errors;
    EXPECT_EQ(&errors.list(), VxErrorKeeper::getErrorList());
    addError(1509);
    addError(1503);
    EXPECT_EQ(2u, errors.list().getCount());
  }
  EXPECT_EQ(nullptr, VxErrorKeeper::getErrorList());
}

TEST(ToolErrorList, PrintsEachRecordAsNumberAndTextThenClears) {
  ToolErrorList errors;
  addError(2701, "The number %s1 is out of range.") << "99999999999999999999";
  addWarning(2735);
  int lines = 0;
  EXPECT_EQ("error 2701: The number 99999999999999999999 is out of range.\nwarning 2735: " +
                catalogText(2735) + "\n",
            printed(errors, &lines));
  EXPECT_EQ(2, lines);
  EXPECT_EQ(0u, errors.list().getCount());
  EXPECT_EQ("", printed(errors, &lines));
  EXPECT_EQ(0, lines);
}

TEST(ToolErrorList, PrintsTheMemoryRecordAfterRunningOutOfMemory) {
  ToolErrorList errors;
  addError(2708);
  VxErrorKeeper::addMemoryError();
  int lines = 0;
  EXPECT_EQ("error 2708: " + catalogText(2708) + "\nerror 30190: Out Of Memory\n",
            printed(errors, &lines));
  EXPECT_FALSE(errors.list().isOutOfMemory());
}

TEST(ToolErrorList, NestedListsGiveTheOuterOneBack) {
  ToolErrorList outer;
  {
    ToolErrorList inner;
    addError(1);
    EXPECT_EQ(1u, inner.list().getCount());
  }
  EXPECT_EQ(&outer.list(), VxErrorKeeper::getErrorList());
  EXPECT_EQ(0u, outer.list().getCount());
}

TEST(ToolErrorList, FailPrintsOnStandardErrorAndGivesExitStatusOne) {
  ToolErrorList errors;
  addError(2708);
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, errors.fail());
  EXPECT_EQ("error 2708: " + catalogText(2708) + "\n", testing::internal::GetCapturedStderr());
}

}  // namespace
