# What the checks of this folder share: the project's root, the built libraries, a temporary folder, and how a check
# fails.
# shellcheck shell=bash disable=SC2034
set -euo pipefail

usage="usage: $0 ROOT LIBRARIES, which are the root of the project and the folder of libraries.sh"
root=${1:?$usage}
libraries=${2:?$usage}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# shellcheck source-path=SCRIPTDIR source=../../abi/library.sh
source "$root/abi/library.sh"

compilers=(g++ clang++ clang++-19)
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror)

archive() { find_library "$libraries/$1-OFF" a; }         # COMPILER
shared_library() { find_library "$libraries/$1-ON" so; }  # COMPILER

fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# Each check needs all of its compilers: one that is missing is a failure, never a check left out.
require() {
  local tool
  for tool in "$@"; do
    command -v "$tool" >/dev/null || fail "$tool is not installed"
  done
}

same() {
  diff -u "$2" "$3" >&2 || fail "$1"
}
