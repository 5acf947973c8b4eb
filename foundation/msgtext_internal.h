// The one place where the library turns a message number into its text.
//
// Until a message catalog is open, the text of a message number is the
// number in decimal; the catalog lookup fills this function in later, so
// every caller (VxResourceString, addError) keeps working unchanged.
#ifndef VX_FOUNDATION_MSGTEXT_INTERNAL_H_
#define VX_FOUNDATION_MSGTEXT_INTERNAL_H_

#include <cstdint>

#include "foundation/vxtypes.h"

// Writes the text of message number into buffer, cut to size - 1 bytes
// and NUL-terminated (size 0: the whole text, the buffer must hold it).
// Returns the length written without the NUL.
VXSIZE_T loadMessageText(uint16_t number, char* buffer, VXSIZE_T size);

#endif  // VX_FOUNDATION_MSGTEXT_INTERNAL_H_
