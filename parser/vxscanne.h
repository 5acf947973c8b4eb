// VxScanner: cuts SQL-like text into classified tokens.
//
// A VxScanner walks a byte string in a given code-page kind and hands out
// VxToken views into it, each with a class code (VxTokenClass below, or an
// operator code) and the offset of its first byte. The scanner never copies
// the text: tokens stay valid as long as the scanned bytes do.
//
// Ownership: the scanner owns nothing. A scanner built over a VxString may
// edit that string (changeToken, insertToken); over any other text the
// editing calls fail.
//
// Thread-safety: none; a scanner is used by one thread at a time.
//
// Failure: getToken never fails (an unterminated literal is class 4);
// the list and editing calls return 1 when memory runs out or when the
// scanned text is not an editable VxString, else 0. No error records are
// posted.
#ifndef VX_PARSER_VXSCANNE_H_
#define VX_PARSER_VXSCANNE_H_

#include <cassert>
#include <cstdint>

#include "containers/vxstring.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

class VxArray;

// Class codes that getToken reports. An operator is reported by its own
// code instead: a single character's value, or first * 256 + second for a
// two-character operator (so `<>` is 60 * 256 + 62).
enum VxTokenClass {
  VX_TOKEN_END = 1,            // empty token at the end of the text
  VX_TOKEN_WORD = 2,           // letters, digits and the valid-middle set
  VX_TOKEN_QUOTED = 3,         // quoted literal or bracketed group, delimiters included
  VX_TOKEN_UNTERMINATED = 4,   // the same, cut off by the end of the text
  VX_TOKEN_NUMBER = 5,         // digits, and decimals when that option is on
  VX_TOKEN_LIST_ITEM = 6,      // search mode 1
  VX_TOKEN_NAME = 7,           // search mode 2
  VX_TOKEN_DECIMAL = 9,        // only while reading a decimal; never reported
  VX_TOKEN_CHAR = 10,          // a single character nothing else classifies
  VX_TOKEN_COMMENT = 11,       // "--" to the line end, or "/*" through "*/"
  VX_TOKEN_OUTER_JOIN = 12     // the three characters "(+)"
};

// One entry of the operator table: a one-character code below 256, or two
// characters packed as first * 256 + second.
struct VX_EXPORT OperatorInfo {
  int32_t code;

  uint16_t getOpLen() const { return code < 256 ? 1 : 2; }
  unsigned char getFirstSymbol() const {
    return static_cast<unsigned char>(code < 256 ? code : code >> 8);
  }
  unsigned char getSecondSymbol() const { return static_cast<unsigned char>(code & 0xFF); }
};

// The operator table in its fixed order: every single character is
// followed by its two-character forms; the last entry is 0.
constexpr int OperatorCount = 44;
VX_EXPORT extern const OperatorInfo Operators[OperatorCount];

// A token: a view into the scanned text plus its class and start offset.
class VX_EXPORT VxToken : public VxSubString {
 public:
  VxToken();

  // Makes the token the view [offset, offset + length) of text, of class
  // type.
  void setToken(const char* text, VXSIZE_T offset, VXSIZE_T length, vxCPType cp, int32_t type) {
    data_ = const_cast<char*>(text) + offset;
    length_ = initialLength_ = length;
    codePage_ = cp;
    offset_ = offset;
    type_ = type;
  }

  // Extends the view by n bytes.
  void incTokenSize(VXSIZE_T n);
  // Offset of the token's first byte in the scanned text.
  VXSIZE_T getBegOfToken() const { return offset_; }
  // The class code (VxTokenClass) or operator code.
  int32_t getTokenType() const { return type_; }

 private:
  int32_t type_;
  VXSIZE_T offset_;
};

class VX_EXPORT VxScanner : public VxObject {
 public:
  // Search modes of getToken.
  enum SearchMode { kNormal = 0, kListItems = 1, kNames = 2 };

  VxScanner();
  explicit VxScanner(vxCPType cp);
  VxScanner(const char* text, VXSIZE_T length, vxCPType cp = VX_CP_LOCALE);
  explicit VxScanner(const char* text, vxCPType cp = VX_CP_LOCALE);
  explicit VxScanner(const VxSubString& text);
  // Scans the string's current bytes; changeToken and insertToken may edit
  // it.
  explicit VxScanner(VxString& text);

  VxScanner(const VxScanner&) = delete;
  VxScanner& operator=(const VxScanner&) = delete;

  // Restarts on new text (the settings stay).
  void setScanString(const char* text, VXSIZE_T length);
  void setScanString(const char* text, VXSIZE_T length, vxCPType cp);
  void setScanString(const char* text);
  void setScanString(const VxSubString& text);
  void setScanString(VxString& text);

