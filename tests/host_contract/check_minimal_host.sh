#!/usr/bin/env bash
# Checks that the smallest host answers lookups and passes the kit, and that the kit, when it lacks hooks, reports how
# many checks it could not run.
# Usage: check_minimal_host.sh LOOKUP CHECK_PROGRAM CHECK_PROGRAM_WITH_FEW_HOOKS
set -euo pipefail
lookup=$1 check=$2 check_bare=$3

diff -u --label expected - --label printed <("$lookup") <<'PRINTED'
shop.Cart is a type
SystemClassLoader is a type
shop.Till is not a type
Cart is not a type
  raised ClassNotFoundException: Ambiguous plugin entry type 'Cart'; use its fully qualified name
PRINTED

ends_with() { # last line, program
  local report
  report=$("$2")
  [ "$(tail -1 <<<"$report")" = "$1" ] || { echo "$report"; exit 1; }
}
ends_with '76 held, 0 broken (0 of them required), 0 not run' "$check"
report=$("$check_bare")
grep -qx '43 held, 0 broken (0 of them required), 33 not run' <<<"$report" || { echo "$report"; exit 1; }
