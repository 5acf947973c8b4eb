// Message templates, in-place rewriting and catalog texts. The fuzz
// targets vxparams_fuzz and vxreplace_fuzz check marker filling (markers
// above 9, values holding their marker, numbers by position, failures)
// and rewriting against models, with seeds in fuzz/corpus; these are the
// cases they do not judge: the exact growth of a rewrite, borrowed
// buffers, quoting, null values, some failures and the catalog.
#include "containers/vxparams.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "containers_support.h"
#include "foundation/msgtext_internal.h"

namespace {

using ParamsTest = vxtest::ContainerTest;

TEST_F(ParamsTest, ParamStringsFillMarkersByPosition) {
  // template, values streamed in, result
  const std::vector<std::tuple<const char*, std::function<void(VxParamString&)>, const char*>> rows = {
      {"<%s1><%s2>", [](VxParamString& p) { p.setParam(static_cast<const char*>(nullptr)); p << VxSubString(); }, "<><>"},
      {"T %s1", [](VxParamString& p) { p.setQuotedParam("o'k", '\''); }, "T 'o''k'"},
      {"%s1", [](VxParamString& p) { p << "a"; p.concat(" and %s1"); p.resetParamCount(); p << "b"; }, "a and b"},
  };
  for (const auto& [before, fill, after] : rows) {
    VxParamString p;
    ASSERT_EQ(0u, p.initialize(before));
    fill(p);
    EXPECT_EQ(std::make_tuple(std::string(after), false), std::make_tuple(std::string(p.asCStr()), p.isFailed())) << before;
  }
}

TEST_F(ParamsTest, AParamStringThatRanOutOfMemoryIgnoresLaterValues) {
  VxParamString p(VX_CP_UTF8);
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, p.initialize("abc"));
  p << "ignored";
  EXPECT_EQ(std::make_tuple(true, 0), std::make_tuple(p.isFailed(), int{p.getParamCount()}));
  ASSERT_EQ(0u, p.initialize("x %s1 %s2", 5));  // initializing again clears the flag
  EXPECT_EQ(std::make_tuple(false, VX_CP_UTF8, std::string("x %s1")), std::make_tuple(p.isFailed(), p.getCodePage(), text(p)));
  for (uint64_t failing = 1; failing <= 2; ++failing) {  // the quoted copy, its quotes
    ramFailAllocationAfter(failing);
    EXPECT_EQ(1u, p.setQuotedParam("'", '\''));
    EXPECT_TRUE(p.isFailed());
    ASSERT_EQ(0u, p.initialize(VXSIZE_T{20}, VX_CP_BYTES));
    EXPECT_EQ(std::make_tuple(false, VXSIZE_T{21}, VX_CP_BYTES), std::make_tuple(p.isFailed(), p.getCapacity(), p.getCodePage()));
    ASSERT_EQ(0u, p.initialize("%s1"));
  }
}

// VxReplaceString: the gap grows by the need plus 512 bytes at a time, and
// the target is trimmed at the end.
TEST_F(ParamsTest, ARewriteGrowsItsGapByTheNeedPlus512) {
  VxString target(VX_CP_UTF8);
  ASSERT_EQ(0u, target.initialize("0123456789"));
  const std::string inserted(600, 'x');
  {
    VxReplaceString r(&target);
    EXPECT_EQ(std::make_tuple(VX_CP_UTF8, VXSIZE_T{0}, VXSIZE_T{0}), std::make_tuple(r.getCodePage(), r.getOutputLength(), r.getGapEnd()));
    r.increaseInsertionPoint(3);
    ASSERT_EQ(0u, r.concat(inserted.data(), inserted.size()));
    EXPECT_EQ(std::make_tuple(VXSIZE_T{11 + 1112}, VXSIZE_T{3 + 1112}), std::make_tuple(target.getCapacity(), r.getGapEnd()));
    ASSERT_EQ(0u, r.concat("yy", 2));  // fits in the gap
    EXPECT_EQ(11u + 1112u, target.getCapacity());
    r.setInsertionPoint(603);  // "yy" is source again
    EXPECT_EQ("yy3456789", text(r));
    ASSERT_EQ(0u, target.resize(4096));  // may move the buffer
    r.reInitialize();
    EXPECT_EQ(target.asPascalStr() + r.getGapEnd(), r.asPascalStr());
    ramFailAllocationAfter(1);  // the gap is wide enough: nothing to allocate
    ASSERT_EQ(0u, r.addQuotedBytes("it's", 4, '\''));
    ramFailAllocationAfter(0);
  }
  EXPECT_EQ("012" + inserted + "'it''s'yy3456789", text(target));
  EXPECT_EQ(target.getLength() + 1, target.getCapacity());
}

TEST_F(ParamsTest, ARewriteThatCannotGrowChangesNothing) {
  char buffer[8] = "abc";
  VxString borrowed, owned;
  borrowed.initializeWithBuffer(buffer, sizeof buffer, 3);
  ASSERT_EQ(0u, owned.initialize("abc"));
  {
    VxReplaceString b(&borrowed), o(&owned);
    EXPECT_EQ(1u, b.concat("x", 1));
    EXPECT_EQ(2716, VxErrorKeeper::getLastErrorNumber());
    b.VxSubString::initialize(b.asPascalStr(1), 2);  // drop a source byte: the gap is 1 wide
    ASSERT_EQ(0u, b.concat("Z", 1));
    o.increaseInsertionPoint(1);
    for (bool quoted : {false, true}) {
      ramFailAllocationAfter(1);
      EXPECT_EQ(1u, quoted ? o.addQuotedBytes("q", 1, '"') : o.concat("XYZ", 3));
    }
    EXPECT_EQ(std::make_tuple(std::string("bc"), VXSIZE_T{1}, VXSIZE_T{1}), std::make_tuple(text(o), o.getOutputLength(), o.getGapEnd()));
  }
  EXPECT_EQ("Zbc", text(borrowed));
  EXPECT_EQ(8u, borrowed.getCapacity());  // a borrowed buffer is not trimmed
  EXPECT_EQ("abc", text(owned));
}

TEST(VxResourceString, HoldsTheCatalogTextOfItsNumberOrTheNumber) {
  char expected[1024];
  const VXSIZE_T length = loadMessageText(1509, expected, sizeof expected);
  VxResourceString text(1509), unknown(65000);
  EXPECT_STREQ(expected, static_cast<const char*>(text));
  EXPECT_EQ(length, text.getLength());
  EXPECT_STREQ("65000", static_cast<const char*>(unknown));
  EXPECT_EQ(5u, unknown.getLength());
}

}  // namespace
