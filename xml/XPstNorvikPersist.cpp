// The recordset documents: schema, column declarations, records and values.
#include "xml/XPstNorvikPersist.h"

#include <sql.h>
#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/but.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

const char kSchemaNamespace[] = "http://www.w3.org/1999/XMLSchema";
const char kInstanceNamespace[] = "http://www.w3.org/1999/XMLSchema-instance";

// Indentations. Inline, the schema sits inside `table` and the records
// inside `data`; with a schema file both start at the root.
constexpr uint32_t kInlineSchemaIndent = 2;
constexpr uint32_t kDataIndent = 4;
constexpr uint32_t kInlineRecordIndent = 6;
constexpr uint32_t kFileRecordIndent = 2;
constexpr uint32_t kValueDeeper = 2;
// Relative to a column's `element`.
constexpr uint32_t kSimpleTypeDeeper = 4;
constexpr uint32_t kFacetDeeper = 8;

// How a column is declared: a plain `type`, or a simpleType `base` with
// up to two facets (null name: none).
struct Declaration {
  const char* type;
  const char* base;
  const char* facets[3];
  bool sizeFacet[3];  // the facet's value is the column size (else scale etc.)
};

// The declaration of an SQL type; false for a type without an XML form.
bool declarationOf(const XPstColumn& c, Declaration* d) {
  *d = Declaration{nullptr, nullptr, {nullptr, nullptr, nullptr}, {false, false, false}};
  switch (c.sqlType) {
    case SQL_CHAR: case SQL_WCHAR:
      *d = {nullptr, "string", {"length", nullptr, nullptr}, {true, false, false}};
      return true;
    case SQL_VARCHAR: case SQL_WVARCHAR:
      *d = {nullptr, "string", {"maxLength", nullptr, nullptr}, {true, false, false}};
      return true;
    case SQL_LONGVARCHAR: case SQL_WLONGVARCHAR: d->type = "string"; return true;
    case SQL_BIT: d->type = "boolean"; return true;
    case SQL_TINYINT: d->type = c.isUnsigned ? "unsignedByte" : "byte"; return true;
    case SQL_SMALLINT: d->type = c.isUnsigned ? "unsignedShort" : "short"; return true;
    case SQL_INTEGER: d->type = c.isUnsigned ? "unsignedInt" : "int"; return true;
    case SQL_BIGINT: d->type = c.isUnsigned ? "unsignedLong" : "long"; return true;
    case SQL_NUMERIC: case SQL_DECIMAL:
      *d = {nullptr, "decimal", {"precision", "scale", nullptr}, {true, false, false}};
      return true;
    case SQL_REAL: d->type = "float"; return true;
    case SQL_FLOAT: case SQL_DOUBLE: d->type = "double"; return true;
    case SQL_BINARY:
      *d = {nullptr, "binary", {"encoding", "length", nullptr}, {false, true, false}};
      return true;
    case SQL_VARBINARY:
      *d = {nullptr, "binary", {"encoding", "maxLength", nullptr}, {false, true, false}};
      return true;
    case SQL_LONGVARBINARY:
      *d = {nullptr, "binary", {"encoding", nullptr, nullptr}, {}}; return true;
    case SQL_DATE: case SQL_TYPE_DATE: d->type = "date"; return true;
    case SQL_TIME: case SQL_TYPE_TIME: d->type = "time"; return true;
    case SQL_TIMESTAMP: case SQL_TYPE_TIMESTAMP: d->type = "timeInstant"; return true;
    default: return false;
  }
}

bool isSupportedCType(int16_t cType) {
  switch (cType) {
    case SQL_C_CHAR: case SQL_C_WCHAR: case SQL_C_BIT: case SQL_C_BINARY:
    case SQL_C_TINYINT: case SQL_C_STINYINT: case SQL_C_UTINYINT:
    case SQL_C_SHORT: case SQL_C_SSHORT: case SQL_C_USHORT:
    case SQL_C_LONG: case SQL_C_SLONG: case SQL_C_ULONG:
    case SQL_C_SBIGINT: case SQL_C_UBIGINT: case SQL_C_FLOAT: case SQL_C_DOUBLE:
    case SQL_C_DATE: case SQL_C_TYPE_DATE: case SQL_C_TIME: case SQL_C_TYPE_TIME:
    case SQL_C_TIMESTAMP: case SQL_C_TYPE_TIMESTAMP:
      return true;
    default:
      return false;
  }
}

bool hasLength(int16_t cType) {
  return cType == SQL_C_CHAR || cType == SQL_C_WCHAR || cType == SQL_C_BINARY;
}

