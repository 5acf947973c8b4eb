// VxParser: parses statements with a driver's grammar.
//
// A driver constructs (or init()s) a parser from its grammar and keyword
// blobs (layouts in vxgrammar.h) and calls parse() for each statement. The
// parser walks the grammar's parse states top-down with one token of
// lookahead. Where a state offers several transitions for a token it
// records a backtrack position and tries the first; a dead end rewinds the
// text and the rule stack to the newest position and tries the next choice.
// While any choice is open no tree is built; when the rule holding the last
// open choice completes, that stretch is replayed with the choices settled
// and the tree is built then, so a choice that was tried and abandoned
// leaves no node behind. A choice stands for good once the rule it was made
// in is complete, so where one alternative is a prefix of another the longer
// must come first. The time can grow exponentially with the number of
// ambiguous choices that stay open together (see docs/PERFORMANCE.md).
//
// Quoted literals: the lexer delivers an opening quote (kind 40), the
// tokens inside, and the closing quote (kind 40). The reserved name
// "literal-quote-char" (a kind 40 transition) accepts any quote character;
// a quote kind (9, 32, 33) accepts only its own character. The reserved
// name "literal-contents" (kind 41) is taken only for the first token after
// an opening quote, and then takes the literal's whole inside as one token;
// anywhere else it is passed over as if it did not match. So
//   string ::= literal-quote-char [ literal-contents ] literal-quote-char
// accepts 'it''s' (contents it''s) and the empty literal ''.
//
// A driver derives from VxParser to build its own nodes (ReductProc) and to
// report syntax errors (FailProc).
//
// Nesting: the walk keeps its rule stack on the heap, so no statement can
// overflow the machine stack. A statement may nest at most kMaxDepth rule
// levels deep (a parenthesised expression costs one level per rule between
// the expression and its parentheses: eight per "(" with the SQL grammar in
// examples/sql, where SELECT followed by 123 parentheses still parses and
// 124 do not). One level more
// ends the parse with status 1 and lastFailure() kTooDeep, without FailProc.
// Deleting a result tree never recurses either.
//
// Ownership: the parser owns its grammar and keyword list; the tree parse()
// returns belongs to the caller. Failure: 1 from parse() after FailProc for
// a syntax error; 1 without FailProc for a lexer error, an allocation
// failure, too deep a nesting or a runaway walk (lastFailure() tells
// which). No error records are posted. Thread-safety: one parse at a time
// per parser; the compiled grammar is only read while parsing.
#ifndef VX_PARSER_VXPARSE_H_
#define VX_PARSER_VXPARSE_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"
#include "parser/vxgrammar.h"
#include "parser/vxlexer.h"
#include "parser/vxpstate.h"
#include "parser/vxscanne.h"

// One rule being parsed: where to continue when it returns, its number, and
// the caller's partial reduction saved while it runs. The stack is a singly
// linked list whose head is the innermost rule.
class VX_EXPORT VxParseStackNode : public VxObject {
 public:
  VxParseStackNode(VxParseState* state, int16_t number, VxReduction* partial, VxParseStackNode* next)
      : state_(state), number_(number), partial_(partial), next_(next) {}

  VxParseState* getParseState() const { return state_; }
  int16_t getReduction() const { return number_; }
  VxReduction* getPartialReduction() const { return partial_; }
  VxParseStackNode* getNext() const { return next_; }
  void setParseState(VxParseState* s) { state_ = s; }
  void setReduction(int16_t number) { number_ = number; }
  void setPartialReduction(VxReduction* r) { partial_ = r; }
  void setNext(VxParseStackNode* n) { next_ = n; }
  // Called on the head: the node whose next is node (the bottom node when
  // node is null), or null when node is the head itself.
  VxParseStackNode* getNodeBefore(const VxParseStackNode* node);

 private:
  VxParseState* state_;
  int16_t number_;
  VxReduction* partial_;
  VxParseStackNode* next_;
};

// One open choice: the lexer's exact position, the stack head, the state,
// the partial reduction and the token at the time, and the index of the
// choice being tried. Owns its token text and literal scanner.
class VX_EXPORT VxBacktrackPosition : public VxObject {
 public:
  VxBacktrackPosition();
  ~VxBacktrackPosition() override;
  VxBacktrackPosition(const VxBacktrackPosition&) = delete;
  VxBacktrackPosition& operator=(const VxBacktrackPosition&) = delete;

  // Saves lexer's position and the rest; 1 when memory runs out.
  unsigned save(VxLexer& lexer, VxParseStackNode* node, VxParseState* state, VxReduction* reduction,
                int16_t kind, const char* text, int16_t alternative);

