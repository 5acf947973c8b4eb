#include "containers/vxsorted.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "containers/array_test_support.h"
#include "foundation/ram_internal.h"

namespace {

using vxtest::Counted;

// A sorted array of Counted elements that it owns, built from keys; each
// element's id is its arrival number.
class VxSortedArrayTest : public ::testing::Test {
 protected:
  void TearDown() override { ramFailAllocationAfter(0); }

  Counted* make(int key) { return new Counted(key, &destroyed, nextId++); }

  void addKeys(VxSortedArray& a, std::initializer_list<int> keys) {
    for (int k : keys) ASSERT_EQ(0u, a.add(make(k)));
  }

  static std::vector<int> keysOf(const VxSortedArray& a) {
    std::vector<int> keys;
    for (VXSIZE_T i = 0; i < a.getCount(); ++i) keys.push_back(static_cast<Counted*>(a.at(i))->key);
    return keys;
  }

  static int idAt(const VxSortedArray& a, VXSIZE_T i) { return static_cast<Counted*>(a.at(i))->id; }

  int destroyed = 0;
  int nextId = 0;
};

TEST_F(VxSortedArrayTest, AddKeepsElementsInCompareOrderAndEqualKeysStable) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  addKeys(a, {5, 1, 4, 2, 3});
  EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5}), keysOf(a));

  VxSortedArray b;
  b.setDeleteContentsOnDestruct();
  addKeys(b, {7, 3, 7, 3, 7, 3, 7});
  ASSERT_EQ((std::vector<int>{3, 3, 3, 7, 7, 7, 7}), keysOf(b));
  EXPECT_LT(idAt(b, 0), idAt(b, 1));
  EXPECT_LT(idAt(b, 1), idAt(b, 2));
  for (VXSIZE_T i = 3; i < 6; ++i) EXPECT_LT(idAt(b, i), idAt(b, i + 1));
}

TEST_F(VxSortedArrayTest, EqualKeyGoesAfterEveryEqualElement) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  addKeys(a, {1, 2, 2, 3});
  Counted* two = make(2);
  ASSERT_EQ(0u, a.add(two));
  EXPECT_EQ(two, a.at(3));
  Counted* zero = make(0);
  ASSERT_EQ(0u, a.add(zero));
  EXPECT_EQ(zero, a.at(0));
}

TEST_F(VxSortedArrayTest, FindIndexOfReportsMatchOrInsertionPoint) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  Counted probe(30, &destroyed);
  VXSIZE_T pos = 99;
  EXPECT_EQ(0, a.findIndexOf(&probe, pos));  // empty: position zero
  EXPECT_EQ(0u, pos);
  addKeys(a, {10, 20, 30, 40});
  EXPECT_EQ(1, a.findIndexOf(&probe, pos));
  EXPECT_EQ(2u, pos);
  probe.key = 25;
  EXPECT_EQ(0, a.findIndexOf(&probe, pos));
  EXPECT_EQ(2u, pos);
  probe.key = 5;
  EXPECT_EQ(0, a.findIndexOf(&probe, pos));
  EXPECT_EQ(0u, pos);
  probe.key = 45;
  EXPECT_EQ(0, a.findIndexOf(&probe, pos));
  EXPECT_EQ(4u, pos);
}

TEST_F(VxSortedArrayTest, FindIndexOfLastKeyEndsTheRunOfEqualElements) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  addKeys(a, {1, 4, 4, 4, 6});
  Counted probe(4, &destroyed);
  EXPECT_EQ(3u, a.findIndexOfLastKey(&probe, 1));
  EXPECT_EQ(3u, a.findIndexOfLastKey(&probe, 3));
  probe.key = 6;
  EXPECT_EQ(4u, a.findIndexOfLastKey(&probe, 4));  // stops at the end
}

TEST_F(VxSortedArrayTest, StopSortAppendsUntilResortButSortOnRequestKeepsAppending) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  a.stopSort();
  addKeys(a, {3, 1, 2});
  EXPECT_EQ((std::vector<int>{3, 1, 2}), keysOf(a));
  ASSERT_EQ(0u, a.resort());
  EXPECT_EQ((std::vector<int>{1, 2, 3}), keysOf(a));
  Counted probe(2, &destroyed);
  VXSIZE_T pos;
  EXPECT_EQ(1, a.findIndexOf(&probe, pos));
  EXPECT_EQ(1u, pos);
  addKeys(a, {0});  // ordering is back on
  EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), keysOf(a));

  VxSortedArray b;  // sort on request keeps appending after a resort
  b.setDeleteContentsOnDestruct();
  b.sortOnRequest();
  addKeys(b, {2, 1});
  ASSERT_EQ(0u, b.resort());
  EXPECT_EQ((std::vector<int>{1, 2}), keysOf(b));
  addKeys(b, {0});
  EXPECT_EQ((std::vector<int>{1, 2, 0}), keysOf(b));
  ASSERT_EQ(0u, b.resort());
  EXPECT_EQ((std::vector<int>{0, 1, 2}), keysOf(b));
}

TEST_F(VxSortedArrayTest, SeqFindIndexOfWorksWhileUnordered) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  a.stopSort();
  addKeys(a, {9, 4, 7, 4});
  Counted probe(4, &destroyed);
  VXSIZE_T pos = 99;
  EXPECT_EQ(1, a.seqFindIndexOf(&probe, pos));
  EXPECT_EQ(1u, pos);
  probe.key = 5;
  EXPECT_EQ(0, a.seqFindIndexOf(&probe, pos));
  EXPECT_EQ(1u, pos);  // untouched
}

