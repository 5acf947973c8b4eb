// The writer's C calling interface over XPstNorvikPersist.
//
// Each call installs the writer's own error list for the calling thread
// for its duration, so that what the layers below file stays with the
// writer until the caller reads or resets it.
#include "xml/XPst.h"

#include <cstring>

#include "bos/mds.h"
#include "foundation/vxerror.h"
#include "xml/XPstNorvikPersist.h"

struct XPstWriter : VxObject {
  XPstNorvikPersist persist;
  VxErrorList errors{nullptr, VxErrorList::kSupportMultipleErrors};
  bool closedOrCancelled = false;
};

namespace {

// Installs a writer's list for one call.
class WriterErrors {
 public:
  explicit WriterErrors(XPstWriter* writer) { VxErrorKeeper::setErrorList(&writer->errors); }
  ~WriterErrors() { VxErrorKeeper::giveUpErrorList(); }
  WriterErrors(const WriterErrors&) = delete;
  WriterErrors& operator=(const WriterErrors&) = delete;
};

}  // namespace

uint16_t XPstInit(void) { return mdsPerThreadInit() ? 0 : 1; }

void XPstTerminate(void) { mdsPerThreadTerm(); }

XPstWriter* XPstCreate(const char* outputPath, const char* schemaPath, const char* codePage) {
  auto* writer = new XPstWriter;
  if (writer == nullptr) return nullptr;
  WriterErrors scope(writer);
  writer->persist.create(outputPath, schemaPath, codePage);
  return writer;
}

uint16_t XPstDescribeColumns(XPstWriter* writer, const XML_PERSIST_COL_DESC* columns,
                             uint16_t count) {
  if (writer == nullptr) return 1;
  WriterErrors scope(writer);
  return writer->persist.describeColumns(columns, count);
}

uint16_t XPstAppendRowData(XPstWriter* writer, const void* const* values,
                           const int64_t* lengths) {
  if (writer == nullptr) return 1;
  WriterErrors scope(writer);
  return writer->persist.appendRow(values, lengths);
}

uint16_t XPstCancel(XPstWriter* writer) {
  if (writer == nullptr) return 1;
  WriterErrors scope(writer);
  writer->closedOrCancelled = true;
  return writer->persist.cancel();
}

uint16_t XPstClose(XPstWriter* writer) {
  if (writer == nullptr) return 1;
  WriterErrors scope(writer);
  writer->closedOrCancelled = true;
  return writer->persist.close();
}

void XPstFree(XPstWriter* writer) {
  if (writer == nullptr) return;
  {
    WriterErrors scope(writer);
    if (!writer->closedOrCancelled) writer->persist.cancel();
  }
  delete writer;
}

uint16_t XPstGetErrorMessage(XPstWriter* writer, uint16_t index, uint16_t* number, char* text,
                             size_t size) {
  if (writer == nullptr) return 1;
  // After an allocation failure the list stands for the memory record,
  // which follows the records it kept.
  VxError* error = nullptr;
  if (index < writer->errors.getCount())
    error = writer->errors.at(index);
  else if (index == writer->errors.getCount() && writer->errors.isOutOfMemory())
    error = writer->errors.getMemoryError();
  if (error == nullptr) return 1;
  if (number != nullptr) *number = error->getErrorNumber();
  if (text != nullptr && size > 0) {
    const char* message = error->getErrorText();
    size_t n = strlen(message) < size - 1 ? strlen(message) : size - 1;
    memcpy(text, message, n);
    text[n] = 0;
  }
  return 0;
}

void XPstResetErrors(XPstWriter* writer) {
  if (writer != nullptr) writer->errors.clearErrors();
}
