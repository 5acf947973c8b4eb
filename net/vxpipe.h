// VxPipe: a driver's connection to its server through the connection
// functions, with time-outs, error records, an optional TLS layer and a
// data-stream trace.
//
//   VxPipe pipe;
//   if (pipe.openPipe("db1,5000") != VX_NET_SUCCESS) ...   // records filed
//   pipe.writePipe(request, n, false);
//   pipe.readPipe(reply, sizeof reply, false, &received);
//   pipe.closePipe();
//
// The pipe reaches the network only through its table of connection
// functions (installed by setProtocol(VX_PROTOCOL_NETLIB) in the
// constructor). Transfers go in pieces of at most 65,535 bytes, the most a
// connection function moves at once.
//
// Failure: every operation returns a VxNetStatus. While reportErrors is on
// (the default), failures file records with SQLSTATE "08S01": 7500 network
// failure (the system error number appended), 7501 time-out, 7503
// connection lost or not open, 7504 refused, 7505 connection not opened
// (native error 21), 7508 no address, 7509 secure connection failed (the
// OpenSSL reason as its parameter). A lost connection closes the pipe.
//
// Tracing: setLogging(true) opens the first free "N.out" in the current
// directory; every transfer then adds a dump of its bytes (TLS traffic as
// plain text). The file stays open until setLogging(false) or destruction.
//
// TLS: setSSL(true) before openPipe makes openPipe run the TLS handshake
// right after connecting; initSSL runs it on a pipe that is already open
// (for protocols that switch to TLS during their start-up). TLS 1.2 or
// later; the server's certificate must chain to a root in the file named by
// setTrustedRootsFilename (PEM; without a file, the system's roots) and
// match the host of the address. The server must answer within the 10
// second read wait.
//
// Thread-safety: a pipe is used by one thread at a time.
#ifndef VX_NET_VXPIPE_H_
#define VX_NET_VXPIPE_H_

#include <cstdint>
#include <cstdio>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"
#include "net/vxnet.h"

struct ssl_st;
struct ssl_ctx_st;

// The connection functions a VxPipe calls, in the order of its table.
struct VxConnectionFunctions {
  int (*objectSize)();
  uint16_t (*read)(void* object, void* buffer, uint16_t length, uint16_t, uint16_t, int* error);
  uint16_t (*write)(void* object, const void* buffer, uint16_t length, int* error);
  uint16_t (*writeOOB)(void* object, const void* buffer, uint16_t length, int* error);
  int (*open)(void* object, const char* address, int* error);
  int (*close)(void* object, int* error);
  int (*checkForData)(void* object, int* dataReady, int* error);
};

class VX_EXPORT VxPipe : public VxObject {
 public:
  // The largest piece one connection function moves.
  static constexpr VXSIZE_T kPieceSize = 65535;

  // Closed, not tracing, reporting errors, table of the connection functions.
  VxPipe();
  // Closes the connection and the trace file.
  ~VxPipe() override;
  VxPipe(const VxPipe&) = delete;
  VxPipe& operator=(const VxPipe&) = delete;

  // VX_PROTOCOL_NETLIB installs the connection functions; any other type
  // keeps the current table.
  void setProtocol(VxProtocolType type);
  // Opens (when none is open yet) or closes the trace file. 1 with error
  // 1505 when no trace file could be created, else 0.
  unsigned setLogging(bool on);
  // Whether failures file error records (on by default).
  void setReportErrors(bool on) { reportErrors_ = on ? 1 : 0; }

  // Connects to address ("host,port"): 0, or -1 (7508 without an address,
  // 7505 when the connection fails), or what initSSL returns when the
  // handshake asked for by setSSL fails (the pipe is then closed again).
  // An open pipe is reset first.
  int openPipe(const char* address);
  // Closes the connection and frees the connection object: 0, or -1 with
  // 7500 when closing failed.
  int closePipe();
  // Sends length bytes (as urgent data when outOfBand): 0, -2 on time-out
  // (no record), -13 when the connection is lost or not open, -1 else.
  int writePipe(const void* buffer, VXSIZE_T length, bool outOfBand);
  // Receives up to length bytes into buffer; *received gets the count.
  // With wait, reads until all length bytes are there; without, returns
  // after the first read that gives fewer bytes than asked. Each read waits
  // at most 10 seconds (-2 without a record). -13 when the server closed or
  // reset the connection (7503), -1 for other failures.
  int readPipe(void* buffer, VXSIZE_T length, bool wait, VXSIZE_T* received);
  // *dataReady 1 when data is waiting to be read, else 0. 0, or -13 when
  // not open, -1 when the connection reports an error.
  int peekPipe(int* dataReady);
  // Ends the sending direction (after a TLS close-notify when TLS is on),
  // so that a server reading to the end of the request can answer. 0, -13
  // when not open, -1 when the system refuses.
  int shutdownSending();
  // Copies the name of the PEM file of trusted roots: 0, or 1 with error
  // 1503 when out of memory. Null forgets the name.
  unsigned setTrustedRootsFilename(const char* name);
  // Drops the connection and any TLS session at once; the pipe is closed.
  void reset();
  // Files the record of status (see the header comment) when reporting.
  void addNetLibError(int status, int native);
  // Writes one transfer to the trace file, if one is open: "Reading N
  // bytes\r\n" or "Sending N bytes\n", then the dump.
  void logDataStream(const void* buffer, VXSIZE_T length, bool reading);

  // Secure sockets.
  // Whether openPipe runs the TLS handshake.
  void setSSL(bool on) { sslWanted_ = on; }
  // Runs the TLS handshake on the open connection: 0, -13 when not open,
  // -2 when the server does not answer, -1 with 7509 when it fails.
  int initSSL();
  // Frees the TLS session; later transfers are plain again.
  void resetSSL();
  // The TLS forms of readPipe and writePipe (without the trace).
  int readSSL(void* buffer, VXSIZE_T length, bool wait, VXSIZE_T* received);
  int writeSSL(const void* buffer, VXSIZE_T length);

  bool isOpen() const { return open_ != 0; }
  bool isSecure() const { return ssl_ != nullptr; }

 private:
  // The status for system error err after a transfer, with its record:
  // lost (-13, closes), timed out (-2, no record) or failed (-1).
  int statusForError(int err);
  int writePieces(const uint8_t* bytes, VXSIZE_T length, bool outOfBand);
  int readPieces(uint8_t* bytes, VXSIZE_T length, bool wait, VXSIZE_T* received);
  int failSecure(const char* reason);
  void freeConnection();

  int16_t tracing_;
  FILE* traceFile_;
  int32_t open_;
  VxProtocolType protocol_;
  VxConnectionFunctions functions_;
  void* connection_;
  char* trustedRootsFilename_;
  // The TLS session and what it needs: the host to check, the settings.
  ssl_ctx_st* sslContext_;
  ssl_st* ssl_;
  char* peerHost_;
  bool sslWanted_;
  int32_t reportErrors_;
};

#endif  // VX_NET_VXPIPE_H_
