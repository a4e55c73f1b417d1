#!/usr/bin/env bash
# Builds the library, the kit and the hooks of a host in a project that treats every warning as an error, with our
# record and with one whose names are views, and runs the kit.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

strict="-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wold-style-cast -Wnull-dereference -Wdouble-promotion
  -Wformat=2 -Wcast-qual -Wcast-align -Woverloaded-virtual -Wnon-virtual-dtor -Wextra-semi -Wshadow -Wundef -Werror"
declare -A more=(
  [g++]="-Wuseless-cast -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wredundant-decls
    -Wzero-as-null-pointer-constant"
  [clang++]="-Wextra-semi-stmt -Wcomma -Winconsistent-missing-override -Wzero-as-null-pointer-constant")
declare -A records=([g++]=$work/views [clang++]='')
make_view_record "$work/views"

mkdir "$work/parent"
cp -r "$root/examples/minimal_host" "$work/parent"
cat >"$work/parent/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES C CXX)
set(ORVA_HOST_CONTRACT ON)
add_subdirectory(${ORVA_SOURCE} orva)
add_subdirectory(minimal_host)
END
for compiler in g++ clang++; do
  flags="$strict ${more[$compiler]}"
  # A unity build takes a third of the time.
  must_build "$work/parent" "$work/strict-$compiler" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_UNITY_BUILD=ON -DCMAKE_CXX_FLAGS="${flags//$'\n'/ }" \
    -DORVA_SOURCE="$root" -DORVA_RUNTIME_API_DIR="${records[$compiler]}"
  "$work/strict-$compiler/minimal_host/check_minimal_host" >"$work/report" || fail "$(cat "$work/report")"
done
