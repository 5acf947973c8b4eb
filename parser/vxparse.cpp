// VxParser: the backtracking walk over the parse states.
//
// One parse: a final state whose only transition is "others: accept" sits
// under the goal rule (the bottom stack node). The current state starts at
// the goal's entry state, the current partial reduction is a new empty node.
// Each step:
//  1. A pending replay first rewinds to the only open position, takes its
//     choice index, deletes it, and saves no new position for this step.
//  2. A transition is chosen for the token and the choice index (0 unless
//     retrying). A return out of the goal rule counts only at the end of
//     the text. A literal-contents transition (kind 41) counts only while
//     the lexer reads inside a quoted literal, that is for the first token
//     after an opening quote; anywhere else it is passed over as if it did
//     not match (so "[ literal-contents ]" also accepts an empty literal).
//  3. No transition: rewind to the newest position and try its next choice;
//     when that finds nothing either, drop the position and do the same with
//     the next older one. With none left, report the syntax error.
//  4. Taking a literal-contents transition makes the lexer deliver the whole
//     inside of the literal as one token.
//  5. A transition marked duplicate opens a position (not when retrying or
//     replaying: the position being retried already covers it).
//  6. The action: shift appends a terminal node (only while no position is
//     open) and reads the next token; call pushes a stack node and starts
//     an empty partial reduction; jump moves on; accept hands over the tree.
//     Return first looks at the newest positions made inside the rule that
//     ends: while older ones exist, the newest is dropped (its choice
//     stands); when it is the only one, a replay is scheduled instead. A
//     real return calls ReductProc (only while no position is open), pops
//     the rule and appends the node to the caller's partial reduction.
// Rewinding restores the lexer, pops the stack down to the saved head and
// frees the partial reductions made since, then restores the saved partial
// reduction, state and token. Nothing is appended while a position is open,
// so those partial reductions are empty and a replay builds every node once.
#include "parser/vxparse.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram.h"

VxParseStackNode* VxParseStackNode::getNodeBefore(const VxParseStackNode* node) {
  if (node == this) return nullptr;
  VxParseStackNode* at = this;
  while (at->next_ != node) at = at->next_;
  return at;
}

VxBacktrackPosition::VxBacktrackPosition()
    : tokenIndex_(0),
      literalScanner_(nullptr),
      node_(nullptr),
      state_(nullptr),
      reduction_(nullptr),
      kind_(0),
      text_(nullptr),
      next_(nullptr),
      alternative_(0) {}

VxBacktrackPosition::~VxBacktrackPosition() {
  delete literalScanner_;
  free(text_);
}

unsigned VxBacktrackPosition::save(VxLexer& lexer, VxParseStackNode* node, VxParseState* state,
                                   VxReduction* reduction, int16_t kind, const char* text, int16_t alternative) {
  node_ = node;
  state_ = state;
  reduction_ = reduction;
  kind_ = kind;
  alternative_ = alternative;
  text_ = ramAllocStr(text ? text : "");
  if (!text_) return 1;
  return lexer.getPosition(token_, tokenIndex_, literalScanner_, literalToken_);
}

// The state of one parse() call.
class VxParser::Run {
 public:
  explicit Run(VxParser& parser) : parser_(parser) {}
  ~Run();

  Failure start(const char* text, vxCPType cp, VxProduction* goal);
  Failure walk(VxReduction*& root);

 private:
  VxStateTransition* choose(int alternative, int& used);
  Failure readToken();
  Failure rewind(const VxBacktrackPosition* position);
  void dropNewestPosition();
  Failure call(const VxStateTransition* t);
  Failure shift(const VxStateTransition* t);
  Failure ruleReturn(bool& replay);
  Failure retry(VxStateTransition*& t);
  void reportFailure();

  VxParser& parser_;
  VxLexer* lexer_ = nullptr;
  VxParseState finalState_;
  VxParseStackNode* head_ = nullptr;
  VxParseStackNode* bottom_ = nullptr;
  int depth_ = 0;
  VxBacktrackPosition* positions_ = nullptr;
  VxParseState* state_ = nullptr;
  VxReduction* partial_ = nullptr;
  int16_t kind_ = 0;
  const char* text_ = nullptr;
  char* rewoundText_ = nullptr;  // the token text after a rewind
};

