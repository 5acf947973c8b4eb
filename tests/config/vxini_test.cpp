// The profile interface: private and plain forms, the fresh-cache
// Windows-named forms, vxstrlcpy and the installation directory.
#include "config/vxini.h"

#include <cstring>
#include <string>

#include "ini_test_support.h"

namespace {

class ProfileTest : public IniTest {
 protected:
  // The task's cache of the file at full, or null.
  static VxIniFileCache* taskCache(const std::string& full) {
    VxIniFileCacheList* list = bosGetPTaskIniList();
    if (!list) return nullptr;
    for (VXSIZE_T i = 0; i < list->getCount(); ++i) {
      VxIniFileCache* cache = static_cast<VxIniFileCache*>(list->at(i));
      if (cache->isThisFile(full.c_str())) return cache;
    }
    return nullptr;
  }

  static std::string privateGet(const char* section, const char* key, const std::string& file) {
    char buffer[256];
    VXSIZE_T length =
        vxGetPrivateProfileString(section, key, "<none>", buffer, sizeof buffer, file.c_str());
    return std::string(buffer, length);
  }
};

TEST_F(ProfileTest, MissingFileGivesTheDefaultCutToSizeMinusOne) {
  setEnv("ODBCINI", path("missing.ini"));
  char buffer[4];
  EXPECT_EQ(3u, vxGetPrivateProfileString("s", "k", "default", buffer, sizeof buffer, "odbc.ini"));
  EXPECT_STREQ("def", buffer);
  EXPECT_EQ(7, vxGetPrivateProfileInt("s", "k", 7, "odbc.ini"));
  EXPECT_EQ(0u, vxGetPrivateProfileSection("s", buffer, sizeof buffer, "odbc.ini"));
  EXPECT_EQ(0, vxWritePrivateProfileString("s", "k", "v", "odbc.ini"));
}

TEST_F(ProfileTest, PrivateFormReadsThroughTheRedirection) {
  std::string full = writeFile("elsewhere.ini", "[DSN1]\nServer = db1\nPort=5000\n");
  setEnv("ODBCINI", full);
  EXPECT_EQ("db1", privateGet("DSN1", "Server", "odbc.ini"));
  EXPECT_EQ(5000, vxGetPrivateProfileInt("DSN1", "Port", 0, "odbc.ini"));
  EXPECT_EQ("<none>", privateGet("DSN1", "Missing", "odbc.ini"));
}

TEST_F(ProfileTest, DeliberatePrivateFormsCloseTheirCacheAfterEachCall) {
  std::string full = writeFile("a.ini", "[s]\nk=v\n");
  EXPECT_EQ("v", privateGet("s", "k", full));
  VxIniFileCache* cache = taskCache(full);
  ASSERT_NE(nullptr, cache);
  int32_t uses = cache->getUseCount();
  EXPECT_EQ("v", privateGet("s", "k", full));
  EXPECT_EQ(0, vxGetPrivateProfileInt("s", "k", 0, full.c_str()));
  EXPECT_EQ(1, vxWritePrivateProfileString("s", "j", "w", full.c_str()));
  EXPECT_EQ(uses, cache->getUseCount());
}

TEST_F(ProfileTest, DeliberatePlainFormsKeepTheCacheOpen) {
  std::string full = writeFile("a.ini", "[s]\nk=v\n");
  char buffer[16];
  EXPECT_EQ(1u, vxGetProfileString("s", "k", "", buffer, sizeof buffer, full.c_str()));
  VxIniFileCache* cache = taskCache(full);
  ASSERT_NE(nullptr, cache);
  int32_t uses = cache->getUseCount();
  EXPECT_EQ(1u, vxGetProfileString("s", "k", "", buffer, sizeof buffer, full.c_str()));
  EXPECT_EQ(uses + 1, cache->getUseCount());
  EXPECT_EQ(0, vxGetProfileInt("s", "k", 0, full.c_str()));
  EXPECT_EQ(uses + 2, cache->getUseCount());
  EXPECT_EQ(1, vxWriteProfileString("s", "n", "5", full.c_str()));
  EXPECT_EQ(uses + 3, cache->getUseCount());
  EXPECT_EQ(5, vxGetProfileInt("s", "n", 0, full.c_str()));
}

TEST_F(ProfileTest, PrivateSectionReadLeavesTheCacheOpen) {
  std::string full = writeFile("a.ini", "[s]\nA=1\nB=2\n");
  char buffer[16];
  EXPECT_EQ(5u, vxGetPrivateProfileSection("s", buffer, sizeof buffer, full.c_str()));
  EXPECT_EQ(0, memcmp("A\0B\0\0", buffer, 5));
  VxIniFileCache* cache = taskCache(full);
  ASSERT_NE(nullptr, cache);
  int32_t uses = cache->getUseCount();
  vxGetPrivateProfileSection("s", buffer, sizeof buffer, full.c_str());
  EXPECT_EQ(uses + 1, cache->getUseCount());
}

TEST_F(ProfileTest, InitAndTermCountUsesOfOneSharedCache) {
  std::string full = writeFile("a.ini", "[s]\nk=v\n");
  VxIniFileCache* first = vxPrivateProfileInit(full.c_str());
  VxIniFileCache* second = vxProfileInit(full.c_str());
  ASSERT_NE(nullptr, first);
  EXPECT_EQ(first, second);
  int32_t uses = first->getUseCount();
  char buffer[16];
  EXPECT_EQ(1u, vxGetPrivateProfileString("s", "k", "", buffer, sizeof buffer, first));
  EXPECT_STREQ("v", buffer);
  vxPrivateProfileTerm(first);
  vxPrivateProfileTerm(second);
  EXPECT_EQ(uses - 2, first->getUseCount());
}

TEST_F(ProfileTest, PrivateWriteAddsReplacesAndDeletes) {
  std::string full = writeFile("a.ini", "[s]\nk=1\n");
  EXPECT_EQ(1, vxWritePrivateProfileString("s", "k", "2", full.c_str()));
  EXPECT_EQ(1, vxWritePrivateProfileString("t", "m", "3", full.c_str()));
  EXPECT_EQ("2", privateGet("s", "k", full));
  EXPECT_EQ("3", privateGet("t", "m", full));
  EXPECT_EQ(1, vxWritePrivateProfileString("s", "k", nullptr, full.c_str()));
  EXPECT_EQ(1, vxWritePrivateProfileString("t", nullptr, nullptr, full.c_str()));
  EXPECT_EQ("[s]\n", readFile(full));
}

TEST_F(ProfileTest, WindowsNamedFormsReadTheFileAnewEveryCall) {
  std::string full = writeFile("a.ini", "[s]\nk=aaa\nn=12\n");
  char buffer[16];
  EXPECT_EQ(3u, GetPrivateProfileString("s", "k", "", buffer, sizeof buffer, full.c_str()));
  EXPECT_STREQ("aaa", buffer);
  writeFile("a.ini", "[s]\nk=bbb\nn=34\n");  // same size, maybe the same second
  EXPECT_EQ(3u, GetPrivateProfileString("s", "k", "", buffer, sizeof buffer, full.c_str()));
  EXPECT_STREQ("bbb", buffer);
  EXPECT_EQ(34u, GetPrivateProfileInt("s", "n", 0, full.c_str()));
  EXPECT_EQ(1, WritePrivateProfileString("s", "k", "ccc", full.c_str()));
  EXPECT_EQ("[s]\nk=ccc\nn=34\n", readFile(full));
  EXPECT_EQ(nullptr, taskCache(full));
}

TEST_F(ProfileTest, WindowsNamedReadOfAMissingFileGivesTheDefault) {
  setEnv("ODBCINI", path("missing.ini"));
  char buffer[16];
  EXPECT_EQ(4u, GetPrivateProfileString("s", "k", "dflt", buffer, sizeof buffer, "odbc.ini"));
  EXPECT_STREQ("dflt", buffer);
  EXPECT_EQ(9u, GetPrivateProfileInt("s", "k", 9, "odbc.ini"));
  EXPECT_EQ(0, WritePrivateProfileString("s", "k", "v", "odbc.ini"));
}

TEST_F(ProfileTest, SystemDefaultsFileServesTheWinIniCalls) {
  writeFile(".system.defaults", "[Options]\nLevel=3\n");
  EXPECT_EQ(3, vxGetWININIInt("Options", "Level", 0));
  EXPECT_EQ(1, vxWriteWININIString("Options", "Level", "4"));
  EXPECT_EQ(4, vxGetWININIInt("Options", "Level", 0));
  EXPECT_EQ("[Options]\nLevel=4\n", readFile(path(".system.defaults")));
}

TEST(VxStrlcpyTest, CopiesWholeOrCutsToSizeMinusOne) {
  char buffer[8];
  EXPECT_EQ(3u, vxstrlcpy(buffer, "abc", sizeof buffer));
  EXPECT_STREQ("abc", buffer);
  EXPECT_EQ(7u, vxstrlcpy(buffer, "abcdefghij", sizeof buffer));
  EXPECT_STREQ("abcdefg", buffer);
  EXPECT_EQ(7u, vxstrlcpy(buffer, "abcdefg", sizeof buffer));
  EXPECT_STREQ("abcdefg", buffer);
  buffer[0] = 'x';
  EXPECT_EQ(0u, vxstrlcpy(buffer, "abc", 0));
  EXPECT_EQ('x', buffer[0]);
}

TEST_F(ProfileTest, InstallDirFromDataSourcesLosesTrailingBlankAndSlash) {
  writeFile(".odbc.ini", "[ODBC]\nInstallDir=/opt/x/ \n");
  EXPECT_EQ(0, bosSetInstallDir());
  EXPECT_STREQ("/opt/x", InstallDirLocation);
}

TEST_F(ProfileTest, InstallDirFallsBackToTheInstalledDriversFile) {
  writeFile(".odbc.ini", "[ODBC]\nTrace=0\n");
  writeFile(".odbcinst.ini", "[ODBC]\nInstallDir=/usr/lib/vx//\n");
  EXPECT_EQ(0, bosSetInstallDir());
  EXPECT_STREQ("/usr/lib/vx/", InstallDirLocation);
}

TEST_F(ProfileTest, InstallDirGivenIsCopiedAndTrimmed) {
  EXPECT_EQ(0, bosSetInstallDir("/given/dir/\t "));
  EXPECT_STREQ("/given/dir", InstallDirLocation);
  EXPECT_EQ(0, bosSetInstallDir(" "));
  EXPECT_STREQ(" ", InstallDirLocation);
  std::string longDir(2000, 'd');
  EXPECT_EQ(0, bosSetInstallDir(longDir.c_str()));
  EXPECT_EQ(size_t(VX_INSTALL_DIR_SIZE - 1), strlen(InstallDirLocation));
}

}  // namespace
