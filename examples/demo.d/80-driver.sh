# The CSV ODBC driver under unixODBC's isql: a directory of CSV files is a
# data source, each file a table. Everything is registered in a scratch
# directory: nothing goes to /etc.
root=$(cd "$EXAMPLES/.." && pwd)
driver="$VX_INSTALL_DIR/drivers/csv/libvxcsv.so"
config=$(mktemp -d)
cp -r "$root/drivers/csv/data" "$config/data"  # the session inserts: work on a copy
say "Register the driver and a data source over a copy of drivers/csv/data with odbcinst, from the templates:"
show "$root/drivers/csv/register.sh" "$config" "$driver" csvdemo "$config/data"
export ODBCSYSINI=$config ODBCINSTINI=odbcinst.ini ODBCINI=$config/odbc.ini
show cat "$config/odbcinst.ini" "$config/odbc.ini"
say "The bundled table: the first line declares the columns, \\N is NULL:"
show head -4 "$root/drivers/csv/data/sales.csv"
say "A report with WHERE ... LIKE and ORDER BY, a grouped report with GROUP BY, aggregates, arithmetic and an escape clause, an INSERT and both reports again, then a syntax error and an unknown table with their diagnostics:"
report="SELECT name, city, amount FROM sales WHERE city LIKE '%o%' OR amount IS NULL ORDER BY amount DESC"
grouped="SELECT {fn UCASE(city)} AS place, COUNT(*) AS sales, SUM(amount * qty) AS revenue, MAX(amount) AS top FROM sales WHERE city NOT LIKE 'N%' GROUP BY city ORDER BY revenue DESC"
printf '%s\n' "$report" "$grouped" "INSERT INTO sales (id, name, city, amount, qty) VALUES (13, 'Zoe', 'Toronto', 19.5, 4)" \
  "$report" "$grouped" "SELECT name FROM sales WHERE" "SELECT * FROM nosuch" >"$config/session.sql"
show cat "$config/session.sql"
show sh -c 'isql -b -v csvdemo < "$1"' isql "$config/session.sql"
say "The row was appended to the file:"
show tail -2 "$config/data/sales.csv"
say "Through a connection string instead of a data source, the catalog that isql's help reads:"
show sh -c 'echo help | isql -b -c -d"|" -k "DRIVER=VXCSV;DIRECTORY=$1"' isql "$config/data"
rm -rf "$config"
