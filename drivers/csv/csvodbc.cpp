// The ODBC entry points of the CSV driver, called by a driver manager.
//
// Handles are C++ objects behind the opaque ODBC handles; each carries a
// tag checked on entry and a multiple-error VxErrorList. Every call but the
// diagnostic ones empties its handle's list and installs it as the calling
// thread's current list for the length of the call, so the library and the
// driver file their errors there; SQLGetDiagRec and SQLGetDiagField read
// the records back with their SQLSTATE, native code and catalog text.
//
// A statement runs when executed: the table is read, filtered, sorted and
// projected into a result held in memory, which SQLFetch walks.
#include <sql.h>
#include <sqlext.h>

#include <strings.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "config/vxini.h"
#include "config/vxvaluep.h"
#include "containers/vxstring.h"
#include "drivers/csv/csvquery.h"
#include "foundation/vxerror.h"

#define VXCSV_ENTRY extern "C" __attribute__((visibility("default"))) SQLRETURN SQL_API

namespace {

// Prefix of every diagnostic text, naming the component that reports it.
const char kTextPrefix[] = "[vxlib][CSV]";

enum HandleTag : uint32_t { kEnvTag = 0x56584531, kDbcTag = 0x56584432, kStmtTag = 0x56585333 };

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
  std::vector<Binding> bindings;
  std::vector<Parameter> parameters;
  std::vector<size_t> readOffsets;  // SQLGetData's position in each column
  CsvStatementParser parser;
};

template <typename T>
T* asHandle(SQLHANDLE handle, HandleTag tag) {
  T* object = static_cast<T*>(handle);
  return object && object->tag == tag ? object : nullptr;
}

// Empties a handle's error list and installs it as the thread's current
// list for the length of one call (the diagnostic calls only read it and
// take no scope).
class CallScope {
 public:
  explicit CallScope(Handle& handle) : handle_(handle) {
    handle.errors.clearErrors();
    VxErrorKeeper::setErrorList(&handle.errors);
  }
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
};

// Copies text into an application buffer of size bytes (NUL included),
// storing the full length; true when it fitted.
bool copyOut(const std::string& text, SQLPOINTER buffer, SQLLEN size, SQLLEN* length) {
  if (length) *length = SQLLEN(text.size());
  if (buffer && size > 0) {
    size_t n = std::min(text.size(), size_t(size - 1));
    memcpy(buffer, text.data(), n);
    static_cast<char*>(buffer)[n] = '\0';
  }
  return !buffer || SQLLEN(text.size()) < size;
}

bool copyOutSmall(const std::string& text, SQLPOINTER buffer, SQLSMALLINT size, SQLSMALLINT* length) {
  SQLLEN full = 0;
  bool fitted = copyOut(text, buffer, size, &full);
  if (length) *length = SQLSMALLINT(std::min<SQLLEN>(full, 32767));
  return fitted;
}

std::string inputText(SQLCHAR* text, SQLINTEGER length) {
  if (!text) return std::string();
  const char* chars = reinterpret_cast<const char*>(text);
  return length == SQL_NTS ? std::string(chars) : std::string(chars, size_t(std::max<SQLINTEGER>(length, 0)));
}

void truncated() { csvError(kErrCsvTruncated, "01004").setWarning(); }

// Reads the directory of data source dsn from the ODBC configuration.
bool directoryOfDataSource(const std::string& dsn, std::string& directory) {
  char buffer[4096];
  vxGetPrivateProfileString(dsn.c_str(), "Directory", "", buffer, sizeof buffer, "odbc.ini");
  directory = buffer;
  if (directory.empty()) csvError(kErrCsvNoDataSource, "IM002") << dsn.c_str();
  return !directory.empty();
}

// ---- Results ----

