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
  iconv_t ebcdic = iconv_open("UTF-32LE", "IBM037");
  if (ebcdic == iconv_t(-1)) GTEST_SKIP() << "no IBM037 converter";
  char bytes[256];
  uint32_t characters[256];
  for (int byte = 0; byte < 256; ++byte) bytes[byte] = char(byte);
  char *from = bytes, *to = reinterpret_cast<char*>(characters);
  size_t fromLeft = sizeof bytes, toLeft = sizeof characters;
  ASSERT_NE(size_t(-1), iconv(ebcdic, &from, &fromLeft, &to, &toLeft));
  iconv_close(ebcdic);
  std::string shown;
  for (int byte = 0; byte < 256; ++byte) {
    const uint8_t reading = VxEbcdicToAscii(uint8_t(byte));
    if (reading != '.') shown += char(reading);
    EXPECT_TRUE(reading == '.' || byte == 0xB9 || reading == characters[byte]) << "byte " << byte;
  }
  // 0xB9 reads as the grave accent, deliberately: IBM037 has another
  // character there.
  EXPECT_EQ(" <(+|&!$*);-/,%_>?:#@'=\"abcdefghijklmnopqrstuvwxyz`ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", shown);
}

}  // namespace
