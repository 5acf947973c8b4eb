// Byte-string functions that know multibyte characters: copying with and
// without quotes, comparison (bytewise, case-insensitive, locale collation,
// blank-padded), searching, the SQL LIKE matcher, right trimming and small
// predicates.
//
// Strings are NUL-terminated, or counted by a 64-bit byte length where a
// length is passed. Functions that step over characters take a vxCPType
// (see foundation/vxdbcs.h for the sizes and the lead-byte rule).
//
// Contract: nothing here checks its pointers or reports errors; a null
// where a string is required is the caller's fault. Comparisons return -1,
// 0 or 1 unless a declaration says otherwise; "unsigned" means bytes compare
// as values 0-255. Searches return null when nothing is found. Everything is
// re-entrant; the locale-dependent functions read the calling thread's
// locale.
#ifndef VX_FOUNDATION_VXSTR_H_
#define VX_FOUNDATION_VXSTR_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// ---------------------------------------------------------------------------
// Copying and concatenation

// BUTSTCPY / BUTSTCAT / BUTSTLEN: the first two return a pointer to the
// final NUL in dst.
VX_EXPORT char* strCopy(char* dst, const char* src);
VX_EXPORT char* strCat(char* dst, const char* src);
VX_EXPORT VXSIZE_T strLen(const char* s);
// Copies exactly n bytes, adds a NUL and returns a pointer to it.
VX_EXPORT char* strCopy(char* dst, const char* src, VXSIZE_T n);
// Copies at most size-1 bytes, stopping after the source's NUL, and always
// writes a NUL at dst[size-1]. size must be at least 1. Returns dst.
VX_EXPORT char* strCopy(char* dst, VXSIZE_T size, const char* src);

// Writes quote, the n bytes of src character by character with every
// single-byte character equal to quote written twice (a character that
// would pass n is dropped), the closing quote and a NUL. Returns a pointer
// just past the NUL. dst needs room for 2n+3 bytes.
VX_EXPORT char* strCopyQuoted(char* dst, const char* src, VXSIZE_T n, vxCPType cp, char quote);
VX_EXPORT char* strCopyQuoted(char* dst, const char* src, vxCPType cp, char quote);
// The same, appended at the NUL of dst.
VX_EXPORT char* strCatQuoted(char* dst, const char* src, VXSIZE_T n, vxCPType cp, char quote);
VX_EXPORT char* strCatQuoted(char* dst, const char* src, vxCPType cp, char quote);

// src[0] is the quote. The n-2 bytes between the first and the last byte
// are copied with every doubled quote reduced to one (a lead byte and its
// trail byte are copied together); the last byte is assumed to be the
// closing quote and is not looked at. Writes a NUL and returns a pointer to
// it. With n below 2 dst becomes empty.
VX_EXPORT char* strCopyUnquoted(char* dst, const char* src, VXSIZE_T n);

// In place: when n >= 2, the first byte and the last character are quote
// and every quote inside is doubled, drops the outer quotes and reduces
// each doubled quote to one, returning the new length. Otherwise (an inner
// quote that is undoubled or is the second-last byte, say) s is left as it
// is and n is returned. The NUL-terminated form writes a NUL at the new
// length and returns s.
VX_EXPORT VXSIZE_T strRemoveQuotes(char* s, VXSIZE_T n, char quote, vxCPType cp = VX_CP_LOCALE);
VX_EXPORT char* strRemoveQuotes(char* s, char quote, vxCPType cp = VX_CP_LOCALE);

// ---------------------------------------------------------------------------
// Comparison

// BUTSTCMP (strcmp narrowed to 16 bits): only the sign is meaningful.
VX_EXPORT int16_t strCompare(const char* a, const char* b);
// Unsigned bytes over the shorter length; if equal there, the shorter
// string is smaller.
VX_EXPORT int16_t strCompare(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb);
VX_EXPORT bool strEqual(const char* a, const char* b);
VX_EXPORT bool strEqual(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb);

// Case-insensitive walk: at a lead byte of a the two bytes are compared
// exactly; otherwise equal bytes pass and unequal ones are compared after
// upper-casing each as a one-character string with strUpper. Only a is
// tested for lead bytes (intended). The counted form compares up to the
// shorter length and then orders by length.
VX_EXPORT int16_t strCompareCi(const char* a, const char* b);
VX_EXPORT int16_t strCompareCi(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb);
// The same walk answering equal or not; the counted form is false at once
// when the lengths differ.
VX_EXPORT bool strEqualCi(const char* a, const char* b);
VX_EXPORT bool strEqualCi(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb);

// Unsigned over the common length; when equal there, the longer string is
// equal if its rest is only blanks (0x20), else greater. "AB" equals "AB  ".
VX_EXPORT int16_t strComparePad(const char* a, const char* b);

// strncmp narrowed to 16 bits: only the sign is meaningful.
VX_EXPORT int16_t strCompareWithMaxLength(const char* a, const char* b, VXSIZE_T n);

// strcoll (the locale's collation) narrowed to 16 bits. The counted forms
// copy each argument into a NUL-terminated buffer first (on the stack up to
// 512 bytes, on the heap above; the heap copy is not checked).
VX_EXPORT int16_t strCompareIntl(const char* a, const char* b);
VX_EXPORT int16_t strCompareIntl(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb);
// Despite the name this is the same strcoll comparison, NOT case-insensitive;
// callers rely on that, so it stays.
VX_EXPORT int16_t strCompareCiIntl(const char* a, const char* b);
VX_EXPORT int16_t strCompareCiIntl(const char* a, VXSIZE_T na, const char* b, VXSIZE_T nb);

