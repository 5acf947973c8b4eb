#!/usr/bin/env bash
# An isql session over the bundled tables, and one over malformed tables
# through a connection string, compared with the expected transcript.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$VXCSV_SOURCE/register.sh" "$work/odbc" "$VXCSV_DRIVER" csvdemo "$VXCSV_SOURCE/data"
export ODBCSYSINI=$work/odbc ODBCINSTINI=odbcinst.ini ODBCINI=$work/odbc/odbc.ini
{
  isql -b -v csvdemo < "$here/session.sql" 2>&1 || true
  printf 'help\nhelp sales\n' | isql -b -v -c -d'|' csvdemo 2>&1 || true
  printf 'SELECT * FROM unclosed\nSELECT * FROM badint\n' |
    isql -b -v -k "DRIVER=VXCSV;DIRECTORY=$here/bad" 2>&1 || true
} | sed "s|$here/bad|BAD|g" > "$work/actual"
diff -u "$here/session.expected" "$work/actual"
