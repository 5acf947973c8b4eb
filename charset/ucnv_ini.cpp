// The load-time reader of "odbc.ini" and "odbcinst.ini" and the profile
// look-ups over its copies.
//
// The reader runs once, when the library is loaded, and keeps each file's
// text in a heap buffer (the bytes and a terminating 0). The code-page
// identification must work before, and independently of, the main profile
// functions, so it parses the text with its own small rules (below) and
// never sees later changes to the files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>

#include "charset/ucnv.h"

char* NORVK_UCNV_INI_Buf = nullptr;
int64_t NORVK_UCNV_INI_BufSize = 0;
char* NORVK_UCNV_INST_Buf = nullptr;
int64_t NORVK_UCNV_INST_BufSize = 0;

namespace {

// The path in the first set variable of first and second, else
// $HOME/homeName; empty when none is set.
std::string profilePath(const char* first, const char* second, const char* homeName) {
  if (const char* path = getenv(first)) return path;
  if (const char* path = getenv(second)) return path;
  if (const char* home = getenv("HOME")) return std::string(home) + "/" + homeName;
  return std::string();
}

// The whole file plus a terminating 0 in a new malloc'd buffer; false when
// it cannot be opened, sized or read.
bool readWholeFile(const std::string& path, char** buffer, int64_t* size) {
  if (path.empty()) return false;
  int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) return false;
  struct stat info;
  char* text = nullptr;
  ssize_t got = -1;
  if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
    text = static_cast<char*>(malloc(size_t(info.st_size) + 1));
    if (text != nullptr) got = read(fd, text, size_t(info.st_size));
  }
  close(fd);
  if (text == nullptr || got != info.st_size) {
    free(text);
    return false;
  }
  text[got] = 0;
  *buffer = text;
  *size = int64_t(got) + 1;
  return true;
}

// Reads both files when the library is loaded and frees them at unload.
// "odbcinst.ini" is read only when "odbc.ini" was: without an "odbc.ini"
// the instance file is never looked at (intended).
class IniInitialize {
 public:
  IniInitialize() {
    if (readWholeFile(profilePath("ODBCINI", "ODBC_INI", ".odbc.ini"), &NORVK_UCNV_INI_Buf,
                      &NORVK_UCNV_INI_BufSize)) {
      readWholeFile(profilePath("ODBCINSTINI", "ODBCINST_INI", ".odbcinst.ini"),
                    &NORVK_UCNV_INST_Buf, &NORVK_UCNV_INST_BufSize);
    }
  }
  ~IniInitialize() {
    free(NORVK_UCNV_INI_Buf);
    free(NORVK_UCNV_INST_Buf);
    NORVK_UCNV_INI_Buf = nullptr;
    NORVK_UCNV_INST_Buf = nullptr;
    NORVK_UCNV_INI_BufSize = 0;
    NORVK_UCNV_INST_BufSize = 0;
  }
  IniInitialize(const IniInitialize&) = delete;
  IniInitialize& operator=(const IniInitialize&) = delete;
};

IniInitialize init;

// Copies up to outSize - 1 bytes of text and a terminator; the count.
int64_t copyOut(const char* text, size_t length, char* out, int64_t outSize) {
  if (out == nullptr || outSize <= 0) return 0;
  size_t n = std::min(length, size_t(outSize - 1));
  memcpy(out, text, n);
  out[n] = 0;
  return int64_t(n);
}

const char* lineEnd(const char* p, const char* end) {
  const char* newline = static_cast<const char*>(memchr(p, '\n', size_t(end - p)));
  return newline == nullptr ? end : newline;
}

const char* skipBlanks(const char* p, const char* end) {
  while (p < end && (*p == ' ' || *p == '\t')) ++p;
  return p;
}

// The key names of a section body, each ended by a 0 byte, the list by
// another; comment lines are left out. The count written before the final
// 0 byte.
int64_t listKeys(const char* start, const char* end, char* out, int64_t outSize) {
  int64_t n = 0;
  int64_t room = outSize - 1;
  const char* p = lineEnd(start, end);
  while (p < end && n < room) {
    ++p;  // past the newline
    if (p < end && (*p == ';' || *p == '#')) {
      p = lineEnd(p, end);
      continue;
    }
    const char* eol = lineEnd(p, end);
    const char* equals = static_cast<const char*>(memchr(p, '=', size_t(eol - p)));
    if (equals != nullptr) {
      int64_t length = std::min<int64_t>(equals - p, room - n - 1);
      if (length < 0) break;
      memcpy(out + n, p, size_t(length));
      n += length;
      out[n++] = 0;
    }
    p = eol;
  }
  out[std::min(n, room)] = 0;
  return n;
}

}  // namespace

