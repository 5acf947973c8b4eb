#include <gtest/gtest.h>

#include <clocale>

#include "foundation/locale_support.h"
#include "foundation/vxdbcs.h"

namespace {

using StrTrim = CLocaleTest;

TEST_F(StrTrim, RightTrimCutsTrailingWhiteSpaceAndTerminatedFormWritesNul) {
  EXPECT_EQ(2u, strRightTrim("ab \t\n", 5, VX_CP_LOCALE));
  EXPECT_EQ(3u, strRightTrim("a b ", 4, VX_CP_LOCALE));
  EXPECT_EQ(0u, strRightTrim(" \t ", 3, VX_CP_LOCALE));
  EXPECT_EQ(2u, strRightTrim("ab   ", 2, VX_CP_LOCALE));
  // The terminated form writes a NUL.
  char s[] = "abc \r\n";
  EXPECT_EQ(3u, strRightTrim(s));
  EXPECT_STREQ("abc", s);
  char blank[] = "   ";
  EXPECT_EQ(0u, strRightTrim(blank));
  EXPECT_STREQ("", blank);
}

TEST_F(StrTrim, CharacterThatSwallowsBlanksIsNotTrimmed) {
  // In UTF-8 the byte 0xE2 begins a three-byte character, which here takes
  // the a and the blank; only the final blank is trailing white space.
  EXPECT_EQ(3u, strRightTrim("\xE2" "a  ", 4, VX_CP_UTF8));
  EXPECT_EQ(2u, strRightTrim("\xE2" "a  ", 4, VX_CP_LOCALE));
  EXPECT_EQ(4u, strRightTrim("\xF0" "abc ", 5, VX_CP_UTF8));
}

TEST_F(StrTrim, BlankTrimCutsOnlyBlanks) {
  EXPECT_EQ(3u, strRightTrimBlanks("ab\t  ", 5, VX_CP_LOCALE));
  char s[] = "x \n ";
  EXPECT_EQ(3u, strRightTrimBlanks(s));
  EXPECT_STREQ("x \n", s);
}

TEST_F(StrTrim, RightTrimKnowsLocaleWhiteSpace) {
  ScopedTestLocale utf8(VX_UTF8_LOCALE);
  if (!utf8.available()) GTEST_SKIP() << "C.UTF-8 locale unavailable";
  EXPECT_EQ(2u, strRightTrim("ab\xE3\x80\x80", 5, VX_CP_UTF8));  // ideographic space
  EXPECT_EQ(5u, strRightTrimBlanks("ab\xE3\x80\x80", 5, VX_CP_UTF8));
}

}  // namespace
