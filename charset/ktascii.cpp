// The exact ASCII fast path of the bulk conversions: which converters
// allow it, and the copy itself.
#include <unicode/ucnv_cb.h>

#include <cstring>

#include "charset/ktwchar_internal.h"

namespace vxcharset {

namespace {

// Whether both directions of the converter are the identity on ASCII.
// The from-Unicode callback is set to "stop" during the probe, so that an
// owner's substitution watcher never sees the probe's characters.
bool probeAsciiTransparent(UConverter* converter) {
  char bytes[128];
  UChar units[128];
  for (int i = 0; i < 128; ++i) {
    bytes[i] = char(i);
    units[i] = UChar(i);
  }
  UChar decoded[256];
  UErrorCode status = U_ZERO_ERROR;
  int32_t n = ucnv_toUChars(converter, decoded, 256, bytes, 128, &status);
  if (U_FAILURE(status) || n != 128 || memcmp(decoded, units, sizeof units) != 0) return false;

  UConverterFromUCallback oldCallback;
  const void* oldContext;
  status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, &oldCallback, &oldContext,
                        &status);
  if (U_FAILURE(status)) return false;
  char encoded[512];
  status = U_ZERO_ERROR;
  n = ucnv_fromUChars(converter, encoded, sizeof encoded, units, 128, &status);
  bool same = U_SUCCESS(status) && n == 128 && memcmp(encoded, bytes, 128) == 0;
  UErrorCode restore = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter, oldCallback, oldContext, nullptr, nullptr, &restore);
  return same;
}

// The last few answers of this thread, keyed by the converter and its
// name (the name tells a converter from a later one at the same address).
struct AsciiMemo {
  UConverter* converter;
  const char* name;
  bool transparent;
};
constexpr int kMemoSize = 8;
thread_local AsciiMemo memo[kMemoSize];
thread_local int memoNext = 0;

}  // namespace

bool isAsciiTransparent(UConverter* converter) {
  UErrorCode status = U_ZERO_ERROR;
  const char* name = ucnv_getName(converter, &status);
  for (const AsciiMemo& m : memo) {
    if (m.converter == converter && m.name == name) return m.transparent;
  }
  bool transparent = probeAsciiTransparent(converter);
  memo[memoNext] = AsciiMemo{converter, name, transparent};
  memoNext = (memoNext + 1) % kMemoSize;
  return transparent;
}

// Eight bytes at a time under the mask 0x8080808080808080; a shorter tail
// is tested byte by byte. Loads go through memcpy, so the buffers need no
// particular alignment.
int64_t copyAsciiPrefix(char* out, const char* in, int64_t n) {
  int64_t i = 0;
  for (; i + 8 <= n; i += 8) {
    uint64_t word;
    memcpy(&word, in + i, 8);
    if ((word & 0x8080808080808080ULL) != 0) return i;
    memcpy(out + i, &word, 8);
  }
  int64_t tail = i;
  for (int64_t j = i; j < n; ++j) {
    if ((static_cast<unsigned char>(in[j]) & 0x80) != 0) return tail;
  }
  memcpy(out + i, in + i, size_t(n - i));
  return n;
}

int64_t byteLength(const char* in, int64_t length) {
  return length < 0 ? int64_t(strlen(in)) : length;
}

}  // namespace vxcharset