template <typename T>
T valueAs(const void* value) {
  return *static_cast<const T*>(value);
}

// The text of a value of a fixed-size C type (every supported type but
// character and binary data) in `out` (64 bytes); returns its length.
VXSIZE_T formatFixedSize(int16_t cType, const void* value, char* out) {
  switch (cType) {
    case SQL_C_BIT:
      strcpy(out, valueAs<unsigned char>(value) != 0 ? "true" : "false");
      return strlen(out);
    case SQL_C_TINYINT: case SQL_C_STINYINT:
      return XPstFormatSigned(out, valueAs<signed char>(value));
    case SQL_C_UTINYINT: return XPstFormatUnsigned(out, valueAs<unsigned char>(value));
    case SQL_C_SHORT: case SQL_C_SSHORT: return XPstFormatSigned(out, valueAs<int16_t>(value));
    case SQL_C_USHORT: return XPstFormatUnsigned(out, valueAs<uint16_t>(value));
    case SQL_C_LONG: case SQL_C_SLONG: return XPstFormatSigned(out, valueAs<int32_t>(value));
    case SQL_C_ULONG: return XPstFormatUnsigned(out, valueAs<uint32_t>(value));
    case SQL_C_SBIGINT: return XPstFormatSigned(out, valueAs<int64_t>(value));
    case SQL_C_UBIGINT: return XPstFormatUnsigned(out, valueAs<uint64_t>(value));
    case SQL_C_FLOAT: return XPstFormatFloat(out, valueAs<float>(value));
    case SQL_C_DOUBLE: return XPstFormatDouble(out, valueAs<double>(value));
    case SQL_C_DATE: case SQL_C_TYPE_DATE: {
      auto d = valueAs<DATE_STRUCT>(value);
      return XPstFormatDate(out, d.year, d.month, d.day);
    }
    case SQL_C_TIME: case SQL_C_TYPE_TIME: {
      auto t = valueAs<TIME_STRUCT>(value);
      return XPstFormatTime(out, t.hour, t.minute, t.second);
    }
    default: {
      // Only the time-stamp types are left: describeColumns refused the rest.
      auto t = valueAs<TIMESTAMP_STRUCT>(value);
      return XPstFormatTimestamp(out, t.year, t.month, t.day, t.hour, t.minute, t.second);
    }
  }
}

// Text of n blanks, "<" or "</", the name and ">" (and a newline).
char* tagText(uint32_t indent, const char* open, const char* name, const char* close) {
  size_t n = indent + strlen(open) + strlen(name) + strlen(close);
  char* out = static_cast<char*>(ramAlloc(n + 1));
  if (out != nullptr) snprintf(out, n + 1, "%*s%s%s%s", int(indent), "", open, name, close);
  return out;
}

}  // namespace

XPstNorvikPersist::~XPstNorvikPersist() {
  for (uint16_t i = 0; openTags_ != nullptr && i < getColumnCount(); ++i) free(openTags_[i]);
  for (uint16_t i = 0; closeTags_ != nullptr && i < getColumnCount(); ++i) free(closeTags_[i]);
  free(openTags_);
  free(closeTags_);
}

bool XPstNorvikPersist::supportsColumn(const XPstColumn& column) const {
  Declaration declaration;
  return declarationOf(column, &declaration) && isSupportedCType(column.cType);
}

uint16_t XPstNorvikPersist::declareColumn(const XPstColumn& column, uint32_t indent) {
  Declaration d;
  declarationOf(column, &d);
  const char* minOccurs = column.nullable ? "0" : "1";
  if (d.type != nullptr) {
    XPstAttribute attributes[] = {
        {"name", column.elementName}, {"minOccurs", minOccurs}, {"type", d.type}};
    return tags_.startTag(indent, "element", attributes, 3, true, true);
  }
  XPstAttribute element[] = {{"name", column.elementName}, {"minOccurs", minOccurs}};
  XPstAttribute base[] = {{"base", d.base}};
  uint16_t status = tags_.startTag(indent, "element", element, 2, false, true);
  status |= tags_.startTag(indent + kSimpleTypeDeeper, "simpleType", base, 1, false, true);
  for (int i = 0; i < 3 && d.facets[i] != nullptr; ++i) {
    char value[32];
    if (strcmp(d.facets[i], "encoding") == 0)
      snprintf(value, sizeof value, "hex");
    else if (d.sizeFacet[i])
      snprintf(value, sizeof value, "%llu", static_cast<unsigned long long>(column.columnSize));
    else
      snprintf(value, sizeof value, "%d", int(column.decimalDigits));
    XPstAttribute facet[] = {{"value", value}};
    status |= tags_.startTag(indent + kFacetDeeper, d.facets[i], facet, 1, true, true);
  }
  status |= tags_.endTag(indent + kSimpleTypeDeeper, "simpleType", true);
  status |= tags_.endTag(indent, "element", true);
  return status;
}

