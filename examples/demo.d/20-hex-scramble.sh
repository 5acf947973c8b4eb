# Hexadecimal encoding and decoding, and the scrambling routine.
cd "$EXAMPLES/hex-scramble"
vxtool() { "$VXTOOL" "$@"; }
# Shows a shell line (with its redirections and pipes) as written, runs it
# and prints the exit status of its last command.
line() {
  printf '\n$ %s\n' "$1"
  eval "$1"
  printf '[exit %d]\n' "$?"
}

say "hex encode turns any bytes into upper-case digits, here a two-line settings file:"
line 'vxtool hex encode < settings.txt'

say "hex decode reads digits in either case and ignores one trailing newline:"
line 'cat greeting.hex'
line 'vxtool hex decode < greeting.hex'

say "An odd number of digits leaves the last one in the high nibble of one more byte:"
line 'printf ABC | vxtool hex decode | od -An -tx1'

say "A character that is not a hexadecimal digit is error 2708, exit status 1:"
line 'vxtool hex decode < bad.hex'

say "Scrambling method 2 complements every byte but keeps line feeds, so the lines survive:"
line 'vxtool scramble --method 2 encrypt < settings.txt | od -An -c'

say "Method 3 is keyed; decrypt with the same key restores the text, another key does not:"
line 'vxtool scramble --method 3 --key s3cret encrypt < settings.txt | vxtool hex encode'
line 'vxtool scramble --method 3 --key s3cret encrypt < settings.txt | vxtool scramble --method 3 --key s3cret decrypt'
line 'vxtool scramble --method 3 --key s3cret encrypt < settings.txt | vxtool scramble --method 3 --key other decrypt | vxtool hex encode'
