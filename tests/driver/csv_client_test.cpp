// The CSV driver through the driver manager (libodbc), as an application
// uses it. Random tables are checked against a model computed here.
#include <iconv.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "drivers/csv/vxcsv.h"

namespace {

std::string env(const char* name) {
  const char* value = getenv(name);
  return value ? value : "";
}

// A fresh directory for tables, with the driver manager's configuration
// pointing at the driver and a data source "csvtest" over the directory.
class Client : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vxcsv-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
    std::ofstream(dir_ + "/odbcinst.ini") << "[VXCSV]\nDriver = " << env("VXCSV_DRIVER") << "\n";
    std::ofstream(dir_ + "/odbc.ini") << "[csvtest]\nDriver = VXCSV\nDirectory = " << dir_ << "\n";
    setenv("ODBCSYSINI", dir_.c_str(), 1);
    setenv("ODBCINSTINI", "odbcinst.ini", 1);
    setenv("ODBCINI", (dir_ + "/odbc.ini").c_str(), 1);
    ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env_), SQL_SUCCESS);
    SQLSetEnvAttr(env_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_DBC, env_, &dbc_), SQL_SUCCESS);
  }
  void TearDown() override {
    if (stmt_) SQLFreeHandle(SQL_HANDLE_STMT, stmt_);
    SQLDisconnect(dbc_);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc_);
    SQLFreeHandle(SQL_HANDLE_ENV, env_);
    EXPECT_EQ(system(("rm -rf " + dir_).c_str()), 0);
  }
  void connect() {
    ASSERT_TRUE(SQL_SUCCEEDED(SQLConnect(dbc_, (SQLCHAR*)"csvtest", SQL_NTS, nullptr, 0, nullptr, 0)));
    ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, dbc_, &stmt_), SQL_SUCCESS);
  }
  SQLRETURN exec(const std::string& sql) { return SQLExecDirect(stmt_, (SQLCHAR*)sql.c_str(), SQL_NTS); }
  // Column 1 of every row, read with SQLGetData in pieces of pieceBytes
  // (wide pieces are checked not to end inside a surrogate pair).
  std::vector<std::string> column1(SQLSMALLINT type, SQLLEN pieceBytes) {
    std::vector<std::string> values;
    while (SQLFetch(stmt_) == SQL_SUCCESS) {
      std::string value;
      char16_t piece[64];
      SQLLEN ind = 0;
      SQLRETURN rc;
      while (SQL_SUCCEEDED(rc = SQLGetData(stmt_, 1, type, piece, pieceBytes, &ind))) {
        size_t units = std::char_traits<char16_t>::length(piece);
        value.append((char*)piece, type == SQL_C_CHAR ? strlen((char*)piece) : units * 2);
        EXPECT_FALSE(type == SQL_C_WCHAR && units && piece[units - 1] >= 0xD800 && piece[units - 1] < 0xDC00);
      }
      EXPECT_EQ(rc, SQL_NO_DATA);
      values.push_back(value);
    }
    return values;
  }
  // The first diagnostic record of the statement: "SQLSTATE text".
  std::string diagnostic() {
    SQLCHAR state[6] = {0}, text[512] = {0};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (SQLGetDiagRec(SQL_HANDLE_STMT, stmt_, 1, state, &native, text, sizeof text, &length) != SQL_SUCCESS)
      return "none";
    return std::string((char*)state) + " " + (char*)text;
  }
  // The rows of the open result, columns read as text and joined by "|",
  // NULL as "NULL".
  std::vector<std::string> fetchRows() {
    std::vector<std::string> rows;
    SQLSMALLINT columns = 0;
    SQLNumResultCols(stmt_, &columns);
    while (SQLFetch(stmt_) == SQL_SUCCESS) {
      std::string row;
      for (SQLUSMALLINT i = 1; i <= columns; ++i) {
        char text[256] = {0};
        SQLLEN ind = 0;
        SQLGetData(stmt_, i, SQL_C_CHAR, text, sizeof text, &ind);
        row += (i > 1 ? "|" : "") + (ind == SQL_NULL_DATA ? std::string("NULL") : std::string(text));
      }
      rows.push_back(row);
    }
    SQLFreeStmt(stmt_, SQL_CLOSE);
    return rows;
  }
  void write(const std::string& name, const std::string& text) { std::ofstream(dir_ + "/" + name) << text; }
  std::string read(const std::string& name) {
    std::ifstream in(dir_ + "/" + name);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  std::string dir_;
  SQLHENV env_ = SQL_NULL_HENV;
  SQLHDBC dbc_ = SQL_NULL_HDBC;
  SQLHSTMT stmt_ = SQL_NULL_HSTMT;
};

// text converted by iconv, the oracle of the driver's conversions.
std::string iconvTo(const char* code, const std::string& utf8) {
  iconv_t cd = iconv_open(code, "UTF-8");
  std::string out(utf8.size() * 4 + 4, '\0');
  char *in = const_cast<char*>(utf8.data()), *to = &out[0];
  size_t left = utf8.size(), room = out.size();
  EXPECT_NE(iconv(cd, &in, &left, &to, &room), size_t(-1)) << utf8;
  iconv_close(cd);
  out.resize(out.size() - room);
  return out;
}
SQLWCHAR* w(const std::u16string& text) { return (SQLWCHAR*)text.c_str(); }

// A random text of pieces, in UTF-8.
std::string randomText(std::mt19937& rng, const std::vector<std::string>& pieces, unsigned most) {
  std::string text;
  for (unsigned n = rng() % most + 1; n > 0; --n) text += pieces[rng() % pieces.size()];
  return text;
}

struct Row {
  int a;
  bool bNull;
  std::string b;
};

