// A small cache of opened ICU converters keyed by code-page number.
//
// The cache owns every converter added to it and closes them all when it
// is destroyed; callers must not close a handle they got from it. Entries
// live in two parallel arrays that double when full. Look-up is a linear
// scan from the first entry, so a key added twice is only ever found at its
// first place. The cache takes no lock: its owner uses it from one thread
// at a time. Failures (allocation) are reported as status 1, no record.
#ifndef VX_CONTAINERS_VXINTCAC_H_
#define VX_CONTAINERS_VXINTCAC_H_

#include <unicode/ucnv.h>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxIntHandleCache {
 public:
  VxIntHandleCache() = default;
  // Closes every cached converter and releases the arrays.
  ~VxIntHandleCache();
  VxIntHandleCache(const VxIntHandleCache&) = delete;
  VxIntHandleCache& operator=(const VxIntHandleCache&) = delete;

  // Allocates room for n entries (n must be at least 1, since growth
  // doubles the capacity). 1 when an allocation fails, else 0.
  unsigned initialize(unsigned long n);
  // Appends key and handle, doubling the arrays when full; no duplicate
  // check. 1 (cache unchanged) when the arrays cannot grow.
  unsigned addAssoc(long key, UConverter* handle);
  // The handle of the first entry with this key, or null.
  UConverter* getHandleForKey(long key) const;
  // Switches ICU fallback mappings on or off for every cached converter.
  void setEnableFallbackMapping(unsigned int flag);

  VXSIZE_T getCount() const { return count; }
  VXSIZE_T getCapacity() const { return capacity; }

 private:
  // Closes every converter, frees every key and the arrays themselves.
  void releaseAll();

  VXSIZE_T count = 0;
  VXSIZE_T capacity = 0;
  int64_t* keys = nullptr;
  UConverter** handles = nullptr;
};

#endif  // VX_CONTAINERS_VXINTCAC_H_
