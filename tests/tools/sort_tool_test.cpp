// vxtool sort run through the shell: its output against GNU sort on the
// same records as lines, its statistics, and its failures.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "tool_scratch.h"

namespace {

// vxtool sort with its temporary files in the scratch directory's "tmp".
class SortTool : public vxtest::ToolScratch {
 protected:
  void SetUp() override {
    ToolScratch::SetUp();
    ASSERT_EQ(0, system(("mkdir '" + dir + "/tmp'").c_str()));
  }
  // The exit status; out and err receive the standard output and error.
  int sort(const std::string& args, const std::string& input, const std::string& prefix = "") {
    vxtest::ToolRun run = tool("sort " + args, input, prefix + " VX_TMPDIR='" + dir + "/tmp'");
    out = run.out, err = run.err;
    return run.status;
  }
  std::string out, err;
};

// Records of 16 bytes (an 8-letter key, a number, a line feed) sorted by
// vxtool with 2 buffers (so it merges many runs) and by GNU sort with
// LC_ALL=C on the key field: the keys come out the same, and the records
// as a whole are the same multiset.
TEST_F(SortTool, AgreesWithGnuSortAndReportsItsRuns) {
  std::mt19937 rng(99);
  std::string input;
  char line[17];
  for (int i = 0; i < 40000; ++i) {
    for (int k = 0; k < 8; ++k) line[k] = char('a' + rng() % 6);
    snprintf(line + 8, sizeof line - 8, "%07d\n", i);
    input.append(line, 16);
  }
  ASSERT_EQ(0, sort("--record-length 16 --key 0:8 --buffers 2 --stats", input)) << err;
  EXPECT_EQ("records: 40000\nruns written: 5\nbytes spilled: 640000\n", err);
  ASSERT_EQ(0, system(("cd " + dir + " && LC_ALL=C sort -k1.1,1.8 in | cut -c1-8 > gnu.keys && cut -c1-8 out > vx.keys && cmp -s gnu.keys vx.keys"
                       " && LC_ALL=C sort in > a && LC_ALL=C sort out > b && cmp -s a b").c_str()));
  ASSERT_EQ(0, sort("--record-length 16 --key 0:8:desc --key 8:7", input));
  ASSERT_EQ(0, system(("cd " + dir + " && LC_ALL=C sort -k1.1,1.8r -k1.9,1.15 in | cmp -s - out").c_str()));
  ASSERT_EQ(0, sort("--record-length 16 --key 0:1 --key 1:7 --start-key 1 --buffers 2", input));  // the first key ignored
  ASSERT_EQ(0, system(("cd " + dir + " && LC_ALL=C sort -s -k1.2,1.8 in | cut -c2-8 > g2 && cut -c2-8 out | cmp -s - g2").c_str()));
  EXPECT_EQ(0, system(("test -z \"$(ls -A " + dir + "/tmp)\"").c_str()));
}

// Failures: the input length, bad options, and a temporary file that
// cannot grow (a file-size limit): the sort's records on stderr, exit 1,
// no output, nothing left in the temporary directory.
TEST_F(SortTool, FailuresExitNonZeroWithAClearMessage) {
  EXPECT_EQ(1, sort("--record-length 4", "abcdef"));
  EXPECT_EQ("vxtool sort: the input length 6 is not a multiple of the record length 4\n", err);
  EXPECT_EQ("", out);
  for (const char* bad : {"", "--record-length 0", "--record-length 4 --key 2:3", "--record-length 4 --key 0:1:up",
                          "--record-length 4 --buffers 1", "--record-length x"}) {
    EXPECT_EQ(2, sort(bad, "")) << bad;
    EXPECT_NE(std::string::npos, err.find("usage:")) << bad;
  }
  std::string big(4 << 20, 'x');
  EXPECT_EQ(1, sort("--record-length 1024 --key 0:8 --buffers 2", big, "trap \"\" XFSZ; ulimit -f 200;"));
  EXPECT_NE(std::string::npos, err.find("error 2711: ")) << err;
  EXPECT_EQ("", out);
  EXPECT_EQ(0, system(("test -z \"$(ls -A " + dir + "/tmp)\"").c_str()));
}

}  // namespace
