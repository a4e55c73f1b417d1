#!/usr/bin/env bash
# Configures the project in ways in which it cannot be built. Each time, CMake must stop with one line that says why.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake ninja g++ clang++

export CMAKE_GENERATOR=Ninja
project=$root
configure() { # options of CMake…
  rm -rf "$work/build"
  cmake -S "$project" -B "$work/build" -DORVA_TESTS=OFF -DORVA_REFERENCE_HOST=OFF "$@" >"$work/log" 2>&1
}

accepts() { # options of CMake…
  configure "$@" || fail "$* was refused: $(cat "$work/log")"
}

refuses() { # message, options of CMake…
  local log=$work/log said
  ! configure "${@:2}" || fail "${*:2} was accepted"
  # CMake breaks a message into lines, and indents them.
  said=$(awk '/^CMake Error/ { error = 1; next } !/^  / { error = 0 } error' "$log" | tr -s ' \n' ' ')
  [[ $said == " $1 " ]] || fail "${*:2}: expected '$1', but CMake said: $(cat "$log")"
}

for standard in 98 11 14; do
  refuses "The library needs C++17 or newer, not CMAKE_CXX_STANDARD=$standard" -DCMAKE_CXX_STANDARD=$standard
done

# Pretends to be another compiler.
refuses_compiler() { # what CMake takes it for, the compiler and macros…
  printf '#!/bin/sh\nexec %s "$@"\n' "${*:2}" >"$work/compiler"
  chmod +x "$work/compiler"
  refuses "The library needs g++ 9, clang++ 9, Apple's clang++ 11 or newer; found '$1' in $work/compiler" \
    -DCMAKE_CXX_COMPILER="$work/compiler"
}
refuses_compiler 'GNU 8.2.0' g++ -U__GNUC__ -D__GNUC__=8
refuses_compiler 'Clang 8.0.6' clang++ -U__clang_major__ -D__clang_major__=8
refuses_compiler 'AppleClang 10.0.6.1' clang++ -D__apple_build_version__ -U__clang_major__ -D__clang_major__=10
refuses_compiler 'PathScale 6.0' g++ -D__PATHCC__=6 -D__PATHCC_MINOR__=0

mkdir -p "$work/none" "$work/empty/runtime_api" "$work/own/runtime_api"
touch "$work/own/runtime_api/reflection.h"
refuses "ORVA_RUNTIME_API_DIR is not a folder: $work/missing" -DORVA_RUNTIME_API_DIR="$work/missing"
refuses "ORVA_RUNTIME_API_DIR contains no folder runtime_api: $work/none" -DORVA_RUNTIME_API_DIR="$work/none"
refuses "ORVA_RUNTIME_API_DIR has none of compiler.h, reflection.h and runtime.h in its runtime_api: $work/empty" \
  -DORVA_RUNTIME_API_DIR="$work/empty"
for option in ORVA_TESTS ORVA_REFERENCE_HOST ORVA_BENCHMARKS; do
  refuses "$option needs the runtime_api/ of this project: turn it off, or unset ORVA_RUNTIME_API_DIR" \
    -DORVA_RUNTIME_API_DIR="$work/own" -D$option=ON
done

refuses 'The reference host needs LLVM 19.1 (Debian: llvm-19-dev), which was not found' \
  -DORVA_REFERENCE_HOST=ON -DCMAKE_DISABLE_FIND_PACKAGE_LLVM=ON

refuses 'ORVA_STATIC and ORVA_SHARED are both OFF: turn at least one of them on' -DORVA_STATIC=OFF -DORVA_SHARED=OFF

for system in Windows CYGWIN MSYS Generic; do
  refuses "The library needs a Unix-like system, such as Linux, FreeBSD or macOS, and cannot be built for $system:\
 choose another CMAKE_SYSTEM_NAME, or machine" \
    -DCMAKE_SYSTEM_NAME=$system -DCMAKE_C_COMPILER_WORKS=ON -DCMAKE_CXX_COMPILER_WORKS=ON
done

# If the tracer cannot be built, ORVA_TRACING=ON fails and names the reason; the default is OFF.
cannot_trace() { # why, options of CMake…
  refuses "ORVA_TRACING is ON, but $1: turn it off" -DORVA_TRACING=ON "${@:2}"
  accepts "${@:2}"
  grep -qx ORVA_TRACING:BOOL=OFF "$work/build/CMakeCache.txt" || fail "${*:2}: ORVA_TRACING is ON, but $1"
}
works=(-DCMAKE_C_COMPILER_WORKS=ON -DCMAKE_CXX_COMPILER_WORKS=ON)
cannot_trace 'it needs Linux on x86-64' -DCMAKE_SYSTEM_NAME=FreeBSD -DCMAKE_SYSTEM_PROCESSOR=x86_64 "${works[@]}"
cannot_trace 'it needs Linux on x86-64' -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=riscv64 "${works[@]}"
cannot_trace 'it cannot be cross-compiled' -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=x86_64 "${works[@]}"
for flag in -fsanitize=address -fprofile-arcs --coverage -flto=auto; do
  cannot_trace "its recorder cannot be built with $flag" -DCMAKE_CXX_FLAGS="-O1 $flag -g"
done
cannot_trace 'it renames symbols in objects, which CMAKE_INTERPROCEDURAL_OPTIMIZATION leaves to the linker' \
  -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON
cannot_trace 'it needs glibc' -DORVA_C_LIBRARY_IS_GLIBC=

# Compiler options from each source, and whether the library would be compiled with them.
needs_exceptions() { # configuration, options of CMake…
  refuses "The library needs C++ exceptions: take -fno-exceptions out of CMAKE_CXX_FLAGS, CMAKE_CXX_FLAGS_$1 and\
 add_compile_options, or put -fexceptions after it" "${@:2}"
}
off=-fno-exceptions
needs_exceptions NONE -DCMAKE_CXX_FLAGS=$off
CXXFLAGS="-O1 $off" needs_exceptions NONE
needs_exceptions RELEASE -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=$off
CMAKE_GENERATOR='Ninja Multi-Config' needs_exceptions MINSIZEREL -DCMAKE_CONFIGURATION_TYPES='Debug;MinSizeRel' \
  -DCMAKE_CXX_FLAGS_MINSIZEREL="-fexceptions $off"
accepts -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_DEBUG=$off
accepts -DCMAKE_CXX_FLAGS_DEBUG=$off
accepts -DCMAKE_CXX_FLAGS="$off -fexceptions"

# A project that embeds this one.
project=$work/parent
mkdir "$project"
cat >"$project/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES C CXX)
add_compile_options(\${OPTIONS})
add_subdirectory($root orva-classloader \${EXCLUDE})
END
for options in $off "$off;-Werror" "\$<\$<COMPILE_LANGUAGE:CXX>:$off>" "\$<\$<CONFIG:Debug>:$off>"; do
  needs_exceptions DEBUG -DCMAKE_BUILD_TYPE=Debug -DOPTIONS="$options"
done
for options in "$off;-fexceptions" "\$<\$<COMPILE_LANGUAGE:C>:$off>" "\$<\$<CONFIG:Debug>:$off>"; do
  accepts -DCMAKE_BUILD_TYPE=Release -DOPTIONS="$options"
done

refuses "ORVA_INSTALL is ON, but CMake installs nothing that was added with EXCLUDE_FROM_ALL, as $root was: turn one of\
 them off" -DORVA_INSTALL=ON -DEXCLUDE=EXCLUDE_FROM_ALL
accepts -DEXCLUDE=EXCLUDE_FROM_ALL
