// The block pool: a process-wide read cache of 8192-byte file blocks.
//
// One pool exists per task (process). bvmInit creates it on first use and
// counts a reference; bvmTerm gives a reference up and frees the pool with
// the last one. Blocks are keyed by (file handle, block number), where block
// b holds the file bytes [b * 8192, (b + 1) * 8192). Reads are served from
// cached blocks and load missing ones; writes go straight to the file and
// then refresh any cached copy (write-through), so the pool never holds
// modified data and a read after a write always sees the written bytes.
//
// Capacity: bvmInit(n) allows 8 * n blocks (at most n * 64 KB of block
// memory), narrowed to 16 bits like every descriptor number, so n above
// 8191 gives a smaller pool (8192 gives a pool of 0 blocks, which caches
// nothing). Memory comes in 64 KB chunks of 8 blocks, allocated when the
// free list runs dry. A full pool evicts its least recently used block.
// Block numbers are 16-bit: bytes at 512 MB (65536 blocks) and beyond are
// read and written directly, uncached.
//
// Thread-safety: every thread of the task shares the one pool. Creation and
// reference counting hold the global VM_LOCK; every operation on a pool
// holds the pool's own critical section, which is disabled (locks nothing)
// when VM_LOCK is. A descriptor and memory handed out by bvmmap stay valid
// only until the next operation on the pool, by any thread: threads that
// share a pool read through bvmFileRead, which copies under the lock.
//
// Failure: functions return 0 for success and 1 for failure; details go to
// the calling thread's error list (1503 when memory is short, the file
// layer's errors for failed reads and writes). A null pool makes every
// call return 1 at once.
#ifndef VX_STORAGE_VXVM_H_
#define VX_STORAGE_VXVM_H_

#include <cstdint>

#include "bos/vxcritse.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

// Bytes of one block, blocks per memory chunk, hash buckets.
constexpr uint32_t BVM_BLOCK_SIZE = 8192;
constexpr uint32_t BVM_BLOCKS_PER_CHUNK = 8;
constexpr uint32_t BVM_BUCKETS = 97;
// Descriptor number that ends a chain or the free list.
constexpr uint16_t BVM_NONE = 65535;

// One cached block (16 bytes). `next` links the hash chain while the block
// is cached and the free list while it is not.
struct bvmBlock {
  int32_t file;         // file handle
  uint16_t block;       // block number within the file
  uint16_t reserved;    // always 0
  uint16_t validBytes;  // bytes read from the file, raised by writes
  uint16_t lastUse;     // use-clock value of the last access
  uint16_t next;        // next descriptor of the chain, BVM_NONE ends it
  uint16_t padding;     // always 0
};
static_assert(sizeof(bvmBlock) == 16, "a block descriptor is 16 bytes");

// The task's pool. Fields change only under `lock` (creation and
// `references` under VM_LOCK); they are public for inspection by tests.
struct bvmPool : VxObject {
  explicit bvmPool(int32_t lockDisabled) : lock(lockDisabled) {}
  ~bvmPool() override;
  bvmPool(const bvmPool&) = delete;
  bvmPool& operator=(const bvmPool&) = delete;

  uint16_t useClock = 0;       // advances on every block access
  uint32_t references = 0;     // bvmInit calls not yet matched by bvmTerm
  uint16_t maxBlocks = 0;      // 8 * the bvmInit argument
  uint16_t blocksCreated = 0;  // descriptors that have memory so far
  uint16_t freeHead = BVM_NONE;
  bvmBlock* descriptors = nullptr;  // maxBlocks entries
  uint16_t buckets[BVM_BUCKETS];    // chain heads, BVM_NONE when empty
  char** chunks = nullptr;          // maxBlocks / 8 pointers, null until needed
  VxCriticalSection lock;
};

// The task's pool, created on the first call with room for chunks * 8
// blocks (later calls ignore the argument); counts a reference. Null, with
// error 1503, when memory is short.
VX_EXPORT bvmPool* bvmInit(uint16_t chunks);
// Gives up one reference; the last one frees the pool and its memory.
VX_EXPORT uint16_t bvmTerm(bvmPool* pool);

// Bucket of (file, block): (file + p[file mod 16] * (block + 1)) mod 97 in
// signed 32-bit arithmetic, p = 13 61 29 43 17 67 31 47 19 71 37 53 23 73 41 59.
VX_EXPORT int32_t bvmhash(int32_t file, uint16_t block);
// The 8192 bytes of descriptor `index`: place index mod 8 of chunk index / 8.
VX_EXPORT char* bvmpoolptr(bvmPool* pool, uint16_t index);

// Finds block `block` of `file`, loading it when `create` is non-zero.
// *descriptor and *memory receive the cached block, or null (status 0) when
// it is not cached and create is 0, when the block lies past the end of
// the file (not an error: nothing is filed), when the pool has 0 blocks,
// or when hint is 1 and only an eviction could make room. 1 when a chunk cannot be allocated or the file
// cannot be read.
VX_EXPORT uint16_t bvmmap(bvmPool* pool, int32_t file, uint16_t block, bvmBlock** descriptor,
                          char** memory, uint16_t create, uint16_t hint);

// Copies up to `length` bytes at `offset` of `file` into `buffer` through
// the cache, across block boundaries, stopping at the end of the file;
// *bytesRead receives the count copied. With hint 1 no block is evicted:
// what the pool cannot hold is read from the file directly; any other hint
// evicts as 0 does.
VX_EXPORT uint16_t bvmFileRead(bvmPool* pool, int32_t file, VXSIZE_T offset, void* buffer,
                               VXSIZE_T length, VXSIZE_T* bytesRead, uint16_t hint);
// Writes `length` bytes at `offset` of `file`, then copies them into every
// cached block the range touches (never loading one) and raises their
// valid byte counts. 1 when the file write fails.
VX_EXPORT uint16_t bvmFileWrite(bvmPool* pool, int32_t file, VXSIZE_T offset, const void* data,
                                VXSIZE_T length);
// Drops every cached block of `file`.
VX_EXPORT uint16_t bvmFlush(bvmPool* pool, int32_t file);
// Unlinks a cached descriptor from its chain, clears its file and block and
// puts it on the free list.
VX_EXPORT uint16_t bvmfreeb(bvmPool* pool, bvmBlock* descriptor);
// Drops every cached block of `file` and closes the handle (bosFileClose):
// the file is not to be closed again by the caller.
VX_EXPORT uint16_t bvmFileClose(bvmPool* pool, int32_t file);

#endif  // VX_STORAGE_VXVM_H_
