// Runs a child program (bos_probe unless told otherwise) with a chosen
// environment and returns what it wrote on standard output.
#ifndef VX_TESTS_BOS_PROBE_SUPPORT_H_
#define VX_TESTS_BOS_PROBE_SUPPORT_H_

#include <string>
#include <vector>

// The child starts without "VX_DEBUGGING", "LC_ALL", "LC_MESSAGES" and
// "LANG"; each entry of env ("NAME=value") is then set. The arguments
// follow the probe's own usage. A child that exits with a status other than
// 0 adds "[exit STATUS]" as a last line.
std::string runProbe(const std::vector<std::string>& env, const std::vector<std::string>& args,
                     const char* program = VX_BOS_PROBE);

#endif  // VX_TESTS_BOS_PROBE_SUPPORT_H_
