// VxSort: key comparison, record collection and the in-memory quicksort.
#include "storage/sort.h"

#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bos/bosfile.h"
#include "foundation/but.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxstr.h"
#include "storage/merge_internal.h"

namespace {

// Eight bytes compared as one big-endian number: the order of an unsigned
// byte comparison, in one step instead of a call to memcmp. Eight-byte keys
// (a time stamp, a 64-bit number, a short code) are common enough.
inline int compareEightBytes(const char* a, const char* b) {
  uint64_t x, y;
  memcpy(&x, a, sizeof x);
  memcpy(&y, b, sizeof y);
  x = __builtin_bswap64(x);
  y = __builtin_bswap64(y);
  return (x > y) - (x < y);
}

// A key's comparison negated for a descending key. The one value whose
// negation does not fit 16 bits becomes the largest positive one.
inline int16_t negated(int16_t c) { return c == INT16_MIN ? INT16_MAX : static_cast<int16_t>(-c); }

// Key comparison. Keys first..count-1 are applied in order and the first
// non-zero result decides; all keys equal (or no keys) gives 0. A field is
// compared by the first of these its kind asks for:
//   object        the VxObject pointers stored in the two fields, ordered
//                 by the first object's compare(second);
//   international locale collation of the two length-byte fields;
//   function      the key's compareFunction (a key with the function bit
//                 but no function compares equal);
//   otherwise     length bytes as unsigned values.
int16_t compareKeys(const VxSortKey* keys, VXSIZE_T first, VXSIZE_T count, const void* a,
                    const void* b) {
  for (VXSIZE_T k = first; k < count; ++k) {
    const VxSortKey& key = keys[k];
    const char* x = static_cast<const char*>(a) + key.offset;
    const char* y = static_cast<const char*>(b) + key.offset;
    int16_t c;
    if (key.kind & VxSortKey::kObject) {
      VxObject* ox;
      VxObject* oy;
      memcpy(&ox, x, sizeof ox);  // fields need not be aligned
      memcpy(&oy, y, sizeof oy);
      c = ox->compare(oy);
    } else if (key.kind & VxSortKey::kInternational) {
      c = strCompareIntl(x, key.length, y, key.length);
    } else if (key.kind & VxSortKey::kFunction) {
      c = key.compareFunction != nullptr
              ? key.compareFunction(key.compareContext, x, y, &key)
              : 0;
    } else {
      c = key.length == 8 ? int16_t(compareEightBytes(x, y)) : memCompare(x, y, key.length);
    }
    if (c != 0) return (key.kind & VxSortKey::kDescending) ? negated(c) : c;
  }
  return 0;
}

// Orders used by the quicksort. The general one dispatches on each key's
// kind; when every key in play is a plain byte key the dispatch is dropped,
// and a single one-byte key (the common sort on a flag or code column) or
// eight-byte key is compared in line.
struct GeneralOrder {
  const VxSortKey* keys;
  VXSIZE_T first;
  VXSIZE_T count;

  int operator()(const char* a, const char* b) const {
    return compareKeys(keys, first, count, a, b);
  }
};

struct ByteKeyOrder {
  const VxSortKey* keys;
  VXSIZE_T first;
  VXSIZE_T count;

  int operator()(const char* a, const char* b) const {
    for (VXSIZE_T k = first; k < count; ++k) {
      const VxSortKey& key = keys[k];
      int c = key.length == 8 ? compareEightBytes(a + key.offset, b + key.offset)
                              : memCompare(a + key.offset, b + key.offset, key.length);
      if (c != 0) return (key.kind & VxSortKey::kDescending) ? -c : c;
    }
    return 0;
  }
};

struct EightByteKeyOrder {
  VXSIZE_T offset;
  int sign;  // 1 ascending, -1 descending

  int operator()(const char* a, const char* b) const {
    return sign * compareEightBytes(a + offset, b + offset);
  }
};

struct OneByteKeyOrder {
  VXSIZE_T offset;
  int sign;  // 1 ascending, -1 descending

