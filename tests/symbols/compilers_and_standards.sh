#!/usr/bin/env bash
# Compiles all sources together, as unity builds do, as C++20 and C++23 with each compiler, and each header alone.
# symbols.libraries compiles each source as C++17 with the same warnings.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require gcc "${compilers[@]}" xargs

for file in "$root"/classloader/*.cpp; do echo "#include \"$file\""; done >"$work/all.cpp"
[[ $(wc -l <"$work/all.cpp") -ge 4 ]] || fail "sources are missing"

commands() {
  local compiler standard file
  for compiler in "${compilers[@]}"; do
    for standard in c++20 c++2b; do
      echo "$compiler -std=$standard ${warnings[*]} -I$root -fsyntax-only $work/all.cpp"
    done
    for file in "$root"/classloader/{natives,native_table,version}.h "$root"/runtime_api/*.h; do
      echo "$compiler -std=c++17 ${warnings[*]} -I$root -fsyntax-only -include $file -xc++ /dev/null"
    done
  done
  echo "gcc -std=c11 -Wall -Wextra -Wpedantic -Werror -I$root -fsyntax-only -include $root/classloader/natives.h -xc /dev/null"
}

commands >"$work/commands"
[[ $(wc -l <"$work/commands") -ge 25 ]] || fail "headers are missing"
xargs -P 2 -I{} sh -c '{} || { echo "failed: {}" >&2; exit 1; }' <"$work/commands" || fail "the commands above fail"
