// Reads lines "SECTION<TAB>KEY" from standard input and prints, one line
// each, what unixODBC's SQLGetPrivateProfileString gives for them from
// "odbc.ini" (the file "ODBCINI" names), with the default "<none>".
// A separate program because libodbcinst keeps process-wide state.
#include <odbcinst.h>

#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

int main() {
  std::string line;
  while (std::getline(std::cin, line)) {
    size_t tab = line.find('\t');
    if (tab == std::string::npos) continue;
    std::string section = line.substr(0, tab), key = line.substr(tab + 1);
    char buffer[4096];
    int length = SQLGetPrivateProfileString(section.c_str(), key.c_str(), "<none>", buffer,
                                            sizeof buffer, "odbc.ini");
    if (length < 0) length = 0;
    std::cout << std::string(buffer, strnlen(buffer, sizeof buffer)) << "\n";
  }
  return 0;
}
