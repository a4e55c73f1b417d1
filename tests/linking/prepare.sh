#!/usr/bin/env bash
# Builds the library with the headers of tests/other_host/, installs it, and compiles that host. The tests of this
# folder link it.
# Usage: prepare.sh PROJECT FOLDER
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake ninja pkg-config g++ clang++
folder=$2
host=$root/tests/other_host
rm -rf "$folder"
mkdir -p "$folder/expected"

# Everything must compile with this record, including the kit. A unity build takes a third of the time.
build_library "$root" "$folder/library" --preset release -DCMAKE_UNITY_BUILD=ON -DORVA_HOST_CONTRACT=ON -DORVA_TRACING=ON \
  -DORVA_RUNTIME_API_DIR="$host"
cmake --install "$folder/library" --prefix "$folder/installed" >"$folder/install.log"
cp "$host"/runtime_api/*.h "$folder/expected"
diff -r "$folder/expected" "$folder/installed/include/orva-classloader/runtime_api" >&2 ||
  fail "the installed headers are not those that the library was built with"

flags=(-std=c++17 -O1 -fPIE -fvisibility=hidden -fvisibility-inlines-hidden -ffunction-sections -fdata-sections)
flags+=("${warnings[@]}" "-I$folder/installed/include/orva-classloader")
for compiler in g++ clang++; do
  for lto in '' -flto; do
    mkdir -p "$folder/$compiler$lto"
    # shellcheck disable=SC2086  # no flag, or one
    (cd "$folder/$compiler$lto" && "$compiler" $lto "${flags[@]}" -c "$host"/*.cpp)
  done
done
