// VxTree: an ordered index of fixed-length keys with fixed-length data,
// kept as a B-tree whose nodes live in a temporary store (VxTmpFile), so
// that an index larger than memory spills to a temporary file. Nodes are
// addressed by their offset in the store, never by memory pointers.
// VxTreeIterator: one walk through a tree.
//
// Node layout in the store (T = tripletSize, K = keyLength, D =
// dataLength): offset 0, 16 bits: sons in use (keys + 1; 0 in a fresh
// node); offset 2, 16 bits: 0; offset 8, 64 bits: the node's own address;
// then triplet i at 16 + i * T: son i (64 bits, the subtree left of key i,
// 0 for none), key i, data i, and with deleted marks one byte (1 deleted,
// 0 live). T is K + D + 8 (+1 with marks) rounded up to a multiple of 4;
// maxSons is (2048 - 20) / T + 1, at most 49; nodeSize is (maxSons - 1) *
// T + 20, and a node is allocated 4 bytes larger so that its last son
// pointer fits.
//
// Order: compareFn(a, b, keyLength) when given, else the compare callback,
// else the bytes of the keys as unsigned values. With duplicatesAllowed
// equal keys may be added and a search finds the first of them; otherwise
// adding a present key stores nothing and reports it found.
//
// Deletion: with deletedMarks an entry is only marked; the mark makes the
// search treat it as greater than an equal key, walks skip it, and a later
// add of a key that lands on its slot reuses the slot. Without marks the
// entry is removed: an entry of an inner node is replaced by its in-order
// predecessor, which is taken out of its leaf. Nodes are not rebalanced
// after a removal; a node left without keys is freed and its one subtree
// (or nothing) takes its place. The tree never grows taller through
// deletion, so every operation stays bounded by the height the inserts
// built, and order is kept exactly.
//
// Walks: getFirst/getNext and getLast/getPrevious, with the caller's
// iterator or the tree's own. Every modification resets the tree's own
// iterator; a walk must be restarted after a change.
//
// Ownership: the tree owns its node store. Thread-safety: none beyond the
// store's lock; one thread uses a tree at a time.
//
// Failure: every operation returns 0 or 1; 1 means that a node or work
// buffer could not be obtained or the store failed (its error record is
// on the calling thread's list: 1503, 2715, or a file error). Presence is
// reported separately through the found flag.
#ifndef VX_CONTAINERS_VXTREE_H_
#define VX_CONTAINERS_VXTREE_H_

#include <cstdint>

#include "containers/vxarray.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"
#include "storage/vxtmpfil.h"

class VxTree;

typedef int16_t (*VxTreeCompareFunction)(const void* a, const void* b, uint16_t keyLength);
typedef int16_t (*VxTreeCompareCallback)(void* context, const void* a, const void* b);

// A position in a tree: the path of node addresses and indexes from the
// root to the current entry. Valid until the tree is modified.
class VX_EXPORT VxTreeIterator : public VxObject {
 public:
  VxTreeIterator() = default;
  // Binds the iterator to tree and forgets any position. 0, or 1 when the
  // path stacks cannot be prepared.
  unsigned initialize(VxTree* tree);
  // Forgets the position.
  void reset();

 private:
  friend class VxTree;
  friend class VxPTree;
  VxTree* tree = nullptr;
  VxArrayVXSIZE_T nodes;    // node addresses from the root down
  VxArrayVXSIZE_T indexes;  // for inner levels the son taken, at the top the key
  VXSIZE_T position = 0;
  uint8_t flag = 0;
};

class VX_EXPORT VxTree : public VxObject {
 public:
  // treeFlags bits.
  static constexpr uint8_t kDeletedMarks = 0x01;
  static constexpr uint8_t kDuplicatesAllowed = 0x02;
  static constexpr uint8_t kPositional = 0x04;
  // The most sons a node may have.
  static constexpr uint16_t kMaxSonsCap = 49;

  // An empty tree of keys of keyLength bytes and data of dataLength bytes
  // (0: keys only). compareFn may be null (see the class comment).
  // tmpOption is the node store's lock option.
  VxTree(uint16_t keyLength, uint16_t dataLength, VxTreeCompareFunction compareFn,
         unsigned int deletedMarks, unsigned int duplicatesAllowed, unsigned int tmpOption = 0);
  ~VxTree() override;

  VxTree(const VxTree&) = delete;
  VxTree& operator=(const VxTree&) = delete;

  // Orders keys through callback(context, a, b) when no compare function
  // was given.
  void setCompareCallback(VxTreeCompareCallback callback, void* context);

  // Inserts an entry. *found (when non-null) tells whether the key was
  // already present; without duplicates nothing is stored then.
  unsigned add(const void* key, const void* data, unsigned int* found);
  // Removes (or marks) the first live entry with key; *found tells whether
  // there was one.
  unsigned deleteKey(const void* key, unsigned int* found);
  // The same for the first live entry with both key and data.
  unsigned deleteKeyAndData(const void* key, const void* data, unsigned int* found);
  // Removes (or marks) the iterator's current entry.
  unsigned deleteCurrent(VxTreeIterator* iterator);
  // Copies the data of the first live entry with key; the iterator (or the
  // tree's own) is left on it, so that getNext continues after it.
  unsigned getData(const void* key, void* data, unsigned int* found, VxTreeIterator* iterator);
  // Whether a live entry with key exists; nothing else changes.
  unsigned doesExist(const void* key, unsigned int* found);
  // Overwrite the data of the first live entry with key, or of the
  // iterator's current entry. 1 also when there is no such entry.
  unsigned changeData(const void* key, const void* data);
  unsigned changeCurrentData(const void* data, VxTreeIterator* iterator);
  // Moves the first live entry with oldKey to newKey, keeping its data. 1
  // when oldKey is absent, or when newKey is present without duplicates
  // (the tree then holds the entry under oldKey still).
  unsigned changeKey(const void* oldKey, const void* newKey);

