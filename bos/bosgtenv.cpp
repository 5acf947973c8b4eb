// Environment, process and thread identity, host and user names, and the
// name of the running command.
#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bos/bosenv.h"

namespace {

// Copies `name` into the caller's buffer: whole with its NUL when it fits
// in `size` bytes, else `size` bytes and a NUL after them (the buffer then
// needs size + 1 bytes; deliberate, callers have always sized it so).
void copyName(const char* name, char* buffer, VXSIZE_T size) {
  VXSIZE_T length = strlen(name);
  if (length + 1 <= size) {
    memcpy(buffer, name, length + 1);
  } else {
    memcpy(buffer, name, size);
    buffer[size] = '\0';
  }
}

}  // namespace

char* bosGetEnv(const char* name) { return getenv(name); }

int32_t bosGetProcessID() { return int32_t(getpid()); }

uint64_t bosGetThreadID() { return uint64_t(pthread_self()); }

uint16_t bosGetMachineName(char* buffer, VXSIZE_T size) {
  if (!buffer || size == 0) return 0;
  char name[256];
  if (gethostname(name, sizeof name) != 0) return 1;
  name[sizeof name - 1] = '\0';
  copyName(name, buffer, size);
  return 0;
}

uint16_t bosGetHostUser(char* buffer, VXSIZE_T size) {
  if (!buffer || size == 0) return 0;
  char work[1024];
  struct passwd entry;
  struct passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, work, sizeof work, &found) != 0 || !found || !found->pw_name) return 1;
  copyName(found->pw_name, buffer, size);
  return 0;
}

int bosGetCommand(void*, char* buffer, int size) {
  char command[64];
  snprintf(command, sizeof command, "/bin/ps -p %i -ocomm=", int(getpid()));
  FILE* ps = popen(command, "r");
  if (!ps) return 0;
  if (size > 0 && fgets(buffer, size, ps)) {
    size_t length = strlen(buffer);
    if (length > 0) buffer[length - 1] = '\0';
  }
  return pclose(ps);
}
