// VxPipe: transfers in pieces through the connection functions, the
// mapping of their errors to records, and the trace.
#include "net/vxpipe.h"

#include <errno.h>
#include <sys/socket.h>

#include <cassert>
#include <cstdlib>
#include <cstring>

#include <openssl/ssl.h>

#include "foundation/ram.h"
#include "net/neterror_internal.h"
#include "net/nettrace_internal.h"
#include "net/ntnetlib.h"

VxPipe::VxPipe()
    : tracing_(0),
      traceFile_(nullptr),
      open_(0),
      protocol_(VX_PROTOCOL_NETLIB),
      functions_{},
      connection_(nullptr),
      trustedRootsFilename_(nullptr),
      sslContext_(nullptr),
      ssl_(nullptr),
      peerHost_(nullptr),
      sslWanted_(false),
      reportErrors_(1) {
  setProtocol(VX_PROTOCOL_NETLIB);
}

VxPipe::~VxPipe() {
  reset();
  setLogging(false);
  free(trustedRootsFilename_);
}

void VxPipe::setProtocol(VxProtocolType type) {
  if (type != VX_PROTOCOL_NETLIB) return;
  protocol_ = type;
  functions_ = VxConnectionFunctions{ConnectionObjectSize, ConnectionRead,  ConnectionWrite,
                                     ConnectionWriteOOB,   ConnectionOpen,  ConnectionClose,
                                     ConnectionCheckForData};
}

unsigned VxPipe::setLogging(bool on) {
  const unsigned status = switchTraceFile(&traceFile_, on, reportErrors_ != 0);
  tracing_ = traceFile_ != nullptr ? 1 : 0;
  return status;
}

unsigned VxPipe::setTrustedRootsFilename(const char* name) {
  free(trustedRootsFilename_);
  trustedRootsFilename_ = nullptr;
  if (name == nullptr) return 0;
  trustedRootsFilename_ = ramAllocStr(name);
  if (trustedRootsFilename_ != nullptr) return 0;
  if (reportErrors_) addError(kErrOutOfMemory);
  return 1;
}

void VxPipe::freeConnection() {
  free(connection_);
  connection_ = nullptr;
  free(peerHost_);
  peerHost_ = nullptr;
}

void VxPipe::reset() {
  resetSSL();
  if (connection_ != nullptr) {
    int err = 0;
    functions_.close(connection_, &err);
  }
  freeConnection();
  open_ = 0;
}

void VxPipe::addNetLibError(int status, int native) {
  if (reportErrors_) addNetStatusError(status, native);
}

// A time-out files nothing; a lost connection closes the transport.
int VxPipe::statusForError(int err) {
  const int status = statusOfSystemError(err);
  if (status == VX_NET_CONNECTION_LOST) open_ = 0;
  if (status != VX_NET_TIMEOUT) addNetLibError(status, err);
  return status;
}

int VxPipe::openPipe(const char* address) {
  if (open_ || connection_ != nullptr) reset();
  if (address == nullptr) {
    if (reportErrors_) addNetError(kErrNoNetAddress);
    return VX_NET_FAILURE;
  }
  connection_ = ::operator new(size_t(functions_.objectSize()), RamInitType(0));
  const char* comma = strchr(address, ',');
  peerHost_ = ramAllocStr(address, comma != nullptr ? VXSIZE_T(comma - address) : strlen(address));
  if (connection_ == nullptr || peerHost_ == nullptr) {
    freeConnection();
    if (reportErrors_) addError(kErrOutOfMemory);
    return VX_NET_FAILURE;
  }
  int err = 0;
  if (functions_.open(connection_, address, &err) == 0) {
    if (reportErrors_) {
      char detail[600];
      snprintf(detail, sizeof detail, "%s Error %d.",
               static_cast<ConnectionObject*>(connection_)->message, err);
      addOpenFailure(detail);
    }
    freeConnection();
    return VX_NET_FAILURE;
  }
  open_ = 1;
  if (sslWanted_) {
    int status = initSSL();
    if (status != VX_NET_SUCCESS) {
      reset();
      return status;
    }
  }
  return VX_NET_SUCCESS;
}

int VxPipe::closePipe() {
  resetSSL();
  int status = VX_NET_SUCCESS;
  if (connection_ != nullptr) {
    int err = 0;
    if (functions_.close(connection_, &err) <= 0) {
      addNetLibError(VX_NET_FAILURE, err);
      status = VX_NET_FAILURE;
    }
  }
  freeConnection();
  open_ = 0;
  return status;
}