// Converts a value into the application's C type at target; for character
// data from byte offset *offset on (advanced by what was delivered), so
// that long values can be read in pieces. Returns SQL_NO_DATA when a
// character value was already delivered whole.
SQLRETURN deliver(const CsvValue& value, const CsvColumn& column, SQLSMALLINT type, SQLPOINTER target,
                  SQLLEN length, SQLLEN* indicator, size_t* offset) {
  if (type == SQL_C_DEFAULT)
    type = column.kind == CsvValue::kInteger ? SQL_C_SBIGINT : column.kind == CsvValue::kReal ? SQL_C_DOUBLE : SQL_C_CHAR;
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
  CsvValue number = value;
  if (type != SQL_C_CHAR && value.kind == CsvValue::kText && !csvConvertText(value.text, CsvValue::kReal, number)) {
    csvError(kErrCsvTypeMismatch, "22018") << value.text.c_str() << "a number";
    return SQL_ERROR;
  }
  switch (type) {
    case SQL_C_CHAR: {
      std::string text = value.toText();
      size_t from = offset ? *offset : 0;
      if (offset && from > 0 && from >= text.size()) return SQL_NO_DATA;
      text.erase(0, from);
      SQLLEN full = 0;
      bool fitted = copyOut(text, target, length, &full);
      if (indicator) *indicator = full;
      if (offset) *offset = from + (fitted ? text.size() : size_t(std::max<SQLLEN>(length - 1, 0))) + (text.empty() ? 1 : 0);
      if (fitted) return SQL_SUCCESS;
      truncated();
      return SQL_SUCCESS_WITH_INFO;
    }
    case SQL_C_SLONG:
    case SQL_C_LONG: *static_cast<SQLINTEGER*>(target) = SQLINTEGER(number.kind == CsvValue::kInteger ? number.integer : SQLBIGINT(number.real)); break;
    case SQL_C_SBIGINT: *static_cast<SQLBIGINT*>(target) = number.kind == CsvValue::kInteger ? number.integer : SQLBIGINT(number.real); break;
    case SQL_C_DOUBLE: *static_cast<SQLDOUBLE*>(target) = number.asReal(); break;
    default:
      csvError(kErrCsvUnsupportedType, "HY003") << int64_t(type);
      return SQL_ERROR;
  }
  if (offset) {
    if (*offset > 0) return SQL_NO_DATA;
    *offset = 1;
  }
  if (indicator) *indicator = type == SQL_C_DOUBLE ? sizeof(SQLDOUBLE) : type == SQL_C_SBIGINT ? sizeof(SQLBIGINT) : sizeof(SQLINTEGER);
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
  stmt.next = 0;
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
    switch (p.type) {
      case SQL_C_CHAR: {
        const char* text = static_cast<const char*>(p.value);
        value.kind = CsvValue::kText;
        value.text = !p.indicator || *p.indicator == SQL_NTS ? std::string(text)
                                                              : std::string(text, size_t(std::max<SQLLEN>(*p.indicator, 0)));
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
  if (!csvRunQuery(stmt.dbc->directory, query, stmt.result)) return scope.fail();
  stmt.open = true;
  stmt.rowCount = SQLLEN(stmt.result.rows.size());
  return scope.status();
}

bool columnNumberValid(const Stmt& stmt, SQLUSMALLINT number) {
  if (number >= 1 && number <= stmt.result.columns.size()) return true;
  csvError(kErrCsvBadColumnNumber, "07009") << int64_t(number);
  return false;
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

std::string diagText(VxError& error) { return std::string(kTextPrefix) + error.getErrorText(); }

std::string diagState(const VxError& error) {
  const char* code = error.getInterfaceCode();
  return code && *code ? code : "HY000";
}

}  // namespace

// ---- Handles ----

VXCSV_ENTRY SQLAllocHandle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) {
  if (!output) return SQL_ERROR;
  *output = SQL_NULL_HANDLE;
  switch (type) {
    case SQL_HANDLE_ENV: *output = new Env; return SQL_SUCCESS;
    case SQL_HANDLE_DBC:
      if (!asHandle<Env>(input, kEnvTag)) return SQL_INVALID_HANDLE;
      *output = new Dbc;
      return SQL_SUCCESS;
    case SQL_HANDLE_STMT: {
      Dbc* dbc = asHandle<Dbc>(input, kDbcTag);
      if (!dbc) return SQL_INVALID_HANDLE;
      CallScope scope(*dbc);
      if (!dbc->connected) {
        csvError(kErrCsvSequence, "08003");
        return scope.fail();
      }
      *output = new Stmt(dbc);
      return SQL_SUCCESS;
    }
    default: return SQL_ERROR;
  }
}

VXCSV_ENTRY SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
  Handle* object = anyHandle(type, handle);
  if (!object) return SQL_INVALID_HANDLE;
  object->tag = HandleTag(0);
  switch (type) {
    case SQL_HANDLE_ENV: delete static_cast<Env*>(object); break;
    case SQL_HANDLE_DBC: delete static_cast<Dbc*>(object); break;
    default: delete static_cast<Stmt*>(object); break;
  }
  return SQL_SUCCESS;
}

