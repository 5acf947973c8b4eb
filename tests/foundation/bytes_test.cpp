// The byte primitives of but.h against libc and byte loops; hexadecimal
// encoding against snprintf and strtoul; the scrambling methods against a
// reference written from their description. The deliberate oddities of
// alignment, bit sets and the escape count are rows. The hex fuzz target
// judges bad-digit statuses and round trips on arbitrary input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "foundation/but.h"
#include "foundation/foundation_support.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

using Bytes = std::vector<uint8_t>;
// The copies are defined by what these loops leave when the areas overlap.
void copyUp(uint8_t* d, const uint8_t* s, size_t n) {
  for (size_t k = 0; k < n; ++k) d[k] = s[k];
}
void copyDown(uint8_t* d, const uint8_t* s, size_t n) {
  for (size_t k = n; k-- > 0;) d[k] = s[k];
}
int sign(int v) { return (v > 0) - (v < 0); }

// Random lengths (mostly short, so that every tail and alignment comes up),
// offsets from a 16-aligned block and overlaps in both directions.
TEST(BytePrimitives, MatchLibcAndByteLoopsOnRandomAreas) {
  using Copy = void (*)(void*, const void*, VXSIZE_T);
  struct {
    const char* name;
    Copy copy;
    void (*model)(uint8_t*, const uint8_t*, size_t);
  } overlapping[] = {{"BUTMEMCP", BUTMEMCP, copyUp},       {"memCopy", memCopy, copyUp},
                     {"memCopyHuge", memCopyHuge, copyUp}, {"memMove", memMove, copyUp},
                     {"BUTMMCPD", BUTMMCPD, copyDown},     {"memCopyReverse", memCopyReverse, copyDown}};
  Random random;
  for (int i = 0; i < 6000; ++i) {
    const size_t n = random(0, 7) == 0 ? random(0, 1200) : random(0, 40);
    Bytes area(2 * n + 48), other(area.size());
    for (uint8_t& x : area) x = uint8_t(random.rng());
    for (uint8_t& x : other) x = uint8_t(random.rng());
    const size_t s = random(0, int(n) + 48), d = random(0, int(n) + 48);
    auto where = [&] {
      return testing::Message() << "seed " << kSeed << " case " << i << " n=" << n << " src=" << s
                                << " dst=" << d;
    };
    for (const auto& c : overlapping) {
      Bytes want = area, got = area;
      c.model(&want[d], &want[s], n);
      c.copy(&got[d], &got[s], n);
      ASSERT_EQ(want, got) << c.name << " " << where();
    }
    Bytes want = area, got = area;  // disjoint areas
    memcpy(&want[d], &other[s], n);
    fastMemCopy(&got[d], &other[s], n);
    ASSERT_EQ(want, got) << "fastMemCopy " << where();
    memcpy(&want[d & ~7u], &other[s & ~7u], n);
    memCopyAligned(&got[d & ~7u], &other[s & ~7u], n);
    ASSERT_EQ(want, got) << "memCopyAligned " << where();
    memset(&want[d], 0, n);
    memZero(&got[d], n);
    ASSERT_EQ(want, got) << "memZero " << where();
    memset(&want[s & ~3u], 0, n / 4 * 4);
    memZero4Byte(&got[s & ~3u], n / 4);
    ASSERT_EQ(want, got) << "memZero4Byte " << where();
    for (auto fill : {BUTU8FIL, memFill, memFillHuge}) {
      memset(&want[d], other[0], n);
      fill(&got[d], other[0], n);
      ASSERT_EQ(want, got) << "fill " << where();
    }
    Bytes a = area, b = other;
    std::swap_ranges(&a[d], &a[d] + n, &b[s]);
    BUTMMSWP(&area[d], &other[s], n);
    ASSERT_TRUE(a == area && b == other) << "BUTMMSWP " << where();
    memSwap(&area[d], &other[s], n);
    std::swap_ranges(&a[d], &a[d] + n, &b[s]);
    ASSERT_TRUE(a == area && b == other) << "memSwap " << where();

    // Comparison: the second area equals the first, or differs in one byte.
    std::copy(&area[s], &area[s] + n, &other[d]);
    if (n > 0 && random(0, 3) != 0) other[d + random(0, int(n) - 1)] = uint8_t(random.rng());
    const uint8_t *x = &area[s], *y = &other[d];
    const int expected = sign(memcmp(x, y, n));
    ASSERT_TRUE(expected == memCompare(x, y, n) && expected == BUTMMCMP(x, y, n) &&
                -expected == memCompareHuge(y, x, n) && (expected == 0) == memEqual(x, y, n))
        << where();
    // Short strings: the random bytes hold a NUL now and then.
    area.back() = other.back() = 0;
    const char *p = reinterpret_cast<char*>(&area[s]), *q = reinterpret_cast<char*>(&other[d]);
    ASSERT_EQ(strlen(p), BUTSTLEN(p)) << where();
    ASSERT_EQ(sign(strcmp(p, q)), sign(BUTSTCMP(p, q))) << where();
    std::string joined = std::string(p) + q;
    std::vector<char> buf(joined.size() + 1, '#');
    ASSERT_EQ(&buf[strlen(p)], BUTSTCPY(buf.data(), p)) << where();
    ASSERT_EQ(&buf[joined.size()], BUTSTCAT(buf.data(), q)) << where();
    ASSERT_STREQ(joined.c_str(), buf.data()) << where();
  }
}