// tableType, dataType (inline only) and recordType, at `indent`.
uint16_t XPstNorvikPersist::writeSchemaTypes(uint32_t indent) {
  const uint32_t inner = indent + 2;
  XPstAttribute table[] = {{"name", "table"}, {"type", "rs:tableType"}};
  XPstAttribute tableType[] = {{"name", "tableType"}};
  XPstAttribute records[] = {{"name", "record"}, {"minOccurs", "0"},
                             {"maxOccurs", "unbounded"}, {"type", "rs:recordType"}};
  XPstAttribute recordType[] = {{"name", "recordType"}};
  uint16_t status = tags_.startTag(indent, "element", table, 2, true, true);
  status |= tags_.startTag(indent, "complexType", tableType, 1, false, true);
  if (hasSchemaFile()) {
    status |= tags_.startTag(inner, "element", records, 4, true, true);
  } else {
    XPstAttribute schemaRef[] = {{"ref", "schema"}};
    XPstAttribute data[] = {{"name", "data"}, {"type", "rs:dataType"}};
    XPstAttribute dataType[] = {{"name", "dataType"}};
    status |= tags_.startTag(inner, "element", schemaRef, 1, true, true);
    status |= tags_.startTag(inner, "element", data, 2, true, true);
    status |= tags_.endTag(indent, "complexType", true);
    status |= tags_.startTag(indent, "complexType", dataType, 1, false, true);
    status |= tags_.startTag(inner, "element", records, 4, true, true);
  }
  status |= tags_.endTag(indent, "complexType", true);
  status |= tags_.startTag(indent, "complexType", recordType, 1, false, true);
  for (uint16_t i = 0; i < getColumnCount(); ++i) {
    const XPstColumn& column = getColumn(i);
    if (!column.declared) continue;
    if (declareColumn(column, inner) != 0) {
      VxError& error = addError(kErrXmlColumnNotDeclared);
      error.appendText(" ");
      error.appendText(column.elementName);
      return 1;
    }
  }
  return status | tags_.endTag(indent, "complexType", true);
}

uint16_t XPstNorvikPersist::writeSchema() {
  tags_.setTarget(&schemaPart_);
  uint16_t status;
  if (hasSchemaFile()) {
    XPstAttribute schema[] = {{"targetNamespace", XPST_RECORDSET_NAMESPACE},
                              {"xmlns", kSchemaNamespace},
                              {"xmlns:rs", XPST_RECORDSET_NAMESPACE},
                              {"elementFormDefault", "qualified"},
                              {"attributeFormDefault", "qualified"}};
    status = tags_.startTag(0, "schema", schema, 5, false, true);
    status |= writeSchemaTypes(2);
    status |= tags_.endTag(0, "schema", true);
  } else {
    XPstAttribute schema[] = {{"elementFormDefault", "qualified"},
                              {"attributeFormDefault", "qualified"}};
    status = tags_.startTag(kInlineSchemaIndent, "schema", schema, 2, false, true);
    status |= writeSchemaTypes(kInlineSchemaIndent + 2);
    status |= tags_.endTag(kInlineSchemaIndent, "schema", true);
    // The rows' container opens right after the schema.
    status |= tags_.startTag(kDataIndent, "data", nullptr, 0, false, true);
  }
  if (status != 0) return 1;
  tags_.setTarget(&rowsPart_);
  return buildElementTags(hasSchemaFile() ? kFileRecordIndent : kInlineRecordIndent);
}

