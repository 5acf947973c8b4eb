// The run-time debug switch: which diagnostic lines the library prints.
//
// BOS_RUNTIME_DEBUG is built once, when the library is loaded: it reads the
// environment variable "VX_DEBUGGING" as a hexadecimal number (as "%lx"
// reads it; a value in which nothing parses, such as zz, gives 0) and keeps
// it as the debug mask. Setting the variable after load has no effect.
// Code that traces asks debugItem(bit) and, when the answer is non-zero,
// writes its line with printf to standard output.
//
// Thread-safety: the mask never changes after load, so any thread may read
// it without a lock.
#ifndef VX_FOUNDATION_VXTRACE_H_
#define VX_FOUNDATION_VXTRACE_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"

// The bits in use; drivers may use the higher bits of the low 32 for
// their own tracing.
enum VxDebugBit : uint32_t {
  VX_DEBUG_FILE_OPEN = 0x1,       // opening files
  VX_DEBUG_LOCATE_FILE = 0x2,     // locating files along search lists
  VX_DEBUG_LOAD_LIBRARY = 0x4,    // loading shared libraries
  VX_DEBUG_MESSAGES = 0x8,        // message catalogs
  VX_DEBUG_INI = 0x10,            // INI cache reads and writes
  VX_DEBUG_INI_MULTI = 0x20,      // INI cache multi-entry output
  VX_DEBUG_INI_OPEN = 0x80,       // opening an INI file into the cache
  VX_DEBUG_EXISTS = 0x100,        // existence tests
  VX_DEBUG_FIND_FILES = 0x200,    // finding files
  VX_DEBUG_PATH = 0x400           // building paths
};

class VX_EXPORT VxRunTimeDebug : public VxObject {
 public:
  // Makes sure per-task data exists, then reads "VX_DEBUGGING" (mask 0
  // when unset or when nothing parses).
  VxRunTimeDebug();
  ~VxRunTimeDebug() override;

  // The low 32 bits of the mask ANDed with mask: non-zero when on.
  uint32_t debugItem(uint32_t mask) const { return uint32_t(debugMask_) & mask; }
  uint64_t getDebugMask() const { return debugMask_; }

 private:
  uint64_t debugMask_;
};

// The process-wide switch, built at load before the library's other
// load-time objects.
VX_EXPORT extern VxRunTimeDebug BOS_RUNTIME_DEBUG;

#endif  // VX_FOUNDATION_VXTRACE_H_
