// The ODBC entry points of the CSV driver, called by a driver manager.
//
// Handles are C++ objects behind the opaque ODBC handles; each carries a
// tag checked on entry and a multiple-error VxErrorList. Every call but the
// diagnostic ones empties its handle's list and installs it as the calling
// thread's current list for the length of the call, together with the
// connection's file code page, so the library and the driver file their
// errors there and read the tables in the right code page; SQLGetDiagRec
// and SQLGetDiagField read the records back with their SQLSTATE, native
// code and catalog text.
//
// Character arguments. The driver works in UTF-8. A narrow (A) call passes
// text in the connection's application code page, a wide (W) call in
// UTF-16; both forms of a call run one body, which converts its text
// arguments in and its text results out through the Chars of the call.
//
// A statement runs when executed: the table is read, filtered, sorted and
// projected into a result held in memory, which SQLFetch walks, one row or
// one row array at a time.
//
// Each entry point traces its name and return code when the VX_DEBUGGING
// mask has VXCSV_DEBUG_CALLS.
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "charset/ucnv.h"
#include "config/vxini.h"
#include "config/vxvaluep.h"
#include "containers/vxstring.h"
#include "drivers/csv/csvcodepage.h"
#include "drivers/csv/csvquery.h"
#include "drivers/csv/csvxml.h"
#include "drivers/csv/vxcsv.h"
#include "foundation/vxerror.h"
#include "foundation/vxtrace.h"

#define VXCSV_ENTRY extern "C" __attribute__((visibility("default"))) SQLRETURN SQL_API

namespace {

// Prefix of every diagnostic text, naming the component that reports it.
const char kTextPrefix[] = "[vxlib][CSV]";

enum HandleTag : uint32_t { kEnvTag = 0x56584531, kDbcTag = 0x56584432, kStmtTag = 0x56585333 };

// How a call passes its character arguments: narrow ones in an
// application code page, wide ones in UTF-16.
struct Chars {
  bool wide;
  int64_t codePage;  // of the narrow calls
};
constexpr Chars kWide = {true, kCsvUtf8};

struct Handle {
  explicit Handle(HandleTag t) : tag(t), errors(this, VxErrorList::kSupportMultipleErrors) {}
  HandleTag tag;
  VxErrorList errors;
};

struct Env : Handle {
  Env() : Handle(kEnvTag) {}
  SQLINTEGER version = SQL_OV_ODBC3;
};

struct Dbc : Handle {
  Dbc() : Handle(kDbcTag) {}
  bool connected = false;
  std::string directory;
  int64_t fileCodePage = kCsvUtf8;  // of the table files
  int64_t appCodePage = kCsvUtf8;   // of the narrow calls
  Chars narrow() const { return Chars{false, appCodePage}; }
};

// A column bound with SQLBindCol.
struct Binding {
  SQLSMALLINT type = 0;
  SQLPOINTER target = nullptr;
  SQLLEN length = 0;
  SQLLEN* indicator = nullptr;
};

// A parameter bound with SQLBindParameter.
struct Parameter {
  SQLSMALLINT type = 0;
  SQLPOINTER value = nullptr;
  SQLLEN* indicator = nullptr;
};

struct Stmt : Handle {
  explicit Stmt(Dbc* d) : Handle(kStmtTag), dbc(d) {}
  Dbc* dbc;
  std::string prepared;  // text of SQLPrepare, run by SQLExecute
  bool isPrepared = false;
  bool open = false;     // a result set is open
  CsvResult result;
  SQLLEN rowCount = -1;  // rows an INSERT added, or the result's rows
  size_t next = 0;       // the row the next fetch returns
  size_t current = 0;    // the row SQLGetData reads: the first of the last fetch
  std::vector<Binding> bindings;
  std::vector<Parameter> parameters;
  std::vector<size_t> readOffsets;  // SQLGetData's position in each column, in bytes
  CsvStatementParser parser;
  // Row arrays (SQL_ATTR_ROW_ARRAY_SIZE and its companions).
  SQLULEN arraySize = 1;
  SQLULEN bindType = SQL_BIND_BY_COLUMN;  // or the size of one row's structure
  SQLULEN* rowsFetched = nullptr;
  SQLUSMALLINT* rowStatus = nullptr;
  std::string xmlPath;  // VXCSV_ATTR_XML_RESULT, until a result set uses it
};

template <typename T>
T* asHandle(SQLHANDLE handle, HandleTag tag) {
  T* object = static_cast<T*>(handle);
  return object && object->tag == tag ? object : nullptr;
}

// Empties a handle's error list and installs it, with the connection's
// file code page, as the thread's current ones for the length of one call
// (the diagnostic calls only read the list and take no scope).
class CallScope {
 public:
  CallScope(Handle& handle, int64_t fileCodePage) : handle_(handle), codePage_(fileCodePage) {
    handle.errors.clearErrors();
    VxErrorKeeper::setErrorList(&handle.errors);
  }
  explicit CallScope(Env& env) : CallScope(env, kCsvUtf8) {}
  explicit CallScope(Dbc& dbc) : CallScope(dbc, dbc.fileCodePage) {}
  explicit CallScope(Stmt& stmt) : CallScope(stmt, stmt.dbc->fileCodePage) {}
  ~CallScope() { VxErrorKeeper::giveUpErrorList(); }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  // The return code that the list's contents call for.
  SQLRETURN status() const {
    if (handle_.errors.isExistingError() || handle_.errors.isOutOfMemory()) return SQL_ERROR;
    return handle_.errors.getCount() ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
  }
  SQLRETURN fail() const { return SQL_ERROR; }

 private:
  Handle& handle_;
  CsvFileCodePage codePage_;
};

SQLRETURN traced(const char* name, SQLRETURN rc) {
  if (BOS_RUNTIME_DEBUG.debugItem(VXCSV_DEBUG_CALLS)) {
    printf("vxcsv: %s returns %d\n", name, int(rc));
    fflush(stdout);
  }
  return rc;
}

void truncated() { csvError(kErrCsvTruncated, "01004").setWarning(); }

// ---- Character arguments ----

// An input text of a call, in UTF-8. length counts characters of the
// call's width, or is SQL_NTS; a null text is empty.
bool inputText(const Chars& chars, const void* text, SQLLEN length, std::string& out) {
  out.clear();
  if (!text) return true;
  if (chars.wide) return csvWideToUtf8(static_cast<const SQLWCHAR*>(text), length, out);
  const char* bytes = static_cast<const char*>(text);
  std::string raw = length == SQL_NTS ? std::string(bytes) : std::string(bytes, size_t(std::max<SQLLEN>(length, 0)));
  return csvToUtf8(chars.codePage, raw, out, "a character argument");
}

// UTF-8 text as the call hands it out: in the application code page, or
// as the bytes of its UTF-16 units.
bool encodeText(const Chars& chars, const std::string& utf8, std::string& out) {
  if (!chars.wide) return csvFromUtf8(chars.codePage, utf8, out);
  std::u16string units;
  if (!csvUtf8ToWide(utf8, units)) return false;
  out.assign(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t));
  return true;
}

// Copies encoded text (units of unit bytes) into a buffer of capacity
// bytes, keeping one unit for the terminating 0 and never cutting a UTF-16
// surrogate pair. Returns the bytes copied; *fitted says whether all did.
size_t copyEncoded(const char* text, size_t size, size_t unit, SQLPOINTER buffer, SQLLEN capacity, bool* fitted) {
  assert(size % unit == 0);
  *fitted = true;
  if (!buffer) return 0;
  size_t room = capacity >= SQLLEN(unit) ? (size_t(capacity) - unit) / unit * unit : 0;
  size_t n = std::min(size, room);
  if (unit == 2 && n < size && n >= 2) {
    char16_t last;
    memcpy(&last, text + n - 2, 2);
    if (last >= 0xD800 && last <= 0xDBFF) n -= 2;
  }
  *fitted = n == size;
  if (capacity >= SQLLEN(unit)) {
    memcpy(buffer, text, n);
    memset(static_cast<char*>(buffer) + n, 0, unit);
  }
  return n;
}

