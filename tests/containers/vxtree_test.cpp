#include "containers/vxtree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "containers_support.h"

namespace {

using TreeTest = vxtest::ContainerTest;
typedef std::vector<std::pair<uint64_t, uint64_t>> Entries;

// Keys are stored big-endian, so the tree's byte order is numeric order.
void putKey(uint64_t k, unsigned char* out) {
  for (int i = 7; i >= 0; --i, k >>= 8) out[i] = static_cast<unsigned char>(k);
}
uint64_t getKey(const unsigned char* in) {
  uint64_t k = 0;
  for (int i = 0; i < 8; ++i) k = k << 8 | in[i];
  return k;
}

// Every entry in walk order, forwards or backwards (then reversed), checked
// to come in key order.
Entries walk(VxTree& tree, bool forward) {
  Entries out;
  unsigned char key[8];
  uint64_t data = 0;
  unsigned int found = 0;
  VxTreeIterator it;
  EXPECT_EQ(0u, forward ? tree.getFirst(key, &data, &found, &it) : tree.getLast(key, &data, &found, &it));
  while (found) {
    out.emplace_back(getKey(key), data);
    EXPECT_EQ(0u, forward ? tree.getNext(key, &data, &found, &it) : tree.getPrevious(key, &data, &found, &it));
  }
  if (!forward) std::reverse(out.begin(), out.end());
  for (size_t i = 1; i < out.size(); ++i) EXPECT_LE(out[i - 1].first, out[i].first) << "walk out of order at " << i;
  return out;
}

// A long random sequence of adds, deletes, changes, look-ups and walks
// against a std::multimap, for each combination of duplicates and deleted
// marks. The tree grows far beyond its 32 KB cache, so nodes go to disk and
// come back. Equal keys may sit in any order, so walks are compared as
// sorted lists of entries. A last run with both and a few keys only often
// looks up a key whose entries, the last in the tree, are all marked.
TEST_F(TreeTest, AgreesWithAMultimapModel) {
  const unsigned seed = 424242;
  for (int config = 0; config < 5; ++config) {
    const bool marks = config & 5, dups = config & 6;
    SCOPED_TRACE(testing::Message() << "marks " << marks << ", duplicates " << dups << ", seed " << seed);
    std::mt19937_64 rng(seed + config);
    VxTree tree(8, 8, nullptr, marks, dups);
    std::multimap<uint64_t, uint64_t> model;
    const uint64_t range = config == 4 ? 40 : 30000;
    unsigned char key[8];
    for (int step = 0; step < 40000; ++step) {
      uint64_t k = rng() % range, d = rng();
      putKey(k, key);
      unsigned int found = 9;
      uint64_t got = 0;
      switch (rng() % 8) {
        case 0: case 1: case 2: case 3: {
          ASSERT_EQ(0u, tree.add(key, &d, &found));
          ASSERT_EQ(model.count(k) > 0, found == 1) << "add " << k;
          if (dups || !found) model.emplace(k, d);
          break;
        }
        case 4: {  // delete the first entry of k, whose data the tree names
          ASSERT_EQ(0u, tree.getData(key, &got, &found, nullptr));
          ASSERT_EQ(model.count(k) > 0, found == 1) << "getData " << k;
          ASSERT_EQ(0u, tree.deleteKey(key, &found));
          ASSERT_EQ(model.count(k) > 0, found == 1) << "delete " << k;
          if (found) {
            auto range = model.equal_range(k);
            auto at = std::find_if(range.first, range.second, [&](const std::pair<const uint64_t, uint64_t>& e) { return e.second == got; });
            ASSERT_NE(range.second, at) << "getData named data that is not there";
            model.erase(at);
          }
          break;
        }
        case 5: {  // delete one given entry by key and data
          auto at = model.lower_bound(k);
          if (at == model.end()) break;
          putKey(at->first, key);
          ASSERT_EQ(0u, tree.deleteKeyAndData(key, &at->second, &found));
          ASSERT_EQ(1u, found) << "deleteKeyAndData " << at->first;
          model.erase(at);
          break;
        }
        case 6: {  // change the data of a key that has one entry
          if (model.count(k) != 1) break;
          ASSERT_EQ(0u, tree.changeData(key, &d));
          model.find(k)->second = d;
          break;
        }
        default: {
          ASSERT_EQ(0u, tree.doesExist(key, &found));
          ASSERT_EQ(model.count(k) > 0, found == 1) << "doesExist " << k;
          break;
        }
      }
      if (step % 10000 == 9999) {
        Entries expected(model.begin(), model.end()), forward = walk(tree, true), backward = walk(tree, false);
        std::sort(expected.begin(), expected.end());
        std::sort(forward.begin(), forward.end());
        std::sort(backward.begin(), backward.end());
        ASSERT_TRUE(expected == forward) << "forward walk differs at step " << step;
        ASSERT_TRUE(expected == backward) << "backward walk differs at step " << step;
      }
    }
    EXPECT_TRUE(range < 30000 || tree.getNodeStore().getPagesWritten() > 0);
    tree.reset();
    EXPECT_EQ(1u, tree.getNodeStore().getSpaceEnd());
    EXPECT_TRUE(walk(tree, true).empty());
  }
}

// The size rules, one row each: the triplet, the sons (capped at 49) and
// the node size.
TEST_F(TreeTest, SizeRules) {
  const struct { uint16_t k, d; bool marks; uint16_t triplet, sons, node; } rows[] = {
      {8, 8, false, 24, 49, 1172},
      {4, 0, true, 16, 49, 788},
      {100, 0, false, 108, 19, 1964},
      {40, 4, true, 56, 37, 2036},
  };
  for (const auto& r : rows) {
    VxTree tree(r.k, r.d, nullptr, r.marks, false);
    EXPECT_EQ(r.triplet, tree.getTripletSize());
    EXPECT_EQ(r.sons, tree.getMaxSons());
    EXPECT_EQ(r.node, tree.getNodeSize());
  }
}

// Without duplicates a present key is reported and its data kept; with
// deleted marks a deleted key's slot is reused; changeKey moves an entry;
// a caller's compare function orders the keys; keys and data too long for
// three sons a node are refused.
TEST_F(TreeTest, PresentKeysMarkedSlotsChangedKeysAndOrders) {
  VxTree tree(8, 8, nullptr, 1, 0);
  unsigned char key[8], other[8];
  putKey(5, key), putKey(6, other);
  uint64_t d1 = 1, d2 = 2, got = 0;
  unsigned int found;
  ASSERT_EQ(0u, tree.add(key, &d1, &found));
  ASSERT_EQ(0u, tree.add(key, &d2, &found));
  tree.getData(key, &got, &found, nullptr);
  EXPECT_EQ(1u, found);
  EXPECT_EQ(1u, got);  // the first data kept
  tree.deleteKey(key, &found);
  tree.doesExist(key, &found);
  EXPECT_EQ(0u, found);
  VXSIZE_T end = tree.getNodeStore().getSpaceEnd();
  ASSERT_EQ(0u, tree.add(key, &d2, &found));
  EXPECT_EQ(end, tree.getNodeStore().getSpaceEnd());  // the marked slot was reused
  ASSERT_EQ(0u, tree.changeKey(key, other));
  tree.getData(other, &got, &found, nullptr);
  EXPECT_EQ(2u, got);
  EXPECT_EQ(1u, tree.changeKey(key, other));
  VxTreeIterator at;  // changes through an iterator left on an entry
  tree.getData(other, &got, &found, &at);
  ASSERT_EQ(0u, tree.changeCurrentData(&d1, &at));
  tree.getData(other, &got, &found, nullptr);
  EXPECT_EQ(1u, got);
  tree.getData(other, &got, &found, &at);
  ASSERT_EQ(0u, tree.deleteCurrent(&at));
  tree.doesExist(other, &found);
  EXPECT_EQ(0u, found);

  auto reversed = [](const void* a, const void* b, uint16_t n) { return int16_t(-memcmp(a, b, n)); };
  VxTree down(1, 0, reversed, 0, 0);
  for (char c : std::string("hello")) down.add(&c, nullptr, &found);
  std::string order;
  char c;
  for (down.getFirst(&c, nullptr, &found, nullptr); found; down.getNext(&c, nullptr, &found, nullptr)) order += c;
  EXPECT_EQ("olhe", order);

  VxTree huge(1100, 0, nullptr, 0, 0);
  EXPECT_EQ(1u, huge.add(std::string(1100, 'x').data(), nullptr, &found));
  EXPECT_EQ(2709, VxErrorKeeper::getLastErrorNumber());
}

}  // namespace
