#include "values/convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "foundation/vxerror.h"

namespace {

// Installs an error list that keeps every record, so that a test can read
// the number a failed conversion filed.
class ConvertTest : public ::testing::Test {
 protected:
  void SetUp() override { VxErrorKeeper::setErrorList(&errors_); }
  void TearDown() override { VxErrorKeeper::giveUpErrorList(); }

  uint16_t lastError() const { return VxErrorKeeper::getLastErrorNumber(); }

  VxErrorList errors_{nullptr, 1};
};

// ---- Number to text ----------------------------------------------------

std::string plain(VXSIZE_T value, uint16_t* count) {
  char buffer[32];
  memset(buffer, 'X', sizeof buffer);
  *count = convert(buffer, value);
  return buffer;
}

std::string plain(VXSSIZE_T value, uint16_t* count) {
  char buffer[32];
  memset(buffer, 'X', sizeof buffer);
  *count = convert(buffer, value);
  return buffer;
}

TEST(ConvertToText, UnsignedWritesEveryDigitAndCountsThem) {
  uint16_t n = 0;
  EXPECT_EQ("0", plain(VXSIZE_T(0), &n));
  EXPECT_EQ(1, n);
  EXPECT_EQ("7", plain(VXSIZE_T(7), &n));
  EXPECT_EQ("1000000", plain(VXSIZE_T(1000000), &n));
  EXPECT_EQ(7, n);
  EXPECT_EQ("18446744073709551615", plain(VXSIZE_T(UINT64_MAX), &n));
  EXPECT_EQ(20, n);
}

TEST(ConvertToText, SignedCountsTheMinusSign) {
  uint16_t n = 0;
  EXPECT_EQ("-5", plain(VXSSIZE_T(-5), &n));
  EXPECT_EQ(2, n);
  EXPECT_EQ("42", plain(VXSSIZE_T(42), &n));
  EXPECT_EQ(2, n);
  EXPECT_EQ("-9223372036854775808", plain(VXSSIZE_T(INT64_MIN), &n));
  EXPECT_EQ(20, n);
  EXPECT_EQ("9223372036854775807", plain(VXSSIZE_T(INT64_MAX), &n));
  EXPECT_EQ(19, n);
}

TEST(ConvertToText, EveryPowerOfTenAndItsPredecessorRoundTrips) {
  char buffer[32];
  VXSIZE_T power = 1;
  for (int i = 0; i < 20; ++i, power *= 10) {
    for (VXSIZE_T v : {power, power - 1}) {
      uint16_t n = convert(buffer, v);
      EXPECT_EQ(std::to_string(v), buffer);
      EXPECT_EQ(std::to_string(v).size(), n);
    }
  }
}

struct Field {
  std::string text;
  uint16_t count;
};

Field field(uint16_t width, VXSIZE_T value, bool left) {
  char buffer[64];
  memset(buffer, 'X', sizeof buffer);
  uint16_t n = convert(buffer, width, value, left);
  EXPECT_EQ('\0', buffer[width]);
  return {std::string(buffer, width), n};
}

Field field(uint16_t width, VXSSIZE_T value, bool left) {
  char buffer[64];
  memset(buffer, 'X', sizeof buffer);
  uint16_t n = convert(buffer, width, value, left);
  EXPECT_EQ('\0', buffer[width]);
  return {std::string(buffer, width), n};
}

TEST(ConvertField, RightAndLeftJustifiedPadWithBlanks) {
  Field right = field(5, VXSIZE_T(123), false);
  EXPECT_EQ("  123", right.text);
  EXPECT_EQ(3, right.count);
  Field left = field(5, VXSIZE_T(123), true);
  EXPECT_EQ("123  ", left.text);
  EXPECT_EQ(3, left.count);
  EXPECT_EQ("12345", field(5, VXSIZE_T(12345), false).text);
}

TEST(ConvertField, TooLongValueFillsAllButLastPositionWithStarsAndReturnsZero) {
  Field right = field(3, VXSIZE_T(1234), false);
  EXPECT_EQ("** ", right.text);
  EXPECT_EQ(0, right.count);
  Field left = field(3, VXSIZE_T(1234), true);
  EXPECT_EQ("** ", left.text);
  EXPECT_EQ(0, left.count);
}

TEST(ConvertField, DeliberateZeroValueLeavesFieldBlank) {
  for (uint16_t width : {1, 5, 12}) {
    for (bool left : {false, true}) {
      Field f = field(width, VXSIZE_T(0), left);
      EXPECT_EQ(std::string(width, ' '), f.text);
      EXPECT_EQ(0, f.count);
      EXPECT_EQ(std::string(width, ' '), field(width, VXSSIZE_T(0), left).text);
    }
  }
}

TEST(ConvertField, AtMostTenDigitPositionsInWideFields) {
  EXPECT_EQ("  1234567890", field(12, VXSIZE_T(1234567890), false).text);
  EXPECT_EQ("1234567890  ", field(12, VXSIZE_T(1234567890), true).text);
  EXPECT_EQ("            123", field(15, VXSIZE_T(123), false).text);
  // Eleven digits do not fit ten positions: the stars cover positions of
  // the ten-digit window only.
  Field right = field(15, VXSIZE_T(12345678901ULL), false);
  EXPECT_EQ("     ********* ", right.text);
  EXPECT_EQ(0, right.count);
  Field left = field(15, VXSIZE_T(12345678901ULL), true);
  EXPECT_EQ("*********      ", left.text);
  EXPECT_EQ(0, left.count);
}

TEST(ConvertField, NegativeValueSignSitsBeforeDigitsAndIsNotCounted) {
  Field right = field(5, VXSSIZE_T(-12), false);
  EXPECT_EQ("  -12", right.text);
  EXPECT_EQ(2, right.count);
  Field left = field(5, VXSSIZE_T(-12), true);
  EXPECT_EQ("-12  ", left.text);
  EXPECT_EQ(2, left.count);
  Field full = field(5, VXSSIZE_T(-1234), false);
  EXPECT_EQ("-1234", full.text);
  EXPECT_EQ(4, full.count);
}

TEST(ConvertField, NegativeValueNeedsOneByteForTheSign) {
  Field tooLong = field(4, VXSSIZE_T(-1234), true);
  EXPECT_EQ("-** ", tooLong.text);
  EXPECT_EQ(0, tooLong.count);
  EXPECT_EQ("-9223372036", field(11, VXSSIZE_T(-9223372036LL), true).text);
}

TEST(ConvertField, WidthZeroWritesOnlyTheNul) {
  EXPECT_EQ(0, field(0, VXSIZE_T(5), false).count);
  EXPECT_EQ(0, field(0, VXSSIZE_T(-5), false).count);
}

// ---- Text to number ----------------------------------------------------

TEST_F(ConvertTest, UnsignedAcceptsFullRange) {
  VXSIZE_T v = 1;
  EXPECT_EQ(0u, convert("18446744073709551615", &v));
  EXPECT_EQ(UINT64_MAX, v);
  EXPECT_EQ(0u, convert("0", &v));
  EXPECT_EQ(0u, v);
  EXPECT_EQ(0u, convert("000000000000000000000000042", &v));
  EXPECT_EQ(42u, v);
}

TEST_F(ConvertTest, UnsignedAcceptsEveryValueJustBelowTheTop) {
  for (VXSIZE_T expected = UINT64_MAX - 20; expected != 0; ++expected) {
    VXSIZE_T v = 0;
    EXPECT_EQ(0u, convert(std::to_string(expected).c_str(), &v)) << expected;
    EXPECT_EQ(expected, v);
  }
}

TEST_F(ConvertTest, UnsignedOverflowIs2701AndLeavesTargetUntouched) {
  VXSIZE_T v = 99;
  EXPECT_EQ(1u, convert("18446744073709551616", &v));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(99u, v);
  EXPECT_EQ(1u, convert("99999999999999999999999", &v));
  EXPECT_EQ(2701, lastError());
}

TEST_F(ConvertTest, OverflowIsFoundBeforeALaterBadCharacter) {
  VXSIZE_T v = 0;
  EXPECT_EQ(1u, convert("184467440737095516160x", &v));
  EXPECT_EQ(2701, lastError());
}

TEST_F(ConvertTest, WhiteSpaceAndPlusSignsSkippedInAnyMix) {
  VXSIZE_T v = 0;
  EXPECT_EQ(0u, convert(" 42 ", &v));
  EXPECT_EQ(42u, v);
  EXPECT_EQ(0u, convert("+ +5", &v));
  EXPECT_EQ(5u, v);
  EXPECT_EQ(0u, convert("\t+\n 17\t\n", &v));
  EXPECT_EQ(17u, v);
}

TEST_F(ConvertTest, BadCharacterIs2702AndLeavesTargetUntouched) {
  VXSIZE_T v = 7;
  EXPECT_EQ(1u, convert("42x", &v));
  EXPECT_EQ(2702, lastError());
  EXPECT_EQ(1u, convert("12 34", &v));
  EXPECT_EQ(1u, convert("-1", &v));
  EXPECT_EQ(1u, convert("4+", &v));
  EXPECT_EQ(1u, convert("0x10", &v));
  EXPECT_EQ(2702, lastError());
  EXPECT_EQ(7u, v);
}

TEST_F(ConvertTest, DeliberateTextWithoutDigitsIsZero) {
  for (const char* text : {"", "   ", "+", " + + ", "\t"}) {
    VXSIZE_T u = 9;
    EXPECT_EQ(0u, convert(text, &u)) << '"' << text << '"';
    EXPECT_EQ(0u, u);
    VXSSIZE_T s = 9;
    EXPECT_EQ(0u, convert(text, &s));
    EXPECT_EQ(0, s);
  }
  VXSSIZE_T s = 9;
  EXPECT_EQ(0u, convert("-", &s));
  EXPECT_EQ(0, s);
  EXPECT_EQ(0u, lastError());
}

TEST_F(ConvertTest, SignedAcceptsBothEnds) {
  VXSSIZE_T v = 0;
  EXPECT_EQ(0u, convert("-9223372036854775808", &v));
  EXPECT_EQ(INT64_MIN, v);
  EXPECT_EQ(0u, convert("9223372036854775807", &v));
  EXPECT_EQ(INT64_MAX, v);
  EXPECT_EQ(0u, convert("  - 12 ", &v));
  EXPECT_EQ(-12, v);
  EXPECT_EQ(0u, convert("-+12", &v));
  EXPECT_EQ(-12, v);
}

TEST_F(ConvertTest, SignedRejectsOneBeyondEitherEnd) {
  VXSSIZE_T v = 3;
  EXPECT_EQ(1u, convert("9223372036854775808", &v));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(1u, convert("-9223372036854775809", &v));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(1u, convert("18446744073709551615", &v));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(3, v);
}

TEST_F(ConvertTest, SignedTakesOnlyOneMinus) {
  VXSSIZE_T v = 3;
  EXPECT_EQ(1u, convert("--5", &v));
  EXPECT_EQ(2702, lastError());
  EXPECT_EQ(1u, convert("+-5", &v));
  EXPECT_EQ(2702, lastError());
  EXPECT_EQ(3, v);
}

TEST_F(ConvertTest, DeliberateSigned32RefusesMostNegativeValue) {
  int32_t v = 1;
  EXPECT_EQ(1u, convert("-2147483648", &v));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(1, v);
  EXPECT_EQ(0u, convert("-2147483647", &v));
  EXPECT_EQ(-2147483647, v);
  EXPECT_EQ(0u, convert("2147483647", &v));
  EXPECT_EQ(2147483647, v);
  EXPECT_EQ(1u, convert("2147483648", &v));
  EXPECT_EQ(2701, lastError());
}

TEST_F(ConvertTest, DeliberateSigned32SecondMinusCancelsTheFirst) {
  int32_t v = 0;
  EXPECT_EQ(0u, convert("--5", &v));
  EXPECT_EQ(5, v);
  EXPECT_EQ(0u, convert(" - -5", &v));
  EXPECT_EQ(5, v);
  // The inner value passes the range check and the outer sign wraps it.
  EXPECT_EQ(0u, convert("--2147483648", &v));
  EXPECT_EQ(INT32_MIN, v);
  EXPECT_EQ(1u, convert("---5", &v));
  EXPECT_EQ(2702, lastError());
}

TEST_F(ConvertTest, Unsigned32RejectsLeadingMinusAsBadCharacter) {
  uint32_t v = 8;
  EXPECT_EQ(1u, convert(" -0", &v));
  EXPECT_EQ(2702, lastError());
  EXPECT_EQ(1u, convert("4294967296", &v));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(8u, v);
  EXPECT_EQ(0u, convert("4294967295", &v));
  EXPECT_EQ(4294967295u, v);
}

TEST_F(ConvertTest, Unsigned32WithNullTargetOnlyValidates) {
  EXPECT_EQ(0u, convert("123", static_cast<uint32_t*>(nullptr)));
  EXPECT_EQ(1u, convert("12a", static_cast<uint32_t*>(nullptr)));
  EXPECT_EQ(2702, lastError());
}

TEST_F(ConvertTest, NarrowFormsCheckTheirBounds) {
  uint16_t u16 = 0;
  EXPECT_EQ(0u, convert("65535", &u16));
  EXPECT_EQ(65535, u16);
  EXPECT_EQ(1u, convert("65536", &u16));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(1u, convert("-1", &u16));
  EXPECT_EQ(2702, lastError());

  int16_t i16 = 0;
  EXPECT_EQ(0u, convert("-32768", &i16));
  EXPECT_EQ(-32768, i16);
  EXPECT_EQ(0u, convert("32767", &i16));
  EXPECT_EQ(32767, i16);
  EXPECT_EQ(1u, convert("-32769", &i16));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(1u, convert("32768", &i16));
  EXPECT_EQ(32767, i16);

  uint8_t u8 = 0;
  EXPECT_EQ(0u, convert("255", &u8));
  EXPECT_EQ(255, u8);
  EXPECT_EQ(1u, convert("256", &u8));
  EXPECT_EQ(2701, lastError());

  int8_t i8 = 0;
  EXPECT_EQ(0u, convert("-128", &i8));
  EXPECT_EQ(-128, i8);
  EXPECT_EQ(0u, convert("127", &i8));
  EXPECT_EQ(1u, convert("128", &i8));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(1u, convert("-129", &i8));
  EXPECT_EQ(127, i8);
}

TEST_F(ConvertTest, CountedFormsReadExactlyLengthBytes) {
  const char* text = "123456";
  uint16_t u16 = 0;
  EXPECT_EQ(0u, convert(text, 3, &u16));
  EXPECT_EQ(123, u16);
  int32_t i32 = 0;
  EXPECT_EQ(0u, convert("-98x", 3, &i32));
  EXPECT_EQ(-98, i32);
  uint32_t u32 = 0;
  EXPECT_EQ(0u, convert(text, 6, &u32));
  EXPECT_EQ(123456u, u32);
  VXSSIZE_T i64 = 0;
  EXPECT_EQ(0u, convert("-9223372036854775808!", 20, &i64));
  EXPECT_EQ(INT64_MIN, i64);
  VXSIZE_T u64 = 5;
  EXPECT_EQ(0u, convert(text, 0, &u64));
  EXPECT_EQ(0u, u64);
}

TEST_F(ConvertTest, CountedFormsApplyTheSameRules) {
  int32_t i32 = 0;
  EXPECT_EQ(1u, convert("-2147483648", 11, &i32));
  EXPECT_EQ(2701, lastError());
  uint32_t u32 = 0;
  EXPECT_EQ(1u, convert("-1", 2, &u32));
  EXPECT_EQ(2702, lastError());
  uint16_t u16 = 0;
  EXPECT_EQ(1u, convert("65536", 5, &u16));
  EXPECT_EQ(2701, lastError());
}

TEST_F(ConvertTest, CountedTextEndsAtEmbeddedNul) {
  const char text[] = {'1', '2', '\0', 'x', 'y'};
  VXSIZE_T v = 0;
  EXPECT_EQ(0u, convert(text, sizeof text, &v));
  EXPECT_EQ(12u, v);
}

TEST_F(ConvertTest, CountedTextUpTo87BytesFitsLongerFails) {
  std::string text(86, ' ');
  text += '7';
  VXSIZE_T v = 0;
  EXPECT_EQ(0u, convert(text.c_str(), text.size(), &v));
  EXPECT_EQ(7u, v);
  text = ' ' + text;
  v = 0;
  EXPECT_EQ(1u, convert(text.c_str(), text.size(), &v));
  EXPECT_EQ(2701, lastError());
  EXPECT_EQ(0u, v);
}

// ---- Floating point ----------------------------------------------------

std::string floatText(double value, int single) {
  char buffer[40];
  memset(buffer, 'X', sizeof buffer);
  uint16_t n = convertFloat(buffer, value, single);
  EXPECT_LT(n, sizeof buffer);
  return std::string(buffer, n);
}

TEST(ConvertFloat, PlainFormWithinTheDigitLimit) {
  EXPECT_EQ("123.456", floatText(123.456, 1));
  EXPECT_EQ("-42", floatText(-42.0, 0));
  EXPECT_EQ("1500", floatText(1500.0, 1));
  EXPECT_EQ("12345680", floatText(12345678.0, 1));
  EXPECT_EQ("123456800", floatText(123456789.0, 1));
  EXPECT_EQ(".333333333333333", floatText(1.0 / 3, 0));
  EXPECT_EQ("-.333333333333333", floatText(-1.0 / 3, 0));
  EXPECT_EQ(".0666666666666667", floatText(2.0 / 30, 0));
}

TEST(ConvertFloat, ValuesBelowOneHaveNoLeadingZero) {
  EXPECT_EQ(".5", floatText(0.5, 0));
  EXPECT_EQ(".001", floatText(0.001, 1));
  EXPECT_EQ("-.25", floatText(-0.25, 1));
}

TEST(ConvertFloat, ExponentFormBeyondTheLimit) {
  EXPECT_EQ("1.5E20", floatText(1.5e20, 0));
  EXPECT_EQ("1E-10", floatText(1e-10, 1));
  EXPECT_EQ("1.234568E9", floatText(1234567890.0, 1));
  EXPECT_EQ("3.33333333333333E-4", floatText(1e-3 / 3, 0));
  EXPECT_EQ("-1.79769313486232E308", floatText(-1.7976931348623157e308, 0));
}

TEST(ConvertFloat, ZeroIsASingleDigit) {
  EXPECT_EQ("0", floatText(0.0, 0));
  EXPECT_EQ("0", floatText(-0.0, 1));
}

TEST(ConvertFloat, NonFiniteValuesAreSpelledOut) {
  EXPECT_EQ("inf", floatText(HUGE_VAL, 0));
  EXPECT_EQ("-inf", floatText(-HUGE_VAL, 1));
}

TEST(ConvertFloat, DeliberateNoNulAfterTheText) {
  char buffer[40];
  memset(buffer, 'X', sizeof buffer);
  uint16_t n = convertFloat(buffer, 2.5, 0);
  EXPECT_EQ(std::string("2.5"), std::string(buffer, n));
  EXPECT_EQ('X', buffer[n]);
  memset(buffer, 'X', sizeof buffer);
  n = convertFloat(buffer, 0.0, 0);
  EXPECT_EQ(1, n);
  EXPECT_EQ('X', buffer[1]);
}

}  // namespace
