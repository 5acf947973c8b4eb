// The shipped SQL grammar (examples/sql): sample statements, malformed
// ones, and every sentence the grammar itself generates.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "parser/grammar_support.h"
#include "parser/vxparse.h"

namespace {

class SqlGrammar : public ::testing::Test {
 protected:
  void SetUp() override { loadSqlGrammar(parser, &keywords); }
  VxParser parser;
  std::map<int, std::string> keywords;
};

TEST_F(SqlGrammar, RealLookingStatementsParseAndMalformedOnesFail) {
  const char* good[] = {
      "SELECT c.name, SUM(o.amount) AS total FROM customers c, orders o WHERE o.customer_id = c.id "
      "AND o.status <> 'it''s closed' AND o.amount >= 1.5 GROUP BY c.name ORDER BY 2 DESC;",
      "select * from t1 inner join t2 on t1.a = t2.a left outer join t3 on t3.b = t2.b",
      "SELECT a FROM (SELECT a FROM t) AS x WHERE a IN (SELECT b FROM u) AND c NOT BETWEEN 1 AND 10",
      "SELECT (SELECT MAX(x) FROM t), CASE WHEN a IS NULL THEN 'none' ELSE a END FROM t",
      "SELECT a FROM t WHERE name LIKE 'A%' ESCAPE '\\' AND b NOT IN (1, 2, 3) AND d IS NOT NULL",
      "SELECT a FROM t UNION ALL SELECT b FROM u UNION SELECT c FROM v ORDER BY 1",
      "SELECT COUNT(*), COUNT(DISTINCT a) FROM t GROUP BY b HAVING COUNT(*) > 1",
      "INSERT INTO t (a, b) VALUES (1, 'x')", "INSERT INTO t SELECT * FROM u",
      "UPDATE t SET a = a + 1, b = 'y' WHERE c = ?", "DELETE FROM t WHERE a < 5",
      "CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40), price DECIMAL(10, 2), at TIMESTAMP)",
      "SELECT {fn UCASE(name)}, {fn LEFT(a, 2)} FROM t WHERE d > {d '2024-01-01'} AND t < {t '12:00:00'} "
      "AND ts = {ts '2024-01-01 12:00:00'}",
      "SELECT * FROM {oj t1 LEFT OUTER JOIN t2 ON t1.a = t2.a}", "{call proc(1, ?)}", "{? = call schema.proc}",
      "SELECT ((1 + 2)) * -3, '' FROM t", "SELECT \"Quoted Col\" FROM \"My Table\"",
      "SELECT a FROM t WHERE EXISTS (SELECT 1 FROM u WHERE u.a = t.a) AND (a = 1 OR NOT b = 2)",
      "SELECT a || b FROM t WHERE x != 3 AND y <= 2", "SELECT a FROM t WHERE a IN ((1), (SELECT 2))",
  };
  const char* bad[] = {
      "SELECT FROM t", "SELECT a FROM", "SELECT a FROM t WHERE", "INSERT t VALUES (1)", "SELECT a b c FROM t",
      "UPDATE t SET WHERE a = 1", "SELECT (1 FROM t", "DELETE t", "SELECT a FROM t extra garbage", "CREATE TABLE t ()",
      "SELECT a FROM t;;", "{fn}", "SELECT {d 5}", "", "SELECT 'unterminated",
  };
  for (const char* text : good) {
    VxReduction* root = nullptr;
    EXPECT_EQ(0u, parser.parse(text, root)) << text;
    delete root;
  }
  for (const char* text : bad) {
    VxReduction* root = nullptr;
    EXPECT_EQ(1u, parser.parse(text, root)) << text;
    EXPECT_EQ(VxParser::kSyntaxError, parser.lastFailure()) << text;
  }
}

// Writes random sentences of the compiled grammar: alternatives, optional
// parts and repetitions chosen at random until a depth, then the shortest
// way out (the least rule height). Each token is kept with the text the
// parse tree must show for it.
class SentenceWriter {
 public:
  SentenceWriter(VxProduction* rules, const std::map<int, std::string>& keywords) : keywords_(keywords) {
    for (bool changed = true; changed;) {  // least heights, to a fixed point
      changed = false;
      for (VxProduction* p = rules; p; p = p->getNextProduction()) {
        int h = alternativesHeight(p->getCompiledProduction());
        if (h < height(p)) height_[p] = h, changed = true;
      }
    }
  }

  // A new sentence from rule p.
  void write(const VxProduction* p, unsigned seed) {
    rng_.seed(seed);
    text.clear();
    leaves.clear();
    insideQuotes_ = afterOpeningQuote_ = false;
    rule(p, 0);
  }


  std::string text;
  std::vector<std::string> leaves;

