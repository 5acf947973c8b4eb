// The library's scrambling routine, used to keep saved texts from being
// readable at a glance. It is not a cipher to protect secrets.
#include <cstring>

#include "foundation/but.h"

namespace {

enum ScrambleMethod : uint16_t {
  kComplement = 1,          // every byte complemented
  kComplementKeepLines = 2, // as 1, but 0x0A and its complement 0xF5 stay
  kKeyedPairs = 3           // the keyed pair rounds below
};

constexpr uint8_t kLineFeed = 0x0A;
constexpr uint8_t kLineFeedComplement = 0xF5;

// Method 3's working key starts as this; a key text overwrites its start.
constexpr uint8_t kDefaultKey[16] = {'V', 'x', 'L', 'i', 'b', 'S', 'c', 'r',
                                     'a', 'm', 'b', 'l', 'e', 'K', 'e', 'y'};
constexpr uint8_t kDelta = 0x9E;
constexpr int kRounds = 32;

struct PairKey {
  uint8_t k0, k1, k2, k3;
};

// Up to 15 characters of the key text and a NUL are copied over the start
// of the default key; only the first four bytes of the result are used.
PairKey workingKey(const char* key) {
  uint8_t k[16];
  memcpy(k, kDefaultKey, sizeof k);
  if (key != nullptr) {
    size_t len = strnlen(key, 15);
    memcpy(k, key, len);
    k[len] = 0;
  }
  return PairKey{k[0], k[1], k[2], k[3]};
}

// One mixing term: ((v shl 4) + a) xor (v + sum) xor ((v shr 5) + b), all
// on 8-bit values.
inline uint8_t mix(uint8_t v, uint8_t sum, uint8_t a, uint8_t b) {
  return uint8_t(uint8_t(uint8_t(v << 4) + a) ^ uint8_t(v + sum) ^ uint8_t((v >> 5) + b));
}

void encipherPair(uint8_t& y, uint8_t& z, const PairKey& k) {
  uint8_t sum = 0;
  for (int round = 0; round < kRounds; ++round) {
    sum = uint8_t(sum + kDelta);
    y = uint8_t(y + mix(z, sum, k.k0, k.k1));
    z = uint8_t(z + mix(y, sum, k.k2, k.k3));
  }
}

void decipherPair(uint8_t& y, uint8_t& z, const PairKey& k) {
  uint8_t sum = uint8_t(kRounds * kDelta);
  for (int round = 0; round < kRounds; ++round) {
    z = uint8_t(z - mix(y, sum, k.k2, k.k3));
    y = uint8_t(y - mix(z, sum, k.k0, k.k1));
    sum = uint8_t(sum - kDelta);
  }
}

void complementAll(uint8_t* p, VXSIZE_T n) {
  for (VXSIZE_T k = 0; k < n; ++k) p[k] = uint8_t(~p[k]);
}

void complementKeepingLines(uint8_t* p, VXSIZE_T n) {
  for (VXSIZE_T k = 0; k < n; ++k)
    if (p[k] != kLineFeed && p[k] != kLineFeedComplement) p[k] = uint8_t(~p[k]);
}

// The partner of the byte at i: the next byte, or byte 0 when i is the
// last offset (an odd length wraps its last pair around).
inline VXSIZE_T partner(VXSIZE_T i, VXSIZE_T n) { return i + 1 == n ? 0 : i + 1; }

// Method 3 takes the data in pairs (y at i, z at the partner of i) for
// i = 0, 2, 4, ... and runs 32 rounds on each, with a running 8-bit sum
// that gains 0x9E per round. A single byte is only XORed with k0. Undoing
// it walks the pairs from the last to the first, running the rounds
// backwards from the sum the last round reached (32 * 0x9E mod 256).
void scrambleKeyedPairs(uint8_t* p, VXSIZE_T n, const char* key, bool undo) {
  if (n == 0) return;
  PairKey k = workingKey(key);
  if (n == 1) {
    p[0] ^= k.k0;
    return;
  }
  if (!undo) {
    for (VXSIZE_T i = 0; i < n; i += 2) encipherPair(p[i], p[partner(i, n)], k);
    return;
  }
  VXSIZE_T last = (n - 1) & ~VXSIZE_T(1);
  for (VXSIZE_T i = last + 2; i > 0;) {
    i -= 2;
    decipherPair(p[i], p[partner(i, n)], k);
  }
}

// Methods 1 and 2 are their own inverse; method 3 is undone by walking
// back. Any other method leaves the data as it is.
void scramble(void* data, VXSIZE_T n, uint16_t method, const char* key, bool undo) {
  uint8_t* p = static_cast<uint8_t*>(data);
  switch (method) {
    case kComplement:
      complementAll(p, n);
      break;
    case kComplementKeepLines:
      complementKeepingLines(p, n);
      break;
    case kKeyedPairs:
      scrambleKeyedPairs(p, n, key, undo);
      break;
    default:
      break;
  }
}

}  // namespace

void encrypt(void* data, VXSIZE_T n, uint16_t method, const char* key) {
  scramble(data, n, method, key, false);
}

void decrypt(void* data, VXSIZE_T n, uint16_t method, const char* key) {
  scramble(data, n, method, key, true);
}
