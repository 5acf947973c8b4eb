#!/usr/bin/env bash
# vxtool sort against GNU sort on the same fixed-length records: 17-byte
# lines (16 characters of base64 text, so no byte is a line feed, and the
# line feed), sorted by their first 8 bytes. GNU sort runs with LC_ALL=C, -s (no last-resort comparison, like
# vxtool) and once with -S 4M (the 4 MB vxtool's sort holds) and once with
# its default memory. Prints the wall time of each and the ratios.
# Usage: sort_vs_gnu.sh VXTOOL MB [MB...]   (work files under $TMPDIR or /tmp)
set -euo pipefail
vxtool=$1; shift
work=$(mktemp -d "${TMPDIR:-/tmp}/vxsortbench.XXXXXX")
trap 'rm -rf "$work"' EXIT
export VX_TMPDIR="$work"

seconds() {  # wall seconds of a command, its output to /dev/null or a file
  local start end
  start=$(date +%s.%N)
  "$@"
  end=$(date +%s.%N)
  echo "$end - $start" | bc
}

printf '%-8s %10s %12s %12s %10s %10s\n' "MB" "vx s" "gnu -S4M s" "gnu dflt s" "vx/-S4M" "vx/dflt"
for mb in "$@"; do
  records=$((mb * 1024 * 1024 / 17))
  head -c $((records * 12)) /dev/urandom | base64 -w 16 > "$work/in"
  vx=$(seconds sh -c "'$vxtool' sort --record-length 17 --key 0:8 < '$work/in' > '$work/vx.out'")
  small=$(seconds sh -c "LC_ALL=C sort -s -k1.1,1.8 -S 4M -T '$work' '$work/in' > '$work/gnu.out'")
  cmp -s <(cut -c1-8 "$work/vx.out") <(cut -c1-8 "$work/gnu.out") || { echo "key orders differ" >&2; exit 1; }
  rm -f "$work/gnu.out"
  big=$(seconds sh -c "LC_ALL=C sort -s -k1.1,1.8 -T '$work' '$work/in' > /dev/null")
  printf '%-8s %10.2f %12.2f %12.2f %10.2f %10.2f\n' "$mb" "$vx" "$small" "$big" \
    "$(echo "$vx / $small" | bc -l)" "$(echo "$vx / $big" | bc -l)"
  rm -f "$work/in" "$work/vx.out"
done
