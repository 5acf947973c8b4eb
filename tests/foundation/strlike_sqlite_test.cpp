// strLike against SQLite's LIKE on random ASCII texts and patterns.
//
// Both run case-insensitively with the escape \ and trailing blanks
// significant. The inputs stay inside the domain where the two define the
// same language (see docs/LIKE.md): ASCII without NUL, the escape distinct
// from both wildcards, and the C locale for strLike.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cctype>
#include <clocale>
#include <random>
#include <string>

#include "foundation/vxdbcs.h"

namespace {

// Small alphabets make matches frequent enough to test both answers.
std::string randomText(std::mt19937& rng) {
  static const char kText[] = "abAB c%_\\xZ";
  std::uniform_int_distribution<int> length(0, 12);
  std::uniform_int_distribution<int> pick(0, sizeof kText - 2);
  std::string s;
  for (int n = length(rng); n > 0; --n) s += kText[pick(rng)];
  return s;
}

std::string randomPattern(std::mt19937& rng) {
  static const char kPattern[] = "abAB c%%__\\xZ";
  std::uniform_int_distribution<int> length(0, 8);
  std::uniform_int_distribution<int> pick(0, sizeof kPattern - 2);
  std::string s;
  for (int n = length(rng); n > 0; --n) s += kPattern[pick(rng)];
  return s;
}

// A pattern made from the text itself, with some characters replaced by
// wildcards or flipped in case, some runs cut out in favour of %, and now
// and then an escape put in front of a character: such patterns match
// often, and fail near the end when the mutation goes too far.
std::string patternFromText(const std::string& text, std::mt19937& rng) {
  std::uniform_int_distribution<int> roll(0, 9);
  std::string s;
  for (char c : text) {
    switch (roll(rng)) {
      case 0: s += '_'; break;
      case 1: s += '%'; break;
      case 2: break;  // dropped: the pattern usually no longer matches
      case 3: s += static_cast<char>(isupper(c) ? tolower(c) : toupper(c)); break;
      case 4: s += '\\'; s += c; break;
      default: s += c; break;
    }
  }
  if (roll(rng) < 3) s += '%';
  return s;
}

TEST(StrLikeSqlite, AgreesWithSqliteLikeOnRandomAscii) {
  setlocale(LC_ALL, "C");
  std::mt19937 rng(20261121);
  int matches = 0;
  const int kCases = 20000;
  for (int i = 0; i < kCases; ++i) {
    std::string text = randomText(rng);
    std::string pattern = i % 2 == 0 ? randomPattern(rng) : patternFromText(text, rng);
    bool sqlite = sqlite3_strlike(pattern.c_str(), text.c_str(), '\\') == 0;
    bool ours = strLike(text.data(), text.size(), pattern.data(), pattern.size(), '%', '_', '\\',
                        0, 1, VX_CP_LOCALE);
    ASSERT_EQ(sqlite, ours) << "text [" << text << "] pattern [" << pattern << "]";
    matches += ours;
  }
  // Both answers must be well represented for the agreement to mean much.
  EXPECT_GT(matches, kCases / 20);
  EXPECT_LT(matches, kCases - kCases / 20);
}

// Longer texts with the pattern's literals planted in them, so that the
// bulk search after % runs over many positions.
TEST(StrLikeSqlite, AgreesWithSqliteLikeOnLongAsciiTexts) {
  setlocale(LC_ALL, "C");
  std::mt19937 rng(99);
  std::uniform_int_distribution<int> length(0, 200);
  std::uniform_int_distribution<int> pick(0, 5);
  static const char kText[] = "abAB c";
  int matches = 0;
  const int kCases = 5000;
  for (int i = 0; i < kCases; ++i) {
    std::string text;
    for (int n = length(rng); n > 0; --n) text += kText[pick(rng)];
    std::string pattern = randomPattern(rng);
    if (i % 2 == 0 && !text.empty()) {
      std::uniform_int_distribution<size_t> at(0, text.size() - 1);
      text.insert(at(rng), pattern.substr(0, 3));
    }
    bool sqlite = sqlite3_strlike(pattern.c_str(), text.c_str(), '\\') == 0;
    bool ours = strLike(text.data(), text.size(), pattern.data(), pattern.size(), '%', '_', '\\',
                        0, 1, VX_CP_LOCALE);
    ASSERT_EQ(sqlite, ours) << "text [" << text << "] pattern [" << pattern << "]";
    matches += ours;
  }
  EXPECT_GT(matches, kCases / 20);
  EXPECT_LT(matches, kCases - kCases / 20);
}

TEST(StrLikeSqlite, AgreesWithSqliteLikeQuery) {
  setlocale(LC_ALL, "C");
  sqlite3* db = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(":memory:", &db));
  sqlite3_stmt* stmt = nullptr;
  ASSERT_EQ(SQLITE_OK,
            sqlite3_prepare_v2(db, "SELECT ?1 LIKE ?2 ESCAPE '\\'", -1, &stmt, nullptr));
  std::mt19937 rng(7);
  for (int i = 0; i < 3000; ++i) {
    std::string text = randomText(rng);
    std::string pattern = i % 2 == 0 ? randomPattern(rng) : patternFromText(text, rng);
    sqlite3_reset(stmt);
    sqlite3_bind_text(stmt, 1, text.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 2, pattern.c_str(), -1, SQLITE_TRANSIENT);
    int rc = sqlite3_step(stmt);
    if (rc == SQLITE_ERROR) continue;  // SQLite refuses some escape placements
    ASSERT_EQ(SQLITE_ROW, rc);
    bool sqlite = sqlite3_column_int(stmt, 0) != 0;
    bool ours = strLike(text.data(), text.size(), pattern.data(), pattern.size(), '%', '_', '\\',
                        0, 1, VX_CP_LOCALE);
    ASSERT_EQ(sqlite, ours) << "text [" << text << "] pattern [" << pattern << "]";
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

}  // namespace
