// VxTree: node layout, search, insertion with splits, removal and walks.
#include "containers/vxtree.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {

uint16_t readU16(const char* p) {
  uint16_t v;
  memcpy(&v, p, sizeof v);
  return v;
}

void writeU16(char* p, uint16_t v) { memcpy(p, &v, sizeof v); }

uint64_t readU64(const char* p) {
  uint64_t v;
  memcpy(&v, p, sizeof v);
  return v;
}

void writeU64(char* p, uint64_t v) { memcpy(p, &v, sizeof v); }

unsigned push(VxArrayVXSIZE_T& nodes, VxArrayVXSIZE_T& indexes, VXSIZE_T node, VXSIZE_T index) {
  if (nodes.add(node) != 0) return 1;
  if (indexes.add(index) != 0) {
    nodes.pop();
    return 1;
  }
  return 0;
}

}  // namespace

// ---- Iterator ----

unsigned VxTreeIterator::initialize(VxTree* t) {
  tree = t;
  reset();
  if (nodes.getSizeOfArray() >= 32) return 0;
  return nodes.setInitialSize(32) | indexes.setInitialSize(32);
}

void VxTreeIterator::reset() {
  nodes.reset();
  indexes.reset();
  position = 0;
  flag = 0;
}

// ---- Construction and sizes ----

// Sizes: a triplet holds a son pointer, a key, its data and (with marks)
// the mark byte, rounded up to 4 bytes. A node is meant to fit 2048 bytes
// with a 20-byte header, but never holds more than 49 sons.
VxTree::VxTree(uint16_t keyLength, uint16_t dataLength, VxTreeCompareFunction compareFn,
               unsigned int deletedMarks, unsigned int duplicatesAllowed, unsigned int tmpOption)
    : keyLength(keyLength),
      dataLength(dataLength),
      compareFn(compareFn),
      compareCallback(nullptr),
      compareContext(nullptr),
      treeFlags(uint8_t((deletedMarks ? kDeletedMarks : 0) | (duplicatesAllowed ? kDuplicatesAllowed : 0))),
      rootAddress(0),
      nodeStore(32768, tmpOption),
      workNode(nullptr),
      workNode2(nullptr),
      workEntry(nullptr),
      workKey(nullptr),
      entryCount(0),
      nodeCount(0) {
  unsigned t = unsigned(keyLength) + dataLength + 8 + (deletedMarks ? 1 : 0);
  t = (t + 3) & ~3u;
  tripletSize = uint16_t(t);
  unsigned sons = (2048 - 20) / t + 1;
  maxSons = uint16_t(sons > kMaxSonsCap ? kMaxSonsCap : sons);
  nodeSize = uint16_t((maxSons - 1) * t + 20);
}

VxTree::~VxTree() {
  free(workNode);
  free(workNode2);
  free(workEntry);
  free(workKey);
}

void VxTree::setCompareCallback(VxTreeCompareCallback callback, void* context) {
  compareCallback = callback;
  compareContext = context;
}

// A split needs at least three sons per node (two keys, one to keep and
// one to carry up), so keys and data that leave room for fewer are
// refused when the work buffers are first prepared.
unsigned VxTree::prepareWork() {
  if (workNode != nullptr) return 0;
  if (maxSons < 3) {
    addError(kErrInvalidParameterValue) << "keyLength + dataLength";
    return 1;
  }
  VXSIZE_T wide = nodeBytes() + tripletSize;
  workNode = static_cast<char*>(ramAllocZeroed(wide));
  workNode2 = static_cast<char*>(ramAllocZeroed(wide));
  workEntry = static_cast<char*>(ramAllocZeroed(2 * VXSIZE_T(tripletSize)));
  workKey = static_cast<char*>(ramAllocZeroed(keyLength + 1));
  if (workNode && workNode2 && workEntry && workKey && walk.initialize(this) == 0) return 0;
  free(workNode), free(workNode2), free(workEntry), free(workKey);
  workNode = workNode2 = workEntry = workKey = nullptr;
  addError(kErrOutOfMemory);
  return 1;
}

