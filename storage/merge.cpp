// The one-pass merge of a spilled sort's runs.
#include "storage/merge_internal.h"

#include <cassert>
#include <cstring>

#include "bos/bosfile.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "storage/sort.h"

namespace {

// Reads `count` records from record `from` of the runs' file into `to`.
unsigned readRecords(const MergeSource& source, VXSIZE_T from, VXSIZE_T count, char* to) {
  VXSIZE_T bytes = count * source.recordLength;
  int32_t got = 0;
  bosFileRead(source.file, int64_t(from * source.recordLength), to, bytes, &got);
  if (got < 0 || VXSIZE_T(got) != bytes) {
    addError(kErrSortRead);
    return 1;
  }
  return 0;
}

}  // namespace

// Division of the buffers. The first reservedSlots slots hold the merge
// itself; the rest is shared equally among the runs. When that share is
// zero every run keeps no cache at all and its current record is read
// from the file whenever it is needed (slow, but it lets any number of
// runs merge in one pass).
unsigned MergeInfo::prepareForMerge(void* memory, const MergeSource& source, VXSIZE_T runs,
                                    VXSIZE_T runLength, VXSIZE_T recordCount,
                                    VXSIZE_T reservedSlots, MergeInfo** merge) {
  assert(runs > 0 && reservedSlots <= source.slotCount);
  MergeInfo* m = static_cast<MergeInfo*>(memory);
  m->sectionCount = runs;
  m->recordsPerRun = runLength;
  m->reservedSlots = reservedSlots;
  m->cacheRecords = (source.slotCount - reservedSlots) / runs;
  m->singleRecordCache = m->cacheRecords == 0;
  for (VXSIZE_T i = 0; i < runs; ++i) {
    MergeSection& s = m->sections()[i];
    s.first = i * runLength;
    s.last = (i + 1 == runs ? recordCount : (i + 1) * runLength) - 1;
    s.cacheSlot = reservedSlots + i * m->cacheRecords;
  }
  *merge = m;
  return m->restart(source);
}

unsigned MergeInfo::loadCacheForSection(const MergeSource& source, MergeSection& s) {
  VXSIZE_T count = s.last - s.current + 1;
  if (count > cacheRecords) count = cacheRecords;
  s.cacheStart = s.current;
  s.cacheUsed = count;
  // The cache may cross from one buffer into the next: read it in pieces
  // that each stay within a buffer.
  VXSIZE_T slot = s.cacheSlot, record = s.current;
  while (count > 0) {
    VXSIZE_T piece = source.recordsPerBuffer - slot % source.recordsPerBuffer;
    if (piece > count) piece = count;
    if (readRecords(source, record, piece, source.slot(slot)) != 0) return 1;
    slot += piece;
    record += piece;
    count -= piece;
  }
  return 0;
}

unsigned MergeInfo::recordOf(const MergeSource& source, const MergeSection& s, char* scratch,
                             char** record) {
  if (singleRecordCache) {
    *record = scratch;
    return readRecords(source, s.current, 1, scratch);
  }
  assert(s.current >= s.cacheStart && s.current < s.cacheStart + s.cacheUsed);
  *record = source.slot(s.cacheSlot + (s.current - s.cacheStart));
  return 0;
}

// Binary search for the place of `record` among the runs at positions
// lo..hi-1 of the order (which is by their current records): the first section whose record is greater,
// or the first equal one met by the search, before which it goes.
unsigned MergeInfo::findPlace(const MergeSource& source, const char* record, VXSIZE_T lo,
                              VXSIZE_T hi, VXSIZE_T* place) {
  char* probeScratch = source.scratch + 2 * source.recordLength;
  while (lo < hi) {
    VXSIZE_T mid = lo + (hi - lo) / 2;
    char* other;
    if (recordOf(source, sections()[source.order[mid]], probeScratch, &other) != 0) return 1;
    // The runs were sorted by compare (from the start key), so they are
    // merged by it too; with start key 0 that is the full comparison.
    int16_t c = source.sort->compare(record, other);
    if (c == 0) {
      lo = mid;
      break;
    }
    if (c < 0) {
      hi = mid;
    } else {
      lo = mid + 1;
    }
  }
  *place = lo;
  return 0;
}

unsigned MergeInfo::restart(const MergeSource& source) {
  advancePending = 0;
  liveSections = 0;
  // Runs are taken in order and each is inserted at its place among those
  // already ordered.
  for (VXSIZE_T i = 0; i < sectionCount; ++i) {
    MergeSection& s = sections()[i];
    s.current = s.first;
    s.cacheUsed = 0;
    if (!singleRecordCache && loadCacheForSection(source, s) != 0) return 1;
    char* record;
    if (recordOf(source, s, source.scratch + source.recordLength, &record) != 0) return 1;
    VXSIZE_T place;
    if (findPlace(source, record, 0, liveSections, &place) != 0) return 1;
    memmove(&source.order[place + 1], &source.order[place], (liveSections - place) * sizeof *source.order);
    source.order[place] = uint32_t(i);
    ++liveSections;
  }
  return 0;
}

// Moves the first run past the record it handed out: refills its cache
// when that is used up, drops it when the run is exhausted, else moves it
// to its new place among the others.
unsigned MergeInfo::advanceFirst(const MergeSource& source) {
  uint32_t* order = source.order;
  uint32_t first = order[0];
  MergeSection& s = sections()[first];
  ++s.current;
  if (s.current > s.last) {
    memmove(&order[0], &order[1], (liveSections - 1) * sizeof *order);
    --liveSections;
    return 0;
  }
  if (!singleRecordCache && s.current >= s.cacheStart + s.cacheUsed &&
      loadCacheForSection(source, s) != 0) {
    return 1;
  }
  char* record;
  if (recordOf(source, s, source.scratch + source.recordLength, &record) != 0) return 1;
  VXSIZE_T place;
  if (findPlace(source, record, 1, liveSections, &place) != 0) return 1;
  memmove(&order[0], &order[1], (place - 1) * sizeof *order);
  order[place - 1] = first;
  return 0;
}

unsigned MergeInfo::getNextRecord(const MergeSource& source, void** record) {
  *record = nullptr;
  if (advancePending) {
    advancePending = 0;
    if (advanceFirst(source) != 0) return 1;
  }
  if (liveSections == 0) return 0;
  char* r;
  if (recordOf(source, sections()[source.order[0]], source.scratch, &r) != 0) return 1;
  advancePending = 1;
  *record = r;
  return 0;
}
