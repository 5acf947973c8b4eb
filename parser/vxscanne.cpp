// The SQL scanner: token rules, the operator table and the token utilities.
#include "parser/vxscanne.h"

#include <emmintrin.h>
#include <unicode/uchar.h>

#include <cstring>
#include <cwctype>
#include <initializer_list>

#include "containers/vxarray.h"
#include "foundation/vxdbcs.h"
#include "foundation/vxdbcs_internal.h"
#include "foundation/vxstr.h"

const OperatorInfo Operators[OperatorCount] = {
    {'?'},
    {','},
    {'('},
    {')'},
    {'.'},
    {'='},
    {'=' * 256 + '='},
    {'=' * 256 + '*'},
    {'=' * 256 + '<'},
    {'=' * 256 + '>'},
    {'+'},
    {'+' * 256 + '+'},
    {'&'},
    {'&' * 256 + '&'},
    {'|'},
    {'|' * 256 + '|'},
    {'-'},
    {'-' * 256 + '-'},
    {'/'},
    {'/' * 256 + '/'},
    {'*'},
    {'*' * 256 + '*'},
    {'*' * 256 + '='},
    {'>'},
    {'>' * 256 + '='},
    {'<'},
    {'<' * 256 + '='},
    {'<' * 256 + '>'},
    {'!'},
    {'!' * 256 + '='},
    {'!' * 256 + '<'},
    {'!' * 256 + '>'},
    {';'},
    {':'},
    {'{'},
    {'}'},
    {'$'},
    {'#'},
    {'%'},
    {'@'},
    {'"'},
    {'\''},
    {'`'},
    {0},
};

namespace {

// Byte classes of the ASCII range, looked up once per byte on the hot path.
enum : uint8_t { kSpace = 1, kLetter = 2, kDigit = 4 };

struct AsciiClasses {
  uint8_t of[256];
  // For each byte, the index of its single-character entry in Operators,
  // or -1.
  int8_t operatorIndex[256];
  // For each ASCII first symbol, the set of second symbols that make a
  // two-character operator with it (all operators are ASCII).
  uint64_t pairSeconds[128][2];

  AsciiClasses() : of(), operatorIndex(), pairSeconds() {
    for (int c = 0; c < 256; ++c) operatorIndex[c] = -1;
    for (int c : {' ', '\t', '\n', '\v', '\f', '\r'}) of[c] = kSpace;
    for (int c = 'a'; c <= 'z'; ++c) of[c] = kLetter;
    for (int c = 'A'; c <= 'Z'; ++c) of[c] = kLetter;
    for (int c = '0'; c <= '9'; ++c) of[c] = kDigit;
    for (int i = 0; i < OperatorCount - 1; ++i) {
      const OperatorInfo& op = Operators[i];
      if (op.getOpLen() == 1) {
        operatorIndex[op.code] = int8_t(i);
      } else {
        unsigned char first = op.getFirstSymbol(), second = op.getSecondSymbol();
        assert(first < 0x80 && second < 0x80);
        pairSeconds[first][second >> 6] |= uint64_t(1) << (second & 63);
      }
    }
  }

  // Whether first followed by next is a two-character operator; first is
  // an operator's single character.
  bool makesPair(unsigned char first, unsigned char next) const {
    assert(first < 0x80);
    return next < 0x80 && ((pairSeconds[first][next >> 6] >> (next & 63)) & 1);
  }
};

const AsciiClasses kAscii;

unsigned char byteAt(const char* text, VXSIZE_T at) { return static_cast<unsigned char>(text[at]); }

// The bytes that end a list item (besides those below 33) and that never
// start one.
bool endsListItem(unsigned char c) { return c == ',' || c == '(' || c == ')' || c == '|'; }

// Decodes the UTF-8 character at p (at most n bytes) into a code point, or
// returns -1 for a malformed or cut-off sequence.
int32_t decodeUtf8(const unsigned char* p, VXSIZE_T n) {
  unsigned char b = p[0];
  int size = b < 0xC0 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
  if (size == 1 || VXSIZE_T(size) > n) return -1;
  int32_t cp = b & (0x7F >> size);
  for (int i = 1; i < size; ++i) {
    if ((p[i] & 0xC0) != 0x80) return -1;
    cp = (cp << 6) | (p[i] & 0x3F);
  }
  return cp;
}

}  // namespace

// ---------------------------------------------------------------- VxToken

