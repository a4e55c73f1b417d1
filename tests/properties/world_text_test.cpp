// The text form of worlds: whatever is written can be read back, and an error names the line at fault.
#include "world_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using namespace model;

static const char* const everything = R"(entry "A" null
entry null "a.A\x22\xFF"
count -1
record "A<B>" "" "x" "y" 1 0
root "r/"
folder "r/a" ""
closed-folder "r/b" ""
file "r/a/A.ov" ""
link "r/a/B.ov" "A.ov"
fifo "r/a/C.ov" ""
socket "r/a/D.ov" ""
answer Orva_typeByName returns 0 ""
answer Compiler::ensureSourceLoadedInActiveJit throws 1 "broken" entry "A" "a.A" record "A<B>" "" "" "" 1 1
answer Compiler::ensureSourceLoadedInActiveJit throws-other 1 ""
lock-error 35
opening-error 5
reading-error 5
readings-until-error 2
types-hidden 1
system-class-loader 3
metadata-loaded 1
call getSystem
call getTypeByName "A"
call precompileSources null null [ "x" ] null
call loadObjectBundle "A" null [ "x" null ] null [ ] -7
)";

static std::string problemOf(const std::string& text) {
  try {
    storyFrom(text);
    return "";
  } catch (const std::runtime_error& problem) {
    return problem.what();
  }
}

TEST(WorldText, ReadsBackWhatItWrites) { EXPECT_EQ(everything, textOf(storyFrom(everything))); }

TEST(WorldText, ReadsMissingArgumentsAsNull) {
  EXPECT_EQ(textOf(storyFrom("call loadClass\n")), textOf(storyFrom("call loadClass null null null null\n")));
}

TEST(WorldText, NamesTheLineAtFault) {
  EXPECT_EQ("line 1: a line cannot begin with 'entri'", problemOf("entri \"A\" null"));
  EXPECT_EQ("line 3: something is missing at the end", problemOf("\n\nentry \"A\""));
  EXPECT_EQ("line 1: a closing quote is missing", problemOf("root \"A"));
  EXPECT_EQ("line 1: null is not allowed here", problemOf("root null"));
  EXPECT_EQ("line 1: a text in quotes, or null, is missing", problemOf("root A"));
  EXPECT_EQ("line 1: there is too much at the end", problemOf("root \"A\" \"B\""));
  EXPECT_EQ("line 1: '3x' is not a number", problemOf("count 3x"));
  EXPECT_EQ("line 1: 4294967296 is out of range", problemOf("count 4294967296"));
  EXPECT_EQ("line 1: there is no object 64, only 0 to 63", problemOf("answer Orva_typeByName returns 64 \"\""));
  EXPECT_EQ("line 1: there is no object -1, only 0 to 63", problemOf("answer Orva_allocObject returns -1 \"\""));
  EXPECT_EQ("line 1: 'nobody' is not known here", problemOf("answer nobody returns 1 \"\""));
  EXPECT_EQ("line 1: a backslash must begin \\xHH, but not \\x00", problemOf("root \"\\x00\""));
  EXPECT_EQ("line 1: a list begins with [", problemOf("call precompileSources null null \"x\" null"));
}