  // Settings. Quotes default to the apostrophe, the double quote and the
  // back quote (a 0 quote is unused); matching of parentheses, braces and
  // the extra pair, comments and decimal numbers are off by default.
  void setQuotes(char q1, char q2, char q3);
  void setDefaultQuotes();
  void setMatchParentheses(bool on) {
    matchParentheses_ = on;
    tablesReady_ = false;
  }
  void setMatchBraces(bool on) {
    matchBraces_ = on;
    tablesReady_ = false;
  }
  // One more pair of matching characters (0, 0 for none).
  void setMatchingPair(char open, char close);
  void setComments(bool on) {
    comments_ = on;
    tablesReady_ = false;
  }
  void setDecimalNumbers(bool on) {
    decimalNumbers_ = on;
    tablesReady_ = false;
  }
  // The three character sets, each given as a NUL-terminated list of
  // bytes. Valid-first characters start words (and are not skipped as
  // white space); valid-middle characters continue them; when the
  // valid-characters set is non-empty, its members delimit words and every
  // other character is part of one.
  void setValidFirstChars(const char* chars);
  void setValidMiddleChars(const char* chars);
  void setValidChars(const char* chars);
  void resetValidChars();

  // Reads the next token into token and returns its class code. At the end
  // of the text the token is empty, of class 1, at offset getLength().
  int32_t getToken(VxToken& token, int mode = kNormal);
  // Makes token the explicit piece [start, start + length) of the text,
  // clipped to the text, as a word (class 2), and continues scanning after
  // it. Returns the class.
  int32_t getToken(VxToken& token, VXSIZE_T start, VXSIZE_T length);
  // The next getToken starts again at token (one level of push-back).
  void unGetToken(const VxToken& token);

  // Reads everything up to the next separator byte outside quoted
  // literals as one token of class 2: leading white space is skipped,
  // trailing white space is not part of the token, and the separator is
  // consumed. An empty piece before a separator is an empty word; at the
  // end of the text the token is of class 1. The three quoting characters
  // protect separators as in getToken (the quotes stay in the token).
  //
  // ODBC braces: a piece that starts with "{" and has a matching "}" ("}}"
  // inside stands for one "}", and separators and quotes inside mean
  // nothing) followed only by white space before the separator or the end
  // is one token of class 3, VX_TOKEN_QUOTED, braces included, so
  // "PWD={a;b}" gives the value token "{a;b}". A "{" without such a match
  // is an ordinary byte of a class 2 piece.
  int32_t getDelimitedToken(VxToken& token, char separator);

  // Character stepping: getSymbol returns the byte at the cursor and steps
  // over its character (0 at the end, without moving); unGetSymbol steps
  // back one character; lookAhead returns the first byte of the character
  // `distance` characters after the cursor (0 is the cursor's own), or 0
  // beyond the end.
  unsigned char getSymbol();
  void unGetSymbol();
  unsigned char lookAhead(VXSIZE_T distance) const;

  // The pieces of getToken, usable on their own at the cursor's position,
  // which must hold the opening character (a quote; the open character;
  // "--" for a line comment, anything else reads as a "/*" comment). Each
  // reads one token and returns its class (1 at the end of the text).
  int32_t getMatchingSymbols(VxToken& token, char open, char close);
  int32_t getQuotedToken(VxToken& token);
  int32_t getComment(VxToken& token);

  // Splits the rest of the text at every separator outside quoted literals
  // (the rules of getDelimitedToken) and appends one heap VxSubString view
  // per piece (parseList) or one heap VxString copy (parseListVxString) to
  // array; the caller owns them. Empty text gives no pieces; "a,,b" gives
  // three. Returns 1 when memory runs out (pieces added so far stay).
  unsigned parseList(VxArray& array, char separator);
  unsigned parseListVxString(VxArray& array, char separator);

  // Replaces the token's bytes in the scanned VxString by newLength bytes
  // of newText; the token then views the new bytes and the cursor keeps
  // its place relative to the text after the token. Returns 1 when the
  // scanner does not scan a VxString or the string cannot grow.
  unsigned changeToken(VxToken& token, const char* newText, VXSIZE_T newLength);
  // Inserts newLength bytes of newText before the token; the token then
  // views the inserted bytes (class 2) and the cursor keeps its place in
  // the text (a cursor at the token stays in front of the token, after the
  // inserted bytes). Returns 1 as changeToken.
  unsigned insertToken(VxToken& token, const char* newText, VXSIZE_T newLength);

