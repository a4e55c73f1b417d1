#!/usr/bin/env bash
# Checks that the host's objects destroy nothing when the process ends: threads that natives have left may still use it.
# Usage: check_statics.sh NM OBJECT…
set -euo pipefail
nm=$1
shift
[[ $# -gt 20 ]] || { echo "only $# objects to look at; the list cannot be right"; exit 1; }
status=0
for object in "$@"; do
  ! "$nm" -u "$object" | grep -w __cxa_atexit >/dev/null || { echo "$object destroys a static object: never destroy it"; status=1; }
done
exit $status
