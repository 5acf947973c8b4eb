#include "containers/vxset.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "foundation/ram_internal.h"

namespace {

// An item whose hash the test chooses; items are equal when their ids are.
struct Item {
  VXSIZE_T hash;
  int id;
};

class ItemSet : public VxSet {
 public:
  VXSIZE_T doHash(void* item) override { return static_cast<Item*>(item)->hash; }
  int areEqual(void* stored, void* item) override {
    return static_cast<Item*>(stored)->id == static_cast<Item*>(item)->id;
  }
  // The slot holding an item equal to `item`, or -1.
  int slotOf(Item* item) {
    uint16_t i = findIndexOf(item);
    return at(i) == nullptr ? -1 : i;
  }
};

class VxSetTest : public ::testing::Test {
 protected:
  // Items with hash equal to their id: spread by the probe multiplier.
  Item* make(int id) { return make(static_cast<VXSIZE_T>(id), id); }
  Item* make(VXSIZE_T hash, int id) {
    items.push_back(std::unique_ptr<Item>(new Item{hash, id}));
    return items.back().get();
  }
  void TearDown() override { ramFailAllocationAfter(0); }

  ItemSet set;
  std::vector<std::unique_ptr<Item>> items;
};

TEST_F(VxSetTest, NewSetIsUnsizedAndInitializeForTenGivesFourteenSlots) {
  EXPECT_EQ(0, set.getTableSize());
  EXPECT_EQ(0, set.getEntryCount());
  EXPECT_EQ(0, set.getHighWater());
  EXPECT_EQ(0, set.getCapacity());
  EXPECT_EQ(11, set.setCapacity(8));  // 8 * 100 / 75 + 1
  ASSERT_EQ(0u, set.initialize(10));
  EXPECT_EQ(14, set.getTableSize());
  EXPECT_EQ(10, set.getCapacity());
  for (uint16_t i = 0; i < 14; ++i) EXPECT_EQ(nullptr, set.at(i));
}

TEST_F(VxSetTest, StartIndexMultipliesByGoldenRatioConstantAndMissingItemsGetTheirSlot) {
  ASSERT_EQ(0u, set.initialize(10));
  EXPECT_EQ(0, set.startIndex(0));
  EXPECT_EQ(13, set.startIndex(1));  // 2654435769 mod 14
  EXPECT_EQ(7, set.startIndex(7));
  // The product wraps in 64 bits: 2^32 * 0x9E3779B9 keeps only its low word.
  EXPECT_EQ(10, set.startIndex(VXSIZE_T(1) << 32));
  // A missing item's index is its insertion slot.
  ASSERT_EQ(0u, set.add(make(7, 1)));
  EXPECT_EQ(6, set.findIndexOf(make(7, 2)));
  EXPECT_EQ(7, set.findIndexOf(make(7, 1)));
}

TEST_F(VxSetTest, CollisionsProbeDownwardAndWrapDeliberately) {
  ASSERT_EQ(0u, set.initialize(10));
  Item* a = make(0, 1);
  Item* b = make(0, 2);
  Item* c = make(0, 3);
  ASSERT_EQ(0u, set.add(a));
  ASSERT_EQ(0u, set.add(b));
  ASSERT_EQ(0u, set.add(c));
  EXPECT_EQ(a, set.at(0));
  EXPECT_EQ(b, set.at(13));
  EXPECT_EQ(c, set.at(12));
}

TEST_F(VxSetTest, EleventhAddGrowsToEighteenSlotsAndKeepsEveryItem) {
  ASSERT_EQ(0u, set.initialize(10));
  for (int id = 0; id < 10; ++id) ASSERT_EQ(0u, set.add(make(id)));
  EXPECT_EQ(14, set.getTableSize());
  ASSERT_EQ(0u, set.add(make(10)));
  EXPECT_EQ(18, set.getTableSize());
  EXPECT_EQ(13, set.getCapacity());
  EXPECT_EQ(11, set.getEntryCount());
  EXPECT_EQ(11, set.getHighWater());
  for (int id = 0; id <= 10; ++id) EXPECT_NE(-1, set.slotOf(items[id].get())) << id;
}

TEST_F(VxSetTest, EachGrowthAddsAQuarterPlusOne) {
  ASSERT_EQ(0u, set.initialize(10));
  std::vector<int> capacities;
  for (int id = 0; id < 60; ++id) {
    ASSERT_EQ(0u, set.add(make(id)));
    if (capacities.empty() || capacities.back() != set.getCapacity()) capacities.push_back(set.getCapacity());
  }
  EXPECT_EQ((std::vector<int>{10, 13, 17, 22, 28, 36, 46, 58, 73}), capacities);
}

TEST_F(VxSetTest, AddingEqualItemReplacesItAndCountsUntilARehash) {
  ASSERT_EQ(0u, set.initialize(10));
  Item* older = make(5, 1);
  Item* newer = make(5, 1);
  ASSERT_EQ(0u, set.add(older));
  ASSERT_EQ(0u, set.add(newer));
  EXPECT_EQ(2, set.getEntryCount());
  EXPECT_EQ(newer, set.at(set.findIndexOf(older)));
  int occupied = 0;
  for (uint16_t i = 0; i < set.getTableSize(); ++i) occupied += set.at(i) != nullptr;
  EXPECT_EQ(1, occupied);
  ASSERT_EQ(0u, set.add(make(6)));  // a rehash counts the replaced item once
  EXPECT_EQ(3, set.getEntryCount());
  ASSERT_EQ(0u, set.resize(10));
  EXPECT_EQ(2, set.getEntryCount());
  EXPECT_EQ(3, set.getHighWater());
}

TEST_F(VxSetTest, RehashReinsertsInAscendingSlotOrder) {
  ASSERT_EQ(0u, set.initialize(10));
  Item* first = make(3, 1);
  Item* second = make(3, 2);
  ASSERT_EQ(0u, set.add(first));   // start slot of hash 3
  ASSERT_EQ(0u, set.add(second));  // one below it
  ASSERT_EQ(set.slotOf(first) - 1, set.slotOf(second));
  ASSERT_EQ(0u, set.resize(20));
  EXPECT_EQ(27, set.getTableSize());
  // The lower slot was saved first, so the second item now takes the start.
  EXPECT_EQ(set.startIndex(3), set.slotOf(second));
  EXPECT_EQ(set.startIndex(3) - 1, set.slotOf(first));
  EXPECT_EQ(2, set.getEntryCount());
}

TEST_F(VxSetTest, ResizeBelowItemCountKeepsRoomForAll) {
  ASSERT_EQ(0u, set.initialize(10));
  for (int id = 0; id < 8; ++id) ASSERT_EQ(0u, set.add(make(id)));
  ASSERT_EQ(0u, set.resize(2));
  EXPECT_EQ(11, set.getTableSize());  // sized for the 8 items held
  for (int id = 0; id < 8; ++id) EXPECT_NE(-1, set.slotOf(items[id].get()));
}

TEST_F(VxSetTest, UnsizedSetFindsNothingFirstAddSizesItAndTheTinyTableGrowsEarly) {
  Item* a = make(4, 1);
  EXPECT_EQ(0, set.findIndexOf(a));
  EXPECT_EQ(nullptr, set.at(0));
  ASSERT_EQ(0u, set.add(a));
  EXPECT_EQ(2, set.getTableSize());
  EXPECT_NE(-1, set.slotOf(a));
  // The tiny table grows before its last slot fills.
  ASSERT_EQ(0u, set.add(make(2)));
  EXPECT_LT(set.getEntryCount(), set.getTableSize());
  EXPECT_EQ(-1, set.slotOf(make(3)));
  EXPECT_NE(-1, set.slotOf(items[0].get()));
  EXPECT_NE(-1, set.slotOf(items[1].get()));
}

TEST_F(VxSetTest, ResetReleasesTableAndRestoresDefaults) {
  ASSERT_EQ(0u, set.initialize(10));
  ASSERT_EQ(0u, set.add(make(1)));
  set.reset();
  EXPECT_EQ(0, set.getTableSize());
  EXPECT_EQ(0, set.getEntryCount());
  EXPECT_EQ(0, set.getHighWater());
  EXPECT_EQ(-1, set.slotOf(items[0].get()));
  ASSERT_EQ(0u, set.initialize(10));
  EXPECT_EQ(14, set.getTableSize());
}

TEST_F(VxSetTest, InitializeRehashesAFilledSetAndShrinksAnEmptiedOne) {
  ASSERT_EQ(0u, set.initialize(4));
  for (int id = 0; id < 4; ++id) ASSERT_EQ(0u, set.add(make(id)));
  ASSERT_EQ(0u, set.initialize(30));
  EXPECT_EQ(41, set.getTableSize());
  for (int id = 0; id < 4; ++id) EXPECT_NE(-1, set.slotOf(items[id].get()));

  ItemSet emptied;
  ASSERT_EQ(0u, emptied.initialize(100));
  ASSERT_EQ(0u, emptied.initialize(3));
  EXPECT_EQ(5, emptied.getTableSize());
  ASSERT_EQ(0u, emptied.add(items[0].get()));
  EXPECT_NE(-1, emptied.slotOf(items[0].get()));
}

TEST_F(VxSetTest, TableNeverPassesSixtyFiveThousandFiveHundredThirtyFiveSlots) {
  EXPECT_EQ(1u, set.initialize(49152));  // would need 65536 slots
  EXPECT_EQ(0, set.getTableSize());
  ASSERT_EQ(0u, set.initialize(49151));
  EXPECT_EQ(65535, set.getTableSize());
}

TEST_F(VxSetTest, FullSizeTableRefusesItemThatWouldFillLastSlot) {
  ASSERT_EQ(0u, set.initialize(49151));
  for (int id = 0; id < 49151; ++id) ASSERT_EQ(0u, set.add(make(id)));
  // Past the capacity growth is impossible: stored, but reported.
  for (int id = 49151; id < 65534; ++id) ASSERT_EQ(1u, set.add(make(id))) << id;
  EXPECT_EQ(65535, set.getTableSize());
  EXPECT_EQ(65534, set.getEntryCount());
  Item* refused = make(65534);
  EXPECT_EQ(1u, set.add(refused));
  EXPECT_EQ(-1, set.slotOf(refused));  // the probe still finds the empty slot
  EXPECT_NE(-1, set.slotOf(items[65533].get()));
}

TEST_F(VxSetTest, FailedGrowthKeepsTableAndReportsStatus) {
  ASSERT_EQ(0u, set.initialize(10));
  for (int id = 0; id < 10; ++id) ASSERT_EQ(0u, set.add(make(id)));
  for (uint64_t failing = 1; failing <= 2; ++failing) {
    ramFailAllocationAfter(failing);
    EXPECT_EQ(1u, set.add(make(100 + static_cast<int>(failing)))) << failing;
    EXPECT_EQ(14, set.getTableSize());
  }
  ramFailAllocationAfter(0);
  for (auto& item : items) EXPECT_NE(-1, set.slotOf(item.get()));
  // The next add grows the table for real.
  ASSERT_EQ(0u, set.add(make(200)));
  EXPECT_EQ(18, set.getTableSize());
  for (auto& item : items) EXPECT_NE(-1, set.slotOf(item.get()));
}

TEST_F(VxSetTest, FailedInitializeOrResizeLeavesTheTableAsItWas) {
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, set.initialize(10));
  EXPECT_EQ(0, set.getTableSize());
  ASSERT_EQ(0u, set.initialize(10));
  for (int id = 0; id < 5; ++id) ASSERT_EQ(0u, set.add(make(id)));
  std::vector<void*> before;
  for (uint16_t i = 0; i < 14; ++i) before.push_back(set.at(i));
  for (uint64_t failing = 1; failing <= 2; ++failing) {
    ramFailAllocationAfter(failing);
    EXPECT_EQ(1u, set.resize(40));
    ramFailAllocationAfter(0);
    EXPECT_EQ(14, set.getTableSize());
    EXPECT_EQ(5, set.getEntryCount());
    for (uint16_t i = 0; i < 14; ++i) EXPECT_EQ(before[i], set.at(i));
  }
}

}  // namespace
