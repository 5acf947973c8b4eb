#include "storage/sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "containers/vxstring.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

// Every test runs with an error list installed, so that what the sort
// files can be read back, and ends with no allocation failure pending.
class VxSortTest : public ::testing::Test {
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors)); }
  void TearDown() override { ramFailAllocationAfter(0); VxErrorKeeper::giveUpErrorList(); }
  VxErrorList errors{nullptr, VxErrorList::kSupportMultipleErrors};
};

// Every record getSorted yields, as bytes.
std::vector<std::string> drain(VxSort& sort, uint16_t length) {
  std::vector<std::string> out;
  for (void* r = nullptr; sort.getSorted(&r) == 0 && r != nullptr;) out.emplace_back(static_cast<char*>(r), length);
  return out;
}

// A caller's key function: counts its calls in *context and compares the
// two fields as bytes, over the length its descriptor gives.
int16_t countingCompare(void* context, const void* a, const void* b, const VxSortKey* key) {
  ++*static_cast<uint64_t*>(context);
  int c = memcmp(a, b, key->length);
  return int16_t((c > 0) - (c < 0));
}

// The reference order for the differential test: the keys from `first` on,
// each compared with memcmp and negated when descending.
struct Key { uint16_t kind, offset, length; };
int referenceCompare(const std::vector<Key>& keys, size_t first, const std::string& a, const std::string& b) {
  for (size_t k = first; k < keys.size(); ++k)
    if (int c = memcmp(a.data() + keys[k].offset, b.data() + keys[k].offset, keys[k].length))
      return (keys[k].kind & VxSortKey::kDescending) ? -c : c;
  return 0;
}

// Record i of n in one of five shapes: random bytes from a set of five (so
// that keys repeat and bytes above 0x7F occur), ascending, descending, all
// equal, organ pipe.
std::string makeRecord(int shape, uint32_t i, uint32_t n, uint16_t length, std::mt19937& rng) {
  const uint32_t values[] = {0, i * 255 / n, 255 - i * 255 / n, 42, std::min(i, n - i) * 510 / n};
  std::string r(length, char(values[shape]));
  for (char& c : r) c = shape == 0 ? "\0\1\x7F\x80\xFF"[rng() % 5] : c;
  return r;
}

// Every layout (each picks another record access and key comparison in the
// sort), every shape, the sizes up to 24 and from 145 to 160 (ranges of up
// to four records are finished without partitioning; from 151 records the
// pivot comes from nine), then one large size. The sort is not stable, so
// the result is checked against the reference order pair by pair, plus
// being a permutation of the input.
TEST_F(VxSortTest, SortsEveryLayoutShapeAndSizeIntoTheKeyOrder) {
  const uint16_t D = VxSortKey::kDescending, F = VxSortKey::kFunction;
  // collect: records added with addRecord/nextSlot, else the caller's array.
  const struct { const char* name; uint16_t length; std::vector<Key> keys; VXSIZE_T start; bool collect; uint32_t big; }
  layouts[] = {
      {"one-byte records", 1, {{0, 0, 1}}, 0, false, 20000},
      {"8-byte records, descending byte", 8, {{D, 3, 1}}, 0, true, 10000},
      {"16-byte records, two byte keys", 16, {{0, 0, 1}, {D, 1, 2}}, 0, false, 5000},
      {"function key, then byte key", 16, {{F, 0, 2}, {D, 2, 1}}, 0, false, 16384},
      {"start key skips the first key", 16, {{0, 0, 1}, {D, 1, 1}}, 1, false, 5000},
      {"records over eight buffers", 100, {{0, 0, 4}}, 0, true, 5000},
      {"no keys", 4, {}, 0, true, 1000},
  };
  const unsigned seed = 20240611;
  std::mt19937 rng(seed);
  for (const auto& l : layouts)
    for (int shape = 0; shape < 5; ++shape)
      for (uint32_t n = 0; n <= 161; n += n == 24 ? 121 : 1) {
        const uint32_t size = n == 161 ? l.big : n;
        SCOPED_TRACE(testing::Message() << l.name << ", shape " << shape << ", " << size << " records, seed " << seed);
        uint64_t calls = 0;
        VxSort sort(l.length);
        // addKey itself must mark a key that has a function.
        for (const Key& k : l.keys)
          sort.addKey(k.kind & ~F, k.offset, k.length, (k.kind & F) ? countingCompare : nullptr, &calls);
        sort.setStartKey(l.start);
        std::vector<std::string> in;
        std::string array;
        void* slot = nullptr;
        for (uint32_t i = 0; i < size; ++i) {
          array += in.emplace_back(makeRecord(shape, i, size, l.length, rng));
          ASSERT_EQ(0u, l.collect ? (i % 2 ? sort.nextSlot(&slot) : sort.addRecord(in[i].data())) : 0u);
          if (l.collect && i % 2) memcpy(slot, in[i].data(), l.length);
        }
        if (!l.collect) {  // else the first getSorted sorts
          sort.setBuf(size, &array[0]);
          EXPECT_EQ(1u, sort.nextSlot(&slot));  // the caller's array takes no records
          sort.sortBuf();
          const uint64_t sorting = calls;
          EXPECT_EQ(0u, sort.sortBuf());
          EXPECT_EQ(sorting, calls);  // sorted once only
        }
        std::vector<std::string> out = drain(sort, l.length);
        // Pivots from medians, and scans that stop on keys equal to the
        // pivot, keep every shape (all keys equal too) near n log n.
        EXPECT_LE(calls, 4 * size * std::log2(std::max(size, 1u)));
        EXPECT_EQ(size > 1 && !l.keys.empty() && (l.keys[0].kind & F), calls > 0);
        // In the reference order, and a permutation of the input (the sums
        // of the records' hashes agree).
        ASSERT_EQ(in.size(), out.size());
        uint64_t hashes = 0;
        for (size_t i = 0; i < out.size(); ++i) {
          hashes += std::hash<std::string>()(in[i]) - std::hash<std::string>()(out[i]);
          ASSERT_LE(i > 0 ? referenceCompare(l.keys, l.start, out[i - 1], out[i]) : 0, 0) << "out of order at " << i;
        }
        ASSERT_EQ(0u, hashes);
      }
}

