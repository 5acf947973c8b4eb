// The multibyte string functions of vxdbcs.h, vxstr.h and vxcase.h. In the
// "C" locale every byte is a character, so std::string and libc models
// judge random strings, and SQLite's LIKE judges strLike on ASCII; what
// they cannot judge (other code-page kinds and locales, exact character
// positions, the deliberate oddities) are table rows. The fuzz targets
// judge comparison and search in the "C" locale, quote round trips, the
// LIKE forms' agreement and the character steppers on arbitrary bytes.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/foundation_support.h"
#include "foundation/vxdbcs.h"

namespace {

using Strings = FoundationTest;
// ASCII case mapping, what the "C" locale's toupper and tolower give, and SQL quoting.
std::string upper(std::string s) { for (char& c : s) c = char(toupper(c & 0xFF)); return s; }
std::string lower(std::string s) { for (char& c : s) c = char(tolower(c & 0xFF)); return s; }
std::string quote(const std::string& s, char q) { std::string out(1, q); for (char c : s) out.append(c == q ? 2 : 1, c); return out + q; }

// Comparison, search and the class tests are judged by the cstrings fuzz
// target; trimming, copying, quoting and case conversion here.
TEST_F(Strings, CopiesTrimsQuotesAndCaseMatchStdStringModelsInTheCLocale) {
  const std::string alphabet = "aAbBzZ \t\n\v'\"`09-_\x80\xE9";
  Random random;
  for (int i = 0; i < 20000; ++i) {
    const std::string a = random.text(alphabet, 8), b = random.text(alphabet, 8);
    const char *x = a.c_str(), *y = b.c_str();
    const VXSIZE_T na = a.size(), nb = b.size(), n = size_t(random(0, int(na))), size = size_t(random(1, int(na) + 2));
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << " case " << i << " [" << a << "] [" << b << "] n=" << n);
    const size_t trimmed = a.find_last_not_of(" \t\n\v\f\r") + 1, unblanked = a.find_last_not_of(' ') + 1;
    std::vector<char> buf(3 * (na + nb) + 8, '#'), two(buf);  // room for b and two quoted copies
    strCopy(two.data(), x);
    ASSERT_TRUE(strRightTrim(x, na, VX_CP_LOCALE) == trimmed && strRightTrimBlanks(x, na, VX_CP_LOCALE) == unblanked &&
                strRightTrim(strCopy(buf.data(), x) - na) == trimmed && a.substr(0, trimmed) == buf.data() &&
                strRightTrimBlanks(two.data()) == unblanked && a.substr(0, unblanked) == two.data());
    ASSERT_TRUE(strCopy(buf.data(), x) == &buf[na] && strCat(buf.data(), y) == &buf[na + nb] && a + b == buf.data() &&
                strLen(buf.data()) == na + nb && strCopy(two.data(), x, n) == &two[n] && a.substr(0, n) == two.data());
    std::fill(buf.begin(), buf.end(), '#');
    ASSERT_TRUE(strCopy(buf.data(), size, x) == buf.data() && a.substr(0, size - 1) == buf.data() &&
                (size > na + 2 ? buf[na + 1] == '#' : true)) << size;
    const char q = random(0, 1) ? '\'' : '"';
    strCopy(buf.data(), y);
    ASSERT_EQ(&buf[nb + quote(a, q).size() + 1], strCatQuoted(buf.data(), x, VX_CP_LOCALE, q));
    strCatQuoted(buf.data(), y, n > nb ? nb : n, VX_CP_LOCALE, q);
    ASSERT_EQ(b + quote(a, q) + quote(b.substr(0, n), q), buf.data());

    ASSERT_TRUE(strUpper(strCopy(buf.data(), x) - na) == buf.data() && upper(a) == buf.data() &&
                strLower(buf.data()) == buf.data() && lower(a) == buf.data());
    strUpper(strCopy(buf.data(), x) - na, n);
    ASSERT_EQ(upper(a.substr(0, n)) + a.substr(n), buf.data());
    UpperText(strLower(buf.data(), na), n);
    ASSERT_TRUE(upper(lower(a).substr(0, n)) + lower(a).substr(n) == buf.data() && lower(a) == LowerText(buf.data(), na + 5));
  }
}

