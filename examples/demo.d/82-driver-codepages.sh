# The CSV driver's code pages and its call trace. A table stored in
# windows-1252 (IANA 2252) is read through a connection string that names
# the code page: the narrow calls isql makes then carry windows-1252 too,
# which iconv turns into this terminal's UTF-8.
driver="$VX_INSTALL_DIR/drivers/csv/libvxcsv.so"
data=$(mktemp -d)
printf 'city VARCHAR(20),note VARCHAR(20)\nK\xf6ln,\x80 5\nM\xe1laga,\x93quoted\x94\n' > "$data/cities.csv"
say "A windows-1252 table (its bytes shown by od), read with IANAAppCodePage=2252:"
show od -c "$data/cities.csv"
connection="DRIVER={$driver};DIRECTORY=$data;IANAAppCodePage=2252"
show sh -c 'echo "SELECT city, note FROM cities" | isql -b -k "$1" | iconv -f WINDOWS-1252 -t UTF-8' isql "$connection"
say "With bit 0x1000 of VX_DEBUGGING every entry point prints its name and return code:"
show sh -c 'echo "SELECT city FROM cities LIMIT 1" | VX_DEBUGGING=1000 isql -b -k "$1" | grep "^vxcsv:" | head -9' isql "$connection"
rm -rf "$data"
