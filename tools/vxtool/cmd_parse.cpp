// vxtool parse: parses statements with a grammar and keyword list read from
// files, and prints the parse tree or the syntax error.
#include <sys/time.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "parser/vxparse.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"

namespace {

// Reads a grammar or keyword file (lines "NUMBER BLANKS TEXT"; empty lines
// and lines starting with '#' skipped) into blob, in the layout the parser
// takes: text, NUL, 16-bit number, ..., a final NUL. Entries also lands in
// entries. False with a message on stderr when the file is unreadable or a
// line is malformed.
bool readBlobFile(const std::string& path, std::string& blob, std::vector<std::pair<int, std::string>>& entries) {
  std::ifstream in(path);
  if (!in) {
    fprintf(stderr, "vxtool parse: cannot read %s: %s\n", path.c_str(), strerror(errno));
    return false;
  }
  std::string line;
  for (int lineNumber = 1; std::getline(in, line); ++lineNumber) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || line[0] == '#') continue;
    char* end;
    errno = 0;
    long number = strtol(line.c_str(), &end, 10);
    size_t at = end - line.c_str();
    bool blanks = at < line.size() && (line[at] == ' ' || line[at] == '\t');
    while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
    if (end == line.c_str() || errno || number < INT16_MIN || number > INT16_MAX || !blanks || at == line.size() ||
        line.find('\0') != std::string::npos) {
      fprintf(stderr, "vxtool parse: %s:%d: expected a number, blanks and a text\n", path.c_str(), lineNumber);
      return false;
    }
    int16_t value = static_cast<int16_t>(number);
    blob.append(line, at, std::string::npos);
    blob.push_back('\0');
    blob.append(reinterpret_cast<const char*>(&value), 2);
    entries.emplace_back(int(number), line.substr(at));
  }
  blob.push_back('\0');
  return true;
}

// A parser that remembers the innermost rule a syntax error was offered
// for, and the transitions expected there.
class ToolParser : public VxParser {
 public:
  int FailProc(int16_t kind, const char* text, int16_t ruleNumber, const char* ruleName,
               VxStateTransition* transitions) override {
    failed = true;
    failKind = kind;
    failText = text ? text : "";
    failRule = ruleNumber;
    failRuleName = ruleName ? ruleName : "(unnamed)";
    expected = transitions;
    return 0;  // go on to the innermost rule
  }

  bool failed = false;
  int16_t failKind = 0;
  std::string failText;
  int16_t failRule = 0;
  std::string failRuleName;
  VxStateTransition* expected = nullptr;
};

struct Options {
  std::string grammar, keywords, goal;
  const std::string* quotes = nullptr;
  const std::string* validFirst = nullptr;
  const std::string* validMiddle = nullptr;
  const std::string* validAll = nullptr;
  const std::string* text = nullptr;
  bool batch = false;
};

bool readOptions(const std::vector<std::string>& args, Options& o) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    bool hasValue = i + 1 < args.size();
    if (a == "--batch") {
      o.batch = true;
    } else if (a == "--grammar" && hasValue) {
      o.grammar = args[++i];
    } else if (a == "--keywords" && hasValue) {
      o.keywords = args[++i];
    } else if (a == "--goal" && hasValue) {
      o.goal = args[++i];
    } else if (a == "--quotes" && hasValue && args[i + 1].size() <= 3) {
      o.quotes = &args[++i];
    } else if (a == "--valid-first" && hasValue) {
      o.validFirst = &args[++i];
    } else if (a == "--valid-middle" && hasValue) {
      o.validMiddle = &args[++i];
    } else if (a == "--valid" && hasValue) {
      o.validAll = &args[++i];
    } else if (!o.text && (a.empty() || a[0] != '-' || a == "-")) {
      o.text = &a;
    } else {
      return false;
    }
  }
  return !o.grammar.empty() && !o.keywords.empty() && !(o.batch && o.text);
}

// A token kind in words: the keyword, the character, or its class.
std::string describeKind(int16_t kind, const char* text, const std::map<int, std::string>& keywordNames) {
  static const char kPunctuation[] = "~`!@#$%^&*()-_+=|\\{[}]:;\"'<,>.?/";
  if (kind == 1) return "end of text";
  if (kind == 2) return text ? std::string("\"") + text + "\"" : "identifier";
  if (kind == 5) return "number";
  if (kind == 40) return "quote";
  if (kind == 41) return "literal contents";
  if (kind >= 8 && kind <= 39) return std::string("\"") + kPunctuation[kind - 8] + "\"";
  auto it = keywordNames.find(kind);
  if (it != keywordNames.end()) return it->second;
  return "kind " + std::to_string(kind);
}

void printSyntaxError(const ToolParser& parser, const std::map<int, std::string>& keywordNames) {
  std::string token = parser.failKind == 1 ? "end of text" : "\"" + parser.failText + "\"";
  fprintf(stderr, "vxtool parse: syntax error at %s (token kind %d) in rule %d %s; expected:", token.c_str(),
          parser.failKind, parser.failRule, parser.failRuleName.c_str());
  std::set<std::string> seen;
  for (VxStateTransition* t = parser.expected; t; t = t->getNextTransition()) {
    std::string what = describeKind(t->getTokenType(), t->getTokenStringPtr(), keywordNames);
    if (seen.insert(what).second) fprintf(stderr, " %s", what.c_str());
  }
  if (seen.empty()) fprintf(stderr, " nothing more");
  fputc('\n', stderr);
}

