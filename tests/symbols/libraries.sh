#!/usr/bin/env bash
# Builds both libraries with each compiler, for the checks that read their symbols.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake ninja "${compilers[@]}"

rm -rf "$libraries"
mkdir -p "$libraries"
for compiler in "${compilers[@]}"; do
  build_library "$root" "$libraries/$compiler" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" ||
    fail "$compiler does not build the library"
  [[ -f $(archive "$compiler") && -f $(shared_library "$compiler") ]] || fail "$compiler: a library is missing"
done
