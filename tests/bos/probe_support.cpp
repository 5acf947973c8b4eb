#include "bos/probe_support.h"

#include <cstdio>
#include <string>

namespace {

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

}  // namespace

std::string runProbe(const std::vector<std::string>& env, const std::vector<std::string>& args,
                     const char* program) {
  std::string command = "env -u VX_DEBUGGING -u LC_ALL -u LC_MESSAGES -u LANG";
  for (const std::string& e : env) command += " " + quoted(e);
  command += " " + quoted(program);
  for (const std::string& a : args) command += " " + quoted(a);
  std::string out;
  FILE* p = popen(command.c_str(), "r");
  if (!p) return out;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, p)) > 0) out.append(buffer, n);
  int status = pclose(p);
  if (status != 0) out += "[exit " + std::to_string(status) + "]\n";
  return out;
}
