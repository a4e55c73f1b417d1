#!/usr/bin/env bash
# Checks that recursion which is too deep is caught on stacks of all sizes, and that classes are loaded, compiled ahead
# and instantiated at the end of the stack.
# Usage: check_stacks.sh ORVA_HOST [all]
# With `all`, also on stacks of more sizes, including those too small for sanitizers, and without /proc.
# shellcheck source-path=SCRIPTDIR source=checks.sh
source "$(dirname "$0")/checks.sh"

mkdir -p deep
echo 'package deep; class Item { static String text() { return "item"; } }' >deep/Item.ov
echo 'package deep; class Box<T> { static String of() { return "box of " + T.text(); } }' >deep/Box.ov
echo 'package deep; class Ahead { static String text() { return "ahead"; } }' >deep/Ahead.ov
{
  echo 'package deep; class Nested { static String text(boolean yes) {'
  for ((i = 0; i < 190; i++)); do printf 'if (yes) { '; done
  echo 'return "nested";'
  for ((i = 0; i < 190; i++)); do printf '} '; done
  echo 'return "no"; } }'
} >deep/Nested.ov
cat >Main.ov <<'OV'
class Main {
  static int down(int n) { return Main.down(n + 1) + 1; }
  static String work(int kind) {
    if (kind == 0) { return deep.Item.text(); }
    if (kind == 1) { return ClassLoader.getTypeByName("deep.Box<deep.Item>").call("of"); }
    if (kind == 2) { ClassLoader.precompileSources(["deep/Ahead.ov"]); }
    if (kind == 2) {
      ArrayList<String> identities = [Compiler.sourceIdentity("deep/Ahead.ov")];
      // It is loaded already when the stack was too small for what follows.
      try { ClassLoader.loadObjectBundle(["deep/Ahead.o"], identities, "deep.Ahead"); } catch (IllegalStateException e) { }
      return ClassLoader.getTypeByName("deep.Ahead").call("text");
    }
    if (kind == 3) { return deep.Nested.text(true); }
    return missing.Class.text();
  }
  // The handler of the deepest call does the work; those above it pass on what it throws.
  static void bottom(int n, int kind) {
    try { Main.bottom(n + 1, kind); } catch (Exception e) {
      if (e.className() == "Done") { throw new Done(e.message()); }
      String done = "";
      try { done = Main.work(kind); } catch (ClassNotFoundException missing) { done = missing.message(); }
      throw new Done(done);
    }
  }
  static void check(int kind) {
    try { Main.bottom(0, kind); } catch (Done e) { Console.print(e.message()); }
  }
  static void main() {
    try { Main.down(0); } catch (Exception e) { Console.print(e.message()); }
    Main.check(0);
    Main.check(1);
    Main.check(2);
    Main.check(3);
    Main.check(4);
    Main.down(0);
  }
}
OV
expected="Recursion too deep in 'Main.down'
item
box of item
ahead
nested
Class not found: missing.Class
Exception: Recursion too deep in 'Main.down'"
check() {  # STACK COMMAND…
  rm -f deep/Ahead.o
  (ulimit -s "$1" && timeout 100 "${@:2}" "$host" run Main.ov >.output 2>.errors)
  expect "stack of $1 KiB ${*:2}" "1 $expected" "$? $(cat .output && head -1 .errors)"
}
# Reaching the end of the largest stack takes a second each time.
check_unlimited() {  # COMMAND…
  local once=${expected/item*missing.Class/item}
  sed '/Main.check([1-4])/d; s/Main/Brief/g' Main.ov >Brief.ov
  (ulimit -s unlimited && timeout 100 "$@" "$host" run Brief.ov >.output 2>.errors)
  expect "unlimited stack $*" "1 ${once//Main/Brief}" "$? $(cat .output && head -1 .errors)"
}
for stack in 192 1024 8192; do check $stack; done

# The frame of a method stays small, however many calls it makes and however many arguments they take.
arguments=$(printf 'n%.0s,' {1..254})n
{
  echo 'class Wide { static void main() { Wide.down(0); } static void down(int n) { Wide.down(n + 1);'
  for ((i = 0; i < 440; i++)); do echo "late.Class.f($arguments);"; done
  echo '} }'
} >Wide.ov
(ulimit -s 8192 && "$host" run Wide.ov >.output 2>.errors)
expect 'wide calls' "1 Exception: Recursion too deep in 'Wide.down'" "$? $(head -1 .errors)"
[ "${2-}" = all ] || exit $failures

for stack in 48 100 256 300 512 3000; do check $stack; done
check_unlimited

# A long method has a large frame, whatever statements it has. If the stack is too small for it, the call raises.
lines() {  # COUNT LINE, in which `#` is the line's number
  for ((i = 0; i < $1; i++)); do echo "${2//#/$i}"; done
}
# If such a method calls itself, the error is that the recursion is too deep, however large the first frame is.
{
  echo 'class Long { static int down(int n) {'
  lines 3000 'int v# = n;'
  echo 'return Long.down(n + 1); } static void main() { Long.down(0); } }'
} >Long.ov
for stack in 192 1024 8192; do
  (ulimit -s $stack && "$host" run Long.ov >.output 2>.errors)
  expect "long recursion on $stack KiB" "1 Exception: Recursion too deep in 'Long.down'" "$? $(head -1 .errors)"
