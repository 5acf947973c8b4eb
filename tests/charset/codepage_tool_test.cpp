// vxtool codepage and convert run as child processes: output formats,
// exit statuses, the load-time profile reader as the environment sets it
// up, and streaming across read buffers judged by iconv.
#include <gtest/gtest.h>
#include <iconv.h>
#include <sys/stat.h>

#include <random>
#include <string>

#include "tool_scratch.h"

namespace {

using vxtest::ToolRun;

// vxtool with HOME at the scratch directory and no other profile variables.
class CodePageTool : public vxtest::ToolScratch {
 protected:
  ToolRun run(const std::string& args, const std::string& input = "") {
    return tool(args, input, "env -u ODBCINI -u ODBC_INI -u ODBCINSTINI -u ODBCINST_INI HOME='" + dir + "'");
  }
};

TEST_F(CodePageTool, FormatsAndStatuses) {
  struct Row {
    const char* args;
    int status;
    std::string out;
    const char* err;
  };
  const Row rows[] = {
      {"codepage name 2000005040", 0, "td_ebcdic037_0e\n", ""},
      {"codepage name 999", 1, "", "not found\n"},
      {"codepage map windows-to-iana 65001", 0, "106\n", ""},
      {"codepage map unilib-to-iana 8", 1, "", "not found\n"},
      {"codepage map other 1", 2, "", "usage:"},
      {"codepage app 'ACP=1252;DSN=x'", 0, "2252\ndsn x\n", ""},
      {"codepage app ''", 0, "4\n", ""},
      {"convert --from 106 --to 17", 1, "", "error 2739 (HY000): "},
      {"convert --from 106 --to 4 --substitution warning", 0, "a\x1A", "warning 2736 (01000): "},
      {"convert --from 106 --to 4 --substitution error", 1, "", "error 2737 (HY000): "},
      {"convert --from 106 --to utf-16be", 0, std::string("\0a\x20\xac", 4), ""},
      {"convert --from 106", 2, "", "usage:"},
  };
  for (const Row& row : rows) {
    ToolRun r = run(row.args, "a\xE2\x82\xAC");
    EXPECT_EQ(row.status, r.status) << row.args;
    EXPECT_EQ(row.out, r.out) << row.args;
    EXPECT_EQ(0u, r.err.find(row.err)) << row.args << ": " << r.err;
  }
}

// The profile files are read at load, from $HOME when ODBCINI and
// ODBC_INI are unset; odbcinst.ini is read only when odbc.ini was.
// The status comes first, so that a sanitizer's exit status (a profile
// buffer not freed at unload) shows too.
TEST_F(CodePageTool, AppCodePageFromTheHomeProfiles) {
  auto app = [&](const char* attributes) {
    ToolRun r = run(std::string("codepage app '") + attributes + "'");
    return std::to_string(r.status) + " " + r.out;
  };
  write(".odbcinst.ini", "[ODBC]\nIANAAppCodePage=38\n");
  EXPECT_EQ("0 4\n", app("UID=me"));
  write(".odbc.ini", "[Sales]\nAppCodePage=6\n[ODBC]\nx=1\n");
  EXPECT_EQ("0 38\n", app("UID=me"));
  EXPECT_EQ("0 17\ndsn Sales\n", app("DSN=Sales"));
}

// Half a megabyte of mixed ASCII and two-byte text through fixed read
// buffers: the same bytes as iconv, so no character was split.
TEST_F(CodePageTool, StreamsLongInputLikeIconv) {
  std::mt19937 rng(12);
  std::string utf8;
  while (utf8.size() < 500000) {
    if (rng() % 3 == 0) {
      utf8 += char('a' + rng() % 26);
    } else {
      unsigned c = 0x3041 + rng() % 80;  // hiragana
      utf8 += char(0xE0 | (c >> 12));
      utf8 += char(0x80 | ((c >> 6) & 0x3F));
      utf8 += char(0x80 | (c & 0x3F));
    }
  }
  iconv_t cd = iconv_open("SHIFT_JIS", "UTF-8");
  std::string expected(utf8.size(), '\0');
  char* in = &utf8[0];
  size_t inLeft = utf8.size();
  char* out = &expected[0];
  size_t outLeft = expected.size();
  ASSERT_NE(size_t(-1), iconv(cd, &in, &inLeft, &out, &outLeft));
  iconv_close(cd);
  expected.resize(expected.size() - outLeft);
  ToolRun toSjis = run("convert --from 106 --to Shift_JIS", utf8);
  EXPECT_EQ(0, toSjis.status);
  EXPECT_TRUE(toSjis.out == expected) << "seed 12: sizes " << toSjis.out.size() << "/" << expected.size();
  ToolRun back = run("convert --from 2024 --to utf-16le", expected);
  ToolRun again = run("convert --from utf-16le --to 106", back.out);
  EXPECT_TRUE(again.out == utf8) << "seed 12";
}

}  // namespace
