// Shared set-up of the foundation tests: process locales with a particular
// multibyte encoding, a fixture that keeps the "C" locale around each test,
// and the seeded random source of the differential tests.
#ifndef VX_TESTS_FOUNDATION_FOUNDATION_SUPPORT_H_
#define VX_TESTS_FOUNDATION_FOUNDATION_SUPPORT_H_

#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <string>

// kGbk is a two-byte encoding (lead bytes 0x81-0xFE, trail bytes 0x40-0xFE).
enum TestLocale { kGbk, kTurkish, kUtf8 };

// Sets LC_ALL to the locale. One that the machine lacks is compiled once
// with localedef into the build tree (test-locales/) and loaded from there;
// false when neither works.
bool useLocale(TestLocale which);

// Tests start in the "C" locale and leave it so, whatever they switched to.
class FoundationTest : public ::testing::Test {
 protected:
  void SetUp() override { setlocale(LC_ALL, "C"); }
  void TearDown() override { setlocale(LC_ALL, "C"); }
};

#define USE_LOCALE_OR_SKIP(which) \
  if (!useLocale(which)) GTEST_SKIP() << #which " locale unavailable (no localedef or charmaps)"

// The differential tests draw from this fixed seed and print it with any
// failing case, so that a failure can be replayed.
constexpr unsigned kSeed = 20261123;
struct Random {
  std::mt19937 rng{kSeed};
  int operator()(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }
  // Up to maxLength bytes drawn from alphabet.
  std::string text(const std::string& alphabet, int maxLength) {
    std::string s(size_t(operator()(0, maxLength)), ' ');
    for (char& c : s) c = alphabet[size_t(operator()(0, int(alphabet.size()) - 1))];
    return s;
  }
};

#endif  // VX_TESTS_FOUNDATION_FOUNDATION_SUPPORT_H_