// Hands text out into an application buffer of size bytes (sizeInBytes)
// or characters of the call's width, storing the full length in the same
// unit. Files 01004 when the text was cut; false when it does not convert.
bool outputText(const Chars& chars, const std::string& text, SQLPOINTER buffer, SQLLEN size, bool sizeInBytes,
                SQLLEN* length) {
  std::string encoded;
  if (!encodeText(chars, text, encoded)) return false;
  size_t unit = chars.wide ? 2 : 1;
  if (length) *length = SQLLEN(sizeInBytes ? encoded.size() : encoded.size() / unit);
  bool fitted = true;
  copyEncoded(encoded.data(), encoded.size(), unit, buffer, sizeInBytes ? size : size * SQLLEN(unit), &fitted);
  if (!fitted) truncated();
  return true;
}

bool outputSmall(const Chars& chars, const std::string& text, SQLPOINTER buffer, SQLSMALLINT size, bool sizeInBytes,
                 SQLSMALLINT* length) {
  SQLLEN full = 0;
  if (!outputText(chars, text, buffer, size, sizeInBytes, &full)) return false;
  if (length) *length = SQLSMALLINT(std::min<SQLLEN>(full, 32767));
  return true;
}

// ---- Connections ----

// A code page named in a connection string or a data source: absent (or
// -1) leaves *codePage alone; a number the tables do not know is refused.
bool readCodePage(const std::string& value, int64_t* codePage) {
  if (value.empty() || value == "-1") return true;
  char* end = nullptr;
  long long number = strtoll(value.c_str(), &end, 10);
  if (*end != '\0' || (number != kCsvUtf8 && !ucnvIANAidToICUname(number))) {
    csvError(kErrCsvUnknownCodePage, "HY024") << value.c_str();
    return false;
  }
  *codePage = number;
  return true;
}

std::string profileValue(const std::string& dsn, const char* key) {
  char buffer[4096];
  vxGetPrivateProfileString(dsn.c_str(), key, "", buffer, sizeof buffer, "odbc.ini");
  return buffer;
}

// Reads the directory and the file code page of data source dsn from the
// ODBC configuration.
bool readDataSource(const std::string& dsn, Dbc& dbc) {
  dbc.directory = profileValue(dsn, "Directory");
  if (dbc.directory.empty()) {
    csvError(kErrCsvNoDataSource, "IM002") << dsn.c_str();
    return false;
  }
  return readCodePage(profileValue(dsn, "IANAAppCodePage"), &dbc.fileCodePage);
}

// The narrow calls' code page, as the library identifies it for the
// connection string (its IANAAppCodePage, else the data source's and the
// ODBC sections' entries, else its default).
bool identifyAppCodePage(const std::string& connection, Dbc& dbc) {
  char* dsn = nullptr;
  int64_t codePage = ucnvGetAppCodePage(connection.c_str(), int64_t(connection.size()), &dsn);
  ucnv_free(dsn);
  return readCodePage(std::to_string(codePage), &dbc.appCodePage);
}

SQLRETURN connect(Dbc& dbc, const Chars& chars, const void* dsnText, SQLSMALLINT dsnLength) {
  CallScope scope(dbc);
  std::string dsn;
  dbc.fileCodePage = kCsvUtf8;
  if (!inputText(chars, dsnText, dsnLength, dsn) || !readDataSource(dsn, dbc) ||
      !identifyAppCodePage("DSN=" + dsn, dbc))
    return scope.fail();
  dbc.connected = true;
  return scope.status();
}

// The connection string names a data source (DSN=) whose directory and
// code page are read from the configuration, or gives DIRECTORY= and
// IANAAppCodePage= itself (which win over the data source's). The
// completed string goes back to the application.
SQLRETURN driverConnect(Dbc& dbc, const Chars& chars, const void* in, SQLSMALLINT inLength, SQLPOINTER out,
                        SQLSMALLINT outSize, SQLSMALLINT* outLength) {
  CallScope scope(dbc);
  std::string text;
  if (!inputText(chars, in, inLength, text)) return scope.fail();
  VxValueParser attributes(VxSubString(text.data(), text.size(), VX_CP_UTF8), ';', "connection string", 0);
  if (attributes.initialize() != 0) return scope.fail();
  auto valueOf = [&attributes](const char* key) {
    const VxSubString* value = attributes.getAttributeValue(key);
    return value ? std::string(value->asPascalStr(), value->getLength()) : std::string();
  };
  const VxSubString* directory = attributes.getAttributeValue("DIRECTORY");
  dbc.fileCodePage = kCsvUtf8;
  if (directory) {
    dbc.directory = valueOf("DIRECTORY");
  } else if (!readDataSource(valueOf("DSN"), dbc)) {
    return scope.fail();
  }
  if (!readCodePage(valueOf("IANAAPPCODEPAGE"), &dbc.fileCodePage) || !identifyAppCodePage(text, dbc))
    return scope.fail();
  if (!directory && attributes.addAttribute("DIRECTORY", dbc.directory.c_str()) != 0) return scope.fail();
  VxString completed;
  if (attributes.buildString(completed) != 0 ||
      !outputSmall(chars, std::string(completed.asPascalStr(), completed.getLength()), out, outSize, false, outLength))
    return scope.fail();
  dbc.connected = true;
  return scope.status();
}

