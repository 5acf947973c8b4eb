// The CSV driver's table reader and statements on arbitrary input.
//
// The first byte picks the part. A table text either reads, and then every
// row has one value per column, each of its column's kind or NULL in a
// nullable column; or it fails with exactly one error record filed. A
// statement either fails to parse with one error (SQLSTATE 42000 for its
// syntax or an unknown function, 22007 for a bad date literal) or parses; a SELECT then runs over a fixed table and either has no more
// rows than the table, with one value per result column in each, or fails
// with an error record filed. An INSERT is only parsed, so that the table
// stays fixed.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "drivers/csv/csvquery.h"

namespace {

const char kTable[] = "a INTEGER,b VARCHAR(8) NULL,c DOUBLE NULL\n1,x,1.5\n2,\\N,\\N\n-3,\"y,\"\"z\",0\n";

char tableFolder[] = "/tmp/csvdriver-fuzz-XXXXXX";

// Runs at exit, so that neither replays nor fuzzing leave folders behind.
void removeTableDirectory() {
  unlink((std::string(tableFolder) + "/t.csv").c_str());
  rmdir(tableFolder);
}

const std::string& tableDirectory() {
  static const std::string directory = [] {
    if (!mkdtemp(tableFolder)) abort();
    atexit(removeTableDirectory);
    std::ofstream(std::string(tableFolder) + "/t.csv") << kTable;
    return std::string(tableFolder);
  }();
  return directory;
}

void check(bool condition) {
  if (!condition) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  VxErrorList errors(nullptr, VxErrorList::kSupportMultipleErrors);
  VxErrorKeeper::setErrorList(&errors);
  std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] & 1) {
    CsvTable table;
    if (csvParseTable(text, "fuzz.csv", table)) {
      check(errors.getCount() == 0);
      for (const auto& row : table.rows) {
        check(row.size() == table.columns.size());
        for (size_t i = 0; i < row.size(); ++i)
          check(row[i].isNull() ? table.columns[i].nullable : row[i].kind == table.columns[i].kind);
      }
    } else {
      check(errors.getCount() == 1 && table.rows.empty());
    }
  } else if (text.find('\0') == std::string::npos) {
    static CsvStatementParser* parser = new CsvStatementParser;
    CsvQuery query;
    if (!parser->parse(text.c_str(), query)) {
      check(errors.getCount() == 1 && (strcmp(errors.at(0)->getInterfaceCode(), "42000") == 0 ||
                                       strcmp(errors.at(0)->getInterfaceCode(), "22007") == 0));
    } else if (query.isInsert) {
      // Not run: the fixed table stays as it is. An INSERT has its values.
      check(!query.table.empty() && !query.values.empty());
    } else {
      CsvResult result;
      if (csvRunQuery(tableDirectory(), query, result)) {
        check(errors.getCount() == 0 && result.rows.size() <= 3);
        for (const auto& row : result.rows) check(row.size() == result.columns.size());
      } else {
        check(errors.getCount() >= 1);
      }
    }
  }
  VxErrorKeeper::giveUpErrorList();
  return 0;
}
