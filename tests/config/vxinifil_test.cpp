// VxIniFileCache over real files: cut buffers and defaults, the key
// list's deliberate corners, refresh, load failures and rewrites (the
// list of caches is tested through the profile calls). Plain lookups are judged by the unixODBC
// differential test and the INI fuzz target (whose reference holds the
// format's deliberate departures from unixODBC).
#include "config/vxinifil.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "ini_test_support.h"

namespace {

using namespace std::string_literals;

// What a lookup writes, each NUL shown as "|" (the length returned must
// match what was written).
std::string get(VxIniFileCache& cache, const char* section, const char* key, VXSIZE_T size = 256, const char* defaultValue = "<none>") {
  char buffer[512];
  std::string out(buffer, cache.bosGetProfileString(section, key, defaultValue, buffer, size));
  for (char& c : out) c = c ? c : '|';
  return out;
}

// Runs body(list) in a child process that has given up root (as root,
// permissions would not apply), with that list installed or with none;
// whether the child exited with 0.
template <typename Body>
bool childSucceeds(bool withErrorList, Body body) {
  VxErrorList list(nullptr, VxErrorList::kSupportMultipleErrors);
  pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(99);
    VxErrorKeeper::giveUpErrorList();
    if (withErrorList) VxErrorKeeper::setErrorList(&list);
    _exit(body(list));
  }
  int status = -1;
  return waitpid(child, &status, 0) == child && status == 0;
}

// A 4 MB file whose lines all open with "[" and whose only "]" ends it:
// loading stays linear in the file's size (it was quadratic: hours here,
// which the suite's time-out would catch), and the lookup still finds the
// section that stands at a line start before that "]".
// Each load's image is freed with its cache.
TEST_F(IniTest, HostileHeadersLoadInLinearTime) {
  std::string text;
  while (text.size() < (4u << 20)) text += "[a header with no end in sight\n";
  std::string file = writeFile("hostile.ini", text + "[s]\nk=v\n]");
  size_t before = mallinfo2().uordblks;
  for (int i = 0; i < 3; ++i) {
    VxIniFileCache cache(file.c_str());
    EXPECT_EQ("v", get(cache, "s", "k"));
  }
  EXPECT_LT(mallinfo2().uordblks, before + (1u << 20));
}

// Each row: a file, a lookup (a null key asks for the key list) and what
// it writes.
TEST_F(IniTest, LookupsCutToSizeFallBackToTheDefaultAndListKeys) {
  struct { std::string image; const char *section, *key; std::string expected; VXSIZE_T size = 256; const char* defaultValue = "<none>"; } rows[] = {
      {"[s]\nA=x[y]\nB=2\n", "s", "B", "<none>"},  // deliberate: a "[" in a value ends the section
      {"[s]\nk=a\0b\n"s, "s", "k", "a|b"},  // a NUL is an ordinary byte
      {"[s]\nk=abcdefgh\n", "s", "k", "abcd", 5},
      {"[s]\nk=abcdefgh\n", "s", "k", "abcdefgh", 9},
      {"[s]\nk=abcdefgh\n", "s", "missing", "<no", 4},
      {"[s]\nk=v\n", "s", "missing", "", 16, nullptr},
      {"[s]\nk=v\n", nullptr, "k", "<none>"},
      {"[s]\n  A = 1\n B=2\n", "s", nullptr, "A | B||"},  // blanks kept, but for the very first
      {"[s]\nnokey\nA=1\n", "s", nullptr, "nokeyA||"},    // a line without "=" runs on
      {"[s]\nA=1[x]\nB=2\n", "s", nullptr, "A||"},
      {"[s]\nAlpha=1\nBeta=2\n", "s", nullptr, "Alph|", 5},
      {"[s]\nAlpha=1\n", "s", nullptr, "|", 1},
      {"[s]\n[t]\nk=1\n", "s", nullptr, "<none>"},  // an empty section counts as missing
      {"[s]\n", "nosuch", nullptr, "<none>"},
  };
  for (const auto& row : rows) {
    VxIniFileCache cache(writeFile("a.ini", row.image).c_str());
    EXPECT_EQ(row.expected, get(cache, row.section, row.key, row.size, row.defaultValue)) << row.image;
  }
  // Numbers: leading digits only; the default for anything else or out of
  // range, deliberately narrowed to 32 bits.
  VxIniFileCache cache(writeFile("a.ini", "[empty]\n[n]\nn=42\nm=12abc\nneg=-3\nword=abc\nhuge=99999999999\nmax=2147483647\n").c_str());
  struct { const char* key; int32_t expected; } ints[] = {{"n", 42}, {"m", 12}, {"neg", 7}, {"word", 7}, {"huge", 7}, {"max", 2147483647}};
  for (const auto& row : ints) EXPECT_EQ(row.expected, cache.bosGetProfileInt("n", row.key, 7)) << row.key;
  EXPECT_EQ(5, cache.bosGetProfileInt("n", "missing", VXSSIZE_T(0x100000005LL)));
  char buffer[8] = "x";
  EXPECT_EQ(0u, cache.bosGetProfileSection("empty", buffer, sizeof buffer));
  EXPECT_STREQ("", buffer);
  EXPECT_EQ(0u, errors.getCount());
}