  int operator()(const char* a, const char* b) const {
    return sign * (static_cast<unsigned char>(a[offset]) - static_cast<unsigned char>(b[offset]));
  }
};

// Record lengths. Exchanging records is the inner loop of the sort and
// records are short, so they are exchanged in line rather than through
// memSwap's 512-byte staging buffer; the common lengths of 8 bytes (an
// array of pointers) and 16 bytes are fixed at compile time.
template <VXSIZE_T N>
struct FixedLength {
  VXSIZE_T size() const { return N; }
  void exchange(char* a, char* b) const {
    char t[N];
    memcpy(t, a, N);
    memcpy(a, b, N);
    memcpy(b, t, N);
  }
};

struct AnyLength {
  VXSIZE_T n;
  VXSIZE_T size() const { return n; }
  void exchange(char* a, char* b) const {
    VXSIZE_T i = 0;
    for (; i + 8 <= n; i += 8) {
      uint64_t x, y;
      memcpy(&x, a + i, 8);
      memcpy(&y, b + i, 8);
      memcpy(a + i, &y, 8);
      memcpy(b + i, &x, 8);
    }
    for (; i < n; ++i) {
      char t = a[i];
      a[i] = b[i];
      b[i] = t;
    }
  }
};

// Record n of records stored back to back from base.
template <typename Length>
struct ContiguousRecords {
  char* base;
  Length length;
  char* operator()(VXSIZE_T n) const { return base + n * length.size(); }
  void exchange(char* a, char* b) const { length.exchange(a, b); }
};

// Record origin + n of records spread over 64 KB buffers of perBuffer
// records each.
struct BufferedRecords {
  char* const* buffers;
  VXSIZE_T perBuffer;
  AnyLength length;
  VXSIZE_T origin;
  char* operator()(VXSIZE_T n) const {
    n += origin;
    return buffers[n / perBuffer] + (n % perBuffer) * length.size();
  }
  void exchange(char* a, char* b) const { length.exchange(a, b); }
};

// The in-memory quicksort over record slots lo..hi (inclusive); records are
// exchanged in place, nothing is allocated.
//
// Rules:
//  - A range whose last index exceeds its first by more than 3 (five or
//    more records) is partitioned; smaller ranges are finished by insertion
//    through adjacent exchanges.
//  - Pivot: below a difference of 151 the median of the first, middle and
//    last records; from 151 on the median of three such medians taken over
//    nine records spread evenly across the range, which resists runs of
//    presorted or organ-pipe input.
//  - The pivot is moved to the first slot and the rest is split with two
//    scans that both stop on records equal to the pivot, so a range of
//    equal keys splits in the middle instead of degrading to n^2.
//  - The record just before a range is never above any record in it (it is
//    an earlier pivot). When the new pivot equals that record, every record
//    equal to the pivot is gathered at the front and left alone, so a range
//    with many equal keys costs one pass per distinct key.
//  - The smaller side is sorted by recursion and the larger by looping, so
//    the stack holds at most log2(n) frames.
// Equal records end in whatever order the exchanges leave them: the sort is
// not stable.
template <typename Records, typename Order>
class QuickSort {
 public:
  QuickSort(const Records& records, const Order& order) : at_(records), order_(order) {}

  void sort(VXSIZE_T lo, VXSIZE_T hi) {
    while (hi - lo > 3) {
      VXSIZE_T pivot = choosePivot(lo, hi);
      if (pivot != lo) at_.exchange(at_(pivot), at_(lo));
      if (lo > 0 && order_(at_(lo - 1), at_(lo)) == 0) {
        VXSIZE_T lastEqual = partition<true>(lo, hi);
        if (lastEqual >= hi) return;
        lo = lastEqual + 1;
        continue;
      }
      VXSIZE_T split = partition<false>(lo, hi);
      if (split - lo < hi - split) {
        if (split > lo) sort(lo, split - 1);
        lo = split + 1;
      } else {
        if (split < hi) sort(split + 1, hi);
        hi = split - 1;
      }
    }
    finishSmallRange(lo, hi);
  }

