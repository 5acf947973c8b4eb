// VxSubString (a view) and VxString (an owned, exactly growing buffer).
#include "containers/vxstring.h"

#include <cassert>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "containers/vxarray.h"
#include "foundation/but.h"
#include "foundation/ram.h"
#include "foundation/ram_internal.h"
#include "foundation/vxdbcs.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "values/convert.h"

namespace {

// Longest text the counted number conversion copies into its own buffer.
constexpr VXSIZE_T kLongestCountedNumber = 87;

// Offset of the first occurrence of the n bytes of pattern in the view
// (data, length) at or after from, stepping by characters of kind cp;
// length when there is none. An empty pattern occurs nowhere.
VXSIZE_T findBytes(const char* data, VXSIZE_T length, vxCPType cp, const char* pattern,
                   VXSIZE_T n, VXSIZE_T from) {
  if (data == nullptr || n == 0 || from > length || n > length - from) return length;
  const char* hit = strFind(data + from, length - from, pattern, n, cp);
  return hit == nullptr ? length : static_cast<VXSIZE_T>(hit - data);
}

// Number of single-byte characters equal to quote among the n bytes at p:
// exactly the quotes that strCopyQuoted doubles.
VXSIZE_T countQuotes(const char* p, VXSIZE_T n, vxCPType cp, char quote) {
  VXSIZE_T count = 0;
  for (VXSIZE_T i = 0; i < n; i = vxCharNext(p, i, cp)) {
    if (p[i] == quote) ++count;
  }
  return count;
}

// Whether the n bytes at p lie, at least in part, in the buffer of
// capacity bytes at data. An edit moves that buffer's bytes (growth may
// reallocate it, the tail shifts), so text taken from it is copied aside
// first.
bool overlapsBuffer(const char* data, VXSIZE_T capacity, const char* p, VXSIZE_T n) {
  return data != nullptr && p != nullptr && n != 0 && p < data + capacity && data < p + n;
}

// Byte at which a quoted stretch opened by c ends (c itself), or 0 when c
// opens none. Quotes are ignored when q1 is 0.
char quoteOpenedBy(char c, char q1, char q2, char q3) {
  if (q1 == 0) return 0;
  return (c == q1 || c == q2 || c == q3) ? c : 0;
}

}  // namespace

// ---------------------------------------------------------------------------
// VxSubString

VxSubString::VxSubString() : VxSubString(VX_CP_LOCALE) {}

VxSubString::VxSubString(vxCPType cp) : length_(0), initialLength_(0), data_(nullptr), codePage_(cp) {}

VxSubString::VxSubString(const char* bytes, VXSIZE_T length, vxCPType cp)
    : length_(length), initialLength_(length), data_(const_cast<char*>(bytes)), codePage_(cp) {}

VxSubString::VxSubString(const char* text, vxCPType cp)
    : VxSubString(text, text == nullptr ? 0 : strLen(text), cp) {}

VxSubString::~VxSubString() = default;

void VxSubString::initialize(const char* bytes, VXSIZE_T length) {
  data_ = const_cast<char*>(bytes);
  length_ = length;
  initialLength_ = length;
}

void VxSubString::initialize(const char* bytes, VXSIZE_T length, vxCPType cp) {
  initialize(bytes, length);
  codePage_ = cp;
}

VXSIZE_T VxSubString::findChar(char ch, VXSIZE_T from) const {
  if (data_ == nullptr) return length_;
  for (VXSIZE_T i = from; i < length_; i = vxCharNext(data_, i, codePage_)) {
    if (data_[i] == ch) return i;
  }
  return length_;
}

VXSIZE_T VxSubString::findSubString(const char* text, VXSIZE_T from) const {
  return findBytes(data_, length_, codePage_, text, strLen(text), from);
}

VXSIZE_T VxSubString::countChar(char ch) const {
  VXSIZE_T count = 0;
  for (VXSIZE_T i = 0; i < length_ && data_[i] != '\0'; i = vxCharNext(data_, i, codePage_)) {
    if (data_[i] == ch) ++count;
  }
  return count;
}

bool VxSubString::isCharInStr(char ch) const {
  return length_ != 0 && findChar(ch, 0) < length_;
}