// What the driver answers about itself: what a driver manager and
// applications ask to learn what SQL it takes. Other information types
// are reported as not supported.
SQLRETURN getInfo(Dbc& dbc, const Chars& chars, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT size,
                  SQLSMALLINT* length) {
  CallScope scope(dbc);
  const char* text = nullptr;
  SQLUINTEGER number = 0;
  int width = 0;  // 2 or 4 for a number answer
  auto small = [&](SQLUINTEGER n) { number = n, width = 2; };
  auto mask = [&](SQLUINTEGER n) { number = n, width = 4; };
  switch (type) {
    case SQL_DRIVER_ODBC_VER: text = "03.00"; break;
    case SQL_DRIVER_NAME: text = "libvxcsv.so"; break;
    case SQL_DRIVER_VER: text = "00.02.0000"; break;
    case SQL_DBMS_NAME: text = "vxlib CSV"; break;
    case SQL_DBMS_VER: text = "00.02.0000"; break;
    case SQL_DATA_SOURCE_NAME:
    case SQL_SERVER_NAME:
    case SQL_USER_NAME:
    case SQL_CATALOG_NAME_SEPARATOR:
    case SQL_CATALOG_TERM:
    case SQL_SCHEMA_TERM:
    case SQL_PROCEDURE_TERM:
    case SQL_SPECIAL_CHARACTERS: text = ""; break;
    case SQL_TABLE_TERM: text = "table"; break;
    case SQL_DATA_SOURCE_READ_ONLY: text = "N"; break;
    case SQL_CATALOG_NAME:
    case SQL_PROCEDURES:
    case SQL_ACCESSIBLE_TABLES:
    case SQL_ACCESSIBLE_PROCEDURES:
    case SQL_EXPRESSIONS_IN_ORDERBY:
    case SQL_MULT_RESULT_SETS:
    case SQL_MULTIPLE_ACTIVE_TXN:
    case SQL_OUTER_JOINS:
    case SQL_ORDER_BY_COLUMNS_IN_SELECT:
    case SQL_COLUMN_ALIAS: text = "N"; break;
    case SQL_LIKE_ESCAPE_CLAUSE: text = "N"; break;
    case SQL_NEED_LONG_DATA_LEN: text = "N"; break;
    case SQL_IDENTIFIER_QUOTE_CHAR: text = "\""; break;
    case SQL_SEARCH_PATTERN_ESCAPE: text = "\\"; break;
    case SQL_KEYWORDS: text = "LIMIT"; break;
    case SQL_TXN_CAPABLE: small(SQL_TC_NONE); break;
    case SQL_CURSOR_COMMIT_BEHAVIOR:
    case SQL_CURSOR_ROLLBACK_BEHAVIOR: small(SQL_CB_PRESERVE); break;
    case SQL_MAX_CONCURRENT_ACTIVITIES:
    case SQL_MAX_DRIVER_CONNECTIONS:
    case SQL_MAX_COLUMN_NAME_LEN:
    case SQL_MAX_TABLE_NAME_LEN:
    case SQL_MAX_COLUMNS_IN_SELECT:
    case SQL_MAX_COLUMNS_IN_ORDER_BY: small(0); break;
    case SQL_IDENTIFIER_CASE: small(SQL_IC_MIXED); break;
    case SQL_QUOTED_IDENTIFIER_CASE: small(SQL_IC_SENSITIVE); break;
    case SQL_NULL_COLLATION: small(SQL_NC_LOW); break;
    case SQL_CORRELATION_NAME: small(SQL_CN_NONE); break;
    case SQL_NON_NULLABLE_COLUMNS: small(SQL_NNC_NON_NULL); break;
    case SQL_CONCAT_NULL_BEHAVIOR: small(SQL_CB_NULL); break;
    case SQL_GROUP_BY: small(SQL_GB_GROUP_BY_CONTAINS_SELECT); break;
    case SQL_FILE_USAGE: small(SQL_FILE_TABLE); break;
    case SQL_GETDATA_EXTENSIONS: mask(SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER | SQL_GD_BLOCK); break;
    case SQL_SCROLL_OPTIONS: mask(SQL_SO_FORWARD_ONLY); break;
    case SQL_TXN_ISOLATION_OPTION:
    case SQL_DEFAULT_TXN_ISOLATION:
    case SQL_ALTER_TABLE:
    case SQL_CONVERT_FUNCTIONS:
    case SQL_NUMERIC_FUNCTIONS:
    case SQL_SYSTEM_FUNCTIONS:
    case SQL_TIMEDATE_FUNCTIONS:
    case SQL_POS_OPERATIONS:
    case SQL_SUBQUERIES:
    case SQL_UNION: mask(0); break;
    case SQL_STRING_FUNCTIONS: mask(SQL_FN_STR_UCASE | SQL_FN_STR_LCASE | SQL_FN_STR_CONCAT); break;
    case SQL_AGGREGATE_FUNCTIONS:
      mask(SQL_AF_COUNT | SQL_AF_SUM | SQL_AF_MIN | SQL_AF_MAX | SQL_AF_AVG | SQL_AF_DISTINCT);
      break;
    case SQL_SQL_CONFORMANCE: mask(SQL_SC_SQL92_ENTRY); break;
    case SQL_ODBC_INTERFACE_CONFORMANCE: mask(SQL_OIC_CORE); break;
    case SQL_INSERT_STATEMENT: mask(SQL_IS_INSERT_LITERALS); break;
    case SQL_SQL92_PREDICATES:
      mask(SQL_SP_COMPARISON | SQL_SP_LIKE | SQL_SP_IN | SQL_SP_BETWEEN | SQL_SP_ISNULL | SQL_SP_ISNOTNULL);
      break;
    case SQL_SQL92_RELATIONAL_JOIN_OPERATORS: mask(0); break;
    case SQL_CATALOG_USAGE:
    case SQL_SCHEMA_USAGE: mask(0); break;
    case SQL_STATIC_CURSOR_ATTRIBUTES1:
    case SQL_STATIC_CURSOR_ATTRIBUTES2:
    case SQL_DYNAMIC_CURSOR_ATTRIBUTES1:
    case SQL_DYNAMIC_CURSOR_ATTRIBUTES2:
    case SQL_KEYSET_CURSOR_ATTRIBUTES1:
    case SQL_KEYSET_CURSOR_ATTRIBUTES2: mask(0); break;
    case SQL_FORWARD_ONLY_CURSOR_ATTRIBUTES1: mask(SQL_CA1_NEXT); break;
    case SQL_FORWARD_ONLY_CURSOR_ATTRIBUTES2: mask(SQL_CA2_READ_ONLY_CONCURRENCY); break;
    default:
      csvError(kErrCsvNotSupported, "HY096") << "The information type";
      return scope.fail();
  }
  if (width == 2) {
    if (value) *static_cast<SQLUSMALLINT*>(value) = SQLUSMALLINT(number);
    if (length) *length = 2;
  } else if (width == 4) {
    if (value) *static_cast<SQLUINTEGER*>(value) = number;
    if (length) *length = 4;
  } else if (!outputSmall(chars, text, value, size, true, length)) {
    return scope.fail();
  }
  return scope.status();
}

// The connection attributes an application or a driver manager sets:
// the driver commits every statement at once and has no catalogs, so
// autocommit can only stay on and the current catalog only be empty; the
// time-outs are taken and ignored, as no call waits on anything but files.
SQLRETURN setConnectAttr(Dbc& dbc, const Chars& chars, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length) {
  CallScope scope(dbc);
  SQLULEN number = SQLULEN(reinterpret_cast<uintptr_t>(value));
  std::string text;
  switch (attribute) {
    case SQL_ATTR_AUTOCOMMIT:
      if (number == SQL_AUTOCOMMIT_ON) return scope.status();
      csvError(kErrCsvNotSupported, "HYC00") << "Turning autocommit off";
      return scope.fail();
    case SQL_ATTR_CURRENT_CATALOG:
      if (!inputText(chars, value, chars.wide && length > 0 ? length / SQLINTEGER(sizeof(SQLWCHAR)) : length, text))
        return scope.fail();
      if (text.empty()) return scope.status();
      csvError(kErrCsvNotSupported, "HYC00") << "A catalog";
      return scope.fail();
    case SQL_ATTR_ACCESS_MODE:
    case SQL_ATTR_LOGIN_TIMEOUT:
    case SQL_ATTR_CONNECTION_TIMEOUT: return scope.status();
    default:
      csvError(kErrCsvBadAttribute, "HY092") << int64_t(attribute);
      return scope.fail();
  }
}

SQLRETURN getConnectAttr(Dbc& dbc, const Chars& chars, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size,
                         SQLINTEGER* length) {
  CallScope scope(dbc);
  SQLUINTEGER number = 0;
  switch (attribute) {
    case SQL_ATTR_AUTOCOMMIT: number = SQL_AUTOCOMMIT_ON; break;
    case SQL_ATTR_ACCESS_MODE: number = SQL_MODE_READ_WRITE; break;
    case SQL_ATTR_CONNECTION_DEAD: number = dbc.connected ? SQL_CD_FALSE : SQL_CD_TRUE; break;
    case SQL_ATTR_LOGIN_TIMEOUT:
    case SQL_ATTR_CONNECTION_TIMEOUT: break;
    case SQL_ATTR_CURRENT_CATALOG: {
      SQLLEN full = 0;
      if (!outputText(chars, "", value, size, true, &full)) return scope.fail();
      if (length) *length = SQLINTEGER(full);
      return scope.status();
    }
    default:
      csvError(kErrCsvBadAttribute, "HY092") << int64_t(attribute);
      return scope.fail();
  }
  if (value) *static_cast<SQLUINTEGER*>(value) = number;
  if (length) *length = sizeof number;
  return scope.status();
}

// ---- Results ----

// The C type SQL_C_DEFAULT stands for in a column.
SQLSMALLINT concreteType(SQLSMALLINT type, const CsvColumn& column) {
  if (type != SQL_C_DEFAULT) return type;
  return column.kind == CsvValue::kInteger ? SQL_C_SBIGINT : column.kind == CsvValue::kReal ? SQL_C_DOUBLE : SQL_C_CHAR;
}

// The bytes one value of a fixed-size C type takes; 0 for character types.
SQLLEN fixedSize(SQLSMALLINT type) {
  switch (type) {
    case SQL_C_SLONG:
    case SQL_C_LONG: return sizeof(SQLINTEGER);
    case SQL_C_SBIGINT: return sizeof(SQLBIGINT);
    case SQL_C_DOUBLE: return sizeof(SQLDOUBLE);
    default: return 0;
  }
}