VxToken::VxToken() : type_(VX_TOKEN_END), offset_(0) {}

void VxToken::incTokenSize(VXSIZE_T n) { length_ += n; }

// -------------------------------------------------------------- VxScanner

VxScanner::VxScanner() : VxScanner(VX_CP_LOCALE) {}

VxScanner::VxScanner(vxCPType cp) : text_(""), length_(0), codePage_(cp), editable_(nullptr), position_(0) {
  resetSettings();
}

VxScanner::VxScanner(const char* text, VXSIZE_T length, vxCPType cp) : VxScanner(cp) {
  setScanString(text, length, cp);
}

VxScanner::VxScanner(const char* text, vxCPType cp) : VxScanner(cp) {
  setScanString(text, strlen(text), cp);
}

VxScanner::VxScanner(const VxSubString& text) : VxScanner(text.getCodePage()) { setScanString(text); }

VxScanner::VxScanner(VxString& text) : VxScanner(text.getCodePage()) { setScanString(text); }

void VxScanner::resetSettings() {
  tablesReady_ = false;
  setDefaultQuotes();
  extraOpen_ = extraClose_ = 0;
  matchParentheses_ = matchBraces_ = comments_ = decimalNumbers_ = false;
  resetValidChars();
}

void VxScanner::setScanString(const char* text, VXSIZE_T length) {
  text_ = text ? text : "";
  length_ = text ? length : 0;
  editable_ = nullptr;
  position_ = 0;
}

void VxScanner::setScanString(const char* text, VXSIZE_T length, vxCPType cp) {
  codePage_ = cp;
  setScanString(text, length);
}

void VxScanner::setScanString(const char* text) { setScanString(text, text ? strlen(text) : 0); }

void VxScanner::setScanString(const VxSubString& text) {
  setScanString(text.asPascalStr(), text.getLength(), text.getCodePage());
}

void VxScanner::setScanString(VxString& text) {
  setScanString(static_cast<const VxSubString&>(text));
  editable_ = &text;
}

void VxScanner::setQuotes(char q1, char q2, char q3) {
  tablesReady_ = false;
  quotes_[0] = static_cast<unsigned char>(q1);
  quotes_[1] = static_cast<unsigned char>(q2);
  quotes_[2] = static_cast<unsigned char>(q3);
}

void VxScanner::setDefaultQuotes() { setQuotes('\'', '"', '`'); }

void VxScanner::setMatchingPair(char open, char close) {
  tablesReady_ = false;
  extraOpen_ = static_cast<unsigned char>(open);
  extraClose_ = static_cast<unsigned char>(close);
}

namespace {
void fillSet(uint64_t* bits, const char* chars) {
  bits[0] = bits[1] = bits[2] = bits[3] = 0;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(chars); p && *p; ++p)
    bits[*p >> 6] |= uint64_t(1) << (*p & 63);
}
}  // namespace

void VxScanner::setValidFirstChars(const char* chars) {
  fillSet(validFirst_.bits, chars);
  tablesReady_ = false;
}

void VxScanner::setValidMiddleChars(const char* chars) {
  fillSet(validMiddle_.bits, chars);
  tablesReady_ = false;
}

void VxScanner::setValidChars(const char* chars) {
  fillSet(validChars_.bits, chars);
  tablesReady_ = false;
}

void VxScanner::resetValidChars() {
  tablesReady_ = false;
  validFirst_.clear();
  validMiddle_.clear();
  validChars_.clear();
}

// Size of the character at `at`, never reaching past the end of the text
// (a cut-off multibyte character at the end counts as what is left). The
// text need not end with a NUL, so the locale is never asked about bytes
// beyond it.
VXSIZE_T VxScanner::charSize(VXSIZE_T at) const {
  unsigned char c = byteAt(text_, at);
  if (c < 0x80) return 1;
  VXSIZE_T left = length_ - at;
  VXSIZE_T size = vxCharSizeWithin(text_ + at, left, codePage_);
  return size < left ? size : left;
}

bool VxScanner::isSpaceAt(VXSIZE_T at) const {
  unsigned char c = byteAt(text_, at);
  if (c < 0x80) return kAscii.of[c] & kSpace;
  return codePage_ != VX_CP_UTF8 && vxIsWhiteSpaceWithin(text_ + at, length_ - at);
}

