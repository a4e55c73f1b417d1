// Statements: what each contains, and which are refused.
#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
static const char* const notAssigned =
    "unexpected '=': assign only to a variable, as in 'count = 1;', or compare with '=='";
static const char* const notCompared = "there is no '<': compare values with '==' and '!='";

TEST(Statement, HasItsTree) {
  const Table trees = {
      {"int x = 1;", "(let int x 1)"},
      {"a.b.C x = 1;", "(let a.b.C x 1)"},
      {"ArrayList<String> x = [];", "(let ArrayList<String> x [list])"},
      {"a.B<c.D, E<F<G>>> x = null;", "(let a.B<c.D,E<F<G>>> x null)"},
      {"x x = x;", "(let x x x)"},
      {"a.b.C.m();", "(do <a .b .C .m()>)"},
      {"a.b.C;", "(do <a .b .C>)"},
      {"x;", "(do x)"},
      {"x + y;", "(do (x + y))"},
      {"x == y;", "(do (x == y))"},
      {"\"text\";", "(do \"text\")"},
      {"(x + y); [];", "(do (x + y)) (do [list])"},
      {"x = 1;", "(set x 1)"},
      {"int = x == y;", "(set int (x == y))"},
      {"return;", "(return)"},
      {"return 1 + 2; return;", "(return (1 + 2)) (return)"},
      {"if (a) {}", "(if a {} {})"},
      {"if (a != b) { x = 1; y = 2; } else { return; }", "(if (a != b) {(set x 1) (set y 2)} {(return)})"},
      {"if (a) {} else { if (b) {} else { c; } }", "(if a {} {(if b {} {(do c)})})"},
      {"try {} catch (Exception e) {}", "(try {} Exception e {})"},
      {"try { a.m(); } catch (Broken e) { return e; } return;", "(try {(do <a .m()>)} Broken e {(return e)}) (return)"},
      {"throw new Exception(\"text\");", "(throw Exception \"text\")"},
      {"throw new A(\"a\" + b);", "(throw A (\"a\" + b))"},
  };
  for (const auto& [text, tree] : trees) EXPECT_EQ(tree, parsedStatements(text));
}

TEST(Statement, IsRefusedWhereItGoesWrong) {
  const Table refusals = {
      {"(x) ^= 1;", notAssigned},
      {"1 ^= 1;", notAssigned},
      {"x.m() ^= 1;", notAssigned},
      {"int x = ^;", "expected an expression, found ';'"},
      {"int x = 1^, y = 2;", "expected ';', found ','"},
      {"int x ^== 1;", "expected '=', found '=='"},
      {"a b ^c = 1;", "expected '=', found 'c'"},
      {"A^<> x = 1;", "there is no '<>': compare values with '==' and '!='"},
      {"A^<B x = 1;", notCompared},
      {"A^<B x y = 1;", notCompared},
      {"A^<B,> x = 1;", notCompared},
      {"A^<1> x = 1;", notCompared},
      {"a. ^= 1;", "expected a name after '.', found '='"},
      {"A^<B>.C x = 1;", "call a method of a generic class through its type, as in 'type.call(\"method\")'"},
      {"^static int x = 1;", "'static' can appear only before a class or a method"},
      {"int f^(int a) { return a; }",
       "expected '=' and a value for variable 'f', found '('; methods belong in classes"},
      {"void f^() {}", "expected '=' and a value for variable 'f', found '('; methods belong in classes"},
      {"int i^(1);", "expected '=' and a value for variable 'i', found '('; methods belong in classes"},
      {"^;", "expected a statement, found ';'"},
      {"^{ }", "expected a statement, found '{'"},
      {"return 1 ^2;", "expected ';', found '2'"},
      {"if ^a {}", "expected '(', found 'a'"},
      {"if (^) {}", "expected an expression, found ')'"},
      {"if (a) ^return;", "expected '{', found 'return'"},
      {"try ^x;", "expected '{', found 'x'"},
      {"try {} ^return;", "expected 'catch', found 'return'"},
      {"try {} catch ^{}", "expected '(', found '{'"},
      {"try {} catch (^) {}", "expected an exception class name, found ')'"},
      {"try {} catch (a^.B e) {}", "expected a variable name, found '.'"},
      {"try {} catch (Exception^) {}", "expected a variable name, found ')'"},
      {"try {} catch (Exception e ^f) {}", "expected ')', found 'f'"},
      {"try {} catch (Exception e)^;", "expected '{', found ';'"},
      {"try {} catch (A a) {} ^catch (B b) {}", "'catch' can appear only after the block of 'try', and only once"},
      {"throw new ^\"A\"(1);", "expected an exception class name, found '\"A\"'"},
      {"throw new a^.B(1);", "expected '(', found '.'"},
      {"throw new A(1^, 2);", "expected ')', found ','"},
      {"throw new A(1)^.m();", "expected ';', found '.'"},
  };
  for (const auto& [marked, message] : refusals) EXPECT_TRUE(refusesBody(marked, message));
}

