// VxPipe's TLS layer over OpenSSL: the handshake with certificate and host
// checks, and TLS reads and writes with the pipe's error rules.
#include <arpa/inet.h>
#include <errno.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <climits>
#include <cstdio>
#include <cstring>

#include "net/neterror_internal.h"
#include "net/ntnetlib.h"
#include "net/vxpipe.h"

namespace {

// The handshake and every read wait as long as a plain read does.
constexpr int kWaitSeconds = 10;

// The most recent OpenSSL reason, or what the system said.
const char* lastReason() {
  unsigned long code = ERR_peek_last_error();
  const char* reason = code != 0 ? ERR_reason_error_string(code) : nullptr;
  return reason != nullptr ? reason : (errno != 0 ? strerror(errno) : "unknown failure");
}

// A receive time-out on the socket for the handshake (0 takes it off), so
// that a server that never answers cannot hold the caller for ever.
void setReceiveTimeout(int socket, int seconds) {
  timeval limit{seconds, 0};
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

// A client context for TLS 1.2 and later that verifies the server's chain
// against the PEM roots file (the system's roots without one). Null, with
// the reason written, when that fails.
SSL_CTX* makeClientContext(const char* rootsFile, char* reason, size_t size) {
  SSL_CTX* context = SSL_CTX_new(TLS_client_method());
  if (context == nullptr) {
    snprintf(reason, size, "%s", lastReason());
    return nullptr;
  }
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  const int loaded = rootsFile != nullptr ? SSL_CTX_load_verify_locations(context, rootsFile, nullptr)
                                          : SSL_CTX_set_default_verify_paths(context);
  if (loaded == 1) return context;
  snprintf(reason, size, "trusted roots %s: %s", rootsFile != nullptr ? rootsFile : "of the system",
           lastReason());
  SSL_CTX_free(context);
  return nullptr;
}

// A session on the socket that expects host: the host is sent as the
// server name (unless it is a dotted address) and must match the
// certificate, as a name or as an IP address. Null when OpenSSL refuses.
SSL* makeSession(SSL_CTX* context, int socket, const char* host) {
  SSL* ssl = SSL_new(context);
  in_addr dotted;
  bool ready = ssl != nullptr && SSL_set_fd(ssl, socket) == 1;
  if (ready && inet_pton(AF_INET, host, &dotted) == 1)
    ready = X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(ssl), host) == 1;
  else if (ready)
    ready = SSL_set_tlsext_host_name(ssl, host) == 1 && SSL_set1_host(ssl, host) == 1;
  if (ready) return ssl;
  SSL_free(ssl);
  return nullptr;
}

// Writing to a connection the server has reset raises SIGPIPE, which would
// end the driver's whole process. While the TLS layer writes, the signal
// is blocked for the calling thread, and one it raised is taken back.
class SigpipeBlock {
 public:
  SigpipeBlock() {
    sigemptyset(&pipeOnly_);
    sigaddset(&pipeOnly_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    alreadyPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipeOnly_, &previous_);
  }
  ~SigpipeBlock() {
    if (!alreadyPending_) {
      timespec now{0, 0};
      sigtimedwait(&pipeOnly_, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  SigpipeBlock(const SigpipeBlock&) = delete;
  SigpipeBlock& operator=(const SigpipeBlock&) = delete;

 private:
  sigset_t pipeOnly_;
  sigset_t previous_;
  bool alreadyPending_;
};

}  // namespace

int VxPipe::failSecure(const char* reason) {
  if (reportErrors_) addNetError(kErrSecureConnection) << reason;
  ERR_clear_error();
  return VX_NET_FAILURE;
}

void VxPipe::resetSSL() {
  SSL_free(ssl_);
  ssl_ = nullptr;
  SSL_CTX_free(sslContext_);
  sslContext_ = nullptr;
}

// A session on the open connection, then the handshake, which may take as
// long as one read waits. A failed certificate check is reported with its
// reason; a server that does not answer in time is a time-out.
int VxPipe::initSSL() {
  if (!open_) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  if (ssl_ != nullptr) return VX_NET_SUCCESS;
  ERR_clear_error();
  const int socket = static_cast<ConnectionObject*>(connection_)->socket;
  char reason[512];
  sslContext_ = makeClientContext(trustedRootsFilename_, reason, sizeof reason);
  if (sslContext_ == nullptr) return failSecure(reason);
  ssl_ = makeSession(sslContext_, socket, peerHost_);
  if (ssl_ == nullptr) {
    const int status = failSecure(lastReason());
    resetSSL();
    return status;
  }

  setReceiveTimeout(socket, kWaitSeconds);
  errno = 0;
  int rc;
  {
    SigpipeBlock quiet;
    rc = SSL_connect(ssl_);
  }
  const int savedErrno = errno;
  setReceiveTimeout(socket, 0);
  if (rc == 1) return VX_NET_SUCCESS;

  int status;
  const long verified = SSL_get_verify_result(ssl_);
  if (verified != X509_V_OK) {
    status = failSecure(X509_verify_cert_error_string(verified));
  } else if (SSL_get_error(ssl_, rc) == SSL_ERROR_SYSCALL && savedErrno == EAGAIN) {
    addNetLibError(VX_NET_TIMEOUT, 0);
    status = VX_NET_TIMEOUT;
  } else {
    errno = savedErrno;
    status = failSecure(lastReason());
  }
  resetSSL();
  return status;
}

// Like the plain read: each TLS record waits at most 10 seconds for data.
int VxPipe::readSSL(void* buffer, VXSIZE_T length, bool wait, VXSIZE_T* received) {
  *received = 0;
  if (!open_ || ssl_ == nullptr) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  char* bytes = static_cast<char*>(buffer);
  const int socket = static_cast<ConnectionObject*>(connection_)->socket;
  while (*received < length) {
    if (SSL_pending(ssl_) == 0) {
      pollfd p{socket, POLLIN, 0};
      int ready = poll(&p, 1, kWaitSeconds * 1000);
      if (ready == 0) return VX_NET_TIMEOUT;
      if (ready < 0) return statusForError(errno);
    }
    const VXSIZE_T left = length - *received;
    const int want = int(left < VXSIZE_T(INT_MAX) ? left : VXSIZE_T(INT_MAX));
    ERR_clear_error();
    errno = 0;
    const int n = SSL_read(ssl_, bytes + *received, want);
    if (n > 0) {
      *received += VXSIZE_T(n);
      if (!wait) break;
      continue;
    }
    switch (SSL_get_error(ssl_, n)) {
      case SSL_ERROR_WANT_READ:
        continue;
      case SSL_ERROR_ZERO_RETURN:
        return statusForError(EPIPE);
      case SSL_ERROR_SYSCALL:
        return statusForError(errno != 0 ? errno : EPIPE);
      default:
        return failSecure(lastReason());
    }
  }
  return VX_NET_SUCCESS;
}

int VxPipe::writeSSL(const void* buffer, VXSIZE_T length) {
  if (!open_ || ssl_ == nullptr) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  const char* bytes = static_cast<const char*>(buffer);
  VXSIZE_T sent = 0;
  SigpipeBlock quiet;
  while (sent < length) {
    const VXSIZE_T left = length - sent;
    const int want = int(left < VXSIZE_T(INT_MAX) ? left : VXSIZE_T(INT_MAX));
    ERR_clear_error();
    errno = 0;
    const int n = SSL_write(ssl_, bytes + sent, want);
    if (n > 0) {
      sent += VXSIZE_T(n);
      continue;
    }
    if (SSL_get_error(ssl_, n) == SSL_ERROR_SYSCALL) return statusForError(errno != 0 ? errno : EPIPE);
    return failSecure(lastReason());
  }
  return VX_NET_SUCCESS;
}
