// CharacterConverter: converter look-up through memo and cache, the
// substitution watcher, and the member conversions.
#include "charset/charconv.h"

#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "charset/ucnv.h"
#include "containers/vxintcac.h"
#include "containers/vxstrcac.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxstr.h"

namespace {

constexpr int64_t kUTF8 = 106;
constexpr int64_t kUTF16 = 1015;

// Files "converter not found" with the code page's number or name behind
// the catalog text.
unsigned postNotFound(const char* what) {
  checkKTreturn(VX_CONVERT_NOT_FOUND);
  VxErrorKeeper::appendTextToLastError(" ");
  VxErrorKeeper::appendTextToLastError(what);
  return 1;
}

// The outcome of ucnv_open: 0, or 1 with the record for its failure.
unsigned checkOpen(UErrorCode status, const char* what) {
  if (status == U_FILE_ACCESS_ERROR) return postNotFound(what);
  if (U_FAILURE(status)) {
    checkICUreturn(status);
    return 1;
  }
  return 0;
}

}  // namespace

CharacterConverter::CharacterConverter()
    : substitutionMode(kSubstitutionIgnore),
      intCache(nullptr),
      lastCodePage(kNoCodePage),
      lastHandle(nullptr),
      strCache(nullptr),
      lastName(nullptr),
      lastNameLen(0),
      lastNameHandle(nullptr),
      utf8Handle(nullptr),
      substitution{0, nullptr, nullptr},
      enableFallback(0) {}

CharacterConverter::~CharacterConverter() { releaseAll(); }

void CharacterConverter::releaseAll() {
  delete intCache;
  delete strCache;
  if (utf8Handle != nullptr) ucnv_close(utf8Handle);
  intCache = nullptr;
  strCache = nullptr;
  utf8Handle = nullptr;
  lastCodePage = kNoCodePage;
  lastHandle = nullptr;
  lastName = nullptr;
  lastNameLen = 0;
  lastNameHandle = nullptr;
}

unsigned CharacterConverter::initialize(unsigned long capacity) {
  releaseAll();
  intCache = new (std::nothrow) VxIntHandleCache;
  strCache = new (std::nothrow) VxStrHandleCache;
  if (intCache == nullptr || strCache == nullptr || intCache->initialize(capacity) != 0 ||
      strCache->initialize(capacity) != 0) {
    releaseAll();
    addError(kErrOutOfMemory);
    return 1;
  }
  return 0;
}

void CharacterConverter::setEnableFallbackMapping(unsigned int flag) {
  enableFallback = flag != 0;
  if (intCache != nullptr) intCache->setEnableFallbackMapping(flag);
  if (strCache != nullptr) strCache->setEnableFallbackMapping(flag);
  if (utf8Handle != nullptr) ucnv_setFallback(utf8Handle, flag != 0);
}

// Every reason but reset and close is a substitution about to happen; the
// previous callback (ICU's substituting one) then does the work.
void CharacterConverter::handleCharacterSubstitution(const void* context,
                                                     UConverterFromUnicodeArgs* args,
                                                     const UChar* units, int32_t length,
                                                     UChar32 codePoint,
                                                     UConverterCallbackReason reason,
                                                     UErrorCode* status) {
  SubstitutionRecord* record = static_cast<SubstitutionRecord*>(const_cast<void*>(context));
  if (reason != UCNV_RESET && reason != UCNV_CLOSE) record->substituted = 1;
  if (record->previousCallback != nullptr) {
    record->previousCallback(record->previousContext, args, units, length, codePoint, reason,
                             status);
  }
}

unsigned CharacterConverter::prepare(UConverter* converter) {
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter, handleCharacterSubstitution, &substitution,
                        &substitution.previousCallback, &substitution.previousContext, &status);
  if (U_FAILURE(status)) {
    ucnv_close(converter);
    addError(kErrRightTruncated).appendText(" Unable to set callback");
    return 1;
  }
  if (enableFallback) ucnv_setFallback(converter, true);
  return 0;
}

// Memo, then cache, then ICU; a new converter joins the cache and the memo.
unsigned CharacterConverter::getHandle(int64_t codePage, UConverter** handle) {
  assert(intCache != nullptr);
  if (codePage == lastCodePage) {
    *handle = lastHandle;
    return 0;
  }
  UConverter* converter = intCache->getHandleForKey(long(codePage));
  if (converter == nullptr) {
    const char* name = codePage == 0 ? nullptr : ucnvIANAidToICUname(codePage);
    UErrorCode status = U_ZERO_ERROR;
    converter = ucnv_open(name, &status);
    char number[24];
    snprintf(number, sizeof number, "%lld", static_cast<long long>(codePage));
    if (checkOpen(status, number) != 0 || prepare(converter) != 0) return 1;
    if (intCache->addAssoc(long(codePage), converter) != 0) {
      ucnv_close(converter);
      addError(kErrOutOfMemory);
      return 1;
    }
  }
  lastCodePage = codePage;
  lastHandle = converter;
  *handle = converter;
  return 0;
}

