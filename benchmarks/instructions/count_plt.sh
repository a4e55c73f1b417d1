#!/usr/bin/env bash
# Shows that a native in the shared library takes exactly one more instruction than in the static one for each call
# between the library and its host: the jump through the PLT.
# Usage: count_plt.sh STATIC SHARED, programs that make the same calls
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=counts.sh
source "$(dirname "$0")/counts.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for kind in static shared; do
  count_calls "$1" "$work/$kind" | awk '$1 == "call" { print $2, $3 }' | sort >"$work/$kind.counts"
  shift
done
# The program calls the native, and the native calls the host once.
join "$work/static.counts" "$work/shared.counts" | awk '
  $1 == "abi_version" || $1 == "load_class" {
    ++compared
    printf "%-12s static %d  shared %d\n", $1, $2, $3
    if ($3 - $2 < 0 || $3 - $2 > 2) bad = 1 }
  END { exit bad || compared != 2 }' || { echo "expected two calls, and up to two instructions more in each" >&2; exit 1; }
