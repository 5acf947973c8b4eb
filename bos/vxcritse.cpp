// VxCriticalSection over a recursive pthread mutex, and the library's
// process-wide critical sections.
#include "bos/vxcritse.h"

#include "bos/mdsint.h"

// The static sections are built before every other static object of the
// library (first constructor priority) and so destroyed after all of them:
// other units' static constructors and destructors may take them.
VxCriticalSection MDS_PERTHREAD_LOCK __attribute__((init_priority(101)));
VxCriticalSection DBLIB_LOCK __attribute__((init_priority(101)));
VxCriticalSection LIST_LOCK __attribute__((init_priority(101)));
VxCriticalSection VM_LOCK __attribute__((init_priority(101)));
VxCriticalSection VX_THREAD_EXCHANGE_LOCK __attribute__((init_priority(101)));

VxCriticalSection::VxCriticalSection(int32_t disabledFlag)
    : disabled(disabledFlag), holder(pthread_t()), depth(0) {
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&mutex, &attributes);
}

// A thread that destroys a section it holds releases one level first, so
// that the mutex is not destroyed locked in the common case of a single
// level. The holder check keeps the release from touching a mutex the
// destroying thread does not own.
VxCriticalSection::~VxCriticalSection() {
  if (holder.load(std::memory_order_relaxed) == pthread_self()) {
    if (--depth == 0) holder.store(pthread_t(), std::memory_order_relaxed);
    pthread_mutex_unlock(&mutex);
  }
  pthread_mutex_destroy(&mutex);
  pthread_mutexattr_destroy(&attributes);
}

void VxCriticalSection::enter() {
  if (disabled) return;
  pthread_mutex_lock(&mutex);
  if (depth++ == 0) holder.store(pthread_self(), std::memory_order_relaxed);
}

void VxCriticalSection::leave() {
  if (disabled) return;
  if (--depth == 0) holder.store(pthread_t(), std::memory_order_relaxed);
  pthread_mutex_unlock(&mutex);
}

void vxDisableStaticCriticalSections() {}
