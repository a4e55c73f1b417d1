#!/usr/bin/env bash
# Checks that the reference host's objects destroy nothing when the process ends: threads that natives have left may
# still use it.
# Usage: statics.sh PROJECT OBJECT…
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require nm
[[ $# -gt 20 ]] || fail "only $# objects to look at; the list cannot be right"
nm -uA "${@:2}" >"$work/undefined"
! grep -w __cxa_atexit "$work/undefined" >&2 || fail "these destroy a static object: never destroy it"
