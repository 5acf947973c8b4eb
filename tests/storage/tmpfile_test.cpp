#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>
#include <string>
#include <vector>

#include "storage/tmp.h"
#include "storage/vxshrfil.h"
#include "storage_support.h"

namespace {

using vxtest::StorageTest;
using MemFileTest = StorageTest;
using TmpFileTest = StorageTest;

// (MemFile against a std::string model: fuzz/memfile_fuzz.cpp, replayed
// in every test run.)

// Blocks of 10 bytes: 25 bytes fill blocks 0 to 2, offset 8 has 2 bytes
// left in its block. A failed block allocation still counts the bytes it
// could not store (deliberate) and reads reach only what is stored.
TEST_F(MemFileTest, BlockEdgesAndTheLengthCountedBeforeCopying) {
  MemFile file(10);
  const char text[] = "abcdefghijklmnopqrstuvwxy";
  ASSERT_EQ(0u, file.append(text, 25));
  void* p;
  VXSIZE_T contiguous;
  file.tmpPointer(8, &p, &contiguous, 0);
  EXPECT_EQ(2u, contiguous);
  EXPECT_EQ('i', *static_cast<char*>(p));
  char out[4] = "!!!";
  file.read(25, out, 3);
  EXPECT_STREQ("!!!", out);
  ASSERT_EQ(0u, file.append(text, 5));  // fills block 2 exactly
  ramFailAllocationAfter(1);            // the next block
  EXPECT_EQ(1u, file.append(text, 4));
  EXPECT_EQ(1503, VxErrorKeeper::getLastErrorNumber());
  EXPECT_EQ(34u, file.getLength());
  char all[40] = {};
  file.read(0, all, sizeof all);
  EXPECT_EQ(std::string(text) + "abcde", std::string(all));
}

// Random writes and reads against a byte vector through caches of one and
// of eight sets, with the disk file closed now and then: everything written
// reads back, and only modified pages are ever written out.
TEST_F(TmpFileTest, RandomPageTrafficAgreesWithAByteModel) {
  const unsigned seed = 7002;
  std::mt19937 rng(seed);
  for (uint16_t cache : {uint16_t(4096), uint16_t(32768)}) {
    SCOPED_TRACE(testing::Message() << "cache " << cache << ", seed " << seed);
    VxTmpFile store(cache, 0);
    const VXSIZE_T span = 400 * 1024;
    VXSIZE_T address = 0;
    ASSERT_EQ(0u, store.tmpFindSpace(span, &address));
    ASSERT_EQ(1u, address);
    std::vector<char> model(span + 1, 0);
    std::vector<bool> written(span + 1, false);
    for (int step = 0; step < 3000; ++step) {
      if (step % 500 == 0) store.tmpLoseFocus();
      VXSIZE_T at = 1 + rng() % span, n = std::min<VXSIZE_T>(rng() % 5000, span + 1 - at);
      std::vector<char> bytes(n);
      if (rng() % 2) {
        for (char& c : bytes) c = char(rng());
        ASSERT_EQ(0u, store.tmpWrite(at, bytes.data(), n));
        std::copy(bytes.begin(), bytes.end(), model.begin() + at);
        std::fill(written.begin() + at, written.begin() + at + n, true);
        continue;
      }
      ASSERT_EQ(0u, store.tmpRead(at, bytes.data(), n));
      for (VXSIZE_T i = 0; i < n; ++i) ASSERT_TRUE(!written[at + i] || model[at + i] == bytes[i]) << "address " << at + i;
    }
    EXPECT_NE(nullptr, store.getFileName());
    EXPECT_GT(store.getPagesRead(), 0u);
  }
}

// With 8 sets, pages 0, 8 and 16 share set 0: touching the third evicts
// the one used less recently, and writes it out only when it was modified.
TEST_F(TmpFileTest, EvictionWritesBackOnlyModifiedPages) {
  VxTmpFile store(32768, 0);
  void* p;
  uint16_t left;
  ASSERT_EQ(0u, store.tmpPointer(8 * 2048 + 5, &p, &left, 0));
  EXPECT_EQ(2048u - 5, left);
  // Each row: page touched, dirty, pages written out after it.
  const int rows[][3] = {{0, 0, 0}, {16, 0, 0} /* evicts clean 8 */, {0, 1, 0}, {8, 0, 0} /* evicts clean 16 */,
                         {16, 0, 1} /* evicts modified 0 */};
  for (const auto& r : rows) {
    ASSERT_EQ(0u, store.tmpPointer(VXSIZE_T(r[0]) * 2048, &p, &left, uint16_t(r[1])));
    EXPECT_EQ(VXSIZE_T(r[2]), store.getPagesWritten()) << "after page " << r[0];
  }
  EXPECT_EQ(1, filesInDirectory());
}

// A write-back that fails (here under a file-size limit) fails the access
// that needed the frame, with the write's record.
TEST_F(TmpFileTest, AFailedWriteBackFailsTheAccess) {
  struct rlimit saved;
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &saved));
  signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = saved;
  small.rlim_cur = 16 * 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
  unsigned status = 0;
  {
    VxTmpFile store(4096, 0);
    const std::string page(2048, 'p');
    for (VXSIZE_T i = 0; i < 64 && status == 0; ++i) status = store.tmpWrite(i * 2048, page.data(), 2048);
  }
  setrlimit(RLIMIT_FSIZE, &saved);
  signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(1u, status);
  EXPECT_EQ(1506, VxErrorKeeper::getLastErrorNumber());  // the disk is full
}

