// vxtool profile and installdir, and the trace lines of the INI cache.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tools/tool_runner.h"

namespace {

class VxtoolProfile : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_profile_tool_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    odbcIni = dir + "/odbc.ini";
    write(odbcIni, "[ODBC Data Sources]\nsales = Vx driver\n\n[sales]\nDriver = /opt/vx/lib/vxdrv.so\n"
                   "Server=db1\nPort=5000\n");
  }
  void TearDown() override { EXPECT_EQ(0, system(("rm -rf '" + dir + "'").c_str())); }

  static void write(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  }
  static std::string read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  // The environment of every run: HOME is the scratch directory and
  // odbc.ini is redirected to the sample.
  // Entries of `more` come last, so they win.
  std::vector<std::string> env(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> all = {"HOME=" + dir, "ODBCINI=" + odbcIni, "ODBC_INI=", "ODBCINST=",
                                    "ODBCINSTINI="};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  std::string dir;
  std::string odbcIni;
};

// Each row: the arguments of a get, extra environment, and what it prints.
TEST_F(VxtoolProfile, GetPrintsTheValueTheKeysOrTheDefault) {
  struct Case {
    std::vector<std::string> args;
    std::vector<std::string> env;
    const char* out;
  } cases[] = {
      {{"odbc.ini", "sales", "Driver"}, {}, "/opt/vx/lib/vxdrv.so\n"},
      {{"odbc.ini", "sales"}, {}, "Driver \nServer\nPort\n"},
      {{"--default", "none", "odbc.ini", "sales", "UID"}, {}, "none\n"},
      {{"--size", "5", "odbc.ini", "sales", "Driver"}, {}, "/opt\n"},
      {{"--default", "d", "odbc.ini", "sales", "Driver"}, {"ODBCINI=" + dir + "/missing.ini"}, "d\n"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = {"profile", "get"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    ToolResult r = runTool(args, "", env(c.env));
    EXPECT_EQ(0, r.status) << c.out;
    EXPECT_EQ(c.out, r.out);
  }
}

TEST_F(VxtoolProfile, SetThenDeleteChangeTheRedirectedFile) {
  EXPECT_EQ(0, runTool({"profile", "set", "odbc.ini", "sales", "UID", "alice"}, "", env()).status);
  EXPECT_EQ("alice\n", runTool({"profile", "get", "odbc.ini", "sales", "UID"}, "", env()).out);
  EXPECT_EQ(0, runTool({"profile", "set", "odbc.ini", "sales", "Port", "6000"}, "", env()).status);
  EXPECT_EQ(0, runTool({"profile", "delete", "odbc.ini", "sales", "Server"}, "", env()).status);
  EXPECT_EQ("[ODBC Data Sources]\nsales = Vx driver\n\n[sales]\nDriver = /opt/vx/lib/vxdrv.so\n"
            "Port=6000\nUID=alice\n",
            read(odbcIni));
  EXPECT_EQ(0, runTool({"profile", "delete", "odbc.ini", "sales"}, "", env()).status);
  EXPECT_EQ("[ODBC Data Sources]\nsales = Vx driver\n\n", read(odbcIni));
}

TEST_F(VxtoolProfile, SetOnAFileThatCannotBeOpenedReportsTheErrorAndExitsOne) {
  ToolResult r = runTool({"profile", "set", "odbc.ini", "sales", "UID", "x"}, "",
                         env({"ODBCINI=" + dir + "/missing.ini"}));
  EXPECT_EQ(1, r.status);
  EXPECT_EQ(0u, r.err.find("error 1509: "));
}

TEST_F(VxtoolProfile, WrongUsageExitsTwo) {
  EXPECT_EQ(2, runTool({"profile", "get", "odbc.ini"}, "", env()).status);
  EXPECT_EQ(2, runTool({"profile", "set", "odbc.ini", "s", "k"}, "", env()).status);
  EXPECT_EQ(2, runTool({"profile", "get", "--bogus", "x", "odbc.ini", "s"}, "", env()).status);
  EXPECT_EQ(2, runTool({"installdir", "extra"}, "", env()).status);
}

TEST_F(VxtoolProfile, InstallDirComesFromTheDataSourcesFile) {
  write(odbcIni, "[ODBC]\nInstallDir=/opt/vx/ \n");
  ToolResult r = runTool({"installdir"}, "", env());
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("/opt/vx\n", r.out);
}

TEST_F(VxtoolProfile, InstallDirFallsBackToTheInstalledDriversFile) {
  write(dir + "/inst.ini", "[ODBC]\nInstallDir=/usr/lib/vx\n");
  ToolResult r = runTool({"installdir"}, "", env({"ODBCINSTINI=" + dir + "/inst.ini"}));
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("/usr/lib/vx\n", r.out);
}

TEST_F(VxtoolProfile, LoadAndLookupTraceLines) {
  ToolResult r = runTool({"profile", "get", "odbc.ini", "sales", "Server"}, "",
                         env({"VX_DEBUGGING=a0"}));
  EXPECT_EQ(0, r.status);
  EXPECT_NE(std::string::npos, r.out.find("VxIniOpen: File:odbc.ini \n"));
  EXPECT_NE(std::string::npos, r.out.find("VxIniOpen: File:" + odbcIni + " FileSize 98\n"));
  EXPECT_NE(std::string::npos,
            r.out.find("GetProfileString: File:" + odbcIni + " Section:[sales] Entry:Server defaultStr:\n"));
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: Section [sales] found.\n"));
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: Entry Server found.\n"));
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: Value=db1\n"));
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: Return Len=3 returnBuf=db1\n"));
}

TEST_F(VxtoolProfile, MultiEntryTraceLines) {
  ToolResult r = runTool({"profile", "get", "odbc.ini", "sales"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_EQ(0, r.status);
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: Fecthing all entries for [sales]\n"));
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: Multi-Entry Output Requested.\n"));
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: Entry Port Len=4\n"));
  r = runTool({"profile", "get", "odbc.ini", "nosuch"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_NE(std::string::npos, r.out.find("GetProfileString: No data found.\n"));
  EXPECT_EQ(std::string::npos, r.out.find("VxIniOpen"));
}

TEST_F(VxtoolProfile, WriteTraceLines) {
  ToolResult r = runTool({"profile", "set", "odbc.ini", "sales", "Port", "1"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_EQ(0, r.status);
  EXPECT_NE(std::string::npos,
            r.out.find("PutProfileString: File:" + odbcIni + " Section:[sales] Entry:Port newStr:1\n"));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Section [sales] found.\n"));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Updating Entry Value with: Port=1\n"));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Updated FileCache: Len=95\n"));
  r = runTool({"profile", "set", "odbc.ini", "new", "k", "v"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Section missing adding it.\n|->k=v\n"));
  r = runTool({"profile", "set", "odbc.ini", "new", "j", "w"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Entry missing adding it.\n|->j=w\n"));
  r = runTool({"profile", "delete", "odbc.ini", "new", "j"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Deleting Entry: j\n"));
  r = runTool({"profile", "delete", "odbc.ini", "new"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_NE(std::string::npos, r.out.find("Entry:NULL\nNULL\n"));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Deleting section [new]\n"));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Updated FileCache:\n|->[ODBC Data Sources]\n"));
}

TEST_F(VxtoolProfile, WriteThatEmptiesTheFileTracesAnEmptyCache) {
  write(odbcIni, "[only]\nk=v\n");
  ToolResult r = runTool({"profile", "delete", "odbc.ini", "only"}, "", env({"VX_DEBUGGING=10"}));
  EXPECT_EQ(0, r.status);
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: Updated FileCache: Len=0\n"));
  EXPECT_NE(std::string::npos, r.out.find("PutProfileString: FileCache is empty.\n"));
  EXPECT_EQ("", read(odbcIni));
}

}  // namespace
