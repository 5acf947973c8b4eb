// Sleeping for a number of milliseconds, and yielding the processor.
#include <cerrno>
#include <ctime>

#include "bos/bosenv.h"
#include "bos/mds.h"

// Resumes after a signal until the whole time has passed.
void bossleep(uint16_t milliseconds) {
  if (milliseconds == 0) return;
  struct timespec wait;
  wait.tv_sec = milliseconds / 1000;
  wait.tv_nsec = long(milliseconds % 1000) * 1000000L;
  while (nanosleep(&wait, &wait) != 0 && errno == EINTR) {
  }
}

void bosYieldThread(int32_t) { thr_yield(); }
