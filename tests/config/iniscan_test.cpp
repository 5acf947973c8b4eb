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

// Each row: an image, a section and key, and the value found ("<missing>"
// when there is none).
TEST(IniScanTest, LookupsFollowTheLineAndSectionRules) {
  struct Case {
    const char* name;
    std::string image;
    const char* section;
    const char* key;
    std::string value;
  } cases[] = {
      {"key ends at blank before equals", "[d]\nDriver = /x/y.so\nA==v\nB\tw\nC x\n", "d", "Driver", "/x/y.so"},
      {"key ends at equals", "[d]\nDriver = /x/y.so\nA==v\nB\tw\nC x\n", "d", "A", "v"},
      {"key ends at tab", "[d]\nDriver = /x/y.so\nA==v\nB\tw\nC x\n", "d", "B", "w"},
      {"key ends at blank", "[d]\nDriver = /x/y.so\nA==v\nB\tw\nC x\n", "d", "C", "x"},
      {"names compare case-insensitively", "[My DSN]\nServer=s1\n", "my dsn", "SERVER", "s1"},
      {"section name must match whole", "[My DSN]\nServer=s1\n", "My", "Server", "<missing>"},
      {"trailing blanks of a value kept", "[ODBC]\nInstallDir=/opt/x/  \n", "ODBC", "InstallDir", "/opt/x/  "},
      {"first matching key wins", "[s]\nk=1\nK=2\n", "s", "k", "1"},
      {"first matching section wins", "[s]\nk=a\n[s]\nk=b\n", "s", "k", "a"},
      {"comment lines never found", "[s]\n;k=1\n  #k=2\n\t;j=3\nj=4\n", "s", "k", "<missing>"},
      {"key after comments found", "[s]\n;k=1\n  #k=2\n\t;j=3\nj=4\n", "s", "j", "4"},
      {"comment marker is no key", "[s]\n;k=1\n  #k=2\n\t;j=3\nj=4\n", "s", ";k", "<missing>"},
      {"header only at line start", "x=1 [s]\nk=1\n  [s]\nk=2\n;[s]\nk=3\n", "s", "k", "<missing>"},
      {"header after a junk line", "junk\n[s]\nk=9", "s", "k", "9"},
      {"leading blanks skipped", "[s]\n \t k = v\n", "s", "k", "v"},
      {"empty lines and CR stay literal", "[s]\r\n\n\nk=v\r\n", "s", "k", "v\r"},
      {"value at the end without line end", "[s]\nk=last", "s", "k", "last"},
      {"empty value at the end", "[s]\nk=", "s", "k", ""},
      {"bare key at the end", "[s]\nk", "s", "k", ""},
      {"header without closing bracket", "[s\nk=1\n", "s", "k", "<missing>"},
      {"NUL is an ordinary byte", std::string("[s]\nk=a\0b\nj=c\n", 14), "s", "k", std::string("a\0b", 3)},
      {"NUL does not end the image", std::string("[s]\nk=a\0b\nj=c\n", 14), "s", "j", "c"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.value, lookup(c.image, c.section, c.key)) << c.name;
}

TEST(IniScanTest, DeliberateBracketInsideAValueEndsTheSection) {
  std::string image = "[s]\nA=x[y]\nB=2\n[t]\nC=3\n";
  EXPECT_EQ("x", lookup(image, "s", "A"));
  EXPECT_EQ("<missing>", lookup(image, "s", "B"));
  EXPECT_EQ("3", lookup(image, "t", "C"));
}

// Each row: an image, the size of the output, and the key list written.
TEST(IniScanTest, MultiEntryOutputListsKeysDoubleNulTerminated) {
  struct Case {
    const char* name;
    const char* image;
    VXSIZE_T size;
    std::string list;
  } cases[] = {
      {"plain", "[s]\nA=1\nB=2\n", 256, std::string("A\0B\0\0", 5)},
      {"skips comments after a line end", "[s]\n;x=0\nA=1\n#y=0\nB=2\n", 256, std::string("A\0B\0\0", 5)},
      {"keeps blanks before equals", "[s]\n  A = 1\nB=2\n", 256, std::string("A \0B\0\0", 6)},
      {"stops at size minus one", "[s]\nAlpha=1\nBeta=2\n", 5, std::string("Alph\0", 5)},
      {"size one", "[s]\nAlpha=1\n", 1, std::string("\0", 1)},
      {"stops at the section end", "[s]\nA=1[x]\nB=2\n", 256, std::string("A\0\0", 3)},
  };
  for (const Case& c : cases) EXPECT_EQ(c.list, keys(c.image, "s", c.size)) << c.name;
}

TEST(IniScanTest, DeliberateLineWithoutEqualsRunsIntoTheNextKey) {
  EXPECT_EQ(std::string("nokeyA\0\0", 8), keys("[s]\nnokey\nA=1\n", "s"));
}

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
