#!/usr/bin/env bash
# Builds the library with a reflection.h of the host's own, embedded and installed.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

marked=-DCMAKE_CXX_FLAGS=-DHOST_RECORD
headers=$work/prefix/include/orva-classloader/runtime_api
for compiler in g++ clang++; do
  check_consumer "$compiler" static "$marked" -DORVA_SOURCE="$root" -DORVA_RUNTIME_API_DIR="$here/host_record"
done

install_library "$work/prefix" -DORVA_RUNTIME_API_DIR="$here/host_record"
mkdir "$work/expected"
cp "$root"/runtime_api/{compiler,runtime}.h "$here"/host_record/runtime_api/*.h "$work/expected"
diff -r "$work/expected" "$headers" >&2 || fail "other headers are installed than the library was built with"
for compiler in g++ clang++; do
  for kind in static shared; do
    check_consumer "$compiler" "$kind" "$marked" -DCMAKE_PREFIX_PATH="$work/prefix"
  done
done
