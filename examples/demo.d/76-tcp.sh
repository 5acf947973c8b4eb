# vxtool tcp: a request through the library's transports, and the trace of
# every byte that passed.
work=$(mktemp -d)
cd "$work"
# A one-connection server on a free loopback port: it reads the request to
# its end and answers it in capitals (or, with "silent", waits a second
# and closes without a word).
# Its port is written to the file "port".
serve() {
  perl -MIO::Socket::INET -e '
    my $s = IO::Socket::INET->new(LocalAddr => "127.0.0.1", LocalPort => 0, Listen => 1) or die;
    open(my $p, ">", "port.tmp") or die; print $p $s->sockport; close $p; rename "port.tmp", "port";
    my $c = $s->accept; local $/; my $request = <$c>;
    if ($ARGV[0] eq "silent") { sleep 1 } else { print $c uc $request }
    close $c;' "${1:-}" &
  while [ ! -s port ]; do sleep 0.05; done
  port=$(cat port)
  rm -f port
}

say "A small server on a loopback port answers each request in capitals. vxtool tcp
sends standard input through VxTCPIP, ends its sending side, and prints the answer;
--trace writes every transfer to the first free N.out in the current directory:"
serve
printf 'select * from orders' | show "$VXTOOL" tcp --trace "127.0.0.1,$port"
say "The trace: a heading, then rows of 8 bytes as hexadecimal, ASCII and EBCDIC
(bytes read as EBCDIC letters and digits show as such, the rest as dots):"
show cat 0.out
wait

say "Through VxPipe (the connection functions, pieces of 65,535 bytes) the trace
goes on to the next free number; VxPipe ends its reading headings with a carriage
return (shown as ^M), as its traces always have:"
serve
printf 'ok' | show "$VXTOOL" tcp --pipe --trace "127.0.0.1,$port"
show cat -A 1.out
wait

say "Failures print the library's record with its SQLSTATE; a server that does not
answer within --timeout milliseconds is a time-out:"
show "$VXTOOL" tcp "127.0.0.1,$port" </dev/null
show "$VXTOOL" tcp --pipe "db1" </dev/null
serve silent
printf 'hello?' | show "$VXTOOL" tcp --timeout 300 "127.0.0.1,$port"
wait
cd /
rm -rf "$work"
