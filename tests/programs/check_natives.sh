#!/usr/bin/env bash
# Checks natives of other libraries: what a process defines under a native's symbol, what natives throw and raise, and
# the objects that they make. None of this crashes the host.
# Usage: check_natives.sh ORVA_HOST CXX_COMPILER
# shellcheck source-path=SCRIPTDIR source=checks.sh
source "$(dirname "$0")/checks.sh"
compiler=$2

cat >natives.cpp <<'CPP'
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

extern "C" {
void Orva_raise(const char* exceptionClass, const char* message);
void* Orva_allocObject(const char* className);
void* orva_ClassLoader_getTypeByName(const char* typeName);

int64_t orva_Data_number = 5;
extern const int64_t orva_Data_constant = 5;
int64_t orva_Data_zero = 0;
extern const char orva_Data_text[] = "\xC3\xC3\xC3\xC3\xC3\xC3\xC3\xC3";
thread_local int64_t orva_Data_local = 5;
void function() {}
void (*orva_Data_pointer)() = function;
extern void (*const orva_Data_table[])() = {function, function};
__asm__(".globl orva_Data_absolute\n.set orva_Data_absolute, 4096");
__asm__(".data\n.globl orva_Data_untyped\norva_Data_untyped: .quad 5\n.text");

void orva_Code_function() {}
__attribute__((weak)) void orva_Code_weak() {}
void orva_Code_alias() __attribute__((alias("orva_Code_function")));
void (*choose())() { return function; }
void orva_Code_chosen() __attribute__((ifunc("choose")));
}

template <typename Base>
struct Silent : Base {
  using Base::Base;
  const char* what() const noexcept override { return nullptr; }
};
struct Runtime : std::runtime_error {
  Runtime() : runtime_error("never") {}
};

extern "C" {
void orva_Fails_fail(int64_t how) {
  if (how == 0) throw Silent<std::exception>();
  if (how == 1) throw Silent<Runtime>();
  if (how == 2) throw std::runtime_error("");
  if (how == 3) throw Silent<std::bad_alloc>();
  if (how == 4) Orva_raise("Told", nullptr);
  if (how == 5) Orva_raise(nullptr, "message");
  if (how == 6) Orva_raise(nullptr, nullptr);
  if (how == 7) Orva_allocObject(nullptr);
}

void* orva_Objects_make(int64_t how) {
  static char empty[4096];
  if (how == 0) return empty;
  if (how == 1) return reinterpret_cast<void*>(16);
  if (how == 2) return reinterpret_cast<void*>(INTPTR_MIN + 1);
  if (how == 3) return reinterpret_cast<void*>(function);
  return nullptr;
}

// Each thread asks for instances, and soon for new ones, until the process ends.
void orva_Asker_start() {
  for (const char* first : {"int", "String"}) {
    std::thread([first] {
      for (std::string name = first;; name = name.size() > 300 ? first : "Box<" + name + ">") {
        orva_ClassLoader_getTypeByName(("Box<" + name + ">").c_str());
        orva_ClassLoader_getTypeByName("Box<Nope>");
      }
    }).detach();
  }
}
void orva_Asker_exit(int64_t status) { exit(static_cast<int>(status)); }

// What a handler of `exit` may do: look up types, and wait for a thread that does.
void orva_Handler_start() {
  std::atexit([] {
    std::thread([] { std::puts(orva_ClassLoader_getTypeByName("Box<String>") ? "found" : "not found"); }).join();
    std::puts(orva_ClassLoader_getTypeByName("Box<boolean>") ? "found" : "not found");
  });
}
void orva_Handler_exit() { exit(7); }

struct Told {
  ~Told() { std::puts("unwound"); }
};
void orva_Ender_end() {
  std::thread([] { while (orva_ClassLoader_getTypeByName("Ender") == nullptr) {} }).detach();
  const Told told;
  pthread_exit(nullptr);
}
void orva_Ender_cancel() {
  const Told told;
  pthread_cancel(pthread_self());
  pthread_testcancel();
}
int64_t orva_Objects_isSame(void* receiver, void* other) { return receiver == other ? 1 : 0; }
}
CPP
# If constants are not separated from code, they are in executable memory.
for code in separate-code noseparate-code; do
  "$compiler" -shared -fPIC natives.cpp -Wl,-z,$code -o "$code.so" || exit 1
done
natives=separate-code
with_natives() { with_library "$work/$natives.so" "$host" "$@"; }