bool VxSubString::isEqual(const char* text) const { return isEqual(text, strLen(text)); }

bool VxSubString::isEqual(const char* text, VXSIZE_T n) const {
  return n == length_ && (n == 0 || memEqual(data_, text, n));
}

bool VxSubString::isEqual(const VxSubString& other) const {
  return isEqual(other.data_, other.length_);
}

bool VxSubString::isEqualCi(const char* text) const { return isEqualCi(text, strLen(text)); }

bool VxSubString::isEqualCi(const char* text, VXSIZE_T n) const {
  return strCompareCi(data_, length_, text, n) == 0;
}

bool VxSubString::isEqualCi(const VxSubString& other) const {
  return isEqualCi(other.data_, other.length_);
}

int16_t VxSubString::compare(const VxSubString& other) const {
  return strCompare(data_, length_, other.data_, other.length_);
}

int16_t VxSubString::compareCi(const VxSubString& other) const {
  return strCompareCi(data_, length_, other.data_, other.length_);
}

int16_t VxSubString::compare(const VxObject* other) const {
  return compareCi(*static_cast<const VxSubString*>(other));
}

uint16_t VxSubString::indexInSet(const char* const* list, uint16_t count) const {
  for (uint16_t i = 0; i < count; ++i) {
    if (isEqual(list[i])) return i;
  }
  return count;
}

uint16_t VxSubString::indexInSetCi(const char* const* list, uint16_t count) const {
  for (uint16_t i = 0; i < count; ++i) {
    if (isEqualCi(list[i])) return i;
  }
  return count;
}

VXSIZE_T VxSubString::hash() const {
  char head[6] = {0};
  VXSIZE_T n = length_ < 5 ? length_ : 5;
  if (n != 0) memCopy(head, data_, n);
  strUpper(head);
  VXSIZE_T sum = 0;
  for (VXSIZE_T i = 0; i < n; ++i) sum += static_cast<unsigned char>(head[i]);
  return sum;
}

char VxSubString::getLastChar() const { return length_ == 0 ? '\0' : data_[length_ - 1]; }

void VxSubString::removeLastChar() {
  if (length_ != 0) --length_;
}

void VxSubString::rightBlankTrim() {
  while (length_ != 0 && isspace(static_cast<unsigned char>(data_[length_ - 1]))) --length_;
}

char* VxSubString::getCopyUnquoted(char* dst) const {
  return strCopyUnquoted(dst, data_, length_);
}

char* VxSubString::getCopyQuoted(char* dst, char) const {
  return strCopyQuoted(dst, data_, length_, codePage_, '\'');
}

// Copying a quoted token out of its quotes. The view's first byte is the
// quote. From the byte after it: a quote is skipped, and if it was the last
// byte of the view the copy ends there (that is the closing quote);
// otherwise the character after it is copied as it is, so a doubled quote
// yields one quote. Every other character is copied whole (a lead byte
// with its trail byte). Room for the view's length is reserved first, so
// nothing after that can fail.
unsigned VxSubString::copyQuotedStr(VxString& string) const {
  if (string.assureSpace(length_)) return 1;
  if (length_ == 0) return 0;
  const char quote = data_[0];
  char* const start = string.data_ + string.length_;
  char* out = start;
  VXSIZE_T i = 1;
  while (i < length_) {
    if (data_[i] == quote) {
      ++i;
      if (i >= length_) break;
    }
    VXSIZE_T next = vxCharNext(data_, i, codePage_);
    if (next > length_) next = length_;
    while (i < next) *out++ = data_[i++];
  }
  string.length_ += static_cast<VXSIZE_T>(out - start);
  return 0;
}

// Splitting into lines. A NUL is written at data[length] first (the caller
// leaves that byte to spare). Each line ends at a line feed; empty lines
// are skipped; bytes after the last line feed make the call fail, since
// every line must be terminated. Lines already added stay in the array.
unsigned VxSubString::getLines(VxArray& array) {
  if (data_ == nullptr) return 0;
  data_[length_] = '\0';
  VXSIZE_T start = 0;
  while (start < length_) {
    VXSIZE_T end = findChar('\n', start);
    if (end >= length_) return 1;
    if (end > start) {
      VxString* line = new VxString(codePage_);
      if (line == nullptr) return 1;
      if (line->initialize(data_ + start, end - start) || array.add(line)) {
        delete line;
        return 1;
      }
    }
    start = end + 1;
  }
  return 0;
}

