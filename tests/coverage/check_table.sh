#!/usr/bin/env bash
# Checks the coverage table (its sums, its rounding, and that it fails when a target is missed) and the list of what the
# tests do not reach.
# Usage: check_table.sh
set -euo pipefail
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# report FILE LINES MISSED BRANCHES MISSED CONDITIONS MISSED: one line of a report.
report() { printf '%s 4 0 100.00%% %s %s 0%% %s %s 0%% %s %s 0%%\n' "$@"; }

# check NAME STATUS LINE: makes the table of the two reports; expects the status, and the line in what is printed.
check() {
  local status=0
  awk -f "$here/table.awk" part=library "$work/library" part=host "$work/host" >"$work/table" 2>&1 || status=$?
  if [ "$status" -ne "$2" ] || ! grep -qxF -- "$3" "$work/table"; then
    printf '%s: expected status %s and the line <%s>, found status %s and:\n' "$1" "$2" "$3" "$status"
    cat "$work/table"
    failures=1
  fi
}

heading='Filename Functions Missed Functions Executed Lines Missed Lines Cover Branches Missed Branches Cover'
library() { { echo "$heading"; report "$@"; report TOTAL 9 9 9 9 9 9; } >"$work/library"; }
host() {
  { report compiler/a.cpp "$@"; report compiler/b.cpp 10 0 10 0 0 0; report runtime/c.h 80 0 90 0 4 4; } >"$work/host"
}
share() { printf '%-40s%19s%19s%19s%19s' "$@"; }

library classloader/a.cpp 20 0 10 0 4 0
host 10 5 20 15 2 1
check everything 0 "$(share classloader/a.cpp '100.00 % of 20' '100.00 % of 4' '100.00 % of 10' '100.00 % of 4')"
check rooms 0 "$(share reference_host/compiler '75.00 % of 20' '100.00 % of 8' '50.00 % of 30' '50.00 % of 2')"
check sums 0 "$(share 'the whole host' '95.00 % of 100' '100.00 % of 12' '87.50 % of 120' '16.66 % of 6')"

library classloader/a.cpp 20000 1 10 0 4 0
check line 1 'The tests must reach 100 % of the lines of the library, and miss 1 of 20000 in: classloader/a.cpp'
check rounding 1 "$(share classloader/a.cpp '99.99 % of 20000' '100.00 % of 4' '100.00 % of 10' '100.00 % of 4')"
library classloader/a.cpp 20 0 10 1 4 0
check branch 1 'The tests must reach 100 % of the branches of the library, and miss 1 of 10 in: classloader/a.cpp'
library classloader/a.cpp 20 0 10 0 4 1
check condition 1 'The tests must reach 100 % of the conditions of the library, and miss 1 of 4 in: classloader/a.cpp'

library classloader/a.cpp 20 0 10 0 4 0
host 10 6 20 0 2 1
check lines 1 'The tests must reach 95 % of the lines of the host, and miss 6 of 100 in: reference_host/compiler'
host 10 0 20 19 2 1
check branches 1 'The tests must reach 85 % of the branches of the host, and miss 19 of 120 in: reference_host/compiler'
: >"$work/host"
check nothing_measured 1 'The tests must reach 95 % of the lines of the host, and miss 0 of 0 in:'

cat >"$work/shown" <<'SHOWN'
/a/x.cpp:
   10|      0|  never();
   11|  1.5k|  if (a || b) c();
  ------------------
  |  Branch (11:7): [True: 0, False: 1.5k]
  |  Branch (11:12): [True: 30, False: 0]
  ------------------
  |  Branch (11:7): [True: 20, False: 0]
  ------------------
   12|      0|  }
   13|     10|  always();
SHOWN
found=$(awk -f "$here/unreached.awk" "$work/shown")
if [ "$found" != $'/a/x.cpp:10: never();\n/a/x.cpp:11:12: never false: if (a || b) c();' ]; then
  printf 'unreached places: found <%s>\n' "$found"
  failures=1
fi
exit $failures
