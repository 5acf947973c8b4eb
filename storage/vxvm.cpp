// The block pool: lookup, loading, least-recently-used eviction and
// write-through over the file layer.
#include "storage/vxvm.h"

#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "bos/bos.h"
#include "bos/bosfile.h"
#include "bos/mdsint.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

constexpr uint32_t kChunkBytes = BVM_BLOCK_SIZE * BVM_BLOCKS_PER_CHUNK;
// Block numbers are 16 bits: blocks from here on are never cached.
constexpr VXSIZE_T kCachedBlocks = 65536;
// Above this clock value an eviction scan halves the stamps it passes.
constexpr uint16_t kEvictionAgeing = 40000;

uint16_t indexOf(const bvmPool* pool, const bvmBlock* descriptor) {
  assert(descriptor >= pool->descriptors && descriptor < pool->descriptors + pool->maxBlocks);
  return uint16_t(descriptor - pool->descriptors);
}

// Halves every stamp and the clock, keeping their order (ties may appear).
void ageStamps(bvmPool* pool) {
  for (uint32_t i = 0; i < pool->blocksCreated; ++i) pool->descriptors[i].lastUse /= 2;
  pool->useClock /= 2;
}

void stamp(bvmPool* pool, bvmBlock* descriptor) {
  descriptor->lastUse = pool->useClock;
  if (++pool->useClock == 65535) ageStamps(pool);
}

bvmBlock* findCached(bvmPool* pool, int32_t file, uint16_t block) {
  for (uint16_t i = pool->buckets[bvmhash(file, block)]; i != BVM_NONE;
       i = pool->descriptors[i].next) {
    bvmBlock* candidate = &pool->descriptors[i];
    if (candidate->file == file && candidate->block == block) return candidate;
  }
  return nullptr;
}

