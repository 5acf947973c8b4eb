// Locale collation, the sign-and-magnitude comparison of 8-byte values, and
// the character equality used by the LIKE matcher.
#include <cstdlib>
#include <cstring>

#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"

// Deliberate: strcoll's result is narrowed to 16 bits.
int16_t strCompareIntl(const char* a, const char* b) { return static_cast<int16_t>(strcoll(a, b)); }

namespace {

const VXSIZE_T kStackCopy = 512;

// A NUL-terminated copy of n bytes: in `stack` when it fits, else on the
// heap. The heap allocation is not checked, as documented.
class TerminatedCopy {
 public:
  TerminatedCopy(const char* s, VXSIZE_T n)
      : text(n < kStackCopy ? stack : static_cast<char*>(malloc(n + 1))) {
    memcpy(text, s, n);
    text[n] = '\0';
  }
  ~TerminatedCopy() {
    if (text != stack) free(text);
  }
  TerminatedCopy(const TerminatedCopy&) = delete;
  TerminatedCopy& operator=(const TerminatedCopy&) = delete;

  const char* get() const { return text; }

 private:
  char stack[kStackCopy];
  char* text;
};

}  // namespace

int16_t strCompareIntl(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb) {
  TerminatedCopy x(a, na);
  TerminatedCopy y(b, nb);
  return strCompareIntl(x.get(), y.get());
}

// Deliberate: despite its name this is the plain collation comparison; it
// does not fold case.
int16_t strCompareCiIntl(const char* a, const char* b) { return strCompareIntl(a, b); }

int16_t strCompareCiIntl(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb) {
  return strCompareIntl(a, na, b, nb);
}

// Sign-and-magnitude values stored most significant byte first (big-endian
// IEEE doubles among them) order like their bytes once the sign is looked
// at: different signs decide at once; with the same sign the first
// differing byte decides, and for two negative values the larger magnitude
// is the smaller value, so the answer is reversed.
int16_t floatCompare(const void* a, const void* b) {
  const unsigned char* x = static_cast<const unsigned char*>(a);
  const unsigned char* y = static_cast<const unsigned char*>(b);
  bool negativeX = (x[0] & 0x80) != 0;
  bool negativeY = (y[0] & 0x80) != 0;
  if (negativeX != negativeY) return negativeX ? -1 : 1;
  for (int i = 0; i < 8; ++i) {
    if (x[i] != y[i]) {
      int16_t r = x[i] < y[i] ? -1 : 1;
      return negativeX ? static_cast<int16_t>(-r) : r;
    }
  }
  return 0;
}

bool isCharEqual(const char* a, const char* b, int16_t caseSensitive) {
  if (vxLeadByteAt(b)) return a[0] == b[0] && a[1] == b[1];
  if (a[0] == b[0]) return true;
  return caseSensitive == 0 && vxUpperByte(static_cast<unsigned char>(a[0])) ==
                                   vxUpperByte(static_cast<unsigned char>(b[0]));
}
