// Type names given as text: blanks are allowed anywhere, and anything that is not a type is refused.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
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
  EXPECT_EQ("1:3", placeText(type.position));
  EXPECT_EQ("2:2", placeText(type.arguments.at(0).position));
}

TEST(TypeName, IsRefusedWhereItGoesWrong) {
  const std::string end = "the end of the input";
  const Table refusals = {
      {"^", "expected a type, found " + end},
      {"  ^", "expected a type, found " + end},
      {"a.^", "expected a name after '.', found " + end},
      {"A<^", "expected a type, found " + end},
      {"A<B^", "expected '>', found " + end},
      {"A<B,^", "expected a type, found " + end},
      {"A ^B", "expected the end of the type name, found 'B'"},
      {"A<B>^>", "expected the end of the type name, found '>'"},
      {"A<B>^<C>", "expected the end of the type name, found '<'"},
      {"A<B>^.C", "expected the end of the type name, found '.'"},
      {"A^[]", "expected the end of the type name, found '['"},
      {"^<A>", "expected a type, found '<'"},
      {"A<^>", "expected a type, found '>'"},
      {"A<^1>", "expected a type, found '1'"},
      {"^class", "expected a type, found 'class'"},
      {"^\"A\"", "expected a type, found '\"A\"'"},
      {"a^/B", "unexpected character '/'"},
      {std::string("A^\0", 3), "unexpected character 0x00"},
  };
  for (const auto& [marked, message] : refusals) {
    EXPECT_TRUE(refuses({"type name", marked}, message, [](const SourceText& text) { parseTypeName(text.text); }));
  }
}
}  // namespace orva::language
