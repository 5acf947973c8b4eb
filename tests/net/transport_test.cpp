// The connection functions, VxPipe and VxTCPIP against servers on the
// loopback interface: echoes at the edges of a piece, the failures of the
// network and of addresses, and a server sending random bytes and
// vanishing at random points.
#include <netinet/tcp.h>

#include <string>

#include "net/ntnetlib.h"
#include "net/vxpipe.h"
#include "net/vxtcpip.h"
#include "tests/net/net_test_support.h"

namespace {

constexpr int kOn = 1;

// Either transport behind one face. VxTCPIP gets a socket that the
// connection functions opened, and read time-outs of 50 ms (the normal one
// switched off).
struct Client {
  Client(bool throughPipe, const std::string& address) : throughPipe(throughPipe) {
    int err = 0;
    if (throughPipe) {
      EXPECT_EQ(0, pipe.openPipe(address.c_str()));
      return;
    }
    EXPECT_EQ(1, ConnectionOpen(&connection, address.c_str(), &err)) << connection.message;
    state.socket = connection.socket;
    tcp.openPipe(&state);
  }
  // Sends data and ends the sending side.
  void request(const std::string& data) {
    EXPECT_EQ(0, throughPipe ? pipe.writePipe(data.data(), data.size(), false) : tcp.writePipe(data.data(), data.size()));
    EXPECT_EQ(0, throughPipe ? pipe.shutdownSending() : shutdown(state.socket, SHUT_WR));
  }
  // Reads until a status other than 0 (the pipe waiting for full reads or not).
  std::string answer(int* status, bool wait = false) {
    return readUntilEnd([&](char* b, size_t n, VXSIZE_T* got) {
      return throughPipe ? pipe.readPipe(b, n, wait, got) : tcp.readPipe(b, n, got, false);
    }, status);
  }
  bool throughPipe;
  VxPipe pipe;
  ConnectionObject connection;
  VxSocketState state{-1, {0, 50000}, 0, {0, 50000}, 1};
  VxTCPIP tcp;
};

using Transport = NetTest;

// The pipe cannot tell a close from a reset (7503 for both); VxTCPIP takes
// an orderly close as no failure.
TEST_F(Transport, BothEchoEveryByteAroundThePieceSize) {
  std::mt19937 rng(kSeed);
  for (size_t size : {0, 1, 65534, 65535, 65536, 131070, 1 << 20}) {
    const std::string data = randomBytes(rng, size);
    for (bool pipe : {true, false}) {
      LoopbackServer server(echoAll);
      Client client(pipe, server.address());
      int ready = -1, status = 0;
      if (pipe) {  // no answer before the request
        EXPECT_EQ(0, client.pipe.peekPipe(&ready));
        EXPECT_EQ(0, ready);
      }
      client.request(data);
      EXPECT_TRUE(client.answer(&status) == data) << "pipe " << pipe << ", size " << size;
      EXPECT_EQ(VX_NET_CONNECTION_LOST, status);
      EXPECT_EQ(pipe ? "7503 08S01" : "none", lastError());
    }
  }
}

TEST_F(Transport, SilentServerTimesOutWithoutARecord) {
  LoopbackServer server([](int fd) { readToEnd(fd); });
  Client client(false, server.address());
  char buffer[16];
  VXSIZE_T got = 0;
  client.state.readTimeoutEnabled = 1;
  EXPECT_EQ(VX_NET_TIMEOUT, client.tcp.readPipe(buffer, sizeof buffer, &got, false));
  EXPECT_FALSE(client.tcp.timedOut());
  EXPECT_EQ(VX_NET_SECOND_TIMEOUT, client.tcp.readPipe(buffer, sizeof buffer, &got, true));
  EXPECT_TRUE(client.tcp.timedOut() && client.tcp.isOpen());
  EXPECT_EQ("none", lastError());
  // The connection functions wait 10 seconds: the one slow check of the suite.
  int err = 0;
  EXPECT_EQ(0, ConnectionRead(&client.connection, buffer, sizeof buffer, 0, 0, &err));
  EXPECT_EQ(110, err);
  EXPECT_STREQ("ConnectionRead (recv()).", client.connection.message);
  EXPECT_EQ(1, ConnectionClose(&client.connection, &err));
  EXPECT_EQ(1, ConnectionClose(&client.connection, &err));  // already closed
  client.state.socket = -1;  // so the transport does not close it again
}

// A malformed address is recorded as the failing call itself, error 11.
TEST_F(Transport, BadAddressesFailWithTheirRecords) {
  const std::string longHost(4096, 'a');
  const std::string lookup = "MapHostNameToAddress (gethostbyname_r()).";
  struct Row { std::string address, message; } rows[] = {
      {"127.0.0.1", "ConnectionOpen (127.0.0.1())."}, {"127.0.0.1,", "ConnectionOpen (127.0.0.1,())."},
      {",80", "ConnectionOpen (,80())."}, {longHost + ",1", "ConnectionOpen (" + longHost.substr(0, 510)},
      {longHost.substr(1) + ",1", lookup}, {std::string(70, 'a') + ".invalid,1", lookup}};
  for (const Row& row : rows) {
    ConnectionObject connection;
    int err = 0;
    EXPECT_EQ(0, ConnectionOpen(&connection, row.address.c_str(), &err)) << row.address;
    EXPECT_TRUE(row.message[0] == 'M' || err == 11);
    EXPECT_EQ(row.message, std::string(connection.message).substr(0, row.message.size()));
    EXPECT_EQ(-1, connection.socket);
  }
  // A bound socket that does not listen: connecting to its port is refused.
  int bound = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in at{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t size = sizeof at;
  ASSERT_EQ(0, bind(bound, reinterpret_cast<sockaddr*>(&at), size));
  ASSERT_EQ(0, getsockname(bound, reinterpret_cast<sockaddr*>(&at), &size));
  VxPipe pipe;
  EXPECT_EQ(VX_NET_FAILURE, pipe.openPipe(nullptr));
  EXPECT_EQ("7508 08S01", lastError());
  EXPECT_EQ(VX_NET_FAILURE, pipe.openPipe(("127.0.0.1," + std::to_string(ntohs(at.sin_port))).c_str()));
  EXPECT_EQ(21, errors_.at(0)->getNativeError());
  EXPECT_EQ("The connection to the server could not be opened. ConnectionOpen (connect()). Error 111.", lastText());
  EXPECT_EQ("7505 08S01", lastError());
  close(bound);
  uint16_t count = 9;
  EXPECT_EQ(2, ConnectionServerEnum(nullptr, nullptr, &count));
  EXPECT_EQ(0, count);
}

// A server sends random bytes in random pieces (every other round in tiny
// ones of 1 to 8 bytes; nothing in the first rounds), then closes or
// resets the connection: the client gets a prefix of what was sent (all of
// it after an orderly close) and a lost connection, never a crash. Only
// VxTCPIP tells an orderly close (no record) from a reset.
TEST_F(Transport, RandomServerGivesAPrefixThenALostConnection) {
  std::mt19937 rng(kSeed);
  for (int round = 0; round < 40; ++round) {
    const std::string data = randomBytes(rng, round < 4 ? 0 : rng() % (round % 2 ? 2000 : 200000));
    const size_t largestPiece = round % 2 ? 8 : 5000;
    const bool reset = rng() % 2, pipe = rng() % 2, wait = rng() % 2;
    const unsigned pieceSeed = rng();
    LoopbackServer server([&](int fd) {
      setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &kOn, sizeof kOn);  // each piece its own segment
      std::mt19937 pieces(pieceSeed);
      for (size_t at = 0, n; at < data.size(); at += n)
        sendAll(fd, data.substr(at, n = std::min(data.size() - at, pieces() % largestPiece + 1)));
      reset ? resetConnection(fd) : (void)close(fd);
    });
    Client client(pipe, server.address());
    int status = 0, ready = 0;
    const std::string got = client.answer(&status, wait);
    SCOPED_TRACE("seed " + std::to_string(kSeed) + " round " + std::to_string(round));
    EXPECT_EQ(VX_NET_CONNECTION_LOST, status);
    EXPECT_TRUE(data.compare(0, got.size(), got) == 0 && (reset || got.size() == data.size()));
    if (pipe) {  // the lost pipe is closed
      EXPECT_EQ(VX_NET_CONNECTION_LOST, client.pipe.peekPipe(&ready));
      EXPECT_EQ(VX_NET_CONNECTION_LOST, client.pipe.writePipe("x", 1, false));
    }
    EXPECT_EQ(pipe || reset ? "7503 08S01" : "none", lastError());
  }
}

}  // namespace