 private:
  VXSIZE_T medianOfThree(VXSIZE_T a, VXSIZE_T b, VXSIZE_T c) const {
    const char* ra = at_(a);
    const char* rb = at_(b);
    const char* rc = at_(c);
    if (order_(ra, rb) < 0) {
      if (order_(rb, rc) < 0) return b;
      return order_(ra, rc) < 0 ? c : a;
    }
    if (order_(ra, rc) < 0) return a;
    return order_(rb, rc) < 0 ? c : b;
  }

  VXSIZE_T choosePivot(VXSIZE_T lo, VXSIZE_T hi) const {
    VXSIZE_T mid = lo + (hi - lo) / 2;
    if (hi - lo < 151) return medianOfThree(lo, mid, hi);
    VXSIZE_T step = (hi - lo) / 8;
    return medianOfThree(medianOfThree(lo, lo + step, lo + 2 * step),
                         medianOfThree(mid - step, mid, mid + step),
                         medianOfThree(hi - 2 * step, hi - step, hi));
  }

  // Splits lo..hi around the pivot held in slot lo; returns the pivot's
  // final slot. Records before it are not greater, records after it are
  // not smaller. With gatherEqual, used when the pivot equals the record
  // before the range (which no record of the range is below), the left
  // scan also passes records equal to the pivot, so every such record ends
  // at the front and the returned slot is the last of that group, which
  // needs no further sorting.
  template <bool gatherEqual>
  static bool staysLeft(int c) { return gatherEqual ? c <= 0 : c < 0; }

  template <bool gatherEqual>
  VXSIZE_T partition(VXSIZE_T lo, VXSIZE_T hi) {
    // A range never runs backwards: sort() partitions only ranges of five
    // or more records.
    assert(lo <= hi);
    const char* pivot = at_(lo);
    VXSIZE_T i = lo;
    VXSIZE_T j = hi + 1;
    for (;;) {
      do ++i; while (i <= hi && staysLeft<gatherEqual>(order_(at_(i), pivot)));
      do --j; while (j > lo && order_(at_(j), pivot) > 0);
      if (i >= j) break;
      at_.exchange(at_(i), at_(j));
    }
    // The right scan stops at lo at the latest, and never above hi.
    assert(j >= lo && j <= hi);
    if (j != lo) at_.exchange(at_(lo), at_(j));
    return j;
  }

  void finishSmallRange(VXSIZE_T lo, VXSIZE_T hi) {
    for (VXSIZE_T i = lo + 1; i <= hi; ++i) {
      for (VXSIZE_T j = i; j > lo && order_(at_(j - 1), at_(j)) > 0; --j) {
        at_.exchange(at_(j - 1), at_(j));
      }
    }
  }

  Records at_;
  Order order_;
};

template <typename Records>
void sortRecords(const Records& records, const VxSortKey* keys, VXSIZE_T first, VXSIZE_T keyCount,
                 VXSIZE_T count) {
  // sortInMemory leaves fewer than two records alone, so count - 1 below
  // is a real last slot.
  assert(count >= 2);
  bool bytesOnly = true;
  for (VXSIZE_T k = first; k < keyCount; ++k) {
    if (keys[k].kind & (VxSortKey::kObject | VxSortKey::kInternational | VxSortKey::kFunction))
      bytesOnly = false;
  }
  if (bytesOnly && keyCount - first == 1 && keys[first].length == 1) {
    int sign = (keys[first].kind & VxSortKey::kDescending) ? -1 : 1;
    QuickSort<Records, OneByteKeyOrder>(records, {keys[first].offset, sign}).sort(0, count - 1);
  } else if (bytesOnly && keyCount - first == 1 && keys[first].length == 8) {
    int sign = (keys[first].kind & VxSortKey::kDescending) ? -1 : 1;
    QuickSort<Records, EightByteKeyOrder>(records, {keys[first].offset, sign}).sort(0, count - 1);
  } else if (bytesOnly) {
    QuickSort<Records, ByteKeyOrder>(records, {keys, first, keyCount}).sort(0, count - 1);
  } else {
    QuickSort<Records, GeneralOrder>(records, {keys, first, keyCount}).sort(0, count - 1);
  }
}

}  // namespace

