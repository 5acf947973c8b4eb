// convert: integers to and from decimal text, and doubles to text.
#include "values/convert.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "foundation/but.h"
#include "foundation/vxdbcs.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {

// Counted forms copy the text into a stack buffer of this size, NUL included.
const VXSIZE_T kCountedBufferSize = 88;

// (2^64 - 1) / 10: a value above it cannot take one more digit, and a value
// equal to it can take a digit up to 5 (2^64 - 1 ends in 5).
const VXSIZE_T kLastSafeTenth = 1844674407370955161ULL;

// Two ASCII digits for every value 0..99, used to write numbers a pair of
// digits at a time.
const char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// vxSkipBlanks asks the locale about every character it passes. A digit,
// a sign or the end of the text is never white space, so when the text
// starts with one of them (the common case) that call is not needed.
const char* skipWhiteSpace(const char* p) {
  if (isDigit(*p) || *p == '+' || *p == '-' || *p == '\0') return p;
  return vxSkipBlanks(p);
}

unsigned fail(uint16_t number, const char* text) {
  addError(number) << text;
  return 1;
}

const VXSIZE_T kPowersOfTen[20] = {1ULL,
                                   10ULL,
                                   100ULL,
                                   1000ULL,
                                   10000ULL,
                                   100000ULL,
                                   1000000ULL,
                                   10000000ULL,
                                   100000000ULL,
                                   1000000000ULL,
                                   10000000000ULL,
                                   100000000000ULL,
                                   1000000000000ULL,
                                   10000000000000ULL,
                                   100000000000000ULL,
                                   1000000000000000ULL,
                                   10000000000000000ULL,
                                   100000000000000000ULL,
                                   1000000000000000000ULL,
                                   10000000000000000000ULL};

// Number of decimal digits of value (1 for 0). The bit length times
// log10(2) (1233 / 4096) gives the count or one less; one comparison with
// the power of ten settles it. `value | 1` makes 0 count as 1 without
// moving any other value across a power of ten (those are even).
uint16_t digitCount(VXSIZE_T value) {
  unsigned bits = 64u - unsigned(__builtin_clzll(value | 1));
  unsigned estimate = (bits * 1233u) >> 12;
  return uint16_t(estimate + ((value | 1) >= kPowersOfTen[estimate]));
}

// Writes the digits of value so that they end just before `end`, two at a
// time from the least significant.
void writeDigitsBackwards(char* end, VXSIZE_T value) {
  while (value >= 100) {
    unsigned pair = unsigned(value % 100);
    value /= 100;
    end -= 2;
    end[0] = kDigitPairs[2 * pair];
    end[1] = kDigitPairs[2 * pair + 1];
  }
  if (value >= 10) {
    end[-2] = kDigitPairs[2 * value];
    end[-1] = kDigitPairs[2 * value + 1];
  } else {
    end[-1] = char('0' + value);
  }
}

// The plain unsigned form, shared by the exported plain forms.
uint16_t writeDecimal(char* buffer, VXSIZE_T value) {
  uint16_t count = digitCount(value);
  writeDigitsBackwards(buffer + count, value);
  buffer[count] = '\0';
  return count;
}

// Magnitude of a signed value, correct for the most negative one.
VXSIZE_T magnitude(VXSSIZE_T value) {
  return value < 0 ? 0 - VXSIZE_T(value) : VXSIZE_T(value);
}

// Copies a counted text into `local` (kCountedBufferSize bytes) and adds a
// NUL. A text too long for the buffer cannot be copied: it fails with 2701,
// its first 87 bytes as the parameter.
bool copyCounted(char* local, const char* text, VXSIZE_T length) {
  if (length >= kCountedBufferSize) {
    memCopy(local, text, kCountedBufferSize - 1);
    local[kCountedBufferSize - 1] = '\0';
    fail(kErrNumberOutOfRange, local);
    return false;
  }
  memCopy(local, text, length);
  local[length] = '\0';
  return true;
}

