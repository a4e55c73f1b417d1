#!/usr/bin/env bash
# Compares native_list.inc, which hosts include, with the natives that natives.h declares.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require cmake
cmake -P "$root/cmake/native_list.cmake" "$root/classloader/natives.h" "$work/list"
same "update it: cmake -P cmake/native_list.cmake classloader/natives.h classloader/native_list.inc" \
  "$work/list" "$root/classloader/native_list.inc"

# The comparison must name a native that is missing from the list.
sed '/^ORVA_NATIVE(orva_ClassLoader_getSystem,/d' "$work/list" >"$work/short"
! (same shown "$work/list" "$work/short") 2>"$work/shown" || fail "a missing native is not noticed"
grep -q '^-ORVA_NATIVE(orva_ClassLoader_getSystem,' "$work/shown" || fail "the missing native is not named"
