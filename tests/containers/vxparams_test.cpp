#include "containers/vxparams.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/msgtext_internal.h"
#include "strings_support.h"

namespace {

// ---------------------------------------------------------------------------
// VxParamString

using VxParamStringTest = StringTest;

TEST_F(VxParamStringTest, ATextReplacesEveryOccurrenceOfItsMarkerOnce) {
  VxParamString p;
  ASSERT_EQ(0u, p.initialize("A %s1 B %s1"));
  p << "x";
  EXPECT_STREQ("A x B x", p.asCStr());
  EXPECT_EQ(1, p.getParamCount());

  ASSERT_EQ(0u, p.initialize("[%s1] [%s1]"));  // a value holding its own marker goes in once
  p << "%s1";
  EXPECT_STREQ("[%s1] [%s1]", p.asCStr());
  EXPECT_EQ(1, p.getParamCount());

  ASSERT_EQ(0u, p.initialize("no markers"));  // a missing marker is not an error
  EXPECT_EQ(0u, p.setParam("x"));
  EXPECT_STREQ("no markers", p.asCStr());
  EXPECT_FALSE(p.isFailed());
}

TEST_F(VxParamStringTest, NumberingIsDeliberatelyByPositionNotByType) {
  VxParamString p;
  ASSERT_EQ(0u, p.initialize("%s1 %d2"));
  p << "x" << uint64_t(42);
  EXPECT_STREQ("x 42", p.asCStr());

  VxParamString reversed;
  ASSERT_EQ(0u, reversed.initialize("%s1 %d2"));
  reversed << uint64_t(42) << "x";  // looks for %d1, then %s2
  EXPECT_STREQ("%s1 %d2", reversed.asCStr());
  EXPECT_EQ(2, reversed.getParamCount());
  EXPECT_FALSE(reversed.isFailed());
}

TEST_F(VxParamStringTest, MarkersAboveNineDeliberatelyCarryAnX) {
  VxParamString p;
  ASSERT_EQ(0u, p.initialize("%s1|%sx10|%sx11"));
  for (int i = 0; i < 9; ++i) ASSERT_EQ(0u, p.setParam("-"));
  EXPECT_STREQ("-|%sx10|%sx11", p.asCStr());
  p << "ten";
  EXPECT_STREQ("-|ten|%sx11", p.asCStr());
  p << "eleven";
  EXPECT_STREQ("-|ten|eleven", p.asCStr());
}

TEST_F(VxParamStringTest, BuildMatchStringWritesTheNextMarker) {
  VxParamString p;
  char marker[VxParamString::kMatchBufferSize];
  EXPECT_EQ(3, p.buildMatchString(marker, 's'));
  EXPECT_STREQ("%s1", marker);
  for (int i = 2; i < 10; ++i) p.buildMatchString(marker, 'd');
  EXPECT_STREQ("%d9", marker);
  EXPECT_EQ(5, p.buildMatchString(marker, 'd'));
  EXPECT_STREQ("%dx10", marker);
  p.resetParamCount();
  p.buildMatchString(marker, 's');
  EXPECT_STREQ("%s1", marker);
}

TEST_F(VxParamStringTest, NumbersViewsEmptyAndQuotedValuesFillMarkers) {
  VxParamString p;
  ASSERT_EQ(0u, p.initialize("%d1 %d2 %d3"));
  p << int64_t(-5) << uint64_t(18446744073709551615u) << int64_t(0);
  EXPECT_STREQ("-5 18446744073709551615 0", p.asCStr());
  ASSERT_EQ(0u, p.initialize("<%s1><%s2><%s3>"));
  p << VxSubString("abcdef", 3) << "" << VxSubString();
  EXPECT_STREQ("<abc><><>", p.asCStr());
  ASSERT_EQ(0u, p.initialize("Table %s1 not found"));
  ASSERT_EQ(0u, p.setQuotedParam("o'k", '\''));
  EXPECT_STREQ("Table 'o''k' not found", p.asCStr());
}

TEST_F(VxParamStringTest, ResetParamCountAndReinitializingRestartNumbering) {
  VxParamString p;
  ASSERT_EQ(0u, p.initialize("%s1"));
  p << "a";
  ASSERT_EQ(0u, p.concat(" and %s1"));
  p.resetParamCount();
  p << "b";
  EXPECT_STREQ("a and b", p.asCStr());
  ASSERT_EQ(0u, p.initialize("%s1!"));
  EXPECT_EQ(0, p.getParamCount());
  p << "b";
  EXPECT_STREQ("b!", p.asCStr());
}

TEST_F(VxParamStringTest, OutOfMemorySetsTheFailedFlagAndLaterValuesAreIgnored) {
  VxParamString p;
  ASSERT_EQ(0u, p.initialize("%s1 %s2"));
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, p.setParam("a value longer than its marker"));
  EXPECT_TRUE(p.isFailed());
  EXPECT_STREQ("%s1 %s2", p.asCStr());
  p << "b";
  EXPECT_EQ(1, p.getParamCount());
  EXPECT_STREQ("%s1 %s2", p.asCStr());
  ASSERT_EQ(0u, p.initialize("%s1"));  // a quoted value fails when its copy cannot be made
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, p.setQuotedParam("x", '\''));
  EXPECT_TRUE(p.isFailed());
  EXPECT_STREQ("%s1", p.asCStr());
}

