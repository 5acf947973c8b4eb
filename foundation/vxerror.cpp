// Error records, the two static records and the error list.
#include "foundation/vxerror.h"

#include <cstring>

#include "containers/vxstring.h"

VxError MemoryError(VX_MEMORY_ERROR);
VxError DummyError(VX_DUMMY_ERROR);

// ---------------------------------------------------------------------------
// VxError

VxError::VxError(uint16_t number, const char* text, vxCPType cp, ErrorType type,
                 uint16_t interfaceError, int64_t nativeError)
    : nativeError_(nativeError),
      errorNumber_(number),
      interfaceError_(interfaceError),
      message_(cp),
      codePage_(cp),
      interfaceCode_{},
      flags_(type == VX_ERROR_TYPE_WARNING ? kWarning : 0) {
  message_.initialize(text != nullptr ? text : "", cp);
}

VxError::VxError(ErrSpecialError kind)
    : nativeError_(0),
      errorNumber_(kind == VX_MEMORY_ERROR ? VX_OUT_OF_MEMORY_MESSAGE : 0),
      interfaceError_(0),
      message_(VX_CP_LOCALE),
      codePage_(VX_CP_LOCALE),
      interfaceCode_{},
      flags_(uint8_t(kStatic | (kind == VX_MEMORY_ERROR ? kMemory : 0) |
                     (kind == VX_DUMMY_ERROR ? kDummy : 0))) {}

VxError::~VxError() = default;

void VxError::setInterfaceCode(const char* code) {
  size_t n = 0;
  if (code != nullptr) {
    while (n < sizeof interfaceCode_ - 1 && code[n] != '\0') ++n;
    memcpy(interfaceCode_, code, n);
  }
  interfaceCode_[n] = '\0';
}

const char* VxError::getErrorText() {
  if (isMemoryError()) return "Out Of Memory";
  if (message_.asPascalStr() == nullptr) return "";
  return message_.asCStr();
}

unsigned VxError::appendText(const char* text) {
  if (isStatic()) return 0;
  return message_.concat(text != nullptr ? text : "");
}

// A parameter that could not be filled switches the chain to the dummy
// record of the current list, so the values that follow go nowhere.
VxError& VxError::afterParam(unsigned status) {
  if (status == 0) return *this;
  VxErrorList* list = VxErrorKeeper::getErrorList();
  return list != nullptr ? *list->getDummyError() : DummyError;
}

VxError& VxError::operator<<(const char* text) {
  if (isStatic()) return *this;
  return afterParam(message_.setParam(text != nullptr ? text : ""));
}

VxError& VxError::operator<<(uint64_t value) {
  if (isStatic()) return *this;
  return afterParam(message_.setParam(value));
}

VxError& VxError::operator<<(int64_t value) {
  if (isStatic()) return *this;
  return afterParam(message_.setParam(value));
}

VxError& VxError::operator<<(const VxSubString& view) {
  if (isStatic()) return *this;
  return afterParam(message_.setParam(view));
}

// ---------------------------------------------------------------------------
// VxErrorList
//
// The records sit in the sorted array with sorting switched to "on
// request", so add() appends and the list keeps arrival order.

VxErrorList::VxErrorList(void* owner, unsigned flags)
    : owner_(owner),
      listFlags_((flags & kSupportMultipleErrors) ? kMultiple : 0),
      previousList_(nullptr),
      slot_(nullptr),
      currentIndex_(0) {
  sortOnRequest();
  // Without the initial room the first add allocates the same 16 slots.
  setInitialSize(16);
}

VxErrorList::~VxErrorList() { clearErrors(); }

VxError* VxErrorList::getMemoryError() { return &MemoryError; }

VxError* VxErrorList::getDummyError() { return &DummyError; }

VxError* VxErrorList::allocError(uint16_t number, const char* text, vxCPType cp, ErrorType type,
                                 uint16_t, int64_t nativeError) {
  VxError* record = new VxError(number, text, cp, type, 0, nativeError);
  if (record != nullptr && record->isMessageFailed()) {
    delete record;
    return nullptr;
  }
  return record;
}

VxError* VxErrorList::getLastError() const {
  if (isOutOfMemory()) return &MemoryError;
  return count == 0 ? nullptr : at(count - 1);
}

VxError* VxErrorList::removeLastError() {
  if (isOutOfMemory()) {
    resetOutOfMemory();
    return getMemoryError();
  }
  if (count == 0) return nullptr;
  VxError* record = at(count - 1);
  removeAtIndex(count - 1);
  currentIndex_ = 0;
  return record;
}

VxError* VxErrorList::removeFirstError() {
  if (isOutOfMemory()) {
    resetOutOfMemory();
    return getMemoryError();
  }
  if (count == 0) return nullptr;
  VxError* record = at(0);
  removeAtIndex(0);
  currentIndex_ = 0;
  return record;
}

uint16_t VxErrorList::getErrorsMix() const {
  if (count == 0) return 0;
  bool errors = false;
  bool warnings = false;
  for (VXSIZE_T i = 0; i < count; ++i) {
    if (at(i)->isWarning())
      warnings = true;
    else
      errors = true;
  }
  if (errors && warnings) return 1;
  return errors ? 2 : 3;
}

bool VxErrorList::isExistingError() const {
  uint16_t mix = getErrorsMix();
  return mix == 1 || mix == 2;
}

VxError* VxErrorList::getFirstNode() {
  currentIndex_ = 1;
  return count == 0 ? nullptr : at(0);
}

VxError* VxErrorList::getNextNode() {
  if (currentIndex_ >= count) return nullptr;
  return at(currentIndex_++);
}

VxError* VxErrorList::getNodeAtPos(VXSIZE_T i) {
  if (i >= count) return nullptr;
  currentIndex_ = uint16_t(i + 1);
  return at(i);
}

unsigned VxErrorList::concatErrors(VxString& out, char separator) {
  for (VXSIZE_T i = 0; i < count; ++i) {
    const char* text = at(i)->getErrorText();
    VXSIZE_T length = strlen(text);
    if (out.assureSpace(length + 1) != 0) return 1;
    // A separator of 0 is a byte like any other: the texts come out NUL-separated.
    if (i > 0) out.concat(separator);
    out.concat(text, length);
  }
  return 0;
}

void VxErrorList::setWarningAfterPos(VXSIZE_T i) {
  for (VXSIZE_T k = i + 1; k < count; ++k) at(k)->setWarning();
}

void VxErrorList::appendTextStartingAtPos(const char* text, VXSIZE_T i) {
  for (VXSIZE_T k = i; k < count; ++k) at(k)->appendText(text);
}

void VxErrorList::moveLastErrorToPos(VXSIZE_T i) {
  if (count == 0 || i >= count) return;
  VxError* last = at(count - 1);
  removeAtIndex(count - 1);
  // Deliberate: the position is narrowed to 16 bits. The slot just freed
  // guarantees that the insertion needs no growth.
  addAtIndex(last, uint16_t(i));
}

void VxErrorList::clearErrors() {
  resetOutOfMemory();
  deleteContents();
  currentIndex_ = 0;
}
