#!/usr/bin/env bash
# Runs a program with a trace; its own checks must pass.
# Usage: with_trace.sh RECORDER AUDIT PROGRAM [ARGUMENT…]; both are `linked` if the program contains the recorder.
set -euo pipefail
traces=$(mktemp -d)
trap 'rm -rf "$traces"' EXIT

attached=("LD_PRELOAD=$1" "LD_AUDIT=$2")
[[ $1 != linked ]] || attached=()
env "ORVA_TRACE_FOLDER=$traces" "${attached[@]}" "${@:3}" >"$traces/printed" 2>&1 || {
  status=$?
  cat "$traces/printed"
  echo "with_trace.sh: status $status of $3"
  exit 1
}
