// The transports on loopback against plain send/recv on a socket: the
// throughput of a 1 MiB stream into a server that discards it (MB/s), and
// round trips of 100-byte requests and answers (per second), through
// VxTCPIP, VxPipe and VxPipe over TLS, each also with the trace on. After
// the usual table it prints each transport's real time and client CPU time
// divided by the plain socket's (below 1 means faster). Trace files and the generated test
// certificates live in a temporary folder, removed at the end.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "net/ntnetlib.h"
#include "net/vxpipe.h"
#include "net/vxtcpip.h"
#include "ratio_reporter.h"

namespace {

constexpr size_t kStreamBlock = 1 << 20;
constexpr size_t kMessage = 100;
std::string folder;  // trace files and certificates

// ---------------------------------------------------------------------------
// Servers: a thread per listener accepting for ever, a thread per
// connection. A TLS server wraps each connection first.

SSL_CTX* serverContext = nullptr;

bool receiveExactly(int fd, SSL* ssl, char* buffer, size_t n) {
  for (size_t got = 0; got < n;) {
    const int r = ssl ? SSL_read(ssl, buffer + got, int(n - got)) : int(recv(fd, buffer + got, n - got, 0));
    if (r <= 0) return false;
    got += size_t(r);
  }
  return true;
}

void serveConnection(int fd, bool tls, bool echo) {
  SSL* ssl = nullptr;
  if (tls) {
    ssl = SSL_new(serverContext);
    SSL_set_fd(ssl, fd);
    if (SSL_accept(ssl) != 1) return;
  }
  char buffer[65536];
  for (;;) {
    const size_t want = echo ? kMessage : 1;
    if (!receiveExactly(fd, ssl, buffer, want)) break;
    if (!echo) {  // drain what else is there, answer nothing
      if ((ssl ? SSL_read(ssl, buffer, sizeof buffer) : int(recv(fd, buffer, sizeof buffer, 0))) <= 0) break;
      continue;
    }
    if ((ssl ? SSL_write(ssl, buffer, int(kMessage)) : int(send(fd, buffer, kMessage, MSG_NOSIGNAL))) <= 0) break;
  }
  SSL_free(ssl);
  close(fd);
}

// Starts a server; returns its port.
int startServer(bool tls, bool echo) {
  int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in at{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t size = sizeof at;
  if (bind(listener, reinterpret_cast<sockaddr*>(&at), size) != 0 || listen(listener, 8) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&at), &size) != 0)
    abort();
  std::thread([=] {
    for (int fd; (fd = accept(listener, nullptr, nullptr)) >= 0;) std::thread(serveConnection, fd, tls, echo).detach();
  }).detach();
  return ntohs(at.sin_port);
}

// ---------------------------------------------------------------------------
// Clients: the plain socket and the library's transports behind one face.

enum Kind { kPlain, kTcpip, kPipe, kTls };

struct Client {
  virtual ~Client() = default;
  virtual void write(const char* data, size_t n) = 0;
  virtual void readExactly(char* data, size_t n) = 0;
};

struct PlainClient : Client {
  explicit PlainClient(int port) : fd(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in at{AF_INET, htons(uint16_t(port)), {htonl(INADDR_LOOPBACK)}, {}};
    if (connect(fd, reinterpret_cast<sockaddr*>(&at), sizeof at) != 0) abort();
  }
  ~PlainClient() override { close(fd); }
  void write(const char* data, size_t n) override {
    for (size_t sent = 0; sent < n;) {
      ssize_t r = send(fd, data + sent, n - sent, MSG_NOSIGNAL);
      if (r <= 0) abort();
      sent += size_t(r);
    }
  }
  void readExactly(char* data, size_t n) override {
    if (!receiveExactly(fd, nullptr, data, n)) abort();
  }
  int fd;
};

struct TcpipClient : Client {
  TcpipClient(int port, bool trace) {
    ConnectionObject connection;
    int err = 0;
    if (ConnectionOpen(&connection, ("127.0.0.1," + std::to_string(port)).c_str(), &err) == 0) abort();
    state = VxSocketState{connection.socket, {}, 0, {}, 0};
    if (tcp.openPipe(&state) != 0 || (trace && tcp.setLogging(true) != 0)) abort();
  }
  void write(const char* data, size_t n) override {
    if (tcp.writePipe(data, n) != 0) abort();
  }
  void readExactly(char* data, size_t n) override {
    for (VXSIZE_T got = 0, r = 0; got < n; got += r)
      if (tcp.readPipe(data + got, n - got, &r, false) != 0) abort();
  }
  VxSocketState state;
  VxTCPIP tcp;
};

struct PipeClient : Client {
  PipeClient(int port, bool tls, bool trace) {
    pipe.setSSL(tls);
    pipe.setTrustedRootsFilename((folder + "/ca.pem").c_str());
    if (pipe.openPipe(("127.0.0.1," + std::to_string(port)).c_str()) != 0) abort();
    if (trace && pipe.setLogging(true) != 0) abort();
  }
  void write(const char* data, size_t n) override {
    if (pipe.writePipe(data, n, false) != 0) abort();
  }
  void readExactly(char* data, size_t n) override {
    VXSIZE_T got = 0;
    if (pipe.readPipe(data, n, true, &got) != 0 || got != n) abort();
  }
  VxPipe pipe;
};

