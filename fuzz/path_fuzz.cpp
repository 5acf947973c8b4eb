// Fuzzing of the path and name parsers of the file layer on arbitrary
// bytes. The input is split at NUL bytes into up to three texts; each
// parser runs on them and its promises are checked:
//  - bosParseName: base at most 128 bytes and ext at most 3; the path keeps
//    exactly its part up to the last "/"; failure only when reporting and
//    the base was longer than 128 bytes;
//  - appendPath: the old list, the directory and ":";
//  - bosfpath: an absolute path stays as it is; a relative one ends with
//    the input and starts with "/";
//  - bosmpath: the result is a tail of the input;
//  - bospath: a result is absolute.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bos/bosfile.h"

namespace {

void check(bool condition) {
  if (!condition) abort();
}

void fill(char* buffer, const std::string& text) {
  size_t n = text.size() < BOS_MAX_PATH - 1 ? text.size() : BOS_MAX_PATH - 1;
  memcpy(buffer, text.data(), n);
  buffer[n] = '\0';
}

void parseName(const std::string& text, uint16_t report) {
  char path[BOS_MAX_PATH];
  fill(path, text);
  std::string before = path;
  char base[129], ext[4];
  uint16_t status = bosParseName(path, base, ext, report);
  size_t slash = before.rfind('/');
  std::string directory = slash == std::string::npos ? "" : before.substr(0, slash + 1);
  check(directory == path);
  std::string file = before.substr(directory.size());
  size_t baseLength = file.find('.') == std::string::npos ? file.size() : file.find('.');
  check(strlen(base) <= 128 && strlen(ext) <= 3);
  check(file.compare(0, strlen(base), base) == 0);
  check(status == ((report && baseLength > 128) ? 1 : 0));
}

void append(const std::string& first, const std::string& second) {
  char* list = appendPath(nullptr, first.c_str());
  if (!list) return;
  char* grown = appendPath(list, second.c_str());
  if (!grown) {
    free(list);
    return;
  }
  check(std::string(grown) == std::string(first.c_str()) + ":" + second.c_str() + ":");
  free(grown);
}

void fullPath(const std::string& text) {
  char path[BOS_MAX_PATH];
  fill(path, text);
  std::string before = path;
  if (bosfpath(path) != 0) {
    check(before == path);
    return;
  }
  if (before[0] == '/') {
    check(before == path);
  } else {
    std::string after = path;
    check(after[0] == '/' && after.size() >= before.size() &&
          after.compare(after.size() - before.size(), before.size(), before) == 0);
  }
}

void relativePath(const std::string& text) {
  char path[BOS_MAX_PATH];
  fill(path, text);
  std::string before = path;
  if (bosmpath(path) != 0) return;
  std::string after = path;
  check(after.size() <= before.size() &&
        before.compare(before.size() - after.size(), after.size(), after) == 0);
}

void buildPath(const std::string& dir, const std::string& name, const std::string& ext) {
  char out[BOS_MAX_PATH];
  if (bospath(out, dir.c_str(), name.c_str(), ext.c_str()) == 0) check(out[0] == '/');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> texts(3);
  size_t k = 0;
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      if (++k == texts.size()) break;
    } else {
      texts[k] += char(data[i]);
    }
  }
  parseName(texts[0], 0);
  parseName(texts[0], 1);
  append(texts[0], texts[1]);
  fullPath(texts[0]);
  relativePath(texts[0]);
  buildPath(texts[1], texts[0], texts[2]);
  return 0;
}