 private:
  static const int kDeep = 9;
  void rule(const VxProduction* p, int depth) { alternatives(p->getCompiledProduction(), depth + 1); }
  int height(const VxProduction* p) { return height_.count(p) ? height_[p] : INT_MAX / 2; }
  int alternativesHeight(VxBNFElement* e) {
    int best = INT_MAX / 2;
    for (; e; e->getNextAlternation(e)) best = std::min(best, sequenceHeight(e));
    return best;
  }
  int sequenceHeight(VxBNFElement* e) {
    int h = 0;
    for (; e; e->getNextSequential(e)) h = std::max(h, elementHeight(e));
    return h;
  }
  int elementHeight(const VxBNFElement* e) {
    VxBNFElement* contents;
    VxProduction* rule;
    if (e->getBracket() == VxBNFElement::kSquare || e->getClosure() == VxBNFElement::kZeroOrMore) return 0;
    if (e->getContains(contents) == 0) return alternativesHeight(contents);
    return e->getNonTerminal(rule) == 0 ? 1 + height(rule) : 0;
  }
  void alternatives(VxBNFElement* e, int depth) {
    std::vector<VxBNFElement*> all;
    for (; e; e->getNextAlternation(e)) all.push_back(e);
    VxBNFElement* pick = all[rng_() % all.size()];
    if (depth > kDeep) {
      for (VxBNFElement* a : all) pick = sequenceHeight(a) < sequenceHeight(pick) ? a : pick;
    }
    for (; pick; pick->getNextSequential(pick)) element(pick, depth);
  }
  void element(const VxBNFElement* e, int depth) {
    VxBNFElement* contents;
    VxProduction* rule;
    if (e->getContains(contents) == 0) {
      bool deep = depth > kDeep;
      int times = e->getBracket() == VxBNFElement::kSquare ? (deep ? 0 : rng_() % 2) : 1;
      if (e->getClosure() != VxBNFElement::kNoClosure) times = deep ? 1 : rng_() % 3 + 1;
      if (e->getClosure() == VxBNFElement::kZeroOrMore) times -= deep ? 1 : rng_() % 2;
      while (times-- > 0) alternatives(contents, depth);
    } else if (e->getNonTerminal(rule) == 0) {
      this->rule(rule, depth);
    } else {
      token(e->getTokenType(), e->getTokenStringPtr());
    }
  }
  void token(int16_t kind, const char* literalText) {
    static const char kPunctuation[] = "~`!@#$%^&*()-_+=|\\{[}]:;\"'<,>.?/";
    std::string t;
    if (kind == 2) t = literalText ? literalText : "c" + std::to_string(rng_() % 100);
    else if (kind == 5) t = std::to_string(rng_() % 1000);
    else if (kind == 41) t = rng_() % 2 ? "x y''z" : "2024-01-01";
    else if (kind >= 8 && kind <= 39) t = std::string(1, kPunctuation[kind - 8]);
    else t = keywords_.at(kind);
    // Quotes stick to what they enclose: no blank after an opening quote
    // or before a closing one.
    bool quote = kind == 32 || kind == 33;
    if (!(quote && insideQuotes_) && !text.empty() && !afterOpeningQuote_) text += ' ';
    text += t;
    afterOpeningQuote_ = quote && !insideQuotes_;
    if (quote) insideQuotes_ = !insideQuotes_;
    leaves.push_back(t);
  }

  const std::map<int, std::string>& keywords_;
  std::mt19937 rng_;
  std::map<const VxProduction*, int> height_;
  bool insideQuotes_ = false, afterOpeningQuote_ = false;
};

void collectLeaves(const VxReduction* node, std::vector<std::string>& leaves) {
  for (; node; node = node->getNextSibling()) {
    if (node->terminal()) leaves.push_back(node->getString());
    collectLeaves(node->getChild(), leaves);
  }
}

// Every sentence the grammar generates parses, and its tree holds each of
// its tokens exactly once, in order: the trial runs of the backtracking
// leave nothing behind and the replay drops nothing.
TEST_F(SqlGrammar, EveryGeneratedSentenceParsesToItsOwnTokens) {
  const unsigned seed = 4711;
  VxProduction* goal;
  ASSERT_EQ(0u, parser.getGrammar()->getParseTable(goal));
  SentenceWriter writer(parser.getGrammar()->getFirstProduction(), keywords);
  for (unsigned round = 0; round < 600; ++round) {
    writer.write(goal, seed + round);
    VxReduction* root = nullptr;
    ASSERT_EQ(0u, parser.parse(writer.text.c_str(), root)) << "seed " << seed + round << ": " << writer.text;
    std::vector<std::string> leaves;
    collectLeaves(root, leaves);
    EXPECT_EQ(writer.leaves, leaves) << "seed " << seed + round << ": " << writer.text;
    delete root;
  }
}

}  // namespace
