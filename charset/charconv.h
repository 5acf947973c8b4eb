// CharacterConverter: conversions between code pages named by IANA number
// or by ICU converter name, with error records.
//
// The object opens ICU converters on demand and keeps them for its life in
// two caches (by number and by name), each with a one-entry memo in front,
// so that repeated calls for one code page cost one comparison. Every
// converter it opens reports substituted characters back to it, and
// substitutionMode says what a substitution means to the owner.
//
// Every operation returns 0 on success (warnings included: truncation is
// "01004" record 2735, substitution reported as a warning "01000" record
// 2736; the output is valid up to the reported length) or 1 after filing an
// error record ("HY000": 2737 failure, 2738 invalid table, 2739 converter
// not found, with the number or name appended). One thread uses an object
// at a time; it owns its converters, which callers must not close.
#ifndef VX_CHARSET_CHARCONV_H_
#define VX_CHARSET_CHARCONV_H_

#include <unicode/ucnv.h>

#include <cstdint>

#include "charset/ktwchar.h"
#include "foundation/vxexport.h"

class VxIntHandleCache;
class VxStrHandleCache;

class VX_EXPORT CharacterConverter {
 public:
  // What a substituted character means to the owner (substitutionMode).
  static constexpr int32_t kSubstitutionIgnore = 0;   // plain success
  static constexpr int32_t kSubstitutionError = 1;    // result 4, error 2737
  static constexpr int32_t kSubstitutionWarning = 2;  // result 2, warning 2736

  // The memo's starting key, a number that names no code page.
  static constexpr int64_t kNoCodePage = 0xFEDCBA89;

  CharacterConverter();
  // Frees both caches, which close the converters they hold.
  ~CharacterConverter();
  CharacterConverter(const CharacterConverter&) = delete;
  CharacterConverter& operator=(const CharacterConverter&) = delete;

  // Creates both caches with room for capacity entries (at least 1). Called
  // again, it starts over with empty caches. 1 when a cache cannot be made.
  unsigned initialize(unsigned long capacity);
  // Switches ICU fallback mappings on (non-zero) or off for the converters
  // held and every converter opened later.
  void setEnableFallbackMapping(unsigned int flag);

  // The converter for a code-page number (0: ICU's default converter; a
  // number the tables do not know also gets the default) or for an ICU
  // converter name of nameLength bytes. 0 with *handle set, or 1 with an
  // error record. Failures are not remembered: a later call tries again.
  unsigned getHandle(int64_t codePage, UConverter** handle);
  unsigned getHandle(const char* name, int64_t nameLength, UConverter** handle);
  // Largest bytes per character of the code page; 0 when it cannot be
  // opened (with an error record).
  int ktMaxCharSize(int64_t codePage);

  // The conversions of ktwchar.h with code pages instead of converters.
  // Each comes in the consumed form and the required-length form.
  // ktAnsiToUTF8 copies UTF-8 (106) input as it is (cut to the capacity
  // with warning 2735) and takes UTF-16 (1015) input as little-endian
  // bytes (length in bytes).
  unsigned ktAnsiToUTF8(char* out, int64_t capacity, const char* in, int64_t length,
                        int64_t* written, int64_t* consumed, int64_t codePage);
  unsigned ktAnsiToUTF8(char* out, int64_t capacity, const char* in, int64_t length,
                        int64_t* written, int64_t codePage);
  unsigned ktUTF8ToAnsi(char* out, int64_t capacity, const char* in, int64_t length,
                        int64_t* written, int64_t* consumed, int64_t codePage);
  unsigned ktUTF8ToAnsi(char* out, int64_t capacity, const char* in, int64_t length,
                        int64_t* written, int64_t codePage);
  unsigned ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                      int64_t* written, int64_t* consumed, int64_t from, int64_t to);
  unsigned ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                      int64_t* written, int64_t from, int64_t to);
  unsigned ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                      int64_t* written, int64_t* consumed, const char* from, const char* to);
  unsigned ktCpgToCpg(char* out, int64_t capacity, const char* in, int64_t length,
                      int64_t* written, const char* from, const char* to);
  unsigned ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in, int64_t length,
                        int64_t* written, int64_t* consumed, int64_t codePage, int swap);
  unsigned ktUCS2ToAnsi(char* out, int64_t capacity, const UChar* in, int64_t length,
                        int64_t* written, int64_t codePage, int swap);
  unsigned ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in, int64_t length,
                        int64_t* written, int64_t* consumed, int64_t codePage, int swap);
  unsigned ktAnsiToUCS2(UChar* out, int64_t capacity, const char* in, int64_t length,
                        int64_t* written, int64_t codePage, int swap);

  // What a substitution means (kSubstitution...); the owner sets it, the
  // object only ever sets it to 0 when constructed.
  int32_t substitutionMode;

 private:
  // The from-Unicode callback installed on every converter opened: notes
  // the substitution, then hands over to the callback ICU had installed.
  static void handleCharacterSubstitution(const void* context,
                                          UConverterFromUnicodeArgs* args, const UChar* units,
                                          int32_t length, UChar32 codePoint,
                                          UConverterCallbackReason reason, UErrorCode* status);

  // The substitution record whose address is the callbacks' context.
  struct SubstitutionRecord {
    int32_t substituted;
    UConverterFromUCallback previousCallback;
    const void* previousContext;
  };

  // Installs the callback and the fallback setting on a new converter;
  // closes it and returns 1 with a record on failure.
  unsigned prepare(UConverter* converter);
  unsigned getUTF8Handle(UConverter** handle);
  // The result after the substitution check, passed through checkKTreturn.
  unsigned finish(VxConvertReturn result);
  unsigned copyUTF8(char* out, int64_t capacity, const char* in, int64_t length,
                    int64_t* written, int64_t* consumed);
  unsigned convertUTF16(char* out, int64_t capacity, const char* in, int64_t length,
                        int64_t* written, int64_t* consumed);
  void releaseAll();

  // Converters by code-page number, with a one-entry memo.
  VxIntHandleCache* intCache;
  int64_t lastCodePage;
  UConverter* lastHandle;
  // Converters by name; the memo's name is the cache's own key copy.
  VxStrHandleCache* strCache;
  const unsigned char* lastName;
  int64_t lastNameLen;
  UConverter* lastNameHandle;
  UConverter* utf8Handle;
  SubstitutionRecord substitution;
  int32_t enableFallback;
};

#endif  // VX_CHARSET_CHARCONV_H_
