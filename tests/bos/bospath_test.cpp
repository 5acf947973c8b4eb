// The working directory and path building.
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bosfile_test_support.h"

namespace {

class Paths : public FileLayerTest {
 protected:
  void SetUp() override {
    FileLayerTest::SetUp();
    ASSERT_EQ(0, chdir(dir.c_str()));
    char cwd[BOS_MAX_PATH];
    ASSERT_NE(nullptr, getcwd(cwd, sizeof cwd));
    real = cwd;  // the scratch directory as the system spells it
  }
  std::string real;
};

TEST_F(Paths, WorkingDirectoryWithAndWithoutSlash) {
  PathBuffer buffer;
  EXPECT_EQ(0, bosgtcwd(buffer, 0));
  EXPECT_EQ(real, buffer.str());
  EXPECT_EQ(0, bosgtcwd(buffer, 1));
  EXPECT_EQ(real + "/", buffer.str());
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ(0, bosgtcwd(buffer, 1));
  EXPECT_EQ("/", buffer.str()) << "no second slash";
}

TEST_F(Paths, WorkingDirectoryIsEmptyWhenItIsGone) {
  std::string sub = makeDir("vanishing");
  ASSERT_EQ(0, chdir(sub.c_str()));
  ASSERT_EQ(0, rmdir(sub.c_str()));
  PathBuffer buffer("junk");
  EXPECT_EQ(1, bosgtcwd(buffer, 1));
  EXPECT_EQ("", buffer.str());
}

TEST_F(Paths, ChangeDirectoryAndItsFailure) {
  makeDir("sub");
  EXPECT_EQ(0, bosstcwd("sub"));
  PathBuffer buffer;
  bosgtcwd(buffer, 0);
  EXPECT_EQ(real + "/sub", buffer.str());
  EXPECT_EQ(1, bosstcwd("no/such/dir"));
  EXPECT_EQ(1504, lastError());
}

TEST_F(Paths, FullPathPrefixesRelativeNamesOnlyAndFails1524WhenTooLong) {
  PathBuffer relative("a/b.txt");
  EXPECT_EQ(0, bosfpath(relative));
  EXPECT_EQ(real + "/a/b.txt", relative.str());
  PathBuffer absolute("/etc/x");
  EXPECT_EQ(0, bosfpath(absolute));
  EXPECT_EQ("/etc/x", absolute.str());
  PathBuffer name(std::string(BOS_MAX_PATH - 2, 'n'));
  EXPECT_EQ(1, bosfpath(name));
  EXPECT_EQ(1524, lastError());
  EXPECT_EQ(std::string(BOS_MAX_PATH - 2, 'n'), name.str());
}

TEST_F(Paths, HomePathPrefersHomeThenVxThenTheWorkingDirectory) {
  setEnv("HOME", "/home/someone");
  setEnv("VX", "/opt/vx");
  const std::vector<std::string> expectedNames = {"/home/someone/f.ini", "/opt/vx/f.ini", real + "/f.ini"};
  for (const std::string& expected : expectedNames) {
    PathBuffer name("f.ini");
    EXPECT_EQ(0, boshpath(name));
    EXPECT_EQ(expected, name.str());
    unsetEnv(getenv("HOME") ? "HOME" : "VX");
  }
}

TEST_F(Paths, RelativeToWorkingDirectoryStripsTheSharedPart) {
  makeDir("x");
  ASSERT_EQ(0, chdir("x"));
  PathBuffer inside(real + "/x/a/b.txt");
  EXPECT_EQ(0, bosmpath(inside));
  EXPECT_EQ("a/b.txt", inside.str());
  PathBuffer sibling(real + "/y/c.txt");
  EXPECT_EQ(0, bosmpath(sibling));
  EXPECT_EQ("y/c.txt", sibling.str()) << "only the leading directories they share go";
  PathBuffer itself(real + "/x");
  EXPECT_EQ(0, bosmpath(itself));
  EXPECT_EQ("x", itself.str());
  PathBuffer unrelated("relative/name");
  EXPECT_EQ(0, bosmpath(unrelated));
  EXPECT_EQ("relative/name", unrelated.str());
  PathBuffer almost(real + "/xy/z");
  EXPECT_EQ(0, bosmpath(almost));
  EXPECT_EQ("xy/z", almost.str()) << "a cut ends at a slash";
}

// The directory and the default extension are added; white space and one
// trailing dot are cut from the name.
TEST_F(Paths, BuildPathAddsDirectoryAndDefaultExtension) {
  const struct {
    const char *dir, *name, *ext;
    std::string expected;
  } cases[] = {
      {"/data", "report", "txt", "/data/report.txt"},
      {"/data/", "report.csv", "txt", "/data/report.csv"},
      {"/data", "sub/report", "txt", real + "/sub/report.txt"},  // a name with a directory keeps it
      {"/d.ir", "plain", nullptr, "/d.ir/plain"},
      {nullptr, "local", "", real + "/local"},
      {"/d", "name.  \t", "ext", "/d/name.ext"},
      {"/d", "up..", "ext", "/d/up.."},  // two dots stay
      {"/d", "a.b.", "ext", "/d/a.b"},
  };
  for (const auto& c : cases) {
    PathBuffer out;
    EXPECT_EQ(0, bospath(out, c.dir, c.name, c.ext)) << c.name;
    EXPECT_EQ(c.expected, out.str()) << c.name;
  }
}

TEST_F(Paths, ParseNameSplitsBaseAndExtensionAndCutsTheFilePart) {
  PathBuffer path("/dir/sub/report.final.txt");
  char base[129], ext[4];
  EXPECT_EQ(0, bosParseName(path, base, ext, 1));
  EXPECT_STREQ("report", base);
  EXPECT_STREQ("fin", ext) << "at most three characters after the first dot";
  EXPECT_EQ("/dir/sub/", path.str());
  PathBuffer bare("noext");
  EXPECT_EQ(0, bosParseName(bare, base, ext, 1));
  EXPECT_STREQ("noext", base);
  EXPECT_STREQ("", ext);
  EXPECT_EQ("", bare.str());
}

TEST_F(Paths, ParseNameCutsLongBasesAndReportsOnlyWhenAsked) {
  std::string longBase(200, 'b');
  char base[129], ext[4];
  PathBuffer quiet("/d/" + longBase + ".x");
  EXPECT_EQ(0, bosParseName(quiet, base, ext, 0));
  EXPECT_EQ(std::string(128, 'b'), base);
  EXPECT_STREQ("x", ext);
  EXPECT_EQ(0u, errors.list.getCount());
  PathBuffer loud("/d/" + longBase + ".x");
  EXPECT_EQ(1, bosParseName(loud, base, ext, 1));
  EXPECT_EQ(1524, lastError());
  EXPECT_EQ("/d/", loud.str());
  PathBuffer exact("/d/" + std::string(128, 'e'));
  EXPECT_EQ(0, bosParseName(exact, base, ext, 1));
}

TEST_F(Paths, AppendPathGrowsAColonTerminatedList) {
  char* list = appendPath(nullptr, "/a");
  ASSERT_NE(nullptr, list);
  EXPECT_STREQ("/a:", list);
  list = appendPath(list, "/b/c");
  ASSERT_NE(nullptr, list);
  EXPECT_STREQ("/a:/b/c:", list);
  list = appendPath(list, "");
  EXPECT_STREQ("/a:/b/c::", list);
  free(list);
}

}  // namespace
