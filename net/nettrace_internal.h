// The data-stream trace both transports write: files "N.out" in the
// current directory holding a dump of every transfer.
#ifndef VX_NET_NETTRACE_INTERNAL_H_
#define VX_NET_NETTRACE_INTERNAL_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Creates and opens for writing the first of "0.out", "1.out", ... that
// does not exist yet in the current directory; null (errno set) when that
// fails for another reason than an existing file. *number gets the number
// used.
FILE* openNextTraceFile(int* number);

// Writes one transfer: heading (written as given), the column heading, the
// rows of 8 bytes in hexadecimal, ASCII and EBCDIC, and an empty line;
// then flushes, so that the file is complete after every transfer.
void writeTraceRecord(FILE* out, const char* heading, const uint8_t* data, size_t length);

// The length of the record writeTraceRecord writes after its heading.
size_t traceBodyLength(size_t length);

#endif  // VX_NET_NETTRACE_INTERNAL_H_
