#include "storage/sort.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

// Every test runs with a multiple-error list installed, so that what the
// sort files can be read back.
class VxSortTest : public ::testing::Test {
 protected:
  VxSortTest() : errors(nullptr, VxErrorList::kSupportMultipleErrors) {}
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors)); }
  void TearDown() override {
    ramFailAllocationAfter(0);
    VxErrorKeeper::giveUpErrorList();
  }

  uint16_t lastErrorNumber() const {
    VxError* e = errors.getLastError();
    return e == nullptr ? 0 : e->getErrorNumber();
  }

  VxErrorList errors;
};

// A 16-byte record: a one-byte key, a second key byte, and the arrival
// number so that tests can see which record is which.
struct Rec {
  uint8_t key;
  uint8_t key2;
  uint8_t pad[2];
  uint32_t serial;
  uint64_t filler;
};
static_assert(sizeof(Rec) == 16, "record layout");

Rec rec(uint8_t key, uint32_t serial, uint8_t key2 = 0) { return Rec{key, key2, {0, 0}, serial, 0}; }

// Reads every record getSorted yields.
template <typename T>
std::vector<T> drain(VxSort& sort) {
  std::vector<T> out;
  void* r = nullptr;
  for (;;) {
    EXPECT_EQ(0u, sort.getSorted(&r));
    if (r == nullptr) break;
    T t;
    memcpy(&t, r, sizeof t);
    out.push_back(t);
  }
  return out;
}

class Keyed : public VxObject {
 public:
  explicit Keyed(int k) : key(k) {}
  int16_t compare(const VxObject* other) const override {
    int o = static_cast<const Keyed*>(other)->key;
    return key < o ? -1 : (key > o ? 1 : 0);
  }
  int key;
};

// --- keys and comparison ------------------------------------------------

TEST_F(VxSortTest, ByteKeysCompareAsUnsignedValues) {
  VxSort sort(2);
  ASSERT_EQ(0u, sort.addKey(0, 0, 2));
  const unsigned char a[2] = {0x80, 0x00}, b[2] = {0x7F, 0xFF};
  EXPECT_GT(sort.compare(a, b), 0);
  EXPECT_LT(sort.compare(b, a), 0);
  EXPECT_EQ(0, sort.compare(a, a));
}

TEST_F(VxSortTest, DescendingKeyNegatesItsResult) {
  VxSort sort(1);
  ASSERT_EQ(0u, sort.addKey(VxSortKey::kDescending, 0, 1));
  const unsigned char a = 1, b = 2;
  EXPECT_GT(sort.compare(&a, &b), 0);
  EXPECT_LT(sort.compare(&b, &a), 0);
}

TEST_F(VxSortTest, LaterKeyDecidesOnlyWhenEarlierKeysAreEqual) {
  VxSort sort(sizeof(Rec));
  sort.addKey(0, offsetof(Rec, key), 1);
  sort.addKey(VxSortKey::kDescending, offsetof(Rec, key2), 1);
  Rec a = rec(1, 0, 5), b = rec(1, 0, 9), c = rec(2, 0, 0);
  EXPECT_GT(sort.compare(&a, &b), 0);  // key2 descending
  EXPECT_LT(sort.compare(&b, &c), 0);  // key decides first
}

TEST_F(VxSortTest, NoKeysCallsEveryRecordEqual) {
  VxSort sort(sizeof(Rec));
  Rec a = rec(1, 1), b = rec(200, 2);
  EXPECT_EQ(0, sort.compare(&a, &b));
  EXPECT_EQ(0, sort.fullCompare(&a, &b));
  for (uint32_t i = 0; i < 10; ++i) {
    Rec r = rec(static_cast<uint8_t>(9 - i), i);
    ASSERT_EQ(0u, sort.addRecord(&r));
  }
  EXPECT_EQ(10u, drain<Rec>(sort).size());
}

TEST_F(VxSortTest, StartKeySkipsEarlierKeysButFullCompareDoesNot) {
  VxSort sort(sizeof(Rec));
  sort.addKey(0, offsetof(Rec, key), 1);
  sort.addKey(0, offsetof(Rec, key2), 1);
  sort.setStartKey(1);
  Rec a = rec(9, 0, 1), b = rec(1, 0, 2);
  EXPECT_LT(sort.compare(&a, &b), 0);
  EXPECT_GT(sort.fullCompare(&a, &b), 0);
}

