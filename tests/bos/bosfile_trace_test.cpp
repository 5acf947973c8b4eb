// The trace lines of the file layer, captured from a child process that
// loaded the library with "VX_DEBUGGING" set.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "bos/probe_support.h"
#include "bosfile_test_support.h"

namespace {

class Tracing : public FileLayerTest {
 protected:
  // What the file-layer probe prints for args with VX_DEBUGGING set to
  // mask; the test's environment is inherited.
  std::string probe(const char* mask, const std::vector<std::string>& args) {
    return runProbe({std::string("VX_DEBUGGING=") + mask}, args, VX_BOSFILE_PROBE);
  }
};

TEST_F(Tracing, PathBuildingTracesBit400) {
  EXPECT_EQ(
      "BOSPATH: dir:/d name:report default_ext:txt\n"
      "bospath: after bosfpath path:/d/report.txt\n"
      "=/d/report.txt\n",
      probe("400", {"path", "/d", "report", "txt"}));
  EXPECT_EQ("=/d/report.txt\n", probe("3FB", {"path", "/d", "report", "txt"}));
}

TEST_F(Tracing, FileSearchTracesBit200) {
  makeFile("b.ini");
  makeFile("a.ini");
  std::string pattern = dir + "/*.ini";
  EXPECT_EQ("bosFindFiles: Search for " + pattern + "\n" +
                "bosFindFiles: returns fileName=" + at("a.ini") + "\n=" + at("a.ini") + "\n" +
                "bosFindFiles: returns fileName=" + at("b.ini") + "\n=" + at("b.ini") + "\n",
            probe("200", {"find", pattern}));
  EXPECT_EQ("=" + at("a.ini") + "\n=" + at("b.ini") + "\n", probe("5FF", {"find", pattern}));
}

TEST_F(Tracing, ExistenceTestTracesBit100) {
  std::string path = makeFile("e.txt");
  EXPECT_EQ("bosexist: Name=" + path + "  exists: 1\n=1\n", probe("100", {"exist", path}));
  EXPECT_EQ("bosexist: Name=" + dir + "  exists: 0\n=0\n", probe("100", {"exist", dir}));
  EXPECT_EQ("=1\n", probe("FF", {"exist", path}));
}

TEST_F(Tracing, OpeningTracesBit1WithTheRedirection) {
  std::string home = makeDir("home");
  makeFile("home/.odbc.ini");
  setEnv("HOME", home);
  EXPECT_EQ("bosfopen - File:.odbc.ini\n"
            "bosfopen: Replacing " + home + "/.odbc.ini with " + home + "/.odbc.ini\n"
            "=0 " + home + "/.odbc.ini\n",
            probe("1", {"open", ".odbc.ini", "300"}));
  setEnv("ODBCINI", at("elsewhere.ini"));
  EXPECT_EQ("bosfopen - File:odbc.ini\n"
            "bosfopen: Replacing " + home + "/odbc.ini with " + at("elsewhere.ini") + "\n"
            "=1 odbc.ini\n",
            probe("1", {"open", "odbc.ini", "300"}));
  EXPECT_EQ("bosfopen - File:plain\n=0 plain\n", probe("1", {"open", "plain", "100"}));
  unsetEnv("ODBCINI");
  EXPECT_EQ("=0 " + home + "/.odbc.ini\n", probe("FFFE", {"open", ".odbc.ini", "300"}));
}

TEST_F(Tracing, TemporaryOpenTracesItsName) {
  setEnv("VX_TMPDIR", dir);
  std::string out = probe("1", {"open", "x", "40"});
  std::smatch m;
  std::string quoted = std::regex_replace(dir, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
  ASSERT_TRUE(std::regex_match(out, m,
                               std::regex("bosfopen - File:x\nbosfopen: Temp File (" + quoted +
                                          "/vx[^ ]*) =0 (.*)\n")))
      << out;
  EXPECT_EQ(m[1].str(), m[2].str());
}

}  // namespace
