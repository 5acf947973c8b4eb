// VxTCPIP: a driver's connection over a socket it already holds, with a
// normal and a second read time-out and the data-stream trace.
//
//   VxSocketState state{socket, {2, 0}, 1, {30, 0}, 1};
//   VxTCPIP tcp;
//   tcp.openPipe(&state);               // the transport owns the socket now
//   tcp.writePipe(request, n);
//   tcp.readPipe(reply, sizeof reply, &received, false);
//   tcp.closePipe();                    // closes the socket
//
// Each write is one send of the whole buffer; each read waits (when a time-
// out applies) and then receives once, whatever arrived, up to the length.
//
// Failure: operations return a VxNetStatus and file records with SQLSTATE
// "08S01": 7500 network failure (system error number appended), 7503
// connection lost or not open. A time-out files nothing: a normal read
// returns -2, a read that asked for the second time-out returns -3 and sets
// timedOut(). When the server closes the connection, a read returns -13
// without a record and the transport is closed.
//
// Tracing as VxPipe's, with the headings "Reading N bytes\n" and "Sending N
// bytes\n".
//
// Thread-safety: a transport and its state are used by one thread at a time.
#ifndef VX_NET_VXTCPIP_H_
#define VX_NET_VXTCPIP_H_

#include <sys/time.h>

#include <cstdint>
#include <cstdio>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"
#include "net/vxnet.h"

// The socket and its read time-outs, owned by the caller. A time-out
// applies when its flag is non-zero.
struct VxSocketState {
  int socket;                 // connected socket, -1 when closed
  timeval readTimeout;        // the normal read time-out
  int readTimeoutEnabled;
  timeval secondTimeout;      // the time-out of reads that ask for it
  int secondTimeoutEnabled;
};

class VX_EXPORT VxTCPIP : public VxObject {
 public:
  VxTCPIP();
  // Closes the socket and the trace file.
  ~VxTCPIP() override;
  VxTCPIP(const VxTCPIP&) = delete;
  VxTCPIP& operator=(const VxTCPIP&) = delete;

  // As VxPipe::setLogging.
  unsigned setLogging(bool on);
  // Takes over state's socket: 0, or -13 (7503) when it has none. The
  // state must outlive the transport's use of it.
  int openPipe(VxSocketState* state);
  // Closes the socket (state's descriptor becomes -1): 0.
  int closePipe();
  // One send of the whole buffer: 0, -2 on time-out (no record), -13 when
  // the connection is lost or not open, -1 else.
  int writePipe(const void* buffer, VXSIZE_T length);
  // Waits for data when a time-out applies (the second one when
  // useSecondTimeout), then receives up to length bytes once; *received
  // gets the count. 0, -2 / -3 on time-out, -13 when the connection is
  // closed, reset or not open, -1 else.
  int readPipe(void* buffer, VXSIZE_T length, VXSIZE_T* received, bool useSecondTimeout);
  // Closes the socket and clears timedOut.
  void reset();
  // Files the record of status, as VxPipe::addNetLibError.
  void addNetLibError(int status, int native);
  // Writes one transfer to the trace file, if one is open.
  void logDataStream(const void* buffer, VXSIZE_T length, bool reading);

  bool isOpen() const { return open_ != 0; }
  // True when the last read ended by the second time-out.
  bool timedOut() const { return timedOut_ != 0; }
  // The socket state given to openPipe (null before).
  VxSocketState* socketState() const { return state_; }

 private:
  // The status for system error err after a transfer, with its record.
  int statusForError(int err);
  // Waits for the socket to become readable: 0 ready, else a status.
  int waitForData(bool useSecondTimeout);

  int16_t tracing_;
  FILE* traceFile_;
  int32_t open_;
  VxSocketState* state_;
  int32_t timedOut_;
};

#endif  // VX_NET_VXTCPIP_H_
