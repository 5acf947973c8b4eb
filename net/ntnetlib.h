// The connection functions: a TCP connection to "host,port" in the calling
// style of a network library.
//
// The caller allocates ConnectionObjectSize() bytes (560) and passes them to
// every function as the connection object; ConnectionOpen clears them
// first. Every function returns a count or a truth value and reports a
// failure through its out error number (a system error number, 11 for the
// library's own failures, 110 for a read time-out) and through the object,
// which keeps the number, the names of the function and the system call
// that failed, and the message "FUNCTION (CALL()).", e.g.
// "ConnectionRead (recv())." Nothing is posted to the error list: the
// transport classes turn these failures into records.
//
// Addresses are IPv4 only: a host name or dotted address, a comma, and the
// port in decimal ("db1,5000", "127.0.0.1,7000").
//
// Thread-safety: an object is used by one thread at a time; the functions
// keep no state outside it.
#ifndef VX_NET_NTNETLIB_H_
#define VX_NET_NTNETLIB_H_

#include <cstddef>
#include <cstdint>

#include "foundation/vxexport.h"

// The layout of the 560 bytes of a connection object.
struct ConnectionObject {
  int32_t socket;             // descriptor, -1 when closed
  uint32_t port;              // server port
  uint32_t address;           // IPv4 address, network byte order
  uint16_t nativeError;       // error number of the last failure
  uint16_t errorClass;        // always 11
  const char* functionName;   // the connection function that failed
  const char* callName;       // the system call that failed
  char message[528];          // "FUNCTION (CALL())."
};
static_assert(sizeof(ConnectionObject) == 560, "callers allocate 560 bytes");

// 560: the bytes a caller must allocate for a connection object.
VX_EXPORT int ConnectionObjectSize();
// The interface version, 0x07000207.
VX_EXPORT uint32_t ConnectionVer();

// Clears the object and connects to address ("host,port"). 1 connected, 0
// failed (error set: 11 for a malformed address or a host without address).
// The socket closes abortively (linger 0): closing it resets the connection.
VX_EXPORT int ConnectionOpen(void* object, const char* address, int* error);
// Waits up to 10 seconds for data, then receives up to length bytes once.
// The count received, or 0 on failure: 110 after the wait, 11 when the peer
// closed the connection, else the system error. The two further arguments
// are ignored.
VX_EXPORT uint16_t ConnectionRead(void* object, void* buffer, uint16_t length, uint16_t unused1,
                                  uint16_t unused2, int* error);
// Sends all length bytes. The length, or 0 on failure (11 when the system
// sent nothing).
VX_EXPORT uint16_t ConnectionWrite(void* object, const void* buffer, uint16_t length, int* error);
// The same as urgent (out-of-band) data.
VX_EXPORT uint16_t ConnectionWriteOOB(void* object, const void* buffer, uint16_t length,
                                      int* error);
// Writes writeLength bytes, then reads up to readLength: the read's result,
// or 0 when not everything was written. The two values are ignored.
VX_EXPORT uint16_t ConnectionTransact(void* object, void* readBuffer, const void* writeBuffer,
                                      uint16_t writeLength, uint16_t readLength, uint16_t unused1,
                                      uint16_t unused2, int* error);
// Polls without waiting. 1 when data is waiting (dataReady 1), 0 when not
// or on failure (11 when the connection reports an error or hang-up).
VX_EXPORT int ConnectionCheckForData(void* object, int* dataReady, int* error);
// Closes the socket: 1 closed or already closed, 0 when close failed (the
// socket counts as closed either way).
VX_EXPORT int ConnectionClose(void* object, int* error);
// The stored error number; nativeError gets it too and message (when given)
// the stored message text.
VX_EXPORT int ConnectionError(void* object, int* nativeError, void* unused,
                              const char** message);
// Always 0.
VX_EXPORT int ConnectionStatus(void* object, void* unused1, void* unused2);
// Does nothing.
VX_EXPORT void ConnectionMode(void* object, int mode);
// Server enumeration is not offered: sets *count to 0 when given, returns 2.
VX_EXPORT int ConnectionServerEnum(void* object, void* unused, uint16_t* count);
VX_EXPORT int ConnectionServerEnumW(void* object, void* unused, uint16_t* count);

// Resolves host with the system resolver into address (4 bytes, network
// order). Null on success; else the name of the failing call ("" when the
// name has no IPv4 address, error 11) with the resolver's error in *error.
VX_EXPORT const char* MapHostNameToAddress(void* object, const char* host, void* address,
                                           int* error);

#endif  // VX_NET_NTNETLIB_H_
