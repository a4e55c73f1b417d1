// Statements: what each holds, and which are refused.
#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
namespace {

const char* const notAssigned = "unexpected '=': only a variable is assigned, as in 'count = 1;', and '==' compares";
const char* const notCompared = "there is no '<': values are compared with '==' and '!='";

TEST(Statement, DeclaresAVariableWhereANameFollowsACompleteType) {
  EXPECT_EQ("(let int x 1)", parsedStatements("int x = 1;"));
  EXPECT_EQ("(let a.b.C x 1)", parsedStatements("a.b.C x = 1;"));
  EXPECT_EQ("(let ArrayList<String> x [list])", parsedStatements("ArrayList<String> x = [];"));
  EXPECT_EQ("(let a.B<c.D,E<F<G>>> x null)", parsedStatements("a.B<c.D, E<F<G>>> x = null;"));
  EXPECT_EQ("(let x x x)", parsedStatements("x x = x;"));
}

TEST(Statement, IsAnExpressionWhereNoNameFollowsAType) {
  EXPECT_EQ("(do <a .b .C .m()>)", parsedStatements("a.b.C.m();"));
  EXPECT_EQ("(do <a .b .C>)", parsedStatements("a.b.C;"));
  EXPECT_EQ("(do x)", parsedStatements("x;"));
  EXPECT_EQ("(do (x + y))", parsedStatements("x + y;"));
  EXPECT_EQ("(do (x == y))", parsedStatements("x == y;"));
  EXPECT_EQ("(do \"text\")", parsedStatements("\"text\";"));
  EXPECT_EQ("(do (x + y)) (do [list])", parsedStatements("(x + y); [];"));
}

TEST(Statement, AssignsToANameOnly) {
  EXPECT_EQ("(set x 1)", parsedStatements("x = 1;"));
  EXPECT_EQ("(set int (x == y))", parsedStatements("int = x == y;"));
  EXPECT_TRUE(refusesBody("a.b ^= 1;", notAssigned));
  EXPECT_TRUE(refusesBody("(x) ^= 1;", notAssigned));
  EXPECT_TRUE(refusesBody("1 ^= 1;", notAssigned));
  EXPECT_TRUE(refusesBody("x = y ^= 1;", notAssigned));
  EXPECT_TRUE(refusesBody("x.m() ^= 1;", notAssigned));
}

TEST(Statement, RefusesDeclarationsWithoutAValue) {
  EXPECT_TRUE(refusesBody("int x^;", "expected '=' and the value of variable 'x', found ';'"));
  EXPECT_TRUE(refusesBody("int x = ^;", "expected an expression, found ';'"));
  EXPECT_TRUE(refusesBody("int x = 1^, y = 2;", "expected ';', found ','"));
  EXPECT_TRUE(refusesBody("int x ^== 1;", "expected '=', found '=='"));
  EXPECT_TRUE(refusesBody("a b ^c = 1;", "expected '=', found 'c'"));
}

TEST(Statement, RefusesTypesThatAreNotComplete) {
  EXPECT_TRUE(refusesBody("A^<> x = 1;", "there is no '<>': values are compared with '==' and '!='"));
  EXPECT_TRUE(refusesBody("A^<B x = 1;", notCompared));
  EXPECT_TRUE(refusesBody("A^<B x y = 1;", notCompared));
  EXPECT_TRUE(refusesBody("A^<B,> x = 1;", notCompared));
  EXPECT_TRUE(refusesBody("A^<1> x = 1;", notCompared));
  EXPECT_TRUE(refuses("class A { void m() { a.^", "expected a name after '.', found the end of the text"));
  EXPECT_TRUE(refuses("class A { void m() { A^<B,", notCompared));
  EXPECT_TRUE(refusesBody("a. ^= 1;", "expected a name after '.', found '='"));
  EXPECT_TRUE(refusesBody("A^<B>.C x = 1;",
                          "a method of a generic class is called through its type, as in 'type.call(\"method\")'"));
  EXPECT_TRUE(refusesBody("^static int x = 1;", "'static' stands only before a class or a method"));
}

TEST(Statement, EndsWithASemicolon) {
  EXPECT_TRUE(refuses("class A { void m() { x ^} }", "expected ';', found '}'"));
  EXPECT_TRUE(refuses("class A { void m() { x = 1 ^} }", "expected ';', found '}'"));
  EXPECT_TRUE(refuses("class A { void m() { return 1 ^} }", "expected ';', found '}'"));
  EXPECT_TRUE(refuses("class A { void m() { return ^} }", "expected ';' or an expression, found '}'"));
  EXPECT_TRUE(refusesBody("^;", "expected a statement, found ';'"));
  EXPECT_TRUE(refusesBody("^{ }", "expected a statement, found '{'"));
}

TEST(Statement, ReturnsAValueOrNone) {
  EXPECT_EQ("(return)", parsedStatements("return;"));
  EXPECT_EQ("(return (1 + 2)) (return)", parsedStatements("return 1 + 2; return;"));
  EXPECT_TRUE(refusesBody("return 1 ^2;", "expected ';', found '2'"));
}

TEST(Statement, HasConditions) {
  EXPECT_EQ("(if a {} {})", parsedStatements("if (a) {}"));
  EXPECT_EQ("(if (a != b) {(set x 1) (set y 2)} {(return)})",
            parsedStatements("if (a != b) { x = 1; y = 2; } else { return; }"));
  EXPECT_EQ("(if a {} {(if b {} {(do c)})})", parsedStatements("if (a) {} else { if (b) {} else { c; } }"));
}

TEST(Statement, RefusesOtherConditions) {
  EXPECT_TRUE(refusesBody("if ^a {}", "expected '(', found 'a'"));
  EXPECT_TRUE(refusesBody("if (^) {}", "expected an expression, found ')'"));
  EXPECT_TRUE(refusesBody("if (a ^= b) {}", notAssigned));
  EXPECT_TRUE(refusesBody("if (a) ^return;", "expected '{', found 'return'"));
  EXPECT_TRUE(refusesBody("if (a) {} else ^if (b) {}", "there is no 'else if': expected 'else { if (…) { … } }'"));
  EXPECT_TRUE(refusesBody("^else {}", "'else' stands behind the block of 'if'"));
}

TEST(Statement, CatchesExceptions) {
  EXPECT_EQ("(try {} Exception e {})", parsedStatements("try {} catch (Exception e) {}"));
  EXPECT_EQ("(try {(do <a .m()>)} Broken e {(return e)}) (return)",
            parsedStatements("try { a.m(); } catch (Broken e) { return e; } return;"));
}

TEST(Statement, RefusesOtherCatches) {
  EXPECT_TRUE(refusesBody("try ^x;", "expected '{', found 'x'"));
  EXPECT_TRUE(refusesBody("try {} ^return;", "expected 'catch', found 'return'"));
  EXPECT_TRUE(refusesBody("try {} catch ^{}", "expected '(', found '{'"));
  EXPECT_TRUE(refusesBody("try {} catch (^) {}", "expected the name of an exception class, found ')'"));
  EXPECT_TRUE(refusesBody("try {} catch (a^.B e) {}", "expected the name of a variable, found '.'"));
  EXPECT_TRUE(refusesBody("try {} catch (Exception^) {}", "expected the name of a variable, found ')'"));
  EXPECT_TRUE(refusesBody("try {} catch (Exception e ^f) {}", "expected ')', found 'f'"));
  EXPECT_TRUE(refusesBody("try {} catch (Exception e)^;", "expected '{', found ';'"));
  EXPECT_TRUE(refusesBody("try {} catch (A a) {} ^catch (B b) {}", "'catch' stands once, behind the block of 'try'"));
}

TEST(Statement, ThrowsANewException) {
  EXPECT_EQ("(throw Exception \"text\")", parsedStatements("throw new Exception(\"text\");"));
  EXPECT_EQ("(throw A (\"a\" + b))", parsedStatements("throw new A(\"a\" + b);"));
}

TEST(Statement, RefusesOtherThrows) {
  EXPECT_TRUE(
      refusesBody("throw ^e;", "expected 'new' and an exception, as in 'throw new Name(\"message\");', found 'e'"));
  EXPECT_TRUE(refusesBody("throw new ^\"A\"(1);", "expected the name of an exception class, found '\"A\"'"));
  EXPECT_TRUE(refusesBody("throw new a^.B(1);", "expected '(', found '.'"));
  EXPECT_TRUE(refusesBody("throw new A(^);", "expected the message of the exception, found ')'"));
  EXPECT_TRUE(refusesBody("throw new A(1^, 2);", "expected ')', found ','"));
  EXPECT_TRUE(refusesBody("throw new A(1)^.m();", "expected ';', found '.'"));
  EXPECT_TRUE(
      refusesBody("x = ^new A(1);",
                  "'new' stands only in 'throw new Name(\"message\");': all other objects come from native methods"));
}

TEST(Statement, TellsWhereItStands) {
  const SourceFile file =
      parseSource({"Main.ov", "class A { void m() {\n  a.B x = 1; x = 2;\n\ttry {} catch (A  e) {}\n} }"});
  const Block& body = file.classes.at(0).methods.at(0).body;
  ASSERT_EQ(3U, body.size());
  EXPECT_EQ(2U, body[0].position.line);
  EXPECT_EQ(3U, body[0].position.column);
  EXPECT_EQ(14U, body[1].position.column);
  EXPECT_EQ(3U, body[2].position.line);
  EXPECT_EQ(2U, body[2].position.column);
  EXPECT_EQ(19U, std::get<Try>(body[2].form).variablePosition.column);
}

// A word of the language where a name is expected: the message asks for the name, whatever other languages do with the
// word.
TEST(Statement, AsksForANameInThePlaceOfAWord) {
  for (const std::string word : {"package", "class", "public", "static", "native", "return", "if", "else", "try",
                                 "catch", "throw", "new", "true", "false", "null"}) {
    const std::string found = ", found '" + word + "'";
    for (const std::string type : {"int", "String", "a.b.C", "ArrayList<String>"}) {
      EXPECT_TRUE(refusesBody(type + " ^" + word + " = \"a\";", "expected the name of a variable" + found));
    }
    EXPECT_TRUE(refusesBody("try { } catch (E ^" + word + ") { }", "expected the name of a variable" + found));
    EXPECT_TRUE(refusesBody("throw new ^" + word + "(\"\");", "expected the name of an exception class" + found));
    EXPECT_TRUE(refusesBody("A.^" + word + "();", "expected a name after '.'" + found));
    EXPECT_TRUE(refuses("class A { void m(int ^" + word + ") { } }", "expected the name of a parameter" + found));
    EXPECT_TRUE(
        refuses("class A { void m(int ^" + word + ", int b) { } }", "expected the name of a parameter" + found));
    EXPECT_TRUE(refuses("class A { void ^" + word + "() { } }", "expected the name of a method" + found));
    EXPECT_TRUE(refuses("class ^" + word + " { }", "expected the name of a class" + found));
    EXPECT_TRUE(refuses("class A<^" + word + "> { }", "expected the name of a type parameter" + found));
  }
}

}  // namespace
}  // namespace orva::language
