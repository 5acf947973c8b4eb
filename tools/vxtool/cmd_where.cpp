// vxtool where and vxtool locate: which file the library's file layer
// resolves a name to.
#include <cerrno>
#include <cstdio>
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
  if (bosfpath(name) != 0) return errors.fail();
  return printLine(name) ? 0 : 1;
}

const unsigned kAllSearchBits = BOS_SEARCH_CWD | BOS_SEARCH_HOME | BOS_SEARCH_VX |
                                BOS_SEARCH_LIBRARY | BOS_SEARCH_PATH;

// A search set: decimal, or hexadecimal after 0x (a leading 0 is not
// octal: it is refused); only the bits that name directories.
bool parseSearchSet(const std::string& text, uint16_t& set) {
  if (text.empty() || text[0] == '-' || text[0] == '+') return false;
  errno = 0;
  char* end = nullptr;
  unsigned long value = strtoul(text.c_str(), &end, 0);
  bool octal = text.size() > 1 && text[0] == '0' && text[1] != 'x' && text[1] != 'X';
  if (errno || *end || octal) return false;
  if (value & ~static_cast<unsigned long>(kAllSearchBits)) {
    fprintf(stderr, "vxtool locate: search set %s has bits that name no directory (valid: 0x%X)\n",
            text.c_str(), kAllSearchBits);
    return false;
  }
  set = uint16_t(value);
  return true;
}

// What a search along `set` looked at, for the message of a failed search.
std::string describeSearch(const std::string& name, uint16_t set) {
  struct Source {
    unsigned bit;
    std::vector<const char*> places;  // "$NAME" for variables
  };
  static const Source kOrder[] = {
      {BOS_SEARCH_CWD, {"the working directory"}},
      {BOS_SEARCH_HOME, {"$HOME"}},
      {BOS_SEARCH_VX, {"$VX", "$VXLIB"}},
      {BOS_SEARCH_LIBRARY, {"$LD_LIBRARY_PATH", "$LD_RUN_PATH", "/usr/local/lib"}},
      {BOS_SEARCH_PATH, {"$PATH"}},
  };
  std::string text = name;
  for (const Source& source : kOrder) {
    if (!(set & source.bit)) continue;
    for (const char* place : source.places) {
      text += ", ";
      text += place;
      if (place[0] != '$') continue;
      const char* value = getenv(place + 1);
      text += value ? std::string(" (") + value + ")" : std::string(" (unset)");
    }
  }
  if (set & BOS_SEARCH_LIBRARY) text += "; each directory also with ../";
  return text;
}

int runLocate(const std::vector<std::string>& args) {
  uint16_t set = kAllSearchBits;
  size_t k = 0;
  if (args.size() == 3 && args[0] == "-s") {
    if (!parseSearchSet(args[1], set)) return usageError("locate");
    k = 2;
  }
  if (args.size() != k + 1 || args[k].empty()) return usageError("locate");
  ToolErrorList errors;
  char found[BOS_MAX_PATH];
  if (bosLocateFile(found, args[k].c_str(), set) != 0) {
    if (errors.print() == 0) {
      fprintf(stderr, "vxtool locate: %s not found; searched %s\n", args[k].c_str(),
              describeSearch(args[k], set).c_str());
    }
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
    "printed as given. The path is printed absolute (the working directory\n"
    "in front of a relative one). Exits 1 with the error on stderr when\n"
    "resolution fails.",
    runWhere};

const VxToolCommand kLocate{
    "locate", "locate [-s SET] NAME",
    "Prints where the library's file search finds NAME: NAME itself, then\n"
    "the directories of the search SET (decimal or 0x hexadecimal, no octal;\n"
    "default 0x1F; other bits are refused), in this order: 0x10 the working\n"
    "directory, 0x2 $HOME, 0x4 $VX and $VXLIB, 0x8 $LD_LIBRARY_PATH,\n"
    "$LD_RUN_PATH and /usr/local/lib, 0x1 $PATH. With 0x8 in the set every\n"
    "directory of the set, not only the library ones, is also tried with\n"
    "../ after it. Only regular files count. Exits 1 when nothing is found,\n"
    "saying on stderr what was searched.",
    runLocate};

}  // namespace
