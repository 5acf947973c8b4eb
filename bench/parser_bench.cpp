// VxParser with the shipped SQL grammar (examples/sql) against SQLite's
// sqlite3_prepare_v2 on the same statements, over a schema created for
// them. SQLite also resolves names and plans each statement, so it is the
// peer a driver author knows, not an equal: the ratio says what a parse
// costs next to a prepare.
//
//   corpus/SIDE/N   N real-looking statements (SELECTs with joins,
//                   subqueries, CASE, IN, LIKE; INSERT, UPDATE, DELETE)
//   inlist/SIDE/N   one SELECT with N items in an IN list
//   nested/SIDE/D   one SELECT whose select item sits in D parentheses,
//                   where the grammar's choice at "(" is ambiguous (a
//                   parenthesised expression or a subquery)
//   ambiguous/vx/D  D parentheses with a grammar whose choice at "(" is
//                   settled only after the closing parenthesis (no peer)
//   compile/vx      compiling the shipped grammar (no peer)
// After the table it prints vxlib's time divided by SQLite's per pair.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "parser/vxparse.h"
#include "ratio_reporter.h"

namespace {

std::string blobFromFile(const std::string& path) {
  std::ifstream in(path);
  std::string blob, line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    int16_t number = static_cast<int16_t>(atoi(line.c_str()));
    blob += line.substr(line.find_first_not_of(' ', line.find(' ')));
    blob.push_back('\0');
    blob.append(reinterpret_cast<const char*>(&number), 2);
  }
  blob.push_back('\0');
  return blob;
}

const std::string& grammarBlob() {
  static const std::string blob = blobFromFile(VX_SOURCE_DIR "/examples/sql/odbc-sql.grammar");
  return blob;
}
const std::string& keywordBlob() {
  static const std::string blob = blobFromFile(VX_SOURCE_DIR "/examples/sql/odbc-sql.keywords");
  return blob;
}

VxParser& sqlParser() {
  static VxParser* parser = [] {
    VxParser* p = new VxParser(grammarBlob().c_str(), keywordBlob().c_str());
    if (!p->initialised() || p->setValidMiddleChars("_")) {
      fprintf(stderr, "the shipped SQL grammar does not compile\n");
      exit(1);
    }
    return p;
  }();
  return *parser;
}

const char* const kColumns[] = {"id", "name", "amount", "status", "region_id", "customer_id", "price", "discount",
                                "note", "created_at"};
const char* const kTables[] = {"customers", "orders", "regions", "payments"};

sqlite3* sqliteWithSchema() {
  static sqlite3* db = [] {
    sqlite3* d = nullptr;
    sqlite3_open(":memory:", &d);
    for (const char* table : kTables) {
      std::string ddl = std::string("CREATE TABLE ") + table + " (";
      for (const char* column : kColumns) ddl += std::string(column == kColumns[0] ? "" : ", ") + column;
      sqlite3_exec(d, (ddl + ")").c_str(), nullptr, nullptr, nullptr);
    }
    return d;
  }();
  return db;
}

std::vector<std::string> makeCorpus(int count) {
  std::mt19937 rng(20261123);
  auto pick = [&](auto& list) { return std::string(list[rng() % (sizeof list / sizeof list[0])]); };
  auto number = [&]() { return std::to_string(rng() % 10000); };
  std::vector<std::string> out;
  while (int(out.size()) < count) {
    std::string s;
    switch (rng() % 6) {
      case 0:
      case 1:
      case 2:
        s = "SELECT t0." + pick(kColumns) + ", t1." + pick(kColumns) + " AS label, SUM(t0.amount) AS total, " +
            "CASE WHEN t1.status IS NULL THEN 'none' ELSE t1.status END FROM " + pick(kTables) + " t0 JOIN " +
            pick(kTables) + " t1 ON t1.id = t0." + pick(kColumns) + " LEFT OUTER JOIN " + pick(kTables) +
            " t2 ON t2.id = t1.region_id WHERE t0.amount >= " + number() + " AND t1.name LIKE 'A%' AND t2." +
            pick(kColumns) + " IN (SELECT r.id FROM regions r WHERE r.name <> 'O''Brien') AND t0.price BETWEEN " +
            number() + " AND " + number() + " GROUP BY t0." + pick(kColumns) + ", t1.name HAVING COUNT(*) > " +
            number() + " ORDER BY 1 DESC, t1.created_at";
        break;
      case 3:
        s = "INSERT INTO " + pick(kTables) + " (id, name, amount, status) VALUES (" + number() + ", 'name " +
            number() + "', " + number() + ".50, 'open')";
        break;
      case 4:
        s = "UPDATE " + pick(kTables) + " SET amount = amount * (1 - discount), note = 'repriced' WHERE id = " +
            number() + " OR status IN ('a', 'b', 'c')";
        break;
      default:
        s = "DELETE FROM " + pick(kTables) + " WHERE created_at < '2020-01-01' AND (status = 'closed' OR amount = 0)";
        break;
    }
    out.push_back(s);
  }
  return out;
}

