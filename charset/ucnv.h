// Code-page identification and naming.
//
// A code page is named inside the library by its signed 64-bit IANA
// MIBenum number; numbers from 2000000001 up are the library's private
// numbers for character sets without an IANA number, and kUcnvNotFound
// (INT64_MIN) means "not found" everywhere here. This header offers:
// - the application code page, from a connection string, the data
//   source's entry in "odbc.ini", the "ODBC" sections of "odbc.ini" and
//   "odbcinst.ini", and a default of 4 (ISO-8859-1);
// - a read-only reader of those two files, loaded once when the library is
//   loaded (later changes to the files are not seen);
// - five sorted number tables between IANA numbers, ICU converter names,
//   IBM CCSIDs, Windows code pages and the legacy "Unilib" numbers.
// No function here files error records: a missing file or key means
// defaults. Everything is safe to call from any thread (the buffers are
// written only at load time).
#ifndef VX_CHARSET_UCNV_H_
#define VX_CHARSET_UCNV_H_

#include <unicode/utypes.h>

#include <cstdint>

#include "foundation/vxexport.h"

// "Not found" for every number look-up of this header.
constexpr int64_t kUcnvNotFound = INT64_MIN;
// The default used while probing profile integers.
constexpr int64_t kUcnvProfileDefault = -666666;

// One row of a mapping table: the key first, then the value, each a 64-bit
// word. IANAtoICUTable's values are converter names, the others' numbers.
struct UcnvMapRow {
  int64_t key;
  int64_t value;
};
struct UcnvNameRow {
  int64_t key;
  const char* name;
};

// The tables, sorted ascending by key, and their row counts.
VX_EXPORT extern const UcnvNameRow IANAtoICUTable[];
VX_EXPORT extern const UcnvMapRow IANAtoIBMTable[];
VX_EXPORT extern const UcnvMapRow IBMtoIANATable[];
VX_EXPORT extern const UcnvMapRow WindowsToIANATable[];
VX_EXPORT extern const UcnvMapRow UnilibToIANATable[];
VX_EXPORT extern const int64_t IANAtoICUTableRows;
VX_EXPORT extern const int64_t IANAtoIBMTableRows;
VX_EXPORT extern const int64_t IBMtoIANATableRows;
VX_EXPORT extern const int64_t WindowsToIANATableRows;
VX_EXPORT extern const int64_t UnilibToIANATableRows;

// The text of "odbc.ini" and "odbcinst.ini" as read at load time: the
// file's bytes and a terminating 0 (size = file length + 1), or null.
VX_EXPORT extern char* NORVK_UCNV_INI_Buf;
VX_EXPORT extern int64_t NORVK_UCNV_INI_BufSize;
VX_EXPORT extern char* NORVK_UCNV_INST_Buf;
VX_EXPORT extern int64_t NORVK_UCNV_INST_BufSize;

// The application code page. The connection string is scanned first
// (ucnvAnsiIANAAppCodePage / ucnvUnicodeIANAAppCodePage); without a number
// there, the profile probes of ucnvGetAppCodePageFromDSN decide, for the
// DSN the string named. *dsn receives that DSN (allocated here, freed with
// ucnv_free) or stays null. Never kUcnvNotFound.
VX_EXPORT int64_t ucnvGetAppCodePage(const char* connection, int64_t length, char** dsn);
VX_EXPORT int64_t ucnvGetAppCodePageW(const UChar* connection, int64_t length, UChar** dsn);
// The first present value, other than -666666 and -1, of: IANAAppCodePage
// and AppCodePage (mapped as a Unilib number) in [dsn] of "odbc.ini" (when
// dsn is not null), in [ODBC] of "odbc.ini", in [ODBC] of "odbcinst.ini";
// else 4.
VX_EXPORT int64_t ucnvGetAppCodePageFromDSN(const char* dsn);
// The code page a connection string names, or kUcnvNotFound; *dsn as above.
VX_EXPORT int64_t ucnvUnicodeIANAAppCodePage(const UChar* connection, int64_t length, UChar** dsn);
VX_EXPORT int64_t ucnvAnsiIANAAppCodePage(const char* connection, int64_t length, char** dsn);
// Frees a DSN returned above; null is allowed.
VX_EXPORT void ucnv_free(void* p);

// 1 when the text at p (not beyond end) starts with the key, unit by unit
// equal to the upper- or lower-case key; also 1 when the text ends first,
// 0 at a surrogate unit. The key is only a prefix: intended.
VX_EXPORT int ucnvEquals(const UChar* p, const UChar* end, const char* upperKey,
                         const char* lowerKey);
// Reads "= [-]digits" at *p (blanks allowed around "=") and leaves *p
// where reading stopped. kUcnvNotFound without "=" or without anything
// after it; 0 when no digit follows.
VX_EXPORT int64_t ucnvGetNumericValue(const UChar** p, const UChar* end);

// Table look-ups by binary search; null or kUcnvNotFound on a miss.
VX_EXPORT const char* ucnvIANAidToICUname(int64_t iana);
VX_EXPORT int64_t ucnvIANAToIBM(int64_t iana);
VX_EXPORT int64_t ucnvIBMToIANA(int64_t ibm);
VX_EXPORT int64_t ucnvWindowsToIANA(int64_t windows);
VX_EXPORT int64_t ucnvUnilibToIANA(int64_t unilib);
VX_EXPORT const char* ucnvMapToName(int64_t key, const UcnvNameRow* table, int64_t rows);
VX_EXPORT int64_t ucnvMapToIANAID(int64_t key, const UcnvMapRow* table, int64_t rows);

// Profile values from the load-time copies of "odbc.ini" (and, for the
// Inst forms, "odbcinst.ini"): the length copied to out.
VX_EXPORT int64_t ucnvGetProfileString(const char* section, const char* key, const char* dflt,
                                       char* out, int64_t outSize);
VX_EXPORT int64_t ucnvGetProfileStringInst(const char* section, const char* key, const char* dflt,
                                           char* out, int64_t outSize);
VX_EXPORT int64_t ucnvGetProfileInt(const char* section, const char* key, int64_t dflt);
VX_EXPORT int64_t ucnvGetProfileIntInst(const char* section, const char* key, int64_t dflt);
// A profile value from a file image of size bytes (see ucnv_ini.cpp for
// the rules). With a null key the section's key names are listed, each
// ended by a 0 byte, the list by another.
VX_EXPORT int64_t ucnvNWGetProfileString(const char* text, int64_t size, const char* section,
                                         const char* key, const char* dflt, char* out,
                                         int64_t outSize);
// The section [name] in text: on success 0, with *start and *end around
// its body (behind the header line's "]" to the next "[" or the end).
VX_EXPORT int getSection(const char* text, int64_t size, const char* name, const char** start,
                         const char** end);
// The entry key in the section body [start, end): on success 0, with the
// value (at most 255 bytes) copied to value and terminated.
VX_EXPORT int getEntry(const char* start, const char* end, const char* key, char* value);

#endif  // VX_CHARSET_UCNV_H_