// A counted form: the text copied and terminated, then the NUL-terminated
// form of the same target.
template <typename T>
unsigned convertCounted(const char* text, VXSIZE_T length, T* target) {
  char local[kCountedBufferSize];
  return copyCounted(local, text, length) ? convert(local, target) : 1;
}

}  // namespace

// ---- Number to text ----------------------------------------------------

uint16_t convert(char* buffer, VXSIZE_T value) { return writeDecimal(buffer, value); }

// The "-" is stored whatever the sign and the digits follow it only for a
// negative value (otherwise the first digit overwrites it): signs that
// change from one call to the next cost no mispredicted branch.
uint16_t convert(char* buffer, VXSSIZE_T value) {
  unsigned negative = value < 0;
  buffer[0] = '-';
  return uint16_t(negative + writeDecimal(buffer + negative, magnitude(value)));
}

// Fixed-width field, unsigned.
//
//  - The field is `width` blanks followed by a NUL.
//  - At most 10 positions carry digits: the last 10 of a right-justified
//    field, the first 10 of a left-justified one.
//  - Walking the positions from the most significant, a right-justified
//    field writes a blank for each leading zero and a left-justified one
//    writes nothing, so its digits start at the field's first byte.
//  - A value with more digits than positions puts "*" into every digit
//    position but the last (which stays blank), and the result is 0.
//  - Deliberate: value 0 has no significant digit, so nothing is written,
//    the field stays blank and the result is 0.
uint16_t convert(char* buffer, uint16_t width, VXSIZE_T value, bool leftJustify) {
  memFill(buffer, ' ', width);
  buffer[width] = '\0';
  uint16_t positions = width > 10 ? 10 : width;
  char* first = leftJustify ? buffer : buffer + (width - positions);

  if (value == 0) return 0;
  uint16_t digits = digitCount(value);
  if (digits > positions) {
    if (positions > 0) memFill(first, '*', VXSIZE_T(positions - 1));
    return 0;
  }
  char* start = leftJustify ? first : first + (positions - digits);
  writeDigitsBackwards(start + digits, value);
  return digits;
}

// Fixed-width field, signed: a negative value is written as its magnitude
// into the field one byte shorter that starts one byte later; the "-" then
// goes into the first byte (left-justified) or just before the digits
// (right-justified). The "-" is not counted. A field of width 0 has no
// room for the sign: it stays empty.
uint16_t convert(char* buffer, uint16_t width, VXSSIZE_T value, bool leftJustify) {
  if (value >= 0 || width == 0) return convert(buffer, width, VXSIZE_T(value < 0 ? 0 : value), leftJustify);
  buffer[0] = ' ';
  uint16_t digits = convert(buffer + 1, uint16_t(width - 1), magnitude(value), leftJustify);
  if (leftJustify)
    buffer[0] = '-';
  else
    buffer[width - digits - 1] = '-';
  return digits;
}

