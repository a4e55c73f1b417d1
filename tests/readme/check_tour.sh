#!/usr/bin/env bash
# Runs the tour in a copy of its folder and compares what it prints with what the README shows.
# Usage: check_tour.sh ORVA_HOST PROJECT_FOLDER
set -euo pipefail
host=$1 project=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -r "$project/examples/tour" "$work/tour"
find "$work/tour" -name '*.o' -delete
(cd "$work/tour" && "$host" run Tour.ov) >"$work/printed"
sed -n '/^<!-- tour begins -->$/,/^<!-- tour ends -->$/p' "$project/README.md" | grep -vE '^(<!--|```)' >"$work/shown"
diff -u --label README.md "$work/shown" --label 'the tour' "$work/printed"
