#!/usr/bin/env bash
# Runs the tests of a coverage build, prints how much of the library and of the host they reach, writes pages that show
# it line by line, and fails if a target is missed.
# Usage: report.sh BUILD_FOLDER
set -euo pipefail
here=$(realpath "$(dirname "$0")") build=$(realpath "$1")
cd "$here/../.."
pages=$build/html
profiles=$(mktemp -d)
trap 'rm -rf "$profiles"' EXIT
rm -rf "$pages"
mkdir "$pages"
# Tests that give up root's rights write their counters too.
chmod 711 "$profiles"

# measure PART TESTS SOURCES PROGRAM…: TESTS is a pattern of test names. The scripted host and the reference host define
# functions of the same names, so each part has its own counters.
measure() {
  local part=$1 tests=$2 sources=$3 program programs=()
  mkdir -m 777 "$profiles/$part"
  if ! LLVM_PROFILE_FILE=$profiles/$part/%p-%m.profraw \
    ctest --test-dir "$build" -R "$tests" -j2 --output-on-failure --no-tests=error >"$profiles/log" 2>&1; then
    cat "$profiles/log" >&2
    exit 1
  fi
  # A process that a test kills may leave a profile half written.
  llvm-profdata-19 merge -sparse -failure-mode=all -o "$profiles/$part.profdata" "$profiles/$part"/*.profraw
  for program in "${@:4}"; do programs+=(-object "$build/$program"); done
  # A part may have several folders, so $sources is split into words.
  # shellcheck disable=SC2206
  local common=("${programs[@]:1}" -instr-profile="$profiles/$part.profdata" $sources)
  llvm-cov-19 report -show-mcdc-summary -show-region-summary=false "${common[@]}" >"$profiles/$part.txt"
  local show=(llvm-cov-19 show -show-branches=count -show-instantiations=false "${common[@]}")
  "${show[@]}" -format=html -output-dir="$pages/$part" -show-mcdc -show-mcdc-summary
  "${show[@]}" | sed "s|^$PWD/||" | awk -f "$here/unreached.awk" >>"$profiles/unreached"
}

measure library '^contract\.' 'classloader runtime_api' tests/contract/contract_tests
measure host '^(language|reference_host|programs)\.|^docs\.readme$' reference_host bin/orva-host \
  tests/reference_host/reference_host_tests tests/language/language_tests

status=0
awk -f "$here/table.awk" part=library "$profiles/library.txt" part=host "$profiles/host.txt" >"$pages/table.txt" \
  2>"$profiles/problems" || status=1
{
  echo 'Not reached:'
  cat "$profiles/unreached"
  echo
  cat "$here/unreached.txt"
} >>"$pages/table.txt"
cat "$pages/table.txt"
printf '\nLine by line: %s and %s\n' "$pages/library/index.html" "$pages/host/index.html"
cat "$profiles/problems" >&2
exit $status
