// A scratch directory for tests that run vxtool as a child process: made
// fresh for each test and removed with everything in it afterwards.
#ifndef VX_TESTS_TOOL_SCRATCH_H_
#define VX_TESTS_TOOL_SCRATCH_H_

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace vxtest {

// What one run of vxtool left: its exit status (-1 when it did not exit
// normally), its standard output and its standard error.
struct ToolRun {
  int status;
  std::string out, err;
};

class ToolScratch : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_tool_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
  }
  void TearDown() override { EXPECT_EQ(0, system(("rm -rf '" + dir + "'").c_str())); }

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(dir + "/" + name, std::ios::binary) << text;
  }
  std::string read(const std::string& name) const {
    std::ifstream in(dir + "/" + name, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  // Runs "cd DIR && PREFIX vxtool ARGS" (shell words in both) with input
  // on standard input; the streams also stay in DIR as "in", "out", "err".
  ToolRun tool(const std::string& args, const std::string& input = "", const std::string& prefix = "") const {
    write("in", input);
    int status = system(("cd '" + dir + "' && " + prefix + " '" VX_TOOL "' " + args + " <in >out 2>err").c_str());
    return ToolRun{WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("out"), read("err")};
  }

  std::string dir;
};

}  // namespace vxtest

#endif  // VX_TESTS_TOOL_SCRATCH_H_
