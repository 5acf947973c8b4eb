// Fuzz target for the connection-string scan over arbitrary UTF-16.
//
// The input's bytes are taken as UTF-16 units (in a heap buffer of exactly
// that size, so reading past the end is caught) and scanned; the result and
// the DSN must equal those of a reference written from the rules on
// std::u16string: attributes split at ";", white space skipped before a
// key, keys matched by prefix without case (the text may end inside the
// key), a numeric key's value read after it as blanks, "=", blanks, an
// optional "-" and digits; IANAAPPCODEPAGE and IACP stop the scan with a
// number, APPCODEPAGE and ACP map theirs and go on; every numeric key
// replaces the answer, even with "not found"; the first DSN with "="
// gives its value.
#include <unicode/uchar.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "charset/ucnv.h"

namespace {

void check(bool condition) {
  if (!condition) abort();
}

size_t skipSpace(const std::u16string& s, size_t i) {
  while (i < s.size() && u_isWhitespace(s[i])) ++i;
  return i;
}

// 1 when s at i starts with key (or ends inside it), as ucnvEquals.
bool keyAt(const std::u16string& s, size_t i, const char* key) {
  for (size_t k = 0; key[k] != 0; ++k, ++i) {
    if (i >= s.size()) return true;
    char16_t c = s[i];
    if (c >= 0xD800 && c <= 0xDFFF) return false;
    if (c != char16_t(key[k]) && c != char16_t(tolower(key[k]))) return false;
  }
  return true;
}

int64_t number(const std::u16string& s, size_t* i) {
  size_t p = skipSpace(s, *i);
  if (p >= s.size() || s[p] != '=') return *i = p, kUcnvNotFound;
  p = skipSpace(s, p + 1);
  if (p >= s.size()) return *i = p, kUcnvNotFound;
  bool negative = s[p] == '-';
  if (negative) ++p;
  uint64_t v = 0;
  while (p < s.size() && s[p] >= '0' && s[p] <= '9') v = v * 10 + uint64_t(s[p++] - '0');
  *i = p;
  return int64_t(negative ? 0 - v : v);
}

int64_t reference(const std::u16string& s, std::u16string* dsn, bool* haveDsn) {
  int64_t result = kUcnvNotFound;
  size_t i = 0;
  while (i < s.size()) {
    if (i + 1 < s.size() && s[i] >= 0xD800 && s[i] <= 0xDBFF && s[i + 1] >= 0xDC00 &&
        s[i + 1] <= 0xDFFF) {
      i += 2;
    }
    i = skipSpace(s, i);
    const char* keys[] = {"IANAAPPCODEPAGE", "IACP", "APPCODEPAGE", "ACP"};
    int matched = -1;
    for (int k = 0; k < 4 && matched < 0; ++k) {
      if (keyAt(s, i, keys[k])) matched = k;
    }
    if (matched >= 0) {
      i = std::min(s.size(), i + strlen(keys[matched]));
      result = number(s, &i);
      if (matched < 2 && result != kUcnvNotFound) return result;
      if (matched >= 2 && result != kUcnvNotFound) result = ucnvUnilibToIANA(result);
    } else if (!*haveDsn && keyAt(s, i, "DSN")) {
      size_t p = skipSpace(s, std::min(s.size(), i + 3));
      if (p < s.size() && s[p] == '=') {
        p = skipSpace(s, p + 1);
        size_t stop = s.find(u';', p);
        *dsn = s.substr(p, stop == std::u16string::npos ? std::u16string::npos : stop - p);
        *haveDsn = true;
      }
    }
    while (i < s.size() && s[i] != ';') i += (s[i] >= 0xD800 && s[i] <= 0xDBFF && i + 1 < s.size()) ? 2 : 1;
    if (i < s.size()) ++i;
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t n = size / 2;
  std::unique_ptr<UChar[]> units(new UChar[n == 0 ? 1 : n]);
  memcpy(units.get(), data, n * 2);
  UChar* dsn = nullptr;
  int64_t result = ucnvUnicodeIANAAppCodePage(units.get(), int64_t(n), &dsn);
  std::u16string text(reinterpret_cast<const char16_t*>(units.get()), n);
  std::u16string expectedDsn;
  bool haveDsn = false;
  check(result == reference(text, &expectedDsn, &haveDsn));
  check(haveDsn == (dsn != nullptr));
  // The DSN comes back terminated, so a 0 unit in the value ends it there.
  if (dsn != nullptr) {
    check(expectedDsn.substr(0, expectedDsn.find(u'\0')) ==
          std::u16string(reinterpret_cast<char16_t*>(dsn)));
  }
  ucnv_free(dsn);
  return 0;
}
