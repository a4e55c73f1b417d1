#!/usr/bin/env bash
# Leaves out each library in turn, embedded and installed. Hosts must get the other one, whichever they ask for.
# The library must also build without RTTI.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

# Both libraries use one build folder, so that the sources are compiled once.
for kind in static shared; do
  options=(-DORVA_STATIC=ON -DORVA_SHARED=OFF)
  files=$(printf '%s\n' liborva-classloader.a orva-classloader-static.pc)
  [[ $kind == static ]] || options=(-DORVA_STATIC=OFF -DORVA_SHARED=ON)
  [[ $kind == static ]] || files=$(printf '%s\n' liborva-classloader.so{,."$interface",."$version"} orva-classloader.pc)
  must_build "$root" "$work/library" -DORVA_TESTS=OFF -DORVA_REFERENCE_HOST=OFF -DORVA_HOST_CONTRACT=OFF -DORVA_TRACING=OFF \
    -DCMAKE_UNITY_BUILD=ON -DCMAKE_CXX_FLAGS=-fno-rtti "${options[@]}"
  prefix=$work/$kind
  cmake --install "$work/library" --prefix "$prefix" >"$work/install.log"
  found=$(cd "$prefix/lib" && find . -name '*orva-classloader*' -printf '%f\n' | sort)
  [[ $found == "$files" ]] || fail "without the other library, '$found' is installed, expected '$files'"
  for wanted in OFF ON; do
    check_consumer g++ "$kind" -DCMAKE_PREFIX_PATH="$prefix" -DOrvaClassLoader_DIR= -DBUILD_SHARED_LIBS=$wanted
    check_consumer clang++ "$kind" -DORVA_SOURCE="$root" "${options[@]}" \
      -DCMAKE_CXX_FLAGS=-fno-rtti -DCMAKE_UNITY_BUILD=ON -DBUILD_SHARED_LIBS=$wanted
  done
done
