// The hash set's and the dictionaries' exact sizes, probe order, limits,
// ownership and failure reports, the associations, and the bit array. The
// ordinary lookups are run against std:: models by fuzz/containers_fuzz.cpp.
#include "containers/vxset.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "containers/vxbitarr.h"
#include "containers/vxdictio.h"
#include "containers/vxintint.h"
#include "containers/vxintptr.h"
#include "containers/vxseqdic.h"
#include "containers/vxsubptr.h"
#include "containers_support.h"
#include "foundation/vxstr.h"

namespace {

using vxtest::Counted;
using vxtest::CountedString;
using vxtest::Item;

class SetTest : public vxtest::ContainerTest {
 protected:
  Item* make(VXSIZE_T hash, int id) { return &items.emplace_back(Item{hash, id}); }
  Item* make(int id) { return make(static_cast<VXSIZE_T>(id), id); }
  // "slots/capacity/entries/high water/occupied slots"
  static std::string shape(const VxSet& s) {
    int occupied = 0;
    for (uint16_t i = 0; i < s.getTableSize(); ++i) occupied += s.at(i) != nullptr;
    return std::to_string(s.getTableSize()) + "/" + std::to_string(s.getCapacity()) + "/" + std::to_string(s.getEntryCount()) +
           "/" + std::to_string(s.getHighWater()) + "/" + std::to_string(occupied);
  }
  int id(uint16_t slot) const { return static_cast<Item*>(set.at(slot))->id; }
  vxtest::ItemSet set;
  std::deque<Item> items;
};

TEST_F(SetTest, SizesAndProbesFollowTheDocumentedFormulas) {
  EXPECT_EQ(11, vxtest::ItemSet().setCapacity(8));  // 8 * 100 / 75 + 1
  EXPECT_EQ(0, set.findIndexOf(make(4)) + set.startIndex(5));  // unsized: finds nothing
  EXPECT_EQ(nullptr, set.at(0));
  ASSERT_EQ(0u, set.add(make(4)));  // the first add sizes a tiny table
  EXPECT_EQ("2/1/1/1/1", shape(set));
  ASSERT_EQ(0u, set.add(make(7)));  // which fills its last slot, then grows
  EXPECT_EQ("3/2/2/2/2", shape(set));
  vxtest::ItemSet tiny;  // so hash 2 is rehashed from the slot below hash 1's, and goes first
  ASSERT_EQ(0u, tiny.add(make(1)) + tiny.add(make(2)));
  EXPECT_EQ(2, static_cast<Item*>(tiny.at(0))->id);
  ASSERT_EQ(0u, set.initialize(10));  // a set holding items is rehashed
  EXPECT_EQ("14/10/2/2/2", shape(set));
  // hash * 0x9E3779B9 modulo 14, the product wrapping in 64 bits
  EXPECT_EQ((std::vector<int>{0, 13, 7, 10}), (std::vector<int>{set.startIndex(0), set.startIndex(1), set.startIndex(7), set.startIndex(VXSIZE_T{1} << 32)}));
  // Collisions probe downward from the start and wrap to the top.
  for (int i = 1; i <= 3; ++i) ASSERT_EQ(0u, set.add(make(0, i)));
  EXPECT_EQ((std::vector<int>{1, 2, 3}), (std::vector<int>{id(0), id(13), id(12)}));
  EXPECT_EQ(11, set.findIndexOf(make(0, 9)));  // a missing item's index is its insertion slot
  // An equal item replaces the stored one, and counts until a rehash.
  ASSERT_EQ(0u, set.add(make(0, 2)));
  EXPECT_EQ(std::make_pair(static_cast<void*>(&items.back()), std::string("14/10/6/6/5")), std::make_pair(set.at(13), shape(set)));
  ASSERT_EQ(0u, set.resize(10));
  EXPECT_EQ("14/10/5/6/5", shape(set));
}

TEST_F(SetTest, RehashingReinsertsInAscendingSlotOrderWithRoomForEveryItem) {
  ASSERT_EQ(0u, set.initialize(10));
  ASSERT_EQ(0u, set.add(make(3, 10)));  // the start slot of hash 3
  ASSERT_EQ(0u, set.add(make(3, 11)));  // the one below it
  for (int i = 5; i < 9; ++i) ASSERT_EQ(0u, set.add(make(i)));
  ASSERT_EQ(0u, set.resize(20));
  EXPECT_EQ("27/20/6/6/6", shape(set));
  // The lower slot was saved first, so the second item now takes the start.
  EXPECT_EQ(std::make_pair(11, 10), std::make_pair(id(set.startIndex(3)), id(set.startIndex(3) - 1)));
  ASSERT_EQ(0u, set.resize(2));  // sized for the 6 items held
  EXPECT_EQ("9/6/6/6/6", shape(set));
  ASSERT_EQ(0u, set.initialize(30));
  EXPECT_EQ("41/30/6/6/6", shape(set));
  for (Item& item : items) EXPECT_EQ(&item, set.find(&item)) << item.id;
  set.reset();
  EXPECT_EQ("0/0/0/0/0", shape(set));
  ASSERT_EQ(0u, set.initialize(100));
  ASSERT_EQ(0u, set.initialize(3));  // an empty set shrinks
  EXPECT_EQ("5/3/0/0/0", shape(set));
}

TEST_F(SetTest, TheTableNeverPasses65535Slots) {
  EXPECT_EQ(1u, set.initialize(49152));  // would need 65536 slots
  ASSERT_EQ(0u, set.initialize(49151));
  for (int i = 0; i < 49151; ++i) ASSERT_EQ(0u, set.add(make(i)));
  // Past the capacity growth is impossible: stored, but reported.
  for (int i = 49151; i < 65534; ++i) ASSERT_EQ(1u, set.add(make(i))) << i;
  EXPECT_EQ(1u, set.add(make(65534)));  // refused: it would fill the last empty slot
  EXPECT_EQ(std::make_tuple(static_cast<void*>(nullptr), 65535, 65534), std::make_tuple(set.find(&items.back()), int{set.getTableSize()}, int{set.getEntryCount()}));
}

TEST_F(SetTest, FailedGrowthReportsOneAndKeepsTheTable) {
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, set.initialize(10));
  Item lost{1, -1};
  EXPECT_EQ(1u, (ramFailAllocationAfter(1), set.add(&lost)));  // an unsized set that cannot size itself
  EXPECT_EQ("0/0/0/0/0", shape(set));
  ASSERT_EQ(0u, set.initialize(10));
  for (int i = 0; i < 10; ++i) ASSERT_EQ(0u, set.add(make(i)));
  std::vector<void*> before;
  for (uint16_t i = 0; i < 14; ++i) before.push_back(set.at(i));
  for (uint64_t failing = 1; failing <= 2; ++failing) {  // the saved items, then the new slots
    ramFailAllocationAfter(failing);
    EXPECT_EQ(1u, set.resize(40));
    for (uint16_t i = 0; i < 14; ++i) EXPECT_EQ(before[i], set.at(i));
  }
  for (uint64_t failing = 1; failing <= 2; ++failing) {
    ramFailAllocationAfter(failing);
    EXPECT_EQ(1u, set.add(make(100 + static_cast<int>(failing))));  // stored all the same
  }
  EXPECT_EQ(std::make_pair(14, 12), std::make_pair(int{set.getTableSize()}, int{set.getEntryCount()}));
  ASSERT_EQ(0u, set.add(make(200)));  // the next add grows for real
  EXPECT_EQ(18, set.getTableSize());
  for (Item& item : items) EXPECT_EQ(&item, set.find(&item)) << item.id;
}

