// The profile interface: which forms keep the task's cache open, the
// fresh-cache Windows-named forms, defaults for a missing file, concurrent
// writers, vxstrlcpy and the installation directory.
#include "config/vxini.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "ini_test_support.h"

namespace {

// Each row: a call, what it answers (as text; a text as "length:text"
// with each NUL shown as "|") and by how much it changes the use count of
// the file's cache: a form that leaves it open adds one. Calls on
// "odbc.ini" find no file and answer with their defaults.
TEST_F(IniTest, ProfileCallsAnswerAndDeliberatelyCloseOrKeepTheTaskCache) {
  std::string full = writeFile("a.ini", "[s]\nk=v\nn=12\n");
  writeFile(".system.defaults", "[Options]\nLevel=3\n");
  setEnv("ODBCINI", path("missing.ini"));
  setEnv("ODBCINSTINI", full);
  const char *f = full.c_str(), *m = "odbc.ini";
  VxIniFileCache* cache = vxPrivateProfileInit(f);
  ASSERT_NE(nullptr, cache);
  char buffer[64];
  auto n = [](int64_t value) { return std::to_string(value); };
  auto installDir = [&](const char* dataSources, const char* installedDrivers, const char* given) {
    for (const char* name : {"ODBCINI", "ODBCINSTINI"}) unsetenv(name);
    writeFile(".odbc.ini", dataSources);
    writeFile(".odbcinst.ini", installedDrivers);
    return bosSetInstallDir(given) == 0 ? std::string(InstallDirLocation) : "failed";
  };
  auto got = [&](VXSIZE_T length) { return n(int64_t(length)) + ":" + std::string(buffer, length); };
  struct { std::function<std::string()> call; std::string expected; int uses = 0; } calls[] = {
      {[&] { return got(vxGetPrivateProfileString("s", "k", "", buffer, 64, f)); }, "1:v"},
      {[&] { return n(vxGetPrivateProfileInt("s", "n", 0, f)); }, "12"},
      {[&] { return n(vxWritePrivateProfileString("s", "j", "w", f)); }, "1"},
      {[&] { return got(vxGetPrivateProfileSection("s", buffer, 64, f)); }, "7:k|n|j||", 1},
      {[&] { return got(vxGetProfileString("s", "j", "", buffer, 64, f)); }, "1:w", 1},
      {[&] { return n(vxGetProfileInt("s", "n", 0, f)); }, "12", 1},
      {[&] { return n(vxWriteProfileString("s", "n", "5", f)); }, "1", 1},
      {[&] { return got(vxGetPrivateProfileString("s", "n", "", buffer, 64, cache)); }, "1:5"},
      {[&] { vxPrivateProfileTerm(cache); return ""; }, "", -1},
      {[&] { return n(GetPrivateProfileInt("s", "n", 0, f)); }, "5"},
      {[&] { return n(WritePrivateProfileString("s", "k", "ccc", f)); }, "1"},
      {[&] { return n(vxGetWININIInt("Options", "Level", 0)); }, "3"},
      {[&] { return n(vxWriteWININIString("Options", "Level", "4")); }, "1"},
      {[&] { return n(vxGetWININIInt("Options", "Level", 0)); }, "4"},
      {[&] { return got(vxGetPrivateProfileString("s", "k", "default", buffer, 4, m)); }, "3:def"},
      {[&] { return n(vxGetPrivateProfileInt("s", "k", 7, m)); }, "7"},
      {[&] { return n(vxGetPrivateProfileSection("s", buffer, 4, m)); }, "0"},
      {[&] { return n(vxWritePrivateProfileString("s", "k", "v", m)); }, "0"},
      {[&] { return got(vxGetProfileString("s", "k", nullptr, buffer, 4, m)); }, "0:"},
      {[&] { return n(vxGetProfileInt("s", "k", 0x100000008LL, m)); }, "8"},  // deliberately narrowed
      {[&] { return got(GetPrivateProfileString("s", "k", "dflt", buffer, 16, m)); }, "4:dflt"},
      {[&] { return n(GetPrivateProfileInt("s", "k", 9, m)); }, "9"},
      {[&] { return n(WritePrivateProfileString("s", "k", "v", m)); }, "0"},
      // One cache for a path under any name; one taken out of the list is no more shared.
      {[&] { return got(vxGetPrivateProfileSection("s", buffer, 64, "odbcinst.ini")); }, "7:k|n|j||", 1},
      {[&] { bosGetPTaskIniList()->remove(cache); return n(vxGetProfileInt("s", "n", 0, f)); }, "5"},
      // The installation directory: from .odbc.ini (plain form), else .odbcinst.ini, trimmed.
      {[&] { return installDir("[ODBC]\nInstallDir=/opt/x/ \n", "", nullptr); }, "/opt/x"},
      {[&] { return installDir("[ODBC]\nTrace=0\n", "[ODBC]\nInstallDir=/usr/lib/vx//\n", nullptr); }, "/usr/lib/vx/"},
      {[&] { return installDir("", "", "/given/dir/\t "); }, "/given/dir"},
      {[&] { return installDir("", "", " "); }, " "},  // the first byte is never trimmed
      {[&] { return installDir("", "", std::string(2000, 'd').c_str()); }, std::string(VX_INSTALL_DIR_SIZE - 1, 'd')},
      // A missing odbcinst.ini is an empty file, and no error.
      {[&] {
         setEnv("ODBCINSTINI", path("none.ini"));
         VXSIZE_T had = errors.getCount();
         return got(vxGetPrivateProfileString("s", "k", "d", buffer, 64, "odbcinst.ini")) + (errors.getCount() == had ? "" : " +error");
       }, "1:d"},
  };
  for (const auto& c : calls) {
    int32_t before = cache->getUseCount();
    std::string answer = c.call();
    std::replace(answer.begin(), answer.end(), '\0', '|');
    EXPECT_EQ(c.expected, answer) << "row " << &c - calls;
    EXPECT_EQ(before + c.uses, cache->getUseCount()) << "row " << &c - calls;
  }
  delete cache;
}

// Writers of one file, each setting 40 keys of its own through calls of
// its own (through the task's caches or fresh ones): afterwards every key
// reads back and the section is there once.
int writeKeys(const std::string& file, char writer, bool fresh) {
  int failures = 0;
  for (int i = 0; i < 40; ++i) {
    std::string key = writer + std::to_string(i), value = key + std::string(size_t(i % 7), 'v');
    failures += (fresh ? WritePrivateProfileString : vxWritePrivateProfileString)("shared", key.c_str(), value.c_str(), file.c_str()) != 1;
  }
  return failures;
}
void expectAllKeys(const std::string& file, const std::string& writers) {
  char buffer[64];
  for (int i = 0; i < 40 * int(writers.size()); ++i) {
    std::string key = writers[size_t(i / 40)] + std::to_string(i % 40);
    GetPrivateProfileString("shared", key.c_str(), "<lost>", buffer, sizeof buffer, file.c_str());
    EXPECT_EQ(key + std::string(size_t(i % 40 % 7), 'v'), buffer);
  }
  EXPECT_EQ(0u, IniTest::readFile(file).rfind("[shared]\n"));
}

TEST_F(IniTest, ThreadsWritingDifferentKeysAllLand) {
  std::string file = writeFile("threads.ini", "[shared]\nbase=1\n");
  int failures[4] = {};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) threads.emplace_back([&, t] { failures[t] = writeKeys(file, char('a' + t), t >= 2); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, failures[0] + failures[1] + failures[2] + failures[3]);
  expectAllKeys(file, "abcd");
}

TEST_F(IniTest, ProcessesWritingDifferentKeysNeverCorruptTheFile) {
  std::string file = writeFile("procs.ini", "[shared]\nbase=1\n"), writers = "ABCDEFGH";
  std::vector<pid_t> children;
  for (char writer : writers) {
    children.push_back(fork());
    if (children.back() == 0) _exit(writeKeys(file, writer, false));
  }
  int status = -1;
  for (pid_t child : children) EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0) << "writer " << &child - &children[0];
  expectAllKeys(file, writers);
}

