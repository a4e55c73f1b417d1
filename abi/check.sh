#!/usr/bin/env bash
# Compares the ABI of the shared library with the one recorded in this folder; with --record, records it anew.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source-path=SCRIPTDIR source=library.sh
source abi/library.sh

dumps=(liborva-classloader.abi host.abi)
flags=(-O2 -g "-ffile-prefix-map=$PWD/=")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "abi/check.sh: $*" >&2
  exit 1
}

# Leaves out what may change while the ABI does not: places in the sources, names of parameters, and the like.
dump() {  # SHARED_LIBRARY FILE
  abidw --exported-interfaces-only --type-id-style hash --no-corpus-path --no-comp-dir-path --no-show-locs \
    --no-elf-needed --no-parameter-names --out-file "$2" "$1" || fail "abidw cannot read $1"
  [[ $(grep -c '<elf-symbol ' "$2") -eq $(grep -c ' elf-symbol-id=' "$2") ]] || fail "symbols without a type: $2"
}

measure_library() {
  local library
  build_library . "$work/library" -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE= \
    -DCMAKE_CXX_FLAGS="-O2 -g '${flags[2]}'" || fail "the library does not build"
  library=$(find_library "$work/library" so)
  required_symbols . "$library" >"$work/required_symbols.txt"
  dump "$library" "$work/liborva-classloader.abi"
}

# The library's debug information leaves out what it only calls, so this measures the plain host, which defines that by
# our headers. The compiler must not merge functions whose bodies are equal.
measure_host() {
  { echo '{ global:'; awk '{ print $4 ";" }' "$work/required_symbols.txt"; echo 'local: *; };'; } >"$work/host.map"
  g++ -std=c++17 "${flags[@]}" -fno-ipa-icf -fPIC -shared -I. -Itests/symbols tests/packaging/consumer/host.cpp \
    -o "$work/host.so" -Wl,--version-script="$work/host.map" -Wl,--no-undefined-version || return
  dump "$work/host.so" "$work/host.abi"
}

same() {  # COMMAND FILE…
  local file status=0
  for file in "${@:2}"; do $1 "abi/$file" "$work/$file" || status=1; done
  return "$status"
}

[[ $# -eq 0 || "$*" = --record ]] || fail "expected --record or nothing, not '$*'"
[[ $(g++ -dumpmachine)-$(g++ -dumpversion) = x86_64-linux-gnu-12 ]] ||
  fail "the ABI is recorded for g++ 12 on x86_64-linux-gnu; this is g++ $(g++ -dumpversion) on $(g++ -dumpmachine)"

measure_library
measure_host || { same 'diff -u' required_symbols.txt || true; fail "tests/symbols/plain_host.h does not define what the library requires"; }
if [ "${1:-}" = --record ]; then
  cp "$work/required_symbols.txt" "${dumps[@]/#/$work/}" abi
  exit
fi
status=0
same 'diff -u' required_symbols.txt || status=1
same 'abidiff --harmless --no-show-locs' "${dumps[@]}" || status=1
[ "$status" -eq 0 ] || fail "the ABI has changed. If that is intended: ./dev abi --record"
echo "the ABI is the one recorded in abi/"
