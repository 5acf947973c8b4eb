// Differential test against unixODBC: for generated odbc.ini files of the
// common shape (no "[" inside values, no trailing blanks in values, keys
// without blanks), vxGetPrivateProfileString and unixODBC's
// SQLGetPrivateProfileString give the same answer for every section and
// key, present or missing, in any letter case.
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "config/vxini.h"
#include "ini_test_support.h"

namespace {

class UnixOdbcAgreementTest : public IniTest {
 protected:
  std::mt19937 random{2024};
  int pick(int n) { return int(random() % unsigned(n)); }

  std::string value() {
    static const char kChars[] = "abcdefXYZ0123456789/._-:= ]";
    std::string out;
    int length = pick(20);
    for (int i = 0; i < length; ++i) out += kChars[pick(int(sizeof kChars) - 1)];
    size_t first = out.find_first_not_of(" =");
    out = first == std::string::npos ? "" : out.substr(first);
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
  }

  // Runs the probe on the queries with ODBCINI naming `file`.
  std::vector<std::string> askUnixOdbc(const std::string& file,
                                       const std::vector<std::pair<std::string, std::string>>& queries) {
    std::string input = path("queries.txt");
    FILE* out = fopen(input.c_str(), "w");
    for (const auto& query : queries) fprintf(out, "%s\t%s\n", query.first.c_str(), query.second.c_str());
    fclose(out);
    std::string command = "ODBCINI='" + file + "' ODBCSYSINI='" + dir + "' " VX_ODBCINST_PROBE " < '" + input + "'";
    FILE* probe = popen(command.c_str(), "r");
    std::vector<std::string> answers;
    char line[8192];
    while (probe && fgets(line, sizeof line, probe)) {
      std::string text = line;
      if (!text.empty() && text.back() == '\n') text.pop_back();
      answers.push_back(text);
    }
    if (probe) pclose(probe);
    return answers;
  }
};

TEST_F(UnixOdbcAgreementTest, GeneratedDataSourceFilesReadTheSame) {
  static const char* kKeys[] = {"Driver", "Description", "Server", "Port", "Database", "UID",
                                "PWD", "Trace", "TraceFile", "Option"};
  for (int trial = 0; trial < 40; ++trial) {
    std::string text;
    std::vector<std::string> sections;
    if (pick(2)) text += "; generated file\n";
    text += "[ODBC Data Sources]\n";
    int dsns = 1 + pick(6);
    for (int d = 0; d < dsns; ++d) text += "DSN" + std::to_string(d) + " = Driver " + std::to_string(d) + "\n";
    text += "\n";
    sections.push_back("ODBC Data Sources");
    for (int d = 0; d < dsns; ++d) {
      std::string name = pick(3) ? "DSN" + std::to_string(d) : "My DSN " + std::to_string(d);
      sections.push_back(name);
      text += "[" + name + "]\n";
      for (const char* key : kKeys) {
        if (pick(3) == 0) continue;
        if (pick(6) == 0) text += pick(2) ? "# comment line\n" : ";Server=commented\n";
        static const char* kSeparators[] = {"=", " = ", "  =  ", "\t=\t", " ="};
        text += std::string(pick(4) == 0 ? "  " : "") + key + kSeparators[pick(5)] + value() + "\n";
      }
      if (pick(2)) text += "\n";
    }
    std::string file = writeFile("odbc" + std::to_string(trial) + ".ini", text);
    setEnv("ODBCINI", file);

    std::vector<std::pair<std::string, std::string>> queries;
    sections.push_back("NoSuchDSN");
    for (const std::string& section : sections) {
      for (const char* key : kKeys) queries.push_back({section, key});
      queries.push_back({section, "Missing"});
      queries.push_back({section, "DSN0"});
    }
    for (size_t i = 0; i < queries.size(); i += 3) {
      for (char& c : queries[i].second) c = char(toupper((unsigned char)c));
    }
    for (size_t i = 1; i < queries.size(); i += 4) {
      for (char& c : queries[i].first) c = char(tolower((unsigned char)c));
    }
    std::vector<std::string> theirs = askUnixOdbc(file, queries);
    ASSERT_EQ(queries.size(), theirs.size()) << "probe failed";
    for (size_t i = 0; i < queries.size(); ++i) {
      char buffer[4096];
      VXSIZE_T length = vxGetPrivateProfileString(queries[i].first.c_str(), queries[i].second.c_str(),
                                                  "<none>", buffer, sizeof buffer, "odbc.ini");
      EXPECT_EQ(theirs[i], std::string(buffer, length))
          << "[" << queries[i].first << "] " << queries[i].second << "\nfile:\n" << text;
    }
  }
}

}  // namespace