// A letter of the scanner's code page. ASCII letters come from a table; a
// UTF-8 character is decoded and asked of the Unicode character database,
// any other multibyte character of the process locale's library.
bool VxScanner::isLetterAt(VXSIZE_T at) const {
  unsigned char c = byteAt(text_, at);
  if (c < 0x80) return kAscii.of[c] & kLetter;
  if (codePage_ == VX_CP_UTF8) {
    int32_t cp = decodeUtf8(reinterpret_cast<const unsigned char*>(text_ + at), length_ - at);
    return cp >= 0 && u_isalpha(cp);
  }
  // A character cut off by the end of the text is no letter.
  wchar_t wc;
  VXSIZE_T size;
  return vxDecodeChar(text_ + at, length_ - at, &wc, &size) && iswalpha(static_cast<wint_t>(wc)) != 0;
}

bool VxScanner::isQuote(unsigned char c) const {
  return c != 0 && (c == quotes_[0] || c == quotes_[1] || c == quotes_[2]);
}

VXSIZE_T VxScanner::skipSpace(VXSIZE_T at) const {
  while (at < length_ && !validFirst_.has(byteAt(text_, at)) && isSpaceAt(at)) at += charSize(at);
  return at;
}

// Reads a quoted literal whose opening quote is at `at`; returns the offset
// after it. A doubled quote stands for itself; a quote byte that is part of
// a multibyte character does not count. *terminated tells whether the
// closing quote was found before the end of the text.
VXSIZE_T VxScanner::skipQuoted(VXSIZE_T at, bool* terminated) const {
  unsigned char quote = byteAt(text_, at);
  VXSIZE_T p = at + 1;
  while (p < length_) {
    unsigned char c = byteAt(text_, p);
    if (c >= 0x80) {
      p += charSize(p);
      continue;
    }
    if (c == quote) {
      if (p + 1 < length_ && byteAt(text_, p + 1) == quote) {
        p += 2;
        continue;
      }
      *terminated = true;
      return p + 1;
    }
    ++p;
  }
  *terminated = false;
  return length_;
}

// The operator table holds every single character followed by its
// two-character forms, and an operator's code is its characters' value:
// a character with an entry of its own is an operator, and with the next
// byte a two-character one when that pair has an entry.
int32_t VxScanner::readOperator(VxToken& token, VXSIZE_T start) {
  unsigned char c = byteAt(text_, start);
  if (kAscii.operatorIndex[c] < 0) return finish(token, start, start + charSize(start), VX_TOKEN_CHAR);
  if (start + 1 < length_) {
    unsigned char next = byteAt(text_, start + 1);
    if (kAscii.makesPair(c, next)) return finish(token, start, start + 2, c * 256 + next);
  }
  return finish(token, start, start + 1, c);
}

int32_t VxScanner::getQuotedToken(VxToken& token) {
  VXSIZE_T start = position_;
  if (start >= length_) return finish(token, length_, length_, VX_TOKEN_END);
  bool terminated;
  VXSIZE_T end = skipQuoted(start, &terminated);
  return finish(token, start, end, terminated ? VX_TOKEN_QUOTED : VX_TOKEN_UNTERMINATED);
}

// A bracketed group: the opening character adds one to a nesting count and
// the closing character takes one away; the group ends when the count is
// back at zero. Quoted literals inside are skipped whole, so brackets in
// them do not count.
int32_t VxScanner::getMatchingSymbols(VxToken& token, char open, char close) {
  VXSIZE_T start = position_;
  if (start >= length_) return finish(token, length_, length_, VX_TOKEN_END);
  unsigned char o = static_cast<unsigned char>(open), cl = static_cast<unsigned char>(close);
  VXSIZE_T depth = 0;
  VXSIZE_T p = start;
  while (p < length_) {
    unsigned char c = byteAt(text_, p);
    VXSIZE_T size = charSize(p);
    if (size == 1 && isQuote(c) && p != start) {
      bool terminated;
      p = skipQuoted(p, &terminated);
      continue;
    }
    if (size == 1 && c == o) {
      ++depth;
    } else if (size == 1 && c == cl) {
      if (--depth == 0) return finish(token, start, p + 1, VX_TOKEN_QUOTED);
    }
    p += size;
  }
  return finish(token, start, length_, VX_TOKEN_UNTERMINATED);
}