int ports[2][2];  // [tls][echo]

std::unique_ptr<Client> makeClient(Kind kind, bool trace, bool echo) {
  const int port = ports[kind == kTls][echo];
  if (kind == kPlain) return std::make_unique<PlainClient>(port);
  if (kind == kTcpip) return std::make_unique<TcpipClient>(port, trace);
  return std::make_unique<PipeClient>(port, kind == kTls, trace);
}

void stream(benchmark::State& state, Kind kind, bool trace) {
  auto client = makeClient(kind, trace, false);
  const std::string block(kStreamBlock, 'x');
  for (auto _ : state) client->write(block.data(), block.size());
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kStreamBlock));
}

void roundTrip(benchmark::State& state, Kind kind, bool trace) {
  auto client = makeClient(kind, trace, true);
  char request[kMessage] = "request", answer[kMessage];
  for (auto _ : state) {
    client->write(request, kMessage);
    client->readExactly(answer, kMessage);
  }
  state.SetItemsProcessed(int64_t(state.iterations()));
}

const char* const kNames[] = {"send", "vx-tcpip", "vx-pipe", "vx-tls"};

void makeCertificates() {
  char pattern[] = "/tmp/vx_net_bench_XXXXXX";
  if (mkdtemp(pattern) == nullptr || chdir(pattern) != 0) abort();
  folder = pattern;
  const std::string key = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2";
  const std::string script = "exec 2>/dev/null; openssl req -x509" + key + " -keyout ca.key -out ca.pem -subj /CN=ca" +
      " && openssl req" + key + " -keyout server.key -out server.csr -subj /CN=server" +
      " && printf 'subjectAltName=IP:127.0.0.1\\n' > san.ext && openssl x509 -req -in server.csr -CA ca.pem" +
      " -CAkey ca.key -CAcreateserial -days 2 -extfile san.ext -out server.pem >/dev/null";
  if (system(script.c_str()) != 0) abort();
  serverContext = SSL_CTX_new(TLS_server_method());
  SSL_CTX_use_certificate_file(serverContext, "server.pem", SSL_FILETYPE_PEM);
  SSL_CTX_use_PrivateKey_file(serverContext, "server.key", SSL_FILETYPE_PEM);
}

// Keeps each benchmark's CPU time of the client thread beside the real
// time: on a machine shared with other jobs the real time of a loopback
// exchange swings with the scheduler, while the client's CPU time is what
// the transport itself costs.
class BothClocks : public RunTimes {
 public:
  BothClocks() : RunTimes(kRealTime), cpu_(kCpuTime) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    cpu_.collect(runs);
    RunTimes::ReportRuns(runs);
  }
  // Each transport's times over the plain socket's, per operation.
  void printRatios() const {
    printf("\n%-24s %12s %12s %7s %10s %10s %7s\n", "operation transport", "real ns", "send ns", "ratio",
           "cpu ns", "send cpu", "ratio");
    for (const std::string& name : names()) {
      const std::string op = name.substr(0, name.find('/')), peer = op + "/send";
      if (name == peer || !has(peer)) continue;
      const std::string shortName = name.substr(0, name.find("/iterations"));
      printf("%-24s %12.0f %12.0f %7.2f %10.0f %10.0f %7.2f\n", shortName.c_str(), at(name), at(peer),
             at(name) / at(peer), cpu_.at(name), cpu_.at(peer), cpu_.at(name) / cpu_.at(peer));
    }
  }

 private:
  // A RunTimes that only collects, printing nothing.
  struct Collector : RunTimes {
    explicit Collector(Clock clock) : RunTimes(clock) {}
    void collect(const std::vector<Run>& runs) {
      SetOutputStream(&sink);
      SetErrorStream(&sink);
      RunTimes::ReportRuns(runs);
      sink.str("");
    }
    std::ostringstream sink;
  };
  Collector cpu_;
};

}  // namespace

int main(int argc, char** argv) {
  makeCertificates();
  for (int tls = 0; tls < 2; ++tls)
    for (int echo = 0; echo < 2; ++echo) ports[tls][echo] = startServer(tls, echo);
  for (Kind kind : {kPlain, kTcpip, kPipe, kTls})
    for (bool trace : {false, true}) {
      if (kind == kPlain && trace) continue;
      const std::string suffix = std::string(kNames[kind]) + (trace ? "-trace" : "");
      auto* s = benchmark::RegisterBenchmark(("stream/" + suffix).c_str(), stream, kind, trace)->UseRealTime();
      auto* r = benchmark::RegisterBenchmark(("roundtrip/" + suffix).c_str(), roundTrip, kind, trace)->UseRealTime();
      // A trace grows by about 7.4 bytes per byte moved: bounded runs keep
      // the files to some tens of megabytes.
      if (trace) {
        s->Iterations(8);
        r->Iterations(20000);
      }
    }
  benchmark::Initialize(&argc, argv);
  BothClocks times;
  benchmark::RunSpecifiedBenchmarks(&times);
  times.printRatios();
  benchmark::Shutdown();
  if (chdir("/") != 0 || system(("rm -rf '" + folder + "'").c_str()) != 0) return 1;
  return 0;
}
