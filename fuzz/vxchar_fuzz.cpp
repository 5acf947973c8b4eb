// The character-stepping functions over arbitrary bytes, in every kind.
//
// The input, followed by zero bytes (the terminator, and enough for a
// 16-bit zero unit), is walked with vxCharNext, stepped back with
// vxCharPrev from every position, counted and measured. Besides memory
// safety the checks are the functions' own promises: steps of 1 to 4
// bytes, vxCharPrev never before start nor at or after p, counts within
// the byte length, the last character before the end.
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "foundation/vxdbcs.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (setlocale(LC_ALL, "C.UTF-8") == nullptr) setlocale(LC_ALL, "C");
  return 0;
}

namespace {

const vxCPType kKinds[] = {VX_CP_LOCALE, VX_CP_UCS2, VX_CP_UTF8, VX_CP_BYTES};

void check(bool ok) {
  if (!ok) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<char> buf(data, data + size);
  buf.insert(buf.end(), 3, '\0');
  const char* s = buf.data();
  const size_t n = size;
  const size_t len = strlen(s);

  check(vxUTF8CharLen(s, n) <= n);
  check(vxUTF8CharLen(s, static_cast<VXSIZE_T>(-3)) <= len);

  for (vxCPType cp : kKinds) {
    VXSIZE_T steps = 0;
    for (VXSIZE_T o = 0; o < n; ++steps) {
      VXSIZE_T size1 = vxCharSize(s, o, cp);
      check(size1 >= 1 && size1 <= 4);
      check(vxCharNext(s, o, cp) == o + size1);
      check(vxCharNext(s + o, cp) == s + o + size1);
      check(vxCharEqual(s + o, s + o, cp));
      o += size1;
    }
    if (cp != VX_CP_UCS2) check(vxCharLen(s, n, cp) == steps);
    check(vxCharLen(s, cp) <= (cp == VX_CP_UCS2 ? (n + 1) / 2 : len));

    for (size_t p = 1; p <= n; ++p) {
      const char* prev = vxCharPrev(s, s + p, cp);
      check(prev >= s && prev < s + p);
      check(vxCharPrev(s, p, cp) == static_cast<VXSIZE_T>(prev - s));
    }
    check(vxCharPrev(s, s, cp) == s);

    const char* last = vxCharLast(s, cp);
    check(last >= s && (len == 0 ? last == s : last < s + len));
    check(n == 0 || vxCharLast(s, n, cp) < n);

    const char* skipped = vxSkipBlanks(s, cp);
    check(skipped >= s && skipped <= s + len);
  }
  for (size_t p = 0; p < n; ++p) {
    vxIs2ndByte(s, s + p);
    vxStrSBCSChar(s, s + p, 'a');
    vxIsWhiteSpace(s + p);
    vxIsAlpha(s + p);
  }
  return 0;
}
