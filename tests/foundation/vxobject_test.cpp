#include "foundation/vxobject.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(VxObject, RootCompareCallsAllObjectsEqual) {
  VxObject a, b;
  EXPECT_EQ(0, a.compare(&b));
  EXPECT_EQ(0, b.compare(&a));
}

TEST(VxObject, NewOfSizeZeroGivesDistinctPointers) {
  void* a = VxObject::operator new(0);
  void* b = VxObject::operator new(0);
  ASSERT_NE(nullptr, a);
  ASSERT_NE(nullptr, b);
  EXPECT_NE(a, b);
  VxObject::operator delete(a);
  VxObject::operator delete(b);
}

TEST(VxObject, InitialisingNewZeroFillsOnlyForInitZero) {
  unsigned char* p = static_cast<unsigned char*>(operator new(64, RamInitType(0)));
  ASSERT_NE(nullptr, p);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(0, p[i]);
  free(p);
}

}  // namespace
