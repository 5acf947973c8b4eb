// XPstNorvikPersist: the recordset flavour of the XML writer.
//
// It writes the two document shapes. Inline: a root `table` declaring the
// 1999 XML Schema namespace as default, `xsi`, and `rs` plus the target
// namespace for XPST_RECORDSET_NAMESPACE; inside it the `schema` (types
// tableType, dataType and recordType), then `data` (indented four blanks)
// with the `record` elements. With a schema file: a schema document with
// tableType made of `record` elements, and a data document whose root
// `table` (default namespace: the recordset namespace) holds the records.
//
// Column declarations (in recordType), by SQL type: CHAR/WCHAR a
// simpleType of base "string" with a `length` facet; VARCHAR/WVARCHAR the
// same with `maxLength`; LONGVARCHAR/WLONGVARCHAR type "string"; BIT
// "boolean"; TINYINT, SMALLINT, INTEGER, BIGINT "byte", "short", "int",
// "long" (or their unsigned forms); NUMERIC/DECIMAL base "decimal" with
// `precision` and `scale`; REAL "float"; FLOAT/DOUBLE "double";
// BINARY/VARBINARY/LONGVARBINARY base "binary" with `encoding` "hex" and a
// `length` (BINARY) or `maxLength` (VARBINARY) facet; DATE, TIME,
// TIMESTAMP "date", "time", "timeInstant". Every other type has no
// declaration (error 1023). The value forms are those of xml/XPst.h.
//
// Failure and threads: as XPstPersist. A row with an invalid length (below
// -1 other than SQL_NTS, for character or binary data) files 2709 and is
// not written; the document goes on.
#ifndef VX_XML_XPSTNORVIKPERSIST_H_
#define VX_XML_XPSTNORVIKPERSIST_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "xml/XPstPersist.h"

class VX_EXPORT XPstNorvikPersist : public XPstPersist {
 public:
  XPstNorvikPersist() = default;
  ~XPstNorvikPersist() override;

 protected:
  bool supportsColumn(const XPstColumn& column) const override;
  uint16_t writeSchema() override;
  uint16_t checkRow(const void* const* values, const int64_t* lengths) const override;
  uint16_t writeRecord(const void* const* values, const int64_t* lengths) override;
  uint16_t writeDataHead(XPstTempData& head) override;
  uint16_t writeDataTail(XPstTempData& tail) override;

 private:
  uint16_t writeSchemaTypes(uint32_t indent);
  uint16_t declareColumn(const XPstColumn& column, uint32_t indent);
  uint16_t buildElementTags(uint32_t indent);
  uint16_t writeValue(const XPstColumn& column, const void* value, int64_t length);
  // Binary data as upper-case hexadecimal.
  uint16_t writeHex(const void* value, VXSIZE_T bytes);

  // Per column: "<indent><NAME>" and "</NAME>\n", built once.
  char** openTags_ = nullptr;
  char** closeTags_ = nullptr;
};

#endif  // VX_XML_XPSTNORVIKPERSIST_H_
