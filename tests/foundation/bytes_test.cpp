// The byte primitives of but.h against libc and byte loops; hexadecimal
// encoding against snprintf and strtoul; the scrambling methods against a
// reference written from their description. The deliberate oddities of
// alignment, bit sets and the escape count are rows. The hex fuzz target
// judges bad-digit statuses and round trips on arbitrary input.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
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
void copyUp(uint8_t* d, const uint8_t* s, size_t n) { for (size_t k = 0; k < n; ++k) d[k] = s[k]; }
void copyDown(uint8_t* d, const uint8_t* s, size_t n) { for (size_t k = n; k-- > 0;) d[k] = s[k]; }
int sign(int v) { return (v > 0) - (v < 0); }

// Random lengths (mostly short, so that every tail and alignment comes up),
// offsets from a 16-aligned block and overlaps in both directions.
TEST(BytePrimitives, MatchLibcAndByteLoopsOnRandomAreas) {
  struct { const char* name; void (*copy)(void*, const void*, VXSIZE_T); void (*model)(uint8_t*, const uint8_t*, size_t); }
  overlapping[] = {{"BUTMEMCP", BUTMEMCP, copyUp},       {"memCopy", memCopy, copyUp},      {"memCopyHuge", memCopyHuge, copyUp},
                   {"memMove", memMove, copyUp},         {"BUTMMCPD", BUTMMCPD, copyDown},  {"memCopyReverse", memCopyReverse, copyDown}};
  Random random;
  for (int i = 0; i < 6000 && !HasFailure(); ++i) {
    const size_t n = random(0, 7) == 0 ? random(0, 1200) : random(0, 40);
    Bytes area(2 * n + 48), other(area.size());
    for (Bytes* v : {&area, &other}) std::generate(v->begin(), v->end(), [&] { return uint8_t(random.rng()); });
    const size_t s = random(0, int(n) + 48), d = random(0, int(n) + 48), d8 = d & ~7u, s8 = s & ~7u, s4 = s & ~3u;
    const uint8_t* o = other.data();
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << " case " << i << " n=" << n << " src=" << s << " dst=" << d);
    // Runs op on one copy of area and model on another; the two must agree.
    auto agree = [&](const char* what, const std::function<void(uint8_t*)>& op, const std::function<void(uint8_t*)>& model) {
      Bytes want = area, got = area;
      model(want.data()), op(got.data());
      EXPECT_EQ(want, got) << what;
    };
    for (const auto& c : overlapping) agree(c.name, [&](uint8_t* m) { c.copy(m + d, m + s, n); }, [&](uint8_t* m) { c.model(m + d, m + s, n); });
    agree("fastMemCopy", [&](uint8_t* m) { fastMemCopy(m + d, o + s, n); }, [&](uint8_t* m) { memcpy(m + d, o + s, n); });
    agree("memCopyAligned", [&](uint8_t* m) { memCopyAligned(m + d8, o + s8, n); }, [&](uint8_t* m) { memcpy(m + d8, o + s8, n); });
    agree("memZero", [&](uint8_t* m) { memZero(m + d, n); }, [&](uint8_t* m) { memset(m + d, 0, n); });
    agree("memZero4Byte", [&](uint8_t* m) { memZero4Byte(m + s4, n / 4); }, [&](uint8_t* m) { memset(m + s4, 0, n / 4 * 4); });
    for (auto fill : {BUTU8FIL, memFill, memFillHuge})
      agree("fill", [&](uint8_t* m) { fill(m + d, o[0], n); }, [&](uint8_t* m) { memset(m + d, o[0], n); });
    for (auto swap : {BUTMMSWP, memSwap}) {
      Bytes a = area, b = other;
      std::swap_ranges(&a[d], &a[d] + n, &b[s]);
      swap(&area[d], &other[s], n);
      EXPECT_TRUE(a == area && b == other) << "swap";
    }

    // Comparison: the second area equals the first, or differs in one byte.
    std::copy(&area[s], &area[s] + n, &other[d]);
    if (n > 0 && random(0, 3) != 0) other[d + random(0, int(n) - 1)] = uint8_t(random.rng());
    const uint8_t *x = &area[s], *y = &other[d];
    const int expected = sign(memcmp(x, y, n));
    EXPECT_TRUE(expected == memCompare(x, y, n) && expected == BUTMMCMP(x, y, n) && -expected == memCompareHuge(y, x, n) &&
                (expected == 0) == memEqual(x, y, n));
    // Short strings: the random bytes hold a NUL now and then.
    area.back() = other.back() = 0;
    const char *p = reinterpret_cast<char*>(&area[s]), *q = reinterpret_cast<char*>(&other[d]);
    std::string joined = std::string(p) + q;
    std::vector<char> buf(joined.size() + 1, '#');
    EXPECT_TRUE(strlen(p) == BUTSTLEN(p) && sign(strcmp(p, q)) == sign(BUTSTCMP(p, q)) && BUTSTCPY(buf.data(), p) == &buf[strlen(p)] &&
                BUTSTCAT(buf.data(), q) == &buf[joined.size()] && joined == buf.data());
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
  for (int i = 0; i < 3000 && !HasFailure(); ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed << " case " << i);
    const uint64_t value = i % 100 == 0 ? 0 : (uint64_t(random.rng()) << 32 | random.rng()) >> random(0, 63);
    const int minimum = random(0, 20);
    char want[40], out[40];
    snprintf(want, sizeof want, "%0*llX", minimum, static_cast<unsigned long long>(value));
    EXPECT_TRUE(hexify(out, value, uint16_t(minimum)) == strlen(want) && std::string(want) == out) << value << " " << minimum;

    Bytes in(size_t(random(0, 30)));
    std::generate(in.begin(), in.end(), [&] { return uint8_t(random.rng()); });
    std::string digits, units, mixed;
    for (uint8_t b : in) snprintf(want, sizeof want, "%02X", b), digits += want;
    for (char c : digits) units += std::string(1, c) + '\0', mixed += random(0, 1) ? char(tolower(c)) : c;
    std::vector<char> text(2 * in.size() + 1, '#'), huge(text), wide(4 * in.size() + 1, '#'), same(wide), wideSame(wide);
    std::copy(in.begin(), in.end(), same.begin()), std::copy(in.begin(), in.end(), wideSame.begin());
    EXPECT_TRUE(hexify(text.data(), in.data(), in.size()) == digits.size() && digits + '#' == std::string(text.begin(), text.end()) &&
                hexifyHuge(huge.data(), in.data(), in.size()) == digits.size() && text == huge &&
                wideHexify(wide.data(), in.data(), in.size()) == units.size() && units + '#' == std::string(wide.begin(), wide.end()));
    hexify(same.data(), same.data(), in.size()), wideHexify(wideSame.data(), wideSame.data(), in.size());  // in place
    EXPECT_TRUE(digits == std::string(same.data(), digits.size()) && units == std::string(wideSame.data(), units.size()));

    // Decoding, in either case; an odd count leaves the last digit high.
    if (!mixed.empty() && random(0, 1)) mixed.pop_back();
    Bytes back(in.size() + 1, 0x11), fromHuge(back), fromWide(back);
    EXPECT_TRUE(dehexify(back.data(), mixed.data(), mixed.size()) == 0 && dehexifyHuge(fromHuge.data(), mixed.data(), mixed.size()) == 0 &&
                wideDehexify(fromWide.data(), ('\0' + units).data(), units.size()) == 0 && isHexString(mixed.data(), mixed.size()));
    for (size_t k = 0; 2 * k < mixed.size(); ++k) {
      unsigned long byte = strtoul((mixed.substr(2 * k, 2) + "0").substr(0, 2).c_str(), nullptr, 16);
      EXPECT_TRUE(back[k] == byte && fromHuge[k] == byte && (2 * k + 1 == mixed.size() || fromWide[k] == byte)) << k << " " << mixed;
    }
    // The escape form writes every decoded escape byte twice and stores the
    // number of bytes written divided by eight (deliberate).
    const uint8_t escape = in.empty() ? 0 : in[size_t(random(0, int(in.size()) - 1))];
    Bytes doubled, escaped(2 * in.size() + 1);
    for (uint8_t b : in) doubled.insert(doubled.end(), b == escape ? 2 : 1, b);
    VXSIZE_T count = 99;
    EXPECT_TRUE(dehexify(escaped.data(), digits.data(), digits.size(), escape, &count) == 0 && count == doubled.size() / 8 &&
                std::equal(doubled.begin(), doubled.end(), escaped.begin()));
  }
  EXPECT_EQ(0u, errors.getCount());
}

TEST_F(Hex, BadDigitReturnsOneAndPostsError2708KeepingEarlierBytes) {
  uint8_t out[3] = {0, 0, 0};
  VXSIZE_T count = 77;
  EXPECT_TRUE(dehexify(out, "12 4", 4) == 1 && out[0] == 0x12 && dehexify(out, "AbG0", 4) == 1 && out[0] == 0xAB);
  EXPECT_TRUE(dehexifyHuge(out, "/", 1) == 1 && wideDehexify(out, "A\0Z\0", 4) == 1);
  EXPECT_TRUE(dehexify(out, "27x1", 4, 0x27, &count) == 1 && count == 77);
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
    for (uint8_t& b : want) b = method == 1 || (method == 2 && b != 0x0A && b != 0xF5) ? uint8_t(~b) : b;
    if (method == 3) referenceScramble(want, key);
    encrypt(got.data(), got.size(), method, key);
    ASSERT_EQ(want, got) << "seed " << kSeed << " case " << i << " method " << method;
    decrypt(got.data(), got.size(), method, key);
    ASSERT_EQ(plain, got) << "seed " << kSeed << " case " << i << " method " << method;
  }
}

}  // namespace