int32_t VxScanner::getComment(VxToken& token) {
  VXSIZE_T start = position_;
  if (start >= length_) return finish(token, length_, length_, VX_TOKEN_END);
  if (byteAt(text_, start) == '-') {
    const void* lf = memchr(text_ + start, '\n', length_ - start);
    VXSIZE_T end = lf ? VXSIZE_T(static_cast<const char*>(lf) - text_) : length_;
    return finish(token, start, end, VX_TOKEN_COMMENT);
  }
  for (VXSIZE_T p = start + 2; p + 1 < length_; ++p)
    if (text_[p] == '*' && text_[p + 1] == '/') return finish(token, start, p + 2, VX_TOKEN_COMMENT);
  return finish(token, start, length_, VX_TOKEN_COMMENT);
}

// getToken: the rules are tried in this order at the first character c
// that is not white space (valid-first characters are never skipped):
//   quote                     -> quoted literal (3, or 4 when unterminated)
//   opening bracket, when its matching is on -> bracketed group (3 or 4)
//   "--" or "/*", when comments are on       -> comment (11)
//   mode 1: anything but , ( ) |             -> list item (6) up to a byte
//                                               below 33 or one of those
//   mode 2: letter or #                      -> name (7) over letters,
//           digits, # and $, and the valid-middle set (or, with a valid-
//           characters set, everything outside it)
//   valid-characters set non-empty, c not in it -> word (2) up to a member
//   letter or valid-first character          -> word (2) over letters,
//                                               digits and valid-middle
//   digit (or point + digit with decimals on)-> number (5)
//   "(+)"                                    -> outer-join mark (12)
//   operator table                           -> the operator's code
//   anything else                            -> single character (10)
// The fast path's tables. A byte gets a fast class only when the general
// rules could not treat it differently: bracket openers with matching on,
// the valid-first set and every byte from 0x80 up go the general way, and
// with a valid-characters set every byte does.
void VxScanner::buildTables() {
  bool delimited = !validChars_.empty();
  plainWords_ = true;
  for (int c = 0; c < 256; ++c) {
    unsigned char b = static_cast<unsigned char>(c);
    uint8_t cls = kStartGeneral;
    if (c < 0x80) {
      if (kAscii.of[c] & kSpace)
        cls = kStartSpace;
      else if (kAscii.of[c] & kLetter)
        cls = kStartWord;
      else if (kAscii.of[c] & kDigit)
        cls = kStartDigit;
      else if (isQuote(b))
        cls = kStartQuote;
      else if (c == '(')
        cls = matchParentheses_ ? kStartGeneral : kStartParenthesis;
      else if (c == '.')
        cls = decimalNumbers_ ? kStartPoint : kStartOperator;
      else if (kAscii.operatorIndex[c] >= 0)
        cls = comments_ && (c == '-' || c == '/') ? kStartCommentOrOperator : kStartOperator;
      else
        cls = kStartChar;
    }
    if (delimited || validFirst_.has(b) || (c == '{' && matchBraces_) || (extraOpen_ != 0 && b == extraOpen_))
      cls = kStartGeneral;
    startClass_[c] = cls;
    continuesWord_[c] = c < 0x80 && ((kAscii.of[c] & (kLetter | kDigit)) || validMiddle_.has(b));
    plainWords_ = plainWords_ && continuesWord_[c] == (c < 0x80 && (kAscii.of[c] & (kLetter | kDigit)));
  }
  tablesReady_ = true;
}

namespace {
// Whether each of the 16 bytes at p is an ASCII digit (kDigit) or an
// ASCII letter or digit (kLetter | kDigit), as the bits of a mask. A byte
// is moved so that its range starts at -128 and is then compared as
// signed, which tests both ends of the range at once; or-ing 0x20 folds
// the capital letters onto the small ones.
template <uint8_t kClasses>
unsigned runMask(const unsigned char* p) {
  __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  __m128i in = _mm_cmplt_epi8(_mm_add_epi8(bytes, _mm_set1_epi8(char(0x80 - '0'))), _mm_set1_epi8(char(0x80 + 10)));
  if (kClasses & kLetter) {
    __m128i folded = _mm_or_si128(bytes, _mm_set1_epi8(0x20));
    in = _mm_or_si128(in, _mm_cmplt_epi8(_mm_add_epi8(folded, _mm_set1_epi8(char(0x80 - 'a'))),
                                         _mm_set1_epi8(char(0x80 + 26))));
  }
  return unsigned(_mm_movemask_epi8(in));
}

// Whether each of the 16 bytes at p is the quote or a byte from 0x80 up.
unsigned quoteOrHighMask(const unsigned char* p, unsigned char quote) {
  __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  return unsigned(_mm_movemask_epi8(_mm_or_si128(bytes, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(char(quote))))));
}

