// Mapping of system error numbers to library error records.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "bos/bos.h"
#include "bos_test_support.h"

namespace {

struct Row {
  int code;
  uint16_t error;
};

const Row kTable[] = {{EPERM, 1519},  {ENOENT, 1509}, {EIO, 30041},   {EBADF, 1507}, {EAGAIN, 1512},
                      {ENOMEM, 1503}, {EACCES, 1508}, {EEXIST, 1520}, {EMFILE, 30045}, {ENOSPC, 1506},
                      {EROFS, 30049}, {EDEADLK, 1521}, {ENOLCK, 1514}};

TEST(MapError, EveryTabledCodeFilesItsLibraryError) {
  for (const Row& row : kTable) {
    InstalledErrorList installed;
    EXPECT_EQ(row.error, bosMapError(row.code, "x.ini")) << "errno " << row.code;
    EXPECT_EQ(1u, installed.list.getCount());
    EXPECT_EQ(row.error, VxErrorKeeper::getLastErrorNumber()) << "errno " << row.code;
  }
}

// An unknown code files 30041 whose text ends in the system text of the
// current errno, whatever the name.
TEST(MapError, UnknownCodeFiles30041WithTheSystemText) {
  InstalledErrorList installed;
  errno = 99;
  std::string systemText = strerror(99);
  EXPECT_EQ(30041, bosMapError(99, ""));
  ASSERT_EQ(1u, installed.list.getCount());
  std::string text = VxErrorKeeper::getLastError()->getErrorText();
  ASSERT_GE(text.size(), systemText.size());
  EXPECT_EQ(systemText, text.substr(text.size() - systemText.size())) << text;
  errno = 99;
  EXPECT_EQ(30041, bosMapError(99, "data.ini"));
  text = VxErrorKeeper::getLastError()->getErrorText();
  EXPECT_NE(std::string::npos, text.find(systemText)) << text;
}

TEST(MapError, UnknownCodeAppendsTheTextOfTheCurrentErrnoDeliberately) {
  InstalledErrorList installed;
  errno = ENOTDIR;
  EXPECT_EQ(30041, bosMapError(99, nullptr));
  std::string text = VxErrorKeeper::getLastError()->getErrorText();
  EXPECT_NE(std::string::npos, text.find(strerror(ENOTDIR))) << text;
  EXPECT_EQ(std::string::npos, text.find(strerror(99))) << text;
}

TEST(MapError, WithoutACurrentListNothingIsFiled) {
  EXPECT_EQ(1509, bosMapError(ENOENT, "x.ini"));
  EXPECT_EQ(30041, bosMapError(99, "x.ini"));
  EXPECT_EQ(nullptr, VxErrorKeeper::getErrorList());
}

}  // namespace
