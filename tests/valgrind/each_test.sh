#!/usr/bin/env bash
# Runs each test of a GoogleTest program in a process of its own, as ctest does, under a checking tool.
# usage: each_test.sh PROGRAM FILTER TOOL [ARGUMENT]...
set -euo pipefail

program=$1 filter=$2
shift 2
log=$(mktemp)
trap 'rm -f "$log"' EXIT

status=0
tests=$("$program" --gtest_list_tests --gtest_filter="$filter" |
  awk '/^[^ ]/ { suite = $1 } /^ / { print suite $1 }')
[ -n "$tests" ] || { echo "$program has no tests that match '$filter'"; exit 1; }
for test in $tests; do
  "$@" "$program" --gtest_filter="$test" >"$log" 2>&1 || { cat "$log"; status=1; }
done
exit "$status"
