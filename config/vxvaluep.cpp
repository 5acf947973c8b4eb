// The connection-string parser: parse, fetch, edit and rebuild.
#include "config/vxvaluep.h"

#include <cstring>

#include "foundation/msgtext_internal.h"
#include "foundation/vxdbcs.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxstr.h"

namespace {

bool keywordIs(const VxSubString& key, const char* name) { return key.isEqualCi(name); }

// Whether the value must be written in quotes to survive a new parse.
bool needsQuotes(const char* value, VXSIZE_T length, char separator) {
  for (VXSIZE_T i = 0; i < length; ++i)
    if (value[i] == '\'' || value[i] == '"' || value[i] == separator) return true;
  return false;
}

// A value read from ODBC braces: what lay between them, "}}" read as "}".
// buildString writes it back in braces, so that it reads back the same.
class BracedValue : public VxString {
 public:
  explicit BracedValue(vxCPType cp) : VxString(cp) {}
};

// The value an attribute keeps for the value token: a view of the token
// itself, or for a braced token (class 3) a copy of its inside with "}}"
// undoubled. Null when memory runs out.
VxSubString* makeValue(const VxToken& value, vxCPType cp) {
  if (value.getTokenType() != VX_TOKEN_QUOTED)
    return new VxSubString(value.asPascalStr(), value.getLength(), cp);
  BracedValue* braced = new BracedValue(cp);
  const char* inside = value.asPascalStr() + 1;
  VXSIZE_T length = value.getLength() - 2;
  if (!braced || braced->assureSpace(length) != 0) {
    delete braced;
    return nullptr;
  }
  // Step by characters, as the scanner did, so that a "}" byte inside a
  // multibyte character is not taken for a brace. The closing brace after
  // the inside keeps the step within the token.
  for (VXSIZE_T i = 0; i < length;) {
    VXSIZE_T size = vxCharSize(inside, i, cp);
    if (size == 0) size = 1;  // a NUL byte is a character of its own here
    if (size > length - i) size = length - i;
    braced->concat(inside + i, size);
    i += size == 1 && inside[i] == '}' ? 2 : size;  // "}}" is one "}"
  }
  return braced;
}

// Whether buildString must write the value in braces for it to read back
// as itself: a value that came from braces, and any value that starts with
// "{" (which a new parse could otherwise match with a later "}").
bool needsBraces(const VxSubString& value) {
  return dynamic_cast<const BracedValue*>(&value) || (value.getLength() > 0 && value.asPascalStr()[0] == '{');
}

// Appends value to out in braces, every "}" doubled; 1 when out cannot grow.
unsigned concatBraced(VxString& out, const VxSubString& value) {
  const char* text = value.asPascalStr();
  VXSIZE_T length = value.getLength();
  if (out.assureSpace(2 * length + 2) != 0) return 1;
  out.concat('{');
  for (VXSIZE_T i = 0; i < length; ++i) {
    out.concat(text[i]);
    if (text[i] == '}') out.concat('}');
  }
  out.concat('}');
  return 0;
}

// Appends a blank and the text of a catalog message to a record.
void appendMessage(VxError& error, uint16_t number) {
  char text[512];
  loadMessageText(number, text, sizeof text);
  error.appendText(" ");
  error.appendText(text);
}

}  // namespace

VxValueParser::VxValueParser(const VxSubString& input, char separator, const char* sourceName,
                             int allowDuplicates)
    : separator_(separator),
      sourceName_(sourceName),
      scanner_(input),
      codePage_(input.getCodePage()),
      usedSize_(0),
      fetchCursor_(0),
      allowDuplicates_(allowDuplicates != 0),
      firstAttribute_(kNoneYet),
      attributeSeen_(false) {
  attributes_.setCaseInsensitive();
}

VxValueParser::~VxValueParser() { attributes_.deleteKeyAndData(); }

void VxValueParser::setQuotingChars(uint16_t q1, uint16_t q2, uint16_t q3) {
  scanner_.setQuotes(char(q1), char(q2), char(q3));
}

void VxValueParser::setValidChars(const char* chars) { scanner_.setValidChars(chars); }

