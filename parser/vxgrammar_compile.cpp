// The grammar compiler: rule texts to productions and their parse states.
//
// Notation. A rule reads: its name, "::=", then alternatives separated by
// "|". An alternative is a sequence of items:
//  - a name: lower-case letters and hyphens (the hyphen counts as part of a
//    word only while a name is read), a reference to the rule of that name,
//    or one of the reserved names: "alphanum" (any identifier), "number"
//    (any number), "literal-contents" (kind 41), "literal-quote-char"
//    (kind 40) and "goal" (the default start rule);
//  - "\" and any token: that token as a terminal (a literal "|", "{"...);
//  - "~" and a word: an identifier with exactly that text, matched without
//    case at parse time;
//  - any other token (a keyword, punctuation, a number): a terminal of its
//    kind, keeping its text;
//  - "[" alternatives "]": an optional group;
//  - "{" alternatives "}", optionally followed by "*" (zero or more) or
//    "+" (one or more). A "*" after "]" is no closure but the next term.
//
// Compilation, rule by rule:
//  1. The keyword list compares case-sensitively, so keywords in rule text
//     are recognised only in the list's exact spelling.
//  2. A null or empty blob fails; an earlier grammar is freed.
//  3. Each rule text is read by its own lexer with quoted literals off, so
//     quote marks in rules are plain punctuation.
//  4. The rule's production joins the list before it is read (a failed rule
//     is freed with the whole grammar).
//  5. The name must be a word of lower-case letters and hyphens; a reserved
//     name other than "goal" leaves the rule unnamed, out of reach of every
//     reference. A rule named "goal" keeps its name, so it stays the
//     default start rule. Then ":", ":", "=".
//  6. Alternatives follow, then the end of the text.
//  7. A sequence ends before "|", "}", "]" or the end of the text; an empty
//     sequence, an unclassifiable character, an unterminated literal, an
//     unmatched or mismatched bracket and an upper-case word that is no
//     keyword all fail. Groups nest at most kMaxGroupDepth deep.
//  8. The rule's number is the 16-bit value after its text's NUL.
//  9. After the last rule every name is resolved to the rule of that name;
//     an unknown name fails.
// 10. The keyword list goes back to comparing without case; first lists and
//     parse states are built; the start rule is the one named by changeGoal,
//     else "goal". No start rule fails.
// A failure before step 10 leaves the keyword list case-sensitive. That is
// intended: a driver that sees its list still exact knows the grammar never
// got as far as building its states.
#include <cstdlib>
#include <cstring>

#include "foundation/ram.h"
#include "parser/vxgrammar.h"
#include "parser/vxlexer.h"
#include "parser/vxpstate.h"

namespace {

bool isNameText(const char* text) {
  if (!text || !(*text >= 'a' && *text <= 'z')) return false;
  for (const char* c = text; *c; ++c) {
    if (!((*c >= 'a' && *c <= 'z') || *c == '-')) return false;
  }
  return true;
}

// The kind a reserved name stands for in a rule body, or 0 for an ordinary
// name.
int16_t reservedKind(const char* name) {
  if (strcmp(name, "alphanum") == 0) return kVxKindIdentifier;
  if (strcmp(name, "number") == 0) return kVxKindNumber;
  if (strcmp(name, "literal-contents") == 0) return kVxKindLiteralContents;
  if (strcmp(name, "literal-quote-char") == 0) return kVxKindQuoteChar;
  return 0;
}

// Reads the items of one rule text.
class RuleReader {
 public:
  explicit RuleReader(VxLexer& lexer) : lexer_(lexer) {}

  unsigned next(int16_t& kind, const char*& text) { return lexer_.nextToken(kind, &text); }
  unsigned expect(int16_t wanted) {
    int16_t kind;
    const char* text;
    return next(kind, text) || kind != wanted ? 1 : 0;
  }
  unsigned readName(const char*& name);
  unsigned readAlternatives(VxBNFElement*& first, int16_t& stopKind, int depth);

 private:
  unsigned readSequence(VxBNFElement*& first, int depth);
  unsigned readGroup(int16_t opener, VxBNFElement*& group, int depth);
  unsigned readTerm(int16_t kind, const char* text, VxBNFElement*& term);

