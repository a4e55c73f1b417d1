#!/usr/bin/env bash
# Checks that the suppressions name the two unguarded values of the system class loader, that each is needed, and that
# both together suffice.
# Usage: check_suppressions.sh PROGRAM SUPPRESSIONS
set -euo pipefail

program=$1
suppressions=$2
options=${TSAN_OPTIONS:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$1" >&2
  cat "$work/report" >&2
  exit 1
}

# Runs the program with the suppressions on standard input, and prints in one line the values that are still reported.
reported() {
  cat >"$work/suppressions"
  TSAN_OPTIONS=$options:suppressions=$work/suppressions "$program" >"$work/report" 2>&1 || true
  sed -n "s/.*Location is global '\([^']*\)'.*/\1/p" "$work/report" | sort -u | paste -sd ' '
}

expect() {  # WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] || fail "$1: expected '$2', but found '$3'"
}

sys=orva_ClassLoader_getSystem::sys
metadata=orva_ClassLoader_getSystem::metadataLoaded
expect "the file" "race:^$metadata\$ race:^$sys\$" "$(grep -v '^#' "$suppressions" | sort | paste -sd ' ')"
expect "without suppressions" "$metadata $sys" "$(reported </dev/null)"
expect "without the first" "$metadata" "$(grep -v metadataLoaded "$suppressions" | reported)"
expect "without the second" "$sys" "$(grep -v '::sys' "$suppressions" | reported)"
expect "with both" "" "$(reported <"$suppressions")"
! grep -q ThreadSanitizer "$work/report" || fail "with both, there is still a report"
