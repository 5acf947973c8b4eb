// The INI format scanners over in-memory images.
#include "config/iniscan_internal.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// The value of key in section of image, or "<missing>".
std::string lookup(const std::string& image, const std::string& section, const std::string& key) {
  std::string header = "[" + section + "]";
  VXSIZE_T start = 0, end = 0;
  if (iniFindSection(image.data(), image.size(), header.data(), header.size(), &start, &end) != 0) {
    return "<missing>";
  }
  VXSIZE_T cursor = start, valueStart = 0, valueEnd = 0, lineEnd = 0;
  if (iniFindEntry(image.data(), end, key.data(), key.size(), &cursor, &valueStart, &valueEnd,
                   &lineEnd) != 0) {
    return "<missing>";
  }
  return image.substr(valueStart, valueEnd - valueStart);
}

// The key list of section, as written by the multi-entry copy.
std::string keys(const std::string& image, const std::string& section, VXSIZE_T size = 256) {
  std::string header = "[" + section + "]";
  VXSIZE_T start = 0, end = 0;
  if (iniFindSection(image.data(), image.size(), header.data(), header.size(), &start, &end) != 0) {
    return "<missing>";
  }
  std::string buffer(size, '\xff');
  VXSIZE_T written = iniCopyKeys(image.data(), start, end, &buffer[0], size);
  return buffer.substr(0, written);
}

TEST(IniScanTest, KeyEndsAtEqualsBlankOrTab) {
  std::string image = "[d]\nDriver = /x/y.so\nA==v\nB\tw\nC x\n";
  EXPECT_EQ("/x/y.so", lookup(image, "d", "Driver"));
  EXPECT_EQ("v", lookup(image, "d", "A"));
  EXPECT_EQ("w", lookup(image, "d", "B"));
  EXPECT_EQ("x", lookup(image, "d", "C"));
}

TEST(IniScanTest, SectionAndKeyNamesCompareCaseInsensitively) {
  std::string image = "[My DSN]\nServer=s1\n";
  EXPECT_EQ("s1", lookup(image, "my dsn", "SERVER"));
  EXPECT_EQ("<missing>", lookup(image, "My", "Server"));
}

TEST(IniScanTest, TrailingBlanksOfAValueAreKept) {
  EXPECT_EQ("/opt/x/  ", lookup("[ODBC]\nInstallDir=/opt/x/  \n", "ODBC", "InstallDir"));
}

TEST(IniScanTest, FirstMatchingKeyWins) {
  EXPECT_EQ("1", lookup("[s]\nk=1\nK=2\n", "s", "k"));
  EXPECT_EQ("a", lookup("[s]\nk=a\n[s]\nk=b\n", "s", "k"));
}

TEST(IniScanTest, CommentLinesAreNeverFound) {
  std::string image = "[s]\n;k=1\n  #k=2\n\t;j=3\nj=4\n";
  EXPECT_EQ("<missing>", lookup(image, "s", "k"));
  EXPECT_EQ("4", lookup(image, "s", "j"));
  EXPECT_EQ("<missing>", lookup(image, "s", ";k"));
}

TEST(IniScanTest, DeliberateBracketInsideAValueEndsTheSection) {
  std::string image = "[s]\nA=x[y]\nB=2\n[t]\nC=3\n";
  EXPECT_EQ("x", lookup(image, "s", "A"));
  EXPECT_EQ("<missing>", lookup(image, "s", "B"));
  EXPECT_EQ("3", lookup(image, "t", "C"));
}

TEST(IniScanTest, HeaderOnlyAtTheStartOfALine) {
  std::string image = "x=1 [s]\nk=1\n  [s]\nk=2\n;[s]\nk=3\n";
  EXPECT_EQ("<missing>", lookup(image, "s", "k"));
  EXPECT_EQ("9", lookup("junk\n[s]\nk=9", "s", "k"));
}

TEST(IniScanTest, LeadingBlanksOfALineAreSkipped) {
  EXPECT_EQ("v", lookup("[s]\n \t k = v\n", "s", "k"));
}

TEST(IniScanTest, EmptyLinesAndCarriageReturnsStayLiteral) {
  EXPECT_EQ("v\r", lookup("[s]\r\n\n\nk=v\r\n", "s", "k"));
}

TEST(IniScanTest, ValueAtTheEndOfTheImageWithoutLineEnd) {
  EXPECT_EQ("last", lookup("[s]\nk=last", "s", "k"));
  EXPECT_EQ("", lookup("[s]\nk=", "s", "k"));
  EXPECT_EQ("", lookup("[s]\nk", "s", "k"));
}