  // Token comparisons: exact bytes (isEqual), case-insensitive
  // (isEqualCi); isInSet/isInSetCi return the index of the first matching
  // entry of list, or count when none matches; isTokenWithin/Ci tell
  // whether the token equals one of the blank-separated words of text.
  static bool isEqual(const VxToken& token, const char* text);
  static bool isEqualCi(const VxToken& token, const char* text);
  static uint16_t isInSet(const VxToken& token, const char* const* list, uint16_t count);
  static uint16_t isInSetCi(const VxToken& token, const char* const* list, uint16_t count);
  static bool isTokenWithin(const VxToken& token, const char* text);
  static bool isTokenWithinCi(const VxToken& token, const char* text);

  // The cursor's offset and the scanned text.
  VXSIZE_T getPosition() const { return position_; }
  VXSIZE_T getLength() const { return length_; }
  const char* getText() const { return text_; }
  vxCPType getCodePage() const { return codePage_; }

 private:
  // A 256-bit membership set of bytes.
  struct ByteSet {
    uint64_t bits[4];
    bool has(unsigned char c) const { return (bits[c >> 6] >> (c & 63)) & 1; }
    void add(unsigned char c) { bits[c >> 6] |= uint64_t(1) << (c & 63); }
    bool empty() const { return (bits[0] | bits[1] | bits[2] | bits[3]) == 0; }
    void clear() { bits[0] = bits[1] = bits[2] = bits[3] = 0; }
  };

  // How the fast path of getToken treats a token's first byte.
  enum StartClass : uint8_t {
    kStartGeneral = 0,
    kStartSpace,
    kStartWord,
    kStartDigit,
    kStartPoint,
    kStartQuote,
    kStartParenthesis,
    kStartOperator,
    kStartCommentOrOperator,  // "-" or "/" with comments on
    kStartChar                // an ASCII byte that is a token of class 10 alone
  };

  void resetSettings();
  void buildTables();
  int32_t getTokenGeneral(VxToken& token, int mode);
  int32_t buildTablesAndGetToken(VxToken& token);
  bool opensComment(VXSIZE_T at) const;
  VXSIZE_T listItemEnd(VXSIZE_T start) const;
  VXSIZE_T nameEnd(VXSIZE_T start) const;
  VXSIZE_T delimitedWordEnd(VXSIZE_T start) const;
  VXSIZE_T wordEnd(VXSIZE_T start) const;
  VXSIZE_T numberEnd(VXSIZE_T start, bool startsWithPoint) const;
  VXSIZE_T charSize(VXSIZE_T at) const;
  bool isSpaceAt(VXSIZE_T at) const;
  bool isLetterAt(VXSIZE_T at) const;
  bool isQuote(unsigned char c) const;
  VXSIZE_T skipQuoted(VXSIZE_T at, bool* terminated) const;
  VXSIZE_T bracedEnd(VXSIZE_T at, unsigned char separator) const;
  VXSIZE_T skipSpace(VXSIZE_T at) const;
  // Makes token the piece [start, end) of class type and moves the cursor
  // after it; returns the class.
  int32_t finish(VxToken& token, VXSIZE_T start, VXSIZE_T end, int32_t type) {
    assert(start <= end && end <= length_);  // every token lies within the text
    token.setToken(text_, start, end - start, codePage_, type);
    position_ = end;
    return type;
  }
  int32_t readOperator(VxToken& token, VXSIZE_T start);
  int32_t readAsciiQuoted(VxToken& token, VXSIZE_T start);
  unsigned splitList(VxArray& array, char separator, bool copy);
  unsigned editScanned(VXSIZE_T at, VXSIZE_T oldLength, const char* newText, VXSIZE_T newLength);

  // The scanned text.
  const char* text_;
  VXSIZE_T length_;
  vxCPType codePage_;
  VxString* editable_;  // the scanned VxString, when there is one
  VXSIZE_T position_;

  // Settings.
  unsigned char quotes_[3];
  unsigned char extraOpen_;
  unsigned char extraClose_;
  bool matchParentheses_;
  bool matchBraces_;
  bool comments_;
  bool decimalNumbers_;
  ByteSet validFirst_;
  ByteSet validMiddle_;
  ByteSet validChars_;

  // Byte tables of the fast path, derived from the settings above and
  // rebuilt by the first getToken after a setting changed. With a
  // valid-characters set every byte is of the general class.
  bool tablesReady_;
  uint8_t startClass_[256];
  bool continuesWord_[256];  // ASCII letters, digits and the valid-middle set
  bool plainWords_;          // continuesWord_ holds the ASCII letters and digits only
};

#endif  // VX_PARSER_VXSCANNE_H_