// The allocation rules, one row each.
TEST_F(TmpFileTest, AllocationRules) {
  VxTmpFile store(4096, 0);
  EXPECT_EQ(4u, store.getContiguousSpace(1));
  EXPECT_EQ(2048u, store.getContiguousSpace(2048));  // would straddle a page
  EXPECT_EQ(4096u, store.getSpaceEnd());
  auto find = [&](VXSIZE_T n) { VXSIZE_T at = 0; EXPECT_EQ(0u, store.tmpFindSpace(n, &at)); return at; };
  VXSIZE_T a = find(1000), b = find(1000), c = find(1000);
  store.tmpFreeSpace(a, 100);  // under 256 bytes: lost for good
  EXPECT_EQ(c + 1000, find(100));
  store.tmpFreeSpace(b, 300);  // kept
  EXPECT_EQ(b, find(300));
  store.tmpFreeSpace(b, 1000);  // reused from the front, 1000 - 400 left
  EXPECT_EQ(b, find(400));
  EXPECT_EQ(b + 400, find(400));  // only 200 would be left: all given
  VXSIZE_T end = store.getSpaceEnd();
  EXPECT_EQ(end, find(300));
  // Neighbours merge, and an extent reaching the end gives it back.
  store.tmpFreeSpace(b, 500), store.tmpFreeSpace(b + 500, 500);
  EXPECT_EQ(b, find(1000));
  store.tmpFreeSpace(end - 600, 600), store.tmpFreeSpace(end, 300);
  EXPECT_EQ(end - 600, store.getSpaceEnd());
  EXPECT_EQ(end - 600, find(VxTmpFile::kAllTheRest));
  EXPECT_EQ(VxTmpFile::kAllTheRest, store.getSpaceEnd());
}

// A store spans 65,536 pages: a request past them fails with 2715 instead
// of wrapping its page number, and the space already held still works.
TEST_F(TmpFileTest, TheSpanOfOneStoreIsAHardLimit) {
  VxTmpFile store(4096, 0);
  VXSIZE_T a;
  ASSERT_EQ(0u, store.tmpFindSpace(VxTmpFile::kMaxSpan - 2048, &a));
  EXPECT_EQ(1u, store.tmpFindSpace(4096, &a));
  EXPECT_EQ(2715, VxErrorKeeper::getLastErrorNumber());
  EXPECT_EQ(0u, store.getContiguousSpace(4096));
  // The rest of the last page, from the next 4-byte boundary, just fits.
  EXPECT_EQ(VxTmpFile::kMaxSpan - 2044, store.getContiguousSpace(2044));
  void* p;
  uint16_t left;
  EXPECT_EQ(1u, store.tmpPointer(VxTmpFile::kMaxSpan, &p, &left, 1));
  const char tail[] = "last page";
  ASSERT_EQ(0u, store.tmpWrite(VxTmpFile::kMaxSpan - sizeof tail, tail, sizeof tail));
  ASSERT_EQ(0u, store.tmpWrite(2048, "first", 6));  // same set: the last page goes to disk
  char out[sizeof tail];
  ASSERT_EQ(0u, store.tmpRead(VxTmpFile::kMaxSpan - sizeof tail, out, sizeof out));
  EXPECT_STREQ(tail, out);
}

