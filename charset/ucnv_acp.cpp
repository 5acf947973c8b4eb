// The application code page: the connection-string scan and the profile
// probes.
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "charset/ktwchar.h"
#include "charset/ucnv.h"

namespace {

constexpr int64_t kISO88591 = 4;

const UChar* skipWhiteSpace(const UChar* p, const UChar* end) {
  while (p < end && u_isWhitespace(*p)) ++p;
  return p;
}

// A new terminated UTF-16 copy of [p, p + n) (n units + 2 bytes), or null.
UChar* copyUnits(const UChar* p, int64_t n) {
  UChar* copy = static_cast<UChar*>(malloc(size_t(n) * sizeof(UChar) + 2));
  if (copy == nullptr) return nullptr;
  memcpy(copy, p, size_t(n) * sizeof(UChar));
  copy[n] = 0;
  return copy;
}

// The DSN attribute's value: blanks, "=", blanks, then up to ";" or the
// end. Null when no "=" follows the key.
UChar* readDsn(const UChar* p, const UChar* end) {
  p = skipWhiteSpace(p, end);
  if (p >= end || *p != '=') return nullptr;
  p = skipWhiteSpace(p + 1, end);
  const UChar* stop = p;
  while (stop < end && *stop != ';') ++stop;
  return copyUnits(p, stop - p);
}

// A profile number that counts as present: not the probe default, not -1.
bool present(int64_t value) { return value != kUcnvProfileDefault && value != -1; }

// One pair of probes in a section: the IANA key as it stands, then the
// Unilib key mapped (an unmapped number counts as absent).
int64_t probeSection(int64_t (*readInt)(const char*, const char*, int64_t), const char* section) {
  int64_t value = readInt(section, "IANAAppCodePage", kUcnvProfileDefault);
  if (present(value)) return value;
  value = readInt(section, "AppCodePage", kUcnvProfileDefault);
  if (present(value)) return ucnvUnilibToIANA(value);
  return kUcnvNotFound;
}

// UTF-16 to bytes through ICU's default converter, in a buffer of
// (4 x units) | 1 bytes; null on allocation failure.
char* unitsToBytes(const UChar* units) {
  size_t size = (4 * size_t(ktUCS2Len(units))) | 1;
  char* bytes = static_cast<char*>(malloc(size));
  if (bytes == nullptr) return nullptr;
  u_austrncpy(bytes, units, int32_t(size - 1));
  bytes[size - 1] = 0;
  return bytes;
}

}  // namespace

int ucnvEquals(const UChar* p, const UChar* end, const char* upperKey, const char* lowerKey) {
  for (size_t i = 0; upperKey[i] != 0; ++i) {
    if (p + i >= end) return 1;
    UChar unit = p[i];
    if (U16_IS_SURROGATE(unit)) return 0;
    if (unit != UChar(upperKey[i]) && unit != UChar(lowerKey[i])) return 0;
  }
  return 1;
}

int64_t ucnvGetNumericValue(const UChar** position, const UChar* end) {
  const UChar* p = skipWhiteSpace(*position, end);
  if (p >= end || *p != '=') {
    *position = p;
    return kUcnvNotFound;
  }
  p = skipWhiteSpace(p + 1, end);
  if (p >= end) {
    *position = p;
    return kUcnvNotFound;
  }
  bool negative = *p == '-';
  if (negative) ++p;
  // Unsigned arithmetic: an overlong number wraps instead of overflowing.
  uint64_t value = 0;
  while (p < end && *p >= '0' && *p <= '9') value = value * 10 + uint64_t(*p++ - '0');
  *position = p;
  return int64_t(negative ? 0 - value : value);
}