// The byte steps, taken when either pointer is odd, run from the highest
// offset down: a destination one byte above its source repeats nothing.
TEST(BytePrimitives, FastMemCopyByteStepsRunDownwards) {
  alignas(8) char buf[8] = {'x', 'a', 'b', 'c', 'd', 'e', 'f', '\0'};
  fastMemCopy(buf + 2, buf + 1, 5);
  EXPECT_STREQ("xaabcde", buf);
}

TEST(BytePrimitives, ButswapExchangesElementsAndGivesUpWithoutHeap) {
  std::vector<uint8_t> big(301 * 300, 0);  // element 300 starts past 16 bits
  big[300 * 300] = 0xEE;
  big[1] = 0x11;
  butswap(big.data(), 0, 300, 300);
  EXPECT_TRUE(big[0] == 0xEE && big[300 * 300 + 1] == 0x11 && big[1] == 0 && big[300 * 300] == 0);
  butswap(big.data(), 0, 0, 300);  // an element swapped with itself
  EXPECT_EQ(0xEE, big[0]);
  ramFailAllocationAfter(1);
  butswap(big.data(), 0, 300, 300);
  ramFailAllocationAfter(0);
  EXPECT_EQ(0xEE, big[0]);
}

TEST(BytePrimitives, BitsCountFromLeastSignificantAndCheckReturnsTheBitInPlace) {
  uint8_t set[4] = {0, 0, 0, 0};
  for (int bit : {0, 9, 13, 31}) bitset(set, bit);
  EXPECT_EQ(0x80002201u, uint32_t(set[0] | set[1] << 8 | set[2] << 16 | uint32_t(set[3]) << 24));
  EXPECT_TRUE(bitcheck(set, 13) == 0x20 && bitcheck(set, 12) == 0 && bitcheck(set, 5) == 0);
}

// Deliberate: the mask is ~boundary, not ~(boundary - 1), the 16-bit form
// wraps at 16 bits, and verifyByteBoundary is false for every boundary.
TEST(BytePrimitives, AlignmentUsesTheBoundaryItselfAsMaskDeliberately) {
  struct { uint64_t value; uint16_t boundary; uint64_t wide; uint16_t narrow; } rows[] = {
      {1, 8, 0, 0}, {9, 8, 16, 16}, {8, 8, 7, 7}, {12, 4, 11, 11}, {0xFFFF, 8, 0x10006, 6}};
  for (const auto& r : rows) {
    uint64_t wide = r.value;
    uint16_t narrow = uint16_t(r.value);
    char* p = reinterpret_cast<char*>(uintptr_t(r.value));
    EXPECT_EQ(r.wide, alignOnByteBoundary(wide, r.boundary)) << r.value;
    EXPECT_EQ(r.narrow, alignOnByteBoundary(narrow, r.boundary)) << r.value;
    EXPECT_EQ(uintptr_t(r.wide), uintptr_t(alignOnByteBoundary(p, r.boundary))) << r.value;
    EXPECT_TRUE(wide == r.wide && narrow == r.narrow && uintptr_t(p) == r.wide) << r.value;
  }
  for (uint32_t b = 0; b <= 0xFFFF; ++b) ASSERT_FALSE(verifyByteBoundary(uint16_t(b))) << b;
}

