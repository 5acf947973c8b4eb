// VxSubString and VxString: view queries against std::string, every edit
// as a table row that is also replayed with its allocations failing, and
// the quirks the string classes keep on purpose.
#include "containers/vxstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "containers/vxarray.h"
#include "containers/vxstrupp.h"
#include "containers_support.h"

namespace {

using StringTest = vxtest::ContainerTest;

int sign(int v) { return (v > 0) - (v < 0); }

std::string upper(std::string s) { return std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(toupper(c)); }), s; }

// Random views over a small alphabet (letters in both cases, blanks, a
// byte above 0x7F, so that bytes must compare unsigned) against std::string.
TEST_F(StringTest, SubStringQueriesMatchStdString) {
  const unsigned seed = 17;
  std::mt19937 rng(seed);
  for (int step = 0; step < 3000; ++step) {
    std::string a, b;
    for (int n = static_cast<int>(rng() % 9); n > 0; --n) a += "aAb_ \t\x80"[rng() % 7];
    for (int n = static_cast<int>(rng() % 4); n > 0; --n) b += "aAb_ \t\x80"[rng() % 7];
    SCOPED_TRACE(::testing::Message() << "seed " << seed << ", step " << step << ": '" << a << "' '" << b << "'");
    VxSubString va(a.data(), a.size(), VX_CP_BYTES), vb(b.data(), b.size(), VX_CP_BYTES);
    const size_t from = rng() % 10;
    const char ch = "aAb \x80"[rng() % 5];
    ASSERT_EQ(std::min(a.find(ch, from), a.size()), va.findChar(ch, from));
    ASSERT_EQ(b.empty() ? a.size() : std::min(a.find(b, from), a.size()), va.findSubString(b.c_str(), from));
    ASSERT_EQ(std::make_pair(static_cast<VXSIZE_T>(std::count(a.begin(), a.end(), ch)), a.find(ch) != std::string::npos), std::make_pair(va.countChar(ch), va.isCharInStr(ch) != 0));
    ASSERT_EQ(std::make_pair(a == b, a == b), std::make_pair(va.isEqual(vb), va.isEqual(b.c_str())));
    ASSERT_EQ(std::make_pair(upper(a) == upper(b), upper(a) == upper(b)), std::make_pair(va.isEqualCi(vb), va.isEqualCi(b.c_str())));
    ASSERT_EQ(sign(a.compare(b)), sign(va.compare(vb)));
    ASSERT_EQ(sign(upper(a).compare(upper(b))), sign(va.compareCi(vb)));
    ASSERT_EQ(sign(upper(a).compare(upper(b))), sign(va.compare(static_cast<const VxObject*>(&vb))));
    VXSIZE_T hash = 0;  // deliberately the first five bytes only
    for (unsigned char c : upper(a.substr(0, 5))) hash += c;
    ASSERT_EQ(std::make_pair(hash, a.empty() ? '\0' : a.back()), std::make_pair(va.hash(), va.getLastChar()));
    va.rightBlankTrim(), vb.removeLastChar();
    ASSERT_EQ(std::make_pair(a.find_last_not_of(" \t") + 1, b.empty() ? 0 : b.size() - 1), std::make_pair(size_t{va.getLength()}, size_t{vb.getLength()}));
  }
}

TEST_F(StringTest, SubStringViewsStepByCharactersAndStopAtTheirEdges) {
  VxSubString empty;
  EXPECT_EQ(std::make_tuple(nullptr, VX_CP_LOCALE, VXSIZE_T{0}), std::make_tuple(empty.asPascalStr(), empty.getCodePage(), empty.findChar('a', 0)));
  char bytes[] = "hello";
  VxSubString a(bytes, 4, VX_CP_UTF8), copy("xyz");
  copy = a;  // copies the view, not the bytes
  EXPECT_EQ(std::make_tuple(bytes, VXSIZE_T{4}, VX_CP_UTF8), std::make_tuple(copy.asPascalStr(), copy.getInitialLength(), copy.getCodePage()));
  // 0xA9 is the second byte of the character C3 A9, not a character.
  EXPECT_EQ(2u, VxSubString("\xC3\xA9\xA9", VX_CP_UTF8).findChar('\xA9', 0));
  EXPECT_EQ(2u, VxSubString("aba\0aa", 6).countChar('a'));  // stops at a NUL
  const char* const set[] = {"SELECT", "insert", "Update"};
  const VxSubString update("update"), insert("insert");
  EXPECT_EQ((std::vector<int>{3, 2, 1, 1}), (std::vector<int>{update.indexInSet(set, 3), update.indexInSetCi(set, 3), insert.indexInSet(set, 3), insert.indexInSetCi(set, 3)}));
  // getCopyQuoted deliberately ignores its quote argument.
  char out[32], back[32];
  ASSERT_EQ(out + 8, VxSubString("it's").getCopyQuoted(out, '"'));
  ASSERT_EQ(back + 4, VxSubString(out).getCopyUnquoted(back));
  EXPECT_EQ(std::make_pair(std::string("'it''s'"), std::string("it's")), std::make_pair(std::string(out), std::string(back)));
}

