// ToolErrorList, the error list of one vxtool command, tested directly:
// how it installs, nests, prints and fails.
#include "tools/vxtool/tool_errors.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// What print() writes, after the number of lines it reports.
std::string printed(ToolErrorList& errors) {
  char* text = nullptr;
  size_t size = 0;
  FILE* f = open_memstream(&text, &size);
  int lines = errors.print(f);
  fclose(f);
  std::string out = std::to_string(lines) + ":" + std::string(text, size);
  free(text);
  return out;
}

TEST(ToolErrorList, InstallsNestsPrintsAndClears) {
  ASSERT_EQ(nullptr, VxErrorKeeper::getErrorList());
  {
    ToolErrorList errors;
    EXPECT_EQ(&errors.list(), VxErrorKeeper::getErrorList());
    {
      ToolErrorList inner;
      addError(1509);
      addError(1503);
      EXPECT_EQ(2u, inner.list().getCount());  // keeps every report
    }
    EXPECT_EQ(&errors.list(), VxErrorKeeper::getErrorList());
    EXPECT_EQ("0:", printed(errors));
    addError(2701, "The number %s1 is out of range.") << "99999999999999999999";
    addWarning(2735);
    EXPECT_EQ("2:error 2701: The number 99999999999999999999 is out of range.\n"
              "warning 2735: String data, right truncated.\n", printed(errors));
    EXPECT_EQ("0:", printed(errors));
    addError(2708);
    VxErrorKeeper::addMemoryError();
    EXPECT_EQ("2:error 2708: Invalid hexadecimal digit.\nerror 30190: Out Of Memory\n", printed(errors));
    EXPECT_FALSE(errors.list().isOutOfMemory());
    addError(2708);
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, errors.fail());
    EXPECT_EQ("error 2708: Invalid hexadecimal digit.\n", testing::internal::GetCapturedStderr());
  }
  EXPECT_EQ(nullptr, VxErrorKeeper::getErrorList());
}

}  // namespace
