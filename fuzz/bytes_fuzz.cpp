// The byte primitives of but.h against libc and byte loops, on areas and
// offsets decoded from the input. The forward copies must leave what a loop
// from the lowest byte up leaves when source and destination overlap, the
// backward ones what a loop from the highest byte down leaves; fills, zeroing,
// swaps and comparisons must agree with memset, std::swap_ranges and memcmp,
// and the string helpers with strlen, strcmp, strcpy and strcat.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/but.h"

using Bytes = std::vector<uint8_t>;
static void copyUp(uint8_t* d, const uint8_t* s, size_t n) { for (size_t k = 0; k < n; ++k) d[k] = s[k]; }
static void copyDown(uint8_t* d, const uint8_t* s, size_t n) { for (size_t k = n; k-- > 0;) d[k] = s[k]; }
static int sign(int v) { return (v > 0) - (v < 0); }
static void check(bool ok) { if (!ok) abort(); }

// Input: length (mostly short, now and then up to 1200 bytes), source and
// destination offsets, where the compared areas differ, then the areas'
// first bytes; the bytes the input does not give come from a generator.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  const size_t n = data[0] < 200 ? data[0] % 50 : (data[0] - 199u) * 21, s = data[1] % (n + 48), d = data[2] % (n + 48);
  Bytes area(2 * n + 48), other(area.size());
  uint32_t x = data[3];
  for (size_t k = 0; k < 2 * area.size(); ++k)
    (k < area.size() ? area[k] : other[k - area.size()]) = k + 4 < size ? data[k + 4] : uint8_t((x = x * 1103515245u + 12345u) >> 16);
  const uint8_t* o = other.data();
  // Runs op on one copy of area and model on another; the two must agree.
  auto agree = [&](auto op, auto model) { Bytes want = area, got = area; model(want.data()), op(got.data()), check(want == got); };
  for (auto copy : {BUTMEMCP, memCopy, memCopyHuge, memMove, BUTMMCPD, memCopyReverse})
    agree([&](uint8_t* m) { copy(m + d, m + s, n); },
          [&](uint8_t* m) { (copy == BUTMMCPD || copy == memCopyReverse ? copyDown : copyUp)(m + d, m + s, n); });
  const size_t d8 = d & ~size_t{7}, s8 = s & ~size_t{7}, s4 = s & ~size_t{3};
  agree([&](uint8_t* m) { fastMemCopy(m + d, o + s, n); }, [&](uint8_t* m) { memcpy(m + d, o + s, n); });
  agree([&](uint8_t* m) { memCopyAligned(m + d8, o + s8, n); }, [&](uint8_t* m) { memcpy(m + d8, o + s8, n); });
  agree([&](uint8_t* m) { memZero(m + d, n); }, [&](uint8_t* m) { memset(m + d, 0, n); });
  agree([&](uint8_t* m) { memZero4Byte(m + s4, n / 4); }, [&](uint8_t* m) { memset(m + s4, 0, n / 4 * 4); });
  for (auto fill : {BUTU8FIL, memFill, memFillHuge})
    agree([&](uint8_t* m) { fill(m + d, o[0], n); }, [&](uint8_t* m) { memset(m + d, o[0], n); });
  for (auto swap : {BUTMMSWP, memSwap}) {
    Bytes a = area, b = other;
    std::swap_ranges(&a[d], &a[d] + n, &b[s]), swap(&area[d], &other[s], n), check(a == area && b == other);
  }
  // Comparison: the second area equals the first, or differs in one byte.
  std::copy(&area[s], &area[s] + n, &other[d]);
  if (n > 0 && (data[3] & 3) != 0) other[d + data[3] % n] ^= uint8_t(1 + data[3] / 4);
  const uint8_t *p = &area[s], *q = &other[d];
  const int expected = sign(memcmp(p, q, n));
  check(expected == memCompare(p, q, n) && expected == BUTMMCMP(p, q, n) && -expected == memCompareHuge(q, p, n) &&
        (expected == 0) == memEqual(p, q, n));
  // Short strings: the areas hold a NUL now and then, and end with one.
  area.back() = other.back() = 0;
  const char *a = reinterpret_cast<char*>(&area[s]), *b = reinterpret_cast<char*>(&other[d]);
  std::string joined = std::string(a) + b;
  std::vector<char> buf(joined.size() + 1, '#');
  check(strlen(a) == BUTSTLEN(a) && sign(strcmp(a, b)) == sign(BUTSTCMP(a, b)) && BUTSTCPY(buf.data(), a) == &buf[strlen(a)] &&
        BUTSTCAT(buf.data(), b) == &buf[joined.size()] && joined == buf.data());
  return 0;
}
