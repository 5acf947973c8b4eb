// UTF-16 and UTF-8 conversions without a converter, code-point helpers and
// the small byte-string helpers of the kt family.
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "charset/ktwchar.h"
#include "foundation/vxstr.h"

namespace {

// Source units of ICU's string functions: -1 for a null-terminated text.
int32_t icuLength(int64_t length) {
  if (length < 0) return -1;
  return int32_t(std::min<int64_t>(length, INT32_MAX));
}

int32_t icuCapacity(int64_t capacity) {
  return int32_t(std::min<int64_t>(std::max<int64_t>(capacity, 0), INT32_MAX));
}

// Units of aligned UTF-16 kept on the stack; longer input goes to the heap.
constexpr int64_t kAlignedStackUnits = 4000;

// ICU wants UTF-16 at an even address. Input at an odd one is copied: to
// the stack up to kAlignedStackUnits, else to the heap. Null on allocation
// failure.
class AlignedUnits {
 public:
  AlignedUnits(const UChar* in, int64_t length) : units_(in) {
    if ((reinterpret_cast<uintptr_t>(in) & 1) == 0) return;
    if (length < 0) length = ktUCS2Len(in) + 1;
    UChar* copy = stack_;
    if (length > kAlignedStackUnits) {
      copy = static_cast<UChar*>(malloc(size_t(length) * sizeof(UChar)));
      heap_ = copy;
    }
    if (copy != nullptr) memcpy(copy, in, size_t(length) * sizeof(UChar));
    units_ = copy;
  }
  ~AlignedUnits() { free(heap_); }
  AlignedUnits(const AlignedUnits&) = delete;
  AlignedUnits& operator=(const AlignedUnits&) = delete;

  const UChar* get() const { return units_; }

 private:
  const UChar* units_;
  UChar* heap_ = nullptr;
  UChar stack_[kAlignedStackUnits];
};

VxConvertReturn utf16ToUtf8(char* out, int64_t capacity, UChar* in, int64_t length,
                            int64_t* written, int swap, bool keepTerminatorPlace) {
  if (in == nullptr || written == nullptr || capacity < 0 || (capacity > 0 && out == nullptr)) {
    return VX_CONVERT_FAILED;
  }
  if (swap && length >= 1) ktUCS2Swap(in, in, length);
  AlignedUnits source(in, length);
  if (source.get() == nullptr) return VX_CONVERT_FAILED;
  int64_t room = capacity;
  if (keepTerminatorPlace) {
    if (capacity > 0) memset(out + std::max<int64_t>(capacity - 4, 0), 0, size_t(std::min<int64_t>(capacity, 4)));
    room = std::max<int64_t>(capacity - 1, 0);
  }
  int32_t produced = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(room > 0 ? out : nullptr, icuCapacity(room), &produced, source.get(),
              icuLength(length), &status);
  *written = produced;
  VxConvertReturn result = mapICUreturn(status);
  if (result != VX_CONVERT_OK && !(keepTerminatorPlace && result == VX_CONVERT_TRUNCATED)) {
    return result;
  }
  if (produced < capacity) out[produced] = 0;
  return result;
}

VxConvertReturn utf8ToUtf16(UChar* out, int64_t capacity, const char* in, int64_t length,
                            int64_t* written, int swap, bool keepTerminatorPlace) {
  if (in == nullptr || written == nullptr || capacity < 0 || (capacity > 0 && out == nullptr)) {
    return VX_CONVERT_FAILED;
  }
  int64_t room = capacity;
  if (keepTerminatorPlace) {
    if (capacity > 0) {
      int64_t keep = std::min<int64_t>(capacity, 2);
      std::fill(out + capacity - keep, out + capacity, UChar(0));
    }
    room = std::max<int64_t>(capacity - 1, 0);
  }
  int32_t produced = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(room > 0 ? out : nullptr, icuCapacity(room), &produced, in, icuLength(length),
                &status);
  *written = produced;
  VxConvertReturn result = mapICUreturn(status);
  if (result != VX_CONVERT_OK && !(keepTerminatorPlace && result == VX_CONVERT_TRUNCATED)) {
    return result;
  }
  if (swap) ktUCS2Swap(out, out, std::min<int64_t>(capacity, produced));
  if (produced < capacity) out[produced] = 0;
  return result;
}

}  // namespace

VxConvertReturn ktUTF16ToUTF8(char* out, int64_t capacity, UChar* in, int64_t length,
                              int64_t* written, int swap) {
  return utf16ToUtf8(out, capacity, in, length, written, swap, false);
}

VxConvertReturn ktUTF16ToUTF8ReqLen(char* out, int64_t capacity, UChar* in, int64_t length,
                                    int64_t* written, int swap) {
  return utf16ToUtf8(out, capacity, in, length, written, swap, true);
}

VxConvertReturn ktUTF8ToUTF16(UChar* out, int64_t capacity, const char* in, int64_t length,
                              int64_t* written, int swap) {
  return utf8ToUtf16(out, capacity, in, length, written, swap, false);
}

