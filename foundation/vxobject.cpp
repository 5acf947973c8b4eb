// The root class's heap operators and default comparison.
#include "foundation/vxobject.h"

#include <cstdlib>

#include "foundation/ram_internal.h"

VxObject::~VxObject() = default;

int16_t VxObject::compare(const VxObject*) const { return 0; }

void* VxObject::operator new(size_t size) noexcept { return ramAlloc(size == 0 ? 1 : size); }

void* VxObject::operator new[](size_t size) noexcept { return ramAlloc(size == 0 ? 1 : size); }

void VxObject::operator delete(void* p) noexcept { free(p); }

void VxObject::operator delete[](void* p) noexcept { free(p); }

void* operator new(size_t size, RamInitType init) noexcept {
  if (size == 0) size = 1;
  return init == 0 ? ramAllocZeroed(size) : ramAlloc(size);
}

void* operator new[](size_t size, RamInitType init) noexcept { return operator new(size, init); }
