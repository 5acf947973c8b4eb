// The open-addressing table behind VxSet and VxDictionary.
#include "containers/vxset.h"

namespace {

constexpr uint16_t kDefaultFillPercent = 75;
constexpr uint16_t kDefaultGrowPercent = 25;
constexpr uint32_t kMostSlots = 0xFFFF;
// The probe start multiplies by this (2654435769, 2^32 over the golden
// ratio) so that consecutive keys land far apart.
constexpr VXSIZE_T kProbeMultiplier = 0x9E3779B9u;

}  // namespace

VxSet::VxSet()
    : tableSize(0),
      entryCount(0),
      fillPercent(kDefaultFillPercent),
      growPercent(kDefaultGrowPercent),
      highWater(0) {}

VxSet::~VxSet() = default;

uint32_t VxSet::slotsFor(uint32_t n) const { return n * 100 / fillPercent + 1; }

uint16_t VxSet::setCapacity(uint16_t n) {
  // deliberate: the slot count is kept in 16 bits.
  tableSize = static_cast<uint16_t>(slotsFor(n));
  return tableSize;
}

uint16_t VxSet::getCapacity() const {
  return static_cast<uint16_t>(static_cast<uint32_t>(fillPercent) * tableSize / 100);
}

uint16_t VxSet::startIndex(VXSIZE_T hash) const {
  if (tableSize == 0) return 0;
  return static_cast<uint16_t>(hash * kProbeMultiplier % tableSize);
}

uint16_t VxSet::findIndexOf(void* item) {
  return probe(doHash(item), [this, item](void* stored) { return areEqual(stored, item) != 0; });
}

unsigned VxSet::initialize(uint16_t n) {
  if (entryCount != 0) return resize(n);
  const uint32_t wanted = slotsFor(n);
  if (wanted > kMostSlots || prepareSlots(static_cast<uint16_t>(wanted)) != 0) return 1;
  setCapacity(n);
  return 0;
}

unsigned VxSet::prepareSlots(uint16_t wanted) {
  const VXSIZE_T have = slots.getSizeOfArray();
  if (wanted > have) {
    if (slots.resize(wanted, 1) != 0) return 1;
  } else if (wanted < have) {
    if (slots.shrink(wanted) != 0) return 1;
  }
  for (uint16_t i = 0; i < wanted; ++i) slots[i] = nullptr;
  return 0;
}

unsigned VxSet::grow() {
  const uint32_t capacity = getCapacity();
  return resize(static_cast<uint16_t>(capacity + capacity * growPercent / 100 + 1));
}

// Insertion:
//   1. An unsized table is first sized for one entry.
//   2. The item goes into slot findIndexOf(item), replacing an equal one
//      without destroying it; entryCount grows by one either way.
//   3. When entryCount passes the capacity measured before the store, the
//      table grows by a quarter plus one; a failed growth returns 1 with
//      the item stored. So after initialize(1) (two slots, capacity one)
//      the second item fills the last empty slot and the growth follows.
//   4. highWater follows entryCount.
// The probe loop needs an empty slot to end. Growth in step 3 restores one
// whenever the store took the last, so the one case left is a growth that
// failed for want of memory: then a new item that took the last empty
// slot is taken back out, and a table that has none when an add starts
// must grow before it is probed.
unsigned VxSet::add(void* item) {
  if (tableSize == 0 && initialize(1) != 0) return 1;
  if (entryCount >= tableSize && !hasEmptySlot() && grow() != 0) return 1;
  const uint16_t i = findIndexOf(item);
  const bool newItem = slots.at(i) == nullptr;
  slots[i] = item;
  const uint16_t capacity = getCapacity();
  if (entryCount != 0xFFFF) ++entryCount;
  if (entryCount > capacity && grow() != 0) {
    if (newItem && !hasEmptySlot()) {
      slots[i] = nullptr;
      --entryCount;
    }
    return 1;
  }
  if (entryCount > highWater) highWater = entryCount;
  return 0;
}

bool VxSet::hasEmptySlot() const {
  for (uint16_t i = 0; i < tableSize; ++i) {
    if (slots.at(i) == nullptr) return true;
  }
  return false;
}

// Rehash:
//   1. Count the items held; a capacity below that count is raised to it.
//      A table of more than 65535 slots is refused before anything moves.
//   2. Copy the items, in ascending slot order, into a scratch array.
//   3. Give the slot storage its new length (growing in copy mode, so a
//      failure keeps the old storage) and empty every slot.
//   4. Store the saved items back in the saved order; entryCount becomes
//      the number of items.
// Any allocation failure in 2 or 3 returns 1 with the table untouched.
unsigned VxSet::resize(uint16_t newCapacity) {
  if (slotsFor(newCapacity) > kMostSlots) return 1;
  uint16_t held = 0;
  for (uint16_t i = 0; i < tableSize; ++i) {
    if (slots.at(i) != nullptr) ++held;
  }
  if (newCapacity < held) newCapacity = held;
  const uint32_t wanted = slotsFor(newCapacity);
  if (wanted > kMostSlots) return 1;

  VxArrayPVoid saved;
  if (held != 0) {
    if (saved.setInitialSize(held) != 0) return 1;
    for (uint16_t i = 0; i < tableSize; ++i) {
      if (slots.at(i) != nullptr) saved.add(slots.at(i));
    }
  }
  if (prepareSlots(static_cast<uint16_t>(wanted)) != 0) return 1;

  setCapacity(newCapacity);
  entryCount = 0;
  for (uint16_t k = 0; k < held; ++k) {
    void* item = saved.at(k);
    slots[findIndexOf(item)] = item;
    ++entryCount;
  }
  return 0;
}

void VxSet::reset() {
  slots.shrink(0);
  tableSize = 0;
  entryCount = 0;
  highWater = 0;
  fillPercent = kDefaultFillPercent;
  growPercent = kDefaultGrowPercent;
}
