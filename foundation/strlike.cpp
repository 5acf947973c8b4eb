// The SQL LIKE matcher.
#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"

namespace {

// Size of the character at p in a counted string ending at end.
inline VXSIZE_T sizeAt(const char* p, const char* end, vxCPType cp) {
  return vxCharSizeWithin(p, static_cast<VXSIZE_T>(end - p), cp);
}

// isCharEqual of the text character at t and the pattern character at p,
// kept inside both strings: a two-byte pattern character needs two text
// bytes.
inline bool charEqual(const char* t, const char* tend, const char* p, const char* pend,
                      int16_t caseSensitive) {
  unsigned char tc = static_cast<unsigned char>(*t);
  unsigned char pc = static_cast<unsigned char>(*p);
  if (vxLeadByteWithin(p, static_cast<VXSIZE_T>(pend - p))) {
    return tend - t >= 2 && tc == pc && t[1] == p[1];
  }
  if (tc == pc) return true;
  return caseSensitive == 0 && vxUpperByte(tc) == vxUpperByte(pc);
}

inline unsigned char otherAsciiCase(unsigned char c) {
  if (c >= 'a' && c <= 'z') return static_cast<unsigned char>(c - 0x20);
  if (c >= 'A' && c <= 'Z') return static_cast<unsigned char>(c + 0x20);
  return c;
}

// After a '%' the matcher tries each text position in turn against the
// pattern character at p. When that character is a plain ASCII byte the
// positions that cannot match it are skipped here in one tight loop: an
// ASCII text byte is a whole character in every code-page kind and equals
// the pattern byte only as itself or, ignoring case, as its other case.
// The loop stops at the first byte that could match or that is not ASCII,
// leaving the general step to decide there. Returns the new position.
inline const char* skipHopeless(const char* t, const char* tend, const char* p,
                                const char* pend, char escape, int16_t caseSensitive) {
  if (*p == escape) {
    ++p;
    if (p >= pend) return t;
  }
  unsigned char want = static_cast<unsigned char>(*p);
  if (want >= 0x80) return t;
  unsigned char other = caseSensitive == 0 ? otherAsciiCase(want) : want;
  while (t < tend) {
    unsigned char c = static_cast<unsigned char>(*t);
    if (c == want || c == other || c >= 0x80) break;
    ++t;
  }
  return t;
}

}  // namespace

// LIKE matching. The rules, with % standing for anySeq, _ for anyChar and
// \ for escape (each recognised as a single pattern byte):
//
//   - When trailing blanks are not significant, trailing white space is cut
//     off both text and pattern first.
//   - % matches any run of text characters, including none. Consecutive %
//     collapse; the _ that directly follow a % each take one text character
//     at once, and a later % continues the same run.
//   - _ matches exactly one text character; a trailing _ does not match an
//     empty rest.
//   - \ makes the pattern character after it literal; a \ at the very end
//     of the pattern matches nothing.
//   - Any other pattern character matches a text character by isCharEqual:
//     a two-byte pattern character needs both bytes equal; otherwise the
//     first bytes are compared, and when case does not matter their
//     one-character upper-case forms too. So in UTF-8 a longer character is
//     compared on its first byte only.
//   - Text is stepped by whole characters of the code-page kind; pattern
//     characters after a match are stepped the same way.
//
// Only the latest % is remembered: on a mismatch the text position saved
// with it moves on by one character and matching restarts from the pattern
// after that %. This is right because any earlier % can absorb what the
// later one would have taken. The cost is usually linear but can reach
// (text length) x (pattern length) in the worst case.
bool strLike(const char* text, VXSIZE_T textLength, const char* pattern, VXSIZE_T patternLength,
             char anySeq, char anyChar, char escape, int16_t caseSensitive,
             int16_t trailingBlanksSignificant, vxCPType cp) {
  if (trailingBlanksSignificant == 0) {
    textLength = strRightTrim(text, textLength, cp);
    patternLength = strRightTrim(pattern, patternLength, cp);
  }
  const char* t = text;
  const char* tend = text + textLength;
  const char* p = pattern;
  const char* pend = pattern + patternLength;
  const char* savedText = nullptr;
  const char* savedPattern = nullptr;

  while (t < tend) {
    if (p < pend) {
      char pc = *p;
      if (pc == anySeq) {
        do {
          while (p < pend && *p == anySeq) ++p;
          while (p < pend && *p == anyChar && t < tend) {
            ++p;
            t += sizeAt(t, tend, cp);
          }
        } while (p < pend && *p == anySeq);
        if (p >= pend) return true;
        if (t < tend) t = skipHopeless(t, tend, p, pend, escape, caseSensitive);
        savedText = t;
        savedPattern = p;
        continue;
      }
      if (pc == anyChar) {
        t += sizeAt(t, tend, cp);
        p += sizeAt(p, pend, cp);
        continue;
      }
      const char* literal = p;
      if (pc == escape) ++literal;
      if (literal < pend && charEqual(t, tend, literal, pend, caseSensitive)) {
        t += sizeAt(t, tend, cp);
        p = literal + sizeAt(literal, pend, cp);
        continue;
      }
    }
    // Mismatch: retry from the latest %, one text character further on.
    if (savedText == nullptr) return false;
    savedText += sizeAt(savedText, tend, cp);
    if (savedText < tend) savedText = skipHopeless(savedText, tend, savedPattern, pend, escape,
                                                   caseSensitive);
    t = savedText;
    p = savedPattern;
  }
  while (p < pend && *p == anySeq) ++p;
  return p >= pend;
}

bool strLike(const char* text, const char* pattern, char anySeq, char anyChar, char escape,
             int16_t caseSensitive, int16_t trailingBlanksSignificant, vxCPType cp) {
  return strLike(text, strLen(text), pattern, strLen(pattern), anySeq, anyChar, escape,
                 caseSensitive, trailingBlanksSignificant, cp);
}
