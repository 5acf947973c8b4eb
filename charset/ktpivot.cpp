// The consumed forms of the bulk conversions: ASCII fast path, then ICU
// through a UTF-16 pivot on the stack.
//
// Rules, for ktAnsiToUTF8, ktUTF8ToAnsi and ktCpgToCpg:
// - A null output, a capacity below 1, a null input or a null written
//   pointer fail (4). A negative input length means "up to the 0 byte".
// - When both converters map ASCII one to one, leading ASCII text is copied
//   eight bytes at a time; the first piece holding a byte with the high bit
//   set ends the copy and conversion goes on from there through ICU. All-
//   ASCII input longer than the capacity is cut to the capacity (result 1).
// - Otherwise ICU converts the rest at once (ucnv_convertEx, through a
//   pivot of 2,000 units on the stack). Only when the output is too small
//   does the conversion start over on the careful path: ucnv_toUnicode
//   fills the pivot (a full pivot is not an error) and ucnv_fromUnicode
//   empties it into the output.
// - The output is drained one whole character at a time once it would
//   overflow, so that truncated output ends at a character boundary;
//   *consumed is then found by decoding the input again up to the units
//   written. An ICU failure ends the loop with its mapICUreturn value.
// - A terminating 0 follows the output when room remains; *written and
//   *consumed are stored on every exit.
// ktUCS2ToAnsi takes its input as the pivot itself (through a swapped copy
// if asked); ktAnsiToUCS2 copies the pivot's characters into the output.
#include <unicode/utf16.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <string>

#include "charset/ktwchar_internal.h"

using vxcharset::kPivotUnits;

namespace {

// Units of the character starting at pivot[k] (a surrogate pair counts 2).
int32_t unitsOfCharacter(const UChar* pivot, int32_t k, int32_t n) {
  return (U16_IS_LEAD(pivot[k]) && k + 1 < n && U16_IS_TRAIL(pivot[k + 1])) ? 2 : 1;
}

// Where converted characters go: a byte output through a target converter,
// or a UTF-16 output. drain() writes whole characters of pivot[0..n) while
// they fit and returns the units it used; fewer than n means the output
// is full. An ICU failure is left in *result.
class ByteSink {
 public:
  // Every conversion starts the target afresh: an earlier truncated call
  // may have left bytes in it.
  ByteSink(char* out, int64_t capacity, UConverter* target)
      : start_(out), next_(out), end_(out + capacity), target_(target) {
    ucnv_resetFromUnicode(target);
  }

  ~ByteSink() { ucnv_close(saved_); }
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;

  int32_t drain(const UChar* pivot, int32_t n, bool flush, VxConvertReturn* result) {
    char* before = next_;
    // The state at the batch's start, to redo the batch from: the initial
    // state for the first batch, else a copy taken now.
    UConverter* working = target_;
    if (!first_ && (working = copyOf(target_, result)) == nullptr) return 0;
    first_ = false;
    ucnv_close(saved_);
    saved_ = working == target_ ? nullptr : working;
    const UChar* source = pivot;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(target_, &next_, end_, &source, pivot + n, nullptr, flush, &status);
    if (status != U_BUFFER_OVERFLOW_ERROR) {
      if (U_FAILURE(status)) *result = mapICUreturn(status);
      return int32_t(source - pivot);
    }
    // Too little room: redo this batch one character at a time through a
    // scratch buffer, keeping only characters that fit whole together with
    // the bytes that would close the output after them (a stateful code
    // page such as ISO-2022-JP returns to its initial state at the end).
    next_ = before;
    if (working == target_) ucnv_resetFromUnicode(target_);
    std::string closing;
    if (!closeOnClone(working, &closing, result)) return 0;
    int32_t k = 0;
    while (k < n) {
      int32_t step = unitsOfCharacter(pivot, k, n);
      std::string bytes;
      if (!encode(working, pivot + k, step, false, &bytes, result)) break;
      std::string closingAfter;
      if (!closeOnClone(working, &closingAfter, result)) break;
      if (int64_t(bytes.size() + closingAfter.size()) > end_ - next_) break;
      memcpy(next_, bytes.data(), bytes.size());
      next_ += bytes.size();
      closing.swap(closingAfter);
      k += step;
    }
    if (k < n || flush) {
      memcpy(next_, closing.data(), closing.size());
      next_ += closing.size();
    }
    return k;
  }

