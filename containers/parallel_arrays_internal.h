// Parallel arrays that grow together, as the handle caches keep their keys
// and converters: every array of a set gets its new room, or none does.
#ifndef VX_CONTAINERS_PARALLEL_ARRAYS_INTERNAL_H_
#define VX_CONTAINERS_PARALLEL_ARRAYS_INTERNAL_H_

#include <cassert>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "foundation/ram_internal.h"
#include "foundation/vxtypes.h"

// Replaces each of arrays by a zeroed array of capacity elements that
// starts with the first keep elements of the old one, and frees the old
// arrays. All new arrays are allocated before any old one is touched, so
// when one allocation fails (or capacity is 0) the new ones are freed, the
// arrays are left as they were and the result is false.
template <typename... T>
bool resizeParallelArrays(VXSIZE_T keep, VXSIZE_T capacity, T*&... arrays) {
  assert(keep <= capacity);
  if (capacity == 0) return false;
  std::tuple<T*...> fresh(static_cast<T*>(ramAllocZeroed(capacity * sizeof(T)))...);
  return std::apply(
      [&](T*... grown) {
        if (((grown == nullptr) || ...)) {
          (free(grown), ...);
          return false;
        }
        if (keep != 0) (memcpy(grown, arrays, keep * sizeof(T)), ...);
        ((free(arrays), arrays = grown), ...);
        return true;
      },
      fresh);
}

#endif  // VX_CONTAINERS_PARALLEL_ARRAYS_INTERNAL_H_
