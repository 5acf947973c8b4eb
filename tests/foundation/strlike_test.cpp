// strLike against SQLite's LIKE, which defines the same language on ASCII
// without NUL, case-insensitive, with trailing blanks significant and an
// escape distinct from both wildcards (see docs/LIKE.md). The rows after
// it are what SQLite cannot judge: the other flags and code-page kinds,
// locales, caller-chosen wildcards. The LIKE fuzz target checks memory
// safety and the agreement of the two forms.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstring>
#include <string>

#include "foundation/foundation_support.h"
#include "foundation/vxdbcs.h"

namespace {

using StrLike = FoundationTest;

bool like(const char* text, size_t n, const char* pattern, int16_t caseSensitive = 0,
          int16_t blanks = 1, vxCPType cp = VX_CP_LOCALE) {
  return strLike(text, n, pattern, strlen(pattern), '%', '_', '\\', caseSensitive, blanks, cp);
}

// Three kinds of case: random text and pattern from small alphabets (so
// that both answers are frequent); a pattern made from the text with
// characters turned into wildcards, case-flipped, escaped or dropped; and
// long texts with the pattern's first literals planted in them, so that
// the bulk search after % runs over many positions.
TEST_F(StrLike, AgreesWithSqliteLikeOnRandomAscii) {
  Random random;
  int matches = 0;
  const int kCases = 30000;
  for (int i = 0; i < kCases; ++i) {
    std::string text = i % 3 == 2 ? random.text("abAB c", 200) : random.text("abAB c%_\\xZ[{", 12);
    std::string pattern = random.text("abAB c%%__\\xZ", 8);
    if (i % 3 == 1) {
      pattern.clear();
      for (char c : text) {
        int roll = random(0, 9);
        if (roll < 2) pattern += roll == 0 ? '_' : '%';
        if (roll == 3) pattern += char(isupper(c) ? tolower(c) : toupper(c));
        if (roll == 4) pattern += '\\';
        if (roll >= 4) pattern += c;
      }
      if (random(0, 9) < 3) pattern += '%';
    } else if (i % 3 == 2 && !text.empty()) {
      text.insert(size_t(random(0, int(text.size()) - 1)), pattern.substr(0, 3));
    }
    bool sqlite = sqlite3_strlike(pattern.c_str(), text.c_str(), '\\') == 0;
    ASSERT_EQ(sqlite, like(text.data(), text.size(), pattern.c_str()))
        << "seed " << kSeed << " case " << i << " text [" << text << "] pattern [" << pattern << "]";
    matches += sqlite;
  }
  EXPECT_TRUE(matches > kCases / 20 && matches < kCases - kCases / 20) << matches;
}

TEST_F(StrLike, FlagsKindsAndLocalesOutsideSqlitesDomain) {
  enum { kC = -1 };
  const std::string longText = std::string(300, 'x').replace(250, 6, "NeEdLe"),
                    multibyte = std::string(40, 'x') + "\xC3\xA9" "abc",
                    dotless = std::string(40, 'x') + "\xFD" "y";
  struct {
    int locale;
    const char* text;
    int length;  // -1: up to the NUL
    const char* pattern;
    int16_t caseSensitive, blanks;
    vxCPType cp;
    bool want;
  } rows[] = {
      // Trailing white space of both is cut only when blanks do not count.
      {kC, "abc ", -1, "abc", 0, 0, VX_CP_LOCALE, true}, {kC, "abc ", -1, "abc", 0, 1, VX_CP_LOCALE, false},
      {kC, "abc", -1, "abc  ", 0, 0, VX_CP_LOCALE, true}, {kC, "abc\t\n", -1, "abc", 0, 0, VX_CP_LOCALE, true},
      {kC, "ABC", -1, "abc", 1, 1, VX_CP_LOCALE, false}, {kC, "Hello World", -1, "%WORLD", 1, 1, VX_CP_LOCALE, false},
      {kC, longText.c_str(), -1, "%needle%", 1, 1, VX_CP_LOCALE, false},
      {kC, longText.c_str(), -1, "%NeEdLe%", 1, 1, VX_CP_LOCALE, true},
      {kC, "a\0b", 3, "a_b", 0, 1, VX_CP_LOCALE, true}, {kC, "a\0b", 3, "a", 0, 1, VX_CP_LOCALE, false},
      // The kind decides what one character is.
      {kC, "\xC3\xA9", -1, "_", 0, 1, VX_CP_UTF8, true}, {kC, "\xC3\xA9", -1, "_", 0, 1, VX_CP_LOCALE, false},
      {kC, "\xC3\xA9", -1, "__", 0, 1, VX_CP_LOCALE, true}, {kC, "x\xE2\x82\xAC" "y", -1, "x_y", 0, 1, VX_CP_UTF8, true},
      // UTF-8 characters compare on their first byte only.
      {kC, "\xE2\x82\xAC", -1, "\xE2\x82\xA4", 1, 1, VX_CP_UTF8, true}, {kC, "\xE2\x82\xAC", -1, "\xC3\xA9", 1, 1, VX_CP_UTF8, false},
      // A UTF-8 character cut by the length is one last character; the
      // bytes after the length are never looked at.
      {kC, "a\xF0zz", 2, "a_", 1, 1, VX_CP_UTF8, true}, {kC, "a\xF0zz", 2, "a__", 1, 1, VX_CP_UTF8, false},
      {kC, "a\xF0zz", 2, "a_z", 1, 1, VX_CP_UTF8, false}, {kC, "a\xF0zz", 2, "%_", 1, 1, VX_CP_UTF8, true},
      {kC, "a\xF0zz", 2, "a\xF0", 1, 1, VX_CP_UTF8, true},
      // The bulk search after % hands multibyte characters to the general step.
      {kC, multibyte.c_str(), -1, "%\xC3\xA9" "abc", 0, 1, VX_CP_UTF8, true},
      {kC, multibyte.c_str(), -1, "%_abc", 0, 1, VX_CP_UTF8, true}, {kC, multibyte.c_str(), -1, "%abc", 0, 1, VX_CP_UTF8, true},
      {kC, multibyte.c_str(), -1, "%x_abc", 0, 1, VX_CP_UTF8, true}, {kC, multibyte.c_str(), -1, "%x_abc", 0, 1, VX_CP_LOCALE, false},
      // Two-byte characters match whole; a trail byte is compared exactly.
      {kGbk, "\xD6\xD0", -1, "_", 0, 1, VX_CP_LOCALE, true}, {kGbk, "a\xD6\xD0" "b", -1, "a_b", 0, 1, VX_CP_LOCALE, true},
      {kGbk, "\x81\x61", -1, "\x81\x41", 0, 1, VX_CP_LOCALE, false}, {kGbk, "\x81\x41", -1, "\x81\x41", 0, 1, VX_CP_LOCALE, true},
      {kGbk, "xyz\xD6\xD0", -1, "%\xD6\xD0", 0, 1, VX_CP_LOCALE, true}, {kGbk, "\x81\x41", -1, "%A", 0, 1, VX_CP_LOCALE, false},
      {kGbk, "\x81", -1, "\x81\x41", 0, 1, VX_CP_LOCALE, false},
      // Dotless i (0xFD) upper-cases to I, also where the bulk search runs.
      {kTurkish, dotless.c_str(), -1, "%iy", 0, 1, VX_CP_LOCALE, true},
      {kTurkish, dotless.c_str(), -1, "%iy", 1, 1, VX_CP_LOCALE, false}, {kTurkish, "\xFD", -1, "I", 0, 1, VX_CP_LOCALE, true},
  };
  for (const auto& r : rows) {
    if (r.locale != kC && !useLocale(TestLocale(r.locale))) continue;
    size_t n = r.length < 0 ? strlen(r.text) : size_t(r.length);
    EXPECT_EQ(r.want, like(r.text, n, r.pattern, r.caseSensitive, r.blanks, r.cp))
        << "locale " << r.locale << " text [" << std::string(r.text, n) << "] pattern [" << r.pattern << "]";
    setlocale(LC_ALL, "C");
  }
  // The wildcard and escape bytes are the caller's; the terminated form
  // measures both strings.
  EXPECT_TRUE(strLike("abc", 3, "a*", 2, '*', '?', '!', 0, 1) && strLike("abc", 3, "a?c", 3, '*', '?', '!', 0, 1) &&
              !strLike("abc", 3, "a%", 2, '*', '?', '!', 0, 1) && strLike("a*", 2, "a!*", 3, '*', '?', '!', 0, 1));
  EXPECT_TRUE(strLike("abc", "A%", '%', '_', '\\', 0, 1) && !strLike("abc", "A%", '%', '_', '\\', 1, 1) &&
              strLike("abc  ", "abc", '%', '_', '\\', 0, 0));
}

}  // namespace
