// UTF-8 and UTF-16 conversions with ICU's calling convention and moving
// pointers, for callers that use them in place of u_strFromUTF8 and
// u_strToUTF8 without a converter.
//
// Arguments: an in/out destination pointer, its capacity, an out required
// length, an in/out source pointer, the source length (-1: up to a 0) and
// an ICU error code. A code that already holds a failure returns null at
// once; bad arguments give U_ILLEGAL_ARGUMENT_ERROR and null. What does not
// fit is only counted; the required length is always stored, the output is
// terminated as ICU's u_terminateUChars / u_terminateChars do (which set the
// overflow or not-terminated codes), and the moved pointers are stored
// back. The result is the destination's start. Invalid input sets
// U_INVALID_CHAR_FOUND and returns null with the pointers unmoved, except
// that UTF-8 cut off at the source's end gives U_TRUNCATED_CHAR_FOUND with
// the source pointer at the start of the incomplete sequence.
#ifndef VX_CHARSET_UCNVCONV_H_
#define VX_CHARSET_UCNVCONV_H_

#include <unicode/utypes.h>

#include <cstdint>

#include "foundation/vxexport.h"

VX_EXPORT UChar* ConvUTF8ToUTF16(UChar** destination, int32_t capacity, int32_t* required,
                                 const char** source, int32_t length, UErrorCode* status);
VX_EXPORT char* ConvUTF16ToUTF8(char** destination, int32_t capacity, int32_t* required,
                                const UChar** source, int32_t length, UErrorCode* status);
// Writes code point cp as UTF-8 at p and returns the position behind it.
// Values below 0x800 always take two bytes (callers pass only values above
// 0x7F) and negative values take the four-byte form: both intended.
VX_EXPORT char* Append_UTF8(char* p, int32_t cp);

#endif  // VX_CHARSET_UCNVCONV_H_
