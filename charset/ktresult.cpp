// Conversion results: ICU codes to results, results to error records, and
// the questions asked of a converter or a code-page number.
#include "charset/ktwchar.h"
#include "charset/ucnv.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {

// The record that belongs to each result. Warnings carry the SQLSTATE of
// their kind; every error is "HY000" with native error 60. The native
// error is set as the record's interface error.
struct ResultRecord {
  uint16_t message;
  const char* sqlState;
  uint16_t native;
  bool warning;
};

constexpr ResultRecord kTruncatedRecord{kErrConversionTruncated, "01004", 4, true};
constexpr ResultRecord kSubstitutedRecord{kErrCharacterSubstituted, "01000", 2, true};
constexpr ResultRecord kFailedRecord{kErrConversionFailed, "HY000", 60, false};
constexpr ResultRecord kTableRecord{kErrConversionTableInvalid, "HY000", 60, false};
constexpr ResultRecord kNotFoundRecord{kErrConverterNotFound, "HY000", 60, false};

unsigned post(const ResultRecord& r) {
  VxError& e = r.warning ? addWarning(r.message) : addError(r.message);
  e.setInterfaceCode(r.sqlState);
  e.setInterfaceError(r.native);
  return r.warning ? 0 : 1;
}

}  // namespace

VxConvertReturn mapICUreturn(UErrorCode code) {
  switch (code) {
    case U_ZERO_ERROR:
      return VX_CONVERT_OK;
    case U_STRING_NOT_TERMINATED_WARNING:
    case U_BUFFER_OVERFLOW_ERROR:
      return VX_CONVERT_TRUNCATED;
    case U_ILLEGAL_CHAR_FOUND:
      return VX_CONVERT_SUBSTITUTED;
    case U_FILE_ACCESS_ERROR:
      return VX_CONVERT_NOT_FOUND;
    case U_INVALID_TABLE_FORMAT:
    case U_INVALID_TABLE_FILE:
      return VX_CONVERT_TABLE_INVALID;
    default:
      return VX_CONVERT_FAILED;
  }
}

unsigned checkKTreturn(VxConvertReturn result) {
  switch (result) {
    case VX_CONVERT_OK:
      return 0;
    case VX_CONVERT_TRUNCATED:
      return post(kTruncatedRecord);
    case VX_CONVERT_SUBSTITUTED:
      return post(kSubstitutedRecord);
    case VX_CONVERT_TABLE_INVALID:
      return post(kTableRecord);
    case VX_CONVERT_NOT_FOUND:
      return post(kNotFoundRecord);
    default:
      return post(kFailedRecord);
  }
}

// The codes are compared as unsigned numbers, so ICU's negative warning
// codes fall through to the error record: intended, and kept apart from
// mapICUreturn, which treats the not-terminated warning as truncation.
unsigned checkICUreturn(UErrorCode code) {
  switch (static_cast<unsigned>(code)) {
    case U_ZERO_ERROR:
      return 0;
    case U_FILE_ACCESS_ERROR:
      return post(kNotFoundRecord);
    case U_ILLEGAL_CHAR_FOUND:
      return post(kSubstitutedRecord);
    case U_INVALID_TABLE_FORMAT:
    case U_INVALID_TABLE_FILE:
      return post(kTableRecord);
    case U_BUFFER_OVERFLOW_ERROR:
      return post(kTruncatedRecord);
    default:
      return post(kFailedRecord);
  }
}

int64_t setConversionReturnLength(VxConvertReturn result, int64_t length) {
  return (result >= VX_CONVERT_OK && result <= VX_CONVERT_UNUSED) ? length : 0;
}

int ktMaxCharSize(UConverter* converter) {
  return converter == nullptr ? 0 : ucnv_getMaxCharSize(converter);
}

namespace {

// A converter for the code page's ICU name (ICU's default for a number
// the table does not know), or null.
UConverter* openForCodePage(int64_t codePage) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(ucnvIANAidToICUname(codePage), &status);
  return U_SUCCESS(status) ? converter : nullptr;
}

}  // namespace

int ktMaxCharSize(int64_t codePage) {
  UConverter* converter = openForCodePage(codePage);
  int size = ktMaxCharSize(converter);
  if (converter != nullptr) ucnv_close(converter);
  return size;
}

int VerifyCodePage(int64_t codePage) {
  UConverter* converter = openForCodePage(codePage);
  if (converter == nullptr) return 0;
  ucnv_close(converter);
  return 1;
}

void AnsiToOem(char*, const char*) {}
void OemToAnsi(char*, const char*) {}