// The end of the run of bytes of the given ASCII classes that starts at
// `at`: sixteen bytes at a time while sixteen bytes are left (so nothing
// past `end` is read), then one at a time.
template <uint8_t kClasses>
VXSIZE_T runEnd(const unsigned char* text, VXSIZE_T at, VXSIZE_T end) {
  while (end - at >= 16) {
    unsigned stops = ~runMask<kClasses>(text + at) & 0xFFFF;
    if (stops != 0) return at + VXSIZE_T(__builtin_ctz(stops));
    at += 16;
  }
  while (at < end && (kAscii.of[text[at]] & kClasses)) ++at;
  return at;
}
}  // namespace

// Plain SQL in the default mode takes the fast path: blanks, ASCII words,
// numbers, quoted literals, comments, "(" and plain operators are read
// straight from the tables with one test per byte; anything else (a word
// or literal that runs into a byte from 0x80 up, a byte of the general
// class) is handed to the general rules from the token's start, which give
// the same answer for the bytes the fast path would have read.
int32_t VxScanner::getToken(VxToken& token, int mode) {
  if (mode != kNormal) return getTokenGeneral(token, mode);
  // Every call below is the last step of its path, so the hot paths need
  // no saved registers.
  if (!tablesReady_) return buildTablesAndGetToken(token);
  const unsigned char* text = reinterpret_cast<const unsigned char*>(text_);
  const VXSIZE_T end = length_;
  VXSIZE_T p = position_;
  uint8_t startClass = kStartSpace;
  while (p < end && (startClass = startClass_[text[p]]) == kStartSpace) ++p;
  if (p >= end) return finish(token, end, end, VX_TOKEN_END);
  position_ = p;
  VXSIZE_T q = p + 1;
  switch (startClass) {
    case kStartWord:
      if (plainWords_)
        q = runEnd<kLetter | kDigit>(text, q, end);
      else
        while (q < end && continuesWord_[text[q]]) ++q;
      if (q < end && text[q] >= 0x80) return getTokenGeneral(token, kNormal);
      return finish(token, p, q, VX_TOKEN_WORD);
    case kStartPoint:
      if (q >= end || !(kAscii.of[text[q]] & kDigit)) break;
      q = runEnd<kDigit>(text, q, end);
      return finish(token, p, q, VX_TOKEN_NUMBER);
    case kStartDigit:
      q = runEnd<kDigit>(text, q, end);
      if (decimalNumbers_ && q < end && text[q] == '.') q = runEnd<kDigit>(text, q + 1, end);
      return finish(token, p, q, VX_TOKEN_NUMBER);
    case kStartQuote:
      return readAsciiQuoted(token, p);
    case kStartParenthesis:
      if (p + 2 < end && text[p + 1] == '+' && text[p + 2] == ')') return finish(token, p, p + 3, VX_TOKEN_OUTER_JOIN);
      break;
    case kStartCommentOrOperator:
      if (q < end && text[q] == (text[p] == '-' ? '-' : '*')) return getComment(token);
      break;
    case kStartOperator:
      break;
    case kStartChar:
      return finish(token, p, q, VX_TOKEN_CHAR);
    default:
      return getTokenGeneral(token, kNormal);
  }
  // An operator: the rules of readOperator, kept in line here because
  // commas, points, brackets and comparisons are among the commonest tokens.
  unsigned char c = text[p];
  if (q < end && kAscii.makesPair(c, text[q])) return finish(token, p, q + 1, c * 256 + text[q]);
  return finish(token, p, q, c);
}

// The first getToken after a setting changed.
int32_t VxScanner::buildTablesAndGetToken(VxToken& token) {
  buildTables();
  return getToken(token, kNormal);
}

