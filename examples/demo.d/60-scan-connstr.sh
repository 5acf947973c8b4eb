# vxtool scan and connstr: the SQL scanner and the connection-string parser.
say "The scanner cuts a statement into classed tokens: CLASS<TAB>OFFSET<TAB>TEXT."
say "2 word, 3 quoted literal (a doubled quote stays inside), 5 number, 11 comment,"
say "12 the outer-join mark (+); operators print their code: 15422 is <> (60 * 256 + 62)."
say "An underscore is no word character until a driver adds it to the valid-middle set,"
say "so customer_id is three tokens here."
show "$VXTOOL" scan --decimal --comments "$(cat "$EXAMPLES/sql/query.sql")"
say "Without --decimal, 1.5 is a number, a point operator (46) and another number:"
show "$VXTOOL" scan "1.5"
say "A driver parses its connection string: a keyword may hold blanks, the bare ODBC"
say "keyword is skipped, empty pieces are fine, a quoted value keeps its separator:"
show "$VXTOOL" connstr "ODBC;DSN=Sales;Data Source=db1;;PWD='se;cret';UID=scott"
say "When DSN comes first a later DRIVER is dropped (and the other way round):"
show "$VXTOOL" connstr "DSN=Sales;DRIVER=vxdriver;UID=scott"
say "A repeated keyword is a syntax error (error 2704 at the offending token's offset)"
say "unless repeats are allowed; the first value stays:"
show "$VXTOOL" connstr "DSN=Sales;dsn=Other"
show "$VXTOOL" connstr --allow-dup "DSN=Sales;dsn=Other"
say "The driver changes attributes and rebuilds the string; a value holding the"
say "separator or a quote comes back quoted:"
show "$VXTOOL" connstr --rebuild --set "PWD=new;pass" --remove UID --set "APP=O'Hara" "DSN=Sales;UID=scott;PWD=x"

say "A driver's connect: its connection string names a data source; the settings it
does not give come from that data source's entry in odbc.ini (ODBCINI names the
sample), and the string is rebuilt with what the driver used."
work=$(mktemp -d)
export HOME="$work" ODBCINI="$EXAMPLES/odbc.ini" ODBCINSTINI="$EXAMPLES/odbcinst.ini"
conn="DSN=sales;UID=scott;Port=6000"
show "$VXTOOL" connstr "$conn"
dsn=$("$VXTOOL" connstr "$conn" | sed -n 's/^DSN=//p')
show "$VXTOOL" profile get odbc.ini "$dsn"
say "(The key list copies each line up to its \"=\", so the keys keep their padding.)"
say "Each key of the entry, from the connection string when it is there, else from odbc.ini:"
rebuild=()
while IFS= read -r key; do
  key="${key%"${key##*[! ]}"}"
  from_string=$("$VXTOOL" connstr "$conn" | sed -n "s/^$key=//Ip")
  if [ -n "$from_string" ]; then
    printf '  %-12s %-22s (connection string overrides odbc.ini)\n' "$key" "$from_string"
  else
    value=$("$VXTOOL" profile get odbc.ini "$dsn" "$key")
    printf '  %-12s %-22s (odbc.ini)\n' "$key" "$value"
    rebuild+=(--set "$key=$value")
  fi
done < <("$VXTOOL" profile get odbc.ini "$dsn")
say "The complete string the driver connected with:"
show "$VXTOOL" connstr --rebuild "${rebuild[@]}" "$conn"
rm -rf "$work"
