// The file layer apart from opening: attributes, removal and renaming,
// reading and writing open files, enumerating, paths and locating. Call
// results are compared as transcripts ("STATUS/ERROR", see res and seq).
// The path parsers' general promises are fuzzed by fuzz/path_fuzz.cpp; the
// rows here pin exact results and error numbers.
#include <fcntl.h>

#include <algorithm>

#include "bos/bos_test_support.h"
#include "foundation/ram_internal.h"

namespace {

using Files = Scratch;
using Names = std::vector<std::string>;

// Codes: 1 writable file, 5 read-only file, 2 directory, 8 missing, 16
// other failure, 32 other kind; bosexist is bit 0. The write bit is the
// owner's, else the group's, else the others' (giving files away needs root).
TEST_F(Files, AttributeCodesAndTheWriteBitThatCounts) {
  std::string file = makeFile("plain"), fifo = at("fifo"), codes;
  ASSERT_EQ(0, mkfifo(fifo.c_str(), 0644));
  auto both = [](const std::string& p) { return seq({res(bosfattr(p.c_str())), res(bosexist(p.c_str()))}); };
  for (const std::string& p : {file, makeDir("d"), at("none"), at("none/deeper"), file + "/x", std::string(5000, 'n'), fifo, std::string("/dev/null")})
    codes += both(p) + ",";
  EXPECT_EQ("1 1,2 0,8 0,8 0,8 0,16 0,32 0,32 0,", codes);
  const struct { mode_t mode; uid_t uid; gid_t gid; const char* codes; } bits[] = {
      {0466, 0, 0, "5 1"}, {0200, 0, 0, "1 1"}, {0646, 1000, 0, "5 1"}, {0464, 1000, 0, "1 1"}, {0464, 1000, 1000, "5 1"},
      {0442, 1000, 1000, "1 1"}};
  for (const auto& b : bits) {
    if (chown(file.c_str(), getuid() + b.uid, getgid() + b.gid) == 0 && chmod(file.c_str(), b.mode) == 0) {
      EXPECT_EQ(b.codes, both(file)) << std::oct << b.mode << " " << b.uid;
    }
  }
  EXPECT_EQ(2, (chdir("/"), bosfattr("..")));
}

TEST_F(Files, DeleteRenameDateSizeAndTheWritableDirectoryProbe) {
  std::string gone = makeFile("gone"), from = makeFile("a", "twelve bytes"), to = at("b"), taken = makeFile("c");
  uint32_t time = 0;
  VXSIZE_T size = 0;
  struct stat info;
  ASSERT_EQ(0, stat(from.c_str(), &info));
  // A missing file counts as deleted, a directory fails (1502); a missing
  // file has no date (nothing filed); renaming onto a name in use fails.
  EXPECT_EQ("0 8 0 1/1502 1 0", seq({res(bosFileDelete(gone.c_str())), res(bosfattr(gone.c_str())), res(bosFileDelete(gone.c_str())),
                                     res(bosFileDelete(makeDir("keep").c_str())), res(bosFileDateSize(gone.c_str(), &time, &size)),
                                     res(bosFileDateSize(from.c_str(), &time, &size))}));
  EXPECT_EQ(uint32_t(info.st_mtime), time);
  EXPECT_EQ(12u, size);
  EXPECT_EQ("0 8 1 1/30042 1", seq({res(bosrname(from.c_str(), to.c_str())), res(bosfattr(from.c_str())), res(bosfattr(to.c_str())),
                                    res(bosrname(taken.c_str(), to.c_str())), res(bosexist(taken.c_str()))}));
  // The probe file "$$$vx$$$.$vx" goes into the directory part of the name
  // (none: the working directory) and is removed; a taken name fails it.
  std::string probe = at("$$$vx$$$.$vx");
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ("1 1 0 1 8", seq({res(bosftest(at("x.dat").c_str())), res(bosftest((dir + "/").c_str())),
                              res(bosftest(at("missing/x").c_str())), res(bosftest("x")), res(bosfattr(probe.c_str()))}));
  EXPECT_EQ(1, inChild([&] { close(0); return bosftest(at("x.dat").c_str()); })) << "the probe may open as descriptor 0";
  makeFile("$$$vx$$$.$vx");
  EXPECT_EQ("0 0 1", seq({res(bosftest(at("x").c_str())), res(bosftest("x")), res(bosexist(probe.c_str()))}));
}

TEST_F(Files, ReadWriteSeekSizeAndCloseOfAnOpenFile) {
  PathBuffer name(at("data"));
  int fd = -1;
  ASSERT_EQ(0, bosFileOpen(name, BOS_OPEN_CREATE, &fd));
  auto read = [&](int handle, int64_t offset, VXSIZE_T length) {
    char text[16] = {};
    int32_t count = 7;
    std::string status = res(bosFileRead(handle, offset, text, length, &count));
    return seq({status, n(count), text});
  };
  // Offset -1 is the current position; a bad handle reads count -1.
  EXPECT_EQ("0 0 0 0 0 12 hello WORLD! 1 0 2 el 0 0  0 -1 ",
            seq({res(bosFileWrite(fd, 0, "hello world", 11)), res(bosFileWrite(fd, 6, "WORLD", 5)), res(bosFileWrite(fd, -1, "!", 1)),
                 res(bosFileWrite(fd, 0, "", 0)), read(fd, 0, 15), res(bosFileSeek(fd, 1, SEEK_SET)), read(fd, -1, 2),
                 read(fd, 100, 1), read(-5, -1, 1)}));
  // Deliberate: only the low 16 bits of the count written are compared, so
  // 65536 bytes or more report 30041 though all of them were written. The
  // position is narrowed to 32 bits. Handles below 1 close as a no-op.
  std::vector<char> data(70000, 'w');
  EXPECT_EQ("1/30041 1/30041 0 70000 0 4 0 4096 16 -1 0 0 1/1506 1/1507 1/1507 0",
            seq({res(bosFileWrite(fd, 0, data.data(), 70000)), res(bosFileWrite(fd, 0, data.data(), 65536)),
                 res(bosFileWrite(fd, 0, data.data(), 65535)), res(bosFileSeek(fd, 0, SEEK_END)), res(bosFileSize(fd, 4)),
                 res(bosFileSeek(fd, 0, SEEK_END)), res(bosFileSize(fd, 4096)), res(bosFileSeek(fd, 0, SEEK_END)),
                 res(bosFileSeek(fd, 0x100000010LL, SEEK_SET)), res(bosFileSeek(-1, 0, SEEK_SET)), res(bosFileClose(0)),
                 res(bosFileClose(-3)), res(bosFileWrite(-1, 0, "x", 1)), res(bosFileSize(-1, 0)), res(bosFileClose(987654)),
                 res(bosFileClose(fd))}));
}

TEST_F(Files, FileHandleObjectOpensUsesAndClosesItsFile) {
  setEnv("HOME", makeDir("home")), makeFile("home/.vxlib.ini");
  int fd = -1;
  {
    VxFileHandle file;
    char text[8] = {};
    int32_t count = 0;
    EXPECT_EQ("0 0  0 0 1 0 0 6 0 2",
              seq({res(file.isOpen()), res(file.getHandle()), file.getName(), res(file.close()),
                   res(file.open(at("h").c_str(), BOS_OPEN_CREATE)), res(file.isOpen()), res(file.write(0, "handle", 6)),
                   res(file.read(0, text, 7, &count)), res(file.seek(0, SEEK_END)), res(file.setSize(2)), res(file.seek(0, SEEK_END))}));
    EXPECT_STREQ("handle", text);
    // It keeps the name as opened (here redirected); a failed open leaves it closed.
    EXPECT_EQ("0 " + at("home/.vxlib.ini") + " 0 0 0 1/1509 0 1/1524",
              seq({res(file.open(".vxlib.ini", BOS_OPEN_REDIRECT)), file.getName(), res(file.close()), res(file.isOpen()),
                   res(file.close()), res(file.open(at("none").c_str(), BOS_OPEN_READ_WRITE)), res(file.isOpen()),
                   res(file.open(std::string(BOS_MAX_PATH, 'l').c_str(), 0))}));
    fd = (file.open(at("h").c_str(), 0), file.getHandle());
  }
  struct stat info;
  EXPECT_NE(0, fstat(fd, &info)) << "the destructor closed the file";
}

// Every name a search for pattern returns, or those of a block of
// NUL-terminated names (freed here).
Names find(const std::string& pattern) {
  Names names;
  VxBosFileFindDesc desc;
  PathBuffer name;
  for (uint16_t rc = bosFindFiles(pattern.c_str(), &desc, name); rc == 0; rc = bosFindFiles(nullptr, &desc, name)) names.push_back(name.str());
  EXPECT_EQ("", name.str());
  return names;
}
Names split(char* block) {
  Names names;
  for (const char* p = block; p && *p; p += strlen(p) + 1) names.push_back(p);
  return free(block), names;
}

TEST_F(Files, FindMatchesTheLastComponentSortedAndRunsNoShell) {
  for (const char* sub : {"sub", "sub/inner", "tree", "tree/beta", "tree/alpha", "tree/.dotdir", "empty"}) makeDir(sub);
  for (const char* name : {"b.ini", "a.ini", "c.txt", ".hidden.ini", "d.ini", "sub/x.dat", "sub/.dot", "tree/file"}) makeFile(name);
  std::string d = dir + "/", marker = at("marker");
  const struct { std::string pattern; Names names; } cases[] = {
      {d + "*.ini", {d + "a.ini", d + "b.ini", d + "d.ini"}}, {d + ".*.ini", {d + ".hidden.ini"}},
      {d + "[ab].ini", {d + "a.ini", d + "b.ini"}}, {d + "?.txt", {d + "c.txt"}}, {d + "*.none", {}},
      {"sub/*.dat", {"sub/x.dat"}}, {"*.txt", {"c.txt"}}, {at("sub"), {"inner", "x.dat"}}, {d + "c.txt", {d + "c.txt"}},
      {d + "absent", {}}, {d + "*.ini; touch " + marker, {}}, {d + "$(touch " + marker + ")", {}}, {"'; touch " + marker + "; '", {}}};
  ASSERT_EQ(0, chdir(dir.c_str()));
  for (const auto& c : cases) EXPECT_EQ(c.names, find(c.pattern)) << c.pattern;
  EXPECT_EQ(8, bosfattr(marker.c_str())) << "no shell ran";
  VxBosFileFindDesc desc;
  PathBuffer name("junk");
  EXPECT_EQ("1  0 0 " + d + "c.txt 1 1",
            seq({res(bosFindFiles(nullptr, &desc, name)), name.str(), res(bosFindFiles((d + "*.ini").c_str(), &desc, name)),
                 res(bosFindFiles((d + "*.txt").c_str(), &desc, name)), name.str(), res(desc.getCount()),
                 res(bosFindFiles(nullptr, &desc, name))}));
  // Subdirectory names and mount points come as blocks; the block size as a number.
  EXPECT_EQ((Names{".dotdir", "alpha", "beta"}), split(bosGetDirectoryNames(at("tree").c_str())));
  for (uint64_t failing : {1, 2, 5}) {  // the list, a name, the block of three names: each failure gives null and 1503
    ramFailAllocationAfter(failing);
    EXPECT_EQ("0/1503", res(bosGetDirectoryNames(at("tree").c_str()) != nullptr)) << failing;
  }
  char* empty = bosGetDirectoryNames(at("empty").c_str());
  Names mounts = split(bosGetFileSystems());
  VXSIZE_T blockSize = 0, freeBlocks = 0;
  EXPECT_EQ("1 0 1 0 1 0/1509 1/1509", seq({res(empty != nullptr), res(split(empty).size()), res(std::count(mounts.begin(), mounts.end(), "/")),
                                            res(bosgetbl(dir.c_str(), &blockSize, &freeBlocks)), res(blockSize > 0),
                                            res(bosGetDirectoryNames(at("missing").c_str()) != nullptr),
                                            res(bosgetbl(at("missing").c_str(), &blockSize, &freeBlocks))}));
}

TEST_F(Files, WorkingDirectoryAndPathBuilding) {
  makeDir("x");
  char cwd[BOS_MAX_PATH];
  ASSERT_EQ(0, chdir(dir.c_str()));
  ASSERT_NE(nullptr, getcwd(cwd, sizeof cwd));
  const std::string real = cwd;  // the scratch directory as the system spells it
  PathBuffer b0, b1, b2, relative("a/b.txt"), tooLong(std::string(BOS_MAX_PATH - 2, 'n'));
  EXPECT_EQ(seq({"0", real, "0", real + "/", "1/1504", "0", "0", real + "/x"}),
            seq({res(bosgtcwd(b0, 0)), b0.str(), res(bosgtcwd(b1, 1)), b1.str(), res(bosstcwd("no/such")), res(bosstcwd("x")),
                 res(bosgtcwd(b2, 0)), b2.str()}));
  // bosmpath, seen from real/x: only the leading directories shared go.
  const std::pair<std::string, std::string> relatives[] = {{real + "/x/a/b.txt", "a/b.txt"}, {real + "/y/c.txt", "y/c.txt"},
                                                           {real + "/x", "x"}, {"relative/name", "relative/name"},
                                                           {real + "/xy/z", "xy/z"}};
  for (const auto& c : relatives) EXPECT_EQ("0 " + c.second, inPlace(c.first, bosmpath));
  ASSERT_EQ(0, chdir(".."));
  EXPECT_EQ(seq({"0", real + "/a/b.txt", "1/1524", tooLong.str()}),
            seq({res(bosfpath(relative)), relative.str(), res(bosfpath(tooLong)), tooLong.str()}));
  setEnv("HOME", "/home/someone");
  setEnv("VX", "/opt/vx");
  for (const std::string& expected : Names{"/home/someone/f.ini", "/opt/vx/f.ini", real + "/f.ini"}) {
    EXPECT_EQ("0 " + expected, inPlace("f.ini", boshpath));
    unsetenv(getenv("HOME") ? "HOME" : "VX");
  }
  // The directory and the default extension are added; white space and one
  // trailing dot are cut from the name; too long a result fails with 1524.
  const std::string m5(BOS_MAX_PATH - 5, 'm'), m3(BOS_MAX_PATH - 3, 'm');
  const struct { const char *dir, *name, *ext; std::string expected; } cases[] = {
      {"/data", "report", "txt", "0 /data/report.txt"}, {"/data/", "report.csv", "txt", "0 /data/report.csv"},
      {"/data", "sub/report", "txt", "0 " + real + "/sub/report.txt"}, {"/d.ir", "plain", nullptr, "0 /d.ir/plain"},
      {nullptr, "local", "", "0 " + real + "/local"}, {"/d", "name.  \t", "ext", "0 /d/name.ext"}, {"/d", "up..", "e", "0 /d/up.."},
      {"/d", "a.b.", "ext", "0 /d/a.b"}, {"", "z", "e", "0 " + real + "/z.e"}, {"/d", ".", "e", "0 /d/.e"},
      {"/d", m5.c_str(), "ext", "1/1524 "}, {"/dd", m3.c_str(), "", "1/1524 "}};
  for (const auto& c : cases) EXPECT_EQ(c.expected, inPlace("", [&](char* out) { return bospath(out, c.dir, c.name, c.ext); })) << c.name;
  // bosParseName: the base up to the first dot (more than 128 bytes is error
  // 1524 when reporting), at most three bytes of extension; the path keeps
  // its directory. (fuzz/path_fuzz.cpp judges lengths, prefixes and
  // statuses in general.)
  char base[129], ext[4];
  auto parse = [&](char* path) { return bosParseName(path, base, ext, 1); };
  EXPECT_EQ("0 /dir/sub/ report fin", seq({inPlace("/dir/sub/report.final.txt", parse), base, ext}));
  EXPECT_EQ("1/1524 /d/ " + std::string(128, 'b') + " xy", seq({inPlace("/d/" + std::string(200, 'b') + ".xy", parse), base, ext}));
  // The root keeps its one slash; a vanished working directory fails every
  // call that needs it (1509 from ENOENT).
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ("0 /", seq({res(bosgtcwd(b0, 1)), b0.str()}));
  ASSERT_EQ(0, chdir(at("x").c_str()));
  ASSERT_EQ(0, rmdir(at("x").c_str()));
  EXPECT_EQ("1  1/1509 r 1/1509 r 1/1509 r", seq({res(bosgtcwd(b0, 1)), b0.str(), inPlace("r", bosfpath), inPlace("r", bosmpath), inPlace("r", boshpath)}));
}

// bosLocateFile tries the name as given, then the directories of the set
// bits, always in the order HOME, VX, VXLIB, LD_LIBRARY_PATH, LD_RUN_PATH,
// PATH; 0x8 also tries each element's parent. Only regular files count.
TEST_F(Files, LocateSearchesTheDirectoriesOfTheSetInAFixedOrder) {
  for (const char* sub : {"home", "vx", "vxlib", "ldlib", "ldrun", "path1", "path2", "lib", "lib/bin", "a", "a/sub"}) makeDir(sub);
  for (const char* file : {"home/h", "vxlib/v", "ldrun/l", "path2/p", "lib/x", "a/t", "home/f", "vx/f", "ldlib/f", "path1/f", "home/g", "path2/g"})
    makeFile(file);
  const std::pair<const char*, std::string> variables[] = {
      {"HOME", at("home")}, {"VX", at("vx")}, {"VXLIB", at("vxlib")}, {"LD_LIBRARY_PATH", at("ldlib") + ":" + at("lib/bin")},
      {"LD_RUN_PATH", at("ldrun")}, {"PATH", "::" + at("path1") + ":" + at("path2") + ":" + at("a") + "/:"}};
  for (const auto& v : variables) setEnv(v.first, v.second);
  ASSERT_EQ(0, chdir("/"));
  auto locate = [&](const std::string& name, uint16_t set) {
    return inPlace("junk", [&](char* out) { return bosLocateFile(out, name.c_str(), set); });
  };
  const struct { std::string name; uint16_t set; std::string expected; } cases[] = {
      {at("a/t"), 0, at("a/t")}, {"h", BOS_SEARCH_HOME, at("home/h")}, {"h", 0x1D, ""}, {"v", BOS_SEARCH_VX, at("vxlib/v")},
      {"v", 0x1B, ""}, {"l", BOS_SEARCH_LIBRARY, at("ldrun/l")}, {"l", 0x17, ""}, {"p", BOS_SEARCH_PATH, at("path2/p")},
      {"p", 0x1E, ""}, {"x", BOS_SEARCH_LIBRARY, at("lib/bin") + "/../x"}, {"x", 0x17, ""}, {"f", 0x1F, at("home/f")},
      {"f", 0x1D, at("vx/f")}, {"f", 0x19, at("ldlib/f")}, {"f", 0x11, at("path1/f")}, {"g", 0x3, at("home/g")},
      {"t", BOS_SEARCH_PATH, at("a/t")}, {"sub", 0x1F, ""}};
  for (const auto& c : cases) EXPECT_EQ((c.expected.empty() ? "1 " : "0 ") + c.expected, locate(c.name, c.set)) << c.name << c.set;
  EXPECT_EQ(0, bosLocateFile(nullptr, "t", BOS_SEARCH_PATH));
  unsetenv("LD_LIBRARY_PATH"), setEnv("PATH", at("lib/bin"));
  EXPECT_EQ(seq({"0", at("lib/bin") + "/../x", "1 "}), seq({locate("x", BOS_SEARCH_PATH | BOS_SEARCH_LIBRARY), locate("x", BOS_SEARCH_PATH)}))
      << "0x8 retries every parent";
  for (const auto& v : variables) unsetenv(v.first);
  EXPECT_EQ("1  1", seq({locate("f", 0x1E), n(bosLocateFile(nullptr, "t", BOS_SEARCH_PATH))})) << "unset variables are skipped";
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ("0 a/t", locate("a/t", 0)) << "found as given, relative";
}

// At the path buffer's limit (4,096 bytes with the NUL): a working directory
// of 4,095 bytes leaves no room for the slash, and a candidate one byte too
// long is skipped, never tried cut short (the cut name exists here).
TEST_F(Files, PathsAtTheBufferLimitAreNotCutShort) {
  std::string deep = dir, parent;
  while (deep.size() < BOS_MAX_PATH - 1) {
    size_t room = BOS_MAX_PATH - 2 - deep.size(), k = room < 200 ? room : 200;
    if (room - k == 1) --k;
    parent = deep, deep += "/" + std::string(k, 'd');
    ASSERT_EQ(0, mkdir(deep.c_str(), 0755)) << deep.size();
  }
  close(creat((parent + "/" + std::string(BOS_MAX_PATH - 2 - parent.size(), 'f')).c_str(), 0644));
  setEnv("HOME", parent);
  ASSERT_EQ(0, chdir(deep.c_str()));
  EXPECT_EQ(seq({"1 ", "0 " + deep, "1 "}),
            seq({inPlace("", [](char* out) { return bosgtcwd(out, 1); }), inPlace("", [](char* out) { return bosgtcwd(out, 0); }),
                 inPlace("", [&](char* out) { return bosLocateFile(out, std::string(BOS_MAX_PATH - 1 - parent.size(), 'f').c_str(), BOS_SEARCH_HOME); })}));
  ASSERT_EQ(0, chdir(dir.c_str()));
}

}  // namespace
