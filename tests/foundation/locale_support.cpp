#include "foundation/locale_support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace {

std::string localeDirectory() { return std::string(VX_TEST_BINARY_DIR) + "/test-locales"; }

bool exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

// Loads name from dir: LOCPATH is consulted when setlocale runs, and is
// restored at once so that installed locales stay reachable afterwards.
bool setLocaleFrom(const std::string& dir, const std::string& name) {
  const char* old = getenv("LOCPATH");
  std::string saved = old != nullptr ? old : "";
  setenv("LOCPATH", dir.c_str(), 1);
  bool ok = setlocale(LC_ALL, name.c_str()) != nullptr;
  if (old != nullptr) {
    setenv("LOCPATH", saved.c_str(), 1);
  } else {
    unsetenv("LOCPATH");
  }
  return ok;
}

// Compiles the locale into a private directory and renames it into place,
// so that test processes running side by side never see half a locale.
bool compileLocale(const std::string& name, const std::string& source,
                   const std::string& charmap) {
  std::string dir = localeDirectory();
  mkdir(dir.c_str(), 0755);
  std::string scratch = dir + "/tmp." + std::to_string(getpid());
  mkdir(scratch.c_str(), 0755);
  std::string built = scratch + "/" + name;
  std::string command = "localedef -c -i " + source + " -f " + charmap + " " + built +
                        " >/dev/null 2>&1";
  int status = system(command.c_str());
  bool ok = status != -1 && exists(built + "/LC_CTYPE");
  if (ok) rename(built.c_str(), (dir + "/" + name).c_str());
  std::string cleanup = "rm -rf " + scratch;
  if (system(cleanup.c_str()) != 0) return false;
  return ok && exists(dir + "/" + name + "/LC_CTYPE");
}

}  // namespace

bool useTestLocale(const std::string& name, const std::string& source,
                   const std::string& charmap) {
  if (setlocale(LC_ALL, name.c_str()) != nullptr) return true;
  if (source.empty()) return false;
  std::string dir = localeDirectory();
  if (!exists(dir + "/" + name + "/LC_CTYPE") && !compileLocale(name, source, charmap)) {
    return false;
  }
  return setLocaleFrom(dir, name);
}

ScopedTestLocale::~ScopedTestLocale() { setlocale(LC_ALL, "C"); }