VxSort::VxSort(uint16_t recordLength)
    : keys(),
      keyCount(0),
      startKey(0),
      buffers(),
      bufferCount(0),
      recordCount(0),
      inMemory(0),
      readPosition(0),
      sortFlags(0),
      maxBuffers(kMaxBuffers),
      runCount(0),
      bytesSpilled(0),
      runFile(0),
      runFileName(nullptr),
      merge(nullptr),
      mergeOwnBlock(false),
      scratch(nullptr),
      mergeOrder(nullptr),
      rangeFirst(0),
      rangeEnd(0),
      rangePosition(0) {
  setRecordLength(recordLength);
}

VxSort::~VxSort() {
  releaseBuffers();
  if (runFile > 0) bosFileClose(runFile);
  if (runFileName != nullptr) bosFileDelete(runFileName);
  free(runFileName);
  if (mergeOwnBlock) free(merge);
  free(scratch);
  free(mergeOrder);
}

void VxSort::setMaxBuffers(uint16_t n) {
  maxBuffers = n < 2 ? 2 : (n > kMaxBuffers ? kMaxBuffers : n);
}

void VxSort::releaseBuffers() {
  if (sortFlags & kOwnsBuffers) {
    for (uint16_t i = 0; i < bufferCount; ++i) free(buffers[i]);
  }
  bufferCount = 0;
  sortFlags &= ~kOwnsBuffers;
}

void VxSort::setRecordLength(uint16_t n) {
  recordLength = n;
  recordsPerBuffer = n == 0 ? 0 : kBufferSize / n;
}

unsigned VxSort::addKey(uint16_t kind, VXSIZE_T offset, uint16_t length) {
  return addKey(kind, offset, length, nullptr, nullptr);
}

unsigned VxSort::addKey(uint16_t kind, VXSIZE_T offset, uint16_t length,
                        VxSortCompareFunction function, void* context) {
  if (keyCount >= kMaxKeys) {
    addError(kErrTooManySortKeys);
    return 1;
  }
  if (function != nullptr) kind |= VxSortKey::kFunction;
  keys[keyCount++] = VxSortKey{kind, offset, length, function, context};
  sortFlags |= kKeysAdded;
  return 0;
}

int16_t VxSort::compare(const void* a, const void* b) const {
  return compareKeys(keys, startKey, keyCount, a, b);
}

int16_t VxSort::fullCompare(const void* a, const void* b) const {
  return compareKeys(keys, 0, keyCount, a, b);
}

char* VxSort::recordAddress(VXSIZE_T n) const {
  if (sortFlags & kCallerBuffer) return buffers[0] + n * recordLength;
  return buffers[n / recordsPerBuffer] + (n % recordsPerBuffer) * recordLength;
}

// Slot reservation. Record n goes to buffer n / recordsPerBuffer; a buffer
// that does not exist yet is allocated (64 KB each, at most maxBuffers of
// them, none once runs were written). When no buffer can be added the
// memory is full: with fewer than two buffers that is a failure, else the
// records in memory are sorted and written as one run and the record goes
// to slot 0 of the emptied buffers. Every run but the last therefore holds
// exactly bufferCount * recordsPerBuffer records.
unsigned VxSort::nextSlot(void** slot) {
  if ((sortFlags & kCallerBuffer) || recordsPerBuffer == 0) return 1;
  VXSIZE_T n = inMemory;
  if (n / recordsPerBuffer >= bufferCount) {
    sortFlags |= kOwnsBuffers;
    char* fresh = nullptr;
    if (!(sortFlags & kSpilled) && bufferCount < maxBuffers) {
      fresh = static_cast<char*>(ramAlloc(kBufferSize));
    }
    if (fresh != nullptr) {
      buffers[bufferCount++] = fresh;
    } else if (bufferCount < 2) {
      addError(kErrOutOfMemory);
      return 1;
    } else {
      sortInMemory();
      if (writeRun() != 0) return 1;
      sortFlags |= kSpilled;
      inMemory = 0;
      n = 0;
    }
  }
  ++inMemory;
  ++recordCount;
  *slot = recordAddress(n);
  return 0;
}