// Sign and magnitude, compared with the doubles themselves; the sign bit
// alone decides between -0.0 and 0.0.
TEST_F(Strings, FloatCompareOrdersBigEndianDoublesAsTheirValues) {
  auto bigEndian = [](double d) { uint64_t u; memcpy(&u, &d, 8); return __builtin_bswap64(u); };  // most significant byte first
  Random random;
  for (int i = 0; i < 5000; ++i) {
    const double a = i == 0 ? -0.0 : std::ldexp(random(-1000, 1000), random(-30, 30));
    const double b = i == 0 ? 0.0 : random(0, 3) ? std::ldexp(random(-1000, 1000), random(-30, 30)) : a;
    const int want = std::signbit(a) != std::signbit(b) ? (std::signbit(a) ? -1 : 1) : (a > b) - (a < b);
    const uint64_t x = bigEndian(a), y = bigEndian(b);
    ASSERT_EQ(want, floatCompare(&x, &y)) << kSeed << " " << a << " " << b;
  }
}

TEST_F(Strings, DeliberateOdditiesAndOtherKinds) {
  struct { const char *a, *b; int want; } pad[] = {{"AB", "AB  ", 0}, {"AB  ", "AB", 0}, {"AB", "ABC", -1}, {"ABC", "AB", 1},
      {"AB\t", "AB", 1}, {"AB", "AB\t", -1}, {"\x80", "a", 1}, {"a", "b", -1}};
  for (const auto& r : pad) EXPECT_EQ(r.want, strComparePad(r.a, r.b)) << r.a << "|" << r.b;
  // 1, T and ON are true; Y and YES are not (deliberate). (That
  // strCompareCiIntl is deliberately not case-blind, the cstrings fuzz
  // target judges on its case twins.)
  for (const char* s : {"1", "t", "T", "True", "on", "ON", "One", "oN"}) EXPECT_TRUE(isTrueStr(s)) << s;
  for (const char* s : {"0", "off", "", "o", "false", "2", "Y", "y", "yes", "YES", "Of"}) EXPECT_FALSE(isTrueStr(s)) << s;
  std::string longA(2000, 'q'), longB = longA + "r";  // heap copies past 512 bytes
  EXPECT_TRUE(strCompareIntl(longA.data(), 2000, longB.data(), 2001) < 0 && strCompareIntl(longA.data(), 2000, longB.data(), 2000) == 0);
  EXPECT_TRUE(strEqual("a\0b", 3, "a\0b", 3) && strCompare("a\0b", 3, "a\0c", 3) == -1);
  // Quoted stretches hide the character.
  const char *s = "a'x'x", *t = "\"x'\"'x\"'x";
  EXPECT_TRUE(strFind(s, 'x', '\'', '"', '`') == s + 4 && strFind(t, 'x', '\'', '"', '`') == t + 8);
  EXPECT_TRUE(strFind("'x", 'x', '\'', '"', '`') == nullptr && strFind("`x`", 'x', '\'', '"', '`') == nullptr);
  // UTF-8 kind: characters are stepped whole, and one cut by the length
  // is dropped from a copy and ends a search.
  const char *euro = "\xE2\x82\xAC", *cut = "a\xF0zzzz", *c3 = "\xC3\x41";
  char buf[32];
  EXPECT_TRUE(strFind(euro, "\x82\xAC") == euro + 1 && strFind(euro, "\x82\xAC", VX_CP_UTF8) == nullptr);
  EXPECT_TRUE(strFindCi(c3, 2, "A", "a", 1, VX_CP_UTF8) == nullptr && strFindCi(c3, 2, "A", "a", 1, VX_CP_BYTES) == c3 + 1);
  EXPECT_TRUE(strFind(cut, 2, "z", 1, VX_CP_UTF8) == nullptr && strFindCi(cut, 2, "Z", "z", 1, VX_CP_UTF8) == nullptr &&
              strFindCi(cut, 2, "z", 1, VX_CP_UTF8) == nullptr);
  strCopyQuoted(buf, "a\xE2\x82\xAC", VXSIZE_T{3}, VX_CP_UTF8, '"');
  EXPECT_STREQ("\"a\"", buf);
  EXPECT_TRUE(strContains("\xC3\xA9", 2, "\xC3\xA9", 0, VX_CP_UTF8) && !strContains("\xC3\xA9-", 3, "\xC3\xA9", 0, VX_CP_UTF8));
  EXPECT_TRUE(strContains("\xC3\xA9", 2, "\xA9\xC3", 0) && !strContains("\xC3\xA9", 2, "\xA9\xC3", 0, VX_CP_UTF8));
  // A character that swallows the blanks after it is not trailing white space.
  EXPECT_TRUE(strRightTrim("\xE2" "a  ", 4, VX_CP_UTF8) == 3 && strRightTrim("\xE2" "a  ", 4, VX_CP_LOCALE) == 2 &&
              strRightTrim("\xF0" "abc ", 5, VX_CP_UTF8) == 4);
  // Unquoting: the closing byte is taken on trust; inner quotes must be
  // doubled and the last character must be the quote, else nothing changes.
  EXPECT_TRUE(strCopyUnquoted(buf, "'ab!", 4) == buf + 2 && std::string("ab") == buf);
  EXPECT_TRUE(strCopyUnquoted(buf, "'", 1) == buf && buf[0] == '\0');
  struct { const char* s; VXSIZE_T want; const char* after; vxCPType cp = VX_CP_LOCALE; } removal[] = {{"'a''b'", 3, "a'b"}, {"''", 0, ""},
      {"'", 1, "'"}, {"ab'", 3, "ab'"}, {"'ab", 3, "'ab"}, {"'a'b'", 5, "'a'b'"}, {"'''", 3, "'''"}, {"'ab\xC3'", 3, "ab\xC3"},
      {"'ab\xC3'", 5, "'ab\xC3'", VX_CP_UTF8}};
  for (const auto& r : removal) {
    EXPECT_TRUE(strRemoveQuotes(strCopy(buf, r.s) - strlen(r.s), strlen(r.s), '\'', r.cp) == r.want && r.after == std::string(buf, r.want)) << r.s;
    EXPECT_TRUE(strRemoveQuotes(strCopy(buf, r.s) - strlen(r.s), '\'', r.cp) == buf && std::string(r.after) == buf) << r.s;
  }
}

