// VxEbcdicToAscii judged by the system's US EBCDIC converter (IBM037):
// every byte it reads as printable agrees with the converter, except the
// one deliberate reading of 0xB9, and it reads exactly the letters, the
// digits and the short list of punctuation.
#include <iconv.h>

#include <gtest/gtest.h>

#include <string>

#include "charset/ebcdic.h"

namespace {

TEST(EbcdicToAscii, AgreesWithTheUsEbcdicCodePage) {
  iconv_t ebcdic = iconv_open("UTF-8", "IBM037");
  if (ebcdic == iconv_t(-1)) GTEST_SKIP() << "no IBM037 converter";
  std::string shown;
  for (int byte = 0; byte < 256; ++byte) {
    char in = char(byte), out[8] = {};
    char* from = &in;
    char* to = out;
    size_t inLeft = 1, outLeft = sizeof out;
    ASSERT_NE(size_t(-1), iconv(ebcdic, &from, &inLeft, &to, &outLeft));
    const uint8_t reading = VxEbcdicToAscii(uint8_t(byte));
    if (reading == '.') continue;
    shown += char(reading);
    if (byte == 0xB9) EXPECT_EQ('`', reading);  // deliberate: not IBM037's character
    else EXPECT_EQ(std::string(1, char(reading)), std::string(out, size_t(to - out))) << "byte " << byte;
  }
  iconv_close(ebcdic);
  EXPECT_EQ(" <(+|&!$*);-/,%_>?:#@'=\"abcdefghijklmnopqrstuvwxyz`ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", shown);
}

}  // namespace
