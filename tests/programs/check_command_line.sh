#!/usr/bin/env bash
# Checks the command line of orva-host: usage errors, --help, --version, arguments, class path and exit statuses.
# Usage: check_command_line.sh ORVA_HOST CXX_COMPILER
# shellcheck source-path=SCRIPTDIR source=checks.sh
page=$(realpath "$(dirname "$0")/../../reference_host/program/orva-host.1")
source "$(dirname "$0")/checks.sh"
compiler=$2

# Runs the host, with the library `preload`, and compares everything.
preload=
check() {  # NAME STATUS OUTPUT ERRORS WORD…
  local name=$1 status=$2 output=$3 errors=$4 found
  shift 4
  timeout 60 env ${preload:+"LD_PRELOAD=$preload" "$(any_link_order)"} "$host" "$@" >"$work/.output" 2>"$work/.errors" </dev/null
  found=$?
  [ "$found" -ne 2 ] || head -1 "$work/.errors" >>"$work/.usage"
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
printf '%s\n' 'package store;' 'class Sealed { static void main() { ClassLoader.getSystem().loadPackageTypes("store"); Console.print("nothing"); } }' >Sealed.ov

# Usage: one line on standard error, and status 2.
try="; try 'orva-host --help'"
check nothing 2 '' "orva-host: expected the command 'run'$try"
check no_file 2 '' "orva-host: expected a FILE to run$try" run
check only_arguments 2 '' "orva-host: expected the command 'run'$try" -- run app/Main.ov
check no_command 2 '' "orva-host: unknown command 'app/Main.ov'; did you mean 'run app/Main.ov'?" app/Main.ov
check near_command 2 '' "orva-host: unknown command 'rnu'; did you mean 'run'?" rnu app/Main.ov
for command in fly '' RUN -; do
  check "command_$command" 2 '' "orva-host: unknown command '$command': expected 'run'$try" "$command" app/Main.ov
done
check two_files 2 '' "orva-host: unexpected word 'NoMain.ov': expected one FILE, and the program's arguments after '--'$try" \
  run app/Main.ov NoMain.ov
check empty_file 2 '' "orva-host: the FILE is empty: expected the path of a program$try" run ''
check repeated 2 '' "orva-host: option '--stdlib' is given twice$try" run --stdlib a --stdlib=b app/Main.ov
for option in --class-path --stdlib; do
  expected="expected '$option DIR'$try"
  check "no_value $option" 2 '' "orva-host: option '$option' has no value: $expected" run app/Main.ov $option
  check "no_value_arguments $option" 2 '' "orva-host: option '$option' has no value: $expected" run app/Main.ov $option -- a
  check "option_as_value $option" 2 '' "orva-host: option '$option' has no value: $expected" run app/Main.ov $option --help
  check "empty_value $option" 2 '' "orva-host: option '$option' has an empty value: $expected" run app/Main.ov $option ''
  check "empty_value_in_word $option" 2 '' "orva-host: option '$option' has an empty value: $expected" run app/Main.ov $option=
done
for option in --help --version; do
  for value in '' yes; do
    check "valued $option" 2 '' "orva-host: option '$option' takes no value$try" "$option=$value"
  done
done

# Unknown options, also those that LLVM's own programs have; the nearest option is named.
for option in --fly -h -x --debug-pass=Structure --stats --print-after-all --print-options --time-passes --debug \
  --help-list --help-hidden --x86-asm-syntax=att -O2 ---; do
  check "unknown $option" 2 '' "orva-host: unknown option '${option%%=*}'$try" run app/Main.ov "$option"
  check "unknown ahead $option" 2 '' "orva-host: unknown option '${option%%=*}'$try" "$option" run app/Main.ov
done
near() {  # MEANT WORD…
  local word
  for word in "${@:2}"; do
    check "near $word" 2 '' "orva-host: unknown option '${word%%=*}'; did you mean '$1'?" run app/Main.ov "$word"
  done
}
near --class-path --clas-path --classpath --class-pth --Class-path -class-path --class-paths=one --class --class_path=
near --stdlib --stdlb --std-lib -stdlib --stdlib64 --std --stdlibs=x
near --help -help --hepl --halp --hel
near --version -version --versoin --vers
check escaped 2 '' "orva-host: unknown option '-\\x1B[31m\\n\\xFF'$try" run app/Main.ov $'-\e[31m\n\xff'

# Folders that cannot be searched are distinguished from those that do not exist.
check no_root 2 '' "orva-host: the class path root 'nowhere' does not exist$try" run app/Main.ov --class-path nowhere
check file_root 2 '' "orva-host: the class path root 'NoMain.ov' is not a directory$try" run app/Main.ov --class-path NoMain.ov
check no_library 2 '' "orva-host: no standard library in 'no_library': expected a folder 'orva' there$try" \
  run app/Main.ov --stdlib no_library
check absent_library 2 '' "orva-host: no standard library in 'nowhere': expected a folder 'orva' there$try" \
  run app/Main.ov --stdlib=nowhere
long=$(printf 'n%.0s' {1..300})
check long_root 2 '' "orva-host: cannot search the class path root '$long': File name too long$try" \
  run app/Main.ov --class-path "$long"
ln -s loop loop
check looped_library 2 '' "orva-host: cannot search the standard library 'loop/orva': Too many levels of symbolic links$try" \
  run app/Main.ov --stdlib loop

# --trace makes orva-trace run the same command without the option. It is found beside the host, or in PATH.
expected="expected '--trace[=FILE]'$try"
check empty_trace 2 '' "orva-host: option '--trace' has an empty value: $expected" run app/Main.ov --trace=
check repeated_trace 2 '' "orva-host: option '--trace' is given twice$try" run --trace app/Main.ov --trace=out.txt
mkdir -p moved tools
cp "$host" moved/orva-host
real_host=$host
stdlib=$(dirname "$(dirname "$host")")/share/orva/stdlib
host=$work/moved/orva-host
orva_trace=$'#!/bin/sh\necho "$0"; printf "<%s>" "$@"; exit 7'
echo "$orva_trace" >tools/orva-trace
chmod +x tools/orva-trace
check no_trace 2 '' \
  "orva-host: --trace needs the program 'orva-trace', which is neither beside orva-host nor in PATH" \
  run --trace app/Main.ov --stdlib "$stdlib"
shown() { printf '%s\n' "$1"; printf '<%s>' "${@:2}"; }
command=("$host" run app/Main.ov "--stdlib=$stdlib" --class-path=one --class-path=two -- --trace '')
PATH=$work/tools:$PATH check trace_in_path 7 "$(shown "$work/tools/orva-trace" -- "${command[@]}")" '' \
  run --trace app/Main.ov --stdlib "$stdlib" --class-path one --class-path=two -- --trace ''
cp tools/orva-trace moved
check trace_beside 7 "$(shown "$work/moved/orva-trace" '--output=to here' -- "${command[@]}")" '' \
  run app/Main.ov --class-path one '--trace=to here' --stdlib "$stdlib" --class-path=two -- --trace ''
before=$(cat app/Main.ov)
check trace_into_program 2 '' "orva-host: --trace would overwrite the program 'app/Main.ov': expected another file" \
  run app/Main.ov --trace=./app/Main.ov --stdlib "$stdlib"
[ "$before" = "$(cat app/Main.ov)" ] || { echo 'trace_into_program: it was overwritten'; failures=1; }
rm moved/orva-trace
mkdir moved/orva-trace
check trace_refused 2 '' "orva-host: cannot run 'orva-trace': Permission denied" run --trace app/Main.ov --stdlib "$stdlib"
host=$real_host

# Help and version.
for words in --help 'run --help' 'run app/Main.ov --help' '--help fly'; do
  # shellcheck disable=SC2086
  "$host" $words >.output 2>.errors || fail "$words: status $?"
  [ -s .errors ] && fail "$words: printed errors"
  for text in 'run FILE' '--class-path DIR' '--stdlib DIR' '--trace[=FILE]' '-- ARG...' --help --version 'trusted code' 'Exit status'; do
    grep -qF -- "$text" .output || fail "'$words' does not mention '$text'"
  done
  awk 'length > 120 { exit 1 }' .output || fail "'$words' prints lines that are too long"
done
version='orva-host [0-9]+\.[0-9]+\.[0-9]+ \(LLVM 19\.[0-9.]+, [a-z0-9_]+-[a-z0-9_-]+\)'
"$host" --version | grep -qxE "$version" || fail 'wrong version'
"$host" --version >/dev/full 2>.errors
expect 'version to a full disk' '1 Cannot print: No space left on device' "$? $(cat .errors)"

# LLVM would read a name that begins with '@' as a response file.
cp app/Main.ov @Main.ov
sed -i 's/class Main/class Response/; s/Main\./Response./g' @Main.ov
check response_file 1 '' "'@Main.ov' has no class '@Main': expected one named after the file" run @Main.ov
mkdir -p @app
cp app/Main.ov @app/Main.ov
check response_folder 0 '<@x>' '' run @app/Main.ov -- @x
check absent_response_file 1 '' "Cannot read '@absent': No such file or directory" run @absent
check dash 1 '' "Cannot read '-': No such file or directory" run -

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
ln -s app/store folder
ln -s app/store/Shop.ov Shop.ov
check linked_folder 0 'item of the program extra of two' '' run folder/Shop.ov --class-path two
check linked_program 0 'item of the program extra of two' '' run Shop.ov --class-path two
rm folder Shop.ov

# Programs that cannot start.
shows="expected one named after the file"
check absent 1 '' "Cannot read 'Absent.ov': No such file or directory" run Absent.ov
check folder 1 '' "Cannot read 'app': expected a regular file" run app
check wrong_name 1 '' "'Named.ov' has no class 'Named': $shows" run Named.ov
for class in Empty NoMain Instance Wide; do
  check $class 1 '' "Class '$class' has no method 'static void main()' or 'static void main(ArrayList<String> args)'" \
    run $class.ov
done
echo 'class Generic<T> { static void main() { } }' >Generic.ov
check Generic 1 '' "Class 'Generic' is generic: expected 'main' in a class without type parameters" run Generic.ov
check incomplete_library 1 '' "$(printf '%s\n' "ClassNotFoundException: Class not found: ClassLoader" '  at Sealed.ov:2 in store.Sealed.main' "  $(tail -1 Sealed.ov)")" \
  run Sealed.ov --stdlib broken

# Unprintable characters are escaped.
check escaped_file 1 '' "Cannot read 'a\\x1B[31m\\xFF\\rb': No such file or directory" run $'a\e[31m\xff\rb'

# A package directory that may not be read counts as empty; one that may not be searched does not count as missing.
echo 'no source' >sealed/store/Broken.ov
chmod 000 sealed/store
reader=("$host")
if [ "$(id -u)" -eq 0 ]; then
  # Another user may have no access to the build folder of the host.
  mkdir -p reachable/bin reachable/share
  cp "$host" reachable/bin/
  cp -r "$(dirname "$host")/../share/orva" reachable/share/
  chmod 711 "$work"
  reader=(setpriv --reuid=65534 --regid=65534 --clear-groups "$work/reachable/bin/orva-host")
fi
"${reader[@]}" run Sealed.ov --class-path sealed >.output 2>.errors
expect 'sealed package' '0 nothing' "$? $(cat .output .errors)"
denied() {  # EXPECTED WORD…
  "${reader[@]}" run "${@:2}" >.output 2>.errors </dev/null
  expect 'permission denied' "$1" "$? $(cat .output .errors)"
}
mkdir -p closed/inside/orva
cp Sealed.ov closed/
cp Sealed.ov Closed.ov
chmod 000 closed Closed.ov
denied "2 orva-host: cannot search the class path root 'closed': Permission denied$try" Sealed.ov --class-path closed
denied "2 orva-host: cannot search the class path root 'closed/inside': Permission denied$try" \
  Sealed.ov --class-path closed/inside
denied "2 orva-host: cannot search the standard library 'closed/orva': Permission denied$try" Sealed.ov --stdlib closed
denied "2 orva-host: cannot search the standard library 'closed/inside/orva': Permission denied$try" \
  Sealed.ov --stdlib=closed/inside
denied "1 Cannot read 'Closed.ov': Permission denied" Closed.ov
denied "1 Cannot read 'closed/Sealed.ov': Permission denied" closed/Sealed.ov

# Natives of another library: one throws what nobody catches, one is the `main` of a program and raises.
cat >natives.cpp <<'CPP'
#include <stdexcept>
extern "C" void Orva_raise(const char* exceptionClass, const char* message);
extern "C" void orva_Thrower_fail() { throw 42; }
namespace llvm { [[noreturn]] void report_fatal_error(const char* reason, bool generateCrashDump); }
extern "C" void orva_Silent_fail() { throw std::runtime_error(""); }
extern "C" void orva_Breaker_fail() { llvm::report_fatal_error("broken\x1B on purpose", false); }
extern "C" void orva_Raiser_main() { Orva_raise("Raised", "before any line was reached"); }
CPP
"$compiler" -shared -fPIC natives.cpp -o natives.so || failures=1
echo 'class Thrower { static native void fail(); static void main() { Console.print("first"); Thrower.fail(); } }' >Thrower.ov
echo 'class Silent { static native void fail(); static void main() { Silent.fail(); } }' >Silent.ov
echo 'class Breaker { static native void fail(); static void main() { Console.print("first"); Breaker.fail(); } }' >Breaker.ov
echo 'class Raiser { static native void main(); }' >Raiser.ov
preload=$work/natives.so
check foreign_object 1 first 'A native threw an object not derived from std::exception' run Thrower.ov
check failure_without_text 1 '' 'A native threw a std::exception without a message' run Silent.ov
check engine_failure 1 first "orva-host: the engine failed: broken\\x1B on purpose
This is a bug in orva-host. Please report it with the program's sources and these lines:
  version: $("$host" --version)
  command: $host run Breaker.ov -- 'a b'" run Breaker.ov -- 'a b'
echo 'class Box<T> { }' >Box.ov
echo 'class Precompiler { static void main() {
  ClassLoader.getTypeByName("Box<String>"); ClassLoader.precompileSources(["Empty.ov"]);
} }' >Precompiler.ov
mkdir temporary
cat >emitter.cpp <<'CPP'
namespace llvm { [[noreturn]] void report_fatal_error(const char* reason, bool generateCrashDump); }
// Replaces llvm::legacy::PassManager::run.
extern "C" bool _ZN4llvm6legacy11PassManager3runERNS_6ModuleE(void*, void*) {
  llvm::report_fatal_error("no instruction for this", true);
}
CPP
"$compiler" -shared -fPIC emitter.cpp -o emitter.so || failures=1
preload=$work/emitter.so
TMPDIR=$work/temporary check compiler_failure 1 '' "orva-host: the engine failed: no instruction for this
This is a bug in orva-host. Please report it with the program's sources and these lines:
  while: compiling 'Empty.ov'
  version: $("$host" --version)
  command: $host run Precompiler.ov" run Precompiler.ov
