// Byte primitives: copying, filling, zeroing, comparing and swapping byte
// areas; the short upper-case string primitives kept for older callers;
// bit sets; alignment of sizes; exchange of a machine word under a lock;
// hexadecimal encoding and decoding; the scrambling routine.
//
// Contract shared by every function here:
// - Nothing checks its pointers. A length of 0 does nothing.
// - Lengths are unsigned 64-bit byte counts unless a declaration says
//   otherwise; the 16-bit parameters are narrowings kept on purpose.
// - Everything is re-entrant. Only atomicTaskExchange and
//   atomicThreadExchange serialise, each through its own process-wide lock.
// - Only the decoders fail: they return 1 and post error 2708 (bad
//   hexadecimal digit) to the calling thread's error list.
#ifndef VX_FOUNDATION_BUT_H_
#define VX_FOUNDATION_BUT_H_

#include <cstdint>
#include <cstring>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// ---------------------------------------------------------------------------
// Copy, fill and move

// Forward copy, lowest address first. When the areas overlap the result is
// exactly that of copying one byte at a time upwards (so a destination one
// byte above the source repeats the first byte).
VX_EXPORT void BUTMEMCP(void* dst, const void* src, VXSIZE_T n);
// Backward copy, last byte first: safe when dst overlaps src at a higher
// address. Overlap gives exactly the result of a byte-by-byte downward copy.
VX_EXPORT void BUTMMCPD(void* dst, const void* src, VXSIZE_T n);
// Same as BUTMEMCP. Inline so that short copies cost what libc's does:
// when dst is below src or past the end of the source (the unsigned
// difference dst - src is at least n), the upward byte loop and memmove
// give the same bytes, so libc copies directly; only a destination that
// overlaps above the source takes BUTMEMCP's repeating copy.
VX_EXPORT inline void memCopy(void* dst, const void* src, VXSIZE_T n) {
  if (n == 0) return;
  if (reinterpret_cast<uintptr_t>(dst) - reinterpret_cast<uintptr_t>(src) >= n) {
    memmove(dst, src, n);
  } else {
    BUTMEMCP(dst, src, n);
  }
}
VX_EXPORT void memCopyHuge(void* dst, const void* src, VXSIZE_T n);
// A forward copy, like memCopy. Deliberately no guard for a destination
// that overlaps above the source: such callers use memCopyReverse.
VX_EXPORT void memMove(void* dst, const void* src, VXSIZE_T n);
// Same as BUTMMCPD.
VX_EXPORT void memCopyReverse(void* dst, const void* src, VXSIZE_T n);
// Copies 8-byte words, then the n mod 8 tail. Both pointers must be 8-byte
// aligned; the areas must not overlap.
VX_EXPORT void memCopyAligned(void* dst, const void* src, VXSIZE_T n);
// Copies with the widest unit (1, 2, 4 or 8 bytes) that both pointers'
// alignment allows. The areas must not overlap, except that the byte steps
// (taken when either pointer is odd) run from the highest offset down.
VX_EXPORT void fastMemCopy(void* dst, const void* src, VXSIZE_T n);

// Store `byte` n times from dst.
VX_EXPORT void BUTU8FIL(void* dst, uint8_t byte, VXSIZE_T n);
VX_EXPORT void memFill(void* dst, uint8_t byte, VXSIZE_T n);
VX_EXPORT void memFillHuge(void* dst, uint8_t byte, VXSIZE_T n);
// Zero n bytes from p. Every store width leaves the same zero bytes, so
// this is libc's memset, inline so that no second call layer is paid.
VX_EXPORT inline void memZero(void* p, VXSIZE_T n) {
  if (n != 0) memset(p, 0, n);
}
// Zero n four-byte units from p (n counts units, not bytes). p must be at
// least 4-byte aligned.
VX_EXPORT void memZero4Byte(void* p, VXSIZE_T n);

// ---------------------------------------------------------------------------
// Compare

// Compares n bytes as unsigned values from the first: 1 at the first byte
// where a is greater, -1 where a is smaller, 0 when all n are equal.
VX_EXPORT int BUTMMCMP(const void* a, const void* b, VXSIZE_T n);
VX_EXPORT int memCompareHuge(const void* a, const void* b, VXSIZE_T n);
// BUTMMCMP narrowed to 16 bits. Inline, so the sign of libc's memcmp is
// taken where the call is made.
VX_EXPORT inline int16_t memCompare(const void* a, const void* b, VXSIZE_T n) {
  if (n == 0) return 0;
  int c = memcmp(a, b, n);
  return static_cast<int16_t>((c > 0) - (c < 0));
}
// True when the n bytes at a and b are equal. Whatever units the pointers'
// alignment would allow, the answer is whether every byte matches; libc's
// vector compare reaches it fastest at every alignment and never reads
// past the n bytes.
VX_EXPORT inline bool memEqual(const void* a, const void* b, VXSIZE_T n) {
  return n == 0 || memcmp(a, b, n) == 0;
}

// ---------------------------------------------------------------------------
// Swap

// Exchange two non-overlapping areas of n bytes, 512 bytes at a time
// through a buffer on the stack.
VX_EXPORT void BUTMMSWP(void* a, void* b, VXSIZE_T n);
VX_EXPORT void memSwap(void* a, void* b, VXSIZE_T n);
// Exchange elements i and j of the array at base whose elements are `size`
// bytes each. The temporary element comes from the heap; when the heap is
// exhausted nothing is exchanged.
VX_EXPORT void butswap(void* base, uint16_t i, uint16_t j, uint16_t size);

