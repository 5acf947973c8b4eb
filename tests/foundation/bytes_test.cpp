// The byte primitives of but.h beyond what the bytes fuzz target judges
// (it compares the copies, fills, swaps and comparisons with libc and byte
// loops); hexadecimal encoding against snprintf and strtoul; the scrambling
// methods against answers worked out from their description. The
// deliberate oddities of alignment, bit sets and the escape count are rows.
// The hex fuzz target judges bad-digit statuses and round trips.
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

// fastMemCopy's byte steps, taken when either pointer is odd, run from the
// highest offset down: a destination one byte above its source repeats
// nothing. Bits count from the least significant; bitcheck returns the bit
// in place. butswap reaches elements past 16 bits and, when it cannot get
// a scratch element, gives up leaving both elements as they were.
TEST(BytePrimitives, FastCopyBitSetsButswapAndAlignmentKeepTheirQuirks) {
  alignas(8) char buf[8] = {'x', 'a', 'b', 'c', 'd', 'e', 'f', '\0'};
  fastMemCopy(buf + 2, buf + 1, 5);
  EXPECT_STREQ("xaabcde", buf);
  uint8_t set[4] = {0, 0, 0, 0};
  for (int bit : {0, 9, 13, 31}) bitset(set, bit);
  EXPECT_EQ(0x80002201u, uint32_t(set[0] | set[1] << 8 | set[2] << 16 | uint32_t(set[3]) << 24));
  EXPECT_TRUE(bitcheck(set, 13) == 0x20 && bitcheck(set, 12) == 0 && bitcheck(set, 5) == 0);
  Bytes big(301 * 300, 0);
  big[300 * 300] = 0xEE, big[1] = 0x11;
  butswap(big.data(), 0, 300, 300);
  EXPECT_TRUE(big[0] == 0xEE && big[300 * 300 + 1] == 0x11 && big[1] == 0 && big[300 * 300] == 0);
  butswap(big.data(), 0, 0, 300);  // an element swapped with itself
  ramFailAllocationAfter(1);
  butswap(big.data(), 0, 300, 300);
  ramFailAllocationAfter(0);
  EXPECT_EQ(0xEE, big[0]);
  // Deliberate: the alignment mask is ~boundary, not ~(boundary - 1), the
  // 16-bit form wraps at 16 bits, and verifyByteBoundary is false for every
  // boundary.
  struct { uint64_t value; uint16_t boundary; uint64_t wide; uint16_t narrow; } rows[] = {
      {1, 8, 0, 0}, {9, 8, 16, 16}, {8, 8, 7, 7}, {12, 4, 11, 11}, {0xFFFF, 8, 0x10006, 6}};
  for (const auto& r : rows) {  // each form returns the aligned value and stores it
    uint64_t wide = r.value;
    uint16_t narrow = uint16_t(r.value);
    char* p = reinterpret_cast<char*>(uintptr_t(r.value));
    EXPECT_TRUE(alignOnByteBoundary(wide, r.boundary) == r.wide && alignOnByteBoundary(narrow, r.boundary) == r.narrow &&
                uintptr_t(alignOnByteBoundary(p, r.boundary)) == r.wide && wide == r.wide && narrow == r.narrow && uintptr_t(p) == r.wide) << r.value;
  }
  for (uint32_t b = 0; b <= 0xFFFF; ++b) ASSERT_FALSE(verifyByteBoundary(uint16_t(b))) << b;
}

// Every value handed in comes out exactly once across the returns and the
// final word: a lost update would drop one.
TEST(Threads, WordExchangesStoreReturnPreviousAndLoseNoValue) {
  for (auto exchange : {atomicTaskExchange, atomicThreadExchange}) {
    uint64_t word = 5;
    EXPECT_TRUE(exchange(&word, UINT64_MAX) == 5u && exchange(&word, 0) == UINT64_MAX);
    constexpr uint64_t kThreads = 4, kPerThread = 5000;
    std::vector<uint64_t> all(kThreads * kPerThread + 1);  // every value returned, then the final word
    std::vector<std::thread> threads;
    for (uint64_t t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] { for (uint64_t k = 0; k < kPerThread; ++k) all[t * kPerThread + k] = exchange(&word, t * kPerThread + k + 1); });
    for (std::thread& th : threads) th.join();
    all.back() = word;
    std::sort(all.begin(), all.end());
    for (uint64_t k = 0; k < all.size(); ++k) ASSERT_EQ(k, all[k]);
  }
}

