// Running a SELECT: filtering, grouping with aggregates, ordering through
// the library's external sort, DISTINCT and LIMIT.
#include "drivers/csv/csvquery.h"

#include <strings.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <set>
#include <unordered_map>

#include "drivers/csv/csveval.h"
#include "storage/sort.h"

namespace {

// Keys longer than this are sorted by their first kMaxKeyPrefix bytes and
// then, among records that tie there, by the whole key.
constexpr size_t kMaxKeyPrefix = 1024;

// A result column of an aggregate without AS is named after it.
const char* const kAggregateNames[] = {"COUNT", "SUM", "MIN", "MAX", "AVG"};

CsvColumn computedColumn(CsvValue::Kind kind, size_t textSize = 0) {
  CsvColumn column;
  column.kind = kind;
  column.nullable = true;
  switch (kind) {
    case CsvValue::kInteger:
      column.typeName = "BIGINT";
      column.sqlType = SQL_BIGINT;
      column.size = 19;
      break;
    case CsvValue::kReal:
      column.typeName = "DOUBLE";
      column.sqlType = SQL_DOUBLE;
      column.size = 15;
      break;
    default:
      column.typeName = "VARCHAR";
      column.sqlType = SQL_VARCHAR;
      column.size = std::max<size_t>(textSize, 1);
  }
  return column;
}

// The characters a column's values take as text.
size_t textWidth(const CsvColumn& column) {
  return column.kind == CsvValue::kText ? column.size : column.kind == CsvValue::kInteger ? 20 : 24;
}

// The description of the result column that e computes: a column keeps
// its declaration; integer arithmetic (but division) is BIGINT, any other
// arithmetic DOUBLE; texts are VARCHAR wide enough for their operands.
CsvColumn describe(const CsvExpr& e, const CsvTable& table) {
  switch (e.op) {
    case CsvExpr::kColumn: return table.columns[size_t(e.column)];
    case CsvExpr::kLiteral: {
      if (e.literalType == SQL_UNKNOWN_TYPE)
        return computedColumn(e.value.isNull() ? CsvValue::kText : e.value.kind, e.value.text.size());
      CsvColumn column = computedColumn(CsvValue::kText, e.value.text.size());
      column.sqlType = e.literalType;
      column.typeName = e.literalType == SQL_TYPE_DATE ? "DATE" : "TIMESTAMP";
      return column;
    }
    case CsvExpr::kNegate:
      return computedColumn(describe(*e.left, table).kind == CsvValue::kInteger ? CsvValue::kInteger : CsvValue::kReal);
    case CsvExpr::kArithmetic: {
      bool integer = e.arithmetic != '/' && describe(*e.left, table).kind == CsvValue::kInteger &&
                     describe(*e.right, table).kind == CsvValue::kInteger;
      return computedColumn(integer ? CsvValue::kInteger : CsvValue::kReal);
    }
    case CsvExpr::kFunction: {
      size_t width = textWidth(describe(*e.left, table));
      if (e.right) width += textWidth(describe(*e.right, table));
      return computedColumn(CsvValue::kText, width);
    }
    case CsvExpr::kAggregate: {
      if (e.function == CsvExpr::kCount) {
        CsvColumn column = computedColumn(CsvValue::kInteger);
        column.nullable = false;
        return column;
      }
      CsvColumn argument = describe(*e.left, table);
      if (e.function == CsvExpr::kAvg) return computedColumn(CsvValue::kReal);
      if (e.function == CsvExpr::kSum)
        return computedColumn(argument.kind == CsvValue::kInteger ? CsvValue::kInteger : CsvValue::kReal);
      argument.nullable = true;  // MIN and MAX of no values
      return argument;
    }
    default: return computedColumn(CsvValue::kInteger);  // a condition: 1, 0 or NULL
  }
}

// Gives each aggregate below e the next slot; an aggregate inside another
// is refused.
bool collectAggregates(CsvExpr* e, std::vector<const CsvExpr*>& slots) {
  if (!e) return true;
  if (e->op == CsvExpr::kAggregate) {
    e->column = int(slots.size());
    slots.push_back(e);
    return csvRefuseAggregates(e->left.get(), "inside another aggregate");
  }
  for (const auto& item : e->list)
    if (!collectAggregates(item.get(), slots)) return false;
  return collectAggregates(e->left.get(), slots) && collectAggregates(e->right.get(), slots);
}

// In a grouped query, every column outside the aggregates must be one of
// the grouping columns: it has one value per group. (SQLite would take the
// value of some row of the group; the driver refuses the ambiguity.)
bool checkGrouped(const CsvExpr* e, const std::set<int>& grouped, const CsvTable& table) {
  if (!e || e->op == CsvExpr::kAggregate) return true;
  if (e->op == CsvExpr::kColumn && !grouped.count(e->column)) {
    csvError(kErrCsvNotGrouped, "42000") << table.columns[size_t(e->column)].name.c_str();
    return false;
  }
  for (const auto& item : e->list)
    if (!checkGrouped(item.get(), grouped, table)) return false;
  return checkGrouped(e->left.get(), grouped, table) && checkGrouped(e->right.get(), grouped, table);
}

// The running state of one aggregate over one group. NULLs are skipped;
// COUNT counts what is left (COUNT(*) every row); SUM and AVG read texts as
// numbers; SUM of integers stays integer until it would overflow, then
// goes on in doubles (SQLite fails the query instead); MIN and MAX order
// as ORDER BY does. Of no values, COUNT is 0 and the others NULL.
class Accumulator {
 public:
  explicit Accumulator(const CsvExpr* e) : e_(e) {}