VxParser::Run::~Run() {
  while (positions_) dropNewestPosition();
  delete partial_;
  while (head_) {
    VxParseStackNode* node = head_;
    head_ = node->getNext();
    delete node->getPartialReduction();
    delete node;
  }
  delete lexer_;
  free(rewoundText_);
}

VxParser::Failure VxParser::Run::start(const char* text, vxCPType cp, VxProduction* goal) {
  VxStateTransition* accept = new VxStateTransition;
  if (!accept) return kOutOfMemory;
  accept->setAction(kActionAccept);
  finalState_.setOthersState(accept);
  head_ = bottom_ = new VxParseStackNode(&finalState_, goal->getNumber(), nullptr, nullptr);
  partial_ = new VxReduction;
  lexer_ = new VxLexer(text, cp, parser_.keywords_);
  if (!head_ || !partial_ || !lexer_) return kOutOfMemory;
  if (parser_.literalQuotes_) lexer_->setLiteralQuoteChars(parser_.quotes_[0], parser_.quotes_[1], parser_.quotes_[2]);
  if ((parser_.validFirst_ || parser_.validMiddle_ || parser_.validAll_) &&
      lexer_->setValidChars(parser_.validFirst_, parser_.validMiddle_, parser_.validAll_)) {
    return kOutOfMemory;
  }
  state_ = goal->getParseTop();
  return readToken();
}

VxParser::Failure VxParser::Run::readToken() {
  return lexer_->nextToken(kind_, &text_) ? kLexerError : kNoFailure;
}

VxStateTransition* VxParser::Run::choose(int alternative, int& used) {
  for (used = alternative;; ++used) {
    VxStateTransition* t;
    if (state_->nextState(kind_, text_, t, used)) return nullptr;
    if (t->getAction() == kActionReturn && head_ == bottom_ && kind_ != kVxKindEndOfText) return nullptr;
    if (t->getTokenType() == kVxKindLiteralContents && !lexer_->tokenIsLiteral()) {
      continue;
    }
    return t;
  }
}

void VxParser::Run::dropNewestPosition() {
  VxBacktrackPosition* newest = positions_;
  positions_ = newest->getNextPosition();
  delete newest;
}

VxParser::Failure VxParser::Run::rewind(const VxBacktrackPosition* position) {
  if (lexer_->setPosition(position->getToken(), position->getTokenIndex(), position->getLiteralScanner(),
                          position->getLiteralToken())) {
    return kOutOfMemory;
  }
  VxReduction* saved = position->getReduction();
  while (head_ != position->getParseStackNode()) {
    VxParseStackNode* node = head_;
    assert(node != bottom_);  // the saved head is still on the stack
    head_ = node->getNext();
    if (node->getPartialReduction() != saved) delete node->getPartialReduction();
    delete node;
    --depth_;
  }
  if (partial_ != saved) delete partial_;
  partial_ = saved;
  state_ = position->getParseState();
  kind_ = position->getTokenKind();
  char* copy = ramAllocStr(position->getTokenText());
  if (!copy) return kOutOfMemory;
  free(rewoundText_);
  text_ = rewoundText_ = copy;
  return kNoFailure;
}

// Step 3: the next choice of the newest position, or of older ones.
VxParser::Failure VxParser::Run::retry(VxStateTransition*& t) {
  while (positions_) {
    if (Failure f = rewind(positions_)) return f;
    int used;
    t = choose(positions_->getAlternative() + 1, used);
    if (t) {
      positions_->setAlternative(static_cast<int16_t>(used));
      return kNoFailure;
    }
    dropNewestPosition();
  }
  return kSyntaxError;
}