unsigned CharacterConverter::getHandle(const char* name, int64_t nameLength,
                                       UConverter** handle) {
  assert(strCache != nullptr && name != nullptr && nameLength >= 0);
  if (lastName != nullptr && nameLength == lastNameLen &&
      memcmp(lastName, name, size_t(nameLength)) == 0) {
    *handle = lastNameHandle;
    return 0;
  }
  const unsigned char* key = reinterpret_cast<const unsigned char*>(name);
  UConverter* converter = strCache->getHandleForKey(&key, (unsigned long)nameLength);
  if (converter == nullptr) {
    unsigned char* copy = static_cast<unsigned char*>(malloc(size_t(nameLength) + 1));
    if (copy == nullptr) {
      addError(kErrOutOfMemory);
      return 1;
    }
    memcpy(copy, name, size_t(nameLength));
    copy[nameLength] = 0;
    UErrorCode status = U_ZERO_ERROR;
    converter = ucnv_open(reinterpret_cast<const char*>(copy), &status);
    if (checkOpen(status, reinterpret_cast<const char*>(copy)) != 0 || prepare(converter) != 0) {
      free(copy);
      return 1;
    }
    if (strCache->addAssoc(copy, (unsigned long)nameLength, converter) != 0) {
      ucnv_close(converter);
      free(copy);
      addError(kErrOutOfMemory);
      return 1;
    }
    key = copy;
  }
  lastName = key;
  lastNameLen = nameLength;
  lastNameHandle = converter;
  *handle = converter;
  return 0;
}

unsigned CharacterConverter::getUTF8Handle(UConverter** handle) {
  if (utf8Handle == nullptr) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("UTF8", &status);
    if (checkOpen(status, "UTF8") != 0 || prepare(converter) != 0) return 1;
    utf8Handle = converter;
  }
  *handle = utf8Handle;
  return 0;
}

int CharacterConverter::ktMaxCharSize(int64_t codePage) {
  UConverter* converter;
  if (getHandle(codePage, &converter) != 0) return 0;
  return ::ktMaxCharSize(converter);
}

unsigned CharacterConverter::finish(VxConvertReturn result) {
  if (result == VX_CONVERT_OK && substitution.substituted) {
    if (substitutionMode == kSubstitutionError) result = VX_CONVERT_FAILED;
    if (substitutionMode == kSubstitutionWarning) result = VX_CONVERT_SUBSTITUTED;
  }
  return checkKTreturn(result);
}

// UTF-8 input is copied as it is, cut to the capacity if longer (with the
// truncation warning; the cut may fall inside a character, as the plain
// copy always did).
unsigned CharacterConverter::copyUTF8(char* out, int64_t capacity, const char* in,
                                      int64_t length, int64_t* written, int64_t* consumed) {
  if (out == nullptr || capacity < 1 || in == nullptr || written == nullptr) {
    return checkKTreturn(VX_CONVERT_FAILED);
  }
  if (length < 0) length = int64_t(strLen(in));
  int64_t n = length;
  if (length > capacity) n = capacity;
  memmove(out, in, size_t(n));
  if (n < capacity) out[n] = 0;
  *written = n;
  if (consumed != nullptr) *consumed = n;
  return length > capacity ? checkKTreturn(VX_CONVERT_TRUNCATED) : 0;
}

// UTF-16 input (little-endian, length in bytes). When the output fills,
// consumed counts the units of the whole characters that fitted.
unsigned CharacterConverter::convertUTF16(char* out, int64_t capacity, const char* in,
                                          int64_t length, int64_t* written, int64_t* consumed) {
  UChar* units = reinterpret_cast<UChar*>(const_cast<char*>(in));
  int64_t unitCount = length < 0 ? length : length / 2;
  VxConvertReturn result = ktUTF16ToUTF8(out, capacity, units, unitCount, written, 0);
  if (result == VX_CONVERT_TRUNCATED || result == VX_CONVERT_OK) {
    if (unitCount < 0) unitCount = ktUCS2Len(units);
    int64_t filled = 0;
    int64_t used = 0;
    while (used < unitCount) {
      UChar32 c;
      int64_t step = 1;
      c = units[used];
      if (U16_IS_LEAD(c) && used + 1 < unitCount && U16_IS_TRAIL(units[used + 1])) {
        c = U16_GET_SUPPLEMENTARY(c, units[used + 1]);
        step = 2;
      }
      int64_t size = U8_LENGTH(c);
      if (filled + size > capacity) break;
      filled += size;
      used += step;
    }
    *written = filled;
    if (consumed != nullptr) *consumed = used * 2;
  }
  return checkKTreturn(result);
}

