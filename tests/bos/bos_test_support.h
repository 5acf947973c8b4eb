// Shared set-up of the bos tests: an error list installed for the calling
// thread, a scratch directory with the environment and the working
// directory put back afterwards, a compact record of call results, and
// runners for a body in a child process, on another thread, or in the
// bos_probe program.
#ifndef VX_TESTS_BOS_BOS_TEST_SUPPORT_H_
#define VX_TESTS_BOS_BOS_TEST_SUPPORT_H_

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "bos/bos.h"
#include "foundation/vxerror.h"

struct InstalledErrorList {
  InstalledErrorList() { VxErrorKeeper::setErrorList(&list); }
  ~InstalledErrorList() { VxErrorKeeper::giveUpErrorList(); }
  VxErrorList list{nullptr, VxErrorList::kSupportMultipleErrors};
};

// A call's result as "STATUS", or "STATUS/ERROR" when it filed an error
// (the last one's number; "xCOUNT" follows when it filed several); the
// current list is then emptied for the next call.
inline std::string res(long status) {
  std::string s = std::to_string(status);
  VxErrorList* list = VxErrorKeeper::getErrorList();
  if (list && list->getCount()) s += "/" + std::to_string(VxErrorKeeper::getLastErrorNumber());
  if (list && list->getCount() > 1) s += "x" + std::to_string(list->getCount());
  VxErrorKeeper::clearAllErrors();
  return s;
}
// The parts, separated by blanks (a braced list evaluates them in order).
inline std::string seq(std::initializer_list<std::string> parts) {
  std::string s;
  for (const std::string& p : parts) s += (s.empty() ? "" : " ") + p;
  return s;
}
inline std::string n(long value) { return std::to_string(value); }

// A path buffer holding text.
struct PathBuffer {
  char text[BOS_MAX_PATH] = {};
  explicit PathBuffer(const std::string& s = "") { snprintf(text, sizeof text, "%s", s.c_str()); }
  operator char*() { return text; }
  std::string str() const { return text; }
};
// "STATUS/ERROR TEXT" of f run on a path buffer that held text.
template <typename F>
std::string inPlace(const std::string& text, F f) {
  PathBuffer buffer(text);
  std::string status = res(f(buffer.text));
  return seq({status, buffer.str()});
}

// Runs body, with an error list of its own, in a child process (its exit
// status, -1 when it did not exit normally) or on another thread (its result).
inline int inChild(const std::function<int()>& body) {
  fflush(stdout);
  pid_t pid = fork();
  if (pid == 0) _exit([&] { InstalledErrorList errors; return body(); }());
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
inline std::string onThread(const std::function<std::string()>& body) {
  std::string result;
  std::thread([&] { InstalledErrorList errors; result = body(); }).join();
  return result;
}

// What bos_probe prints for args when started without "VX_DEBUGGING",
// "LC_ALL", "LC_MESSAGES" and "LANG" and then with each "NAME=value" of env
// set (no word may hold a quote). A status other than 0 adds "[exit STATUS]"
// as a last line.
inline std::string runProbe(const std::vector<std::string>& env, const std::vector<std::string>& args) {
  std::string command = "env -u VX_DEBUGGING -u LC_ALL -u LC_MESSAGES -u LANG", out;
  for (const std::string& word : env) command += " '" + word + "'";
  command += " '" VX_BOS_PROBE "'";
  for (const std::string& word : args) command += " '" + word + "'";
  FILE* p = popen(command.c_str(), "r");
  char buffer[4096];
  for (size_t n; p && (n = fread(buffer, 1, sizeof buffer, p)) > 0;) out.append(buffer, n);
  int status = p ? pclose(p) : -1;
  return status ? out + "[exit " + std::to_string(status) + "]\n" : out;
}

// A scratch directory removed at the end. The variables the library reads
// start unset; the environment and the working directory are put back.
class Scratch : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_bos_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    ASSERT_NE(nullptr, getcwd(savedCwd, sizeof savedCwd));
    for (char** e = environ; *e; ++e) savedEnv.push_back(*e);
    for (const char* name : {"HOME", "ODBCINI", "ODBC_INI", "ODBCINST", "ODBCINSTINI", "VXLIB_INI", "VX_SYSTEM_INI", "VX_TMPDIR",
                             "TMPDIR", "VX", "VXLIB", "LD_LIBRARY_PATH", "LD_RUN_PATH", "PATH"})
      unsetenv(name);
  }
  void TearDown() override {
    clearenv();
    for (const std::string& e : savedEnv) setenv(e.substr(0, e.find('=')).c_str(), e.substr(e.find('=') + 1).c_str(), 1);
    EXPECT_EQ(0, chdir(savedCwd));
    EXPECT_EQ(0, system(("rm -rf '" + dir + "'").c_str()));
  }
  static void setEnv(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }
  std::string at(const std::string& name) const { return dir + "/" + name; }
  std::string makeFile(const std::string& name, const std::string& text = "x") const {
    EXPECT_TRUE(std::ofstream(at(name)) << text) << name;
    return at(name);
  }
  std::string makeDir(const std::string& name) const { EXPECT_EQ(0, mkdir(at(name).c_str(), 0755)) << name; return at(name); }

  std::string dir;
  InstalledErrorList errors;
  char savedCwd[BOS_MAX_PATH] = {};
  std::vector<std::string> savedEnv;
};

#endif  // VX_TESTS_BOS_BOS_TEST_SUPPORT_H_