// Every value handed in comes out exactly once across the returns and the
// final word: a lost update would drop one.
TEST(Threads, WordExchangesStoreReturnPreviousAndLoseNoValue) {
  for (auto exchange : {atomicTaskExchange, atomicThreadExchange}) {
    uint64_t word = 5;
    EXPECT_EQ(5u, exchange(&word, UINT64_MAX));
    EXPECT_EQ(UINT64_MAX, exchange(&word, 0));
    constexpr uint64_t kThreads = 4, kPerThread = 5000;
    std::vector<std::vector<uint64_t>> seen(kThreads);
    std::vector<std::thread> threads;
    for (uint64_t t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        for (uint64_t k = 1; k <= kPerThread; ++k) seen[t].push_back(exchange(&word, t * kPerThread + k));
      });
    for (std::thread& th : threads) th.join();
    std::vector<uint64_t> all(1, word);
    for (auto& v : seen) all.insert(all.end(), v.begin(), v.end());
    std::sort(all.begin(), all.end());
    for (uint64_t k = 0; k < all.size(); ++k) ASSERT_EQ(k, all[k]);
    EXPECT_EQ(kThreads * kPerThread + 1, all.size());
  }
}


// A fresh multiple-error list, so that the error a decoder posts shows.
class Hex : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors)); }
  void TearDown() override { VxErrorKeeper::giveUpErrorList(); }
  VxErrorList errors{nullptr, VxErrorList::kSupportMultipleErrors};
};

TEST_F(Hex, EncodersAndDecodersAgreeWithSnprintfAndStrtoul) {
  Random random;
  for (int i = 0; i < 3000; ++i) {
    uint64_t value = uint64_t(random.rng()) << 32 | random.rng();
    value = i % 100 == 0 ? 0 : value >> random(0, 63);
    const int minimum = random(0, 20);
    char want[40], out[40];
    snprintf(want, sizeof want, "%0*llX", minimum, static_cast<unsigned long long>(value));
    ASSERT_EQ(strlen(want), hexify(out, value, uint16_t(minimum))) << kSeed << " " << i;
    ASSERT_STREQ(want, out) << kSeed << " " << i;

    Bytes in(size_t(random(0, 30)));
    for (uint8_t& b : in) b = uint8_t(random.rng());
    std::string digits, mixed;
    for (uint8_t b : in) snprintf(want, sizeof want, "%02X", b), digits += want;
    for (char c : digits) mixed += random(0, 1) ? char(tolower(c)) : c;
    std::vector<char> text(2 * in.size() + 1, '#'), wide(4 * in.size() + 1, '#');
    ASSERT_EQ(digits.size(), hexify(text.data(), in.data(), in.size()));
    ASSERT_EQ(digits.size(), hexifyHuge(text.data(), in.data(), in.size()));
    ASSERT_EQ(digits + '#', std::string(text.begin(), text.end())) << kSeed << " " << i;
    std::string units;
    for (char c : digits) units += std::string(1, c) + '\0';
    ASSERT_EQ(units.size(), wideHexify(wide.data(), in.data(), in.size()));
    ASSERT_EQ(units + '#', std::string(wide.begin(), wide.end())) << kSeed << " " << i;
    // In place: out equal to in.
    std::vector<char> same(4 * in.size() + 1);
    memcpy(same.data(), in.data(), in.size());
    hexify(same.data(), same.data(), in.size());
    ASSERT_EQ(digits, std::string(same.data(), digits.size())) << kSeed << " " << i;
    memcpy(same.data(), in.data(), in.size());
    wideHexify(same.data(), same.data(), in.size());
    ASSERT_EQ(units, std::string(same.data(), units.size())) << kSeed << " " << i;

    // Decoding, in either case; an odd count leaves the last digit high.
    if (!mixed.empty() && random(0, 1)) mixed.pop_back();
    Bytes back(in.size() + 1, 0x11), huge(back), fromWide(back);
    ASSERT_EQ(0u, dehexify(back.data(), mixed.data(), mixed.size()));
    ASSERT_EQ(0u, dehexifyHuge(huge.data(), mixed.data(), mixed.size()));
    ASSERT_EQ(0u, wideDehexify(fromWide.data(), (std::string(1, '\0') + units).data(), units.size()));
    for (size_t k = 0; 2 * k < mixed.size(); ++k) {
      unsigned long byte = strtoul((mixed.substr(2 * k, 2) + "0").substr(0, 2).c_str(), nullptr, 16);
      ASSERT_TRUE(back[k] == byte && huge[k] == byte) << kSeed << " " << i << " byte " << k;
    }
    ASSERT_TRUE(std::equal(in.begin(), in.end(), fromWide.begin())) << kSeed << " " << i;
    ASSERT_TRUE(isHexString(mixed.data(), mixed.size()));

    // The escape form writes every decoded escape byte twice and stores the
    // number of bytes written divided by eight (deliberate).
    const uint8_t escape = in.empty() ? 0 : in[size_t(random(0, int(in.size()) - 1))];
    Bytes doubled, escaped(2 * in.size() + 1);
    for (uint8_t b : in) doubled.insert(doubled.end(), b == escape ? 2 : 1, b);
    VXSIZE_T count = 99;
    ASSERT_EQ(0u, dehexify(escaped.data(), digits.data(), digits.size(), escape, &count));
    ASSERT_TRUE(std::equal(doubled.begin(), doubled.end(), escaped.begin())) << kSeed << " " << i;
    ASSERT_EQ(doubled.size() / 8, count) << kSeed << " " << i;
  }
  EXPECT_EQ(0u, errors.getCount());
}

