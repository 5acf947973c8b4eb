// The data-stream trace both transports write: files "N.out" in the
// current directory holding a dump of every transfer.
#ifndef VX_NET_NETTRACE_INTERNAL_H_
#define VX_NET_NETTRACE_INTERNAL_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Opens the trace file into *file when on and none is open yet (the first
// of "0.out", "1.out", ... that does not exist yet in the current
// directory), or closes it when off. 1 when no file could be created (error 1505 filed when
// report is set), else 0.
unsigned switchTraceFile(FILE** file, bool on, bool report);

// Writes one transfer: heading (written as given), the column heading, the
// rows of 8 bytes in hexadecimal, ASCII and EBCDIC, and an empty line;
// then flushes, so that the file is complete after every transfer.
void writeTraceRecord(FILE* out, const char* heading, const uint8_t* data, size_t length);

#endif  // VX_NET_NETTRACE_INTERNAL_H_