// Gives the pool one more chunk and pushes its 8 descriptors on the free
// list, lowest number on top. 1 (error 1503) when memory is short.
uint16_t addChunk(bvmPool* pool) {
  uint16_t first = pool->blocksCreated;
  char* memory = static_cast<char*>(ramAlloc(kChunkBytes));
  if (memory == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  pool->chunks[first / BVM_BLOCKS_PER_CHUNK] = memory;
  for (uint16_t i = BVM_BLOCKS_PER_CHUNK; i-- > 0;) {
    bvmBlock* descriptor = &pool->descriptors[first + i];
    *descriptor = bvmBlock{0, 0, 0, 0, 0, pool->freeHead, 0};
    pool->freeHead = uint16_t(first + i);
  }
  pool->blocksCreated = uint16_t(first + BVM_BLOCKS_PER_CHUNK);
  return 0;
}

// Eviction: the descriptor with the smallest stamp goes, the first found
// winning ties. Deliberate: while the clock stands above 40000 the scan
// halves each stamp after comparing it, but leaves the clock alone, so
// blocks used since then compare as far newer than those already scanned.
void evictLeastRecent(bvmPool* pool) {
  assert(pool->blocksCreated > 0);
  bool halve = pool->useClock > kEvictionAgeing;
  uint16_t oldest = 0;
  uint16_t oldestStamp = pool->descriptors[0].lastUse;
  for (uint16_t i = 0; i < pool->blocksCreated; ++i) {
    bvmBlock* descriptor = &pool->descriptors[i];
    if (descriptor->lastUse < oldestStamp) {
      oldest = i;
      oldestStamp = descriptor->lastUse;
    }
    if (halve) descriptor->lastUse /= 2;
  }
  bvmfreeb(pool, &pool->descriptors[oldest]);
}

// Makes sure the free list is not empty: a new chunk while the pool may
// grow, else an eviction unless hint 1 forbids it. 1 on allocation failure;
// *gaveUp set when the hint stopped an eviction.
uint16_t obtainFree(bvmPool* pool, uint16_t hint, bool* gaveUp) {
  *gaveUp = false;
  if (pool->freeHead != BVM_NONE) return 0;
  if (pool->blocksCreated < pool->maxBlocks) return addChunk(pool);
  if (hint == 1) {
    *gaveUp = true;
    return 0;
  }
  evictLeastRecent(pool);
  return 0;
}

// Reads block `block` of `file` into the top free descriptor's memory and
// caches it. *loaded is null when the block lies past the end of the file.
uint16_t loadBlock(bvmPool* pool, int32_t file, uint16_t block, bvmBlock** loaded) {
  *loaded = nullptr;
  uint16_t index = pool->freeHead;
  int32_t count = 0;
  bosFileRead(file, int64_t(block) * BVM_BLOCK_SIZE, bvmpoolptr(pool, index), BVM_BLOCK_SIZE,
              &count);
  if (count < 0) {
    bosMapError(errno, "");
    return 1;
  }
  if (count == 0) return 0;  // past the end: not an error, nothing cached
  bvmBlock* descriptor = &pool->descriptors[index];
  pool->freeHead = descriptor->next;
  int32_t bucket = bvmhash(file, block);
  *descriptor = bvmBlock{file, block, 0, uint16_t(count), 0, pool->buckets[bucket], 0};
  pool->buckets[bucket] = index;
  *loaded = descriptor;
  return 0;
}

// A cached block shorter than 8192 bytes ended the file when it was read;
// the file may have grown since (a write to a later block), so a read that
// wants bytes past its end reads the rest of the block again.
uint16_t extendShortBlock(int32_t file, bvmBlock* descriptor, char* memory) {
  int32_t count = 0;
  bosFileRead(file, int64_t(descriptor->block) * BVM_BLOCK_SIZE + descriptor->validBytes,
              memory + descriptor->validBytes, BVM_BLOCK_SIZE - descriptor->validBytes, &count);
  if (count < 0) {
    bosMapError(errno, "");
    return 1;
  }
  descriptor->validBytes = uint16_t(descriptor->validBytes + count);
  return 0;
}

// Copies the part of a read that falls in one block; returns the bytes
// copied, 0 at the end of the file. Falls back to the file itself when the
// pool cannot hold the block (hint 1, a pool of 0 blocks, a block number
// beyond 16 bits).
uint16_t readPiece(bvmPool* pool, int32_t file, VXSIZE_T offset, char* out, uint32_t wanted,
                   uint16_t hint, uint32_t* copied) {
  *copied = 0;
  VXSIZE_T blockNumber = offset / BVM_BLOCK_SIZE;
  uint32_t within = uint32_t(offset % BVM_BLOCK_SIZE);
  char* memory = nullptr;
  bvmBlock* descriptor = nullptr;
  if (blockNumber < kCachedBlocks &&
      bvmmap(pool, file, uint16_t(blockNumber), &descriptor, &memory, 1, hint) != 0)
    return 1;
  if (memory != nullptr) {
    if (descriptor->validBytes < within + wanted && extendShortBlock(file, descriptor, memory) != 0)
      return 1;
    if (descriptor->validBytes > within)
      *copied = descriptor->validBytes - within < wanted ? descriptor->validBytes - within : wanted;
    memcpy(out, memory + within, *copied);
    return 0;
  }
  int32_t count = 0;
  bosFileRead(file, int64_t(offset), out, wanted, &count);
  if (count < 0) {
    bosMapError(errno, "");
    return 1;
  }
  *copied = uint32_t(count);
  return 0;
}

// Refreshes a cached copy of one block with the bytes just written at
// [within, within + n) of it. Bytes between the old valid end and the write
// are zeros in the file (a hole), so they become zeros here too.
void refreshCached(bvmPool* pool, int32_t file, VXSIZE_T blockNumber, uint32_t within,
                   const char* data, uint32_t n) {
  if (blockNumber >= kCachedBlocks) return;
  char* memory = nullptr;
  bvmBlock* descriptor = nullptr;
  bvmmap(pool, file, uint16_t(blockNumber), &descriptor, &memory, 0, 0);
  if (memory == nullptr) return;
  if (descriptor->validBytes < within)
    memset(memory + descriptor->validBytes, 0, within - descriptor->validBytes);
  memcpy(memory + within, data, n);
  if (descriptor->validBytes < within + n) descriptor->validBytes = uint16_t(within + n);
}

}  // namespace