  VxLexer& lexer_;
};

// The word just read was a name's start: read it again with the hyphen
// allowed inside words, then forbid it again.
unsigned RuleReader::readName(const char*& name) {
  lexer_.backup();
  VxScanner* scanner = lexer_.getScanner();
  scanner->setValidMiddleChars("-");
  int16_t kind;
  unsigned status = next(kind, name);
  scanner->setValidMiddleChars("");
  return status || kind != kVxKindIdentifier || !isNameText(name) ? 1 : 0;
}

unsigned RuleReader::readAlternatives(VxBNFElement*& first, int16_t& stopKind, int depth) {
  first = nullptr;
  for (;;) {
    VxBNFElement* sequence;
    int16_t kind;
    const char* text;
    if (readSequence(sequence, depth) || next(kind, text)) {
      delete first;
      return 1;
    }
    if (first) {
      first->addToAlternationEnd(sequence);
    } else {
      first = sequence;
    }
    if (kind != kVxKindBar) {
      stopKind = kind;
      return 0;
    }
  }
}

unsigned RuleReader::readSequence(VxBNFElement*& first, int depth) {
  first = nullptr;
  for (;;) {
    int16_t kind;
    const char* text;
    if (next(kind, text)) break;
    if (kind == kVxKindEndOfText || kind == kVxKindBar || kind == kVxKindCloseBrace || kind == kVxKindCloseBracket) {
      lexer_.backup();
      if (first) return 0;
      break;
    }
    VxBNFElement* item = nullptr;
    unsigned status = kind == kVxKindOpenBrace || kind == kVxKindOpenBracket ? readGroup(kind, item, depth)
                                                                            : readTerm(kind, text, item);
    if (status) break;
    if (first) {
      first->addToSequentialEnd(item);
    } else {
      first = item;
    }
  }
  delete first;
  first = nullptr;
  return 1;
}

unsigned RuleReader::readGroup(int16_t opener, VxBNFElement*& group, int depth) {
  if (depth + 1 > VxGrammar::kMaxGroupDepth) return 1;
  group = new VxBNFElement;
  if (!group) return 1;
  bool brace = opener == kVxKindOpenBrace;
  group->setBracket(brace ? VxBNFElement::kBrace : VxBNFElement::kSquare);
  VxBNFElement* contents;
  int16_t stop;
  unsigned status = readAlternatives(contents, stop, depth + 1);
  if (status == 0) {
    group->setContains(contents);
    for (VxBNFElement* alternative = contents; alternative;) {
      for (VxBNFElement* item = alternative; item;) {
        item->setContainedBy(group);
        item->getNextSequential(item);
      }
      alternative->getNextAlternation(alternative);
    }
    status = stop != (brace ? kVxKindCloseBrace : kVxKindCloseBracket);
  }
  if (status == 0 && brace) {
    int16_t kind;
    const char* text;
    status = next(kind, text);
    if (kind == kVxKindStar) {
      group->setClosure(VxBNFElement::kZeroOrMore);
    } else if (kind == kVxKindPlus) {
      group->setClosure(VxBNFElement::kOneOrMore);
    } else if (status == 0) {
      lexer_.backup();
    }
  }
  if (status) {
    delete group;
    group = nullptr;
  }
  return status;
}

unsigned RuleReader::readTerm(int16_t kind, const char* text, VxBNFElement*& term) {
  int literal = 0;
  if (kind == 4) return 1;  // an unterminated literal cannot stand in a rule
  if (kind == kVxKindBackslash) {
    if (next(kind, text) || kind == kVxKindEndOfText) return 1;
  } else if (kind == kVxKindTilde) {
    if (next(kind, text) || !((*text >= 'a' && *text <= 'z') || (*text >= 'A' && *text <= 'Z'))) return 1;
    kind = kVxKindIdentifier;
    literal = 1;
  } else if (kind == kVxKindIdentifier) {
    if (!(*text >= 'a' && *text <= 'z') || readName(text)) return 1;
    if (int16_t reserved = reservedKind(text)) {
      kind = reserved;
      text = nullptr;
    }
  }
  term = new VxBNFElement;
  if (!term || term->setTokenString(text)) {
    delete term;
    term = nullptr;
    return 1;
  }
  term->setTokenType(kind);
  term->setLiteral(literal);
  return 0;
}

VxProduction* findRule(VxProduction* first, const char* name) {
  for (VxProduction* p = first; p; p = p->getNextProduction()) {
    if (p->getName() && strcmp(p->getName(), name) == 0) return p;
  }
  return nullptr;
}

// Links every name in the elements reachable from e (its groups, its
// alternatives, its sequence) to its rule. Lists are walked in loops, groups
// by recursion, whose depth the reader has bounded.
unsigned resolveElements(VxBNFElement* e, VxProduction* rules) {
  for (VxBNFElement* alternative = e; alternative;) {
    for (VxBNFElement* item = alternative; item;) {
      VxBNFElement* contents;
      if (item->getContains(contents) == 0 && resolveElements(contents, rules)) return 1;
      const char* text = item->getTokenStringPtr();
      if (item->getTokenType() == kVxKindIdentifier && text && !item->getLiteral() && *text >= 'a' && *text <= 'z') {
        VxProduction* rule = findRule(rules, text);
        if (!rule) return 1;
        item->setNonTerminal(rule);
      }
      item->getNextSequential(item);
    }
    alternative->getNextAlternation(alternative);
  }
  return 0;
}

}  // namespace

