// Whole-stream input and output for the commands that filter standard
// input to standard output.
#ifndef VX_TOOLS_VXTOOL_STREAM_IO_H_
#define VX_TOOLS_VXTOOL_STREAM_IO_H_

#include <cstddef>
#include <string>

// Reads standard input to its end into data. False (with a message on
// stderr) when reading fails.
bool readStandardInput(std::string& data);

// Writes n bytes to standard output and flushes it. False (with a message on
// stderr) when writing fails.
bool writeStandardOutput(const void* bytes, size_t n);

#endif  // VX_TOOLS_VXTOOL_STREAM_IO_H_