// The attributes are walked one by one (key, "=", value, ";"):
// - white space before a key is skipped;
// - "IANAAPPCODEPAGE" and "IACP": a number read is the answer at once;
// - "APPCODEPAGE" and "ACP": a number read is mapped as a Unilib number
//   and kept, but the walk goes on, so a later attribute may replace it;
// - "DSN" (the first one only): its value is copied out.
// Keys match by prefix and without case (ucnvEquals), so ACPX counts as
// ACP. Each numeric key stores what it read before looking at it: a later
// key without a readable value resets the answer to "not found". Both are
// intended and kept.
int64_t ucnvUnicodeIANAAppCodePage(const UChar* connection, int64_t length, UChar** dsn) {
  int64_t result = kUcnvNotFound;
  if (connection == nullptr) return result;
  if (length < 0) length = ktUCS2Len(connection);
  const UChar* p = connection;
  const UChar* end = connection + length;
  bool dsnTaken = dsn == nullptr || *dsn != nullptr;
  while (p < end) {
    if (U16_IS_LEAD(*p) && p + 1 < end && U16_IS_TRAIL(p[1])) p += 2;
    p = skipWhiteSpace(p, end);
    const UChar* value;
    if (ucnvEquals(p, end, "IANAAPPCODEPAGE", "ianaappcodepage")) {
      value = p + std::min<int64_t>(15, end - p);
      result = ucnvGetNumericValue(&value, end);
      if (result != kUcnvNotFound) return result;
      p = value;
    } else if (ucnvEquals(p, end, "IACP", "iacp")) {
      value = p + std::min<int64_t>(4, end - p);
      result = ucnvGetNumericValue(&value, end);
      if (result != kUcnvNotFound) return result;
      p = value;
    } else if (ucnvEquals(p, end, "APPCODEPAGE", "appcodepage")) {
      value = p + std::min<int64_t>(11, end - p);
      result = ucnvGetNumericValue(&value, end);
      if (result != kUcnvNotFound) result = ucnvUnilibToIANA(result);
      p = value;
    } else if (ucnvEquals(p, end, "ACP", "acp")) {
      value = p + std::min<int64_t>(3, end - p);
      result = ucnvGetNumericValue(&value, end);
      if (result != kUcnvNotFound) result = ucnvUnilibToIANA(result);
      p = value;
    } else if (!dsnTaken && ucnvEquals(p, end, "DSN", "dsn")) {
      *dsn = readDsn(p + std::min<int64_t>(3, end - p), end);
      dsnTaken = *dsn != nullptr;
    }
    while (p < end && *p != ';') p += (U16_IS_LEAD(*p) && p + 1 < end) ? 2 : 1;
    if (p < end) ++p;
  }
  return result;
}

int64_t ucnvAnsiIANAAppCodePage(const char* connection, int64_t length, char** dsn) {
  if (connection == nullptr) return kUcnvNotFound;
  if (length < 0) length = int64_t(strlen(connection));
  UChar* units = static_cast<UChar*>(malloc(4 * size_t(length) + 2));
  if (units == nullptr) return kUcnvNotFound;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(nullptr, &status);
  int32_t unitCount = 0;
  if (U_SUCCESS(status)) {
    unitCount = ucnv_toUChars(converter, units, int32_t(2 * length + 1), connection,
                              int32_t(length), &status);
    ucnv_close(converter);
  }
  if (U_FAILURE(status)) {
    free(units);
    return kUcnvNotFound;
  }
  UChar* dsnUnits = nullptr;
  int64_t result = ucnvUnicodeIANAAppCodePage(units, unitCount, dsn == nullptr ? nullptr : &dsnUnits);
  free(units);
  if (dsnUnits != nullptr) {
    *dsn = unitsToBytes(dsnUnits);
    free(dsnUnits);
  }
  return result;
}

int64_t ucnvGetAppCodePageFromDSN(const char* dsn) {
  int64_t value = kUcnvNotFound;
  if (dsn != nullptr) value = probeSection(ucnvGetProfileInt, dsn);
  if (value == kUcnvNotFound) value = probeSection(ucnvGetProfileInt, "ODBC");
  if (value == kUcnvNotFound) value = probeSection(ucnvGetProfileIntInst, "ODBC");
  return value == kUcnvNotFound ? kISO88591 : value;
}

int64_t ucnvGetAppCodePage(const char* connection, int64_t length, char** dsn) {
  int64_t result = ucnvAnsiIANAAppCodePage(connection, length, dsn);
  if (result != kUcnvNotFound) return result;
  return ucnvGetAppCodePageFromDSN(dsn == nullptr ? nullptr : *dsn);
}

int64_t ucnvGetAppCodePageW(const UChar* connection, int64_t length, UChar** dsn) {
  int64_t result = ucnvUnicodeIANAAppCodePage(connection, length, dsn);
  if (result != kUcnvNotFound) return result;
  if (dsn == nullptr || *dsn == nullptr) return ucnvGetAppCodePageFromDSN(nullptr);
  char* bytes = unitsToBytes(*dsn);
  result = ucnvGetAppCodePageFromDSN(bytes);
  free(bytes);
  return result;
}

void ucnv_free(void* p) { free(p); }
