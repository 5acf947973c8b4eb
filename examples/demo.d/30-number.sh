# Integers to and from decimal text, with range checks and fixed-width fields.
say "Text to number: blanks and plus signs in front are skipped, the type's range is checked:"
show "$VXTOOL" number parse u64 " + 18446744073709551615 "
show "$VXTOOL" number parse u64 18446744073709551616
show "$VXTOOL" number parse i16 42x
say "Intended oddities: a text without digits is 0; the 32-bit signed form refuses its most negative value and lets a second minus cancel the first:"
show "$VXTOOL" number parse u32 ""
show "$VXTOOL" number parse i32 -2147483648
show "$VXTOOL" number parse i32 --5
say "Number to text: the plain form, then fixed-width fields ([field] and the digit count):"
show "$VXTOOL" number format -9223372036854775808
show "$VXTOOL" number format -w 5 123
show "$VXTOOL" number format -w 5 -l 123
show "$VXTOOL" number format -w 5 -12
say "A value too long for its field becomes stars; 0 leaves the field blank:"
show "$VXTOOL" number format -w 3 1234
show "$VXTOOL" number format -w 6 0
