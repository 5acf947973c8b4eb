// Bytewise, case-insensitive and blank-padded comparison of byte strings.
#include <cstring>

#include "foundation/but.h"
#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"

namespace {

inline int16_t sign(int value) { return static_cast<int16_t>((value > 0) - (value < 0)); }

inline int16_t orderBytes(unsigned char a, unsigned char b) { return a < b ? -1 : 1; }

inline int16_t orderLengths(VXSIZE_T na, VXSIZE_T nb) {
  return na == nb ? 0 : (na < nb ? -1 : 1);
}

}  // namespace

int16_t strCompare(const char* a, const char* b) { return BUTSTCMP(a, b); }

int16_t strCompare(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb) {
  int r = memcmp(a, b, na < nb ? na : nb);
  return r != 0 ? sign(r) : orderLengths(na, nb);
}

bool strEqual(const char* a, const char* b) { return strCompare(a, b) == 0; }

bool strEqual(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb) {
  return na == nb && memcmp(a, b, na) == 0;
}

// Case-insensitive walk. At a lead byte of a both bytes of the character
// are compared exactly; any other pair of bytes is equal when the bytes are
// or when their one-character upper-case forms are. Only a is tested for
// lead bytes (intended), so a two-byte character of b facing single bytes
// of a is compared byte by byte.
int16_t strCompareCi(const char* a, const char* b) {
  const unsigned char* x = reinterpret_cast<const unsigned char*>(a);
  const unsigned char* y = reinterpret_cast<const unsigned char*>(b);
  for (;;) {
    if (vxLeadByteAt(reinterpret_cast<const char*>(x))) {
      if (x[0] != y[0]) return orderBytes(x[0], y[0]);
      if (x[1] != y[1]) return orderBytes(x[1], y[1]);
      x += 2;
      y += 2;
      continue;
    }
    if (*x != *y) {
      unsigned char ux = vxUpperByte(*x);
      unsigned char uy = vxUpperByte(*y);
      if (ux != uy) return orderBytes(ux, uy);
    } else if (*x == '\0') {
      return 0;
    }
    ++x;
    ++y;
  }
}

int16_t strCompareCi(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb) {
  const unsigned char* x = reinterpret_cast<const unsigned char*>(a);
  const unsigned char* y = reinterpret_cast<const unsigned char*>(b);
  VXSIZE_T common = na < nb ? na : nb;
  VXSIZE_T i = 0;
  while (i < common) {
    if (vxLeadByteWithin(a + i, common - i)) {
      if (x[i] != y[i]) return orderBytes(x[i], y[i]);
      if (x[i + 1] != y[i + 1]) return orderBytes(x[i + 1], y[i + 1]);
      i += 2;
      continue;
    }
    if (x[i] != y[i]) {
      unsigned char ux = vxUpperByte(x[i]);
      unsigned char uy = vxUpperByte(y[i]);
      if (ux != uy) return orderBytes(ux, uy);
    }
    ++i;
  }
  return orderLengths(na, nb);
}

bool strEqualCi(const char* a, const char* b) { return strCompareCi(a, b) == 0; }

bool strEqualCi(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb) {
  return na == nb && strCompareCi(a, na, b, nb) == 0;
}

int16_t strComparePad(const char* a, const char* b) {
  VXSIZE_T na = strLen(a);
  VXSIZE_T nb = strLen(b);
  VXSIZE_T common = na < nb ? na : nb;
  int r = memcmp(a, b, common);
  if (r != 0) return sign(r);
  const char* rest = na > nb ? a + common : b + common;
  for (; *rest != '\0'; ++rest) {
    if (*rest != ' ') return na > nb ? 1 : -1;
  }
  return 0;
}

// Deliberate: the runtime's result is narrowed to 16 bits; only its sign
// is meaningful.
int16_t strCompareWithMaxLength(const char* a, const char* b, VXSIZE_T n) {
  return static_cast<int16_t>(strncmp(a, b, n));
}

// Only 1, T/t and ON in any case are true; Y and YES are not (intended).
bool isTrueStr(const char* s) {
  char c = s[0];
  if (c == '1' || c == 'T' || c == 't') return true;
  return (c == 'O' || c == 'o') && (s[1] == 'N' || s[1] == 'n');
}
