#!/usr/bin/env bash
# Runs ./dev in a copy of the project in which the tools that build and test only log their arguments.
# Usage: check_words.sh PROJECT
set -euo pipefail
project=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir tools
cp "$project/dev" .

tool() { printf '#!/bin/sh\necho "%s $*" >>"%s/called"\n%s\n' "$1" "$work" "$2" >"tools/$1" && chmod +x "tools/$1"; }
fail() { echo "check_words.sh: $*" >&2; exit 1; }

tool dpkg-query 'echo install ok installed'
# shellcheck disable=SC2016  # the tool expands these
tool ctest 'case "$*" in *--list-presets*) printf "  \"%s\" - X\n" dev asan ;; esac
while [ $# -gt 0 ]; do
  [ "$1" = -N ] && echo "Total Tests: $(cat selected)"
  [ "$1" = --output-junit ] && mkdir -p "${2%/*}" && printf "<testsuite\n\ttests=\"3\" failures=\"0\" disabled=\"0\" skipped=\"1\">" >"$2"
  shift
done'
help_of_targets='case "$*" in *help*) printf "suite-%s: phony\n" browser contract docs; exit ;; esac'
tool cmake "$help_of_targets"
export PATH=$work/tools:$PATH

dev() {  # STATUS WORD…
  local status=0
  rm -f called
  ./dev "${@:2}" >printed 2>errors || status=$?
  [ "$status" -eq "$1" ] || fail "./dev ${*:2} ended with $status, expected $1: $(cat printed errors)"
}
expect() { grep -qxF -- "$2" "$1" || fail "expected '$2' in: $(cat "$1")"; }  # FILE LINE

echo 3 >selected
dev 0 test contract docs
expect called 'cmake --build --preset dev --target suite-contract suite-docs'
grep -q '^ctest --preset dev -R ^(contract|docs)\\\. ' called || fail "the wrong tests are run: $(cat called)"
expect printed '2 passed, 0 failed, 1 skipped'
expect errors 'Building …'

! grep -q '^dpkg-query .* chromium$' called || fail "a browser is required: $(cat called)"
dev 0 test browser docs
grep -q '^dpkg-query .* chromium$' called || fail "no browser is required: $(cat called)"

dev 0 test asan contract
expect called 'cmake --build --preset asan --target suite-contract'
dev 0 test
expect called 'cmake --build --preset dev'
grep -q '^ctest --preset dev -E ^(linking|packaging|browser|traced)\\\. ' called ||
  fail "the wrong tests are run: $(cat called)"
dev 0 test asan
! grep -qE -- ' -(R|E) ' called || fail "a pattern leaves tests out: $(cat called)"

echo 0 >selected
dev 2 test asan docs
expect errors "./dev test: preset 'asan' leaves out docs"
echo 3 >selected

dev 2 test contract nosuch
expect errors "./dev test: unknown suite or preset 'nosuch'"
expect errors 'suites of dev: browser contract docs'
expect errors 'presets: dev asan'
dev 2 test contract asan
expect errors "./dev test: name one preset, before the suites, not 'asan'"
dev 2 test --all contract
expect errors "./dev test: expected nothing more, not '--all contract'"
dev 2 lint docs
expect errors "./dev lint: expected nothing more, not 'docs'"
dev 2 nosuch
expect errors "./dev: unknown word 'nosuch'"

tool cmake "$help_of_targets; echo '[1/2] Building a'; echo 'a.cpp:1: error'; exit 3"
dev 3 test contract
expect errors 'a.cpp:1: error'
! grep '^\[1/2\]' errors || fail "the error is buried among the steps of ninja"

# On a terminal, one line shows each step in turn.
tool cmake "$help_of_targets; echo '[1/2] Building a'"
script -qec './dev test contract' /dev/null >printed || fail "./dev fails on a terminal: $(cat printed)"
grep -qF $'\r\e[KBuilding: [1/2] Building a' printed || fail "no step is shown on a terminal: $(cat -v printed)"

! compgen -G 'build/log.*' >&2 || fail "logs are left behind"

# Nearly every word fails here, because there is nothing but the script, but each must have a line.
dev 1 all
rows=()
eval "$(grep -E '^(building_suites|rows)\+?=' dev)"
./dev | awk '$2 != "test" && $2 != "all" { print $2 }' | sort -u | cat - <(printf 'test %s\n' "${rows[@]}") >expected
mapfile -t lines <expected
for words in "${lines[@]}"; do
  grep -qE "^(passed|FAILED) +[0-9]+ s  $words( |$)" printed || fail "no line reports ./dev $words: $(cat printed)"
done
