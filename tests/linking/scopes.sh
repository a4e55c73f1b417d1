#!/usr/bin/env bash
# Links programs with CMake, in C, C++ and Objective-C++, that reach the library through a target of another folder.
# With --as-needed, ours must be kept, and the unused library after ours dropped.
# Usage: scopes.sh PROJECT PREPARED
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake ninja clang++ g++ readelf
prepared=$2
objects=("$prepared"/g++/{by_name,compiler,main,registry,runtime}.o)
export LDFLAGS=-Wl,--as-needed LD_LIBRARY_PATH=$prepared/installed/lib

needed() { readelf -dW "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -E '^lib(orva-classloader|unused)' || true; }

check() { # shared or static, program
  local expected='^$'
  [[ $1 == static ]] || expected='^liborva-classloader\.so[.0-9]*$'
  "$2" || fail "$2 does not run"
  [[ $(needed "$2") =~ $expected ]] || fail "$2, $1, needs: $(needed "$2")"
}

check_scopes() { # name, options of CMake…
  local kind language
  {
    cmake -G Ninja -S "$root/tests/linking/scopes" -B "$work/$1" -DCMAKE_UNITY_BUILD=ON \
      -DCMAKE_OBJCXX_COMPILER=clang++ \
      -DHOST="$(IFS=';'; echo "${objects[*]}")" "${@:2}" && cmake --build "$work/$1"
  } >"$work/log" 2>&1 || fail "$1: $(cat "$work/log")"
  ! grep -A5 'CMake Warning' "$work/log" >&2 || fail "$1: CMake warns"
  for kind in shared static; do
    for language in C CXX OBJCXX; do
      check $kind "$work/$1/${kind}_$language"
    done
  done
}

check_scopes installed -DCMAKE_PREFIX_PATH="$prepared/installed"
check_scopes embedded -DORVA_SOURCE="$root" -DORVA_RUNTIME_API_DIR="$root/tests/other_host"
