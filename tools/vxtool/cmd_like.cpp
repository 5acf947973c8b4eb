// vxtool like: SQL LIKE matching with % and _ through strLike, for one
// text and pattern or for a batch of them on standard input.
#include <string>
#include <vector>

#include "foundation/vxdbcs.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"

namespace {

struct LikeOptions {
  int16_t caseSensitive = 0;
  int16_t blanksSignificant = 0;
  char escape = '\0';  // no escape: a NUL never occurs in an argument
  bool batch = false;
};

bool matches(const std::string& text, const std::string& pattern, const LikeOptions& o) {
  return strLike(text.data(), text.size(), pattern.data(), pattern.size(), '%', '_', o.escape,
                 o.caseSensitive, o.blanksSignificant, VX_CP_LOCALE);
}

// Each line is TEXT, a tab, PATTERN; a line without a tab is a text with
// an empty pattern. The last line needs no line feed.
int runBatch(const LikeOptions& options) {
  std::string input;
  if (!readStandardInput(input)) return 1;
  std::string out;
  size_t start = 0;
  while (start < input.size()) {
    size_t end = input.find('\n', start);
    if (end == std::string::npos) end = input.size();
    std::string line = input.substr(start, end - start);
    size_t tab = line.find('\t');
    std::string text = line.substr(0, tab);
    std::string pattern = tab == std::string::npos ? std::string() : line.substr(tab + 1);
    out += matches(text, pattern, options) ? "true\n" : "false\n";
    start = end + 1;
  }
  return writeStandardOutput(out.data(), out.size()) ? 0 : 1;
}

int runLike(const std::vector<std::string>& args) {
  LikeOptions options;
  std::vector<std::string> operands;
  bool optionsDone = false;
  for (size_t k = 0; k < args.size(); ++k) {
    const std::string& a = args[k];
    if (optionsDone || a.empty() || a[0] != '-' || a == "-") {
      operands.push_back(a);
    } else if (a == "--") {
      optionsDone = true;
    } else if (a == "-c") {
      options.caseSensitive = 1;
    } else if (a == "-b") {
      options.blanksSignificant = 1;
    } else if (a == "-e" && k + 1 < args.size() && args[k + 1].size() == 1) {
      options.escape = args[++k][0];
    } else if (a == "--batch") {
      options.batch = true;
    } else {
      return usageError("like");
    }
  }
  if (options.batch) {
    if (!operands.empty()) return usageError("like");
    return runBatch(options);
  }
  if (operands.size() != 2) return usageError("like");
  bool match = matches(operands[0], operands[1], options);
  std::string answer = match ? "true\n" : "false\n";
  if (!writeStandardOutput(answer.data(), answer.size())) return 1;
  return match ? 0 : 1;
}

const VxToolCommand kLike{
    "like",
    "like [-c] [-b] [-e C] TEXT PATTERN\n"
    "like --batch [-c] [-b] [-e C]",
    "Matches TEXT against the SQL LIKE PATTERN, % matching any run of\n"
    "characters and _ one character. Prints true or false; exits 0 on a\n"
    "match, 1 on none. By default case does not matter, trailing white space\n"
    "is ignored and there is no escape: -c makes case matter, -b makes\n"
    "trailing blanks significant, -e C makes the byte C an escape.\n"
    "With --batch, reads lines TEXT<TAB>PATTERN from standard input and\n"
    "prints true or false for each; exits 0. Options end at --.",
    runLike};

}  // namespace
