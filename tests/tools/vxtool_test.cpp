// vxtool run as a child process: its own parsing of arguments, its
// messages and exit statuses, and the library's trace lines it shows. What
// each command computes is the library's, tested with the library; here
// one row per way of calling the tool.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;

// The exit status (-1 when the tool did not exit normally) and output.
struct ToolResult { int status = -1; std::string out, err; };

// Runs vxtool with args and input on its standard input. Each entry of env
// "NAME=value" sets NAME in the child ("NAME=" unsets it).
ToolResult runTool(const std::vector<std::string>& args, const std::string& input, const std::vector<std::string>& env) {
  FILE* files[3] = {tmpfile(), tmpfile(), tmpfile()};
  fwrite(input.data(), 1, input.size(), files[0]);
  rewind(files[0]);
  pid_t pid = fork();
  if (pid == 0) {
    for (int fd = 0; fd < 3; ++fd) dup2(fileno(files[fd]), fd);
    for (const std::string& entry : env) {
      std::string name = entry.substr(0, entry.find('='));
      if (entry.size() > name.size() + 1) setenv(name.c_str(), entry.c_str() + name.size() + 1, 1); else unsetenv(name.c_str());
    }
    std::vector<char*> argv = {const_cast<char*>(VX_TOOL)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    execv(VX_TOOL, argv.data());
    _exit(127);
  }
  ToolResult result;
  int status = 0;
  if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) result.status = WEXITSTATUS(status);
  char buffer[4096];
  for (int i = 0; i < 3; ++i) {
    rewind(files[i]);
    for (size_t n; i > 0 && (n = fread(buffer, 1, sizeof buffer, files[i])) > 0;) (i == 1 ? result.out : result.err).append(buffer, n);
    fclose(files[i]);
  }
  return result;
}

// Replaces every "$D" with dir and every "$S" with the shipped SQL
// grammar's path up to its extension.
std::string expand(std::string text, const std::string& dir) {
  for (size_t at; (at = text.find("$D")) != std::string::npos;) text.replace(at, 2, dir);
  const std::string sql = std::string(VX_TEST_SOURCE_DIR) + "/examples/sql/odbc-sql.";
  for (size_t at; (at = text.find("$S")) != std::string::npos;) text.replace(at, 2, sql);
  return text;
}

class Vxtool : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vx_tool_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    for (const char* sub : {"/home", "/lib", "/lib/bin", "/a", "/b"}) mkdir((dir + sub).c_str(), 0755);
    static const std::pair<const char*, const char*> kFiles[] = {
        {"/home/.odbc.ini", ""}, {"/home/.system.defaults", ""}, {"/home/h.cfg", ""}, {"/lib/x.so", ""},
        {"/b/vx-locate-probe.cfg", ""}, {"/chosen.ini", ""}, {"/only.ini", "[only]\nk=v\n"},
        {"/odbc.ini", "[ODBC Data Sources]\nsales = Vx driver\n\n[sales]\nDriver = /opt/vx/lib/vxdrv.so\nServer=db1\nPort=5000\n"},
        {"/dsn.ini", "[ODBC]\nInstallDir=/opt/vx/ \n"}, {"/inst.ini", "[ODBC]\nInstallDir=/usr/lib/vx\n"}};
    for (const auto& file : kFiles) std::ofstream(dir + file.first) << file.second;
  }
  void TearDown() override { EXPECT_EQ(0, system(("rm -rf '" + dir + "'").c_str())); }

  std::string dir;
};