// A quoted literal of ASCII bytes, its opening quote at `start`: the rules
// of skipQuoted, looking for the next quote sixteen bytes at a time while
// sixteen are left. At the first byte from 0x80 up the literal is read
// again by skipQuoted, which knows multibyte characters.
int32_t VxScanner::readAsciiQuoted(VxToken& token, VXSIZE_T start) {
  const unsigned char* text = reinterpret_cast<const unsigned char*>(text_);
  const unsigned char quote = text[start];
  VXSIZE_T p = start + 1;
  for (;;) {
    for (unsigned stops = 0; stops == 0 && length_ - p >= 16; p += stops ? __builtin_ctz(stops) : 16)
      stops = quoteOrHighMask(text + p, quote);
    while (p < length_ && text[p] != quote && text[p] < 0x80) ++p;
    if (p >= length_) return finish(token, start, length_, VX_TOKEN_UNTERMINATED);
    if (text[p] != quote) return getQuotedToken(token);
    if (p + 1 < length_ && text[p + 1] == quote) {
      p += 2;
      continue;
    }
    return finish(token, start, p + 1, VX_TOKEN_QUOTED);
  }
}

// The general rules, in the order of the table above getToken.
int32_t VxScanner::getTokenGeneral(VxToken& token, int mode) {
  VXSIZE_T start = skipSpace(position_);
  if (start >= length_) return finish(token, length_, length_, VX_TOKEN_END);
  position_ = start;
  unsigned char c = byteAt(text_, start);
  bool single = c < 0x80 || charSize(start) == 1;

  if (single && isQuote(c)) return getQuotedToken(token);
  if (single && ((c == '(' && matchParentheses_) || (c == '{' && matchBraces_)))
    return getMatchingSymbols(token, char(c), c == '(' ? ')' : '}');
  if (single && extraOpen_ != 0 && c == extraOpen_) return getMatchingSymbols(token, char(c), char(extraClose_));
  if (opensComment(start)) return getComment(token);

  if (mode == kListItems && !endsListItem(c))
    return finish(token, start, listItemEnd(start), VX_TOKEN_LIST_ITEM);
  if (mode == kNames && (c == '#' || isLetterAt(start)))
    return finish(token, start, nameEnd(start), VX_TOKEN_NAME);
  if (!validChars_.empty() && !validChars_.has(c))
    return finish(token, start, delimitedWordEnd(start), VX_TOKEN_WORD);
  if (validFirst_.has(c) || isLetterAt(start)) return finish(token, start, wordEnd(start), VX_TOKEN_WORD);

  bool pointThenDigit = c == '.' && decimalNumbers_ && start + 1 < length_ &&
                        (kAscii.of[byteAt(text_, start + 1)] & kDigit);
  if ((kAscii.of[c] & kDigit) || pointThenDigit)
    return finish(token, start, numberEnd(start, pointThenDigit), VX_TOKEN_NUMBER);

  if (c == '(' && start + 2 < length_ && text_[start + 1] == '+' && text_[start + 2] == ')')
    return finish(token, start, start + 3, VX_TOKEN_OUTER_JOIN);

  return readOperator(token, start);
}

// "--" or "/*" at `at`, with comments on.
bool VxScanner::opensComment(VXSIZE_T at) const {
  if (!comments_ || at + 1 >= length_) return false;
  unsigned char c = byteAt(text_, at), next = byteAt(text_, at + 1);
  return (c == '-' && next == '-') || (c == '/' && next == '*');
}

// A list item runs up to a byte below 33 or one of , ( ) |. Its first
// character always belongs to it, even a control character below 33, so
// that the scan moves on.
VXSIZE_T VxScanner::listItemEnd(VXSIZE_T start) const {
  VXSIZE_T p = start + charSize(start);
  while (p < length_) {
    unsigned char b = byteAt(text_, p);
    if (b < 33 || endsListItem(b)) break;
    p += charSize(p);
  }
  return p;
}

// A name continues over letters, digits, # and $, and the valid-middle
// set; with a valid-characters set, over everything outside that set
// instead of the valid-middle one.
VXSIZE_T VxScanner::nameEnd(VXSIZE_T start) const {
  bool delimited = !validChars_.empty();
  VXSIZE_T p = start + charSize(start);
  while (p < length_) {
    unsigned char b = byteAt(text_, p);
    bool more = (b < 0x80 && (kAscii.of[b] & (kLetter | kDigit))) || b == '#' || b == '$' ||
                (delimited ? !validChars_.has(b) : validMiddle_.has(b)) || (b >= 0x80 && isLetterAt(p));
    if (!more) break;
    p += charSize(p);
  }
  return p;
}

// With a valid-characters set, a word runs up to the next member.
VXSIZE_T VxScanner::delimitedWordEnd(VXSIZE_T start) const {
  VXSIZE_T p = start + charSize(start);
  while (p < length_ && !validChars_.has(byteAt(text_, p))) p += charSize(p);
  return p;
}

