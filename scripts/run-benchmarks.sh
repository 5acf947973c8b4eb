#!/usr/bin/env bash
# Runs every benchmark program of a bench build once and prints its table.
# Usage: run-benchmarks.sh BUILD_DIR [BENCHMARK_FLAGS...]
set -euo pipefail
build=$1; shift
shopt -s nullglob
for program in "$build"/bench/*_bench; do
  echo "== $(basename "$program")"
  "$program" "$@"
done
