#!/usr/bin/env bash
# Follows the README in a copy of the project, whose build tree contains the host, already built, and one test that
# passes: `./dev` sets up and runs as usual, but builds nothing. Then runs the host of the README in each of its builds.
# Usage: follow_readme.sh PROJECT BUILD
set -euo pipefail
project=$1 build=$2 here=$(realpath "$(dirname "$0")")
cmake=$(command -v cmake)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/tools" "$work/project/build/dev" "$work/project/my_host"
cd "$work/project"
for part in "$project"/*; do
  [ "$part" = "$project/build" ] || cp -r "$part" .
done
find examples -name '*.o' -delete
ln -s "$build/bin" "$build/share" build/dev/
echo 'add_test(passes true)' >build/dev/CTestTestfile.cmake

# The README names four files; the plain host fits into the first, and the others stay empty.
cp tests/symbols/plain_host.cpp my_host/main.cpp
cp tests/symbols/plain_host.h my_host
touch my_host/{runtime,registry,compiler}.cpp

# Leaves out the kit and the tracer, which no host here uses.
cat >"$work/tools/cmake" <<TOOL
#!/bin/sh
case "\$*" in
  *--preset*) exit ;;
  *ORVA_TESTS=OFF*) set -- "\$@" -DORVA_HOST_CONTRACT=OFF -DORVA_TRACING=OFF ;;
esac
exec $cmake "\$@"
TOOL
printf '#!/bin/sh\necho install ok installed\n' >"$work/tools/dpkg-query"
chmod +x "$work"/tools/*
PATH=$work/tools:$PATH "$here/follow.py" --here README.md

my_host/build/my_host
my_host/with_static
LD_LIBRARY_PATH=build/installed/lib my_host/with_shared
nm -D --defined-only my_host/build/my_host | grep ' T orva_ClassLoader_getSystem$' >/dev/null ||
  { echo "README.md: dlsym cannot find the natives in the host of the README"; exit 1; }
echo "The host of the README was built and ran"
