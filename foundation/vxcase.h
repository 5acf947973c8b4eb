// Case conversion of characters and of byte strings in the locale encoding.
//
// Contract: the string functions work in place and never write past the
// bytes of the character they change; a character whose converted form
// does not fit into its original bytes is left as it is. Nothing reports
// errors. Re-entrant; the string forms read the calling thread's locale.
#ifndef VX_FOUNDATION_VXCASE_H_
#define VX_FOUNDATION_VXCASE_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// Upper case of a 32-bit character: 0x61-0x7A and 0xE0-0xFE become c-0x20,
// so 0xF7 (division sign) becomes 0xD7 (multiplication sign) on purpose;
// other values below 0xFF are unchanged; 0xFF and above take the Unicode
// upper-case mapping.
VX_EXPORT int32_t javaToUpper(int32_t c);
// Lower case: 0x41-0x5A and 0xC0-0xDE become c+0x20 (0xD7 becomes 0xF7);
// other values below 0xFF unchanged; the rest take the Unicode mapping.
VX_EXPORT int32_t javaToLower(int32_t c);

// In place, character by character in the locale encoding: each character
// is decoded, mapped with javaToUpper / javaToLower and encoded back at the
// same place; the walk advances by the character's size before the change
// (a mapping to a shorter encoding leaves the remaining old bytes). Bytes
// that do not decode stay and count as one character. A null s is accepted
// and returned. The NUL-terminated forms stop at the NUL; the counted forms
// stop when the running sum of character sizes would exceed n.
VX_EXPORT char* strUpper(char* s);
VX_EXPORT char* strUpper(char* s, VXSIZE_T n);
VX_EXPORT char* strLower(char* s);
VX_EXPORT char* strLower(char* s, VXSIZE_T n);

// Byte by byte with the runtime's toupper / tolower (upper case changes only
// bytes that islower accepts), for at most n bytes or up to a NUL. Return s.
VX_EXPORT char* UpperText(char* s, VXSIZE_T n);
VX_EXPORT char* LowerText(char* s, VXSIZE_T n);

#endif  // VX_FOUNDATION_VXCASE_H_