// Converts a value into the application's C type at target; for character
// data from byte offset *offset of its encoded form on (advanced by what
// was delivered), so that long values can be read in pieces. Returns
// SQL_NO_DATA when the value was already delivered whole.
SQLRETURN deliver(const Stmt& stmt, const CsvValue& value, const CsvColumn& column, SQLSMALLINT type,
                  SQLPOINTER target, SQLLEN length, SQLLEN* indicator, size_t* offset) {
  type = concreteType(type, column);
  if (value.isNull()) {
    if (offset && *offset > 0) return SQL_NO_DATA;
    if (!indicator) {
      csvError(kErrCsvNullNoIndicator, "22002");
      return SQL_ERROR;
    }
    *indicator = SQL_NULL_DATA;
    if (offset) *offset = 1;
    return SQL_SUCCESS;
  }
  if (type == SQL_C_CHAR || type == SQL_C_WCHAR) {
    std::string encoded;
    Chars chars = type == SQL_C_WCHAR ? kWide : stmt.dbc->narrow();
    if (!encodeText(chars, value.toText(), encoded)) return SQL_ERROR;
    size_t from = offset ? *offset : 0;
    if (offset && from > 0 && from >= encoded.size()) return SQL_NO_DATA;
    bool fitted = true;
    size_t n = copyEncoded(encoded.data() + from, encoded.size() - from, chars.wide ? 2 : 1, target, length, &fitted);
    if (indicator) *indicator = SQLLEN(encoded.size() - from);
    if (offset) *offset = from + n + (encoded.size() == from ? 1 : 0);
    if (fitted) return SQL_SUCCESS;
    truncated();
    return SQL_SUCCESS_WITH_INFO;
  }
  CsvValue number = value;
  if (value.kind == CsvValue::kText && !csvConvertText(value.text, CsvValue::kReal, number)) {
    csvError(kErrCsvTypeMismatch, "22018") << value.text.c_str() << "a number";
    return SQL_ERROR;
  }
  SQLBIGINT integer = number.kind == CsvValue::kInteger ? number.integer : SQLBIGINT(number.real);
  switch (type) {
    case SQL_C_SLONG:
    case SQL_C_LONG: *static_cast<SQLINTEGER*>(target) = SQLINTEGER(integer); break;
    case SQL_C_SBIGINT: *static_cast<SQLBIGINT*>(target) = integer; break;
    case SQL_C_DOUBLE: *static_cast<SQLDOUBLE*>(target) = number.asReal(); break;
    default:
      csvError(kErrCsvUnsupportedType, "HY003") << int64_t(type);
      return SQL_ERROR;
  }
  if (offset) {
    if (*offset > 0) return SQL_NO_DATA;
    *offset = 1;
  }
  if (indicator) *indicator = fixedSize(type);
  return SQL_SUCCESS;
}

// The width a column takes in character form.
SQLLEN displaySize(const CsvColumn& column) {
  switch (column.kind) {
    case CsvValue::kInteger: return SQLLEN(column.size) + 1;
    case CsvValue::kReal: return 24;
    default: return SQLLEN(column.size);
  }
}

void closeCursor(Stmt& stmt) {
  stmt.open = false;
  stmt.rowCount = -1;
  stmt.result = CsvResult();
  stmt.next = stmt.current = 0;
}

// Opens the result set just computed; when the application asked for it,
// also saves it as an XML document (the request is used up either way).
bool openResult(Stmt& stmt) {
  std::string path;
  path.swap(stmt.xmlPath);
  if (!path.empty() && !csvSaveAsXml(path, stmt.result.columns, stmt.result.rows)) {
    closeCursor(stmt);
    return false;
  }
  stmt.open = true;
  stmt.rowCount = SQLLEN(stmt.result.rows.size());
  return true;
}

// The values of the bound parameters; the numbers past the last bound one
// and those left unbound in between stay out (an unbound one ends the list).
bool parameterValues(const Stmt& stmt, std::vector<CsvValue>& values) {
  for (const Parameter& p : stmt.parameters) {
    if (!p.value && !(p.indicator && *p.indicator == SQL_NULL_DATA)) break;
    CsvValue value;
    if (p.indicator && *p.indicator == SQL_NULL_DATA) {
      values.push_back(value);
      continue;
    }
    bool whole = !p.indicator || *p.indicator == SQL_NTS;
    SQLLEN bytes = whole ? SQL_NTS : std::max<SQLLEN>(*p.indicator, 0);
    switch (p.type) {
      case SQL_C_CHAR:
      case SQL_C_WCHAR: {
        value.kind = CsvValue::kText;
        bool wide = p.type == SQL_C_WCHAR;
        SQLLEN units = wide && !whole ? bytes / SQLLEN(sizeof(SQLWCHAR)) : bytes;
        if (!inputText(wide ? kWide : stmt.dbc->narrow(), p.value, units, value.text)) return false;
        break;
      }
      case SQL_C_SLONG:
      case SQL_C_LONG: value = CsvValue::ofInteger(*static_cast<const SQLINTEGER*>(p.value)); break;
      case SQL_C_SBIGINT: value = CsvValue::ofInteger(*static_cast<const SQLBIGINT*>(p.value)); break;
      case SQL_C_DOUBLE:
        value.kind = CsvValue::kReal;
        value.real = *static_cast<const SQLDOUBLE*>(p.value);
        break;
      default:
        csvError(kErrCsvUnsupportedType, "HY003") << int64_t(p.type);
        return false;
    }
    values.push_back(value);
  }
  return true;
}

SQLRETURN execute(Stmt& stmt, CallScope& scope, const std::string& text) {
  closeCursor(stmt);
  CsvQuery query;
  std::vector<CsvValue> values;
  if (!stmt.parser.parse(text.c_str(), query) || !parameterValues(stmt, values) ||
      !csvBindParameters(query, values))
    return scope.fail();
  if (query.isInsert) {
    if (!csvRunInsert(stmt.dbc->directory, query)) return scope.fail();
    stmt.rowCount = 1;
    return scope.status();
  }
  if (!csvRunQuery(stmt.dbc->directory, query, stmt.result) || !openResult(stmt)) return scope.fail();
  return scope.status();
}

SQLRETURN execDirect(Stmt& stmt, const Chars& chars, const void* text, SQLINTEGER length) {
  CallScope scope(stmt);
  stmt.isPrepared = false;
  std::string sql;
  if (!inputText(chars, text, length, sql)) return scope.fail();
  return execute(stmt, scope, sql);
}

SQLRETURN prepare(Stmt& stmt, const Chars& chars, const void* text, SQLINTEGER length) {
  CallScope scope(stmt);
  closeCursor(stmt);
  stmt.isPrepared = false;
  if (!inputText(chars, text, length, stmt.prepared)) return scope.fail();
  stmt.isPrepared = true;
  return scope.status();
}

bool columnNumberValid(const Stmt& stmt, SQLUSMALLINT number) {
  if (number >= 1 && number <= stmt.result.columns.size()) return true;
  csvError(kErrCsvBadColumnNumber, "07009") << int64_t(number);
  return false;
}

SQLRETURN describeCol(Stmt& stmt, const Chars& chars, SQLUSMALLINT number, SQLPOINTER name, SQLSMALLINT nameSize,
                      SQLSMALLINT* nameLength, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* scale,
                      SQLSMALLINT* nullable) {
  CallScope scope(stmt);
  if (!columnNumberValid(stmt, number)) return scope.fail();
  const CsvColumn& column = stmt.result.columns[number - 1];
  if (!outputSmall(chars, column.name, name, nameSize, false, nameLength)) return scope.fail();
  if (type) *type = column.sqlType;
  if (size) *size = column.size;
  if (scale) *scale = column.scale;
  if (nullable) *nullable = column.nullable ? SQL_NULLABLE : SQL_NO_NULLS;
  return scope.status();
}

