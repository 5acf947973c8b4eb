// The merge of a spilled sort's runs: MergeInfo and MergeSection.
//
// Not exported; VxSort alone builds and drives a merge. The state lives in
// the sort's own record buffers: a 56-byte MergeInfo header and one 64-byte
// MergeSection per run at the start of buffer 0, the slots they cover
// reserved, and the remaining slots shared out as one read cache per run.
// Records are handed out as pointers into those caches (or into a scratch
// record when the caches would be empty), valid until the next call.
//
// Failure: 1 with error 2712 when the runs' file cannot be read back.
#ifndef VX_STORAGE_MERGE_INTERNAL_H_
#define VX_STORAGE_MERGE_INTERNAL_H_

#include <cstdint>

#include "foundation/vxtypes.h"

class VxSort;

// What the merge needs to see of its sort.
struct MergeSource {
  const VxSort* sort;  // for compare
  char* const* buffers;
  VXSIZE_T recordsPerBuffer;
  VXSIZE_T slotCount;  // record slots in all buffers
  uint16_t recordLength;
  int file;            // the runs, record n at byte n * recordLength
  char* scratch;       // three records, used when the caches are empty
  uint32_t* order;     // the live runs' numbers, ordered by their current records

  char* slot(VXSIZE_T n) const {
    return buffers[n / recordsPerBuffer] + (n % recordsPerBuffer) * recordLength;
  }
};

// One run: its records in the file, and the part of it in its cache.
struct MergeSection {
  VXSIZE_T first;       // first record number of the run in the file
  VXSIZE_T last;        // last record number of the run
  VXSIZE_T cacheSlot;   // first buffer slot of the run's cache
  VXSIZE_T current;     // the run's next record to hand out
  VXSIZE_T cacheStart;  // record number held in the cache's first slot
  VXSIZE_T cacheUsed;   // records held in the cache
  VXSIZE_T unused[2];
};

struct MergeInfo {
  // Bytes a merge of `runs` runs needs: the header and the sections.
  static VXSIZE_T bytesFor(VXSIZE_T runs) { return sizeof(MergeInfo) + runs * sizeof(MergeSection); }

  // Divides the buffers among `runs` runs of runLength records each (the
  // last ending at recordCount - 1) and builds the merge in place at
  // `memory`, which reserves `reservedSlots` slots of the buffers. Then
  // starts it (see restart). 0 or 1.
  static unsigned prepareForMerge(void* memory, const MergeSource& source, VXSIZE_T runs,
                                  VXSIZE_T runLength, VXSIZE_T recordCount,
                                  VXSIZE_T reservedSlots, MergeInfo** merge);
  // Rewinds every run to its first record, fills the caches and orders the
  // runs. 0 or 1.
  unsigned restart(const MergeSource& source);
  // The next record of the merged order in *record, or null after the last.
  // 0 or 1.
  unsigned getNextRecord(const MergeSource& source, void** record);
  // Makes the next getNextRecord hand out the record it handed out last
  // again.
  void unread() { advancePending = 0; }

  // Header (56 bytes).
  VXSIZE_T sectionCount;
  VXSIZE_T recordsPerRun;
  VXSIZE_T cacheRecords;       // per-run cache, in records
  VXSIZE_T singleRecordCache;  // 1: no room for caches, records are re-read
  VXSIZE_T reservedSlots;
  VXSIZE_T liveSections;       // runs not yet exhausted: the first entries of the order
  VXSIZE_T advancePending;     // the first run's record was handed out

 private:
  MergeSection* sections() { return reinterpret_cast<MergeSection*>(this + 1); }
  unsigned loadCacheForSection(const MergeSource& source, MergeSection& section);
  unsigned recordOf(const MergeSource& source, const MergeSection& section, char* scratch,
                    char** record);
  unsigned findPlace(const MergeSource& source, const char* record, VXSIZE_T lo, VXSIZE_T hi,
                     VXSIZE_T* place);
  unsigned advanceFirst(const MergeSource& source);
};

static_assert(sizeof(MergeInfo) == 56, "merge header is 56 bytes");
static_assert(sizeof(MergeSection) == 64, "a merge section is 64 bytes");

#endif  // VX_STORAGE_MERGE_INTERNAL_H_
