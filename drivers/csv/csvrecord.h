// RFC 4180 records over the whole text of a CSV file, the format of the
// CSV driver's tables and of what vxtool's xml command reads.
//
// A record ends at LF or CRLF outside quotes; fields are separated by
// commas; a quoted field may hold commas, line ends and doubled quotes. A
// quote inside an unquoted field, text after a closing quote and an
// unclosed quoted field are errors. An unquoted \N marks a NULL.
//
// Header-only and independent of the library, so that a tool can share it
// with the driver. Thread-safety: a reader is used by one thread at a time.
#ifndef VX_DRIVERS_CSV_CSVRECORD_H_
#define VX_DRIVERS_CSV_CSVRECORD_H_

#include <string>
#include <utility>
#include <vector>

// One record: its fields, which were NULL, and the line it starts on.
struct CsvRecord {
  std::vector<std::string> fields;
  std::vector<bool> nulls;
  long line = 0;
};

class CsvRecordReader {
 public:
  explicit CsvRecordReader(std::string text) : text_(std::move(text)) {}

  // Reads the next record into record; false at the end of the text. On a
  // malformed record it returns true with *error naming why (else null).
  bool next(CsvRecord& record, const char** error) {
    *error = nullptr;
    if (at_ >= text_.size()) return false;
    record.fields.clear();
    record.nulls.clear();
    record.line = line_;
    for (;;) {
      std::string field;
      bool quoted = text_[at_] == '"';
      if (!(quoted ? readQuoted(field, error) : readPlain(field, error))) return true;
      record.fields.push_back(field);
      record.nulls.push_back(!quoted && field == "\\N");
      if (at_ >= text_.size()) return true;
      char c = text_[at_++];
      if (c == ',') continue;
      if (c == '\r' && at_ < text_.size() && text_[at_] == '\n') ++at_;
      ++line_;
      return true;
    }
  }

 private:
  bool atRecordEnd() const {
    return text_[at_] == '\n' || (text_[at_] == '\r' && at_ + 1 < text_.size() && text_[at_ + 1] == '\n');
  }
  bool readPlain(std::string& field, const char** error) {
    for (; at_ < text_.size() && text_[at_] != ',' && !atRecordEnd(); ++at_) {
      if (text_[at_] == '"') return fail(error, "a quote inside an unquoted field");
      field += text_[at_];
    }
    return true;
  }
  bool readQuoted(std::string& field, const char** error) {
    for (++at_; at_ < text_.size(); ++at_) {
      if (text_[at_] == '\n') ++line_;
      if (text_[at_] != '"') {
        field += text_[at_];
      } else if (at_ + 1 < text_.size() && text_[at_ + 1] == '"') {
        field += '"';
        ++at_;
      } else {
        ++at_;
        if (at_ < text_.size() && text_[at_] != ',' && !atRecordEnd())
          return fail(error, "text after a closing quote");
        return true;
      }
    }
    return fail(error, "a quoted field is not closed");
  }
  static bool fail(const char** error, const char* what) {
    *error = what;
    return false;
  }

  std::string text_;
  size_t at_ = 0;
  long line_ = 1;
};

#endif  // VX_DRIVERS_CSV_CSVRECORD_H_