// ---------------------------------------------------------------------------
// Short strings (NUL-terminated bytes)

// Copies src with its NUL into dst; returns a pointer to the NUL written.
VX_EXPORT char* BUTSTCPY(char* dst, const char* src);
// Appends src to dst; returns a pointer to the final NUL.
VX_EXPORT char* BUTSTCAT(char* dst, const char* src);
// strcmp narrowed to 16 bits.
VX_EXPORT int16_t BUTSTCMP(const char* a, const char* b);
// Length of s in bytes.
VX_EXPORT VXSIZE_T BUTSTLEN(const char* s);

// ---------------------------------------------------------------------------
// Bits and alignment

// Sets bit n of the byte array: byte n/8, bit n mod 8 counted from the
// least significant.
VX_EXPORT void bitset(uint8_t* set, uint16_t n);
// That bit's value in place: non-zero when set (1 << (n mod 8)), not 1.
VX_EXPORT uint8_t bitcheck(const uint8_t* set, uint16_t n);

// Stores into value and returns (value + boundary - 1) & ~boundary.
// Deliberate: the mask is the complement of the boundary itself, not of
// boundary - 1, so for a boundary of 8 the value 9 becomes 16 but 1
// becomes 0. The 16-bit form wraps at 16 bits.
VX_EXPORT uint64_t alignOnByteBoundary(uint64_t& value, uint16_t boundary);
VX_EXPORT uint16_t alignOnByteBoundary(uint16_t& value, uint16_t boundary);
VX_EXPORT void* alignOnByteBoundary(void*& value, uint16_t boundary);
// The pointer form for any pointer type.
template <typename T>
inline T* alignOnByteBoundary(T*& value, uint16_t boundary) {
  void* p = value;
  value = static_cast<T*>(alignOnByteBoundary(p, boundary));
  return value;
}
// Deliberate: false for every boundary (odd values and values above 4096
// are refused outright; the check made on the rest never succeeds).
VX_EXPORT bool verifyByteBoundary(uint16_t boundary);

// ---------------------------------------------------------------------------
// Word exchange

// Store value into *word and return the previous value, holding the
// process-wide task semaphore for the read and the store.
VX_EXPORT uint64_t atomicTaskExchange(uint64_t* word, uint64_t value);
// The same under the process-wide thread critical section.
VX_EXPORT uint64_t atomicThreadExchange(uint64_t* word, uint64_t value);

// ---------------------------------------------------------------------------
// Hexadecimal (digits written upper case "0123456789ABCDEF"; read in either
// case)

// Writes value in hexadecimal, most significant digit first, with at least
// minDigits digits (leading zeros) and a NUL; returns the number of digits.
// 0 with a minimum of 0 gives "0". out needs max(16, minDigits) + 1 bytes.
VX_EXPORT uint16_t hexify(char* out, uint64_t value, uint16_t minDigits);
// Turns n bytes into 2n characters, high nibble first, no NUL; returns 2n.
// out may equal in (converted in place from the end); otherwise the areas
// must not overlap.
VX_EXPORT VXSIZE_T hexify(char* out, const void* in, VXSIZE_T n);
VX_EXPORT VXSIZE_T hexifyHuge(char* out, const void* in, VXSIZE_T n);
// As hexify, but each digit is a little-endian UTF-16 unit (digit byte,
// then 0): writes and returns 4n bytes. out may equal in.
VX_EXPORT VXSIZE_T wideHexify(void* out, const void* in, VXSIZE_T n);

// Decodes n hexadecimal characters into n/2 bytes; with an odd n the last
// digit is left in the high nibble of one more byte. Returns 0, or 1 at the
// first character that is not a digit, after posting error 2708; the bytes
// decoded before it are written.
VX_EXPORT unsigned dehexify(void* out, const char* in, VXSIZE_T n);
VX_EXPORT unsigned dehexifyHuge(void* out, const char* in, VXSIZE_T n);
// Decodes n bytes of UTF-16 hexadecimal text: every NUL byte is skipped,
// the others are decoded as by dehexify.
VX_EXPORT unsigned wideDehexify(void* out, const void* in, VXSIZE_T n);
// Decodes as dehexify, writing every completed byte equal to `escape` twice.
// On success stores into *count the number of bytes written divided by
// eight (deliberate: not the byte count). On failure *count is untouched.
VX_EXPORT unsigned dehexify(void* out, const char* in, VXSIZE_T n, uint8_t escape,
                            VXSIZE_T* count);
// True when all n bytes are hexadecimal digits (true for n = 0).
VX_EXPORT bool isHexString(const char* s, VXSIZE_T n);

// ---------------------------------------------------------------------------
// Scrambling, in place. method 1: complement every byte; 2: complement every
// byte but 0x0A and 0xF5; 3: a keyed 8-bit pair cipher (key: optional
// NUL-terminated text, at most 15 characters used). Any other method leaves
// the data alone. decrypt undoes encrypt with the same method and key.
VX_EXPORT void encrypt(void* data, VXSIZE_T n, uint16_t method, const char* key = nullptr);
VX_EXPORT void decrypt(void* data, VXSIZE_T n, uint16_t method, const char* key = nullptr);

#endif  // VX_FOUNDATION_BUT_H_