SQLRETURN colAttribute(Stmt& stmt, const Chars& chars, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER text,
                       SQLSMALLINT textSize, SQLSMALLINT* textLength, SQLLEN* numeric) {
  CallScope scope(stmt);
  if (field == SQL_DESC_COUNT) {
    if (numeric) *numeric = SQLLEN(stmt.result.columns.size());
    return scope.status();
  }
  if (!columnNumberValid(stmt, number)) return scope.fail();
  const CsvColumn& column = stmt.result.columns[number - 1];
  const std::string* answer = nullptr;
  SQLLEN value = 0;
  switch (field) {
    case SQL_DESC_NAME:
    case SQL_DESC_LABEL:
    case SQL_DESC_BASE_COLUMN_NAME:
    case SQL_COLUMN_NAME: answer = &column.name; break;
    case SQL_DESC_TYPE_NAME: answer = &column.typeName; break;
    case SQL_DESC_TYPE:
    case SQL_DESC_CONCISE_TYPE: value = column.sqlType; break;
    case SQL_DESC_LENGTH:
    case SQL_DESC_PRECISION:
    case SQL_COLUMN_LENGTH:
    case SQL_COLUMN_PRECISION: value = SQLLEN(column.size); break;
    case SQL_DESC_SCALE:
    case SQL_COLUMN_SCALE: value = column.scale; break;
    case SQL_DESC_DISPLAY_SIZE: value = displaySize(column); break;
    case SQL_DESC_NULLABLE:
    case SQL_COLUMN_NULLABLE: value = column.nullable ? SQL_NULLABLE : SQL_NO_NULLS; break;
    case SQL_DESC_UNSIGNED: value = column.kind == CsvValue::kText ? SQL_TRUE : SQL_FALSE; break;
    case SQL_DESC_SEARCHABLE: value = SQL_PRED_SEARCHABLE; break;
    case SQL_DESC_UPDATABLE: value = SQL_ATTR_READONLY; break;
    default:
      csvError(kErrCsvNotSupported, "HY091") << "The descriptor field";
      return scope.fail();
  }
  if (answer) return outputSmall(chars, *answer, text, textSize, true, textLength) ? scope.status() : scope.fail();
  if (numeric) *numeric = value;
  return scope.status();
}

// Where element row of a bound column or its indicator lies: column-wise
// arrays step by the element's size, row-wise ones by the row structure's.
template <typename T>
T* element(T* base, SQLULEN row, SQLLEN elementSize, SQLULEN bindType) {
  if (!base) return nullptr;
  SQLULEN step = bindType == SQL_BIND_BY_COLUMN ? SQLULEN(elementSize) : bindType;
  return reinterpret_cast<T*>(reinterpret_cast<char*>(base) + row * step);
}

// Fills the bound columns of rowset row r from result row at.
SQLRETURN fetchRow(Stmt& stmt, size_t at, SQLULEN r) {
  const std::vector<CsvValue>& row = stmt.result.rows[at];
  SQLRETURN rc = SQL_SUCCESS;
  for (size_t i = 0; i < row.size() && i < stmt.bindings.size(); ++i) {
    const Binding& b = stmt.bindings[i];
    if (!b.target) continue;
    SQLSMALLINT type = concreteType(b.type, stmt.result.columns[i]);
    SQLLEN size = fixedSize(type) ? fixedSize(type) : b.length;
    SQLRETURN one = deliver(stmt, row[i], stmt.result.columns[i], type, element(b.target, r, size, stmt.bindType),
                            b.length, element(b.indicator, r, sizeof(SQLLEN), stmt.bindType), nullptr);
    if (one == SQL_ERROR) return SQL_ERROR;
    if (one != SQL_SUCCESS) rc = one;
  }
  return rc;
}

SQLRETURN fetch(Stmt& stmt) {
  CallScope scope(stmt);
  if (!stmt.open) {
    csvError(kErrCsvNoCursor, "24000");
    return scope.fail();
  }
  if (stmt.rowsFetched) *stmt.rowsFetched = 0;
  size_t left = stmt.result.rows.size() - stmt.next;
  SQLULEN count = std::min<SQLULEN>(stmt.arraySize, left);
  for (SQLULEN r = 0; stmt.rowStatus && r < stmt.arraySize; ++r) stmt.rowStatus[r] = SQL_ROW_NOROW;
  if (count == 0) return SQL_NO_DATA;
  stmt.current = stmt.next;
  stmt.next += count;
  stmt.readOffsets.assign(stmt.result.columns.size(), 0);
  SQLULEN failed = 0;
  for (SQLULEN r = 0; r < count; ++r) {
    SQLRETURN rc = fetchRow(stmt, stmt.current + r, r);
    failed += rc == SQL_ERROR;
    if (stmt.rowStatus)
      stmt.rowStatus[r] = rc == SQL_ERROR ? SQL_ROW_ERROR : rc == SQL_SUCCESS ? SQL_ROW_SUCCESS : SQL_ROW_SUCCESS_WITH_INFO;
  }
  if (stmt.rowsFetched) *stmt.rowsFetched = count;
  if (failed == count) return scope.fail();
  return failed ? SQL_SUCCESS_WITH_INFO : scope.status();
}

SQLRETURN getData(Stmt& stmt, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER target, SQLLEN length,
                  SQLLEN* indicator) {
  CallScope scope(stmt);
  if (!stmt.open || stmt.next == 0) {
    csvError(kErrCsvNoCursor, "24000");
    return scope.fail();
  }
  if (!columnNumberValid(stmt, number)) return scope.fail();
  assert(stmt.readOffsets.size() == stmt.result.columns.size());
  SQLRETURN rc = deliver(stmt, stmt.result.rows[stmt.current][number - 1], stmt.result.columns[number - 1], type,
                         target, length, indicator, &stmt.readOffsets[number - 1]);
  return rc == SQL_SUCCESS ? scope.status() : rc;
}

// An argument of a catalog call: null when absent (every name matches).
bool patternArgument(const Chars& chars, const void* text, SQLSMALLINT length, std::unique_ptr<std::string>& out) {
  out.reset();
  if (!text) return true;
  out = std::make_unique<std::string>();
  return inputText(chars, text, length, *out);
}

SQLRETURN tables(Stmt& stmt, const Chars& chars, const void* table, SQLSMALLINT tableLength) {
  CallScope scope(stmt);
  closeCursor(stmt);
  std::unique_ptr<std::string> pattern;
  if (!patternArgument(chars, table, tableLength, pattern) ||
      !csvCatalogTables(stmt.dbc->directory, pattern.get(), stmt.result) || !openResult(stmt))
    return scope.fail();
  return scope.status();
}

SQLRETURN columns(Stmt& stmt, const Chars& chars, const void* table, SQLSMALLINT tableLength, const void* column,
                  SQLSMALLINT columnLength) {
  CallScope scope(stmt);
  closeCursor(stmt);
  std::unique_ptr<std::string> tables, columns;
  if (!patternArgument(chars, table, tableLength, tables) || !patternArgument(chars, column, columnLength, columns) ||
      !csvCatalogColumns(stmt.dbc->directory, tables.get(), columns.get(), stmt.result) || !openResult(stmt))
    return scope.fail();
  return scope.status();
}

// A catalog result set the files never fill: they have no indexes, keys
// or row identifiers. Tools ask for them before they show a table, so the
// driver answers with the columns ODBC defines and no rows.
struct LayoutColumn {
  const char* name;
  SQLSMALLINT sqlType;
};

const LayoutColumn kStatisticsLayout[] = {
    {"TABLE_CAT", SQL_VARCHAR},        {"TABLE_SCHEM", SQL_VARCHAR}, {"TABLE_NAME", SQL_VARCHAR},
    {"NON_UNIQUE", SQL_SMALLINT},      {"INDEX_QUALIFIER", SQL_VARCHAR}, {"INDEX_NAME", SQL_VARCHAR},
    {"TYPE", SQL_SMALLINT},            {"ORDINAL_POSITION", SQL_SMALLINT}, {"COLUMN_NAME", SQL_VARCHAR},
    {"ASC_OR_DESC", SQL_VARCHAR},      {"CARDINALITY", SQL_INTEGER}, {"PAGES", SQL_INTEGER},
    {"FILTER_CONDITION", SQL_VARCHAR}};
