# Shared by the checks of this folder: how to build and check a consumer.
# shellcheck shell=bash source-path=SCRIPTDIR source=../common.sh
source "$(dirname "${BASH_SOURCE[0]}")/../common.sh"

require cmake ninja pkg-config readelf g++ clang++

here=$root/tests/packaging
cp -r "$here/consumer" "$work/consumer"
cp "$root/tests/symbols/plain_host.h" "$work/consumer"

# Makes a folder with a reflection.h whose record has views instead of strings.
make_view_record() { # folder
  mkdir -p "$1/runtime_api"
  sed '/^#include <string>/s/string/string_view/; s/std::string name/std::string_view name/
    s/const std::string& recordName/std::string_view recordName/' "$root/runtime_api/reflection.h" \
    >"$1/runtime_api/reflection.h"
}

build() { # source folder, build folder, options of CMake…
  { cmake -S "$1" -B "$2" -G Ninja "${@:3}" && cmake --build "$2"; } >"$2.log" 2>&1
}

must_build() {
  build "$@" || fail "$2 does not build: $(cat "$2.log")"
}

must_run() { # static or shared, program
  local needed
  "$2" || fail "$2: the host and the library do not agree"
  needed=$(readelf -d "$2" | grep -cF "[liborva-classloader.so.$interface]") || true
  [[ $1:$needed == static:0 || $1:$needed == shared:1 ]] || fail "$2 is not linked to the $1 library"
}

# Builds the consumer as a CMake project and runs it. Each compiler has one build folder, so that it compiles the
# consumer once and only links it again.
check_consumer() { # compiler, static or shared, options of CMake…
  local folder=$work/$1 shared=OFF
  [[ $2 == static ]] || shared=ON
  rm -f "$folder/consumer"
  must_build "$work/consumer" "$folder" -DCMAKE_CXX_COMPILER="$1" -DBUILD_SHARED_LIBS=$shared "${@:3}"
  must_run "$2" "$folder/consumer"
}

# Builds and runs it without CMake, with the flags of pkg-config.
check_consumer_by_pkg_config() { # compiler, static or shared
  local object=$work/$1-by-pkg-config.o program=$work/$1-$2-by-pkg-config package=orva-classloader link
  [[ $2 == shared ]] || package=orva-classloader-static
  link="$(pkg-config --libs "$package") -Wl,-rpath,$(pkg-config --variable=libdir "$package")"
  # shellcheck disable=SC2046  # a list of flags
  [[ -f $object ]] ||
    "$1" -std=c++17 -fvisibility=hidden -c "$work/consumer/host.cpp" -o "$object" $(pkg-config --cflags orva-classloader)
  # shellcheck disable=SC2086  # a list of flags
  "$1" "$object" -o "$program" $link || fail "$program does not build"
  must_run "$2" "$program"
}
