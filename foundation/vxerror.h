// Error records, error lists and the calling thread's current list.
//
// Every failure of the library (and of the drivers that load it) becomes a
// VxError record appended to the calling thread's current VxErrorList. The
// usual way to report is one of the free functions, streaming the message
// parameters into the record it returns:
//
//   addError(kErrFileNotFound) << fileName;  // "The file %s1 was not found."
//   addDatabaseError(7, native, text, VX_ERROR_TYPE_ERROR, VX_CP_UTF8);
//
// A record carries the library's message number (its text comes from the
// message catalog; without one the text is the number in decimal), a native
// code from the database or the system, an interface code (SQLSTATE) and an
// interface error number, and its message, whose markers %s1, %d2, ...
// %sx10 are filled one after another by operator<<.
//
// Lists. A handle (environment, connection, statement) owns a VxErrorList
// and installs it for the calling thread with VxErrorKeeper::setErrorList
// when its work starts, and gives it up with giveUpErrorList when it ends.
// Installations nest: each list remembers the one it replaced. The current
// list lives in the calling thread's per-thread data slot 0. A list that
// supports multiple errors keeps every report in arrival order; a
// single-error list keeps its first error and silently drops every later
// report (warnings included).
//
// Ownership: a list owns its records and deletes them in clearErrors,
// clearLastError and its destructor; a record taken out with
// removeFirstError / removeLastError belongs to the caller. The two static
// records, MemoryError and DummyError, live from load to unload, are never
// stored in a list and never deleted.
//
// Failure: reporting never fails loudly. When a record cannot be allocated,
// or a parameter cannot be filled in because the message cannot grow, the
// caller gets the dummy record, into which every further parameter
// vanishes. After VxErrorKeeper::addMemoryError the list answers with the
// memory record (number 30190, text "Out Of Memory"). Without a current
// list every report is dropped: the free functions return the dummy record.
//
// Thread-safety: a list is used by one thread at a time, the one that
// installed it; nothing here takes a lock. The static records are
// read-only after load (streaming into them changes nothing).
#ifndef VX_FOUNDATION_VXERROR_H_
#define VX_FOUNDATION_VXERROR_H_

#include <cstdint>

#include "containers/vxlist.h"
#include "containers/vxparams.h"
#include "containers/vxsorted.h"
#include "foundation/vxexport.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxtypes.h"

class VxString;
class VxSubString;
class VxThreadInfo;

// Whether a record is an error or a warning. The type is an int: callers
// may pass other values, which count as errors.
enum ErrorType : int { VX_ERROR_TYPE_ERROR = 0, VX_ERROR_TYPE_WARNING = 1 };

// The two special records.
enum ErrSpecialError : int { VX_MEMORY_ERROR = 1, VX_DUMMY_ERROR = 2 };

// Number of the memory record's message.
constexpr uint16_t VX_OUT_OF_MEMORY_MESSAGE = kErrOutOfMemoryRecord;

class VX_EXPORT VxError : public VxNode {
 public:
  // A record for message `number` whose template is text (null counts as
  // empty) in code-page kind cp; a warning when type is
  // VX_ERROR_TYPE_WARNING. The interface code starts empty. When the
  // template cannot be copied, isMessageFailed() is true.
  VxError(uint16_t number, const char* text, vxCPType cp, ErrorType type, uint16_t interfaceError,
          int64_t nativeError);
  // A static special record: number 0 (30190 for the memory record), no
  // native or interface error, no message.
  explicit VxError(ErrSpecialError kind);
  ~VxError() override;
  VxError(const VxError&) = delete;
  VxError& operator=(const VxError&) = delete;

  uint16_t getErrorNumber() const { return errorNumber_; }
  int64_t getNativeError() const { return nativeError_; }
  uint16_t getInterfaceError() const { return interfaceError_; }
  // The SQLSTATE text, empty until setInterfaceCode.
  const char* getInterfaceCode() const { return interfaceCode_; }
  vxCPType getCodePage() const { return codePage_; }

  bool isWarning() const { return (flags_ & kWarning) != 0; }
  void setWarning() { flags_ |= kWarning; }
  void resetWarning() { flags_ &= uint8_t(~kWarning); }
  bool isStatic() const { return (flags_ & kStatic) != 0; }
  bool isMemoryError() const { return (flags_ & kMemory) != 0; }
  bool isDummyError() const { return (flags_ & kDummy) != 0; }
  // True when the message template could not be built (out of memory).
  bool isMessageFailed() const { return message_.isFailed(); }

