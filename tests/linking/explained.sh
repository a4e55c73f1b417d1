#!/usr/bin/env bash
# Shows that orva-trace also explains lookups and loads on this host, with the shared library and with the traced one.
# Usage: explained.sh PROJECT PREPARED
# shellcheck source-path=SCRIPTDIR source=../common.sh
source "$(dirname "$0")/../common.sh"

require g++ nm objcopy pkg-config python3
installed=$2/installed host=$root/tests/other_host
export PATH=$installed/bin:$PATH PKG_CONFIG_PATH=$installed/lib/pkgconfig LD_LIBRARY_PATH=$installed/lib
explained=$root/tests/tracing/explained_hosts
CPATH=$host "$explained/check_installed.sh" other \
  "$host"/{compiler,registry,runtime,by_name}.cpp "$explained/other_host_hooks.cpp"