expect 'what a failure of the engine leaves' Empty.ov "$(find temporary -mindepth 1; ls Empty.*)"
preload=$work/natives.so
check raised_by_main 1 '' 'Raised: before any line was reached' run Raiser.ov
preload=

# A working directory too deep to have an absolute path: files are found by the given names.
folder=$(printf 'd%.0s' {1..200})
for ((i = 0; i < 25; i++)); do
  mkdir "$folder"
  cd -P "$folder" || exit 1
done 2>/dev/null
mkdir one two
echo 'package one; class Box<T> { static String of() { return "box"; } }' >one/Box.ov
echo 'package two; class Other { static String text() { return "other"; } }' >two/Other.ov
cat >one/Deep.ov <<'OV'
package one;
class Deep {
  static void main() {
    Console.print(two.Other.text());
    Console.print(ClassLoader.getTypeByName("one.Box<int>").call("of"));
    ClassLoader.precompileSources(["two/Other.ov"]);
  }
}
OV
check deep 0 $'other\nbox' '' run one/Deep.ov
[ -s two/Other.o ] || fail 'a deep folder: no object'
TMPDIR=two check deep_temporary_folder 0 $'other\nbox' '' run one/Deep.ov
expect 'a deep temporary folder' $'Other.o\nOther.ov' "$(ls two)"
cd one || exit 1
check deep_package 1 $'other\nbox' "Exception: Cannot read 'two/Other.ov': No such file or directory
  at Deep.ov:6 in one.Deep.main
      ClassLoader.precompileSources([\"two/Other.ov\"]);" run Deep.ov
check deep_missing 1 '' "Cannot read 'Missing.ov': No such file or directory" run Missing.ov
cd "$work" || exit 1

# The manual lists every usage error; its quoted words and reasons are placeholders.
shape() { sed -E "s/ '[^']*'/ '/g; s/; (try|did you mean) .*//; s/(: cannot .*'): .*/\\1/" "$@"; }
sed -n 's/^\.It "\(orva-host: .*\)"$/\1/p' "$page" | shape >.known
while IFS= read -r message; do
  grep -qF -- "$message" .known || fail "the manual lacks <$message>"
done < <(shape .usage | sort -u)

exit $failures