unsigned VxSubString::getAsVXSIZE_T(VXSIZE_T* value) const {
  if (length_ <= kLongestCountedNumber) return convert(data_, length_, value);
  // Longer than the counted conversion takes: convert a terminated copy.
  char* copy = ramAllocStr(data_, length_);
  if (copy == nullptr) return 1;
  unsigned status = convert(copy, value);
  free(copy);
  return status;
}

// ---------------------------------------------------------------------------
// VxString

VxString::VxString() : VxString(VX_CP_LOCALE) {}

VxString::VxString(vxCPType cp) : VxSubString(cp), capacity_(0), ownsBuffer_(true) {}

VxString::~VxString() {
  if (ownsBuffer_) free(data_);
}

unsigned VxString::initialize(const char* text) {
  return initialize(text, text == nullptr ? 0 : strLen(text), codePage_);
}

unsigned VxString::initialize(const char* text, vxCPType cp) {
  return initialize(text, text == nullptr ? 0 : strLen(text), cp);
}

unsigned VxString::initialize(const char* bytes, VXSIZE_T n) {
  return initialize(bytes, n, codePage_);
}

unsigned VxString::initialize(const char* bytes, VXSIZE_T n, vxCPType cp) {
  char* buffer = static_cast<char*>(ramAlloc(n + 1));
  if (buffer == nullptr) return 1;
  if (n != 0) memCopy(buffer, bytes, n);
  buffer[n] = '\0';
  data_ = buffer;
  length_ = n;
  initialLength_ = n;
  capacity_ = n + 1;
  ownsBuffer_ = true;
  codePage_ = cp;
  return 0;
}

unsigned VxString::initialize(const VxSubString& view) {
  return initialize(view.asPascalStr(), view.getLength(), view.getCodePage());
}

unsigned VxString::initialize(const VxSubString* view) { return initialize(*view); }

unsigned VxString::initialize(VXSIZE_T n) { return initialize(n, codePage_); }

unsigned VxString::initialize(VXSIZE_T n, vxCPType cp) {
  char* buffer = static_cast<char*>(ramAlloc(n + 1));
  if (buffer == nullptr) return 1;
  buffer[0] = '\0';
  data_ = buffer;
  length_ = 0;
  initialLength_ = 0;
  capacity_ = n + 1;
  ownsBuffer_ = true;
  codePage_ = cp;
  return 0;
}

void VxString::initializeWithBuffer(char* buffer, VXSIZE_T capacity, VXSIZE_T length) {
  initializeWithBuffer(buffer, capacity, length, codePage_);
}

void VxString::initializeWithBuffer(char* buffer, VXSIZE_T capacity, VXSIZE_T length, vxCPType cp) {
  data_ = buffer;
  capacity_ = capacity;
  length_ = length;
  initialLength_ = length;
  codePage_ = cp;
  ownsBuffer_ = false;
}

void VxString::unInitialize() {
  if (ownsBuffer_) free(data_);
  data_ = nullptr;
  length_ = 0;
  initialLength_ = 0;
  capacity_ = 0;
}

bool VxString::isEnoughSpace(VXSIZE_T n) const {
  return data_ != nullptr && capacity_ >= length_ + n + 1;
}

// Deliberate: no growth factor. The buffer grows to exactly what is asked
// for; callers that append in a loop reserve the total once.
unsigned VxString::assureSpace(VXSIZE_T n) {
  if (isEnoughSpace(n)) return 0;
  if (resize(length_ + n + 1)) return 1;
  // The grown buffer holds the length, the n bytes and the NUL.
  assert(capacity_ > length_ && capacity_ - length_ > n);
  return 0;
}

