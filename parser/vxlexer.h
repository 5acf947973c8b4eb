// VxLexer: the grammar's view of a text, on top of VxScanner.
//
// The lexer turns scanner tokens into the token kinds of vxgrammar.h. It
// looks words up in the keyword list, splits the scanner's two-character
// operators (and the three characters "(+)") into one token per character,
// and opens quoted literals: an opening quote (kind 40), the tokens inside
// (read by a second scanner over the literal's inside), the closing quote
// (kind 40). It keeps one token of push-back and can save and restore its
// exact reading position, inside literals and split operators too, which
// the parser's backtracking needs.
//
// Character kinds: ~ 8, back quote 9, ! 10, @ 11, # 12, $ 13, % 14, ^ 15,
// & 16, * 17, ( 18, ) 19, - 20, _ 21, + 22, = 23, | 24, backslash 25,
// { 26, [ 27, } 28, ] 29, : 30, ; 31, double quote 32, single quote 33,
// < 34, , 35, > 36, . 37, ? 38, / 39. Any other character that the scanner
// reports on its own (a control character, a non-ASCII byte) is an error.
//
// Ownership: the lexer owns its scanners, its copies of the character sets
// and the text it hands out (valid until the next token); the scanned text
// and the keyword list belong to the caller. Failure: nextToken and
// thisToken return 1 for a character without a kind and when memory runs
// out; nothing is posted. One thread at a time.
#ifndef VX_PARSER_VXLEXER_H_
#define VX_PARSER_VXLEXER_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"
#include "parser/vxscanne.h"

class VxKeywordList;

class VX_EXPORT VxLexer : public VxObject {
 public:
  VxLexer();
  VxLexer(const char* text, VxKeywordList* keywords);
  VxLexer(const char* text, vxCPType cp, VxKeywordList* keywords);
  ~VxLexer() override;
  VxLexer(const VxLexer&) = delete;
  VxLexer& operator=(const VxLexer&) = delete;

  // Restarts on another NUL-terminated text (settings stay).
  void newString(const char* text);
  void newString(const char* text, vxCPType cp);
  void setKeywordList(VxKeywordList* keywords) { keywords_ = keywords; }

  // Reads the next token: 0 with its kind and text (text may be null to
  // skip it), or 1 when the character has no kind.
  unsigned nextToken(int16_t& kind, const char** text);
  // Classifies the current token again without reading; advance 0 leaves
  // the split index alone.
  unsigned thisToken(int16_t& kind, const char** text, int advance);
  // Steps back one token: the next nextToken delivers the current one
  // again (one level, also between the characters of a split operator).
  void backup();

  // Saves the exact reading position: a copy of the current token, the
  // split index and, inside a literal, a new scanner (owned by the caller)
  // over the literal's inside standing at the same place, plus the
  // literal's whole token. Null scanner outside literals; 1 when memory
  // runs out.
  unsigned getPosition(VxToken& token, int16_t& splitIndex, VxScanner*& literalScanner, VxToken& literalToken);
  // Restores a saved position; the lexer copies the literal scanner, the
  // caller keeps its own. 1 when memory runs out.
  unsigned setPosition(const VxToken& token, int16_t splitIndex, const VxScanner* literalScanner,
                       const VxToken& literalToken);

  // The scanner reading now (the literal scanner inside a literal).
  VxScanner* getScanner() { return current_; }
  // Quote characters that open literals, 0 for none; 0, 0, 0 (the
  // default of a lexer over grammar text is the scanner's: ' " `) turns
  // literals off so quotes are plain punctuation.
  void setLiteralQuoteChars(uint16_t q1, uint16_t q2, uint16_t q3);
  // Character sets for words (see VxScanner); a null set is left as it is.
  // 1 when memory runs out.
  unsigned setValidChars(const char* first, const char* middle, const char* all);
  // True while the reading happens inside a quoted literal.
  bool tokenIsLiteral() const { return literalScanner_ != nullptr && current_ == literalScanner_; }
  // The current literal's inside, copied into text (owned by the lexer as
  // the current token text); reads the literal to its end so the next token
  // is the closing quote. 1 outside a literal or when memory runs out.
  unsigned getLiteralContents(const char** text);

 private:
  unsigned deliver(int16_t kind, const char* bytes, VXSIZE_T length, int16_t& outKind, const char** outText);
  unsigned classify(int16_t& kind, const char** text, int advance);
  unsigned openLiteral(int16_t& kind, const char** text);
  unsigned closeLiteral(int16_t& kind, const char** text);
  VxScanner* newLiteralScanner() const;
  void applyValidChars(VxScanner& scanner) const;
  int16_t tokenLength() const;

  VxScanner* current_;
  VxScanner main_;
  VxScanner* literalScanner_;
  VxToken token_;
  VxToken literalToken_;
  vxCPType codePage_;
  char* text_;
  VXSIZE_T textCapacity_;
  int16_t splitIndex_;
  VxKeywordList* keywords_;
  char* validFirst_;
  char* validMiddle_;
  char* validAll_;
  int quoteDelivery_;  // whether the current token is a quote the lexer made
};

// The token kind of a single punctuation character, or -1 when it has none.
VX_EXPORT int16_t vxCharacterKind(unsigned char c);

#endif  // VX_PARSER_VXLEXER_H_
