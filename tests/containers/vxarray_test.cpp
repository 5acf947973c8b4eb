// The sorted arrays against std::multimap and std::sort, and the arrays',
// sorted arrays' and list's deliberate quirks and failure reports. The
// list's, arrays' and dictionaries' ordinary behaviour is run against
// std:: models by fuzz/containers_fuzz.cpp (the test fuzz.containers_fuzz).
#include "containers/vxarray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <tuple>
#include <vector>

#include "containers/vxsorted.h"
#include "containers_support.h"

namespace {

using vxtest::ArrayProbe;
using vxtest::Counted;
using ArrayTest = vxtest::ContainerTest;

TEST_F(ArrayTest, PushNeverGrowsDeliberatelyAndResetTouchesNoSlot) {
  // A vector of four slots of which the array is told only two exist.
  VxArraySlot borrowed[4] = {};
  Counted x(1, &deaths), y(2, &deaths);
  ArrayProbe a;
  a.borrow(borrowed, 2);
  for (Counted* c : {&x, &y, &x}) a.push(c);
  EXPECT_EQ(std::make_tuple(VXSIZE_T{3}, VXSIZE_T{2}, &x), std::make_tuple(a.getCount(), a.getSizeOfArray(), borrowed[2].object));
  a.reset();
  EXPECT_EQ(0u, a.getCount());
  a.setNextIndex(2);
  EXPECT_EQ(&y, a.at(1));
  ASSERT_EQ(0u, a.add(&y));  // full: copy growth takes over the borrowed vector
  EXPECT_NE(borrowed, a.storage());
  EXPECT_EQ(std::make_tuple(true, VXSIZE_T{18}, &y), std::make_tuple(a.ownsStorage(), a.getSizeOfArray(), a.at(2)));
}

TEST_F(ArrayTest, ElementsAreDestroyedOnlyWhenAsked) {
  Counted x(1, &deaths);
  {
    ArrayProbe a;  // the destructor leaves x alone
    for (Counted* c : {new Counted(1, &deaths), new Counted(2, &deaths), static_cast<Counted*>(nullptr)}) a.add(c);
    a.setNextIndex(1);  // the second element lies beyond the count now
    a.setDeleteAllSlots();
    a.deleteContents();
    EXPECT_EQ(2, deaths);
    a.add(&x);
  }
  VxArray* owner = new VxArray;
  owner->setDeleteContentsOnDestruct();
  owner->add(new Counted(1, &deaths));
  delete owner;
  EXPECT_EQ(3, deaths);
  VxArrayPVoid blocks;  // plain blocks are released, checked by the leak sanitizer
  for (void* block : {malloc(8), static_cast<void*>(nullptr), malloc(4)}) ASSERT_EQ(0u, blocks.add(block));
  blocks.deleteAtIndex(0);
  EXPECT_EQ(nullptr, blocks[0]);
  blocks.deleteContents();
  EXPECT_EQ(nullptr, blocks.at(1));
  blocks.setDeleteContentsOnDestruct();
  blocks.add(malloc(32));
}

// Sizing: each row acts on an array holding one element in 16 slots (or
// none when `empty`) and gives the capacity and count it leaves, and
// whether the element is still there; every other slot is empty.
TEST_F(ArrayTest, SizingCallsSetCapacityAndCountAsDocumented) {
  using Run = std::function<unsigned(ArrayProbe&)>;
  const std::vector<std::tuple<const char*, bool, Run, VXSIZE_T, VXSIZE_T, bool>> rows = {
      {"setInitialSize", true, [](ArrayProbe& a) { return a.setInitialSize(5); }, 5, 0, false},
      {"setInitialSize(0) still allocates", true, [](ArrayProbe& a) { return a.setInitialSize(0) ? 1u : !a.storage(); }, 0, 0, false},
      {"copy growth", false, [](ArrayProbe& a) { return a.increaseSize(4, 1, 0); }, 20, 1, true},
      {"a zero increment doubles", false, [](ArrayProbe& a) { return a.increaseSize(0, 1, 0); }, 32, 1, true},
      {"fresh growth discards the elements", false, [](ArrayProbe& a) { return a.increaseSize(16, 0, 0); }, 32, 1, false},
      {"resize to the capacity doubles it", false, [](ArrayProbe& a) { return a.resize(16, 1); }, 32, 1, true},
      {"resize", false, [](ArrayProbe& a) { return a.resize(40, 1); }, 40, 1, true},
      {"shrink sets capacity and count", false, [](ArrayProbe& a) { return a.shrink(3); }, 3, 3, true},
      {"shrink(0) releases", false, [](ArrayProbe& a) { return a.shrink(0) ? 1u : !!a.storage(); }, 0, 0, false},
  };
  Counted x(1, &deaths);
  for (const auto& [what, empty, run, capacity, count, kept] : rows) {
    SCOPED_TRACE(what);
    ArrayProbe a;
    if (!empty) a.add(&x);
    ASSERT_EQ(0u, run(a));
    EXPECT_EQ(std::make_tuple(capacity, count), std::make_tuple(a.getSizeOfArray(), a.getCount()));
    for (VXSIZE_T i = 0; i < a.getSizeOfArray(); ++i) EXPECT_EQ(i == 0 && kept ? &x : nullptr, a[i]) << i;
    ASSERT_EQ(0u, a.add(&x));  // and growth goes on from there
    EXPECT_EQ(capacity == count ? capacity + 16 : capacity, a.getSizeOfArray());
  }
  VxArraySlot borrowed[8] = {};
  ArrayProbe b;
  b.borrow(borrowed, 8);
  ASSERT_EQ(0u, b.shrink(4));  // a borrowed vector stays in place
  EXPECT_EQ(std::make_tuple(borrowed, VXSIZE_T{4}), std::make_tuple(b.storage(), b.getSizeOfArray()));
}

// Every growth of a full array fails with status 1 and leaves the array as
// it was: when the allocation fails, or when the size cannot be addressed
// (2^61 slots are 2^64 bytes, a size that would wrap to 0).
TEST_F(ArrayTest, FailedGrowthLeavesTheArrayAsItWas) {
  Counted x(1, &deaths), y(2, &deaths);
  const std::vector<std::pair<bool, std::function<unsigned(ArrayProbe&)>>> rows = {
      {true, [&](ArrayProbe& a) { return a.add(&x); }},
      {true, [&](ArrayProbe& a) { return a.addAtIndex(&x, 0); }},
      {true, [](ArrayProbe& a) { return a.increaseSize(8, 1, 0); }},
      {true, [](ArrayProbe& a) { return a.resize(64, 1); }},
      {true, [](ArrayProbe& a) { return a.shrink(100); }},  // a "shrink" that grows
      {false, [](ArrayProbe& a) { return a.increaseSize(VXSIZE_T{1} << 61, 1, 0); }},
      {false, [](ArrayProbe& a) { return a.shrink(VXSIZE_T{1} << 61); }},
  };
  for (size_t r = 0; r < rows.size(); ++r) {
    ArrayProbe a;
    for (int i = 0; i < 16; ++i) a.add(i == 0 ? &y : &x);
    const auto before = std::make_tuple(a.storage(), VXSIZE_T{16}, VXSIZE_T{16}, &y);
    ramFailAllocationAfter(rows[r].first ? 1 : 0);
    EXPECT_EQ(1u, rows[r].second(a)) << r;
    EXPECT_EQ(before, std::make_tuple(a.storage(), a.getSizeOfArray(), a.getCount(), a.at(0))) << r;
  }
  ArrayProbe empty, sized, fresh;
  fresh.add(&x);
  for (int kind = 0; kind < 3; ++kind) {
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, kind == 0 ? empty.add(&x) : kind == 1 ? sized.setInitialSize(8) : fresh.increaseSize(16, 0, 0));
  }
  // Fresh growth deliberately loses the old vector before it allocates.
  for (ArrayProbe* a : {&empty, &sized, &fresh}) EXPECT_EQ(std::make_tuple(nullptr, VXSIZE_T{0}), std::make_tuple(a->storage(), a->getSizeOfArray()));
  VxArrayU32 u;
  VxSortedArray s;
  VxSortedArrayVXSIZE_T w;
  for (uint32_t k = 0; k < 16; ++k) u.add(k), s.add(&x), w.add(k);
  for (int kind = 0; kind < 3; ++kind) {
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, kind == 0 ? u.add(99) : kind == 1 ? s.add(&y) : w.add(5)) << kind;
  }
  EXPECT_EQ(std::make_tuple(VXSIZE_T{16}, VXSIZE_T{16}, VXSIZE_T{16}, VXSIZE_T{6}), std::make_tuple(u.getCount(), s.getCount(), w.getCount(), w.at(6)));
}

