// Random operation sequences on the block pool against a model of the file:
// every read through the pool must give exactly the model's bytes (write-
// through never leaves a stale copy), the pool must never hold more blocks
// than it may, and a flush must leave none of the file's blocks behind.
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "foundation/vxerror.h"
#include "storage/vxvm.h"

namespace {

// Reads little-endian numbers off the input; zeros once it runs out.
struct Input {
  const uint8_t* data;
  size_t left;
  uint32_t take(int bytes) {
    uint32_t value = 0;
    for (int i = 0; i < bytes && left > 0; ++i, --left) value |= uint32_t(*data++) << (8 * i);
    return value;
  }
};

// Offsets span 24 blocks, so that a pool of 8 or 16 blocks must evict.
constexpr uint32_t kSpan = 24 * BVM_BLOCK_SIZE;

int scratchFile() {
  static int file = -1;
  if (file < 0) {
    char name[] = "/tmp/blockpool_fuzz_XXXXXX";
    file = mkstemp(name);
    if (file < 0) abort();
    unlink(name);
  }
  if (ftruncate(file, 0) != 0) abort();
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  VxErrorList errors(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&errors);
  Input in{data, size};
  int file = scratchFile();
  bvmPool* pool = bvmInit(uint16_t(1 + in.take(1) % 2));
  if (pool == nullptr) abort();
  std::vector<uint8_t> model;  // the file's bytes
  std::vector<uint8_t> buffer;
  for (int op = 0; op < 64 && in.left > 0; ++op) {
    uint32_t kind = in.take(1) % 4;
    uint32_t offset = in.take(3) % kSpan;
    uint32_t length = in.take(2) % (3 * BVM_BLOCK_SIZE);
    if (kind == 0) {
      buffer.resize(length);
      for (uint32_t i = 0; i < length; ++i) buffer[i] = uint8_t(offset + i * 7 + op);
      if (bvmFileWrite(pool, file, offset, buffer.data(), length) != 0) abort();
      if (length > 0) {
        if (model.size() < offset + length) model.resize(offset + length, 0);
        std::copy(buffer.begin(), buffer.end(), model.begin() + offset);
      }
    } else if (kind == 3) {
      if (bvmFlush(pool, file) != 0) abort();
      for (uint16_t b = 0; b < kSpan / BVM_BLOCK_SIZE + 4; ++b) {
        bvmBlock* descriptor = nullptr;
        char* memory = nullptr;
        if (bvmmap(pool, file, b, &descriptor, &memory, 0, 0) != 0 || memory != nullptr) abort();
      }
    } else {
      buffer.assign(length, 0xEE);
      VXSIZE_T got = 0;
      if (bvmFileRead(pool, file, offset, buffer.data(), length, &got, uint16_t(kind - 1)) != 0)
        abort();
      size_t expected = offset >= model.size() ? 0 : std::min<size_t>(length, model.size() - offset);
      if (got != expected) abort();
      if (got > 0 && memcmp(buffer.data(), model.data() + offset, got) != 0) abort();
    }
    if (pool->blocksCreated > pool->maxBlocks) abort();
  }
  bvmFlush(pool, file);
  bvmTerm(pool);
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