// A descending key negates its key's answer, the most negative one
// included. Collation (the process keeps the "C" locale) beats the
// function bit, and the object bit beats both: the objects' own compare
// (case-insensitive here) orders the records.
TEST_F(VxSortTest, DescendingNegationAndKindPrecedence) {
  VxSort byFunction(2);
  auto lowest = [](void*, const void*, const void*, const VxSortKey*) { return int16_t(INT16_MIN); };
  byFunction.addKey(VxSortKey::kDescending, 0, 1, lowest, nullptr);
  EXPECT_EQ(INT16_MAX, byFunction.fullCompare("a", "b"));
  uint64_t calls = 0;
  VxSort international(2);
  international.addKey(VxSortKey::kInternational, 0, 2, countingCompare, &calls);
  EXPECT_LT(international.compare("ab", "ba"), 0);
  VxSubString low("a"), high("B");
  VxObject *x = &low, *y = &high;
  VxSort objects(sizeof x);
  objects.addKey(VxSortKey::kObject | VxSortKey::kInternational, 0, sizeof x, countingCompare, &calls);
  EXPECT_LT(objects.compare(&x, &y), 0);
  EXPECT_EQ(0u, calls);
}

TEST_F(VxSortTest, WhatDoesNotFitIsRefusedWithItsErrorAndTheRestKept) {
  const struct { const char* what; uint16_t length; uint32_t stored; uint64_t failAllocation; uint16_t error; }
  cases[] = {
      {"first buffer cannot be allocated", 16, 0, 1, 1503},
      {"second buffer cannot be allocated", 16, 4096, 1, 1503},
      {"records of no length", 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    VxErrorKeeper::clearAllErrors();
    VxSort sort(c.length);
    std::string record(c.length, '\0');
    for (uint32_t i = 0; i < c.stored; ++i) ASSERT_EQ(0u, sort.addRecord(record.data()));
    ramFailAllocationAfter(c.failAllocation);
    void* slot = &sort;
    EXPECT_EQ(1u, sort.nextSlot(&slot));
    EXPECT_EQ(&sort, slot);
    EXPECT_EQ(c.error, VxErrorKeeper::getLastErrorNumber());
    EXPECT_EQ(c.stored, drain(sort, c.length).size());
  }
  // The scratch that reading with comparison needs.
  VxSort grouped(16);
  ASSERT_EQ(0u, grouped.addRecord(std::string(16, 'x').data()));
  ramFailAllocationAfter(1);
  void* first = &grouped;
  VXSIZE_T groupStart = 9;
  EXPECT_EQ(1u, grouped.getSortedWithCompare(&first, &groupStart));
  EXPECT_EQ(1503, VxErrorKeeper::getLastErrorNumber());
  // The 65th key.
  VxSort sort(64);
  for (int k = 0; k < 64; ++k) ASSERT_EQ(0u, sort.addKey(0, k, 1));
  EXPECT_EQ(1u, sort.addKey(0, 0, 1));
  EXPECT_EQ(2710, VxErrorKeeper::getLastErrorNumber());
}

}  // namespace