TEST_F(VxParamStringTest, InitializeSetsOrClearsTheFailedFlag) {
  VxParamString p(VX_CP_UTF8);
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, p.initialize("abc"));
  EXPECT_TRUE(p.isFailed());
  p << "ignored";
  EXPECT_EQ(0, p.getParamCount());
  ASSERT_EQ(0u, p.initialize("x %s1", 4));
  EXPECT_FALSE(p.isFailed());
  EXPECT_STREQ("x %s", p.asCStr());
  EXPECT_EQ(VX_CP_UTF8, p.getCodePage());
  ASSERT_EQ(0u, p.initialize(VXSIZE_T(20), VX_CP_BYTES));
  EXPECT_EQ(21u, p.getCapacity());
  EXPECT_EQ(0u, p.getLength());
}

// ---------------------------------------------------------------------------
// VxReplaceString

using VxReplaceStringTest = StringTest;

// Drops n source bytes by moving the view's start on.
void skipSource(VxReplaceString& r, VXSIZE_T n) {
  r.VxSubString::initialize(r.asPascalStr(n), r.getLength() - n);
}

TEST_F(VxReplaceStringTest, AViewOverTheWholeTargetAtStart) {
  VxString target(VX_CP_UTF8);
  ASSERT_EQ(0u, target.initialize("abc", VX_CP_UTF8));
  VxReplaceString r(&target);
  EXPECT_EQ(target.asPascalStr(), r.asPascalStr());
  EXPECT_EQ(3u, r.getLength());
  EXPECT_EQ(VX_CP_UTF8, r.getCodePage());
  EXPECT_EQ(0u, r.getOutputLength());
  EXPECT_EQ(0u, r.getGapEnd());
}

TEST_F(VxReplaceStringTest, InsertingSixHundredBytesGrowsOnceBy1112) {
  VxString target;
  ASSERT_EQ(0u, target.initialize("0123456789"));
  ASSERT_EQ(11u, target.getCapacity());
  std::string inserted(600, 'x');
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(3);
    ASSERT_EQ(0u, r.concat(inserted.data(), inserted.size()));
    EXPECT_EQ(11u + 1112u, target.getCapacity());
    EXPECT_EQ(603u, r.getOutputLength());
    EXPECT_EQ(3u + 1112u, r.getGapEnd());
    EXPECT_EQ("3456789", text(r));
    ASSERT_EQ(0u, r.concat("yy", 2));  // fits in the gap
    EXPECT_EQ(11u + 1112u, target.getCapacity());
  }
  EXPECT_EQ("012" + inserted + "yy3456789", text(target));
  EXPECT_EQ(target.getLength() + 1, target.getCapacity());
}

TEST_F(VxReplaceStringTest, ARewriteKeepsDropsAndReplaces) {
  VxString target;
  ASSERT_EQ(0u, target.initialize("hello world, hello"));
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(6);
    skipSource(r, 5);  // drop "world": the gap is now 5 bytes wide
    ASSERT_EQ(0u, r.concat("all", 3));
    r.increaseInsertionPoint(2);
    EXPECT_EQ("hello", text(r));
  }
  EXPECT_EQ("hello all, hello", text(target));
}

