// Differential test against unixODBC, the reference for the profile
// calls: on generated odbc.ini files, vxGetPrivateProfileString and
// unixODBC's SQLGetPrivateProfileString give the same value for every
// section and key, present or missing, in any letter case, and (for files
// without indentation or blanks before "=") the same key lists. The files
// stay within what both read alike: no "[" inside values, no trailing
// blanks, no value starting with "=". Where the library reads differently
// on purpose, the cases are rows of the cache tests and the INI fuzz
// target's reference.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "config/vxini.h"
#include "ini_test_support.h"

namespace {

// The library's answer in the probe's form: the value, or each key
// followed by "|" when the key is empty (the key list).
std::string askLibrary(const std::string& section, const std::string& key) {
  char buffer[4096];
  VXSIZE_T length = vxGetPrivateProfileString(section.c_str(), key.empty() ? nullptr : key.c_str(),
                                              key.empty() ? "" : "<none>", buffer, sizeof buffer, "odbc.ini");
  if (!key.empty()) return std::string(buffer, length);
  std::string list;
  for (const char* at = buffer; at < buffer + length && *at; at += strlen(at) + 1) list += std::string(at) + "|";
  return list;
}

TEST_F(IniTest, GeneratedDataSourceFilesReadAsUnixOdbcReadsThem) {
  static const char* kKeys[] = {"Driver", "Description", "Server", "Port", "Database", "UID", "PWD", "Trace", "TraceFile", "Option"};
  static const char* kSeparators[] = {"=", "= ", "=\t", " = ", "  =  ", "\t=\t", " ="};  // the first three are plain
  std::mt19937 random(2024);
  auto pick = [&](int n) { return int(random() % unsigned(n)); };
  auto randomCase = [&](std::string text) {
    for (char& c : text) c = char(pick(2) ? toupper((unsigned char)c) : tolower((unsigned char)c));
    return text;
  };
  auto value = [&] {
    std::string out;
    for (int i = pick(20); i > 0; --i) out += "abcdefXYZ0123456789/._-:=; ]#"[pick(29)];
    out.erase(0, std::min(out.size(), out.find_first_not_of(" =")));
    return out.erase(out.find_last_not_of(' ') + 1);
  };
  for (int trial = 0; trial < 40; ++trial) {
    bool plain = pick(2), large = trial % 20 == 19;  // large files outgrow the first size of the section index
    std::string text = pick(2) ? "; generated file\n[ODBC Data Sources]\n" : "[ODBC Data Sources]\n", queries;
    std::vector<std::string> sections = {"ODBC Data Sources", "NoSuchDSN"};
    int dsns = large ? 70 + pick(40) : 1 + pick(6);
    for (int d = 0; d < dsns; ++d) text += "DSN" + std::to_string(d) + (plain ? "=" : " = ") + "Driver\n";
    for (int d = 0; d < dsns; ++d) {
      // Now and then a section name comes again: the first one counts.
      sections.push_back(pick(8) == 0 ? sections[size_t(pick(int(sections.size())))]
                                      : (pick(3) ? "DSN" : "My DSN ") + std::to_string(d));
      text += (pick(3) ? "\n[" : "[") + randomCase(sections.back()) + "]\n";
      for (const char* key : kKeys) {
        if (pick(3) == 0) continue;
        if (pick(6) == 0) text += std::string(plain || pick(2) ? "" : " \t") + (pick(2) ? "# comment\n" : ";Server=no\n");
        text += std::string(plain || pick(4) ? "" : pick(2) ? "  " : "\t") + (pick(8) ? key : randomCase(key)) +
                kSeparators[pick(plain ? 3 : 7)] + value() + "\n";
        if (pick(10) == 0) text += randomCase(key) + "=second\n";  // the first one counts
      }
    }
    if (pick(2)) text.pop_back();  // no line end after the last value
    std::string file = writeFile("odbc" + std::to_string(trial) + ".ini", text);
    setEnv("ODBCINI", file);
    std::vector<std::pair<std::string, std::string>> asked;
    for (const std::string& section : sections) {
      if (large && pick(6)) continue;  // a sample of the large file's sections
      for (int k = 0; k < 6; ++k) asked.push_back({randomCase(section), randomCase(kKeys[pick(10)])});
      asked.push_back({section, pick(2) ? "Missing" : "DSN0"});
      if (plain) asked.push_back({randomCase(section), ""});
    }
    for (const auto& query : asked) queries += query.first + "\t" + query.second + "\n";
    std::ofstream(path("queries.txt")) << queries;
    FILE* probe = popen(("ODBCINI='" + file + "' ODBCSYSINI='" + dir + "' " VX_ODBCINST_PROBE " < " + path("queries.txt")).c_str(), "r");
    ASSERT_NE(nullptr, probe);
    char line[8192];
    for (const auto& query : asked) {
      ASSERT_NE(nullptr, fgets(line, sizeof line, probe)) << "probe failed";
      ASSERT_EQ(std::string(line, strcspn(line, "\n")), askLibrary(query.first, query.second))
          << "seed 2024, trial " << trial << ": [" << query.first << "] " << query.second << "\nfile:\n" << text;
    }
    pclose(probe);
  }
}

}  // namespace
