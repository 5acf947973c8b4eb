// butxpand: grows a byte buffer that output text is being written into.
//
// The buffer is described by three caller variables: its start, the write
// cursor inside it and its capacity. Capacities are 16-bit on purpose:
// buffers built this way stay below 64 KiB, and a request that would pass
// that size fails instead of wrapping.
//
// Thread-safety: re-entrant. Failure: returns 1 when memory runs out or the
// capacity would pass 65535 bytes (the buffer is then unchanged), else 0.
#ifndef VX_PARSER_BUTXPAND_H_
#define VX_PARSER_BUTXPAND_H_

#include <cstdint>

#include "foundation/vxexport.h"

// Makes room for `needed` more bytes at *cursor. Without a buffer (*start
// null) one of (needed rounded down to 512) + 512 bytes is allocated; with
// one that has fewer than needed bytes left, it is resized to (needed
// rounded down to 512) + old capacity + 512 and the cursor kept at the
// same distance from the start. Release the buffer with free().
VX_EXPORT unsigned butxpand(char** start, char** cursor, uint16_t* capacity, uint16_t needed);

#endif  // VX_PARSER_BUTXPAND_H_
