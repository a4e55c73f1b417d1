#!/usr/bin/env bash
# Follows the README in a copy of the project, whose build tree holds the host that was built and one test that passes:
# `./dev` sets up and runs what it would, but builds nothing. Then builds and runs the README's own host.
# Usage: follow_readme.sh PROJECT BUILD
set -euo pipefail
project=$1 build=$2 here=$(realpath "$(dirname "$0")")
cmake=$(command -v cmake)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/tools" "$work/project/build/dev" "$work/project/my_host"
cd "$work/project"
for part in "$project"/*; do
  [ "$part" = "$project/build" ] || cp -r "$part" .
done
find examples -name '*.o' -delete
ln -s "$build/bin" "$build/share" build/dev/
echo 'add_test(passes true)' >build/dev/CTestTestfile.cmake

# A host in four files: the smallest one, all in the first.
cp tests/symbols/plain_host.cpp my_host/main.cpp
touch my_host/{runtime,registry,compiler}.cpp
ln -s .. my_host/orva-classloader

echo '#!/bin/sh' | tee "$work/tools/cmake" >"$work/tools/dpkg-query"
echo 'echo install ok installed' >>"$work/tools/dpkg-query"
chmod +x "$work"/tools/*
PATH=$work/tools:$PATH "$here/follow.py" --here README.md

{ "$cmake" -S my_host -B my_host/build && "$cmake" --build my_host/build; } >"$work/log" 2>&1 ||
  { cat "$work/log"; exit 1; }
my_host/build/my_host
nm -D --defined-only my_host/build/my_host | grep -q ' T orva_ClassLoader_getSystem$' ||
  { echo "README.md: dlsym does not find the natives in the README's host"; exit 1; }
echo "The README's own host was built, and ran"
