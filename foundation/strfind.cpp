// Searching byte strings for characters, substrings and character classes.
#include <cstdlib>
#include <cstring>

#include "foundation/ram.h"
#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"

char* strFind(const char* s, char ch, vxCPType cp) {
  for (const char* p = s; *p != '\0'; p += vxCharSizeInString(p, cp)) {
    if (*p == ch) return const_cast<char*>(p);
  }
  return nullptr;
}

char* strFindAnsi(const char* s, char ch) {
  for (const char* p = s; *p != '\0'; p += vxLeadByteAt(p) ? 2 : 1) {
    if (*p == ch) return const_cast<char*>(p);
  }
  return nullptr;
}

char* strFindReverse(const char* s, char ch, vxCPType cp) {
  const char* found = nullptr;
  for (const char* p = s; *p != '\0'; p += vxCharSizeInString(p, cp)) {
    if (*p == ch) found = p;
  }
  return const_cast<char*>(found);
}

// Deliberate: the options are not looked at; this form always searches
// from the end.
char* strFind(const char* s, char ch, strFindOptions, vxCPType cp) {
  return strFindReverse(s, ch, cp);
}

char* strFind(const char* s, VXSIZE_T ns, const char* pat, VXSIZE_T np, vxCPType cp) {
  if (np == 0 || np > ns) return nullptr;
  // A UTF-8 character cut by the length steps i past ns, so i is checked
  // before ns - i is formed.
  for (VXSIZE_T i = 0; i < ns && np <= ns - i; i += vxCharSizeWithin(s + i, ns - i, cp)) {
    if (s[i] == pat[0] && memcmp(s + i, pat, np) == 0) return const_cast<char*>(s + i);
  }
  return nullptr;
}

char* strFind(const char* s, const char* pat, vxCPType cp) {
  return strFind(s, strLen(s), pat, strLen(pat), cp);
}

// A byte equal to one of the three quotes opens a quoted stretch that the
// same byte closes; ch is looked for only outside such stretches. When ch
// is itself one of the quotes, its first occurrence outside a stretch is
// the answer.
char* strFind(const char* s, char ch, char q1, char q2, char q3, vxCPType cp) {
  char open = '\0';
  for (const char* p = s; *p != '\0'; p += vxCharSizeInString(p, cp)) {
    char c = *p;
    if (open != '\0') {
      if (c == open) open = '\0';
    } else if (c == ch) {
      return const_cast<char*>(p);
    } else if (c == q1 || c == q2 || c == q3) {
      open = c;
    }
  }
  return nullptr;
}

char* strFindCi(const char* s, VXSIZE_T ns, const char* pat, VXSIZE_T np, vxCPType cp) {
  char* text = ramAllocStr(s, ns);
  char* pattern = ramAllocStr(pat, np);
  char* found = nullptr;
  if (text != nullptr && pattern != nullptr) {
    strUpper(text, ns);
    strUpper(pattern, np);
    char* at = strFind(text, ns, pattern, np, cp);
    if (at != nullptr) found = const_cast<char*>(s) + (at - text);
  }
  free(text);
  free(pattern);
  return found;
}

char* strFindCi(const char* s, const char* pat, vxCPType cp) {
  return strFindCi(s, strLen(s), pat, strLen(pat), cp);
}

char* strFindCi(const char* s, VXSIZE_T ns, const char* upper, const char* lower, VXSIZE_T np,
                vxCPType cp) {
  if (np == 0 || np > ns) return nullptr;
  VXSIZE_T i = 0;
  while (i < ns && np <= ns - i) {
    VXSIZE_T k = 0;
    while (k < np && (s[i + k] == upper[k] || s[i + k] == lower[k])) ++k;
    if (k == np) return const_cast<char*>(s + i);
    i += cp == VX_CP_BYTES ? 1 : vxCharSizeWithin(s + i, ns - i, cp);
  }
  return nullptr;
}

namespace {

bool inClasses(unsigned char c, uint16_t classes) {
  return ((classes & STR_CLASS_LOWER) && c >= 'a' && c <= 'z') ||
         ((classes & STR_CLASS_UPPER) && c >= 'A' && c <= 'Z') ||
         ((classes & STR_CLASS_DIGIT) && c >= '0' && c <= '9');
}

// True when the size-byte character at p is one of the characters of extra
// or, for a single byte, in one of the classes.
bool inSet(const char* p, VXSIZE_T size, const char* extra, uint16_t classes, vxCPType cp) {
  if (size == 1 && inClasses(static_cast<unsigned char>(*p), classes)) return true;
  if (extra == nullptr) return false;
  for (const char* e = extra; *e != '\0';) {
    VXSIZE_T esize = vxCharSizeInString(e, cp);
    if (esize == size && memcmp(e, p, size) == 0) return true;
    e += esize;
  }
  return false;
}

// True when every character of the first n bytes is in the set (wantIn)
// or when none is (!wantIn).
bool allOrNoneInSet(const char* s, VXSIZE_T n, const char* extra, uint16_t classes, vxCPType cp,
                    bool wantIn) {
  VXSIZE_T i = 0;
  while (i < n) {
    VXSIZE_T size = vxCharSizeWithin(s + i, n - i, cp);
    if (size > n - i) size = n - i;
    if (inSet(s + i, size, extra, classes, cp) != wantIn) return false;
    i += size;
  }
  return true;
}

}  // namespace

bool strContains(const char* s, VXSIZE_T n, const char* extra, uint16_t classes, vxCPType cp) {
  return allOrNoneInSet(s, n, extra, classes, cp, true);
}

bool strDoesNotContain(const char* s, VXSIZE_T n, const char* extra, uint16_t classes,
                       vxCPType cp) {
  return allOrNoneInSet(s, n, extra, classes, cp, false);
}
