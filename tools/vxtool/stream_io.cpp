// Whole-stream input and output of standard input and standard output.
#include "tools/vxtool/stream_io.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

bool readStandardInput(std::string& data) {
  char buffer[65536];
  size_t got;
  while ((got = fread(buffer, 1, sizeof buffer, stdin)) > 0) data.append(buffer, got);
  if (ferror(stdin)) {
    fprintf(stderr, "vxtool: cannot read standard input: %s\n", strerror(errno));
    return false;
  }
  return true;
}

bool writeStandardOutput(const void* bytes, size_t n) {
  if ((n != 0 && fwrite(bytes, 1, n, stdout) != n) || fflush(stdout) != 0) {
    fprintf(stderr, "vxtool: cannot write standard output: %s\n", strerror(errno));
    return false;
  }
  return true;
}
