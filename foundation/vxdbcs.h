// Multibyte characters: stepping, sizing and classifying the characters of
// byte strings, and the chief header of the byte-string functions (it pulls
// in the string, case-conversion and initialisation-count declarations).
//
// Every function that steps over characters takes a vxCPType that says how
// the bytes are encoded; VX_CP_LOCALE, the default, means the process
// locale's multibyte encoding as the runtime library sees it (setlocale).
// There is no global code page in this layer.
//
// Lead bytes: in every kind but VX_CP_UTF8 a byte is a lead byte exactly
// when the runtime's multibyte length of it with a limit of two bytes is 2,
// so only two-byte characters are recognised there. The test reads the byte
// at p and, when that byte can begin a character, the byte after it.
//
// Character size: in VX_CP_UTF8 the first byte decides (below 0xC0: 1,
// 0xC0-0xDF: 2, 0xE0-0xEF: 3, 0xF0 and above: 4; stray continuation bytes
// count as single characters so that a scan never stalls). In every other
// kind: 2 at a lead byte, else 1.
//
// Each stepping function has a pointer form and an offset form; the offset
// form takes a base pointer and a 64-bit offset and answers with an offset.
//
// Contract: nothing here checks its pointers or reports errors; a null where
// a string is required is the caller's fault. All functions are re-entrant;
// the classification and kind-1 functions read the calling thread's locale.
#ifndef VX_FOUNDATION_VXDBCS_H_
#define VX_FOUNDATION_VXDBCS_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// ---------------------------------------------------------------------------
// Stepping

// Size in bytes (1 to 4) of the character at p.
VX_EXPORT VXSIZE_T vxCharSize(const char* p, vxCPType cp = VX_CP_LOCALE);
VX_EXPORT VXSIZE_T vxCharSize(const char* base, VXSIZE_T offset, vxCPType cp = VX_CP_LOCALE);

// p plus the size of the character at p.
VX_EXPORT char* vxCharNext(const char* p, vxCPType cp = VX_CP_LOCALE);
VX_EXPORT VXSIZE_T vxCharNext(const char* base, VXSIZE_T offset, vxCPType cp = VX_CP_LOCALE);

// Start of the character before p, never before start. Outside UTF-8 the
// lead-byte test is made on the byte AT p, not the one before it: that is
// the intended behaviour and callers depend on it. p equal to start gives
// start.
VX_EXPORT char* vxCharPrev(const char* start, const char* p, vxCPType cp = VX_CP_LOCALE);
VX_EXPORT VXSIZE_T vxCharPrev(const char* base, VXSIZE_T offset, vxCPType cp = VX_CP_LOCALE);

// Start of the last character of the NUL-terminated s (s itself when empty).
VX_EXPORT char* vxCharLast(const char* s, vxCPType cp = VX_CP_LOCALE);
// Offset of the last character that begins before `length` (0 when length
// is 0).
VX_EXPORT VXSIZE_T vxCharLast(const char* base, VXSIZE_T length, vxCPType cp = VX_CP_LOCALE);

// True when the characters at a and b have the same size and the same
// leading bytes. At most three bytes are compared, so two four-byte UTF-8
// characters that differ only in their last byte count as equal (intended).
VX_EXPORT bool vxCharEqual(const char* a, const char* b, vxCPType cp = VX_CP_LOCALE);
VX_EXPORT bool vxCharEqual(const char* a, VXSIZE_T offsetA, const char* b, VXSIZE_T offsetB,
                           vxCPType cp = VX_CP_LOCALE);

// Number of characters of the NUL-terminated s; for VX_CP_UCS2 the number
// of 16-bit units before a zero unit.
VX_EXPORT VXSIZE_T vxCharLen(const char* s, vxCPType cp = VX_CP_LOCALE);
// Number of characters within the first n bytes (steps of vxCharNext until
// n is reached or passed); for VX_CP_UCS2 simply n / 2.
VX_EXPORT VXSIZE_T vxCharLen(const char* s, VXSIZE_T n, vxCPType cp);

// Number of whole UTF-8 characters within n bytes. The size of a character
// comes from its first byte (below 0x80: 1, 0x80-0xDF: 2, 0xE0-0xEF: 3,
// else 4); a character that would pass the end is not counted and ends the
// count. n equal to (VXSIZE_T)-3, the null-terminated marker, means up to
// the NUL.
VX_EXPORT VXSIZE_T vxUTF8CharLen(const char* p, VXSIZE_T n);

// ---------------------------------------------------------------------------
// Classification

// The lead-byte rule above, for the byte at p.
VX_EXPORT bool vxIsLeadByte(const char* p);
VX_EXPORT bool vxIsLeadByte(const char* base, VXSIZE_T offset);

// True when p is the second byte of a two-byte character, found by walking
// from start (two bytes at a lead byte, one otherwise) until at or past p.
VX_EXPORT bool vxIs2ndByte(const char* start, const char* p);
VX_EXPORT bool vxIs2ndByte(const char* base, VXSIZE_T offset);

// The character at p decoded in the locale encoding and tested with
// iswspace / iswalpha / iswalnum. Bytes that do not decode are false.
VX_EXPORT bool vxIsWhiteSpace(const char* p);
VX_EXPORT bool vxIsWhiteSpace(const char* base, VXSIZE_T offset);
VX_EXPORT bool vxIsAlpha(const char* p);
VX_EXPORT bool vxIsAlpha(const char* base, VXSIZE_T offset);
VX_EXPORT bool vxIsAlphaNumeric(const char* p);
VX_EXPORT bool vxIsAlphaNumeric(const char* base, VXSIZE_T offset);

// First character at or after p that is not white space (the terminating
// NUL at the latest). A null p gives null.
VX_EXPORT char* vxSkipBlanks(const char* p, vxCPType cp = VX_CP_LOCALE);
VX_EXPORT VXSIZE_T vxSkipBlanks(const char* base, VXSIZE_T offset, vxCPType cp = VX_CP_LOCALE);

// True when the byte at p equals ch and p is not the second byte of a
// two-byte character that starts at or after start.
VX_EXPORT bool vxStrSBCSChar(const char* start, const char* p, char ch);
VX_EXPORT bool vxStrSBCSChar(const char* base, VXSIZE_T offset, char ch);

// The runtime's atoi.
VX_EXPORT int vxAtoi(const char* s);
VX_EXPORT int vxAtoi(const char* base, VXSIZE_T offset);

#include "foundation/cntdblib.h"
#include "foundation/vxcase.h"
#include "foundation/vxstr.h"

#endif  // VX_FOUNDATION_VXDBCS_H_
