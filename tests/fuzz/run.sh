#!/usr/bin/env bash
# Lets every fuzz target search for a while, two at a time, and tells what each did and found.
# Usage: run.sh BUILD_DIRECTORY SECONDS
# Below BUILD_DIRECTORY/runs, each target has a log, the corpus that grows from run to run, and what it found. What was
# found is played first in the next run, so that it is found again until it is mended.
set -euo pipefail
build=$1 seconds=$2
sources=$(cd "$(dirname "$0")" && pwd)
root=$sources/../..

# Inputs become files that live for an instant: they belong in memory.
scratch=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")" orva-fuzz-XXXXXX)
trap 'rm -rf "$scratch"' EXIT
export TEST_TMPDIR=$scratch/
# Debian's package has it under this name alone.
export ASAN_SYMBOLIZER_PATH=/usr/bin/llvm-symbolizer-19 UBSAN_SYMBOLIZER_PATH=/usr/bin/llvm-symbolizer-19

# What a target begins with: its corpus; the compiler has the programs of other tests too.
seeds() {  # TARGET
  echo "$sources/corpus/$1"
  [ "$1" != dialect ] || printf '%s\n' "$root/tests/programs" "$root/examples"
}

# Beside their own words, worlds name natives and neighbours.
write_words_of_worlds() {  # FILE
  cmake -P "$root/cmake/native_list.cmake" "$root/classloader/natives.h" "$scratch/natives"
  {
    cat "$sources/worlds.dict"
    sed -n 's/^ORVA_NATIVE([^,]*, [^,]*, \([^,]*\),.*/"\1 "/p' "$scratch/natives"
    awk '$2 != "data" { sub(/^orva::compiler::/, "", $3); print "\"" $3 "\"" }' "$root/abi/required_symbols.txt"
  } >"$1"
}

search() {  # TARGET
  local run=$build/runs/$1 words=$sources/$1.dict folders
  mkdir -p "$run/corpus" "$run/found"
  [ -e "$words" ] || words=$scratch/worlds.dict
  mapfile -t folders < <(seeds "$1")
  "$build/tests/fuzz/fuzz_$1" -max_total_time="$seconds" -max_len=8192 -timeout=20 -print_final_stats=1 \
    -artifact_prefix="$run/found/" "-dict=$words" "$run/corpus" "$run/found" "${folders[@]}" >"$run/log" 2>&1 \
    || echo "fuzz_$1 ended with status $?" >>"$run/log"
}

# The last text in a log that a pattern puts in brackets.
last() { sed -n "s/$1/\1/p" "$2" | tail -1; }

# Its status is 1 when there is a finding.
tell() {  # TARGET
  local program=$build/tests/fuzz/fuzz_$1 log=$build/runs/$1/log executions rate edges features found
  executions=$(last 'stat::number_of_executed_units: *\(.*\)' "$log")
  rate=$(last 'stat::average_exec_per_sec: *\(.*\)' "$log")
  edges=$(last '^#.* cov: \([0-9]*\).*' "$log")
  features=$(last '^#.* ft: \([0-9]*\).*' "$log")
  found=$(last '.*Test unit written to \(.*\)' "$log")
  printf '%s: %s executions, %s a second; covers %s edges, %s features; ' \
    "$1" "${executions:-0}" "${rate:-0}" "${edges:-0}" "${features:-0}"
  grep -q "^fuzz_$1 ended with status" "$log" || { echo 'found nothing'; return; }
  printf 'FOUND SOMETHING, see %s\n' "$log"
  [ -z "$found" ] || printf '  run it again: %s %s\n' "$program" "$found"
  return 1
}

targets=()
for program in "$build"/tests/fuzz/fuzz_*; do
  [ ! -x "$program" ] || targets+=("${program##*/fuzz_}")
done
[ ${#targets[@]} -gt 0 ] || { echo "run.sh: no fuzz targets below $build/tests/fuzz" >&2; exit 2; }

write_words_of_worlds "$scratch/worlds.dict"
for target in "${targets[@]}"; do
  while [ "$(jobs -pr | wc -l)" -ge 2 ]; do wait -n; done
  search "$target" &
done
wait

status=0
for target in "${targets[@]}"; do tell "$target" || status=1; done
exit "$status"