void VxValueParser::resetValidChars() { scanner_.resetValidChars(); }

VxError& VxValueParser::raiseParseError() {
  uint64_t position = token_.getBegOfToken();
  if (sourceName_) return addError(kErrSyntaxInSource) << position << sourceName_;
  return addError(kErrConnectionStringSyntax) << position;
}

// initialize: read a token; stop at the end of the text; unless it is the
// separator, parse one attribute; go on while the current token is the
// separator. Anything else after an attribute is a syntax error.
unsigned VxValueParser::initialize() {
  firstAttribute_ = kNoneYet;
  attributeSeen_ = false;
  for (;;) {
    if (scanner_.getToken(token_) == VX_TOKEN_END) break;
    if (token_.getTokenType() != static_cast<unsigned char>(separator_) && parseAttribute() != 0) return 1;
    if (token_.getTokenType() == VX_TOKEN_END) break;
    if (token_.getTokenType() != static_cast<unsigned char>(separator_)) {
      raiseParseError();
      return 1;
    }
  }
  return growUsedFlags();
}

// One attribute: keyword words, the equals sign, the value up to the
// separator; then the first-attribute rules decide whether it is stored.
unsigned VxValueParser::parseAttribute() {
  if (token_.getTokenType() != VX_TOKEN_WORD) {
    raiseParseError();
    return 1;
  }
  VxSubString keyword = readKeyword();
  bool present = attributes_.doesExist(keyword);
  // "Driver" may always repeat. Deliberately its own test, apart from the
  // DSN/DRIVER rule of isDropped.
  if (present && !allowDuplicates_ && !keywordIs(keyword, "Driver")) {
    raiseRepeatedKeyword();
    return 1;
  }
  if (keywordIs(keyword, "ODBC")) return 0;
  VxToken value;
  if (readValue(value) != 0) return 1;
  noteFirstAttribute(keyword);
  if (!isDropped(keyword, present) && storeAttribute(keyword, value) != 0) return 1;
  readAfterValue(value.getBegOfToken() + value.getLength());
  return 0;
}

// The keyword: the word at the current token and the words right after it,
// as one view from the first to the end of the last. The current token is
// then the one after them.
VxSubString VxValueParser::readKeyword() {
  const char* text = scanner_.getText();
  VXSIZE_T keyStart = token_.getBegOfToken();
  VXSIZE_T keyEnd = keyStart + token_.getLength();
  while (scanner_.getToken(token_) == VX_TOKEN_WORD) keyEnd = token_.getBegOfToken() + token_.getLength();
  return VxSubString(text + keyStart, keyEnd - keyStart, codePage_);
}

// The syntax error of a repeated keyword: message 2706 and the token after
// the keyword appended to it.
void VxValueParser::raiseRepeatedKeyword() {
  VxError& error = raiseParseError();
  appendMessage(error, kErrRepeatedKeyword);
  error.appendText(" ");
  VxString current;
  if (current.initialize(token_) == 0) error.appendText(current.asCStr());
}

// The equals sign (the current token), then the value up to the separator,
// an empty word at the end of the text when nothing follows. 1, with the
// syntax error filed, when the current token is no equals sign.
unsigned VxValueParser::readValue(VxToken& value) {
  int32_t type = token_.getTokenType();
  if (type != '=' && !(type > 255 && (type >> 8) == '=')) {
    raiseParseError();
    return 1;
  }
  // A longer operator that starts with "=": the value starts right after
  // the equals sign.
  VxToken restart;
  scanner_.getToken(restart, token_.getBegOfToken() + 1, 0);
  if (scanner_.getDelimitedToken(value, separator_) == VX_TOKEN_END)
    value.setToken(scanner_.getText(), scanner_.getLength(), 0, codePage_, VX_TOKEN_WORD);
  return 0;
}

// Only the first attribute decides: after "UID=u" neither a later DSN nor
// a later DRIVER drops the other.
void VxValueParser::noteFirstAttribute(const VxSubString& keyword) {
  if (attributeSeen_) return;
  attributeSeen_ = true;
  if (keywordIs(keyword, "DSN"))
    firstAttribute_ = kDsnFirst;
  else if (keywordIs(keyword, "DRIVER"))
    firstAttribute_ = kDriverFirst;
}

