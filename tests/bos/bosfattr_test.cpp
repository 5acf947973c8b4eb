// Attributes, existence, removal, renaming, dates and sizes, and the
// writable-directory probe.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "bosfile_test_support.h"

namespace {

using FileAttributes = FileLayerTest;

TEST_F(FileAttributes, WriteBitIsTheOwnersForTheOwner) {
  // The caller owns the file: only the owner's bit counts.
  std::string path = makeFile("o.txt");
  ASSERT_EQ(0, chmod(path.c_str(), 0466));
  EXPECT_EQ(5, bosfattr(path.c_str()));
  ASSERT_EQ(0, chmod(path.c_str(), 0200));
  EXPECT_EQ(1, bosfattr(path.c_str()));
}

TEST_F(FileAttributes, WriteBitIsTheGroupsThenTheOthers) {
  // Giving a file away takes the right to change its owner.
  std::string path = makeFile("g.txt");
  if (chown(path.c_str(), getuid() + 1000, getgid()) != 0) GTEST_SKIP() << "cannot change owner";
  ASSERT_EQ(0, chmod(path.c_str(), 0646));
  EXPECT_EQ(5, bosfattr(path.c_str())) << "group owns it: its bit decides";
  ASSERT_EQ(0, chmod(path.c_str(), 0464));
  EXPECT_EQ(1, bosfattr(path.c_str()));
  ASSERT_EQ(0, chown(path.c_str(), getuid() + 1000, getgid() + 1000));
  EXPECT_EQ(5, bosfattr(path.c_str())) << "neither: the others' bit decides";
  ASSERT_EQ(0, chmod(path.c_str(), 0442));
  EXPECT_EQ(1, bosfattr(path.c_str()));
}

// Codes: 1 writable file, 5 read-only file, 2 directory, 8 missing, 16
// other failure, 32 other kind; only regular files exist as files (-1:
// existence not asked).
TEST_F(FileAttributes, CodeAndExistenceOfEachKindOfName) {
  std::string readOnly = makeFile("r.txt");
  ASSERT_EQ(0, chmod(readOnly.c_str(), 0444));
  std::string fifo = at("fifo");
  ASSERT_EQ(0, mkfifo(fifo.c_str(), 0644));
  std::string file = makeFile("plain");
  const struct {
    std::string path;
    int code, exists;
  } cases[] = {{makeFile("w.txt"), 1, 1},    {readOnly, 5, 1},          {makeDir("d"), 2, 0},
               {at("none"), 8, 0},           {at("none/deeper"), 8, -1}, {file + "/below", 8, -1},
               {std::string(5000, 'n'), 16, -1}, {fifo, 32, 0},          {"/dev/null", 32, -1}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.code, bosfattr(c.path.c_str())) << c.path;
    if (c.exists >= 0) EXPECT_EQ(c.exists, bosexist(c.path.c_str())) << c.path;
  }
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ(2, bosfattr(".."));
}

TEST_F(FileAttributes, DeleteRemovesMissingCountsAsSuccessDirectoryFiles1502) {
  std::string path = makeFile("gone.txt");
  EXPECT_EQ(0, bosFileDelete(path.c_str()));
  EXPECT_EQ(8, bosfattr(path.c_str()));
  EXPECT_EQ(0, bosFileDelete(path.c_str()));
  EXPECT_EQ(0u, errors.list.getCount());
  EXPECT_EQ(1, bosFileDelete(makeDir("keep").c_str()));
  EXPECT_EQ(1502, lastError());
}

TEST_F(FileAttributes, DateSizeGivesModificationTimeAndSize) {
  std::string path = makeFile("sized.txt", "twelve bytes");
  struct stat info;
  ASSERT_EQ(0, stat(path.c_str(), &info));
  uint32_t time = 0;
  VXSIZE_T size = 0;
  EXPECT_EQ(0, bosFileDateSize(path.c_str(), &time, &size));
  EXPECT_EQ(uint32_t(info.st_mtime), time);
  EXPECT_EQ(12u, size);
  EXPECT_EQ(1, bosFileDateSize(at("none").c_str(), &time, &size));
  EXPECT_EQ(0u, errors.list.getCount());
}

TEST_F(FileAttributes, RenameMovesTheFileButNotOntoAnExistingName) {
  std::string from = makeFile("a.txt", "moved");
  std::string to = at("b.txt");
  EXPECT_EQ(0, bosrname(from.c_str(), to.c_str()));
  EXPECT_EQ(8, bosfattr(from.c_str()));
  EXPECT_EQ(1, bosfattr(to.c_str()));
  makeFile("a.txt");
  EXPECT_EQ(1, bosrname(from.c_str(), to.c_str()));
  ASSERT_NE(nullptr, errors.list.getLastError());
  EXPECT_EQ(30042, lastError());
  EXPECT_EQ(1, bosexist(from.c_str()));
}

TEST_F(FileAttributes, WritableDirectoryProbeLeavesNothingBehind) {
  std::string sub = makeDir("probe");
  EXPECT_EQ(1, bosftest((sub + "/anything.dat").c_str()));
  EXPECT_EQ(1, bosftest((sub + "/").c_str()));
  EXPECT_EQ(8, bosfattr((sub + "/$$$vx$$$.$vx").c_str()));
  EXPECT_EQ(0, bosftest(at("missing/file.dat").c_str()));
}

TEST_F(FileAttributes, ProbeUsesTheWorkingDirectoryAndFailsWhenItsNameIsTaken) {
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ(1, bosftest("file.dat"));
  EXPECT_EQ(8, bosfattr("$$$vx$$$.$vx"));
  makeFile("$$$vx$$$.$vx");
  EXPECT_EQ(0, bosftest((dir + "/x").c_str()));
  EXPECT_EQ(1, bosexist(at("$$$vx$$$.$vx").c_str()));
}

}  // namespace
