// Filing the transport's error records, all with SQLSTATE "08S01".
#ifndef VX_NET_NETERROR_INTERNAL_H_
#define VX_NET_NETERROR_INTERNAL_H_

#include <cstdint>

#include "foundation/vxerror.h"

// Files message number with SQLSTATE "08S01" and returns the record, for
// its parameters to be streamed in.
VxError& addNetError(uint16_t number);

// Files the record that stands for a transport status: -1 message 7500
// with native appended to its text, -2 7501, -13 7503, -233 7504. Other
// statuses file nothing.
void addNetStatusError(int status, int native);

// The status a system error number stands for after a transfer: the
// connection is lost on 104 (reset), 32 (broken pipe) and 11 (try again,
// which a send of nothing is taken as); 110 and 62 (timed out, timer
// expired) are a time-out; anything else is a network failure.
int statusOfSystemError(int err);

// Files message 7505 (the connection could not be opened) with native
// error 21, and appends the connection functions' message when given.
void addOpenFailure(const char* detail);

#endif  // VX_NET_NETERROR_INTERNAL_H_
