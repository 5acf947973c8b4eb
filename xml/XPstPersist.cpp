// The document's life: staging files, column descriptions, joining the
// pieces and renaming the result into place.
#include "xml/XPstPersist.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bos/bos.h"
#include "bos/bosfile.h"
#include "foundation/ram.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

const char kXmlDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

bool isAsciiLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool isNameCharacter(char c) {
  return isAsciiLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
}

// The column name as an XML element name: characters outside the ASCII
// name characters become "_", and a "_" goes in front of a name that does
// not start with a letter or "_" (an empty name becomes "_"). Null when
// memory is short.
char* elementNameOf(const char* name) {
  size_t n = name == nullptr ? 0 : strlen(name);
  bool prefix = n == 0 || !(isAsciiLetter(name[0]) || name[0] == '_');
  char* out = static_cast<char*>(ramAlloc(n + 2));
  if (out == nullptr) return nullptr;
  char* p = out;
  if (prefix) *p++ = '_';
  for (size_t i = 0; i < n; ++i) *p++ = isNameCharacter(name[i]) ? name[i] : '_';
  *p = 0;
  return out;
}

}  // namespace

XPstPersist::~XPstPersist() {
  removeStaging();
  for (uint16_t i = 0; i < columnCount_; ++i) free(columns_[i].elementName);
  free(columns_);
  free(outputPath_);
  free(schemaPath_);
}

uint16_t XPstPersist::fail() {
  removeStaging();
  state_ = State::kFailed;
  return 1;
}

uint16_t XPstPersist::outOfOrder() {
  if (state_ != State::kFailed) addError(kErrInvalidParameterValue) << "call out of order";
  return 1;
}

// A staging file "<path>.XXXXXX" in the destination's directory, so that
// the final rename never crosses file systems.
uint16_t XPstPersist::openStaging(const char* path, char** stagingPath, int* handle) {
  size_t n = strlen(path);
  *stagingPath = static_cast<char*>(ramAlloc(n + 8));
  if (*stagingPath == nullptr) {
    addError(kErrOutOfMemory);
    return 1;
  }
  snprintf(*stagingPath, n + 8, "%s.XXXXXX", path);
  *handle = mkstemp(*stagingPath);
  if (*handle >= 0) return 0;
  bosMapError(errno, path);
  free(*stagingPath);
  *stagingPath = nullptr;
  return 1;
}

void XPstPersist::removeStaging() {
  if (outputHandle_ >= 0) bosFileClose(outputHandle_);
  if (schemaHandle_ >= 0) bosFileClose(schemaHandle_);
  outputHandle_ = schemaHandle_ = -1;
  if (outputStaging_ != nullptr) unlink(outputStaging_);
  if (schemaStaging_ != nullptr) unlink(schemaStaging_);
  free(outputStaging_);
  free(schemaStaging_);
  outputStaging_ = schemaStaging_ = nullptr;
}

uint16_t XPstPersist::create(const char* outputPath, const char* schemaPath,
                             const char* codePage) {
  if (state_ != State::kNew) return outOfOrder();
  if (outputPath == nullptr || *outputPath == 0 || (schemaPath != nullptr && *schemaPath == 0)) {
    addError(kErrInvalidParameterValue) << "empty path";
    return fail();
  }
  outputPath_ = ramAllocStr(outputPath);
  schemaPath_ = schemaPath == nullptr ? nullptr : ramAllocStr(schemaPath);
  if (outputPath_ == nullptr || (schemaPath != nullptr && schemaPath_ == nullptr)) {
    addError(kErrOutOfMemory);
    return fail();
  }
  if (converter_.open(codePage) != 0 ||
      openStaging(outputPath_, &outputStaging_, &outputHandle_) != 0 ||
      (schemaPath_ != nullptr && openStaging(schemaPath_, &schemaStaging_, &schemaHandle_) != 0))
    return fail();
  state_ = State::kCreated;
  return 0;
}

