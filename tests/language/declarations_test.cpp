// Files, classes, methods and parameters: what they hold, and which are refused.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
namespace {

TEST(File, HasThePackageThatItDeclares) {
  EXPECT_EQ("package '' class A {}", parsedFile("class A {}"));
  EXPECT_EQ("package 'a' class A {}", parsedFile("package a; class A {}"));
  EXPECT_EQ("package 'a.b.c' class A {}", parsedFile("package a . b\n.c ;class A{}"));
}

TEST(File, TellsWhereItsPackageIsNamed) {
  const SourceFile file = parseSource({"Main.ov", "// one\n\tpackage  a.b; class A {}"});
  EXPECT_EQ(2U, file.packagePosition.line);
  EXPECT_EQ(11U, file.packagePosition.column);
}

TEST(File, PutsItsPackageBeforeNames) {
  EXPECT_EQ("A", parseSource({"Main.ov", "class A {}"}).qualify("A"));
  EXPECT_EQ("a.b.A", parseSource({"Main.ov", "package a.b; class A {}"}).qualify("A"));
}

TEST(File, RefusesPackagesThatAreNoQualifiedName) {
  EXPECT_TRUE(refuses("package ^; class A {}", "expected a package name, found ';'"));
  EXPECT_TRUE(refuses("package a.^; class A {}", "expected a name after '.', found ';'"));
  EXPECT_TRUE(refuses("package a.^class; class A {}", "expected a name after '.', found 'class'"));
  EXPECT_TRUE(refuses("package ^\"a\"; class A {}", "expected a package name, found '\"a\"'"));
  EXPECT_TRUE(refuses("package a ^class A {}", "expected ';', found 'class'"));
  EXPECT_TRUE(refuses("package a^<b>; class A {}", "expected ';', found '<'"));
}

TEST(File, RefusesASecondPackage) {
  EXPECT_TRUE(refuses("package a; ^package b; class A {}", "'package' stands once, at the start of the file"));
  EXPECT_TRUE(refuses("class A {} ^package a;", "'package' stands once, at the start of the file"));
}

TEST(File, NeedsAClass) {
  EXPECT_TRUE(refuses("^", "expected a class"));
  EXPECT_TRUE(refuses("package a;\n// nothing\n^", "expected a class"));
}

TEST(File, HoldsItsClassesInOrder) {
  EXPECT_EQ("package '' class B {} class A {} class C {}", parsedFile("class B {} public class A {} class C {}"));
}

TEST(File, RefusesAnythingBetweenClasses) {
  EXPECT_TRUE(refuses("class A {}^;", "expected 'class', found ';'"));
  EXPECT_TRUE(refuses("class A {} ^}", "expected 'class', found '}'"));
  EXPECT_TRUE(refuses("^void main() {}", "expected 'class', found 'void': methods stand in classes"));
  EXPECT_TRUE(refuses("public ^", "expected 'class', found the end of the text"));
}

TEST(File, RefusesTwoClassesOfOneName) {
  EXPECT_TRUE(refuses("class A {}\nclass B {}\nclass ^A { void m() {} }", "class 'A' is declared twice"));
  EXPECT_TRUE(refuses("class A {} class ^A<T> {}", "class 'A' is declared twice"));
  EXPECT_EQ("package '' class A {} class a {}", parsedFile("class A {} class a {}"));
}

TEST(Class, NeedsANameAndBraces) {
  EXPECT_TRUE(refuses("class ^{}", "expected the name of a class, found '{'"));
  EXPECT_TRUE(refuses("class ^new {}", "expected the name of a class, found 'new'"));
  EXPECT_TRUE(refuses("class a^.B {}", "expected '{', found '.'"));
  EXPECT_TRUE(refuses("class A^;", "expected '{', found ';'"));
  EXPECT_TRUE(refuses("class A {\n^", "expected a method or '}', found the end of the text"));
  EXPECT_TRUE(refuses("class A { ^; }", "expected a type, found ';'"));
}

TEST(Class, CanOnlyBePublic) {
  EXPECT_EQ("package '' class A {}", parsedFile("public class A {}"));
  EXPECT_TRUE(refuses("^static class A {}", "a class can only be public"));
  EXPECT_TRUE(refuses("class A {} ^native class B {}", "a class can only be public"));
  EXPECT_TRUE(refuses("public ^public class A {}", "'public' is written twice"));
}

TEST(Class, TellsWhereItsNameStands) {
  const SourceFile file = parseSource({"Main.ov", "package a;\npublic class A { }  class B {}\n"});
  EXPECT_EQ(2U, file.classes.at(1).position.line);
  EXPECT_EQ(27U, file.classes.at(1).position.column);
}

TEST(Class, HasTypeParameters) {
  EXPECT_EQ("package '' class Box $T {}", parsedFile("class Box<T> {}"));
  EXPECT_EQ("package '' class Map $Key $Value {T m(Key k) {}}", parsedFile("class Map< Key,Value >{ T m(Key k) {} }"));
}

TEST(Class, RefusesOtherTypeParameters) {
  EXPECT_TRUE(refuses("class A<^> {}", "expected the name of a type parameter, found '>'"));
  EXPECT_TRUE(refuses("class A<T,^> {}", "expected the name of a type parameter, found '>'"));
  EXPECT_TRUE(refuses("class A<^null> {}", "expected the name of a type parameter, found 'null'"));
  EXPECT_TRUE(refuses("class A<T ^U> {}", "expected '>', found 'U'"));
  EXPECT_TRUE(refuses("class A<T^", "expected '>', found the end of the text"));
  EXPECT_TRUE(refuses("class A<T, U, ^T> {}", "type parameter 'T' is declared twice"));
  EXPECT_TRUE(refuses("class A<T, ^A> {}", "type parameter 'A' has the name of its class"));
}

TEST(Class, IsNoInstanceInAWrittenSource) {
  EXPECT_TRUE(refuses("class Box<a^.B> {}", "expected '>', found '.'"));
  EXPECT_TRUE(refuses("class Box<T^<U>> {}", "expected '>', found '<'"));
}

TEST(Class, RefusesTwoMethodsOfOneName) {
  EXPECT_TRUE(refuses("class A {\n  void m() {}\n  void n() {}\n  static int ^m(int i) { return i; }\n}",
                      "method 'm' is declared twice"));
  EXPECT_EQ("package '' class A {void m() {}} class B {void m() {}}",
            parsedFile("class A { void m() {} } class B { void m() {} }"));
}

TEST(Method, HasItsModifiersInAnyOrder) {
  EXPECT_EQ("package '' class A {void a() {}; static void b() {}; native void c() {}; static native int d() {}}",
            parsedFile("class A { public void a() {} static public void b() {} native void c();"
                       "native public static int d(); }"));
}

TEST(Method, RefusesAModifierWrittenTwice) {
  EXPECT_TRUE(refuses("class A { public static ^public void m() {} }", "'public' is written twice"));
  EXPECT_TRUE(refuses("class A { static ^static void m() {} }", "'static' is written twice"));
  EXPECT_TRUE(refuses("class A { native static ^native void m(); }", "'native' is written twice"));
}

TEST(Method, HasABodyUnlessItIsNative) {
  EXPECT_TRUE(refuses("class A { void m()^; }", "expected '{', found ';'"));
  EXPECT_TRUE(refuses("class A { native void m() ^{} }", "expected ';', found '{'"));
  EXPECT_TRUE(refuses("class A { native void m() ^}", "expected ';', found '}'"));
  EXPECT_TRUE(refuses("class A { void m() { ^", "expected a statement or '}', found the end of the text"));
}

TEST(Method, NeedsATypeANameAndParentheses) {
  EXPECT_TRUE(refuses("class A { ^m() {} }", "expected the type of the result, such as 'void', before 'm'"));
  EXPECT_TRUE(refuses("class A { void ^class() {} }", "expected the name of a method, found 'class'"));
  EXPECT_TRUE(refuses("class A { void m^{} }", "expected '(', found '{'"));
  EXPECT_TRUE(refuses("class A { void ^m = 1; }", "there are no fields: a class holds methods only"));
  EXPECT_TRUE(refuses("class A { public ^}", "expected a type, found '}'"));
}

TEST(Method, HasParameters) {
  EXPECT_EQ("package '' class A {a.B<c.D,E<int>> m(String s, ArrayList<String> list, a.B b) {}}",
            parsedFile("class A { a.B<c.D, E<int>> m(String s, ArrayList<String> list, a . B b) {} }"));
}

TEST(Method, RefusesOtherParameters) {
  EXPECT_TRUE(refuses("class A { void m(^,) {} }", "expected a type, found ','"));
  EXPECT_TRUE(refuses("class A { void m(int i,^) {} }", "expected a type, found ')'"));
  EXPECT_TRUE(refuses("class A { void m(int^) {} }", "expected the name of a parameter, found ')'"));
  EXPECT_TRUE(refuses("class A { void m(int i ^int j) {} }", "expected ')', found 'int'"));
  EXPECT_TRUE(refuses("class A { void m(int i, A a, String ^i) {} }", "parameter 'i' is declared twice"));
}

TEST(Method, TellsWhereItsNamesStand) {
  const SourceFile file = parseSource({"Main.ov", "class A {\n  static a.B m(int i,\n    C<D> c) {} }"});
  const MethodDeclaration& method = file.classes.at(0).methods.at(0);
  EXPECT_EQ(2U, method.position.line);
  EXPECT_EQ(14U, method.position.column);
  EXPECT_EQ(10U, method.result.position.column);
  EXPECT_EQ(3U, method.parameters.at(1).position.line);
  EXPECT_EQ(10U, method.parameters.at(1).position.column);
  EXPECT_EQ(7U, method.parameters.at(1).type.arguments.at(0).position.column);
}

TEST(TypeParameter, MayNameAMethodOrAVariableToo) {
  EXPECT_EQ("package '' class A $T {void T(T T) {(set T <T .T()>)}}",
            parsedFile("class A<T> { void T(T T) { T = T.T(); } }"));
  EXPECT_EQ("package '' class A $T {void m() {(try {} T T {})}}",
            parsedFile("class A<T> { void m() { try {} catch (T T) {} } }"));
}

TEST(TypeParameter, MayBeAMemberOrATypeAndMeansNothingElsewhere) {
  EXPECT_EQ("package '' class A $T {T m(T t) {(let T u <x .T .T()>)}}",
            parsedFile("class A<T> { T m(T t) { T u = x.T.T(); } }"));
  EXPECT_EQ("package '' class A $T {} class T {void T(int U) {(let T T U)}}",
            parsedFile("class A<T> {} class T { void T(int U) { T T = U; } }"));
}

}  // namespace
}  // namespace orva::language
