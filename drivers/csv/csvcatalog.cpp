// The catalog result sets: the tables of a data source's directory and
// their columns, in the column layout ODBC defines for SQLTables and
// SQLColumns.
#include <dirent.h>

#include <algorithm>

#include "drivers/csv/csvquery.h"
#include "foundation/vxstr.h"

namespace {

// A search pattern of a catalog call: % and _ as in LIKE, \ escapes; an
// absent pattern matches everything.
bool matches(const std::string* pattern, const std::string& name) {
  return !pattern || strLike(name.data(), name.size(), pattern->data(), pattern->size(), '%', '_', '\\', 0, 1,
                             VX_CP_UTF8);
}

CsvColumn textColumn(const char* name, bool nullable = true) { return csvCatalogColumn(name, SQL_VARCHAR, nullable); }

CsvColumn integerColumn(const char* name, SQLSMALLINT sqlType, bool nullable = true) {
  return csvCatalogColumn(name, sqlType, nullable);
}

CsvValue text(const std::string& s) {
  CsvValue value;
  value.kind = CsvValue::kText;
  value.text = s;
  return value;
}

// The names of the directory's tables (files NAME.csv), sorted.
std::vector<std::string> tableNames(const std::string& directory) {
  std::vector<std::string> names;
  if (DIR* dir = opendir(directory.c_str())) {
    while (dirent* entry = readdir(dir)) {
      std::string file = entry->d_name;
      if (file.size() > 4 && file.compare(file.size() - 4, 4, ".csv") == 0) names.push_back(file.substr(0, file.size() - 4));
    }
    closedir(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

bool csvCatalogTables(const std::string& directory, const std::string* pattern, CsvResult& result) {
  result = CsvResult();
  result.columns = {textColumn("TABLE_CAT"), textColumn("TABLE_SCHEM"), textColumn("TABLE_NAME", false),
                    textColumn("TABLE_TYPE", false), textColumn("REMARKS")};
  for (const std::string& name : tableNames(directory))
    if (matches(pattern, name)) result.rows.push_back({CsvValue(), CsvValue(), text(name), text("TABLE"), CsvValue()});
  return true;
}

bool csvCatalogColumns(const std::string& directory, const std::string* tablePattern,
                       const std::string* columnPattern, CsvResult& result) {
  result = CsvResult();
  result.columns = {textColumn("TABLE_CAT"), textColumn("TABLE_SCHEM"), textColumn("TABLE_NAME", false),
                    textColumn("COLUMN_NAME", false), integerColumn("DATA_TYPE", SQL_SMALLINT, false),
                    textColumn("TYPE_NAME", false), integerColumn("COLUMN_SIZE", SQL_INTEGER),
                    integerColumn("BUFFER_LENGTH", SQL_INTEGER), integerColumn("DECIMAL_DIGITS", SQL_SMALLINT),
                    integerColumn("NUM_PREC_RADIX", SQL_SMALLINT), integerColumn("NULLABLE", SQL_SMALLINT, false),
                    textColumn("REMARKS"), textColumn("COLUMN_DEF"), integerColumn("SQL_DATA_TYPE", SQL_SMALLINT, false),
                    integerColumn("SQL_DATETIME_SUB", SQL_SMALLINT), integerColumn("CHAR_OCTET_LENGTH", SQL_INTEGER),
                    integerColumn("ORDINAL_POSITION", SQL_INTEGER, false), textColumn("IS_NULLABLE")};
  for (const std::string& name : tableNames(directory)) {
    if (!matches(tablePattern, name)) continue;
    CsvTable table;
    if (!csvLoadTable(directory, name, table)) return false;
    for (size_t i = 0; i < table.columns.size(); ++i) {
      const CsvColumn& c = table.columns[i];
      if (!matches(columnPattern, c.name)) continue;
      bool isText = c.kind == CsvValue::kText;
      bool isDatetime = c.sqlType == SQL_TYPE_DATE || c.sqlType == SQL_TYPE_TIME || c.sqlType == SQL_TYPE_TIMESTAMP;
      result.rows.push_back({CsvValue(), CsvValue(), text(name), text(c.name), CsvValue::ofInteger(c.sqlType),
                             text(c.typeName), CsvValue::ofInteger(int64_t(c.size)),
                             CsvValue::ofInteger(int64_t(c.size)), isText ? CsvValue() : CsvValue::ofInteger(c.scale),
                             isText ? CsvValue() : CsvValue::ofInteger(10),
                             CsvValue::ofInteger(c.nullable ? SQL_NULLABLE : SQL_NO_NULLS), CsvValue(), CsvValue(),
                             CsvValue::ofInteger(isDatetime ? SQL_DATETIME : c.sqlType),
                             isDatetime ? CsvValue::ofInteger(c.sqlType - SQL_DATETIME * 10) : CsvValue(),
                             isText ? CsvValue::ofInteger(int64_t(c.size)) : CsvValue(),
                             CsvValue::ofInteger(int64_t(i + 1)), text(c.nullable ? "YES" : "NO")});
    }
  }
  return true;
}
