#include "containers/vxdictio.h"

#include <gtest/gtest.h>

#include <vector>

#include "container_test_support.h"
#include "containers/vxstring.h"
#include "foundation/ram_internal.h"

namespace {

// A dictionary whose string keys compare without regard to case.
class CiDictionary : public VxDictionary {
 public:
  CiDictionary() { flags |= kCaseInsensitive; }
};

class VxDictionaryTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0u, dict.initialize(10)); }
  void TearDown() override { ramFailAllocationAfter(0); }
  VxDictionary dict;
};

TEST_F(VxDictionaryTest, IntegerKeysFindTheirDataAndMissingKeysGiveZeroNullAndEmptySlot) {
  for (VXSIZE_T k = 1; k <= 5; ++k) ASSERT_EQ(0u, dict.addAssoc(k, k * 100));
  for (VXSIZE_T k = 1; k <= 5; ++k) EXPECT_EQ(k * 100, dict.getIntForKey(k));
  EXPECT_EQ(1, dict.doesExist(VXSIZE_T(3)));
  EXPECT_EQ(0, dict.doesExist(VXSIZE_T(6)));
  EXPECT_EQ(dict.startIndex(3), dict.getIndexForKey(VXSIZE_T(3)));  // probe starts at its own index
  EXPECT_EQ(0u, dict.getIntForKey(7));
  EXPECT_EQ(nullptr, dict.getPtrForKey(7));
  EXPECT_EQ(nullptr, dict.at(dict.getIndexForKey(VXSIZE_T(7))));
  VxSubString missing("nothing");
  EXPECT_EQ(nullptr, dict.getPtrForKey(&missing));
  EXPECT_EQ(0, dict.doesExist(&missing));
}

TEST_F(VxDictionaryTest, ElevenAddsGrowFourteenSlotsToEighteenAndAllAreFound) {
  EXPECT_EQ(14, dict.getTableSize());
  for (VXSIZE_T k = 0; k < 11; ++k) ASSERT_EQ(0u, dict.addAssoc(k * 37, k));
  EXPECT_EQ(18, dict.getTableSize());
  for (VXSIZE_T k = 0; k < 11; ++k) EXPECT_EQ(k, dict.getIntForKey(k * 37));
}

TEST_F(VxDictionaryTest, SameIntegerKeyTwiceKeepsNewerAndCountsTwo) {
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(5), VXSIZE_T(1)));
  VxAssociation* older = dict.getAssocForKey(VXSIZE_T(5));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(5), VXSIZE_T(2)));
  EXPECT_EQ(2u, dict.getIntForKey(5));
  EXPECT_EQ(2, dict.getEntryCount());
  int occupied = 0;
  for (uint16_t i = 0; i < dict.getTableSize(); ++i) occupied += dict.at(i) != nullptr;
  EXPECT_EQ(1, occupied);
  delete older;  // replaced, not destroyed: the caller's to free
}

TEST_F(VxDictionaryTest, PointerDataIsReturnedNotCopied) {
  VxObject a, b;
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(1), &a));
  VxSubString key("alpha");
  ASSERT_EQ(0u, dict.addAssoc(&key, &b));
  EXPECT_EQ(&a, dict.getPtrForKey(1));
  VxSubString probe("alpha");
  EXPECT_EQ(&b, dict.getPtrForKey(&probe));
  EXPECT_EQ(1, dict.doesExist(&probe));
}

TEST_F(VxDictionaryTest, KeysSharingFirstFiveUpperCasedBytesHashAlikeButStaySeparate) {
  VxSubString k1("abcdef");
  VxSubString k2("ABCDEX");
  ASSERT_EQ(k1.hash(), k2.hash());
  VxObject d1, d2;
  ASSERT_EQ(0u, dict.addAssoc(&k1, &d1));
  ASSERT_EQ(0u, dict.addAssoc(&k2, &d2));
  EXPECT_EQ(&d1, dict.getPtrForKey(&k1));
  EXPECT_EQ(&d2, dict.getPtrForKey(&k2));
  // The second probes one slot below the first (downward, wrapping).
  const uint16_t first = dict.getIndexForKey(&k1);
  EXPECT_EQ(first == 0 ? dict.getTableSize() - 1 : first - 1, dict.getIndexForKey(&k2));
}

TEST(VxDictionaryCase, CaseInsensitiveFlagFindsAnyCase) {
  CiDictionary dict;
  ASSERT_EQ(0u, dict.initialize(4));
  VxSubString key("Driver");
  VxObject d1, d2;
  ASSERT_EQ(0u, dict.addAssoc(&key, &d1));
  VxSubString upper("DRIVER");
  EXPECT_EQ(&d1, dict.getPtrForKey(&upper));
  VxAssociation* older = dict.getAssocForKey(&upper);
  ASSERT_EQ(0u, dict.addAssoc(&upper, &d2));  // replaces the Driver entry
  EXPECT_EQ(&d2, dict.getPtrForKey(&key));
  delete older;
}

