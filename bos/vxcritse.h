// VxCriticalSection: the library's recursive lock.
//
// A critical section owns one recursive pthread mutex. The thread that holds
// it may enter it again; each enter needs a matching leave. A section built
// with a non-zero `disabled` flag never locks: enter and leave do nothing,
// which lets single-threaded hosts skip the cost.
//
// Thread-safety: enter and leave may be called from any thread. Destroying a
// section while another thread holds it is a caller error. When the
// destroying thread itself holds the section, one level is released before
// the mutex is destroyed.
//
// Failure: none reported; the mutex calls cannot fail for a recursive mutex
// used as documented.
#ifndef VX_BOS_VXCRITSE_H_
#define VX_BOS_VXCRITSE_H_

#include <pthread.h>

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"

class VX_EXPORT VxCriticalSection : public VxObject {
 public:
  explicit VxCriticalSection(int32_t disabled = 0);
  ~VxCriticalSection() override;

  VxCriticalSection(const VxCriticalSection&) = delete;
  VxCriticalSection& operator=(const VxCriticalSection&) = delete;

  // Locks the section (recursively); nothing when disabled.
  void enter();
  // Releases one level of the section; nothing when disabled.
  void leave();
  // The flag given to the constructor.
  int32_t isDisabled() const { return disabled; }

 private:
  int32_t disabled;
  pthread_mutex_t mutex;
  pthread_mutexattr_t attributes;
  // Levels held by the present holder; changed only while the mutex is
  // held. Lets the destructor tell whether the destroying thread holds
  // the section before it releases a level.
  uint32_t depth;
};

// Holds a critical section for the lifetime of the guard: the constructor
// enters it, the destructor leaves it, so every return path releases
// exactly the level it took. Use one guard per scope instead of pairing
// enter() and leave() by hand. Not copyable; the section must outlive it.
class VxCriticalSectionGuard {
 public:
  explicit VxCriticalSectionGuard(VxCriticalSection& section) : section_(section) {
    section_.enter();
  }
  ~VxCriticalSectionGuard() { section_.leave(); }

  VxCriticalSectionGuard(const VxCriticalSectionGuard&) = delete;
  VxCriticalSectionGuard& operator=(const VxCriticalSectionGuard&) = delete;

 private:
  VxCriticalSection& section_;
};

// Kept for callers that used to switch the static sections off; does nothing.
VX_EXPORT void vxDisableStaticCriticalSections();

#endif  // VX_BOS_VXCRITSE_H_
