// The light word splitter of the token utilities.
#include "parser/buttoken.h"

#include "foundation/vxdbcs_internal.h"

namespace {

bool isBlank(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool isWordByte(unsigned char c) {
  return c >= 0x80 || c == '_' || (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
}

// Size of the character at offset `at`, clipped to the end of the text;
// the text need not end with a NUL, so no byte beyond it is looked at.
VXSIZE_T stepAt(const char* text, VXSIZE_T at, VXSIZE_T length, vxCPType cp) {
  if (static_cast<unsigned char>(text[at]) < 0x80) return 1;
  VXSIZE_T size = vxCharSizeWithin(text + at, length - at, cp);
  return size < length - at ? size : length - at;
}

}  // namespace

VXSIZE_T buttoken(const char* text, VXSIZE_T* cursor, uint16_t options, VXSIZE_T length, vxCPType cp) {
  VXSIZE_T p = *cursor;
  while (p < length && isBlank(static_cast<unsigned char>(text[p]))) ++p;
  *cursor = p < length ? p : length;
  if (p >= length) return 0;

  VXSIZE_T start = p;
  unsigned char c = static_cast<unsigned char>(text[p]);
  if ((options & BUT_TOKEN_QUOTES) && (c == '\'' || c == '"')) {
    ++p;
    while (p < length) {
      if (static_cast<unsigned char>(text[p]) == c) {
        if (p + 1 < length && static_cast<unsigned char>(text[p + 1]) == c) {
          p += 2;
          continue;
        }
        return p + 1 - start;
      }
      p += stepAt(text, p, length, cp);
    }
    return length - start;
  }
  if (options & BUT_TOKEN_PUNCTUATION) {
    if (!isWordByte(c)) return stepAt(text, p, length, cp);
    while (p < length && isWordByte(static_cast<unsigned char>(text[p]))) p += stepAt(text, p, length, cp);
    return p - start;
  }
  while (p < length) {
    unsigned char b = static_cast<unsigned char>(text[p]);
    if (isBlank(b)) break;
    if ((options & BUT_TOKEN_QUOTES) && (b == '\'' || b == '"')) break;
    p += stepAt(text, p, length, cp);
  }
  return p - start;
}
