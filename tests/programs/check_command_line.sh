#!/usr/bin/env bash
# Checks the command line of orva-host: usage errors, --help, --version, arguments, class path and exit statuses.
# Usage: check_command_line.sh ORVA_HOST CXX_COMPILER
set -uo pipefail
host=$(realpath "$1") compiler=$2
work=$(realpath "$(mktemp -d)")
trap 'chmod -R u+rwx "$work"; rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

# A library that the host, and it alone, is started with.
preload=

# check NAME STATUS OUTPUT ERRORS WORD…: runs the host and compares everything.
check() {
  local name=$1 status=$2 output=$3 errors=$4 found
  shift 4
  timeout 60 env ${preload:+"LD_PRELOAD=$preload" "ASAN_OPTIONS=verify_asan_link_order=0:${ASAN_OPTIONS-}"} "$host" "$@" >"$work/.output" 2>"$work/.errors" </dev/null
  found=$?
  if [ "$found" -ne "$status" ] || [ "$(cat "$work/.output")" != "$output" ] || [ "$(cat "$work/.errors")" != "$errors" ]; then
    printf '%s: expected status %s, output <%s>, errors <%s>\n' "$name" "$status" "$output" "$errors"
    printf '  found status %s, output <%s>, errors <%s>\n' "$found" "$(cat "$work/.output")" "$(cat "$work/.errors")"
    failures=1
  fi
}

mkdir -p app/store one/store two/store broken/orva sealed/store no_library
cat >app/Main.ov <<'OV'
class Main {
  static void all(ArrayList<String> args, int at) {
    if (at == args.size()) { return; }
    Console.print("<" + args.get(at) + ">");
    Main.all(args, at + 1);
  }
  public static void main(ArrayList<String> args) { Main.all(args, 0); }
}
OV
cat >app/store/Shop.ov <<'OV'
package store;
class Shop { public static void main() { Console.print(Item.name() + " " + Extra.name()); } }
OV
item() { echo "package store; class $1 { static String name() { return \"$2\"; } }"; }
item Item 'item of one' >one/store/Item.ov
item Item 'item of two' >two/store/Item.ov
item Extra 'extra of two' >two/store/Extra.ov
echo 'class NoMain { static int main() { return 1; } }' >NoMain.ov
echo 'class Empty { }' >Empty.ov
echo 'class Another { static void main() { } }' >Named.ov
echo 'class Instance { void main() { } }' >Instance.ov
echo 'class Wide { static void main(String text) { } }' >Wide.ov
echo 'package store; class Sealed { static void main() { ClassLoader.getSystem().loadPackageTypes("store"); Console.print("nothing"); } }' >Sealed.ov
echo "class Deep {
  static int down(int n) { return Deep.down(n + 1); }
  static void main() { try { Deep.down(0); } catch (Exception e) { Console.print(e.message()); } }
}" >Deep.ov

# Usage.
try="; try 'orva-host --help'"
check nothing 2 '' "orva-host: expected the command 'run'$try"
check no_file 2 '' "orva-host: expected the FILE of a program$try" run
check only_arguments 2 '' "orva-host: expected the command 'run'$try" -- run app/Main.ov
check no_root 2 '' "orva-host: the class path root 'nowhere' is not a directory$try" run app/Main.ov --class-path nowhere
check file_root 2 '' "orva-host: the class path root 'NoMain.ov' is not a directory$try" run app/Main.ov --class-path NoMain.ov
check no_library 2 '' "orva-host: no standard library in 'no_library': expected a folder 'orva' there$try" \
  run app/Main.ov --stdlib no_library
check absent_library 2 '' "orva-host: no standard library in 'nowhere': expected a folder 'orva' there$try" \
  run app/Main.ov --stdlib=nowhere
check no_value 2 '' 'orva-host: for the --class-path option: requires a value!' run app/Main.ov --class-path
for words in 'fly app/Main.ov' 'run app/Main.ov --fly' 'run app/Main.ov NoMain.ov' \
  'run --stdlib a --stdlib b app/Main.ov' 'app/Main.ov'; do
  # shellcheck disable=SC2086
  timeout 60 "$host" $words >.output 2>.errors
  found=$?
  if [ $found -ne 2 ] || [ -s .output ] || ! grep -q -- '--help' .errors; then
    echo "'$words': expected status 2 and a hint at --help, found status $found, <$(cat .output)>, <$(cat .errors)>"
    failures=1
  fi
done

