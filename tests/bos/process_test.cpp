// Process-level services: the environment, identity and names, sleeping,
// error mapping, the message catalog and loading shared libraries; and what
// is fixed once per process (the trace mask of VX_DEBUGGING, the catalog's
// language), read from the output of the bos_probe child.
#include <pthread.h>
#include <pwd.h>

#include <cerrno>
#include <chrono>
#include <regex>

#include "bos/bos_test_support.h"
#include "foundation/msgtext_internal.h"

namespace {

// The English text of number as the message source spells it: the catalog
// built from it must give exactly this.
std::string sourceText(int number) {
  std::ifstream in(VX_TEST_SOURCE_DIR "/foundation/messages.msg");
  std::string line, prefix = std::to_string(number) + " ";
  while (std::getline(in, line)) if (line.compare(0, prefix.size(), prefix) == 0) return line.substr(prefix.size());
  return "";
}
std::string loaded(uint32_t id) {
  char buffer[1024];
  LoadString(VX_MESSAGE_MODULE, id, buffer, sizeof buffer);
  return buffer;
}

TEST(Process, EnvironmentIdentityNamesAndSleep) {
  setenv("VX_BOS_TEST", "value 1", 1);
  const std::string value = bosGetEnv("VX_BOS_TEST"), other = onThread([] { return n(bosGetThreadID()); });
  EXPECT_EQ("value 1 1 1 1 1", seq({value, (unsetenv("VX_BOS_TEST"), n(bosGetEnv("VX_BOS_TEST") == nullptr)),
                                    n(uint64_t(pthread_self()) == bosGetThreadID()), n(other != n(bosGetThreadID())), n(getpid() == bosGetProcessID())}));
  // Host and login names are copied whole when they fit, else deliberately
  // size bytes and a NUL after them; a null buffer or size 0 does nothing.
  char host[256] = {};
  ASSERT_EQ(0, gethostname(host, sizeof host - 1));
  const std::pair<uint16_t (*)(char*, VXSIZE_T), std::string> names[] = {{bosGetMachineName, host},
                                                                          {bosGetHostUser, getpwuid(getuid())->pw_name}};
  for (const auto& n : names) {
    char whole[300], cut[8] = "zzzzzzz", kept[4] = "abc";
    EXPECT_EQ(seq({"0", n.second, "0", n.second.substr(0, 1), "z", "0 0 abc"}),
              seq({res(n.first(whole, sizeof whole)), whole, res(n.first(cut, 1)), cut, std::string(1, cut[2]),
                   res(n.first(nullptr, 10)), res(n.first(kept, 0)), kept}));
  }
  // The command name as ps shows it (15 characters at most): at most size - 1
  // bytes are read and the last one is dropped as if it were the line feed.
  char path[1024] = {}, command[256], shortCommand[5];
  ASSERT_GT(readlink("/proc/self/exe", path, sizeof path - 1), 0);
  std::string own = std::string(strrchr(path, '/') + 1).substr(0, 15);
  EXPECT_EQ("0 " + own + " 0 " + own.substr(0, 3), seq({res(bosGetCommand(nullptr, command, sizeof command)), command,
                                                        res(bosGetCommand(nullptr, shortCommand, sizeof shortCommand)), shortCommand}));
  auto start = std::chrono::steady_clock::now();
  bossleep(1050);  // seconds and milliseconds both count
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1050));
}

TEST(Process, SystemErrorsMapToLibraryErrors) {
  EXPECT_EQ("1509 30041", seq({res(bosMapError(ENOENT, "x.ini")), res(bosMapError(99, "x.ini"))})) << "no list, nothing filed";
  InstalledErrorList errors;
  const std::pair<int, int> table[] = {{EPERM, 1519}, {ENOENT, 1509}, {EIO, 30041},   {EBADF, 1507},  {EAGAIN, 1512},
                                       {ENOMEM, 1503}, {EACCES, 1508}, {EEXIST, 1520}, {EMFILE, 30045}, {ENOSPC, 1506},
                                       {EROFS, 30049}, {EDEADLK, 1521}, {ENOLCK, 1514}};
  for (const auto& row : table) EXPECT_EQ(std::to_string(row.second) + "/" + std::to_string(row.second), res(bosMapError(row.first, "x.ini")));
  // Any other code files 30041 and appends the system's text for the
  // current errno (deliberately not the code's), with the name through
  // format 30050 of module nvutl21, or alone when there is no name.
  char appended[512];
  snprintf(appended, sizeof appended, sourceText(30050).c_str(), strerror(ENOTDIR), "x.ini");
  for (const char* name : {"x.ini", "", static_cast<const char*>(nullptr)}) {
    errno = ENOTDIR;
    EXPECT_EQ(30041, bosMapError(99, name));
    EXPECT_EQ(sourceText(30041) + (name && *name ? appended : strerror(ENOTDIR)), VxErrorKeeper::getLastError()->getErrorText());
    errors.list.clearErrors();
  }
}

