// Parsing and running the driver's SELECT statements.
#include "drivers/csv/csvquery.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "bos/bosfile.h"
#include "drivers/csv/csvcodepage.h"
#include "foundation/vxstr.h"
#include "parser/vxparse.h"

namespace {

// The accepted SQL in the grammar compiler's notation (rule number, blanks,
// rule text), and its keywords (token number, blanks, word). Where an
// alternative is a prefix of another, the longer comes first.
const char kGrammar[] =
    "1000 goal ::= statement [ ; ] | insert-statement [ ; ]\n"
    "1001 statement ::= SELECT [ DISTINCT ] select-list FROM name [ WHERE expr ] [ order-by ] [ limit ]\n"
    "1002 select-list ::= * | name { , name }*\n"
    "1003 order-by ::= ORDER BY order-item { , order-item }*\n"
    "1004 order-item ::= name [ ASC | DESC ]\n"
    "1005 expr ::= and-expr { OR and-expr }*\n"
    "1006 and-expr ::= not-expr { AND not-expr }*\n"
    "1007 not-expr ::= NOT not-expr | predicate\n"
    "1008 predicate ::= operand [ predicate-tail ]\n"
    "1009 predicate-tail ::= comparison operand | [ NOT ] LIKE operand | [ NOT ] BETWEEN operand AND operand"
    " | [ NOT ] IN ( operand { , operand }* ) | IS NOT NULL | IS NULL\n"
    "1010 comparison ::= = | < [ > | = ] | > [ = ] | ! =\n"
    "1011 operand ::= number [ . [ number ] ] | string | name | ( expr ) | - operand | NULL | ?\n"
    "1012 string ::= ' [ literal-contents ] '\n"
    "1013 name ::= alphanum | \" literal-contents \"\n"
    "1014 limit ::= LIMIT number\n"
    "1015 insert-statement ::= INSERT INTO name [ ( name { , name }* ) ] VALUES ( operand { , operand }* )\n";

const char kKeywords[] =
    "100 SELECT\n101 DISTINCT\n103 FROM\n104 WHERE\n106 BY\n108 ORDER\n109 ASC\n110 DESC\n"
    "119 AND\n120 OR\n121 NOT\n122 NULL\n123 IS\n124 IN\n125 BETWEEN\n126 LIKE\n130 INSERT\n131 INTO\n132 VALUES\n160 LIMIT\n";

// Rule numbers of kGrammar, and the token kinds the compiler looks at.
enum Rule : int16_t {
  kStatement = 1001, kSelectList, kOrderBy, kOrderItem, kExpr, kAndExpr, kNotExpr, kPredicate,
  kPredicateTail, kComparison, kOperand, kString, kName, kLimit, kInsertStatement
};
enum Token : int16_t {
  kEndOfText = 1, kWord = 2, kNumber = 5, kMinus = 20, kOpenParen = 18, kDoubleQuote = 32, kQuestionMark = 38, kApostrophe = 33, kQuote = 40, kContents = 41,
  kDistinct = 101, kDesc = 110, kNotWord = 121, kInWord = 124, kBetweenWord = 125,
  kLikeWord = 126
};

// Converts "NUMBER BLANKS TEXT" lines into the parser's blob layout: text,
// NUL, 16-bit number, ..., and a final NUL. Also keeps number -> text.
std::string toBlob(const char* lines, std::map<int, std::string>* names) {
  std::string blob;
  const char* at = lines;
  while (*at) {
    const char* end = strchr(at, '\n');
    char* text = nullptr;
    int16_t number = int16_t(strtol(at, &text, 10));
    while (*text == ' ') ++text;
    std::string entry(static_cast<const char*>(text), end);
    blob += entry;
    blob.push_back('\0');
    blob.append(reinterpret_cast<const char*>(&number), 2);
    if (names) (*names)[number] = entry;
    at = end + 1;
  }
  blob.push_back('\0');
  return blob;
}

// A token kind in words, for the syntax error's list of what was expected.
std::string describeKind(int16_t kind, const char* text, const std::map<int, std::string>& keywords) {
  static const char kPunctuation[] = "~`!@#$%^&*()-_+=|\\{[}]:;\"'<,>.?/";
  if (kind == kEndOfText) return "end of statement";
  if (kind == kWord) return text ? text : "identifier";
  if (kind == kNumber) return "number";
  if (kind == kQuote || kind == kApostrophe) return "string";
  if (kind == kDoubleQuote) return "quoted name";
  if (kind == kContents) return "literal";
  if (kind >= 8 && kind <= 39) return std::string(1, kPunctuation[kind - 8]);
  auto it = keywords.find(kind);
  return it != keywords.end() ? it->second : "token " + std::to_string(kind);
}

std::string terminalText(const VxReduction* node) { return node->getString() ? node->getString() : ""; }

// The text of a name node: the word, or the inside of a quoted name.
std::string nameText(const VxReduction* name) {
  for (const VxReduction* c = name->getChild(); c; c = c->getNextSibling())
    if (c->reductNumber() == kWord || c->reductNumber() == kContents) return terminalText(c);
  return std::string();
}

// The inside of a string literal, its doubled quotes made single.
std::string stringText(const VxReduction* literal) {
  std::string out;
  for (const VxReduction* c = literal->getChild(); c; c = c->getNextSibling()) {
    if (c->reductNumber() != kContents) continue;
    std::string raw = terminalText(c);
    for (size_t i = 0; i < raw.size(); ++i) {
      out += raw[i];
      if (raw[i] == '\'' && i + 1 < raw.size() && raw[i + 1] == '\'') ++i;
    }
  }
  return out;
}

std::unique_ptr<CsvExpr> makeNode(CsvExpr::Op op, std::unique_ptr<CsvExpr> left,
                                  std::unique_ptr<CsvExpr> right = nullptr) {
  auto node = std::make_unique<CsvExpr>();
  node->op = op;
  node->left = std::move(left);
  node->right = std::move(right);
  return node;
}

std::unique_ptr<CsvExpr> compileExpr(const VxReduction* node);

std::unique_ptr<CsvExpr> compileOperand(const VxReduction* operand) {
  const VxReduction* first = operand->getChild();
  auto node = std::make_unique<CsvExpr>();
  switch (first->reductNumber()) {
    case kNumber: {
      std::string text;
      for (const VxReduction* c = first; c; c = c->getNextSibling()) text += terminalText(c);
      bool isInteger = text.find('.') == std::string::npos;
      if (!csvConvertText(text, isInteger ? CsvValue::kInteger : CsvValue::kReal, node->value))
        csvConvertText(text, CsvValue::kReal, node->value);  // an integer too long for 64 bits
      return node;
    }
    case kString:
      node->value.kind = CsvValue::kText;
      node->value.text = stringText(first);
      return node;
    case kName:
      node->op = CsvExpr::kColumn;
      node->name = nameText(first);
      return node;
    case kOpenParen: return compileExpr(first->getNextSibling());
    case kMinus: return makeNode(CsvExpr::kNegate, compileOperand(first->getNextSibling()));
    case kQuestionMark: node->op = CsvExpr::kParameter; return node;
    default: return node;  // NULL: a literal of kind kNull
  }
}

CsvExpr::Cmp comparisonOf(const VxReduction* comparison) {
  std::string op;
  for (const VxReduction* c = comparison->getChild(); c; c = c->getNextSibling()) op += terminalText(c);
  if (op == "=") return CsvExpr::kEq;
  if (op == "<") return CsvExpr::kLt;
  if (op == "<=") return CsvExpr::kLe;
  if (op == ">") return CsvExpr::kGt;
  if (op == ">=") return CsvExpr::kGe;
  return CsvExpr::kNe;  // <> and !=
}

// Compiles an expr, and-expr, not-expr or predicate node. Operators of one
// level associate to the left.
std::unique_ptr<CsvExpr> compileExpr(const VxReduction* node) {
  const VxReduction* first = node->getChild();
  switch (node->reductNumber()) {
    case kExpr:
    case kAndExpr: {
      CsvExpr::Op op = node->reductNumber() == kExpr ? CsvExpr::kOr : CsvExpr::kAnd;
      std::unique_ptr<CsvExpr> result = compileExpr(first);
      for (const VxReduction* c = first->getNextSibling(); c; c = c->getNextSibling())
        if (!c->terminal()) result = makeNode(op, std::move(result), compileExpr(c));
      return result;
    }
    case kNotExpr:
      if (first->reductNumber() == kNotWord) return makeNode(CsvExpr::kNot, compileExpr(first->getNextSibling()));
      return compileExpr(first);
    default: break;  // a predicate
  }
  std::unique_ptr<CsvExpr> left = compileOperand(first);
  const VxReduction* tail = first->getNextSibling();
  if (!tail) return left;
  const VxReduction* head = tail->getChild();
  if (head->reductNumber() == kComparison) {
    auto node = makeNode(CsvExpr::kCompare, std::move(left), compileOperand(head->getNextSibling()));
    node->cmp = comparisonOf(head);
    return node;
  }
  // [NOT] LIKE, [NOT] BETWEEN, [NOT] IN or IS [NOT] NULL: the keyword
  // names the test, the operands follow it.
  bool negated = false;
  CsvExpr::Op op = CsvExpr::kIsNull;
  std::vector<std::unique_ptr<CsvExpr>> operands;
  for (const VxReduction* c = head; c; c = c->getNextSibling()) {
    switch (c->reductNumber()) {
      case kNotWord: negated = true; break;
      case kLikeWord: op = CsvExpr::kLike; break;
      case kBetweenWord: op = CsvExpr::kBetween; break;
      case kInWord: op = CsvExpr::kIn; break;
      case kOperand: operands.push_back(compileOperand(c)); break;
      default: break;
    }
  }
  auto result = makeNode(op, std::move(left));
  result->negated = negated;
  if (op == CsvExpr::kLike) result->right = std::move(operands.front());
  else result->list = std::move(operands);
  return result;
}

// Numbers the ? markers below e in the order they were written: an
// operator's left operand comes before its right one or its list.
void numberParameters(CsvExpr* e, int& next) {
  if (!e) return;
  if (e->op == CsvExpr::kParameter) e->column = next++;
  numberParameters(e->left.get(), next);
  numberParameters(e->right.get(), next);
  for (auto& item : e->list) numberParameters(item.get(), next);
}

bool bindExpr(CsvExpr* e, const std::vector<CsvValue>& values) {
  if (!e) return true;
  if (e->op == CsvExpr::kParameter) {
    if (size_t(e->column) >= values.size()) {
      csvError(kErrCsvParameterNotBound, "07002") << int64_t(e->column + 1);
      return false;
    }
    e->op = CsvExpr::kLiteral;
    e->value = values[size_t(e->column)];
  }
  for (auto& item : e->list)
    if (!bindExpr(item.get(), values)) return false;
  return bindExpr(e->left.get(), values) && bindExpr(e->right.get(), values);
}

void compileInsert(const VxReduction* statement, CsvQuery& query) {
  query.isInsert = true;
  for (const VxReduction* c = statement->getChild(); c; c = c->getNextSibling()) {
    if (c->reductNumber() == kName) {
      if (query.table.empty()) query.table = nameText(c);
      else query.columns.push_back(nameText(c));
    } else if (c->reductNumber() == kOperand) {
      query.values.push_back(compileOperand(c));
    }
  }
}

void compileStatement(const VxReduction* statement, CsvQuery& query) {
  if (statement->reductNumber() == kInsertStatement) return compileInsert(statement, query);
  for (const VxReduction* c = statement->getChild(); c; c = c->getNextSibling()) {
    switch (c->reductNumber()) {
      case kSelectList:
        for (const VxReduction* item = c->getChild(); item; item = item->getNextSibling())
          if (item->reductNumber() == kName) query.columns.push_back(nameText(item));
        break;
      case kName: query.table = nameText(c); break;
      case kExpr: query.where = compileExpr(c); break;
      case kDistinct: query.distinct = true; break;
      case kLimit: query.limit = strtoll(terminalText(c->getChild()->getNextSibling()).c_str(), nullptr, 10); break;
      case kOrderBy:
        for (const VxReduction* item = c->getChild(); item; item = item->getNextSibling()) {
          if (item->reductNumber() != kOrderItem) continue;
          const VxReduction* direction = item->getChild()->getNextSibling();
          query.orderBy.emplace_back(nameText(item->getChild()), direction && direction->reductNumber() == kDesc);
        }
        break;
      default: break;
    }
  }
}

// ---- Running ----

enum Truth { kFalse, kTrue, kUnknown };

// Evaluation of a condition over one row; the first type error is filed
// and sets failed, after which results no longer matter.
class Evaluator {
 public:
  bool failed = false;

