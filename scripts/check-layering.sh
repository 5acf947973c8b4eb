#!/usr/bin/env bash
# Checks that the library's folders include each other only in the
# documented direction (docs/ARCHITECTURE.md explains the layers; the two
# tables below are the one place that states them).
#
# Every #include "folder/..." (or <folder/...>) in a library folder is
# allowed when it names the includer's own folder, a folder the includer
# builds on (directly, or through the folders those build on), or when the
# pair of includer folder and header is on the exception list. Anything
# else is printed as file:line and the include, and the script exits 1. An
# exception that no longer occurs anywhere fails too, so the list stays
# the true list. A relative include ("../...") in library code fails, since
# it would slip past the check. tools/ may include anything and is not
# scanned, nor are tests/, fuzz/, bench/ and examples/.
#
# Usage: scripts/check-layering.sh   (from anywhere; checks the tree the
# script lives in)
set -euo pipefail
cd "$(dirname "$0")/.."

# The layers. Each line: a folder, then the folders it builds on. Folders
# not created yet (charset, net, xml) are listed with the place they are
# meant to take, so that their first includes are checked too.
LAYERS='
foundation
values      foundation
containers  foundation values
bos         foundation containers
parser      foundation containers
storage     foundation containers bos
config      foundation values containers bos parser
charset     foundation containers config
net         foundation bos charset
xml         foundation charset storage
'

# Includes that run against the layers on purpose. Each line: the
# includer's folder, the header it may include, and why.
EXCEPTIONS='
foundation  bos/mds.h               the current error list and the trace switch live in per-thread and per-task slots
foundation  bos/mdsint.h            the initialisation count and the atomic exchanges use the named slots and the exchange locks
foundation  bos/boslstr.h           message numbers become texts through the message catalog
foundation  bos/bosenv.h            the trace switch is read from the environment at load
foundation  containers/vxlist.h     an error record is a list node
foundation  containers/vxparams.h   an error record carries its message as a parameter string
foundation  containers/vxsorted.h   the error list is a sorted array of records
foundation  containers/vxstring.h   error records and lists print themselves into strings
containers  storage/sort.h          the sorted arrays re-sort through the library'"'"'s one in-memory sort
containers  storage/vxtmpfil.h      the B-tree keeps its nodes in a temporary store so that it can outgrow memory
'

folders=()
for folder in foundation containers bos config parser storage charset net values xml; do
  [ -d "$folder" ] && folders+=("$folder")
done
mapfile -t sources < <(find "${folders[@]}" -type f \
  \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' -o -name '*.cc' -o -name '*.inc' \) | sort)

awk -v layers="$LAYERS" -v exceptions="$EXCEPTIONS" '
  function split_lines(text, out,    n) { n = split(text, out, "\n"); return n }
  BEGIN {
    n = split_lines(layers, lines)
    for (i = 1; i <= n; i++) {
      k = split(lines[i], f, " ")
      if (k == 0) continue
      known[f[1]] = 1
      for (j = 2; j <= k; j++) allowed[f[1], f[j]] = 1
    }
    # Close the relation: a folder may include what the folders it builds
    # on may include.
    changed = 1
    while (changed) {
      changed = 0
      for (a in known) for (b in known) if ((a, b) in allowed)
        for (c in known) if (((b, c) in allowed) && !((a, c) in allowed)) {
          allowed[a, c] = 1; changed = 1
        }
    }
    n = split_lines(exceptions, lines)
    for (i = 1; i <= n; i++) {
      k = split(lines[i], f, " ")
      if (k < 2) continue
      excepted[f[1], f[2]] = 1
      used[f[1], f[2]] = 0
    }
    status = 0
  }
  {
    split(FILENAME, parts, "/")
    from = parts[1]
    if (!(from in known)) next
    if ($0 !~ /^[ \t]*#[ \t]*include[ \t]*["<]/) next
    header = $0
    sub(/^[ \t]*#[ \t]*include[ \t]*["<]/, "", header)
    sub(/[">].*$/, "", header)
    if (header ~ /(^|\/)\.\.\//) {
      printf "%s:%d: %s (relative include in library code)\n", FILENAME, FNR, $0
      status = 1
      next
    }
    if (header !~ /\//) next
    to = header
    sub(/\/.*$/, "", to)
    if (!(to in known) || to == from || ((from, to) in allowed)) next
    if ((from, header) in excepted) { used[from, header] = 1; next }
    printf "%s:%d: %s (%s does not build on %s)\n", FILENAME, FNR, $0, from, to
    status = 1
  }
  END {
    for (key in used) if (!used[key]) {
      split(key, f, SUBSEP)
      printf "scripts/check-layering.sh: exception %s -> %s no longer occurs; remove it\n", f[1], f[2]
      status = 1
    }
    exit status
  }
' "${sources[@]}"