// Whether the attribute is read but not stored: a keyword already present,
// a DSN after a first DRIVER, a DRIVER after a first DSN.
bool VxValueParser::isDropped(const VxSubString& keyword, bool present) const {
  // deliberate: after a first DSN, "DRIVER" is recognised by its length
  // and first letter only, so any six-character keyword starting with D
  // or d is dropped.
  bool driverAfterDsn = firstAttribute_ == kDsnFirst && keyword.getLength() == 6 &&
                        (keyword.asPascalStr()[0] == 'D' || keyword.asPascalStr()[0] == 'd');
  return present || (firstAttribute_ == kDriverFirst && keywordIs(keyword, "DSN")) || driverAfterDsn;
}

// Adds the keyword and its value (makeValue) to the attributes; 1, with
// "out of memory" filed, when either cannot be stored.
unsigned VxValueParser::storeAttribute(const VxSubString& keyword, const VxToken& value) {
  VxSubString* key = new VxSubString(keyword);
  VxSubString* data = makeValue(value, codePage_);
  if (!key || !data || attributes_.addAssoc(key, data) != 0) {
    delete key;
    delete data;
    addError(kErrOutOfMemory);
    return 1;
  }
  return 0;
}

// The delimited value consumed its separator: make the current token that
// separator, or the end token when the text ended first.
void VxValueParser::readAfterValue(VXSIZE_T valueEnd) {
  VXSIZE_T position = scanner_.getPosition();
  const char* text = scanner_.getText();
  if (position > valueEnd && text[position - 1] == separator_)
    token_.setToken(text, position - 1, 1, codePage_, static_cast<unsigned char>(separator_));
  else
    scanner_.getToken(token_);
}

// The used flags follow the attributes: one bit each, grown (bits kept)
// when attributes are added after the parse.
unsigned VxValueParser::growUsedFlags() {
  VXSIZE_T count = attributes_.getCount();
  if (count <= usedSize_ && usedSize_ != 0) return 0;
  VXSIZE_T size = count + 16;
  VxBitArray grown;
  if (grown.initialize(size) != 0) {
    addError(kErrOutOfMemory);
    return 1;
  }
  for (VXSIZE_T i = 0; i < usedSize_; ++i)
    if (used_.isSet(i)) grown.set(i);
  if (used_.initialize(size) != 0) {
    addError(kErrOutOfMemory);
    return 1;
  }
  for (VXSIZE_T i = 0; i < size; ++i)
    if (grown.isSet(i)) used_.set(i);
  usedSize_ = size;
  return 0;
}

void VxValueParser::markUsed(VXSIZE_T index) {
  if (index < usedSize_) used_.set(index);
}

VXSIZE_T VxValueParser::indexOf(const char* key, VXSIZE_T length) const {
  VxSubString view(key, length, codePage_);
  return attributes_.getIndexForKey(view);
}

const VxSubString* VxValueParser::getAttributeValue(const VxSubString& keyword) {
  VXSIZE_T index = attributes_.getIndexForKey(keyword);
  if (index == attributes_.getCount()) return nullptr;
  markUsed(index);
  return static_cast<const VxSubString*>(attributes_.getPtrDataAtIndex(index));
}

const VxSubString* VxValueParser::getAttributeValue(const char* keyword) {
  return getAttributeValue(VxSubString(keyword, strlen(keyword), codePage_));
}

unsigned VxValueParser::getAttributeValue(const char* firstName, const char* secondName,
                                          const VxSubString** value) {
  bool first = isAttributeValue(firstName), second = isAttributeValue(secondName);
  if (first && second) {
    *value = nullptr;
    VxError& error = raiseParseError();
    appendMessage(error, kErrBothSynonyms);
    error.appendText(" ");
    error.appendText(firstName);
    error.appendText(", ");
    error.appendText(secondName);
    return 1;
  }
  *value = first ? getAttributeValue(firstName) : second ? getAttributeValue(secondName) : nullptr;
  return 0;
}

