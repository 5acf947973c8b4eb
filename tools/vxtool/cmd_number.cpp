// vxtool number: the library's integer conversions from the command line.
//
//   number parse TYPE TEXT             text to number (TYPE u64 i64 u32 i32
//                                      u16 i16 u8 i8); prints the value
//   number format [-w WIDTH] [-l] VALUE
//                                      number to text, plain or as a
//                                      fixed-width field; prints [text] count
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "tools/vxtool/command.h"
#include "tools/vxtool/tool_errors.h"
#include "values/convert.h"

namespace {

// Converts text into a T and prints it in decimal; exit 0, or 1 with the
// filed error printed.
template <typename T>
int parseAs(const char* text) {
  T value = 0;
  if (convert(text, &value)) return 1;
  if (std::is_signed<T>::value)
    printf("%" PRId64 "\n", int64_t(value));
  else
    printf("%" PRIu64 "\n", uint64_t(value));
  return 0;
}

int runParse(const std::string& type, const char* text) {
  if (type == "u64") return parseAs<VXSIZE_T>(text);
  if (type == "i64") return parseAs<VXSSIZE_T>(text);
  if (type == "u32") return parseAs<uint32_t>(text);
  if (type == "i32") return parseAs<int32_t>(text);
  if (type == "u16") return parseAs<uint16_t>(text);
  if (type == "i16") return parseAs<int16_t>(text);
  if (type == "u8") return parseAs<uint8_t>(text);
  if (type == "i8") return parseAs<int8_t>(text);
  return -1;
}

// The whole argument as a decimal number of type T (strict: no blanks, no
// "+"), so that the tool's own arguments do not go through the code under
// test.
template <typename T>
bool wholeNumber(const std::string& text, T* value) {
  const char* end = text.data() + text.size();
  std::from_chars_result r = std::from_chars(text.data(), end, *value);
  return !text.empty() && r.ec == std::errc() && r.ptr == end;
}

void printField(const char* text, size_t length, uint16_t count) {
  printf("[%.*s] %u\n", int(length), text, unsigned(count));
}

int runFormat(const std::vector<std::string>& args) {
  bool hasWidth = false;
  bool left = false;
  uint16_t width = 0;
  size_t i = 1;
  for (; i + 1 < args.size(); ++i) {
    if (args[i] == "-l") {
      left = true;
    } else if (args[i] == "-w" && i + 2 < args.size() && wholeNumber(args[i + 1], &width)) {
      hasWidth = true;
      ++i;
    } else {
      return usageError("number");
    }
  }
  if (i + 1 != args.size() || (left && !hasWidth)) return usageError("number");

  int64_t signedValue = 0;
  uint64_t unsignedValue = 0;
  bool isSigned = wholeNumber(args[i], &signedValue);
  if (!isSigned && !wholeNumber(args[i], &unsignedValue)) return usageError("number");

  std::vector<char> buffer(size_t(width) + 32);
  uint16_t count;
  if (hasWidth) {
    count = isSigned ? convert(buffer.data(), width, VXSSIZE_T(signedValue), left)
                     : convert(buffer.data(), width, VXSIZE_T(unsignedValue), left);
    printField(buffer.data(), width, count);
  } else {
    count = isSigned ? convert(buffer.data(), VXSSIZE_T(signedValue)) : convert(buffer.data(), VXSIZE_T(unsignedValue));
    printField(buffer.data(), strlen(buffer.data()), count);
  }
  return 0;
}

int runNumber(const std::vector<std::string>& args) {
  if (args.empty()) return usageError("number");
  ToolErrorList errors;
  if (args[0] == "parse" && args.size() == 3) {
    int status = runParse(args[1], args[2].c_str());
    if (status < 0) return usageError("number");
    return status ? errors.fail() : 0;
  }
  if (args[0] == "format") return runFormat(args);
  return usageError("number");
}

const VxToolCommand kNumber{"number",
                            "number parse u64|i64|u32|i32|u16|i16|u8|i8 TEXT\n"
                            "number format [-w WIDTH] [-l] VALUE",
                            "parse: converts TEXT with the library's text-to-number conversion for\n"
                            "the type and prints the value; a failure prints the error filed\n"
                            "(2701 out of range, 2702 invalid character) and exits 1.\n"
                            "format: writes VALUE (signed 64-bit, or unsigned 64-bit when it does not\n"
                            "fit) as decimal text, or with -w as a field of WIDTH characters\n"
                            "(right-justified, left with -l), and prints [TEXT] COUNT where COUNT is\n"
                            "what the conversion returned.",
                            runNumber};

}  // namespace
