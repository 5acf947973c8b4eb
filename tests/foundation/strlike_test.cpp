#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "foundation/locale_support.h"
#include "foundation/vxdbcs.h"

namespace {

class StrLike : public CLocaleTest {
 protected:
  // % and _ as wildcards, \ as escape.
  static bool like(const std::string& text, const std::string& pattern, int16_t caseSensitive = 0,
                   int16_t blanksSignificant = 1, vxCPType cp = VX_CP_LOCALE) {
    return strLike(text.data(), text.size(), pattern.data(), pattern.size(), '%', '_', '\\',
                   caseSensitive, blanksSignificant, cp);
  }
};

TEST_F(StrLike, PercentMatchesAnyRun) {
  EXPECT_TRUE(like("abc", "a%"));
  EXPECT_TRUE(like("abc", "%c"));
  EXPECT_TRUE(like("abc", "a%c"));
  EXPECT_TRUE(like("abc", "%"));
  EXPECT_TRUE(like("", "%"));
  EXPECT_TRUE(like("abc", "%%b%%"));
  EXPECT_FALSE(like("abc", "%d"));
  EXPECT_FALSE(like("abc", "b%"));
}

TEST_F(StrLike, UnderscoreMatchesExactlyOneCharacter) {
  EXPECT_FALSE(like("abc", "a_"));
  EXPECT_TRUE(like("abc", "a_c"));
  EXPECT_TRUE(like("abc", "___"));
  EXPECT_FALSE(like("abc", "____"));
  EXPECT_FALSE(like("ab", "ab_"));  // a trailing _ needs a character
  EXPECT_FALSE(like("", "_"));
  EXPECT_TRUE(like("", ""));
  EXPECT_FALSE(like("a", ""));
}

TEST_F(StrLike, UnderscoresAfterPercentTakeCharactersAtOnce) {
  EXPECT_TRUE(like("abc", "%_"));
  EXPECT_FALSE(like("a", "%__"));
  EXPECT_TRUE(like("abc", "a%_%c"));
  EXPECT_FALSE(like("ac", "a%_%c"));
  EXPECT_TRUE(like("abcd", "%_%_%_%_"));
  EXPECT_FALSE(like("abc", "%_%_%_%_"));
}

TEST_F(StrLike, MismatchRetriesFromTheLatestPercent) {
  EXPECT_TRUE(like("abcabd", "%abd"));
  EXPECT_TRUE(like("aaab", "%aab"));
  EXPECT_TRUE(like("mississippi", "%iss%ppi"));
  EXPECT_FALSE(like("mississippi", "%iss%ppx"));
  EXPECT_TRUE(like("xaxbxc", "%a%b%c"));
  EXPECT_FALSE(like("xaxcxb", "%a%b%c"));
}

TEST_F(StrLike, EscapeMakesWildcardsLiteralAndAtPatternEndMatchesNothing) {
  EXPECT_TRUE(like("a%c", "a\\%c"));
  EXPECT_FALSE(like("abc", "a\\%c"));
  EXPECT_TRUE(like("a_c", "a\\_c"));
  EXPECT_FALSE(like("abc", "a\\_c"));
  EXPECT_TRUE(like("a\\c", "a\\\\c"));
  EXPECT_TRUE(like("abc", "\\a%"));  // an escaped plain character is itself
  EXPECT_TRUE(like("x%y%", "%\\%"));
  EXPECT_FALSE(like("a\\", "a\\"));
  EXPECT_FALSE(like("a", "a\\"));
  EXPECT_FALSE(like("ab", "%\\"));
}

TEST_F(StrLike, TrailingBlanksMatterOnlyWhenAsked) {
  EXPECT_TRUE(like("abc ", "abc", 0, 0));
  EXPECT_FALSE(like("abc ", "abc", 0, 1));
  EXPECT_TRUE(like("abc", "abc  ", 0, 0));
  EXPECT_TRUE(like("abc\t\n", "abc", 0, 0));  // any trailing white space
  EXPECT_FALSE(like("abc", "abc ", 0, 1));
}

TEST_F(StrLike, CaseSensitivityFlag) {
  EXPECT_TRUE(like("ABC", "abc", 0));
  EXPECT_FALSE(like("ABC", "abc", 1));
  EXPECT_TRUE(like("Hello World", "%WORLD", 0));
  EXPECT_FALSE(like("Hello World", "%WORLD", 1));
  EXPECT_FALSE(like("[", "{", 0));  // only letters fold
}

TEST_F(StrLike, WildcardAndEscapeBytesAreChosenByCaller) {
  EXPECT_TRUE(strLike("abc", 3, "a*", 2, '*', '?', '!', 0, 1, VX_CP_LOCALE));
  EXPECT_TRUE(strLike("abc", 3, "a?c", 3, '*', '?', '!', 0, 1, VX_CP_LOCALE));
  EXPECT_FALSE(strLike("abc", 3, "a%", 2, '*', '?', '!', 0, 1, VX_CP_LOCALE));
  EXPECT_TRUE(strLike("a*", 2, "a!*", 3, '*', '?', '!', 0, 1, VX_CP_LOCALE));
}

TEST_F(StrLike, TerminatedFormTakesLengthsAndCountedTextMayHoldNul) {
  EXPECT_TRUE(strLike("abc", "A%", '%', '_', '\\', 0, 1));
  EXPECT_FALSE(strLike("abc", "A%", '%', '_', '\\', 1, 1));
  EXPECT_TRUE(strLike("abc  ", "abc", '%', '_', '\\', 0, 0));
  EXPECT_TRUE(like(std::string("a\0b", 3), "a_b"));
  EXPECT_FALSE(like(std::string("a\0b", 3), "a"));
}

TEST_F(StrLike, TextIsSteppedByCharactersOfTheKind) {
  const std::string e = "\xC3\xA9";
  EXPECT_TRUE(like(e, "_", 0, 1, VX_CP_UTF8));
  EXPECT_FALSE(like(e, "_", 0, 1, VX_CP_LOCALE));  // two characters in C
  EXPECT_TRUE(like(e, "__", 0, 1, VX_CP_LOCALE));
  EXPECT_TRUE(like("x\xE2\x82\xAC" "y", "x_y", 0, 1, VX_CP_UTF8));
}

TEST_F(StrLike, Utf8CharacterCutByTheLengthIsOneLastCharacter) {
  // Only the first two bytes are the text; the lead at offset 1 announces
  // four bytes but the text ends after it.
  const char buffer[] = "a\xF0zz";
  auto likeCut = [&](const char* pattern) {
    return strLike(buffer, 2, pattern, strlen(pattern), '%', '_', '\\', 1, 1, VX_CP_UTF8);
  };
  EXPECT_TRUE(likeCut("a_"));
  EXPECT_FALSE(likeCut("a__"));
  EXPECT_FALSE(likeCut("a_z"));
  EXPECT_TRUE(likeCut("%_"));
  EXPECT_TRUE(likeCut("a\xF0"));
}

TEST_F(StrLike, Utf8CharactersCompareOnTheirFirstByte) {
  // Outside a two-byte lead, isCharEqual looks at first bytes only.
  EXPECT_TRUE(like("\xE2\x82\xAC", "\xE2\x82\xA4", 1, 1, VX_CP_UTF8));
  EXPECT_FALSE(like("\xE2\x82\xAC", "\xC3\xA9", 1, 1, VX_CP_UTF8));
}

TEST_F(StrLike, TwoByteCharactersMatchWhole) {
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  EXPECT_TRUE(like("\xD6\xD0", "_"));
  EXPECT_TRUE(like("a\xD6\xD0" "b", "a_b"));
  // The trail byte of a two-byte pattern character is compared exactly.
  EXPECT_FALSE(like("\x81\x61", "\x81\x41", 0));
  EXPECT_TRUE(like("\x81\x41", "\x81\x41", 0));
  // A % followed by a two-byte character finds it after single bytes.
  EXPECT_TRUE(like("xyz\xD6\xD0", "%\xD6\xD0"));
  EXPECT_FALSE(like("\x81\x41", "%A"));  // 0x41 here is a trail byte
}

TEST_F(StrLike, SearchAfterPercentFindsMatchesInLongText) {
  std::string text(300, 'x');
  text.replace(250, 6, "NeEdLe");
  EXPECT_TRUE(like(text, "%needle%"));
  EXPECT_FALSE(like(text, "%needle%", 1));
  EXPECT_TRUE(like(text, "%NeEdLe%", 1));
  EXPECT_TRUE(like(text, "%x"));
  EXPECT_FALSE(like(text, "%needlf%"));
  // A first byte that occurs often with the wrong second byte.
  std::string near(100, 'n');
  near += "ne";
  EXPECT_TRUE(like(near, "%ne"));
  EXPECT_FALSE(like(near, "%nf"));
  EXPECT_TRUE(like(std::string(40, 'a') + "%b", "%\\%b"));
}

TEST_F(StrLike, SearchAfterPercentStopsAtMultibyteCharacters) {
  // 40 bytes of x, then a two-byte character, then the wanted text: the
  // bulk search hands the character to the general step.
  std::string text = std::string(40, 'x') + "\xC3\xA9" + "abc";
  EXPECT_TRUE(like(text, "%\xC3\xA9" "abc", 0, 1, VX_CP_UTF8));
  EXPECT_TRUE(like(text, "%_abc", 0, 1, VX_CP_UTF8));
  EXPECT_TRUE(like(text, "%abc", 0, 1, VX_CP_UTF8));
  EXPECT_TRUE(like(text, "%x_abc", 0, 1, VX_CP_UTF8));
  EXPECT_FALSE(like(text, "%x_abc", 0, 1, VX_CP_LOCALE));  // two characters in C
}

TEST_F(StrLike, NonAsciiByteMayFoldToAsciiLetter) {
  ScopedTestLocale turkish("tr_TR.ISO-8859-9", "tr_TR", "ISO-8859-9");
  if (!turkish.available()) GTEST_SKIP() << "ISO-8859-9 locale unavailable";
  // Dotless i (0xFD) upper-cases to I, so it matches i ignoring case, also
  // far into a long text where the bulk search runs.
  std::string text = std::string(40, 'x') + "\xFD" + "y";
  EXPECT_TRUE(like(text, "%iy"));
  EXPECT_FALSE(like(text, "%iy", 1));
  EXPECT_TRUE(like("\xFD", "I"));
}

}  // namespace
