#!/usr/bin/env bash
# Checks what is printed for an uncaught exception: the calls that led to it, with recursion folded, and nothing that
# could control a terminal.
# Usage: check_uncaught.sh ORVA_HOST
# shellcheck source-path=SCRIPTDIR source=checks.sh
source "$(dirname "$0")/checks.sh"

# check NAME EXPECTED WORD…: runs the host and compares its errors; repetition counts above 999 mean deep recursion.
check() {
  local name=$1 expected=$2 found status
  shift 2
  timeout 60 "$host" run "$@" >.output 2>.errors </dev/null
  status=$?
  found=$(LC_ALL=C sed -E 's/, [0-9]{4,} more/, MANY more/' .errors)
  [ "$status" -eq 1 ] && [ "$found" = "$expected" ] && [ ! -s .output ] && return
  printf '%s: expected status 1 and <%s>\n  found status %s, <%s>\n' "$name" "$expected" "$status" "$found"
  failures=1
}

cat >T.ov <<'OV'
class T {
  static void main() {
    T.one();
  }

  static void one() {
    T.two(1);
  }
  static void two(int n) { throw new Sour("lemon " + n); }
}
OV
check calls $'Sour: lemon 1\n  at T.ov:9 in T.two\n    static void two(int n) { throw new Sour("lemon " + n); }
  at T.ov:7 in T.one\n  at T.ov:3 in T.main' T.ov

mkdir -p a
cat >a/Shop.ov <<'OV'
package a;
class Shop { static void sell() { Till.add(null); } }
class Till { static void add(ArrayList<String> items) { items.add("x"); } }
OV
echo 'class Buyer { static void main() { a.Shop.sell(); } }' >Buyer.ov
check classes $'Exception: Cannot call \'add\' on null\n  at ./a/Shop.ov:3 in a.Till.add
  class Till { static void add(ArrayList<String> items) { items.add("x"); } }
  at ./a/Shop.ov:2 in a.Shop.sell\n  at Buyer.ov:1 in Buyer.main' Buyer.ov

# Recursion with short periods, as deep as the stack, and with a number of calls that is not a multiple of the period.
cat >R1.ov <<'OV'
class R1 {
  static int down(int n) { return R1.down(n + 1); }
  static void main() { R1.down(0); }
}
OV
check recursion $'Exception: Recursion too deep in \'R1.down\'\n  at R1.ov:2 in R1.down
    static int down(int n) { return R1.down(n + 1); }\n  ... the call above, MANY more times\n  at R1.ov:3 in R1.main' R1.ov
for period in 2 3 5 8; do
  name=R$period
  {
    echo "class $name {"
    echo "  static void main() { $name.f0(0); }"
    for ((i = 0; i < period; i++)); do
      throws=
      [ $i -ne 1 ] || throws="if (n == 999) { throw new End(\"\"); } "
      echo "  static void f$i(int n) { $throws$name.f$(((i + 1) % period))(n + $((i == 1))); }"
    done
    echo '}'
  } >$name.ov
  # 999 whole rounds, and the two calls of the last one.
  expected=$(printf 'End: \n  at %s.ov:4 in %s.f1\n  %s' $name $name "$(sed -n 4p $name.ov)")
  for ((i = 0; i > 1 - period; i--)); do
    at=$(((i + period) % period))
    expected+=$(printf '\n  at %s.ov:%d in %s.f%d' $name $((at + 3)) $name $at)
  done
  expected+=$(printf '\n  ... the %d calls above, %d more times' $period $((998 + (period == 2))))
  [ $period -eq 2 ] || expected+=$(printf '\n  at %s.ov:4 in %s.f1\n  at %s.ov:3 in %s.f0' $name $name $name $name)
  expected+=$(printf '\n  at %s.ov:2 in %s.main' $name $name)
  check "recursion of $period" "$expected" $name.ov
done

# Calls without recursion, and too many to show.
{
  echo 'class Long {'
  for ((i = 0; i < 100; i++)); do echo "  static void m$i() { Long.m$((i + 1))(); }"; done
  echo '  static void m100() { throw new End("now"); }'
  echo '  static void main() { Long.m0(); }'
  echo '}'
} >Long.ov
timeout 60 "$host" run Long.ov 2>.errors
expect 'long chain' '67 64   ... 38 calls that are not shown' \
  "$(wc -l <.errors) $(grep -c '^  at Long.ov:' .errors) $(grep -F ... .errors)"

# Control characters in a message, a source line and a path; UTF-8 stays.
cat >Say.ov <<'OV'
class Say { static void main(ArrayList<String> args) { throw new Exception(args.get(0)); } }
OV
says() {  # MESSAGE SHOWN
  check "message $2" "$(printf 'Exception: %s\n  at Say.ov:1 in Say.main\n  %s' "$2" "$(cat Say.ov)")" Say.ov -- "$1"
}
says $'<\x01\x08\x0b\r\x1b\x1f\x7f\xc2\x80\xc2\x9b\xc2\x9f>' '<\x01\x08\x0B\r\x1B\x1F\x7F\u0080\u009B\u009F>'
says $'<\xff\xe2\x82\xed\xa0\x80\xc0\x9b>' '<\xFF\xE2\x82\xED\xA0\x80\xC0\x9B>'
says $'<\t\n  grün €  𝄞>' $'<\t\n      grün €  𝄞>'
# No line of a message looks like a call.
says $'x\n  at Fake.ov:1 in Fake.main\n\n  ... more' $'x\n      at Fake.ov:1 in Fake.main\n    \n      ... more'

name=$'\e[31mRed'
mkdir "$name"
printf 'class Red { static void main() { /* \e[2J */ throw new Exception(""); } }\n' >"$name/Red.ov"
check 'path and source line' 'Exception: 
  at \x1B[31mRed/Red.ov:1 in Red.main
  class Red { static void main() { /* \x1B[2J */ throw new Exception(""); } }' "$name/Red.ov"
printf 'class Red { static void main() { /* \e[2J */ missing(); } }\n' >"$name/Red.ov"
timeout 60 "$host" run "$name/Red.ov" 2>.errors
grep -q $'\e' .errors && fail "an error of the compiler contains an escape: $(cat -v .errors)"
exit $failures