  void setInterfaceError(uint16_t number) { interfaceError_ = number; }
  // Copies up to 5 characters of the SQLSTATE text.
  void setInterfaceCode(const char* code);

  // "Out Of Memory" for the memory record, else the message as filled in
  // so far ("" for a record without message).
  const char* getErrorText();

  // Appends plain text to the message. 1 when the message cannot grow.
  unsigned appendText(const char* text);
  // Parameter numbering restarts at 1 (for markers of appended text).
  void resetParamCount() { message_.resetParamCount(); }

  // Fill the next parameter of the message. Return this record, or the
  // current list's dummy record when the message could not grow, so that
  // the rest of a chain is swallowed. Static records ignore parameters.
  VxError& operator<<(const char* text);
  VxError& operator<<(uint64_t value);
  VxError& operator<<(int64_t value);
  VxError& operator<<(const VxSubString& view);
  // Plain int and unsigned values stream as numbers (forwarded to the
  // 64-bit forms, which they would otherwise match ambiguously).
  VxError& operator<<(int value) { return *this << int64_t(value); }
  VxError& operator<<(unsigned value) { return *this << uint64_t(value); }

 private:
  // Flag bits. Bits 4 and 5 are cleared at construction and unused here.
  static constexpr uint8_t kWarning = 0x01;
  static constexpr uint8_t kStatic = 0x02;
  static constexpr uint8_t kMemory = 0x04;
  static constexpr uint8_t kDummy = 0x08;

  VxError& afterParam(unsigned status);

  int64_t nativeError_;
  uint16_t errorNumber_;
  uint16_t interfaceError_;
  VxParamString message_;
  vxCPType codePage_;
  char interfaceCode_[6];
  uint8_t flags_;
};

// The process-wide special records (never deleted, never in a list).
VX_EXPORT extern VxError MemoryError;
VX_EXPORT extern VxError DummyError;

class VX_EXPORT VxErrorList : public VxSortedArray {
 public:
  // Bit of the constructor's flags: keep every report, not just the first.
  static constexpr unsigned kSupportMultipleErrors = 0x01;

  // A list for the handle owner; bit 0 of flags selects multiple-error
  // support. Room for 16 records; records stay in arrival order.
  explicit VxErrorList(void* owner, unsigned flags = 0);
  // Deletes every record.
  ~VxErrorList() override;
  VxErrorList(const VxErrorList&) = delete;
  VxErrorList& operator=(const VxErrorList&) = delete;

  // The static records.
  virtual VxError* getMemoryError();
  virtual VxError* getDummyError();
  // A new heap record with these values, except that the interface error
  // is always stored as 0 (it is set afterwards when needed; deliberate).
  // Null when the record or its message cannot be allocated.
  virtual VxError* allocError(uint16_t number, const char* text, vxCPType cp, ErrorType type,
                              uint16_t interfaceError, int64_t nativeError);

  // The memory record while out of memory, else the last record; null
  // when empty.
  VxError* getLastError() const;
  // While out of memory: clears that state and returns the memory record.
  // Else takes the last / first record out (the caller owns it) and resets
  // the cursor to 0. Null when empty.
  VxError* removeLastError();
  VxError* removeFirstError();

  // 0 empty, 1 errors and warnings, 2 errors only, 3 warnings only.
  uint16_t getErrorsMix() const;
  // At least one record is not a warning.
  bool isExistingError() const;

  // Cursor iteration: getFirstNode returns record 0 and sets the cursor to
  // 1; getNextNode returns the record at the cursor and advances it (null
  // at the end); getNodeAtPos(i) returns record i and sets the cursor to
  // i + 1 (null, cursor unchanged, when i is past the end).
  VxError* getFirstNode();
  VxError* getNextNode();
  VxError* getNodeAtPos(VXSIZE_T i);
  VxError* at(VXSIZE_T i) const { return static_cast<VxError*>(VxArray::at(i)); }

  // Appends the text of every record, in order, to out, with the
  // separator byte between two texts (no separator when it is 0). Before
  // each text it asks out for room for the text's length plus one and
  // returns 1 at once when that fails (earlier texts stay appended); 0 on
  // success.
  unsigned concatErrors(VxString& out, char separator);
  // Marks every record after position i as a warning.
  void setWarningAfterPos(VXSIZE_T i);
  // Appends text to record i and every record after it.
  void appendTextStartingAtPos(const char* text, VXSIZE_T i);
  // When i is within the list: takes the last record out and inserts it at
  // position i, narrowed to 16 bits (deliberate).
  void moveLastErrorToPos(VXSIZE_T i);
  // Leaves the out-of-memory state and deletes every record.
  void clearErrors();

