#include "foundation/vxcase.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>

#include "foundation/locale_support.h"

namespace {

using VxCase = CLocaleTest;

TEST_F(VxCase, JavaCaseMapsLatin1ByArithmetic) {
  EXPECT_EQ('A', javaToUpper('a'));
  EXPECT_EQ('Z', javaToUpper('z'));
  EXPECT_EQ('1', javaToUpper('1'));
  EXPECT_EQ(0xC9, javaToUpper(0xE9));
  EXPECT_EQ(0xDF, javaToUpper(0xDF));  // sharp s stays
  EXPECT_EQ(-5, javaToUpper(-5));
  EXPECT_EQ('a', javaToLower('A'));
  EXPECT_EQ(0xE9, javaToLower(0xC9));
  EXPECT_EQ(0xF7, javaToLower(0xD7));
  EXPECT_EQ(0xDF, javaToLower(0xDF));
}

TEST_F(VxCase, JavaToUpperMapsDivisionSignDeliberately) {
  EXPECT_EQ(0xD7, javaToUpper(0xF7));
}

TEST_F(VxCase, JavaCaseUsesUnicodeFromFF) {
  EXPECT_EQ(0x178, javaToUpper(0xFF));
  EXPECT_EQ(0x391, javaToUpper(0x3B1));
  EXPECT_EQ(0x3B1, javaToLower(0x391));
  EXPECT_EQ(0xFF, javaToLower(0x178));
  EXPECT_EQ(0x4E2D, javaToUpper(0x4E2D));
}

TEST_F(VxCase, UpperAndLowerWorkInPlaceAndCountedFormsStopAtN) {
  char s[] = "abc1Z";
  EXPECT_EQ(s, strUpper(s));
  EXPECT_STREQ("ABC1Z", s);
  EXPECT_STREQ("abc1z", strLower(s));
  EXPECT_EQ(nullptr, strUpper(nullptr));
  EXPECT_EQ(nullptr, strLower(nullptr, 3));
  memcpy(s, "abcd", 5);
  strUpper(s, 2);
  EXPECT_STREQ("ABcd", s);
  strLower(s, 1);
  EXPECT_STREQ("aBcd", s);
  char nul[] = {'a', '\0', 'b', '\0'};
  strUpper(nul, 3);
  EXPECT_EQ('B', nul[2]);  // counted forms go past an embedded NUL
}

TEST_F(VxCase, Latin1LocaleUpperCasesDivisionSignDeliberately) {
  ScopedTestLocale latin1(VX_LATIN1_LOCALE);
  if (!latin1.available()) GTEST_SKIP() << "ISO-8859-1 locale unavailable";
  char s[] = "\xE9\xF7x";
  strUpper(s);
  EXPECT_STREQ("\xC9\xD7X", s);
  strLower(s);
  EXPECT_STREQ("\xE9\xF7x", s);
  char y[] = "\xFF";  // upper case U+0178 has no Latin-1 byte: left alone
  strUpper(y);
  EXPECT_STREQ("\xFF", y);
}

TEST_F(VxCase, Utf8LocaleAdvancesByTheOldCharacterSize) {
  ScopedTestLocale utf8(VX_UTF8_LOCALE);
  if (!utf8.available()) GTEST_SKIP() << "C.UTF-8 locale unavailable";
  char e[] = "\xC3\xA9z";
  strUpper(e);
  EXPECT_STREQ("\xC3\x89Z", e);
  // Dotless i upper-cases to the one-byte I; its old second byte stays.
  char dotless[] = "\xC4\xB1x";
  strUpper(dotless);
  EXPECT_STREQ("I\xB1X", dotless);
  // U+0250 upper-cases to a three-byte character: no room, left alone.
  char turned[] = "\xC9\x90";
  strUpper(turned);
  EXPECT_STREQ("\xC9\x90", turned);
}

TEST_F(VxCase, TextFormsUseTheRuntimeByteByByte) {
  char s[] = "abc\xE9xyz";
  UpperText(s, 5);
  EXPECT_STREQ("ABC\xE9Xyz", s);
  LowerText(s, 100);
  EXPECT_STREQ("abc\xE9xyz", s);
  char stop[] = "ab\0cd";
  UpperText(stop, 5);
  EXPECT_EQ('c', stop[3]);  // stopped at the NUL
}

}  // namespace
