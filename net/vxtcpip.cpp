// VxTCPIP: one send per write, a timed wait and one recv per read.
#include "net/vxtcpip.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "net/neterror_internal.h"
#include "net/nettrace_internal.h"

VxTCPIP::VxTCPIP() : tracing_(0), traceFile_(nullptr), open_(0), state_(nullptr), timedOut_(0) {}

VxTCPIP::~VxTCPIP() {
  closePipe();
  setLogging(false);
}

unsigned VxTCPIP::setLogging(bool on) {
  const unsigned status = switchTraceFile(&traceFile_, on, true);
  tracing_ = traceFile_ != nullptr ? 1 : 0;
  return status;
}

int VxTCPIP::openPipe(VxSocketState* state) {
  state_ = state;
  if (state == nullptr || state->socket < 0) {
    open_ = 0;
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  open_ = 1;
  return VX_NET_SUCCESS;
}

int VxTCPIP::closePipe() {
  if (state_ != nullptr && state_->socket >= 0) {
    close(state_->socket);
    state_->socket = -1;
  }
  open_ = 0;
  return VX_NET_SUCCESS;
}

void VxTCPIP::reset() {
  closePipe();
  timedOut_ = 0;
}

void VxTCPIP::addNetLibError(int status, int native) { addNetStatusError(status, native); }

// A time-out files nothing; a lost connection closes the transport.
int VxTCPIP::statusForError(int err) {
  const int status = statusOfSystemError(err);
  if (status == VX_NET_CONNECTION_LOST) open_ = 0;
  if (status != VX_NET_TIMEOUT) addNetLibError(status, err);
  return status;
}

int VxTCPIP::writePipe(const void* buffer, VXSIZE_T length) {
  if (tracing_) logDataStream(buffer, length, false);
  if (state_ == nullptr || state_->socket < 0) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  // MSG_NOSIGNAL: a reset connection gives EPIPE instead of a SIGPIPE that
  // would end the driver's process.
  ssize_t sent = send(state_->socket, buffer, length, MSG_NOSIGNAL);
  if (sent == 0 && length > 0) return statusForError(EAGAIN);
  if (sent < 0) return statusForError(errno);
  if (VXSIZE_T(sent) != length) {
    addNetLibError(VX_NET_FAILURE, -1);
    return VX_NET_FAILURE;
  }
  return VX_NET_SUCCESS;
}

// The wait uses the second time-out when asked for, else the normal one
// when enabled; without either the read blocks in recv. poll rather than
// select, so that a descriptor above FD_SETSIZE is safe. An interrupted
// wait starts again with the full time-out.
int VxTCPIP::waitForData(bool useSecondTimeout) {
  const timeval* limit = nullptr;
  if (useSecondTimeout)
    limit = &state_->secondTimeout;
  else if (state_->readTimeoutEnabled)
    limit = &state_->readTimeout;
  if (limit == nullptr) return VX_NET_SUCCESS;
  const long long ms = (long long)limit->tv_sec * 1000 + limit->tv_usec / 1000;
  const int timeoutMs = ms > 0x7FFFFFFF ? 0x7FFFFFFF : int(ms < 0 ? 0 : ms);
  for (;;) {
    pollfd p{state_->socket, POLLIN, 0};
    const int ready = poll(&p, 1, timeoutMs);
    if (ready > 0) return VX_NET_SUCCESS;
    if (ready == 0) {
      if (!useSecondTimeout) return VX_NET_TIMEOUT;
      timedOut_ = 1;
      return VX_NET_SECOND_TIMEOUT;
    }
    if (errno != EINTR) return statusForError(errno);
  }
}

int VxTCPIP::readPipe(void* buffer, VXSIZE_T length, VXSIZE_T* received, bool useSecondTimeout) {
  timedOut_ = 0;
  *received = 0;
  if (state_ == nullptr || state_->socket < 0) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    open_ = 0;
    return VX_NET_CONNECTION_LOST;
  }
  int status = waitForData(useSecondTimeout);
  if (status != VX_NET_SUCCESS) return status;
  ssize_t n;
  do {
    n = recv(state_->socket, buffer, length, 0);
  } while (n < 0 && errno == EINTR);
  if (n < 0) return statusForError(errno);
  if (n == 0) {
    // The server closed its side: an orderly end, not a failure.
    open_ = 0;
    return VX_NET_CONNECTION_LOST;
  }
  *received = VXSIZE_T(n);
  if (tracing_) logDataStream(buffer, *received, true);
  return VX_NET_SUCCESS;
}

void VxTCPIP::logDataStream(const void* buffer, VXSIZE_T length, bool reading) {
  if (traceFile_ == nullptr) return;
  char heading[64];
  snprintf(heading, sizeof heading, "%s %d bytes\n", reading ? "Reading" : "Sending", int(length));
  writeTraceRecord(traceFile_, heading, static_cast<const uint8_t*>(buffer), length);
}