// ---- Node images ----

uint16_t VxTree::usedOf(const char* node) const { return readU16(node); }

VXSIZE_T VxTree::sonOf(const char* node, VXSIZE_T i) const {
  return readU64(node + 16 + i * tripletSize);
}

void VxTree::setSon(char* node, VXSIZE_T i, VXSIZE_T son) const {
  writeU64(node + 16 + i * tripletSize, son);
}

bool VxTree::isMarked(const char* node, VXSIZE_T i) const {
  return (treeFlags & kDeletedMarks) && keyOf(node, i)[keyLength + dataLength] != 0;
}

// Only the part of a node in use travels: the header and the triplets up
// to the last son. A node within one page is read through one pointer.
VXSIZE_T VxTree::usedBytes(const char* node) const {
  VXSIZE_T used = usedOf(node);
  return used == 0 ? 24 : 24 + (used - 1) * tripletSize;
}

unsigned VxTree::loadNode(VXSIZE_T address, char* node) {
  void* at;
  uint16_t left;
  if (nodeStore.tmpPointer(address, &at, &left, 0) != 0) return 1;
  if (left < nodeBytes()) return nodeStore.tmpRead(address, node, nodeBytes());
  memcpy(node, at, usedBytes(static_cast<const char*>(at)));
  return 0;
}

unsigned VxTree::storeNode(VXSIZE_T address, const char* node) {
  return nodeStore.tmpWrite(address, node, usedBytes(node));
}

// A new root holding one entry: the node is made and its image begun in
// workNode (two sons in use, the node's own address in its header); the
// caller fills in the entry and the sons.
unsigned VxTree::beginRoot(VXSIZE_T* root) {
  if (makeNode(root) != 0) return 1;
  memset(workNode, 0, nodeBytes());
  writeU16(workNode, 2);
  writeU64(workNode + 8, *root);
  return 0;
}

// Freed nodes are reused before the store grows.
unsigned VxTree::makeNode(VXSIZE_T* address) {
  if (freeNodes.getCount() > 0) {
    *address = freeNodes.pop();
  } else {
    *address = nodeStore.getContiguousSpace(nodeBytes());
    if (*address == 0) return 1;
  }
  ++nodeCount;
  return 0;
}

void VxTree::freeNode(VXSIZE_T address) { freeNodes.add(address); }

void VxTree::modified() { walk.reset(); }

VxTreeIterator& VxTree::iteratorOr(VxTreeIterator* iterator) {
  VxTreeIterator& it = iterator ? *iterator : walk;
  if (it.tree != this) it.initialize(this);
  return it;
}

// ---- Search ----

int16_t VxTree::keyCompare(const void* a, const void* b) const {
  if (compareFn != nullptr) return compareFn(a, b, keyLength);
  if (compareCallback != nullptr) return compareCallback(compareContext, a, b);
  int c = memcmp(a, b, keyLength);
  return int16_t((c > 0) - (c < 0));
}

// Binary search over the keys of one node. Without duplicates an equal
// key with a deleted mark counts as greater, so the search goes left of
// it and ends on its slot, where an add reuses it. With duplicates marked
// and live equal keys are alike here (the caller skips marked ones), and
// the index moves left to the first of a run of equal keys. When no key
// is equal the answer is the first key greater than key (mid when the
// last comparison was negative, else mid + 1).
uint16_t VxTree::nodeSearch(const char* node, const void* key, bool* equal) const {
  const bool dups = (treeFlags & kDuplicatesAllowed) != 0;
  int lo = 0, hi = int(usedOf(node)) - 2;
  *equal = false;
  while (lo <= hi) {
    int mid = (lo + hi) / 2;
    int c = keyCompare(key, keyOf(node, mid));
    if (c == 0 && !dups && isMarked(node, mid)) c = -1;
    if (c == 0) {
      if (dups) {
        while (mid > 0 && keyCompare(key, keyOf(node, mid - 1)) == 0) --mid;
      }
      *equal = true;
      return uint16_t(mid);
    }
    if (c < 0) {
      hi = mid - 1;
    } else {
      lo = mid + 1;
    }
  }
  return uint16_t(lo);
}

