#include "containers/vxassoci.h"

#include <gtest/gtest.h>

#include "containers/vxintint.h"
#include "containers/vxintptr.h"

namespace {

// An object that records its destruction.
struct Tracked : VxObject {
  explicit Tracked(int* deaths) : deaths(deaths) {}
  ~Tracked() override { ++*deaths; }
  int* deaths;
};

TEST(VxIntIntKey, AnswersItsKeyDataAndHashAndZeroForOtherForms) {
  VxIntIntKey a(42, 7);
  EXPECT_EQ(42u, a.getIntKey());
  EXPECT_EQ(7u, a.getIntData());
  EXPECT_EQ(42u, a.hash());
  EXPECT_NE(0, a.isEqual(VXSIZE_T(42)));
  EXPECT_EQ(0, a.isEqual(VXSIZE_T(43)));
  // The base answers for the other forms are zero or null.
  EXPECT_EQ(nullptr, a.getSubKey());
  EXPECT_EQ(nullptr, a.getPtrData());
  EXPECT_EQ(0, a.isEqual(static_cast<const VxSubString*>(nullptr)));
  EXPECT_EQ(0, a.isEqualCi(static_cast<const VxSubString*>(nullptr)));
  VxIntIntKey b(42, 8);
  EXPECT_EQ(0, a.isEqualCi(&b));
}

TEST(VxIntIntKey, ChangeDataStoresANewIntegerDatumButIgnoresAnObject) {
  VxIntIntKey a(1, 2);
  EXPECT_EQ(9u, a.changeData(VXSIZE_T(9)));
  EXPECT_EQ(9u, a.getIntData());
  VxObject o;
  EXPECT_EQ(nullptr, a.changeData(&o));  // an object datum is ignored
  EXPECT_EQ(9u, a.getIntData());
}

TEST(VxAssociationEquality, IntegerFormsCompareByKeyAcrossForms) {
  VxIntIntKey a(5, 1);
  VxIntIntKey b(5, 2);
  VxIntIntKey c(6, 1);
  VxIntPtrKey p(5, nullptr);
  EXPECT_NE(0, a.isEqual(&b));
  EXPECT_EQ(0, a.isEqual(&c));
  EXPECT_NE(0, a.isEqual(&p));
  EXPECT_NE(0, p.isEqual(&a));
}

TEST(VxIntPtrKey, AnswersItsKeyDataAndHash) {
  VxObject o;
  VxIntPtrKey a(3, &o);
  EXPECT_EQ(3u, a.getIntKey());
  EXPECT_EQ(&o, a.getPtrData());
  EXPECT_EQ(0u, a.getIntData());
  EXPECT_EQ(3u, a.hash());
}

TEST(VxIntPtrKey, ChangeDataDoesNothingDeliberately) {
  VxObject o, other;
  VxIntPtrKey a(3, &o);
  EXPECT_EQ(nullptr, a.changeData(&other));
  EXPECT_EQ(0u, a.changeData(VXSIZE_T(8)));
  EXPECT_EQ(&o, a.getPtrData());
}

TEST(VxIntPtrKey, DestructorLeavesDatumAliveButDeleteKeyAndDataDestroysIt) {
  int deaths = 0;
  Tracked* t = new Tracked(&deaths);
  delete new VxIntPtrKey(1, t);
  EXPECT_EQ(0, deaths);
  VxIntPtrKey a(1, t);
  a.deleteKeyAndData();
  EXPECT_EQ(1, deaths);
  EXPECT_EQ(nullptr, a.getPtrData());
  a.deleteKeyAndData();  // a null datum is harmless
  EXPECT_EQ(1, deaths);
  EXPECT_EQ(nullptr, a.getPtrData());
}

}  // namespace
