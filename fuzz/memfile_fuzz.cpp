// Differential fuzzing of MemFile against std::string.
//
// The first byte sets the block size (1 to 64). Then each operation byte
// says what to do with the bytes after it: bit 7 clear appends the next
// (low 6 bits) bytes of the input; bit 7 set reads (bit 6 clear) or takes
// a pointer (bit 6 set) at an offset given by the next byte, for a length
// given by the low 6 bits. Reads and pointers must show exactly the model's
// bytes and stop at the length.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/vxerror.h"
#include "storage/MemFile.h"

namespace {

void check(bool ok) { if (!ok) abort(); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  VxErrorList errors(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&errors);
  {
    const VXSIZE_T blockSize = 1 + data[0] % 64;
    MemFile file(blockSize);
    std::string model;
    for (size_t i = 1; i < size;) {
      uint8_t op = data[i++];
      size_t n = op & 0x3F;
      if (!(op & 0x80)) {
        n = std::min(n, size - i);
        check(file.append(data + i, n) == 0);
        model.append(reinterpret_cast<const char*>(data + i), n);
        i += n;
        check(file.getLength() == model.size());
        continue;
      }
      VXSIZE_T offset = i < size ? data[i++] * 2 : 0;
      if (!(op & 0x40)) {
        char out[64];
        memset(out, 0x5A, sizeof out);
        check(file.read(offset, out, n) == 0);
        size_t copied = offset < model.size() ? std::min(n, model.size() - offset) : 0;
        check(memcmp(out, model.data() + std::min<size_t>(offset, model.size()), copied) == 0);
        for (size_t j = copied; j < sizeof out; ++j) check(out[j] == 0x5A);
      } else {
        void* p;
        VXSIZE_T contiguous;
        check(file.tmpPointer(offset, &p, &contiguous, 0) == 0);
        if (offset >= model.size()) {
          check(p == nullptr && contiguous == 0);
        } else {
          check(contiguous == std::min<VXSIZE_T>(blockSize - offset % blockSize, model.size() - offset));
          check(memcmp(p, model.data() + offset, contiguous) == 0);
        }
      }
    }
  }
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