struct FunctionCall {
  int calls = 0;
  const void* a = nullptr;
  const void* b = nullptr;
  const VxSortKey* key = nullptr;
};

int16_t recordingCompare(void* context, const void* a, const void* b, const VxSortKey* key) {
  FunctionCall* call = static_cast<FunctionCall*>(context);
  ++call->calls;
  call->a = a;
  call->b = b;
  call->key = key;
  return -5;
}

TEST_F(VxSortTest, FunctionKeyGetsContextFieldsAndDescriptor) {
  FunctionCall call;
  VxSort sort(sizeof(Rec));
  ASSERT_EQ(0u, sort.addKey(0, offsetof(Rec, serial), 4, recordingCompare, &call));
  Rec a = rec(0, 1), b = rec(0, 2);
  EXPECT_EQ(-5, sort.compare(&a, &b));
  EXPECT_EQ(1, call.calls);
  EXPECT_EQ(&a.serial, call.a);
  EXPECT_EQ(&b.serial, call.b);
  ASSERT_NE(nullptr, call.key);
  EXPECT_EQ(offsetof(Rec, serial), call.key->offset);
  EXPECT_EQ(4, call.key->length);
  EXPECT_TRUE(call.key->kind & VxSortKey::kFunction);
}

TEST_F(VxSortTest, ObjectKeyOrdersByTheObjectsCompareOverStringAndFunctionBits) {
  Keyed low(1), high(2);
  VxObject* a = &low;
  VxObject* b = &high;
  for (uint16_t kind : {uint16_t(VxSortKey::kObject), uint16_t(VxSortKey::kObject | VxSortKey::kInternational)}) {
    FunctionCall call;
    VxSort sort(sizeof(VxObject*));
    // The plain object key has no function; the other has every other bit.
    sort.addKey(kind, 0, sizeof(VxObject*), kind == VxSortKey::kObject ? nullptr : recordingCompare, &call);
    EXPECT_LT(sort.compare(&a, &b), 0) << kind;
    EXPECT_GT(sort.compare(&b, &a), 0) << kind;
    EXPECT_EQ(0, call.calls) << kind;
  }
}

TEST_F(VxSortTest, InternationalKeyUsesCollationAndWinsOverFunction) {
  setlocale(LC_COLLATE, "C");
  FunctionCall call;
  VxSort sort(4);
  sort.addKey(VxSortKey::kInternational, 0, 4, recordingCompare, &call);
  const char a[4] = {'a', 'b', 'c', 'd'}, b[4] = {'a', 'b', 'd', 'a'};
  EXPECT_LT(sort.compare(a, b), 0);
  EXPECT_GT(sort.compare(b, a), 0);
  EXPECT_EQ(0, call.calls);
}

TEST_F(VxSortTest, SixtyFifthKeyIsRefusedWithError2710) {
  VxSort sort(64);
  for (int k = 0; k < 64; ++k) ASSERT_EQ(0u, sort.addKey(0, k, 1));
  EXPECT_EQ(0u, lastErrorNumber());
  EXPECT_EQ(1u, sort.addKey(0, 0, 1));
  EXPECT_EQ(2710, lastErrorNumber());
}

// --- collecting and reading ---------------------------------------------

TEST_F(VxSortTest, ReadingBeforeAnyRecordYieldsNullAtOnce) {
  VxSort sort(sizeof(Rec));
  sort.addKey(0, 0, 1);
  void* r = &sort;
  EXPECT_EQ(0u, sort.getSorted(&r));
  EXPECT_EQ(nullptr, r);
}

TEST_F(VxSortTest, AddedRecordsComeBackInKeyOrder) {
  VxSort sort(sizeof(Rec));
  sort.addKey(0, offsetof(Rec, key), 1);
  std::mt19937 rng(11);
  std::vector<Rec> in;
  for (uint32_t i = 0; i < 3000; ++i) {
    in.push_back(rec(static_cast<uint8_t>(rng()), i));
    ASSERT_EQ(0u, sort.addRecord(&in.back()));
  }
  std::vector<Rec> out = drain<Rec>(sort);
  ASSERT_EQ(in.size(), out.size());
  EXPECT_TRUE(std::is_sorted(out.begin(), out.end(),
                             [](const Rec& x, const Rec& y) { return x.key < y.key; }));
  std::vector<uint32_t> serials;
  for (const Rec& r : out) serials.push_back(r.serial);
  std::sort(serials.begin(), serials.end());
  for (uint32_t i = 0; i < serials.size(); ++i) ASSERT_EQ(i, serials[i]);  // a permutation
}

