// The conversion results and their records, the code-point helpers judged
// by ICU's own macros, the UTF-8/UTF-16 edge rules, CharacterConverter's
// substitution modes and converter look-up, and the handle caches.
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "charset/charconv.h"
#include "charset/ktwchar.h"
#include "charset/ucnvconv.h"
#include "charset_support.h"
#include "containers/vxintcac.h"
#include "containers/vxstrcac.h"

namespace {

using vxtest::CharsetTest;

TEST_F(CharsetTest, ResultsMapToTheirRecords) {
  struct Row {
    UErrorCode icu;
    VxConvertReturn mapped;
    const char* icuRecord;
  };
  const Row rows[] = {
      {U_ZERO_ERROR, VX_CONVERT_OK, ""},
      {U_STRING_NOT_TERMINATED_WARNING, VX_CONVERT_TRUNCATED, "error 2737 HY000 60\n"},
      {U_BUFFER_OVERFLOW_ERROR, VX_CONVERT_TRUNCATED, "warning 2735 01004 4\n"},
      {U_ILLEGAL_CHAR_FOUND, VX_CONVERT_SUBSTITUTED, "warning 2736 01000 2\n"},
      {U_FILE_ACCESS_ERROR, VX_CONVERT_NOT_FOUND, "error 2739 HY000 60\n"},
      {U_INVALID_TABLE_FORMAT, VX_CONVERT_TABLE_INVALID, "error 2738 HY000 60\n"},
      {U_INVALID_TABLE_FILE, VX_CONVERT_TABLE_INVALID, "error 2738 HY000 60\n"},
      {U_INVALID_CHAR_FOUND, VX_CONVERT_FAILED, "error 2737 HY000 60\n"},
      {U_AMBIGUOUS_ALIAS_WARNING, VX_CONVERT_FAILED, "error 2737 HY000 60\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(u_errorName(row.icu));
    EXPECT_EQ(row.mapped, mapICUreturn(row.icu));
    EXPECT_EQ(row.icuRecord[0] == 'e' ? 1u : 0u, checkICUreturn(row.icu));
    EXPECT_EQ(row.icuRecord, records());
  }
  const char* ktRecords[] = {"",
                             "warning 2735 01004 4\n",
                             "warning 2736 01000 2\n",
                             "error 2737 HY000 60\n",
                             "error 2737 HY000 60\n",
                             "error 2738 HY000 60\n",
                             "error 2739 HY000 60\n"};
  for (int r = 0; r <= 6; ++r) {
    EXPECT_EQ(r >= 3 ? 1u : 0u, checkKTreturn(VxConvertReturn(r)));
    EXPECT_EQ(ktRecords[r], records());
    EXPECT_EQ(r <= 3 ? 17 : 0, setConversionReturnLength(VxConvertReturn(r), 17));
  }
}

// ktAppendUTF8 and UTF8CharFromUTF16Char against ICU's U8_APPEND_UNSAFE,
// and the packed UTF-16 form against U16_APPEND_UNSAFE, over every code
// point.
TEST(CodePoints, HelpersAgreeWithIcuOnEveryCodePoint) {
  for (UChar32 c = 0; c < 0x110000; ++c) {
    uint8_t expected[4] = {0, 0, 0, 0};
    int32_t n = 0;
    U8_APPEND_UNSAFE(expected, n, c);
    char actual[4] = {0, 0, 0, 0};
    ASSERT_EQ(n, ktAppendUTF8(actual, uint32_t(c)) - actual) << c;
    ASSERT_EQ(0, memcmp(expected, actual, 4)) << c;
    uint32_t packed;
    memcpy(&packed, expected, 4);
    ASSERT_EQ(packed, UTF8CharFromUTF16Char(uint32_t(c))) << c;
    if (c >= 0x10000) {
      ASSERT_EQ(uint32_t(U16_LEAD(c)) | (uint32_t(U16_TRAIL(c)) << 16),
                UTF16CharFromUTF8Char(uint32_t(c)));
    }
  }
  EXPECT_EQ(0xDC00D800u, UTF16CharFromUTF8Char(0x10000));
  EXPECT_EQ(0u, UTF16CharFromUTF8Char(0x110000));
  EXPECT_EQ(0x41u, UTF16CharFromUTF8Char(0x41));
}

// Upper case in place equals ICU's simple upper case for every BMP
// character whose upper case keeps its UTF-8 length; a supplementary
// character is re-encoded from its packed surrogate pair (intended).
TEST(CodePoints, UTF8UpperFollowsIcuAndKeepsItsOddity) {
  for (UChar32 c = 0x20; c < 0x10000; ++c) {
    if (U_IS_SURROGATE(c)) continue;
    char text[8] = {0};
    int32_t n = 0;
    U8_APPEND_UNSAFE(reinterpret_cast<uint8_t*>(text), n, c);
    UChar32 upper = u_toupper(c);
    char expected[8] = {0};
    int32_t m = 0;
    U8_APPEND_UNSAFE(reinterpret_cast<uint8_t*>(expected), m, upper);
    ktUTF8Upper(text);
    ASSERT_STREQ(m == n ? expected : std::string(text).c_str(), text) << c;
  }
  char deseret[] = "\xF0\x90\x90\xA8";  // U+10428, whose upper case is U+10400
  ktUTF8Upper(deseret);
  char packed[5] = {0};
  ktAppendUTF8(packed, UTF16CharFromUTF8Char(0x10428));
  EXPECT_STREQ(packed, deseret);
  char cut[] = "ab\xC3\xA9";  // the length stops inside the last character
  ktUTF8Upper(cut, 3);
  EXPECT_STREQ("AB\xC3\xA9", cut) << "nothing at or past the length changes";
}

TEST(Utf, EdgeRulesOfTheUtf16AndUtf8Forms) {
  char out[8];
  int64_t written = 0;
  UChar abc[] = {'a', 'b', 'c', 0};
  EXPECT_EQ(VX_CONVERT_TRUNCATED, ktUTF16ToUTF8(out, 3, abc, 3, &written, 0));  // no room for 0
  EXPECT_EQ(VX_CONVERT_TRUNCATED, ktUTF16ToUTF8ReqLen(out, 2, abc, kVxNullTerminated, &written, 0));
  EXPECT_EQ(3, written);
  EXPECT_STREQ("a", out);
  UChar swapped[] = {0x6100, 0x6200};
  EXPECT_EQ(VX_CONVERT_OK, ktUTF16ToUTF8(out, 8, swapped, 2, &written, 1));
  EXPECT_STREQ("ab", out);
  EXPECT_EQ(UChar('a'), swapped[0]) << "the caller's input stays swapped";
  UChar lone[] = {'a', 0xD800, 'b'};
  EXPECT_EQ(VX_CONVERT_FAILED, ktUTF16ToUTF8(out, 8, lone, 3, &written, 0));
  UChar units[8];
  EXPECT_EQ(VX_CONVERT_FAILED, ktUTF8ToUTF16(units, 8, "a\xC3", 2, &written, 0));
  EXPECT_EQ(VX_CONVERT_FAILED, ktUTF8ToUTF16(units, 8, "a", 1, nullptr, 0));
  EXPECT_EQ(VX_CONVERT_FAILED, ktUTF8ToUTF16(units, 8, nullptr, 1, &written, 0));
  EXPECT_EQ(VX_CONVERT_FAILED, ktUTF16ToUTF8(out, 8, abc, 3, nullptr, 0));
  EXPECT_EQ(VX_CONVERT_OK, ktUTF8ToUTF16(units, 8, "\xC3\xA9x", 3, &written, 1));
  EXPECT_EQ(UChar(0xE900), units[0]);
}

// Append_UTF8 has no one-byte form and writes negative values in four.
TEST(Utf, AppendUTF8KeepsItsOddities) {
  char bytes[8];
  EXPECT_EQ(2, Append_UTF8(bytes, 0x41) - bytes);
  EXPECT_EQ(4, Append_UTF8(bytes, -1) - bytes);
}

class ConverterTest : public CharsetTest {
 protected:
  void SetUp() override { ASSERT_EQ(0u, converter.initialize(1)); }
  CharacterConverter converter;
  char out[64];
  int64_t written = -1;
  int64_t consumed = -1;
};

// Threads, each with its own converter (and its own ASCII memo), round trip
// an ASCII and a non-ASCII text through Windows-31J, IBM037 and windows-1252 at once.
TEST(ThreadsConverting, EachThreadsConverterRoundTripsItsTexts) {
  const struct { int64_t codePage; std::string other; } pages[] = {
      {2024, "\xE6\x97\xA5\xE6\x9C\xAC"}, {2028, "caf\xC3\xA9"}, {2252, "\xE2\x82\xAC 5"}};
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 6; ++t) {
    threads.emplace_back([&, t] {
      CharacterConverter converter;
      char there[64], back[64];
      int64_t n = 0, m = 0;
      wrong += converter.initialize(4) != 0;
      for (int round = 0; round < 300; ++round) {
        const std::string text = round % 2 ? pages[t % 3].other : "plain ascii text";
        converter.ktUTF8ToAnsi(there, sizeof there, text.data(), int64_t(text.size()), &n, pages[t % 3].codePage);
        converter.ktAnsiToUTF8(back, sizeof back, there, n, &m, pages[t % 3].codePage);
        wrong += std::string(back, size_t(m)) != text;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, wrong.load());
}

TEST_F(ConverterTest, AsciiFillingTheCapacityGetsNoTerminator) {
  memset(out, 'x', sizeof out);
  EXPECT_EQ(0u, converter.ktCpgToCpg(out, 8, "abcdefgh", 8, &written, &consumed, 4, 106));
  EXPECT_EQ(8, written);
  EXPECT_EQ('x', out[8]);
  EXPECT_EQ("", records());
  EXPECT_EQ(0u, converter.ktCpgToCpg(out, 4, "abcdefgh", 8, &written, &consumed, 4, 106));
  EXPECT_EQ("warning 2735 01004 4\n", records());
  EXPECT_EQ(4, consumed);
}

// ISCII reads ASCII as it is but writes more than ASCII for it (a line end
// restarts the script), so it never takes the ASCII copy: ICU's bytes.
TEST_F(ConverterTest, IsciiIsNotCopiedAsAscii) {
  const char text[] = "one\ntwo";
  char icu[64];
  UErrorCode status = U_ZERO_ERROR;
  int32_t n = ucnv_convert("ISCII,version=0", "UTF-8", icu, sizeof icu, text, 7, &status);
  ASSERT_TRUE(U_SUCCESS(status) && n > 7);
  EXPECT_EQ(0u, converter.ktCpgToCpg(out, sizeof out, text, 7, &written, &consumed, "UTF-8",
                                     "ISCII,version=0"));
  EXPECT_EQ(std::string(icu, size_t(n)), std::string(out, size_t(written)));
}

TEST_F(ConverterTest, Utf8SourceIsCopiedAndCut) {
  memset(out, 'x', sizeof out);
  EXPECT_EQ(0u, converter.ktAnsiToUTF8(out, 3, "h\xC3\xA9llo", -1, &written, &consumed, 106));
  EXPECT_EQ(3, written);
  EXPECT_EQ('x', out[3]) << "nothing is written past the capacity";
  EXPECT_EQ(3, consumed);
  EXPECT_EQ("warning 2735 01004 4\n", records());
  const char utf16[] = "h\0\xE9\0";
  EXPECT_EQ(0u, converter.ktAnsiToUTF8(out, 64, utf16, 4, &written, &consumed, 1015));
  EXPECT_STREQ("h\xC3\xA9", out);
  EXPECT_EQ(4, consumed);
  memset(out, 'x', sizeof out);
  EXPECT_EQ(0u, converter.ktUTF8ToAnsi(out, 64, "ab\xC3\xA9", 4, &written, &consumed, 2252));
  EXPECT_STREQ("ab\xE9", out) << "a conversion ends with a terminator when room remains";
  memset(out, 'x', sizeof out);
  EXPECT_EQ(0u, converter.ktUTF8ToAnsi(out, 64, "ab", 2, &written, &consumed, 2252));
  EXPECT_STREQ("ab", out) << "so does one copied as ASCII without ICU";
  EXPECT_EQ(1u, converter.ktAnsiToUTF8(out, 64, nullptr, 3, &written, &consumed, 106));  // no input
  EXPECT_EQ(1u, converter.ktAnsiToUTF8(out, 0, "abc", 3, &written, &consumed, 106));    // no room
}

TEST_F(ConverterTest, SubstitutionModes) {
  const char* expected[] = {"", "error 2737 HY000 60\n", "warning 2736 01000 2\n"};
  for (int32_t mode = 0; mode <= 2; ++mode) {
    converter.substitutionMode = mode;
    EXPECT_EQ(mode == 1 ? 1u : 0u,
              converter.ktUTF8ToAnsi(out, 64, "a\xE2\x82\xAC", 4, &written, &consumed, 4));
    EXPECT_EQ(expected[mode], records()) << mode;
    EXPECT_EQ(0u, converter.ktUTF8ToAnsi(out, 64, "plain", 5, &written, &consumed, 4));
    EXPECT_EQ("", records());
  }
}

// Failures are not remembered: each request for a converter ICU lacks
// opens again and files again, with the number or the name in the text.
TEST_F(ConverterTest, MissingConverterFailsEachTimeWithItsName) {
  UConverter* handle = nullptr;
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(1u, converter.getHandle(2000005040, &handle));
    EXPECT_NE(std::string::npos, records(true).find("error 2739 HY000 60 [") );
  }
  EXPECT_EQ(1u, converter.getHandle("td_latin1_0a", 12, &handle));
  EXPECT_NE(std::string::npos, records(true).find(" td_latin1_0a]"));
  EXPECT_EQ(1u, converter.getHandle(2000000001, &handle));
  EXPECT_NE(std::string::npos, records(true).find(" 2000000001]"));
}

TEST_F(ConverterTest, LookupsReuseOneConverterPerCodePage) {
  UConverter* first = nullptr;
  UConverter* again = nullptr;
  UConverter* other = nullptr;
  ASSERT_EQ(0u, converter.getHandle(4, &first));
  ASSERT_EQ(0u, converter.getHandle(106, &other));
  ASSERT_EQ(0u, converter.getHandle(4, &again));
  EXPECT_EQ(first, again);
  EXPECT_NE(first, other);
  ASSERT_EQ(0u, converter.getHandle("IBM037", 6, &first));
  ASSERT_EQ(0u, converter.getHandle("IBM037x", 6, &again));
  EXPECT_EQ(first, again);
  EXPECT_EQ(1, converter.ktMaxCharSize(4));
  EXPECT_EQ(1, VerifyCodePage(2028));
  EXPECT_EQ(0, VerifyCodePage(2000005039));
  EXPECT_EQ(0, ktMaxCharSize(int64_t(2000005039)));
  EXPECT_EQ(3, ktMaxCharSize(int64_t(106)));  // the converter it opens is closed again
  ASSERT_EQ(0u, converter.initialize(2));      // starts over, closing what it held
  ASSERT_EQ(0u, converter.getHandle(4, &again));
  EXPECT_EQ(1, converter.ktMaxCharSize(4));
}

UConverter* openConverter(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  return ucnv_open(name, &status);
}

TEST(HandleCaches, GrowByDoublingAndFindTheFirstMatch) {
  VxIntHandleCache numbers;
  ASSERT_EQ(0u, numbers.initialize(1));
  UConverter* a = openConverter("UTF-8");
  UConverter* b = openConverter("IBM037");
  ASSERT_EQ(0u, numbers.addAssoc(106, a));
  ASSERT_EQ(0u, numbers.addAssoc(106, b));
  EXPECT_EQ(2u, numbers.getCapacity());
  EXPECT_EQ(a, numbers.getHandleForKey(106));
  EXPECT_EQ(nullptr, numbers.getHandleForKey(4));

  VxStrHandleCache names;
  ASSERT_EQ(0u, names.initialize(1));
  unsigned char* abc = static_cast<unsigned char*>(malloc(3));
  unsigned char* ab = static_cast<unsigned char*>(malloc(2));
  memcpy(abc, "abc", 3);
  memcpy(ab, "ab", 2);
  UConverter* x = openConverter("UTF-8");
  UConverter* y = openConverter("IBM037");
  ASSERT_EQ(0u, names.addAssoc(abc, 3, y));
  ASSERT_EQ(0u, names.addAssoc(ab, 2, x));
  const unsigned char* key = reinterpret_cast<const unsigned char*>("abc");
  EXPECT_EQ(x, names.getHandleForKey(&key, 2));
  EXPECT_EQ(ab, key) << "the caller's key is replaced by the cached one";
  names.setEnableFallbackMapping(1);
  EXPECT_TRUE(ucnv_usesFallback(y));
}

}  // namespace
