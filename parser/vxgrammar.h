// The grammar model: keyword lists, compiled rules and parse results.
//
// A driver describes its language as rules in a small BNF notation plus a
// keyword list, both handed over as blobs (or resourceElement arrays) at run
// time. VxGrammar compiles the rules into one VxProduction per rule, each a
// tree of VxBNFElement nodes with the list of tokens that can begin it, and
// builds the parse states the runtime walks (vxpstate.h). The runtime's
// result is a tree of VxReduction nodes.
//
// Blob layout (grammar and keywords alike): for each entry its text, a NUL
// byte, then the entry's number as a 16-bit integer in machine order,
// unaligned; the blob ends with an empty text (a lone NUL byte).
//
// Token kinds: 1 end of text, 2 identifier, 3 and 4 passed through from the
// scanner, 5 number, 8 to 39 one punctuation character each in the order of
// a US keyboard's keys (see vxlexer.h), 40 a literal's quote character, 41 a
// literal's contents. Keyword numbers are chosen above 41; rule numbers from
// 1000 upwards.
//
// Ownership: a grammar owns its productions, and each production its
// elements, first list and parse states; the keyword list is not owned.
// A VxReduction owns its children (deleting a node deletes its subtree).
// Failure: every operation returns 0 on success and 1 on failure, or a null
// pointer; the compiler reports no message or position. Thread-safety: one
// thread at a time per object; a compiled grammar is only read by parses.
#ifndef VX_PARSER_VXGRAMMAR_H_
#define VX_PARSER_VXGRAMMAR_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VxParseState;
class VxProduction;

// One entry of a grammar or keyword list given as an array.
struct resourceElement {
  const char* text;
  int16_t number;
};

// Fixed token kinds that the compiler and the runtime refer to by name.
enum VxTokenKind : int16_t {
  kVxKindEndOfText = 1,
  kVxKindIdentifier = 2,
  kVxKindNumber = 5,
  kVxKindTilde = 8,
  kVxKindBackQuote = 9,
  kVxKindStar = 17,
  kVxKindPlus = 22,
  kVxKindEquals = 23,
  kVxKindBar = 24,
  kVxKindBackslash = 25,
  kVxKindOpenBrace = 26,
  kVxKindOpenBracket = 27,
  kVxKindCloseBrace = 28,
  kVxKindCloseBracket = 29,
  kVxKindColon = 30,
  kVxKindDoubleQuote = 32,
  kVxKindSingleQuote = 33,
  kVxKindQuoteChar = 40,
  kVxKindLiteralContents = 41
};

// Flattens count resourceElement entries into one blob of the layout above
// (count x 3 + 1 + the text lengths, at least 1 byte). The caller frees it
// with free(); null when memory runs out.
VX_EXPORT char* vxFlattenResources(const resourceElement* entries, uint16_t count);

// The keywords of a language. The list keeps its own copy of the blob.
// Lookups compare exactly while the case-sensitive flag is set (as the
// grammar compiler does for rule text) and without case otherwise.
class VX_EXPORT VxKeywordList : public VxObject {
 public:
  VxKeywordList();
  explicit VxKeywordList(const char* blob);
  ~VxKeywordList() override;
  VxKeywordList(const VxKeywordList&) = delete;
  VxKeywordList& operator=(const VxKeywordList&) = delete;

  // Replaces the list by a copy of blob (null gives an empty list). 1 when
  // memory runs out (the list is then empty).
  unsigned init(const char* blob);
  // The first entry equal to word, in blob order: 0 and its number, or 1.
  unsigned lookup(const char* word, int16_t& number) const;
  unsigned lookup(const char* word, VXSIZE_T length, int16_t& number) const;
  void setCaseSensitiveCompare(int flag) { caseSensitive_ = flag; }
  int getCaseSensitiveCompare() const { return caseSensitive_; }

 private:
  // Where each entry's text lies in the blob, so that a lookup compares
  // lengths before bytes and never measures a text again.
  struct Entry {
    VXSIZE_T offset;
    VXSIZE_T length;
    int16_t number;
  };

  char* blob_;  // owned copy, null when empty
  Entry* entries_;
  VXSIZE_T count_;
  int caseSensitive_;
};

// A (token kind, owned text) pair in a singly linked list: the tokens that
// can begin a rule.
class VX_EXPORT VxTokenNode : public VxObject {
 public:
  VxTokenNode(int16_t kind, const char* text);
  VxTokenNode(const VxTokenNode& other);
  ~VxTokenNode() override;  // deletes the rest of the list, iteratively
  VxTokenNode& operator=(const VxTokenNode&) = delete;

  // Appends a new node (kind, copy of text) / a given node at the end of the
  // list that starts here. 1 when memory runs out.
  unsigned addToList(int16_t kind, const char* text);
  unsigned addToList(VxTokenNode* node);
  // False when the text copy could not be made (text given, copy null).
  bool valid() const { return valid_; }

  int16_t getKind() const { return kind_; }
  const char* getText() const { return text_; }
  VxTokenNode* getNext() const { return next_; }

