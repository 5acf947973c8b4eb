// VxParamString (message templates), VxReplaceString (left-to-right
// rewriting in place) and VxResourceString (catalog text holder).
#include "containers/vxparams.h"

#include <cstdlib>

#include "foundation/but.h"
#include "foundation/msgtext_internal.h"
#include "foundation/vxdbcs.h"
#include "values/convert.h"

namespace {

// Extra room a rewrite takes whenever its gap is too narrow, so that most
// insertions do not reallocate.
constexpr VXSIZE_T kGapGrowth = 512;

}  // namespace

// ---------------------------------------------------------------------------
// VxParamString

VxParamString::VxParamString() : VxParamString(VX_CP_LOCALE) {}

VxParamString::VxParamString(vxCPType cp) : VxString(cp), paramCount_(0), flags_(0) {}

unsigned VxParamString::initialize(const char* text) {
  return initialize(text, text == nullptr ? 0 : strLen(text), codePage_);
}

unsigned VxParamString::initialize(const char* text, vxCPType cp) {
  return initialize(text, text == nullptr ? 0 : strLen(text), cp);
}

unsigned VxParamString::initialize(const char* text, VXSIZE_T n) {
  return initialize(text, n, codePage_);
}

unsigned VxParamString::initialize(const char* text, VXSIZE_T n, vxCPType cp) {
  unInitialize();
  paramCount_ = 0;
  if (VxString::initialize(text, n, cp)) {
    flags_ |= kFailed;
    return 1;
  }
  flags_ &= static_cast<uint8_t>(~kFailed);
  return 0;
}

unsigned VxParamString::initialize(VXSIZE_T n) { return initialize(n, codePage_); }

unsigned VxParamString::initialize(VXSIZE_T n, vxCPType cp) {
  unInitialize();
  paramCount_ = 0;
  if (VxString::initialize(n, cp)) {
    flags_ |= kFailed;
    return 1;
  }
  flags_ &= static_cast<uint8_t>(~kFailed);
  return 0;
}

// Markers: "%", the type letter, "x" when the number is above 9 (so that
// %s1 is not the start of %s10), then the number in decimal.
uint16_t VxParamString::buildMatchString(char* buffer, char type) {
  ++paramCount_;
  uint16_t n = 0;
  buffer[n++] = '%';
  buffer[n++] = type;
  if (paramCount_ > 9) buffer[n++] = 'x';
  n = static_cast<uint16_t>(n + convert(buffer + n, static_cast<VXSIZE_T>(paramCount_)));
  return n;
}

// The next marker is numbered by position among all values, whatever
// their type. Every occurrence of it is replaced; an absent marker simply
// takes nothing. An empty value is passed as "" so that the replacement
// never measures bytes outside the value.
unsigned VxParamString::fillNext(char type, const char* text, VXSIZE_T n) {
  char marker[kMatchBufferSize];
  uint16_t markerLength = buildMatchString(marker, type);
  if (n == 0) text = "";
  if (replaceSubString(marker, markerLength, text, n)) {
    flags_ |= kFailed;
    return 1;
  }
  return 0;
}

unsigned VxParamString::setParam(const char* text) {
  if (text == nullptr) text = "";
  return fillNext('s', text, strLen(text));
}

unsigned VxParamString::setParam(const VxSubString& view) {
  return fillNext('s', view.asPascalStr(), view.getLength());
}

unsigned VxParamString::setParam(uint64_t value) {
  char digits[24];
  uint16_t n = convert(digits, static_cast<VXSIZE_T>(value));
  return fillNext('d', digits, n);
}

unsigned VxParamString::setParam(int64_t value) {
  char digits[24];
  uint16_t n = convert(digits, static_cast<VXSSIZE_T>(value));
  return fillNext('d', digits, n);
}

unsigned VxParamString::setQuotedParam(const char* text, char quote) {
  VxString quoted(codePage_);
  if (quoted.initialize(text) || quoted.addQuotes(quote)) {
    flags_ |= kFailed;
    return 1;
  }
  return setParam(quoted);
}

VxParamString& VxParamString::operator<<(const char* text) {
  if (!isFailed()) setParam(text);
  return *this;
}

VxParamString& VxParamString::operator<<(uint64_t value) {
  if (!isFailed()) setParam(value);
  return *this;
}

VxParamString& VxParamString::operator<<(int64_t value) {
  if (!isFailed()) setParam(value);
  return *this;
}

VxParamString& VxParamString::operator<<(const VxSubString& view) {
  if (!isFailed()) setParam(view);
  return *this;
}

// ---------------------------------------------------------------------------
// VxReplaceString
//
// Layout of the target's buffer while a rewrite is under way:
//
//   [0, outputLength)           text produced so far
//   [outputLength, gapEnd)      the gap (free bytes)
//   [gapEnd, gapEnd + length_)  source not yet consumed (this object's view)
//
// The target's own length is kept at least at gapEnd + length_, the extent
// of the bytes in use, so that its exact growth always makes room for the
// gap on top of them.

