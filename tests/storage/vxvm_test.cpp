#include "storage/vxvm.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "foundation/vxerror.h"

namespace {

// A pool of `chunks` chunks over a fresh scratch file of `blocks` blocks of
// random bytes (`content`); open() again starts over with a new pool.
class BlockPoolTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors)); }
  void TearDown() override {
    release();
    VxErrorKeeper::giveUpErrorList();
  }
  void release() {
    if (pool != nullptr) bvmTerm(pool);
    if (file >= 0) close(file);
    pool = nullptr;
    file = -1;
  }
  void open(uint16_t chunks, uint32_t blocks) {
    release();
    char name[] = "/tmp/vxvm_test_XXXXXX";
    file = mkstemp(name);
    unlink(name);
    std::mt19937 random(7);
    content.resize(size_t(blocks) * BVM_BLOCK_SIZE);
    for (char& c : content) c = char(random());
    ASSERT_EQ(ssize_t(content.size()), pwrite(file, content.data(), content.size(), 0));
    pool = bvmInit(chunks);
    ASSERT_NE(nullptr, pool);
  }
  // Maps a block; true when it was cached before. Both are accesses.
  bool map(uint16_t block, uint16_t create = 1, uint16_t hint = 0) {
    descriptor = nullptr;
    memory = nullptr;
    EXPECT_EQ(0u, bvmmap(pool, file, block, &descriptor, &memory, create, hint));
    return memory != nullptr;
  }
  bool touch(uint16_t block) { return map(block, 0) || !map(block); }
  // The stamp of a cached block, found without an access.
  uint16_t stampOf(uint16_t block) {
    for (uint16_t i = pool->buckets[bvmhash(file, block)]; i != BVM_NONE; i = pool->descriptors[i].next)
      if (pool->descriptors[i].block == block) return pool->descriptors[i].lastUse;
    ADD_FAILURE() << "block " << block << " is not cached";
    return 0;
  }
  std::string readThrough(VXSIZE_T offset, VXSIZE_T length, uint16_t hint = 0) {
    std::string out(length, 0);
    VXSIZE_T got = 0;
    EXPECT_EQ(0u, bvmFileRead(pool, file, offset, &out[0], length, &got, hint));
    return out.substr(0, got);
  }

  VxErrorList errors{nullptr, VxErrorList::kSupportMultipleErrors};
  bvmPool* pool = nullptr;
  int file = -1;
  std::vector<char> content;
  bvmBlock* descriptor = nullptr;
  char* memory = nullptr;
};

TEST(BlockPoolHash, BucketsOfTheTable) {
  EXPECT_EQ(13, bvmhash(0, 0));
  EXPECT_EQ(42, bvmhash(5, 1));
  EXPECT_EQ(25, bvmhash(15, 65535));
}

// Every access of a random sequence finds cached exactly the blocks that a
// least-recently-used model of the same capacity holds.
TEST_F(BlockPoolTest, EvictsExactlyTheLeastRecentlyUsedBlock) {
  for (uint16_t chunks : {1, 2}) {
    open(chunks, 40);
    std::list<uint16_t> model;  // most recent first
    std::mt19937 random(11 + chunks);
    for (int step = 0; step < 3000; ++step) {
      uint16_t block = uint16_t(random() % (step % 2 ? 12 : 40));
      auto it = std::find(model.begin(), model.end(), block);
      ASSERT_EQ(it != model.end(), touch(block)) << "seed " << 11 + chunks << " step " << step;
      if (it != model.end()) model.erase(it);
      model.push_front(block);
      if (model.size() > size_t(chunks) * 8) model.pop_back();
    }
    EXPECT_EQ(chunks * 8u, pool->blocksCreated);
  }
}

