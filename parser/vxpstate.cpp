// Parse states and transitions, and the building of a rule's network.
//
// Building (processTopLevel and the two below it). Returning from a rule is
// a state whose others transition has the return action. From an entry
// state S with a continuation K (null: the end of the rule):
//  - a group that may be skipped gives S an others transition: a jump to K,
//    or a return when K is null; a mandatory group clears it;
//  - a one-or-more group gets a new loop state L; a zero-or-more group uses
//    S itself as L; the alternatives of a repeating group continue at L,
//    those of any other group at K;
//  - each alternative is built into a new state A, and every transition of
//    A is copied into S as a jump to A, so S sees the tokens that can begin
//    each alternative. When A itself may be passed over (its others
//    transition is a jump), the states along that chain of jumps are copied
//    into S too, all as jumps to the first state J of the chain (J then
//    routes the token on). The chain stops at S itself and at any state
//    already seen, so a group that can loop back without consuming a token
//    adds no jump from S to S;
//  - when an alternative can be passed over entirely at the end of the
//    rule (its chain of jumps ends in a return), S that has no others
//    transition gets a return too, so a rule made of an optional group can
//    end at once;
//  - finally a one-or-more group's L gets every transition of S and an
//    others transition to K (a return when K is null), so after each pass
//    the group may run again or be left.
// A sequence gives each element but the last a fresh state to continue at.
// A terminal is a shift (to K, or to a new return state); a rule reference
// is one call per token of the rule's first list, to the rule's entry state,
// returning to K (a new return state when K is null).
//
// Transitions keep the order of the grammar's alternatives; each one added
// is compared with those already in the list, and both are marked
// duplicate when the older accepts the new one's token.
#include "parser/vxpstate.h"

#include <cassert>
#include <cstdlib>

#include "foundation/ram.h"
#include "foundation/vxstr.h"
#include "parser/vxgrammar.h"

VxStateTransition::VxStateTransition()
    : tokenType_(0),
      tokenString_(nullptr),
      next_(nullptr),
      action_(kActionJump),
      push_(nullptr),
      production_(0),
      duplicate_(0),
      prevTransition_(nullptr),
      nextTransition_(nullptr) {}

VxStateTransition::~VxStateTransition() {
  free(tokenString_);
  VxStateTransition* rest = nextTransition_;
  while (rest) {
    VxStateTransition* after = rest->nextTransition_;
    rest->nextTransition_ = nullptr;
    delete rest;
    rest = after;
  }
}

unsigned VxStateTransition::setTokenString(const char* text) {
  char* copy = nullptr;
  if (text && !(copy = ramAllocStr(text))) return 1;
  free(tokenString_);
  tokenString_ = copy;
  return 0;
}

unsigned VxStateTransition::match(int16_t kind, const char* text) const {
  if (tokenType_ == kVxKindLiteralContents) return 0;
  if (kind == kVxKindQuoteChar) {
    if (tokenType_ == kVxKindQuoteChar) return 0;
    char quote = text ? text[0] : '\0';
    if ((tokenType_ == kVxKindBackQuote && quote == '`') || (tokenType_ == kVxKindDoubleQuote && quote == '"') ||
        (tokenType_ == kVxKindSingleQuote && quote == '\'')) {
      return 0;
    }
    return 1;
  }
  if (kind != tokenType_) return 1;
  if (kind != kVxKindIdentifier || !tokenString_) return 0;
  return text && strEqualCi(text, tokenString_) ? 0 : 1;
}

void VxStateTransition::addToListEnd(VxStateTransition* t) {
  VxStateTransition* last = this;
  for (VxStateTransition* at = this; at; at = at->nextTransition_) {
    if (at->match(t->tokenType_, t->tokenString_) == 0) {
      at->duplicate_ = 1;
      t->duplicate_ = 1;
    }
    last = at;
  }
  last->nextTransition_ = t;
  t->prevTransition_ = last;
}

unsigned VxStateTransition::copyList(VxParseState* state) const { return copyEach(state, nullptr); }

unsigned VxStateTransition::copyListOthers(VxParseState* state, VxParseState* target) const {
  assert(target != nullptr);
  return copyEach(state, target);
}