TEST_F(Hex, BadDigitReturnsOneAndPostsError2708KeepingEarlierBytes) {
  uint8_t out[3] = {0, 0, 0};
  VXSIZE_T count = 77;
  EXPECT_EQ(1u, dehexify(out, "12 4", 4));
  EXPECT_EQ(0x12, out[0]);
  EXPECT_EQ(1u, dehexify(out, "AbG0", 4));
  EXPECT_EQ(0xAB, out[0]);
  EXPECT_EQ(1u, dehexifyHuge(out, "/", 1));
  EXPECT_EQ(1u, wideDehexify(out, "A\0Z\0", 4));
  EXPECT_EQ(1u, dehexify(out, "27x1", 4, 0x27, &count));
  EXPECT_EQ(77u, count);
  ASSERT_EQ(5u, errors.getCount());
  for (VXSIZE_T k = 0; k < 5; ++k)
    EXPECT_TRUE(errors.at(k)->getErrorNumber() == 2708 && !errors.at(k)->isWarning()) << k;
  for (const char* bad : {"09afAG", "\0", "@", "`", "g", ":", "G"})
    EXPECT_FALSE(isHexString(bad, strlen(bad) + (*bad == '\0'))) << bad;
}

// Method 3 from its description: pairs (byte i, byte i + 1, the last
// byte of an odd length pairing with byte 0) run 32 rounds each; the key
// text (at most 15 bytes and its NUL) overwrites the start of the default
// key, of which the first four bytes are used.
void referenceScramble(Bytes& d, const char* key) {
  uint8_t k[17] = "VxLibScrambleKey";
  if (key != nullptr) {
    size_t len = std::min(strlen(key), size_t(15));
    memcpy(k, key, len);
    k[len] = 0;
  }
  if (d.size() == 1) d[0] ^= k[0];
  for (size_t i = 0; d.size() > 1 && i < d.size(); i += 2) {
    uint8_t &y = d[i], &z = d[i + 1 == d.size() ? 0 : i + 1];
    unsigned sum = 0;
    for (int r = 0; r < 32; ++r) {
      sum = (sum + 0x9E) & 0xFF;
      y = uint8_t(y + ((((z << 4) & 0xFF) + k[0]) ^ (z + sum) ^ ((z >> 5) + k[1])));
      z = uint8_t(z + ((((y << 4) & 0xFF) + k[2]) ^ (y + sum) ^ ((y >> 5) + k[3])));
    }
  }
}

TEST(Scramble, MethodsMatchTheirDescriptionAndDecryptUndoesEncrypt) {
  const char* keys[] = {nullptr, "", "K", "ab", "abc", "key", "abcdXXXX", "abcdYYYYYYYYYYYYYYYYYYY"};
  Random random;
  for (int i = 0; i < 2000; ++i) {
    Bytes plain(size_t(random(0, 40)));
    for (uint8_t& b : plain) b = random(0, 4) == 0 ? (random(0, 1) ? 0x0A : 0xF5) : uint8_t(random.rng());
    const uint16_t method = uint16_t(random(0, 5));
    const char* key = keys[random(0, 7)];
    Bytes want = plain, got = plain;
    for (uint8_t& b : want) {
      if (method == 1 || (method == 2 && b != 0x0A && b != 0xF5)) b = uint8_t(~b);
    }
    if (method == 3) referenceScramble(want, key);
    encrypt(got.data(), got.size(), method, key);
    ASSERT_EQ(want, got) << "seed " << kSeed << " case " << i << " method " << method;
    decrypt(got.data(), got.size(), method, key);
    ASSERT_EQ(plain, got) << "seed " << kSeed << " case " << i << " method " << method;
  }
}

}  // namespace
