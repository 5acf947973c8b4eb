// XPstTagWriter: writes the lines of an XML document into an XPstTempData,
// and the escaping of character data.
//
// A tag line is: `indent` blanks, "<", the element name, then for each
// attribute a blank, its name, "=", and its value in double quotes, then
// "/" for an empty element, ">", and a newline when asked for. Names and
// attribute values are written as given: callers pass XML names and values
// that need no escaping. Element content goes through setTagData, which
// escapes it.
//
// Escaping (XPstEscapeText) takes valid UTF-8 and makes it safe as element
// content: "&" becomes "&amp;", "<" "&lt;", ">" "&gt;", "'" "&apos;" and
// the double quote "&quot;"; a carriage return becomes "&#13;" so that it
// survives a parser's line-end handling; the other control characters
// below 0x20 (except tab and line feed) and the non-characters U+FFFE and
// U+FFFF, which no XML document may hold, become U+FFFD. The escaped
// length is counted first so that the output is allocated once.
//
// Failure: the first failed write files error 1018 and marks the writer
// failed; from then on every call returns 1 and writes nothing.
// Thread-safety: none; one document at a time.
#ifndef VX_XML_BASEXML_H_
#define VX_XML_BASEXML_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"
#include "xml/XPstTempData.h"

// One attribute of a tag: name and value, both written as they are.
struct XPstAttribute {
  const char* name;
  const char* value;
};

// Bytes XPstEscapeText writes for n bytes of UTF-8 text.
VX_EXPORT VXSIZE_T XPstEscapedLength(const char* text, VXSIZE_T n);
// Writes the escaped form of n bytes of UTF-8 text to `out`, which holds
// XPstEscapedLength(text, n) bytes; returns that count.
VX_EXPORT VXSIZE_T XPstEscapeText(char* out, const char* text, VXSIZE_T n);

class VX_EXPORT XPstTagWriter : public VxObject {
 public:
  XPstTagWriter() = default;
  ~XPstTagWriter() override;
  XPstTagWriter(const XPstTagWriter&) = delete;
  XPstTagWriter& operator=(const XPstTagWriter&) = delete;

  // The piece the following calls write into (not owned).
  void setTarget(XPstTempData* target) { target_ = target; }

  uint16_t startTag(VXSIZE_T indent, const char* name, const XPstAttribute* attributes,
                    uint16_t count, bool empty, bool newline);
  uint16_t endTag(VXSIZE_T indent, const char* name, bool newline);
  // Writes n bytes of UTF-8 text, escaped.
  uint16_t setTagData(const char* text, VXSIZE_T n);
  // Writes text that needs no escaping (numbers, dates, the head).
  uint16_t writeRaw(const char* text, VXSIZE_T n);

  bool hasFailed() const { return failed_; }

 private:
  // Files 1018 once and marks the writer failed when status is non-zero.
  uint16_t check(uint16_t status);

  XPstTempData* target_ = nullptr;
  char* scratch_ = nullptr;  // escaped text, grown to the largest value
  VXSIZE_T scratchSize_ = 0;
  bool failed_ = false;
};

#endif  // VX_XML_BASEXML_H_
