#!/usr/bin/env bash
# Gives the load of a source, which a host's compiler defines, the name under which around_loads.cpp calls it.
# Usage: rename_load.sh NM OBJCOPY COMPILER RENAMED; COMPILER is the host's object, and RENAMED is written.
set -euo pipefail
load=$("$1" "$3" | sed -n 's/.* T \(_ZN4orva8compiler8Compiler29ensureSourceLoadedInActiveJit.*\)/\1/p')
[[ $load == _Z* && $load != *$'\n'* ]] || { echo "rename_load.sh: $3 defines not one load of a source" >&2; exit 1; }
"$2" --redefine-sym "$load=hosts_load" "$3" "$4"