 private:
  int16_t kind_;
  char* text_;
  VxTokenNode* next_;
  bool valid_;
};

// One node of a compiled rule: a terminal, a rule reference, or a group
// written with square brackets (optional) or braces (with a closure).
class VX_EXPORT VxBNFElement : public VxObject {
 public:
  enum BracketType { kNoBracket = 0, kSquare = 1, kBrace = 2 };
  enum ClosureType { kNoClosure = 0, kZeroOrMore = 1, kOneOrMore = 2 };

  VxBNFElement();
  // Deletes what the node contains and the rest of its sequential and
  // alternation lists (lists iteratively, groups by recursion on their
  // depth, which the compiler bounds).
  ~VxBNFElement() override;
  VxBNFElement(const VxBNFElement&) = delete;
  VxBNFElement& operator=(const VxBNFElement&) = delete;

  BracketType getBracket() const { return bracket_; }
  ClosureType getClosure() const { return closure_; }
  int16_t getTokenType() const { return tokenType_; }
  int getLiteral() const { return literal_; }
  // Copies the text (or an empty string) into buffer of size bytes,
  // truncating; returns 1 when there is no text.
  unsigned getTokenString(char* buffer, VXSIZE_T size) const;
  const char* getTokenStringPtr() const { return tokenString_; }
  // The pointer getters return 0 and the pointer when it is set, 1 (and
  // null) when it is not.
  unsigned getPrevAlternation(VxBNFElement*& out) const { return getLink(prevAlternation_, out); }
  unsigned getNextAlternation(VxBNFElement*& out) const { return getLink(nextAlternation_, out); }
  unsigned getPrevSequential(VxBNFElement*& out) const { return getLink(prevSequential_, out); }
  unsigned getNextSequential(VxBNFElement*& out) const { return getLink(nextSequential_, out); }
  unsigned getContains(VxBNFElement*& out) const { return getLink(contains_, out); }
  unsigned getContainedBy(VxBNFElement*& out) const { return getLink(containedBy_, out); }
  unsigned getNonTerminal(VxProduction*& out) const {
    out = nonTerminal_;
    return out ? 0 : 1;
  }

  void setBracket(BracketType b) { bracket_ = b; }
  void setClosure(ClosureType c) { closure_ = c; }
  void setTokenType(int16_t kind) { tokenType_ = kind; }
  void setLiteral(int flag) { literal_ = flag; }
  // Stores a copy of text (null clears it); 1 when memory runs out.
  unsigned setTokenString(const char* text);
  void setPrevAlternation(VxBNFElement* e) { prevAlternation_ = e; }
  void setNextAlternation(VxBNFElement* e) { nextAlternation_ = e; }
  void setPrevSequential(VxBNFElement* e) { prevSequential_ = e; }
  void setNextSequential(VxBNFElement* e) { nextSequential_ = e; }
  void setContains(VxBNFElement* e) { contains_ = e; }
  void setContainedBy(VxBNFElement* e) { containedBy_ = e; }
  void setNonTerminal(VxProduction* p) { nonTerminal_ = p; }

  // Link e behind the last node of this node's sequential / alternation
  // list, in both directions.
  void addToSequentialEnd(VxBNFElement* e);
  void addToAlternationEnd(VxBNFElement* e);

 private:
  template <typename T>
  static unsigned getLink(T* link, T*& out) {
    out = link;
    return link ? 0 : 1;
  }

  BracketType bracket_;
  ClosureType closure_;
  int16_t tokenType_;
  int literal_;
  char* tokenString_;
  VxBNFElement* prevAlternation_;
  VxBNFElement* nextAlternation_;
  VxBNFElement* prevSequential_;
  VxBNFElement* nextSequential_;
  VxBNFElement* contains_;
  VxBNFElement* containedBy_;
  VxProduction* nonTerminal_;
};

// One rule: its name (null when unnamed), number, compiled alternatives,
// first list, place in the grammar's rule list and entry parse state.
class VX_EXPORT VxProduction : public VxObject {
 public:
  VxProduction();
  // Deletes the elements, the first list and the parse states; not the
  // rest of the rule list.
  ~VxProduction() override;
  VxProduction(const VxProduction&) = delete;
  VxProduction& operator=(const VxProduction&) = delete;

  const char* getName() const { return name_; }
  int16_t getNumber() const { return number_; }
  VxBNFElement* getCompiledProduction() const { return compiled_; }
  VxTokenNode* getFirstList() const { return first_; }
  VxProduction* getNextProduction() const { return next_; }
  VxParseState* getParseTop() const { return parseTop_; }
  // Stores a copy of name (null clears); 1 when memory runs out.
  unsigned setName(const char* name);
  void setNumber(int16_t number) { number_ = number; }
  void setCompiledProduction(VxBNFElement* e) { compiled_ = e; }
  void setNextProduction(VxProduction* p) { next_ = p; }
  // Appends p at the end of the rule list that starts here.
  void addToEnd(VxProduction* p);