TEST(Statement, IsRefusedWhereItEndsTooEarly) {
  const Table refusals = {
      {"class A { void m() { a.^", "expected a name after '.', found the end of the input"},
      {"class A { void m() { A^<B,", notCompared},
      {"class A { void m() { x ^} }", "expected ';', found '}'"},
      {"class A { void m() { x = 1 ^} }", "expected ';', found '}'"},
      {"class A { void m() { return 1 ^} }", "expected ';', found '}'"},
      {"class A { void m() { return ^} }", "expected ';' or an expression, found '}'"},
  };
  for (const auto& [marked, message] : refusals) EXPECT_TRUE(refuses(marked, message));
}

TEST(Statement, TellsWhereItStands) {
  const SourceFile file =
      parseSource({"Main.ov", "class A { void m() {\n  a.B x = 1; x = 2;\n\ttry {} catch (A  e) {}\n} }"});
  const Block& body = file.classes.at(0).methods.at(0).body;
  ASSERT_EQ(3U, body.size());
  EXPECT_EQ("2:3", placeText(body[0].position));
  EXPECT_EQ("2:14", placeText(body[1].position));
  EXPECT_EQ("3:2", placeText(body[2].position));
  EXPECT_EQ("3:19", placeText(std::get<Try>(body[2].form).variablePosition));
}

// A keyword where a name is expected: the message asks for the name, whatever the word means in other languages.
TEST(Statement, AsksForANameInThePlaceOfAWord) {
  for (const std::string word : {"package", "class", "public", "static", "native", "return", "if", "else", "try",
                                 "catch", "throw", "new", "true", "false", "null"}) {
    const std::string found = ", found '" + word + "'";
    for (const std::string type : {"int", "String", "a.b.C", "ArrayList<String>"}) {
      EXPECT_TRUE(refusesBody(type + " ^" + word + " = \"a\";", "expected a variable name" + found));
    }
    EXPECT_TRUE(refusesBody("try { } catch (E ^" + word + ") { }", "expected a variable name" + found));
    EXPECT_TRUE(refusesBody("throw new ^" + word + "(\"\");", "expected an exception class name" + found));
    EXPECT_TRUE(refusesBody("A.^" + word + "();", "expected a name after '.'" + found));
    EXPECT_TRUE(refuses("class A { void m(int ^" + word + ") { } }", "expected a parameter name" + found));
    EXPECT_TRUE(refuses("class A { void m(int ^" + word + ", int b) { } }", "expected a parameter name" + found));
    EXPECT_TRUE(refuses("class A { void ^" + word + "() { } }", "expected a method name" + found));
    EXPECT_TRUE(refuses("class ^" + word + " { }", "expected a class name" + found));
    EXPECT_TRUE(refuses("class A<^" + word + "> { }", "expected a type parameter name" + found));
  }
}
}  // namespace orva::language
