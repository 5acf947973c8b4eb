// vxtool xml: saves a CSV file as an XML result-set document through the
// writer's C interface.
//
// The CSV's first record describes the columns, one cell each, as
// "NAME TYPE [NULL] [UNSIGNED]"; every later record is a row. Fields follow
// RFC 4180 (commas, double quotes doubled inside quoted fields, line ends
// inside quotes); an unquoted \N is NULL. Every value is checked against
// its column before it goes to the writer, and the first that does not fit
// ends the run: the message names the CSV line, the document is cancelled
// and no output file is left.
#include <sqlext.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "drivers/csv/csvrecord.h"
#include "foundation/but.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"
#include "tools/vxtool/tool_errors.h"
#include "xml/XPst.h"

namespace {

// An SQL type as the header names it.
struct TypeName {
  const char* name;
  int16_t sqlType;
  int16_t cType;
  int sizeParts;  // 0: no size, 1: (n), 2: (p) or (p,s)
};

const TypeName kTypes[] = {
    {"CHAR", SQL_CHAR, SQL_C_CHAR, 1},          {"VARCHAR", SQL_VARCHAR, SQL_C_CHAR, 1},
    {"LONGVARCHAR", SQL_LONGVARCHAR, SQL_C_CHAR, 0}, {"WCHAR", SQL_WCHAR, SQL_C_CHAR, 1},
    {"WVARCHAR", SQL_WVARCHAR, SQL_C_CHAR, 1},  {"WLONGVARCHAR", SQL_WLONGVARCHAR, SQL_C_CHAR, 0},
    {"BIT", SQL_BIT, SQL_C_BIT, 0},             {"TINYINT", SQL_TINYINT, SQL_C_SBIGINT, 0},
    {"SMALLINT", SQL_SMALLINT, SQL_C_SBIGINT, 0}, {"INTEGER", SQL_INTEGER, SQL_C_SBIGINT, 0},
    {"INT", SQL_INTEGER, SQL_C_SBIGINT, 0},     {"BIGINT", SQL_BIGINT, SQL_C_SBIGINT, 0},
    {"NUMERIC", SQL_NUMERIC, SQL_C_CHAR, 2},    {"DECIMAL", SQL_DECIMAL, SQL_C_CHAR, 2},
    {"REAL", SQL_REAL, SQL_C_FLOAT, 0},         {"FLOAT", SQL_FLOAT, SQL_C_DOUBLE, 0},
    {"DOUBLE", SQL_DOUBLE, SQL_C_DOUBLE, 0},    {"BINARY", SQL_BINARY, SQL_C_BINARY, 1},
    {"VARBINARY", SQL_VARBINARY, SQL_C_BINARY, 1},
    {"LONGVARBINARY", SQL_LONGVARBINARY, SQL_C_BINARY, 0},
    {"DATE", SQL_TYPE_DATE, SQL_C_TYPE_DATE, 0}, {"TIME", SQL_TYPE_TIME, SQL_C_TYPE_TIME, 0},
    {"TIMESTAMP", SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP, 0}};

// A column's description and the buffers its values are converted into.
struct Column {
  std::string name, typeText;
  XML_PERSIST_COL_DESC desc{};
  std::string text;
  int64_t integer = 0;
  uint64_t unsignedInteger = 0;
  double real = 0;
  float single = 0;
  unsigned char bit = 0;
  DATE_STRUCT date{};
  TIME_STRUCT time{};
  TIMESTAMP_STRUCT stamp{};
};

bool parseSize(const std::string& text, const TypeName& type, Column* column) {
  unsigned long long size = 0, scale = 0;
  int used = 0;
  if (type.sizeParts == 0) return text.empty();
  if (sscanf(text.c_str(), "(%llu)%n", &size, &used) == 1 && size_t(used) == text.size()) {
  } else if (type.sizeParts == 2 &&
             sscanf(text.c_str(), "(%llu,%llu)%n", &size, &scale, &used) == 2 &&
             size_t(used) == text.size() && scale <= size) {
  } else {
    return false;
  }
  if (size == 0 || size > 1000000000 || (type.sizeParts == 2 && size > 38)) return false;
  column->desc.columnSize = size;
  column->desc.decimalDigits = int16_t(scale);
  return true;
}

// "NAME TYPE[(size)] [NULL] [UNSIGNED]".
bool parseHeaderCell(const std::string& cell, Column* column) {
  std::istringstream words(cell);
  std::string type, flag;
  if (!(words >> column->name >> type)) return false;
  column->typeText = type;
  size_t paren = type.find('(');
  std::string base = type.substr(0, paren);
  for (char& c : base) c = char(toupper(static_cast<unsigned char>(c)));
  const TypeName* found = nullptr;
  for (const TypeName& t : kTypes)
    if (base == t.name) found = &t;
  if (found == nullptr) return false;
  column->desc.sqlType = found->sqlType;
  column->desc.cType = found->cType;
  std::string size = paren == std::string::npos ? "" : type.substr(paren);
  if (!parseSize(size, *found, column)) return false;
  while (words >> flag) {
    for (char& c : flag) c = char(toupper(static_cast<unsigned char>(c)));
    if (flag == "NULL") {
      column->desc.nullable = SQL_NULLABLE;
    } else if (flag == "UNSIGNED" && found->cType == SQL_C_SBIGINT) {
      column->desc.isUnsigned = 1;
      column->desc.cType = SQL_C_UBIGINT;
    } else {
      return false;
    }
  }
  return true;
}

size_t characters(const std::string& s) {
  size_t n = 0;
  for (unsigned char c : s) n += (c & 0xC0) != 0x80;
  return n;
}

bool parseInteger(const std::string& s, Column* c) {
  static const int64_t kSignedMax[] = {127, 32767, 2147483647, INT64_MAX};
  static const uint64_t kUnsignedMax[] = {255, 65535, 4294967295u, UINT64_MAX};
  int16_t t = c->desc.sqlType;
  int kind = t == SQL_TINYINT ? 0 : t == SQL_SMALLINT ? 1 : t == SQL_INTEGER ? 2 : 3;
  if (s.empty() || isspace(static_cast<unsigned char>(s[0]))) return false;
  char* end = nullptr;
  errno = 0;
  if (c->desc.isUnsigned) {
    if (s[0] == '-') return false;
    c->unsignedInteger = strtoull(s.c_str(), &end, 10);
    return errno == 0 && *end == 0 && c->unsignedInteger <= kUnsignedMax[kind];
  }
  c->integer = strtoll(s.c_str(), &end, 10);
  return errno == 0 && *end == 0 && c->integer <= kSignedMax[kind] &&
         c->integer >= -kSignedMax[kind] - 1;
}

bool parseDecimal(const std::string& s, Column* c) {
  size_t at = (!s.empty() && (s[0] == '-' || s[0] == '+')) ? 1 : 0;
  size_t whole = 0, fraction = 0;
  while (at < s.size() && isdigit(static_cast<unsigned char>(s[at]))) ++at, ++whole;
  if (at < s.size() && s[at] == '.')
    for (++at; at < s.size() && isdigit(static_cast<unsigned char>(s[at])); ++at) ++fraction;
  return at == s.size() && whole + fraction > 0 && fraction <= size_t(c->desc.decimalDigits) &&
         whole <= c->desc.columnSize - uint64_t(c->desc.decimalDigits);
}

bool validDate(int year, int month, int day) {
  static const int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 || day > kDays[month - 1])
    return false;
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month != 2 || day <= 28 || leap;
}

