#!/usr/bin/env bash
# Checks that the reference host destroys no objects when the process ends, because threads may still use them.
# Usage: statics.sh PROJECT OBJECT…
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require nm
[[ $# -gt 20 ]] || fail "expected more than 20 arguments, but got $#"
nm -uA "${@:2}" >"$work/undefined"
! grep -w __cxa_atexit "$work/undefined" >&2 || fail "the objects above destroy a static object: never destroy it"
