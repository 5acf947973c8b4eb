// Evaluation of the CSV driver's expressions over one row, and the byte
// keys that order, group and tell apart its values.
//
// Values follow SQL's rules: an operator with a NULL operand gives NULL, a
// comparison with NULL is unknown, and a condition selects a row only when
// it is true. Arithmetic on two integers stays integer (64 bits; a result
// that overflows becomes a double), except division, whose result is always
// a double; a text operand counts as the number it reads as, and is a type
// error (22018) otherwise. Division by zero is an error (22012), where
// SQLite would give NULL: a query must not quietly lose a row's value.
//
// Failure: the first error is filed in the calling thread's current list
// and sets failed; values computed afterwards are meaningless and the
// caller stops.
//
// Thread-safety: an evaluator is used by one thread at a time.
#ifndef VX_DRIVERS_CSV_CSVEVAL_H_
#define VX_DRIVERS_CSV_CSVEVAL_H_

#include <string>
#include <vector>

#include "drivers/csv/csvquery.h"

enum CsvTruth { kCsvFalse, kCsvTrue, kCsvUnknown };

class CsvEvaluator {
 public:
  bool failed = false;
  // The aggregates' values for the group being read; a kAggregate node
  // reads its slot. Null outside grouped queries.
  const std::vector<CsvValue>* aggregates = nullptr;

  // The value of e over row (a predicate gives 1, 0 or NULL).
  CsvValue value(const CsvExpr& e, const std::vector<CsvValue>& row);
  // The truth of e over row (a value is true when it is a non-zero number).
  CsvTruth truth(const CsvExpr& e, const std::vector<CsvValue>& row);

  // v as a number (a text that reads as one); files a type error against
  // other and returns false when it does not read.
  bool toNumber(CsvValue& v, const CsvValue& other);

 private:
  CsvTruth compareTruth(CsvExpr::Cmp cmp, const CsvExpr& left, const CsvExpr& right,
                        const std::vector<CsvValue>& row);
  bool compare(const CsvValue& a, const CsvValue& b, int& order);
  CsvValue arithmetic(char op, CsvValue a, CsvValue b);
  CsvValue function(const CsvExpr& e, const std::vector<CsvValue>& row);
  void typeError(const CsvValue& a, const CsvValue& b);
};

// Appends to key the bytes of v such that comparing whole keys as unsigned
// bytes orders values as ORDER BY does: NULL first, then numbers by value
// (integers and doubles mixed, exactly), then texts by their bytes. Every
// value's bytes end themselves, so keys of several values compare value by
// value; descending inverts the value's bytes. Equal values (1 and 1.0
// too) give equal bytes, so the keys also group and tell apart rows.
void csvAppendKey(const CsvValue& v, bool descending, std::string& key);

// Resolves the column names below e against table; fails (42S22) for an
// unknown name and (07002) for a marker that was never bound.
bool csvResolveColumns(CsvExpr* e, const CsvTable& table);

// Fails (42000, "An aggregate is not allowed " + where) when e holds an
// aggregate.
bool csvRefuseAggregates(const CsvExpr* e, const char* where);

// The position of the column named name in table in at; fails (42S22)
// when there is none.
bool csvFindColumn(const CsvTable& table, const std::string& name, size_t& at);

#endif  // VX_DRIVERS_CSV_CSVEVAL_H_