unsigned VxString::resize(VXSIZE_T capacity) {
  if (!ownsBuffer_) {
    addError(kErrStringCannotGrow);
    return 1;
  }
  if (capacity == 0) capacity = 1;
  if (data_ == nullptr) {
    char* buffer = static_cast<char*>(ramAlloc(capacity));
    if (buffer == nullptr) return 1;
    data_ = buffer;
  } else if (ramResize(&data_, capacity)) {
    return 1;
  }
  capacity_ = capacity;
  return 0;
}

unsigned VxString::trim() {
  if (data_ == nullptr) return 0;
  if (resize(length_ + 1)) return 1;
  // Trimming keeps exactly the room for the NUL after the text.
  assert(capacity_ == length_ + 1);
  return 0;
}

char* VxString::asCStr(VXSIZE_T offset) {
  if (data_ == nullptr) {
    // A string that never had a buffer reads as the empty text.
    static char empty[1];
    empty[0] = '\0';
    return empty;
  }
  data_[length_] = '\0';
  return data_ + offset;
}

void VxString::clear() {
  length_ = 0;
  initialLength_ = 0;
}

unsigned VxString::clearAndSet(const VxSubString& view) {
  clear();
  return concat(view);
}

unsigned VxString::concat(char byte) {
  // The common case of a loop that reserved its room: no growth, one store.
  if (isEnoughSpace(1)) {
    data_[length_++] = byte;
    return 0;
  }
  return concat(&byte, 1);
}

unsigned VxString::concat(const char* text) {
  return text == nullptr ? 0 : concat(text, strLen(text));
}

unsigned VxString::concat(const char* bytes, VXSIZE_T n) {
  // The bytes may come from this string's own buffer, which may move.
  const char* old = data_;
  bool own = old != nullptr && bytes >= old && bytes < old + capacity_;
  VXSIZE_T offset = own ? static_cast<VXSIZE_T>(bytes - old) : 0;
  if (assureSpace(n)) return 1;
  if (own) bytes = data_ + offset;
  if (n != 0) memCopy(data_ + length_, bytes, n);
  length_ += n;
  return 0;
}

unsigned VxString::concat(const VxSubString& view) {
  return concat(view.asPascalStr(), view.getLength());
}

unsigned VxString::concatSpace() { return concat(' '); }

// Numbers: 15 bytes are reserved, as callers have always been able to
// count on; a number with more digits reserves what it needs, so the
// conversion never writes past the buffer.
unsigned VxString::concatDigits(const char* digits, uint16_t n) {
  if (assureSpace(n > 15 ? n : 15)) return 1;
  memCopy(data_ + length_, digits, n);
  length_ += n;
  return 0;
}

unsigned VxString::concat(uint64_t value) {
  char digits[24];
  return concatDigits(digits, convert(digits, static_cast<VXSIZE_T>(value)));
}

unsigned VxString::concat(int64_t value) {
  char digits[24];
  return concatDigits(digits, convert(digits, static_cast<VXSSIZE_T>(value)));
}

// Replacing a stretch. Room for the growth is assured first, so a failure
// changes nothing. When the lengths differ and bytes follow the stretch,
// that tail moves: a backward copy when growing (the destination lies
// above the source), a forward copy when shrinking. Then the new bytes are
// copied in and a NUL is written after the new length.
// Deliberate: the tail length and the count of new bytes copied are both
// narrowed to 16 bits (taken modulo 65536), while the length still
// advances by the full difference.
unsigned VxString::changeBytes(VXSIZE_T pos, VXSIZE_T oldLen, const char* newBytes,
                               VXSIZE_T newLen) {
  if (newBytes == nullptr) {
    newLen = 0;
  } else if (newLen == 0) {
    newLen = strLen(newBytes);
  }
  if (overlapsBuffer(data_, capacity_, newBytes, newLen)) {
    char* copy = ramAllocStr(newBytes, newLen);
    if (copy == nullptr) return 1;
    unsigned status = changeBytes(pos, oldLen, copy, newLen);
    free(copy);
    return status;
  }
  if (newLen > oldLen && assureSpace(newLen - oldLen)) return 1;
  if (newLen != oldLen && pos + oldLen < length_) {
    uint16_t tail = static_cast<uint16_t>(length_ - pos - oldLen);
    if (newLen > oldLen) {
      memCopyReverse(data_ + pos + newLen, data_ + pos + oldLen, tail);
    } else {
      memCopy(data_ + pos + newLen, data_ + pos + oldLen, tail);
    }
  }
  if (newBytes != nullptr) memCopy(data_ + pos, newBytes, static_cast<uint16_t>(newLen));
  length_ = length_ - oldLen + newLen;
  if (data_ != nullptr) data_[length_] = '\0';
  return 0;
}