  CsvValue value(const CsvExpr& e, const std::vector<CsvValue>& row) {
    switch (e.op) {
      case CsvExpr::kLiteral: return e.value;
      case CsvExpr::kColumn:
        // Names are resolved against the row's table before a row is seen.
        assert(e.column >= 0 && size_t(e.column) < row.size());
        return row[size_t(e.column)];
      case CsvExpr::kNegate: {
        CsvValue v = value(*e.left, row);
        if (v.kind == CsvValue::kInteger) v.integer = -v.integer;
        else if (v.kind == CsvValue::kReal) v.real = -v.real;
        else if (v.kind == CsvValue::kText) typeError(v, CsvValue::ofInteger(0));
        return v;
      }
      default: {
        // Markers are bound or reported before running; a marker here would
        // send value and truth round each other for ever.
        assert(e.op != CsvExpr::kParameter);
        Truth t = truth(e, row);
        return t == kUnknown ? CsvValue() : CsvValue::ofInteger(t == kTrue);
      }
    }
  }

  Truth truth(const CsvExpr& e, const std::vector<CsvValue>& row) {
    switch (e.op) {
      case CsvExpr::kNot: {
        Truth t = truth(*e.left, row);
        return t == kUnknown ? kUnknown : (t == kTrue ? kFalse : kTrue);
      }
      case CsvExpr::kAnd: {
        Truth a = truth(*e.left, row), b = truth(*e.right, row);
        if (a == kFalse || b == kFalse) return kFalse;
        return a == kTrue && b == kTrue ? kTrue : kUnknown;
      }
      case CsvExpr::kOr: {
        Truth a = truth(*e.left, row), b = truth(*e.right, row);
        if (a == kTrue || b == kTrue) return kTrue;
        return a == kFalse && b == kFalse ? kFalse : kUnknown;
      }
      case CsvExpr::kIsNull: return (value(*e.left, row).isNull() != e.negated) ? kTrue : kFalse;
      case CsvExpr::kLike: {
        CsvValue text = value(*e.left, row), pattern = value(*e.right, row);
        if (text.isNull() || pattern.isNull()) return kUnknown;
        std::string t = text.toText(), p = pattern.toText();
        bool match = strLike(t.data(), t.size(), p.data(), p.size(), '%', '_', '\0', 1, 1, VX_CP_UTF8);
        return match != e.negated ? kTrue : kFalse;
      }
      case CsvExpr::kBetween: {
        // a BETWEEN x AND y is a >= x AND a <= y.
        Truth low = compareTruth(CsvExpr::kGe, *e.left, *e.list[0], row);
        Truth high = compareTruth(CsvExpr::kLe, *e.left, *e.list[1], row);
        Truth both = low == kFalse || high == kFalse ? kFalse : (low == kTrue && high == kTrue ? kTrue : kUnknown);
        return negate(both, e.negated);
      }
      case CsvExpr::kIn: {
        // True when one item equals; else unknown when one was NULL.
        Truth any = kFalse;
        for (const auto& item : e.list) {
          Truth t = compareTruth(CsvExpr::kEq, *e.left, *item, row);
          if (t == kTrue) return negate(kTrue, e.negated);
          if (t == kUnknown) any = kUnknown;
        }
        return negate(any, e.negated);
      }
      case CsvExpr::kCompare: return compareTruth(e.cmp, *e.left, *e.right, row);
      default: {
        CsvValue v = value(e, row);
        if (v.isNull()) return kUnknown;
        if (v.kind == CsvValue::kText) {
          typeError(v, CsvValue::ofInteger(1));
          return kUnknown;
        }
        return v.asReal() != 0 ? kTrue : kFalse;
      }
    }
  }

