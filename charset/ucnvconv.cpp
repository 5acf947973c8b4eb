// ConvUTF8ToUTF16, ConvUTF16ToUTF8 and Append_UTF8.
#include "charset/ucnvconv.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstring>

namespace {

// The checks both directions start with; false (and status set where the
// arguments are bad) when the call must return null at once.
template <class Out, class In>
bool argumentsUsable(Out** destination, int32_t capacity, In** source, int32_t length,
                     UErrorCode* status) {
  if (status == nullptr || U_FAILURE(*status)) return false;
  if (source == nullptr || *source == nullptr || length < -1 || capacity < 0 ||
      (capacity > 0 && (destination == nullptr || *destination == nullptr))) {
    *status = U_ILLEGAL_ARGUMENT_ERROR;
    return false;
  }
  return true;
}

// ICU's termination rule (u_terminateUChars and u_terminateChars, which
// ICU does not publish): a 0 behind the text when there is room; exactly
// full is "not terminated", more than full is an overflow.
template <class Unit>
void terminate(Unit* destination, int32_t capacity, int32_t length, UErrorCode* status) {
  if (U_FAILURE(*status)) return;
  if (length < capacity) {
    destination[length] = 0;
    if (*status == U_STRING_NOT_TERMINATED_WARNING) *status = U_ZERO_ERROR;
  } else if (length == capacity) {
    *status = U_STRING_NOT_TERMINATED_WARNING;
  } else {
    *status = U_BUFFER_OVERFLOW_ERROR;
  }
}

}  // namespace

// ASCII bytes are copied as units; other sequences go through ICU's safe
// next-character routine. A supplementary character whose high surrogate
// alone fits is counted as two units and left incomplete; from a full
// output on, units are only counted.
UChar* ConvUTF8ToUTF16(UChar** destination, int32_t capacity, int32_t* required,
                       const char** source, int32_t length, UErrorCode* status) {
  if (!argumentsUsable(destination, capacity, source, length, status)) return nullptr;
  const uint8_t* s = reinterpret_cast<const uint8_t*>(*source);
  int32_t n = length < 0 ? int32_t(strlen(*source)) : length;
  UChar* out = capacity > 0 ? *destination : nullptr;
  int32_t units = 0;
  int32_t i = 0;
  while (i < n) {
    if (s[i] < 0x80) {
      if (units < capacity) out[units] = s[i];
      ++units;
      ++i;
      continue;
    }
    int32_t start = i;
    UChar32 c;
    U8_NEXT(s, i, n, c);
    if (c < 0) {
      if (i < n) {
        *status = U_INVALID_CHAR_FOUND;
        return nullptr;
      }
      *status = U_TRUNCATED_CHAR_FOUND;  // cut off at the end: report, keep what came before
      i = start;
      break;
    }
    if (c <= 0xFFFF) {
      if (units < capacity) out[units] = UChar(c);
      ++units;
    } else {
      if (units < capacity) out[units] = U16_LEAD(c);
      if (units + 1 < capacity) out[units + 1] = U16_TRAIL(c);
      units += 2;
    }
  }
  if (required != nullptr) *required = units;
  UChar* start = capacity > 0 ? *destination : nullptr;
  if (*status == U_TRUNCATED_CHAR_FOUND) {
    *source += i;
  } else {
    terminate(start, capacity, units, status);
    *source += n;
  }
  if (capacity > 0) *destination += units < capacity ? units : capacity;
  return start;
}

// A high surrogate must be followed by a low one; a pair is combined as
// (high << 10) + low - 0x35FDC00. A character is written only when all its
// bytes fit; after the first that does not, the rest is only counted.
char* ConvUTF16ToUTF8(char** destination, int32_t capacity, int32_t* required,
                      const UChar** source, int32_t length, UErrorCode* status) {
  if (!argumentsUsable(destination, capacity, source, length, status)) return nullptr;
  const UChar* s = *source;
  char* out = capacity > 0 ? *destination : nullptr;
  int32_t bytes = 0;
  int32_t written = 0;
  bool full = false;
  int32_t i = 0;
  for (; length < 0 ? s[i] != 0 : i < length; ++i) {
    uint32_t c = s[i];
    if (U16_IS_TRAIL(c) ||
        (U16_IS_LEAD(c) && (length < 0 ? s[i + 1] == 0 : i + 1 >= length))) {
      *status = U_INVALID_CHAR_FOUND;
      return nullptr;
    }
    if (U16_IS_LEAD(c)) {
      if (!U16_IS_TRAIL(s[i + 1])) {
        *status = U_INVALID_CHAR_FOUND;
        return nullptr;
      }
      c = (c << 10) + s[++i] - 0x35FDC00;
    }
    int32_t size = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    full = full || bytes + size > capacity;
    if (!full && c < 0x80) {
      out[bytes] = char(c);
      written = bytes + 1;
    } else if (!full) {
      written = int32_t(Append_UTF8(out + bytes, int32_t(c)) - out);
    }
    bytes += size;
  }
  if (required != nullptr) *required = bytes;
  char* start = capacity > 0 ? *destination : nullptr;
  terminate(start, capacity, bytes, status);
  *source += i;
  if (capacity > 0) *destination += written;
  return start;
}

char* Append_UTF8(char* p, int32_t cp) {
  uint32_t c = uint32_t(cp);
  if (cp >= 0 && c < 0x800) {
    *p++ = char(0xC0 | (c >> 6));
    *p++ = char(0x80 | (c & 0x3F));
  } else if (cp >= 0 && c < 0x10000) {
    *p++ = char(0xE0 | (c >> 12));
    *p++ = char(0x80 | ((c >> 6) & 0x3F));
    *p++ = char(0x80 | (c & 0x3F));
  } else {
    *p++ = char(0xF0 | ((c >> 18) & 0x07));
    *p++ = char(0x80 | ((c >> 12) & 0x3F));
    *p++ = char(0x80 | ((c >> 6) & 0x3F));
    *p++ = char(0x80 | (c & 0x3F));
  }
  return p;
}
