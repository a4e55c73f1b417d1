#!/usr/bin/env bash
# Makes the Debian packages, for the tests that install them.
# Usage: make_packages.sh PROJECT LIBRARIES BUILD FOLDER; the package of the reference host is made of what was built in
# BUILD, the others of what symbols.libraries has built, which is configured for /usr and not
# compiled again.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake ninja cpack dpkg-shlibdeps file
made=$4
rm -rf "$made"

{
  (cd "$root" && cmake --preset packages -B "$libraries/g++" -DORVA_REFERENCE_HOST=OFF) &&
    cmake --build "$libraries/g++" && (cd "$libraries/g++" && cpack -B "$made") &&
    cpack --config "$3/CPackConfig.cmake" -D CPACK_COMPONENTS_ALL=host -B "$made"
} >"$work/log" 2>&1 || fail "the packages cannot be made: $(cat "$work/log")"