// Each row: the arguments, the exit status, standard output (exact, or,
// after "...", a piece of it), a piece of standard error (none: it must be
// empty), standard input and extra environment. "$D" is the scratch
// directory; $D/home is $HOME and $D/odbc.ini the data-source file. Rows
// run in order, so a change shows in the rows after it.
TEST_F(Vxtool, ArgumentsMessagesAndExitStatuses) {
  struct Row {
    std::vector<std::string> args;
    int status;
    std::string out, err = "", input = "";
    std::vector<std::string> env = {};
  } rows[] = {
      // The program and its help.
      {{"--version"}, 0, "...vxtool "},
      {{"help"}, 0, "...\n  vxtool help [COMMAND]\n  vxtool hex encode\n  vxtool hex decode\n"},
      {{"--help"}, 0, "...usage: vxtool COMMAND [ARGS...]\n"},
      {{"help", "hex"}, 0, "...usage:\n  vxtool hex encode\n  vxtool hex decode\n\nencode writes"},
      {{"help", "nope"}, 2, "", "vxtool: unknown command 'nope'\nusage: vxtool COMMAND"},
      {{"help", "a", "b"}, 2, "", "usage:\n  vxtool help [COMMAND]\n"}, {{}, 2, "", "usage: vxtool COMMAND"},
      {{"no-such-command"}, 2, "", "vxtool: unknown command 'no-such-command'\n"},
      // hex: upper-case digits and a line feed; either case back, one line
      // feed ignored, an odd digit the high nibble of one more byte.
      {{"hex", "encode"}, 0, "AB017A\n", "", "\xAB\x01z"}, {{"hex", "encode"}, 0, "\n"},
      {{"hex", "decode"}, 0, "Hello", "", "48656c6C6F\n"}, {{"hex", "decode"}, 0, "\xAB\xC0", "", "ABC"},
      {{"hex", "decode"}, 1, "", "error 2708: Invalid hexadecimal digit.\n", "41\n\n"},
      {{"hex", "decode"}, 1, "", "error 2708: Invalid hexadecimal digit.\n", "G0"},
      {{"hex"}, 2, "", "usage:\n  vxtool hex encode\n"}, {{"hex", "reverse"}, 2, "", "usage:"},
      {{"hex", "encode", "extra"}, 2, "", "usage:"},
      // like: true and exit 0, or false and exit 1; --batch always exits 0.
      {{"like", "abc", "a%"}, 0, "true\n"}, {{"like", "abc", "a_"}, 1, "false\n"},
      {{"like", "ABC  ", "abc"}, 0, "true\n"}, {{"like", "-c", "ABC", "abc"}, 1, "false\n"},
      {{"like", "-b", "abc  ", "abc"}, 1, "false\n"}, {{"like", "-b", "-c", "abc  ", "abc%"}, 0, "true\n"},
      {{"like", "a%c", "a\\%c"}, 1, "false\n"}, {{"like", "-e", "\\", "a%c", "a\\%c"}, 0, "true\n"},
      {{"like", "-e", "!", "a_c", "a!_c"}, 0, "true\n"}, {{"like", "--", "-c", "-%"}, 0, "true\n"},
      {{"like", "-", "-"}, 0, "true\n"},
      {{"like", "--batch"}, 0, "true\nfalse\ntrue\ntrue\nfalse\ntrue\n", "", "abc\ta%\nabc\ta_\nABC \tabc\n\t%\nno tab\nlast\tl%t"},
      {{"like", "--batch", "-c", "-b", "-e", "\\"}, 0, "false\nfalse\ntrue\n", "", "ABC\tabc\nabc \tabc\na%\ta\\%\n"},
      {{"like", "--batch"}, 0, ""},
      {{"like"}, 2, "", "like [-c] [-b] [-e C] TEXT PATTERN"}, {{"like", "abc"}, 2, "", "usage:"},
      {{"like", "a", "b", "c"}, 2, "", "usage:"}, {{"like", "-x", "a", "b"}, 2, "", "usage:"},
      {{"like", "-e", "ab", "a", "b"}, 2, "", "usage:"}, {{"like", "-e"}, 2, "", "usage:"},
      {{"like", "--batch", "a", "b"}, 2, "", "usage:"},
      // parse: the tree with two blanks per level, or the error on stderr.
      {{"parse", "--grammar", "$Sgrammar", "--keywords", "$Skeywords", "--goal", "name", "\"My Col\""}, 0, "1039 name\n  40 \"\n  41 My Col\n  40 \"\n"},
      {{"parse", "--grammar", "$Sgrammar", "--keywords", "$Skeywords", "--goal", "name"}, 0, "1039 name\n  2 abc\n", "", "abc"},
      {{"parse", "--grammar", "$Sgrammar", "--keywords", "$Skeywords", "SELECT a FROM"}, 1, "", "vxtool parse: syntax error at end of text (token kind 1) in "
       "rule 1004 select-core; expected: identifier \"\"\" \"(\" \"{\"\n"},
      {{"parse", "--grammar", "$Sgrammar", "--keywords", "$Skeywords", "--batch"}, 0, "ok\nerror\n", "2 statements (1 ok, 1 errors) in ", "SELECT 1\nSELECT\n"},
      {{"parse", "--grammar", "$Sgrammar", "--keywords", "$Skeywords", "--goal", "nope", "x"}, 1, "", "vxtool parse: the grammar has no rule named \"nope\"\n"},
      {{"parse", "--grammar", "$D/odbc.ini", "--keywords", "$Skeywords", "x"}, 1, "", "$D/odbc.ini:1: expected a number, blanks and a text\n"},
      {{"parse", "--grammar", "$D/only.ini", "--keywords", "$D/only.ini", "x"}, 1, "", "expected a number"},
      {{"parse", "--grammar", "$D/none", "--keywords", "$Skeywords", "x"}, 1, "", "vxtool parse: cannot read $D/none: "},
      {{"parse", "--grammar", "$Sgrammar", "--keywords", "$Skeywords", "x", "y"}, 2, "", "usage:\n  vxtool parse --grammar FILE"},
      {{"parse", "x"}, 2, "", "usage:"},
      // message: the catalog text with parameters in order, a number
      // marker filled with a number, an unknown number as itself.
      {{"message", "1503"}, 0, "Out of memory.\n"},
      {{"message", "1523", "/x/liba.so", "bad ELF"}, 0, "The shared library /x/liba.so could not be loaded: bad ELF\n"},
      {{"message", "2705", "17", "DSN=x"}, 0, "Syntax error at position 17 of DSN=x.\n"},
      {{"message", "2701", "99999"}, 0, "The number 99999 is out of range.\n"},
      {{"message", "65000", "ignored"}, 0, "65000\n"},
      {{"message"}, 2, "", "usage:\n  vxtool message NUMBER"}, {{"message", "65536"}, 2, "", "usage:"},
      {{"message", "-1"}, 2, "", "usage:"}, {{"message", "12a"}, 2, "", "usage:"}, {{"message", ""}, 2, "", "usage:"},
      // number parse: every type; a failure prints the error filed.
      {{"number", "parse", "u64", "18446744073709551615"}, 0, "18446744073709551615\n"},
      {{"number", "parse", "i64", "-9223372036854775808"}, 0, "-9223372036854775808\n"},
      {{"number", "parse", "u32", " +4294967295 "}, 0, "4294967295\n"},
      {{"number", "parse", "i32", "-2147483647"}, 0, "-2147483647\n"},
      {{"number", "parse", "u16", "65535"}, 0, "65535\n"}, {{"number", "parse", "i16", "-32768"}, 0, "-32768\n"},
      {{"number", "parse", "u8", "255"}, 0, "255\n"}, {{"number", "parse", "i8", "-128"}, 0, "-128\n"},
      {{"number", "parse", "u64", ""}, 0, "0\n"}, {{"number", "parse", "i32", "--5"}, 0, "5\n"},
      {{"number", "parse", "u64", "18446744073709551616"}, 1, "", "error 2701: The number 18446744073709551616 is out of range.\n"},
      {{"number", "parse", "i32", "-2147483648"}, 1, "", "error 2701: "},
      {{"number", "parse", "i16", "42x"}, 1, "", "error 2702: "},
      // number format: [text] and the count the conversion returned.
      {{"number", "format", "-42"}, 0, "[-42] 3\n"},
      {{"number", "format", "18446744073709551615"}, 0, "[18446744073709551615] 20\n"},
      {{"number", "format", "-w", "5", "123"}, 0, "[  123] 3\n"}, {{"number", "format", "-w", "5", "-l", "123"}, 0, "[123  ] 3\n"},
      {{"number", "format", "-l", "-w", "5", "-12"}, 0, "[-12  ] 2\n"}, {{"number", "format", "-w", "3", "1234"}, 0, "[** ] 0\n"},
      {{"number", "format", "-w", "4", "0"}, 0, "[    ] 0\n"},
      {{"number"}, 2, "", "usage:\n  vxtool number parse"}, {{"number", "parse", "u128", "1"}, 2, "", "usage:"},
      {{"number", "parse", "u8"}, 2, "", "usage:"}, {{"number", "format", "12x"}, 2, "", "usage:"},
      {{"number", "format", "-w", "x", "1"}, 2, "", "usage:"}, {{"number", "format", "-l", "1"}, 2, "", "usage:"},
      {{"number", "format", "99999999999999999999"}, 2, "", "usage:"}, {{"number", "other"}, 2, "", "usage:"},
      // connstr: attributes one a line, or the edited rebuild.
      {{"connstr", "ODBC;DSN=sales; UID = scott;Data Source=x;;"}, 0, "DSN=sales\nUID=scott\nData Source=x\n"},
      {{"connstr", "--allow-dup", "DSN=a;DSN=b"}, 0, "DSN=a\n"}, {{"connstr", "--sep", ",", "a=1,b=2"}, 0, "a=1\nb=2\n"},
      {{"connstr", "--", "-x=1"}, 1, "", "error 2704: "},
      {{"connstr", "DSN=a;DSN=b"}, 1, "", "error 2704: Syntax error in the connection string at position 9. The keyword is repeated: =\n"},
      {{"connstr", "--source", "odbc.ini", "=x"}, 1, "", "error 2705: Syntax error at position 0 of odbc.ini.\n"},
      {{"connstr", "--rebuild", "--set", "PWD=x;y", "--remove", "UID", "--set", "uid=new", "DSN=a;UID=u"}, 0, "DSN=a;PWD='x;y';uid=new\n"},
      {{"connstr"}, 2, "", "usage:\n  vxtool connstr"}, {{"connstr", "--set", "a=b", "DSN=x"}, 2, "", "usage:"},
      {{"connstr", "--sep", "ab", "x=1"}, 2, "", "usage:"}, {{"connstr", "--rebuild", "--set", "ab", "x=1"}, 2, "", "usage:"},
      {{"connstr", "a=1", "b=2"}, 2, "", "usage:"}, {{"connstr", "--bogus", "x=1"}, 2, "", "usage:"},
      // scan: class, offset and text of each token, the end token last.
      {{"scan", "a<>'b''c'"}, 0, "2\t0\ta\n15422\t1\t<>\n3\t3\t'b''c'\n1\t9\t\n"},
      {{"scan", "--decimal", "1.5"}, 0, "5\t0\t1.5\n1\t3\t\n"},
      {{"scan", "--comments", "--", "-- x"}, 0, "11\t0\t-- x\n1\t4\t\n"},
      {{"scan", "--parens", "(a(b))"}, 0, "3\t0\t(a(b))\n1\t6\t\n"}, {{"scan", "--braces", "{x}"}, 0, "3\t0\t{x}\n1\t3\t\n"},
      {{"scan", "--mode", "1", "a.b"}, 0, "6\t0\ta.b\n1\t3\t\n"}, {{"scan", ""}, 0, "1\t0\t\n"},
      {{"scan"}, 2, "", "usage:\n  vxtool scan"}, {{"scan", "--mode", "3", "x"}, 2, "", "usage:"},
      {{"scan", "--bogus", "x"}, 2, "", "usage:"}, {{"scan", "a", "b"}, 2, "", "usage:"},
      // scramble: method 1 complements, 2 keeps line feeds, others copy.
      {{"scramble", "--method", "1", "encrypt"}, 0, "\xFF\xF5\x00"s, "", "\x00\x0A\xFF"s},
      {{"scramble", "--method", "2", "encrypt"}, 0, "\x9E\n", "", "a\n"},
      {{"scramble", "--method", "9", "decrypt"}, 0, "as is", "", "as is"},
      // Method 3 is keyed (a built-in key without --key); decrypt undoes it.
      {{"scramble", "--method", "3", "--key", "s3cret", "encrypt"}, 0, "\x1f\x5f\x84\x3d\xcf\x7b\x2f\xd9\x93\xda\x96\x77", "", "SELECT name\n"},
      {{"scramble", "--key", "s3cret", "decrypt", "--method", "3"}, 0, "SELECT name\n", "", "\x1f\x5f\x84\x3d\xcf\x7b\x2f\xd9\x93\xda\x96\x77"},
      {{"scramble", "--method", "3", "encrypt"}, 0, "\x2d\x16\x15\x89\xba\x3d\x66\x9d\x1c\x1b\x45\xd0", "", "SELECT name\n"},
      {{"scramble", "encrypt"}, 2, "", "usage:\n  vxtool scramble"}, {{"scramble", "--method", "1"}, 2, "", "usage:"},
      {{"scramble", "--method", "x", "encrypt"}, 2, "", "usage:"}, {{"scramble", "--method", "70000", "encrypt"}, 2, "", "usage:"},
      {{"scramble", "--method", "1", "encrypt", "decrypt"}, 2, "", "usage:"}, {{"scramble", "--method", "1", "--key"}, 2, "", "usage:"},
      {{"scramble", "--method", "1", "--method", "2", "encrypt"}, 2, "", "usage:"},
      // profile get: the value, the keys, or the default.
      {{"profile", "get", "odbc.ini", "sales", "Driver"}, 0, "/opt/vx/lib/vxdrv.so\n"},
      {{"profile", "get", "odbc.ini", "sales"}, 0, "Driver \nServer\nPort\n"},
      {{"profile", "get", "--default", "none", "odbc.ini", "sales", "UID"}, 0, "none\n"},
      {{"profile", "get", "--size", "5", "odbc.ini", "sales", "Driver"}, 0, "/opt\n"},
      {{"profile", "get", "--size", "x", "odbc.ini", "sales", "Driver"}, 1, "", "error 2702: "},
      {{"profile", "get", "--default", "d", "odbc.ini", "sales", "Driver"}, 0, "d\n", "", "", {"ODBCINI=$D/missing.ini"}},
      // The cache's trace lines: loads and lookups, key lists.
      {{"profile", "get", "odbc.ini", "sales", "Server"}, 0,
       "VxIniOpen: File:odbc.ini \nVxIniOpen: File:$D/odbc.ini FileSize 98\n"
       "GetProfileString: File:$D/odbc.ini Section:[sales] Entry:Server defaultStr:\n"
       "GetProfileString: Section [sales] found.\nGetProfileString: Entry Server found.\n"
       "GetProfileString: Value=db1\nGetProfileString: Return Len=3 returnBuf=db1\ndb1\n", "", "", {"VX_DEBUGGING=a0"}},
      {{"profile", "get", "odbc.ini", "sales"}, 0,
       "GetProfileString: Fecthing all entries for [sales]\nGetProfileString: Multi-Entry Output Requested.\n"
       "GetProfileString: Entry Driver  Len=7\nGetProfileString: Entry Server Len=6\nGetProfileString: Entry Port Len=4\n"
       "Driver \nServer\nPort\n", "", "", {"VX_DEBUGGING=10"}},
      {{"profile", "get", "odbc.ini", "nosuch"}, 0, "GetProfileString: Fecthing all entries for [nosuch]\n"
       "GetProfileString: No data found.\n", "", "", {"VX_DEBUGGING=10"}},
      // profile set and delete, with the write trace lines.
      {{"profile", "set", "odbc.ini", "sales", "Port", "1"}, 0,
       "PutProfileString: File:$D/odbc.ini Section:[sales] Entry:Port newStr:1\n"
       "PutProfileString: Section [sales] found.\nPutProfileString: Entry Port found.\n"
       "PutProfileString: Updating Entry Value with: Port=1\n\nPutProfileString: Updated FileCache: Len=95\n"
       "PutProfileString: Updated FileCache:\n|->[ODBC Data Sources]\nsales = Vx driver\n\n[sales]\n"
       "Driver = /opt/vx/lib/vxdrv.so\nServer=db1\nPort=1\n\n", "", "", {"VX_DEBUGGING=10"}},
      {{"profile", "set", "odbc.ini", "new", "k", "v"}, 0, "...PutProfileString: Section missing adding it.\n|->k=v\n", "", "", {"VX_DEBUGGING=10"}},
      {{"profile", "set", "odbc.ini", "new", "j", "w"}, 0, "...PutProfileString: Entry missing adding it.\n|->j=w\n", "", "", {"VX_DEBUGGING=10"}},
      {{"profile", "delete", "odbc.ini", "new", "j"}, 0, "...PutProfileString: Deleting Entry: j\n", "", "", {"VX_DEBUGGING=10"}},
      {{"profile", "delete", "odbc.ini", "new"}, 0, "...Entry:NULL\nNULL\nPutProfileString: Section [new] found.\n"
       "PutProfileString: Deleting section [new]\n", "", "", {"VX_DEBUGGING=10"}},
      {{"profile", "delete", "$D/only.ini", "only"}, 0,
       "...PutProfileString: Updated FileCache: Len=0\nPutProfileString: FileCache is empty.\n", "", "", {"VX_DEBUGGING=10"}},
      {{"profile", "set", "odbc.ini", "sales", "UID", "alice"}, 0, ""},
      {{"profile", "delete", "odbc.ini", "sales", "Server"}, 0, ""},
      {{"profile", "get", "odbc.ini", "sales"}, 0, "Driver \nPort\nUID\n"},
      {{"profile", "get", "odbc.ini", "sales", "uid"}, 0, "alice\n"}, {{"profile", "delete", "odbc.ini", "sales"}, 0, ""},
      {{"profile", "get", "odbc.ini", "sales"}, 0, ""},
      {{"profile", "set", "odbc.ini", "sales", "UID", "x"}, 1, "", "error 1509: ", "", {"ODBCINI=$D/missing.ini"}},
      {{"profile"}, 2, "", "usage:\n  vxtool profile get"}, {{"profile", "get", "odbc.ini"}, 2, "", "usage:"},
      {{"profile", "set", "odbc.ini", "s", "k"}, 2, "", "usage:"}, {{"profile", "delete", "odbc.ini"}, 2, "", "usage:"},
      {{"profile", "get", "--bogus", "x", "odbc.ini", "s"}, 2, "", "usage:"},
      // installdir: from the data-source file, else the installed drivers'.
      {{"installdir"}, 0, "/opt/vx\n", "", "", {"ODBCINI=$D/dsn.ini"}},
      {{"installdir"}, 0, "/usr/lib/vx\n", "", "", {"ODBCINI=$D/missing.ini", "ODBCINSTINI=$D/inst.ini"}},
      {{"installdir", "extra"}, 2, "", "usage:\n  vxtool installdir\n"},
      // where: the path the redirection gives, and its trace lines.
      {{"where", ".odbc.ini"}, 0, "$D/home/.odbc.ini\n", "", "", {"ODBCINI="}},
      {{"where", ".ODBC.INI"}, 1, "", "error 1509: ", "", {"ODBCINI="}},  // the file system cares about case
      {{"where", "odbc.ini"}, 0, "$D/chosen.ini\n", "", "", {"ODBCINI=", "ODBC_INI=$D/chosen.ini"}},
      {{"where", "other.ini"}, 0, std::string(VX_TEST_BINARY_DIR) + "/other.ini\n"},  // made absolute
      {{"where", ".odbc.ini"}, 1, "", "error 1509: The file $D/missing.ini was not found.\n", "", {"ODBCINI=$D/missing.ini"}},
      {{"where", ".vxlib.ini"}, 0, "bosfopen - File:.vxlib.ini\nbosfopen: Replacing $D/home/.vxlib.ini with $D/v.ini\n$D/v.ini\n",
       "", "", {"VX_DEBUGGING=1", "VXLIB_INI=$D/v.ini"}},
      {{"where", ".vxlib.ini"}, 0, "bosexist: Name=$D/home/.vxlib.ini  exists: 0\n$D/v.ini\n", "", "",
       {"VX_DEBUGGING=100", "VXLIB_INI=$D/v.ini"}},
      {{"where", ".system.defaults"}, 0, "bosfopen - File:.system.defaults\nbosfopen: Replacing $D/home/.system.defaults "
       "bosexist: Name=$D/home/.system.defaults  exists: 1\nwith $D/home/.system.defaults\n$D/home/.system.defaults\n", "", "",
       {"VX_DEBUGGING=101", "VX_SYSTEM_INI=$D/s.ini"}},
      {{"where"}, 2, "", "usage:\n  vxtool where NAME\n"}, {{"where", "a", "b"}, 2, "", "usage:"}, {{"where", ""}, 2, "", "usage:"},
      // locate: the search set in decimal or hexadecimal, and its trace.
      {{"locate", "-s", "8", "x.so"}, 0, "$D/lib/bin/../x.so\n", "", "", {"LD_LIBRARY_PATH=$D/lib/bin"}},
      {{"locate", "-s", "0x8", "x.so"}, 0, "$D/lib/bin/../x.so\n", "", "", {"LD_LIBRARY_PATH=$D/lib/bin"}},
      {{"locate", "-s", "0x1", "x.so"}, 1, "", "vxtool locate: x.so not found; searched x.so, $PATH", "", {"LD_LIBRARY_PATH=$D/lib/bin"}},
      {{"locate", "h.cfg"}, 0, "$D/home/h.cfg\n"},  // the default set 0x1F has $HOME
      {{"locate", "-s", "0x1D", "h.cfg"}, 1, "", "h.cfg not found"},
      {{"locate", "-s", "0x12", "no.cfg"}, 1, "", "vxtool locate: no.cfg not found; searched no.cfg, the working directory, $HOME ($D/home)\n"},
      {{"locate", "-s", "0x20", "n"}, 2, "", "vxtool locate: search set 0x20 has bits that name no directory (valid: 0x1F)\nusage:"},
      {{"locate", "-s", "9", "vx-locate-probe.cfg"}, 0,
       "LocateFile: $D/a/vx-locate-probe.cfg\nLocateFile: $D/a/../vx-locate-probe.cfg\n"
       "LocateFile: /usr/local/lib/vx-locate-probe.cfg\nLocateFile: /usr/local/lib/../vx-locate-probe.cfg\n"
       "LocateFile: $D/b/vx-locate-probe.cfg\n$D/b/vx-locate-probe.cfg\n",
       "", "", {"VX_DEBUGGING=2", "LD_LIBRARY_PATH=$D/a/", "PATH=$D/b"}},
      {{"locate", "-s", "1", "vx-locate-probe.cfg"}, 0, "$D/b/vx-locate-probe.cfg\n", "", "", {"VX_DEBUGGING=FD", "PATH=$D/b"}},
      {{"locate"}, 2, "", "usage:\n  vxtool locate [-s SET] NAME\n"}, {{"locate", "-s", "x"}, 2, "", "usage:"},
      {{"locate", "-s", "0x10000", "n"}, 2, "", "usage:"}, {{"locate", "-s", "-1", "n"}, 2, "", "usage:"},
      {{"locate", "-s", "12z", "n"}, 2, "", "usage:"}, {{"locate", "-s", "010", "n"}, 2, "", "usage:"},
      {{"locate", "a", "b"}, 2, "", "usage:"},
  };
  const std::vector<std::string> baseEnv = {
      "HOME=$D/home", "ODBCINI=$D/odbc.ini", "ODBC_INI=", "ODBCINST=", "ODBCINSTINI=", "VXLIB_INI=", "VX_SYSTEM_INI=",
      "VX=", "VXLIB=", "LD_LIBRARY_PATH=", "LD_RUN_PATH=", "PATH=", "VX_DEBUGGING=", "VX_TMPDIR="};
  for (const Row& row : rows) {
    std::vector<std::string> args, env;
    std::string line = "vxtool";
    for (const std::string& arg : row.args) args.push_back(expand(arg, dir)), line += " '" + args.back() + "'";
    for (const std::string& entry : baseEnv) env.push_back(expand(entry, dir));
    for (const std::string& entry : row.env) env.push_back(expand(entry, dir)), line = entry + " " + line;
    ToolResult r = runTool(args, row.input, env);
    std::string out = expand(row.out, dir), err = expand(row.err, dir);
    EXPECT_EQ(row.status, r.status) << line;
    if (out.compare(0, 3, "...") == 0)
      EXPECT_NE(std::string::npos, r.out.find(out.substr(3))) << line << "\nout: " << r.out;
    else
      EXPECT_EQ(out, r.out) << line;
    if (err.empty()) EXPECT_EQ("", r.err) << line;
    else EXPECT_NE(std::string::npos, r.err.find(err)) << line << "\nerr: " << r.err;
  }
}

}  // namespace
