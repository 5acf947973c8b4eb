// VxLexer: scanner tokens to grammar token kinds.
//
// Reading (nextToken):
//  1. A new scanner token is read when the current one is not being split
//     or all its characters have been delivered; the split index restarts.
//  2. A quoted literal (scanner class 3) met outside a literal opens it: a
//     second scanner over its inside (no quotes, no decimals, the lexer's
//     character sets) becomes current, the whole literal is kept as the
//     literal token, and the opening quote is delivered as kind 40.
//  3. The end of the literal scanner closes it: the main scanner is current
//     again, the literal token is current with its split index at its
//     length, and the closing quote is delivered as kind 40.
//  4. Anything else is classified: words through the keyword list,
//     punctuation by its character, two-character operators one character
//     at a time. The three characters "(+)" come as kinds 18, 17 and then
//     18 again (17 is the kind of "*", not of "+"; the third character
//     first gets 19, which is then overwritten by 18). That is intended and kept, since grammars written
//     for this engine rely on it.
#include "parser/vxlexer.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "foundation/ram.h"
#include "parser/vxgrammar.h"

namespace {

// The punctuation characters in the order of their kinds, from kind 8 up:
// the order of the keys on a US keyboard.
constexpr char kKindOrder[] = "~`!@#$%^&*()-_+=|\\{[}]:;\"'<,>.?/";
constexpr int16_t kFirstPunctuationKind = 8;

// Which of the lexer's own deliveries the current token is, for backup.
enum QuoteDelivery { kNoQuote = 0, kOpeningQuote, kClosingQuote };

}  // namespace

int16_t vxCharacterKind(unsigned char c) {
  if (c == 0) return -1;
  const char* at = strchr(kKindOrder, c);
  return at ? static_cast<int16_t>(kFirstPunctuationKind + (at - kKindOrder)) : -1;
}

VxLexer::VxLexer() : VxLexer("", VX_CP_LOCALE, nullptr) {}

VxLexer::VxLexer(const char* text, VxKeywordList* keywords) : VxLexer(text, VX_CP_LOCALE, keywords) {}

VxLexer::VxLexer(const char* text, vxCPType cp, VxKeywordList* keywords)
    : current_(&main_),
      main_(cp),
      literalScanner_(nullptr),
      codePage_(cp),
      text_(nullptr),
      textCapacity_(0),
      splitIndex_(0),
      keywords_(keywords),
      validFirst_(nullptr),
      validMiddle_(nullptr),
      validAll_(nullptr),
      quoteDelivery_(kNoQuote) {
  newString(text, cp);
}

VxLexer::~VxLexer() {
  delete literalScanner_;
  free(text_);
  free(validFirst_);
  free(validMiddle_);
  free(validAll_);
}

void VxLexer::newString(const char* text) { newString(text, codePage_); }

void VxLexer::newString(const char* text, vxCPType cp) {
  delete literalScanner_;
  literalScanner_ = nullptr;
  current_ = &main_;
  codePage_ = cp;
  main_.setScanString(text ? text : "", text ? strlen(text) : 0, cp);
  token_ = VxToken();
  literalToken_ = VxToken();
  splitIndex_ = 0;
  quoteDelivery_ = kNoQuote;
}

void VxLexer::setLiteralQuoteChars(uint16_t q1, uint16_t q2, uint16_t q3) {
  main_.setQuotes(static_cast<char>(q1), static_cast<char>(q2), static_cast<char>(q3));
}

namespace {
unsigned replaceCopy(char*& slot, const char* chars) {
  if (!chars) return 0;
  char* copy = ramAllocStr(chars);
  if (!copy) return 1;
  free(slot);
  slot = copy;
  return 0;
}
}  // namespace

unsigned VxLexer::setValidChars(const char* first, const char* middle, const char* all) {
  if (replaceCopy(validFirst_, first) || replaceCopy(validMiddle_, middle) || replaceCopy(validAll_, all)) return 1;
  applyValidChars(main_);
  if (literalScanner_) applyValidChars(*literalScanner_);
  return 0;
}

