#!/usr/bin/env bash
# Adds the kit to the library that symbols.libraries has built with g++, and installs both for other checks of this
# folder.
# Usage: installation.sh PROJECT LIBRARIES
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

build_library "$root" "$libraries/g++" --preset release -DORVA_HOST_CONTRACT=ON || fail "the kit is not built"
rm -rf "$libraries/installed"
cmake --install "$libraries/g++" --prefix "$libraries/installed" >"$libraries/install.log"