// Every catalog test starts with the catalog open, as the first lookup leaves it.
class Catalog : public ::testing::Test {
  void SetUp() override { users = 0, bosLoadResourceDLL(VX_MESSAGE_MODULE, 0, nullptr, &users), bosFreeResourceDLL(nullptr, &users); }
  void TearDown() override { OpenStrings(VX_MESSAGE_MODULE); }
 protected:
  int32_t users = 0;
};

TEST_F(Catalog, TextsLengthsDecimalFallbackAndUseCounts) {
  std::string whole = sourceText(1509);
  char buffer[1024], small[6];
  EXPECT_EQ(seq({std::to_string(whole.size()), "5", whole.substr(0, 5), std::to_string(whole.size()), whole}),
            seq({res(LoadString("nvutl21", 1509, buffer, sizeof buffer)), res(LoadString(VX_MESSAGE_MODULE, 1509, small, sizeof small)),
                 small, res(LoadString("anything", 1509, buffer, 0)), buffer}))
      << "the length is returned and the text cut to size - 1; the module does not choose";
  CloseStrings();
  EXPECT_EQ("1509 2 15 0", seq({loaded(1509), res(LoadString(VX_MESSAGE_MODULE, 1509, small, 3)), small, res(OpenStrings(nullptr))}));
  EXPECT_EQ(whole, loaded(1509));
  // The use count rises and falls but never below 0; the catalog stays open.
  void* handle = nullptr;
  EXPECT_EQ("0 0 2 0 0 0 0", seq({res(bosLoadResourceDLL("nvutl21", 0, &handle, &users)), res(bosLoadResourceDLL(VX_MESSAGE_MODULE, 0, &handle, &users)),
                                  res(users), res(bosFreeResourceDLL(handle, &users)), res(bosFreeResourceDLL(handle, &users)),
                                  res(bosFreeResourceDLL(handle, &users)), res(users)}));
  EXPECT_NE(reinterpret_cast<void*>(-1), handle);
  EXPECT_EQ(sourceText(1503), loaded(1503));
}

TEST_F(Catalog, ThreadsLookingUpWhileTheCatalogReopensGetWholeTexts) {
  std::string expected = sourceText(1509);
  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 2000; ++i) {
        char buffer[256];
        if (loadMessageText(1509, buffer, sizeof buffer), expected != buffer && strcmp(buffer, "1509") != 0) ++wrong[t];  // "1509": between close and reopening
      }
    });
  }
  for (int i = 0; i < 50; ++i) CloseStrings(), OpenStrings(VX_MESSAGE_MODULE);
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(std::vector<int>(4, 0), wrong);
}

const std::string kPluginDir = VX_TEST_PLUGIN_DIR, kPlugin = kPluginDir + "/libvxplugin.so";

int answerOf(void* library) {
  auto f = reinterpret_cast<int (*)()>(library ? vxGetProcAddr(library, "vxTestPluginAnswer") : nullptr);
  return f ? f() : -1;
}

