// Runs vxtool as a child process for the command-line tests: arguments
// passed without a shell, optional standard input, and the captured
// standard output, standard error and exit status.
#ifndef VX_TESTS_TOOLS_TOOL_RUNNER_H_
#define VX_TESTS_TOOLS_TOOL_RUNNER_H_

#include <string>
#include <utility>
#include <vector>

struct ToolResult {
  int status = -1;  // exit status, or -1 when the tool did not exit normally
  std::string out;
  std::string err;
};

// Runs VX_TOOL with args, feeding input to its standard input. Each entry
// of env ("NAME=value") is set in the child's environment (NAME= alone
// unsets NAME).
ToolResult runTool(const std::vector<std::string>& args, const std::string& input = "",
                   const std::vector<std::string>& env = {});

#endif  // VX_TESTS_TOOLS_TOOL_RUNNER_H_
