#!/usr/bin/env bash
# Configures with what the project cannot be built with; each time CMake must stop with one line that says why.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake ninja g++ clang++

refuses() { # message, options of CMake…
  local log=$work/log said
  rm -rf "$work/build"
  ! cmake -S "$root" -B "$work/build" -G Ninja -DORVA_TESTS=OFF -DORVA_REFERENCE_HOST=OFF "${@:2}" >"$log" 2>&1 ||
    fail "${*:2} was accepted"
  # CMake breaks a message into lines, and indents them.
  said=$(awk '/^CMake Error/ { error = 1; next } !/^  / { error = 0 } error' "$log" | tr -s ' \n' ' ')
  [[ $said == " $1 " ]] || fail "${*:2}: expected '$1', but CMake said: $(cat "$log")"
}

for standard in 98 11 14; do
  refuses "The library needs C++17 or newer, not CMAKE_CXX_STANDARD=$standard" -DCMAKE_CXX_STANDARD=$standard
done

# A compiler that says that it is another one.
refuses_compiler() { # what CMake takes it for, the compiler and macros…
  printf '#!/bin/sh\nexec %s "$@"\n' "${*:2}" >"$work/compiler"
  chmod +x "$work/compiler"
  refuses "The library needs g++ 9, clang++ 9 or newer; found '$1' in $work/compiler" \
    -DCMAKE_CXX_COMPILER="$work/compiler"
}
refuses_compiler 'GNU 8.2.0' g++ -U__GNUC__ -D__GNUC__=8
refuses_compiler 'Clang 8.0.6' clang++ -U__clang_major__ -D__clang_major__=8
refuses_compiler 'PathScale 6.0' g++ -D__PATHCC__=6 -D__PATHCC_MINOR__=0

mkdir -p "$work/none" "$work/empty/runtime_api" "$work/own/runtime_api"
touch "$work/own/runtime_api/reflection.h"
refuses "ORVA_RUNTIME_API_DIR is not a folder: $work/missing" -DORVA_RUNTIME_API_DIR="$work/missing"
refuses "ORVA_RUNTIME_API_DIR contains no folder runtime_api: $work/none" -DORVA_RUNTIME_API_DIR="$work/none"
refuses "ORVA_RUNTIME_API_DIR has none of compiler.h, reflection.h and runtime.h in its runtime_api: $work/empty" \
  -DORVA_RUNTIME_API_DIR="$work/empty"
for option in ORVA_TESTS ORVA_REFERENCE_HOST ORVA_BENCHMARKS; do
  refuses "$option needs the runtime_api/ of this project: turn it off, or ORVA_RUNTIME_API_DIR" \
    -DORVA_RUNTIME_API_DIR="$work/own" -D$option=ON
done

refuses 'The reference host needs LLVM 19.1 (Debian: llvm-19-dev), which was not found' \
  -DORVA_REFERENCE_HOST=ON -DCMAKE_DISABLE_FIND_PACKAGE_LLVM=ON