  int64_t written() const { return next_ - start_; }

 private:
  // Encodes units (flush: and closes the output) into *bytes.
  static bool encode(UConverter* converter, const UChar* units, int32_t n, bool flush,
                     std::string* bytes, VxConvertReturn* result) {
    char scratch[64];
    char* s = scratch;
    const UChar* u = units;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(converter, &s, scratch + sizeof scratch, &u, units + n, nullptr, flush,
                     &status);
    if (U_FAILURE(status)) {
      *result = mapICUreturn(status);
      return false;
    }
    bytes->assign(scratch, size_t(s - scratch));
    return true;
  }

  static UConverter* copyOf(UConverter* converter, VxConvertReturn* result) {
    UErrorCode status = U_ZERO_ERROR;
#if U_ICU_VERSION_MAJOR_NUM >= 71
    UConverter* copy = ucnv_clone(converter, &status);
#else
    UConverter* copy = ucnv_safeClone(converter, nullptr, nullptr, &status);
#endif
    if (U_FAILURE(status)) {
      *result = VX_CONVERT_FAILED;
      return nullptr;
    }
    return copy;
  }

  // The bytes that would close the output in the converter's present
  // state, found on a copy of it.
  static bool closeOnClone(UConverter* converter, std::string* bytes, VxConvertReturn* result) {
    UConverter* copy = copyOf(converter, result);
    if (copy == nullptr) return false;
    UChar none = 0;
    bool ok = encode(copy, &none, 0, true, bytes, result);
    ucnv_close(copy);
    return ok;
  }

  char* start_;
  char* next_;
  char* end_;
  UConverter* target_;
  UConverter* saved_ = nullptr;
  bool first_ = true;
};

class UnitSink {
 public:
  UnitSink(UChar* out, int64_t capacity) : start_(out), next_(out), end_(out + capacity) {}

  int32_t drain(const UChar* pivot, int32_t n, bool, VxConvertReturn*) {
    int32_t k = 0;
    while (k < n) {
      int32_t step = unitsOfCharacter(pivot, k, n);
      if (step > end_ - next_) break;
      for (int32_t i = 0; i < step; ++i) *next_++ = pivot[k + i];
      k += step;
    }
    return k;
  }

  int64_t written() const { return next_ - start_; }

