// vxtool tcp run as a child process against loopback servers: the answer
// on standard output, the trace file, and the failure lines and statuses.
#include <cstdio>
#include <string>

#include "tests/net/net_test_support.h"

namespace {

// Runs "vxtool tcp ARGS" in the test's directory with input on standard
// input: its standard output and error, then "[exit STATUS]".
std::string runTcp(const std::string& args, const std::string& input) {
  const std::string command = "printf '" + input + "' | '" VX_TOOL "' tcp " + args + " 2>&1; echo \"[exit $?]\"";
  FILE* out = popen(command.c_str(), "r");
  std::string text;
  for (int c; (c = fgetc(out)) != EOF;) text += char(c);
  pclose(out);
  return text;
}

using VxtoolTcp = NetTest;

TEST_F(VxtoolTcp, EchoesThroughEitherTransportOrPrintsTheFailure) {
  for (const char* transport : {"", "--pipe "}) {
    LoopbackServer server(echoAll);
    EXPECT_EQ("hello[exit 0]\n", runTcp(transport + std::string("--trace ") + server.address(), "hello"));
  }
  EXPECT_EQ(0u, fileText("1.out").find("Sending 5 bytes\nHEX"));  // the pipe's trace
  // Failures print the record, or say what happened.
  LoopbackServer silent([](int fd) {  // reads the request, then holds the line until reset
    readToEnd(fd);
    pollfd hangUp{fd, 0, 0};
    poll(&hangUp, 1, 5000);
  });
  EXPECT_EQ("vxtool tcp: timed out waiting for the server\n[exit 1]\n", runTcp("--timeout 50 " + silent.address(), ""));
  EXPECT_EQ("error 7505 (08S01): The connection to the server could not be opened. "
            "ConnectionOpen (127.0.0.1()). Error 11.\n[exit 1]\n", runTcp("--pipe 127.0.0.1", ""));
}

}  // namespace
