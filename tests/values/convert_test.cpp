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

  // Converts text (or its first length bytes) into a target of type T that
  // holds 3 beforehand: status 0 must store value; status 1 must file error
  // and leave the target untouched.
  template <typename T>
  void expectText(const char* text, unsigned status, T value, uint16_t error = 0) {
    T v = 3;
    unsigned got = convert(text, &v);
    check(text, got, v, status, value, error);
  }
  template <typename T>
  void expectCounted(const char* text, VXSIZE_T length, unsigned status, T value, uint16_t error = 0) {
    T v = 3;
    unsigned got = convert(text, length, &v);
    check(text, got, v, status, value, error);
  }
  template <typename T>
  void check(const char* text, unsigned got, T v, unsigned status, T value, uint16_t error) {
    SCOPED_TRACE(std::string("\"") + text + "\"");
    EXPECT_EQ(status, got);
    EXPECT_EQ(status == 0 ? value : T(3), v);
    if (status != 0) {
      EXPECT_EQ(error, lastError());
    }
  }

  VxErrorList errors_{nullptr, 1};
};

// ---- Number to text ----------------------------------------------------

template <typename T>
std::string plain(T value, uint16_t* count) {
  char buffer[32];
  memset(buffer, 'X', sizeof buffer);
  *count = convert(buffer, value);
  return buffer;
}

TEST(ConvertToText, WritesEveryDigitAndCountsThemWithTheMinusSign) {
  auto expectText = [](auto v) {
    uint16_t n = 0;
    EXPECT_EQ(std::to_string(v), plain(v, &n));
    EXPECT_EQ(std::to_string(v).size(), n);
  };
  for (VXSIZE_T v : {VXSIZE_T(0), VXSIZE_T(7), VXSIZE_T(1000000), VXSIZE_T(UINT64_MAX)}) expectText(v);
  for (VXSSIZE_T v : {VXSSIZE_T(-5), VXSSIZE_T(42), VXSSIZE_T(INT64_MIN), VXSSIZE_T(INT64_MAX)}) expectText(v);
  // Every power of ten and its predecessor.
  VXSIZE_T power = 1;
  for (int i = 0; i < 20; ++i, power *= 10) {
    expectText(power);
    expectText(power - 1);
  }
}

template <typename T>
void expectField(uint16_t width, T value, bool left, const char* text, int count) {
  SCOPED_TRACE(std::to_string(width) + (left ? " left " : " right ") + std::to_string(value));
  char buffer[64];
  memset(buffer, 'X', sizeof buffer);
  uint16_t n = convert(buffer, width, value, left);
  EXPECT_EQ('\0', buffer[width]);
  EXPECT_EQ(text, std::string(buffer, width));
  if (count >= 0) {
    EXPECT_EQ(count, n);
  }
}

TEST(ConvertField, PadsWithBlanksAndStarsAFieldTooSmall) {
  struct Case {
    uint16_t width;
    VXSIZE_T value;
    bool left;
    const char* text;
    int count;  // -1: not checked
  } cases[] = {
      {5, 123, false, "  123", 3},
      {5, 123, true, "123  ", 3},
      {5, 12345, false, "12345", -1},
      // Too long: stars fill all but the last position and the count is 0.
      {3, 1234, false, "** ", 0},
      {3, 1234, true, "** ", 0},
      // At most ten digit positions, even in wider fields; eleven digits do
      // not fit, and the stars cover the ten-digit window only.
      {12, 1234567890, false, "  1234567890", -1},
      {12, 1234567890, true, "1234567890  ", -1},
      {15, 123, false, "            123", -1},
      {15, 12345678901ULL, false, "     ********* ", 0},
      {15, 12345678901ULL, true, "*********      ", 0},
      {0, 5, false, "", 0},
  };
  for (const Case& c : cases) expectField(c.width, c.value, c.left, c.text, c.count);
}

TEST(ConvertField, NegativeValueSignTakesAByteAndIsNotCounted) {
  struct Case {
    uint16_t width;
    VXSSIZE_T value;
    bool left;
    const char* text;
    int count;
  } cases[] = {
      {5, -12, false, "  -12", 2},   {5, -12, true, "-12  ", 2},
      {5, -1234, false, "-1234", 4}, {4, -1234, true, "-** ", 0},
      {11, -9223372036LL, true, "-9223372036", -1},
      {0, -5, false, "", 0},
  };
  for (const Case& c : cases) expectField(c.width, c.value, c.left, c.text, c.count);
}

