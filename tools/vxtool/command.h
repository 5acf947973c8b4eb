// vxtool's command table.
//
// Each command lives in its own source file and registers itself with a
// file-scope VxToolCommand object:
//
//   static const VxToolCommand kLike{"like", "like [-c] [-b] [-e C] TEXT PATTERN",
//                                    "Match TEXT against a LIKE PATTERN.", runLike};
//
// The runner receives the arguments after the command name. It returns the
// process exit status; it calls usageError() (which prints the command's
// usage on stderr and returns 2) on wrong usage.
#ifndef VX_TOOLS_VXTOOL_COMMAND_H_
#define VX_TOOLS_VXTOOL_COMMAND_H_

#include <string>
#include <vector>

typedef int (*VxToolRunner)(const std::vector<std::string>& args);

struct VxToolCommand {
  VxToolCommand(const char* name, const char* usage, const char* help, VxToolRunner run);

  const char* name;
  const char* usage;  // the synopsis after "vxtool "; several lines allowed
  const char* help;   // what the command does, for "vxtool help NAME"
  VxToolRunner run;
};

// Every registered command, ordered by name.
const std::vector<const VxToolCommand*>& vxToolCommands();

// Prints the named command's usage on stderr and returns exit status 2.
int usageError(const char* command);

#endif  // VX_TOOLS_VXTOOL_COMMAND_H_
