// VxSubString and VxString: the library's two byte-string classes.
//
// VxSubString is a view: a pointer and a length into bytes that someone
// else owns, tagged with the code-page kind used to step over characters.
// It never allocates and never frees. The bytes need not end with a NUL;
// the few operations that need one (asCStr, getLines) write it at
// data[length], so a buffer behind such a view must have a byte to spare.
//
// VxString derives from the view and (usually) owns a heap buffer that
// grows on demand. Growth is exact: a buffer grows to length + needed + 1
// bytes, never more, so appending one byte at a time reallocates every
// time. Callers that build long texts reserve the total first with
// assureSpace. An owned string always keeps capacity >= length + 1 after a
// successful operation, so asCStr can place the NUL without allocating.
//
// Failure: every growing operation returns 1 and leaves the string as it
// was when the heap is exhausted; no error record is filed then (callers
// add error 1503 or the memory record themselves). A string adopted with
// initializeWithBuffer cannot grow: growth fails with status 1 and files
// error 2716 in the calling thread's error list.
//
// Thread-safety: none. An instance is used by one thread at a time.
#ifndef VX_CONTAINERS_VXSTRING_H_
#define VX_CONTAINERS_VXSTRING_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VxArray;
class VxString;

class VX_EXPORT VxSubString : public VxObject {
 public:
  // Empty view (null data, length 0) of kind cp.
  VxSubString();
  explicit VxSubString(vxCPType cp);
  // View of length bytes at bytes.
  VxSubString(const char* bytes, VXSIZE_T length, vxCPType cp = VX_CP_LOCALE);
  // View of a NUL-terminated text (length from strLen).
  explicit VxSubString(const char* text, vxCPType cp = VX_CP_LOCALE);
  // Copying copies the view (pointer, lengths, kind), never the bytes.
  VxSubString(const VxSubString&) = default;
  VxSubString& operator=(const VxSubString&) = default;
  ~VxSubString() override;

  // Re-points the view; initial length becomes length.
  void initialize(const char* bytes, VXSIZE_T length);
  void initialize(const char* bytes, VXSIZE_T length, vxCPType cp);

  VXSIZE_T getLength() const { return length_; }
  VXSIZE_T getInitialLength() const { return initialLength_; }
  vxCPType getCodePage() const { return codePage_; }
  // data + offset, without writing a NUL.
  char* asPascalStr(VXSIZE_T offset = 0) const { return data_ + offset; }

  // Offset of the first character at or after from whose first byte is
  // ch (stepping by characters); the length when not found, when from is
  // not below the length or when there is no data.
  VXSIZE_T findChar(char ch, VXSIZE_T from = 0) const;
  // Offset of the first occurrence of the NUL-terminated text at or after
  // from, stepping by characters; the length when not found or when from
  // plus the text's length exceeds the length.
  VXSIZE_T findSubString(const char* text, VXSIZE_T from = 0) const;
  // Characters whose first byte is ch, up to the length or a NUL byte.
  VXSIZE_T countChar(char ch) const;
  bool isCharInStr(char ch) const;

  // Equal lengths and equal bytes.
  bool isEqual(const char* text) const;
  bool isEqual(const char* text, VXSIZE_T n) const;
  bool isEqual(const VxSubString& other) const;
  // Equal under the case-insensitive comparison of strCompareCi.
  bool isEqualCi(const char* text) const;
  bool isEqualCi(const char* text, VXSIZE_T n) const;
  bool isEqualCi(const VxSubString& other) const;
  // Bytewise (unsigned) over the shorter length, then the shorter first.
  int16_t compare(const VxSubString& other) const;
  // Counted strCompareCi of the two views.
  int16_t compareCi(const VxSubString& other) const;
  // Containers order and find strings case-insensitively: compareCi with
  // other, which must be a VxSubString (or derived).
  int16_t compare(const VxObject* other) const override;