const LayoutColumn kSpecialColumnsLayout[] = {
    {"SCOPE", SQL_SMALLINT},       {"COLUMN_NAME", SQL_VARCHAR}, {"DATA_TYPE", SQL_SMALLINT},
    {"TYPE_NAME", SQL_VARCHAR},    {"COLUMN_SIZE", SQL_INTEGER}, {"BUFFER_LENGTH", SQL_INTEGER},
    {"DECIMAL_DIGITS", SQL_SMALLINT}, {"PSEUDO_COLUMN", SQL_SMALLINT}};
const LayoutColumn kPrimaryKeysLayout[] = {{"TABLE_CAT", SQL_VARCHAR},  {"TABLE_SCHEM", SQL_VARCHAR},
                                           {"TABLE_NAME", SQL_VARCHAR}, {"COLUMN_NAME", SQL_VARCHAR},
                                           {"KEY_SEQ", SQL_SMALLINT},   {"PK_NAME", SQL_VARCHAR}};

template <size_t N>
SQLRETURN emptyCatalog(Stmt& stmt, const LayoutColumn (&layout)[N]) {
  CallScope scope(stmt);
  closeCursor(stmt);
  for (const LayoutColumn& column : layout) stmt.result.columns.push_back(csvCatalogColumn(column.name, column.sqlType));
  return openResult(stmt) ? scope.status() : scope.fail();
}

SQLRETURN typeInfo(Stmt& stmt, SQLSMALLINT type) {
  CallScope scope(stmt);
  closeCursor(stmt);
  CsvTable types;
  csvTypeInfo(type, types);
  stmt.result.columns = std::move(types.columns);
  stmt.result.rows = std::move(types.rows);
  return openResult(stmt) ? scope.status() : scope.fail();
}

SQLRETURN setStmtAttr(Stmt& stmt, const Chars& chars, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length) {
  CallScope scope(stmt);
  SQLULEN number = SQLULEN(reinterpret_cast<uintptr_t>(value));
  switch (attribute) {
    case VXCSV_ATTR_XML_RESULT: {
      SQLLEN units = chars.wide && length != SQL_NTS ? length / SQLLEN(sizeof(SQLWCHAR)) : length;
      if (!inputText(chars, value, units, stmt.xmlPath)) return scope.fail();
      break;
    }
    case SQL_ATTR_ROW_ARRAY_SIZE:
      if (number == 0) {
        csvError(kErrCsvBadAttribute, "HY024") << int64_t(attribute);
        return scope.fail();
      }
      stmt.arraySize = number;
      break;
    case SQL_ATTR_ROW_BIND_TYPE: stmt.bindType = number; break;
    case SQL_ATTR_ROWS_FETCHED_PTR: stmt.rowsFetched = static_cast<SQLULEN*>(value); break;
    case SQL_ATTR_ROW_STATUS_PTR: stmt.rowStatus = static_cast<SQLUSMALLINT*>(value); break;
    default:
      csvError(kErrCsvBadAttribute, "HY092") << int64_t(attribute);
      return scope.fail();
  }
  return scope.status();
}

// ---- Diagnostics ----

Handle* anyHandle(SQLSMALLINT type, SQLHANDLE handle) {
  switch (type) {
    case SQL_HANDLE_ENV: return asHandle<Env>(handle, kEnvTag);
    case SQL_HANDLE_DBC: return asHandle<Dbc>(handle, kDbcTag);
    case SQL_HANDLE_STMT: return asHandle<Stmt>(handle, kStmtTag);
    default: return nullptr;
  }
}

// The narrow calls' code page for a handle's diagnostics.
Chars narrowOf(SQLSMALLINT type, Handle* handle) {
  if (type == SQL_HANDLE_DBC) return static_cast<Dbc*>(handle)->narrow();
  if (type == SQL_HANDLE_STMT) return static_cast<Stmt*>(handle)->dbc->narrow();
  return Chars{false, kCsvUtf8};
}

std::string diagText(VxError& error) { return std::string(kTextPrefix) + error.getErrorText(); }

std::string diagState(const VxError& error) {
  const char* code = error.getInterfaceCode();
  return code && *code ? code : "HY000";
}

// A diagnostic text result: SQL_SUCCESS_WITH_INFO when cut. The
// diagnostic calls keep the handle's records, so the cut is not recorded.
SQLRETURN diagOutput(const Chars& chars, const std::string& text, SQLPOINTER buffer, SQLSMALLINT size,
                     bool sizeInBytes, SQLSMALLINT* length) {
  VxErrorList scratch(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&scratch);
  bool converted = outputSmall(chars, text, buffer, size, sizeInBytes, length);
  VxErrorKeeper::giveUpErrorList();
  if (!converted) return SQL_ERROR;
  return scratch.getCount() ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN getDiagRec(SQLSMALLINT type, SQLHANDLE handle, const Chars* wide, SQLSMALLINT number, SQLPOINTER state,
                     SQLINTEGER* native, SQLPOINTER text, SQLSMALLINT textSize, SQLSMALLINT* textLength) {
  Handle* object = anyHandle(type, handle);
  if (!object) return SQL_INVALID_HANDLE;
  if (number < 1) return SQL_ERROR;
  Chars chars = wide ? *wide : narrowOf(type, object);
  VxError* error = SQLSMALLINT(object->errors.getCount()) >= number ? object->errors.at(size_t(number - 1)) : nullptr;
  if (!error && number == 1 && object->errors.isOutOfMemory()) error = object->errors.getLastError();
  if (!error) return SQL_NO_DATA;
  if (state && diagOutput(chars, diagState(*error), state, 6, false, nullptr) == SQL_ERROR) return SQL_ERROR;
  if (native) *native = SQLINTEGER(error->getNativeError() ? error->getNativeError() : error->getErrorNumber());
  return diagOutput(chars, diagText(*error), text, textSize, false, textLength);
}

SQLRETURN getDiagField(SQLSMALLINT type, SQLHANDLE handle, const Chars* wide, SQLSMALLINT number, SQLSMALLINT field,
                       SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* length) {
  Handle* object = anyHandle(type, handle);
  if (!object) return SQL_INVALID_HANDLE;
  Chars chars = wide ? *wide : narrowOf(type, object);
  if (field == SQL_DIAG_NUMBER) {
    if (value) *static_cast<SQLINTEGER*>(value) = SQLINTEGER(object->errors.getCount());
    return SQL_SUCCESS;
  }
  if (field == SQL_DIAG_RETURNCODE || field == SQL_DIAG_ROW_COUNT || field == SQL_DIAG_CURSOR_ROW_COUNT) {
    if (value) *static_cast<SQLINTEGER*>(value) = 0;
    return SQL_SUCCESS;
  }
  if (number < 1 || SQLSMALLINT(object->errors.getCount()) < number) return SQL_NO_DATA;
  VxError& error = *object->errors.at(size_t(number - 1));
  switch (field) {
    case SQL_DIAG_SQLSTATE: return diagOutput(chars, diagState(error), value, size, true, length);
    case SQL_DIAG_MESSAGE_TEXT: return diagOutput(chars, diagText(error), value, size, true, length);
    case SQL_DIAG_NATIVE:
      if (value) *static_cast<SQLINTEGER*>(value) = SQLINTEGER(error.getErrorNumber());
      return SQL_SUCCESS;
    case SQL_DIAG_CLASS_ORIGIN:
    case SQL_DIAG_SUBCLASS_ORIGIN:
      return diagOutput(chars, diagState(error).compare(0, 2, "IM") == 0 ? "ODBC 3.0" : "ISO 9075", value, size, true,
                        length);
    case SQL_DIAG_CONNECTION_NAME:
    case SQL_DIAG_SERVER_NAME: return diagOutput(chars, "", value, size, true, length);
    default: return SQL_ERROR;
  }
}

}  // namespace

// ---- Handles ----

