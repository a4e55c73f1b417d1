# What the checks of the program share: the host, a temporary folder to run in, and how a check fails.
# shellcheck shell=bash disable=SC2034
set -uo pipefail
host=$(realpath "$1")
work=$(realpath "$(mktemp -d)")
trap 'chmod -R u+rwx "$work"; rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

fail() {
  printf '%s\n' "$*"
  failures=1
}

expect() {  # NAME EXPECTED FOUND
  [ "$2" = "$3" ] || fail "$1: expected <$2>, found <$3>"
}

# AddressSanitizer insists on being loaded first, unless it is told not to, beside what a check tells it.
any_link_order() {
  echo "ASAN_OPTIONS=verify_asan_link_order=0:${ASAN_OPTIONS-}"
}

# Runs a command with a library preloaded.
with_library() {  # LIBRARY COMMAND…
  env "LD_PRELOAD=$1" "$(any_link_order)" "${@:2}"
}
