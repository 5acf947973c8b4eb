// The conversions judged by glibc's iconv: random valid text in eleven code
// pages, converted by CharacterConverter to and from UTF-8 and UTF-16 in
// every form, must give iconv's bytes. The text is drawn from the
// characters both libraries map the same way; the characters where they
// differ by design are named per code page below, and any other difference
// fails the test.
#include <gtest/gtest.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "charset/charconv.h"
#include "charset/ucnv.h"
#include "foundation/vxerror.h"

namespace {

// A code page, its iconv name, and the characters glibc maps (round trip)
// that ICU maps to other bytes or not at all. Characters only ICU maps
// (vendor extensions, user-defined areas) are listed in docs/CODEPAGES.md
// and not checked: no glibc text contains them.
struct CodePage {
  int64_t iana;
  const char* glibc;
  std::vector<std::pair<UChar32, UChar32>> differ;  // inclusive ranges
};

const std::vector<CodePage>& codePages() {
  static const std::vector<CodePage> pages = {
      {4, "ISO-8859-1", {}},
      {111, "ISO-8859-15", {}},
      {2252, "WINDOWS-1252", {}},
      {2251, "WINDOWS-1251", {}},
      {2028, "IBM037", {}},
      {2084, "KOI8-R", {}},
      // IBM's table swaps three controls; glibc keeps JIS-Roman yen and
      // overline and the JIS forms that ICU takes in their Microsoft shapes.
      {2024, "SHIFT_JIS",
       {{0x1A, 0x1A}, {0x1C, 0x1C}, {0x7F, 0x7F}, {0xA2, 0xA3}, {0xA5, 0xA5}, {0xAC, 0xAC},
        {0x2016, 0x2016}, {0x203E, 0x203E}, {0x2212, 0x2212}, {0x301C, 0x301C}}},
      // As Shift_JIS, plus the JIS X 0212 kanji and numero sign, which ICU
      // takes from the IBM extension rows instead.
      {18, "EUC-JP",
       {{0xA2, 0xA3}, {0xA6, 0xA6}, {0xAC, 0xAC}, {0x2016, 0x2016}, {0x2116, 0x2116},
        {0x2212, 0x2212}, {0x301C, 0x301C}, {0x4E00, 0x9FFF}, {0xFF5E, 0xFF5E}}},
      // Characters whose GB18030 code changed between the 2005 and 2022
      // editions (glibc follows 2022, this ICU 2005).
      {114, "GB18030",
       {{0x9FB4, 0x9FBB}, {0xFE10, 0xFE19}, {0x20087, 0x20087}, {0x20089, 0x20089},
        {0x200CC, 0x200CC}, {0x215D7, 0x215D7}, {0x2298F, 0x2298F}, {0x241FE, 0x241FE}}},
      // Four box-drawing characters that Big5 encodes twice.
      {2026, "BIG5", {{0x2550, 0x2550}, {0x255E, 0x255E}, {0x2561, 0x2561}, {0x256A, 0x256A}}},
      // Two C1 controls and three later additions (registered sign, euro,
      // circled hangul ieung u) that glibc's table has and ICU's does not.
      {38, "EUC-KR", {{0x8E, 0x8F}, {0xAE, 0xAE}, {0x20AC, 0x20AC}, {0x327E, 0x327E}}},
  };
  return pages;
}

bool listed(const CodePage& page, UChar32 c) {
  for (const auto& r : page.differ) {
    if (c >= r.first && c <= r.second) return true;
  }
  return false;
}

// Whole-string iconv; false when glibc rejects the input. Descriptors are
// opened once per pair of names (the probe converts one character at a
// time) and reset before each use.
struct IconvDescriptors {
  ~IconvDescriptors() {
    for (auto& entry : open) {
      if (entry.second != iconv_t(-1)) iconv_close(entry.second);
    }
  }
  std::map<std::pair<std::string, std::string>, iconv_t> open;
};

bool viaIconv(const char* to, const char* from, const std::string& in, std::string& out) {
  static IconvDescriptors descriptors;
  iconv_t& cd = descriptors.open[{to, from}];
  if (cd == nullptr) cd = iconv_open(to, from);
  if (cd == iconv_t(-1)) return false;
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  out.assign(in.size() * 4 + 16, '\0');
  char* src = const_cast<char*>(in.data());
  size_t srcLeft = in.size();
  char* dst = &out[0];
  size_t dstLeft = out.size();
  bool ok = iconv(cd, &src, &srcLeft, &dst, &dstLeft) != size_t(-1) &&
            iconv(cd, nullptr, nullptr, &dst, &dstLeft) != size_t(-1);
  out.resize(out.size() - dstLeft);
  return ok;
}

// "" when equal, else where and how a and b first differ (whole texts of
// thousands of bytes would bury the report).
std::string difference(const std::string& expected, const std::string& actual) {
  if (expected == actual) return "";
  size_t i = 0;
  while (i < expected.size() && i < actual.size() && expected[i] == actual[i]) ++i;
  char line[160];
  snprintf(line, sizeof line, "sizes %zu/%zu, first difference at byte %zu: %02x/%02x", expected.size(),
           actual.size(), i, i < expected.size() ? unsigned(uint8_t(expected[i])) : 0u,
           i < actual.size() ? unsigned(uint8_t(actual[i])) : 0u);
  return line;
}

std::string utf32(const std::vector<UChar32>& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * 4);
}

