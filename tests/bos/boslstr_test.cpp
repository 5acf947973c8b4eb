// The message catalog: texts from the catalog built with the library, the
// decimal fallback, use counts, the language choice and the traces of bit
// 0x8.
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bos/bos.h"
#include "bos/bos_test_support.h"
#include "bos/probe_support.h"
#include "foundation/msgtext_internal.h"

namespace {

// The English text of `number` as the message source spells it (the
// catalog built from it must give exactly this).
std::string sourceText(int number) {
  std::ifstream in(VX_TEST_SOURCE_DIR "/foundation/messages.msg");
  std::string line, prefix = std::to_string(number) + " ";
  while (std::getline(in, line))
    if (line.compare(0, prefix.size(), prefix) == 0) return line.substr(prefix.size());
  return "";
}

// The text of error 1509 with "x.ini" for its parameter.
std::string errorText1509() {
  std::string text = sourceText(1509);
  return text.replace(text.find("%s1"), 3, "x.ini");
}

std::string loaded(uint32_t id) {
  char buffer[1024];
  LoadString(VX_MESSAGE_MODULE, id, buffer, sizeof buffer);
  return buffer;
}

// Every test starts with the catalog open, as the first lookup leaves it.
class Catalog : public ::testing::Test {
 protected:
  void SetUp() override {
    int32_t users = 0;
    ASSERT_EQ(0, bosLoadResourceDLL(VX_MESSAGE_MODULE, 0, nullptr, &users));
    bosFreeResourceDLL(nullptr, &users);
  }
  void TearDown() override { OpenStrings(VX_MESSAGE_MODULE); }
};

TEST_F(Catalog, TextsAreThoseOfTheMessageSource) {
  for (int number : {1503, 1509, 1523, 2706, 30041, 30050, 30190}) {
    ASSERT_FALSE(sourceText(number).empty()) << number;
    EXPECT_EQ(sourceText(number), loaded(number)) << number;
  }
}

TEST_F(Catalog, LengthIsReturnedAndTextCutToSizeMinusOne) {
  std::string whole = sourceText(1509);
  char buffer[1024];
  EXPECT_EQ(whole.size(), LoadString(VX_MESSAGE_MODULE, 1509, buffer, sizeof buffer));
  char small[6];
  EXPECT_EQ(5u, LoadString(VX_MESSAGE_MODULE, 1509, small, sizeof small));
  EXPECT_EQ(whole.substr(0, 5), small);
  EXPECT_EQ(whole.size(), LoadString(VX_MESSAGE_MODULE, 1509, buffer, 0));
  EXPECT_EQ(whole, buffer);
}

TEST_F(Catalog, MissingNumberReadsAsItsDecimalAndModuleDoesNotChooseTheCatalog) {
  EXPECT_EQ("65535", loaded(65535));
  EXPECT_EQ("123456", loaded(123456));
  char a[256], b[256];
  LoadString("nvutl21", 1509, a, sizeof a);
  LoadString("anything", 1509, b, sizeof b);
  EXPECT_STREQ(a, b);
  EXPECT_EQ(sourceText(1509), a);
}

TEST_F(Catalog, ClosedCatalogGivesDecimalUntilReopened) {
  CloseStrings();
  EXPECT_EQ("1509", loaded(1509));
  char buffer[3];
  EXPECT_EQ(2u, LoadString(VX_MESSAGE_MODULE, 1509, buffer, sizeof buffer));
  EXPECT_STREQ("15", buffer);
  EXPECT_EQ(0, OpenStrings(VX_MESSAGE_MODULE));
  EXPECT_EQ(sourceText(1509), loaded(1509));
}

TEST_F(Catalog, UseCountRisesAndFallsButNeverBelowZero) {
  int32_t users = 0;
  void* handle = nullptr;
  EXPECT_EQ(0, bosLoadResourceDLL("nvutl21", 0, &handle, &users));
  EXPECT_EQ(0, bosLoadResourceDLL(VX_MESSAGE_MODULE, 0, &handle, &users));
  EXPECT_EQ(2, users);
  EXPECT_NE(reinterpret_cast<void*>(-1), handle);
  EXPECT_EQ(0, bosFreeResourceDLL(handle, &users));
  EXPECT_EQ(0, bosFreeResourceDLL(handle, &users));
  EXPECT_EQ(0, bosFreeResourceDLL(handle, &users));
  EXPECT_EQ(0, users);
  // The catalog stays open after its users are gone.
  EXPECT_EQ(sourceText(1503), loaded(1503));
}

TEST_F(Catalog, ErrorRecordsCarryTheTextWithParametersFilled) {
  InstalledErrorList errors;
  addError(1509) << "x.ini";
  ASSERT_NE(nullptr, errors.list.getLastError());
  ASSERT_EQ(1509, errors.list.getLastError()->getErrorNumber());
  EXPECT_EQ(errorText1509(), errors.list.getLastError()->getErrorText());
}

TEST_F(Catalog, UnmappedSystemErrorAppendsTheFormatOfModuleNvutl21) {
  InstalledErrorList errors;
  errno = EXDEV;
  bosMapError(EXDEV, "x.ini");
  ASSERT_NE(nullptr, errors.list.getLastError());
  ASSERT_EQ(30041, errors.list.getLastError()->getErrorNumber());
  char appended[512];
  snprintf(appended, sizeof appended, sourceText(30050).c_str(), strerror(EXDEV), "x.ini");
  EXPECT_EQ(sourceText(30041) + appended, errors.list.getLastError()->getErrorText());
}

TEST_F(Catalog, ThreadsLookingUpWhileTheCatalogReopensGetWholeTexts) {
  std::string expected = sourceText(1509);
  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 2000; ++i) {
        char buffer[256];
        loadMessageText(1509, buffer, sizeof buffer);
        // A lookup between a close and the reopening reads the decimal.
        if (expected != buffer && strcmp(buffer, "1509") != 0) ++wrong[t];
      }
    });
  }
  for (int i = 0; i < 50; ++i) {
    CloseStrings();
    OpenStrings(VX_MESSAGE_MODULE);
  }
  for (std::thread& t : threads) t.join();
  for (int t = 0; t < 4; ++t) EXPECT_EQ(0, wrong[t]) << t;
  EXPECT_EQ(expected, loaded(1509));
}

