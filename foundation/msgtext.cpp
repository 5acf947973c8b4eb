// Message number to text. Without a catalog the text is the decimal number.
#include "foundation/msgtext_internal.h"

#include <cstdio>
#include <cstring>

VXSIZE_T loadMessageText(uint16_t number, char* buffer, VXSIZE_T size) {
  char text[8];
  int n = snprintf(text, sizeof text, "%u", static_cast<unsigned>(number));
  VXSIZE_T length = static_cast<VXSIZE_T>(n);
  if (size != 0 && length > size - 1) length = size - 1;
  memcpy(buffer, text, length);
  buffer[length] = '\0';
  return length;
}
