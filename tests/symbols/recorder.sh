#!/usr/bin/env bash
# The recorder and the audit module are loaded into programs that have no C++ standard library, or another than we.
# Usage: recorder.sh PROJECT RECORDER AUDIT
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require nm readelf
for ours in "$2" "$3"; do
  nm -D --undefined-only "$ours" >"$work/undefined"
  [[ -s $work/undefined ]] || fail "$ours refers to nothing at all; the list cannot be right"
  ! awk '$1 == "U" && $2 !~ /@GLIBC_/' "$work/undefined" | grep . >&2 || fail "$ours needs more than the C library"
  ! readelf -d "$ours" | grep NEEDED | grep -v 'libc\.so' >&2 || fail "$ours needs more than the C library"
done
exported_symbols "$2" | same 'the recorder exports' <(printf 'orva_trace_exports\norva_trace_thunks\n') -
