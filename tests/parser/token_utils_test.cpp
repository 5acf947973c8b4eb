#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/ram_internal.h"
#include "parser/buttoken.h"
#include "parser/butxpand.h"
#include "guarded_text_support.h"

namespace {

class Butxpand : public ::testing::Test {
 protected:
  void TearDown() override {
    ramFailAllocationAfter(0);
    free(start);
  }
  unsigned expand(uint16_t needed) { return butxpand(&start, &cursor, &capacity, needed); }

  char* start = nullptr;
  char* cursor = nullptr;
  uint16_t capacity = 0;
};

TEST_F(Butxpand, FirstBufferIsNeededRoundedDownPlus512) {
  ASSERT_EQ(0u, expand(700));
  EXPECT_EQ(512 + 512, capacity);
  EXPECT_EQ(start, cursor);
}

TEST_F(Butxpand, GrowsOnlyWhenTheRestIsTooSmallAndKeepsTheCursor) {
  ASSERT_EQ(0u, expand(10));
  ASSERT_EQ(512, capacity);
  memset(start, 'x', 500);
  cursor = start + 500;
  ASSERT_EQ(0u, expand(12));
  EXPECT_EQ(512, capacity);  // exactly 12 bytes left: enough
  ASSERT_EQ(0u, expand(13));
  EXPECT_EQ(0 + 512 + 512, capacity);
  EXPECT_EQ(start + 500, cursor);
  EXPECT_EQ('x', start[499]);
  ASSERT_EQ(0u, expand(1100));
  EXPECT_EQ(1024 + 1024 + 512, capacity);
}

TEST_F(Butxpand, SixteenBitCapacityIsALimitNotAWrap) {
  ASSERT_EQ(0u, expand(65000));
  EXPECT_EQ(65024, capacity);
  cursor = start + capacity;
  char* before = start;
  EXPECT_EQ(1u, expand(1));
  EXPECT_EQ(65024, capacity);
  EXPECT_EQ(before, start);
}

TEST_F(Butxpand, AllocationFailureLeavesTheBufferAlone) {
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, expand(10));
  EXPECT_EQ(nullptr, start);
  EXPECT_EQ(0, capacity);
}

std::vector<std::string> words(const std::string& text, uint16_t options) {
  std::vector<std::string> out;
  VXSIZE_T cursor = 0;
  for (;;) {
    VXSIZE_T n = buttoken(text.data(), &cursor, options, text.size(), VX_CP_UTF8);
    if (n == 0) break;
    out.push_back(text.substr(cursor, n));
    cursor += n;
  }
  return out;
}

TEST(Buttoken, OptionsDecideWhereTokensEnd) {
  using Words = std::vector<std::string>;
  struct Case {
    std::string text;
    uint16_t options;
    Words expected;
  } cases[] = {
      // Plain tokens are runs of non-blanks.
      {"  a,b\tc=d\n'e f'  ", 0, {"a,b", "c=d", "'e", "f'"}},
      // Quotes keep literals whole.
      {"x 'it''s here'\"q\" y", BUT_TOKEN_QUOTES, {"x", "'it''s here'", "\"q\"", "y"}},
      {"'open end", BUT_TOKEN_QUOTES, {"'open end"}},
      // Punctuation splits words from other characters.
      {"f_1(caf\xC3\xA9, 2)", BUT_TOKEN_PUNCTUATION, {"f_1", "(", "caf\xC3\xA9", ",", "2", ")"}},
  };
  for (const Case& c : cases) EXPECT_EQ(c.expected, words(c.text, c.options)) << c.text;
}

TEST(Buttoken, EndOfTextIsLengthZeroAtTheEnd) {
  std::string text = "ab   ";
  VXSIZE_T cursor = 2;
  EXPECT_EQ(0u, buttoken(text.data(), &cursor, 0, text.size(), VX_CP_LOCALE));
  EXPECT_EQ(text.size(), cursor);
}

using ButtokenBounds = GuardedTextTest;

TEST_F(ButtokenBounds, LocaleTextEndingInALeadByteIsNotReadPastItsEnd) {
  const char* text = atGuard("ab \xC3", 4);
  VXSIZE_T cursor = 0;
  EXPECT_EQ(2u, buttoken(text, &cursor, BUT_TOKEN_PUNCTUATION, 4, VX_CP_LOCALE));
  cursor += 2;
  EXPECT_EQ(1u, buttoken(text, &cursor, BUT_TOKEN_PUNCTUATION, 4, VX_CP_LOCALE));
  EXPECT_EQ(3u, cursor);
}

}  // namespace