VXCSV_ENTRY SQLSetEnvAttr(SQLHENV handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
  Env* env = asHandle<Env>(handle, kEnvTag);
  if (!env) return SQL_INVALID_HANDLE;
  CallScope scope(*env);
  if (attribute == SQL_ATTR_ODBC_VERSION) env->version = SQLINTEGER(reinterpret_cast<SQLLEN>(value));
  return scope.status();
}

VXCSV_ENTRY SQLGetEnvAttr(SQLHENV handle, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER, SQLINTEGER*) {
  Env* env = asHandle<Env>(handle, kEnvTag);
  if (!env) return SQL_INVALID_HANDLE;
  CallScope scope(*env);
  if (attribute == SQL_ATTR_ODBC_VERSION && value) *static_cast<SQLINTEGER*>(value) = env->version;
  return scope.status();
}

// ---- Connections ----

VXCSV_ENTRY SQLConnect(SQLHDBC handle, SQLCHAR* dsn, SQLSMALLINT dsnLength, SQLCHAR*, SQLSMALLINT, SQLCHAR*,
                       SQLSMALLINT) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  if (!dbc) return SQL_INVALID_HANDLE;
  CallScope scope(*dbc);
  if (!directoryOfDataSource(inputText(dsn, dsnLength), dbc->directory)) return scope.fail();
  dbc->connected = true;
  return scope.status();
}

// The connection string names a data source (DSN=) whose directory is read
// from the configuration, or gives DIRECTORY= itself (which wins over the
// data source's). The completed string goes back to the application.
VXCSV_ENTRY SQLDriverConnect(SQLHDBC handle, SQLHWND, SQLCHAR* in, SQLSMALLINT inLength, SQLCHAR* out,
                             SQLSMALLINT outSize, SQLSMALLINT* outLength, SQLUSMALLINT) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  if (!dbc) return SQL_INVALID_HANDLE;
  CallScope scope(*dbc);
  std::string text = inputText(in, inLength);
  VxValueParser attributes(VxSubString(text.data(), text.size(), VX_CP_UTF8), ';', "connection string", 0);
  if (attributes.initialize() != 0) return scope.fail();
  const VxSubString* dsn = attributes.getAttributeValue("DSN");
  const VxSubString* directory = attributes.getAttributeValue("DIRECTORY");
  if (directory) {
    dbc->directory.assign(directory->asPascalStr(), directory->getLength());
  } else if (!directoryOfDataSource(dsn ? std::string(dsn->asPascalStr(), dsn->getLength()) : std::string(),
                                    dbc->directory)) {
    return scope.fail();
  }
  if (!directory && attributes.addAttribute("DIRECTORY", dbc->directory.c_str()) != 0) return scope.fail();
  VxString completed;
  if (attributes.buildString(completed) != 0) return scope.fail();
  if (!copyOutSmall(std::string(completed.asPascalStr(), completed.getLength()), out, outSize, outLength))
    truncated();
  dbc->connected = true;
  return scope.status();
}

VXCSV_ENTRY SQLDisconnect(SQLHDBC handle) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  if (!dbc) return SQL_INVALID_HANDLE;
  CallScope scope(*dbc);
  dbc->connected = false;
  return scope.status();
}

VXCSV_ENTRY SQLEndTran(SQLSMALLINT, SQLHANDLE, SQLSMALLINT) { return SQL_SUCCESS; }

