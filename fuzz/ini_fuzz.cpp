// Differential fuzz target for the INI scanners over arbitrary file images.
//
// Input: a first line "SECTION<TAB>KEY" (as many bytes as there are before
// the first line end; no tab means an empty key), then the image. The
// section search, the entry search and the key-list copy run on the image
// (in a buffer of exactly its size, so reading past it is caught) and are
// compared with a reference written line by line on std::string from the
// format rules: a header is "[" at a line start up to the next "]",
// compared ignoring ASCII case; a section ends at the next "[" anywhere;
// entry lines skip leading blanks and tabs, skip empty and ";"/"#" lines;
// a key ends at "=", blank or tab; the value follows its "=", blanks and
// tabs, to the line end. The section index must find what the plain
// search finds. The key list must stay within its buffer and end
// with a NUL. The reference assumes the "C" locale.
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "config/iniscan_internal.h"

namespace {

bool equalIgnoringCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (tolower((unsigned char)a[i]) != tolower((unsigned char)b[i])) return false;
  }
  return true;
}

struct Section {
  bool found = false;
  size_t start = 0, end = 0;
};

Section referenceSection(const std::string& image, const std::string& header) {
  Section result;
  for (size_t i = 0; i < image.size(); ++i) {
    if (image[i] != '[' || (i > 0 && image[i - 1] != '\n')) continue;
    size_t close = image.find(']', i);
    if (close == std::string::npos) continue;
    if (!equalIgnoringCase(image.substr(i, close - i + 1), header)) continue;
    size_t next = image.find('[', close + 1);
    result.found = true;
    result.start = i;
    result.end = next == std::string::npos ? image.size() : next;
    return result;
  }
  return result;
}

// The value of key in [start, end), or false.
bool referenceEntry(const std::string& image, const Section& section, const std::string& key,
                    std::string* value) {
  std::string text = image.substr(section.start, section.end - section.start);
  size_t firstLineEnd = text.find('\n');
  if (firstLineEnd == std::string::npos) return false;
  size_t pos = firstLineEnd + 1;
  while (pos < text.size()) {
    size_t eol = text.find('\n', pos);
    std::string line = text.substr(pos, eol == std::string::npos ? std::string::npos : eol - pos);
    pos = eol == std::string::npos ? text.size() : eol + 1;
    size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line[begin] == ';' || line[begin] == '#') continue;
    size_t keyEnd = line.find_first_of("= \t", begin);
    if (keyEnd == std::string::npos) keyEnd = line.size();
    if (!equalIgnoringCase(line.substr(begin, keyEnd - begin), key)) continue;
    size_t valueStart = line.find_first_not_of("= \t", keyEnd);
    *value = valueStart == std::string::npos ? "" : line.substr(valueStart);
    return true;
  }
  return false;
}

void check(bool condition) {
  if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string input(reinterpret_cast<const char*>(data), size);
  size_t lineEnd = input.find('\n');
  if (lineEnd == std::string::npos) return 0;
  std::string query = input.substr(0, lineEnd);
  size_t tab = query.find('\t');
  std::string header = "[" + query.substr(0, tab) + "]";
  std::string key = tab == std::string::npos ? "" : query.substr(tab + 1);
  std::vector<char> image(input.begin() + long(lineEnd) + 1, input.end());
  const char* bytes = image.empty() ? "" : image.data();
  std::string imageText(image.begin(), image.end());

  VXSIZE_T start = 0, end = 0;
  bool found = iniFindSection(bytes, image.size(), header.data(), header.size(), &start, &end) == 0;
  Section expected = referenceSection(imageText, header);
  check(found == expected.found);
  IniSectionIndex index;
  if (iniBuildSectionIndex(bytes, image.size(), &index) == 0) {
    VXSIZE_T indexedStart = 0, indexedEnd = 0;
    bool indexedFound = iniFindSectionIndexed(bytes, image.size(), index, header.data(), header.size(),
                                              &indexedStart, &indexedEnd) == 0;
    check(indexedFound == found && (!found || (indexedStart == start && indexedEnd == end)));
    iniFreeSectionIndex(&index);
  }
  if (!found) return 0;
  check(start == expected.start && end == expected.end);

  VXSIZE_T cursor = start, valueStart = 0, valueEnd = 0, entryLineEnd = 0;
  bool entryFound = iniFindEntry(bytes, end, key.data(), key.size(), &cursor, &valueStart, &valueEnd,
                                 &entryLineEnd) == 0;
  std::string expectedValue;
  check(entryFound == referenceEntry(imageText, expected, key, &expectedValue));
  if (entryFound) {
    check(start < cursor && cursor <= valueStart && valueStart <= valueEnd && valueEnd <= entryLineEnd &&
          entryLineEnd <= end);
    check(imageText.substr(valueStart, valueEnd - valueStart) == expectedValue);
  }

  VXSIZE_T body = iniSectionBody(bytes, start, end);
  check(body > start && body <= end);
  if (body < end) {
    for (VXSIZE_T room : {VXSIZE_T(1), VXSIZE_T(7), VXSIZE_T(4096)}) {
      std::vector<char> keys(room);
      VXSIZE_T written = iniCopyKeys(bytes, start, end, keys.data(), room);
      check(written >= 1 && written <= room && keys[written - 1] == '\0');
      for (VXSIZE_T i = 0; i + 1 < written; ++i) check(keys[i] != '\n' && keys[i] != '=');
    }
  }
  return 0;
}
