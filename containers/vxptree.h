// VxPTree: a positional tree. Its key is an entry's position (an unsigned
// 64-bit number); inserting at a position moves the entries at and after
// it up by one, deleting moves the later ones down by one, so a caller can
// keep an ordered sequence with cheap inserts and deletes in the middle,
// larger than memory.
//
// Keys are kept relative: a key in a node is the position less the base of
// its node, and the base of son i is its node's base plus key i - 1 (0 for
// son 0), the root's base being 0. Shifting the positions from p on then
// touches one node per level: in each node on the path towards p the keys
// from the first one at or after p move, and with them every subtree to
// their right. Walks and look-ups hand out and take absolute positions.
//
// Positions need not be dense: addHoleAtPos opens a gap with no entry.
// Entries are removed, never only marked (a mark would leave two entries at
// one position after the shift).
//
// Failure, ownership and threads: as VxTree.
#ifndef VX_CONTAINERS_VXPTREE_H_
#define VX_CONTAINERS_VXPTREE_H_

#include <cstdint>

#include "containers/vxtree.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// The order of positions: -1, 0 or 1 by the unsigned 64-bit values. Not
// exported: the positional tree sets it itself.
int16_t treeVXSIZE_TCompare(const void* a, const void* b, uint16_t keyLength);

class VX_EXPORT VxPTree : public VxTree {
 public:
  // An empty positional tree with dataLength bytes of data per entry.
  explicit VxPTree(uint16_t dataLength);

  // Inserts an entry at position; entries at and after it move up by one.
  unsigned addAtPos(VXSIZE_T position, const void* data);
  // Opens a gap at position: entries at and after it move up by one.
  unsigned addHoleAtPos(VXSIZE_T position);
  // Removes the entry at position (*found tells whether there was one);
  // when there was, the entries after it move down by one.
  unsigned deleteKeyAtPos(VXSIZE_T position, unsigned int* found);

 private:
  // Adds shift (modulo 2^64) to every position at or after position.
  unsigned shiftFrom(VXSIZE_T position, VXSIZE_T shift);

  bool inserting = false;  // set for the duration of addAtPos and addHoleAtPos
  bool deleting = false;   // set for the duration of deleteKeyAtPos
};

#endif  // VX_CONTAINERS_VXPTREE_H_
