// Multibyte characters: stepping, sizing and classification.
#include "foundation/vxdbcs.h"

#include <cstdlib>
#include <cstring>
#include <cwctype>

#include "foundation/vxdbcs_internal.h"

bool vxDecodeChar(const char* p, VXSIZE_T limit, wchar_t* out, VXSIZE_T* size) {
  unsigned char c = static_cast<unsigned char>(*p);
  if (c < 0x80) {
    *out = static_cast<wchar_t>(c);
    *size = 1;
    return true;
  }
  VXSIZE_T max = MB_CUR_MAX;
  if (limit > max) limit = max;
  mbstate_t state{};
  size_t r = mbrtowc(out, p, limit, &state);
  if (r == static_cast<size_t>(-1) || r == static_cast<size_t>(-2)) return false;
  *size = r == 0 ? 1 : r;
  return true;
}

bool vxIsWhiteSpaceWithin(const char* p, VXSIZE_T limit) {
  unsigned char c = static_cast<unsigned char>(*p);
  if (c < 0x80) return iswspace(c) != 0;
  wchar_t wc;
  VXSIZE_T size;
  return vxDecodeChar(p, limit, &wc, &size) && iswspace(static_cast<wint_t>(wc)) != 0;
}

namespace {

// The character at p decoded with up to the locale's maximum length; the
// byte string is NUL-terminated or long enough.
bool decodeAt(const char* p, wchar_t* out) {
  VXSIZE_T size;
  return vxDecodeChar(p, MB_CUR_MAX, out, &size);
}

}  // namespace

// ---------------------------------------------------------------------------
// Stepping

VXSIZE_T vxCharSize(const char* p, vxCPType cp) { return vxCharSizeAt(p, cp); }

VXSIZE_T vxCharSize(const char* base, VXSIZE_T offset, vxCPType cp) {
  return vxCharSizeAt(base + offset, cp);
}

char* vxCharNext(const char* p, vxCPType cp) {
  return const_cast<char*>(p + vxCharSizeAt(p, cp));
}

VXSIZE_T vxCharNext(const char* base, VXSIZE_T offset, vxCPType cp) {
  return offset + vxCharSizeAt(base + offset, cp);
}

// Stepping back cannot know where characters begin without walking from the
// start, so it guesses from the bytes just before p:
// - UTF-8: when the byte before p is a single-byte character (which here
//   includes continuation bytes) and lies after start, the byte before it
//   decides: if it begins a longer character the answer is p-2; if it is
//   single too and p-3 (still at or after start) begins a longer character,
//   p-3; otherwise p-1. A four-byte character is thus not stepped over
//   whole; this is the intended behaviour.
// - Other kinds: the lead-byte test is made on the byte AT p, not on the one
//   before it (intended; callers depend on it): a lead byte there gives p-2,
//   anything else p-1, never before start.
char* vxCharPrev(const char* start, const char* p, vxCPType cp) {
  if (p <= start) return const_cast<char*>(start);
  if (cp == VX_CP_UTF8) {
    if (p - 1 > start && vxUtf8SizeOf(static_cast<unsigned char>(p[-1])) == 1) {
      if (vxUtf8SizeOf(static_cast<unsigned char>(p[-2])) != 1) return const_cast<char*>(p - 2);
      if (p - 2 > start && vxUtf8SizeOf(static_cast<unsigned char>(p[-3])) > 1) {
        return const_cast<char*>(p - 3);
      }
    }
    return const_cast<char*>(p - 1);
  }
  if (vxLeadByteAt(p)) return const_cast<char*>(p - start >= 2 ? p - 2 : start);
  return const_cast<char*>(p - 1);
}

VXSIZE_T vxCharPrev(const char* base, VXSIZE_T offset, vxCPType cp) {
  return static_cast<VXSIZE_T>(vxCharPrev(base, base + offset, cp) - base);
}

char* vxCharLast(const char* s, vxCPType cp) {
  const char* last = s;
  for (const char* p = s; *p != '\0'; p += vxCharSizeInString(p, cp)) last = p;
  return const_cast<char*>(last);
}

VXSIZE_T vxCharLast(const char* base, VXSIZE_T length, vxCPType cp) {
  VXSIZE_T last = 0;
  for (VXSIZE_T o = 0; o < length; o += vxCharSizeWithin(base + o, length - o, cp)) last = o;
  return last;
}