TEST_F(StringTest, GetLinesMakesOneStringPerNonEmptyLineAndNeedsTheLastLineFeed) {
  char bytes[] = "a\n\nb\n", partial[] = "a\nb", one[] = "a\n";
  VxArray lines;
  lines.setDeleteContentsOnDestruct();
  ASSERT_EQ(0u, VxSubString(bytes, 5, VX_CP_UTF8).getLines(lines));
  ASSERT_EQ(2u, lines.getCount());
  VxString* second = static_cast<VxString*>(lines.at(1));
  EXPECT_EQ(std::make_tuple(std::string("a"), std::string("b"), VX_CP_UTF8), std::make_tuple(text(*static_cast<VxString*>(lines.at(0))), text(*second), second->getCodePage()));
  EXPECT_EQ(1u, VxSubString(partial, 3).getLines(lines));
  EXPECT_EQ(3u, lines.getCount());  // the complete line was kept
  for (uint64_t failing = 1; failing <= 3; ++failing) {  // the string, its buffer, the array's growth
    VxArray fresh;
    ramFailAllocationAfter(failing);
    EXPECT_EQ(1u, VxSubString(one, 2).getLines(fresh)) << failing;
    EXPECT_EQ(0u, fresh.getCount());
  }
}

TEST_F(StringTest, GetAsVXSIZE_TConvertsTheViewOnlyHoweverLong) {
  VXSIZE_T value = 7, padded42 = 0;
  const std::string padded = std::string(100, ' ') + "42";  // longer than the counted conversion takes
  EXPECT_EQ(0u, VxSubString("12345", 3).getAsVXSIZE_T(&value) + VxSubString(padded.data(), padded.size()).getAsVXSIZE_T(&padded42));
  EXPECT_EQ(std::make_pair(VXSIZE_T{123}, VXSIZE_T{42}), std::make_pair(value, padded42));
  EXPECT_EQ(1u, VxSubString("12x").getAsVXSIZE_T(&value));
  EXPECT_EQ(2702, VxErrorKeeper::getLastErrorNumber());
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, VxSubString(padded.data(), padded.size()).getAsVXSIZE_T(&value));
}

// An edit of a string initialised with `before` (none when null: a string
// that never had a buffer), the text and exact capacity it leaves, and
// whether its first allocation is needed (so that failing it fails the
// edit). Growth is exact, so most capacities are the length plus one.
struct Edit { const char* before; std::function<unsigned(VxString&)> run; const char* after; VXSIZE_T capacity; bool allocates; };