// ---- Language choice and traces, in child processes ----

std::string openingTrace(const std::string& locale, const std::string& language) {
  return "OpenStrings: HINST=vxlib\nOpenStrings: Default LC_MESSAGES=" + locale +
         "\nOpenStrings: Using LC_MESSAGES=" + language + "\n";
}

std::string lookupTrace(int number, const std::string& text) {
  return "LoadStringFromOpenFile: idResource=" + std::to_string(number) +
         "\nLoadStringFromOpenFile: Lookup returns: " + text + "\n";
}

// What the probe prints for each environment: the whole output, or (when
// prefixOnly) how it starts.
struct ProbeCase {
  const char* name;
  std::vector<std::string> env;
  std::vector<std::string> args;
  std::string expected;
  bool prefixOnly;
};

TEST(CatalogProbe, TracesLanguageChoiceAndMissingCatalogs) {
  std::string text = sourceText(1509);
  const std::string found = lookupTrace(1509, text) + "[" + text + "]\n";
  const std::vector<std::string> missing = {"--install", "/nonexistent/vx"};
  const ProbeCase cases[] = {
      {"opening and lookup trace exact texts", {"VX_DEBUGGING=8"}, {"message", "1509"},
       openingTrace("C", "en_US") + found, false},
      {"missing number traces the decimal", {"VX_DEBUGGING=8"}, {"message", "65000"},
       openingTrace("C", "en_US") + lookupTrace(65000, "65000") + "[65000]\n", false},
      {"other bits leave the catalog silent", {"VX_DEBUGGING=4"}, {"message", "1509"},
       "[" + text + "]\n", false},
      // No German catalog is built: the en_US one answers.
      {"LANG is used when LC_MESSAGES is unset", {"VX_DEBUGGING=8", "LANG=de_DE"}, {"message", "1509"},
       openingTrace("C", "de_DE") + found, false},
      {"LC_MESSAGES wins over LANG", {"VX_DEBUGGING=8", "LANG=de_DE", "LC_MESSAGES=fr_FR"},
       {"message", "4"}, openingTrace("C", "fr_FR"), true},
      {"variables set to C are skipped", {"VX_DEBUGGING=8", "LANG=C", "LC_MESSAGES=C"},
       {"message", "4"}, openingTrace("C", "en_US"), true},
      {"LC_MESSAGES=C is skipped for LANG", {"VX_DEBUGGING=8", "LANG=pt_BR", "LC_MESSAGES=C"},
       {"message", "4"}, openingTrace("C", "pt_BR"), true},
      {"every error carries the English text", {"LANG=de_DE"}, {"error", "1509", "x.ini"},
       "[" + errorText1509() + "]\n", false},
      // The opening is traced; no lookup reaches a catalog.
      {"missing catalog: error text is the decimal", {"VX_DEBUGGING=8"},
       {missing[0], missing[1], "error", "1509", "x.ini"}, openingTrace("C", "en_US") + "[1509]\n", false},
      {"missing catalog: unmapped system error appends the system text alone", {},
       {missing[0], missing[1], "maperror", "18", "x.ini"},
       std::string("error 30041: 30041") + strerror(18) + "\n", false},
  };
  for (const ProbeCase& c : cases) {
    std::string out = runProbe(c.env, c.args);
    if (c.prefixOnly) {
      EXPECT_EQ(0u, out.find(c.expected)) << c.name << "\n" << out;
    } else {
      EXPECT_EQ(c.expected, out) << c.name;
    }
  }
}

