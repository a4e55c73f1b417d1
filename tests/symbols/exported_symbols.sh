#!/usr/bin/env bash
# Builds the library with each compiler, static and shared, and compares the symbols with the nine natives.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

require cmake ninja nm c++filt objdump g++ clang++ clang++-19
natives >"$work/natives"

build() { # compiler, shared or not, folder
  {
    cmake -S "$root" -B "$3" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$1" \
      -DBUILD_SHARED_LIBS="$2" -DORVA_TESTS=OFF -DORVA_REFERENCE_HOST=OFF &&
      cmake --build "$3" --target orva_classloader
  } >"$3.log" 2>&1 || fail "$3 does not build: $(cat "$3.log")"
}

strong_globals_are_the_natives() { # compiler, archive
  nm "$2" | awk 'NF == 3 && $2 ~ /^[TDBRGSC]$/ { print $3 }' | sort >"$work/strong"
  same "$1: strong globals of the static library" "$work/natives" "$work/strong"
}

# Instantiations of the standard library are weak. With g++ none names the project, not even in its arguments; clang
# keeps out of line some that do, and there nothing outside of the standard library's namespaces is weak.
no_weak_symbol_is_the_projects() { # compiler, archive
  local standard='^_ZZ?(N[VKRO]*|T[VIS])?(St|S[absiod]|9__gnu_cxx)|^_Z(nw|dl|na|da)|^DW\.ref\.|^__clang_call_terminate$'
  nm "$2" | awk 'NF >= 2 && $(NF - 1) ~ /^[WwVvu]$/ { print $NF }' | sort -u >"$work/weak"
  [[ -s $work/weak ]] || fail "$1: no weak symbol at all; the list cannot be right"
  ! grep -vE "$standard" "$work/weak" >&2 || fail "$1: weak symbols outside of the standard library"
  [[ $1 != g++ ]] || ! c++filt <"$work/weak" | grep -E 'orva|TypeRecord' >&2 || fail "$1: weak symbols of the project"
}

nothing_runs_at_start() { # compiler, archive
  ! objdump -h "$2" | grep -E '\.(init_array|ctors)' >&2 || fail "$1: code runs before main"
  ! nm "$2" | grep -E ' _?_?ZGV' >&2 || fail "$1: guard variables"
}

shared_exports_are_the_natives() { # compiler, library
  nm -D --defined-only "$2" | awk '{ print $NF }' | sort >"$work/exported"
  same "$1: symbols of the shared library" "$work/natives" "$work/exported"
}

for compiler in g++ clang++ clang++-19; do
  build "$compiler" OFF "$work/$compiler-static"
  build "$compiler" ON "$work/$compiler-shared"
  archive=$(find "$work/$compiler-static" -name 'liborva_classloader.a')
  library=$(find "$work/$compiler-shared" -name 'liborva_classloader.so')
  [[ -n $archive && -n $library ]] || fail "$compiler: a library is missing"
  strong_globals_are_the_natives "$compiler" "$archive"
  no_weak_symbol_is_the_projects "$compiler" "$archive"
  nothing_runs_at_start "$compiler" "$archive"
  shared_exports_are_the_natives "$compiler" "$library"
done
