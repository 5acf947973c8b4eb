#include "containers/vxlist.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A node that counts its destructions, so ownership can be observed.
struct CountedNode : VxNode {
  explicit CountedNode(int v, int* deaths = nullptr) : value(v), deaths(deaths) {}
  ~CountedNode() override {
    if (deaths != nullptr) ++*deaths;
  }
  int value;
  int* deaths;
};

int valueOf(VxNode* node) { return static_cast<CountedNode*>(node)->value; }

// The values met by a full cursor walk, first to last.
std::vector<int> walk(VxList& list) {
  std::vector<int> out;
  for (VxNode* n = list.getFirstNode(); n != nullptr; n = list.getNextNode()) out.push_back(valueOf(n));
  return out;
}

class VxListTest : public ::testing::Test {
 protected:
  void fill(int n) {
    for (int i = 0; i < n; ++i) {
      nodes.push_back(new CountedNode(i, &deaths));
      list.append(nodes.back());
    }
  }
  void TearDown() override { list.deleteNodes(); }

  VxList list;
  std::vector<CountedNode*> nodes;
  int deaths = 0;
};

TEST_F(VxListTest, EmptyListHasNoEndsAndInsertPutsFirstAndAppendPutsLast) {
  EXPECT_EQ(0u, list.getCount());
  EXPECT_EQ(nullptr, list.getFirstNode());
  EXPECT_EQ(nullptr, list.getLastNode());
  EXPECT_EQ(nullptr, list.getCursor());
  EXPECT_EQ(nullptr, list.removeFirstNode());
  EXPECT_EQ(nullptr, list.removeLastNode());
  list.append(new CountedNode(2, &deaths));
  list.insert(new CountedNode(1, &deaths));
  list.append(new CountedNode(3, &deaths));
  EXPECT_EQ((std::vector<int>{1, 2, 3}), walk(list));
  EXPECT_EQ(3u, list.getCount());
  EXPECT_EQ(3, valueOf(list.getLastNode()));
}

TEST_F(VxListTest, RingIsClosedButGetNextNodeAfterLastNodeReturnsNull) {
  fill(3);
  EXPECT_EQ(nodes[0], nodes[2]->next);
  list.getLastNode();
  EXPECT_EQ(nullptr, list.getNextNode());
  EXPECT_EQ(nullptr, list.getCursor());
  EXPECT_EQ(nullptr, list.getNextNode());
}

TEST_F(VxListTest, InsertAtPosInsertsAtZeroLinksAfterThePreviousAndAppendsFromCount) {
  fill(2);
  list.insertAtPos(new CountedNode(10, &deaths), 0);
  list.insertAtPos(new CountedNode(20, &deaths), list.getCount());
  EXPECT_EQ((std::vector<int>{10, 0, 1, 20}), walk(list));
  list.insertAtPos(new CountedNode(9, &deaths), 9);  // past the count: appends
  EXPECT_EQ((std::vector<int>{10, 0, 1, 20, 9}), walk(list));
  list.insertAtPos(new CountedNode(7, &deaths), 2);  // links after position 1, the new cursor
  EXPECT_EQ(nodes[0], list.getCursor());
  EXPECT_EQ((std::vector<int>{10, 0, 7, 1, 20, 9}), walk(list));
  EXPECT_EQ(6u, list.getCount());
}

TEST_F(VxListTest, UnlinkingOnlyNodeEmptiesListAndUnlinkingLastMakesPreviousLast) {
  fill(1);
  list.unlink(nodes[0]);
  EXPECT_EQ(0u, list.getCount());
  EXPECT_EQ(nullptr, list.getFirstNode());
  EXPECT_EQ(nullptr, nodes[0]->next);
  delete nodes[0];
  fill(3);  // nodes 1..3
  list.unlink(nodes[3]);
  EXPECT_EQ(nodes[2], list.getLastNode());
  EXPECT_EQ(nodes[1], nodes[2]->next);
  EXPECT_EQ((std::vector<int>{0, 1}), walk(list));
  delete nodes[3];
}

TEST_F(VxListTest, UnlinkingMiddleCursorNodeNullsItsNextAndClearsCursor) {
  fill(3);
  list.getNodeAtPos(1);
  list.unlink(nodes[1]);
  EXPECT_EQ(nullptr, list.getCursor());
  EXPECT_EQ(nullptr, nodes[1]->next);
  EXPECT_EQ((std::vector<int>{0, 2}), walk(list));
  EXPECT_EQ(2u, list.getCount());
  delete nodes[1];
}

TEST_F(VxListTest, UnlinkingForeignNodeChangesNothing) {
  fill(3);
  CountedNode stranger(99);
  stranger.next = nullptr;
  list.unlink(&stranger);
  EXPECT_EQ(3u, list.getCount());
  EXPECT_EQ((std::vector<int>{0, 1, 2}), walk(list));
}

TEST_F(VxListTest, RemoveFirstAndLastNodeReturnTheEnds) {
  fill(3);
  VxNode* first = list.removeFirstNode();
  VxNode* lastNode = list.removeLastNode();
  EXPECT_EQ(nodes[0], first);
  EXPECT_EQ(nodes[2], lastNode);
  EXPECT_EQ((std::vector<int>{1}), walk(list));
  delete first;
  delete lastNode;
}

TEST_F(VxListTest, MoveLastNodeToPosReinsertsIt) {
  fill(4);
  list.moveLastNodeToPos(1);
  EXPECT_EQ((std::vector<int>{0, 3, 1, 2}), walk(list));
  EXPECT_EQ(4u, list.getCount());
}

TEST_F(VxListTest, GetNodeAtPosWrapsAt65536DeliberatelyAndPastTheEndReturnsNull) {
  fill(3);
  EXPECT_EQ(nodes[2], list.getNodeAtPos(2));
  EXPECT_EQ(nullptr, list.getNodeAtPos(3));
  fill(65537);
  EXPECT_EQ(nodes[65535], list.getNodeAtPos(65535));
  EXPECT_EQ(nodes[0], list.getNodeAtPos(65536));
  EXPECT_EQ(nodes[3], list.getNodeAtPos(65539));
}

TEST_F(VxListTest, DeleteNodesDestroysEveryNode) {
  fill(5);
  list.deleteNodes();
  EXPECT_EQ(5, deaths);
  EXPECT_EQ(0u, list.getCount());
  EXPECT_EQ(nullptr, list.getFirstNode());
}

TEST(VxListOwnership, DestructorLeavesNodesAlive) {
  int deaths = 0;
  CountedNode* a = new CountedNode(1, &deaths);
  CountedNode* b = new CountedNode(2, &deaths);
  {
    VxList list;
    list.append(a);
    list.append(b);
  }
  EXPECT_EQ(0, deaths);
  EXPECT_EQ(b, a->next);
  delete a;
  delete b;
  EXPECT_EQ(2, deaths);
}

TEST(VxNodeCopy, CopyIsNotLinked) {
  CountedNode a(1);
  a.next = &a;
  CountedNode b(2);
  b.next = nullptr;
  b = a;
  EXPECT_EQ(nullptr, b.next);
}

}  // namespace