# Help and version.
for words in --help 'run --help'; do
  # shellcheck disable=SC2086
  "$host" $words >.output 2>.errors || { echo "$words: status $?"; failures=1; }
  [ -s .errors ] && { echo "$words: printed errors"; failures=1; }
  for text in run 'FILE' -- --help --version 'Exit status'; do
    case "$words $text" in 'run --help --version' | 'run --help Exit status' | '--help FILE') continue ;; esac
    grep -qF -- "$text" .output || { echo "'$words' does not tell of '$text'"; failures=1; }
  done
done
for text in --class-path --stdlib 'FILE [-- ARG...]'; do
  "$host" run --help | grep -qF -- "$text" || { echo "'run --help' does not tell of '$text'"; failures=1; }
done
"$host" --version | grep -qxE 'orva-host [0-9]+\.[0-9]+\.[0-9]+ \(LLVM 19\.[0-9.]+\)' || { echo 'wrong version'; failures=1; }

# Arguments.
check no_arguments 0 '' '' run app/Main.ov
check arguments 0 $'<a b>\n<>\n<--help>\n<-->\n<ü>' '' run app/Main.ov -- 'a b' '' --help -- ü

# Class path: the program's root first, then the roots in order.
check one_two 0 'item of one extra of two' '' run app/store/Shop.ov --class-path one --class-path two
check two_one 0 'item of two extra of two' '' run --class-path two app/store/Shop.ov --class-path one
check same_root 0 'item of two extra of two' '' run app/store/Shop.ov --class-path two --class-path ./two --class-path=two/
item Item 'item of the program' >app/store/Item.ov
check own_root 0 'item of the program extra of two' '' run app/store/Shop.ov --class-path two
cd app/store || exit 1
check inside_package 0 'item of the program extra of two' '' run Shop.ov --class-path ../../two
cd "$work" || exit 1

# Programs that cannot start.
shows="expected one named as the file"
check absent 1 '' "Cannot read 'Absent.ov': No such file or directory" run Absent.ov
check folder 1 '' "Cannot read 'app': expected a regular file" run app
check wrong_name 1 '' "'Named.ov' has no class 'Named': $shows" run Named.ov
for class in Empty NoMain Instance Wide; do
  check $class 1 '' "Class '$class' has no method 'static void main()' or 'static void main(ArrayList<String> args)'" \
    run $class.ov
done
check incomplete_library 1 '' "$(printf '%s\n' "ClassNotFoundException: Class not found: ClassLoader" '  at Sealed.ov:1' "  $(cat Sealed.ov)")" \
  run Sealed.ov --stdlib broken

# A package directory that may not be read counts as empty.
echo 'no source' >sealed/store/Broken.ov
chmod 000 sealed/store
reader=("$host")
if [ "$(id -u)" -eq 0 ]; then
  # Another user may not reach the folder that the host was built in.
  mkdir -p reachable/bin reachable/share
  cp "$host" reachable/bin/
  cp -r "$(dirname "$host")/../share/orva" reachable/share/
  chmod 711 "$work"
  reader=(setpriv --reuid=65534 --regid=65534 --clear-groups "$work/reachable/bin/orva-host")
fi
"${reader[@]}" run Sealed.ov --class-path sealed >.output 2>.errors
found="$? $(cat .output .errors)"
[ "$found" = '0 nothing' ] || { echo "sealed package: found '$found'"; failures=1; }

# Natives that another library brings: one throws what nobody catches, one is the program itself and raises.
cat >natives.cpp <<'CPP'
extern "C" void Orva_raise(const char* exceptionClass, const char* message);
extern "C" void orva_Thrower_fail() { throw 42; }
extern "C" void orva_Raiser_main() { Orva_raise("Raised", "before any line was reached"); }
CPP
"$compiler" -shared -fPIC natives.cpp -o natives.so || failures=1
echo 'class Thrower { static native void fail(); static void main() { Console.print("first"); Thrower.fail(); } }' >Thrower.ov
echo 'class Raiser { static native void main(); }' >Raiser.ov
preload=$work/natives.so
check foreign_object 1 first 'A native threw an object that is no std::exception' run Thrower.ov
check raised_by_main 1 '' 'Raised: before any line was reached' run Raiser.ov
preload=

# Output that cannot be written is a failure.
"$host" run app/Main.ov -- text >/dev/full 2>.errors
found="$? $(cat .errors)"
[ "$found" = '1 Cannot print: No space left on device' ] || { echo "full disk: found '$found'"; failures=1; }

# Recursion without end ends on a stack without limit too.
(ulimit -s unlimited && timeout 60 "$host" run Deep.ov >.output 2>.errors)
found="$? $(cat .output .errors)"
[ "$found" = "0 Recursion too deep in 'Deep.down'" ] || { echo "stack without limit: found '$found'"; failures=1; }
exit $failures
