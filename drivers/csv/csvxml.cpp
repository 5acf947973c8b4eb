// The result set goes to the writer as ODBC would bind it: integers as
// SQL_C_SBIGINT, reals as SQL_C_DOUBLE and everything else, the date-time
// texts included, as UTF-8 SQL_C_CHAR under the column's SQL type.
#include "drivers/csv/csvxml.h"

#include <cstdint>
#include <memory>

#include "xml/XPst.h"

namespace {

// Brackets the calling thread's use of the writer.
class WriterThread {
 public:
  WriterThread() : registered_(XPstInit() == 0) {}
  ~WriterThread() {
    if (registered_) XPstTerminate();
  }
  WriterThread(const WriterThread&) = delete;
  WriterThread& operator=(const WriterThread&) = delete;
  bool registered() const { return registered_; }

 private:
  bool registered_;
};

struct FreeWriter {
  void operator()(XPstWriter* writer) const { XPstFree(writer); }
};

bool notWritten(const std::string& path, XPstWriter* writer) {
  char text[512] = "the writer could not be started";
  uint16_t number = 0;
  if (writer) XPstGetErrorMessage(writer, 0, &number, text, sizeof text);
  csvError(kErrCsvXmlNotWritten, "HY000") << path.c_str() << text;
  return false;
}

int16_t cTypeOf(const CsvColumn& column) {
  switch (column.kind) {
    case CsvValue::kInteger: return SQL_C_SBIGINT;
    case CsvValue::kReal: return SQL_C_DOUBLE;
    default: return SQL_C_CHAR;
  }
}

}  // namespace

bool csvSaveAsXml(const std::string& path, const std::vector<CsvColumn>& columns,
                  const std::vector<std::vector<CsvValue>>& rows) {
  WriterThread thread;
  if (!thread.registered()) return notWritten(path, nullptr);
  std::unique_ptr<XPstWriter, FreeWriter> writer(XPstCreate(path.c_str(), nullptr, nullptr));
  if (!writer) return notWritten(path, nullptr);
  std::vector<XML_PERSIST_COL_DESC> described;
  for (const CsvColumn& c : columns)
    described.push_back({c.name.c_str(), c.sqlType, c.size, c.scale,
                         int16_t(c.nullable ? SQL_NULLABLE : SQL_NO_NULLS), 0, cTypeOf(c)});
  if (XPstDescribeColumns(writer.get(), described.data(), uint16_t(described.size())) != 0)
    return notWritten(path, writer.get());
  const size_t n = columns.size();
  std::vector<const void*> values(n);
  std::vector<int64_t> lengths(n), integers(n);
  std::vector<double> reals(n);
  std::vector<std::string> texts(n);
  for (const auto& row : rows) {
    for (size_t i = 0; i < n; ++i) {
      const CsvValue& v = row[i];
      lengths[i] = v.isNull() ? SQL_NULL_DATA : 0;
      // Each value in the buffer its column's C type names.
      switch (columns[i].kind) {
        case CsvValue::kInteger:
          integers[i] = v.kind == CsvValue::kInteger ? v.integer : int64_t(v.asReal());
          values[i] = &integers[i];
          break;
        case CsvValue::kReal:
          reals[i] = v.asReal();
          values[i] = &reals[i];
          break;
        default:
          texts[i] = v.toText();
          values[i] = texts[i].c_str();
          if (!v.isNull()) lengths[i] = int64_t(texts[i].size());
          break;
      }
    }
    if (XPstAppendRowData(writer.get(), values.data(), lengths.data()) != 0) return notWritten(path, writer.get());
  }
  return XPstClose(writer.get()) == 0 || notWritten(path, writer.get());
}