TEST_F(ArrayTest, RemovingDuplicatesKeepsThemAliveAndReturnsOneWhenEmpty) {
  VxSortedArray a;
  // On an empty array the result is the final scan index, which starts at 1.
  EXPECT_EQ(2u, a.deleteDuplicates() + a.removeDuplicates());
  Counted one(1, &deaths), again(1, &deaths), two(2, &deaths);
  for (Counted* c : {&one, &again, &again, &two}) a.add(c);
  EXPECT_EQ(2u, a.removeDuplicates());
  EXPECT_EQ(std::make_tuple(&one, &two, 0), std::make_tuple(a.at(0), a.at(1), deaths));
}

TEST_F(ArrayTest, ListPositionsWrapAt65536AndTheListOwnsNoNode) {
  std::vector<Counted> nodes;
  nodes.reserve(65537);
  for (int i = 0; i < 65537; ++i) nodes.emplace_back(i, nullptr);
  {
    VxList list;
    for (Counted& node : nodes) list.append(&node);
    // a deliberate 16-bit step counter
    EXPECT_EQ(std::make_tuple(&nodes[65535], &nodes[0], &nodes[3]), std::make_tuple(list.getNodeAtPos(65535), list.getNodeAtPos(65536), list.getNodeAtPos(65539)));
  }
  EXPECT_EQ(&nodes[1], nodes[0].next);  // the destructor leaves the ring alone
  Counted copy(0, nullptr);
  copy.next = nullptr;
  copy = nodes[0];
  EXPECT_EQ(nullptr, copy.next);  // a copy is not linked
}

