// VxValueParser: parses, checks and rebuilds connection strings.
//
// The input is a list "keyword=value" pieces joined by a separator (";" for
// ODBC connection strings). initialize() splits it into an ordered,
// case-insensitive dictionary; the driver then fetches attributes (which
// marks them used), asks which ones it never fetched, adds, changes or
// removes attributes and rebuilds the string.
//
// Rules of the parse:
//  - A keyword is one or more consecutive words, so "Data Source" is one
//    keyword with its inner blanks as written.
//  - The bare keyword "ODBC" is skipped: no "=" and no value follow it.
//  - The equals sign may be the start of a longer operator ("==x" gives the
//    value "=x").
//  - A value runs up to the next separator outside quoted literals and is
//    kept as written, quotes included (PWD='a;b' has the value 'a;b'), so
//    that buildString writes it back unchanged.
//  - A value in ODBC braces is what lies between them, "}}" standing for
//    one "}" (PWD={a;b}}c} has the value a;b}c; DRIVER={My Driver} the
//    value My Driver). buildString writes such a value back in braces, its
//    "}" doubled, and so any value that starts with "{", so that the
//    rebuilt string parses to the same values.
//  - When the first attribute is "DSN", a later "DRIVER" is dropped; when it
//    is "DRIVER", a later "DSN" is dropped. Only the very first attribute
//    counts (the bare "ODBC" is none). Deliberately, "DRIVER" after a first
//    "DSN" is recognised by length and first letter only: any six-character
//    keyword starting with D or d is dropped there.
//  - A repeated keyword is an error unless repeats are allowed; "Driver" may
//    always repeat. Of repeated keywords the first value stays.
//  - Empty pieces (";;", a leading or trailing ";") are allowed.
//
// Ownership: the parser owns its dictionary: keys and values are views into
// the input (which the caller keeps alive as long as the parser) or owned
// strings for attributes added later. Pointers returned by the getters stay
// valid until the attribute is changed or removed, or the parser destroyed.
//
// Thread-safety: none; one thread at a time.
//
// Failure: syntax errors add error 2704 (position of the offending token,
// counted from 0) or 2705 (position and source name) to the calling thread's
// error list; a repeated keyword appends the text of message 2706 and the
// keyword's following token to that record, two synonyms given at once the
// text of message 2707 and both names. Allocation failures return 1 (the
// dictionary keeps what was parsed so far).
#ifndef VX_CONFIG_VXVALUEP_H_
#define VX_CONFIG_VXVALUEP_H_

#include <cstdint>

#include "containers/vxbitarr.h"
#include "containers/vxseqdic.h"
#include "containers/vxstring.h"
#include "foundation/vxerror.h"
#include "foundation/vxexport.h"
#include "parser/vxscanne.h"

class VX_EXPORT VxValueParser : public VxObject {
 public:
  // Parses input (a view the caller keeps alive) with the given separator;
  // sourceName (may be null) names the input in error messages; a non-zero
  // allowDuplicates lets any keyword repeat.
  VxValueParser(const VxSubString& input, char separator, const char* sourceName, int allowDuplicates);
  ~VxValueParser() override;

  VxValueParser(const VxValueParser&) = delete;
  VxValueParser& operator=(const VxValueParser&) = delete;

  // Scanner settings, applied before initialize().
  void setQuotingChars(uint16_t q1, uint16_t q2, uint16_t q3);
  void setValidChars(const char* chars);
  void resetValidChars();

  // Parses the whole input. 0 on success; 1 after a syntax error was added
  // (or memory ran out).
  unsigned initialize();

  // The value of keyword, or null when absent; marks the attribute used.
  const VxSubString* getAttributeValue(const VxSubString& keyword);
  const VxSubString* getAttributeValue(const char* keyword);
  // For two synonyms of one attribute: stores the value of whichever is
  // present in *value (null when neither) and returns 0; when both are
  // present adds a syntax error carrying the text of message 2707 and both
  // names and returns 1.
  unsigned getAttributeValue(const char* firstName, const char* secondName, const VxSubString** value);
  // Whether keyword is present; does not mark it used.
  bool isAttributeValue(const char* keyword) const;
  bool isAttributeValue(const VxSubString& keyword) const;

  // Counts, positions and the fetch cursor are 16-bit, as attribute
  // indexes are: past the 65535th, attributes are reachable by name only.

  // Attributes the driver never fetched: their number, and one by one from
  // an internal cursor (null at the end); resetUnused forgets every fetch.
  uint16_t getUnusedCount() const;
  const VxSubString* getUnusedAttribute();
  void resetUnused();

  // Number of attributes, and the key at a position (no range check).
  uint16_t getAttributeCount() const { return uint16_t(attributes_.getCount()); }
  const VxSubString* getAttributeKey(uint16_t index) const;
  const VxSubString* getAttributeValueAt(uint16_t index) const;

  // Sets key to value: the value is quoted with apostrophes when it holds an
  // apostrophe, a double quote or the separator. An existing key (or, when
  // absent, an existing secondKey) gets the new value in place under its
  // own name; else the attribute is appended. Returns 1 when memory runs
  // out.
  unsigned addAttribute(const char* key, const char* value, const char* secondKey = nullptr);
  unsigned addAttribute(const char* key, VXSIZE_T keyLength, const char* value, VXSIZE_T valueLength,
                        const char* secondKey = nullptr, VXSIZE_T secondKeyLength = 0);
  // Removes key and its value; an absent key is ignored.
  void removeAttribute(const char* key);

  // Rewrites out as key=value pairs joined by the separator, in order.
  // Returns 1 when out cannot grow.
  unsigned buildString(VxString& out) const;

 private:
  // What the first attribute was.
  enum FirstAttribute { kNoneYet = 1, kDsnFirst = 2, kDriverFirst = 3 };

  unsigned parseAttribute();
  VxSubString readKeyword();
  void raiseRepeatedKeyword();
  unsigned readValue(VxToken& value);
  void noteFirstAttribute(const VxSubString& keyword);
  bool isDropped(const VxSubString& keyword, bool present) const;
  unsigned storeAttribute(const VxSubString& keyword, const VxToken& value);
  void readAfterValue(VXSIZE_T valueEnd);
  VxError& raiseParseError();
  VXSIZE_T indexOf(const char* key, VXSIZE_T length) const;
  void markUsed(VXSIZE_T index);
  unsigned growUsedFlags();

  char separator_;
  const char* sourceName_;
  VxScanner scanner_;
  VxSeqDictionary attributes_;
  VxToken token_;
  vxCPType codePage_;
  VxBitArray used_;
  VXSIZE_T usedSize_;  // bits the used flags were sized for
  uint16_t fetchCursor_;
  bool allowDuplicates_;
  FirstAttribute firstAttribute_;
  bool attributeSeen_;  // the first attribute has been read
};

#endif  // VX_CONFIG_VXVALUEP_H_