  void add(CsvEvaluator& evaluator, const std::vector<CsvValue>& row) {
    if (!e_->left) {
      ++count_;
      return;
    }
    CsvValue v = evaluator.value(*e_->left, row);
    if (v.isNull()) return;
    std::string key;
    if (e_->distinct || e_->function == CsvExpr::kMin || e_->function == CsvExpr::kMax) csvAppendKey(v, false, key);
    if (e_->distinct && !seen_.insert(key).second) return;
    if (e_->function == CsvExpr::kSum || e_->function == CsvExpr::kAvg) {
      if (!evaluator.toNumber(v, CsvValue::ofInteger(0))) return;
      int64_t sum = 0;
      if (!real_ && v.kind == CsvValue::kInteger && !__builtin_add_overflow(integerSum_, v.integer, &sum)) {
        integerSum_ = sum;
      } else {
        if (!real_) realSum_ = double(integerSum_);
        real_ = true;
        realSum_ += v.asReal();
      }
    } else if (e_->function != CsvExpr::kCount &&
               (count_ == 0 || (e_->function == CsvExpr::kMin ? key < bestKey_ : key > bestKey_))) {
      best_ = v;
      bestKey_ = key;
    }
    ++count_;
  }

  CsvValue result() const {
    if (e_->function == CsvExpr::kCount) return CsvValue::ofInteger(count_);
    CsvValue v;
    if (count_ == 0) return v;
    if (e_->function == CsvExpr::kMin || e_->function == CsvExpr::kMax) return best_;
    if (e_->function == CsvExpr::kSum && !real_) return CsvValue::ofInteger(integerSum_);
    v.kind = CsvValue::kReal;
    v.real = real_ ? realSum_ : double(integerSum_);
    if (e_->function == CsvExpr::kAvg) v.real /= double(count_);
    return v;
  }

