# vxtool parse: a driver's SQL grammar, compiled at run time, parsing statements.
sql="$EXAMPLES/sql"
parse=("$VXTOOL" parse --grammar "$sql/odbc-sql.grammar" --keywords "$sql/odbc-sql.keywords" --valid-middle _)
say "The grammar in $sql/odbc-sql.grammar is plain rule text, one rule per line:"
grep -E '^10(0[0-5]|2[0-4]) ' "$sql/odbc-sql.grammar" | sed 's/^/  /'
say "A few statements, one per line, parsed with --batch (ok or error per line):"
statements=$(mktemp)
cat > "$statements" <<'SQL'
SELECT c.name, SUM(o.amount) AS total FROM customers c LEFT OUTER JOIN orders o ON o.customer_id = c.id GROUP BY c.name
SELECT * FROM {oj t1 LEFT OUTER JOIN t2 ON t1.a = t2.a} WHERE t1.d > {d '2024-01-01'}
INSERT INTO orders (id, amount) VALUES (?, 12.50)
UPDATE orders SET amount = amount * 2 WHERE id IN (SELECT id FROM big_orders)
{call refresh_totals(2024)}
SELECT a FROM WHERE b = 1
SQL
paste "$statements" <("${parse[@]}" --batch < "$statements" 2>/dev/null) | sed 's/^/  /'
rm -f "$statements"
say "The tree of one condition (--goal starts at another rule than goal): a rule prints its
number and name, a token its kind and text, two blanks of indentation per level:"
show "${parse[@]}" --goal expr "amount BETWEEN 1 AND 10"
say "A malformed statement: the offending token, the rule and what was expected there (exit 1):"
show "${parse[@]}" "SELECT a FROM WHERE b = 1"