// Copies each transition's kind and text; with no jump target also its
// next state, action, push state and production, else a jump to the target.
unsigned VxStateTransition::copyEach(VxParseState* state, VxParseState* jumpTarget) const {
  for (const VxStateTransition* at = this; at; at = at->nextTransition_) {
    VxStateTransition* copy = new VxStateTransition;
    if (!copy || copy->setTokenString(at->tokenString_)) {
      delete copy;
      return 1;
    }
    copy->tokenType_ = at->tokenType_;
    if (jumpTarget) {
      copy->next_ = jumpTarget;
      copy->action_ = kActionJump;
    } else {
      copy->next_ = at->next_;
      copy->action_ = at->action_;
      copy->push_ = at->push_;
      copy->production_ = at->production_;
    }
    state->addTransition(copy);
  }
  return 0;
}

VxParseState::VxParseState()
    : transitions_(nullptr),
      lastTransition_(nullptr),
      nextState_(nullptr),
      prevState_(nullptr),
      lastInChain_(this),
      others_(nullptr) {}

VxParseState::~VxParseState() {
  delete transitions_;
  delete others_;
  if (prevState_) return;  // only the top state owns the chain
  VxParseState* rest = nextState_;
  while (rest) {
    VxParseState* after = rest->nextState_;
    delete rest;
    rest = after;
  }
}

void VxParseState::addTransition(VxStateTransition* t) {
  assert(t && !t->getNextTransition());
  if (!transitions_) {
    transitions_ = lastTransition_ = t;
    return;
  }
  transitions_->addToListEnd(t);
  lastTransition_ = t;
}

void VxParseState::setOthersState(VxStateTransition* t) {
  delete others_;
  others_ = t;
}

void VxParseState::addToListEnd(VxParseState* s) {
  s->prevState_ = lastInChain_;
  lastInChain_->nextState_ = s;
  lastInChain_ = s;
}

// Choosing a transition for a token with alternative index n: the n-th
// matching transition of the list (counting from 0); when the list runs
// out after exactly n matches, the others transition; after fewer, none.
// A state without transitions offers its others transition whatever n is.
// So each retry with a higher index moves one choice further, and the
// others transition is the last choice.
unsigned VxParseState::nextState(int16_t kind, const char* text, VxStateTransition*& out, int alternative) const {
  out = nullptr;
  if (transitions_) {
    int matches = 0;
    for (VxStateTransition* t = transitions_; t; t = t->getNextTransition()) {
      if (t->match(kind, text) != 0) continue;
      if (matches == alternative) {
        out = t;
        return 0;
      }
      ++matches;
    }
    if (matches != alternative) return 1;
  }
  out = others_;
  return out ? 0 : 1;
}

namespace {
// A transition that leaves the current group: a jump to continuation, or a
// return from the rule when there is none.
VxStateTransition* newExit(VxParseState* continuation) {
  VxStateTransition* exit = new VxStateTransition;
  if (!exit) return nullptr;
  exit->setAction(continuation ? kActionJump : kActionReturn);
  exit->setNextParseState(continuation);
  return exit;
}
}  // namespace

unsigned VxParseState::newReturnState(VxParseState* top, VxParseState*& state) {
  state = new VxParseState;
  if (!state) return 1;
  top->addToListEnd(state);
  VxStateTransition* exit = newExit(nullptr);
  if (!exit) return 1;
  state->setOthersState(exit);
  return 0;
}

unsigned VxParseState::processTopLevel(VxParseState* top, const VxBNFElement* alternatives,
                                       VxParseState* continuation, bool mandatory, bool repeating) {
  if (mandatory) {
    setOthersState(nullptr);
  } else {
    VxStateTransition* exit = newExit(continuation);
    if (!exit) return 1;
    setOthersState(exit);
  }
  VxParseState* loop = nullptr;
  if (repeating && mandatory) {
    loop = new VxParseState;
    if (!loop) return 1;
    top->addToListEnd(loop);
  } else if (repeating) {
    loop = this;
  }
  for (const VxBNFElement* alternative = alternatives; alternative;) {
    VxParseState* entry = new VxParseState;
    if (!entry) return 1;
    top->addToListEnd(entry);
    if (entry->processAlternation(top, alternative, repeating ? loop : continuation)) return 1;
    if (entry->transitions_ && entry->transitions_->copyListOthers(this, entry)) return 1;
    VxStateTransition* skip = entry->others_;
    if (skip && skip->getAction() == kActionJump && copyJumpChain(skip->getNextParseState())) return 1;
    if (!others_ && endsRuleWhenSkipped(entry)) {
      VxStateTransition* exit = newExit(nullptr);
      if (!exit) return 1;
      setOthersState(exit);
    }
    VxBNFElement* next;
    alternative->getNextAlternation(next);
    alternative = next;
  }
  if (repeating && mandatory) {
    if (transitions_ && transitions_->copyList(loop)) return 1;
    VxStateTransition* exit = newExit(continuation);
    if (!exit) return 1;
    loop->setOthersState(exit);
  }
  return 0;
}

