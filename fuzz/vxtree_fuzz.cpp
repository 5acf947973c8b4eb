// Differential fuzzing of VxTree against std::multimap.
//
// The first byte picks the tree: bit 0 deleted marks, bit 1 duplicates,
// bit 2 two-byte keys instead of one. Every later pair of bytes is one
// operation (low 3 bits of the first) on a key (the second byte, and for
// two-byte keys the first byte's top bits): add, delete by key, delete by
// key and data, change data, look up, exists. The found flags must match
// the model after every step; the walks both ways must list the model's
// entries in order after every 256th step and at the end.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

#include "containers/vxtree.h"
#include "foundation/vxerror.h"

namespace {

void check(bool ok) { if (!ok) abort(); }

typedef std::vector<std::pair<unsigned, uint32_t>> Entries;

unsigned keyOf(const unsigned char* k, bool wide) { return wide ? unsigned(k[0]) << 8 | k[1] : k[0]; }

void checkWalks(VxTree& tree, const std::multimap<unsigned, uint32_t>& model, bool wide) {
  Entries expected(model.begin(), model.end());
  std::sort(expected.begin(), expected.end());
  for (bool forward : {true, false}) {
    Entries seen;
    unsigned char key[2];
    uint32_t data;
    unsigned int found = 0;
    VxTreeIterator it;
    check((forward ? tree.getFirst(key, &data, &found, &it) : tree.getLast(key, &data, &found, &it)) == 0);
    while (found) {
      seen.emplace_back(keyOf(key, wide), data);
      check((forward ? tree.getNext(key, &data, &found, &it) : tree.getPrevious(key, &data, &found, &it)) == 0);
    }
    if (!forward) std::reverse(seen.begin(), seen.end());
    for (size_t i = 1; i < seen.size(); ++i) check(seen[i - 1].first <= seen[i].first);
    std::sort(seen.begin(), seen.end());
    check(seen == expected);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  VxErrorList errors(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&errors);
  const bool marks = data[0] & 1, dups = data[0] & 2, wide = data[0] & 4;
  {
    VxTree tree(wide ? 2 : 1, 4, nullptr, marks, dups);
    std::multimap<unsigned, uint32_t> model;
    uint32_t counter = 0;
    for (size_t i = 1; i + 1 < size; i += 2) {
      unsigned char key[2] = {static_cast<unsigned char>(wide ? data[i] >> 3 : data[i + 1]), data[i + 1]};
      unsigned k = keyOf(key, wide);
      unsigned int found = 9;
      uint32_t d = ++counter, got = 0;
      switch (data[i] & 7) {
        case 0: case 1: case 2:
          check(tree.add(key, &d, &found) == 0);
          check(found == (model.count(k) > 0));
          if (dups || !found) model.emplace(k, d);
          break;
        case 3: {
          check(tree.getData(key, &got, &found, nullptr) == 0);
          check(found == (model.count(k) > 0));
          check(tree.deleteKey(key, &found) == 0);
          check(found == (model.count(k) > 0));
          if (!found) break;
          auto range = model.equal_range(k);
          auto at = std::find_if(range.first, range.second, [&](const std::pair<const unsigned, uint32_t>& e) { return e.second == got; });
          check(at != range.second);
          model.erase(at);
          break;
        }
        case 4: {
          auto at = model.lower_bound(k);
          if (at == model.end()) break;
          unsigned char present[2] = {static_cast<unsigned char>(wide ? at->first >> 8 : at->first), static_cast<unsigned char>(at->first)};
          check(tree.deleteKeyAndData(present, &at->second, &found) == 0 && found == 1);
          model.erase(at);
          break;
        }
        case 5:
          if (model.count(k) != 1) break;
          check(tree.changeData(key, &d) == 0);
          model.find(k)->second = d;
          break;
        default:
          check(tree.doesExist(key, &found) == 0);
          check(found == (model.count(k) > 0));
          break;
      }
      if ((i / 2) % 256 == 255) checkWalks(tree, model, wide);
    }
    checkWalks(tree, model, wide);
  }
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
