#!/usr/bin/env bash
# Checks that the recorder and the audit module need only the C library: the programs that load them may have no C++
# standard library, or another one than ours.
# Usage: recorder.sh PROJECT RECORDER AUDIT
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require nm readelf
for ours in "$2" "$3"; do
  nm -D --undefined-only "$ours" >"$work/undefined"
  [[ -s $work/undefined ]] || fail "$ours must refer to some symbols, but nm lists none"
  ! awk '$1 == "U" && $2 !~ /@GLIBC_/' "$work/undefined" | grep . >&2 || fail "$ours needs more than the C library"
  ! readelf -d "$ours" | grep NEEDED | grep -v 'libc\.so' >&2 || fail "$ours needs more than the C library"
done
exported_symbols "$2" | same 'the recorder exports other symbols' <(printf 'orva_trace_exports\norva_trace_thunks\n') -
