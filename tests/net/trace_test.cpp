// The data-stream trace, byte for byte: its headings, rows of 8, the blank
// row after a multiple of 8, and the numbering of its files.
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <string>

#include "charset/ebcdic.h"
#include "net/vxpipe.h"
#include "net/vxtcpip.h"
#include "tests/net/net_test_support.h"

namespace {

std::string fileText(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool exists(const char* name) {
  struct stat info;
  return stat(name, &info) == 0;
}

using Trace = NetTest;

// Nine bytes: EBCDIC letters and a digit, the EBCDIC blank (ASCII "@"), a
// byte without EBCDIC reading, DEL (shown as itself), NUL, 0xFF, and 0x4F
// ("O" in ASCII, the vertical bar in EBCDIC).
const char kData[] = "\xC1\x81\xF0\x40\x41\x7F\x00\xFF\x4F";
const std::string kColumns = "HEX\t\t\t\tASCII\t\t\tEBCDIC\n";
const std::string kRow7 = "C1 81 F0 40 41 7F 00    \t. . . @ A \x7F .   \tA a 0   . \" .   \n";
const std::string kRow8 = "C1 81 F0 40 41 7F 00 FF \t. . . @ A \x7F . . \tA a 0   . \" . . \n";
const std::string kRowLast = "4F                      \tO               \t|               \n";
const std::string kBlankRow = std::string(24, ' ') + "\t" + std::string(16, ' ') + "\t" + std::string(16, ' ') + "\n";

TEST_F(Trace, RecordsMatchByteForByte) {
  VxPipe pipe;
  VxTCPIP tcp;
  ASSERT_EQ(0u, pipe.setLogging(true));
  ASSERT_EQ(0u, tcp.setLogging(true));
  pipe.logDataStream(kData, 0, true);
  pipe.logDataStream(kData, 7, false);
  tcp.logDataStream(kData, 8, true);
  tcp.logDataStream(kData, 9, false);
  pipe.setLogging(false);
  tcp.setLogging(false);
  pipe.logDataStream(kData, 9, true);  // not tracing: nothing written
  // Only the pipe's reading heading ends in a carriage return.
  EXPECT_EQ("Reading 0 bytes\r\n" + kColumns + kBlankRow + "\n" +
            "Sending 7 bytes\n" + kColumns + kRow7 + "\n", fileText("0.out"));
  EXPECT_EQ("Reading 8 bytes\n" + kColumns + kRow8 + kBlankRow + "\n" +
            "Sending 9 bytes\n" + kColumns + kRow8 + kRowLast + "\n", fileText("1.out"));
}

// 300 bytes, every value at least once: the hex column reads back as the
// data, ASCII shows bytes 32 to 127 as themselves, EBCDIC their readings.
TEST_F(Trace, LongRecordReadsBackAsItsBytes) {
  std::string data(300, '\0');
  for (size_t k = 0; k < data.size(); ++k) data[k] = char(k * 7);
  VxTCPIP tcp;
  ASSERT_EQ(0u, tcp.setLogging(true));
  tcp.logDataStream(data.data(), data.size(), false);
  tcp.setLogging(false);
  std::istringstream in(fileText("0.out"));
  std::string line;
  std::getline(in, line);
  EXPECT_EQ("Sending 300 bytes", line);
  std::getline(in, line);
  for (size_t offset = 0; offset < data.size(); offset += 8) {
    ASSERT_TRUE(std::getline(in, line) && line.size() == 58) << "row at " << offset;
    for (size_t k = 0; k < 8 && offset + k < data.size(); ++k) {
      const uint8_t byte = uint8_t(data[offset + k]);
      EXPECT_EQ(byte, std::stoul(line.substr(3 * k, 2), nullptr, 16));
      EXPECT_EQ(byte >= 32 && byte <= 127 ? char(byte) : '.', line[25 + 2 * k]);
      EXPECT_EQ(char(VxEbcdicToAscii(byte)), line[42 + 2 * k]);
    }
  }
  EXPECT_TRUE(std::getline(in, line) && line.empty());
  EXPECT_FALSE(std::getline(in, line));
}

TEST_F(Trace, TakesTheFirstFreeNumberAndKeepsItsFile) {
  std::ofstream("0.out") << "kept";
  std::ofstream("1.out") << "kept";
  VxPipe pipe;
  ASSERT_EQ(0u, pipe.setLogging(true));
  ASSERT_EQ(0u, pipe.setLogging(true));  // already open: no second file
  EXPECT_TRUE(exists("2.out"));
  EXPECT_FALSE(exists("3.out"));
  EXPECT_EQ("kept", fileText("1.out"));
  pipe.setLogging(false);
  ASSERT_EQ(0u, pipe.setLogging(true));
  EXPECT_TRUE(exists("3.out"));
  ASSERT_EQ(0, chmod(".", 0500));  // a directory nobody may write to
  VxTCPIP tcp;
  const bool root = geteuid() == 0;
  EXPECT_EQ(root ? 0u : 1u, tcp.setLogging(true));
  EXPECT_EQ(root ? "none" : "1505 ", lastError());
  chmod(".", 0700);
}

}  // namespace
