#!/usr/bin/env bash
# Builds the library with a reflection.h of the host's own, embedded and installed.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

marked=-DCMAKE_CXX_FLAGS=-DHOST_RECORD
headers=$work/prefix/include/orva-classloader/runtime_api
for compiler in g++ clang++; do
  check_consumer "$compiler" static "$marked" -DORVA_SOURCE="$root" -DORVA_RUNTIME_API_DIR="$here/host_record"
  rm -r "${work:?}/$compiler"
done

# A unity build takes a third of the time, and shows as well that everything compiles with this record.
must_build "$root" "$work/library" -DORVA_TESTS=OFF -DORVA_REFERENCE_HOST=OFF -DCMAKE_UNITY_BUILD=ON \
  -DORVA_RUNTIME_API_DIR="$here/host_record"
cmake --install "$work/library" --prefix "$work/prefix" >"$work/install.log"
mkdir "$work/expected"
cp "$root"/runtime_api/{compiler,runtime}.h "$here"/host_record/runtime_api/*.h "$work/expected"
diff -r "$work/expected" "$headers" >&2 || fail "other headers are installed than the library was built with"
for compiler in g++ clang++; do
  for kind in static shared; do
    check_consumer "$compiler" "$kind" "$marked" -DCMAKE_PREFIX_PATH="$work/prefix"
  done
done
