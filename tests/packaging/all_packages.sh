#!/usr/bin/env bash
# Checks all Debian packages, including that of the reference host, and installs and uses them. Builds those that need
# no LLVM a second time in another folder; the result must be the same.
# Usage: all_packages.sh PROJECT FOLDER; FOLDER contains the packages.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

here=$root/tests/packaging
"$here/check_packages.sh" "$root" "$2"

TZ=Asia/Tokyo "$here/make_packages.sh" "$root" "$work/elsewhere"
for package in "$work/elsewhere"/*.deb; do
  cmp "$2/$(basename "$package")" "$package" || fail "a second build of the package differs: $(basename "$package")"
done

status=0
"$here/debian_packages.sh" "$root" "$2" || status=$?
[[ $status -eq 77 ]] || exit "$status"
