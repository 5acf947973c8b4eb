// The grammar model's classes: keyword list, first-list nodes, rule
// elements, rules and parse-result nodes. The compiler is in
// vxgrammar_compile.cpp.
#include "parser/vxgrammar.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram.h"
#include "foundation/ram_internal.h"
#include "foundation/vxstr.h"
#include "parser/vxpstate.h"

namespace {

// A heap copy of text (null for null) in out; false when memory ran out.
bool copyText(const char* text, char*& out) {
  out = text ? ramAllocStr(text) : nullptr;
  return !text || out;
}

// Length of a blob of (text, NUL, 16-bit number) entries ended by an empty
// text, the final NUL included.
VXSIZE_T blobLength(const char* blob) {
  VXSIZE_T length = 0;
  while (blob[length] != '\0') length += strlen(blob + length) + 3;
  return length + 1;
}

}  // namespace

char* vxFlattenResources(const resourceElement* entries, uint16_t count) {
  VXSIZE_T size = VXSIZE_T(count) * 3 + 1;
  for (uint16_t i = 0; i < count; ++i) size += entries[i].text ? strlen(entries[i].text) : 0;
  char* blob = static_cast<char*>(ramAlloc(size));
  if (!blob) return nullptr;
  char* at = blob;
  for (uint16_t i = 0; i < count; ++i) {
    VXSIZE_T length = entries[i].text ? strlen(entries[i].text) : 0;
    memcpy(at, entries[i].text, length);
    at[length] = '\0';
    memcpy(at + length + 1, &entries[i].number, 2);
    at += length + 3;
  }
  *at = '\0';
  return blob;
}

// ---- VxKeywordList ------------------------------------------------------

VxKeywordList::VxKeywordList() : blob_(nullptr), entries_(nullptr), count_(0), caseSensitive_(0) {}

VxKeywordList::VxKeywordList(const char* blob) : VxKeywordList() { init(blob); }

VxKeywordList::~VxKeywordList() {
  free(blob_);
  free(entries_);
}

unsigned VxKeywordList::init(const char* blob) {
  free(blob_);
  free(entries_);
  blob_ = nullptr;
  entries_ = nullptr;
  count_ = 0;
  if (!blob) return 0;
  VXSIZE_T length = blobLength(blob), count = 0;
  for (const char* entry = blob; *entry != '\0'; entry += strlen(entry) + 3) ++count;
  blob_ = static_cast<char*>(ramAlloc(length));
  entries_ = static_cast<Entry*>(ramAlloc(count * sizeof(Entry)));
  if (!blob_ || !entries_) {
    free(blob_);
    free(entries_);
    blob_ = nullptr;
    entries_ = nullptr;
    return 1;
  }
  memcpy(blob_, blob, length);
  for (const char* entry = blob_; *entry != '\0'; ++count_) {
    Entry& e = entries_[count_];
    e.offset = entry - blob_;
    e.length = strlen(entry);
    memcpy(&e.number, entry + e.length + 1, 2);
    entry += e.length + 3;
  }
  return 0;
}

unsigned VxKeywordList::lookup(const char* word, int16_t& number) const {
  return lookup(word, strlen(word), number);
}

unsigned VxKeywordList::lookup(const char* word, VXSIZE_T length, int16_t& number) const {
  for (VXSIZE_T i = 0; i < count_; ++i) {
    const Entry& e = entries_[i];
    const char* text = blob_ + e.offset;
    if (e.length != length) continue;  // unequal either way
    bool equal = caseSensitive_ ? memcmp(text, word, length) == 0 : strEqualCi(text, e.length, word, length);
    if (equal) {
      number = e.number;
      return 0;
    }
  }
  return 1;
}

// ---- VxTokenNode --------------------------------------------------------

VxTokenNode::VxTokenNode(int16_t kind, const char* text) : kind_(kind), text_(nullptr), next_(nullptr) {
  valid_ = copyText(text, text_);
}

VxTokenNode::VxTokenNode(const VxTokenNode& other) : VxTokenNode(other.kind_, other.text_) {}

VxTokenNode::~VxTokenNode() {
  free(text_);
  VxTokenNode* rest = next_;
  while (rest) {
    VxTokenNode* after = rest->next_;
    rest->next_ = nullptr;
    delete rest;
    rest = after;
  }
}

