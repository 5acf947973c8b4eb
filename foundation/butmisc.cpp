// Swapping areas and array elements, the short-string primitives, bit sets
// and the locked word exchanges.
#include <cstring>

#include "bos/mdsint.h"

#include "foundation/but.h"
#include "foundation/ram_internal.h"
#include "foundation/vxautofr.h"

namespace {

// Chunk size of BUTMMSWP, and the size of its stack buffer.
constexpr VXSIZE_T kSwapChunk = 512;

}  // namespace

// Each round moves up to 512 bytes: a's chunk to the buffer, b's chunk over
// a's, the buffer over b's, then both pointers advance by the chunk.
void BUTMMSWP(void* a, void* b, VXSIZE_T n) {
  uint8_t buffer[kSwapChunk];
  uint8_t* x = static_cast<uint8_t*>(a);
  uint8_t* y = static_cast<uint8_t*>(b);
  while (n > 0) {
    VXSIZE_T chunk = n < kSwapChunk ? n : kSwapChunk;
    memcpy(buffer, x, chunk);
    memcpy(x, y, chunk);
    memcpy(y, buffer, chunk);
    x += chunk;
    y += chunk;
    n -= chunk;
  }
}

void memSwap(void* a, void* b, VXSIZE_T n) { BUTMMSWP(a, b, n); }

// The temporary element is zero-filled heap memory of at least one byte,
// freed by its holder on every path out.
void butswap(void* base, uint16_t i, uint16_t j, uint16_t size) {
  AFPU8 temporary;
  temporary = static_cast<uint8_t*>(ramAllocZeroed(size == 0 ? 1 : size));
  if (temporary == nullptr || i == j) return;
  uint8_t* array = static_cast<uint8_t*>(base);
  uint8_t* first = array + VXSIZE_T(i) * size;
  uint8_t* second = array + VXSIZE_T(j) * size;
  memcpy(temporary, first, size);
  memcpy(first, second, size);
  memcpy(second, temporary, size);
}

char* BUTSTCPY(char* dst, const char* src) { return stpcpy(dst, src); }

char* BUTSTCAT(char* dst, const char* src) { return stpcpy(dst + strlen(dst), src); }

int16_t BUTSTCMP(const char* a, const char* b) { return static_cast<int16_t>(strcmp(a, b)); }

void bitset(uint8_t* set, uint16_t n) { set[n / 8] |= uint8_t(1u << (n % 8)); }

uint8_t bitcheck(const uint8_t* set, uint16_t n) { return set[n / 8] & uint8_t(1u << (n % 8)); }

// Both exchanges hold their process-wide lock across the read and the
// store, so that they also serialise against any other holder of that
// lock, not only against each other.
uint64_t atomicTaskExchange(uint64_t* word, uint64_t value) {
  VxSemaphoreGuard guard(VX_TASK_EXCHANGE_LOCK);
  uint64_t previous = *word;
  *word = value;
  return previous;
}

uint64_t atomicThreadExchange(uint64_t* word, uint64_t value) {
  VxCriticalSectionGuard guard(VX_THREAD_EXCHANGE_LOCK);
  uint64_t previous = *word;
  *word = value;
  return previous;
}
