// The data-stream trace and the connection address over arbitrary bytes.
// The first byte chooses: 0 VxPipe's trace, 1 VxTCPIP's trace (bit 2: as
// read data), 2 and 3 the address "host,port". A trace must read back as
// its bytes: one row of 8 per started 8 bytes plus one (so a multiple of 8
// ends in a blank row), hex that decodes to the data, ASCII and EBCDIC
// columns that show each byte. An address is split as a plain model says;
// a malformed one fails to open with error 11 and names itself as the
// failing call. Well-formed addresses are never opened: that would reach
// the resolver or the network.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "charset/ebcdic.h"
#include "net/ntaddr_internal.h"
#include "net/ntnetlib.h"
#include "net/vxpipe.h"
#include "net/vxtcpip.h"

namespace {

void check(bool promise) {
  if (!promise) abort();
}

// The trace files go to a private folder, removed at exit. The working
// directory is that folder only while a trace is written, so that the
// fuzzer's own relative paths keep their meaning.
char folder[] = "/tmp/vx_nettrace_XXXXXX";
void removeFolder() { rmdir(folder); }
class InPrivateFolder {
 public:
  InPrivateFolder() : home_(open(".", O_RDONLY | O_DIRECTORY)) {
    static const bool made = mkdtemp(folder) != nullptr && atexit(removeFolder) == 0;
    check(made && home_ >= 0 && chdir(folder) == 0);
  }
  ~InPrivateFolder() {
    check(fchdir(home_) == 0);
    close(home_);
  }

 private:
  int home_;
};

std::string traceOf(bool pipe, bool reading, const uint8_t* data, size_t size) {
  InPrivateFolder inFolder;
  VxPipe vxPipe;
  VxTCPIP vxTcp;
  check((pipe ? vxPipe.setLogging(true) : vxTcp.setLogging(true)) == 0);
  pipe ? vxPipe.logDataStream(data, size, reading) : vxTcp.logDataStream(data, size, reading);
  pipe ? vxPipe.setLogging(false) : vxTcp.setLogging(false);
  std::string text;
  FILE* file = fopen("0.out", "rb");
  check(file != nullptr);
  for (int c; (c = fgetc(file)) != EOF;) text += char(c);
  fclose(file);
  unlink("0.out");
  return text;
}

int hexValue(char c) { return c >= 'A' && c <= 'F' ? c - 'A' + 10 : c >= '0' && c <= '9' ? c - '0' : -1; }

void checkTrace(bool pipe, bool reading, const uint8_t* data, size_t size) {
  const std::string text = traceOf(pipe, reading, data, size);
  std::string heading = std::string(reading ? "Reading " : "Sending ") + std::to_string(size) + " bytes";
  heading += pipe && reading ? "\r\n" : "\n";
  heading += "HEX\t\t\t\tASCII\t\t\tEBCDIC\n";
  check(text.compare(0, heading.size(), heading) == 0);
  size_t at = heading.size();
  for (size_t offset = 0; offset <= size; offset += 8, at += 59) {
    const char* row = text.c_str() + at;
    check(text.size() >= at + 59 && row[24] == '\t' && row[41] == '\t' && row[58] == '\n');
    for (size_t k = 0; k < 8; ++k) {
      const bool present = offset + k < size;
      const uint8_t byte = present ? data[offset + k] : 0;
      const char ascii = byte >= 32 && byte <= 127 ? char(byte) : '.';
      if (present)
        check(hexValue(row[3 * k]) * 16 + hexValue(row[3 * k + 1]) == byte && row[25 + 2 * k] == ascii &&
              row[42 + 2 * k] == char(VxEbcdicToAscii(byte)));
      else
        check(row[3 * k] == ' ' && row[3 * k + 1] == ' ' && row[25 + 2 * k] == ' ' && row[42 + 2 * k] == ' ');
      check(row[3 * k + 2] == ' ' && row[26 + 2 * k] == ' ' && row[43 + 2 * k] == ' ');
    }
  }
  check(text.size() == at + 1 && text[at] == '\n');
}

void checkAddress(const uint8_t* data, size_t size) {
  const std::string address(reinterpret_cast<const char*>(data), strnlen(reinterpret_cast<const char*>(data), size));
  const size_t comma = address.find(',');
  const bool wellFormed = comma != std::string::npos && comma >= 1 && comma <= kMaxHostLength && comma + 1 < address.size();
  ConnectionAddressParts parts{};
  check(splitConnectionAddress(address.c_str(), &parts) == wellFormed);
  if (wellFormed) {
    uint32_t port = 0;
    for (size_t k = comma + 1; k < address.size() && address[k] >= '0' && address[k] <= '9'; ++k)
      port = port * 10 + uint32_t(address[k] - '0');
    check(parts.host == address.c_str() && parts.hostLength == comma && parts.port == port);
    return;
  }
  ConnectionObject connection;
  int err = 0;
  check(ConnectionOpen(&connection, address.c_str(), &err) == 0 && err == 11 && connection.socket == -1);
  check(connection.message == ("ConnectionOpen (" + address + "()).").substr(0, sizeof connection.message - 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t mode = data[0];
  if ((mode & 3) < 2)
    checkTrace((mode & 3) == 0, (mode & 4) != 0, data + 1, size - 1);
  else
    checkAddress(data + 1, size - 1);
  return 0;
}
