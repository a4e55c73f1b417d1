#!/usr/bin/env bash
# Each native that natives.h declares is told of and tested wherever all of them are.
# Usage: check_natives.sh ROOT_OF_THE_PROJECT
set -euo pipefail
cd "${1:?usage: $0 ROOT_OF_THE_PROJECT}"
status=0

natives=$(grep -oE '\borva_[A-Za-z]+_[A-Za-z]+\(' classloader/natives.h | tr -d '(')

expect() {  # NATIVE PATTERN PLACE…
  grep -rqE -- "$2" "${@:3}" || { echo "${*:3}: nothing of $1" >&2; status=1; }
}

for native in $natives; do
  expect "$native" "^\| \`$native\` \|" README.md
  expect "$native" "^## $native$" docs/natives.md
  expect "$native" "^\| \`$native\` \|" docs/the-frame.md
  for place in tests/contract tests/properties tests/faults; do expect "$native" "\b$native\(" "$place"; done
  expect "$native" "\b$native\(" tests/symbols/plain_host*
  IFS=_ read -r _ class method <<<"$native"
  expect "$native" "native .*\b$method\(" "reference_host/stdlib/orva/$class.ov"
done
exit $status
