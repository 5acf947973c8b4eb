// vxtool connstr: parses a connection string with VxValueParser, prints its
// attributes, or edits and rebuilds it.
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "config/vxvaluep.h"
#include "foundation/vxmsgnum.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/tool_errors.h"

namespace {

struct Edit {
  bool remove;
  std::string key;
  std::string value;
};

void printView(const VxSubString* view) { fwrite(view->asPascalStr(), 1, view->getLength(), stdout); }

int runConnstr(const std::vector<std::string>& args) {
  char separator = ';';
  bool allowDuplicates = false, rebuild = false, optionsDone = false;
  const char* source = nullptr;
  const std::string* text = nullptr;
  std::vector<Edit> edits;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    bool hasValue = i + 1 < args.size();
    if (optionsDone || a.empty() || a[0] != '-') {
      if (text) return usageError("connstr");
      text = &a;
    } else if (a == "--") {
      optionsDone = true;
    } else if (a == "--sep" && hasValue && args[i + 1].size() == 1) {
      separator = args[++i][0];
    } else if (a == "--allow-dup") {
      allowDuplicates = true;
    } else if (a == "--source" && hasValue) {
      source = args[++i].c_str();
    } else if (a == "--rebuild") {
      rebuild = true;
    } else if (a == "--set" && hasValue && args[i + 1].find('=') != std::string::npos) {
      const std::string& pair = args[++i];
      size_t eq = pair.find('=');
      edits.push_back({false, pair.substr(0, eq), pair.substr(eq + 1)});
    } else if (a == "--remove" && hasValue) {
      edits.push_back({true, args[++i], ""});
    } else {
      return usageError("connstr");
    }
  }
  if (!text || (!edits.empty() && !rebuild)) return usageError("connstr");

  ToolErrorList errors;
  VxSubString input(text->data(), text->size());
  VxValueParser parser(input, separator, source, allowDuplicates ? 1 : 0);
  if (parser.initialize() != 0) return errors.fail();

  if (!rebuild) {
    for (uint16_t i = 0; i < parser.getAttributeCount(); ++i) {
      printView(parser.getAttributeKey(i));
      putchar('=');
      printView(parser.getAttributeValueAt(i));
      putchar('\n');
    }
    return 0;
  }
  for (const Edit& e : edits) {
    if (e.remove) {
      parser.removeAttribute(e.key.c_str());
    } else if (parser.addAttribute(e.key.data(), e.key.size(), e.value.data(), e.value.size()) != 0) {
      addError(kErrOutOfMemory);
      return errors.fail();
    }
  }
  VxString out;
  if (parser.buildString(out) != 0) {
    addError(kErrOutOfMemory);
    return errors.fail();
  }
  printView(&out);
  putchar('\n');
  return 0;
}

const VxToolCommand kConnstr{
    "connstr",
    "connstr [--sep C] [--allow-dup] [--source NAME] STRING\n"
    "connstr --rebuild [--sep C] [--set KEY=VALUE]... [--remove KEY]... STRING",
    "Parses a connection string (attributes KEY=VALUE joined by ';', or by C)\n"
    "and prints one attribute per line as KEY=VALUE, in order. A repeated\n"
    "keyword is an error unless --allow-dup; --source names the input in\n"
    "error messages. With --rebuild, applies the --set and --remove edits in\n"
    "order and prints the rebuilt string. Parse errors are printed as\n"
    "\"error NNNN: TEXT\" and exit 1.",
    runConnstr};

}  // namespace
