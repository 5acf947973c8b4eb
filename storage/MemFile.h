// MemFile: an append-only byte stream kept in memory.
//
// The stream lives in equal blocks of blockSize bytes, allocated one at a
// time as bytes arrive and never written to disk. Bytes are read back by
// offset, either copied out (read) or in place through a pointer into
// their block (tmpPointer), which is the same pointer-style access the
// temporary files give.
//
// Ownership: the stream owns its blocks; clear() and the destructor free
// them. Thread-safety: none, and no lock is taken; one thread uses a
// stream at a time.
//
// Failure: append returns 1 and files "out of memory" (1503) when a block
// cannot be allocated. The length is advanced before anything is copied,
// so after such a failure it also counts the bytes that were not stored
// (deliberate: the length says what was offered). read and tmpPointer
// never fail; they only reach bytes that are stored.
#ifndef VX_STORAGE_MEMFILE_H_
#define VX_STORAGE_MEMFILE_H_

#include <cstdint>

#include "containers/vxarray.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VX_EXPORT MemFile : public VxObject {
 public:
  // An empty stream whose blocks will hold blockSize bytes each (at least
  // 1); no block is allocated yet.
  explicit MemFile(VXSIZE_T blockSize);
  // clear().
  ~MemFile() override;

  MemFile(const MemFile&) = delete;
  MemFile& operator=(const MemFile&) = delete;

  // Nothing to prepare; returns 0. Kept for callers that treat every
  // stream alike.
  unsigned initialize() { return 0; }

  // Adds n bytes of data at the end. The first append allocates block 0; a
  // block filled exactly is followed by a new one only at the next append.
  // 0, or 1 when a block cannot be allocated (1503).
  unsigned append(const void* data, VXSIZE_T n);

  // Copies min(n, length - offset) bytes from offset on into buffer,
  // across block boundaries; an offset at or past the length copies
  // nothing. Always 0.
  unsigned read(VXSIZE_T offset, void* buffer, VXSIZE_T n) const;

  // For an offset below the length: *pointer addresses it in its block and
  // *contiguous is the number of bytes readable there (to the end of the
  // block, but not past the length). Otherwise null and 0. Always 0; dirty
  // is accepted for callers of the temporary files and ignored.
  unsigned tmpPointer(VXSIZE_T offset, void** pointer, VXSIZE_T* contiguous,
                      uint16_t dirty) const;

  // Empties the stream and frees every block (the last first).
  void clear();

  // Bytes appended so far (see the class comment about failures).
  VXSIZE_T getLength() const { return length; }

 private:
  // Bytes actually held in the blocks: below the length only after an
  // append failed.
  VXSIZE_T storedEnd() const;

  VXSIZE_T blockSize;
  VXSIZE_T currentBlock;  // index of the block being filled
  VXSIZE_T blockOffset;   // bytes used in it
  VXSIZE_T length;        // total bytes appended
  VxArrayPVoid blocks;
};

#endif  // VX_STORAGE_MEMFILE_H_
