# Which file the library opens: configuration-file redirection and the file
# search along directory lists.
W="$EXAMPLES/where"
# Start from an environment without any of the variables the file layer
# reads, with the sample home directory as $HOME.
unset ODBCINI ODBC_INI ODBCINST ODBCINSTINI VXLIB_INI VX_SYSTEM_INI VX VXLIB LD_LIBRARY_PATH \
      LD_RUN_PATH VX_DEBUGGING
export HOME="$W/home"
say "HOME=$HOME"
say "odbc.ini and .odbc.ini (any case) are looked for in \$HOME under the name given, and must exist:"
show "$VXTOOL" where .odbc.ini
show "$VXTOOL" where odbc.ini
say "ODBCINI (else ODBC_INI) beats the home file outright, even when it names a missing file:"
show env ODBC_INI="$W/elsewhere/odbc.ini" "$VXTOOL" where .odbc.ini
show env ODBCINI="$W/elsewhere/missing.ini" ODBC_INI="$W/elsewhere/odbc.ini" "$VXTOOL" where .odbc.ini
say "Intended opposite precedence: for .vxlib.ini the home file beats VXLIB_INI, which is used only without one:"
show env VXLIB_INI="$W/elsewhere/vxlib.ini" "$VXTOOL" where .vxlib.ini
show env VX_SYSTEM_INI="$W/elsewhere/system.ini" "$VXTOOL" where .system.defaults
say "Only the exact case .vxlib.ini is recognised; other names are left as given:"
show "$VXTOOL" where .VXLIB.INI
say "VX_DEBUGGING=1 traces the redirection (the mask is read when the library loads):"
show env VX_DEBUGGING=1 ODBCINI="$W/elsewhere/odbc.ini" "$VXTOOL" where odbc.ini
say "locate searches the directories of a search set; 0x8 also tries the parent of each library directory:"
show env LD_LIBRARY_PATH="$W/lib/bin" VX_DEBUGGING=2 "$VXTOOL" locate -s 0x8 libsample.so
show "$VXTOOL" locate -s 0x2 .vxlib.ini
show "$VXTOOL" locate -s 0x1 no-such-file.cfg
