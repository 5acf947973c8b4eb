// vxtool hex: standard input to standard output through the library's
// hexadecimal encoder and decoder.
#include <string>
#include <vector>

#include "foundation/but.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"
#include "tools/vxtool/tool_errors.h"

namespace {

// Upper-case digits, two per input byte, and a line feed.
int encodeInput() {
  std::string data;
  if (!readStandardInput(data)) return 1;
  std::string text(2 * data.size() + 1, '\n');
  hexify(&text[0], data.data(), data.size());
  return writeStandardOutput(text.data(), text.size()) ? 0 : 1;
}

// Digits in either case; one trailing line feed is ignored. An odd count
// leaves the last digit in the high nibble of one more byte. A bad digit
// writes nothing to standard output and reports the library's error.
int decodeInput() {
  std::string text;
  if (!readStandardInput(text)) return 1;
  if (!text.empty() && text.back() == '\n') text.pop_back();
  std::vector<uint8_t> bytes((text.size() + 1) / 2);

  ToolErrorList errors;
  if (dehexify(bytes.data(), text.data(), text.size()) != 0) return errors.fail();
  return writeStandardOutput(bytes.data(), bytes.size()) ? 0 : 1;
}

int runHex(const std::vector<std::string>& args) {
  if (args.size() != 1) return usageError("hex");
  if (args[0] == "encode") return encodeInput();
  if (args[0] == "decode") return decodeInput();
  return usageError("hex");
}

const VxToolCommand kHex{
    "hex", "hex encode\nhex decode",
    "encode writes standard input as upper-case hexadecimal digits, two per\n"
    "byte, followed by a line feed. decode turns digits (either case) back\n"
    "into bytes, ignoring one trailing line feed; with an odd number of\n"
    "digits the last one becomes the high nibble of one more byte. A\n"
    "character that is not a digit is error 2708 (exit status 1).",
    runHex};

}  // namespace