namespace {

// Eight bytes of text read as one little-endian word, so that the first
// byte is the lowest. The caller makes sure that the eight bytes lie in the
// page of the first (wordFitsInPage): the bytes after the text's NUL may be
// read but can never fault, and they never count, since the digits that
// are used end at the NUL. Address and race checking are off here because
// those bytes may lie past the text's allocation, where another thread may
// be writing; the fixed-size copy is one unaligned load.
__attribute__((no_sanitize("address", "thread"))) inline uint64_t loadWord(const char* p) {
  uint64_t word;
  __builtin_memcpy(&word, p, sizeof word);
  return word;
}

inline bool wordFitsInPage(const char* p) { return (reinterpret_cast<uintptr_t>(p) & 4095) <= 4096 - 8; }

const uint64_t kEachByte = 0x0101010101010101ULL;

// The high bit of each byte of the word that is not an ASCII digit: adding
// 0x46 sets it for the bytes from ':' up (to 0xB9), subtracting '0' for
// the bytes below '0' and from 0xBA up. The carries and borrows that
// cross into a later byte all start at a non-digit, so the bits up to the
// first non-digit are exact, and only those are used.
inline uint64_t nonDigitBytes(uint64_t word) {
  return ((word + 0x46 * kEachByte) | (word - '0' * kEachByte)) & 0x80 * kEachByte;
}

// The value of eight digit values (0 to 9), the first in the lowest byte:
// neighbouring digits are combined into pairs, pairs into fours, fours into
// the whole, each step one multiplication.
inline uint64_t eightDigitsValue(uint64_t digits) {
  digits = (digits * (10 * 256 + 1)) >> 8;
  digits = ((digits & 0x00FF00FF00FF00FFULL) * (100 * 65536 + 1)) >> 16;
  return ((digits & 0x0000FFFF0000FFFFULL) * (10000 * (uint64_t(1) << 32) + 1)) >> 32;
}

// readPlainDigits for a text of eight digits or more, or one whose first
// eight bytes cross a page: eight digits at a time while the words stay
// within a page, then one at a time up to 19 digits.
bool readLongPlainDigits(const char* text, VXSIZE_T* target) {
  VXSIZE_T value = 0;
  int length = 0;
  while (length < 16 && wordFitsInPage(text + length)) {
    uint64_t word = loadWord(text + length);
    uint64_t stops = nonDigitBytes(word);
    if (stops != 0) break;
    value = value * 100000000 + eightDigitsValue(word - '0' * kEachByte);
    length += 8;
  }
  for (unsigned digit; length < 19 && (digit = unsigned(uint8_t(text[length])) - '0') <= 9; ++length)
    value = value * 10 + digit;
  if (text[length] != '\0') return false;
  *target = value;
  return true;
}

// Most texts are nothing but up to 19 digits, and most of those have fewer
// than eight: such a text is read with one word, its digits moved to the
// top of the word behind zeros that read as leading zeros. The reading
// stops at the first non-digit; when that is the NUL the value is complete
// (19 digits cannot overflow) and stored, and the result is true.
// Otherwise the result is false and the general rules below decide. An
// empty text reads as 0, as those rules read it.
inline bool readPlainDigits(const char* text, VXSIZE_T* target) {
  if (!wordFitsInPage(text)) return readLongPlainDigits(text, target);
  uint64_t word = loadWord(text);
  uint64_t stops = nonDigitBytes(word);
  if (stops == 0) return readLongPlainDigits(text, target);
  unsigned count = unsigned(__builtin_ctzll(stops)) / 8;
  if (text[count] != '\0') return false;
  *target = count == 0 ? 0 : eightDigitsValue((word - '0' * kEachByte) << (64 - 8 * count));
  return true;
}

// Unsigned parsing, the base of every text-to-number form:
//
//  1. Skip any mix of white space and "+" signs ("+ +5" is 5).
//  2. Accumulate decimal digits. Before a digit is added, a value above
//     1844674407370955161, or equal to it with a digit above 5, would pass
//     2^64 - 1: 2701 with the text from step 1's end. Nineteen digits
//     cannot pass it, so the check starts at the 20th.
//  3. Skip trailing white space; anything else left is 2702.
// Deliberate: a text with no digits at all (empty, blanks, "+") is 0.
unsigned parseUnsigned(const char* text, VXSIZE_T* target) {
  const char* p = skipWhiteSpace(text);
  while (*p == '+') p = skipWhiteSpace(p + 1);
  const char* number = p;

  VXSIZE_T value = 0;
  for (int n = 0; n < 19 && isDigit(*p); ++n, ++p) value = value * 10 + unsigned(*p - '0');
  for (; isDigit(*p); ++p) {
    unsigned digit = unsigned(*p - '0');
    if (value > kLastSafeTenth || (value == kLastSafeTenth && digit > 5)) {
      return fail(kErrNumberOutOfRange, number);
    }
    value = value * 10 + digit;
  }
  if (*skipWhiteSpace(p) != '\0') return fail(kErrInvalidCharacter, number);
  *target = value;
  return 0;
}

// The unsigned rules, taking the plain-digits loop first: inline where it
// is used, so the common case costs no call beyond the exported one.
inline unsigned readUnsigned(const char* text, VXSIZE_T* target) {
  return readPlainDigits(text, target) ? 0 : parseUnsigned(text, target);
}

// Signed 64-bit: white space, one optional "-", then the unsigned rules.
// Only a negative text may reach 2^63 (the most negative value).
unsigned parseSigned(const char* text, VXSSIZE_T* target) {
  const char* p = skipWhiteSpace(text);
  bool negative = *p == '-';
  if (negative) ++p;
  VXSIZE_T value;
  if (readUnsigned(p, &value)) return 1;
  const VXSIZE_T topBit = VXSIZE_T(1) << 63;
  if ((value & topBit) && !(negative && value == topBit)) return fail(kErrNumberOutOfRange, text);
  *target = negative ? VXSSIZE_T(0 - value) : VXSSIZE_T(value);
  return 0;
}

// The unsigned forms narrower than 32 bits: the unsigned 64-bit rules, then
// T's upper bound.
template <typename T>
unsigned parseNarrowUnsigned(const char* text, T* target) {
  VXSIZE_T value;
  if (readUnsigned(text, &value)) return 1;
  if (value > std::numeric_limits<T>::max()) return fail(kErrNumberOutOfRange, text);
  *target = T(value);
  return 0;
}

// The signed forms narrower than 32 bits: the signed 64-bit rules, then
// T's range.
template <typename T>
unsigned parseNarrowSigned(const char* text, T* target) {
  VXSSIZE_T value;
  if (parseSigned(text, &value)) return 1;
  if (value < std::numeric_limits<T>::min() || value > std::numeric_limits<T>::max())
    return fail(kErrNumberOutOfRange, text);
  *target = T(value);
  return 0;
}

}  // namespace