// The path from the root, following at each node the first key not below
// key. The first entry equal to key is the equal key met deepest on that
// path. Finding (mode 1) cuts the path back to it and, with duplicates,
// steps over marked equal entries to the first live one. Placing (mode 0)
// ends the path at a live equal key without duplicates (found), at a
// marked equal key (its slot is reused), or at the leaf slot where the key
// goes; with duplicates that slot is just before the first equal key.
unsigned VxTree::treeSearch(const void* key, VXSIZE_T& nodeAddress, uint16_t& index,
                            unsigned int& found, VxTreeIterator* iterator, unsigned int mode) {
  const bool dups = (treeFlags & kDuplicatesAllowed) != 0;
  VxTreeIterator& it = iteratorOr(iterator);
  it.reset();
  found = 0;
  nodeAddress = 0;
  index = 0;
  VXSIZE_T address = rootAddress, equalDepth = 0, leaf = 0;
  bool equalMarked = false;
  uint16_t slot = 0;
  // A positional tree searches each node for the position less the base
  // its path has accumulated so far.
  const bool positional = isPTree();
  VXSIZE_T position = positional ? readU64(static_cast<const char*>(key)) : 0, base = 0;
  uint64_t relative;
  while (address != 0) {
    if (loadNode(address, workNode2) != 0) return 1;
    if (positional) {
      relative = position - base;
      key = &relative;
      it.position = base;
    }
    bool equal;
    uint16_t i = nodeSearch(workNode2, key, &equal);
    if (push(it.nodes, it.indexes, address, i) != 0) return 1;
    bool marked = i < usedOf(workNode2) - 1 && isMarked(workNode2, i);
    if (equal && !dups) {
      found = 1;
      nodeAddress = address;
      index = i;
      return 0;
    }
    if (equal) {
      equalDepth = it.nodes.getCount();
      equalMarked = marked;
    } else if (mode == 0 && marked && keyCompare(key, keyOf(workNode2, i)) == 0) {
      nodeAddress = address;
      index = i;
      return 0;
    }
    leaf = address;
    slot = i;
    address = sonOf(workNode2, i);
    if (positional && address != 0) base += sonBase(workNode2, i);
  }
  if (mode == 0 && !(equalDepth > 0 && equalMarked)) {
    nodeAddress = leaf;
    index = slot;
    return 0;
  }
  if (equalDepth == 0) {
    it.reset();
    return 0;
  }
  it.nodes.setNextIndex(equalDepth);
  it.indexes.setNextIndex(equalDepth);
  if (mode == 1) {
    if (skipToLiveEqual(it, key, &found) != 0) return 1;
    if (!found) {
      it.reset();
      return 0;
    }
  }
  nodeAddress = it.nodes.at(it.nodes.getCount() - 1);
  index = uint16_t(it.indexes.at(it.nodes.getCount() - 1));
  return 0;
}

// From the first entry equal to key, steps over marked ones; *found tells
// whether a live equal entry was reached (the iterator is left on it).
unsigned VxTree::skipToLiveEqual(VxTreeIterator& it, const void* key, unsigned int* found) {
  *found = 0;
  for (;;) {
    VXSIZE_T top = it.nodes.getCount() - 1;
    if (loadNode(it.nodes.at(top), workNode2) != 0) return 1;
    if (keyCompare(key, keyOf(workNode2, it.indexes.at(top))) != 0) return 0;
    if (!isMarked(workNode2, it.indexes.at(top))) {
      *found = 1;
      return 0;
    }
    bool moved;
    if (stepForward(it, &moved) != 0) return 1;
    if (!moved) return 0;
  }
}

unsigned VxTree::doesExist(const void* key, unsigned int* found) {
  VxTreeIterator local;
  if (local.initialize(this) != 0) return 1;
  VXSIZE_T node;
  uint16_t index;
  unsigned int f = 0;
  unsigned status = treeSearch(key, node, index, f, &local, 1);
  if (found) *found = f;
  return status;
}