std::string inList(int items) {
  std::string s = "SELECT id FROM orders WHERE id IN (";
  for (int i = 0; i < items; ++i) s += (i ? ", " : "") + std::to_string(i);
  return s + ")";
}

std::string nested(int depth) {
  return "SELECT " + std::string(depth, '(') + "amount + 1" + std::string(depth, ')') + " FROM orders";
}

long countTokens(const std::string& text) {
  VxLexer lexer(text.c_str(), nullptr);
  long tokens = 0;
  for (int16_t kind = 0; kind != 1 && lexer.nextToken(kind, nullptr) == 0;) ++tokens;
  return tokens - 1;  // the end of the text is no token
}

void parseAll(benchmark::State& state, VxParser& parser, const std::vector<std::string>& statements) {
  long tokens = 0;
  for (const std::string& s : statements) tokens += countTokens(s);
  for (auto _ : state) {
    for (const std::string& s : statements) {
      VxReduction* root = nullptr;
      if (parser.parse(s.c_str(), root) != 0) state.SkipWithError(("does not parse: " + s.substr(0, 60)).c_str());
      delete root;
    }
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(statements.size()));
  state.counters["tokens/s"] = benchmark::Counter(double(tokens) * double(state.iterations()),
                                                  benchmark::Counter::kIsRate);
}

void prepareAll(benchmark::State& state, const std::vector<std::string>& statements) {
  sqlite3* db = sqliteWithSchema();
  for (auto _ : state) {
    for (const std::string& s : statements) {
      sqlite3_stmt* stmt = nullptr;
      if (sqlite3_prepare_v2(db, s.c_str(), int(s.size()), &stmt, nullptr) != SQLITE_OK) {
        state.SkipWithError(sqlite3_errmsg(db));
      }
      sqlite3_finalize(stmt);
    }
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(statements.size()));
}

// A grammar whose choice at "(" ("(" e ")" "+" first, then "(" e ")") is
// settled only after the closing parenthesis, tried on "((...(x)...))":
// every level tries the longer alternative first, fails after its ")",
// and parses its inside again with the shorter one.
VxParser& ambiguousParser() {
  static VxParser parser = [] {
    std::string blob;
    const std::pair<int16_t, const char*> rules[] = {{1000, "goal ::= e"}, {1001, "e ::= ( e ) + | ( e ) | alphanum"}};
    for (const auto& r : rules) {
      blob += r.second;
      blob.push_back('\0');
      blob.append(reinterpret_cast<const char*>(&r.first), 2);
    }
    blob.push_back('\0');
    return VxParser(blob.c_str(), "");
  }();
  return parser;
}

void printRatios(const RunTimes& times) { printPeerRatios(times, "sqlite"); }

}  // namespace

int main(int argc, char** argv) {
  static const std::vector<std::string> corpus = makeCorpus(200);
  benchmark::RegisterBenchmark("corpus/vx/200", [](benchmark::State& s) { parseAll(s, sqlParser(), corpus); });
  benchmark::RegisterBenchmark("corpus/sqlite/200", [](benchmark::State& s) { prepareAll(s, corpus); });
  for (int items : {10, 100, 1000, 10000}) {
    std::vector<std::string> one{inList(items)};
    std::string n = std::to_string(items);
    benchmark::RegisterBenchmark(("inlist/vx/" + n).c_str(), [one](benchmark::State& s) { parseAll(s, sqlParser(), one); });
    benchmark::RegisterBenchmark(("inlist/sqlite/" + n).c_str(), [one](benchmark::State& s) { prepareAll(s, one); });
  }
  for (int depth : {1, 5, 10, 20, 30}) {
    std::vector<std::string> one{nested(depth)};
    std::string n = std::to_string(depth);
    benchmark::RegisterBenchmark(("nested/vx/" + n).c_str(), [one](benchmark::State& s) { parseAll(s, sqlParser(), one); });
    benchmark::RegisterBenchmark(("nested/sqlite/" + n).c_str(), [one](benchmark::State& s) { prepareAll(s, one); });
  }
  for (int depth : {2, 4, 8, 12, 16}) {
    std::vector<std::string> one{std::string(depth, '(') + "x" + std::string(depth, ')')};
    benchmark::RegisterBenchmark(("ambiguous/vx/" + std::to_string(depth)).c_str(),
                                 [one](benchmark::State& s) { parseAll(s, ambiguousParser(), one); });
  }
  benchmark::RegisterBenchmark("compile/vx", [](benchmark::State& s) {
    for (auto _ : s) {
      VxParser parser(grammarBlob().c_str(), keywordBlob().c_str());
      benchmark::DoNotOptimize(parser.initialised());
    }
  });
  runAndPrint(&argc, argv, RunTimes::kCpuTime, printRatios);
  return 0;
}
