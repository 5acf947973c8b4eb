# vxtool codepage and convert: the application code page and conversions.
work=$(mktemp -d)
cat > "$work/odbc.ini" <<'INI'
[ODBC Data Sources]
tokyo = Vx Sample Driver
osaka = Vx Sample Driver

[tokyo]
Driver=Vx Sample Driver
IANAAppCodePage=2024

[osaka]
IANAAppCodePage = 2024

[ODBC]
AppCodePage=1252
INI
export ODBCINI="$work/odbc.ini" ODBCINSTINI="$work/odbcinst.ini"
say "A driver's application code page, as an IANA number. The connection string
wins: IACP stops the scan at once; AppCodePage is a legacy number mapped to IANA
(1252 is windows-1252, IANA 2252) and a later attribute may still replace it."
show "$VXTOOL" codepage app "DSN=tokyo;AppCodePage=1252;UID=scott"
show "$VXTOOL" codepage app "AppCodePage=1252;IACP=106"
say "Without one: the data source's IANAAppCodePage in odbc.ini (2024, Windows-31J),
else the [ODBC] section's entries (AppCodePage=1252 here), else 4. The files are
read once, when the library loads."
show "$VXTOOL" codepage app "DSN=tokyo;UID=scott"
show "$VXTOOL" codepage app "DSN=nowhere"
say "This small reader takes the blanks before \"=\" as part of the key, so osaka's
entry is not found and the [ODBC] section answers:"
show "$VXTOOL" codepage app "DSN=osaka"
say "IANA numbers name ICU converters; the tables also map IBM and Windows numbers:"
show "$VXTOOL" codepage name 2024
show "$VXTOOL" codepage map windows-to-iana 932
show "$VXTOOL" codepage map iana-to-ibm 2028

text='Grüße, 東京'
say "One text from UTF-8 to Shift_JIS, to EBCDIC (IBM037) and to UTF-16, shown in
hexadecimal, and back to UTF-8. Shift_JIS has no ü and ß, IBM037 no kanji: those
characters are replaced (by default silently)."
printf '%s' "$text" > "$work/in"
for target in Shift_JIS 2028 utf-16le; do
  printf '\n$ printf %%s %s | vxtool convert --from 106 --to %s | vxtool hex encode\n' "'$text'" "$target"
  "$VXTOOL" convert --from 106 --to "$target" < "$work/in" > "$work/out"
  "$VXTOOL" hex encode < "$work/out"
  printf '$ vxtool convert --from %s --to 106 < out\n%s\n' "$target" \
    "$("$VXTOOL" convert --from "$target" --to 106 < "$work/out")"
done
say "Asked for, a replacement is a warning (exit 0) or an error (exit 1), printed
with its SQLSTATE:"
for mode in warning error; do
  printf '\n$ vxtool convert --from 106 --to 2028 --substitution %s < text > out\n' "$mode"
  set +e
  "$VXTOOL" convert --from 106 --to 2028 --substitution "$mode" < "$work/in" > /dev/null 2> "$work/err"
  status=$?
  set -e
  cat "$work/err"
  printf '[exit %d]\n' "$status"
done
rm -rf "$work"