bool VxValueParser::isAttributeValue(const char* keyword) const {
  return indexOf(keyword, strlen(keyword)) != attributes_.getCount();
}

bool VxValueParser::isAttributeValue(const VxSubString& keyword) const {
  return attributes_.getIndexForKey(keyword) != attributes_.getCount();
}

uint16_t VxValueParser::getUnusedCount() const {
  uint16_t unused = 0;
  for (VXSIZE_T i = 0; i < attributes_.getCount(); ++i)
    if (i >= usedSize_ || !used_.isSet(i)) ++unused;
  return unused;
}

const VxSubString* VxValueParser::getUnusedAttribute() {
  while (fetchCursor_ < attributes_.getCount()) {
    uint16_t i = fetchCursor_++;
    if (i >= usedSize_ || !used_.isSet(i)) return attributes_.getSubKeyAtIndex(i);
  }
  return nullptr;
}

void VxValueParser::resetUnused() {
  if (usedSize_ != 0) used_.resetAll();
  fetchCursor_ = 0;
}

const VxSubString* VxValueParser::getAttributeKey(uint16_t index) const {
  return attributes_.getSubKeyAtIndex(index);
}

const VxSubString* VxValueParser::getAttributeValueAt(uint16_t index) const {
  return static_cast<const VxSubString*>(attributes_.getPtrDataAtIndex(index));
}

unsigned VxValueParser::addAttribute(const char* key, const char* value, const char* secondKey) {
  return addAttribute(key, strlen(key), value, strlen(value), secondKey, secondKey ? strlen(secondKey) : 0);
}

unsigned VxValueParser::addAttribute(const char* key, VXSIZE_T keyLength, const char* value,
                                     VXSIZE_T valueLength, const char* secondKey, VXSIZE_T secondKeyLength) {
  VXSIZE_T index = indexOf(key, keyLength);
  if (index == attributes_.getCount() && secondKey) index = indexOf(secondKey, secondKeyLength);

  VxString* data = new VxString(codePage_);
  if (!data || data->initialize(value, valueLength) != 0 ||
      (needsQuotes(value, valueLength, separator_) && data->addQuotes('\'') != 0)) {
    delete data;
    return 1;
  }
  if (index != attributes_.getCount()) {
    delete attributes_.getPtrDataAtIndex(index);
    attributes_.changeData(*attributes_.getSubKeyAtIndex(index), data);
    return 0;
  }
  VxString* name = new VxString(codePage_);
  if (!name || name->initialize(key, keyLength) != 0 || attributes_.addAssoc(name, data) != 0) {
    delete name;
    delete data;
    return 1;
  }
  return growUsedFlags();
}

void VxValueParser::removeAttribute(const char* key) {
  VXSIZE_T index = indexOf(key, strlen(key));
  if (index == attributes_.getCount()) return;
  // The used flags of the later attributes move down with them.
  if (usedSize_ != 0) {
    VxBitArray shifted;
    if (shifted.initialize(usedSize_) == 0) {
      for (VXSIZE_T i = 0; i + 1 < usedSize_; ++i)
        if (used_.isSet(i < index ? i : i + 1)) shifted.set(i);
      used_.resetAll();
      for (VXSIZE_T i = 0; i < usedSize_; ++i)
        if (shifted.isSet(i)) used_.set(i);
    }
  }
  attributes_.deleteKeyAndDataAtIndex(index);
}

unsigned VxValueParser::buildString(VxString& out) const {
  out.clear();
  for (VXSIZE_T i = 0; i < attributes_.getCount(); ++i) {
    const VxSubString* key = attributes_.getSubKeyAtIndex(i);
    const VxSubString* value = static_cast<const VxSubString*>(attributes_.getPtrDataAtIndex(i));
    if (out.assureSpace(1 + key->getLength() + 1 + value->getLength()) != 0) return 1;
    if (i != 0) out.concat(separator_);
    out.concat(*key);
    out.concat('=');
    if (needsBraces(*value)) {
      if (concatBraced(out, *value) != 0) return 1;
    } else {
      out.concat(*value);
    }
  }
  return 0;
}