void VxLexer::applyValidChars(VxScanner& scanner) const {
  if (validFirst_) scanner.setValidFirstChars(validFirst_);
  if (validMiddle_) scanner.setValidMiddleChars(validMiddle_);
  if (validAll_) scanner.setValidChars(validAll_);
}

// A scanner over the inside of the literal token, set up for reading it.
VxScanner* VxLexer::newLiteralScanner() const {
  VXSIZE_T length = literalToken_.getLength();
  assert(length >= 2);  // a terminated literal holds both its quotes
  VxScanner* scanner = new VxScanner(literalToken_.asPascalStr(1), length - 2, codePage_);
  if (!scanner) return nullptr;
  scanner->setQuotes(0, 0, 0);
  scanner->setDecimalNumbers(false);
  applyValidChars(*scanner);
  return scanner;
}

// How many characters the current token is delivered in: the whole literal
// for a quoted token (so a closing quote counts as fully delivered), two or
// three for a split operator, one otherwise.
int16_t VxLexer::tokenLength() const {
  int32_t type = token_.getTokenType();
  if (type == VX_TOKEN_QUOTED) return static_cast<int16_t>(token_.getLength());
  if (type == VX_TOKEN_OUTER_JOIN) return 3;
  return type >= 256 ? 2 : 1;
}

unsigned VxLexer::deliver(int16_t kind, const char* bytes, VXSIZE_T length, int16_t& outKind,
                          const char** outText) {
  if (textCapacity_ < length + 1) {
    if (ramResize(&text_, length + 1)) return 1;
    textCapacity_ = length + 1;
  }
  memcpy(text_, bytes, length);
  text_[length] = '\0';
  outKind = kind;
  if (outText) *outText = text_;
  return 0;
}

unsigned VxLexer::nextToken(int16_t& kind, const char** text) {
  quoteDelivery_ = kNoQuote;
  if (splitIndex_ == 0 || splitIndex_ >= tokenLength()) {
    current_->getToken(token_);
    splitIndex_ = 0;
    if (current_ == literalScanner_ && token_.getTokenType() == VX_TOKEN_END) return closeLiteral(kind, text);
    if (current_ == &main_ && token_.getTokenType() == VX_TOKEN_QUOTED) return openLiteral(kind, text);
  }
  return classify(kind, text, 1);
}

unsigned VxLexer::openLiteral(int16_t& kind, const char** text) {
  main_.unGetToken(token_);
  main_.getToken(literalToken_);
  VxScanner* scanner = newLiteralScanner();
  if (!scanner) return 1;
  delete literalScanner_;
  literalScanner_ = scanner;
  current_ = scanner;
  quoteDelivery_ = kOpeningQuote;
  return deliver(kVxKindQuoteChar, literalToken_.asPascalStr(), 1, kind, text);
}

unsigned VxLexer::closeLiteral(int16_t& kind, const char** text) {
  delete literalScanner_;
  literalScanner_ = nullptr;
  current_ = &main_;
  token_ = literalToken_;
  splitIndex_ = tokenLength();
  quoteDelivery_ = kClosingQuote;
  return deliver(kVxKindQuoteChar, literalToken_.asPascalStr(literalToken_.getLength() - 1), 1, kind, text);
}

unsigned VxLexer::thisToken(int16_t& kind, const char** text, int advance) {
  return classify(kind, text, advance);
}

