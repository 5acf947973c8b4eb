// Differential fuzzing of the containers against the standard library.
//
// The first byte picks a container, every later byte (a pair for the
// arrays) is one operation on it and on its model, and after every step
// the two must agree:
//   0  VxList against std::list: inserts at either end or a position (past
//      the count appends), removals at the ends, unlinking a node (and one
//      that is not in the list), moving the last node; the walk, the count,
//      the closed ring and the cursor are checked.
//   1  VxArray and VxArrayVXSIZE_T against std::vector: adds, inserts,
//      pushes into reserved room, pops, removals that keep or destroy the
//      element; capacity grows by 16 slots; doesExist is by identity.
//   2-4 VxDictionary and VxSeqDictionary with integer keys (even keys carry
//      numbers, odd keys objects), string keys, and string keys compared
//      without regard to case, against std::map: lookups, insertion order,
//      changeData (only the sequential one has it), and the hash table's
//      growth by a quarter plus one.
// Every element is counted, so that none may be destroyed too early or
// leak from the containers that own them.
#include <algorithm>
#include <cstdlib>
#include <deque>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "containers/vxdictio.h"
#include "containers/vxlist.h"
#include "containers/vxseqdic.h"
#include "containers/vxstring.h"

namespace {

int live = 0;  // Nodes alive

void check(bool ok) { if (!ok) abort(); }

struct Node : VxNode {  // ordered by key
  explicit Node(int key) : key(key) { ++live; } ~Node() override { --live; }
  int16_t compare(const VxObject* o) const override { return int16_t((key > static_cast<const Node*>(o)->key) - (key < static_cast<const Node*>(o)->key)); }
  int key;
};

void lists(const uint8_t* d, size_t n) {
  VxList list; std::list<VxNode*> model;
  Node stranger(-1);  // never in the list
  stranger.next = nullptr;
  for (size_t i = 0; i < n; ++i) {
    const size_t size = model.size(), pos = d[i] >> 3, op = d[i] % 8;
    const auto at = [&](size_t p) { return std::next(model.begin(), static_cast<long>(std::min(p, size))); };
    VxNode *expected = nullptr, *removed = nullptr;
    if (op == 0) list.insert(*model.insert(model.begin(), new Node(0)));
    const auto it = op == 1 || op == 2 ? model.insert(at(pos), new Node(0)) : model.end();  // between the ends the node goes after the cursor's, pos - 1
    if (it != model.end()) list.insertAtPos(*it, pos), check(pos == 0 || pos >= size || *std::prev(it) == list.getCursor());
    if (op == 3 || op == 4) removed = op == 3 ? list.removeFirstNode() : list.removeLastNode(), expected = size == 0 ? nullptr : op == 3 ? model.front() : model.back();
    if (op == 5 && pos < size) list.unlink(removed = list.getNodeAtPos(pos)), expected = *at(pos), check(list.getCursor() == nullptr);  // unlinking the cursor's node clears the cursor
    if (op == 6 && size != 0) model.insert(at(std::min(pos, size - 1)), model.back()), model.pop_back(), list.moveLastNodeToPos(pos);
    if (op == 7) list.unlink(&stranger);
    check(expected == removed && (removed == nullptr || removed->next == nullptr));
    model.remove(expected), delete removed;
    auto walk = model.begin();
    for (VxNode* node = list.getFirstNode(); node != nullptr; node = list.getNextNode()) check(walk != model.end() && *walk++ == node);
    check(walk == model.end() && list.getCount() == model.size() && list.getNextNode() == nullptr && list.getNodeAtPos(model.size()) == nullptr);
    check(list.getLastNode() == (model.empty() ? nullptr : model.back()) && (model.empty() || model.back()->next == model.front()));
  }
  list.deleteNodes();
  check(live == 1 && list.getFirstNode() == nullptr);
}

void arrays(const uint8_t* d, size_t n) {
  VxArray a; VxArrayVXSIZE_T w;
  std::vector<Node*> model; VXSIZE_T capacity = 0;
  const auto wide = [](const Node* p) { return ~reinterpret_cast<VXSIZE_T>(p); };
  for (size_t i = 0; i + 1 < n; i += 2) {
    const size_t size = model.size(), op = d[i] % 6, pos = op == 0 || op == 2 ? size : op == 5 ? size - 1 : d[i + 1] % (size + 1);
    if (op <= 1 || (op == 2 && size < capacity)) {
      Node* node = *model.insert(model.begin() + static_cast<long>(pos), new Node(0));
      if (op == 2) a.push(node), w.push(wide(node));
      else check((op == 0 ? a.add(node) + w.add(wide(node)) : a.addAtIndex(node, pos) + w.addAtIndex(wide(node), pos)) == 0);
      capacity += size == capacity ? 16 : 0;
    } else if (op >= 3 && pos < size) {  // removeAtIndex leaves the element alive; pop is a removal at the end
      const int before = live;
      if (op == 5) check(w.top() == wide(model.back()) && w.pop() == wide(model[pos]));
      else w.removeAtIndex(pos);
      op == 4 ? a.deleteAtIndex(pos) : a.removeAtIndex(pos);
      check(live == before - (op == 4));
      if (op != 4) delete model[pos];
      model.erase(model.begin() + static_cast<long>(pos));
    }
    check(a.getCount() == model.size() && w.getCount() == model.size() && a.getSizeOfArray() == capacity && w.getSizeOfArray() == capacity);
    for (size_t j = 0; j < model.size(); ++j) check(model[j] == (j % 2 ? a.at(j) : a[int(j)]) && wide(model[j]) == (j % 2 ? w.at(j) : w[uint16_t(j)]));
    const Node twin(model.empty() ? 0 : model[pos % model.size()]->key);
    check(model.empty() || (a.doesExist(model[pos % model.size()]) && !a.doesExist(&twin)));
  }
  a.deleteContents();  // destroys the elements, keeps the storage
  check(live == 0 && a.getSizeOfArray() + a.getCount() == capacity && (model.empty() || a[uint16_t{0}] == nullptr));
}

struct CiDictionary : VxDictionary { CiDictionary() { flags |= kCaseInsensitive; } };

// mode 0: integer keys; 1: string keys; 2: string keys ignoring case. Half
// the strings share their first five bytes, so they hash alike. The model
// is keyed by the key as the dictionaries compare it.
void dictionaries(const uint8_t* d, size_t n, int mode) {
  struct Entry { VXSIZE_T index, seqInt; VxObject *seqPtr, *dictPtr; };
  VxDictionary plain; CiDictionary ci; VxSeqDictionary seq;
  VxDictionary& dict = mode == 2 ? ci : plain;
  if (mode == 2) seq.setCaseInsensitive();
  check(mode == 2 || dict.initialize(mode == 0 ? 4 : 2) == 0);  // unsized: the first add sizes it
  std::vector<VxObject> objects(n);
  std::deque<std::string> texts; std::deque<VxSubString> views;
  std::map<std::string, Entry> model;
  for (size_t i = 0; i < n; ++i) {
    const VXSIZE_T k = d[i] & 0x7f, odd = k & 1;
    std::string& text = texts.emplace_back(k & 64 ? "SQL_" : "");
    for (unsigned c = 0; c <= (k & 3); ++c) text += "aAbB"[(k >> (2 + c) & 1) + 2 * (c & 1)];
    std::string folded = mode == 0 ? std::to_string(k) : text;
    if (mode == 2) std::transform(folded.begin(), folded.end(), folded.begin(), ::toupper);
    VxSubString* key = &views.emplace_back(text.c_str());
    VxObject* object = &objects[i];
    const auto found = model.find(folded); const bool present = found != model.end();
    if (!present && !(d[i] & 0x80)) {
      const uint16_t size = dict.getTableSize(), capacity = dict.getCapacity();
      VxObject* ptr = mode != 0 || odd ? object : nullptr;
      model.emplace(folded, Entry{model.size(), ptr ? 0 : k * 3, ptr, ptr});
      check((mode != 0 ? dict.addAssoc(key, object) + seq.addAssoc(key, object) : odd ? dict.addAssoc(k, object) + seq.addAssoc(k, object) : dict.addAssoc(k, k * 3) + seq.addAssoc(k, k * 3)) == 0);
      check(size == 0 || dict.getTableSize() == size || dict.getCapacity() == capacity + capacity / 4 + 1);
      check(dict.getEntryCount() == model.size() && dict.getHighWater() == model.size() && model.size() <= dict.getCapacity());
      continue;
    }
    if (present && (d[i] & 0x80)) {  // the old datum is not destroyed; an object datum takes no number
      if (mode != 0) seq.changeData(*key, found->second.seqPtr = object);
      else seq.changeData(k, odd ? VXSIZE_T{i} : (found->second.seqInt = i));
    }
    const Entry e = present ? found->second : Entry{seq.getCount(), 0, nullptr, nullptr};
    const auto verify = [&](auto kk) { check(dict.doesExist(kk) + seq.doesExist(kk) == 2 * present && seq.getIndexForKey(kk) == e.index && dict.getPtrForKey(kk) == e.dictPtr && seq.getPtrForKey(kk) == e.seqPtr); };
    mode == 0 ? verify(k) : verify(key);
    check(mode != 0 ? seq.doesExist(*key) == present && seq.getIndexForKey(*key) == e.index : seq.getIntForKey(k) == e.seqInt && dict.getIntForKey(k) == (e.dictPtr || !present ? 0 : k * 3));
  }
  size_t occupied = 0;
  for (uint16_t s = 0; s < dict.getTableSize(); ++s) occupied += dict.at(s) != nullptr;
  check(occupied == model.size() && seq.getCount() == model.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const size_t n = size == 0 ? 0 : std::min<size_t>(size - 1, 1500);
  if (size != 0) data[0] % 5 == 0 ? lists(data + 1, n) : data[0] % 5 == 1 ? arrays(data + 1, n) : dictionaries(data + 1, n, data[0] % 5 - 2);
  check(live == 0);
  return 0;
}