// ---- Text to number ----------------------------------------------------

unsigned convert(const char* text, VXSIZE_T* target) { return readUnsigned(text, target); }

// A text of one optional "-" and digits is read here, the sign taken once
// without a branch; anything else, and a magnitude beyond the range, takes
// the full signed rules.
unsigned convert(const char* text, VXSSIZE_T* target) {
  unsigned negative = text[0] == '-';
  VXSIZE_T value;
  if (readPlainDigits(text + negative, &value) && value <= VXSIZE_T(INT64_MAX) + negative) {
    *target = VXSSIZE_T(negative ? 0 - value : value);
    return 0;
  }
  return parseSigned(text, target);
}

// Signed 32-bit. Deliberate asymmetries, kept on purpose:
//  - the form takes its own "-" and checks the rest's value against the
//    32-bit range before applying that sign, so "-2147483648" is 2701;
//  - the rest is parsed as a signed number, so a second "-" cancels the
//    first ("--5" is 5), and "--2147483648" wraps to -2147483648.
unsigned convert(const char* text, int32_t* target) {
  const char* p = skipWhiteSpace(text);
  bool negative = *p == '-';
  if (negative) ++p;
  VXSSIZE_T value;
  if (parseSigned(p, &value)) return 1;
  if (value < INT32_MIN || value > INT32_MAX) return fail(kErrNumberOutOfRange, text);
  uint32_t bits = uint32_t(value);
  if (negative) bits = 0 - bits;
  *target = int32_t(bits);
  return 0;
}

// Unsigned 32-bit: a leading "-" is an invalid character rather than a
// value out of range; a null target only validates the text.
unsigned convert(const char* text, uint32_t* target) {
  const char* p = skipWhiteSpace(text);
  if (*p == '-') return fail(kErrInvalidCharacter, text);
  VXSIZE_T value;
  if (readUnsigned(p, &value)) return 1;
  if (value > UINT32_MAX) return fail(kErrNumberOutOfRange, text);
  if (target) *target = uint32_t(value);
  return 0;
}

unsigned convert(const char* text, uint16_t* target) { return parseNarrowUnsigned(text, target); }

