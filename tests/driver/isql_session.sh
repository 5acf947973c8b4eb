#!/usr/bin/env bash
# An isql session over (a copy of) the bundled tables, and one over malformed tables
# through a connection string, compared with the expected transcript.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The session inserts, so it works on a copy of the bundled tables.
cp -r "$VXCSV_SOURCE/data" "$work/data"
"$VXCSV_SOURCE/register.sh" "$work/odbc" "$VXCSV_DRIVER" csvdemo "$work/data"
export ODBCSYSINI=$work/odbc ODBCINSTINI=odbcinst.ini ODBCINI=$work/odbc/odbc.ini
{
  isql -b -v csvdemo < "$here/session.sql" 2>&1 || true
  printf 'help\nhelp sales\n' | isql -b -v -c -d'|' csvdemo 2>&1 || true
  printf 'SELECT * FROM unclosed\nSELECT * FROM badint\n' |
    isql -b -v -k "DRIVER=VXCSV;DIRECTORY=$here/bad" 2>&1 || true
} | sed "s|$here/bad|BAD|g" > "$work/actual"
diff -u "$here/session.expected" "$work/actual"
