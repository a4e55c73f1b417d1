# Shared by the checks of orva-trace: a folder to work in, and how to compare a run.
# shellcheck shell=bash disable=SC2034
set -uo pipefail
: "${1:?usage: $0 ORVA_TRACE [HOST…]}"
# The arguments are resolved before the working folder changes, because they may be relative paths.
given=()
for file in "$@"; do
  given+=("$(realpath -e "$file")") || exit 2
done
trace=${given[0]}
work=$(realpath "$(mktemp -d)")
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
export TMPDIR=$work/records
mkdir "$TMPDIR"
failures=0

fail() {
  printf '%s\n' "$*"
  failures=1
}

same() {  # WHAT EXPECTED FOUND
  [[ $2 == "$3" ]] || fail "$1: expected <$2>, found <$3>"
}

# Runs orva-trace, and compares its status and its whole standard error; its standard output is left in `output`.
check() {  # WHAT STATUS ERRORS WORD…
  local found
  timeout 60 "$trace" "${@:4}" >output 2>errors </dev/null
  found=$?
  same "$1, status" "$2" "$found"
  same "$1, errors" "$3" "$(cat errors)"
  same "$1, what is left in TMPDIR" '' "$(ls -A "$TMPDIR")"
}

# Waits until a file contains a line, for as long as the machine needs.
await() {  # FILE LINE
  until grep -qxF -- "$2" "$1" 2>/dev/null; do
    sleep 0.05
  done
}