TEST_F(StringTest, EditsGiveTheirResultOrFailLeavingTheTextAsItWas) {
  using S = VxString&;
  const Edit edits[] = {
      {nullptr, [](S s) { return s.concat('x'); }, "x", 2, true},
      {nullptr, [](S s) { return unsigned(s.isEnoughSpace(0)) + unsigned(*s.asCStr() != 0); }, "", 0, false},
      {nullptr, [](S s) { return s.initialize("abc"); }, "abc", 4, true},
      {nullptr, [](S s) { return s.initialize(VXSIZE_T{5}); }, "", 6, true},
      {"ab", [](S s) { return s.concat("cd"); }, "abcd", 5, true},
      {"ab", [](S s) { return s.concat("cdxyz", 2); }, "abcd", 5, true},
      {"ab", [](S s) { return s.concat(VxSubString("cd")); }, "abcd", 5, true},
      {"ab", [](S s) { return s.concatSpace(); }, "ab ", 4, true},
      {"ab", [](S s) { return s.concat(static_cast<const char*>(nullptr)); }, "ab", 3, false},
      {"abc", [](S s) { return s.concat(s.asPascalStr(), s.getLength()); }, "abcabc", 7, true},
      // Numbers reserve 15 bytes, or what their digits need.
      {"", [](S s) { return s.concat(uint64_t{7}); }, "7", 16, true},
      {"", [](S s) { return s.concat(int64_t{-42}); }, "-42", 16, true},
      {"", [](S s) { return s.concat(UINT64_MAX); }, "18446744073709551615", 21, true},
      {"", [](S s) { return s.concat(int64_t{INT64_MIN}); }, "-9223372036854775808", 21, true},
      {"ab", [](S s) { return s.assureSpace(10); }, "ab", 13, true},
      {"ab", [](S s) { return s.assureSpace(0); }, "ab", 3, false},
      {"abcdef", [](S s) { return s.resize(100); }, "abcdef", 100, true},
      {"abc", [](S s) { return s.assureSpace(50) ? 1u : s.trim(); }, "abc", 4, true},
      {"abcdef", [](S s) { return s.clearAndSet(VxSubString("xy")); }, "xy", 7, false},
      {"abcd", [](S s) { return s.changeBytes(1, 2, "XYZ", 3); }, "aXYZd", 6, true},
      {"abc", [](S s) { return s.changeBytes(0, 1, s.asPascalStr() + 1, 2); }, "bcbc", 5, true},
      {"bcbc", [](S s) { return s.changeBytes(4, 0, s.asPascalStr(), 4); }, "bcbcbcbc", 9, true},
      {"x-x-x", [](S s) { return s.replaceSubString("x", 1, "long", 4); }, "long-long-long", 15, true},
      {"aa", [](S s) { return s.replaceSubString("a", "aa"); }, "aaaa", 5, true},
      {"aXa", [](S s) { return s.replaceSubString("X", 1, s.asPascalStr(), 3); }, "aaXaa", 6, true},
      {"aaXaa", [](S s) { return s.replaceSubString(s.asPascalStr(), 1, "b", 1); }, "bbXbb", 6, true},
      {"bbXbb", [](S s) { return s.replaceSubString(s.asPascalStr() + 2, 1, nullptr, 0); }, "bbbb", 6, true},
      {"it's", [](S s) { return s.addQuotes('\''); }, "'it''s'", 8, true},
      {"'it''s'", [](S s) { return unsigned(s.removeQuotes() != 4); }, "it's", 8, false},
      {"'", [](S s) { return unsigned(s.removeQuotes() != 1); }, "'", 2, false},  // too short for quotes
      {"x=", [](S s) { return s.addQuotedBytes(VxSubString("a\"b"), '"'); }, "x=\"a\"\"b\"", 9, true},
      {"x", [](S s) { return s.addQuotedBytes(VxSubString(s.asPascalStr(), 1), '\''); }, "x'x'", 5, true},
      // copyQuotedStr: a doubled quote gives one, a single one inside is dropped.
      {"<", [](S s) { return VxSubString("'it''s'").copyQuotedStr(s); }, "<it's", 9, true},
      {"<", [](S s) { return VxSubString("\"a\"\"\"").copyQuotedStr(s); }, "<a\"", 7, true},
      {"", [](S s) { return VxSubString("'a'b'").copyQuotedStr(s); }, "ab", 6, true},
      {"a\n", [](S s) { return s.forceEol(3); }, "a\n\n\n", 5, true},
      {"a\n\n\n", [](S s) { return s.forceEol(1); }, "a\n\n\n", 5, false},  // never removes any
      // Line breaks go at the last blank outside quotes; a line feed counts as one.
      {"aaa bbb ccc", [](S s) { return s.insertLineBreaks(5, 0, 0, 0); }, "aaa\nbbb\nccc", 12, false},
      {"'a b c d' e", [](S s) { return s.insertLineBreaks(3, '\'', '"', '"'); }, "'a b c d'\ne", 12, false},
      {"abcdefgh", [](S s) { return s.insertLineBreaks(3, 0, 0, 0); }, "abcdefgh", 9, false},
      {"a b", [](S s) { return s.insertLineBreaks(3, 0, 0, 0); }, "a b", 4, false},
      {"ab\ncd ef", [](S s) { return s.insertLineBreaks(5, 0, 0, 0); }, "ab\ncd ef", 9, false},
      // Each break outside quotes becomes one blank, none before another break or the end.
      {"a\n\nb\n\n", [](S s) { return s.removeLineBreaks('\'', 0, 0); }, "a b", 7, false},
      {"x\n'a\nb'\ny", [](S s) { return s.removeLineBreaks('\'', 0, 0); }, "x 'a\nb' y", 10, false},
      {"'a\nb'", [](S s) { return s.removeLineBreaks(0, '\'', '\''); }, "'a b'", 6, false},  // q1 0: no quotes
      {"a\t\tb\"\t\"\t", [](S s) { return s.removeTabs('"', 0, 0); }, "a b\"\t\"", 9, false},
      {"a\r\nb\rc\n", [](S s) { return s.removeLineFeeds(0, 0, 0); }, "a b c", 8, false},
      {"abcdef", [](S s) { s.changeBytes(4, 2, nullptr, 0); s.asPascalStr()[4] = 'X'; return unsigned(strcmp(s.asCStr(2), "cd")); }, "abcd", 7, false},
      {"secret", [](S s) { s.encrypt(1, nullptr); const bool inverted = s.asPascalStr()[0] == static_cast<char>(~'s'); s.decrypt(1, nullptr);
         s.encrypt(3, "key"); const bool scrambled = memcmp(s.asPascalStr(), "secret", 6) != 0; s.decrypt(3, "key");
         return unsigned(!inverted || !scrambled); }, "secret", 7, false},
  };
  for (const Edit& e : edits) {
    for (uint64_t failing = 0; failing <= 3; ++failing) {
      SCOPED_TRACE(::testing::Message() << "'" << (e.before ? e.before : "(none)") << "' -> '" << e.after << "', allocation " << failing << " failing");
      VxString s;
      ASSERT_EQ(0u, e.before ? s.initialize(e.before) : 0);
      const auto state = [&s] { return std::make_tuple(text(s), s.getCapacity(), static_cast<const void*>(s.asPascalStr())); };
      const auto before = state();
      ramFailAllocationAfter(failing);
      const unsigned status = e.run(s);
      ramFailAllocationAfter(0);
      if (failing == 1) { EXPECT_EQ(e.allocates, status != 0); }
      // After a failure the text as it was, and when the first allocation failed the buffer too.
      const auto now = state();
      EXPECT_EQ(status == 0 ? std::make_tuple(std::string(e.after), e.capacity ? e.capacity : std::get<1>(now), std::get<2>(now)) : failing == 1 ? before : std::make_tuple(std::get<0>(before), std::get<1>(now), std::get<2>(now)), now);
    }
  }
}