# What the process defines under the symbol of a native.
for natives in noseparate-code separate-code; do
  for name in number constant zero text local pointer table absolute untyped; do
    echo "class Data { static native void $name(); static void main() { Data.$name(); } }" >Data.ov
    problem="needs the symbol 'orva_Data_$name', which is data: expected a function"
    found=$(with_natives run Data.ov 2>&1)
    expect "data '$name', $natives" "1 Data.ov:1:33: error: native method 'Data.$name' $problem" \
      "$? $(head -1 <<<"$found")"
  done
done
for name in function weak alias chosen; do
  main="static void main() { Code.$name(); Console.print(\"called\"); }"
  echo "class Code { static native void $name(); $main }" >Code.ov
  expect "function '$name'" called "$(with_natives run Code.ov 2>&1)"
done

# Exceptions without a message.
silence='A native threw a std::exception without a message'
expected=("$silence" "$silence" "$silence" 'Out of memory' 'Told: ' 'Exception: message' 'Exception: '
  "Cannot allocate an object: no single class is named ''")
for how in "${!expected[@]}"; do
  echo "class Fails { static native void fail(int how); static void main() { Fails.fail($how); } }" >Fails.ov
  found=$(with_natives run Fails.ov 2>&1)
  expect "failure $how" "1 ${expected[how]}" "$? $(head -1 <<<"$found")"
done

# Objects are whatever a native returns, and are never read.
cat >Objects.ov <<'OV'
class Objects {
  static native Objects make(int how);
  native boolean isSame(Objects other);
  static void use(Type type, int how) {
    Objects made = Objects.make(how);
    Console.print(type.call("make", how) + " " + (made == null)
        + " " + made.isSame(made) + " " + (made == Objects.make(4)));
  }
  static void late(int how) {
    try { Console.print("" + later.Maker.make(how)); } catch (Exception e) { Console.print(e.message()); }
    Console.print(later.Maker.make(how).isSame(null));
  }
  static void all(Type type, int how) {
    if (how == 4) { return; }
    Objects.use(type, how);
    Objects.late(how);
    Objects.all(type, how + 1);
  }
  static void main() { ClassLoader.addSourceRoot("root"); Objects.all(ClassLoader.getTypeByName("Objects"), 0); }
}
OV
mkdir -p root/later
cat >root/later/Maker.ov <<'OV'
package later;
class Maker { static later.Objects make(int how) { return later.Objects.make(how); } }
OV
cat >root/later/Objects.ov <<'OV'
package later;
class Objects { static native Objects make(int how); native boolean isSame(Objects other); }
OV
each='Objects false true false
expected a String, an int or a boolean, found later.Objects
false'
expect objects "$each
$each
$each
$each" "$(with_natives run Objects.ov 2>&1)"

# Threads that outlive the program do not disturb its end.
echo 'class Box<T> { static int one() { return 1; } }' >Box.ov
echo 'class Asker {
  static native void start();
  static native void exit(int status);
  static void main(ArrayList<String> how) {
    Asker.start();
    Console.print("" + ClassLoader.getTypeByName("Box<boolean>").call("one"));
    if (how.size() == 1) { Asker.exit(3); }
  }
}' >Asker.ov
mkdir folder
for _ in {1..25}; do
  found=$(TMPDIR=$PWD/folder with_natives run Asker.ov 2>&1)
  expect 'threads that outlive the program' '0 1' "$? $found"
  found=$(TMPDIR=$PWD/folder with_natives run Asker.ov -- exit 2>&1)
  expect 'threads that outlive a call of exit' '3 1' "$? $found"
done
expect 'folders of threads that outlive the program' '' "$(ls folder)"

# Exit handlers that natives have registered work, however the program ends.
echo 'class Handler {
  static native void start();
  static native void exit();
  static void main(ArrayList<String> how) {
    Handler.start();
    if (how.size() == 1) { Handler.exit(); }
  }
}' >Handler.ov
expect 'handlers when main returns' 'found
found
0' "$(with_natives run Handler.ov 2>&1; echo "$?")"
expect 'handlers when a native calls exit' 'found
found
7' "$(with_natives run Handler.ov -- exit 2>&1; echo "$?")"

# A native that ends the thread of main.
echo 'class Ender {
  static native void end();
  static native void cancel();
  static void main(ArrayList<String> how) {
    try { if (how.get(0) == "end") { Ender.end(); } Ender.cancel(); } catch (Exception e) { Console.print("caught"); }
  }
}' >Ender.ov
# The last thread ends the process then, and LeakSanitizer no longer knows where its stack was.
for how in end cancel; do
  expect "a native that ends its thread by $how" 'unwound
0' "$(ASAN_OPTIONS=detect_leaks=0 with_natives run Ender.ov -- $how 2>&1; echo "$?")"
done
exit $failures
