#!/usr/bin/env bash
# Builds a host that embeds this project, static and shared.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

for compiler in g++ clang++; do
  for kind in static shared; do
    check_consumer "$compiler" "$kind" -DORVA_SOURCE="$root"
    built=$(find "$work/$compiler" -name 'liborva*' -type f -printf '%f\n' -delete)
    expected=liborva-classloader.a
    [[ $kind == static ]] || expected=liborva-classloader.so.$version
    [[ $built == "$expected" ]] || fail "$kind: built '$built', expected '$expected'"
    cmake --install "$work/$compiler" --prefix "$work/installed" >"$work/install.log"
    [[ ! -e $work/installed ]] || fail "the embedded project installs files that its host did not ask for"
  done
done
