// Loading shared libraries: name completion, the search set, symbols,
// failures and the traces of bit 0x4.
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "bos/bos.h"
#include "bos/bos_test_support.h"
#include "bos/probe_support.h"
#include "foundation/msgtext_internal.h"

namespace {

const std::string kPluginDir = VX_TEST_PLUGIN_DIR;
const std::string kPlugin = kPluginDir + "/libvxplugin.so";

typedef int (*AnswerFunction)();

int answerOf(void* library) {
  AnswerFunction f = reinterpret_cast<AnswerFunction>(vxGetProcAddr(library, "vxTestPluginAnswer"));
  return f ? f() : -1;
}

// A scratch directory with a copy of the plugin as libvxplugin.so.1 and a
// file libbroken.so that is not a library.
class LoadLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_calmaper_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    std::ifstream in(kPlugin, std::ios::binary);
    std::ofstream out(dir + "/libvxplugin.so.1", std::ios::binary);
    out << in.rdbuf();
    std::ofstream(dir + "/libbroken.so") << "not a shared library\n";
  }
  void TearDown() override {
    unlink((dir + "/libvxplugin.so.1").c_str());
    unlink((dir + "/libbroken.so").c_str());
    rmdir(dir.c_str());
  }
  std::string dir;
  InstalledErrorList errors;
};

TEST_F(LoadLibrary, FullPathLoadsAndSymbolsResolve) {
  void* library = bosLoadLibrary(kPlugin.c_str(), 0);
  ASSERT_NE(nullptr, library);
  EXPECT_EQ(42, answerOf(library));
  EXPECT_EQ(nullptr, vxGetProcAddr(library, "noSuchSymbolHere"));
  EXPECT_FALSE(errors.list.isExistingError());
}

// The name is completed: ".so" appended after cutting trailing blanks, "lib"
// put in front when the flag asks; a name containing ".so" is used as is.
TEST_F(LoadLibrary, NamesAreCompleted) {
  EXPECT_EQ(nullptr, bosLoadLibrary((kPluginDir + "/vxplugin").c_str(), 0));
  const std::pair<std::string, int> cases[] = {{kPluginDir + "/libvxplugin \t ", 0},
                                               {kPluginDir + "/vxplugin", 1},
                                               {dir + "/libvxplugin.so.1", 0}};
  for (const auto& c : cases) {
    void* library = bosLoadLibrary(c.first.c_str(), c.second);
    ASSERT_NE(nullptr, library) << c.first;
    EXPECT_EQ(42, answerOf(library)) << c.first;
  }
}

TEST_F(LoadLibrary, BareNameIsFoundAlongVxlibAndLibraryPath) {
  setenv("VXLIB", kPluginDir.c_str(), 1);
  void* library = bosLoadLibrary("libvxplugin", 0);
  unsetenv("VXLIB");
  ASSERT_NE(nullptr, library);
  EXPECT_EQ(42, answerOf(library));

  const char* old = getenv("LD_LIBRARY_PATH");
  std::string saved = old ? old : "";
  setenv("LD_LIBRARY_PATH", ("/nonexistent:" + dir).c_str(), 1);
  library = bosLoadLibrary("libvxplugin.so.1", 0);
  if (old) setenv("LD_LIBRARY_PATH", saved.c_str(), 1); else unsetenv("LD_LIBRARY_PATH");
  ASSERT_NE(nullptr, library);
  EXPECT_EQ(42, answerOf(library));
}

TEST_F(LoadLibrary, MissingLibraryIsNullWithoutErrorRecord) {
  EXPECT_EQ(nullptr, bosLoadLibrary("/nonexistent/libnothing", 0));
  EXPECT_EQ(nullptr, bosLoadLibrary("libvx_no_such_library_anywhere", 0));
  EXPECT_FALSE(errors.list.isExistingError());
}

TEST_F(LoadLibrary, RefusedFileFilesError1523WithPathAndLoaderText) {
  std::string path = dir + "/libbroken.so";
  EXPECT_EQ(nullptr, bosLoadLibrary((dir + "/libbroken").c_str(), 0));
  ASSERT_NE(nullptr, errors.list.getLastError());
  ASSERT_EQ(1523, errors.list.getLastError()->getErrorNumber());
  std::string text = errors.list.getLastError()->getErrorText();
  char format[1024];
  loadMessageText(1523, format, sizeof format);
  // The template's first marker became the path and its second the
  // loader's text, which names the file too.
  std::string templ = format;
  size_t first = templ.find("%s1");
  ASSERT_NE(std::string::npos, first);
  EXPECT_EQ(templ.substr(0, first) + path, text.substr(0, first + path.size()));
  EXPECT_EQ(std::string::npos, text.find("%s2"));
  EXPECT_NE(text.find(path), text.rfind(path)) << text;
}

TEST(LoadLibraryTraces, FoundAndMissingLibrariesTraceOnlyUnderBit4) {
  const std::string found = kPluginDir + "/libvxplugin";
  const struct {
    std::vector<std::string> env, args;
    std::string expected;
  } cases[] = {
      {{"VX_DEBUGGING=4"}, {"load", found, "0", "vxTestPluginAnswer"},
       "LoadLibrary: Searching for " + kPlugin + ".\n" + "LoadLibrary: Found library " + kPlugin +
           ".\n" + "loaded\nvalue 42\n"},
      {{"VX_DEBUGGING=4"}, {"load", "/nonexistent/libnothing", "0"},
       "LoadLibrary: Searching for /nonexistent/libnothing.so.\n"
       "Unable to open Shared Library: /nonexistent/libnothing.so\nnot loaded\n"},
      {{"VX_DEBUGGING=8"}, {"load", found, "0"}, "loaded\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.expected, runProbe(c.env, c.args)) << c.args[1];
}

TEST(LoadLibraryTraces, RefusedLibraryTracesTheLoaderError) {
  char pattern[] = "/tmp/vx_calmaper_XXXXXX";
  ASSERT_NE(nullptr, mkdtemp(pattern));
  std::string path = std::string(pattern) + "/libbroken.so";
  std::ofstream(path) << "not a shared library\n";
  std::string out = runProbe({"VX_DEBUGGING=4"}, {"load", path, "0"});
  unlink(path.c_str());
  rmdir(pattern);
  std::string head = "LoadLibrary: Searching for " + path + ".\n" + "LoadLibrary: Found library " +
                     path + ".\n" + "Unable to open Shared Library:" + path + "\n" + "Loader Error: ";
  ASSERT_EQ(head, out.substr(0, head.size())) << out;
  EXPECT_NE(std::string::npos, out.find("\nnot loaded\nerror 1523: ", head.size())) << out;
}

}  // namespace
