// vxtool: the command-line companion of vxlib. Dispatches to the commands
// that registered themselves, and answers "help" and "--version".
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/vxtool/command.h"

namespace {

std::vector<const VxToolCommand*>& registry() {
  static std::vector<const VxToolCommand*> commands;
  return commands;
}

const VxToolCommand* findCommand(const std::string& name) {
  for (const VxToolCommand* c : vxToolCommands())
    if (name == c->name) return c;
  return nullptr;
}

void printUsageLines(FILE* out, const char* usage) {
  // A usage may hold several lines; each gets the program name in front.
  const char* line = usage;
  while (*line) {
    const char* end = strchr(line, '\n');
    size_t len = end ? size_t(end - line) : strlen(line);
    fprintf(out, "  vxtool %.*s\n", int(len), line);
    line += len + (end ? 1 : 0);
  }
}

void printOverview(FILE* out) {
  fprintf(out, "usage: vxtool COMMAND [ARGS...]\n       vxtool help [COMMAND]\n       vxtool --version\n\ncommands:\n");
  for (const VxToolCommand* c : vxToolCommands()) printUsageLines(out, c->usage);
}

int runHelp(const std::vector<std::string>& args) {
  if (args.empty()) {
    printOverview(stdout);
    return 0;
  }
  if (args.size() > 1) return usageError("help");
  const VxToolCommand* c = findCommand(args[0]);
  if (!c) {
    fprintf(stderr, "vxtool: unknown command '%s'\n", args[0].c_str());
    printOverview(stderr);
    return 2;
  }
  printf("usage:\n");
  printUsageLines(stdout, c->usage);
  printf("\n%s\n", c->help);
  return 0;
}

const VxToolCommand kHelp{"help", "help [COMMAND]", "Lists the commands, or explains one.", runHelp};

}  // namespace

VxToolCommand::VxToolCommand(const char* n, const char* u, const char* h, VxToolRunner r)
    : name(n), usage(u), help(h), run(r) {
  std::vector<const VxToolCommand*>& commands = registry();
  commands.insert(std::upper_bound(commands.begin(), commands.end(), this,
                                   [](const VxToolCommand* a, const VxToolCommand* b) {
                                     return strcmp(a->name, b->name) < 0;
                                   }),
                  this);
}

const std::vector<const VxToolCommand*>& vxToolCommands() { return registry(); }

int usageError(const char* command) {
  const VxToolCommand* c = findCommand(command);
  fprintf(stderr, "usage:\n");
  if (c) printUsageLines(stderr, c->usage);
  return 2;
}

int main(int argc, char** argv) {
  setlocale(LC_ALL, "");
  if (argc < 2) {
    printOverview(stderr);
    return 2;
  }
  std::string name = argv[1];
  if (name == "--version") {
    printf("vxtool %s\n", VX_VERSION);
    return 0;
  }
  if (name == "--help" || name == "-h") name = "help";
  const VxToolCommand* c = findCommand(name);
  if (!c) {
    fprintf(stderr, "vxtool: unknown command '%s'\n", argv[1]);
    printOverview(stderr);
    return 2;
  }
  return c->run(std::vector<std::string>(argv + 2, argv + argc));
}
