# vxtool like: SQL LIKE matching through strLike.
say "% matches any run of characters, _ exactly one; case and trailing blanks do not matter by default:"
show "$VXTOOL" like "Report_2024.TXT  " "report%.txt"
show "$VXTOOL" like "abc" "a_"
say "-c makes case matter (exit 1 on no match); -b makes trailing blanks count:"
show "$VXTOOL" like -c "ABC" "abc"
show "$VXTOOL" like -b "abc  " "abc"
say "There is no escape unless -e names one; then a\\% is a literal percent sign:"
show "$VXTOOL" like "a%c" 'a\%c'
show "$VXTOOL" like -e '\' "a%c" 'a\%c'
show "$VXTOOL" like -e '\' "abc" 'a\%c'
say "--batch answers one TEXT<TAB>PATTERN line at a time ($EXAMPLES/like/pairs.tsv, escape \\):"
paste "$EXAMPLES/like/pairs.tsv" <("$VXTOOL" like --batch -e '\' < "$EXAMPLES/like/pairs.tsv") | sed 's/^/  /'
