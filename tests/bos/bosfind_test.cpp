// Enumerating files, directories and file systems, and VxFileHandle.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bosfile_test_support.h"

namespace {

class FindFiles : public FileLayerTest {
 protected:
  // Every name a search for pattern returns.
  std::vector<std::string> find(const std::string& pattern) {
    std::vector<std::string> names;
    VxBosFileFindDesc desc;
    PathBuffer name;
    for (uint16_t rc = bosFindFiles(pattern.c_str(), &desc, name); rc == 0;
         rc = bosFindFiles(nullptr, &desc, name)) {
      names.push_back(name.str());
    }
    EXPECT_EQ("", name.str());
    return names;
  }

  // The names of a block of NUL-terminated names (freed here).
  static std::vector<std::string> split(char* block) {
    std::vector<std::string> names;
    for (const char* p = block; *p; p += strlen(p) + 1) names.push_back(p);
    free(block);
    return names;
  }
};

using Names = std::vector<std::string>;

TEST_F(FindFiles, WildcardsInTheLastComponentMatchSorted) {
  for (const char* name : {"b.ini", "a.ini", "c.txt", ".hidden.ini", "d.ini"}) makeFile(name);
  EXPECT_EQ((Names{dir + "/a.ini", dir + "/b.ini", dir + "/d.ini"}), find(dir + "/*.ini"));
  EXPECT_EQ((Names{dir + "/.hidden.ini"}), find(dir + "/.*.ini")) << "a leading dot must be named";
  EXPECT_EQ((Names{dir + "/a.ini", dir + "/b.ini"}), find(dir + "/[ab].ini"));
  EXPECT_EQ((Names{dir + "/c.txt"}), find(dir + "/?.txt"));
  EXPECT_EQ(Names{}, find(dir + "/*.none"));
}

TEST_F(FindFiles, RelativePatternKeepsItsDirectoryPart) {
  makeDir("sub");
  makeFile("sub/x.dat");
  makeFile("top.dat");
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ((Names{"sub/x.dat"}), find("sub/*.dat"));
  EXPECT_EQ((Names{"top.dat"}), find("*.dat"));
}

TEST_F(FindFiles, DirectoryListsItsVisibleEntriesByBareName) {
  makeDir("list");
  for (const char* name : {"list/z", "list/y", "list/.dot"}) makeFile(name);
  makeDir("list/inner");
  EXPECT_EQ((Names{"inner", "y", "z"}), find(at("list")));
}

TEST_F(FindFiles, PlainNameFindsItselfOrNothing) {
  std::string path = makeFile("single.txt");
  EXPECT_EQ(Names{path}, find(path));
  EXPECT_EQ(Names{}, find(at("absent.txt")));
}

TEST_F(FindFiles, PatternCannotRunAShellCommand) {
  std::string marker = at("marker");
  makeFile("x.ini");
  for (const std::string& pattern :
       {dir + "/*.ini; touch " + marker, dir + "/$(touch " + marker + ")",
        dir + "/`touch " + marker + "`", dir + "\nEOT\ntouch " + marker + "\n",
        dir + "/*.ini && touch " + marker, "'; touch " + marker + "; '"}) {
    find(pattern);
    EXPECT_EQ(8, bosfattr(marker.c_str())) << pattern;
  }
}

TEST_F(FindFiles, NextCallFindsNothingWithoutASearchAndNewSearchReplacesTheOld) {
  VxBosFileFindDesc desc;
  PathBuffer name("junk");
  EXPECT_EQ(1, bosFindFiles(nullptr, &desc, name));
  EXPECT_EQ("", name.str());
  EXPECT_EQ(0u, desc.getCount());
  makeFile("one.a");
  makeFile("two.b");
  ASSERT_EQ(0, bosFindFiles((dir + "/*.a").c_str(), &desc, name));
  ASSERT_EQ(0, bosFindFiles((dir + "/*.b").c_str(), &desc, name));
  EXPECT_EQ(at("two.b"), name.str());
  EXPECT_EQ(1u, desc.getCount());
  EXPECT_EQ(1, bosFindFiles(nullptr, &desc, name));
}

TEST_F(FindFiles, DirectoryNamesAreTheSubdirectoriesSorted) {
  makeDir("tree");
  makeDir("tree/beta");
  makeDir("tree/alpha");
  makeDir("tree/.dotdir");
  makeFile("tree/file");
  EXPECT_EQ((Names{".dotdir", "alpha", "beta"}), split(bosGetDirectoryNames(at("tree").c_str())));
  makeDir("empty");
  EXPECT_EQ(Names{}, split(bosGetDirectoryNames(at("empty").c_str())));
  EXPECT_EQ(nullptr, bosGetDirectoryNames(at("missing").c_str()));
  EXPECT_EQ(1509, lastError());
}

TEST_F(FindFiles, FileSystemsIncludeTheRootAndBlockCountsAreReported) {
  char* block = bosGetFileSystems();
  ASSERT_NE(nullptr, block);
  Names mounts = split(block);
  EXPECT_NE(mounts.end(), std::find(mounts.begin(), mounts.end(), "/"));
  VXSIZE_T blockSize = 0, freeBlocks = 0;
  EXPECT_EQ(0, bosgetbl(dir.c_str(), &blockSize, &freeBlocks));
  EXPECT_GT(blockSize, 0u);
  EXPECT_EQ(1, bosgetbl(at("missing").c_str(), &blockSize, &freeBlocks));
  EXPECT_EQ(1509, lastError());
}

using FileHandleObject = FileLayerTest;

TEST_F(FileHandleObject, OpensWritesReadsAndClosesOnDestruction) {
  int fd = 0;
  {
    VxFileHandle file;
    EXPECT_FALSE(file.isOpen());
    EXPECT_STREQ("", file.getName());
    ASSERT_EQ(0, file.open(at("h.dat").c_str(), BOS_OPEN_CREATE));
    EXPECT_TRUE(file.isOpen());
    fd = file.getHandle();
    EXPECT_EQ(0, file.write(0, "handle", 6));
    char text[8] = {};
    int32_t count = 0;
    EXPECT_EQ(0, file.read(0, text, 7, &count));
    EXPECT_STREQ("handle", text);
    EXPECT_EQ(6, file.seek(0, SEEK_END));
    EXPECT_EQ(0, file.setSize(2));
    EXPECT_EQ(2, file.seek(0, SEEK_END));
  }
  struct stat info;
  EXPECT_NE(0, fstat(fd, &info)) << "the descriptor was closed";
}

TEST_F(FileHandleObject, KeepsTheRedirectedNameAndFailedOpenLeavesItClosed) {
  std::string home = makeDir("home");
  setEnv("HOME", home);
  makeFile("home/.vxlib.ini");
  VxFileHandle file;
  ASSERT_EQ(0, file.open(".vxlib.ini", BOS_OPEN_REDIRECT));
  EXPECT_EQ(home + "/.vxlib.ini", std::string(file.getName()));
  EXPECT_EQ(0, file.close());
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(0, file.close());
  EXPECT_EQ(1, file.open(at("none").c_str(), BOS_OPEN_READ_WRITE));
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(1509, lastError());
  std::string tooLong(BOS_MAX_PATH, 'l');
  EXPECT_EQ(1, file.open(tooLong.c_str(), 0));
  EXPECT_EQ(1524, lastError());
}

}  // namespace
