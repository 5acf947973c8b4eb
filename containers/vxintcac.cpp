// VxIntHandleCache: parallel arrays of keys and converters, doubled on
// demand.
#include "containers/vxintcac.h"

#include <cassert>
#include <cstdlib>

#include "containers/parallel_arrays_internal.h"

VxIntHandleCache::~VxIntHandleCache() { releaseAll(); }

void VxIntHandleCache::releaseAll() {
  for (VXSIZE_T i = 0; i < count; ++i) ucnv_close(handles[i]);
  free(keys);
  free(handles);
}

unsigned VxIntHandleCache::initialize(unsigned long n) {
  int64_t* newKeys = nullptr;
  UConverter** newHandles = nullptr;
  if (!resizeParallelArrays(0, n, newKeys, newHandles)) return 1;
  releaseAll();
  keys = newKeys;
  handles = newHandles;
  count = 0;
  capacity = n;
  return 0;
}

unsigned VxIntHandleCache::addAssoc(long key, UConverter* handle) {
  if (count == capacity) {
    if (!resizeParallelArrays(count, capacity * 2, keys, handles)) return 1;
    capacity *= 2;
  }
  assert(count < capacity);
  keys[count] = key;
  handles[count] = handle;
  ++count;
  return 0;
}

UConverter* VxIntHandleCache::getHandleForKey(long key) const {
  for (VXSIZE_T i = 0; i < count; ++i) {
    if (keys[i] == key) return handles[i];
  }
  return nullptr;
}

void VxIntHandleCache::setEnableFallbackMapping(unsigned int flag) {
  for (VXSIZE_T i = 0; i < count; ++i) ucnv_setFallback(handles[i], flag != 0);
}