// Appends the records in memory to the runs' file (created at the first
// run) as one run.
unsigned VxSort::writeRun() {
  if (runFile <= 0) {
    if (runFileName == nullptr) {
      runFileName = static_cast<char*>(ramAllocZeroed(BOS_MAX_PATH));
      if (runFileName == nullptr) {
        addError(kErrOutOfMemory);
        return 1;
      }
    }
    if (bosFileOpen(runFileName, BOS_OPEN_TEMPORARY | BOS_OPEN_READ_WRITE, &runFile) != 0) {
      runFile = 0;
      addError(kErrTempFileNotCreated) << runFileName;
      return 1;
    }
  }
  if (transferRecords(bytesSpilled / recordLength, inMemory, true) != 0) return 1;
  bytesSpilled += inMemory * recordLength;
  ++runCount;
  return 0;
}

// Moves count records between the buffers (from slot 0 on) and the runs'
// file (from record first on), buffer by buffer. The file layer refuses
// single writes of 64 KB, so transfers go in pieces of half a buffer.
unsigned VxSort::transferRecords(VXSIZE_T first, VXSIZE_T count, bool toFile) {
  int64_t at = int64_t(first * recordLength);
  VXSIZE_T left = count * recordLength;
  for (uint16_t b = 0; left > 0; ++b) {
    VXSIZE_T inBuffer = recordsPerBuffer * recordLength < left ? recordsPerBuffer * recordLength : left;
    for (VXSIZE_T done = 0; done < inBuffer;) {
      VXSIZE_T piece = inBuffer - done < kBufferSize / 2 ? inBuffer - done : kBufferSize / 2;
      if (toFile) {
        if (bosFileWrite(runFile, at, buffers[b] + done, piece) != 0) {
          addError(kErrSortWrite);
          return 1;
        }
      } else {
        int32_t got = 0;
        bosFileRead(runFile, at, buffers[b] + done, piece, &got);
        if (got < 0 || VXSIZE_T(got) != piece) {
          addError(kErrSortRead);
          return 1;
        }
      }
      at += int64_t(piece);
      done += piece;
    }
    left -= inBuffer;
  }
  return 0;
}

unsigned VxSort::addRecord(const void* record) {
  void* slot;
  if (nextSlot(&slot) != 0) return 1;
  memcpy(slot, record, recordLength);
  return 0;
}

void VxSort::setBuf(VXSIZE_T count, void* buffer) {
  releaseBuffers();
  buffers[0] = static_cast<char*>(buffer);
  bufferCount = 1;
  inMemory = count;
  recordCount = count;
  readPosition = 0;
  sortFlags = static_cast<uint8_t>((sortFlags & kKeysAdded) | kCallerBuffer);
}

void VxSort::sortInMemory() { sortSlots(0, inMemory, startKey); }

// Sorts count records from slot first on by the keys from fromKey on.
void VxSort::sortSlots(VXSIZE_T first, VXSIZE_T count, VXSIZE_T fromKey) {
  if (count < 2) return;
  if (!(sortFlags & kCallerBuffer) && bufferCount > 1) {
    sortRecords(BufferedRecords{buffers, recordsPerBuffer, AnyLength{recordLength}, first}, keys,
                fromKey, keyCount, count);
  } else if (recordLength == 8) {
    sortRecords(ContiguousRecords<FixedLength<8>>{recordAddress(first), {}}, keys, fromKey,
                keyCount, count);
  } else if (recordLength == 16) {
    sortRecords(ContiguousRecords<FixedLength<16>>{recordAddress(first), {}}, keys, fromKey,
                keyCount, count);
  } else {
    sortRecords(ContiguousRecords<AnyLength>{recordAddress(first), {recordLength}}, keys,
                fromKey, keyCount, count);
  }
}

