// MemFile: appending to and reading from a stream of equal memory blocks.
#include "storage/MemFile.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

MemFile::MemFile(VXSIZE_T blockSize)
    : blockSize(blockSize == 0 ? 1 : blockSize), currentBlock(0), blockOffset(0), length(0) {}

MemFile::~MemFile() { clear(); }

void MemFile::clear() {
  currentBlock = 0;
  blockOffset = 0;
  length = 0;
  for (VXSIZE_T i = blocks.getCount(); i > 0; --i) free(blocks.at(i - 1));
  blocks.reset();
}

VXSIZE_T MemFile::storedEnd() const {
  if (blocks.getCount() == 0) return 0;
  return currentBlock * blockSize + blockOffset;
}

// Appending. The length grows by n before anything is copied. While the
// rest of the current block is smaller than what remains to copy, the rest
// is filled and a new block started; what remains then fits the current
// block. A failed block allocation leaves the bytes copied so far in place
// and the current block full.
unsigned MemFile::append(const void* data, VXSIZE_T n) {
  length += n;
  if (blocks.getCount() == 0) {
    void* first = ramAlloc(blockSize);
    if (first == nullptr || blocks.add(first) != 0) {
      free(first);
      addError(kErrOutOfMemory);
      return 1;
    }
  }
  const char* from = static_cast<const char*>(data);
  VXSIZE_T remaining = n;
  while (blockSize - blockOffset < remaining) {
    VXSIZE_T room = blockSize - blockOffset;
    memcpy(static_cast<char*>(blocks.at(currentBlock)) + blockOffset, from, room);
    from += room;
    remaining -= room;
    blockOffset = blockSize;
    void* fresh = ramAlloc(blockSize);
    if (fresh == nullptr || blocks.add(fresh) != 0) {
      free(fresh);
      addError(kErrOutOfMemory);
      return 1;
    }
    ++currentBlock;
    blockOffset = 0;
  }
  if (remaining > 0) {
    memcpy(static_cast<char*>(blocks.at(currentBlock)) + blockOffset, from, remaining);
    blockOffset += remaining;
  }
  assert(blockOffset <= blockSize);
  return 0;
}

unsigned MemFile::read(VXSIZE_T offset, void* buffer, VXSIZE_T n) const {
  VXSIZE_T end = storedEnd();
  if (offset >= length || offset >= end) return 0;
  VXSIZE_T wanted = std::min(n, length - offset);
  if (wanted > end - offset) wanted = end - offset;
  char* to = static_cast<char*>(buffer);
  while (wanted > 0) {
    VXSIZE_T inBlock = offset % blockSize;
    VXSIZE_T piece = std::min(blockSize - inBlock, wanted);
    memcpy(to, static_cast<const char*>(blocks.at(offset / blockSize)) + inBlock, piece);
    to += piece;
    offset += piece;
    wanted -= piece;
  }
  return 0;
}

unsigned MemFile::tmpPointer(VXSIZE_T offset, void** pointer, VXSIZE_T* contiguous,
                             uint16_t /*dirty*/) const {
  VXSIZE_T end = std::min(storedEnd(), length);
  if (offset >= end) {
    *pointer = nullptr;
    *contiguous = 0;
    return 0;
  }
  VXSIZE_T inBlock = offset % blockSize;
  *pointer = static_cast<char*>(blocks.at(offset / blockSize)) + inBlock;
  VXSIZE_T toBlockEnd = blockSize - inBlock;
  *contiguous = std::min(toBlockEnd, end - offset);
  return 0;
}