  const VxToken& getToken() const { return token_; }
  int16_t getTokenIndex() const { return tokenIndex_; }
  const VxScanner* getLiteralScanner() const { return literalScanner_; }
  const VxToken& getLiteralToken() const { return literalToken_; }
  VxParseStackNode* getParseStackNode() const { return node_; }
  VxParseState* getParseState() const { return state_; }
  VxReduction* getReduction() const { return reduction_; }
  int16_t getTokenKind() const { return kind_; }
  const char* getTokenText() const { return text_; }
  VxBacktrackPosition* getNextPosition() const { return next_; }
  int16_t getAlternative() const { return alternative_; }
  void setNextPosition(VxBacktrackPosition* p) { next_ = p; }
  void setAlternative(int16_t a) { alternative_ = a; }

 private:
  VxToken token_;
  int16_t tokenIndex_;
  VxScanner* literalScanner_;
  VxToken literalToken_;
  VxParseStackNode* node_;
  VxParseState* state_;
  VxReduction* reduction_;
  int16_t kind_;
  char* text_;
  VxBacktrackPosition* next_;
  int16_t alternative_;
};

class VX_EXPORT VxParser : public VxObject {
 public:
  // Deepest rule nesting a statement may reach (see above).
  static constexpr int kMaxDepth = 1000;
  // Most steps the walk may take in a row without consuming a token; a
  // grammar whose states can cycle without reading stops there.
  static constexpr long kMaxIdleSteps = 1000000;

  // Why the last parse() returned 1.
  enum Failure { kNoFailure = 0, kNotInitialised, kSyntaxError, kLexerError, kOutOfMemory, kTooDeep, kRunaway };

  VxParser();
  VxParser(const char* grammar, const char* keywords, vxCPType cp = VX_CP_LOCALE);
  VxParser(const resourceElement* grammar, uint16_t grammarCount, const resourceElement* keywords,
           uint16_t keywordCount, vxCPType cp = VX_CP_LOCALE);
  ~VxParser() override;
  VxParser(const VxParser&) = delete;
  VxParser& operator=(const VxParser&) = delete;

  // Replaces any grammar: builds the keyword list and compiles the grammar.
  // 0 when it compiled; else 1 and the parser is not initialised.
  unsigned init(const char* grammar, const char* keywords, vxCPType cp = VX_CP_LOCALE);
  unsigned init(const resourceElement* grammar, uint16_t grammarCount, const resourceElement* keywords,
                uint16_t keywordCount, vxCPType cp = VX_CP_LOCALE);
  bool initialised() const { return initialised_ != 0; }

  // Parses the NUL-terminated text: 0 and the tree in root, or 1 (root is
  // untouched, except that it is set to null when the parser is not
  // initialised). After a syntax error FailProc has been called.
  unsigned parse(const char* text, VxReduction*& root, vxCPType cp = VX_CP_LOCALE);
  Failure lastFailure() const { return lastFailure_; }

  // Quote characters that open literals in parsed text (0 for none).
  // Until this is called the scanner's own quotes apply: ' " `.
  void setLiteralQuoteChars(uint16_t q1, uint16_t q2, uint16_t q3);
  // Character sets for identifiers (see VxScanner), copied. 1 when memory
  // runs out.
  unsigned setValidFirstChars(const char* chars) { return replaceSet(validFirst_, chars); }
  unsigned setValidMiddleChars(const char* chars) { return replaceSet(validMiddle_, chars); }
  unsigned setValidChars(const char* chars) { return replaceSet(validAll_, chars); }
  // Parses from the rule named name from now on; 1 when there is none.
  unsigned changeGoal(const char* name);
  VxGrammar* getGrammar() const { return grammar_; }

  // The node for a completed rule, given the chain of its children. The
  // default makes a VxReduction with the number and no text, adopts the
  // children and returns it; it returns null when memory runs out.
  virtual VxReduction* ReductProc(int16_t number, VxReduction* children);
  // Told about a syntax error: the token where parsing stopped, one of the
  // rules being parsed (outermost first) and the transitions that state
  // offered. Returns non-zero to stop being called. The default returns 1.
  virtual int FailProc(int16_t kind, const char* text, int16_t ruleNumber, const char* ruleName,
                       VxStateTransition* transitions);

 private:
  class Run;
  friend class Run;

  void clear();
  unsigned replaceSet(char*& slot, const char* chars);

  int initialised_;
  VxGrammar* grammar_;
  VxKeywordList* keywords_;
  int literalQuotes_;
  uint16_t quotes_[3];
  char* validFirst_;
  char* validMiddle_;
  char* validAll_;
  Failure lastFailure_;
  bool reductionFailed_;  // the default ReductProc ran out of memory
};

#endif  // VX_PARSER_VXPARSE_H_
