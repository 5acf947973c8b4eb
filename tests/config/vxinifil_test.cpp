// VxIniFileCache and VxIniFileCacheList: loading, refreshing, lookups and
// rewrites of real files.
#include "config/vxinifil.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "ini_test_support.h"

namespace {

class IniCacheTest : public IniTest {
 protected:
  // The value of key in section through cache, or the default "<none>".
  static std::string get(VxIniFileCache& cache, const char* section, const char* key,
                         VXSIZE_T size = 256) {
    char buffer[512];
    VXSIZE_T length = cache.bosGetProfileString(section, key, "<none>", buffer, size);
    EXPECT_EQ(strlen(buffer), length);
    return std::string(buffer, length);
  }

  // Sets the file's modification time a minute back, so that a rewrite in
  // the same second is still seen as a change by time alone.
  static void ageFile(const std::string& full) {
    struct timespec times[2] = {{time(nullptr) - 60, 0}, {time(nullptr) - 60, 0}};
    utimensat(AT_FDCWD, full.c_str(), times, 0);
  }
};

// Runs body in a child process that has given up root (when the tests run
// as root, permissions would not apply), and returns its exit status.
template <typename Body>
int runUnprivileged(Body body) {
  pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(99);
    _exit(body());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(IniCacheTest, LoadsTheWholeFileAndAnswersLookupsCutToSizeMinusOne) {
  std::string full = writeFile("a.ini", "[dsn]\nDriver = /x/y.so\nPort=5000\n[s]\nk=abcdefgh\n");
  VxIniFileCache cache(full.c_str());
  ASSERT_TRUE(cache.isOpen());
  EXPECT_TRUE(cache.isThisFile(full.c_str()));
  EXPECT_EQ(1, cache.getUseCount());
  EXPECT_EQ("/x/y.so", get(cache, "dsn", "Driver"));
  EXPECT_EQ("<none>", get(cache, "dsn", "Missing"));
  EXPECT_EQ("<none>", get(cache, "other", "Driver"));
  EXPECT_EQ("abcd", get(cache, "s", "k", 5));
  EXPECT_EQ("abcdefgh", get(cache, "s", "k", 9));
  EXPECT_EQ("<no", get(cache, "s", "missing", 4));
  char buffer[16] = "junk";  // a null default gives an empty text
  EXPECT_EQ(0u, cache.bosGetProfileString("s", "missing", nullptr, buffer, sizeof buffer));
  EXPECT_STREQ("", buffer);
  EXPECT_EQ(3u, cache.bosGetProfileString(nullptr, "k", "def", buffer, sizeof buffer));
  EXPECT_STREQ("def", buffer);
}

TEST_F(IniCacheTest, SeesAChangeOfSizeOrTimeByAnotherWriter) {
  std::string full = writeFile("a.ini", "[s]\nk=old\n");
  ageFile(full);
  VxIniFileCache cache(full.c_str());
  EXPECT_EQ("old", get(cache, "s", "k"));
  writeFile("a.ini", "[s]\nk=newer\n");  // other size
  EXPECT_EQ("newer", get(cache, "s", "k"));
  ageFile(full);
  EXPECT_EQ("newer", get(cache, "s", "k"));
  writeFile("a.ini", "[s]\nk=later\n");  // same size, other time
  EXPECT_EQ("later", get(cache, "s", "k"));
}

TEST_F(IniCacheTest, RefreshKeepsAnUnchangedImageAndAVanishedFileAnswersWithDefaults) {
  std::string full = writeFile("a.ini", "[s]\nk=v\n");
  VxIniFileCache cache(full.c_str());
  EXPECT_EQ(0, cache.proFileSync());
  EXPECT_EQ("v", get(cache, "s", "k"));
  unlink(full.c_str());
  EXPECT_EQ(1, cache.proFileSync());
  EXPECT_EQ("<none>", get(cache, "s", "k"));
}

TEST_F(IniCacheTest, AbsentInstalledDriversFileLoadsEmptyWithoutError) {
  VxIniFileCache cache("odbcinst.ini");
  EXPECT_TRUE(cache.isOpen());
  EXPECT_EQ(0u, errors.getCount());
  EXPECT_EQ("<none>", get(cache, "ODBC", "Trace"));
}

TEST_F(IniCacheTest, MissingRedirectedDataSourceFileFailsWithWarning) {
  setEnv("ODBCINI", path("missing.ini"));
  writeFile(".odbc.ini", "[s]\nk=v\n");
  VxIniFileCache cache("odbc.ini");
  EXPECT_FALSE(cache.isOpen());
  ASSERT_EQ(1u, errors.getCount());
  EXPECT_EQ(1509, errors.at(0)->getErrorNumber());
  EXPECT_TRUE(errors.at(0)->isWarning());
}

TEST_F(IniCacheTest, RedirectedNameResolvesToTheFileTheEnvironmentNames) {
  std::string full = writeFile("mine.ini", "[s]\nk=from-env\n");
  setEnv("ODBCINI", full);
  VxIniFileCache cache("odbc.ini");
  EXPECT_TRUE(cache.isThisFile(full.c_str()));
  EXPECT_EQ("from-env", get(cache, "s", "k"));
}

TEST_F(IniCacheTest, ReadOnlyFileLoadsReadOnlyAndRefusesWrites) {
  std::string full = writeFile("ro.ini", "[s]\nk=v\n");
  chmod(dir.c_str(), 0755);
  chmod(full.c_str(), 0444);
  int status = runUnprivileged([&] {
    VxErrorList list(nullptr, VxErrorList::kSupportMultipleErrors);
    VxErrorKeeper::setErrorList(&list);
    VxIniFileCache cache(full.c_str());
    if (!cache.isOpen() || list.getCount() != 0) return 1;
    if (cache.getOpenMode() & 0x2) return 2;
    if (get(cache, "s", "k") != "v") return 3;
    if (cache.bosPutProfileString("s", "k", "w") != 1) return 4;
    if (list.getCount() != 1 || list.at(0)->getErrorNumber() != 1508) return 5;
    VxErrorKeeper::giveUpErrorList();
    return 0;
  });
  EXPECT_EQ(0, status);
  EXPECT_EQ("[s]\nk=v\n", readFile(full));
}

TEST_F(IniCacheTest, WithoutAnErrorListAnyOpenFailureFallsBackToReadOnly) {
  std::string full = writeFile("ro.ini", "[s]\nk=v\n");
  chmod(dir.c_str(), 0755);
  chmod(full.c_str(), 0444);
  int status = runUnprivileged([&] {
    VxErrorKeeper::giveUpErrorList();  // the fixture's list is not this thread's any more
    if (VxErrorKeeper::getErrorList() != nullptr) return 1;
    VxIniFileCache cache(full.c_str());
    if (!cache.isOpen()) return 2;
    if (cache.getOpenMode() & (0x2 | 0x4)) return 3;
    return get(cache, "s", "k") == "v" ? 0 : 4;
  });
  EXPECT_EQ(0, status);
}

TEST_F(IniCacheTest, WriteToAFileThatBecameReadOnlyLeavesItUntouched) {
  std::string full = writeFile("ro.ini", "[s]\nk=v\n");
  chmod(dir.c_str(), 0755);
  if (geteuid() == 0) ASSERT_EQ(0, chown(full.c_str(), 65534, 65534));
  int status = runUnprivileged([&] {
    VxErrorList list(nullptr, VxErrorList::kSupportMultipleErrors);
    VxErrorKeeper::setErrorList(&list);
    VxIniFileCache cache(full.c_str());
    if (!cache.isOpen() || !(cache.getOpenMode() & 0x2)) return 1;
    if (chmod(full.c_str(), 0444) != 0) return 2;
    if (cache.bosPutProfileString("s", "k", "longer value") != 1) return 3;
    if (list.getCount() != 1 || list.at(0)->getErrorNumber() != 1508) return 4;
    VxErrorKeeper::giveUpErrorList();
    return 0;
  });
  EXPECT_EQ(0, status);
  EXPECT_EQ("[s]\nk=v\n", readFile(full));
}

TEST_F(IniCacheTest, MultiEntryOutputListsTheKeysAndAnEmptySectionCountsAsMissing) {
  std::string full = writeFile("a.ini", "[s]\nA=1\nB=2\n[empty]\n[t]\nC=3\n");
  VxIniFileCache cache(full.c_str());
  char buffer[64];
  memset(buffer, 'x', sizeof buffer);
  EXPECT_EQ(5u, cache.bosGetProfileSection("s", buffer, sizeof buffer));
  EXPECT_EQ(0, memcmp("A\0B\0\0", buffer, 5));
  EXPECT_EQ(5u, cache.bosGetProfileString("s", nullptr, "dflt", buffer, sizeof buffer));
  EXPECT_EQ(0, memcmp("A\0B\0\0", buffer, 5));
  EXPECT_EQ(4u, cache.bosGetProfileString("empty", nullptr, "dflt", buffer, sizeof buffer));
  EXPECT_STREQ("dflt", buffer);
  EXPECT_EQ(0u, cache.bosGetProfileSection("nosuch", buffer, sizeof buffer));
  EXPECT_STREQ("", buffer);
}

TEST_F(IniCacheTest, IntegerReadsLeadingDigitsOnly) {
  std::string full = writeFile("a.ini",
                               "[s]\nn=42\nm=12abc\nneg=-3\nword=abc\nhuge=99999999999\nmax=2147483647\n");
  VxIniFileCache cache(full.c_str());
  EXPECT_EQ(42, cache.bosGetProfileInt("s", "n", 7));
  EXPECT_EQ(12, cache.bosGetProfileInt("s", "m", 7));
  EXPECT_EQ(7, cache.bosGetProfileInt("s", "neg", 7));
  EXPECT_EQ(7, cache.bosGetProfileInt("s", "word", 7));
  EXPECT_EQ(7, cache.bosGetProfileInt("s", "missing", 7));
  EXPECT_EQ(7, cache.bosGetProfileInt("s", "huge", 7));
  EXPECT_EQ(2147483647, cache.bosGetProfileInt("s", "max", 7));
  EXPECT_EQ(0u, errors.getCount());
}

TEST_F(IniCacheTest, DeliberateIntegerDefaultNarrowsTo32Bits) {
  std::string full = writeFile("a.ini", "[s]\n");
  VxIniFileCache cache(full.c_str());
  EXPECT_EQ(int32_t(0x100000005LL & 0xffffffff),
            cache.bosGetProfileInt("s", "missing", VXSSIZE_T(0x100000005LL)));
}

// ---- Writes ----

// Each row: a file, the writes made to it through one cache, the file
// written out, and lookups that must then give the new values.
TEST_F(IniCacheTest, WritesRewriteTheFileAndTheImage) {
  struct Write {
    const char* section;
    const char* key;
    const char* value;
  };
  struct Lookup {
    const char* section;
    const char* key;
    const char* value;
  };
  struct Case {
    const char* name;
    const char* before;
    std::vector<Write> writes;
    const char* after;
    std::vector<Lookup> lookups;
  } cases[] = {
      {"replaces an existing entry", "[s]\n  k = old value\nj=1\n", {{"s", "K", "new"}},
       "[s]\nK=new\nj=1\n", {{"s", "k", "new"}}},
      {"shorter rewrite cuts the file", "[s]\nk=a very long value indeed\nj=1\n", {{"s", "k", "x"}},
       "[s]\nk=x\nj=1\n", {}},
      {"adds missing entries at the end of their section", "[s]\nk=1\n[t]\nm=2",
       {{"s", "n", "3"}, {"t", "o", "4"}}, "[s]\nk=1\nn=3\n[t]\nm=2\no=4\n", {{"t", "o", "4"}}},
      {"adds a missing section at the end", "[s]\nk=1", {{"new", "a", "b"}},
       "[s]\nk=1\n[new]\na=b\n", {}},
      {"empty file gets the section", "", {{"s", "k", "v"}}, "[s]\nk=v\n", {}},
      {"null value deletes the entry", "[s]\nk=1\nj=2\n[t]\nk=3\n", {{"s", "k", nullptr}},
       "[s]\nj=2\n[t]\nk=3\n", {{"s", "k", "<none>"}, {"t", "k", "3"}}},
      {"null entry deletes the section", "[s]\nk=1\n[t]\nk=3\n", {{"s", nullptr, nullptr}},
       "[t]\nk=3\n", {}},
      {"deleting what is not there changes nothing", "[s]\nk=1\n",
       {{"s", "missing", nullptr}, {"nosuch", nullptr, nullptr}}, "[s]\nk=1\n", {}},
      {"value cut by a bracket keeps the rest of the line", "[s]\nk=a[b]\n", {{"s", "k", "new"}},
       "[s]\nk=new[b]\n", {{"s", "k", "new"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string full = writeFile("a.ini", c.before);
    VxIniFileCache cache(full.c_str());
    for (const Write& w : c.writes) ASSERT_EQ(0, cache.bosPutProfileString(w.section, w.key, w.value));
    EXPECT_EQ(c.after, readFile(full));
    for (const Lookup& l : c.lookups) EXPECT_EQ(l.value, get(cache, l.section, l.key));
  }
}

TEST_F(IniCacheTest, ReadOfAMissingPlainFileCreatesItEmpty) {
  VxIniFileCache cache(path("new.ini").c_str());
  EXPECT_TRUE(cache.isOpen());
  EXPECT_EQ("", readFile(path("new.ini")));
}

TEST_F(IniCacheTest, RewriteKeepsABracketInAValueFromBecomingAHeader) {
  std::string full = writeFile("a.ini", "[s]\nk=a[b]\nx=1\n[b]\ny=2\n");
  VxIniFileCache cache(full.c_str());
  ASSERT_EQ(0, cache.bosPutProfileString("s", "k", nullptr));
  EXPECT_EQ("<none>", get(cache, "b", "x"));
  EXPECT_EQ("2", get(cache, "b", "y"));
  ASSERT_EQ(0, cache.bosPutProfileString("s", "n", "v"));
  EXPECT_EQ("v", get(cache, "s", "n"));
  EXPECT_EQ("<none>", get(cache, "b", "x"));
  ASSERT_EQ(0, cache.bosPutProfileString("s", nullptr, nullptr));
  EXPECT_EQ("<none>", get(cache, "s", "n"));
  EXPECT_EQ("<none>", get(cache, "b", "x"));
  EXPECT_EQ("2", get(cache, "b", "y"));
}

TEST_F(IniCacheTest, WriteAppliesToTheFileAsItIsNotToAStaleImage) {
  std::string full = writeFile("a.ini", "[s]\na=1\n");
  VxIniFileCache first(full.c_str());
  VxIniFileCache second(full.c_str());
  ASSERT_EQ(0, first.bosPutProfileString("s", "b", "2"));
  // Same second, and the second cache has not looked since.
  ASSERT_EQ(0, second.bosPutProfileString("s", "a", "9"));
  EXPECT_EQ("[s]\na=9\nb=2\n", readFile(full));
  EXPECT_EQ("9", get(second, "s", "a"));
  EXPECT_EQ("2", get(second, "s", "b"));
}

TEST_F(IniCacheTest, WriteOnAClosedCacheFails) {
  std::string full = writeFile("a.ini", "[s]\nk=1\n");
  VxIniFileCache cache(full.c_str());
  cache.Close();
  EXPECT_FALSE(cache.isOpen());
  EXPECT_EQ(1, cache.bosPutProfileString("s", "k", "2"));
  EXPECT_EQ("<none>", get(cache, "s", "k"));
  EXPECT_EQ("[s]\nk=1\n", readFile(full));
}

// ---- The list ----

TEST_F(IniCacheTest, ListSharesOneCachePerResolvedPath) {
  std::string full = writeFile("mine.ini", "[s]\nk=v\n");
  setEnv("ODBCINI", full);
  VxIniFileCacheList list;
  VxIniFileCache* byName = list.open("odbc.ini");
  ASSERT_NE(nullptr, byName);
  VxIniFileCache* byPath = list.open(full.c_str());
  EXPECT_EQ(byName, byPath);
  EXPECT_EQ(2, byName->getUseCount());
  EXPECT_EQ(1u, list.getCount());
  list.close(byName);
  EXPECT_EQ(1, byName->getUseCount());
  EXPECT_EQ(1u, list.getCount());
}

TEST_F(IniCacheTest, ListOpenFailsWhenTheNameDoesNotResolve) {
  setEnv("ODBCINI", path("missing.ini"));
  VxIniFileCacheList list;
  EXPECT_EQ(nullptr, list.open("odbc.ini"));
  EXPECT_EQ(0u, list.getCount());
}

TEST_F(IniCacheTest, ListRemoveHandsTheCacheToTheCaller) {
  std::string full = writeFile("a.ini", "[s]\nk=v\n");
  VxIniFileCacheList list;
  VxIniFileCache* cache = list.open(full.c_str());
  ASSERT_NE(nullptr, cache);
  list.remove(cache);
  EXPECT_EQ(0u, list.getCount());
  EXPECT_EQ("v", get(*cache, "s", "k"));
  delete cache;
}

TEST_F(IniCacheTest, CallersEarlierErrorSurvivesInASingleErrorList) {
  std::string full = writeFile("a.ini", "[s]\nhuge=99999999999\n");
  VxErrorList single(nullptr, 0);
  VxErrorKeeper::setErrorList(&single);
  addError(1503);
  VxIniFileCache cache(full.c_str());
  EXPECT_EQ(7, cache.bosGetProfileInt("s", "huge", 7));
  VxIniFileCache installed("odbcinst.ini");  // absent: loads empty
  EXPECT_TRUE(installed.isOpen());
  ASSERT_EQ(1u, single.getCount());
  EXPECT_EQ(1503, single.at(0)->getErrorNumber());
  VxErrorKeeper::giveUpErrorList();
}

}  // namespace