// A length of n sends n / 65535 + 1 pieces: full pieces of 65,535 bytes
// and a last piece of n mod 65535 bytes, which is empty when n is a
// multiple of 65,535. The empty piece is sent through the table like any
// other (it moves nothing).
int VxPipe::writePieces(const uint8_t* bytes, VXSIZE_T length, bool outOfBand) {
  auto write = outOfBand ? functions_.writeOOB : functions_.write;
  const VXSIZE_T pieces = length / kPieceSize + 1;
  VXSIZE_T total = 0;
  for (VXSIZE_T piece = 0; piece < pieces; ++piece) {
    const uint16_t size = uint16_t(piece + 1 < pieces ? kPieceSize : length % kPieceSize);
    int err = 0;
    const uint16_t sent = write(connection_, bytes + total, size, &err);
    if (err != 0) return statusForError(err);
    if (sent < size) {
      addNetLibError(VX_NET_FAILURE, err);
      return VX_NET_FAILURE;
    }
    total += sent;
  }
  if (total != length) {
    addNetLibError(VX_NET_FAILURE, -1);
    return VX_NET_FAILURE;
  }
  return VX_NET_SUCCESS;
}

int VxPipe::writePipe(const void* buffer, VXSIZE_T length, bool outOfBand) {
  if (tracing_) logDataStream(buffer, length, false);
  if (!open_) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  if (ssl_ != nullptr) return writeSSL(buffer, length);
  return writePieces(static_cast<const uint8_t*>(buffer), length, outOfBand);
}

// Pieces of at most 65,535 bytes, each one read of the connection
// functions. A read never asks for 0 bytes: a read of nothing cannot be
// told from the server closing the connection.
int VxPipe::readPieces(uint8_t* bytes, VXSIZE_T length, bool wait, VXSIZE_T* received) {
  while (*received < length) {
    const VXSIZE_T left = length - *received;
    const uint16_t want = uint16_t(left < kPieceSize ? left : kPieceSize);
    int err = 0;
    const uint16_t got = functions_.read(connection_, bytes + *received, want, 0, 0, &err);
    if (err != 0) return statusForError(err);
    assert(got <= want);
    *received += got;
    if (!wait && got < want) break;
  }
  return VX_NET_SUCCESS;
}

int VxPipe::readPipe(void* buffer, VXSIZE_T length, bool wait, VXSIZE_T* received) {
  *received = 0;
  if (!open_) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  int status = ssl_ != nullptr ? readSSL(buffer, length, wait, received)
                               : readPieces(static_cast<uint8_t*>(buffer), length, wait, received);
  if (tracing_ && *received > 0) logDataStream(buffer, *received, true);
  return status;
}

int VxPipe::peekPipe(int* dataReady) {
  *dataReady = 0;
  if (!open_) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  if (ssl_ != nullptr && SSL_pending(ssl_) > 0) {
    *dataReady = 1;
    return VX_NET_SUCCESS;
  }
  int ready = 0, err = 0;
  if (functions_.checkForData(connection_, &ready, &err) == 1 && ready != 0) {
    *dataReady = 1;
    return VX_NET_SUCCESS;
  }
  if (err == 0) return VX_NET_SUCCESS;
  addNetLibError(VX_NET_FAILURE, err);
  return VX_NET_FAILURE;
}

int VxPipe::shutdownSending() {
  if (!open_) {
    addNetLibError(VX_NET_CONNECTION_LOST, 0);
    return VX_NET_CONNECTION_LOST;
  }
  // A TLS session says goodbye (close-notify) before the socket's sending
  // side closes; the session stays, to read the server's answer.
  if (ssl_ != nullptr) SSL_shutdown(ssl_);
  const int socket = static_cast<ConnectionObject*>(connection_)->socket;
  if (shutdown(socket, SHUT_WR) != 0) return statusForError(errno);
  return VX_NET_SUCCESS;
}

void VxPipe::logDataStream(const void* buffer, VXSIZE_T length, bool reading) {
  if (traceFile_ == nullptr) return;
  // The carriage return after reads only is how the trace has always
  // looked; readers of old traces expect it, so it stays.
  char heading[64];
  if (reading)
    snprintf(heading, sizeof heading, "Reading %d bytes\r\n", int(length));
  else
    snprintf(heading, sizeof heading, "Sending %d bytes%s", int(length), "\n");
  writeTraceRecord(traceFile_, heading, static_cast<const uint8_t*>(buffer), length);
}
