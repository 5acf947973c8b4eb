// Evaluating the driver's expressions, and encoding values as sort keys.
#include "drivers/csv/csveval.h"

#include <cassert>
#include <cstdint>
#include <cstring>

#include "foundation/vxstr.h"

namespace {

CsvTruth negate(CsvTruth t, bool negated) {
  return !negated || t == kCsvUnknown ? t : (t == kCsvTrue ? kCsvFalse : kCsvTrue);
}

bool holds(CsvExpr::Cmp cmp, int order) {
  switch (cmp) {
    case CsvExpr::kEq: return order == 0;
    case CsvExpr::kNe: return order != 0;
    case CsvExpr::kLt: return order < 0;
    case CsvExpr::kLe: return order <= 0;
    case CsvExpr::kGt: return order > 0;
    case CsvExpr::kGe: return order >= 0;
  }
  return false;
}

CsvValue ofReal(double d) {
  CsvValue v;
  v.kind = CsvValue::kReal;
  v.real = d;
  return v;
}

CsvValue ofText(std::string text) {
  CsvValue v;
  v.kind = CsvValue::kText;
  v.text = std::move(text);
  return v;
}

// Appends the n low bytes of bits, most significant first, each inverted
// when descending.
void appendBytes(uint64_t bits, int n, bool descending, std::string& key) {
  for (int shift = 8 * (n - 1); shift >= 0; shift -= 8) {
    uint8_t byte = uint8_t(bits >> shift);
    key.push_back(char(descending ? uint8_t(~byte) : byte));
  }
}

}  // namespace

CsvValue CsvEvaluator::value(const CsvExpr& e, const std::vector<CsvValue>& row) {
  switch (e.op) {
    case CsvExpr::kLiteral: return e.value;
    case CsvExpr::kColumn:
      // Names are resolved against the row's table before a row is seen.
      assert(e.column >= 0 && size_t(e.column) < row.size());
      return row[size_t(e.column)];
    case CsvExpr::kNegate: {
      CsvValue v = value(*e.left, row);
      if (v.isNull() || !toNumber(v, CsvValue::ofInteger(0))) return CsvValue();
      if (v.kind == CsvValue::kInteger && v.integer != INT64_MIN) v.integer = -v.integer;
      else v = ofReal(-v.asReal());
      return v;
    }
    case CsvExpr::kArithmetic: return arithmetic(e.arithmetic, value(*e.left, row), value(*e.right, row));
    case CsvExpr::kFunction: return function(e, row);
    case CsvExpr::kAggregate:
      // Aggregates are only resolved to slots in grouped queries.
      assert(aggregates && e.column >= 0 && size_t(e.column) < aggregates->size());
      return (*aggregates)[size_t(e.column)];
    default: {
      // Markers are bound or reported before running; a marker here would
      // send value and truth round each other for ever.
      assert(e.op != CsvExpr::kParameter);
      CsvTruth t = truth(e, row);
      return t == kCsvUnknown ? CsvValue() : CsvValue::ofInteger(t == kCsvTrue);
    }
  }
}

