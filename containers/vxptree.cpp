// VxPTree: shifting positions along one path of relative keys.
#include "containers/vxptree.h"

#include <cstring>

int16_t treeVXSIZE_TCompare(const void* a, const void* b, uint16_t /*keyLength*/) {
  VXSIZE_T x, y;
  memcpy(&x, a, sizeof x);
  memcpy(&y, b, sizeof y);
  return x < y ? -1 : (x > y ? 1 : 0);
}

VxPTree::VxPTree(uint16_t dataLength) : VxTree(8, dataLength, treeVXSIZE_TCompare, 1, 0) {
  treeFlags |= kPositional;
}

// From the root down: in each node the keys from the first one at or
// after the position (relative to the node's base) move by shift, which
// moves their right subtrees too; the search goes on in the son left of
// that key, whose base does not change.
unsigned VxPTree::shiftFrom(VXSIZE_T position, VXSIZE_T shift) {
  if (rootAddress != 0 && prepareWork() != 0) return 1;
  VXSIZE_T address = rootAddress, base = 0;
  while (address != 0) {
    if (loadNode(address, workNode) != 0) return 1;
    VXSIZE_T relative = position - base;
    bool equal;
    uint16_t i = nodeSearch(workNode, &relative, &equal);
    VXSIZE_T son = sonOf(workNode, i);
    base += sonBase(workNode, i);
    addToKeys(workNode, i, shift);
    if (storeNode(address, workNode) != 0) return 1;
    address = son;
  }
  modified();
  return 0;
}

unsigned VxPTree::addAtPos(VXSIZE_T position, const void* data) {
  inserting = true;
  unsigned int found;
  unsigned status = shiftFrom(position, 1);
  if (status == 0) status = add(&position, data, &found);
  inserting = false;
  return status;
}

unsigned VxPTree::addHoleAtPos(VXSIZE_T position) {
  inserting = true;
  unsigned status = shiftFrom(position, 1);
  inserting = false;
  return status;
}

unsigned VxPTree::deleteKeyAtPos(VXSIZE_T position, unsigned int* found) {
  deleting = true;
  unsigned int f = 0;
  unsigned status = deleteKey(&position, &f);
  if (status == 0 && f) status = shiftFrom(position + 1, VXSIZE_T(0) - 1);
  if (found) *found = f;
  deleting = false;
  return status;
}
