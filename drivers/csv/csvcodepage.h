// Character conversion of the CSV driver: between the driver's internal
// UTF-8 and the code page of the table files, the application's code page
// of the narrow calls, and the UTF-16 of the wide calls.
//
// Every conversion goes through the calling thread's CharacterConverter,
// which keeps the ICU converters it opened for the thread's life. A
// character that has no mapping in the target, or bytes that are not valid
// in the source, fail the conversion: the caller gets false and one error
// record (7640, SQLSTATE 22021, naming the text and the code page) in the calling
// thread's current list; nothing is replaced silently.
//
// Thread-safety: each thread has its own converter and its own current
// file code page; nothing is shared.
#ifndef VX_DRIVERS_CSV_CSVCODEPAGE_H_
#define VX_DRIVERS_CSV_CSVCODEPAGE_H_

#include <sql.h>

#include <cstdint>
#include <string>

// The IANA number of UTF-8, the driver's own encoding.
constexpr int64_t kCsvUtf8 = 106;

// Text in codePage to UTF-8, and back. UTF-8 itself is copied unchecked.
// what names the text in the error record.
bool csvToUtf8(int64_t codePage, const std::string& in, std::string& out, const char* what = "a character value");
bool csvFromUtf8(int64_t codePage, const std::string& in, std::string& out,
                 const char* what = "a character value");
// UTF-16 (length in units; SQL_NTS: up to the terminating 0) to UTF-8, and
// UTF-8 to UTF-16.
bool csvWideToUtf8(const SQLWCHAR* in, SQLLEN length, std::string& out);
bool csvUtf8ToWide(const std::string& in, std::u16string& out);

// The code page of the table files for the calling thread. An entry point
// installs its connection's code page for the length of the call, as it
// installs the handle's error list, so that the table layer reads and
// writes files in it without the query layer carrying connection settings.
// Without an installed one it is UTF-8. Scopes nest.
class CsvFileCodePage {
 public:
  explicit CsvFileCodePage(int64_t codePage);
  ~CsvFileCodePage();
  CsvFileCodePage(const CsvFileCodePage&) = delete;
  CsvFileCodePage& operator=(const CsvFileCodePage&) = delete;

  static int64_t current();

 private:
  int64_t previous_;
};

// The table-file forms: text read from a file into UTF-8, and text to be
// written into the file's code page, both in place; path names the file.
bool csvFileTextToUtf8(std::string& text, const std::string& path);
bool csvUtf8ToFileText(std::string& text, const std::string& path);

#endif  // VX_DRIVERS_CSV_CSVCODEPAGE_H_
