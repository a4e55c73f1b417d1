#!/usr/bin/env bash
# Lints a small project repeatedly. After each change, exactly the sources that it affects must be linted; a mistake
# must be reported for every source that includes it until it is fixed; a source that no target compiles must be named.
# Usage: only_what_changed.sh ROOT PLUGIN
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require clang-tidy-19 git
script=$root/lint/clang_tidy.py
cp "$2" "$work/plugin.so"
mkdir -p "$work/a project/build" "$work/a project/room" "$work/system"
cd "$work/a project"
git init -q

# commands OPTION: writes the compilation database, with an additional option for one.cpp.
commands() {
  local source
  for source in one.cpp two.cpp room/three.c; do
    printf '{"directory": "%s/build", "file": "../%s", "command": "c++ -I.. -isystem %s %s -o it.o -c ../%s"}\n' \
      "$PWD" "$source" "$work/system" "$([ $source != one.cpp ] || echo "${1-}")" "$source"
  done | sed '1s/^/[/; $!s/$/,/; $s/$/]/' >build/compile_commands.json
}

# lints STATUS [SOURCE…]: the run must end with this status, and lint exactly these sources.
lints() {
  local status=0 expected=$1
  shift
  touch "$work/before"
  "$script" build "$work/plugin.so" >"$work/printed" 2>&1 || status=$?
  printf '%s\n' "$@" | sed '/^$/d' >"$work/expected"
  [ -d build/clean ] || fail "nothing was linted: $(cat "$work/printed")"
  (cd build/clean && find . -name '*.d' -newer "$work/before" -printf '%P\n' | sed 's/\.d$//' | sort) >"$work/linted"
  [ "$status" -eq "$expected" ] || fail "line ${BASH_LINENO[0]}: status $status and: $(cat "$work/printed")"
  same "line ${BASH_LINENO[0]}: the wrong sources were linted" "$work/expected" "$work/linted"
}

# prints TEXT COUNT: the last run must have printed COUNT lines with this text.
prints() {
  [ "$(grep -cF -- "$1" "$work/printed")" -eq "$2" ] ||
    fail "line ${BASH_LINENO[0]}: not $2 lines with <$1> in: $(cat "$work/printed")"
}

echo /build/ >.gitignore
echo "{Checks: '-*,modernize-use-nullptr', WarningsAsErrors: '*', HeaderFilterRegex: '.*'}" >.clang-tidy
echo "{InheritParentConfig: true, Checks: 'bugprone-macro-parentheses'}" >room/.clang-tidy
echo '#include <outside.h>' >both.h
echo 'inline int* outside() { return 0; }' >"$work/system/outside.h"
printf '#include "%s"\n' both.h one.h >one.cpp
echo '#include "both.h"' >two.cpp
echo 'int three;' >room/three.c
touch one.h
commands

lints 0 one.cpp room/three.c two.cpp
[ ! -s "$work/printed" ] || fail "a clean run printed: $(cat "$work/printed")"
lints 0

echo 'int* found() { return 0; }' >>two.cpp
for _ in first again; do
  lints 1 two.cpp
  prints "two.cpp:2:23: error: use nullptr [modernize-use-nullptr,-warnings-as-errors]" 1
done
sed -i 's/return 0/return nullptr/' two.cpp
lints 0 two.cpp

echo 'inline int* in_header() { return 0; }' >>both.h
for _ in first again; do
  lints 1 one.cpp two.cpp
  prints "both.h:2:34: error: use nullptr [modernize-use-nullptr,-warnings-as-errors]" 1
  prints "lint failed: one.cpp two.cpp" 1
done
sed -i 's/return 0/return nullptr/' both.h
lints 0 one.cpp two.cpp
lints 0

echo 'int number = elsewhere;' >one.h
lints 1 one.cpp
prints "one.h:1:14: error: use of undeclared identifier 'elsewhere' [clang-diagnostic-error]" 1
: >one.h
lints 0 one.cpp

echo '// changed' >>"$work/system/outside.h"
lints 0 one.cpp two.cpp
commands -DCHANGED
lints 0 one.cpp
echo '# changed' >>room/.clang-tidy
lints 0 room/three.c
rm room/.clang-tidy
lints 0 room/three.c
echo >>"$work/plugin.so"
lints 0 one.cpp room/three.c two.cpp
touch both.h two.cpp
lints 0

# A time in the future looks like a file that was saved while clang-tidy read it, so it is linted again.
echo '// changed' >>one.cpp
touch -d tomorrow one.cpp
lints 0 one.cpp
lints 0 one.cpp
touch one.cpp
lints 0 one.cpp
lints 0

touch room/four.cpp
lints 1
prints 'lint failed: no target compiles room/four.cpp; name them in lint/CMakeLists.txt' 1