MergeSource VxSort::mergeSource() const {
  return MergeSource{this,         buffers, recordsPerBuffer, bufferCount * recordsPerBuffer,
                     recordLength, runFile, scratch, mergeOrder};
}

// The result of a sort that wrote runs: the records in memory become the
// last run, then the buffers are handed to the merge. Its header and one
// section per run take the first slots of buffer 0 (a merge too large for
// one buffer gets a block of its own instead); the order of the runs, one
// 4-byte run number each, and three scratch records (for when the runs
// outnumber the free slots) are allocated beside the buffers.
unsigned VxSort::prepareMerge() {
  if (writeRun() != 0) return 1;
  inMemory = 0;
  return buildMerge();
}

unsigned VxSort::buildMerge() {
  VXSIZE_T runLength = bufferCount * recordsPerBuffer;
  VXSIZE_T bytes = MergeInfo::bytesFor(runCount);
  VXSIZE_T reserved = (bytes + recordLength - 1) / recordLength;
  void* memory = buffers[0];
  if (reserved > recordsPerBuffer) {
    if (!mergeOwnBlock) merge = static_cast<MergeInfo*>(ramAlloc(bytes));
    mergeOwnBlock = merge != nullptr;
    memory = merge;
    reserved = 0;
  }
  if (memory == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  if (ensureScratch() != 0) return 1;
  if (mergeOrder == nullptr) mergeOrder = static_cast<uint32_t*>(ramAlloc(runCount * sizeof *mergeOrder));
  if (mergeOrder == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  return MergeInfo::prepareForMerge(memory, mergeSource(), runCount, runLength, recordCount,
                                    reserved, &merge);
}

// Every run fits the buffers (it was written from them), so each is read
// back, sorted by the present keys and written back in its place; then
// the merge is built again, since the buffers that held it were used.
unsigned VxSort::reSortWithMerge() {
  if (!(sortFlags & kSpilled)) return reSort();
  if (sortBuf() != 0) return 1;
  VXSIZE_T runLength = bufferCount * recordsPerBuffer;
  for (VXSIZE_T first = 0; first < recordCount; first += runLength) {
    inMemory = recordCount - first < runLength ? recordCount - first : runLength;
    if (transferRecords(first, inMemory, false) != 0) return 1;
    sortInMemory();
    if (transferRecords(first, inMemory, true) != 0) return 1;
  }
  inMemory = 0;
  readPosition = 0;
  return buildMerge();
}

// Four records: three for the merge, the last for the record handed out
// before (getSortedWithCompare).
unsigned VxSort::ensureScratch() {
  if (scratch == nullptr) scratch = static_cast<char*>(ramAlloc(4 * VXSIZE_T(recordLength)));
  if (scratch != nullptr) return 0;
  addError(kErrOutOfMemory);
  return 1;
}

unsigned VxSort::sortBuf() {
  if (sortFlags & kSorted) return 0;
  sortInMemory();
  sortFlags |= kSorted;
  readPosition = 0;
  if (sortFlags & kSpilled) return prepareMerge();
  return 0;
}

unsigned VxSort::getSorted(void** record) {
  *record = nullptr;
  if (sortBuf() != 0) return 1;
  if (sortFlags & kSpilled) {
    if (merge == nullptr || merge->getNextRecord(mergeSource(), record) != 0) return 1;
    if (*record != nullptr) ++readPosition;
    return 0;
  }
  if (readPosition < inMemory) *record = recordAddress(readPosition++);
  return 0;
}

unsigned VxSort::getFirstRecord(void** record) {
  *record = nullptr;
  if (sortBuf() != 0) return 1;
  readPosition = 0;
  if ((sortFlags & kSpilled) && (merge == nullptr || merge->restart(mergeSource()) != 0)) return 1;
  return getSorted(record);
}

unsigned VxSort::getSortedWithCompare(void** record, VXSIZE_T* result) {
  *record = nullptr;
  if (ensureScratch() != 0) return 1;
  char* previous = scratch + 3 * VXSIZE_T(recordLength);
  bool first = readPosition == 0;
  if (getSorted(record) != 0) return 1;
  if (*record == nullptr) return 0;
  *result = first || compare(previous, *record) != 0 ? 1 : 0;
  memcpy(previous, *record, recordLength);
  return 0;
}

// In memory: a binary search for the first record not below key. Merged:
// records are read from the start until one is not below key; when it is
// greater it is put back, so that reading resumes with it.
unsigned VxSort::getFirstRecordWithKey(const void* key, void** record) {
  *record = nullptr;
  if (sortBuf() != 0) return 1;
  if (sortFlags & kSpilled) {
    void* r;
    if (getFirstRecord(&r) != 0) return 1;
    while (r != nullptr && compare(r, key) < 0) {
      if (getSorted(&r) != 0) return 1;
    }
    if (r == nullptr) return 0;
    if (compare(r, key) == 0) {
      *record = r;
    } else {
      merge->unread();
      --readPosition;
    }
    return 0;
  }
  VXSIZE_T lo = 0, hi = inMemory;
  while (lo < hi) {
    VXSIZE_T mid = lo + (hi - lo) / 2;
    if (compare(recordAddress(mid), key) < 0) {
      lo = mid + 1;
    } else {
      hi = mid;
    }
  }
  readPosition = lo;
  if (lo < inMemory && compare(recordAddress(lo), key) == 0) *record = recordAddress(readPosition++);
  return 0;
}

int16_t VxSort::compareLeadingKeys(const void* a, const void* b, VXSIZE_T n) const {
  return compareKeys(keys, 0, n < keyCount ? n : keyCount, a, b);
}

// Range re-sorting works on records held in memory; a sort whose records
// went to runs has no place to re-sort them in.
unsigned VxSort::inMemoryOnly() {
  if (!(sortFlags & kSpilled)) return 0;
  addError(kErrSortNotInMemory);
  return 1;
}

unsigned VxSort::reSort() {
  if (inMemoryOnly() != 0) return 1;
  sortFlags &= uint8_t(~kSorted);
  return sortBuf();
}

unsigned VxSort::startResortRange() {
  if (inMemoryOnly() != 0 || sortBuf() != 0) return 1;
  rangeFirst = rangeEnd = rangePosition = 0;
  return 0;
}

// The next range starts where the last one ended and runs while records
// equal its first record on the leading keys.
unsigned VxSort::resortRange(VXSIZE_T leadingKeys, unsigned int fromKey) {
  if (inMemoryOnly() != 0) return 1;
  if (rangeEnd >= inMemory) return 1;
  rangeFirst = rangeEnd;
  const char* head = recordAddress(rangeFirst);
  rangeEnd = rangeFirst + 1;
  while (rangeEnd < inMemory && compareLeadingKeys(head, recordAddress(rangeEnd), leadingKeys) == 0) {
    ++rangeEnd;
  }
  sortSlots(rangeFirst, rangeEnd - rangeFirst, fromKey);
  rangePosition = rangeFirst;
  return 0;
}

unsigned VxSort::getFirstRecordInRange(void** record) {
  rangePosition = rangeFirst;
  return getNextRecordInRange(record);
}

unsigned VxSort::getNextRecordInRange(void** record) {
  *record = rangePosition < rangeEnd ? recordAddress(rangePosition++) : nullptr;
  return 0;
}

void VxSort::endResortRange() {
  rangeFirst = rangeEnd = rangePosition = 0;
  readPosition = 0;
}
