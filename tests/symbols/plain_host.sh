#!/usr/bin/env bash
# Links the whole static library with a host that declares everything itself, and runs it.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require g++ clang++

for compiler in g++ clang++; do
  "$compiler" -std=c++17 "${warnings[@]}" -c "$(dirname "$0")/plain_host.cpp" -o "$work/host.o"
  # Linkers do not compare the types of C functions, but together with natives.h, a wrong declaration is an error.
  "$compiler" -std=c++17 -fsyntax-only -include "$root/classloader/natives.h" "$(dirname "$0")/plain_host.cpp" ||
    fail "$compiler: the natives' types differ"
  "$compiler" "$work/host.o" -Wl,--whole-archive "$(archive "$compiler")" -Wl,--no-whole-archive -pthread \
    -o "$work/host" || fail "$compiler: the neighbours' names differ"
  "$work/host" || fail "$compiler: the host and the library do not agree"
done
