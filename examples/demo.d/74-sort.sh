# vxtool sort: fixed-length records sorted by VxSort, spilling to a
# temporary file when they do not fit its memory.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export VX_TMPDIR="$work"

say "Six 8-byte records (a 5-byte name, a 2-digit number, a line feed) sorted by the name:"
printf 'pear 01\nfig  02\napple03\nfig  04\nkiwi 05\nbean 06\n' > "$work/small"
show "$VXTOOL" sort --record-length 8 --key 0:5 < "$work/small"
say "The same, the key descending:"
show "$VXTOOL" sort --record-length 8 --key 0:5:desc < "$work/small"
say "An input whose length is not a multiple of the record length is refused:"
printf 'abcdefghij' > "$work/ragged"
show "$VXTOOL" sort --record-length 8 < "$work/ragged"

say "24 MB of 16-byte records (an 8-letter key, a number, a line feed), six times the sort's 4 MB of memory: it writes sorted runs to a temporary file and merges them; --stats counts them on standard error."
awk 'BEGIN { srand(74); for (i = 0; i < 1572864; i++) {
  k = ""; for (j = 0; j < 8; j++) k = k sprintf("%c", 97 + int(rand() * 26));
  printf "%s%07d\n", k, i } }' > "$work/big"
printf '\n$ vxtool sort --record-length 16 --key 0:8 --stats < big > sorted\n'
"$VXTOOL" sort --record-length 16 --key 0:8 --stats < "$work/big" > "$work/sorted"
printf '[exit %d]\n' "$?"
say "The first and last two records:"
head -n 2 "$work/sorted"
tail -n 2 "$work/sorted"
if cut -c1-8 "$work/sorted" | cmp -s - <(LC_ALL=C sort -k1.1,1.8 "$work/big" | cut -c1-8); then
  say "GNU sort (LC_ALL=C) gives the same key order."
else
  say "GNU sort (LC_ALL=C) gives a DIFFERENT key order."
fi