bool validTime(int hour, int minute, int second) {
  return hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
}

// "YYYY-MM-DD", "hh:mm:ss", or "YYYY-MM-DD hh:mm:ss[.fraction]" (a "T"
// may stand for the blank), with the date and the time checked.
bool parseDateTime(const std::string& s, Column* c) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, se = 0, used = 0, tail = 0;
  unsigned fraction = 0;
  const char* text = s.c_str();
  switch (c->desc.cType) {
    case SQL_C_TYPE_DATE:
      if (sscanf(text, "%4d-%2d-%2d%n", &y, &mo, &d, &used) != 3 || !validDate(y, mo, d))
        return false;
      c->date = DATE_STRUCT{SQLSMALLINT(y), SQLUSMALLINT(mo), SQLUSMALLINT(d)};
      return size_t(used) == s.size();
    case SQL_C_TYPE_TIME:
      if (sscanf(text, "%2d:%2d:%2d%n", &h, &mi, &se, &used) != 3 || !validTime(h, mi, se))
        return false;
      c->time = TIME_STRUCT{SQLUSMALLINT(h), SQLUSMALLINT(mi), SQLUSMALLINT(se)};
      return size_t(used) == s.size();
    default:
      if (sscanf(text, "%4d-%2d-%2d%*1[ T]%2d:%2d:%2d%n", &y, &mo, &d, &h, &mi, &se, &used) != 6 ||
          !validDate(y, mo, d) || !validTime(h, mi, se))
        return false;
      if (size_t(used) != s.size() &&
          (sscanf(text + used, ".%9u%n", &fraction, &tail) != 1 || size_t(used + tail) != s.size()))
        return false;
      c->stamp = TIMESTAMP_STRUCT{SQLSMALLINT(y),  SQLUSMALLINT(mo), SQLUSMALLINT(d),
                                  SQLUSMALLINT(h), SQLUSMALLINT(mi), SQLUSMALLINT(se), fraction};
      return true;
  }
}

