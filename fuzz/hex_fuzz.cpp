// Hexadecimal decoders over arbitrary bytes: dehexify (plain and escape
// forms) and wideDehexify must stay inside their output and report bad
// digits as status 1; whenever the input is valid hexadecimal the decoded
// bytes must encode back to the same digits.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "foundation/but.h"
#include "foundation/vxerror.h"

namespace {

bool isDigit(uint8_t c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

uint8_t upper(uint8_t c) { return (c >= 'a' && c <= 'f') ? uint8_t(c - 32) : c; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A list per input keeps the posted errors from piling up.
  VxErrorList errors(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&errors);

  const char* text = reinterpret_cast<const char*>(data);
  bool allDigits = isHexString(text, size);
  size_t digits = 0;
  bool wideDigitsOnly = true;
  for (size_t k = 0; k < size; ++k) {
    if (data[k] == 0) continue;
    ++digits;
    if (!isDigit(data[k])) wideDigitsOnly = false;
  }

  // Exactly sized outputs, so that ASan catches any write past the end.
  std::vector<uint8_t> out((size + 1) / 2 + 1);
  unsigned status = dehexify(out.data(), text, size);
  if (status != (allDigits ? 0u : 1u)) abort();
  if (!allDigits && VxErrorKeeper::getLastErrorNumber() != 2708) abort();

  if (allDigits) {
    // Encoding the complete bytes gives back the digits, upper-cased.
    size_t whole = size / 2;
    std::vector<char> again(2 * whole + 1);
    hexify(again.data(), out.data(), whole);
    for (size_t k = 0; k < 2 * whole; ++k)
      if (uint8_t(again[k]) != upper(data[k])) abort();
    if ((size & 1) && (out[whole] & 0x0F) != 0) abort();
  }

  // Escape form: at most two output bytes per input pair.
  std::vector<uint8_t> escaped(size + 1);
  uint8_t escape = size > 0 ? data[0] : 0;
  VXSIZE_T count = ~VXSIZE_T(0);
  status = dehexify(escaped.data(), text, size, escape, &count);
  if (status != (allDigits ? 0u : 1u)) abort();
  if (status == 0 && count > size / 8) abort();
  if (status == 1 && count != ~VXSIZE_T(0)) abort();

  std::vector<uint8_t> wide((digits + 1) / 2 + 1);
  status = wideDehexify(wide.data(), data, size);
  if (status != (wideDigitsOnly ? 0u : 1u)) abort();

  VxErrorKeeper::giveUpErrorList();
  return 0;
}
