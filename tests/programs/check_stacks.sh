#!/usr/bin/env bash
# Checks that recursion which is too deep is caught on stacks of all sizes, and that classes are loaded, compiled ahead
# and instantiated at the end of the stack.
# Usage: check_stacks.sh ORVA_HOST
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
      // It is there already when the stack was too short for what follows.
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
for stack in 192 256 300 512 1024 3000 8192 unlimited; do
  rm -f deep/Ahead.o
  (ulimit -s $stack && timeout 100 "$host" run Main.ov >.output 2>.errors)
  status=$?
  found=$(cat .output && head -1 .errors)
  if [ $status -ne 1 ] || [ "$found" != "$expected" ]; then
    printf 'stack of %s KiB: expected status 1, <%s>\n  found %s, <%s>\n' $stack "$expected" $status "$found"
    failures=1
  fi
done
exit $failures
