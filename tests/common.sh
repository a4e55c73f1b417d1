# Shared by the checks that run compilers themselves: the project's root and version, a temporary folder, how a check
# fails, and where to find the libraries that symbols.libraries has built.
# shellcheck shell=bash disable=SC2034
set -euo pipefail

root=${1:?usage: $0 <root of the project> [<folder of libraries.sh>]}
libraries=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# shellcheck source-path=SCRIPTDIR source=../abi/library.sh
source "$root/abi/library.sh"

version=$(sed -nE 's/^#define ORVA_CLASSLOADER_VERSION_[A-Z]+ ([0-9]+)$/\1/p' "$root"/classloader/version.h |
  paste -sd.)
# Versions with the same interface are interchangeable. Below 1.0.0, each minor version has its own.
interface=${version%%.*}
[[ $interface != 0 ]] || interface=${version%.*}

compilers=(g++ clang++ clang++-19)
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror)

archive() { find_library "$libraries/$1" a; }          # COMPILER
shared_library() { find_library "$libraries/$1" so; }  # COMPILER

fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# A missing tool fails the check; it never skips it.
require() {
  local tool
  for tool in "$@"; do
    command -v "$tool" >/dev/null || fail "$tool is not installed"
  done
}

# A shared library must call the host's functions, and lock the type table, only through its PLT, where a tracer sees
# the call.
must_call_by_plt() {  # WHAT SHARED_LIBRARY
  { required_symbols "$root" "$2" | awk '$2 != "data" { print $4 }'; printf '%s\n' pthread_mutex_{lock,unlock}; } |
    sort >"$work/called"
  readelf -rW "$2" | awk 'NF > 4 && $3 ~ /^R_/ { sub(/@.*/, "", $5); print $5, $3 }' | sort |
    join "$work/called" - >"$work/bound"
  sed -E 's/ R_[A-Z0-9_]+_JUMP_SLO[TS]?$//' "$work/bound" | diff "$work/called" - >&2 ||
    fail "$1 makes calls that bypass its PLT"
}

same() {
  diff -u "$2" "$3" >&2 || fail "$1"
}

# The symbols that natives.h declares, sorted; and in $work/native_list.inc a line for each.
natives() {
  cmake -P "$root/cmake/native_list.cmake" "$root/classloader/natives.h" "$work/native_list.inc"
  sed -n 's/^ORVA_NATIVE(\([^,]*\),.*/\1/p' "$work/native_list.inc" | sort | grep . ||
    fail "natives.h declares no natives"
}
