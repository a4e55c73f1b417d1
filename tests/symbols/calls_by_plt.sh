#!/usr/bin/env bash
# Shows that the shared library calls the host through its PLT, also if a packager's flags ask for another way.
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require c++filt nm readelf
for compiler in "${compilers[@]}"; do
  must_call_by_plt "the shared library of $compiler" "$(shared_library "$compiler")"
done
