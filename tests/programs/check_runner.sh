#!/usr/bin/env bash
# Checks that the runner of programs fails, and says why, for each kind of wrong program.
# Usage: check_runner.sh ORVA_HOST
set -uo pipefail
host=$1
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# check NAME STATUS TEXT SOURCE [SECONDS]: the verdict on a program, and a text that the runner prints.
check() {
  local status
  mkdir "$work/$1"
  printf '%s\n' "$4" >"$work/$1/Main.ov"
  bash "$here/run_program.sh" "$host" "$work/$1" "${5:-60}" >"$work/$1.printed" 2>&1
  status=$?
  if [ "$status" -ne "$2" ] || ! grep -qxF -- "$3" "$work/$1.printed"; then
    echo "$1: expected status $2 and the line '$3', found status $status and:"
    cat "$work/$1.printed"
    failures=1
  fi
}

body='public class Main { public static void main() { Console.print("one"); } }'
check wrong_line 1 '+one' "// expect: two
$body"
check missing_line 1 '-two' "// expect: one
// expect: two
$body"
check unexpected_line 1 '+one' "// expect-status: 0
$body"
check wrong_blank 1 '-one ' "// expect: one 
$body"
check wrong_status 1 'expected exit status 1, found 0' "// expect: one
// expect-status: 1
$body"
check unexpected_error 1 '+E: x' '// expect-status: 1
public class Main { public static void main() { throw new E("x"); } }'
check missing_error 1 '-E: x' "// expect: one
// expect-error: E: x
$body"
check no_comments 1 "expected one file with '// expect' comments in $work/no_comments, found: " "$body"
check endless 1 'the program did not end within 1 seconds' '// expect: one
public class Main {
  static void twice(int depth) {
    try { Main.twice(depth + 1); } catch (Exception e) { }
    try { Main.twice(depth + 1); } catch (Exception e) { }
  }
  public static void main() { Console.print("one"); Main.twice(0); }
}' 1

mkdir "$work/failing_setup"
printf '// expect: one\n%s\n' "$body" >"$work/failing_setup/Main.ov"
echo 'echo no; false' >"$work/failing_setup/setup.sh"
printed=$(bash "$here/run_program.sh" "$host" "$work/failing_setup") && { echo "failing_setup passed"; failures=1; }
[ "$printed" = $'setup.sh failed:\nno' ] || { echo "failing_setup printed: $printed"; failures=1; }

mkdir "$work/right"
printf '// expect: one\n%s\n' "$body" >"$work/right/Main.ov"
printed=$(bash "$here/run_program.sh" "$host" "$work/right") || { echo "right failed"; failures=1; }
[ -z "$printed" ] || { echo "right printed: $printed"; failures=1; }
exit $failures
