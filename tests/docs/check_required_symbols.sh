#!/usr/bin/env bash
# Compares the table of symbols in docs/neighbours.md with what the library's objects leave to the host.
# Usage: check_required_symbols.sh ROOT_OF_THE_PROJECT
set -euo pipefail
export LC_ALL=C
cd "${1:?usage: $0 ROOT_OF_THE_PROJECT}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Plain names and the project's own: the other mangled ones are the standard library's.
undefined() {
  local source
  for source in classloader/*.cpp; do g++ -std=c++17 -I. -c "$source" -o "$work/${source##*/}.o"; done
  nm -u "$work"/*.o | awk '$1 == "U" && $2 ~ /^([^_]|_ZNK?4orva)/ { print $2 }' | sort -u
}

# A name with its parameters, the classes of the standard library called as people call them.
readable() {
  c++filt "$1" | sed 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g
    s/std::basic_string_view<char, std::char_traits<char> >/std::string_view/g
    s/, std::allocator<std::string > >/>/g'
}

# A row for each symbol that a header of runtime_api/ declares.
rows() {
  local symbol full name header
  while read -r symbol; do
    full=$(readable "$symbol")
    name=$(sed 's/^orva::compiler:://; s/[[(].*//' <<<"$full")
    header=$(grep -lE "\b${name##*:}[(;]" runtime_api/*.h) || continue
    echo "| \`$symbol\` | [\`$full\`](#$(tr -d : <<<"${name,,}")) | [\`${header##*/}\`](../$header) |"
  done
}

undefined | rows | sort -t'|' -k4,4r -k3,3 >"$work/needed"
grep '](../runtime_api/[a-z]*.h) |$' docs/neighbours.md >"$work/shown" || true
diff -u --label 'the table of docs/neighbours.md' "$work/shown" --label 'what the library needs' "$work/needed"