unsigned convert(const char* text, uint8_t* target) { return parseNarrowUnsigned(text, target); }

unsigned convert(const char* text, int16_t* target) { return parseNarrowSigned(text, target); }

unsigned convert(const char* text, int8_t* target) { return parseNarrowSigned(text, target); }

// ---- Counted text to number --------------------------------------------

unsigned convert(const char* text, VXSIZE_T length, uint16_t* target) {
  return convertCounted(text, length, target);
}

unsigned convert(const char* text, VXSIZE_T length, int32_t* target) {
  return convertCounted(text, length, target);
}

unsigned convert(const char* text, VXSIZE_T length, uint32_t* target) {
  return convertCounted(text, length, target);
}

unsigned convert(const char* text, VXSIZE_T length, VXSSIZE_T* target) {
  return convertCounted(text, length, target);
}

unsigned convert(const char* text, VXSIZE_T length, VXSIZE_T* target) {
  return convertCounted(text, length, target);
}

// ---- Floating point ----------------------------------------------------

// Double to text:
//
//  1. Significant digits: 7 for single precision, 15 otherwise; the plain
//     form may be at most that many + 2 characters long.
//  2. ecvt_r gives the digit string, the decimal-point position and the sign.
//  3. Leading zeros (and blanks) are dropped, each moving the point one to
//     the left; trailing zeros are dropped. No digit left: "0".
//  4. The plain text's length: a "-" for a negative value, then either the
//     digits, a "." and the zeros a negative point position calls for, or,
//     when the point lies at or past the last digit, `point` characters.
//  5. Longer than the limit: exponent form, "-1.2345E-20" (the first digit,
//     further digits while the text stays below 23 characters less the
//     exponent's own length, "E", the exponent point - 1 in decimal).
//  6. Otherwise plain form: "123.5", "1500", ".0025", "-42". There is no
//     "0" before the point of a value below 1.
// Infinities and NaN are written as ecvt_r spells them ("inf", "-inf",
// "nan"). Deliberate: no NUL is written; the caller uses the count.
uint16_t convertFloat(char* buffer, double value, int singlePrecision) {
  const int significant = singlePrecision ? 7 : 15;
  const int limit = significant + 2;
  char work[20];
  int point = 0;
  int negative = 0;
  ecvt_r(value, significant, &point, &negative, work, sizeof work);

  if (!std::isfinite(value)) {
    uint16_t n = uint16_t(BUTSTLEN(work));
    memCopy(buffer, work, n);
    return n;
  }

  const char* digits = work;
  while (*digits == '0' || *digits == ' ') {
    ++digits;
    --point;
  }
  int count = int(BUTSTLEN(digits));
  while (count > 0 && digits[count - 1] == '0') --count;
  if (count == 0) {
    buffer[0] = '0';
    return 1;
  }

  int length = negative ? 1 : 0;
  if (point < count)
    length += count + 1 + (point < 0 ? -point : 0);
  else
    length += point;

  char* out = buffer;
  if (negative) *out++ = '-';
  if (length > limit) {
    char exponent[24];
    uint16_t exponentLength = convert(exponent, VXSSIZE_T(point - 1));
    const long room = 23 - long(exponentLength);
    *out++ = digits[0];
    if (count > 1 && out - buffer < room) {
      *out++ = '.';
      for (int i = 1; i < count && out - buffer < room; ++i) *out++ = digits[i];
    }
    *out++ = 'E';
    memCopy(out, exponent, exponentLength);
    return uint16_t(out + exponentLength - buffer);
  }

  // Plain form: `length` (at most `limit`) characters exactly.
  int next = 0;
  for (int i = 0; i < point; ++i) *out++ = next < count ? digits[next++] : '0';
  if (point < 0 || next < count) {
    *out++ = '.';
    for (int i = point; i < 0; ++i) *out++ = '0';
    while (next < count) *out++ = digits[next++];
  }
  return uint16_t(out - buffer);
}