// Latin-1 maps by arithmetic (0xF7 to 0xD7 deliberately); 0xFF and above
// take the Unicode mapping.
TEST_F(Strings, JavaCaseMapsLatin1ByArithmeticAndTheRestByUnicode) {
  struct { int32_t c, up, low; } rows[] = {{'a', 'A', 'a'}, {'z', 'Z', 'z'}, {'A', 'A', 'a'}, {'Z', 'Z', 'z'}, {'1', '1', '1'},
      {'@', '@', '@'}, {'[', '[', '['}, {'`', '`', '`'}, {'{', '{', '{'}, {0xE0, 0xC0, 0xE0}, {0xE9, 0xC9, 0xE9}, {0xC0, 0xC0, 0xE0},
      {0xC9, 0xC9, 0xE9}, {0xDE, 0xDE, 0xFE}, {0xFE, 0xDE, 0xFE}, {0xDF, 0xDF, 0xDF}, {0xF7, 0xD7, 0xF7}, {0xD7, 0xD7, 0xF7},
      {0xBF, 0xBF, 0xBF}, {-5, -5, -5}, {0xFF, 0x178, 0xFF}, {0x178, 0x178, 0xFF}, {0x3B1, 0x391, 0x3B1}, {0x391, 0x391, 0x3B1},
      {0x4E2D, 0x4E2D, 0x4E2D}};
  for (const auto& r : rows) EXPECT_TRUE(javaToUpper(r.c) == r.up && javaToLower(r.c) == r.low) << r.c;
  EXPECT_TRUE(strUpper(nullptr) == nullptr && strLower(nullptr, 3) == nullptr);
  // Counted forms go past an embedded NUL; UpperText stops at it.
  char nul[] = {'a', '\0', 'b', '\0'}, stop[] = "ab\0cd";
  EXPECT_TRUE(strUpper(nul, 3) == nul && nul[0] == 'A' && nul[2] == 'B' && (UpperText(stop, 5), stop[1] == 'B' && stop[3] == 'c'));
}


