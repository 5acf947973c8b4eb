// Shared set-up of the transport tests: servers on 127.0.0.1 that run in
// a child process, a private working directory for the trace files, the
// error list every test reports into, and the seeded random source.
#ifndef VX_TESTS_NET_NET_TEST_SUPPORT_H_
#define VX_TESTS_NET_NET_TEST_SUPPORT_H_

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <random>
#include <string>

#include "foundation/vxerror.h"

constexpr unsigned kSeed = 20261123;

// A server on a free loopback port: a child process accepts one connection
// (for at most 5 seconds), runs serve on it and exits. The destructor
// waits for the child.
class LoopbackServer {
 public:
  explicit LoopbackServer(const std::function<void(int)>& serve) {
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof at;
    if (bind(listener, reinterpret_cast<sockaddr*>(&at), size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&at), &size) != 0)
      abort();
    port = ntohs(at.sin_port);
    child_ = fork();
    if (child_ == 0) {
      pollfd p{listener, POLLIN, 0};
      if (poll(&p, 1, 5000) == 1) serve(accept(listener, nullptr, nullptr));
      _exit(0);
    }
    close(listener);
  }
  ~LoopbackServer() { waitpid(child_, nullptr, 0); }
  std::string address() const { return "127.0.0.1," + std::to_string(port); }
  int port;

 private:
  pid_t child_;
};

// What servers do with their connection.
inline std::string readToEnd(int fd) {
  std::string data;
  char buffer[65536];
  for (ssize_t n; (n = recv(fd, buffer, sizeof buffer, 0)) > 0;) data.append(buffer, size_t(n));
  return data;
}
inline void sendAll(int fd, const std::string& data) {
  for (size_t at = 0; at < data.size();) {
    ssize_t n = send(fd, data.data() + at, data.size() - at, MSG_NOSIGNAL);
    if (n <= 0) return;
    at += size_t(n);
  }
}
inline void echoAll(int fd) { sendAll(fd, readToEnd(fd)); }
// Closing with linger 0 resets the connection.
inline void resetConnection(int fd) {
  linger abortive{1, 0};
  setsockopt(fd, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
  close(fd);
}

inline std::string randomBytes(std::mt19937& rng, size_t n) {
  std::string s(n, '\0');
  for (char& c : s) c = char(rng());
  return s;
}

// Each test reports into its own list and runs in a private temporary
// directory (trace files land there), which it leaves and removes after.
class NetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors_));
    char pattern[] = "/tmp/vx_net_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir_ = pattern;
    char* cwd = getcwd(nullptr, 0);
    home_ = cwd;
    free(cwd);
    ASSERT_EQ(0, chdir(dir_.c_str()));
  }
  void TearDown() override {
    EXPECT_EQ(0, chdir(home_.c_str()));
    EXPECT_EQ(0, system(("rm -rf '" + dir_ + "'").c_str()));
    VxErrorKeeper::giveUpErrorList();
  }
  // "NUMBER STATE" of the last record, "none" without one; clears the list.
  std::string lastError() {
    VxError* last = errors_.getCount() ? errors_.at(errors_.getCount() - 1) : nullptr;
    std::string text = last ? std::to_string(last->getErrorNumber()) + " " + last->getInterfaceCode() : "none";
    errors_.clearErrors();
    return text;
  }
  // The text of the last record ("" without one).
  std::string lastText() {
    return errors_.getCount() ? errors_.at(errors_.getCount() - 1)->getErrorText() : "";
  }

  VxErrorList errors_{nullptr, VxErrorList::kSupportMultipleErrors};
  std::string dir_, home_;
};

#endif  // VX_TESTS_NET_NET_TEST_SUPPORT_H_
