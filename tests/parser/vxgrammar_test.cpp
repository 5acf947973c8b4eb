#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "parser/grammar_support.h"
#include "parser/vxgrammar.h"
#include "parser/vxpstate.h"

namespace {

// Each row: rules (numbered from 1000), whether they compile, and whether
// the keyword list is left comparing exactly. A failure before the first
// lists are built leaves it exact (intended); after that it is not.
TEST(VxGrammar, CompilesOrFailsAndLeavesTheKeywordCase) {
  std::string open, close;
  for (int i = 0; i < VxGrammar::kMaxGroupDepth; ++i) open += "[ ", close += " ]";
  std::string deep = "goal ::= " + open + "alphanum" + close, deeper = "goal ::= [ " + open + "alphanum" + close + " ]";
  const struct { std::vector<std::string> rules; unsigned status; int exact; } rows[] = {
      {{"goal ::= alphanum"}, 0, 0},
      {{"goal ::= SELECT { alphanum , }* [ FROM ] ~where number"}, 0, 0},
      {{"goal ::= a-b-", "a-b- ::= \\| \\{ \\[ literal-quote-char literal-contents"}, 0, 0},
      {{"goal ::= [ alphanum ] * number"}, 0, 0},            // "*" after "]" is a term
      {{"number ::= alphanum", "goal ::= number"}, 0, 0},     // a reserved rule name: unnamed
      {{"goal ::= ' \" `"}, 0, 0},                            // quotes are punctuation in rules
      {{deep}, 0, 0},
      {{deeper}, 1, 1},
      {{""}, 1, 1},
      {{"goal ::= nothing"}, 1, 1},                           // unresolved name
      {{"Goal ::= alphanum"}, 1, 1},
      {{"goal :: alphanum"}, 1, 1},
      {{"goal ::= [ alphanum"}, 1, 1},
      {{"goal ::= [ alphanum }"}, 1, 1},
      {{"goal ::= alphanum ]"}, 1, 1},
      {{"goal ::= { alphanum ]"}, 1, 1},
      {{"goal ::= { alphanum } ]"}, 1, 1},                     // the token after "}" is read again
      {{"goal ::= FOO"}, 1, 1},                               // upper case, not a keyword
      {{"goal ::= select"}, 1, 1},                            // keywords are exact in rules
      {{"goal ::= | alphanum"}, 1, 1},                        // empty alternative
      {{"goal ::= alphanum \\"}, 1, 1},
      {{"goal ::= caf\xC3\xA9"}, 1, 1},
      {{"goal ::= alphanum9"}, 1, 1},
      {{"goal ::= ~"}, 1, 1},
      {{"other ::= alphanum"}, 1, 0},                         // no start rule
      {{"goal ::= a", "a ::= a +"}, 1, 0},                    // left recursion
      {{"goal ::= a", "a ::= [ b ] c", "b ::= a", "c ::= +"}, 1, 0},
  };
  for (const auto& row : rows) {
    Entries entries;
    for (const std::string& rule : row.rules) entries.emplace_back(int16_t(1000 + entries.size()), rule);
    if (row.rules[0].empty()) entries.clear();
    VxKeywordList keywords(makeBlob({{100, "SELECT"}, {101, "FROM"}}).data());
    VxGrammar grammar(makeBlob(entries).data(), &keywords);
    EXPECT_EQ(row.status == 0, grammar.compiled()) << row.rules[0];
    EXPECT_EQ(row.status, grammar.compile(makeBlob(entries).data())) << row.rules[0];
    EXPECT_EQ(row.exact, keywords.getCaseSensitiveCompare()) << row.rules[0];
  }
}

TEST(VxGrammar, ReservedRuleNamesAreUnreachableButGoalStaysTheStart) {
  VxKeywordList keywords;
  VxGrammar grammar(makeBlob({{1000, "goal ::= alphanum"}, {1001, "number ::= alphanum"}, {1002, "x ::= goal"}}).data(),
                    &keywords);
  VxProduction* goal;
  ASSERT_EQ(0u, grammar.getParseTable(goal));
  EXPECT_STREQ("goal", goal->getName());
  EXPECT_EQ(nullptr, goal->numberToName(1001));
  EXPECT_STREQ("x", goal->numberToName(1002));
  EXPECT_EQ(1u, grammar.changeGoal("number"));
  EXPECT_EQ(0u, grammar.changeGoal("x"));
  ASSERT_EQ(0u, grammar.getParseTable(goal));
  EXPECT_EQ(1002, goal->getNumber());
}

TEST(VxGrammar, ResourceArraysCompileLikeBlobs) {
  const resourceElement rules[] = {{"goal ::= SELECT item { , item }*", 1000}, {"item ::= alphanum | number", 1001}};
  const resourceElement words[] = {{"SELECT", 100}};
  char* blob = vxFlattenResources(rules, 2);
  EXPECT_EQ(makeBlob({{1000, rules[0].text}, {1001, rules[1].text}}), std::string(blob, 3 * 2 + 1 + strlen(rules[0].text) + strlen(rules[1].text)));
  free(blob);
  VxParser fromArrays(rules, 2, words, 1), fromBlobs(makeBlob({{1000, rules[0].text}, {1001, rules[1].text}}).data(),
                                                     makeBlob({{100, "SELECT"}}).data());
  VxReduction *a = nullptr, *b = nullptr;
  ASSERT_EQ(0u, fromArrays.parse("select x, 5", a));
  ASSERT_EQ(0u, fromBlobs.parse("select x, 5", b));
  EXPECT_EQ("1000[100:select 1001[2:x] 35:, 1001[5:5]]", treeText(a));
  EXPECT_EQ(treeText(a), treeText(b));
  delete a;
  delete b;
}

TEST(VxParseState, SameFirstKeywordMarksBothDuplicatesAndChoicesCountUp) {
  VxKeywordList keywords(makeBlob({{100, "SELECT"}}).data());
  VxGrammar grammar(makeBlob({{1000, "goal ::= SELECT alphanum | SELECT number | [ + ]"}}).data(), &keywords);
  VxProduction* goal;
  ASSERT_EQ(0u, grammar.getParseTable(goal));
  VxParseState* top = goal->getParseTop();
  VxStateTransition* first = top->getTransitionList();
  ASSERT_TRUE(first && first->getNextTransition());
  EXPECT_EQ(100, first->getTokenType());
  EXPECT_EQ(100, first->getNextTransition()->getTokenType());
  EXPECT_TRUE(first->getDuplicate() && first->getNextTransition()->getDuplicate());
  EXPECT_FALSE(first->getNextTransition()->getNextTransition()->getDuplicate());  // the "+"

  // One match and an others transition: index 0 the match, 1 the others
  // transition, 2 nothing. Only an others transition: any index.
  VxParseState state;
  VxStateTransition* number = new VxStateTransition;
  number->setTokenType(5);
  state.addTransition(number);
  VxStateTransition* others = new VxStateTransition;
  state.setOthersState(others);
  VxStateTransition* chosen;
  EXPECT_EQ(0u, state.nextState(5, "1", chosen, 0));
  EXPECT_EQ(number, chosen);
  EXPECT_EQ(0u, state.nextState(5, "1", chosen, 1));
  EXPECT_EQ(others, chosen);
  EXPECT_EQ(1u, state.nextState(5, "1", chosen, 2));
  EXPECT_EQ(0u, state.nextState(2, "a", chosen, 0));
  EXPECT_EQ(others, chosen);
  VxParseState bare;
  bare.setOthersState(new VxStateTransition);
  EXPECT_EQ(0u, bare.nextState(1, "", chosen, 7));
}

TEST(VxStateTransition, MatchesKindsQuotesAndWordsWithoutCase) {
  const struct { int16_t transitionKind; const char* transitionText; int16_t kind; const char* text; unsigned result; } rows[] = {
      {41, nullptr, 2, "x", 0}, {41, nullptr, 40, "'", 0}, {40, nullptr, 40, "\"", 0},
      {33, nullptr, 40, "'", 0}, {32, nullptr, 40, "\"", 0}, {9, nullptr, 40, "`", 0}, {33, nullptr, 40, "\"", 1},
      {40, nullptr, 33, "'", 1}, {2, "Where", 2, "wHERE", 0}, {2, "where", 2, "wher", 1}, {2, nullptr, 2, "x", 0},
      {5, "1", 5, "2", 0}, {100, "SELECT", 101, "SELECT", 1},
  };
  for (const auto& row : rows) {
    VxStateTransition t;
    t.setTokenType(row.transitionKind);
    ASSERT_EQ(0u, t.setTokenString(row.transitionText));
    EXPECT_EQ(row.result, t.match(row.kind, row.text)) << row.transitionKind << " vs " << row.kind << " " << row.text;
  }
}

TEST(VxReduction, TerminalUpTo999AndTreesAreOwned) {
  const struct { int16_t number; int terminal; } rows[] = {{-5, 1}, {0, 0}, {1, 1}, {999, 1}, {1000, 0}, {32767, 0}};
  for (const auto& row : rows) EXPECT_EQ(row.terminal, VxReduction(row.number, "t").terminal()) << row.number;
  VxReduction* root = new VxReduction(1000, nullptr);
  VxReduction* at = root;
  for (int i = 0; i < 100000; ++i) {  // deep enough to overflow a recursive delete
    VxReduction* child = new VxReduction(1001, nullptr);
    EXPECT_EQ(0u, at->addChild(child));
    EXPECT_EQ(0u, at->addChild(new VxReduction(5, "1")));
    at = child;
  }
  EXPECT_EQ(0u, at->addChild(nullptr));
  EXPECT_EQ(root, at->getGoal());
  delete root;
}

TEST(VxKeywordList, FirstEqualEntryWinsExactOrWithoutCase) {
  VxKeywordList list(makeBlob({{100, "Word"}, {101, "WORD"}, {102, "other"}}).data());
  int16_t number = 0;
  EXPECT_EQ(0u, list.lookup("word", number));
  EXPECT_EQ(100, number);
  list.setCaseSensitiveCompare(1);
  EXPECT_EQ(0u, list.lookup("WORD", number));
  EXPECT_EQ(101, number);
  EXPECT_EQ(1u, list.lookup("word", number));
  EXPECT_EQ(1u, list.lookup("othe", number));
  VxKeywordList empty;
  EXPECT_EQ(1u, empty.lookup("x", number));
}

}  // namespace
