// Differential fuzzing of VxParamString filling against std::string.
//
// The input gives a template (with markers sprinkled in) and a series of
// values, texts or numbers. The model numbers the values by position and
// replaces each marker ("%", s or d, "x" above 9, the number) everywhere,
// continuing after each inserted value; the string must agree. Steps may
// fail an allocation: the string then sets its failed flag, keeps its text
// and ignores every later value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "containers/vxparams.h"
#include "foundation/ram_internal.h"

namespace {

void check(bool ok) {
  if (!ok) abort();
}

void modelReplace(std::string& s, const std::string& from, const std::string& to) {
  for (size_t pos = s.find(from); pos != std::string::npos; pos = s.find(from, pos + to.size())) {
    s.replace(pos, from.size(), to);
  }
}

std::string marker(char type, unsigned n) {
  return std::string("%") + type + (n > 9 ? "x" : "") + std::to_string(n);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t pos = 0;
  auto byte = [&]() -> uint8_t { return pos < size ? data[pos++] : 0; };
  auto text = [&](size_t max) {
    size_t n = byte() % (max + 1);
    if (n > size - pos) n = size - pos;
    std::string s(reinterpret_cast<const char*>(data + pos), n);
    pos += n;
    return s;
  };

  // The template: pieces of input and markers for the first 12 values.
  std::string model;
  for (uint8_t pieces = byte() % 8; pieces > 0; --pieces) {
    model += text(12);
    model += marker((byte() & 1) ? 'd' : 's', byte() % 12 + 1);
  }
  VxParamString p;
  if (p.initialize(model.data(), model.size())) return 0;

  unsigned count = 0;
  bool failed = false;
  while (pos < size) {
    uint8_t op = byte();
    bool failAllocation = (op & 0x80) != 0;
    std::string value;
    char type = 's';
    if (failAllocation) ramFailAllocationAfter(1);
    switch (op % 4) {
      case 0:
        value = text(16);
        p << value.c_str();
        value = value.c_str();
        break;
      case 1: {
        value = text(16);
        p << VxSubString(value.data(), value.size());
        break;
      }
      case 2: {
        uint64_t n = 0;
        for (int i = 0; i < 8; ++i) n = n << 8 | byte();
        p << n;
        value = std::to_string(n);
        type = 'd';
        break;
      }
      case 3: {
        int64_t n = static_cast<int8_t>(byte()) * int64_t(1000003);
        p << n;
        value = std::to_string(n);
        type = 'd';
        break;
      }
    }
    ramFailAllocationAfter(0);
    if (!failed) {
      ++count;
      std::string expected = model;
      modelReplace(expected, marker(type, count), value);
      if (p.isFailed()) {
        check(failAllocation);
        failed = true;
      } else {
        model = expected;
      }
    }
    check(p.getParamCount() == count);
    check(p.isFailed() == failed);
    check(p.getLength() == model.size());
    check(model.empty() || memcmp(p.asPascalStr(), model.data(), model.size()) == 0);
  }
  return 0;
}