// Replacing every occurrence. The search starts at offset 0 and, after
// each replacement, just after the inserted text, so inserted text is
// never searched again ("aa" -> "a" turns "aaaa" into "aa"). The matches
// are therefore the non-overlapping ones of the original text, left to
// right: when the text grows, the room for all of them is reserved before
// the first is replaced. That ends with the same exact capacity as
// growing at each replacement, and a failure leaves the string unchanged.
unsigned VxString::replaceSubString(const char* oldText, VXSIZE_T oldLen, const char* newText,
                                    VXSIZE_T newLen) {
  if (newText == nullptr) {
    newLen = 0;
  } else if (newLen == 0) {
    newLen = strLen(newText);
  }
  // An empty text occurs nowhere.
  if (oldLen == 0) return 0;
  if (overlapsBuffer(data_, capacity_, oldText, oldLen) ||
      overlapsBuffer(data_, capacity_, newText, newLen)) {
    char* oldCopy = ramAllocStr(oldText, oldLen);
    char* newCopy = newLen == 0 ? nullptr : ramAllocStr(newText, newLen);
    unsigned status = 1;
    if (oldCopy != nullptr && (newLen == 0 || newCopy != nullptr)) {
      status = replaceSubString(oldCopy, oldLen, newCopy, newLen);
    }
    free(oldCopy);
    free(newCopy);
    return status;
  }
  if (newLen > oldLen) {
    VXSIZE_T count = 0;
    for (VXSIZE_T pos = findBytes(data_, length_, codePage_, oldText, oldLen, 0); pos < length_;
         pos = findBytes(data_, length_, codePage_, oldText, oldLen, pos + oldLen)) {
      ++count;
    }
    if (count != 0 && assureSpace(count * (newLen - oldLen))) return 1;
  }
  for (VXSIZE_T pos = findBytes(data_, length_, codePage_, oldText, oldLen, 0); pos < length_;
       pos = findBytes(data_, length_, codePage_, oldText, oldLen, pos + newLen)) {
    if (changeBytes(pos, oldLen, newText, newLen)) return 1;
  }
  return 0;
}

unsigned VxString::replaceSubString(const char* oldText, const char* newText) {
  return replaceSubString(oldText, strLen(oldText), newText, strLen(newText));
}

unsigned VxString::replaceSubString(const VxSubString& stretch, const char* newText,
                                    uint16_t newLen) {
  VXSIZE_T pos = static_cast<VXSIZE_T>(stretch.asPascalStr() - data_);
  return changeBytes(pos, stretch.getLength(), newText, newLen);
}

// Quoting in place: room for the two outer quotes and one more byte per
// quote inside is reserved, the text is copied aside, and strCopyQuoted
// writes the quoted form back over the buffer.
unsigned VxString::addQuotes(char quote) {
  VXSIZE_T quotes = countQuotes(data_, length_, codePage_, quote);
  if (assureSpace(quotes + 2)) return 1;
  char* copy = ramAllocStr(data_, length_);
  if (copy == nullptr) return 1;
  char* end = strCopyQuoted(data_, copy, length_, codePage_, quote);
  free(copy);
  length_ = static_cast<VXSIZE_T>(end - 1 - data_);
  return 0;
}

// Texts shorter than two bytes cannot hold a pair of quotes and are left
// alone.
VXSIZE_T VxString::removeQuotes() {
  if (data_ == nullptr || length_ < 2) return length_;
  char* end = strCopyUnquoted(data_, data_, length_);
  length_ = static_cast<VXSIZE_T>(end - data_);
  return length_;
}