TEST(IniScanTest, HeaderWithoutClosingBracketIsNoSection) {
  EXPECT_EQ("<missing>", lookup("[s\nk=1\n", "s", "k"));
}

TEST(IniScanTest, MultiEntryOutputIsDoubleNulTerminated) {
  std::string list = keys("[s]\nA=1\nB=2\n", "s");
  EXPECT_EQ(std::string("A\0B\0\0", 5), list);
}

TEST(IniScanTest, MultiEntryOutputSkipsCommentsAfterALineEnd) {
  EXPECT_EQ(std::string("A\0B\0\0", 5), keys("[s]\n;x=0\nA=1\n#y=0\nB=2\n", "s"));
}

TEST(IniScanTest, DeliberateLineWithoutEqualsRunsIntoTheNextKey) {
  EXPECT_EQ(std::string("nokeyA\0\0", 8), keys("[s]\nnokey\nA=1\n", "s"));
}

TEST(IniScanTest, MultiEntryOutputKeepsBlanksBeforeEquals) {
  EXPECT_EQ(std::string("A \0B\0\0", 6), keys("[s]\n  A = 1\nB=2\n", "s"));
}

TEST(IniScanTest, MultiEntryOutputStopsAtSizeMinusOneBytes) {
  std::string list = keys("[s]\nAlpha=1\nBeta=2\n", "s", 5);
  EXPECT_EQ(std::string("Alph\0", 5), list);
  EXPECT_EQ(std::string("\0", 1), keys("[s]\nAlpha=1\n", "s", 1));
}

TEST(IniScanTest, MultiEntryOutputStopsAtTheSectionEnd) {
  EXPECT_EQ(std::string("A\0\0", 3), keys("[s]\nA=1[x]\nB=2\n", "s"));
}

TEST(IniScanTest, ScannersTreatNulAsAnOrdinaryByte) {
  std::string image("[s]\nk=a\0b\nj=c\n", 14);
  EXPECT_EQ(std::string("a\0b", 3), lookup(image, "s", "k"));
  EXPECT_EQ("c", lookup(image, "s", "j"));
}

}  // namespace

namespace {

// The indexed search gives the plain search's answer for every header.
void expectIndexAgrees(const std::string& image, const std::vector<std::string>& headers) {
  IniSectionIndex index;
  ASSERT_EQ(0, iniBuildSectionIndex(image.data(), image.size(), &index));
  for (const std::string& header : headers) {
    VXSIZE_T plainStart = 0, plainEnd = 0, start = 0, end = 0;
    uint16_t plain = iniFindSection(image.data(), image.size(), header.data(), header.size(),
                                    &plainStart, &plainEnd);
    uint16_t indexed = iniFindSectionIndexed(image.data(), image.size(), index, header.data(),
                                             header.size(), &start, &end);
    EXPECT_EQ(plain, indexed) << header;
    if (plain == 0 && indexed == 0) {
      EXPECT_EQ(plainStart, start) << header;
      EXPECT_EQ(plainEnd, end) << header;
    }
  }
  iniFreeSectionIndex(&index);
  EXPECT_EQ(nullptr, index.entries);
}

TEST(IniSectionIndexTest, IndexedSearchFindsWhatThePlainSearchFinds) {
  std::string image = "[A]\nk=1\n[b c]\nk=x[y]\n[B C]\n  [x]\n[s\n[Dup]\n[dUP]\n[\xe9t\xe9]\n[]\n";
  expectIndexAgrees(image, {"[a]", "[A]", "[B c]", "[b C]", "[x]", "[s]", "[dup]", "[\xe9t\xe9]",
                            "[\xc9t\xe9]", "[]", "[missing]", "[", ""});
}

TEST(IniSectionIndexTest, ImageWithoutHeadersGivesAnEmptyIndex) {
  IniSectionIndex index;
  ASSERT_EQ(0, iniBuildSectionIndex("k=1\n x [y]\n", 11, &index));
  EXPECT_EQ(0u, index.count);
  VXSIZE_T start = 0, end = 0;
  EXPECT_EQ(1, iniFindSectionIndexed("k=1\n x [y]\n", 11, index, "[y]", 3, &start, &end));
  iniFreeSectionIndex(&index);
}

TEST(IniSectionIndexTest, ManySectionsGrowTheIndex) {
  std::string image;
  std::vector<std::string> headers;
  for (int i = 0; i < 300; ++i) {
    image += "[DSN" + std::to_string(i) + "]\nServer=s" + std::to_string(i) + "\n";
    headers.push_back("[dsn" + std::to_string(i) + "]");
  }
  expectIndexAgrees(image, headers);
}

}  // namespace
