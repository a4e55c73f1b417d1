#!/usr/bin/env bash
# Checks what happens to programs that run out of memory: they get exceptions, which they can catch, and any other
# failure is reported in one line. What fails first depends on the limit, so each program runs under many limits. Usage:
# check_memory.sh ORVA_HOST
# shellcheck source-path=SCRIPTDIR source=checks.sh
source "$(dirname "$0")/checks.sh"

# Texts that double, texts that grow a little in each call, texts that are joined and dropped, lists, numbers, and
# exceptions; each program runs into an exception, which it catches, and continues.
program() {  # NAME PARAMETERS FIRST BODY
  cat >"$1.ov" <<OV
class $1 {
  static void more($2) {
    $4
  }
  static void main() {
    try { $1.more($3); } catch (Exception e) { Console.print("caught " + e.className() + ": " + e.message()); }
    Console.print("goes " + "on");
    $1.more($3);
  }
}
OV
}
program Doubled 'String text' '"0123456789"' 'Doubled.more(text + text);'
program Grown 'String text' '"0123456789"' 'Grown.more(text + "0123456789012345678901234567890123456789012345678901234567890123456789");'
program Joined 'String text, int n' '"0123456789", 0' 'Joined.twice(text); Joined.more(text, n + 1); }
  static void twice(String text) { Joined.once(text); Joined.once(text); Joined.once(text); Joined.once(text); }
  static void once(String text) { String all = text + text + text + text; all = all + all + all + all + all + all; all = all + all + all + all + all + all; all = all + all + all; all = all + all + all;'
program Listed 'ArrayList<String> list, int n' '[], 0' 'Listed.fill(list, 0); Listed.more(list, n + 1); }
  static void fill(ArrayList<String> list, int n) { if (n == 20000) { return; } list.add("x"); list.add("x"); list.add("x"); list.add("x"); Listed.fill(list, n + 1);'
program Thrown 'int n' '0' 'Thrown.fill(0); Thrown.more(n + 1); }
  static void fill(int n) { if (n == 5000) { return; } try { throw new Sour("a message that takes some memory, and is kept for good, as all are, " + n); } catch (Sour e) { } Thrown.fill(n + 1);'
names=(Doubled Grown Joined Listed Thrown)

# A class whose compilation may need more memory than there is.
{
  echo 'class Wide {'
  for ((i = 0; i < 1500; i++)); do echo "  static String m$i(String a) { Console.print(\"a\" + $i + a); return \"text $i\" + a; }"; done
  echo '  static String all() { return "all"; }'
  echo '}'
} >Wide.ov
echo 'class UseWide { static void main() { Console.print(Wide.all()); } }' >UseWide.ov

# The least limit under which the host starts.
least=0
for ((limit = 60000; limit < 1000000; limit += 10000)); do
  echo 'class Hello { static void main() { Console.print("Hello"); } }' >Hello.ov
  (ulimit -v $limit && "$host" run Hello.ov >.output 2>.errors)
  status=$?
  if [ $status -eq 0 ]; then
    least=$limit
    break
  fi
  # Below that, the dynamic linker or the host reports the failure in one line.
  [ $status -eq 127 ] || { [ $status -eq 1 ] && [ "$(wc -l <.errors)" -eq 1 ] && grep -q "^Out of memory while " .errors; } ||
    fail "start with $limit KiB: found status $status, <$(head -3 .errors)>"
done
[ $least -gt 0 ] || fail 'the host does not start with 1 GB'

# What runs under one limit runs under every higher one.
for ((more = 0; more < 36000; more += 400)); do
  expect "Hello with $((least + more)) KiB" Hello "$(ulimit -v $((least + more)) && "$host" run Hello.ov 2>&1)"
done

# If one thread can precompile the sources, several can: the host starts only as many as the address space has room for.
mkdir ahead
for name in One Two Three Four; do echo "package ahead; class $name { }" >ahead/$name.ov; done
echo 'class Ahead {
  static void main() {
    ClassLoader.precompileSources(["ahead/One.ov", "ahead/Two.ov", "ahead/Three.ov", "ahead/Four.ov"]);
    Console.print("compiled");
  }
}' >Ahead.ov
for ((more = 0; more < 60000; more += 4000)); do
  limit=$((least + more))
  alone=$(ulimit -v $limit && taskset -c 0 "$host" run Ahead.ov 2>&1)
  together=$(ulimit -v $limit && "$host" run Ahead.ov 2>&1)
  [ "$alone" != compiled ] || expect "several threads with $limit KiB" compiled "$together"
  expect "lines of several threads with $limit KiB" 1 "$(grep -c '^compiled$\|Out of memory' <<<"$together")"
done

# A source whose parsing needs more memory than there is: the message names it, whatever the program asked for.
mkdir -p huge
{
  echo 'package huge; class Huge { static void main() { } }'
  head -c 3000000 /dev/zero | tr '\0' '('
} >huge/Huge.ov
huge() {  # NAME BODY EXPECTED
  echo "class $1 { static void main() { $2 } }" >"$1.ov"
  (ulimit -v $((least + 40000)) && "$host" run "${4-$1.ov}" >.output 2>.errors)
  expect "a huge source, $1" "1 $3" "$? $(head -1 .errors)"
}
huge Program '' "Out of memory while reading 'huge/Huge.ov'" huge/Huge.ov
huge Caller 'huge.Huge.main();' "Out of memory while reading './huge/Huge.ov'"
huge Loader 'ClassLoader.getTypeByName("huge.Huge");' "Out of memory while loading './huge/Huge.ov'"
huge Instance 'ClassLoader.getTypeByName("huge.Huge<int>");' "Out of memory while reading './huge/Huge.ov'"
huge Ahead 'ClassLoader.precompileSources(["huge/Huge.ov"]);' "Out of memory while compiling 'huge/Huge.ov'"
echo 'class Identity { static void main() { Compiler.sourceIdentity("huge/Huge.ov"); } }' >Identity.ov
for ((size = 3000000; size < 30000000; size += 3000000)); do
  truncate -s $size huge/Huge.ov
  (ulimit -v $((least + 40000)) && "$host" run Identity.ov >.output 2>.errors)
  found="$? $(head -1 .errors)"
  case $found in
    '0 ' | '1 Exception: Out of memory' | "1 IOException: Cannot read 'huge/Huge.ov': Cannot allocate memory") ;;
    *) fail "the identity of a source of $size bytes: found <$found>" ;;
  esac