bool like(const char* text, size_t n, const char* pattern, int16_t caseSensitive = 0, int16_t blanks = 1, vxCPType cp = VX_CP_LOCALE) {
  return strLike(text, n, pattern, strlen(pattern), '%', '_', '\\', caseSensitive, blanks, cp);
}

// Three kinds of case: random text and pattern from small alphabets (so
// that both answers are frequent); a pattern made from the text with
// characters turned into wildcards, case-flipped, escaped or dropped; and
// long texts with the pattern's first literals planted in them, so that
// the bulk search after % runs over many positions.
TEST_F(Strings, AgreesWithSqliteLikeOnRandomAscii) {
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
    std::unique_ptr<char[]> exact(new char[text.size()]);  // unterminated: ASan sees any read past the text
    ASSERT_EQ(sqlite, like(static_cast<char*>(memcpy(exact.get(), text.data(), text.size())), text.size(), pattern.c_str()))
        << "seed " << kSeed << " case " << i << " text [" << text << "] pattern [" << pattern << "]";
    matches += sqlite;
  }
  EXPECT_TRUE(matches > kCases / 20 && matches < kCases - kCases / 20) << matches;
}

TEST_F(Strings, FlagsKindsAndLocalesOutsideSqlitesDomain) {
  using namespace std::string_literals;  // for texts holding a NUL
  const std::string longText = std::string(300, 'x').replace(250, 6, "NeEdLe"), multibyte = std::string(40, 'x') + "\xC3\xA9" "abc";
  // Mode bits: case sensitive, trailing blanks significant, UTF-8 kind
  // (else the locale's). Rows run in the "C" locale unless they name
  // another, on the whole text unless they give a length.
  enum { kC = -1, kCs = 1, kB = 2, kU = 4 };
  struct { std::string text; const char* pattern; int mode; bool want; int locale = kC; size_t length = std::string::npos; } rows[] = {
      // Trailing white space of both is cut only when blanks do not count.
      {"abc ", "abc", 0, true}, {"abc ", "abc", kB, false}, {"abc", "abc  ", 0, true}, {"abc\t\n", "abc", 0, true},
      {"ABC", "abc", kCs | kB, false}, {"a\0b"s, "a_b", kB, true}, {"a\0b"s, "a", kB, false},
      {longText, "%needle%", kCs | kB, false}, {longText, "%NeEdLe%", kCs | kB, true},
      // The kind decides what one character is; UTF-8 ones compare on their
      // first byte only.
      {"\xC3\xA9", "_", kB | kU, true}, {"\xC3\xA9", "_", kB, false}, {"\xC3\xA9", "__", kB, true}, {"x\xE2\x82\xAC" "y", "x_y", kB | kU, true},
      {"\xE2\x82\xAC", "\xE2\x82\xA4", kCs | kB | kU, true}, {"\xE2\x82\xAC", "\xC3\xA9", kCs | kB | kU, false},
      // A UTF-8 character cut by the length is one last character; the
      // bytes after the length are never looked at.
      {"a\xF0zz", "a_", kCs | kB | kU, true, kC, 2}, {"a\xF0zz", "a__", kCs | kB | kU, false, kC, 2},
      {"a\xF0zz", "%_", kCs | kB | kU, true, kC, 2}, {"a\xF0zz", "a\xF0", kCs | kB | kU, true, kC, 2},
      // The bulk search after % hands multibyte characters to the general step.
      {multibyte, "%\xC3\xA9" "abc", kB | kU, true}, {multibyte, "%_abc", kB | kU, true}, {multibyte, "%x_abc", kB | kU, true},
      {multibyte, "%x_abc", kB, false},
      // Two-byte characters match whole; a trail byte is compared exactly.
      {"\xD6\xD0", "_", kB, true, kGbk}, {"a\xD6\xD0" "b", "a_b", kB, true, kGbk}, {"\x81\x61", "\x81\x41", kB, false, kGbk},
      {"\x81\x41", "\x81\x41", kB, true, kGbk}, {"xyz\xD6\xD0", "%\xD6\xD0", kB, true, kGbk}, {"\x81\x41", "%A", kB, false, kGbk},
      {"\x81", "\x81\x41", kB, false, kGbk},
      // Dotless i (0xFD) upper-cases to I, also where the bulk search runs.
      {std::string(40, 'x') + "\xFD" "y", "%iy", kB, true, kTurkish}, {std::string(40, 'x') + "\xFD" "y", "%iy", kCs | kB, false, kTurkish},
      {"\xFD", "I", kB, true, kTurkish}};
  for (const auto& r : rows) {
    if (r.locale != kC && !useLocale(TestLocale(r.locale))) continue;
    const size_t n = std::min(r.length, r.text.size());
    EXPECT_EQ(r.want, like(r.text.data(), n, r.pattern, r.mode & kCs, (r.mode & kB) != 0, r.mode & kU ? VX_CP_UTF8 : VX_CP_LOCALE))
        << "locale " << r.locale << " mode " << r.mode << " text [" << r.text.substr(0, n) << "] pattern [" << r.pattern << "]";
    setlocale(LC_ALL, "C");
  }
  // The wildcard and escape bytes are the caller's. (The strlike fuzz target
  // judges the terminated form against the counted one.)
  EXPECT_TRUE(strLike("abc", 3, "a*", 2, '*', '?', '!', 0, 1) && strLike("abc", 3, "a?c", 3, '*', '?', '!', 0, 1) &&
              !strLike("abc", 3, "a%", 2, '*', '?', '!', 0, 1) && strLike("a*", 2, "a!*", 3, '*', '?', '!', 0, 1));
}


