#!/usr/bin/env bash
# Registers the CSV driver and one data source with unixODBC in a
# directory of its own, from the templates beside this script: nothing is
# written to /etc or to the user's own files.
#
# Usage: register.sh CONFIG_DIR DRIVER_PATH DSN DATA_DIRECTORY
# Afterwards, point the driver manager at CONFIG_DIR:
#   export ODBCSYSINI=CONFIG_DIR ODBCINSTINI=odbcinst.ini ODBCINI=CONFIG_DIR/odbc.ini
set -euo pipefail
if [ $# -ne 4 ]; then
  echo "usage: $0 CONFIG_DIR DRIVER_PATH DSN DATA_DIRECTORY" >&2
  exit 2
fi
here=$(cd "$(dirname "$0")" && pwd)
config=$1 driver=$2 dsn=$3 data=$4
mkdir -p "$config"
: > "$config/odbcinst.ini"
: > "$config/odbc.ini"
export ODBCSYSINI=$config ODBCINSTINI=odbcinst.ini ODBCINI=$config/odbc.ini
sed "s|@DRIVER@|$driver|" "$here/odbcinst-template.ini" > "$config/driver-template.ini"
sed "s|@DSN@|$dsn|; s|@DIRECTORY@|$data|g" "$here/odbc-template.ini" > "$config/dsn-template.ini"
odbcinst -i -d -f "$config/driver-template.ini" > /dev/null
odbcinst -i -s -l -f "$config/dsn-template.ini" > /dev/null
