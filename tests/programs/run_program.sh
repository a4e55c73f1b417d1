#!/usr/bin/env bash
# Runs the language program in a folder and compares everything it prints, and its exit status, with its comments.
# Usage: run_program.sh ORVA_HOST FOLDER [SECONDS]
#
# The program is the file of the folder with `// expect` comments:
#   // expect: LINE          the next line of standard output
#   // expect-error: LINE    the next line of standard error
#   // expect-status: N      the exit status, 0 when it is not given
#   // arguments: WORDS      what follows `run FILE` on the command line, split as a shell would; may be repeated for
#                            further runs of the same program, whose output follows that of the first
# A script `setup.sh` of the folder runs first, in the copy, with the path of the host in ORVA_HOST.
set -uo pipefail
host=$(realpath "$1") folder=$(realpath "$2") limit=${3:-60}

work=$(mktemp -d)
trap 'chmod -R u+rwx "$work"; rm -rf "$work"' EXIT
cp -r "$folder/." "$work/copy" && cd "$work/copy" || exit 1
program=$(grep -lE '^ *// expect(-error|-status)?:' ./*.ov)
if [ "$(wc -l <<<"$program")" -ne 1 ] || [ -z "$program" ]; then
  echo "expected one file with '// expect' comments in $folder, found: $program"
  exit 1
fi
program=${program#./}

comments() { sed -n "s|^ *// $1:\( \(.*\)\)\{0,1\}\$|\2|p" "$program"; }
comments expect >"$work/output.expected"
comments expect-error >"$work/error.expected"
status=$(comments expect-status)

if [ -f setup.sh ] && ! ORVA_HOST=$host bash -eu setup.sh >"$work/setup" 2>&1; then
  echo "setup.sh failed:"
  cat "$work/setup"
  exit 1
fi

run() {
  local words
  eval "words=($1)"
  timeout --kill-after=5 "$limit" "$host" run "$program" ${words[@]+"${words[@]}"} >>"$work/output" 2>>"$work/error" </dev/null
}

: >"$work/output"
: >"$work/error"
mapfile -t runs < <(comments arguments)
for words in "${runs[@]-}"; do
  run "$words"
  found=$?
  [ "$found" -eq 124 ] || [ "$found" -eq 137 ] && echo "the program did not end within $limit seconds"
done

verdict=0
diff -u --label 'expected output' "$work/output.expected" --label 'output' "$work/output" >"$work/difference" || verdict=1
diff -u --label 'expected error output' "$work/error.expected" --label 'error output' "$work/error" >>"$work/difference" || verdict=1
head -100 "$work/difference"
if [ "$found" -ne "${status:-0}" ]; then
  echo "expected exit status ${status:-0}, found $found"
  verdict=1
fi
exit $verdict