// Four threads write and read back their own 64 KB of one store through a
// one-set cache, so each evicts the others' pages all the time: the store's
// lock keeps every copy whole.
TEST_F(TmpFileTest, ThreadsSharingOneStoreReadBackWhatTheyWrote) {
  VxTmpFile store(4096, 0);
  VXSIZE_T base;
  ASSERT_EQ(0u, store.tmpFindSpace(4 * 65536, &base));
  std::atomic<int> bad{0}, ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::string bytes(65536, char('a' + t)), out(65536, '\0');
      for (++ready; ready < 4;) std::this_thread::yield();  // start together
      for (int round = 0; round < 60; ++round) {
        bytes[round * 997] ^= 1;
        bad += store.tmpWrite(base + t * 65536, bytes.data(), bytes.size()) != 0 ||
               store.tmpRead(base + t * 65536, &out[0], out.size()) != 0 || out != bytes;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, bad.load());
}

// Truncating to 0 deletes the disk file; the store is usable afterwards.
TEST_F(TmpFileTest, TruncateReleasesTheFileAndRestartsTheSpace) {
  VxTmpFile store(4096, 0);
  std::string bytes(20000, 'x');
  ASSERT_EQ(0u, store.tmpWrite(1, bytes.data(), bytes.size()));
  EXPECT_EQ(1, filesInDirectory());
  store.tmpTruncate(0);
  EXPECT_EQ(0, filesInDirectory());
  EXPECT_EQ(1u, store.getSpaceEnd());
  EXPECT_EQ(4u, store.getContiguousSpace(8));
}

}  // namespace

namespace {

using SharedFileTest = vxtest::StorageTest;

// Random writes and reads against a std::string, two files sharing one
// store; a write at 4,095 of 2 bytes takes two pages; an offset past
// 65,536 pages fails instead of wrapping; truncate gives the pages back.
TEST_F(SharedFileTest, PagedWritesAndReadsAgreeWithAStringModel) {
  VxTmpFile store(8192, 0);
  VxSharedFile first(&store), second(&store);
  ASSERT_EQ(0u, first.write(4095, "ab", 2));
  EXPECT_EQ(2u, first.getPageCount());
  const unsigned seed = 7003;
  std::mt19937 rng(seed);
  std::string model(2 * 4096, '\0');
  ASSERT_EQ(0u, second.write(0, model.data(), model.size()));
  for (int step = 0; step < 2000; ++step) {
    // Writes start within what was written, so no byte read is undefined.
    VXSIZE_T at = rng() % (model.size() + 1), n = rng() % 9000;
    if (rng() % 2) {
      std::string bytes(n, '\0');
      for (char& c : bytes) c = char(rng());
      ASSERT_EQ(0u, second.write(at, bytes.data(), n)) << "seed " << seed;
      if (model.size() < at + n) model.resize(at + n);
      model.replace(at, n, bytes);
    } else {
      n = std::min<VXSIZE_T>(n, model.size() - at);
      std::string out(n, '\0');
      ASSERT_EQ(0u, second.read(at, &out[0], n));
      ASSERT_TRUE(model.substr(at, n) == out) << "read at " << at << ", seed " << seed;
    }
  }
  char ab[2];
  ASSERT_EQ(0u, first.read(4095, ab, 2));
  EXPECT_EQ(0, memcmp(ab, "ab", 2));
  EXPECT_EQ(1u, first.read(3 * 4096, ab, 1));
  EXPECT_EQ(1u, first.write(VXSIZE_T(65536) * 4096, "x", 1));
  EXPECT_EQ(2715, VxErrorKeeper::getLastErrorNumber());
  first.truncate();
  EXPECT_EQ(0u, first.getPageCount());
}

}  // namespace
