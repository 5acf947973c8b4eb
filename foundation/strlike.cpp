// The SQL LIKE matcher.
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"

namespace {

// Size of the character at p in a counted string ending at end. A UTF-8
// character cut short by the end counts as the bytes that are left, so a
// step never takes a position past the end.
inline VXSIZE_T sizeAt(const char* p, const char* end, vxCPType cp) {
  VXSIZE_T left = static_cast<VXSIZE_T>(end - p);
  VXSIZE_T size = vxCharSizeWithin(p, left, cp);
  return size < left ? size : left;
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

// Two ASCII bytes equal, or (ignoring case) the two cases of one letter,
// as strUpper leaves one-byte strings: bytes that differ only in 0x20 are
// the two cases of a letter when one of them is a small letter.
template <bool kFoldCase>
inline bool asciiEqual(unsigned char a, unsigned char b) {
  unsigned diff = a ^ b;
  return diff == 0 || (kFoldCase && diff == 0x20 && unsigned((a | 0x20) - 'a') < 26);
}

// What the text must hold at a candidate position after a '%': the first
// pattern character in both cases and, when the pattern character after it
// is a plain ASCII byte too, that one in both cases.
struct Candidate {
  unsigned char first, firstOther;
  unsigned char second, secondOther;
  bool hasSecond;
};

// First position from t on that could begin a match: its byte is first or
// firstOther and, when there is a second, the next byte is second or
// secondOther; or either byte is 0x80 or above (left to the general step).
// tend when there is none. Sixteen positions at a time with SSE2.
inline const char* findCandidate(const char* t, const char* tend, const Candidate& c) {
#if defined(__SSE2__)
  const __m128i f = _mm_set1_epi8(static_cast<char>(c.first));
  const __m128i fo = _mm_set1_epi8(static_cast<char>(c.firstOther));
  const __m128i s = _mm_set1_epi8(static_cast<char>(c.second));
  const __m128i so = _mm_set1_epi8(static_cast<char>(c.secondOther));
  const __m128i all = _mm_set1_epi8(-1);
  while (tend - t >= 17) {
    __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(t));
    __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(t + 1));
    __m128i firstHit = _mm_or_si128(_mm_cmpeq_epi8(x, f), _mm_cmpeq_epi8(x, fo));
    __m128i secondHit =
        c.hasSecond ? _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(y, s), _mm_cmpeq_epi8(y, so)), y)
                    : all;
    __m128i stop = _mm_or_si128(_mm_and_si128(firstHit, secondHit), x);
    int mask = _mm_movemask_epi8(stop);
    if (mask != 0) return t + __builtin_ctz(static_cast<unsigned>(mask));
    t += 16;
  }
#endif
  for (; t < tend; ++t) {
    unsigned char b = static_cast<unsigned char>(*t);
    if (b >= 0x80) break;
    if (b != c.first && b != c.firstOther) continue;
    if (!c.hasSecond || t + 1 >= tend) break;
    unsigned char n = static_cast<unsigned char>(t[1]);
    if (n >= 0x80 || n == c.second || n == c.secondOther) break;
  }
  return t;
}

// After a '%' the matcher tries each text position in turn against the
// pattern from p on. When the pattern starts with plain ASCII bytes, the
// positions that cannot match them are skipped here in one search: an ASCII
// text byte is a whole character in every code-page kind and equals an
// ASCII pattern byte only as itself or, ignoring case, as its other case.
// The search stops at the first position that could match or whose bytes
// are not ASCII, leaving the general step to decide there. Returns the new
// position.
inline const char* skipHopeless(const char* t, const char* tend, const char* p,
                                const char* pend, char anySeq, char anyChar, char escape,
                                int16_t caseSensitive) {
  if (*p == escape) {
    ++p;
    if (p >= pend) return t;
  }
  Candidate c;
  c.first = static_cast<unsigned char>(*p);
  if (c.first >= 0x80) return t;
  c.firstOther = caseSensitive == 0 ? otherAsciiCase(c.first) : c.first;
  const char* q = p + 1;
  c.hasSecond = q < pend && *q != anySeq && *q != anyChar && *q != escape &&
                static_cast<unsigned char>(*q) < 0x80;
  c.second = c.hasSecond ? static_cast<unsigned char>(*q) : 0;
  c.secondOther = caseSensitive == 0 ? otherAsciiCase(c.second) : c.second;
  return findCandidate(t, tend, c);
}