unsigned VxTokenNode::addToList(int16_t kind, const char* text) {
  VxTokenNode* node = new VxTokenNode(kind, text);
  if (!node || !node->valid()) {
    delete node;
    return 1;
  }
  return addToList(node);
}

unsigned VxTokenNode::addToList(VxTokenNode* node) {
  VxTokenNode* last = this;
  while (last->next_) last = last->next_;
  last->next_ = node;
  return 0;
}

// ---- VxBNFElement -------------------------------------------------------

VxBNFElement::VxBNFElement()
    : bracket_(kNoBracket),
      closure_(kNoClosure),
      tokenType_(0),
      literal_(0),
      tokenString_(nullptr),
      prevAlternation_(nullptr),
      nextAlternation_(nullptr),
      prevSequential_(nullptr),
      nextSequential_(nullptr),
      contains_(nullptr),
      containedBy_(nullptr),
      nonTerminal_(nullptr) {}

VxBNFElement::~VxBNFElement() {
  free(tokenString_);
  delete contains_;
  // The rest of the sequence, then each later alternative with its own
  // sequence, walked flat: a rule may have thousands of either. Each node
  // is deleted with its links cleared; only a group's contents (bounded by
  // the compiler's nesting limit) and an alternation hanging from inside a
  // sequence, which the compiler never builds, recurse.
  VxBNFElement* sequence = nextSequential_;
  VxBNFElement* alternative = nextAlternation_;
  nextSequential_ = nextAlternation_ = nullptr;
  while (sequence || alternative) {
    VxBNFElement* node = sequence;
    if (!node) {
      node = alternative;
      alternative = node->nextAlternation_;
      node->nextAlternation_ = nullptr;
    }
    sequence = node->nextSequential_;
    node->nextSequential_ = nullptr;
    delete node;
  }
}

unsigned VxBNFElement::getTokenString(char* buffer, VXSIZE_T size) const {
  if (size > 0) strCopy(buffer, size, tokenString_ ? tokenString_ : "");
  return tokenString_ ? 0 : 1;
}

unsigned VxBNFElement::setTokenString(const char* text) {
  char* copy;
  if (!copyText(text, copy)) return 1;
  free(tokenString_);
  tokenString_ = copy;
  return 0;
}

void VxBNFElement::addToSequentialEnd(VxBNFElement* e) {
  VxBNFElement* last = this;
  while (last->nextSequential_) last = last->nextSequential_;
  last->nextSequential_ = e;
  e->prevSequential_ = last;
}

void VxBNFElement::addToAlternationEnd(VxBNFElement* e) {
  VxBNFElement* last = this;
  while (last->nextAlternation_) last = last->nextAlternation_;
  last->nextAlternation_ = e;
  e->prevAlternation_ = last;
}

// ---- VxProduction -------------------------------------------------------

VxProduction::VxProduction()
    : name_(nullptr),
      number_(0),
      compiled_(nullptr),
      first_(nullptr),
      next_(nullptr),
      parseTop_(new VxParseState),
      computingFirst_(false) {}

VxProduction::~VxProduction() {
  free(name_);
  delete compiled_;
  delete first_;
  delete parseTop_;
}

unsigned VxProduction::setName(const char* name) {
  char* copy;
  if (!copyText(name, copy)) return 1;
  free(name_);
  name_ = copy;
  return 0;
}

void VxProduction::addToEnd(VxProduction* p) {
  VxProduction* last = this;
  while (last->next_) last = last->next_;
  last->next_ = p;
}

const char* VxProduction::numberToName(int16_t number) const {
  for (const VxProduction* p = this; p; p = p->next_) {
    if (p->number_ == number) return p->name_;
  }
  return nullptr;
}

// Adds (kind, text) to the first list unless the pair is there already: a
// token that begins two alternatives is one entry, so a reference to this
// rule becomes one call transition on it, not two identical ones that the
// runtime would have to try in turn at every level.
unsigned VxProduction::appendFirst(int16_t kind, const char* text) {
  for (const VxTokenNode* t = first_; t; t = t->getNext()) {
    const char* known = t->getText();
    if (t->getKind() == kind && (known == text || (known && text && strcmp(known, text) == 0))) return 0;
  }
  if (first_) return first_->addToList(kind, text);
  first_ = new VxTokenNode(kind, text);
  if (first_ && first_->valid()) return 0;
  delete first_;
  first_ = nullptr;
  return 1;
}