// A name is completed (trailing blanks cut, "lib" put in front when the
// flag asks, ".so" appended unless it holds one) and searched along VX,
// VXLIB, LD_LIBRARY_PATH. Not found: null without error; refused by the
// loader: error 1523 with the path and the loader's text.
using Loader = Scratch;
TEST_F(Loader, NamesAreCompletedAndLocatedAndRefusalsReported) {
  std::ifstream in(kPlugin, std::ios::binary);
  std::ofstream(at("libvxplugin.so.1"), std::ios::binary) << in.rdbuf();
  makeFile("libbroken.so", "not a shared library\n");
  setEnv("VXLIB", kPluginDir);
  setEnv("LD_LIBRARY_PATH", "/nonexistent:" + dir);
  const std::pair<std::string, int> found[] = {{kPlugin, 0}, {kPluginDir + "/libvxplugin \t ", 0}, {kPluginDir + "/vxplugin", 1},
                                               {at("libvxplugin.so.1"), 0}, {"libvxplugin", 0}, {"libvxplugin.so.1", 0}};
  for (const auto& c : found) EXPECT_EQ(42, answerOf(bosLoadLibrary(c.first.c_str(), c.second))) << c.first;
  EXPECT_EQ(nullptr, vxGetProcAddr(bosLoadLibrary(kPlugin.c_str(), 0), "noSuchSymbolHere"));
  // (A missing absolute path, not loaded, is a row of the probe's table.)
  EXPECT_EQ("0 0 0", seq({res(bosLoadLibrary((kPluginDir + "/vxplugin").c_str(), 0) != nullptr),
                          res(bosLoadLibrary("libvx_no_such", 0) != nullptr), res(bosLoadLibrary(nullptr, 0) != nullptr)}));
  EXPECT_EQ(nullptr, bosLoadLibrary(at("libbroken").c_str(), 0));
  ASSERT_EQ(1523, VxErrorKeeper::getLastErrorNumber());
  std::string text = VxErrorKeeper::getLastError()->getErrorText(), format = sourceText(1523), path = at("libbroken.so");
  // The first marker became the path, the second the loader's text, which names the file too.
  EXPECT_EQ(format.substr(0, format.find("%s1")) + path, text.substr(0, format.find("%s1") + path.size()));
  EXPECT_EQ(std::string::npos, text.find("%s2"));
  EXPECT_NE(text.find(path), text.rfind(path)) << text;
  // Found in the working directory: loaded through "./", not the loader's own search.
  ASSERT_EQ(0, chdir(dir.c_str()));
  unsetenv("VXLIB"), unsetenv("LD_LIBRARY_PATH");
  EXPECT_EQ(42, answerOf(bosLoadLibrary("libvxplugin.so.1", 0)));
}

// What the probe prints, row by row: its trace mask (VX_DEBUGGING), the
// rest of its environment, its arguments, and the output expected (whole,
// or how it starts when prefixOnly).
struct ProbeCase { std::string mask; std::vector<std::string> env, args; std::string expected; bool prefixOnly = false; };

std::string openingTrace(const std::string& language) {
  return "OpenStrings: HINST=vxlib\nOpenStrings: Default LC_MESSAGES=C\nOpenStrings: Using LC_MESSAGES=" + language + "\n";
}
std::string lookupTrace(int number, const std::string& text) {
  return "LoadStringFromOpenFile: idResource=" + std::to_string(number) + "\nLoadStringFromOpenFile: Lookup returns: " + text + "\n";
}

