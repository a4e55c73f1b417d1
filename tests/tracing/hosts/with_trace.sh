#!/usr/bin/env bash
# Runs a program with a trace; its own checks must pass. The trace must have at least CALLS calls of natives, all of
# them ended; with 0, they are not counted.
# Usage: with_trace.sh RECORDER AUDIT CALLS PROGRAM [ARGUMENT…]; both are `linked` where the program holds the recorder.
set -euo pipefail
recorder=$1 audit=$2 calls=$3
here=$(dirname "$0")
traces=$(mktemp -d)
trap 'rm -rf "$traces"' EXIT

environment=("ORVA_TRACE_FOLDER=$traces")
[[ $recorder == linked ]] || environment+=("LD_PRELOAD=$recorder" "LD_AUDIT=$audit")
env "${environment[@]}" "${@:4}" >"$traces/printed" 2>&1 || {
  status=$?
  cat "$traces/printed"
  echo "with_trace.sh: status $status of $4"
  exit 1
}
((calls > 0)) || exit 0
"$here/../dump_events.py" "$traces"/*.events >"$traces/events"
count() { grep -cE "^[0-9]+ [0-9]+ ($1) orva_(System)?ClassLoader_" "$traces/events" || true; }
begun=$(count begin) ended=$(count 'returned|threw|jumped')
echo "$begun calls of natives began, $ended ended"
((begun >= calls && begun == ended)) && exit
grep ^header "$traces/events"
echo "expected $calls calls at least, and that each ended"
exit 1