unsigned CharacterConverter::ktAnsiToUTF8(char* out, int64_t capacity, const char* in,
                                          int64_t length, int64_t* written, int64_t* consumed,
                                          int64_t codePage) {
  if (codePage == kUTF8) return copyUTF8(out, capacity, in, length, written, consumed);
  if (codePage == kUTF16) return convertUTF16(out, capacity, in, length, written, consumed);
  UConverter* source;
  UConverter* utf8;
  if (getHandle(codePage, &source) != 0 || getUTF8Handle(&utf8) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktAnsiToUTF8(out, capacity, in, length, written, consumed, source, utf8));
}

unsigned CharacterConverter::ktAnsiToUTF8(char* out, int64_t capacity, const char* in,
                                          int64_t length, int64_t* written, int64_t codePage) {
  UConverter* source;
  UConverter* utf8;
  if (getHandle(codePage, &source) != 0 || getUTF8Handle(&utf8) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktAnsiToUTF8(out, capacity, in, length, written, source, utf8));
}

unsigned CharacterConverter::ktUTF8ToAnsi(char* out, int64_t capacity, const char* in,
                                          int64_t length, int64_t* written, int64_t* consumed,
                                          int64_t codePage) {
  UConverter* target;
  UConverter* utf8;
  if (getHandle(codePage, &target) != 0 || getUTF8Handle(&utf8) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktUTF8ToAnsi(out, capacity, in, length, written, consumed, target, utf8));
}

unsigned CharacterConverter::ktUTF8ToAnsi(char* out, int64_t capacity, const char* in,
                                          int64_t length, int64_t* written, int64_t codePage) {
  UConverter* target;
  UConverter* utf8;
  if (getHandle(codePage, &target) != 0 || getUTF8Handle(&utf8) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktUTF8ToAnsi(out, capacity, in, length, written, target, utf8));
}

// Both look-ups go through the one memo, so the second would evict the
// first; the first handle is taken before the second is looked up.
unsigned CharacterConverter::ktCpgToCpg(char* out, int64_t capacity, const char* in,
                                        int64_t length, int64_t* written, int64_t* consumed,
                                        int64_t from, int64_t to) {
  UConverter* source;
  UConverter* target;
  if (getHandle(from, &source) != 0 || getHandle(to, &target) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktCpgToCpg(out, capacity, in, length, written, consumed, source, target));
}

unsigned CharacterConverter::ktCpgToCpg(char* out, int64_t capacity, const char* in,
                                        int64_t length, int64_t* written, int64_t from,
                                        int64_t to) {
  UConverter* source;
  UConverter* target;
  if (getHandle(from, &source) != 0 || getHandle(to, &target) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktCpgToCpg(out, capacity, in, length, written, source, target));
}

unsigned CharacterConverter::ktCpgToCpg(char* out, int64_t capacity, const char* in,
                                        int64_t length, int64_t* written, int64_t* consumed,
                                        const char* from, const char* to) {
  UConverter* source;
  UConverter* target;
  if (getHandle(from, int64_t(strlen(from)), &source) != 0 ||
      getHandle(to, int64_t(strlen(to)), &target) != 0) {
    return 1;
  }
  substitution.substituted = 0;
  return finish(::ktCpgToCpg(out, capacity, in, length, written, consumed, source, target));
}

unsigned CharacterConverter::ktCpgToCpg(char* out, int64_t capacity, const char* in,
                                        int64_t length, int64_t* written, const char* from,
                                        const char* to) {
  UConverter* source;
  UConverter* target;
  if (getHandle(from, int64_t(strlen(from)), &source) != 0 ||
      getHandle(to, int64_t(strlen(to)), &target) != 0) {
    return 1;
  }
  substitution.substituted = 0;
  return finish(::ktCpgToCpg(out, capacity, in, length, written, source, target));
}

unsigned CharacterConverter::ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in,
                                          int64_t length, int64_t* written, int64_t* consumed,
                                          int64_t codePage, int swap) {
  UConverter* target;
  if (getHandle(codePage, &target) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktUCS2ToAnsi(out, capacity, in, length, written, consumed, target, swap));
}

unsigned CharacterConverter::ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in,
                                          int64_t length, int64_t* written, int64_t codePage,
                                          int swap) {
  UConverter* target;
  if (getHandle(codePage, &target) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktUCS2ToAnsi(out, capacity, in, length, written, target, swap));
}

unsigned CharacterConverter::ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in,
                                          int64_t length, int64_t* written, int64_t* consumed,
                                          int64_t codePage, int swap) {
  UConverter* source;
  if (getHandle(codePage, &source) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktAnsiToUCS2(out, capacity, in, length, written, consumed, source, swap));
}

unsigned CharacterConverter::ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in,
                                          int64_t length, int64_t* written, int64_t codePage,
                                          int swap) {
  UConverter* source;
  if (getHandle(codePage, &source) != 0) return 1;
  substitution.substituted = 0;
  return finish(::ktAnsiToUCS2(out, capacity, in, length, written, source, swap));
}
