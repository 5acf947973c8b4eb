#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/ram_internal.h"
#include "parser/grammar_support.h"
#include "parser/vxparse.h"

namespace {

// A parser that records what the runtime hands to its two virtual
// operations, and builds the default nodes.
class RecordingParser : public VxParser {
 public:
  using VxParser::VxParser;
  VxReduction* ReductProc(int16_t number, VxReduction* children) override {
    ++reductions;
    return VxParser::ReductProc(number, children);
  }
  int FailProc(int16_t kind, const char* text, int16_t ruleNumber, const char*, VxStateTransition* expected) override {
    failures += std::to_string(ruleNumber) + "@" + std::to_string(kind) + ":" + text + " ";
    expectedFirst = expected ? expected->getTokenType() : -1;
    return stopAfter-- <= 1;
  }
  int reductions = 0, stopAfter = 1000, expectedFirst = 0;
  std::string failures;
};

Entries numbered(const std::vector<std::string>& rules) {
  Entries entries;
  for (const std::string& rule : rules) entries.emplace_back(int16_t(1000 + entries.size()), rule);
  return entries;
}

// Parentheses around an identifier, with an optional "+" after each
// closing one, and a text nested depth parentheses deep.
const std::vector<std::string> kNested = {"goal ::= e", "e ::= ( e ) + | ( e ) | alphanum"};
std::string nestedText(int depth) { return std::string(depth, '(') + "a" + std::string(depth, ')'); }

// Each row: rules (numbered from 1000), a statement and its tree ("FAIL"
// for a syntax error). Trees are built only once the choices are settled,
// so a node never appears twice and ReductProc runs once per rule node.
TEST(VxParser, StatementsGiveTheirTrees) {
  const struct { std::vector<std::string> rules; const char* text; const char* tree; } rows[] = {
      // Ambiguity settled three tokens later, in another rule.
      {{"goal ::= ab | ac", "ab ::= + + + *", "ac ::= + + + /"}, "+ + + /", "1000[1002[22:+ 22:+ 22:+ 39:/]]"},
      {{"goal ::= ab | ac", "ab ::= + + + *", "ac ::= + + + /"}, "+ + + -", "FAIL"},
      {kNested, "((a)+)", "1000[1001[18:( 1001[18:( 1001[2:a] 19:) 22:+] 19:)]]"},
      {kNested, "((a)+)+", "1000[1001[18:( 1001[18:( 1001[2:a] 19:) 22:+] 19:) 22:+]]"},
      {kNested, "((a)", "FAIL"},
      // A choice stands once the rule it was made in is complete, so the
      // longer alternative must come first.
      {{"goal ::= e", "e ::= ( e ) | ( e ) + | alphanum"}, "(a)+", "FAIL"},
      // Empty text; text left over after the goal is complete.
      {{"goal ::= [ + ]"}, "", "1000[]"},
      {{"goal ::= +"}, "", "FAIL"},
      {{"goal ::= +"}, "+ +", "FAIL"},
      // Groups: repetition, one-or-more, a star after "]" as a term.
      {{"goal ::= alphanum { , alphanum }*"}, "a, b ,c", "1000[2:a 35:, 2:b 35:, 2:c]"},
      {{"goal ::= { + }+ alphanum"}, "++ a", "1000[22:+ 22:+ 2:a]"},
      {{"goal ::= { + }+ alphanum"}, "a", "FAIL"},
      {{"goal ::= [ alphanum ] * number"}, "* 5", "1000[17:* 5:5]"},
      // Keywords and ~words without case; split operators and the "(+)" kinds.
      {{"goal ::= SELECT ~Hello alphanum"}, "select HELLO x", "1000[100:select 2:HELLO 2:x]"},
      {{"goal ::= < = alphanum < >"}, "<= a <>", "1000[34:< 23:= 2:a 34:< 36:>]"},
      {{"goal ::= alphanum ( * ("}, "x(+)", "1000[2:x 18:( 17:+ 18:)]"},
      // Literals: any quote for literal-quote-char, a quote kind for its
      // character; an optional literal-contents also takes an empty literal.
      {{"goal ::= literal-quote-char [ literal-contents ] literal-quote-char"}, "'it''s'", "1000[40:' 41:it''s 40:']"},
      {{"goal ::= literal-quote-char [ literal-contents ] literal-quote-char"}, "\"a b\"", "1000[40:\" 41:a b 40:\"]"},
      {{"goal ::= literal-quote-char [ literal-contents ] literal-quote-char"}, "''", "1000[40:' 40:']"},
      {{"goal ::= literal-quote-char literal-contents literal-quote-char"}, "''", "FAIL"},
      {{"goal ::= ' literal-contents '"}, "'x'", "1000[40:' 41:x 40:']"},
      {{"goal ::= ' literal-contents '"}, "\"x\"", "FAIL"},
      {{"goal ::= literal-contents"}, "abc", "FAIL"},  // contents only inside a literal
  };
  for (const auto& row : rows) {
    RecordingParser parser(makeBlob(numbered(row.rules)).data(), makeBlob({{100, "SELECT"}}).data());
    ASSERT_TRUE(parser.initialised()) << row.rules[0];
    VxReduction* root = nullptr;
    unsigned status = parser.parse(row.text, root);
    std::string tree = status ? "FAIL" : treeText(root);
    EXPECT_EQ(row.tree, tree) << row.rules[0] << " on " << row.text;
    EXPECT_EQ(status ? VxParser::kSyntaxError : VxParser::kNoFailure, parser.lastFailure());
    if (status == 0) {
      EXPECT_EQ(std::count(tree.begin(), tree.end(), '['), parser.reductions) << row.text;
    }
    delete root;
  }
}

TEST(VxParser, SyntaxErrorsAreOfferedOutermostRuleFirst) {
  RecordingParser parser(makeBlob(numbered({"goal ::= a", "a ::= + b", "b ::= - number"})).data(), "");
  VxReduction untouched;
  VxReduction* root = &untouched;
  EXPECT_EQ(1u, parser.parse("+ - x", root));
  EXPECT_EQ("1000@2:x 1001@2:x 1002@2:x ", parser.failures);
  EXPECT_EQ(5, parser.expectedFirst);
  EXPECT_EQ(&untouched, root);
  parser.failures.clear();
  parser.stopAfter = 2;
  EXPECT_EQ(1u, parser.parse("+ - x", root));
  EXPECT_EQ("1000@2:x 1001@2:x ", parser.failures);

  // With the default FailProc nothing is reported; an uninitialised parser
  // clears the result.
  VxParser plain(makeBlob(numbered({"goal ::= +"})).data(), "");
  EXPECT_EQ(1u, plain.parse("-", root));
  VxParser broken(makeBlob(numbered({"goal ::= ["})).data(), "");
  EXPECT_FALSE(broken.initialised());
  EXPECT_EQ(1u, broken.parse("-", root));
  EXPECT_EQ(nullptr, root);
  EXPECT_EQ(VxParser::kNotInitialised, broken.lastFailure());
}

TEST(VxParser, ChangeGoalParsesAFragment) {
  VxParser parser(makeBlob(numbered({"goal ::= SELECT list", "list ::= alphanum { , alphanum }*"})).data(),
                  makeBlob({{100, "SELECT"}}).data());
  VxReduction* root = nullptr;
  EXPECT_EQ(1u, parser.parse("a, b", root));
  EXPECT_EQ(1u, parser.changeGoal("nothing"));
  ASSERT_EQ(0u, parser.changeGoal("list"));
  ASSERT_EQ(0u, parser.parse("a, b", root));
  EXPECT_EQ("1001[2:a 35:, 2:b]", treeText(root));
  delete root;
}

// Quote characters set on the parser reach its lexer: "#" opens a literal
// only once it is one.
TEST(VxParser, LiteralQuoteCharactersAreTheParsersOwn) {
  VxParser parser(makeBlob(numbered({"goal ::= literal-quote-char literal-contents literal-quote-char"})).data(), "");
  VxReduction* root = nullptr;
  EXPECT_EQ(1u, parser.parse("#x#", root));
  parser.setLiteralQuoteChars('#', 0, 0);
  ASSERT_EQ(0u, parser.parse("#x#", root));
  EXPECT_EQ("1000[40:# 41:x 40:#]", treeText(root));
  delete root;
}

// The rule stack lives on the heap: a statement may nest kMaxDepth rule
// levels, one more stops the parse without FailProc.
TEST(VxParser, NestingStopsOneLevelPastTheLimit) {
  RecordingParser parser(makeBlob(numbered({"goal ::= e", "e ::= ( e ) | alphanum"})).data(), "");
  VxReduction* root = nullptr;
  ASSERT_EQ(0u, parser.parse(nestedText(VxParser::kMaxDepth - 1).c_str(), root));
  delete root;
  EXPECT_EQ(1u, parser.parse(nestedText(VxParser::kMaxDepth).c_str(), root));
  EXPECT_EQ(VxParser::kTooDeep, parser.lastFailure());
  EXPECT_EQ("", parser.failures);
}

TEST(VxParser, LexerErrorsEndTheParseWithoutFailProc) {
  RecordingParser parser(makeBlob(numbered({"goal ::= { alphanum }*"})).data(), "");
  VxReduction* root = nullptr;
  EXPECT_EQ(1u, parser.parse("a b \x01", root));
  EXPECT_EQ(VxParser::kLexerError, parser.lastFailure());
  EXPECT_EQ("", parser.failures);
}

// Every allocation of init and parse, in turn, fails: each gives status 1
// (FailProc untouched) or the full tree, and nothing leaks. An optional
// group leads one alternative, so failures inside a group's first tokens
// are met too.
TEST(VxParser, EveryAllocationFailureIsReported) {
  Entries rules = numbered({"goal ::= e", "e ::= ( e ) + | ( e ) | alphanum | [ = ] ' [ literal-contents ] '"});
  const std::string expected = "1000[1001[18:( 1001[18:( 1001[23:= 40:' 41:x 40:'] 19:) 22:+] 19:)]]";
  int successesInARow = 0;  // past the last allocation, every run succeeds
  for (uint64_t failing = 1; successesInARow < 50 && failing < 20000; ++failing) {
    SCOPED_TRACE("allocation " + std::to_string(failing));
    RecordingParser parser;
    ramFailAllocationAfter(failing);
    unsigned status = parser.init(makeBlob(rules).data(), "");
    VxReduction* root = nullptr;
    if (status == 0) status = parser.parse("((='x')+)", root);
    ramFailAllocationAfter(0);
    successesInARow = status == 0 ? successesInARow + 1 : 0;
    if (status == 0) {
      EXPECT_EQ(expected, treeText(root));
    }
    EXPECT_EQ("", parser.failures);
    delete root;
  }
  EXPECT_EQ(50, successesInARow);
}

}  // namespace