// A dictionary whose string keys compare without regard to case.
struct CiDictionary : VxDictionary {
  CiDictionary() { flags |= kCaseInsensitive; }
};

TEST_F(SetTest, ADuplicateKeyReplacesTheOlderAssociationWithoutDestroyingIt) {
  VxDictionary dict;
  CiDictionary ci;
  VxSubString lower("key"), upper("KEY"), f("F");
  VxObject d;
  ASSERT_EQ(0u, dict.initialize(4) + ci.initialize(4));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T{5}, VXSIZE_T{1}));
  VxAssociation* older = dict.getAssocForKey(VXSIZE_T{5});
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T{5}, VXSIZE_T{2}));
  EXPECT_EQ(std::make_pair(VXSIZE_T{2}, std::string("6/4/2/2/1")), std::make_pair(dict.getIntForKey(5), shape(dict)));
  delete older;  // the caller's to free
  for (VxDictionary* dictionary : {&dict, static_cast<VxDictionary*>(&ci)}) {
    ASSERT_EQ(0u, dictionary->addAssoc(&lower, &d));
    VxAssociation* first = dictionary->getAssocForKey(&lower);
    ASSERT_EQ(0u, dictionary->addAssoc(&upper, &d));  // apart while case counts
    EXPECT_EQ(dictionary == &ci ? "6/4/2/2/1" : "6/4/4/4/3", shape(*dictionary));
    if (dictionary == &ci) delete first;
  }
  // Deliberate: an integer key of 0 matches a string-keyed association,
  // whose integer key reads as 0; "F" hashes to 70, whose probe starts at 0.
  VxDictionary zero;
  ASSERT_EQ(0u, zero.initialize(10));
  ASSERT_EQ(0u, zero.addAssoc(&f, &d));
  ASSERT_EQ(zero.startIndex(0), zero.getIndexForKey(&f));
  EXPECT_EQ(&d, zero.getPtrForKey(VXSIZE_T{0}));
}

