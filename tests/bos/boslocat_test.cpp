// Locating a file along the directories of a search set.
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "bosfile_test_support.h"

namespace {

class Locate : public FileLayerTest {
 protected:
  // What bosLocateFile finds for name with set, or "NONE".
  std::string locate(const std::string& name, uint16_t set) {
    PathBuffer out("junk");
    if (bosLocateFile(out, name.c_str(), set) != 0) {
      EXPECT_EQ("", out.str()) << "out is cleared";
      return "NONE";
    }
    return out.str();
  }
};

TEST_F(Locate, NameThatExistsIsFoundAsGiven) {
  std::string path = makeFile("here.txt");
  EXPECT_EQ(path, locate(path, 0));
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ("here.txt", locate("here.txt", 0));
}

TEST_F(Locate, EveryBitSearchesItsDirectories) {
  for (const char* sub : {"cwd", "home", "vx", "vxlib", "ldlib", "ldrun", "path1", "path2"}) {
    makeDir(sub);
  }
  ASSERT_EQ(0, chdir("/"));
  setEnv("HOME", at("home"));
  setEnv("VX", at("vx"));
  setEnv("VXLIB", at("vxlib"));
  setEnv("LD_LIBRARY_PATH", at("ldlib"));
  setEnv("LD_RUN_PATH", at("ldrun"));
  setEnv("PATH", at("path1") + ":" + at("path2"));

  makeFile("home/h.txt");
  EXPECT_EQ(at("home") + "/h.txt", locate("h.txt", BOS_SEARCH_HOME));
  EXPECT_EQ("NONE", locate("h.txt", BOS_SEARCH_VX | BOS_SEARCH_LIBRARY | BOS_SEARCH_PATH));

  makeFile("vxlib/v.txt");
  EXPECT_EQ(at("vxlib") + "/v.txt", locate("v.txt", BOS_SEARCH_VX));
  EXPECT_EQ("NONE", locate("v.txt", BOS_SEARCH_HOME));

  makeFile("ldrun/l.txt");
  EXPECT_EQ(at("ldrun") + "/l.txt", locate("l.txt", BOS_SEARCH_LIBRARY));
  EXPECT_EQ("NONE", locate("l.txt", BOS_SEARCH_PATH));

  makeFile("path2/p.txt");
  EXPECT_EQ(at("path2") + "/p.txt", locate("p.txt", BOS_SEARCH_PATH));
  EXPECT_EQ("NONE", locate("p.txt", BOS_SEARCH_HOME | BOS_SEARCH_VX));

  ASSERT_EQ(0, chdir(at("cwd").c_str()));
  makeFile("cwd/c.txt");
  EXPECT_EQ("c.txt", locate("c.txt", 0)) << "found as given, relative";
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ("NONE", locate("c.txt", BOS_SEARCH_HOME | BOS_SEARCH_PATH));
}

TEST_F(Locate, DirectoriesAreTriedInTheFixedOrderWhateverTheBits) {
  for (const char* sub : {"home", "vx", "ldlib", "path"}) {
    makeDir(sub);
    makeFile(std::string(sub) + "/f.txt");
  }
  setEnv("HOME", at("home"));
  setEnv("VX", at("vx"));
  setEnv("LD_LIBRARY_PATH", at("ldlib"));
  setEnv("PATH", at("path"));
  ASSERT_EQ(0, chdir("/"));
  makeFile("path/g.txt");
  makeFile("home/g.txt");
  EXPECT_EQ(at("home") + "/g.txt", locate("g.txt", BOS_SEARCH_PATH | BOS_SEARCH_HOME));
  ASSERT_EQ(0, unlink(at("home/g.txt").c_str()));
  EXPECT_EQ(at("path") + "/g.txt", locate("g.txt", BOS_SEARCH_PATH | BOS_SEARCH_HOME));
  EXPECT_EQ(at("home") + "/f.txt", locate("f.txt", 0x1F));
  EXPECT_EQ(at("vx") + "/f.txt", locate("f.txt", BOS_SEARCH_PATH | BOS_SEARCH_LIBRARY | BOS_SEARCH_VX));
  EXPECT_EQ(at("ldlib") + "/f.txt", locate("f.txt", BOS_SEARCH_PATH | BOS_SEARCH_LIBRARY));
}

TEST_F(Locate, LibraryBitRetriesTheParentOfEachElement) {
  makeDir("lib");
  makeDir("lib/bin");
  makeFile("lib/x.so");
  setEnv("LD_LIBRARY_PATH", at("lib/bin"));
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ(at("lib/bin") + "/../x.so", locate("x.so", BOS_SEARCH_LIBRARY));
  setEnv("PATH", at("lib/bin"));
  EXPECT_EQ("NONE", locate("x.so", BOS_SEARCH_PATH)) << "no parent retry without 0x8";
  EXPECT_EQ(at("lib/bin") + "/../x.so", locate("x.so", BOS_SEARCH_PATH | BOS_SEARCH_LIBRARY))
      << "with 0x8 every element gets the retry";
}

TEST_F(Locate, ElementsWithTrailingSlashOrEmptyAreUsedAndOnlyRegularFilesCount) {
  makeDir("a");
  makeFile("a/t.txt");
  makeDir("a/sub");
  setEnv("PATH", "::" + at("a") + "/:");
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ(at("a") + "/t.txt", locate("t.txt", BOS_SEARCH_PATH));
  EXPECT_EQ("NONE", locate("sub", BOS_SEARCH_PATH));
}

TEST_F(Locate, UnsetVariablesAreSkippedAndNullOutIsAllowed) {
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ("NONE", locate("surely-not-here.vx", 0x1E));
  makeDir("q");
  makeFile("q/n.txt");
  setEnv("PATH", at("q"));
  EXPECT_EQ(0, bosLocateFile(nullptr, "n.txt", BOS_SEARCH_PATH));
  EXPECT_EQ(1, bosLocateFile(nullptr, "m.txt", BOS_SEARCH_PATH));
}

}  // namespace
