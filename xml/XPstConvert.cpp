// Character data to UTF-8 through the library's CharacterConverter, and
// the text forms of values.
//
// The application's text is passed through untouched when it is valid
// UTF-8 and the application code page is UTF-8, which is the common case
// and costs one validating scan. Everything else is converted by name
// ("UTF-8", the application's code page, or "UTF-16LE") to UTF-8; ICU's
// decoders substitute a replacement character for bytes or lone
// surrogates that form no character, so the result is valid UTF-8 even
// for damaged input.
#include "xml/XPstConvert.h"

#include <unicode/ucnv.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/ram.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

// Length of the well-formed sequence at p (left bytes remain), 0 if none.
VXSIZE_T sequenceLength(const unsigned char* p, VXSIZE_T left) {
  unsigned char c = p[0];
  auto tail = [&](VXSIZE_T i) { return i < left && (p[i] & 0xC0) == 0x80; };
  if (c >= 0xC2 && c <= 0xDF) return tail(1) ? 2 : 0;
  if (c >= 0xE0 && c <= 0xEF) {
    if (!tail(1) || !tail(2)) return 0;
    if (c == 0xE0 && p[1] < 0xA0) return 0;  // overlong
    if (c == 0xED && p[1] > 0x9F) return 0;  // surrogate
    return 3;
  }
  if (c >= 0xF0 && c <= 0xF4) {
    if (!tail(1) || !tail(2) || !tail(3)) return 0;
    if (c == 0xF0 && p[1] < 0x90) return 0;  // overlong
    if (c == 0xF4 && p[1] > 0x8F) return 0;  // above U+10FFFF
    return 4;
  }
  return 0;
}

}  // namespace

bool XPstIsValidUtf8(const char* text, VXSIZE_T n) {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  VXSIZE_T i = 0;
  while (i < n) {
    if (p[i] < 0x80) {
      ++i;
      continue;
    }
    VXSIZE_T length = sequenceLength(p + i, n - i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

XPstConverter::XPstConverter() : codePage_(nullptr) {}

XPstConverter::~XPstConverter() {
  free(codePage_);
  free(scratch_);
}

uint16_t XPstConverter::open(const char* codePage) {
  if (converter_.initialize(4) != 0) return 1;
  if (codePage == nullptr || ucnv_compareNames(codePage, "UTF-8") == 0) return 0;
  UConverter* handle = nullptr;
  if (converter_.getHandle(codePage, int64_t(strlen(codePage)), &handle) != 0) return 1;
  UErrorCode status = U_ZERO_ERROR;
  if (strcmp(ucnv_getName(handle, &status), "UTF-8") == 0) return 0;
  codePage_ = ramAllocStr(codePage);
  if (codePage_ != nullptr) return 0;
  addError(kErrOutOfMemory);
  return 1;
}

uint16_t XPstConverter::reserve(VXSIZE_T n) {
  if (n <= scratchSize_) return 0;
  char* grown = static_cast<char*>(ramRealloc(scratch_, n));
  if (grown == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  scratch_ = grown;
  scratchSize_ = n;
  return 0;
}

// Every input byte gives at most three UTF-8 bytes (a character of two or
// more bytes gives at most four; a substitution three), so 4n + 16 bytes
// always hold the result.
uint16_t XPstConverter::convert(const char* in, VXSIZE_T n, const char* from, const char** out,
                                VXSIZE_T* outLength) {
  *out = in;
  *outLength = 0;
  if (n == 0) return 0;
  if (reserve(4 * n + 16) != 0) return 1;
  int64_t written = 0;
  if (converter_.ktCpgToCpg(scratch_, int64_t(scratchSize_), in, int64_t(n), &written, from,
                            "UTF-8") != 0)
    return 1;
  *out = scratch_;
  *outLength = VXSIZE_T(written);
  return 0;
}

uint16_t XPstConverter::fromApplication(const char* text, VXSIZE_T n, const char** out,
                                        VXSIZE_T* outLength) {
  if (codePage_ == nullptr && XPstIsValidUtf8(text, n)) {
    *out = text;
    *outLength = n;
    return 0;
  }
  return convert(text, n, codePage_ != nullptr ? codePage_ : "UTF-8", out, outLength);
}

uint16_t XPstConverter::fromUtf16(const uint16_t* units, VXSIZE_T n, const char** out,
                                  VXSIZE_T* outLength) {
  return convert(reinterpret_cast<const char*>(units), 2 * n, "UTF-16LE", out, outLength);
}

VXSIZE_T XPstFormatDate(char* out, int year, int month, int day) {
  return VXSIZE_T(snprintf(out, 64, "%04d-%02d-%02d", year, month, day));
}

VXSIZE_T XPstFormatTime(char* out, int hour, int minute, int second) {
  return VXSIZE_T(snprintf(out, 64, "%02d:%02d:%02d", hour, minute, second));
}

VXSIZE_T XPstFormatTimestamp(char* out, int year, int month, int day, int hour, int minute,
                             int second) {
  return VXSIZE_T(snprintf(out, 64, "%04d-%02d-%02dT%02d:%02d:%02d", year, month, day, hour,
                           minute, second));
}

// Digits are written from the end of a local buffer: the standard
// library's integer to_chars would export its digit table from the
// library.
VXSIZE_T XPstFormatUnsigned(char* out, uint64_t value) {
  char digits[20];
  size_t n = 0;
  do {
    digits[sizeof digits - ++n] = char('0' + value % 10);
    value /= 10;
  } while (value != 0);
  memcpy(out, digits + sizeof digits - n, n);
  return n;
}

VXSIZE_T XPstFormatSigned(char* out, int64_t value) {
  if (value >= 0) return XPstFormatUnsigned(out, uint64_t(value));
  out[0] = '-';
  return 1 + XPstFormatUnsigned(out + 1, 0 - uint64_t(value));
}

VXSIZE_T XPstFormatDouble(char* out, double value) {
  if (std::isnan(value)) return VXSIZE_T(snprintf(out, 32, "NaN"));
  if (std::isinf(value)) return VXSIZE_T(snprintf(out, 32, value < 0 ? "-INF" : "INF"));
  return VXSIZE_T(std::to_chars(out, out + 32, value).ptr - out);
}

VXSIZE_T XPstFormatFloat(char* out, float value) {
  if (std::isnan(value) || std::isinf(value)) return XPstFormatDouble(out, value);
  return VXSIZE_T(std::to_chars(out, out + 32, value).ptr - out);
}