VxReplaceString::VxReplaceString() : VxReplaceString(VX_CP_LOCALE) {}

VxReplaceString::VxReplaceString(vxCPType cp)
    : VxSubString(cp), target_(nullptr), outputLength_(0), gapEnd_(0) {}

VxReplaceString::VxReplaceString(VxString* target) : VxReplaceString(VX_CP_LOCALE) {
  initialize(target);
}

// Closing the gap: the unconsumed source moves down to follow the output,
// the target takes the joined length and gives back its spare room. A
// borrowed buffer is left at its size (trimming it would report error
// 2716 for a string that never had to grow).
VxReplaceString::~VxReplaceString() {
  if (target_ == nullptr) return;
  syncGapEnd();
  char* buffer = target_->data_;
  if (gapEnd_ > outputLength_ && length_ != 0) {
    memCopy(buffer + outputLength_, buffer + gapEnd_, length_);
  }
  target_->length_ = outputLength_ + length_;
  if (target_->ownsBuffer_) target_->trim();
}

void VxReplaceString::initialize(VxString* target) {
  target_ = target;
  outputLength_ = 0;
  gapEnd_ = 0;
  VxSubString::initialize(target->asPascalStr(), target->getLength(), target->getCodePage());
}

void VxReplaceString::increaseInsertionPoint(VXSIZE_T n) {
  syncGapEnd();
  if (gapEnd_ > outputLength_ && n != 0) {
    memCopy(target_->data_ + outputLength_, target_->data_ + gapEnd_, n);
  }
  outputLength_ += n;
  gapEnd_ += n;
  data_ += n;
  length_ -= n;
}

// Widening the gap: the target grows by need + 512 (assureSpace, exact
// growth), the unconsumed source moves up by that amount with a backward
// copy (the areas may overlap) and the view follows it. Bytes the caller
// is about to copy may lie in the target's own buffer: in the source they
// move with it, in the output they stay at their offset.
unsigned VxReplaceString::widenGap(VXSIZE_T need, const char** bytes) {
  syncGapEnd();
  if (gapEnd_ - outputLength_ >= need) return 0;
  const VXSIZE_T growth = need + kGapGrowth;
  const char* oldBuffer = target_->data_;
  const char* p = *bytes;
  bool inSource = p >= oldBuffer + gapEnd_ && p < oldBuffer + gapEnd_ + length_;
  bool inOutput = p >= oldBuffer && p < oldBuffer + outputLength_;
  VXSIZE_T offset = (inSource || inOutput) ? static_cast<VXSIZE_T>(p - oldBuffer) : 0;
  if (target_->assureSpace(growth)) return 1;
  char* buffer = target_->data_;
  if (length_ != 0) memCopyReverse(buffer + gapEnd_ + growth, buffer + gapEnd_, length_);
  gapEnd_ += growth;
  target_->length_ += growth;
  data_ = buffer + gapEnd_;
  if (inSource) *bytes = buffer + offset + growth;
  if (inOutput) *bytes = buffer + offset;
  return 0;
}

unsigned VxReplaceString::concat(const char* bytes, VXSIZE_T n) {
  if (widenGap(n, &bytes)) return 1;
  if (n != 0) memCopy(target_->data_ + outputLength_, bytes, n);
  outputLength_ += n;
  return 0;
}

// Quoted form: quote, the bytes with every quote doubled, quote. The whole
// width is made room for first, so the pieces below never grow the target
// and a failure writes nothing.
unsigned VxReplaceString::addQuotedBytes(const char* bytes, VXSIZE_T n, char quote) {
  VXSIZE_T quotes = 0;
  for (VXSIZE_T i = 0; i < n; ++i) {
    if (bytes[i] == quote) ++quotes;
  }
  if (widenGap(n + quotes + 2, &bytes)) return 1;
  concat(&quote, 1);
  VXSIZE_T runStart = 0;
  for (VXSIZE_T i = 0; i < n; ++i) {
    if (bytes[i] != quote) continue;
    concat(bytes + runStart, i + 1 - runStart);
    concat(&quote, 1);
    runStart = i + 1;
  }
  concat(bytes + runStart, n - runStart);
  concat(&quote, 1);
  return 0;
}

// Taking output back: the bytes after pos move to the front of the
// unconsumed source (a backward copy, since the gap may be narrower than
// they are long) and become source again.
void VxReplaceString::setInsertionPoint(VXSIZE_T pos) {
  if (pos >= outputLength_) return;
  syncGapEnd();
  const VXSIZE_T back = outputLength_ - pos;
  char* buffer = target_->data_;
  if (gapEnd_ > outputLength_) memCopyReverse(buffer + gapEnd_ - back, buffer + pos, back);
  gapEnd_ -= back;
  outputLength_ = pos;
  data_ = buffer + gapEnd_;
  length_ += back;
}

void VxReplaceString::reInitialize() { data_ = target_->data_ + gapEnd_; }

// ---------------------------------------------------------------------------
// VxResourceString

VxResourceString::VxResourceString(uint16_t number)
    : length_(loadMessageText(number, text_, sizeof text_)) {}
