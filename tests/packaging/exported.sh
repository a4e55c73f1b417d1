#!/usr/bin/env bash
# Embeds the library in a project that installs and exports libraries that link it, and uses these in a third project.
# shellcheck source-path=SCRIPTDIR source=common.sh
source "$(dirname "$0")/common.sh"

cp -r "$here"/{exporter,user_of_exporter} "$work"
prefix=$work/prefix
# Distributions do not use the default folders either.
libraries=lib/$(g++ -dumpmachine)
installed=(-DORVA_SOURCE="$root" -DCMAKE_UNITY_BUILD=ON
  -DCMAKE_INSTALL_LIBDIR="$libraries" -DCMAKE_INSTALL_INCLUDEDIR=headers)

must_build "$work/exporter" "$work/exports" "${installed[@]}" -DORVA_INSTALL=ON
cmake --install "$work/exports" --prefix "$prefix" >"$work/install.log"
for file in headers/orva-classloader/classloader/natives.h "$libraries"/liborva-classloader.{a,so} \
  "$libraries/pkgconfig/orva-classloader.pc" "$libraries/cmake/OrvaClassLoader/OrvaClassLoaderConfig.cmake"; do
  [[ -f $prefix/$file ]] || fail "$file is not installed: $(find "$prefix")"
done
[[ ! -e $prefix/lib/liborva-classloader.a && ! -e $prefix/share/doc && ! -e $prefix/include ]] ||
  fail "files are installed that the project does not want, or not where it wants them: $(find "$prefix")"

mv "$prefix" "$work/moved"
must_build "$work/user_of_exporter" "$work/user" -DCMAKE_PREFIX_PATH="$work/moved"
programs=("$work"/user/uses_*)
[[ ${#programs[@]} -eq 8 ]] || fail "expected 8 programs, but built ${programs[*]}"
for program in "${programs[@]}"; do
  "$program" || fail "$program: the host and the library do not agree"
done

# Without ORVA_INSTALL, a library that becomes part of another one needs no export. For any other, CMake reports that it
# does.
must_build "$work/exporter" "$work/inside" "${installed[@]}" -DTYPES=SHARED -DSCOPES=PRIVATE -DKINDS=static
for needed in STATIC:PUBLIC:static STATIC:PRIVATE:static SHARED:PUBLIC:static SHARED:PUBLIC:shared; do
  IFS=: read -r type scope kind <<<"$needed"
  ! cmake -S "$work/exporter" -B "$work/inside" -DTYPES="$type" -DSCOPES="$scope" -DKINDS="$kind" >"$work/log" 2>&1 ||
    fail "$needed is exported although the library that it links is not installed"
  grep -q "requires target \"orva_classloader_.*$kind\" that is not in any export set" "$work/log" ||
    fail "$needed: CMake does not name the missing export: $(cat "$work/log")"
done

# Libraries that the project does not link are installed too.
must_build "$work/exporter" "$work/inside" -DORVA_INSTALL=ON -DTYPES=STATIC -DSCOPES=PUBLIC -DKINDS=static
cmake --install "$work/inside" --prefix "$work/whole" >"$work/log" 2>&1 ||
  fail "a library that is not linked cannot be installed: $(cat "$work/log")"
[[ -f $work/whole/$libraries/liborva-classloader.so ]] || fail "the library that the project does not link is missing"
