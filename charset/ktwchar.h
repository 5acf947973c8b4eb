// Conversions between code pages, UTF-8 and UTF-16 over caller buffers.
//
// Every conversion works on already-opened ICU converters and returns a
// VxConvertReturn; none of these functions files an error record (a caller
// that wants one passes the result to checkKTreturn). All lengths are
// signed 64-bit; where a UTF-8 or UTF-16 length is taken, -3 (the ODBC
// null-terminated marker) and -1 both mean "up to the terminating 0".
//
// Each bulk conversion comes in two forms:
// - the consumed form (with a bytes-consumed output) converts as much as
//   fits, reports the bytes (or units) written and the input used, and
//   returns 1 when the output was too small. Truncated output ends at a
//   character boundary and consumed names where to resume;
// - the required-length form (without it) keeps one place back for the
//   terminator and stores in *written the full length the whole input
//   needs, even when only part of it fitted.
// A terminating 0 is written behind the output whenever room remains.
//
// The functions are re-entrant given distinct converters; a converter is
// used by one thread at a time.
#ifndef VX_CHARSET_KTWCHAR_H_
#define VX_CHARSET_KTWCHAR_H_

#include <unicode/ucnv.h>
#include <unicode/utypes.h>

#include <cstdint>

#include "foundation/vxexport.h"

// Result of every kt conversion.
enum VxConvertReturn : int {
  VX_CONVERT_OK = 0,
  VX_CONVERT_TRUNCATED = 1,      // the destination was too small
  VX_CONVERT_SUBSTITUTED = 2,    // a character had no mapping and was replaced
  VX_CONVERT_UNUSED = 3,         // never produced; treated like a failure
  VX_CONVERT_FAILED = 4,         // bad argument, allocation failure, other ICU errors
  VX_CONVERT_TABLE_INVALID = 5,  // the conversion table is not valid
  VX_CONVERT_NOT_FOUND = 6       // the converter's data was not found
};

// The ODBC marker for a null-terminated text, accepted as a length.
constexpr int64_t kVxNullTerminated = -3;

// Code page (through source) to UTF-8 (through utf8).
VX_EXPORT VxConvertReturn ktAnsiToUTF8(char* out, int64_t capacity, const char* in, int64_t length,
                                       int64_t* written, int64_t* consumed, UConverter* source,
                                       UConverter* utf8);
VX_EXPORT VxConvertReturn ktAnsiToUTF8(char* out, int64_t capacity, const char* in, int64_t length,
                                       int64_t* written, UConverter* source, UConverter* utf8);
// UTF-8 (through utf8) to a code page (through target).
VX_EXPORT VxConvertReturn ktUTF8ToAnsi(char* out, int64_t capacity, const char* in, int64_t length,
                                       int64_t* written, int64_t* consumed, UConverter* target,
                                       UConverter* utf8);
VX_EXPORT VxConvertReturn ktUTF8ToAnsi(char* out, int64_t capacity, const char* in, int64_t length,
                                       int64_t* written, UConverter* target, UConverter* utf8);
// Any code page to any other.
VX_EXPORT VxConvertReturn ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                                     int64_t* written, int64_t* consumed, UConverter* source,
                                     UConverter* target);
VX_EXPORT VxConvertReturn ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                                     int64_t* written, UConverter* source, UConverter* target);
// UTF-16 (length and consumed in units; swap: the input is byte-swapped,
// it is read through a swapped copy) to a code page.
VX_EXPORT VxConvertReturn ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in,
                                       int64_t length, int64_t* written, int64_t* consumed,
                                       UConverter* target, int swap);
VX_EXPORT VxConvertReturn ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in,
                                       int64_t length, int64_t* written, UConverter* target,
                                       int swap);
// A code page to UTF-16 (capacity and written in units; swap: the output
// is byte-swapped).
VX_EXPORT VxConvertReturn ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in,
                                       int64_t length, int64_t* written, int64_t* consumed,
                                       UConverter* source, int swap);
VX_EXPORT VxConvertReturn ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in,
                                       int64_t length, int64_t* written, UConverter* source,
                                       int swap);

// UTF-16 to UTF-8 without a converter. With swap and a length of at least
// 1 the caller's input is swapped in place first and stays swapped. A lone
// surrogate fails (4). Output exactly filling the capacity gives 1 (no
// room for the terminator); *written is the length ICU reports.
VX_EXPORT VxConvertReturn ktUTF16ToUTF8(char* out, int64_t capacity, UChar* in, int64_t length,
                                        int64_t* written, int swap);
