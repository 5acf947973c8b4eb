// Parameter strings, in-place rewriting and catalog message holders.
//
// VxParamString is a message template whose numbered markers are replaced,
// one value after another, by texts and numbers. The n-th value (n counted
// from 1 over all values, whatever their type) replaces every occurrence
// of "%" + type letter + ("x" when n is above 9) + n in decimal; the type
// letter is s for texts and d for numbers. So "File %s1 not found (%d2)."
// and, for the tenth value, "%sx10". The "x" keeps %s1 from matching the
// start of %s10. Numbering is by position, not by type: a number streamed
// first looks for %d1 even when the template starts with %s1. A marker
// absent from the template is not an error; the value goes nowhere.
// When memory runs out the string sets its failed flag and ignores every
// further value streamed in with operator<<.
//
// VxReplaceString rewrites a VxString (its target, not owned) in place from
// left to right: the target's buffer holds the output at the front, then a
// gap, then the not yet consumed source, which is this object's own view.
// The view always shows exactly the unconsumed rest: source bytes are kept
// with increaseInsertionPoint and dropped by moving the view's start on
// (VxSubString::initialize over the rest) or shortening it. The target must
// not be touched by anyone else while a rewrite is under way (after its
// buffer moved, call reInitialize). The destructor closes the gap and
// trims the target.
//
// VxResourceString holds the catalog text of one message number.
//
// Thread-safety: none; one thread at a time per instance.
#ifndef VX_CONTAINERS_VXPARAMS_H_
#define VX_CONTAINERS_VXPARAMS_H_

#include <cstdint>

#include "containers/vxstring.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxParamString : public VxString {
 public:
  // Count 0, not failed, no buffer.
  VxParamString();
  explicit VxParamString(vxCPType cp);

  // Free any buffer held, reset the count, then initialise as
  // VxString::initialize. Sets the failed flag and returns 1 when that
  // fails; else clears it and returns 0.
  unsigned initialize(const char* text);
  unsigned initialize(const char* text, vxCPType cp);
  unsigned initialize(const char* text, VXSIZE_T n);
  unsigned initialize(const char* text, VXSIZE_T n, vxCPType cp);
  unsigned initialize(VXSIZE_T n);
  unsigned initialize(VXSIZE_T n, vxCPType cp);

  // Numbering restarts at 1 (after plain text was appended to a message).
  void resetParamCount() { paramCount_ = 0; }
  uint16_t getParamCount() const { return paramCount_; }
  bool isFailed() const { return (flags_ & kFailed) != 0; }

  // Fill the next marker (type s for texts, d for numbers) everywhere it
  // occurs. 1 and the failed flag set when memory runs out, else 0.
  unsigned setParam(const char* text);
  unsigned setParam(const VxSubString& view);
  unsigned setParam(uint64_t value);
  unsigned setParam(int64_t value);
  // The text quoted with quote (quotes inside doubled), as a type-s value.
  unsigned setQuotedParam(const char* text, char quote);

  // setParam unless the failed flag is set; returns *this for chaining.
  VxParamString& operator<<(const char* text);
  VxParamString& operator<<(uint64_t value);
  VxParamString& operator<<(int64_t value);
  VxParamString& operator<<(const VxSubString& view);

  // Increments the count and writes its marker of the given type letter
  // with a NUL into buffer (at least kMatchBufferSize bytes); returns the
  // marker's length.
  static constexpr unsigned kMatchBufferSize = 9;
  uint16_t buildMatchString(char* buffer, char type);

 private:
  static constexpr uint8_t kFailed = 1;
  unsigned fillNext(char type, const char* text, VXSIZE_T n);

  uint16_t paramCount_;
  uint8_t flags_;
};

class VX_EXPORT VxReplaceString : public VxSubString {
 public:
  VxReplaceString();
  explicit VxReplaceString(vxCPType cp);
  explicit VxReplaceString(VxString* target);
  // Closes the gap (the rest of the source follows the output), sets the
  // target's length to output + rest and trims it.
  ~VxReplaceString() override;
  VxReplaceString(const VxReplaceString&) = delete;
  VxReplaceString& operator=(const VxReplaceString&) = delete;

  // The view becomes the target's whole text; output and gap end 0.
  void initialize(VxString* target);

  // Keeps the next n source bytes (copied down when there is a gap).
  void increaseInsertionPoint(VXSIZE_T n);
  // Writes n new bytes at the output position. When the gap is smaller
  // than n the target first grows by n + 512 bytes and the source moves
  // up. The bytes may lie inside the target's own buffer. 1 when the
  // target cannot grow (nothing changed), else 0.
  unsigned concat(const char* bytes, VXSIZE_T n);
  // Writes quote, the bytes with each quote doubled, quote.
  unsigned addQuotedBytes(const char* bytes, VXSIZE_T n, char quote);
  // Moves the insertion point back to pos (not beyond the current one);
  // the output after pos becomes source again.
  void setInsertionPoint(VXSIZE_T pos);
  // Recomputes the view's start after the target's buffer moved.
  void reInitialize();

  VXSIZE_T getOutputLength() const { return outputLength_; }
  VXSIZE_T getGapEnd() const { return gapEnd_; }

 private:
  // Makes the gap at least need bytes wide (growing the target by need +
  // 512 when it is narrower); *bytes is re-based when it points into the
  // target's buffer. 1 when the target cannot grow.
  unsigned widenGap(VXSIZE_T need, const char** bytes);
  // The gap ends where the view starts: picks up source bytes the caller
  // dropped by moving the view on.
  void syncGapEnd() { gapEnd_ = static_cast<VXSIZE_T>(data_ - target_->data_); }

  VxString* target_;
  VXSIZE_T outputLength_;
  VXSIZE_T gapEnd_;
};

class VX_EXPORT VxResourceString : public VxObject {
 public:
  // Longest text kept (longer catalog texts are cut), without the NUL.
  static constexpr VXSIZE_T kMaxText = 1023;
  // Fills the buffer with the catalog text of message number.
  explicit VxResourceString(uint16_t number);
  operator const char*() const { return text_; }
  VXSIZE_T getLength() const { return length_; }

 private:
  VXSIZE_T length_;
  char text_[kMaxText + 1];
};

#endif  // VX_CONTAINERS_VXPARAMS_H_