VXCSV_ENTRY SQLAllocHandle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) {
  if (!output) return traced("SQLAllocHandle", SQL_ERROR);
  *output = SQL_NULL_HANDLE;
  switch (type) {
    case SQL_HANDLE_ENV: *output = new Env; return traced("SQLAllocHandle", SQL_SUCCESS);
    case SQL_HANDLE_DBC:
      if (!asHandle<Env>(input, kEnvTag)) return traced("SQLAllocHandle", SQL_INVALID_HANDLE);
      *output = new Dbc;
      return traced("SQLAllocHandle", SQL_SUCCESS);
    case SQL_HANDLE_STMT: {
      Dbc* dbc = asHandle<Dbc>(input, kDbcTag);
      if (!dbc) return traced("SQLAllocHandle", SQL_INVALID_HANDLE);
      CallScope scope(*dbc);
      if (!dbc->connected) {
        csvError(kErrCsvSequence, "08003");
        return traced("SQLAllocHandle", scope.fail());
      }
      *output = new Stmt(dbc);
      return traced("SQLAllocHandle", SQL_SUCCESS);
    }
    default: return traced("SQLAllocHandle", SQL_ERROR);
  }
}

VXCSV_ENTRY SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
  Handle* object = anyHandle(type, handle);
  if (!object) return traced("SQLFreeHandle", SQL_INVALID_HANDLE);
  object->tag = HandleTag(0);
  switch (type) {
    case SQL_HANDLE_ENV: delete static_cast<Env*>(object); break;
    case SQL_HANDLE_DBC: delete static_cast<Dbc*>(object); break;
    default: delete static_cast<Stmt*>(object); break;
  }
  return traced("SQLFreeHandle", SQL_SUCCESS);
}

VXCSV_ENTRY SQLSetEnvAttr(SQLHENV handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
  Env* env = asHandle<Env>(handle, kEnvTag);
  if (!env) return traced("SQLSetEnvAttr", SQL_INVALID_HANDLE);
  CallScope scope(*env);
  if (attribute == SQL_ATTR_ODBC_VERSION) env->version = SQLINTEGER(reinterpret_cast<SQLLEN>(value));
  return traced("SQLSetEnvAttr", scope.status());
}

VXCSV_ENTRY SQLGetEnvAttr(SQLHENV handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
  Env* env = asHandle<Env>(handle, kEnvTag);
  if (!env) return traced("SQLGetEnvAttr", SQL_INVALID_HANDLE);
  CallScope scope(*env);
  if (attribute == SQL_ATTR_ODBC_VERSION && value) *static_cast<SQLINTEGER*>(value) = env->version;
  return traced("SQLGetEnvAttr", scope.status());
}

// ---- Connections ----

VXCSV_ENTRY SQLConnect(SQLHDBC handle, SQLCHAR* dsn, SQLSMALLINT dsnLength, SQLCHAR*, SQLSMALLINT, SQLCHAR*,
                       SQLSMALLINT) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLConnect", dbc ? connect(*dbc, dbc->narrow(), dsn, dsnLength) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLConnectW(SQLHDBC handle, SQLWCHAR* dsn, SQLSMALLINT dsnLength, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*,
                        SQLSMALLINT) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLConnectW", dbc ? connect(*dbc, kWide, dsn, dsnLength) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLDriverConnect(SQLHDBC handle, SQLHWND, SQLCHAR* in, SQLSMALLINT inLength, SQLCHAR* out,
                             SQLSMALLINT outSize, SQLSMALLINT* outLength, SQLUSMALLINT) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLDriverConnect", dbc ? driverConnect(*dbc, dbc->narrow(), in, inLength, out, outSize, outLength)
                                        : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLDriverConnectW(SQLHDBC handle, SQLHWND, SQLWCHAR* in, SQLSMALLINT inLength, SQLWCHAR* out,
                              SQLSMALLINT outSize, SQLSMALLINT* outLength, SQLUSMALLINT) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLDriverConnectW",
                dbc ? driverConnect(*dbc, kWide, in, inLength, out, outSize, outLength) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLSetConnectAttr(SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLSetConnectAttr",
                dbc ? setConnectAttr(*dbc, dbc->narrow(), attribute, value, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLSetConnectAttrW(SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLSetConnectAttrW", dbc ? setConnectAttr(*dbc, kWide, attribute, value, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLGetConnectAttr(SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size,
                              SQLINTEGER* length) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLGetConnectAttr",
                dbc ? getConnectAttr(*dbc, dbc->narrow(), attribute, value, size, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLGetConnectAttrW(SQLHDBC handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER size,
                               SQLINTEGER* length) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLGetConnectAttrW",
                dbc ? getConnectAttr(*dbc, kWide, attribute, value, size, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLDisconnect(SQLHDBC handle) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  if (!dbc) return traced("SQLDisconnect", SQL_INVALID_HANDLE);
  CallScope scope(*dbc);
  dbc->connected = false;
  return traced("SQLDisconnect", scope.status());
}

VXCSV_ENTRY SQLEndTran(SQLSMALLINT, SQLHANDLE, SQLSMALLINT) { return traced("SQLEndTran", SQL_SUCCESS); }

VXCSV_ENTRY SQLGetInfo(SQLHDBC handle, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* length) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLGetInfo", dbc ? getInfo(*dbc, dbc->narrow(), type, value, size, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLGetInfoW(SQLHDBC handle, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* length) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  return traced("SQLGetInfoW", dbc ? getInfo(*dbc, kWide, type, value, size, length) : SQL_INVALID_HANDLE);
}

// ---- Statements ----

VXCSV_ENTRY SQLExecDirect(SQLHSTMT handle, SQLCHAR* text, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLExecDirect", stmt ? execDirect(*stmt, stmt->dbc->narrow(), text, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLExecDirectW(SQLHSTMT handle, SQLWCHAR* text, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLExecDirectW", stmt ? execDirect(*stmt, kWide, text, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLPrepare(SQLHSTMT handle, SQLCHAR* text, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLPrepare", stmt ? prepare(*stmt, stmt->dbc->narrow(), text, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLPrepareW(SQLHSTMT handle, SQLWCHAR* text, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLPrepareW", stmt ? prepare(*stmt, kWide, text, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLExecute(SQLHSTMT handle) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLExecute", SQL_INVALID_HANDLE);
  CallScope scope(*stmt);
  if (!stmt->isPrepared) {
    csvError(kErrCsvSequence, "HY010");
    return traced("SQLExecute", scope.fail());
  }
  return traced("SQLExecute", execute(*stmt, scope, stmt->prepared));
}

VXCSV_ENTRY SQLBindParameter(SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT type,
                             SQLSMALLINT, SQLULEN, SQLSMALLINT, SQLPOINTER value, SQLLEN, SQLLEN* indicator) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLBindParameter", SQL_INVALID_HANDLE);
  CallScope scope(*stmt);
  if (number < 1) {
    csvError(kErrCsvBadColumnNumber, "07009") << int64_t(number);
    return traced("SQLBindParameter", scope.fail());
  }
  if (direction != SQL_PARAM_INPUT) {
    csvError(kErrCsvNotSupported, "HYC00") << "An output parameter";
    return traced("SQLBindParameter", scope.fail());
  }
  if (stmt->parameters.size() < number) stmt->parameters.resize(number);
  stmt->parameters[number - 1] = Parameter{type, value, indicator};
  return traced("SQLBindParameter", scope.status());
}

// The ? markers of the prepared statement.
VXCSV_ENTRY SQLNumParams(SQLHSTMT handle, SQLSMALLINT* count) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLNumParams", SQL_INVALID_HANDLE);
  CallScope scope(*stmt);
  CsvQuery query;
  if (!stmt->isPrepared) csvError(kErrCsvSequence, "HY010");
  if (!stmt->isPrepared || !stmt->parser.parse(stmt->prepared.c_str(), query)) return traced("SQLNumParams", scope.fail());
  if (count) *count = SQLSMALLINT(query.parameterCount);
  return traced("SQLNumParams", scope.status());
}

VXCSV_ENTRY SQLSetStmtAttr(SQLHSTMT handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLSetStmtAttr",
                stmt ? setStmtAttr(*stmt, stmt->dbc->narrow(), attribute, value, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLSetStmtAttrW(SQLHSTMT handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLSetStmtAttrW", stmt ? setStmtAttr(*stmt, kWide, attribute, value, length) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLNumResultCols(SQLHSTMT handle, SQLSMALLINT* count) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLNumResultCols", SQL_INVALID_HANDLE);
  CallScope scope(*stmt);
  if (count) *count = stmt->open ? SQLSMALLINT(stmt->result.columns.size()) : 0;
  return traced("SQLNumResultCols", scope.status());
}

VXCSV_ENTRY SQLRowCount(SQLHSTMT handle, SQLLEN* count) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLRowCount", SQL_INVALID_HANDLE);
  CallScope scope(*stmt);
  if (count) *count = stmt->rowCount;
  return traced("SQLRowCount", scope.status());
}

VXCSV_ENTRY SQLDescribeCol(SQLHSTMT handle, SQLUSMALLINT number, SQLCHAR* name, SQLSMALLINT nameSize,
                           SQLSMALLINT* nameLength, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* scale,
                           SQLSMALLINT* nullable) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLDescribeCol", stmt ? describeCol(*stmt, stmt->dbc->narrow(), number, name, nameSize, nameLength,
                                                     type, size, scale, nullable)
                                       : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLDescribeColW(SQLHSTMT handle, SQLUSMALLINT number, SQLWCHAR* name, SQLSMALLINT nameSize,
                            SQLSMALLINT* nameLength, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* scale,
                            SQLSMALLINT* nullable) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLDescribeColW",
                stmt ? describeCol(*stmt, kWide, number, name, nameSize, nameLength, type, size, scale, nullable)
                     : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLColAttribute(SQLHSTMT handle, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER text,
                            SQLSMALLINT textSize, SQLSMALLINT* textLength, SQLLEN* numeric) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLColAttribute",
                stmt ? colAttribute(*stmt, stmt->dbc->narrow(), number, field, text, textSize, textLength, numeric)
                     : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLColAttributeW(SQLHSTMT handle, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER text,
                             SQLSMALLINT textSize, SQLSMALLINT* textLength, SQLLEN* numeric) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLColAttributeW", stmt ? colAttribute(*stmt, kWide, number, field, text, textSize, textLength,
                                                        numeric)
                                         : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLBindCol(SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER target, SQLLEN length,
                       SQLLEN* indicator) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLBindCol", SQL_INVALID_HANDLE);
  CallScope scope(*stmt);
  if (number < 1) {
    csvError(kErrCsvBadColumnNumber, "07009") << int64_t(number);
    return traced("SQLBindCol", scope.fail());
  }
  if (stmt->bindings.size() < number) stmt->bindings.resize(number);
  stmt->bindings[number - 1] = target ? Binding{type, target, length, indicator} : Binding();
  return traced("SQLBindCol", scope.status());
}

