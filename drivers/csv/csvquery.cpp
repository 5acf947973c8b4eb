// Parsing the driver's statements, and running its INSERT.
#include "drivers/csv/csvquery.h"

#include <strings.h>

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "bos/bosfile.h"
#include "drivers/csv/csveval.h"
#include "drivers/csv/csvcodepage.h"
#include "foundation/vxstr.h"
#include "parser/vxparse.h"

namespace {

// The accepted SQL in the grammar compiler's notation (rule number, blanks,
// rule text), and its keywords (token number, blanks, word). Where an
// alternative is a prefix of another, the longer comes first. The names of
// aggregates and escape clauses are matched as words (~), so they stay
// usable as column names.
const char kGrammar[] =
    "1000 goal ::= statement [ ; ] | insert-statement [ ; ]\n"
    "1001 statement ::= SELECT [ DISTINCT ] select-list FROM name [ WHERE expr ] [ group-by ] [ having ]"
    " [ order-by ] [ limit ]\n"
    "1002 select-list ::= * | select-item { , select-item }*\n"
    "1003 order-by ::= ORDER BY order-item { , order-item }*\n"
    "1004 order-item ::= additive [ ASC | DESC ]\n"
    "1005 expr ::= and-expr { OR and-expr }*\n"
    "1006 and-expr ::= not-expr { AND not-expr }*\n"
    "1007 not-expr ::= NOT not-expr | predicate\n"
    "1008 predicate ::= additive [ predicate-tail ]\n"
    "1009 predicate-tail ::= comparison additive | [ NOT ] LIKE additive | [ NOT ] BETWEEN additive AND additive"
    " | [ NOT ] IN ( additive { , additive }* ) | IS NOT NULL | IS NULL\n"
    "1010 comparison ::= = | < [ > | = ] | > [ = ] | ! =\n"
    "1011 operand ::= number [ . [ number ] ] | string | escape | aggregate | name | ( expr ) | - operand"
    " | + operand | NULL | ?\n"
    "1012 string ::= ' [ literal-contents ] '\n"
    "1013 name ::= alphanum | \" literal-contents \"\n"
    "1014 limit ::= LIMIT number\n"
    "1015 insert-statement ::= INSERT INTO name [ ( name { , name }* ) ] VALUES ( additive { , additive }* )\n"
    "1016 select-item ::= additive [ AS name ]\n"
    "1017 additive ::= multiplicative { additive-operator multiplicative }*\n"
    "1018 additive-operator ::= + | -\n"
    "1019 multiplicative ::= operand { multiplicative-operator operand }*\n"
    "1020 multiplicative-operator ::= * | /\n"
    "1021 group-by ::= GROUP BY name { , name }*\n"
    "1022 having ::= HAVING expr\n"
    "1023 aggregate ::= ~COUNT ( * ) | aggregate-name ( [ DISTINCT ] additive )\n"
    "1024 aggregate-name ::= ~COUNT | ~SUM | ~MIN | ~MAX | ~AVG\n"
    "1025 escape ::= \\{ escape-body \\}\n"
    "1026 escape-body ::= ~fn name ( [ additive { , additive }* ] ) | ~d string | ~ts string\n";

const char kKeywords[] =
    "100 SELECT\n101 DISTINCT\n103 FROM\n104 WHERE\n105 GROUP\n106 BY\n107 HAVING\n108 ORDER\n109 ASC\n110 DESC\n"
    "112 AS\n119 AND\n120 OR\n121 NOT\n122 NULL\n123 IS\n124 IN\n125 BETWEEN\n126 LIKE\n130 INSERT\n131 INTO\n"
    "132 VALUES\n160 LIMIT\n";

// Rule numbers of kGrammar, and the token kinds the compiler looks at.
enum Rule : int16_t {
  kStatement = 1001, kSelectList, kOrderBy, kOrderItem, kExpr, kAndExpr, kNotExpr, kPredicate,
  kPredicateTail, kComparison, kOperand, kString, kName, kLimit, kInsertStatement, kSelectItem, kAdditive,
  kAdditiveOperator, kMultiplicative, kMultiplicativeOperator, kGroupBy, kHaving, kAggregate, kAggregateName,
  kEscape, kEscapeBody
};
enum Token : int16_t {
  kEndOfText = 1, kWord = 2, kNumber = 5, kStar = 17, kOpenParen = 18, kMinus = 20, kPlus = 22,
  kDoubleQuote = 32, kApostrophe = 33, kQuestionMark = 38, kQuote = 40, kContents = 41,
  kDistinct = 101, kDesc = 110, kNotWord = 121, kInWord = 124, kBetweenWord = 125, kLikeWord = 126
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

// Checks the text of a {d} literal (yyyy-mm-dd) or a {ts} literal
// (yyyy-mm-dd hh:mm:ss, then optionally . and 1 to 9 digits of fraction):
// the exact layout, a month from 1 to 12, a day that exists in that month
// (leap years by the Gregorian rule), hours to 23, minutes and seconds to
// 59. Year 0000 is refused, as ODBC's date structure starts at year 1.
bool validDateTime(const std::string& text, bool timestamp) {
  const char* layout = timestamp ? "dddd-dd-dd dd:dd:dd" : "dddd-dd-dd";
  size_t length = strlen(layout);
  if (text.size() < length) return false;
  for (size_t i = 0; i < length; ++i)
    if (layout[i] == 'd' ? !isdigit(static_cast<unsigned char>(text[i])) : text[i] != layout[i]) return false;
  if (text.size() > length) {
    size_t digits = text.size() - length - 1;
    if (!timestamp || text[length] != '.' || digits < 1 || digits > 9) return false;
    for (size_t i = length + 1; i < text.size(); ++i)
      if (!isdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  auto number = [&text](size_t at, size_t n) { return atoi(text.substr(at, n).c_str()); };
  int year = number(0, 4), month = number(5, 2), day = number(8, 2);
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1 || month < 1 || month > 12 || day < 1) return false;
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  if (day > kDays[month - 1] + (month == 2 && leap)) return false;
  return !timestamp || (number(11, 2) <= 23 && number(14, 2) <= 59 && number(17, 2) <= 59);
}

// Compiles parse trees into CsvExpr trees. Errors found on the way (an
// unknown function, a bad date literal) are filed and set failed.
class Compiler {
 public:
  bool failed = false;

  // Compiles an expr, and-expr, not-expr, predicate, additive,
  // multiplicative or operand node. Operators of one level associate to
  // the left.
  std::unique_ptr<CsvExpr> expr(const VxReduction* node) {
    const VxReduction* first = node->getChild();
    switch (node->reductNumber()) {
      case kExpr:
      case kAndExpr: {
        CsvExpr::Op op = node->reductNumber() == kExpr ? CsvExpr::kOr : CsvExpr::kAnd;
        std::unique_ptr<CsvExpr> result = expr(first);
        for (const VxReduction* c = first->getNextSibling(); c; c = c->getNextSibling())
          if (!c->terminal()) result = makeNode(op, std::move(result), expr(c));
        return result;
      }
      case kAdditive:
      case kMultiplicative: {
        // operand, then pairs of an operator rule and an operand.
        std::unique_ptr<CsvExpr> result = expr(first);
        for (const VxReduction* c = first->getNextSibling(); c && c->getNextSibling(); c = c->getNextSibling()) {
          char op = terminalText(c->getChild())[0];
          c = c->getNextSibling();
          result = makeNode(CsvExpr::kArithmetic, std::move(result), expr(c));
          result->arithmetic = op;
        }
        return result;
      }
      case kNotExpr:
        if (first->reductNumber() == kNotWord) return makeNode(CsvExpr::kNot, expr(first->getNextSibling()));
        return expr(first);
      case kOperand: return operand(node);
      default: return predicate(node);
    }
  }

  // Compiles an escape clause.
  std::unique_ptr<CsvExpr> escape(const VxReduction* escape) {
    const VxReduction* body = escape->getChild()->getNextSibling();
    const VxReduction* word = body->getChild();
    std::string kind = terminalText(word);
    auto node = std::make_unique<CsvExpr>();
    if (strcasecmp(kind.c_str(), "fn") != 0) {
      bool timestamp = strcasecmp(kind.c_str(), "ts") == 0;
      node->value.kind = CsvValue::kText;
      node->value.text = stringText(word->getNextSibling());
      node->literalType = timestamp ? SQL_TYPE_TIMESTAMP : SQL_TYPE_DATE;
      if (!failed && !validDateTime(node->value.text, timestamp))
        fail(kErrCsvBadDateTime, "22007") << node->value.text.c_str();
      return node;
    }
    const VxReduction* nameNode = word->getNextSibling();
    std::vector<std::unique_ptr<CsvExpr>> arguments;
    for (const VxReduction* c = nameNode->getNextSibling(); c; c = c->getNextSibling())
      if (c->reductNumber() == kAdditive) arguments.push_back(expr(c));
    static const struct {
      const char* name;
      CsvExpr::Function function;
      size_t arguments;
    } kFunctions[] = {{"UCASE", CsvExpr::kUpper, 1}, {"LCASE", CsvExpr::kLower, 1}, {"CONCAT", CsvExpr::kConcat, 2}};
    std::string name = nameText(nameNode);
    for (const auto& f : kFunctions) {
      if (strcasecmp(f.name, name.c_str()) != 0 || f.arguments != arguments.size()) continue;
      node->op = CsvExpr::kFunction;
      node->function = f.function;
      node->left = std::move(arguments[0]);
      if (f.arguments == 2) node->right = std::move(arguments[1]);
      return node;
    }
    if (!failed) fail(kErrCsvUnknownFunction, "42000") << name.c_str() << int64_t(arguments.size());
    return node;
  }

 private:
  // Files the statement's error; only the first is filed.
  VxError& fail(uint16_t number, const char* sqlstate) {
    assert(!failed);
    failed = true;
    return csvError(number, sqlstate);
  }

  std::unique_ptr<CsvExpr> operand(const VxReduction* operand) {
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
      case kEscape: return escape(first);
      case kAggregate: return aggregate(first);
      case kOpenParen: return expr(first->getNextSibling());
      case kMinus: return makeNode(CsvExpr::kNegate, this->operand(first->getNextSibling()));
      case kPlus: return this->operand(first->getNextSibling());
      case kQuestionMark: node->op = CsvExpr::kParameter; return node;
      default: return node;  // NULL: a literal of kind kNull
    }
  }

  // COUNT(*) (the only aggregate of *), or an aggregate of [DISTINCT] a
  // value.
  std::unique_ptr<CsvExpr> aggregate(const VxReduction* aggregate) {
    static const struct {
      const char* name;
      CsvExpr::Function function;
    } kAggregates[] = {{"COUNT", CsvExpr::kCount}, {"SUM", CsvExpr::kSum}, {"MIN", CsvExpr::kMin},
                       {"MAX", CsvExpr::kMax}, {"AVG", CsvExpr::kAvg}};
    auto node = std::make_unique<CsvExpr>();
    node->op = CsvExpr::kAggregate;
    const VxReduction* first = aggregate->getChild();
    std::string name = terminalText(first->reductNumber() == kAggregateName ? first->getChild() : first);
    for (const auto& a : kAggregates)
      if (strcasecmp(a.name, name.c_str()) == 0) node->function = a.function;
    for (const VxReduction* c = aggregate->getChild(); c; c = c->getNextSibling()) {
      if (c->reductNumber() == kDistinct) node->distinct = true;
      if (c->reductNumber() == kAdditive) node->left = expr(c);
    }
    return node;
  }

  std::unique_ptr<CsvExpr> predicate(const VxReduction* node) {
    const VxReduction* first = node->getChild();
    std::unique_ptr<CsvExpr> left = expr(first);
    const VxReduction* tail = first->getNextSibling();
    if (!tail) return left;
    const VxReduction* head = tail->getChild();
    if (head->reductNumber() == kComparison) {
      auto result = makeNode(CsvExpr::kCompare, std::move(left), expr(head->getNextSibling()));
      result->cmp = comparisonOf(head);
      return result;
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
        case kAdditive: operands.push_back(expr(c)); break;
        default: break;
      }
    }
    auto result = makeNode(op, std::move(left));
    result->negated = negated;
    if (op == CsvExpr::kLike) result->right = std::move(operands.front());
    else result->list = std::move(operands);
    return result;
  }

