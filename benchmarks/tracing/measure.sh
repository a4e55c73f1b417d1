#!/usr/bin/env bash
# Prints what the recorder adds to an event, to a registry call that it only counts, and to a load from source. Each row
# has the cost without the recorder, the cost with it, the difference and its limit.
# Usage: measure.sh FOLDER-OF-THE-RECORDER COSTS [LOADS]
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
traced=(env "LD_AUDIT=$1/liborva-trace-audit.so" "LD_PRELOAD=$1/liborva-trace-recorder.so" "ORVA_TRACE_FOLDER=$work")
"$2" >"$work/without"
"${traced[@]}" "$2" >"$work/with"
compgen -G "$work/*.events" >/dev/null || { echo "measure.sh: $1 recorded nothing" >&2; exit 1; }
paste "$work/without" <(cut -f2 "$work/with") |
  awk -F'\t' '{ printf "%-28s %8.1f %8.1f %8.1f ns, at most %d\n", $1, $2, $3, $3 - $2, $1 == "event" ? 120 : 15 }'

# Alternates, so that whatever disturbs the machine disturbs both.
[[ -n ${3:-} ]] || exit 0
rm "$work/with" "$work/without"
for _ in {1..7}; do
  "$3" >>"$work/without"
  "${traced[@]}" "$3" >>"$work/with"
done
median() { sort -n "$1" | sed -n 4p; }
awk -v without="$(median "$work/without")" -v with="$(median "$work/with")" 'BEGIN {
  printf "%-28s %8.0f %8.0f %+8.1f %%, at most 10\n", "load from source, ns", without, with, (with / without - 1) * 100 }'
