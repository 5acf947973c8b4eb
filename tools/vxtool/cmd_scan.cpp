// vxtool scan: prints the tokens VxScanner makes of a text.
#include <cstdio>
#include <string>
#include <vector>

#include "parser/vxscanne.h"
#include "tools/vxtool/command.h"

namespace {

int runScan(const std::vector<std::string>& args) {
  bool decimal = false, comments = false, parens = false, braces = false;
  int mode = VxScanner::kNormal;
  const std::string* text = nullptr;
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (optionsEnded || (!text && !a.empty() && a[0] != '-')) {
      if (text) return usageError("scan");
      text = &a;
    } else if (a == "--") {
      optionsEnded = true;
    } else if (a == "--decimal") {
      decimal = true;
    } else if (a == "--comments") {
      comments = true;
    } else if (a == "--parens") {
      parens = true;
    } else if (a == "--braces") {
      braces = true;
    } else if (a == "--mode" && i + 1 < args.size() && args[i + 1].size() == 1 && args[i + 1][0] >= '0' &&
               args[i + 1][0] <= '2') {
      mode = args[++i][0] - '0';
    } else if (!text && (a.empty() || a == "-")) {
      text = &a;
    } else {
      return usageError("scan");
    }
  }
  if (!text) return usageError("scan");

  VxScanner scanner(text->data(), text->size());
  scanner.setDecimalNumbers(decimal);
  scanner.setComments(comments);
  scanner.setMatchParentheses(parens);
  scanner.setMatchBraces(braces);
  VxToken token;
  int32_t type;
  do {
    type = scanner.getToken(token, mode);
    printf("%d\t%llu\t", int(type), static_cast<unsigned long long>(token.getBegOfToken()));
    fwrite(token.asPascalStr(), 1, token.getLength(), stdout);
    putchar('\n');
  } while (type != VX_TOKEN_END);
  return 0;
}

const VxToolCommand kScan{"scan", "scan [--decimal] [--comments] [--parens] [--braces] [--mode 0|1|2] [--] TEXT",
                          "Cuts TEXT into tokens with the SQL scanner and prints one per line:\n"
                          "CLASS<TAB>OFFSET<TAB>TEXT. CLASS is the class code (1 end, 2 word, 3 quoted,\n"
                          "4 unterminated, 5 number, 6 list item, 7 name, 10 other character,\n"
                          "11 comment, 12 \"(+)\") or the operator's code (a two-character operator\n"
                          "is first * 256 + second, so <> prints 15422). The last line is the end.\n"
                          "--mode 1 reads list items, --mode 2 names. Put -- before a TEXT that starts with -.",
                          runScan};

}  // namespace
