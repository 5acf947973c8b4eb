// vxtool profile and installdir: read and change configuration files
// through the profile interface, and show the installation directory.
#include <cstdio>
#include <string>
#include <vector>

#include "config/vxini.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"
#include "tools/vxtool/tool_errors.h"
#include "values/convert.h"

namespace {

// profile get [--default D] [--size N] FILE SECTION [KEY]
int runGet(const std::vector<std::string>& args) {
  std::string defaultValue;
  VXSIZE_T size = 4096;
  size_t at = 1;
  while (at + 1 < args.size() && args[at].compare(0, 2, "--") == 0) {
    if (args[at] == "--default") {
      defaultValue = args[at + 1];
    } else if (args[at] == "--size") {
      ToolErrorList errors;
      if (convert(args[at + 1].c_str(), &size) != 0) return errors.fail();
    } else {
      return usageError("profile");
    }
    at += 2;
  }
  size_t rest = args.size() - at;
  if (rest != 2 && rest != 3) return usageError("profile");
  const std::string& file = args[at];
  const std::string& section = args[at + 1];
  const char* key = rest == 3 ? args[at + 2].c_str() : nullptr;

  ToolErrorList errors;
  std::vector<char> buffer(size > 0 ? size : 1);
  VXSIZE_T length = vxGetPrivateProfileString(section.c_str(), key, defaultValue.c_str(),
                                              buffer.data(), size, file.c_str());
  std::string out;
  if (key) {
    out.assign(buffer.data(), length);
    out += '\n';
  } else {
    // Each key of the list on its own line; the list ends at an empty key.
    for (VXSIZE_T pos = 0; pos < length && buffer[pos] != '\0';) {
      std::string name(buffer.data() + pos);
      out += name + '\n';
      pos += name.size() + 1;
    }
  }
  return writeStandardOutput(out.data(), out.size()) ? 0 : 1;
}

// profile set FILE SECTION KEY VALUE / profile delete FILE SECTION [KEY]
int runChange(const std::string& file, const char* section, const char* key, const char* value) {
  ToolErrorList errors;
  if (vxWritePrivateProfileString(section, key, value, file.c_str()) != 1) return errors.fail();
  return 0;
}

int runProfile(const std::vector<std::string>& args) {
  if (args.empty()) return usageError("profile");
  if (args[0] == "get") return runGet(args);
  if (args[0] == "set" && args.size() == 5) {
    return runChange(args[1], args[2].c_str(), args[3].c_str(), args[4].c_str());
  }
  if (args[0] == "delete" && (args.size() == 3 || args.size() == 4)) {
    return runChange(args[1], args[2].c_str(), args.size() == 4 ? args[3].c_str() : nullptr, nullptr);
  }
  return usageError("profile");
}

int runInstallDir(const std::vector<std::string>& args) {
  if (!args.empty()) return usageError("installdir");
  ToolErrorList errors;
  bosSetInstallDir();
  printf("%s\n", InstallDirLocation);
  return 0;
}

const VxToolCommand kProfile{
    "profile",
    "profile get [--default D] [--size N] FILE SECTION [KEY]\n"
    "profile set FILE SECTION KEY VALUE\n"
    "profile delete FILE SECTION [KEY]",
    "FILE is named as a driver names it (odbc.ini, .odbc.ini, odbcinst.ini,\n"
    ".vxlib.ini, .system.defaults) or is a path; the environment (ODBCINI,\n"
    "ODBCINSTINI, ...) decides which file that is. get reads with a buffer of\n"
    "N bytes (4096): with KEY it prints the value (or D) and a line feed,\n"
    "without KEY each key of the section on its own line. set writes KEY,\n"
    "adding it and the section when missing; delete removes KEY, or the\n"
    "whole section. A failed change prints the library's error (exit 1).",
    runProfile};

const VxToolCommand kInstallDir{
    "installdir", "installdir",
    "Prints the installation directory: InstallDir of section ODBC in\n"
    ".odbc.ini, else in .odbcinst.ini, without trailing blanks and slash.",
    runInstallDir};

}  // namespace
