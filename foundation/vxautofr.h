// Scope holders.
//
// AFPU8 owns one malloc'ed byte buffer and frees it when it goes out of
// scope: the guard for scratch buffers obtained with malloc or calloc.
// AFGlobalWorld marks a stretch of code that calls into the runtime
// library; it does nothing on this platform.
//
// Both are used on the stack by one thread; neither can fail.
#ifndef VX_FOUNDATION_VXAUTOFR_H_
#define VX_FOUNDATION_VXAUTOFR_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"

class VX_EXPORT AFPU8 : public VxObject {
 public:
  AFPU8() : p_(nullptr) {}
  // Frees the held pointer with free() when it is not null.
  ~AFPU8() override;

  AFPU8(const AFPU8&) = delete;
  AFPU8& operator=(const AFPU8&) = delete;

  // Holds p from now on and returns it. A pointer held before is not freed:
  // the holder owns only the last pointer stored.
  uint8_t* operator=(uint8_t* p) {
    p_ = p;
    return p_;
  }
  operator uint8_t*() const { return p_; }

 private:
  uint8_t* p_;
};

class VX_EXPORT AFGlobalWorld : public VxObject {
 public:
  AFGlobalWorld();
  ~AFGlobalWorld() override;

  AFGlobalWorld(const AFGlobalWorld&) = delete;
  AFGlobalWorld& operator=(const AFGlobalWorld&) = delete;
};

#endif  // VX_FOUNDATION_VXAUTOFR_H_
