# Profiles: odbc.ini and odbcinst.ini read and changed through vxtool, with
# unixODBC's own odbcinst showing the same data source.
work=$(mktemp -d)
cp "$EXAMPLES/odbc.ini" "$EXAMPLES/odbcinst.ini" "$work/"
cd "$work"
export HOME="$work" ODBCINI="$work/odbc.ini" ODBCINSTINI="$work/odbcinst.ini"
vxtool() { "$VXTOOL" "$@"; }
line() {
  printf '\n$ %s\n' "$1"
  eval "$1"
  printf '[exit %d]\n' "$?"
}

say "A copy of the sample odbc.ini, which ODBCINI names (odbcinst.ini likewise through ODBCINSTINI):"
line 'cat odbc.ini'

say "A driver names the file \"odbc.ini\"; the environment decides which file that is:"
line 'vxtool profile get odbc.ini sales Server'
line 'vxtool profile get odbc.ini sales'
line 'vxtool profile get --default "(none)" odbc.ini sales UID'
line 'vxtool profile get odbcinst.ini "Vx Sample Driver" Driver'

say "unixODBC reads the same data source from the same file:"
line 'odbcinst -q -s -n sales'
say "(unixODBC takes ODBCINSTINI as a name inside the ODBCSYSINI directory):"
line 'ODBCSYSINI=$PWD ODBCINSTINI=odbcinst.ini odbcinst -q -d -n "Vx Sample Driver"'

say "Changing the data source: set adds or replaces a key, delete removes one:"
line 'vxtool profile set odbc.ini sales UID alice'
line 'vxtool profile set odbc.ini sales Port 6000'
line 'vxtool profile delete odbc.ini sales Description'
line 'cat odbc.ini'

say "unixODBC sees the changes:"
line 'odbcinst -q -s -n sales'

say "The installation directory comes from InstallDir of section ODBC, trailing blank and slash removed:"
line 'vxtool installdir'

say "A file that cannot be opened: reads give the default, writes report the error:"
line 'ODBCINI=$PWD/missing.ini vxtool profile get --default fallback odbc.ini sales Server'
line 'ODBCINI=$PWD/missing.ini vxtool profile set odbc.ini sales UID bob 2>&1'

cd / && rm -rf "$work"
