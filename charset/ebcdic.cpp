// EBCDIC bytes as printable ASCII, by ranges and a short list.
#include "charset/ebcdic.h"

// The letters come in three runs of nine, nine and eight in each case, the
// digits in one run of ten; the runs are shifted by a fixed distance from
// their ASCII places. The punctuation is a short list. Anything else reads
// as ".". 0xB9 maps to the grave accent, which is not where the US EBCDIC
// code page puts it (0x79): the dump has always read it so and keeps that.
uint8_t VxEbcdicToAscii(uint8_t byte) {
  if (byte >= 0x81 && byte <= 0x89) return uint8_t(byte - 0x20);
  if (byte >= 0x91 && byte <= 0x99) return uint8_t(byte - 0x27);
  if (byte >= 0xA2 && byte <= 0xA9) return uint8_t(byte - 0x2F);
  if (byte >= 0xC1 && byte <= 0xC9) return uint8_t(byte - 0x80);
  if (byte >= 0xD1 && byte <= 0xD9) return uint8_t(byte - 0x87);
  if (byte >= 0xE2 && byte <= 0xE9) return uint8_t(byte - 0x8F);
  if (byte >= 0xF0 && byte <= 0xF9) return uint8_t(byte + 0x40);  // wraps to "0"-"9"
  switch (byte) {
    case 0x40: return ' ';
    case 0x4C: return '<';
    case 0x4D: return '(';
    case 0x4E: return '+';
    case 0x4F: return '|';
    case 0x50: return '&';
    case 0x5A: return '!';
    case 0x5B: return '$';
    case 0x5C: return '*';
    case 0x5D: return ')';
    case 0x5E: return ';';
    case 0x60: return '-';
    case 0x61: return '/';
    case 0x6B: return ',';
    case 0x6C: return '%';
    case 0x6D: return '_';
    case 0x6E: return '>';
    case 0x6F: return '?';
    case 0x7A: return ':';
    case 0x7B: return '#';
    case 0x7C: return '@';
    case 0x7D: return '\'';
    case 0x7E: return '=';
    case 0x7F: return '"';
    case 0xB9: return '`';
    default: return '.';
  }
}
