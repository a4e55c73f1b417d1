#!/usr/bin/env bash
# Renames functions that an object defines from NAME to hosts_NAME, so that another source can define NAME and call the
# original.
# Usage: rename_functions.sh NM OBJCOPY OBJECT RENAMED NAME…; NAME is without its namespace, and RENAMED is the output.
set -euo pipefail

options=()
for name in "${@:5}"; do
  symbol=$("$1" "$3" | sed -nE "s/.* T ($name|_ZNK?[^.]*[0-9]$name(B5cxx11)?E[^.]*)$/\1/p")
  [[ $symbol =~ ^[A-Za-z_0-9]+$ ]] || { echo "rename_functions.sh: $3 must define one function $name" >&2; exit 1; }
  options+=(--redefine-sym "$symbol=hosts_$name")
done
"$2" "${options[@]}" "$3" "$4"
