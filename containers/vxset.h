// VxSet: an open-addressing hash table of pointers.
//
// The table stores untyped item pointers; a subclass says how to hash an
// item (doHash) and when two items are equal (areEqual). Collisions are
// resolved by linear probing DOWNWARD from the start slot, wrapping from
// slot 0 to the top. The table grows (rehashing every item) when the
// entry count passes fillPercent (75) percent of the slots; each growth
// raises the capacity by growPercent (25) percent plus one entry.
//
// All sizes are 16-bit. A table never has more than 65535 slots: once it
// is that large it stops growing, add() reports every further growth as
// failed (status 1, the item still stored), and refuses a new item (status
// 1, nothing stored) when storing it could fill the last empty slot.
//
// An unsized table (after construction or reset) finds nothing, and its
// first add() sizes it as for one entry.
//
// Ownership: the set does not own its items. Neither reset() nor the
// destructor destroys them; only the slot storage is released.
//
// Thread-safety: none; a set is used by one thread at a time.
//
// Failure: add(), resize() and initialize() return 1 when memory runs out
// and 0 on success; no error record is filed. A failed resize() or
// initialize() leaves the table exactly as it was.
#ifndef VX_CONTAINERS_VXSET_H_
#define VX_CONTAINERS_VXSET_H_

#include <cstdint>

#include "containers/vxarray.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxSet : public VxObject {
 public:
  // Empty and unsized, with the default fill (75) and growth (25) percents.
  VxSet();
  VxSet(const VxSet&) = delete;
  VxSet& operator=(const VxSet&) = delete;
  // Releases the slot storage; the items are left alone.
  ~VxSet() override;

  // The item's hash.
  virtual VXSIZE_T doHash(void* item) = 0;
  // Non-zero when the stored item equals the sought one.
  virtual int areEqual(void* stored, void* item) = 0;

  // Sets tableSize to n * 100 / fillPercent + 1 (narrowed to 16 bits) and
  // returns it. Touches no storage: initialize() and resize() call it.
  uint16_t setCapacity(uint16_t n);
  // The entry count at which the table grows: fillPercent * tableSize / 100.
  uint16_t getCapacity() const;
  // Sizes an empty table for n entries (all slots empty); a table that
  // holds items is rehashed as by resize(n). Returns 1 when memory runs
  // out or more than 65535 slots would be needed (table unchanged).
  unsigned initialize(uint16_t n);
  // The first slot probed for a hash: (hash * 0x9E3779B9) modulo tableSize,
  // in wrapping 64-bit arithmetic. 0 for an unsized table.
  uint16_t startIndex(VXSIZE_T hash) const;
  // The slot holding an item equal to `item`, or the empty slot where it
  // belongs. 0 for an unsized table.
  uint16_t findIndexOf(void* item);
  // Stores the item in the slot findIndexOf gives. An equal item already
  // there is replaced, not destroyed, and the entry count still grows by
  // one (callers that must not duplicate look first). Grows the table
  // when the count passes the capacity; returns 1 if that growth failed
  // (the item is stored all the same), else 0.
  unsigned add(void* item);
  // Rehashes into a table sized for newCapacity entries (never fewer than
  // the items held), keeping the items' ascending slot order as the
  // insertion order. Returns 1, table unchanged, when memory runs out or
  // more than 65535 slots would be needed.
  unsigned resize(uint16_t newCapacity);
  // Releases the slot storage and returns to the unsized state with the
  // default percents; the items are not destroyed.
  void reset();

  uint16_t getTableSize() const { return tableSize; }
  uint16_t getEntryCount() const { return entryCount; }
  uint16_t getHighWater() const { return highWater; }
  // The item in a slot: null when the slot is empty or the table unsized.
  // index < getTableSize().
  void* at(uint16_t index) const { return tableSize == 0 ? nullptr : slots.at(index); }

 protected:
  // The probe loop shared by every lookup: from startIndex(hash), step
  // downward (wrapping from 0 to the top) until a slot is empty or holds
  // an item for which matches(item) is true; returns that slot. The load
  // limit keeps an empty slot, so the loop ends. 0 for an unsized table.
  template <typename Matches>
  uint16_t probe(VXSIZE_T hash, Matches matches) const {
    if (tableSize == 0) return 0;
    uint16_t i = startIndex(hash);
    for (void* item = slots.at(i); item != nullptr && !matches(item); item = slots.at(i)) {
      i = i == 0 ? static_cast<uint16_t>(tableSize - 1) : static_cast<uint16_t>(i - 1);
    }
    return i;
  }

  // Slot storage, tableSize slots long once sized.
  VxArrayPVoid slots;
  uint16_t tableSize;    // slots; 0 until sized
  uint16_t entryCount;   // adds since the last rehash (replacements count)
  uint16_t fillPercent;  // highest load before growth, percent
  uint16_t growPercent;  // capacity growth, percent
  uint16_t highWater;    // largest entryCount reached

 private:
  // True when some slot is empty (the probe loop's end is then assured).
  bool hasEmptySlot() const;
  // tableSize for n entries, computed wide so the 16-bit limit can be
  // checked before anything changes.
  uint32_t slotsFor(uint32_t n) const;
  // Makes the slot storage exactly `wanted` slots long, all null. The
  // items must have been saved elsewhere. Returns 1, storage unchanged,
  // when memory runs out.
  unsigned prepareSlots(uint16_t wanted);
  // The growth step: room for a quarter (growPercent) more than the
  // current capacity, plus one entry.
  unsigned grow();
};

#endif  // VX_CONTAINERS_VXSET_H_
