// The calling thread's current error list and the reporting functions.
//
// The current list is per-thread data slot 0. Installing a list registers
// the thread once more (mdsPerThreadInit) and giving it up releases that
// registration (mdsPerThreadTerm), so nested installations keep the
// thread's entry alive until the outermost list is given up.
#include <cstring>

#include "bos/mds.h"
#include "containers/vxparams.h"
#include "foundation/vxerror.h"

namespace {

constexpr uint16_t kErrorListSlot = 0;

VxError& dummyOf(VxErrorList* list) { return list != nullptr ? *list->getDummyError() : DummyError; }

// Allocates a record through the current list and files it; without a
// current list nothing is allocated and the dummy record is returned.
VxError& fileRecord(uint16_t number, const char* text, vxCPType cp, ErrorType type,
                    int64_t nativeError) {
  VxErrorList* list = VxErrorKeeper::getErrorList();
  if (list == nullptr) return DummyError;
  return *VxErrorKeeper::addError(list->allocError(number, text, cp, type, 0, nativeError));
}

}  // namespace

// ---------------------------------------------------------------------------
// VxErrorKeeper

unsigned VxErrorKeeper::setErrorList(VxErrorList* list) {
  if (mdsPerThreadInit() == 0) return 1;
  list->previousList_ = static_cast<VxErrorList*>(mdsGetPerThreadData(kErrorListSlot));
  list->slot_ = mdsGetPerThreadDataAddress(kErrorListSlot);
  *list->slot_ = list;
  return 0;
}

unsigned VxErrorKeeper::setErrorList(VxErrorList* list, VxThreadInfo* info) {
  if (info == nullptr) return 1;
  list->previousList_ = static_cast<VxErrorList*>(info->data[kErrorListSlot]);
  list->slot_ = &info->data[kErrorListSlot];
  *list->slot_ = list;
  return 0;
}

VxErrorList* VxErrorKeeper::giveUpErrorList() {
  VxErrorList* list = getErrorList();
  if (list != nullptr) mdsSetPerThreadData(kErrorListSlot, list->previousList_);
  mdsPerThreadTerm();
  return list;
}

VxErrorList* VxErrorKeeper::giveUpErrorList(VxThreadInfo* info) {
  if (info == nullptr) return nullptr;
  VxErrorList* list = static_cast<VxErrorList*>(info->data[kErrorListSlot]);
  if (list != nullptr) info->data[kErrorListSlot] = list->previousList_;
  return list;
}

VxErrorList* VxErrorKeeper::getErrorList() {
  return static_cast<VxErrorList*>(mdsGetPerThreadData(kErrorListSlot));
}

// The first error of a single-error list wins: once it holds an error,
// every later report (warnings too) is deleted on arrival.
VxError* VxErrorKeeper::addError(VxError* record) {
  VxErrorList* list = getErrorList();
  if (list == nullptr || (!list->isSupportMultipleErrors() && list->isExistingError())) {
    if (record != nullptr && !record->isStatic()) delete record;
    return &dummyOf(list);
  }
  if (record == nullptr) return list->getDummyError();
  // Sorting is on request only, so the sorted array's add would append
  // too; appending directly keeps arrival order without a comparison.
  if (list->VxArray::add(record) != 0) {
    if (!record->isStatic()) delete record;
    list->setOutOfMemory();
    return list->getDummyError();
  }
  return record;
}

void VxErrorKeeper::addMemoryError() {
  VxErrorList* list = getErrorList();
  if (list == nullptr) return;
  if (!list->isSupportMultipleErrors() && list->isExistingError()) {
    VxError* last = list->removeLastError();
    if (last != nullptr && !last->isStatic()) delete last;
  }
  list->setOutOfMemory();
}

VxError* VxErrorKeeper::getLastError() {
  VxErrorList* list = getErrorList();
  return list != nullptr ? list->getLastError() : nullptr;
}

uint16_t VxErrorKeeper::getLastErrorNumber() {
  VxError* last = getLastError();
  return last != nullptr ? last->getErrorNumber() : 0;
}

int64_t VxErrorKeeper::getLastNativeError() {
  VxError* last = getLastError();
  return last != nullptr ? last->getNativeError() : 0;
}

void* VxErrorKeeper::getOwnerOfList() {
  VxErrorList* list = getErrorList();
  return list != nullptr ? list->getOwnerOfList() : nullptr;
}

bool VxErrorKeeper::isExistingError() {
  VxErrorList* list = getErrorList();
  return list != nullptr && list->isExistingError();
}

void VxErrorKeeper::clearAllErrors() {
  VxErrorList* list = getErrorList();
  if (list != nullptr) list->clearErrors();
}

void VxErrorKeeper::setLastErrorType(ErrorType type) {
  VxError* last = getLastError();
  if (last == nullptr || last->isStatic()) return;
  if (type == VX_ERROR_TYPE_WARNING)
    last->setWarning();
  else
    last->resetWarning();
}

void VxErrorKeeper::appendTextToLastError(const char* text) {
  VxError* last = getLastError();
  if (last == nullptr || last->isStatic()) return;
  last->appendText(text);
  last->resetParamCount();
}

void VxErrorKeeper::clearLastError() {
  VxErrorList* list = getErrorList();
  if (list == nullptr) return;
  VxError* last = list->removeLastError();
  if (last != nullptr && !last->isStatic()) delete last;
}

// ---------------------------------------------------------------------------
// Reporting functions

VxError& addError(uint16_t number) {
  VxResourceString text(number);
  return fileRecord(number, text, VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0);
}

VxError& addError(uint16_t number, const char* text) {
  return fileRecord(number, text, VX_CP_LOCALE, VX_ERROR_TYPE_ERROR, 0);
}

VxError& addWarning(uint16_t number) {
  VxResourceString text(number);
  return fileRecord(number, text, VX_CP_LOCALE, VX_ERROR_TYPE_WARNING, 0);
}

VxError& addDatabaseError(uint16_t number, int64_t nativeError, const char* text, ErrorType type,
                          vxCPType cp) {
  return fileRecord(number, text, cp, type, nativeError);
}

VxError& appendTextToLastError(uint16_t number) {
  VxError* last = VxErrorKeeper::getLastError();
  if (last == nullptr || last->isStatic()) return dummyOf(VxErrorKeeper::getErrorList());
  VxResourceString text(number);
  VxErrorKeeper::appendTextToLastError(text);
  return *last;
}

VxError& appendTextToErrorAtPos(uint16_t number, VXSIZE_T i) {
  VxErrorList* list = VxErrorKeeper::getErrorList();
  if (list == nullptr || i >= list->getCount()) return dummyOf(list);
  VxResourceString text(number);
  VxError* record = list->at(i);
  record->appendText(text);
  return *record;
}