// In UTF-8 the first byte alone decides the size; in the "C" locale no
// byte leads a two-byte character.
TEST_F(Strings, SizesFollowTheFirstByteAndStepsBackFindCharacterStarts) {
  for (int c = 1; c < 256; ++c) {
    const char s[] = {char(c), char(0xA0), char(0xA0), char(0xA0), 0};
    const VXSIZE_T want = c < 0xC0 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    ASSERT_TRUE(vxCharSize(s, VX_CP_UTF8) == want && vxCharNext(s, VX_CP_UTF8) == s + want &&
                vxCharSize(s) == 1 && !vxIsLeadByte(s) && vxCharSize(s, VX_CP_BYTES) == 1) << c;
  }
  const char* mixed = "a\xE2\x82\xAC" "b";
  EXPECT_TRUE(vxCharSize(mixed, VXSIZE_T{1}, VX_CP_UTF8) == 3 && vxCharNext(mixed, VXSIZE_T{1}, VX_CP_UTF8) == 4);
  EXPECT_TRUE(vxCharLen(mixed, VX_CP_UTF8) == 3 && vxCharLen(mixed) == 5 && vxCharLen(mixed, VXSIZE_T{4}, VX_CP_UTF8) == 2);
  const char ucs2[] = {'a', 0, 'b', 0, 0, 0};
  EXPECT_TRUE(vxCharLen(ucs2, VX_CP_UCS2) == 2 && vxCharLen(ucs2, VXSIZE_T{5}, VX_CP_UCS2) == 2);
  // vxUTF8CharLen counts 0x80-0xDF as two-byte starts and stops at a
  // character that would pass the end.
  EXPECT_TRUE(vxUTF8CharLen("a\xE2\x82\xAC", 3) == 1 && vxUTF8CharLen("a\xE2\x82\xAC", 4) == 2 &&
              vxUTF8CharLen("\x80" "ab", 3) == 2 && vxUTF8CharLen("\xF0\x9F\x98", 3) == 0 &&
              vxUTF8CharLen("\xF0\x9F\x98\x80", 4) == 1 && vxUTF8CharLen("\xDF\x80\xE0", 3) == 1 &&
              vxUTF8CharLen("a\xC3\xA9", static_cast<VXSIZE_T>(-3)) == 2);
  // Stepping back and finding the last character.
  const char *s = "abc", *e = "a\xC3\xA9", *euro = "\xE2\x82\xAC", *four = "\xF0\x9F\x98\x80";
  EXPECT_TRUE(vxCharPrev(s, s) == s && vxCharPrev(s, s, VX_CP_UTF8) == s && vxCharPrev(s, s + 2) == s + 1);
  EXPECT_TRUE(vxCharPrev(e, e + 3, VX_CP_UTF8) == e + 1 && vxCharPrev(euro, euro + 3, VX_CP_UTF8) == euro &&
              vxCharPrev(s, s + 2, VX_CP_UTF8) == s + 1 && vxCharPrev(e, VXSIZE_T{3}, VX_CP_UTF8) == 1 &&
              vxCharPrev(e, e + 2, VX_CP_UTF8) == e + 1 && vxCharPrev(euro + 1, euro + 3, VX_CP_UTF8) == euro + 2);
  EXPECT_EQ(four + 3, vxCharPrev(four, four + 4, VX_CP_UTF8));  // looks back three bytes at most
  const char* cut = "a\xE2";  // a three-byte character cut by the NUL
  EXPECT_TRUE(vxCharLast(euro, VX_CP_UTF8) == euro && vxCharLast("a\xE2\x82\xAC", VX_CP_UTF8)[0] == '\xE2' &&
              vxCharLast(cut, VX_CP_UTF8) == cut + 1 && vxCharLen(cut, VX_CP_UTF8) == 2 && *vxCharLast(s) == 'c');
  EXPECT_TRUE(vxCharLast("a\xE2\x82\xAC" "b", VXSIZE_T{4}, VX_CP_UTF8) == 1 && vxCharLast(s, VXSIZE_T{0}, VX_CP_UTF8) == 0 &&
              vxCharLast("a\xE2\x82\xAC" "b", VXSIZE_T{5}, VX_CP_UTF8) == 4 && vxCharLast("", VX_CP_UTF8)[0] == '\0');
  // Four-byte characters compare on three bytes (deliberate).
  EXPECT_TRUE(vxCharEqual(four, "\xF0\x9F\x98\x81", VX_CP_UTF8) && !vxCharEqual(four, "\xF0\x9F\x99\x80", VX_CP_UTF8) &&
              vxCharEqual(euro, "\xE2\x82\xAC", VX_CP_UTF8) && !vxCharEqual(euro, "\xE2\x82\xAD", VX_CP_UTF8) &&
              !vxCharEqual(euro, "\xE2\x83\xAC", VX_CP_UTF8) && !vxCharEqual("\xC3\xA9", euro, VX_CP_UTF8) &&
              vxCharEqual("xa", VXSIZE_T{1}, "a", VXSIZE_T{0}, VX_CP_UTF8));
}

