#!/usr/bin/env bash
# Runs the benchmark programs of a build, prints the table of ratios, and writes docs/performance.md and its charts.
set -euo pipefail
cd "$(dirname "$0")/.."

build=$(realpath "${1:?usage: $0 BUILD [--peers]}")
results=$build/results
charts=docs/performance
mkdir -p "$results" "$charts"

timed() {  # PROGRAM RESULT [OPTION…]
  echo "Running $(basename "$1") …"
  "$1" --benchmark_repetitions=5 --benchmark_min_time=0.05 --benchmark_report_aggregates_only=true \
    --benchmark_out="$2" --benchmark_out_format=json "${@:3}" >"$results/log" 2>&1 ||
    { cat "$results/log" >&2; exit 1; }
}

instructions_of() {  # PROGRAM SYMBOL
  echo "$2:"
  objdump --no-show-raw-insn --no-addresses --disassemble="$2" "$1" | sed -n '/^\tnop/d; s/^\t/  /p'
}

# In turns, so that other load on the machine affects a call and its floor alike.
timed "$build/benchmarks/library/library_benchmarks" "$results/library.json" \
  --benchmark_enable_random_interleaving=true
{
  instructions_of "$build/benchmarks/library/library_benchmarks" orva_SystemClassLoader_loadClass
  instructions_of "$build/benchmarks/library/library_benchmarks" orva_ClassLoader_objectAbiVersion
} >"$results/instructions.txt"
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[^=]*=//p' "$build/CMakeCache.txt")
flags=$(sed -n 's/^CMAKE_CXX_FLAGS_RELEASE:[^=]*=//p' "$build/CMakeCache.txt")
echo "$("$compiler" --version | sed -n 1p) $flags" >"$results/compiler.txt"
# In the program's own order, because it loads single classes before it loads thousands.
timed "$build/benchmarks/host/host_benchmarks" "$results/host.json"
echo "Running trace_costs and trace_loads …"
benchmarks/tracing/measure.sh "$build/lib/orva-trace" "$build"/benchmarks/tracing/trace_{costs,loads} \
  >"$results/tracing.tsv"
if [ "${2:-}" = --peers ]; then
  echo "Running the peers …"
  benchmarks/peers/run.sh "$build" "$charts/peers.json" || echo "The figures of a peer that failed are left out" >&2
fi
benchmarks/report/report.py "$results" docs/performance.md "$charts"
