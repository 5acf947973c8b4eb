// Inline forms of the lead-byte rule and of the character size, shared by
// the string units so that their loops do not pay a call per byte.
//
// Every locale the runtime library supports encodes the ASCII range as
// single bytes that stand for themselves, so a byte below 0x80 is never a
// lead byte and decodes to its own value; the helpers answer such bytes
// without asking the locale.
#ifndef VX_FOUNDATION_VXDBCS_INTERNAL_H_
#define VX_FOUNDATION_VXDBCS_INTERNAL_H_

#include <cwchar>

#include "foundation/vxtypes.h"

// The lead-byte rule: the multibyte length of the bytes at p with a limit
// of two is exactly 2. Reads p[1] only when p[0] can begin a character.
inline bool vxLeadByteAt(const char* p) {
  if (static_cast<unsigned char>(*p) < 0x80) return false;
  mbstate_t state{};
  return mbrlen(p, 2, &state) == 2;
}

// The same for a byte followed by `remaining - 1` bytes of a counted
// string: the last byte of the range is never a lead byte, so nothing past
// the range is read.
inline bool vxLeadByteWithin(const char* p, VXSIZE_T remaining) {
  return remaining >= 2 && vxLeadByteAt(p);
}

inline VXSIZE_T vxUtf8SizeOf(unsigned char c) {
  if (c < 0xC0) return 1;
  if (c < 0xE0) return 2;
  if (c < 0xF0) return 3;
  return 4;
}

inline VXSIZE_T vxCharSizeAt(const char* p, vxCPType cp) {
  if (cp == VX_CP_UTF8) return vxUtf8SizeOf(static_cast<unsigned char>(*p));
  return vxLeadByteAt(p) ? 2 : 1;
}

// Character size inside a counted string with `remaining` bytes left from p
// (at least 1). A UTF-8 size may still pass the end; callers compare.
inline VXSIZE_T vxCharSizeWithin(const char* p, VXSIZE_T remaining, vxCPType cp) {
  if (cp == VX_CP_UTF8) return vxUtf8SizeOf(static_cast<unsigned char>(*p));
  return vxLeadByteWithin(p, remaining) ? 2 : 1;
}

// Character size inside a NUL-terminated string: a character cut short by
// the NUL ends there, so a walk never steps over the terminator.
inline VXSIZE_T vxCharSizeInString(const char* p, vxCPType cp) {
  VXSIZE_T size = vxCharSizeAt(p, cp);
  for (VXSIZE_T i = 1; i < size; ++i) {
    if (p[i] == '\0') return i;
  }
  return size;
}

// The character at p decoded in the locale encoding, reading at most
// `limit` bytes. False when the bytes do not form a character.
bool vxDecodeChar(const char* p, VXSIZE_T limit, wchar_t* out, VXSIZE_T* size);

// Upper case of one byte taken as a one-character string, as strUpper
// would leave it.
unsigned char vxUpperByteSlow(unsigned char c);
inline unsigned char vxUpperByte(unsigned char c) {
  if (c < 0x80) return (c >= 'a' && c <= 'z') ? static_cast<unsigned char>(c - 0x20) : c;
  return vxUpperByteSlow(c);
}

// vxIsWhiteSpace for a character with `limit` bytes available.
bool vxIsWhiteSpaceWithin(const char* p, VXSIZE_T limit);

#endif  // VX_FOUNDATION_VXDBCS_INTERNAL_H_
