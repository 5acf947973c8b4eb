// vxtool tcp: a request from standard input to a server through one of the
// library's transports, and the server's answer on standard output.
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "net/ntnetlib.h"
#include "net/vxpipe.h"
#include "net/vxtcpip.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"
#include "tools/vxtool/tool_errors.h"

namespace {

struct TcpOptions {
  bool pipe = false;
  bool trace = false;
  bool tls = false;
  long timeoutMs = -1;  // none
  std::string roots;
  std::string address;
};

bool parseOptions(const std::vector<std::string>& args, TcpOptions* options) {
  size_t k = 0;
  for (; k + 1 < args.size(); ++k) {
    const std::string& arg = args[k];
    if (arg == "--pipe") {
      options->pipe = true;
    } else if (arg == "--trace") {
      options->trace = true;
    } else if (arg == "--tls") {
      options->tls = options->pipe = true;
    } else if ((arg == "--timeout" || arg == "--roots") && k + 2 < args.size()) {
      const std::string& value = args[++k];
      if (arg == "--roots") {
        options->roots = value;
        continue;
      }
      char* end = nullptr;
      options->timeoutMs = strtol(value.c_str(), &end, 10);
      if (value.empty() || *end != '\0' || options->timeoutMs < 0) return false;
    } else {
      return false;
    }
  }
  if (k + 1 != args.size() || options->tls != !options->roots.empty()) return false;
  options->address = args[k];
  return true;
}

// The end of the answer: the server closed the connection. VxTCPIP says
// so without a record; VxPipe cannot tell a close from a reset and files
// 7503 for both, so through it every lost connection ends the answer.
int finishRead(int status, bool pipe, ToolErrorList& errors) {
  if (status == VX_NET_TIMEOUT) {
    errors.list().clearErrors();
    fprintf(stderr, "vxtool tcp: timed out waiting for the server\n");
    return 1;
  }
  if (status == VX_NET_CONNECTION_LOST && (pipe || errors.list().getCount() == 0)) {
    errors.list().clearErrors();
    return 0;
  }
  return errors.fail();
}

// Sends the request, ends the sending side, copies the answer to standard
// output until the server closes. Transport is VxPipe or VxTCPIP behind
// the three callables.
template <typename Write, typename EndSending, typename Read>
int exchange(const std::string& request, bool pipe, ToolErrorList& errors, Write write,
             EndSending endSending, Read read) {
  if (write(request) != VX_NET_SUCCESS || endSending() != VX_NET_SUCCESS) return errors.fail();
  std::vector<char> buffer(65536);
  for (;;) {
    VXSIZE_T received = 0;
    const int status = read(buffer.data(), buffer.size(), &received);
    if (received > 0 && !writeStandardOutput(buffer.data(), received)) return 1;
    if (status != VX_NET_SUCCESS) return finishRead(status, pipe, errors);
  }
}

int throughPipe(const TcpOptions& options, const std::string& request) {
  ToolErrorList errors;
  VxPipe pipe;
  if (options.trace && pipe.setLogging(true) != 0) return errors.fail();
  if (options.tls) {
    pipe.setSSL(true);
    if (pipe.setTrustedRootsFilename(options.roots.c_str()) != 0) return errors.fail();
  }
  if (pipe.openPipe(options.address.c_str()) != VX_NET_SUCCESS) return errors.fail();
  return exchange(
      request, true, errors,
      [&](const std::string& data) { return pipe.writePipe(data.data(), data.size(), false); },
      [&] { return pipe.shutdownSending(); },
      [&](char* buffer, size_t size, VXSIZE_T* received) {
        return pipe.readPipe(buffer, size, false, received);
      });
}

// VxTCPIP works on a connected socket: the connection functions make it,
// and the transport takes it over.
int throughTcp(const TcpOptions& options, const std::string& request) {
  ToolErrorList errors;
  ConnectionObject connection;
  int err = 0;
  if (ConnectionOpen(&connection, options.address.c_str(), &err) == 0) {
    VxError& record = addError(kErrCannotConnect);
    record.setInterfaceCode("08S01");
    record.appendText(" ");
    record.appendText(connection.message);
    record.appendText((" Error " + std::to_string(err) + ".").c_str());
    return errors.fail();
  }
  VxSocketState state{connection.socket, {}, 0, {}, 0};
  if (options.timeoutMs >= 0) {
    state.readTimeout = timeval{options.timeoutMs / 1000, (options.timeoutMs % 1000) * 1000};
    state.readTimeoutEnabled = 1;
  }
  VxTCPIP tcp;
  if (options.trace && tcp.setLogging(true) != 0) return errors.fail();
  if (tcp.openPipe(&state) != VX_NET_SUCCESS) return errors.fail();
  return exchange(
      request, false, errors,
      [&](const std::string& data) { return tcp.writePipe(data.data(), data.size()); },
      [&] { return shutdown(state.socket, SHUT_WR) == 0 ? VX_NET_SUCCESS : VX_NET_FAILURE; },
      [&](char* buffer, size_t size, VXSIZE_T* received) {
        return tcp.readPipe(buffer, size, received, false);
      });
}

int runTcp(const std::vector<std::string>& args) {
  TcpOptions options;
  if (!parseOptions(args, &options)) return usageError("tcp");
  std::string request;
  if (!readStandardInput(request)) return 1;
  return options.pipe ? throughPipe(options, request) : throughTcp(options, request);
}

const VxToolCommand kTcp{
    "tcp", "tcp [--pipe] [--trace] [--timeout MS] [--tls --roots FILE] HOST,PORT",
    "Connects to HOST,PORT (IPv4; a host name or dotted address) through\n"
    "VxTCPIP, or through VxPipe with --pipe, sends standard input, shuts down\n"
    "the sending side, and writes what the server sends to standard output\n"
    "until the server closes the connection. --trace writes the dump of every\n"
    "transfer to the first free N.out in the current directory. --timeout\n"
    "sets VxTCPIP's read time-out (VxPipe always waits 10 s per read). --tls\n"
    "(through VxPipe) checks the server's certificate against the PEM roots\n"
    "FILE and its name against HOST. A failure prints the error record\n"
    "(error NNNN (08S01): TEXT); failures and time-outs exit with status 1.",
    runTcp};

}  // namespace
