// The one place where the library turns a message number into its text.
//
// Every text the library shows (error records, resource strings) is looked
// up here. Until the message catalog is opened by the library, the text of
// a message is its number in decimal, so a record for message 1509 reads
// "1509". The English texts themselves are kept in foundation/messages.msg,
// the source of the catalog.
//
// Thread-safety: may be called from any thread; it keeps no state.
#ifndef VX_BOS_BOSLSTR_INTERNAL_H_
#define VX_BOS_BOSLSTR_INTERNAL_H_

#include <cstdint>

#include "foundation/vxtypes.h"

// Copies the text of message `number` into buffer, cut to size - 1 bytes
// and NUL-terminated, and returns the length copied. With size 0 nothing is
// written and the full length of the text is returned.
VXSIZE_T vxLoadMessageText(uint32_t number, char* buffer, VXSIZE_T size);

#endif  // VX_BOS_BOSLSTR_INTERNAL_H_
