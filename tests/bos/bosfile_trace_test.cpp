// The trace lines of the file layer, captured from a child process that
// loaded the library with "VX_DEBUGGING" set.
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "bosfile_test_support.h"

namespace {

class Tracing : public FileLayerTest {
 protected:
  // Runs the probe with args and VX_DEBUGGING set to mask; its standard
  // output. The test's environment (already cleared of the file layer's
  // variables) is inherited.
  std::string probe(const char* mask, const std::vector<std::string>& args) {
    int out[2];
    if (pipe(out) != 0) return "pipe failed";
    fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) {
      dup2(out[1], 1);
      close(out[0]);
      close(out[1]);
      setenv("VX_DEBUGGING", mask, 1);
      std::vector<char*> argv{const_cast<char*>(VX_BOSFILE_PROBE)};
      for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
      argv.push_back(nullptr);
      execv(VX_BOSFILE_PROBE, argv.data());
      _exit(127);
    }
    close(out[1]);
    std::string text;
    char buffer[4096];
    ssize_t n;
    while ((n = read(out[0], buffer, sizeof buffer)) > 0) text.append(buffer, size_t(n));
    close(out[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << text;
    return text;
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
