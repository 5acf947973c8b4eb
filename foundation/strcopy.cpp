// Copying byte strings, with and without quotes.
#include <cstring>

#include "foundation/but.h"
#include "foundation/vxdbcs_internal.h"
#include "foundation/vxdbcs.h"

char* strCopy(char* dst, const char* src) { return BUTSTCPY(dst, src); }

char* strCat(char* dst, const char* src) { return BUTSTCAT(dst, src); }

VXSIZE_T strLen(const char* s) { return BUTSTLEN(s); }

char* strCopy(char* dst, const char* src, VXSIZE_T n) {
  memcpy(dst, src, n);
  dst[n] = '\0';
  return dst + n;
}

char* strCopy(char* dst, VXSIZE_T size, const char* src) {
  for (VXSIZE_T i = 0; i + 1 < size; ++i) {
    dst[i] = src[i];
    if (src[i] == '\0') break;
  }
  dst[size - 1] = '\0';
  return dst;
}

// Quoting: the source is walked character by character so that a trail
// byte that happens to equal the quote is not doubled; only single-byte
// characters equal to the quote are. A character cut by the end of the n
// bytes is dropped rather than copied in part.
char* strCopyQuoted(char* dst, const char* src, VXSIZE_T n, vxCPType cp, char quote) {
  char* d = dst;
  *d++ = quote;
  VXSIZE_T i = 0;
  while (i < n) {
    VXSIZE_T size = vxCharSizeWithin(src + i, n - i, cp);
    if (size > n - i) break;
    if (size == 1 && src[i] == quote) {
      *d++ = quote;
      *d++ = quote;
    } else {
      memcpy(d, src + i, size);
      d += size;
    }
    i += size;
  }
  *d++ = quote;
  *d++ = '\0';
  return d;
}

char* strCopyQuoted(char* dst, const char* src, vxCPType cp, char quote) {
  return strCopyQuoted(dst, src, strLen(src), cp, quote);
}

char* strCatQuoted(char* dst, const char* src, VXSIZE_T n, vxCPType cp, char quote) {
  return strCopyQuoted(dst + strLen(dst), src, n, cp, quote);
}

char* strCatQuoted(char* dst, const char* src, vxCPType cp, char quote) {
  return strCatQuoted(dst, src, strLen(src), cp, quote);
}

// The bytes strictly between src[0] and src[n-1] are copied; a quote that
// is followed by another quote inside that stretch is written once for the
// pair. The closing quote is taken on trust.
char* strCopyUnquoted(char* dst, const char* src, VXSIZE_T n) {
  char* d = dst;
  if (n >= 2) {
    char quote = src[0];
    VXSIZE_T end = n - 1;
    VXSIZE_T i = 1;
    while (i < end) {
      if (vxLeadByteWithin(src + i, end - i)) {
        *d++ = src[i];
        *d++ = src[i + 1];
        i += 2;
      } else if (src[i] == quote && i + 1 < end && src[i + 1] == quote) {
        *d++ = quote;
        i += 2;
      } else {
        *d++ = src[i++];
      }
    }
  }
  *d = '\0';
  return d;
}

namespace {

// True when every quote strictly inside s[0..n) is one of a doubled pair
// that ends before the closing quote.
bool innerQuotesDoubled(const char* s, VXSIZE_T n, char quote, vxCPType cp) {
  VXSIZE_T end = n - 1;
  VXSIZE_T i = 1;
  while (i < end) {
    VXSIZE_T size = vxCharSizeWithin(s + i, n - i, cp);
    if (size == 1 && s[i] == quote) {
      if (i + 1 >= end || s[i + 1] != quote) return false;
      size = 2;
    }
    i += size;
  }
  return true;
}

}  // namespace

VXSIZE_T strRemoveQuotes(char* s, VXSIZE_T n, char quote, vxCPType cp) {
  if (n < 2 || s[0] != quote) return n;
  if (vxCharLast(s, n, cp) != n - 1 || s[n - 1] != quote) return n;
  if (!innerQuotesDoubled(s, n, quote, cp)) return n;
  VXSIZE_T end = n - 1;
  VXSIZE_T out = 0;
  VXSIZE_T i = 1;
  while (i < end) {
    VXSIZE_T size = vxCharSizeWithin(s + i, n - i, cp);
    if (size == 1 && s[i] == quote) {
      s[out++] = quote;
      i += 2;
      continue;
    }
    if (size > end - i) size = end - i;
    memmove(s + out, s + i, size);
    out += size;
    i += size;
  }
  return out;
}

char* strRemoveQuotes(char* s, char quote, vxCPType cp) {
  VXSIZE_T n = strRemoveQuotes(s, strLen(s), quote, cp);
  s[n] = '\0';
  return s;
}
