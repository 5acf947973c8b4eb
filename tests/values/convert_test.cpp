#include "values/convert.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "foundation/vxdbcs.h"
#include "foundation/vxerror.h"

namespace {

// ---- Number to text ----------------------------------------------------

// Every power of ten and its predecessor, both ends of both types, and the
// negated powers: each written as std::to_string writes it. (The fuzz
// target convert_fuzz checks the NUL after the digits.)
TEST(ConvertToText, WritesWhatToStringWrites) {
  char u[32], s[32];
  VXSIZE_T power = 1;
  for (int i = 0; i < 20; ++i, power *= 10)
    for (VXSIZE_T v : {power, power - 1, 0 - power, VXSIZE_T(1) << 63, (VXSIZE_T(1) << 63) - 1})
      EXPECT_EQ(std::to_string(v) + " " + std::to_string(VXSSIZE_T(v)),
                std::string(u, convert(u, v)) + " " + std::string(s, convert(s, VXSSIZE_T(v))));
}

// A field of width blanks-or-digits and a NUL; the count is of the digits.
// Forms: 0 unsigned right-justified, 1 unsigned left, 2 signed right, 3
// signed left.
TEST(ConvertToText, FieldsPadWithBlanksAndStarAValueTooLong) {
  const struct { uint16_t width; int64_t value; int form; const char* text; uint16_t count; } cases[] = {
      {5, 123, 0, "  123", 3}, {5, 123, 1, "123  ", 3}, {5, 12345, 0, "12345", 5}, {7, 42, 2, "     42", 2},
      // Too long: stars fill all but the last position and the count is 0.
      {3, 1234, 0, "** ", 0}, {0, 5, 0, "", 0}, {4, -1234, 3, "-** ", 0}, {0, -5, 2, "", 0},
      // At most ten digit positions, even in wider fields; eleven digits do
      // not fit, and the stars cover the ten-digit window only.
      {12, 1234567890, 0, "  1234567890", 10}, {12, 1234567890, 1, "1234567890  ", 10}, {1, 0, 0, " ", 0},
      {15, 12345678901, 0, "     ********* ", 0}, {15, 12345678901, 1, "*********      ", 0}, {5, 0, 1, "     ", 0},
      // A negative value's sign takes a byte and is not counted. Deliberate:
      // a value of 0 writes no digit, so the field stays blank (rows above
      // and at the end).
      {5, -12, 2, "  -12", 2}, {5, -12, 3, "-12  ", 2}, {5, -1234, 2, "-1234", 4}, {5, 0, 3, "     ", 0},
      {11, -9223372036LL, 3, "-9223372036", 10}, {12, 0, 2, "            ", 0},
  };
  for (const auto& c : cases) {
    std::string buffer(64, 'X');
    uint16_t n = c.form < 2 ? convert(&buffer[0], c.width, VXSIZE_T(c.value), c.form == 1)
                            : convert(&buffer[0], c.width, VXSSIZE_T(c.value), c.form == 3);
    EXPECT_EQ(std::make_pair(std::string(c.text), c.count), std::make_pair(std::string(buffer.c_str()), n))
        << c.width << " " << c.value << " form " << c.form;
  }
}

// Seven or fifteen significant digits, plain or exponent form, no "0"
// before the point; deliberately without a NUL after the text.
TEST(ConvertToText, FloatIsPlainOrExponentFormWithoutLeadingZero) {
  const struct { double value; int single; const char* text; } cases[] = {
      {123.456, 1, "123.456"}, {-42.0, 0, "-42"}, {1500.0, 1, "1500"}, {123456789.0, 1, "123456800"},
      {1.0 / 3, 0, ".333333333333333"}, {-1.0 / 3, 0, "-.333333333333333"}, {2.0 / 30, 0, ".0666666666666667"},
      {0.5, 0, ".5"}, {0.001, 1, ".001"}, {-0.25, 1, "-.25"}, {1.5e20, 0, "1.5E20"}, {1e-10, 1, "1E-10"},
      {1234567890.0, 1, "1.234568E9"}, {1e-3 / 3, 0, "3.33333333333333E-4"}, {0.0, 0, "0"}, {-0.0, 1, "0"},
      {-1.7976931348623157e308, 0, "-1.79769313486232E308"}, {HUGE_VAL, 0, "inf"}, {-HUGE_VAL, 1, "-inf"},
  };
  // The buffer is refilled with "X" before each call (C++17 sequences the
  // object of a member call before its arguments).
  std::string out;
  for (const auto& c : cases)
    EXPECT_EQ(c.text + std::string("X"), out.assign(40, 'X').substr(0, convertFloat(&out[0], c.value, c.single) + 1));
}

// ---- Text to number ----------------------------------------------------

// Converts text (NUL-terminated, or counted with a digit after it that
// must not be read; the counted forms share one body, which the fuzz
// target convert_fuzz runs for each of them) into a target holding 3: status 0 must store value,
// status 1 must file error (read from an error list installed for the
// call) and leave the target alone. A NUL-terminated text is read at `at`
// when that copy is given.
template <typename T>
void expectConvert(const std::string& text, bool counted, unsigned status, T value, uint16_t error, const char* at = nullptr) {
  SCOPED_TRACE("\"" + text + (counted ? "\" counted" : "\""));
  VxErrorList errors(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&errors);
  T target = 3;
  unsigned got = counted ? 1 : convert(at ? at : text.c_str(), &target);
  if constexpr (std::is_same<T, VXSIZE_T>()) got = counted ? convert((text + "9").data(), text.size(), &target) : got;
  // (status, target, error number)
  EXPECT_EQ(std::make_tuple(status, status == 0 ? value : T(3), status == 0 ? 0 : error),
            std::make_tuple(got, target, VxErrorKeeper::getLastErrorNumber()));
  VxErrorKeeper::giveUpErrorList();
}

// Plain digits with or without "-" are judged by std::from_chars: a value
// in range, 2701 out of range, 2702 for a minus an unsigned form refuses.
template <typename T, typename... More>
void expectLikeFromChars(const std::string& text) {
  if constexpr (sizeof...(More) > 0) expectLikeFromChars<More...>(text);
  T value{};
  auto r = std::from_chars(text.data(), text.data() + text.size(), value);
  bool ok = r.ec == std::errc() && r.ptr == text.data() + text.size();
  uint16_t error = r.ec == std::errc::result_out_of_range ? 2701 : 2702;
  // Deliberate: the 32-bit signed form refuses its most negative value.
  if (std::is_same<T, int32_t>() && text == "-2147483648") ok = false, error = 2701;
  expectConvert<T>(text, false, ok ? 0 : 1, value, error);
}

// Each magnitude next to a bound of some target type, both signs, every form.
TEST(ConvertText, EveryFormTakesItsRangeLikeFromChars) {
  std::vector<std::string> magnitudes = {"0", "000000000000000000000000042", "18446744073709551609",
                                         "18446744073709551615", "18446744073709551616", "18446744073709551620"};
  for (int bits : {7, 8, 15, 16, 31, 32, 63})
    for (VXSIZE_T m = (VXSIZE_T(1) << bits) - 1, k = 0; k < 3; ++k) magnitudes.push_back(std::to_string(m + k));
  for (const std::string& magnitude : magnitudes)
    for (const std::string& text : {magnitude, "-" + magnitude})
      expectLikeFromChars<VXSIZE_T, VXSSIZE_T, int32_t, uint32_t, uint16_t, int16_t, uint8_t, int8_t>(text);
}

// Texts are read a word of eight bytes at a time where the word stays in
// its page. Digit runs of 0 to 20 digits, then the NUL or any other byte,
// end 0 to 9 bytes before an unreadable page, digits after their NUL: the
// digits overflow (2701), else the byte is judged (2702 unless the NUL or
// white space), and nothing after the NUL counts.
TEST(ConvertText, DigitRunsReadTheSameAtEveryLengthStopByteAndPageEnd) {
  const size_t page = 4096;  // the page size of x86-64 Linux
  char* area = static_cast<char*>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_TRUE(area != MAP_FAILED && mprotect(area + page, page, PROT_NONE) == 0);
  for (size_t n = 0; n <= 20; ++n) {
    VXSIZE_T value = 0;
    std::string run = std::string("98765432109876543210").substr(20 - n);
    bool fits = n == 0 || std::from_chars(run.data(), run.data() + n, value).ec == std::errc();
    for (int stop = 0; stop < 256; ++stop) {
      if ((stop >= '0' && stop <= '9') || (n == 0 && stop == '+')) continue;  // more digits; a sign
      std::string text = run + std::string(stop != 0, char(stop));
      uint16_t error = !fits ? 2701 : *vxSkipBlanks(text.c_str() + n) != '\0' ? 2702 : 0;
      for (size_t gap = 0; gap <= 9; ++gap) {
        char* nul = static_cast<char*>(memset(area + page - 26 - gap, '9', 26 + gap)) + 25;
        memcpy(nul - text.size(), text.c_str(), text.size() + 1);
        expectConvert<VXSIZE_T>(text, false, error != 0, value, error, nul - text.size());
      }
    }
  }
  munmap(area, 2 * page);
}

// What std::from_chars does not judge: blanks and signs (the fuzz target
// convert_fuzz checks those rules on every form), the deliberate oddities,
// and the limits of the counted forms.
TEST(ConvertText, OdditiesAndCountedLimits) {
  // Deliberate: a text without digits is 0.
  expectConvert<VXSIZE_T>(" + + ", false, 0, 0, 0);
  // Deliberate: in the 32-bit signed form a second "-" cancels the first;
  // the inner value passes the range check and the outer sign wraps it.
  expectConvert<int32_t>(" - -5", false, 0, 5, 0);
  expectConvert<int32_t>("--2147483648", false, 0, INT32_MIN, 0);
  expectConvert<int32_t>("---5", false, 1, 0, 2702);
  // A counted text ends at a NUL and must fit 87 bytes.
  expectConvert<VXSIZE_T>(std::string("12\0xy", 5), true, 0, 12, 0);
  expectConvert<VXSIZE_T>(std::string(86, ' ') + '7', true, 0, 7, 0);
  expectConvert<VXSIZE_T>(std::string(87, ' ') + '7', true, 1, 0, 2701);
  // The 32-bit unsigned form with a null target only validates.
  EXPECT_EQ(0u, convert("123", static_cast<uint32_t*>(nullptr)));
  EXPECT_EQ(1u, convert("12a", static_cast<uint32_t*>(nullptr)));
}

}  // namespace