// Both sorted arrays against a model that, like them, inserts an equal key
// after every element it equals. A lookup reports a match and the end of
// its run, or the insertion point.
template <typename Array, typename Key, typename Probe, typename Make, typename ElementAt>
void checkSorted(Array& a, const std::vector<Key>& keys, Probe probe, Make make, ElementAt elementAt) {
  std::multimap<Key, decltype(make(keys[0], 0))> model;
  for (size_t step = 0; step < keys.size(); ++step) {
    SCOPED_TRACE(step);
    const Key key = keys[step];
    const VXSIZE_T first = static_cast<VXSIZE_T>(std::distance(model.begin(), model.lower_bound(key))), equal = model.count(key);
    VXSIZE_T pos = 99999;
    ASSERT_EQ(equal != 0, a.findIndexOf(probe(key), pos) != 0);
    ASSERT_EQ(equal != 0 ? first + equal - 1 : first, equal != 0 ? a.findIndexOfLastKey(probe(key), pos) : pos);
    ASSERT_EQ(0u, a.add(model.emplace(key, make(key, static_cast<int>(step)))->second));
    VXSIZE_T i = 0;
    for (const auto& entry : model) ASSERT_EQ(entry.second, elementAt(a, i++));
  }
}

TEST_F(ArrayTest, SortedArraysMatchStdMultimap) {
  std::mt19937_64 rng(9);
  std::vector<int> keys(900);
  for (int& k : keys) k = static_cast<int>(rng() % 60);
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  Counted probe(0, nullptr);
  const auto probeFor = [&probe](int k) { return probe.key = k, &probe; };
  const auto elementAt = [](const VxSortedArray& s, VXSIZE_T i) { return static_cast<Counted*>(s.at(i)); };
  checkSorted(a, keys, probeFor, [this](int k, int id) { return new Counted(k, &deaths, id); }, elementAt);
  std::vector<int> sorted = keys;
  std::sort(sorted.begin(), sorted.end());
  for (int k = -1; k <= 60; ++k) {  // the linear search finds the first of a run, and leaves pos alone otherwise
    VXSIZE_T pos = 99999;
    const auto first = std::lower_bound(sorted.begin(), sorted.end(), k);
    const bool found = first != sorted.end() && *first == k;
    ASSERT_EQ(found, a.seqFindIndexOf(probeFor(k), pos) != 0);
    ASSERT_EQ(found ? VXSIZE_T(first - sorted.begin()) : 99999u, pos);
  }
  // Deleting duplicates keeps the first arrival of every key.
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  EXPECT_EQ(sorted.size(), a.deleteDuplicates());
  EXPECT_EQ(static_cast<int>(keys.size() - sorted.size()), deaths);
  for (VXSIZE_T i = 0; i < a.getCount(); ++i) EXPECT_EQ(std::find(keys.begin(), keys.end(), sorted[i]) - keys.begin(), elementAt(a, i)->id);
  VxSortedArrayVXSIZE_T words;  // recurring values, some above 2^63: the order is unsigned
  std::vector<VXSIZE_T> values(600);
  for (VXSIZE_T& v : values) v = (rng() % 40) * 0x0800000000000001u;
  checkSorted(words, values, [](VXSIZE_T v) { return v; }, [](VXSIZE_T v, int) { return v; }, [](VxSortedArrayVXSIZE_T& s, VXSIZE_T i) { return s.at(i); });
  EXPECT_EQ((std::vector<int>{-1, 0, 1}), (std::vector<int>{words.compare(1, ~0u), words.compare(5, 5), words.compare(~0u, 5)}));
}

