// The assertion about refusals itself must fail where it should.
#include "refusals.h"

#include <gtest/gtest.h>

#include <string>

namespace orva::language {
static const char* const doubled = "type parameter 'T' is declared twice";

TEST(Refuses, SucceedsForTheSameTextAtTheMark) {
  EXPECT_TRUE(refuses("class A<T, ^T> {}", doubled));
  EXPECT_TRUE(refuses("^", "expected a class"));
  EXPECT_TRUE(refuses("class A {}\n\n  ^b\n", "expected 'class', found 'b'"));
}

TEST(Refuses, FailsForAnotherPlace) {
  const testing::AssertionResult result = refuses("class A<T,^ T> {}", doubled);
  EXPECT_FALSE(result);
  EXPECT_STREQ(
      "expected\nMain.ov:1:11: error: type parameter 'T' is declared twice\n  class A<T, T> {}\n            ^\n"
      "but the error is\nMain.ov:1:12: error: type parameter 'T' is declared twice\n  class A<T, T> {}\n             ^",
      result.message());
}

TEST(Refuses, FailsForAPartOfTheMessage) { EXPECT_FALSE(refuses("class A<T, ^T> {}", "type parameter 'T'")); }

TEST(Refuses, FailsForASourceThatParses) {
  const testing::AssertionResult result = refuses("class A<^T> {}", doubled);
  EXPECT_FALSE(result);
  EXPECT_STREQ(
      "expected\nMain.ov:1:9: error: type parameter 'T' is declared twice\n  class A<T> {}\n          ^\n"
      "but the source is accepted",
      result.message());
}

TEST(Refuses, FailsWithoutExactlyOneMark) {
  EXPECT_FALSE(refuses("class A<T, T> {}", doubled));
  EXPECT_FALSE(refuses("^class A<T, ^T> {}", doubled));
}

TEST(RefusesBody, CountsPlacesInTheWholeSource) {
  EXPECT_TRUE(refusesBody("return ^);", "expected an expression, found ')'"));
  EXPECT_FALSE(refusesBody("return ^1;", "expected an expression, found '1'"));
}
}  // namespace orva::language
