# What the checks of this folder share: the project's root, a temporary folder, and how a check fails.
# shellcheck shell=bash disable=SC2034
set -euo pipefail

root=${1:?usage: $0 <root of the project>}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror)

fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# Each check needs all of its compilers: one that is missing is a failure, never a check left out.
require() {
  local tool
  for tool in "$@"; do
    command -v "$tool" >/dev/null || fail "$tool is not installed"
  done
}

natives() {
  sort <<'END'
orva_ClassLoader_addSourceRoot
orva_ClassLoader_getSystem
orva_ClassLoader_getTypeByName
orva_ClassLoader_loadObjectBundle
orva_ClassLoader_loadSourceClass
orva_ClassLoader_objectAbiVersion
orva_ClassLoader_precompileSources
orva_SystemClassLoader_loadClass
orva_SystemClassLoader_loadPackageTypes
END
}

same() {
  diff -u "$2" "$3" >&2 || fail "$1"
}
