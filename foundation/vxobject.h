// VxObject: the root of the library's class tree.
//
// Every library class derives from VxObject, so `new` of any of them goes
// through VxObject::operator new, which returns null when the heap is
// exhausted instead of throwing. Callers test the result of every `new`
// and report the failure themselves (error 1503 or the memory record).
//
// VxObject holds no data besides its virtual table; copying it copies
// nothing. Thread-safety: as safe as the runtime library's heap.
#ifndef VX_FOUNDATION_VXOBJECT_H_
#define VX_FOUNDATION_VXOBJECT_H_

#include <cstddef>
#include <cstdint>

#include "foundation/vxexport.h"

// Second argument of the initialising global operator new: 0 asks for
// zero-filled memory, any other value for uninitialised memory.
typedef int RamInitType;

class VX_EXPORT VxObject {
 public:
  VxObject() = default;
  VxObject(const VxObject&) {}
  VxObject& operator=(const VxObject&) { return *this; }
  virtual ~VxObject();

  // Orders this object against another: negative, 0 or positive. The root
  // version calls all objects equal; container elements override it.
  virtual int16_t compare(const VxObject* other) const;

  // malloc of the size (a size of 0 allocates 1 byte); null on exhaustion.
  // Declared noexcept so that a new-expression tests for null before it
  // runs the constructor.
  static void* operator new(size_t size) noexcept;
  static void* operator new[](size_t size) noexcept;
  static void* operator new(size_t size, void* where) noexcept { return where; }
  static void operator delete(void* p) noexcept;
  static void operator delete[](void* p) noexcept;
  static void operator delete(void*, void*) noexcept {}
};

// Global allocation. The library deliberately does NOT replace the global
// operator new, new[] and delete: a replacement compiled into libvx.so (or
// into a program through the static library) would take over allocation
// for the whole host process, and a plain operator new that returns null
// is undefined behaviour for ordinary C++ callers, which assume it never
// does. Instead:
//  - every library class derives from VxObject, whose class operators give
//    malloc'd memory (a size of 0 becomes 1) and null on exhaustion;
//  - raw blocks come from the initialising forms below, which have their
//    own signatures and so cannot interpose on anything: a block from them
//    is released with free() (as the library's global delete would);
//  - the host's own operator new(0) keeps returning a valid, distinct
//    pointer, and libvx.so exports none of the replaceable operators.

// Zero-filled (init 0) or uninitialised (any other init) memory from the
// heap; a size of 0 becomes 1; null on exhaustion. Release with free().
VX_EXPORT void* operator new(size_t size, RamInitType init) noexcept;
VX_EXPORT void* operator new[](size_t size, RamInitType init) noexcept;

#endif  // VX_FOUNDATION_VXOBJECT_H_