// An installation directory with catalogs of its own: en_US and de_DE
// texts for 1509 that differ from the library's.
class InstalledCatalogs : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_boslstr_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    build("en_US", "1509 English test text for %s1.");
    build("de_DE", "1509 Deutscher Testtext zu %s1.");
  }
  void TearDown() override { system(("rm -rf '" + dir + "'").c_str()); }
  void build(const std::string& language, const std::string& line) {
    std::string messages = dir + "/locale/" + language + "/LC_MESSAGES";
    std::string source = dir + "/" + language + ".msg";
    std::ofstream(source) << "$set 1\n" << line << "\n";
    std::string command = "mkdir -p '" + messages + "' && gencat '" + messages + "/vxlib.mo' '" +
                          source + "'";
    ASSERT_EQ(0, system(command.c_str()));
  }
  std::string dir;
};

// The installed catalog lacks 1503: the decimal, not the library's text.
TEST_F(InstalledCatalogs, LanguageChoosesAmongInstalledCatalogsOnly) {
  const ProbeCase cases[] = {
      {"LANG chooses its catalog", {"LANG=de_DE"}, {"error", "1509", "x.ini"},
       "[Deutscher Testtext zu x.ini.]\n", false},
      {"no catalog: en_US", {"LANG=fr_FR"}, {"error", "1509", "x.ini"},
       "[English test text for x.ini.]\n", false},
      {"no catalog for LC_MESSAGES: en_US", {"LANG=de_DE", "LC_MESSAGES=pt_BR"}, {"message", "1509"},
       "[English test text for %s1.]\n", false},
      {"installation replaces the built-in places", {}, {"message", "1503"}, "[1503]\n", false},
  };
  for (const ProbeCase& c : cases) {
    std::vector<std::string> args = {"--install", dir};
    args.insert(args.end(), c.args.begin(), c.args.end());
    EXPECT_EQ(c.expected, runProbe(c.env, args)) << c.name;
  }
}

}  // namespace
