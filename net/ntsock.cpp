// The connection functions over a blocking IPv4 TCP socket.
#include <arpa/inet.h>
#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "net/ntaddr_internal.h"
#include "net/ntnetlib.h"

namespace {

constexpr int kObjectSize = 560;
constexpr uint32_t kVersion = 0x07000207;
// The library's own error number for failures without a system error.
constexpr int kLibraryError = 11;
constexpr int kReadWaitMs = 10 * 1000;
// The poll events asked for: readable, priority, normal and priority band.
constexpr short kDataEvents = POLLIN | POLLPRI | POLLRDNORM | POLLRDBAND;
static_assert(kDataEvents == 0xC3, "the events callers expect");

ConnectionObject* asConnection(void* object) { return static_cast<ConnectionObject*>(object); }

// Records a failure in the object and in *error. The error class is always
// 11: the class argument of every failure is out of range.
void setError(ConnectionObject* c, int number, const char* functionName, const char* callName,
              int* error) {
  c->nativeError = uint16_t(number);
  c->errorClass = 11;
  c->functionName = functionName;
  c->callName = callName;
  snprintf(c->message, sizeof c->message, "%s (%s()).", functionName, callName);
  if (error != nullptr) *error = number;
}

// Waits up to timeoutMs for the socket to become readable: 1 readable, 0
// timed out, -1 failed (errno set). poll rather than select, so that a
// descriptor above FD_SETSIZE is safe.
int waitReadable(int socket, int timeoutMs) {
  pollfd p{socket, POLLIN, 0};
  return poll(&p, 1, timeoutMs);
}

// send until the whole length has gone: the length, or 0 with the error
// recorded under functionName.
uint16_t sendAll(ConnectionObject* c, const void* buffer, uint16_t length, int flags,
                 const char* functionName, int* error) {
  if (error != nullptr) *error = 0;
  const char* bytes = static_cast<const char*>(buffer);
  size_t sent = 0;
  while (sent < length) {
    ssize_t n = send(c->socket, bytes + sent, length - sent, flags | MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      setError(c, n == 0 ? kLibraryError : errno, functionName, "send", error);
      return 0;
    }
    sent += size_t(n);
  }
  return length;
}

void closeSocket(ConnectionObject* c) {
  if (c->socket >= 0) close(c->socket);
  c->socket = -1;
}

}  // namespace

bool splitConnectionAddress(const char* address, ConnectionAddressParts* parts) {
  const char* comma = strchr(address, ',');
  if (comma == nullptr) return false;
  size_t hostLength = size_t(comma - address);
  if (hostLength == 0 || hostLength > kMaxHostLength || comma[1] == '\0') return false;
  uint32_t port = 0;
  for (const char* p = comma + 1; *p >= '0' && *p <= '9'; ++p) port = port * 10 + uint32_t(*p - '0');
  *parts = ConnectionAddressParts{address, hostLength, port};
  return true;
}

int ConnectionObjectSize() { return kObjectSize; }

uint32_t ConnectionVer() { return kVersion; }

