// The sorted arrays against std::multimap and std::sort. The list, the
// arrays, the value arrays, the hash table and the dictionaries are run
// against std:: models by fuzz/containers_fuzz.cpp, whose replay is a test
// of its own (fuzz.containers_fuzz).
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "containers/vxsorted.h"
#include "containers_support.h"

namespace {

using vxtest::Counted;
using ModelTest = vxtest::ContainerTest;

#define AT_STEP(seed, step) SCOPED_TRACE(::testing::Message() << "seed " << (seed) << ", step " << (step))

// Both sorted arrays against a model that, like them, inserts an equal key
// after every element it equals. A lookup reports a match and the end of
// its run, or the insertion point.
template <typename Array, typename Key, typename Probe, typename Make, typename ElementAt>
void checkSorted(Array& a, const std::vector<Key>& keys, Probe probe, Make make, ElementAt elementAt) {
  std::multimap<Key, decltype(make(keys[0], 0))> model;
  for (size_t step = 0; step < keys.size(); ++step) {
    AT_STEP("", step);
    const Key key = keys[step];
    const VXSIZE_T first = static_cast<VXSIZE_T>(std::distance(model.begin(), model.lower_bound(key)));
    const VXSIZE_T equal = model.count(key);
    VXSIZE_T pos = 99999;
    ASSERT_EQ(equal != 0, a.findIndexOf(probe(key), pos) != 0);
    ASSERT_EQ(equal != 0 ? first + equal - 1 : first, equal != 0 ? a.findIndexOfLastKey(probe(key), pos) : pos);
    ASSERT_EQ(0u, a.add(model.emplace(key, make(key, static_cast<int>(step)))->second));
    VXSIZE_T i = 0;
    for (const auto& entry : model) ASSERT_EQ(entry.second, elementAt(a, i++));
  }
}

TEST_F(ModelTest, SortedArraysMatchStdMultimap) {
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
  checkSorted(words, values, [](VXSIZE_T v) { return v; }, [](VXSIZE_T v, int) { return v; },
              [](VxSortedArrayVXSIZE_T& s, VXSIZE_T i) { return s.at(i); });
  EXPECT_EQ((std::vector<int>{-1, 0, 1}), (std::vector<int>{words.compare(1, ~0u), words.compare(5, 5), words.compare(~0u, 5)}));
}

TEST_F(ModelTest, SuspendedSortedArrayAppendsUntilResortOrdersItLikeStdSort) {
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