unsigned VxString::addQuotedBytes(const VxSubString& view, char quote) {
  const char* bytes = view.asPascalStr();
  VXSIZE_T n = view.getLength();
  const char* old = data_;
  bool own = old != nullptr && bytes >= old && bytes < old + capacity_;
  VXSIZE_T offset = own ? static_cast<VXSIZE_T>(bytes - old) : 0;
  VXSIZE_T quotes = countQuotes(bytes, n, view.getCodePage(), quote);
  if (assureSpace(n + quotes + 2)) return 1;
  if (own) bytes = data_ + offset;
  char* end = strCopyQuoted(data_ + length_, bytes, n, view.getCodePage(), quote);
  length_ = static_cast<VXSIZE_T>(end - 1 - data_);
  return 0;
}

unsigned VxString::forceEol(VXSIZE_T count) {
  VXSIZE_T present = 0;
  while (present < length_ && data_[length_ - 1 - present] == '\n') ++present;
  if (present >= count) return 0;
  VXSIZE_T missing = count - present;
  if (assureSpace(missing)) return 1;
  memFill(data_ + length_, '\n', missing);
  length_ += missing;
  return 0;
}

// Breaking long lines. Walks the text once, tracking quoted stretches (a
// byte equal to q1, q2 or q3 opens one, the same byte closes it; no quotes
// when q1 is 0) and the last blank seen outside them since the last break.
// As soon as more than width bytes have passed since the last break and
// such a blank exists, that blank becomes a line feed. A line feed already
// in the text also counts as a break. A stretch without a usable blank is
// never broken. Since a blank is traded for a line feed the length never
// changes, so the work is done in place and cannot fail.
unsigned VxString::insertLineBreaks(VXSIZE_T width, char q1, char q2, char q3) {
  if (length_ <= width) return 0;
  VXSIZE_T lineStart = 0;
  VXSIZE_T lastBlank = length_;
  char open = 0;
  for (VXSIZE_T i = 0; i < length_; ++i) {
    char c = data_[i];
    if (open != 0) {
      if (c == open) open = 0;
    } else {
      open = quoteOpenedBy(c, q1, q2, q3);
      if (open == 0 && c == ' ') lastBlank = i;
      if (open == 0 && c == '\n') {
        lineStart = i + 1;
        lastBlank = length_;
        continue;
      }
    }
    if (i + 1 - lineStart > width && lastBlank < length_) {
      data_[lastBlank] = '\n';
      lineStart = lastBlank + 1;
      lastBlank = length_;
    }
  }
  return 0;
}

namespace {

// Folding break bytes into blanks. Outside quoted stretches each byte that
// isBreak accepts is dropped; a single blank takes its place unless the
// next byte is also a break byte or the text ends there, so a run of them
// becomes one blank and a run at the end disappears. The result is never
// longer than the text, so it is written in place; returns the new length.
template <typename IsBreak>
VXSIZE_T foldBreaks(char* data, VXSIZE_T length, char q1, char q2, char q3, IsBreak isBreak) {
  VXSIZE_T out = 0;
  char open = 0;
  for (VXSIZE_T i = 0; i < length; ++i) {
    char c = data[i];
    if (open != 0) {
      if (c == open) open = 0;
    } else if ((open = quoteOpenedBy(c, q1, q2, q3)) == 0 && isBreak(c)) {
      if (i + 1 < length && !isBreak(data[i + 1])) data[out++] = ' ';
      continue;
    }
    data[out++] = c;
  }
  return out;
}

}  // namespace

unsigned VxString::removeLineBreaks(char q1, char q2, char q3) {
  length_ = foldBreaks(data_, length_, q1, q2, q3, [](char c) { return c == '\n'; });
  return 0;
}

unsigned VxString::removeTabs(char q1, char q2, char q3) {
  length_ = foldBreaks(data_, length_, q1, q2, q3, [](char c) { return c == '\t'; });
  return 0;
}

unsigned VxString::removeLineFeeds(char q1, char q2, char q3) {
  length_ = foldBreaks(data_, length_, q1, q2, q3,
                       [](char c) { return c == '\r' || c == '\n'; });
  return 0;
}

void VxString::encrypt(uint16_t method, const char* key) {
  if (length_ != 0) ::encrypt(data_, length_, method, key);
}

void VxString::decrypt(uint16_t method, const char* key) {
  if (length_ != 0) ::decrypt(data_, length_, method, key);
}
