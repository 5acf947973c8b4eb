// Opening files: every mode bit, the redirection of the configuration files,
// and the byte-1 lock tokens between processes and between threads (tests
// named "Threads..." run several threads at once).
#include <fcntl.h>

#include "bos/bos_test_support.h"

namespace {

// The first bytes (at most 63) of the open file fd.
std::string readAll(int fd) { char text[64] = {}; int32_t count = 0; return bosFileRead(fd, 0, text, sizeof text - 1, &count), text; }

class Open : public Scratch {
 protected:
  // "STATUS/ERROR HANDLE" of opening path with mode, HANDLE "fd" for a
  // descriptor above 0; the file is closed unless fd asks for it.
  static std::string open(const std::string& path, uint32_t mode, int* fd = nullptr) {
    PathBuffer name(path);
    int handle = -1;
    std::string result = seq({res(bosFileOpen(name, mode, &handle)), handle > 0 ? "fd" : std::to_string(handle)});
    if (fd) *fd = handle; else bosFileClose(handle);
    return result;
  }
  // The name a temporary open gives, after checking that the file exists.
  static std::string temporary() {
    PathBuffer name("ignored");
    int handle = -1;
    EXPECT_EQ("0 0 1", seq({res(bosFileOpen(name, BOS_OPEN_TEMPORARY, &handle)), res(bosFileWrite(handle, 0, "t", 1)), res(bosexist(name))}));
    bosFileClose(handle);
    return name.str();
  }
  // The name a configuration file resolves to (modes 0x300), or "FAIL/ERROR".
  static std::string resolve(const std::string& name) {
    int handle = -1;
    std::string r = inPlace(name, [&](char* buffer) { return bosFileOpen(buffer, BOS_OPEN_REDIRECT | BOS_OPEN_NO_OPEN, &handle); });
    return r[0] == '0' && handle == 0 ? r.substr(2) : "FAIL" + r.substr(1, r.find(' ') - 1);
  }
  static constexpr uint32_t kRwExclusive = BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK;
};

TEST_F(Open, EachModeBitDoesItsPart) {
  std::string kept = makeFile("kept", "kept"), missing = at("missing");
  int fd = -1;
  EXPECT_EQ("0 fd kept 0 0 1/1520 -1 0 fd", seq({open(kept, BOS_OPEN_CREATE, &fd), readAll(fd), res(bosFileWrite(fd, 0, "K", 1)),
                                                  res(bosFileClose(fd)), open(kept, BOS_OPEN_CREATE | BOS_OPEN_EXCLUSIVE),
                                                  open(at("fresh"), BOS_OPEN_CREATE | BOS_OPEN_EXCLUSIVE)}));
  EXPECT_EQ("0 fd Kept 1/1506 0", seq({open(kept, 0, &fd), readAll(fd), res(bosFileWrite(fd, 0, "x", 1)), res(bosFileClose(fd))}));
  EXPECT_EQ("1/1509 -1 0 0 0 0 0 fd 0 0 1",
            seq({open(missing, BOS_OPEN_READ_WRITE), res(bosexist(missing.c_str())),
                 open(missing, BOS_OPEN_NO_OPEN | BOS_OPEN_READ_WRITE | BOS_OPEN_CREATE_IF_MISSING), res(bosexist(missing.c_str())),
                 open(missing, BOS_OPEN_READ_WRITE | BOS_OPEN_CREATE_IF_MISSING, &fd), res(bosFileWrite(fd, 0, "y", 1)),
                 res(bosFileClose(fd)), res(bosexist(missing.c_str()))}));
  // Home-relative names; PATH searched only with 0x10, and one error filed.
  makeDir("bin"), makeFile("bin/tool.cfg", "found"), setEnv("HOME", dir), setEnv("PATH", at("nothing") + ":" + at("bin"));
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ("0 fd 1/1509 -1 0 fd found 1/1509 -1", seq({open("kept", BOS_OPEN_HOME_RELATIVE), open("tool.cfg", 0),
                                                      open("tool.cfg", BOS_OPEN_SEARCH_PATH, &fd), readAll(fd),
                                                      open("absent.cfg", BOS_OPEN_SEARCH_PATH)}));
  bosFileClose(fd), unsetenv("HOME");
  EXPECT_EQ("1/1509 -1", open("kept", BOS_OPEN_HOME_RELATIVE));
  // (Without a current error list a failure files nothing: bosMapError
  // already makes sure of that, see Process.SystemErrorsMapToLibraryErrors.)
  // Deliberate: descriptor 0 counts as failure (1507) and stays taken.
  EXPECT_EQ(0, inChild([&] { return close(0) == 0 && open(kept, 0) == "1/1507 -1" && open(kept, 0) == "0 fd" ? 0 : 1; }));
}

// A temporary file goes into VX_TMPDIR when that is a directory, else into
// TMPDIR; its name is "vx" and six characters, a new one every time.
TEST_F(Open, TemporaryNamesAreFreshAndInTheChosenDirectory) {
  setEnv("TMPDIR", makeDir("system"));
  setEnv("VX_TMPDIR", at("not-a-directory"));
  const std::string fallback = temporary(), system = at("system/vx"), mine = (setEnv("VX_TMPDIR", makeDir("mine") + "/"), at("mine/vx"));
  const std::string first = temporary(), second = temporary();
  EXPECT_EQ(seq({system, mine, n(mine.size() + 6), "1"}),
            seq({fallback.substr(0, system.size()), first.substr(0, mine.size()), n(first.size()), n(first != second)}));
}

// What another process gets for each mode while this one holds a token (1:
// refused with error 1512); once the holder closes, every token is free.
TEST_F(Open, TokensKeepOtherProcessesOutAsTheirKindsDemand) {
  auto childOpens = [](const std::string& path, uint32_t mode) {
    return inChild([&] { std::string result = open(path, mode); return result == "0 fd" ? 0 : result == "1/1512 -1" ? 1 : 2; });
  };
  const struct { bool exists; uint32_t mode; std::vector<std::pair<uint32_t, int>> others; } cases[] = {
      {true, kRwExclusive, {{kRwExclusive, 1}, {BOS_OPEN_SHARED_LOCK, 1}, {BOS_OPEN_READ_WRITE, 0},
                            {BOS_OPEN_SHARED_LOCK | BOS_OPEN_NO_SHARED_LOCK, 0}, {BOS_OPEN_CREATE, 0}}},  // create ignores it
      {true, BOS_OPEN_SHARED_LOCK, {{BOS_OPEN_SHARED_LOCK, 0}, {kRwExclusive, 1}}},
      {false, BOS_OPEN_CREATE, {{BOS_OPEN_SHARED_LOCK, 0}, {kRwExclusive, 1}}},  // create takes a shared token
      {true, BOS_OPEN_EXCLUSIVE_LOCK, {{kRwExclusive, 0}}}};                       // exclusive needs read-write
  for (const auto& c : cases) {
    std::string path = c.exists ? makeFile("token") : at("token");
    int fd = -1;
    ASSERT_EQ("0 fd", open(path, c.mode, &fd)) << c.mode;
    for (const auto& other : c.others) EXPECT_EQ(other.second, childOpens(path, other.first)) << c.mode << " " << other.first;
    bosFileClose(fd);
    EXPECT_EQ(0, childOpens(path, kRwExclusive)) << c.mode;
    unlink(path.c_str());
  }
  // The token is byte 1 only, and a region lock over byte 1 refuses it.
  std::string path = makeFile("bytes", std::string(32, 'b'));
  int fd = -1;
  ASSERT_EQ("0 fd", open(path, kRwExclusive, &fd));
  EXPECT_EQ(0, inChild([&] {
    int other = ::open(path.c_str(), O_RDWR);
    for (off_t start : {0, 2, 5, 1}) {
      struct flock probe = {F_WRLCK, SEEK_SET, start, 1, 0};
      if ((fcntl(other, F_SETLK, &probe) == 0) != (start != 1)) return 1;
    }
    return 0;
  }));
  bosFileClose(fd);
  EXPECT_EQ("0 fd 0 1 0 0", seq({open(path, BOS_OPEN_READ_WRITE, &fd), res(bosRegionLock(fd, 0, 0, 16)), n(childOpens(path, kRwExclusive)),
                                 res(bosRegionLock(fd, 1, 0, 16)), n(childOpens(path, kRwExclusive))}));
  bosFileClose(fd);
}

// Record locks belong to the process: its threads share the tokens, and
// closing any descriptor of the file drops them all. (Region locks between
// threads: RegionLock.ThreadsAndProcessesAreKeptOffRangesHeldElsewhere.)
TEST_F(Open, ThreadsOfOneProcessShareTheTokens) {
  std::string path = makeFile("threads", std::string(32, 't'));
  int first = -1, second = -1;
  ASSERT_EQ("0 fd", open(path, kRwExclusive, &first));
  EXPECT_EQ("0 fd", onThread([&] { return open(path, kRwExclusive, &second); }));
  EXPECT_EQ(1, inChild([&] { return open(path, BOS_OPEN_SHARED_LOCK) == "1/1512 -1"; }));
  bosFileClose(second);
  EXPECT_EQ(1, inChild([&] { return open(path, kRwExclusive) == "0 fd"; }));
  bosFileClose(first);
}

// Which file a configuration name resolves to, for every combination of
// case, home file and variables, is judged by fuzz/redirect_fuzz.cpp; here
// the file chosen is opened, a path with a directory is left alone, and
// names are used as given without HOME.
TEST_F(Open, RedirectedNamesOpenTheFileChosen) {
  ASSERT_EQ(0, chdir(dir.c_str()));
  setEnv("HOME", makeDir("home"));
  for (const char* f : {"home/.vxlib.ini", "chosen.ini", "home/plain.ini"}) makeFile(f, f);
  setEnv("VXLIB_INI", at("other.ini")), setEnv("ODBCINI", at("chosen.ini"));
  int fd = -1;
  PathBuffer odbc(".odbc.ini"), plain("plain.ini");
  EXPECT_EQ("0 chosen.ini " + at("chosen.ini") + " 0 home/plain.ini plain.ini /etc/odbc.ini",
            seq({res(bosFileOpen(odbc, BOS_OPEN_REDIRECT | BOS_OPEN_READ_WRITE, &fd)), readAll(fd), odbc.str(),
                 res(bosFileOpen(plain, BOS_OPEN_HOME_RELATIVE, &fd)), readAll(fd), plain.str(), resolve("/etc/odbc.ini")}));
  for (const char* name : {"HOME", "ODBCINI", "VXLIB_INI"}) unsetenv(name);
  EXPECT_EQ("FAIL/1509 .vxlib.ini", seq({resolve("odbc.ini"), resolve(".vxlib.ini")}));
  makeFile("odbc.ini"), setEnv("VXLIB_INI", at("other.ini"));
  EXPECT_EQ("odbc.ini " + at("other.ini"), seq({resolve("odbc.ini"), resolve(".vxlib.ini")}));
  setEnv("ODBCINI", at("missing.ini"));
  EXPECT_EQ("1/1509 -1", open(".odbc.ini", BOS_OPEN_REDIRECT)) << "the handle is left as it was";
  setEnv("ODBCINI", dir);
  EXPECT_EQ("1/1509 -1", open(".odbc.ini", BOS_OPEN_REDIRECT)) << "a directory is no configuration file";
}

}  // namespace