// The value of one field in its column's buffer; false when it does not fit.
bool convertValue(const std::string& s, Column* c) {
  char* end = nullptr;
  switch (c->desc.cType) {
    case SQL_C_CHAR:
      c->text = s;
      if (c->desc.sqlType == SQL_NUMERIC || c->desc.sqlType == SQL_DECIMAL)
        return parseDecimal(s, c);
      return c->desc.columnSize == 0 || characters(s) <= c->desc.columnSize;
    case SQL_C_BIT:
      c->bit = s == "1" || s == "true";
      return c->bit || s == "0" || s == "false";
    case SQL_C_SBIGINT:
    case SQL_C_UBIGINT:
      return parseInteger(s, c);
    case SQL_C_FLOAT:
    case SQL_C_DOUBLE:
      errno = 0;
      c->real = strtod(s.c_str(), &end);
      c->single = float(c->real);
      if (s.empty() || *end != 0 || errno != 0 || !std::isfinite(c->real)) return false;
      return c->desc.cType == SQL_C_DOUBLE || std::isfinite(c->single);
    case SQL_C_BINARY:
      c->text.assign(s.size() / 2, 0);
      if (s.size() % 2 != 0 || (c->desc.columnSize != 0 && s.size() / 2 > c->desc.columnSize))
        return false;
      return s.empty() || dehexify(&c->text[0], s.c_str(), s.size()) == 0;
    default:
      return parseDateTime(s, c);
  }
}

const void* bufferOf(const Column& c) {
  switch (c.desc.cType) {
    case SQL_C_CHAR: case SQL_C_BINARY: return c.text.data();
    case SQL_C_BIT: return &c.bit;
    case SQL_C_SBIGINT: return &c.integer;
    case SQL_C_UBIGINT: return &c.unsignedInteger;
    case SQL_C_FLOAT: return &c.single;
    case SQL_C_DOUBLE: return &c.real;
    case SQL_C_TYPE_DATE: return &c.date;
    case SQL_C_TYPE_TIME: return &c.time;
    default: return &c.stamp;
  }
}

// Prints the writer's errors and cancels the document.
int writerFailed(XPstWriter* writer) {
  char text[1024];
  uint16_t number = 0;
  for (uint16_t i = 0; XPstGetErrorMessage(writer, i, &number, text, sizeof text) == 0; ++i)
    fprintf(stderr, "vxtool xml: error %u: %s\n", number, text);
  XPstCancel(writer);
  XPstFree(writer);
  return 1;
}

int lineError(XPstWriter* writer, size_t line, const std::string& message) {
  fprintf(stderr, "vxtool xml: line %zu: %s\n", line, message.c_str());
  if (writer != nullptr) {
    XPstCancel(writer);
    XPstFree(writer);
  }
  return 1;
}

// A header cell such as DECIMAL(15,2) may be written unquoted: its comma
// then split it, and the pieces are joined again while a "(" is open.
void joinSplitSizes(std::vector<std::string>* cells) {
  std::vector<std::string> joined;
  for (const std::string& cell : *cells) {
    bool open = !joined.empty() && joined.back().find('(') != std::string::npos &&
                joined.back().find(')') == std::string::npos;
    if (open)
      joined.back() += "," + cell;
    else
      joined.push_back(cell);
  }
  cells->swap(joined);
}

