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
#include <fstream>
#include <functional>
#include <sstream>
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
    sockaddr_in at{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t size = sizeof at;
    if (bind(listener, reinterpret_cast<sockaddr*>(&at), size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&at), &size) != 0)
      abort();
    port = ntohs(at.sin_port);
    pollfd p{listener, POLLIN, 0};
    if ((child_ = fork()) == 0) _exit(poll(&p, 1, 5000) == 1 ? (serve(accept(listener, nullptr, nullptr)), 0) : 0);
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
  for (ssize_t at = 0, n; at < ssize_t(data.size()); at += n)
    if ((n = send(fd, data.data() + at, data.size() - size_t(at), MSG_NOSIGNAL)) <= 0) return;
}
inline void echoAll(int fd) { sendAll(fd, readToEnd(fd)); }
// Closing with linger 0 resets the connection.
inline void resetConnection(int fd) {
  linger abortive{1, 0};
  setsockopt(fd, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
  close(fd);
}

// Reads through read(buffer, size, &received) until a status other than
// 0; *status gets it.
template <typename Read>
inline std::string readUntilEnd(Read read, int* status) {
  std::string data;
  char buffer[70000];
  VXSIZE_T got;
  while ((*status = read(buffer, sizeof buffer, &got)) == 0) data.append(buffer, got);
  return data.append(buffer, got);
}

inline std::string randomBytes(std::mt19937& rng, size_t n) {
  std::string s(n, '\0');
  for (char& c : s) c = char(rng());
  return s;
}

inline std::string fileText(const std::string& name) {
  std::ostringstream text;
  text << std::ifstream(name, std::ios::binary).rdbuf();
  return text.str();
}

// Each test reports into its own list and runs in a private temporary
// directory (trace files land there), which it leaves and removes after.
class NetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors_));
    char pattern[] = "/tmp/vx_net_XXXXXX", *cwd = getcwd(nullptr, 0);
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir_ = pattern;
    home_ = cwd;
    free(cwd);
    ASSERT_EQ(0, chdir(dir_.c_str()));
  }
  void TearDown() override {
    EXPECT_EQ(0, chdir(home_.c_str()));
    EXPECT_EQ(0, system(("rm -rf '" + dir_ + "'").c_str()));
    VxErrorKeeper::giveUpErrorList();
  }
  // "NUMBER STATE" of the last record ("none" without one); clears the list.
  std::string lastError() {
    VxError* last = errors_.getCount() ? errors_.at(errors_.getCount() - 1) : nullptr;
    std::string text = last ? std::to_string(last->getErrorNumber()) + " " + last->getInterfaceCode() : "none";
    errors_.clearErrors();
    return text;
  }
  std::string lastText() { return errors_.getCount() ? errors_.at(errors_.getCount() - 1)->getErrorText() : ""; }

  VxErrorList errors_{nullptr, VxErrorList::kSupportMultipleErrors};
  std::string dir_, home_;
};

#endif  // VX_TESTS_NET_NET_TEST_SUPPORT_H_