TEST_F(VxSortedArrayTest, ResortOfFewerThanTwoElementsDoesNothing) {
  VxSortedArray a;
  EXPECT_EQ(0u, a.resort());
  a.setDeleteContentsOnDestruct();
  addKeys(a, {1});
  EXPECT_EQ(0u, a.resort());
  EXPECT_EQ(1u, a.getCount());
}

TEST_F(VxSortedArrayTest, ResortOrdersManyElementsByTheirCompare) {
  // More slots than one 64 KB sort buffer holds: the array is sorted in
  // place as one caller buffer.
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  a.stopSort();
  std::mt19937 rng(7);
  std::vector<int> expected;
  for (int i = 0; i < 20000; ++i) {
    int key = static_cast<int>(rng() % 5000);
    expected.push_back(key);
    ASSERT_EQ(0u, a.add(make(key)));
  }
  ASSERT_EQ(0u, a.resort());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(expected, keysOf(a));
}

TEST_F(VxSortedArrayTest, DeleteDuplicatesDestroysLaterEqualElements) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  addKeys(a, {1, 1, 1, 2});
  int firstId = idAt(a, 0);
  EXPECT_EQ(2u, a.deleteDuplicates());
  EXPECT_EQ((std::vector<int>{1, 2}), keysOf(a));
  EXPECT_EQ(firstId, idAt(a, 0));
  EXPECT_EQ(2, destroyed);
}

TEST_F(VxSortedArrayTest, RemoveDuplicatesLeavesThemAliveAndReturnsOneWhenEmpty) {
  VxSortedArray a;
  // On an empty array the result is the final scan index, which starts at 1.
  EXPECT_EQ(1u, a.deleteDuplicates());
  EXPECT_EQ(1u, a.removeDuplicates());
  EXPECT_EQ(0u, a.getCount());
  std::vector<std::unique_ptr<Counted>> owned;
  for (int k : {1, 1, 1, 2}) {
    owned.emplace_back(make(k));
    a.add(owned.back().get());
  }
  EXPECT_EQ(2u, a.removeDuplicates());
  EXPECT_EQ((std::vector<int>{1, 2}), keysOf(a));
  EXPECT_EQ(0, destroyed);
}

TEST_F(VxSortedArrayTest, FailedAddLeavesTheArrayUnchanged) {
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  for (int k = 0; k < 16; ++k) ASSERT_EQ(0u, a.add(make(2 * k)));
  std::unique_ptr<Counted> extra(make(5));
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, a.add(extra.get()));
  ASSERT_EQ(16u, a.getCount());
  for (VXSIZE_T i = 0; i < 16; ++i) EXPECT_EQ(static_cast<int>(2 * i), keysOf(a)[i]);
}

// --- VxSortedArrayVXSIZE_T --------------------------------------------------

std::vector<VXSIZE_T> valuesOf(const VxSortedArrayVXSIZE_T& a) {
  std::vector<VXSIZE_T> values;
  for (VXSIZE_T i = 0; i < a.getCount(); ++i) values.push_back(a.at(i));
  return values;
}

TEST(VxSortedArrayVXSIZE_T, CompareAndAddUseUnsignedOrder) {
  VxSortedArrayVXSIZE_T a;
  EXPECT_EQ(-1, a.compare(1, ~VXSIZE_T{0}));
  EXPECT_EQ(1, a.compare(VXSIZE_T{1} << 63, 5));
  EXPECT_EQ(0, a.compare(42, 42));
  for (VXSIZE_T v : {VXSIZE_T{1} << 63, VXSIZE_T{3}, VXSIZE_T{0}, ~VXSIZE_T{0}, VXSIZE_T{3}})
    ASSERT_EQ(0u, a.add(v));
  EXPECT_EQ((std::vector<VXSIZE_T>{0, 3, 3, VXSIZE_T{1} << 63, ~VXSIZE_T{0}}), valuesOf(a));
}

TEST(VxSortedArrayVXSIZE_T, FindIndexOfAndLastKey) {
  VxSortedArrayVXSIZE_T a;
  for (VXSIZE_T v : {5, 5, 5, 9}) a.add(v);
  VXSIZE_T pos = 99;
  EXPECT_EQ(1, a.findIndexOf(5, pos));
  EXPECT_EQ(5u, a.at(pos));
  EXPECT_EQ(2u, a.findIndexOfLastKey(5, pos));
  EXPECT_EQ(0, a.findIndexOf(7, pos));
  EXPECT_EQ(3u, pos);
  EXPECT_EQ(0, a.findIndexOf(1, pos));
  EXPECT_EQ(0u, pos);
}

TEST(VxSortedArrayVXSIZE_T, DeliberatelyHasNoSuspendedModeAndAlwaysInsertsInOrder) {
  // Deliberate asymmetry with VxSortedArray: there is no stopSort here, so
  // a long run of arbitrary adds stays ordered at every step.
  VxSortedArrayVXSIZE_T a;
  std::mt19937_64 rng(3);
  for (int i = 0; i < 500; ++i) {
    ASSERT_EQ(0u, a.add(rng() % 100));
    std::vector<VXSIZE_T> v = valuesOf(a);
    ASSERT_TRUE(std::is_sorted(v.begin(), v.end()));
  }
}

TEST(VxSortedArrayVXSIZE_T, FailedAddLeavesTheArrayUnchanged) {
  VxSortedArrayVXSIZE_T a;
  for (VXSIZE_T v = 0; v < 16; ++v) a.add(v * 10);
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, a.add(55));
  ramFailAllocationAfter(0);
  EXPECT_EQ(16u, a.getCount());
  EXPECT_EQ(60u, a.at(6));
}

}  // namespace
