// Hexadecimal encoding and decoding of binary data, plain and UTF-16.
#include "foundation/but.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

// Value of a hexadecimal digit in either case, or -1.
inline int digitValue(uint8_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Collects decoded digits into bytes: the first of a pair sets the output
// byte to digit * 16, the second adds its value and moves to the next byte.
// An odd number of digits leaves the last one in the high nibble of the
// byte after the last complete one.
class NibbleWriter {
 public:
  explicit NibbleWriter(void* out) : out_(static_cast<uint8_t*>(out)) {}

  // Returns the byte just completed, or null when the digit started a byte.
  const uint8_t* put(int digit) {
    if (!low_) {
      *out_ = uint8_t(digit << 4);
      low_ = true;
      return nullptr;
    }
    *out_ = uint8_t(*out_ + digit);
    low_ = false;
    return out_++;
  }

  uint8_t* next() { return out_; }
  void skipTo(uint8_t* p) { out_ = p; }

 private:
  uint8_t* out_;
  bool low_ = false;
};

unsigned badDigit() {
  addError(kErrInvalidHexDigit);
  return 1;
}

}  // namespace

// Digits come from the low nibble up, into the buffer's tail end, while the
// value has bits left or fewer than minDigits have been made; the value 0
// with a minimum of 0 still gives one digit.
uint16_t hexify(char* out, uint64_t value, uint16_t minDigits) {
  uint16_t significant = 1;
  for (uint64_t rest = value >> 4; rest != 0; rest >>= 4) ++significant;
  uint16_t count = significant > minDigits ? significant : minDigits;
  out[count] = '\0';
  for (uint16_t k = count; k > 0; --k) {
    out[k - 1] = kDigits[value & 0xF];
    value >>= 4;
  }
  return count;
}

// In place (out == in) each byte is read before its two characters are
// written; going from the last byte down, the characters of byte k land at
// 2k and 2k+1, at or above k, where only bytes already read lived.
VXSIZE_T hexify(char* out, const void* in, VXSIZE_T n) {
  const uint8_t* bytes = static_cast<const uint8_t*>(in);
  if (static_cast<const void*>(out) == in) {
    for (VXSIZE_T k = n; k > 0; --k) {
      uint8_t b = bytes[k - 1];
      out[2 * k - 2] = kDigits[b >> 4];
      out[2 * k - 1] = kDigits[b & 0xF];
    }
  } else {
    for (VXSIZE_T k = 0; k < n; ++k) {
      out[2 * k] = kDigits[bytes[k] >> 4];
      out[2 * k + 1] = kDigits[bytes[k] & 0xF];
    }
  }
  return 2 * n;
}

VXSIZE_T hexifyHuge(char* out, const void* in, VXSIZE_T n) { return hexify(out, in, n); }

// Each digit becomes a little-endian UTF-16 unit: the digit byte, then 0.
// In place it runs from the last byte down for the same reason as hexify.
VXSIZE_T wideHexify(void* out, const void* in, VXSIZE_T n) {
  uint8_t* o = static_cast<uint8_t*>(out);
  const uint8_t* bytes = static_cast<const uint8_t*>(in);
  auto writeByte = [o](VXSIZE_T k, uint8_t b) {
    o[4 * k] = uint8_t(kDigits[b >> 4]);
    o[4 * k + 1] = 0;
    o[4 * k + 2] = uint8_t(kDigits[b & 0xF]);
    o[4 * k + 3] = 0;
  };
  if (out == in) {
    for (VXSIZE_T k = n; k > 0; --k) writeByte(k - 1, bytes[k - 1]);
  } else {
    for (VXSIZE_T k = 0; k < n; ++k) writeByte(k, bytes[k]);
  }
  return 4 * n;
}

unsigned dehexify(void* out, const char* in, VXSIZE_T n) {
  NibbleWriter writer(out);
  for (VXSIZE_T k = 0; k < n; ++k) {
    int digit = digitValue(uint8_t(in[k]));
    if (digit < 0) return badDigit();
    writer.put(digit);
  }
  return 0;
}

unsigned dehexifyHuge(void* out, const char* in, VXSIZE_T n) { return dehexify(out, in, n); }

unsigned wideDehexify(void* out, const void* in, VXSIZE_T n) {
  const uint8_t* text = static_cast<const uint8_t*>(in);
  NibbleWriter writer(out);
  for (VXSIZE_T k = 0; k < n; ++k) {
    if (text[k] == 0) continue;
    int digit = digitValue(text[k]);
    if (digit < 0) return badDigit();
    writer.put(digit);
  }
  return 0;
}

// Every completed byte equal to the escape byte is written a second time,
// for a consumer that reads the escape byte as an escape. Deliberate: the
// count stored on success is the number of bytes written divided by eight
// (rounded down), not the number of bytes. Callers depend on it.
unsigned dehexify(void* out, const char* in, VXSIZE_T n, uint8_t escape, VXSIZE_T* count) {
  uint8_t* start = static_cast<uint8_t*>(out);
  NibbleWriter writer(out);
  for (VXSIZE_T k = 0; k < n; ++k) {
    int digit = digitValue(uint8_t(in[k]));
    if (digit < 0) return badDigit();
    const uint8_t* done = writer.put(digit);
    if (done != nullptr && *done == escape) {
      uint8_t* doubled = writer.next();
      *doubled = escape;
      writer.skipTo(doubled + 1);
    }
  }
  *count = VXSIZE_T(writer.next() - start) / 8;
  return 0;
}

bool isHexString(const char* s, VXSIZE_T n) {
  for (VXSIZE_T k = 0; k < n; ++k)
    if (digitValue(uint8_t(s[k])) < 0) return false;
  return true;
}
