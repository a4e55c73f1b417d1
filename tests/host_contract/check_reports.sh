#!/usr/bin/env bash
# Checks what the kit reports about hosts that do not start, that hang, or that meet only what is required.
# Usage: check_reports.sh CHECK_FAULTY_HOST
set -euo pipefail
check=$1

# STATUS FAULT ARGUMENT…: runs the kit on the host with a fault, and leaves its output in $report.
run() {
  local status=0
  report=$("$check" "${@:2}" 2>&1) || status=$?
  [ "$status" -eq "$1" ] || fail "status $status, not $1, of: ${*:2}"
}
fail() {
  printf '%s\n' "$1" "${report:-}" >&2
  exit 1
}
must_say() { grep -qxF -- "$1" <<<"$report" || fail "the report lacks: $1"; }

total=$("$check" none --list | grep -c '^[^ ]')
declare -A starts=(
  ["by an exception"]="it threw a std::exception: no licence"
  ["by a crash"]="the host was ended by signal 6 (Aborted) in the hook start"
  ["by waiting"]="not done after 1 s; the hook start has not returned")
for way in "${!starts[@]}"; do
  run 1 "the hook start, $way" --seconds 1
  must_say 'BROKEN   required  the hook start'
  must_say "    seen: ${starts[$way]}"
  must_say "0 held, 1 broken (1 of them required), $((total - 1)) not run"
  must_say 'not run: no other check can be run until that is fixed'
done

run 1 "the hook attachThread, by an exception" sources.LookUpsAndLoadsRunAtOnce
must_say '    seen: the host threw a std::exception: no thread'

run 1 "look-ups and lists wait" --seconds 4
must_say '    seen: not done after 4 s; orva_ClassLoader_getSystem has not returned'
must_say '    seen: not done after 1 s; Orva_typeByName has not returned'
must_say '    seen: not done after 1 s; orva_collections_ArrayList_size has not returned'
[ "$(grep -c 'not done after' <<<"$report")" -eq 4 ] || fail "the report must name four checks that hang"
must_say 'not run: two checks of types hung'
must_say 'not run: four checks hung'

run 0 types.OneNameGivesOneObject types
must_say '7 held, 1 broken (0 of them required), 0 not run'
run 1 types.OneNameGivesOneObject --strict types
must_say '7 held, 1 broken (0 of them required), 0 not run'
run 0 none --strict types
