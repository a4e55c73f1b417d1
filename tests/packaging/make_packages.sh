#!/usr/bin/env bash
# Makes the Debian packages that need no LLVM for the tests that install them.
# Usage: make_packages.sh PROJECT FOLDER
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake dpkg-buildpackage dh ninja
"$root/debian/make_packages.sh" "$2" --build-profiles=pkg.orva-classloader.nollvm >"$work/log" 2>&1 ||
  fail "making the packages fails: $(cat "$work/log")"