 private:
  UChar* start_;
  UChar* next_;
  UChar* end_;
};

// The bytes of in that decode to the first units UTF-16 units: the input
// is decoded again one character at a time from the start. Used only when
// the output was too small, to say exactly how much input it took.
int64_t bytesForUnits(const char* in, int64_t length, UConverter* source, int64_t units) {
  const char* next = in;
  const char* end = in + length;
  ucnv_resetToUnicode(source);
  while (units > 0 && next < end) {
    UErrorCode status = U_ZERO_ERROR;
    UChar32 c = ucnv_getNextUChar(source, &next, end, &status);
    if (U_FAILURE(status)) break;
    units -= U16_LENGTH(c);
  }
  return next - in;
}

// Decodes in[0..length) through source into the pivot and drains it into
// sink. *used receives the bytes of input behind what the sink took.
// A full pivot is not an error: the units ICU keeps back come with the next
// call. A batch never ends inside a surrogate pair: a lead surrogate in the
// pivot's last place is carried to the front of the next batch.
template <class Sink>
VxConvertReturn decodeThroughPivot(const char* in, int64_t length, UConverter* source, Sink& sink,
                                   int64_t* used) {
  UChar pivot[kPivotUnits];
  const char* next = in;
  const char* end = in + length;
  VxConvertReturn result = VX_CONVERT_OK;
  int32_t carried = 0;
  int64_t unitsTaken = 0;
  bool pending = false;
  ucnv_resetToUnicode(source);
  while ((next < end || pending || carried > 0) && result == VX_CONVERT_OK) {
    UChar* filled = pivot + carried;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_toUnicode(source, &filled, pivot + kPivotUnits, &next, end, nullptr, true, &status);
    pending = status == U_BUFFER_OVERFLOW_ERROR;
    if (pending) status = U_ZERO_ERROR;
    if (status == U_STRING_NOT_TERMINATED_WARNING) {
      result = VX_CONVERT_TRUNCATED;
    } else if (U_FAILURE(status)) {
      result = mapICUreturn(status);
      break;
    }
    int32_t n = int32_t(filled - pivot);
    carried = 0;
    bool more = next < end || pending;
    if (more && n > 1 && U16_IS_LEAD(pivot[n - 1])) {
      --n;
      carried = 1;
    }
    int32_t taken = sink.drain(pivot, n, !more, &result);
    unitsTaken += taken;
    if (carried > 0) pivot[0] = pivot[n];
    if (taken < n) {
      if (result == VX_CONVERT_OK) result = VX_CONVERT_TRUNCATED;
      next = in + bytesForUnits(in, length, source, unitsTaken);
      carried = 0;
    }
  }
  *used = next - in;
  return result;
}

// The whole input at once through ucnv_convertEx (which also knows ICU's
// direct paths, such as UTF-8 to a multibyte code page). False when the
// output was too small: the careful path then starts over. *result gets an
// ICU failure.
bool convertWhole(char* out, int64_t capacity, const char* in, int64_t length, UConverter* source,
                  UConverter* target, int64_t* written, VxConvertReturn* result) {
  UChar pivot[kPivotUnits];
  UChar* pivotSource = pivot;
  UChar* pivotTarget = pivot;
  char* next = out;
  const char* from = in;
  UErrorCode status = U_ZERO_ERROR;
  ucnv_convertEx(target, source, &next, out + capacity, &from, in + length, pivot, &pivotSource,
                 &pivotTarget, pivot + kPivotUnits, true, true, &status);
  if (status == U_BUFFER_OVERFLOW_ERROR) return false;
  if (U_FAILURE(status)) *result = mapICUreturn(status);
  *written = next - out;
  return true;
}

// Everything the three byte-to-byte conversions share.
VxConvertReturn convertBytes(char* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, int64_t* consumed, UConverter* source,
                             UConverter* target) {
  if (out == nullptr || capacity < 1 || in == nullptr || written == nullptr || source == nullptr ||
      target == nullptr) {
    return VX_CONVERT_FAILED;
  }
  length = vxcharset::byteLength(in, length);
  int64_t copied = 0;
  VxConvertReturn result = VX_CONVERT_OK;
  if (vxcharset::isAsciiTransparent(source) && vxcharset::isAsciiTransparent(target)) {
    int64_t n = std::min(length, capacity);
    copied = vxcharset::copyAsciiPrefix(out, in, n);
    if (copied == n && n < length) result = VX_CONVERT_TRUNCATED;
  }
  int64_t used = copied;
  int64_t produced = copied;
  if (copied < length && result == VX_CONVERT_OK) {
    int64_t n = 0;
    if (convertWhole(out + copied, capacity - copied, in + copied, length - copied, source, target,
                     &n, &result)) {
      used = length;
      produced += n;
    } else {
      ByteSink sink(out + copied, capacity - copied, target);
      result = decodeThroughPivot(in + copied, length - copied, source, sink, &used);
      used += copied;
      produced += sink.written();
    }
  }
  assert(produced <= capacity);
  if (produced < capacity) out[produced] = 0;
  *written = produced;
  if (consumed != nullptr) *consumed = used;
  return result;
}

}  // namespace

