// buttoken: a light tokenizer over a counted byte string, for callers that
// only need to split text into words without a VxScanner.
//
// Thread-safety: re-entrant. Failure: none; the end of the text is a token
// of length 0.
#ifndef VX_PARSER_BUTTOKEN_H_
#define VX_PARSER_BUTTOKEN_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// Option bits of buttoken.
enum : uint16_t {
  // An apostrophe or double quote starts a literal that runs through the
  // same quote (a doubled quote stays inside); unterminated, it runs to the
  // end of the text.
  BUT_TOKEN_QUOTES = 0x1,
  // Words are runs of letters, digits, underscores and multibyte
  // characters; every other character that is not white space is a token
  // of its own. Without this bit a token is a run of characters that are
  // not white space.
  BUT_TOKEN_PUNCTUATION = 0x2
};

// Skips the white space (blank, tab, CR, LF, VT, FF) at text[*cursor],
// stores the offset of the next token in *cursor and returns its length:
// 0 when the text (of `length` bytes) is exhausted. Multibyte characters
// of kind cp are stepped over whole. The caller advances *cursor by the
// returned length to continue.
VX_EXPORT VXSIZE_T buttoken(const char* text, VXSIZE_T* cursor, uint16_t options, VXSIZE_T length,
                            vxCPType cp);

#endif  // VX_PARSER_BUTTOKEN_H_
