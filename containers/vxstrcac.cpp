// VxStrHandleCache: parallel arrays of owned keys, their lengths and
// converters, doubled on demand.
#include "containers/vxstrcac.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram_internal.h"

namespace {

// The three arrays of one capacity, allocated together or not at all.
struct StrCacheArrays {
  unsigned char** keys;
  VXSIZE_T* keyLengths;
  UConverter** handles;
};

bool allocateArrays(VXSIZE_T n, StrCacheArrays& out) {
  out.keys = static_cast<unsigned char**>(ramAllocZeroed(n * sizeof(unsigned char*)));
  out.keyLengths = static_cast<VXSIZE_T*>(ramAllocZeroed(n * sizeof(VXSIZE_T)));
  out.handles = static_cast<UConverter**>(ramAllocZeroed(n * sizeof(UConverter*)));
  if (n != 0 && out.keys != nullptr && out.keyLengths != nullptr && out.handles != nullptr) {
    return true;
  }
  free(out.keys);
  free(out.keyLengths);
  free(out.handles);
  return false;
}

}  // namespace

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
  StrCacheArrays fresh;
  if (!allocateArrays(n, fresh)) return 1;
  releaseAll();
  keys = fresh.keys;
  keyLengths = fresh.keyLengths;
  handles = fresh.handles;
  count = 0;
  capacity = n;
  return 0;
}

unsigned VxStrHandleCache::addAssoc(unsigned char* key, unsigned long length, UConverter* handle) {
  if (count == capacity) {
    StrCacheArrays grown;
    if (!allocateArrays(capacity * 2, grown)) return 1;
    if (count != 0) {
      memcpy(grown.keys, keys, count * sizeof(unsigned char*));
      memcpy(grown.keyLengths, keyLengths, count * sizeof(VXSIZE_T));
      memcpy(grown.handles, handles, count * sizeof(UConverter*));
    }
    free(keys);
    free(keyLengths);
    free(handles);
    keys = grown.keys;
    keyLengths = grown.keyLengths;
    handles = grown.handles;
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