TEST_F(VxSortTest, NextSlotLetsTheCallerBuildRecordsInPlace) {
  VxSort sort(sizeof(Rec));
  sort.addKey(VxSortKey::kDescending, offsetof(Rec, key), 1);
  for (uint32_t i = 0; i < 5; ++i) {
    void* slot = nullptr;
    ASSERT_EQ(0u, sort.nextSlot(&slot));
    Rec r = rec(static_cast<uint8_t>(i * 10), i);
    memcpy(slot, &r, sizeof r);
  }
  std::vector<Rec> out = drain<Rec>(sort);
  ASSERT_EQ(5u, out.size());
  for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(4 - i, out[i].serial);
}

TEST_F(VxSortTest, RecordsSpanningSeveralBuffersSortAcrossThem) {
  // 100-byte records: 655 to a 64 KB buffer, so 5000 records use 8.
  struct Wide {
    uint32_t key;
    char rest[96];
  };
  VxSort sort(sizeof(Wide));
  sort.addKey(0, 0, 4);
  std::mt19937 rng(5);
  std::vector<uint32_t> keys;
  for (int i = 0; i < 5000; ++i) {
    Wide w{};
    uint32_t k = rng();
    w.key = htonl(k);  // most significant byte first, so bytes order as numbers
    keys.push_back(k);
    ASSERT_EQ(0u, sort.addRecord(&w));
  }
  std::sort(keys.begin(), keys.end());
  std::vector<Wide> out = drain<Wide>(sort);
  ASSERT_EQ(keys.size(), out.size());
  for (size_t i = 0; i < out.size(); ++i) {
    ASSERT_EQ(keys[i], ntohl(out[i].key)) << i;
  }
}

TEST_F(VxSortTest, RecordBeyondSixtyFourBuffersIsRefused) {
  // 64 x 655 records of 100 bytes fill memory; the next one would start a
  // run on a temporary file, which this sort does not write: it is refused
  // and every record collected so far is still there.
  VxSort sort(100);
  sort.addKey(0, 0, 1);
  char record[100] = {};
  for (int i = 0; i < 64 * 655; ++i) {
    record[0] = static_cast<char>(i % 7);
    ASSERT_EQ(0u, sort.addRecord(record)) << i;
  }
  EXPECT_EQ(1u, sort.addRecord(record));
  EXPECT_EQ(1503, lastErrorNumber());
  std::vector<std::array<char, 100>> out = drain<std::array<char, 100>>(sort);
  EXPECT_EQ(64u * 655u, out.size());
}

TEST_F(VxSortTest, FailedBufferAllocationRefusesTheRecordOnly) {
  // Fails the first buffer, then the second one after a full first buffer.
  for (uint32_t before : {0u, 4096u}) {
    SCOPED_TRACE(before);
    VxSort sort(sizeof(Rec));
    sort.addKey(0, 0, 1);
    for (uint32_t i = 0; i < before; ++i) {
      Rec r = rec(static_cast<uint8_t>(i), i);
      ASSERT_EQ(0u, sort.addRecord(&r));
    }
    Rec extra = rec(3, 9999);
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, sort.addRecord(&extra));
    ramFailAllocationAfter(0);
    EXPECT_EQ(1503, lastErrorNumber());
    EXPECT_EQ(before, drain<Rec>(sort).size());
  }
}

// --- sorting a caller's buffer -------------------------------------------

TEST_F(VxSortTest, SortBufSortsTheCallersArrayInPlace) {
  std::vector<Rec> records;
  for (uint32_t i = 0; i < 1000; ++i) records.push_back(rec(static_cast<uint8_t>(i * 37), i));
  VxSort sort(sizeof(Rec));
  sort.addKey(0, offsetof(Rec, key), 1);
  sort.setBuf(records.size(), records.data());
  ASSERT_EQ(0u, sort.sortBuf());
  EXPECT_TRUE(std::is_sorted(records.begin(), records.end(),
                             [](const Rec& x, const Rec& y) { return x.key < y.key; }));
  void* first = nullptr;
  sort.getSorted(&first);
  EXPECT_EQ(records.data(), first);  // reading walks the caller's array
}

