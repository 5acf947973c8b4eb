// The scanners of the INI file format.
//
// The format, byte by byte (the line end is the single byte "\n"; a "\r"
// before it is part of the line):
//
//  - A section header is a "[" at the start of the image or directly after
//    a line end, up to the next "]" (wherever that is). The whole header,
//    brackets included, is compared case-insensitively with "[name]". A
//    "[" after a ";" or "#" is never at a line start, so a commented-out
//    header is never a header.
//  - A section runs from its header to the next "[" anywhere after the
//    header's "]" (not only at a line start), or to the end of the image.
//    Deliberate: a "[" inside a value ends the section at that byte, and
//    the keys after it belong to no section.
//  - The entries start on the line after the header. On each line leading
//    blanks and tabs are skipped; an empty line is skipped; a line that
//    then begins with ";" or "#" is a comment. A line beginning with "["
//    cannot occur inside a section: that "[" is where the section ends.
//  - The key runs from the first non-blank byte to the first "=", blank or
//    tab (or the line end); keys compare case-insensitively. After the key
//    every blank, tab and "=" is skipped; the value is the rest of the line
//    (cut at the section end), trailing blanks kept. So "Driver = /x.so"
//    and "Driver==/x.so" both give "/x.so".
//  - The first line with a matching key wins.
//
// The key list of a section (multi-entry output) is a plainer walk over the
// section's bytes that keeps its own odd corners, all deliberate: after the
// header line, its line end and any leading blanks, bytes are copied as
// they come; an "=" ends a key (a NUL is written for it) and the rest of
// its line is skipped; a line end is dropped without writing anything, so
// a line without "=" runs on into the next key; a ";" or "#" directly after
// a line end makes that line a comment. Blanks before "=" stay in the key.
//
// Cost: a plain search is one pass over the image, using memchr for the
// bytes that matter, so it is linear in the bytes before the entry, and so
// is building the section index, whatever the image holds. The
// section index (below) lets a lookup skip the headers before its own; the
// entry search is then linear in its section only.
#include "config/iniscan_internal.h"

#include <cstdlib>
#include <cstring>

#include "foundation/vxstr.h"

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// Offset of the first `c` in [from, to), or `to`.
VXSIZE_T findByte(const char* image, VXSIZE_T from, VXSIZE_T to, char c) {
  if (from >= to) return to;
  const void* hit = memchr(image + from, c, to - from);
  return hit ? VXSIZE_T(static_cast<const char*>(hit) - image) : to;
}

// Offset just past the line end at or after `from`, or `to`.
VXSIZE_T nextLine(const char* image, VXSIZE_T from, VXSIZE_T to) {
  VXSIZE_T lineEnd = findByte(image, from, to, '\n');
  return lineEnd < to ? lineEnd + 1 : to;
}

bool isCommentStart(char c) { return c == ';' || c == '#'; }

// The first occurrence of one byte at or after positions that never go
// back. Headers are taken in file order and may overlap ("[a" on one line,
// "[b]" on the next: the first header runs to the second's "]"), so a file
// of lines that open with "[" and close far below would cost a search to
// that "]" per line, quadratic in the file size. The next "]" and the next
// "[" only move forward as the headers do, so each search resumes where
// the last one ended: one pass over the image for all headers.
class ForwardFinder {
 public:
  ForwardFinder(const char* image, VXSIZE_T length, char byte) : image_(image), length_(length), byte_(byte) {}

  // The first byte at or after `from` (length when there is none).
  VXSIZE_T at(VXSIZE_T from) {
    if (!searched_ || hit_ < from) hit_ = findByte(image_, from, length_, byte_);
    searched_ = true;
    return hit_;
  }

 private:
  const char* image_;
  VXSIZE_T length_;
  char byte_;
  VXSIZE_T hit_ = 0;
  bool searched_ = false;
};

}  // namespace

uint16_t iniFindSection(const char* image, VXSIZE_T length, const char* header,
                        VXSIZE_T headerLength, VXSIZE_T* start, VXSIZE_T* end) {
  ForwardFinder closer(image, length, ']');
  for (VXSIZE_T pos = 0; (pos = findByte(image, pos, length, '[')) < length; ++pos) {
    if (pos != 0 && image[pos - 1] != '\n') continue;
    VXSIZE_T close = closer.at(pos);
    if (close == length) break;  // no later "[" has a "]" either
    if (strEqualCi(image + pos, close - pos + 1, header, headerLength)) {
      *start = pos;
      *end = findByte(image, close + 1, length, '[');
      return 0;
    }
  }
  return 1;
}

// The section index. Each header's hash folds ASCII letters to lower case,
// so equal hashes are necessary for headers that differ only in ASCII case;
// every candidate is still confirmed with the same case-insensitive
// comparison the plain search uses. A header with bytes above 0x7f (whose
// case folding depends on the locale) is never ruled out by its hash, and a
// request with such bytes takes the plain search: both ways give the
// plain search's answer. Only the first kHashedBytes bytes are hashed (and
// looked at for bytes above 0x7f): equal headers have equal prefixes, and
// hashing whole overlapping headers would make the build quadratic.
namespace {

const VXSIZE_T kHashedBytes = 64;

uint64_t foldedHash(const char* text, VXSIZE_T length, bool* plainAscii) {
  uint64_t hash = 14695981039346656037ull;  // FNV-1a
  bool ascii = true;
  if (length > kHashedBytes) length = kHashedBytes;
  for (VXSIZE_T i = 0; i < length; ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 'A' && c <= 'Z') c = static_cast<unsigned char>(c + ('a' - 'A'));
    if (c > 0x7f) ascii = false;
    hash = (hash ^ c) * 1099511628211ull;
  }
  *plainAscii = ascii;
  return hash;
}

}  // namespace

