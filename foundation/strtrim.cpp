// Cutting trailing white space or blanks off byte strings.
#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"

namespace {

typedef bool (*Trimmable)(const char* p, VXSIZE_T size, VXSIZE_T limit);

bool isWhite(const char* p, VXSIZE_T, VXSIZE_T limit) { return vxIsWhiteSpaceWithin(p, limit); }

bool isBlank(const char* p, VXSIZE_T size, VXSIZE_T) { return size == 1 && *p == ' '; }

// The string is walked forward by characters, since a trail byte may look
// like white space; the answer is the end of the last character that is
// not trimmable.
VXSIZE_T trimmedLength(const char* s, VXSIZE_T n, vxCPType cp, Trimmable trimmable) {
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
