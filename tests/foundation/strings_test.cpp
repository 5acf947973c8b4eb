// The byte-string functions of vxstr.h and vxcase.h. In the "C" locale every
// byte is a character, so std::string and libc models judge random strings;
// what they cannot judge (other code-page kinds and locales, the deliberate
// oddities) are table rows. The quote fuzz target judges quote round trips.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/foundation_support.h"
#include "foundation/vxdbcs.h"

namespace {

using Strings = FoundationTest;
const size_t npos = std::string::npos;
int sign(int v) { return (v > 0) - (v < 0); }
// ASCII case mapping: what the "C" locale's toupper / tolower give.
std::string upper(std::string s) {
  for (char& c : s) c = char(toupper(static_cast<unsigned char>(c)));
  return s;
}
std::string lower(std::string s) {
  for (char& c : s) c = char(tolower(static_cast<unsigned char>(c)));
  return s;
}
std::string quote(const std::string& s, char q) {
  std::string out(1, q);
  for (char c : s) out += c == q ? std::string(2, q) : std::string(1, c);
  return out + q;
}

TEST_F(Strings, MatchStdStringModelsInTheCLocale) {
  const std::string alphabet = "aAbBzZ \t\n\v'\"`09-_\x80\xE9";
  const char* extras[] = {nullptr, "-_", "'"};
  Random random;
  for (int i = 0; i < 20000; ++i) {
    std::string a = random.text(alphabet, 8), b = random.text(alphabet, 8);
    if (random(0, 1)) b = random(0, 1) ? upper(a) : a.substr(0, size_t(random(0, int(a.size())))) + b.substr(0, 1);
    const char *x = a.c_str(), *y = b.c_str();
    const VXSIZE_T na = a.size(), nb = b.size();
    auto at = [x](const char* p) { return p == nullptr ? npos : size_t(p - x); };
    auto where = [&] {
      return testing::Message() << "seed " << kSeed << " case " << i << " [" << a << "] [" << b << "]";
    };
    const int want = sign(a.compare(b)), wantCi = sign(upper(a).compare(upper(b)));
    ASSERT_TRUE(sign(strCompare(x, y)) == want && strCompare(x, na, y, nb) == want &&
                strEqual(x, y) == (want == 0) && strEqual(x, na, y, nb) == (want == 0) &&
                sign(strCompareIntl(x, y)) == want && sign(strCompareIntl(x, na, y, nb)) == want &&
                sign(strCompareCiIntl(x, y)) == want && sign(strCompareCiIntl(x, na, y, nb)) == want)
        << where();
    ASSERT_TRUE(strCompareCi(x, y) == wantCi && strCompareCi(x, na, y, nb) == wantCi &&
                strEqualCi(x, y) == (wantCi == 0) && strEqualCi(x, na, y, nb) == (wantCi == 0))
        << where();
    const size_t m = size_t(random(0, 9));
    ASSERT_EQ(sign(strncmp(x, y, m)), sign(strCompareWithMaxLength(x, y, m))) << where();
    const bool firstEqual = a[0] == b[0], foldedEqual = toupper(a[0] & 0xFF) == toupper(b[0] & 0xFF);
    ASSERT_EQ(firstEqual, isCharEqual(x, y, 1)) << where();
    ASSERT_EQ(firstEqual || foldedEqual, isCharEqual(x, y, 0)) << where();

    const char ch = alphabet[size_t(random(0, int(alphabet.size()) - 1))];
    ASSERT_TRUE(at(strFind(x, ch)) == a.find(ch) && at(strFindAnsi(x, ch)) == a.find(ch) &&
                at(strFindReverse(x, ch)) == a.rfind(ch) &&  // the optioned form deliberately too
                at(strFind(x, ch, STRFIND_FIRST)) == a.rfind(ch) && at(strFind(x, ch, STRFIND_LAST)) == a.rfind(ch))
        << where() << " ch " << ch;
    const std::string pat = random(0, 1) ? b.substr(0, 3) : a.substr(size_t(random(0, int(na))), 2);
    const size_t wantSub = pat.empty() ? npos : a.find(pat), wantCiSub = pat.empty() ? npos : upper(a).find(upper(pat));
    ASSERT_TRUE(at(strFind(x, pat.c_str())) == wantSub && at(strFind(x, na, pat.data(), pat.size())) == wantSub &&
                at(strFindCi(x, pat.c_str())) == wantCiSub && at(strFindCi(x, na, pat.data(), pat.size())) == wantCiSub &&
                at(strFindCi(x, na, upper(pat).data(), lower(pat).data(), pat.size())) == wantCiSub)
        << where() << " pattern [" << pat << "]";
    const char* extra = extras[random(0, 2)];
    const uint16_t classes = uint16_t(random(0, 7));
    std::string set = extra != nullptr ? extra : "";
    if (classes & STR_CLASS_LOWER) set += "abcdefghijklmnopqrstuvwxyz";
    if (classes & STR_CLASS_UPPER) set += "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (classes & STR_CLASS_DIGIT) set += "0123456789";
    ASSERT_EQ(a.find_first_not_of(set) == npos, strContains(x, na, extra, classes)) << where() << classes;
    ASSERT_EQ(a.find_first_of(set) == npos, strDoesNotContain(x, na, extra, classes)) << where() << classes;

    const size_t trimmed = a.find_last_not_of(" \t\n\v\f\r") + 1, unblanked = a.find_last_not_of(' ') + 1;
    std::vector<char> buf(2 * (na + nb) + 8, '#');
    ASSERT_TRUE(strRightTrim(x, na, VX_CP_LOCALE) == trimmed && strRightTrimBlanks(x, na, VX_CP_LOCALE) == unblanked)
        << where();
    strCopy(buf.data(), x);
    ASSERT_TRUE(strRightTrim(buf.data()) == trimmed && a.substr(0, trimmed) == buf.data()) << where();
    strCopy(buf.data(), x);
    ASSERT_TRUE(strRightTrimBlanks(buf.data()) == unblanked && a.substr(0, unblanked) == buf.data()) << where();

    const size_t n = size_t(random(0, int(na))), size = size_t(random(1, int(na) + 2));
    ASSERT_TRUE(strCopy(buf.data(), x) == &buf[na] && strCat(buf.data(), y) == &buf[na + nb] &&
                a + b == buf.data() && strLen(buf.data()) == na + nb) << where();
    ASSERT_TRUE(strCopy(buf.data(), x, n) == &buf[n] && a.substr(0, n) == buf.data()) << where();
    std::fill(buf.begin(), buf.end(), '#');
    ASSERT_TRUE(strCopy(buf.data(), size, x) == buf.data() && a.substr(0, size - 1) == buf.data() &&
                (size > na + 2 ? buf[na + 1] == '#' : true)) << where() << " size " << size;
    const char q = random(0, 1) ? '\'' : '"';
    ASSERT_EQ(&buf[quote(a, q).size() + 1], strCopyQuoted(buf.data(), x, VX_CP_LOCALE, q)) << where();
    ASSERT_EQ(quote(a, q), buf.data()) << where();
    strCopyQuoted(buf.data(), x, n, VX_CP_LOCALE, q);
    ASSERT_EQ(quote(a.substr(0, n), q), buf.data()) << where();
    strCopy(buf.data(), y);
    ASSERT_EQ(&buf[nb + quote(a, q).size() + 1], strCatQuoted(buf.data(), x, VX_CP_LOCALE, q)) << where();
    strCatQuoted(buf.data(), y, n > nb ? nb : n, VX_CP_LOCALE, q);
    ASSERT_EQ(b + quote(a, q) + quote(b.substr(0, n), q), buf.data()) << where();

    strCopy(buf.data(), x);
    ASSERT_TRUE(strUpper(buf.data()) == buf.data() && upper(a) == buf.data()) << where();
    ASSERT_TRUE(strLower(buf.data()) == buf.data() && lower(a) == buf.data()) << where();
    strUpper(strCopy(buf.data(), x) - na, n);
    ASSERT_EQ(upper(a.substr(0, n)) + a.substr(n), buf.data()) << where();
    strLower(buf.data(), na);
    UpperText(buf.data(), n);
    ASSERT_EQ(upper(lower(a).substr(0, n)) + lower(a).substr(n), buf.data()) << where();
    LowerText(buf.data(), na + 5);
    ASSERT_EQ(lower(a), buf.data()) << where();
  }
}

// Sign and magnitude, compared with the doubles themselves; the sign bit
// alone decides between -0.0 and 0.0.
TEST_F(Strings, FloatCompareOrdersBigEndianDoublesAsTheirValues) {
  Random random;
  auto bigEndian = [](double d) {
    uint64_t bits;
    memcpy(&bits, &d, 8);
    bits = __builtin_bswap64(bits);
    return std::string(reinterpret_cast<char*>(&bits), 8);
  };
  for (int i = 0; i < 5000; ++i) {
    double a = std::ldexp(random(-1000, 1000), random(-30, 30)), b = random(0, 3) ? -a + random(-2, 2) : a;
    if (i == 0) a = -0.0, b = 0.0;
    const int want = std::signbit(a) != std::signbit(b) ? (std::signbit(a) ? -1 : 1) : (a > b) - (a < b);
    ASSERT_EQ(want, floatCompare(bigEndian(a).data(), bigEndian(b).data())) << kSeed << " " << a << " " << b;
  }
}

TEST_F(Strings, DeliberateOdditiesAndOtherKinds) {
  struct { const char *a, *b; int want; } pad[] = {
      {"AB", "AB  ", 0}, {"AB  ", "AB", 0}, {"AB", "ABC", -1}, {"ABC", "AB", 1},
      {"AB\t", "AB", 1}, {"AB", "AB\t", -1}, {"\x80", "a", 1}, {"a", "b", -1}};
  for (const auto& r : pad) EXPECT_EQ(r.want, strComparePad(r.a, r.b)) << r.a << "|" << r.b;
  // 1, T and ON are true; Y and YES are not (deliberate).
  for (const char* s : {"1", "t", "T", "True", "on", "ON", "One", "oN"}) EXPECT_TRUE(isTrueStr(s)) << s;
  for (const char* s : {"0", "off", "", "o", "false", "2", "Y", "y", "yes", "YES", "Of"}) EXPECT_FALSE(isTrueStr(s)) << s;
  EXPECT_NE(0, strCompareCiIntl("abc", "ABC"));  // deliberately not case-insensitive
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
  struct { const char* s; vxCPType cp; VXSIZE_T want; const char* after; } removal[] = {
      {"'a''b'", VX_CP_LOCALE, 3, "a'b"}, {"''", VX_CP_LOCALE, 0, ""}, {"'", VX_CP_LOCALE, 1, "'"},
      {"ab'", VX_CP_LOCALE, 3, "ab'"}, {"'ab", VX_CP_LOCALE, 3, "'ab"}, {"'a'b'", VX_CP_LOCALE, 5, "'a'b'"},
      {"'''", VX_CP_LOCALE, 3, "'''"}, {"'ab\xC3'", VX_CP_UTF8, 5, "'ab\xC3'"}, {"'ab\xC3'", VX_CP_LOCALE, 3, "ab\xC3"}};
  for (const auto& r : removal) {
    strCopy(buf, r.s);
    EXPECT_EQ(r.want, strRemoveQuotes(buf, strlen(r.s), '\'', r.cp)) << r.s;
    EXPECT_EQ(r.after, std::string(buf, r.want)) << r.s;
    strCopy(buf, r.s);
    EXPECT_TRUE(strRemoveQuotes(buf, '\'', r.cp) == buf && std::string(r.after) == buf) << r.s;
  }
}

// Latin-1 maps by arithmetic (0xF7 to 0xD7 deliberately); 0xFF and above
// take the Unicode mapping.
TEST_F(Strings, JavaCaseMapsLatin1ByArithmeticAndTheRestByUnicode) {
  struct { int32_t c, up, low; } rows[] = {
      {'a', 'A', 'a'}, {'z', 'Z', 'z'}, {'A', 'A', 'a'}, {'Z', 'Z', 'z'}, {'1', '1', '1'}, {'@', '@', '@'},
      {'[', '[', '['}, {'`', '`', '`'}, {'{', '{', '{'}, {0xE0, 0xC0, 0xE0}, {0xE9, 0xC9, 0xE9}, {0xC0, 0xC0, 0xE0},
      {0xC9, 0xC9, 0xE9}, {0xDE, 0xDE, 0xFE}, {0xFE, 0xDE, 0xFE}, {0xDF, 0xDF, 0xDF}, {0xF7, 0xD7, 0xF7},
      {0xD7, 0xD7, 0xF7}, {0xBF, 0xBF, 0xBF}, {-5, -5, -5}, {0xFF, 0x178, 0xFF}, {0x178, 0x178, 0xFF},
      {0x3B1, 0x391, 0x3B1}, {0x391, 0x391, 0x3B1}, {0x4E2D, 0x4E2D, 0x4E2D}};
  for (const auto& r : rows) EXPECT_TRUE(javaToUpper(r.c) == r.up && javaToLower(r.c) == r.low) << r.c;
  EXPECT_TRUE(strUpper(nullptr) == nullptr && strLower(nullptr, 3) == nullptr);
  char nul[] = {'a', '\0', 'b', '\0'};
  strUpper(nul, 3);  // counted forms go past an embedded NUL
  EXPECT_TRUE(nul[0] == 'A' && nul[2] == 'B');
  char stop[] = "ab\0cd";
  UpperText(stop, 5);  // stops at the NUL
  EXPECT_TRUE(stop[1] == 'B' && stop[3] == 'c');
}

// In a two-byte locale a trail byte is never taken for a character of its
// own: not folded, not a quote, not a match, not a wildcard's half.
TEST_F(Strings, TwoByteLocaleKeepsLeadAndTrailTogether) {
  const char *a = "\x81\x61", *b = "\x81\x41", *t = "\x81\x41" "A", *src = "@\x81\x40\x40x@";
  char buf[16];
  EXPECT_TRUE(strCompareCi(a, b) == 0 && strFind(t, 'A') == t + 1 && isCharEqual("\x81\x41", "\x81\x7F", 1));
  strCopyUnquoted(buf, src, 6);
  EXPECT_STREQ("\x81@x", buf);  // in C the two @ are a doubled quote
  USE_LOCALE_OR_SKIP(kGbk);
  EXPECT_TRUE(strCompareCi(a, b) == 1 && strCompareCi(a, 2, b, 2) == 1 && !strEqualCi(a, b));
  EXPECT_TRUE(strFind(t, 'A') == t + 2 && strFindAnsi(t, 'A') == t + 2 && strFindReverse(t, 'A') == t + 2);
  EXPECT_TRUE(!isCharEqual("\x81\x61", "\x81\x41", 0) && isCharEqual("\x81\x41", "\x81\x41", 1) && !isCharEqual("\x81\x42", "\x81\x41", 0));
  EXPECT_TRUE(isCharEqual("\x81\x41", "\x81\x7F", 1));  // 0x81 0x7F is no character: first bytes decide
  strCopyUnquoted(buf, src, 6);
  EXPECT_STREQ("\x81\x40@x", buf);
  strCopyQuoted(buf, "\x81\x40", VX_CP_LOCALE, '@');
  EXPECT_STREQ("@\x81\x40@", buf);
}

TEST_F(Strings, Latin1AndUtf8LocalesConvertWholeCharacters) {
  char latin[] = "\xE9\xF7x\xFF";
  if (useLocale(kLatin1)) {
    strUpper(latin);  // 0xFF would become U+0178, which Latin-1 lacks: left alone
    EXPECT_STREQ("\xC9\xD7X\xFF", latin);
    EXPECT_STREQ("\xE9\xF7x\xFF", strLower(latin));
  }
  USE_LOCALE_OR_SKIP(kUtf8);
  // The walk advances by the old size; a mapping that would not fit stays.
  char e[] = "\xC3\xA9z", dotless[] = "\xC4\xB1x", turned[] = "\xC9\x90";
  EXPECT_STREQ("\xC3\x89Z", strUpper(e));
  EXPECT_STREQ("I\xB1X", strUpper(dotless));
  EXPECT_STREQ("\xC9\x90", strUpper(turned));
  EXPECT_TRUE(strRightTrim("ab\xE3\x80\x80", 5, VX_CP_UTF8) == 2 && strRightTrimBlanks("ab\xE3\x80\x80", 5, VX_CP_UTF8) == 5);
}

}  // namespace
