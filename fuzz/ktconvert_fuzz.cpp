// Fuzz target for the kt conversions over arbitrary bytes and capacities.
//
// Input: byte 0 picks the code page, byte 1 the capacity (0 to 255 units),
// byte 2 the swap flag; the rest is the text, with 0 bytes made 1 (the
// required-length forms stop at a 0 character, the others do not). For
// every conversion, into a heap buffer of exactly the capacity:
// - the consumed form writes at most the capacity, uses at most the input,
//   and (for a stateless target, whose truncated output needs no closing
//   shift or escape) its output is the start of what an ample buffer
//   receives;
// - the required-length form writes at most the capacity and reports the
//   same full length as the consumed form with an ample buffer;
// - the UTF-16/UTF-8 helpers and their ReqLen forms agree the same way;
// - the moving-pointer forms fail exactly when ICU's u_strToUTF8 and
//   u_strFromUTF8 do, and otherwise report ICU's status, length and (when
//   it fits) output, with the source pointer moved over all the input.
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "charset/ktwchar.h"
#include "charset/ucnvconv.h"

namespace {

const char* const kNames[] = {"UTF-8",     "ISO-8859-1", "windows-1252", "Shift_JIS", "EUC-JP",
                              "GB18030",   "Big5",       "IBM037",       "UTF-16LE",  "ISO-2022-JP",
                              "ibm-1390",  "EUC-KR"};
constexpr size_t kNameCount = sizeof kNames / sizeof kNames[0];

void check(bool condition) {
  if (!condition) abort();
}

struct Converters {
  Converters() {
    for (size_t i = 0; i < kNameCount; ++i) {
      UErrorCode status = U_ZERO_ERROR;
      cnv[i] = ucnv_open(kNames[i], &status);
    }
    UErrorCode status = U_ZERO_ERROR;
    utf8 = ucnv_open("UTF-8", &status);
  }
  UConverter* cnv[kNameCount];
  UConverter* utf8;
};

// One byte-output conversion in both forms, judged as described above.
bool stateful(UConverter* target) {
  UConverterType type = ucnv_getType(target);
  return type == UCNV_EBCDIC_STATEFUL || type == UCNV_ISO_2022;
}

template <class Consumed, class Required>
void judgeBytes(const std::string& in, int64_t capacity, UConverter* target,
                Consumed consumedForm, Required requiredForm) {
  std::vector<char> ample(in.size() * 8 + 16);
  int64_t fullWritten = 0, fullConsumed = 0;
  VxConvertReturn full = consumedForm(ample.data(), int64_t(ample.size()), &fullWritten,
                                      &fullConsumed);
  std::unique_ptr<char[]> exact(new char[size_t(capacity) + 1]);
  char* out = capacity == 0 ? nullptr : exact.get();
  int64_t written = -1, consumed = -1;
  VxConvertReturn r = consumedForm(out, capacity, &written, &consumed);
  if (capacity == 0) {
    check(r == VX_CONVERT_FAILED);
  } else if (full == VX_CONVERT_OK && (r == VX_CONVERT_OK || r == VX_CONVERT_TRUNCATED)) {
    check(written <= capacity && consumed <= int64_t(in.size()));
    if (!stateful(target)) check(memcmp(out, ample.data(), size_t(written)) == 0);
    if (r == VX_CONVERT_OK) check(written == fullWritten);
  }
  int64_t required = -1;
  VxConvertReturn q = requiredForm(out, capacity, &required);
  if (full == VX_CONVERT_OK && (q == VX_CONVERT_OK || q == VX_CONVERT_TRUNCATED)) {
    check(required == fullWritten);
    check((q == VX_CONVERT_TRUNCATED) == (required + 1 > capacity && required > 0));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Converters c;
  if (size < 3) return 0;
  UConverter* page = c.cnv[data[0] % kNameCount];
  UConverter* other = c.cnv[(data[0] / kNameCount) % kNameCount];
  if (page == nullptr || other == nullptr) return 0;
  int64_t capacity = data[1];
  int swap = data[2] & 1;
  std::string in(reinterpret_cast<const char*>(data) + 3, size - 3);
  for (char& ch : in) {
    if (ch == 0) ch = 1;
  }
  int64_t n = int64_t(in.size());
  judgeBytes(in, capacity, c.utf8,
             [&](char* o, int64_t cap, int64_t* w, int64_t* u) {
               return ktAnsiToUTF8(o, cap, in.data(), n, w, u, page, c.utf8);
             },
             [&](char* o, int64_t cap, int64_t* w) {
               return ktAnsiToUTF8(o, cap, in.data(), n, w, page, c.utf8);
             });
  judgeBytes(in, capacity, page,
             [&](char* o, int64_t cap, int64_t* w, int64_t* u) {
               return ktUTF8ToAnsi(o, cap, in.data(), n, w, u, page, c.utf8);
             },
             [&](char* o, int64_t cap, int64_t* w) {
               return ktUTF8ToAnsi(o, cap, in.data(), n, w, page, c.utf8);
             });
  judgeBytes(in, capacity, other,
             [&](char* o, int64_t cap, int64_t* w, int64_t* u) {
               return ktCpgToCpg(o, cap, in.data(), n, w, u, page, other);
             },
             [&](char* o, int64_t cap, int64_t* w) {
               return ktCpgToCpg(o, cap, in.data(), n, w, page, other);
             });
  // UTF-16 in and out: the text's bytes taken as units.
  std::vector<UChar> units(in.size() / 2 + 1);
  memcpy(units.data(), in.data(), in.size() & ~size_t(1));
  int64_t unitCount = n / 2;
  judgeBytes(in, capacity, page,
             [&](char* o, int64_t cap, int64_t* w, int64_t* u) {
               return ktUCS2ToAnsi(o, cap, units.data(), unitCount, w, u, page, swap);
             },
             [&](char* o, int64_t cap, int64_t* w) {
               return ktUCS2ToAnsi(o, cap, units.data(), unitCount, w, page, swap);
             });
  std::unique_ptr<UChar[]> wide(new UChar[size_t(capacity) + 1]);
  UChar* wideOut = capacity == 0 ? nullptr : wide.get();
  std::vector<UChar> ampleWide(in.size() * 2 + 4);
  int64_t fullUnits = 0, consumed = 0, written = 0;
  VxConvertReturn full = ktAnsiToUCS2(ampleWide.data(), int64_t(ampleWide.size()), in.data(), n,
                                      &fullUnits, &consumed, page, swap);
  VxConvertReturn r = ktAnsiToUCS2(wideOut, capacity, in.data(), n, &written, page, swap);
  if (full == VX_CONVERT_OK && (r == VX_CONVERT_OK || r == VX_CONVERT_TRUNCATED)) {
    check(written == fullUnits);
  }
  // The converter-free helpers: ReqLen reports what the plain form needs.
  std::vector<char> ampleBytes(in.size() * 3 + 8);
  int64_t plain = 0, req = 0;
  if (ktUTF16ToUTF8(ampleBytes.data(), int64_t(ampleBytes.size()), units.data(), unitCount,
                    &plain, 0) == VX_CONVERT_OK) {
    std::unique_ptr<char[]> exact(new char[size_t(capacity) + 1]);
    VxConvertReturn q = ktUTF16ToUTF8ReqLen(capacity == 0 ? nullptr : exact.get(), capacity,
                                            units.data(), unitCount, &req, 0);
    check(q <= VX_CONVERT_SUBSTITUTED && req == plain);
  }
  if (ktUTF8ToUTF16(ampleWide.data(), int64_t(ampleWide.size()), in.data(), n, &plain, 0) ==
      VX_CONVERT_OK) {
    VxConvertReturn q = ktUTF8ToUTF16ReqLen(wideOut, capacity, in.data(), n, &req, swap);
    check(q <= VX_CONVERT_SUBSTITUTED && req == plain);
  }
  // The moving-pointer forms against ICU's string functions.
  std::vector<char> icuBytes(size_t(capacity) + 1), ourBytes(size_t(capacity) + 1);
  int32_t icuLength = 0, ourLength = 0;
  UErrorCode icuStatus = U_ZERO_ERROR, ourStatus = U_ZERO_ERROR;
  u_strToUTF8(icuBytes.data(), int32_t(capacity), &icuLength, units.data(), int32_t(unitCount),
              &icuStatus);
  char* bytesOut = ourBytes.data();
  const UChar* unitsIn = units.data();
  ConvUTF16ToUTF8(&bytesOut, int32_t(capacity), &ourLength, &unitsIn, int32_t(unitCount),
                  &ourStatus);
  check(U_FAILURE(icuStatus) == U_FAILURE(ourStatus));
  if (U_SUCCESS(ourStatus) || ourStatus == U_BUFFER_OVERFLOW_ERROR) {
    check(icuStatus == ourStatus && icuLength == ourLength);
    check(icuLength > capacity || memcmp(icuBytes.data(), ourBytes.data(), size_t(icuLength)) == 0);
    check(unitsIn == units.data() + unitCount);
  }
  std::vector<UChar> icuUnits(size_t(capacity) + 1), ourUnits(size_t(capacity) + 1);
  icuStatus = ourStatus = U_ZERO_ERROR;
  u_strFromUTF8(icuUnits.data(), int32_t(capacity), &icuLength, in.data(), int32_t(n), &icuStatus);
  UChar* unitsOut = ourUnits.data();
  const char* bytesIn = in.data();
  ConvUTF8ToUTF16(&unitsOut, int32_t(capacity), &ourLength, &bytesIn, int32_t(n), &ourStatus);
  check(U_FAILURE(icuStatus) == U_FAILURE(ourStatus));
  if (U_SUCCESS(ourStatus) || ourStatus == U_BUFFER_OVERFLOW_ERROR) {
    check(icuStatus == ourStatus && icuLength == ourLength);
    check(icuLength > capacity ||
          memcmp(icuUnits.data(), ourUnits.data(), size_t(icuLength) * sizeof(UChar)) == 0);
    check(bytesIn == in.data() + n);
  }
  return 0;
}
