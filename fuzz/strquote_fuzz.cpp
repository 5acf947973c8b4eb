// Quoting and unquoting over arbitrary bytes.
//
// strRemoveQuotes and strCopyUnquoted run on buffers of exactly the input's
// length, so reading or writing past it is caught. Then the input is
// quoted with strCopyQuoted; in the locale kind nothing is dropped, so both
// unquoting functions must give the input back.
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "foundation/vxdbcs.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (setlocale(LC_ALL, "C.UTF-8") == nullptr) setlocale(LC_ALL, "C");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const vxCPType kind = (data[0] & 1) ? VX_CP_UTF8 : VX_CP_LOCALE;
  const char quote = (data[0] & 2) ? '"' : '\'';
  const char* src = reinterpret_cast<const char*>(data + 1);
  size_t n = size - 1;

  std::unique_ptr<char[]> inPlace(new char[n + 1]);
  memcpy(inPlace.get(), src, n);
  VXSIZE_T removed = strRemoveQuotes(inPlace.get(), n, quote, kind);
  if (removed > n) abort();

  std::unique_ptr<char[]> unquoted(new char[n + 1]);
  char* end = strCopyUnquoted(unquoted.get(), src, n);
  if (static_cast<size_t>(end - unquoted.get()) > (n >= 2 ? n - 2 : 0)) abort();

  std::unique_ptr<char[]> quoted(new char[2 * n + 3]);
  char* past = strCopyQuoted(quoted.get(), src, n, VX_CP_LOCALE, quote);
  size_t qn = static_cast<size_t>(past - quoted.get()) - 1;  // without the NUL
  if (qn + 1 > 2 * n + 3) abort();

  std::unique_ptr<char[]> back(new char[qn + 1]);
  memcpy(back.get(), quoted.get(), qn);
  if (strRemoveQuotes(back.get(), qn, quote, VX_CP_LOCALE) != n) abort();
  if (memcmp(back.get(), src, n) != 0) abort();

  std::unique_ptr<char[]> copied(new char[qn + 1]);
  end = strCopyUnquoted(copied.get(), quoted.get(), qn);
  if (static_cast<size_t>(end - copied.get()) != n || memcmp(copied.get(), src, n) != 0) abort();
  return 0;
}