// Orders two 8-byte values stored most significant byte first in
// sign-and-magnitude form (sign: bit 7 of byte 0), such as big-endian IEEE
// doubles: the value with the sign set is smaller; with equal signs the
// first differing byte decides, reversed when both are negative.
VX_EXPORT int16_t floatCompare(const void* a, const void* b);

// When the character at b begins with a lead byte, both of its bytes must
// equal a's. Otherwise the first bytes are compared; when caseSensitive is
// 0 they are also compared after strUpper.
VX_EXPORT bool isCharEqual(const char* a, const char* b, int16_t caseSensitive);

// ---------------------------------------------------------------------------
// Searching

// Option argument of the optioned strFind; whatever its value, that form
// searches from the end (intended).
enum strFindOptions { STRFIND_FIRST = 0, STRFIND_LAST = 1 };

// First character of s whose first byte equals ch, stepping by characters.
VX_EXPORT char* strFind(const char* s, char ch, vxCPType cp = VX_CP_LOCALE);
// The same, stepping two bytes at a lead byte and one otherwise.
VX_EXPORT char* strFindAnsi(const char* s, char ch);
// Last such character.
VX_EXPORT char* strFindReverse(const char* s, char ch, vxCPType cp = VX_CP_LOCALE);
// Behaves as strFindReverse for every value of options (intended).
VX_EXPORT char* strFind(const char* s, char ch, strFindOptions options, vxCPType cp = VX_CP_LOCALE);
// First character position of s where the bytes of pat follow; an empty
// pattern, or one longer than the text, finds nothing.
VX_EXPORT char* strFind(const char* s, VXSIZE_T ns, const char* pat, VXSIZE_T np,
                        vxCPType cp = VX_CP_LOCALE);
VX_EXPORT char* strFind(const char* s, const char* pat, vxCPType cp = VX_CP_LOCALE);
// First ch outside quoted stretches: a byte equal to q1, q2 or q3 opens a
// stretch that the same byte closes.
VX_EXPORT char* strFind(const char* s, char ch, char q1, char q2, char q3,
                        vxCPType cp = VX_CP_LOCALE);

// strFind on upper-cased heap copies of both (strUpper); the result points
// into s. Null also when a copy cannot be allocated.
VX_EXPORT char* strFindCi(const char* s, VXSIZE_T ns, const char* pat, VXSIZE_T np,
                          vxCPType cp = VX_CP_LOCALE);
VX_EXPORT char* strFindCi(const char* s, const char* pat, vxCPType cp = VX_CP_LOCALE);
// Pattern given in both cases (np bytes each): at each character start
// (every byte for VX_CP_BYTES) a match is made when each pattern position
// equals the upper or the lower pattern's byte there; multibyte characters
// of s are skipped whole.
VX_EXPORT char* strFindCi(const char* s, VXSIZE_T ns, const char* upper, const char* lower,
                          VXSIZE_T np, vxCPType cp = VX_CP_LOCALE);

// Character classes of strContains / strDoesNotContain, combined as bits.
enum strCharClass : uint16_t {
  STR_CLASS_LOWER = 1,  // a to z
  STR_CLASS_UPPER = 2,  // A to Z
  STR_CLASS_DIGIT = 4   // 0 to 9
};

// True when every character of the first n bytes of s is one of the
// characters of extra (null for none) or in one of the chosen classes.
VX_EXPORT bool strContains(const char* s, VXSIZE_T n, const char* extra, uint16_t classes,
                           vxCPType cp = VX_CP_LOCALE);
// True when no character of the first n bytes is.
VX_EXPORT bool strDoesNotContain(const char* s, VXSIZE_T n, const char* extra, uint16_t classes,
                                 vxCPType cp = VX_CP_LOCALE);

// ---------------------------------------------------------------------------
// LIKE matching

// SQL LIKE of text against pattern. anySeq (e.g. '%') matches any run of
// characters, anyChar (e.g. '_') one character, and escape makes the next
// pattern character literal (pass a byte that never occurs, such as 0, for
// none). caseSensitive 0 folds case; trailingBlanksSignificant 0 first cuts
// trailing white space off both. The rules are spelled out in strlike.cpp.
VX_EXPORT bool strLike(const char* text, VXSIZE_T textLength, const char* pattern,
                       VXSIZE_T patternLength, char anySeq, char anyChar, char escape,
                       int16_t caseSensitive, int16_t trailingBlanksSignificant,
                       vxCPType cp = VX_CP_LOCALE);
VX_EXPORT bool strLike(const char* text, const char* pattern, char anySeq, char anyChar,
                       char escape, int16_t caseSensitive, int16_t trailingBlanksSignificant,
                       vxCPType cp = VX_CP_LOCALE);

// ---------------------------------------------------------------------------
// Trimming

// Offset just past the last character of the first n bytes that is not
// white space (vxIsWhiteSpace); 0 when all are white space.
VX_EXPORT VXSIZE_T strRightTrim(const char* s, VXSIZE_T n, vxCPType cp);
// The same for the NUL-terminated s, cut in place with a NUL; returns the
// new length.
VX_EXPORT VXSIZE_T strRightTrim(char* s, vxCPType cp = VX_CP_LOCALE);
// As strRightTrim, with only the blank (0x20) trimmable.
VX_EXPORT VXSIZE_T strRightTrimBlanks(const char* s, VXSIZE_T n, vxCPType cp);
VX_EXPORT VXSIZE_T strRightTrimBlanks(char* s, vxCPType cp = VX_CP_LOCALE);

// ---------------------------------------------------------------------------
// Small predicates

// True when s begins with the digit 1, with T or t, or with ON in any case.
// Y and YES are not true (intended).
VX_EXPORT bool isTrueStr(const char* s);

#endif  // VX_FOUNDATION_VXSTR_H_