// A process holding either lock token of the file, for 20 s, delays no
// reader: the read answers at once, with the file's value.
TEST_F(IniTest, ReadersNeverWaitForAnotherProcesssLock) {
  std::string file = writeFile("held.ini", "[s]\nk=v\n");
  for (short type : {F_RDLCK, F_WRLCK}) {
    int ready[2];
    ASSERT_EQ(0, pipe(ready));
    pid_t holder = fork();
    if (holder == 0) {
      struct flock lock = {};
      lock.l_type = type, lock.l_whence = SEEK_SET, lock.l_start = 1, lock.l_len = 1;
      char held = fcntl(open(file.c_str(), O_RDWR), F_SETLK, &lock) == 0 ? '1' : '0';
      if (write(ready[1], &held, 1) == 1) sleep(20);
      _exit(0);
    }
    char held = 0, first[8] = "", second[8] = "";
    EXPECT_TRUE(read(ready[0], &held, 1) == 1 && held == '1');
    EXPECT_EQ(1u, vxGetPrivateProfileString("s", "k", "dflt", first, sizeof first, file.c_str()));
    EXPECT_EQ(1u, GetPrivateProfileString("s", "k", "dflt", second, sizeof second, file.c_str()));
    EXPECT_EQ("v v", std::string(first) + " " + second) << "lock type " << type;
    // A writer waits for the token instead: it lands once the holder is gone.
    std::thread release([&] { usleep(300000), kill(holder, SIGKILL), waitpid(holder, nullptr, 0); });
    EXPECT_EQ(1u, vxWritePrivateProfileString("s", "w", "1", file.c_str())) << "lock type " << type;
    release.join(), close(ready[0]), close(ready[1]);
  }
}

// vxstrlcpy against a model, for every size up to past the text's length.
TEST(VxStrlcpyTest, CopiesWholeOrCutsToSizeMinusOne) {
  for (std::string source : {"", "abc", "abcdefg"}) {
    for (VXSIZE_T size = 0; size < 10; ++size) {
      std::string out(10, 'x'), expected = size ? source.substr(0, size - 1) + '\0' + out.substr(std::min(source.size() + 1, size)) : out;
      EXPECT_EQ(size ? std::min<VXSIZE_T>(source.size(), size - 1) : 0, vxstrlcpy(&out[0], source.c_str(), size));
      EXPECT_EQ(expected, out) << source << " " << size;
    }
  }
}

}  // namespace
