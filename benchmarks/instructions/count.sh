#!/usr/bin/env bash
# Counts the instructions of calls and of their floors in one run of callgrind, and compares the ratios with the
# recorded ones. Other load on the machine does not change such counts.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=counts.sh
source "$(dirname "$0")/counts.sh"

usage="usage: $0 PROGRAM RATIOS [--record]"
program=${1:?$usage}
ratios=${2:?$usage}
most_percent=5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

count_calls "$program" "$work/counts" >"$work/numbers"
awk '{ count[$1, $2] = $3; names[$2] }
  END { for (name in names) printf "%s %.3f\n", name, count["call", name] / count["floor", name] }' \
  "$work/numbers" | sort >"$work/ratios"

if [ "${3:-}" = --record ]; then
  cp "$work/ratios" "$ratios"
  exit
fi

join -a 1 -a 2 -e none -o 0,1.2,2.2 "$ratios" "$work/ratios" | awk -v most="$most_percent" '
  { change = $2 + 0 && $3 + 0 ? ($3 / $2 - 1) * 100 : 100
    printf "%-14s recorded %s  counted %s  %+.1f %%\n", $1, $2, $3, change
    if (change > most || change < -most) bad = 1 }
  END { exit bad }' || {
  echo "A ratio is off by more than $most_percent %. If that is intended: $0 $program $ratios --record" >&2
  exit 1
}
