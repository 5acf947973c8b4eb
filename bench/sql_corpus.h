// A deterministic corpus of real-looking SQL for the scanner benchmarks:
// long SELECTs with joins and subqueries, bulk INSERTs and DDL, one
// statement after another, each ending in a semicolon and a line feed.
#ifndef VX_BENCH_SQL_CORPUS_H_
#define VX_BENCH_SQL_CORPUS_H_

#include <cstdint>
#include <random>
#include <string>

inline std::string makeSqlCorpus(size_t targetBytes) {
  static const char* const kTables[] = {"customers", "orders", "order_items", "products", "suppliers",
                                        "invoices", "payments", "shipments", "regions", "employees"};
  static const char* const kColumns[] = {"id", "name", "created_at", "amount", "status", "region_id",
                                         "customer_id", "product_id", "quantity", "price", "discount",
                                         "email", "phone", "updated_by", "note"};
  std::mt19937 rng(20261121);
  auto pick = [&](auto& list) { return std::string(list[rng() % (sizeof list / sizeof list[0])]); };
  auto number = [&]() { return std::to_string(rng() % 100000); };
  std::string out;
  out.reserve(targetBytes + 4096);
  while (out.size() < targetBytes) {
    switch (rng() % 4) {
      case 0:
      case 1: {  // a long SELECT with joins, a subquery and comments
        out += "SELECT ";
        int cols = 4 + int(rng() % 8);
        for (int i = 0; i < cols; ++i) {
          if (i) out += ", ";
          out += "t" + std::to_string(i % 3) + "." + pick(kColumns);
          if (rng() % 4 == 0) out += " AS \"" + pick(kColumns) + "_" + std::to_string(i) + "\"";
        }
        out += "\n  FROM " + pick(kTables) + " t0\n";
        out += "  JOIN " + pick(kTables) + " t1 ON t1.id = t0." + pick(kColumns) + "\n";
        out += "  LEFT OUTER JOIN " + pick(kTables) + " t2 ON t2.id = t1." + pick(kColumns) + " -- optional\n";
        out += " WHERE t0.amount >= " + number() + ".50 AND t1.status <> 'closed'\n";
        out += "   AND t0.name LIKE 'A%' AND t2.region_id IN (SELECT r.id FROM regions r WHERE r.name = 'O''Brien')\n";
        out += "   AND (t0.price * (1 - t0.discount) > " + number() + " OR t1.note IS NOT NULL)\n";
        out += " GROUP BY t0.id, t1.name HAVING COUNT(*) > " + std::to_string(rng() % 10) + "\n";
        out += " ORDER BY 1 DESC, t1.created_at /* newest first */;\n";
        break;
      }
      case 2: {  // a bulk INSERT
        out += "INSERT INTO " + pick(kTables) + " (id, name, amount, status, created_at) VALUES\n";
        int rows = 10 + int(rng() % 30);
        for (int i = 0; i < rows; ++i) {
          out += i ? ",\n  (" : "  (";
          out += number() + ", 'name " + number() + "', " + number() + "." + std::to_string(rng() % 100) +
                 ", 'open', '2026-11-21 12:00:00')";
        }
        out += ";\n";
        break;
      }
      default: {  // DDL
        out += "CREATE TABLE " + pick(kTables) + "_" + number() + " (\n";
        out += "  id INTEGER NOT NULL PRIMARY KEY,\n";
        int cols = 3 + int(rng() % 6);
        for (int i = 0; i < cols; ++i)
          out += "  " + pick(kColumns) + "_" + std::to_string(i) + (rng() % 2 ? " VARCHAR(120)" : " DECIMAL(12,2)") +
                 (rng() % 3 ? "" : " DEFAULT 0") + ",\n";
        out += "  CONSTRAINT fk_" + number() + " FOREIGN KEY (id) REFERENCES " + pick(kTables) + "(id)\n);\n";
        out += "CREATE INDEX ix_" + number() + " ON " + pick(kTables) + " (" + pick(kColumns) + ", " +
               pick(kColumns) + ");\n";
        break;
      }
    }
  }
  return out;
}

#endif  // VX_BENCH_SQL_CORPUS_H_
