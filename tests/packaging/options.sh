#!/usr/bin/env bash
# Compares the table of options in docs/building.md with CMake's cache, for the project alone and embedded: it must list
# every option with its default, and no others.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

# BUILD_SHARED_LIBS is CMake's own option. It is in the cache if the project declares it.
compare() { # column of the table, folder of a build
  grep -E '^\| `(ORVA_|BUILD_)' "$root/docs/building.md" | tr -d '`' | awk -F ' *[|] *' "{ print \$2, \$$1 }" |
    sed 's/ empty$/ /; / none$/d' | sort >"$work/table"
  sed -n 's/^\(ORVA_[A-Z_]*\|BUILD_[A-Z_]*\):\(BOOL\|PATH\|STRING\)=\(.*\)/\1 \3/p' "$2/CMakeCache.txt" |
    sed '/^ORVA_SOURCE /d' | sort >"$work/cache"
  [[ -s $work/table ]] || fail "docs/building.md has no table of options"
  same "docs/building.md lists other options or defaults than CMake has" "$work/table" "$work/cache"
}

configure() { # source folder, build folder, options of CMake…
  cmake -S "$1" -B "$2" -G Ninja "${@:3}" >"$work/log" 2>&1 || fail "CMake does not configure: $(cat "$work/log")"
}

configure "$root" "$work/alone"
compare 3 "$work/alone"
configure "$work/consumer" "$work/embedded" -DORVA_SOURCE="$root"
compare 4 "$work/embedded"

# Defaults that depend on other options.
configure "$root" "$work/alone" --fresh -DCMAKE_DISABLE_FIND_PACKAGE_LLVM=ON
grep -qx ORVA_REFERENCE_HOST:BOOL=OFF "$work/alone/CMakeCache.txt" || fail "the reference host is built without LLVM"
mkdir -p "$work/own/runtime_api"
touch "$work/own/runtime_api/reflection.h"
configure "$root" "$work/alone" --fresh -DORVA_RUNTIME_API_DIR="$work/own"
for option in ORVA_REFERENCE_HOST ORVA_TESTS; do
  grep -qx $option:BOOL=OFF "$work/alone/CMakeCache.txt" || fail "$option is ON with ORVA_RUNTIME_API_DIR"
done
