// Type names given as text: any blanks are fine, anything that is not a type is refused.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reference_host/language/parser.h"

namespace orva::language {
namespace {

std::string refusal(const std::string& text) {
  try {
    return "accepted as " + parseTypeName(text).text();
  } catch (const SourceError& error) {
    return error.what();
  }
}

TEST(TypeName, HasANameAndArguments) {
  const TypeName type = parseTypeName("collections.Map<int,geometry.Box<String>>");
  EXPECT_EQ("collections.Map", type.name);
  ASSERT_EQ(2U, type.arguments.size());
  EXPECT_EQ("int", type.arguments[0].name);
  EXPECT_TRUE(type.arguments[0].arguments.empty());
  EXPECT_EQ("geometry.Box", type.arguments[1].name);
  ASSERT_EQ(1U, type.arguments[1].arguments.size());
  EXPECT_EQ("String", type.arguments[1].arguments[0].name);
}

TEST(TypeName, IsSpelledWithoutBlanks) {
  EXPECT_EQ("A", parseTypeName("A").text());
  EXPECT_EQ("a.b.C", parseTypeName(" a . b\t.\nC ").text());
  EXPECT_EQ("a.B<c.D,int>", parseTypeName("a.B < c . D ,int >\r\n").text());
  EXPECT_EQ("A<B<C<D>>,E<F>>", parseTypeName("A<B<C<D> > , E< F > >").text());
  EXPECT_EQ("A<B>", parseTypeName("/* one */ A<B> // two").text());
}

TEST(TypeName, TellsWhereItStands) {
  const TypeName type = parseTypeName("  a.B<\n c>");
  EXPECT_EQ(3U, type.position.column);
  EXPECT_EQ(2U, type.arguments.at(0).position.line);
  EXPECT_EQ(2U, type.arguments.at(0).position.column);
}

TEST(TypeName, RefusesTextsThatEndTooEarly) {
  EXPECT_EQ("type name:1:1: error: expected a type, found the end of the text\n  \n  ^", refusal(""));
  EXPECT_EQ("type name:1:3: error: expected a type, found the end of the text\n    \n    ^", refusal("  "));
  EXPECT_EQ("type name:1:3: error: expected a name after '.', found the end of the text\n  a.\n    ^", refusal("a."));
  EXPECT_EQ("type name:1:3: error: expected a type, found the end of the text\n  A<\n    ^", refusal("A<"));
  EXPECT_EQ("type name:1:4: error: expected '>', found the end of the text\n  A<B\n     ^", refusal("A<B"));
  EXPECT_EQ("type name:1:5: error: expected a type, found the end of the text\n  A<B,\n      ^", refusal("A<B,"));
}

TEST(TypeName, RefusesAnythingBehindAType) {
  EXPECT_EQ("type name:1:3: error: expected the end of the type name, found 'B'\n  A B\n    ^", refusal("A B"));
  EXPECT_EQ("type name:1:5: error: expected the end of the type name, found '>'\n  A<B>>\n      ^", refusal("A<B>>"));
  EXPECT_EQ("type name:1:5: error: expected the end of the type name, found '<'\n  A<B><C>\n      ^",
            refusal("A<B><C>"));
  EXPECT_EQ("type name:1:5: error: expected the end of the type name, found '.'\n  A<B>.C\n      ^", refusal("A<B>.C"));
  EXPECT_EQ("type name:1:2: error: expected the end of the type name, found '['\n  A[]\n   ^", refusal("A[]"));
}

TEST(TypeName, RefusesWhatIsNoName) {
  EXPECT_EQ("type name:1:1: error: expected a type, found '<'\n  <A>\n  ^", refusal("<A>"));
  EXPECT_EQ("type name:1:3: error: expected a type, found '>'\n  A<>\n    ^", refusal("A<>"));
  EXPECT_EQ("type name:1:3: error: expected a type, found '1'\n  A<1>\n    ^", refusal("A<1>"));
  EXPECT_EQ("type name:1:1: error: expected a type, found 'class'\n  class\n  ^", refusal("class"));
  EXPECT_EQ("type name:1:1: error: expected a type, found '\"A\"'\n  \"A\"\n  ^", refusal("\"A\""));
  EXPECT_EQ("type name:1:2: error: unexpected character '/'\n  a/B\n   ^", refusal("a/B"));
  EXPECT_EQ("type name:1:2: error: unexpected character 0x00\n  A\\x00\n   ^", refusal(std::string("A\0", 2)));
}

}  // namespace
}  // namespace orva::language
