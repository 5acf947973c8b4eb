// One EBCDIC byte read as a printable ASCII character, for dumps.
//
// The data-stream trace shows every byte three ways: hexadecimal, ASCII
// and EBCDIC. The EBCDIC column needs only a readable approximation, not a
// conversion: letters, digits, the blank and the common punctuation of the
// US EBCDIC code page come out as themselves, everything else as ".".
// Pure function; any thread may call it.
#ifndef VX_CHARSET_EBCDIC_H_
#define VX_CHARSET_EBCDIC_H_

#include <cstdint>

#include "foundation/vxexport.h"

// The printable ASCII character that the EBCDIC byte stands for, or "."
// (0x2E) when it is not one of the letters, digits, the blank or the
// punctuation the dump knows. 0xB9 reads as the grave accent.
VX_EXPORT uint8_t VxEbcdicToAscii(uint8_t byte);

#endif  // VX_CHARSET_EBCDIC_H_
