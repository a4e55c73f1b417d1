#!/usr/bin/env bash
# Looks at all Debian packages, that of the reference host included; installs and uses them; and makes those that need no
# LLVM a second time, elsewhere, to see that they come out the same.
# Usage: all_packages.sh PROJECT FOLDER; the folder holds the packages.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

here=$root/tests/packaging
"$here/check_packages.sh" "$root" "$2"

TZ=Asia/Tokyo "$here/make_packages.sh" "$root" "$work/elsewhere"
for package in "$work/elsewhere"/*.deb; do
  cmp "$2/$(basename "$package")" "$package" || fail "made twice, a package differs: $(basename "$package")"
done

status=0
"$here/debian_packages.sh" "$root" "$2" || status=$?
[[ $status -eq 77 ]] || exit "$status"
