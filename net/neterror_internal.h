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

// Files message 7505 (the connection could not be opened) with native
// error 21, and appends the connection functions' message when given.
void addOpenFailure(const char* detail);

#endif  // VX_NET_NETERROR_INTERNAL_H_
