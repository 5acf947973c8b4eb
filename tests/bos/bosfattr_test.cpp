// Attributes, existence, removal, renaming, dates and sizes, and the
// writable-directory probe.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "bosfile_test_support.h"

namespace {

using FileAttributes = FileLayerTest;

TEST_F(FileAttributes, WritableRegularFileIsOne) {
  std::string path = makeFile("w.txt");
  EXPECT_EQ(1, bosfattr(path.c_str()));
  EXPECT_EQ(1, bosexist(path.c_str()));
}

TEST_F(FileAttributes, ReadOnlyRegularFileIsFiveAndStillExists) {
  std::string path = makeFile("r.txt");
  ASSERT_EQ(0, chmod(path.c_str(), 0444));
  EXPECT_EQ(5, bosfattr(path.c_str()));
  EXPECT_EQ(1, bosexist(path.c_str()));
}

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

TEST_F(FileAttributes, DirectoryIsTwoAndDoesNotExistAsAFile) {
  std::string path = makeDir("d");
  EXPECT_EQ(2, bosfattr(path.c_str()));
  EXPECT_EQ(0, bosexist(path.c_str()));
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ(2, bosfattr(".."));
}

TEST_F(FileAttributes, MissingFileIsEight) {
  EXPECT_EQ(8, bosfattr(at("none").c_str()));
  EXPECT_EQ(8, bosfattr(at("none/deeper").c_str()));
  std::string file = makeFile("plain");
  EXPECT_EQ(8, bosfattr((file + "/below").c_str()));
  EXPECT_EQ(0, bosexist(at("none").c_str()));
}

TEST_F(FileAttributes, OtherStatFailureIsSixteen) {
  std::string longName(5000, 'n');
  EXPECT_EQ(16, bosfattr(longName.c_str()));
}

TEST_F(FileAttributes, OtherKindOfFileIsThirtyTwo) {
  std::string fifo = at("fifo");
  ASSERT_EQ(0, mkfifo(fifo.c_str(), 0644));
  EXPECT_EQ(32, bosfattr(fifo.c_str()));
  EXPECT_EQ(0, bosexist(fifo.c_str()));
  EXPECT_EQ(32, bosfattr("/dev/null"));
}

TEST_F(FileAttributes, DeleteRemovesAndMissingCountsAsSuccess) {
  std::string path = makeFile("gone.txt");
  EXPECT_EQ(0, bosFileDelete(path.c_str()));
  EXPECT_EQ(8, bosfattr(path.c_str()));
  EXPECT_EQ(0, bosFileDelete(path.c_str()));
  EXPECT_EQ(0u, errors.list.getCount());
}

TEST_F(FileAttributes, DeleteOfADirectoryFiles1502) {
  std::string path = makeDir("keep");
  EXPECT_EQ(1, bosFileDelete(path.c_str()));
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

TEST_F(FileAttributes, RenameMovesTheFile) {
  std::string from = makeFile("a.txt", "moved");
  std::string to = at("b.txt");
  EXPECT_EQ(0, bosrname(from.c_str(), to.c_str()));
  EXPECT_EQ(8, bosfattr(from.c_str()));
  EXPECT_EQ(1, bosfattr(to.c_str()));
}

TEST_F(FileAttributes, RenameOntoAnExistingNameFiles30042WithBothNames) {
  std::string from = makeFile("a.txt");
  std::string to = makeFile("b.txt");
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

TEST_F(FileAttributes, ProbeWithoutDirectoryPartUsesTheWorkingDirectory) {
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ(1, bosftest("file.dat"));
  EXPECT_EQ(8, bosfattr("$$$vx$$$.$vx"));
}

TEST_F(FileAttributes, ProbeFailsWhenTheProbeNameIsTaken) {
  makeFile("$$$vx$$$.$vx");
  EXPECT_EQ(0, bosftest((dir + "/x").c_str()));
  EXPECT_EQ(1, bosexist(at("$$$vx$$$.$vx").c_str()));
}

}  // namespace
