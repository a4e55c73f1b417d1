#!/usr/bin/env bash
# Builds both libraries with a compiler, as they ship, for the checks that read their symbols.
# Usage: libraries.sh PROJECT FOLDER COMPILER
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

compiler=$3
require cmake ninja "$compiler"

rm -rf "${libraries:?}/$compiler"
mkdir -p "$libraries"
options=(--preset release -DCMAKE_CXX_COMPILER="$compiler")
# Some packagers ask for calls without a PLT, and most for early binding; the library must have a PLT nevertheless. Some
# compilers do not ask their linker for a build ID.
case $compiler in
  g++) options+=(-DCMAKE_CXX_FLAGS=-fno-plt '-DCMAKE_SHARED_LINKER_FLAGS=-Wl,-z,now') ;;
  clang++) options+=(-DCMAKE_CXX_FLAGS=-fno-plt '-DCMAKE_SHARED_LINKER_FLAGS=-Wl,--build-id=none') ;;
esac
build_library "$root" "$libraries/$compiler" "${options[@]}" || fail "$compiler does not build the library"
[[ -f $(archive "$compiler") && -f $(shared_library "$compiler") ]] || fail "$compiler: a library is missing"
