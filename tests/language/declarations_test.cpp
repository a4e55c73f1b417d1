// Files, classes, methods and parameters: what they contain, and which are refused.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
TEST(File, HasItsTree) {
  const Table trees = {
      {"class A {}", "package '' class A {}"},
      {"package a; class A {}", "package 'a' class A {}"},
      {"package a . b\n.c ;class A{}", "package 'a.b.c' class A {}"},
      {"class B {} public class A {} class C {}", "package '' class B {} class A {} class C {}"},
      {"class A {} class a {}", "package '' class A {} class a {}"},
      {"public class A {}", "package '' class A {}"},
      {"class Box<T> {}", "package '' class Box $T {}"},
      {"class Map< Key,Value >{ T m(Key k) {} }", "package '' class Map $Key $Value {T m(Key k) {}}"},
      {"class A { void m() {} } class B { void m() {} }", "package '' class A {void m() {}} class B {void m() {}}"},
      {"class A { public void a() {} static public void b() {} native void c();"
       "native public static int d(); }",
       "package '' class A {void a() {}; static void b() {}; native void c() {}; static native int d() {}}"},
      {"class A { a.B<c.D, E<int>> m(String s, ArrayList<String> list, a . B b) {} }",
       "package '' class A {a.B<c.D,E<int>> m(String s, ArrayList<String> list, a.B b) {}}"},
  };
  for (const auto& [text, tree] : trees) EXPECT_EQ(tree, parsedFile(text));
}

TEST(TypeParameter, IsNoNameForAnythingElse) {
  const Table trees = {
      {"class A<T> { void T(T T) { T = T.T(); } }", "package '' class A $T {void T(T T) {(set T <T .T()>)}}"},
      {"class A<T> { void m() { try {} catch (T T) {} } }", "package '' class A $T {void m() {(try {} T T {})}}"},
      {"class A<T> { T m(T t) { T u = x.T.T(); } }", "package '' class A $T {T m(T t) {(let T u <x .T .T()>)}}"},
      {"class A<T> {} class T { void T(int U) { T T = U; } }",
       "package '' class A $T {} class T {void T(int U) {(let T T U)}}"},
  };
  for (const auto& [text, tree] : trees) EXPECT_EQ(tree, parsedFile(text));
}

TEST(File, IsRefusedWhereItGoesWrong) {
  const Table refusals = {
      {"package ^; class A {}", "expected a package name, found ';'"},
      {"package a.^; class A {}", "expected a name after '.', found ';'"},
      {"package a.^class; class A {}", "expected a name after '.', found 'class'"},
      {"package ^\"a\"; class A {}", "expected a package name, found '\"a\"'"},
      {"package a ^class A {}", "expected ';', found 'class'"},
      {"package a^<b>; class A {}", "expected ';', found '<'"},
      {"package a; ^package b; class A {}", "'package' can appear only once, at the start of the file"},
      {"class A {} ^package a;", "'package' can appear only once, at the start of the file"},
      {"^", "expected a class"},
      {"package a;\n// nothing\n^", "expected a class"},
      {"class A {}^;", "expected 'class', found ';'"},
      {"class A {} ^}", "expected 'class', found '}'"},
      {"public ^", "expected 'class', found the end of the input"},
      {"class A {}\nclass B {}\nclass ^A { void m() {} }", "class 'A' is declared twice"},
      {"class A {} class ^A<T> {}", "class 'A' is declared twice"},
  };
  for (const auto& [marked, message] : refusals) EXPECT_TRUE(refuses(marked, message));
}

TEST(Class, IsRefusedWhereItGoesWrong) {
  const Table refusals = {
      {"class ^{}", "expected a class name, found '{'"},
      {"class a^.B {}", "expected '{', found '.'"},
      {"class A^;", "expected '{', found ';'"},
      {"class A {\n^", "expected a method or '}', found the end of the input"},
      {"class A { ^; }", "expected a type, found ';'"},
      {"^static class A {}", "a class can only be public"},
      {"class A {} ^native class B {}", "a class can only be public"},
      {"public ^public class A {}", "duplicate 'public'"},
      {"class A<^> {}", "expected a type parameter name, found '>'"},
      {"class A<T,^> {}", "expected a type parameter name, found '>'"},
      {"class A<T ^U> {}", "expected '>', found 'U'"},
      {"class A<T^", "expected '>', found the end of the input"},
      {"class A<T, U, ^T> {}", "type parameter 'T' is declared twice"},
      {"class A<T, ^A> {}", "type parameter 'A' has the same name as its class"},
      {"class Box<a^.B> {}", "expected '>', found '.'"},
      {"class Box<T^<U>> {}", "expected '>', found '<'"},
      {"class A {\n  void m() {}\n  void n() {}\n  static int ^m(int i) { return i; }\n}",
       "method 'm' is declared twice"},
  };
  for (const auto& [marked, message] : refusals) EXPECT_TRUE(refuses(marked, message));
}

TEST(Method, IsRefusedWhereItGoesWrong) {
  const Table refusals = {
      {"class A { public static ^public void m() {} }", "duplicate 'public'"},
      {"class A { static ^static void m() {} }", "duplicate 'static'"},
      {"class A { native static ^native void m(); }", "duplicate 'native'"},
      {"class A { void m()^; }", "expected '{', found ';'"},
      {"class A { native void m() ^{} }", "expected ';', found '{'"},
      {"class A { native void m() ^}", "expected ';', found '}'"},
      {"class A { void m() { ^", "expected a statement or '}', found the end of the input"},
      {"class A { void m^{} }", "expected '(', found '{'"},
      {"class A { public ^}", "expected a type, found '}'"},
      {"class A { void m(^,) {} }", "expected a type, found ','"},
      {"class A { void m(int i,^) {} }", "expected a type, found ')'"},
      {"class A { void m(int^) {} }", "expected a parameter name, found ')'"},
      {"class A { void m(int i ^int j) {} }", "expected ')', found 'int'"},
      {"class A { void m(int i, A a, String ^i) {} }", "parameter 'i' is declared twice"},
  };
  for (const auto& [marked, message] : refusals) EXPECT_TRUE(refuses(marked, message));
}

TEST(File, TellsWhereItsPackageIsNamed) {
  const SourceFile file = parseSource({"Main.ov", "// one\n\tpackage  a.b; class A {}"});
  EXPECT_EQ("2:11", placeText(file.packagePosition));
}

TEST(File, PutsItsPackageBeforeNames) {
  EXPECT_EQ("A", parseSource({"Main.ov", "class A {}"}).qualify("A"));
  EXPECT_EQ("a.b.A", parseSource({"Main.ov", "package a.b; class A {}"}).qualify("A"));
}

TEST(Class, TellsWhereItsNameStands) {
  const SourceFile file = parseSource({"Main.ov", "package a;\npublic class A { }  class B {}\n"});
  EXPECT_EQ("2:27", placeText(file.classes.at(1).position));
}

TEST(Method, TellsWhereItsNamesStand) {
  const SourceFile file = parseSource({"Main.ov", "class A {\n  static a.B m(int i,\n    C<D> c) {} }"});
  const MethodDeclaration& method = file.classes.at(0).methods.at(0);
  EXPECT_EQ("2:14", placeText(method.position));
  EXPECT_EQ("2:10", placeText(method.result.position));
  EXPECT_EQ("3:10", placeText(method.parameters.at(1).position));
  EXPECT_EQ("3:7", placeText(method.parameters.at(1).type.arguments.at(0).position));
}
}  // namespace orva::language
