// Arbitrary bytes through VxScanner::getToken with settings taken from the
// first two bytes: every token must lie inside the text, tokens must follow
// one another without overlap, and the scan must end with the end token.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "parser/vxscanne.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  uint8_t options = data[0];
  uint8_t extra = data[1];
  const char* text = reinterpret_cast<const char*>(data + 2);
  size_t length = size - 2;
  static const vxCPType kinds[] = {VX_CP_LOCALE, VX_CP_UTF8, VX_CP_BYTES, VX_CP_UCS2};

  VxScanner scanner(text, length, kinds[(options >> 6) & 3]);
  scanner.setDecimalNumbers(options & 1);
  scanner.setComments(options & 2);
  scanner.setMatchParentheses(options & 4);
  scanner.setMatchBraces(options & 8);
  if (options & 16) scanner.setMatchingPair('[', ']');
  if (options & 32) {
    char set[2] = {char(extra | 1), 0};
    switch (extra % 3) {
      case 0: scanner.setValidFirstChars(set); break;
      case 1: scanner.setValidMiddleChars(set); break;
      default: scanner.setValidChars(set); break;
    }
  }
  int mode = extra >> 6;
  if (mode > 2) mode = 0;

  VxToken token;
  VXSIZE_T previousEnd = 0;
  for (size_t steps = 0;; ++steps) {
    int32_t type = scanner.getToken(token, mode);
    VXSIZE_T begin = token.getBegOfToken();
    VXSIZE_T end = begin + token.getLength();
    if (begin < previousEnd || end > length || token.asPascalStr() != text + begin) abort();
    if (type == VX_TOKEN_END) {
      if (begin != length || token.getLength() != 0) abort();
      break;
    }
    if (token.getLength() == 0 || type == VX_TOKEN_DECIMAL || steps > length) abort();
    previousEnd = end;
  }

  // Delimited pieces also stay inside the text and always advance.
  scanner.setScanString(text, length);
  VXSIZE_T lastPosition = 0;
  while (scanner.getDelimitedToken(token, ';') != VX_TOKEN_END) {
    if (token.getBegOfToken() + token.getLength() > length) abort();
    if (scanner.getPosition() <= lastPosition && lastPosition != 0) abort();
    lastPosition = scanner.getPosition();
  }
  return 0;
}