VxParser::Failure VxParser::Run::call(const VxStateTransition* t) {
  if (depth_ >= kMaxDepth) return kTooDeep;
  VxParseStackNode* node = new VxParseStackNode(t->getPushState(), t->getProductionNumber(), partial_, head_);
  if (!node) return kOutOfMemory;
  head_ = node;
  ++depth_;
  partial_ = new VxReduction;
  if (!partial_) return kOutOfMemory;
  state_ = t->getNextParseState();
  return kNoFailure;
}

VxParser::Failure VxParser::Run::shift(const VxStateTransition* t) {
  if (!positions_) {
    VxReduction* terminal = new VxReduction(kind_, text_);
    if (!terminal || !terminal->valid()) {
      delete terminal;
      return kOutOfMemory;
    }
    partial_->addChild(terminal);
  }
  state_ = t->getNextParseState();
  return readToken();
}

VxParser::Failure VxParser::Run::ruleReturn(bool& replay) {
  while (positions_ && positions_->getParseStackNode() == head_) {
    if (!positions_->getNextPosition()) {
      replay = true;
      return kNoFailure;
    }
    dropNewestPosition();
  }
  VxReduction* children = partial_->getChild();
  partial_->setChild(nullptr);
  VxReduction* node = nullptr;
  if (!positions_) {
    parser_.reductionFailed_ = false;
    node = parser_.ReductProc(head_->getReduction(), children);
    if (parser_.reductionFailed_) return kOutOfMemory;
  } else {
    assert(!children);  // nothing is appended while a choice is open
  }
  VxParseStackNode* popped = head_;
  head_ = popped->getNext();
  state_ = popped->getParseState();
  if (!head_ || partial_ != head_->getPartialReduction()) delete partial_;
  partial_ = popped->getPartialReduction();
  delete popped;
  if (head_) --depth_;
  if (partial_) {
    partial_->addChild(node);
  } else {
    partial_ = node;
  }
  return kNoFailure;
}

VxParser::Failure VxParser::Run::walk(VxReduction*& root) {
  int alternative = 0;
  bool keepPositions = false;  // the choice in hand is already a position's
  bool replay = false;
  long idle = 0;
  for (;;) {
    if (++idle > kMaxIdleSteps) return kRunaway;
    if (replay) {
      if (Failure f = rewind(positions_)) return f;
      alternative = positions_->getAlternative();
      dropNewestPosition();
      keepPositions = true;
      replay = false;
    }
    int used;
    VxStateTransition* t = choose(alternative, used);
    if (!t) {
      if (Failure f = retry(t)) {
        if (f == kSyntaxError) reportFailure();
        return f;
      }
      keepPositions = true;
    }
    alternative = 0;
    if (t->getTokenType() == kVxKindLiteralContents && lexer_->tokenIsLiteral()) {
      kind_ = kVxKindLiteralContents;
      if (lexer_->getLiteralContents(&text_)) return kOutOfMemory;
    }
    if (t->getDuplicate() && !keepPositions) {
      VxBacktrackPosition* position = new VxBacktrackPosition;
      if (!position) return kOutOfMemory;
      position->setNextPosition(positions_);
      positions_ = position;
      if (position->save(*lexer_, head_, state_, partial_, kind_, text_, static_cast<int16_t>(used))) {
        return kOutOfMemory;
      }
    }
    keepPositions = false;
    Failure f = kNoFailure;
    switch (t->getAction()) {
      case kActionShift:
        f = shift(t);
        idle = 0;
        break;
      case kActionCall:
        f = call(t);
        break;
      case kActionReturn:
        f = ruleReturn(replay);
        break;
      case kActionJump:
        state_ = t->getNextParseState();
        break;
      case kActionAccept:
        root = partial_;
        partial_ = nullptr;
        return kNoFailure;
    }
    if (f) return f;
  }
}

// Offers the syntax error to FailProc for the rules being parsed, from the
// one above the newest open position (the goal when none is open) inwards,
// until FailProc asks to stop.
void VxParser::Run::reportFailure() {
  VxProduction* rules = parser_.grammar_->getFirstProduction();
  VxParseStackNode* node = head_->getNodeBefore(positions_ ? positions_->getParseStackNode() : nullptr);
  while (node) {
    int16_t number = node->getReduction();
    if (parser_.FailProc(kind_, text_, number, rules->numberToName(number), state_->getTransitionList())) return;
    node = head_->getNodeBefore(node);
  }
}