TEST(VxDictionaryCase, ConstructorLeavesCaseSensitiveSoOtherCaseMissesAndAddsApart) {
  VxDictionary dict;
  ASSERT_EQ(0u, dict.initialize(4));
  VxSubString a("key"), b("KEY");
  VxObject d;
  ASSERT_EQ(0u, dict.addAssoc(&a, &d));
  EXPECT_EQ(nullptr, dict.getPtrForKey(&b));  // misses the other case
  ASSERT_EQ(0u, dict.addAssoc(&b, &d));
  EXPECT_EQ(2, dict.getEntryCount());
  int occupied = 0;
  for (uint16_t i = 0; i < dict.getTableSize(); ++i) occupied += dict.at(i) != nullptr;
  EXPECT_EQ(2, occupied);
}

TEST_F(VxDictionaryTest, IntegerZeroMatchesStringKeyedAssociationDeliberately) {
  // "F" hashes to 70, a multiple of 14, so it lands on slot 0 where the
  // probe for integer key 0 starts; its integer key reads as 0.
  VxSubString key("F");
  VxObject d;
  ASSERT_EQ(0u, dict.addAssoc(&key, &d));
  ASSERT_EQ(0, dict.getIndexForKey(&key));
  ASSERT_EQ(0, dict.startIndex(0));
  EXPECT_EQ(1, dict.doesExist(VXSIZE_T(0)));
  EXPECT_EQ(&d, dict.getPtrForKey(VXSIZE_T(0)));
}

TEST(VxDictionaryOwnership, DestructorFreesAssociationsButNotKeysOrData) {
  int deaths = 0;
  TrackedString* key = new TrackedString("name", &deaths);
  TrackedObject* data = new TrackedObject(&deaths);
  TrackedObject* data2 = new TrackedObject(&deaths);
  {
    VxDictionary dict;
    ASSERT_EQ(0u, dict.initialize(4));
    ASSERT_EQ(0u, dict.addAssoc(key, data));
    ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(9), data2));
  }
  EXPECT_EQ(0, deaths);
  delete key;
  delete data;
  delete data2;
}

TEST(VxDictionaryOwnership, DeleteKeyAndDataDestroysEverythingAndKeepsSize) {
  int deaths = 0;
  VxDictionary dict;
  ASSERT_EQ(0u, dict.initialize(4));
  ASSERT_EQ(0u, dict.addAssoc(new TrackedString("a", &deaths), new TrackedObject(&deaths)));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(3), new TrackedObject(&deaths)));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(4), VXSIZE_T(5)));
  const uint16_t size = dict.getTableSize();
  dict.deleteKeyAndData();
  EXPECT_EQ(3, deaths);
  EXPECT_EQ(0, dict.getEntryCount());
  EXPECT_EQ(size, dict.getTableSize());
  for (uint16_t i = 0; i < size; ++i) EXPECT_EQ(nullptr, dict.at(i));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(4), VXSIZE_T(6)));
  EXPECT_EQ(6u, dict.getIntForKey(4));
}

TEST_F(VxDictionaryTest, FailedAssociationChangesNothingAndFailedGrowthKeepsTheNewOne) {
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, dict.addAssoc(VXSIZE_T(1), VXSIZE_T(2)));
  ramFailAllocationAfter(0);
  EXPECT_EQ(0, dict.getEntryCount());
  EXPECT_EQ(0, dict.doesExist(VXSIZE_T(1)));
  for (VXSIZE_T k = 0; k < 10; ++k) ASSERT_EQ(0u, dict.addAssoc(k, k));
  ramFailAllocationAfter(2);  // the association succeeds, the rehash's first allocation fails
  EXPECT_EQ(1u, dict.addAssoc(VXSIZE_T(10), VXSIZE_T(10)));
  ramFailAllocationAfter(0);
  EXPECT_EQ(14, dict.getTableSize());
  for (VXSIZE_T k = 0; k <= 10; ++k) EXPECT_EQ(k, dict.getIntForKey(k));
}

TEST(VxDictionaryUnsized, FindsNothingAndSizesOnFirstAdd) {
  VxDictionary dict;
  VxSubString key("k");
  EXPECT_EQ(0, dict.doesExist(VXSIZE_T(1)));
  EXPECT_EQ(0, dict.doesExist(&key));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(1), VXSIZE_T(8)));
  EXPECT_EQ(8u, dict.getIntForKey(1));
}

}  // namespace