namespace {

constexpr const char* kOpenFunction = "ConnectionOpen";

// A TCP socket whose close is abortive (linger on, time 0: closing it
// resets the connection), bound to any local address and port.
bool makeSocket(ConnectionObject* c, int* error) {
  c->socket = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  if (c->socket < 0) {
    setError(c, errno, kOpenFunction, "socket", error);
    return false;
  }
  linger abortive{1, 0};
  setsockopt(c->socket, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
  sockaddr_in local{};
  local.sin_family = AF_INET;
  if (bind(c->socket, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
    setError(c, errno, kOpenFunction, "bind", error);
    return false;
  }
  return true;
}

// The server's address and port from "host,port". A malformed address
// records the address text itself as the failing call, with error 11 (the
// pointer to the caller's text is kept as the call name; the message holds
// a copy). The host is tried as a dotted address first, then through the
// resolver, whose failure is recorded under "MapHostNameToAddress".
bool findServer(ConnectionObject* c, const char* address, int* error) {
  ConnectionAddressParts parts;
  if (address == nullptr || !splitConnectionAddress(address, &parts)) {
    setError(c, kLibraryError, kOpenFunction, address != nullptr ? address : "", error);
    return false;
  }
  char host[kMaxHostLength + 1];
  memcpy(host, parts.host, parts.hostLength);
  host[parts.hostLength] = '\0';
  c->port = parts.port;
  c->address = inet_addr(host);
  if (c->address != INADDR_NONE) return true;
  int lookupError = 0;
  const char* failedCall = MapHostNameToAddress(c, host, &c->address, &lookupError);
  if (failedCall == nullptr) return true;
  setError(c, lookupError, "MapHostNameToAddress", failedCall, error);
  return false;
}

bool connectToServer(ConnectionObject* c, int* error) {
  sockaddr_in server{};
  server.sin_family = AF_INET;
  server.sin_port = htons(uint16_t(c->port));  // the low 16 bits of the port field
  server.sin_addr.s_addr = c->address;
  if (connect(c->socket, reinterpret_cast<sockaddr*>(&server), sizeof server) == 0) return true;
  setError(c, errno, kOpenFunction, "connect", error);
  return false;
}

}  // namespace

// Clears the object, then makes the socket, finds the server and connects.
// A failure in any step closes the socket made so far.
int ConnectionOpen(void* object, const char* address, int* error) {
  ConnectionObject* c = asConnection(object);
  memset(c, 0, sizeof *c);
  c->socket = -1;
  if (error != nullptr) *error = 0;
  if (makeSocket(c, error) && findServer(c, address, error) && connectToServer(c, error)) return 1;
  closeSocket(c);
  return 0;
}

// The resolver's work buffer is 1,024 bytes. A "host not found" code that
// comes with a result is no failure.
const char* MapHostNameToAddress(void* object, const char* host, void* address, int* error) {
  (void)object;
  hostent entry;
  hostent* result = nullptr;
  char work[1024];
  int hostError = 0;
  int rc = gethostbyname_r(host, &entry, work, sizeof work, &result, &hostError);
  if (hostError == HOST_NOT_FOUND && result != nullptr) hostError = 0;
  if (rc != 0 || hostError != 0) {
    *error = hostError != 0 ? hostError : rc;
    return "gethostbyname_r";
  }
  if (result == nullptr || result->h_addrtype != AF_INET || result->h_addr_list[0] == nullptr) {
    *error = kLibraryError;
    return "";
  }
  memcpy(address, result->h_addr_list[0], 4);
  return nullptr;
}

uint16_t ConnectionRead(void* object, void* buffer, uint16_t length, uint16_t, uint16_t,
                        int* error) {
  ConnectionObject* c = asConnection(object);
  if (error != nullptr) *error = 0;
  int ready = waitReadable(c->socket, kReadWaitMs);
  if (ready <= 0) {
    setError(c, ready == 0 ? ETIMEDOUT : errno, "ConnectionRead", "recv", error);
    return 0;
  }
  ssize_t n;
  do {
    n = recv(c->socket, buffer, length, 0);
  } while (n < 0 && errno == EINTR);
  if (n <= 0) {
    setError(c, n == 0 ? kLibraryError : errno, "ConnectionRead", "recv", error);
    return 0;
  }
  return uint16_t(n);
}

uint16_t ConnectionWrite(void* object, const void* buffer, uint16_t length, int* error) {
  return sendAll(asConnection(object), buffer, length, 0, "ConnectionWrite", error);
}

uint16_t ConnectionWriteOOB(void* object, const void* buffer, uint16_t length, int* error) {
  return sendAll(asConnection(object), buffer, length, MSG_OOB, "ConnectionWriteOOB", error);
}

uint16_t ConnectionTransact(void* object, void* readBuffer, const void* writeBuffer,
                            uint16_t writeLength, uint16_t readLength, uint16_t unused1,
                            uint16_t unused2, int* error) {
  if (ConnectionWrite(object, writeBuffer, writeLength, error) < writeLength) return 0;
  return ConnectionRead(object, readBuffer, readLength, unused1, unused2, error);
}

int ConnectionCheckForData(void* object, int* dataReady, int* error) {
  ConnectionObject* c = asConnection(object);
  if (error != nullptr) *error = 0;
  *dataReady = 0;
  pollfd p{c->socket, kDataEvents, 0};
  int rc = poll(&p, 1, 0);
  if (rc < 0) {
    setError(c, errno, "ConnectionCheckForData", "poll", error);
    return 0;
  }
  if ((p.revents & ~kDataEvents) != 0) {
    setError(c, kLibraryError, "ConnectionCheckForData", "", error);
    return 0;
  }
  *dataReady = (p.revents & POLLIN) != 0 ? 1 : 0;
  return *dataReady;
}

int ConnectionClose(void* object, int* error) {
  ConnectionObject* c = asConnection(object);
  if (error != nullptr) *error = 0;
  if (c->socket == -1) return 1;
  int rc = close(c->socket);
  c->socket = -1;
  if (rc != 0) {
    setError(c, errno, "ConnectionClose", "closesocket", error);
    return 0;
  }
  return 1;
}

int ConnectionError(void* object, int* nativeError, void*, const char** message) {
  ConnectionObject* c = asConnection(object);
  if (nativeError != nullptr) *nativeError = c->nativeError;
  if (message != nullptr) *message = c->message;
  return c->nativeError;
}

int ConnectionStatus(void*, void*, void*) { return 0; }

void ConnectionMode(void*, int) {}

int ConnectionServerEnum(void*, void*, uint16_t* count) {
  if (count != nullptr) *count = 0;
  return 2;
}

int ConnectionServerEnumW(void* object, void* unused, uint16_t* count) {
  return ConnectionServerEnum(object, unused, count);
}
