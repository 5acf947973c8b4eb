// Code-page identification: the tables (sorted, openable, their fixed
// rows), the connection-string scan, the profile probes and the small
// profile reader.
#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "charset/ucnv.h"

namespace {

// Converter names of the table that this ICU does not ship: the two
// private families, and fixed rows naming tables of older ICU releases.
bool absentFromThisIcu(const std::string& name) {
  static const std::set<std::string> older = {
      "ibm-942_P120-2000", "ibm-1363_P11B-2000", "PTCP154",          "ibm-943_P14A-2000",
      "ibm-1370_P100-1999", "windows-932-2000",  "solaris-eucJP-2_7", "solaris-eucJP-2_8"};
  return name.rfind("td_", 0) == 0 || name.rfind("UNICONV_CID_", 0) == 0 || older.count(name);
}

TEST(CodePageTables, SortedAndEveryShippedNameOpens) {
  const std::pair<const UcnvMapRow*, int64_t> tables[] = {
      {IANAtoIBMTable, IANAtoIBMTableRows},
      {IBMtoIANATable, IBMtoIANATableRows},
      {WindowsToIANATable, WindowsToIANATableRows},
      {UnilibToIANATable, UnilibToIANATableRows}};
  for (const auto& t : tables) {
    for (int64_t i = 1; i < t.second; ++i) ASSERT_LT(t.first[i - 1].key, t.first[i].key);
    for (int64_t i = 0; i < t.second; ++i) {
      EXPECT_EQ(t.first[i].value, ucnvMapToIANAID(t.first[i].key, t.first, t.second));
    }
  }
  for (int64_t i = 0; i < IANAtoICUTableRows; ++i) {
    const UcnvNameRow& row = IANAtoICUTable[i];
    if (i > 0) {
      ASSERT_LT(IANAtoICUTable[i - 1].key, row.key);
    }
    EXPECT_EQ(row.name, ucnvIANAidToICUname(row.key));
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(row.name, &status);
    if (absentFromThisIcu(row.name)) {
      EXPECT_EQ(U_FILE_ACCESS_ERROR, status) << row.name;
    } else {
      EXPECT_TRUE(U_SUCCESS(status)) << row.key << " " << row.name;
    }
    ucnv_close(converter);
  }
}

TEST(CodePageTables, FixedRows) {
  const std::pair<int64_t, const char*> names[] = {
      {3, "ANSI_X3.4-1968"}, {17, "ibm-942_P120-2000"}, {1015, "UTF-16LE"},
      {2024, "ibm-943_P15A-2003"}, {2259, "TIS620"}, {2000000012, "UNICONV_CID_MACEURO"},
      {2000005040, "td_ebcdic037_0e"}, {2000005056, "td_tchebcdic937_3ib"},
      {2000002024, "windows-932-2000"}};
  for (const auto& row : names) EXPECT_STREQ(row.second, ucnvIANAidToICUname(row.first));
  EXPECT_EQ(nullptr, ucnvIANAidToICUname(999));
  struct Row {
    int64_t (*map)(int64_t);
    int64_t key, value;
  };
  const Row rows[] = {
      {ucnvUnilibToIANA, -1, 1015}, {ucnvUnilibToIANA, 6, 17}, {ucnvUnilibToIANA, 21, 111},
      {ucnvUnilibToIANA, 8, kUcnvNotFound}, {ucnvUnilibToIANA, 1149, 2100},
      {ucnvUnilibToIANA, 1258, 2258}, {ucnvWindowsToIANA, 874, 111},
      {ucnvWindowsToIANA, 1361, 36}, {ucnvWindowsToIANA, 28599, 12},
      {ucnvWindowsToIANA, 65001, 106}, {ucnvIANAToIBM, 4, 1252}, {ucnvIANAToIBM, 1015, 1200},
      {ucnvIANAToIBM, 2000000931, 930}, {ucnvIANAToIBM, 2000000930, 930},
      {ucnvIBMToIANA, 300, 2000000939}, {ucnvIBMToIANA, 5305, 106},
      {ucnvIBMToIANA, 17586, 1014}, {ucnvIBMToIANA, 28709, 2000001159},
      {ucnvIBMToIANA, 5354, 2258}};
  for (const Row& row : rows) EXPECT_EQ(row.value, row.map(row.key)) << row.key;
}

std::u16string wide(const char* s) { return std::u16string(s, s + strlen(s)); }

TEST(ConnectionString, ScanRules) {
  struct Row {
    const char* text;
    int64_t expected;
    const char* dsn;
  };
  const Row rows[] = {
      {"IACP=106;AppCodePage=1252", 106, nullptr},
      {"AppCodePage=1252;IACP=106", 106, nullptr},
      {"AppCodePage=1252;ACP=0", 3, nullptr},
      {"AppCodePage=1252", 2252, nullptr},
      {"IANAAppCodePage=", kUcnvNotFound, nullptr},
      {"IANAAppCodePage= ;DSN=x", 0, nullptr},
      {"ACP=1252;IACP;DSN=y", kUcnvNotFound, "y"},
      {"DSN x;DSN=y", kUcnvNotFound, "y"},                    // a DSN without "=" is passed over
      {"AppCodePage=1252;ACPX=6", kUcnvNotFound, nullptr},
      {" dsn = My Source ;dsn=other;iacp = -5", -5, "My Source "},
      {"AppCodePage=8", kUcnvNotFound, nullptr},
      {"DSN", kUcnvNotFound, nullptr},
      {"I", kUcnvNotFound, nullptr},
  };
  for (const Row& row : rows) {
    // Exactly the text's units, with no terminator behind them: the scan
    // must stop at the length (a sanitizer build sees any read past it).
    std::u16string units = wide(row.text);
    std::vector<char16_t> text(units.begin(), units.end());
    UChar* dsn = nullptr;
    EXPECT_EQ(row.expected, ucnvUnicodeIANAAppCodePage(reinterpret_cast<const UChar*>(text.data()),
                                                       int64_t(text.size()), &dsn))
        << row.text;
    EXPECT_EQ(row.dsn == nullptr ? u"" : wide(row.dsn),
              dsn == nullptr ? u"" : std::u16string(reinterpret_cast<char16_t*>(dsn)))
        << row.text;
    ucnv_free(dsn);
    char* bytesDsn = nullptr;
    EXPECT_EQ(row.expected, ucnvAnsiIANAAppCodePage(row.text, -3, &bytesDsn)) << row.text;
    EXPECT_STREQ(row.dsn == nullptr ? "" : row.dsn, bytesDsn == nullptr ? "" : bytesDsn);
    ucnv_free(bytesDsn);
  }
}

// The probes read the load-time copies; each test lends them its own text
// and the copies come back afterwards.
class ProfileProbes : public ::testing::Test {
 protected:
  void TearDown() override { lend(savedIni, savedIniSize, savedInst, savedInstSize); }
  static void lend(char* ini, int64_t iniSize, char* inst, int64_t instSize) {
    NORVK_UCNV_INI_Buf = ini;
    NORVK_UCNV_INI_BufSize = iniSize;
    NORVK_UCNV_INST_Buf = inst;
    NORVK_UCNV_INST_BufSize = instSize;
  }
  void lend(std::string& ini, std::string& inst) {
    lend(ini.empty() ? nullptr : &ini[0], int64_t(ini.size()) + 1,
         inst.empty() ? nullptr : &inst[0], int64_t(inst.size()) + 1);
  }
  char* savedIni = NORVK_UCNV_INI_Buf;
  int64_t savedIniSize = NORVK_UCNV_INI_BufSize;
  char* savedInst = NORVK_UCNV_INST_Buf;
  int64_t savedInstSize = NORVK_UCNV_INST_BufSize;
};

TEST_F(ProfileProbes, PrecedenceOfTheSevenProbes) {
  struct Row {
    const char* ini;
    const char* inst;
    const char* dsn;
    int64_t expected;
  };
  const Row rows[] = {
      {"[s]\nIANAAppCodePage=106\nAppCodePage=1252\n[ODBC]\nIANAAppCodePage=3\n", "", "s", 106},
      {"[s]\nIANAAppCodePage=-1\nAppCodePage=1252\n", "", "s", 2252},
      {"[s]\nAppCodePage=8\n[ODBC]\nAppCodePage=6\n", "", "s", 17},
      {"[s]\nIANAAppCodePage=106\n[ODBC]\nIANAAppCodePage=3\n", "", nullptr, 3},
      {"[ODBC]\nAppCodePage=-666666\n", "[ODBC]\nIANAAppCodePage=38\n", "s", 38},
      {"[ODBC]\nx=1\n", "[ODBC]\nAppCodePage=7\n", nullptr, 18},
      {"[s]\n IANAAppCodePage = 5\n", "", "s", 4},
  };
  for (const Row& row : rows) {
    std::string ini = row.ini;
    std::string inst = row.inst;
    lend(ini, inst);
    EXPECT_EQ(row.expected, ucnvGetAppCodePageFromDSN(row.dsn)) << row.ini << "|" << row.inst;
  }
  std::string ini = "[Sales]\nIANAAppCodePage=2252\n";
  std::string inst;
  lend(ini, inst);
  char* dsn = nullptr;
  EXPECT_EQ(2252, ucnvGetAppCodePage("DSN=Sales;UID=me", -3, &dsn));
  EXPECT_STREQ("Sales", dsn);
  ucnv_free(dsn);
  EXPECT_EQ(106, ucnvGetAppCodePage("DSN=Sales;IACP=106", -3, &dsn));
  ucnv_free(dsn);
  std::u16string text = wide("DSN=Sales");
  UChar* wideDsn = nullptr;
  EXPECT_EQ(2252, ucnvGetAppCodePageW(reinterpret_cast<const UChar*>(text.data()), -3, &wideDsn));
  EXPECT_EQ(u"Sales", std::u16string(reinterpret_cast<char16_t*>(wideDsn)));
  ucnv_free(wideDsn);
}

TEST(ProfileReader, SectionsEntriesAndKeyLists) {
  const std::string text =
      "[ODBC]\nTrace=1\n[Sales]\n  Driver = /lib/x.so\n;Port=1\n# c\nName =spaced\n"
      "Long=" + std::string(300, 'v') + "\n ;[Hidden]\nk=v\n [Indented]\nk=w\n";
  struct Row {
    const char* section;
    const char* key;
    int64_t outSize;
    const char* expected;
  };
  const Row rows[] = {
      {"sales", "DRIVER ", 64, "/lib/x.so"}, {"sales", "driver", 64, "dflt"},
      {"Sales", "Port", 64, "dflt"},    {"Sales", "Name ", 64, "spaced"},
      {"Sales", "Driver ", 5, "/lib"},   {"Hidden", "k", 64, "dflt"},
      {"Indented", "k", 64, "dflt"},    {nullptr, "k", 64, "dflt"},
      {"ODBC", "Trace", 64, "1"},       {nullptr, "k", 0, ""},   // no room: nothing written
  };
  for (const Row& row : rows) {
    char out[64] = "";
    int64_t n = ucnvNWGetProfileString(text.data(), int64_t(text.size()), row.section, row.key,
                                       "dflt", out, row.outSize);
    EXPECT_STREQ(row.expected, out) << (row.section ? row.section : "null") << "/" << row.key;
    EXPECT_EQ(int64_t(strlen(row.expected)), n);
  }
  EXPECT_EQ(0, ucnvNWGetProfileString(text.data(), int64_t(text.size()), "Sales", "Name ", "", nullptr, 9));
  char out[400];
  EXPECT_EQ(255, ucnvNWGetProfileString(text.data(), int64_t(text.size()), "Sales", "Long", "",
                                        out, sizeof out));
  int64_t n = ucnvNWGetProfileString(text.data(), int64_t(text.size()), "Sales", nullptr, "", out,
                                     sizeof out);
  EXPECT_EQ(std::string("  Driver \0Name \0Long\0", 21), std::string(out, size_t(n)));
}

}  // namespace
