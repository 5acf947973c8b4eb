// Tables of the CSV driver: one file NAME.csv per table in the data
// source's directory.
//
// The first record of a file describes the columns, one cell each, as
// "NAME TYPE [NULL] [UNSIGNED]", where TYPE may carry a size in
// parentheses (VARCHAR(20)). Every later record is a row: fields follow RFC
// 4180 (commas, double quotes doubled inside quoted fields, line ends
// inside quotes), and an unquoted \N is NULL. Text is in the file code
// page of the call (csvcodepage.h) and UTF-8 once read.
//
// Failure: csvLoadTable files an error in the calling thread's current
// list (unknown table, malformed record, a value that does not fit its
// column) and returns false; what was read is discarded.
//
// Thread-safety: none needed; every call works on its own objects.
#ifndef VX_DRIVERS_CSV_CSVTABLE_H_
#define VX_DRIVERS_CSV_CSVTABLE_H_

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/vxerror.h"

// One value of a row, or of an expression while a statement runs.
struct CsvValue {
  enum Kind : uint8_t { kNull, kInteger, kReal, kText };
  Kind kind = kNull;
  int64_t integer = 0;
  double real = 0;
  std::string text;

  static CsvValue ofInteger(int64_t v) {
    CsvValue value;
    value.kind = kInteger;
    value.integer = v;
    return value;
  }
  bool isNull() const { return kind == kNull; }
  bool isNumber() const { return kind == kInteger || kind == kReal; }
  double asReal() const { return kind == kInteger ? double(integer) : real; }
  // The value as the driver hands it out in character form.
  std::string toText() const;
};

// One column as the header declares it.
struct CsvColumn {
  std::string name;
  std::string typeName;     // as written, without the size
  SQLSMALLINT sqlType = SQL_VARCHAR;
  CsvValue::Kind kind = CsvValue::kText;
  SQLULEN size = 0;         // declared or implied column size
  SQLSMALLINT scale = 0;
  bool nullable = false;
};

struct CsvTable {
  std::vector<CsvColumn> columns;
  std::vector<std::vector<CsvValue>> rows;

  // Position of the column named name (case-insensitive), or -1.
  int findColumn(const std::string& name) const;
};

// Files error number in the calling thread's current list with its
// SQLSTATE and returns the record for its parameters.
VxError& csvError(uint16_t number, const char* sqlstate);

// Reads directory/NAME.csv (NAME as given, else in lower case) into table;
// the path read goes to *path when path is not null.
bool csvLoadTable(const std::string& directory, const std::string& name, CsvTable& table,
                  std::string* path = nullptr);

// Reads the whole text of a table file; path names it in messages.
bool csvParseTable(std::string text, const std::string& path, CsvTable& table);

// A column of a catalog result set, of SQL type SQL_VARCHAR (32 wide),
// SQL_SMALLINT or SQL_INTEGER.
CsvColumn csvCatalogColumn(const char* name, SQLSMALLINT sqlType, bool nullable = true);

// The result set of SQLGetTypeInfo in ODBC's column layout: the types the
// header accepts, all of them for SQL_ALL_TYPES or those of one SQL type.
void csvTypeInfo(SQLSMALLINT type, CsvTable& result);

// Converts text into a value of kind; false when it does not fit.
bool csvConvertText(const std::string& text, CsvValue::Kind kind, CsvValue& out);

#endif  // VX_DRIVERS_CSV_CSVTABLE_H_