  bool isSupportMultipleErrors() const { return (listFlags_ & kMultiple) != 0; }
  void* getOwnerOfList() const { return owner_; }
  bool isOutOfMemory() const { return (listFlags_ & kOutOfMemory) != 0; }
  void setOutOfMemory() { listFlags_ |= kOutOfMemory; }
  void resetOutOfMemory() { listFlags_ &= uint8_t(~kOutOfMemory); }
  uint16_t getCurrentIndex() const { return currentIndex_; }
  void setCurrentIndex(uint16_t i) { currentIndex_ = i; }
  // The list that was current on this thread before this one was
  // installed (null when none or not installed).
  VxErrorList* getPreviousList() const { return previousList_; }

 private:
  friend class VxErrorKeeper;

  static constexpr uint8_t kMultiple = 0x01;
  static constexpr uint8_t kOutOfMemory = 0x02;

  void* owner_;
  uint8_t listFlags_;
  VxErrorList* previousList_;
  void** slot_;  // the per-thread slot this list was installed into
  uint16_t currentIndex_;
};

// The calling thread's current list (per-thread data slot 0). Every
// operation without a current list does nothing and returns 0 / null.
class VX_EXPORT VxErrorKeeper {
 public:
  VxErrorKeeper() = delete;

  // Registers the calling thread's per-thread data, remembers the current
  // list as list's previous one and makes list current. 1 when the thread
  // could not be registered (nothing installed), else 0.
  static unsigned setErrorList(VxErrorList* list);
  // The same for the thread of info, whose per-thread data exists already.
  static unsigned setErrorList(VxErrorList* list, VxThreadInfo* info);
  // Puts the current list's previous list back (when a list is current),
  // releases one registration of the calling thread and returns the list
  // that was current. The VxThreadInfo form releases nothing.
  static VxErrorList* giveUpErrorList();
  static VxErrorList* giveUpErrorList(VxThreadInfo* info);
  static VxErrorList* getErrorList();

  // Files record in the current list and returns it. In a single-error
  // list that already holds an error the record is deleted and the dummy
  // record returned. A null record (allocation failed) yields the dummy
  // record; so does a list that cannot grow, which then also enters the
  // out-of-memory state. Without a current list the record is deleted.
  static VxError* addError(VxError* record);
  // In a single-error list already holding an error, first removes the
  // last record (deleted unless static); then sets the out-of-memory state.
  static void addMemoryError();

  static VxError* getLastError();
  static uint16_t getLastErrorNumber();   // 0 when none
  static int64_t getLastNativeError();    // 0 when none
  static void* getOwnerOfList();
  static bool isExistingError();
  static void clearAllErrors();
  // Marks the last record as warning (type 1) or error (any other value).
  // Static records are left alone.
  static void setLastErrorType(ErrorType type);
  // Appends text to the last record and restarts its parameter numbering.
  static void appendTextToLastError(const char* text);
  // Removes the last record and deletes it unless it is static.
  static void clearLastError();
};

// Files an error for message `number` (text from the catalog, code-page
// kind 1, no native or interface error) and returns it for parameters.
VX_EXPORT VxError& addError(uint16_t number);
// The same with the given text instead of the catalog's.
VX_EXPORT VxError& addError(uint16_t number, const char* text);
// As addError(number), filed as a warning.
VX_EXPORT VxError& addWarning(uint16_t number);
// A record with the given text, native code, type and code-page kind.
VX_EXPORT VxError& addDatabaseError(uint16_t number, int64_t nativeError, const char* text,
                                    ErrorType type, vxCPType cp);
// Appends the catalog text of message `number` to the last record (its
// parameter numbering restarts) and returns that record, or the dummy
// record when the list is empty.
VX_EXPORT VxError& appendTextToLastError(uint16_t number);
// Appends the catalog text of message `number` to record i and returns it,
// or the dummy record when there is no record i.
VX_EXPORT VxError& appendTextToErrorAtPos(uint16_t number, VXSIZE_T i);

#endif  // VX_FOUNDATION_VXERROR_H_
