#!/usr/bin/env bash
# Compares the symbols that the libraries leave to their host with the list of what a host must define. The shared
# library must call them through its PLT, even if a packager's flags ask for something else.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require nm readelf c++filt "${compilers[@]}"

compare() {  # what it is, shared library
  required_symbols "$root" "$2" >"$work/required"
  same "$1 requires other symbols than abi/ lists" "$root/abi/required_symbols.txt" "$work/required"
}

for compiler in "${compilers[@]}"; do
  compare "the shared library of $compiler" "$(shared_library "$compiler")"
  must_call_by_plt "the shared library of $compiler" "$(shared_library "$compiler")"
  # Linked whole, so that symbols that its objects define for each other are resolved.
  "$compiler" -shared -Wl,--whole-archive "$(archive "$compiler")" -Wl,--no-whole-archive -o "$work/whole.so"
  compare "the static library of $compiler" "$work/whole.so"
done
