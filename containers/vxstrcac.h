// A small cache of opened ICU converters keyed by a byte string with an
// explicit length (a converter name).
//
// The cache owns every converter and every key buffer added to it: key
// buffers must come from malloc, since the destructor releases them with
// free, after closing the converters. Callers must not close a handle they
// got from it. Look-up is a linear scan in insertion order; a hit hands
// the caller the cache's own copy of the key, so the caller can drop its
// copy. The cache takes no lock: its owner uses it from one thread at a
// time. Failures (allocation) are reported as status 1, no record.
#ifndef VX_CONTAINERS_VXSTRCAC_H_
#define VX_CONTAINERS_VXSTRCAC_H_

#include <unicode/ucnv.h>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxStrHandleCache {
 public:
  VxStrHandleCache() = default;
  // Closes every cached converter, frees every key, releases the arrays.
  ~VxStrHandleCache();
  VxStrHandleCache(const VxStrHandleCache&) = delete;
  VxStrHandleCache& operator=(const VxStrHandleCache&) = delete;

  // Allocates room for n entries (n must be at least 1, since growth
  // doubles the capacity). 1 when an allocation fails, else 0.
  unsigned initialize(unsigned long n);
  // Appends the entry and takes ownership of key (a malloc'd buffer of
  // length bytes); doubles the arrays when full; no duplicate check. 1 when
  // the arrays cannot grow: the cache is then unchanged and key still
  // belongs to the caller.
  unsigned addAssoc(unsigned char* key, unsigned long length, UConverter* handle);
  // The handle of the first entry whose key has this length and these
  // bytes, or null. On a hit *key is replaced by the cache's stored key.
  UConverter* getHandleForKey(const unsigned char** key, unsigned long length) const;
  // Switches ICU fallback mappings on or off for every cached converter.
  void setEnableFallbackMapping(unsigned int flag);

  VXSIZE_T getCount() const { return count; }
  VXSIZE_T getCapacity() const { return capacity; }

 private:
  // Closes every converter, frees every key and the arrays themselves.
  void releaseAll();

  VXSIZE_T count = 0;
  VXSIZE_T capacity = 0;
  unsigned char** keys = nullptr;
  VXSIZE_T* keyLengths = nullptr;
  UConverter** handles = nullptr;
};

#endif  // VX_CONTAINERS_VXSTRCAC_H_
