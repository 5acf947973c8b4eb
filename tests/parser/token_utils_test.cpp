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

TEST(Butxpand, FirstBufferIsNeededRoundedDownPlus512) {
  char* start = nullptr;
  char* cursor = nullptr;
  uint16_t capacity = 0;
  ASSERT_EQ(0u, butxpand(&start, &cursor, &capacity, 700));
  EXPECT_EQ(512 + 512, capacity);
  EXPECT_EQ(start, cursor);
  free(start);
}

TEST(Butxpand, GrowsOnlyWhenTheRestIsTooSmallAndKeepsTheCursor) {
  char* start = nullptr;
  char* cursor = nullptr;
  uint16_t capacity = 0;
  ASSERT_EQ(0u, butxpand(&start, &cursor, &capacity, 10));
  ASSERT_EQ(512, capacity);
  memset(start, 'x', 500);
  cursor = start + 500;
  ASSERT_EQ(0u, butxpand(&start, &cursor, &capacity, 12));
  EXPECT_EQ(512, capacity);  // exactly 12 bytes left: enough
  ASSERT_EQ(0u, butxpand(&start, &cursor, &capacity, 13));
  EXPECT_EQ(0 + 512 + 512, capacity);
  EXPECT_EQ(start + 500, cursor);
  EXPECT_EQ('x', start[499]);
  ASSERT_EQ(0u, butxpand(&start, &cursor, &capacity, 1100));
  EXPECT_EQ(1024 + 1024 + 512, capacity);
  free(start);
}

TEST(Butxpand, SixteenBitCapacityIsALimitNotAWrap) {
  char* start = nullptr;
  char* cursor = nullptr;
  uint16_t capacity = 0;
  ASSERT_EQ(0u, butxpand(&start, &cursor, &capacity, 65000));
  EXPECT_EQ(65024, capacity);
  cursor = start + capacity;
  char* before = start;
  EXPECT_EQ(1u, butxpand(&start, &cursor, &capacity, 1));
  EXPECT_EQ(65024, capacity);
  EXPECT_EQ(before, start);
  free(start);
}

TEST(Butxpand, AllocationFailureLeavesTheBufferAlone) {
  char* start = nullptr;
  char* cursor = nullptr;
  uint16_t capacity = 0;
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, butxpand(&start, &cursor, &capacity, 10));
  ramFailAllocationAfter(0);
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

TEST(Buttoken, PlainTokensAreRunsOfNonBlanks) {
  EXPECT_EQ((std::vector<std::string>{"a,b", "c=d", "'e", "f'"}), words("  a,b\tc=d\n'e f'  ", 0));
}

TEST(Buttoken, QuotesKeepLiteralsWhole) {
  EXPECT_EQ((std::vector<std::string>{"x", "'it''s here'", "\"q\"", "y"}),
            words("x 'it''s here'\"q\" y", BUT_TOKEN_QUOTES));
  EXPECT_EQ((std::vector<std::string>{"'open end"}), words("'open end", BUT_TOKEN_QUOTES));
}

TEST(Buttoken, PunctuationSplitsWordsFromOtherCharacters) {
  EXPECT_EQ((std::vector<std::string>{"f_1", "(", "caf\xC3\xA9", ",", "2", ")"}),
            words("f_1(caf\xC3\xA9, 2)", BUT_TOKEN_PUNCTUATION));
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
