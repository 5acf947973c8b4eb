# The message catalog: every error carries its English text, looked up by number.
say "A message's text, with its parameters filled in order:"
show "$VXTOOL" message 1509 odbc.ini
show "$VXTOOL" message 2705 17 "DSN=x;UID"
say "Error lines of vxtool show the same texts:"
show "$VXTOOL" number parse u8 300
say "The language comes from LC_MESSAGES or LANG; without a catalog of that language the en_US one answers (traced with VX_DEBUGGING=8):"
show env LANG=de_DE VX_DEBUGGING=8 "$VXTOOL" message 1503
say "A number without a text reads as the number itself:"
show "$VXTOOL" message 65000
