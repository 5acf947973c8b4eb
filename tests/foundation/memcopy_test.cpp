#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "foundation/but.h"

namespace {

// Reference loops that define the copies' results, overlap included.
void byteCopyUp(uint8_t* d, const uint8_t* s, size_t n) {
  for (size_t k = 0; k < n; ++k) d[k] = s[k];
}
void byteCopyDown(uint8_t* d, const uint8_t* s, size_t n) {
  for (size_t k = n; k > 0; --k) d[k - 1] = s[k - 1];
}

std::vector<uint8_t> pattern(size_t n) {
  std::vector<uint8_t> v(n);
  for (size_t k = 0; k < n; ++k) v[k] = uint8_t(k * 7 + 3);
  return v;
}

TEST(MemCopy, CopiesDisjointAreas) {
  std::vector<uint8_t> src = pattern(1000), dst(1000, 0);
  memCopy(dst.data(), src.data(), src.size());
  EXPECT_EQ(src, dst);
}

TEST(MemCopy, ZeroLengthTouchesNothing) {
  uint8_t dst[4] = {1, 2, 3, 4};
  const uint8_t src[4] = {9, 9, 9, 9};
  BUTMEMCP(dst, src, 0);
  BUTMMCPD(dst, src, 0);
  memCopyAligned(dst, src, 0);
  fastMemCopy(dst, src, 0);
  EXPECT_EQ(0, memcmp(dst, "\1\2\3\4", 4));
}

// Both copies must give exactly what their byte loop gives for every
// overlap distance in both directions, across several lengths.
TEST(MemCopy, OverlappingCopiesMatchTheirByteLoopExactly) {
  struct Case {
    const char* name;
    void (*reference)(uint8_t*, const uint8_t*, size_t);
    void (*copy)(void*, const void*, VXSIZE_T);
  } cases[] = {{"forward", byteCopyUp, BUTMEMCP}, {"backward", byteCopyDown, BUTMMCPD}};
  for (const Case& c : cases) {
    for (size_t n : {1u, 2u, 7u, 64u, 300u, 5000u}) {
      for (ptrdiff_t shift : {-300, -17, -8, -1, 0, 1, 2, 3, 8, 17, 300, 4999}) {
        std::vector<uint8_t> expected = pattern(n + 700), actual = expected;
        size_t srcAt = 350, dstAt = size_t(350 + shift);
        if (dstAt + n > expected.size()) continue;
        c.reference(expected.data() + dstAt, expected.data() + srcAt, n);
        c.copy(actual.data() + dstAt, actual.data() + srcAt, n);
        ASSERT_EQ(expected, actual) << c.name << " n=" << n << " shift=" << shift;
      }
    }
  }
}

// Deliberate: memMove is a forward copy without an overlap guard.
TEST(MemCopy, InPlaceCopiesIncludingMemMoveDeliberatelyUnguarded) {
  struct Case {
    const char* name;
    void (*copy)(void*, const void*, VXSIZE_T);
    int dstAt, srcAt, n;
    const char* expected;
  } cases[] = {
      {"memCopy one up", memCopy, 1, 0, 5, "aaaaaa"},
      {"memMove", memMove, 2, 0, 6, "abababab"},
      {"reverse up", memCopyReverse, 2, 0, 6, "ababcdef"},
      {"reverse down", memCopyReverse, 0, 2, 6, "ghghghgh"},
      {"huge", memCopyHuge, 1, 0, 4, "aaaaa"},
  };
  for (const Case& c : cases) {
    char buf[9] = "abcdefgh";
    c.copy(buf + c.dstAt, buf + c.srcAt, c.n);
    EXPECT_EQ(0, memcmp(buf, c.expected, strlen(c.expected))) << c.name;
  }
}

TEST(MemFill, StoresByteNTimesAndNoMore) {
  uint8_t buf[10];
  memset(buf, 0, sizeof buf);
  BUTU8FIL(buf, 0xAA, 3);
  memFill(buf + 3, 0xBB, 3);
  memFillHuge(buf + 6, 0xCC, 3);
  const uint8_t expected[10] = {0xAA, 0xAA, 0xAA, 0xBB, 0xBB, 0xBB, 0xCC, 0xCC, 0xCC, 0};
  EXPECT_EQ(0, memcmp(expected, buf, 10));
}

TEST(MemCompare, BytesCompareUnsignedGivingOneMinusOneOrZeroFromFirstDifference) {
  const uint8_t a[1] = {0x80}, b[1] = {0x7F};
  EXPECT_EQ(1, memCompare(a, b, 1));
  EXPECT_EQ(-1, memCompare(b, a, 1));
  EXPECT_EQ(1, BUTMMCMP(a, b, 1));
  EXPECT_EQ(-1, memCompareHuge(b, a, 1));
  EXPECT_EQ(0, memCompare("abcdef", "abcdef", 6));
  EXPECT_EQ(-1, memCompare("abcaZZ", "abczAA", 6));
  EXPECT_EQ(1, BUTMMCMP("b", "a", 1));
  EXPECT_EQ(0, BUTMMCMP("abcX", "abcY", 3));
  EXPECT_EQ(0, memCompare("x", "y", 0));
}

}  // namespace
