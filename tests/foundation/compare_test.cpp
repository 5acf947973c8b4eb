#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "foundation/locale_support.h"
#include "foundation/vxdbcs.h"

namespace {

using Compare = CLocaleTest;

// The bytes of an IEEE double, most significant first.
std::string bigEndian(double d) {
  unsigned char bytes[8];
  memcpy(bytes, &d, 8);
  std::string out(8, '\0');
  for (int i = 0; i < 8; ++i) out[i] = static_cast<char>(bytes[7 - i]);
  return out;
}

int16_t compareDoubles(double a, double b) {
  std::string x = bigEndian(a);
  std::string y = bigEndian(b);
  return floatCompare(x.data(), y.data());
}

TEST_F(Compare, CollationCompareFollowsTheLocaleAlsoOnCountedCopies) {
  EXPECT_LT(strCompareIntl("a", "b"), 0);
  EXPECT_GT(strCompareIntl("b", "a"), 0);
  EXPECT_EQ(0, strCompareIntl("x", "x"));
  // Counted forms compare terminated copies.
  EXPECT_EQ(0, strCompareIntl("abX", 2, "abY", 2));
  EXPECT_LT(strCompareIntl("ab", 2, "abc", 3), 0);
  // Longer than the stack buffer: the copies go to the heap.
  std::string a(2000, 'q');
  std::string b = a;
  b[1999] = 'r';
  EXPECT_LT(strCompareIntl(a.data(), a.size(), b.data(), b.size()), 0);
  EXPECT_EQ(0, strCompareIntl(a.data(), 1999, b.data(), 1999));
}

TEST_F(Compare, CiCollationCompareIsNotCaseInsensitiveDeliberately) {
  EXPECT_NE(0, strCompareCiIntl("abc", "ABC"));
  EXPECT_GT(strCompareCiIntl("abc", "ABC"), 0);
  EXPECT_NE(0, strCompareCiIntl("abc", 3, "ABC", 3));
  EXPECT_EQ(0, strCompareCiIntl("abc", 3, "abc", 3));
}

TEST_F(Compare, FloatCompareOrdersBigEndianDoubles) {
  EXPECT_EQ(-1, compareDoubles(-2.0, -1.0));
  EXPECT_EQ(-1, compareDoubles(-1.0, 1.0));
  EXPECT_EQ(-1, compareDoubles(1.0, 2.0));
  EXPECT_EQ(1, compareDoubles(-1.0, -2.0));
  EXPECT_EQ(1, compareDoubles(2.0, -3.0));
  EXPECT_EQ(0, compareDoubles(1.5, 1.5));
  EXPECT_EQ(-1, compareDoubles(-0.0, 0.0));  // the sign bit decides
}

TEST_F(Compare, CharEqualFoldsCaseOnlyWhenAsked) {
  EXPECT_TRUE(isCharEqual("a", "A", 0));
  EXPECT_FALSE(isCharEqual("a", "A", 1));
  EXPECT_TRUE(isCharEqual("a", "a", 1));
  EXPECT_FALSE(isCharEqual("a", "b", 0));
}

TEST_F(Compare, CharEqualTestsLeadByteOfSecondCharacter) {
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  // b is a two-byte character: both bytes must match exactly.
  EXPECT_FALSE(isCharEqual("\x81\x61", "\x81\x41", 0));
  EXPECT_TRUE(isCharEqual("\x81\x41", "\x81\x41", 1));
  // b's 0x81 is followed by an invalid trail: single byte, first bytes equal.
  EXPECT_TRUE(isCharEqual("\x81\x41", "\x81\x7F", 1));
}

}  // namespace
