// Reading, writing, positioning and sizing open files.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bosfile_test_support.h"

namespace {

class FileHandleCalls : public FileLayerTest {
 protected:
  void SetUp() override {
    FileLayerTest::SetUp();
    PathBuffer buffer(at("data.bin"));
    ASSERT_EQ(0, bosFileOpen(buffer, BOS_OPEN_CREATE, &fd));
  }
  void TearDown() override {
    bosFileClose(fd);
    FileLayerTest::TearDown();
  }
  int fd = -1;
};

TEST_F(FileHandleCalls, WriteAtOffsetThenReadBack) {
  EXPECT_EQ(0, bosFileWrite(fd, 0, "hello world", 11));
  EXPECT_EQ(0, bosFileWrite(fd, 6, "WORLD", 5));
  char text[16] = {};
  int32_t count = 0;
  EXPECT_EQ(0, bosFileRead(fd, 0, text, sizeof text - 1, &count));
  EXPECT_EQ(11, count);
  EXPECT_STREQ("hello WORLD", text);
}

TEST_F(FileHandleCalls, OffsetMinusOneUsesTheCurrentPosition) {
  EXPECT_EQ(0, bosFileWrite(fd, 0, "ab", 2));
  EXPECT_EQ(0, bosFileWrite(fd, -1, "cd", 2));
  EXPECT_EQ(1, bosFileSeek(fd, 1, SEEK_SET));
  char text[4] = {};
  int32_t count = 0;
  bosFileRead(fd, -1, text, 2, &count);
  EXPECT_EQ(2, count);
  EXPECT_STREQ("bc", text);
  bosFileRead(fd, -1, text, 3, &count);
  EXPECT_EQ(1, count);
}

// Past the end the count is 0; on a bad handle it is -1; both return 0.
TEST_F(FileHandleCalls, ReadPastTheEndOrOnABadHandleStillReturnsZero) {
  int32_t count = 7;
  char byte;
  EXPECT_EQ(0, bosFileRead(fd, 100, &byte, 1, &count));
  EXPECT_EQ(0, count);
  EXPECT_EQ(0, bosFileRead(-5, -1, &byte, 1, &count));
  EXPECT_EQ(-1, count);
}

TEST_F(FileHandleCalls, DeliberateWriteOf65536BytesOrMoreReportsFailure) {
  std::vector<char> data(70000, 'w');
  EXPECT_EQ(1, bosFileWrite(fd, 0, data.data(), data.size()));
  EXPECT_EQ(30041, lastError());
  EXPECT_EQ(70000, bosFileSeek(fd, 0, SEEK_END)) << "every byte was written nonetheless";
  errors.list.clearErrors();
  EXPECT_EQ(1, bosFileWrite(fd, 0, data.data(), 65536));
  EXPECT_EQ(30041, lastError());
  EXPECT_EQ(0, bosFileWrite(fd, 0, data.data(), 65535));
}

TEST_F(FileHandleCalls, WriteOfNothingSucceedsAndFailedWriteFiles1506) {
  EXPECT_EQ(0, bosFileWrite(fd, 0, "", 0));
  EXPECT_EQ(1, bosFileWrite(-1, 0, "x", 1));
  EXPECT_EQ(1506, lastError());
}

TEST_F(FileHandleCalls, SizeTruncatesAndExtends) {
  EXPECT_EQ(0, bosFileWrite(fd, 0, "0123456789", 10));
  EXPECT_EQ(0, bosFileSize(fd, 4));
  EXPECT_EQ(4, bosFileSeek(fd, 0, SEEK_END));
  EXPECT_EQ(0, bosFileSize(fd, 4096));
  EXPECT_EQ(4096, bosFileSeek(fd, 0, SEEK_END));
  EXPECT_EQ(1, bosFileSize(-1, 0));
  EXPECT_EQ(1507, lastError());
}

TEST_F(FileHandleCalls, SeekNarrowsThePositionTo32Bits) {
  EXPECT_EQ(int32_t(0x100000010LL), bosFileSeek(fd, 0x100000010LL, SEEK_SET));
  EXPECT_EQ(-1, bosFileSeek(-1, 0, SEEK_SET));
}

TEST_F(FileHandleCalls, CloseIgnoresHandlesBelowOneAndReportsBadOnes) {
  EXPECT_EQ(0, bosFileClose(0));
  EXPECT_EQ(0, bosFileClose(-3));
  EXPECT_EQ(0u, errors.list.getCount());
  EXPECT_EQ(1, bosFileClose(987654));
  EXPECT_EQ(1507, lastError());
}

}  // namespace