// A word continues over letters, digits and the valid-middle set.
VXSIZE_T VxScanner::wordEnd(VXSIZE_T start) const {
  VXSIZE_T p = start + charSize(start);
  while (p < length_) {
    unsigned char b = byteAt(text_, p);
    if (b < 0x80) {
      if (!(kAscii.of[b] & (kLetter | kDigit)) && !validMiddle_.has(b)) break;
      ++p;
    } else {
      if (!isLetterAt(p) && !validMiddle_.has(b)) break;
      p += charSize(p);
    }
  }
  return p;
}

// A number continues over digits and, with decimal numbers on, one point;
// a number that starts with its point takes no second one.
VXSIZE_T VxScanner::numberEnd(VXSIZE_T start, bool startsWithPoint) const {
  bool pointTaken = startsWithPoint;
  VXSIZE_T p = start + 1;
  while (p < length_) {
    unsigned char b = byteAt(text_, p);
    if (kAscii.of[b] & kDigit) {
      ++p;
    } else if (b == '.' && decimalNumbers_ && !pointTaken) {
      pointTaken = true;
      ++p;
    } else {
      break;
    }
  }
  return p;
}

int32_t VxScanner::getToken(VxToken& token, VXSIZE_T start, VXSIZE_T length) {
  if (start > length_) start = length_;
  if (length > length_ - start) length = length_ - start;
  return finish(token, start, start + length, VX_TOKEN_WORD);
}

void VxScanner::unGetToken(const VxToken& token) {
  position_ = token.getBegOfToken() <= length_ ? token.getBegOfToken() : length_;
}

// The end of a braced piece whose "{" is at `at`: just past the matching
// "}" ("}}" inside stands for one "}"), provided nothing but white space
// follows it before the separator or the end of the text; 0 otherwise.
VXSIZE_T VxScanner::bracedEnd(VXSIZE_T at, unsigned char separator) const {
  VXSIZE_T p = at + 1;
  while (p < length_) {
    VXSIZE_T size = charSize(p);
    if (size == 1 && byteAt(text_, p) == '}') {
      if (p + 1 < length_ && byteAt(text_, p + 1) == '}') {
        p += 2;
        continue;
      }
      VXSIZE_T after = skipSpace(p + 1);
      bool atSeparator = after < length_ && charSize(after) == 1 && byteAt(text_, after) == separator;
      return after >= length_ || atSeparator ? p + 1 : 0;
    }
    p += size;
  }
  return 0;
}

int32_t VxScanner::getDelimitedToken(VxToken& token, char separator) {
  VXSIZE_T start = skipSpace(position_);
  if (start >= length_) return finish(token, length_, length_, VX_TOKEN_END);
  unsigned char sep = static_cast<unsigned char>(separator);
  if (byteAt(text_, start) == '{' && charSize(start) == 1) {
    if (VXSIZE_T end = bracedEnd(start, sep)) {
      int32_t type = finish(token, start, end, VX_TOKEN_QUOTED);
      VXSIZE_T after = skipSpace(end);
      position_ = after < length_ ? after + 1 : length_;
      return type;
    }
  }
  VXSIZE_T p = start;
  VXSIZE_T end = start;  // just past the last character that is not white space
  while (p < length_) {
    unsigned char c = byteAt(text_, p);
    VXSIZE_T size = charSize(p);
    if (size == 1 && c == sep) break;
    if (size == 1 && isQuote(c)) {
      bool terminated;
      p = skipQuoted(p, &terminated);
      end = p;
      continue;
    }
    if (!isSpaceAt(p)) end = p + size;
    p += size;
  }
  int32_t type = finish(token, start, end, VX_TOKEN_WORD);
  position_ = p < length_ ? p + 1 : length_;
  return type;
}

unsigned char VxScanner::getSymbol() {
  if (position_ >= length_) return 0;
  unsigned char c = byteAt(text_, position_);
  position_ += charSize(position_);
  return c;
}

// Stepping back follows vxCharPrev, which outside UTF-8 tests the byte AT
// the cursor for a lead byte. At or next to the end of the text that byte
// (or the one after it) lies beyond the text, which need not end with a
// NUL: there it is no lead byte, and the step is one byte.
void VxScanner::unGetSymbol() {
  if (position_ == 0) return;
  if (codePage_ != VX_CP_UTF8 && !vxLeadByteWithin(text_ + position_, length_ - position_)) {
    --position_;
    return;
  }
  position_ = vxCharPrev(text_, position_, codePage_);
}

