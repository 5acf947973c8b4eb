// Message number to text, read from the library's default message module.
#include "foundation/msgtext_internal.h"

#include "bos/boslstr.h"

// Each lookup opens the catalog when it is not open yet (so a catalog that
// was missing is found once it is installed, or once the installation
// directory is set) and gives its use back at once: the catalog itself
// stays open for the process.
VXSIZE_T loadMessageText(uint16_t number, char* buffer, VXSIZE_T size) {
  int32_t users = 0;
  bosLoadResourceDLL(VX_MESSAGE_MODULE, 0, nullptr, &users);
  VXSIZE_T length = LoadString(VX_MESSAGE_MODULE, number, buffer, size);
  bosFreeResourceDLL(nullptr, &users);
  return length;
}
