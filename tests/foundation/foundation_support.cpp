#include "foundation/foundation_support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

static bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

bool useLocale(TestLocale which) {
  static const char* const kNames[][3] = {{"zh_CN.GBK", "zh_CN", "GBK"},
                                          {"tr_TR.ISO-8859-9", "tr_TR", "ISO-8859-9"},
                                          {"C.UTF-8", "", ""}};
  const std::string name = kNames[which][0], source = kNames[which][1];
  if (setlocale(LC_ALL, name.c_str()) != nullptr) return true;
  if (source.empty()) return false;
  const std::string dir = std::string(VX_TEST_BINARY_DIR) + "/test-locales";
  if (!exists(dir + "/" + name + "/LC_CTYPE")) {
    // Compiled in a private directory and renamed into place, so that test
    // processes running side by side never see half a locale.
    mkdir(dir.c_str(), 0755);
    std::string scratch = dir + "/tmp." + std::to_string(getpid());
    mkdir(scratch.c_str(), 0755);
    std::string command = "localedef -c -i " + source + " -f " + kNames[which][2] + " " +
                          scratch + "/" + name + " >/dev/null 2>&1";
    if (system(command.c_str()) != -1 && exists(scratch + "/" + name + "/LC_CTYPE"))
      rename((scratch + "/" + name).c_str(), (dir + "/" + name).c_str());
    if (system(("rm -rf " + scratch).c_str()) != 0 || !exists(dir + "/" + name + "/LC_CTYPE"))
      return false;
  }
  // LOCPATH is consulted when setlocale runs, and is restored at once so
  // that installed locales stay reachable afterwards.
  const char* old = getenv("LOCPATH");
  std::string saved = old != nullptr ? old : "";
  setenv("LOCPATH", dir.c_str(), 1);
  bool ok = setlocale(LC_ALL, name.c_str()) != nullptr;
  if (old != nullptr) setenv("LOCPATH", saved.c_str(), 1); else unsetenv("LOCPATH");
  return ok;
}
