#!/usr/bin/env bash
# Counts the instructions of calls and of their floors in one run of callgrind, and compares the ratios with those that
# were recorded. What else the machine does has no part in such counts.
set -euo pipefail
export LC_ALL=C

usage="usage: $0 PROGRAM RATIOS [--record]"
program=${1:?$usage}
ratios=${2:?$usage}
most_percent=5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The C library chooses its string functions by the processor; these are what every processor of the family has.
GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX512VL,-AVX512BW,-ERMS,-FSRM,-BMI2,-MOVBE,-RTM,-SSE4_2,-SSE4_1,-SSSE3 \
  valgrind --tool=callgrind --callgrind-out-file="$work/counts" "$program" >"$work/log" 2>&1 ||
  { cat "$work/log" >&2; exit 1; }

# A dump for each count says which one it is and how many instructions it has: "NAME floor|call" and a number.
awk '/^desc: Trigger: Client Request:/ { name = $5; what = $6 }
  /^summary:/ { count[what, name] = $2; names[name] }
  END { for (name in names) printf "%s %.3f\n", name, count["call", name] / count["floor", name] }' \
  "$work"/counts.* | sort >"$work/ratios"

if [ "${3:-}" = --record ]; then
  cp "$work/ratios" "$ratios"
  exit
fi

join -a 1 -a 2 -e none -o 0,1.2,2.2 "$ratios" "$work/ratios" | awk -v most="$most_percent" '
  { change = $2 + 0 && $3 + 0 ? ($3 / $2 - 1) * 100 : 100
    printf "%-14s recorded %s  counted %s  %+.1f %%\n", $1, $2, $3, change
    if (change > most || change < -most) bad = 1 }
  END { exit bad }' || {
  echo "A ratio is off by more than $most_percent %. If that is meant: $0 $program $ratios --record" >&2
  exit 1
}