CsvTruth CsvEvaluator::truth(const CsvExpr& e, const std::vector<CsvValue>& row) {
  switch (e.op) {
    case CsvExpr::kNot: return negate(truth(*e.left, row), true);
    case CsvExpr::kAnd: {
      CsvTruth a = truth(*e.left, row), b = truth(*e.right, row);
      if (a == kCsvFalse || b == kCsvFalse) return kCsvFalse;
      return a == kCsvTrue && b == kCsvTrue ? kCsvTrue : kCsvUnknown;
    }
    case CsvExpr::kOr: {
      CsvTruth a = truth(*e.left, row), b = truth(*e.right, row);
      if (a == kCsvTrue || b == kCsvTrue) return kCsvTrue;
      return a == kCsvFalse && b == kCsvFalse ? kCsvFalse : kCsvUnknown;
    }
    case CsvExpr::kIsNull: return (value(*e.left, row).isNull() != e.negated) ? kCsvTrue : kCsvFalse;
    case CsvExpr::kLike: {
      CsvValue text = value(*e.left, row), pattern = value(*e.right, row);
      if (text.isNull() || pattern.isNull()) return kCsvUnknown;
      std::string t = text.toText(), p = pattern.toText();
      bool match = strLike(t.data(), t.size(), p.data(), p.size(), '%', '_', '\0', 1, 1, VX_CP_UTF8);
      return match != e.negated ? kCsvTrue : kCsvFalse;
    }
    case CsvExpr::kBetween: {
      // a BETWEEN x AND y is a >= x AND a <= y.
      CsvTruth low = compareTruth(CsvExpr::kGe, *e.left, *e.list[0], row);
      CsvTruth high = compareTruth(CsvExpr::kLe, *e.left, *e.list[1], row);
      CsvTruth both = low == kCsvFalse || high == kCsvFalse
                          ? kCsvFalse
                          : (low == kCsvTrue && high == kCsvTrue ? kCsvTrue : kCsvUnknown);
      return negate(both, e.negated);
    }
    case CsvExpr::kIn: {
      // True when one item equals; else unknown when one was NULL.
      CsvTruth any = kCsvFalse;
      for (const auto& item : e.list) {
        CsvTruth t = compareTruth(CsvExpr::kEq, *e.left, *item, row);
        if (t == kCsvTrue) return negate(kCsvTrue, e.negated);
        if (t == kCsvUnknown) any = kCsvUnknown;
      }
      return negate(any, e.negated);
    }
    case CsvExpr::kCompare: return compareTruth(e.cmp, *e.left, *e.right, row);
    default: {
      CsvValue v = value(e, row);
      if (v.isNull()) return kCsvUnknown;
      if (v.kind == CsvValue::kText) {
        typeError(v, CsvValue::ofInteger(1));
        return kCsvUnknown;
      }
      return v.asReal() != 0 ? kCsvTrue : kCsvFalse;
    }
  }
}

bool CsvEvaluator::toNumber(CsvValue& v, const CsvValue& other) {
  if (v.kind != CsvValue::kText) return true;
  CsvValue number;
  if (csvConvertText(v.text, CsvValue::kInteger, number) || csvConvertText(v.text, CsvValue::kReal, number)) {
    v = number;
    return true;
  }
  typeError(v, other);
  return false;
}

CsvTruth CsvEvaluator::compareTruth(CsvExpr::Cmp cmp, const CsvExpr& left, const CsvExpr& right,
                                    const std::vector<CsvValue>& row) {
  CsvValue a = value(left, row), b = value(right, row);
  if (a.isNull() || b.isNull()) return kCsvUnknown;
  int order = 0;
  if (!compare(a, b, order)) return kCsvUnknown;
  return holds(cmp, order) ? kCsvTrue : kCsvFalse;
}

// Orders two non-NULL values: numbers by value, texts by their bytes; a
// text against a number as a number when it reads as one.
bool CsvEvaluator::compare(const CsvValue& a, const CsvValue& b, int& order) {
  if (a.kind == CsvValue::kText && b.kind == CsvValue::kText) {
    int c = a.text.compare(b.text);
    order = (c > 0) - (c < 0);
    return true;
  }
  CsvValue x = a, y = b;
  if (!toNumber(x, b) || !toNumber(y, a)) return false;
  if (x.kind == CsvValue::kInteger && y.kind == CsvValue::kInteger) {
    order = (x.integer > y.integer) - (x.integer < y.integer);
  } else {
    order = (x.asReal() > y.asReal()) - (x.asReal() < y.asReal());
  }
  return true;
}

// + - * / of two values. Integers stay integers while the result fits 64
// bits; otherwise, and for any double operand and for every division, the
// result is a double.
CsvValue CsvEvaluator::arithmetic(char op, CsvValue a, CsvValue b) {
  if (a.isNull() || b.isNull() || !toNumber(a, b) || !toNumber(b, a)) return CsvValue();
  if (op == '/') {
    if (b.asReal() == 0) {
      if (!failed) csvError(kErrCsvDivisionByZero, "22012");
      failed = true;
      return CsvValue();
    }
    return ofReal(a.asReal() / b.asReal());
  }
  if (a.kind == CsvValue::kInteger && b.kind == CsvValue::kInteger) {
    int64_t r = 0;
    bool overflow = op == '+'   ? __builtin_add_overflow(a.integer, b.integer, &r)
                    : op == '-' ? __builtin_sub_overflow(a.integer, b.integer, &r)
                                : __builtin_mul_overflow(a.integer, b.integer, &r);
    if (!overflow) return CsvValue::ofInteger(r);
  }
  double x = a.asReal(), y = b.asReal();
  return ofReal(op == '+' ? x + y : op == '-' ? x - y : x * y);
}

