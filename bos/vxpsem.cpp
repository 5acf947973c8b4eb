// VxPosixSemaphore: an unnamed, process-private POSIX semaphore of count 1.
#include <cerrno>

#include "bos/vxsemaph.h"

uint16_t VxPosixSemaphore::init() { return sem_init(&semaphore, 0, 1) == 0 ? 0 : 1; }

uint16_t VxPosixSemaphore::destroy() { return sem_destroy(&semaphore) == 0 ? 0 : 1; }

// A signal handler interrupting the wait is not a failure to lock: wait again.
uint16_t VxPosixSemaphore::wait() {
  while (sem_wait(&semaphore) != 0) {
    if (errno != EINTR) return 1;
  }
  return 0;
}

uint16_t VxPosixSemaphore::post() { return sem_post(&semaphore) == 0 ? 0 : 1; }
