// VxIntHandleCache: parallel arrays of keys and converters, doubled on
// demand.
#include "containers/vxintcac.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram_internal.h"

VxIntHandleCache::~VxIntHandleCache() { releaseAll(); }

void VxIntHandleCache::releaseAll() {
  for (VXSIZE_T i = 0; i < count; ++i) ucnv_close(handles[i]);
  free(keys);
  free(handles);
}

unsigned VxIntHandleCache::initialize(unsigned long n) {
  int64_t* newKeys = static_cast<int64_t*>(ramAllocZeroed(n * sizeof(int64_t)));
  UConverter** newHandles = static_cast<UConverter**>(ramAllocZeroed(n * sizeof(UConverter*)));
  if (newKeys == nullptr || newHandles == nullptr) {
    free(newKeys);
    free(newHandles);
    return 1;
  }
  releaseAll();
  keys = newKeys;
  handles = newHandles;
  count = 0;
  capacity = n;
  return 0;
}

unsigned VxIntHandleCache::addAssoc(long key, UConverter* handle) {
  if (count == capacity) {
    // Both new arrays are allocated before either old one is dropped, so a
    // failure leaves the cache as it was.
    VXSIZE_T grown = capacity * 2;
    int64_t* newKeys = static_cast<int64_t*>(ramAlloc(grown * sizeof(int64_t)));
    UConverter** newHandles = static_cast<UConverter**>(ramAlloc(grown * sizeof(UConverter*)));
    if (grown == 0 || newKeys == nullptr || newHandles == nullptr) {
      free(newKeys);
      free(newHandles);
      return 1;
    }
    if (count != 0) {
      memcpy(newKeys, keys, count * sizeof(int64_t));
      memcpy(newHandles, handles, count * sizeof(UConverter*));
    }
    free(keys);
    free(handles);
    keys = newKeys;
    handles = newHandles;
    capacity = grown;
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
