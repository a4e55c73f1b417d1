#!/usr/bin/env bash
# Links the library's objects with a host that declares the neighbours by itself, and runs the two together.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require g++ clang++

for compiler in g++ clang++; do
  for source in "$root"/classloader/*.cpp; do
    "$compiler" -std=c++17 -I"$root" -c "$source" -o "$work/$(basename "$source").o"
  done
  "$compiler" -std=c++17 "${warnings[@]}" -c "$(dirname "$0")/plain_host.cpp" -o "$work/host.o"
  "$compiler" "$work"/*.o -pthread -o "$work/host" || fail "$compiler: the neighbours' names differ"
  "$work/host" || fail "$compiler: the host and the library do not agree"
done
