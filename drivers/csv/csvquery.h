// Statements of the CSV driver: parsing with the library's parser and a
// grammar of the accepted SQL, and running a query over a table.
//
// Accepted: INSERT INTO table [(column, ...)] VALUES (value, ...), and
// SELECT [DISTINCT] * | item [AS alias], ... FROM table [WHERE condition]
// [GROUP BY column, ...] [HAVING condition]
// [ORDER BY key [ASC|DESC], ...] [LIMIT n]. A condition combines
// comparisons (= <> != < <= > >=), [NOT] LIKE (% and _ wildcards, matched
// by the library's strLike, case-sensitive), [NOT] BETWEEN, [NOT] IN,
// IS [NOT] NULL, AND, OR, NOT and parentheses, over values. A value is a
// column, a number, a 'string', NULL, a ? marker bound before it runs,
// + - * / of values, an escape clause ({fn UCASE(x)}, {fn LCASE(x)},
// {fn CONCAT(x, y)}, {d 'yyyy-mm-dd'}, {ts 'yyyy-mm-dd hh:mm:ss[.f]'}) or
// an aggregate (COUNT(*), COUNT, SUM, MIN, MAX, AVG, each with an optional
// DISTINCT). Comparisons follow SQL's three-valued logic: with a NULL
// operand a row is not selected. A number compared with a text compares as
// a number when the text reads as one, and is a type error otherwise.
//
// Failure: every function files its errors in the calling thread's current
// list (syntax error naming the token and what was expected, unknown
// function, bad date literal, unknown table or column, type error,
// division by zero, a column neither grouped nor aggregated) and returns
// false.
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

// A node of an expression: a select item, a condition, a value.
struct CsvExpr {
  enum Op {
    kLiteral, kColumn, kNegate, kNot, kAnd, kOr, kCompare, kLike, kIsNull, kBetween, kIn, kParameter,
    kArithmetic, kFunction, kAggregate
  };
  // Comparison operators of kCompare.
  enum Cmp { kEq, kNe, kLt, kLe, kGt, kGe };
  // Scalar functions of kFunction and aggregates of kAggregate.
  enum Function { kUpper, kLower, kConcat, kCount, kSum, kMin, kMax, kAvg };
  Op op = kLiteral;
  Cmp cmp = kEq;
  Function function = kUpper;
  char arithmetic = '+';  // kArithmetic: + - * /
  bool negated = false;   // NOT LIKE, NOT BETWEEN, NOT IN, IS NOT NULL
  bool distinct = false;  // kAggregate: over distinct values; COUNT(*) has no left
  CsvValue value;         // kLiteral
  SQLSMALLINT literalType = SQL_UNKNOWN_TYPE;  // kLiteral of {d} or {ts}: its date-time type
  std::string name;       // kColumn, until resolved
  // kColumn, once resolved; kParameter: its number from 0; kAggregate: its
  // slot among the query's aggregates.
  int column = -1;
  std::unique_ptr<CsvExpr> left, right;
  std::vector<std::unique_ptr<CsvExpr>> list;  // kBetween: low, high; kIn: the items
};

// One item of a select list, and one key of ORDER BY.
struct CsvSelectItem {
  std::unique_ptr<CsvExpr> expr;
  std::string alias;  // empty without AS
};
struct CsvOrderItem {
  std::unique_ptr<CsvExpr> expr;
  bool descending = false;
};

// A parsed SELECT.
struct CsvQuery {
  std::string table;
  std::vector<CsvSelectItem> items;  // empty for *
  std::unique_ptr<CsvExpr> where;    // null when there is no WHERE
  std::vector<std::string> groupBy;  // grouping columns
  std::unique_ptr<CsvExpr> having;   // null when there is no HAVING
  std::vector<CsvOrderItem> orderBy;
  bool distinct = false;
  long long limit = -1;              // -1 for no LIMIT
  // INSERT: the table, the columns named (in columns; empty for all) and
  // the values, one row.
  bool isInsert = false;
  std::vector<std::string> columns;
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

// Runs query over the table files of directory. Rows are grouped when the
// query has GROUP BY, HAVING or an aggregate (then one row even over no
// rows without GROUP BY); ORDER BY names a result column by alias or
// position (1 first) or gives an expression, and sorts through the
// library's external sort, NULL first ascending, equal rows in file order.
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
