// Message texts by number.
#include "bos/boslstr_internal.h"

#include <cstdio>
#include <cstring>

// Without an open catalog the text of a message is its number in decimal
// (at most 10 digits for a 32-bit number).
VXSIZE_T vxLoadMessageText(uint32_t number, char* buffer, VXSIZE_T size) {
  char digits[16];
  int length = snprintf(digits, sizeof digits, "%u", number);
  if (size == 0 || buffer == nullptr) return VXSIZE_T(length);
  VXSIZE_T copied = VXSIZE_T(length) < size - 1 ? VXSIZE_T(length) : size - 1;
  memcpy(buffer, digits, copied);
  buffer[copied] = '\0';
  return copied;
}