// ---- Insertion ----

// Inserts entry (key, data, mark) with rightSon as the son after it at the
// path's top slot. A node that overflows keeps its lower half, a new node
// takes its upper half, and the middle entry moves up into the parent
// with the new node as its right son; a root that splits gets a new root
// above it, which is how the tree grows taller.
unsigned VxTree::insertAt(VxTreeIterator& path, const char* entry, VXSIZE_T rightSon) {
  const VXSIZE_T T = tripletSize, entryBytes = T - 8;
  VXSIZE_T level = path.nodes.getCount() - 1;
  for (bool carried = false;; carried = true) {
    VXSIZE_T address = path.nodes.at(level), idx = path.indexes.at(level);
    if (loadNode(address, workNode) != 0) return 1;
    VXSIZE_T used = usedOf(workNode), keys = used - 1;
    assert(idx <= keys);
    // A middle entry carried up from son idx was relative to that son's
    // base; in this node it is relative to the node's own.
    if (isPTree() && carried) writeU64(const_cast<char*>(entry), readU64(entry) + sonBase(workNode, idx));
    memmove(keyOf(workNode, idx + 1), keyOf(workNode, idx), (keys - idx) * T);
    memcpy(keyOf(workNode, idx), entry, entryBytes);
    setSon(workNode, idx + 1, rightSon);
    writeU16(workNode, uint16_t(++used));
    if (used <= maxSons) return storeNode(address, workNode);

    VXSIZE_T right;
    if (makeNode(&right) != 0) return 1;
    VXSIZE_T k = used - 1, m = k / 2;
    memset(workNode2, 0, 16);
    writeU16(workNode2, uint16_t(k - m));
    writeU64(workNode2 + 8, right);
    memcpy(workNode2 + 16, workNode + 16 + (m + 1) * T, (k - m - 1) * T + 8);
    char* middle = workEntry;  // entry is in the node by now
    memcpy(middle, keyOf(workNode, m), entryBytes);
    // The new node's base is the middle entry's position: its keys are
    // re-based on it (their sons' bases follow from the keys).
    if (isPTree()) addToKeys(workNode2, 0, 0 - readU64(middle));
    writeU16(workNode, uint16_t(m + 1));
    if (storeNode(address, workNode) != 0 || storeNode(right, workNode2) != 0) return 1;
    if (level == 0) {
      VXSIZE_T root;
      if (beginRoot(&root) != 0) return 1;
      setSon(workNode, 0, address);
      memcpy(keyOf(workNode, 0), middle, entryBytes);
      setSon(workNode, 1, right);
      rootAddress = root;
      return storeNode(root, workNode);
    }
    entry = middle;
    rightSon = right;
    --level;
  }
}

unsigned VxTree::add(const void* key, const void* data, unsigned int* found) {
  if (found) *found = 0;
  if (prepareWork() != 0) return 1;
  // The entry as it sits in a triplet after the son: key, data, mark 0.
  char* entry = workEntry + tripletSize;  // insertAt carries middles in the first half
  memset(entry, 0, tripletSize - 8);
  memcpy(entry, key, keyLength);
  if (dataLength) memcpy(entry + keyLength, data, dataLength);
  if (rootAddress == 0) {
    VXSIZE_T root;
    if (beginRoot(&root) != 0) return 1;
    memcpy(keyOf(workNode, 0), entry, tripletSize - 8);
    if (storeNode(root, workNode) != 0) return 1;
    rootAddress = root;
    ++entryCount;
    modified();
    return 0;
  }
  memcpy(workKey, key, keyLength);
  VXSIZE_T node;
  uint16_t index;
  unsigned int f, present = 0;
  // With duplicates the placing search does not look for live entries.
  if ((treeFlags & kDuplicatesAllowed) && doesExist(workKey, &present) != 0) return 1;
  if (treeSearch(workKey, node, index, f, &walk, 0) != 0) return 1;
  if (found) *found = f | present;
  if (f && !(treeFlags & kDuplicatesAllowed)) return 0;
  if (isPTree()) writeU64(entry, readU64(entry) - walk.position);
  if (loadNode(node, workNode) != 0) return 1;
  unsigned status;
  if (index < usedOf(workNode) - 1 && isMarked(workNode, index) &&
      keyCompare(entry, keyOf(workNode, index)) == 0) {
    memcpy(keyOf(workNode, index), entry, tripletSize - 8);
    status = storeNode(node, workNode);
  } else {
    status = insertAt(walk, entry, 0);
  }
  modified();
  if (status == 0) ++entryCount;
  return status;
}

