// Growth of the 16-bit-capacity output buffers of the token utilities.
#include "parser/butxpand.h"

#include "foundation/ram.h"
#include "foundation/ram_internal.h"

unsigned butxpand(char** start, char** cursor, uint16_t* capacity, uint16_t needed) {
  uint32_t rounded = needed & ~uint32_t(0x1FF);
  if (*start == nullptr) {
    uint32_t size = rounded + 512;
    if (size > 0xFFFF) return 1;
    char* buffer = static_cast<char*>(ramAlloc(size));
    if (!buffer) return 1;
    *start = *cursor = buffer;
    *capacity = uint16_t(size);
    return 0;
  }
  uint32_t used = uint32_t(*cursor - *start);
  if (*capacity - used >= needed) return 0;
  uint32_t size = rounded + *capacity + 512;
  // Deliberate: the capacity is a 16-bit count; instead of letting it wrap
  // (which would shrink the buffer under the cursor) the request fails.
  if (size > 0xFFFF) return 1;
  if (ramResize(start, size)) return 1;
  *cursor = *start + used;
  *capacity = uint16_t(size);
  return 0;
}
