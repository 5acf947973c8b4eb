// Process locales for tests that need a particular multibyte encoding.
//
// A locale that the machine does not have installed is compiled once with
// localedef into the build tree (test-locales/) and loaded from there. Tests
// skip themselves when neither works (no localedef or no charmaps).
#ifndef VX_TESTS_FOUNDATION_LOCALE_SUPPORT_H_
#define VX_TESTS_FOUNDATION_LOCALE_SUPPORT_H_

#include <gtest/gtest.h>

#include <clocale>
#include <string>

// Sets LC_ALL to `name` (e.g. "zh_CN.GBK"), compiling it from the locale
// source `source` and the charmap `charmap` when it is not installed.
// Returns false when the locale cannot be had.
bool useTestLocale(const std::string& name, const std::string& source,
                   const std::string& charmap);

// Switches the locale in its constructor and back to "C" in its
// destructor; available() says whether the switch worked.
class ScopedTestLocale {
 public:
  ScopedTestLocale(const std::string& name, const std::string& source,
                   const std::string& charmap)
      : ok(useTestLocale(name, source, charmap)) {}
  ~ScopedTestLocale();
  ScopedTestLocale(const ScopedTestLocale&) = delete;
  ScopedTestLocale& operator=(const ScopedTestLocale&) = delete;

  bool available() const { return ok; }

 private:
  bool ok;
};

// Fixture for tests that start in the "C" locale and must leave it so,
// whatever locale a test switched to on the way.
class CLocaleTest : public ::testing::Test {
 protected:
  void SetUp() override { setlocale(LC_ALL, "C"); }
  void TearDown() override { setlocale(LC_ALL, "C"); }
};

// The locales the string tests use: a two-byte encoding (GBK, lead bytes
// 0x81-0xFE, trail bytes 0x40-0xFE), ISO-8859-1 and UTF-8.
#define VX_GBK_LOCALE "zh_CN.GBK", "zh_CN", "GBK"
#define VX_LATIN1_LOCALE "de_DE.ISO-8859-1", "de_DE", "ISO-8859-1"
#define VX_UTF8_LOCALE "C.UTF-8", "", ""

#endif  // VX_TESTS_FOUNDATION_LOCALE_SUPPORT_H_
