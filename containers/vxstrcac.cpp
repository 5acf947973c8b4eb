// VxStrHandleCache: parallel arrays of owned keys, their lengths and
// converters, doubled on demand.
#include "containers/vxstrcac.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "containers/parallel_arrays_internal.h"

VxStrHandleCache::~VxStrHandleCache() { releaseAll(); }

void VxStrHandleCache::releaseAll() {
  for (VXSIZE_T i = 0; i < count; ++i) {
    ucnv_close(handles[i]);
    free(keys[i]);
  }
  free(keys);
  free(keyLengths);
  free(handles);
}

unsigned VxStrHandleCache::initialize(unsigned long n) {
  unsigned char** newKeys = nullptr;
  VXSIZE_T* newLengths = nullptr;
  UConverter** newHandles = nullptr;
  if (!resizeParallelArrays(0, n, newKeys, newLengths, newHandles)) return 1;
  releaseAll();
  keys = newKeys;
  keyLengths = newLengths;
  handles = newHandles;
  count = 0;
  capacity = n;
  return 0;
}

unsigned VxStrHandleCache::addAssoc(unsigned char* key, unsigned long length, UConverter* handle) {
  if (count == capacity) {
    if (!resizeParallelArrays(count, capacity * 2, keys, keyLengths, handles)) return 1;
    capacity *= 2;
  }
  assert(count < capacity);
  keys[count] = key;
  keyLengths[count] = length;
  handles[count] = handle;
  ++count;
  return 0;
}

UConverter* VxStrHandleCache::getHandleForKey(const unsigned char** key,
                                              unsigned long length) const {
  for (VXSIZE_T i = 0; i < count; ++i) {
    if (keyLengths[i] == length && (length == 0 || memcmp(keys[i], *key, length) == 0)) {
      *key = keys[i];
      return handles[i];
    }
  }
  return nullptr;
}

void VxStrHandleCache::setEnableFallbackMapping(unsigned int flag) {
  for (VXSIZE_T i = 0; i < count; ++i) ucnv_setFallback(handles[i], flag != 0);
}