  // Index of the first of count NUL-terminated texts equal to the view
  // (isEqual / isEqualCi); count when none.
  uint16_t indexInSet(const char* const* list, uint16_t count) const;
  uint16_t indexInSetCi(const char* const* list, uint16_t count) const;

  // Sum of the first five (or fewer) bytes after upper-casing them.
  // Deliberately short: keys sharing their first five letters in any case
  // hash alike.
  VXSIZE_T hash() const;

  // Last byte, 0 when empty.
  char getLastChar() const;
  // Shortens by one byte when not empty.
  void removeLastChar();
  // Shortens while the last byte is white space (isspace).
  void rightBlankTrim();

  // strCopyUnquoted of the view into dst (the first byte is the quote);
  // returns a pointer to the NUL written.
  char* getCopyUnquoted(char* dst) const;
  // strCopyQuoted of the view into dst, always with the apostrophe: the
  // quote argument is ignored (deliberate). Returns a pointer just past
  // the NUL written.
  char* getCopyQuoted(char* dst, char quote) const;
  // The view starts with a quote (its first byte). Appends to string the
  // bytes after it up to the closing quote (a quote that ends the view),
  // doubled quotes reduced to one; a single quote inside is dropped and
  // the byte after it kept. 1 when string cannot grow, else 0.
  unsigned copyQuotedStr(VxString& string) const;
  // Writes a NUL at data[length], then appends to array one new heap
  // VxString (same kind) per non-empty line. Every line must end with a
  // line feed; a last line without one fails. 1 on failure, else 0.
  unsigned getLines(VxArray& array);
  // The view's text as an unsigned 64-bit number (the library's
  // text-to-number conversion; errors 2701/2702 on failure). 0 or 1.
  unsigned getAsVXSIZE_T(VXSIZE_T* value) const;

 protected:
  // View state
  VXSIZE_T length_;
  VXSIZE_T initialLength_;
  char* data_;
  vxCPType codePage_;
};

class VX_EXPORT VxString : public VxSubString {
 public:
  // Empty, owning, no buffer yet.
  VxString();
  explicit VxString(vxCPType cp);
  // Frees the buffer when owned.
  ~VxString() override;
  VxString(const VxString&) = delete;
  VxString& operator=(const VxString&) = delete;

  // Allocate exactly n + 1 bytes, copy n bytes and a NUL, own the buffer.
  // Any previous buffer is NOT freed: for fresh or unInitialize'd strings.
  // 1 when allocation fails, else 0.
  unsigned initialize(const char* text);
  unsigned initialize(const char* text, vxCPType cp);
  unsigned initialize(const char* bytes, VXSIZE_T n);
  unsigned initialize(const char* bytes, VXSIZE_T n, vxCPType cp);
  unsigned initialize(const VxSubString& view);
  unsigned initialize(const VxSubString* view);
  // Empty string with capacity n + 1.
  unsigned initialize(VXSIZE_T n);
  unsigned initialize(VXSIZE_T n, vxCPType cp);
  // Adopts a caller's buffer of capacity bytes holding length bytes,
  // without owning it; such a string cannot grow (error 2716).
  void initializeWithBuffer(char* buffer, VXSIZE_T capacity, VXSIZE_T length);
  void initializeWithBuffer(char* buffer, VXSIZE_T capacity, VXSIZE_T length, vxCPType cp);
  // Frees an owned buffer; data, lengths and capacity become 0.
  void unInitialize();

  VXSIZE_T getCapacity() const { return capacity_; }
  bool ownsBuffer() const { return ownsBuffer_; }

  // Data is not null and capacity >= length + n + 1.
  bool isEnoughSpace(VXSIZE_T n) const;
  // 0 when there is room for n more bytes, else resize(length + n + 1).
  unsigned assureSpace(VXSIZE_T n);
  // Sets the buffer's size to exactly capacity (at least 1 for a new
  // buffer); a capacity below the length is not refused. 1 when the heap
  // is exhausted (old buffer kept) or, with error 2716, when the buffer
  // is not owned; else 0.
  unsigned resize(VXSIZE_T capacity);
  // Reallocates the buffer to length + 1.
  unsigned trim();
  // Writes a NUL at data[length]; returns data + offset. Never allocates.
  char* asCStr(VXSIZE_T offset = 0);

