#!/usr/bin/env bash
# The same queries through isql on the driver and through sqlite3 on the
# bundled CSV imported into SQLite must give the same rows. SQLite's LIKE
# is made case-sensitive like the driver's; real numbers are compared in
# one spelling (SQLite writes 80.0 where the driver writes 80). Where the
# driver's SQL differs from SQLite's, an entry gives both, split by "|||":
# escape clauses become SQLite's functions and literals, and the driver's
# division, which always gives a double, is SQLite's with a real divisor
# (SQLite divides integers to an integer).
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$VXCSV_SOURCE/register.sh" "$work/odbc" "$VXCSV_DRIVER" csvdemo "$VXCSV_SOURCE/data"
export ODBCSYSINI=$work/odbc ODBCINSTINI=odbcinst.ini ODBCINI=$work/odbc/odbc.ini

tail -n +2 "$VXCSV_SOURCE/data/sales.csv" > "$work/sales-rows.csv"
sqlite3 "$work/sales.db" <<SQL
CREATE TABLE sales (id INTEGER, name VARCHAR(20), city VARCHAR(16), amount DOUBLE, qty INTEGER);
.mode csv
.import $work/sales-rows.csv sales
UPDATE sales SET city = NULL WHERE city = '\N';
UPDATE sales SET amount = NULL WHERE amount = '\N';
SQL

queries=(
  "SELECT name, city, amount FROM sales WHERE city LIKE 'P%' OR amount IS NULL ORDER BY amount DESC"
  "SELECT id, name FROM sales WHERE NOT (city = 'Berlin' OR city IS NULL) AND qty >= 4 ORDER BY city, name DESC"
  "SELECT * FROM sales WHERE amount > 50 AND amount <= 300 ORDER BY qty, id DESC"
  "SELECT name, qty FROM sales WHERE name LIKE '%a%' AND NOT name LIKE '_a%' ORDER BY name"
  "SELECT city, id FROM sales WHERE city IS NOT NULL AND city <> 'Paris' ORDER BY city DESC, id"
  "SELECT id FROM sales WHERE -qty < -4 OR (amount >= 99.99 AND amount != 300) ORDER BY id"
  "SELECT id, amount FROM sales WHERE amount = NULL OR amount <> amount ORDER BY id"
  "SELECT amount, id FROM sales ORDER BY amount, id DESC"
  "SELECT DISTINCT city FROM sales WHERE id NOT BETWEEN 3 AND 5 ORDER BY city LIMIT 3"
  "SELECT id FROM sales WHERE city IN ('Rome', 'Oslo', NULL) OR qty NOT IN (1, 2, 3, 4, 5, 6, 7) ORDER BY id"
  "SELECT name, amount FROM sales WHERE amount BETWEEN 42 AND 180 ORDER BY amount DESC LIMIT 4"
  "SELECT DISTINCT qty FROM sales WHERE qty NOT IN (2, 3) OR city IS NULL ORDER BY qty DESC"
  "SELECT DISTINCT city, qty FROM sales WHERE NOT city NOT IN ('Paris', 'Berlin') ORDER BY city, qty LIMIT 0"
  "SELECT city, COUNT(*) AS n, COUNT(amount), SUM(qty), MIN(name), MAX(amount), COUNT(DISTINCT qty) FROM sales GROUP BY city ORDER BY n DESC, city"
  "SELECT city, SUM(amount) AS total, AVG(qty) FROM sales WHERE qty > 1 GROUP BY city HAVING COUNT(*) >= 1 ORDER BY total DESC"
  "SELECT COUNT(*), COUNT(city), SUM(amount), MIN(amount), MAX(city), AVG(amount), SUM(DISTINCT qty) FROM sales"
  "SELECT COUNT(*), SUM(qty), MIN(city), AVG(amount) FROM sales WHERE id > 100"
  "SELECT city, qty, COUNT(*), MAX(id) FROM sales GROUP BY city, qty HAVING MAX(id) > 2 ORDER BY city, qty DESC"
  "SELECT city FROM sales GROUP BY city ORDER BY SUM(qty) DESC, city"
  "SELECT name, amount * qty AS total, qty - id, -amount + 1, (id + 2) * 3 FROM sales ORDER BY total DESC, 1"
  "SELECT id, amount / qty, qty / 4, 7 - qty / 2 AS q FROM sales ORDER BY q, 2 DESC|||SELECT id, amount / qty, qty / 4.0, 7 - qty / 2.0 AS q FROM sales ORDER BY q, 2 DESC"
  "SELECT {fn UCASE(name)}, {fn LCASE(city)}, {fn CONCAT(name, city)} FROM sales ORDER BY 3, 1|||SELECT upper(name), lower(city), name || city FROM sales ORDER BY 3, 1"
  "SELECT id, {d '2024-02-29'}, {ts '2001-12-31 23:59:59.5'} FROM sales WHERE {fn LCASE(name)} LIKE '%a%' ORDER BY id|||SELECT id, '2024-02-29', '2001-12-31 23:59:59.5' FROM sales WHERE lower(name) LIKE '%a%' ORDER BY id"
  "SELECT name AS who, qty FROM sales ORDER BY who DESC LIMIT 5"
  "SELECT id, name FROM sales ORDER BY qty * -1, 2"
  "SELECT city, name FROM sales ORDER BY city DESC, amount"
  "SELECT DISTINCT qty * 2 AS double_qty FROM sales WHERE qty BETWEEN 2 AND 2 + 5 ORDER BY 1 DESC"
)
normalise() { sed -E 's/\.0(\||$)/\1/g'; }
failed=0
for entry in "${queries[@]}"; do
  q=${entry%%|||*}
  lite=${entry##*|||}
  echo "$q" | isql -b -d'|' csvdemo | normalise > "$work/driver.out"
  sqlite3 -separator '|' -nullvalue '' "$work/sales.db" "PRAGMA case_sensitive_like = ON; $lite;" | normalise > "$work/sqlite.out"
  if [ ! -s "$work/sqlite.out" ] && [ "$entry" != "${queries[6]}" ] && [ "$entry" != "${queries[12]}" ]; then
    echo "sqlite3 gave no rows for: $q" >&2
    failed=1
  fi
  if ! diff -u "$work/sqlite.out" "$work/driver.out"; then
    echo "differs: $q" >&2
    failed=1
  fi
done
exit $failed