unsigned VxLexer::classify(int16_t& kind, const char** text, int advance) {
  int32_t type = token_.getTokenType();
  const char* bytes = token_.asPascalStr();
  switch (type) {
    case 0:
    case VX_TOKEN_END:
    case VX_TOKEN_UNTERMINATED:
    case VX_TOKEN_NUMBER:
      return deliver(static_cast<int16_t>(type), bytes, token_.getLength(), kind, text);
    case VX_TOKEN_QUOTED:
      // Only a closing quote delivered again after a backup gets here.
      if (advance) splitIndex_ = tokenLength();
      quoteDelivery_ = kClosingQuote;
      return deliver(kVxKindQuoteChar, bytes + token_.getLength() - 1, 1, kind, text);
    case VX_TOKEN_WORD: {
      int16_t number = kVxKindIdentifier;
      if (keywords_ && keywords_->lookup(bytes, token_.getLength(), number) != 0) number = kVxKindIdentifier;
      return deliver(number, bytes, token_.getLength(), kind, text);
    }
    case VX_TOKEN_CHAR: {
      int16_t charKind = vxCharacterKind(static_cast<unsigned char>(bytes[0]));
      // Only these six characters reach the lexer as single unclassified
      // characters and have a kind.
      if (charKind < 0 || !strchr("[\\]^_~", bytes[0])) return 1;
      return deliver(charKind, bytes, 1, kind, text);
    }
    default:
      break;
  }
  if (type == VX_TOKEN_OUTER_JOIN || type >= 256) {
    assert(splitIndex_ < tokenLength());
    int16_t charKind = vxCharacterKind(static_cast<unsigned char>(bytes[splitIndex_]));
    // "(+)" has kinds of its own: 18, 17, then 19 overwritten by 18
    // (intended, see above).
    static const int16_t kOuterJoinKinds[3] = {18, 17, 18};
    if (type == VX_TOKEN_OUTER_JOIN) charKind = kOuterJoinKinds[splitIndex_];
    if (charKind < 0) return 1;
    unsigned status = deliver(charKind, bytes + splitIndex_, 1, kind, text);
    if (advance) ++splitIndex_;
    return status;
  }
  if (type > VX_TOKEN_OUTER_JOIN && type < 256) {
    int16_t charKind = vxCharacterKind(static_cast<unsigned char>(type));
    if (charKind < 0) return 1;
    return deliver(charKind, bytes, 1, kind, text);
  }
  return 1;  // list items, names, comments: no kind in a grammar
}

void VxLexer::backup() {
  if (quoteDelivery_ == kOpeningQuote) {
    delete literalScanner_;
    literalScanner_ = nullptr;
    current_ = &main_;
    main_.unGetToken(literalToken_);
    splitIndex_ = 0;
  } else if (quoteDelivery_ == kClosingQuote) {
    splitIndex_ = static_cast<int16_t>(tokenLength() - 1);
  } else if (splitIndex_ > 0 && --splitIndex_ > 0) {
    // Still inside a split operator: the character before is next.
  } else {
    current_->unGetToken(token_);
  }
  quoteDelivery_ = kNoQuote;
}

namespace {
// Puts scanner's cursor at offset.
void moveCursor(VxScanner& scanner, VXSIZE_T offset) {
  VxToken at;
  at.setToken(scanner.getText(), offset, 0, scanner.getCodePage(), VX_TOKEN_END);
  scanner.unGetToken(at);
}
}  // namespace

unsigned VxLexer::getPosition(VxToken& token, int16_t& splitIndex, VxScanner*& literalScanner,
                              VxToken& literalToken) {
  token = token_;
  splitIndex = splitIndex_;
  literalToken = literalToken_;
  literalScanner = nullptr;
  if (literalScanner_) {
    literalScanner = newLiteralScanner();
    if (!literalScanner) return 1;
    moveCursor(*literalScanner, literalScanner_->getPosition());
  }
  return 0;
}

unsigned VxLexer::setPosition(const VxToken& token, int16_t splitIndex, const VxScanner* literalScanner,
                              const VxToken& literalToken) {
  delete literalScanner_;
  literalScanner_ = nullptr;
  current_ = &main_;
  token_ = token;
  splitIndex_ = splitIndex;
  literalToken_ = literalToken;
  quoteDelivery_ = kNoQuote;
  if (literalScanner) {
    literalScanner_ = newLiteralScanner();
    if (!literalScanner_) return 1;
    moveCursor(*literalScanner_, literalScanner->getPosition());
    moveCursor(main_, literalToken_.getBegOfToken() + literalToken_.getLength());
    current_ = literalScanner_;
  } else {
    moveCursor(main_, token_.getBegOfToken() + token_.getLength());
  }
  return 0;
}

unsigned VxLexer::getLiteralContents(const char** text) {
  if (!tokenIsLiteral()) return 1;
  while (token_.getTokenType() != VX_TOKEN_END) current_->getToken(token_);
  splitIndex_ = 0;
  int16_t kind;
  return deliver(kVxKindLiteralContents, literalToken_.asPascalStr(1), literalToken_.getLength() - 2, kind, text);
}
