#!/usr/bin/env bash
# Compares the symbols that the libraries define for others with what natives.h declares.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake nm c++filt objdump
natives=$work/natives
natives >"$natives"

strong_globals_are_the_natives() { # compiler, archive
  nm "$2" | awk 'NF == 3 && $2 ~ /^[TDBRGSC]$/ { print $3 }' | sort >"$work/strong"
  same "$1: strong globals of the static library" "$natives" "$work/strong"
}

# Instantiations of the standard library are weak, and nothing else may be. With g++, none names the project, not even
# in its arguments; clang emits some that do.
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
  exported_symbols "$2" >"$work/exported"
  same "$1: symbols of the shared library" "$natives" "$work/exported"
}

for compiler in "${compilers[@]}"; do
  archive=$(archive "$compiler")
  strong_globals_are_the_natives "$compiler" "$archive"
  no_weak_symbol_is_the_projects "$compiler" "$archive"
  nothing_runs_at_start "$compiler" "$archive"
  shared_exports_are_the_natives "$compiler" "$(shared_library "$compiler")"
done
