#include "containers/vxsubptr.h"

#include <gtest/gtest.h>

#include "container_test_support.h"
#include "containers/vxintint.h"

namespace {

TEST(VxSubPtrKey, HashIsKeyStringHashAndANullKeyHashesToZeroAndEqualsOnlyNull) {
  VxSubString key("abcdef");
  VxSubPtrKey a(&key, nullptr);
  EXPECT_EQ(key.hash(), a.hash());
  EXPECT_EQ(VXSIZE_T('A' + 'B' + 'C' + 'D' + 'E'), a.hash());
  VxSubPtrKey n(nullptr, nullptr), m(nullptr, nullptr);
  EXPECT_EQ(0u, n.hash());
  EXPECT_NE(0, n.isEqual(&m));
  EXPECT_EQ(0, n.isEqual(&key));
}

TEST(VxSubPtrKey, EqualityIsExactAndCiIgnoresCase) {
  VxSubString key("Driver");
  VxSubString same("Driver");
  VxSubString upper("DRIVER");
  VxSubPtrKey a(&key, nullptr);
  EXPECT_NE(0, a.isEqual(&same));
  EXPECT_EQ(0, a.isEqual(&upper));
  EXPECT_NE(0, a.isEqualCi(&upper));
  VxSubPtrKey b(&upper, nullptr);
  EXPECT_EQ(0, a.isEqual(&b));
  EXPECT_NE(0, a.isEqualCi(&b));
  EXPECT_NE(0, b.isEqualCi(&a));
}

TEST(VxSubPtrKey, NeverEqualsAnIntegerForm) {
  VxSubString key("0");
  VxSubPtrKey a(&key, nullptr);
  VxIntIntKey i(0, 0);
  EXPECT_EQ(0, a.isEqual(&i));
  EXPECT_EQ(0, i.isEqual(&a));
  EXPECT_EQ(0, a.isEqual(VXSIZE_T(0)));
  EXPECT_EQ(0u, a.getIntKey());
}

TEST(VxSubPtrKey, ChangeDataStoresWithoutDestroyingOld) {
  int deaths = 0;
  VxSubString key("k");
  TrackedObject* old = new TrackedObject(&deaths);
  TrackedObject* fresh = new TrackedObject(&deaths);
  VxSubPtrKey a(&key, old);
  EXPECT_EQ(fresh, a.changeData(fresh));
  EXPECT_EQ(fresh, a.getPtrData());
  EXPECT_EQ(0, deaths);
  EXPECT_EQ(0u, a.changeData(VXSIZE_T(3)));
  delete old;
  delete fresh;
}

TEST(VxSubPtrKey, DestructorLeavesKeyAndDataAliveButDeleteKeyAndDataDestroysBoth) {
  int deaths = 0;
  TrackedString* key = new TrackedString("k", &deaths);
  TrackedObject* data = new TrackedObject(&deaths);
  delete new VxSubPtrKey(key, data);
  EXPECT_EQ(0, deaths);
  VxSubPtrKey a(key, data);
  a.deleteKeyAndData();
  EXPECT_EQ(2, deaths);
  EXPECT_EQ(nullptr, a.getSubKey());
  EXPECT_EQ(nullptr, a.getPtrData());
}

}  // namespace