done
long_method() {  # CLASS COUNT LINE
  echo "class $1 {"
  echo 'static int number(int n) { return n; }'
  echo 'static String text(int n) { return "text"; }'
  echo "static void long(int n, String s) {"
  lines "$2" "${3//@/$1}"
  echo 'Console.print("done"); }'
  echo "static void main() { try { $1.long(1, \"s\"); } catch (Exception e) { Console.print(e.message()); } } }"
}
long_method Variables 6000 'int v# = n;' >Variables.ov
long_method Flags 4000 'boolean f# = (n == #) == (s == "s");' >Flags.ov
long_method Sums 3000 's = @.text(n) + @.text(n) + @.number(n);' >Sums.ov
long_method Branches 3000 'if (@.number(n) == @.number(n)) { s = "a" + n + @.text(n); }' >Branches.ov
long_method Handlers 1000 'try { s = @.text(n) + @.text(n); } catch (Exception e) { s = e.message(); }' >Handlers.ov
long_method Late 1200 'try { s = "" + late.A.f(n) + late.A.g(n); } catch (ClassNotFoundException e) { }' >Late.ov
for class in Variables Flags Sums Branches Handlers Late; do
  told=0
  for stack in 48 100 160; do
    found=$(ulimit -s $stack && exec "$host" run $class.ov 2>&1)
    case "$? $found" in
      '0 done') ;;
      "0 The stack has no room for '$class.long', which needs about "[0-9]*" bytes") told=1 ;;
      *) fail "$class on $stack KiB: found <$found>" ;;
    esac
  done
  expect "a stack that is too small for $class" 1 $told
  expect "$class on 8 MiB" 'done' "$(ulimit -s 8192 && exec "$host" run $class.ov 2>&1)"
done

# The program is read and compiled however deeply it is nested, even if it has an error.
nested() {  # CLASS COUNT OPEN INNER CLOSE
  echo "class $1 { static boolean no() { return false; } static void main() { Console.print(\"start\");"
  for ((i = 0; i < $2; i++)); do printf '%s' "$3"; done
  printf '%s' "$4"
  for ((i = 0; i < $2; i++)); do printf '%s' "$5"; done
  echo ' } }'
}
nested Parentheses 1 'Console.print(' "$(printf '(%.0s' {1..190})1$(printf ')%.0s' {1..190})" ');' >Parentheses.ov
nested Branches 190 'if (Branches.no()) { ' 'Console.print("1");' ' } ' >Branches.ov
nested Handlers 190 'try { ' 'Console.print("1");' ' } catch (Exception e) { }' >Handlers.ov
sed 's/Console.print("1");/unknown = 1;/; s/Branches/Wrong/g' Branches.ov >Wrong.ov
for stack in 48 56 64 96 128 160 192 256; do
  (ulimit -s $stack && exec "$host" run Wrong.ov >.output 2>.errors)
  expect "a wrong program on $stack KiB" "1 error: unknown variable 'unknown'" "$? $(sed -n '1s/.*: error/error/p' .errors)"
  for class in Parentheses Branches Handlers; do
    found=$(ulimit -s $stack && exec "$host" run $class.ov 2>&1)
    case "$? $found" in
      0\ start*) ;;
      *) fail "$class nested on $stack KiB: found <$found>" ;;
    esac
  done
done

# A stack that is too small to start the host is reported in one line.
echo 'class Hello { static void main() { Console.print("Hello"); } }' >Hello.ov
for stack in 16 18 20 22 24 28 32 36 40; do
  (ulimit -s $stack && exec "$host" run Hello.ov >.output 2>.errors)
  found="$? $(cat .output .errors)"
  case $found in
    '0 Hello' | '1 orva-host: the stack is too small: less than 24 KiB of it is left (ulimit -s)') ;;
    *) fail "Hello on $stack KiB: found <$found>" ;;
  esac
done

# None of this depends on /proc.
# shellcheck disable=SC2016
without_proc=(unshare --user --map-root-user --mount sh -c 'mount -t tmpfs none /proc && exec "$@"' sh)
if "${without_proc[@]}" true 2>/dev/null; then
  for stack in 48 100 8192; do check $stack "${without_proc[@]}"; done
  check_unlimited "${without_proc[@]}"
  cat >Deep.ov <<'OV'
class Deep {
  static int down(int n) { if (n == 10000) { return n; } return Deep.down(n + 1); }
  static void main() { Console.print("" + Deep.down(0)); }
}
OV
  expect 'deep without /proc' 10000 "$(ulimit -s 8192 && "${without_proc[@]}" "$host" run Deep.ov 2>&1)"
fi
exit $failures