  // The ordered walk. The key and data buffers may be null; *found is 0
  // at either end of the tree. A null iterator uses the tree's own.
  virtual unsigned getFirst(void* key, void* data, unsigned int* found, VxTreeIterator* iterator);
  virtual unsigned getNext(void* key, void* data, unsigned int* found, VxTreeIterator* iterator);
  virtual unsigned getPrevious(void* key, void* data, unsigned int* found, VxTreeIterator* iterator);
  virtual unsigned getLast(void* key, void* data, unsigned int* found, VxTreeIterator* iterator);

  // Empties the tree: no root, counters 0, the node store truncated and
  // its first byte reserved again.
  void reset();
  bool isPTree() const { return (treeFlags & kPositional) != 0; }

  // Sizes, counters and the node store, for callers that measure.
  uint16_t getTripletSize() const { return tripletSize; }
  uint16_t getMaxSons() const { return maxSons; }
  uint16_t getNodeSize() const { return nodeSize; }
  VXSIZE_T getEntryCount() const { return entryCount; }
  uint16_t getNodeCount() const { return nodeCount; }
  VxTmpFile& getNodeStore() { return nodeStore; }

 protected:
  // Node image helpers over a node copied into memory.
  uint16_t usedOf(const char* node) const;
  VXSIZE_T sonOf(const char* node, VXSIZE_T i) const;
  void setSon(char* node, VXSIZE_T i, VXSIZE_T son) const;
  char* keyOf(char* node, VXSIZE_T i) const { return node + 24 + i * tripletSize; }
  const char* keyOf(const char* node, VXSIZE_T i) const { return node + 24 + i * tripletSize; }
  bool isMarked(const char* node, VXSIZE_T i) const;

  int16_t keyCompare(const void* a, const void* b) const;
  // Search of one node: the first live key not below key (an equal key
  // with a deleted mark counts as greater; with duplicates the first of
  // equal keys); *equal tells whether that key equals key.
  uint16_t nodeSearch(const char* node, const void* key, bool* equal) const;
  // Finds key from the root, leaving the path in iterator. mode 1 looks
  // for the first live equal entry; mode 0 for the place an add goes (the
  // leaf slot, or a marked equal slot met on the way). 0 or 1.
  virtual unsigned treeSearch(const void* key, VXSIZE_T& nodeAddress, uint16_t& index,
                              unsigned int& found, VxTreeIterator* iterator, unsigned int mode);

  VXSIZE_T usedBytes(const char* node) const;
  unsigned loadNode(VXSIZE_T address, char* node);
  unsigned storeNode(VXSIZE_T address, const char* node);
  unsigned makeNode(VXSIZE_T* address);
  unsigned beginRoot(VXSIZE_T* root);
  void freeNode(VXSIZE_T address);
  unsigned prepareWork();
  unsigned insertAt(VxTreeIterator& path, const char* entry, VXSIZE_T rightSon);
  unsigned removeAt(VxTreeIterator& path);
  unsigned removeFromNode(VxTreeIterator& path, VXSIZE_T level, char* node);
  unsigned replaceByPredecessor(VxTreeIterator& path, VXSIZE_T level, char* node);
  unsigned skipToLiveEqual(VxTreeIterator& it, const void* key, unsigned int* found);
  unsigned readCurrent(VxTreeIterator& it, void* key, void* data, unsigned int* found);
  unsigned descendEdge(VxTreeIterator& it, VXSIZE_T node, bool leftmost);
  unsigned stepForward(VxTreeIterator& it, bool* moved);
  unsigned stepBackward(VxTreeIterator& it, bool* moved);
  unsigned skipMarked(VxTreeIterator& it, bool forward);
  // getFirst (first) or getLast: positions a fresh walk at that end.
  unsigned getEdge(bool first, void* key, void* data, unsigned int* found, VxTreeIterator* iterator);
  VxTreeIterator& iteratorOr(VxTreeIterator* iterator);
  // Positional trees: the base a son's keys are relative to, above its
  // node's own (the key before it, 0 for son 0); adding shift (modulo
  // 2^64) to the keys of a node image from index from on; moving the base
  // of a stored subtree by shift.
  VXSIZE_T sonBase(const char* node, VXSIZE_T son) const;
  void addToKeys(char* node, VXSIZE_T from, VXSIZE_T shift) const;
  unsigned rebaseSon(VXSIZE_T son, VXSIZE_T shift);
  void modified();
  VXSIZE_T nodeBytes() const { return VXSIZE_T(nodeSize) + 4; }

  // Layout.
  uint16_t keyLength;
  uint16_t dataLength;
  VxTreeCompareFunction compareFn;
  VxTreeCompareCallback compareCallback;
  void* compareContext;
  uint8_t treeFlags;
  uint16_t maxSons;
  uint16_t tripletSize;
  uint16_t nodeSize;

  // Contents.
  VXSIZE_T rootAddress;
  VxTmpFile nodeStore;
  VxTreeIterator walk;

  // Work buffers, allocated on the first add: a node image one triplet
  // larger than a node (for the moment before a split), a second node
  // image, one entry, one key.
  char* workNode;
  char* workNode2;
  char* workEntry;
  char* workKey;

  VXSIZE_T entryCount;
  uint16_t nodeCount;
  VxArrayVXSIZE_T freeNodes;  // addresses of freed nodes, reused first
};

#endif  // VX_CONTAINERS_VXTREE_H_