TEST_F(IniTest, RefreshFollowsTheFileUntilItVanishesOrIsClosed) {
  std::string full = writeFile("a.ini", "[s]\nk=old\n");
  // Each file time a minute back, so that a rewrite in the same second is still a change of time.
  struct timespec times[2] = {{time(nullptr) - 60, 0}, {time(nullptr) - 60, 0}};
  utimensat(AT_FDCWD, full.c_str(), times, 0);
  VxIniFileCache cache(full.c_str()), closed(full.c_str());
  EXPECT_EQ("old", get(cache, "s", "k"));
  writeFile("a.ini", "[s]\nk=newer\n");  // other size
  EXPECT_EQ("newer", get(cache, "s", "k"));
  utimensat(AT_FDCWD, full.c_str(), times, 0);
  EXPECT_EQ("newer", get(cache, "s", "k"));  // now read with the old time
  writeFile("a.ini", "[s]\nk=later\n");  // same size, other time
  EXPECT_EQ("later", get(cache, "s", "k"));
  closed.Close();
  EXPECT_EQ(1, closed.proFileSync());
  EXPECT_EQ("<none>", get(closed, "s", "k"));
  EXPECT_EQ(1, closed.bosPutProfileString("s", "k", "2"));
  unlink(full.c_str());
  EXPECT_EQ(1, cache.proFileSync());
  EXPECT_EQ("<none>", get(cache, "s", "k"));
}

TEST_F(IniTest, LoadFailuresAndReadOnlyFiles) {
  VxIniFileCache installed("odbcinst.ini"), created(path("new.ini").c_str());
  // An absent installed-drivers file loads empty; a missing plain file is created.
  EXPECT_TRUE(installed.isOpen() && created.isOpen());
  EXPECT_EQ(0u, errors.getCount());
  setEnv("ODBCINI", path("missing.ini"));
  VxIniFileCache missing("odbc.ini");
  EXPECT_FALSE(missing.isOpen());
  EXPECT_EQ(1509, errors.getCount() == 1 && errors.at(0)->isWarning() ? errors.at(0)->getErrorNumber() : 0);

  std::string full = writeFile("ro.ini", "[s]\nk=v\n");
  chmod(dir.c_str(), 0755);
  chmod(full.c_str(), 0444);
  // A read-only file loads read-only and refuses writes with 1508; without
  // an error list any open failure falls back to read-only.
  EXPECT_TRUE(childSucceeds(true, [&](VxErrorList& list) {
    VxIniFileCache cache(full.c_str());
    return cache.isOpen() && list.getCount() == 0 && !(cache.getOpenMode() & 0x2) && get(cache, "s", "k") == "v" &&
           cache.bosPutProfileString("s", "k", "w") == 1 && list.getCount() == 1 && list.at(0)->getErrorNumber() == 1508 ? 0 : 1;
  }));
  EXPECT_TRUE(childSucceeds(false, [&](VxErrorList&) {
    VxIniFileCache cache(full.c_str());
    return cache.isOpen() && !(cache.getOpenMode() & (0x2 | 0x4)) && get(cache, "s", "k") == "v" ? 0 : 1;
  }));
  // A file that became read-only after the load: the write fails with
  // 1508 and leaves the file as it was.
  ASSERT_TRUE(geteuid() != 0 || chown(full.c_str(), 65534, 65534) == 0);
  chmod(full.c_str(), 0644);
  EXPECT_TRUE(childSucceeds(true, [&](VxErrorList& list) {
    VxIniFileCache cache(full.c_str());
    return cache.isOpen() && (cache.getOpenMode() & 0x2) && chmod(full.c_str(), 0444) == 0 &&
           cache.bosPutProfileString("s", "k", "longer value") == 1 && list.at(0)->getErrorNumber() == 1508 ? 0 : 1;
  }));
  EXPECT_EQ("[s]\nk=v\n", readFile(full));

  // The cache takes back only the errors it filed itself, even from a full
  // single-error list.
  VxErrorList single(nullptr, 0);
  VxErrorKeeper::setErrorList(&single);
  addError(1503);
  VxIniFileCache huge(writeFile("a.ini", "[s]\nhuge=99999999999\n").c_str()), installedToo("odbcinst.ini");
  EXPECT_EQ(7, huge.bosGetProfileInt("s", "huge", 7));
  EXPECT_EQ(1503, single.getCount() == 1 ? single.at(0)->getErrorNumber() : 0);
  VxErrorKeeper::giveUpErrorList();
}