TEST_F(SetTest, DictionariesDestroyKeysAndDataOnlyInDeleteKeyAndData) {
  CountedString key("name", &deaths);
  Counted data(0, &deaths);
  {
    VxDictionary dict;  // unsized: finds nothing, and the first add sizes it
    VxSeqDictionary seq;
    EXPECT_EQ(0, dict.doesExist(&key) + dict.doesExist(VXSIZE_T{9}));
    ASSERT_EQ(0u, dict.addAssoc(&key, &data) + dict.addAssoc(VXSIZE_T{9}, &data) + seq.addAssoc(&key, &data));
    EXPECT_EQ(&data, dict.getPtrForKey(&key));
  }
  EXPECT_EQ(0, deaths);  // only the associations went
  VxDictionary dict;
  VxSeqDictionary seq;
  ASSERT_EQ(0u, dict.initialize(4));
  for (VxObject* d : {static_cast<VxObject*>(&dict), static_cast<VxObject*>(&seq)}) {
    const auto add = [&](auto... args) { return d == &seq ? seq.addAssoc(args...) : dict.addAssoc(args...); };
    ASSERT_EQ(0u, add(new CountedString("a", &deaths), static_cast<VxObject*>(new Counted(0, &deaths))));
    ASSERT_EQ(0u, add(VXSIZE_T{2}, VXSIZE_T{20}));
    ASSERT_EQ(0u, add(VXSIZE_T{3}, static_cast<VxObject*>(new Counted(0, &deaths))));
  }
  dict.deleteKeyAndData();
  EXPECT_EQ(std::make_tuple(3, std::string("6/4/0/3/0")), std::make_tuple(deaths, shape(dict)));  // the table keeps its size
  seq.deleteKeyAndDataAtIndex(0);
  EXPECT_EQ(std::make_tuple(5, VXSIZE_T{2}), std::make_tuple(deaths, seq.getIntKeyAtIndex(0)));  // later entries move down
  ASSERT_EQ(0u, seq.addAssoc(VXSIZE_T{2}, VXSIZE_T{21}));  // appended, but lookups find the earlier one
  EXPECT_EQ(std::make_tuple(VXSIZE_T{3}, VXSIZE_T{20}, VXSIZE_T{21}), std::make_tuple(seq.getCount(), seq.getIntForKey(2), seq.getIntDataAtIndex(2)));
  seq.deleteKeyAndData();
  EXPECT_EQ(std::make_tuple(6, VXSIZE_T{0}), std::make_tuple(deaths, seq.getCount()));
}

TEST_F(SetTest, FailedAssociationAddsReportOne) {
  VxDictionary dict;
  VxSeqDictionary seq;
  ASSERT_EQ(0u, dict.initialize(10));
  for (int which = 0; which < 2; ++which) EXPECT_EQ(1u, (ramFailAllocationAfter(1), which ? seq.addAssoc(VXSIZE_T{1}, VXSIZE_T{2}) : dict.addAssoc(VXSIZE_T{1}, VXSIZE_T{2})));
  for (VXSIZE_T k = 0; k < 16; ++k) ASSERT_EQ(0u, (k < 10 ? dict.addAssoc(k, k) : 0) + seq.addAssoc(k, k));
  ramFailAllocationAfter(2);  // the association is made, the rehash fails: stored all the same
  EXPECT_EQ(1u, dict.addAssoc(VXSIZE_T{10}, VXSIZE_T{10}));
  ramFailAllocationAfter(2);  // the association is made, the array cannot grow: dropped
  EXPECT_EQ(1u, seq.addAssoc(VXSIZE_T{16}, VXSIZE_T{16}));
  EXPECT_EQ(std::make_tuple(14, 11, VXSIZE_T{10}), std::make_tuple(int{dict.getTableSize()}, int{dict.getEntryCount()}, dict.getIntForKey(10)));
  EXPECT_EQ(std::make_tuple(VXSIZE_T{16}, 0), std::make_tuple(seq.getCount(), seq.doesExist(VXSIZE_T{16})));
}

