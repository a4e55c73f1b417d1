#!/usr/bin/env bash
# Runs every fuzz target for SECONDS, two at a time, and reports what each did and found.
# Usage: run.sh BUILD_DIRECTORY SECONDS
# In BUILD_DIRECTORY/runs, each target has a log, a corpus that grows from run to run, and its findings. The next run
# plays the findings first, so that each is reported again until it is fixed.
set -euo pipefail
build=$1 seconds=$2
sources=$(cd "$(dirname "$0")" && pwd)
root=$sources/../..

# Inputs become files that exist only for a moment, so they are kept in memory.
scratch=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")" orva-fuzz-XXXXXX)
trap 'rm -rf "$scratch"' EXIT
export TEST_TMPDIR=$scratch/
# Debian's package installs it under this name only.
export ASAN_SYMBOLIZER_PATH=/usr/bin/llvm-symbolizer-19 UBSAN_SYMBOLIZER_PATH=/usr/bin/llvm-symbolizer-19

# The inputs that a target starts with: its corpus and, for the compiler, the programs of other tests.
seeds() {  # TARGET
  echo "$sources/corpus/$1"
  [ "$1" != dialect ] || printf '%s\n' "$root/tests/programs" "$root/examples"
}

# Worlds also contain the names of natives and neighbours.
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

# Prints what the first group of a pattern matches in the last matching line of a log.
last() { sed -n "s/$1/\1/p" "$2" | tail -1; }

# Returns 1 if there is a finding.
report() {  # TARGET
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
for target in "${targets[@]}"; do report "$target" || status=1; done
exit "$status"
