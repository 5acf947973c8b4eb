// vxtool codepage: code-page identification from the command line.
//
//   codepage app CONNSTR       the application code page for a connection
//                              string (profiles as the environment names
//                              them); "dsn NAME" follows when it named one
//   codepage name NUMBER       the ICU converter name of an IANA number
//   codepage map TABLE NUMBER  a number through one of the mapping tables
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "charset/ucnv.h"
#include "tools/vxtool/command.h"

namespace {

bool wholeNumber(const std::string& text, int64_t* value) {
  const char* end = text.data() + text.size();
  std::from_chars_result r = std::from_chars(text.data(), end, *value);
  return !text.empty() && r.ec == std::errc() && r.ptr == end;
}

int notFound() {
  fprintf(stderr, "not found\n");
  return 1;
}

int runApp(const std::string& connection) {
  char* dsn = nullptr;
  int64_t codePage = ucnvGetAppCodePage(connection.c_str(), int64_t(connection.size()), &dsn);
  printf("%" PRId64 "\n", codePage);
  if (dsn != nullptr) printf("dsn %s\n", dsn);
  ucnv_free(dsn);
  return 0;
}

int runMap(const std::string& table, int64_t number) {
  int64_t (*map)(int64_t) = nullptr;
  if (table == "iana-to-ibm") map = ucnvIANAToIBM;
  if (table == "ibm-to-iana") map = ucnvIBMToIANA;
  if (table == "windows-to-iana") map = ucnvWindowsToIANA;
  if (table == "unilib-to-iana") map = ucnvUnilibToIANA;
  if (map == nullptr) return usageError("codepage");
  int64_t value = map(number);
  if (value == kUcnvNotFound) return notFound();
  printf("%" PRId64 "\n", value);
  return 0;
}

int runCodePage(const std::vector<std::string>& args) {
  int64_t number = 0;
  if (args.size() == 2 && args[0] == "app") return runApp(args[1]);
  if (args.size() == 2 && args[0] == "name" && wholeNumber(args[1], &number)) {
    const char* name = ucnvIANAidToICUname(number);
    if (name == nullptr) return notFound();
    printf("%s\n", name);
    return 0;
  }
  if (args.size() == 3 && args[0] == "map" && wholeNumber(args[2], &number)) {
    return runMap(args[1], number);
  }
  return usageError("codepage");
}

const VxToolCommand kCodePage{
    "codepage",
    "codepage app CONNSTR\n"
    "codepage name NUMBER\n"
    "codepage map iana-to-ibm|ibm-to-iana|windows-to-iana|unilib-to-iana NUMBER",
    "app: the application code page (IANA number) for a connection string: its\n"
    "IANAAppCodePage/IACP or AppCodePage/ACP attribute, else the data source's\n"
    "and the ODBC sections' entries in odbc.ini and odbcinst.ini (read when the\n"
    "library loads, as ODBCINI, ODBCINSTINI and HOME name them), else 4. A\n"
    "second line \"dsn NAME\" names the data source the string gave.\n"
    "name: the ICU converter name of an IANA number.\n"
    "map: a number through a mapping table.\n"
    "name and map print \"not found\" on stderr and exit 1 for an unknown number.",
    runCodePage};

}  // namespace