  static CsvExpr::Cmp comparisonOf(const VxReduction* comparison) {
    std::string op;
    for (const VxReduction* c = comparison->getChild(); c; c = c->getNextSibling()) op += terminalText(c);
    if (op == "=") return CsvExpr::kEq;
    if (op == "<") return CsvExpr::kLt;
    if (op == "<=") return CsvExpr::kLe;
    if (op == ">") return CsvExpr::kGt;
    if (op == ">=") return CsvExpr::kGe;
    return CsvExpr::kNe;  // <> and !=
  }
};

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

void compileInsert(Compiler& compiler, const VxReduction* statement, CsvQuery& query) {
  query.isInsert = true;
  for (const VxReduction* c = statement->getChild(); c; c = c->getNextSibling()) {
    if (c->reductNumber() == kName) {
      if (query.table.empty()) query.table = nameText(c);
      else query.columns.push_back(nameText(c));
    } else if (c->reductNumber() == kAdditive) {
      query.values.push_back(compiler.expr(c));
    }
  }
}

// Compiles a statement; false when the compiler filed an error.
bool compileStatement(const VxReduction* statement, CsvQuery& query) {
  Compiler compiler;
  if (statement->reductNumber() == kInsertStatement) {
    compileInsert(compiler, statement, query);
    return !compiler.failed;
  }
  for (const VxReduction* c = statement->getChild(); c; c = c->getNextSibling()) {
    switch (c->reductNumber()) {
      case kSelectList:
        for (const VxReduction* item = c->getChild(); item; item = item->getNextSibling()) {
          if (item->reductNumber() != kSelectItem) continue;
          const VxReduction* alias = item->getChild()->getNextSibling();
          while (alias && alias->reductNumber() != kName) alias = alias->getNextSibling();
          query.items.push_back({compiler.expr(item->getChild()), alias ? nameText(alias) : std::string()});
        }
        break;
      case kName: query.table = nameText(c); break;
      case kExpr: query.where = compiler.expr(c); break;
      case kDistinct: query.distinct = true; break;
      case kLimit: query.limit = strtoll(terminalText(c->getChild()->getNextSibling()).c_str(), nullptr, 10); break;
      case kGroupBy:
        for (const VxReduction* name = c->getChild(); name; name = name->getNextSibling())
          if (name->reductNumber() == kName) query.groupBy.push_back(nameText(name));
        break;
      case kHaving: query.having = compiler.expr(c->getChild()->getNextSibling()); break;
      case kOrderBy:
        for (const VxReduction* item = c->getChild(); item; item = item->getNextSibling()) {
          if (item->reductNumber() != kOrderItem) continue;
          const VxReduction* direction = item->getChild()->getNextSibling();
          query.orderBy.push_back({compiler.expr(item->getChild()), direction && direction->reductNumber() == kDesc});
        }
        break;
      default: break;
    }
  }
  return !compiler.failed;
}

// Every expression of a query, in the order written, for numbering and
// binding its markers.
std::vector<CsvExpr*> expressionsOf(CsvQuery& query) {
  std::vector<CsvExpr*> all;
  for (auto& item : query.items) all.push_back(item.expr.get());
  all.push_back(query.where.get());
  all.push_back(query.having.get());
  for (auto& item : query.orderBy) all.push_back(item.expr.get());
  for (auto& value : query.values) all.push_back(value.get());
  return all;
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
  if (!compileStatement(root->getChild(), query)) return false;
  for (CsvExpr* e : expressionsOf(query)) numberParameters(e, query.parameterCount);
  return true;
}

bool csvBindParameters(CsvQuery& query, const std::vector<CsvValue>& values) {
  for (CsvExpr* e : expressionsOf(query))
    if (!bindExpr(e, values)) return false;
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
    if (!csvFindColumn(table, name, at)) return false;
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
  CsvEvaluator evaluator;
  std::vector<CsvValue> row(table.columns.size());
  for (size_t i = 0; i < targets.size(); ++i) {
    if (!csvResolveColumns(query.values[i].get(), noColumns) ||
        !csvRefuseAggregates(query.values[i].get(), "in VALUES"))
      return false;
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
