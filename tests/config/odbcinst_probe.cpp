// Reads lines "SECTION<TAB>KEY" from standard input and prints, one line
// each, what unixODBC's SQLGetPrivateProfileString gives for them from
// "odbc.ini" (the file "ODBCINI" names), with the default "<none>". An
// empty KEY asks for the section's key list, printed as each key followed
// by "|". A separate program because libodbcinst keeps process-wide state.
#include <odbcinst.h>

#include <cstring>
#include <iostream>
#include <string>

int main() {
  for (std::string line; std::getline(std::cin, line);) {
    std::string section = line.substr(0, line.find('\t')), key = line.substr(section.size() + 1);
    char buffer[4096] = "";  // zeroed, so that a key list always ends in two NULs
    SQLGetPrivateProfileString(section.c_str(), key.empty() ? nullptr : key.c_str(), "<none>", buffer, sizeof buffer - 1,
                               "odbc.ini");
    std::string answer = key.empty() ? "" : buffer;
    for (const char* at = buffer; key.empty() && *at; at += strlen(at) + 1) answer += std::string(at) + "|";
    std::cout << answer << "\n";
  }
  return 0;
}
