// Statements of the CSV driver: parsing with the library's parser and a
// grammar of the accepted SQL, and running a query over a table.
//
// Accepted: INSERT INTO table [(column, ...)] VALUES (value, ...), and
// SELECT [DISTINCT] * | column, ... FROM table [WHERE condition]
// [ORDER BY column [ASC|DESC], ...] [LIMIT n]. A condition combines
// comparisons (= <> != < <= > >=), [NOT] LIKE (% and _ wildcards, matched
// by the library's strLike, case-sensitive), [NOT] BETWEEN, [NOT] IN,
// IS [NOT] NULL, AND, OR, NOT and parentheses, over columns, numbers,
// 'strings', NULL and ? markers whose values are bound before it runs. Comparisons
// follow SQL's three-valued logic: with a NULL operand a row is not
// selected. A number compared with a text compares as a number when the
// text reads as one, and is a type error otherwise.
//
// Failure: every function files its errors in the calling thread's current
// list (syntax error naming the token and what was expected, unknown
// table or column, type error) and returns false.
//
// Thread-safety: a CsvStatementParser is used by one thread at a time;
// distinct parsers and queries are independent.
#ifndef VX_DRIVERS_CSV_CSVQUERY_H_
#define VX_DRIVERS_CSV_CSVQUERY_H_

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "drivers/csv/csvtable.h"

// A node of a WHERE condition.
struct CsvExpr {
  enum Op { kLiteral, kColumn, kNegate, kNot, kAnd, kOr, kCompare, kLike, kIsNull, kBetween, kIn, kParameter };
  // Comparison operators of kCompare.
  enum Cmp { kEq, kNe, kLt, kLe, kGt, kGe };
  Op op = kLiteral;
  Cmp cmp = kEq;
  bool negated = false;   // NOT LIKE, NOT BETWEEN, NOT IN, IS NOT NULL
  CsvValue value;         // kLiteral
  std::string name;       // kColumn, until resolved
  int column = -1;        // kColumn, once resolved; kParameter: its number from 0
  std::unique_ptr<CsvExpr> left, right;
  std::vector<std::unique_ptr<CsvExpr>> list;  // kBetween: low, high; kIn: the items
};

// A parsed SELECT.
struct CsvQuery {
  std::string table;
  std::vector<std::string> columns;  // empty for *
  std::unique_ptr<CsvExpr> where;    // null when there is no WHERE
  std::vector<std::pair<std::string, bool>> orderBy;  // column, descending
  bool distinct = false;
  long long limit = -1;              // -1 for no LIMIT
  // INSERT: the table, the columns named (in columns; empty for all) and
  // the values, one row.
  bool isInsert = false;
  std::vector<std::unique_ptr<CsvExpr>> values;
  int parameterCount = 0;  // ? markers, numbered in the order written
};

// A query's result: its columns and rows, in order.
struct CsvResult {
  std::vector<CsvColumn> columns;
  std::vector<std::vector<CsvValue>> rows;
};

class CsvStatementParser {
 public:
  CsvStatementParser();
  ~CsvStatementParser();
  CsvStatementParser(const CsvStatementParser&) = delete;
  CsvStatementParser& operator=(const CsvStatementParser&) = delete;

  // Parses text into query.
  bool parse(const char* text, CsvQuery& query);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

// Puts values[i] in place of the marker numbered i; fails (07002) when a
// marker has no value.
bool csvBindParameters(CsvQuery& query, const std::vector<CsvValue>& values);

// Runs query over the table files of directory.
bool csvRunQuery(const std::string& directory, CsvQuery& query, CsvResult& result);

// Appends the row of an INSERT to its table file. The whole file is read
// first (a malformed file is reported, not appended to); the row is
// written while the file layer's exclusive lock is held, at the file's end
// as it is then, after a line end if the file lacks its last one. The
// values must fit their columns; columns not named get NULL.
bool csvRunInsert(const std::string& directory, CsvQuery& query);

// The catalog: the directory's tables, and their columns, whose names
// match the patterns (% and _ as in LIKE, case-insensitive; null matches
// all). A table that does not read stops SQLColumns with its error.
bool csvCatalogTables(const std::string& directory, const std::string* pattern, CsvResult& result);
bool csvCatalogColumns(const std::string& directory, const std::string* tablePattern,
                       const std::string* columnPattern, CsvResult& result);

#endif  // VX_DRIVERS_CSV_CSVQUERY_H_
