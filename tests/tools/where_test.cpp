// vxtool where and vxtool locate, in a scratch directory with the
// environment cleared of every variable they read; their traces with
// VX_DEBUGGING set.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tools/tool_runner.h"

namespace {

class WhereAndLocate : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_where_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    home = dir + "/home";
    ASSERT_EQ(0, mkdir(home.c_str(), 0755));
  }
  void TearDown() override {
    std::string command = "rm -rf '" + dir + "'";
    EXPECT_EQ(0, system(command.c_str()));
  }

  void makeFile(const std::string& path) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT, 0644);
    ASSERT_GE(fd, 0) << path;
    close(fd);
  }

  // Runs vxtool with args; every variable the commands read is unset
  // unless `env` sets it ("NAME=value"). HOME is the scratch home unless
  // env says otherwise.
  ToolResult run(const std::vector<std::string>& args, std::vector<std::string> env = {}) {
    std::vector<std::string> all = {"HOME=" + home, "ODBCINI=",  "ODBC_INI=",  "ODBCINST=",
                                    "ODBCINSTINI=", "VXLIB_INI=", "VX_SYSTEM_INI=", "VX=",
                                    "VXLIB=",       "LD_LIBRARY_PATH=", "LD_RUN_PATH=",
                                    "PATH=",        "VX_DEBUGGING=", "VX_TMPDIR="};
    all.insert(all.end(), env.begin(), env.end());
    return runTool(args, "", all);
  }

  std::string dir, home;
};

TEST_F(WhereAndLocate, WherePrintsTheRedirectedPath) {
  makeFile(home + "/.odbc.ini");
  ToolResult r = run({"where", ".ODBC.INI"});
  EXPECT_EQ(1, r.status) << "the file system is case-sensitive";
  r = run({"where", ".odbc.ini"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(home + "/.odbc.ini\n", r.out);
  makeFile(dir + "/chosen.ini");
  r = run({"where", "odbc.ini"}, {"ODBC_INI=" + dir + "/chosen.ini"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(dir + "/chosen.ini\n", r.out);
  r = run({"where", ".vxlib.ini"}, {"VXLIB_INI=" + dir + "/lib.ini"});
  EXPECT_EQ(dir + "/lib.ini\n", r.out);
  r = run({"where", "other.ini"});
  EXPECT_EQ("other.ini\n", r.out);
}

TEST_F(WhereAndLocate, WhereFailsWhenOdbciniNamesAMissingFile) {
  makeFile(home + "/.odbc.ini");
  ToolResult r = run({"where", ".odbc.ini"}, {"ODBCINI=" + dir + "/missing.ini"});
  EXPECT_EQ(1, r.status);
  EXPECT_EQ("", r.out);
  EXPECT_EQ(0u, r.err.find("error 1509: ")) << r.err;
  EXPECT_EQ('\n', r.err.back());
}

TEST_F(WhereAndLocate, WhereUsage) {
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"where"}, {"where", "a", "b"}, {"where", ""}}) {
    ToolResult r = run(args);
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("where NAME"));
  }
}

TEST_F(WhereAndLocate, LocateSearchSetInDecimalOrHex) {
  ASSERT_EQ(0, mkdir((dir + "/lib").c_str(), 0755));
  ASSERT_EQ(0, mkdir((dir + "/lib/bin").c_str(), 0755));
  makeFile(dir + "/lib/x.so");
  makeFile(home + "/h.cfg");
  std::vector<std::string> env = {"LD_LIBRARY_PATH=" + dir + "/lib/bin"};
  ToolResult r = run({"locate", "-s", "8", "x.so"}, env);
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(dir + "/lib/bin/../x.so\n", r.out);
  EXPECT_EQ(dir + "/lib/bin/../x.so\n", run({"locate", "-s", "0x8", "x.so"}, env).out);
  EXPECT_EQ(1, run({"locate", "-s", "0x1", "x.so"}, env).status);
  EXPECT_EQ(home + "/h.cfg\n", run({"locate", "h.cfg"}).out) << "default set 0x1F has $HOME";
  EXPECT_EQ(1, run({"locate", "-s", "0x1D", "h.cfg"}).status);
  r = run({"locate", "nowhere.cfg"});
  EXPECT_EQ(1, r.status);
  EXPECT_EQ("", r.out);
}

TEST_F(WhereAndLocate, LocateUsage) {
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {"locate"}, {"locate", "-s", "x"}, {"locate", "-s", "0x10000", "n"},
           {"locate", "-s", "-1", "n"}, {"locate", "-s", "12z", "n"}, {"locate", "a", "b"}}) {
    ToolResult r = run(args);
    EXPECT_EQ(2, r.status) << args.back();
    EXPECT_NE(std::string::npos, r.err.find("locate [-s SET] NAME"));
  }
}

TEST_F(WhereAndLocate, WhereTracesOpeningWithBit1) {
  ToolResult r = run({"where", ".vxlib.ini"},
                     {"VX_DEBUGGING=1", "VXLIB_INI=" + dir + "/v.ini"});
  EXPECT_EQ("bosfopen - File:.vxlib.ini\n"
            "bosfopen: Replacing " + home + "/.vxlib.ini with " + dir + "/v.ini\n" +
                dir + "/v.ini\n",
            r.out);
}

TEST_F(WhereAndLocate, WhereTracesTheExistenceTestWithBit100) {
  ToolResult r = run({"where", ".system.defaults"},
                     {"VX_DEBUGGING=100", "VX_SYSTEM_INI=" + dir + "/s.ini"});
  EXPECT_EQ("bosexist: Name=" + home + "/.system.defaults  exists: 0\n" + dir + "/s.ini\n", r.out);
  makeFile(home + "/.system.defaults");
  r = run({"where", ".system.defaults"}, {"VX_DEBUGGING=101", "VX_SYSTEM_INI=" + dir + "/s.ini"});
  EXPECT_EQ("bosfopen - File:.system.defaults\n"
            "bosfopen: Replacing " + home + "/.system.defaults bosexist: Name=" + home +
                "/.system.defaults  exists: 1\nwith " + home + "/.system.defaults\n" + home +
                "/.system.defaults\n",
            r.out);
}

TEST_F(WhereAndLocate, LocateTracesEveryCandidateWithBit2) {
  ASSERT_EQ(0, mkdir((dir + "/a").c_str(), 0755));
  ASSERT_EQ(0, mkdir((dir + "/b").c_str(), 0755));
  makeFile(dir + "/b/vx-locate-probe.cfg");
  ToolResult r = run({"locate", "-s", "9", "vx-locate-probe.cfg"},
                     {"VX_DEBUGGING=2", "LD_LIBRARY_PATH=" + dir + "/a/", "PATH=" + dir + "/b"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("LocateFile: " + dir + "/a/vx-locate-probe.cfg\n" +
                "LocateFile: " + dir + "/a/../vx-locate-probe.cfg\n" +
                "LocateFile: /usr/local/lib/vx-locate-probe.cfg\n" +
                "LocateFile: /usr/local/lib/../vx-locate-probe.cfg\n" +
                "LocateFile: " + dir + "/b/vx-locate-probe.cfg\n" + dir + "/b/vx-locate-probe.cfg\n",
            r.out);
  EXPECT_EQ(dir + "/b/vx-locate-probe.cfg\n", run({"locate", "-s", "1", "vx-locate-probe.cfg"},
                                    {"VX_DEBUGGING=FD", "PATH=" + dir + "/b"}).out);
}

}  // namespace