uint16_t XPstNorvikPersist::buildElementTags(uint32_t recordIndent) {
  uint16_t count = getColumnCount();
  openTags_ = static_cast<char**>(ramAllocZeroed(count * sizeof(char*)));
  closeTags_ = static_cast<char**>(ramAllocZeroed(count * sizeof(char*)));
  if (openTags_ == nullptr || closeTags_ == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  for (uint16_t i = 0; i < count; ++i) {
    openTags_[i] = tagText(recordIndent + kValueDeeper, "<", getColumn(i).elementName, ">");
    closeTags_[i] = tagText(0, "</", getColumn(i).elementName, ">\n");
    if (openTags_[i] == nullptr || closeTags_[i] == nullptr) {
      addError(kErrOutOfMemory);
      return 1;
    }
  }
  return 0;
}

uint16_t XPstNorvikPersist::writeDataHead(XPstTempData& head) {
  char location[4096];
  snprintf(location, sizeof location, "%s %s", XPST_RECORDSET_NAMESPACE, getSchemaLocation());
  tags_.setTarget(&head);
  uint16_t status;
  if (hasSchemaFile()) {
    XPstAttribute table[] = {{"xmlns", XPST_RECORDSET_NAMESPACE},
                             {"xmlns:xsi", kInstanceNamespace},
                             {"xsi:schemaLocation", location}};
    status = tags_.startTag(0, "table", table, 3, false, true);
  } else {
    XPstAttribute table[] = {{"xmlns", kSchemaNamespace},
                             {"xmlns:xsi", kInstanceNamespace},
                             {"xmlns:rs", XPST_RECORDSET_NAMESPACE},
                             {"targetNamespace", XPST_RECORDSET_NAMESPACE},
                             {"xsi:schemaLocation", location}};
    status = tags_.startTag(0, "table", table, 5, false, true);
  }
  return status;
}

uint16_t XPstNorvikPersist::writeDataTail(XPstTempData& tail) {
  tags_.setTarget(&tail);
  uint16_t status = hasSchemaFile() ? 0 : tags_.endTag(kDataIndent, "data", true);
  return status | tags_.endTag(0, "table", true);
}

// A row is checked whole before any of it is written, so that a bad
// length leaves no half record behind.
uint16_t XPstNorvikPersist::checkRow(const void* const* values, const int64_t* lengths) const {
  for (uint16_t i = 0; i < getColumnCount(); ++i) {
    const XPstColumn& column = getColumn(i);
    if (!column.declared || lengths[i] == SQL_NULL_DATA) continue;
    bool textLength =
        lengths[i] >= 0 || (lengths[i] == SQL_NTS && column.cType != SQL_C_BINARY);
    if (values[i] == nullptr || (hasLength(column.cType) && !textLength)) {
      addError(kErrInvalidParameterValue) << column.elementName;
      return 1;
    }
  }
  return 0;
}

uint16_t XPstNorvikPersist::writeRecord(const void* const* values, const int64_t* lengths) {
  const uint32_t indent = hasSchemaFile() ? kFileRecordIndent : kInlineRecordIndent;
  uint16_t status = tags_.startTag(indent, "record", nullptr, 0, false, true);
  for (uint16_t i = 0; i < getColumnCount() && status == 0; ++i) {
    const XPstColumn& column = getColumn(i);
    if (!column.declared || lengths[i] == SQL_NULL_DATA) continue;
    status |= tags_.writeRaw(openTags_[i], strlen(openTags_[i]));
    status |= writeValue(column, values[i], lengths[i]);
    status |= tags_.writeRaw(closeTags_[i], strlen(closeTags_[i]));
  }
  return status | tags_.endTag(indent, "record", true);
}

uint16_t XPstNorvikPersist::writeValue(const XPstColumn& column, const void* value,
                                       int64_t length) {
  const char* utf8 = nullptr;
  VXSIZE_T n = 0;
  if (column.cType == SQL_C_CHAR) {
    const char* in = static_cast<const char*>(value);
    VXSIZE_T bytes = length == SQL_NTS ? strlen(in) : VXSIZE_T(length);
    if (converter_.fromApplication(in, bytes, &utf8, &n) != 0) return 1;
    return tags_.setTagData(utf8, n);
  }
  if (column.cType == SQL_C_WCHAR) {
    const auto* in = static_cast<const uint16_t*>(value);
    VXSIZE_T units = 0;
    if (length == SQL_NTS)
      while (in[units] != 0) ++units;
    else
      units = VXSIZE_T(length) / 2;
    if (converter_.fromUtf16(in, units, &utf8, &n) != 0) return 1;
    return tags_.setTagData(utf8, n);
  }
  if (column.cType == SQL_C_BINARY) return writeHex(value, VXSIZE_T(length));
  char text[64];
  n = formatFixedSize(column.cType, value, text);
  return tags_.writeRaw(text, n);
}

uint16_t XPstNorvikPersist::writeHex(const void* value, VXSIZE_T bytes) {
  char* hex = static_cast<char*>(ramAlloc(2 * bytes + 1));
  if (hex == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  uint16_t status = tags_.writeRaw(hex, hexify(hex, value, bytes));
  free(hex);
  return status;
}
