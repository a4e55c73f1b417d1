#!/usr/bin/env bash
# Prints what the recorder adds to an event, to a registry call that it only counts, and to a load from source: rows of
# cells, separated by tabs, each with the cost without the recorder, the cost with it, the difference, its limit, and
# whether that is met.
# Usage: measure.sh FOLDER-OF-THE-RECORDER COSTS [LOADS]
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
traced=(env "LD_AUDIT=$1/liborva-trace-audit.so" "LD_PRELOAD=$1/liborva-trace-recorder.so" "ORVA_TRACE_FOLDER=$work")

# Alternates, so that other load on the machine affects both.
for _ in {1..7}; do
  for program in "${@:2}"; do
    "$program" >>"$work/without"
    "${traced[@]}" "$program" >>"$work/with"
  done
  compgen -G "$work/*.events" >/dev/null || { echo "measure.sh: $1 recorded nothing" >&2; exit 1; }
  rm "$work"/*.events
done

# The medians of a row, by its name.
median() {  # FILE NAME
  awk -F'\t' -v name="$2" '$1 == name { print $2 }' "$1" | sort -g | sed -n 4p
}
cut -f1 "$work/with" | awk '!seen[$0]++' | while IFS= read -r name; do
  printf '%s\t%s\t%s\n' "$name" "$(median "$work/without" "$name")" "$(median "$work/with" "$name")"
done | awk -F'\t' '
  function time(ns) {
    return ns < 999.5 ? sprintf("%.3g ns", ns) : ns < 999500 ? sprintf("%.3g µs", ns / 1e3) : sprintf("%.3g ms", ns / 1e6)
  }
  function row(added, unit, most) {
    printf "%s\t%s\t%s\t%.3g %s\t%d %s\t%s\n", $1, time($2), time($3), added, unit, most, unit,
      added <= most ? "met" : "missed"
  }
  /load/ { row(($3 / $2 - 1) * 100, "%", 10); next }
  { row($3 - $2, "ns", /event/ ? 120 : 15) }'
