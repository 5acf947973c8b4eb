// Fuzz target for the load-time profile reader's look-up over arbitrary
// file images.
//
// Input: byte 0 is the output size (0 to 255), then "SECTION<TAB>KEY" up to
// the first line end (no tab: a null key, which lists the section's keys),
// then the image, in a heap buffer of exactly its size. The look-up must
// stay within the image and the output: the count returned is below the
// output size, the output is terminated there, and a value returned that is
// not the default is a piece of the image (at most 255 bytes of it).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "charset/ucnv.h"

namespace {

void check(bool condition) {
  if (!condition) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  int64_t outSize = data[0];
  std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  size_t lineEnd = rest.find('\n');
  std::string head = rest.substr(0, lineEnd);
  std::string image = lineEnd == std::string::npos ? std::string() : rest.substr(lineEnd + 1);
  size_t tab = head.find('\t');
  std::string section = head.substr(0, tab);
  std::string key = tab == std::string::npos ? std::string() : head.substr(tab + 1);
  if (section.find('\0') != std::string::npos || key.find('\0') != std::string::npos) return 0;
  std::unique_ptr<char[]> text(new char[image.size() + 1]);
  memcpy(text.get(), image.data(), image.size());
  std::unique_ptr<char[]> out(new char[size_t(outSize) + 1]);
  char* output = outSize == 0 ? nullptr : out.get();
  const char* dflt = "<default>";
  int64_t n = ucnvNWGetProfileString(text.get(), int64_t(image.size()), section.c_str(),
                                     tab == std::string::npos ? nullptr : key.c_str(), dflt,
                                     output, outSize);
  if (outSize == 0) {
    check(n == 0);
    return 0;
  }
  check(n >= 0 && n < outSize && output[n] == 0);
  if (tab != std::string::npos) {
    std::string value(output, size_t(n));
    check(n == int64_t(strlen(output)));
    check(std::string(dflt).compare(0, value.size(), value) == 0 || image.find(value) != std::string::npos);
    check(value.size() <= 255);
  }
  return 0;
}