 private:
  const CsvExpr* e_;
  int64_t count_ = 0;
  int64_t integerSum_ = 0;
  double realSum_ = 0;
  bool real_ = false;
  CsvValue best_;
  std::string bestKey_;
  std::set<std::string> seen_;  // DISTINCT: the keys of the values counted
};

// One row of the result before ordering: the row it reads (a table row,
// or a group's first row) and, in a grouped query, the group's aggregates.
struct Source {
  const std::vector<CsvValue>* row;
  std::vector<CsvValue> aggregates;
};

// Splits rows into groups by the grouping columns (in the order the groups
// first appear) and computes each group's aggregates. Without grouping
// columns all rows make one group, even when there are none.
bool groupRows(const std::vector<const std::vector<CsvValue>*>& rows, const std::vector<size_t>& groupBy,
               const std::vector<const CsvExpr*>& slots, const std::vector<CsvValue>& nullRow,
               std::vector<Source>& sources) {
  CsvEvaluator evaluator;
  std::unordered_map<std::string, size_t> index;
  std::vector<std::vector<Accumulator>> accumulators;
  for (const auto* row : rows) {
    std::string key;
    for (size_t column : groupBy) csvAppendKey((*row)[column], false, key);
    auto found = index.emplace(key, sources.size());
    if (found.second) {
      sources.push_back({row, {}});
      accumulators.emplace_back(slots.begin(), slots.end());
    }
    for (Accumulator& a : accumulators[found.first->second]) a.add(evaluator, *row);
    if (evaluator.failed) return false;
  }
  if (groupBy.empty() && sources.empty()) {
    sources.push_back({&nullRow, {}});
    accumulators.emplace_back(slots.begin(), slots.end());
  }
  for (size_t i = 0; i < sources.size(); ++i)
    for (const Accumulator& a : accumulators[i]) sources[i].aggregates.push_back(a.result());
  return true;
}

// Reads the 8-byte big-endian row number at field.
uint64_t rowNumberAt(const void* field) {
  const unsigned char* bytes = static_cast<const unsigned char*>(field);
  uint64_t n = 0;
  for (int i = 0; i < 8; ++i) n = n << 8 | bytes[i];
  return n;
}

// Orders two records that tie on their key prefix by their whole keys,
// then by row number.
int16_t compareWholeKeys(void* context, const void* a, const void* b, const VxSortKey*) {
  const auto& keys = *static_cast<const std::vector<std::string>*>(context);
  uint64_t x = rowNumberAt(a), y = rowNumberAt(b);
  int c = keys[x].compare(keys[y]);
  if (c == 0) c = (x > y) - (x < y);
  return int16_t((c > 0) - (c < 0));
}

// Sorts the row numbers 0 .. keys.size()-1 by their keys with VxSort, so
// that a result larger than the sort's buffers is sorted in runs on a
// temporary file and merged. A record is the key's first `width` bytes,
// zero-padded (a key ends itself, so the padding never decides), then the
// row number big-endian, which keeps equal keys in file order although the
// sort is not stable. width is the longest key, up to kMaxKeyPrefix; when
// a key is longer, records that tie on the prefix go on to a second key
// that compares whole keys.
bool sortRows(const std::vector<std::string>& keys, std::vector<size_t>& order) {
  size_t width = 0;
  for (const std::string& key : keys) width = std::max(width, key.size());
  bool truncated = width > kMaxKeyPrefix;
  width = std::min(width, kMaxKeyPrefix);
  VxSort sort(uint16_t(width + 8));
  if (truncated) {
    if (sort.addKey(0, 0, uint16_t(width)) != 0 ||
        sort.addKey(0, width, 8, compareWholeKeys, const_cast<std::vector<std::string>*>(&keys)) != 0)
      return false;
  } else if (sort.addKey(0, 0, uint16_t(width + 8)) != 0) {
    return false;
  }
  for (size_t n = 0; n < keys.size(); ++n) {
    void* slot = nullptr;
    if (sort.nextSlot(&slot) != 0) return false;
    char* record = static_cast<char*>(slot);
    size_t used = std::min(width, keys[n].size());
    memcpy(record, keys[n].data(), used);
    memset(record + used, 0, width - used);
    for (int i = 0; i < 8; ++i) record[width + size_t(i)] = char(uint64_t(n) >> (56 - 8 * i));
  }
  order.clear();
  for (;;) {
    void* record = nullptr;
    if (sort.getSorted(&record) != 0) return false;
    if (!record) break;
    order.push_back(size_t(rowNumberAt(static_cast<char*>(record) + width)));
  }
  assert(order.size() == keys.size());
  return true;
}

// Where an ORDER BY key comes from: a result column (by its alias or its
// position), or an expression over the row.
struct OrderKey {
  int output = -1;
  const CsvExpr* expr = nullptr;
  bool descending = false;
};

// Sees whether an ORDER BY item names a result column: a whole number is a
// position (1 is the first column), a bare name an alias. Anything else
// is an expression, left for the caller to resolve.
bool findOrderKey(const CsvOrderItem& item, const std::vector<CsvSelectItem>& items, OrderKey& key) {
  const CsvExpr& e = *item.expr;
  key.descending = item.descending;
  key.expr = &e;
  if (e.op == CsvExpr::kLiteral && e.value.kind == CsvValue::kInteger) {
    if (e.value.integer < 1 || uint64_t(e.value.integer) > items.size()) {
      csvError(kErrCsvBadOrderPosition, "42000") << e.value.integer;
      return false;
    }
    key.output = int(e.value.integer - 1);
  }
  for (size_t i = 0; e.op == CsvExpr::kColumn && key.output < 0 && i < items.size(); ++i)
    if (!items[i].alias.empty() && strcasecmp(items[i].alias.c_str(), e.name.c_str()) == 0) key.output = int(i);
  return true;
}

// A SELECT with its names resolved against its table: the select list
// (the table's columns for *), where each ORDER BY key comes from, the
// aggregates in slot order and the grouping columns.
struct Plan {
  std::vector<CsvSelectItem> starItems;
  const std::vector<CsvSelectItem>* items = nullptr;
  std::vector<OrderKey> orderKeys;
  std::vector<const CsvExpr*> slots;
  std::vector<size_t> groupBy;
  bool grouped = false;
};

// Resolves the query's names, finds its aggregates, and checks that a
// grouped query reads no column but the grouping ones outside its
// aggregates and that WHERE holds none.
bool planQuery(CsvQuery& query, const CsvTable& table, Plan& plan) {
  for (size_t i = 0; query.items.empty() && i < table.columns.size(); ++i) {
    plan.starItems.push_back({std::make_unique<CsvExpr>(), std::string()});
    plan.starItems.back().expr->op = CsvExpr::kColumn;
    plan.starItems.back().expr->name = table.columns[i].name;
  }
  plan.items = query.items.empty() ? &plan.starItems : &query.items;
  plan.orderKeys.resize(query.orderBy.size());
  std::vector<CsvExpr*> computed;  // the expressions evaluated per result row
  for (const auto& item : *plan.items) computed.push_back(item.expr.get());
  computed.push_back(query.having.get());
  for (size_t i = 0; i < query.orderBy.size(); ++i) {
    if (!findOrderKey(query.orderBy[i], *plan.items, plan.orderKeys[i])) return false;
    if (plan.orderKeys[i].output < 0) computed.push_back(query.orderBy[i].expr.get());
  }
  if (!csvResolveColumns(query.where.get(), table) || !csvRefuseAggregates(query.where.get(), "in WHERE"))
    return false;
  for (CsvExpr* e : computed)
    if (!csvResolveColumns(e, table) || !collectAggregates(e, plan.slots)) return false;
  plan.groupBy.resize(query.groupBy.size());
  for (size_t i = 0; i < plan.groupBy.size(); ++i)
    if (!csvFindColumn(table, query.groupBy[i], plan.groupBy[i])) return false;
  plan.grouped = !plan.groupBy.empty() || !plan.slots.empty() || query.having;
  std::set<int> groupedColumns(plan.groupBy.begin(), plan.groupBy.end());
  for (const CsvExpr* e : computed)
    if (plan.grouped && !checkGrouped(e, groupedColumns, table)) return false;
  return true;
}

// The result's columns: described from their expressions, named by alias,
// column, aggregate or position.
void describeResult(const std::vector<CsvSelectItem>& items, const CsvTable& table, CsvResult& result) {
  for (size_t i = 0; i < items.size(); ++i) {
    result.columns.push_back(describe(*items[i].expr, table));
    CsvColumn& column = result.columns.back();
    const CsvExpr& e = *items[i].expr;
    if (!items[i].alias.empty()) column.name = items[i].alias;
    else if (e.op == CsvExpr::kAggregate) column.name = kAggregateNames[e.function - CsvExpr::kCount];
    else if (e.op != CsvExpr::kColumn) column.name = "EXPR" + std::to_string(i + 1);
  }
}

// The sources of the result rows: each row WHERE selects or, in a grouped
// query, each group.
bool selectSources(const CsvQuery& query, const CsvTable& table, const Plan& plan,
                   const std::vector<CsvValue>& nullRow, std::vector<Source>& sources) {
  CsvEvaluator evaluator;
  std::vector<const std::vector<CsvValue>*> selected;
  for (const auto& row : table.rows) {
    if (query.where && evaluator.truth(*query.where, row) != kCsvTrue && !evaluator.failed) continue;
    if (evaluator.failed) return false;
    selected.push_back(&row);
  }
  if (plan.grouped) return groupRows(selected, plan.groupBy, plan.slots, nullRow, sources);
  for (const auto* row : selected) sources.push_back({row, {}});
  return true;
}

// Computes the result row of each source that HAVING keeps, and its
// ORDER BY key when there is an ORDER BY.
bool computeRows(const CsvQuery& query, const Plan& plan, const std::vector<CsvColumn>& columns,
                 const std::vector<Source>& sources, std::vector<std::vector<CsvValue>>& rows,
                 std::vector<std::string>& keys) {
  CsvEvaluator evaluator;
  for (const Source& source : sources) {
    evaluator.aggregates = &source.aggregates;
    if (query.having && evaluator.truth(*query.having, *source.row) != kCsvTrue && !evaluator.failed) continue;
    std::vector<CsvValue> out;
    for (size_t i = 0; i < plan.items->size(); ++i) {
      out.push_back(evaluator.value(*(*plan.items)[i].expr, *source.row));
      // A DOUBLE column holds doubles only, whatever its rows computed.
      if (columns[i].kind == CsvValue::kReal && out.back().kind == CsvValue::kInteger) {
        out.back().kind = CsvValue::kReal;
        out.back().real = double(out.back().integer);
      }
    }
    if (!plan.orderKeys.empty()) {
      std::string key;
      for (const OrderKey& k : plan.orderKeys)
        csvAppendKey(k.output >= 0 ? out[size_t(k.output)] : evaluator.value(*k.expr, *source.row), k.descending, key);
      keys.push_back(std::move(key));
    }
    if (evaluator.failed) return false;
    rows.push_back(std::move(out));
  }
  return true;
}

}  // namespace