TEST(ConvertField, DeliberateZeroValueLeavesFieldBlank) {
  for (uint16_t width : {1, 5, 12}) {
    for (bool left : {false, true}) {
      expectField(width, VXSIZE_T(0), left, std::string(width, ' ').c_str(), 0);
      expectField(width, VXSSIZE_T(0), left, std::string(width, ' ').c_str(), -1);
    }
  }
}

// ---- Text to number ----------------------------------------------------

TEST_F(ConvertTest, UnsignedRangeBlanksPlusSignsAndFailures) {
  expectText<VXSIZE_T>("18446744073709551615", 0, UINT64_MAX);
  expectText<VXSIZE_T>("0", 0, 0);
  expectText<VXSIZE_T>("000000000000000000000000042", 0, 42);
  // White space and plus signs are skipped in any mix.
  expectText<VXSIZE_T>(" 42 ", 0, 42);
  expectText<VXSIZE_T>("+ +5", 0, 5);
  expectText<VXSIZE_T>("\t+\n 17\t\n", 0, 17);
  expectText<VXSIZE_T>("18446744073709551616", 1, 0, 2701);
  expectText<VXSIZE_T>("99999999999999999999999", 1, 0, 2701);
  // Overflow is found before a later bad character.
  expectText<VXSIZE_T>("184467440737095516160x", 1, 0, 2701);
  for (const char* bad : {"42x", "12 34", "-1", "4+", "0x10"}) expectText<VXSIZE_T>(bad, 1, 0, 2702);
  for (VXSIZE_T expected = UINT64_MAX - 20; expected != 0; ++expected)
    expectText<VXSIZE_T>(std::to_string(expected).c_str(), 0, expected);
}

TEST_F(ConvertTest, DeliberateTextWithoutDigitsIsZero) {
  for (const char* text : {"", "   ", "+", " + + ", "\t"}) {
    expectText<VXSIZE_T>(text, 0, 0);
    expectText<VXSSIZE_T>(text, 0, 0);
  }
  expectText<VXSSIZE_T>("-", 0, 0);
  EXPECT_EQ(0u, lastError());
}

TEST_F(ConvertTest, SignedTakesBothEndsAndOnlyOneMinus) {
  expectText<VXSSIZE_T>("-9223372036854775808", 0, INT64_MIN);
  expectText<VXSSIZE_T>("9223372036854775807", 0, INT64_MAX);
  expectText<VXSSIZE_T>("  - 12 ", 0, -12);
  expectText<VXSSIZE_T>("-+12", 0, -12);
  for (const char* big : {"9223372036854775808", "-9223372036854775809", "18446744073709551615"})
    expectText<VXSSIZE_T>(big, 1, 0, 2701);
  expectText<VXSSIZE_T>("--5", 1, 0, 2702);
  expectText<VXSSIZE_T>("+-5", 1, 0, 2702);
}

TEST_F(ConvertTest, DeliberateSigned32RefusesMostNegativeValue) {
  expectText<int32_t>("-2147483648", 1, 0, 2701);
  expectText<int32_t>("-2147483647", 0, -2147483647);
  expectText<int32_t>("2147483647", 0, 2147483647);
  expectText<int32_t>("2147483648", 1, 0, 2701);
}

TEST_F(ConvertTest, DeliberateSigned32SecondMinusCancelsTheFirst) {
  expectText<int32_t>("--5", 0, 5);
  expectText<int32_t>(" - -5", 0, 5);
  // The inner value passes the range check and the outer sign wraps it.
  expectText<int32_t>("--2147483648", 0, INT32_MIN);
  expectText<int32_t>("---5", 1, 0, 2702);
}