const char* failureText(VxParser::Failure f) {
  switch (f) {
    case VxParser::kLexerError: return "the text holds a character that no token kind covers";
    case VxParser::kTooDeep: return "the statement nests too deeply";
    case VxParser::kRunaway: return "the grammar's states loop without reading the text";
    case VxParser::kOutOfMemory: return "out of memory";
    default: return "the parse failed";
  }
}

// One node per line, two blanks of indentation per level; walked with an
// explicit stack since a tree may be deep.
void printTree(const VxReduction* root, const VxProduction* rules) {
  std::vector<std::pair<const VxReduction*, int>> pending{{root, 0}};
  while (!pending.empty()) {
    const VxReduction* node = pending.back().first;
    int level = pending.back().second;
    pending.pop_back();
    if (node->getNextSibling() && level > 0) pending.emplace_back(node->getNextSibling(), level);
    std::string line(size_t(level) * 2, ' ');
    line += std::to_string(node->reductNumber());
    line += ' ';
    if (node->terminal()) {
      line += node->getString() ? node->getString() : "";
    } else {
      const char* name = rules->numberToName(node->reductNumber());
      line += name ? name : "(unnamed)";
    }
    line += '\n';
    fwrite(line.data(), 1, line.size(), stdout);
    if (node->getChild()) pending.emplace_back(node->getChild(), level + 1);
  }
}

double secondsNow() {
  struct timeval tv;
  gettimeofday(&tv, nullptr);
  return tv.tv_sec + tv.tv_usec / 1e6;
}

int runParse(const std::vector<std::string>& args) {
  Options o;
  if (!readOptions(args, o)) return usageError("parse");
  std::string grammarBlob, keywordBlob;
  std::vector<std::pair<int, std::string>> rules, keywords;
  if (!readBlobFile(o.grammar, grammarBlob, rules) || !readBlobFile(o.keywords, keywordBlob, keywords)) return 1;
  std::map<int, std::string> keywordNames;
  for (const auto& k : keywords) keywordNames.emplace(k.first, k.second);

  ToolParser parser;
  if (parser.init(grammarBlob.data(), keywordBlob.data())) {
    fprintf(stderr, "vxtool parse: the grammar in %s does not compile with the keywords in %s\n", o.grammar.c_str(),
            o.keywords.c_str());
    return 1;
  }
  if (!o.goal.empty() && parser.changeGoal(o.goal.c_str())) {
    fprintf(stderr, "vxtool parse: the grammar has no rule named \"%s\"\n", o.goal.c_str());
    return 1;
  }
  if (o.quotes) {
    uint16_t q[3] = {0, 0, 0};
    for (size_t i = 0; i < o.quotes->size(); ++i) q[i] = static_cast<unsigned char>((*o.quotes)[i]);
    parser.setLiteralQuoteChars(q[0], q[1], q[2]);
  }
  if ((o.validFirst && parser.setValidFirstChars(o.validFirst->c_str())) ||
      (o.validMiddle && parser.setValidMiddleChars(o.validMiddle->c_str())) ||
      (o.validAll && parser.setValidChars(o.validAll->c_str()))) {
    fprintf(stderr, "vxtool parse: out of memory\n");
    return 1;
  }

  if (o.batch) {
    std::string line;
    long count = 0, ok = 0;
    double start = secondsNow();
    while (std::getline(std::cin, line)) {
      VxReduction* root = nullptr;
      bool parsed = parser.parse(line.c_str(), root) == 0;
      delete root;
      ++count;
      ok += parsed;
      fputs(parsed ? "ok\n" : "error\n", stdout);
    }
    double seconds = secondsNow() - start;
    fprintf(stderr, "%ld statements (%ld ok, %ld errors) in %.3f s: %.0f statements per second\n", count, ok,
            count - ok, seconds, seconds > 0 ? count / seconds : 0.0);
    return 0;
  }

  std::string input;
  if (o.text) {
    input = *o.text;
  } else if (!readStandardInput(input)) {
    return 1;
  }
  if (input.find('\0') != std::string::npos) {
    fprintf(stderr, "vxtool parse: the statement holds a NUL byte\n");
    return 1;
  }
  VxReduction* root = nullptr;
  if (parser.parse(input.c_str(), root) != 0) {
    if (parser.lastFailure() == VxParser::kSyntaxError && parser.failed) {
      printSyntaxError(parser, keywordNames);
    } else {
      fprintf(stderr, "vxtool parse: %s\n", failureText(parser.lastFailure()));
    }
    return 1;
  }
  if (root) printTree(root, parser.getGrammar()->getFirstProduction());
  delete root;
  return 0;
}

const VxToolCommand kParse{
    "parse",
    "parse --grammar FILE --keywords FILE [--goal NAME] [--quotes CHARS] [--valid-first CHARS] "
    "[--valid-middle CHARS] [--valid CHARS] [TEXT]\n"
    "parse --grammar FILE --keywords FILE [options] --batch",
    "Compiles the grammar (one rule per line: number, blanks, rule text) with the\n"
    "keyword list (number, blanks, word; '#' lines and empty lines skipped) and parses\n"
    "TEXT (standard input when omitted). Prints the tree, one node per line indented\n"
    "two blanks per level: a rule as NUMBER NAME, a token as KIND TEXT. A syntax error\n"
    "prints the token, the rule and the expected tokens on stderr and exits 1.\n"
    "--goal starts at another rule; --quotes sets up to three literal quote characters\n"
    "(\"\" turns literals off); the --valid options set the identifier character sets.\n"
    "--batch parses each line of standard input and prints ok or error for it, then the\n"
    "count and the statements per second on stderr.",
    runParse};

}  // namespace
