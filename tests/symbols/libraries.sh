#!/usr/bin/env bash
# Builds the library with each compiler, static and shared, for the checks that read its symbols.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

require cmake ninja "${compilers[@]}"

rm -rf "$libraries"
mkdir -p "$libraries"
for compiler in "${compilers[@]}"; do
  for shared in OFF ON; do
    build_library "$root" "$libraries/$compiler-$shared" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=$shared \
      -DCMAKE_CXX_COMPILER="$compiler" || fail "$compiler does not build the library"
  done
  [[ -f $(archive "$compiler") && -f $(shared_library "$compiler") ]] || fail "$compiler: a library is missing"
done