VxConvertReturn ktUTF8ToUTF16ReqLen(UChar* out, int64_t capacity, const char* in, int64_t length,
                                    int64_t* written, int swap) {
  return utf8ToUtf16(out, capacity, in, length, written, swap, true);
}

int64_t ktUCS2Len(const UChar* s) {
  if (s == nullptr) return 0;
  int64_t n = 0;
  while (s[n] != 0) ++n;
  return n;
}

void ktUCS2Swap(UChar* destination, const UChar* source, int64_t count) {
  for (int64_t i = 0; i < count; ++i) {
    UChar u = source[i];
    destination[i] = UChar((u << 8) | (u >> 8));
  }
}

int64_t ktUnicodeLen(const char* s) { return int64_t(strLen(s)); }
int64_t ktUnicodeLen(const char*, int64_t length) { return length; }
int64_t ktAsciiLenOfUnicodeStr(const char* s) { return int64_t(strLen(s)); }
int64_t ktAsciiLenOfUnicodeStr(UConverter*, const char* s) { return int64_t(strLen(s)); }
int64_t ktAsciiLenOfUnicodeStr(UConverter*, const char*, int64_t length) { return length; }

int64_t ktUnicodeCopy(char* destination, const char* source) {
  if (destination == nullptr || source == nullptr || *source == 0) return 0;
  size_t n = strlen(source);
  memcpy(destination, source, n);
  return int64_t(n);
}

char* ktUnicodeDup(const char* s) {
  if (s == nullptr) return nullptr;
  size_t n = strlen(s);
  char* copy = static_cast<char*>(calloc(n + 2, 1));
  if (copy != nullptr) memcpy(copy, s, n);
  return copy;
}

char* ktAppendUTF8(char* p, uint32_t cp) {
  if (cp <= 0x7F) {
    *p++ = char(cp);
  } else if (cp <= 0x7FF) {
    *p++ = char(0xC0 | (cp >> 6));
    *p++ = char(0x80 | (cp & 0x3F));
  } else if (cp <= 0xFFFF) {
    *p++ = char(0xE0 | (cp >> 12));
    *p++ = char(0x80 | ((cp >> 6) & 0x3F));
    *p++ = char(0x80 | (cp & 0x3F));
  } else {
    *p++ = char(0xF0 | (cp >> 18));
    *p++ = char(0x80 | ((cp >> 12) & 0x3F));
    *p++ = char(0x80 | ((cp >> 6) & 0x3F));
    *p++ = char(0x80 | (cp & 0x3F));
  }
  return p;
}

uint32_t UTF16CharFromUTF8Char(uint32_t cp) {
  if (cp < 0x10000) return cp;
  if (cp < 0x110000) return ((cp >> 10) + 0xD7C0) | (((cp & 0x3FF) | 0xDC00) << 16);
  return 0;
}

uint32_t UTF8CharFromUTF16Char(uint32_t cp) {
  char bytes[4] = {0, 0, 0, 0};
  ktAppendUTF8(bytes, cp);
  uint32_t packed;
  memcpy(&packed, bytes, 4);
  return packed;
}

// Lead bytes 0xC0 to 0xF4 start a character whose trail count comes from
// ICU's table; the assembled code point goes through its packed UTF-16
// form to u_toupper and is written back in place with ktAppendUTF8. A
// supplementary character thus reaches u_toupper as a packed surrogate
// pair, which it returns unchanged, and is then re-encoded from that
// packed value, which changes its bytes: intended, and kept. A character
// whose upper case needs another number of bytes is left as it is, so the
// text never changes length. Other bytes
// (ASCII, stray trail bytes) are upper-cased when they are ASCII letters.
void ktUTF8Upper(char* s, int64_t length) {
  unsigned char* p = reinterpret_cast<unsigned char*>(s);
  int64_t i = 0;
  while (i < length) {
    unsigned lead = p[i];
    if (lead < 0xC0 || lead > 0xF4) {
      if (lead >= 'a' && lead <= 'z') p[i] = static_cast<unsigned char>(lead - 32);
      ++i;
      continue;
    }
    int trail = U8_COUNT_TRAIL_BYTES(lead);
    if (trail == 0 || i + trail >= length) {
      ++i;
      continue;
    }
    uint32_t cp = lead & ((1u << (6 - trail)) - 1);
    for (int t = 1; t <= trail; ++t) cp = (cp << 6) | (p[i + t] & 0x3F);
    uint32_t upper = uint32_t(u_toupper(UChar32(UTF16CharFromUTF8Char(cp))));
    char encoded[8];
    int64_t n = ktAppendUTF8(encoded, upper) - encoded;
    if (n == trail + 1) memcpy(p + i, encoded, size_t(n));
    i += trail + 1;
  }
}

void ktUTF8Upper(char* s) { ktUTF8Upper(s, int64_t(strlen(s))); }