// ---- Removal ----

// Removes the path's top entry from its node image (already loaded into
// node). An entry with no right subtree goes with its right son pointer,
// one with no left subtree with its left one; otherwise the in-order
// predecessor (the last key at the bottom of the left subtree's rightmost
// path) replaces it and is removed from its own node instead. A node left
// without keys is freed and its one son takes its place in the parent.
unsigned VxTree::removeFromNode(VxTreeIterator& path, VXSIZE_T level, char* node) {
  const VXSIZE_T T = tripletSize;
  VXSIZE_T address = path.nodes.at(level), idx = path.indexes.at(level);
  VXSIZE_T keys = usedOf(node) - 1;
  if (sonOf(node, idx + 1) == 0) {
    memmove(keyOf(node, idx), keyOf(node, idx + 1), (keys - 1 - idx) * T);
  } else if (sonOf(node, idx) == 0) {
    // The right son moves into the left son's place, whose base is lower
    // by the gap between the removed key and the one before it.
    if (isPTree() && rebaseSon(sonOf(node, idx + 1), readU64(keyOf(node, idx)) - sonBase(node, idx)) != 0) {
      return 1;
    }
    memmove(node + 16 + idx * T, node + 16 + (idx + 1) * T, (keys - 1 - idx) * T + 8);
  } else {
    return replaceByPredecessor(path, level, node);
  }
  writeU16(node, uint16_t(keys));  // one son fewer: used is now the old key count
  if (keys > 1) return storeNode(address, node);
  VXSIZE_T only = sonOf(node, 0);
  freeNode(address);
  if (level == 0) {
    rootAddress = only;
    return 0;
  }
  VXSIZE_T parent = path.nodes.at(level - 1);
  if (loadNode(parent, workNode2) != 0) return 1;
  setSon(workNode2, path.indexes.at(level - 1), only);
  return storeNode(parent, workNode2);
}

// The entry at the path's top has subtrees on both sides: its in-order
// predecessor (the last key at the bottom of the left subtree's rightmost
// path) takes its place and is removed from its own node instead.
unsigned VxTree::replaceByPredecessor(VxTreeIterator& path, VXSIZE_T level, char* node) {
  const VXSIZE_T T = tripletSize;
  VXSIZE_T address = path.nodes.at(level), idx = path.indexes.at(level);
  VXSIZE_T c = sonOf(node, idx), offset = sonBase(node, idx);
  for (;;) {
    if (loadNode(c, workNode2) != 0) return 1;
    VXSIZE_T k = usedOf(workNode2) - 1, right = sonOf(workNode2, k);
    if (right == 0) {
      if (push(path.nodes, path.indexes, c, k - 1) != 0) return 1;
      break;
    }
    if (push(path.nodes, path.indexes, c, k) != 0) return 1;
    offset += sonBase(workNode2, k);
    c = right;
  }
  VXSIZE_T removedKey = readU64(keyOf(node, idx)), rightSon = sonOf(node, idx + 1);
  memcpy(keyOf(node, idx), keyOf(workNode2, usedOf(workNode2) - 2), T - 8);
  // In a positional tree the predecessor's key was relative to its own
  // node; offset is that node's base above this one's. The right son's
  // base was the removed key and becomes the predecessor's.
  VXSIZE_T newKey = readU64(keyOf(node, idx)) + offset;
  if (isPTree()) writeU64(keyOf(node, idx), newKey);
  if (storeNode(address, node) != 0) return 1;
  memcpy(node, workNode2, nodeBytes());
  if (isPTree() && rebaseSon(rightSon, removedKey - newKey) != 0) return 1;
  return removeFromNode(path, path.nodes.getCount() - 1, node);
}

