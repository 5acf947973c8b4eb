// vxtool scramble: standard input to standard output through the library's
// scrambling routine.
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/but.h"
#include "tools/vxtool/command.h"
#include "tools/vxtool/stream_io.h"

namespace {

// A method number: decimal digits only, at most 65535.
bool parseMethod(const std::string& text, uint16_t& method) {
  if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos)
    return false;
  unsigned long value = strtoul(text.c_str(), nullptr, 10);
  if (value > 0xFFFF) return false;
  method = uint16_t(value);
  return true;
}

int runScramble(const std::vector<std::string>& args) {
  bool haveMethod = false, haveKey = false;
  uint16_t method = 0;
  std::string key, direction;
  for (size_t k = 0; k < args.size(); ++k) {
    if (args[k] == "--method" && k + 1 < args.size() && !haveMethod) {
      if (!parseMethod(args[++k], method)) return usageError("scramble");
      haveMethod = true;
    } else if (args[k] == "--key" && k + 1 < args.size() && !haveKey) {
      key = args[++k];
      haveKey = true;
    } else if ((args[k] == "encrypt" || args[k] == "decrypt") && direction.empty()) {
      direction = args[k];
    } else {
      return usageError("scramble");
    }
  }
  if (!haveMethod || direction.empty()) return usageError("scramble");

  std::string data;
  if (!readStandardInput(data)) return 1;
  const char* keyText = haveKey ? key.c_str() : nullptr;
  if (direction == "encrypt")
    encrypt(&data[0], data.size(), method, keyText);
  else
    decrypt(&data[0], data.size(), method, keyText);
  return writeStandardOutput(data.data(), data.size()) ? 0 : 1;
}

const VxToolCommand kScramble{
    "scramble", "scramble --method N [--key K] encrypt|decrypt",
    "Scrambles standard input to standard output in place of each byte.\n"
    "Method 1 complements every byte; 2 does the same but keeps line feeds\n"
    "(0x0A) and 0xF5; 3 is a keyed pair cipher using the first characters of\n"
    "K (a built-in key when --key is absent). Other methods copy the data\n"
    "unchanged. decrypt with the same method and key undoes encrypt.",
    runScramble};

}  // namespace
