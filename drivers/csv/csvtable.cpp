// Reading CSV tables: the header, the records, and the conversion of each
// field into its column's kind.
#include "drivers/csv/csvtable.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "bos/bosfile.h"
#include "drivers/csv/csvcodepage.h"
#include "drivers/csv/csvrecord.h"
#include "foundation/vxerror.h"

namespace {

// One type name of the header: its SQL type, the kind its values take and
// the size a column of it has when the header gives none.
struct TypeInfo {
  const char* name;
  SQLSMALLINT sqlType;
  CsvValue::Kind kind;
  SQLULEN size;
};

const TypeInfo kTypes[] = {
    {"CHAR", SQL_CHAR, CsvValue::kText, 1},          {"VARCHAR", SQL_VARCHAR, CsvValue::kText, 255},
    {"LONGVARCHAR", SQL_LONGVARCHAR, CsvValue::kText, 65535},
    {"TINYINT", SQL_TINYINT, CsvValue::kInteger, 3}, {"SMALLINT", SQL_SMALLINT, CsvValue::kInteger, 5},
    {"INTEGER", SQL_INTEGER, CsvValue::kInteger, 10}, {"INT", SQL_INTEGER, CsvValue::kInteger, 10},
    {"BIGINT", SQL_BIGINT, CsvValue::kInteger, 19},  {"REAL", SQL_REAL, CsvValue::kReal, 7},
    {"FLOAT", SQL_FLOAT, CsvValue::kReal, 15},       {"DOUBLE", SQL_DOUBLE, CsvValue::kReal, 15},
    {"NUMERIC", SQL_NUMERIC, CsvValue::kReal, 15},   {"DECIMAL", SQL_DECIMAL, CsvValue::kReal, 15},
    {"DATE", SQL_TYPE_DATE, CsvValue::kText, 10},    {"TIME", SQL_TYPE_TIME, CsvValue::kText, 8},
    {"TIMESTAMP", SQL_TYPE_TIMESTAMP, CsvValue::kText, 26}};

void badHeader(const std::string& path, const char* reason) {
  csvError(kErrCsvBadHeader, "HY000") << path.c_str() << reason;
}

// Reads one header cell "NAME TYPE[(n[,s])] [NULL] [UNSIGNED]".
bool parseHeaderCell(const std::string& cell, const std::string& path, CsvColumn& column) {
  std::istringstream words(cell);
  std::string type, word;
  if (!(words >> column.name >> type)) {
    badHeader(path, "a cell lacks a name or a type");
    return false;
  }
  size_t open = type.find('(');
  if (open != std::string::npos) {
    char* end = nullptr;
    unsigned long size = strtoul(type.c_str() + open + 1, &end, 10);
    if (*end == ',') column.scale = SQLSMALLINT(strtoul(end + 1, &end, 10));
    if (*end != ')' || end[1] != '\0' || size == 0) {
      badHeader(path, "a size is not a positive number in parentheses");
      return false;
    }
    column.size = size;
    type.resize(open);
  }
  const TypeInfo* info = nullptr;
  for (const TypeInfo& t : kTypes)
    if (strcasecmp(t.name, type.c_str()) == 0) info = &t;
  if (!info) {
    badHeader(path, "a column has an unknown type");
    return false;
  }
  column.typeName = info->name;
  column.sqlType = info->sqlType;
  column.kind = info->kind;
  if (column.size == 0 || column.kind != CsvValue::kText) column.size = info->size;
  while (words >> word) {
    if (strcasecmp(word.c_str(), "NULL") == 0) {
      column.nullable = true;
    } else if (strcasecmp(word.c_str(), "UNSIGNED") != 0) {
      badHeader(path, "a cell has a word other than NULL or UNSIGNED after its type");
      return false;
    }
  }
  return true;
}

enum class FileRead { kRead, kMissing, kFailed };

// Reads the whole file at path under the file layer's shared lock. An
// INSERT, in this process or another, appends while it holds the exclusive
// lock, so a statement sees an appended row whole or not at all; while
// another process appends, the open fails with the file layer's error
// (1512) instead of reading half a line. A missing file files nothing.
FileRead readWholeFile(const std::string& path, std::string& text) {
  if (access(path.c_str(), F_OK) != 0) return FileRead::kMissing;
  char name[BOS_MAX_PATH];
  snprintf(name, sizeof name, "%s", path.c_str());
  int handle = -1;
  if (bosFileOpen(name, BOS_OPEN_SHARED_LOCK, &handle) != 0) return FileRead::kFailed;
  text.clear();
  std::vector<char> buffer(1 << 16);
  int32_t count = 0;
  while (bosFileRead(handle, -1, buffer.data(), buffer.size(), &count) == 0 && count > 0)
    text.append(buffer.data(), size_t(count));
  bosFileClose(handle);
  if (count == 0) return FileRead::kRead;
  addError(kErrFileNotRead) << path.c_str();
  return FileRead::kFailed;
}

}  // namespace

