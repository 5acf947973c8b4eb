#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "parser/grammar_support.h"
#include "parser/vxlexer.h"

namespace {

// Every token of text as "KIND:TEXT" joined by blanks; "!" marks a token
// the lexer refused (and ends the list).
std::string lexAll(const char* text, VxKeywordList* keywords, bool literals) {
  VxLexer lexer(text, keywords);
  if (!literals) lexer.setLiteralQuoteChars(0, 0, 0);
  std::string out;
  for (int16_t kind = 0; kind != 1;) {
    const char* token;
    if (lexer.nextToken(kind, &token)) return out + " !";
    out += (out.empty() ? "" : " ") + std::to_string(kind) + ":" + token;
  }
  return out;
}

TEST(VxLexer, ClassifiesSplitsAndOpensLiterals) {
  VxKeywordList keywords(makeBlob({{100, "SELECT"}, {101, "select"}, {102, "FROM"}}).data());
  const struct { const char* text; bool literals; const char* tokens; } rows[] = {
      {"a<=b", true, "2:a 34:< 23:= 2:b 1:"},
      {"'ab'", true, "40:' 2:ab 40:' 1:"},
      {"'it''s' \"x y\"", true, "40:' 2:it 33:' 33:' 2:s 40:' 40:\" 2:x 2:y 40:\" 1:"},
      {"''", true, "40:' 40:' 1:"},
      {"'ab' \"c\" `d`", false, "33:' 2:ab 33:' 32:\" 2:c 32:\" 9:` 2:d 9:` 1:"},
      {"'open", true, "4:'open 1:"},
      // Every two-character operator of the scanner, one character at a time.
      {"!= !< !> <> >= == =< => =* *= ** && || ++ -- //", true,
       "10:! 23:= 10:! 34:< 10:! 36:> 34:< 36:> 36:> 23:= 23:= 23:= 23:= 34:< 23:= 36:> 23:= 17:* 17:* 23:= "
       "17:* 17:* 16:& 16:& 24:| 24:| 22:+ 22:+ 20:- 20:- 39:/ 39:/ 1:"},
      // "(+)" comes as 18, 17 and 18 again (intended), "( + )" as 18 22 19.
      {"x(+) ( + )", true, "2:x 18:( 17:+ 18:) 18:( 22:+ 19:) 1:"},
      {"~`!@#$%^&*()-_+=|\\{[}]:;<,>.?/", false,
       "8:~ 9:` 10:! 11:@ 12:# 13:$ 14:% 15:^ 16:& 17:* 18:( 19:) 20:- 21:_ 22:+ 23:= 24:| 25:\\ 26:{ 27:[ 28:} "
       "29:] 30:: 31:; 34:< 35:, 36:> 37:. 38:? 39:/ 1:"},
      // Keywords without case: the first entry in list order wins.
      {"Select from 12 a1", true, "100:Select 102:from 5:12 2:a1 1:"},
      {"a \x01 b", true, "2:a !"},
      {"caf\xC3\xA9", true, "2:caf !"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.tokens, lexAll(row.text, &keywords, row.literals)) << row.text;
  keywords.setCaseSensitiveCompare(1);
  EXPECT_EQ("101:select 2:Select 1:", lexAll("select Select", &keywords, true));
}

// Saving the position after any token and restoring it later, or backing up
// one token, must give the same tokens again as one straight read. Texts
// are random mixes of words, operators and literals.
TEST(VxLexer, PositionsAndBackupRepeatTheStraightRead) {
  const char* pieces[] = {"a", "bc", "12", "<=", "<>", "(+)", "'x y'", "''", "\"q\"", "=", "||", " ", "'a''b'", "**"};
  const unsigned seed = 20261123;
  std::mt19937 rng(seed);
  for (int round = 0; round < 300; ++round) {
    std::string text;
    for (int n = rng() % 12; n >= 0; --n) text += pieces[rng() % (sizeof pieces / sizeof *pieces)];
    SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round) + ": " + text);
    std::vector<std::pair<int16_t, std::string>> straight;
    VxLexer lexer(text.c_str(), nullptr);
    for (int16_t kind = 0; kind != 1;) {
      const char* token;
      ASSERT_EQ(0u, lexer.nextToken(kind, &token));
      straight.emplace_back(kind, token);
    }
    size_t at = rng() % straight.size();
    VxLexer again(text.c_str(), nullptr);
    int16_t kind;
    const char* token;
    for (size_t i = 0; i <= at; ++i) ASSERT_EQ(0u, again.nextToken(kind, &token));
    VxToken saved, literalToken;
    int16_t split;
    VxScanner* literal;
    ASSERT_EQ(0u, again.getPosition(saved, split, literal, literalToken));
    again.nextToken(kind, &token);
    again.nextToken(kind, &token);
    ASSERT_EQ(0u, again.setPosition(saved, split, literal, literalToken));
    delete literal;
    for (size_t i = at + 1; i < straight.size(); ++i) {
      ASSERT_EQ(0u, again.nextToken(kind, &token));
      EXPECT_EQ(straight[i], std::make_pair(kind, std::string(token))) << "after restoring at " << at;
      if (i % 3 == 0) {
        again.backup();
        ASSERT_EQ(0u, again.nextToken(kind, &token));
        EXPECT_EQ(straight[i], std::make_pair(kind, std::string(token))) << "after backing up at " << i;
      }
    }
  }
}

TEST(VxLexer, LiteralContentsAreTheWholeInsideThenTheClosingQuote) {
  VxLexer lexer("x 'a  b''c' y", nullptr);
  int16_t kind;
  const char* text;
  lexer.nextToken(kind, &text);
  EXPECT_EQ(1u, lexer.getLiteralContents(&text));  // not inside a literal
  lexer.nextToken(kind, &text);
  lexer.nextToken(kind, &text);
  ASSERT_TRUE(lexer.tokenIsLiteral());
  ASSERT_EQ(0u, lexer.getLiteralContents(&text));
  EXPECT_STREQ("a  b''c", text);
  lexer.nextToken(kind, &text);
  EXPECT_EQ(40, kind);
  lexer.nextToken(kind, &text);
  EXPECT_STREQ("y", text);
}

}  // namespace
