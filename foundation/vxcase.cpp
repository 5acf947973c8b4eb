// Case conversion of characters and of byte strings in the locale encoding.
#include "foundation/vxcase.h"

#include <unicode/uchar.h>

#include <cctype>
#include <climits>
#include <cstring>
#include <cwchar>

#include "foundation/vxdbcs_internal.h"

// The Latin-1 range is mapped by arithmetic, as a character set of that
// era did: every byte from 0xE0 to 0xFE moves down by 0x20, so the division
// sign 0xF7 becomes the multiplication sign 0xD7. That is intended. 0xFF
// (y with diaeresis) and everything above go to the Unicode mapping.
int32_t javaToUpper(int32_t c) {
  if ((c >= 0x61 && c <= 0x7A) || (c >= 0xE0 && c <= 0xFE)) return c - 0x20;
  if (c < 0xFF) return c;
  return u_toupper(c);
}

int32_t javaToLower(int32_t c) {
  if ((c >= 0x41 && c <= 0x5A) || (c >= 0xC0 && c <= 0xDE)) return c + 0x20;
  if (c < 0xFF) return c;
  return u_tolower(c);
}

namespace {

typedef int32_t (*CaseMap)(int32_t);

// Converts the characters of s within n bytes (or up to the NUL when
// stopAtNul) in place. Each character is decoded, mapped and encoded back
// at its own place; the walk moves on by the character's old size. A
// mapped character whose encoding is longer than the old one, or that the
// locale cannot encode, is left alone so that nothing past it is touched.
char* convertCase(char* s, VXSIZE_T n, bool stopAtNul, CaseMap map) {
  if (s == nullptr) return s;
  VXSIZE_T o = 0;
  while (o < n) {
    char* p = s + o;
    unsigned char c = static_cast<unsigned char>(*p);
    if (c == 0 && stopAtNul) break;
    if (c < 0x80) {
      *p = static_cast<char>(map(c));
      ++o;
      continue;
    }
    wchar_t wc;
    VXSIZE_T size;
    if (!vxDecodeChar(p, n - o, &wc, &size)) {
      ++o;
      continue;
    }
    int32_t mapped = map(static_cast<int32_t>(wc));
    if (mapped != static_cast<int32_t>(wc)) {
      char encoded[MB_LEN_MAX];
      mbstate_t state{};
      size_t written = wcrtomb(encoded, static_cast<wchar_t>(mapped), &state);
      if (written != static_cast<size_t>(-1) && written <= size) memcpy(p, encoded, written);
    }
    o += size;
  }
  return s;
}

}  // namespace

char* strUpper(char* s) { return convertCase(s, static_cast<VXSIZE_T>(-1), true, javaToUpper); }

char* strUpper(char* s, VXSIZE_T n) { return convertCase(s, n, false, javaToUpper); }

char* strLower(char* s) { return convertCase(s, static_cast<VXSIZE_T>(-1), true, javaToLower); }

char* strLower(char* s, VXSIZE_T n) { return convertCase(s, n, false, javaToLower); }

unsigned char vxUpperByteSlow(unsigned char c) {
  char one[2] = {static_cast<char>(c), '\0'};
  strUpper(one);
  return static_cast<unsigned char>(one[0]);
}

char* UpperText(char* s, VXSIZE_T n) {
  for (VXSIZE_T i = 0; i < n && s[i] != '\0'; ++i) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    if (islower(c)) s[i] = static_cast<char>(toupper(c));
  }
  return s;
}

char* LowerText(char* s, VXSIZE_T n) {
  for (VXSIZE_T i = 0; i < n && s[i] != '\0'; ++i) {
    s[i] = static_cast<char>(tolower(static_cast<unsigned char>(s[i])));
  }
  return s;
}