VxError& csvError(uint16_t number, const char* sqlstate) {
  VxError& error = addError(number);
  if (!error.isStatic()) error.setInterfaceCode(sqlstate);
  return error;
}

std::string CsvValue::toText() const {
  switch (kind) {
    case kInteger: return std::to_string(integer);
    case kReal: {
      char buffer[32];
      snprintf(buffer, sizeof buffer, "%.15g", real);
      return buffer;
    }
    case kText: return text;
    case kNull: break;
  }
  return std::string();
}

int CsvTable::findColumn(const std::string& name) const {
  for (size_t i = 0; i < columns.size(); ++i)
    if (strcasecmp(columns[i].name.c_str(), name.c_str()) == 0) return int(i);
  return -1;
}

bool csvConvertText(const std::string& text, CsvValue::Kind kind, CsvValue& out) {
  out = CsvValue();
  out.kind = kind;
  if (kind == CsvValue::kText) {
    out.text = text;
    return true;
  }
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  if (kind == CsvValue::kInteger) {
    out.integer = strtoll(text.c_str(), &end, 10);
  } else {
    out.real = strtod(text.c_str(), &end);
    if (!std::isfinite(out.real)) return false;
  }
  return errno == 0 && *end == '\0';
}

bool csvLoadTable(const std::string& directory, const std::string& name, CsvTable& table, std::string* pathOut) {
  table = CsvTable();
  std::string path = directory + "/" + name + ".csv";
  std::string text;
  // A name with a slash would reach outside the data source's directory.
  FileRead read = name.find('/') == std::string::npos ? readWholeFile(path, text) : FileRead::kMissing;
  if (read == FileRead::kMissing && name.find('/') == std::string::npos) {
    std::string lower = name;
    for (char& c : lower) c = char(tolower(static_cast<unsigned char>(c)));
    path = directory + "/" + lower + ".csv";
    read = readWholeFile(path, text);
  }
  if (read == FileRead::kMissing) csvError(kErrCsvTableNotFound, "42S02") << name.c_str();
  if (read != FileRead::kRead) return false;
  if (pathOut) *pathOut = path;
  return csvFileTextToUtf8(text, path) && csvParseTable(std::move(text), path, table);
}

bool csvParseTable(std::string text, const std::string& path, CsvTable& table) {
  table = CsvTable();
  CsvRecordReader reader(std::move(text));
  CsvRecord record;
  const char* error = nullptr;
  if (!reader.next(record, &error) || error) {
    badHeader(path, error ? error : "the file is empty");
    return false;
  }
  for (const std::string& cell : record.fields) {
    CsvColumn column;
    if (!parseHeaderCell(cell, path, column)) return false;
    table.columns.push_back(column);
  }
  while (reader.next(record, &error)) {
    const char* reason = error;
    if (!reason && record.fields.size() != table.columns.size()) reason = "the number of fields differs from the header";
    if (reason) {
      csvError(kErrCsvBadRecord, "HY000") << int64_t(record.line) << path.c_str() << reason;
      table = CsvTable();
      return false;
    }
    std::vector<CsvValue> row(table.columns.size());
    for (size_t i = 0; i < row.size(); ++i) {
      const CsvColumn& column = table.columns[i];
      bool fits = record.nulls[i] ? column.nullable : csvConvertText(record.fields[i], column.kind, row[i]);
      if (record.nulls[i]) row[i] = CsvValue();
      if (!fits) {
        csvError(kErrCsvBadValue, "22018") << record.fields[i].c_str() << int64_t(record.line) << path.c_str()
                                           << column.name.c_str();
        table = CsvTable();
        return false;
      }
    }
    table.rows.push_back(std::move(row));
  }
  return true;
}

CsvColumn csvCatalogColumn(const char* name, SQLSMALLINT sqlType, bool nullable) {
  CsvColumn column;
  column.name = name;
  column.sqlType = sqlType;
  column.nullable = nullable;
  switch (sqlType) {
    case SQL_SMALLINT: column.typeName = "SMALLINT"; column.kind = CsvValue::kInteger; column.size = 5; break;
    case SQL_INTEGER: column.typeName = "INTEGER"; column.kind = CsvValue::kInteger; column.size = 10; break;
    default:
      assert(sqlType == SQL_VARCHAR);
      column.typeName = "VARCHAR";
      column.size = 32;
      break;
  }
  return column;
}