TEST_F(StringTest, InitializeTakesTheCodePageAndUnInitializeForgetsTheBuffer) {
  VxString s(VX_CP_UTF8), empty, fromView;
  ASSERT_EQ(0u, s.initialize("hello") + empty.initialize(VXSIZE_T{10}, VX_CP_BYTES));
  ASSERT_EQ(0u, fromView.initialize(VxSubString("abcdef", 3, VX_CP_UTF8)));
  EXPECT_EQ(std::make_tuple(VXSIZE_T{5}, true, VX_CP_UTF8, VX_CP_BYTES), std::make_tuple(s.getInitialLength(), s.ownsBuffer(), s.getCodePage(), empty.getCodePage()));
  EXPECT_EQ(std::make_tuple(std::string("abc"), VX_CP_UTF8), std::make_tuple(text(fromView), fromView.getCodePage()));
  s.unInitialize();
  EXPECT_EQ(std::make_tuple(nullptr, VXSIZE_T{0}, VXSIZE_T{0}, VXSIZE_T{0}), std::make_tuple(s.asPascalStr(), s.getLength(), s.getInitialLength(), s.getCapacity()));
}

TEST_F(StringTest, ReservedRoomIsUsedWithoutReallocating) {
  VxString s;
  ASSERT_EQ(0u, s.assureSpace(100));
  const void* buffer = s.asPascalStr();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(0u, s.concat('a'));
  EXPECT_EQ(std::make_tuple(buffer, VXSIZE_T{101}, false), std::make_tuple(static_cast<const void*>(s.asPascalStr()), s.getCapacity(), s.isEnoughSpace(1)));
  ASSERT_EQ(0u, s.resize(3));  // below the length: not refused
  EXPECT_EQ(3u, s.getCapacity());
  s.clear();  // keeps the NUL within the buffer
}