// The catalog's language comes from LC_MESSAGES, else LANG, when set and not
// "C", else en_US, whose catalog answers when the language has none; an
// installation directory replaces the built-in places. Bit 0x8 traces it.
using Probe = Scratch;
TEST_F(Probe, TracesOfTheCatalogTheLoaderAndTheFileLayer) {
  for (const auto& c : {std::make_pair("en_US", "1509 English test text for %s1."), std::make_pair("de_DE", "1509 Deutscher Testtext zu %s1.\n30050 %d kaputt")}) {
    std::string messages = at(std::string("locale/") + c.first + "/LC_MESSAGES"), source = at(std::string(c.first) + ".msg");
    std::ofstream(source) << "$set 1\n" << c.second << "\n";
    ASSERT_EQ(0, system(("mkdir -p '" + messages + "' && gencat '" + messages + "/vxlib.mo' '" + source + "'").c_str()));
  }
  const std::string text = sourceText(1509), found = lookupTrace(1509, text) + "[" + text + "]\n", broken = at("libbroken.so");
  const std::string home = makeDir("home"), e = makeFile("e.txt"), odbc = makeFile("home/.odbc.ini");
  makeFile("b.ini"), makeFile("a.ini"), makeFile("libbroken.so", "not a shared library\n");
  const std::vector<std::string> install = {"--install", dir}, missing = {"--install", "/nonexistent/vx"};
  auto with = [](std::vector<std::string> a, const std::vector<std::string>& b) { a.insert(a.end(), b.begin(), b.end()); return a; };
  const ProbeCase cases[] = {
      {"8", {}, {"message", "1509"}, openingTrace("en_US") + found},
      {"4", {}, {"message", "1509"}, "[" + text + "]\n"},
      {"8", {"LANG=de_DE"}, {"message", "1509"}, openingTrace("de_DE") + found},  // no German catalog built
      {"8", {"LANG=de_DE", "LC_MESSAGES=fr_FR"}, {"message", "4"}, openingTrace("fr_FR"), true},
      {"8", {"LANG=C", "LC_MESSAGES=C"}, {"message", "4"}, openingTrace("en_US"), true},
      {"8", {"LANG=pt_BR", "LC_MESSAGES=C"}, {"message", "4"}, openingTrace("pt_BR"), true},
      {"8", {}, with(missing, {"error", "1509", "x.ini"}), openingTrace("en_US") + "[1509]\n"},
      {"0", {}, with(missing, {"maperror", "18", "x.ini"}), std::string("error 30041: 30041") + strerror(18) + "\n"},
      {"0", {"LANG=de_DE"}, with(install, {"error", "1509", "x.ini"}), "[Deutscher Testtext zu x.ini.]\n"},
      {"0", {"LANG=fr_FR"}, with(install, {"error", "1509", "x.ini"}), "[English test text for x.ini.]\n"},
      {"0", {"LANG=de_DE"}, with(install, {"maperror", "18", "x.ini"}), std::string("error 30041: 30041") + strerror(18) + "\n"},  // its 30050 takes no two strings
      {"0", {}, with(install, {"message", "1503"}), "[1503]\n"},
      // The loader traces under bit 0x4 only.
      {"4", {}, {"load", kPluginDir + "/libvxplugin", "0", "vxTestPluginAnswer"},
       "LoadLibrary: Searching for " + kPlugin + ".\nLoadLibrary: Found library " + kPlugin + ".\nloaded\nvalue 42\n"},
      {"4", {}, {"load", "/nonexistent/libnothing", "0"},
       "LoadLibrary: Searching for /nonexistent/libnothing.so.\nUnable to open Shared Library: /nonexistent/libnothing.so\nnot loaded\n"},
      {"8", {}, {"load", kPluginDir + "/libvxplugin", "0"}, "loaded\n"},
      {"4", {}, {"load", broken, "0"},
       "LoadLibrary: Searching for " + broken + ".\nLoadLibrary: Found library " + broken + ".\nUnable to open Shared Library:" + broken +
           "\nLoader Error: ", true},
      // The file layer: bit 0x400 paths, 0x200 searches, 0x100 existence, 0x1 opening and redirection.
      {"400", {}, {"path", "/d", "report", "txt"},
       "BOSPATH: dir:/d name:report default_ext:txt\nbospath: after bosfpath path:/d/report.txt\n=/d/report.txt\n"},
      {"3FB", {}, {"path", "/d", "report", "txt"}, "=/d/report.txt\n"},
      {"200", {}, {"find", at("*.ini")},
       "bosFindFiles: Search for " + at("*.ini") + "\nbosFindFiles: returns fileName=" + at("a.ini") + "\n=" + at("a.ini") +
           "\nbosFindFiles: returns fileName=" + at("b.ini") + "\n=" + at("b.ini") + "\n"},
      {"5FF", {}, {"find", at("*.ini")}, "=" + at("a.ini") + "\n=" + at("b.ini") + "\n"},
      {"100", {}, {"exist", e}, "bosexist: Name=" + e + "  exists: 1\n=1\n"},
      {"FF", {}, {"exist", e}, "=1\n"},
      {"1", {"HOME=" + home}, {"open", ".odbc.ini", "300"},
       "bosfopen - File:.odbc.ini\nbosfopen: Replacing " + odbc + " with " + odbc + "\n=0 " + odbc + "\n"},
      {"1", {"HOME=" + home, "ODBCINI=" + at("elsewhere.ini")}, {"open", "odbc.ini", "300"},
       "bosfopen - File:odbc.ini\nbosfopen: Replacing " + home + "/odbc.ini with " + at("elsewhere.ini") + "\n=1 odbc.ini\n"},
      {"1", {}, {"open", "plain", "100"}, "bosfopen - File:plain\n=0 plain\n"},
      {"FFFE", {"HOME=" + home}, {"open", ".odbc.ini", "300"}, "=0 " + odbc + "\n"}};
  for (const ProbeCase& c : cases) {
    std::string out = runProbe(with(c.env, {"VX_DEBUGGING=" + c.mask}), c.args);
    EXPECT_EQ(c.expected, c.prefixOnly ? out.substr(0, c.expected.size()) : out) << c.args[0] << " " << c.args[1] << "\n" << out;
  }
  std::smatch m;
  std::string out = runProbe({"VX_DEBUGGING=1", "VX_TMPDIR=" + dir}, {"open", "x", "40"});
  ASSERT_TRUE(std::regex_match(out, m, std::regex("bosfopen - File:x\nbosfopen: Temp File (" + dir + "/vx\\w{6}) =0 (.*)\n"))) << out;
  EXPECT_EQ(m[1].str(), m[2].str());
}

}  // namespace
