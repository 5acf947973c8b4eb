#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build for a bounded time each,
# starting from the seeds in fuzz/corpus/<target>/ when there are any.
# Usage: run-fuzzers.sh BUILD_DIR SECONDS
set -euo pipefail
build=$1
seconds=$2
root=$(cd "$(dirname "$0")/.." && pwd)
status=0
shopt -s nullglob
for target in "$build"/fuzz/*_fuzz; do
  name=$(basename "$target")
  work=$(mktemp -d)
  seeds=()
  [ -d "$root/fuzz/corpus/$name" ] && seeds=("$root/fuzz/corpus/$name")
  echo "== $name (${seconds}s)"
  if ! "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -print_final_stats=0 \
        -artifact_prefix="$work/" "$work" "${seeds[@]}" > "$work/log" 2>&1; then
    tail -n 40 "$work/log"
    echo "FAILED: $name (artifacts in $work)"
    status=1
  else
    grep -E '^Done|#[0-9]+.*DONE' "$work/log" | tail -n 1 || true
    rm -rf "$work"
  fi
done
exit $status