  // Computes the first list unless it is already non-empty: the tokens
  // that can begin each alternative (see vxgrammar.cpp). 1 when it stays
  // empty, on left recursion, or when memory runs out.
  unsigned calculateFirst();
  // Adds the first tokens of element e (and of what follows an optional
  // group) to this rule's first list. 1 on failure as above.
  unsigned addFirstOfElement(const VxBNFElement* e);
  bool firstListIsNull() const { return first_ == nullptr; }
  // Builds the rule's state network into its entry state (vxpstate.cpp).
  // 1 when memory runs out or a reference has no entry state.
  unsigned createParseStates();
  // From this rule on, the name of the first rule with that number, or null.
  const char* numberToName(int16_t number) const;

 private:
  unsigned appendFirst(int16_t kind, const char* text);

  char* name_;
  int16_t number_;
  VxBNFElement* compiled_;
  VxTokenNode* first_;
  VxProduction* next_;
  VxParseState* parseTop_;
  bool computingFirst_;  // guards the first-list walk against left recursion
};

// One node of a parse result: a terminal (a token kind or keyword number
// from 1 to 999, or negative, with its text) or a rule (0 or 1000 up).
class VX_EXPORT VxReduction : public VxObject {
 public:
  VxReduction();
  // Terminal when number is non-zero and, as a signed 16-bit value, not
  // above 999. The text is copied (check valid() for the copy).
  VxReduction(int16_t number, const char* text);
  // Deletes the subtree below this node, iteratively (a parse tree may be
  // as deep as the statement nests).
  ~VxReduction() override;
  VxReduction(const VxReduction&) = delete;
  VxReduction& operator=(const VxReduction&) = delete;

  VxReduction* getChild() const { return child_; }
  VxReduction* getNextSibling() const { return next_; }
  VxReduction* getPrevSibling() const { return prev_; }
  VxReduction* getParent() const { return parent_; }
  VxReduction* getNextReduction() const { return next_; }
  // The root of the tree this node is in.
  VxReduction* getGoal();
  void setChild(VxReduction* r) {
    child_ = r;
    lastChild_ = nullptr;
  }
  void setNextSibling(VxReduction* r) { next_ = r; }
  void setPrevSibling(VxReduction* r) { prev_ = r; }
  void setParent(VxReduction* r) { parent_ = r; }
  // Appends child at the end of the child list and makes this its parent;
  // a null child does nothing. Returns 0. The end is remembered between
  // calls (so appending stays cheap); change the child list through
  // addChild and setChild only.
  unsigned addChild(VxReduction* child);
  int terminal() const { return terminal_; }
  void setTerminal(int flag) { terminal_ = flag; }
  int16_t reductNumber() const { return number_; }
  void setReductNumber(int16_t number) { number_ = number; }
  const char* getString() const { return string_; }
  // Stores a copy of text (null clears); 1 when memory runs out.
  unsigned setString(const char* text);
  bool valid() const { return valid_; }

 private:
  int terminal_;
  int16_t number_;
  char* string_;
  VxReduction* parent_;
  VxReduction* child_;
  VxReduction* next_;
  VxReduction* prev_;
  VxReduction* lastChild_;  // the end of the child list, when known
  bool valid_;
};

// A compiled grammar. Constructing one compiles it at once; compiled()
// tells whether that worked.
class VX_EXPORT VxGrammar : public VxObject {
 public:
  // Deepest nesting of [ ] and { } groups inside one rule text; deeper
  // rules fail to compile (the compiler recurses once per level).
  static constexpr int kMaxGroupDepth = 64;

  VxGrammar(const char* blob, VxKeywordList* keywords, vxCPType cp = VX_CP_LOCALE);
  VxGrammar(const resourceElement* rules, uint16_t count, VxKeywordList* keywords, vxCPType cp = VX_CP_LOCALE);
  ~VxGrammar() override;
  VxGrammar(const VxGrammar&) = delete;
  VxGrammar& operator=(const VxGrammar&) = delete;

  // Compiles the rules of blob, replacing any earlier grammar: 0 on
  // success, 1 on any error (the partial grammar is freed). While it runs
  // the keyword list compares case-sensitively, so keywords must be written
  // in the list's spelling; a failure before the first lists are computed
  // leaves the list case-sensitive (deliberate, see vxgrammar.cpp).
  unsigned compile(const char* blob);
  bool compiled() const { return goal_ != nullptr; }
  // 0 and the start rule, or 1 when there is none.
  unsigned getParseTable(VxProduction*& goal) const;
  // Starts later parses at the rule named name (copied): 1 when the name
  // cannot be copied or no rule has it (the previous start rule stays).
  unsigned changeGoal(const char* name);
  VxProduction* getFirstProduction() const { return first_; }
  VxKeywordList* getKeywordList() const { return keywords_; }
  vxCPType getCodePage() const { return codePage_; }

 private:
  void freeRules();
  unsigned compileRule(const char* text, int16_t number);
  unsigned resolveReferences();
  unsigned finish();

  vxCPType codePage_;
  VxProduction* first_;
  VxProduction* goal_;
  char* goalName_;
  VxKeywordList* keywords_;
};

#endif  // VX_PARSER_VXGRAMMAR_H_
