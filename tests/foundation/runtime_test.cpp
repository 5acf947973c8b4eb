// The heap routines and their failure hook, the object root and the
// library's allocation operators, the scope holder, the initialisation
// count, message texts and their catalog, and the run-time debug switch.
#include <gtest/gtest.h>
#include <nl_types.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "bos/mdsint.h"
#include "foundation/cntdblib.h"
#include "foundation/msgtext_internal.h"
#include "foundation/ram.h"
#include "foundation/ram_internal.h"
#include "foundation/vxautofr.h"
#include "foundation/vxobject.h"

namespace {

// Output of a shell command; its exit status goes to *status.
std::string run(const std::string& command, int* status) {
  FILE* p = popen(command.c_str(), "r");
  std::string out;
  char line[512];
  while (p != nullptr && fgets(line, sizeof line, p)) out += line;
  *status = p != nullptr ? pclose(p) : -1;
  return out;
}

TEST(Heap, StringCopiesResizeFailureHookObjectRootAndInitialisingOperators) {
  char *prefix = ramAllocStr("abcdef", 3), *whole = ramAllocStr("hello"), *empty = ramAllocStr("xyz", 0);
  EXPECT_TRUE(std::string("abc") == prefix && std::string("hello") == whole && std::string() == empty);
  free(prefix), free(empty);
  EXPECT_FALSE(ramResize(&whole, 4096));
  whole[4095] = 'z';  // the new size is usable, and the text kept
  EXPECT_STREQ("hello", whole);
  char* before = whole;
  ramFailAllocationAfter(1);
  EXPECT_TRUE(ramResize(&whole, 1 << 20) && whole == before && std::string("hello") == whole);
  EXPECT_TRUE(!ramResize(&whole, 0) && whole != nullptr);  // a 1-byte block, not a freed one
  free(whole);
  // The n-th allocation from now fails, once; 0 disarms.
  ramFailAllocationAfter(3);
  void* p[4];
  for (void*& q : p) q = ramAlloc(8);
  EXPECT_TRUE(p[0] != nullptr && p[1] != nullptr && p[2] == nullptr && p[3] != nullptr);
  ramFailAllocationAfter(1), ramFailAllocationAfter(0);
  EXPECT_NE(nullptr, p[2] = static_cast<void*>(ramAllocStr("x")));
  for (void* q : p) free(q);
  // Every allocating entry gives null, not an exception, when the hook fires.
  void* block = malloc(4);
  std::function<void*()> entries[] = {
      [] { return ramAllocStr("abc"); }, [] { return ramAlloc(8); }, [] { return ramAllocZeroed(8); }, [&] { return ramRealloc(block, 64); },
      [] { return new VxObject; }, [] { return VxObject::operator new[](8); }, [] { return operator new[](32, RamInitType(0)); },
      [] { return operator new[](32, RamInitType(1)); }};
  for (auto& entry : entries) EXPECT_EQ(nullptr, (ramFailAllocationAfter(1), entry())) << &entry - entries;
  EXPECT_NE(nullptr, block = ramRealloc(block, 64));
  free(block);
  // The object root and the initialising operators.
  VxObject a, b;
  EXPECT_TRUE(a.compare(&b) == 0 && b.compare(&a) == 0);
  void *x = VxObject::operator new(0), *y = VxObject::operator new[](0);
  EXPECT_TRUE(x != nullptr && y != nullptr && x != y);
  VxObject::operator delete(x);
  VxObject::operator delete[](y);
  // Called through pointers: the blocks are released with free(), as documented.
  void* (*volatile initNew)(size_t, RamInitType) noexcept = &operator new, *(*volatile initNewArray)(size_t, RamInitType) noexcept = &operator new[];
  for (int init : {0, 1}) {
    unsigned char *one = static_cast<unsigned char*>(initNew(0, init)), *many = static_cast<unsigned char*>(initNewArray(64, init));
    ASSERT_TRUE(one != nullptr && many != nullptr);
    EXPECT_TRUE(init != 0 || (one[0] == 0 && std::all_of(many, many + 64, [](unsigned char c) { return c == 0; })));
    one[0] = many[63] = 1;
    free(one), free(many);
  }
  // The holder frees what it holds last (ASan reports a leak otherwise).
  AFPU8 holder, none;
  uint8_t* held = static_cast<uint8_t*>(malloc(4));
  EXPECT_TRUE(static_cast<uint8_t*>(holder) == nullptr && (holder = held) == held && static_cast<uint8_t*>(holder) == held);
  none = nullptr;
}

// Deliberate: the shared library defines none of the replaceable global
// operators, so loading it cannot change how the host allocates.
TEST(Heap, SharedLibraryDoesNotReplaceTheHostsOperators) {
  int status;
  std::string symbols = run(std::string("nm -D --defined-only '") + VX_SHARED_LIBRARY + "'", &status);
  ASSERT_TRUE(status == 0 && !symbols.empty());
  for (const char* name : {" _Znwm\n", " _Znam\n", " _ZdlPv\n", " _ZdaPv\n", " _ZdlPvm\n", " _ZdaPvm\n", " _ZnwmRKSt9nothrow_t\n"})
    EXPECT_EQ(std::string::npos, symbols.find(name)) << name;
  EXPECT_NE(std::string::npos, symbols.find(" _Znwmi\n"));  // the library's own form
}

intptr_t initsSlot() { return reinterpret_cast<intptr_t>(mdsGetPerTaskData(MDS_TASK_DBLIB_INITS)); }

// Non-zero adds one, zero subtracts one; the count comes back narrowed to
// 16 bits (deliberate) while the slot keeps it whole.
TEST(Threads, InitialisationCountLosesNoUpdate) {
  const intptr_t base = initsSlot();
  EXPECT_TRUE(countDBLibInits(1) == int16_t(base + 1) && countDBLibInits(7) == int16_t(base + 2) && initsSlot() == base + 2);
  EXPECT_TRUE(countDBLibInits(0) == int16_t(base + 1) && countDBLibInits(0) == int16_t(base) && initsSlot() == base);
  mdsSetPerTaskData(MDS_TASK_DBLIB_INITS, reinterpret_cast<void*>(intptr_t{32767}));
  EXPECT_TRUE(countDBLibInits(-1) == -32768 && initsSlot() == 32768);
  for (int32_t increment : {1, 0}) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
      threads.emplace_back([increment] { for (int k = 0; k < 2000; ++k) countDBLibInits(increment); });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(increment ? 32768 + 8000 : 32768, initsSlot());
  }
  mdsSetPerTaskData(MDS_TASK_DBLIB_INITS, reinterpret_cast<void*>(base));
}