const char* XPstPersist::getSchemaLocation() const {
  const char* path = schemaPath_ != nullptr ? schemaPath_ : outputPath_;
  const char* slash = strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

// Columns of a type without an XML form get error 1023 with their name
// and are left out of the schema and the records; the call then returns 1
// but the document may go on without them.
uint16_t XPstPersist::describeColumns(const XML_PERSIST_COL_DESC* columns, uint16_t count) {
  if (state_ != State::kCreated) return outOfOrder();
  if (count == 0 || columns == nullptr) {
    addError(kErrInvalidParameterValue) << "no columns";
    return fail();
  }
  columns_ = static_cast<XPstColumn*>(ramAllocZeroed(count * sizeof(XPstColumn)));
  if (columns_ == nullptr) {
    addError(kErrOutOfMemory);
    return fail();
  }
  uint16_t status = 0;
  for (uint16_t i = 0; i < count; ++i) {
    const XML_PERSIST_COL_DESC& in = columns[i];
    XPstColumn& column = columns_[i];
    column = XPstColumn{elementNameOf(in.name), in.sqlType, in.columnSize, in.decimalDigits,
                        in.nullable != 0, in.isUnsigned != 0, in.cType, false};
    ++columnCount_;
    if (column.elementName == nullptr) {
      addError(kErrOutOfMemory);
      return fail();
    }
    column.declared = supportsColumn(column);
    if (!column.declared) {
      VxError& error = addError(kErrXmlUnsupportedType);
      error.appendText(" ");
      error.appendText(column.elementName);
      status = 1;
    }
  }
  if (writeSchema() != 0) return fail();
  state_ = State::kDescribed;
  return status;
}

uint16_t XPstPersist::appendRow(const void* const* values, const int64_t* lengths) {
  if (state_ != State::kDescribed) return outOfOrder();
  if (values == nullptr || lengths == nullptr) {
    addError(kErrInvalidParameterValue) << "no row buffers";
    return 1;
  }
  if (checkRow(values, lengths) != 0) return 1;
  // A record that fails half-way would break the document: it fails whole.
  if (writeRecord(values, lengths) == 0) return 0;
  if (!tags_.hasFailed()) addError(kErrXmlWriteFailed);
  return fail();
}

// Writes the staging files: with a schema file, the declaration and the
// schema document to it, and the declaration, the data head, the rows and
// the tail to the output; inline, the schema part sits between the head
// and the rows.
uint16_t XPstPersist::writeDocuments() {
  XPstTempData head;
  XPstTempData tail;
  if (head.append(kXmlDeclaration) != 0 || writeDataHead(head) != 0 ||
      writeDataTail(tail) != 0)
    return 1;
  if (schemaHandle_ >= 0) {
    XPstTempData declaration;
    if (declaration.append(kXmlDeclaration) != 0 || declaration.writeTo(schemaHandle_) != 0 ||
        schemaPart_.writeTo(schemaHandle_) != 0 || head.writeTo(outputHandle_) != 0)
      return 1;
  } else if (head.writeTo(outputHandle_) != 0 || schemaPart_.writeTo(outputHandle_) != 0) {
    return 1;
  }
  return rowsPart_.writeTo(outputHandle_) != 0 || tail.writeTo(outputHandle_) != 0;
}

uint16_t XPstPersist::finishFile(int* handle, char* stagingPath, const char* path) {
  uint16_t status = bosFileClose(*handle);
  *handle = -1;
  if (status == 0 && rename(stagingPath, path) == 0) return 0;
  if (status == 0) bosMapError(errno, path);
  return 1;
}

uint16_t XPstPersist::close() {
  if (state_ != State::kDescribed) return outOfOrder();
  if (writeDocuments() != 0) {
    addError(kErrXmlWriteFailed);
    return fail();
  }
  // The schema goes into place first; should the output then fail, the
  // schema is taken back so that neither destination keeps a new file.
  if (schemaHandle_ >= 0) {
    if (finishFile(&schemaHandle_, schemaStaging_, schemaPath_) != 0) return fail();
    free(schemaStaging_);
    schemaStaging_ = nullptr;
  }
  if (finishFile(&outputHandle_, outputStaging_, outputPath_) != 0) {
    if (schemaPath_ != nullptr) unlink(schemaPath_);
    return fail();
  }
  free(outputStaging_);
  outputStaging_ = nullptr;
  state_ = State::kClosed;
  return 0;
}

uint16_t XPstPersist::cancel() {
  removeStaging();
  if (state_ != State::kClosed) state_ = State::kFailed;
  return 0;
}