TEST_F(VxReplaceStringTest, ConcatMayCopyFromTheUnconsumedSourceOrTheOutput) {
  VxString target;
  ASSERT_EQ(0u, target.initialize("ab"));
  {
    VxReplaceString r(&target);
    // Repeat the next source byte before keeping it; the copy needs growth.
    ASSERT_EQ(0u, r.concat(r.asPascalStr(), 1));
    r.increaseInsertionPoint(1);
    ASSERT_EQ(0u, r.concat(target.asPascalStr(), 2));  // from the output
  }
  EXPECT_EQ("aaaab", text(target));
  target.unInitialize();
  ASSERT_EQ(0u, target.initialize("abc"));
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(2);
    ASSERT_EQ(0u, r.concat(target.asPascalStr(), 2));  // from the output, no gap yet: grows
  }
  EXPECT_EQ("ababc", text(target));
}

TEST_F(VxReplaceStringTest, AddQuotedBytesWritesTheQuotedForm) {
  VxString target;
  ASSERT_EQ(0u, target.initialize("v=;"));
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(2);
    ASSERT_EQ(0u, r.addQuotedBytes("it's", 4, '\''));
  }
  EXPECT_EQ("v='it''s';", text(target));
}

TEST_F(VxReplaceStringTest, SetInsertionPointTurnsOutputBackIntoSourceWithOrWithoutAGap) {
  VxString target;
  ASSERT_EQ(0u, target.initialize("abcdef"));
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(2);
    ASSERT_EQ(0u, r.concat("XY", 2));  // grows: a gap opens
    r.increaseInsertionPoint(2);        // output "abXYcd"
    r.setInsertionPoint(3);             // "Ycd" is source again
    EXPECT_EQ(3u, r.getOutputLength());
    EXPECT_EQ("Ycdef", text(r));
    r.setInsertionPoint(5);             // beyond the insertion point: no-op
    EXPECT_EQ(3u, r.getOutputLength());
    skipSource(r, 1);
  }
  EXPECT_EQ("abXcdef", text(target));
  target.unInitialize();
  ASSERT_EQ(0u, target.initialize("abcd"));
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(3);
    r.setInsertionPoint(1);
    EXPECT_EQ("bcd", text(r));
    EXPECT_EQ(1u, r.getGapEnd());
  }
  EXPECT_EQ("abcd", text(target));
}

TEST_F(VxReplaceStringTest, ReInitializeFollowsAMovedTargetBuffer) {
  VxString target;
  ASSERT_EQ(0u, target.initialize("abcdef"));
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(2);
    ASSERT_EQ(0u, target.resize(4096));  // may move the buffer
    r.reInitialize();
    EXPECT_EQ(target.asPascalStr() + 2, r.asPascalStr());
    ASSERT_EQ(0u, r.concat("-", 1));
  }
  EXPECT_EQ("ab-cdef", text(target));
}

TEST_F(VxReplaceStringTest, AFailedGrowthLeavesTheTargetConsistent) {
  VxString target;
  ASSERT_EQ(0u, target.initialize("abc"));
  {
    VxReplaceString r(&target);
    r.increaseInsertionPoint(1);
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, r.concat("XYZ", 3));
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, r.addQuotedBytes("q", 1, '"'));
    ramFailAllocationAfter(0);
    EXPECT_EQ(1u, r.getOutputLength());
    EXPECT_EQ(1u, r.getGapEnd());
    EXPECT_EQ("bc", text(r));
  }
  EXPECT_EQ("abc", text(target));
}

TEST_F(VxReplaceStringTest, ABorrowedTargetCannotGrow) {
  char buffer[8] = "abc";
  VxString target;
  target.initializeWithBuffer(buffer, sizeof buffer, 3);
  {
    VxReplaceString r(&target);
    EXPECT_EQ(1u, r.concat("x", 1));
    EXPECT_EQ(2716, VxErrorKeeper::getLastErrorNumber());
    skipSource(r, 1);
    ASSERT_EQ(0u, r.concat("Z", 1));  // fits in the gap
  }
  EXPECT_EQ("Zbc", text(target));
  EXPECT_EQ(8u, target.getCapacity());
}

// ---------------------------------------------------------------------------
// VxResourceString

TEST(VxResourceString, HoldsTheCatalogTextOfTheNumber) {
  char expected[1024];
  VXSIZE_T length = loadMessageText(1509, expected, sizeof expected);
  VxResourceString text(1509);
  EXPECT_STREQ(expected, static_cast<const char*>(text));
  EXPECT_EQ(length, text.getLength());
  VxResourceString unknown(65000);  // a number without text holds the number
  EXPECT_STREQ("65000", static_cast<const char*>(unknown));
  EXPECT_EQ(5u, unknown.getLength());
}

}  // namespace
