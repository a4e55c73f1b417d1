#!/usr/bin/env bash
# Installs the project into an empty folder, moves it, and runs a program with nothing but what is there.
# Usage: check_installed.sh CMAKE BUILD_FOLDER
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" --install "$2" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
cat >"$work/Main.ov" <<'OV'
class Main {
  static void main() {
    Console.print(ClassLoader.getTypeByName("orva.Console").source());
    ClassLoader.precompileSources(["Main.ov"]);
    Console.print(ClassLoader.getSystem() != null);
  }
}
OV
cd "$work"
printed=$(env -i PATH=/nowhere "$work/moved/bin/orva-host" run Main.ov)
expected="$work/moved/share/orva/stdlib/orva/Console.ov"$'\ntrue'
if [ "$printed" != "$expected" ] || [ ! -s Main.o ]; then
  printf 'expected:\n%s\nfound:\n%s\n' "$expected" "$printed"
  exit 1
fi
