#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/but.h"

namespace {

// A buffer with 8-byte aligned storage so that offsets pick the alignment.
struct Arena {
  alignas(8) uint8_t bytes[256];
  Arena(uint8_t seed) {
    for (int k = 0; k < 256; ++k) bytes[k] = uint8_t(seed + k * 13);
  }
};

TEST(FastCopy, FastMemCopyCopiesAtEveryAlignmentAndLength) {
  for (size_t dOff = 0; dOff < 8; ++dOff) {
    for (size_t sOff = 0; sOff < 8; ++sOff) {
      for (size_t n = 0; n <= 40; ++n) {
        Arena src(1), dst(200), expected(200);
        memcpy(expected.bytes + dOff, src.bytes + sOff, n);
        fastMemCopy(dst.bytes + dOff, src.bytes + sOff, n);
        ASSERT_EQ(0, memcmp(expected.bytes, dst.bytes, 256))
            << "dOff=" << dOff << " sOff=" << sOff << " n=" << n;
      }
    }
  }
}

TEST(FastCopy, FastMemCopyByteStepsRunFromHighestOffsetDown) {
  // An odd pointer selects the byte steps; running downwards they carry a
  // destination one byte above its source without repeating bytes.
  alignas(8) char buf[8] = {'x', 'a', 'b', 'c', 'd', 'e', 'f', '\0'};
  fastMemCopy(buf + 2, buf + 1, 5);
  EXPECT_STREQ("xaabcde", buf);
}

TEST(FastCopy, MemCopyAlignedCopiesEveryTailLength) {
  for (size_t n = 0; n <= 40; ++n) {
    Arena src(5), dst(99), expected(99);
    memcpy(expected.bytes, src.bytes, n);
    memCopyAligned(dst.bytes, src.bytes, n);
    ASSERT_EQ(0, memcmp(expected.bytes, dst.bytes, 256)) << "n=" << n;
  }
}

TEST(Zeroing, MemZeroClearsExactlyNBytesAtEveryAlignment) {
  for (size_t off = 0; off < 8; ++off) {
    for (size_t n = 0; n <= 70; ++n) {
      Arena a(3), expected(3);
      memset(expected.bytes + off, 0, n);
      memZero(a.bytes + off, n);
      ASSERT_EQ(0, memcmp(expected.bytes, a.bytes, 256)) << "off=" << off << " n=" << n;
    }
  }
}

TEST(Zeroing, MemZero4ByteCountsFourByteUnits) {
  for (size_t off : {0u, 4u}) {
    for (size_t units = 0; units <= 9; ++units) {
      Arena a(7), expected(7);
      memset(expected.bytes + off, 0, units * 4);
      memZero4Byte(a.bytes + off, units);
      ASSERT_EQ(0, memcmp(expected.bytes, a.bytes, 256)) << "off=" << off << " units=" << units;
    }
  }
}

TEST(Equality, MemEqualAtEveryAlignmentAndTail) {
  for (size_t aOff = 0; aOff < 4; ++aOff) {
    for (size_t bOff = 0; bOff < 4; ++bOff) {
      for (size_t n = 0; n <= 20; ++n) {
        Arena a(11), b(0);
        memcpy(b.bytes + bOff, a.bytes + aOff, n);
        ASSERT_TRUE(memEqual(a.bytes + aOff, b.bytes + bOff, n));
        for (size_t k = 0; k < n; ++k) {
          b.bytes[bOff + k] ^= 0x01;
          ASSERT_FALSE(memEqual(a.bytes + aOff, b.bytes + bOff, n)) << "diff at " << k;
          b.bytes[bOff + k] ^= 0x01;
        }
      }
    }
  }
}

TEST(Equality, ThreeByteTailIgnoresTheByteAfterIt) {
  alignas(4) uint8_t a[8] = {1, 2, 3, 4, 5, 6, 7, 0xAA};
  alignas(4) uint8_t b[8] = {1, 2, 3, 4, 5, 6, 7, 0xBB};
  EXPECT_TRUE(memEqual(a, b, 7));
  EXPECT_FALSE(memEqual(a, b, 8));
}

TEST(ShortString, LengthAtEveryAlignment) {
  alignas(8) char buf[64];
  for (size_t off = 0; off < 8; ++off) {
    for (size_t len = 0; len < 20; ++len) {
      memset(buf, 'x', sizeof buf);
      buf[off + len] = '\0';
      ASSERT_EQ(len, BUTSTLEN(buf + off));
    }
  }
}

}  // namespace