TEST_F(Client, RandomTablesAgreeWithModel) {
  const unsigned seed = 20261123;
  std::mt19937 rng(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  const std::string alphabet = "ab,\"\n x";
  connect();
  for (int round = 0; round < 20; ++round) {
    std::vector<Row> rows(rng() % 40);
    std::string csv = "a INTEGER,b VARCHAR(40) NULL\n";
    for (Row& r : rows) {
      r.a = int(rng() % 21) - 10;
      r.bNull = rng() % 5 == 0;
      for (unsigned n = rng() % 6; n > 0; --n) r.b += alphabet[rng() % alphabet.size()];
      std::string quoted = "\"";
      for (char c : r.b) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
      csv += std::to_string(r.a) + "," + (r.bNull ? "\\N" : quoted + "\"") + "\n";
    }
    write("t.csv", csv);
    int k = int(rng() % 21) - 10;
    std::string sql = "SELECT b, a FROM t WHERE a < " + std::to_string(k) +
                      " AND NOT b LIKE '%x%' OR b IS NULL ORDER BY a DESC";
    SCOPED_TRACE(sql + " over\n" + csv);
    std::vector<Row> expected;
    for (const Row& r : rows)
      if (r.bNull || (r.a < k && r.b.find('x') == std::string::npos)) expected.push_back(r);
    std::stable_sort(expected.begin(), expected.end(), [](const Row& x, const Row& y) { return x.a > y.a; });
    ASSERT_EQ(exec(sql), SQL_SUCCESS) << diagnostic();
    SQLLEN count = -2;
    SQLRowCount(stmt_, &count);
    EXPECT_EQ(count, SQLLEN(expected.size()));
    // Column 2 bound, column 1 read with SQLGetData in pieces of 3 bytes.
    SQLINTEGER a = 0;
    SQLLEN aInd = 0;
    SQLBindCol(stmt_, 2, SQL_C_SLONG, &a, 0, &aInd);
    for (const Row& want : expected) {
      ASSERT_EQ(SQLFetch(stmt_), SQL_SUCCESS);
      EXPECT_EQ(a, want.a);
      std::string got;
      char piece[4];
      SQLLEN ind = 0;
      SQLRETURN rc;
      while ((rc = SQLGetData(stmt_, 1, SQL_C_CHAR, piece, sizeof piece, &ind)) != SQL_NO_DATA) {
        ASSERT_TRUE(SQL_SUCCEEDED(rc));
        if (ind == SQL_NULL_DATA) break;
        got += piece;
      }
      EXPECT_EQ(ind == SQL_NULL_DATA, want.bNull);
      if (!want.bNull) {
        EXPECT_EQ(got, want.b);
      }
    }
    EXPECT_EQ(SQLFetch(stmt_), SQL_NO_DATA);
    SQLFreeStmt(stmt_, SQL_UNBIND);
    SQLFreeStmt(stmt_, SQL_CLOSE);

    // Grouped by b (NULL first, then by bytes): the aggregates of a.
    std::map<std::pair<bool, std::string>, std::vector<int>> groups;
    for (const Row& r : rows)
      if (r.a < k) groups[{!r.bNull, r.bNull ? "" : r.b}].push_back(r.a);
    std::vector<std::string> want;
    for (const auto& [key, as] : groups) {
      std::string n = std::to_string(as.size());
      want.push_back((key.first ? key.second : "NULL") + "|" + n + "|" + (key.first ? n : "0") + "|" +
                     std::to_string(std::accumulate(as.begin(), as.end(), 0)) + "|" +
                     std::to_string(*std::min_element(as.begin(), as.end())) + "|" +
                     std::to_string(*std::max_element(as.begin(), as.end())) + "|" +
                     std::to_string(std::set<int>(as.begin(), as.end()).size()));
    }
    ASSERT_EQ(exec("SELECT b, COUNT(*), COUNT(b), SUM(a), MIN(a), MAX(a), COUNT(DISTINCT a) FROM t WHERE a < " +
                   std::to_string(k) + " GROUP BY b ORDER BY b"),
              SQL_SUCCESS)
        << diagnostic();
    EXPECT_EQ(fetchRows(), want);
  }
}

// A result larger than the sort's 4 MB of buffers is sorted in runs on a
// temporary file: with files limited to 64 KB the sort cannot write its
// runs and the query fails; without the limit the rows come in the
// model's order, ties in file order.
TEST_F(Client, OrderBySpillsToTemporaryFiles) {
  const unsigned seed = 777;
  std::mt19937 rng(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  struct Big {
    int id, k;
    std::string s;
  };
  std::vector<Big> rows(30000);
  std::string csv = "id INTEGER,k INTEGER,s VARCHAR(200)\n";
  for (size_t i = 0; i < rows.size(); ++i) {
    rows[i] = {int(i), int(rng() % 50), std::string(140, 'a') + "ab"[rng() % 2] + "ab"[rng() % 2]};
    csv += std::to_string(i) + "," + std::to_string(rows[i].k) + "," + rows[i].s + "\n";
  }
  write("big.csv", csv);
  connect();
  const std::string sql = "SELECT id FROM big ORDER BY k DESC, s";
  struct rlimit unlimited;
  getrlimit(RLIMIT_FSIZE, &unlimited);
  struct rlimit small = {65536, unlimited.rlim_max};  // a soft limit, so it can be lifted again
  signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  EXPECT_EQ(exec(sql), SQL_ERROR);
  setrlimit(RLIMIT_FSIZE, &unlimited);
  SQLFreeStmt(stmt_, SQL_CLOSE);

  std::stable_sort(rows.begin(), rows.end(), [](const Big& x, const Big& y) { return x.k != y.k ? x.k > y.k : x.s < y.s; });
  std::vector<std::string> want;
  for (const Big& r : rows) want.push_back(std::to_string(r.id));
  ASSERT_EQ(exec(sql), SQL_SUCCESS) << diagnostic();
  EXPECT_TRUE(fetchRows() == want);
}

// ORDER BY over awkward values agrees with a model: integers that share a
// double (beyond 2^53) and the ends of the 64-bit range, reals of every
// sign and size (0 and -0 equal), texts that are prefixes of one another
// (some longer than the sort's key prefix),
// NULLs, ascending and descending keys, ties in file order.
TEST_F(Client, OrderByAgreesWithModelOnAwkwardValues) {
  const unsigned seed = 9001;
  std::mt19937 rng(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  const int64_t big = int64_t(1) << 53;
  const std::vector<int64_t> integers = {INT64_MIN, INT64_MAX, INT64_MAX - 1, big, big + 1, big - 1, -big, -big - 1, 0, 7};
  const std::vector<double> reals = {-0.0, 0.0, 1e308, -1e308, 1e-300, -1e-300, 0.1, -2.5, 9007199254740993.0};
  // The long texts tie on the sort's first kilobyte of key.
  const std::string longText(1500, 'x');
  const std::vector<std::string> texts = {"", "a", "ab", "abc", "b", "\xc3\xa9", "a b", longText + "a", longText + "b", longText};
  struct Item {
    int id;
    bool iNull, rNull, sNull;
    int64_t i;
    double r;
    std::string s;
  };
  std::vector<Item> items(400);
  std::string csv = "id INTEGER,i BIGINT NULL,r DOUBLE NULL,s VARCHAR(2000) NULL\n";
  for (size_t n = 0; n < items.size(); ++n) {
    Item& t = items[n];
    t = {int(n), rng() % 6 == 0, rng() % 6 == 0, rng() % 6 == 0, integers[rng() % integers.size()],
         reals[rng() % reals.size()], texts[rng() % texts.size()]};
    char real[40];
    snprintf(real, sizeof real, "%.17g", t.r);
    csv += std::to_string(n) + "," + (t.iNull ? "\\N" : std::to_string(t.i)) + "," + (t.rNull ? "\\N" : real) +
           "," + (t.sNull ? "\\N" : "\"" + t.s + "\"") + "\n";
  }
  write("odd.csv", csv);
  connect();
  // NULL is below every value: with NULL as false < true, a NULL flag of
  // true orders first.
  auto before = [](bool xNull, bool yNull, auto x, auto y) {
    return xNull != yNull ? xNull : (!xNull && x < y);
  };
  std::stable_sort(items.begin(), items.end(), [&before](const Item& x, const Item& y) {
    if (before(x.iNull, y.iNull, x.i, y.i) || before(y.iNull, x.iNull, y.i, x.i))
      return before(y.iNull, x.iNull, y.i, x.i);  // i descending
    if (before(x.rNull, y.rNull, x.r, y.r) || before(y.rNull, x.rNull, y.r, x.r))
      return before(x.rNull, y.rNull, x.r, y.r);
    return before(y.sNull, x.sNull, y.s, x.s);  // s descending
  });
  std::vector<std::string> want;
  for (const Item& t : items) want.push_back(std::to_string(t.id));
  ASSERT_EQ(exec("SELECT id FROM odd ORDER BY i DESC, r, s DESC"), SQL_SUCCESS) << diagnostic();
  EXPECT_EQ(fetchRows(), want);
}

// Deliberate choices, one row each: the first row of the result as text.
TEST_F(Client, DeliberateResults) {
  write("d.csv", "a INTEGER,b VARCHAR(3) NULL\n1,x\n2,\\N\n");
  connect();
  const struct {
    const char* sql;
    const char* first;
  } cases[] = {
      {"SELECT 7 / 2 FROM d", "3.5"},                                     // division gives a double
      {"SELECT 9223372036854775807 + a FROM d", "9.22337203685478e+18"},  // overflow goes on in doubles
      {"SELECT {fn UCASE('stra\xc3\x9f" "e')} FROM d", "STRA\xc3\x9f" "E"},  // ASCII letters only
      {"SELECT {fn CONCAT(b, 'y')} FROM d ORDER BY a DESC", "NULL"},      // CONCAT of a NULL is NULL
      {"SELECT COUNT(b), SUM(a) FROM d WHERE a > 5", "0|NULL"},           // aggregates of no rows
      {"SELECT -a AS a FROM d ORDER BY a", "-2"},                         // an alias wins over a column
      {"SELECT a, b FROM d ORDER BY b DESC", "1|x"},                      // NULL last when descending
      {"SELECT a + 0.5, {d '2024-02-29'} FROM d", "1.5|2024-02-29"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sql);
    ASSERT_EQ(exec(c.sql), SQL_SUCCESS) << diagnostic();
    std::vector<std::string> rows = fetchRows();
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows[0], c.first);
  }
}

// Rows inserted with awkward texts, NULLs and reals read back as inserted.
TEST_F(Client, InsertedRowsReadBack) {
  const unsigned seed = 4242;
  std::mt19937 rng(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  const std::string alphabet = "a,'\"\n\\N ";
  write("t.csv", "a INTEGER,b VARCHAR(20) NULL,c DOUBLE NULL\n");
  connect();
  std::vector<std::string> expected;
  for (int i = 0; i < 50; ++i) {
    std::string b, literal;
    for (unsigned n = rng() % 6; n > 0; --n) b += alphabet[rng() % alphabet.size()];
    for (char ch : b) literal += ch == '\'' ? std::string("''") : std::string(1, ch);
    bool bNull = rng() % 4 == 0;
    double c = double(int(rng() % 2001) - 1000) / 8;
    std::string sql = "INSERT INTO t (c, a, b) VALUES (" + std::to_string(c) + ", " + std::to_string(i) + ", " +
                      (bNull ? "NULL" : "'" + literal + "'") + ")";
    ASSERT_EQ(exec(sql), SQL_SUCCESS) << sql << " " << diagnostic();
    SQLLEN count = 0;
    SQLRowCount(stmt_, &count);
    EXPECT_EQ(count, 1);
    char cText[32];
    snprintf(cText, sizeof cText, "%.15g", c);
    expected.push_back(std::to_string(i) + "|" + (bNull ? "NULL" : b) + "|" + cText);
  }
  ASSERT_EQ(exec("SELECT a, b, c FROM t"), SQL_SUCCESS) << diagnostic();
  for (const std::string& want : expected) {
    ASSERT_EQ(SQLFetch(stmt_), SQL_SUCCESS);
    std::string got;
    for (SQLUSMALLINT col = 1; col <= 3; ++col) {
      char text[64];
      SQLLEN ind = 0;
      ASSERT_EQ(SQLGetData(stmt_, col, SQL_C_CHAR, text, sizeof text, &ind), SQL_SUCCESS);
      got += (col > 1 ? "|" : "") + (ind == SQL_NULL_DATA ? std::string("NULL") : std::string(text));
    }
    EXPECT_EQ(got, want);
  }
  EXPECT_EQ(SQLFetch(stmt_), SQL_NO_DATA);
}

TEST_F(Client, DriverConnectCompletesTheStringAndPreparedStatementsRun) {
  write("n.csv", "x DOUBLE NULL,y VARCHAR(5)\n1.5,p\n\\N,q\n");
  std::string in = "DRIVER={" + env("VXCSV_DRIVER") + "};DIRECTORY=" + dir_;
  SQLCHAR out[1024];
  SQLSMALLINT outLength = 0;
  ASSERT_TRUE(SQL_SUCCEEDED(SQLDriverConnect(dbc_, nullptr, (SQLCHAR*)in.c_str(), SQL_NTS, out, sizeof out,
                                             &outLength, SQL_DRIVER_NOPROMPT)));
  EXPECT_NE(std::string((char*)out).find("DIRECTORY=" + dir_), std::string::npos) << out;
  ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, dbc_, &stmt_), SQL_SUCCESS);
  ASSERT_EQ(SQLPrepare(stmt_, (SQLCHAR*)"SELECT x, y FROM n WHERE x IS NULL OR x > 1", SQL_NTS), SQL_SUCCESS);
  for (int run = 0; run < 2; ++run) {
    ASSERT_EQ(SQLExecute(stmt_), SQL_SUCCESS) << diagnostic();
    SQLSMALLINT columns = 0, type = 0, nullable = 0;
    SQLNumResultCols(stmt_, &columns);
    EXPECT_EQ(columns, 2);
    SQLCHAR name[16];
    SQLDescribeCol(stmt_, 1, name, sizeof name, nullptr, &type, nullptr, nullptr, &nullable);
    EXPECT_EQ(std::string((char*)name) + std::to_string(type) + std::to_string(nullable), "x" + std::to_string(SQL_DOUBLE) + "1");
    double x = 0;
    SQLLEN ind = 0;
    ASSERT_EQ(SQLFetch(stmt_), SQL_SUCCESS);
    ASSERT_EQ(SQLGetData(stmt_, 1, SQL_C_DOUBLE, &x, 0, &ind), SQL_SUCCESS);
    EXPECT_EQ(x, 1.5);
    ASSERT_EQ(SQLFetch(stmt_), SQL_SUCCESS);
    ASSERT_EQ(SQLGetData(stmt_, 1, SQL_C_DOUBLE, &x, 0, &ind), SQL_SUCCESS);
    EXPECT_EQ(ind, SQL_NULL_DATA);
    EXPECT_EQ(SQLFetch(stmt_), SQL_NO_DATA);
    SQLCloseCursor(stmt_);
  }
  // Parameters: a NULL and a text with a quote and a comma go in, and are
  // found again through a marker.
  char text[16] = "it's, \"so\"";
  SQLLEN nullInd = SQL_NULL_DATA, textInd = SQL_NTS;
  double unused = 0;
  ASSERT_EQ(SQLPrepare(stmt_, (SQLCHAR*)"INSERT INTO n VALUES (?, ?)", SQL_NTS), SQL_SUCCESS);
  SQLBindParameter(stmt_, 1, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 0, 0, &unused, 0, &nullInd);
  SQLBindParameter(stmt_, 2, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 5, 0, text, 0, &textInd);
  ASSERT_EQ(SQLExecute(stmt_), SQL_SUCCESS) << diagnostic();
  SQLFreeStmt(stmt_, SQL_RESET_PARAMS);
  SQLINTEGER limit = 1;
  ASSERT_EQ(SQLPrepare(stmt_, (SQLCHAR*)"SELECT y FROM n WHERE x IS NULL AND y IN ('q', ?) LIMIT ?", SQL_NTS), SQL_SUCCESS);
  SQLBindParameter(stmt_, 1, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 5, 0, text, 0, &textInd);
  SQLBindParameter(stmt_, 2, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &limit, 0, nullptr);
  ASSERT_EQ(SQLExecute(stmt_), SQL_ERROR);  // LIMIT takes a number, not a marker
  EXPECT_EQ(diagnostic().substr(0, 5), "42000");
  ASSERT_EQ(SQLPrepare(stmt_, (SQLCHAR*)"SELECT y FROM n WHERE x IS NULL AND y IN ('q', ?)", SQL_NTS), SQL_SUCCESS);
  ASSERT_EQ(SQLExecute(stmt_), SQL_SUCCESS) << diagnostic();
  std::string found;
  char y[32];
  SQLLEN yInd = 0;
  while (SQLFetch(stmt_) == SQL_SUCCESS && SQLGetData(stmt_, 1, SQL_C_CHAR, y, sizeof y, &yInd) == SQL_SUCCESS)
    found += std::string(y) + ";";
  EXPECT_EQ(found, "q;it's, \"so\";");
}

// Every failure comes back as a diagnostic with its SQLSTATE and text, and
// the statement stays usable.
TEST_F(Client, FailuresGiveTheirDiagnostics) {
  write("t.csv", "a INTEGER,b VARCHAR(3)\n1,x\n");
  write("quote.csv", "a INTEGER\n1\n2\"x\n");
  write("fields.csv", "a INTEGER,b CHAR\n1,x\n2\n");
  write("value.csv", "a INTEGER\n1\nzwei\n");
  write("notnull.csv", "a INTEGER\n\\N\n");
  write("header.csv", "a WHATEVER\n1\n");
  connect();
  const struct {
    const char* sql;
    const char* diagnostic;
  } cases[] = {
      {"SELECT FROM t", "42000 [vxlib][CSV]Syntax error at \"FROM\"; expected *, number, string, {, COUNT,"},
      {"SELECT a FROM t WHERE", "42000 [vxlib][CSV]Syntax error at end of statement;"},
      {"SELECT a FROM t ORDER a", "42000 [vxlib][CSV]Syntax error at \"a\"; expected BY."},
      {"SELECT a FROM nosuch", "42S02 [vxlib][CSV]The table nosuch was not found."},
      {"SELECT a FROM \"../t\"", "42S02 [vxlib][CSV]The table ../t was not found."},
      {"SELECT c FROM t", "42S22 [vxlib][CSV]The column c was not found."},
      {"SELECT a FROM t WHERE zz = 1", "42S22 [vxlib][CSV]The column zz was not found."},
      {"SELECT a FROM t WHERE b > 1", "22018 [vxlib][CSV]The values x and 1 cannot be compared."},
      {"SELECT a FROM quote", "HY000 [vxlib][CSV]Line 3 of "},
      {"SELECT a FROM fields", "HY000 [vxlib][CSV]Line 3 of "},
      {"SELECT a FROM value", "22018 [vxlib][CSV]The value zwei on line 3 of "},
      {"SELECT a FROM notnull", "22018 [vxlib][CSV]The value \\N on line 2 of "},
      {"SELECT a FROM header", "HY000 [vxlib][CSV]The header of "},
      {"INSERT INTO t VALUES (1)", "21S01 [vxlib][CSV]The number of values does not match"},
      {"INSERT INTO t (a) VALUES (2)", "23000 [vxlib][CSV]The column b does not accept NULL."},
      {"INSERT INTO t VALUES (NULL, 'y')", "23000 [vxlib][CSV]The column a does not accept NULL."},
      {"INSERT INTO t VALUES (1.5, 'y')", "22018 [vxlib][CSV]The value 1.5 does not fit the column a."},
      {"INSERT INTO t VALUES (-'z', 'y')", "22018 [vxlib][CSV]The values z and 0 cannot be compared."},
      {"INSERT INTO t VALUES (a, 'y')", "42S22 [vxlib][CSV]The column a was not found."},
      {"INSERT INTO t (a, zz) VALUES (1, 'y')", "42S22 [vxlib][CSV]The column zz was not found."},
      {"SELECT a FROM t WHERE a = ? OR b = ?", "07002 [vxlib][CSV]Parameter 1 has no value bound."},
      {"INSERT INTO value VALUES (3)", "22018 [vxlib][CSV]The value zwei on line 3 of "},
      {"SELECT AVG(*) FROM t", "42000 [vxlib][CSV]Syntax error at \"*\"; expected"},
      {"SELECT {fn NOSUCH(a)} FROM t", "42000 [vxlib][CSV]The scalar function NOSUCH is not supported with 1 argument(s)"},
      {"SELECT {fn UCASE(a, b)} FROM t", "42000 [vxlib][CSV]The scalar function UCASE is not supported with 2 argument(s)"},
      {"SELECT a FROM t WHERE b < {d '2021-02-29'}", "22007 [vxlib][CSV]The date or time literal 2021-02-29 is"},
      {"SELECT {d '2021-1-02'} FROM t", "22007 [vxlib][CSV]The date or time literal 2021-1-02 is not valid."},
      {"SELECT {ts '2020-01-01 24:00:00'} FROM t", "22007 [vxlib][CSV]The date or time literal 2020-01-01 24"},
      {"SELECT {ts '2020-01-01 10:00:00.'} FROM t", "22007 [vxlib][CSV]The date or time literal 2020-01-01 10"},
      {"SELECT a, COUNT(*) FROM t", "42000 [vxlib][CSV]The column a is neither grouped nor inside an aggregate."},
      {"SELECT * FROM t GROUP BY a", "42000 [vxlib][CSV]The column b is neither grouped nor inside"},
      {"SELECT a FROM t GROUP BY a HAVING b = 'x'", "42000 [vxlib][CSV]The column b is neither grouped"},
      {"SELECT a FROM t WHERE COUNT(*) > 1", "42000 [vxlib][CSV]An aggregate is not allowed in WHERE."},
      {"SELECT SUM(MAX(a)) FROM t", "42000 [vxlib][CSV]An aggregate is not allowed inside another aggregate."},
      {"INSERT INTO t VALUES (COUNT(*), 'y')", "42000 [vxlib][CSV]An aggregate is not allowed in VALUES."},
      {"SELECT a FROM t GROUP BY zz", "42S22 [vxlib][CSV]The column zz was not found."},
      {"SELECT a / 0 FROM t", "22012 [vxlib][CSV]Division by zero."},
      {"SELECT a FROM t WHERE 2 / (a - 1) > 0", "22012 [vxlib][CSV]Division by zero."},
      {"SELECT b + 1 FROM t", "22018 [vxlib][CSV]The values x and 1 cannot be compared."},
      {"SELECT SUM(b) FROM t", "22018 [vxlib][CSV]The values x and 0 cannot be compared."},
      {"SELECT a FROM t ORDER BY 2", "42000 [vxlib][CSV]The ORDER BY position 2 is not in the select list."},
      {"SELECT a FROM t ORDER BY 0", "42000 [vxlib][CSV]The ORDER BY position 0 is not in the select list."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sql);
    EXPECT_EQ(exec(c.sql), SQL_ERROR);
    std::string got = diagnostic();
    EXPECT_EQ(got.substr(0, strlen(c.diagnostic)), c.diagnostic) << got;
    ASSERT_EQ(exec("SELECT a FROM t WHERE a = 1"), SQL_SUCCESS) << diagnostic();
    EXPECT_EQ(SQLFetch(stmt_), SQL_SUCCESS);
    SQLFreeStmt(stmt_, SQL_CLOSE);
  }
  // Nothing was lost from or added to the files.
  EXPECT_EQ(read("t.csv"), "a INTEGER,b VARCHAR(3)\n1,x\n");
  EXPECT_EQ(read("value.csv"), "a INTEGER\n1\nzwei\n");
}

// Random texts with accents, CJK and characters beyond the BMP go in as
// wide parameters and come back through the wide calls as iconv's UTF-16.
TEST_F(Client, WideCallsAgreeWithIconv) {
  const unsigned seed = 777;
  std::mt19937 rng(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  write("wide.csv", "n\xC3\xA4me VARCHAR(80)\n");
  std::string ascii = "DRIVER={" + env("VXCSV_DRIVER") + "};DIRECTORY=" + dir_;
  std::u16string in(ascii.begin(), ascii.end());
  ASSERT_TRUE(SQL_SUCCEEDED(SQLDriverConnectW(dbc_, nullptr, w(in), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT)));
  ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, dbc_, &stmt_), SQL_SUCCESS);
  std::vector<std::string> expected;
  char16_t value[100];
  SQLLEN ind = 0;
  ASSERT_EQ(SQLPrepareW(stmt_, w(u"INSERT INTO wide VALUES (?)"), SQL_NTS), SQL_SUCCESS);
  SQLBindParameter(stmt_, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 80, 0, value, 0, &ind);
  for (int i = 0; i < 40; ++i) {
    std::string text = randomText(rng, {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xE6\x97\xA5", "\xF0\x9D\x84\x9E", ","}, 9);
    expected.push_back(iconvTo("UTF-16LE", text));
    ind = SQLLEN(expected.back().size());  // in bytes, without a terminator
    memcpy(value, expected.back().data(), expected.back().size());
    ASSERT_EQ(SQLExecute(stmt_), SQL_SUCCESS) << diagnostic();
  }
  SQLFreeStmt(stmt_, SQL_RESET_PARAMS);
  for (SQLLEN pieceBytes : {6, 8, 128}) {
    ASSERT_EQ(SQLExecDirectW(stmt_, w(u"SELECT n\u00E4me FROM wide"), SQL_NTS), SQL_SUCCESS);
    SQLWCHAR name[8];
    SQLDescribeColW(stmt_, 1, name, 8, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(std::u16string((char16_t*)name), u"n\u00E4me");
    EXPECT_EQ(column1(SQL_C_WCHAR, pieceBytes), expected) << pieceBytes;
    SQLFreeStmt(stmt_, SQL_CLOSE);
  }
  // Diagnostics, catalog and information answers in UTF-16.
  EXPECT_EQ(SQLExecDirectW(stmt_, w(u"SELECT FROM wide"), SQL_NTS), SQL_ERROR);
  SQLWCHAR state[6], text[256];
  ASSERT_EQ(SQLGetDiagRecW(SQL_HANDLE_STMT, stmt_, 1, state, nullptr, text, 256, nullptr), SQL_SUCCESS);
  EXPECT_EQ(std::u16string((char16_t*)state) + u" " + (char16_t*)text,
            u"42000 [vxlib][CSV]Syntax error at \"FROM\"; expected *, number, string, {, COUNT, SUM, MIN, "
            u"MAX, AVG, identifier, quoted name, (, -, +, NULL, ?.");
  ASSERT_EQ(SQLTablesW(stmt_, nullptr, 0, nullptr, 0, w(u"WID%"), SQL_NTS, nullptr, 0), SQL_SUCCESS);
  SQLFetch(stmt_);
  SQLWCHAR table[16], info[16];
  SQLSMALLINT length = 0;
  SQLColAttributeW(stmt_, 3, SQL_DESC_NAME, text, sizeof text, nullptr, nullptr);
  SQLGetData(stmt_, 3, SQL_C_WCHAR, table, sizeof table, &ind);
  SQLGetInfoW(dbc_, SQL_DBMS_NAME, info, sizeof info, &length);
  EXPECT_EQ(std::u16string((char16_t*)text) + (char16_t*)table + (char16_t*)info, u"TABLE_NAMEwidevxlib CSV");
  EXPECT_EQ(ind + length, 8 + 18);
}

// A windows-1252 data source: the file's bytes are iconv's, the narrow
// calls see them as they are (the connection string gives both code
// pages), the wide calls see UTF-16, and what does not convert is an error.
TEST_F(Client, Windows1252DataSourceAgreesWithIconv) {
  const unsigned seed = 1252;
  std::mt19937 rng(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::string utf8 = "s VARCHAR(40)\n";
  std::vector<std::string> texts;
  for (int i = 0; i < 30; ++i)
    utf8 += texts.emplace_back(randomText(rng, {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xE2\x80\x9C", "\xC5\xB8", "\xC3\x9F", " "}, 8)) + "\n";
  write("cp.csv", iconvTo("WINDOWS-1252", utf8));
  std::string in = "DRIVER={" + env("VXCSV_DRIVER") + "};DIRECTORY=" + dir_ + ";IANAAppCodePage=2252";
  ASSERT_TRUE(SQL_SUCCEEDED(SQLDriverConnect(dbc_, nullptr, (SQLCHAR*)in.c_str(), SQL_NTS, nullptr, 0, nullptr, 0)));
  ASSERT_EQ(SQLAllocHandle(SQL_HANDLE_STMT, dbc_, &stmt_), SQL_SUCCESS);
  std::vector<std::string> narrow, matching;
  for (const std::string& t : texts) narrow.push_back(iconvTo("WINDOWS-1252", t));
  ASSERT_EQ(exec("SELECT s FROM cp"), SQL_SUCCESS) << diagnostic();
  EXPECT_EQ(column1(SQL_C_CHAR, 5), narrow);
  // Texts go in as wide parameters (the lexer does not take every
  // character inside a quoted literal). strLike compares the first byte of
  // a UTF-8 character only, so the pattern's letter is ASCII.
  char16_t param[8] = u"%a%";
  SQLLEN ind = SQL_NTS;
  SQLBindParameter(stmt_, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, 8, 0, param, 0, &ind);
  ASSERT_EQ(SQLExecDirectW(stmt_, w(u"SELECT s FROM cp WHERE s LIKE ?"), SQL_NTS), SQL_SUCCESS) << diagnostic();
  for (const std::string& t : texts)
    if (t.find('a') != std::string::npos) matching.push_back(iconvTo("UTF-16LE", t));
  EXPECT_EQ(column1(SQL_C_WCHAR, 10), matching);
  std::string before = read("cp.csv");
  std::u16string(u"\u20AC\u00FF", 3).copy(param, 3);
  ASSERT_EQ(SQLExecDirectW(stmt_, w(u"INSERT INTO cp VALUES (?)"), SQL_NTS), SQL_SUCCESS) << diagnostic();
  EXPECT_EQ(read("cp.csv"), before + iconvTo("WINDOWS-1252", "\xE2\x82\xAC\xC3\xBF\n"));
  before = read("cp.csv");
  std::u16string(u"\u65E5", 2).copy(param, 2);
  ASSERT_EQ(SQLExecDirectW(stmt_, w(u"INSERT INTO cp VALUES (?)"), SQL_NTS), SQL_ERROR);
  EXPECT_EQ(diagnostic(), "22021 [vxlib][CSV]The text of " + dir_ + "/cp.csv could not be converted between UTF-8 "
                          "and code page 2252.");
  EXPECT_EQ(read("cp.csv"), before);
}

// Random rows fetched in arrays of 7, column-wise and row-wise, and saved
// as XML on the way: libxml2 finds the same rows in the document.
TEST_F(Client, RowArraysAndTheXmlDocumentHoldTheRows) {
  const unsigned seed = 7;
  std::mt19937 rng(seed);
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::vector<std::pair<int, std::string>> rows(rng() % 60 + 20);
  std::string csv = "i INTEGER,s VARCHAR(6)\n";
  for (auto& row : rows) {
    row = {int(rng() % 2001) - 1000, randomText(rng, {"a", "<", "&", "'", ">"}, 3)};
    csv += std::to_string(row.first) + "," + row.second + "\n";
  }
  write("t.csv", csv);
  connect();
  struct RowWise { SQLINTEGER i; SQLLEN iInd; char s[16]; SQLLEN sInd; } byRow[7];  // NOLINT
  SQLINTEGER is[7];  // NOLINT
  SQLLEN iInds[7], sInds[7];
  char ss[7][16];
  SQLULEN fetched = 0;
  SQLSetStmtAttr(stmt_, SQL_ATTR_ROW_ARRAY_SIZE, (SQLPOINTER)7, 0);
  SQLSetStmtAttr(stmt_, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  std::string xml = dir_ + "/t.xml";
  for (bool rowWise : {false, true}) {
    SQLSetStmtAttr(stmt_, SQL_ATTR_ROW_BIND_TYPE, (SQLPOINTER)(rowWise ? sizeof(RowWise) : SQL_BIND_BY_COLUMN), 0);
    SQLBindCol(stmt_, 1, SQL_C_SLONG, rowWise ? &byRow[0].i : is, 0, rowWise ? &byRow[0].iInd : iInds);
    SQLBindCol(stmt_, 2, SQL_C_CHAR, rowWise ? byRow[0].s : ss[0], 16, rowWise ? &byRow[0].sInd : sInds);
    if (!rowWise) ASSERT_EQ(SQLSetStmtAttr(stmt_, VXCSV_ATTR_XML_RESULT, (SQLPOINTER)xml.c_str(), SQL_NTS), SQL_SUCCESS);
    ASSERT_EQ(exec("SELECT i, s FROM t"), SQL_SUCCESS) << diagnostic();
    size_t at = 0;
    for (SQLRETURN rc; (rc = SQLFetch(stmt_)) != SQL_NO_DATA; at += fetched) {
      ASSERT_EQ(rc, SQL_SUCCESS);
      ASSERT_EQ(fetched, std::min<size_t>(7, rows.size() - at));
      for (SQLULEN r = 0; r < fetched; ++r) {
        EXPECT_EQ(rowWise ? byRow[r].i : is[r], rows[at + r].first);
        EXPECT_EQ(std::string(rowWise ? byRow[r].s : ss[r]), rows[at + r].second);
      }
    }
    EXPECT_EQ(at, rows.size());
    SQLFreeStmt(stmt_, SQL_CLOSE);
  }
  // The document, as xmllint reads it: one record per row, the values as
  // fetched.
  auto xpath = [&xml](const std::string& expression) {
    std::string out(256, '\0');
    FILE* pipe = popen(("xmllint --xpath \"" + expression + "\" " + xml).c_str(), "r");
    out.resize(fread(&out[0], 1, out.size(), pipe));
    return pclose(pipe), out.substr(0, out.size() - 1);  // without xmllint's line end
  };
  long long sum = std::accumulate(rows.begin(), rows.end(), 0LL, [](long long n, const auto& r) { return n + r.first; });
  EXPECT_EQ(xpath("count(//*[local-name()='record'])"), std::to_string(rows.size()));
  EXPECT_EQ(xpath("sum(//*[local-name()='record']/*[1])"), std::to_string(sum));
  EXPECT_EQ(xpath("string(//*[local-name()='record'][last()]/*[2])"), rows.back().second);
  // A path that cannot be written fails the statement.
  std::string bad = dir_ + "/none/t.xml";
  SQLSetStmtAttr(stmt_, VXCSV_ATTR_XML_RESULT, (SQLPOINTER)bad.c_str(), SQL_NTS);
  EXPECT_EQ(SQLTables(stmt_, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0), SQL_ERROR);
  EXPECT_EQ(diagnostic().substr(0, 75 + dir_.size()),
            "HY000 [vxlib][CSV]The result set could not be saved as XML in " + bad + ": ");
  EXPECT_EQ(SQLFetch(stmt_), SQL_ERROR);
}

// The type list names each type the header accepts, in DATA_TYPE order;
// a table declared with every one describes its columns with those types.
TEST_F(Client, TypeInfoAgreesWithTheColumnsOfATable) {
  connect();
  ASSERT_EQ(SQLGetTypeInfo(stmt_, SQL_ALL_TYPES), SQL_SUCCESS);
  std::string header, types, described;
  char name[32];
  SQLINTEGER type = 0, last = -100;
  for (; SQLFetch(stmt_) == SQL_SUCCESS; last = type, types += std::to_string(type) + " ") {
    SQLGetData(stmt_, 1, SQL_C_CHAR, name, sizeof name, nullptr);
    SQLGetData(stmt_, 2, SQL_C_SLONG, &type, 0, nullptr);
    EXPECT_LE(last, type) << name;
    header += std::string(header.empty() ? "c" : ",c") + name + " " + name;
  }
  write("all.csv", header + "\n");
  SQLFreeStmt(stmt_, SQL_CLOSE);
  ASSERT_EQ(SQLColumns(stmt_, nullptr, 0, nullptr, 0, (SQLCHAR*)"all", SQL_NTS, nullptr, 0), SQL_SUCCESS);
  while (SQLFetch(stmt_) == SQL_SUCCESS && SQLGetData(stmt_, 5, SQL_C_SLONG, &type, 0, nullptr) == SQL_SUCCESS)
    described += std::to_string(type) + " ";
  EXPECT_EQ(described, types);
  EXPECT_EQ(std::count(types.begin(), types.end(), ' '), 15);
}

// Autocommit stays on, the connection is alive, and a prepared statement
// counts its markers.
TEST_F(Client, ConnectionAttributesAndMarkers) {
  connect();
  SQLUINTEGER on = 0, dead = 1;
  SQLGetConnectAttr(dbc_, SQL_ATTR_AUTOCOMMIT, &on, 0, nullptr);
  SQLGetConnectAttr(dbc_, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr);
  EXPECT_EQ(on * 10 + dead, SQLUINTEGER(SQL_AUTOCOMMIT_ON * 10 + SQL_CD_FALSE));
  EXPECT_EQ(SQLSetConnectAttr(dbc_, SQL_ATTR_AUTOCOMMIT, (SQLPOINTER)SQL_AUTOCOMMIT_OFF, 0), SQL_ERROR);
  SQLSMALLINT markers = 0;
  ASSERT_EQ(SQLPrepare(stmt_, (SQLCHAR*)"SELECT a FROM t WHERE a = ? OR a IN (?, 3)", SQL_NTS), SQL_SUCCESS);
  EXPECT_EQ(SQLNumParams(stmt_, &markers), SQL_SUCCESS);
  EXPECT_EQ(markers, 2);
  // The files have no indexes or keys: empty sets in ODBC's layouts.
  SQLSMALLINT columns[3] = {0, 0, 0};
  SQLStatistics(stmt_, nullptr, 0, nullptr, 0, (SQLCHAR*)"t", SQL_NTS, SQL_INDEX_ALL, SQL_QUICK);
  SQLNumResultCols(stmt_, &columns[0]);
  SQLSpecialColumns(stmt_, SQL_BEST_ROWID, nullptr, 0, nullptr, 0, (SQLCHAR*)"t", SQL_NTS, SQL_SCOPE_CURROW, SQL_NULLABLE);
  SQLNumResultCols(stmt_, &columns[1]);
  SQLPrimaryKeys(stmt_, nullptr, 0, nullptr, 0, (SQLCHAR*)"t", SQL_NTS);
  SQLNumResultCols(stmt_, &columns[2]);
  EXPECT_EQ(columns[0] * 100 + columns[1] * 10 + columns[2], 13 * 100 + 8 * 10 + 6);
  EXPECT_EQ(SQLFetch(stmt_), SQL_NO_DATA);
}

// Rows of a million-row file counted and summed through bound arrays.
TEST_F(Client, MillionRowsCountAndSum) {
  std::string csv = "i INTEGER,s VARCHAR(8)\n";
  long long wantSum = 0, wantCount = 0;
  for (int k = 0; k < 1000000; ++k) {
    int i = int((k * 7919LL) % 1000003);
    csv += std::to_string(i) + ",r" + std::to_string(k % 1000) + "\n";
    if (k % 1000 % 10 == 7) wantSum += i, ++wantCount;
  }
  write("big.csv", csv);
  connect();
  SQLINTEGER values[1000];
  SQLULEN fetched = 0;
  SQLSetStmtAttr(stmt_, SQL_ATTR_ROW_ARRAY_SIZE, (SQLPOINTER)1000, 0);
  SQLSetStmtAttr(stmt_, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  SQLBindCol(stmt_, 1, SQL_C_SLONG, values, 0, nullptr);
  ASSERT_EQ(exec("SELECT i FROM big WHERE s LIKE '%7'"), SQL_SUCCESS) << diagnostic();
  long long sum = 0, count = 0;
  while (SQLFetch(stmt_) == SQL_SUCCESS)
    for (SQLULEN r = 0; r < fetched; ++r) sum += values[r], ++count;
  EXPECT_EQ(count, wantCount);
  EXPECT_EQ(sum, wantSum);
}

// Two connections in two threads, each inserting into and reading its own
// table, get each its own rows.
TEST_F(Client, TwoConnectionsInTwoThreads) {
  auto work = [this](int id, std::string* failure) {
    std::string table = "t" + std::to_string(id);
    write(table + ".csv", "n INTEGER\n");
    SQLHANDLE dbc = SQL_NULL_HDBC, stmt = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_DBC, env_, &dbc);
    std::string in = "DRIVER={" + env("VXCSV_DRIVER") + "};DIRECTORY=" + dir_;
    if (!SQL_SUCCEEDED(SQLDriverConnect(dbc, nullptr, (SQLCHAR*)in.c_str(), SQL_NTS, nullptr, 0, nullptr, 0)) ||
        SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt) != SQL_SUCCESS)
      *failure = "connect";
    for (int n = 1; n <= 60 && failure->empty(); ++n) {
      std::string insert = "INSERT INTO " + table + " VALUES (" + std::to_string(n * id) + ")";
      SQLBIGINT sum = 0, count = 0, v = 0;
      if (SQLExecDirect(stmt, (SQLCHAR*)insert.c_str(), SQL_NTS) != SQL_SUCCESS ||
          SQLExecDirect(stmt, (SQLCHAR*)("SELECT n FROM " + table).c_str(), SQL_NTS) != SQL_SUCCESS)
        *failure = "statement " + std::to_string(n);
      for (SQLBindCol(stmt, 1, SQL_C_SBIGINT, &v, 0, nullptr); SQLFetch(stmt) == SQL_SUCCESS; ++count) sum += v;
      SQLFreeStmt(stmt, SQL_CLOSE);
      if (count != n || sum != SQLBIGINT(id) * n * (n + 1) / 2) *failure = "rows after " + std::to_string(n);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    SQLDisconnect(dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
  };
  std::string failures[2];
  std::thread first(work, 1, &failures[0]), second(work, 2, &failures[1]);
  first.join(), second.join();
  EXPECT_EQ(failures[0] + failures[1], "");
}

// Another process changes a table between two statements: appended rows
// are seen by the next statement, an open result set keeps its rows, a
// malformed rewrite is a diagnostic, and the driver never writes the file.
TEST_F(Client, TableChangedByAnotherProcess) {
  write("t.csv", "a INTEGER\n1\n2\n");
  connect();
  // The rows of a query, with another process running meanwhile (after the
  // statement, before its rows are fetched); -1 when it fails.
  auto count = [this](const std::string& meanwhile) {
    SQLFreeStmt(stmt_, SQL_CLOSE);
    int rows = exec("SELECT a FROM t") == SQL_SUCCESS ? 0 : -1;
    EXPECT_EQ(system(meanwhile.c_str()), 0);
    while (rows >= 0 && SQLFetch(stmt_) == SQL_SUCCESS) ++rows;
    return rows;
  };
  EXPECT_EQ(count("printf '3\\n4\\n' >> " + dir_ + "/t.csv"), 2);
  EXPECT_EQ(count("printf 'a INTEGER\\n1\\n\"x\\n' > " + dir_ + "/t.csv"), 4);
  EXPECT_EQ(count("true"), -1);
  EXPECT_EQ(diagnostic(), "HY000 [vxlib][CSV]Line 3 of " + dir_ + "/t.csv is malformed: a quoted field is not closed.");
  EXPECT_EQ(exec("INSERT INTO t VALUES (5)"), SQL_ERROR);
  EXPECT_EQ(read("t.csv"), "a INTEGER\n1\n\"x\n");
}

}  // namespace
