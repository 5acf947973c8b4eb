// The CSV driver through the driver manager against the sqlite3 command-
// line tool: one query over a 1,000,000-row table, every row of the result
// fetched. The CSV is generated once; its import into SQLite is measured
// on its own and not part of the query's time. The driver is the one named
// by "VXCSV_DRIVER", else the one built beside this program
// (BUILD/drivers/csv/libvxcsv.so for BUILD/bench/driver_bench), and
// "VX_INSTALL_DIR" defaults to that build directory.
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include "ratio_reporter.h"

namespace {

constexpr int kRows = 1000000;
const char kQuery[] = "SELECT id, name, amount FROM big WHERE name LIKE '%x%' ORDER BY amount";
std::string directory;

void generate() {
  char pattern[] = "/tmp/vxcsv-bench-XXXXXX";
  if (!mkdtemp(pattern)) abort();
  directory = pattern;
  std::ofstream out(directory + "/big.csv");
  out << "id INTEGER,name VARCHAR(12),amount DOUBLE\n";
  std::mt19937 rng(7);
  for (int i = 1; i <= kRows; ++i) {
    std::string name;
    for (int n = 0; n < 8; ++n) name += char('a' + rng() % 26);
    out << i << ',' << name << ',' << (rng() % 1000000) / 100.0 << '\n';
  }
}

// Runs the query through libodbc; the number of rows fetched.
long queryDriver() {
  SQLHENV env;
  SQLHDBC dbc;
  SQLHSTMT stmt;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
  SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
  std::string in = std::string("DRIVER={") + getenv("VXCSV_DRIVER") + "};DIRECTORY=" + directory;
  if (!SQL_SUCCEEDED(SQLDriverConnect(dbc, nullptr, (SQLCHAR*)in.c_str(), SQL_NTS, nullptr, 0, nullptr,
                                      SQL_DRIVER_NOPROMPT)))
    abort();
  SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt);
  if (SQLExecDirect(stmt, (SQLCHAR*)kQuery, SQL_NTS) != SQL_SUCCESS) abort();
  SQLINTEGER id;
  char name[16];
  double amount;
  SQLLEN ind[3];
  SQLBindCol(stmt, 1, SQL_C_SLONG, &id, 0, &ind[0]);
  SQLBindCol(stmt, 2, SQL_C_CHAR, name, sizeof name, &ind[1]);
  SQLBindCol(stmt, 3, SQL_C_DOUBLE, &amount, 0, &ind[2]);
  long rows = 0;
  while (SQLFetch(stmt) == SQL_SUCCESS) ++rows;
  SQLFreeHandle(SQL_HANDLE_STMT, stmt);
  SQLDisconnect(dbc);
  SQLFreeHandle(SQL_HANDLE_DBC, dbc);
  SQLFreeHandle(SQL_HANDLE_ENV, env);
  return rows;
}

// Runs the query in the sqlite3 tool; the number of rows it printed.
long querySqlite() {
  std::string command = "sqlite3 " + directory + "/big.db \"" + kQuery + "\" | wc -l";
  FILE* pipe = popen(command.c_str(), "r");
  long rows = -1;
  if (!pipe || fscanf(pipe, "%ld", &rows) != 1) abort();
  pclose(pipe);
  return rows;
}

void importIntoSqlite() {
  std::string command = "cd " + directory + " && rm -f big.db && tail -n +2 big.csv > rows.csv && sqlite3 big.db " +
                        "'CREATE TABLE big (id INTEGER, name VARCHAR(12), amount DOUBLE)' '.mode csv' " +
                        "'.import rows.csv big' && rm rows.csv";
  if (system(command.c_str()) != 0) abort();
}

}  // namespace

int main(int argc, char** argv) {
  char self[4096];
  ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) abort();
  std::string build(self, size_t(length));
  build = build.substr(0, build.rfind('/')) + "/..";
  setenv("VXCSV_DRIVER", (build + "/drivers/csv/libvxcsv.so").c_str(), 0);
  setenv("VX_INSTALL_DIR", build.c_str(), 0);
  generate();
  importIntoSqlite();
  long driverRows = queryDriver(), sqliteRows = querySqlite();
  printf("rows selected: driver %ld, sqlite3 %ld\n", driverRows, sqliteRows);
  if (driverRows != sqliteRows || driverRows <= 0) return 1;
  benchmark::RegisterBenchmark("import/sqlite3", [](benchmark::State& s) {
    for (auto _ : s) importIntoSqlite();
  })->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("query/vx", [](benchmark::State& s) {
    for (auto _ : s) benchmark::DoNotOptimize(queryDriver());
  })->UseRealTime()->Iterations(3)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("query/sqlite3", [](benchmark::State& s) {
    for (auto _ : s) benchmark::DoNotOptimize(querySqlite());
  })->UseRealTime()->Iterations(3)->Unit(benchmark::kMillisecond);
  runAndPrint(&argc, argv, RunTimes::kRealTime, [](const RunTimes& times) {
    // The times are in the benchmarks' unit, milliseconds.
    printf("\nquery over %d rows: vx %.0f ms, sqlite3 %.0f ms, vx/sqlite3 %.2f; sqlite3 import %.0f ms\n", kRows,
           times.at("query/vx"), times.at("query/sqlite3"), times.at("query/vx") / times.at("query/sqlite3"),
           times.at("import/sqlite3"));
  });
  if (system(("rm -rf " + directory).c_str()) != 0) return 1;
  return 0;
}