bvmPool::~bvmPool() {
  for (uint32_t i = 0; i < blocksCreated / BVM_BLOCKS_PER_CHUNK; ++i) free(chunks[i]);
  free(chunks);
  free(descriptors);
}

bvmPool* bvmInit(uint16_t chunks) {
  VxCriticalSectionGuard guard(VM_LOCK);
  auto* pool = static_cast<bvmPool*>(mdsGetPerTaskData(MDS_TASK_BLOCK_POOL));
  if (pool == nullptr) {
    pool = new bvmPool(VM_LOCK.isDisabled());
    if (pool == nullptr) {
      addError(kErrOutOfMemory);
      return nullptr;
    }
    // Deliberate: the count is narrowed to 16 bits, as every descriptor
    // number is.
    pool->maxBlocks = uint16_t(uint32_t(chunks) * BVM_BLOCKS_PER_CHUNK);
    for (uint16_t& head : pool->buckets) head = BVM_NONE;
    // One more of each, so that a pool of 0 blocks allocates something.
    size_t descriptors = pool->maxBlocks + 1u;
    size_t chunkPointers = pool->maxBlocks / BVM_BLOCKS_PER_CHUNK + 1u;
    pool->descriptors = static_cast<bvmBlock*>(ramAllocZeroed(descriptors * sizeof(bvmBlock)));
    pool->chunks = static_cast<char**>(ramAllocZeroed(chunkPointers * sizeof(char*)));
    if (pool->descriptors == nullptr || pool->chunks == nullptr) {
      delete pool;
      addError(kErrOutOfMemory);
      return nullptr;
    }
    mdsSetPerTaskData(MDS_TASK_BLOCK_POOL, pool);
  }
  ++pool->references;
  return pool;
}

uint16_t bvmTerm(bvmPool* pool) {
  if (pool == nullptr) return 1;
  VxCriticalSectionGuard guard(VM_LOCK);
  assert(pool == mdsGetPerTaskData(MDS_TASK_BLOCK_POOL) && pool->references > 0);
  if (--pool->references == 0) {
    mdsSetPerTaskData(MDS_TASK_BLOCK_POOL, nullptr);
    delete pool;
  }
  return 0;
}

int32_t bvmhash(int32_t file, uint16_t block) {
  static const int32_t kPrimes[16] = {13, 61, 29, 43, 17, 67, 31, 47,
                                      19, 71, 37, 53, 23, 73, 41, 59};
  // Signed arithmetic throughout, as the bucket of a negative handle is
  // part of the pool's layout; the remainder is made non-negative so that
  // it indexes the table. Unsigned wrap-around keeps a huge handle defined.
  int32_t factor = kPrimes[((file % 16) + 16) % 16];
  int32_t sum = int32_t(uint32_t(file) + uint32_t(factor) * (uint32_t(block) + 1u));
  return ((sum % int32_t(BVM_BUCKETS)) + int32_t(BVM_BUCKETS)) % int32_t(BVM_BUCKETS);
}

char* bvmpoolptr(bvmPool* pool, uint16_t index) {
  assert(index < pool->blocksCreated);
  return pool->chunks[index / BVM_BLOCKS_PER_CHUNK] +
         size_t(index % BVM_BLOCKS_PER_CHUNK) * BVM_BLOCK_SIZE;
}

// Lookup: a hit in the bucket's chain is stamped and returned. A miss
// without `create` (or in a pool of 0 blocks) answers null. Otherwise a
// free descriptor is found (a new chunk, or the least recently used block
// evicted unless hint 1 forbids it), the block is read into its memory and
// the descriptor goes to the head of the bucket's chain. Every access
// stamps the descriptor with the use clock and advances it; at 65535 all
// stamps and the clock are halved.
uint16_t bvmmap(bvmPool* pool, int32_t file, uint16_t block, bvmBlock** descriptor,
                char** memory, uint16_t create, uint16_t hint) {
  if (pool == nullptr) return 1;
  VxCriticalSectionGuard guard(pool->lock);
  *descriptor = nullptr;
  *memory = nullptr;
  bvmBlock* found = findCached(pool, file, block);
  if (found == nullptr) {
    if (create == 0 || pool->maxBlocks == 0) return 0;
    bool gaveUp = false;
    if (obtainFree(pool, hint, &gaveUp) != 0) return 1;
    if (gaveUp) return 0;
    if (loadBlock(pool, file, block, &found) != 0) return 1;
    if (found == nullptr) return 0;
  }
  stamp(pool, found);
  *descriptor = found;
  *memory = bvmpoolptr(pool, indexOf(pool, found));
  return 0;
}

