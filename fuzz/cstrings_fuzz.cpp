// The comparisons and searches of vxstr.h in the "C" locale, where every
// byte is a character, against std::string and libc: plain, case-blind,
// counted and "Intl" comparison, searches for a character and a substring,
// and the character-class tests. The two strings are decoded from the input
// over a small alphabet, so that equal prefixes, case twins, quotes and
// blanks come up often.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/vxdbcs.h"

static std::string upper(std::string s) { for (char& c : s) c = char(toupper(c & 0xFF)); return s; }
static int sign(int v) { return (v > 0) - (v < 0); }
static void check(bool ok) { if (!ok) abort(); }

// Input: five control bytes (a count, a character, the class set, how the
// second string is made, which substring is sought), then the strings.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string alphabet = "aAbBzZ \t\n\v'\"`09-_\x80\xE9";
  static const char *const extras[] = {nullptr, "-_", "'", nullptr},
                    *const classChars[] = {"abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "0123456789"};
  if (size < 5 || size > 40) return 0;
  std::string a, b;
  for (size_t k = 5; k < size; ++k) (k < (size + 5) / 2 ? a : b) += alphabet[data[k] % alphabet.size()];
  if (data[3] % 3 == 1) b = upper(a);  // a case twin, or a prefix of a and one more character
  if (data[3] % 3 == 2) b = a.substr(0, data[4] % (a.size() + 1)) + b.substr(0, 1);
  const char *x = a.c_str(), *y = b.c_str();
  const size_t na = a.size(), nb = b.size(), n = data[0] % (na + 1), npos = std::string::npos;
  auto at = [x](const char* p) { return p == nullptr ? npos : size_t(p - x); };
  const int want = sign(a.compare(b)), wantCi = sign(upper(a).compare(upper(b)));
  check(sign(strCompare(x, y)) == want && strCompare(x, na, y, nb) == want && strEqual(x, y) == (want == 0) &&
        strEqual(x, na, y, nb) == (want == 0) && sign(strCompareIntl(x, y)) == want && sign(strCompareIntl(x, na, y, nb)) == want &&
        sign(strCompareCiIntl(x, y)) == want && sign(strCompareCiIntl(x, na, y, nb)) == want &&
        sign(strCompareWithMaxLength(x, y, n)) == sign(strncmp(x, y, n)));
  check(strCompareCi(x, y) == wantCi && strCompareCi(x, na, y, nb) == wantCi && strEqualCi(x, y) == (wantCi == 0) &&
        strEqualCi(x, na, y, nb) == (wantCi == 0) && isCharEqual(x, y, 1) == (a[0] == b[0]) &&
        isCharEqual(x, y, 0) == (toupper(a[0] & 0xFF) == toupper(b[0] & 0xFF)));
  // The optioned form searches from the end whichever option is given.
  const char ch = alphabet[data[1] % alphabet.size()];
  check(at(strFind(x, ch)) == a.find(ch) && at(strFindAnsi(x, ch)) == a.find(ch) && at(strFindReverse(x, ch)) == a.rfind(ch) &&
        at(strFind(x, ch, STRFIND_FIRST)) == a.rfind(ch) && at(strFind(x, ch, STRFIND_LAST)) == a.rfind(ch));
  const std::string pat = data[3] & 0x80 ? b.substr(0, 3) : a.substr(data[4] % (na + 1), 2), up = upper(pat);
  std::string low = pat;
  for (char& c : low) c = char(tolower(c & 0xFF));
  const size_t wantSub = pat.empty() ? npos : a.find(pat), wantCiSub = pat.empty() ? npos : upper(a).find(up);
  check(at(strFind(x, pat.c_str())) == wantSub && at(strFind(x, na, pat.data(), pat.size())) == wantSub &&
        at(strFindCi(x, pat.c_str())) == wantCiSub && at(strFindCi(x, na, pat.data(), pat.size())) == wantCiSub &&
        at(strFindCi(x, na, up.data(), low.data(), pat.size())) == wantCiSub);
  const char* extra = extras[data[2] & 3];
  const uint16_t classes = (data[2] >> 2) & 7;
  std::string set = extra != nullptr ? extra : "";
  for (int k = 0; k < 3; ++k) set += classes & (1 << k) ? classChars[k] : "";
  check(strContains(x, na, extra, classes) == (a.find_first_not_of(set) == npos) &&
        strDoesNotContain(x, na, extra, classes) == (a.find_first_of(set) == npos));
  return 0;
}