// The characters both libraries round-trip to the same bytes, and the ones
// where glibc round-trips and ICU does not agree.
void probeRepertoire(const CodePage& page, std::vector<UChar32>& agreed,
                     std::vector<UChar32>& differing) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* icu = ucnv_open(ucnvIANAidToICUname(page.iana), &status);
  ASSERT_TRUE(U_SUCCESS(status)) << page.glibc;
  ucnv_setFromUCallBack(icu, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setToUCallBack(icu, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  UChar32 limit = page.iana == 114 ? 0x30000 : 0x10000;
  for (UChar32 c = 1; c < limit; ++c) {
    if (c >= 0xD800 && c < 0xE000) continue;
    std::string one = utf32({c});
    std::string gBytes;
    std::string back;
    bool gOk = viaIconv(page.glibc, "UTF-32LE", one, gBytes) &&
               viaIconv("UTF-32LE", page.glibc, gBytes, back) && back == one;
    UChar units[2];
    int32_t n = 0;
    U16_APPEND_UNSAFE(units, n, c);
    char iBytes[16];
    status = U_ZERO_ERROR;
    int32_t m = ucnv_fromUChars(icu, iBytes, sizeof iBytes, units, n, &status);
    UChar decoded[4];
    UErrorCode again = U_ZERO_ERROR;
    bool iOk = U_SUCCESS(status) &&
               ucnv_toUChars(icu, decoded, 4, iBytes, m, &again) == n && U_SUCCESS(again) &&
               memcmp(decoded, units, size_t(n) * 2) == 0;
    if (gOk && iOk && gBytes == std::string(iBytes, size_t(m))) {
      agreed.push_back(c);
    } else if (gOk) {
      differing.push_back(c);
    }
  }
  ucnv_close(icu);
}

class IconvDifferential : public ::testing::TestWithParam<CodePage> {
 protected:
  void SetUp() override {
    ASSERT_EQ(0u, converter.initialize(4));
    VxErrorKeeper::clearAllErrors();
  }
  CharacterConverter converter;
};

// Random text: runs of ASCII (the fast path) and of any agreed character,
// sometimes longer than the 2,000-unit pivot.
std::vector<UChar32> randomText(std::mt19937& rng, const std::vector<UChar32>& agreed) {
  std::vector<UChar32> ascii;
  for (UChar32 c : agreed) {
    if (c < 0x80) ascii.push_back(c);
  }
  size_t n = rng() % 8 == 0 ? 2500 + rng() % 3000 : rng() % 300;
  std::vector<UChar32> text;
  while (text.size() < n) {
    const std::vector<UChar32>& pool = (rng() % 2 == 0 && !ascii.empty()) ? ascii : agreed;
    for (size_t run = 1 + rng() % 40; run > 0 && text.size() < n; --run) {
      text.push_back(pool[rng() % pool.size()]);
    }
  }
  return text;
}

TEST_P(IconvDifferential, MatchesIconvInEveryDirection) {
  const CodePage& page = GetParam();
  std::vector<UChar32> agreed;
  std::vector<UChar32> differing;
  probeRepertoire(page, agreed, differing);
  ASSERT_GT(agreed.size(), 100u);
  for (UChar32 c : differing) {
    EXPECT_TRUE(listed(page, c)) << page.glibc << ": unexpected difference at U+" << std::hex << c;
  }
  const unsigned seed = 12;
  std::mt19937 rng(seed);
  for (int trial = 0; trial < 60; ++trial) {
    SCOPED_TRACE(::testing::Message() << page.glibc << " seed " << seed << " trial " << trial);
    std::string text = utf32(randomText(rng, agreed));
    std::string utf8, utf16, bytes;
    ASSERT_TRUE(viaIconv("UTF-8", "UTF-32LE", text, utf8));
    ASSERT_TRUE(viaIconv("UTF-16LE", "UTF-32LE", text, utf16));
    ASSERT_TRUE(viaIconv(page.glibc, "UTF-32LE", text, bytes));
    int64_t written = -1;
    int64_t consumed = -1;

    std::string out(bytes.size() + 1, '\x7f');
    ASSERT_EQ(0u, converter.ktUTF8ToAnsi(&out[0], int64_t(out.size()), utf8.data(),
                                         int64_t(utf8.size()), &written, &consumed, page.iana));
    EXPECT_EQ("", difference(bytes, out.substr(0, size_t(written))));
    EXPECT_EQ(int64_t(utf8.size()), consumed);
    EXPECT_EQ('\0', out[size_t(written)]);

    out.assign(utf8.size() + 1, '\x7f');
    ASSERT_EQ(0u, converter.ktAnsiToUTF8(&out[0], int64_t(out.size()), bytes.data(),
                                         int64_t(bytes.size()), &written, &consumed, page.iana));
    EXPECT_EQ("", difference(utf8, out.substr(0, size_t(written))));
    EXPECT_EQ(int64_t(bytes.size()), consumed);

    out.assign(bytes.size() + 1, '\x7f');
    const UChar* units = reinterpret_cast<const UChar*>(utf16.data());
    ASSERT_EQ(0u, converter.ktUCS2ToAnsi(&out[0], int64_t(out.size()), units,
                                         int64_t(utf16.size() / 2), &written, &consumed,
                                         page.iana, 0));
    EXPECT_EQ("", difference(bytes, out.substr(0, size_t(written))));
    EXPECT_EQ(int64_t(utf16.size() / 2), consumed);

    std::vector<UChar> wide(utf16.size() / 2 + 1, 0x7f);
    ASSERT_EQ(0u, converter.ktAnsiToUCS2(wide.data(), int64_t(wide.size()), bytes.data(),
                                         int64_t(bytes.size()), &written, &consumed, page.iana,
                                         0));
    EXPECT_EQ("", difference(utf16, std::string(reinterpret_cast<const char*>(wide.data()),
                                                   size_t(written) * 2)));

    // The required-length forms report the whole length into any capacity
    // and keep a terminated prefix of the full output.
    int64_t capacity = int64_t(rng() % (bytes.size() + 2));
    out.assign(size_t(capacity) + 1, '\x7f');
    VxErrorKeeper::clearAllErrors();
    EXPECT_EQ(0u, converter.ktUTF8ToAnsi(&out[0], capacity, utf8.data(), int64_t(utf8.size()),
                                         &written, page.iana));
    EXPECT_EQ(int64_t(bytes.size()), written);
    if (capacity > 0) EXPECT_EQ(0, bytes.compare(0, strlen(out.c_str()), out.c_str()));
    EXPECT_EQ('\x7f', out[size_t(capacity)]) << "wrote past the capacity";

    capacity = int64_t(rng() % (utf16.size() / 2 + 2));
    wide.assign(size_t(capacity) + 1, 0x7f);
    EXPECT_EQ(0u, converter.ktAnsiToUCS2(wide.data(), capacity, bytes.data(),
                                         int64_t(bytes.size()), &written, page.iana, 1));
    EXPECT_EQ(int64_t(utf16.size() / 2), written);
    EXPECT_EQ(0x7f, wide[size_t(capacity)]) << "wrote past the capacity";

    // Truncated output ends at a character boundary: converting the rest
    // from where it stopped completes it exactly.
    capacity = 1 + int64_t(rng() % (bytes.size() + 1));
    std::string first(size_t(capacity), '\0');
    converter.ktUTF8ToAnsi(&first[0], capacity, utf8.data(), int64_t(utf8.size()), &written,
                           &consumed, page.iana);
    std::string joined = first.substr(0, size_t(written));
    std::string rest(bytes.size() + 1, '\0');
    if (consumed < int64_t(utf8.size())) {
      ASSERT_EQ(0u, converter.ktUTF8ToAnsi(&rest[0], int64_t(rest.size()),
                                           utf8.data() + consumed,
                                           int64_t(utf8.size()) - consumed, &written, &consumed,
                                           page.iana));
      joined += rest.substr(0, size_t(written));
    }
    EXPECT_EQ("", difference(bytes, joined));
  }
}

INSTANTIATE_TEST_SUITE_P(CodePages, IconvDifferential, ::testing::ValuesIn(codePages()),
                         [](const ::testing::TestParamInfo<CodePage>& info) {
                           std::string name = info.param.glibc;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
