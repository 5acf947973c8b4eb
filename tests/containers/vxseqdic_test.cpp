#include "containers/vxseqdic.h"

#include <gtest/gtest.h>

#include "container_test_support.h"
#include "containers/vxstring.h"
#include "foundation/ram_internal.h"

namespace {

class VxSeqDictionaryTest : public ::testing::Test {
 protected:
  void TearDown() override { ramFailAllocationAfter(0); }
  VxSeqDictionary dict;
};

TEST_F(VxSeqDictionaryTest, KeepsInsertionOrderAndMissingKeysGiveTheCount) {
  VxSubString a("zeta"), b("alpha"), c("mid");
  VxObject d;
  ASSERT_EQ(0u, dict.addAssoc(&a, &d));
  ASSERT_EQ(0u, dict.addAssoc(&b, &d));
  ASSERT_EQ(0u, dict.addAssoc(&c, &d));
  ASSERT_EQ(3u, dict.getCount());
  EXPECT_EQ(&a, dict.getSubKeyAtIndex(0));
  EXPECT_EQ(&b, dict.getSubKeyAtIndex(1));
  EXPECT_EQ(&c, dict.getSubKeyAtIndex(2));
  EXPECT_EQ(1u, dict.getIndexForKey(VxSubString("alpha")));
  // A missing key gives the count and zero.
  EXPECT_EQ(dict.getCount(), dict.getIndexForKey(VXSIZE_T(3)));
  EXPECT_EQ(0u, dict.getIntForKey(3));
  EXPECT_EQ(nullptr, dict.getPtrForKey(3));
  EXPECT_EQ(0, dict.doesExist(VXSIZE_T(3)));
  VxSubString missing("x");
  EXPECT_EQ(dict.getCount(), dict.getIndexForKey(&missing));
  EXPECT_EQ(nullptr, dict.getPtrForKey(&missing));
  EXPECT_EQ(0, dict.doesExist(missing));
}

TEST_F(VxSeqDictionaryTest, IntegerAndPointerLookups) {
  VxObject o;
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(7), VXSIZE_T(70)));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(8), &o));
  EXPECT_EQ(70u, dict.getIntForKey(7));
  EXPECT_EQ(&o, dict.getPtrForKey(8));
  EXPECT_EQ(1, dict.doesExist(VXSIZE_T(8)));
  EXPECT_EQ(8u, dict.getIntKeyAtIndex(1));
  EXPECT_EQ(70u, dict.getIntDataAtIndex(0));
  EXPECT_EQ(&o, dict.getPtrDataAtIndex(1));
}

TEST_F(VxSeqDictionaryTest, DuplicateKeyIsAppendedButNeverFound) {
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(5), VXSIZE_T(1)));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(5), VXSIZE_T(2)));
  EXPECT_EQ(2u, dict.getCount());
  EXPECT_EQ(0u, dict.getIndexForKey(VXSIZE_T(5)));
  EXPECT_EQ(1u, dict.getIntForKey(5));
  EXPECT_EQ(2u, dict.getIntDataAtIndex(1));
}

TEST_F(VxSeqDictionaryTest, CaseSensitiveUntilSetCaseInsensitive) {
  VxSubString key("Driver");
  VxObject o;
  ASSERT_EQ(0u, dict.addAssoc(&key, &o));
  VxSubString upper("DRIVER");
  EXPECT_EQ(0, dict.doesExist(&upper));
  dict.setCaseInsensitive();
  EXPECT_EQ(1, dict.doesExist(&upper));
  EXPECT_EQ(&o, dict.getPtrForKey(&upper));
}

TEST_F(VxSeqDictionaryTest, ChangeDataReplacesIntegerDatumAndStringKeyedObject) {
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(1), VXSIZE_T(10)));
  dict.changeData(VXSIZE_T(1), VXSIZE_T(11));
  EXPECT_EQ(11u, dict.getIntForKey(1));
  dict.changeData(VXSIZE_T(2), VXSIZE_T(12));  // missing: nothing happens
  EXPECT_EQ(1u, dict.getCount());
  // A string-keyed object datum is replaced without destroying the old one.
  int deaths = 0;
  VxSubString key("k");
  TrackedObject* old = new TrackedObject(&deaths);
  TrackedObject fresh(&deaths);
  ASSERT_EQ(0u, dict.addAssoc(&key, old));
  dict.changeData(VxSubString("k"), &fresh);
  EXPECT_EQ(&fresh, dict.getPtrForKey(&key));
  EXPECT_EQ(0, deaths);
  delete old;
  EXPECT_EQ(2u, dict.getCount());
}

TEST_F(VxSeqDictionaryTest, ChangeDataOfIntegerKeyedObjectDoesNothingDeliberately) {
  VxObject a, b;
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(1), &a));
  dict.changeData(VXSIZE_T(1), VXSIZE_T(5));
  EXPECT_EQ(&a, dict.getPtrForKey(1));
  EXPECT_EQ(0u, dict.getIntForKey(1));
}

TEST_F(VxSeqDictionaryTest, DeleteKeyAndDataAtIndexShiftsDownAndDeleteKeyAndDataEmpties) {
  int deaths = 0;
  ASSERT_EQ(0u, dict.addAssoc(new TrackedString("a", &deaths), new TrackedObject(&deaths)));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(2), VXSIZE_T(20)));
  dict.deleteKeyAndDataAtIndex(0);
  EXPECT_EQ(2, deaths);
  ASSERT_EQ(1u, dict.getCount());
  EXPECT_EQ(2u, dict.getIntKeyAtIndex(0));
  deaths = 0;
  dict.deleteKeyAndDataAtIndex(0);
  ASSERT_EQ(0u, dict.addAssoc(new TrackedString("a", &deaths), new TrackedObject(&deaths)));
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(2), new TrackedObject(&deaths)));
  dict.deleteKeyAndData();
  EXPECT_EQ(3, deaths);
  EXPECT_EQ(0u, dict.getCount());
  ASSERT_EQ(0u, dict.addAssoc(VXSIZE_T(3), VXSIZE_T(30)));
  EXPECT_EQ(30u, dict.getIntForKey(3));
}

TEST(VxSeqDictionaryOwnership, DestructorFreesAssociationsButNotKeysOrData) {
  int deaths = 0;
  TrackedString* key = new TrackedString("name", &deaths);
  TrackedObject* data = new TrackedObject(&deaths);
  {
    VxSeqDictionary dict;
    ASSERT_EQ(0u, dict.addAssoc(key, data));
  }
  EXPECT_EQ(0, deaths);
  delete key;
  delete data;
}

TEST_F(VxSeqDictionaryTest, FailedAssociationOrGrowthDropsTheNewAssociationOnly) {
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, dict.addAssoc(VXSIZE_T(1), VXSIZE_T(1)));
  ramFailAllocationAfter(0);
  EXPECT_EQ(0u, dict.getCount());
  for (VXSIZE_T k = 0; k < 16; ++k) ASSERT_EQ(0u, dict.addAssoc(k, k));
  ASSERT_EQ(16u, dict.getSizeOfArray());
  ramFailAllocationAfter(2);  // the association succeeds, the array's growth fails
  EXPECT_EQ(1u, dict.addAssoc(VXSIZE_T(16), VXSIZE_T(16)));
  ramFailAllocationAfter(0);
  EXPECT_EQ(16u, dict.getCount());
  EXPECT_EQ(0, dict.doesExist(VXSIZE_T(16)));
  for (VXSIZE_T k = 0; k < 16; ++k) EXPECT_EQ(k, dict.getIntForKey(k));
}

}  // namespace
