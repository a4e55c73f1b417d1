#!/usr/bin/env bash
# Installs the Debian packages, builds hosts with them, runs a program if the reference host is among them, and removes
# them again.
# Usage: debian_packages.sh PROJECT FOLDER; FOLDER contains the packages.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

require unshare
made=$(realpath "$2")
template=/usr/share/orva-classloader/examples/minimal_host
mkdir -p "$work/tests/tracing"
cp "$root/tests/rename_functions.sh" "$work/tests"
cp -r "$root/tests/tracing/explained_hosts" "$work/tests/tracing"
mapfile -t packages < <(for package in "$made"/*.deb; do dpkg-deb --field "$package" Package; done)

installed_here() { dpkg-query -W -f '${Package} ${Status}\n' "${packages[@]}" 2>&1 || true; }
every_file() { find /etc /opt /usr /var/lib/dpkg/info -xdev | sort; }

use_hosts() {
  local compiler kind
  for compiler in g++ clang++; do
    for kind in static shared; do
      check_consumer "$compiler" "$kind"
      check_consumer_by_pkg_config "$compiler" "$kind"
    done
  done
}

# Builds and runs the template with each library.
use_template() {
  local shared
  for shared in OFF ON; do
    must_build "$template" "$work/template" -DBUILD_SHARED_LIBS=$shared
    "$work/template/minimal_lookup" | grep '^shop.Cart is a type$' >/dev/null || fail "the template does not run"
    "$work/template/check_minimal_host" >"$work/report" || fail "the template: $(cat "$work/report")"
  done
}

# Traces a host that uses the shared library, and one that links the traced library.
use_tracer() {
  local library
  cd "$work"
  for library in shared traced; do
    must_build "$work/consumer" "$work/$library" -DLINKED=orva::classloader_$library
    orva-trace --output tree -- "$work/$library/consumer" || fail "the $library host fails with a trace"
    grep -F 'ClassLoader.getTypeByName(' tree >/dev/null || fail "the $library host has no trace: $(cat tree)"
  done
  "$work/tests/tracing/explained_hosts/check_installed.sh" minimal "$template"/{text_compiler,minimal_host,hooks}.cpp ||
    fail "orva-trace does not explain what the template does"
  [[ -f /usr/share/man/man1/orva-trace.1.gz ]] || fail "the manual page of orva-trace is missing"
}

use_program() {
  [[ " ${packages[*]} " == *' orva-reference-host '* ]] || return 0
  local expected=/usr/share/orva/stdlib/orva/Console.ov printed
  printf 'class Main { static void main() { %s } }\n' \
    'Console.print(ClassLoader.getTypeByName("orva.Console").source());' >Main.ov
  printed=$(orva-host run Main.ov)
  [[ $printed == "$expected" ]] || fail "orva-host printed '$printed', expected '$expected'"
  orva-host run Main.ov --trace 2>&1 | grep -F 'ClassLoader.getTypeByName("orva.Console")' >/dev/null ||
    fail "orva-host --trace shows nothing"
  [[ -f /usr/share/man/man1/orva-host.1.gz ]] || fail "the manual page of orva-host is missing"
}

# Runs where the packages are installed.
use_packages() {
  [[ ! -e $root/README.md ]] || fail "the checkout is still visible"
  # `grep -q` would close the pipe early, and a signal would end ldconfig.
  ldconfig -p | grep -F "liborva-classloader.so.$interface " >/dev/null ||
    fail "the shared library is not in the linker's cache"
  use_hosts
  use_template
  use_tracer
  use_program
  dpkg --purge "${packages[@]}" >purged 2>&1 || fail "the packages cannot be removed: $(cat purged)"
  ! grep -iE 'warning|error' purged >&2 || fail "removing the packages prints warnings or errors"
  ! ldconfig -p | grep liborva >&2 || fail "the linker's cache still names the library"
  every_file >after
  ! comm -13 before after | grep . >&2 || fail "removing the packages leaves the files above"
}

depends_on() {  # PACKAGE DEPENDENCY
  dpkg-deb --field "$made/$1"_*.deb Depends | grep -F "$2" >/dev/null || fail "$1 does not depend on $2"
}

library=liborva-classloader$interface
for package in "${packages[@]}"; do
  case $package in
    "$library") depends_on "$package" 'libc6 (>= ' ;;
    liborva-classloader-dev) depends_on "$package" "$library (= $version)" ;;
    orva-trace) depends_on "$package" 'libc6 (>= ' ;;
    orva-reference-host) depends_on "$package" libllvm19 && depends_on "$package" "$library (>= " ;;
  esac
done
for package in "${packages[@]}"; do
  dpkg-deb --contents "$made/${package}"_*.deb
done | grep '^d' | grep -v '^drwxr-xr-x root/root' >&2 && fail "not everyone may open the folders above"

cd "$work"
every_file >before
installed_here >here_before
"$here/with_packages.sh" "$made" \
  bash -euo pipefail -c "$(declare -p root work here packages interface template); $(declare -f); use_packages" \
  "$(basename "$0")"
installed_here | diff here_before - >&2 || fail "the packages were installed on the machine itself"