// A header is "[" name "]" where "[" starts the text or a line; a "["
// right after ";" or "#" is skipped too. The bracketed text, brackets
// included, is compared without case with "[" + name + "]". The body runs
// from behind the "]" to the next "[" anywhere, or to the end.
int getSection(const char* text, int64_t size, const char* name, const char** start,
               const char** end) {
  const char* limit = text + size;
  std::string wanted = std::string("[") + name + "]";
  for (const char* p = text; p < limit; ++p) {
    p = static_cast<const char*>(memchr(p, '[', size_t(limit - p)));
    if (p == nullptr) return 1;
    // Only a "[" at the start of a line counts, which also passes over the
    // "[" of a commented header (";[" or "#[").
    if (p != text && p[-1] != '\n') continue;
    const char* close = static_cast<const char*>(memchr(p, ']', size_t(limit - p)));
    if (close == nullptr) return 1;
    std::string header(p, size_t(close - p + 1));
    if (strcasecmp(header.c_str(), wanted.c_str()) != 0) continue;
    *start = close + 1;
    const char* next = static_cast<const char*>(memchr(*start, '[', size_t(limit - *start)));
    *end = next == nullptr ? limit : next;
    return 0;
  }
  return 1;
}

// Each line of the body: blanks and tabs skipped; ";" or "#" starts a
// comment; "[" ends the search; the text before "=" (blanks included) is
// the name, compared without case. The value starts behind "=" and any
// blanks and tabs and ends at the newline; at most 255 bytes are kept.
int getEntry(const char* start, const char* end, const char* key, char* value) {
  size_t keyLength = strlen(key);
  for (const char* p = lineEnd(start, end); p < end; p = lineEnd(p, end)) {
    const char* line = skipBlanks(p + 1, end);
    if (line >= end) break;
    if (*line == '[') break;
    if (*line == ';' || *line == '#') {
      p = line;
      continue;
    }
    const char* eol = lineEnd(line, end);
    const char* equals = static_cast<const char*>(memchr(line, '=', size_t(eol - line)));
    p = line;
    if (equals == nullptr || size_t(equals - line) != keyLength ||
        strncasecmp(line, key, keyLength) != 0) {
      continue;
    }
    const char* v = skipBlanks(equals + 1, eol);
    size_t n = std::min<size_t>(size_t(eol - v), 255);
    memcpy(value, v, n);
    value[n] = 0;
    return 0;
  }
  return 1;
}

int64_t ucnvNWGetProfileString(const char* text, int64_t size, const char* section,
                               const char* key, const char* dflt, char* out, int64_t outSize) {
  if (dflt == nullptr) dflt = "";
  if (section == nullptr || out == nullptr || text == nullptr) {
    return copyOut(dflt, strlen(dflt), out, outSize);
  }
  if (outSize <= 0) return 0;
  const char* start;
  const char* end;
  if (getSection(text, size, section, &start, &end) != 0) {
    return copyOut(dflt, strlen(dflt), out, outSize);
  }
  if (key == nullptr) return listKeys(start, end, out, outSize);
  char value[256];
  if (getEntry(start, end, key, value) != 0) return copyOut(dflt, strlen(dflt), out, outSize);
  return copyOut(value, strlen(value), out, outSize);
}

namespace {

int64_t profileString(const char* buffer, int64_t bufferSize, const char* section,
                      const char* key, const char* dflt, char* out, int64_t outSize) {
  if (buffer == nullptr) {
    if (dflt == nullptr) dflt = "";
    return copyOut(dflt, strlen(dflt), out, outSize);
  }
  return ucnvNWGetProfileString(buffer, bufferSize - 1, section, key, dflt, out, outSize);
}

// The value read with the default "&": "&" means absent (the default);
// else blanks, an optional "-" and decimal digits up to the first other
// character.
int64_t profileInt(const char* buffer, int64_t bufferSize, const char* section, const char* key,
                   int64_t dflt) {
  char text[100];
  profileString(buffer, bufferSize, section, key, "&", text, sizeof text);
  if (text[0] == '&') return dflt;
  const char* p = text;
  while (*p == ' ' || *p == '\t') ++p;
  bool negative = *p == '-';
  if (negative) ++p;
  // Unsigned arithmetic: an overlong number wraps instead of overflowing.
  uint64_t value = 0;
  for (; *p >= '0' && *p <= '9'; ++p) value = value * 10 + uint64_t(*p - '0');
  return int64_t(negative ? 0 - value : value);
}

}  // namespace

int64_t ucnvGetProfileString(const char* section, const char* key, const char* dflt, char* out,
                             int64_t outSize) {
  return profileString(NORVK_UCNV_INI_Buf, NORVK_UCNV_INI_BufSize, section, key, dflt, out,
                       outSize);
}

int64_t ucnvGetProfileStringInst(const char* section, const char* key, const char* dflt,
                                 char* out, int64_t outSize) {
  return profileString(NORVK_UCNV_INST_Buf, NORVK_UCNV_INST_BufSize, section, key, dflt, out,
                       outSize);
}

int64_t ucnvGetProfileInt(const char* section, const char* key, int64_t dflt) {
  return profileInt(NORVK_UCNV_INI_Buf, NORVK_UCNV_INI_BufSize, section, key, dflt);
}

int64_t ucnvGetProfileIntInst(const char* section, const char* key, int64_t dflt) {
  return profileInt(NORVK_UCNV_INST_Buf, NORVK_UCNV_INST_BufSize, section, key, dflt);
}