// UCASE and LCASE change ASCII letters only, as SQLite's upper and lower
// do; CONCAT of a NULL is NULL, as for SQL's || operator.
CsvValue CsvEvaluator::function(const CsvExpr& e, const std::vector<CsvValue>& row) {
  CsvValue a = value(*e.left, row);
  if (a.isNull()) return a;
  std::string text = a.toText();
  if (e.function == CsvExpr::kConcat) {
    CsvValue b = value(*e.right, row);
    return b.isNull() ? b : ofText(text + b.toText());
  }
  bool upper = e.function == CsvExpr::kUpper;
  for (char& c : text) {
    if (upper && c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    if (!upper && c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
  }
  return ofText(text);
}

void CsvEvaluator::typeError(const CsvValue& a, const CsvValue& b) {
  if (failed) return;
  failed = true;
  csvError(kErrCsvTypeMismatch, "22018") << a.toText().c_str() << b.toText().c_str();
}

// Layout of a value's bytes:
//   NULL    00
//   number  01, the double's bits made to order as unsigned bytes (sign
//           bit flipped for positives, all bits flipped for negatives), then
//           two bytes of the integer's remainder over that double, biased by
//           32768, so that integers beyond 2^53 that share a double still
//           order exactly (a double's remainder is 0: 5 and 5.0 are equal)
//   text    02, the bytes with 00 written as 00 FF, then 00 00
// The tags order NULL before numbers before texts, as SQLite does.
void csvAppendKey(const CsvValue& v, bool descending, std::string& key) {
  switch (v.kind) {
    case CsvValue::kNull: appendBytes(0, 1, descending, key); return;
    case CsvValue::kInteger:
    case CsvValue::kReal: {
      double d = v.asReal() == 0 ? 0.0 : v.asReal();  // -0.0 equals 0.0
      uint64_t bits = 0;
      memcpy(&bits, &d, sizeof bits);
      bits = (bits >> 63) ? ~bits : bits | (uint64_t(1) << 63);
      // A 64-bit integer and its nearest double differ by at most 2^10;
      // long double holds both exactly.
      long double remainder = v.kind == CsvValue::kInteger ? (long double)(v.integer) - (long double)(d) : 0;
      assert(remainder > -32768 && remainder < 32768);
      appendBytes(1, 1, descending, key);
      appendBytes(bits, 8, descending, key);
      appendBytes(uint64_t(int64_t(remainder) + 32768), 2, descending, key);
      return;
    }
    case CsvValue::kText:
      appendBytes(2, 1, descending, key);
      for (char c : v.text) {
        appendBytes(uint8_t(c), 1, descending, key);
        if (c == '\0') appendBytes(0xFF, 1, descending, key);
      }
      appendBytes(0, 2, descending, key);
      return;
  }
}

bool csvResolveColumns(CsvExpr* e, const CsvTable& table) {
  if (!e) return true;
  if (e->op == CsvExpr::kParameter) {  // a marker that was never bound
    csvError(kErrCsvParameterNotBound, "07002") << int64_t(e->column + 1);
    return false;
  }
  if (e->op == CsvExpr::kColumn) {
    e->column = table.findColumn(e->name);
    if (e->column < 0) {
      csvError(kErrCsvColumnNotFound, "42S22") << e->name.c_str();
      return false;
    }
  }
  for (const auto& item : e->list)
    if (!csvResolveColumns(item.get(), table)) return false;
  return csvResolveColumns(e->left.get(), table) && csvResolveColumns(e->right.get(), table);
}

bool csvFindColumn(const CsvTable& table, const std::string& name, size_t& at) {
  int found = table.findColumn(name);
  if (found < 0) csvError(kErrCsvColumnNotFound, "42S22") << name.c_str();
  at = size_t(found);
  return found >= 0;
}

bool csvRefuseAggregates(const CsvExpr* e, const char* where) {
  if (!e) return true;
  if (e->op == CsvExpr::kAggregate) {
    csvError(kErrCsvMisplacedAggregate, "42000") << where;
    return false;
  }
  for (const auto& item : e->list)
    if (!csvRefuseAggregates(item.get(), where)) return false;
  return csvRefuseAggregates(e->left.get(), where) && csvRefuseAggregates(e->right.get(), where);
}
