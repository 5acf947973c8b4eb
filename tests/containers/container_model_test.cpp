// Randomised runs of the containers against the standard library's
// equivalents: std::list for VxList, std::vector for the arrays,
// std::multimap for the sorted arrays, std::map for VxSet and the
// dictionaries. Every step is checked against the model; the seed and the
// step are printed when a check fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <deque>
#include <list>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "containers/vxdictio.h"
#include "containers/vxseqdic.h"
#include "containers/vxsorted.h"
#include "containers_support.h"

namespace {

using vxtest::Counted;
using ModelTest = vxtest::ContainerTest;

#define AT_STEP(seed, step) SCOPED_TRACE(::testing::Message() << "seed " << (seed) << ", step " << (step))

TEST_F(ModelTest, ListMatchesStdList) {
  const unsigned seed = 7;
  std::mt19937 rng(seed);
  VxList list;
  std::list<Counted*> model;
  Counted stranger(-1, nullptr);
  stranger.next = nullptr;
  for (int step = 0, serial = 0; step < 3000; ++step) {
    AT_STEP(seed, step);
    const size_t n = model.size(), pos = rng() % (n + 3);  // past the count appends
    const auto at = [&](size_t i) { return std::next(model.begin(), static_cast<long>(std::min(i, n))); };
    const unsigned op = rng() % 7;
    Counted* expected = nullptr;
    VxNode* removed = nullptr;
    if (op == 0) {
      list.insert(*model.insert(model.begin(), new Counted(serial++, &deaths)));
    } else if (op == 1) {
      auto it = model.insert(at(pos), new Counted(serial++, &deaths));
      list.insertAtPos(*it, pos);
      // Between the ends the node is linked after the one at pos - 1, found with the cursor.
      if (pos > 0 && pos < n) { ASSERT_EQ(*std::prev(it), list.getCursor()); }
    } else if (op <= 3) {
      removed = op == 2 ? list.removeFirstNode() : list.removeLastNode();
      expected = n == 0 ? nullptr : op == 2 ? model.front() : model.back();
    } else if (op == 4 && pos < n) {  // unlinking the cursor's node clears the cursor
      removed = list.getNodeAtPos(pos);
      list.unlink(removed);
      ASSERT_EQ(nullptr, list.getCursor());
      expected = *at(pos);
    } else if (op == 5 && n != 0) {
      model.insert(at(std::min(pos, n - 1)), model.back());
      model.pop_back();
      list.moveLastNodeToPos(pos);
    } else if (op == 6) {
      list.unlink(&stranger);  // a node that is not in the list changes nothing
    }
    model.remove(expected);
    ASSERT_EQ(expected, removed);
    if (removed != nullptr) { ASSERT_EQ(nullptr, removed->next); }
    delete removed;
    std::vector<VxNode*> walked;
    for (VxNode* node = list.getFirstNode(); node != nullptr; node = list.getNextNode()) walked.push_back(node);
    ASSERT_EQ(std::vector<VxNode*>(model.begin(), model.end()), walked);
    ASSERT_EQ(model.size(), list.getCount());
    ASSERT_EQ(nullptr, list.getNextNode());  // an ended iteration stays ended
    ASSERT_EQ(model.empty() ? nullptr : model.back(), list.getLastNode());
    if (!model.empty()) { ASSERT_EQ(model.front(), model.back()->next); }  // the ring is closed
    ASSERT_EQ(nullptr, list.getNodeAtPos(model.size()));
  }
  const int removedEarlier = deaths;
  list.deleteNodes();
  EXPECT_EQ(removedEarlier + static_cast<int>(model.size()), deaths);
  EXPECT_EQ(nullptr, list.getFirstNode());
}

TEST_F(ModelTest, ArrayMatchesStdVectorAndGrowsSixteenSlotsAtATime) {
  const unsigned seed = 5;
  std::mt19937 rng(seed);
  VxArray a;
  std::vector<Counted*> model;
  VXSIZE_T capacity = 0;
  for (int step = 0; step < 3000; ++step) {
    AT_STEP(seed, step);
    const size_t n = model.size(), pos = rng() % (n + 1), op = rng() % 5;
    if (op <= 1) {
      Counted* c = new Counted(step, &deaths);
      ASSERT_EQ(0u, op == 0 ? a.add(c) : a.addAtIndex(c, pos));
      model.insert(op == 0 ? model.end() : model.begin() + static_cast<long>(pos), c);
      capacity += n == capacity ? 16 : 0;
    } else if (op <= 3 && pos < n) {  // removeAtIndex leaves the element alive
      const int before = deaths;
      op == 2 ? a.removeAtIndex(pos) : a.deleteAtIndex(pos);
      ASSERT_EQ(before + (op == 2 ? 0 : 1), deaths);
      if (op == 2) delete model[pos];
      model.erase(model.begin() + static_cast<long>(pos));
    } else if (pos < n) {  // identity, not equality
      Counted twin(model[pos]->key, nullptr);
      ASSERT_EQ(1, a.doesExist(model[pos]) + a.doesExist(&twin));
    }
    ASSERT_EQ(model.size(), a.getCount());
    ASSERT_EQ(capacity, a.getSizeOfArray());
    for (size_t i = 0; i < model.size(); ++i) ASSERT_EQ(model[i], i % 2 ? a.at(i) : a[static_cast<int>(i)]) << i;
  }
  const int removedEarlier = deaths;
  a.deleteContents();  // destroys the elements, keeps the storage
  EXPECT_EQ(removedEarlier + static_cast<int>(model.size()), deaths);
  EXPECT_EQ(capacity, a.getSizeOfArray() + a.getCount());
  EXPECT_EQ(nullptr, a[uint16_t{0}]);
}

// Each value array keeps full-range values of its type and works as a
// stack while room is reserved (push never grows).
template <typename Array, typename T>
void checkValueArray(unsigned seed) {
  std::mt19937_64 rng(seed);
  Array a;
  std::vector<T> model;
  ASSERT_EQ(0u, a.setInitialSize(8));
  for (int step = 0; step < 800; ++step) {
    AT_STEP(seed, step);
    const T v = static_cast<T>(rng());
    const VXSIZE_T n = model.size(), pos = rng() % (n + 1), op = rng() % 5;
    if (op <= 1) {
      ASSERT_EQ(0u, op == 0 ? a.add(v) : a.addAtIndex(v, pos));
      model.insert(op == 0 ? model.end() : model.begin() + static_cast<long>(pos), v);
    } else if (op == 2 && n < a.getSizeOfArray()) {
      a.push(v);
      model.push_back(v);
    } else if (op == 3 && n != 0) {
      ASSERT_EQ(model.back(), a.top());
      ASSERT_EQ(model.back(), a.pop());
      model.pop_back();
    } else if (op == 4 && pos < n) {
      a[static_cast<int>(pos)] = model[pos] = v;
    }
    ASSERT_EQ(model.size(), a.getCount());
    for (VXSIZE_T i = 0; i < model.size(); ++i) ASSERT_EQ(model[i], i % 3 == 0 ? a.at(i) : i % 3 == 1 ? a[i] : a[uint16_t(i)]);
  }
}

TEST_F(ModelTest, ValueArraysMatchStdVector) {
  checkValueArray<VxArrayVXSIZE_T, VXSIZE_T>(1);
  checkValueArray<VxArrayVXSSIZE_T, VXSSIZE_T>(2);
  checkValueArray<VxArrayS32, int32_t>(3);
  checkValueArray<VxArrayU32, uint32_t>(4);
}

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

TEST_F(ModelTest, SetMatchesStdMapAndGrowsByAQuarterPlusOne) {
  const unsigned seed = 13;
  std::mt19937 rng(seed);
  vxtest::ItemSet set;  // unsized: the first add sizes it
  std::map<int, vxtest::Item*> model;
  std::deque<vxtest::Item> items;
  for (int step = 0; step < 3000; ++step) {
    AT_STEP(seed, step);
    const int id = static_cast<int>(rng() % 700);
    vxtest::Item* item = &items.emplace_back(vxtest::Item{static_cast<VXSIZE_T>(id % 97), id});  // probes collide
    const auto found = model.find(id);
    ASSERT_EQ(found == model.end() ? nullptr : found->second, set.find(item));
    if (found != model.end()) continue;
    const uint16_t size = set.getTableSize(), capacity = set.getCapacity();
    ASSERT_EQ(0u, set.add(model[id] = item));
    if (size != 0 && set.getTableSize() != size) { ASSERT_EQ(capacity + capacity / 4 + 1, set.getCapacity()); }
    ASSERT_EQ(model.size(), set.getEntryCount());
    ASSERT_EQ(model.size(), set.getHighWater());
    ASSERT_LE(set.getEntryCount(), set.getCapacity());
  }
  size_t occupied = 0;
  for (uint16_t i = 0; i < set.getTableSize(); ++i) occupied += set.at(i) != nullptr;
  EXPECT_EQ(model.size(), occupied);
}

// Integer keys: even keys carry integer data, odd keys objects. Every
// association answers 0 or null for the form it is not, and only an
// integer datum can be changed.
TEST_F(ModelTest, DictionariesMatchStdMapForIntegerKeys) {
  const unsigned seed = 11;
  std::mt19937_64 rng(seed);
  VxDictionary dict;
  VxSeqDictionary seq;
  ASSERT_EQ(0u, dict.initialize(4));
  std::vector<VxObject> objects(1000);
  std::map<VXSIZE_T, VXSIZE_T> model;
  std::vector<VXSIZE_T> order;
  for (int step = 0; step < 2500; ++step) {
    AT_STEP(seed, step);
    const VXSIZE_T key = rng() % 1000, odd = key % 2;
    const bool present = model.count(key) != 0;
    if (!present && rng() % 2 == 0) {
      ASSERT_EQ(0u, odd ? dict.addAssoc(key, &objects[key]) : dict.addAssoc(key, key * 3));
      ASSERT_EQ(0u, odd ? seq.addAssoc(key, &objects[key]) : seq.addAssoc(key, key * 3));
      model[key] = odd ? 0 : key * 3;
      order.push_back(key);
      continue;
    }
    if (present && rng() % 4 == 0) seq.changeData(key, VXSIZE_T(step));
    if (present && !odd && seq.getIntForKey(key) == VXSIZE_T(step)) model[key] = VXSIZE_T(step);
    VxObject* object = present && odd ? &objects[key] : nullptr;
    ASSERT_EQ(present ? 2 : 0, dict.doesExist(key) + seq.doesExist(key));
    ASSERT_EQ(present ? model[key] : 0, seq.getIntForKey(key));
    ASSERT_EQ(present && !odd ? key * 3 : 0, dict.getIntForKey(key));
    ASSERT_EQ(object, dict.getPtrForKey(key));
    ASSERT_EQ(object, seq.getPtrForKey(key));
    // The insertion order is kept; a missing key's index is the count.
    ASSERT_EQ(static_cast<VXSIZE_T>(std::find(order.begin(), order.end(), key) - order.begin()), seq.getIndexForKey(key));
  }
  EXPECT_EQ(model.size(), dict.getEntryCount());
  EXPECT_EQ(model.size(), seq.getCount());
}

// A dictionary whose string keys compare without regard to case.
struct CiDictionary : VxDictionary {
  CiDictionary() { flags |= kCaseInsensitive; }
};

// String keys, half of them sharing their first five bytes (so they hash
// alike), in mixed case. The model is keyed by the key as the dictionary
// compares it: upper-cased when case does not count.
template <typename Dict>
void checkStringKeys(Dict& dict, bool ci, unsigned seed) {
  std::mt19937 rng(seed);
  std::deque<std::string> texts;
  std::deque<VxSubString> keys;
  std::deque<VxObject> data;
  std::map<std::string, std::pair<VXSIZE_T, VxObject*>> model;  // insertion index, datum
  for (int step = 0; step < 1500; ++step) {
    AT_STEP(seed, step);
    std::string& text = texts.emplace_back(rng() % 2 ? "SQL_" : "");
    for (int n = static_cast<int>(rng() % 4); n >= 0; --n) text += "aAbB"[rng() % 4];
    std::string folded = text;
    if (ci) std::transform(folded.begin(), folded.end(), folded.begin(), ::toupper);
    VxSubString* key = &keys.emplace_back(text.c_str());
    VxObject* datum = &data.emplace_back();
    const auto found = model.find(folded);
    ASSERT_EQ(found != model.end(), dict.doesExist(key) != 0);
    ASSERT_EQ(found == model.end() ? nullptr : found->second.second, dict.getPtrForKey(key));
    if (found == model.end()) {
      model.emplace(folded, std::make_pair(VXSIZE_T{model.size()}, datum));
      ASSERT_EQ(0u, dict.addAssoc(key, datum));
    } else if constexpr (std::is_same<Dict, VxSeqDictionary>::value) {
      ASSERT_EQ(found->second.first, dict.getIndexForKey(*key));
      ASSERT_EQ(1, dict.doesExist(*key));
      dict.changeData(*key, found->second.second = datum);  // the old object is not destroyed
    }
  }
}

TEST_F(ModelTest, DictionariesMatchStdMapForStringKeysInBothCaseModes) {
  VxDictionary dict;
  CiDictionary ciDict;
  VxSeqDictionary seq, ciSeq;
  ASSERT_EQ(0u, dict.initialize(2));
  ciSeq.setCaseInsensitive();
  checkStringKeys(dict, false, 3);
  checkStringKeys(ciDict, true, 4);
  checkStringKeys(seq, false, 5);
  checkStringKeys(ciSeq, true, 6);
}

}  // namespace