TEST_F(StringTest, ABorrowedBufferCannotGrowAndFilesError2716) {
  char buffer[10] = "abc";
  VxString s;
  s.initializeWithBuffer(buffer, sizeof buffer, 3, VX_CP_UTF8);
  EXPECT_EQ(std::make_tuple(false, VX_CP_UTF8), std::make_tuple(s.ownsBuffer(), s.getCodePage()));
  ASSERT_EQ(0u, s.concat("defghi"));  // six more bytes and the NUL fit
  EXPECT_EQ(1u, s.concat('j'));
  EXPECT_EQ(std::make_tuple(2716, std::string("abcdefghi")), std::make_tuple(int{VxErrorKeeper::getLastErrorNumber()}, std::string(s.asCStr())));
  VxErrorKeeper::clearAllErrors();
  EXPECT_EQ(1u, s.resize(20));
  EXPECT_EQ(std::make_tuple(2716, VXSIZE_T{10}), std::make_tuple(int{VxErrorKeeper::getLastErrorNumber()}, s.getCapacity()));
}

TEST_F(StringTest, ChangeBytesDeliberatelyTakesMovedAndCopiedLengthsModulo65536) {
  std::string original(65538, '\0');
  for (size_t i = 0; i < original.size(); ++i) original[i] = static_cast<char>('a' + i % 23);
  VxString s;
  ASSERT_EQ(0u, s.initialize(original.data(), original.size()));
  // Replacing byte 0 by two bytes leaves a tail of 65537 bytes: 1 moves.
  ASSERT_EQ(0u, s.changeBytes(0, 1, "XY", 2));
  ASSERT_EQ(65539u, s.getLength());  // the third byte moved, the fourth did not
  EXPECT_EQ(std::string("XY") + original[1] + original[3] + original[65537], std::string(s.asPascalStr(), 4) + s.asPascalStr()[65537]);
  std::vector<char> borrowed(70000, '.');
  const std::string inserted(65537, 'Z');  // only 1 of these is copied
  VxString t;
  t.initializeWithBuffer(borrowed.data(), borrowed.size(), 0);
  ASSERT_EQ(0u, t.changeBytes(0, 0, inserted.data(), inserted.size()));
  EXPECT_EQ(std::make_tuple(VXSIZE_T{65537}, std::string("Z."), '\0'), std::make_tuple(t.getLength(), std::string(borrowed.data(), 2), borrowed[65537]));
}

// VxSubStringUpper: each case asks one cache a sequence of candidates.
TEST_F(StringTest, UpperCacheMatchesTheUpperCaseFormOfTheView) {
  const std::vector<std::vector<const char*>> cases = {
      // view, then candidates, "+" marking those that match
      {"select", "+select"},  // the first call accepts an exact byte match
      {"Select", "+SELECT", "INSERT", "Select", "+SELECT"},  // then only the upper-case form
      {"from", "FROMX", "FRO"},                              // another length never matches
      {"a_rather_long_identifier", "+A_RATHER_LONG_IDENTIFIER", "+a_Rather_Long_Identifier", "A_RATHER_LONG_IDENTIFIEX"},
  };
  for (const auto& c : cases) {
    VxSubString view(c[0]);
    VxSubStringUpper cache(&view, view.getLength());
    for (size_t i = 1; i < c.size(); ++i) EXPECT_EQ(c[i][0] == '+', cache.isEqualUpper(c[i] + (c[i][0] == '+'), strlen(c[i] + (c[i][0] == '+')))) << c[0] << " vs " << c[i];
  }
}

}  // namespace