TEST_F(ConvertTest, NarrowFormsCheckTheirBounds) {
  expectText<uint32_t>(" -0", 1, 0, 2702);
  expectText<uint32_t>("4294967296", 1, 0, 2701);
  expectText<uint32_t>("4294967295", 0, 4294967295u);
  expectText<uint16_t>("65535", 0, 65535);
  expectText<uint16_t>("65536", 1, 0, 2701);
  expectText<uint16_t>("-1", 1, 0, 2702);
  expectText<int16_t>("-32768", 0, -32768);
  expectText<int16_t>("32767", 0, 32767);
  expectText<int16_t>("-32769", 1, 0, 2701);
  expectText<int16_t>("32768", 1, 0, 2701);
  expectText<uint8_t>("255", 0, 255);
  expectText<uint8_t>("256", 1, 0, 2701);
  expectText<int8_t>("-128", 0, -128);
  expectText<int8_t>("127", 0, 127);
  expectText<int8_t>("128", 1, 0, 2701);
  expectText<int8_t>("-129", 1, 0, 2701);
}

TEST_F(ConvertTest, Unsigned32WithNullTargetOnlyValidates) {
  EXPECT_EQ(0u, convert("123", static_cast<uint32_t*>(nullptr)));
  EXPECT_EQ(1u, convert("12a", static_cast<uint32_t*>(nullptr)));
  EXPECT_EQ(2702, lastError());
}

TEST_F(ConvertTest, CountedFormsReadExactlyLengthBytesByTheSameRules) {
  expectCounted<uint16_t>("123456", 3, 0, 123, 0);
  expectCounted<int32_t>("-98x", 3, 0, -98, 0);
  expectCounted<uint32_t>("123456", 6, 0, 123456u, 0);
  expectCounted<VXSSIZE_T>("-9223372036854775808!", 20, 0, INT64_MIN, 0);
  expectCounted<VXSIZE_T>("123456", 0, 0, 0, 0);
  expectCounted<int32_t>("-2147483648", 11, 1, 0, 2701);
  expectCounted<uint32_t>("-1", 2, 1, 0, 2702);
  expectCounted<uint16_t>("65536", 5, 1, 0, 2701);
  // The text ends at an embedded NUL.
  const char text[] = {'1', '2', '\0', 'x', 'y'};
  expectCounted<VXSIZE_T>(text, sizeof text, 0, 12, 0);
  // Up to 87 bytes fit; a longer text fails.
  std::string fits = std::string(86, ' ') + '7';
  expectCounted<VXSIZE_T>(fits.c_str(), fits.size(), 0, 7, 0);
  std::string tooLong = ' ' + fits;
  expectCounted<VXSIZE_T>(tooLong.c_str(), tooLong.size(), 1, 0, 2701);
}

// ---- Floating point ----------------------------------------------------

TEST(ConvertFloat, PlainOrExponentFormWithoutLeadingZero) {
  struct Case {
    double value;
    int single;
    const char* text;
  } cases[] = {
      // Plain within the digit limit; below one without a leading zero.
      {123.456, 1, "123.456"}, {-42.0, 0, "-42"}, {1500.0, 1, "1500"},
      {12345678.0, 1, "12345680"}, {123456789.0, 1, "123456800"},
      {1.0 / 3, 0, ".333333333333333"}, {-1.0 / 3, 0, "-.333333333333333"},
      {2.0 / 30, 0, ".0666666666666667"}, {0.5, 0, ".5"}, {0.001, 1, ".001"}, {-0.25, 1, "-.25"},
      // Exponent form beyond the limit.
      {1.5e20, 0, "1.5E20"}, {1e-10, 1, "1E-10"}, {1234567890.0, 1, "1.234568E9"},
      {1e-3 / 3, 0, "3.33333333333333E-4"}, {-1.7976931348623157e308, 0, "-1.79769313486232E308"},
      // Zero is a single digit; non-finite values are spelled out.
      {0.0, 0, "0"}, {-0.0, 1, "0"}, {HUGE_VAL, 0, "inf"}, {-HUGE_VAL, 1, "-inf"},
  };
  for (const Case& c : cases) {
    char buffer[40];
    memset(buffer, 'X', sizeof buffer);
    uint16_t n = convertFloat(buffer, c.value, c.single);
    ASSERT_LT(n, sizeof buffer) << c.text;
    EXPECT_EQ(c.text, std::string(buffer, n));
  }
}

TEST(ConvertFloat, DeliberateNoNulAfterTheText) {
  char buffer[40];
  for (double value : {2.5, 0.0}) {
    memset(buffer, 'X', sizeof buffer);
    uint16_t n = convertFloat(buffer, value, 0);
    EXPECT_EQ(value == 0.0 ? "0" : "2.5", std::string(buffer, n));
    EXPECT_EQ('X', buffer[n]);
  }
}

}  // namespace
