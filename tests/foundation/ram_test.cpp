#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "foundation/ram.h"
#include "foundation/ram_internal.h"
#include "foundation/vxobject.h"

namespace {

// Disarms any pending failure so that one test cannot leak into the next.
class RamTest : public ::testing::Test {
 protected:
  void TearDown() override { ramFailAllocationAfter(0); }
};

TEST_F(RamTest, AllocStrCopiesPrefixAndAddsNul) {
  char* copy = ramAllocStr("abcdef", 3);
  ASSERT_NE(nullptr, copy);
  EXPECT_STREQ("abc", copy);
  free(copy);
}

TEST_F(RamTest, AllocStrTakesLengthFromString) {
  char* copy = ramAllocStr("hello");
  ASSERT_NE(nullptr, copy);
  EXPECT_STREQ("hello", copy);
  free(copy);
}

TEST_F(RamTest, AllocStrOfZeroBytesIsEmptyString) {
  char* copy = ramAllocStr("xyz", 0);
  ASSERT_NE(nullptr, copy);
  EXPECT_EQ('\0', copy[0]);
  free(copy);
}

TEST_F(RamTest, AllocStrReturnsNullWhenHeapExhausted) {
  ramFailAllocationAfter(1);
  EXPECT_EQ(nullptr, ramAllocStr("abc"));
}

TEST_F(RamTest, ResizeKeepsContentsAndStoresNewPointer) {
  char* p = ramAllocStr("abcd");
  ASSERT_NE(nullptr, p);
  EXPECT_FALSE(ramResize(&p, 4096));
  EXPECT_STREQ("abcd", p);
  p[4095] = 'z';
  free(p);
}

TEST_F(RamTest, ResizeFailureLeavesPointerAloneAndReturnsOne) {
  char* p = ramAllocStr("abcd");
  ASSERT_NE(nullptr, p);
  char* before = p;
  ramFailAllocationAfter(1);
  EXPECT_TRUE(ramResize(&p, 1 << 20));
  EXPECT_EQ(before, p);
  EXPECT_STREQ("abcd", p);
  free(p);
}

TEST_F(RamTest, ResizeToZeroKeepsAValidBlock) {
  void* p = malloc(16);
  ASSERT_NE(nullptr, p);
  EXPECT_FALSE(ramResize(&p, 0));
  EXPECT_NE(nullptr, p);
  free(p);
}

TEST_F(RamTest, FailureHookFailsExactlyTheNthAllocationOnce) {
  ramFailAllocationAfter(3);
  void* first = ramAlloc(8);
  void* second = ramAlloc(8);
  void* third = ramAlloc(8);
  void* fourth = ramAlloc(8);
  EXPECT_NE(nullptr, first);
  EXPECT_NE(nullptr, second);
  EXPECT_EQ(nullptr, third);
  EXPECT_NE(nullptr, fourth);
  free(first);
  free(second);
  free(fourth);
}

TEST_F(RamTest, FailureHookDisarmedByZero) {
  ramFailAllocationAfter(1);
  ramFailAllocationAfter(0);
  void* p = ramAlloc(8);
  EXPECT_NE(nullptr, p);
  free(p);
}

TEST_F(RamTest, ObjectNewReturnsNullThroughFailureHook) {
  ramFailAllocationAfter(1);
  VxObject* o = new VxObject;
  EXPECT_EQ(nullptr, o);
  o = new VxObject;
  EXPECT_NE(nullptr, o);
  delete o;
}

TEST_F(RamTest, InitialisingNewReturnsNullThroughFailureHook) {
  ramFailAllocationAfter(1);
  EXPECT_EQ(nullptr, operator new(32, RamInitType(0)));
}

}  // namespace
