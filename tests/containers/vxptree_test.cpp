#include "containers/vxptree.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "containers_support.h"

namespace {

using PTreeTest = vxtest::ContainerTest;

const uint64_t kHole = ~uint64_t(0);

// Positional inserts, holes and deletes against a std::vector in which a
// hole is a slot holding kHole: every walk lists exactly the vector's
// entries at their indexes, and look-ups by position agree. The tree grows
// large enough for splits several levels deep and for its nodes to go to
// disk.
TEST_F(PTreeTest, AgreesWithAVectorModel) {
  const unsigned seed = 5150;
  std::mt19937_64 rng(seed);
  VxPTree tree(8);
  EXPECT_TRUE(tree.isPTree());
  std::vector<uint64_t> model;
  for (int step = 0; step < 30000; ++step) {
    uint64_t at = model.empty() ? 0 : rng() % (model.size() + 1), d = rng() >> 1;
    unsigned int found = 9;
    switch (rng() % 6) {
      case 0: case 1: case 2:
        ASSERT_EQ(0u, tree.addAtPos(at, &d)) << "seed " << seed;
        model.insert(model.begin() + at, d);
        break;
      case 3:
        ASSERT_EQ(0u, tree.addHoleAtPos(at));
        model.insert(model.begin() + at, kHole);
        break;
      default:
        ASSERT_EQ(0u, tree.deleteKeyAtPos(at, &found));
        ASSERT_EQ(at < model.size() && model[at] != kHole, found == 1) << "delete at " << at << ", step " << step;
        if (found) model.erase(model.begin() + at);
        break;
    }
    if (step % 3000 == 2999 || step < 200) {
      std::vector<uint64_t> seen(model.size(), kHole);
      uint64_t position = 0, data = 0;
      found = 0;
      for (tree.getFirst(&position, &data, &found, nullptr); found; tree.getNext(&position, &data, &found, nullptr)) {
        ASSERT_LT(position, seen.size()) << "step " << step;
        seen[position] = data;
      }
      ASSERT_TRUE(seen == model) << "walk differs at step " << step << ", seed " << seed;
      for (int probe = 0; probe < 50 && !model.empty(); ++probe) {
        uint64_t p = rng() % model.size();
        ASSERT_EQ(0u, tree.getData(&p, &data, &found, nullptr));
        ASSERT_EQ(model[p] != kHole, found == 1) << "position " << p;
        if (found) { ASSERT_EQ(model[p], data); }
      }
    }
  }
  EXPECT_GT(tree.getNodeStore().getPagesWritten(), 0u);
}

}  // namespace