// Reads the header, then streams the rows into the writer.
int writeCsv(CsvRecordReader& csv, const char* output, const char* schema) {
  CsvRecord record;
  const char* error = nullptr;
  if (!csv.next(record, &error)) return lineError(nullptr, 1, "the file has no header");
  if (error) return lineError(nullptr, record.line, error);
  joinSplitSizes(&record.fields);
  std::vector<Column> columns(record.fields.size());
  std::vector<XML_PERSIST_COL_DESC> descs;
  for (size_t i = 0; i < columns.size(); ++i) {
    columns[i].desc.nullable = SQL_NO_NULLS;
    if (!parseHeaderCell(record.fields[i], &columns[i]))
      return lineError(nullptr, record.line, "bad column description \"" + record.fields[i] + "\"");
    columns[i].desc.name = columns[i].name.c_str();
    descs.push_back(columns[i].desc);
  }
  XPstWriter* writer = XPstCreate(output, schema, "UTF-8");
  if (writer == nullptr) return lineError(nullptr, record.line, "out of memory");
  if (XPstDescribeColumns(writer, descs.data(), uint16_t(descs.size())) != 0)
    return writerFailed(writer);
  std::vector<const void*> values(columns.size());
  std::vector<int64_t> lengths(columns.size());
  while (csv.next(record, &error)) {
    if (error) return lineError(writer, record.line, error);
    if (record.fields.size() != columns.size())
      return lineError(writer, record.line, std::to_string(record.fields.size()) +
                                                " fields, but the header has " +
                                                std::to_string(columns.size()));
    for (size_t i = 0; i < columns.size(); ++i) {
      Column& c = columns[i];
      if (record.nulls[i]) {
        if (!c.desc.nullable) return lineError(writer, record.line, "NULL in column " + c.name);
        lengths[i] = SQL_NULL_DATA;
        continue;
      }
      if (!convertValue(record.fields[i], &c))
        return lineError(writer, record.line, "\"" + record.fields[i] + "\" does not fit " +
                                                  c.typeText + " column " + c.name);
      values[i] = bufferOf(c);
      lengths[i] = int64_t(c.text.size());
    }
    if (XPstAppendRowData(writer, values.data(), lengths.data()) != 0) return writerFailed(writer);
  }
  if (XPstClose(writer) != 0) return writerFailed(writer);
  XPstFree(writer);
  return 0;
}

// Without -o the document is written to a temporary file and then copied
// to standard output, so that a failure prints nothing there.
int runXml(const std::vector<std::string>& args) {
  std::string output, schema;
  size_t at = 0;
  for (; at + 1 < args.size() && (args[at] == "-o" || args[at] == "--schema-file"); at += 2)
    (args[at] == "-o" ? output : schema) = args[at + 1];
  if (at + 1 != args.size()) return usageError("xml");
  std::ifstream in(args[at], std::ios::binary);
  if (!in) {
    fprintf(stderr, "vxtool xml: cannot read %s\n", args[at].c_str());
    return 1;
  }
  std::stringstream text;
  text << in.rdbuf();
  CsvRecordReader csv(text.str());
  // The temporary document is named after the CSV file, so that its
  // schema location reads as the document's own name.
  std::string target = output, scratch;
  if (output.empty()) {
    const char* tmp = getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") + "/vxtool-xml-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) {
      fprintf(stderr, "vxtool xml: cannot create a temporary directory\n");
      return 1;
    }
    scratch = pattern;
    std::string base = args[at].substr(args[at].rfind('/') + 1);
    target = scratch + "/" + base.substr(0, base.rfind('.')) + ".xml";
  }
  ToolErrorList errors;
  if (XPstInit() != 0) return errors.fail();
  int status = writeCsv(csv, target.c_str(), schema.empty() ? nullptr : schema.c_str());
  XPstTerminate();
  if (output.empty()) {
    std::ifstream document(target, std::ios::binary);
    std::stringstream bytes;
    bytes << document.rdbuf();
    unlink(target.c_str());
    rmdir(scratch.c_str());
    std::string out = bytes.str();
    if (status == 0 && !writeStandardOutput(out.data(), out.size())) status = 1;
  }
  return status;
}

const VxToolCommand kXml{
    "xml", "xml [--schema-file PATH] [-o OUT] CSVFILE",
    "Save a CSV file as an XML result-set document. The first line describes the\n"
    "columns, one cell each: NAME TYPE[(size)] [NULL] [UNSIGNED]. An unquoted \\N is\n"
    "NULL. With --schema-file the schema goes to PATH and the data document refers\n"
    "to it; without -o the document goes to standard output.",
    runXml};

}  // namespace