VXCSV_ENTRY SQLFetch(SQLHSTMT handle) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLFetch", stmt ? fetch(*stmt) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLGetData(SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER target, SQLLEN length,
                       SQLLEN* indicator) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLGetData", stmt ? getData(*stmt, number, type, target, length, indicator) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLTables(SQLHSTMT handle, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR* table,
                      SQLSMALLINT tableLength, SQLCHAR*, SQLSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLTables", stmt ? tables(*stmt, stmt->dbc->narrow(), table, tableLength) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLTablesW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR* table,
                       SQLSMALLINT tableLength, SQLWCHAR*, SQLSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLTablesW", stmt ? tables(*stmt, kWide, table, tableLength) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLColumns(SQLHSTMT handle, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR* table,
                       SQLSMALLINT tableLength, SQLCHAR* column, SQLSMALLINT columnLength) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLColumns", stmt ? columns(*stmt, stmt->dbc->narrow(), table, tableLength, column, columnLength)
                                   : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLColumnsW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR* table,
                        SQLSMALLINT tableLength, SQLWCHAR* column, SQLSMALLINT columnLength) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLColumnsW",
                stmt ? columns(*stmt, kWide, table, tableLength, column, columnLength) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLStatistics(SQLHSTMT handle, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT,
                          SQLUSMALLINT, SQLUSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLStatistics", stmt ? emptyCatalog(*stmt, kStatisticsLayout) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLStatisticsW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT,
                           SQLUSMALLINT, SQLUSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLStatisticsW", stmt ? emptyCatalog(*stmt, kStatisticsLayout) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLSpecialColumns(SQLHSTMT handle, SQLUSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR*,
                              SQLSMALLINT, SQLUSMALLINT, SQLUSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLSpecialColumns", stmt ? emptyCatalog(*stmt, kSpecialColumnsLayout) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLSpecialColumnsW(SQLHSTMT handle, SQLUSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT,
                               SQLWCHAR*, SQLSMALLINT, SQLUSMALLINT, SQLUSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLSpecialColumnsW", stmt ? emptyCatalog(*stmt, kSpecialColumnsLayout) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLPrimaryKeys(SQLHSTMT handle, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLPrimaryKeys", stmt ? emptyCatalog(*stmt, kPrimaryKeysLayout) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLPrimaryKeysW(SQLHSTMT handle, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLWCHAR*, SQLSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLPrimaryKeysW", stmt ? emptyCatalog(*stmt, kPrimaryKeysLayout) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLGetTypeInfo(SQLHSTMT handle, SQLSMALLINT type) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLGetTypeInfo", stmt ? typeInfo(*stmt, type) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLGetTypeInfoW(SQLHSTMT handle, SQLSMALLINT type) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  return traced("SQLGetTypeInfoW", stmt ? typeInfo(*stmt, type) : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLMoreResults(SQLHSTMT handle) {
  return traced("SQLMoreResults", asHandle<Stmt>(handle, kStmtTag) ? SQL_NO_DATA : SQL_INVALID_HANDLE);
}

VXCSV_ENTRY SQLCloseCursor(SQLHSTMT handle) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLCloseCursor", SQL_INVALID_HANDLE);
  CallScope scope(*stmt);
  if (!stmt->open) {
    csvError(kErrCsvNoCursor, "24000");
    return traced("SQLCloseCursor", scope.fail());
  }
  closeCursor(*stmt);
  return traced("SQLCloseCursor", scope.status());
}

VXCSV_ENTRY SQLFreeStmt(SQLHSTMT handle, SQLUSMALLINT option) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return traced("SQLFreeStmt", SQL_INVALID_HANDLE);
  if (option == SQL_DROP) return traced("SQLFreeStmt", SQLFreeHandle(SQL_HANDLE_STMT, handle));
  CallScope scope(*stmt);
  if (option == SQL_CLOSE) closeCursor(*stmt);
  if (option == SQL_UNBIND) stmt->bindings.clear();
  if (option == SQL_RESET_PARAMS) stmt->parameters.clear();
  return traced("SQLFreeStmt", scope.status());
}

// ---- Diagnostics ----

VXCSV_ENTRY SQLGetDiagRec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLCHAR* state,
                          SQLINTEGER* native, SQLCHAR* text, SQLSMALLINT textSize, SQLSMALLINT* textLength) {
  return traced("SQLGetDiagRec", getDiagRec(type, handle, nullptr, number, state, native, text, textSize, textLength));
}

VXCSV_ENTRY SQLGetDiagRecW(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLWCHAR* state,
                           SQLINTEGER* native, SQLWCHAR* text, SQLSMALLINT textSize, SQLSMALLINT* textLength) {
  return traced("SQLGetDiagRecW", getDiagRec(type, handle, &kWide, number, state, native, text, textSize, textLength));
}

VXCSV_ENTRY SQLGetDiagField(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLSMALLINT field,
                            SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* length) {
  return traced("SQLGetDiagField", getDiagField(type, handle, nullptr, number, field, value, size, length));
}

VXCSV_ENTRY SQLGetDiagFieldW(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLSMALLINT field,
                             SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* length) {
  return traced("SQLGetDiagFieldW", getDiagField(type, handle, &kWide, number, field, value, size, length));
}