// LIKE matching, compiled once for each case mode. The rules, with %
// standing for anySeq, _ for anyChar and \ for escape (each recognised as a
// single pattern byte):
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
//
// Speed on ASCII: a pair of plain ASCII bytes is compared directly (such a
// byte is a whole character in every kind), and after a % the positions
// that cannot begin a match are skipped in bulk (skipHopeless). Both are
// shortcuts of the rules above, not changes to them.
template <bool kFoldCase>
bool matchLike(const char* t, const char* tend, const char* p, const char* pend,
               char anySeq, char anyChar, char escape, vxCPType cp) {
  const int16_t kCaseFlag = kFoldCase ? 0 : 1;
  const char* savedText = nullptr;
  const char* savedPattern = nullptr;

  while (t < tend) {
    if (p < pend) {
      char pc = *p;
      unsigned char tc = static_cast<unsigned char>(*t);
      unsigned char uc = static_cast<unsigned char>(pc);
      bool special = pc == anySeq || pc == anyChar || pc == escape;
      if (!special && (tc | uc) < 0x80) {
        // Both plain ASCII: single-byte characters in every kind.
        if (asciiEqual<kFoldCase>(tc, uc)) {
          ++t;
          ++p;
          continue;
        }
      } else if (pc == anySeq) {
        do {
          while (p < pend && *p == anySeq) ++p;
          while (p < pend && *p == anyChar && t < tend) {
            ++p;
            t += sizeAt(t, tend, cp);
          }
        } while (p < pend && *p == anySeq);
        if (p >= pend) return true;
        if (t < tend) t = skipHopeless(t, tend, p, pend, anySeq, anyChar, escape, kCaseFlag);
        savedText = t;
        savedPattern = p;
        continue;
      } else if (pc == anyChar) {
        t += tc < 0x80 ? 1 : sizeAt(t, tend, cp);
        p += uc < 0x80 ? 1 : sizeAt(p, pend, cp);
        continue;
      } else {
        const char* literal = p;
        if (pc == escape) ++literal;
        if (literal < pend && charEqual(t, tend, literal, pend, kCaseFlag)) {
          t += sizeAt(t, tend, cp);
          p = literal + sizeAt(literal, pend, cp);
          continue;
        }
      }
    }
    // Mismatch: retry from the latest %, one text character further on.
    if (savedText == nullptr) return false;
    savedText += sizeAt(savedText, tend, cp);
    if (savedText < tend) {
      savedText = skipHopeless(savedText, tend, savedPattern, pend, anySeq, anyChar, escape,
                               kCaseFlag);
    }
    t = savedText;
    p = savedPattern;
  }
  while (p < pend && *p == anySeq) ++p;
  return p >= pend;
}

// Whether the pattern from p on is nothing but anySeq characters.
inline bool onlyAnySeq(const char* p, const char* pend, char anySeq) {
  while (p < pend && *p == anySeq) ++p;
  return p >= pend;
}

// Most patterns start with plain ASCII characters and _, and many are no
// more than that or end in a single %: "ORD-____", "cust%". That head is
// matched here against plain ASCII text in a loop of its own, and the
// answer is often known at its end without the general matcher: a
// mismatch before any % is final, a pattern used up matches a text used
// up, a text used up matches a pattern rest of only %, and so does any
// text at a first % that ends the pattern. Otherwise matchLike goes on from
// where the head stopped; before the first % it holds no saved position,
// so going on is the same as starting over.
template <bool kFoldCase>
bool matchLikeHead(const char* text, VXSIZE_T textLength, const char* pattern, VXSIZE_T patternLength,
                   char anySeq, char anyChar, char escape, vxCPType cp) {
  const VXSIZE_T n = textLength < patternLength ? textLength : patternLength;
  VXSIZE_T i = 0;
  for (; i < n; ++i) {
    unsigned char pc = static_cast<unsigned char>(pattern[i]);
    unsigned char tc = static_cast<unsigned char>(text[i]);
    if ((pc | tc) >= 0x80 || pc == static_cast<unsigned char>(anySeq) || pc == static_cast<unsigned char>(escape))
      break;
    if (pc == static_cast<unsigned char>(anyChar)) continue;
    if (!asciiEqual<kFoldCase>(tc, pc)) return false;
  }
  const char* pend = pattern + patternLength;
  if (i == patternLength) return i == textLength;
  if (i == textLength) return onlyAnySeq(pattern + i, pend, anySeq);
  if (pattern[i] == anySeq && onlyAnySeq(pattern + i + 1, pend, anySeq)) return true;
  return matchLike<kFoldCase>(text + i, text + textLength, pattern + i, pend, anySeq, anyChar, escape, cp);
}

}  // namespace

// Trailing white space is cut first when it is not significant; the
// matching itself is matchLikeHead and matchLike above.
bool strLike(const char* text, VXSIZE_T textLength, const char* pattern, VXSIZE_T patternLength,
             char anySeq, char anyChar, char escape, int16_t caseSensitive,
             int16_t trailingBlanksSignificant, vxCPType cp) {
  if (trailingBlanksSignificant == 0) {
    textLength = strRightTrim(text, textLength, cp);
    patternLength = strRightTrim(pattern, patternLength, cp);
  }
  if (caseSensitive == 0) {
    return matchLikeHead<true>(text, textLength, pattern, patternLength, anySeq, anyChar, escape, cp);
  }
  return matchLikeHead<false>(text, textLength, pattern, patternLength, anySeq, anyChar, escape, cp);
}

bool strLike(const char* text, const char* pattern, char anySeq, char anyChar, char escape,
             int16_t caseSensitive, int16_t trailingBlanksSignificant, vxCPType cp) {
  return strLike(text, strLen(text), pattern, strLen(pattern), anySeq, anyChar, escape,
                 caseSensitive, trailingBlanksSignificant, cp);
}
