// Differential fuzzing of VxString editing against std::string.
//
// The input is a little program: each step picks an operation and its
// arguments from the next bytes and applies it both to a VxString and to
// a std::string model; afterwards the two must hold the same bytes, and
// the string's buffer must keep room for its NUL. Some steps arm the
// allocation-failure hook first: a failing operation must then return 1
// and leave the string exactly as the (unchanged) model.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "containers/vxstring.h"
#include "foundation/ram_internal.h"

namespace {

// Longest text the program may build; well below the 16-bit narrowing of
// changeBytes, which the unit tests pin separately.
constexpr size_t kMaxLength = 4096;

class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool empty() const { return pos_ >= size_; }
  uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  // Up to max bytes (the count comes from the input).
  std::string bytes(size_t max) {
    size_t n = byte() % (max + 1);
    if (n > size_ - pos_) n = size_ - pos_;
    std::string s(reinterpret_cast<const char*>(data_ + pos_), n);
    pos_ += n;
    return s;
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

// Every non-overlapping occurrence from the left; the search goes on after
// the inserted text.
void modelReplace(std::string& s, const std::string& from, const std::string& to) {
  if (from.empty()) return;
  for (size_t pos = s.find(from); pos != std::string::npos; pos = s.find(from, pos + to.size())) {
    s.replace(pos, from.size(), to);
  }
}

void check(bool ok) {
  if (!ok) abort();
}

void checkSame(VxString& s, const std::string& model) {
  check(s.getLength() == model.size());
  check(model.empty() || memcmp(s.asPascalStr(), model.data(), model.size()) == 0);
  check(s.getLength() == 0 || s.getCapacity() >= s.getLength() + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in(data, size);
  VxString s(VX_CP_BYTES);
  std::string model;
  while (!in.empty()) {
    uint8_t op = in.byte();
    bool failAllocation = (op & 0x80) != 0;
    if (failAllocation) ramFailAllocationAfter(1);
    unsigned status = 0;
    std::string expected = model;
    switch (op % 5) {
      case 0: {  // changeBytes with explicit bytes
        size_t pos = model.empty() ? 0 : in.byte() * 16u % (model.size() + 1);
        size_t oldLen = (model.size() - pos) == 0 ? 0 : in.byte() % (model.size() - pos + 1);
        std::string text = in.bytes(64);
        if (text.empty()) {
          status = s.changeBytes(pos, oldLen, nullptr, 0);  // deletion
        } else {
          status = s.changeBytes(pos, oldLen, text.data(), text.size());
        }
        expected.replace(pos, oldLen, text);
        break;
      }
      case 1: {  // changeBytes taking the new length from a terminated text
        size_t pos = model.empty() ? 0 : in.byte() % (model.size() + 1);
        std::string text = in.bytes(16);
        status = s.changeBytes(pos, 0, text.c_str(), 0);
        expected.insert(pos, text.c_str());
        break;
      }
      case 2: {  // replaceSubString
        std::string from = in.bytes(4);
        std::string to = in.bytes(8);
        status = s.replaceSubString(from.data(), from.size(), to.empty() ? nullptr : to.data(),
                                    to.size());
        modelReplace(expected, from, to);
        break;
      }
      case 3: {  // concat
        std::string text = in.bytes(64);
        status = s.concat(text.data(), text.size());
        expected += text;
        break;
      }
      case 4: {  // replace a stretch of the string's own buffer
        if (model.empty()) break;
        size_t pos = in.byte() % model.size();
        uint16_t len = static_cast<uint16_t>(in.byte() % (model.size() - pos + 1));
        std::string text = in.bytes(8);
        if (text.empty()) text = "-";
        VxSubString stretch(s.asPascalStr() + pos, len);
        status = s.replaceSubString(stretch, text.data(), static_cast<uint16_t>(text.size()));
        expected.replace(pos, len, text);
        break;
      }
    }
    ramFailAllocationAfter(0);
    if (status == 0) {
      model = expected;
    } else {
      check(failAllocation);
    }
    checkSame(s, model);
    if (model.size() > kMaxLength) break;
  }
  return 0;
}
