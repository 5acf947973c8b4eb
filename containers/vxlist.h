// VxNode and VxList: a circular singly linked list with a built-in cursor.
//
// Classes that are kept in a list derive from VxNode; the list threads them
// through their `next` field and never allocates. The list keeps a pointer
// to its last node, whose `next` is the first node, so both ends are reached
// in one step and appending costs the same as inserting at the front.
//
// Ownership: the list does NOT own its nodes. Its destructor leaves them
// alone; an owner that wants them destroyed calls deleteNodes() first.
//
// The cursor is shared state: the iteration calls (getFirstNode,
// getNextNode, getLastNode) and the positional ones (getNodeAtPos,
// insertAtPos, moveLastNodeToPos) all move it, so an iteration under way
// must not be interleaved with positional operations.
//
// Thread-safety: none; a list is used by one thread at a time.
// Failure: no operation can fail; nothing is allocated.
#ifndef VX_CONTAINERS_VXLIST_H_
#define VX_CONTAINERS_VXLIST_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxNode : public VxObject {
 public:
  // Leaves `next` unset: only a list gives it a meaning (deliberate).
  VxNode() {}
  // A copy is not linked anywhere: the link stays with the original.
  VxNode(const VxNode& other) : VxObject(other) {}
  VxNode& operator=(const VxNode&) { return *this; }
  ~VxNode() override;

  // The following node in the ring; null once the node has been unlinked.
  VxNode* next;
};

class VX_EXPORT VxList : public VxObject {
 public:
  // An empty list: no last node, no cursor, count 0.
  VxList();
  VxList(const VxList&) = delete;
  VxList& operator=(const VxList&) = delete;
  // Leaves the nodes alive and linked to one another.
  ~VxList() override;

  // Puts the node first.
  void insert(VxNode* node);
  // Puts the node last.
  void append(VxNode* node);
  // Position 0 inserts, position equal to the count appends; any other
  // position links the node after the node at position-1, which is found
  // with getNodeAtPos (so the cursor moves, and the 16-bit limit of that
  // call applies). A position past the count appends.
  void insertAtPos(VxNode* node, VXSIZE_T position);

  // Removes a node from the list; its `next` becomes null and a cursor on
  // it becomes null. A node that is not in the list is left as it is.
  void unlink(VxNode* node);
  // Unlink and return the first or the last node; null when empty.
  VxNode* removeFirstNode();
  VxNode* removeLastNode();
  // Unlinks the last node and puts it back with insertAtPos(position).
  void moveLastNodeToPos(VXSIZE_T position);
  // Unlinks the first node and destroys it, until the list is empty.
  void deleteNodes();

  // Iteration: each call sets the cursor and returns it.
  // getFirstNode: the first node, null when empty.
  VxNode* getFirstNode();
  // The node after the cursor; null (and the cursor null) when the cursor
  // was on the last node or was already null.
  VxNode* getNextNode();
  // The last node, null when empty.
  VxNode* getLastNode();
  // getFirstNode, then getNextNode `position` times. The step counter is
  // 16 bits wide, so the position is taken modulo 65536 (deliberate limit).
  // Null when the narrowed position is not below the count.
  VxNode* getNodeAtPos(VXSIZE_T position);

  VXSIZE_T getCount() const { return count; }
  // The node the cursor is on, or null.
  VxNode* getCursor() const { return cursor; }

 private:
  VxNode* last;     // null when empty; last->next is the first node
  VXSIZE_T count;   // number of nodes in the ring
  VxNode* cursor;   // node most recently returned by an iteration call
};

#endif  // VX_CONTAINERS_VXLIST_H_
