#!/usr/bin/env bash
# Measures this library and other loaders at the same jobs, and writes one JSON document.
# Usage: run.sh BUILD_FOLDER OUTPUT.json [PEER…]
# A peer that cannot be found is left out, and the package that provides it is named.
set -euo pipefail
here=$(realpath "$(dirname "$0")")
all=(orva OpenJDK CPython Lua GLib dlopen ORC)
declare -A packages=(
  [orva]=llvm-19-dev [OpenJDK]=openjdk-17-jdk-headless [CPython]=python3 [Lua]=liblua5.4-dev [GLib]=libglib2.0-dev
  [dlopen]=g++ [ORC]=llvm-19-dev)

refuse() { echo "run.sh: $*" >&2; exit 2; }

[ $# -ge 2 ] || refuse "expected BUILD_FOLDER OUTPUT.json [PEER…], where PEER is one of: ${all[*]}"
build=$(realpath "$1") output=$2
shift 2
[ -f "$build/CMakeCache.txt" ] || refuse "'$build' is not a build folder"
[ -d "$(dirname "$output")" ] || refuse "the folder of '$output' does not exist"
[ $# -gt 0 ] || set -- "${all[@]}"
for peer in "$@"; do
  [ -n "${packages[$peer]:-}" ] || refuse "unknown peer '$peer': expected one of ${all[*]}"
done
# The distribution's own is built with all optimisations; others on the PATH often are not.
python=/usr/bin/python3
[ -x "$python" ] || python=$(command -v python3) || refuse "Python is needed to collect the results: install python3"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

program() { echo "$build/benchmarks/peers/${1,,}_jobs"; }

is_found() {  # PEER
  case $1 in
    CPython) ;;
    OpenJDK) command -v java && command -v javac ;;
    *) [ -x "$(program "$1")" ] ;;
  esac >/dev/null
}

run() {  # PEER FOLDER
  case $1 in
    CPython) "$python" "$here/cpython_jobs.py" "$2" ;;
    OpenJDK) javac -d "$2" "$here/OpenJdkJobs.java" && java -cp "$2" OpenJdkJobs "$2" ;;
    orva) "$(program orva)" && "$(program orva)" "$2" ;;
    *) "$(program "$1")" "$2" ;;
  esac
}

status=0 missing=()
: >"$scratch/lines"
for peer in "$@"; do
  if ! is_found "$peer"; then
    echo "$peer is left out: install ${packages[$peer]}" >&2
    missing+=("$peer=${packages[$peer]}")
    continue
  fi
  mkdir "$scratch/$peer"
  # All figures of a peer are kept, or none.
  if run "$peer" "$scratch/$peer" >"$scratch/$peer.lines"; then
    cat "$scratch/$peer.lines" >>"$scratch/lines"
  else
    echo "$peer failed" >&2
    status=1
  fi
done

compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[^=]*=//p' "$build/CMakeCache.txt")
compiler=$("$compiler" --version | sed -n 1p)
"$python" "$here/../report/collect_peers.py" "$output" "$compiler" "${missing[@]}" <"$scratch/lines"
exit "$status"
