// The CSV driver's conversions on arbitrary bytes.
//
// The first byte picks a code page. The rest, read in that code page,
// either converts to UTF-8 that goes to UTF-16 and back unchanged (and, for
// the single-byte code pages, back into the same bytes), or fails with
// exactly one record, 7640 with SQLSTATE 22021. The same bytes taken as
// UTF-8 go to UTF-16 and back unchanged exactly when ICU finds them valid.
#include <unicode/ustring.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "drivers/csv/csvcodepage.h"
#include "foundation/vxerror.h"

namespace {

void check(bool condition) {
  if (!condition) abort();
}

// One record, the driver's conversion failure, or none; then forgotten.
bool failedOnce(VxErrorList& errors) {
  bool failed = errors.getCount() == 1 && errors.at(0)->getErrorNumber() == 7640 &&
                strcmp(errors.at(0)->getInterfaceCode(), "22021") == 0;
  check(failed || errors.getCount() == 0);
  errors.clearErrors();
  return failed;
}

bool validUtf8(const std::string& text) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t units = 0;
  u_strFromUTF8(nullptr, 0, &units, text.data(), int32_t(text.size()), &status);
  return status == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(status);
}

// UTF-8 to UTF-16 and back: unchanged, or a failure when it is not valid.
void checkWideRoundTrip(VxErrorList& errors, const std::string& utf8) {
  std::u16string wide;
  std::string back;
  bool converted = csvUtf8ToWide(utf8, wide);
  check(failedOnce(errors) == !converted && converted == (utf8.empty() || validUtf8(utf8)));
  if (!converted) return;
  check(csvWideToUtf8(reinterpret_cast<const SQLWCHAR*>(wide.data()), SQLLEN(wide.size()), back) && back == utf8);
  check(!failedOnce(errors));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > 4096) return 0;
  static const int64_t kCodePages[] = {2252, 4, 17, 2025, 106};
  const int64_t codePage = kCodePages[data[0] % 5];
  const bool singleByte = codePage == 2252 || codePage == 4;
  VxErrorList errors(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&errors);
  std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1), text = bytes;
  {
    CsvFileCodePage scope(codePage);
    bool converted = csvFileTextToUtf8(text, "fuzz.csv");
    check(failedOnce(errors) == !converted);
    if (converted && codePage != 106) {
      checkWideRoundTrip(errors, text);
      std::string back = text;
      check(csvUtf8ToFileText(back, "fuzz.csv") || !singleByte);
      check(!singleByte || (back == bytes && !failedOnce(errors)));
      errors.clearErrors();
    }
  }
  checkWideRoundTrip(errors, bytes);
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