// The rows follow the order ODBC asks for: by DATA_TYPE, and the header's
// own spelling before its alias (INT is left out: it is INTEGER). Text and
// date-time types take quoted literals; text is searchable with LIKE, the
// others with comparisons only.
void csvTypeInfo(SQLSMALLINT type, CsvTable& result) {
  result = CsvTable();
  const struct {
    const char* name;
    SQLSMALLINT sqlType;
  } layout[] = {{"TYPE_NAME", SQL_VARCHAR},      {"DATA_TYPE", SQL_SMALLINT},        {"COLUMN_SIZE", SQL_INTEGER},
                {"LITERAL_PREFIX", SQL_VARCHAR}, {"LITERAL_SUFFIX", SQL_VARCHAR},    {"CREATE_PARAMS", SQL_VARCHAR},
                {"NULLABLE", SQL_SMALLINT},      {"CASE_SENSITIVE", SQL_SMALLINT},   {"SEARCHABLE", SQL_SMALLINT},
                {"UNSIGNED_ATTRIBUTE", SQL_SMALLINT}, {"FIXED_PREC_SCALE", SQL_SMALLINT},
                {"AUTO_UNIQUE_VALUE", SQL_SMALLINT},  {"LOCAL_TYPE_NAME", SQL_VARCHAR},
                {"MINIMUM_SCALE", SQL_SMALLINT}, {"MAXIMUM_SCALE", SQL_SMALLINT},    {"SQL_DATA_TYPE", SQL_SMALLINT},
                {"SQL_DATETIME_SUB", SQL_SMALLINT}, {"NUM_PREC_RADIX", SQL_INTEGER}, {"INTERVAL_PRECISION", SQL_SMALLINT}};
  for (const auto& column : layout)
    result.columns.push_back(csvCatalogColumn(column.name, column.sqlType, column.sqlType == SQL_VARCHAR ||
                                                                               column.sqlType == SQL_SMALLINT));
  result.columns[0].nullable = result.columns[1].nullable = false;
  auto text = [](const char* s) {
    CsvValue value;
    if (s) {
      value.kind = CsvValue::kText;
      value.text = s;
    }
    return value;
  };
  auto number = [](int64_t n) { return CsvValue::ofInteger(n); };
  for (const TypeInfo& t : kTypes) {
    if (strcmp(t.name, "INT") == 0 || (type != SQL_ALL_TYPES && type != t.sqlType)) continue;
    bool isText = t.sqlType == SQL_CHAR || t.sqlType == SQL_VARCHAR || t.sqlType == SQL_LONGVARCHAR;
    bool isDatetime = t.kind == CsvValue::kText && !isText;
    bool isNumber = t.kind != CsvValue::kText;
    bool hasScale = t.sqlType == SQL_NUMERIC || t.sqlType == SQL_DECIMAL;
    // A text column may be declared as long as the file layer reads; the
    // declared size is what the driver describes.
    int64_t size = isText ? (t.sqlType == SQL_CHAR ? 255 : 2147483647) : int64_t(t.size);
    const char* params = t.sqlType == SQL_CHAR || t.sqlType == SQL_VARCHAR ? "length" : hasScale ? "precision,scale" : nullptr;
    result.rows.push_back(
        {text(t.name), number(t.sqlType), number(size), text(isNumber ? nullptr : "'"), text(isNumber ? nullptr : "'"),
         text(params), number(SQL_NULLABLE), number(isText ? SQL_TRUE : SQL_FALSE),
         number(isText ? SQL_SEARCHABLE : SQL_PRED_BASIC), isNumber ? number(SQL_FALSE) : CsvValue(), number(SQL_FALSE),
         isNumber ? number(SQL_FALSE) : CsvValue(), CsvValue(), isNumber ? number(0) : CsvValue(),
         isNumber ? number(hasScale ? int64_t(t.size) : 0) : CsvValue(),
         number(isDatetime ? SQL_DATETIME : t.sqlType), isDatetime ? number(t.sqlType - SQL_DATETIME * 10) : CsvValue(),
         isNumber ? number(10) : CsvValue(), CsvValue()});
  }
  std::stable_sort(result.rows.begin(), result.rows.end(),
                   [](const std::vector<CsvValue>& a, const std::vector<CsvValue>& b) { return a[1].integer < b[1].integer; });
}
