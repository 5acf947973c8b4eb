// Cutting trailing white space or blanks off byte strings.
#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"

namespace {

typedef bool (*Trimmable)(const char* p, VXSIZE_T size, VXSIZE_T limit);

bool isWhite(const char* p, VXSIZE_T, VXSIZE_T limit) { return vxIsWhiteSpaceWithin(p, limit); }

bool isBlank(const char* p, VXSIZE_T size, VXSIZE_T) { return size == 1 && *p == ' '; }

// The exact answer needs a forward walk by characters, since a trail byte
// or a malformed character may swallow bytes that look like white space.
// The common case is answered from the end instead: a run of trimmable
// ASCII bytes at the end, with ASCII bytes in the three positions before
// it, cannot belong to a longer character (no character in any kind is
// longer than four bytes, and ASCII bytes never begin one), so the run is
// exactly the trailing white space.
VXSIZE_T trimmedLength(const char* s, VXSIZE_T n, vxCPType cp, Trimmable trimmable) {
  VXSIZE_T run = n;
  while (run > 0 && static_cast<unsigned char>(s[run - 1]) < 0x80 &&
         trimmable(s + run - 1, 1, n - run + 1)) {
    --run;
  }
  bool asciiBefore = true;
  for (VXSIZE_T k = 1; k <= 3 && k <= run; ++k) {
    if (static_cast<unsigned char>(s[run - k]) >= 0x80) asciiBefore = false;
  }
  if (asciiBefore) return run;

  VXSIZE_T end = 0;
  VXSIZE_T i = 0;
  while (i < n) {
    VXSIZE_T size = vxCharSizeWithin(s + i, n - i, cp);
    if (size > n - i) size = n - i;
    if (!trimmable(s + i, size, n - i)) end = i + size;
    i += size;
  }
  return end;
}

}  // namespace

VXSIZE_T strRightTrim(const char* s, VXSIZE_T n, vxCPType cp) {
  return trimmedLength(s, n, cp, isWhite);
}

VXSIZE_T strRightTrim(char* s, vxCPType cp) {
  VXSIZE_T n = strRightTrim(s, strLen(s), cp);
  s[n] = '\0';
  return n;
}

VXSIZE_T strRightTrimBlanks(const char* s, VXSIZE_T n, vxCPType cp) {
  return trimmedLength(s, n, cp, isBlank);
}

VXSIZE_T strRightTrimBlanks(char* s, vxCPType cp) {
  VXSIZE_T n = strRightTrimBlanks(s, strLen(s), cp);
  s[n] = '\0';
  return n;
}
