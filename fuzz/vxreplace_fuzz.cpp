// Differential fuzzing of VxReplaceString against a two-string model.
//
// The model keeps the output produced so far and the source not yet
// consumed. Each step keeps, drops or inserts bytes, takes output back
// with setInsertionPoint, or quotes bytes; at every step the rewriter's
// view must equal the model's rest, and after the rewriter is destroyed
// the target must hold output + rest. Steps may fail an allocation: a
// failing insertion returns 1 and changes nothing.
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

  // A source long enough that moving it up by a growth step overlaps it.
  size_t length = (size_t(byte()) << 4) % 4096;
  std::string rest;
  for (size_t i = 0; i < length; ++i) rest += char('a' + i % 26);
  rest += text(64);
  std::string output;
  VxString target;
  if (target.initialize(rest.data(), rest.size())) return 0;
  {
    VxReplaceString r(&target);
    while (pos < size) {
      uint8_t op = byte();
      switch (op % 5) {
        case 0: {  // keep source bytes
          size_t n = rest.empty() ? 0 : byte() % (rest.size() + 1);
          r.increaseInsertionPoint(n);
          output += rest.substr(0, n);
          rest.erase(0, n);
          break;
        }
        case 1: {  // drop source bytes by moving the view on
          size_t n = rest.empty() ? 0 : byte() % (rest.size() + 1);
          r.VxSubString::initialize(r.asPascalStr(n), r.getLength() - n);
          rest.erase(0, n);
          break;
        }
        case 2: {  // insert new bytes: from the input, the rest or the output
          bool fail = (op & 0x80) != 0;
          std::string bytes;
          const char* from;
          if ((op & 0x20) != 0 && !output.empty()) {
            size_t start = byte() % output.size();
            size_t n = (size_t(byte()) << 8 | byte()) % (output.size() - start + 1);
            bytes = output.substr(start, n);
            from = target.asPascalStr() + start;
          } else if ((op & 0x40) != 0 && !rest.empty()) {
            size_t n = byte() % (rest.size() + 1);
            bytes = rest.substr(0, n);
            from = r.asPascalStr();
          } else {
            bytes = text(700);
            from = bytes.data();
          }
          if (fail) ramFailAllocationAfter(1);
          unsigned status = r.concat(from, bytes.size());
          ramFailAllocationAfter(0);
          if (status == 0) {
            output += bytes;
          } else {
            check(fail);
          }
          break;
        }
        case 3: {  // take output back
          size_t back = output.empty() ? 0 : byte() % (output.size() + 1);
          r.setInsertionPoint(output.size() - back);
          rest.insert(0, output.substr(output.size() - back));
          output.erase(output.size() - back);
          break;
        }
        case 4: {  // quoted bytes
          std::string bytes = text(16);
          char quote = (op & 0x40) != 0 ? '\'' : '"';
          if (r.addQuotedBytes(bytes.data(), bytes.size(), quote) == 0) {
            output += quote;
            for (char c : bytes) {
              output += c;
              if (c == quote) output += c;
            }
            output += quote;
          }
          break;
        }
      }
      check(r.getOutputLength() == output.size());
      check(r.getLength() == rest.size());
      check(rest.empty() || memcmp(r.asPascalStr(), rest.data(), rest.size()) == 0);
      check(output.empty() || memcmp(target.asPascalStr(), output.data(), output.size()) == 0);
      if (output.size() + rest.size() > 65536) break;
    }
  }
  std::string joined = output + rest;
  check(target.getLength() == joined.size());
  check(joined.empty() || memcmp(target.asPascalStr(), joined.data(), joined.size()) == 0);
  return 0;
}