// What the driver answers about itself: what a driver manager and isql
// ask for. Other information types are reported as not supported.
VXCSV_ENTRY SQLGetInfo(SQLHDBC handle, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* length) {
  Dbc* dbc = asHandle<Dbc>(handle, kDbcTag);
  if (!dbc) return SQL_INVALID_HANDLE;
  CallScope scope(*dbc);
  const char* text = nullptr;
  SQLUSMALLINT small = 0;
  bool isSmall = false;
  switch (type) {
    case SQL_DRIVER_ODBC_VER: text = "03.00"; break;
    case SQL_DRIVER_NAME: text = "libvxcsv.so"; break;
    case SQL_DRIVER_VER: text = "00.01.0000"; break;
    case SQL_DBMS_NAME: text = "vxlib CSV"; break;
    case SQL_DBMS_VER: text = "00.01.0000"; break;
    case SQL_DATA_SOURCE_READ_ONLY: text = "N"; break;
    case SQL_IDENTIFIER_QUOTE_CHAR: text = "\""; break;
    case SQL_CATALOG_NAME_SEPARATOR: text = ""; break;
    case SQL_TXN_CAPABLE: isSmall = true; small = SQL_TC_NONE; break;
    case SQL_CURSOR_COMMIT_BEHAVIOR:
    case SQL_CURSOR_ROLLBACK_BEHAVIOR: isSmall = true; small = SQL_CB_PRESERVE; break;
    case SQL_MAX_CONCURRENT_ACTIVITIES:
    case SQL_MAX_DRIVER_CONNECTIONS: isSmall = true; break;
    default:
      csvError(kErrCsvNotSupported, "HY096") << "The information type";
      return scope.fail();
  }
  if (isSmall) {
    if (value) *static_cast<SQLUSMALLINT*>(value) = small;
    if (length) *length = sizeof small;
  } else if (!copyOutSmall(text, value, size, length)) {
    truncated();
  }
  return scope.status();
}

// ---- Statements ----

VXCSV_ENTRY SQLExecDirect(SQLHSTMT handle, SQLCHAR* text, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  stmt->isPrepared = false;
  return execute(*stmt, scope, inputText(text, length));
}

VXCSV_ENTRY SQLPrepare(SQLHSTMT handle, SQLCHAR* text, SQLINTEGER length) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  closeCursor(*stmt);
  stmt->prepared = inputText(text, length);
  stmt->isPrepared = true;
  return scope.status();
}

VXCSV_ENTRY SQLExecute(SQLHSTMT handle) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (!stmt->isPrepared) {
    csvError(kErrCsvSequence, "HY010");
    return scope.fail();
  }
  return execute(*stmt, scope, stmt->prepared);
}

VXCSV_ENTRY SQLBindParameter(SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT type,
                             SQLSMALLINT, SQLULEN, SQLSMALLINT, SQLPOINTER value, SQLLEN, SQLLEN* indicator) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (number < 1) {
    csvError(kErrCsvBadColumnNumber, "07009") << int64_t(number);
    return scope.fail();
  }
  if (direction != SQL_PARAM_INPUT) {
    csvError(kErrCsvNotSupported, "HYC00") << "An output parameter";
    return scope.fail();
  }
  if (stmt->parameters.size() < number) stmt->parameters.resize(number);
  stmt->parameters[number - 1] = Parameter{type, value, indicator};
  return scope.status();
}

VXCSV_ENTRY SQLNumResultCols(SQLHSTMT handle, SQLSMALLINT* count) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (count) *count = stmt->open ? SQLSMALLINT(stmt->result.columns.size()) : 0;
  return scope.status();
}

VXCSV_ENTRY SQLRowCount(SQLHSTMT handle, SQLLEN* count) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (count) *count = stmt->rowCount;
  return scope.status();
}

