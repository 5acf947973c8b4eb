# vxtool itself: its version and the commands it knows.
say "vxtool reports its version and lists its commands:"
show "$VXTOOL" --version
show "$VXTOOL" help