// The English texts compile with gencat into a catalog that holds every
// number the library reports, and the library reads the same texts: cut to
// size - 1, the number itself where the catalog has none. (Which markers a
// text holds is data, checked where the reports are: the error-list tests
// compare a filled-in catalog text.)
TEST(MessageText, CatalogHoldsEveryReportedNumberAndTheLibraryReadsIt) {
  const std::string catalog = VX_TEST_BINARY_DIR "/messages_test.cat";
  int status;
  std::string out = run("gencat '" + catalog + "' '" VX_TEST_SOURCE_DIR "/foundation/messages.msg' 2>&1", &status);
  ASSERT_TRUE(status == 0 && out.empty()) << out;
  nl_catd cat = catopen(catalog.c_str(), 0);
  ASSERT_NE(reinterpret_cast<nl_catd>(-1), cat);
  char buffer[1024];
  for (auto range : {std::make_pair(4, 4), {1018, 1018}, {1023, 1024}, {30190, 30190}, {1502, 1524}, {2701, 2739}, {7500, 7508}, {30040, 30050}})
    for (int n = range.first; n <= range.second; ++n) {
      const std::string text = catgets(cat, 1, n, "");
      EXPECT_TRUE(!text.empty() && loadMessageText(uint16_t(n), buffer, sizeof buffer) == text.size() && text == buffer) << n;
    }
  EXPECT_TRUE(loadMessageText(30190, buffer, 0) == 13 && std::string("Out Of Memory") == buffer);
  EXPECT_TRUE(loadMessageText(30190, buffer, 3) == 2 && std::string("Ou") == buffer);
  EXPECT_TRUE(loadMessageText(65535, buffer, 0) == 5 && std::string("65535") == buffer);
  catclose(cat);
}

// The probe prints the mask read at load, then sets the variable and prints
// it again (the "after" line: the mask must not change): hexadecimal up to the first other character, 0 when nothing
// parses or the variable is unset, debug items test the low 32 bits only.
TEST(RunTimeDebug, MaskIsReadAsHexadecimalOnceAtLoad) {
  struct { const char *value, *expected; } rows[] = {
      {"101", "mask=101 low32=101 file=1 exists=100 locate=0\nafter=101\n"},
      {"zz", "mask=0 low32=0 file=0 exists=0 locate=0\nafter=0\n"},
      {nullptr, "mask=0 low32=0 file=0 exists=0 locate=0\nafter=0\n"},
      {"3zz", "mask=3 low32=3 file=1 exists=0 locate=2\nafter=3\n"},
      {"0xff", "mask=ff low32=ff file=1 exists=0 locate=2\nafter=ff\n"},
      {"100000002", "mask=100000002 low32=2 file=0 exists=0 locate=2\nafter=100000002\n"}};
  for (const auto& r : rows) {
    int status;
    std::string env = r.value != nullptr ? std::string("VX_DEBUGGING='") + r.value + "' " : "env -u VX_DEBUGGING ";
    EXPECT_EQ(r.expected, run(env + VX_TRACE_PROBE, &status)) << (r.value != nullptr ? r.value : "unset");
    EXPECT_EQ(0, status);
  }
}

}  // namespace
