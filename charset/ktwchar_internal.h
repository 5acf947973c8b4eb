// Helpers shared by the conversion units of this folder; not exported.
#ifndef VX_CHARSET_KTWCHAR_INTERNAL_H_
#define VX_CHARSET_KTWCHAR_INTERNAL_H_

#include <unicode/ucnv.h>

#include <cstdint>

#include "charset/ktwchar.h"

namespace vxcharset {

// Units of the UTF-16 pivot every bulk conversion passes through.
constexpr int32_t kPivotUnits = 2000;

// True when the converter maps the bytes 0x00 to 0x7F to U+0000 to U+007F
// and back one to one, so that ASCII text may be copied unchanged. The
// answer is found once per converter by converting all 128 characters both
// ways, and remembered per thread for a few converters.
bool isAsciiTransparent(UConverter* converter);

// Copies the leading ASCII bytes of in (at most n) to out, eight at a time,
// and returns how many were copied. The copy stops at the start of the
// first eight-byte piece (or of the last shorter piece) that holds a byte
// with the high bit set, so that the caller converts from there.
int64_t copyAsciiPrefix(char* out, const char* in, int64_t n);

// A byte length as given, or strlen for a negative one (-1 or -3).
int64_t byteLength(const char* in, int64_t length);

}  // namespace vxcharset

#endif  // VX_CHARSET_KTWCHAR_INTERNAL_H_
