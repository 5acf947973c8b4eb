#include "foundation/vxtrace.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

// Runs the probe program with VX_DEBUGGING set to value (unset when null)
// and returns its output.
std::string probe(const char* value) {
  std::string command = value != nullptr ? std::string("VX_DEBUGGING='") + value + "' "
                                         : std::string("env -u VX_DEBUGGING ");
  command += VX_TRACE_PROBE;
  FILE* p = popen(command.c_str(), "r");
  if (p == nullptr) return "popen failed";
  std::string out;
  char line[256];
  while (fgets(line, sizeof line, p)) out += line;
  EXPECT_EQ(0, pclose(p));
  return out;
}

// The value is read as hexadecimal (so 101 turns on bits 1 and 100),
// parsing stops at the first non-hex character, nothing parsed or an unset
// variable leaves the mask zero, and debug items test only the low 32 bits.
TEST(RunTimeDebug, ValueIsReadAsHexadecimalUpToTheFirstNonHexCharacter) {
  struct Case {
    const char* value;
    const char* expected;
  } cases[] = {
      {"101", "mask=101 low32=101 file=1 exists=100 locate=0\nafter=101\n"},
      {"zz", "mask=0 low32=0 file=0 exists=0 locate=0\nafter=0\n"},
      {nullptr, "mask=0 low32=0 file=0 exists=0 locate=0\nafter=0\n"},
      {"3zz", "mask=3 low32=3 file=1 exists=0 locate=2\nafter=3\n"},
      {"0xff", "mask=ff low32=ff file=1 exists=0 locate=2\nafter=ff\n"},
      {"100000002", "mask=100000002 low32=2 file=0 exists=0 locate=2\nafter=100000002\n"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(c.expected, probe(c.value)) << (c.value != nullptr ? c.value : "unset");
}

TEST(RunTimeDebug, MaskOfThisProcessWasReadAtLoad) {
  // The test program itself loaded the library with whatever the
  // environment held; setting the variable now cannot change the mask.
  uint64_t before = BOS_RUNTIME_DEBUG.getDebugMask();
  setenv("VX_DEBUGGING", "ffff", 1);
  EXPECT_EQ(before, BOS_RUNTIME_DEBUG.getDebugMask());
  unsetenv("VX_DEBUGGING");
}

}  // namespace