unsigned char VxScanner::lookAhead(VXSIZE_T distance) const {
  VXSIZE_T p = position_;
  for (VXSIZE_T i = 0; i < distance && p < length_; ++i) p += charSize(p);
  return p < length_ ? byteAt(text_, p) : 0;
}

unsigned VxScanner::splitList(VxArray& array, char separator, bool copy) {
  VxToken piece;
  while (getDelimitedToken(piece, separator) != VX_TOKEN_END) {
    VxSubString* item;
    if (copy) {
      VxString* owned = new VxString(codePage_);
      if (owned && owned->initialize(piece) != 0) {
        delete owned;
        owned = nullptr;
      }
      item = owned;
    } else {
      item = new VxSubString(piece.asPascalStr(), piece.getLength(), codePage_);
    }
    if (!item) return 1;
    if (array.add(item) != 0) {
      delete item;
      return 1;
    }
  }
  return 0;
}

unsigned VxScanner::parseList(VxArray& array, char separator) { return splitList(array, separator, false); }

unsigned VxScanner::parseListVxString(VxArray& array, char separator) {
  return splitList(array, separator, true);
}

// Replaces oldLength bytes at `at` of the scanned VxString and re-points the
// scanner at the string's (possibly moved) buffer; the cursor follows the
// text that was after the edited stretch.
unsigned VxScanner::editScanned(VXSIZE_T at, VXSIZE_T oldLength, const char* newText, VXSIZE_T newLength) {
  if (!editable_ || at > length_ || oldLength > length_ - at) return 1;
  if (newLength == 0 && oldLength == 0) return 0;
  // changeBytes deletes for a null replacement and measures a non-null one
  // of length 0 itself: give it exactly what is meant.
  const char* replacement = newLength == 0 ? nullptr : newText;
  if (editable_->changeBytes(at, oldLength, replacement, newLength) != 0) return 1;
  if (position_ >= at + oldLength)
    position_ = position_ - oldLength + newLength;
  else if (position_ > at)
    position_ = at + newLength;
  text_ = editable_->asPascalStr();
  length_ = editable_->getLength();
  return 0;
}

unsigned VxScanner::changeToken(VxToken& token, const char* newText, VXSIZE_T newLength) {
  VXSIZE_T at = token.getBegOfToken();
  if (editScanned(at, token.getLength(), newText, newLength) != 0) return 1;
  token.setToken(text_, at, newLength, codePage_, token.getTokenType());
  return 0;
}

unsigned VxScanner::insertToken(VxToken& token, const char* newText, VXSIZE_T newLength) {
  VXSIZE_T at = token.getBegOfToken();
  if (editScanned(at, 0, newText, newLength) != 0) return 1;
  token.setToken(text_, at, newLength, codePage_, VX_TOKEN_WORD);
  return 0;
}

bool VxScanner::isEqual(const VxToken& token, const char* text) { return token.isEqual(text); }

bool VxScanner::isEqualCi(const VxToken& token, const char* text) { return token.isEqualCi(text); }

uint16_t VxScanner::isInSet(const VxToken& token, const char* const* list, uint16_t count) {
  return token.indexInSet(list, count);
}

uint16_t VxScanner::isInSetCi(const VxToken& token, const char* const* list, uint16_t count) {
  return token.indexInSetCi(list, count);
}

namespace {
// Walks the blank-separated words of text and tells whether one of them
// equals the token (exactly or ignoring case).
bool tokenIsOneOfWords(const VxToken& token, const char* text, bool ignoreCase) {
  const char* p = text;
  while (p && *p) {
    while (*p == ' ') ++p;
    const char* word = p;
    while (*p && *p != ' ') ++p;
    VXSIZE_T n = VXSIZE_T(p - word);
    if (n == 0) break;
    if (ignoreCase ? token.isEqualCi(word, n) : token.isEqual(word, n)) return true;
  }
  return false;
}
}  // namespace

bool VxScanner::isTokenWithin(const VxToken& token, const char* text) {
  return tokenIsOneOfWords(token, text, false);
}

bool VxScanner::isTokenWithinCi(const VxToken& token, const char* text) {
  return tokenIsOneOfWords(token, text, true);
}
