// vxtool message: the catalog text of a message number with its
// parameters filled in.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "containers/vxparams.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"

namespace {

// A decimal number from 0 to 65535.
bool parseNumber(const std::string& text, uint16_t& number) {
  if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos)
    return false;
  unsigned long value = strtoul(text.c_str(), nullptr, 10);
  if (value > 0xFFFF) return false;
  number = uint16_t(value);
  return true;
}

// A parameter goes in as a number when the message has a number marker
// ("%d") for its position and the parameter is a decimal integer;
// otherwise as text.
bool fillsNumberMarker(const VxParamString& message, size_t position, const std::string& param) {
  std::string marker = "%d" + std::string(position > 9 ? "x" : "") + std::to_string(position);
  std::string text(message.asPascalStr(), message.getLength());
  if (text.find(marker) == std::string::npos) return false;
  size_t digits = param[0] == '-' ? 1 : 0;
  return param.size() > digits && param.size() - digits <= 18 &&
         param.find_first_not_of("0123456789", digits) == std::string::npos;
}

int runMessage(const std::vector<std::string>& args) {
  uint16_t number = 0;
  if (args.empty() || !parseNumber(args[0], number)) return usageError("message");
  VxResourceString text(number);
  VxParamString message;
  if (message.initialize(static_cast<const char*>(text)) != 0) return 1;
  for (size_t k = 1; k < args.size(); ++k) {
    if (fillsNumberMarker(message, k, args[k]))
      message << int64_t(strtoll(args[k].c_str(), nullptr, 10));
    else
      message << args[k].c_str();
  }
  if (message.isFailed()) return 1;
  std::string line(message.asPascalStr(), message.getLength());
  line += '\n';
  return writeStandardOutput(line.data(), line.size()) ? 0 : 1;
}

const VxToolCommand kMessage{
    "message", "message NUMBER [PARAM...]",
    "Prints the message catalog's text of NUMBER (0 to 65535) with the\n"
    "parameters filled into its markers in order: the n-th PARAM replaces\n"
    "%sN, or %dN when it is a decimal integer and the text has that marker\n"
    "(from the tenth on, %sxN and %dxN). Without a catalog the text is the\n"
    "number itself.",
    runMessage};

}  // namespace
