// strLike over arbitrary text and pattern bytes.
//
// The first input byte picks the case mode, whether trailing blanks count
// and the code-page kind; the second where the rest splits into text and
// pattern. Each is copied into a buffer of exactly its length, so reading
// past either end is caught. Properties checked besides memory safety:
// a lone % matches everything when blanks count; an ASCII text matches
// itself with every byte escaped; the pattern-length-free forms agree.
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "foundation/vxdbcs.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // A multibyte locale, so that kind 1 sees two-byte characters.
  if (setlocale(LC_ALL, "C.UTF-8") == nullptr) setlocale(LC_ALL, "C");
  return 0;
}

namespace {

const vxCPType kKinds[] = {VX_CP_LOCALE, VX_CP_UCS2, VX_CP_UTF8, VX_CP_BYTES};

bool likeExact(const std::string& text, const std::string& pattern, int16_t caseSensitive,
               int16_t blanks, vxCPType cp) {
  std::unique_ptr<char[]> t(new char[text.size() + 1]);
  std::unique_ptr<char[]> p(new char[pattern.size() + 1]);
  memcpy(t.get(), text.data(), text.size());
  memcpy(p.get(), pattern.data(), pattern.size());
  return strLike(t.get(), text.size(), p.get(), pattern.size(), '%', '_', '\\', caseSensitive,
                 blanks, cp);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  uint8_t mode = data[0];
  int16_t caseSensitive = mode & 1;
  int16_t blanks = (mode >> 1) & 1;
  vxCPType cp = kKinds[(mode >> 2) & 3];
  std::string rest(reinterpret_cast<const char*>(data + 2), size - 2);
  size_t split = rest.empty() ? 0 : data[1] % (rest.size() + 1);
  std::string text = rest.substr(0, split);
  std::string pattern = rest.substr(split);

  bool answer = likeExact(text, pattern, caseSensitive, blanks, cp);

  if (text.find('\0') == std::string::npos && pattern.find('\0') == std::string::npos) {
    bool terminated = strLike(text.c_str(), pattern.c_str(), '%', '_', '\\', caseSensitive,
                              blanks, cp);
    if (terminated != answer) abort();
  }
  if (blanks != 0 && !likeExact(text, "%", caseSensitive, blanks, cp)) abort();

  bool ascii = true;
  for (unsigned char c : text) ascii = ascii && c < 0x80;
  if (ascii) {
    std::string escaped;
    for (char c : text) {
      escaped += '\\';
      escaped += c;
    }
    if (!likeExact(text, escaped, 1, 1, cp)) abort();
  }
  return 0;
}