// With deleted marks the entry is only marked (not in a positional tree).
unsigned VxTree::removeAt(VxTreeIterator& path) {
  assert(path.nodes.getCount() > 0);
  VXSIZE_T level = path.nodes.getCount() - 1, address = path.nodes.at(level);
  if (loadNode(address, workNode) != 0) return 1;
  unsigned status;
  // A positional tree removes entries even with marks: after the shift
  // that follows, a mark would leave two entries at one position.
  if ((treeFlags & kDeletedMarks) && !isPTree()) {
    keyOf(workNode, path.indexes.at(level))[keyLength + dataLength] = 1;
    status = storeNode(address, workNode);
  } else {
    status = removeFromNode(path, level, workNode);
  }
  modified();
  return status;
}

unsigned VxTree::deleteKey(const void* key, unsigned int* found) {
  if (found) *found = 0;
  if (rootAddress == 0) return 0;
  VXSIZE_T node;
  uint16_t index;
  unsigned int f;
  if (treeSearch(key, node, index, f, &walk, 1) != 0) return 1;
  if (found) *found = f;
  return f ? removeAt(walk) : 0;
}

unsigned VxTree::deleteKeyAndData(const void* key, const void* data, unsigned int* found) {
  if (found) *found = 0;
  if (rootAddress == 0) return 0;
  VXSIZE_T node;
  uint16_t index;
  unsigned int f;
  if (treeSearch(key, node, index, f, &walk, 1) != 0) return 1;
  while (f) {
    VXSIZE_T level = walk.nodes.getCount() - 1;
    if (loadNode(walk.nodes.at(level), workNode) != 0) return 1;
    const char* entry = keyOf(workNode, walk.indexes.at(level));
    if (keyCompare(key, entry) != 0) break;
    if (!isMarked(workNode, walk.indexes.at(level)) &&
        (dataLength == 0 || memcmp(entry + keyLength, data, dataLength) == 0)) {
      if (found) *found = 1;
      return removeAt(walk);
    }
    bool moved;
    if (stepForward(walk, &moved) != 0) return 1;
    f = moved;
  }
  return 0;
}

unsigned VxTree::deleteCurrent(VxTreeIterator* iterator) {
  VxTreeIterator& it = iteratorOr(iterator);
  if (it.nodes.getCount() == 0) return 1;
  return removeAt(it);
}

// ---- Reading and changing entries ----

unsigned VxTree::getData(const void* key, void* data, unsigned int* found, VxTreeIterator* iterator) {
  if (found) *found = 0;
  if (rootAddress == 0) return 0;
  VXSIZE_T node;
  uint16_t index;
  unsigned int f;
  if (treeSearch(key, node, index, f, iterator, 1) != 0) return 1;
  if (found) *found = f;
  if (!f) return 0;
  if (loadNode(node, workNode2) != 0) return 1;
  if (data && dataLength) memcpy(data, keyOf(workNode2, index) + keyLength, dataLength);
  return 0;
}

unsigned VxTree::changeData(const void* key, const void* data) {
  if (rootAddress == 0) return 1;
  VXSIZE_T node;
  uint16_t index;
  unsigned int f;
  if (treeSearch(key, node, index, f, &walk, 1) != 0 || !f) return 1;
  return changeCurrentData(data, &walk);
}

unsigned VxTree::changeCurrentData(const void* data, VxTreeIterator* iterator) {
  VxTreeIterator& it = iteratorOr(iterator);
  if (it.nodes.getCount() == 0) return 1;
  VXSIZE_T level = it.nodes.getCount() - 1, address = it.nodes.at(level);
  if (loadNode(address, workNode) != 0) return 1;
  if (dataLength) memcpy(keyOf(workNode, it.indexes.at(level)) + keyLength, data, dataLength);
  return storeNode(address, workNode);
}

