#!/usr/bin/env bash
# Builds the reference of the public headers. It must include every public header, and everything in them must be
# documented.
# Usage: check_reference.sh ROOT_OF_THE_PROJECT
set -euo pipefail
cd "${1:?usage: $0 ROOT_OF_THE_PROJECT}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "check_reference.sh: $1" >&2
  exit 1
}

command -v doxygen >/dev/null || fail "doxygen is not installed"
{
  cat docs/Doxyfile
  echo "OUTPUT_DIRECTORY = $work"
  echo "GENERATE_TAGFILE = $work/tags"
} >"$work/Doxyfile"
doxygen "$work/Doxyfile" || fail "doxygen fails; see its warnings above"

for header in classloader/{natives,native_table,version}.h runtime_api/*.h host_contract/hooks.h; do
  grep -A1 "<name>${header##*/}</name>" "$work/tags" | grep -q "<path>.*${header%/*}/</path>" ||
    fail "the reference lacks $header: add it to INPUT in docs/Doxyfile, and @file to its first comment"
done
