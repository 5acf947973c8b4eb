// The English message texts compile with gencat into a catalog that holds
// every message number the library reports, with well-formed markers.
#include <gtest/gtest.h>
#include <nl_types.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char kSource[] = VX_TEST_SOURCE_DIR "/foundation/messages.msg";
const char kCatalog[] = VX_TEST_BINARY_DIR "/messages_test.cat";

std::vector<int> requiredNumbers() {
  std::vector<int> numbers = {4, 1018, 1023, 1024, 30190};
  for (int n = 1502; n <= 1524; ++n) numbers.push_back(n);
  for (int n = 2701; n <= 2739; ++n) numbers.push_back(n);
  for (int n = 7500; n <= 7508; ++n) numbers.push_back(n);
  for (int n = 30040; n <= 30050; ++n) numbers.push_back(n);
  return numbers;
}

// Parameter numbers of the markers in text, in order of appearance; false
// when a "%s"/"%d" is not followed by a well-formed number (one digit, or
// "x" and two or more digits).
bool markerNumbers(const std::string& text, std::vector<int>* numbers) {
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] != '%' || (text[i + 1] != 's' && text[i + 1] != 'd')) continue;
    size_t p = i + 2;
    bool x = p < text.size() && text[p] == 'x';
    if (x) ++p;
    size_t start = p;
    while (p < text.size() && isdigit(static_cast<unsigned char>(text[p]))) ++p;
    if (p == start) return false;
    int n = atoi(text.substr(start, p - start).c_str());
    if (x != (n > 9)) return false;
    numbers->push_back(n);
  }
  return true;
}

class MessageCatalog : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::string command = std::string("gencat '") + kCatalog + "' '" + kSource + "' 2>&1";
    FILE* p = popen(command.c_str(), "r");
    ASSERT_NE(nullptr, p);
    char line[512];
    while (fgets(line, sizeof line, p)) gencatOutput += line;
    gencatStatus = pclose(p);
  }
  void SetUp() override {
    ASSERT_EQ(0, gencatStatus) << gencatOutput;
    ASSERT_EQ("", gencatOutput);
    catalog = catopen(kCatalog, 0);
    ASSERT_NE(reinterpret_cast<nl_catd>(-1), catalog);
  }
  void TearDown() override {
    if (catalog != reinterpret_cast<nl_catd>(-1)) catclose(catalog);
  }
  std::string text(int number) { return catgets(catalog, 1, number, "<missing>"); }

  static int gencatStatus;
  static std::string gencatOutput;
  nl_catd catalog = reinterpret_cast<nl_catd>(-1);
};

int MessageCatalog::gencatStatus = -1;
std::string MessageCatalog::gencatOutput;

TEST_F(MessageCatalog, EveryReportedNumberHasAText) {
  for (int n : requiredNumbers()) {
    std::string t = text(n);
    EXPECT_NE("<missing>", t) << n;
    EXPECT_FALSE(t.empty()) << n;
  }
}

TEST_F(MessageCatalog, MarkersAreNumberedByPositionFromOne) {
  for (int n : requiredNumbers()) {
    if (n == 30050) continue;
    std::string t = text(n);
    std::vector<int> numbers;
    ASSERT_TRUE(markerNumbers(t, &numbers)) << n << ": " << t;
    // Every number from 1 to the highest one used has its marker.
    int highest = numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end());
    for (int k = 1; k <= highest; ++k)
      EXPECT_NE(numbers.end(), std::find(numbers.begin(), numbers.end(), k))
          << n << " skips marker " << k << ": " << t;
  }
}

TEST_F(MessageCatalog, MemoryRecordTextIsOutOfMemory) { EXPECT_EQ("Out Of Memory", text(30190)); }

TEST_F(MessageCatalog, SystemErrorFormatTakesTwoTexts) {
  std::string format = text(30050);
  char out[256];
  snprintf(out, sizeof out, format.c_str(), "No such device", "x.ini");
  EXPECT_NE(nullptr, strstr(out, "No such device")) << out;
  EXPECT_NE(nullptr, strstr(out, "x.ini")) << out;
  EXPECT_LT(strstr(out, "No such device"), strstr(out, "x.ini"));
  // Exactly two conversions, both %s.
  int conversions = 0;
  for (size_t i = 0; i + 1 < format.size(); ++i)
    if (format[i] == '%') {
      EXPECT_EQ('s', format[i + 1]) << format;
      ++conversions;
      ++i;
    }
  EXPECT_EQ(2, conversions);
}

// The markers match what the reporting code streams into each record.
TEST_F(MessageCatalog, ParameterMessagesCarryTheirMarkers) {
  auto markers = [this](int n) {
    std::vector<int> numbers;
    EXPECT_TRUE(markerNumbers(text(n), &numbers)) << n;
    return numbers.size();
  };
  // A file or object name streamed in.
  for (int n : {1502, 1504, 1506, 1508, 1509, 1519, 1520, 1521, 1524, 2701, 2702, 30049})
    EXPECT_NE(std::string::npos, text(n).find("%s1")) << n;
  // Two texts streamed in.
  for (int n : {1523, 30042}) EXPECT_NE(std::string::npos, text(n).find("%s2")) << n;
  // A position, then a source name.
  EXPECT_NE(std::string::npos, text(2704).find("%d1"));
  EXPECT_NE(std::string::npos, text(2705).find("%d1"));
  EXPECT_NE(std::string::npos, text(2705).find("%s2"));
  // Reported without parameters, or with text appended afterwards: a
  // marker would stay visible in the message.
  for (int n : {4, 1503, 1507, 1512, 1514, 2706, 2707, 2708, 2710, 2716, 2735, 2736, 2737, 2738,
                2739, 7500, 7501, 7503, 7504, 7505, 7508, 30041, 30045, 30190})
    EXPECT_EQ(0u, markers(n)) << n << ": " << text(n);
}

}  // namespace