unsigned VxTree::changeKey(const void* oldKey, const void* newKey) {
  if (rootAddress == 0 || prepareWork() != 0) return 1;
  unsigned int f;
  if (!(treeFlags & kDuplicatesAllowed)) {
    if (doesExist(newKey, &f) != 0 || f) return 1;
  }
  VXSIZE_T node;
  uint16_t index;
  if (treeSearch(oldKey, node, index, f, &walk, 1) != 0 || !f) return 1;
  if (loadNode(node, workNode2) != 0) return 1;
  // Kept aside: removal and insertion reuse every work buffer.
  char* data = static_cast<char*>(ramAlloc(dataLength + 1));
  if (data == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  memcpy(data, keyOf(workNode2, index) + keyLength, dataLength);
  unsigned status = removeAt(walk);
  if (status == 0) status = add(newKey, data, &f);
  free(data);
  return status;
}

void VxTree::reset() {
  rootAddress = 0;
  entryCount = 0;
  nodeCount = 0;
  walk.reset();
  freeNodes.reset();
  nodeStore.tmpTruncate(0);
}

// ---- Walks ----

// Goes down from node to its first (leftmost) or last entry, pushing each
// level: inner levels record the son taken, the bottom the entry.
unsigned VxTree::descendEdge(VxTreeIterator& it, VXSIZE_T node, bool leftmost) {
  for (;;) {
    if (loadNode(node, workNode2) != 0) return 1;
    VXSIZE_T k = usedOf(workNode2) - 1;
    VXSIZE_T son = sonOf(workNode2, leftmost ? 0 : k);
    if (son == 0) return push(it.nodes, it.indexes, node, leftmost ? 0 : k - 1);
    if (push(it.nodes, it.indexes, node, leftmost ? 0 : k) != 0) return 1;
    node = son;
  }
}

// The in-order successor: the first entry of the right subtree when there
// is one, else the next key of the node, else the key after the son taken
// in the nearest ancestor that has one.
unsigned VxTree::stepForward(VxTreeIterator& it, bool* moved) {
  *moved = false;
  VXSIZE_T depth = it.nodes.getCount();
  if (depth == 0) return 0;
  VXSIZE_T address = it.nodes.at(depth - 1), idx = it.indexes.at(depth - 1);
  if (loadNode(address, workNode2) != 0) return 1;
  VXSIZE_T keys = usedOf(workNode2) - 1, right = sonOf(workNode2, idx + 1);
  if (right != 0 || idx + 1 < keys) {
    it.indexes[depth - 1] = idx + 1;
    *moved = true;
    return right != 0 ? descendEdge(it, right, true) : 0;
  }
  it.nodes.pop(), it.indexes.pop();
  while (it.nodes.getCount() > 0) {
    VXSIZE_T top = it.nodes.getCount() - 1;
    if (loadNode(it.nodes.at(top), workNode2) != 0) return 1;
    if (it.indexes.at(top) < VXSIZE_T(usedOf(workNode2) - 1)) {
      *moved = true;
      return 0;
    }
    it.nodes.pop(), it.indexes.pop();
  }
  return 0;
}

// The in-order predecessor, the mirror of stepForward.
unsigned VxTree::stepBackward(VxTreeIterator& it, bool* moved) {
  *moved = false;
  VXSIZE_T depth = it.nodes.getCount();
  if (depth == 0) return 0;
  VXSIZE_T address = it.nodes.at(depth - 1), idx = it.indexes.at(depth - 1);
  if (loadNode(address, workNode2) != 0) return 1;
  VXSIZE_T left = sonOf(workNode2, idx);
  if (left != 0) {
    *moved = true;
    return descendEdge(it, left, false);
  }
  if (idx > 0) {
    it.indexes[depth - 1] = idx - 1;
    *moved = true;
    return 0;
  }
  it.nodes.pop(), it.indexes.pop();
  while (it.nodes.getCount() > 0) {
    VXSIZE_T top = it.nodes.getCount() - 1;
    if (it.indexes.at(top) > 0) {
      it.indexes[top] = it.indexes.at(top) - 1;
      *moved = true;
      return 0;
    }
    it.nodes.pop(), it.indexes.pop();
  }
  return 0;
}

unsigned VxTree::readCurrent(VxTreeIterator& it, void* key, void* data, unsigned int* found) {
  if (found) *found = 0;
  VXSIZE_T depth = it.nodes.getCount();
  if (depth == 0) return 0;
  if (loadNode(it.nodes.at(depth - 1), workNode2) != 0) return 1;
  const char* entry = keyOf(workNode2, it.indexes.at(depth - 1));
  if (key) memcpy(key, entry, keyLength);
  if (data && dataLength) memcpy(data, entry + keyLength, dataLength);
  if (found) *found = 1;
  if (!isPTree() || key == nullptr) return 0;
  // A position is the stored key plus the bases along the path.
  VXSIZE_T position = readU64(static_cast<char*>(key));
  for (VXSIZE_T level = 0; level + 1 < depth; ++level) {
    if (loadNode(it.nodes.at(level), workNode2) != 0) return 1;
    position += sonBase(workNode2, it.indexes.at(level));
  }
  writeU64(static_cast<char*>(key), position);
  return 0;
}

// ---- Positions ----

VXSIZE_T VxTree::sonBase(const char* node, VXSIZE_T son) const {
  return son == 0 ? 0 : readU64(keyOf(node, son - 1));
}

void VxTree::addToKeys(char* node, VXSIZE_T from, VXSIZE_T shift) const {
  for (VXSIZE_T i = from; i + 1 < usedOf(node); ++i) writeU64(keyOf(node, i), readU64(keyOf(node, i)) + shift);
}

// A son's first son shares its base, so a new base travels down the chain
// of first sons: each node on it gets the shift on all its keys.
unsigned VxTree::rebaseSon(VXSIZE_T son, VXSIZE_T shift) {
  while (son != 0) {
    if (loadNode(son, workNode2) != 0) return 1;
    addToKeys(workNode2, 0, shift);
    if (storeNode(son, workNode2) != 0) return 1;
    son = sonOf(workNode2, 0);
  }
  return 0;
}

unsigned VxTree::skipMarked(VxTreeIterator& it, bool forward) {
  while (it.nodes.getCount() > 0 && (treeFlags & kDeletedMarks)) {
    VXSIZE_T top = it.nodes.getCount() - 1;
    if (loadNode(it.nodes.at(top), workNode2) != 0) return 1;
    if (!isMarked(workNode2, it.indexes.at(top))) break;
    bool moved;
    if ((forward ? stepForward(it, &moved) : stepBackward(it, &moved)) != 0) return 1;
  }
  return 0;
}

unsigned VxTree::getFirst(void* key, void* data, unsigned int* found, VxTreeIterator* iterator) {
  return getEdge(true, key, data, found, iterator);
}

unsigned VxTree::getLast(void* key, void* data, unsigned int* found, VxTreeIterator* iterator) {
  return getEdge(false, key, data, found, iterator);
}

// The first (or last) unmarked entry: a fresh walk down the leftmost (or
// rightmost) edge.
unsigned VxTree::getEdge(bool first, void* key, void* data, unsigned int* found, VxTreeIterator* iterator) {
  VxTreeIterator& it = iteratorOr(iterator);
  it.reset();
  if (found) *found = 0;
  if (rootAddress == 0) return 0;
  if (descendEdge(it, rootAddress, first) != 0 || skipMarked(it, first) != 0) return 1;
  return readCurrent(it, key, data, found);
}

unsigned VxTree::getNext(void* key, void* data, unsigned int* found, VxTreeIterator* iterator) {
  VxTreeIterator& it = iteratorOr(iterator);
  bool moved;
  if (stepForward(it, &moved) != 0 || skipMarked(it, true) != 0) return 1;
  return readCurrent(it, key, data, found);
}

unsigned VxTree::getPrevious(void* key, void* data, unsigned int* found, VxTreeIterator* iterator) {
  VxTreeIterator& it = iteratorOr(iterator);
  bool moved;
  if (stepBackward(it, &moved) != 0 || skipMarked(it, false) != 0) return 1;
  return readCurrent(it, key, data, found);
}
