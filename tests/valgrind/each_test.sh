#!/usr/bin/env bash
# Runs each test of a GoogleTest program in a separate process under a checking tool, as many at once as there are
# processors.
# Usage: each_test.sh PROGRAM FILTER TOOL [ARGUMENT]...
set -euo pipefail

program=$1 filter=$2
shift 2

tests=$("$program" --gtest_list_tests --gtest_filter="$filter" |
  awk '/^[^ ]/ { suite = $1 } /^ / { print suite $1 }')
[ -n "$tests" ] || { echo "$program has no tests that match '$filter'"; exit 1; }

run() {  # TEST TOOL [ARGUMENT]...
  local output
  output=$("${@:2}" "$program" --gtest_filter="$1" 2>&1) || { echo "$output"; exit 1; }
}
export -f run
export program
# shellcheck disable=SC2016
xargs -P "$(nproc)" -I{} bash -c 'run "$@"' run {} "$@" <<<"$tests"