// On a full disk (vxtool run with every write to a file failing) a change
// fails with 1506 and leaves the file as it was.
TEST_F(IniTest, FullDiskLeavesTheFileAsItWas) {
  std::string full = writeFile("f.ini", "[s]\nk=v\n"), out(512, '\0');
  FILE* tool = popen(("LD_PRELOAD='" VX_DISK_FULL_SHIM "' '" VX_TOOL "' profile set '" + full + "' s k 'longer value' 2>&1").c_str(), "r");
  out.resize(fread(&out[0], 1, out.size(), tool));
  EXPECT_EQ(1, WEXITSTATUS(pclose(tool))) << out;
  EXPECT_NE(std::string::npos, out.find("1506")) << out;
  EXPECT_EQ("[s]\nk=v\n", readFile(full));
}

// Each row: a file, the writes made through one cache, the file written
// out, and lookups that must then give the new values.
TEST_F(IniTest, WritesRewriteTheFileAndTheImage) {
  struct Triple { const char *section, *key, *value; };
  struct { const char* before; std::vector<Triple> writes; const char* after; std::vector<Triple> lookups; } rows[] = {
      {"[s]\n  k = old value\nj=1\n", {{"s", "K", "new"}}, "[s]\nK=new\nj=1\n", {{"s", "k", "new"}}},
      {"[s]\nk=a very long value indeed\nj=1\n", {{"s", "k", "x"}}, "[s]\nk=x\nj=1\n", {}},
      {"[s]\nk=1\n", {{"s", "k", "2"}}, "[s]\nk=2\n", {{"s", "k", "2"}}},  // same size, same second
      {"[s]\nk=1\n[t]\nm=2", {{"s", "n", "3"}, {"t", "o", "4"}}, "[s]\nk=1\nn=3\n[t]\nm=2\no=4\n", {{"t", "o", "4"}}},
      {"[s]\nk=1", {{"new", "a", "b"}}, "[s]\nk=1\n[new]\na=b\n", {}},
      {"", {{"s", "k", "v"}}, "[s]\nk=v\n", {}},
      {"[s]\n#c\n\tk\t=\t1\n\n j==2\n", {{"s", "k", nullptr}, {"s", "J", nullptr}, {"s", "n", "3"}}, "[s]\n#c\n\nn=3\n", {}},
      {"[s]\nk=1\n[t]\nk=3\n", {{"s", nullptr, nullptr}}, "[t]\nk=3\n", {{"s", "k", "<none>"}, {"t", "k", "3"}}},
      {"[s]\nk=1\n", {{"s", "missing", nullptr}, {"nosuch", nullptr, nullptr}}, "[s]\nk=1\n", {}},
      // A value cut by a "[" keeps the rest of its line, and no change may
      // bring that "[" to a line start, where it would be a header.
      {"[s]\nk=a[b]\n", {{"s", "k", "new"}}, "[s]\nk=new[b]\n", {{"s", "k", "new"}}},
      {"[s]\nk=a[b]\nx=1\n[b]\ny=2\n", {{"s", "k", nullptr}}, "[s]\n;[b]\nx=1\n[b]\ny=2\n", {{"b", "x", "<none>"}, {"b", "y", "2"}}},
      {"[s]\nk=a[b]\nx=1\n[b]\ny=2\n", {{"s", "n", "v"}}, "[s]\nk=a\nn=v\n;[b]\nx=1\n[b]\ny=2\n", {{"s", "n", "v"}, {"b", "x", "<none>"}}},
      {"[s]\nk=a[b]\nx=1\n[b]\ny=2\n", {{"s", nullptr, nullptr}}, ";[b]\nx=1\n[b]\ny=2\n", {{"b", "x", "<none>"}}},
  };
  for (const auto& row : rows) {
    std::string full = writeFile("a.ini", row.before);
    VxIniFileCache cache(full.c_str());
    for (const Triple& w : row.writes) ASSERT_EQ(0, cache.bosPutProfileString(w.section, w.key, w.value)) << row.before;
    EXPECT_EQ(row.after, readFile(full)) << row.before;
    for (const Triple& l : row.lookups) EXPECT_EQ(l.value, get(cache, l.section, l.key)) << row.before;
  }
}

}  // namespace