// The rows: one pool per task, past the end of the file, hint 1, writes
// that do not load, flushing and closing, and the two kinds of ageing.
TEST_F(BlockPoolTest, EdgesOfLookupWriteAndAgeing) {
  open(1, 8);
  bvmPool* again = bvmInit(50);
  EXPECT_EQ(pool, again);
  EXPECT_EQ(8u, pool->maxBlocks);
  bvmTerm(again);
  EXPECT_FALSE(map(8));
  EXPECT_EQ(0u, errors.getCount());
  EXPECT_EQ(1u, bvmFlush(nullptr, file));

  for (uint16_t b = 1; b < 8; ++b) touch(b);
  EXPECT_EQ(0u, bvmFileWrite(pool, file, 10, "abc", 3));
  EXPECT_FALSE(map(0, 0));
  touch(0);
  EXPECT_EQ(0u, bvmFileWrite(pool, file, 8 * BVM_BLOCK_SIZE - 1, "xyz", 3));
  EXPECT_EQ(std::string(content.begin() + 4, content.begin() + 10) + "abc", readThrough(4, 9, 1));
  EXPECT_FALSE(map(8, 1, 1));
  EXPECT_EQ(std::string(1, content[8 * BVM_BLOCK_SIZE - 2]) + "xyz",
            readThrough(8 * BVM_BLOCK_SIZE - 2, 8, 1));
  EXPECT_FALSE(map(8, 0));
  EXPECT_EQ(0u, bvmFlush(pool, file));
  EXPECT_FALSE(map(7, 0));

  // Block 1 is clearly the oldest, even once the stamps are halved.
  touch(0);
  touch(1);
  map(0, 0);
  map(0, 0);
  touch(2);
  pool->useClock = 65534;
  map(0, 0);
  EXPECT_EQ(32767u, pool->useClock);
  EXPECT_EQ(32767u, stampOf(0));
  // Deliberate: above 40000 an eviction halves the stamps it scans but
  // not the clock.
  for (uint16_t b = 3; b < 8; ++b) touch(b);
  pool->useClock = 40001;
  map(8);
  EXPECT_EQ(2u, descriptor->validBytes);
  EXPECT_EQ(40002u, pool->useClock);
  EXPECT_EQ(16383u, stampOf(0));
  EXPECT_FALSE(map(1, 0));
  EXPECT_TRUE(map(2, 0));
  int handle = dup(file);
  EXPECT_EQ(0u, bvmFileClose(pool, handle));
  EXPECT_EQ(-1, fcntl(handle, F_GETFD));
}

// Four threads write and read stripes of 1000 bytes (so every block is
// shared by several threads) through one small pool: each read must give
// the thread's own latest bytes, and at the end the whole file read
// through the pool must equal what pread sees and what the writers wrote.
TEST_F(BlockPoolTest, ThreadsSharePoolAgainstPread) {
  open(2, 40);
  const size_t stripe = 1000, size = content.size();
  std::vector<char> merged(content);
  auto worker = [&](unsigned self) {
    std::mt19937 random(100 + self);
    std::vector<char> model(content);
    for (int op = 0; op < 1500; ++op) {
      size_t first = (random() % (size / stripe / 4)) * 4 * stripe + self * stripe;
      size_t offset = first + random() % stripe;
      size_t length = 1 + random() % (first + stripe - offset);
      if (offset + length > size) continue;
      if (random() % 2) {
        std::vector<char> data(length);
        for (char& c : data) c = char(random());
        ASSERT_EQ(0u, bvmFileWrite(pool, file, offset, data.data(), length));
        std::copy(data.begin(), data.end(), model.begin() + offset);
      } else {
        std::vector<char> out(length);
        VXSIZE_T got = 0;
        ASSERT_EQ(0u, bvmFileRead(pool, file, offset, out.data(), length, &got, op % 3 == 0));
        ASSERT_EQ(length, got);
        ASSERT_TRUE(std::equal(out.begin(), out.end(), model.begin() + offset))
            << "seed " << 100 + self << " op " << op;
      }
    }
    for (size_t at = self * stripe; at < size; at += 4 * stripe)
      std::copy(model.begin() + at, model.begin() + std::min(size, at + stripe), merged.begin() + at);
  };
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t) threads.emplace_back(worker, t);
  for (std::thread& t : threads) t.join();
  std::vector<char> whole(size + 100);
  VXSIZE_T got = 0;
  EXPECT_EQ(0u, bvmFileRead(pool, file, 0, whole.data(), whole.size(), &got, 0));
  whole.resize(got);
  std::vector<char> onDisk(size_t(lseek(file, 0, SEEK_END)));
  EXPECT_EQ(ssize_t(onDisk.size()), pread(file, onDisk.data(), onDisk.size(), 0));
  EXPECT_EQ(onDisk, whole);
  EXPECT_EQ(merged, whole);
}

}  // namespace