bool csvRunQuery(const std::string& directory, CsvQuery& query, CsvResult& result) {
  result = CsvResult();
  CsvTable table;
  Plan plan;
  if (!csvLoadTable(directory, query.table, table) || !planQuery(query, table, plan)) return false;
  describeResult(*plan.items, table, result);
  std::vector<Source> sources;
  std::vector<CsvValue> nullRow(table.columns.size());
  std::vector<std::vector<CsvValue>> rows;
  std::vector<std::string> keys;
  std::vector<size_t> order;
  if (!selectSources(query, table, plan, nullRow, sources) ||
      !computeRows(query, plan, result.columns, sources, rows, keys) ||
      (!plan.orderKeys.empty() && !sortRows(keys, order)))
    return false;
  // DISTINCT keeps the first of equal rows in order; LIMIT counts what is kept.
  std::set<std::string> seen;
  for (size_t n = 0; n < rows.size(); ++n) {
    if (query.limit >= 0 && result.rows.size() >= size_t(query.limit)) break;
    std::vector<CsvValue>& row = rows[plan.orderKeys.empty() ? n : order[n]];
    if (query.distinct) {
      std::string key;
      for (const CsvValue& v : row) csvAppendKey(v, false, key);
      if (!seen.insert(key).second) continue;
    }
    result.rows.push_back(std::move(row));
  }
  return true;
}