 private:
  static Truth negate(Truth t, bool negated) {
    return !negated || t == kUnknown ? t : (t == kTrue ? kFalse : kTrue);
  }

  Truth compareTruth(CsvExpr::Cmp cmp, const CsvExpr& left, const CsvExpr& right, const std::vector<CsvValue>& row) {
    CsvValue a = value(left, row), b = value(right, row);
    if (a.isNull() || b.isNull()) return kUnknown;
    int order = 0;
    if (!compare(a, b, order)) return kUnknown;
    return holds(cmp, order) ? kTrue : kFalse;
  }

  static bool holds(CsvExpr::Cmp cmp, int order) {
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

  // Orders two non-NULL values: numbers by value, texts by their bytes; a
  // text against a number as a number when it reads as one.
  bool compare(const CsvValue& a, const CsvValue& b, int& order) {
    if (a.kind == CsvValue::kText && b.kind == CsvValue::kText) {
      int c = a.text.compare(b.text);
      order = (c > 0) - (c < 0);
      return true;
    }
    CsvValue x = a, y = b;
    if ((x.kind == CsvValue::kText && !csvConvertText(x.text, CsvValue::kReal, x)) ||
        (y.kind == CsvValue::kText && !csvConvertText(y.text, CsvValue::kReal, y))) {
      typeError(a, b);
      return false;
    }
    if (x.kind == CsvValue::kInteger && y.kind == CsvValue::kInteger) {
      order = (x.integer > y.integer) - (x.integer < y.integer);
    } else {
      order = (x.asReal() > y.asReal()) - (x.asReal() < y.asReal());
    }
    return true;
  }

  void typeError(const CsvValue& a, const CsvValue& b) {
    if (failed) return;
    failed = true;
    csvError(kErrCsvTypeMismatch, "22018") << a.toText().c_str() << b.toText().c_str();
  }
};

bool resolveColumns(CsvExpr* e, const CsvTable& table) {
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
    if (!resolveColumns(item.get(), table)) return false;
  return resolveColumns(e->left.get(), table) && resolveColumns(e->right.get(), table);
}

bool findColumnOrFail(const CsvTable& table, const std::string& name, size_t& at) {
  int found = table.findColumn(name);
  if (found < 0) csvError(kErrCsvColumnNotFound, "42S22") << name.c_str();
  at = size_t(found);
  return found >= 0;
}

// Orders two values of one column; NULL comes first.
int orderOf(const CsvValue& a, const CsvValue& b) {
  if (a.isNull()) return b.isNull() ? 0 : -1;
  if (b.isNull()) return 1;
  if (a.kind == CsvValue::kText) {
    int c = a.text.compare(b.text);
    return (c > 0) - (c < 0);
  }
  if (a.kind == CsvValue::kInteger) return (a.integer > b.integer) - (a.integer < b.integer);
  return (a.real > b.real) - (a.real < b.real);
}

// The value an INSERT stores in column, converted to the column's kind;
// false with the error filed when it does not fit.
bool fitValue(const CsvValue& value, const CsvColumn& column, CsvValue& out) {
  if (value.isNull()) {
    out = CsvValue();
    if (!column.nullable) csvError(kErrCsvNullNotAllowed, "23000") << column.name.c_str();
    return column.nullable;
  }
  bool fits = true;
  if (column.kind == CsvValue::kReal && value.isNumber()) {
    out = value;
    out.kind = CsvValue::kReal;
    out.real = value.asReal();
  } else {
    fits = csvConvertText(value.toText(), column.kind, out);
  }
  if (!fits) csvError(kErrCsvValueDoesNotFit, "22018") << value.toText().c_str() << column.name.c_str();
  return fits;
}

// A field as the table file holds it: NULL as \N; a text quoted when it
// holds a comma, quote or line end, is empty or reads as \N; a real in the
// shortest of 15 or 17 digits that reads back exactly.
std::string csvField(const CsvValue& value) {
  if (value.isNull()) return "\\N";
  if (value.kind == CsvValue::kReal) {
    char buffer[32];
    snprintf(buffer, sizeof buffer, "%.15g", value.real);
    if (strtod(buffer, nullptr) != value.real) snprintf(buffer, sizeof buffer, "%.17g", value.real);
    return buffer;
  }
  std::string text = value.toText();
  if (value.kind != CsvValue::kText ||
      (!text.empty() && text != "\\N" && text.find_first_of(",\"\r\n") == std::string::npos))
    return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

// Appends line at the end of the file at path under the exclusive lock.
bool appendLine(const std::string& path, std::string line) {
  if (!csvUtf8ToFileText(line, path)) return false;
  char name[BOS_MAX_PATH];
  snprintf(name, sizeof name, "%s", path.c_str());
  int handle = -1;
  if (bosFileOpen(name, BOS_OPEN_READ_WRITE | BOS_OPEN_EXCLUSIVE_LOCK, &handle) != 0) return false;
  int32_t end = bosFileSeek(handle, 0, SEEK_END);
  char last = '\n';
  int32_t count = 0;
  if (end > 0) bosFileRead(handle, end - 1, &last, 1, &count);
  if (last != '\n') line.insert(line.begin(), '\n');
  bool written = end >= 0;
  // Written in pieces below 64 KB, the largest the file layer writes at once.
  const size_t kPiece = 32768;
  for (size_t at = 0; written && at < line.size(); at += kPiece) {
    size_t n = std::min(kPiece, line.size() - at);
    written = bosFileWrite(handle, int64_t(end) + int64_t(at), line.data() + at, n) == 0;
  }
  return bosFileClose(handle) == 0 && written;
}

}  // namespace

class CsvStatementParser::Impl : public VxParser {
 public:
  Impl() {
    std::string grammar = toBlob(kGrammar, nullptr);
    std::string keywords = toBlob(kKeywords, &keywordNames_);
    init(grammar.data(), keywords.data(), VX_CP_UTF8);
    setValidMiddleChars("_");
  }

