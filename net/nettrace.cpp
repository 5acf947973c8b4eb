// The data-stream trace file and its dump format.
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <cassert>
#include <climits>

#include "charset/ebcdic.h"
#include "foundation/vxerror.h"
#include "net/nettrace_internal.h"

namespace {

constexpr size_t kRowBytes = 8;
// Each place takes three columns of hex and two each of ASCII and EBCDIC;
// a tab ends the first two groups and a newline the third.
constexpr size_t kRowLength = kRowBytes * (3 + 2 + 2) + 3;
constexpr char kColumnHeading[] = "HEX\t\t\t\tASCII\t\t\tEBCDIC\n";

// One row: the places from data[0] up to end, the rest blank.
size_t formatRow(char* row, const uint8_t* data, size_t present) {
  static const char kHex[] = "0123456789ABCDEF";
  char* p = row;
  for (size_t k = 0; k < kRowBytes; ++k) {
    if (k < present) {
      *p++ = kHex[data[k] >> 4];
      *p++ = kHex[data[k] & 15];
    } else {
      *p++ = ' ';
      *p++ = ' ';
    }
    *p++ = ' ';
  }
  *p++ = '\t';
  // Bytes 32 to 127 show as themselves (127 included).
  for (size_t k = 0; k < kRowBytes; ++k) {
    *p++ = k < present ? (data[k] >= 32 && data[k] <= 127 ? char(data[k]) : '.') : ' ';
    *p++ = ' ';
  }
  *p++ = '\t';
  for (size_t k = 0; k < kRowBytes; ++k) {
    *p++ = k < present ? char(VxEbcdicToAscii(data[k])) : ' ';
    *p++ = ' ';
  }
  *p++ = '\n';
  assert(size_t(p - row) == kRowLength);
  return kRowLength;
}

// Creates the first of "0.out", "1.out", ... that does not exist yet;
// null when that fails for another reason than an existing file.
FILE* openNextTraceFile() {
  for (int n = 0; n < INT_MAX; ++n) {
    char name[24];
    snprintf(name, sizeof name, "%d.out", n);
    int fd = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
      if (errno == EEXIST) continue;
      return nullptr;
    }
    FILE* file = fdopen(fd, "w");
    if (file == nullptr) {
      close(fd);
      return nullptr;
    }
    return file;
  }
  errno = EEXIST;
  return nullptr;
}

}  // namespace

unsigned switchTraceFile(FILE** file, bool on, bool report) {
  if (!on) {
    if (*file != nullptr) fclose(*file);
    *file = nullptr;
    return 0;
  }
  if (*file != nullptr) return 0;
  *file = openNextTraceFile();
  if (*file != nullptr) return 0;
  if (report) addError(kErrCannotOpen) << "N.out";
  return 1;
}

// Rows go on while a row's start offset is not past the length, so a
// length that is a multiple of 8 (0 included) ends with a row of blanks.
// That blank row is how the dump has always looked and is kept.
void writeTraceRecord(FILE* out, const char* heading, const uint8_t* data, size_t length) {
  fputs(heading, out);
  fputs(kColumnHeading, out);
  char row[kRowLength];
  for (size_t offset = 0; offset <= length; offset += kRowBytes) {
    size_t present = length - offset < kRowBytes ? length - offset : kRowBytes;
    fwrite(row, 1, formatRow(row, data + offset, present), out);
  }
  fputc('\n', out);
  fflush(out);
}