// Copies into this state, as jumps to first, the transitions of every state
// on the chain of others-jumps that starts at first.
namespace {
// The state an others-jump of s leads to, or null.
VxParseState* jumpTarget(const VxParseState* s) {
  VxStateTransition* skip = s->getOthersState();
  return skip && skip->getAction() == kActionJump ? skip->getNextParseState() : nullptr;
}
}  // namespace

// Whether the chain of others-jumps from entry ends in an others transition
// that returns from the rule: the alternative can then be passed over
// entirely and the rule end.
bool VxParseState::endsRuleWhenSkipped(const VxParseState* entry) const {
  const VxParseState* at = entry;
  for (int steps = 0; at && steps < 64; ++steps) {
    if (at->others_ && at->others_->getAction() == kActionReturn) return true;
    if (at == this && steps > 0) return false;
    at = jumpTarget(at);
  }
  return false;
}

unsigned VxParseState::copyJumpChain(VxParseState* first) {
  int length = 0;
  for (VxParseState* at = first; at && at != this; at = jumpTarget(at), ++length) {
    // A state met before on this chain closes a loop: stop there. Chains
    // are short, so the walk from the start is cheaper than a visited set.
    VxParseState* earlier = first;
    for (int i = 0; i < length; ++i, earlier = jumpTarget(earlier)) {
      if (earlier == at) return 0;
    }
    if (at->transitions_ && at->transitions_->copyListOthers(this, first)) return 1;
  }
  return 0;
}

unsigned VxParseState::processAlternation(VxParseState* top, const VxBNFElement* sequence,
                                          VxParseState* continuation) {
  VxParseState* from = this;
  for (const VxBNFElement* element = sequence; element;) {
    VxBNFElement* next;
    element->getNextSequential(next);
    VxParseState* to = continuation;
    if (next) {
      to = new VxParseState;
      if (!to) return 1;
      top->addToListEnd(to);
    }
    if (from->processSequentialElement(top, element, to)) return 1;
    from = to;
    element = next;
  }
  return 0;
}

unsigned VxParseState::processSequentialElement(VxParseState* top, const VxBNFElement* element,
                                                VxParseState* continuation) {
  VxBNFElement* contents;
  element->getContains(contents);
  if (element->getBracket() == VxBNFElement::kSquare) {
    return processTopLevel(top, contents, continuation, false, false);
  }
  if (element->getBracket() == VxBNFElement::kBrace) {
    VxBNFElement::ClosureType closure = element->getClosure();
    return processTopLevel(top, contents, continuation, closure != VxBNFElement::kZeroOrMore,
                           closure != VxBNFElement::kNoClosure);
  }
  if (!continuation && newReturnState(top, continuation)) return 1;
  VxProduction* rule;
  if (element->getNonTerminal(rule) != 0) {
    VxStateTransition* shift = new VxStateTransition;
    if (!shift || shift->setTokenString(element->getTokenStringPtr())) {
      delete shift;
      return 1;
    }
    shift->setTokenType(element->getTokenType());
    shift->setAction(kActionShift);
    shift->setNextParseState(continuation);
    addTransition(shift);
    return 0;
  }
  if (!rule->getParseTop()) return 1;
  for (const VxTokenNode* first = rule->getFirstList(); first; first = first->getNext()) {
    VxStateTransition* call = new VxStateTransition;
    if (!call || call->setTokenString(first->getText())) {
      delete call;
      return 1;
    }
    call->setTokenType(first->getKind());
    call->setAction(kActionCall);
    call->setNextParseState(rule->getParseTop());
    call->setPushState(continuation);
    call->setProductionNumber(rule->getNumber());
    addTransition(call);
  }
  return 0;
}
