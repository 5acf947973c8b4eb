// Scalar types shared by every subsystem of the library.
#ifndef VX_FOUNDATION_VXTYPES_H_
#define VX_FOUNDATION_VXTYPES_H_

#include <cstddef>
#include <cstdint>

// Byte counts and word-sized unsigned values (lengths, offsets, slots).
typedef uint64_t VXSIZE_T;
// Signed counterpart of VXSIZE_T.
typedef int64_t VXSSIZE_T;

// Code-page kind passed to every function that steps over characters.
// Any value outside the four named ones behaves like VX_CP_LOCALE.
enum vxCPType {
  VX_CP_LOCALE = 1,  // the process locale's multibyte encoding (the default)
  VX_CP_UCS2 = 2,    // two-byte UCS-2 text
  VX_CP_UTF8 = 3,    // UTF-8
  VX_CP_BYTES = 4    // every byte is one character
};

#endif  // VX_FOUNDATION_VXTYPES_H_
