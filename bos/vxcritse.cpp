// VxCriticalSection over a recursive pthread mutex, and the library's
// process-wide critical sections.
#include "bos/vxcritse.h"

#include <cassert>

#include "bos/mdsint.h"

// The static sections are built before every other static object of the
// library (first constructor priority) and so destroyed after all of them:
// other units' static constructors and destructors may take them.
VxCriticalSection MDS_PERTHREAD_LOCK __attribute__((init_priority(101)));
VxCriticalSection DBLIB_LOCK __attribute__((init_priority(101)));
VxCriticalSection LIST_LOCK __attribute__((init_priority(101)));
VxCriticalSection VM_LOCK __attribute__((init_priority(101)));
VxCriticalSection VX_THREAD_EXCHANGE_LOCK __attribute__((init_priority(101)));

VxCriticalSection::VxCriticalSection(int32_t disabledFlag) : disabled(disabledFlag), depth(0) {
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&mutex, &attributes);
}

// A thread that destroys a section it holds releases one level first, so
// that the mutex is not destroyed locked in the common case of a single
// level. Unlocking a mutex the thread does not hold is undefined, so the
// destructor first tries to take it: that succeeds only when the mutex is
// free or already this thread's, and with the mutex held `depth` says
// which (0: it was free).
VxCriticalSection::~VxCriticalSection() {
  if (pthread_mutex_trylock(&mutex) == 0) {
    if (depth > 0) {
      --depth;
      pthread_mutex_unlock(&mutex);
    }
    pthread_mutex_unlock(&mutex);
  }
  pthread_mutex_destroy(&mutex);
  pthread_mutexattr_destroy(&attributes);
}

void VxCriticalSection::enter() {
  if (disabled) return;
  pthread_mutex_lock(&mutex);
  ++depth;
}

void VxCriticalSection::leave() {
  if (disabled) return;
  // Only the holder leaves, and it entered at least once.
  assert(depth > 0);
  --depth;
  pthread_mutex_unlock(&mutex);
}

void vxDisableStaticCriticalSections() {}
