#!/usr/bin/env bash
# Links the program of this folder with a host and the installed library, once shared and once traced, and checks what
# orva-trace shows for each. pkg-config must find the library, and PATH orva-trace.
# Usage: check_installed.sh HOST COMPILER SOURCE…; HOST is a name from check_host.py, and the rest are the host's
# sources, of which COMPILER loads
set -euo pipefail
here=$(dirname "$0") host=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

read -ra flags <<<"$(pkg-config --cflags orva-classloader)"
compile() { g++ -std=c++17 -O1 "${flags[@]}" -I"$(dirname "$2")" -c "$2" -o "$work/$1.o"; }  # NAME SOURCE
for source in "$here"/{program,around_loads}.cpp "${@:2}"; do
  compile "$(basename "$source" .cpp)" "$source"
done
compiler=$work/$(basename "$2" .cpp).o
"$here/../../rename_functions.sh" nm objcopy "$compiler" "$compiler" ensureSourceLoadedInActiveJit
kit=$(pkg-config --variable=libdir orva-classloader)/liborva-host-contract.a
for library in orva-classloader orva-classloader-traced; do
  # shellcheck disable=SC2046  # flags
  g++ "$work"/*.o "$kit" $(pkg-config --libs "$library") -o "$work/$library"
  "$here/check_host.py" "$host" "$(command -v orva-trace)" "$work/$library"
done
