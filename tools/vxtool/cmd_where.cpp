// vxtool where and vxtool locate: which file the library's file layer
// resolves a name to.
#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "bos/bosfile.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"
#include "tools/vxtool/tool_errors.h"

namespace {

bool printLine(const char* text) {
  std::string line = std::string(text) + "\n";
  return writeStandardOutput(line.data(), line.size());
}

int runWhere(const std::vector<std::string>& args) {
  if (args.size() != 1 || args[0].empty()) return usageError("where");
  ToolErrorList errors;
  char name[BOS_MAX_PATH];
  if (args[0].size() >= sizeof name) return usageError("where");
  args[0].copy(name, args[0].size());
  name[args[0].size()] = '\0';
  int handle = 0;
  if (bosFileOpen(name, BOS_OPEN_REDIRECT | BOS_OPEN_NO_OPEN, &handle) != 0) return errors.fail();
  return printLine(name) ? 0 : 1;
}

// A search set: decimal, or hexadecimal after 0x; at most 0xFFFF.
bool parseSearchSet(const std::string& text, uint16_t& set) {
  if (text.empty() || text[0] == '-' || text[0] == '+') return false;
  errno = 0;
  char* end = nullptr;
  unsigned long value = strtoul(text.c_str(), &end, 0);
  bool octal = text.size() > 1 && text[0] == '0' && text[1] != 'x' && text[1] != 'X';
  if (errno || *end || octal || value > 0xFFFF) return false;
  set = uint16_t(value);
  return true;
}

int runLocate(const std::vector<std::string>& args) {
  uint16_t set = BOS_SEARCH_CWD | BOS_SEARCH_HOME | BOS_SEARCH_VX | BOS_SEARCH_LIBRARY |
                 BOS_SEARCH_PATH;
  size_t k = 0;
  if (args.size() == 3 && args[0] == "-s") {
    if (!parseSearchSet(args[1], set)) return usageError("locate");
    k = 2;
  }
  if (args.size() != k + 1 || args[k].empty()) return usageError("locate");
  ToolErrorList errors;
  char found[BOS_MAX_PATH];
  if (bosLocateFile(found, args[k].c_str(), set) != 0) {
    errors.print();
    return 1;
  }
  return printLine(found) ? 0 : 1;
}

const VxToolCommand kWhere{
    "where", "where NAME",
    "Prints the path that opening NAME with the configuration-file\n"
    "redirection resolves to, without opening it: odbc.ini and odbcinst.ini\n"
    "(with or without the leading dot, any case) go to the file named by\n"
    "ODBCINI or ODBC_INI (ODBCINST or ODBCINSTINI), else to $HOME, and must\n"
    "exist; .vxlib.ini and .system.defaults go to $HOME, or to VXLIB_INI or\n"
    "VX_SYSTEM_INI when the home file does not exist. Other names are\n"
    "printed as given. Exits 1 with the error on stderr when resolution\n"
    "fails.",
    runWhere};

const VxToolCommand kLocate{
    "locate", "locate [-s SET] NAME",
    "Prints where the library's file search finds NAME: NAME itself, then\n"
    "the directories of the search SET (decimal or 0x hexadecimal, default\n"
    "0x1F), in this order: 0x10 the working directory, 0x2 $HOME, 0x4 $VX\n"
    "and $VXLIB, 0x8 $LD_LIBRARY_PATH, $LD_RUN_PATH and /usr/local/lib (each\n"
    "also with ../), 0x1 $PATH. Only regular files count. Exits 1 when\n"
    "nothing is found.",
    runLocate};

}  // namespace
