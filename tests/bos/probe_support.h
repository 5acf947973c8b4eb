// Runs the bos_probe child program with a chosen environment and returns
// what it wrote on standard output.
#ifndef VX_TESTS_BOS_PROBE_SUPPORT_H_
#define VX_TESTS_BOS_PROBE_SUPPORT_H_

#include <string>
#include <vector>

// The child starts without "VX_DEBUGGING", "LC_ALL", "LC_MESSAGES" and
// "LANG"; each entry of env ("NAME=value") is then set. The arguments
// follow the probe's own usage.
std::string runProbe(const std::vector<std::string>& env, const std::vector<std::string>& args);

#endif  // VX_TESTS_BOS_PROBE_SUPPORT_H_