VxGrammar::VxGrammar(const char* blob, VxKeywordList* keywords, vxCPType cp)
    : codePage_(cp), first_(nullptr), goal_(nullptr), goalName_(nullptr), keywords_(keywords) {
  compile(blob);
}

VxGrammar::VxGrammar(const resourceElement* rules, uint16_t count, VxKeywordList* keywords, vxCPType cp)
    : codePage_(cp), first_(nullptr), goal_(nullptr), goalName_(nullptr), keywords_(keywords) {
  char* blob = vxFlattenResources(rules, count);
  if (blob) compile(blob);
  free(blob);
}

VxGrammar::~VxGrammar() {
  freeRules();
  free(goalName_);
}

void VxGrammar::freeRules() {
  while (first_) {
    VxProduction* next = first_->getNextProduction();
    delete first_;
    first_ = next;
  }
  goal_ = nullptr;
}

unsigned VxGrammar::compile(const char* blob) {
  if (keywords_) keywords_->setCaseSensitiveCompare(1);
  if (!blob || *blob == '\0') return 1;
  freeRules();
  for (const char* rule = blob; *rule != '\0';) {
    VXSIZE_T length = strlen(rule);
    int16_t number;
    memcpy(&number, rule + length + 1, 2);
    if (compileRule(rule, number)) {
      freeRules();
      return 1;
    }
    rule += length + 3;
  }
  if (resolveReferences() || finish()) {
    freeRules();
    return 1;
  }
  return 0;
}

unsigned VxGrammar::compileRule(const char* text, int16_t number) {
  VxProduction* rule = new VxProduction;
  if (!rule) return 1;
  if (first_) {
    first_->addToEnd(rule);
  } else {
    first_ = rule;
  }
  if (!rule->getParseTop()) return 1;
  rule->setNumber(number);

  VxLexer lexer(text, codePage_, keywords_);
  lexer.setLiteralQuoteChars(0, 0, 0);
  RuleReader reader(lexer);
  int16_t kind;
  const char* name;
  if (reader.next(kind, name) || kind != kVxKindIdentifier || reader.readName(name)) return 1;
  bool unnamed = reservedKind(name) != 0;
  if (!unnamed && rule->setName(name)) return 1;
  if (reader.expect(kVxKindColon) || reader.expect(kVxKindColon) || reader.expect(kVxKindEquals)) return 1;

  VxBNFElement* alternatives;
  int16_t stop;
  if (reader.readAlternatives(alternatives, stop, 0)) return 1;
  rule->setCompiledProduction(alternatives);
  return stop == kVxKindEndOfText ? 0 : 1;
}

unsigned VxGrammar::resolveReferences() {
  for (VxProduction* p = first_; p; p = p->getNextProduction()) {
    if (resolveElements(p->getCompiledProduction(), first_)) return 1;
  }
  return 0;
}

unsigned VxGrammar::finish() {
  if (keywords_) keywords_->setCaseSensitiveCompare(0);
  for (VxProduction* p = first_; p; p = p->getNextProduction()) {
    if (p->firstListIsNull() && p->calculateFirst()) return 1;
  }
  for (VxProduction* p = first_; p; p = p->getNextProduction()) {
    if (p->createParseStates()) return 1;
  }
  goal_ = findRule(first_, goalName_ ? goalName_ : "goal");
  return goal_ ? 0 : 1;
}

unsigned VxGrammar::getParseTable(VxProduction*& goal) const {
  goal = goal_;
  return goal_ ? 0 : 1;
}

unsigned VxGrammar::changeGoal(const char* name) {
  if (!name) return 1;
  VxProduction* rule = findRule(first_, name);
  if (!rule) return 1;
  char* copy = ramAllocStr(name);
  if (!copy) return 1;
  free(goalName_);
  goalName_ = copy;
  goal_ = rule;
  return 0;
}
