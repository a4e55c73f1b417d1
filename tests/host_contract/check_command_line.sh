#!/usr/bin/env bash
# Checks how the kit's program responds to good and bad command lines.
# Usage: check_command_line.sh CHECK_PROGRAM
set -euo pipefail
check=$1

# STATUS ARGUMENT…: runs the program, and leaves its output in $printed and its errors in $errors.
run() {
  local status=0 expected=$1
  shift
  printed=$("$check" "$@" 2>"$errors_file") || status=$?
  errors=$(cat "$errors_file")
  [ "$status" -eq "$expected" ] || fail "status $status, not $expected, of: $*"
}
fail() {
  printf '%s\n' "$1" "printed: ${printed:-}" "errors: ${errors:-}" >&2
  exit 1
}
errors_file=$(mktemp)
trap 'rm -f "$errors_file"' EXIT

run 0 -h
run 0 --help
[[ $printed == Usage:* ]] || fail "--help prints no usage"

run 0 --list lists
[ "$(grep -c '^lists\.' <<<"$printed")" -eq 6 ] || fail "--list lists does not print six checks"
grep -q '^    .*\.$' <<<"$printed" || fail "--list does not say why the checks matter"

run 0 lists.ElementsComeInOrder
grep -qx '1 held, 0 broken (0 of them required), 0 not run' <<<"$printed" || fail "a check given by name was not run"

run 0 '*.AnUnknown*'
grep -qx '3 held, 0 broken (0 of them required), 0 not run' <<<"$printed" || fail "a pattern does not select three checks"

run 0 --here types.ANullNameIsTaken
grep -q '^1 held' <<<"$printed" || fail "--here did not run the check"

run 0 --seconds 5 objects
grep -qx 'not run: this host compiles nothing: its hooks write no source' <<<"$printed" ||
  fail "no reason is given for what is not run"

run 2 absent
[ "$errors" = "No check matches 'absent'; --list prints them all" ] || fail "wrong message for an unknown pattern"
run 2 --here lists
[ "$errors" = "--here runs one check, but 6 are selected" ] || fail "wrong message for --here with a room"
for seconds in 0 3601 x 5x ''; do
  run 2 --seconds "$seconds"
  [ "$errors" = "--seconds takes a number from 1 to 3600, not '$seconds'" ] || fail "wrong message for '$seconds'"
done
for words in --list --help lists; do
  ! "$check" "$words" >/dev/full 2>"$errors_file" || fail "$words succeeds although it cannot print"
  grep -q '^The report could not be printed: ' "$errors_file" || fail "$words does not report that it cannot print"
done
TMPDIR=/no/such/folder run 2 lists
[[ $errors == "The checks could not be run: Cannot make a folder for a check in TMPDIR, '/no/such/folder': "* ]] ||
  fail "the message does not name the wrong TMPDIR"
run 2 --absent
[[ $errors == *"unrecognized option '--absent'"* ]] || fail "wrong message for an unknown option"
