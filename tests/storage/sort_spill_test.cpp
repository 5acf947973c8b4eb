#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "storage/sort.h"
#include "storage_support.h"

namespace {

using SortSpillTest = vxtest::StorageTest;

struct Key { uint16_t kind, offset, length; };

// The independent order: the keys one after another, memcmp on each,
// negated when descending.
int referenceCompare(const std::vector<Key>& keys, const std::string& a, const std::string& b) {
  for (const Key& k : keys)
    if (int c = memcmp(a.data() + k.offset, b.data() + k.offset, k.length))
      return (k.kind & VxSortKey::kDescending) ? -c : c;
  return 0;
}

// Adds the records to a sort limited to `buffers` buffers and reads the
// result back, checking it against the records: in key order, and the same
// multiset (so records with equal keys may come in any order).
void sortAndCheck(const std::vector<Key>& keys, uint16_t length, uint16_t buffers,
                  const std::vector<std::string>& records, VXSIZE_T expectedRuns) {
  VxSort sort(length);
  sort.setMaxBuffers(buffers);
  for (const Key& k : keys) ASSERT_EQ(0u, sort.addKey(k.kind, k.offset, k.length));
  for (const std::string& r : records) ASSERT_EQ(0u, sort.addRecord(r.data()));
  std::vector<std::string> out;
  for (void* r = nullptr; sort.getSorted(&r) == 0 && r != nullptr;) out.emplace_back(static_cast<char*>(r), length);
  EXPECT_EQ(expectedRuns, sort.getRunCount());
  ASSERT_EQ(records.size(), out.size());
  for (size_t i = 1; i < out.size(); ++i) ASSERT_LE(referenceCompare(keys, out[i - 1], out[i]), 0) << "at " << i;
  std::vector<std::string> a = records, b = out;
  std::sort(a.begin(), a.end());
  std::sort(b.begin(), b.end());
  ASSERT_TRUE(a == b) << "not the records that went in";
}

// The differential: generated records in several key layouts, with
// descending keys and many duplicates, from one run to 200; the last rows
// leave no room for per-run caches, so every record is re-read.
TEST_F(SortSpillTest, SpilledSortsAgreeWithAnIndependentSort) {
  const struct { const char* name; uint16_t length; uint16_t buffers; std::vector<Key> keys; uint32_t records; VXSIZE_T runs; }
  layouts[] = {
      {"8-byte key, just over memory", 16, 2, {{0, 0, 8}}, 8200, 2},
      {"descending 8-byte key", 16, 2, {{VxSortKey::kDescending, 8, 8}}, 9000, 2},
      {"descending key over 3 buffers", 16, 3, {{VxSortKey::kDescending, 4, 2}}, 61000, 5},
      {"two keys, 64 buffers", 64, 64, {{0, 63, 1}, {VxSortKey::kDescending, 0, 3}}, 70000, 2},
      {"200 runs of 8 records", 16384, 2, {{0, 100, 1}, {0, 0, 4}}, 1597, 200},
      {"no caches: one record per run re-read", 40000, 2, {{VxSortKey::kDescending, 39990, 2}}, 41, 21},
  };
  const unsigned seed = 8181;
  std::mt19937 rng(seed);
  for (const auto& l : layouts) {
    SCOPED_TRACE(testing::Message() << l.name << ", seed " << seed);
    std::vector<std::string> records(l.records, std::string(l.length, '\0'));
    for (std::string& r : records)
      for (const Key& k : l.keys)
        for (int i = 0; i < k.length; ++i) r[k.offset + i] = char("\0\1\x7F\x80\xFF"[rng() % 5]);
    for (std::string& r : records) r[l.length - 1] ^= char(rng());  // not part of most keys
    sortAndCheck(l.keys, l.length, l.buffers, records, l.runs);
    EXPECT_EQ(0, filesInDirectory());
  }
}

// Reading a merged sort again from its start, finding the first record of
// a key, and telling group starts, agree with the sort in memory.
TEST_F(SortSpillTest, ReadingAgainAndByKeyAfterAMerge) {
  for (uint16_t buffers : {uint16_t(64), uint16_t(2)}) {
    SCOPED_TRACE(buffers);
    VxSort sort(8192);  // 8 records per buffer: 2 buffers spill every 16 records
    sort.setMaxBuffers(buffers);
    sort.addKey(0, 0, 1);
    std::string record(8192, '\0');
    for (int i = 0; i < 100; ++i) {
      record[0] = char('a' + (i * 7) % 10);
      record[1] = char(i);
      ASSERT_EQ(0u, sort.addRecord(record.data()));
    }
    void* r;
    VXSIZE_T starts = 0, groupStart = 9;
    for (int n = 0; sort.getSortedWithCompare(&r, &groupStart) == 0 && r != nullptr; ++n) starts += groupStart;
    EXPECT_EQ(10u, starts);
    std::string key(8192, '\0');
    for (char k : {'c', 'j', 'k', '0'}) {
      key[0] = k;
      ASSERT_EQ(0u, sort.getFirstRecordWithKey(key.data(), &r));
      EXPECT_EQ(k >= 'a' && k <= 'j', r != nullptr);
      if (r != nullptr) { EXPECT_EQ(k, *static_cast<char*>(r)); }
      int following = 0;
      for (void* next; sort.getNextRecord(&next) == 0 && next != nullptr;) ++following;
      EXPECT_EQ(k == '0' ? 100 : k > 'j' ? 0 : 10 * ('j' - k) + 9, following) << k;
    }
    EXPECT_EQ(0u, sort.getFirstRecord(&r));
    EXPECT_EQ('a', *static_cast<char*>(r));
    EXPECT_EQ(buffers == 2 ? 7u : 0u, sort.getRunCount());
  }
}

// A merged sort re-sorted after its start key moved past the first key:
// every run is sorted again and the merge follows the second key alone.
TEST_F(SortSpillTest, ReSortWithMergeFollowsTheNewStartKey) {
  VxSort sort(4096);  // 16 records per buffer, 32 per run
  sort.setMaxBuffers(2);
  sort.addKey(0, 0, 1);
  sort.addKey(VxSortKey::kDescending, 1, 2);
  std::string record(4096, '\0');
  std::mt19937 rng(31);
  for (int i = 0; i < 300; ++i) {
    record[0] = char(rng() % 3), record[1] = char(rng()), record[2] = char(rng());
    ASSERT_EQ(0u, sort.addRecord(record.data()));
  }
  void* r;
  ASSERT_EQ(0u, sort.getSorted(&r));
  sort.setStartKey(1);
  ASSERT_EQ(0u, sort.reSortWithMerge());
  EXPECT_EQ(1u, sort.reSort());  // runs cannot be re-sorted in memory
  std::string previous(2, '\xFF');
  int n = 0;
  for (; sort.getSorted(&r) == 0 && r != nullptr; ++n) {
    std::string key(static_cast<char*>(r) + 1, 2);
    ASSERT_LE(memcmp(key.data(), previous.data(), 2), 0) << "at " << n;
    previous = key;
  }
  EXPECT_EQ(300, n);
}

// Each allocation of a spilled sort and its merge fails in turn: the call
// that meets it fails with 1503, or every record comes back in order.
TEST_F(SortSpillTest, EveryAllocationFailureOfASpilledSortIsReported) {
  bool lastSucceeded = false;
  for (uint64_t n = 1; n < 80; ++n) {
    VxErrorKeeper::clearAllErrors();
    VxSort sort(16);  // 4096 records per buffer: three runs
    sort.setMaxBuffers(2);
    ramFailAllocationAfter(n);
    unsigned status = sort.addKey(0, 0, 8);
    char record[16] = {};
    for (int i = 0; i < 20000 && status == 0; ++i) {
      snprintf(record, sizeof record, "%08d", i * 7919 % 20000);
      status = sort.addRecord(record);
    }
    std::string previous;
    int count = 0;
    void* r = nullptr;
    if (status == 0) status = sort.getFirstRecord(&r);
    for (; status == 0 && r != nullptr; status = sort.getSorted(&r), ++count) {
      EXPECT_LE(previous, std::string(static_cast<char*>(r), 8));
      previous.assign(static_cast<char*>(r), 8);
    }
    ramFailAllocationAfter(0);
    lastSucceeded = status == 0;
    EXPECT_EQ(status == 0 ? 0 : 1503, VxErrorKeeper::getLastErrorNumber()) << "failing allocation " << n;
    EXPECT_TRUE(status != 0 || count == 20000) << "failing allocation " << n;
  }
  EXPECT_TRUE(lastSucceeded);
}

// A file system that fills up (here a file-size limit): adding fails with
// the sort's record, and the destructor leaves no file behind.
TEST_F(SortSpillTest, AFullFileSystemFailsCleanlyAndLeavesNothingBehind) {
  struct rlimit saved;
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &saved));
  signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = saved;
  small.rlim_cur = 300 * 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
  unsigned status = 0;
  {
    VxSort sort(1024);
    sort.setMaxBuffers(2);
    sort.addKey(0, 0, 8);
    std::string record(1024, 'r');
    for (int i = 0; i < 1000 && status == 0; ++i) status = sort.addRecord(record.data());
    EXPECT_EQ(1, filesInDirectory());
  }
  setrlimit(RLIMIT_FSIZE, &saved);
  signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(1u, status);
  EXPECT_EQ(2711, VxErrorKeeper::getLastErrorNumber());
}

// Range re-sorting: records sorted by their first byte are re-sorted, range
// by range of equal first bytes, by a second key added afterwards.
TEST_F(SortSpillTest, RangesOfEqualLeadingKeysAreReSortedByLaterKeys) {
  VxSort sort(2);
  sort.addKey(0, 0, 1);
  const char* input[] = {"b3", "a2", "b1", "a9", "c5", "b2", "a1"};
  for (const char* r : input) ASSERT_EQ(0u, sort.addRecord(r));
  ASSERT_EQ(0u, sort.sortBuf());
  sort.addKey(VxSortKey::kDescending, 1, 1);
  ASSERT_EQ(0u, sort.startResortRange());
  std::string ranges;
  while (sort.resortRange(1, 1) == 0) {
    void* r;
    for (sort.getFirstRecordInRange(&r); r != nullptr; sort.getNextRecordInRange(&r)) ranges.append(static_cast<char*>(r), 2);
    ranges += '|';
  }
  sort.endResortRange();
  EXPECT_EQ("a9a2a1|b3b2b1|c5|", ranges);
  ASSERT_EQ(0u, sort.reSort());
  void* r;
  sort.getSorted(&r);
  EXPECT_EQ(0, memcmp("a9", r, 2));
}

}  // namespace