// A fresh multiple-error list, so that the error a decoder posts shows.
class Hex : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors)); }
  void TearDown() override { VxErrorKeeper::giveUpErrorList(); }
  VxErrorList errors{nullptr, VxErrorList::kSupportMultipleErrors};
};

TEST_F(Hex, CodersAgreeWithSnprintfAndStrtoulAndABadDigitPostsAnError) {
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
  // The hex fuzz target judges the statuses, the error number and the
  // untouched count of every decoder on bad digits; here the bytes decoded
  // before the bad digit stay, and the report is an error, not a warning.
  uint8_t out[3] = {0, 0, 0};
  EXPECT_TRUE(dehexify(out, "12 4", 4) == 1 && out[0] == 0x12 && dehexifyHuge(out, "AbG0", 4) == 1 && out[0] == 0xAB);
  ASSERT_EQ(2u, errors.getCount());
  EXPECT_TRUE(errors.at(1)->getErrorNumber() == 2708 && !errors.at(0)->isWarning() && !errors.at(1)->isWarning());
  for (const char* bad : {"09afAG", "\0", "@", "`", "g", ":", "G"}) EXPECT_FALSE(isHexString(bad, strlen(bad) + (*bad == '\0'))) << bad;
}

// Methods 1 and 2 complement every byte (2 keeps 0x0A and 0xF5, so lines
// survive). Method 3's answers were worked out by hand-written code from
// its description: pairs (byte i, byte i + 1, the last byte of an odd
// length pairing with byte 0) run 32 rounds each; the key text (at most 15
// bytes and its NUL) overwrites the start of the default key
// "VxLibScrambleKey", of which the first four bytes are used; a single
// byte is XORed with the first. Every method's decrypt undoes encrypt and
// writes nothing past the length.
TEST(Scramble, MethodsMatchTheirDescriptionAndDecryptUndoesEncrypt) {
  struct { const char* key; Bytes plain, want; } known[] = {
      {nullptr, {'A'}, {0x17}}, {nullptr, {'A', 'B'}, {0x2A, 0xAB}}, {"", {'a', 'b', 'c'}, {0x5E, 0x90, 0xC2}},
      {"K", {0x0A, 0xF5, 0x00, 0xFF}, {0xF6, 0xBE, 0x06, 0xF5}}, {"ab", {'h', 'e', 'l', 'l', 'o'}, {0xFC, 0xBF, 0x8F, 0x02, 0xCE}},
      {"abc", {'s', 'c', 'r', 'a', 'm', 'b', 'l', 'e'}, {0xC0, 0x6E, 0x95, 0xEA, 0xEF, 0x02, 0x9B, 0xA9}},
      {"abcdYYYYYYYYYYYYYYYYYYY", {'x', 'y', 'z'}, {0x58, 0x25, 0x71}}};
  for (auto& r : known) EXPECT_EQ(r.want, (encrypt(r.plain.data(), r.plain.size(), 3, r.key), r.plain)) << r.want.size();
  const char* keys[] = {nullptr, "", "K", "abcdXXXX"};
  Random random;
  for (int i = 0; i < 2000; ++i) {
    Bytes plain(size_t(random(2, 42)));  // the last two bytes are guards
    for (uint8_t& b : plain) b = random(0, 4) == 0 ? (random(0, 1) ? 0x0A : 0xF5) : uint8_t(random.rng());
    const uint16_t method = uint16_t(random(0, 5)), n = uint16_t(plain.size() - 2);
    const char* key = keys[random(0, 3)];
    Bytes want = plain, got = plain;
    for (size_t k = 0; k < n; ++k) want[k] = method == 1 || (method == 2 && want[k] != 0x0A && want[k] != 0xF5) ? uint8_t(~want[k]) : want[k];
    encrypt(got.data(), n, method, key);
    ASSERT_TRUE(method == 3 ? std::equal(got.end() - 2, got.end(), plain.end() - 2) : want == got) << "seed " << kSeed << " case " << i;
    decrypt(got.data(), n, method, key);
    ASSERT_EQ(plain, got) << "seed " << kSeed << " case " << i << " method " << method;
  }
}

}  // namespace
