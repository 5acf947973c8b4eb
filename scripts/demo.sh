#!/usr/bin/env bash
# A guided tour of vxtool over the samples in examples/. Each section lives
# in examples/demo.d/NN-topic.sh and is run in order with $VXTOOL set.
# Usage: demo.sh BUILD_DIR
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-build}" && pwd)
export VXTOOL="$build/tools/vxtool/vxtool"
export EXAMPLES="$root/examples"
export VX_BUILD_DIR="$build"

# Shows a command, then runs it and prints its exit status.
show() {
  printf '\n$ %s\n' "$*"
  set +e
  "$@"
  local status=$?
  set -e
  printf '[exit %d]\n' "$status"
}
say() { printf '\n%s\n' "$*"; }
export -f show say

for section in "$root"/examples/demo.d/*.sh; do
  printf '\n==== %s ====\n' "$(basename "$section" .sh | sed 's/^[0-9]*-//')"
  bash "$section"
done
