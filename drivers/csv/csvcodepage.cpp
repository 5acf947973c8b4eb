// Conversions through the calling thread's CharacterConverter.
//
// The converter files records of its own (a truncated output, a failed
// conversion) in the current error list. A conversion here runs with a
// scratch list installed instead, sizes its output itself and, when the
// conversion fails, files the driver's one record naming the code page in
// the caller's list: the application sees what went wrong in its terms,
// not the converter's retries.
#include "drivers/csv/csvcodepage.h"

#include <unicode/ucnv.h>

#include <cassert>

#include "charset/charconv.h"
#include "drivers/csv/csvtable.h"
#include "foundation/vxerror.h"

namespace {

// The IANA number the converter uses for UTF-16 in the machine's order.
constexpr int64_t kUtf16 = 1015;

thread_local int64_t currentFileCodePage = kCsvUtf8;

// The thread's converter. A character without a mapping fails the
// conversion instead of becoming a substitute.
CharacterConverter* threadConverter() {
  thread_local CharacterConverter converter;
  thread_local bool ready = false;
  if (!ready) {
    if (converter.initialize(8) != 0) return nullptr;
    converter.substitutionMode = CharacterConverter::kSubstitutionError;
    ready = true;
  }
  return &converter;
}

// Installs a list of its own for the converter's records while it lives.
class ScratchErrors {
 public:
  ScratchErrors() : list_(nullptr, VxErrorList::kSupportMultipleErrors) { VxErrorKeeper::setErrorList(&list_); }
  ~ScratchErrors() { VxErrorKeeper::giveUpErrorList(); }
  ScratchErrors(const ScratchErrors&) = delete;
  ScratchErrors& operator=(const ScratchErrors&) = delete;

  bool empty() const { return list_.getCount() == 0 && !list_.isOutOfMemory(); }
  void clear() { list_.clearErrors(); }

 private:
  VxErrorList list_;
};

// The thread converter's converter for codePage, made to stop at bytes
// that are not valid in it instead of putting a substitute in their place.
bool strictSource(CharacterConverter* converter, int64_t codePage) {
  UConverter* source = nullptr;
  if (!converter || converter->getHandle(codePage, &source) != 0) return false;
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setToUCallBack(source, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  return U_SUCCESS(status);
}

bool cannotConvert(const char* what, int64_t codePage) {
  csvError(kErrCsvCannotConvert, "22021") << what << codePage;
  return false;
}

// Runs convert(buffer, capacity, &written, &consumed) with room for guess
// units, doubling the room until all length units of the input were used.
// The converter's consuming forms are used because they take the input as
// counted, an embedded NUL included. A run that leaves any record, such as
// the substitution warning a stopped conversion gives, has failed: its
// output lacks what could not be converted.
template <typename Text, typename Convert>
bool convertAll(ScratchErrors& scratch, size_t guess, int64_t length, Text& out, Convert convert) {
  for (int attempt = 0; attempt < 4; ++attempt, guess *= 2) {
    scratch.clear();
    out.assign(guess + 1, 0);
    int64_t written = 0, consumed = 0;
    if (convert(&out[0], int64_t(out.size()), &written, &consumed) != 0) return false;
    assert(written >= 0 && size_t(written) <= out.size());
    if (consumed == length && scratch.empty()) {
      out.resize(size_t(written));
      return true;
    }
  }
  return false;
}

}  // namespace

bool csvToUtf8(int64_t codePage, const std::string& in, std::string& out, const char* what) {
  if (codePage == kCsvUtf8 || in.empty()) {
    out = in;
    return true;
  }
  bool converted = false;
  {
    ScratchErrors scratch;
    CharacterConverter* converter = threadConverter();
    // One byte of a code page never needs more than three of UTF-8.
    converted = strictSource(converter, codePage) &&
                convertAll(scratch, in.size() * 3, int64_t(in.size()), out,
                           [&](char* buffer, int64_t size, int64_t* n, int64_t* used) {
                             return converter->ktAnsiToUTF8(buffer, size, in.data(), int64_t(in.size()), n, used,
                                                            codePage);
                           });
  }
  return converted || cannotConvert(what, codePage);
}

bool csvFromUtf8(int64_t codePage, const std::string& in, std::string& out, const char* what) {
  if (codePage == kCsvUtf8 || in.empty()) {
    out = in;
    return true;
  }
  bool converted = false;
  {
    ScratchErrors scratch;
    CharacterConverter* converter = threadConverter();
    int width = converter ? converter->ktMaxCharSize(codePage) : 0;
    converted = width > 0 && strictSource(converter, kCsvUtf8) &&
                convertAll(scratch, in.size() * size_t(width), int64_t(in.size()), out,
                           [&](char* buffer, int64_t size, int64_t* n, int64_t* used) {
                             return converter->ktUTF8ToAnsi(buffer, size, in.data(), int64_t(in.size()), n, used,
                                                            codePage);
                           });
  }
  return converted || cannotConvert(what, codePage);
}

bool csvWideToUtf8(const SQLWCHAR* in, SQLLEN length, std::string& out) {
  static_assert(sizeof(SQLWCHAR) == sizeof(UChar), "the wide calls pass UTF-16");
  const UChar* units = reinterpret_cast<const UChar*>(in);
  if (length == SQL_NTS)
    for (length = 0; units[length]; ++length) {
    }
  if (length <= 0) {
    out.clear();
    return true;
  }
  bool converted = false;
  {
    ScratchErrors scratch;
    CharacterConverter* converter = threadConverter();
    converted = converter && convertAll(scratch, size_t(length) * 3, length, out,
                                        [&](char* buffer, int64_t size, int64_t* n, int64_t* used) {
                                          return converter->ktUCS2ToAnsi(buffer, size, units, length, n, used,
                                                                         kCsvUtf8, 0);
                                        });
  }
  return converted || cannotConvert("a wide character value", kUtf16);
}

bool csvUtf8ToWide(const std::string& in, std::u16string& out) {
  if (in.empty()) {
    out.clear();
    return true;
  }
  bool converted = false;
  {
    ScratchErrors scratch;
    CharacterConverter* converter = threadConverter();
    // A UTF-8 byte never makes more than one UTF-16 unit.
    converted = strictSource(converter, kCsvUtf8) &&
                convertAll(scratch, in.size(), int64_t(in.size()), out,
                           [&](char16_t* buffer, int64_t size, int64_t* n, int64_t* used) {
                             return converter->ktAnsiToUCS2(reinterpret_cast<UChar*>(buffer), size, in.data(),
                                                            int64_t(in.size()), n, used, kCsvUtf8, 0);
                           });
  }
  return converted || cannotConvert("a wide character value", kUtf16);
}

CsvFileCodePage::CsvFileCodePage(int64_t codePage) : previous_(currentFileCodePage) {
  currentFileCodePage = codePage;
}

CsvFileCodePage::~CsvFileCodePage() { currentFileCodePage = previous_; }

int64_t CsvFileCodePage::current() { return currentFileCodePage; }

bool csvFileTextToUtf8(std::string& text, const std::string& path) {
  if (currentFileCodePage == kCsvUtf8) return true;
  std::string converted;
  if (!csvToUtf8(currentFileCodePage, text, converted, path.c_str())) return false;
  text.swap(converted);
  return true;
}

bool csvUtf8ToFileText(std::string& text, const std::string& path) {
  if (currentFileCodePage == kCsvUtf8) return true;
  std::string converted;
  if (!csvFromUtf8(currentFileCodePage, text, converted, path.c_str())) return false;
  text.swap(converted);
  return true;
}
