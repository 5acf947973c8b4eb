// The one place where the library turns a message number into its text:
// the catalog of the default message module (bos/boslstr.h). While no
// catalog can be opened, the text of a message number is the number in
// decimal, and so is the text of a number the catalog lacks.
#ifndef VX_FOUNDATION_MSGTEXT_INTERNAL_H_
#define VX_FOUNDATION_MSGTEXT_INTERNAL_H_

#include <cstdint>

#include "foundation/vxtypes.h"

// Writes the text of message number into buffer, cut to size - 1 bytes
// and NUL-terminated (size 0: the whole text, the buffer must hold it).
// Returns the length written without the NUL.
VXSIZE_T loadMessageText(uint16_t number, char* buffer, VXSIZE_T size);

#endif  // VX_FOUNDATION_MSGTEXT_INTERNAL_H_