bool vxCharEqual(const char* a, const char* b, vxCPType cp) {
  VXSIZE_T size = vxCharSizeAt(a, cp);
  if (size != vxCharSizeAt(b, cp)) return false;
  // Deliberate: at most three bytes take part, so a four-byte UTF-8
  // character is compared on its first three.
  if (size > 3) size = 3;
  return memcmp(a, b, size) == 0;
}

bool vxCharEqual(const char* a, VXSIZE_T offsetA, const char* b, VXSIZE_T offsetB, vxCPType cp) {
  return vxCharEqual(a + offsetA, b + offsetB, cp);
}

VXSIZE_T vxCharLen(const char* s, vxCPType cp) {
  VXSIZE_T count = 0;
  if (cp == VX_CP_UCS2) {
    for (;; s += 2, ++count) {
      uint16_t unit;
      memcpy(&unit, s, sizeof unit);
      if (unit == 0) return count;
    }
  }
  for (; *s != '\0'; s += vxCharSizeInString(s, cp)) ++count;
  return count;
}

VXSIZE_T vxCharLen(const char* s, VXSIZE_T n, vxCPType cp) {
  if (cp == VX_CP_UCS2) return n / 2;
  VXSIZE_T count = 0;
  for (VXSIZE_T o = 0; o < n; o += vxCharSizeWithin(s + o, n - o, cp)) ++count;
  return count;
}

// Unlike vxCharSize, bytes 0x80-0xBF count as the start of a two-byte
// character here, so a stray continuation byte swallows its successor.
VXSIZE_T vxUTF8CharLen(const char* p, VXSIZE_T n) {
  if (n == static_cast<VXSIZE_T>(-3)) n = strlen(p);
  VXSIZE_T count = 0;
  VXSIZE_T o = 0;
  while (o < n) {
    unsigned char c = static_cast<unsigned char>(p[o]);
    VXSIZE_T size = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    if (size > n - o) break;
    o += size;
    ++count;
  }
  return count;
}

// ---------------------------------------------------------------------------
// Classification

bool vxIsLeadByte(const char* p) { return vxLeadByteAt(p); }

bool vxIsLeadByte(const char* base, VXSIZE_T offset) { return vxLeadByteAt(base + offset); }

bool vxIs2ndByte(const char* start, const char* p) {
  const char* q = start;
  while (q < p) q += vxLeadByteAt(q) ? 2 : 1;
  return q > p;
}

bool vxIs2ndByte(const char* base, VXSIZE_T offset) { return vxIs2ndByte(base, base + offset); }

bool vxIsWhiteSpace(const char* p) { return vxIsWhiteSpaceWithin(p, MB_CUR_MAX); }

bool vxIsWhiteSpace(const char* base, VXSIZE_T offset) { return vxIsWhiteSpace(base + offset); }

bool vxIsAlpha(const char* p) {
  wchar_t wc;
  return decodeAt(p, &wc) && iswalpha(static_cast<wint_t>(wc)) != 0;
}

bool vxIsAlpha(const char* base, VXSIZE_T offset) { return vxIsAlpha(base + offset); }

bool vxIsAlphaNumeric(const char* p) {
  wchar_t wc;
  return decodeAt(p, &wc) && iswalnum(static_cast<wint_t>(wc)) != 0;
}

bool vxIsAlphaNumeric(const char* base, VXSIZE_T offset) {
  return vxIsAlphaNumeric(base + offset);
}

char* vxSkipBlanks(const char* p, vxCPType cp) {
  if (p == nullptr) return nullptr;
  while (*p != '\0' && vxIsWhiteSpace(p)) p += vxCharSizeInString(p, cp);
  return const_cast<char*>(p);
}

VXSIZE_T vxSkipBlanks(const char* base, VXSIZE_T offset, vxCPType cp) {
  return static_cast<VXSIZE_T>(vxSkipBlanks(base + offset, cp) - base);
}

bool vxStrSBCSChar(const char* start, const char* p, char ch) {
  return *p == ch && !vxIs2ndByte(start, p);
}

bool vxStrSBCSChar(const char* base, VXSIZE_T offset, char ch) {
  return vxStrSBCSChar(base, base + offset, ch);
}

int vxAtoi(const char* s) { return atoi(s); }

int vxAtoi(const char* base, VXSIZE_T offset) { return atoi(base + offset); }
