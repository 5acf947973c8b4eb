// Character data to UTF-8 through ICU, and the text forms of values.
//
// The application's text is passed through untouched when it is valid
// UTF-8 and the application code page is UTF-8, which is the common case
// and costs one validating scan. Every other path converts to UTF-16 with
// ICU (whose default callback substitutes U+FFFD for undecodable input)
// and from there to UTF-8 with u_strToUTF8WithSub, which does the same for
// unpaired surrogates.
#include "xml/XPstConvert.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

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

XPstConverter::~XPstConverter() {
  if (converter_ != nullptr) ucnv_close(converter_);
  if (utf8_ != nullptr) ucnv_close(utf8_);
  free(scratch_);
}

uint16_t XPstConverter::open(const char* codePage) {
  if (codePage == nullptr || ucnv_compareNames(codePage, "UTF-8") == 0) return 0;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(codePage, &status);
  if (U_FAILURE(status)) {
    addError(kErrXmlBadArgument) << codePage;
    return 1;
  }
  if (strcmp(ucnv_getName(converter, &status), "UTF-8") == 0) {
    ucnv_close(converter);
    return 0;
  }
  converter_ = converter;
  return 0;
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

uint16_t XPstConverter::fromApplication(const char* text, VXSIZE_T n, const char** out,
                                        VXSIZE_T* outLength) {
  if (converter_ == nullptr && XPstIsValidUtf8(text, n)) {
    *out = text;
    *outLength = n;
    return 0;
  }
  UConverter* converter = converter_;
  if (converter == nullptr) {
    UErrorCode status = U_ZERO_ERROR;
    if (utf8_ == nullptr) utf8_ = ucnv_open("UTF-8", &status);
    if (U_FAILURE(status)) {
      addError(kErrOutOfMemory);
      return 1;
    }
    converter = utf8_;
  }
  // Every input byte gives at most two UTF-16 units (a surrogate pair
  // comes from four bytes or more in any code page ICU supports, and a
  // substitution gives one unit). The units go in the back half of the
  // scratch buffer, the UTF-8 in the front: 3 bytes per unit at most.
  if (n > INT32_MAX / 8 || reserve(2 * n * sizeof(UChar) + 6 * n + 8) != 0) {
    if (n > INT32_MAX / 8) addError(kErrOutOfMemory);
    return 1;
  }
  auto* units = reinterpret_cast<UChar*>(scratch_ + 6 * n + 8);
  UErrorCode status = U_ZERO_ERROR;
  ucnv_resetToUnicode(converter);
  int32_t count = ucnv_toUChars(converter, units, int32_t(2 * n), text, int32_t(n), &status);
  if (U_FAILURE(status) && status != U_STRING_NOT_TERMINATED_WARNING) {
    addError(kErrOutOfMemory);
    return 1;
  }
  int32_t length = 0;
  status = U_ZERO_ERROR;
  u_strToUTF8WithSub(scratch_, int32_t(6 * n + 8), &length, units, count, kReplacement, nullptr,
                     &status);
  if (U_FAILURE(status)) {
    addError(kErrOutOfMemory);
    return 1;
  }
  *out = scratch_;
  *outLength = VXSIZE_T(length);
  return 0;
}

uint16_t XPstConverter::fromUtf16(const uint16_t* units, VXSIZE_T n, const char** out,
                                  VXSIZE_T* outLength) {
  if (n > INT32_MAX / 4 || reserve(3 * n + 4) != 0) {
    if (n > INT32_MAX / 4) addError(kErrOutOfMemory);
    return 1;
  }
  return utf16ToUtf8(units, int32_t(n), out, outLength);
}

uint16_t XPstConverter::utf16ToUtf8(const uint16_t* units, int32_t n, const char** out,
                                    VXSIZE_T* outLength) {
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(scratch_, int32_t(scratchSize_), &length,
                     reinterpret_cast<const UChar*>(units), n, kReplacement, nullptr, &status);
  if (U_FAILURE(status)) {
    addError(kErrOutOfMemory);
    return 1;
  }
  *out = scratch_;
  *outLength = VXSIZE_T(length);
  return 0;
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

VXSIZE_T XPstFormatSigned(char* out, int64_t value) {
  return VXSIZE_T(std::to_chars(out, out + 32, value).ptr - out);
}

VXSIZE_T XPstFormatUnsigned(char* out, uint64_t value) {
  return VXSIZE_T(std::to_chars(out, out + 32, value).ptr - out);
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