// First lists. For each alternative of the rule, the tokens its first
// element can begin with: a terminal adds itself; a group adds the first
// tokens of each of its alternatives, and an optional or zero-or-more group
// also adds what may follow it in the sequence, since it may be empty; a
// rule reference adds a copy of that rule's list, computing it first when
// it is still empty. Whether a referenced rule can match nothing is not
// tracked. A rule met again while its own list is being computed is left
// recursive, which a top-down walk cannot handle: it fails the compilation
// instead of recursing for ever.
unsigned VxProduction::calculateFirst() {
  if (first_) return 0;
  if (computingFirst_) return 1;
  computingFirst_ = true;
  unsigned status = 0;
  for (const VxBNFElement* alternative = compiled_; alternative && status == 0;) {
    status = addFirstOfElement(alternative);
    VxBNFElement* next;
    alternative->getNextAlternation(next);
    alternative = next;
  }
  computingFirst_ = false;
  return status != 0 || first_ == nullptr ? 1 : 0;
}

unsigned VxProduction::addFirstOfElement(const VxBNFElement* e) {
  if (!e) return 0;
  VxProduction* rule;
  if (e->getBracket() != VxBNFElement::kNoBracket) {
    VxBNFElement* contents;
    e->getContains(contents);
    for (const VxBNFElement* alternative = contents; alternative;) {
      if (addFirstOfElement(alternative)) return 1;
      VxBNFElement* next;
      alternative->getNextAlternation(next);
      alternative = next;
    }
    bool mayBeEmpty = e->getBracket() == VxBNFElement::kSquare || e->getClosure() == VxBNFElement::kZeroOrMore;
    VxBNFElement* after;
    if (mayBeEmpty && e->getNextSequential(after) == 0) return addFirstOfElement(after);
    return 0;
  }
  if (e->getNonTerminal(rule) == 0) {
    if (rule->calculateFirst()) return 1;
    for (const VxTokenNode* t = rule->first_; t; t = t->getNext()) {
      if (appendFirst(t->getKind(), t->getText())) return 1;
    }
    return 0;
  }
  return appendFirst(e->getTokenType(), e->getTokenStringPtr());
}

unsigned VxProduction::createParseStates() {
  if (!parseTop_) return 1;
  return parseTop_->processTopLevel(parseTop_, compiled_, nullptr, true, false);
}

// ---- VxReduction --------------------------------------------------------

VxReduction::VxReduction() : VxReduction(0, nullptr) {}

VxReduction::VxReduction(int16_t number, const char* text)
    : terminal_(number != 0 && number <= 999),
      number_(number),
      string_(nullptr),
      parent_(nullptr),
      child_(nullptr),
      next_(nullptr),
      prev_(nullptr),
      lastChild_(nullptr) {
  valid_ = copyText(text, string_);
}

// Deletes the subtree without recursion: detach the first child of the
// node being emptied and descend into it; a node without children is
// deleted and its next sibling takes its place.
VxReduction::~VxReduction() {
  free(string_);
  VxReduction* at = child_;
  child_ = nullptr;
  while (at) {
    if (at->child_) {
      VxReduction* down = at->child_;
      at->child_ = nullptr;
      down->parent_ = at;
      // Remember where to come back: the node keeps its siblings, so we
      // continue with it once its children are gone.
      VxReduction* last = down;
      while (last->next_) last = last->next_;
      last->next_ = at;  // after the children, the emptied node itself
      at = down;
      continue;
    }
    VxReduction* after = at->next_;
    at->next_ = nullptr;
    delete at;
    at = after;
  }
}

VxReduction* VxReduction::getGoal() {
  VxReduction* root = this;
  while (root->parent_) root = root->parent_;
  return root;
}

unsigned VxReduction::addChild(VxReduction* child) {
  if (!child) return 0;
  child->parent_ = this;
  child->next_ = nullptr;
  if (!child_) {
    child_ = lastChild_ = child;
    child->prev_ = nullptr;
    return 0;
  }
  VxReduction* last = lastChild_ ? lastChild_ : child_;
  while (last->next_) last = last->next_;
  last->next_ = child;
  child->prev_ = last;
  lastChild_ = child;
  return 0;
}

unsigned VxReduction::setString(const char* text) {
  char* copy;
  if (!copyText(text, copy)) return 1;
  free(string_);
  string_ = copy;
  return 0;
}