done
rm -r huge

for stack in 256 8192; do
  for ((more = 0; more < 60000; more += 4000)); do
    limit=$((least + more))
    (ulimit -s $stack && ulimit -v $limit && timeout 100 "$host" run UseWide.ov >.output 2>.errors)
    found="$? $(cat .output) $(sed -E "s/class '(UseWide|Wide|orva.Console)'|'([^']*\/)?(UseWide|Wide|Console)\.ov'/CLASS/; s/while [a-z]+ /while MAKING /" .errors | head -1)"
    case $found in
      '0 all ' | '1  Out of memory while MAKING CLASS' | '1  Exception: Out of memory while MAKING CLASS' | '1  Exception: Out of memory: no room for a stack of '*) ;;
      '1  Cannot compile CLASS: the stack is too small, and no thread with a larger one can be started: '*) ;;
      *) fail "UseWide with $limit KiB and a stack of $stack KiB: found <$found>" ;;
    esac
  done
done

for name in "${names[@]}"; do
  for more in 0 3000 10000 31000 64000 200000; do
    limit=$((least + more))
    (ulimit -v $limit && timeout 100 "$host" run "$name.ov" >.output 2>.errors)
    status=$?
    first=$(head -1 .errors)
    case $first in
      "Exception: Out of memory: no room for a stack of "*) ;;
      "Exception: Out of memory"* | "Exception: Recursion too deep in '$name."*) grep -q "^  at $name.ov:[0-9]* in $name\.[a-z]*$" .errors ||
        fail "$name with $limit KiB: no place in <$(cat .errors)>" ;;
      "Out of memory while "*"ing class '"*"'" | "Out of memory while loading '"*".ov'") [ "$(wc -l <.errors)" -eq 1 ] || fail "$name with $limit KiB: found <$(cat .errors)>" ;;
      *) fail "$name with $limit KiB: found <$(head -5 .errors)>" ;;
    esac
    [ $status -eq 1 ] || fail "$name with $limit KiB: found status $status, <$first>"
  done
  # Under the highest limit, the program itself has caught an exception.
  case $(cat .output) in
    "caught Exception: Out of memory: no room for a "*$'\ngoes on') ;;
    "caught Exception: Recursion too deep in "*$'\ngoes on') ;;
    *) fail "$name: found <$(cat .output)>" ;;
  esac
done
exit $failures
