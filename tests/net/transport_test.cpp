// The connection functions, VxPipe and VxTCPIP against servers on the
// loopback interface: echoes at the edges of a piece, the failures of the
// network and of addresses, and a server sending random bytes and
// vanishing at random points.
#include <chrono>
#include <string>
#include <thread>

#include "net/ntnetlib.h"
#include "net/vxpipe.h"
#include "net/vxtcpip.h"
#include "tests/net/net_test_support.h"

namespace {

// A VxTCPIP transport over a socket the connection functions opened.
struct TcpClient {
  explicit TcpClient(const std::string& address) {
    int err = 0;
    EXPECT_EQ(1, ConnectionOpen(&connection, address.c_str(), &err)) << connection.message;
    state.socket = connection.socket;
    tcp.openPipe(&state);
  }
  ConnectionObject connection;
  VxSocketState state{-1, {0, 50000}, 0, {0, 50000}, 1};
  VxTCPIP tcp;
};

// Reads through read(buffer, size, &received) until a status other than
// 0; *status gets it.
template <typename Read>
std::string readUntilEnd(Read read, int* status) {
  std::string data;
  char buffer[70000];
  VXSIZE_T got;
  while ((*status = read(buffer, sizeof buffer, &got)) == 0) data.append(buffer, got);
  return data.append(buffer, got);
}

std::string echoThroughPipe(const std::string& data, int* status) {
  LoopbackServer server(echoAll);
  VxPipe pipe;
  EXPECT_EQ(0, pipe.openPipe(server.address().c_str()));
  EXPECT_EQ(0, pipe.writePipe(data.data(), data.size(), false));
  EXPECT_EQ(0, pipe.shutdownSending());
  return readUntilEnd([&](char* b, size_t n, VXSIZE_T* got) { return pipe.readPipe(b, n, false, got); }, status);
}

std::string echoThroughTcp(const std::string& data, int* status) {
  LoopbackServer server(echoAll);
  TcpClient client(server.address());
  EXPECT_EQ(0, client.tcp.writePipe(data.data(), data.size()));
  shutdown(client.state.socket, SHUT_WR);
  return readUntilEnd([&](char* b, size_t n, VXSIZE_T* got) { return client.tcp.readPipe(b, n, got, false); }, status);
}

using Transport = NetTest;

TEST_F(Transport, BothEchoEveryByteAroundThePieceSize) {
  std::mt19937 rng(kSeed);
  for (size_t size : {0, 1, 65534, 65535, 65536, 131070, 1 << 20}) {
    const std::string data = randomBytes(rng, size);
    int status = 0;
    EXPECT_TRUE(echoThroughPipe(data, &status) == data) << "pipe, size " << size;
    EXPECT_EQ(VX_NET_CONNECTION_LOST, status);
    EXPECT_EQ("7503 08S01", lastError());  // the pipe cannot tell a close from a reset
    EXPECT_TRUE(echoThroughTcp(data, &status) == data) << "tcp, size " << size;
    EXPECT_EQ(VX_NET_CONNECTION_LOST, status);
    EXPECT_EQ("none", lastError());  // an orderly close is no failure
  }
}

// A server that vanishes: each read ends as a lost connection.
TEST_F(Transport, ServerThatClosesOrResetsLosesTheConnection) {
  for (auto serve : {+[](int fd) { close(fd); }, +resetConnection}) {
    char buffer[16];
    VXSIZE_T got = 0;
    LoopbackServer first(serve), second(serve);
    VxPipe pipe;
    ASSERT_EQ(0, pipe.openPipe(first.address().c_str()));
    EXPECT_EQ(VX_NET_CONNECTION_LOST, pipe.readPipe(buffer, sizeof buffer, true, &got));
    EXPECT_FALSE(pipe.isOpen());
    EXPECT_EQ("7503 08S01", lastError());
    TcpClient client(second.address());
    EXPECT_EQ(VX_NET_CONNECTION_LOST, client.tcp.readPipe(buffer, sizeof buffer, &got, false));
    EXPECT_EQ(serve == resetConnection ? "7503 08S01" : "none", lastError());
  }
}

TEST_F(Transport, SilentServerTimesOutWithoutARecord) {
  LoopbackServer server([](int fd) { readToEnd(fd); });
  TcpClient client(server.address());
  char buffer[16];
  VXSIZE_T got = 0;
  client.state.readTimeoutEnabled = 1;
  EXPECT_EQ(VX_NET_TIMEOUT, client.tcp.readPipe(buffer, sizeof buffer, &got, false));
  EXPECT_FALSE(client.tcp.timedOut());
  EXPECT_EQ(VX_NET_SECOND_TIMEOUT, client.tcp.readPipe(buffer, sizeof buffer, &got, true));
  EXPECT_TRUE(client.tcp.timedOut());
  EXPECT_EQ("none", lastError());
  EXPECT_TRUE(client.tcp.isOpen());
}

// The connection functions wait 10 seconds for a silent server: the one
// slow test of the suite.
TEST_F(Transport, ConnectionReadGivesUpAfterItsFixedWait) {
  LoopbackServer server([](int fd) { readToEnd(fd); });
  ConnectionObject connection;
  int err = 0, native = 0;
  ASSERT_EQ(1, ConnectionOpen(&connection, server.address().c_str(), &err));
  char buffer[4];
  const char* message = nullptr;
  EXPECT_EQ(0, ConnectionRead(&connection, buffer, sizeof buffer, 0, 0, &err));
  EXPECT_EQ(110, ConnectionError(&connection, &native, nullptr, &message));
  EXPECT_EQ(110, err);
  EXPECT_STREQ("ConnectionRead (recv()).", message);
  EXPECT_EQ(1, ConnectionClose(&connection, &err));
  EXPECT_EQ(1, ConnectionClose(&connection, &err));
}

TEST_F(Transport, TinyPiecesAddUpAndPeekSeesThem) {
  const std::string message(100, 'x');
  LoopbackServer server([&](int fd) {
    for (char c : message) {
      send(fd, &c, 1, 0);
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    readToEnd(fd);
  });
  VxPipe pipe;
  ASSERT_EQ(0, pipe.openPipe(server.address().c_str()));
  std::string back(100, '\0');
  VXSIZE_T got = 0;
  EXPECT_EQ(0, pipe.readPipe(&back[0], back.size(), true, &got));
  EXPECT_EQ(message, back);
  int ready = -1;
  EXPECT_EQ(0, pipe.peekPipe(&ready));
  EXPECT_EQ(0, ready);
  EXPECT_EQ(0, pipe.closePipe());
  EXPECT_EQ(VX_NET_CONNECTION_LOST, pipe.peekPipe(&ready));
  EXPECT_EQ(VX_NET_CONNECTION_LOST, pipe.writePipe("x", 1, false));
  EXPECT_EQ("7503 08S01", lastError());
}

// Addresses that fail before or at the connection. A malformed address is
// recorded as the failing call itself, with error 11.
TEST_F(Transport, BadAddressesFailWithTheirRecords) {
  const std::string longHost(4096, 'a'), longestHost(4095, 'a');
  const std::string unresolvable = std::string(70, 'a') + ".invalid,1";
  // A bound socket that does not listen: connecting to its port is refused.
  int bound = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in at{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t size = sizeof at;
  ASSERT_EQ(0, bind(bound, reinterpret_cast<sockaddr*>(&at), size));
  ASSERT_EQ(0, getsockname(bound, reinterpret_cast<sockaddr*>(&at), &size));
  const std::string refusedAddress = "127.0.0.1," + std::to_string(ntohs(at.sin_port));
  struct Row { std::string address; int error; std::string message; } rows[] = {
      {"127.0.0.1", 11, "ConnectionOpen (127.0.0.1())."},
      {"127.0.0.1,", 11, "ConnectionOpen (127.0.0.1,())."},
      {",80", 11, "ConnectionOpen (,80())."},
      {longHost + ",1", 11, "ConnectionOpen (" + longHost.substr(0, 510)},
      {longestHost + ",1", -1, "MapHostNameToAddress (gethostbyname_r())."},
      {unresolvable, -1, "MapHostNameToAddress (gethostbyname_r())."},
  };
  for (const Row& row : rows) {
    ConnectionObject connection;
    int err = 0;
    EXPECT_EQ(0, ConnectionOpen(&connection, row.address.c_str(), &err)) << row.address;
    if (row.error > 0) {
      EXPECT_EQ(row.error, err);
    }
    EXPECT_EQ(row.message, std::string(connection.message).substr(0, row.message.size()));
    EXPECT_EQ(-1, connection.socket);
  }
  VxPipe pipe;
  EXPECT_EQ(VX_NET_FAILURE, pipe.openPipe(nullptr));
  EXPECT_EQ("7508 08S01", lastError());
  EXPECT_EQ(VX_NET_FAILURE, pipe.openPipe(refusedAddress.c_str()));
  EXPECT_EQ(21, errors_.at(0)->getNativeError());
  EXPECT_EQ("The connection to the server could not be opened. ConnectionOpen (connect()). Error 111.", lastText());
  EXPECT_EQ("7505 08S01", lastError());
  close(bound);
  uint16_t count = 9;
  EXPECT_EQ(2, ConnectionServerEnum(nullptr, nullptr, &count));
  EXPECT_EQ(0, count);
}

// A server sends random bytes in random pieces and then closes or resets
// the connection: the client gets a prefix of what was sent (all of it
// after an orderly close) and a lost connection, never a crash.
TEST_F(Transport, RandomServerGivesAPrefixThenALostConnection) {
  std::mt19937 rng(kSeed);
  for (int round = 0; round < 40; ++round) {
    const std::string data = randomBytes(rng, rng() % 200000);
    const bool reset = rng() % 2, pipe = rng() % 2;
    const unsigned pieceSeed = rng();
    LoopbackServer server([&](int fd) {
      std::mt19937 pieces(pieceSeed);
      for (size_t at = 0; at < data.size();) {
        size_t n = std::min(data.size() - at, size_t(pieces() % 5000 + 1));
        sendAll(fd, data.substr(at, n));
        at += n;
      }
      reset ? resetConnection(fd) : (void)close(fd);
    });
    int status = 0;
    std::string got;
    if (pipe) {
      VxPipe client;
      ASSERT_EQ(0, client.openPipe(server.address().c_str()));
      got = readUntilEnd([&](char* b, size_t n, VXSIZE_T* r) { return client.readPipe(b, n, rng() % 2, r); }, &status);
    } else {
      TcpClient client(server.address());
      got = readUntilEnd([&](char* b, size_t n, VXSIZE_T* r) { return client.tcp.readPipe(b, n, r, false); }, &status);
    }
    SCOPED_TRACE("seed " + std::to_string(kSeed) + " round " + std::to_string(round));
    EXPECT_EQ(VX_NET_CONNECTION_LOST, status);
    EXPECT_TRUE(data.compare(0, got.size(), got) == 0 && (reset || got.size() == data.size()));
    lastError();
  }
}

}  // namespace
