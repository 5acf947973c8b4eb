// Randomised runs of the containers against the standard library's
// equivalents: every step is checked against the model.
#include <gtest/gtest.h>

#include <list>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "containers/vxdictio.h"
#include "containers/vxlist.h"
#include "containers/vxseqdic.h"
#include "containers/vxstring.h"

namespace {

struct ValueNode : VxNode {
  explicit ValueNode(int v) : value(v) {}
  int value;
};

TEST(ContainerModel, ListMatchesStdListUnderRandomOperations) {
  std::mt19937 rng(7);
  VxList list;
  std::list<int> model;
  int serial = 0;
  for (int step = 0; step < 5000; ++step) {
    const int op = static_cast<int>(rng() % 6);
    if (op == 0) {
      list.insert(new ValueNode(serial));
      model.push_front(serial++);
    } else if (op == 1) {
      list.append(new ValueNode(serial));
      model.push_back(serial++);
    } else if (op == 2) {
      const VXSIZE_T pos = rng() % (model.size() + 1);
      list.insertAtPos(new ValueNode(serial), pos);
      model.insert(std::next(model.begin(), static_cast<long>(pos)), serial++);
    } else if (op == 3 && !model.empty()) {
      delete list.removeFirstNode();
      model.pop_front();
    } else if (op == 4 && !model.empty()) {
      delete list.removeLastNode();
      model.pop_back();
    } else if (op == 5 && !model.empty()) {
      const VXSIZE_T pos = rng() % model.size();
      VxNode* node = list.getNodeAtPos(pos);
      list.unlink(node);
      delete node;
      model.erase(std::next(model.begin(), static_cast<long>(pos)));
    }
    ASSERT_EQ(model.size(), list.getCount());
  }
  std::vector<int> walked;
  for (VxNode* n = list.getFirstNode(); n != nullptr; n = list.getNextNode()) {
    walked.push_back(static_cast<ValueNode*>(n)->value);
  }
  EXPECT_EQ(std::vector<int>(model.begin(), model.end()), walked);
  list.deleteNodes();
}

TEST(ContainerModel, DictionariesMatchStdMapForIntegerKeys) {
  std::mt19937_64 rng(11);
  VxDictionary dict;
  ASSERT_EQ(0u, dict.initialize(4));
  VxSeqDictionary seq;
  std::map<VXSIZE_T, VXSIZE_T> model;
  for (int step = 0; step < 3000; ++step) {
    const VXSIZE_T key = rng() % 2000;
    if (rng() % 2 == 0) {
      if (!dict.doesExist(key)) {
        ASSERT_EQ(0u, dict.addAssoc(key, key * 3));
        ASSERT_EQ(0u, seq.addAssoc(key, key * 3));
        model[key] = key * 3;
      }
    } else {
      const bool present = model.count(key) != 0;
      ASSERT_EQ(present, dict.doesExist(key) != 0) << key;
      ASSERT_EQ(present, seq.doesExist(key) != 0) << key;
      ASSERT_EQ(present ? model[key] : 0, dict.getIntForKey(key));
      ASSERT_EQ(present ? model[key] : 0, seq.getIntForKey(key));
    }
  }
  EXPECT_EQ(model.size(), dict.getEntryCount());
  EXPECT_EQ(model.size(), seq.getCount());
}

TEST(ContainerModel, DictionaryMatchesStdMapForPrefixSharingStringKeys) {
  std::mt19937 rng(3);
  VxDictionary dict;
  ASSERT_EQ(0u, dict.initialize(2));
  std::vector<std::string> texts;
  texts.reserve(400);
  std::vector<VxSubString> keys;
  keys.reserve(400);
  std::map<std::string, VxObject*> model;
  std::vector<VxObject> data(400);
  for (int i = 0; i < 400; ++i) {
    // Half the keys share their first five letters.
    texts.push_back((i % 2 ? "SQL_ATTR_" : "") + std::to_string(rng() % 300));
    if (model.count(texts.back())) continue;
    keys.emplace_back(texts.back().c_str());
    ASSERT_EQ(0u, dict.addAssoc(&keys.back(), &data[i]));
    model[texts.back()] = &data[i];
  }
  for (const auto& entry : model) {
    VxSubString probe(entry.first.c_str());
    EXPECT_EQ(entry.second, dict.getPtrForKey(&probe)) << entry.first;
  }
  VxSubString absent("SQL_ATTR_absent");
  EXPECT_EQ(nullptr, dict.getPtrForKey(&absent));
}

}  // namespace
