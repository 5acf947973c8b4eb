// XPstPersist: the life of one saved document, whatever its flavour.
//
// The persist object owns the column descriptions, the pieces the document
// is built from (XPstTempData: the schema part, the rows part) and the
// staging files the output is written to. create() opens a staging file
// next to each destination ("<path>.XXXXXX"); describeColumns() keeps the
// columns and has the flavour write the schema; appendRow() has it write
// one record; close() joins the pieces into the staging files and renames
// them onto the destinations; cancel(), a failure, or destruction before
// close() removes the staging files, so no partial document is ever left
// at a destination.
//
// A flavour (XPstNorvikPersist) supplies the document's text through the
// protected hooks. The first failure puts the object in the failed state:
// every later call returns 1 without writing.
//
// Failure: status 1 with an error record in the calling thread's current
// list: 2709 for calls out of order and bad arguments, 1023 for columns
// without an XML form, 1018 for failed writes, the file layer's errors for
// the staging files. Thread-safety: one thread at a time.
#ifndef VX_XML_XPSTPERSIST_H_
#define VX_XML_XPSTPERSIST_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "xml/XPst.h"
#include "xml/XPstConvert.h"
#include "xml/XPstTempData.h"
#include "xml/basexml.h"

// A described column, as the writer keeps it.
struct XPstColumn {
  char* elementName;      // the column name made an XML name (owned)
  int16_t sqlType;
  uint64_t columnSize;
  int16_t decimalDigits;
  bool nullable;
  bool isUnsigned;
  int16_t cType;
  bool declared;          // false: left out (type without an XML form)
};

class VX_EXPORT XPstPersist : public VxObject {
 public:
  XPstPersist() = default;
  ~XPstPersist() override;
  XPstPersist(const XPstPersist&) = delete;
  XPstPersist& operator=(const XPstPersist&) = delete;

  uint16_t create(const char* outputPath, const char* schemaPath, const char* codePage);
  uint16_t describeColumns(const XML_PERSIST_COL_DESC* columns, uint16_t count);
  uint16_t appendRow(const void* const* values, const int64_t* lengths);
  uint16_t close();
  // Removes the staging files; the document is abandoned. Always 0.
  uint16_t cancel();

  bool hasFailed() const { return state_ == State::kFailed; }
  bool hasSchemaFile() const { return schemaPath_ != nullptr; }
  uint16_t getColumnCount() const { return columnCount_; }
  const XPstColumn& getColumn(uint16_t i) const { return columns_[i]; }

 protected:
  // The flavour's text. writeSchema fills schemaPart_ (for a schema file:
  // the whole schema document after the XML declaration; inline: the
  // schema element); writeRecord appends one row to rowsPart_. The head
  // and tail of the data document are written at close.
  virtual bool supportsColumn(const XPstColumn& column) const = 0;
  virtual uint16_t writeSchema() = 0;
  // checkRow refuses a row before anything of it is written (the document
  // goes on); a failure of writeRecord fails the document.
  virtual uint16_t checkRow(const void* const* values, const int64_t* lengths) const = 0;
  virtual uint16_t writeRecord(const void* const* values, const int64_t* lengths) = 0;
  virtual uint16_t writeDataHead(XPstTempData& head) = 0;
  virtual uint16_t writeDataTail(XPstTempData& tail) = 0;

  // The base name of the schema file (for xsi:schemaLocation), or of the
  // output file when the schema is inline.
  const char* getSchemaLocation() const;

  XPstTagWriter tags_;
  XPstConverter converter_;
  XPstTempData schemaPart_;
  XPstTempData rowsPart_;

 private:
  enum class State { kNew, kCreated, kDescribed, kClosed, kFailed };

  uint16_t fail();
  uint16_t openStaging(const char* path, char** stagingPath, int* handle);
  uint16_t writeDocuments();
  uint16_t finishFile(int* handle, char* stagingPath, const char* path);
  void removeStaging();
  uint16_t outOfOrder();

  State state_ = State::kNew;
  char* outputPath_ = nullptr;
  char* schemaPath_ = nullptr;
  char* outputStaging_ = nullptr;
  char* schemaStaging_ = nullptr;
  int outputHandle_ = -1;
  int schemaHandle_ = -1;
  XPstColumn* columns_ = nullptr;
  uint16_t columnCount_ = 0;
};

#endif  // VX_XML_XPSTPERSIST_H_
