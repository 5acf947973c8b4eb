// XPstConverter: brings a column's character data to UTF-8, and the text
// forms of the other values of a record.
//
// Character data arrives either in the application's code page (an ICU
// converter name given when the converter is opened; none, or a UTF-8
// name, means UTF-8) or as UTF-16. Valid UTF-8 is passed through without a
// copy; anything else goes through a CharacterConverter, and bytes or
// units that do not form a character become a substitute, so the result
// is always valid UTF-8.
//
// Ownership: the object owns its CharacterConverter and a scratch buffer;
// a result points into that buffer (or into the input) and stays valid
// until the next call. Thread-safety: none; one writer uses it.
//
// Failure: open files error 2739 with the code-page name when ICU knows no
// such converter; conversions return 1 with the converter's error record,
// or 1503 when memory is short.
#ifndef VX_XML_XPSTCONVERT_H_
#define VX_XML_XPSTCONVERT_H_

#include <cstdint>

#include "charset/charconv.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VX_EXPORT XPstConverter : public VxObject {
 public:
  XPstConverter();
  ~XPstConverter() override;
  XPstConverter(const XPstConverter&) = delete;
  XPstConverter& operator=(const XPstConverter&) = delete;

  // Selects the application code page; null or "UTF-8" (any ICU alias of
  // it) keeps text as UTF-8.
  uint16_t open(const char* codePage);
  // n bytes of application text as UTF-8.
  uint16_t fromApplication(const char* text, VXSIZE_T n, const char** out, VXSIZE_T* outLength);
  // n UTF-16 units as UTF-8.
  uint16_t fromUtf16(const uint16_t* units, VXSIZE_T n, const char** out, VXSIZE_T* outLength);

 private:
  // Makes the scratch buffer hold at least n bytes.
  uint16_t reserve(VXSIZE_T n);
  // n bytes in the code page named `from` as UTF-8 in the scratch buffer.
  uint16_t convert(const char* in, VXSIZE_T n, const char* from, const char** out,
                   VXSIZE_T* outLength);

  CharacterConverter converter_;
  char* codePage_;  // the application code page's name; null: UTF-8
  char* scratch_ = nullptr;
  VXSIZE_T scratchSize_ = 0;
};

// True when the n bytes are well-formed UTF-8 (no overlong forms, no
// surrogates, nothing above U+10FFFF).
VX_EXPORT bool XPstIsValidUtf8(const char* text, VXSIZE_T n);

// Text forms of record values; each writes into `out` and returns the
// length. Dates "%04d-%02d-%02d", times "%02d:%02d:%02d", time stamps
// "%04d-%02d-%02dT%02d:%02d:%02d" (fractions of a second are not written):
// `out` holds at least 64 bytes. Numbers: `out` holds at least 32 bytes;
// a double is written in its shortest form that reads back exactly, with
// "NaN", "INF" and "-INF" for the special values.
VX_EXPORT VXSIZE_T XPstFormatDate(char* out, int year, int month, int day);
VX_EXPORT VXSIZE_T XPstFormatTime(char* out, int hour, int minute, int second);
VX_EXPORT VXSIZE_T XPstFormatTimestamp(char* out, int year, int month, int day, int hour,
                                       int minute, int second);
VX_EXPORT VXSIZE_T XPstFormatSigned(char* out, int64_t value);
VX_EXPORT VXSIZE_T XPstFormatUnsigned(char* out, uint64_t value);
VX_EXPORT VXSIZE_T XPstFormatDouble(char* out, double value);
VX_EXPORT VXSIZE_T XPstFormatFloat(char* out, float value);

#endif  // VX_XML_XPSTCONVERT_H_
