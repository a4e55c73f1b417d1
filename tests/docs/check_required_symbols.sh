#!/usr/bin/env bash
# Compares the table of symbols in docs/neighbours.md with the list of what a host must define; with --record, writes the
# table anew.
# Usage: check_required_symbols.sh ROOT_OF_THE_PROJECT [--record]
set -euo pipefail
export LC_ALL=C
cd "${1:?usage: $0 ROOT_OF_THE_PROJECT [--record]}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A name with its parameters, the classes of the standard library called as people call them.
readable() {
  c++filt "$1" | sed 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g
    s/std::basic_string_view<char, std::char_traits<char> >/std::string_view/g
    s/, std::allocator<std::string > >/>/g'
}

rows() {
  local header name symbol full
  while read -r header _ name symbol; do
    full=$(readable "$symbol")
    name=${name#orva::compiler::}
    echo "| \`$symbol\` | [\`$full\`](#$(tr -d : <<<"${name,,}")) | \`$header\` |"
  done
}

rows <abi/required_symbols.txt | sort -t'|' -k4,4r -k3,3 >"$work/needed"
# shellcheck disable=SC2016  # backquotes of the page
row='[|] `runtime_api/[a-z]*[.]h` [|]$'
if [ "${2:-}" = --record ]; then
  awk -v row="$row" -v needed="$work/needed" '
    $0 !~ row { print; next }
    !done++ { while ((getline line <needed) > 0) print line }' docs/neighbours.md >"$work/page"
  cp "$work/page" docs/neighbours.md
fi
grep "$row" docs/neighbours.md >"$work/shown" || true
diff -u --label 'the table of docs/neighbours.md' "$work/shown" --label 'abi/required_symbols.txt' "$work/needed"