// As ktUTF16ToUTF8, but one byte is always kept for the terminator and
// *written is the full required length.
VX_EXPORT VxConvertReturn ktUTF16ToUTF8ReqLen(char* out, int64_t capacity, UChar* in,
                                              int64_t length, int64_t* written, int swap);
// UTF-8 to UTF-16 without a converter; with swap the units written are
// swapped afterwards. Invalid UTF-8 fails (4).
VX_EXPORT VxConvertReturn ktUTF8ToUTF16(UChar* out, int64_t capacity, const char* in,
                                        int64_t length, int64_t* written, int swap);
VX_EXPORT VxConvertReturn ktUTF8ToUTF16ReqLen(UChar* out, int64_t capacity, const char* in,
                                              int64_t length, int64_t* written, int swap);

// Largest bytes per character of a converter; for a code-page number a
// converter is opened and closed for the question (0 if it cannot be).
VX_EXPORT int ktMaxCharSize(UConverter* converter);
VX_EXPORT int ktMaxCharSize(int64_t codePage);
// 1 if ICU can open a converter for the code-page number, else 0.
VX_EXPORT int VerifyCodePage(int64_t codePage);

// Units before the terminating 0; 0 for null.
VX_EXPORT int64_t ktUCS2Len(const UChar* s);
// Swaps the bytes of count units; destination may equal source.
VX_EXPORT void ktUCS2Swap(UChar* destination, const UChar* source, int64_t count);
// Byte length of s by strLen, or the given length as it is (the handle is
// ignored).
VX_EXPORT int64_t ktUnicodeLen(const char* s);
VX_EXPORT int64_t ktUnicodeLen(const char* s, int64_t length);
VX_EXPORT int64_t ktAsciiLenOfUnicodeStr(const char* s);
VX_EXPORT int64_t ktAsciiLenOfUnicodeStr(UConverter* ignored, const char* s);
VX_EXPORT int64_t ktAsciiLenOfUnicodeStr(UConverter* ignored, const char* s, int64_t length);
// Copies the bytes of source (no terminator) into destination; the number
// of bytes copied, 0 for a null destination or an empty source.
VX_EXPORT int64_t ktUnicodeCopy(char* destination, const char* source);
// A zero-filled heap copy (malloc) of s with two terminating bytes; null
// on allocation failure or a null s.
VX_EXPORT char* ktUnicodeDup(const char* s);

// Writes code point cp as 1 to 4 UTF-8 bytes at p (no upper bound check)
// and returns the position behind them.
VX_EXPORT char* ktAppendUTF8(char* p, uint32_t cp);
// Upper-cases UTF-8 text in place (to its terminating 0, or length bytes).
VX_EXPORT void ktUTF8Upper(char* s);
VX_EXPORT void ktUTF8Upper(char* s, int64_t length);
// The UTF-16 form of cp packed in 32 bits: the unit itself below 0x10000,
// else the high surrogate in the low half and the low one in the high
// half; 0 above 0x10FFFF.
VX_EXPORT uint32_t UTF16CharFromUTF8Char(uint32_t cp);
// The UTF-8 bytes of cp packed into 32 bits in memory order.
VX_EXPORT uint32_t UTF8CharFromUTF16Char(uint32_t cp);

// The length when result is 0 to 3, else 0.
VX_EXPORT int64_t setConversionReturnLength(VxConvertReturn result, int64_t length);
// The VxConvertReturn of an ICU error code.
VX_EXPORT VxConvertReturn mapICUreturn(UErrorCode code);
// Files the record that belongs to a result (warnings 2735 and 2736,
// errors 2737 to 2739); 0 to go on (success or warning), 1 on an error.
VX_EXPORT unsigned checkKTreturn(VxConvertReturn result);
// The same straight from an ICU code. ICU's negative warning codes count
// as failures here (error 2737), unlike in mapICUreturn.
VX_EXPORT unsigned checkICUreturn(UErrorCode code);

// Kept for callers written against the Windows calls of these names:
// there is no OEM code page here, so both do nothing at all, not even copy.
VX_EXPORT void AnsiToOem(char* destination, const char* source);
VX_EXPORT void OemToAnsi(char* destination, const char* source);

#endif  // VX_CHARSET_KTWCHAR_H_