// Associations of different forms are never equal; the integer forms
// compare numbers, the string form texts (a null key equals only a null
// key), and only the string form has a case-insensitive equality.
TEST_F(SetTest, AssociationsAnswerForTheirOwnFormOnly) {
  VxSubString driver("Driver"), same("Driver"), upper("DRIVER"), zero("0");
  VxObject o, other;
  VxIntIntKey i5(5, 2), again(5, 1), i6(6, 1), i0(0, 0);
  VxIntPtrKey p5(5, &o);
  VxSubPtrKey sDriver(&driver, nullptr), sSame(&same, nullptr), sUpper(&upper, nullptr), sZero(&zero, nullptr),
      sNull(nullptr, nullptr), sNull2(nullptr, nullptr);
  const std::vector<std::tuple<VxAssociation*, bool, const char*>> all = {
      {&i5, false, "5"},          {&again, false, "5"},     {&i6, false, "6"},         {&i0, false, "0"},
      {&p5, false, "5"},          {&sDriver, true, "Driver"}, {&sSame, true, "Driver"}, {&sUpper, true, "DRIVER"},
      {&sZero, true, "0"},        {&sNull, true, "(null)"}, {&sNull2, true, "(null)"}};
  for (const auto& [a, aText, aKey] : all) {
    for (const auto& [b, bText, bKey] : all) {
      EXPECT_EQ(aText == bText && strcmp(aKey, bKey) == 0, a->isEqual(b) != 0) << aKey << " vs " << bKey;
      EXPECT_EQ(aText && bText && strCompareCi(aKey, bKey) == 0, a->isEqualCi(b) != 0) << aKey << " vs " << bKey;
    }
  }
  // The dictionary lookups of fuzz/containers_fuzz.cpp use the keys, data and hashes;
  // what they do not reach: the string key, a null key's hash, what
  // changeData returns, and that deleteKeyAndData forgets what it destroyed.
  EXPECT_EQ(std::make_tuple(&driver, VXSIZE_T{0}, nullptr), std::make_tuple(sDriver.getSubKey(), sNull.hash(), i5.getSubKey()));
  EXPECT_EQ(std::make_tuple(VXSIZE_T{9}, &other, VXSIZE_T{0}, VXSIZE_T{0}),
            std::make_tuple(i5.changeData(VXSIZE_T{9}), sDriver.changeData(&other), p5.changeData(VXSIZE_T{8}), sDriver.changeData(VXSIZE_T{8})));
  EXPECT_EQ(std::make_tuple(nullptr, nullptr, &o), std::make_tuple(i5.changeData(&o), p5.changeData(&other), p5.getPtrData()));
  VxIntPtrKey p(1, new Counted(0, &deaths));
  VxSubPtrKey s(new CountedString("k", &deaths), new Counted(0, &deaths));
  for (int twice = 0; twice < 2; ++twice) p.deleteKeyAndData(), s.deleteKeyAndData(), i5.deleteKeyAndData();
  EXPECT_EQ(3, deaths);
}

// Bit i of a bit array of size n (bits 0..n) against std::vector<bool>.
TEST_F(SetTest, BitArrayMatchesStdVectorOfBool) {
  std::mt19937 rng(19);
  VxBitArray bits;
  bits.resetAll();  // before initialize: does nothing
  for (VXSIZE_T n : {200, 0, 7, 8, 20, 64, 100}) {
    ASSERT_EQ(0u, bits.initialize(n));  // every bit clear, the old ones too
    std::vector<bool> model(n + 1);
    for (int step = 0; step <= 41; ++step) {
      for (VXSIZE_T j = 0; j <= n; ++j) ASSERT_EQ(model[j] ? 1 : 0, bits.isSet(j)) << n << ": " << j;
      const VXSIZE_T i = rng() % (n + 1);
      if (step < 40) bits.set(i), model[i] = true;
      if (step == 40) bits.resetAll(), model.assign(n + 1, false);
    }
    bits.set(n);  // for the next initialize to clear
  }
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, bits.initialize(64));
  bits.resetAll();  // the old vector is gone: nothing to clear
}

}  // namespace
