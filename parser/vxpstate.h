// Parse states: each compiled rule as a small transition network.
//
// A VxParseState lists the tokens that may come next; each VxStateTransition
// says what to do on its token: call another rule, return from this one,
// shift the token, jump to another state without consuming it, or accept.
// A state also has an "others" transition, taken when no listed one
// matches. Where two transitions of one list accept the same token both are
// marked duplicate; the runtime resolves them by backtracking.
//
// Ownership: a rule's entry (top) state owns the chain of all the rule's
// states; each state owns its transitions (the others one included). Next
// and push states are not owned. Failure: construction returns 1 when
// memory runs out. One thread builds; parses only read.
#ifndef VX_PARSER_VXPSTATE_H_
#define VX_PARSER_VXPSTATE_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"

class VxBNFElement;
class VxParseState;
class VxProduction;

enum ActionType { kActionCall = 0, kActionReturn = 1, kActionShift = 2, kActionJump = 3, kActionAccept = 4 };

class VX_EXPORT VxStateTransition : public VxObject {
 public:
  VxStateTransition();
  // Deletes the rest of the transition list behind this one, iteratively.
  ~VxStateTransition() override;
  VxStateTransition(const VxStateTransition&) = delete;
  VxStateTransition& operator=(const VxStateTransition&) = delete;

  void setTokenType(int16_t kind) { tokenType_ = kind; }
  // Stores a copy of text (null for any token of the kind); 1 when memory
  // runs out.
  unsigned setTokenString(const char* text);
  void setNextParseState(VxParseState* s) { next_ = s; }
  void setAction(ActionType a) { action_ = a; }
  void setPushState(VxParseState* s) { push_ = s; }
  void setProductionNumber(int16_t n) { production_ = n; }
  void setDuplicate(int flag) { duplicate_ = flag; }
  void setNextTransition(VxStateTransition* t) { nextTransition_ = t; }
  void setPrevTransition(VxStateTransition* t) { prevTransition_ = t; }
  int16_t getTokenType() const { return tokenType_; }
  const char* getTokenStringPtr() const { return tokenString_; }
  VxParseState* getNextParseState() const { return next_; }
  ActionType getAction() const { return action_; }
  VxParseState* getPushState() const { return push_; }
  int16_t getProductionNumber() const { return production_; }
  int getDuplicate() const { return duplicate_; }
  VxStateTransition* getNextTransition() const { return nextTransition_; }
  VxStateTransition* getPrevTransition() const { return prevTransition_; }

  // 0 when this transition accepts the token, 1 otherwise:
  //  1. kind 41 (literal contents) accepts every token;
  //  2. a quote character token (kind 40) is accepted by kind 9, 32 or 33
  //     when it is a back quote, double quote or single quote, and by a
  //     kind 40 transition whatever the character;
  //  3. otherwise the kinds must be equal, and for an identifier (kind 2)
  //     with a transition text the texts must be equal without case.
  unsigned match(int16_t kind, const char* text) const;
  // Appends t to the list that starts here, marking t and every earlier
  // transition that accepts t's token as duplicates.
  void addToListEnd(VxStateTransition* t);
  // Appends to state copies of this list: copyList keeps everything but the
  // duplicate flag; copyListOthers keeps kind and text and makes each copy
  // a jump to target. 1 when memory runs out.
  unsigned copyList(VxParseState* state) const;
  unsigned copyListOthers(VxParseState* state, VxParseState* target) const;

 private:
  unsigned copyEach(VxParseState* state, VxParseState* jumpTarget) const;

  int16_t tokenType_;
  char* tokenString_;
  VxParseState* next_;
  ActionType action_;
  VxParseState* push_;
  int16_t production_;
  int duplicate_;
  VxStateTransition* prevTransition_;
  VxStateTransition* nextTransition_;
};

class VX_EXPORT VxParseState : public VxObject {
 public:
  VxParseState();
  // Deletes its transitions; a top state also deletes the chain of states
  // hanging from it.
  ~VxParseState() override;
  VxParseState(const VxParseState&) = delete;
  VxParseState& operator=(const VxParseState&) = delete;

  void addTransition(VxStateTransition* t);
  VxStateTransition* getTransitionList() const { return transitions_; }
  // Replaces (and deletes) the others transition; null clears it.
  void setOthersState(VxStateTransition* t);
  VxStateTransition* getOthersState() const { return others_; }
  VxParseState* getNextState() const { return nextState_; }
  void setNextState(VxParseState* s) { nextState_ = s; }
  VxParseState* getPrevState() const { return prevState_; }
  void setPrevState(VxParseState* s) { prevState_ = s; }
  // Appends s to the chain of states that this (top) state owns.
  void addToListEnd(VxParseState* s);

  // Chooses the transition for a token (see vxpstate.cpp): 0 and the
  // alternative-th matching one, or the others transition once the matches
  // are used up, or 1 when there is none.
  unsigned nextState(int16_t kind, const char* text, VxStateTransition*& out, int alternative) const;

  // Network construction (see vxpstate.cpp). Each returns 1 when memory
  // runs out or a referenced rule has no entry state. continuation null
  // means the end of the rule.
  unsigned processTopLevel(VxParseState* top, const VxBNFElement* alternatives, VxParseState* continuation,
                           bool mandatory, bool repeating);
  unsigned processAlternation(VxParseState* top, const VxBNFElement* sequence, VxParseState* continuation);
  unsigned processSequentialElement(VxParseState* top, const VxBNFElement* element, VxParseState* continuation);

 private:
  unsigned copyJumpChain(VxParseState* first);
  bool endsRuleWhenSkipped(const VxParseState* entry) const;
  unsigned newReturnState(VxParseState* top, VxParseState*& state);

  VxStateTransition* transitions_;
  VxStateTransition* lastTransition_;
  VxParseState* nextState_;
  VxParseState* prevState_;
  VxParseState* lastInChain_;
  VxStateTransition* others_;
};

#endif  // VX_PARSER_VXPSTATE_H_
