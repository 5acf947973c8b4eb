// Arbitrary strings through VxValueParser: no crash, and a string that
// parses rebuilds (buildString) into one that parses again to the same
// attributes and values in the same order.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "config/vxvaluep.h"
#include "foundation/vxerror.h"

namespace {

std::vector<std::pair<std::string, std::string>> attributesOf(VxValueParser& parser) {
  std::vector<std::pair<std::string, std::string>> out;
  for (uint16_t i = 0; i < parser.getAttributeCount(); ++i) {
    const VxSubString* k = parser.getAttributeKey(i);
    const VxSubString* v = parser.getAttributeValueAt(i);
    out.emplace_back(std::string(k->asPascalStr(), k->getLength()), std::string(v->asPascalStr(), v->getLength()));
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  bool allowDuplicates = data[0] & 1;
  VxErrorList errors(nullptr, 1);
  VxErrorKeeper::setErrorList(&errors);

  VxSubString input(reinterpret_cast<const char*>(data + 1), size - 1);
  VxValueParser parser(input, ';', (data[0] & 2) ? "fuzz" : nullptr, allowDuplicates);
  if (parser.initialize() == 0) {
    VxString rebuilt;
    if (parser.buildString(rebuilt) != 0) abort();
    VxSubString again(rebuilt.asPascalStr(), rebuilt.getLength());
    VxValueParser second(again, ';', nullptr, allowDuplicates);
    if (second.initialize() != 0) abort();
    if (attributesOf(parser) != attributesOf(second)) abort();
  }
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