// In a two-byte locale a trail byte is never taken for a character of its
// own: not folded, not a quote, not a match, not a wildcard's half, not a
// class member; in the "C" locale every byte is a character. UTF-8
// characters are classed and case-converted whole.
TEST_F(Strings, LocalesDecideClassesCaseAndWhereCharactersStart) {
  const char *t = "\x81\x41" "A", *blanks = "  \tab", *a = "\x81\x61", *b = "\x81\x41", *src = "@\x81\x40\x40x@";
  char buf[16];
  EXPECT_TRUE(vxIsWhiteSpace(" ") && vxIsWhiteSpace("\t") && !vxIsWhiteSpace("a") && vxIsWhiteSpace("a b", VXSIZE_T{1}));
  EXPECT_TRUE(vxIsAlpha("a") && !vxIsAlpha("1") && vxIsAlpha("1a", VXSIZE_T{1}) && !vxIsAlpha("\xC3\xA9"));
  EXPECT_TRUE(vxIsAlphaNumeric("1") && !vxIsAlphaNumeric("-") && !vxIsAlphaNumeric("1-", VXSIZE_T{1}));
  EXPECT_TRUE(vxSkipBlanks(blanks) == blanks + 3 && vxSkipBlanks(nullptr) == nullptr && *vxSkipBlanks("   ") == '\0' &&
              vxSkipBlanks("x  y", VXSIZE_T{1}) == 3);
  EXPECT_TRUE(vxAtoi("42x") == 42 && vxAtoi("a-7", VXSIZE_T{1}) == -7 && vxAtoi("x") == 0);
  EXPECT_TRUE(vxStrSBCSChar(t, t + 1, 'A') && !vxStrSBCSChar(t, t, 'A') && !vxIs2ndByte(t, t + 1));
  EXPECT_TRUE(strCompareCi(a, b) == 0 && strFind(t, 'A') == t + 1 && isCharEqual("\x81\x41", "\x81\x7F", 1));
  strCopyUnquoted(buf, src, 6);
  EXPECT_STREQ("\x81@x", buf);  // in C the two @ are a doubled quote
  if (useLocale(kUtf8)) {
    EXPECT_TRUE(vxIsAlpha("\xC3\xA9") && vxIsAlphaNumeric("\xC3\xA9") && vxIsWhiteSpace("\xE3\x80\x80") &&
                !vxIsWhiteSpace("\xC3\xA9") && !vxIsAlpha("\xC3"));
    // Case conversion: the walk advances by the old size; a mapping that
    // would not fit stays. (A mapping the locale cannot encode stays too:
    // the same branch.)
    char e[] = "\xC3\xA9z", dotless[] = "\xC4\xB1x", turned[] = "\xC9\x90";
    EXPECT_TRUE(std::string("\xC3\x89Z") == strUpper(e) && std::string("I\xB1X") == strUpper(dotless) && std::string("\xC9\x90") == strUpper(turned));
    EXPECT_TRUE(strRightTrim("ab\xE3\x80\x80", 5, VX_CP_UTF8) == 2 && strRightTrimBlanks("ab\xE3\x80\x80", 5, VX_CP_UTF8) == 5);
  }
  USE_LOCALE_OR_SKIP(kGbk);
  EXPECT_TRUE(strCompareCi(a, b) == 1 && strCompareCi(a, 2, b, 2) == 1 && !strEqualCi(a, b));
  EXPECT_TRUE(strFind(t, 'A') == t + 2 && strFindAnsi(t, 'A') == t + 2 && strFindReverse(t, 'A') == t + 2);
  EXPECT_TRUE(!isCharEqual("\x81\x61", "\x81\x41", 0) && isCharEqual("\x81\x41", "\x81\x41", 1) && !isCharEqual("\x81\x42", "\x81\x41", 0));
  EXPECT_TRUE(isCharEqual("\x81\x41", "\x81\x7F", 1));  // 0x81 0x7F is no character: first bytes decide
  strCopyUnquoted(buf, src, 6);
  EXPECT_STREQ("\x81\x40@x", buf);
  strCopyQuoted(buf, "\x81\x40", VX_CP_LOCALE, '@');
  EXPECT_STREQ("@\x81\x40@", buf);
  // A lead byte needs a valid two-byte character after it.
  const char *g = "a\xD6\xD0" "b", *before = "xyz\xD6\xD0", *after = "\xD6\xD0" "a";
  EXPECT_TRUE(vxIsLeadByte("\xD6\xD0") && !vxIsLeadByte("a") && !vxIsLeadByte("\xD6") && vxIsLeadByte(g, VXSIZE_T{1}));
  EXPECT_TRUE(vxCharSize("\xD6\xD0") == 2 && vxCharSize("\xD6\xD0", VX_CP_BYTES) == 2 && vxCharSize("\xD6\xD0", VXSIZE_T{1}) == 1);
  EXPECT_TRUE(!vxIs2ndByte(g, g + 1) && vxIs2ndByte(g, g + 2) && !vxIs2ndByte(g, g + 3) && vxIs2ndByte(g, VXSIZE_T{2}));
  EXPECT_TRUE(!vxStrSBCSChar(t, t + 1, 'A') && vxStrSBCSChar(t, t + 2, 'A') && vxStrSBCSChar(t, VXSIZE_T{2}, 'A'));
  // Deliberate: vxCharPrev tests the byte AT p, never going before start.
  EXPECT_TRUE(vxCharPrev(before, before + 3) == before + 1 && vxCharPrev(before, VXSIZE_T{3}) == 1 &&
              vxCharPrev(after, after + 2) == after + 1 && vxCharPrev(g, g + 1) == g);
}

}  // namespace
