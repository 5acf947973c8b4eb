// XPstTempData: one growing piece of an XML document (the schema, or the
// rows), kept apart until the writer joins the pieces into the output.
//
// The bytes live in memory, in a string that doubles its room when it must
// grow, so appending n bytes costs O(n) amortised. writeTo copies them to
// an open file in pieces the file layer accepts.
//
// Failure: append returns 1, with error 1503 filed, when memory is short
// (what was appended before stays); writeTo returns 1 with the file layer's
// error. Thread-safety: none; one writer uses it at a time.
#ifndef VX_XML_XPSTTEMPDATA_H_
#define VX_XML_XPSTTEMPDATA_H_

#include <cstdint>

#include "containers/vxstring.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VX_EXPORT XPstTempData : public VxObject {
 public:
  XPstTempData() : bytes_(VX_CP_UTF8) {}
  XPstTempData(const XPstTempData&) = delete;
  XPstTempData& operator=(const XPstTempData&) = delete;

  // Appends n bytes.
  uint16_t append(const char* data, VXSIZE_T n);
  uint16_t append(const char* text);
  // Appends `count` blanks.
  uint16_t appendBlanks(VXSIZE_T count);

  VXSIZE_T getLength() const { return bytes_.getLength(); }
  const char* getData() const { return bytes_.asPascalStr(); }
  // Forgets the bytes (keeps the room).
  void clear() { bytes_.clear(); }
  // Writes every byte to the open file `handle` at its current position.
  uint16_t writeTo(int handle) const;

 private:
  // Makes room for n more bytes, at least doubling the room when it grows.
  uint16_t reserve(VXSIZE_T n);

  VxString bytes_;
};

#endif  // VX_XML_XPSTTEMPDATA_H_
