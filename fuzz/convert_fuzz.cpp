// Differential fuzz target for the text-to-number conversions.
//
// Every form of `convert` that reads text is run on the input and compared
// with a reference built independently on strtoull/strtoll and the rules
// of the conversions: white space and "+" signs skipped in front, one "-"
// for the signed forms (two for the 32-bit signed form), trailing white
// space allowed, no digits meaning 0, 2701 for a value out of range and
// 2702 for any other character. Both sides must agree on accept or reject,
// on the value, and on the error number; a rejected conversion must leave
// its target untouched. The plain number-to-text forms are checked against
// std::to_chars on the first eight input bytes.
//
// The reference assumes the "C" locale (white space is isspace's set).
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "foundation/vxerror.h"
#include "values/convert.h"

namespace {

struct Expected {
  bool ok;
  uint16_t error;  // 2701 or 2702 when !ok
  uint64_t bits;   // the value's bits, sign-extended for signed targets
};

Expected accept(uint64_t bits) { return {true, 0, bits}; }
Expected reject(uint16_t error) { return {false, error, 0}; }

const char* skipSpace(const char* p) {
  while (isspace(static_cast<unsigned char>(*p))) ++p;
  return p;
}

// White space and "+" in any mix, digits, trailing white space.
Expected referenceUnsigned(const char* text) {
  const char* p = text;
  while (*p == '+' || isspace(static_cast<unsigned char>(*p))) ++p;
  size_t digits = strspn(p, "0123456789");
  uint64_t value = 0;
  if (digits > 0) {
    errno = 0;
    char* end = nullptr;
    value = strtoull(p, &end, 10);
    if (errno == ERANGE) return reject(2701);
    if (end != p + digits) abort();  // the reference itself is wrong
  }
  if (*skipSpace(p + digits) != '\0') return reject(2702);
  return accept(value);
}

// White space, one optional "-", then the unsigned rules; the signed range
// is then checked with strtoll on the digits found.
Expected referenceSigned64(const char* text) {
  const char* p = skipSpace(text);
  bool negative = *p == '-';
  if (negative) ++p;
  Expected u = referenceUnsigned(p);
  if (!u.ok) return u;
  if (u.bits == 0) return accept(0);
  std::string digits = (negative ? "-" : "") + std::to_string(u.bits);
  errno = 0;
  long long value = strtoll(digits.c_str(), nullptr, 10);
  if (errno == ERANGE) return reject(2701);
  return accept(static_cast<uint64_t>(value));
}

// Takes its own "-" and applies it after the range check of the rest.
Expected referenceSigned32(const char* text) {
  const char* p = skipSpace(text);
  bool negative = *p == '-';
  if (negative) ++p;
  Expected s = referenceSigned64(p);
  if (!s.ok) return s;
  int64_t value = static_cast<int64_t>(s.bits);
  if (value < INT32_MIN || value > INT32_MAX) return reject(2701);
  int32_t result = negative ? (value == INT32_MIN ? INT32_MIN : -static_cast<int32_t>(value))
                            : static_cast<int32_t>(value);
  return accept(static_cast<uint64_t>(static_cast<int64_t>(result)));
}

Expected referenceUnsigned32(const char* text) {
  if (*skipSpace(text) == '-') return reject(2702);
  Expected u = referenceUnsigned(text);
  if (u.ok && u.bits > UINT32_MAX) return reject(2701);
  return u;
}

Expected unsignedUpTo(const char* text, uint64_t max) {
  Expected u = referenceUnsigned(text);
  if (u.ok && u.bits > max) return reject(2701);
  return u;
}

Expected signedWithin(const char* text, int64_t min, int64_t max) {
  Expected s = referenceSigned64(text);
  if (s.ok && (static_cast<int64_t>(s.bits) < min || static_cast<int64_t>(s.bits) > max))
    return reject(2701);
  return s;
}

// Runs one conversion with a sentinel in the target and compares.
template <typename T, typename Call>
void check(const Expected& expected, Call call) {
  const T sentinel = static_cast<T>(0x5a5a5a5a5a5a5a5aULL);
  T target = sentinel;
  VxErrorKeeper::clearAllErrors();
  unsigned status = call(&target);
  if (expected.ok) {
    if (status != 0) abort();
    if (target != static_cast<T>(expected.bits)) abort();
    if (VxErrorKeeper::getLastErrorNumber() != 0) abort();
  } else {
    if (status != 1) abort();
    if (target != sentinel) abort();
    if (VxErrorKeeper::getLastErrorNumber() != expected.error) abort();
  }
}

// Every NUL-terminated form on `text`.
void checkTerminated(const char* text) {
  check<uint64_t>(referenceUnsigned(text), [&](uint64_t* t) { return convert(text, t); });
  check<int64_t>(referenceSigned64(text), [&](int64_t* t) { return convert(text, t); });
  check<int32_t>(referenceSigned32(text), [&](int32_t* t) { return convert(text, t); });
  check<uint32_t>(referenceUnsigned32(text), [&](uint32_t* t) { return convert(text, t); });
  check<uint16_t>(unsignedUpTo(text, UINT16_MAX), [&](uint16_t* t) { return convert(text, t); });
  check<uint8_t>(unsignedUpTo(text, UINT8_MAX), [&](uint8_t* t) { return convert(text, t); });
  check<int16_t>(signedWithin(text, INT16_MIN, INT16_MAX), [&](int16_t* t) { return convert(text, t); });
  check<int8_t>(signedWithin(text, INT8_MIN, INT8_MAX), [&](int8_t* t) { return convert(text, t); });
}

// Every counted form on `size` raw bytes: a text up to 87 bytes reads as
// its bytes up to the first NUL; a longer one is out of range.
void checkCounted(const uint8_t* data, size_t size) {
  const char* bytes = reinterpret_cast<const char*>(data);
  std::string text(bytes, strnlen(bytes, size));
  const char* t = text.c_str();
  bool fits = size <= 87;
  auto or2701 = [&](const Expected& e) { return fits ? e : reject(2701); };
  check<uint16_t>(or2701(unsignedUpTo(t, UINT16_MAX)), [&](uint16_t* p) { return convert(bytes, size, p); });
  check<int32_t>(or2701(referenceSigned32(t)), [&](int32_t* p) { return convert(bytes, size, p); });
  check<uint32_t>(or2701(referenceUnsigned32(t)), [&](uint32_t* p) { return convert(bytes, size, p); });
  check<int64_t>(or2701(referenceSigned64(t)), [&](int64_t* p) { return convert(bytes, size, p); });
  check<uint64_t>(or2701(referenceUnsigned(t)), [&](uint64_t* p) { return convert(bytes, size, p); });
}

void checkNumberToText(const uint8_t* data, size_t size) {
  if (size < 8) return;
  uint64_t bits;
  memcpy(&bits, data, 8);
  char mine[32], theirs[32];
  uint16_t n = convert(mine, static_cast<VXSIZE_T>(bits));
  char* end = std::to_chars(theirs, theirs + sizeof theirs, bits).ptr;
  if (n != end - theirs || memcmp(mine, theirs, n) != 0 || mine[n] != '\0') abort();
  int64_t sbits = static_cast<int64_t>(bits);
  n = convert(mine, static_cast<VXSSIZE_T>(sbits));
  end = std::to_chars(theirs, theirs + sizeof theirs, sbits).ptr;
  if (n != end - theirs || memcmp(mine, theirs, n) != 0 || mine[n] != '\0') abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // One list that keeps every record, installed for the whole run.
  static VxErrorList errors(nullptr, 1);
  static bool installed = VxErrorKeeper::setErrorList(&errors) == 0;
  if (!installed) abort();

  std::string text(reinterpret_cast<const char*>(data), size);
  checkTerminated(text.c_str());
  checkCounted(data, size);
  checkNumberToText(data, size);
  return 0;
}