TEST_F(ArrayTest, SuspendedSortedArrayAppendsUntilResortOrdersItLikeStdSort) {
  // More slots than one 64 KB sort buffer holds: sorted in place as one
  // caller buffer.
  std::mt19937 rng(11);
  VxSortedArray a, b;
  a.setDeleteContentsOnDestruct();
  EXPECT_EQ(0u, a.resort());
  a.stopSort();
  std::vector<int> keys(12000);
  for (int& k : keys) ASSERT_EQ(0u, a.add(new Counted(k = static_cast<int>(rng() % 5000), &deaths)));
  const auto keysOf = [](const VxSortedArray& s) {
    std::vector<int> out;
    for (VXSIZE_T i = 0; i < s.getCount(); ++i) out.push_back(static_cast<Counted*>(s.at(i))->key);
    return out;
  };
  EXPECT_EQ(keys, keysOf(a));
  ASSERT_EQ(0u, a.resort());
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(keys, keysOf(a));
  ASSERT_EQ(0u, a.add(new Counted(-1, &deaths)));  // ordering is on again
  EXPECT_EQ(-1, keysOf(a).front());
  Counted two(2, nullptr), one(1, nullptr), zero(0, nullptr);
  b.sortOnRequest();  // appends for good: sorted only by each resort
  for (Counted* c : {&two, &one}) b.add(c);
  ASSERT_EQ(0u, b.resort());
  b.add(&zero);
  EXPECT_EQ((std::vector<int>{1, 2, 0}), keysOf(b));
}

}  // namespace