// ---- VxParser -----------------------------------------------------------

VxParser::VxParser()
    : initialised_(0),
      grammar_(nullptr),
      keywords_(nullptr),
      literalQuotes_(0),
      quotes_{0, 0, 0},
      validFirst_(nullptr),
      validMiddle_(nullptr),
      validAll_(nullptr),
      lastFailure_(kNoFailure),
      reductionFailed_(false) {}

VxParser::VxParser(const char* grammar, const char* keywords, vxCPType cp) : VxParser() {
  init(grammar, keywords, cp);
}

VxParser::VxParser(const resourceElement* grammar, uint16_t grammarCount, const resourceElement* keywords,
                   uint16_t keywordCount, vxCPType cp)
    : VxParser() {
  init(grammar, grammarCount, keywords, keywordCount, cp);
}

VxParser::~VxParser() {
  clear();
  free(validFirst_);
  free(validMiddle_);
  free(validAll_);
}

void VxParser::clear() {
  delete grammar_;
  delete keywords_;
  grammar_ = nullptr;
  keywords_ = nullptr;
  initialised_ = 0;
}

unsigned VxParser::init(const char* grammar, const char* keywords, vxCPType cp) {
  clear();
  keywords_ = new VxKeywordList;
  if (!keywords_ || keywords_->init(keywords)) {
    clear();
    return 1;
  }
  grammar_ = new VxGrammar(grammar, keywords_, cp);
  initialised_ = grammar_ && grammar_->compiled();
  if (!initialised_) clear();
  return initialised_ ? 0 : 1;
}

unsigned VxParser::init(const resourceElement* grammar, uint16_t grammarCount, const resourceElement* keywords,
                        uint16_t keywordCount, vxCPType cp) {
  char* grammarBlob = vxFlattenResources(grammar, grammarCount);
  char* keywordBlob = vxFlattenResources(keywords, keywordCount);
  unsigned status = grammarBlob && keywordBlob ? init(grammarBlob, keywordBlob, cp) : 1;
  if (status) clear();
  free(grammarBlob);
  free(keywordBlob);
  return status;
}

void VxParser::setLiteralQuoteChars(uint16_t q1, uint16_t q2, uint16_t q3) {
  literalQuotes_ = 1;
  quotes_[0] = q1;
  quotes_[1] = q2;
  quotes_[2] = q3;
}

unsigned VxParser::replaceSet(char*& slot, const char* chars) {
  char* copy = nullptr;
  if (chars && !(copy = ramAllocStr(chars))) return 1;
  free(slot);
  slot = copy;
  return 0;
}

unsigned VxParser::changeGoal(const char* name) { return grammar_ ? grammar_->changeGoal(name) : 1; }

VxReduction* VxParser::ReductProc(int16_t number, VxReduction* children) {
  VxReduction* node = new VxReduction(number, nullptr);
  if (!node) {
    reductionFailed_ = true;
    while (children) {
      VxReduction* next = children->getNextSibling();
      children->setNextSibling(nullptr);
      delete children;
      children = next;
    }
    return nullptr;
  }
  node->setChild(children);
  for (VxReduction* child = children; child; child = child->getNextSibling()) child->setParent(node);
  return node;
}

int VxParser::FailProc(int16_t, const char*, int16_t, const char*, VxStateTransition*) { return 1; }

unsigned VxParser::parse(const char* text, VxReduction*& root, vxCPType cp) {
  lastFailure_ = kNoFailure;
  VxProduction* goal;
  if (!initialised_ || grammar_->getParseTable(goal)) {
    root = nullptr;
    lastFailure_ = kNotInitialised;
    return 1;
  }
  Run run(*this);
  Failure failure = run.start(text ? text : "", cp, goal);
  if (failure == kNoFailure) failure = run.walk(root);
  lastFailure_ = failure;
  return failure == kNoFailure ? 0 : 1;
}