  int FailProc(int16_t kind, const char* text, int16_t, const char*, VxStateTransition* transitions) override {
    failKind_ = kind;
    failText_ = text ? text : "";
    expected_ = transitions;
    return 0;  // go on to the innermost rule, whose choices are the closest
  }

  // Files the syntax error of the last failed parse.
  void reportFailure() {
    if (lastFailure() != kSyntaxError) {
      csvError(kErrCsvSyntax, "42000") << "the statement"
                                       << (lastFailure() == kTooDeep ? "fewer nested parentheses" : "valid SQL");
      return;
    }
    std::string at = failKind_ == kEndOfText ? "end of statement" : "\"" + failText_ + "\"";
    std::set<std::string> seen;
    std::string expected;
    for (VxStateTransition* t = expected_; t; t = t->getNextTransition()) {
      std::string what = describeKind(t->getTokenType(), t->getTokenStringPtr(), keywordNames_);
      if (!seen.insert(what).second) continue;
      if (!expected.empty()) expected += ", ";
      expected += what;
    }
    csvError(kErrCsvSyntax, "42000") << at.c_str() << (expected.empty() ? "nothing more" : expected.c_str());
  }

 private:
  std::map<int, std::string> keywordNames_;
  int16_t failKind_ = 0;
  std::string failText_;
  VxStateTransition* expected_ = nullptr;
};

CsvStatementParser::CsvStatementParser() : impl_(std::make_unique<Impl>()) {}
CsvStatementParser::~CsvStatementParser() = default;

bool CsvStatementParser::parse(const char* text, CsvQuery& query) {
  query = CsvQuery();
  VxReduction* root = nullptr;
  if (impl_->parse(text, root, VX_CP_UTF8) != 0) {
    impl_->reportFailure();
    return false;
  }
  std::unique_ptr<VxReduction> tree(root);
  compileStatement(root->getChild(), query);
  numberParameters(query.where.get(), query.parameterCount);
  for (auto& value : query.values) numberParameters(value.get(), query.parameterCount);
  return true;
}

bool csvBindParameters(CsvQuery& query, const std::vector<CsvValue>& values) {
  if (!bindExpr(query.where.get(), values)) return false;
  for (auto& value : query.values)
    if (!bindExpr(value.get(), values)) return false;
  return true;
}

bool csvRunQuery(const std::string& directory, CsvQuery& query, CsvResult& result) {
  result = CsvResult();
  CsvTable table;
  if (!csvLoadTable(directory, query.table, table) || !resolveColumns(query.where.get(), table)) return false;
  std::vector<size_t> projection;
  for (const std::string& name : query.columns) {
    size_t at = 0;
    if (!findColumnOrFail(table, name, at)) return false;
    projection.push_back(at);
  }
  if (query.columns.empty())
    for (size_t i = 0; i < table.columns.size(); ++i) projection.push_back(i);
  std::vector<std::pair<size_t, bool>> keys;
  for (const auto& item : query.orderBy) {
    size_t at = 0;
    if (!findColumnOrFail(table, item.first, at)) return false;
    keys.emplace_back(at, item.second);
  }

  Evaluator evaluator;
  std::vector<std::vector<CsvValue>> selected;
  for (auto& row : table.rows) {
    if (query.where && evaluator.truth(*query.where, row) != kTrue) continue;
    if (evaluator.failed) return false;
    selected.push_back(std::move(row));
  }
  if (evaluator.failed) return false;
  std::stable_sort(selected.begin(), selected.end(), [&keys](const auto& a, const auto& b) {
    for (const auto& key : keys) {
      int order = orderOf(a[key.first], b[key.first]);
      if (order != 0) return key.second ? order > 0 : order < 0;
    }
    return false;
  });
  for (size_t at : projection) result.columns.push_back(table.columns[at]);
  std::set<std::string> seen;  // the rows so far, for DISTINCT
  for (const auto& row : selected) {
    if (query.limit >= 0 && result.rows.size() >= size_t(query.limit)) break;
    std::vector<CsvValue> out;
    std::string key;
    out.reserve(projection.size());
    for (size_t at : projection) {
      out.push_back(row[at]);
      key += char('0' + row[at].kind) + row[at].toText() + '\0';
    }
    if (query.distinct && !seen.insert(key).second) continue;
    result.rows.push_back(std::move(out));
  }
  return true;
}

bool csvRunInsert(const std::string& directory, CsvQuery& query) {
  CsvTable table;
  std::string path;
  if (!csvLoadTable(directory, query.table, table, &path)) return false;
  // Where each value goes: the columns named, else all in order.
  std::vector<size_t> targets;
  for (const std::string& name : query.columns) {
    size_t at = 0;
    if (!findColumnOrFail(table, name, at)) return false;
    targets.push_back(at);
  }
  if (query.columns.empty())
    for (size_t i = 0; i < table.columns.size(); ++i) targets.push_back(i);
  if (targets.size() != query.values.size()) {
    csvError(kErrCsvValueCount, "21S01");
    return false;
  }
  // Values name no column: they are resolved against a table without any.
  CsvTable noColumns;
  Evaluator evaluator;
  std::vector<CsvValue> row(table.columns.size());
  for (size_t i = 0; i < targets.size(); ++i) {
    if (!resolveColumns(query.values[i].get(), noColumns)) return false;
    CsvValue value = evaluator.value(*query.values[i], row);
    if (evaluator.failed || !fitValue(value, table.columns[targets[i]], row[targets[i]])) return false;
  }
  for (size_t i = 0; i < row.size(); ++i) {
    bool named = std::find(targets.begin(), targets.end(), i) != targets.end();
    if (!named && !table.columns[i].nullable) {
      csvError(kErrCsvNullNotAllowed, "23000") << table.columns[i].name.c_str();
      return false;
    }
  }
  std::string line;
  for (size_t i = 0; i < row.size(); ++i) line += (i ? "," : "") + csvField(row[i]);
  return appendLine(path, line + "\n");
}
