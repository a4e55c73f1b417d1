#!/usr/bin/env bash
# Links the shared library with each linker, also in projects that allow no undefined symbols. The library must export
# exactly the natives, and call the host through its PLT.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require c++filt cmake ninja g++ nm readelf ld.bfd ld.gold ld.lld mold
natives >"$work/natives"

# Flags of projects that allow no undefined symbols. Gold has no option to override them for one library.
strict=('-z,defs' --no-undefined)

linker_of() { # shared library; every linker but GNU ld leaves its name
  case $(readelf -p .comment -p .note.gnu.gold-version "$1" 2>&1) in
    *'mold '*) echo mold ;; *'LLD '*) echo lld ;; *'gold '*) echo gold ;; *) echo bfd ;;
  esac
}

link() { # linker, flag of it
  local chosen=-fuse-ld=$1 library
  # Only the checks of the linker and the linking run again; nothing is compiled again.
  build_library "$root" "$work/library" -DORVA_STATIC=OFF -DCMAKE_UNITY_BUILD=ON -U 'ORVA_LINKER_*' \
    -DCMAKE_EXE_LINKER_FLAGS="$chosen" -DCMAKE_SHARED_LINKER_FLAGS="$chosen ${2:+-Wl,$2}" ||
    fail "$1 $2 does not link the library"
  library=$(shared_library .)
  [[ $(linker_of "$library") == "$1" ]] || fail "$(linker_of "$library") linked in place of $1"
  exported_symbols "$library" >"$work/exported"
  same "$1: symbols of the shared library" "$work/natives" "$work/exported"
  must_call_by_plt "the shared library of $1" "$library"
}

libraries=$work/library
for linker in bfd gold lld mold; do
  link "$linker" ''
  [[ $linker == gold ]] || for flag in "${strict[@]}"; do link "$linker" "$flag"; done
done