VXCSV_ENTRY SQLDescribeCol(SQLHSTMT handle, SQLUSMALLINT number, SQLCHAR* name, SQLSMALLINT nameSize,
                           SQLSMALLINT* nameLength, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* scale,
                           SQLSMALLINT* nullable) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (!columnNumberValid(*stmt, number)) return scope.fail();
  const CsvColumn& column = stmt->result.columns[number - 1];
  if (!copyOutSmall(column.name, name, nameSize, nameLength)) truncated();
  if (type) *type = column.sqlType;
  if (size) *size = column.size;
  if (scale) *scale = column.scale;
  if (nullable) *nullable = column.nullable ? SQL_NULLABLE : SQL_NO_NULLS;
  return scope.status();
}

VXCSV_ENTRY SQLColAttribute(SQLHSTMT handle, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER text,
                            SQLSMALLINT textSize, SQLSMALLINT* textLength, SQLLEN* numeric) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (field == SQL_DESC_COUNT) {
    if (numeric) *numeric = SQLLEN(stmt->result.columns.size());
    return scope.status();
  }
  if (!columnNumberValid(*stmt, number)) return scope.fail();
  const CsvColumn& column = stmt->result.columns[number - 1];
  SQLLEN value = 0;
  switch (field) {
    case SQL_DESC_NAME:
    case SQL_DESC_LABEL:
    case SQL_COLUMN_NAME:
      if (!copyOutSmall(column.name, text, textSize, textLength)) truncated();
      return scope.status();
    case SQL_DESC_TYPE_NAME:
      if (!copyOutSmall(column.typeName, text, textSize, textLength)) truncated();
      return scope.status();
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
  if (numeric) *numeric = value;
  return scope.status();
}

VXCSV_ENTRY SQLBindCol(SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER target, SQLLEN length,
                       SQLLEN* indicator) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (number < 1) {
    csvError(kErrCsvBadColumnNumber, "07009") << int64_t(number);
    return scope.fail();
  }
  if (stmt->bindings.size() < number) stmt->bindings.resize(number);
  stmt->bindings[number - 1] = target ? Binding{type, target, length, indicator} : Binding();
  return scope.status();
}

VXCSV_ENTRY SQLFetch(SQLHSTMT handle) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (!stmt->open) {
    csvError(kErrCsvNoCursor, "24000");
    return scope.fail();
  }
  if (stmt->next >= stmt->result.rows.size()) return SQL_NO_DATA;
  const std::vector<CsvValue>& row = stmt->result.rows[stmt->next++];
  stmt->readOffsets.assign(row.size(), 0);
  for (size_t i = 0; i < row.size() && i < stmt->bindings.size(); ++i) {
    const Binding& b = stmt->bindings[i];
    if (b.target &&
        deliver(row[i], stmt->result.columns[i], b.type, b.target, b.length, b.indicator, nullptr) == SQL_ERROR)
      return scope.fail();
  }
  return scope.status();
}

VXCSV_ENTRY SQLGetData(SQLHSTMT handle, SQLUSMALLINT number, SQLSMALLINT type, SQLPOINTER target, SQLLEN length,
                       SQLLEN* indicator) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (!stmt->open || stmt->next == 0) {
    csvError(kErrCsvNoCursor, "24000");
    return scope.fail();
  }
  if (!columnNumberValid(*stmt, number)) return scope.fail();
  assert(stmt->readOffsets.size() == stmt->result.columns.size());
  SQLRETURN rc = deliver(stmt->result.rows[stmt->next - 1][number - 1], stmt->result.columns[number - 1], type,
                         target, length, indicator, &stmt->readOffsets[number - 1]);
  return rc == SQL_SUCCESS ? scope.status() : rc;
}

// An argument of a catalog call: null when absent (every name matches).
std::unique_ptr<std::string> patternArgument(SQLCHAR* text, SQLSMALLINT length) {
  if (!text) return nullptr;
  return std::make_unique<std::string>(inputText(text, length));
}

VXCSV_ENTRY SQLTables(SQLHSTMT handle, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR* table,
                      SQLSMALLINT tableLength, SQLCHAR*, SQLSMALLINT) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  closeCursor(*stmt);
  auto pattern = patternArgument(table, tableLength);
  if (!csvCatalogTables(stmt->dbc->directory, pattern.get(), stmt->result)) return scope.fail();
  stmt->open = true;
  return scope.status();
}