uint16_t iniBuildSectionIndex(const char* image, VXSIZE_T length, IniSectionIndex* index) {
  VXSIZE_T capacity = 0;
  ForwardFinder closer(image, length, ']'), opener(image, length, '[');
  for (VXSIZE_T pos = 0; (pos = findByte(image, pos, length, '[')) < length; ++pos) {
    if (pos != 0 && image[pos - 1] != '\n') continue;
    VXSIZE_T close = closer.at(pos);
    if (close == length) break;  // no later "[" has a "]" either
    if (index->count == capacity) {
      capacity = capacity ? capacity * 2 : 64;
      void* grown = realloc(index->entries, capacity * sizeof(IniSectionIndexEntry));
      if (!grown) {
        iniFreeSectionIndex(index);
        return 1;
      }
      index->entries = static_cast<IniSectionIndexEntry*>(grown);
    }
    IniSectionIndexEntry& entry = index->entries[index->count++];
    entry.start = pos;
    entry.headerLength = close - pos + 1;
    entry.end = opener.at(close + 1);
    entry.hash = foldedHash(image + pos, entry.headerLength, &entry.plainAscii);
  }
  return 0;
}

void iniFreeSectionIndex(IniSectionIndex* index) {
  free(index->entries);
  index->entries = nullptr;
  index->count = 0;
}

uint16_t iniFindSectionIndexed(const char* image, VXSIZE_T length, const IniSectionIndex& index,
                               const char* header, VXSIZE_T headerLength, VXSIZE_T* start,
                               VXSIZE_T* end) {
  bool plainAscii = true;
  uint64_t hash = foldedHash(header, headerLength, &plainAscii);
  if (!plainAscii) return iniFindSection(image, length, header, headerLength, start, end);
  for (VXSIZE_T i = 0; i < index.count; ++i) {
    const IniSectionIndexEntry& entry = index.entries[i];
    if (entry.plainAscii && (entry.hash != hash || entry.headerLength != headerLength)) continue;
    if (strEqualCi(image + entry.start, entry.headerLength, header, headerLength)) {
      *start = entry.start;
      *end = entry.end;
      return 0;
    }
  }
  return 1;
}

VXSIZE_T iniSectionBody(const char* image, VXSIZE_T start, VXSIZE_T sectionEnd) {
  return nextLine(image, start, sectionEnd);
}

uint16_t iniFindEntry(const char* image, VXSIZE_T sectionEnd, const char* key,
                      VXSIZE_T keyLength, VXSIZE_T* cursor, VXSIZE_T* valueStart,
                      VXSIZE_T* valueEnd, VXSIZE_T* lineEnd) {
  VXSIZE_T pos = iniSectionBody(image, *cursor, sectionEnd);
  while (pos < sectionEnd) {
    VXSIZE_T lineStart = pos;
    while (pos < sectionEnd && isBlank(image[pos])) ++pos;
    VXSIZE_T eol = findByte(image, pos, sectionEnd, '\n');
    VXSIZE_T next = eol < sectionEnd ? eol + 1 : sectionEnd;
    if (pos < eol && !isCommentStart(image[pos])) {
      VXSIZE_T keyEnd = pos;
      while (keyEnd < eol && image[keyEnd] != '=' && !isBlank(image[keyEnd])) ++keyEnd;
      if (strEqualCi(image + pos, keyEnd - pos, key, keyLength)) {
        VXSIZE_T value = keyEnd;
        while (value < eol && (image[value] == '=' || isBlank(image[value]))) ++value;
        *cursor = lineStart;
        *valueStart = value;
        *valueEnd = eol;
        *lineEnd = next;
        return 0;
      }
    }
    pos = next;
  }
  return 1;
}

VXSIZE_T iniCopyKeys(const char* image, VXSIZE_T start, VXSIZE_T sectionEnd, char* buffer,
                     VXSIZE_T size) {
  VXSIZE_T body = iniSectionBody(image, start, sectionEnd);
  VXSIZE_T pos = body;
  while (pos < sectionEnd && isBlank(image[pos])) ++pos;
  VXSIZE_T written = 0;
  bool atLineStart = pos == body;  // the first line follows the header's line end
  while (pos < sectionEnd && written < size - 1) {
    char c = image[pos];
    if (atLineStart && isCommentStart(c)) {
      pos = nextLine(image, pos, sectionEnd);
      continue;
    }
    atLineStart = false;
    if (c == '=') {
      buffer[written++] = '\0';
      pos = nextLine(image, pos, sectionEnd);
      atLineStart = true;
    } else if (c == '\n') {
      ++pos;
      atLineStart = true;
    } else {
      buffer[written++] = c;
      ++pos;
    }
  }
  buffer[written++] = '\0';
  return written;
}
