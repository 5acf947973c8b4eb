// XPstTempData: one growing piece of an XML document (the schema, or the
// rows), kept apart until the writer joins the pieces into the output.
//
// Appended bytes collect in a 64 KB buffer; each full buffer moves into a
// temporary store (VxTmpFile), whose small cache spills to a temporary
// disk file, so a large result set does not stay in memory. A store spans
// at most 128 MB; the piece then continues in another one. writeTo copies
// the stores in order, then the buffer, to an open file in pieces the file
// layer accepts.
//
// Failure: append returns 1 with the error record of the allocation (1503)
// or of the store (2714, 2715, the file layer's records); writeTo returns 1
// with the file layer's or the store's record. Thread-safety: none; one
// writer uses it at a time.
#ifndef VX_XML_XPSTTEMPDATA_H_
#define VX_XML_XPSTTEMPDATA_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VxTmpFile;

class VX_EXPORT XPstTempData : public VxObject {
 public:
  XPstTempData() = default;
  ~XPstTempData() override;
  XPstTempData(const XPstTempData&) = delete;
  XPstTempData& operator=(const XPstTempData&) = delete;

  // Appends n bytes.
  uint16_t append(const char* data, VXSIZE_T n);
  uint16_t append(const char* text);
  // Appends `count` blanks.
  uint16_t appendBlanks(VXSIZE_T count);

  // Bytes appended so far.
  VXSIZE_T getLength() const { return storedBytes_ + buffered_; }
  // Writes every byte to the open file `handle` at its current position.
  uint16_t writeTo(int handle);

 private:
  // Moves the full buffer into the last store, starting a store when
  // there is none or the last one is full.
  uint16_t spill();

  // The stores in order, each filled before the next is started.
  VxTmpFile** stores_ = nullptr;
  uint32_t storeCount_ = 0;
  VXSIZE_T lastStoreBytes_ = 0;  // bytes in the last store
  VXSIZE_T storedBytes_ = 0;     // bytes in all stores
  char* buffer_ = nullptr;       // kBufferSize bytes once the first byte came
  VXSIZE_T buffered_ = 0;
};

#endif  // VX_XML_XPSTTEMPDATA_H_
