// convert: the library's conversions between integers and decimal text.
//
// One overloaded free function, `convert`, in three families:
//   - number to text: plain decimal, or a fixed-width field;
//   - text to number: NUL-terminated text, for every integer width;
//   - counted text to number: the same, from `length` bytes that need not
//     be NUL-terminated.
// `convertFloat` writes a double as text.
//
// Failure: a text-to-number form returns 1, leaves its target untouched and
// files one record in the calling thread's error list: 2701 when the value
// is out of the target's range, 2702 when the text holds a character that
// is not part of a number. The offending text is the record's parameter.
// Number-to-text forms cannot fail. No conversion allocates memory.
//
// Thread-safety: every function is reentrant; each works only on the
// caller's buffers.
#ifndef VX_VALUES_CONVERT_H_
#define VX_VALUES_CONVERT_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// ---- Number to text ----------------------------------------------------
// Each writes NUL-terminated text and returns the count of characters
// written before the NUL. The buffer must hold the text and its NUL: 21
// bytes are always enough for the plain forms, width + 1 for the fields.

// Every decimal digit of value, most significant first; 0 gives "0".
VX_EXPORT uint16_t convert(char* buffer, VXSIZE_T value);

// As above with a leading "-" for a negative value; the count includes it.
VX_EXPORT uint16_t convert(char* buffer, VXSSIZE_T value);

// A field of exactly `width` blanks-or-digits followed by a NUL. At most the
// last 10 positions (right-justified) or the first 10 (leftJustify) carry
// digits. Returns the count of digits written. A value too long for the
// field fills it with "*" except its last byte and returns 0. Deliberate:
// a value of 0 writes no digit, so the field stays blank and 0 is returned.
VX_EXPORT uint16_t convert(char* buffer, uint16_t width, VXSIZE_T value, bool leftJustify);

// The signed field: a negative value's magnitude goes into the field one
// byte shorter that starts one byte later, and "-" into the first byte
// (leftJustify) or just before the first digit. The count excludes the "-".
VX_EXPORT uint16_t convert(char* buffer, uint16_t width, VXSSIZE_T value, bool leftJustify);

// ---- Text to number ----------------------------------------------------
// Each returns 0 and stores the value on success, 1 on failure (2701/2702
// filed, target untouched). Leading white space and "+" signs are skipped
// in any mix, trailing white space is allowed. Deliberate: a text with no
// digits at all (empty, blanks, "+") converts to 0 successfully.

VX_EXPORT unsigned convert(const char* text, VXSIZE_T* target);
// -9223372036854775808 .. 9223372036854775807; one optional leading "-".
VX_EXPORT unsigned convert(const char* text, VXSSIZE_T* target);
// Deliberate: accepts only -2147483647 .. 2147483647 ("-2147483648" gives
// 2701), and a second leading "-" cancels the first ("--5" is 5).
VX_EXPORT unsigned convert(const char* text, int32_t* target);
// A leading "-" gives 2702. A null target stores nothing and still
// reports success when the text is a valid number.
VX_EXPORT unsigned convert(const char* text, uint32_t* target);
VX_EXPORT unsigned convert(const char* text, uint16_t* target);
VX_EXPORT unsigned convert(const char* text, int16_t* target);
VX_EXPORT unsigned convert(const char* text, uint8_t* target);
VX_EXPORT unsigned convert(const char* text, int8_t* target);

// Counted forms: exactly `length` bytes of text, copied into a local buffer
// of 88 bytes and NUL-terminated there (so an embedded NUL ends the text).
// A length above 87 does not fit: it fails with 2701.
VX_EXPORT unsigned convert(const char* text, VXSIZE_T length, uint16_t* target);
VX_EXPORT unsigned convert(const char* text, VXSIZE_T length, int32_t* target);
VX_EXPORT unsigned convert(const char* text, VXSIZE_T length, uint32_t* target);
VX_EXPORT unsigned convert(const char* text, VXSIZE_T length, VXSSIZE_T* target);
VX_EXPORT unsigned convert(const char* text, VXSIZE_T length, VXSIZE_T* target);

// ---- Floating point ----------------------------------------------------
// Writes value with 7 significant digits (singlePrecision non-zero) or 15,
// in plain form when that is at most digits + 2 characters long, otherwise
// in exponent form ("1.5E20", "-2E-9"). A value below 1 has no "0" before
// its point (".25"); infinities and NaN are written "inf", "-inf", "nan".
// Returns the count of characters written; the buffer needs 24 bytes.
// Deliberate: no NUL is written after the text; callers use the returned
// count.
VX_EXPORT uint16_t convertFloat(char* buffer, double value, int singlePrecision);

#endif  // VX_VALUES_CONVERT_H_
