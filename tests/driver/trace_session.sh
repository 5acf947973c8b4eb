#!/usr/bin/env bash
# The driver's entry-point trace through isql: with bit 0x1000 of
# VX_DEBUGGING each call prints its name and return code, without it
# nothing. The library reads the mask when it is loaded, so each isql run
# decides for itself.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$VXCSV_SOURCE/data" "$work/data"
"$VXCSV_SOURCE/register.sh" "$work/odbc" "$VXCSV_DRIVER" csvdemo "$work/data"
export ODBCSYSINI=$work/odbc ODBCINSTINI=odbcinst.ini ODBCINI=$work/odbc/odbc.ini
session() { printf 'SELECT name FROM sales LIMIT 1\nSELECT FROM sales\n' | isql -b csvdemo 2>&1 || true; }
VX_DEBUGGING=1000 session | grep -E '^vxcsv: SQL(Connect|Execute|Fetch) ' | sort -u > "$work/actual"
diff -u - "$work/actual" <<'EXPECTED'
vxcsv: SQLConnect returns 0
vxcsv: SQLExecute returns -1
vxcsv: SQLExecute returns 0
vxcsv: SQLFetch returns 0
vxcsv: SQLFetch returns 100
EXPECTED
if VX_DEBUGGING=0 session | grep -q '^vxcsv:'; then
  echo "trace lines without the debug bit" >&2
  exit 1
fi