TEST_F(VxSortTest, SortBufSortsOnlyOnce) {
  std::vector<uint8_t> bytes = {3, 1, 2};
  VxSort sort(1);
  sort.addKey(0, 0, 1);
  sort.setBuf(bytes.size(), bytes.data());
  sort.sortBuf();
  bytes[0] = 9;  // disorder it again behind the sort's back
  sort.sortBuf();
  EXPECT_EQ((std::vector<uint8_t>{9, 2, 3}), bytes);
}

TEST_F(VxSortTest, NoRecordIsAddedToACallersBuffer) {
  uint8_t bytes[2] = {2, 1};
  VxSort sort(1);
  sort.setBuf(2, bytes);
  void* slot = nullptr;
  EXPECT_EQ(1u, sort.nextSlot(&slot));
  EXPECT_EQ(nullptr, slot);
}

// --- the quicksort itself --------------------------------------------------

// Sorts n one-byte-keyed records of the given pattern through setBuf and
// checks order and permutation.
void expectSortsPattern(VXSIZE_T n, const char* pattern) {
  std::vector<Rec> records;
  std::mt19937 rng(static_cast<unsigned>(n));
  for (uint32_t i = 0; i < n; ++i) {
    uint8_t key;
    std::string p = pattern;
    if (p == "ascending") key = static_cast<uint8_t>(i * 255 / (n ? n : 1));
    else if (p == "descending") key = static_cast<uint8_t>(255 - i * 255 / (n ? n : 1));
    else if (p == "equal") key = 42;
    else if (p == "organ") key = static_cast<uint8_t>(i < n / 2 ? i : n - i);
    else key = static_cast<uint8_t>(rng());
    records.push_back(rec(key, i));
  }
  VxSort sort(sizeof(Rec));
  sort.addKey(0, offsetof(Rec, key), 1);
  sort.setBuf(records.size(), records.data());
  sort.sortBuf();
  ASSERT_TRUE(std::is_sorted(records.begin(), records.end(),
                             [](const Rec& x, const Rec& y) { return x.key < y.key; }))
      << pattern << " n=" << n;
  std::vector<bool> seen(n, false);
  for (const Rec& r : records) {
    ASSERT_LT(r.serial, n);
    ASSERT_FALSE(seen[r.serial]);
    seen[r.serial] = true;
  }
}

TEST_F(VxSortTest, QuicksortOrdersEverySizeAndShape) {
  // Ranges of up to four records are finished without partitioning; from
  // 151 records the pivot comes from a wider sample.
  for (const char* p : {"random", "ascending", "descending", "equal", "organ"}) {
    for (VXSIZE_T n = 0; n <= 160; ++n) expectSortsPattern(n, p);
    expectSortsPattern(100000, p);
  }
}

int16_t countingCompare(void* context, const void* a, const void* b, const VxSortKey*) {
  ++*static_cast<uint64_t*>(context);
  uint8_t x = *static_cast<const uint8_t*>(a), y = *static_cast<const uint8_t*>(b);
  return x < y ? -1 : (x > y ? 1 : 0);
}

TEST_F(VxSortTest, EqualKeysSplitEvenlyInsteadOfGoingQuadratic) {
  // Both partition scans stop on records equal to the pivot, so 65536
  // equal records cost about n log n comparisons, far below n^2 / 4.
  const VXSIZE_T n = 65536;
  std::vector<uint8_t> bytes(n, 7);
  uint64_t comparisons = 0;
  VxSort sort(1);
  sort.addKey(0, 0, 1, countingCompare, &comparisons);
  sort.setBuf(n, bytes.data());
  sort.sortBuf();
  EXPECT_LT(comparisons, 4 * n * 16);
}

TEST_F(VxSortTest, DescendingKeyPutsHigherKeysFirst) {
  // No stability is promised: only the key order is checked, and the
  // records with equal keys are all still present.
  std::vector<Rec> records;
  for (uint32_t i = 0; i < 200; ++i) records.push_back(rec(static_cast<uint8_t>(i % 2), i));
  VxSort sort(sizeof(Rec));
  sort.addKey(VxSortKey::kDescending, offsetof(Rec, key), 1);
  sort.setBuf(records.size(), records.data());
  sort.sortBuf();
  for (uint32_t i = 0; i < 200; ++i) EXPECT_EQ(i < 100 ? 1 : 0, records[i].key) << i;
}

}  // namespace
