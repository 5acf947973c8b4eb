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
  struct Case {
    char* copy;
    const char* expected;
  } cases[] = {{ramAllocStr("abcdef", 3), "abc"},
                {ramAllocStr("hello"), "hello"},
                {ramAllocStr("xyz", 0), ""}};
  for (const Case& c : cases) {
    ASSERT_NE(nullptr, c.copy) << c.expected;
    EXPECT_STREQ(c.expected, c.copy);
    free(c.copy);
  }
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

TEST_F(RamTest, FailureHookFailsExactlyTheNthAllocationOnceUnlessDisarmed) {
  ramFailAllocationAfter(3);
  void* p[4];
  for (void*& q : p) q = ramAlloc(8);
  EXPECT_NE(nullptr, p[0]);
  EXPECT_NE(nullptr, p[1]);
  EXPECT_EQ(nullptr, p[2]);
  EXPECT_NE(nullptr, p[3]);
  ramFailAllocationAfter(1);
  ramFailAllocationAfter(0);
  p[2] = ramAlloc(8);
  EXPECT_NE(nullptr, p[2]);
  for (void* q : p) free(q);
}

TEST_F(RamTest, ObjectAndInitialisingNewReturnNullThroughFailureHook) {
  ramFailAllocationAfter(1);
  VxObject* o = new VxObject;
  EXPECT_EQ(nullptr, o);
  o = new VxObject;
  EXPECT_NE(nullptr, o);
  delete o;
  ramFailAllocationAfter(1);
  EXPECT_EQ(nullptr, operator new(32, RamInitType(0)));
}

}  // namespace