VXCSV_ENTRY SQLColumns(SQLHSTMT handle, SQLCHAR*, SQLSMALLINT, SQLCHAR*, SQLSMALLINT, SQLCHAR* table,
                       SQLSMALLINT tableLength, SQLCHAR* column, SQLSMALLINT columnLength) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  closeCursor(*stmt);
  auto tables = patternArgument(table, tableLength);
  auto columns = patternArgument(column, columnLength);
  if (!csvCatalogColumns(stmt->dbc->directory, tables.get(), columns.get(), stmt->result)) return scope.fail();
  stmt->open = true;
  return scope.status();
}

VXCSV_ENTRY SQLMoreResults(SQLHSTMT handle) {
  return asHandle<Stmt>(handle, kStmtTag) ? SQL_NO_DATA : SQL_INVALID_HANDLE;
}

VXCSV_ENTRY SQLCloseCursor(SQLHSTMT handle) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  CallScope scope(*stmt);
  if (!stmt->open) {
    csvError(kErrCsvNoCursor, "24000");
    return scope.fail();
  }
  closeCursor(*stmt);
  return scope.status();
}

VXCSV_ENTRY SQLFreeStmt(SQLHSTMT handle, SQLUSMALLINT option) {
  Stmt* stmt = asHandle<Stmt>(handle, kStmtTag);
  if (!stmt) return SQL_INVALID_HANDLE;
  if (option == SQL_DROP) return SQLFreeHandle(SQL_HANDLE_STMT, handle);
  CallScope scope(*stmt);
  if (option == SQL_CLOSE) closeCursor(*stmt);
  if (option == SQL_UNBIND) stmt->bindings.clear();
  if (option == SQL_RESET_PARAMS) stmt->parameters.clear();
  return scope.status();
}

// ---- Diagnostics ----

VXCSV_ENTRY SQLGetDiagRec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLCHAR* state,
                          SQLINTEGER* native, SQLCHAR* text, SQLSMALLINT textSize, SQLSMALLINT* textLength) {
  Handle* object = anyHandle(type, handle);
  if (!object) return SQL_INVALID_HANDLE;
  if (number < 1) return SQL_ERROR;
  VxError* error = SQLSMALLINT(object->errors.getCount()) >= number ? object->errors.at(size_t(number - 1)) : nullptr;
  if (!error && number == 1 && object->errors.isOutOfMemory()) error = object->errors.getLastError();
  if (!error) return SQL_NO_DATA;
  if (state) memcpy(state, diagState(*error).c_str(), 6);
  if (native) *native = SQLINTEGER(error->getNativeError() ? error->getNativeError() : error->getErrorNumber());
  return copyOutSmall(diagText(*error), text, textSize, textLength) ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

VXCSV_ENTRY SQLGetDiagField(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT number, SQLSMALLINT field,
                            SQLPOINTER value, SQLSMALLINT size, SQLSMALLINT* length) {
  Handle* object = anyHandle(type, handle);
  if (!object) return SQL_INVALID_HANDLE;
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
    case SQL_DIAG_SQLSTATE: return copyOutSmall(diagState(error), value, size, length) ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
    case SQL_DIAG_MESSAGE_TEXT:
      return copyOutSmall(diagText(error), value, size, length) ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
    case SQL_DIAG_NATIVE:
      if (value) *static_cast<SQLINTEGER*>(value) = SQLINTEGER(error.getErrorNumber());
      return SQL_SUCCESS;
    case SQL_DIAG_CLASS_ORIGIN:
    case SQL_DIAG_SUBCLASS_ORIGIN:
      return copyOutSmall(diagState(error).compare(0, 2, "IM") == 0 ? "ODBC 3.0" : "ISO 9075", value, size, length)
                 ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
    case SQL_DIAG_CONNECTION_NAME:
    case SQL_DIAG_SERVER_NAME: return copyOutSmall("", value, size, length) ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
    default: return SQL_ERROR;
  }
}
