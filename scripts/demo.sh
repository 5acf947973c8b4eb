#!/usr/bin/env bash
# A guided tour of vxtool over the samples in examples/. Each section lives
# in examples/demo.d/NN-topic.sh and is run in order with $VXTOOL set.
# Usage: demo.sh BUILD_DIR
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-build}" && pwd)
export VXTOOL="$build/tools/vxtool/vxtool"
export EXAMPLES="$root/examples"
export VX_INSTALL_DIR="$build"  # where the message catalog is

# Shows a command as a reader would type it ("vxtool" for the built tool,
# arguments quoted where the shell needs it), then runs it and prints its
# exit status.
quote() {
  case $1 in
    "$VXTOOL") printf 'vxtool' ;;
    '' | *[!A-Za-z0-9_./:=,+@%^-]*) printf "'%s'" "$(printf '%s' "$1" | sed "s/'/'\\\\''/g")" ;;
    *) printf '%s' "$1" ;;
  esac
}
show() {
  local line="" arg
  for arg in "$@"; do line+="${line:+ }$(quote "$arg")"; done
  printf '\n$ %s\n' "$line"
  set +e
  "$@"
  local status=$?
  set -e
  printf '[exit %d]\n' "$status"
}
say() { printf '\n%s\n' "$*"; }
export -f quote show say

for section in "$root"/examples/demo.d/*.sh; do
  printf '\n==== %s ====\n' "$(basename "$section" .sh | sed 's/^[0-9]*-//')"
  bash "$section"
done