  // Length and initial length 0; the buffer is kept.
  void clear();
  unsigned clearAndSet(const VxSubString& view);

  // Appends; 1 with the string unchanged on failure, else 0.
  unsigned concat(char byte);
  unsigned concat(const char* text);
  unsigned concat(const char* bytes, VXSIZE_T n);
  unsigned concat(const VxSubString& view);
  unsigned concatSpace();
  // Appends the number in decimal (reserves 15 bytes first).
  unsigned concat(uint64_t value);
  unsigned concat(int64_t value);

  // Replaces oldLen bytes at pos by newLen bytes of newBytes. newLen 0
  // with non-null newBytes takes strLen(newBytes); null newBytes deletes.
  // Deliberate: the length of the moved tail and the number of new bytes
  // copied are both taken modulo 65536. newBytes may lie in this string's
  // own buffer (it is copied aside first). 1 on failure, else 0.
  unsigned changeBytes(VXSIZE_T pos, VXSIZE_T oldLen, const char* newBytes, VXSIZE_T newLen);
  // Replaces every occurrence of oldText from offset 0; each search goes
  // on just after the inserted text. Either text may lie in this string's
  // own buffer (both are copied aside first). 1 when a replacement fails,
  // else 0.
  unsigned replaceSubString(const char* oldText, VXSIZE_T oldLen, const char* newText, VXSIZE_T newLen);
  unsigned replaceSubString(const char* oldText, const char* newText);
  // stretch points into this string's own buffer: replaces exactly that
  // stretch with newLen bytes of newText.
  unsigned replaceSubString(const VxSubString& stretch, const char* newText, uint16_t newLen);

  // Rewrites the string as quote + text (quotes doubled) + quote.
  unsigned addQuotes(char quote);
  // strCopyUnquoted in place; returns the new length.
  VXSIZE_T removeQuotes();
  // Appends view in quoted form.
  unsigned addQuotedBytes(const VxSubString& view, char quote);

  // Appends line feeds until the string ends with count of them (never
  // removes any).
  unsigned forceEol(VXSIZE_T count);
  // When longer than width: breaks at the last blank outside quotes
  // whenever more than width bytes have passed since the last break
  // (the blank is dropped). q1, q2, q3 open a quoted stretch that the same
  // byte closes; quotes are ignored when q1 is 0. A line feed already in
  // the text also counts as a break. Works in place (a blank becomes the
  // line feed), so it cannot fail: always 0.
  unsigned insertLineBreaks(VXSIZE_T width, char q1, char q2, char q3);
  // Outside quoted stretches each line feed (tab / carriage return or
  // line feed) becomes one blank, except that no blank is added before
  // another such byte or the end. The text only shrinks, so the work is
  // done in place and cannot fail: always 0.
  unsigned removeLineBreaks(char q1, char q2, char q3);
  unsigned removeTabs(char q1, char q2, char q3);
  unsigned removeLineFeeds(char q1, char q2, char q3);

  // Scramble the bytes in place with the library's encrypt / decrypt.
  void encrypt(uint16_t method, const char* key);
  void decrypt(uint16_t method, const char* key);

 protected:
  // The in-place rewriter moves the target's length while it works.
  friend class VxReplaceString;

  // Buffer state
  VXSIZE_T capacity_;
  bool ownsBuffer_;

 private:
  // Appends n decimal digits, reserving at least 15 bytes (the shared body
  // of the numeric concat forms).
  unsigned concatDigits(const char* digits, uint16_t n);
};

#endif  // VX_CONTAINERS_VXSTRING_H_
