#!/usr/bin/env bash
# Installs the library, moves it, and builds hosts with it there: static and shared, with CMake and with pkg-config.
# Usage: installed.sh PROJECT LIBRARIES, where installation.sh has installed the library.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

prefix=$work/moved
headers=$prefix/include/orva-classloader
cp -r "$libraries/installed" "$prefix"
! grep -rIFl -e "$root" -e "$libraries" "$prefix" >&2 || fail "the files above contain the paths of the build"
libraries=$prefix/lib
export CMAKE_PREFIX_PATH=$prefix PKG_CONFIG_PATH=$libraries/pkgconfig

(cd "$prefix" && find include lib ! -type d ! -path 'lib/cmake/*' | sort) >"$work/found"
sort >"$work/expected" <<END
include/orva-classloader/classloader/native_list.inc
include/orva-classloader/classloader/native_table.h
include/orva-classloader/classloader/natives.h
include/orva-classloader/classloader/record.h
include/orva-classloader/classloader/record_layout.h
include/orva-classloader/classloader/version.h
include/orva-classloader/host_contract/hooks.h
include/orva-classloader/runtime_api/compiler.h
include/orva-classloader/runtime_api/reflection.h
include/orva-classloader/runtime_api/runtime.h
lib/liborva-classloader.a
lib/liborva-classloader.so
lib/liborva-classloader.so.$interface
lib/liborva-classloader.so.$version
lib/liborva-host-contract.a
lib/pkgconfig/orva-classloader-static.pc
lib/pkgconfig/orva-classloader.pc
END
same "the installed files differ" "$work/expected" "$work/found"
PYTHONPATH=$root/tests/docs /usr/bin/python3 -B - "$prefix"/share/doc/orva-classloader <<'END' || fail "dead links"
import sys
from pathlib import Path
from page import Page

dead = [f"{path}:{line}: {link}" for path in Path(sys.argv[1]).rglob("*.md") for line, link in Page(path).links
        if not (path.parent / link.partition("#")[0]).exists()]
sys.exit("\n".join(dead) or 0)
END
readelf -d "$libraries/liborva-classloader.so" >"$work/dynamic"
grep -qF "soname: [liborva-classloader.so.$interface]" "$work/dynamic" || fail "the soname is wrong"

for compiler in g++ clang++; do
  for kind in static shared; do
    check_consumer "$compiler" "$kind" -DORVA_VERSION="${version%.*}"
    check_consumer_by_pkg_config "$compiler" "$kind"
  done
  for standard in c++17 c++20 c++2b; do
    for header in classloader/{natives,native_table,record_layout,version}.h host_contract/hooks.h \
      runtime_api/{compiler,reflection,runtime}.h; do
      "$compiler" -std="$standard" "${warnings[@]}" -I"$headers" -fsyntax-only -include "$header" -xc++ /dev/null ||
        fail "$header does not compile alone as $standard with $compiler"
    done
  done
done
for compiler in gcc clang; do
  "$compiler" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$headers" -fsyntax-only -include classloader/natives.h \
    -xc /dev/null || fail "natives.h does not compile as C11 with $compiler"
done

# Hosts may also ask for the whole archive themselves.
must_build "$work/consumer" "$work/whole" -DLINKED='$<LINK_LIBRARY:WHOLE_ARCHIVE,orva::classloader>'
must_run static "$work/whole/consumer"

# Pretends to be an older CMake.
echo 'set(CMAKE_VERSION 3.23.5)' >"$work/older.cmake"
! build "$work/consumer" "$work/older" -DCMAKE_PROJECT_INCLUDE="$work/older.cmake" ||
  fail "a CMake without link features is accepted"
grep -q 'OrvaClassLoader needs CMake 3.24 or newer; this is 3.23.5' "$work/older.log" ||
  fail "the message does not name the older CMake: $(cat "$work/older.log")"

! build "$work/consumer" "$work/other-version" -DORVA_VERSION=0.0 || fail "another minor version is accepted"

sed -i '/^void\* Orva_allocObject(/d' "$work/consumer/plain_host.h"
for kind in OFF ON; do
  ! build "$work/consumer" "$work/lacking" -DBUILD_SHARED_LIBS="$kind" || fail "a host links without a neighbour"
  grep -q "undefined reference to \`Orva_allocObject'" "$work/lacking.log" ||
    fail "the message does not name the missing neighbour: $(cat "$work/lacking.log")"
done
cp "$root/tests/symbols/plain_host.h" "$work/consumer"

mv "$libraries/liborva-classloader.a" "$work"
check_consumer g++ shared -DBUILD_SHARED_LIBS=OFF
mv "$work/liborva-classloader.a" "$libraries"
rm "$libraries"/liborva-classloader.so*
check_consumer g++ static -DBUILD_SHARED_LIBS=ON
