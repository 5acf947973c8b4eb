// Stepping and classifying characters. The character fuzz target checks
// the functions' agreement with each other on arbitrary bytes; these rows
// pin the exact sizes and positions, and the deliberate oddities.
#include "foundation/vxdbcs.h"

#include <gtest/gtest.h>

#include "foundation/foundation_support.h"

namespace {

using VxDbcs = FoundationTest;

// In UTF-8 the first byte alone decides the size; in the "C" locale no
// byte leads a two-byte character.
TEST_F(VxDbcs, SizesFollowTheFirstByte) {
  for (int c = 1; c < 256; ++c) {
    const char s[] = {char(c), char(0xA0), char(0xA0), char(0xA0), 0};
    const VXSIZE_T want = c < 0xC0 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    ASSERT_TRUE(vxCharSize(s, VX_CP_UTF8) == want && vxCharNext(s, VX_CP_UTF8) == s + want &&
                vxCharSize(s) == 1 && !vxIsLeadByte(s) && vxCharSize(s, VX_CP_BYTES) == 1) << c;
  }
  const char* s = "a\xE2\x82\xAC" "b";
  EXPECT_TRUE(vxCharSize(s, VXSIZE_T{1}, VX_CP_UTF8) == 3 && vxCharNext(s, VXSIZE_T{1}, VX_CP_UTF8) == 4);
  EXPECT_TRUE(vxCharLen(s, VX_CP_UTF8) == 3 && vxCharLen(s) == 5 && vxCharLen(s, VXSIZE_T{4}, VX_CP_UTF8) == 2);
  const char ucs2[] = {'a', 0, 'b', 0, 0, 0};
  EXPECT_TRUE(vxCharLen(ucs2, VX_CP_UCS2) == 2 && vxCharLen(ucs2, VXSIZE_T{5}, VX_CP_UCS2) == 2);
  // vxUTF8CharLen counts 0x80-0xDF as two-byte starts and stops at a
  // character that would pass the end.
  EXPECT_TRUE(vxUTF8CharLen("a\xE2\x82\xAC", 3) == 1 && vxUTF8CharLen("a\xE2\x82\xAC", 4) == 2 &&
              vxUTF8CharLen("\x80" "ab", 3) == 2 && vxUTF8CharLen("\xF0\x9F\x98", 3) == 0 &&
              vxUTF8CharLen("\xF0\x9F\x98\x80", 4) == 1 && vxUTF8CharLen("\xDF\x80\xE0", 3) == 1 &&
              vxUTF8CharLen("a\xC3\xA9", static_cast<VXSIZE_T>(-3)) == 2);
}

TEST_F(VxDbcs, PrevLastAndEqualFindCharacterStarts) {
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

TEST_F(VxDbcs, ClassificationDecodesInTheLocale) {
  const char *t = "\x81\x41" "A", *blanks = "  \tab";
  EXPECT_TRUE(vxIsWhiteSpace(" ") && vxIsWhiteSpace("\t") && !vxIsWhiteSpace("a") && vxIsWhiteSpace("a b", VXSIZE_T{1}));
  EXPECT_TRUE(vxIsAlpha("a") && !vxIsAlpha("1") && vxIsAlpha("1a", VXSIZE_T{1}) && !vxIsAlpha("\xC3\xA9"));
  EXPECT_TRUE(vxIsAlphaNumeric("1") && !vxIsAlphaNumeric("-") && !vxIsAlphaNumeric("1-", VXSIZE_T{1}));
  EXPECT_TRUE(vxSkipBlanks(blanks) == blanks + 3 && vxSkipBlanks(nullptr) == nullptr && *vxSkipBlanks("   ") == '\0' &&
              vxSkipBlanks("x  y", VXSIZE_T{1}) == 3);
  EXPECT_TRUE(vxAtoi("42x") == 42 && vxAtoi("a-7", VXSIZE_T{1}) == -7 && vxAtoi("x") == 0);
  EXPECT_TRUE(vxStrSBCSChar(t, t + 1, 'A') && !vxStrSBCSChar(t, t, 'A') && !vxIs2ndByte(t, t + 1));
  if (useLocale(kUtf8)) {
    EXPECT_TRUE(vxIsAlpha("\xC3\xA9") && vxIsAlphaNumeric("\xC3\xA9") && vxIsWhiteSpace("\xE3\x80\x80") &&
                !vxIsWhiteSpace("\xC3\xA9") && !vxIsAlpha("\xC3"));
  }
  USE_LOCALE_OR_SKIP(kGbk);
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
