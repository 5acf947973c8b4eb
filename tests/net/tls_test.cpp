// VxPipe's TLS layer against a loopback TLS server whose certificate
// authority and certificate (for the address 127.0.0.1) are made with the
// openssl command for this run.
#include <openssl/ssl.h>

#include <functional>
#include <string>

#include "net/vxpipe.h"
#include "tests/net/net_test_support.h"

namespace {

std::string certificates;  // the folder of the generated files

// Accepts a TLS session on fd and hands it to talk, then says goodbye.
// The child process ends right after, which frees everything.
void acceptTls(int fd, const std::function<void(SSL*)>& talk) {
  SSL_CTX* context = SSL_CTX_new(TLS_server_method());
  SSL_CTX_use_certificate_file(context, (certificates + "/server.pem").c_str(), SSL_FILETYPE_PEM);
  SSL_CTX_use_PrivateKey_file(context, (certificates + "/server.key").c_str(), SSL_FILETYPE_PEM);
  SSL* ssl = SSL_new(context);
  SSL_set_fd(ssl, fd);
  if (SSL_accept(ssl) != 1) return;
  talk(ssl);
  SSL_shutdown(ssl);
}

// Echoes what arrives until the client's close-notify.
void serveTls(int fd) {
  acceptTls(fd, [](SSL* ssl) {
    std::string data;
    char buffer[16384];
    for (int n; (n = SSL_read(ssl, buffer, sizeof buffer)) > 0;) data.append(buffer, size_t(n));
    SSL_write(ssl, data.data(), int(data.size()));  // blocking: all of it or a failure
  });
}

// Sends one record of 100 bytes and keeps the connection open, silent,
// until the client closes it.
void serveOneRecord(int fd) {
  acceptTls(fd, [](SSL* ssl) {
    const std::string record(100, 'r');
    SSL_write(ssl, record.data(), int(record.size()));
    char ignored;
    SSL_read(ssl, &ignored, 1);
  });
}

class Tls : public NetTest {
 protected:
  static void SetUpTestSuite() {
    char pattern[] = "/tmp/vx_tls_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    certificates = pattern;
    const std::string key = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2";
    const std::string script = "cd '" + certificates + "' && exec 2>/dev/null" +
        " && openssl req -x509" + key + " -keyout ca.key -out ca.pem -subj /CN=vx-test-ca" +
        " && openssl req -x509" + key + " -keyout other.key -out other.pem -subj /CN=vx-other-ca" +
        " && openssl req" + key + " -keyout server.key -out server.csr -subj /CN=vx-test-server" +
        " && printf 'subjectAltName=IP:127.0.0.1\\n' > san.ext" +
        " && openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial" +
        " -days 2 -extfile san.ext -out server.pem >/dev/null";
    ASSERT_EQ(0, system(script.c_str())) << "openssl could not make the test certificates";
  }
  static void TearDownTestSuite() { EXPECT_EQ(0, system(("rm -rf '" + certificates + "'").c_str())); }
};

TEST_F(Tls, EchoesThroughAVerifiedSessionAndTracesPlainText) {
  LoopbackServer server(serveTls);
  VxPipe pipe;
  ASSERT_EQ(0u, pipe.setLogging(true));
  pipe.setSSL(true);
  ASSERT_EQ(0u, pipe.setTrustedRootsFilename((certificates + "/ca.pem").c_str()));
  ASSERT_EQ(0, pipe.openPipe(server.address().c_str())) << lastText();
  std::mt19937 rng(kSeed);
  const std::string request = "secret" + randomBytes(rng, 100000);
  EXPECT_EQ(0, pipe.writePipe(request.data(), request.size(), false));
  EXPECT_EQ(0, pipe.shutdownSending());
  int status = 0;
  EXPECT_TRUE(request == readUntilEnd([&](char* b, size_t n, VXSIZE_T* got) {
    return pipe.readPipe(b, n, false, got);
  }, &status));
  EXPECT_EQ(VX_NET_CONNECTION_LOST, status);
  EXPECT_EQ("7503 08S01", lastError());
  pipe.setLogging(false);
  EXPECT_EQ(0u, fileText("0.out").find("Sending 100006 bytes\nHEX\t\t\t\tASCII\t\t\tEBCDIC\n73 65 63 72 65 74 "));
}

// The rest of a record already decrypted is read at once, without waiting
// for the socket, which has nothing more to give.
TEST_F(Tls, ReadsTheRestOfABufferedRecordWithoutWaiting) {
  LoopbackServer server(serveOneRecord);
  VxPipe pipe;
  pipe.setSSL(true);
  ASSERT_EQ(0u, pipe.setTrustedRootsFilename((certificates + "/ca.pem").c_str()));
  ASSERT_EQ(0, pipe.openPipe(server.address().c_str())) << lastText();
  char buffer[100];
  VXSIZE_T got = 0;
  ASSERT_EQ(0, pipe.readPipe(buffer, 10, false, &got));
  EXPECT_EQ(0, pipe.readPipe(buffer + 10, 90, false, &got));
  EXPECT_EQ(90u, got);
  EXPECT_EQ(std::string(100, 'r'), std::string(buffer, sizeof buffer));
  EXPECT_EQ(0, pipe.closePipe());
}

// Each failure is error 7509 with OpenSSL's reason, and leaves the pipe
// closed.
TEST_F(Tls, RefusesAWrongHostAnUntrustedChainAndAPlainServer) {
  auto plain = [](int fd) {
    sendAll(fd, "HELLO FROM A PLAIN SERVER\r\n");
    readToEnd(fd);
  };
  struct Row { std::function<void(int)> serve; std::string host, roots, reason; } rows[] = {
      {serveTls, "localhost", "ca.pem", "hostname mismatch"},
      {serveTls, "127.0.0.1", "other.pem", "unable to get local issuer certificate"},
      {plain, "127.0.0.1", "ca.pem", ""},
      {serveTls, "127.0.0.1", "missing.pem", "trusted roots " + certificates + "/missing.pem"},
  };
  for (const Row& row : rows) {
    LoopbackServer server(row.serve);
    VxPipe pipe;
    pipe.setSSL(true);
    pipe.setTrustedRootsFilename((certificates + "/" + row.roots).c_str());
    EXPECT_EQ(VX_NET_FAILURE, pipe.openPipe((row.host + "," + std::to_string(server.port)).c_str()));
    EXPECT_FALSE(pipe.isOpen());
    EXPECT_NE(std::string::npos, lastText().find("The secure connection failed: " + row.reason)) << lastText();
    EXPECT_EQ("7509 08S01", lastError()) << row.host << " " << row.roots;
  }
}

}  // namespace
