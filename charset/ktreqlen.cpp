// The required-length forms of the bulk conversions.
//
// The source is decoded one character at a time (ucnv_getNextUChar for a
// byte source; surrogate pairs taken together for UTF-16) and stops at the
// end of the input or at a 0 character. Each character is encoded on its
// own into a scratch buffer and copied to the output while it fits, one
// place always kept back for the terminator. After the first character
// that does not fit, the output is terminated where it stopped and every
// further character is only counted. *written is the length the whole
// input needs; the result is 1 after an overflow, else 0, unless ICU
// failed (mapICUreturn). A capacity of 0 (a null output is then allowed)
// only measures.
#include <unicode/utf16.h>

#include <cassert>
#include <cstring>

#include "charset/ktwchar_internal.h"

namespace {

// Byte output through a target converter; counts what does not fit.
class CountingByteSink {
 public:
  CountingByteSink(char* out, int64_t capacity, UConverter* target)
      : out_(out), room_(capacity > 0 ? capacity - 1 : 0), capacity_(capacity), target_(target) {
    ucnv_resetFromUnicode(target);
  }

  VxConvertReturn put(const UChar* units, int32_t n, bool flush) {
    char scratch[64];
    char* s = scratch;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(target_, &s, scratch + sizeof scratch, &units, units + n, nullptr, flush,
                     &status);
    if (U_FAILURE(status)) return mapICUreturn(status);
    append(scratch, s - scratch);
    return VX_CONVERT_OK;
  }

  VxConvertReturn finish(int64_t* written) {
    UChar none = 0;
    VxConvertReturn result = put(&none, 0, true);
    if (capacity_ > 0) out_[stored_] = 0;
    *written = needed_;
    if (result == VX_CONVERT_OK && overflowed_) result = VX_CONVERT_TRUNCATED;
    return result;
  }

 private:
  void append(const char* bytes, int64_t n) {
    if (n == 0) return;
    if (!overflowed_ && n <= room_ - stored_) {
      memcpy(out_ + stored_, bytes, size_t(n));
      stored_ += n;
    } else {
      overflowed_ = true;
    }
    needed_ += n;
  }

  char* out_;
  int64_t room_;
  int64_t capacity_;
  UConverter* target_;
  int64_t stored_ = 0;
  int64_t needed_ = 0;
  bool overflowed_ = false;
};

// UTF-16 output; counts what does not fit. swap: store units swapped.
class CountingUnitSink {
 public:
  CountingUnitSink(UChar* out, int64_t capacity, int swap)
      : out_(out), room_(capacity > 0 ? capacity - 1 : 0), capacity_(capacity), swap_(swap) {}

  VxConvertReturn put(const UChar* units, int32_t n, bool) {
    if (!overflowed_ && n <= room_ - stored_) {
      for (int32_t i = 0; i < n; ++i) {
        out_[stored_++] = swap_ ? UChar((units[i] << 8) | (units[i] >> 8)) : units[i];
      }
    } else if (n > 0) {
      overflowed_ = true;
    }
    needed_ += n;
    return VX_CONVERT_OK;
  }

  VxConvertReturn finish(int64_t* written) {
    if (capacity_ > 0) out_[stored_] = 0;
    *written = needed_;
    return overflowed_ ? VX_CONVERT_TRUNCATED : VX_CONVERT_OK;
  }

 private:
  UChar* out_;
  int64_t room_;
  int64_t capacity_;
  int swap_;
  int64_t stored_ = 0;
  int64_t needed_ = 0;
  bool overflowed_ = false;
};

// Decodes in[0..length) one character at a time into sink.
template <class Sink>
VxConvertReturn decodeEach(const char* in, int64_t length, UConverter* source, Sink& sink,
                           int64_t* written) {
  const char* next = in;
  const char* end = in + length;
  ucnv_resetToUnicode(source);
  while (next < end) {
    UErrorCode status = U_ZERO_ERROR;
    UChar32 c = ucnv_getNextUChar(source, &next, end, &status);
    if (status == U_INDEX_OUTOFBOUNDS_ERROR) break;
    if (U_FAILURE(status)) return mapICUreturn(status);
    if (c == 0) break;
    UChar units[2];
    int32_t n = 0;
    U16_APPEND_UNSAFE(units, n, c);
    VxConvertReturn result = sink.put(units, n, false);
    if (result != VX_CONVERT_OK) return result;
  }
  return sink.finish(written);
}

bool badOutput(const void* out, int64_t capacity) {
  return capacity < 0 || (capacity > 0 && out == nullptr);
}

VxConvertReturn measureBytes(char* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, UConverter* source, UConverter* target) {
  if (badOutput(out, capacity) || in == nullptr || written == nullptr || source == nullptr ||
      target == nullptr) {
    return VX_CONVERT_FAILED;
  }
  CountingByteSink sink(out, capacity, target);
  return decodeEach(in, vxcharset::byteLength(in, length), source, sink, written);
}

}  // namespace

VxConvertReturn ktAnsiToUTF8(char* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, UConverter* source, UConverter* utf8) {
  return measureBytes(out, capacity, in, length, written, source, utf8);
}

VxConvertReturn ktUTF8ToAnsi(char* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, UConverter* target, UConverter* utf8) {
  return measureBytes(out, capacity, in, length, written, utf8, target);
}

VxConvertReturn ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                           int64_t* written, UConverter* source, UConverter* target) {
  return measureBytes(out, capacity, in, length, written, source, target);
}

VxConvertReturn ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, UConverter* source, int swap) {
  if (badOutput(out, capacity) || in == nullptr || written == nullptr || source == nullptr) {
    return VX_CONVERT_FAILED;
  }
  CountingUnitSink sink(out, capacity, swap);
  return decodeEach(in, vxcharset::byteLength(in, length), source, sink, written);
}

// UTF-16 input is walked a character at a time; a lone surrogate is handed
// on alone (the target's callback substitutes it). A swapped input is read
// unit by unit through a swap.
VxConvertReturn ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in, int64_t length,
                             int64_t* written, UConverter* target, int swap) {
  if (badOutput(out, capacity) || in == nullptr || written == nullptr || target == nullptr) {
    return VX_CONVERT_FAILED;
  }
  if (length < 0) length = ktUCS2Len(in);
  auto unitAt = [&](int64_t i) { return swap ? UChar((in[i] << 8) | (in[i] >> 8)) : in[i]; };
  CountingByteSink sink(out, capacity, target);
  for (int64_t i = 0; i < length;) {
    UChar units[2] = {unitAt(i), 0};
    if (units[0] == 0) break;
    int32_t n = 1;
    if (U16_IS_LEAD(units[0]) && i + 1 < length && U16_IS_TRAIL(unitAt(i + 1))) {
      units[1] = unitAt(i + 1);
      n = 2;
    }
    VxConvertReturn result = sink.put(units, n, false);
    if (result != VX_CONVERT_OK) return result;
    i += n;
  }
  return sink.finish(written);
}
