// The data-stream trace, byte for byte: its headings, rows of 8, the blank
// row after a multiple of 8, and the numbering of its files. (The fuzz
// target reads the dump of arbitrary bytes back.)
#include <sys/stat.h>

#include <string>

#include "net/vxpipe.h"
#include "net/vxtcpip.h"
#include "tests/net/net_test_support.h"

namespace {

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

TEST_F(Trace, TakesTheFirstFreeNumberAndKeepsItsFile) {
  std::ofstream("0.out") << "kept";
  std::ofstream("1.out") << "kept";
  VxPipe pipe;
  ASSERT_EQ(0u, pipe.setLogging(true));
  ASSERT_EQ(0u, pipe.setLogging(true));  // already open: no second file
  EXPECT_EQ(0, access("2.out", F_OK));
  EXPECT_NE(0, access("3.out", F_OK));
  EXPECT_EQ("kept", fileText("1.out"));
  pipe.setLogging(false);
  ASSERT_EQ(0u, pipe.setLogging(true));
  EXPECT_EQ(0, access("3.out", F_OK));
  // A working directory that no longer exists takes no trace file.
  ASSERT_EQ(0, mkdir("gone", 0700));
  ASSERT_EQ(0, chdir("gone"));
  ASSERT_EQ(0, rmdir("../gone"));
  VxTCPIP tcp;
  EXPECT_EQ(1u, tcp.setLogging(true));
  EXPECT_EQ("1505 ", lastError());
}

}  // namespace