uint16_t bvmFileRead(bvmPool* pool, int32_t file, VXSIZE_T offset, void* buffer,
                     VXSIZE_T length, VXSIZE_T* bytesRead, uint16_t hint) {
  if (pool == nullptr) return 1;
  VxCriticalSectionGuard guard(pool->lock);
  char* out = static_cast<char*>(buffer);
  *bytesRead = 0;
  while (*bytesRead < length) {
    VXSIZE_T position = offset + *bytesRead;
    VXSIZE_T roomInBlock = BVM_BLOCK_SIZE - position % BVM_BLOCK_SIZE;
    VXSIZE_T left = length - *bytesRead;
    uint32_t wanted = uint32_t(left < roomInBlock ? left : roomInBlock);
    uint32_t copied = 0;
    if (readPiece(pool, file, position, out + *bytesRead, wanted, hint, &copied) != 0) return 1;
    *bytesRead += copied;
    if (copied < wanted) break;  // the file ends inside this block
  }
  return 0;
}

// The file is written one block's piece at a time (the file layer takes
// fewer than 65536 bytes per write), each piece followed by the refresh of
// that block's cached copy, all under the pool's lock so that no reader
// can load a block between the write and its refresh.
uint16_t bvmFileWrite(bvmPool* pool, int32_t file, VXSIZE_T offset, const void* data,
                      VXSIZE_T length) {
  if (pool == nullptr) return 1;
  VxCriticalSectionGuard guard(pool->lock);
  const char* in = static_cast<const char*>(data);
  VXSIZE_T done = 0;
  while (done < length) {
    VXSIZE_T position = offset + done;
    uint32_t within = uint32_t(position % BVM_BLOCK_SIZE);
    VXSIZE_T left = length - done;
    uint32_t n = uint32_t(left < BVM_BLOCK_SIZE - within ? left : BVM_BLOCK_SIZE - within);
    if (bosFileWrite(file, int64_t(position), in + done, n) != 0) return 1;
    refreshCached(pool, file, position / BVM_BLOCK_SIZE, within, in + done, n);
    done += n;
  }
  return 0;
}

uint16_t bvmFlush(bvmPool* pool, int32_t file) {
  if (pool == nullptr) return 1;
  VxCriticalSectionGuard guard(pool->lock);
  for (uint16_t& head : pool->buckets) {
    uint16_t i = head;
    while (i != BVM_NONE) {
      uint16_t next = pool->descriptors[i].next;
      if (pool->descriptors[i].file == file) bvmfreeb(pool, &pool->descriptors[i]);
      i = next;
    }
  }
  return 0;
}

uint16_t bvmfreeb(bvmPool* pool, bvmBlock* descriptor) {
  if (pool == nullptr) return 1;
  VxCriticalSectionGuard guard(pool->lock);
  uint16_t index = indexOf(pool, descriptor);
  uint16_t* link = &pool->buckets[bvmhash(descriptor->file, descriptor->block)];
  while (*link != BVM_NONE && *link != index) link = &pool->descriptors[*link].next;
  assert(*link == index);
  if (*link == index) *link = descriptor->next;
  descriptor->file = 0;
  descriptor->block = 0;
  descriptor->validBytes = 0;
  descriptor->next = pool->freeHead;
  pool->freeHead = index;
  return 0;
}

uint16_t bvmFileClose(bvmPool* pool, int32_t file) {
  if (pool == nullptr) return 1;
  bvmFlush(pool, file);
  return bosFileClose(file);
}
