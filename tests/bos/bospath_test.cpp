// The working directory and path building.
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

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

TEST_F(Paths, FullPathPrefixesRelativeNamesOnly) {
  PathBuffer relative("a/b.txt");
  EXPECT_EQ(0, bosfpath(relative));
  EXPECT_EQ(real + "/a/b.txt", relative.str());
  PathBuffer absolute("/etc/x");
  EXPECT_EQ(0, bosfpath(absolute));
  EXPECT_EQ("/etc/x", absolute.str());
}

TEST_F(Paths, FullPathThatWouldNotFitFails1524) {
  PathBuffer name(std::string(BOS_MAX_PATH - 2, 'n'));
  EXPECT_EQ(1, bosfpath(name));
  EXPECT_EQ(1524, lastError());
  EXPECT_EQ(std::string(BOS_MAX_PATH - 2, 'n'), name.str());
}

TEST_F(Paths, HomePathPrefersHomeThenVxThenTheWorkingDirectory) {
  setEnv("HOME", "/home/someone");
  setEnv("VX", "/opt/vx");
  PathBuffer a("f.ini");
  EXPECT_EQ(0, boshpath(a));
  EXPECT_EQ("/home/someone/f.ini", a.str());
  unsetEnv("HOME");
  PathBuffer b("f.ini");
  EXPECT_EQ(0, boshpath(b));
  EXPECT_EQ("/opt/vx/f.ini", b.str());
  unsetEnv("VX");
  PathBuffer c("f.ini");
  EXPECT_EQ(0, boshpath(c));
  EXPECT_EQ(real + "/f.ini", c.str());
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

TEST_F(Paths, BuildPathAddsDirectoryAndDefaultExtension) {
  PathBuffer out;
  EXPECT_EQ(0, bospath(out, "/data", "report", "txt"));
  EXPECT_EQ("/data/report.txt", out.str());
  EXPECT_EQ(0, bospath(out, "/data/", "report.csv", "txt"));
  EXPECT_EQ("/data/report.csv", out.str());
  EXPECT_EQ(0, bospath(out, "/data", "sub/report", "txt"));
  EXPECT_EQ(real + "/sub/report.txt", out.str()) << "a name with a directory keeps it";
  EXPECT_EQ(0, bospath(out, "/d.ir", "plain", nullptr));
  EXPECT_EQ("/d.ir/plain", out.str());
  EXPECT_EQ(0, bospath(out, nullptr, "local", ""));
  EXPECT_EQ(real + "/local", out.str());
}

TEST_F(Paths, BuildPathTrimsWhiteSpaceAndOneTrailingDot) {
  PathBuffer out;
  EXPECT_EQ(0, bospath(out, "/d", "name.  \t", "ext"));
  EXPECT_EQ("/d/name.ext", out.str());
  EXPECT_EQ(0, bospath(out, "/d", "up..", "ext"));
  EXPECT_EQ("/d/up..", out.str()) << "two dots stay";
  EXPECT_EQ(0, bospath(out, "/d", "a.b.", "ext"));
  EXPECT_EQ("/d/a.b", out.str());
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