VxConvertReturn ktAnsiToUTF8(char* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, int64_t* consumed, UConverter* source,
                             UConverter* utf8) {
  return convertBytes(out, capacity, in, length, written, consumed, source, utf8);
}

VxConvertReturn ktUTF8ToAnsi(char* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, int64_t* consumed, UConverter* target,
                             UConverter* utf8) {
  return convertBytes(out, capacity, in, length, written, consumed, utf8, target);
}

VxConvertReturn ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                           int64_t* written, int64_t* consumed, UConverter* source,
                           UConverter* target) {
  return convertBytes(out, capacity, in, length, written, consumed, source, target);
}

VxConvertReturn ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in, int64_t length,
                             int64_t* written, int64_t* consumed, UConverter* source, int swap) {
  if (out == nullptr || capacity < 1 || in == nullptr || written == nullptr || source == nullptr) {
    return VX_CONVERT_FAILED;
  }
  length = vxcharset::byteLength(in, length);
  // First straight into the output; only when it is too small through the
  // pivot, character by character at its end.
  UChar* next = out;
  const char* from = in;
  UErrorCode status = U_ZERO_ERROR;
  ucnv_resetToUnicode(source);
  ucnv_toUnicode(source, &next, out + capacity, &from, in + length, nullptr, true, &status);
  VxConvertReturn result = mapICUreturn(status);
  int64_t used = length;
  int64_t produced = next - out;
  if (status == U_BUFFER_OVERFLOW_ERROR) {
    UnitSink sink(out, capacity);
    result = decodeThroughPivot(in, length, source, sink, &used);
    produced = sink.written();
  }
  if (swap) ktUCS2Swap(out, out, produced);
  if (produced < capacity) out[produced] = 0;
  *written = produced;
  if (consumed != nullptr) *consumed = used;
  return result;
}

// The input is fed to the target in pivot-sized batches that never split a
// surrogate pair; a swapped input is swapped batch by batch into the pivot.
VxConvertReturn ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in, int64_t length,
                             int64_t* written, int64_t* consumed, UConverter* target, int swap) {
  if (out == nullptr || capacity < 1 || in == nullptr || written == nullptr || target == nullptr) {
    return VX_CONVERT_FAILED;
  }
  if (length < 0) length = ktUCS2Len(in);
  if (!swap) {
    char* next = out;
    const UChar* from = in;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_resetFromUnicode(target);
    ucnv_fromUnicode(target, &next, out + capacity, &from, in + length, nullptr, true, &status);
    if (status != U_BUFFER_OVERFLOW_ERROR) {
      int64_t produced = next - out;
      if (produced < capacity) out[produced] = 0;
      *written = produced;
      if (consumed != nullptr) *consumed = length;
      return mapICUreturn(status);
    }
  }
  ByteSink sink(out, capacity, target);
  UChar pivot[kPivotUnits];
  VxConvertReturn result = VX_CONVERT_OK;
  int64_t used = 0;
  while (used < length && result == VX_CONVERT_OK) {
    int32_t n = int32_t(std::min<int64_t>(length - used, kPivotUnits));
    const UChar* batch = in + used;
    if (swap) {
      ktUCS2Swap(pivot, batch, n);
      batch = pivot;
    }
    if (used + n < length && n > 1 && U16_IS_LEAD(batch[n - 1])) --n;
    int32_t taken = sink.drain(batch, n, used + n == length, &result);
    used += taken;
    if (taken < n && result == VX_CONVERT_OK) result = VX_CONVERT_TRUNCATED;
  }
  int64_t produced = sink.written();
  if (produced < capacity) out[produced] = 0;
  *written = produced;
  if (consumed != nullptr) *consumed = used;
  return result;
}
